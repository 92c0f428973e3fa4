// talvo_float.hpp -- TalvoFloat, the host's multiprecision software float.
//
// A TalvoFloat is one word: the handle (ALGEB) of an immutable host float
// object.  Copying a TalvoFloat copies the handle; every operation makes a new
// object rounded to the precision that the current "Digits" asks for
// (float_precision_bits(Digits): Digits decimal digits plus a few guard bits),
// so printing at "Digits" shows what a decimal user expects.
//
// The float object is a binary MPFR number with its limbs inline; it holds no
// pointers the collector must follow, so it is allocated as atomic memory.
// Undefined is MPFR's NaN and compares like one; the infinities are MPFR's.
//
// The float library does not know the host: a host binds it at start with
// talvo_float_bind_host (memory, conversion of host numbers, functions by
// name) and tells it every change of "Digits" with talvo_float_set_digits.
// Without a host, memory comes straight from the collector and only floats
// and doubles can be converted.
#pragma once

#include "talvo_kernel.h"

#include <mpfr.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#define TALVO_FLOAT_API __attribute__((visibility("default")))

// ---------------------------------------------------------------------------
// The float object, shared with the host
// ---------------------------------------------------------------------------

struct TalvoFloatObject {
    uintptr_t header;    // TALVO_TYPE_FLOAT in the top bits
    __mpfr_struct value; // _mpfr_d points at limbs below
    mp_limb_t limbs[1];  // as many as the precision needs
};

// What the float library asks of its host.
struct TalvoFloatHost {
    // Collected memory that is not scanned, zero filled.
    void *(*alloc_atomic)(size_t bytes);
    // A host numeric value (integer, rational, float) as a float object at the
    // current precision; raises the host's error for anything else.
    ALGEB (*to_float)(ALGEB x);
    // Evaluate the host function of that name at x, as a float object.
    ALGEB (*evalf1)(const char *name, ALGEB x);
    // The collector had no memory for a request of `bytes`, even after a full
    // collection: raise the host's error (must not return).  Without it the
    // float library throws std::bad_alloc.
    void (*out_of_memory)(size_t bytes);
};

TALVO_FLOAT_API void talvo_float_bind_host(const TalvoFloatHost *host);

// "Digits" as the float library sees it; the host calls set_digits whenever
// the host variable changes (it accepts 1 .. TALVO_FLOAT_MAX_DIGITS).
#define TALVO_FLOAT_MAX_DIGITS 1000000
TALVO_FLOAT_API void talvo_float_set_digits(long digits);
TALVO_FLOAT_API long talvo_float_digits();
// Working precision in bits for a number of decimal digits, and for the current "Digits".
TALVO_FLOAT_API mpfr_prec_t talvo_float_precision_bits(long digits);
TALVO_FLOAT_API mpfr_prec_t talvo_float_precision();

// Low-level object services (for the host and the numerics library).
// A new float object of the given precision holding NaN; fill it through
// talvo_float_mpfr before anyone else sees it.
TALVO_FLOAT_API ALGEB talvo_float_new(mpfr_prec_t prec);
TALVO_FLOAT_API mpfr_ptr talvo_float_mpfr(ALGEB f);
TALVO_FLOAT_API mpfr_srcptr talvo_float_value(ALGEB f);
// A float object holding x rounded to prec bits (prec 0: the current precision).
TALVO_FLOAT_API ALGEB talvo_float_from_mpfr(mpfr_srcptr x, mpfr_prec_t prec);
TALVO_FLOAT_API ALGEB talvo_float_from_double(double x, mpfr_prec_t prec);
// Decimal text ("0.95", "1.5e-10", "-2.") to a float object at prec bits
// (correctly rounded); nullptr when the text is not a decimal number.
TALVO_FLOAT_API ALGEB talvo_float_parse(const char *text, mpfr_prec_t prec);
// Printed form with `digits` significant decimal digits, trailing zeros
// dropped, and a form that reads back: "0.3", "3.141592654", "2.", "-1.5e-10",
// "1.234e+20"; the special values print as "Float(undefined)",
// "Float(infinity)" and "Float(-infinity)".
TALVO_FLOAT_API std::string talvo_float_to_string(ALGEB f, long digits);

// ---------------------------------------------------------------------------
// TalvoFloat
// ---------------------------------------------------------------------------

