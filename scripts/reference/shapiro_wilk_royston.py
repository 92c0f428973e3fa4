#!/usr/bin/python3
"""Royston's algorithm AS R94 for the Shapiro-Wilk test, in mpmath at high
precision: W and its p-value for the samples of g01ddc_samples.tsv,
at 15, 30, 50 and 100 digits.

The algorithm's formulas (see platform/numerics/shapiro_wilk.cpp) with its
constants as exact decimals, evaluated at digits + 30 from the sample values
rounded to the binary precision the test gives them (the value of
talvo_float_precision_bits), so that the table holds the algorithm's exact
W and p for the test's actual inputs.

Writes tests/numerics/data/shapiro_wilk/g01ddc_royston.tsv:
    digits <TAB> name <TAB> n <TAB> W <TAB> p     (digits + 10 significant digits)

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/shapiro_wilk_royston.py
"""
import math
import pathlib

from mpmath import mp, mpf

TOP = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = TOP / "tests/numerics/data/shapiro_wilk/g01ddc_samples.tsv"
OUT = TOP / "tests/numerics/data/shapiro_wilk/g01ddc_royston.tsv"

C1 = ["0", "0.221157", "-0.147981", "-2.071190", "4.434685", "-2.706056"]
C2 = ["0", "0.042981", "-0.293762", "-1.752461", "5.682633", "-3.582633"]
MEAN_SMALL = ["0.5440", "-0.39978", "0.025054", "-0.0006714"]
LOGSD_SMALL = ["1.3822", "-0.77857", "0.062767", "-0.0020322"]
MEAN_LARGE = ["-1.5861", "-0.31082", "-0.083751", "0.0038915"]
LOGSD_LARGE = ["-0.4803", "-0.082676", "0.0030302"]
GAMMA = ["-2.273", "0.459"]


def bits(digits):
    """talvo_float_precision_bits: digits * log2(10), rounded up, plus 4."""
    return math.floor(digits * math.log2(10)) + 1 + 4


def poly(c, x):
    r = mpf(0)
    for k in reversed(c):
        r = r * x + mpf(k)
    return r


def coefficients(n):
    """a_n, a_(n-1), ... (positive), the upper half."""
    half = n // 2
    if n == 3:
        return [mp.sqrt(mpf(1) / 2)]
    # m_i = Phi^-1(p_i) = -sqrt(2) erfinv(1 - 2 p_i) < 0 for i <= n/2.
    m = [-mp.sqrt(2) * mp.erfinv(1 - 2 * (mpf(i) - mpf(3) / 8) / (n + mpf(1) / 4)) for i in range(1, half + 1)]
    M = 2 * sum(v * v for v in m)
    u = 1 / mp.sqrt(n)
    a = [mpf(0)] * half
    a[0] = poly(C1, u) - m[0] / mp.sqrt(M)
    if n > 5:
        a[1] = poly(C2, u) - m[1] / mp.sqrt(M)
        f = mp.sqrt((M - 2 * m[0] ** 2 - 2 * m[1] ** 2) / (1 - 2 * a[0] ** 2 - 2 * a[1] ** 2))
        first = 2
    else:
        f = mp.sqrt((M - 2 * m[0] ** 2) / (1 - 2 * a[0] ** 2))
        first = 1
    for i in range(first, half):
        a[i] = -m[i] / f
    return a


def shapiro_wilk(x):
    n = len(x)
    a = coefficients(n)
    mean = sum(x) / n
    ss = sum((v - mean) ** 2 for v in x)
    s = sum(a[i] * (x[n - 1 - i] - x[i]) for i in range(n // 2))
    w = s * s / ss
    if n == 3:
        # W is at least 3/4, where p is exactly 0 (two equal values).
        if mp.almosteq(w, mpf(3) / 4, mpf(10) ** (10 - mp.dps)):
            return w, mpf(0)
        p = 6 / mp.pi * (mp.asin(mp.sqrt(w)) - mp.pi / 3)
        return w, max(p, mpf(0))
    y = mp.log(1 - w)
    if n <= 11:
        g = poly(GAMMA, n)
        if y >= g:
            return w, mpf("1e-19")
        y = -mp.log(g - y)
        mu, sd = poly(MEAN_SMALL, n), mp.exp(poly(LOGSD_SMALL, n))
    else:
        v = mp.log(n)
        mu, sd = poly(MEAN_LARGE, v), mp.exp(poly(LOGSD_LARGE, v))
    return w, mp.erfc((y - mu) / sd / mp.sqrt(2)) / 2


def main():
    lines = ["# digits\tname\tn\tW\tp: AS R94 at high precision; written by scripts/reference/shapiro_wilk_royston.py"]
    samples = []
    for line in SAMPLES.read_text().splitlines():
        if not line.startswith("#"):
            name, n, values = line.split("\t")
            samples.append((name, values.split(",")))
    for digits in (15, 30, 50, 100):
        for name, text in samples:
            if len(text) > 1000 and digits > 30:
                continue
            with mp.workprec(bits(digits)):
                x = sorted(+mpf(t) for t in text)
            mp.dps = digits + 30
            w, p = shapiro_wilk(x)
            lines.append(f"{digits}\t{name}\t{len(x)}\t{mp.nstr(w, digits + 10)}\t{mp.nstr(p, digits + 10)}")
        print(digits, flush=True)
    OUT.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
