// talvo_mp_regression.h -- libtalvomp: the regression routines (the g02
// chapter): the multiple linear regression fit, standardised residuals and
// influence statistics, and the Durbin-Watson test.  Included from
// talvo_mp.h; the methods and their accuracy are in docs/regression.md.
//
// Arrays hold TalvoFloat values (Integer values for isx), indexed from 0;
// two-dimensional arrays are stored as their argument lists say.  Results are
// floats at the current "Digits"; the routines work at that precision plus
// guard bits (and, for the fit, plus twice the bits of the condition number
// of the design, so that the digits the data determine come out).
#pragma once

#include "talvo_mp.h"

// Failure codes of the regression routines besides the shared NE_ codes.
enum {
    NE_ARRAY_ELEMENT = 430,     // an element of an array argument is outside its range or undefined
    NE_RESIDUALS_ZERO = 431,    // every residual is zero (g02fcc)
    NE_STUDENTIZED_LARGE = 432  // a standardised residual too large for the deletion statistics (g02fac)
};

// Multiple linear regression fit, y = X b + e, by least squares (weighted when
// weight is "W"), with the Fortran argument list and failure indicator.
//
//   mean     "M": the model has an intercept (b[0]); "Z": through the origin.
//   weight   "U": unweighted; "W": observation i has weight wt[i] >= 0 (a zero
//            weight leaves the observation out of the fit; its residual is
//            still y_i - x_i b and its leverage is 0).
//   mean_len, weight_len: the lengths of the two texts (at least 1 each);
//            the first letter counts, in either case.
//   n        number of observations (>= 2); x (ldx x m, column-major, ldx >=
//            n): column j holds variable j; isx[j] > 0 puts variable j in the
//            model, isx[j] = 0 leaves it out; ip = number of parameters: the
//            variables put in, plus 1 with a mean (1 <= ip <= n).
//   y[n], wt[n] (read only when weighted).
//   tol      rank tolerance, >= 0: a singular value of the (weighted) design
//            counts when it exceeds tol times the largest one.
// Outputs:
//   rss      residual sum of squares sum w_i r_i^2;  idf = n' - rank (n' the
//            number of observations of non-zero weight);
//   b[ip], se[ip]     estimates and their standard errors;
//   cov[ip (ip+1)/2]  their variance-covariance matrix, upper triangle packed
//            by columns: cov(i, j), i <= j, at cov[j (j + 1) / 2 + i];
//   res[n], h[n]      residuals y_i - x_i b and leverages (the diagonal of the
//            hat matrix of the weighted design);
//   q (ldq x (ip + 1), ldq >= n): columns 0..ip-1 the Householder QR of the
//            weighted design (R on and above the diagonal, the reflectors
//            below it, scalars in p[0..ip-1]); column ip: Q^T (W^1/2 y);
//   svd      1 when the design was found rank deficient and the solution
//            came from the singular value decomposition of R (the minimum-
//            norm least-squares solution), else 0;  irank the rank;
//   p[2 ip + ip ip]   p[0..ip-1] the reflector scalars, p[ip..2ip-1] the
//            singular values of R in decreasing order, then the ip x ip
//            matrix V of right singular vectors, column-major;
//   wk       workspace of the argument list; not used.
// ifail on entry: 1 for a quiet failure, anything else prints the failure's
// message to standard error (no value stops the process).  On exit:
//   0 success;
//   1 n < 2, m < 1, ip < 1, ldx < n, ldq < n, ip > n, tol < 0, or mean or
//     weight not one of its letters (nothing is written);
//   2 a weight is negative or undefined (nothing is written);
//   3 ip differs from the number of variables put in (plus 1 with a mean),
//     or an isx[j] is negative (nothing is written);
//   4 the singular value decomposition did not converge (every output is
//     written from the last iterate);
//   5 the rank is 0: the design is zero, or tol >= 1 (b, se and cov are 0,
//     res = y, h = 0, rss = sum w y^2, idf = n');
//   6 idf = 0: the fit is exact and no standard error can be estimated (se
//     and cov are 0; everything else is written).
TALVO_MP_API void TalvoMP_g02daf_f(const char *mean, const char *weight, Integer n, const TalvoFloat x[],
                                   Integer ldx, Integer m, const Integer isx[], Integer ip, const TalvoFloat y[],
                                   const TalvoFloat wt[], TalvoFloat *rss, Integer *idf, TalvoFloat b[],
                                   TalvoFloat se[], TalvoFloat cov[], TalvoFloat res[], TalvoFloat h[],
                                   TalvoFloat q[], Integer ldq, Integer *svd, Integer *irank, TalvoFloat p[],
                                   TalvoFloat tol, TalvoFloat wk[], Integer *ifail, Integer mean_len,
                                   Integer weight_len);

