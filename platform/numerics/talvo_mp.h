// talvo_mp.h -- libtalvomp: multiprecision probability routines.
//
// The routines keep the argument lists of the double-precision library routines
// the statistics library was designed against (the g01 chapter: tail
// probabilities, deviates and the discrete distributions), with TalvoFloat in
// place of double.  Each works at the current "Digits" D (talvo_float_digits())
// and returns floats at the current precision (talvo_float_precision() bits).
// A result is within one unit in the D-th significant digit of the exact value
// for the given (binary) inputs: every special function is evaluated in ball
// arithmetic (Arb) at a working precision that is raised until the error
// bound is below a quarter of that unit, and then rounded once.  Small tail
// probabilities are computed directly, never as 1 minus the other tail, so
// they carry D correct digits down to the smallest representable values.
//
// Errors.  Every routine ends with a NagError record.  On success its code is
// NE_NOERROR (0).  On failure the code is one of the NE_ values below, the
// message names the routine, the argument and its value and says what is
// required, and a float result is undefined (NaN).  Before returning a
// failure a routine prints the message to standard error when `print` is
// true, and then calls `handler` when one is installed.  A null record pointer
// is allowed: the message is then printed to standard error.  Argument checks
// come first, so nothing is computed from an invalid or undefined input.
// Zero-initialise a record (`NagError fail{};`, or INIT_FAIL(fail)) for
// printing off and no handler.
//
// Tolerance and iteration limit (tol, max_iter) of the non-central routines:
// tol is the relative accuracy wanted; a tol below 10^-D, or not below 1
// (tol = 0 in particular), asks for the full D digits.  max_iter bounds the
// number of terms of the Poisson-weighted series; when more terms are needed
// the routine fails with NE_CONV, returns the partial sum, and its message
// says how many terms the requested accuracy needs.  The tol argument of
// g01eec is ignored (full precision always); g01fec and g01ffc read it as the
// non-central routines do.
//
// Routines accept the inputs for which their distribution is defined (any
// degrees of freedom > 0, for instance); the discrete and non-central routines
// refuse parameters whose series would need more than about 5e7 terms at the
// requested precision (NE_TOO_COSTLY), so no call runs for minutes.
//
// Linkage is C++ (the arguments are TalvoFloat); the functions are exported
// with default visibility.  The library is single-threaded like its host.
#pragma once

#include "talvo_float.hpp"

#include <string>

#define TALVO_MP_API __attribute__((visibility("default")))

// ---------------------------------------------------------------------------
// Types shared with the statistics library
// ---------------------------------------------------------------------------

typedef long Integer;

typedef enum { Nag_FALSE = 0, Nag_TRUE = 1 } Nag_Boolean;

// Which probability a routine computes or a probability argument means.
typedef enum {
    Nag_LowerTail = 1329,     // P(X <= x)
    Nag_UpperTail = 1330,     // P(X >= x)
    Nag_TwoTailSignif = 1331, // P(X >= |x|) + P(X <= -|x|)   (symmetric distributions)
    Nag_TwoTailConfid = 1332, // P(-|x| <= X <= |x|)          (symmetric distributions)
    Nag_TwoTail = 1333        // accepted by no routine of this library
} Nag_TailProbability;

typedef enum { Nag_Ascending = 1597, Nag_Descending = 1598 } Nag_SortOrder;

// Error codes.  The values are fixed: callers map some of them to their own
// messages (a summary routine's 5 for a negative weight, 11 for too few values).
enum {
    NE_NOERROR = 0,
    NE_BAD_PARAM = 1,       // an enumeration argument has a value the routine does not accept
    NE_REAL_ARG_LE = 2,     // a real argument is at or below its (excluded) lower bound
    NE_REAL_ARG_GT = 3,     // a real argument is above its upper bound
    NE_REAL_ARG_GE = 4,     // a real argument is at or above its (excluded) upper bound
    NE_REAL_ARG_LT = 5,     // a real argument is below its lower bound
    NE_REAL_ARG_NAN = 6,    // a real argument is undefined
    NE_REAL_ARG_INF = 7,    // a parameter that must be finite is infinite
    NE_ARG_COMBINATION = 8, // arguments valid one by one but not together (k > n, ...)
    NE_CONV = 9,            // the iteration limit was reached before the requested accuracy
    NE_TOO_COSTLY = 10,     // the parameters need more work than the routine allows
    NE_INT_ARG_LT = 11,     // an integer argument is below its lower bound
    NE_ACCURACY = 12        // the requested accuracy could not be reached
};

