#!/usr/bin/python3
"""Reference values of the statistics library's extension entries (upper
tails, densities, point probabilities, and the distribution functions of the
laws that have only variates among the defined entries), from mpmath.

Writes tests/distributions/data/extensions.tsv: one line per case,
    digits <TAB> entry <TAB> argument... <TAB> value
with every argument as the decimal text the test passes (the entry reads it
at the test's precision, as a host would) and the value to digits + 15
significant digits.  Each value is computed twice, at digits + 30 and
digits + 50 working digits, from the arguments rounded to the binary
precision the test uses (floor(digits log2 10) + 5 bits); the two must agree
to digits + 20 digits or the script stops.

The functions are computed from their definitions by mpmath's own special
functions, independently of the library: upper tails as erfc, the upper
incomplete gamma and beta functions (never 1 minus the lower tail), densities
from their closed forms, the discrete laws as exact rational sums, and the
non-central laws as term-by-term Poisson mixtures of central tails and
densities (the non-central t density by numerical integration of its
definition).

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/extensions.py
"""
import math
import pathlib
from fractions import Fraction

import mpmath
from mpmath import mp, mpf

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/distributions/data/extensions.tsv"
PRECISIONS = [15, 30, 50]


def bits(digits):
    return math.floor(digits * math.log2(10)) + 1 + 4


def at_precision(text, digits):
    with mp.workprec(bits(digits)):
        return +mpf(text)


# --- central pieces ------------------------------------------------------------

def phi(z):
    return mp.exp(-z * z / 2) / mp.sqrt(2 * mp.pi)


def normal_upper(z):
    return mp.erfc(z / mp.sqrt(2)) / 2


def normal_lower(z):
    return mp.erfc(-z / mp.sqrt(2)) / 2


def gamma_q(a, x):
    return mp.gammainc(a, x, mp.inf, regularized=True)


def gamma_p(a, x):
    return mp.gammainc(a, 0, x, regularized=True)


def ibeta(a, b, x):
    return mp.betainc(a, b, 0, x, regularized=True)


def ibetac(a, b, x):
    # 1 - I_x(a, b) = I_(1-x)(b, a), with 1 - x exact: a small upper tail
    # is summed as the small lower tail it is, not found by a subtraction.
    with mp.workprec(mp.prec + 4000):
        y = 1 - x
    return mp.betainc(b, a, 0, y, regularized=True)


def t_upper(t, nu):
    # P(T > t) = I_{nu/(nu+t^2)}(nu/2, 1/2) / 2 for t >= 0
    if t >= 0:
        return ibeta(nu / 2, mpf(1) / 2, nu / (nu + t * t)) / 2
    return 1 - ibeta(nu / 2, mpf(1) / 2, nu / (nu + t * t)) / 2


def t_density(t, nu):
    return mp.exp(mp.loggamma((nu + 1) / 2) - mp.loggamma(nu / 2) - mp.log(nu * mp.pi) / 2
                  - (nu + 1) / 2 * mp.log1p(t * t / nu))


def chi2_density(x, nu):
    k = nu / 2
    return mp.exp((k - 1) * mp.log(x) - x / 2 - k * mp.log(2) - mp.loggamma(k))


def beta_density(x, a, b):
    return mp.exp((a - 1) * mp.log(x) + (b - 1) * mp.log(1 - x) - mp.log(mp.beta(a, b)))


def f_upper(f, d1, d2):
    return ibeta(d2 / 2, d1 / 2, d2 / (d2 + d1 * f))


def f_density(f, d1, d2):
    return mp.exp(d1 / 2 * mp.log(d1) + d2 / 2 * mp.log(d2) + (d1 / 2 - 1) * mp.log(f)
                  - (d1 + d2) / 2 * mp.log(d1 * f + d2) - mp.log(mp.beta(d1 / 2, d2 / 2)))


