#!/usr/bin/python3
"""SciPy's SLSQP on the Hock-Schittkowski problems of bench_sqp.cpp (the
definitions of tests/numerics/hs_problems.hpp, restated), in double
precision, with exact gradients and Jacobians.  Prints one line per
problem: id, major iterations (nit), function evaluations (nfev), gradient
evaluations (njev), the final value, the exit status, and the largest
violation of a bound or constraint at the final point.
Usage: sqp_scipy.py [ftol, default 1e-6 (SciPy's own default)]
"""
import math
import sys
import numpy as np
from scipy.optimize import minimize, Bounds

INF = np.inf
FTOL = float(sys.argv[1]) if len(sys.argv) > 1 else 1e-6


def problem(id, f, g, x0, lb=None, ub=None, cons=()):
    return dict(id=id, f=f, g=g, x0=np.array(x0, float), lb=lb, ub=ub, cons=cons)


def eq(c, j):
    return {"type": "eq", "fun": c, "jac": j}


def ineq(c, j):
    return {"type": "ineq", "fun": c, "jac": j}


P = []
P.append(problem("HS6", lambda x: (1 - x[0]) ** 2, lambda x: np.array([-2 * (1 - x[0]), 0.0]), [-1.2, 1],
                 cons=[eq(lambda x: 10 * (x[1] - x[0] ** 2), lambda x: np.array([-20 * x[0], 10.0]))]))
P.append(problem("HS7", lambda x: math.log(1 + x[0] ** 2) - x[1],
                 lambda x: np.array([2 * x[0] / (1 + x[0] ** 2), -1.0]), [2, 2],
                 cons=[eq(lambda x: (1 + x[0] ** 2) ** 2 + x[1] ** 2 - 4,
                          lambda x: np.array([4 * (1 + x[0] ** 2) * x[0], 2 * x[1]]))]))
P.append(problem("HS28", lambda x: (x[0] + x[1]) ** 2 + (x[1] + x[2]) ** 2,
                 lambda x: np.array([2 * (x[0] + x[1]), 2 * (x[0] + x[1]) + 2 * (x[1] + x[2]), 2 * (x[1] + x[2])]),
                 [-4, 1, 1], cons=[eq(lambda x: x[0] + 2 * x[1] + 3 * x[2] - 1, lambda x: np.array([1.0, 2, 3]))]))
P.append(problem("HS39", lambda x: -x[0], lambda x: np.array([-1.0, 0, 0, 0]), [2, 2, 2, 2],
                 cons=[eq(lambda x: x[1] - x[0] ** 3 - x[2] ** 2, lambda x: np.array([-3 * x[0] ** 2, 1, -2 * x[2], 0])),
                       eq(lambda x: x[0] ** 2 - x[1] - x[3] ** 2, lambda x: np.array([2 * x[0], -1, 0, -2 * x[3]]))]))
P.append(problem("HS4", lambda x: (x[0] + 1) ** 3 / 3 + x[1], lambda x: np.array([(x[0] + 1) ** 2, 1.0]),
                 [1.125, 0.125], lb=[1, 0], ub=[INF, INF]))
P.append(problem("HS5", lambda x: math.sin(x[0] + x[1]) + (x[0] - x[1]) ** 2 - 1.5 * x[0] + 2.5 * x[1] + 1,
                 lambda x: np.array([math.cos(x[0] + x[1]) + 2 * (x[0] - x[1]) - 1.5,
                                     math.cos(x[0] + x[1]) - 2 * (x[0] - x[1]) + 2.5]),
                 [0, 0], lb=[-1.5, -3], ub=[4, 3]))
P.append(problem("HS10", lambda x: x[0] - x[1], lambda x: np.array([1.0, -1.0]), [-10, 10],
                 cons=[ineq(lambda x: -3 * x[0] ** 2 + 2 * x[0] * x[1] - x[1] ** 2 + 1,
                            lambda x: np.array([-6 * x[0] + 2 * x[1], 2 * x[0] - 2 * x[1]]))]))
