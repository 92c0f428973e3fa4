#!/usr/bin/python3
"""Reference values of the numerics routines at extreme arguments, from mpmath.

Writes tests/numerics/data/extremes.tsv: one line per case,
    digits <TAB> routine key <TAB> argument... <TAB> output index <TAB> value
The routine keys are those of tests/numerics/extremes_test.cpp (g01eac_L is
the normal lower tail, ...); the output index picks one of the three outputs
of the discrete routines (0 P(X <= k), 1 P(X > k), 2 P(X = k)) and of the
beta (0 lower, 1 upper), and is 0 otherwise.  Arguments are decimal text,
rounded to the test's binary precision as the test reads them (or "tiny",
the smallest positive float, 2^(emin - 1) with MPFR's default
emin = 1 - 2^30).  A value of 0 or 1 is a
tail below the float range (below 2^(emin - 1)) or its complement.  Values
are printed to digits + 10 significant digits, computed at digits + 40.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/numerics_extremes.py
"""
import math
import pathlib

from mpmath import mp, mpf

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/numerics/data/extremes.tsv"
EMIN = 1 - 2 ** 30
TINY_EXP = EMIN - 1  # the smallest positive float is 2^TINY_EXP


BITS = {"bits": 53}


def R(text):
    """The decimal text rounded to the test's binary precision, as the test reads it."""
    with mp.workprec(BITS["bits"]):
        return +mpf(text)


def arg(text):
    if text == "tiny":
        return mp.ldexp(mpf(1), TINY_EXP)
    return mpf(text)


def flush(v):
    """A value below the float range is 0."""
    if v != 0 and abs(v) < mp.ldexp(mpf(1), TINY_EXP):
        return mpf(0)
    return v


def normal_lower(x):
    return mp.ncdf(x)


def normal_quantile_lower(p):
    # Newton on ln Phi(z) = ln p, from the asymptotic start.
    target = mp.log(p)
    z = -mp.sqrt(-2 * target)
    for _ in range(200):
        lp = mp.log(mp.ncdf(z))
        step = (lp - target) * mp.ncdf(z) / mp.npdf(z)
        z -= step
        if abs(step) < abs(z) * mpf(10) ** (-mp.dps + 3):
            break
    return z


def t_lower(t, df):
    x = df / (df + t * t)
    tail = mp.betainc(df / 2, mpf(1) / 2, 0, x, regularized=True) / 2
    return tail if t < 0 else 1 - tail


def chi_lower(x, df):
    return mp.gammainc(df / 2, 0, x / 2, regularized=True)


def chi_upper(x, df):
    return mp.gammainc(df / 2, x / 2, mp.inf, regularized=True)


def gamma_upper_tiny(a, x):
    """Q(a, x) for a shape a far below 2^-131072: a E1(x) x^a / Gamma(1 + a).

    Q = a E1(x) exp(a L) / Gamma(1 + a) with L between ln x and -x - ln E1(x)
    (log-convexity of int_x^inf t^(s-1) e^-t dt in s), so the relative error of
    this form is about a (|ln x| + x), far below any digit printed here.
    mpmath's own gammainc is not used: its series in a would not finish.
    """
    return a * mp.e1(x) * mp.exp(a * mp.log(x)) / mp.gamma(1 + a)


def beta_lower(x, a, b):
    return mp.betainc(a, b, 0, x, regularized=True)


def poisson(lam, k, which):
    if which == 2:
        return mp.exp(k * mp.log(lam) - lam - mp.loggamma(k + 1))
    lower = mp.gammainc(k + 1, lam, mp.inf, regularized=True)
    return lower if which == 0 else mp.gammainc(k + 1, 0, lam, regularized=True)


def binomial_point(n, p, k):
    return mp.exp(mp.loggamma(n + 1) - mp.loggamma(k + 1) - mp.loggamma(n - k + 1) + k * mp.log(p)
                  + (n - k) * mp.log1p(-p))


def f_deviate_small_df1(p, d1, d2):
    """The F deviate where d1 is so small that the root z of the beta problem
    I_z(d1/2, d2/2) = p lies far below every double: I_z(a, b) =
    z^a (1 - z)^b / (a B(a, b)) 2F1(a + b, 1; a + 1; z), whose last two
    factors are 1 to far beyond the working precision at such a z, so
    z = (p a B(a, b))^(1/a) and the deviate is d2 z / (d1 (1 - z))."""
    a, b = d1 / 2, d2 / 2
    z = mp.exp((mp.log(p) + mp.log(a) + mp.log(mp.beta(a, b))) / a)
    assert z * (a + b) < mpf(10) ** -(mp.dps + 10)
    return d2 * z / (d1 * (1 - z))