def poisson_mixture(z, term):
    """sum_j e^-z z^j / j! term(j), from the largest weight outwards."""
    eps = mpf(2) ** (-mp.prec - 20)
    total = mpf(0)
    mode = int(z)
    j = mode
    while True:
        w = mp.exp(-z + j * mp.log(z) - mp.loggamma(j + 1)) if z > 0 else (mpf(1) if j == 0 else mpf(0))
        total += w * term(j)
        if j > z + 10 and w < eps * abs(total):
            break
        j += 1
    j = mode - 1
    while j >= 0:
        w = mp.exp(-z + j * mp.log(z) - mp.loggamma(j + 1))
        total += w * term(j)
        if j < z - 10 and w < eps * abs(total):
            break
        j -= 1
    return total


# --- the entries ---------------------------------------------------------------

def weibull_upper(x, a, b):
    return mpf(1) if x < 0 else mp.exp(-(x / a) ** b)


def weibull_density(x, a, b):
    return mpf(0) if x < 0 else (b / a) * (x / a) ** (b - 1) * mp.exp(-(x / a) ** b)


def triangular_upper(x, a, b, c):
    if x < a:
        return mpf(1)
    if x < c:
        return 1 - (x - a) ** 2 / ((b - a) * (c - a))
    if x < b:
        return (b - x) ** 2 / ((b - a) * (b - c))
    return mpf(0)


def triangular_density(x, a, b, c):
    if x < a or x > b:
        return mpf(0)
    if x < c:
        return 2 * (x - a) / ((b - a) * (c - a))
    if x == c:
        return 2 / (b - a)
    return 2 * (b - x) / ((b - a) * (b - c))


def cauchy_upper(x, a, b):
    z = (x - a) / b
    return mp.atan(1 / z) / mp.pi if z > 0 else 1 - mp.atan(-1 / z) / mp.pi if z < 0 else mpf(1) / 2


def maxwell_density(x, a):
    return mp.sqrt(2 / mp.pi) * x * x * mp.exp(-x * x / (2 * a * a)) / a ** 3


def moyal_lower(x, mu, s):
    # P(chi-square(1) > e^-z) = erfc(e^(-z/2) / sqrt 2)
    z = (x - mu) / s
    return mp.erfc(mp.exp(-z / 2) / mp.sqrt(2))


def moyal_upper(x, mu, s):
    z = (x - mu) / s
    return mp.erf(mp.exp(-z / 2) / mp.sqrt(2))


def error_density(x, a, b, c):
    z = abs((x - a) / b)
    return mp.exp(-z ** (2 / c) / 2) / (b * 2 ** (c / 2 + 1) * mp.gamma(1 + c / 2))


def error_tail(x, a, b, c, upper):
    t = abs((x - a) / b) ** (2 / c)
    near = upper == (x >= a)
    if near:
        return gamma_q(c / 2, t / 2) / 2
    return mpf(1) / 2 + gamma_p(c / 2, t / 2) / 2


def ig_density(x, mu, lam):
    return mp.sqrt(lam / (2 * mp.pi * x ** 3)) * mp.exp(-lam * (x - mu) ** 2 / (2 * mu * mu * x))


def ig_lower(x, mu, lam):
    r = mp.sqrt(lam / x)
    return normal_lower(r * (x / mu - 1)) + mp.exp(2 * lam / mu) * normal_lower(-r * (x / mu + 1))


def ig_upper(x, mu, lam):
    # Qn(u) - e^(2 lambda/mu) Qn(v) with 200 more digits than asked, so the
    # cancellation of the two terms far out (they agree to about
    # log10(x / mu) digits) costs nothing.  (Checked against numerical
    # integration of the density at 65 digits at x = 100, mu = 1, lambda = 2:
    # 25 digits agree.)
    with mp.workdps(mp.dps + 200):
        r = mp.sqrt(lam / x)
        v = normal_upper(r * (x / mu - 1)) - mp.exp(2 * lam / mu) * normal_upper(r * (x / mu + 1))
    return +v


