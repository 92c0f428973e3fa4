// support.hpp -- what every routine of libtalvomp shares: the accuracy a call
// asks for, conversion between TalvoFloat and Arb balls, the precision loop,
// and the error record with its argument checks.
//
// A routine reads like this (in this order: undefined inputs, parameter
// checks, boundaries, then one computation):
//
//     Call call("TalvoMP_g01ecc", fail);
//     if (!call.tail_lower_upper(tail) || !call.at_least("x", x, 0) || ...)
//         return call.undefined();
//     ...
//     Status s = ziv({out}, target, [&](slong wp) { ...; return Status::Ok; });
//     return call.result(out, target, s);
#pragma once

#include "../talvo_mp.h"
#include "arb_types.hpp"

#include <initializer_list>
#include <string>

namespace talvo::mp {

// ---------------------------------------------------------------------------
// Accuracy
// ---------------------------------------------------------------------------

// What a call must deliver: floats of out_prec bits whose balls, before the
// final rounding, have a relative radius below 2^-goal.  With the full
// precision goal = out_prec - 2: radius plus rounding stay below 5 * 2^-out_prec,
// less than a third of a unit in the D-th digit (out_prec >= D log2(10) + 4).
struct Target {
    slong out_prec;
    slong goal;
};

// The current "Digits".
Target target_full();

// Shapes and degrees of freedom are turned into exact rationals for the
// hypergeometric series; one below 2^-kTinyShapeBits would give a denominator
// of more bits than that, and series whose every term costs minutes.  Such a
// shape takes a limit form (the incomplete gamma functions) or is refused.
constexpr slong kTinyShapeBits = 131072;
// True when x is nonzero and |x| < 2^-kTinyShapeBits.
bool shape_is_tiny(const TalvoFloat &x);
// The current "Digits", or fewer digits when tol asks for less: tol in
// [10^-D, 1) asks for ceil(-log10(tol)) digits; anything else for all D.
Target target_for_tol(const TalvoFloat &tol);

enum class Status {
    Ok,
    NoConvergence, // the caller's iteration limit was reached
    TooCostly,     // the series would need more terms than any call may use
    Inaccurate,    // the working precision reached its limit without the accuracy
    Unresolved     // a deviate's iteration did not settle (it lies at the edge of the float range)
};

// True when the ball is exact or its relative radius is below 2^-goal.
bool accurate_to(arb_srcptr x, slong goal);
// True when every point of the ball is below the smallest positive float in
// magnitude (2^(emin - 1), MPFR's exponent range): the result is then 0
// however narrow the ball would become (a far tail such as erfc(10^7)).
bool below_float_range(arb_srcptr x);

// True when every point of the finite ball x rounds to nearest to the same
// float of prec bits: the float made of its midpoint is then the correctly
// rounded value of whatever the ball holds (the test of a fast path that
// may only answer where its answer is certain).
bool rounds_uniquely(arb_srcptr x, slong prec);

// The working precision after an attempt at wp produced `have` accurate bits
// where `goal` were wanted: the shortfall plus a margin, or double when the
// ball is too wide to say.  Returns 0 once the precision would pass the
// give-up limit (64 goal + 20000 bits: far beyond any cancellation a valid
// input produces).
slong next_precision(slong wp, slong have, slong goal);

// The precision loop of every routine: eval(wp) fills the outputs at working
// precision wp; the loop raises wp until every output is accurate to
// target.goal bits.  The first attempt uses goal + guard bits.
template <class Eval>
Status ziv(std::initializer_list<arb_ptr> outputs, const Target &target, slong guard, Eval &&eval)
{
    slong wp = target.goal + guard;
    for (;;) {
        Status s = eval(wp);
        if (s != Status::Ok)
            return s;
        slong have = ARF_PREC_EXACT;
        for (arb_ptr x : outputs) {
            if (!accurate_to(x, target.goal) && !below_float_range(x)) {
                slong h = arb_rel_accuracy_bits(x);
                if (h < have)
                    have = h;
            }
        }
        if (have >= target.goal)
            return Status::Ok;
        wp = next_precision(wp, have, target.goal);
        if (wp == 0)
            return Status::Inaccurate;
    }
}

// The precision loop for one result that must be the correctly rounded
// float of target.out_prec bits, so that a caller deriving the same value
// another way gets the same float: as ziv, then more precision until every
// point of the ball rounds to nearest to the same float.  (A value exactly
// on a rounding boundary would never be decided: past the give-up limit the
// accurate ball is kept once the precision passes 4 out_prec + 256 bits: a
// value that close to a boundary is rarer than 2^-(3 out_prec), and some
// balls, such as erfc of a huge argument next to 0 or 2, do not narrow.)
template <class Eval>
Status ziv_rounded(arb_ptr out, const Target &target, slong guard, Eval &&eval)
{
    slong wp = target.goal + guard;
    const slong rounding_limit = 4 * target.out_prec + 256;
    for (;;) {
        Status s = eval(wp);
        if (s != Status::Ok)
            return s;
        const bool tiny = below_float_range(out);
        const bool accurate = tiny || accurate_to(out, target.goal);
        if (accurate && (tiny || rounds_uniquely(out, target.out_prec)))
            return Status::Ok;
        if (accurate) {
            slong next = wp + wp / 4 + 32;
            if (next > rounding_limit)
                return Status::Ok;
            wp = next;
            continue;
        }
        wp = next_precision(wp, arb_rel_accuracy_bits(out), target.goal);
        if (wp == 0)
            return Status::Inaccurate;
    }
}

// ---------------------------------------------------------------------------
// Conversion
// ---------------------------------------------------------------------------

// The exact value of a float as a ball of radius 0.
void arb_set_float(arb_ptr r, const TalvoFloat &x);
// The exact value of a dyadic ball midpoint as a rational (the ball must be exact).
void fmpq_set_exact_arb(fmpq *r, arb_srcptr x);
// The exact complement 1 - p of an exact ball p in [1/2, 1] (it fits in p's bits).
void exact_complement(arb_ptr q, arb_srcptr p);
// The exact value of a finite float as a rational.
void fmpq_set_float(fmpq *r, const TalvoFloat &x);
// The midpoint of x rounded to a float of prec bits; values beyond the float
// exponent range become 0 or infinity.
TalvoFloat float_from_arb(arb_srcptr x, slong prec);
// The ends of the ball as floats of 2 out_prec + 64 bits, rounded outwards
// (lower <= every point of x <= upper): the test hooks that expose a fast
// path's enclosure.
void float_bounds_from_arb(arb_srcptr x, slong out_prec, TalvoFloat *lower, TalvoFloat *upper);
TalvoFloat float_from_si(slong v, slong prec);
TalvoFloat float_undefined();

bool float_is_nan(const TalvoFloat &x);
bool float_is_inf(const TalvoFloat &x);
bool float_is_zero(const TalvoFloat &x);
int float_sgn(const TalvoFloat &x);
int float_cmp_si(const TalvoFloat &x, slong v);
int float_cmp_d(const TalvoFloat &x, double v);
bool float_is_integer(const TalvoFloat &x);
// The float in printed form for a message: its own precision's worth of digits, at most 30.
std::string float_text(const TalvoFloat &x);

// ---------------------------------------------------------------------------
// The error record and argument checks
// ---------------------------------------------------------------------------

class Call {
public:
    Call(const char *routine, NagError *fail);

