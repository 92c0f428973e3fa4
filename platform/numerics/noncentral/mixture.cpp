// mixture.cpp -- Poisson-weighted series with proven truncation (see mixture.hpp).
#include "mixture.hpp"
#include "../special/beta_inc.hpp"
#include "../special/gamma_inc.hpp"
#include "../special/lgamma_memo.hpp"
#include "../special/series.hpp"

#include <arb_hypgeom.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace talvo::mp {

namespace {

constexpr double kLn2 = 0.69314718055994530942;
constexpr double kNegInf = -std::numeric_limits<double>::infinity();

double d_of(arb_srcptr x) { return arf_get_d(arb_midref(x), ARF_RND_NEAR); }

// std::lgamma((b + j) + 1) for an integer j >= 0, the very double std::lgamma
// gives, kept per thread for the last few bases b: the calls of a root
// search or a sample ask for the same shapes over and over, and lgamma was
// the largest part of choosing the index range.
double lgamma_shifted(double b, double j)
{
    constexpr int kSlots = 4;
    constexpr double kSize = 4096;
    if (!(j >= 0 && j < kSize) || j != std::floor(j))
        return std::lgamma((b + j) + 1);
    struct Slot {
        double base = std::numeric_limits<double>::quiet_NaN();
        std::vector<double> v;
    };
    thread_local Slot slots[kSlots];
    thread_local unsigned next = 0;
    Slot *hit = nullptr;
    for (Slot &sl : slots)
        if (sl.base == b) { // a NaN base never matches
            hit = &sl;
            break;
        }
    if (hit == nullptr) {
        hit = &slots[next++ % kSlots];
        hit->base = b;
        hit->v.assign(static_cast<std::size_t>(kSize), std::numeric_limits<double>::quiet_NaN());
    }
    double &r = hit->v[static_cast<std::size_t>(j)];
    if (std::isnan(r))
        r = std::lgamma((b + j) + 1);
    return r;
}

// Double-precision picture of one component, for choosing the index range.
// The geometric factors ln(1 - r) are taken as std::log(1 - r): an estimate
// in the log domain needs absolute accuracy only, and log costs a third of
// log1p.
struct Estimate {
    double z, s;
    int kind;
    double a, b, x, y;
    double log_z, log_x, log_y; // std::log of z, x and y, made once

    double log_weight(double j) const { return -z + (j + s) * log_z - lgamma_shifted(s, j); }

    // ln G(j), roughly: the leading term of the series of the small tail, or
    // 0 when the ladder value is near 1.
    double log_ladder(double j) const
    {
        double sa = a + j;
        if (kind == MixtureComponent::GammaUpper) {
            // Q(sa, x): near 1 up to x ~ sa, then the leading term of the
            // asymptotic series x^(sa-1) e^-x / Gamma(sa).
            if (sa <= 0)
                return kNegInf;
            if (x <= sa + 1)
                return 0.0;
            return std::min(0.0, (sa - 1) * log_x - x - std::lgamma(sa) - std::log(1 - (sa - 1) / x));
        }
        if (kind == MixtureComponent::GammaLower) {
            if (sa <= 0)
                return 0.0;
            if (x >= sa + 1)
                return 0.0;
            // The log term is never positive: a leading part at or above 0
            // gives 0 without it.
            const double lead = sa * log_x - x - lgamma_shifted(a, j);
            if (lead >= 0)
                return 0.0;
            return std::min(0.0, lead - std::log(1 - x / (sa + 1)));
        }
        // I_u(p, q) for the lower ladder (u = x, p = a + j, q = b) or
        // 1 - I_x(a + j, b) = I_y(b, a + j) for the upper one.
        double u = x, p = sa, q = b, log_u = log_x, log_v = log_y;
        if (kind == MixtureComponent::BetaUpper) {
            u = y;
            p = b;
            q = sa;
            log_u = log_y;
            log_v = log_x;
        }
        double r0 = u * (p + q) / (p + 1);
        if (r0 >= 1)
            return 0.0;
        double lt = p * log_u + q * log_v + std::lgamma(p + q) - std::lgamma(p + 1) - std::lgamma(q);
        return std::min(0.0, lt - std::log(1 - r0));
    }