def nct_density(t, nu, delta):
    # f(t) = int_0^inf phi(t sqrt(u/nu) - delta) sqrt(u/nu) chi2_nu(u) du
    g = lambda u: phi(t * mp.sqrt(u / nu) - delta) * mp.sqrt(u / nu) * chi2_density(u, nu)
    return mp.quad(g, [0, nu / 4, nu, 4 * nu, 16 * nu, mp.inf])


def nct_upper(t, nu, delta):
    # P(T > t) = int_0^inf P(Z > t sqrt(u/nu) - delta) chi2_nu(u) du
    g = lambda u: normal_upper(t * mp.sqrt(u / nu) - delta) * chi2_density(u, nu)
    return mp.quad(g, [0, nu / 4, nu, 4 * nu, 16 * nu, mp.inf])


def ncchi2_upper(x, nu, lam):
    return poisson_mixture(lam / 2, lambda j: gamma_q(nu / 2 + j, x / 2))


def ncchi2_density(x, nu, lam):
    return poisson_mixture(lam / 2, lambda j: chi2_density(x, nu + 2 * j))


def ncbeta_upper(x, a, b, lam):
    return poisson_mixture(lam / 2, lambda j: ibetac(a + j, b, x))


def ncbeta_density(x, a, b, lam):
    return poisson_mixture(lam / 2, lambda j: beta_density(x, a + j, b))


def ncf_upper(f, d1, d2, lam):
    x = d1 * f / (d1 * f + d2)
    return poisson_mixture(lam / 2, lambda j: ibetac(d1 / 2 + j, d2 / 2, x))


def ncf_density(f, d1, d2, lam):
    return poisson_mixture(lam / 2, lambda j: f_density_mix(f, d1, d2, j))


def f_density_mix(f, d1, d2, j):
    # the beta (d1/2 + j, d2/2) density at x = d1 f / (d1 f + d2), times dx/df
    x = d1 * f / (d1 * f + d2)
    return beta_density(x, d1 / 2 + j, d2 / 2) * d1 * d2 / (d1 * f + d2) ** 2


# Discrete laws as exact rational sums (the floats are exact binary fractions).

def frac(v):
    sign, man, exp, _ = v._mpf_
    f = Fraction(man) * (Fraction(2) ** exp)
    return -f if sign else f


def to_mpf(f):
    return mpf(f.numerator) / f.denominator


def binomial_terms(n, p):
    P = frac(p)
    return [Fraction(math.comb(n, k)) * P ** k * (1 - P) ** (n - k) for k in range(n + 1)]


def binomial_upper(x, n, p):
    k = int(mp.floor(x))
    if k < 0:
        return mpf(1)
    return to_mpf(sum(binomial_terms(int(n), p)[k + 1:]))


def binomial_point(x, n, p):
    k = int(x)
    return to_mpf(binomial_terms(int(n), p)[k])


def poisson_point(x, mu):
    return mp.exp(-mu + x * mp.log(mu) - mp.loggamma(x + 1))


def poisson_upper(x, mu):
    k = int(mp.floor(x))
    return gamma_p(k + 1, mu)  # P(X > k) = P(k + 1, mu)


def hyper_terms(N, n, m):
    N, n, m = int(N), int(n), int(m)
    total = math.comb(N, n)
    lo, hi = max(0, n + m - N), min(n, m)
    return lo, {k: Fraction(math.comb(m, k) * math.comb(N - m, n - k), total) for k in range(lo, hi + 1)}


def hyper_upper(x, N, n, m):
    lo, t = hyper_terms(N, n, m)
    k = int(mp.floor(x))
    return to_mpf(sum(v for j, v in t.items() if j > k))


def hyper_point(x, N, n, m):
    lo, t = hyper_terms(N, n, m)
    return to_mpf(t.get(int(x), Fraction(0)))


def negbin_point(x, n, p):
    k = x
    return mp.exp(mp.loggamma(n + k) - mp.loggamma(n) - mp.loggamma(k + 1) + n * mp.log(p) + k * mp.log1p(-p))


def negbin_upper(x, n, p):
    k = mp.floor(x)
    return ibetac(n, k + 1, p)


