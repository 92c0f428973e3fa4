#!/usr/bin/python3
"""Reference values of the closed-form distributions, from mpmath.

Writes tests/distributions/data/closed_forms.tsv: one line per case,
    digits <TAB> function <TAB> argument... <TAB> value
with every argument as the decimal text the test passes (it is read at the
test's precision, as a host would) and the value to digits + 15 significant
digits, computed at digits + 40 from the arguments rounded to the binary
precision the test uses (ceil(digits * log2(10)) + 4 bits), so that the
reference is the exact function of the test's actual inputs.

The formulas are evaluated by the library in a fixed order (1 - exp(-t),
-ln(1 - p)), which cancels for tiny t and tiny p; the cases stay where that
order keeps every digit (the tests say what happens below).

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
}

DIGITS = [10, 15, 30, 50, 100]


def main():
    lines = ["# digits\tfunction\targuments...\tvalue (mpmath, see scripts/reference/closed_forms.py)"]
    for digits in DIGITS:
        for name, (fn, cases) in CASES.items():
            for args in cases:
                xs = [at_precision(a, digits) for a in args]
                mp.dps = digits + 40
                value = fn(*xs)
                lines.append("\t".join([str(digits), name, *args, mp.nstr(value, digits + 15, strip_zeros=False)]))
    OUT.parent.mkdir(parents=True, exist_ok=True)
    OUT.write_text("\n".join(lines) + "\n")
    print(f"wrote {len(lines) - 1} cases to {OUT}")


if __name__ == "__main__":
    main()