def beta_root_small_shape(pi, al, be):
    """u with I_u(al, be) = pi where u lies far below every double: the same
    limit form, u = (pi al B(al, be))^(1/al)."""
    u = mp.exp((mp.log(pi) + mp.log(al) + mp.log(mp.beta(al, be))) / al)
    assert u * (al + be) < mpf(10) ** -(mp.dps + 10)
    return u


def f_deviate_small_df2(p, d1, d2):
    """The F deviate where d2 is tiny: the root lies near 1 in the beta
    variable, y = 1 - x far below every double with P(Y <= y) = 1 - p for
    Y ~ Beta(d2/2, d1/2), and the deviate is d2 (1 - y) / (d1 y)."""
    y = beta_root_small_shape(1 - p, d2 / 2, d1 / 2)
    return d2 * (1 - y) / (d1 * y)


def beta_root_shape_two(p, n):
    """x with I_x(n, 2) = p: 1 - X ~ Beta(2, n), whose distribution function
    is P(Bin(n + 1, y) >= 2) = 1 - (1 - y)^(n + 1) - (n + 1) y (1 - y)^n,
    solved for y at 1 - p; the deviate is 1 - y."""
    target = 1 - p

    def lower(t):  # in t = n y, where the root is near 1.4e-3
        y = t / n
        return -mp.expm1((n + 1) * mp.log1p(-y)) - (n + 1) * y * mp.exp(n * mp.log1p(-y)) - target

    t = mp.findroot(lower, (mpf("1e-4"), mpf("1e-2")), solver="anderson")
    assert abs(lower(t)) < mpf(10) ** -(mp.dps - 5)
    return 1 - t / n


