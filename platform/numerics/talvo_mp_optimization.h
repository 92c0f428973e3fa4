// talvo_mp_optimization.h -- minimisers of libtalvomp (the e04 chapter).
//
// The routines keep the published argument lists of the double-precision
// routines (every argument by address, as a Fortran caller passes it, and a
// hidden length after each character argument), with TalvoFloat in place of
// REAL and Integer in place of INTEGER and LOGICAL.  User routines are plain
// function pointers with the published argument lists.
//
// Precision.  Every routine works at the current "Digits" D: its floats are
// TalvoFloats of the current precision, and every tolerance that a
// double-precision code ties to machine epsilon is derived from
// eps = 10^-D instead (a default of sqrt(machine epsilon) becomes
// 10^(-D/2), and so on).  A tolerance argument below eps means "the default".
//
// IFAIL.  The last argument receives the failure indicator on exit (0:
// success; the routine's codes below).  The value on entry is not read: a
// failure never stops the program, the caller reads the code.  Two codes are
// common to every routine that calls a user routine:
//   -1  the user routine asked to stop (a negative IFLAG or MODE);
//   11  a user routine returned an undefined value (or an infinite value at
//       the start point, where no finite value is known yet).
// An infinite value at a trial point is taken as "much larger": the step is
// shortened.  Errors a user routine throws (C++ exceptions, host errors)
// pass through the routine unchanged; it holds no state outside the call.
//
// Methods (docs/numerics.md, "Optimisation"):
//   e04aba  Brent's method: golden section and safeguarded parabolic
//           interpolation on a bracket (Brent 1973, ch. 5);
//   e04cca  the Nelder-Mead simplex (Nelder and Mead 1965), stopped on the
//           standard deviation of the vertex values;
//   e04dga  limited-memory BFGS (Nocedal 1980) with a line search meeting
//           the strong Wolfe conditions (More and Thuente 1994 style
//           bracketing and zoom, Nocedal and Wright alg. 3.5/3.6), options
//           set by e04dka in the save arrays that e04wbf initialises;
//   e04kdf  projected modified Newton (Gill and Murray 1974; Bertsekas 1982
//           for the projection arc) on simple bounds, Hessian by forward
//           differences of the gradient, modified Cholesky factorisation;
//   e04fcf  Gauss-Newton on the singular value decomposition of a
//           finite-difference Jacobian, damped Levenberg-Marquardt fashion
//           when the Gauss-Newton step does not reduce the sum of squares,
//           and augmented by a quasi-Newton approximation of the
//           second-order term where that models the sum of squares better
//           (the Gauss-Newton/quasi-Newton hybrid of Gill and Murray 1978,
//           with the secant update of Dennis, Gay and Welsch 1981);
//   e04mfa, e04nca, e04nfa  one two-phase, inertia-controlling active-set
//           method (optimization/active_set.hpp; docs/numerics.md, "Linear
//           and quadratic programming"): TQ factorisation of the working
//           set and a reduced-Hessian Cholesky factor, both updated by plane
//           rotations (Gill, Murray, Saunders and Wright 1986, 1991).
#pragma once

#include "talvo_float.hpp"

#define TALVO_MP_OPT_API __attribute__((visibility("default")))

typedef long Integer;

// ---------------------------------------------------------------------------
// e04aba: minimum of a function of one variable on [a, b], values only
// ---------------------------------------------------------------------------

// funct(xc, fc, iuser, ruser): *fc = F(*xc).
typedef void (*TalvoMP_e04aba_funct)(const TalvoFloat *xc, TalvoFloat *fc, Integer *iuser, TalvoFloat *ruser);

// e1, e2: relative and absolute accuracy of x (defaults 10^(-D/2) and
// 10^(-D/2) when below eps); a, b: the interval, on exit the final bracket;
// maxcal: at most that many evaluations (>= 3), on exit the number used;
// x, f: the minimiser and its value.
// IFAIL: 1 a + e2 >= b or maxcal < 3; 2 maxcal reached (x, f the best point).
TALVO_MP_OPT_API void TalvoMP_e04aba_(TalvoMP_e04aba_funct funct, TalvoFloat *e1, TalvoFloat *e2, TalvoFloat *a,
                                      TalvoFloat *b, Integer *maxcal, TalvoFloat *x, TalvoFloat *f, Integer *iuser,
                                      TalvoFloat *ruser, Integer *ifail);

// ---------------------------------------------------------------------------
// e04cca: unconstrained minimum by the Nelder-Mead simplex, values only
// ---------------------------------------------------------------------------

