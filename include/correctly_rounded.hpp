// correctly_rounded.hpp -- results of closed-form formulas rounded once.
//
// A distribution function written as a short formula (1 - exp(-x/b),
// a * (1 - p)^(-1/c), ...) loses digits when its steps are each rounded to
// the working precision: a subtraction that cancels, or a function whose
// argument's rounding is amplified (tan near its pole, pow with a large
// exponent), leaves fewer correct digits than the precision shows.
//
// CorrectlyRounded evaluates such a formula at a raised precision, then again
// at a higher one, and takes the difference of the two as the error of the
// more precise value (the error of an evaluation shrinks with its precision,
// so the difference bounds the error of the better one with a wide margin).
// When that error lets the value round one way only (MPFR's mpfr_can_round),
// the value rounded once to the caller's precision is returned; otherwise the
// precision is raised again (Ziv's strategy).  The result is then the
// correctly rounded value of the formula in exact real arithmetic.
//
// The formula runs with the float library's "Digits" raised, so every float
// operation inside it (and TalvoDigits()) works at the raised precision; the
// caller's "Digits" is restored on every exit, a host error included.
//
// Where a formula subtracts two values that are equal in the limit of its
// argument (1 - exp(-t) for t -> 0, 1/2 + arctan(z)/Pi for z -> -infinity),
// no finite precision ends the cancellation at the limit itself; there the
// formula is written in a mathematically identical form that does not
// subtract (-expm1(-t), -arctan(1/z)/Pi), and the helpers below give those
// functions at the working precision.
//
// A formula written once as a template on its number type serves two
// evaluations that give the same bits (ClosedForm below): through host floats
// with "Digits" raised (CorrectlyRounded), or in place on MPFR numbers of the
// same raised precisions (PoolFloat), where each operation rounds to nearest
// at the precision of the evaluation exactly as the host float does, with no
// collected object, no change of "Digits" and no call through std::function.
// The in-place one is the library's; the other is kept so that tests can
// check that both give the same draws.
#pragma once

#include "talvo_float.hpp"
#include "talvo_mp_ball.h"

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <tuple>
#include <utility>

namespace stats {

// The value of formula(), correctly rounded to the current precision.
TalvoFloat CorrectlyRounded(const std::function<TalvoFloat()> &formula);

// Forms that do not cancel, each correctly rounded to the current precision
// (MPFR's expm1 and log1p).  A zero result is +0, as 1 - exp(0) and ln(1 - 0)
// give it.
TalvoFloat OneMinusExp(const TalvoFloat &t); // 1 - exp(t)
TalvoFloat LnOneMinus(const TalvoFloat &p);  // ln(1 - p)
TalvoFloat Log1p(const TalvoFloat &x);       // ln(1 + x)
// x^k for k = 2, 3 or 4 at the current precision: the same float as
// pow(x, k) (both are x^k correctly rounded), from exact products rounded
// once instead of MPFR's general integer power.
TalvoFloat SmallPower(const TalvoFloat &x, int k);
// exp(x) at the current precision, the same float as the float library's exp
// (both are correctly rounded), from one ball 32 bits wider where that ball
// rounds one way only: at a few dozen digits Arb's exponential costs a third
// of MPFR's.  Elsewhere the float library's exp answers.
TalvoFloat Exp(const TalvoFloat &x);
// The same in place: out = exp(x) rounded to nearest at out's precision.
void ExpRounded(mpfr_ptr out, mpfr_srcptr x);
// cos(x) and tan(x) the same way: the float library's values (MPFR's,
// correctly rounded) from a ball first.
TalvoFloat Cos(const TalvoFloat &x);
TalvoFloat TanFromBall(const TalvoFloat &x);
// ln(x) the same way (MPFR's log, correctly rounded): at a few dozen digits
// Arb's logarithm costs a fraction of MPFR's.
TalvoFloat Log(const TalvoFloat &x);
// x^y the same way (MPFR's pow), for x > 0; a whole y of 2 to 4 through
// SmallPower.
TalvoFloat PowFromBall(const TalvoFloat &x, const TalvoFloat &y);
// The host's tangent, arctangent and Pi at the current precision.
TalvoFloat Tan(const TalvoFloat &x);
TalvoFloat Arctan(const TalvoFloat &x);
TalvoFloat PiAt(const TalvoFloat &); // the argument only selects the number type

// ---------------------------------------------------------------------------
// In-place evaluation
// ---------------------------------------------------------------------------

// Whether ClosedForm evaluates in place (the default) or through host floats
// with "Digits" raised; both give the same bits.  Returns the previous
// setting.  For tests.
bool SetInPlaceClosedForms(bool on);
bool InPlaceClosedForms();

// MPFR numbers of one precision, handed out one per operation of an
// evaluation and all taken back when the next evaluation starts.  Each number
// keeps its address and its memory for the life of the pool.
class FloatPool {
public:
    explicit FloatPool(mpfr_prec_t prec) : prec_(prec) {}
    ~FloatPool();
    FloatPool(const FloatPool &) = delete;
    FloatPool &operator=(const FloatPool &) = delete;

