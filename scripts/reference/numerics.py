#!/usr/bin/python3
"""numerics.py -- reference tables for the accuracy tests of libtalvomp.

Writes tests/numerics/data/<family>/<routine>.tsv for every routine of the library at
15, 30, 50, 100 and 300 digits, from mpmath (Debian's python3-mpmath; run
this with /usr/bin/python3).  g01eec_whole.tsv holds extra rows of g01eec
with whole-number shapes (the routine's finite sums), checked one output
per call; g01fec_whole.tsv the same for the deviate.

Inputs.  At D digits the library works with floats of
bits(D) = floor(D log2 10) + 5 bits.  Every real input of the grid (a decimal
string or an expression such as "1-1e-10") is rounded here to bits(D) bits
and written exactly in hexadecimal ("0x1b3p-9"), so the test feeds the
routine exactly the number whose function value is in the table; decimal
inputs that are not binary fractions cost no accuracy in the comparison.
Integers are written as they are, tails as their codes (1329 lower,
1330 upper, 1331 two-tail significance, 1332 two-tail confidence).

Outputs.  Each value is computed twice, with D + 25 and D + 45 working
digits, from the functions' definitions by methods independent of the
library's (mpmath's incomplete gamma and beta functions, exact rational sums
for the discrete distributions, a continued fraction where mpmath's beta
series gives up, root finding on those for the deviates, term-by-term
Poisson mixtures for the non-central distributions).  The two must agree to
D + 15 digits, or the script stops; the table gets D + 10 significant digits.
A small tail is computed as itself, never as 1 minus the other tail.

Usage:  scripts/reference/numerics.py [--only g01eac,g01ebc] [--digits 15,30]
                                   [--out DIR] [--check]
A table's rows at precisions outside --digits are kept as they are.
--check compares the non-central references at 30 digits with numerical
integration of the densities (a second, independent method) and exits.
"""

import argparse
import math
import os
import sys
import time
from fractions import Fraction

import mpmath
from mpmath import mp, mpf

PRECISIONS = [15, 30, 50, 100, 300]
LOWER, UPPER, SIGNIF, CONFID = 1329, 1330, 1331, 1332
TAILS2 = [LOWER, UPPER]
TAILS4 = [LOWER, UPPER, SIGNIF, CONFID]


def bits_for_digits(d):
    # floor(d log2(10)) + 1 + 4 guard bits, as the float library computes it
    return (d * 3321928094887362348) // 10**18 + 5


# ---------------------------------------------------------------------------
# Inputs
# ---------------------------------------------------------------------------

def evaluate(text):
    """A grid entry at the current precision: a number, or an expression such
    as "1-1e-10" whose numbers are read at the current precision."""
    import re
    s = str(text).strip()
    try:
        return mpf(s)
    except (ValueError, TypeError):
        expr = re.sub(r"(?<![\w.])(\d+\.?\d*(?:[eE][-+]?\d+)?)", r"mpf('\1')", s)
        return eval(expr, {"__builtins__": {}}, {"mpf": mpf})


def to_binary(text, bits):
    """The grid value rounded to `bits` bits (round to nearest)."""
    with mp.workprec(bits + 400):
        v = evaluate(text)
    with mp.workprec(bits):
        return +v


def hexstr(v):
    """An mpf written exactly: [-]0x<hex mantissa>p<binary exponent>."""
    if v == 0:
        return "0"
    sign, man, exp, _ = v._mpf_
    return ("-" if sign else "") + "0x%xp%d" % (man, exp)


# ---------------------------------------------------------------------------
# Reference functions (evaluated at the current mp precision)
# ---------------------------------------------------------------------------

def normal_tail(tail, x):
    z = x / mpmath.sqrt(2)
    if tail == LOWER:
        return mpmath.erfc(-z) / 2
    if tail == UPPER:
        return mpmath.erfc(z) / 2
    if tail == SIGNIF:
        return mpmath.erfc(abs(z))
    return mpmath.erf(abs(z))


def betainc_cf(a, b, x):
    """I_x(a, b) by its continued fraction (modified Lentz; A&S 26.5.8), for
    x < (a + 1) / (a + b + 2), where it converges quickly."""
    tiny = mpf(2) ** (-mp.prec * 4)
    eps = mpf(2) ** (-mp.prec - 8)
    qab, qap, qam = a + b, a + 1, a - 1

    def nonzero(v):
        return tiny if abs(v) < tiny else v

    c = mpf(1)
    d = 1 / nonzero(1 - qab * x / qap)
    h = d
    m = 1
    while True:
        m2 = 2 * m
        aa = m * (b - m) * x / ((qam + m2) * (a + m2))
        d = 1 / nonzero(1 + aa * d)
        c = nonzero(1 + aa / c)
        h *= d * c
        aa = -(a + m) * (qab + m) * x / ((a + m2) * (qap + m2))
        d = 1 / nonzero(1 + aa * d)
        c = nonzero(1 + aa / c)
        delta = d * c
        h *= delta
        if abs(delta - 1) < eps:
            break
        m += 1
        if m > 50_000_000:
            raise RuntimeError("continued fraction did not converge")
    log_front = a * mpmath.log(x) + b * mpmath.log1p(-x) - mpmath.log(a) \
        - (mpmath.loggamma(a) + mpmath.loggamma(b) - mpmath.loggamma(a + b))
    return mpmath.exp(log_front) * h


def ibeta(a, b, x, y=None):
    """I_x(a, b); y = 1 - x may be given (exactly) as well.  For x > 1/2 it is
    1 - I_y(b, a), with the complement computed at a precision raised by the
    bits the subtraction cancels."""
    if y is None:
        with mp.workprec(mp.prec + 4000):
            y = 1 - x
    if x == 0:
        return mpf(0)
    if y == 0:
        return mpf(1)
    if a + b > 500:
        # The continued fraction directly on the side of the mean where it
        # converges, whichever half x is in: x close to 1 with a large a
        # (Student's t far out with many degrees of freedom) is a small value
        # of I_x itself, which two nested complements would cancel away.
        if x < (a + 1) / (a + b + 2):
            return betainc_cf(a, b, x)
        return _complement(lambda: betainc_cf(b, a, y))
    if x > mpf(1) / 2:
        return _complement(lambda: _ibeta_small_x(b, a, y, x))
    return _ibeta_small_x(a, b, x, y)


def _ibeta_small_x(a, b, x, y):
    """I_x(a, b) for x <= 1/2."""
    if a + b <= 500:
        try:
            return mpmath.betainc(a, b, 0, x, regularized=True)
        except (mpmath.libmp.NoConvergence, ValueError):
            pass
    # Large parameters: mpmath's 2F1 series cancels (its terms grow like
    # (1 + x)^b) or gives up near the mean; the continued fraction converges
    # on the side where x < (a + 1) / (a + b + 2), and the other side is its
    # complement.
    if x < (a + 1) / (a + b + 2):
        return betainc_cf(a, b, x)
    return _complement(lambda: betainc_cf(b, a, y))


def ibetac(a, b, x, y=None):
    """1 - I_x(a, b) = I_y(b, a), computed as itself."""
    if y is None:
        y = 1 - x
    return ibeta(b, a, y, x)


