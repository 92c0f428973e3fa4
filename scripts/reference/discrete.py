#!/usr/bin/python3
"""Reference values of the discrete distribution functions, from mpmath.

Writes tests/distributions/data/discrete.tsv: one line per case,
    digits <TAB> function <TAB> argument... <TAB> value
The real arguments are rounded to the test's binary precision
(floor(digits * log2(10)) + 5 bits) as the host would read them; integer
arguments are exact.  Values are exact sums of the point probabilities
(the binomial, Poisson, hypergeometric and geometric laws) or the
regularized incomplete beta function (negative binomial), computed at
digits + 40 and written to digits + 15 significant digits.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/discrete.py
"""
import math
import pathlib

from mpmath import mp, mpf

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/distributions/data/discrete.tsv"


def bits(digits):
    return math.floor(digits * math.log2(10)) + 1 + 4


def rounded(text, digits):
    with mp.workprec(bits(digits)):
        return +mpf(text)


def binomial(x, n, p):
    k = math.floor(x)
    return mp.fsum(mp.binomial(n, j) * p**j * (1 - p) ** (n - j) for j in range(k + 1))


def poisson(x, mu):
    k = int(x)  # truncation toward zero
    return mp.fsum(mp.exp(-mu) * mu**j / mp.factorial(j) for j in range(k + 1))


def negative_binomial(x, n, p):
    return mp.betainc(n, math.floor(x) + 1, 0, p, regularized=True)


def hypergeometric(x, i1, i2, i3):
    if x < 0:
        return mpf(0)
    if x > i2 or x > i3:
        return mpf(1)
    k = math.floor(x)
    total = mp.binomial(i1, i2)
    lo = max(0, i2 + i3 - i1)
    return mp.fsum(mp.binomial(i3, j) * mp.binomial(i1 - i3, i2 - j) for j in range(lo, k + 1)) / total


def geometric(x, p):
    return 1 - (1 - p) ** (math.floor(x) + 1)


CASES = [
    # function, arguments (decimal text), which arguments are reals, formula
    ("BinomialProbability", ["3", "10", "0.3"], binomial),
    ("BinomialProbability", ["0", "10", "0.3"], binomial),
    ("BinomialProbability", ["9.5", "10", "0.3"], binomial),
    ("BinomialProbability", ["5", "20", "0.9"], binomial),
    ("BinomialProbability", ["50", "100", "0.5"], binomial),
    ("BinomialProbability", ["1", "100", "0.05"], binomial),
    ("BinomialProbability", ["12", "100", "0.05"], binomial),
    ("BinomialProbability", ["480", "1000", "0.5"], binomial),
    ("BinomialProbability", ["560", "1000", "0.5"], binomial),
    ("PoissonProbability", ["0", "0.3"], poisson),
    ("PoissonProbability", ["3", "2.5"], poisson),
    ("PoissonProbability", ["2.9", "2.5"], poisson),
    ("PoissonProbability", ["7", "7.5"], poisson),
    ("PoissonProbability", ["20", "7.5"], poisson),
    ("PoissonProbability", ["1", "7.5"], poisson),
    ("PoissonProbability", ["90", "100"], poisson),
    ("PoissonProbability", ["130", "100"], poisson),
    ("NegativeBinomialProbability", ["0", "3", "0.4"], negative_binomial),
    ("NegativeBinomialProbability", ["4", "3", "0.4"], negative_binomial),
    ("NegativeBinomialProbability", ["2.7", "5", "0.6"], negative_binomial),
    ("NegativeBinomialProbability", ["10", "2.5", "0.3"], negative_binomial),
    ("NegativeBinomialProbability", ["40", "2.5", "0.3"], negative_binomial),
    ("HypergeometricProbability", ["0", "20", "5", "8"], hypergeometric),
    ("HypergeometricProbability", ["2", "20", "5", "8"], hypergeometric),
    ("HypergeometricProbability", ["3.5", "20", "5", "8"], hypergeometric),
    ("HypergeometricProbability", ["4", "50", "10", "25"], hypergeometric),
    ("HypergeometricProbability", ["12", "100", "30", "40"], hypergeometric),
    ("HypergeometricProbability", ["5", "100", "30", "40"], hypergeometric),
    ("GeometricProbability", ["0", "0.2"], geometric),
    ("GeometricProbability", ["3", "0.2"], geometric),
    ("GeometricProbability", ["10.5", "0.05"], geometric),
    ("GeometricProbability", ["200", "0.01"], geometric),
]


def main():
    lines = ["# digits\tfunction\targuments...\tvalue (mpmath, see scripts/reference/discrete.py)"]
    for digits in (15, 30, 50):
        for name, args, fn in CASES:
            with mp.workdps(digits + 40):
                # Integers pass exactly; x and the real parameters are rounded.
                vals = []
                for i, a in enumerate(args):
                    integer_param = (name == "BinomialProbability" and i == 1) or ("Hypergeometric" in name and i > 0)
                    if integer_param:
                        vals.append(int(a))
                    elif i == 0:
                        vals.append(float(rounded(a, digits)))
                    else:
                        vals.append(rounded(a, digits))
                v = fn(*vals)
                lines.append("\t".join([str(digits), name] + args + [mp.nstr(v, digits + 15, min_fixed=-5, max_fixed=5)]))
    OUT.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