    mpfr_prec_t precision() const { return prec_; }
    void reset() { used_ = 0; }
    mpfr_ptr take()
    {
        if (used_ == slots_.size())
            grow();
        return &slots_[used_++];
    }

private:
    void grow();
    mpfr_prec_t prec_;
    std::deque<__mpfr_struct> slots_;
    size_t used_ = 0;
};

namespace detail {
// The pool that PoolFloat operations take their results from.
extern FloatPool *g_pool;

// Makes a pool the current one for one evaluation, emptied first.
class PoolScope {
public:
    explicit PoolScope(FloatPool &pool) : saved_(g_pool)
    {
        pool.reset();
        g_pool = &pool;
    }
    ~PoolScope() { g_pool = saved_; }
    PoolScope(const PoolScope &) = delete;
    PoolScope &operator=(const PoolScope &) = delete;

private:
    FloatPool *saved_;
};
} // namespace detail

// A number of an in-place evaluation: an MPFR value that is not changed after
// it is made.  Every operation writes a new number of the current pool,
// rounded to nearest at the pool's precision, as the host float's operation
// of the same name rounds at the precision "Digits" sets.
class PoolFloat {
public:
    // A constant, rounded to nearest at the pool's precision as TalvoFloat(x)
    // is (exact in the pools of raised precision, of 58 bits or more).
    PoolFloat(double x);
    explicit PoolFloat(mpfr_srcptr v) : v_(v) {}
    mpfr_srcptr mpfr() const { return v_; }

private:
    mpfr_srcptr v_;
};

PoolFloat operator+(const PoolFloat &a, const PoolFloat &b);
PoolFloat operator-(const PoolFloat &a, const PoolFloat &b);
PoolFloat operator*(const PoolFloat &a, const PoolFloat &b);
PoolFloat operator/(const PoolFloat &a, const PoolFloat &b);
PoolFloat operator/(double a, const PoolFloat &b);
PoolFloat operator-(const PoolFloat &a);
bool operator<(const PoolFloat &a, const PoolFloat &b);
bool operator<=(const PoolFloat &a, const PoolFloat &b);
bool operator>(const PoolFloat &a, const PoolFloat &b);
PoolFloat exp(const PoolFloat &x);
PoolFloat log(const PoolFloat &x);
PoolFloat sqrt(const PoolFloat &x);
PoolFloat pow(const PoolFloat &x, const PoolFloat &y);
PoolFloat pow(const PoolFloat &x, double y);
PoolFloat OneMinusExp(const PoolFloat &t);
PoolFloat LnOneMinus(const PoolFloat &p);
PoolFloat Log1p(const PoolFloat &x);
PoolFloat Tan(const PoolFloat &x);
PoolFloat Arctan(const PoolFloat &x);
PoolFloat PiAt(const PoolFloat &);

// A number of the first, certified evaluation of a closed form: a ball (an
// enclosure of the exact value, talvo_mp_ball.h) of the current arena,
// computed at the arena's working precision.  Comparisons compare midpoints:
// exact for the point p and the parameters, so a formula may branch on them;
// a branch on a computed value must choose between two forms of one value
// (both then enclose it).
class BallFloat {
public:
    BallFloat(double x); // exact
    explicit BallFloat(mpfr_srcptr v);
    explicit BallFloat(talvo::mp::BallRef r) : r_(r) {}
    talvo::mp::BallRef ref() const { return r_; }

private:
    talvo::mp::BallRef r_;
};

namespace detail {
extern talvo::mp::BallArena *g_arena;
extern long g_ball_prec;

// Makes an arena the current one for one evaluation at prec bits.
class ArenaScope {
public:
    ArenaScope(talvo::mp::BallArena &arena, long prec) : saved_(g_arena), saved_prec_(g_ball_prec)
    {
        arena.reset();
        g_arena = &arena;
        g_ball_prec = prec;
    }
    ~ArenaScope()
    {
        g_arena = saved_;
        g_ball_prec = saved_prec_;
    }
    ArenaScope(const ArenaScope &) = delete;
    ArenaScope &operator=(const ArenaScope &) = delete;

private:
    talvo::mp::BallArena *saved_;
    long saved_prec_;
};
} // namespace detail

BallFloat operator+(const BallFloat &a, const BallFloat &b);
BallFloat operator-(const BallFloat &a, const BallFloat &b);
BallFloat operator*(const BallFloat &a, const BallFloat &b);
BallFloat operator/(const BallFloat &a, const BallFloat &b);
BallFloat operator/(double a, const BallFloat &b);
BallFloat operator-(const BallFloat &a);
bool operator<(const BallFloat &a, const BallFloat &b);
bool operator<=(const BallFloat &a, const BallFloat &b);
bool operator>(const BallFloat &a, const BallFloat &b);
BallFloat exp(const BallFloat &x);
BallFloat log(const BallFloat &x);
BallFloat sqrt(const BallFloat &x);
BallFloat pow(const BallFloat &x, const BallFloat &y);
BallFloat pow(const BallFloat &x, double y);
BallFloat OneMinusExp(const BallFloat &t);
BallFloat LnOneMinus(const BallFloat &p);
BallFloat Log1p(const BallFloat &x);
BallFloat Tan(const BallFloat &x);
BallFloat Arctan(const BallFloat &x);
BallFloat PiAt(const BallFloat &);

// The bits beyond the target with which the first, certified evaluation
// works: it fails to decide the rounding about once in 2^25 draws (and
// always when the value is 0).
constexpr long kBallGuardBits = 32;

// Whether the first evaluation is tried (for tests: off, every value comes
// from the loop).  Returns the previous setting.
bool SetBallFirstStep(bool on);
bool BallFirstStep();

// The precisions of CorrectlyRounded's loop for the "Digits" current when it
// is made, each with its pool, and the loop itself on in-place evaluations.
class ZivLoop {
public:
    ZivLoop();
    ZivLoop(const ZivLoop &) = delete;
    ZivLoop &operator=(const ZivLoop &) = delete;

