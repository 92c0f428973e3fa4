// support.cpp -- accuracy targets, conversions and the error record.
#include "support.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace talvo::mp {

// ---------------------------------------------------------------------------
// Accuracy
// ---------------------------------------------------------------------------

Target target_full()
{
    slong prec = talvo_float_precision();
    return Target{prec, prec - 2};
}

Target target_for_tol(const TalvoFloat &tol)
{
    Target t = target_full();
    mpfr_srcptr v = tol.mpfr();
    if (!mpfr_number_p(v) || mpfr_sgn(v) <= 0 || mpfr_cmp_ui(v, 1) >= 0)
        return t;
    // -log10(tol) from its binary exponent and leading bits: tol = m 2^e, 0.5 <= m < 1.
    long e = 0;
    double m = mpfr_get_d_2exp(&e, v, MPFR_RNDN);
    double digits = -(std::log10(m) + static_cast<double>(e) * std::log10(2.0));
    long d = static_cast<long>(std::ceil(digits - 1e-9));
    long full = talvo_float_digits();
    if (d < 1)
        d = 1;
    if (d >= full)
        return t;
    t.goal = talvo_float_precision_bits(d) - 2;
    return t;
}

bool shape_is_tiny(const TalvoFloat &x)
{
    mpfr_srcptr v = x.mpfr();
    return mpfr_regular_p(v) && mpfr_get_exp(v) <= -kTinyShapeBits;
}

bool accurate_to(arb_srcptr x, slong goal)
{
    if (arb_is_exact(x))
        return true;
    return arb_rel_accuracy_bits(x) >= goal;
}

bool below_float_range(arb_srcptr x)
{
    if (!arb_is_finite(x))
        return false;
    Mag bound;
    arb_get_mag(bound, x);
    return mag_cmp_2exp_si(bound, mpfr_get_emin() - 1) < 0;
}

bool rounds_uniquely(arb_srcptr x, slong prec)
{
    if (!arb_is_finite(x))
        return false;
    if (arb_is_exact(x))
        return true;
    // The ends rounded outwards at prec + 64 bits first: if those round to
    // one float, so does everything between.  Only when they do not, and the
    // ends are of a reasonable size exactly (a ball such as 1 +- 2^-10^9
    // would take gigabytes), the exact ends decide.
    auto decide = [&](slong end_prec) -> bool {
        Arf lo, hi;
        arb_get_interval_arf(lo, hi, x, end_prec);
        if (arf_sgn(lo) != arf_sgn(hi) || arf_is_zero(lo) || arf_is_zero(hi))
            return false;
        arf_set_round(lo, lo, prec, ARF_RND_NEAR);
        arf_set_round(hi, hi, prec, ARF_RND_NEAR);
        return arf_equal(lo, hi);
    };
    if (decide(prec + 64))
        return true;
    if (mag_is_zero(arb_radref(x)) || arf_is_zero(arb_midref(x)))
        return false;
    fmpz_t gap;
    fmpz_init(gap);
    fmpz_sub(gap, ARF_EXPREF(arb_midref(x)), MAG_EXPREF(arb_radref(x)));
    const bool small_gap = fmpz_cmp_si(gap, 100000) < 0;
    fmpz_clear(gap);
    return small_gap && decide(ARF_PREC_EXACT);
}

slong next_precision(slong wp, slong have, slong goal)
{
    slong next;
    if (have > 8)
        next = wp + (goal - have) + 32 + wp / 16;
    else
        next = 2 * wp;
    if (next <= wp)
        next = wp + 32;
    if (next > 64 * goal + 20000)
        return 0;
    return next;
}

// ---------------------------------------------------------------------------
// Conversion
// ---------------------------------------------------------------------------

void arb_set_float(arb_ptr r, const TalvoFloat &x)
{
    arf_set_mpfr(arb_midref(r), x.mpfr());
    mag_zero(arb_radref(r));
}

