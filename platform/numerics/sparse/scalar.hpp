// scalar.hpp -- the arithmetic the sparse routines are written in, once for
// real and once for complex numbers.
//
// A vector of n numbers is a talvo::linalg::Vector of n (real) or 2 n
// (complex: real part, imaginary part, side by side) MPFR numbers of one
// precision; element k is reached as a pointer to its first MPFR number, so
// the same template code serves both kinds.  Scalars are one-element vectors.
// Every operation rounds to nearest at the precision of its result; the
// complex products use the temporaries of a Tmp made once per routine, so no
// inner loop allocates.
#pragma once

#include "../talvo_mp_linalg.h"
#include "few_limbs.hpp"

#include <mpfr.h>

namespace talvo::sparse {

using linalg::Vector;

// Temporaries of the working precision for the complex products.
struct Tmp {
    Vector t;
    explicit Tmp(mpfr_prec_t prec) : t(4, prec) {}
    mpfr_ptr operator[](int k) { return t[k]; }
};

struct RealKind {
    static constexpr int W = 1; // MPFR numbers per element
    static constexpr bool complex = false;

    static void set(mpfr_ptr r, mpfr_srcptr a) { mpfr_set(r, a, MPFR_RNDN); }
    static void zero(mpfr_ptr r) { mpfr_set_zero(r, 1); }
    static void set_si(mpfr_ptr r, long v) { mpfr_set_si(r, v, MPFR_RNDN); }
    static void set_real(mpfr_ptr r, mpfr_srcptr v) { mpfr_set(r, v, MPFR_RNDN); }
    static bool is_zero(mpfr_srcptr a) { return mpfr_zero_p(a); }
    static bool is_finite(mpfr_srcptr a) { return mpfr_number_p(a); }
    static void add(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { talvo::floatn::add_rn(r, a, b); }
    static void sub(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) { talvo::floatn::sub_rn(r, a, b); }
    static void neg(mpfr_ptr r, mpfr_srcptr a) { mpfr_neg(r, a, MPFR_RNDN); }
    static void conj(mpfr_ptr r, mpfr_srcptr a) { mpfr_set(r, a, MPFR_RNDN); }
    static void mul(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, Tmp &) { talvo::floatn::mul_rn(r, a, b); }
    // r = conj(a) b
    static void cmul(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, Tmp &) { talvo::floatn::mul_rn(r, a, b); }
    static void div(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, Tmp &) { mpfr_div(r, a, b, MPFR_RNDN); }
    static void inv(mpfr_ptr r, mpfr_srcptr a, Tmp &) { mpfr_ui_div(r, 1, a, MPFR_RNDN); }
    // y += a x and y -= a x (one product and one sum, each rounded)
    static void muladd(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t)
    {
        talvo::floatn::mul_rn(t[0], a, x);
        talvo::floatn::add_rn(y, y, t[0]);
    }
    static void mulsub(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t)
    {
        talvo::floatn::mul_rn(t[0], a, x);
        talvo::floatn::sub_rn(y, y, t[0]);
    }
    // y += conj(a) x and y -= conj(a) x
    static void cmuladd(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t) { muladd(y, a, x, t); }
    static void cmulsub(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t) { mulsub(y, a, x, t); }
    // r = a s with s real
    static void scale(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr s) { talvo::floatn::mul_rn(r, a, s); }
    static void abs(mpfr_ptr r, mpfr_srcptr a, Tmp &) { mpfr_abs(r, a, MPFR_RNDN); }
    static void abs2(mpfr_ptr r, mpfr_srcptr a, Tmp &) { mpfr_sqr(r, a, MPFR_RNDN); }
    static void real_part(mpfr_ptr r, mpfr_srcptr a) { mpfr_set(r, a, MPFR_RNDN); }
    static int cmpabs(mpfr_srcptr a, mpfr_srcptr b, Tmp &) { return mpfr_cmpabs(a, b); }
};

struct ComplexKind {
    static constexpr int W = 2;
    static constexpr bool complex = true;