    mpfr_prec_t target() const { return target_; }
    FloatPool &target_pool() { return target_pool_; }

    // eval() at each raised precision in turn (within the current pool) until
    // two evaluations decide the value; the last one, not yet rounded to the
    // target.  With `ceiling`, the loop also ends as soon as the ceiling of
    // the value rounded to the target is known.
    template <class Eval>
    mpfr_srcptr Run(Eval eval, bool ceiling = false)
    {
        mpfr_srcptr lo = At(0, eval);
        for (size_t k = 1;; ++k) {
            mpfr_srcptr hi = At(k, eval);
            if (!Level(k).room || Decided(lo, Level(k - 1).prec, hi, ceiling))
                return hi;
            lo = hi;
        }
    }

private:
    struct Raised {
        mpfr_prec_t prec;
        bool room; // the precision is the one asked for, below the limit
        FloatPool pool;
        Raised(mpfr_prec_t p, bool r) : prec(p), room(r), pool(p) {}
    };
    template <class Eval>
    mpfr_srcptr At(size_t k, Eval &eval)
    {
        detail::PoolScope scope(Level(k).pool);
        return eval();
    }
    Raised &Level(size_t k)
    {
        while (levels_.size() <= k)
            AddLevel();
        return levels_[k];
    }
    void AddLevel();
    bool Decided(mpfr_srcptr lo, mpfr_prec_t lo_prec, mpfr_srcptr hi, bool ceiling);

