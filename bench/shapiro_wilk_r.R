#!/usr/bin/Rscript
# The peer of the Shapiro-Wilk row of bench_dataprep: R's shapiro.test
# (AS R94 in double precision) on 5000 normal values, milliseconds per call
# (best of three runs of 200 calls).  Run: Rscript bench/shapiro_wilk_r.R
set.seed(1)
x <- rnorm(5000)
best <- Inf
for (run in 1:3) {
  t <- system.time(for (i in 1:200) shapiro.test(x))[["elapsed"]]
  best <- min(best, t / 200)
}
cat(sprintf("R shapiro.test of 5000 values: %.3f ms per call\n", best * 1000))
