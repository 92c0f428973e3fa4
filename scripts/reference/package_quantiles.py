#!/usr/bin/python3
"""Reference quantiles for the statistics package's own quantile searches
and compositions (Quantile of InverseGaussian, Maxwell, Moyal, Error and the
non-central laws, whose library entries have no deviate or one searched only
to an absolute tolerance), from mpmath.

Writes tests/package/quantile_accuracy.tv and its expected output
quantile_accuracy.out: each line of the script checks one quantile at 15 or
30 digits against mpmath's value (the root of mpmath's distribution function,
with 40 more digits) and prints true when the command's value is within one
unit in the last digit.  The probabilities are dyadic, so the command and
mpmath invert the same number.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/package_quantiles.py
"""
import pathlib

import mpmath
from mpmath import mp, mpf

HERE = pathlib.Path(__file__).resolve()
OUT = HERE.parents[2] / "tests" / "package"


def phi_upper(z):
    return mp.erfc(z / mp.sqrt(2)) / 2


def gamma_p(a, x):
    return mp.gammainc(a, 0, x, regularized=True)


def poisson_mixture(z, term):
    total, j = mpf(0), 0
    eps = mpf(2) ** (-mp.prec - 20)
    while True:
        w = mp.exp(-z + j * mp.log(z) - mp.loggamma(j + 1)) if z > 0 else (mpf(1) if j == 0 else mpf(0))
        total += w * term(j)
        if j > z + 10 and w < eps:
            return total
        j += 1


def chi2_density(u, nu):
    k = nu / 2
    return mp.exp((k - 1) * mp.log(u) - u / 2 - k * mp.log(2) - mp.loggamma(k))


LAWS = {
    # name: (parameters as text, CDF, a starting point for the root)
    "InverseGaussian(1, 2)": (lambda x: phi_upper(-mp.sqrt(2 / x) * (x - 1)) + mp.exp(4) * phi_upper(mp.sqrt(2 / x) * (x + 1)), 1),
    "Maxwell(1)": (lambda x: gamma_p(mpf(3) / 2, x * x / 2), 1.5),
    "Moyal(0, 1)": (lambda x: mp.erfc(mp.exp(-x / 2) / mp.sqrt(2)), 0.5),
    "Error(0, 1, 3)": (lambda x: mpf(1) / 2 + mp.sign(x) * gamma_p(mpf(3) / 2, abs(x) ** (mpf(2) / 3) / 2) / 2, 1),
    "NonCentralChiSquare(4, 2)": (lambda x: poisson_mixture(mpf(1), lambda j: gamma_p(2 + j, x / 2)), 6),
    "NonCentralFRatio(3, 7, 1.5)": (lambda f: poisson_mixture(mpf(3) / 4, lambda j: mp.betainc(mpf(3) / 2 + j, mpf(7) / 2, 0, 3 * f / (3 * f + 7), regularized=True)), 1.5),
    "NonCentralBeta(2, 3, 1.5)": (lambda x: poisson_mixture(mpf(3) / 4, lambda j: mp.betainc(2 + j, 3, 0, x, regularized=True)), 0.4),
    "NonCentralStudentT(5, 1)": (lambda t: mp.quad(lambda u: (1 - phi_upper(t * mp.sqrt(u / 5) - 1)) * chi2_density(u, mpf(5)),
                                                   [0, mpf(5) / 4, 5, 20, 80, mp.inf]), 1),
}
PROBABILITIES = ["0.25", "0.5", "0.75", "0.9375", "2^(-20)", "1 - 2^(-20)"]

# Laws whose quantile is a location plus a term: at these probabilities
# (dyadic, next to the one whose quantile is 0) the term cancels the
# location to about 10^-12, so the sum needs as many guard digits as that.
CANCELLING = {
    "Moyal(1, 1)": (lambda x: mp.erfc(mp.exp(-(x - 1) / 2) / mp.sqrt(2)), 0,
                    ["109076776608/2^40", "109076776607/2^40"]),
    "Error(1, 1, 2)": (lambda x: mpf(1) / 2 + mp.sign(x - 1) * (1 - mp.exp(-abs(x - 1) / 2)) / 2, 0,
                       ["333443756478/2^40", "333443756479/2^40"]),
}