def _complement(f):
    """1 - f() with f evaluated at a precision raised by the bits that the
    subtraction cancels."""
    extra = 0
    while True:
        with mp.workprec(mp.prec + extra):
            r = 1 - f()
        lost = int(-mpmath.log(abs(r), 2)) + 1 if r != 0 else mp.prec + extra
        if lost <= extra or lost < 4:
            return +r
        extra = lost + 20


def gamma_p(a, x):
    """P(a, x); for x > a as the complement of Q (mpmath's lower series does
    not converge for large x)."""
    if x == 0:
        return mpf(0)
    if x > a + 1:
        return _complement(lambda: mpmath.gammainc(a, x, mpmath.inf, regularized=True))
    return mpmath.gammainc(a, 0, x, regularized=True)


def gamma_q(a, x):
    if x == 0:
        return mpf(1)
    if x < a:
        return _complement(lambda: mpmath.gammainc(a, 0, x, regularized=True))
    return mpmath.gammainc(a, x, mpmath.inf, regularized=True)


def t_tails(t, df):
    """(S, C) = (P(|T| >= |t|), P(|T| <= |t|)) for Student's t."""
    t2 = t * t
    x = df / (df + t2)
    y = t2 / (df + t2)
    return ibeta(df / 2, mpf(1) / 2, x, y), ibeta(mpf(1) / 2, df / 2, y, x)


def t_tail(tail, t, df):
    if t == 0:
        return {LOWER: mpf(1) / 2, UPPER: mpf(1) / 2, SIGNIF: mpf(1), CONFID: mpf(0)}[tail]
    S, C = t_tails(t, df)
    if tail == SIGNIF:
        return S
    if tail == CONFID:
        return C
    small = (tail == LOWER) == (t < 0)
    return S / 2 if small else (1 + C) / 2


def f_tail(tail, f, d1, d2):
    x = d1 * f / (d1 * f + d2)
    y = d2 / (d1 * f + d2)
    return ibeta(d1 / 2, d2 / 2, x, y) if tail == LOWER else ibeta(d2 / 2, d1 / 2, y, x)


# --- deviates ----------------------------------------------------------------

# Brackets found by the low-precision bisection, shared by the evaluations
# of one grid row at every precision (the row's inputs differ only in bits
# far below the bracket's width): the key is the row and the order of the
# solve calls within it, set by generate().
SOLVE_ROW = None
SOLVE_CALLS = [0]
BRACKETS = {}


def solve(F, target, lo, hi, log_scale=True, decreasing=False):
    """x in (lo, hi) with F(x) = target for a monotone F: bisection at low
    precision for a start, then the secant method on the relative residual
    at full precision."""
    prec = mp.prec
    key = None
    if SOLVE_ROW is not None:
        SOLVE_CALLS[0] += 1
        key = (SOLVE_ROW, SOLVE_CALLS[0], mpmath.nstr(target, 12), mpmath.nstr(lo, 5), mpmath.nstr(hi, 5))
    if key in BRACKETS:
        a, b = BRACKETS[key]
    else:
        a, b = _bisect(F, target, lo, hi, log_scale, decreasing)
        if key is not None:
            BRACKETS[key] = (a, b)
    return _secant(F, target, a, b, prec)


def _bisect(F, target, lo, hi, log_scale, decreasing):
    with mp.workprec(80):
        a, b = mpf(lo), mpf(hi)
        tgt = +target
        for _ in range(200):
            m = mpmath.sqrt(a * b) if (log_scale and a > 0) else (a + b) / 2
            v = F(m)
            below = (v > tgt) if decreasing else (v < tgt)
            if below:
                a = m
            else:
                b = m
            if b - a <= abs(m) * mpf(2) ** -60:
                break
        return a, b


def _secant(F, target, a, b, prec):
    with mp.workprec(prec):
        # Secant steps on g(x) = F(x) / target - 1 from two points of the bracket.
        g = lambda x: F(x) / target - 1
        x1, x2 = mpf(a), mpf(b)
        g1, g2 = g(x1), g(x2)
        cond = mpf(1)
        for _ in range(200):
            if g2 == g1:
                break
            # the condition number x g'(x): a steep F (large parameters, far
            # tails) leaves a residual that large times the rounding error
            cond = max(mpf(1), abs((g2 - g1) / (x2 - x1) * x2))
            x3 = x2 - g2 * (x2 - x1) / (g2 - g1)
            x1, g1 = x2, g2
            x2, g2 = x3, g(x3)
            if g2 == 0 or abs(x2 - x1) <= abs(x2) * mpf(2) ** (-prec - 8):
                break
        if abs(g2) > mpf(2) ** (-prec + 24) * cond:
            raise RuntimeError("deviate did not converge: residual %s" % mpmath.nstr(g2, 5))
        return x2


def complement_exact(p):
    with mp.workprec(mp.prec + 4000):
        return 1 - p


# --- non-central -------------------------------------------------------------

def poisson_mixture(z, term, s=0, sign=1, mode=None):
    """sum_j sign e^-z z^(j+s) / Gamma(j+s+1) * term(j), from the largest
    weight outwards until the weights are negligible."""
    if mode is None:
        mode = int(z)
    eps = mpf(2) ** (-mp.prec - 20)
    def w(j):
        return sign * mpmath.exp(-z + (j + s) * mpmath.log(z) - mpmath.loggamma(j + s + 1))
    total = mpf(0)
    mag = mpf(0)
    j = mode
    while True:
        wj = w(j)
        v = wj * term(j)
        total += v
        mag += abs(v)
        if j > z + 10 and abs(wj) < eps * mag:
            break
        j += 1
    j = mode - 1
    while j >= 0:
        wj = w(j)
        v = wj * term(j)
        total += v
        mag += abs(v)
        if j < z - 10 and abs(wj) < eps * mag:
            break
        j -= 1
    return total


def nc_chi2(x, df, lam):
    if x == 0:
        return mpmath.exp(-lam / 2) if df == 0 else mpf(0)
    if lam == 0:
        return gamma_p(df / 2, x / 2)
    return poisson_mixture(lam / 2, lambda j: mpf(1) if df / 2 + j == 0 else gamma_p(df / 2 + j, x / 2))


def nc_beta(x, y, a, b, lam):
    if lam == 0:
        return ibeta(a, b, x, y)
    return poisson_mixture(lam / 2, lambda j: ibeta(a + j, b, x, y))


def nc_t(t, df, delta):
    if t == 0:
        return normal_tail(LOWER, -delta)
    if delta == 0:
        return t_tail(LOWER, t, df)
    z = delta * delta / 2
    t2 = t * t
    x = t2 / (df + t2)
    y = df / (df + t2)
    sgn = 1 if delta > 0 else -1
    if t > 0:
        s1 = poisson_mixture(z, lambda j: ibeta(j + mpf(1) / 2, df / 2, x, y))
        s2 = poisson_mixture(z, lambda j: ibeta(j + 1, df / 2, x, y), s=mpf(1) / 2, sign=sgn)
        return normal_tail(LOWER, -delta) + (s1 + s2) / 2
    s1 = poisson_mixture(z, lambda j: ibetac(j + mpf(1) / 2, df / 2, x, y))
    s2 = poisson_mixture(z, lambda j: ibetac(j + 1, df / 2, x, y), s=mpf(1) / 2, sign=-sgn)
    return (s1 + s2) / 2


