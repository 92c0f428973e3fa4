// student_t.cpp -- Student's t distribution with df > 0 degrees of freedom:
// g01ebc (tail probabilities) and g01fbc (deviates), any of the four tails.
//
// With x = df / (df + t^2) and y = t^2 / (df + t^2), both formed without
// cancellation,
//   S = P(|T| >= |t|) = I_x(df/2, 1/2),   C = P(|T| <= |t|) = I_y(1/2, df/2),
// one of them summed directly (special/beta_inc.cpp), and every tail is S,
// C, S/2 or (1 + C)/2 -- never a difference of two probabilities.
//
// The deviate solves for |t| > 0: as an upper-tail problem P(T >= t) = q
// when q <= 1/4, otherwise as P(|T| <= t) = 1 - 2q, which is then exact and
// keeps the digits of a t near 0.
#include "core/fixed_series.hpp"
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"
#include "special/beta_inc.hpp"
#include "special/series.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace talvo::mp {

namespace {

// x = df / (df + t^2), y = t^2 / (df + t^2).
void t_to_beta(arb_ptr x, arb_ptr y, arb_srcptr t, arb_srcptr df, slong wp)
{
    Arb t2, s;
    arb_sqr(t2, t, wp);
    arb_add(s, t2, df, wp);
    arb_div(x, df, s, wp);
    arb_div(y, t2, s, wp);
}

// S and C at |t| (either may be null).
Status t_two_tails(arb_ptr S, arb_ptr C, arb_srcptr t, const fmpq *df, slong goal, slong wp)
{
    Fmpq a, half;
    fmpq_div_2exp(a, df, 1);
    fmpq_set_si(half, 1, 2);
    BetaPoint point = [&](arb_ptr x, arb_ptr y, slong prec) {
        Arb dfa;
        arb_set_fmpq(dfa, df, prec);
        t_to_beta(x, y, t, dfa, prec);
    };
    return beta_inc(S, C, a, half, point, goal, wp);
}

} // namespace

void t_density(arb_ptr r, arb_srcptr t, const fmpq *df, slong wp)
{
    // (1 + t^2/df)^(-(df+1)/2) / (sqrt(df) B(df/2, 1/2))
    Fmpq a, half;
    fmpq_div_2exp(a, df, 1);
    fmpq_set_si(half, 1, 2);
    Arb d, u, e, lb;
    arb_set_fmpq(d, df, wp);
    double mag = std::fabs(fmpq_to_double(df)) + 1.0;
    slong p = wp + 4 + static_cast<slong>(std::log2(std::min(mag, 1e300)));
    arb_sqr(u, t, p);
    arb_div(u, u, d, p);
    arb_log1p(u, u, p);
    arb_add_ui(e, d, 1, p);
    arb_mul_2exp_si(e, e, -1);
    arb_mul(u, u, e, p);
    arb_neg(u, u);
    log_beta(lb, a, half, p);
    arb_sub(u, u, lb, p);
    arb_log(e, d, p);
    arb_mul_2exp_si(e, e, -1);
    arb_sub(u, u, e, p);
    arb_exp(r, u, wp);
}

// ---------------------------------------------------------------------------
// The deviate's first attempt at up to 30 digits: S or C by one series with
// the constants of df kept from call to call (a sample draws many deviates
// with one df), and a proven bound of the part of the series left off.
// ---------------------------------------------------------------------------