# At 200 digits, where the searches' last Newton step is below the
# resolution of the working precision.
HIGH = {
    "NonCentralBeta(245/32, 75/16, 855/64)": (
        lambda x: poisson_mixture(mpf(855) / 128, lambda j: mp.betainc(mpf(245) / 32 + j, mpf(75) / 16, 0, x,
                                                                       regularized=True)), 0.5, ["467721/33554432"]),
    "InverseGaussian(1, 2)": (LAWS["InverseGaussian(1, 2)"][0], 1, ["0.25", "0.9375"]),
}


def exact_text(v, digits):
    """v to `digits` significant digits as an exact rational the script
    reads without rounding: m/10^k or m*10^k."""
    m, e = mpmath.nstr(v, digits, min_fixed=1, max_fixed=0, strip_zeros=False), 0
    if "e" in m:
        m, e = m.split("e")
        e = int(e)
    neg = m.startswith("-")
    m = m.lstrip("-")
    whole, _, frac = m.partition(".")
    mant = int(whole + frac)
    k = len(frac) - e
    text = str(mant) if k == 0 else "%d/10^%d" % (mant, k) if k > 0 else "%d*10^%d" % (mant, -k)
    return ("-" if neg else "") + text


POSITIVE = {"InverseGaussian", "Maxwell", "NonCentralChiSquare", "NonCentralFRatio", "NonCentralBeta"}


def solve(g, start, positive, unit=False):
    """The root of the increasing g: a bracket from start outwards (halving
    towards 0 for a positive law, towards 1 from above for one on [0, 1]),
    then bisection to a few bits, then the Anderson-Bjorck method on the
    bracket."""
    a = b = start
    step = mpf(1) / 2
    while g(a) > 0:
        a = a / 2 if positive else a - step
        step *= 2
    step = mpf(1) / 2
    while g(b) < 0:
        b = (b + 1) / 2 if unit else b * 2 if positive else b + step
        step *= 2
    for _ in range(20):
        m = (a + b) / 2
        if g(m) < 0:
            a = m
        else:
            b = m
    return mp.findroot(g, (a, b), solver="anderson", tol=mpf(10) ** (-(mp.dps - 5)), maxsteps=500)


def main():
    lines = ["# Quantiles of the package's own searches and compositions against mpmath",
             "# (written by scripts/reference/package_quantiles.py): true when within one",
             "# unit in the last digit.  The references are exact fractions, so reading",
             "# them at Digits rounds nothing.",
             "Near := proc(v, ref, D)",
             "    Digits := D + 10;",
             "    evalb(abs(v - ref) <= abs(ref) * Float(1, 1 - D))",
             "end proc:"]
    expected = []
    for digits in (15, 30, 200):
        lines.append("Digits := %d:" % digits)
        if digits == 200:
            # The non-central series needs about 170 terms for 200 digits.
            lines.append("_EnvStatisticsIterations := 1000:")
            laws = [(law, cdf, start, ps) for law, (cdf, start, ps) in HIGH.items()]
        else:
            laws = [(law, cdf, start, PROBABILITIES) for law, (cdf, start) in LAWS.items()]
            laws += [(law, cdf, start, ps) for law, (cdf, start, ps) in CANCELLING.items()]
        for law, cdf, start, probabilities in laws:
            for ptext in probabilities:
                with mp.workdps(digits + 40):
                    if "/2^" in ptext:
                        k, e = ptext.split("/2^")
                        pv = mpf(int(k)) / mpf(2) ** int(e)
                    else:
                        pv = mpf(2) ** -20 if ptext == "2^(-20)" else 1 - mpf(2) ** -20 if ptext == "1 - 2^(-20)" else mpf(ptext)
                    name = law.split("(")[0]
                    root = solve(lambda x: cdf(x) - pv, mpf(start), name in POSITIVE, name == "NonCentralBeta")
                    # A root at 0 (the median of a symmetric law) comes out as
                    # a tiny number of either sign.
                    ref = "0" if abs(root) < mpf(10) ** (-(digits + 20)) else exact_text(root, digits + 15)
                lines.append("Near(Quantile(%s, %s), %s, %d);" % (law, ptext, ref, digits))
                expected.append("true")
    lines.append("Digits := 10:")
    (OUT / "quantile_accuracy.tv").write_text("\n".join(lines) + "\n")
    (OUT / "quantile_accuracy.out").write_text("\n".join(expected) + "\n")
    print("%d quantiles" % len(expected))


if __name__ == "__main__":
    main()
