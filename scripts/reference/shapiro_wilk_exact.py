#!/usr/bin/python3
"""The exact Shapiro-Wilk coefficients for n = 3 .. 20, and W with them.

The coefficients of the W test are a = m' V^-1 / |m' V^-1|, where m holds the
expected values and V the covariance matrix of the order statistics of n
standard normal values.  They are computed here from their definitions by
numerical integration, independently of Royston's approximation:

    E X(i)        = c_i  Int x Phi(x)^(i-1) (1 - Phi(x))^(n-i) phi(x) dx
    E X(i)^2      = c_i  Int x^2 ...
    E X(i) X(j)   = c_ij Int Int_{x<y} x y Phi(x)^(i-1) phi(x)
                         (Phi(y) - Phi(x))^(j-i-1) phi(y) (1 - Phi(y))^(n-j) dx dy

with c_i = n!/((i-1)!(n-i)!) and c_ij = n!/((i-1)!(j-i-1)!(n-j)!).  The
double integral is taken over x and t = y - x > 0, both by composite
Gauss-Legendre quadrature: x on [-9, 9] and t on [0, 12] (beyond which the
integrands are below 1e-16), cut into panels that are narrow where the
densities of neighbouring order statistics are steep (small t).  The
computation is repeated with more nodes per panel and the two results must
agree to 1e-10.  Checks: each row of V sums to 1 and the second moments add up to
n, both identities of normal order statistics.

Writes tests/numerics/data/shapiro_wilk/g01ddc_exact.tsv:
    coef <TAB> n <TAB> i <TAB> a_i      (i = 1 .. n/2, the upper coefficients
                                          a_n, a_(n-1), ... as positive numbers)
    W    <TAB> name <TAB> n <TAB> W      (the samples of g01ddc_samples.tsv
                                          with n <= 20, exact coefficients)
values to 12 significant digits.

Run with Debian's python3-mpmath:  /usr/bin/python3 scripts/reference/shapiro_wilk_exact.py
"""
import pathlib

from mpmath import mp, mpf, matrix, lu_solve, factorial, sqrt, exp, erfc, pi, legendre

TOP = pathlib.Path(__file__).resolve().parents[2]
SAMPLES = TOP / "tests/numerics/data/shapiro_wilk/g01ddc_samples.tsv"
OUT = TOP / "tests/numerics/data/shapiro_wilk/g01ddc_exact.tsv"

mp.dps = 24
X_PANELS = [-9, -6, -4, -3, -2, -1, 0, 1, 2, 3, 4, 6, 9]
T_PANELS = [0, "0.125", "0.25", "0.5", "0.75", 1, "1.5", 2, 3, 4, 6, 8, 12]


def gauss_legendre(n):
    """Nodes and weights on [-1, 1]."""
    nodes = []
    for k in range(1, n + 1):
        x = mp.cos(pi * (k - mpf(1) / 4) / (n + mpf(1) / 2))
        for _ in range(100):
            p0, p1 = mpf(1), x
            for m in range(2, n + 1):
                p0, p1 = p1, ((2 * m - 1) * x * p1 - (m - 1) * p0) / m
            dp = n * (x * p1 - p0) / (x * x - 1)
            dx = p1 / dp
            x -= dx
            if abs(dx) < mpf(10) ** (-mp.dps + 2):
                break
        p0, p1 = mpf(1), x
        for m in range(2, n + 1):
            p0, p1 = p1, ((2 * m - 1) * x * p1 - (m - 1) * p0) / m
        dp = n * (x * p1 - p0) / (x * x - 1)
        nodes.append((x, 2 / ((1 - x * x) * dp * dp)))
    return nodes


def composite(panels, rule):
    """Nodes and weights of the rule on each panel in turn."""
    out = []
    for a, b in zip(panels, panels[1:]):
        a, b = mpf(a), mpf(b)
        half, mid = (b - a) / 2, (a + b) / 2
        out += [(mid + half * u, half * w) for u, w in rule]
    return out


def Phi(x):
    return erfc(-x / sqrt(2)) / 2


def phi(x):
    return exp(-x * x / 2) / sqrt(2 * pi)


