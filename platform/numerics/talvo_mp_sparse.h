// talvo_mp_sparse.h -- libtalvomp: sparse linear systems (the f11 chapter):
// coordinate-storage utilities, matrix-vector products, incomplete LU and
// incomplete Cholesky factorisations and their solves, Jacobi and SSOR, the
// reverse-communication Krylov solvers (restarted GMRES, CGS, Bi-CGSTAB(l),
// TFQMR for general matrices; CG and SYMMLQ for Hermitian ones) and the
// black-box solvers that combine them.  Included from talvo_mp.h; methods,
// stopping tests and failure codes in docs/numerics.md ("Sparse iterative
// solvers").
//
// Argument lists are the Fortran ones: arrays indexed from 1 in their
// contents (row and column indices, row starts), characters passed as text
// whose first letter counts (either case), IFAIL last, in and out (on entry
// 1 asks for a quiet failure, anything else prints the message on standard
// error as well; a library never stops its host).
//
// Complex arrays are arrays of TalvoComplex: the real and imaginary parts
// of each element as two TalvoFloat side by side, so a host table of 2 n
// floats holds n complex numbers.  The routines compute at the precision of
// "Digits" plus guard bits and round their float outputs to "Digits".
#pragma once

#include "talvo_mp.h"

struct TalvoComplex {
    TalvoFloat re, im;
};
static_assert(sizeof(TalvoComplex) == 2 * sizeof(TalvoFloat), "two floats side by side");

// ---------------------------------------------------------------------------
// Coordinate storage utilities and matrix-vector products (sparse/coordinate.cpp)
// ---------------------------------------------------------------------------

// Sorts the nnz entries (a, irow, icol) of an n x n matrix by row, then
// column; dup says what happens to entries with the same indices ('R':
// keep the first only, 'S': sum them, 'F': fail), zer what happens to zero
// entries ('R': remove, 'K': keep, 'F': fail); nnz is set to the number
// kept and istr[0..n] to the 1-based starts of the rows (istr[n] = nnz + 1).
// f11zpf takes the lower triangle of a complex Hermitian matrix (an entry
// above the diagonal fails).  iwork (n) is not used.  IFAIL on exit: 0;
// 1 n < 1, nnz < 0 or a bad dup/zer letter; 2 an index outside 1..n (or
// above the diagonal for f11zpf); 3 a duplicate with dup 'F'; 4 a zero
// with zer 'F'.  On failure the arrays are left as they were.
TALVO_MP_API void TalvoMP_f11zaf_(Integer n, Integer *nnz, TalvoFloat a[], Integer irow[], Integer icol[],
                                  const char *dup, const char *zer, Integer istr[], Integer iwork[], Integer *ifail);
TALVO_MP_API void TalvoMP_f11znf_(Integer n, Integer *nnz, TalvoComplex a[], Integer irow[], Integer icol[],
                                  const char *dup, const char *zer, Integer istr[], Integer iwork[], Integer *ifail);
TALVO_MP_API void TalvoMP_f11zpf_(Integer n, Integer *nnz, TalvoComplex a[], Integer irow[], Integer icol[],
                                  const char *dup, const char *zer, Integer istr[], Integer iwork[], Integer *ifail);

// y = A x (trans 'N') or A^T x ('T') for a real matrix in ordered
// coordinate storage.  check 'C' validates the storage first ('N' trusts
// it).  IFAIL: 1 bad trans/check, n < 1 or nnz outside 0..n^2; 2 an index
// out of range; 3 entries out of order or duplicated.
TALVO_MP_API void TalvoMP_f11xaf_(const char *trans, Integer n, Integer nnz, const TalvoFloat a[],
                                  const Integer irow[], const Integer icol[], const char *check, const TalvoFloat x[],
                                  TalvoFloat y[], Integer *ifail);
// The same for a complex matrix ('T' transpose, 'C' conjugate transpose).
TALVO_MP_API void TalvoMP_f11xnf_(const char *trans, Integer n, Integer nnz, const TalvoComplex a[],
                                  const Integer irow[], const Integer icol[], const char *check,
                                  const TalvoComplex x[], TalvoComplex y[], Integer *ifail);
// y = A x for a complex Hermitian matrix held by its lower triangle.
TALVO_MP_API void TalvoMP_f11xsf_(Integer n, Integer nnz, const TalvoComplex a[], const Integer irow[],
                                  const Integer icol[], const char *check, const TalvoComplex x[], TalvoComplex y[],
                                  Integer *ifail);

// ---------------------------------------------------------------------------
// Incomplete factorisations (sparse/ilu.cpp)
// ---------------------------------------------------------------------------

