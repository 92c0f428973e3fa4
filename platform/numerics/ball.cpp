// ball.cpp -- balls for callers outside the numerics library
// (talvo_mp_ball.h): Arb's ball arithmetic behind opaque handles.
#include "talvo_mp_ball.h"

#include <arb.h>
#include <arf.h>

#include <deque>

namespace talvo::mp {

namespace {

using Slots = std::deque<arb_struct>;

inline arb_ptr B(BallRef r) { return static_cast<arb_ptr>(r.ball); }

} // namespace

BallArena::BallArena() : impl_(new Slots) {}

BallArena::~BallArena()
{
    auto *slots = static_cast<Slots *>(impl_);
    for (arb_struct &s : *slots)
        arb_clear(&s);
    delete slots;
}

void BallArena::grow()
{
    auto *slots = static_cast<Slots *>(impl_);
    slots->emplace_back();
    arb_init(&slots->back());
    count_ = slots->size();
}

void *BallArena::slot(std::size_t i) { return &(*static_cast<Slots *>(impl_))[i]; }

void ball_apply(BallOp op, BallRef r, BallRef a, BallRef b, long prec)
{
    switch (op) {
    case BallOp::Add: arb_add(B(r), B(a), B(b), prec); break;
    case BallOp::Sub: arb_sub(B(r), B(a), B(b), prec); break;
    case BallOp::Mul: arb_mul(B(r), B(a), B(b), prec); break;
    case BallOp::Div: arb_div(B(r), B(a), B(b), prec); break;
    case BallOp::Neg: arb_neg(B(r), B(a)); break;
    case BallOp::Exp: arb_exp(B(r), B(a), prec); break;
    case BallOp::Log: arb_log(B(r), B(a), prec); break;
    case BallOp::Sqrt: arb_sqrt(B(r), B(a), prec); break;
    case BallOp::Pow: arb_pow(B(r), B(a), B(b), prec); break;
    case BallOp::Expm1: arb_expm1(B(r), B(a), prec); break;
    case BallOp::Log1p: arb_log1p(B(r), B(a), prec); break;
    case BallOp::Tan: arb_tan(B(r), B(a), prec); break;
    case BallOp::Atan: arb_atan(B(r), B(a), prec); break;
    case BallOp::Cos: arb_cos(B(r), B(a), prec); break;
    }
}

void ball_set_mpfr(BallRef r, mpfr_srcptr x)
{
    arf_set_mpfr(arb_midref(B(r)), x);
    mag_zero(arb_radref(B(r)));
}

void ball_set_d(BallRef r, double x) { arb_set_d(B(r), x); }

void ball_set_si(BallRef r, long x) { arb_set_si(B(r), x); }

void ball_const_pi(BallRef r, long prec) { arb_const_pi(B(r), prec); }

int ball_cmp_mid(BallRef a, BallRef b) { return arf_cmp(arb_midref(B(a)), arb_midref(B(b))); }

bool ball_round(mpfr_ptr out, BallRef x)
{
    arb_srcptr v = B(x);
    if (!arb_is_finite(v) || arf_is_zero(arb_midref(v)) || arb_contains_zero(v))
        return false;
    // Within a quarter of MPFR's exponent range: no overflow, underflow or
    // subnormal question for the rounding.
    const slong limit = mpfr_get_emax() / 4 < -(mpfr_get_emin() / 4) ? mpfr_get_emax() / 4 : -(mpfr_get_emin() / 4);
    if (arf_cmpabs_2exp_si(arb_midref(v), limit) > 0 || arf_cmpabs_2exp_si(arb_midref(v), -limit) < 0)
        return false;
    if (!arb_can_round_mpfr(v, mpfr_get_prec(out), MPFR_RNDN))
        return false;
    arf_get_mpfr(out, arb_midref(v), MPFR_RNDN);
    return true;
}

} // namespace talvo::mp