// funct(n, xc, fc, iuser, ruser): *fc = F(xc).
typedef void (*TalvoMP_e04cca_funct)(Integer *n, const TalvoFloat *xc, TalvoFloat *fc, Integer *iuser,
                                     TalvoFloat *ruser);
// monit(fmin, fmax, sim, n, is, ncall, iuser, ruser): called once per
// iteration with the lowest and highest vertex values and the simplex (row
// k of the is x n column-major array sim is vertex k).
typedef void (*TalvoMP_e04cca_monit)(TalvoFloat *fmin, TalvoFloat *fmax, const TalvoFloat *sim, Integer *n,
                                     Integer *is, Integer *ncall, Integer *iuser, TalvoFloat *ruser);

// x (n): start, on exit the best vertex; f its value; tol: the iteration
// stops when the standard deviation of the n + 1 vertex values is below tol
// (below eps: eps^(3/4)); iw = n + 1; w1..w4 (n), w5 (n + 1), w6 (iw x n):
// workspace (w5 holds the vertex values and w6 the simplex on exit); monit
// may be null.
// IFAIL: 1 n < 1, iw != n + 1 or maxcal < 1; 2 maxcal evaluations made.
TALVO_MP_OPT_API void TalvoMP_e04cca_(Integer *n, TalvoFloat *x, TalvoFloat *f, TalvoFloat *tol, Integer *iw,
                                      TalvoFloat *w1, TalvoFloat *w2, TalvoFloat *w3, TalvoFloat *w4, TalvoFloat *w5,
                                      TalvoFloat *w6, TalvoMP_e04cca_funct funct, TalvoMP_e04cca_monit monit,
                                      Integer *maxcal, Integer *iuser, TalvoFloat *ruser, Integer *ifail);

// ---------------------------------------------------------------------------
// Save arrays and options (e04wbf, e04dka)
// ---------------------------------------------------------------------------

// Sizes the save arrays must have at least.
enum { kTalvoOptLwsav = 120, kTalvoOptIwsav = 610, kTalvoOptRwsav = 475 };

// Initialises the save arrays for routine rname ("E04DGA", "E04MFA",
// "E04NCA", "E04NFA", "E04UCA", "E04USA", any case): every option at its
// default.  cwsav/lcwsav are accepted and not used (may be null / 0).
// IFAIL: 1 rname not one of those; 2 an array shorter than its size above.
TALVO_MP_OPT_API void TalvoMP_e04wbf_(const char *rname, char *cwsav, Integer *lcwsav, Integer *lwsav,
                                      Integer *llwsav, Integer *iwsav, Integer *liwsav, TalvoFloat *rwsav,
                                      Integer *lrwsav, Integer *ifail, int rname_length, int cwsav_length);

// Sets one option of e04dga from the string str (at most 72 characters):
// "Defaults", "Nolist", "List", "Iteration(s) Limit i", "Iters i",
// "Itns i", "Optimality Tolerance r", "Function Precision r", "Linesearch
// Tolerance r", "Line Search Tolerance r", "Maximum Step Length r",
// "Estimated Optimal Function Value r", "Print Level i", "Verify Level i",
// "Verify [Yes|No|Objective Gradients]", "Start Objective Check At Variable
// i", "Stop Objective Check At Variable i"; items separated by blanks or
// "=", case ignored, text after '*' ignored, a keyword may be shortened to
// its first letters where no other keyword starts the same way (Iteration,
// Iterations).  Settings persist in the arrays until changed or reset.
// The default iteration limit is max(50, 5n) times ceil(D / 15); the
// default optimality tolerance is 10^-D; the line search tolerance 0.9; the
// maximum step length 1e20.  "Function Precision", "Print Level" and
// "Estimated Optimal Function Value" are accepted and kept but not used by
// this method (it prints nothing, and needs no estimate).
// inform: 0 accepted; 1 the arrays were not initialised for e04dga; 2 not
// a keyword; 3 the value is missing or not a number; 4 the value is out of
// range.
TALVO_MP_OPT_API void TalvoMP_e04dka_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *inform, int str_length);

// ---------------------------------------------------------------------------
// e04dga: unconstrained minimum, limited-memory quasi-Newton, gradients
// ---------------------------------------------------------------------------

// objfun(mode, n, x, objf, objgrd, nstate, iuser, ruser): mode 0 the value,
// 1 the gradient, 2 both; nstate 1 on the first call; a negative mode set
// by the routine stops the solve (IFAIL -1).
typedef void (*TalvoMP_e04dga_objfun)(Integer *mode, Integer *n, const TalvoFloat *x, TalvoFloat *objf,
                                      TalvoFloat *objgrd, Integer *nstate, Integer *iuser, TalvoFloat *ruser);

