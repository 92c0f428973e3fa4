// buffer.hpp -- the storage and the complex arithmetic of the Fourier
// transforms: arrays of MPFR numbers made once per transform size and
// precision, and in-place operations on them.
//
// A transform of length n does O(n log n) multiplications and additions; made
// with host floats, each would allocate an object from the collector.  Here
// every number a transform touches lives in an array whose significands sit
// in one block (MPFR's custom interface), allocated when the plan of that
// length is made and freed when the plan is dropped, so the arithmetic itself
// allocates nothing.  The blocks come from malloc: they hold digits, never a
// host handle, so the collector has nothing to scan in them.
//
// All numbers of one plan (and of the plans inside it) have the same
// precision, so numbers may be exchanged between its arrays with mpfr_swap,
// which moves a value by exchanging significand pointers.  An exchanged
// number then points into another array's block; that is safe because a plan
// frees all its blocks together, and never exchanges numbers with another
// plan's arrays.
#pragma once

#include "few_limbs.hpp"

#include <mpfr.h>

#include <cstddef>

namespace talvo::mp::fft {

struct Complex {
    __mpfr_struct re;
    __mpfr_struct im;
};

// count complex numbers (or 2 * count reals) at one precision, all zero.
class ComplexArray {
public:
    ComplexArray() = default;
    ComplexArray(size_t count, mpfr_prec_t prec);
    ~ComplexArray();
    ComplexArray(const ComplexArray &) = delete;
    ComplexArray &operator=(const ComplexArray &) = delete;
    ComplexArray(ComplexArray &&other) noexcept;
    ComplexArray &operator=(ComplexArray &&other) noexcept;

    Complex *data() { return items_; }
    const Complex *data() const { return items_; }
    Complex &operator[](size_t i) { return items_[i]; }
    const Complex &operator[](size_t i) const { return items_[i]; }
    size_t size() const { return count_; }
    // The i-th of the 2 * size() real numbers (re, im, re, im, ...).
    mpfr_ptr real(size_t i) { return reinterpret_cast<mpfr_ptr>(items_) + i; }

private:
    void release();

    Complex *items_ = nullptr;
    void *limbs_ = nullptr;
    size_t count_ = 0;
};

static_assert(sizeof(Complex) == 2 * sizeof(__mpfr_struct), "a complex number is two adjacent reals");

// ---------------------------------------------------------------------------
// Complex arithmetic in place (round to nearest; operands of the plan's
// precision).  t1 and t2 are scratch reals of the same precision.
// ---------------------------------------------------------------------------

inline void cswap(Complex &a, Complex &b)
{
    mpfr_swap(&a.re, &b.re);
    mpfr_swap(&a.im, &b.im);
}

inline void cset(Complex &r, const Complex &a)
{
    mpfr_set(&r.re, &a.re, MPFR_RNDN);
    mpfr_set(&r.im, &a.im, MPFR_RNDN);
}

inline void cadd(Complex &r, const Complex &a, const Complex &b)
{
    talvo::floatn::add_rn(&r.re, &a.re, &b.re);
    talvo::floatn::add_rn(&r.im, &a.im, &b.im);
}

inline void csub(Complex &r, const Complex &a, const Complex &b)
{
    talvo::floatn::sub_rn(&r.re, &a.re, &b.re);
    talvo::floatn::sub_rn(&r.im, &a.im, &b.im);
}

// r = a * b; r may be a or b.
inline void cmul(Complex &r, const Complex &a, const Complex &b, mpfr_ptr t1, mpfr_ptr t2)
{
    talvo::floatn::mul_rn(t1, &a.re, &b.re);
    talvo::floatn::mul_rn(t2, &a.im, &b.im);
    talvo::floatn::sub_rn(t1, t1, t2);
    talvo::floatn::mul_rn(t2, &a.re, &b.im);
    talvo::floatn::mul_rn(&r.im, &a.im, &b.re);
    talvo::floatn::add_rn(&r.im, &r.im, t2);
    mpfr_swap(&r.re, t1);
}

// r = conj(a * b); r may be a or b.
inline void cmul_conj(Complex &r, const Complex &a, const Complex &b, mpfr_ptr t1, mpfr_ptr t2)
{
    cmul(r, a, b, t1, t2);
    mpfr_neg(&r.im, &r.im, MPFR_RNDN);
}

inline void cconj(Complex &a) { mpfr_neg(&a.im, &a.im, MPFR_RNDN); }

inline void czero(Complex &a)
{
    mpfr_set_zero(&a.re, 1);
    mpfr_set_zero(&a.im, 1);
}

} // namespace talvo::mp::fft
