// summary.cpp -- summaries of one sample: Tukey's five-number summary
// (g01alc) and the weighted mean, deviation, skewness and kurtosis (g01aac).
#include "core/support.hpp"
#include "few_limbs.hpp"

#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

namespace {

using talvo::mp::Call;
using talvo::mp::float_text;

// An MPFR number that clears itself.
struct Mp {
    mpfr_t v;
    explicit Mp(mpfr_prec_t prec) { mpfr_init2(v, prec); }
    ~Mp() { mpfr_clear(v); }
    Mp(const Mp &) = delete;
    Mp &operator=(const Mp &) = delete;
    operator mpfr_ptr() { return v; }
};

TalvoFloat ToFloat(mpfr_srcptr x) { return TalvoFloat::from_handle(talvo_float_from_mpfr(x, 0)); }

bool IsNan(const TalvoFloat &x) { return mpfr_nan_p(x.mpfr()) != 0; }

// Undefined above every number.
bool Before(const TalvoFloat &x, const TalvoFloat &y)
{
    if (IsNan(x))
        return false;
    if (IsNan(y))
        return true;
    return mpfr_less_p(x.mpfr(), y.mpfr()) != 0;
}

TalvoFloat Mid(const TalvoFloat &x, const TalvoFloat &y) { return (x + y) / TalvoFloat(2.0); }

} // namespace

void TalvoMP_g01alc(Integer n, const TalvoFloat x[], TalvoFloat res[], NagError *fail)
{
    Call call("TalvoMP_g01alc", fail);
    if (!call.int_at_least("n", n, 5)) {
        Call::store_undefined({&res[0], &res[1], &res[2], &res[3], &res[4]});
        return;
    }
    std::vector<TalvoFloat> z(x, x + n);
    std::sort(z.begin(), z.end(), Before);
    // 1-based order statistics z(i).
    auto at = [&](Integer i) { return z[static_cast<size_t>(i - 1)]; };
    Integer m = n % 2 == 0 ? n / 2 : (n + 1) / 2;
    Integer k = m % 2 == 0 ? m / 2 : (m + 1) / 2;
    res[0] = at(1);
    res[2] = n % 2 == 1 ? at(m) : Mid(at(m), at(m + 1));
    if (m % 2 == 1) {
        res[1] = at(k);
        res[3] = at(n - k + 1);
    } else {
        res[1] = Mid(at(k), at(k + 1));
        res[3] = Mid(at(n - k), at(n - k + 1));
    }
    res[4] = at(n);
}