CASES = [
    # the normal: tails far out, within and beyond the float range
    ("g01eac_L", ["-1e7"], 0, lambda: mpf(0)),
    ("g01eac_L", ["-1e20"], 0, lambda: mpf(0)),
    ("g01eac_L", ["-1e300"], 0, lambda: mpf(0)),
    ("g01eac_L", ["-38000"], 0, lambda: normal_lower(mpf(-38000))),
    ("g01eac_L", ["-1000"], 0, lambda: normal_lower(mpf(-1000))),
    ("g01eac_U", ["1e7"], 0, lambda: mpf(0)),
    ("g01eac_U", ["38000"], 0, lambda: normal_lower(mpf(-38000))),
    ("g01eac_L", ["1e300"], 0, lambda: mpf(1)),
    ("g01eac_S", ["1e20"], 0, lambda: mpf(0)),
    ("g01eac_C", ["1e20"], 0, lambda: mpf(1)),
    ("g01fac_L", ["tiny"], 0, lambda: normal_quantile_lower(arg("tiny"))),
    ("g01fac_L", ["1e-300"], 0, lambda: normal_quantile_lower(R("1e-300"))),
    ("g01fac_U", ["tiny"], 0, lambda: -normal_quantile_lower(arg("tiny"))),
    # Student's t: power-law tails
    ("g01ebc_L", ["-1e300", "3"], 0, lambda: t_lower(R("-1e300"), mpf(3))),
    ("g01ebc_L", ["-1e20", "0.5"], 0, lambda: t_lower(R("-1e20"), R("0.5"))),
    ("g01ebc_U", ["1e7", "3"], 0, lambda: t_lower(R("-1e7"), mpf(3))),
    ("g01ebc_L", ["-1e7", "1e15"], 0, lambda: mpf(0)),
    # chi-square
    ("g01ecc_L", ["1e-300", "3"], 0, lambda: chi_lower(R("1e-300"), mpf(3))),
    ("g01ecc_U", ["1e20", "3"], 0, lambda: mpf(0)),
    ("g01ecc_U", ["1e7", "3"], 0, lambda: chi_upper(R("1e7"), mpf(3))),
    ("g01ecc_L", ["1e300", "3"], 0, lambda: mpf(1)),
    # chi-square and gamma at tiny shapes: the limit form
    ("g01ecc_U", ["1", "1e-100000000"], 0, lambda: gamma_upper_tiny(R("1e-100000000") / 2, mpf(1) / 2)),
    ("g01ecc_L", ["1", "1e-100000000"], 0, lambda: mpf(1)),
    ("g01ecc_U", ["1e-300", "tiny"], 0, lambda: flush(gamma_upper_tiny(arg("tiny") / 2, R("1e-300") / 2))),
    ("g01ecc_U", ["1", "tiny"], 0, lambda: flush(gamma_upper_tiny(arg("tiny") / 2, mpf(1) / 2))),
    ("g01ecc_L", ["1e-300", "tiny"], 0, lambda: mpf(1)),
    ("g01efc_U", ["1", "1e-100000000", "1"], 0, lambda: gamma_upper_tiny(R("1e-100000000"), mpf(1))),
    ("g01efc_U", ["1e7", "1e-100000000", "1"], 0, lambda: gamma_upper_tiny(R("1e-100000000"), mpf(10) ** 7)),
    ("g01efc_U", ["1e-300", "tiny", "1e300"], 0,
     lambda: flush(gamma_upper_tiny(arg("tiny"), R("1e-300") / R("1e300")))),
    ("g01efc_L", ["1e-300", "1e-100000000", "1"], 0, lambda: mpf(1)),
    # beta
    ("g01eec", ["1e-300", "0.5", "3"], 0, lambda: beta_lower(R("1e-300"), R("0.5"), mpf(3))),
    ("g01eec", ["1e-300", "3", "0.5"], 0, lambda: flush(beta_lower(R("1e-300"), mpf(3), R("0.5")))),
    # the F deviate with a tiny df1: a root near e^-500000, beside a huge df2 and a small one
    ("g01fdc", ["0.609375", "2e-6", "9007199254740992"], 0,
     lambda: f_deviate_small_df1(mpf("0.609375"), R("2e-6"), mpf(2) ** 53)),
    ("g01fdc", ["0.609375", "2e-6", "100"], 0, lambda: f_deviate_small_df1(mpf("0.609375"), R("2e-6"), mpf(100))),
    ("g01fdc", ["0.609375", "9007199254740992", "2e-6"], 0,
     lambda: f_deviate_small_df2(mpf("0.609375"), mpf(2) ** 53, R("2e-6"))),
    # the beta deviate with two tiny shapes: the root near 0
    ("g01fec", ["0.3", "2e-6", "2e-6"], 0, lambda: beta_root_small_shape(R("0.3"), R("2e-6"), R("2e-6"))),
    # the beta deviate with one shape beyond the double inverses' range: the root near 1
    ("g01fec", ["0.999999", "1e16", "2"], 0, lambda: beta_root_shape_two(R("0.999999"), mpf(10) ** 16)),
    # Poisson
    ("g01bkc", ["3", "max"], 0, lambda: mpf(1)),
    ("g01bkc", ["3", "max"], 1, lambda: mpf(0)),
    ("g01bkc", ["3", "max"], 2, lambda: mpf(0)),
    ("g01bkc", ["1e300", "3"], 0, lambda: mpf(0)),
    ("g01bkc", ["1e300", "3"], 1, lambda: mpf(1)),
    ("g01bkc", ["3", "1000"], 2, lambda: poisson(mpf(3), 1000, 2)),
    ("g01bkc", ["3", "1000"], 1, lambda: poisson(mpf(3), 1000, 1)),
    ("g01bkc", ["1e-300", "3"], 2, lambda: poisson(R("1e-300"), 3, 2)),
    # a huge mean near the transition, where the series would need millions of terms
    ("g01bkc", ["1e12", "1000001000000"], 0, lambda: poisson(mpf(10) ** 12, 10 ** 12 + 10 ** 6, 0)),
    ("g01bkc", ["1e12", "999997000000"], 0, lambda: poisson(mpf(10) ** 12, 10 ** 12 - 3 * 10 ** 6, 0)),
    ("g01ecc_U", ["2000002000000", "2e12"], 0, lambda: chi_upper(mpf(2000002000000), mpf(2) * 10 ** 12)),
    # binomial
    ("g01bjc", ["1000", "1e-300", "1000"], 2, lambda: binomial_point(mpf(1000), R("1e-300"), mpf(1000))),
    ("g01bjc", ["1000", "1e-300", "1"], 2, lambda: binomial_point(mpf(1000), R("1e-300"), mpf(1))),
    # hypergeometric: a population at the largest Integer
    ("g01blc", ["max", "10", "10", "5"], 0, lambda: mpf(1)),
    ("g01blc", ["max", "10", "10", "0"], 2,
     lambda: mp.fprod(mpf(2 ** 63 - 1 - 10 - i) / (2 ** 63 - 1 - i) for i in range(10))),
]

DIGITS = [15, 50]


def main():
    lines = ["# digits\troutine\targuments...\toutput\tvalue (mpmath, see scripts/reference/numerics_extremes.py)"]
    for digits in DIGITS:
        for key, args, which, fn in CASES:
            BITS["bits"] = math.floor(digits * math.log2(10)) + 1 + 4
            mp.dps = digits + 40
            value = fn()
            lines.append("\t".join([str(digits), key, *args, str(which), mp.nstr(value, digits + 10, strip_zeros=False)]))
    OUT.parent.mkdir(parents=True, exist_ok=True)
    OUT.write_text("\n".join(lines) + "\n")
    print(f"wrote {len(lines) - 1} cases to {OUT}")


if __name__ == "__main__":
    main()