namespace {

// The most terms the first attempt sums; beyond it the full routine answers.
constexpr slong kMaxFastTerms = FixedSeries::kMaxTerms;

// What depends on df alone, for the last df seen: df exactly, a = df/2,
// the shapes of the two series, and 1 / (sqrt(df) B(df/2, 1/2)) as a ball.
struct TConstants {
    bool have_df = false;
    mpfr_t df_value;     // the df they were made for
    Fmpq dq, a;          // df, df/2
    Fmpq alpha;          // a + 1/2, the numerator shape of both series
    Fmpq beta_s, beta_c; // a + 1 (series of S in x), 3/2 (series of C in y)
    Arb df_ball, a_ball, alpha_ball; // exact (df is a float)
    Arb inv_df;                      // 1 / df, at k_prec bits
    // a + 1/2 = pow_num / 2^pow_roots when that is small (pow_roots <= 3,
    // pow_num < 2^12, so x^(a+1/2) is a short power and a few square roots);
    // pow_roots < 0 otherwise.
    ulong pow_num = 0;
    int pow_roots = -1;
    double dd = 0, ad = 0;
    double alpha_up = 0; // a + 1/2 rounded up to a double
    double log_k = 0;    // ln(1 / (sqrt(df) B)) in double, for estimates
    Arb k;               // 1 / (sqrt(df) B(df/2, 1/2))
    slong k_prec = 0;    // the precision k was computed at (0: not yet)
    long calls = 0;      // calls with this df: the tables below pay from the second
    FixedSeries series_s, series_c; // coefficients of the two series