    // ln of sum_{i > j} |w(i)| and of sum_{i < j} |w(i)| (geometric bounds).
    double log_weight_tail_above(double j) const
    {
        double r = z / (j + s + 2);
        if (r >= 1)
            return std::numeric_limits<double>::infinity();
        return log_weight(j + 1) - std::log(1 - r);
    }
    double log_weight_tail_below(double j) const
    {
        if (j <= 0)
            return kNegInf;
        double r = (j - 1 + s) / z;
        if (r >= 1)
            return std::numeric_limits<double>::infinity();
        return log_weight(j - 1) - std::log(1 - r);
    }
};

// The weight w(j) = sign e^-z z^(j+s) / Gamma(j+s+1) as a ball.
void weight_fresh(arb_ptr w, const MixtureComponent &c, slong j, slong wp)
{
    double zd = d_of(c.z);
    double mag = zd * std::fabs(std::log(std::max(zd, 1e-300))) + zd + (j + 1) * std::log(j + 2.0) + 1;
    slong p = wp + 4 + static_cast<slong>(std::log2(std::min(mag, 1e300)));
    Arb js, t, lz;
    arb_set_fmpq(js, c.s, p);
    arb_add_si(js, js, j, p); // j + s
    arb_log(lz, c.z, p);
    arb_mul(t, lz, js, p);
    arb_sub(t, t, c.z, p);
    arb_add_ui(js, js, 1, p);
    lgamma_memo(js, js, p);
    arb_sub(t, t, js, p);
    arb_exp(w, t, wp);
    if (c.sign < 0)
        arb_neg(w, w);
}

// The same, with the last few weights kept per thread: the calls of a root
// search or a sample share z and s, and their starting indices recur.  A
// kept weight is the ball weight_fresh computed for the same z, s, sign, j
// and precision, so nothing downstream changes.
void weight_at(arb_ptr w, const MixtureComponent &c, slong j, slong wp)
{
    struct Entry {
        Arb z, w;
        Fmpq s;
        int sign = 0; // 0: unused
        slong j = 0, wp = 0;
    };
    thread_local Entry last[16];
    thread_local unsigned next = 0;
    for (const Entry &e : last)
        if (e.sign == c.sign && e.j == j && e.wp == wp && arb_equal(e.z, c.z) && fmpq_equal(e.s, c.s)) {
            arb_set(w, e.w);
            return;
        }
    weight_fresh(w, c, j, wp);
    Entry &e = last[next++ % 16];
    e.sign = 0;
    arb_set(e.z, c.z);
    fmpq_set(e.s, c.s);
    e.j = j;
    e.wp = wp;
    arb_set(e.w, w);
    e.sign = c.sign;
}

// The ladder value G(j), directly.
Status ladder_at(arb_ptr g, const MixtureComponent &c, slong j, slong trunc, slong wp)
{
    Fmpq aj;
    fmpq_add_si(aj, c.a, j);
    switch (c.kind) {
    case MixtureComponent::GammaLower:
        if (fmpq_is_zero(aj)) {
            arb_one(g); // P(0, x) = 1: the point mass at 0
            return Status::Ok;
        }
        return gamma_pq(g, nullptr, aj, c.gamma_point, trunc, wp);
    case MixtureComponent::GammaUpper:
        if (fmpq_is_zero(aj)) {
            arb_zero(g); // Q(0, x) = 0: the point mass at 0 lies below x
            return Status::Ok;
        }
        return gamma_pq(nullptr, g, aj, c.gamma_point, trunc, wp);
    case MixtureComponent::BetaLower:
        return beta_inc(g, nullptr, aj, c.b, c.beta_point, trunc, wp);
    default:
        return beta_inc(nullptr, g, aj, c.b, c.beta_point, trunc, wp);
    }
}

// The step of the ladder leaving index j in the direction of travel:
// G(j-1) - G(j) = term(a+j-1) for a falling ladder, G(j+1) - G(j) =
// term(a+j) for a rising one; x, y the point.
void ladder_step_at(arb_ptr d, const MixtureComponent &c, slong j, arb_srcptr x, arb_srcptr y, slong wp)
{
    Fmpq s;
    bool falling = !c.rising();
    fmpq_add_si(s, c.a, falling ? j - 1 : j);
    if (c.is_gamma())
        gamma_term(d, s, x, wp); // P(s,x) - P(s+1,x) = Q(s+1,x) - Q(s,x)
    else
        beta_term(d, s, c.b, x, y, wp);
}

// A rigorous bound of sum_{i > j} |w(i)| (above) or sum_{i < j} |w(i)|.
void weight_tail(mag_ptr out, const MixtureComponent &c, slong j, bool above)
{
    const slong prec = 64;
    if (!above && j <= 0) {
        mag_zero(out);
        return;
    }
    Arb w, r, js;
    weight_at(w, c, above ? j + 1 : j - 1, prec);
    arb_abs(w, w);
    arb_set_fmpq(js, c.s, prec);
    if (above) {
        arb_add_si(js, js, j + 2, prec); // ratio z / (j + s + 2)
        arb_div(r, c.z, js, prec);
    } else {
        arb_add_si(js, js, j - 1, prec); // ratio (j - 1 + s) / z
        arb_div(r, js, c.z, prec);
    }
    arb_sub_ui(r, r, 1, prec);
    arb_neg(r, r);
    if (!arb_is_positive(r)) {
        mag_inf(out);
        return;
    }
    arb_div(w, w, r, prec);
    arb_get_mag(out, w);
}

// The peak and start of the last one-component plan of a falling sum made
// on this thread: a root search or a sample plans sums of the same
// component at nearby points, whose peak and start are the same or
// neighbours, so the searches start from them (two or three estimates each
// instead of twenty or so).  The climbing searches find what the searches
// without a guess find on the shapes the estimates have (a log-concave
// term sequence, a ladder bound falling with the index), so a plan does not
// depend on the calls before it.
struct PlanGuess {
    double z = -1, s = 0, a = 0, b = 0;
    int kind = -1;
    slong trunc = -1;
    slong peak = 0, start = 0;
};

// The double-precision plan of a sum: the estimates of its components,
// the size of its largest term, and the index at which the summation starts.
struct Plan {
    std::vector<Estimate> est;
    double want = 0; // ln of the largest term less the truncation
    slong peak = 0;  // the index of the largest term
    slong start = 0;
};

Status make_plan(Plan &plan, const MixtureComponent *c, int nc, slong trunc)
{
    const bool falling = !c[0].rising();
    std::vector<Estimate> &est = plan.est;
    for (int i = 0; i < nc; ++i) {
        Estimate e;
        e.z = d_of(c[i].z);
        e.s = fmpq_to_double(c[i].s);
        e.kind = c[i].kind;
        e.a = fmpq_to_double(c[i].a);
        e.b = c[i].is_gamma() ? 0.0 : fmpq_to_double(c[i].b);
        Arb px, py;
        if (c[i].is_gamma()) {
            c[i].gamma_point(px, 64);
        } else {
            c[i].beta_point(px, py, 64);
        }
        e.x = d_of(px);
        e.y = d_of(py);
        e.log_z = std::log(e.z);
        e.log_x = std::log(e.x);
        e.log_y = std::log(e.y);
        est.push_back(e);
    }
    const double z = est[0].z;
    auto log_term = [&](slong j) {
        double m = kNegInf;
        for (const Estimate &e : est)
            m = std::max(m, e.log_weight(static_cast<double>(j)) + e.log_ladder(static_cast<double>(j)));
        return m;
    };
    // Compared as a double: a huge z (or a NaN) has no slong value.
    const double jmax_d = std::ceil(z + 12 * std::sqrt(z) + 40);
    if (!(jmax_d <= 4.0 * kMaxSeriesTerms))
        return Status::TooCostly;
    slong jmax = static_cast<slong>(jmax_d);
    thread_local PlanGuess guess;
    const Estimate &e0 = est[0];
    const bool guessed = nc == 1 && falling && guess.kind == e0.kind && guess.z == e0.z && guess.s == e0.s &&
                         guess.a == e0.a && guess.b == e0.b && guess.trunc == trunc;
    slong peak = guessed ? argmax_climbing(0, jmax, guess.peak, log_term) : argmax_unimodal(0, jmax, log_term);
    const double want = log_term(peak) - (trunc + 8) * kLn2;
    plan.want = want;
    plan.peak = peak;

    // The start: beyond it the ladder is smallest.
    slong start;
    if (falling) {
        auto ok = [&](slong j) {
            double m = kNegInf;
            for (const Estimate &e : est)
                m = std::max(m, e.log_ladder(static_cast<double>(j)) + e.log_weight_tail_above(static_cast<double>(j)));
            return m <= want;
        };
        slong from = std::max<slong>(peak, static_cast<slong>(std::ceil(z)));
        start = guessed ? first_true_near(from, from + kMaxSeriesTerms, guess.start, ok)
                        : first_true_from(from, from + kMaxSeriesTerms, ok);
        if (start < 0)
            return Status::TooCostly;
        if (nc == 1) {
            guess.kind = e0.kind;
            guess.z = e0.z;
            guess.s = e0.s;
            guess.a = e0.a;
            guess.b = e0.b;
            guess.trunc = trunc;
            guess.peak = peak;
            guess.start = start;
        }
        for (int i = 0; i < nc; ++i)
            if (c[i].kind == MixtureComponent::GammaLower && fmpq_is_zero(c[i].a))
                start = std::max<slong>(start, 1);
    } else {
        auto ok = [&](slong j) { // true for small j
            double m = kNegInf;
            for (const Estimate &e : est)
                m = std::max(m, e.log_ladder(static_cast<double>(j)) + e.log_weight_tail_below(static_cast<double>(j)));
            return m <= want;
        };
        slong to = std::min<slong>(peak, static_cast<slong>(std::floor(z)));
        // The largest j in [0, to] with ok(j).
        slong lo = 0, hi = to;
        if (!ok(0)) {
            start = 0;
        } else {
            while (lo < hi) {
                slong mid = lo + (hi - lo + 1) / 2;
                if (ok(mid))
                    lo = mid;
                else
                    hi = mid - 1;
            }
            start = lo;
        }
    }

    plan.start = start;
    return Status::Ok;
}

} // namespace