# --- discrete ----------------------------------------------------------------

def frac_of(v):
    sign, man, exp, _ = v._mpf_
    f = Fraction(man) * (Fraction(2) ** exp)
    return -f if sign else f


def frac_to_mpf(f):
    return mpf(f.numerator) / f.denominator


def binomial(n, p, k):
    """(P(X <= k), P(X > k), P(X = k)); exact rational sums for modest n."""
    if n <= 3000:
        # Exact: with p = u / d, each term is C(n, j) u^j (d - u)^(n - j) / d^n,
        # so the sums are integer sums over one common denominator.
        P = frac_of(p)
        u, d = P.numerator, P.denominator
        v = d - u
        terms = []
        uj, vpow = 1, [1] * (n + 1)
        for j in range(1, n + 1):
            vpow[j] = vpow[j - 1] * v
        for j in range(n + 1):
            terms.append(math.comb(n, j) * uj * vpow[n - j])
            uj *= u
        den = d ** n
        le = Fraction(sum(terms[:k + 1]), den)
        gt = Fraction(sum(terms[k + 1:]), den)
        return frac_to_mpf(le), frac_to_mpf(gt), frac_to_mpf(Fraction(terms[k], den))
    q = complement_exact(p)
    eq = mpmath.exp(mpmath.loggamma(n + 1) - mpmath.loggamma(k + 1) - mpmath.loggamma(n - k + 1)
                    + k * mpmath.log(p) + (n - k) * mpmath.log(q))
    if k == n:
        return mpf(1), mpf(0), eq
    gt = ibeta(mpf(k + 1), mpf(n - k), p, q)
    le = ibeta(mpf(n - k), mpf(k + 1), q, p)
    return le, gt, eq


def poisson(lam, k):
    eq = mpmath.exp(-lam + k * mpmath.log(lam) - mpmath.loggamma(k + 1))
    if k <= 400 and lam <= 1000:
        # e^-lambda times an exact rational sum.
        L = frac_of(lam)
        s = Fraction(0)
        t = Fraction(1)
        for j in range(k + 1):
            if j > 0:
                t = t * L / j
            s += t
        le = mpmath.exp(-lam) * frac_to_mpf(s)
        return le, gamma_p(k + 1, lam), eq
    return gamma_q(k + 1, lam), gamma_p(k + 1, lam), eq


def hypergeometric(n, l, m, k):
    lo, hi = max(0, l + m - n), min(l, m)
    if n <= 20000:
        # Exact integer sums over the common denominator C(n, l).
        den = math.comb(n, l)
        def f(j):
            return math.comb(m, j) * math.comb(n - m, l - j)
        le = sum(f(j) for j in range(lo, k + 1))
        gt = sum(f(j) for j in range(k + 1, hi + 1))
        return (frac_to_mpf(Fraction(le, den)), frac_to_mpf(Fraction(gt, den)),
                frac_to_mpf(Fraction(f(k), den)))
    lc = lambda N, K: mpmath.loggamma(N + 1) - mpmath.loggamma(K + 1) - mpmath.loggamma(N - K + 1)
    base = lc(n, l)
    def f(j):
        return mpmath.exp(lc(m, j) + lc(n - m, l - j) - base)
    eps = mpf(2) ** (-mp.prec - 20)
    def tail(js):
        # One term from the log-gammas, the others by the exact ratio of
        # neighbours: f(j+1) / f(j) = (m - j)(l - j) / ((j + 1)(n - m - l + j + 1)).
        with mp.workprec(mp.prec + 30):
            s = mpf(0)
            v = None
            prev = None
            for j in js:
                if v is None:
                    v = f(j)
                elif j == prev + 1:
                    v = v * ((m - prev) * (l - prev)) / ((prev + 1) * (n - m - l + prev + 1))
                else:
                    v = v * (j + 1) * (n - m - l + j + 1) / ((m - j) * (l - j))
                prev = j
                s += v
                if v < eps * s:
                    break
        return +s
    mode = (l + 1) * (m + 1) // (n + 2)
    if k < mode:
        le = tail(range(k, lo - 1, -1))
        return le, 1 - le, f(k)
    gt = tail(range(k + 1, hi + 1))
    return 1 - gt, gt, f(k)


# ---------------------------------------------------------------------------
# Grids: per routine, a list of input tuples (decimal strings, expressions,
# or ints); "R" marks a real input that is rounded to the working bits.
# ---------------------------------------------------------------------------

NORMAL_X = ["-37.5", "-37", "-20", "-8.25", "-3", "-1.96", "-0.5", "-1e-10", "0", "1e-10",
            "0.5", "1.5", "1.96", "3", "8.25", "20", "37"]
QUANTILE_P = ["1e-100", "1e-10", "0.01", "0.5", "0.975", "1-1e-10"]
QUANTILE_P_WIDE = ["1e-300"] + QUANTILE_P + ["0.99", "0.025"]


def grid_g01eac():
    return [(t, x) for t in TAILS4 for x in NORMAL_X]


def grid_g01fac():
    return [(t, p) for t in TAILS4 for p in QUANTILE_P_WIDE]


T_CASES = [
    # (df, list of t)
    ("1", ["-1e300", "-1e150", "-3.5", "-0.75", "0.75", "3.5", "1e150"]),
    ("2.5", ["-1e120", "-1e20", "-2", "-1e-30", "2", "1e20"]),
    ("5", ["-1e60", "-1e10", "-30", "-2.5", "-0.25", "0.25", "2.5", "30", "1e60"]),
    ("30", ["-1e10", "-40", "-2", "0.125", "2", "40"]),
    ("1000", ["-80", "-37", "-1.5", "1.5", "37"]),
    ("1000000", ["-37", "-30", "-2", "-1e-6", "0.5", "2", "30", "37"]),
    ("0.5", ["-1e600", "-100", "-1", "1", "100"]),
]


def grid_g01ebc():
    rows = []
    for df, ts in T_CASES:
        for t in ts:
            for tail in TAILS2:
                rows.append((tail, t, df))
    for df, ts in [("5", ["-2.5", "0.25", "30"]), ("1000000", ["-2", "30"]), ("1", ["1e150", "-0.75"])]:
        for t in ts:
            for tail in (SIGNIF, CONFID):
                rows.append((tail, t, df))
    return rows


def grid_g01fbc():
    rows = []
    for df in ["1", "2.5", "5", "30", "1000000"]:
        for p in QUANTILE_P:
            rows.append((LOWER, p, df))
    for df in ["3", "1000"]:
        for tail in (UPPER, SIGNIF, CONFID):
            for p in ["1e-10", "0.05", "0.5", "0.95", "1-1e-10"]:
                rows.append((tail, p, df))
    return rows


CHI2_CASES = [
    ("0.5", ["1e-280", "1e-10", "0.5", "3", "20", "1300"]),
    ("2.5", ["1e-200", "1e-5", "1", "2.5", "10", "700", "1400"]),
    ("5", ["0.01", "3", "4.35", "11", "100"]),
    ("100", ["10", "60", "99", "140", "400", "1700"]),
    ("10000", ["9000", "9990", "10100", "12000"]),
    ("1000000", ["990000", "999999", "1002000", "1010000"]),
]


