#!/usr/bin/python3
"""regression_mpmath.py -- the peer of bench_regression's fit rows: mpmath's
least-squares solve (mpmath.qr_solve, Householder QR) of NIST's Longley and
Filip fits at the same digits, timed the same way (best of three loops of at
least 0.2 s), with the number of certified digits of B0 it gets.

qr_solve returns the solution and the residual norm only: no standard
errors, covariance, leverages or rank decision, and it works at the given
digits (no precision raised for an ill-conditioned design).

Usage: bench/regression_mpmath.py [digits...]   (default 15 30 50 100)
Run with /usr/bin/python3 (Debian's python3-mpmath).
"""
import os
import re
import sys
import time

import mpmath
from mpmath import mp, mpf

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "solvers", "data", "nist-strd")


def read(name):
    lines = open(os.path.join(DATA, name + ".dat")).read().split("\n")
    m = re.search(r"Data\s+\(lines (\d+) to (\d+)\)", "\n".join(lines[:10]))
    first, last = int(m.group(1)), int(m.group(2))
    rows = [l.split() for l in lines[first - 1:last] if l.strip()]
    cert = [l.split()[1] for l in lines[:60] if re.match(r"\s+B\d+\s", l)]
    return rows, cert


def problem(name, degree):
    rows, cert = read(name)
    y = [mpf(r[0]) for r in rows]
    if degree:
        A = [[mpf(1)] + [mpf(r[1]) ** j for j in range(1, degree + 1)] for r in rows]
    else:
        A = [[mpf(1)] + [mpf(v) for v in r[1:]] for r in rows]
    return mpmath.matrix(A), mpmath.matrix(y), cert


def seconds(f):
    best = 1e300
    for _ in range(3):
        n = 0
        t0 = time.perf_counter()
        while True:
            f()
            n += 1
            s = time.perf_counter() - t0
            if s >= 0.2:
                break
        best = min(best, s / n)
        if s > 1.0:
            break
    return best


def digits_agreeing(value, certified):
    c = mpf(certified)
    if value == c:
        return 15
    rel = abs((value - c) / c)
    return max(0, min(15, int(-mpmath.log10(rel))))


def main():
    digits = [int(a) for a in sys.argv[1:]] or [15, 30, 50, 100]
    print("%-8s %7s %10s %12s" % ("set", "digits", "ms", "B0 digits"))
    for d in digits:
        mp.dps = d
        for name, degree in (("Longley", 0), ("Filip", 10)):
            A, y, cert = problem(name, degree)
            x, _ = mpmath.qr_solve(A, y)
            s = seconds(lambda: mpmath.qr_solve(A, y))
            print("%-8s %7d %10.3f %12d" % (name, d, s * 1e3, digits_agreeing(x[0], cert[0])))


if __name__ == "__main__":
    main()