class TALVO_FLOAT_API TalvoFloat {
public:
    TalvoFloat();                      // 0
    TalvoFloat(const TalvoFloat &) = default;
    TalvoFloat(double x);              // rounded to the current precision
    explicit TalvoFloat(ALGEB x);      // a host numeric value; a float is taken as it is
    ~TalvoFloat() = default;

    TalvoFloat &operator=(const TalvoFloat &) = default;
    TalvoFloat &operator=(double x);
    TalvoFloat &operator+=(const TalvoFloat &b);
    TalvoFloat &operator-=(const TalvoFloat &b);
    TalvoFloat &operator*=(const TalvoFloat &b);
    TalvoFloat &operator/=(const TalvoFloat &b);

    // The host handle; handing it to the host costs nothing.
    ALGEB handle() const { return h_; }
    mpfr_srcptr mpfr() const;
    // The value as a native double (round to nearest).
    double to_double() const;

    // Wrap an existing float object without conversion.
    static TalvoFloat from_handle(ALGEB f);

private:
    ALGEB h_;
};

static_assert(sizeof(TalvoFloat) == sizeof(ALGEB), "TalvoFloat is one word");

TALVO_FLOAT_API TalvoFloat DAGtoFLOAT(ALGEB x);

TALVO_FLOAT_API TalvoFloat operator+(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API TalvoFloat operator-(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API TalvoFloat operator*(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API TalvoFloat operator/(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API TalvoFloat operator/(double a, const TalvoFloat &b);
TALVO_FLOAT_API TalvoFloat operator-(const TalvoFloat &a);
// a * b with the integer b exact: one rounding.
TALVO_FLOAT_API TalvoFloat operator*(const TalvoFloat &a, long b);
// Without these, a double would convert to the long of the overload above
// (a standard conversion beats the user-defined one to TalvoFloat): x * 0.5
// would silently be x * 0.  A double operand must be made a TalvoFloat.
template <class T>
    requires std::is_floating_point_v<T>
TalvoFloat operator*(const TalvoFloat &a, T b) = delete;

// Comparisons: false whenever either side is undefined (except !=, true).
TALVO_FLOAT_API bool operator==(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API bool operator!=(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API bool operator<(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API bool operator<=(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API bool operator>(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API bool operator>=(const TalvoFloat &a, const TalvoFloat &b);
TALVO_FLOAT_API bool operator>(const TalvoFloat &a, long b);
template <class T>
    requires std::is_floating_point_v<T>
bool operator>(const TalvoFloat &a, T b) = delete; // as for operator*

TALVO_FLOAT_API TalvoFloat exp(const TalvoFloat &x);
TALVO_FLOAT_API TalvoFloat log(const TalvoFloat &x);
TALVO_FLOAT_API TalvoFloat sqrt(const TalvoFloat &x);
TALVO_FLOAT_API TalvoFloat floor(const TalvoFloat &x);
TALVO_FLOAT_API TalvoFloat ceil(const TalvoFloat &x);
TALVO_FLOAT_API TalvoFloat fabs(const TalvoFloat &x);
TALVO_FLOAT_API TalvoFloat pow(const TalvoFloat &x, const TalvoFloat &y);
TALVO_FLOAT_API TalvoFloat pow(const TalvoFloat &x, double y);
TALVO_FLOAT_API TalvoFloat pow(double x, const TalvoFloat &y);
// Magnitude of a with the sign of b.
TALVO_FLOAT_API TalvoFloat Sign(const TalvoFloat &a, const TalvoFloat &b);

// The current value of the host variable "Digits".
TALVO_FLOAT_API int TalvoDigits();
// The host function of that name ("sin", "cos", ...) evaluated at x.
TALVO_FLOAT_API TalvoFloat TalvoEvalf1(const char *name, const TalvoFloat &x);
// Truncation toward zero to a native integer; saturates at the long range,
// and undefined gives 0.
TALVO_FLOAT_API long FloatToInt(const TalvoFloat &x);

TALVO_FLOAT_API TalvoFloat TalvoFloatUndefined();
TALVO_FLOAT_API bool IsTalvoFloatUndefined(const TalvoFloat &x);
TALVO_FLOAT_API bool IsTalvoFloatInfinity(const TalvoFloat &x);         // +infinity
TALVO_FLOAT_API bool IsTalvoFloatNegativeInfinity(const TalvoFloat &x); // -infinity