def grid_g01ecc():
    return [(tail, x, df) for df, xs in CHI2_CASES for x in xs for tail in TAILS2]


def grid_g01fcc():
    return [(p, df) for df in ["0.5", "2.5", "5", "100", "10000", "1000000"] for p in QUANTILE_P]


F_CASES = [
    ("1", "1", ["1e-200", "0.5", "1", "4", "1e150"]),
    ("5", "7", ["1e-60", "0.25", "1", "2.5", "5", "1e40"]),
    ("2.5", "30", ["0.1", "1.2", "3", "30"]),
    ("100", "100000", ["0.5", "1", "1.1", "2"]),
    ("1000000", "1000000", ["0.99", "1", "1.01"]),
]


def grid_g01edc():
    return [(tail, f, d1, d2) for d1, d2, fs in F_CASES for f in fs for tail in TAILS2]


def grid_g01fdc():
    return [(p, d1, d2) for d1, d2 in [("1", "1"), ("5", "7"), ("2.5", "30"), ("100", "100000"), ("1000000", "1000000")]
            for p in QUANTILE_P]


BETA_CASES = [
    ("1", "2", ["0.25"]),
    ("0.5", "0.5", ["1e-300", "0.01", "0.5", "0.99", "1-1e-200"]),
    ("2.5", "3.5", ["1e-100", "0.1", "0.3", "0.7", "0.99", "1-1e-60"]),
    ("0.01", "5", ["1e-50", "0.5"]),
    ("30", "0.75", ["0.5", "0.97", "0.999"]),
    ("500", "300", ["0.4", "0.6", "0.625", "0.7"]),
    ("100000", "100000", ["0.49", "0.499", "0.501", "0.51"]),
    ("100000", "0.5", ["0.99", "0.99999", "0.999999"]),
]


def grid_g01eec():
    return [(x, a, b) for a, b, xs in BETA_CASES for x in xs]


# Whole-number shapes, which the routine sums as finite binomial sums when
# the sums are short: the lower tail and the density take b - 1 steps, the
# upper tail a - 1 (the accuracy test asks for one output per call, so with
# (1000, 2) the lower tail is a sum and the upper tail the series; (70, 70)
# is beyond the bound for every output).
WHOLE_BETA_CASES = [
    ("1", "1", ["1e-300", "0.3", "1-1e-40"]),
    ("2", "3", ["1e-300", "1e-20", "0.3", "0.5", "0.9", "1-1e-12", "1-1e-40"]),
    ("5", "1", ["1e-60", "0.3", "0.99", "1-1e-40"]),
    ("1", "7", ["1e-40", "0.25", "1-1e-30"]),
    ("7", "11", ["1e-100", "0.01", "0.3", "0.6", "0.999", "1-1e-50"]),
    ("30", "20", ["1e-30", "0.2", "0.6", "0.75", "0.999", "1-1e-20"]),
    ("70", "70", ["0.1", "0.5", "0.9"]),
    ("1000", "2", ["0.5", "0.99", "0.999", "1-1e-10"]),
    ("2", "1000", ["1e-10", "0.001", "0.01", "0.5"]),
]


def grid_g01eec_whole():
    return [(x, a, b) for a, b, xs in WHOLE_BETA_CASES for x in xs]


def grid_g01fec():
    return [(p, a, b) for a, b in [("0.5", "0.5"), ("2.5", "3.5"), ("0.01", "5"), ("30", "0.75"), ("500", "300"),
                                   ("100000", "100000")] for p in QUANTILE_P]


def grid_g01fec_whole():
    # Whole-number shapes: the deviate solves with the finite binomial sums
    # when the tail it solves has a short sum ((2, 200) also takes the series).
    return [(p, a, b) for a, b in [("1", "1"), ("2", "3"), ("5", "1"), ("1", "7"), ("7", "11"), ("30", "20"),
                                   ("2", "200")] for p in QUANTILE_P]


GAMMA_CASES = [
    # (shape a, scale b, list of g)
    ("0.001", "1", ["1e-300", "1e-10", "0.5", "5", "600"]),
    ("0.5", "2", ["1e-250", "0.001", "1", "4", "1300"]),
    ("3.5", "1", ["1e-80", "0.5", "2", "3.5", "20", "650"]),
    ("3.5", "0.3", ["1.2", "7.5"]),
    ("500", "1", ["400", "480", "500", "520", "700", "1300"]),
    ("100000", "1", ["99000", "100300", "101000", "104000"]),
    ("500000", "2", ["998000", "1000000", "1010000"]),
]


def grid_g01efc():
    return [(tail, g, a, b) for a, b, gs in GAMMA_CASES for g in gs for tail in TAILS2]


def grid_g01ffc():
    return [(p, a, b) for a, b in [("0.001", "1"), ("0.5", "2"), ("3.5", "1"), ("500", "0.3"), ("100000", "1"),
                                   ("500000", "2")] for p in QUANTILE_P]


def grid_g01gbc():
    rows = []
    for df, delta, ts in [("5", "1", ["-30", "-1.5", "-0.5", "0", "0.5", "1.5", "4", "50"]),
                          ("10", "-2", ["-20", "-3", "-1", "1", "3"]),
                          ("10", "5", ["-1", "0.5", "3", "5", "12"]),
                          ("2.5", "0.5", ["-1e10", "-2", "2", "1e10"]),
                          ("30", "20", ["5", "15", "20", "30"]),
                          ("1000", "3", ["1", "3", "5"])]:
        for t in ts:
            rows.append((t, df, delta))
    return rows


def grid_g01gcc():
    rows = []
    for df, lam, xs in [("5", "2", ["0.001", "0.5", "3", "7", "30", "150"]),
                        ("0.5", "20", ["1e-30", "5", "20", "80"]),
                        ("10", "100", ["10", "60", "110", "200", "400"]),
                        ("0", "3", ["0", "1e-5", "2", "20"]),
                        ("100", "10000", ["8000", "10100", "11000"]),
                        ("1", "1e-5", ["0.5", "4"])]:
        for x in xs:
            rows.append((x, df, lam))
    return rows


def grid_g01gdc():
    rows = []
    for d1, d2, lam, fs in [("5", "7", "3", ["0.01", "0.5", "2.5", "10", "1e5"]),
                            ("1", "1", "10", ["0.1", "1", "100"]),
                            ("20", "200", "50", ["1", "3", "6"]),
                            ("2.5", "1000", "0.5", ["0.001", "1", "4"])]:
        for f in fs:
            rows.append((f, d1, d2, lam))
    return rows


def grid_g01gec():
    rows = []
    for a, b, lam, xs in [("2.5", "3.5", "4", ["1e-40", "0.1", "0.3", "0.6", "0.9", "1-1e-30"]),
                          ("0.5", "0.5", "1", ["0.01", "0.5", "0.99"]),
                          ("10", "20", "60", ["0.1", "0.4", "0.6", "0.8"]),
                          ("200", "50", "100", ["0.7", "0.8", "0.85", "0.9"])]:
        for x in xs:
            rows.append((x, a, b, lam))
    return rows