    TConstants() { mpfr_init2(df_value, MPFR_PREC_MIN); }
    ~TConstants() { mpfr_clear(df_value); }
    TConstants(const TConstants &) = delete;
    TConstants &operator=(const TConstants &) = delete;
};

// The ball k at no fewer than prec bits.
void ensure_k(TConstants &c, slong prec)
{
    if (c.k_prec >= prec)
        return;
    slong p = std::max<slong>(prec + 32, 192);
    double mag = std::fabs(c.dd) + 2.0;
    slong q = p + 8 + static_cast<slong>(std::log2(std::min(mag, 1e300)));
    Fmpq half;
    fmpq_set_si(half, 1, 2);
    Arb lb, l;
    log_beta(lb, c.a, half, q);
    arb_log(l, c.df_ball, q);
    arb_mul_2exp_si(l, l, -1);
    arb_add(lb, lb, l, q);
    arb_neg(lb, lb);
    arb_exp(c.k, lb, p);
    arb_inv(c.inv_df, c.df_ball, p);
    c.k_prec = p;
}

TConstants &t_constants(const TalvoFloat &df)
{
    static TConstants c;
    mpfr_srcptr d = df.mpfr();
    if (c.have_df && mpfr_equal_p(c.df_value, d)) {
        ++c.calls;
        return c;
    }
    c.calls = 1;
    mpfr_set_prec(c.df_value, mpfr_get_prec(d));
    mpfr_set(c.df_value, d, MPFR_RNDN);
    fmpq_set_float(c.dq, df);
    fmpq_div_2exp(c.a, c.dq, 1);
    Fmpq half;
    fmpq_set_si(half, 1, 2);
    fmpq_add(c.alpha, c.a, half);
    fmpq_add_si(c.beta_s, c.a, 1);
    fmpq_set_si(c.beta_c, 3, 2);
    arb_set_float(c.df_ball, df);
    arb_mul_2exp_si(c.a_ball, c.df_ball, -1);
    arb_set_d(c.alpha_ball, 0.5);
    arb_add(c.alpha_ball, c.alpha_ball, c.a_ball, ARF_PREC_EXACT);
    c.dd = fmpq_to_double(c.dq);
    c.ad = 0.5 * c.dd;
    Arf up;
    arf_set_round(up, arb_midref(c.alpha_ball), 53, ARF_RND_UP);
    c.alpha_up = arf_get_d(up, ARF_RND_UP);
    c.k_prec = 0;
    ensure_k(c, 128);
    // (From the ball: in double, ln Gamma(a) - ln Gamma(a + 1/2) would
    // cancel most of its digits for a large a.)
    c.log_k = std::log(arf_get_d(arb_midref(c.k), ARF_RND_NEAR));
    c.pow_roots = -1;
    {
        Fmpq w;
        for (int r = 0; r <= 3 && c.pow_roots < 0; ++r) {
            fmpq_mul_2exp(w, c.alpha, static_cast<ulong>(r));
            const fmpq *wq = w;
            if (fmpz_is_one(fmpq_denref(wq)) && fmpz_sgn(fmpq_numref(wq)) > 0 && fmpz_bits(fmpq_numref(wq)) <= 12) {
                c.pow_num = fmpz_get_ui(fmpq_numref(wq));
                c.pow_roots = r;
            }
        }
    }
    c.series_s.reset(c.alpha, c.beta_s, 0);
    // 2^e >= (a + 1/2) / (3/2) keeps every ratio of the scaled series at most 1.
    slong e = 0;
    while (std::ldexp(1.5, static_cast<int>(e)) < c.alpha_up)
        ++e;
    c.series_c.reset(c.alpha, c.beta_c, e);
    c.have_df = true;
    return c;
}

// A test may shrink the radius of every series result by 2^-bits, to show
// that its checks notice a bound that is too narrow.
slong series_radius_shift = 0;
// Tests switch the fixed-point sums off to compare them with the sums in
// ball arithmetic.
bool fixed_sums_on = true;

constexpr double kLn2 = 0.69314718055994530942;

slong magnitude_bits(double m)
{
    if (!(m > 1.0))
        return 4;
    return 4 + static_cast<slong>(std::log2(std::min(m, 1e300)));
}

// d = f(t) = k x^(a + 1/2) for x = 1 / (1 + t^2/df) at prec bits (x may be
// a ball; k must be known to prec bits): a power and square roots when
// a + 1/2 allows, otherwise exp((a + 1/2) ln x).
void t_density_x(arb_ptr d, arb_srcptr x, TConstants &c, slong prec)
{
    Arb e;
    if (c.pow_roots >= 0) {
        slong q = prec + FLINT_BIT_COUNT(c.pow_num) + 4;
        arb_pow_ui(e, x, c.pow_num, q);
        for (int i = 0; i < c.pow_roots; ++i)
            arb_sqrt(e, e, q);
    } else {
        arb_log(e, x, prec);
        arb_mul(e, e, c.alpha_ball, prec);
        arb_exp(e, e, prec);
    }
    arb_mul(d, e, c.k, prec);
}

// The same at t (t may be a ball).
void t_density_k(arb_ptr d, arb_srcptr t, TConstants &c, slong prec)
{
    Arb u;
    arb_sqr(u, t, prec);
    arb_mul(u, u, c.inv_df, prec);
    arb_add_ui(u, u, 1, prec);
    arb_inv(u, u, prec);
    t_density_x(d, u, c, prec);
}

// S = P(|T| >= t) (want_s) or C = P(|T| <= t) at t > 0, relative accuracy
// about 2^-goal.  With u = t^2/df, x = 1/(1+u), y = u/(1+u) and the density
// f(t) = k (1+u)^-(a+1/2) (so x^a y^(1/2) / B(a, 1/2) = t f(t)),
//   S = I_x(a, 1/2) = t f(t) / a * sum_j (a+1/2)_j / (a+1)_j x^j,
//   C = I_y(1/2, a) = 2 t f(t)   * sum_j (a+1/2)_j / (3/2)_j y^j,
// both of positive terms.  The series of S has ratios below x (its j-th
// term is below x^j, and what follows term N at most x^N / y); the series of
// C has ratios y (a+1/2+j) / (3/2+j), rising towards y when a <= 1 (what
// follows term N is at most t_N / x) and falling when a > 1 (at most
// t_N / (1 - r_N)).  The wanted tail is summed directly or as 1 minus the
// other, whichever costs less with the bits the subtraction cancels.
// Returns false when neither series is short (the caller's full routine
// then answers).
bool t_tail_series(arb_ptr r, bool want_s, arb_srcptr t, TConstants &c, slong goal, slong wp, arb_ptr density)
{
    if (!arb_is_exact(t))
        return false;
    double td = arf_get_d(arb_midref(t), ARF_RND_NEAR);
    if (!(td > 0) || !std::isfinite(td))
        return false;
    const double ud = td * td / c.dd;
    if (!std::isfinite(ud) || !(ud > 1e-250))
        return false;
    const double Ld = std::log1p(ud);          // -ln x
    const double yd = ud / (1.0 + ud);
    const double lpd = std::log(td) + c.log_k - (c.ad + 0.5) * Ld; // ln(t f(t))
    if (!(lpd > -700.0))
        return false;
    const double bits = static_cast<double>(goal + 8);

    // Terms of the series of S for 2^-b of its sum: x^N / y <= 2^-b.
    auto terms_s = [&](double b) {
        double ns = (b * kLn2 - std::log(yd)) / Ld;
        return (ns < kMaxFastTerms) ? static_cast<slong>(std::ceil(std::max(ns, 1.0))) : kMaxFastTerms + 1;
    };
    const slong n_s0 = terms_s(bits);
    // Estimates of both tails (the first term of each series is a lower
    // bound of it, the first term over 1 - x of S an upper bound).
    const double pd = std::exp(lpd);
    // (A difference 1 - v below 2^-40 is mostly the rounding of v: the
    // first term is taken then.)
    auto above = [](double v) { return v > 0x1p-40 ? v : 0.0; };
    double c_est = std::max(2.0 * pd, above(1.0 - pd / (c.ad * yd)));
    auto cancelled = [](double v) { return v > 0 ? std::max(0.0, -std::log2(v)) + 2.0 : 1e9; };
    const double wpd = static_cast<double>(wp);
    // Terms of the series of C, in double from an upper bound yu of y: t is
    // exact, and u = t^2/df, y = u/(1+u) in double take 8 roundings (those
    // of t and df included), each within 2^-53, and y is no more sensitive
    // to u than u itself, so y <= yd (1 + 2^-50) <= yu.  run_c(b, limit)
    // sums on to the first n = j whose left-off part is below 2^-b of the
    // sum (true), or stops at the limit (false); it may be called again with
    // a larger b and goes on from where it stopped.
    const double yu = yd * (1 + 0x1p-47);
    const bool rising = fmpq_cmp_si(c.a, 1) <= 0; // a + 1/2 <= 3/2
    double term = 1.0, sum_c = 1.0;
    slong j = 0;
    auto ratio = [&](slong i) { return yu * (c.alpha_up + i) / (1.5 + i); };
    auto run_c = [&](double b, slong limit) {
        const double eps = std::ldexp(1.0, -static_cast<int>(b));
        for (; j < limit; ++j) {
            double rj = ratio(j);
            double rho = rising ? yu : rj; // bounds every ratio from j on
            if (j >= 1 && rho < 1.0 && term <= (1.0 - rho) * eps * sum_c)
                return true;
            term *= rj;
            sum_c += term;
            if (!std::isfinite(sum_c))
                return false;
        }
        return false;
    };
    // First to 2^-bits, stopped once it is clearly dearer than the series
    // of S (counting the bits its complement would cancel).
    double limit_d = want_s ? static_cast<double>(n_s0) : n_s0 * (1.0 + cancelled(c_est) / wpd) + 1.0;
    bool c_ok = run_c(bits, static_cast<slong>(std::min<double>(static_cast<double>(kMaxFastTerms), limit_d)));
    const slong n_c0 = c_ok ? j : -1;
    double s_est = std::max(pd / c.ad, c_ok ? above(1.0 - 2.0 * pd * sum_c) : 0.0);
    // The cost of each way: terms times precision, where the complement
    // takes the bits it cancels in both.
    const double loss_s = cancelled(s_est), loss_c = cancelled(c_est);
    double cost_s = (n_s0 <= kMaxFastTerms) ? want_s ? n_s0 * wpd : n_s0 * (wpd + loss_c) * (bits + loss_c) / bits
                                            : 1e300;
    double cost_c = (n_c0 >= 0) ? want_s ? n_c0 * (wpd + loss_s) * (bits + loss_s) / bits : n_c0 * wpd : 1e300;
    if (cost_s >= 1e300 && cost_c >= 1e300)
        return false;
    const bool use_s = cost_s <= cost_c;
    const bool direct = use_s == want_s;
    const slong loss = direct ? 0 : static_cast<slong>(use_s ? loss_c : loss_s);
    if (loss > 4 * wp + 64)
        return false;
    // The chosen series to 2^-(bits + loss) of its sum.
    slong n;
    double tn = 0, rn = 0;
    if (use_s) {
        n = terms_s(bits + static_cast<double>(loss));
        if (n > kMaxFastTerms)
            return false;
    } else {
        if (loss > 0 && !run_c(bits + static_cast<double>(loss), kMaxFastTerms))
            return false;
        n = j;
        tn = term;
        rn = rising ? yu : ratio(j);
    }
    const slong p = wp + loss + 8;
    const slong pp = p + magnitude_bits((c.ad + 0.5) * Ld);
    ensure_k(c, pp);

    // x, y at the series' precision.
    Arb u, x, y, w;
    arb_sqr(u, t, pp);
    arb_mul(u, u, c.inv_df, pp);
    arb_add_ui(w, u, 1, pp);
    arb_inv(x, w, pp);
    arb_mul(y, u, x, pp);

    // The part of the chosen series after its first n terms.
    Mag tail;
    if (use_s) {
        Mag xm, ym;
        arb_get_mag(xm, x);
        arb_get_mag_lower(ym, y);
        if (mag_is_zero(ym))
            return false;
        mag_pow_ui(tail, xm, static_cast<ulong>(n));
        mag_div(tail, tail, ym);
    } else {
        // t_n from the loop above: each factor yu (a+1/2+j) / (3/2+j) and
        // its product with the running term take 4 roundings to nearest, so
        // tn (1 + 2^-53)^(4n) < tn (1 + 2^-39) bounds t_n (n at most 4000,
        // every value a normal double).  Every ratio from n on is at most
        // rn (yu when they rise, r_n when they fall), rn within 3 roundings;
        // 1 - rn is exact for rn in [1/2, 1] and within 2^-53 otherwise.
        double gap = (1.0 - rn * (1 + 0x1p-50)) * (1 - 0x1p-50);
        if (!(gap > 0) || !std::isfinite(tn) || !(tn > 1e-290))
            return false;
        mag_set_d(tail, tn / gap * (1 + 0x1p-36));
    }

    // The sum, and t f(t) as the prefactor.
    Arb sum, pref;
    const slong sp = p + FLINT_BIT_COUNT(n) + 4;
    // The sum in fixed point where it holds the bits wanted (up to about 25
    // digits), otherwise by rectangular splitting in ball arithmetic.
    FixedSeries &fs = use_s ? c.series_s : c.series_c;
    const slong want_bits = goal + 12 + loss;
    if (!fixed_sums_on || c.calls < 2 || !fs.sum(sum, use_s ? x : y, n, want_bits)) {
        sum_terms(sum, c.alpha, 1, use_s ? c.beta_s : c.beta_c, 1, use_s ? x : y, n, sp);
        arb_add_error_mag(sum, tail);
    } else {
        // The terms of the scaled series are the same: what follows term n
        // is bounded as before.
        arb_add_error_mag(sum, tail);
    }
    t_density_x(pref, x, c, pp);
    if (density != nullptr)
        arb_set(density, pref);
    arb_mul(pref, pref, t, pp);
    if (use_s)
        arb_div(pref, pref, c.a_ball, pp);
    else
        arb_mul_2exp_si(pref, pref, 1);
    arb_mul(sum, sum, pref, p);
    if (!direct) {
        arb_sub_ui(sum, sum, 1, p);
        arb_neg(sum, sum);
    }
    if (series_radius_shift > 0)
        mag_mul_2exp_si(arb_radref(sum), arb_radref(sum), -series_radius_shift);
    arb_set_round(r, sum, wp);
    return arb_is_finite(r) && arb_is_positive(r);
}

} // namespace

} // namespace talvo::mp