Status mixture_start(const MixtureComponent *c, int nc, slong trunc, slong *start)
{
    Plan plan;
    Status s = make_plan(plan, c, nc, trunc);
    *start = plan.start;
    return s;
}

Status mixture_sum(arb_ptr S, MixtureComponent *c, int nc, slong trunc, slong wp, Integer max_iter, Integer *needed)
{
    const bool falling = !c[0].rising();
    Plan plan;
    if (Status st = make_plan(plan, c, nc, trunc); st != Status::Ok)
        return st;
    const std::vector<Estimate> &est = plan.est;
    const double want = plan.want;
    slong start = plan.start;
    const slong peak = plan.peak;

    const int dir = falling ? -1 : 1;
    for (int attempt = 0; attempt < 8; ++attempt) {
        slong span = std::max<slong>(std::llabs(start - peak), 16);
        slong p = wp + FLINT_BIT_COUNT(span) + 8;
        std::vector<Arb> w(nc), g(nc), d(nc), aj(nc), js(nc);
        Arb inv_x, inv_z, t, sum, px, py;
        arb_inv(inv_z, c[0].z, p);
        // The point, shared by the components, at the working precision.
        if (c[0].is_gamma())
            c[0].gamma_point(px, p);
        else
            c[0].beta_point(px, py, p);
        Mag far, total, bound, m;
        mag_zero(far);
        // Start values and the bound for what lies beyond the start.
        for (int i = 0; i < nc; ++i) {
            weight_at(w[i], c[i], start, p);
            Status st = ladder_at(g[i], c[i], start, trunc + 4, p);
            if (st != Status::Ok)
                return st;
            ladder_step_at(d[i], c[i], start, px, py, p);
            // aj = a + j (for the ladder ratio), js = j + s (for the weight ratio)
            arb_set_fmpq(aj[i], c[i].a, p);
            arb_add_si(aj[i], aj[i], start, p);
            arb_set_fmpq(js[i], c[i].s, p);
            arb_add_si(js[i], js[i], start, p);
            weight_tail(m, c[i], start, falling);
            Mag gm;
            arb_get_mag(gm, g[i]);
            mag_mul(m, m, gm);
            mag_add(far, far, m);
        }
        arb_zero(sum);
        mag_zero(total);
        // The precomputed reciprocal of the point, for the ladder ratios.
        arb_inv(inv_x, px, p);
        Integer count = 0;
        slong j = start;
        bool complete = false;
        Mag near;
        for (;;) {
            // Add index j.
            for (int i = 0; i < nc; ++i) {
                arb_mul(t, w[i], g[i], p);
                arb_add(sum, sum, t, p);
                arb_get_mag_lower(m, t);
                mag_add_lower(total, total, m);
            }
            ++count;
            // What is left on the near side: sum |w| (G <= 1).
            if (falling && j == 0) {
                mag_zero(near);
                complete = true;
                break;
            }
            bool check = (count % 8 == 0) || (falling && j == 1) || count >= max_iter;
            mag_zero(near);
            for (int i = 0; i < nc && check; ++i) {
                {
                    // sum_{i beyond j} |w| <= |w(j+dir)| / (1 - ratio), from
                    // the current weight and exact ratios.
                    Arb wn, r;
                    if (falling) {
                        arb_mul(wn, w[i], js[i], 64);   // w(j-1) = w(j) (j+s) / z
                        arb_mul(wn, wn, inv_z, 64);
                        arb_sub_ui(r, js[i], 1, 64);     // (j-1+s) / z
                        arb_mul(r, r, inv_z, 64);
                    } else {
                        arb_add_ui(r, js[i], 1, 64);     // w(j+1) = w(j) z / (j+s+1)
                        arb_div(wn, c[i].z, r, 64);
                        arb_mul(wn, wn, w[i], 64);
                        arb_add_ui(r, js[i], 2, 64);     // z / (j+s+2)
                        arb_div(r, c[i].z, r, 64);
                    }
                    arb_sub_ui(r, r, 1, 64);
                    arb_neg(r, r);
                    if (!arb_is_positive(r)) {
                        mag_inf(m);
                    } else {
                        arb_abs(wn, wn);
                        arb_div(wn, wn, r, 64);
                        arb_get_mag(m, wn);
                    }
                    mag_add(near, near, m);
                }
            }
            Mag lim;
            mag_mul_2exp_si(lim, total, -(trunc + 6));
            if (check && mag_cmp(near, lim) <= 0) {
                complete = true;
                break;
            }
            if (count >= max_iter)
                break;
            // Move to j + dir.
            for (int i = 0; i < nc; ++i) {
                arb_add(g[i], g[i], d[i], p);
                if (falling) {
                    // d(j-1) = d(j) (a+j-1) / x            (gamma)
                    //        = d(j) (a+j-1) / (x (a+j+b-2))  (beta)
                    arb_sub_ui(aj[i], aj[i], 1, p); // a + j - 1
                    arb_mul(d[i], d[i], aj[i], p);
                    arb_mul(d[i], d[i], inv_x, p);
                    if (c[i].kind != MixtureComponent::GammaLower) {
                        Arb bb;
                        arb_set_fmpq(bb, c[i].b, p);
                        arb_add(bb, bb, aj[i], p);
                        arb_sub_ui(bb, bb, 1, p); // a + j + b - 2
                        arb_div(d[i], d[i], bb, p);
                    }
                    arb_mul(w[i], w[i], js[i], p); // w(j-1) = w(j) (j+s) / z
                    arb_mul(w[i], w[i], inv_z, p);
                    arb_sub_ui(js[i], js[i], 1, p);
                } else {
                    // d(j+1) = d(j) x (a+j+b) / (a+j+1)  (beta)
                    //        = d(j) x / (a+j+1)          (gamma)
                    if (!c[i].is_gamma()) {
                        Arb bb;
                        arb_set_fmpq(bb, c[i].b, p);
                        arb_add(bb, bb, aj[i], p);
                        arb_mul(d[i], d[i], bb, p);
                    }
                    arb_mul(d[i], d[i], px, p);
                    arb_add_ui(aj[i], aj[i], 1, p);
                    arb_div(d[i], d[i], aj[i], p);
                    arb_add_ui(js[i], js[i], 1, p); // w(j+1) = w(j) z / (j+s+1)
                    arb_mul(w[i], w[i], c[i].z, p);
                    arb_div(w[i], w[i], js[i], p);
                }
            }
            j += dir;
        }
        // Is what lies beyond the start small enough?  Otherwise move the
        // start further out and sum again.
        Mag lim;
        mag_mul_2exp_si(lim, total, -(trunc + 5));
        if (complete && mag_cmp(far, lim) > 0) {
            slong move = std::max<slong>(std::llabs(start - peak) / 2, 16);
            start = falling ? start + move : std::max<slong>(0, start - move);
            continue;
        }
        mag_add(bound, far, near);
        arb_set_round(S, sum, wp);
        arb_add_error_mag(S, bound);
        if (!complete) {
            // Estimate how many indices the stopping rule needs, in double.
            double lw_goal = std::log(std::max(mag_get_d(total), 1e-300)) - (trunc + 6) * kLn2;
            if (mag_get_d(total) == 0)
                lw_goal = want;
            // The bound on the rest only falls as the index moves on (the
            // sum it bounds loses terms), so the first index that meets the
            // goal is found by doubling and bisection: a linear scan took
            // seconds when hundreds of millions of indices were needed.
            const double j0 = static_cast<double>(j);
            auto enough = [&](slong k) {
                double jj = j0 + static_cast<double>(dir * k);
                if (jj < 0)
                    return true;
                double lt = falling ? est[0].log_weight_tail_below(jj) : est[0].log_weight_tail_above(jj);
                return lt <= lw_goal;
            };
            slong first = first_true_from(1, 4 * kMaxSeriesTerms, enough);
            Integer more = first < 0 ? 4 * kMaxSeriesTerms : static_cast<Integer>(first);
            if (needed != nullptr)
                *needed = count + more;
            return Status::NoConvergence;
        }
        return Status::Ok;
    }
    return Status::TooCostly;
}

} // namespace talvo::mp
