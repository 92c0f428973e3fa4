#!/usr/bin/python3
"""regression.py -- reference values for the regression routines and wrappers.

Run with /usr/bin/python3 (Debian's python3-mpmath).  Independent of the
library's methods: fits are solved exactly in rational arithmetic (the normal
equations, by Gauss-Jordan elimination over Fractions), the Durbin-Watson
statistic is an exact rational, and the bound probabilities come from
numerical quadrature of Imhof's (1961) integral with mpmath, not from Pan's
formula that the library uses.

Writes
  tests/numerics/data/regression/g02fcc.tsv  Durbin-Watson statistic and bound
      probabilities for the exact residuals of three NIST fits (Longley,
      Norris, Pontius) and of two made-up series (Alternating: strong negative
      autocorrelation, both probabilities near 1; Smooth: strong positive
      autocorrelation, both tiny), rounded to the precision of D digits,
      D = 15, 30, 50, 100;
  tests/numerics/data/regression/g02fac.tsv  standardised residuals and
      influence statistics of the Longley fit from its residuals, leverages
      and residual mean square rounded likewise;
  tests/solvers/data/longley_reference.tsv   the exact Longley fit itself:
      residuals, leverages, residual mean square, the four statistics of every
      observation, d, and the two bound probabilities (for the test of the
      wrappers, which fit the data at 30 digits and pass the results on).

Inputs at D digits are rounded to bits(D) = floor(D log2 10) + 5 bits, the
precision of the library's floats, and written exactly in hexadecimal
(0x<hex>p<exp>), so a test feeds the routine exactly the numbers whose
outputs are in the table.  Each output is computed at D + 25 and D + 45
working digits; the two must agree to D + 15 digits or the script stops; the
table gets D + 10 significant digits.

Usage: scripts/reference/regression.py [--digits 15,30,50,100]
"""

import argparse
import math
import os
import re
import sys
from fractions import Fraction

import mpmath
from mpmath import mp, mpf

TOP = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
NIST = os.path.join(TOP, "tests", "solvers", "data", "nist-strd")


def bits_for_digits(d):
    return int(math.floor(d * math.log2(10) + 1e-12)) + 5


def hexstr(v):
    if v == 0:
        return "0"
    sign, man, exp, _ = v._mpf_
    return ("-" if sign else "") + "0x%xp%d" % (man, exp)


def to_fraction(v):
    sign, man, exp, _ = v._mpf_
    f = Fraction(man) * (Fraction(2) ** exp)
    return -f if sign else f


def rounded(q, bits):
    """The rational q rounded to `bits` bits (nearest), as an mpf and exactly."""
    v = mpf(mpmath.libmp.from_rational(q.numerator, q.denominator, bits, "n"))
    return v, to_fraction(v)


def sig(v, digits):
    return mpmath.nstr(v, digits, strip_zeros=False, min_fixed=1, max_fixed=0)


# ---------------------------------------------------------------------------
# Exact least squares
# ---------------------------------------------------------------------------

def read_nist(name):
    """(y, rows of x) of a NIST StRD linear regression file, as Fractions."""
    text = open(os.path.join(NIST, name + ".dat")).read().split("\n")
    m = re.search(r"Data\s+\(lines (\d+) to (\d+)\)", "\n".join(text[:10]))
    first, last = int(m.group(1)), int(m.group(2))
    rows = [line.split() for line in text[first - 1:last] if line.strip()]
    return [Fraction(r[0]) for r in rows], [[Fraction(v) for v in r[1:]] for r in rows]


def design(name):
    y, xs = read_nist(name)
    if name == "Longley":
        X = [[Fraction(1)] + r for r in xs]
    elif name == "Norris":
        X = [[Fraction(1), r[0]] for r in xs]
    elif name == "Pontius":
        X = [[Fraction(1), r[0], r[0] ** 2] for r in xs]
    else:
        raise ValueError(name)
    return X, y


def inverse(a):
    n = len(a)
    m = [row[:] + [Fraction(int(i == j)) for j in range(n)] for i, row in enumerate(a)]
    for c in range(n):
        p = next(r for r in range(c, n) if m[r][c] != 0)
        m[c], m[p] = m[p], m[c]
        piv = m[c][c]
        m[c] = [v / piv for v in m[c]]
        for r in range(n):
            if r != c and m[r][c] != 0:
                f = m[r][c]
                m[r] = [v - f * w for v, w in zip(m[r], m[c])]
    return [row[n:] for row in m]


def exact_fit(X, y):
    n, p = len(X), len(X[0])
    xtx = [[sum(X[k][i] * X[k][j] for k in range(n)) for j in range(p)] for i in range(p)]
    xty = [sum(X[k][i] * y[k] for k in range(n)) for i in range(p)]
    inv = inverse(xtx)
    b = [sum(inv[i][j] * xty[j] for j in range(p)) for i in range(p)]
    res = [y[k] - sum(X[k][j] * b[j] for j in range(p)) for k in range(n)]
    h = [sum(X[k][i] * inv[i][j] * X[k][j] for i in range(p) for j in range(p)) for k in range(n)]
    rss = sum(r * r for r in res)
    return b, res, h, rss / (n - p)


