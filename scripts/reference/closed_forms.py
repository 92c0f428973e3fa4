#!/usr/bin/python3
"""Reference values of the closed-form distributions, from mpmath.

Writes tests/distributions/data/closed_forms.tsv: one line per case,
    digits <TAB> function <TAB> argument... <TAB> value
with every argument as the decimal text the test passes (it is read at the
test's precision, as a host would) and the value to digits + 15 significant
digits, computed at digits + 40 from the arguments rounded to the binary
precision the test uses (ceil(digits * log2(10)) + 4 bits), so that the
reference is the exact function of the test's actual inputs.

The closed forms are the library's formulas in exact arithmetic (the
library returns their correctly rounded values); constants the library holds
as doubles (the coefficients of the normal quantile approximation) are those
doubles.  The normal probability rounds (x - mu) / sigma to the test's
precision first, as the library does; the normal functions are otherwise the
exact normal integral and its inverse.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/closed_forms.py
"""
import math
import pathlib

from mpmath import mp, mpf

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/distributions/data/closed_forms.tsv"


def bits(digits):
    return math.floor(digits * math.log2(10)) + 1 + 4


def at_precision(text, digits):
    """The decimal text rounded to the test's binary precision."""
    with mp.workprec(bits(digits)):
        return +mpf(text)


def weibull_probability(x, a, b):
    return mpf(0) if x < 0 else 1 - mp.exp(-((x / a) ** b))


def weibull_deviate(p, a, b):
    return a * (-mp.log(1 - p)) ** (1 / b)


def exponential_probability(x, b):
    return 1 - mp.exp(-x / b)


def exponential_deviate(p, b):
    return -b * mp.log(1 - p)



ROUNDED = {}


def rnd(v):
    """v rounded to the test's binary precision, as the library rounds it."""
    with mp.workprec(ROUNDED["bits"]):
        return +v


def uniform_probability(x, a, b):
    if x <= a:
        return mpf(0)
    if x >= b:
        return mpf(1)
    return (x - a) / (b - a)


def uniform_deviate(p, a, b):
    return a + p * (b - a)


def triangular_probability(x, a, b, c):
    if x < a:
        return mpf(0)
    if x < c:
        return (x - a) ** 2 / (b - a) / (c - a)
    if x < b:
        return 1 - (b - x) ** 2 / (b - a) / (b - c)
    return mpf(1)


def triangular_deviate(p, a, b, c):
    if p * (b - a) < c - a:
        return a + mp.sqrt(p * (b - a) * (c - a))
    return b - mp.sqrt((1 - p) * (b - a) * (b - c))


def rayleigh_probability(x, b):
    return mpf(0) if x < 0 else 1 - mp.exp(-x * x / (2 * b * b))


def rayleigh_deviate(p, b):
    return mp.sqrt(-2 * b * b * mp.log(1 - p))


def power_probability(x, b, c):
    if x < 0:
        return mpf(0)
    return (x / b) ** c if x <= b else mpf(1)


def power_deviate(p, b, c):
    return b * p ** (1 / c)


def pareto_probability(x, a, c):
    return mpf(0) if x < a else 1 - (a / x) ** c


def pareto_deviate(p, a, c):
    return a * (1 - p) ** (-1 / c)


def logistic_probability(x, a, b):
    return 1 / (1 + mp.exp(-(x - a) / b))


def logistic_deviate(p, a, b):
    return a + b * mp.log(p / (1 - p))


def laplace_probability(x, a, b):
    if x < a:
        return mp.exp(-(a - x) / b) / 2
    return 1 - mp.exp(-(x - a) / b) / 2


def laplace_deviate(p, a, b):
    if p < 0.5:
        return a + b * mp.log(2 * p)
    return a - b * mp.log(2 * (1 - p))


def gumbel_probability(x, a, b):
    return mp.exp(-mp.exp(-(x - a) / b))


def gumbel_deviate(p, a, b):
    return a - b * mp.log(-mp.log(p))


def cauchy_probability(x, a, b):
    return mpf(0.5) + (1 / mp.pi) * mp.atan((x - a) / b)


def cauchy_deviate(p, a, b):
    return a + b * mp.tan(mp.pi * (p - mpf(0.5)))


def normal_probability(x, mu, sigma):
    return mp.ncdf((x - mu) / sigma)


def normal_quantile(p):
    """The standard normal quantile: Newton's method on ln Phi(z) = ln p in
    the lower half (symmetry above), from -sqrt(-2 ln p)."""
    if p > 0.5:
        return -normal_quantile(1 - p)
    z = -mp.sqrt(-2 * mp.log(p)) if p < 0.3 else mpf(0)
    target = mp.log(p)
    for _ in range(500):
        step = (mp.log(mp.ncdf(z)) - target) * mp.ncdf(z) / mp.npdf(z)
        z -= step
        if abs(step) < mpf(10) ** (-mp.dps + 5) * max(1, abs(z)):
            break
    return z