using namespace talvo::mp;

long TalvoMP_t_series_radius_shift(long bits)
{
    long was = series_radius_shift;
    series_radius_shift = bits;
    return was;
}

int TalvoMP_t_series_enclosure(TalvoFloat t, TalvoFloat df, int want_s, TalvoFloat *lower, TalvoFloat *upper)
{
    if (float_is_nan(t) || float_is_nan(df) || float_sgn(t) <= 0 || float_sgn(df) <= 0 || float_is_inf(t) ||
        float_is_inf(df))
        return 0;
    Target target = target_full();
    TConstants &c = t_constants(df);
    Arb at, r;
    arb_set_float(at, t);
    if (!t_tail_series(r, want_s != 0, at, c, target.goal, target.goal + 24, nullptr))
        return 0;
    float_bounds_from_arb(r, target.out_prec, lower, upper);
    return 1;
}

TalvoFloat TalvoMP_g01ebc(Nag_TailProbability tail, TalvoFloat t, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_g01ebc", fail);
    if (!call.tail_any(tail) || !call.defined("t", t) || !call.finite("df", df) || !call.greater("df", df, 0) ||
        !call.not_tiny("df", df))
        return Call::undefined();
    Target target = target_full();
    int sign = float_sgn(t);
    if (sign == 0 || float_is_inf(t)) {
        // t = 0: halves, S = 1, C = 0; t = +-infinity: the limits.
        Arb v;
        if (sign == 0) {
            if (tail == Nag_TwoTailSignif)
                arb_one(v);
            else if (tail == Nag_TwoTailConfid)
                arb_zero(v);
            else
                arb_set_d(v, 0.5);
        } else {
            bool lower_one = sign > 0;
            switch (tail) {
            case Nag_LowerTail: arb_set_si(v, lower_one ? 1 : 0); break;
            case Nag_UpperTail: arb_set_si(v, lower_one ? 0 : 1); break;
            case Nag_TwoTailSignif: arb_zero(v); break;
            default: arb_one(v); break;
            }
        }
        return float_from_arb(v, target.out_prec);
    }
    Fmpq dq;
    fmpq_set_float(dq, df);
    Arb at, r, S, C;
    arb_set_float(at, t);
    arb_abs(at, at);
    // Which of S, C, S/2, (1 + C)/2 the tail is.
    enum { kS, kC, kHalfS, kHalfOnePlusC } form;
    switch (tail) {
    case Nag_LowerTail: form = sign < 0 ? kHalfS : kHalfOnePlusC; break;
    case Nag_UpperTail: form = sign > 0 ? kHalfS : kHalfOnePlusC; break;
    case Nag_TwoTailSignif: form = kS; break;
    default: form = kC; break;
    }
    double dd = fmpq_to_double(dq), td = arf_get_d(arb_midref(at), ARF_RND_NEAR);
    slong guard = 12 + static_cast<slong>(std::log2(std::min(dd + td * td + 1.0, 1e300)));
    Status s = ziv({r}, target, guard, [&](slong wp) {
        bool want_s = form == kS || form == kHalfS;
        Status st = t_two_tails(want_s ? S.v : nullptr, want_s ? nullptr : C.v, at, dq, target.goal, wp);
        if (st != Status::Ok)
            return st;
        switch (form) {
        case kS: arb_set(r, S); break;
        case kC: arb_set(r, C); break;
        case kHalfS: arb_mul_2exp_si(r, S, -1); break;
        case kHalfOnePlusC:
            arb_add_ui(r, C, 1, wp);
            arb_mul_2exp_si(r, r, -1);
            break;
        }
        return Status::Ok;
    });
    return call.result(r, target, s);
}

