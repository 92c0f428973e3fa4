// talvo_mp_linalg.h -- dense linear algebra at any precision, shared by the
// regression routines and the optimisation solvers of libtalvomp.
//
// Matrices and vectors hold MPFR numbers of one precision, chosen when they
// are made (the caller adds its guard bits to the precision it must deliver).
// Every operation rounds to nearest at that precision.  The elements live in
// one block (structures and limbs side by side, columns contiguous), made
// once per matrix: no routine below allocates inside its loops, and the
// temporaries a routine needs are made once per call.
//
// Methods (docs/numerics.md, "Dense linear algebra and regression"):
//   - Householder QR, optionally with column pivoting (Businger and Golub
//     1965), the reflectors stored below the diagonal as LAPACK does
//     (v_k(k) = 1 implicit, H_k = I - tau_k v_k v_k^T);
//   - the singular value decomposition by one-sided Jacobi rotations
//     (Hestenes 1958; the convergence test of Demmel and Veselic 1992), on
//     the triangular factor of a QR decomposition when the matrix is tall;
//   - Cholesky, and the modified Cholesky factorisation of Gill, Murray and
//     Wright (Practical Optimization, 1981, sec. 4.4.2.2) that makes an
//     indefinite matrix positive definite with the smallest diagonal change
//     the method's bounds allow;
//   - triangular solves with a matrix or its transpose.
// Costs are O(n^3) (O(m n^2) for an m x n QR); the Jacobi SVD takes a few
// sweeps of O(n^3) each, fewer as the matrix is better conditioned.
#pragma once

#include <mpfr.h>

#include <cstddef>

#define TALVO_LINALG_API __attribute__((visibility("default")))

namespace talvo::linalg {

// n MPFR numbers of one precision in one block, all zero when made.
class TALVO_LINALG_API Block {
public:
    Block() = default;
    Block(long n, mpfr_prec_t prec);
    Block(Block &&other) noexcept;
    Block &operator=(Block &&other) noexcept;
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    ~Block();

    long size() const { return n_; }
    mpfr_prec_t precision() const { return prec_; }
    mpfr_ptr at(long k) { return &elems_[k]; }
    mpfr_srcptr at(long k) const { return &elems_[k]; }

private:
    long n_ = 0;
    mpfr_prec_t prec_ = MPFR_PREC_MIN;
    __mpfr_struct *elems_ = nullptr; // the structures, then the limbs, in one allocation
};

// A column-major rows x cols matrix.
class TALVO_LINALG_API Matrix {
public:
    Matrix() = default;
    Matrix(long rows, long cols, mpfr_prec_t prec) : rows_(rows), cols_(cols), b_(rows * cols, prec) {}

    long rows() const { return rows_; }
    long cols() const { return cols_; }
    mpfr_prec_t precision() const { return b_.precision(); }
    mpfr_ptr operator()(long i, long j) { return b_.at(i + j * rows_); }
    mpfr_srcptr operator()(long i, long j) const { return b_.at(i + j * rows_); }
    // Column j: rows() numbers one after the other.
    mpfr_ptr col(long j) { return b_.at(j * rows_); }
    mpfr_srcptr col(long j) const { return b_.at(j * rows_); }
    void set_zero();
    void set_identity(); // ones on the diagonal, zero elsewhere

private:
    long rows_ = 0, cols_ = 0;
    Block b_;
};

class TALVO_LINALG_API Vector {
public:
    Vector() = default;
    Vector(long n, mpfr_prec_t prec) : b_(n, prec) {}