// iwork (n + 1), work (13 n): workspace.  lwsav/iwsav/rwsav: initialised
// by e04wbf("E04DGA"), options by e04dka.
// IFAIL: 3 iteration limit; 4 a step hit the maximum step length without a
// lower point; 6 the current point cannot be improved on (the optimality
// conditions hold only approximately); 7 a gradient check failed
// (Verify Level > 0); 8 the gradient at the start point is zero to the
// working precision (x0 returned); 9 n < 1 or arrays not initialised.
TALVO_MP_OPT_API void TalvoMP_e04dga_(Integer *n, TalvoMP_e04dga_objfun objfun, Integer *iter, TalvoFloat *objf,
                                      TalvoFloat *objgrd, TalvoFloat *x, Integer *iwork, TalvoFloat *work,
                                      Integer *iuser, TalvoFloat *ruser, Integer *lwsav, Integer *iwsav,
                                      TalvoFloat *rwsav, Integer *ifail);

// ---------------------------------------------------------------------------
// e04kdf: minimum on simple bounds, modified Newton, first derivatives
// ---------------------------------------------------------------------------

// funct(iflag, n, xc, fc, gc, iw, liw, w, lw): iflag 1 the gradient only,
// 2 value and gradient; a negative iflag set by the routine stops (-1).
typedef void (*TalvoMP_e04kdf_funct)(Integer *iflag, Integer *n, const TalvoFloat *xc, TalvoFloat *fc,
                                     TalvoFloat *gc, Integer *iw, Integer *liw, TalvoFloat *w, Integer *lw);
// monit(n, xc, fc, gc, istate, gpjnrm, cond, posdef, niter, nf, iw, liw, w, lw).
typedef void (*TalvoMP_e04kdf_monit)(Integer *n, const TalvoFloat *xc, TalvoFloat *fc, const TalvoFloat *gc,
                                     const Integer *istate, TalvoFloat *gpjnrm, TalvoFloat *cond, Integer *posdef,
                                     Integer *niter, Integer *nf, Integer *iw, Integer *liw, TalvoFloat *w,
                                     Integer *lw);

// iprint: monit every iprint iterations (<= 0: never; monit may then be
// null); maxcal: at most that many calls of funct; eta: line search
// accuracy in [0, 1) (0.9 by default when out of range); xtol: accuracy of
// x (eps^(3/4) below eps); delta: relative difference interval for the
// Hessian (10^(-D/2) below eps); stepmx: largest step; ibound: 0 bounds
// bl/bu, 1 none, 2 x >= 0, 3 every x_j in [bl(1), bu(1)]; x: start, on exit
// the minimiser; hesl (lh >= max(n(n-1)/2, 1)), hesd (n): the factors
// L D L^T of the projected Hessian (free variables first); istate (n):
// 0 free, -1 at its upper bound, -2 at its lower bound, -3 fixed (bl = bu);
// f, g: value and gradient at x; iw (liw >= 3), w (lw >= 7n + n(n-1)/2):
// workspace passed to funct and monit; on exit iw(1) holds the number of
// iterations, iw(2) the number of calls of funct, iw(3) 1 when the last
// Hessian needed no modification (0 otherwise), w(1) the norm of the
// projected gradient and w(2) the condition estimate max D / min D.
// IFAIL: 1 invalid input; 2 maxcal reached; 3 the conditions for a minimum
// hold only approximately (no lower point found near x).
TALVO_MP_OPT_API void TalvoMP_e04kdf_(Integer *n, TalvoMP_e04kdf_funct funct, TalvoMP_e04kdf_monit monit,
                                      Integer *iprint, Integer *maxcal, TalvoFloat *eta, TalvoFloat *xtol,
                                      TalvoFloat *delta, TalvoFloat *stepmx, Integer *ibound, TalvoFloat *bl,
                                      TalvoFloat *bu, TalvoFloat *x, TalvoFloat *hesl, Integer *lh, TalvoFloat *hesd,
                                      Integer *istate, TalvoFloat *f, TalvoFloat *g, Integer *iw, Integer *liw,
                                      TalvoFloat *w, Integer *lw, Integer *ifail);

// ---------------------------------------------------------------------------
// e04fcf: unconstrained nonlinear least squares, no derivatives
// ---------------------------------------------------------------------------

// lsqfun(iflag, m, n, xc, fvec, iw, liw, w, lw): the m residuals at xc; a
// negative iflag set by the routine stops (-1).
typedef void (*TalvoMP_e04fcf_lsqfun)(Integer *iflag, Integer *m, Integer *n, const TalvoFloat *xc,
                                      TalvoFloat *fvec, Integer *iw, Integer *liw, TalvoFloat *w, Integer *lw);
