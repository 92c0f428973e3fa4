// eval.cpp -- the evaluator of the host language.
//
// Expressions evaluate to values: numbers fold exactly (1/3 + 1/6 is 1/2),
// anything involving a free name stays symbolic, calls apply closures,
// builtins and library entries.  Statements run in a frame: a collected node
// holding the lexical parent frame, the actual arguments, the procedure and one
// slot per parameter and local, which the parser's lexical references index.
// Control flow (return, break, next) is a status code, not an exception, so a
// procedure returning from a hot loop costs nothing extra; host errors are
// C++ exceptions (errors.hpp).
#include "eval.hpp"

#include "api.hpp"
#include "errors.hpp"
#include "numeric.hpp"
#include "print.hpp"
#include "rtable.hpp"
#include "talvo_float.hpp"

#include <sys/resource.h>

#include <cstring>
#include <string>
#include <vector>

namespace talvo {

namespace {

// Frame layout: op 1 parent frame, op 2 argument sequence, op 3 procedure node,
// op 4 .. slots (parameters, then locals).
constexpr size_t kFrameFixed = 3;

ALGEB g_frame = nullptr;    // running procedure's frame; null at top level
ALGEB g_digits_name = nullptr;
long g_digits = 10;

// ---------------------------------------------------------------------------
// Recursion guard: measured on the C stack itself, so deep recursion in a
// script is an error and never a crash, whatever the frame sizes are.
// ---------------------------------------------------------------------------

char *g_stack_base = nullptr;
size_t g_stack_limit = 0;

void init_stack_guard()
{
    char here;
    g_stack_base = &here;
    struct rlimit rl;
    size_t size = 8u << 20;
    if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY)
        size = size_t(rl.rlim_cur);
    if (size > (256u << 20))
        size = 256u << 20;
    // Leave room for the host's own work below the deepest script frame
    // (error formatting, the collector's marking, a library entry).
    g_stack_limit = size > (2u << 20) ? size - (3 * size / 8) : size / 2;
}

// Step budget (set_step_budget): every evaluation and every statement run
// is a step; the first step past the budget raises a host error.
uint64_t g_step_budget = 0; // 0: no budget
uint64_t g_steps = 0;

[[noreturn]] void step_budget_exceeded()
{
    raise("the computation exceeded its budget of %1 evaluation steps", make_integer64(int64_t(g_step_budget)));
}

inline void count_step()
{
    if (++g_steps > g_step_budget && g_step_budget != 0)
        step_budget_exceeded();
}

// Also the evaluator's poll of a pending interrupt (Ctrl-C at the prompt):
// every statement, call and evaluation step passes here.
inline void check_stack()
{
    char here;
    // The stack grows down.  A frame above the measured base (a program that
    // started the host in a deeper call than the one it evaluates from) is
    // not deep: its distance would otherwise wrap around to a huge size.
    uintptr_t base = reinterpret_cast<uintptr_t>(g_stack_base), at = reinterpret_cast<uintptr_t>(&here);
    if (g_stack_base != nullptr && at < base && base - at > g_stack_limit)
        raise_plain("too many levels of recursion");
    poll_interrupt();
}

// ---------------------------------------------------------------------------
// Statement flow
// ---------------------------------------------------------------------------

enum class Flow { Normal, Return, Break, Next };

struct Exec {
    Flow flow = Flow::Normal;
    ALGEB value = nullptr; // value of the last statement, or the returned value
};

void exec(ALGEB stmt, Exec &x);

// ---------------------------------------------------------------------------
// Frames and variables
// ---------------------------------------------------------------------------

ALGEB frame_at(size_t depth)
{
    ALGEB f = g_frame;
    for (size_t d = 0; d < depth && f != nullptr; ++d)
        f = op(f, 1);
    if (f == nullptr)
        raise_plain("internal error: a variable refers to a procedure that is not running");
    return f;
}

ALGEB lexref_name(ALGEB frame, size_t index)
{
    ALGEB p = op(frame, 3);
    size_t np = seq_length(op(p, 1));
    return index <= np ? seq_elem(op(p, 1), index) : seq_elem(op(p, 2), index - np);
}

ALGEB eval_lexref(ALGEB r)
{
    ALGEB f = frame_at(size_t(immediate_value(op(r, 1))));
    size_t index = size_t(immediate_value(op(r, 2)));
    ALGEB v = op(f, kFrameFixed + index);
    return v != nullptr ? v : lexref_name(f, index);
}

void assign_lexref(ALGEB r, ALGEB value)
{
    ALGEB f = frame_at(size_t(immediate_value(op(r, 1))));
    set_op(f, kFrameFixed + size_t(immediate_value(op(r, 2))), value);
}

ALGEB g_args_name = nullptr, g_nargs_name = nullptr;

ALGEB eval_name(ALGEB n)
{
    NameObject *nm = as_name(n);
    ALGEB v = nm->value;
    if (v == nullptr) {
        if (nm->builtin != nullptr)
            return nm->builtin;
        if (g_frame != nullptr && (n == g_args_name || n == g_nargs_name)) {
            ALGEB a = op(g_frame, 2);
            return n == g_args_name ? a : make_integer(intptr_t(is_expseq(a) ? nops(a) : 1));
        }
        return n;
    }
    // A chain of names (x := y; y := 3) evaluates to its end.
    for (int hops = 0; is_name(v) && as_name(v)->value != nullptr; ++hops) {
        if (hops > 100)
            raise("too many levels of recursion in the value of %1", n);
        v = as_name(v)->value;
    }
    return v;
}

// ---------------------------------------------------------------------------
// Arithmetic of expressions: numeric parts fold, the rest stays symbolic.
// ---------------------------------------------------------------------------

ALGEB eval_seq(ALGEB seq);

void require_value(ALGEB v, const char *what)
{
    if (is_expseq(v))
        raise(std::string("invalid ") + what + ": an expression sequence %1 is not a single value",
              v);
    if (is_list(v) || is_table(v) || is_rtable(v) || is_string(v) || is_boolean(v) ||
        is_procedure(v) || is_range(v) || is_equation(v))
        raise(std::string("invalid operand of ") + what + ": %1", v);
}

ALGEB fold_sum(const std::vector<ALGEB> &terms)
{
    ALGEB numeric = make_integer(0);
    std::vector<ALGEB> rest;
    for (ALGEB t : terms) {
        require_value(t, "+");
        if (type_of(t) == T_SUM) {
            for (size_t i = 1; i <= nops(t); ++i) {
                ALGEB u = op(t, i);
                if (is_any_numeric(u))
                    numeric = num::add(numeric, u);
                else
                    rest.push_back(u);
            }
        } else if (is_any_numeric(t)) {
            numeric = num::add(numeric, t);
        } else {
            rest.push_back(t);
        }
    }
    if (rest.empty())
        return numeric;
    if (!num::is_exact_zero(numeric))
        rest.push_back(numeric); // x + 1, the number last
    if (rest.size() == 1)
        return rest[0];
    ALGEB s = new_node(T_SUM, rest.size());
    for (size_t i = 0; i < rest.size(); ++i)
        set_op(s, i + 1, rest[i]);
    return s;
}

ALGEB fold_product(const std::vector<ALGEB> &factors)
{
    ALGEB numeric = make_integer(1);
    std::vector<ALGEB> rest;
    for (ALGEB f : factors) {
        require_value(f, "*");
        if (type_of(f) == T_PROD) {
            for (size_t i = 1; i <= nops(f); ++i) {
                ALGEB u = op(f, i);
                if (is_any_numeric(u))
                    numeric = num::mul(numeric, u);
                else
                    rest.push_back(u);
            }
        } else if (is_any_numeric(f)) {
            numeric = num::mul(numeric, f);
        } else {
            rest.push_back(f);
        }
    }
    if (rest.empty() || num::is_exact_zero(numeric))
        return numeric;
    if (numeric != make_immediate(1))
        rest.insert(rest.begin(), numeric);
    if (rest.size() == 1)
        return rest[0];
    ALGEB p = new_node(T_PROD, rest.size());
    for (size_t i = 0; i < rest.size(); ++i)
        set_op(p, i + 1, rest[i]);
    return p;
}

ALGEB fold_power(ALGEB base, ALGEB expo)
{
    require_value(base, "^");
    require_value(expo, "^");
    if (is_any_numeric(base) && is_any_numeric(expo)) {
        if (ALGEB r = num::power(base, expo))
            return r;
    } else if (expo == make_immediate(1)) {
        return base;
    } else if (num::is_exact_zero(expo)) {
        return make_integer(1);
    } else if (type_of(base) == T_POWER && is_integer(expo) && is_integer(op(base, 2))) {
        return fold_power(op(base, 1), num::mul(op(base, 2), expo));
    }
    return new_node(T_POWER, {base, expo});
}

// ---------------------------------------------------------------------------
// Booleans
// ---------------------------------------------------------------------------

// true, false, or nullptr when the relation cannot be decided (symbolic).
ALGEB decide(ALGEB v)
{
    switch (type_of(v)) {
    case T_BOOLEAN: return v;
    case T_EQUATION:
    case T_NOTEQ: {
        ALGEB a = op(v, 1), b = op(v, 2);
        bool eq;
        if (is_real_numeric(a) && is_real_numeric(b)) {
            eq = num::compare(a, b) == 0;
        } else if (is_any_numeric(a) && is_any_numeric(b)) {
            eq = num::compare(num::real_part(a), num::real_part(b)) == 0 &&
                 num::compare(num::imag_part(a), num::imag_part(b)) == 0;
        } else {
            eq = equal(a, b);
        }
        return make_boolean(type_of(v) == T_EQUATION ? eq : !eq);
    }
    case T_LESSTHAN:
    case T_LESSEQ: {
        ALGEB a = op(v, 1), b = op(v, 2);
        if (is_string(a) && is_string(b)) {
            int c = string_text(a).compare(string_text(b));
            return make_boolean(type_of(v) == T_LESSTHAN ? c < 0 : c <= 0);
        }
        if (!is_real_numeric(a) || !is_real_numeric(b))
            return nullptr;
        int c = num::compare(a, b);
        if (c == num::kUnordered)
            return false_value();
        return make_boolean(type_of(v) == T_LESSTHAN ? c < 0 : c <= 0);
    }
    default: return nullptr;
    }
}

bool truth(ALGEB cond)
{
    ALGEB v = eval(cond);
    ALGEB b = decide(v);
    if (b == nullptr)
        raise("cannot determine if this expression is true or false: %1", v);
    return b == true_value();
}

ALGEB eval_logic(ALGEB e)
{
    Type t = type_of(e);
    if (t == T_NOT) {
        ALGEB v = eval(op(e, 1));
        ALGEB b = decide(v);
        if (b == nullptr)
            return new_node(T_NOT, {v});
        return make_boolean(b == false_value());
    }
    // Short-circuit: the right side is evaluated only when it matters.
    ALGEB a = eval(op(e, 1));
    ALGEB da = decide(a);
    if (da != nullptr) {
        if (t == T_AND && da == false_value())
            return da;
        if (t == T_OR && da == true_value())
            return da;
    }
    ALGEB b = eval(op(e, 2));
    ALGEB db = decide(b);
    if (da != nullptr && db != nullptr)
        return db;
    if (db != nullptr && ((t == T_AND && db == false_value()) || (t == T_OR && db == true_value())))
        return db;
    if (da != nullptr)
        return b; // true and b = b;  false or b = b
    if (db != nullptr)
        return a;
    return new_node(t, {a, b});
}

// ---------------------------------------------------------------------------
// Indexing
// ---------------------------------------------------------------------------

ALGEB list_index(ALGEB list, ALGEB idx)
{
    ALGEB elems = op(list, 1);
    intptr_t n = intptr_t(seq_length(elems));
    auto position = [&](ALGEB i) -> intptr_t {
        int64_t k;
        if (!integer_to_int64(i, &k))
            raise("invalid subscript %1 of a list", i);
        if (k < 0)
            k += n + 1;
        if (k < 1 || k > n)
            raise("index out of range: %1 of a list of %2 elements", i, make_integer(n));
        return intptr_t(k);
    };
    if (is_range(idx)) {
        int64_t lo, hi;
        if (!integer_to_int64(op(idx, 1), &lo) || !integer_to_int64(op(idx, 2), &hi))
            raise("invalid subscript %1 of a list", idx);
        if (lo < 0)
            lo += n + 1;
        if (hi < 0)
            hi += n + 1;
        if (hi < lo)
            return make_list(nullptr, 0);
        if (lo < 1 || hi > n)
            raise("index out of range: %1 of a list of %2 elements", idx, make_integer(n));
        std::vector<ALGEB> out;
        for (int64_t k = lo; k <= hi; ++k)
            out.push_back(seq_elem(elems, size_t(k)));
        return make_list(out.data(), out.size());
    }
    return seq_elem(elems, size_t(position(idx)));
}

ALGEB eval_tableref(ALGEB e)
{
    ALGEB base_expr = op(e, 1);
    ALGEB base = eval(base_expr);
    ALGEB idx = eval_seq(op(e, 2));
    // args[i] selects the i-th argument, also when there is only one (args is
    // then that value itself, which may be a list or a table).
    if (base_expr == g_args_name && g_frame != nullptr && !is_expseq(base))
        base = make_expseq(&base, 1);
    if (is_list(base)) {
        if (seq_length(idx) != 1)
            raise("a list takes one subscript, got %1", idx);
        return list_index(base, seq_elem(idx, 1));
    }
    if (is_expseq(base)) {
        // The elements are values already: index them without evaluating
        // them again (an unevaluated call among them stays unevaluated).
        if (seq_length(idx) != 1)
            raise("a sequence takes one subscript, got %1", idx);
        return list_index(new_node(T_LIST, {base}), seq_elem(idx, 1));
    }
    if (is_rtable(base))
        return rtable::index(base, idx);
    if (is_table(base)) {
        if (ALGEB v = table_get(base, idx))
            return v;
        return new_node(T_TABLEREF, {is_name(base_expr) ? base_expr : base, idx});
    }
    if (is_name(base))
        return new_node(T_TABLEREF, {base, idx});
    if (is_string(base)) {
        int64_t k;
        std::string_view s = string_text(base);
        if (seq_length(idx) != 1 || !integer_to_int64(seq_elem(idx, 1), &k) || k < 1 ||
            uint64_t(k) > s.size())
            raise("invalid subscript %1 of a string", idx);
        return make_string(s.substr(size_t(k - 1), 1));
    }
    raise("cannot index into %1", base);
}

// ---------------------------------------------------------------------------
// Assignment
// ---------------------------------------------------------------------------

void assign_to(ALGEB target, ALGEB value);

void assign_indexed(ALGEB target, ALGEB value)
{
    ALGEB base_expr = op(target, 1);
    if (!is_name(base_expr) && type_of(base_expr) != T_LEXREF)
        raise("invalid left-hand side of an assignment: %1", target);
    ALGEB idx = eval_seq(op(target, 2));
    ALGEB base = is_name(base_expr) ? as_name(base_expr)->value : eval_lexref(base_expr);
    if (type_of(base_expr) == T_LEXREF && is_name(base))
        base = nullptr; // an unassigned local
    if (base == nullptr) {
        base = table_new();
        assign_to(base_expr, base);
    }
    if (is_table(base)) {
        table_put(base, idx, value);
    } else if (is_rtable(base)) {
        rtable::assign_index(base, idx, value);
    } else if (is_list(base)) {
        ALGEB elems = op(base, 1);
        size_t n = is_expseq(elems) ? nops(elems) : 1;
        int64_t k;
        if (seq_length(idx) != 1 || !integer_to_int64(seq_elem(idx, 1), &k))
            raise("invalid subscript %1 of a list", idx);
        if (k < 0)
            k += int64_t(n) + 1;
        if (k < 1 || uint64_t(k) > n)
            raise("index out of range: %1 of a list of %2 elements", idx, make_integer(intptr_t(n)));
        std::vector<ALGEB> v(n);
        for (size_t i = 0; i < n; ++i)
            v[i] = seq_elem(elems, i + 1);
        v[size_t(k - 1)] = value;
        assign_to(base_expr, make_list(v.data(), n));
    } else {
        raise("cannot assign to an element of %1", base);
    }
}

void assign_to(ALGEB target, ALGEB value)
{
    switch (type_of(target)) {
    case T_NAME: assign_global(target, value); break;
    case T_LEXREF: assign_lexref(target, value); break;
    case T_TABLEREF: assign_indexed(target, value); break;
    default: raise("invalid left-hand side of an assignment: %1", target);
    }
}

void exec_assign(ALGEB stmt)
{
    ALGEB lhs = op(stmt, 1);
    ALGEB value = eval(op(stmt, 2));
    if (is_expseq(lhs)) {
        size_t n = nops(lhs);
        if (seq_length(value) != n)
            raise("cannot assign %1 values to %2 names", make_integer(intptr_t(seq_length(value))),
                  make_integer(intptr_t(n)));
        for (size_t i = 1; i <= n; ++i)
            assign_to(op(lhs, i), seq_elem(value, i));
        return;
    }
    assign_to(lhs, value);
}

// ---------------------------------------------------------------------------
// Calls
// ---------------------------------------------------------------------------

struct FrameScope {
    ALGEB saved;
    long digits;
    explicit FrameScope(ALGEB f) : saved(g_frame), digits(g_digits) { g_frame = f; }
    ~FrameScope()
    {
        g_frame = saved;
        // "Digits" is an environment variable: a procedure's change of it ends
        // with the procedure.
        if (g_digits != digits) {
            g_digits = digits;
            as_name(g_digits_name)->value = make_integer(digits);
            talvo_float_set_digits(digits);
        }
    }
    FrameScope(const FrameScope &) = delete;
    FrameScope &operator=(const FrameScope &) = delete;
};

ALGEB call_closure(ALGEB closure, ALGEB args)
{
    check_stack();
    ALGEB p = op(closure, 1);
    size_t np = seq_length(op(p, 1)), nl = seq_length(op(p, 2));
    ALGEB frame = new_node(T_FRAME, kFrameFixed + np + nl);
    set_op(frame, 1, op(closure, 2));
    set_op(frame, 2, args);
    set_op(frame, 3, p);
    size_t na = is_expseq(args) ? nops(args) : 1;
    for (size_t i = 1; i <= np && i <= na; ++i)
        set_op(frame, kFrameFixed + i, seq_elem(args, i));
    FrameScope scope(frame);
    Exec x;
    exec(op(p, 3), x);
    if (x.flow == Flow::Break || x.flow == Flow::Next)
        raise_plain("break or next outside a loop");
    return x.value != nullptr ? x.value : null_seq();
}

ALGEB apply(ALGEB f, ALGEB args, ALGEB name_for_errors)
{
    try {
        switch (type_of(f)) {
        case T_CLOSURE: return call_closure(f, args);
        case T_BUILTIN: {
            check_stack();
            return reinterpret_cast<BuiltinObject *>(f)->fn(args);
        }
        case T_EXTERNAL: return call_external(f, args);
        default: break;
        }
    } catch (HostError &e) {
        // An error raised in a builtin marked transparent, or in a procedure
        // whose name begins with an underscore (a package's private helper),
        // is reported as raised in the caller.
        // A procedure called through a parameter or local has no callee
        // name here: it is reported by the global name it was first
        // assigned to, as it would be when called by that name.
        if (name_for_errors == nullptr && type_of(f) == T_CLOSURE)
            name_for_errors = op(f, 3);
        bool transparent = (type_of(f) == T_BUILTIN &&
                            (reinterpret_cast<BuiltinObject *>(f)->flags & BUILTIN_TRANSPARENT)) ||
                           (name_for_errors != nullptr && name_text(name_for_errors).starts_with("_"));
        if (e.where.empty() && name_for_errors != nullptr && !transparent)
            e.where = std::string(name_text(name_for_errors));
        throw;
    }
    raise("%1 is not a procedure", f);
}

ALGEB eval_call(ALGEB e)
{
    ALGEB head = op(e, 1);
    ALGEB f;
    ALGEB callee_name = nullptr;
    if (is_name(head)) {
        callee_name = head;
        f = eval_name(head);
        if (f == head) {
            if (ALGEB ext = resolve_external(head))
                f = ext;
            else if (is_missing_entry(head))
                raise_missing_entry(head); // a misspelt entry name, not a free function
        }
    } else {
        f = eval(head);
    }
    if (type_of(f) == T_BUILTIN && (reinterpret_cast<BuiltinObject *>(f)->flags & BUILTIN_HOLD)) {
        try {
            check_stack();
            return reinterpret_cast<BuiltinObject *>(f)->fn(op(e, 2));
        } catch (HostError &err) {
            if (err.where.empty())
                err.where = std::string(name_text(reinterpret_cast<BuiltinObject *>(f)->name));
            throw;
        }
    }
    ALGEB args = eval_seq(op(e, 2));
    if (!is_procedure(f)) {
        if (is_name(f) || type_of(f) == T_FUNCTION || type_of(f) == T_TABLEREF)
            return make_function(f, args); // an unevaluated call of a free function name
        raise("%1 is not a procedure", f);
    }
    return apply(f, args, callee_name);
}

// ---------------------------------------------------------------------------
// Expressions
// ---------------------------------------------------------------------------

ALGEB eval_seq(ALGEB seq)
{
    if (!is_expseq(seq))
        return eval(seq);
    size_t n = nops(seq);
    if (n == 0)
        return seq;
    std::vector<ALGEB> out;
    out.reserve(n);
    for (size_t i = 1; i <= n; ++i) {
        ALGEB v = eval(op(seq, i));
        if (is_expseq(v)) {
            for (size_t j = 1; j <= nops(v); ++j)
                out.push_back(op(v, j));
        } else {
            out.push_back(v);
        }
    }
    if (out.size() == 1)
        return out[0];
    return make_expseq(out.data(), out.size());
}

void eval_args_vector(ALGEB node, std::vector<ALGEB> &out)
{
    out.reserve(nops(node));
    for (size_t i = 1; i <= nops(node); ++i)
        out.push_back(eval(op(node, i)));
}

ALGEB eval_expr(ALGEB e)
{
    switch (type_of(e)) {
    case T_NAME: return eval_name(e);
    case T_LEXREF: return eval_lexref(e);
    case T_EXPSEQ: return eval_seq(e);
    case T_LIST: {
        ALGEB s = eval_seq(op(e, 1));
        if (s == op(e, 1))
            return e;
        return new_node(T_LIST, {s});
    }
    case T_RANGE:
    case T_EQUATION:
    case T_LESSTHAN:
    case T_LESSEQ:
    case T_NOTEQ: {
        ALGEB a = eval(op(e, 1)), b = eval(op(e, 2));
        return new_node(type_of(e), {a, b});
    }
    case T_SUM: {
        std::vector<ALGEB> terms;
        eval_args_vector(e, terms);
        return fold_sum(terms);
    }
    case T_PROD: {
        std::vector<ALGEB> factors;
        eval_args_vector(e, factors);
        return fold_product(factors);
    }
    case T_POWER: {
        ALGEB b = eval(op(e, 1));
        ALGEB x = eval(op(e, 2));
        return fold_power(b, x);
    }
    case T_AND:
    case T_OR:
    case T_NOT: return eval_logic(e);
    case T_FUNCTION: return eval_call(e);
    case T_TABLEREF: return eval_tableref(e);
    case T_PROC: return new_node(T_CLOSURE, {e, g_frame, nullptr});
    case T_UNEVAL: return op(e, 1);
    case T_FLOATLIT: {
        std::string text(string_text(op(e, 1)));
        ALGEB f = talvo_float_parse(text.c_str(), 0);
        if (f == nullptr)
            raise("malformed float %1", op(e, 1));
        return f;
    }
    case T_STATSEQ:
    case T_ASSIGN:
    case T_IF:
    case T_FOR:
    case T_RETURN:
    case T_ERROR:
    case T_BREAK:
    case T_NEXT:
    case T_TRY: {
        Exec x;
        exec(e, x);
        if (x.flow != Flow::Normal && x.flow != Flow::Return)
            raise_plain("break or next outside a loop");
        return x.value != nullptr ? x.value : null_seq();
    }
    default: return e; // numbers, strings, tables, closures, ... are values
    }
}

// ---------------------------------------------------------------------------
// Statements
// ---------------------------------------------------------------------------

void exec_for(ALGEB s, Exec &x)
{
    ALGEB var = op(s, 1), from = op(s, 2), by = op(s, 3), to = op(s, 4), cond = op(s, 5),
          body = op(s, 6), in = op(s, 7);
    auto run_body = [&]() -> bool { // false: leave the loop
        exec(body, x);
        if (x.flow == Flow::Break) {
            x.flow = Flow::Normal;
            return false;
        }
        if (x.flow == Flow::Return)
            return false;
        x.flow = Flow::Normal;
        return true;
    };
    if (in != nullptr) {
        ALGEB c = eval(in);
        ALGEB elems;
        if (is_list(c))
            elems = op(c, 1);
        else if (is_expseq(c))
            elems = c;
        else if (is_rtable(c)) {
            std::vector<ALGEB> v;
            M_INT nd = rtable::num_dimensions(c);
            if (nd != 1)
                raise("can only loop over a one-dimensional Array, got %1", c);
            for (M_INT i = rtable::lower_bound(c, 1); i <= rtable::upper_bound(c, 1); ++i)
                v.push_back(rtable::element_value(c, &i));
            elems = make_expseq(v.data(), v.size());
        } else
            elems = c;
        size_t n = is_expseq(elems) ? nops(elems) : 1;
        for (size_t i = 1; i <= n; ++i) {
            if (var != nullptr)
                assign_to(var, seq_elem(elems, i));
            if (cond != nullptr && !truth(cond))
                break;
            if (!run_body())
                break;
        }
        return;
    }
    ALGEB k = from != nullptr ? eval(from) : make_integer(1);
    ALGEB step = by != nullptr ? eval(by) : make_integer(1);
    ALGEB limit = to != nullptr ? eval(to) : nullptr;
    if (!is_real_numeric(k) || !is_real_numeric(step) || (limit != nullptr && !is_real_numeric(limit)))
        raise("loop bounds must be numbers: %1", limit == nullptr ? k : make_range(k, limit));
    int dir = num::sign(step);
    if (dir == 0 && limit != nullptr)
        raise_plain("loop step must not be zero");
    // The variable takes each value before it is tested, so a loop that runs
    // to its end leaves it at the first value past the bound (a loop from 1
    // to 400 leaves 401), as a loop left by `while` or `break` leaves it at
    // the value that ended it.
    for (;;) {
        if (var != nullptr)
            assign_to(var, k);
        if (limit != nullptr) {
            int c = num::compare(k, limit);
            if (c == num::kUnordered || (dir > 0 && c > 0) || (dir < 0 && c < 0))
                break;
        }
        if (cond != nullptr && !truth(cond))
            break;
        if (!run_body())
            break;
        k = num::add(k, step);
    }
}

void exec(ALGEB s, Exec &x)
{
    count_step();
    check_stack();
    switch (type_of(s)) {
    case T_STATSEQ: {
        size_t n = nops(s);
        x.value = nullptr;
        for (size_t i = 1; i <= n; ++i) {
            exec(op(s, i), x);
            if (x.flow != Flow::Normal)
                return;
        }
        return;
    }
    case T_ASSIGN:
        exec_assign(s);
        x.value = nullptr;
        return;
    case T_IF: {
        size_t n = nops(s), i = 1;
        for (; i + 1 <= n; i += 2) {
            if (truth(op(s, i))) {
                exec(op(s, i + 1), x);
                return;
            }
        }
        if (i == n)
            exec(op(s, n), x);
        else
            x.value = nullptr;
        return;
    }
    case T_FOR:
        exec_for(s, x);
        if (x.flow == Flow::Normal)
            x.value = nullptr;
        return;
    case T_RETURN:
        x.value = eval_seq(op(s, 1));
        x.flow = Flow::Return;
        return;
    case T_BREAK:
        x.flow = Flow::Break;
        return;
    case T_NEXT:
        x.flow = Flow::Next;
        return;
    case T_ERROR: {
        ALGEB a = eval_seq(op(s, 1));
        error_from_arguments(a);
    }
    case T_TRY: {
        try {
            exec(op(s, 1), x);
        } catch (HostError &e) {
            if (e.interrupt)
                throw; // the user's interrupt stops the statement, whatever traps it
            remember_error(e);
            if (e.memory)
                gc_statement_start(); // the failed work is garbage now
            x = Exec{};
            exec(op(s, 2), x);
        }
        return;
    }
    default:
        x.value = eval(s);
        return;
    }
}

ALGEB host_to_float(ALGEB x)
{
    ALGEB v = evalf(x, 0);
    if (!is_float(v))
        raise("cannot convert %1 to a float", x);
    return v;
}

} // namespace