void fmpq_set_exact_arb(fmpq *r, arb_srcptr x)
{
    Fmpz man, e;
    arf_get_fmpz_2exp(man, e, arb_midref(x));
    if (fmpz_sgn(e) >= 0) {
        fmpz_mul_2exp(fmpq_numref(r), man, fmpz_get_ui(e));
        fmpz_one(fmpq_denref(r));
    } else {
        fmpz_set(fmpq_numref(r), man);
        fmpz_neg(e, e);
        fmpz_one(fmpq_denref(r));
        fmpz_mul_2exp(fmpq_denref(r), fmpq_denref(r), fmpz_get_ui(e));
        fmpq_canonicalise(r);
    }
}

void exact_complement(arb_ptr q, arb_srcptr p)
{
    arb_sub_ui(q, p, 1, arb_bits(p) + 2);
    arb_neg(q, q);
}

void fmpq_set_float(fmpq *r, const TalvoFloat &x)
{
    Arb t;
    arb_set_float(t, x);
    fmpq_set_exact_arb(r, t);
}

TalvoFloat float_from_arb(arb_srcptr x, slong prec)
{
    ALGEB h = talvo_float_new(prec);
    mpfr_ptr out = talvo_float_mpfr(h);
    arf_srcptr mid = arb_midref(x);
    if (arf_is_nan(mid)) {
        mpfr_set_nan(out);
    } else if (arf_is_zero(mid)) {
        mpfr_set_zero(out, 1);
    } else if (arf_is_inf(mid)) {
        mpfr_set_inf(out, arf_sgn(mid));
    } else {
        // MPFR's exponent e satisfies 2^(e-1) <= |x| < 2^e, as arf's does.
        const fmpz *e = ARF_EXPREF(mid);
        if (fmpz_cmp_si(e, mpfr_get_emax()) > 0)
            mpfr_set_inf(out, arf_sgn(mid));
        else if (fmpz_cmp_si(e, mpfr_get_emin()) < 0)
            mpfr_set_zero(out, arf_sgn(mid));
        else
            arf_get_mpfr(out, mid, MPFR_RNDN);
    }
    return TalvoFloat::from_handle(h);
}

void float_bounds_from_arb(arb_srcptr x, slong out_prec, TalvoFloat *lower, TalvoFloat *upper)
{
    slong prec = 2 * out_prec + 64;
    Arf lo, hi;
    arb_get_lbound_arf(lo, x, prec);
    arb_get_ubound_arf(hi, x, prec);
    ALGEB hl = talvo_float_new(prec), hh = talvo_float_new(prec);
    arf_get_mpfr(talvo_float_mpfr(hl), lo, MPFR_RNDD);
    arf_get_mpfr(talvo_float_mpfr(hh), hi, MPFR_RNDU);
    *lower = TalvoFloat::from_handle(hl);
    *upper = TalvoFloat::from_handle(hh);
}

TalvoFloat float_from_si(slong v, slong prec)
{
    ALGEB h = talvo_float_new(prec);
    mpfr_set_si(talvo_float_mpfr(h), v, MPFR_RNDN);
    return TalvoFloat::from_handle(h);
}

TalvoFloat float_undefined() { return TalvoFloatUndefined(); }

bool float_is_nan(const TalvoFloat &x) { return mpfr_nan_p(x.mpfr()) != 0; }
bool float_is_inf(const TalvoFloat &x) { return mpfr_inf_p(x.mpfr()) != 0; }
bool float_is_zero(const TalvoFloat &x) { return mpfr_zero_p(x.mpfr()) != 0; }
int float_sgn(const TalvoFloat &x) { return mpfr_sgn(x.mpfr()); }
int float_cmp_si(const TalvoFloat &x, slong v) { return mpfr_cmp_si(x.mpfr(), v); }
int float_cmp_d(const TalvoFloat &x, double v) { return mpfr_cmp_d(x.mpfr(), v); }
bool float_is_integer(const TalvoFloat &x) { return mpfr_integer_p(x.mpfr()) != 0; }

