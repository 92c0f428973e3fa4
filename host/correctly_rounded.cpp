// correctly_rounded.cpp -- the rising-precision loop of CorrectlyRounded and
// the few functions it needs that the float library lacks.
#include "correctly_rounded.hpp"

#include <algorithm>

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

} // namespace stats
