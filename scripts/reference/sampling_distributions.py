#!/usr/bin/python3
"""Reference values of Student's t, chi-square, F, gamma and beta, central and
non-central, from mpmath.

Writes tests/distributions/data/sampling_distributions.tsv: one line per case,
    digits <TAB> function <TAB> argument... <TAB> value
with the arguments as the decimal text the test passes (read at the test's
precision) and the value to digits + 15 significant digits, computed at
digits + 60 from the arguments rounded to the binary precision the test uses
(floor(digits * log2(10)) + 1 + 4 bits), so that the reference is the exact
function of the test's actual inputs.

Distribution functions:
  t            I_{nu/(nu+t^2)}(nu/2, 1/2) / 2 below 0, one minus that above;
  chi-square   P(nu/2, x/2), the regularised lower incomplete gamma;
  F            I_{nu1 x/(nu1 x + nu2)}(nu1/2, nu2/2);
  gamma        P(shape, x/scale) (parameters scale, shape);
  beta         I_x(a, b);
  non-central  Poisson mixtures with weights e^-z z^j/j!, z = lambda/2
               (chi-square: P(nu/2 + j, x/2); beta: I_x(a + j, b); F: the
               beta at nu1 x/(nu1 x + nu2) with a = nu1/2, b = nu2/2), summed
               past the mode until a term falls below 10^-(digits + 60);
  non-central t  for t >= 0 the series
               Phi(-delta) + 1/2 sum_j [p_j I_x(j + 1/2, nu/2) + q_j I_x(j + 1, nu/2)],
               x = t^2/(nu + t^2), p_j = e^-z z^j/j!, q_j = delta e^-z z^j/(sqrt 2 Gamma(j + 3/2)),
               z = delta^2/2; below 0, one minus the value at (-t, -delta).
Deviates are the roots of the distribution function at the rounded p, found
by the Illinois form of regula falsi to 10^-(digits + 40) relative.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/sampling_distributions.py
"""
import math
import pathlib

from mpmath import mp, mpf

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/distributions/data/sampling_distributions.tsv"
DIGITS = [15, 30, 50]
EXTRA = 60


def bits(digits):
    return math.floor(digits * math.log2(10)) + 1 + 4


def at_precision(text, digits):
    with mp.workprec(bits(digits)):
        return +mpf(text)


def student_t_cdf(t, nu):
    if t == 0:
        return mpf(1) / 2
    half = mp.betainc(nu / 2, mpf(1) / 2, 0, nu / (nu + t * t), regularized=True) / 2
    return half if t < 0 else 1 - half


def chi_square_cdf(x, nu):
    return mp.gammainc(nu / 2, 0, x / 2, regularized=True)


def f_cdf(x, nu1, nu2):
    return mp.betainc(nu1 / 2, nu2 / 2, 0, nu1 * x / (nu1 * x + nu2), regularized=True)


def gamma_cdf(x, scale, shape):
    return mp.gammainc(shape, 0, x / scale, regularized=True)


def beta_cdf(x, a, b):
    return mp.betainc(a, b, 0, x, regularized=True)


def poisson_mixture(z, term):
    """sum_j e^-z z^j / j! * term(j), from j = 0 past the mode."""
    if z == 0:
        return term(0)
    eps = mpf(10) ** (-(mp.dps + 5))
    total = mpf(0)
    mode = int(mp.floor(z))
    j = 0
    while True:
        w = mp.exp(-z + j * mp.log(z) - mp.loggamma(j + 1))
        t = w * term(j)
        total += t
        if j > mode and w < eps:
            return total
        j += 1


def nc_chi_square_cdf(x, nu, lam):
    return poisson_mixture(lam / 2, lambda j: mp.gammainc(nu / 2 + j, 0, x / 2, regularized=True))


def nc_beta_cdf(x, a, b, lam):
    return poisson_mixture(lam / 2, lambda j: mp.betainc(a + j, b, 0, x, regularized=True))


def nc_f_cdf(f, nu1, nu2, lam):
    return nc_beta_cdf(nu1 * f / (nu1 * f + nu2), nu1 / 2, nu2 / 2, lam)


def nc_t_cdf_nonneg(t, nu, delta):
    z = delta * delta / 2
    x = t * t / (nu + t * t)
    eps = mpf(10) ** (-(mp.dps + 5))
    total = mp.ncdf(-delta)
    s = mpf(0)
    mode = int(mp.floor(z))
    j = 0
    while True:
        p = mp.exp(-z + j * mp.log(z) - mp.loggamma(j + 1)) if z > 0 else (mpf(1) if j == 0 else mpf(0))
        q = delta * mp.exp(-z) * (z ** j) / (mp.sqrt(2) * mp.gamma(j + mpf(3) / 2))
        s += p * mp.betainc(j + mpf(1) / 2, nu / 2, 0, x, regularized=True)
        s += q * mp.betainc(j + 1, nu / 2, 0, x, regularized=True)
        if j > mode and abs(p) < eps and abs(q) < eps:
            break
        j += 1
    return total + s / 2


