// correctly_rounded.cpp -- the rising-precision loop of CorrectlyRounded and
// the few functions it needs that the float library lacks.
#include "correctly_rounded.hpp"

#include "talvo_utils.hpp"

#include <algorithm>
#include <cmath>

namespace stats {

namespace {

// Restores the float library's "Digits" when the loop ends, however it ends.
class DigitsRestore {
public:
    explicit DigitsRestore(long digits) : digits_(digits) {}
    ~DigitsRestore() { talvo_float_set_digits(digits_); }
    DigitsRestore(const DigitsRestore &) = delete;
    DigitsRestore &operator=(const DigitsRestore &) = delete;

private:
    long digits_;
};

// The first two evaluations carry 6 and 12 decimal digits (20 and 40 bits)
// beyond the caller's; each further one doubles the extra digits.  Past
// kMaxExtraDigits (or the float library's limit) the last value is taken as
// it is: only a formula whose exact value lies on a rounding boundary, or a
// cancellation deeper than that, gets there.
constexpr long kFirstExtraDigits = 6;
constexpr long kMaxExtraDigits = 12288;

enum class Verdict { Done, Again };

// lo and hi are the formula at precisions lo_prec < hi_prec.  Done when hi,
// with an error taken as |hi - lo| (and never below one unit in the last place
// of lo), rounds to the same float of `target` bits wherever in that error
// the exact value lies.
Verdict Decide(mpfr_srcptr lo, mpfr_prec_t lo_prec, mpfr_srcptr hi, mpfr_prec_t target)
{
    if (mpfr_nan_p(hi))
        return mpfr_nan_p(lo) ? Verdict::Done : Verdict::Again;
    if (mpfr_inf_p(hi))
        return mpfr_inf_p(lo) && mpfr_sgn(lo) == mpfr_sgn(hi) ? Verdict::Done : Verdict::Again;
    if (mpfr_zero_p(hi))
        return mpfr_zero_p(lo) ? Verdict::Done : Verdict::Again;
    if (!mpfr_regular_p(lo) || mpfr_sgn(lo) != mpfr_sgn(hi))
        return Verdict::Again;
    mpfr_exp_t e_hi = mpfr_get_exp(hi);
    // One unit in the last place of lo, at hi's exponent.
    mpfr_exp_t e_err = e_hi - lo_prec + 1;
    MPFR_DECL_INIT(d, 64);
    mpfr_sub(d, hi, lo, MPFR_RNDA);
    if (!mpfr_zero_p(d))
        e_err = std::max(e_err, mpfr_get_exp(d));
    mpfr_exp_t err = e_hi - e_err; // correct bits of hi relative to its exponent
    if (err <= static_cast<mpfr_exp_t>(target) + 1)
        return Verdict::Again;
    return mpfr_can_round(hi, err, MPFR_RNDN, MPFR_RNDZ, target + 1) ? Verdict::Done : Verdict::Again;
}

} // namespace

TalvoFloat CorrectlyRounded(const std::function<TalvoFloat()> &formula)
{
    const long digits = talvo_float_digits();
    const mpfr_prec_t target = talvo_float_precision();
    TalvoFloat result;
    {
        DigitsRestore restore(digits);
        long extra = kFirstExtraDigits;
        auto raise = [&](long e) {
            long d = std::min<long>(digits + e, TALVO_FLOAT_MAX_DIGITS);
            talvo_float_set_digits(d);
            return d == digits + e;
        };
        raise(extra);
        TalvoFloat lo = formula();
        mpfr_prec_t lo_prec = talvo_float_precision();
        for (;;) {
            extra *= 2;
            bool room = raise(extra) && extra <= kMaxExtraDigits;
            TalvoFloat hi = formula();
            if (!room || Decide(lo.mpfr(), lo_prec, hi.mpfr(), target) == Verdict::Done) {
                result = hi;
                break;
            }
            lo = hi;
            lo_prec = talvo_float_precision();
        }
    }
    return TalvoFloat::from_handle(talvo_float_from_mpfr(result.mpfr(), target));
}

namespace {

// v with a zero made +0, the sign 1 - exp(0) and ln(1 - 0) give.
TalvoFloat PositiveZero(ALGEB r)
{
    mpfr_ptr v = talvo_float_mpfr(r);
    if (mpfr_zero_p(v))
        mpfr_set_zero(v, 1);
    return TalvoFloat::from_handle(r);
}

} // namespace

TalvoFloat OneMinusExp(const TalvoFloat &t)
{
    // 1 - exp(t) = -expm1(t); the negation is exact.
    ALGEB r = talvo_float_new(0);
    mpfr_ptr v = talvo_float_mpfr(r);
    mpfr_expm1(v, t.mpfr(), MPFR_RNDN);
    mpfr_neg(v, v, MPFR_RNDN);
    return PositiveZero(r);
}

namespace {

// out = f(x) rounded to nearest at out's precision: from one ball 32 bits
// wider where every point of it rounds to one float (then that float is the
// correctly rounded value, as MPFR's is), else from MPFR.
void RoundedFromBall(talvo::mp::BallOp op, int (*mpfr_f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), mpfr_ptr out,
                     mpfr_srcptr x)
{
    static talvo::mp::BallArena arena;
    arena.reset();
    const mpfr_prec_t prec = mpfr_get_prec(out);
    if (mpfr_number_p(x) && !mpfr_zero_p(x) && prec <= 1024) {
        talvo::mp::BallRef a = arena.take(), r = arena.take();
        talvo::mp::ball_set_mpfr(a, x);
        talvo::mp::ball_apply(op, r, a, a, static_cast<long>(prec) + 32);
        if (talvo::mp::ball_round(out, r))
            return;
    }
    mpfr_f(out, x, MPFR_RNDN);
}

TalvoFloat RoundedFromBall(talvo::mp::BallOp op, int (*mpfr_f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
                           const TalvoFloat &x)
{
    ALGEB h = talvo_float_new(0);
    RoundedFromBall(op, mpfr_f, talvo_float_mpfr(h), x.mpfr());
    return TalvoFloat::from_handle(h);
}

} // namespace

// Up to 64 bits a double-double evaluation usually decides the rounding
// first, at a small part of the ball's cost.
void ExpRounded(mpfr_ptr out, mpfr_srcptr x)
{
    if (talvo::mp::exp_rounded_small(out, x))
        return;
    RoundedFromBall(talvo::mp::BallOp::Exp, mpfr_exp, out, x);
}

TalvoFloat Exp(const TalvoFloat &x)
{
    ALGEB h = talvo_float_new(0);
    ExpRounded(talvo_float_mpfr(h), x.mpfr());
    return TalvoFloat::from_handle(h);
}
TalvoFloat Cos(const TalvoFloat &x) { return RoundedFromBall(talvo::mp::BallOp::Cos, mpfr_cos, x); }
TalvoFloat TanFromBall(const TalvoFloat &x) { return RoundedFromBall(talvo::mp::BallOp::Tan, mpfr_tan, x); }
TalvoFloat Log(const TalvoFloat &x) { return RoundedFromBall(talvo::mp::BallOp::Log, mpfr_log, x); }

TalvoFloat PowFromBall(const TalvoFloat &x, const TalvoFloat &y)
{
    // A whole exponent of 2 to 4 (u^(1/a) for a = 1/2 .. 1/4) costs less as
    // exact products, the same correctly rounded float.
    if (mpfr_integer_p(y.mpfr())) {
        const long k = mpfr_get_si(y.mpfr(), MPFR_RNDN);
        if (k >= 2 && k <= 4)
            return SmallPower(x, static_cast<int>(k));
    }
    static talvo::mp::BallArena arena;
    arena.reset();
    const mpfr_prec_t prec = talvo_float_precision();
    ALGEB h = talvo_float_new(prec);
    mpfr_ptr out = talvo_float_mpfr(h);
    if (mpfr_number_p(x.mpfr()) && mpfr_sgn(x.mpfr()) > 0 && mpfr_number_p(y.mpfr()) && prec <= 1024) {
        talvo::mp::BallRef a = arena.take(), b = arena.take(), r = arena.take();
        talvo::mp::ball_set_mpfr(a, x.mpfr());
        talvo::mp::ball_set_mpfr(b, y.mpfr());
        talvo::mp::ball_apply(talvo::mp::BallOp::Pow, r, a, b, static_cast<long>(prec) + 32);
        if (talvo::mp::ball_round(out, r))
            return TalvoFloat::from_handle(h);
    }
    mpfr_pow(out, x.mpfr(), y.mpfr(), MPFR_RNDN);
    return TalvoFloat::from_handle(h);
}

TalvoFloat LnOneMinus(const TalvoFloat &p)
{
    // ln(1 - p) = log1p(-p), with -p exact (at p's own precision).
    mpfr_t neg;
    mpfr_init2(neg, mpfr_get_prec(p.mpfr()));
    mpfr_neg(neg, p.mpfr(), MPFR_RNDN);
    ALGEB r = talvo_float_new(0);
    mpfr_log1p(talvo_float_mpfr(r), neg, MPFR_RNDN);
    mpfr_clear(neg);
    return PositiveZero(r);
}

TalvoFloat Log1p(const TalvoFloat &x)
{
    ALGEB r = talvo_float_new(0);
    mpfr_log1p(talvo_float_mpfr(r), x.mpfr(), MPFR_RNDN);
    return PositiveZero(r);
}

TalvoFloat SmallPower(const TalvoFloat &x, int k)
{
    if (k < 2 || k > 4)
        return pow(x, static_cast<double>(k));
    // x^2 is exact at twice x's precision; the last product (x^2 x, or the
    // square of x^2) is the only rounding.
    thread_local mpfr_t square;
    thread_local bool ready = false;
    const mpfr_prec_t need = 2 * mpfr_get_prec(x.mpfr());
    if (!ready) {
        mpfr_init2(square, need);
        ready = true;
    } else if (mpfr_get_prec(square) != need) {
        mpfr_set_prec(square, need);
    }
    ALGEB r = talvo_float_new(0);
    mpfr_ptr out = talvo_float_mpfr(r);
    if (k == 2) {
        mpfr_sqr(out, x.mpfr(), MPFR_RNDN);
    } else {
        mpfr_sqr(square, x.mpfr(), MPFR_RNDN);
        if (k == 3)
            mpfr_mul(out, square, x.mpfr(), MPFR_RNDN);
        else
            mpfr_sqr(out, square, MPFR_RNDN);
    }
    return TalvoFloat::from_handle(r);
}

} // namespace stats

// ---------------------------------------------------------------------------
// Host functions by name
// ---------------------------------------------------------------------------

namespace stats {

TalvoFloat Tan(const TalvoFloat &x) { return TalvoEvalf1("tan", x); }
TalvoFloat Arctan(const TalvoFloat &x) { return TalvoEvalf1("arctan", x); }

TalvoFloat PiAt(const TalvoFloat &)
{
    return STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(STATS_TalvoUtils_MP::gTKernelVector, "Pi", 1));
}

// ---------------------------------------------------------------------------
// In-place evaluation
// ---------------------------------------------------------------------------

namespace {
bool g_in_place = true;
} // namespace

bool SetInPlaceClosedForms(bool on)
{
    bool was = g_in_place;
    g_in_place = on;
    return was;
}

bool InPlaceClosedForms() { return g_in_place; }

FloatPool::~FloatPool()
{
    for (__mpfr_struct &s : slots_)
        mpfr_clear(&s);
}

void FloatPool::grow()
{
    slots_.emplace_back();
    mpfr_init2(&slots_.back(), prec_);
}

namespace detail {

FloatPool *g_pool = nullptr;

InexactScope::InexactScope() : flags_(mpfr_flags_save()) { mpfr_clear_inexflag(); }
InexactScope::~InexactScope() { mpfr_flags_restore(flags_, MPFR_FLAGS_ALL); }
bool InexactScope::inexact() const { return mpfr_inexflag_p() != 0; }

} // namespace detail

namespace {

inline mpfr_ptr Take() { return detail::g_pool->take(); }

using Unary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using Binary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

inline PoolFloat Apply(Unary f, const PoolFloat &x)
{
    mpfr_ptr r = Take();
    f(r, x.mpfr(), MPFR_RNDN);
    return PoolFloat(r);
}

inline PoolFloat Apply(Binary f, const PoolFloat &x, const PoolFloat &y)
{
    mpfr_ptr r = Take();
    f(r, x.mpfr(), y.mpfr(), MPFR_RNDN);
    return PoolFloat(r);
}

// r made +0 when it is a zero, as PositiveZero does for the host float.
inline PoolFloat PositiveZero(mpfr_ptr r)
{
    if (mpfr_zero_p(r))
        mpfr_set_zero(r, 1);
    return PoolFloat(r);
}

} // namespace

PoolFloat::PoolFloat(double x)
{
    mpfr_ptr r = Take();
    mpfr_set_d(r, x, MPFR_RNDN);
    v_ = r;
}

PoolFloat operator+(const PoolFloat &a, const PoolFloat &b) { return Apply(mpfr_add, a, b); }
PoolFloat operator-(const PoolFloat &a, const PoolFloat &b) { return Apply(mpfr_sub, a, b); }
PoolFloat operator*(const PoolFloat &a, const PoolFloat &b) { return Apply(mpfr_mul, a, b); }
PoolFloat operator/(const PoolFloat &a, const PoolFloat &b) { return Apply(mpfr_div, a, b); }

PoolFloat operator/(double a, const PoolFloat &b)
{
    mpfr_ptr r = Take();
    mpfr_d_div(r, a, b.mpfr(), MPFR_RNDN);
    return PoolFloat(r);
}

PoolFloat operator-(const PoolFloat &a) { return Apply(mpfr_neg, a); }

bool operator<(const PoolFloat &a, const PoolFloat &b) { return mpfr_less_p(a.mpfr(), b.mpfr()) != 0; }
bool operator<=(const PoolFloat &a, const PoolFloat &b) { return mpfr_lessequal_p(a.mpfr(), b.mpfr()) != 0; }
bool operator>(const PoolFloat &a, const PoolFloat &b) { return mpfr_greater_p(a.mpfr(), b.mpfr()) != 0; }

PoolFloat exp(const PoolFloat &x) { return Apply(mpfr_exp, x); }
PoolFloat log(const PoolFloat &x) { return Apply(mpfr_log, x); }
PoolFloat sqrt(const PoolFloat &x) { return Apply(mpfr_sqrt, x); }
PoolFloat pow(const PoolFloat &x, const PoolFloat &y) { return Apply(mpfr_pow, x, y); }

PoolFloat pow(const PoolFloat &x, double y)
{
    // As the host float's pow(x, double): MPFR's integer power for a whole
    // exponent, the general one with y exact otherwise.
    mpfr_ptr r = Take();
    if (y == std::trunc(y) && std::fabs(y) <= 9.0e18) {
        mpfr_pow_si(r, x.mpfr(), static_cast<long>(y), MPFR_RNDN);
    } else {
        MPFR_DECL_INIT(e, 53);
        mpfr_set_d(e, y, MPFR_RNDN);
        mpfr_pow(r, x.mpfr(), e, MPFR_RNDN);
    }
    return PoolFloat(r);
}

PoolFloat OneMinusExp(const PoolFloat &t)
{
    mpfr_ptr r = Take();
    mpfr_expm1(r, t.mpfr(), MPFR_RNDN);
    mpfr_neg(r, r, MPFR_RNDN);
    return PositiveZero(r);
}

PoolFloat LnOneMinus(const PoolFloat &p)
{
    // log1p(-p) with -p exact: in a number of the pool when p fits it (p is
    // a uniform, a parameter or a result of this evaluation), else in one of
    // p's own precision.
    mpfr_ptr r = Take();
    if (mpfr_get_prec(p.mpfr()) <= detail::g_pool->precision()) {
        mpfr_ptr neg = Take();
        mpfr_neg(neg, p.mpfr(), MPFR_RNDN);
        mpfr_log1p(r, neg, MPFR_RNDN);
    } else {
        mpfr_t neg;
        mpfr_init2(neg, mpfr_get_prec(p.mpfr()));
        mpfr_neg(neg, p.mpfr(), MPFR_RNDN);
        mpfr_log1p(r, neg, MPFR_RNDN);
        mpfr_clear(neg);
    }
    return PositiveZero(r);
}

PoolFloat Log1p(const PoolFloat &x)
{
    mpfr_ptr r = Take();
    mpfr_log1p(r, x.mpfr(), MPFR_RNDN);
    return PositiveZero(r);
}

PoolFloat Tan(const PoolFloat &x) { return Apply(mpfr_tan, x); }
PoolFloat Arctan(const PoolFloat &x) { return Apply(mpfr_atan, x); }

PoolFloat PiAt(const PoolFloat &)
{
    mpfr_ptr r = Take();
    mpfr_const_pi(r, MPFR_RNDN);
    return PoolFloat(r);
}

ZivLoop::ZivLoop()
    : digits_(talvo_float_digits()), target_(talvo_float_precision()), target_pool_(talvo_float_precision())
{
}

void ZivLoop::AddLevel()
{
    // The k-th evaluation of CorrectlyRounded: kFirstExtraDigits * 2^k digits
    // beyond the caller's, within the float library's limit.
    long extra = kFirstExtraDigits << levels_.size();
    long digits = std::min<long>(digits_ + extra, TALVO_FLOAT_MAX_DIGITS);
    bool room = digits == digits_ + extra && extra <= kMaxExtraDigits;
    levels_.emplace_back(talvo_float_precision_bits(digits), room);
}

bool ZivLoop::Decided(mpfr_srcptr lo, mpfr_prec_t lo_prec, mpfr_srcptr hi, bool ceiling)
{
    if (Decide(lo, lo_prec, hi, target_) == Verdict::Done)
        return true;
    if (!ceiling || !mpfr_regular_p(hi) || !mpfr_regular_p(lo) || mpfr_sgn(lo) != mpfr_sgn(hi))
        return false;
    // The error of hi as Decide takes it: |hi - lo|, and never below one
    // unit in the last place of lo; the ceiling is known when both ends of
    // hi -+ 2^e_err round (to nearest, at the target) to floats of one
    // ceiling, since rounding and ceiling are monotonic.
    mpfr_exp_t e_err = mpfr_get_exp(hi) - lo_prec + 1;
    MPFR_DECL_INIT(d, 64);
    mpfr_sub(d, hi, lo, MPFR_RNDA);
    if (!mpfr_zero_p(d))
        e_err = std::max(e_err, mpfr_get_exp(d));
    mpfr_prec_t wide = mpfr_get_prec(hi) + 2;
    mpfr_t radius, below, above;
    mpfr_init2(radius, 2);
    mpfr_init2(below, wide);
    mpfr_init2(above, wide);
    mpfr_set_ui_2exp(radius, 1, e_err, MPFR_RNDN);
    mpfr_sub(below, hi, radius, MPFR_RNDD);
    mpfr_add(above, hi, radius, MPFR_RNDU);
    mpfr_prec_round(below, target_, MPFR_RNDN);
    mpfr_prec_round(above, target_, MPFR_RNDN);
    mpfr_rint_ceil(below, below, MPFR_RNDN);
    mpfr_rint_ceil(above, above, MPFR_RNDN);
    bool same = mpfr_equal_p(below, above) != 0;
    mpfr_clear(radius);
    mpfr_clear(below);
    mpfr_clear(above);
    return same;
}

// ---------------------------------------------------------------------------
// Balls
// ---------------------------------------------------------------------------

namespace {
bool g_ball_first = true;
} // namespace

bool SetBallFirstStep(bool on)
{
    bool was = g_ball_first;
    g_ball_first = on;
    return was;
}

bool BallFirstStep() { return g_ball_first; }

namespace detail {
talvo::mp::BallArena *g_arena = nullptr;
long g_ball_prec = 0;
} // namespace detail

namespace {

using talvo::mp::BallOp;

inline talvo::mp::BallRef TakeBall() { return detail::g_arena->take(); }

inline BallFloat BallApply(BallOp op, const BallFloat &a, const BallFloat &b)
{
    talvo::mp::BallRef r = TakeBall();
    talvo::mp::ball_apply(op, r, a.ref(), b.ref(), detail::g_ball_prec);
    return BallFloat(r);
}

inline BallFloat BallApply(BallOp op, const BallFloat &a) { return BallApply(op, a, a); }

} // namespace

BallFloat::BallFloat(double x) : r_(TakeBall()) { talvo::mp::ball_set_d(r_, x); }
BallFloat::BallFloat(mpfr_srcptr v) : r_(TakeBall()) { talvo::mp::ball_set_mpfr(r_, v); }

BallFloat operator+(const BallFloat &a, const BallFloat &b) { return BallApply(BallOp::Add, a, b); }
BallFloat operator-(const BallFloat &a, const BallFloat &b) { return BallApply(BallOp::Sub, a, b); }
BallFloat operator*(const BallFloat &a, const BallFloat &b) { return BallApply(BallOp::Mul, a, b); }
BallFloat operator/(const BallFloat &a, const BallFloat &b) { return BallApply(BallOp::Div, a, b); }
BallFloat operator/(double a, const BallFloat &b) { return BallApply(BallOp::Div, BallFloat(a), b); }
BallFloat operator-(const BallFloat &a) { return BallApply(BallOp::Neg, a); }

bool operator<(const BallFloat &a, const BallFloat &b) { return talvo::mp::ball_cmp_mid(a.ref(), b.ref()) < 0; }
bool operator<=(const BallFloat &a, const BallFloat &b) { return talvo::mp::ball_cmp_mid(a.ref(), b.ref()) <= 0; }
bool operator>(const BallFloat &a, const BallFloat &b) { return talvo::mp::ball_cmp_mid(a.ref(), b.ref()) > 0; }

BallFloat exp(const BallFloat &x) { return BallApply(BallOp::Exp, x); }
BallFloat log(const BallFloat &x) { return BallApply(BallOp::Log, x); }
BallFloat sqrt(const BallFloat &x) { return BallApply(BallOp::Sqrt, x); }
BallFloat pow(const BallFloat &x, const BallFloat &y) { return BallApply(BallOp::Pow, x, y); }
BallFloat pow(const BallFloat &x, double y) { return BallApply(BallOp::Pow, x, BallFloat(y)); }
BallFloat OneMinusExp(const BallFloat &t) { return -BallApply(BallOp::Expm1, t); }
BallFloat LnOneMinus(const BallFloat &p) { return BallApply(BallOp::Log1p, -p); }
BallFloat Log1p(const BallFloat &x) { return BallApply(BallOp::Log1p, x); }
BallFloat Tan(const BallFloat &x) { return BallApply(BallOp::Tan, x); }
BallFloat Arctan(const BallFloat &x) { return BallApply(BallOp::Atan, x); }

BallFloat PiAt(const BallFloat &)
{
    talvo::mp::BallRef r = TakeBall();
    talvo::mp::ball_const_pi(r, detail::g_ball_prec);
    return BallFloat(r);
}

bool RoundBall(const BallFloat &v, mpfr_prec_t prec, TalvoFloat *out)
{
    ALGEB r = talvo_float_new(prec);
    if (!talvo::mp::ball_round(talvo_float_mpfr(r), v.ref()))
        return false;
    *out = TalvoFloat::from_handle(r);
    return true;
}

TalvoFloat RoundedFloat(mpfr_srcptr v, mpfr_prec_t prec)
{
    return TalvoFloat::from_handle(talvo_float_from_mpfr(v, prec));
}

TalvoFloat CeilingOfRounded(mpfr_srcptr v, mpfr_prec_t prec)
{
    ALGEB r = talvo_float_from_mpfr(v, prec);
    mpfr_ptr m = talvo_float_mpfr(r);
    mpfr_rint_ceil(m, m, MPFR_RNDN);
    return TalvoFloat::from_handle(r);
}

} // namespace stats
