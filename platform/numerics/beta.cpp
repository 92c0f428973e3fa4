// beta.cpp -- the beta distribution: g01eec (lower tail, upper tail and
// density) and g01fec (deviate).
//
// P(B <= x) = I_x(a, b) and P(B >= x) = I_y(b, a), y = 1 - x, from
// special/beta_inc.cpp, the smaller one summed directly; with whole-number
// shapes whose sums are short, the finite binomial sums of beta_whole.  Only
// the outputs asked for are computed.  The deviate is
// solved in the smaller of x and y (a root near 1 is found as y = 1 - x with
// the parameters swapped), so x = 1 - 1e-40 comes out with all its digits.
#include "core/support.hpp"
#include "internal.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"
#include "special/beta_inc.hpp"
#include "special/series.hpp"

#include <algorithm>
#include <cmath>

namespace talvo::mp {

namespace {

// Whole-number shapes take the finite binomial sums when these need at most
// kWholeSteps Horner steps (one multiplication and one addition each): the
// lower tail and the density b - 1 steps, the upper tail a - 1.  Up to about
// this many steps the sums cost less than the general series (measured at
// 15 and 50 digits for a, b up to 300); beyond it the two are comparable.
constexpr ulong kWholeSteps = 128;
// Shapes above this are never taken as whole numbers, so that a, b and the
// step count are machine integers.
constexpr ulong kWholeShape = 1ul << 20;

// v as a whole number in [1, kWholeShape], or 0 when it is not one.
ulong small_whole(const TalvoFloat &v)
{
    mpfr_srcptr m = v.mpfr();
    if (!mpfr_number_p(m) || mpfr_cmp_ui(m, kWholeShape) > 0 || !mpfr_integer_p(m))
        return 0;
    return static_cast<ulong>(mpfr_get_d(m, MPFR_RNDN)); // exact: a small whole number
}

// The same for an exact rational shape.
ulong small_whole(const fmpq *v)
{
    if (!fmpz_is_one(fmpq_denref(v)) || fmpz_sgn(fmpq_numref(v)) <= 0 || fmpz_cmp_ui(fmpq_numref(v), kWholeShape) > 0)
        return 0;
    return fmpz_get_ui(fmpq_numref(v));
}

} // namespace

Status beta_deviate(arb_ptr x, arb_ptr y, const fmpq *a, const fmpq *b, arb_srcptr p, const Target &target)
{
    double ad = fmpq_to_double(a), bd = fmpq_to_double(b);
    bool p_upper = arf_cmp_2exp_si(arb_midref(p), -1) > 0;
    Arb q; // 1 - p, exact when p > 1/2
    if (p_upper)
        exact_complement(q, p);
    else {
        arb_sub_ui(q, p, 1, target.goal + 64);
        arb_neg(q, q);
    }
    // Which side the root lies on, from the start value.
    double pd = arf_get_d(arb_midref(p), ARF_RND_NEAR);
    double qd = arf_get_d(arb_midref(q), ARF_RND_NEAR);
    Arb lp;
    arb_log(lp, p_upper ? q : p, 64);
    double lpd = arf_get_d(arb_midref(lp), ARF_RND_NEAR);
    const BetaStart guess = p_upper ? start_beta(ad, bd, qd, lpd, true) : start_beta(ad, bd, pd, lpd, false);
    bool solve_y = std::isfinite(guess.u) && guess.y_side;
    double start = std::isfinite(guess.u) ? guess.u : NAN;
    // No double start (the root underflowed, or no guess at all): with a
    // shape below 1 the root may lie far out in x (a small) or in y (b
    // small), below the range of doubles too, near u^al = pi al B(al, be) in
    // the variable u with that shape; its logarithm starts the search there
    // instead of at 1/2, from where Newton steps on ln u move at most a
    // factor e at a time through the region u be >> 1 (the tail falls like
    // e^(-be u) there), each evaluation dearer than the last when the other
    // shape is large.
    double log_start = NAN;
    if (!(start > 0)) {
        auto log_start_in = [&](bool y_side) {
            // ln pi: the lower tail of u at the root, p for x and 1 - p for y.
            const double ln_pi = y_side ? (p_upper ? lpd : std::log1p(-pd)) : (p_upper ? std::log1p(-qd) : lpd);
            return y_side ? log_start_beta_small_shape(bd, ad, ln_pi) : log_start_beta_small_shape(ad, bd, ln_pi);
        };
        // The limit form holds for a small root: below 1/4 (ln 1/4).
        constexpr double kSmallRoot = -1.3862943611198906;
        constexpr double kBeyondFloatRange = -1e12;
        double here = log_start_in(solve_y);
        if (!solve_y && ad == 0) {
            // A shape a below the doubles (its rational underflowed to 0):
            // the root in x, near pi^(1/a), lies below pi^(2^1074).
            here = std::ldexp(p_upper ? std::log1p(-qd) : lpd, 1074);
            if (!(here < kBeyondFloatRange))
                here = NAN;
        }
        if (!(here < kSmallRoot)) {
            const double there = log_start_in(!solve_y);
            if (there < kSmallRoot) {
                solve_y = !solve_y;
                here = there;
            }
        }
        // A root in x whose logarithm lies far beyond that of the smallest
        // float (ln 2^emin, about -7.4e8; a shape near 1e-308 or below puts
        // it near -1e308 or further) has no float to stand for it: say so
        // at once rather than search for it from 1/2, where each evaluation
        // at such a shape is very dear.
        if (!solve_y && here < kBeyondFloatRange)
            return Status::Unresolved;
        if (here < kSmallRoot)
            log_start = here;
        start = NAN;
    }

    // In the variable u (x or y) the problem is I_u(al, be) = pi, or its
    // complement when pi > 1/2.
    Fmpq al, be;
    fmpq_set(al, solve_y ? b : a);
    fmpq_set(be, solve_y ? a : b);
    // pi = p (solving x) or 1 - p (solving y); the upper problem uses 1 - pi.
    bool upper = solve_y ? !p_upper : p_upper;
    Arb target_prob;
    arb_set(target_prob, p_upper ? q : p); // the small one of p, 1 - p: exact
    Inversion f;
    f.upper = upper;
    f.lo = 0;
    f.hi = 1;
    // Whole-number shapes with a short sum for the tail solved: the finite
    // binomial sums (lower tail b - 1 steps, upper tail a - 1, in u's shapes).
    ulong aw = small_whole(al), bw = small_whole(be);
    bool whole = aw != 0 && bw != 0 && (upper ? aw - 1 : bw - 1) <= kWholeSteps;
    f.cdf = [&](arb_ptr v, arb_srcptr u, slong wp) {
        if (whole) {
            Arb w;
            arb_sub_ui(w, u, 1, std::max<slong>(wp + FLINT_BIT_COUNT(aw + bw) + 4, arb_bits(u) + 2));
            arb_neg(w, w);
            beta_whole(upper ? nullptr : v, upper ? v : nullptr, nullptr, aw, bw, u, w, wp);
            return Status::Ok;
        }
        BetaPoint pt = beta_point_exact(u);
        return upper ? beta_inc(nullptr, v, al, be, pt, wp - 16, wp) : beta_inc(v, nullptr, al, be, pt, wp - 16, wp);
    };
    f.density = [&](arb_ptr d, arb_srcptr u, slong wp) {
        Arb w;
        arb_sub_ui(w, u, 1, wp);
        arb_neg(w, w);
        if (aw != 0 && bw != 0 && bw - 1 <= kWholeSteps)
            beta_whole(nullptr, nullptr, d, aw, bw, u, w, wp); // a C(a+b-1, a) u^(a-1) w^(b-1)
        else
            beta_density(d, al, be, u, w, wp);
    };
    f.log_start = log_start;
    Arb u;
    Status s = invert(u, f, target_prob, start, target);
    if (s != Status::Ok)
        return s;
    Arb w;
    arb_sub_ui(w, u, 1, target.goal + 64);
    arb_neg(w, w);
    if (solve_y) {
        arb_set(y, u);
        arb_set(x, w);
    } else {
        arb_set(x, u);
        arb_set(y, w);
    }
    return Status::Ok;
}

} // namespace talvo::mp