std::string float_text(const TalvoFloat &x)
{
    long bits = static_cast<long>(mpfr_get_prec(x.mpfr()));
    long digits = std::clamp<long>((bits - 4) * 30103 / 100000, 1, 30);
    return talvo_float_to_string(x.handle(), digits);
}

// ---------------------------------------------------------------------------
// The error record
// ---------------------------------------------------------------------------

Call::Call(const char *routine, NagError *fail) : routine_(routine), fail_(fail)
{
    if (fail_ != nullptr) {
        fail_->code = NE_NOERROR;
        fail_->message[0] = '\0';
        fail_->iterations = 0;
    }
}

void Call::fail(int code, const std::string &message, Integer iterations)
{
    if (code_ != NE_NOERROR)
        return;
    code_ = code;
    std::string text = std::string(routine_) + ": " + message;
    if (fail_ == nullptr) {
        std::fprintf(stderr, "%s\n", text.c_str());
        return;
    }
    fail_->code = code;
    fail_->iterations = iterations;
    size_t n = std::min(text.size(), static_cast<size_t>(NAG_ERROR_BUF_LEN - 1));
    std::memcpy(fail_->message, text.data(), n);
    fail_->message[n] = '\0';
    if (fail_->print == Nag_TRUE)
        std::fprintf(stderr, "%s\n", fail_->message);
    if (fail_->handler != nullptr)
        fail_->handler(fail_->message, code, routine_);
}

bool Call::defined(const char *name, const TalvoFloat &x)
{
    if (!float_is_nan(x))
        return true;
    fail(NE_REAL_ARG_NAN, std::string(name) + " is undefined; a number is required.");
    return false;
}

bool Call::finite(const char *name, const TalvoFloat &x)
{
    if (!defined(name, x))
        return false;
    if (!float_is_inf(x))
        return true;
    fail(NE_REAL_ARG_INF, std::string(name) + " = " + float_text(x) + " is out of range: " + name +
                              " must be finite.");
    return false;
}

namespace {
std::string range_message(const char *name, const std::string &value, const char *relation, const std::string &bound)
{
    return std::string(name) + " = " + value + " is out of range: " + name + " must be " + relation + " " + bound + ".";
}
} // namespace

bool Call::greater(const char *name, const TalvoFloat &x, slong bound)
{
    if (!defined(name, x))
        return false;
    if (float_cmp_si(x, bound) > 0)
        return true;
    fail(NE_REAL_ARG_LE, range_message(name, float_text(x), ">", std::to_string(bound)));
    return false;
}

bool Call::at_least(const char *name, const TalvoFloat &x, slong bound)
{
    if (!defined(name, x))
        return false;
    if (float_cmp_si(x, bound) >= 0)
        return true;
    fail(NE_REAL_ARG_LT, range_message(name, float_text(x), ">=", std::to_string(bound)));
    return false;
}

bool Call::less(const char *name, const TalvoFloat &x, slong bound)
{
    if (!defined(name, x))
        return false;
    if (float_cmp_si(x, bound) < 0)
        return true;
    fail(NE_REAL_ARG_GE, range_message(name, float_text(x), "<", std::to_string(bound)));
    return false;
}

bool Call::at_most(const char *name, const TalvoFloat &x, slong bound)
{
    if (!defined(name, x))
        return false;
    if (float_cmp_si(x, bound) <= 0)
        return true;
    fail(NE_REAL_ARG_GT, range_message(name, float_text(x), "<=", std::to_string(bound)));
    return false;
}

bool Call::int_at_least(const char *name, Integer v, Integer bound)
{
    if (v >= bound)
        return true;
    fail(NE_INT_ARG_LT, range_message(name, std::to_string(v), ">=", std::to_string(bound)));
    return false;
}