// Standardised residuals and influence statistics of the first nres
// observations of a fit of n observations and ip parameters, from their
// residuals res, leverages h and the residual mean square rms (= s^2 =
// rss / (n - ip)).  Row i of sres (row-major, sres[4 i + j]) holds
//   j = 0: the internally studentised residual  r_i / (s sqrt(1 - h_i));
//   j = 1: the externally studentised residual  r_i / (s_(i) sqrt(1 - h_i)),
//          with s_(i)^2 = ((n - ip) s^2 - r_i^2 / (1 - h_i)) / (n - ip - 1);
//   j = 2: Cook's distance  D_i = t_i^2 h_i / (ip (1 - h_i)), t_i the first;
//   j = 3: Atkinson's T_i = |e_i| sqrt((n - ip) h_i / (ip (1 - h_i))), e_i the
//          second.
// Each value is the correctly rounded value of its formula.  Failures:
// NE_INT_ARG_LT (ip < 1, nres < 1), NE_ARG_COMBINATION (n <= ip + 1, nres >
// n), NE_REAL_ARG_LE (rms <= 0 or undefined), NE_ARRAY_ELEMENT (an h_i
// outside (0, 1), or an undefined or infinite residual), NE_STUDENTIZED_LARGE
// (t_i^2 >= n - ip: the observation's deletion leaves no residual variance).
// On failure sres is not written.
TALVO_MP_API void TalvoMP_g02fac(Integer n, Integer ip, Integer nres, const TalvoFloat res[], const TalvoFloat h[],
                                 TalvoFloat rms, TalvoFloat sres[], NagError *fail);

// The Durbin-Watson statistic of the n residuals of a fit with ip
// parameters (the mean included),
//   d = sum_{i=1}^{n-1} (r_{i+1} - r_i)^2 / sum_{i=1}^{n} r_i^2,
// and the probabilities of the bounding statistics: with nu_j = 4
// sin^2(pi j / (2 n)) (j = 1..n-1) the non-zero eigenvalues of the
// Durbin-Watson matrix and z_j independent standard normals,
//   pdl = P(d_L <= d),  d_L = sum_{j=1}^{n-ip} nu_j z_j^2 / sum z_j^2,
//   pdu = P(d_U <= d),  d_U = sum_{j=1}^{n-ip} nu_{j+ip-1} z_j^2 / sum z_j^2,
// so pdu <= P(D <= d) <= pdl for the statistic D of any design with a mean.
// The probabilities come from exact integral representations (Pan's 1964
// finite-interval formula when at most 8 weights d - nu_j lie on one side of
// zero, Imhof's 1961 integral otherwise), each integral evaluated in ball
// arithmetic with a rigorous error bound, and are right to the last digit.  work[n]: on exit work[0..n-2] hold nu_1 ..
// nu_{n-1}.  Failures (nothing written): NE_INT_ARG_LT (ip < 1),
// NE_ARG_COMBINATION (n <= ip), NE_ARRAY_ELEMENT (an undefined or infinite
// residual), NE_RESIDUALS_ZERO (every residual is zero).
TALVO_MP_API void TalvoMP_g02fcc(Integer n, Integer ip, const TalvoFloat res[], TalvoFloat *d, TalvoFloat *pdl,
                                 TalvoFloat *pdu, TalvoFloat work[], NagError *fail);