// lsqmon(m, n, xc, fvec, fjac, ldfjac, s, igrade, niter, nf, iw, liw, w, lw).
typedef void (*TalvoMP_e04fcf_lsqmon)(Integer *m, Integer *n, const TalvoFloat *xc, const TalvoFloat *fvec,
                                      const TalvoFloat *fjac, Integer *ldfjac, const TalvoFloat *s, Integer *igrade,
                                      Integer *niter, Integer *nf, Integer *iw, Integer *liw, TalvoFloat *w,
                                      Integer *lw);

// m >= n >= 1; iprint: lsqmon every iprint iterations (<= 0: never);
// maxcal: at most that many calls of lsqfun (Jacobian differences
// included); eta: not used by this method (kept for the list; must be in
// [0, 1)); xtol: relative accuracy of x (eps^0.85 below eps); stepmx:
// largest step relative to |x| + 1; x: start, on exit the minimiser;
// fsumsq, fvec: the sum of squares and residuals there; fjac (ldfjac x n),
// s (n), v (ldv x n): the finite-difference Jacobian at x, its singular
// values and right singular vectors; niter, nf: iterations and calls made;
// iw (liw >= 1), w (lw >= 1): passed to lsqfun and lsqmon; on exit iw(1)
// holds the grade of the last Jacobian (the number of singular values
// used).
// IFAIL: 1 invalid input; 2 maxcal reached; 3 the conditions for a minimum
// hold only approximately (no lower point found); 4 the singular value
// decomposition did not converge.
TALVO_MP_OPT_API void TalvoMP_e04fcf_(Integer *m, Integer *n, TalvoMP_e04fcf_lsqfun lsqfun,
                                      TalvoMP_e04fcf_lsqmon lsqmon, Integer *iprint, Integer *maxcal, TalvoFloat *eta,
                                      TalvoFloat *xtol, TalvoFloat *stepmx, TalvoFloat *x, TalvoFloat *fsumsq,
                                      TalvoFloat *fvec, TalvoFloat *fjac, Integer *ldfjac, TalvoFloat *s,
                                      TalvoFloat *v, Integer *ldv, Integer *niter, Integer *nf, Integer *iw,
                                      Integer *liw, TalvoFloat *w, Integer *lw, Integer *ifail);

// ---------------------------------------------------------------------------
// Linear and quadratic programming (one active-set engine:
// optimization/active_set.hpp), the option setters of the save-array
// solvers, and the integer LP.  Each routine's comment gives its IFAIL
// codes and workspace sizes.
// ---------------------------------------------------------------------------

// e04mfa: a linear program or a feasible point (Problem Type LP / FP).
// a (lda x n, lda >= max(1, nclin)): the nclin general constraints; bl, bu
// (n + nclin): bounds on x, then on A x (at or beyond "Infinite Bound
// Size": none; bl = bu: an equality); cvec (n); istate (n + nclin): read on
// a "Warm Start" (1 at the lower bound, 2 at the upper, 3 equality, 4 a
// variable held at its value: the starting working set), on exit 0 free,
// 1, 2, 3 as on entry, 4 a free variable held where it is, -2 / -1 below
// its lower / above its upper bound (an infeasible exit); x (n): start
// (any point; a cold start first moves it into its bounds), on exit the
// solution; iter: the iterations; obj: c'x (LP), 0 (FP), or the sum of
// infeasibilities on IFAIL 3; ax (max(1, nclin)): A x; clamda (n + nclin):
// the multipliers (>= 0 at a lower bound, <= 0 at an upper bound, 0 off
// the working set).  Workspace: liwork >= 2n + 3; lwork >= 7n + 1 (nclin =
// 0), 2(nclin + 1)^2 + 7n + 5 nclin (0 < nclin < n), 2n^2 + 7n + 5 nclin
// (nclin >= n); the contents are not used (the engine holds its own
// factorisations at the working precision plus guard bits).
// IFAIL: 0 optimal; 1 a weak minimum (a variable with no bounds left at a
// zero reduced cost: the solution is not unique); 2 unbounded (a direction
// of descent meets no constraint, or the step exceeds the infinite bound
// size); 3 no feasible point (to the feasibility tolerance); 4 iteration
// limit; 6 invalid input (n < 1, nclin < 0, lda too small, a workspace too
// short, bl > bu, an undefined bound, istate out of -2..4 on a warm start,
// or the save arrays not initialised by e04wbf("E04MFA")).
TALVO_MP_OPT_API void TalvoMP_e04mfa_(Integer *n, Integer *nclin, const TalvoFloat *a, Integer *lda,
                                      const TalvoFloat *bl, const TalvoFloat *bu, const TalvoFloat *cvec,
                                      Integer *istate, TalvoFloat *x, Integer *iter, TalvoFloat *obj, TalvoFloat *ax,
                                      TalvoFloat *clamda, Integer *iwork, Integer *liwork, TalvoFloat *work,
                                      Integer *lwork, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *ifail);