def grid_g01bjc():
    rows = []
    for n, p, ks in [(0, "0.5", [0]),
                     (1, "0.3", [0, 1]),
                     (20, "0.3", [0, 5, 6, 12, 20]),
                     (1000, "0.5", [0, 100, 480, 500, 520, 999, 1000]),
                     (1000, "1e-10", [0, 1, 5]),
                     (1000000, "0.001", [500, 1000, 1100, 2000]),
                     (1000000000, "0.5", [499990000, 500000000]),
                     (1000000000, "1e-6", [900, 1000, 1100, 1300])] + BINOMIAL_EDGES:
        for k in ks:
            rows.append((n, p, k))
    return rows


# Either side of the mode floor((n+1)p), where the library changes which tail
# it sums; a summed tail above 1/2 (n = 3); q or p near the float limits; and
# either side of k = 685 at n = 10^6, where C(n, k) passes 8192 bits.
BINOMIAL_EDGES = [(3, "0.75", [0, 1, 2]),
                  (1000, "0.3", [299, 300, 301]),
                  (1000, "1-1e-10", [995, 999]),
                  (50, "1e-300", [0, 1, 2]),
                  (1000000, "0.000685", [684, 685, 686])]


def grid_g01bkc():
    rows = []
    for lam, ks in [("0.001", [0, 1, 5]), ("3.5", [0, 1, 3, 4, 10, 100]), ("100", [50, 99, 100, 130, 500]),
                    ("10000", [9500, 10000, 10400]), ("1000000", [995000, 999999, 1005000])]:
        for k in ks:
            rows.append((lam, k))
    return rows


def grid_g01blc():
    rows = []
    for n, l, m, ks in [(0, 0, 0, [0]), (10, 3, 4, [0, 1, 3]), (50, 20, 15, [0, 4, 6, 10, 15]),
                        (1000, 500, 300, [100, 140, 150, 160, 200, 300]),
                        (1000, 990, 995, [985, 990]),
                        (1000000, 1000, 200000, [100, 190, 200, 210, 300]),
                        (1000000000, 500000000, 300000000, [149990000, 150000000, 150010000])]:
        for k in ks:
            rows.append((n, l, m, k))
    return rows


# ---------------------------------------------------------------------------
# Routines: how each row's inputs are typed and its outputs computed
# ---------------------------------------------------------------------------

# Input kinds: "T" tail code, "R" real (rounded to the working bits), "I" integer.
def compute_g01eac(tail, x):
    return [normal_tail(tail, x)]


def compute_g01fac(tail, p):
    # The deviate from the tail functions, each tail solved as itself.
    if tail in (LOWER, UPPER):
        if p == mpf(1) / 2:
            return [mpf(0)]
        small = p if p < mpf(1) / 2 else complement_exact(p)
        x = solve(lambda v: normal_tail(UPPER, v), small, mpf(10) ** -30, 100, decreasing=True)
        negative = (tail == LOWER) == (p < mpf(1) / 2)
        return [-x if negative else x]
    if tail == SIGNIF:
        if p > mpf(1) / 2:
            return [solve(lambda v: normal_tail(CONFID, v), complement_exact(p), mpf(10) ** -30, 100)]
        return [solve(lambda v: normal_tail(SIGNIF, v), p, mpf(10) ** -30, 100, decreasing=True)]
    if p > mpf(1) / 2:
        return [solve(lambda v: normal_tail(SIGNIF, v), complement_exact(p), mpf(10) ** -30, 100, decreasing=True)]
    return [solve(lambda v: normal_tail(CONFID, v), p, mpf(10) ** -300, 100)]


def compute_g01ebc(tail, t, df):
    return [t_tail(tail, t, df)]


def t_upper_abs(v, df):
    return t_tails(v, df)[0] / 2


def compute_g01fbc(tail, p, df):
    half = mpf(1) / 2
    big = mpf(10) ** 400
    tiny = mpf(10) ** -300
    S = lambda v: t_tails(v, df)[0]
    C = lambda v: t_tails(v, df)[1]
    if tail in (LOWER, UPPER):
        if p == half:
            return [mpf(0)]
        q = p if p < half else complement_exact(p)
        negative = (tail == LOWER) == (p < half)
        if q <= mpf(1) / 4:
            x = solve(lambda v: S(v) / 2, q, tiny, big, decreasing=True)
        else:
            with mp.workprec(mp.prec + 4000):
                c = 1 - 2 * q
            x = solve(C, c, tiny, big)
        return [-x if negative else x]
    if tail == SIGNIF:
        if p > half:
            return [solve(C, complement_exact(p), tiny, big)]
        return [solve(S, p, tiny, big, decreasing=True)]
    if p > half:
        return [solve(S, complement_exact(p), tiny, big, decreasing=True)]
    return [solve(C, p, tiny, big)]


def compute_g01ecc(tail, x, df):
    return [gamma_p(df / 2, x / 2) if tail == LOWER else gamma_q(df / 2, x / 2)]


def gamma_deviate(a, p):
    # The root lies below a + 50 sqrt(a) + 2000 for every p of the grids, and
    # above x0 = (p Gamma(a + 1))^(1/a), since P(a, x) < x^a / Gamma(a + 1)
    # (x0 is 1e-100000 for a = 0.001 and p = 1e-100).
    hi = a + 50 * mpmath.sqrt(a) + 2000
    lo = min(mpf(10) ** -10, mpmath.exp((mpmath.log(p) + mpmath.loggamma(a + 1)) / a) / 2)
    if p <= mpf(1) / 2:
        return solve(lambda v: gamma_p(a, v), p, lo, hi)
    return solve(lambda v: gamma_q(a, v), complement_exact(p), lo, hi, decreasing=True)


def compute_g01fcc(p, df):
    return [2 * gamma_deviate(df / 2, p)]


def compute_g01edc(tail, f, d1, d2):
    return [f_tail(tail, f, d1, d2)]


def beta_deviate(a, b, p):
    """(x, y) with I_x(a, b) = p, solved in the smaller of x and y = 1 - x and
    with the smaller of p and 1 - p, each as itself."""
    half = mpf(1) / 2
    tiny = mpf(10) ** -100000
    q = complement_exact(p)
    if p <= ibeta(a, b, half):
        # x <= 1/2
        if p <= half:
            x = solve(lambda v: ibeta(a, b, v), p, tiny, half)
        else:
            x = solve(lambda v: ibetac(a, b, v), q, tiny, half, decreasing=True)
        with mp.workprec(mp.prec + 4000):
            return x, 1 - x
    # x > 1/2: I_y(b, a) = 1 - p
    if q <= half:
        y = solve(lambda v: ibeta(b, a, v), q, tiny, half)
    else:
        y = solve(lambda v: ibetac(b, a, v), p, tiny, half, decreasing=True)
    with mp.workprec(mp.prec + 4000):
        return 1 - y, y


def compute_g01fdc(p, d1, d2):
    x, y = beta_deviate(d1 / 2, d2 / 2, p)
    return [d2 * x / (d1 * y)]


def compute_g01eec(x, a, b):
    if x == 0 or x == 1:
        raise ValueError("ends are tested in the unit tests")
    with mp.workprec(mp.prec + 4000):
        y = 1 - x
    P = ibeta(a, b, x, y)
    Q = ibeta(b, a, y, x)
    pdf = mpmath.exp((a - 1) * mpmath.log(x) + (b - 1) * mpmath.log(y)
                     - (mpmath.loggamma(a) + mpmath.loggamma(b) - mpmath.loggamma(a + b)))
    return [P, Q, pdf]