    static void set(mpfr_ptr r, mpfr_srcptr a)
    {
        mpfr_set(r, a, MPFR_RNDN);
        mpfr_set(r + 1, a + 1, MPFR_RNDN);
    }
    static void zero(mpfr_ptr r)
    {
        mpfr_set_zero(r, 1);
        mpfr_set_zero(r + 1, 1);
    }
    static void set_si(mpfr_ptr r, long v)
    {
        mpfr_set_si(r, v, MPFR_RNDN);
        mpfr_set_zero(r + 1, 1);
    }
    static void set_real(mpfr_ptr r, mpfr_srcptr v)
    {
        mpfr_set(r, v, MPFR_RNDN);
        mpfr_set_zero(r + 1, 1);
    }
    static bool is_zero(mpfr_srcptr a) { return mpfr_zero_p(a) && mpfr_zero_p(a + 1); }
    static bool is_finite(mpfr_srcptr a) { return mpfr_number_p(a) && mpfr_number_p(a + 1); }
    static void add(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b)
    {
        talvo::floatn::add_rn(r, a, b);
        talvo::floatn::add_rn(r + 1, a + 1, b + 1);
    }
    static void sub(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b)
    {
        talvo::floatn::sub_rn(r, a, b);
        talvo::floatn::sub_rn(r + 1, a + 1, b + 1);
    }
    static void neg(mpfr_ptr r, mpfr_srcptr a)
    {
        mpfr_neg(r, a, MPFR_RNDN);
        mpfr_neg(r + 1, a + 1, MPFR_RNDN);
    }
    static void conj(mpfr_ptr r, mpfr_srcptr a)
    {
        mpfr_set(r, a, MPFR_RNDN);
        mpfr_neg(r + 1, a + 1, MPFR_RNDN);
    }
    // (a + bi)(c + di); r may alias a or b
    static void mul(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, Tmp &t)
    {
        talvo::floatn::mul_rn(t[0], a, b);
        talvo::floatn::mul_rn(t[1], a + 1, b + 1);
        talvo::floatn::mul_rn(t[2], a, b + 1);
        talvo::floatn::mul_rn(t[3], a + 1, b);
        talvo::floatn::sub_rn(r, t[0], t[1]);
        talvo::floatn::add_rn(r + 1, t[2], t[3]);
    }
    static void cmul(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, Tmp &t)
    {
        talvo::floatn::mul_rn(t[0], a, b);
        talvo::floatn::mul_rn(t[1], a + 1, b + 1);
        talvo::floatn::mul_rn(t[2], a, b + 1);
        talvo::floatn::mul_rn(t[3], a + 1, b);
        talvo::floatn::add_rn(r, t[0], t[1]);
        talvo::floatn::sub_rn(r + 1, t[2], t[3]);
    }
    // a / b = a conj(b) / |b|^2
    static void div(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, Tmp &t)
    {
        mpfr_sqr(t[0], b, MPFR_RNDN);
        mpfr_fma(t[0], b + 1, b + 1, t[0], MPFR_RNDN); // |b|^2
        talvo::floatn::mul_rn(t[1], a, b);
        mpfr_fma(t[1], a + 1, b + 1, t[1], MPFR_RNDN); // Re(a conj b)
        talvo::floatn::mul_rn(t[2], a + 1, b);
        talvo::floatn::mul_rn(t[3], a, b + 1);
        talvo::floatn::sub_rn(t[2], t[2], t[3]); // Im(a conj b)
        mpfr_div(r, t[1], t[0], MPFR_RNDN);
        mpfr_div(r + 1, t[2], t[0], MPFR_RNDN);
    }
    static void inv(mpfr_ptr r, mpfr_srcptr a, Tmp &t)
    {
        mpfr_sqr(t[0], a, MPFR_RNDN);
        mpfr_fma(t[0], a + 1, a + 1, t[0], MPFR_RNDN);
        mpfr_div(r, a, t[0], MPFR_RNDN);
        mpfr_div(r + 1, a + 1, t[0], MPFR_RNDN);
        mpfr_neg(r + 1, r + 1, MPFR_RNDN);
    }
    // (t[0], t[2]) = a x, or conj(a) x when conjugate is set.
    static void product(mpfr_srcptr a, mpfr_srcptr x, Tmp &t, bool conjugate)
    {
        talvo::floatn::mul_rn(t[0], a, x);
        talvo::floatn::mul_rn(t[1], a + 1, x + 1);
        talvo::floatn::mul_rn(t[2], a, x + 1);
        talvo::floatn::mul_rn(t[3], a + 1, x);
        if (conjugate) {
            talvo::floatn::add_rn(t[0], t[0], t[1]);
            talvo::floatn::sub_rn(t[2], t[2], t[3]);
        } else {
            talvo::floatn::sub_rn(t[0], t[0], t[1]);
            talvo::floatn::add_rn(t[2], t[2], t[3]);
        }
    }
    static void muladd(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t)
    {
        product(a, x, t, false);
        talvo::floatn::add_rn(y, y, t[0]);
        talvo::floatn::add_rn(y + 1, y + 1, t[2]);
    }
    static void mulsub(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t)
    {
        product(a, x, t, false);
        talvo::floatn::sub_rn(y, y, t[0]);
        talvo::floatn::sub_rn(y + 1, y + 1, t[2]);
    }
    // y += conj(a) x
    static void cmuladd(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t)
    {
        product(a, x, t, true);
        talvo::floatn::add_rn(y, y, t[0]);
        talvo::floatn::add_rn(y + 1, y + 1, t[2]);
    }
    static void cmulsub(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr x, Tmp &t)
    {
        product(a, x, t, true);
        talvo::floatn::sub_rn(y, y, t[0]);
        talvo::floatn::sub_rn(y + 1, y + 1, t[2]);
    }
    static void scale(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr s)
    {
        talvo::floatn::mul_rn(r, a, s);
        talvo::floatn::mul_rn(r + 1, a + 1, s);
    }
    static void abs(mpfr_ptr r, mpfr_srcptr a, Tmp &) { mpfr_hypot(r, a, a + 1, MPFR_RNDN); }
    static void abs2(mpfr_ptr r, mpfr_srcptr a, Tmp &)
    {
        mpfr_sqr(r, a, MPFR_RNDN);
        mpfr_fma(r, a + 1, a + 1, r, MPFR_RNDN);
    }
    static void real_part(mpfr_ptr r, mpfr_srcptr a) { mpfr_set(r, a, MPFR_RNDN); }
    static int cmpabs(mpfr_srcptr a, mpfr_srcptr b, Tmp &t)
    {
        abs2(t[2], a, t);
        abs2(t[3], b, t);
        return mpfr_cmp(t[2], t[3]);
    }
};

// n elements of kind K.
template <class K>
class Vec {
public:
    Vec() = default;
    Vec(long n, mpfr_prec_t prec) : n_(n), v_(n * K::W, prec) {}
    long size() const { return n_; }
    mpfr_prec_t precision() const { return v_.precision(); }
    mpfr_ptr operator[](long k) { return v_[k * K::W]; }
    mpfr_srcptr operator[](long k) const { return v_[k * K::W]; }

private:
    long n_ = 0;
    Vector v_;
};

// One number of kind K (a vector of one element).
template <class K>
class Num {
public:
    explicit Num(mpfr_prec_t prec) : v_(1, prec) {}
    mpfr_ptr p() { return v_[0]; }
    operator mpfr_ptr() { return v_[0]; }

private:
    Vec<K> v_;
};

// A real temporary.
struct Real {
    mpfr_t v;
    explicit Real(mpfr_prec_t prec)
    {
        mpfr_init2(v, prec);
        mpfr_set_zero(v, 1);
    }
    Real(const Real &) = delete;
    Real &operator=(const Real &) = delete;
    ~Real() { mpfr_clear(v); }
    operator mpfr_ptr() { return v; }
    operator mpfr_srcptr() const { return v; }
};

// ---------------------------------------------------------------------------
// Vector operations over n elements
// ---------------------------------------------------------------------------

template <class K>
void copy(Vec<K> &y, const Vec<K> &x)
{
    for (long k = 0; k < x.size(); ++k)
        K::set(y[k], x[k]);
}

template <class K>
void set_zero(Vec<K> &y)
{
    for (long k = 0; k < y.size(); ++k)
        K::zero(y[k]);
}

// y += a x
template <class K>
void axpy(Vec<K> &y, mpfr_srcptr a, const Vec<K> &x, Tmp &t)
{
    for (long k = 0; k < x.size(); ++k)
        K::muladd(y[k], a, x[k], t);
}

// y -= a x
template <class K>
void axmy(Vec<K> &y, mpfr_srcptr a, const Vec<K> &x, Tmp &t)
{
    for (long k = 0; k < x.size(); ++k)
        K::mulsub(y[k], a, x[k], t);
}

// r = x^H y (the conjugate of x's elements)
template <class K>
void dot(mpfr_ptr r, const Vec<K> &x, const Vec<K> &y, Tmp &t, mpfr_ptr acc)
{
    K::zero(acc);
    for (long k = 0; k < x.size(); ++k)
        K::cmuladd(acc, x[k], y[k], t);
    K::set(r, acc);
}

// The 1-, 2- or infinity-norm of x (which: '1', '2', 'I').
template <class K>
void norm(mpfr_ptr r, const Vec<K> &x, char which, Tmp &t)
{
    Real a(mpfr_get_prec(r));
    mpfr_set_zero(r, 1);
    for (long k = 0; k < x.size(); ++k) {
        if (which == '2') {
            K::abs2(a, x[k], t);
            talvo::floatn::add_rn(r, r, a);
        } else {
            K::abs(a, x[k], t);
            if (which == '1')
                talvo::floatn::add_rn(r, r, a);
            else if (mpfr_cmp(a, r) > 0)
                mpfr_set(r, a, MPFR_RNDN);
        }
    }
    if (which == '2')
        mpfr_sqrt(r, r, MPFR_RNDN);
}

} // namespace talvo::sparse
