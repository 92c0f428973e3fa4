// block.cpp -- the storage of matrices and vectors: n MPFR numbers of one
// precision made with MPFR's custom interface, structures and limbs in one
// allocation.  The limbs hold no host values, so the block comes from the C
// allocator and the collector never scans it.
#include "../talvo_mp_linalg.h"
#include "few_limbs.hpp"

#include <cstdlib>
#include <new>
#include <utility>

namespace talvo::linalg {

Block::Block(long n, mpfr_prec_t prec) : n_(n), prec_(prec)
{
    if (n <= 0) {
        n_ = 0;
        return;
    }
    const size_t limb_bytes = mpfr_custom_get_size(prec);
    const size_t bytes = size_t(n) * (sizeof(__mpfr_struct) + limb_bytes);
    elems_ = static_cast<__mpfr_struct *>(std::malloc(bytes));
    if (elems_ == nullptr)
        throw std::bad_alloc();
    char *limbs = reinterpret_cast<char *>(elems_ + n);
    for (long k = 0; k < n; ++k) {
        void *l = limbs + size_t(k) * limb_bytes;
        mpfr_custom_init(l, prec);
        mpfr_custom_init_set(&elems_[k], MPFR_ZERO_KIND, 0, prec, l);
    }
}

Block::Block(Block &&other) noexcept
    : n_(std::exchange(other.n_, 0)), prec_(other.prec_), elems_(std::exchange(other.elems_, nullptr))
{
}

Block &Block::operator=(Block &&other) noexcept
{
    if (this != &other) {
        std::free(elems_);
        n_ = std::exchange(other.n_, 0);
        prec_ = other.prec_;
        elems_ = std::exchange(other.elems_, nullptr);
    }
    return *this;
}

Block::~Block() { std::free(elems_); }

void Matrix::set_zero()
{
    for (long k = 0; k < rows_ * cols_; ++k)
        mpfr_set_zero(b_.at(k), 1);
}

void Matrix::set_identity()
{
    set_zero();
    for (long k = 0; k < rows_ && k < cols_; ++k)
        mpfr_set_ui((*this)(k, k), 1, MPFR_RNDN);
}

void dot(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, long n, mpfr_ptr t)
{
    mpfr_set_zero(r, 1);
    for (long k = 0; k < n; ++k) {
        talvo::floatn::mul_rn(t, x + k, y + k);
        talvo::floatn::add_rn(r, r, t);
    }
}

void axpy(mpfr_ptr y, mpfr_srcptr alpha, mpfr_srcptr x, long n, mpfr_ptr t)
{
    for (long k = 0; k < n; ++k) {
        talvo::floatn::mul_rn(t, alpha, x + k);
        talvo::floatn::add_rn(y + k, y + k, t);
    }
}

} // namespace talvo::linalg
