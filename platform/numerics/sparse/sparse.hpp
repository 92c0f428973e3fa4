// sparse.hpp -- the sparse iterative solvers of libtalvomp at the MPFR
// level: coordinate-storage matrices, the matrix-vector products, incomplete
// factorisations and their solves, Jacobi and SSOR, and the Krylov solvers as
// explicit state machines.  The routines of talvo_mp_sparse.h convert the
// host's floats to these and back; the tests and benchmarks use them
// directly.  Methods and their references: docs/numerics.md, "Sparse
// iterative solvers".
//
// Indices here are 0-based; the routines of talvo_mp_sparse.h keep the
// 1-based indices of their argument lists.  Everything is templated on the
// element kind (RealKind, ComplexKind of scalar.hpp) and instantiated for
// both in the .cpp files.
#pragma once

#include "scalar.hpp"

#include <memory>
#include <type_traits>
#include <vector>

#define TALVO_SPARSE_API __attribute__((visibility("default")))

namespace talvo::sparse {

// ---------------------------------------------------------------------------
// Coordinate storage (coordinate.cpp)
// ---------------------------------------------------------------------------

// An n x n matrix of nnz entries ordered by row, then column, without
// duplicates; start[i] .. start[i+1]-1 are the entries of row i.  A
// Hermitian (or symmetric) matrix may be held by its lower triangle only.
template <class K>
struct Cs {
    long n = 0;
    std::vector<long> row, col, start;
    Vec<K> a;
    long nnz() const { return long(row.size()); }
};

// y = A x ('N'), A^T x ('T') or A^H x ('C'; for real matrices 'C' is 'T').
template <class K>
TALVO_SPARSE_API void matvec(const Cs<K> &a, char trans, const Vec<K> &x, Vec<K> &y, Tmp &t);
// y = A x for a Hermitian matrix held by its lower triangle.
template <class K>
TALVO_SPARSE_API void matvec_lower_hermitian(const Cs<K> &a, const Vec<K> &x, Vec<K> &y, Tmp &t);
// Fills start from row (row must be ordered).
template <class K>
TALVO_SPARSE_API void index_rows(Cs<K> &a);

// ---------------------------------------------------------------------------
// Incomplete factorisations (ilu.cpp)
// ---------------------------------------------------------------------------

// M = P L D U Q: L unit lower, U unit upper, D diagonal, P and Q the
// permutations of the pivot order.  Row k of the factor (pivot k) holds
// L(k, j < k), 1/D(k) at diag[k], U(k, j > k); columns are pivot positions.
// p[k] and q[k] are the original row and column of pivot k.  For an
// incomplete Cholesky factor (hermitian true) only L and 1/D are kept:
// M = P L D L^H P^T, q = p.
template <class K>
struct IluFactor {
    long n = 0;
    bool hermitian = false;
    std::vector<long> p, q, start, diag, col;
    Vec<K> c;
};

struct IluOptions {
    long lfill = 0;        // >= 0: level of fill; < 0: drop tolerance dtol
    double dtol = 0;       // relative drop tolerance (lfill < 0)
    char pstrat = 'N';     // 'N' none, 'U' user's p and q, 'P' partial (column), 'C' complete, 'M' symmetric Markowitz
    bool milu = false;     // modified: dropped fill added to the pivot (row sums kept)
    double dscale = 0;     // the factor is of A + dscale diag(A)
    bool hermitian = false; // keep L and D only (A Hermitian, symmetric pivoting)
    // A symmetric ordering of rows and columns applied before the pivoting
    // (ordering.cpp): 'N' none, 'R' reverse Cuthill-McKee, 'D' minimum degree.
    // Ignored with the caller's pivot order (pstrat 'U').
    char order = 'N';
    // ILUT instead of the elimination above (lfill < 0, pstrat 'N' or 'P',
    // not hermitian, not milu), by the rule ilut_rule below.  Saad's rule:
    // row by row, dual dropping (ilu.cpp).
    // With pstrat 'P' threshold pivoting by columns (ILUTP): the largest
    // entry of a row's U part becomes its pivot when the diagonal entry is
    // below pivot_thresh times it (1: always the largest).  With
    // tau_i = dtol times the largest entry of row i of A, a multiplier
    // l_ik is dropped when |l_ik u_kk| < tau_i, an entry of U when it is
    // below tau_i; each row keeps the lfil largest entries of its L part and
    // of its U part (lfil <= 0: no limit), and with fill_factor > 0 the
    // first i rows of the factor hold at most fill_factor times the entries
    // of the first i rows of A.
    bool ilut = false;
    long lfil = 0;
    double fill_factor = 0;
    double pivot_thresh = 0.1;
    // ILUT's rule (ilu.cpp): 'L' (the default) Li and Shao's, the dropping
    // of SuperLU's ILUTP without its supernodes: column by column, each
    // column complete (every update made) before its entries are tested,
    // u_kj dropped when below dtol times the largest entry of column j of
    // A, l_ij when |l_ij| < dtol; pivoting 'P' exchanges rows (the largest
    // entry below the diagonal), lfil and fill_factor count columns.  'S'
    // Saad's, as above: row by row, a multiplier dropped as it is met.
    char ilut_rule = 'L';
};

enum IluStatus { kIluOk = 0, kIluBadPivotOrder = 1, kIluBadOptions = 2 };

// A symmetric ordering of the structure of A + A^T (how: 'R' reverse
// Cuthill-McKee, 'D' minimum degree, else the natural order): perm[k] is the
// original index of position k.
TALVO_SPARSE_API std::vector<long> symmetric_order(long n, const std::vector<long> &row, const std::vector<long> &col,
                                                   char how);
// P A P^T: entry (i, j) of the result is a(perm[i], perm[j]), rows ordered.
template <class K>
TALVO_SPARSE_API Cs<K> permuted(const Cs<K> &a, const std::vector<long> &perm);

// Factorises the n x n matrix a (full storage).  user_p, user_q: the pivot
// order when pstrat is 'U' (0-based), else ignored.  npivm: pivots that were
// zero or too small and were replaced (see ilu.cpp).
template <class K>
TALVO_SPARSE_API int ilu_factor(const Cs<K> &a, const IluOptions &o, const long *user_p, const long *user_q,
                                IluFactor<K> &f, long &npivm);

// x = M^{-1} y, M^{-T} y ('T') or M^{-H} y ('C').  x and y may not alias.
template <class K>
TALVO_SPARSE_API void ilu_solve(const IluFactor<K> &f, char trans, const Vec<K> &y, Vec<K> &x, Tmp &t);

// ---------------------------------------------------------------------------
// Jacobi and SSOR (jacobi_ssor.cpp)
// ---------------------------------------------------------------------------

// x = M^{-1} y with M = D (Jacobi) from rdiag = 1/diag(A).
template <class K>
TALVO_SPARSE_API void jacobi_solve(const Vec<K> &rdiag, char trans, const Vec<K> &y, Vec<K> &x, Tmp &t);
// x = M^{-1} y with M = (D + w L) D^{-1} (D + w U) / (w (2 - w)) (or its
// transpose), A = L + D + U held in a (ordered rows), rdiag = 1/diag(A).
template <class K>
TALVO_SPARSE_API void ssor_solve(const Cs<K> &a, const Vec<K> &rdiag, mpfr_srcptr omega, char trans,
                                 const Vec<K> &y, Vec<K> &x, Tmp &t);

// ---------------------------------------------------------------------------
// Krylov solvers (krylov.cpp)
// ---------------------------------------------------------------------------

enum class Method { RGMRES, CGS, BICGSTAB, TFQMR, CG, SYMMLQ };

// Requests of the reverse-communication protocol.
enum Request {
    kMatvecH = -1, // v = A^H u (A^T u for a real matrix): norm estimation only
    kMatvec = 1,   // v = A u
    kPrecon = 2,   // v = M^{-1} u
    kMonitor = 3,  // a monitoring pause: diagnostics may be read
    kDone = 4,     // finished: status() says how
};

// Status on completion.
enum KrylovStatus {
    kConverged = 0,
    kOutOfTurn = 1,    // called after completion or before a start
    kAccuracy = 2,     // the residual stopped decreasing above the requested level
    kNotPositive = 3,  // CG/SYMMLQ: the preconditioner is not positive definite
    kBreakdown = 4,    // a Bi-CG-type breakdown, or A not positive definite for CG
    kIterationLimit = 5,
    kTerminated = 6,   // the caller asked to stop
};

struct KrylovSetup {
    Method method = Method::RGMRES;
    bool precon = false;
    char norm = '2';       // '1', '2', 'I'
    bool weighted = false; // norms weighted by wgt (given to start)
    int iterm = 1;         // 1: ||r|| <= tol (||b|| + ||A|| ||x||); 2: ||r||_2 <= tol (||b||_2 + sigmax ||x||_2)
    long n = 0;
    long m = 0;            // RGMRES: basis size before a restart; BICGSTAB: l
    double tol = 0;        // <= 0: the square root of the working precision's epsilon
    mpfr_srcptr tol_mp = nullptr; // when set, used instead of tol (full precision)
    long maxitn = 0;
    double anorm = 0;      // <= 0: estimated
    mpfr_srcptr anorm_mp = nullptr;
    double sigmax = 0;     // iterm 2; <= 0: estimated (bounded above by ||A||_1 ||A||_inf)
    long monit = 0;        // a monitoring pause every monit iterations (<= 0: none)
};

template <class K>
class TALVO_SPARSE_API Krylov {
public:
    Krylov(const KrylovSetup &s, mpfr_prec_t prec);
    ~Krylov();
    Krylov(const Krylov &) = delete;
    Krylov &operator=(const Krylov &) = delete;