def normal_deviate(p, mu, sigma):
    return mu + sigma * normal_quantile(p)


def lognormal_probability(x, mu, sigma):
    return mp.ncdf((mp.log(x) - mu) / sigma)


def lognormal_deviate(p, mu, sigma):
    return mp.exp(mu + sigma * normal_quantile(p))


def normal_deviate_approx(p):
    # The coefficients are doubles in the library: mpf(float) keeps them so.
    c = [mpf(v) for v in (2.515517, 0.80253, 0.01028, 1.432788, 0.189269, 0.001308)]
    q = rnd(1 - p)
    flag = False
    if q > 0:
        q = rnd(1 - q)
        flag = True
    t = mp.sqrt(-2 * mp.log(q))
    num = (c[2] * t + c[1]) * t + c[0]
    den = ((c[5] * t + c[4]) * t + c[3]) * t + 1
    x = t - num / den
    return -x if flag else x


def normal_w_approx(x, a, b):
    y = normal_deviate_approx(1 - x)
    ra = 1 / (2 * a - 1)
    rb = 1 / (2 * b - 1)
    lam = (y * y - 3) / 6
    h = 2 / (ra + rb)
    return y * mp.sqrt(h + lam) / h - (rb - ra) * (lam + mpf(0.8333333333333334) - 2 / (3 * h))


