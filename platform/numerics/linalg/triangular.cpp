// triangular.cpp -- solves with a triangular matrix or its transpose, in
// place.  Each loop runs down a column, which is contiguous in memory: the
// column form (x_j := b_j / t_jj, then b_i -= t_ij x_j) for t x = b, the dot
// product form for t^T x = b.
#include "../talvo_mp_linalg.h"
#include "few_limbs.hpp"
#include "temp.hpp"

namespace talvo::linalg {

void solve_upper(const Matrix &t, mpfr_ptr b)
{
    const long n = t.cols();
    Temp w(t.precision()), s(t.precision());
    for (long j = n - 1; j >= 0; --j) {
        mpfr_div(b + j, b + j, t(j, j), MPFR_RNDN);
        mpfr_neg(w, b + j, MPFR_RNDN);
        axpy(b, w, t.col(j), j, s);
    }
}

void solve_upper_transposed(const Matrix &t, mpfr_ptr b)
{
    const long n = t.cols();
    Temp acc(t.precision()), s(t.precision());
    for (long i = 0; i < n; ++i) {
        dot(acc, t.col(i), b, i, s);
        talvo::floatn::sub_rn(b + i, b + i, acc);
        mpfr_div(b + i, b + i, t(i, i), MPFR_RNDN);
    }
}

void solve_lower(const Matrix &t, mpfr_ptr b, bool unit)
{
    const long n = t.cols();
    Temp w(t.precision()), s(t.precision());
    for (long j = 0; j < n; ++j) {
        if (!unit)
            mpfr_div(b + j, b + j, t(j, j), MPFR_RNDN);
        mpfr_neg(w, b + j, MPFR_RNDN);
        axpy(b + j + 1, w, t.col(j) + j + 1, n - j - 1, s);
    }
}

void solve_lower_transposed(const Matrix &t, mpfr_ptr b, bool unit)
{
    const long n = t.cols();
    Temp acc(t.precision()), s(t.precision());
    for (long i = n - 1; i >= 0; --i) {
        dot(acc, t.col(i) + i + 1, b + i + 1, n - i - 1, s);
        talvo::floatn::sub_rn(b + i, b + i, acc);
        if (!unit)
            mpfr_div(b + i, b + i, t(i, i), MPFR_RNDN);
    }
}

} // namespace talvo::linalg