    // The initial guess and right-hand side, and the weights (n reals) when weighted.
    Vec<K> &x() { return x_; }
    Vec<K> &b() { return b_; }
    Vec<K> &wgt() { return wgt_; }

    // Runs to the next request.  Before resuming after kMatvec, kMatvecH or
    // kPrecon the caller has written v() from u(); terminate asks to stop.
    Request resume(bool terminate = false);
    // The vector to multiply or precondition, and where the result goes.
    const Vec<K> &u() const { return *u_; }
    Vec<K> &v() { return *v_; }

    KrylovStatus status() const { return status_; }
    bool done() const { return done_; }
    long iterations() const { return itn_; }
    // The two sides of the stopping test at the last check, the norm of A and
    // the largest singular value used in it.
    mpfr_srcptr stplhs() const { return stplhs_; }
    mpfr_srcptr stprhs() const { return stprhs_; }
    mpfr_srcptr anorm() const { return anorm_; }
    mpfr_srcptr sigmax() const { return sigmax_; }
    const KrylovSetup &setup() const { return s_; }

private:
    Request run();
    Request run_estimate();
    bool test(const Vec<K> &r, const Vec<K> &x); // sets stplhs_, stprhs_
    void threshold(const Vec<K> &x);             // stprhs_ from x
    void wnorm(mpfr_ptr out, const Vec<K> &v, char which);