// ---------------------------------------------------------------------------
// Public interface
// ---------------------------------------------------------------------------

ALGEB eval(ALGEB e)
{
    count_step();
    if (e == nullptr || is_immediate(e))
        return e;
    check_stack();
    return eval_expr(e);
}

ALGEB call(ALGEB f, ALGEB args) { return apply(f, args, nullptr); }

ALGEB call_by_name(std::string_view name, ALGEB args)
{
    ALGEB n = intern(name);
    ALGEB f = eval_name(n);
    if (f == n)
        f = resolve_external(n);
    if (f == nullptr || !is_procedure(f))
        raise("%1 is not a procedure", n);
    return apply(f, args, n);
}

bool is_true(ALGEB cond) { return truth(cond); }

ALGEB decide_relation(ALGEB v) { return decide(v); }

ALGEB fold(Type t, const std::vector<ALGEB> &operands)
{
    switch (t) {
    case T_SUM: return fold_sum(operands);
    case T_PROD: return fold_product(operands);
    case T_POWER: return fold_power(operands.at(0), operands.at(1));
    default: raise_plain("internal error: fold of an operator that is not arithmetic");
    }
}

void assign(ALGEB target, ALGEB value) { assign_to(target, value); }

void define_builtin(std::string_view name, BuiltinFn fn, uintptr_t flags)
{
    ALGEB n = intern(name);
    as_name(n)->builtin = make_builtin(n, fn, flags);
    as_name(n)->flags |= NAME_PROTECTED;
}

