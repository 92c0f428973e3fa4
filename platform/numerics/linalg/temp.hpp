// temp.hpp -- a scratch MPFR number for the linear algebra routines, made
// once per call and released on every way out.
#pragma once

#include <mpfr.h>

namespace talvo::linalg {

struct Temp {
    mpfr_t v;
    explicit Temp(mpfr_prec_t prec) { mpfr_init2(v, prec); }
    Temp(const Temp &) = delete;
    Temp &operator=(const Temp &) = delete;
    ~Temp() { mpfr_clear(v); }
    operator mpfr_ptr() { return v; }
    operator mpfr_srcptr() const { return v; }
    // For MPFR's macros (mpfr_sgn(x) reads (x)->_mpfr_sign).
    mpfr_ptr operator->() { return v; }
    mpfr_srcptr operator->() const { return v; }
};

} // namespace talvo::linalg
