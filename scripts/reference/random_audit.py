#!/usr/bin/python3
"""Accuracy at random points: the package's CDF (both tails), PDF and
Quantile against mpmath, at points and precisions drawn at random, so that
nothing is checked at a point anyone tuned to.

Each case draws a law, its parameters, a point x and a probability p (all
dyadic, so that talvo and mpmath see the same binary numbers) and a Digits,
runs the commands through build/bin/talvo and computes the exact value with
mpmath at 40 more digits.  A command's printed value must be the exact value
rounded to Digits decimal digits, or the decimal rounding of the exact value
first rounded to the binary precision of Digits (a binary float printed in
decimal can land on either side of a decimal tie).  Anything else is printed
as a MISMATCH with its error in units of the last digit.  Values beyond the
floats' exponent range (a Weibull tail of 10^-(10^9)) are skipped.

Not part of the test suite (it takes minutes and its draws change with the
seed); run it after changing a distribution:

    /usr/bin/python3 scripts/reference/random_audit.py [seed] [cases] [law] [--digits 10,15,...]

The references are the laws' textbook formulas in mpmath (incomplete gamma
and beta functions, closed forms, Poisson mixtures summed to convergence);
quantiles are roots of the reference CDF, found by package_quantiles.py's
solver (a bracket by doubling steps, bisection, then the Anderson-Bjorck
method).
"""
import argparse
import pathlib
import random
import subprocess
from fractions import Fraction as Fr

import mpmath as mp

from package_quantiles import gamma_p, poisson_mixture, solve

TALVO = pathlib.Path(__file__).resolve().parents[2] / "build" / "bin" / "talvo"


def real(f):
    return mp.mpf(f.numerator) / f.denominator


def gamma_q(a, x):
    return mp.gammainc(a, x, mp.inf, regularized=True)


def beta_i(a, b, x):
    return mp.betainc(a, b, 0, x, regularized=True)


def t_tails(x, nu):
    half = beta_i(nu / 2, mp.mpf(1) / 2, nu / (nu + x * x)) / 2
    return (1 - half, half) if x > 0 else (half, 1 - half)