def nc_t_cdf(t, nu, delta):
    if t >= 0:
        return nc_t_cdf_nonneg(t, nu, delta)
    return 1 - nc_t_cdf_nonneg(-t, nu, -delta)


def invert(cdf, p, lo, hi):
    """The root of cdf(x) = p in [lo, hi] (hi grown until it brackets)."""
    flo = cdf(lo) - p
    fhi = cdf(hi) - p
    while fhi < 0:
        lo, flo = hi, fhi
        hi *= 2
        fhi = cdf(hi) - p
    assert flo <= 0 <= fhi, (lo, hi, flo, fhi)
    goal = mpf(10) ** (-(mp.dps - 20))
    side = 0
    for _ in range(2000):
        if fhi == 0:
            return hi
        if flo == 0:
            return lo
        x = (lo * fhi - hi * flo) / (fhi - flo)
        if not (lo < x < hi):
            x = (lo + hi) / 2
        fx = cdf(x) - p
        if fx < 0:
            lo, flo = x, fx
            if side == -1:
                fhi /= 2
            side = -1
        else:
            hi, fhi = x, fx
            if side == 1:
                flo /= 2
            side = 1
        if hi - lo <= goal * max(abs(lo), abs(hi)):
            return (lo + hi) / 2
    raise RuntimeError("no convergence")


def quantile_t(p, nu):
    if p == mpf(1) / 2:
        return mpf(0)
    if p < mpf(1) / 2:
        return -quantile_t(1 - p, nu)
    return invert(lambda t: student_t_cdf(t, nu), p, mpf(0), mpf(1))


CASES = {
    "StudentTProbability": (student_t_cdf, [
        ("-40", "3"), ("-2.5", "7"), ("-0.3", "1.5"), ("0", "4"), ("0.75", "12"), ("1.96", "30"),
        ("4.5", "2"), ("25", "5"), ("3", "0.7"), ("1.2", "250"), ("-100000", "3"), ("-8", "40"),
    ]),
    "StudentTDeviate": (quantile_t, [
        ("1e-10", "3"), ("0.025", "7"), ("0.3", "1.5"), ("0.5", "4"), ("0.8", "12"), ("0.975", "30"),
        ("0.999999", "2"), ("0.99", "0.7"), ("0.6", "250"),
    ]),
    "ChiSquareProbability": (chi_square_cdf, [
        ("0.001", "2"), ("0.5", "1"), ("3.2", "4"), ("10", "10"), ("40", "20"), ("150", "100"),
        ("0.2", "0.5"), ("70", "7.5"), ("1e-8", "5"),
    ]),
    "ChiSquareDeviate": (None, [
        ("1e-12", "3"), ("0.05", "1"), ("0.5", "4"), ("0.95", "10"), ("0.999999", "20"), ("0.3", "100"),
        ("0.7", "0.5"),
    ]),
    "FRatioProbability": (f_cdf, [
        ("0.01", "3", "7"), ("0.5", "2", "5"), ("1", "10", "10"), ("3.5", "4", "20"), ("50", "6", "3"),
        ("2", "1.5", "40"), ("0.8", "30", "2.5"), ("1e-6", "8", "4"),
    ]),
    "FRatioDeviate": (None, [
        ("1e-9", "3", "7"), ("0.1", "2", "5"), ("0.5", "10", "10"), ("0.95", "4", "20"), ("0.9999", "6", "3"),
        ("0.6", "1.5", "40"),
    ]),
    "GammaProbability": (gamma_cdf, [
        ("6", "2", "3"), ("0.01", "1", "0.5"), ("0.5", "2", "3"), ("25", "2", "3"), ("3", "0.5", "10"),
        ("150", "1.5", "80"), ("1e-5", "3", "2"), ("12", "4", "1"), ("1e-4", "2", "3"),
    ]),
    "GammaDeviate": (None, [
        ("0.5", "2", "3"), ("1e-8", "1", "0.5"), ("0.05", "2", "3"), ("0.99999", "2", "3"), ("0.3", "0.5", "10"),
        ("0.9", "1.5", "80"), ("0.75", "4", "1"),
    ]),
    "BetaProbability": (beta_cdf, [
        ("0.5", "2", "3"), ("0.001", "0.5", "0.5"), ("0.999", "0.5", "0.5"), ("0.2", "2", "3"),
        ("0.9", "2", "3"), ("0.35", "30", "50"), ("0.05", "1.5", "20"), ("0.7", "5", "1"), ("1e-6", "3", "2"),
    ]),
    "BetaDeviate": (None, [
        ("0.5", "2", "3"), ("1e-10", "0.5", "0.5"), ("0.999999", "0.5", "0.5"), ("0.05", "2", "3"),
        ("0.95", "2", "3"), ("0.4", "30", "50"), ("0.8", "5", "1"),
    ]),
    "NonCentralStudentTProbability": (nc_t_cdf, [
        ("1.5", "10", "1"), ("-1", "5", "0.5"), ("0", "8", "2"), ("4", "20", "3"), ("0.5", "3", "-1.5"),
        ("8", "6", "5"), ("-0.25", "15", "-0.75"), ("2.5", "2.5", "0"), ("-3", "5", "2"), ("-2", "10", "-3"),
    ]),
    "NonCentralChiSquareProbability": (nc_chi_square_cdf, [
        ("5", "4", "2"), ("0.5", "3", "1"), ("20", "10", "5"), ("60", "6", "20"), ("2", "1.5", "0.5"),
        ("1", "2", "10"), ("12", "5", "0"), ("0.01", "6", "3"),
    ]),
    "NonCentralChiSquareDeviate": (None, [
        ("0.5", "4", "2"), ("0.05", "3", "1"), ("0.95", "10", "5"), ("0.999", "6", "20"), ("0.001", "1.5", "0.5"),
        ("0.25", "2", "10"),
    ]),
    "NonCentralFRatioProbability": (nc_f_cdf, [
        ("1", "3", "10", "2"), ("0.2", "5", "8", "1"), ("3", "4", "12", "6"), ("10", "2", "20", "3"),
        ("0.5", "6", "6", "0.5"), ("2", "10", "30", "0"), ("0.001", "4", "10", "3"),
    ]),
    "NonCentralFRatioDeviate": (None, [
        ("0.5", "3", "10", "2"), ("0.05", "5", "8", "1"), ("0.95", "4", "12", "6"), ("0.999", "2", "20", "3"),
        ("0.3", "6", "6", "0.5"),
    ]),
    "NonCentralBetaProbability": (nc_beta_cdf, [
        ("0.5", "2", "3", "1"), ("0.1", "1.5", "4", "2"), ("0.9", "3", "2", "5"), ("0.3", "5", "5", "0.5"),
        ("0.7", "0.8", "1.2", "8"), ("0.25", "2", "6", "0"), ("0.001", "3", "2", "4"),
    ]),
    "NonCentralBetaDeviate": (None, [
        ("0.5", "2", "3", "1"), ("0.05", "1.5", "4", "2"), ("0.95", "3", "2", "5"), ("0.3", "5", "5", "0.5"),
        ("0.999", "0.8", "1.2", "8"),
    ]),
}