void assign_global(ALGEB name, ALGEB value)
{
    NameObject *nm = as_name(name);
    if (nm->flags & NAME_PROTECTED)
        raise("attempting to assign to %1 which is protected", name);
    if (name == g_digits_name) {
        int64_t d;
        if (!integer_to_int64(value, &d) || d < 1 || d > TALVO_FLOAT_MAX_DIGITS)
            raise("Digits must be a positive integer no larger than %1, got %2",
                  make_integer(TALVO_FLOAT_MAX_DIGITS), value);
        g_digits = long(d);
        talvo_float_set_digits(long(d));
    }
    // A procedure remembers the first global name it is assigned to, for
    // the errors raised in it (apply).
    if (value != nullptr && !is_immediate(value) && type_of(value) == T_CLOSURE && op(value, 3) == nullptr)
        set_op(value, 3, name);
    nm->value = value;
}

void unassign_global(ALGEB name)
{
    NameObject *nm = as_name(name);
    if ((nm->flags & NAME_PROTECTED) || name == g_digits_name)
        raise("attempting to unassign %1 which is protected", name);
    nm->value = nullptr;
}

ALGEB global_value(ALGEB name) { return as_name(name)->value; }

void remember_error(const HostError &e) { assign_global(intern("lasterror"), make_string(describe(e))); }

long current_digits() { return g_digits; }

void set_digits(long digits) { assign_global(g_digits_name, make_integer(digits)); }

ALGEB procedure_arguments()
{
    if (g_frame == nullptr)
        raise_plain("args is only defined inside a procedure");
    return op(g_frame, 2);
}

void init_evaluator()
{
    init_stack_guard();
    g_digits_name = intern("Digits");
    g_args_name = intern("args");
    g_nargs_name = intern("nargs");
    as_name(g_digits_name)->flags |= NAME_ENVIRONMENT;
    as_name(g_digits_name)->value = make_integer(10);
    g_digits = 10;
    talvo_float_set_digits(10);
    // Floats take memory from the float library's own batch cache on the same
    // collector (no per-object zero fill), which keeps float arithmetic cheap.
    static const TalvoFloatHost host = {nullptr, host_to_float, evalf_function, refuse_allocation};
    talvo_float_bind_host(&host);
}

void reset_stack_guard() { init_stack_guard(); }

void set_step_budget(uint64_t steps)
{
    g_step_budget = steps;
    g_steps = 0;
}

uint64_t steps_taken() { return g_steps; }

} // namespace talvo
