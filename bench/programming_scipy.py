#!/usr/bin/python3
"""programming_scipy.py -- the peer of bench_programming: SciPy's
linprog(method="highs") in double precision on the Netlib LPs of
tests/numerics/data/netlib/.  One line per problem:
  name iterations optimum x_1 ... x_n
(the MPS conventions of tests/numerics/mps_reader.hpp; a row with two finite
bounds becomes two inequality rows, an equality an equality row).
Usage: /usr/bin/python3 bench/programming_scipy.py DATA_DIR name...
"""
import os
import sys

import numpy as np
from scipy.optimize import linprog


def read_mps(path):
    rows, rtype, objective = {}, [], None
    cols, names = {}, []
    cost, rhs, rng, lo, up = {}, {}, {}, {}, {}
    section = None
    for line in open(path):
        line = line.rstrip("\r\n")
        if not line or line[0] == "*":
            continue
        if line[0] != " ":
            section = line.split()[0]
            continue
        t = line.split()
        if section == "ROWS":
            if t[0] == "N":
                objective = objective or t[1]
                continue
            rows[t[1]] = len(rtype)
            rtype.append(t[0])
        elif section == "COLUMNS":
            if t[0] not in cols:
                cols[t[0]] = {}
                names.append(t[0])
                lo[t[0]], up[t[0]] = 0.0, None
            for k in range(1, len(t) - 1, 2):
                if t[k] == objective:
                    cost[t[0]] = float(t[k + 1])
                elif t[k] in rows:
                    cols[t[0]][rows[t[k]]] = float(t[k + 1])
        elif section in ("RHS", "RANGES"):
            start = 1 if len(t) % 2 == 1 else 0
            for k in range(start, len(t) - 1, 2):
                if t[k] in rows:
                    (rhs if section == "RHS" else rng)[rows[t[k]]] = float(t[k + 1])
        elif section == "BOUNDS":
            name = t[2] if len(t) >= 4 else t[1]
            v = float(t[3]) if len(t) >= 4 else 0.0
            if t[0] == "UP":
                up[name] = v
                if v < 0 and lo[name] == 0:
                    lo[name] = None
            elif t[0] == "LO":
                lo[name] = v
            elif t[0] == "FX":
                lo[name] = up[name] = v
            elif t[0] == "FR":
                lo[name] = up[name] = None
            elif t[0] == "MI":
                lo[name] = None
            elif t[0] == "PL":
                up[name] = None
    m, n = len(rtype), len(names)
    A = np.zeros((m, n))
    for j, name in enumerate(names):
        for i, v in cols[name].items():
            A[i, j] = v
    c = np.array([cost.get(nm, 0.0) for nm in names])
    aub, bub, aeq, beq = [], [], [], []
    for i, typ in enumerate(rtype):
        r = rhs.get(i, 0.0)
        l = u = None
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
        else:
            l = r
            if i in rng:
                u = r + abs(rng[i])
        if l is not None and u is not None and l == u:
            aeq.append(A[i])
            beq.append(l)
            continue
        if u is not None:
            aub.append(A[i])
            bub.append(u)
        if l is not None:
            aub.append(-A[i])
            bub.append(-l)
    bounds = [(lo[nm], up[nm]) for nm in names]
    return c, (np.array(aub) if aub else None), (np.array(bub) if bub else None), \
        (np.array(aeq) if aeq else None), (np.array(beq) if beq else None), bounds


def main():
    data = sys.argv[1]
    for name in sys.argv[2:]:
        c, aub, bub, aeq, beq, bounds = read_mps(os.path.join(data, name + ".mps"))
        r = linprog(c, A_ub=aub, b_ub=bub, A_eq=aeq, b_eq=beq, bounds=bounds, method="highs")
        print(name, r.nit, repr(r.fun), " ".join(repr(v) for v in r.x), flush=True)


if __name__ == "__main__":
    main()