def geometric_upper(x, p):
    k = mp.floor(x)
    return mp.exp((k + 1) * mp.log1p(-p))


def geometric_point(x, p):
    return p * mp.exp(x * mp.log1p(-p))


ENTRIES = {
    # entry: (function, cases as argument texts)
    "WeibullUpperProbability": (weibull_upper, [("1.5", "2", "3"), ("0.001", "2", "3"), ("9", "2", "3"), ("-1", "2", "3")]),
    "WeibullDensity": (weibull_density, [("1.5", "2", "3"), ("0.25", "1", "0.5"), ("7", "2", "3")]),
    "UniformUpperProbability": (lambda x, a, b: (b - x) / (b - a), [("0.25", "0", "1"), ("2.9999", "-1", "3")]),
    "UniformDensity": (lambda x, a, b: 1 / (b - a), [("0.5", "0", "3")]),
    "TriangularUpperProbability": (triangular_upper, [("0.5", "0", "3", "1"), ("2.5", "0", "3", "1"), ("2.9999", "0", "3", "1")]),
    "TriangularDensity": (triangular_density, [("0.5", "0", "3", "1"), ("1", "0", "3", "1"), ("2.5", "0", "3", "1")]),
    "RayleighUpperProbability": (lambda x, b: mp.exp(-x * x / (2 * b * b)), [("1.5", "2"), ("30", "2"), ("0.001", "2")]),
    "RayleighDensity": (lambda x, b: x / (b * b) * mp.exp(-x * x / (2 * b * b)), [("1.5", "2"), ("30", "2")]),
    "PowerUpperProbability": (lambda x, b, c: 1 - (x / b) ** c, [("0.5", "2", "3"), ("1.999999", "2", "3")]),
    "PowerDensity": (lambda x, b, c: c / b * (x / b) ** (c - 1), [("0.5", "2", "3"), ("1.5", "2", "0.5")]),
    "ParetoUpperProbability": (lambda x, a, c: (a / x) ** c, [("1.5", "1", "2.5"), ("1e10", "1", "2.5")]),
    "ParetoDensity": (lambda x, a, c: c / a * (a / x) ** (c + 1), [("1.5", "1", "2.5"), ("1e10", "1", "2.5")]),
    "ExponentialUpperProbability": (lambda x, b: mp.exp(-x / b), [("1.5", "2"), ("200", "2"), ("1e-10", "2")]),
    "ExponentialDensity": (lambda x, b: mp.exp(-x / b) / b, [("1.5", "2"), ("200", "2")]),
    "LogisticUpperProbability": (lambda x, a, b: 1 / (1 + mp.exp((x - a) / b)), [("1.5", "0", "2"), ("100", "0", "2"), ("-100", "0", "2")]),
    "LogisticDensity": (lambda x, a, b: mp.exp(-abs((x - a) / b)) / (b * (1 + mp.exp(-abs((x - a) / b))) ** 2), [("1.5", "0", "2"), ("-100", "0", "2")]),
    "LaplaceUpperProbability": (lambda x, a, b: 1 - mp.exp(-(a - x) / b) / 2 if x < a else mp.exp(-(x - a) / b) / 2,
                                [("1.5", "0", "2"), ("-1.5", "0", "2"), ("100", "0", "2")]),
    "LaplaceDensity": (lambda x, a, b: mp.exp(-abs(x - a) / b) / (2 * b), [("1.5", "0", "2"), ("-100", "0", "2")]),
    "GumbelUpperProbability": (lambda x, a, b: -mp.expm1(-mp.exp(-(x - a) / b)), [("1.5", "0", "2"), ("80", "0", "2"), ("-3", "0", "2")]),
    "GumbelDensity": (lambda x, a, b: mp.exp(-(x - a) / b - mp.exp(-(x - a) / b)) / b, [("1.5", "0", "2"), ("80", "0", "2")]),
    "CauchyUpperProbability": (cauchy_upper, [("1.5", "0", "2"), ("1e10", "0", "2"), ("-1.5", "0", "2")]),
    "CauchyDensity": (lambda x, a, b: 1 / (mp.pi * b * (1 + ((x - a) / b) ** 2)), [("1.5", "0", "2"), ("1e10", "0", "2")]),
    "NormalUpperProbability": (lambda x, mu, s: normal_upper((x - mu) / s), [("1.96", "0", "1"), ("40", "0", "1"), ("-3", "1", "2"), ("9.5", "0.5", "0.25")]),
    "NormalDensity": (lambda x, mu, s: phi((x - mu) / s) / s, [("1", "0", "2"), ("40", "0", "1"), ("9.5", "0.5", "0.25")]),
    "LogNormalUpperProbability": (lambda x, mu, s: normal_upper((mp.log(x) - mu) / s), [("2", "0", "1"), ("1e20", "0", "1")]),
    "LogNormalDensity": (lambda x, mu, s: phi((mp.log(x) - mu) / s) / (s * x), [("2", "0", "1"), ("1e20", "0", "1")]),
    "StudentTUpperProbability": (t_upper, [("2", "3"), ("1e5", "3"), ("-2", "3"), ("0.5", "0.5")]),
    "StudentTDensity": (t_density, [("1.5", "3"), ("1e5", "3"), ("0.3", "1e6")]),
    "ChiSquareUpperProbability": (lambda x, nu: gamma_q(nu / 2, x / 2), [("200", "5"), ("3", "5"), ("0.001", "1"), ("5000", "100")]),
    "ChiSquareDensity": (chi2_density, [("3", "5"), ("200", "5"), ("0.001", "1")]),
    "FRatioUpperProbability": (f_upper, [("2", "3", "7"), ("1e6", "3", "7"), ("0.5", "100", "200")]),
    "FRatioDensity": (f_density, [("1.5", "3", "7"), ("1e6", "3", "7")]),
    "GammaUpperProbability": (lambda x, sc, sh: gamma_q(sh, x / sc), [("3", "2", "2.5"), ("500", "2", "2.5"), ("0.001", "1", "0.5")]),
    "GammaDensity": (lambda x, sc, sh: (x / sc) ** (sh - 1) * mp.exp(-x / sc) / (sc * mp.gamma(sh)), [("3", "2", "2.5"), ("500", "2", "2.5")]),
    "BetaUpperProbability": (lambda x, a, b: ibetac(a, b, x), [("0.25", "2", "3"), ("0.999", "2", "30")]),
    "BetaDensity": (beta_density, [("0.25", "2", "3"), ("0.999", "2", "30")]),
    "MaxwellLowerProbability": (lambda x, a: gamma_p(mpf(3) / 2, x * x / (2 * a * a)), [("1.5", "1"), ("0.001", "1")]),
    "MaxwellUpperProbability": (lambda x, a: gamma_q(mpf(3) / 2, x * x / (2 * a * a)), [("1.5", "1"), ("20", "1")]),
    "MaxwellDensity": (maxwell_density, [("1.5", "1"), ("20", "1")]),
    "MoyalLowerProbability": (moyal_lower, [("1.5", "0", "1"), ("-3", "0", "1")]),
    "MoyalUpperProbability": (moyal_upper, [("1.5", "0", "1"), ("60", "0", "1")]),
    "MoyalDensity": (lambda x, mu, s: mp.exp(-((x - mu) / s + mp.exp(-(x - mu) / s)) / 2) / (s * mp.sqrt(2 * mp.pi)),
                     [("1.5", "0", "1"), ("-3", "0", "1")]),
    "ErrorLowerProbability": (lambda x, a, b, c: error_tail(x, a, b, c, False), [("1.5", "0", "1", "3"), ("-40", "0", "1", "0.5")]),
    "ErrorUpperProbability": (lambda x, a, b, c: error_tail(x, a, b, c, True), [("1.5", "0", "1", "3"), ("40", "0", "1", "0.5")]),
    "ErrorDensity": (error_density, [("1.5", "0", "1", "3"), ("40", "0", "1", "0.5")]),
    "InverseGaussianLowerProbability": (ig_lower, [("1.5", "1", "2"), ("0.01", "1", "2")]),
    "InverseGaussianUpperProbability": (ig_upper, [("1.5", "1", "2"), ("100", "1", "2")]),
    "InverseGaussianDensity": (ig_density, [("1.5", "1", "2"), ("100", "1", "2")]),
    "NonCentralStudentTUpperProbability": (nct_upper, [("2", "5", "1"), ("-1", "10", "2")]),
    "NonCentralStudentTDensity": (nct_density, [("2", "5", "1"), ("-2", "5", "1")]),
    "NonCentralChiSquareUpperProbability": (ncchi2_upper, [("3", "4", "2"), ("200", "4", "2")]),
    "NonCentralChiSquareDensity": (ncchi2_density, [("3", "4", "2"), ("200", "4", "2")]),
    "NonCentralFRatioUpperProbability": (ncf_upper, [("2", "3", "7", "1.5"), ("1e4", "3", "7", "1.5")]),
    "NonCentralFRatioDensity": (ncf_density, [("2", "3", "7", "1.5")]),
    "NonCentralBetaUpperProbability": (ncbeta_upper, [("0.25", "2", "3", "1.5"), ("0.999", "2", "30", "1.5")]),
    "NonCentralBetaDensity": (ncbeta_density, [("0.25", "2", "3", "1.5")]),
    "BinomialUpperProbability": (binomial_upper, [("3", "10", "0.25"), ("990", "1000", "0.5")]),
    "BinomialPointProbability": (binomial_point, [("3", "10", "0.25"), ("990", "1000", "0.5")]),
    "PoissonUpperProbability": (poisson_upper, [("5", "2.5"), ("100", "2.5")]),
    "PoissonPointProbability": (poisson_point, [("5", "2.5"), ("100", "2.5")]),
    "HypergeometricUpperProbability": (hyper_upper, [("2", "20", "7", "5"), ("4", "20", "7", "5")]),
    "HypergeometricPointProbability": (hyper_point, [("2", "20", "7", "5"), ("5", "20", "7", "5")]),
    "NegativeBinomialUpperProbability": (negbin_upper, [("3", "2.5", "0.375"), ("300", "2.5", "0.375")]),
    "NegativeBinomialPointProbability": (negbin_point, [("3", "2.5", "0.375"), ("300", "2.5", "0.375")]),
    "GeometricUpperProbability": (geometric_upper, [("3", "0.25"), ("1000", "0.25")]),
    "GeometricPointProbability": (geometric_point, [("3", "0.25"), ("1000", "0.25")]),
}


