#!/usr/bin/python3
"""Optimal values of the third set of Hock-Schittkowski problems in
bench/hs_expression.hpp (LaterProblems) that have no closed form: HS11,
HS60, HS78 and HS79, printed to 30 significant digits (the benchmark keeps
25).  The closed forms of the others are printed too, as a check of the
constants written there.

Source of the problems: W. Hock and K. Schittkowski, Test Examples for
Nonlinear Programming Codes, Lecture Notes in Economics and Mathematical
Systems 187, Springer, 1981.  Each value is the KKT point of the problem's
active constraints (all of them equalities here, or the one active
inequality of HS11), found by Newton's method on the KKT equations in
60-digit arithmetic from the collection's printed solution; the printed
values (7-10 digits) agree.
"""
from mpmath import mp, mpf, sqrt, findroot, diff, nstr, polyroots

mp.dps = 60


def kkt(f, hs, x0, lam0):
    """f and the equality constraints hs at the KKT point near x0."""
    n, m = len(x0), len(hs)

    def partial(fun, x, j):
        return diff(lambda t: fun(x[:j] + [t] + x[j + 1:]), x[j])

    def equations(*z):
        x, lam = list(z[:n]), z[n:]
        out = [partial(f, x, j) - sum(lam[i] * partial(hs[i], x, j) for i in range(m)) for j in range(n)]
        return out + [h(x) for h in hs]

    z = findroot(equations, [mpf(v) for v in x0] + [mpf(v) for v in lam0], tol=mpf(10) ** -50, maxsteps=100)
    x = [z[j] for j in range(n)]
    residual = max(abs(v) for v in equations(*z))
    assert residual < mpf(10) ** -40, residual
    return f(x)


r2 = sqrt(2)
# HS11: the constraint x2 >= x1^2 is active; with x2 = x1^2 the stationarity
# conditions reduce to 2 x1^3 + x1 - 5 = 0.
x1 = [r for r in polyroots([2, 0, 1, -5], maxsteps=200, extraprec=200) if abs(r.imag) < mpf(10) ** -40][0].real
print("HS11", nstr((x1 - 5) ** 2 + x1 ** 4 - 25, 30))
print("HS60", nstr(kkt(lambda x: (x[0] - 1) ** 2 + (x[0] - x[1]) ** 2 + (x[1] - x[2]) ** 4,
                       [lambda x: x[0] * (1 + x[1] ** 2) + x[2] ** 4 - 4 - 3 * r2],
                       [1.104859, 1.196674, 1.535262], [0.01]), 30))
print("HS78", nstr(kkt(lambda x: x[0] * x[1] * x[2] * x[3] * x[4],
                       [lambda x: sum(t ** 2 for t in x) - 10, lambda x: x[1] * x[2] - 5 * x[3] * x[4],
                        lambda x: x[0] ** 3 + x[1] ** 3 + 1],
                       [-1.717142, 1.595708, 1.827248, -0.7636429, -0.7636435], [-0.7, 0.7, 0.1]), 30))
print("HS79", nstr(kkt(lambda x: (x[0] - 1) ** 2 + (x[0] - x[1]) ** 2 + (x[1] - x[2]) ** 2 + (x[2] - x[3]) ** 4
                       + (x[3] - x[4]) ** 4,
                       [lambda x: x[0] + x[1] ** 2 + x[2] ** 3 - 2 - 3 * r2,
                        lambda x: x[1] - x[2] ** 2 + x[3] + 2 - 2 * r2, lambda x: x[0] * x[4] - 2],
                       [1.191127, 1.362603, 1.472818, 1.635017, 1.679081], [0.04, -0.04, 0.0]), 30))
print("HS14", nstr(9 - mpf("2.875") * sqrt(7), 30))
print("HS29", nstr(-16 * r2, 30))
print("HS42", nstr(28 - 10 * r2, 30))