bool Call::int_at_least(const char *name, Integer v, Integer bound, const char *bound_text)
{
    if (v >= bound)
        return true;
    fail(NE_ARG_COMBINATION,
         range_message(name, std::to_string(v), ">=", std::string(bound_text) + " = " + std::to_string(bound)));
    return false;
}

bool Call::int_at_most(const char *name, Integer v, Integer bound, const char *bound_text)
{
    if (v <= bound)
        return true;
    std::string b = bound_text != nullptr ? std::string(bound_text) + " = " + std::to_string(bound)
                                          : std::to_string(bound);
    fail(NE_ARG_COMBINATION, range_message(name, std::to_string(v), "<=", b));
    return false;
}

bool Call::not_tiny(const char *name, const TalvoFloat &x)
{
    if (!shape_is_tiny(x))
        return true;
    fail(NE_TOO_COSTLY, std::string(name) + " = " + float_text(x) + " is too small: this routine needs " + name + " >= 2^-" +
                            std::to_string(kTinyShapeBits) + " (or " + name + " = 0 where 0 is allowed).");
    return false;
}

bool Call::tail_lower_upper(Nag_TailProbability tail)
{
    if (tail == Nag_LowerTail || tail == Nag_UpperTail)
        return true;
    fail(NE_BAD_PARAM, "tail = " + std::to_string(static_cast<long>(tail)) +
                           " is not accepted: tail must be Nag_LowerTail (1329) or Nag_UpperTail (1330).");
    return false;
}

bool Call::tail_any(Nag_TailProbability tail)
{
    if (tail == Nag_LowerTail || tail == Nag_UpperTail || tail == Nag_TwoTailSignif || tail == Nag_TwoTailConfid)
        return true;
    fail(NE_BAD_PARAM, "tail = " + std::to_string(static_cast<long>(tail)) +
                           " is not accepted: tail must be Nag_LowerTail (1329), Nag_UpperTail (1330), "
                           "Nag_TwoTailSignif (1331) or Nag_TwoTailConfid (1332).");
    return false;
}

void Call::fail_status(Status s, Integer terms_needed, Integer max_iter)
{
    switch (s) {
    case Status::Ok:
        return;
    case Status::NoConvergence:
        fail(NE_CONV,
             "the series did not reach the requested accuracy within max_iter = " + std::to_string(max_iter) +
                 " terms (about " + std::to_string(terms_needed) +
                 " are needed); raise max_iter or ask for fewer digits with tol.",
             terms_needed);
        return;
    case Status::TooCostly:
        fail(NE_TOO_COSTLY, "the parameters are too large for this precision: the computation would need "
                            "more than 50000000 series terms.");
        return;
    case Status::Unresolved:
        fail(NE_ACCURACY, "the deviate could not be resolved to the requested accuracy: at these parameters it "
                          "lies at or beyond the edge of the float range (a shape or degrees of freedom near 0 "
                          "put it there), where no float represents it to that accuracy.");
        return;
    case Status::Inaccurate:
        fail(NE_ACCURACY, "the requested accuracy could not be reached (cancellation beyond the working "
                          "precision limit).");
        return;
    }
}

TalvoFloat Call::result(arb_srcptr x, const Target &t, Status s)
{
    if (s == Status::Ok)
        return float_from_arb(x, t.out_prec);
    fail_status(s);
    return float_undefined();
}

void Call::store(std::initializer_list<Output> outputs, const Target &t, Status s)
{
    if (s != Status::Ok)
        fail_status(s);
    for (const Output &o : outputs) {
        if (o.out != nullptr)
            *o.out = (s == Status::Ok) ? float_from_arb(o.value, t.out_prec) : float_undefined();
    }
}

void Call::store_undefined(std::initializer_list<TalvoFloat *> outputs)
{
    for (TalvoFloat *o : outputs) {
        if (o != nullptr)
            *o = float_undefined();
    }
}

} // namespace talvo::mp