def value(fn, texts, digits, extra):
    with mp.workdps(digits + extra):
        args = [at_precision(t, digits) for t in texts]
        with mp.workdps(digits + extra):
            return +fn(*[mpf(a) for a in args])


def main():
    lines = ["# digits\tentry\targuments...\tvalue (mpmath, see scripts/reference/extensions.py)"]
    for digits in PRECISIONS:
        for entry, (fn, cases) in ENTRIES.items():
            for texts in cases:
                v1 = value(fn, texts, digits, 30)
                v2 = value(fn, texts, digits, 50)
                with mp.workdps(digits + 50):
                    if v2 != 0 and abs(v1 - v2) > abs(v2) * mpf(10) ** (-(digits + 20)):
                        raise RuntimeError("%s %s at %d digits: %s vs %s" % (entry, texts, digits, v1, v2))
                    text = "0" if v2 == 0 else mpmath.nstr(v2, digits + 15, min_fixed=1, max_fixed=0, strip_zeros=False)
                lines.append("\t".join([str(digits), entry] + list(texts) + [text]))
    OUT.parent.mkdir(parents=True, exist_ok=True)
    OUT.write_text("\n".join(lines) + "\n")
    print("%d cases written to %s" % (len(lines) - 1, OUT))


if __name__ == "__main__":
    main()
