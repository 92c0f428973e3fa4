#!/usr/bin/python3
"""distributions_r.py -- the rows of bench_distributions against R's
double-precision functions on the same calls, in one run.

Runs bin/bench_distributions at the digits given (15 by default) and R
(Rscript, timing each call in a loop of at least 0.2 s, best of three), then
prints microseconds per call of both and the ratio talvo/R with the goal of
each row: distribution functions within 20x of R, quantiles within 30x.
R's timings include its own call overhead, as ours include the host entry's.

Usage: bench/distributions_r.py BUILD_DIR [digits]
"""
import re
import subprocess
import sys

# bench_distributions case -> (R expression, kind).  The cold binomial
# deviate alternates two parameter sets, as our row does.
R_CALLS = {
    "Normal Probability x=1.5": ("pnorm(1.5, 0, 1)", "function"),
    "Normal Deviate p=0.975": ("qnorm(0.975, 0, 1)", "quantile"),
    "StudentT Probability t=2 nu=5": ("pt(2, 5)", "function"),
    "StudentT Deviate p=0.975 nu=5": ("qt(0.975, 5)", "quantile"),
    "Gamma Probability x=3 scale=2 shape=2.5": ("pgamma(3, shape = 2.5, scale = 2)", "function"),
    "Gamma Deviate p=0.975 scale=2 shape=2.5": ("qgamma(0.975, shape = 2.5, scale = 2)", "quantile"),
    "Beta Probability x=0.3 a=2 b=3": ("pbeta(0.3, 2, 3)", "function"),
    "Beta Deviate p=0.975 a=2 b=3": ("qbeta(0.975, 2, 3)", "quantile"),
    "NonCentralChiSquare Probability x=7 nu=5 lambda=2": ("pchisq(7, 5, ncp = 2)", "function"),
    "ChiSquare Probability x=7 nu=5": ("pchisq(7, 5)", "function"),
    "ChiSquare Deviate p=0.975 nu=5": ("qchisq(0.975, 5)", "quantile"),
    "FRatio Probability x=2 nu1=5 nu2=7": ("pf(2, 5, 7)", "function"),
    "FRatio Deviate p=0.975 nu1=5 nu2=7": ("qf(0.975, 5, 7)", "quantile"),
    "Poisson Probability k=9 mu=7.5": ("ppois(9, 7.5)", "function"),
    "Poisson Deviate p=0.975 mu=7.5": ("qpois(0.975, 7.5)", "quantile"),
    "Binomial Probability k=480 n=1000 p=0.5": ("pbinom(480, 1000, 0.5)", "function"),
    "Binomial Deviate p=0.975 n=1000 p=0.5, warm": ("qbinom(0.975, 1000, 0.5)", "quantile"),
    "Binomial Deviate p=0.975 n=1000|1001 p=0.5, cold":
        ("{ qbinom(0.975, 1000, 0.5); qbinom(0.975, 1001, 0.5) } / 2", "quantile2"),
}

GOAL = {"function": 20.0, "quantile": 30.0, "quantile2": 30.0}

R_TIMER = r"""
time_call <- function(f) {
  best <- Inf
  for (run in 1:3) {
    n <- 1000
    repeat {
      t0 <- proc.time()[[3]]
      for (i in seq_len(n)) f()
      s <- proc.time()[[3]] - t0
      if (s >= 0.2) break
      n <- n * 4
    }
    best <- min(best, s / n * 1e6)
  }
  best
}
"""


def talvo_rows(build, digits):
    out = subprocess.run([f"{build}/bin/bench_distributions", str(digits)], check=True, capture_output=True,
                         text=True).stdout
    rows = {}
    for line in out.splitlines():
        m = re.match(r"^(.*?)\s+(\d+)\s+([0-9.]+)\s+(\S+)\s+(\S+)$", line)
        if m and m.group(1).strip() in R_CALLS:
            rows[m.group(1).strip()] = float(m.group(3))
    return rows


def r_rows():
    script = R_TIMER
    names = list(R_CALLS)
    for i, name in enumerate(names):
        expr, kind = R_CALLS[name]
        script += f'cat({i}, time_call(function() {expr}), "\\n")\n'
    out = subprocess.run(["Rscript", "-e", script], check=True, capture_output=True, text=True).stdout
    rows = {}
    for line in out.splitlines():
        parts = line.split()
        if len(parts) == 2:
            i, us = int(parts[0]), float(parts[1])
            # The cold row times two calls per loop: per call, half.
            rows[names[i]] = us / 2 if R_CALLS[names[i]][1] == "quantile2" else us
    return rows


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build"
    digits = int(sys.argv[2]) if len(sys.argv) > 2 else 15
    ours = talvo_rows(build, digits)
    theirs = r_rows()
    print(f"{'case':52s} {'digits':>6s} {'talvo_us':>10s} {'R_us':>8s} {'talvo/R':>8s} {'goal':>6s} {'met':>4s}")
    for name in R_CALLS:
        if name not in ours or name not in theirs:
            print(f"{name:52s} {digits:6d} {'missing':>10s}")
            continue
        kind = R_CALLS[name][1]
        ratio = ours[name] / theirs[name]
        goal = GOAL[kind]
        print(f"{name:52s} {digits:6d} {ours[name]:10.2f} {theirs[name]:8.3f} {ratio:8.1f} {goal:6.0f} "
              f"{'yes' if ratio <= goal else 'no':>4s}")


if __name__ == "__main__":
    main()
