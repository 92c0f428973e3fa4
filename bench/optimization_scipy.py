#!/usr/bin/python3
"""SciPy's evaluation counts on the ten More-Garbow-Hillstrom problems of
bench_optimization.cpp, from the same standard starts, in double precision.

Prints one line per method and problem: METHOD NUMBER CALLS F.
  nelder-mead    scipy.optimize.minimize(method="Nelder-Mead"), xatol = fatol = 1e-8
  l-bfgs-b       scipy.optimize.minimize(method="L-BFGS-B") with a gradient:
                 one call = value and gradient (the gradient by central
                 differences inside the callable, not counted, standing in
                 for an analytic one as the library's side has)
  least_squares  scipy.optimize.least_squares (defaults, "2-point" Jacobian):
                 every call of the residual function counted, the Jacobian's
                 included
"""
import warnings
import numpy as np
from scipy.optimize import minimize, least_squares

def rosenbrock(x):
    return np.array([10 * (x[1] - x[0] ** 2), 1 - x[0]])

def freudenstein_roth(x):
    return np.array([-13 + x[0] + ((5 - x[1]) * x[1] - 2) * x[1], -29 + x[0] + ((x[1] + 1) * x[1] - 14) * x[1]])

def powell_badly_scaled(x):
    return np.array([1e4 * x[0] * x[1] - 1, np.exp(-x[0]) + np.exp(-x[1]) - 1.0001])

def beale(x):
    y = [1.5, 2.25, 2.625]
    return np.array([y[i] - x[0] * (1 - x[1] ** (i + 1)) for i in range(3)])

def jennrich_sampson(x):
    i = np.arange(1, 11)
    return 2 + 2 * i - (np.exp(i * x[0]) + np.exp(i * x[1]))

BARD_Y = [0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39, 0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39]
def bard(x):
    r = []
    for i in range(1, 16):
        u, v = i, 16 - i
        w = min(u, v)
        r.append(BARD_Y[i - 1] - (x[0] + u / (v * x[1] + w * x[2])))
    return np.array(r)

GAUSS_Y = [0.0009, 0.0044, 0.0175, 0.0540, 0.1295, 0.2420, 0.3521, 0.3989, 0.3521, 0.2420, 0.1295, 0.0540, 0.0175, 0.0044, 0.0009]
def gaussian(x):
    t = (8 - np.arange(1, 16)) / 2
    return x[0] * np.exp(-x[1] * (t - x[2]) ** 2 / 2) - np.array(GAUSS_Y)

def box3d(x):
    t = np.arange(1, 11) / 10
    return np.exp(-t * x[0]) - np.exp(-t * x[1]) - x[2] * (np.exp(-t) - np.exp(-10 * t))

def wood(x):
    return np.array([10 * (x[1] - x[0] ** 2), 1 - x[0], np.sqrt(90) * (x[3] - x[2] ** 2), 1 - x[2],
                     np.sqrt(10) * (x[1] + x[3] - 2), (x[1] - x[3]) / np.sqrt(10)])

KO_Y = [0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627, 0.0456, 0.0342, 0.0323, 0.0235, 0.0246]
KO_U = [4, 2, 1, 0.5, 0.25, 0.167, 0.125, 0.1, 0.0833, 0.0714, 0.0625]
def kowalik_osborne(x):
    u = np.array(KO_U)
    return np.array(KO_Y) - x[0] * (u * u + u * x[1]) / (u * u + u * x[2] + x[3])

PROBLEMS = [
    (1, rosenbrock, [-1.2, 1]), (2, freudenstein_roth, [0.5, -2]), (3, powell_badly_scaled, [0, 1]),
    (5, beale, [1, 1]), (6, jennrich_sampson, [0.3, 0.4]), (8, bard, [1, 1, 1]), (9, gaussian, [0.4, 1, 0]),
    (12, box3d, [0, 10, 20]), (14, wood, [-3, -1, -3, -1]), (15, kowalik_osborne, [0.25, 0.39, 0.415, 0.39]),
]

def main():
    warnings.simplefilter("ignore")
    np.seterr(all="ignore")
    for number, res, x0 in PROBLEMS:
        x0 = np.array(x0, dtype=float)
        f = lambda x: float(np.sum(res(x) ** 2))

        calls = [0]
        def counted(x):
            calls[0] += 1
            return f(x)
        r = minimize(counted, x0, method="Nelder-Mead", options={"xatol": 1e-8, "fatol": 1e-8, "maxfev": 20000})
        print("nelder-mead", number, calls[0], r.fun)

        calls = [0]
        def value_and_gradient(x):
            calls[0] += 1
            g = np.zeros_like(x)
            for j in range(len(x)):
                h = 6e-6 * (1 + abs(x[j]))
                e = np.zeros_like(x)
                e[j] = h
                g[j] = (f(x + e) - f(x - e)) / (2 * h)
            return f(x), g
        r = minimize(value_and_gradient, x0, jac=True, method="L-BFGS-B", options={"maxiter": 2000})
        print("l-bfgs-b", number, calls[0], r.fun)

        calls = [0]
        def counted_res(x):
            calls[0] += 1
            return res(x)
        r = least_squares(counted_res, x0)
        print("least_squares", number, calls[0], float(np.sum(r.fun ** 2)))

main()
