#!/usr/bin/python3
"""Reference values of the kernel density's kernels, from mpmath.

Writes tests/sampling/data/kernels.tsv: one line per case,
    digits <TAB> kernel <TAB> s <TAB> value
with s as the decimal text the test passes (read at the test's precision)
and the value to digits + 15 significant digits, computed at digits + 60
(and more where the formula cancels) from s rounded to the binary precision
the test uses (floor(digits * log2(10)) + 5 bits), so that the reference is
the exact function of the test's actual input.

The kernels are the Fourier transforms of the kernels scaled to unit
variance:
    Gaussian      exp(-s^2/2)
    Triangular    (1 - cos(sqrt(6) s)) / (3 s^2)
    Rectangular   sin(sqrt(3) s) / (sqrt(3) s)
    Epanechnikov  (3 sqrt(5)/25) (sin(sqrt(5) s) - sqrt(5) s cos(sqrt(5) s)) / s^3
    Biweight      15 ((3 - t^2) sin t - 3 t cos t) / t^5,  t = sqrt(7) s
each 1 at s = 0.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/kernel_density.py
"""
import math
import pathlib

from mpmath import mp, mpf

OUT = pathlib.Path(__file__).resolve().parents[2] / "tests/sampling/data/kernels.tsv"

KERNELS = {
    "Gaussian": lambda s: mp.exp(-s * s / 2),
    "Triangular": lambda s: (1 - mp.cos(mp.sqrt(6) * s)) / (3 * s * s),
    "Rectangular": lambda s: mp.sin(mp.sqrt(3) * s) / (mp.sqrt(3) * s),
    "Epanechnikov": lambda s: (3 * mp.sqrt(5) / 25)
    * (mp.sin(mp.sqrt(5) * s) - mp.sqrt(5) * s * mp.cos(mp.sqrt(5) * s))
    / s**3,
    "Biweight": lambda s: (lambda t: 15 * ((3 - t * t) * mp.sin(t) - 3 * t * mp.cos(t)) / t**5)(mp.sqrt(7) * s),
}

ARGS = ["1e-40", "3e-9", "0.001", "0.0625", "0.3", "1", "-1.7", "2.5", "7.25", "40", "1234.5"]


def bits(digits):
    return math.floor(digits * math.log2(10)) + 1 + 4


def main():
    lines = [
        "# digits\tkernel\ts\tvalue (written by scripts/reference/kernel_density.py)",
    ]
    for digits in (15, 50):
        for name, f in KERNELS.items():
            for text in ARGS:
                with mp.workprec(bits(digits)):
                    s = +mpf(text)
                # Enough digits for the cancellation of the small arguments.
                with mp.workdps(3 * digits + 400):
                    value = f(s)
                lines.append(f"{digits}\t{name}\t{text}\t{mp.nstr(value, digits + 15, strip_zeros=False)}")
    OUT.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