    long size() const { return b_.size(); }
    mpfr_prec_t precision() const { return b_.precision(); }
    mpfr_ptr operator[](long k) { return b_.at(k); }
    mpfr_srcptr operator[](long k) const { return b_.at(k); }
    mpfr_ptr data() { return b_.at(0); }
    mpfr_srcptr data() const { return b_.at(0); }

private:
    Block b_;
};

// ---------------------------------------------------------------------------
// QR
// ---------------------------------------------------------------------------

// Householder QR of the m x n matrix a, in place: R in the upper triangle of
// the first min(m, n) rows, the reflectors below the diagonal, their scalars
// in tau (size min(m, n)).  With perm (size n) the columns are pivoted so
// that |R(0,0)| >= |R(1,1)| >= ...; perm[j] is then the original index of
// column j.  A column that is already zero below and on the diagonal gets
// tau = 0 (H = I).
TALVO_LINALG_API void qr_householder(Matrix &a, Vector &tau, long *perm = nullptr);

// y := Q^T y and y := Q y for the m numbers at y, with Q from qr_householder.
TALVO_LINALG_API void qr_apply_qt(const Matrix &qr, const Vector &tau, mpfr_ptr y);
TALVO_LINALG_API void qr_apply_q(const Matrix &qr, const Vector &tau, mpfr_ptr y);

// The first q.cols() columns of Q (q is m x k, k <= m).
TALVO_LINALG_API void qr_form_q(const Matrix &qr, const Vector &tau, Matrix &q);

// ---------------------------------------------------------------------------
// Singular value decomposition
// ---------------------------------------------------------------------------

// a (m x n, m >= n) = U diag(s) V^T by one-sided Jacobi rotations.  On exit
// a holds U (its columns for zero singular values are zero), s the singular
// values in decreasing order, v the n x n orthogonal V.  Returns false when
// the rotations had not converged after max_sweeps sweeps (the outputs then
// hold the last iterate).
TALVO_LINALG_API bool svd_jacobi(Matrix &a, Vector &s, Matrix &v, int max_sweeps = 80);

// The same for any m x n matrix with m >= n, a left unchanged: a tall matrix
// is first reduced by QR and the rotations work on its n x n triangle.  u is
// m x n.
TALVO_LINALG_API bool svd(const Matrix &a, Matrix &u, Vector &s, Matrix &v, int max_sweeps = 80);

// ---------------------------------------------------------------------------
// Cholesky
// ---------------------------------------------------------------------------

// a = L L^T for a symmetric a (its lower triangle is read), L in the lower
// triangle of a; the strict upper triangle is not touched.  Returns 0, or the
// 1-based index of the first pivot that is not positive (a is then partly
// overwritten).
TALVO_LINALG_API long cholesky(Matrix &a);

// Modified Cholesky (Gill, Murray and Wright): L D L^T = a + E with L unit
// lower triangular (its strict lower part in a's strict lower triangle, the
// ones not stored), D = diag(d) positive, E = diag(e) >= 0 and E = 0 when a
// is sufficiently positive definite.  The lower triangle of a is read; the
// diagonal of a is overwritten with d.  The method's bounds use the
// relative precision eps = 2^(1 - precision) of a.
TALVO_LINALG_API void modified_cholesky(Matrix &a, Vector &d, Vector &e);

// ---------------------------------------------------------------------------
// Triangular solves, in place on the n numbers at b (n = t.cols())
// ---------------------------------------------------------------------------

// Upper triangular t: t x = b, and t^T x = b.
TALVO_LINALG_API void solve_upper(const Matrix &t, mpfr_ptr b);
TALVO_LINALG_API void solve_upper_transposed(const Matrix &t, mpfr_ptr b);
// Lower triangular t (unit: ones assumed on the diagonal): t x = b, t^T x = b.
TALVO_LINALG_API void solve_lower(const Matrix &t, mpfr_ptr b, bool unit = false);
TALVO_LINALG_API void solve_lower_transposed(const Matrix &t, mpfr_ptr b, bool unit = false);

// ---------------------------------------------------------------------------
// Small helpers the routines share
// ---------------------------------------------------------------------------

// r := sum_k x[k] y[k] over n numbers, at r's precision (t a temporary of
// that precision).
TALVO_LINALG_API void dot(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, long n, mpfr_ptr t);
// y[k] := y[k] + alpha x[k] over n numbers.
TALVO_LINALG_API void axpy(mpfr_ptr y, mpfr_srcptr alpha, mpfr_srcptr x, long n, mpfr_ptr t);

} // namespace talvo::linalg
