#!/usr/bin/python3
"""SciPy's SLSQP on the Hock-Schittkowski problems of bench_sqp.cpp (the
definitions of tests/numerics/hs_problems.hpp, restated, and the further
problems of bench/hs_expression.hpp from the same text), in double
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


# Further problems of the collection (bench/hs_expression.hpp, the same
# text), differentiated exactly by forward-mode dual numbers.
class Dual:
    def __init__(self, v, d):
        self.v, self.d = v, d

    @staticmethod
    def lift(a, n):
        return a if isinstance(a, Dual) else Dual(float(a), np.zeros(n))

    def __add__(a, b):
        b = Dual.lift(b, len(a.d))
        return Dual(a.v + b.v, a.d + b.d)
    __radd__ = __add__

    def __sub__(a, b):
        b = Dual.lift(b, len(a.d))
        return Dual(a.v - b.v, a.d - b.d)

    def __rsub__(a, b):
        return Dual.lift(b, len(a.d)) - a

    def __mul__(a, b):
        b = Dual.lift(b, len(a.d))
        return Dual(a.v * b.v, a.d * b.v + a.v * b.d)
    __rmul__ = __mul__

    def __truediv__(a, b):
        b = Dual.lift(b, len(a.d))
        return Dual(a.v / b.v, (a.d * b.v - a.v * b.d) / (b.v * b.v))

    def __rtruediv__(a, b):
        return Dual.lift(b, len(a.d)) / a

    def __neg__(a):
        return Dual(-a.v, -a.d)

    def __pow__(a, k):  # constant exponent
        return Dual(a.v ** k, k * a.v ** (k - 1) * a.d)


def _fn(f, df):
    return lambda u: Dual(f(u.v), df(u.v) * u.d)


NS = {"exp": _fn(math.exp, math.exp), "log": _fn(math.log, lambda v: 1 / v),
      "sqrt": _fn(math.sqrt, lambda v: 0.5 / math.sqrt(v)), "sin": _fn(math.sin, math.cos),
      "cos": _fn(math.cos, lambda v: -math.sin(v)), "pi": math.pi}


def compile_expr(text, n):
    code = compile(text.replace("^", "**"), text, "eval")

    def value(x):
        env = dict(NS)
        for j in range(n):
            env["x%d" % (j + 1)] = Dual(float(x[j]), np.eye(n)[j])
        r = eval(code, env)
        return Dual.lift(r, n)
    return (lambda x: value(x).v), (lambda x: value(x).d)


def text_problem(id, n, obj, cons, lb, ub, x0):
    f, g = compile_expr(obj, n)
    cs = []
    for kind, e in cons:
        c, j = compile_expr(e, n)
        cs.append({"type": kind, "fun": c, "jac": j})
    return problem(id, f, g, x0, lb=lb, ub=ub, cons=cs)


I = INF
P.append(text_problem("HS1", 2, "100*(x2 - x1^2)^2 + (1 - x1)^2", [], [-I, -1.5], [I, I], [-2, 1]))
P.append(text_problem("HS2", 2, "100*(x2 - x1^2)^2 + (1 - x1)^2", [], [-I, 1.5], [I, I], [-2, 1]))
P.append(text_problem("HS3", 2, "x2 + 1e-5*(x2 - x1)^2", [], [-I, 0], [I, I], [10, 1]))
P.append(text_problem("HS80", 5, "exp(x1*x2*x3*x4*x5)",
                      [("eq", "x1^2 + x2^2 + x3^2 + x4^2 + x5^2 - 10"), ("eq", "x2*x3 - 5*x4*x5"),
                       ("eq", "x1^3 + x2^3 + 1")],
                      [-2.3, -2.3, -3.2, -3.2, -3.2], [2.3, 2.3, 3.2, 3.2, 3.2], [-2, 2, 2, -1, -1]))
P.append(text_problem("HS104", 8, "0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67) + 10 - x1 - x2",
                      [("ineq", "1 - 0.0588*x5*x7 - 0.1*x1"),
                       ("ineq", "1 - 0.0588*x6*x8 - 0.1*x1 - 0.1*x2"),
                       ("ineq", "1 - 4*x3/x5 - 2*x3^(-0.71)/x5 - 0.0588*x3^(-1.3)*x7"),
                       ("ineq", "1 - 4*x4/x6 - 2*x4^(-0.71)/x6 - 0.0588*x4^(-1.3)*x8"),
                       ("ineq", "0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67) + 10 - x1 - x2 - 1"),
                       ("ineq", "4.2 - (0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67) + 10 - x1 - x2)")],
                      [0.1] * 8, [10] * 8, [6, 3, 0.4, 0.2, 6, 6, 1, 0.5]))
P.append(text_problem("HS106", 8, "x1 + x2 + x3",
                      [("ineq", "1 - 0.0025*(x4 + x6)"), ("ineq", "1 - 0.0025*(x5 + x7 - x4)"),
                       ("ineq", "1 - 0.01*(x8 - x5)"), ("ineq", "x1*x6 - 833.33252*x4 - 100*x1 + 83333.333"),
                       ("ineq", "x2*x7 - 1250*x5 - x2*x4 + 1250*x4"), ("ineq", "x3*x8 - 1250000 - x3*x5 + 2500*x5")],
                      [100, 1000, 1000, 10, 10, 10, 10, 10], [10000, 10000, 10000, 1000, 1000, 1000, 1000, 1000],
                      [5000, 5000, 5000, 200, 350, 150, 225, 425]))
P.append(text_problem("HS108", 9, "-0.5*(x1*x4 - x2*x3 + x3*x9 - x5*x9 + x5*x8 - x6*x7)",
                      [("ineq", "1 - x3^2 - x4^2"), ("ineq", "1 - x9^2"), ("ineq", "1 - x5^2 - x6^2"),
                       ("ineq", "1 - x1^2 - (x2 - x9)^2"), ("ineq", "1 - (x1 - x5)^2 - (x2 - x6)^2"),
                       ("ineq", "1 - (x1 - x7)^2 - (x2 - x8)^2"), ("ineq", "1 - (x3 - x5)^2 - (x4 - x6)^2"),
                       ("ineq", "1 - (x3 - x7)^2 - (x4 - x8)^2"), ("ineq", "1 - x7^2 - (x8 - x9)^2"),
                       ("ineq", "x1*x4 - x2*x3"), ("ineq", "x3*x9"), ("ineq", "-x5*x9"), ("ineq", "x5*x8 - x6*x7")],
                      [-I] * 8 + [0], [I] * 9, [1] * 9))
P.append(text_problem("HS113", 10, "x1^2 + x2^2 + x1*x2 - 14*x1 - 16*x2 + (x3 - 10)^2 + 4*(x4 - 5)^2 + (x5 - 3)^2"
                      " + 2*(x6 - 1)^2 + 5*x7^2 + 7*(x8 - 11)^2 + 2*(x9 - 10)^2 + (x10 - 7)^2 + 45",
                      [("ineq", "105 - 4*x1 - 5*x2 + 3*x7 - 9*x8"), ("ineq", "-10*x1 + 8*x2 + 17*x7 - 2*x8"),
                       ("ineq", "8*x1 - 2*x2 - 5*x9 + 2*x10 + 12"),
                       ("ineq", "-3*(x1 - 2)^2 - 4*(x2 - 3)^2 - 2*x3^2 + 7*x4 + 120"),
                       ("ineq", "-5*x1^2 - 8*x2 - (x3 - 6)^2 + 2*x4 + 40"),
                       ("ineq", "-0.5*(x1 - 8)^2 - 2*(x2 - 4)^2 - 3*x5^2 + x6 + 30"),
                       ("ineq", "-x1^2 - 2*(x2 - 2)^2 + 2*x1*x2 - 14*x5 + 6*x6"),
                       ("ineq", "3*x1 - 6*x2 - 12*(x9 - 8)^2 + 7*x10")],
                      [-I] * 10, [I] * 10, [2, 3, 5, 5, 1, 2, 7, 3, 6, 10]))
P.append(text_problem("HS116", 13, "x11 + x12 + x13",
                      [("ineq", "x3 - x2"), ("ineq", "x2 - x1"), ("ineq", "1 - 0.002*x7 + 0.002*x8"),
                       ("ineq", "x11 + x12 + x13 - 50"), ("ineq", "250 - x11 - x12 - x13"),
                       ("ineq", "x13 - 1.262626*x10 + 1.231059*x3*x10"),
                       ("ineq", "x5 - 0.03475*x2 - 0.975*x2*x5 + 0.00975*x2^2"),
                       ("ineq", "x6 - 0.03475*x3 - 0.975*x3*x6 + 0.00975*x3^2"),
                       ("ineq", "x5*x7 - x1*x8 - x4*x7 + x4*x8"),
                       ("ineq", "1 - 0.002*(x2*x9 + x5*x8 - x1*x8 - x6*x9) - x5 - x6"),
                       ("ineq", "x2*x9 - x3*x10 - x6*x9 - 500*x2 + 500*x6 + x2*x10"),
                       ("ineq", "x2 - 0.9 - 0.002*(x2*x10 - x3*x10)"),
                       ("ineq", "x4 - 0.03475*x1 - 0.975*x1*x4 + 0.00975*x1^2"),
                       ("ineq", "x11 - 1.262626*x8 + 1.231059*x1*x8"),
                       ("ineq", "x12 - 1.262626*x9 + 1.231059*x2*x9")],
                      [0.1, 0.1, 0.1, 0.0001, 0.1, 0.1, 0.1, 0.1, 500, 0.1, 1, 0.0001, 0.0001],
                      [1, 1, 1, 0.1, 0.9, 0.9, 1000, 1000, 1000, 500, 150, 150, 150],
                      [0.5, 0.8, 0.9, 0.1, 0.14, 0.5, 489, 80, 650, 450, 150, 150, 150]))
P.append(text_problem("HS118", 15,
                      "2.3*x1 + 0.0001*x1^2 + 1.7*x2 + 0.0001*x2^2 + 2.2*x3 + 0.00015*x3^2 + "
                      "2.3*x4 + 0.0001*x4^2 + 1.7*x5 + 0.0001*x5^2 + 2.2*x6 + 0.00015*x6^2 + "
                      "2.3*x7 + 0.0001*x7^2 + 1.7*x8 + 0.0001*x8^2 + 2.2*x9 + 0.00015*x9^2 + "
                      "2.3*x10 + 0.0001*x10^2 + 1.7*x11 + 0.0001*x11^2 + 2.2*x12 + 0.00015*x12^2 + "
                      "2.3*x13 + 0.0001*x13^2 + 1.7*x14 + 0.0001*x14^2 + 2.2*x15 + 0.00015*x15^2",
                      [("ineq", "x4 - x1 + 7"), ("ineq", "6 - x4 + x1"), ("ineq", "x5 - x2 + 7"), ("ineq", "7 - x5 + x2"),
                       ("ineq", "x6 - x3 + 7"), ("ineq", "6 - x6 + x3"), ("ineq", "x7 - x4 + 7"), ("ineq", "6 - x7 + x4"),
                       ("ineq", "x8 - x5 + 7"), ("ineq", "7 - x8 + x5"), ("ineq", "x9 - x6 + 7"), ("ineq", "6 - x9 + x6"),
                       ("ineq", "x10 - x7 + 7"), ("ineq", "6 - x10 + x7"), ("ineq", "x11 - x8 + 7"), ("ineq", "7 - x11 + x8"),
                       ("ineq", "x12 - x9 + 7"), ("ineq", "6 - x12 + x9"), ("ineq", "x13 - x10 + 7"), ("ineq", "6 - x13 + x10"),
                       ("ineq", "x14 - x11 + 7"), ("ineq", "7 - x14 + x11"), ("ineq", "x15 - x12 + 7"), ("ineq", "6 - x15 + x12"),
                       ("ineq", "x1 + x2 + x3 - 60"), ("ineq", "x4 + x5 + x6 - 50"), ("ineq", "x7 + x8 + x9 - 70"), ("ineq", "x10 + x11 + x12 - 85"),
                       ("ineq", "x13 + x14 + x15 - 100")],
                      [8, 43, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0],
                      [21, 57, 16, 90, 120, 60, 90, 120, 60, 90, 120, 60, 90, 120, 60],
                      [20, 55, 15, 20, 60, 20, 20, 60, 20, 20, 60, 20, 20, 60, 20]))


# The third set of bench/hs_expression.hpp (LaterProblems).
R2 = repr(math.sqrt(2))  # a constant: the Dual functions take variables
P.append(text_problem("HS11", 2, "(x1 - 5)^2 + x2^2 - 25", [("ineq", "x2 - x1^2")], None, None, [4.9, 0.1]))
P.append(text_problem("HS12", 2, "0.5*x1^2 + x2^2 - x1*x2 - 7*x1 - 7*x2", [("ineq", "25 - 4*x1^2 - x2^2")], None, None,
                      [0, 0]))
P.append(text_problem("HS14", 2, "(x1 - 2)^2 + (x2 - 1)^2", [("ineq", "1 - 0.25*x1^2 - x2^2"), ("eq", "x1 - 2*x2 + 1")],
                      None, None, [2, 2]))
P.append(text_problem("HS18", 2, "0.01*x1^2 + x2^2", [("ineq", "x1*x2 - 25"), ("ineq", "x1^2 + x2^2 - 25")], [2, 0],
                      [50, 50], [2, 2]))
P.append(text_problem("HS22", 2, "(x1 - 2)^2 + (x2 - 1)^2", [("ineq", "2 - x1 - x2"), ("ineq", "x2 - x1^2")], None, None,
                      [2, 2]))
P.append(text_problem("HS26", 3, "(x1 - x2)^2 + (x2 - x3)^4", [("eq", "(1 + x2^2)*x1 + x3^4 - 3")], None, None,
                      [-2.6, 2, 2]))
P.append(text_problem("HS27", 3, "0.01*(x1 - 1)^2 + (x2 - x1^2)^2", [("eq", "x1 + x3^2 + 1")], None, None, [2, 2, 2]))
P.append(text_problem("HS29", 3, "-x1*x2*x3", [("ineq", "48 - x1^2 - 2*x2^2 - 4*x3^2")], None, None, [1, 1, 1]))
P.append(text_problem("HS30", 3, "x1^2 + x2^2 + x3^2", [("ineq", "x1^2 + x2^2 - 1")], [1, -10, -10], [10, 10, 10],
                      [1, 1, 1]))
P.append(text_problem("HS32", 3, "(x1 + 3*x2 + x3)^2 + 4*(x1 - x2)^2",
                      [("ineq", "6*x2 + 4*x3 - x1^3 - 3"), ("eq", "1 - x1 - x2 - x3")], [0, 0, 0], [I, I, I],
                      [0.1, 0.7, 0.2]))
P.append(text_problem("HS40", 4, "-x1*x2*x3*x4", [("eq", "x1^3 + x2^2 - 1"), ("eq", "x1^2*x4 - x3"), ("eq", "x4^2 - x2")],
                      None, None, [0.8, 0.8, 0.8, 0.8]))
P.append(text_problem("HS42", 4, "(x1 - 1)^2 + (x2 - 2)^2 + (x3 - 3)^2 + (x4 - 4)^2",
                      [("eq", "x1 - 2"), ("eq", "x3^2 + x4^2 - 2")], None, None, [1, 1, 1, 1]))
P.append(text_problem("HS46", 5, "(x1 - x2)^2 + (x3 - 1)^2 + (x4 - 1)^4 + (x5 - 1)^6",
                      [("eq", "x1^2*x4 + sin(x4 - x5) - 1"), ("eq", "x2 + x3^4*x4^2 - 2")], None, None,
                      [0.7071067811865476, 1.75, 0.5, 2, 2]))
P.append(text_problem("HS48", 5, "(x1 - 1)^2 + (x2 - x3)^2 + (x4 - x5)^2",
                      [("eq", "x1 + x2 + x3 + x4 + x5 - 5"), ("eq", "x3 - 2*(x4 + x5) + 3")], None, None,
                      [3, 5, -3, 2, -2]))
P.append(text_problem("HS60", 3, "(x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^4",
                      [("eq", "x1*(1 + x2^2) + x3^4 - 4 - 3*" + R2)], [-10] * 3, [10] * 3, [2, 2, 2]))
P.append(text_problem("HS78", 5, "x1*x2*x3*x4*x5",
                      [("eq", "x1^2 + x2^2 + x3^2 + x4^2 + x5^2 - 10"), ("eq", "x2*x3 - 5*x4*x5"), ("eq", "x1^3 + x2^3 + 1")],
                      None, None, [-2, 1.5, 2, -1, -1]))
P.append(text_problem("HS79", 5, "(x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^2 + (x3 - x4)^4 + (x4 - x5)^4",
                      [("eq", "x1 + x2^2 + x3^3 - 2 - 3*" + R2), ("eq", "x2 - x3^2 + x4 + 2 - 2*" + R2), ("eq", "x1*x5 - 2")],
                      None, None, [2, 2, 2, 2, 2]))

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