CASES = {
    "WeibullProbability": (weibull_probability, [
        ("0.5", "2", "3"), ("2.8831306855809065", "2", "3"), ("0.8", "2", "3"), ("7", "2", "3"),
        ("0.001", "1.5", "0.5"), ("30", "4.25", "1.75"), ("1", "1", "1"), ("123.456", "100", "12"),
    ]),
    "WeibullDeviate": (weibull_deviate, [
        ("0.95", "2", "3"), ("0.5", "2", "3"), ("0.05", "2", "3"), ("0.999999", "2", "3"),
        ("0.01", "1.5", "0.5"), ("0.975", "4.25", "1.75"), ("0.25", "1", "1"), ("0.125", "3", "2"),
    ]),
    "ExponentialProbability": (exponential_probability, [
        ("0.5", "2"), ("10", "0.25"), ("0.3", "3"), ("-1.5", "2"), ("100", "7"),
    ]),
    "ExponentialDeviate": (exponential_deviate, [
        ("0.5", "2"), ("0.975", "0.25"), ("0.2", "3"), ("0.999999999", "1"), ("0.1", "7"),
    ]),
    "UniformProbability": (uniform_probability, [
        ("0.3", "0", "2"), ("1.7", "-1", "3"), ("-0.999", "-1", "3"), ("2.9999", "-1", "3"), ("1e-20", "0", "1e-10"),
    ]),
    "UniformDeviate": (uniform_deviate, [
        ("0.3", "0", "2"), ("0.999", "-1", "3"), ("0.001", "-1", "3"), ("0.5", "10", "20"), ("1e-12", "5", "6"),
    ]),
    "TriangularProbability": (triangular_probability, [
        ("1.5", "1", "4", "2"), ("1.001", "1", "4", "2"), ("3", "1", "4", "2"), ("3.999", "1", "4", "2"),
        ("0.25", "0", "1", "0.5"), ("0.75", "0", "1", "0.5"), ("-0.5", "-2", "7", "3"),
    ]),
    "TriangularDeviate": (triangular_deviate, [
        ("0.1", "1", "4", "2"), ("0.001", "1", "4", "2"), ("0.5", "1", "4", "2"), ("0.999", "1", "4", "2"),
        ("0.3", "0", "1", "0.5"), ("0.9", "-2", "7", "3"),
    ]),
    "RayleighProbability": (rayleigh_probability, [
        ("0.5", "1"), ("1", "1"), ("2.5", "1"), ("6", "1"), ("3", "0.75"), ("40", "7"),
    ]),
    "RayleighDeviate": (rayleigh_deviate, [
        ("0.1", "1"), ("0.5", "1"), ("0.9", "1"), ("0.999999", "1"), ("0.25", "0.75"), ("0.99", "7"),
    ]),
    "PowerProbability": (power_probability, [
        ("0.5", "2", "3"), ("1e-3", "2", "3"), ("1.999", "2", "3"), ("0.3", "1", "0.5"), ("7", "10", "2.5"),
    ]),
    "PowerDeviate": (power_deviate, [
        ("0.5", "2", "3"), ("1e-9", "2", "3"), ("0.999999", "2", "3"), ("0.3", "1", "0.5"), ("0.05", "10", "2.5"),
    ]),
    "ParetoProbability": (pareto_probability, [
        ("2", "1", "3"), ("1.5", "1", "3"), ("100", "1", "3"), ("1e6", "2", "0.5"), ("12", "10", "2.5"),
    ]),
    "ParetoDeviate": (pareto_deviate, [
        ("0.5", "1", "3"), ("0.05", "1", "3"), ("0.999999", "1", "3"), ("0.9", "2", "0.5"), ("0.3", "10", "2.5"),
    ]),
    "LogisticProbability": (logistic_probability, [
        ("0", "0", "1"), ("1.5", "0", "1"), ("-1.5", "0", "1"), ("-40", "0", "1"), ("40", "0", "1"),
        ("7", "5", "0.5"), ("-100", "3", "2"),
    ]),
    "LogisticDeviate": (logistic_deviate, [
        ("0.3", "0", "1"), ("0.9", "0", "1"), ("1e-15", "0", "1"), ("0.999999", "0", "1"), ("0.75", "5", "0.5"),
        ("0.01", "3", "2"),
    ]),
    "LaplaceProbability": (laplace_probability, [
        ("-1", "0", "1"), ("-30", "0", "1"), ("1", "0", "1"), ("0", "0", "1"), ("4", "5", "0.5"), ("7.5", "5", "2"),
    ]),
    "LaplaceDeviate": (laplace_deviate, [
        ("0.1", "0", "1"), ("1e-20", "0", "1"), ("0.75", "0", "1"), ("0.999999", "0", "1"), ("0.3", "5", "0.5"),
        ("0.9", "5", "2"),
    ]),
    "GumbelProbability": (gumbel_probability, [
        ("0", "0", "1"), ("1", "0", "1"), ("-1", "0", "1"), ("-2.5", "0", "1"), ("5", "0", "1"), ("13", "10", "2"),
    ]),
    "GumbelDeviate": (gumbel_deviate, [
        ("0.5", "0", "1"), ("0.01", "0", "1"), ("0.1", "0", "1"), ("0.9", "0", "1"), ("0.3", "10", "2"),
        ("1e-12", "0", "1"),
    ]),
    "CauchyProbability": (cauchy_probability, [
        ("1", "0", "1"), ("0.3", "0", "1"), ("-0.3", "0", "1"), ("-1000", "0", "1"), ("1e6", "0", "1"), ("-3", "0", "1"),
        ("4", "3", "0.5"), ("-2", "3", "2"),
    ]),
    "CauchyDeviate": (cauchy_deviate, [
        ("0.75", "0", "1"), ("0.9", "0", "1"), ("0.1", "0", "1"), ("0.6", "3", "0.5"), ("0.3", "-2", "4"),
    ]),
    "NormalProbability": (normal_probability, [
        ("0", "0", "1"), ("1.5", "0", "1"), ("-1.5", "0", "1"), ("-10", "0", "1"), ("-30", "0", "1"), ("6", "0", "1"),
        ("103", "100", "2"), ("-4", "1", "3"),
    ]),
    "NormalDeviate": (normal_deviate, [
        ("0.975", "0", "1"), ("0.5", "3", "1"), ("0.1", "0", "1"), ("1e-10", "0", "1"), ("1e-100", "0", "1"),
        ("0.999999", "0", "1"), ("0.3", "100", "2"), ("0.8", "-1", "0.5"),
    ]),
    "LogNormalProbability": (lognormal_probability, [
        ("1", "0", "1"), ("2", "0", "1"), ("0.5", "0", "1"), ("1e-10", "0", "1"), ("100", "0", "1"), ("3", "1", "0.5"),
    ]),
    "LogNormalDeviate": (lognormal_deviate, [
        ("0.5", "0", "1"), ("0.975", "0", "1"), ("0.025", "0", "1"), ("1e-20", "0", "1"), ("0.999999", "1", "0.5"),
        ("0.3", "2", "0.25"),
    ]),
    "NormalDeviateApprox": (normal_deviate_approx, [
        ("0.025",), ("0.3",), ("1e-10",), ("0.975",), ("1e-6",),
    ]),
    "NormalWApprox": (normal_w_approx, [
        ("0.3", "2", "3"), ("0.9", "2", "3"), ("0.5", "4", "1.5"), ("0.05", "10", "20"),
    ]),
}

DIGITS = [10, 15, 30, 50, 100]


def main():
    lines = ["# digits\tfunction\targuments...\tvalue (mpmath, see scripts/reference/closed_forms.py)"]
    for digits in DIGITS:
        for name, (fn, cases) in CASES.items():
            for args in cases:
                xs = [at_precision(a, digits) for a in args]
                mp.dps = digits + 40
                ROUNDED["bits"] = bits(digits)
                value = fn(*xs)
                lines.append("\t".join([str(digits), name, *args, mp.nstr(value, digits + 15, strip_zeros=False)]))
    OUT.parent.mkdir(parents=True, exist_ok=True)
    OUT.write_text("\n".join(lines) + "\n")
    print(f"wrote {len(lines) - 1} cases to {OUT}")


if __name__ == "__main__":
    main()