    long digits_;
    mpfr_prec_t target_;
    FloatPool target_pool_;
    std::deque<Raised> levels_;
};

// True, with *out a host float of prec bits holding it, when every point of
// the ball v rounds (to nearest) to one float that is not zero.
bool RoundBall(const BallFloat &v, mpfr_prec_t prec, TalvoFloat *out);
// A host float holding v rounded to nearest at prec bits.
TalvoFloat RoundedFloat(mpfr_srcptr v, mpfr_prec_t prec);
// The ceiling of v rounded to nearest at prec bits, as a host float of prec bits.
TalvoFloat CeilingOfRounded(mpfr_srcptr v, mpfr_prec_t prec);

// A closed-form formula of one variable p and the N parameters of a law,
// made once for the parameters (a sample of many draws, or one call) and
// evaluated at the "Digits" current when it is made.  The formula is a
// callable template, formula(p, params..., extra...), written once for both
// number types (TalvoFloat and PoolFloat), with constants written N(1.0).
template <class F, std::size_t N>
class ClosedForm {
public:
    using Formula = F;
    static constexpr std::size_t kParameters = N;

    ClosedForm(Formula formula, const std::array<TalvoFloat, N> &params) : formula_(formula), params_(params)
    {
        for (std::size_t i = 0; i < N; ++i) {
            mpfr_init2(copies_[i], mpfr_get_prec(params[i].mpfr()));
            mpfr_set(copies_[i], params[i].mpfr(), MPFR_RNDN);
        }
    }
    ~ClosedForm()
    {
        for (std::size_t i = 0; i < N; ++i)
            mpfr_clear(copies_[i]);
    }
    ClosedForm(const ClosedForm &) = delete;
    ClosedForm &operator=(const ClosedForm &) = delete;

    // formula(p, ...) correctly rounded to the current precision (Ziv's
    // strategy, as CorrectlyRounded).
    //
    // In place, the formula is first evaluated once on balls at the target
    // precision plus kBallGuardBits: when its ball rounds to one float, that
    // float is the correctly rounded value, the one the loop finds.
    template <class... X>
    TalvoFloat Rounded(const TalvoFloat &p, X... extra)
    {
        if (!InPlaceClosedForms())
            return CorrectlyRounded([&] { return OnHostFloats(p, extra...); });
        TalvoFloat r;
        if (OnBalls(p, &r, extra...))
            return r;
        return RoundedFloat(loop_.Run([&] { return InPool(p, extra...); }), loop_.target());
    }

    // ceil of Rounded(p, ...), the loop ended as soon as the integer is known
    // (a formula whose value is an integer no longer climbs to the last
    // precision).
    template <class... X>
    TalvoFloat Ceiling(const TalvoFloat &p, X... extra)
    {
        if (!InPlaceClosedForms())
            return ceil(CorrectlyRounded([&] { return OnHostFloats(p, extra...); }));
        TalvoFloat r;
        if (OnBalls(p, &r, extra...))
            return ceil(r);
        return CeilingOfRounded(loop_.Run([&] { return InPool(p, extra...); }, true), loop_.target());
    }