def moments(n, nodes):
    """m (list) and the matrix of E X(i) X(j), 0-based."""
    xs = composite(X_PANELS, nodes)
    ts = composite(T_PANELS, nodes)
    m = [mpf(0)] * n
    second = [[mpf(0)] * n for _ in range(n)]
    c1 = [factorial(n) / (factorial(i) * factorial(n - 1 - i)) for i in range(n)]
    for x, wx in xs:
        F, f = Phi(x), phi(x)
        G = 1 - F
        for i in range(n):
            base = c1[i] * F ** i * G ** (n - 1 - i) * f * wx
            m[i] += x * base
            second[i][i] += x * x * base
    cij = {}
    for i in range(n):
        for j in range(i + 1, n):
            cij[i, j] = factorial(n) / (factorial(i) * factorial(j - i - 1) * factorial(n - 1 - j))
    # Only i < j with (i, j) in the upper half of the symmetry
    # E X(i) X(j) = E X(n-1-j) X(n-1-i).
    pairs = [(i, j) for i in range(n) for j in range(i + 1, n) if (i, j) <= (n - 1 - j, n - 1 - i)]
    acc = {p: mpf(0) for p in pairs}
    for x, wx in xs:
        F, f = Phi(x), phi(x)
        Fp = [mpf(1)]
        for _ in range(n):
            Fp.append(Fp[-1] * F)
        for t, wt in ts:
            y = x + t
            Fy, fy = Phi(y), phi(y)
            D, Q = Fy - F, 1 - Fy
            Dp, Qp = [mpf(1)], [mpf(1)]
            for _ in range(n):
                Dp.append(Dp[-1] * D)
                Qp.append(Qp[-1] * Q)
            common = x * y * f * fy * wx * wt
            for (i, j) in pairs:
                acc[i, j] += common * Fp[i] * Dp[j - i - 1] * Qp[n - 1 - j]
    for (i, j), v in acc.items():
        v *= cij[i, j]
        for (a, b) in ((i, j), (n - 1 - j, n - 1 - i)):
            second[a][b] = second[b][a] = v
    return m, second


def coefficients(n, nodes):
    m, second = moments(n, nodes)
    V = matrix(n, n)
    for i in range(n):
        for j in range(n):
            V[i, j] = second[i][j] - m[i] * m[j]
    for i in range(n):
        row = sum(V[i, j] for j in range(n))
        assert abs(row - 1) < mpf(10) ** -10, (n, i, row)
    total = sum(second[i][j] for i in range(n) for j in range(n))
    assert abs(total - n) < mpf(10) ** -10, (n, total)
    c = lu_solve(V, matrix(m))               # V^-1 m (V is symmetric)
    norm = sqrt(sum(c[i] ** 2 for i in range(n)))
    return [c[i] / norm for i in range(n)]   # a_1 .. a_n, a_1 < 0


def main():
    coarse, fine = gauss_legendre(16), gauss_legendre(20)
    coef = {}
    for n in range(3, 21):
        a = coefficients(n, fine)
        b = coefficients(n, coarse)
        assert max(abs(a[i] - b[i]) for i in range(n)) < mpf(10) ** -10, n
        coef[n] = a
        print(n, mp.nstr(a[-1], 12), mp.nstr(max(abs(a[i] - b[i]) for i in range(n)), 3), flush=True)
    lines = ["# exact Shapiro-Wilk coefficients and W; written by scripts/reference/shapiro_wilk_exact.py"]
    for n in range(3, 21):
        for i in range(1, n // 2 + 1):
            lines.append(f"coef\t{n}\t{i}\t{mp.nstr(coef[n][n - i], 12)}")
    for line in SAMPLES.read_text().splitlines():
        if line.startswith("#"):
            continue
        name, n, values = line.split("\t")
        n = int(n)
        if n > 20:
            continue
        x = sorted(mpf(v) for v in values.split(","))
        mean = sum(x) / n
        ss = sum((v - mean) ** 2 for v in x)
        s = sum(coef[n][i] * x[i] for i in range(n))
        lines.append(f"W\t{name}\t{n}\t{mp.nstr(s * s / ss, 12)}")
    OUT.write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