// Incomplete LU, M = P L D U Q, of the n x n matrix in ordered coordinate
// storage a[0..nnz-1] (irow, icol).  lfill >= 0 keeps fill of level up to
// lfill; lfill < 0 keeps fill whose size is at least dtol times the 2-norm
// of its row of A.  pstrat 'N' no pivoting, 'U' the user's order in ipivp
// and ipivq (1-based), 'P' partial pivoting (the largest entry of the row
// as pivot), 'C' complete pivoting; milu 'M' adds the dropped fill of a row
// to its pivot (row sums of M equal those of A), 'N' drops it.  On exit
// the factor follows A: a, irow, icol [nnz .. nnz + nnzc - 1] hold
// C = L + D^{-1} + U - 2 I by pivot rows, istr[0..n] the 1-based starts of
// its rows (istr[n] = nnz + nnzc + 1), idiag[k] the 1-based position of its
// diagonal; ipivp/ipivq the pivot order; npivm the number of pivots that
// were zero or tiny and were replaced (the factor exists but may be poor).
// IFAIL: 1 bad scalar argument (n < 1, nnz outside 1..n^2, la < 2 nnz,
// lfill < 0 with dtol < 0, a bad letter, liwork < 7 n + 2); 2 storage out of
// order, duplicated or out of range; 3 la too small for the factor (nnzc is
// the size needed); 4 ipivp/ipivq not permutations (pstrat 'U').
TALVO_MP_API void TalvoMP_f11daf_(Integer n, Integer nnz, TalvoFloat a[], Integer la, Integer irow[],
                                  Integer icol[], Integer lfill, TalvoFloat dtol, const char *pstrat,
                                  const char *milu, Integer ipivp[], Integer ipivq[], Integer istr[],
                                  Integer idiag[], Integer *nnzc, Integer *npivm, Integer iwork[], Integer liwork,
                                  Integer *ifail);
TALVO_MP_API void TalvoMP_f11dnf_(Integer n, Integer nnz, TalvoComplex a[], Integer la, Integer irow[],
                                  Integer icol[], Integer lfill, TalvoFloat dtol, const char *pstrat,
                                  const char *milu, Integer ipivp[], Integer ipivq[], Integer istr[],
                                  Integer idiag[], Integer *nnzc, Integer *npivm, Integer iwork[], Integer liwork,
                                  Integer *ifail);
// x = M^{-1} y ('N') or M^{-T} y ('T'; for complex also 'C': M^{-H} y) with
// the factor of f11daf / f11dnf.  check 'C' validates the factor's storage.
// IFAIL: 1 bad letter, n < 1 or la < 1; 2 the factor's storage is
// inconsistent.
TALVO_MP_API void TalvoMP_f11dbf_(const char *trans, Integer n, const TalvoFloat a[], Integer la,
                                  const Integer irow[], const Integer icol[], const Integer ipivp[],
                                  const Integer ipivq[], const Integer istr[], const Integer idiag[],
                                  const char *check, const TalvoFloat y[], TalvoFloat x[], Integer *ifail);
TALVO_MP_API void TalvoMP_f11dpf_(const char *trans, Integer n, const TalvoComplex a[], Integer la,
                                  const Integer irow[], const Integer icol[], const Integer ipivp[],
                                  const Integer ipivq[], const Integer istr[], const Integer idiag[],
                                  const char *check, const TalvoComplex y[], TalvoComplex x[], Integer *ifail);

// Incomplete Cholesky of a complex Hermitian matrix held by its lower
// triangle (ordered): M = P L D L^H P^T, of A + dscale diag(A).  lfill,
// dtol and mic ('M' modified / 'N') as for f11daf; pstrat 'N' none, 'M'
// symmetric minimum-degree (Markowitz) ordering, 'U' the user's ipiv.  The
// factor follows A in a, irow, icol: C = L + D^{-1} - I by pivot rows (lower
// triangle), istr[0..n], ipiv; npivm counts pivots that were not positive
// and were replaced.  IFAIL as f11daf (2 also for an entry above the diagonal).
TALVO_MP_API void TalvoMP_f11jnf_(Integer n, Integer nnz, TalvoComplex a[], Integer la, Integer irow[],
                                  Integer icol[], Integer lfill, TalvoFloat dtol, const char *mic,
                                  TalvoFloat dscale, const char *pstrat, Integer ipiv[], Integer istr[],
                                  Integer *nnzc, Integer *npivm, Integer iwork[], Integer liwork, Integer *ifail);
// x = M^{-1} y with the factor of f11jnf.  IFAIL as f11dbf.
TALVO_MP_API void TalvoMP_f11jpf_(Integer n, const TalvoComplex a[], Integer la, const Integer irow[],
                                  const Integer icol[], const Integer ipiv[], const Integer istr[],
                                  const char *check, const TalvoComplex y[], TalvoComplex x[], Integer *ifail);

