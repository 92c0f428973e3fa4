// builtins.cpp -- the builtins of the host language other than the elementary
// functions (evalf.cpp): structure (nops, op), iteration (seq, add, mul),
// types, tables and arrays, randomness, output and errors.
#include "errors.hpp"
#include "eval.hpp"
#include "numeric.hpp"
#include "print.hpp"
#include "random.hpp"
#include "rtable.hpp"
#include "talvo_float.hpp"

#include <cstdio>
#include <ctime>
#include <vector>

namespace talvo {

void define_elementary_functions(); // evalf.cpp

namespace {

size_t count_of(ALGEB args) { return is_expseq(args) ? nops(args) : 1; }

void expect_count(ALGEB args, size_t lo, size_t hi, const char *fname)
{
    size_t n = count_of(args);
    if (n < lo || n > hi)
        raise(std::string(fname) + " expects " +
                  (lo == hi ? std::to_string(lo) : std::to_string(lo) + " to " + std::to_string(hi)) +
                  (hi == 1 ? " argument" : " arguments") + ", but received %1",
              make_integer(intptr_t(n)));
}

ALGEB arg(ALGEB args, size_t i) { return seq_elem(args, i); }

// The operands as nops and op see them.
std::vector<ALGEB> operands(ALGEB e)
{
    std::vector<ALGEB> v;
    auto push_seq = [&](ALGEB s) {
        for (size_t i = 1; i <= count_of(s); ++i)
            v.push_back(seq_elem(s, i));
    };
    switch (type_of(e)) {
    case T_LIST: push_seq(op(e, 1)); break;
    case T_EXPSEQ: push_seq(e); break;
    case T_FUNCTION:
    case T_TABLEREF: push_seq(op(e, 2)); break;
    case T_RATIONAL:
    case T_COMPLEX:
    case T_RANGE:
    case T_EQUATION:
    case T_LESSTHAN:
    case T_LESSEQ:
    case T_NOTEQ:
    case T_SUM:
    case T_PROD:
    case T_POWER:
    case T_AND:
    case T_OR:
    case T_NOT:
        for (size_t i = 1; i <= nops(e); ++i)
            v.push_back(op(e, i));
        break;
    case T_FLOAT: {
        // mantissa and exponent of a decimal reading: m * 10^e
        mpfr_srcptr x = talvo_float_value(e);
        if (!mpfr_number_p(x)) {
            v.push_back(e);
            break;
        }
        std::string s = talvo_float_to_string(e, talvo_float_digits());
        size_t epos = s.find('e');
        std::string mant = s.substr(0, epos);
        long ex = epos == std::string::npos ? 0 : std::stol(s.substr(epos + 1));
        size_t dot = mant.find('.');
        if (dot != std::string::npos) {
            ex -= long(mant.size() - dot - 1);
            mant.erase(dot, 1);
        }
        v.push_back(num::parse_integer(mant));
        v.push_back(make_integer(ex));
        break;
    }
    case T_TABLE:
        table_each(e, [&](ALGEB k, ALGEB val) { v.push_back(make_equation(k, val)); });
        break;
    default: v.push_back(e); break;
    }
    return v;
}

ALGEB b_nops(ALGEB args)
{
    expect_count(args, 1, 1, "nops");
    ALGEB e = arg(args, 1);
    if (is_rtable(e))
        return make_integer(intptr_t(rtable::num_elements(e)));
    return make_integer(intptr_t(operands(e).size()));
}

ALGEB b_op(ALGEB args)
{
    expect_count(args, 1, 2, "op");
    ALGEB e = arg(args, count_of(args));
    std::vector<ALGEB> v = operands(e);
    // A sequence of one value is that value (as everywhere in the
    // language), so op([x]) = x compares and prints as x itself.
    if (count_of(args) == 1)
        return v.size() == 1 ? v[0] : make_expseq(v.data(), v.size());
    ALGEB i = arg(args, 1);
    intptr_t n = intptr_t(v.size());
    auto pos = [&](ALGEB k) -> intptr_t {
        int64_t p;
        if (!integer_to_int64(k, &p))
            raise("op expects an integer or a range of integers as its first argument, got %1", k);
        if (p < 0)
            p += n + 1;
        return intptr_t(p);
    };
    if (is_range(i)) {
        intptr_t lo = pos(op(i, 1)), hi = pos(op(i, 2));
        if (hi < lo)
            return null_seq();
        if (lo < 1 || hi > n)
            raise("improper op or subscript selector: %1 of %2 operands", i, make_integer(n));
        return hi == lo ? v[size_t(lo - 1)] : make_expseq(v.data() + lo - 1, size_t(hi - lo + 1));
    }
    intptr_t k = pos(i);
    if (k == 0) {
        if (type_of(e) == T_FUNCTION || type_of(e) == T_TABLEREF)
            return op(e, 1);
        static const char *names[] = {"integer", "integer", "fraction", "complex", "float", "symbol",
                                      "string", "exprseq", "list", "range", "=", "<", "<=", "<>",
                                      "+", "*", "^", "and", "or", "not"};
        Type t = type_of(e);
        return intern(unsigned(t) < sizeof(names) / sizeof(names[0]) ? names[t] : "anything");
    }
    if (k < 1 || k > n)
        raise("improper op or subscript selector: %1 of %2 operands", i, make_integer(n));
    return v[size_t(k - 1)];
}

// The variable and the values of an iteration specification i = a..b or i = [list].
struct Iteration {
    ALGEB var;
    ALGEB from, to;      // range form
    ALGEB values = nullptr; // list form: the element sequence
};

Iteration iteration_of(ALGEB spec, const char *fname)
{
    if (type_of(spec) != T_EQUATION)
        raise(std::string(fname) + " expects its second argument to be of the form name = range, got %1",
              spec);
    Iteration it{op(spec, 1), nullptr, nullptr};
    if (!is_name(it.var) && type_of(it.var) != T_LEXREF)
        raise("the iteration variable must be a name, got %1", it.var);
    ALGEB r = eval(op(spec, 2));
    if (is_range(r)) {
        it.from = op(r, 1);
        it.to = op(r, 2);
        if (!is_real_numeric(it.from) || !is_real_numeric(it.to))
            raise("the range %1 must have numeric bounds", r);
    } else if (is_list(r)) {
        it.values = op(r, 1);
    } else if (is_rtable(r)) {
        std::vector<ALGEB> v;
        if (rtable::num_dimensions(r) != 1)
            raise("can only iterate over a one-dimensional Array, got %1", r);
        for (M_INT k = rtable::lower_bound(r, 1); k <= rtable::upper_bound(r, 1); ++k)
            v.push_back(rtable::element_value(r, &k));
        it.values = make_expseq(v.data(), v.size());
    } else {
        raise(std::string(fname) + " expects a range or a list to iterate over, got %1", r);
    }
    return it;
}

// Runs f(value) for every value; the variable's previous value is restored after.
template <class F> void iterate(const Iteration &it, F f)
{
    ALGEB saved = is_name(it.var) ? global_value(it.var) : eval(it.var);
    struct Restore {
        ALGEB var, saved;
        ~Restore()
        {
            if (is_name(var)) {
                as_name(var)->value = saved; // nullptr: unassigned again
            } else {
                try {
                    assign(var, saved);
                } catch (...) {
                }
            }
        }
    } restore{it.var, saved};
    if (it.values != nullptr) {
        size_t n = count_of(it.values);
        for (size_t i = 1; i <= n; ++i) {
            assign(it.var, seq_elem(it.values, i));
            f();
        }
        return;
    }
    ALGEB count = num::floor(num::add(num::sub(it.to, it.from), make_integer(1)));
    int64_t n;
    if (!integer_to_int64(count, &n) || n > (int64_t(1) << 40))
        raise("too many iterations: %1", count);
    ALGEB k = it.from;
    for (int64_t i = 0; i < n; ++i) {
        assign(it.var, k);
        f();
        k = num::add(k, make_integer(1));
    }
}

ALGEB b_seq(ALGEB args)
{
    expect_count(args, 2, 2, "seq");
    Iteration it = iteration_of(arg(args, 2), "seq");
    ALGEB body = arg(args, 1);
    std::vector<ALGEB> out;
    iterate(it, [&] {
        ALGEB v = eval(body);
        for (size_t j = 1; j <= count_of(v); ++j)
            out.push_back(seq_elem(v, j));
    });
    return out.size() == 1 ? out[0] : make_expseq(out.data(), out.size());
}

ALGEB accumulate(ALGEB args, const char *fname, Type t)
{
    expect_count(args, 2, 2, fname);
    Iteration it = iteration_of(arg(args, 2), fname);
    ALGEB body = arg(args, 1);
    ALGEB acc = make_integer(t == T_SUM ? 0 : 1);
    iterate(it, [&] {
        ALGEB v = eval(body);
        if (is_any_numeric(acc) && is_any_numeric(v))
            acc = t == T_SUM ? num::add(acc, v) : num::mul(acc, v);
        else
            acc = fold(t, {acc, v});
    });
    return acc;
}

ALGEB b_add(ALGEB args) { return accumulate(args, "add", T_SUM); }
ALGEB b_mul(ALGEB args) { return accumulate(args, "mul", T_PROD); }

ALGEB b_randomize(ALGEB args)
{
    expect_count(args, 0, 1, "randomize");
    uint64_t s;
    if (count_of(args) == 0) {
        s = uint64_t(time(nullptr)) ^ (uint64_t(clock()) << 20);
        s %= uint64_t(1) << 40;
    } else {
        ALGEB a = arg(args, 1);
        int64_t v;
        if (!integer_to_int64(a, &v) || v < 0)
            raise("randomize expects a non-negative integer seed, got %1", a);
        s = uint64_t(v);
    }
    random::seed(s);
    return make_integer(intptr_t(s));
}

// memoryceiling() is the memory ceiling in bytes; memoryceiling(n) sets it
// to n bytes (an integer, or a string such as "200M" or "1.5G") and returns
// the previous value.
ALGEB b_memoryceiling(ALGEB args)
{
    expect_count(args, 0, 1, "memoryceiling");
    if (count_of(args) == 0)
        return make_integer(intptr_t(memory_ceiling()));
    ALGEB a = arg(args, 1);
    size_t bytes = 0;
    int64_t v;
    if (integer_to_int64(a, &v) && v > 0)
        bytes = size_t(v);
    else if (!is_string(a) || !parse_memory_size(string_text(a), &bytes))
        raise("memoryceiling expects a positive integer number of bytes or a size such as \"200M\", got %1", a);
    return make_integer(intptr_t(set_memory_ceiling(bytes)));
}

// gcprotected(): the number of TalvoGcProtect calls not yet matched by a
// TalvoGcAllow, for tests that a failing entry gives back what it protected.
ALGEB b_gcprotected(ALGEB args)
{
    expect_count(args, 0, 0, "gcprotected");
    return make_integer(intptr_t(gc_protect_balance()));
}

ALGEB b_rand(ALGEB args)
{
    expect_count(args, 0, 0, "rand");
    return random::float01(0);
}

ALGEB b_print(ALGEB args)
{
    std::string line;
    for (size_t i = 1; i <= count_of(args); ++i) {
        if (i > 1)
            line += ", ";
        line += print(arg(args, i));
    }
    std::fputs(line.c_str(), stdout);
    std::fputc('\n', stdout);
    return null_seq();
}

ALGEB b_error(ALGEB args) { error_from_arguments(args); }

bool is_nonneg_int(ALGEB x) { return is_integer(x) && num::sign(x) >= 0; }

bool has_type(ALGEB x, ALGEB t)
{
    if (is_list(t)) { // [t1, t2]: a list whose elements have those types
        if (!is_list(x) || count_of(op(x, 1)) != count_of(op(t, 1)))
            return false;
        for (size_t i = 1; i <= count_of(op(t, 1)); ++i)
            if (!has_type(seq_elem(op(x, 1), i), seq_elem(op(t, 1), i)))
                return false;
        return true;
    }
    if (type_of(t) == T_FUNCTION && is_name(op(t, 1))) { // list(float), Array(float)
        std::string_view h = name_text(op(t, 1));
        ALGEB et = op(t, 2);
        if (h == "list" && is_list(x)) {
            ALGEB s = op(x, 1);
            for (size_t i = 1; i <= count_of(s); ++i)
                if (!has_type(seq_elem(s, i), et))
                    return false;
            return true;
        }
        return false;
    }
    if (type_of(t) == T_BUILTIN) // Array, table: the builtin bound to the type's name
        t = reinterpret_cast<BuiltinObject *>(t)->name;
    if (!is_name(t))
        raise("type expects a type name as its second argument, got %1", t);
    std::string_view n = name_text(t);
    if (n == "anything") return !is_expseq(x);
    if (n == "integer") return is_integer(x);
    if (n == "posint") return is_integer(x) && num::sign(x) > 0;
    if (n == "negint") return is_integer(x) && num::sign(x) < 0;
    if (n == "nonnegint") return is_nonneg_int(x);
    if (n == "fraction") return is_rational(x);
    if (n == "rational") return is_exact_rational(x);
    if (n == "float") return is_float(x);
    if (n == "sfloat") return is_float(x);
    if (n == "numeric") return is_real_numeric(x);
    if (n == "complex" || n == "complexcons") return is_any_numeric(x);
    if (n == "realcons" || n == "constant") {
        if (is_real_numeric(x))
            return true;
        ALGEB f = evalf(x, 0);
        return n == "constant" ? is_any_numeric(f) : is_real_numeric(f);
    }
    if (n == "extended_numeric")
        return is_real_numeric(x) || (is_name(x) && (name_text(x) == "infinity" || name_text(x) == "undefined"));
    if (n == "positive") return is_real_numeric(x) && num::sign(x) > 0;
    if (n == "negative") return is_real_numeric(x) && num::sign(x) < 0;
    if (n == "nonnegative") return is_real_numeric(x) && num::sign(x) >= 0;
    if (n == "string") return is_string(x);
    if (n == "name" || n == "symbol") return is_name(x);
    if (n == "list") return is_list(x);
    if (n == "table") return is_table(x);
    if (n == "Array" || n == "rtable") return is_rtable(x);
    if (n == "procedure") return is_procedure(x);
    if (n == "boolean" || n == "truefalse") return is_boolean(x);
    if (n == "range") return is_range(x);
    if (n == "equation" || n == "=") return is_equation(x);
    if (n == "function") return type_of(x) == T_FUNCTION;
    if (n == "indexed") return type_of(x) == T_TABLEREF;
    if (n == "+") return type_of(x) == T_SUM;
    if (n == "*") return type_of(x) == T_PROD;
    if (n == "^") return type_of(x) == T_POWER;
    if (n == "relation") return is_equation(x) || type_of(x) == T_LESSTHAN || type_of(x) == T_LESSEQ ||
                                type_of(x) == T_NOTEQ;
    raise("type %1 is not known", t);
}

ALGEB b_type(ALGEB args)
{
    expect_count(args, 2, 2, "type");
    return make_boolean(has_type(arg(args, 1), arg(args, 2)));
}

ALGEB b_whattype(ALGEB args)
{
    ALGEB x = args;
    if (is_expseq(x) && nops(x) != 1)
        return intern("exprseq");
    x = arg(args, 1);
    static const char *const names[] = {
        "integer", "integer", "fraction", "complex", "float", "symbol", "string", "exprseq", "list",
        "range", "=", "<", "<=", "<>", "+", "*", "^", "and", "or", "not", "function", "indexed",
        "table", "Array", "procedure", "procedure", "procedure", "procedure", "boolean"};
    Type t = type_of(x);
    return intern(unsigned(t) < sizeof(names) / sizeof(names[0]) ? names[t] : "anything");
}

ALGEB b_evalb(ALGEB args)
{
    expect_count(args, 1, 1, "evalb");
    ALGEB b = decide_relation(arg(args, 1));
    return b != nullptr ? b : make_function(intern("evalb"), args);
}

ALGEB b_array(ALGEB args) { return rtable::array_constructor(args); }

ALGEB b_table(ALGEB args)
{
    expect_count(args, 0, 1, "table");
    ALGEB t = table_new();
    if (count_of(args) == 1) {
        ALGEB init = arg(args, 1);
        if (!is_list(init))
            raise("table expects a list of equations, got %1", init);
        ALGEB s = op(init, 1);
        for (size_t i = 1; i <= count_of(s); ++i) {
            ALGEB e = seq_elem(s, i);
            if (!is_equation(e))
                raise("table expects a list of equations, got %1", e);
            table_put(t, op(e, 1), op(e, 2));
        }
    }
    return t;
}

ALGEB integer_pair(ALGEB args, const char *fname, ALGEB (*f)(ALGEB, ALGEB))
{
    expect_count(args, 2, 2, fname);
    return f(arg(args, 1), arg(args, 2));
}
ALGEB b_iquo(ALGEB args) { return integer_pair(args, "iquo", num::iquo); }
ALGEB b_irem(ALGEB args) { return integer_pair(args, "irem", num::irem); }

ALGEB extremum(ALGEB args, const char *fname, int want)
{
    size_t n = count_of(args);
    if (n == 0)
        raise(std::string(fname) + " expects at least 1 argument");
    ALGEB best = nullptr;
    for (size_t i = 1; i <= n; ++i) {
        ALGEB x = arg(args, i);
        if (!is_real_numeric(x))
            return make_function(intern(fname), args);
        if (best == nullptr || num::compare(x, best) == want)
            best = x;
    }
    return best;
}
ALGEB b_max(ALGEB args) { return extremum(args, "max", 1); }
ALGEB b_min(ALGEB args) { return extremum(args, "min", -1); }

ALGEB b_time(ALGEB args)
{
    expect_count(args, 0, 0, "time");
    struct timespec ts;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    double s = double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
    return talvo_float_from_double(s, 0);
}

// Float(m, e) = m * 10^e, and the printed forms of the special floats.
ALGEB b_float(ALGEB args)
{
    expect_count(args, 1, 2, "Float");
    ALGEB m = arg(args, 1);
    mpfr_prec_t prec = talvo_float_precision();
    if (count_of(args) == 1) {
        ALGEB f = talvo_float_new(prec);
        if (is_name(m) && name_text(m) == "undefined")
            return f;
        if (is_name(m) && name_text(m) == "infinity") {
            mpfr_set_inf(talvo_float_mpfr(f), 1);
            return f;
        }
        if (type_of(m) == T_PROD && nops(m) == 2 && op(m, 1) == make_immediate(-1) && is_name(op(m, 2)) &&
            name_text(op(m, 2)) == "infinity") {
            mpfr_set_inf(talvo_float_mpfr(f), -1);
            return f;
        }
        if (is_real_numeric(m))
            return num::to_float(m, 0);
        raise("Float expects a number, undefined or infinity, got %1", m);
    }
    ALGEB e = arg(args, 2);
    if (!is_integer(m) || !is_integer(e))
        raise("Float expects an integer mantissa and exponent, got %1", args);
    std::string text = num::integer_to_string(m) + "e" + num::integer_to_string(e);
    ALGEB f = talvo_float_parse(text.c_str(), prec);
    if (f == nullptr)
        raise("Float: exponent out of range in %1", args);
    return f;
}

ALGEB b_unassign(ALGEB args)
{
    for (size_t i = 1; i <= count_of(args); ++i) {
        ALGEB n = arg(args, i);
        if (!is_name(n))
            raise("unassign expects names, got %1", n);
        unassign_global(n);
    }
    return null_seq();
}

ALGEB b_assigned(ALGEB args)
{
    expect_count(args, 1, 1, "assigned");
    ALGEB n = arg(args, 1);
    if (is_name(n))
        return make_boolean(global_value(n) != nullptr || as_name(n)->builtin != nullptr);
    ALGEB v = eval(n);
    return make_boolean(!is_name(v) && type_of(v) != T_TABLEREF);
}

ALGEB b_convert(ALGEB args)
{
    expect_count(args, 2, 2, "convert");
    ALGEB x = arg(args, 1), form = arg(args, 2);
    if (!is_name(form))
        raise("convert expects a target form name, got %1", form);
    std::string_view f = name_text(form);
    if (f == "list") {
        if (is_list(x))
            return x;
        if (is_rtable(x)) {
            std::vector<ALGEB> v;
            if (rtable::num_dimensions(x) != 1)
                raise("cannot convert a two-dimensional Array to a list: %1", x);
            for (M_INT k = rtable::lower_bound(x, 1); k <= rtable::upper_bound(x, 1); ++k)
                v.push_back(rtable::element_value(x, &k));
            return make_list(v.data(), v.size());
        }
        std::vector<ALGEB> v = operands(x);
        return make_list(v.data(), v.size());
    }
    if (f == "float")
        return evalf(x, 0);
    if (f == "string")
        return make_string(print(x));
    raise("cannot convert to %1", form);
}

// eval(x): its argument, evaluated (as every argument of a builtin is).
ALGEB b_eval(ALGEB args)
{
    expect_count(args, 1, 1, "eval");
    return arg(args, 1);
}

// copy(A): a new Array or table with the same elements (assignment shares them).
ALGEB b_copy(ALGEB args)
{
    expect_count(args, 1, 1, "copy");
    ALGEB x = arg(args, 1);
    if (is_rtable(x))
        return rtable::copy(nullptr, x);
    if (is_table(x)) {
        ALGEB t = table_new();
        table_each(x, [&](ALGEB k, ALGEB v) { table_put(t, k, v); });
        return t;
    }
    return x;
}

ALGEB b_length(ALGEB args)
{
    expect_count(args, 1, 1, "length");
    ALGEB x = arg(args, 1);
    if (is_string(x))
        return make_integer(intptr_t(string_text(x).size()));
    return make_integer(intptr_t(print(x).size()));
}

// e with every operand equal to `from` replaced by `to`, rebuilt where
// something changed (the result is not yet evaluated).
ALGEB replace(ALGEB e, ALGEB from, ALGEB to)
{
    if (equal(e, from))
        return to;
    switch (type_of(e)) {
    case T_EXPSEQ:
    case T_LIST:
    case T_RANGE:
    case T_EQUATION:
    case T_LESSTHAN:
    case T_LESSEQ:
    case T_NOTEQ:
    case T_SUM:
    case T_PROD:
    case T_POWER:
    case T_AND:
    case T_OR:
    case T_NOT:
    case T_FUNCTION:
    case T_TABLEREF: {
        size_t n = nops(e);
        std::vector<ALGEB> ops(n);
        bool changed = false;
        for (size_t i = 1; i <= n; ++i) {
            ops[i - 1] = replace(op(e, i), from, to);
            changed = changed || ops[i - 1] != op(e, i);
        }
        if (!changed)
            return e;
        if (type_of(e) == T_EXPSEQ)
            return make_expseq(ops.data(), n);
        ALGEB r = new_node(type_of(e), n);
        for (size_t i = 1; i <= n; ++i)
            set_op(r, i, ops[i - 1]);
        return r;
    }
    default: return e;
    }
}

// subs(x = a, expr), subs(x = a, y = b, expr): expr with x replaced by a
// (then y by b, ...), evaluated again, so numbers fold and functions of
// numbers are computed.
ALGEB b_subs(ALGEB args)
{
    size_t n = count_of(args);
    if (n < 2)
        raise("subs expects at least 2 arguments, but received %1", make_integer(intptr_t(n)));
    ALGEB e = arg(args, n);
    for (size_t i = 1; i < n; ++i) {
        ALGEB eq = arg(args, i);
        if (!is_equation(eq))
            raise("subs expects equations old = new before the expression, got %1", eq);
        e = replace(e, op(eq, 1), op(eq, 2));
    }
    return eval(e);
}

} // namespace

void define_text_builtins(); // strings.cpp
void define_file_builtins(); // files.cpp

[[noreturn]] void error_from_arguments(ALGEB args)
{
    if (count_of(args) == 0)
        raise_plain("error called with no message");
    ALGEB msg = arg(args, 1);
    std::string templ = is_string(msg) ? std::string(string_text(msg)) : print(msg);
    ALGEB a1 = count_of(args) >= 2 ? arg(args, 2) : nullptr;
    ALGEB a2 = count_of(args) >= 3 ? arg(args, 3) : nullptr;
    raise(templ, a1, a2);
}

void define_builtins()
{
    define_elementary_functions();
    define_builtin("nops", b_nops);
    define_builtin("op", b_op);
    define_builtin("seq", b_seq, BUILTIN_HOLD);
    define_builtin("add", b_add, BUILTIN_HOLD);
    define_builtin("mul", b_mul, BUILTIN_HOLD);
    define_builtin("randomize", b_randomize);
    define_builtin("rand", b_rand);
    define_builtin("memoryceiling", b_memoryceiling);
    define_builtin("gcprotected", b_gcprotected);
    define_builtin("print", b_print);
    define_builtin("error", b_error, BUILTIN_TRANSPARENT);
    define_builtin("type", b_type);
    define_builtin("whattype", b_whattype);
    define_builtin("evalb", b_evalb);
    define_builtin("Array", b_array);
    define_builtin("table", b_table);
    define_builtin("iquo", b_iquo);
    define_builtin("irem", b_irem);
    define_builtin("max", b_max);
    define_builtin("min", b_min);
    define_builtin("time", b_time);
    define_builtin("Float", b_float);
    define_builtin("unassign", b_unassign);
    define_builtin("assigned", b_assigned, BUILTIN_HOLD);
    define_builtin("convert", b_convert);
    define_builtin("length", b_length);
    define_builtin("eval", b_eval);
    define_builtin("copy", b_copy);
    define_builtin("subs", b_subs);
    define_text_builtins();
    define_file_builtins();

    // Constants.  I is the imaginary unit; Pi, infinity and undefined are
    // symbolic and evalf makes them floats.
    auto constant = [](const char *name, ALGEB value) {
        ALGEB n = intern(name);
        as_name(n)->value = value;
        as_name(n)->flags |= NAME_PROTECTED;
    };
    constant("true", true_value());
    constant("false", false_value());
    constant("NULL", null_seq());
    constant("I", num::make_complex(make_integer(0), make_integer(1)));
    for (const char *n : {"Pi", "infinity", "undefined"})
        as_name(intern(n))->flags |= NAME_PROTECTED;
}

} // namespace talvo
