#!/usr/bin/python3
"""Reference outputs of the linear filter, by direct convolution in exact
rational arithmetic.

For each case the data, coefficients and initial values are decimal texts,
which the host reads at the test's precision: each becomes the nearest
binary number of talvo_float_precision_bits(digits) bits (ties to even),
taken here as an exact fraction.  Then, with x(-1) = I[0], x(-2) = I[1],
... (the first p - 1 initial values, zeros for the missing ones),
    y(t) = C[0] x(t) + C[1] x(t-1) + ... + C[p-1] x(t-p+1)
is summed exactly and rounded once to the same precision (ties to even), as
the library rounds it.  A recursive filter puts the rounded y(t) in place of
x(t) for the later outputs.  With ignore, the undefined data values are
dropped first (a case with undefined values and no ignore is not tabulated:
its outputs are undefined).

Writes tests/dataprep/data/linear_filter.tsv:
    digits <TAB> recursive <TAB> data <TAB> coefficients <TAB> initial <TAB> outputs
lists comma separated (an empty list is "-"), "U" for an undefined datum,
outputs as exact decimal expansions of the binary results.

Run:  /usr/bin/python3 scripts/reference/linear_filter.py
"""
import math
import pathlib
from decimal import Decimal, getcontext
from fractions import Fraction

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/dataprep/data/linear_filter.tsv"


def bits(digits):
    """talvo_float_precision_bits: digits * log2(10) rounded up, plus 4."""
    return math.floor(digits * math.log2(10)) + 1 + 4


def round_binary(q, prec):
    """q rounded to prec significant bits, ties to even (q a Fraction)."""
    if q == 0:
        return Fraction(0)
    sign = -1 if q < 0 else 1
    a = abs(q)
    e = a.numerator.bit_length() - a.denominator.bit_length()
    # 2^e <= a < 2^(e+1) after adjusting e.
    if Fraction(2) ** e > a:
        e -= 1
    while Fraction(2) ** (e + 1) <= a:
        e += 1
    scale = Fraction(2) ** (prec - 1 - e)
    m = a * scale
    f = math.floor(m)
    r = m - f
    if r > Fraction(1, 2) or (r == Fraction(1, 2) and f % 2 == 1):
        f += 1
    return sign * Fraction(f) / scale


def exact_decimal(q):
    """The finite decimal expansion of a dyadic fraction."""
    getcontext().prec = 2000
    d = Decimal(q.numerator) / Decimal(q.denominator)
    assert Fraction(d) == q
    return format(d.normalize(), "f") if d != 0 else "0"


def parse(text, prec):
    return round_binary(Fraction(Decimal(text)), prec)


def convolve(data, coef, init, recursive, prec):
    p = len(coef)
    head = [Fraction(0)] * (p - 1)
    for i, v in enumerate(init[: p - 1]):
        head[p - 2 - i] = v
    w = head + list(data)
    r = list(reversed(coef))
    out = []
    for t in range(len(data)):
        y = round_binary(sum(w[t + i] * r[i] for i in range(p)), prec)
        out.append(y)
        if recursive:
            w[p - 1 + t] = y
    return out


CASES = [
    # data, coefficients, initial values, recursive
    (["1", "2", "3", "4", "5", "6"], ["0.5", "0.5"], ["10"], False),
    (["1", "2", "3", "4", "5", "6"], ["0.5", "0.5"], [], False),
    (["1", "2", "3", "4", "5", "6"], ["0.5", "0.5"], [], True),
    (["0.1", "0.2", "0.3", "0.4", "0.5", "0.6", "0.7"], ["0.25", "0.5", "0.25"], ["0.7", "0.3", "9", "9"], False),
    (["0.1", "0.2", "0.3", "0.4", "0.5", "0.6", "0.7"], ["0.3", "-0.2", "0.7"], ["1.1"], True),
    (["3.14159", "2.71828", "1.41421", "1.73205"], ["0.1", "0.2", "0.3", "0.4"], ["1", "2", "3"], False),
    (["3.14159", "2.71828", "1.41421", "1.73205"], ["0.1", "0.2", "0.3", "0.4"], ["1", "2", "3"], True),
    (["1e10", "1", "-1e10", "1e-10", "7"], ["1", "1", "1"], [], False),
    (["123456.789", "-0.000123", "99.5", "0.333333333333333333333333333333", "-7.25"],
     ["0.333333333333333333333333333333", "0.666666666666666666666666666667"], ["0.1"], True),
    (["2", "U", "4", "U", "8"], ["1", "-1"], ["1"], False),
]


def main():
    lines = ["# digits\trecursive\tdata\tcoefficients\tinitial\toutputs; ignore is true where the data hold U;"
             " written by scripts/reference/linear_filter.py"]
    for digits in (15, 30, 50):
        prec = bits(digits)
        for data, coef, init, recursive in CASES:
            kept = [parse(v, prec) for v in data if v != "U"]
            out = convolve(kept, [parse(c, prec) for c in coef], [parse(v, prec) for v in init], recursive, prec)
            lines.append("\t".join([str(digits), "1" if recursive else "0", ",".join(data), ",".join(coef),
                                    ",".join(init) if init else "-", ",".join(exact_decimal(y) for y in out)]))
    OUT.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