DEVIATES = {
    "StudentTDeviate": quantile_t,
    "ChiSquareDeviate": lambda p, nu: invert(lambda x: chi_square_cdf(x, nu), p, mpf(0), nu + 1),
    "FRatioDeviate": lambda p, n1, n2: invert(lambda x: f_cdf(x, n1, n2), p, mpf(0), mpf(1)),
    "GammaDeviate": lambda p, s, a: invert(lambda x: gamma_cdf(x, s, a), p, mpf(0), s * a + 1),
    "BetaDeviate": lambda p, a, b: invert(lambda x: beta_cdf(x, a, b), p, mpf(0), mpf(1)),
    "NonCentralChiSquareDeviate": lambda p, nu, lam: invert(lambda x: nc_chi_square_cdf(x, nu, lam), p, mpf(0),
                                                            nu + lam),
    "NonCentralFRatioDeviate": lambda p, n1, n2, lam: invert(lambda x: nc_f_cdf(x, n1, n2, lam), p, mpf(0),
                                                             mpf(5)),
    "NonCentralBetaDeviate": lambda p, a, b, lam: invert(lambda x: nc_beta_cdf(x, a, b, lam), p, mpf(0), mpf(1)),
}


def main():
    lines = ["# digits\tfunction\targuments...\tvalue (mpmath, see scripts/reference/sampling_distributions.py)"]
    for digits in DIGITS:
        for name, (fn, cases) in CASES.items():
            fn = fn or DEVIATES[name]
            for args in cases:
                xs = [at_precision(a, digits) for a in args]
                mp.dps = digits + EXTRA
                value = fn(*xs)
                lines.append("\t".join([str(digits), name, *args, mp.nstr(value, digits + 15, strip_zeros=False)]))
    OUT.parent.mkdir(parents=True, exist_ok=True)
    OUT.write_text("\n".join(lines) + "\n")
    print(f"{len(lines) - 1} cases written to {OUT}")


if __name__ == "__main__":
    main()