# ---------------------------------------------------------------------------
# The statistics, from exact inputs
# ---------------------------------------------------------------------------

def dw_statistic(res):
    num = sum((res[i + 1] - res[i]) ** 2 for i in range(len(res) - 1))
    return num / sum(r * r for r in res)


def imhof_lower(c):
    """imhof_lower_at(c) with the precision raised by the digits that the
    subtraction from 1/2 cancels when the probability is small."""
    p = imhof_lower_at(c)
    if 0 < p < mpf(10) ** -3:
        with mp.workdps(mp.dps + int(-mpmath.log10(p)) + 5):
            p = imhof_lower_at(c)
    return +p


def imhof_lower_at(c):
    """P(sum c_j z_j^2 <= 0) by Imhof's integral in the variable t = log u,
        1/2 - (1/pi) int_R f(t) dt,  f(t) = sin(theta(e^t)) / rho(e^t),
        theta(u) = (1/2) sum atan(c_j u),  rho(u) = prod (1 + c_j^2 u^2)^(1/4),
    by the trapezoidal rule.  f is analytic in the strip |Im t| < pi/2 (its
    singularities are at t = -log|c_j| +- i pi/2), so the rule with step h
    has an error of order exp(-2 pi a / h) for any a < pi/2; a = 0.4 pi is
    used.  f is below (1/2) sum|c_j| e^t on the left and below
    e^(-N t / 2) prod |c_j|^(-1/2) on the right, which sets the range."""
    if all(v < 0 for v in c):
        return mpf(1)
    if all(v > 0 for v in c):
        return mpf(0)
    N = len(c)
    eps_log = -(mp.dps + 10) * mpmath.log(10)
    h = 2 * mpmath.pi * (mpmath.pi * mpf(0.4)) / -eps_log
    left = eps_log - mpmath.log(mpmath.fsum(abs(v) for v in c))
    right = (2 / mpf(N)) * (-eps_log - mpmath.fsum(mpmath.log(abs(v)) for v in c) / 2)
    total = mpf(0)
    k = 0
    t = left
    while t <= right:
        u = mpmath.exp(t)
        theta = mpmath.fsum(mpmath.atan(v * u) for v in c) / 2
        log_rho = mpmath.fsum(mpmath.log1p((v * u) ** 2) for v in c) / 4
        total += mpmath.sin(theta) * mpmath.exp(-log_rho)
        k += 1
        t = left + k * h
    return mpf(1) / 2 - h * total / mpmath.pi


def dw_bounds(d, n, ip):
    """(pdl, pdu) = P(d_L <= d), P(d_U <= d) for the exact rational d."""
    N = n - ip
    nu = [4 * mpmath.sin(mpmath.pi * j / (2 * n)) ** 2 for j in range(1, n)]
    dd = mpq(d)
    lower = [nu[j - 1] - dd for j in range(1, N + 1)]
    upper = [nu[j + ip - 2] - dd for j in range(1, N + 1)]
    return imhof_lower(lower), imhof_lower(upper)


def influence(n, ip, res, h, rms):
    """The four statistics of each observation, at the current precision."""
    out = []
    s = mpmath.sqrt(rms)
    for r, hh in zip(res, h):
        t = r / (s * mpmath.sqrt(1 - hh))
        e = t * mpmath.sqrt(mpf(n - ip - 1) / (n - ip - t * t))
        cook = t * t * hh / (ip * (1 - hh))
        atk = abs(e) * mpmath.sqrt(mpf(n - ip) * hh / (ip * (1 - hh)))
        out += [t, e, cook, atk]
    return out


def mpq(q):
    """q rounded once to the current precision."""
    return mpf(mpmath.libmp.from_rational(q.numerator, q.denominator, mp.prec, "n"))