#define NAG_ERROR_BUF_LEN 512

typedef void (*NagErrorHandler)(const char *message, int code, const char *routine);

typedef struct NagError {
    int code;                          // NE_NOERROR on success
    Nag_Boolean print;                 // print the message to stderr on failure
    char message[NAG_ERROR_BUF_LEN];   // what went wrong, "" on success
    NagErrorHandler handler;           // called on failure when not null
    Integer iterations;                // NE_CONV: the number of terms the accuracy needs
} NagError;

#define INIT_FAIL(e) ((e) = NagError{})

// ---------------------------------------------------------------------------
// Continuous distributions
// ---------------------------------------------------------------------------

// The cheap first attempt of the deviates at up to 30 digits: a double
// start refined and proven in one interval Newton step, its answer used only
// where it fixes the rounding (on by default; off, every deviate takes its
// full precision loop, as tests do to compare the two).  Returns the
// previous setting.
TALVO_MP_API int TalvoMP_set_fast_paths(int on);
// How many calls a fast path has answered since the library was loaded.
TALVO_MP_API long TalvoMP_fast_path_answers(void);

// The incomplete gamma and beta functions and the non-central series keep the
// ln Gamma values they computed at exact arguments and hand them back when
// the same argument comes again at the same precision (a root search or a
// sample repeats them); the value is the one computed, so results do not
// change.  On by default; off, every value is computed afresh, as tests do to
// compare the two.  Returns the previous setting.
TALVO_MP_API int TalvoMP_set_lgamma_memo(int on);
// How many of those values the table has handed back to the calling thread
// since the library was loaded.
TALVO_MP_API long TalvoMP_lgamma_memo_hits(void);

