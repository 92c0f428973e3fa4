// common.cpp -- tolerances and vector helpers of the minimisers.
#include "common.hpp"

#include <cmath>

namespace talvo::opt {

TalvoFloat eps() { return eps_pow(1.0); }

namespace {

// The powers asked for lately, by "Digits", working precision and exponent:
// the minimisers form their tolerances at every call (the active-set engine
// at every subproblem), and one power at the working precision costs about
// as much as an iteration of a small problem.  A kept power is the float pow
// gave, at its own precision, so a hit returns the same float.
class KeptPowers {
public:
    ~KeptPowers()
    {
        for (Slot &s : slots_)
            if (s.used)
                mpfr_clear(s.value);
    }
    mpfr_srcptr find(long digits, mpfr_prec_t prec, double p) const
    {
        for (const Slot &s : slots_)
            if (s.used && s.digits == digits && s.prec == prec && s.p == p)
                return s.value;
        return nullptr;
    }
    void keep(long digits, mpfr_prec_t prec, double p, const TalvoFloat &value)
    {
        Slot &s = slots_[next_];
        next_ = (next_ + 1) % kSlots;
        mpfr_srcptr v = value.mpfr();
        if (s.used)
            mpfr_set_prec(s.value, mpfr_get_prec(v));
        else
            mpfr_init2(s.value, mpfr_get_prec(v));
        mpfr_set(s.value, v, MPFR_RNDN);
        s.used = true;
        s.digits = digits;
        s.prec = prec;
        s.p = p;
    }

private:
    static constexpr unsigned kSlots = 16;
    struct Slot {
        mpfr_t value;
        long digits = 0;
        mpfr_prec_t prec = 0;
        double p = 0;
        bool used = false;
    };
    Slot slots_[kSlots];
    unsigned next_ = 0;
};

thread_local KeptPowers kept_powers;

} // namespace

TalvoFloat eps_pow(double p)
{
    // 10^(-D p), computed at the working precision (not in double, whose
    // range ends near 10^-308 while D goes to 1000).
    const long digits = talvo_float_digits();
    const mpfr_prec_t prec = talvo_float_precision();
    if (mpfr_srcptr v = kept_powers.find(digits, prec, p))
        return TalvoFloat::from_handle(talvo_float_from_mpfr(v, mpfr_get_prec(v)));
    const TalvoFloat value = pow(TalvoFloat(10.0), TalvoFloat(-double(digits) * p));
    kept_powers.keep(digits, prec, p, value);
    return value;
}

TalvoFloat tol_or(const TalvoFloat &tol, const TalvoFloat &deflt)
{
    if (is_nan(tol) || tol < eps())
        return deflt;
    return tol;
}

TalvoFloat dot(const TalvoFloat *a, const TalvoFloat *b, long n)
{
    TalvoFloat s(0.0);
    for (long i = 0; i < n; ++i)
        s += a[i] * b[i];
    return s;
}

TalvoFloat norm2(const TalvoFloat *a, long n) { return sqrt(dot(a, a, n)); }

Value classify(const TalvoFloat &f)
{
    if (IsTalvoFloatUndefined(f) || IsTalvoFloatNegativeInfinity(f))
        return Value::Undefined;
    if (IsTalvoFloatInfinity(f))
        return Value::Infinite;
    return Value::Finite;
}

} // namespace talvo::opt
