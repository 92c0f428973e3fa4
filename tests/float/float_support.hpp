// float_support.hpp -- helpers shared by the float library's tests.
#pragma once

#include "talvo_float.hpp"

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
