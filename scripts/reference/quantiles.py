#!/usr/bin/python3
"""Reference quantiles of small data sets, computed exactly with fractions.

Writes tests/descriptive/data/quantiles.tsv, tab-separated:
    data     NAME  v1,v2,...            (decimal values)
    weights  NAME  w1,w2,...            (decimal weights of the same set)
    q        NAME  TYPE  WEIGHTED  P  VALUE
VALUE is the exact quantile of the decimal data rounded to 60 significant
digits.

The unweighted values are computed from the definitions of Hyndman and Fan
("Sample quantiles in statistical packages", The American Statistician 50,
1996), not from the library's (a, b, c, d) table.  With x(1) <= ... <= x(n)
the sorted data, x(0) = x(1) and x(n+1) = x(n):

  HF 1   j = floor(np), g = np - j:  x(j) if g = 0, else x(j+1)
  HF 4-9 j = floor(np + m), g = np + m - j:  (1 - g) x(j) + g x(j+1), with
         m = 0 (HF 4), 1/2 (HF 5), p (HF 6), 1 - p (HF 7), (p + 1)/3 (HF 8),
         p/4 + 3/8 (HF 9).

The library's rules map onto them so:

  type 1 = HF 1 (inverse of the empirical distribution function)
  type 2 = the order statistic nearest to np + 1/2 rounded down, that is
           x(floor(np + 1/2)): the nearest order statistic with halves going
           up.  HF 3 is the same except that at a half (np - 1/2 an integer)
           it takes the even order statistic; type 2 is none of the nine.
  type 3 = HF 4 (linear interpolation of the empirical distribution)
  type 4 = HF 5 (piecewise linear through the midpoints of the steps)
  type 5 = HF 6 (p(k) = E[F(x(k))], the Weibull plotting positions)
  type 6 = HF 7 (p(k) = mode of F(x(k)))
  type 7 = HF 8 (approximately median-unbiased)
  type 8 = HF 9 (approximately unbiased for normal data)

The weighted values follow the library's own weighted rule (there is no
published one to take): W = sum of the weights, the data sorted with their
weights, h = a + (W + b) p, j = the index before the first one whose
running weight sum exceeds h (0 if that is the first, n - 1 if none does),
and x[j] + (x[j+1] - x[j]) (c + d frac(h)), always interpolated.

Types 1 and 2 jump where their position is a whole number, and the weighted
rule jumps where h meets a running sum.  The library holds p (and 1/3) in
binary, so exactly at a jump it may land on either side; such cases are
left out unless p is a binary fraction (the test data weights are whole
numbers, so their sums are exact).  Where equal values carry different
weights, the weighted result can depend on the order in which the sort
leaves them; such cases are left out too.

Run with:  /usr/bin/python3 scripts/reference/quantiles.py
"""
import math
import pathlib
import random
from decimal import Decimal, getcontext
from fractions import Fraction as Fr

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/descriptive/data/quantiles.tsv"

PROBS = ["0", "0.01", "0.1", "0.125", "0.25", "0.3", "0.5", "0.7", "0.75", "0.9", "0.99", "1"]

# The library's (a, b, c, d) table, used only by the weighted rule.
ABCD = {
    1: (Fr(0), Fr(0), Fr(1), Fr(0)),
    2: (Fr(1, 2), Fr(0), Fr(0), Fr(0)),
    3: (Fr(0), Fr(0), Fr(0), Fr(1)),
    4: (Fr(1, 2), Fr(0), Fr(0), Fr(1)),
    5: (Fr(0), Fr(1), Fr(0), Fr(1)),
    6: (Fr(1), Fr(-1), Fr(0), Fr(1)),
    7: (Fr(1, 3), Fr(1, 3), Fr(0), Fr(1)),
    8: (Fr(3, 8), Fr(1, 4), Fr(0), Fr(1)),
}

HF_M = {
    3: lambda p: Fr(0),
    4: lambda p: Fr(1, 2),
    5: lambda p: p,
    6: lambda p: 1 - p,
    7: lambda p: (p + 1) / 3,
    8: lambda p: p / 4 + Fr(3, 8),
}


