// numeric.cpp -- integers, rationals, floats and complex numbers of the host.
//
// Immediate integers take a fast path with overflow checks; everything larger
// goes through GMP.  A big integer object stores GMP limbs inline, so it is read
// without copying through mpz_roinit_n.  Results are always canonical: an
// integer that fits a word is immediate, a rational has a positive denominator
// greater than one and is in lowest terms, a complex number has an imaginary
// part that is not the exact integer 0.
#include "numeric.hpp"

#include "errors.hpp"
#include "talvo_float.hpp"

#include <climits>
#include <cmath>
#include <cstring>

namespace talvo {
namespace num {

namespace {

// Results whose size would exceed this many bits are refused (a script asking
// for 10^(10^12) gets an error rather than exhausting memory).
constexpr double kMaxResultBits = 1 << 30;

// An integer as a read-only mpz: a view of a big integer's limbs, or a small
// mpz holding an immediate.
class ZView {
public:
    explicit ZView(ALGEB a)
    {
        if (is_immediate(a)) {
            mpz_init_set_si(own_, immediate_value(a));
            z_ = own_;
            owned_ = true;
        } else {
            BigIntObject *b = as_bigint(a);
            z_ = mpz_roinit_n(view_, reinterpret_cast<const mp_limb_t *>(b->limbs), b->size);
        }
    }
    ~ZView()
    {
        if (owned_)
            mpz_clear(own_);
    }
    ZView(const ZView &) = delete;
    ZView &operator=(const ZView &) = delete;
    mpz_srcptr get() const { return z_; }

private:
    mpz_t own_;
    mpz_t view_;
    mpz_srcptr z_;
    bool owned_ = false;
};

struct Z {
    mpz_t v;
    Z() { mpz_init(v); }
    ~Z() { mpz_clear(v); }
    Z(const Z &) = delete;
    Z &operator=(const Z &) = delete;
};

struct Q {
    mpq_t v;
    Q() { mpq_init(v); }
    ~Q() { mpq_clear(v); }
    Q(const Q &) = delete;
    Q &operator=(const Q &) = delete;
};

[[noreturn]] void division_by_zero() { raise_plain("numeric exception: division by zero"); }

void require_numeric(ALGEB a, const char *what)
{
    if (!is_any_numeric(a))
        raise(std::string("invalid argument to ") + what + ": %1 is not a number", a);
}

void require_real(ALGEB a, const char *what)
{
    if (!is_real_numeric(a))
        raise(std::string("invalid argument to ") + what + ": %1 is not a real number", a);
}

ALGEB float_result(mpfr_prec_t prec) { return talvo_float_new(prec); }

mpfr_prec_t working_precision() { return talvo_float_precision(); }

enum class Op { Add, Sub, Mul, Div };

ALGEB float_arith(Op o, ALGEB a, ALGEB b)
{
    mpfr_prec_t prec = working_precision();
    ALGEB r = float_result(prec);
    mpfr_ptr out = talvo_float_mpfr(r);
    if (is_float(a) && is_float(b)) {
        mpfr_srcptr x = talvo_float_value(a), y = talvo_float_value(b);
        switch (o) {
        case Op::Add: mpfr_add(out, x, y, MPFR_RNDN); break;
        case Op::Sub: mpfr_sub(out, x, y, MPFR_RNDN); break;
        case Op::Mul: mpfr_mul(out, x, y, MPFR_RNDN); break;
        case Op::Div: mpfr_div(out, x, y, MPFR_RNDN); break;
        }
        return r;
    }
    // One side exact: operate with the exact value itself, so the only
    // rounding is the final one.
    bool float_left = is_float(a);
    mpfr_srcptr x = talvo_float_value(float_left ? a : b);
    ALGEB e = float_left ? b : a;
    Q q;
    to_mpq(e, q.v);
    switch (o) {
    case Op::Add: mpfr_add_q(out, x, q.v, MPFR_RNDN); break;
    case Op::Mul: mpfr_mul_q(out, x, q.v, MPFR_RNDN); break;
    case Op::Sub:
        mpfr_sub_q(out, x, q.v, MPFR_RNDN);
        if (!float_left)
            mpfr_neg(out, out, MPFR_RNDN);
        break;
    case Op::Div:
        if (float_left) {
            if (mpq_sgn(q.v) == 0)
                division_by_zero();
            mpfr_div_q(out, x, q.v, MPFR_RNDN);
        } else {
            MpfrTemp t(prec + 64);
            mpfr_set_q(t.v, q.v, MPFR_RNDN);
            mpfr_div(out, t.v, x, MPFR_RNDN);
        }
        break;
    }
    return r;
}

// Two immediates and no overflow: the result without GMP (the common case,
// taken before any other dispatch).
inline bool small_arith(Op o, ALGEB a, ALGEB b, ALGEB *out)
{
    if (!is_immediate(a) || !is_immediate(b))
        return false;
    intptr_t x = immediate_value(a), y = immediate_value(b), r;
    bool overflow;
    switch (o) {
    case Op::Add: overflow = __builtin_add_overflow(x, y, &r); break;
    case Op::Sub: overflow = __builtin_sub_overflow(x, y, &r); break;
    case Op::Mul: overflow = __builtin_mul_overflow(x, y, &r); break;
    default: return false;
    }
    if (overflow)
        return false;
    *out = make_integer(r);
    return true;
}

ALGEB exact_arith(Op o, ALGEB a, ALGEB b)
{
    if (is_integer(a) && is_integer(b)) {
        ZView x(a), y(b);
        Z r;
        switch (o) {
        case Op::Add: mpz_add(r.v, x.get(), y.get()); break;
        case Op::Sub: mpz_sub(r.v, x.get(), y.get()); break;
        case Op::Mul: mpz_mul(r.v, x.get(), y.get()); break;
        case Op::Div: {
            if (mpz_sgn(y.get()) == 0)
                division_by_zero();
            Q q;
            mpz_set(mpq_numref(q.v), x.get());
            mpz_set(mpq_denref(q.v), y.get());
            mpq_canonicalize(q.v);
            return from_mpq(q.v);
        }
        }
        return from_mpz(r.v);
    }
    Q x, y, r;
    to_mpq(a, x.v);
    to_mpq(b, y.v);
    switch (o) {
    case Op::Add: mpq_add(r.v, x.v, y.v); break;
    case Op::Sub: mpq_sub(r.v, x.v, y.v); break;
    case Op::Mul: mpq_mul(r.v, x.v, y.v); break;
    case Op::Div:
        if (mpq_sgn(y.v) == 0)
            division_by_zero();
        mpq_div(r.v, x.v, y.v);
        break;
    }
    return from_mpq(r.v);
}

ALGEB real_arith(Op o, ALGEB a, ALGEB b)
{
    if (is_float(a) || is_float(b))
        return float_arith(o, a, b);
    return exact_arith(o, a, b);
}

ALGEB complex_arith(Op o, ALGEB a, ALGEB b)
{
    ALGEB ar = real_part(a), ai = imag_part(a), br = real_part(b), bi = imag_part(b);
    switch (o) {
    case Op::Add: return make_complex(add(ar, br), add(ai, bi));
    case Op::Sub: return make_complex(sub(ar, br), sub(ai, bi));
    case Op::Mul:
        return make_complex(sub(mul(ar, br), mul(ai, bi)), add(mul(ar, bi), mul(ai, br)));
    case Op::Div: {
        ALGEB d = add(mul(br, br), mul(bi, bi));
        if (is_zero(d) && !is_float(d))
            division_by_zero();
        ALGEB re = add(mul(ar, br), mul(ai, bi));
        ALGEB im = sub(mul(ai, br), mul(ar, bi));
        return make_complex(div(re, d), div(im, d));
    }
    }
    return nullptr;
}

ALGEB arith(Op o, ALGEB a, ALGEB b, const char *what)
{
    ALGEB r;
    if (small_arith(o, a, b, &r))
        return r;
    require_numeric(a, what);
    require_numeric(b, what);
    if (is_complex(a) || is_complex(b))
        return complex_arith(o, a, b);
    return real_arith(o, a, b);
}

// Exact n-th root of a non-negative integer, or false.
bool exact_root(mpz_ptr out, mpz_srcptr x, unsigned long n) { return mpz_root(out, x, n) != 0; }

// a^b for an exact a and an integer b.
ALGEB exact_integer_power(ALGEB a, ALGEB b)
{
    int64_t e;
    if (!integer_to_int64(b, &e)) {
        // Only 0, 1 and -1 survive astronomically large exponents.
        if (is_exact_zero(a)) {
            if (sign(b) < 0)
                division_by_zero();
            return make_integer(0);
        }
        if (equal(a, make_integer(1)))
            return a;
        if (equal(a, make_integer(-1))) {
            ZView z(b);
            return make_integer(mpz_odd_p(z.get()) ? -1 : 1);
        }
        raise_plain("numeric exception: result too large");
    }
    Q q;
    to_mpq(a, q.v);
    if (mpq_sgn(q.v) == 0) {
        if (e < 0)
            division_by_zero();
        return make_integer(e == 0 ? 1 : 0);
    }
    double bits = double(std::max(mpz_sizeinbase(mpq_numref(q.v), 2), mpz_sizeinbase(mpq_denref(q.v), 2)));
    uint64_t mag = e < 0 ? uint64_t(-(e + 1)) + 1 : uint64_t(e);
    bool unit = mpz_cmpabs_ui(mpq_numref(q.v), 1) == 0 && mpz_cmp_ui(mpq_denref(q.v), 1) == 0;
    if (!unit && bits * double(mag) > kMaxResultBits)
        raise_plain("numeric exception: result too large");
    if (unit)
        mag &= 1; // (+-1)^n depends only on the parity of n
    Q r;
    mpz_pow_ui(mpq_numref(r.v), mpq_numref(q.v), mag);
    mpz_pow_ui(mpq_denref(r.v), mpq_denref(q.v), mag);
    if (e < 0)
        mpq_inv(r.v, r.v);
    mpq_canonicalize(r.v);
    return from_mpq(r.v);
}

// a^(m/n) for exact positive a when both numerator and denominator of a are
// perfect n-th powers; nullptr otherwise.
ALGEB exact_rational_power(ALGEB a, ALGEB b)
{
    Q qa, qb;
    to_mpq(a, qa.v);
    to_mpq(b, qb.v);
    if (mpq_sgn(qa.v) <= 0 || !mpz_fits_ulong_p(mpq_denref(qb.v)))
        return nullptr;
    unsigned long n = mpz_get_ui(mpq_denref(qb.v));
    if (n > 1u << 20)
        return nullptr;
    Z rn, rd;
    if (!exact_root(rn.v, mpq_numref(qa.v), n) || !exact_root(rd.v, mpq_denref(qa.v), n))
        return nullptr;
    Q root;
    mpz_set(mpq_numref(root.v), rn.v);
    mpz_set(mpq_denref(root.v), rd.v);
    mpq_canonicalize(root.v);
    return exact_integer_power(from_mpq(root.v), from_mpz(mpq_numref(qb.v)));
}

// Float power of reals, giving a complex result for a negative base and a
// non-integer exponent (principal branch).
ALGEB float_real_power(ALGEB a, ALGEB b)
{
    mpfr_prec_t prec = working_precision();
    MpfrTemp x(prec + 32), y(prec + 32);
    to_mpfr(a, x.v);
    to_mpfr(b, y.v);
    if (mpfr_sgn(x.v) >= 0 || mpfr_integer_p(y.v) || mpfr_nan_p(x.v) || mpfr_nan_p(y.v)) {
        ALGEB r = float_result(prec);
        mpfr_pow(talvo_float_mpfr(r), x.v, y.v, MPFR_RNDN);
        return r;
    }
    // (-|x|)^y = |x|^y (cos(pi y) + i sin(pi y))
    MpfrTemp m(prec + 32), t(prec + 32);
    mpfr_abs(x.v, x.v, MPFR_RNDN);
    mpfr_pow(m.v, x.v, y.v, MPFR_RNDN);
    ALGEB re = float_result(prec), im = float_result(prec);
    mpfr_cospi(t.v, y.v, MPFR_RNDN);
    mpfr_mul(talvo_float_mpfr(re), m.v, t.v, MPFR_RNDN);
    mpfr_sinpi(t.v, y.v, MPFR_RNDN);
    mpfr_mul(talvo_float_mpfr(im), m.v, t.v, MPFR_RNDN);
    return make_complex(re, im);
}

// z^n for complex z and integer n by binary powering.
ALGEB complex_integer_power(ALGEB z, ALGEB n)
{
    int64_t e;
    if (!integer_to_int64(n, &e) || e > (int64_t(1) << 40) || e < -(int64_t(1) << 40))
        raise_plain("numeric exception: result too large");
    bool invert = e < 0;
    uint64_t k = invert ? uint64_t(-(e + 1)) + 1 : uint64_t(e);
    ALGEB result = make_integer(1), base = z;
    while (k != 0) {
        if (k & 1)
            result = mul(result, base);
        k >>= 1;
        if (k != 0)
            base = mul(base, base);
    }
    return invert ? div(make_integer(1), result) : result;
}

// Complex float power exp(b log a).
ALGEB complex_float_power(ALGEB a, ALGEB b)
{
    mpfr_prec_t prec = working_precision() + 32;
    MpfrTemp ar(prec), ai(prec), br(prec), bi(prec), lr(prec), li(prec);
    to_mpfr(real_part(a), ar.v);
    to_mpfr(imag_part(a), ai.v);
    to_mpfr(real_part(b), br.v);
    to_mpfr(imag_part(b), bi.v);
    if (mpfr_zero_p(ar.v) && mpfr_zero_p(ai.v)) {
        if (mpfr_sgn(br.v) > 0)
            return to_float(make_integer(0), 0);
        division_by_zero();
    }
    // log a = ln|a| + i arg a
    mpfr_hypot(lr.v, ar.v, ai.v, MPFR_RNDN);
    mpfr_log(lr.v, lr.v, MPFR_RNDN);
    mpfr_atan2(li.v, ai.v, ar.v, MPFR_RNDN);
    // w = b log a
    MpfrTemp wr(prec), wi(prec), t(prec);
    mpfr_mul(wr.v, br.v, lr.v, MPFR_RNDN);
    mpfr_mul(t.v, bi.v, li.v, MPFR_RNDN);
    mpfr_sub(wr.v, wr.v, t.v, MPFR_RNDN);
    mpfr_mul(wi.v, br.v, li.v, MPFR_RNDN);
    mpfr_mul(t.v, bi.v, lr.v, MPFR_RNDN);
    mpfr_add(wi.v, wi.v, t.v, MPFR_RNDN);
    // exp w
    mpfr_exp(wr.v, wr.v, MPFR_RNDN);
    ALGEB re = float_result(working_precision()), im = float_result(working_precision());
    mpfr_cos(t.v, wi.v, MPFR_RNDN);
    mpfr_mul(talvo_float_mpfr(re), wr.v, t.v, MPFR_RNDN);
    mpfr_sin(t.v, wi.v, MPFR_RNDN);
    mpfr_mul(talvo_float_mpfr(im), wr.v, t.v, MPFR_RNDN);
    return make_complex(re, im);
}

bool has_float(ALGEB a)
{
    if (is_complex(a))
        return is_float(op(a, 1)) || is_float(op(a, 2));
    return is_float(a);
}

ALGEB integer_from_mpfr(mpfr_srcptr x)
{
    if (mpfr_nan_p(x) || mpfr_inf_p(x))
        raise_plain("cannot convert a non-finite float to an integer");
    Z z;
    mpfr_get_z(z.v, x, MPFR_RNDZ);
    return from_mpz(z.v);
}

} // namespace
} // namespace num

// ---------------------------------------------------------------------------
// Integers
// ---------------------------------------------------------------------------

ALGEB make_integer(intptr_t v)
{
    if (v >= kImmediateMin && v <= kImmediateMax)
        return make_immediate(v);
    mpz_t z;
    mpz_init_set_si(z, v);
    ALGEB r = num::from_mpz(z);
    mpz_clear(z);
    return r;
}

ALGEB make_integer64(int64_t v) { return make_integer(static_cast<intptr_t>(v)); }

bool integer_to_int64(ALGEB a, int64_t *out)
{
    if (is_immediate(a)) {
        *out = immediate_value(a);
        return true;
    }
    if (type_of(a) != T_BIGINT)
        return false;
    num::ZView z(a);
    if (!mpz_fits_slong_p(z.get()))
        return false;
    *out = mpz_get_si(z.get());
    return true;
}

namespace num {

ALGEB from_mpz(mpz_srcptr z)
{
    if (mpz_fits_slong_p(z)) {
        long v = mpz_get_si(z);
        if (v >= kImmediateMin && v <= kImmediateMax)
            return make_immediate(v);
    }
    size_t n = mpz_size(z);
    auto *b = static_cast<BigIntObject *>(gc_alloc_atomic(sizeof(BigIntObject) + (n - 1) * sizeof(uint64_t)));
    b->header = make_header(T_BIGINT, n);
    b->size = mpz_sgn(z) < 0 ? -intptr_t(n) : intptr_t(n);
    std::memcpy(b->limbs, mpz_limbs_read(z), n * sizeof(mp_limb_t));
    return reinterpret_cast<ALGEB>(b);
}

ALGEB from_mpq(mpq_srcptr q)
{
    if (mpz_cmp_ui(mpq_denref(q), 1) == 0)
        return from_mpz(mpq_numref(q));
    return new_node(T_RATIONAL, {from_mpz(mpq_numref(q)), from_mpz(mpq_denref(q))});
}

void to_mpz(ALGEB a, mpz_ptr out)
{
    if (!is_integer(a))
        raise("expecting an integer, got %1", a);
    ZView z(a);
    mpz_set(out, z.get());
}

void to_mpq(ALGEB a, mpq_ptr out)
{
    if (is_integer(a)) {
        ZView z(a);
        mpq_set_z(out, z.get());
    } else if (is_rational(a)) {
        ZView n(op(a, 1)), d(op(a, 2));
        mpz_set(mpq_numref(out), n.get());
        mpz_set(mpq_denref(out), d.get());
    } else {
        raise("expecting an exact rational number, got %1", a);
    }
}

void to_mpfr(ALGEB a, mpfr_ptr out)
{
    if (is_float(a)) {
        mpfr_set(out, talvo_float_value(a), MPFR_RNDN);
    } else if (is_immediate(a)) {
        mpfr_set_si(out, immediate_value(a), MPFR_RNDN);
    } else if (is_integer(a)) {
        ZView z(a);
        mpfr_set_z(out, z.get(), MPFR_RNDN);
    } else if (is_rational(a)) {
        Q q;
        to_mpq(a, q.v);
        mpfr_set_q(out, q.v, MPFR_RNDN);
    } else {
        raise("expecting a real number, got %1", a);
    }
}

ALGEB to_float(ALGEB a, mpfr_prec_t prec)
{
    if (prec == 0)
        prec = working_precision();
    if (is_complex(a))
        return to_float_complex(a, prec);
    require_real(a, "evalf");
    if (is_float(a) && mpfr_get_prec(talvo_float_value(a)) == prec)
        return a;
    ALGEB r = float_result(prec);
    to_mpfr(a, talvo_float_mpfr(r));
    return r;
}

ALGEB to_float_complex(ALGEB a, mpfr_prec_t prec)
{
    if (!is_complex(a))
        return to_float(a, prec);
    return new_node(T_COMPLEX, {to_float(op(a, 1), prec), to_float(op(a, 2), prec)});
}

double to_double(ALGEB a)
{
    if (is_immediate(a))
        return double(immediate_value(a));
    if (is_float(a))
        return mpfr_get_d(talvo_float_value(a), MPFR_RNDN);
    MpfrTemp x(53);
    to_mpfr(a, x.v);
    return mpfr_get_d(x.v, MPFR_RNDN);
}

ALGEB make_rational(ALGEB n, ALGEB d) { return exact_arith(Op::Div, n, d); }

ALGEB make_complex(ALGEB re, ALGEB im)
{
    require_real(re, "complex");
    require_real(im, "complex");
    if (is_exact_zero(im))
        return re;
    return new_node(T_COMPLEX, {re, im});
}

ALGEB real_part(ALGEB a) { return is_complex(a) ? op(a, 1) : a; }
ALGEB imag_part(ALGEB a) { return is_complex(a) ? op(a, 2) : make_integer(0); }

// ---------------------------------------------------------------------------
// Arithmetic
// ---------------------------------------------------------------------------

ALGEB add(ALGEB a, ALGEB b) { return arith(Op::Add, a, b, "+"); }
ALGEB sub(ALGEB a, ALGEB b) { return arith(Op::Sub, a, b, "-"); }
ALGEB mul(ALGEB a, ALGEB b) { return arith(Op::Mul, a, b, "*"); }

ALGEB div(ALGEB a, ALGEB b) { return arith(Op::Div, a, b, "/"); }

ALGEB neg(ALGEB a) { return mul(make_integer(-1), a); }

ALGEB power(ALGEB a, ALGEB b)
{
    require_numeric(a, "^");
    require_numeric(b, "^");
    if (is_integer(b)) {
        if (is_exact_rational(a))
            return exact_integer_power(a, b);
        if (is_float(a)) {
            ALGEB r = float_result(working_precision());
            int64_t e;
            if (integer_to_int64(b, &e)) {
                mpfr_pow_si(talvo_float_mpfr(r), talvo_float_value(a), long(e), MPFR_RNDN);
            } else {
                ZView z(b);
                mpfr_pow_z(talvo_float_mpfr(r), talvo_float_value(a), z.get(), MPFR_RNDN);
            }
            return r;
        }
        if (!has_float(a))
            return complex_integer_power(a, b);
        int64_t e;
        if (integer_to_int64(b, &e) && e >= -64 && e <= 64)
            return complex_integer_power(a, b);
        return complex_float_power(a, b);
    }
    if (is_complex(a) || is_complex(b)) {
        if (!has_float(a) && !has_float(b))
            return nullptr;
        return complex_float_power(a, b);
    }
    if (is_float(a) || is_float(b))
        return float_real_power(a, b);
    // exact base, rational exponent
    if (is_exact_zero(a)) {
        if (sign(b) < 0)
            division_by_zero();
        return make_integer(0);
    }
    if (equal(a, make_integer(1)))
        return a;
    return exact_rational_power(a, b);
}

namespace {

// Truncating integer division: the quotient or the remainder.
ALGEB integer_division(ALGEB a, ALGEB b, bool remainder, const char *what)
{
    if (!is_integer(a) || !is_integer(b))
        raise(std::string(what) + " expects integers, got %1 and %2", a, b);
    ZView x(a), y(b);
    if (mpz_sgn(y.get()) == 0)
        division_by_zero();
    Z r;
    (remainder ? mpz_tdiv_r : mpz_tdiv_q)(r.v, x.get(), y.get());
    return from_mpz(r.v);
}

} // namespace

ALGEB iquo(ALGEB a, ALGEB b) { return integer_division(a, b, false, "iquo"); }
ALGEB irem(ALGEB a, ALGEB b) { return integer_division(a, b, true, "irem"); }

// ---------------------------------------------------------------------------
// Comparison
// ---------------------------------------------------------------------------

int compare(ALGEB a, ALGEB b)
{
    if (is_immediate(a) && is_immediate(b)) {
        intptr_t x = immediate_value(a), y = immediate_value(b);
        return x < y ? -1 : x > y ? 1 : 0;
    }
    require_real(a, "a comparison");
    require_real(b, "a comparison");
    if (is_float(a) || is_float(b)) {
        if (is_float(a) && is_float(b)) {
            mpfr_srcptr x = talvo_float_value(a), y = talvo_float_value(b);
            if (mpfr_unordered_p(x, y))
                return kUnordered;
            int c = mpfr_cmp(x, y);
            return c < 0 ? -1 : c > 0 ? 1 : 0;
        }
        bool float_left = is_float(a);
        mpfr_srcptr x = talvo_float_value(float_left ? a : b);
        if (mpfr_nan_p(x))
            return kUnordered;
        Q q;
        to_mpq(float_left ? b : a, q.v);
        int c = mpfr_cmp_q(x, q.v);
        c = c < 0 ? -1 : c > 0 ? 1 : 0;
        return float_left ? c : -c;
    }
    Q x, y;
    to_mpq(a, x.v);
    to_mpq(b, y.v);
    int c = mpq_cmp(x.v, y.v);
    return c < 0 ? -1 : c > 0 ? 1 : 0;
}

int sign(ALGEB a)
{
    if (is_immediate(a)) {
        intptr_t v = immediate_value(a);
        return v < 0 ? -1 : v > 0 ? 1 : 0;
    }
    if (type_of(a) == T_BIGINT)
        return as_bigint(a)->size < 0 ? -1 : 1;
    if (is_rational(a))
        return sign(op(a, 1));
    if (is_float(a)) {
        mpfr_srcptr x = talvo_float_value(a);
        return mpfr_nan_p(x) ? 0 : mpfr_sgn(x) < 0 ? -1 : mpfr_sgn(x) > 0 ? 1 : 0;
    }
    raise("expecting a real number, got %1", a);
}

bool is_zero(ALGEB a)
{
    if (is_float(a))
        return mpfr_zero_p(talvo_float_value(a)) != 0;
    if (is_complex(a))
        return is_zero(op(a, 1)) && is_zero(op(a, 2));
    return is_exact_zero(a);
}

bool is_exact_zero(ALGEB a) { return a == make_immediate(0); }

// ---------------------------------------------------------------------------
// Rounding to integers, absolute value
// ---------------------------------------------------------------------------

namespace {

// floor and ceil share everything but the direction of rounding.
ALGEB round_to_integer(ALGEB a, bool up, const char *what)
{
    require_real(a, what);
    if (is_integer(a))
        return a;
    if (is_rational(a)) {
        ZView n(op(a, 1)), d(op(a, 2));
        Z r;
        (up ? mpz_cdiv_q : mpz_fdiv_q)(r.v, n.get(), d.get());
        return from_mpz(r.v);
    }
    mpfr_srcptr x = talvo_float_value(a);
    MpfrTemp t(mpfr_get_prec(x));
    (up ? mpfr_ceil : mpfr_floor)(t.v, x);
    return integer_from_mpfr(t.v);
}

} // namespace

ALGEB floor(ALGEB a) { return round_to_integer(a, false, "floor"); }
ALGEB ceil(ALGEB a) { return round_to_integer(a, true, "ceil"); }

ALGEB abs(ALGEB a)
{
    require_numeric(a, "abs");
    if (is_complex(a)) {
        ALGEB re = op(a, 1), im = op(a, 2);
        if (!has_float(a)) {
            ALGEB m2 = add(mul(re, re), mul(im, im));
            if (ALGEB r = exact_rational_power(m2, make_rational(make_integer(1), make_integer(2))))
                return r;
        }
        mpfr_prec_t prec = working_precision();
        MpfrTemp x(prec + 16), y(prec + 16);
        to_mpfr(re, x.v);
        to_mpfr(im, y.v);
        ALGEB r = float_result(prec);
        mpfr_hypot(talvo_float_mpfr(r), x.v, y.v, MPFR_RNDN);
        return r;
    }
    if (is_float(a)) {
        if (mpfr_signbit(talvo_float_value(a)) == 0)
            return a;
        ALGEB r = float_result(mpfr_get_prec(talvo_float_value(a)));
        mpfr_abs(talvo_float_mpfr(r), talvo_float_value(a), MPFR_RNDN);
        return r;
    }
    return sign(a) < 0 ? neg(a) : a;
}

// ---------------------------------------------------------------------------
// Text
// ---------------------------------------------------------------------------

ALGEB parse_integer(std::string_view digits)
{
    if (digits.empty())
        return nullptr;
    size_t start = (digits[0] == '-' || digits[0] == '+') ? 1 : 0;
    if (start == digits.size())
        return nullptr;
    for (size_t i = start; i < digits.size(); ++i)
        if (digits[i] < '0' || digits[i] > '9')
            return nullptr;
    std::string text(digits.substr(digits[0] == '+' ? 1 : 0));
    Z z;
    if (mpz_set_str(z.v, text.c_str(), 10) != 0)
        return nullptr;
    return from_mpz(z.v);
}

std::string integer_to_string(ALGEB integer)
{
    if (is_immediate(integer))
        return std::to_string(immediate_value(integer));
    ZView z(integer);
    std::string s(mpz_sizeinbase(z.get(), 10) + 2, '\0');
    mpz_get_str(s.data(), 10, z.get());
    s.resize(std::strlen(s.c_str()));
    return s;
}

} // namespace num
} // namespace talvo
