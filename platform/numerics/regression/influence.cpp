// influence.cpp -- TalvoMP_g02fac: standardised residuals and influence
// statistics of a fit.
//
// Defined formulas, each correctly rounded: the four values of every row are
// evaluated in ball arithmetic and the working precision is raised until all
// of them are accurate (core/support.hpp's precision rule).  Whether a
// residual is too large for the deletion statistics (t_i^2 >= n - ip) is
// decided exactly, in rational arithmetic, before anything is computed.
#include "../core/support.hpp"
#include "../talvo_mp_regression.h"

#include <string>
#include <vector>

using namespace talvo::mp;

void TalvoMP_g02fac(Integer n, Integer ip, Integer nres, const TalvoFloat res[], const TalvoFloat h[], TalvoFloat rms,
                    TalvoFloat sres[], NagError *fail)
{
    Call call("TalvoMP_g02fac", fail);
    if (!call.int_at_least("ip", ip, 1) || !call.int_at_least("nres", nres, 1) ||
        !call.int_at_least("n", n, ip + 2, "ip + 2") || !call.int_at_most("nres", nres, n, "n") ||
        !call.greater("rms", rms, 0) || !call.finite("rms", rms))
        return;
    for (Integer i = 0; i < nres; ++i) {
        if (float_is_nan(res[i]) || float_is_inf(res[i])) {
            call.fail(NE_ARRAY_ELEMENT, "res[" + std::to_string(i) + "] = " + float_text(res[i]) +
                                            " must be a finite number.");
            return;
        }
        if (float_is_nan(h[i]) || float_cmp_si(h[i], 0) <= 0 || float_cmp_si(h[i], 1) >= 0) {
            call.fail(NE_ARRAY_ELEMENT,
                      "h[" + std::to_string(i) + "] = " + float_text(h[i]) + " must lie strictly between 0 and 1.");
            return;
        }
    }
    // t_i^2 = r_i^2 / (rms (1 - h_i)) < n - ip, decided exactly.
    {
        Fmpq r, hh, s, lhs, rhs;
        fmpq_set_float(s, rms);
        for (Integer i = 0; i < nres; ++i) {
            fmpq_set_float(r, res[i]);
            fmpq_set_float(hh, h[i]);
            fmpq_mul(lhs, r, r);
            fmpq_one(rhs);
            fmpq_sub(rhs, rhs, hh);
            fmpq_mul(rhs, rhs, s);
            fmpq_mul_si(rhs, rhs, n - ip);
            if (fmpq_cmp(lhs, rhs) >= 0) {
                call.fail(NE_STUDENTIZED_LARGE,
                          "the standardised residual of observation " + std::to_string(i) + " (res[" +
                              std::to_string(i) + "] = " + float_text(res[i]) +
                              ") has a square of at least n - ip = " + std::to_string(n - ip) +
                              ": without that observation no residual variance is left.");
                return;
            }
        }
    }

    const Target target = target_full();
    std::vector<Arb> out(size_t(4 * nres));
    slong wp = target.goal + 32;
    Arb s, r, hh, omh, t, e, u, v;
    for (;;) {
        arb_set_float(s, rms);
        arb_sqrt(s, s, wp);
        for (Integer i = 0; i < nres; ++i) {
            arb_set_float(r, res[i]);
            arb_set_float(hh, h[i]);
            arb_sub_ui(omh, hh, 1, wp);
            arb_neg(omh, omh); // 1 - h
            // t = r / (s sqrt(1 - h))
            arb_sqrt(u, omh, wp);
            arb_mul(u, u, s, wp);
            arb_div(t, r, u, wp);
            // e = t sqrt((n - ip - 1) / (n - ip - t^2))
            arb_sqr(u, t, wp);
            arb_neg(v, u);
            arb_add_si(v, v, n - ip, wp);
            arb_set_si(e, n - ip - 1);
            arb_div(e, e, v, wp);
            arb_sqrt(e, e, wp);
            arb_mul(e, e, t, wp);
            arb_set(out[size_t(4 * i)], t);
            arb_set(out[size_t(4 * i + 1)], e);
            // D = t^2 h / (ip (1 - h))
            arb_mul(v, u, hh, wp);
            arb_div(v, v, omh, wp);
            arb_div_si(v, v, ip, wp);
            arb_set(out[size_t(4 * i + 2)], v);
            // T = |e| sqrt((n - ip) h / (ip (1 - h)))
            arb_div(v, hh, omh, wp);
            arb_mul_si(v, v, n - ip, wp);
            arb_div_si(v, v, ip, wp);
            arb_sqrt(v, v, wp);
            arb_abs(u, e);
            arb_mul(v, v, u, wp);
            arb_set(out[size_t(4 * i + 3)], v);
        }
        slong have = ARF_PREC_EXACT;
        for (const Arb &x : out)
            if (!accurate_to(x, target.goal) && !below_float_range(x))
                have = std::min(have, arb_rel_accuracy_bits(x));
        if (have >= target.goal)
            break;
        wp = next_precision(wp, have, target.goal);
        if (wp == 0) {
            call.fail_status(Status::Inaccurate);
            return;
        }
    }
    for (size_t k = 0; k < out.size(); ++k)
        sres[k] = float_from_arb(out[k], target.out_prec);
}