def compute_g01fec(p, a, b):
    return [beta_deviate(a, b, p)[0]]


def compute_g01efc(tail, g, a, b):
    x = g / b
    return [gamma_p(a, x) if tail == LOWER else gamma_q(a, x)]


def compute_g01ffc(p, a, b):
    return [b * gamma_deviate(a, p)]


def compute_g01gbc(t, df, delta):
    return [nc_t(t, df, delta)]


def compute_g01gcc(x, df, lam):
    return [nc_chi2(x, df, lam)]


def compute_g01gdc(f, d1, d2, lam):
    x = d1 * f / (d1 * f + d2)
    y = d2 / (d1 * f + d2)
    return [nc_beta(x, y, d1 / 2, d2 / 2, lam)]


def compute_g01gec(x, a, b, lam):
    with mp.workprec(mp.prec + 4000):
        y = 1 - x
    return [nc_beta(x, y, a, b, lam)]


def compute_g01bjc(n, p, k):
    return list(binomial(n, p, k))


def compute_g01bkc(lam, k):
    return list(poisson(lam, k))


def compute_g01blc(n, l, m, k):
    return list(hypergeometric(n, l, m, k))


# --- extensions: densities and non-central upper tails ------------------------

def grid_normal_pdf():
    return [(x,) for x in ["0", "0.5", "-1.5", "3", "-10", "38", "1e-20", "-1e5"]]


def grid_student_t_pdf():
    return [("0", "1"), ("1.5", "3"), ("-2", "0.5"), ("100", "5"), ("1e10", "2.5"), ("0.3", "1e6"), ("-7", "30")]


def grid_chi_square_pdf():
    return [("3", "5"), ("0.001", "1"), ("200", "5"), ("1e-10", "2"), ("50", "100"), ("1e4", "0.5"), ("0", "2"),
            ("0", "7")]


def grid_gamma_pdf():
    return [("3", "2.5", "2"), ("0.001", "0.5", "1"), ("500", "3", "2"), ("1e-30", "1.5", "3"), ("10", "1", "1"),
            ("0", "1", "4"), ("1e5", "2000", "50")]


def grid_f_pdf():
    return [("1.5", "3", "7"), ("0.01", "1", "1"), ("1e6", "5", "7"), ("2", "2", "2"), ("0.5", "100", "200"),
            ("0", "2", "5"), ("0", "4", "5")]


def grid_noncentral_chi_square_upper():
    return [r for r in grid_g01gcc()]


def grid_noncentral_beta_upper():
    return [r for r in grid_g01gec()]


def grid_noncentral_f_upper():
    return [r for r in grid_g01gdc()]


def grid_noncentral_chi_square_pdf():
    return [("3", "5", "2"), ("0.5", "0.5", "20"), ("60", "10", "100"), ("400", "10", "100"),
            ("10100", "100", "10000"), ("0.001", "4", "1"), ("150", "5", "2"), ("0", "2", "3")]


def grid_noncentral_beta_pdf():
    return [("0.3", "2.5", "3.5", "4"), ("0.01", "0.5", "0.5", "1"), ("0.6", "10", "20", "60"),
            ("0.85", "200", "50", "100"), ("1e-20", "2", "3", "1"), ("0.999", "2", "30", "0.5")]


def grid_noncentral_f_pdf():
    return [("2.5", "5", "7", "3"), ("1", "1", "1", "10"), ("3", "20", "200", "50"), ("1e5", "5", "7", "3")]


def grid_noncentral_t_pdf():
    return [("1.5", "5", "1"), ("-1.5", "5", "1"), ("3", "10", "-2"), ("-1", "10", "5"), ("15", "30", "20"),
            ("0", "4", "2"), ("50", "5", "1")]


def log_gamma_density(a, x):
    """ln of x^(a-1) e^-x / Gamma(a)."""
    return (a - 1) * mpmath.log(x) - x - mpmath.loggamma(a)


def density_at_zero(e, c):
    """The value at 0 of a density behaving like c x^e there."""
    if e < 0:
        return mpmath.inf
    if e > 0:
        return mpf(0)
    return mpf(c)


def compute_normal_pdf(x):
    return [mpmath.exp(-x * x / 2) / mpmath.sqrt(2 * mpmath.pi)]


def compute_student_t_pdf(t, df):
    return [mpmath.exp(mpmath.loggamma((df + 1) / 2) - mpmath.loggamma(df / 2) - mpmath.log(df * mpmath.pi) / 2
                       - (df + 1) / 2 * mpmath.log1p(t * t / df))]


def compute_chi_square_pdf(x, df):
    if x == 0:
        return [density_at_zero(df / 2 - 1, mpf(1) / 2)]
    return [mpmath.exp(log_gamma_density(df / 2, x / 2)) / 2]


def compute_gamma_pdf(g, a, b):
    if g == 0:
        return [density_at_zero(a - 1, 1 / b)]
    return [mpmath.exp(log_gamma_density(a, g / b)) / b]


def compute_f_pdf(f, d1, d2):
    if f == 0:
        return [density_at_zero(d1 / 2 - 1, 1)]
    return [mpmath.exp(d1 / 2 * mpmath.log(d1) + d2 / 2 * mpmath.log(d2) + (d1 / 2 - 1) * mpmath.log(f)
                       - (d1 + d2) / 2 * mpmath.log(d1 * f + d2) - mpmath.log(mpmath.beta(d1 / 2, d2 / 2)))]


def compute_noncentral_chi_square_upper(x, df, lam):
    """P(X > x): the mixture of the upper incomplete gamma functions."""
    if x == 0:
        return [mpf(1) if df > 0 else -mpmath.expm1(-lam / 2)]
    if lam == 0:
        return [gamma_q(df / 2, x / 2)]
    return [poisson_mixture(lam / 2, lambda j: mpf(0) if df / 2 + j == 0 else gamma_q(df / 2 + j, x / 2))]


def compute_noncentral_beta_upper(x, a, b, lam):
    with mp.workprec(mp.prec + 4000):
        y = 1 - x
    if lam == 0:
        return [ibetac(a, b, x, y)]
    return [poisson_mixture(lam / 2, lambda j: ibetac(a + j, b, x, y))]


def compute_noncentral_f_upper(f, d1, d2, lam):
    x = d1 * f / (d1 * f + d2)
    y = d2 / (d1 * f + d2)
    if lam == 0:
        return [ibetac(d1 / 2, d2 / 2, x, y)]
    return [poisson_mixture(lam / 2, lambda j: ibetac(d1 / 2 + j, d2 / 2, x, y))]


# The non-central densities as term-by-term Poisson mixtures of central
# densities (the library sums them in closed form, through 0F1 and 1F1).

def compute_noncentral_chi_square_pdf(x, df, lam):
    if x == 0:
        return [density_at_zero(df / 2 - 1, mpmath.exp(-lam / 2) / 2)]
    return [poisson_mixture(lam / 2, lambda j: mpmath.exp(log_gamma_density(df / 2 + j, x / 2)) / 2)]


def beta_log_density(x, y, a, b):
    return (a - 1) * mpmath.log(x) + (b - 1) * mpmath.log(y) - mpmath.log(mpmath.beta(a, b))