// e04nca: convex QP or linearly constrained linear least squares (Problem
// Type FP, LP, QP1-QP4, LS1-LS4; default LS1).  c (ldc x n, ldc >=
// max(1, nclin)): the nclin constraints; a (lda x n): QP1/QP2 the
// symmetric Hessian H (lda >= n; its upper triangle is read), QP3/QP4 the
// m x n matrix A of H = A'A, LS1-LS4 the m x n matrix of ||b - A x|| (lda
// >= m >= 1; for QP3, QP4, LS3 and LS4 A is upper trapezoidal: entries
// below the diagonal are not read); b (m): LS only; cvec (n): the linear
// term, read for LP, QP2, QP4, LS2 and LS4 only; kx (n): on exit 1..n (the
// variables are not reordered); a and b are left as they were.  Objective:
// c'x + 1/2 x'Hx, or c'x + 1/2 ||b - A x||^2.  Other arguments and IFAIL
// as e04mfa's (obj the objective value), and 5 the reduced Hessian would
// exceed "Maximum Degrees of Freedom".  Workspace: liwork >= n, lwork >=
// 10n (not used).  A nonconvex problem gives a local minimiser (e04nfa).
TALVO_MP_OPT_API void TalvoMP_e04nca_(Integer *m, Integer *n, Integer *nclin, Integer *ldc, Integer *lda,
                                      const TalvoFloat *c, const TalvoFloat *bl, const TalvoFloat *bu,
                                      const TalvoFloat *cvec, Integer *istate, Integer *kx, TalvoFloat *x,
                                      TalvoFloat *a, TalvoFloat *b, Integer *iter, TalvoFloat *obj,
                                      TalvoFloat *clamda, Integer *iwork, Integer *liwork, TalvoFloat *work,
                                      Integer *lwork, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *ifail);

// qphess(n, jthcol, h, ldh, x, hx, iuser, ruser): hx = H x (QP1/QP2) or
// H'H x (QP3/QP4); jthcol > 0 says x is the unit vector e_jthcol.
typedef void (*TalvoMP_e04nfa_qphess)(Integer *n, Integer *jthcol, const TalvoFloat *h, Integer *ldh,
                                      const TalvoFloat *x, TalvoFloat *hx, Integer *iuser, TalvoFloat *ruser);

// e04nfa: a quadratic program, possibly nonconvex (a local minimiser),
// with the Hessian through qphess (null: the product with the dense h,
// ldh >= n: QP1/QP2 H x with the upper triangle of h, QP3/QP4 h'h x with
// h upper triangular).  Problem Type QP1-QP4 (default QP2; cvec read for
// QP2 and QP4).  Arguments and IFAIL as e04mfa's, and 5 the reduced
// Hessian would exceed "Maximum Degrees of Freedom".  Workspace: liwork >=
// 2n + 3, lwork >= 2n^2 + 8n + 5 nclin (nclin > 0) or n^2 + 8n (not used).
// iuser, ruser are passed to qphess unchanged.
TALVO_MP_OPT_API void TalvoMP_e04nfa_(Integer *n, Integer *nclin, const TalvoFloat *a, Integer *lda,
                                      const TalvoFloat *bl, const TalvoFloat *bu, const TalvoFloat *cvec,
                                      const TalvoFloat *h, Integer *ldh, TalvoMP_e04nfa_qphess qphess,
                                      Integer *istate, TalvoFloat *x, Integer *iter, TalvoFloat *obj, TalvoFloat *ax,
                                      TalvoFloat *clamda, Integer *iwork, Integer *liwork, TalvoFloat *work,
                                      Integer *lwork, Integer *iuser, TalvoFloat *ruser, Integer *lwsav,
                                      Integer *iwsav, TalvoFloat *rwsav, Integer *ifail);

