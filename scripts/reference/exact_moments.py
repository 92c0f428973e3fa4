#!/usr/bin/python3
"""Reference values of the sum-based statistics on small integer data.

Means, moments, absolute deviations and covariance sums are computed in exact
rational arithmetic (fractions); only the last step of the geometric mean
(exp of a mean of logarithms) and of the quadratic mean (a square root) is
done in mpmath, at 90 digits.  Writes tests/descriptive/data/exact_sums.tsv:

    0 <TAB> statistic <TAB> x <TAB> w <TAB> parameter... <TAB> value

x and w are comma-separated integers (w empty: unweighted); the value has
70 significant digits.  Run with /usr/bin/python3 from the repository root.
"""
from fractions import Fraction as Q
import pathlib

import mpmath

mpmath.mp.dps = 90

DATA = [
    ("3,1,4,1,5,9,2,6", ""),
    ("3,1,4,1,5,9,2,6", "1,2,0,3,1,1,4,2"),
    ("1,2,4", ""),
    ("1,2,4", "3,1,1"),
    ("7", ""),
    ("10,20,30,40,50,60,70,80,90,1000", ""),
    ("10,20,30,40,50,60,70,80,90,1000", "5,4,3,2,1,1,2,3,4,5"),
    ("-3,0,2,5,-7,11", ""),
    ("-3,0,2,5,-7,11", "1,1,2,2,3,3"),
]

PAIRS = [
    ("1,2,3", "2,4,6", ""),
    ("3,1,4,1,5,9,2,6", "2,7,1,8,2,8,1,8", ""),
    ("3,1,4,1,5,9,2,6", "2,7,1,8,2,8,1,8", "1,2,0,3,1,1,4,2"),
    ("-3,0,2,5,-7,11", "4,4,-1,0,6,2", "1,1,2,2,3,3"),
]


def ints(text):
    return [int(v) for v in text.split(",")] if text else []


def dec(x):
    return mpmath.nstr(mpmath.mpf(x.numerator) / x.denominator if isinstance(x, Q) else x, 70,
                       strip_zeros=False, min_fixed=-5, max_fixed=5)


def weights(x, w):
    return [Q(v) for v in w] if w else [Q(1)] * len(x)


def means(x, w):
    ws = weights(x, w)
    W = sum(ws)
    out = {0: sum(wi * xi for wi, xi in zip(ws, x)) / W}
    if all(v != 0 for v in x):
        out[2] = W / sum(wi / xi for wi, xi in zip(ws, x))
    q2 = sum(wi * xi * xi for wi, xi in zip(ws, x)) / W
    out[3] = mpmath.sqrt(mpmath.mpf(q2.numerator) / q2.denominator)
    if all(v > 0 for v in x):
        s = mpmath.fsum(mpmath.mpf(wi.numerator) / wi.denominator * mpmath.log(xi) for wi, xi in zip(ws, x))
        out[1] = mpmath.exp(s / (mpmath.mpf(W.numerator) / W.denominator))
    return out


def moment(x, w, k, origin):
    ws = weights(x, w)
    return sum(wi * (Q(xi) - origin) ** k for wi, xi in zip(ws, x)) / sum(ws)


def absdev(x, w, origin):
    ws = weights(x, w)
    return sum(wi * abs(Q(xi) - origin) for wi, xi in zip(ws, x)) / sum(ws)


def covariance(x, y, w):
    ws = weights(x, w)
    W = sum(ws)
    mx = sum(a * b for a, b in zip(ws, x)) / W
    my = sum(a * b for a, b in zip(ws, y)) / W
    sxy = sum(a * (b - mx) * (c - my) for a, b, c in zip(ws, x, y))
    sxx = sum(a * (b - mx) ** 2 for a, b in zip(ws, x))
    syy = sum(a * (c - my) ** 2 for a, c in zip(ws, y))
    return [sxy, sxx, syy, W]


def main():
    rows = ["# digits\tstatistic\tx\tw\tparameters...\tvalue (exact; scripts/reference/exact_moments.py)"]
    for xs, w in DATA:
        x = ints(xs)
        wl = ints(w)
        for t, v in sorted(means(x, wl).items()):
            rows.append(f"0\tMean\t{xs}\t{w}\t{t}\t{dec(v)}")
        for origin in (Q(0), Q(1), Q(5, 2), Q(-4)):
            o = f"{origin.numerator}/{origin.denominator}"
            for k in (1, 2, 3, 4, 7):
                rows.append(f"0\tMoment\t{xs}\t{w}\t{k}\t{o}\t{dec(moment(x, wl, k, origin))}")
            rows.append(f"0\tAbsoluteDeviation\t{xs}\t{w}\t{o}\t{dec(absdev(x, wl, origin))}")
    for xs, ys, w in PAIRS:
        for i, v in enumerate(covariance(ints(xs), ints(ys), ints(w))):
            rows.append(f"0\tCovariance\t{xs}\t{w}\t{ys}\t{i + 1}\t{dec(v)}")
    out = pathlib.Path(__file__).resolve().parents[2] / "tests/descriptive/data/exact_sums.tsv"
    out.write_text("\n".join(rows) + "\n")


if __name__ == "__main__":
    main()
