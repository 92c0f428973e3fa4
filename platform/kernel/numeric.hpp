// numeric.hpp -- numbers of the host: integers of any size (immediate words and
// GMP), exact rationals, software floats and complex numbers, with exact
// arithmetic wherever both sides are exact.
//
// Contagion: integer op integer -> integer; exact op exact -> exact rational
// (normalised: a rational with denominator 1 is an integer); anything with a
// float -> float at the current precision; anything with a complex -> complex
// (a complex whose imaginary part is an exact 0 is its real part).
#pragma once

#include "object.hpp"

#include <gmp.h>
#include <mpfr.h>

#include <string>
#include <string_view>

namespace talvo::num {

// A scratch MPFR number of a given precision, cleared on scope exit.
struct MpfrTemp {
    mpfr_t v;
    explicit MpfrTemp(mpfr_prec_t prec) { mpfr_init2(v, prec); }
    ~MpfrTemp() { mpfr_clear(v); }
    MpfrTemp(const MpfrTemp &) = delete;
    MpfrTemp &operator=(const MpfrTemp &) = delete;
};

// Arithmetic on numeric values (is_any_numeric on both sides).  Division by an
// exact zero raises "numeric exception: division by zero".
ALGEB add(ALGEB a, ALGEB b);
ALGEB sub(ALGEB a, ALGEB b);
ALGEB mul(ALGEB a, ALGEB b);
ALGEB div(ALGEB a, ALGEB b);
ALGEB neg(ALGEB a);
// a^b for numeric a and b.  Exact when b is an integer and a exact (a^(-n)
// exact rational); a float result when either is a float; nullptr when the
// result is not a number of the host (2^(1/2) stays symbolic; the caller
// keeps the unevaluated power).  0^(-n) raises the division by zero error.
ALGEB power(ALGEB a, ALGEB b);
// Integer quotient and remainder (truncating), for the builtins iquo/irem.
ALGEB iquo(ALGEB a, ALGEB b);
ALGEB irem(ALGEB a, ALGEB b);

// Comparison of real numbers: -1, 0 or 1; kUnordered when a float is undefined.
constexpr int kUnordered = 2;
int compare(ALGEB a, ALGEB b);
int sign(ALGEB a);               // of a real number; 0 for undefined
bool is_zero(ALGEB a);           // exact or float zero
bool is_exact_zero(ALGEB a);     // the integer 0

// Conversions.
ALGEB to_float(ALGEB a, mpfr_prec_t prec);   // real numeric -> float object (prec 0: current)
ALGEB to_float_complex(ALGEB a, mpfr_prec_t prec); // complex -> complex of floats
void to_mpfr(ALGEB a, mpfr_ptr out);          // real numeric into an initialised mpfr
double to_double(ALGEB a);                     // real numeric, round to nearest
void to_mpz(ALGEB integer, mpz_ptr out);      // into an initialised mpz
void to_mpq(ALGEB exact, mpq_ptr out);        // into an initialised mpq
ALGEB from_mpz(mpz_srcptr z);                  // immediate when it fits
ALGEB from_mpq(mpq_srcptr q);                  // canonical: integer when den = 1
ALGEB make_rational(ALGEB num, ALGEB den);     // exact num/den, normalised
ALGEB make_complex(ALGEB re, ALGEB im);        // normalised (exact 0 im -> re)
ALGEB real_part(ALGEB a);
ALGEB imag_part(ALGEB a);
ALGEB floor(ALGEB a);                          // real numeric -> integer
ALGEB ceil(ALGEB a);
ALGEB abs(ALGEB a);                            // complex: float modulus

// Decimal integer text to an integer; nullptr when malformed.
ALGEB parse_integer(std::string_view digits);
std::string integer_to_string(ALGEB integer);

} // namespace talvo::num