    KrylovSetup s_;
    mpfr_prec_t prec_;
    Tmp t_;
    int pc_ = 0, epc_ = 0;
    bool done_ = false, need_estimate_ = false;
    KrylovStatus status_ = kConverged;
    long itn_ = 0, since_monitor_ = 0;
    const Vec<K> *u_ = nullptr;
    Vec<K> *v_ = nullptr;
    Vec<K> x_, b_, wgt_, r_, w_, z_;
    mpfr_t stplhs_, stprhs_, anorm_, sigmax_, tol_, bnorm_;

    struct State; // the method's vectors and scalars
    std::unique_ptr<State> st_;
};

// ---------------------------------------------------------------------------
// Black-box solves (drivers.cpp)
// ---------------------------------------------------------------------------

enum class Precon { None, Jacobi, Ssor, Ilu, Ic };

struct SolveResult {
    KrylovStatus status = kConverged;
    long itn = 0;
};

// Solves A x = b with x holding the initial guess, A held by rows (a
// Hermitian A may be held by its lower triangle: lower_hermitian).  ilu:
// the factor for Precon::Ilu and Precon::Ic; rdiag: 1/diag(A) for Jacobi and
// SSOR.  rnorm receives the final residual norm of the stopping test.
template <class K>
TALVO_SPARSE_API SolveResult solve(const Cs<K> &a, bool lower_hermitian, const Vec<K> &b, Vec<K> &x,
                                   const KrylovSetup &s, Precon pc, const IluFactor<std::type_identity_t<K>> *ilu,
                                   const Vec<std::type_identity_t<K>> *rdiag, mpfr_srcptr omega, mpfr_ptr rnorm);

} // namespace talvo::sparse