using namespace talvo::mp;

void TalvoMP_g01eec(TalvoFloat x, TalvoFloat a, TalvoFloat b, TalvoFloat tol, TalvoFloat *p, TalvoFloat *q,
                    TalvoFloat *pdf, NagError *fail)
{
    (void)tol; // kept for the argument list; the result always has full precision
    Call call("TalvoMP_g01eec", fail);
    auto set_all = [&](const TalvoFloat &pv, const TalvoFloat &qv, const TalvoFloat &dv) {
        if (p != nullptr)
            *p = pv;
        if (q != nullptr)
            *q = qv;
        if (pdf != nullptr)
            *pdf = dv;
    };
    if (!call.at_least("x", x, 0) || !call.at_most("x", x, 1) || !call.finite("a", a) || !call.greater("a", a, 0) ||
        !call.finite("b", b) || !call.greater("b", b, 0) ||
        !call.not_tiny("a", a) || !call.not_tiny("b", b)) {
        TalvoFloat u = Call::undefined();
        set_all(u, u, u);
        return;
    }
    Target target = target_full();
    if (float_is_zero(x) || float_cmp_si(x, 1) == 0) {
        // At an end the tails are 0 and 1; the density is 0, the other
        // parameter (a = 1 at 0: b; b = 1 at 1: a), or infinite.
        bool at_zero = float_is_zero(x);
        const TalvoFloat &edge = at_zero ? a : b;
        const TalvoFloat &other = at_zero ? b : a;
        int c = float_cmp_si(edge, 1);
        ALGEB h = talvo_float_new(target.out_prec);
        if (c > 0)
            mpfr_set_zero(talvo_float_mpfr(h), 1);
        else if (c < 0)
            mpfr_set_inf(talvo_float_mpfr(h), 1);
        else
            mpfr_set(talvo_float_mpfr(h), other.mpfr(), MPFR_RNDN);
        TalvoFloat zero = float_from_si(0, target.out_prec), one = float_from_si(1, target.out_prec);
        set_all(at_zero ? zero : one, at_zero ? one : zero, TalvoFloat::from_handle(h));
        return;
    }
    Arb ax, ay, P, Q, D;
    arb_set_float(ax, x);
    // Only the outputs asked for are computed (and held to the goal); an
    // output not asked for stands in the precision loop as a repeat of one
    // that is.
    arb_ptr want_p = p != nullptr ? static_cast<arb_ptr>(P) : nullptr;
    arb_ptr want_q = q != nullptr ? static_cast<arb_ptr>(Q) : nullptr;
    arb_ptr want_d = pdf != nullptr ? static_cast<arb_ptr>(D) : nullptr;
    arb_ptr any = want_p != nullptr ? want_p : want_q != nullptr ? want_q : want_d;
    if (any == nullptr)
        return;
    std::initializer_list<arb_ptr> outputs = {want_p != nullptr ? want_p : any, want_q != nullptr ? want_q : any,
                                              want_d != nullptr ? want_d : any};
    Status s;
    ulong ai = small_whole(a), bi = small_whole(b);
    ulong steps = ((want_p != nullptr || want_d != nullptr) ? bi - 1 : 0) + (want_q != nullptr ? ai - 1 : 0);
    if (ai != 0 && bi != 0 && steps <= kWholeSteps) {
        // Whole-number shapes: the finite binomial sums, positive terms only.
        s = ziv(outputs, target, 4, [&](slong wp) {
            // y = 1 - x: exact when x >= 1/2 (it fits in x's bits), otherwise
            // rounded with the guard bits of the sums, as y^(b-1) multiplies
            // its relative radius by b - 1.
            slong yp = wp + FLINT_BIT_COUNT(ai + bi) + 4;
            arb_sub_ui(ay, ax, 1, std::max<slong>(yp, arb_bits(ax) + 2));
            arb_neg(ay, ay);
            beta_whole(want_p, want_q, want_d, ai, bi, ax, ay, wp);
            return Status::Ok;
        });
    } else {
        Fmpq aq, bq;
        fmpq_set_float(aq, a);
        fmpq_set_float(bq, b);
        BetaPoint pt = beta_point_exact(ax);
        s = ziv(outputs, target, 12, [&](slong wp) {
            if (want_p != nullptr || want_q != nullptr) {
                Status st = beta_inc(want_p, want_q, aq, bq, pt, target.goal, wp);
                if (st != Status::Ok)
                    return st;
            }
            if (want_d != nullptr) {
                arb_sub_ui(ay, ax, 1, std::max<slong>(wp, arb_bits(ax) + 2));
                arb_neg(ay, ay);
                beta_density(D, aq, bq, ax, ay, wp);
            }
            return Status::Ok;
        });
    }
    if (s != Status::Ok) {
        call.fail_status(s);
        TalvoFloat u = Call::undefined();
        set_all(u, u, u);
        return;
    }
    if (p != nullptr)
        *p = float_from_arb(P, target.out_prec);
    if (q != nullptr)
        *q = float_from_arb(Q, target.out_prec);
    if (pdf != nullptr)
        *pdf = float_from_arb(D, target.out_prec);
}

TalvoFloat TalvoMP_g01fec(TalvoFloat p, TalvoFloat a, TalvoFloat b, TalvoFloat tol, NagError *fail)
{
    Call call("TalvoMP_g01fec", fail);
    if (!call.at_least("p", p, 0) || !call.at_most("p", p, 1) || !call.finite("a", a) || !call.greater("a", a, 0) ||
        !call.finite("b", b) || !call.greater("b", b, 0) || !call.defined("tol", tol) ||
        !call.not_tiny("a", a) || !call.not_tiny("b", b))
        return Call::undefined();
    Target target = target_for_tol(tol);
    if (float_is_zero(p) || float_cmp_si(p, 1) == 0)
        return float_from_si(float_is_zero(p) ? 0 : 1, target.out_prec);
    Fmpq aq, bq;
    fmpq_set_float(aq, a);
    fmpq_set_float(bq, b);
    Arb ap, x, y;
    arb_set_float(ap, p);
    Status s = beta_deviate(x, y, aq, bq, ap, Target{target.out_prec, target.goal + 2});
    return call.result(x, target, s);
}