// ---------------------------------------------------------------------------
// Jacobi and SSOR (sparse/jacobi_ssor.cpp)
// ---------------------------------------------------------------------------

// x = M^{-1} y ('N') or M^{-T} y ('T') with the SSOR preconditioner
// M = (D + omega L) D^{-1} (D + omega U) / (omega (2 - omega)), A = L + D + U
// in ordered storage, rdiag[i] = 1 / A(i, i).  iwork (2 n + 1) not used.
// IFAIL: 1 bad letter, n < 1, nnz outside 1..n^2 or omega outside (0, 2);
// 2 storage out of range/order (check 'C'); 3 a zero or missing diagonal.
TALVO_MP_API void TalvoMP_f11ddf_(const char *trans, Integer n, Integer nnz, const TalvoFloat a[],
                                  const Integer irow[], const Integer icol[], const TalvoFloat rdiag[],
                                  TalvoFloat omega, const char *check, const TalvoFloat y[], TalvoFloat x[],
                                  Integer iwork[], Integer *ifail);
TALVO_MP_API void TalvoMP_f11drf_(const char *trans, Integer n, Integer nnz, const TalvoComplex a[],
                                  const Integer irow[], const Integer icol[], const TalvoComplex rdiag[],
                                  TalvoFloat omega, const char *check, const TalvoComplex y[], TalvoComplex x[],
                                  Integer iwork[], Integer *ifail);

// ---------------------------------------------------------------------------
// Reverse-communication Krylov solvers (sparse/krylov.cpp)
// ---------------------------------------------------------------------------
//
// Set-up, then repeated calls of the solver: on entry irevcm = 0 with
// u = x0 (initial guess) and v = b; on each return irevcm asks for
//   1   v = A u,   -1  v = A^T u (A^H u complex; norm estimation only),
//   2   v = M^{-1} u (only with precon 'P'),
//   3   a monitoring pause (the diagnostics routine may be called),
//   4   finished: u holds the solution, ifail says how;
// the caller does it and calls again with irevcm unchanged (or 6 to ask
// the solver to stop).  The solver's vectors live in library memory at the
// working precision; work[0] holds the handle of that state and lwreq is 2.
// Set-up IFAIL: -i for argument i invalid; 1 lwork < lwreq.  Solver IFAIL:
// 0 converged; 1 out of turn (no set-up, or after completion); 2 the
// residual stopped decreasing above the requested level; 3 (CG, SYMMLQ) the
// preconditioner is not positive definite; 4 breakdown (Bi-CG-type methods,
// or A not positive definite for CG); 5 maxitn iterations; 6 stopped by the
// caller.  Stopping tests: iterm 1, ||r||_p <= tol (||b||_p + anorm ||x||_p)
// with p = norm; iterm 2, ||r||_2 <= tol (||b||_2 + sigmax ||x||_2).  anorm
// (sigmax) <= 0 asks for an estimate (Hager's 1-norm estimator through the
// -1 and 1 requests).  tol <= 0: the square root of the working epsilon.

TALVO_MP_API void TalvoMP_f11bdf_(const char *method, const char *precon, const char *norm, const char *weight,
                                  Integer iterm, Integer n, Integer m, TalvoFloat tol, Integer maxitn,
                                  TalvoFloat anorm, TalvoFloat sigmax, Integer monit, Integer *lwreq,
                                  TalvoFloat work[], Integer lwork, Integer *ifail);
TALVO_MP_API void TalvoMP_f11bef_(Integer *irevcm, TalvoFloat u[], TalvoFloat v[], const TalvoFloat wgt[],
                                  TalvoFloat work[], Integer lwork, Integer *ifail);
// Diagnostics during a monitoring pause or after completion (IFAIL 1
// otherwise).
TALVO_MP_API void TalvoMP_f11bff_(Integer *itn, TalvoFloat *stplhs, TalvoFloat *stprhs, TalvoFloat *anorm,
                                  TalvoFloat *sigmax, const TalvoFloat work[], Integer lwork, Integer *ifail);
// Complex non-Hermitian twins.
TALVO_MP_API void TalvoMP_f11brf_(const char *method, const char *precon, const char *norm, const char *weight,
                                  Integer iterm, Integer n, Integer m, TalvoFloat tol, Integer maxitn,
                                  TalvoFloat anorm, TalvoFloat sigmax, Integer monit, Integer *lwreq,
                                  TalvoComplex work[], Integer lwork, Integer *ifail);
TALVO_MP_API void TalvoMP_f11bsf_(Integer *irevcm, TalvoComplex u[], TalvoComplex v[], const TalvoFloat wgt[],
                                  TalvoComplex work[], Integer lwork, Integer *ifail);
