#!/usr/bin/Rscript
# Reference values of the Shapiro-Wilk test: W and its p-value from R's
# shapiro.test, which implements Royston's algorithm AS R94 in double
# precision.  Run with Debian's r-base-core from the top of the checkout:
#
#     Rscript scripts/reference/shapiro_wilk_published.R
#
# Writes
#   tests/numerics/data/shapiro_wilk/g01ddc_samples.tsv   name, n, the values (unsorted,
#                                                  decimal text with at most 7
#                                                  significant digits)
#   tests/numerics/data/shapiro_wilk/g01ddc_published.tsv name, n, W, p (17 digits)
# The samples are drawn here once (fixed seed) and rounded to short decimals,
# so the test reads exactly the values R was given.  They cover every
# branch of the algorithm: n = 3 (exact p-value), 4 and 5 (one corrected
# coefficient), 6 to 11 (two, and the small-sample transformation), 12 and
# more; normal data (p in the middle), skewed and heavy-tailed data (small
# p), ties, a large common offset, and the extreme sizes 3 and 5000.

set.seed(20240617)
out_dir <- "tests/numerics/data/shapiro_wilk"

# Each sample is kept as decimal text of `digits` significant digits, the
# text is what both R and the test read.
samples <- list()
add <- function(name, x, digits = 7) samples[[name]] <<- sprintf(paste0("%.", digits, "g"), signif(x, digits))

add("n3_spread", c(1.5, -0.25, 0.75))
add("n3_ties", c(2, 2, 5))
add("n3_even", c(1, 3, 2))
add("n3_skew", c(0.1, 0.2, 9.7))
add("n4_normal", rnorm(4))
add("n4_skew", c(0, 0, 0.5, 7))
add("n5_normal", rnorm(5))
add("n5_exp", rexp(5))
add("n6_normal", rnorm(6))
add("n7_unif", runif(7))
add("n8_exp", rexp(8))
add("n10_normal", rnorm(10, 50, 3))
add("n11_cauchy", rcauchy(11))
add("n11_normal", rnorm(11))
add("n12_normal", rnorm(12))
add("n12_exp", rexp(12))
add("n15_unif", runif(15))
add("n20_normal", rnorm(20))
add("n20_exp", rexp(20, 2))
add("n20_ties", round(rnorm(20), 1))
add("n20_offset", 1000000 + round(rnorm(20), 3), digits = 10)
add("n50_normal", rnorm(50, -3, 0.5))
add("n100_normal", rnorm(100))
add("n100_lognormal", rlnorm(100))
add("n100_t3", rt(100, 3))
add("n1000_normal", rnorm(1000))
add("n5000_normal", rnorm(5000))
add("n5000_unif", runif(5000))

fmt <- function(v) trimws(formatC(v, digits = 17, format = "g"))

lines_s <- c("# name\tn\tvalues (comma separated; written by scripts/reference/shapiro_wilk_published.R)")
lines_p <- c(paste0("# name\tn\tW\tp from R ", R.version$major, ".", R.version$minor,
                    " shapiro.test (AS R94 in double precision);",
                    " written by scripts/reference/shapiro_wilk_published.R"))
for (name in names(samples)) {
  text <- samples[[name]]
  r <- shapiro.test(as.numeric(text))
  lines_s <- c(lines_s, paste(name, length(text), paste(text, collapse = ","), sep = "\t"))
  lines_p <- c(lines_p, paste(name, length(text), fmt(unname(r$statistic)), fmt(r$p.value), sep = "\t"))
}
writeLines(lines_s, file.path(out_dir, "g01ddc_samples.tsv"))
writeLines(lines_p, file.path(out_dir, "g01ddc_published.tsv"))