    const char *routine() const { return routine_; }
    bool ok() const { return code_ == NE_NOERROR; }

    // Each check returns true when the argument passes; otherwise it records
    // the error (only the first error of a call is kept) and returns false.
    bool defined(const char *name, const TalvoFloat &x);               // not undefined
    bool finite(const char *name, const TalvoFloat &x);                // defined and finite
    bool greater(const char *name, const TalvoFloat &x, slong bound);  // x > bound, defined
    bool at_least(const char *name, const TalvoFloat &x, slong bound); // x >= bound, defined
    bool less(const char *name, const TalvoFloat &x, slong bound);     // x < bound
    bool at_most(const char *name, const TalvoFloat &x, slong bound);  // x <= bound
    bool int_at_least(const char *name, Integer v, Integer bound);
    // v >= bound for a bound made of other arguments: NE_ARG_COMBINATION.
    bool int_at_least(const char *name, Integer v, Integer bound, const char *bound_text);
    // v <= bound, where bound is another argument or an expression of them
    // (named by bound_text): NE_ARG_COMBINATION.
    bool int_at_most(const char *name, Integer v, Integer bound, const char *bound_text);
    // x is not a tiny shape (see shape_is_tiny): NE_TOO_COSTLY, for the
    // routines that have no limit form for such a shape.
    bool not_tiny(const char *name, const TalvoFloat &x);
    // tail must be Nag_LowerTail or Nag_UpperTail.
    bool tail_lower_upper(Nag_TailProbability tail);
    // tail must be one of the four tails of a symmetric distribution.
    bool tail_any(Nag_TailProbability tail);

    // Records a failure: the message gets the routine's name in front.
    void fail(int code, const std::string &message, Integer iterations = 0);

    // A float result for the status of a computation: the rounded ball when
    // it is Ok, otherwise the failure recorded and (for NoConvergence) the
    // partial result, or undefined.
    TalvoFloat result(arb_srcptr x, const Target &t, Status s);
    // The failure for a non-Ok status (messages for TooCostly/Inaccurate).
    void fail_status(Status s, Integer terms_needed = 0, Integer max_iter = 0);

    // Several outputs at once (g01eec, the discrete routines): each pointer
    // that is not null gets its rounded ball when s is Ok, undefined otherwise.
    struct Output {
        TalvoFloat *out;
        arb_srcptr value;
    };
    void store(std::initializer_list<Output> outputs, const Target &t, Status s);
    static void store_undefined(std::initializer_list<TalvoFloat *> outputs);

    static TalvoFloat undefined() { return float_undefined(); }

private:
    const char *routine_;
    NagError *fail_;
    int code_ = NE_NOERROR;
};

} // namespace talvo::mp