// One option of e04mfa (e04mha), e04nca (e04nea), e04nfa (e04nha), e04uca
// (e04uea) or e04usa (e04ura) from a string, in the grammar of e04dka;
// inform as e04dka's (1: the arrays were not initialised by e04wbf for that
// routine; 2 not a keyword of that routine; 3 the value is missing or not
// a number / not a known word; 4 out of range).  Keywords (D = "Digits",
// eps = 10^-D; defaults in brackets, a real 0 or an integer -1 in the
// arrays standing for the default):
//  every setter: "Defaults", "List", "Nolist", "Print Level i" [10; kept,
//    not used: nothing is printed], "Iteration(s) Limit i" / "Iters i" /
//    "Itns i" (i >= 0) [LP/QP: max(50, 5(n + nclin)) times ceil(D / 15);
//    SQP, the major limit: max(50, 3(n + nclin) + 10 ncnln)],
//    "Optimality Tolerance r" (0 <= r < 1) [eps^0.8];
//  e04mha, e04nea, e04nha, e04uea, e04ura: "Feasibility Tolerance r"
//    (also "Linear Feasibility Tolerance" for SQP) [eps^(1/2)],
//    "Infinite Bound Size r" (r > 0) [1e20], "Infinite Step Size r" (r > 0)
//    [max(bigbnd, 1e20)], "Cold Start" / "Warm Start" [Cold; a warm start
//    takes the working set from istate], "Crash Tolerance r" [0.01; kept,
//    not used: the starting working set is the bounds x lies on, and the
//    EXPAND tolerances make a crash unnecessary], "Rank Tolerance r"
//    [100 eps; the relative size below which a diagonal of the
//    reduced-Hessian factor counts as zero], "Expand Frequency i" (i >= 1)
//    [5; the number of degenerate steps in a row after which the
//    anti-cycling rule (Bland's least-index rule) takes over until a step
//    of positive length is made];
//  e04mha, e04nea, e04nha: "Problem Type w" [e04mfa LP (FP, LP);
//    e04nca LS1 (FP, LP, QP1-QP4, LS1-LS4); e04nfa QP2 (QP1-QP4)];
//  e04nha: "Maximum Degrees of Freedom i" (i >= 1) [n; a reduced Hessian
//    of a larger dimension ends the solve with IFAIL 5];
//  e04uea, e04ura: "Major Iteration(s) Limit i" (= "Iteration Limit"),
//    "Minor Iteration(s) Limit i" [max(50, 3(n + nclin + ncnln))],
//    "Major Print Level i" (= "Print Level"), "Minor Print Level i" [0;
//    kept, not used], "Function Precision r" [eps^0.9], "Linesearch
//    Tolerance r" / "Line Search Tolerance r" [0.9], "Step Limit r" (r > 0)
//    [2], "Derivative Level i" (0-3) [3], "Verify Level i" (-1..3) [0],
//    "Verify [Yes | No | Objective Gradients | Constraint Gradients |
//    Gradients]" (levels 3, -1, 1, 2, 3), "Start / Stop Objective Check At
//    Variable i", "Start / Stop Constraint Check At Variable i" [1, n],
//    "Difference Interval r" [the square root of the function precision],
//    "Central Difference Interval r" [its cube root], "Nonlinear
//    Feasibility Tolerance r" [eps^(1/2)], "Hessian Yes / No" [No],
//    "Minor Optimality Tolerance r" [the optimality tolerance of the QP
//    subproblems; default eps^0.8].
// Each word of a keyword may be shortened to three letters or more.
TALVO_MP_OPT_API void TalvoMP_e04mha_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *inform, int str_length);
TALVO_MP_OPT_API void TalvoMP_e04nea_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *inform, int str_length);
TALVO_MP_OPT_API void TalvoMP_e04nha_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *inform, int str_length);
TALVO_MP_OPT_API void TalvoMP_e04uea_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *inform, int str_length);
TALVO_MP_OPT_API void TalvoMP_e04ura_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *inform, int str_length);

// ---------------------------------------------------------------------------
// Nonlinear programming by sequential quadratic programming
// ---------------------------------------------------------------------------

// confun(mode, ncnln, n, ldcj, needc, x, c, cjac, nstate, iuser, ruser):
// constraint i (needc[i] > 0) in c, its gradient in row i of cjac; mode 0
// values, 1 gradients, 2 both; a negative mode set by the routine stops.
typedef void (*TalvoMP_e04uca_confun)(Integer *mode, Integer *ncnln, Integer *n, Integer *ldcj,
                                      const Integer *needc, const TalvoFloat *x, TalvoFloat *c, TalvoFloat *cjac,
                                      Integer *nstate, Integer *iuser, TalvoFloat *ruser);
// objfun: as e04dga's.
typedef TalvoMP_e04dga_objfun TalvoMP_e04uca_objfun;

