#!/usr/bin/python3
"""hs_qp.py -- the Hock-Schittkowski problems with a quadratic objective and
linear constraints (HS21, HS28, HS35, HS76, HS118), written as data for the
quadratic programming tests.

Reads the problem statements of the collection (problems.json of the shared
data, a copy of whose source note is tests/numerics/data/hock_schittkowski/
SOURCE.md), evaluates the objective and constraints in exact rational
arithmetic (fractions.Fraction; decimal constants exact as written) and
recovers the coefficients from values (a quadratic is fixed by its values
at 0, +-e_i and e_i + e_j).  Output, tests/numerics/data/hock_schittkowski/
qp.tsv, one block per problem:
  problem NAME n nclin
  H row i: n exact entries (the Hessian of the objective)
  c: n entries, then the constant term
  con k: n entries of the row, its lower and upper bound (inf: none)
  bounds: the lower then the upper bound of each variable
  fstar: the optimal value (exact fraction, or 25 digits)
Usage: /usr/bin/python3 scripts/reference/hs_qp.py PATH/problems.json
"""
import json
import math
import os
import sys
from fractions import Fraction
import re

NAMES = ["HS21", "HS28", "HS35", "HS76", "HS118"]
HERE = os.path.dirname(os.path.abspath(__file__))
OUT = os.path.join(HERE, "..", "..", "tests", "numerics", "data", "hock_schittkowski", "qp.tsv")


def compile_expr(text, n):
    # Decimal literals become exact fractions.
    t = re.sub(r"(\d+\.\d*|\d*\.\d+)", lambda m: 'Fraction("%s")' % m.group(1), text)
    t = t.replace("^", "**")
    return eval("lambda " + ",".join("x%d" % (i + 1) for i in range(n)) + ": " + t, {"Fraction": Fraction})


def quadratic(f, n):
    z = [Fraction(0)] * n

    def at(*pairs):
        x = list(z)
        for i, v in pairs:
            x[i] += v
        return Fraction(f(*x))

    f0 = at()
    c = [(at((i, 1)) - at((i, -1))) / 2 for i in range(n)]
    H = [[Fraction(0)] * n for _ in range(n)]
    for i in range(n):
        H[i][i] = at((i, 1)) + at((i, -1)) - 2 * f0
        for j in range(i + 1, n):
            H[i][j] = H[j][i] = at((i, 1), (j, 1)) - at((i, 1)) - at((j, 1)) + f0
    return H, c, f0


def fmt(v):
    if v is None:
        return "inf"
    v = Fraction(v)
    return str(v.numerator) if v.denominator == 1 else "%d/%d" % (v.numerator, v.denominator)


def main(path):
    probs = {p["id"]: p for p in json.load(open(path))["problems"]}
    with open(OUT, "w") as out:
        out.write("# Hock-Schittkowski QPs with linear constraints: written by scripts/reference/hs_qp.py\n")
        for name in NAMES:
            p = probs[name]
            n = p["n"]
            H, c, f0 = quadratic(compile_expr(p["objective"], n), n)
            out.write("problem\t%s\t%d\t%d\n" % (name, n, len(p["constraints"])))
            for i in range(n):
                out.write("H\t" + "\t".join(fmt(v) for v in H[i]) + "\n")
            out.write("c\t" + "\t".join(fmt(v) for v in c) + "\t" + fmt(f0) + "\n")
            for con in p["constraints"]:
                g = compile_expr(con["expr"], n)
                Hg, a, g0 = quadratic(g, n)
                assert all(v == 0 for row in Hg for v in row), name
                # a'x + g0 >= 0 (or = 0)
                lo = -g0
                hi = -g0 if con["type"] == "eq" else None
                out.write("con\t" + "\t".join(fmt(v) for v in a) + "\t" + fmt(lo) + "\t" + fmt(hi) + "\n")
            lows = [fmt(Fraction(str(v))) if v is not None else "inf" for v in p["lower"]]
            ups = [fmt(Fraction(str(v))) if v is not None else "inf" for v in p["upper"]]
            out.write("bounds\t" + "\t".join(lows + ups) + "\n")
            out.write("fstar\t%s\n" % (p.get("fstar_exact") or p["fstar"]))


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "problems.json")
