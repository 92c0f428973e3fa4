#!/usr/bin/python3
"""lp_exact.py -- exact optima of Netlib LPs by a rational simplex method.

Reads the fixed-format MPS files of tests/numerics/data/netlib/ (the same
conventions as tests/numerics/mps_reader.hpp: the first N row is the
objective, an RHS entry on it is minus a constant term, RANGES on an E row
with R > 0 give [rhs, rhs + |R|], with R < 0 [rhs - |R|, rhs], an UP bound
below 0 with no lower bound makes the lower bound -infinity), turns each
problem into the standard form  min c'y, A y = b, y >= 0  with every number
an exact fraction (decimal text read by fractions.Fraction), and solves it
by the two-phase tableau simplex method in rational arithmetic: Dantzig's
rule (largest reduced cost), and Bland's least-index rule while pivots are
degenerate, so it cannot cycle.  The optimum is exact; it is written to
tests/numerics/data/netlib/lp_exact.csv as a fraction and to 40 digits.

Usage: /usr/bin/python3 scripts/reference/lp_exact.py [names...]
"""

import os
import sys
from fractions import Fraction

HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "tests", "numerics", "data", "netlib")
INF = None  # an infinite bound


def read_mps(path):
    rows, rtype, objective = {}, [], None
    cols, colnames = {}, []
    cost, rhs, rng = {}, {}, {}
    lo, up = {}, {}
    constant = Fraction(0)
    section = None
    with open(path) as f:
        for line in f:
            line = line.rstrip("\r\n")
            if not line or line[0] == "*":
                continue
            if line[0] != " ":
                section = line.split()[0]
                continue
            t = line.split()
            if section == "ROWS":
                if t[0] == "N":
                    if objective is None:
                        objective = t[1]
                    continue
                rows[t[1]] = len(rtype)
                rtype.append(t[0])
            elif section == "COLUMNS":
                name = t[0]
                if name not in cols:
                    cols[name] = {}
                    colnames.append(name)
                    lo[name], up[name] = Fraction(0), INF
                for k in range(1, len(t) - 1, 2):
                    v = Fraction(t[k + 1])
                    if t[k] == objective:
                        cost[name] = v
                    elif t[k] in rows:
                        cols[name][rows[t[k]]] = v
            elif section in ("RHS", "RANGES"):
                start = 1 if len(t) % 2 == 1 else 0
                for k in range(start, len(t) - 1, 2):
                    v = Fraction(t[k + 1])
                    if t[k] == objective:
                        if section == "RHS":
                            constant = -v
                    elif t[k] in rows:
                        (rhs if section == "RHS" else rng)[rows[t[k]]] = v
            elif section == "BOUNDS":
                typ = t[0]
                name = t[2] if len(t) >= 4 else t[1]
                v = Fraction(t[3]) if len(t) >= 4 else Fraction(0)
                if typ == "UP":
                    up[name] = v
                    if v < 0 and lo[name] == 0:
                        lo[name] = INF
                elif typ == "LO":
                    lo[name] = v
                elif typ == "FX":
                    lo[name] = up[name] = v
                elif typ == "FR":
                    lo[name] = up[name] = INF
                elif typ == "MI":
                    lo[name] = INF
                elif typ == "PL":
                    up[name] = INF
    # Row bounds.
    rlo, rup = [], []
    for i, typ in enumerate(rtype):
        r = rhs.get(i, Fraction(0))
        l = u = INF
        if typ == "E":
            l = u = r
            if i in rng:
                if rng[i] > 0:
                    u = r + abs(rng[i])
                else:
                    l = r - abs(rng[i])
        elif typ == "L":
            u = r
            if i in rng:
                l = r - abs(rng[i])
        elif typ == "G":
            l = r
            if i in rng:
                u = r + abs(rng[i])
        rlo.append(l)
        rup.append(u)
    return colnames, cols, cost, lo, up, rlo, rup, constant, len(rtype)


def standard_form(p):
    """min c'y, A y = b, y >= 0 (rows as dicts), and the objective shift."""
    colnames, cols, cost, lo, up, rlo, rup, constant, m = p
    A = [dict() for _ in range(m)]
    b = [Fraction(0)] * m
    c = []
    shift = constant
    extra = []  # rows y_k <= ub

    def newvar(cj):
        c.append(cj)
        return len(c) - 1

    for name in colnames:
        cj = cost.get(name, Fraction(0))
        col = cols[name]
        l, u = lo[name], up[name]
        if l is not INF:
            # x = l + y
            k = newvar(cj)
            shift += cj * l
            for i, v in col.items():
                A[i][k] = A[i].get(k, 0) + v
                b[i] -= v * l
            if u is not INF:
                extra.append((k, u - l))
        elif u is not INF:
            # x = u - y
            k = newvar(-cj)
            shift += cj * u
            for i, v in col.items():
                A[i][k] = A[i].get(k, 0) - v
                b[i] -= v * u
        else:
            kp, km = newvar(cj), newvar(-cj)
            for i, v in col.items():
                A[i][kp] = A[i].get(kp, 0) + v
                A[i][km] = A[i].get(km, 0) - v
    rows, rb = [], []
    for i in range(m):
        l, u = rlo[i], rup[i]
        if l is not INF and u is not INF and l == u:
            rows.append(dict(A[i]))
            rb.append(l + b[i])  # a'x = A y - b[i]
        else:
            if l is not INF:
                s = newvar(Fraction(0))
                r = dict(A[i])
                r[s] = Fraction(-1)
                rows.append(r)
                rb.append(l + b[i])
                if u is not INF:
                    extra.append((s, u - l))
            elif u is not INF:
                s = newvar(Fraction(0))
                r = dict(A[i])
                r[s] = Fraction(1)
                rows.append(r)
                rb.append(u + b[i])
    for k, ub in extra:
        s = newvar(Fraction(0))
        rows.append({k: Fraction(1), s: Fraction(1)})
        rb.append(ub)
    return rows, rb, c, shift


