#!/usr/bin/python3
"""Reference values of the closed forms where a plainly rounded evaluation
loses digits: tiny x and p (1 - exp(-t), ln(1 - p)), x next to the Pareto
lower end, the Cauchy functions over their whole range, log-normal tails,
normal deviates whose mu + sigma z cancels and normal probabilities whose
standardisation rounds.

Writes tests/distributions/data/closed_forms_hard.tsv in the format of
closed_forms.tsv (digits, function, arguments as decimal text, value): each
value is the formula of scripts/reference/closed_forms.py in exact
arithmetic: computed from the arguments rounded to the test's binary
precision at digits + 1340 digits, far more than the deepest cancellation of
these cases needs (1 - exp(-t) for t = 1e-600 loses 600 digits), and printed
to digits + 25 significant digits.

With --before, also prints per function the worst error, in units of the
last requested digit, of the same formula evaluated with every operation
rounded to the working precision (what an evaluation without guard digits
gives), against the exact value.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/closed_forms_hard.py [--before]
"""
import pathlib
import sys

from mpmath import mp, mpf

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import closed_forms as cf  # noqa: E402

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/distributions/data/closed_forms_hard.tsv"


def geometric_probability(x, p):
    return 1 - (1 - p) ** (mp.floor(x) + 1)


TINY_X = ["9.5367431640625e-7", "1e-10", "1.1102230246251565e-16", "1e-30", "1e-100", "1e-300"]
TINY_P = ["1e-10", "1.1102230246251565e-16", "1e-20", "1e-50", "1e-100", "1e-300"]
CAUCHY_X = ["-1e300", "-1e20", "-1e10", "-123456.789", "-100", "-3", "-1", "-0.3", "-1e-10", "1e-10", "0.3",
            "1", "7", "1e6", "1e300"]
CAUCHY_P = ["1e-300", "1e-30", "1e-10", "0.001", "0.1", "0.2", "0.3", "0.4999999999", "0.5000000001", "0.6",
            "0.8", "0.9", "0.999", "0.9999999999"]
NEAR_ONE = ["1.0000000000000002220446049250313", "1.000000000001", "1.000000001", "1.0001", "1.01", "1.5"]

