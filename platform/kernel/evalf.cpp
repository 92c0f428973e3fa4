// evalf.cpp -- numerical evaluation and the elementary functions.
//
// The elementary functions are exact where the answer is a number of the host
// (sqrt(4) = 2, sqrt(-4) = 2*I, exp(0) = 1, ln(1) = 0, sin(0) = 0), evaluate
// floats (real and complex) correctly rounded through MPFR at the current
// precision, and otherwise stay unevaluated calls (sqrt(2)), which evalf turns
// into floats later.
#include "errors.hpp"
#include "eval.hpp"
#include "numeric.hpp"
#include "talvo_float.hpp"

#include <cstring>
#include <vector>

namespace talvo {

namespace {

using num::MpfrTemp;

ALGEB one_argument(ALGEB args, const char *fname)
{
    if (seq_length(args) != 1)
        raise(std::string(fname) + " expects 1 argument, but received %1",
              make_integer(intptr_t(is_expseq(args) ? nops(args) : 1)));
    return seq_elem(args, 1);
}

ALGEB unevaluated(const char *fname, ALGEB x) { return make_function(intern(fname), x); }

bool has_float(ALGEB x)
{
    if (is_complex(x))
        return is_float(op(x, 1)) || is_float(op(x, 2));
    return is_float(x);
}

using RealFn = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

ALGEB real_float(RealFn fn, ALGEB x)
{
    mpfr_prec_t prec = talvo_float_precision();
    MpfrTemp a(prec + 16);
    num::to_mpfr(x, a.v);
    ALGEB r = talvo_float_new(prec);
    fn(talvo_float_mpfr(r), a.v, MPFR_RNDN);
    return r;
}

// Complex arguments: the parts at a working precision with guard bits.
struct Cx {
    MpfrTemp re, im;
    explicit Cx(ALGEB z, mpfr_prec_t p) : re(p), im(p)
    {
        num::to_mpfr(num::real_part(z), re.v);
        num::to_mpfr(num::imag_part(z), im.v);
    }
};

ALGEB complex_result(mpfr_srcptr re, mpfr_srcptr im)
{
    mpfr_prec_t prec = talvo_float_precision();
    return num::make_complex(talvo_float_from_mpfr(re, prec), talvo_float_from_mpfr(im, prec));
}

ALGEB complex_exp(ALGEB z)
{
    mpfr_prec_t p = talvo_float_precision() + 32;
    Cx c(z, p);
    MpfrTemp m(p), s(p), co(p);
    mpfr_exp(m.v, c.re.v, MPFR_RNDN);
    mpfr_sin_cos(s.v, co.v, c.im.v, MPFR_RNDN);
    mpfr_mul(co.v, co.v, m.v, MPFR_RNDN);
    mpfr_mul(s.v, s.v, m.v, MPFR_RNDN);
    return complex_result(co.v, s.v);
}

ALGEB complex_log(ALGEB z)
{
    mpfr_prec_t p = talvo_float_precision() + 32;
    Cx c(z, p);
    MpfrTemp r(p), a(p);
    mpfr_hypot(r.v, c.re.v, c.im.v, MPFR_RNDN);
    mpfr_log(r.v, r.v, MPFR_RNDN);
    mpfr_atan2(a.v, c.im.v, c.re.v, MPFR_RNDN);
    return complex_result(r.v, a.v);
}

ALGEB complex_sqrt(ALGEB z)
{
    // sqrt(z) = sqrt((|z| + re)/2) + i sign(im) sqrt((|z| - re)/2)
    mpfr_prec_t p = talvo_float_precision() + 32;
    Cx c(z, p);
    MpfrTemp m(p), u(p), v(p);
    mpfr_hypot(m.v, c.re.v, c.im.v, MPFR_RNDN);
    mpfr_add(u.v, m.v, c.re.v, MPFR_RNDN);
    mpfr_div_2ui(u.v, u.v, 1, MPFR_RNDN);
    mpfr_sqrt(u.v, u.v, MPFR_RNDN);
    mpfr_sub(v.v, m.v, c.re.v, MPFR_RNDN);
    mpfr_div_2ui(v.v, v.v, 1, MPFR_RNDN);
    mpfr_sqrt(v.v, v.v, MPFR_RNDN);
    if (mpfr_signbit(c.im.v))
        mpfr_neg(v.v, v.v, MPFR_RNDN);
    return complex_result(u.v, v.v);
}

// sin, cos and tan of a complex float through the addition formulas.
ALGEB complex_trig(char which, ALGEB z)
{
    mpfr_prec_t p = talvo_float_precision() + 32;
    Cx c(z, p);
    MpfrTemp s(p), co(p), sh(p), ch(p), re(p), im(p);
    mpfr_sin_cos(s.v, co.v, c.re.v, MPFR_RNDN);
    mpfr_sinh_cosh(sh.v, ch.v, c.im.v, MPFR_RNDN);
    if (which == 's') { // sin a cosh b + i cos a sinh b
        mpfr_mul(re.v, s.v, ch.v, MPFR_RNDN);
        mpfr_mul(im.v, co.v, sh.v, MPFR_RNDN);
        return complex_result(re.v, im.v);
    }
    if (which == 'c') { // cos a cosh b - i sin a sinh b
        mpfr_mul(re.v, co.v, ch.v, MPFR_RNDN);
        mpfr_mul(im.v, s.v, sh.v, MPFR_RNDN);
        mpfr_neg(im.v, im.v, MPFR_RNDN);
        return complex_result(re.v, im.v);
    }
    // tan(a + ib) = (sin 2a + i sinh 2b) / (cos 2a + cosh 2b)
    MpfrTemp a2(p), b2(p), d(p);
    mpfr_mul_2ui(a2.v, c.re.v, 1, MPFR_RNDN);
    mpfr_mul_2ui(b2.v, c.im.v, 1, MPFR_RNDN);
    mpfr_sin_cos(s.v, co.v, a2.v, MPFR_RNDN);
    mpfr_sinh_cosh(sh.v, ch.v, b2.v, MPFR_RNDN);
    mpfr_add(d.v, co.v, ch.v, MPFR_RNDN);
    mpfr_div(re.v, s.v, d.v, MPFR_RNDN);
    mpfr_div(im.v, sh.v, d.v, MPFR_RNDN);
    return complex_result(re.v, im.v);
}

ALGEB b_sqrt(ALGEB args)
{
    ALGEB x = one_argument(args, "sqrt");
    if (!is_any_numeric(x))
        return unevaluated("sqrt", x);
    if (is_exact_rational(x)) {
        bool negative = num::sign(x) < 0;
        ALGEB m = negative ? num::neg(x) : x;
        ALGEB r = num::power(m, num::make_rational(make_integer(1), make_integer(2)));
        if (r == nullptr)
            return negative ? fold(T_PROD, {num::make_complex(make_integer(0), make_integer(1)),
                                            unevaluated("sqrt", m)})
                            : unevaluated("sqrt", x);
        return negative ? num::make_complex(make_integer(0), r) : r;
    }
    if (is_float(x) && num::sign(x) >= 0)
        return real_float(mpfr_sqrt, x);
    if (is_float(x) || has_float(x))
        return complex_sqrt(x);
    return unevaluated("sqrt", x);
}

ALGEB b_exp(ALGEB args)
{
    ALGEB x = one_argument(args, "exp");
    if (num::is_exact_zero(x))
        return make_integer(1);
    if (is_float(x))
        return real_float(mpfr_exp, x);
    if (has_float(x))
        return complex_exp(x);
    return unevaluated("exp", x);
}

ALGEB b_ln(ALGEB args)
{
    ALGEB x = one_argument(args, "ln");
    if (x == make_immediate(1))
        return make_integer(0);
    if (num::is_exact_zero(x))
        raise_plain("numeric exception: division by zero");
    if (is_float(x)) {
        if (mpfr_sgn(talvo_float_value(x)) >= 0 || mpfr_nan_p(talvo_float_value(x)))
            return real_float(mpfr_log, x);
        return complex_log(x);
    }
    if (has_float(x))
        return complex_log(x);
    return unevaluated("ln", x);
}

// GAMMA(x): exact (n - 1)! at a positive integer n, a float at a real float,
// otherwise an unevaluated call (GAMMA(1/2), which evalf makes a float).  A
// non-positive integer is a pole.
ALGEB b_gamma(ALGEB args)
{
    ALGEB x = one_argument(args, "GAMMA");
    if (is_integer(x)) {
        if (num::sign(x) <= 0)
            raise("numeric exception: GAMMA has a pole at %1", x);
        int64_t n;
        if (!integer_to_int64(x, &n) || n > 100000)
            return unevaluated("GAMMA", x);
        mpz_t f;
        mpz_init(f);
        mpz_fac_ui(f, static_cast<unsigned long>(n - 1));
        ALGEB r = num::from_mpz(f);
        mpz_clear(f);
        return r;
    }
    if (is_float(x))
        return real_float(mpfr_gamma, x);
    return unevaluated("GAMMA", x);
}

// lnGAMMA(x): ln |GAMMA(x)| at a real float; exact 0 at 1 and 2.
ALGEB b_lngamma(ALGEB args)
{
    ALGEB x = one_argument(args, "lnGAMMA");
    if (x == make_immediate(1) || x == make_immediate(2))
        return make_integer(0);
    if (is_integer(x) && num::sign(x) <= 0)
        raise("numeric exception: lnGAMMA has a pole at %1", x);
    if (is_float(x)) {
        mpfr_prec_t prec = talvo_float_precision();
        MpfrTemp a(prec + 16);
        num::to_mpfr(x, a.v);
        ALGEB r = talvo_float_new(prec);
        int sign = 0;
        mpfr_lgamma(talvo_float_mpfr(r), &sign, a.v, MPFR_RNDN);
        return r;
    }
    return unevaluated("lnGAMMA", x);
}

ALGEB b_erf(ALGEB args)
{
    ALGEB x = one_argument(args, "erf");
    if (num::is_exact_zero(x))
        return make_integer(0);
    if (is_float(x))
        return real_float(mpfr_erf, x);
    return unevaluated("erf", x);
}

ALGEB b_erfc(ALGEB args)
{
    ALGEB x = one_argument(args, "erfc");
    if (num::is_exact_zero(x))
        return make_integer(1);
    if (is_float(x))
        return real_float(mpfr_erfc, x);
    return unevaluated("erfc", x);
}

ALGEB trig(ALGEB args, const char *fname, RealFn fn, char which, bool zero_is_one)
{
    ALGEB x = one_argument(args, fname);
    if (num::is_exact_zero(x))
        return make_integer(zero_is_one ? 1 : 0);
    if (is_float(x))
        return real_float(fn, x);
    if (has_float(x) && which != 'a')
        return complex_trig(which, x);
    return unevaluated(fname, x);
}

ALGEB b_sin(ALGEB args) { return trig(args, "sin", mpfr_sin, 's', false); }
ALGEB b_cos(ALGEB args) { return trig(args, "cos", mpfr_cos, 'c', true); }
ALGEB b_tan(ALGEB args) { return trig(args, "tan", mpfr_tan, 't', false); }
ALGEB b_arctan(ALGEB args)
{
    if (seq_length(args) == 2) { // arctan(y, x): the angle of the point (x, y)
        ALGEB y = seq_elem(args, 1), x = seq_elem(args, 2);
        if ((is_float(y) || is_float(x)) && is_real_numeric(x) && is_real_numeric(y)) {
            mpfr_prec_t prec = talvo_float_precision();
            MpfrTemp a(prec + 16), b(prec + 16);
            num::to_mpfr(y, a.v);
            num::to_mpfr(x, b.v);
            ALGEB r = talvo_float_new(prec);
            mpfr_atan2(talvo_float_mpfr(r), a.v, b.v, MPFR_RNDN);
            return r;
        }
        return make_function(intern("arctan"), args);
    }
    return trig(args, "arctan", mpfr_atan, 'a', false);
}

ALGEB b_abs(ALGEB args)
{
    ALGEB x = one_argument(args, "abs");
    return is_any_numeric(x) ? num::abs(x) : unevaluated("abs", x);
}

ALGEB b_floor(ALGEB args)
{
    ALGEB x = one_argument(args, "floor");
    return is_real_numeric(x) ? num::floor(x) : unevaluated("floor", x);
}

ALGEB b_ceil(ALGEB args)
{
    ALGEB x = one_argument(args, "ceil");
    return is_real_numeric(x) ? num::ceil(x) : unevaluated("ceil", x);
}

// Numerical evaluation of an evaluated value at the current precision.
ALGEB evalf_value(ALGEB x);

ALGEB evalf_operands(ALGEB x)
{
    size_t n = nops(x);
    ALGEB r = new_node(type_of(x), n);
    for (size_t i = 1; i <= n; ++i)
        set_op(r, i, evalf_value(op(x, i)));
    return r;
}

ALGEB evalf_value(ALGEB x)
{
    if (x == nullptr)
        return x;
    if (is_any_numeric(x))
        return num::to_float(x, 0);
    switch (type_of(x)) {
    case T_NAME: {
        std::string_view s = name_text(x);
        mpfr_prec_t prec = talvo_float_precision();
        if (s == "Pi") {
            ALGEB r = talvo_float_new(prec);
            mpfr_const_pi(talvo_float_mpfr(r), MPFR_RNDN);
            return r;
        }
        if (s == "infinity") {
            ALGEB r = talvo_float_new(prec);
            mpfr_set_inf(talvo_float_mpfr(r), 1);
            return r;
        }
        if (s == "undefined")
            return talvo_float_new(prec); // NaN
        if (s == "gamma") { // Euler's constant
            ALGEB r = talvo_float_new(prec);
            mpfr_const_euler(talvo_float_mpfr(r), MPFR_RNDN);
            return r;
        }
        return x;
    }
    case T_SUM:
    case T_PROD:
    case T_POWER: {
        std::vector<ALGEB> ops;
        for (size_t i = 1; i <= nops(x); ++i) {
            // An integer exponent stays exact: evalf(x^2) is x^2, not x^2.
            bool exact_exponent = type_of(x) == T_POWER && i == 2 && is_integer(op(x, 2));
            ops.push_back(exact_exponent ? op(x, 2) : evalf_value(op(x, i)));
        }
        return fold(type_of(x), ops);
    }
    case T_FUNCTION: {
        ALGEB head = op(x, 1);
        ALGEB args = is_expseq(op(x, 2)) ? evalf_operands(op(x, 2)) : evalf_value(op(x, 2));
        if (is_name(head) && as_name(head)->builtin != nullptr)
            return call(as_name(head)->builtin, args);
        return make_function(head, args);
    }
    case T_EXPSEQ:
    case T_LIST:
    case T_RANGE:
    case T_EQUATION:
    case T_LESSTHAN:
    case T_LESSEQ:
    case T_NOTEQ:
    case T_AND:
    case T_OR:
    case T_NOT:
        return evalf_operands(x);
    default:
        return x;
    }
}

// "Digits" changed for the extent of one evalf(x, n), restored however it ends.
struct DigitsScope {
    long saved;
    explicit DigitsScope(long d) : saved(current_digits())
    {
        if (d != saved)
            set_digits(d);
    }
    ~DigitsScope()
    {
        if (current_digits() != saved)
            set_digits(saved);
    }
    DigitsScope(const DigitsScope &) = delete;
    DigitsScope &operator=(const DigitsScope &) = delete;
};

// evalf(x) and evalf(x, n).  The digits are evaluated first and the
// expression under them, so float literals in it are read at n digits.
ALGEB b_evalf(ALGEB args)
{
    size_t n = is_expseq(args) ? nops(args) : 1;
    if (n != 1 && n != 2)
        raise("evalf expects 1 or 2 arguments, but received %1", make_integer(intptr_t(n)));
    long digits = 0;
    if (n == 2) {
        ALGEB d = eval(seq_elem(args, 2));
        int64_t v;
        if (!integer_to_int64(d, &v) || v < 1 || v > TALVO_FLOAT_MAX_DIGITS)
            raise("the number of digits must be a positive integer no larger than %1, got %2",
                  make_integer(TALVO_FLOAT_MAX_DIGITS), d);
        digits = long(v);
    }
    if (digits == 0)
        return evalf_value(eval(seq_elem(args, 1)));
    DigitsScope scope(digits);
    return evalf_value(eval(seq_elem(args, 1)));
}

} // namespace

ALGEB evalf(ALGEB x, long digits)
{
    if (digits == 0 || digits == current_digits())
        return evalf_value(x);
    DigitsScope scope(digits);
    return evalf_value(x);
}

ALGEB evalf_function(const char *name, ALGEB x)
{
    ALGEB v = evalf_value(call_by_name(name, x));
    if (!is_float(v))
        raise("%1 did not evaluate to a float", make_function(intern(name), x));
    return v;
}

void define_elementary_functions()
{
    define_builtin("sqrt", b_sqrt);
    define_builtin("exp", b_exp);
    define_builtin("ln", b_ln);
    define_builtin("log", b_ln);
    define_builtin("sin", b_sin);
    define_builtin("cos", b_cos);
    define_builtin("tan", b_tan);
    define_builtin("arctan", b_arctan);
    define_builtin("abs", b_abs);
    define_builtin("floor", b_floor);
    define_builtin("ceil", b_ceil);
    define_builtin("GAMMA", b_gamma);
    define_builtin("lnGAMMA", b_lngamma);
    define_builtin("erf", b_erf);
    define_builtin("erfc", b_erfc);
    define_builtin("evalf", b_evalf, BUILTIN_HOLD);
}

} // namespace talvo