# name: (support kind, parameters, point, [lower, upper, density] at x)
# The support kind is "real", "positive" or "unit"; the upper tails are
# written so that they do not subtract from 1 where they are small.
def laws(rnd):
    def dy(lo, hi, den=64):
        return Fr(rnd.randint(int(lo * den), int(hi * den)), den)

    return {
        "Normal": ("real", lambda: [dy(-5, 5), dy(0.25, 4)], lambda p: dy(-40, 40),
                   lambda x, m, s: (mp.ncdf((x - m) / s), mp.ncdf((m - x) / s), mp.npdf(x, m, s))),
        "LogNormal": ("positive", lambda: [dy(-3, 3), dy(0.25, 2)], lambda p: dy(1 / 64, 100),
                      lambda x, m, s: (mp.ncdf((mp.log(x) - m) / s), mp.ncdf((m - mp.log(x)) / s),
                                       mp.npdf(mp.log(x), m, s) / x)),
        "StudentT": ("real", lambda: [dy(0.25, 60)], lambda p: dy(-30, 30),
                     lambda x, nu: t_tails(x, nu) + (mp.gamma((nu + 1) / 2) / (mp.sqrt(nu * mp.pi) * mp.gamma(nu / 2))
                                                     * (1 + x * x / nu) ** (-(nu + 1) / 2),)),
        "ChiSquare": ("positive", lambda: [dy(0.25, 80)], lambda p: dy(1 / 16, 150),
                      lambda x, nu: (gamma_p(nu / 2, x / 2), gamma_q(nu / 2, x / 2),
                                     mp.exp((nu / 2 - 1) * mp.log(x / 2) - x / 2 - mp.loggamma(nu / 2)) / 2)),
        "Gamma": ("positive", lambda: [dy(0.25, 8), dy(0.25, 40)], lambda p: dy(1 / 16, 200),
                  lambda x, b, c: (gamma_p(c, x / b), gamma_q(c, x / b),
                                   mp.exp((c - 1) * mp.log(x / b) - x / b - mp.loggamma(c)) / b)),
        "Beta": ("unit", lambda: [dy(0.25, 40), dy(0.25, 40)], lambda p: dy(1 / 256, 255 / 256, 256),
                 lambda x, a, b: (beta_i(a, b, x), beta_i(b, a, 1 - x),
                                  mp.exp((a - 1) * mp.log(x) + (b - 1) * mp.log(1 - x) - mp.log(mp.beta(a, b))))),
        "FRatio": ("positive", lambda: [dy(0.5, 40), dy(0.5, 40)], lambda p: dy(1 / 64, 30),
                   lambda x, m, n: (beta_i(m / 2, n / 2, m * x / (m * x + n)), beta_i(n / 2, m / 2, n / (m * x + n)),
                                    mp.exp((m / 2) * mp.log(m / n) + (m / 2 - 1) * mp.log(x)
                                           - ((m + n) / 2) * mp.log(1 + m * x / n) - mp.log(mp.beta(m / 2, n / 2))))),
        "NonCentralChiSquare": ("positive", lambda: [dy(0.5, 30), dy(0.25, 40)], lambda p: dy(1 / 16, 120),
                                lambda x, nu, lam: (poisson_mixture(lam / 2, lambda j: gamma_p(nu / 2 + j, x / 2)),
                                                    poisson_mixture(lam / 2, lambda j: gamma_q(nu / 2 + j, x / 2)),
                                                    None)),
        "NonCentralBeta": ("unit", lambda: [dy(0.25, 20), dy(0.25, 20), dy(0.25, 30)],
                           lambda p: dy(1 / 256, 255 / 256, 256),
                           lambda x, a, b, lam: (poisson_mixture(lam / 2, lambda j: beta_i(a + j, b, x)),
                                                 poisson_mixture(lam / 2, lambda j: beta_i(b, a + j, 1 - x)), None)),
        "Weibull": ("positive", lambda: [dy(0.25, 8), dy(0.25, 8)], lambda p: dy(1 / 64, 30),
                    lambda x, a, b: (-mp.expm1(-(x / a) ** b), mp.exp(-(x / a) ** b),
                                     (b / a) * (x / a) ** (b - 1) * mp.exp(-(x / a) ** b))),
        "Logistic": ("real", lambda: [dy(-5, 5), dy(0.25, 4)], lambda p: dy(-60, 60),
                     lambda x, a, b: (1 / (1 + mp.exp(-(x - a) / b)), 1 / (1 + mp.exp((x - a) / b)),
                                      mp.exp(-(x - a) / b) / (b * (1 + mp.exp(-(x - a) / b)) ** 2))),
        "Cauchy": ("real", lambda: [dy(-5, 5), dy(0.25, 4)], lambda p: dy(-1000, 1000),
                   lambda x, a, b: (mp.mpf(1) / 2 + mp.atan((x - a) / b) / mp.pi,
                                    mp.mpf(1) / 2 - mp.atan((x - a) / b) / mp.pi,
                                    1 / (mp.pi * b * (1 + ((x - a) / b) ** 2)))),
        "Gumbel": ("real", lambda: [dy(-5, 5), dy(0.25, 4)], lambda p: dy(-20, 60),
                   lambda x, a, b: (mp.exp(-mp.exp(-(x - a) / b)), -mp.expm1(-mp.exp(-(x - a) / b)),
                                    mp.exp(-(x - a) / b - mp.exp(-(x - a) / b)) / b)),
        "Laplace": ("real", lambda: [dy(-5, 5), dy(0.25, 4)], lambda p: dy(-60, 60),
                    lambda x, a, b: ((mp.exp((x - a) / b) / 2, 1 - mp.exp((x - a) / b) / 2) if x < a else
                                     (1 - mp.exp(-(x - a) / b) / 2, mp.exp(-(x - a) / b) / 2))
                    + (mp.exp(-abs(x - a) / b) / (2 * b),)),
        "Rayleigh": ("positive", lambda: [dy(0.25, 8)], lambda p: dy(1 / 64, 60),
                     lambda x, b: (-mp.expm1(-x * x / (2 * b * b)), mp.exp(-x * x / (2 * b * b)),
                                   x / (b * b) * mp.exp(-x * x / (2 * b * b)))),
        "Maxwell": ("positive", lambda: [dy(0.25, 8)], lambda p: dy(1 / 64, 60),
                    lambda x, a: (gamma_p(mp.mpf(3) / 2, x * x / (2 * a * a)), gamma_q(mp.mpf(3) / 2, x * x / (2 * a * a)),
                                  mp.sqrt(2 / mp.pi) * x * x * mp.exp(-x * x / (2 * a * a)) / a ** 3)),
        "Pareto": ("positive", lambda: [dy(0.25, 8), dy(0.25, 8)], lambda p: dy(1 / 64, 60),
                   lambda x, a, c: (-mp.expm1(c * mp.log(a / x)), (a / x) ** c, (c / a) * (a / x) ** (c + 1))),
        "Exponential": ("positive", lambda: [dy(0.25, 8)], lambda p: dy(1 / 64, 300),
                        lambda x, b: (-mp.expm1(-x / b), mp.exp(-x / b), mp.exp(-x / b) / b)),
        "Moyal": ("real", lambda: [dy(-5, 5), dy(0.25, 4)], lambda p: dy(-10, 60),
                  lambda x, m, s: (mp.erfc(mp.exp(-(x - m) / (2 * s)) / mp.sqrt(2)),
                                   mp.erf(mp.exp(-(x - m) / (2 * s)) / mp.sqrt(2)),
                                   mp.exp(-((x - m) / s + mp.exp(-(x - m) / s)) / 2) / (s * mp.sqrt(2 * mp.pi)))),
        "InverseGaussian": ("positive", lambda: [dy(0.25, 8), dy(0.25, 20)], lambda p: dy(1 / 64, 40),
                            lambda x, m, l: (mp.ncdf(mp.sqrt(l / x) * (x / m - 1))
                                             + mp.exp(2 * l / m) * mp.ncdf(-mp.sqrt(l / x) * (x / m + 1)),
                                             mp.ncdf(-mp.sqrt(l / x) * (x / m - 1))
                                             - mp.exp(2 * l / m) * mp.ncdf(-mp.sqrt(l / x) * (x / m + 1)),
                                             mp.sqrt(l / (2 * mp.pi * x ** 3)) * mp.exp(-l * (x - m) ** 2 / (2 * m * m * x)))),
    }