def twice(digits, fn):
    """fn() at D + 25 and D + 45 digits; they must agree to D + 15 digits."""
    with mp.workdps(digits + 25):
        a = fn()
    with mp.workdps(digits + 45):
        b = fn()
    for x, y in zip(a, b):
        with mp.workdps(digits + 45):
            if y != 0 and abs((x - y) / y) > mpf(10) ** (-(digits + 15)):
                raise RuntimeError("references disagree at %d digits: %s vs %s" % (digits, x, y))
            if y == 0 and x != 0 and abs(x) > mpf(10) ** (-(digits + 15)):
                raise RuntimeError("references disagree at %d digits: %s vs 0" % (digits, x))
    return b


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--digits", default="15,30,50,100")
    args = ap.parse_args()
    digits_list = [int(v) for v in args.digits.split(",")]

    fits = {}
    for name in ("Longley", "Norris", "Pontius"):
        X, y = design(name)
        fits[name] = (len(X), len(X[0])) + exact_fit(X, y)
        print("exact fit of %s done" % name, file=sys.stderr)

    outdir = os.path.join(TOP, "tests", "numerics", "data", "regression")
    os.makedirs(outdir, exist_ok=True)

    # g02fcc: digits, name, n, ip, residuals (hex), d, pdl, pdu
    lines = ["# g02fcc reference (scripts/reference/regression.py): digits, data set, n, ip,",
             "# residuals (exact binary values at the digits' precision, comma separated),",
             "# d, pdl, pdu to digits + 10 significant digits (pdl, pdu by Imhof's integral,",
             "# the trapezoidal rule in log u)"]
    series = {name: (fits[name][0], fits[name][1], fits[name][3]) for name in ("Longley", "Norris", "Pontius")}
    # r_i = (-1)^i (1 + i/7), n = 20, ip = 3; r_i = i (20 - i) / 100 - 2/3, n = 20, ip = 2
    series["Alternating"] = (20, 3, [(-1) ** i * (1 + Fraction(i, 7)) for i in range(20)])
    series["Smooth"] = (20, 2, [Fraction(i * (20 - i), 100) - Fraction(2, 3) for i in range(20)])
    for D in digits_list:
        bits = bits_for_digits(D)
        for name in ("Longley", "Norris", "Pontius", "Alternating", "Smooth"):
            n, ip, res = series[name]
            binary = [rounded(r, bits) for r in res]
            d = dw_statistic([q for _, q in binary])
            vals = twice(D, lambda: [mpq(d)] + list(dw_bounds(d, n, ip)))
            with mp.workdps(D + 45):
                lines.append("\t".join([str(D), name, str(n), str(ip), ",".join(hexstr(v) for v, _ in binary)] +
                                       [sig(v, D + 10) for v in vals]))
            print("g02fcc %s at %d digits" % (name, D), file=sys.stderr)
    open(os.path.join(outdir, "g02fcc.tsv"), "w").write("\n".join(lines) + "\n")

    # g02fac: digits, n, ip, nres, res, h, rms (hex), then 4 nres statistics
    lines = ["# g02fac reference (scripts/reference/regression.py): digits, n, ip, nres,",
             "# res, h (exact binary values at the digits' precision, comma separated), rms (exact),",
             "# then the 4 nres statistics row by row (t, e, Cook's D, Atkinson's T), comma separated"]
    n, ip, b, res, h, rms = fits["Longley"]
    for D in digits_list:
        bits = bits_for_digits(D)
        rb = [rounded(r, bits) for r in res]
        hb = [rounded(v, bits) for v in h]
        sb = rounded(rms, bits)
        vals = twice(D, lambda: influence(n, ip, [mpq(q) for _, q in rb], [mpq(q) for _, q in hb], mpq(sb[1])))
        with mp.workdps(D + 45):
            lines.append("\t".join([str(D), str(n), str(ip), str(n), ",".join(hexstr(v) for v, _ in rb),
                                    ",".join(hexstr(v) for v, _ in hb), hexstr(sb[0]),
                                    ",".join(sig(v, D + 10) for v in vals)]))
        print("g02fac at %d digits" % D, file=sys.stderr)
    open(os.path.join(outdir, "g02fac.tsv"), "w").write("\n".join(lines) + "\n")

    # The exact Longley fit, for the wrapper test at 30 digits: 40 digits each.
    D = 40
    n, ip, b, res, h, rms = fits["Longley"]
    d = dw_statistic(res)
    vals = twice(D, lambda: [mpq(d)] + list(dw_bounds(d, n, ip)) +
                 influence(n, ip, [mpq(r) for r in res], [mpq(v) for v in h], mpq(rms)))
    lines = ["# The exact Longley fit (scripts/reference/regression.py): name, index (1-based), value;",
             "# res and h: residuals and leverages; rms = rss / (n - ip); sres: the four statistics",
             "# of each observation in row order (t, e, Cook's D, Atkinson's T); d, pdl, pdu"]
    with mp.workdps(D + 45):
        for i, r in enumerate(res):
            lines.append("res\t%d\t%s" % (i + 1, sig(mpq(r), D)))
        for i, v in enumerate(h):
            lines.append("h\t%d\t%s" % (i + 1, sig(mpq(v), D)))
        lines.append("rms\t1\t%s" % sig(mpq(rms), D))
        for k, v in enumerate(vals[3:]):
            lines.append("sres\t%d\t%s" % (k + 1, sig(v, D)))
        lines.append("d\t1\t%s" % sig(vals[0], D))
        lines.append("pdl\t1\t%s" % sig(vals[1], D))
        lines.append("pdu\t1\t%s" % sig(vals[2], D))
    open(os.path.join(TOP, "tests", "solvers", "data", "longley_reference.tsv"), "w").write("\n".join(lines) + "\n")
    print("done", file=sys.stderr)


if __name__ == "__main__":
    main()