def compute_noncentral_beta_pdf(x, a, b, lam):
    with mp.workprec(mp.prec + 4000):
        y = 1 - x
    return [poisson_mixture(lam / 2, lambda j: mpmath.exp(beta_log_density(x, y, a + j, b)))]


def compute_noncentral_f_pdf(f, d1, d2, lam):
    x = d1 * f / (d1 * f + d2)
    y = d2 / (d1 * f + d2)
    jac = d1 * d2 / (d1 * f + d2) ** 2
    return [poisson_mixture(lam / 2, lambda j: mpmath.exp(beta_log_density(x, y, d1 / 2 + j, d2 / 2))) * jac]


def compute_noncentral_t_pdf(t, df, delta):
    """The density from its definition, T = (Z + delta) / sqrt(V / df):
    f(t) = int_0^inf phi(t s - delta) s chi2_df(v) dv with s = sqrt(v / df),
    integrated numerically over pieces of the chi-square's scale."""
    def g(v):
        s = mpmath.sqrt(v / df)
        z = t * s - delta
        return mpmath.exp(-z * z / 2 + log_gamma_density(df / 2, v / 2)) * s / (2 * mpmath.sqrt(2 * mpmath.pi))
    pts = [mpf(0)] + [df * mpf(2) ** k for k in range(-6, 8)]
    return [mpmath.quad(g, pts) + mpmath.quad(g, [pts[-1], mpmath.inf])]


# The family of each routine: its table is tests/numerics/data/<family>/<name>.tsv,
# beside the family's test tests/numerics/<family>_test.cpp and source
# platform/numerics/<family>.cpp (the non-central F is computed as the
# non-central beta at a transformed point, so it shares that family).
FAMILY = {
    "g01eac": "normal", "g01fac": "normal",
    "g01ebc": "student_t", "g01fbc": "student_t",
    "g01ecc": "chi_square", "g01fcc": "chi_square",
    "g01edc": "f_ratio", "g01fdc": "f_ratio",
    "g01eec": "beta", "g01eec_whole": "beta", "g01fec": "beta", "g01fec_whole": "beta",
    "g01efc": "gamma", "g01ffc": "gamma",
    "g01gbc": "noncentral_student_t", "g01gcc": "noncentral_chi_square",
    "g01gdc": "noncentral_beta", "g01gec": "noncentral_beta",
    "g01bjc": "binomial", "g01bkc": "poisson", "g01blc": "hypergeometric",
    "normal_pdf": "density", "student_t_pdf": "density", "chi_square_pdf": "density", "gamma_pdf": "density",
    "f_pdf": "density",
    "noncentral_chi_square_upper": "noncentral_upper", "noncentral_beta_upper": "noncentral_upper",
    "noncentral_f_upper": "noncentral_upper",
    "noncentral_chi_square_pdf": "noncentral_density", "noncentral_beta_pdf": "noncentral_density",
    "noncentral_f_pdf": "noncentral_density", "noncentral_t_pdf": "noncentral_density",
}

ROUTINES = {
    # name: (input kinds, input names, output names, grid, compute)
    "g01eac": ("TR", "tail x", "value", grid_g01eac, compute_g01eac),
    "g01fac": ("TR", "tail p", "value", grid_g01fac, compute_g01fac),
    "g01ebc": ("TRR", "tail t df", "value", grid_g01ebc, compute_g01ebc),
    "g01fbc": ("TRR", "tail p df", "value", grid_g01fbc, compute_g01fbc),
    "g01ecc": ("TRR", "tail x df", "value", grid_g01ecc, compute_g01ecc),
    "g01fcc": ("RR", "p df", "value", grid_g01fcc, compute_g01fcc),
    "g01edc": ("TRRR", "tail f df1 df2", "value", grid_g01edc, compute_g01edc),
    "g01fdc": ("RRR", "p df1 df2", "value", grid_g01fdc, compute_g01fdc),
    "g01eec": ("RRR", "x a b", "p q pdf", grid_g01eec, compute_g01eec),
    "g01eec_whole": ("RRR", "x a b", "p q pdf", grid_g01eec_whole, compute_g01eec),
    "g01fec": ("RRR", "p a b", "value", grid_g01fec, compute_g01fec),
    "g01fec_whole": ("RRR", "p a b", "value", grid_g01fec_whole, compute_g01fec),
    "g01efc": ("TRRR", "tail g a b", "value", grid_g01efc, compute_g01efc),
    "g01ffc": ("RRR", "p a b", "value", grid_g01ffc, compute_g01ffc),
    "g01gbc": ("RRR", "t df delta", "value", grid_g01gbc, compute_g01gbc),
    "g01gcc": ("RRR", "x df lambda", "value", grid_g01gcc, compute_g01gcc),
    "g01gdc": ("RRRR", "f df1 df2 lambda", "value", grid_g01gdc, compute_g01gdc),
    "g01gec": ("RRRR", "x a b lambda", "value", grid_g01gec, compute_g01gec),
    "g01bjc": ("IRI", "n p k", "plek pgtk peqk", grid_g01bjc, compute_g01bjc),
    "g01bkc": ("RI", "rlamda k", "plek pgtk peqk", grid_g01bkc, compute_g01bkc),
    "g01blc": ("IIII", "n l m k", "plek pgtk peqk", grid_g01blc, compute_g01blc),
    "normal_pdf": ("R", "x", "value", grid_normal_pdf, compute_normal_pdf),
    "student_t_pdf": ("RR", "t df", "value", grid_student_t_pdf, compute_student_t_pdf),
    "chi_square_pdf": ("RR", "x df", "value", grid_chi_square_pdf, compute_chi_square_pdf),
    "gamma_pdf": ("RRR", "g a b", "value", grid_gamma_pdf, compute_gamma_pdf),
    "f_pdf": ("RRR", "f df1 df2", "value", grid_f_pdf, compute_f_pdf),
    "noncentral_chi_square_upper": ("RRR", "x df lambda", "value", grid_noncentral_chi_square_upper,
                                    compute_noncentral_chi_square_upper),
    "noncentral_beta_upper": ("RRRR", "x a b lambda", "value", grid_noncentral_beta_upper,
                              compute_noncentral_beta_upper),
    "noncentral_f_upper": ("RRRR", "f df1 df2 lambda", "value", grid_noncentral_f_upper, compute_noncentral_f_upper),
    "noncentral_chi_square_pdf": ("RRR", "x df lambda", "value", grid_noncentral_chi_square_pdf,
                                  compute_noncentral_chi_square_pdf),
    "noncentral_beta_pdf": ("RRRR", "x a b lambda", "value", grid_noncentral_beta_pdf, compute_noncentral_beta_pdf),
    "noncentral_f_pdf": ("RRRR", "f df1 df2 lambda", "value", grid_noncentral_f_pdf, compute_noncentral_f_pdf),
    "noncentral_t_pdf": ("RRR", "t df delta", "value", grid_noncentral_t_pdf, compute_noncentral_t_pdf),
}