// e04uca: minimum of a smooth function subject to bounds, linear and
// smooth nonlinear constraints, by sequential quadratic programming
// (optimization/sqp.cpp: QP subproblems by the active-set engine, BFGS of
// the Lagrangian Hessian with Powell's modification, augmented Lagrangian
// merit function, elastic subproblems when the linearised constraints are
// inconsistent).  a (lda x n): the nclin linear constraints; bl, bu
// (n + nclin + ncnln): bounds on (x, A x, c(x)), at or beyond 1e20 ("Infinite
// Bound Size") none; istate, clamda (n + nclin + ncnln): on exit the final
// working set (0 free, 1 at lower, 2 at upper bound, 3 equality) and the
// multipliers; c (ncnln), cjac (ldcj x n): the constraints and their
// Jacobian at x; objf, objgrd: F and its gradient at x; r (ldr x n): the
// upper triangular Cholesky factor of the quasi-Newton Hessian of the
// Lagrangian; istate, clamda and r are read on a "Warm Start".
// iwork (liwork >= 3n + nclin + 2 ncnln), work (lwork >= 20n without
// general constraints, 2n^2 + 20n + 11 nclin without nonlinear ones, else
// 2n^2 + n nclin + 2n ncnln + 20n + 11 nclin + 21 ncnln): checked, not used.
// Options (e04uea): Major Iteration Limit (default max(50, 3(n + nclin) +
// 10 ncnln) times ceil(D / 15)), Minor Iteration Limit, Optimality
// Tolerance (10^-D), Nonlinear Feasibility Tolerance (10^(-D/2)),
// Feasibility Tolerance, Infinite Bound Size, Step Limit (2), Derivative
// Level (3; below 3 the missing derivatives by central differences with
// interval "Central Difference Interval", default 10^(-D/3)), Verify Level
// (>= 1: the given derivatives compared element by element with central
// differences in the ranges of the Start/Stop Objective/Constraint Check At
// Variable options), Cold Start / Warm Start.
// IFAIL: -1 a user routine set mode < 0; 1 the optimality conditions hold
// but not to the working precision; 2 the bounds and linear constraints
// have no feasible point; 3 the nonlinear constraints cannot be satisfied
// (the elastic subproblems stopped reducing the infeasibility); 4 major
// iteration limit; 6 no lower merit value along the search direction away
// from a solution; 7 a derivative check failed; 9 invalid input (n < 1,
// nclin or ncnln < 0, a leading dimension too small, liwork or lwork too
// small, bl > bu, the save arrays not initialised for E04UCA), nothing
// changed; 11 a user routine returned an undefined value.
TALVO_MP_OPT_API void TalvoMP_e04uca_(Integer *n, Integer *nclin, Integer *ncnln, Integer *lda, Integer *ldcj,
                                      Integer *ldr, const TalvoFloat *a, const TalvoFloat *bl, const TalvoFloat *bu,
                                      TalvoMP_e04uca_confun confun, TalvoMP_e04uca_objfun objfun, Integer *iter,
                                      Integer *istate, TalvoFloat *c, TalvoFloat *cjac, TalvoFloat *clamda,
                                      TalvoFloat *objf, TalvoFloat *objgrd, TalvoFloat *r, TalvoFloat *x,
                                      Integer *iwork, Integer *liwork, TalvoFloat *work, Integer *lwork,
                                      Integer *iuser, TalvoFloat *ruser, Integer *lwsav, Integer *iwsav,
                                      TalvoFloat *rwsav, Integer *ifail);

// objfun(mode, m, n, ldfj, needfi, x, f, fjac, nstate, iuser, ruser): the
// m functions f_i and their Jacobian fjac (ldfj x n).
typedef void (*TalvoMP_e04usa_objfun)(Integer *mode, Integer *m, Integer *n, Integer *ldfj, Integer *needfi,
                                      const TalvoFloat *x, TalvoFloat *f, TalvoFloat *fjac, Integer *nstate,
                                      Integer *iuser, TalvoFloat *ruser);

// e04usa: minimum of 1/2 sum (y_i - f_i(x))^2 subject to the constraints
// of e04uca, on the same SQP iteration (optimization/sqp_least_squares.cpp)
// with the gradient -J'(y - f) and the quasi-Newton Hessian started from the
// Gauss-Newton matrix J'J at the start point.  f (m), fjac (ldfj x n): the
// functions and their Jacobian at x.  lwork: e04uca's size plus m (n + 3);
// liwork as e04uca's.  Options by e04ura; IFAIL as e04uca's (9 also for
// m < 1, ldfj < m, arrays not initialised for E04USA).
TALVO_MP_OPT_API void TalvoMP_e04usa_(Integer *m, Integer *n, Integer *nclin, Integer *ncnln, Integer *lda,
                                      Integer *ldcj, Integer *ldfj, Integer *ldr, const TalvoFloat *a,
                                      const TalvoFloat *bl, const TalvoFloat *bu, const TalvoFloat *y,
                                      TalvoMP_e04uca_confun confun, TalvoMP_e04usa_objfun objfun, Integer *iter,
                                      Integer *istate, TalvoFloat *c, TalvoFloat *cjac, TalvoFloat *f,
                                      TalvoFloat *fjac, TalvoFloat *clamda, TalvoFloat *objf, TalvoFloat *r,
                                      TalvoFloat *x, Integer *iwork, Integer *liwork, TalvoFloat *work,
                                      Integer *lwork, Integer *iuser, TalvoFloat *ruser, Integer *lwsav,
                                      Integer *iwsav, TalvoFloat *rwsav, Integer *ifail);