void TalvoMP_g01aac(Integer n, const TalvoFloat x[], const TalvoFloat wt[], Integer *nvalid, TalvoFloat *xmean,
                    TalvoFloat *xsd, TalvoFloat *xskew, TalvoFloat *xkurt, TalvoFloat *xmin, TalvoFloat *xmax,
                    TalvoFloat *wsum, NagError *fail)
{
    Call call("TalvoMP_g01aac", fail);
    Call::store_undefined({xmean, xsd, xskew, xkurt, xmin, xmax, wsum});
    *nvalid = 0;
    if (!call.int_at_least("n", n, 1))
        return;
    if (wt != nullptr) {
        for (Integer i = 0; i < n; ++i) {
            if (!IsNan(wt[i]) && mpfr_sgn(wt[i].mpfr()) < 0) {
                std::string name = "wt[" + std::to_string(i) + "]";
                call.fail(NE_REAL_ARG_LT,
                          name + " = " + float_text(wt[i]) + " is out of range: " + name + " must be >= 0.");
                return;
            }
        }
    }

    // Working precision: the output's, 64 guard bits, and room for n terms.
    mpfr_prec_t prec = talvo_float_precision() + 64 + std::bit_width(static_cast<unsigned long>(n));
    Mp W(prec), W2(prec), S(prec), t(prec), u(prec), mean(prec);
    Mp m2(prec), m3(prec), m4(prec), sd(prec), d(prec);
    mpfr_set_zero(W, 1);
    mpfr_set_zero(W2, 1);
    mpfr_set_zero(S, 1);
    Integer valid = 0;
    TalvoFloat lo, hi;
    bool any = false, missing = false;
    for (Integer i = 0; i < n; ++i) {
        mpfr_srcptr xi = x[i].mpfr();
        if (wt != nullptr) {
            mpfr_srcptr wi = wt[i].mpfr();
            if (mpfr_zero_p(wi)) // a value of weight zero takes no part
                continue;
            talvo::floatn::add_rn(W, W, wi);
            talvo::floatn::mul_rn(t, wi, wi);
            talvo::floatn::add_rn(W2, W2, t);
            talvo::floatn::mul_rn(t, wi, xi);
            talvo::floatn::add_rn(S, S, t);
            if (!mpfr_nan_p(wi) && mpfr_sgn(wi) > 0)
                ++valid;
        } else {
            mpfr_add_ui(W, W, 1, MPFR_RNDN);
            mpfr_add_ui(W2, W2, 1, MPFR_RNDN);
            talvo::floatn::add_rn(S, S, xi);
            ++valid;
        }
        if (IsNan(x[i]))
            missing = true;
        else if (!any) {
            lo = hi = x[i];
            any = true;
        } else {
            if (x[i] < lo)
                lo = x[i];
            if (x[i] > hi)
                hi = x[i];
        }
    }
    *nvalid = valid;
    if (!mpfr_nan_p(W.v) && mpfr_sgn(W.v) <= 0) {
        call.fail(NE_WEIGHT_SUM_NOT_POSITIVE,
                  "the sum of the weights, " + float_text(ToFloat(W)) + ", is out of range: it must be > 0.");
        return;
    }
    mpfr_div(mean, S, W, MPFR_RNDN);
    *xmean = ToFloat(mean);
    *wsum = ToFloat(W);
    if (any && !missing) {
        *xmin = lo;
        *xmax = hi;
    }
    if (valid < 2) {
        call.fail(NE_TOO_FEW_WEIGHTED, "nvalid = " + std::to_string(valid) +
                                           " values have a positive weight: at least 2 are required.");
        return;
    }

    // Second pass: central moments about the mean.
    mpfr_set_zero(m2, 1);
    mpfr_set_zero(m3, 1);
    mpfr_set_zero(m4, 1);
    for (Integer i = 0; i < n; ++i) {
        if (wt != nullptr && mpfr_zero_p(wt[i].mpfr()))
            continue;
        talvo::floatn::sub_rn(t, x[i].mpfr(), mean); // deviation e
        mpfr_sqr(u, t, MPFR_RNDN);                 // e^2
        if (wt != nullptr)
            talvo::floatn::mul_rn(u, u, wt[i].mpfr()); // w e^2
        talvo::floatn::add_rn(m2, m2, u);
        talvo::floatn::mul_rn(u, u, t); // w e^3
        talvo::floatn::add_rn(m3, m3, u);
        talvo::floatn::mul_rn(u, u, t); // w e^4
        talvo::floatn::add_rn(m4, m4, u);
    }
    // d = W - sum(w^2)/W
    mpfr_div(t, W2, W, MPFR_RNDN);
    talvo::floatn::sub_rn(d, W, t);
    mpfr_div(t, m2, d, MPFR_RNDN);
    mpfr_sqrt(sd, t, MPFR_RNDN);
    *xsd = ToFloat(sd);
    // skew = m3 / (d sd^3); kurt = m4 / (d sd^4) - 3; 0/0 (no spread) is undefined.
    mpfr_pow_ui(u, sd, 3, MPFR_RNDN);
    talvo::floatn::mul_rn(u, u, d);
    mpfr_div(t, m3, u, MPFR_RNDN);
    *xskew = ToFloat(t);
    mpfr_pow_ui(u, sd, 4, MPFR_RNDN);
    talvo::floatn::mul_rn(u, u, d);
    mpfr_div(t, m4, u, MPFR_RNDN);
    mpfr_sub_ui(t, t, 3, MPFR_RNDN);
    *xkurt = ToFloat(t);
}