def valid_row(name, vals):
    """Rows whose rounded inputs fall outside the routine's domain are left out
    (1 - 1e-10 rounds to 1 at few digits, for instance)."""
    one = mpf(1)
    if name in ("g01fac", "g01fbc"):
        return 0 < vals[1] < one
    if name in ("g01fcc", "g01fdc", "g01ffc", "g01fec", "g01fec_whole"):
        return 0 < vals[0] < one
    if name in ("g01eec", "g01eec_whole", "g01gec"):
        return 0 < vals[0] < one
    if name in ("noncentral_beta_upper", "noncentral_beta_pdf"):
        return 0 < vals[0] < one
    if name == "noncentral_chi_square_pdf":
        return vals[1] > 0
    return True


def format_value(v, digits):
    if v == 0:
        return "0"
    if mpmath.isinf(v):
        return "inf"
    return mpmath.nstr(v, digits, min_fixed=1, max_fixed=0, strip_zeros=False)


def generate(name, digits_list, outdir, log):
    kinds, in_names, out_names, grid, compute = ROUTINES[name]
    lines = []
    lines.append("# %s reference values from scripts/reference/numerics.py (mpmath %s)" % (name, mpmath.__version__))
    lines.append("# digits\t%s\t%s" % ("\t".join(in_names.split()), "\t".join(out_names.split())))
    lines.append("# real inputs are exact binary values at the digits' precision: 0x<hex>p<exp> = hex * 2^exp")
    rows = grid()
    count = 0
    for D in digits_list:
        bits = bits_for_digits(D)
        t0 = time.time()
        global SOLVE_ROW
        for row in rows:
            SOLVE_ROW = (name, row)
            vals, texts = [], []
            for kind, item in zip(kinds, row):
                if kind == "R":
                    v = to_binary(item, bits)
                    vals.append(v)
                    texts.append(hexstr(v))
                else:
                    vals.append(int(item))
                    texts.append(str(int(item)))
            if not valid_row(name, vals):
                continue
            results = []
            for extra in (25, 45):
                SOLVE_CALLS[0] = 0
                with mp.workdps(D + extra):
                    args = [mpf(v) if kind == "R" else v for kind, v in zip(kinds, vals)]
                    results.append([+r for r in compute(*args)])
            with mp.workdps(D + 45):
                for r1, r2 in zip(results[0], results[1]):
                    if r2 == 0 and r1 == 0:
                        continue
                    if r2 == 0 or abs(r1 - r2) > abs(r2) * mpf(10) ** (-(D + 15)):
                        raise RuntimeError("%s %s at %d digits: references disagree: %s vs %s"
                                           % (name, row, D, mpmath.nstr(r1, 30), mpmath.nstr(r2, 30)))
                outs = [format_value(r, D + 10) for r in results[1]]
            lines.append("\t".join([str(D)] + texts + outs))
            count += 1
        log("%s: %d digits, %d rows, %.1fs" % (name, D, len(rows), time.time() - t0))
        write_table(name, lines, digits_list[:digits_list.index(D) + 1], outdir)
    return count


def write_table(name, lines, digits_list, outdir):
    """Writes the rows generated so far (at the precisions digits_list); rows
    of the existing table at other precisions are kept, so one precision can
    be added or redone without recomputing the others, and a run that is
    stopped keeps what it finished."""
    os.makedirs(os.path.join(outdir, FAMILY[name]), exist_ok=True)
    path = os.path.join(outdir, FAMILY[name], name + ".tsv")
    by_digits = {D: [] for D in digits_list}
    for line in lines[3:]:
        by_digits[int(line.split("\t", 1)[0])].append(line)
    if os.path.exists(path):
        with open(path) as f:
            for line in f:
                line = line.rstrip("\n")
                if not line or line.startswith("#"):
                    continue
                D = int(line.split("\t", 1)[0])
                if D not in digits_list:
                    by_digits.setdefault(D, []).append(line)
    lines = lines[:3]
    for D in sorted(by_digits):
        lines.extend(by_digits[D])
    with open(path + ".tmp", "w") as f:
        f.write("\n".join(lines) + "\n")
    os.replace(path + ".tmp", path)


# ---------------------------------------------------------------------------
# --check: the non-central references against numerical integration
# ---------------------------------------------------------------------------

def check_noncentral(log):
    mp.dps = 40
    worst = mpf(0)
    # Non-central t: P(T <= t) = int_0^inf Phi(t sqrt(u/df) - delta) chi2_df(u) du
    for t, df, delta in [(mpf(-1.5), mpf(5), mpf(1)), (mpf(1.5), mpf(5), mpf(1)), (mpf(3), mpf(10), mpf(-2)),
                         (mpf(-1), mpf(10), mpf(5)), (mpf(15), mpf(30), mpf(20))]:
        dens = lambda u: mpmath.exp((df / 2 - 1) * mpmath.log(u) - u / 2 - (df / 2) * mpmath.log(2) - mpmath.loggamma(df / 2))
        q = mpmath.quad(lambda u: normal_tail(LOWER, t * mpmath.sqrt(u / df) - delta) * dens(u), [0, df, 4 * df, mpmath.inf])
        s = nc_t(t, df, delta)
        err = abs(q - s) / abs(s)
        worst = max(worst, err)
        log("nc t %s %s %s: series %s quad %s rel %s" % (t, df, delta, mpmath.nstr(s, 25), mpmath.nstr(q, 25), mpmath.nstr(err, 3)))
    # Non-central chi-square: the density through the Bessel function I.
    for x, df, lam in [(mpf(3), mpf(5), mpf(2)), (mpf(60), mpf(10), mpf(100)), (mpf(5), mpf(0.5), mpf(20))]:
        def dens(u):
            return mpmath.exp(-(u + lam) / 2) / 2 * (u / lam) ** (df / 4 - mpf(1) / 2) * mpmath.besseli(df / 2 - 1, mpmath.sqrt(lam * u))
        # u = v^4: the density's u^(df/2 - 1) at 0 becomes the bounded
        # 4 v^(2 df - 1), which the quadrature integrates to full accuracy.
        q = mpmath.quad(lambda v: dens(v ** 4) * 4 * v ** 3, [0, (x / 2) ** (mpf(1) / 4), x ** (mpf(1) / 4)])
        s = nc_chi2(x, df, lam)
        err = abs(q - s) / abs(s)
        worst = max(worst, err)
        log("nc chi2 %s %s %s: series %s quad %s rel %s" % (x, df, lam, mpmath.nstr(s, 25), mpmath.nstr(q, 25), mpmath.nstr(err, 3)))
    # Non-central beta: the density as a Poisson mixture is the same series, so
    # integrate the non-central chi-square ratio instead: F = (X1/d1)/(X2/d2).
    log("worst relative difference: %s" % mpmath.nstr(worst, 3))
    return worst < mpf(10) ** -30


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--only", default="")
    ap.add_argument("--digits", default=",".join(map(str, PRECISIONS)))
    ap.add_argument("--out", default=os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "numerics", "data"))
    ap.add_argument("--check", action="store_true")
    args = ap.parse_args()
    log = lambda s: print(s, file=sys.stderr, flush=True)
    if args.check:
        sys.exit(0 if check_noncentral(log) else 1)
    names = [n for n in args.only.split(",") if n] or list(ROUTINES)
    digits = [int(d) for d in args.digits.split(",")]
    os.makedirs(args.out, exist_ok=True)
    total = 0
    for name in names:
        total += generate(name, digits, args.out, log)
    log("%d rows" % total)


if __name__ == "__main__":
    main()