def decimal(v, digits):
    return mp.mpf(0) if v == 0 else mp.mpf(mp.nstr(v, digits, strip_zeros=False, min_fixed=1, max_fixed=0))


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("seed", nargs="?", type=int, default=1)
    ap.add_argument("cases", nargs="?", type=int, default=100)
    ap.add_argument("law", nargs="?")
    ap.add_argument("--digits", default="10,12,15,18,20,25,30,40,50,75,100")
    args = ap.parse_args()
    rnd = random.Random(args.seed)
    table = laws(rnd)
    choices = [int(d) for d in args.digits.split(",")]
    cases, lines = [], ["_EnvStatisticsIterations := 100000:"]
    for _ in range(args.cases):
        name = args.law or rnd.choice(sorted(table))
        kind, params, point, _ = table[name]
        par = params()
        x = point(par)
        if name == "Pareto":
            x += par[0]
        p = Fr(rnd.randint(1, 2 ** 20 - 1), 2 ** (20 + rnd.choice([0, 0, 0, 5, 20])))
        digits = rnd.choice(choices)
        law = "%s(%s)" % (name, ", ".join(str(q) for q in par))
        lines.append("Digits := %d:" % digits)
        for what, text in (("lower", "CDF(%s, %s);" % (law, x)), ("upper", "CDF(%s, %s, upper = true);" % (law, x)),
                           ("density", "PDF(%s, %s);" % (law, x)), ("quantile", "Quantile(%s, %s);" % (law, p))):
            if what == "density" and name.startswith("NonCentral"):
                continue
            lines.append(text)
            cases.append((name, par, x, p, digits, what, law))
    run = subprocess.run([str(TALVO), "-q"], input="\n".join(lines) + "\n", capture_output=True, text=True)
    out = run.stdout.strip().split("\n")
    if len(out) != len(cases):
        raise SystemExit("talvo printed %d lines for %d cases:\n%s" % (len(out), len(cases), run.stderr[:2000]))
    bad = 0
    for (name, par, x, p, digits, what, law), got in zip(cases, out):
        mp.mp.dps = digits + 40
        kind, _, _, fn = table[name]
        P = [real(q) for q in par]
        if what == "quantile":
            start = {"real": 0, "positive": 1, "unit": mp.mpf(1) / 2}[kind]
            ref = solve(lambda t, P=P, fn=fn: fn(t, *P)[0] - real(p), mp.mpf(start), kind != "real", kind == "unit")
        else:
            ref = fn(real(x), *P)[{"lower": 0, "upper": 1, "density": 2}[what]]
        # The host's floats have MPFR's default exponent range, 2^+-(2^30 - 1):
        # a value beyond it prints as 0 or infinity.
        if ref != 0 and abs(mp.log(abs(ref), 2)) > 2 ** 30 - 2:
            continue
        value = mp.mpf(got.replace(" ", ""))
        bits = int(mp.ceil(digits * mp.log(10, 2))) + 4
        with mp.workprec(bits):
            binary = +ref
        if value in (decimal(ref, digits), decimal(binary, digits)):
            continue
        unit = mp.mpf(10) ** (mp.floor(mp.log10(abs(ref))) - digits + 1) if ref != 0 else mp.mpf(1)
        print("MISMATCH %s Digits %d %s x=%s p=%s: %s against %s (%s units of the last digit)"
              % (law, digits, what, x, p, got, mp.nstr(ref, digits + 3), mp.nstr(abs(value - ref) / unit, 3)))
        bad += 1
    print("%d values, %d mismatches" % (len(cases), bad))


if __name__ == "__main__":
    main()
