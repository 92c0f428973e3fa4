// talvo_mp_ball.h -- balls (Arb enclosures of real numbers) for a caller
// outside the numerics library: a closed-form formula evaluated once on
// balls encloses its exact value rigorously, and when the ball rounds to one
// float only, that float is the correctly rounded value of the formula.  The
// statistics library uses them as the cheap first step of its correctly
// rounded closed forms (Ziv's strategy), before its rising-precision loop.
//
// A ball is a handle to an Arb ball of a BallArena; the arena owns them, and
// hands them out one per operation until it is reset.  Arb stays private to
// the numerics library.
#pragma once

#include "talvo_float.hpp"

#include <cstddef>

#define TALVO_MP_BALL_API __attribute__((visibility("default")))

namespace talvo::mp {

struct BallRef {
    void *ball;
};

class TALVO_MP_BALL_API BallArena {
public:
    BallArena();
    ~BallArena();
    BallArena(const BallArena &) = delete;
    BallArena &operator=(const BallArena &) = delete;

    void reset() { used_ = 0; }
    BallRef take()
    {
        if (used_ == count_)
            grow();
        return BallRef{slot(used_++)};
    }

private:
    void grow();
    void *slot(std::size_t i);
    void *impl_;
    std::size_t used_ = 0, count_ = 0;
};

enum class BallOp {
    Add, Sub, Mul, Div, Neg, Exp, Log, Sqrt, Pow, Expm1, Log1p, Tan, Atan, Cos,
};

// r = op(a) or op(a, b) at prec bits (Neg is exact).
TALVO_MP_BALL_API void ball_apply(BallOp op, BallRef r, BallRef a, BallRef b, long prec);
TALVO_MP_BALL_API void ball_set_mpfr(BallRef r, mpfr_srcptr x);
TALVO_MP_BALL_API void ball_set_d(BallRef r, double x);
TALVO_MP_BALL_API void ball_set_si(BallRef r, long x);
TALVO_MP_BALL_API void ball_const_pi(BallRef r, long prec);
// Compares the midpoints (exact for balls of radius 0, such as inputs).
TALVO_MP_BALL_API int ball_cmp_mid(BallRef a, BallRef b);
// Sets out to the value of x rounded to nearest at out's precision and
// returns true when every point of x rounds to that one float and it is not
// zero, and lies within a quarter of MPFR's exponent range; false otherwise
// (out unchanged).
TALVO_MP_BALL_API bool ball_round(mpfr_ptr out, BallRef x);

// Sets out to exp(x) rounded to nearest at out's precision and returns true
// when one double-double evaluation with a proven error bound decides that
// rounding: for out's precision and x's of at most 64 bits and |x| <= 600
// (almost always there); false otherwise (out unchanged).
TALVO_MP_BALL_API bool exp_rounded_small(mpfr_ptr out, mpfr_srcptr x);

} // namespace talvo::mp
