#!/usr/bin/python3
"""distributions_mpmath.py -- mpmath on the cases of bench_distributions, at
15 and 50 digits (mp.dps = digits), in microseconds per call: the best of
three loops of at least 20 ms each.

The functions are those of numerics_mpmath.py: mpmath's own where it has
them (ncdf through erfc, erfinv, betainc, gammainc); deviates it does not
have are mpmath.findroot from a double start, and the non-central
chi-square is the reference generator's Poisson mixture, marked "*".

Usage: bench/distributions_mpmath.py [digits...]
"""

import importlib.machinery
import importlib.util
import os
import sys

import mpmath
from mpmath import mp, mpf

HERE = os.path.dirname(os.path.abspath(__file__))
_loader = importlib.machinery.SourceFileLoader("numerics_mpmath", os.path.join(HERE, "numerics_mpmath.py"))
_spec = importlib.util.spec_from_loader("numerics_mpmath", _loader)
nm = importlib.util.module_from_spec(_spec)
_loader.exec_module(nm)


def gamma_lower(x, scale, shape):
    return mpmath.gammainc(shape, 0, x / scale, regularized=True)


def beta_lower(x, a, b):
    return mpmath.betainc(a, b, 0, x, regularized=True)


def binomial_deviate(p, n, q):
    """The least k with P(X <= k) >= p, by bisection on the exact CDF."""
    lo, hi = -1, int(n)
    while hi - lo > 1:
        mid = (lo + hi) // 2
        if mpmath.betainc(n - mid, mid + 1, 0, 1 - q, regularized=True) >= p:
            hi = mid
        else:
            lo = mid
    return hi


CASES = [
    ("Normal Probability x=1.5", ["1.5"], lambda x: mpmath.ncdf(x), ""),
    ("Normal Deviate p=0.975", ["0.975"], lambda p: mpmath.sqrt(2) * mpmath.erfinv(2 * p - 1), ""),
    ("StudentT Probability t=2 nu=5", ["2", "5"], nm.t_lower, ""),
    ("StudentT Deviate p=0.975 nu=5", ["0.975", "5"],
     lambda p, nu: nm.root(lambda v: nm.t_lower(v, nu), p, 2.5705818366147395), "*"),
    ("Gamma Probability x=3 scale=2 shape=2.5", ["3", "2", "2.5"], gamma_lower, ""),
    ("Gamma Deviate p=0.975 scale=2 shape=2.5", ["0.975", "2", "2.5"],
     lambda p, s, a: nm.root(lambda v: gamma_lower(v, s, a), p, 12.83250199403003), "*"),
    ("Beta Probability x=0.3 a=2 b=3", ["0.3", "2", "3"], beta_lower, ""),
    ("Beta Deviate p=0.975 a=2 b=3", ["0.975", "2", "3"],
     lambda p, a, b: nm.root(lambda v: beta_lower(v, a, b), p, 0.8058796962090645), "*"),
    ("NonCentralChiSquare Probability x=7 nu=5 lambda=2", ["7", "5", "2"], nm.ref.nc_chi2, "*"),
    ("NonCentralChiSquare Deviate p=0.975 nu=5 lambda=2", ["0.975", "5", "2"],
     lambda p, nu, lam: nm.root(lambda v: nm.ref.nc_chi2(v, nu, lam), p, 17.0), "*"),
    ("Binomial Probability k=480 n=1000 p=0.5", ["480", "1000", "0.5"],
     lambda k, n, p: mpmath.betainc(n - k, k + 1, 0, 1 - p, regularized=True), ""),
    ("Binomial Deviate p=0.975 n=1000 p=0.5", ["0.975", "1000", "0.5"], binomial_deviate, "*"),
]


def main():
    digits = [int(a) for a in sys.argv[1:]] or [15, 50]
    print("%-52s %6s %12s" % ("case", "digits", "mpmath_us"))
    for name, inputs, fn, note in CASES:
        for d in digits:
            mp.dps = d
            args = [mpf(v) for v in inputs]
            us = nm.micros(lambda: fn(*args))
            print("%-52s %6d %12.2f %s" % (name, d, us, note), flush=True)


if __name__ == "__main__":
    main()