    // Rounded(p, ...) for a formula of exact operations (+ - * /): evaluated
    // once with `bits` of precision and rounded once when no operation was
    // inexact (then the value is exact); otherwise by the loop.
    template <class... X>
    TalvoFloat ExactlyRounded(const TalvoFloat &p, mpfr_prec_t bits, X... extra);

    // pred(p, params..., extra...) evaluated at the current precision, each
    // operation rounded to it (a branch test of the host float code).
    template <class Pred, class... X>
    bool Test(Pred pred, const TalvoFloat &p, X... extra)
    {
        if (!InPlaceClosedForms())
            return std::apply([&](const auto &...q) { return pred(p, q..., extra...); }, params_);
        detail::PoolScope scope(loop_.target_pool());
        return CallInPool(pred, p, std::make_index_sequence<N>(), extra...);
    }

private:
    // The formula on balls; true with *out its correctly rounded value when
    // the ball decides it.
    template <class... X>
    bool OnBalls(const TalvoFloat &p, TalvoFloat *out, X... extra)
    {
        if (!BallFirstStep())
            return false;
        detail::ArenaScope scope(arena_, long(loop_.target()) + kBallGuardBits);
        BallFloat v = CallOnBalls(p, std::make_index_sequence<N>(), extra...);
        return RoundBall(v, loop_.target(), out);
    }
    template <std::size_t... I, class... X>
    BallFloat CallOnBalls(const TalvoFloat &p, std::index_sequence<I...>, X... extra)
    {
        return formula_(BallFloat(p.mpfr()), BallFloat(copies_[I])..., extra...);
    }
    template <class... X>
    TalvoFloat OnHostFloats(const TalvoFloat &p, X... extra)
    {
        return std::apply([&](const auto &...q) { return formula_(p, q..., extra...); }, params_);
    }
    template <class... X>
    mpfr_srcptr InPool(const TalvoFloat &p, X... extra)
    {
        return CallInPool(formula_, p, std::make_index_sequence<N>(), extra...).mpfr();
    }
    template <class Fn, std::size_t... I, class... X>
    auto CallInPool(Fn &fn, const TalvoFloat &p, std::index_sequence<I...>, X... extra)
    {
        return fn(PoolFloat(p.mpfr()), PoolFloat(copies_[I])..., extra...);
    }

    Formula formula_;
    std::array<TalvoFloat, N> params_; // on the caller's stack: the collector sees them
    mpfr_t copies_[N > 0 ? N : 1];
    ZivLoop loop_;
    talvo::mp::BallArena arena_;
    std::unique_ptr<FloatPool> exact_pool_;
};

namespace detail {
// Clears MPFR's inexact flag for one evaluation and tells whether it was
// raised; the flags are restored when the scope ends.
class InexactScope {
public:
    InexactScope();
    ~InexactScope();
    InexactScope(const InexactScope &) = delete;
    InexactScope &operator=(const InexactScope &) = delete;
    bool inexact() const;

private:
    unsigned flags_;
};
} // namespace detail

template <class F, std::size_t N>
template <class... X>
TalvoFloat ClosedForm<F, N>::ExactlyRounded(const TalvoFloat &p, mpfr_prec_t bits, X... extra)
{
    if (!InPlaceClosedForms())
        return Rounded(p, extra...);
    if (!exact_pool_ || exact_pool_->precision() != bits)
        exact_pool_ = std::make_unique<FloatPool>(bits);
    {
        detail::InexactScope flag;
        detail::PoolScope scope(*exact_pool_);
        mpfr_srcptr v = InPool(p, extra...);
        if (!flag.inexact())
            return RoundedFloat(v, loop_.target());
    }
    return Rounded(p, extra...);
}

} // namespace stats
