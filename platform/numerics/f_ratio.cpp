// f_ratio.cpp -- the F (variance-ratio) distribution with df1, df2 > 0:
// g01edc (lower or upper tail) and g01fdc (lower-tail deviate).
//
// With x = df1 f / (df1 f + df2) and y = df2 / (df1 f + df2), formed
// separately so neither loses digits,
//   P(F <= f) = I_x(df1/2, df2/2),   P(F >= f) = I_y(df2/2, df1/2).
// The deviate is the beta deviate (x, y) of the same parameters, mapped back
// as f = (df2 x) / (df1 y).
#include "core/support.hpp"
#include "internal.hpp"
#include "special/beta_inc.hpp"
#include "special/series.hpp"

#include <algorithm>
#include <cmath>

using namespace talvo::mp;

TalvoFloat TalvoMP_g01edc(Nag_TailProbability tail, TalvoFloat f, TalvoFloat df1, TalvoFloat df2, NagError *fail)
{
    Call call("TalvoMP_g01edc", fail);
    if (!call.tail_lower_upper(tail) || !call.at_least("f", f, 0) || !call.finite("df1", df1) ||
        !call.greater("df1", df1, 0) || !call.finite("df2", df2) || !call.greater("df2", df2, 0) ||
        !call.not_tiny("df1", df1) || !call.not_tiny("df2", df2))
        return Call::undefined();
    Target target = target_full();
    bool lower = tail == Nag_LowerTail;
    if (float_is_zero(f) || float_is_inf(f)) {
        bool at_zero = float_is_zero(f);
        return float_from_si((lower == at_zero) ? 0 : 1, target.out_prec);
    }
    Fmpq a, b;
    fmpq_set_float(a, df1);
    fmpq_div_2exp(a, a, 1);
    fmpq_set_float(b, df2);
    fmpq_div_2exp(b, b, 1);
    Arb af, d1, d2, x, y, s, r;
    arb_set_float(af, f);
    arb_set_float(d1, df1);
    arb_set_float(d2, df2);
    double mag = fmpq_to_double(a) + fmpq_to_double(b) + 1.0;
    slong guard = 12 + static_cast<slong>(std::log2(std::min(mag, 1e300)));
    BetaPoint point = [&](arb_ptr px, arb_ptr py, slong prec) {
        arb_mul(s, d1, af, prec); // df1 f
        arb_add(x, s, d2, prec);  // df1 f + df2
        arb_div(py, d2, x, prec);
        arb_div(px, s, x, prec);
    };
    Status st = ziv({r}, target, guard, [&](slong wp) {
        return lower ? beta_inc(r, nullptr, a, b, point, target.goal, wp)
                     : beta_inc(nullptr, r, a, b, point, target.goal, wp);
    });
    return call.result(r, target, st);
}

TalvoFloat TalvoMP_g01fdc(TalvoFloat p, TalvoFloat df1, TalvoFloat df2, NagError *fail)
{
    Call call("TalvoMP_g01fdc", fail);
    if (!call.at_least("p", p, 0) || !call.less("p", p, 1) || !call.finite("df1", df1) ||
        !call.greater("df1", df1, 0) || !call.finite("df2", df2) || !call.greater("df2", df2, 0) ||
        !call.not_tiny("df1", df1) || !call.not_tiny("df2", df2))
        return Call::undefined();
    Target target = target_full();
    if (float_is_zero(p))
        return float_from_si(0, target.out_prec);
    Fmpq a, b;
    fmpq_set_float(a, df1);
    fmpq_div_2exp(a, a, 1);
    fmpq_set_float(b, df2);
    fmpq_div_2exp(b, b, 1);
    Arb ap, x, y, d1, d2, r;
    arb_set_float(ap, p);
    Status s = beta_deviate(x, y, a, b, ap, Target{target.out_prec, target.goal + 4});
    if (s == Status::Ok) {
        slong wp = target.goal + 64;
        arb_set_float(d1, df1);
        arb_set_float(d2, df2);
        arb_mul(r, d2, x, wp);
        arb_mul(y, y, d1, wp);
        arb_div(r, r, y, wp);
    }
    return call.result(r, target, s);
}
