// float_support.hpp -- helpers shared by the float library's tests.
#pragma once

#include "talvo_float.hpp"

#include <cstdint>
#include <initializer_list>
#include <random>

// An MPFR number owned by the test.
struct Ref {
    mpfr_t v;
    explicit Ref(mpfr_prec_t prec) { mpfr_init2(v, prec); }
    ~Ref() { mpfr_clear(v); }
    Ref(const Ref &) = delete;
    Ref &operator=(const Ref &) = delete;
};

// Sets "Digits" for one test and puts the old value back.
struct DigitsScope {
    long saved;
    explicit DigitsScope(long d) : saved(talvo_float_digits()) { talvo_float_set_digits(d); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

// A regular MPFR number owned by the test, of precision prec, with random
// significand bits or the given limbs; the top bit is forced to 1 and the
// bits beyond prec are cleared.
struct Operand {
    mpfr_t v;
    Operand(mpfr_prec_t prec, std::mt19937_64 &rng, mpfr_exp_t exp, int sign)
    {
        mpfr_init2(v, prec);
        const int k = int((prec + 63) / 64);
        for (int i = 0; i < k; ++i)
            v->_mpfr_d[i] = rng();
        finish(prec, exp, sign);
    }
    // One limb's bits (for precisions up to 64).
    Operand(mpfr_prec_t prec, uint64_t limb, mpfr_exp_t exp, int sign) : Operand(prec, {limb}, exp, sign) {}
    // From the top limb down; limbs not given are zero.
    Operand(mpfr_prec_t prec, std::initializer_list<uint64_t> top_down, mpfr_exp_t exp, int sign)
    {
        mpfr_init2(v, prec);
        const int k = int((prec + 63) / 64);
        for (int i = 0; i < k; ++i)
            v->_mpfr_d[i] = 0;
        int i = k - 1;
        for (uint64_t limb : top_down)
            if (i >= 0)
                v->_mpfr_d[i--] = limb;
        finish(prec, exp, sign);
    }
    void finish(mpfr_prec_t prec, mpfr_exp_t exp, int sign)
    {
        const int k = int((prec + 63) / 64);
        const int unused = int(64 * k - prec);
        if (unused > 0)
            v->_mpfr_d[0] &= ~((uint64_t(1) << unused) - 1);
        v->_mpfr_d[k - 1] |= uint64_t(1) << 63;
        v->_mpfr_exp = exp;
        v->_mpfr_sign = sign;
    }
    ~Operand() { mpfr_clear(v); }
    Operand(const Operand &) = delete;
    Operand &operator=(const Operand &) = delete;
};