TalvoFloat TalvoMP_g01fbc(Nag_TailProbability tail, TalvoFloat p, TalvoFloat df, NagError *fail)
{
    Call call("TalvoMP_g01fbc", fail);
    if (!call.tail_any(tail) || !call.greater("p", p, 0) || !call.less("p", p, 1) || !call.finite("df", df) ||
        !call.greater("df", df, 0) || !call.not_tiny("df", df))
        return Call::undefined();
    Target target = target_full();
    Fmpq dq;
    fmpq_set_float(dq, df);
    Arb ap, q, c;
    arb_set_float(ap, p);
    bool p_upper = float_cmp_d(p, 0.5) > 0;
    // The problem for |t|: either P(T >= |t|) = q (use_q) or P(|T| <= |t|) = c,
    // and the sign of the result.
    int sign = 1;
    bool use_q = true;
    switch (tail) {
    case Nag_LowerTail:
    case Nag_UpperTail: {
        if (float_cmp_d(p, 0.5) == 0)
            return float_from_si(0, target.out_prec);
        // qq = min(p, 1 - p): the upper-tail probability of |t|.
        if (p_upper)
            exact_complement(q, ap);
        else
            arb_set(q, ap);
        bool negative = (tail == Nag_LowerTail) ? !p_upper : p_upper;
        sign = negative ? -1 : 1;
        if (arf_cmp_2exp_si(arb_midref(q), -2) > 0) {
            use_q = false; // c = 1 - 2q, exact for q in (1/4, 1/2]
            arb_mul_2exp_si(c, q, 1);
            exact_complement(c, c);
        }
        break;
    }
    case Nag_TwoTailSignif:
        // P(|T| >= t) = p: q = p/2, or c = 1 - p (exact for p > 1/2).
        if (p_upper) {
            use_q = false;
            exact_complement(c, ap);
        } else {
            arb_mul_2exp_si(q, ap, -1);
        }
        break;
    default:
        // P(|T| <= t) = p: c = p, or q = (1 - p)/2 for p > 1/2.
        if (p_upper) {
            exact_complement(q, ap);
            arb_mul_2exp_si(q, q, -1);
        } else {
            use_q = false;
            arb_set(c, ap);
        }
        break;
    }
    Inversion f;
    f.lo = 0;
    f.upper = use_q;
    f.cdf = [&](arb_ptr v, arb_srcptr t, slong wp) {
        if (use_q) {
            Status st = t_two_tails(v, nullptr, t, dq, wp - 16, wp);
            arb_mul_2exp_si(v, v, -1);
            return st;
        }
        return t_two_tails(nullptr, v, t, dq, wp - 16, wp);
    };
    f.density = [&](arb_ptr d, arb_srcptr t, slong wp) {
        t_density(d, t, dq, wp);
        if (!use_q)
            arb_mul_2exp_si(d, d, 1);
    };
    // Start from the upper-tail probability of |t| in double.
    double qd = use_q ? arf_get_d(arb_midref(q), ARF_RND_NEAR) : 0.5 * (1.0 - arf_get_d(arb_midref(c), ARF_RND_NEAR));
    double start = start_t_upper_double(fmpq_to_double(dq), qd);
    if (std::isnan(start)) {
        double lq;
        if (use_q) {
            Arb l;
            arb_log(l, q, 64);
            lq = arf_get_d(arb_midref(l), ARF_RND_NEAR);
        } else {
            lq = std::log(qd);
        }
        start = start_t_upper(fmpq_to_double(dq), qd, lq);
    }
    // At up to 30 digits one interval Newton step from the double start
    // usually proves a ball that fixes the rounding: first with the series
    // of t_tail_series and the constants of df kept between calls, then
    // with the general incomplete beta function.  Above 30 digits (to 250)
    // a few plain Newton steps on the same series come first.  Where neither
    // proves the rounding, the full inversion, which gives the same float
    // wherever the rounding is certain.
    Arb r;
    Status s = Status::Ok;
    bool answered = false, counted = false;
    static const slong newton_first_limit = talvo_float_precision_bits(250);
    {
        TConstants &k = t_constants(df);
        Inversion g;
        g.lo = 0;
        g.upper = use_q;
        // The density at the last point the series was summed at (its
        // prefactor is t f(t)).
        Arb f_at;
        Arf f_point;
        g.cdf = [&](arb_ptr v, arb_srcptr t, slong wp) {
            if (!t_tail_series(v, use_q, t, k, wp - 16, wp, f_at))
                return Status::TooCostly;
            arf_set(f_point, arb_midref(t));
            if (use_q)
                arb_mul_2exp_si(v, v, -1);
            return Status::Ok;
        };
        g.density = [&](arb_ptr d, arb_srcptr t, slong) {
            Mag eps;
            if (arf_equal(arb_midref(t), f_point) && arf_sgn(f_point) > 0) {
                // For |s - t| <= eps t (eps <= 1/8), 1 + s^2/df lies within
                // a factor [1 - 2 eps, 1 + 3 eps] of 1 + t^2/df, so f(s) is
                // f(t) times a factor in [e^-d, e^d] with d = 3 (a + 1/2) eps
                // (-ln(1 - 2 eps) <= 3 eps for eps <= 1/6); for d <= 1/2
                // that is within 1 +- 2d.
                Mag tm;
                arf_get_mag_lower(tm, f_point);
                mag_div(eps, arb_radref(t), tm);
                Mag dm;
                mag_set_d(dm, 6.0 * (k.ad + 0.5) * (1 + 0x1p-40));
                mag_mul(dm, dm, eps);
                if (mag_cmp_2exp_si(eps, -3) <= 0 && mag_cmp_2exp_si(dm, -1) <= 0) {
                    arb_set(d, f_at);
                    Mag w;
                    arb_get_mag(w, f_at);
                    mag_mul(w, w, dm);
                    mag_add(arb_radref(d), arb_radref(d), w);
                    if (!use_q)
                        arb_mul_2exp_si(d, d, 1);
                    return;
                }
            }
            // Elsewhere: the density only scales a correction of 2^-40 of t
            // or less (the start's error, or that of the plain Newton step
            // above 60 bits, 2^-72): 48 bits of it leave the step's error
            // far below 2^-(goal + 8).
            double td = arf_get_d(arb_midref(t), ARF_RND_NEAR);
            double mag = (k.ad + 0.5) * std::log1p(td * td / k.dd);
            slong dp = 48 + magnitude_bits(mag);
            ensure_k(k, dp);
            t_density_k(d, t, k, dp);
            if (!use_q)
                arb_mul_2exp_si(d, d, 1);
        };
        if (fast_target(target)) {
            answered = invert_fast(r, g, use_q ? q : c, start, target) && rounds_uniquely(r, target.out_prec);
            if (!answered)
                answered = invert_fast(r, f, use_q ? q : c, start, target) && rounds_uniquely(r, target.out_prec);
            counted = answered;
        } else if (target.out_prec <= newton_first_limit) {
            // Above 30 digits: Newton steps on the same series first (up to
            // 250 digits; beyond, its series grow long enough that the full
            // inversion costs less, as measured with bench_inversion_sample).
            answered = invert_newton_first(r, g, use_q ? q : c, start, target) &&
                       rounds_uniquely(r, target.out_prec);
        }
    }
    if (counted)
        count_fast_answer();
    if (!answered)
        s = invert(r, f, use_q ? q : c, start, target);
    if (s == Status::Ok && sign < 0)
        arb_neg(r, r);
    return call.result(r, target, s);
}