P.append(problem("HS15", lambda x: 100 * (x[1] - x[0] ** 2) ** 2 + (1 - x[0]) ** 2,
                 lambda x: np.array([-400 * x[0] * (x[1] - x[0] ** 2) - 2 * (1 - x[0]), 200 * (x[1] - x[0] ** 2)]),
                 [-2, 1], lb=[-INF, -INF], ub=[0.5, INF],
                 cons=[ineq(lambda x: x[0] * x[1] - 1, lambda x: np.array([x[1], x[0]])),
                       ineq(lambda x: x[0] + x[1] ** 2, lambda x: np.array([1.0, 2 * x[1]]))]))
P.append(problem("HS21", lambda x: 0.01 * x[0] ** 2 + x[1] ** 2 - 100, lambda x: np.array([0.02 * x[0], 2 * x[1]]),
                 [-1, -1], lb=[2, -50], ub=[50, 50],
                 cons=[ineq(lambda x: 10 * x[0] - x[1] - 10, lambda x: np.array([10.0, -1.0]))]))
P.append(problem("HS35", lambda x: 9 - 8 * x[0] - 6 * x[1] - 4 * x[2] + 2 * x[0] ** 2 + 2 * x[1] ** 2 + x[2] ** 2
                 + 2 * x[0] * x[1] + 2 * x[0] * x[2],
                 lambda x: np.array([-8 + 4 * x[0] + 2 * x[1] + 2 * x[2], -6 + 4 * x[1] + 2 * x[0],
                                     -4 + 2 * x[2] + 2 * x[0]]),
                 [0.5, 0.5, 0.5], lb=[0, 0, 0], ub=[INF, INF, INF],
                 cons=[ineq(lambda x: 3 - x[0] - x[1] - 2 * x[2], lambda x: np.array([-1.0, -1, -2]))]))
P.append(problem("HS43", lambda x: x[0] ** 2 + x[1] ** 2 + 2 * x[2] ** 2 + x[3] ** 2 - 5 * x[0] - 5 * x[1]
                 - 21 * x[2] + 7 * x[3],
                 lambda x: np.array([2 * x[0] - 5, 2 * x[1] - 5, 4 * x[2] - 21, 2 * x[3] + 7]), [0, 0, 0, 0],
                 cons=[ineq(lambda x: 8 - x[0] ** 2 - x[1] ** 2 - x[2] ** 2 - x[3] ** 2 - x[0] + x[1] - x[2] + x[3],
                            lambda x: np.array([-2 * x[0] - 1, -2 * x[1] + 1, -2 * x[2] - 1, -2 * x[3] + 1])),
                       ineq(lambda x: 10 - x[0] ** 2 - 2 * x[1] ** 2 - x[2] ** 2 - 2 * x[3] ** 2 + x[0] + x[3],
                            lambda x: np.array([-2 * x[0] + 1, -4 * x[1], -2 * x[2], -4 * x[3] + 1])),
                       ineq(lambda x: 5 - 2 * x[0] ** 2 - x[1] ** 2 - x[2] ** 2 - 2 * x[0] + x[1] + x[3],
                            lambda x: np.array([-4 * x[0] - 2, -2 * x[1] + 1, -2 * x[2], 1.0]))]))
P.append(problem("HS65", lambda x: (x[0] - x[1]) ** 2 + (x[0] + x[1] - 10) ** 2 / 9 + (x[2] - 5) ** 2,
                 lambda x: np.array([2 * (x[0] - x[1]) + 2 * (x[0] + x[1] - 10) / 9,
                                     -2 * (x[0] - x[1]) + 2 * (x[0] + x[1] - 10) / 9, 2 * (x[2] - 5)]),
                 [-5, 5, 0], lb=[-4.5, -4.5, -5], ub=[4.5, 4.5, 5],
                 cons=[ineq(lambda x: 48 - x[0] ** 2 - x[1] ** 2 - x[2] ** 2, lambda x: -2 * np.array(x))]))
P.append(problem("HS71", lambda x: x[0] * x[3] * (x[0] + x[1] + x[2]) + x[2],
                 lambda x: np.array([x[3] * (x[0] + x[1] + x[2]) + x[0] * x[3], x[0] * x[3], x[0] * x[3] + 1,
                                     x[0] * (x[0] + x[1] + x[2])]),
                 [1, 5, 5, 1], lb=[1, 1, 1, 1], ub=[5, 5, 5, 5],
                 cons=[ineq(lambda x: x[0] * x[1] * x[2] * x[3] - 25,
                            lambda x: np.array([x[1] * x[2] * x[3], x[0] * x[2] * x[3], x[0] * x[1] * x[3],
                                                x[0] * x[1] * x[2]])),
                       eq(lambda x: x[0] ** 2 + x[1] ** 2 + x[2] ** 2 + x[3] ** 2 - 40, lambda x: 2 * np.array(x))]))