CASES = {
    "ExponentialProbability": (cf.exponential_probability,
                               [(x, "1") for x in TINY_X] + [(x, "2.5") for x in TINY_X[:3]] + [("-1e-20", "1")]),
    "ExponentialDeviate": (cf.exponential_deviate, [(p, "1") for p in TINY_P] + [(p, "0.3") for p in TINY_P[:3]]),
    "WeibullProbability": (cf.weibull_probability,
                           [(x, "1", "3") for x in TINY_X[:3]] + [(x, "2", "0.5") for x in TINY_X]
                           + [(x, "1", "1") for x in TINY_X[:4]]),
    "WeibullDeviate": (cf.weibull_deviate, [(p, "1", "3") for p in TINY_P] + [(p, "2", "0.5") for p in TINY_P[:3]]),
    "RayleighProbability": (cf.rayleigh_probability, [(x, "1") for x in TINY_X] + [(x, "3.5") for x in TINY_X[:3]]),
    "RayleighDeviate": (cf.rayleigh_deviate, [(p, "1") for p in TINY_P] + [(p, "0.75") for p in TINY_P[:3]]),
    "ParetoProbability": (cf.pareto_probability, [(x, "1", "3") for x in NEAR_ONE] + [(x, "1", "0.5") for x in NEAR_ONE]
                          + [("2.000000001", "2", "2.5"), ("1e300", "1", "0.001")]),
    "ParetoDeviate": (cf.pareto_deviate, [(p, "1", "3") for p in TINY_P] + [("0.999999999", "1", "3"),
                                                                            ("1e-10", "2", "0.5")]),
    "CauchyProbability": (cf.cauchy_probability, [(x, "0", "1") for x in CAUCHY_X]
                          + [("-5", "3", "0.5"), ("2.9999", "3", "0.5"), ("1e10", "3", "2")]),
    "CauchyDeviate": (cf.cauchy_deviate, [(p, "0", "1") for p in CAUCHY_P] + [("0.3", "-2", "4"), ("1e-20", "5", "0.5")]),
    "NormalProbability": (cf.normal_probability, [("-100", "0", "3"), ("-38.5", "0.1", "1"), ("-7", "0", "0.3"),
                                                  ("1e-10", "0", "3"), ("5", "3", "0.7"), ("-1e-300", "1e-300", "3")]),
    "NormalDeviate": (cf.normal_deviate, [("0.158655254", "1", "1"), ("0.975", "-1.9599639845400542", "1"),
                                          ("0.3", "2", "3"), ("1e-20", "5", "0.5"), ("0.5", "3", "7"),
                                          ("1e-300", "0", "1e-10"), ("0.9", "-12.8155156565", "10")]),
    "LogNormalProbability": (cf.lognormal_probability,
                             [(x, "0", "1") for x in ["1.1102230246251565e-16", "1e-10", "1e-30", "0.999999", "1e10"]]
                             + [("9.5367431640625e-7", "1", "0.5"), ("2.718281828", "1", "2")]),
    "LogNormalDeviate": (cf.lognormal_deviate, [(p, "0", "1") for p in ["1e-10", "1e-50", "0.5", "0.9999999"]]),
    "UniformProbability": (cf.uniform_probability, [("1.000000000001", "1", "3"), ("-0.9999999999", "-1", "2"),
                                                    ("1e-300", "-1e-300", "1")]),
    "UniformDeviate": (cf.uniform_deviate, [("1e-20", "-1", "1"), ("0.4999999999", "-1", "1"), ("1e-300", "5", "6")]),
    "TriangularProbability": (cf.triangular_probability, [("1.0000000001", "1", "4", "2"),
                                                          ("3.9999999999", "1", "4", "2"),
                                                          ("2.0000000001", "1", "4", "2"),
                                                          ("0.1", "0", "1", "1e-20")]),
    "TriangularDeviate": (cf.triangular_deviate, [("1e-20", "1", "4", "2"), ("0.9999999999", "1", "4", "2"),
                                                  ("1e-300", "-1", "4", "2")]),
    "PowerProbability": (cf.power_probability, [("1e-300", "1", "0.5"), ("0.999999999", "1", "1000"),
                                                ("1e-10", "3", "7")]),
    "PowerDeviate": (cf.power_deviate, [("1e-300", "1", "0.5"), ("1e-300", "2", "300"), ("0.999999999", "1", "1e-3")]),
    "LogisticProbability": (cf.logistic_probability, [("-700", "0", "1"), ("1e-10", "0", "1"), ("50", "0", "0.5")]),
    "LogisticDeviate": (cf.logistic_deviate, [("0.5000000001", "0", "1"), ("0.4999999999", "0", "1"),
                                              ("1e-300", "0", "1"), ("0.3", "0.8472978603872037", "1")]),
    "LaplaceProbability": (cf.laplace_probability, [("-700", "0", "1"), ("1e-10", "0", "1"), ("-1e-10", "0", "1")]),
    "LaplaceDeviate": (cf.laplace_deviate, [("0.4999999999", "0", "1"), ("0.5000000001", "0", "1"),
                                            ("0.25", "0.6931471805599453", "1")]),
    "GumbelProbability": (cf.gumbel_probability, [("-3", "0", "1"), ("40", "0", "1"), ("1e-10", "0", "1")]),
    "GumbelDeviate": (cf.gumbel_deviate, [("0.36787944117144233", "0", "1"), ("0.9999999999", "0", "1"),
                                          ("1e-300", "0", "1")]),
    "GeometricProbability": (geometric_probability, [("3", "1e-20"), ("0", "1e-10"), ("1e6", "1e-12")]),
}

DIGITS = [15, 30, 50, 100]


def last_digit_error(x, ref, digits):
    if ref == 0:
        return 0 if x == 0 else float("inf")
    e = mp.floor(mp.log10(abs(ref)))
    return float(abs(x - ref) / mpf(10) ** (e - digits + 1))


def main():
    before = "--before" in sys.argv
    lines = ["# digits\tfunction\targuments...\tvalue (mpmath, see scripts/reference/closed_forms_hard.py)"]
    worst = {}
    for digits in DIGITS:
        for name, (fn, cases) in CASES.items():
            for args in cases:
                xs = [cf.at_precision(a, digits) for a in args]
                mp.dps = digits + 1340
                cf.ROUNDED["bits"] = cf.bits(digits)
                value = fn(*xs)
                lines.append("\t".join([str(digits), name, *args, mp.nstr(value, digits + 25, strip_zeros=False)]))
                if before:
                    with mp.workprec(cf.bits(digits)):
                        plain = fn(*xs)
                    err = last_digit_error(plain, value, digits)
                    worst[name] = max(worst.get(name, 0), err)
    OUT.parent.mkdir(parents=True, exist_ok=True)
    OUT.write_text("\n".join(lines) + "\n")
    print(f"wrote {len(lines) - 1} cases to {OUT}")
    for name, err in worst.items():
        print(f"{name}\t{err:.4g}")


if __name__ == "__main__":
    main()