// ---------------------------------------------------------------------------
// Integer linear programming by branch and bound
// ---------------------------------------------------------------------------

// h02wbf: save arrays of h02bbf at their defaults (the options of its node
// linear programs); the argument list of e04wbf, rname "H02BBF" (any case,
// trailing blanks ignored).
// IFAIL: 1 rname is not "H02BBF"; 2 an array shorter than 120, 610, 475.
TALVO_MP_OPT_API void TalvoMP_h02wbf_(const char *rname, char *cwsav, Integer *lcwsav, Integer *lwsav,
                                      Integer *llwsav, Integer *iwsav, Integer *liwsav, TalvoFloat *rwsav,
                                      Integer *lrwsav, Integer *ifail, int rname_length, int cwsav_length);

// h02bbf: minimise cvec'x subject to bl <= (x, A x) <= bu with x_j integer
// where intvar[j] = 1 (0: continuous), by branch and bound on LP
// relaxations (Dakin 1965): depth first until the first integer solution,
// then the waiting node with the lowest bound, nodes pruned by the best
// integer solution found.  The published list followed by the three save
// arrays h02wbf fills.
//   itmax   LP iterations allowed per node; <= 0: max(50, 5(n + m)),
//           written back;
//   msglvl  accepted, not used (nothing is printed);
//   a (lda x n), lda >= max(1, m): the m general constraints;
//   bl, bu (n + m): bounds on x then on A x; at or beyond -bigbnd / bigbnd
//           no bound; bl = bu an equality;
//   maxnod  the most nodes (LP relaxations) solved; <= 0 no limit;
//   intfst  non-zero: stop at the first integer solution;
//   maxdpt  the most nodes waiting at once (the node stack, >= 2);
//   toliv   a value within toliv of an integer is integral (below eps, or
//           not below 1/2: 10^(-D/3)); written back;
//   tolfes  feasibility tolerance of the node LPs (below eps: 10^(-D/2));
//           written back;
//   bigbnd  the infinite bound (<= 0: 1e20); written back;
//   x (n)   start of the root LP; on exit the best integer solution, its
//           integer variables exactly integers (with no integer solution:
//           the point of the last relaxation solved);
//   objmip  cvec'x at the returned integer solution (0 without one);
//   iwork (liwork >= 4): on exit iwork(1) the nodes solved, iwork(2) the
//           deepest node's depth (the root is 0), iwork(3) the LP iterations
//           of all nodes, iwork(4) 1 when an integer solution was found;
//   rwork (lrwork >= m + 1): on exit rwork(1) the lowest bound of the
//           nodes left unsolved (objmip when none is left), rwork(2..m+1)
//           A x at the returned solution.
// IFAIL: 1 no integer solution (the relaxation, or every branch of it, is
// infeasible); 2 a relaxation is unbounded; 3 a node LP reached itmax
// iterations; 4 maxnod nodes solved (x the best integer solution so far,
// if iwork(4) = 1); 5 a branch needed more than maxdpt waiting nodes (x
// as for 4); 6 liwork or lrwork too small; 7 invalid input (n < 1, m < 0,
// lda < max(1, m), maxdpt < 2, an intvar not 0 or 1, bl > bu + tolfes, or
// the save arrays not initialised by h02wbf).
TALVO_MP_OPT_API void TalvoMP_h02bbf_(Integer *itmax, Integer *msglvl, Integer *n, Integer *m, const TalvoFloat *a,
                                      Integer *lda, const TalvoFloat *bl, const TalvoFloat *bu, const Integer *intvar,
                                      const TalvoFloat *cvec, Integer *maxnod, Integer *intfst, Integer *maxdpt,
                                      TalvoFloat *toliv, TalvoFloat *tolfes, TalvoFloat *bigbnd, TalvoFloat *x,
                                      TalvoFloat *objmip, Integer *iwork, Integer *liwork, TalvoFloat *rwork,
                                      Integer *lrwork, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav,
                                      Integer *ifail);