// Standard normal: tail probability at x (any tail), deviate for p in (0, 1).
TALVO_MP_API TalvoFloat TalvoMP_g01eac(Nag_TailProbability tail, TalvoFloat x, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01fac(Nag_TailProbability tail, TalvoFloat p, NagError *fail);
// The lower-tail deviate of p exactly as g01fac returns it and, where that
// is settled without another error function, *probability = the lower-tail
// probability of that deviate exactly as g01eac returns it (*settled = 1).
// For Newton polishing of the deviate against its probability.
TALVO_MP_API TalvoFloat TalvoMP_g01fac_lower_with_probability(TalvoFloat p, TalvoFloat *probability, int *settled,
                                                              NagError *fail);
// The series behind g01fac's first attempt, for tests: bounds lower <= Q(m)
// <= upper of the upper tail P(Z >= m) from the ball that attempt computes at
// the current "Digits"; returns 0 where the series does not apply.
TALVO_MP_API int TalvoMP_normal_series_enclosure(TalvoFloat m, TalvoFloat *lower, TalvoFloat *upper);
// g01fac's double-double step alone, for tests: the lower (lower != 0) or
// upper tail deviate *z of p at the current "Digits" and P(Z <= *z) in
// *probability (undefined where its rounding was not decided); returns 0,
// setting nothing, where the step declines.
TALVO_MP_API int TalvoMP_normal_deviate_double_double(TalvoFloat p, int lower, TalvoFloat *z, TalvoFloat *probability);

// Student's t with df > 0 degrees of freedom (any tail).
TALVO_MP_API TalvoFloat TalvoMP_g01ebc(Nag_TailProbability tail, TalvoFloat t, TalvoFloat df, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01fbc(Nag_TailProbability tail, TalvoFloat p, TalvoFloat df, NagError *fail);
// The series behind g01fbc's first attempt, for tests: bounds lower <= S <=
// upper of S = P(|T| >= t) (want_s) or C = P(|T| <= t) at t > 0, from the
// ball that attempt computes at the current "Digits"; returns 0 where it
// does not apply.  TalvoMP_t_series_radius_shift(bits) makes every such ball
// 2^bits times too narrow (0: as computed) and returns the previous setting.
TALVO_MP_API int TalvoMP_t_series_enclosure(TalvoFloat t, TalvoFloat df, int want_s, TalvoFloat *lower,
                                            TalvoFloat *upper);
TALVO_MP_API long TalvoMP_t_series_radius_shift(long bits);

// Chi-square: lower or upper tail at x >= 0; lower-tail deviate for 0 <= p < 1.
TALVO_MP_API TalvoFloat TalvoMP_g01ecc(Nag_TailProbability tail, TalvoFloat x, TalvoFloat df, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01fcc(TalvoFloat p, TalvoFloat df, NagError *fail);

// F (variance ratio): lower or upper tail at f >= 0; lower-tail deviate.
TALVO_MP_API TalvoFloat TalvoMP_g01edc(Nag_TailProbability tail, TalvoFloat f, TalvoFloat df1, TalvoFloat df2,
                                       NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01fdc(TalvoFloat p, TalvoFloat df1, TalvoFloat df2, NagError *fail);

// Beta(a, b) at 0 <= x <= 1: lower tail, upper tail and density; deviate for 0 <= p <= 1.
TALVO_MP_API void TalvoMP_g01eec(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat tol, TalvoFloat *p,
                                 TalvoFloat *q, TalvoFloat *pdf, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01fec(TalvoFloat p, TalvoFloat a, TalvoFloat b, TalvoFloat tol, NagError *fail);

// Gamma with shape a and scale b: lower or upper tail at g >= 0; lower-tail deviate.
TALVO_MP_API TalvoFloat TalvoMP_g01efc(Nag_TailProbability tail, TalvoFloat g, TalvoFloat a, TalvoFloat b,
                                       NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01ffc(TalvoFloat p, TalvoFloat a, TalvoFloat b, TalvoFloat tol, NagError *fail);

// Non-central distributions, lower tail only.
//   t:          P(T <= t) with df > 0 and non-centrality delta;
//   chi-square: P(X <= x), x >= 0, df >= 0, lambda >= 0 (lambda > 0 when df = 0);
//   F:          P(F <= f), f >= 0, df1 > 0, df2 > 0, lambda >= 0;
//   beta:       P(B <= x), 0 <= x <= 1, a > 0, b > 0, lambda >= 0.
TALVO_MP_API TalvoFloat TalvoMP_g01gbc(TalvoFloat t, TalvoFloat df, TalvoFloat delta, TalvoFloat tol,
                                       Integer max_iter, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01gcc(TalvoFloat x, TalvoFloat df, TalvoFloat lambda, TalvoFloat tol,
                                       Integer max_iter, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01gdc(TalvoFloat f, TalvoFloat df1, TalvoFloat df2, TalvoFloat lambda,
                                       TalvoFloat tol, Integer max_iter, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_g01gec(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat lambda, TalvoFloat tol,
                                       Integer max_iter, NagError *fail);

// ---------------------------------------------------------------------------
// Discrete distributions: plek = P(X <= k), pgtk = P(X > k), peqk = P(X = k)
// ---------------------------------------------------------------------------

// Binomial(n, p): n >= 0, 0 < p < 1, 0 <= k <= n.
TALVO_MP_API void TalvoMP_g01bjc(Integer n, TalvoFloat p, Integer k, TalvoFloat *plek, TalvoFloat *pgtk,
                                 TalvoFloat *peqk, NagError *fail);
// A double-precision estimate of the smallest k with P(X <= k) >= y for
// Binomial(n, p), for the start of a search that checks it with g01bjc;
// -1 when a double cannot say (n beyond 2^53, p or y at or outside (0, 1),
// y below 10^-280).
TALVO_MP_API Integer TalvoMP_binomial_deviate_start(Integer n, double p, double y);
// Poisson(rlamda): rlamda > 0, k >= 0.
TALVO_MP_API void TalvoMP_g01bkc(TalvoFloat rlamda, Integer k, TalvoFloat *plek, TalvoFloat *pgtk, TalvoFloat *peqk,
                                 NagError *fail);
// Hypergeometric: population n, sample l, m marked items in the population,
// k marked items in the sample: n >= 0, 0 <= l <= n, 0 <= m <= n,
// max(0, l + m - n) <= k <= min(l, m).
TALVO_MP_API void TalvoMP_g01blc(Integer n, Integer l, Integer m, Integer k, TalvoFloat *plek, TalvoFloat *pgtk,
                                 TalvoFloat *peqk, NagError *fail);

// ---------------------------------------------------------------------------
// Summaries of one sample
// ---------------------------------------------------------------------------

// Fail codes of the weighted summary (besides NE_INT_ARG_LT for n < 1 and
// NE_REAL_ARG_LT for a negative weight).
enum {
    NE_WEIGHT_SUM_NOT_POSITIVE = 415, // the weights add up to zero
    NE_TOO_FEW_WEIGHTED = 416         // fewer than two values of non-zero weight
};

// Tukey's five-number summary of x[0..n-1], n >= 5 (NE_INT_ARG_LT below):
// res[0..4] = minimum, lower hinge, median, upper hinge, maximum.  With z
// the sorted sample (1-based), m = n/2 (n even) or (n+1)/2 (n odd) and k =
// m/2 (m even) or (m+1)/2 (m odd): the median is z_m (n odd) or (z_m +
// z_{m+1})/2; the hinges are z_k and z_{n-k+1} (m odd) or (z_k + z_{k+1})/2
// and (z_{n-k} + z_{n-k+1})/2 (m even).  x is not changed.  Undefined values
// sort above every number, so a summary value that reaches one is undefined.
TALVO_MP_API void TalvoMP_g01alc(Integer n, const TalvoFloat x[], TalvoFloat res[], NagError *fail);

// Weighted summary of x[0..n-1] with weights wt (null: every weight 1).
// With W the sum of the weights and d = W - sum(w^2)/W:
//   mean = sum(w x)/W, sd = sqrt(sum(w (x - mean)^2)/d),
//   skew = sum(w (x - mean)^3)/(d sd^3), kurt = sum(w (x - mean)^4)/(d sd^4) - 3,
//   min and max over the values of non-zero weight, wsum = W,
//   nvalid = the number of values of positive weight.  Values of weight
// zero take no part at all.
// The sums are taken at the output precision plus 64 bits plus log2(n), in
// two passes, so cancellation costs no digits the data do not lose
// themselves.  Failures: n < 1 (NE_INT_ARG_LT); a negative weight
// (NE_REAL_ARG_LT); W = 0 (NE_WEIGHT_SUM_NOT_POSITIVE); fewer than two values
// of positive weight (NE_TOO_FEW_WEIGHTED: mean, min, max and wsum are still
// set).  A sample of zero variance has undefined skew and kurt.  Undefined
// values or weights make the results they enter undefined; an undefined
// value makes min and max undefined.
TALVO_MP_API void TalvoMP_g01aac(Integer n, const TalvoFloat x[], const TalvoFloat wt[], Integer *nvalid,
                                 TalvoFloat *xmean, TalvoFloat *xsd, TalvoFloat *xskew, TalvoFloat *xkurt,
                                 TalvoFloat *xmin, TalvoFloat *xmax, TalvoFloat *wsum, NagError *fail);

// ---------------------------------------------------------------------------
// Extensions: densities and upper tails that the routines above lack, for the
// statistics library's extension entries.  Same conventions: the current
// "Digits", one unit in the last digit, argument checks first, the NagError
// record (these routines are named in its messages).
// ---------------------------------------------------------------------------

// Densities of the central laws (the beta density is an output of g01eec):
// the standard normal; Student's t with df > 0; chi-square at x >= 0, df > 0;
// gamma at g >= 0 with shape a > 0 and scale b > 0; F at f >= 0, df1, df2 > 0.
// At the lower end of the support (x = 0) a density may be infinite.
TALVO_MP_API TalvoFloat TalvoMP_normal_pdf(TalvoFloat x, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_student_t_pdf(TalvoFloat t, TalvoFloat df, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_chi_square_pdf(TalvoFloat x, TalvoFloat df, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_gamma_pdf(TalvoFloat g, TalvoFloat a, TalvoFloat b, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_f_pdf(TalvoFloat f, TalvoFloat df1, TalvoFloat df2, NagError *fail);

// Upper tails P(X > x) of the non-central chi-square, beta and F laws, with the
// arguments, tol and max_iter of g01gcc, g01gec and g01gdc.
TALVO_MP_API TalvoFloat TalvoMP_noncentral_chi_square_upper(TalvoFloat x, TalvoFloat df, TalvoFloat lambda,
                                                            TalvoFloat tol, Integer max_iter, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_noncentral_beta_upper(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat lambda,
                                                      TalvoFloat tol, Integer max_iter, NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_noncentral_f_upper(TalvoFloat f, TalvoFloat df1, TalvoFloat df2, TalvoFloat lambda,
                                                   TalvoFloat tol, Integer max_iter, NagError *fail);

// Densities of the non-central laws: chi-square (df > 0, lambda >= 0), beta
// (0 <= x <= 1, a, b > 0, lambda >= 0), F (f >= 0, df1, df2 > 0, lambda >= 0)
// and t (df > 0, any delta).
TALVO_MP_API TalvoFloat TalvoMP_noncentral_chi_square_pdf(TalvoFloat x, TalvoFloat df, TalvoFloat lambda,
                                                          NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_noncentral_beta_pdf(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat lambda,
                                                    NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_noncentral_f_pdf(TalvoFloat f, TalvoFloat df1, TalvoFloat df2, TalvoFloat lambda,
                                                 NagError *fail);
TALVO_MP_API TalvoFloat TalvoMP_noncentral_t_pdf(TalvoFloat t, TalvoFloat df, TalvoFloat delta, NagError *fail);

// ---------------------------------------------------------------------------
// Fourier transforms of real and Hermitian sequences (fft/)
// ---------------------------------------------------------------------------
//
// Fortran argument lists: the failure indicator IFAIL is in and out.  On
// entry 1 asks for a quiet failure, 0 or -1 for the message on standard
// error as well (0, a "hard" failure, returns too: a library does not stop
// its host); on exit 0 means success.  A null ifail counts as 0 on entry.
//
// Both transforms compute z^_k = (1/sqrt(n)) sum_j z_j exp(-2 pi i jk/n),
// k = 0 .. n-1, for every length n >= 1 (mixed radix; Rader's and
// Bluestein's algorithms for large prime factors; O(n log n) operations).
// A Hermitian sequence (z_{n-k} = conj(z_k)) is stored in x[0..n-1] as
// Re z_k in x[k] for 0 <= k <= n/2 and Im z_k in x[n-k] for
// 1 <= k <= (n-1)/2.  c06faf, then c06gbf, then c06fbf give back the data.
// Results are floats of the current precision, each within half a unit in
// its last place plus a small fraction (a few times 2^-12) of a unit in the
// last place of the largest result (see docs/numerics.md).  work[0..n-1] is
// not referenced.
// IFAIL on exit: 3 for n < 1 (c06faf, c06fbf), 1 for n < 1 (c06gbf), -999
// when the plan's arrays cannot be allocated.

// x real -> its transform in Hermitian storage.
TALVO_MP_API void TalvoMP_c06faf(TalvoFloat x[], Integer n, TalvoFloat work[], Integer *ifail);
// x Hermitian (stored as above) -> its transform, which is real.
TALVO_MP_API void TalvoMP_c06fbf(TalvoFloat x[], Integer n, TalvoFloat work[], Integer *ifail);
// The conjugate of a Hermitian sequence: x[j] = -x[j] for n/2 < j < n.
TALVO_MP_API void TalvoMP_c06gbf(TalvoFloat x[], Integer n, Integer *ifail);
// How the transforms of length n >= 1 are made, for tests and benchmarks:
// "2 x (P)" (even n: P is the plan of the complex transform of length n/2)
// or P (odd n), where P lists the stage radices outermost first and a prime
// stage names its convolution, e.g. "4*4*1009:rader(4*4*7*3*3)" or
// "1019:bluestein(2*3*...)"; "" for n < 1.
TALVO_MP_API std::string TalvoMP_fft_plan(Integer n);
// Sorting and ranking (m01), and the Shapiro-Wilk test (g01ddc)
// ---------------------------------------------------------------------------

// Untyped pointers of the ranking routine: the objects it ranks and the
// arguments of the caller's comparison function.
typedef void *Pointer;
typedef void *Nag_Pointer;

// Fail codes of the sorting routines and the Shapiro-Wilk test (besides
// NE_BAD_PARAM for an order that is neither ascending nor descending,
// NE_INT_ARG_LT for too few values and NE_REAL_ARG_NAN / NE_REAL_ARG_INF for
// an undefined or infinite value).
enum {
    NE_INT_ARG_GT = 17,      // an integer argument is above its upper bound
    NE_INT_ARG_EQ = 18,      // an argument has a value it may not take (a zero stride)
    NE_ALL_ELEMENTS_EQUAL = 19, // every value of the sample is the same
    NE_NOT_SORTED = 20,      // the values are in neither ascending nor descending order
    NE_NULL_ARGUMENT = 21    // a required function pointer is null
};

// Sorts vec[0..n-1] in place, ascending or descending.  Undefined values
// order above every number (last in ascending order, first in
// descending order).  Not stable.  Any n is accepted (0 and 1 change
// nothing).  Method: Singleton's median-of-three quicksort with a final
// insertion pass; see sorting.cpp.
TALVO_MP_API void TalvoMP_m01cac(TalvoFloat vec[], size_t n, Nag_SortOrder order, NagError *fail);

// Ranks n objects that lie `stride` bytes apart: object i is at
// (char *)vec + i * stride (a negative stride makes vec the last object in
// memory).  compare(a, b) returns a negative value, 0 or a positive value
// when object a orders before, with or after object b.  ranks[i] receives
// the 0-based rank of object i in the requested order; equal objects keep
// the order they have in vec (the ranking is stable in both orders).
// Failures: NE_BAD_PARAM (order), NE_INT_ARG_EQ (stride 0), NE_INT_ARG_GT
// (|stride| * n beyond the address space), NE_NULL_ARGUMENT (no compare).
TALVO_MP_API void TalvoMP_m01dsc(const Pointer vec, size_t n, ptrdiff_t stride,
                                 Integer (*compare)(const Nag_Pointer a, const Nag_Pointer b), Nag_SortOrder order,
                                 size_t ranks[], NagError *fail);

// The Shapiro-Wilk W statistic of the sorted sample x[0..n-1] (ascending or
// descending), 3 <= n <= 5000, and its significance level pw (the upper
// tail probability of W), by Royston's algorithm AS R94.  With calc_wts
// true the coefficients a[0..n-1] are computed and returned (antisymmetric:
// a[n-1-i] = -a[i], a[n-1] > 0); with calc_wts false a must hold the
// coefficients of an earlier call with the same n.  W and pw are the
// algorithm's formulas evaluated exactly and rounded once to the current
// precision.  Failures: NE_INT_ARG_LT (n < 3), NE_INT_ARG_GT (n > 5000),
// NE_REAL_ARG_NAN / NE_REAL_ARG_INF (a value undefined or infinite),
// NE_NOT_SORTED, NE_ALL_ELEMENTS_EQUAL (W is then undefined).
TALVO_MP_API void TalvoMP_g01ddc(Integer n, const TalvoFloat x[], Nag_Boolean calc_wts, TalvoFloat a[],
                                 TalvoFloat *w, TalvoFloat *pw, NagError *fail);
// Dense linear algebra and the regression routines
// ---------------------------------------------------------------------------

#include "talvo_mp_linalg.h"
#include "talvo_mp_regression.h"
#include "talvo_mp_optimization.h"
#include "talvo_mp_sparse.h"