P.append(problem("HS76", lambda x: x[0] ** 2 + 0.5 * x[1] ** 2 + x[2] ** 2 + 0.5 * x[3] ** 2 - x[0] * x[2]
                 + x[2] * x[3] - x[0] - 3 * x[1] + x[2] - x[3],
                 lambda x: np.array([2 * x[0] - x[2] - 1, x[1] - 3, 2 * x[2] - x[0] + x[3] + 1, x[3] + x[2] - 1]),
                 [0.5, 0.5, 0.5, 0.5], lb=[0, 0, 0, 0], ub=[INF] * 4,
                 cons=[ineq(lambda x: 5 - x[0] - 2 * x[1] - x[2] - x[3], lambda x: np.array([-1.0, -2, -1, -1])),
                       ineq(lambda x: 4 - 3 * x[0] - x[1] - 2 * x[2] + x[3], lambda x: np.array([-3.0, -1, -2, 1])),
                       ineq(lambda x: x[1] + 4 * x[2] - 1.5, lambda x: np.array([0.0, 1, 4, 0]))]))
P.append(problem("HS100", lambda x: (x[0] - 10) ** 2 + 5 * (x[1] - 12) ** 2 + x[2] ** 4 + 3 * (x[3] - 11) ** 2
                 + 10 * x[4] ** 6 + 7 * x[5] ** 2 + x[6] ** 4 - 4 * x[5] * x[6] - 10 * x[5] - 8 * x[6],
                 lambda x: np.array([2 * (x[0] - 10), 10 * (x[1] - 12), 4 * x[2] ** 3, 6 * (x[3] - 11),
                                     60 * x[4] ** 5, 14 * x[5] - 4 * x[6] - 10, 4 * x[6] ** 3 - 4 * x[5] - 8]),
                 [1, 2, 0, 4, 0, 1, 1],
                 cons=[ineq(lambda x: 127 - 2 * x[0] ** 2 - 3 * x[1] ** 4 - x[2] - 4 * x[3] ** 2 - 5 * x[4],
                            lambda x: np.array([-4 * x[0], -12 * x[1] ** 3, -1, -8 * x[3], -5, 0, 0])),
                       ineq(lambda x: 282 - 7 * x[0] - 3 * x[1] - 10 * x[2] ** 2 - x[3] + x[4],
                            lambda x: np.array([-7.0, -3, -20 * x[2], -1, 1, 0, 0])),
                       ineq(lambda x: 196 - 23 * x[0] - x[1] ** 2 - 6 * x[5] ** 2 + 8 * x[6],
                            lambda x: np.array([-23.0, -2 * x[1], 0, 0, 0, -12 * x[5], 8])),
                       ineq(lambda x: -4 * x[0] ** 2 - x[1] ** 2 + 3 * x[0] * x[1] - 2 * x[2] ** 2 - 5 * x[5]
                            + 11 * x[6],
                            lambda x: np.array([-8 * x[0] + 3 * x[1], -2 * x[1] + 3 * x[0], -4 * x[2], 0, 0, -5, 11]))]))

for p in P:
    bounds = Bounds(p["lb"], p["ub"]) if p["lb"] is not None else None
    r = minimize(p["f"], p["x0"], jac=p["g"], method="SLSQP", bounds=bounds, constraints=p["cons"],
                 options={"maxiter": 500, "ftol": FTOL})
    viol = 0.0
    for c in p["cons"]:
        v = np.atleast_1d(c["fun"](r.x))
        viol = max(viol, float(np.max(np.abs(v))) if c["type"] == "eq" else float(np.max(np.maximum(0.0, -v))))
    if p["lb"] is not None:
        viol = max(viol, float(np.max(np.maximum(0.0, np.array(p["lb"], float) - r.x))))
        viol = max(viol, float(np.max(np.maximum(0.0, r.x - np.array(p["ub"], float)))))
    print("%s\t%d\t%d\t%d\t%.17g\t%d\t%.3g" % (p["id"], r.nit, r.nfev, r.njev, r.fun, r.status, viol))