def dyadic(p):
    d = p.denominator
    return d & (d - 1) == 0


def order(x, k):
    """x(k), 1-based, with x(0) = x(1) and x(n+1) = x(n)."""
    return x[min(max(k, 1), len(x)) - 1]


def unweighted(x, p, t):
    """(value, position) of the type t quantile, position for the jump test."""
    n = len(x)
    if t == 1:
        j = math.floor(n * p)
        g = n * p - j
        return (order(x, j) if g == 0 else order(x, j + 1)), n * p
    if t == 2:
        h = n * p + Fr(1, 2)
        return order(x, math.floor(h)), h
    m = HF_M[t](p)
    j = math.floor(n * p + m)
    g = n * p + m - j
    return (1 - g) * order(x, j) + g * order(x, j + 1), None


def weighted(x, w, p, t, reverse_ties=False):
    a, b, c, d = ABCD[t]
    pairs = list(zip(x, w))
    if reverse_ties:
        pairs.reverse()
    pairs = sorted(pairs, key=lambda e: e[0])
    xs = [e[0] for e in pairs]
    ws = [e[1] for e in pairs]
    W = sum(ws)
    h = a + (W + b) * p
    n = len(xs)
    j = n - 1
    s = Fr(0)
    sums = []
    for i in range(n):
        s += ws[i]
        sums.append(s)
        if s > h:
            j = i - 1 if i > 0 else 0
            break
    lower = xs[j]
    upper = xs[j + 1] if j < n - 1 else xs[j]
    f = h - math.floor(h)
    # jumps: h equal to a running sum, or a whole number (frac(h) restarts)
    running = [sum(ws[: i + 1]) for i in range(n)]
    at_jump = h in running or h.denominator == 1
    return lower + (upper - lower) * (c + d * f), at_jump


def text(v):
    getcontext().prec = 60
    if v == 0:
        return "0"
    return format(Decimal(v.numerator) / Decimal(v.denominator), ".59e")


def main():
    rng = random.Random(20261123)
    sets = []
    for name, n in [("one", 1), ("two", 2), ("five", 5), ("eleven", 11), ("seventeen", 17), ("forty", 40)]:
        vals = [Decimal(rng.randint(-5000, 5000)) / 100 for _ in range(n)]
        if n >= 11:  # ties
            vals[3] = vals[7]
        wts = [Decimal(rng.choice([0, 1, 1, 2, 3, 5])) for _ in range(n)]
        if sum(wts) == 0:
            wts[0] = Decimal(1)
        sets.append((name, vals, wts))
    lines = ["# Reference quantiles: scripts/reference/quantiles.py (exact, fractions)"]
    for name, vals, wts in sets:
        lines.append("data\t%s\t%s" % (name, ",".join(str(v) for v in vals)))
        lines.append("weights\t%s\t%s" % (name, ",".join(str(w) for w in wts)))
        x = sorted(Fr(v) for v in vals)
        for t in range(1, 9):
            for ptext in PROBS:
                p = Fr(ptext)
                value, pos = unweighted(x, p, t)
                if pos is not None and pos.denominator == 1 and not dyadic(p):
                    continue
                lines.append("q\t%s\t%d\t0\t%s\t%s" % (name, t, ptext, text(value)))
                wv, jump = weighted([Fr(v) for v in vals], [Fr(w) for w in wts], p, t)
                if jump and not dyadic(p):
                    continue
                # Equal values: the result may depend on the order their
                # weights are summed in, which the sort decides.
                if weighted([Fr(v) for v in vals], [Fr(w) for w in wts], p, t, True)[0] != wv:
                    continue
                if t == 7 and jump:  # 1/3 is not binary either
                    continue
                lines.append("q\t%s\t%d\t1\t%s\t%s" % (name, t, ptext, text(wv)))
    OUT.parent.mkdir(parents=True, exist_ok=True)
    OUT.write_text("\n".join(lines) + "\n")
    print("wrote", OUT, len(lines), "lines")


if __name__ == "__main__":
    main()