TALVO_MP_API void TalvoMP_f11btf_(Integer *itn, TalvoFloat *stplhs, TalvoFloat *stprhs, TalvoFloat *anorm,
                                  TalvoFloat *sigmax, const TalvoComplex work[], Integer lwork, Integer *ifail);
// Complex Hermitian: method "CG" or "SYMMLQ".  sigcmp, sigtol and maxits
// are checked but no separate largest-singular-value iteration is run:
// sigmax <= 0 is bounded by the estimate of ||A||_1 (its = 0, sigerr = 0).
TALVO_MP_API void TalvoMP_f11grf_(const char *method, const char *precon, const char *sigcmp, const char *norm,
                                  const char *weight, Integer iterm, Integer n, TalvoFloat tol, Integer maxitn,
                                  TalvoFloat anorm, TalvoFloat sigmax, TalvoFloat sigtol, Integer maxits,
                                  Integer monit, Integer *lwreq, TalvoComplex work[], Integer lwork, Integer *ifail);
TALVO_MP_API void TalvoMP_f11gsf_(Integer *irevcm, TalvoComplex u[], TalvoComplex v[], const TalvoFloat wgt[],
                                  TalvoComplex work[], Integer lwork, Integer *ifail);
TALVO_MP_API void TalvoMP_f11gtf_(Integer *itn, TalvoFloat *stplhs, TalvoFloat *stprhs, TalvoFloat *anorm,
                                  TalvoFloat *sigmax, Integer *its, TalvoFloat *sigerr, const TalvoComplex work[],
                                  Integer lwork, Integer *ifail);

// ---------------------------------------------------------------------------
// Black-box solvers (sparse/drivers.cpp)
// ---------------------------------------------------------------------------
//
// A x = b by method ("RGMRES", "CGS", "BICGSTAB", "TFQMR") with the stopping
// test iterm 1, norm 'I' (||r||_inf <= tol (||b||_inf + ||A||_inf ||x||_inf),
// ||A||_inf computed from the entries), x the initial guess on entry and
// the solution on exit, rnorm the final ||r||_inf, itn the iterations.
// f11dcf/f11dqf precondition with the incomplete LU factor of f11daf /
// f11dnf (a, irow, icol hold A then the factor); f11def/f11dsf with precon
// 'N' none, 'J' Jacobi or 'S' SSOR (omega).  work and lwork are not used
// (the solver's vectors live in library memory).  IFAIL: 1 bad scalar
// argument; 2 storage out of order/range; 3 the factor is inconsistent or a
// diagonal entry is zero (Jacobi/SSOR); 4 the residual stopped decreasing;
// 5 breakdown; 6 maxitn iterations.
TALVO_MP_API void TalvoMP_f11dcf_(const char *method, Integer n, Integer nnz, const TalvoFloat a[], Integer la,
                                  const Integer irow[], const Integer icol[], const Integer ipivp[],
                                  const Integer ipivq[], const Integer istr[], const Integer idiag[],
                                  const TalvoFloat b[], Integer m, TalvoFloat tol, Integer maxitn, TalvoFloat x[],
                                  TalvoFloat *rnorm, Integer *itn, TalvoFloat work[], Integer lwork, Integer *ifail);
TALVO_MP_API void TalvoMP_f11def_(const char *method, const char *precon, Integer n, Integer nnz,
                                  const TalvoFloat a[], const Integer irow[], const Integer icol[], TalvoFloat omega,
                                  const TalvoFloat b[], Integer m, TalvoFloat tol, Integer maxitn, TalvoFloat x[],
                                  TalvoFloat *rnorm, Integer *itn, TalvoFloat work[], Integer lwork,
                                  Integer iwork[], Integer *ifail);
TALVO_MP_API void TalvoMP_f11dqf_(const char *method, Integer n, Integer nnz, const TalvoComplex a[], Integer la,
                                  const Integer irow[], const Integer icol[], const Integer ipivp[],
                                  const Integer ipivq[], const Integer istr[], const Integer idiag[],
                                  const TalvoComplex b[], Integer m, TalvoFloat tol, Integer maxitn,
                                  TalvoComplex x[], TalvoFloat *rnorm, Integer *itn, TalvoComplex work[],
                                  Integer lwork, Integer *ifail);
TALVO_MP_API void TalvoMP_f11dsf_(const char *method, const char *precon, Integer n, Integer nnz,
                                  const TalvoComplex a[], const Integer irow[], const Integer icol[],
                                  TalvoFloat omega, const TalvoComplex b[], Integer m, TalvoFloat tol,
                                  Integer maxitn, TalvoComplex x[], TalvoFloat *rnorm, Integer *itn,
                                  TalvoComplex work[], Integer lwork, Integer iwork[], Integer *ifail);