def simplex(rows, rb, c):
    """Two-phase tableau simplex in fractions; returns the optimal value."""
    m, n = len(rows), len(c)
    # b >= 0
    T = []
    for i in range(m):
        r = {k: v for k, v in rows[i].items() if v != 0}
        bi = rb[i]
        if bi < 0:
            r = {k: -v for k, v in r.items()}
            bi = -bi
        r[n + i] = Fraction(1)  # artificial
        T.append([r, bi])
    basis = [n + i for i in range(m)]
    ntot = n + m

    def run(cost, allowed):
        # reduced costs d = cost - cost_B B^-1 A, objective z
        d = dict((k, v) for k, v in cost.items() if v != 0)
        z = Fraction(0)
        for i in range(m):
            cb = cost.get(basis[i], 0)
            if cb:
                for k, v in T[i][0].items():
                    d[k] = d.get(k, 0) - cb * v
                z -= cb * T[i][1]
        degenerate = 0
        while True:
            bland = degenerate > 10
            enter = None
            best = 0
            for k, v in d.items():
                if v < 0 and allowed(k):
                    if bland:
                        if enter is None or k < enter:
                            enter = k
                    elif v < best:
                        best, enter = v, k
            if enter is None:
                return -z
            leave, ratio = None, None
            for i in range(m):
                a = T[i][0].get(enter, 0)
                if a > 0:
                    q = T[i][1] / a
                    if ratio is None or q < ratio or (q == ratio and basis[i] < basis[leave]):
                        ratio, leave = q, i
            if leave is None:
                raise RuntimeError("unbounded")
            degenerate = degenerate + 1 if ratio == 0 else 0
            pr, pb = T[leave]
            a = pr[enter]
            pr = {k: v / a for k, v in pr.items()}
            pb = pb / a
            T[leave] = [pr, pb]
            for i in range(m):
                if i == leave:
                    continue
                f = T[i][0].get(enter, 0)
                if f:
                    r = T[i][0]
                    for k, v in pr.items():
                        nv = r.get(k, 0) - f * v
                        if nv:
                            r[k] = nv
                        else:
                            r.pop(k, None)
                    T[i][1] -= f * pb
            f = d.get(enter, 0)
            if f:
                for k, v in pr.items():
                    nv = d.get(k, 0) - f * v
                    if nv:
                        d[k] = nv
                    else:
                        d.pop(k, None)
                z -= f * pb
            basis[leave] = enter

    phase1 = {n + i: Fraction(1) for i in range(m)}
    w = run(phase1, lambda k: True)
    if w != 0:
        raise RuntimeError("infeasible")
    # Drive artificials out of the basis where possible, then phase 2 with
    # artificials barred from entering.
    for i in range(m):
        if basis[i] >= n:
            for k, v in T[i][0].items():
                if k < n and v != 0:
                    pr = {kk: vv / v for kk, vv in T[i][0].items()}
                    T[i] = [pr, T[i][1] / v]
                    for j in range(m):
                        if j != i:
                            f = T[j][0].get(k, 0)
                            if f:
                                r = T[j][0]
                                for kk, vv in pr.items():
                                    nv = r.get(kk, 0) - f * vv
                                    if nv:
                                        r[kk] = nv
                                    else:
                                        r.pop(kk, None)
                                T[j][1] -= f * T[i][1]
                    basis[i] = k
                    break
    cost = {k: v for k, v in enumerate(c) if v != 0}
    return run(cost, lambda k: k < n)


def digits(fr, nd=40):
    from decimal import Decimal, getcontext
    getcontext().prec = nd
    return str(Decimal(fr.numerator) / Decimal(fr.denominator))


def main(names):
    out = []
    for name in names:
        p = read_mps(os.path.join(DATA, name + ".mps"))
        rows, rb, c, shift = standard_form(p)
        opt = simplex(rows, rb, c) + shift
        # The collection's optima exclude the objective constant.
        opt -= p[7]
        out.append((name, opt))
        print(name, digits(opt, 30), flush=True)
    with open(os.path.join(DATA, "lp_exact.csv"), "w") as f:
        f.write("# Exact optima by scripts/reference/lp_exact.py (rational two-phase simplex)\n")
        f.write("name,optimum_40digits,optimum_exact_rational\n")
        for name, opt in out:
            f.write("%s,%s,%s\n" % (name, digits(opt), opt))


if __name__ == "__main__":
    main(sys.argv[1:] or ["afiro", "sc50a", "sc50b", "sc105", "kb2", "blend", "adlittle", "recipe", "share2b"])
