#!/usr/bin/python3
"""numerics_mpmath.py -- mpmath on the cases of bench_numerics, at 15, 50 and
300 digits (mp.dps = digits), in microseconds per call: the best of three
loops of at least 20 ms each.

Where mpmath has the function, it is called directly (erfc, erfinv,
betainc, gammainc, loggamma).  It has no deviates of the t, chi-square, F,
beta and gamma distributions and no non-central or hypergeometric
distributions: those rows time mpmath.findroot from a double start (the
deviates) and the methods of scripts/reference/numerics.py (Poisson mixtures,
exact sums), marked "*".

Usage: bench/numerics_mpmath.py [digits...]
"""

import importlib.machinery
import importlib.util
import os
import sys
import time

import mpmath
from mpmath import mp, mpf

HERE = os.path.dirname(os.path.abspath(__file__))
_loader = importlib.machinery.SourceFileLoader("numerics_reference",
                                               os.path.join(HERE, "..", "scripts", "reference", "numerics.py"))
_spec = importlib.util.spec_from_loader("numerics_reference", _loader)
ref = importlib.util.module_from_spec(_spec)
_loader.exec_module(ref)


def half():
    return mpf(1) / 2


def t_lower(t, df):
    x = df / (df + t * t)
    s = mpmath.betainc(df / 2, half(), 0, x, regularized=True) / 2
    return 1 - s if t > 0 else s


def root(F, p, x0):
    """x with F(x) = p by mpmath.findroot (secant) from a double start."""
    return mpmath.findroot(lambda v: F(v) - p, mpf(x0))


def chi2_lower(x, df):
    return mpmath.gammainc(df / 2, 0, x / 2, regularized=True)


def f_lower(f, d1, d2):
    return mpmath.betainc(d1 / 2, d2 / 2, 0, d1 * f / (d1 * f + d2), regularized=True)


def beta3(x, a, b):
    P = mpmath.betainc(a, b, 0, x, regularized=True)
    Q = mpmath.betainc(b, a, 0, 1 - x, regularized=True)
    pdf = x ** (a - 1) * (1 - x) ** (b - 1) / mpmath.beta(a, b)
    return P, Q, pdf


def binom3(n, p, k):
    q = 1 - p
    le = mpmath.betainc(n - k, k + 1, 0, q, regularized=True)
    gt = mpmath.betainc(k + 1, n - k, 0, p, regularized=True)
    eq = mpmath.exp(mpmath.loggamma(n + 1) - mpmath.loggamma(k + 1) - mpmath.loggamma(n - k + 1)
                    + k * mpmath.log(p) + (n - k) * mpmath.log(q))
    return le, gt, eq


def poisson3(lam, k):
    le = mpmath.gammainc(k + 1, lam, mpmath.inf, regularized=True)
    gt = mpmath.gammainc(k + 1, 0, lam, regularized=True)
    eq = mpmath.exp(-lam + k * mpmath.log(lam) - mpmath.loggamma(k + 1))
    return le, gt, eq


# (name as in bench_numerics, function of the parsed inputs, note)
CASES = [
    ("g01eac lower x=-3", lambda: ["-3"], lambda x: mpmath.erfc(-x / mpmath.sqrt(2)) / 2, ""),
    ("g01fac lower p=0.975", lambda: ["0.975"], lambda p: mpmath.sqrt(2) * mpmath.erfinv(2 * p - 1), ""),
    ("g01ebc lower t=2 df=5", lambda: ["2", "5"], t_lower, ""),
    ("g01fbc lower p=0.975 df=5", lambda: ["0.975", "5"],
     lambda p, df: root(lambda v: t_lower(v, df), p, 2.5705818366147395), "*"),
    ("g01ecc lower x=11 df=5", lambda: ["11", "5"], chi2_lower, ""),
    ("g01fcc p=0.975 df=5", lambda: ["0.975", "5"],
     lambda p, df: root(lambda v: chi2_lower(v, df), p, 12.832501994030027), "*"),
    ("g01edc lower f=2.5 df=5,7", lambda: ["2.5", "5", "7"], f_lower, ""),
    ("g01fdc p=0.975 df=5,7", lambda: ["0.975", "5", "7"],
     lambda p, d1, d2: root(lambda v: f_lower(v, d1, d2), p, 5.285233877360911), "*"),
    ("g01eec x=0.3 a=2.5 b=3.5 (P,Q,pdf)", lambda: ["0.3", "2.5", "3.5"], beta3, ""),
    ("g01eec x=0.3 a=2 b=3 (P,Q,pdf)", lambda: ["0.3", "2", "3"], beta3, ""),
    ("g01fec p=0.975 a=2.5 b=3.5", lambda: ["0.975", "2.5", "3.5"],
     lambda p, a, b: root(lambda v: mpmath.betainc(a, b, 0, v, regularized=True), p, 0.7948895446906508), "*"),
    ("g01efc lower g=2 a=3.5", lambda: ["2", "3.5"], lambda g, a: mpmath.gammainc(a, 0, g, regularized=True), ""),
    ("g01efc lower P(500, 480)", lambda: ["480", "500"], lambda g, a: mpmath.gammainc(a, 0, g, regularized=True), ""),
    ("g01ffc p=0.975 a=3.5 b=1", lambda: ["0.975", "3.5"],
     lambda p, a: root(lambda v: mpmath.gammainc(a, 0, v, regularized=True), p, 7.224832680648366), "*"),
    ("g01gbc t=1.5 df=5 delta=1", lambda: ["1.5", "5", "1"], ref.nc_t, "*"),
    ("g01gcc x=7 df=5 lambda=2", lambda: ["7", "5", "2"], ref.nc_chi2, "*"),
    ("g01gdc f=2.5 df=5,7 lambda=3", lambda: ["2.5", "5", "7", "3"],
     lambda f, d1, d2, lam: ref.compute_g01gdc(f, d1, d2, lam)[0], "*"),
    ("g01gec x=0.3 a=2.5 b=3.5 lambda=4", lambda: ["0.3", "2.5", "3.5", "4"],
     lambda x, a, b, lam: ref.compute_g01gec(x, a, b, lam)[0], "*"),
    ("g01bjc n=1000 p=0.5 k=480", lambda: ["1000", "0.5", "480"], binom3, ""),
    ("g01bkc lambda=100 k=99", lambda: ["100", "99"], poisson3, ""),
    ("g01blc n=1000 l=500 m=300 k=140", lambda: [1000, 500, 300, 140], ref.hypergeometric, "*"),
]


def micros(f):
    best = float("inf")
    for _ in range(3):
        n = 0
        t0 = time.perf_counter()
        while True:
            f()
            n += 1
            s = time.perf_counter() - t0
            if s >= 0.02:
                break
        best = min(best, s / n * 1e6)
        if s > 1.0:
            break
    return best


def main():
    digits = [int(a) for a in sys.argv[1:]] or [15, 50, 300]
    print("%-36s %6s %12s" % ("case", "digits", "mpmath_us"))
    for name, inputs, fn, note in CASES:
        for d in digits:
            mp.dps = d
            args = [mpf(v) if isinstance(v, str) else v for v in inputs()]
            if name.startswith("g01bjc"):
                args = [int(args[0]), args[1], int(args[2])]
            if name.startswith("g01bkc"):
                args = [args[0], int(args[1])]
            us = micros(lambda: fn(*args))
            print("%-36s %6d %12.2f %s" % (name, d, us, note), flush=True)


if __name__ == "__main__":
    main()
