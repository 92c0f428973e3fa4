// print.cpp -- printed forms of host values and statements.
//
// Every form reads back in through the parser: operators are parenthesised by
// precedence, names that are not plain identifiers are backquoted, strings are
// escaped, and a procedure prints with its parameter and local names (lexical
// references are printed through the stack of procedures being printed).
#include "print.hpp"

#include "numeric.hpp"
#include "rtable.hpp"
#include "talvo_float.hpp"

#include <vector>

namespace talvo {

namespace {

// Binding strength of each printed form; an operand binding looser than its
// context is parenthesised.
enum Prec : int {
    P_SEQ = 0,
    P_ARROW = 1,
    P_OR = 2,
    P_AND = 3,
    P_NOT = 4,
    P_REL = 5,
    P_RANGE = 6,
    P_SUM = 7,
    P_PROD = 8,
    P_NEG = 8,
    P_POWER = 10,
    P_ATOM = 11,
};

bool plain_identifier(std::string_view s)
{
    if (s.empty())
        return false;
    auto alpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; };
    if (!alpha(s[0]))
        return false;
    for (char c : s)
        if (!alpha(c) && !(c >= '0' && c <= '9'))
            return false;
    static const char *const keywords[] = {"proc", "local", "global", "end", "if", "then", "elif",
                                           "else", "fi", "for", "from", "by", "to", "while", "do",
                                           "od", "in", "break", "next", "return", "error", "try",
                                           "catch", "finally", "and", "or", "not"};
    for (const char *k : keywords)
        if (s == k)
            return false;
    return true;
}

class Printer {
public:
    std::string out;

    void value(ALGEB a, int ctx = P_SEQ);
    void statements(ALGEB seq, int indent);

private:
    std::vector<ALGEB> procs_; // procedures being printed, innermost last

    void paren_if(bool p, ALGEB a, int prec)
    {
        if (p)
            out += '(';
        value(a, p ? P_SEQ : prec);
        if (p)
            out += ')';
    }
    void seq(ALGEB s, const char *sep = ", ")
    {
        size_t n = seq_length(s);
        if (is_expseq(s) && n == 0)
            return;
        for (size_t i = 1; i <= n; ++i) {
            if (i > 1)
                out += sep;
            value(seq_elem(s, i), P_ARROW);
        }
    }
    int precedence(ALGEB a);
    void number(ALGEB a);
    void sum(ALGEB a);
    void product(ALGEB a, bool negate_first);
    void procedure(ALGEB p);
    void statement(ALGEB s, int indent);
    void lexref(ALGEB r);
    void binary(ALGEB a, const char *opname, int prec, int ctx);
};

// A float prints with the decimal digits its precision was made for, so a
// value computed by evalf(x, 30) shows 30 digits whatever "Digits" is now.
long float_digits(ALGEB f)
{
    mpfr_prec_t prec = mpfr_get_prec(talvo_float_value(f));
    long d = long((double(prec) - 4.0) / 3.3219280948873623);
    while (d > 1 && talvo_float_precision_bits(d) > prec)
        --d;
    while (talvo_float_precision_bits(d + 1) <= prec)
        ++d;
    return d < 1 ? 1 : d;
}

bool negative_number(ALGEB a)
{
    if (is_real_numeric(a))
        return is_float(a) ? mpfr_signbit(talvo_float_value(a)) != 0 : num::sign(a) < 0;
    return false;
}

// The magnitude of a negative real number for printing after a minus sign; a
// float keeps its own precision (no re-rounding to the current "Digits").
ALGEB magnitude(ALGEB x)
{
    if (!is_float(x))
        return num::neg(x);
    ALGEB m = talvo_float_new(mpfr_get_prec(talvo_float_value(x)));
    mpfr_neg(talvo_float_mpfr(m), talvo_float_value(x), MPFR_RNDN);
    return m;
}

// A product printed with a leading minus: (-1)*x*..., or a negative numeric first factor.
bool negative_term(ALGEB a)
{
    if (type_of(a) == T_PROD && nops(a) >= 1)
        return negative_number(op(a, 1));
    return negative_number(a);
}

int Printer::precedence(ALGEB a)
{
    switch (type_of(a)) {
    case T_IMMEDIATE:
        return is_immediate(a) && immediate_value(a) < 0 ? P_NEG : P_ATOM;
    case T_BIGINT:
        return num::sign(a) < 0 ? P_NEG : P_ATOM;
    case T_RATIONAL: return P_PROD;
    case T_FLOAT: return negative_number(a) ? P_NEG : P_ATOM;
    case T_FLOATLIT: return string_text(op(a, 1)).starts_with("-") ? P_NEG : P_ATOM;
    case T_COMPLEX: return P_SUM;
    case T_EXPSEQ: return nops(a) == 1 ? precedence(op(a, 1)) : P_SEQ;
    case T_RANGE: return P_RANGE;
    case T_EQUATION:
    case T_LESSTHAN:
    case T_LESSEQ:
    case T_NOTEQ: return P_REL;
    case T_SUM: return P_SUM;
    case T_PROD: return negative_term(a) ? P_NEG : P_PROD;
    case T_POWER: return P_POWER;
    case T_AND: return P_AND;
    case T_OR: return P_OR;
    case T_NOT: return P_NOT;
    case T_PROC: return (op(a, 4) == make_immediate(1)) ? P_ARROW : P_ATOM;
    case T_CLOSURE: return precedence(op(a, 1));
    default: return P_ATOM;
    }
}

void Printer::number(ALGEB a)
{
    if (is_integer(a)) {
        out += num::integer_to_string(a);
    } else if (is_rational(a)) {
        out += num::integer_to_string(op(a, 1));
        out += '/';
        out += num::integer_to_string(op(a, 2));
    } else if (is_float(a)) {
        out += talvo_float_to_string(a, float_digits(a));
    } else { // complex
        ALGEB re = op(a, 1), im = op(a, 2);
        bool has_re = !num::is_exact_zero(re);
        if (has_re)
            value(re, P_SUM);
        bool neg = negative_number(im);
        ALGEB mag = neg ? magnitude(im) : im;
        if (neg)
            out += '-';
        else if (has_re)
            out += '+';
        if (mag == make_immediate(1)) {
            out += 'I';
        } else {
            number(mag);
            out += "*I";
        }
    }
}

void Printer::sum(ALGEB a)
{
    for (size_t i = 1; i <= nops(a); ++i) {
        ALGEB t = op(a, i);
        if (i > 1) {
            if (negative_term(t)) {
                out += " - ";
                if (type_of(t) == T_PROD)
                    product(t, true);
                else
                    value(magnitude(t), P_PROD);
                continue;
            }
            out += " + ";
        }
        value(t, i == 1 ? P_SUM : P_SUM + 1);
    }
}

// A product; negate_first prints it without its leading minus sign.
void Printer::product(ALGEB a, bool negate_first)
{
    size_t n = nops(a);
    size_t start = 1;
    bool first = true;
    if (n >= 1 && negative_number(op(a, 1))) {
        ALGEB c = op(a, 1);
        if (!negate_first)
            out += '-';
        if (c != make_immediate(-1) || n == 1) {
            value(magnitude(c), P_PROD);
            first = false;
        }
        start = 2;
    }
    for (size_t i = start; i <= n; ++i) {
        ALGEB f = op(a, i);
        bool reciprocal = type_of(f) == T_POWER && op(f, 2) == make_immediate(-1);
        if (reciprocal) {
            if (first)
                out += '1';
            out += '/';
            value(op(f, 1), P_POWER);
        } else {
            if (!first)
                out += '*';
            value(f, P_PROD + 1);
        }
        first = false;
    }
}

void Printer::binary(ALGEB a, const char *opname, int prec, int ctx)
{
    bool p = prec < ctx;
    if (p)
        out += '(';
    value(op(a, 1), prec + 1);
    out += opname;
    value(op(a, 2), prec + 1);
    if (p)
        out += ')';
}

void Printer::lexref(ALGEB r)
{
    size_t depth = size_t(immediate_value(op(r, 1)));
    size_t index = size_t(immediate_value(op(r, 2)));
    if (depth < procs_.size()) {
        ALGEB p = procs_[procs_.size() - 1 - depth];
        size_t np = seq_length(op(p, 1));
        ALGEB names = index <= np ? op(p, 1) : op(p, 2);
        size_t k = index <= np ? index : index - np;
        if (k >= 1 && k <= seq_length(names)) {
            value(seq_elem(names, k), P_ATOM);
            return;
        }
    }
    out += "`<variable " + std::to_string(depth) + ":" + std::to_string(index) + ">`";
}

void Printer::procedure(ALGEB p)
{
    procs_.push_back(p);
    ALGEB params = op(p, 1), locals = op(p, 2), body = op(p, 3);
    bool arrow = op(p, 4) == make_immediate(1);
    if (arrow && nops(body) == 1) {
        size_t np = seq_length(params);
        if (np == 1) {
            value(seq_elem(params, 1), P_ATOM);
        } else {
            out += '(';
            seq(params);
            out += ')';
        }
        out += " -> ";
        value(op(body, 1), P_ARROW);
    } else {
        out += "proc(";
        seq(params);
        out += ")";
        if (seq_length(locals) > 0) {
            out += " local ";
            seq(locals);
            out += ";";
        }
        out += ' ';
        statements(body, -1);
        out += " end proc";
    }
    procs_.pop_back();
}

// Statements of a body; indent < 0 prints them on one line.
void Printer::statements(ALGEB s, int indent)
{
    size_t n = nops(s);
    for (size_t i = 1; i <= n; ++i) {
        if (i > 1)
            out += ' ';
        statement(op(s, i), indent);
        if (i < n)
            out += ';';
    }
}

void Printer::statement(ALGEB s, int indent)
{
    switch (type_of(s)) {
    case T_STATSEQ:
        statements(s, indent);
        break;
    case T_ASSIGN:
        value(op(s, 1), P_ARROW);
        out += " := ";
        value(op(s, 2), P_SEQ);
        break;
    case T_IF: {
        size_t n = nops(s);
        size_t i = 1;
        for (; i + 1 <= n; i += 2) {
            out += i == 1 ? "if " : " elif ";
            value(op(s, i));
            out += " then ";
            statements(op(s, i + 1), indent);
        }
        if (i == n) {
            out += " else ";
            statements(op(s, n), indent);
        }
        out += " end if";
        break;
    }
    case T_FOR: {
        const char *kw[] = {"", " from ", " by ", " to ", " while "};
        bool any = false;
        if (op(s, 1) != nullptr) {
            out += "for ";
            value(op(s, 1), P_ATOM);
            any = true;
        }
        if (op(s, 7) != nullptr) {
            out += " in ";
            value(op(s, 7));
        }
        for (size_t k = 2; k <= 5; ++k) {
            if (op(s, k) == nullptr)
                continue;
            out += any ? kw[k - 1] : kw[k - 1] + 1;
            value(op(s, k));
            any = true;
        }
        out += any ? " do " : "do ";
        statements(op(s, 6), indent);
        out += " end do";
        break;
    }
    case T_RETURN:
        out += "return";
        if (seq_length(op(s, 1)) > 0 && !(is_expseq(op(s, 1)) && nops(op(s, 1)) == 0)) {
            out += ' ';
            seq(op(s, 1));
        }
        break;
    case T_ERROR:
        out += "error ";
        seq(op(s, 1));
        break;
    case T_BREAK: out += "break"; break;
    case T_NEXT: out += "next"; break;
    case T_TRY:
        out += "try ";
        statements(op(s, 1), indent);
        out += " catch: ";
        statements(op(s, 2), indent);
        out += " end try";
        break;
    default:
        value(s, P_SEQ);
    }
}

void Printer::value(ALGEB a, int ctx)
{
    if (a == nullptr) {
        out += "NULL";
        return;
    }
    Type t = type_of(a);
    int prec = precedence(a);
    bool p = prec < ctx && t != T_EXPSEQ;
    if (p) {
        out += '(';
        ctx = P_SEQ;
    }
    switch (t) {
    case T_IMMEDIATE:
    case T_BIGINT:
    case T_RATIONAL:
    case T_FLOAT:
    case T_COMPLEX:
        number(a);
        break;
    case T_NAME: {
        std::string_view s = name_text(a);
        if (plain_identifier(s)) {
            out += s;
        } else {
            out += '`';
            for (char c : s) {
                if (c == '`')
                    out += '`';
                out += c;
            }
            out += '`';
        }
        break;
    }
    case T_STRING:
        out += '"';
        for (char c : string_text(a)) {
            switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\t': out += "\\t"; break;
            default: out += c;
            }
        }
        out += '"';
        break;
    case T_EXPSEQ:
        if (nops(a) == 0) {
            if (ctx > P_SEQ)
                out += "NULL";
        } else if (ctx > P_SEQ && nops(a) > 1) {
            out += '(';
            seq(a);
            out += ')';
        } else {
            seq(a);
        }
        break;
    case T_LIST:
        out += '[';
        seq(op(a, 1));
        out += ']';
        break;
    case T_RANGE: binary(a, " .. ", P_RANGE, ctx); break;
    case T_EQUATION: binary(a, " = ", P_REL, ctx); break;
    case T_LESSTHAN: binary(a, " < ", P_REL, ctx); break;
    case T_LESSEQ: binary(a, " <= ", P_REL, ctx); break;
    case T_NOTEQ: binary(a, " <> ", P_REL, ctx); break;
    case T_AND: binary(a, " and ", P_AND, ctx); break;
    case T_OR: binary(a, " or ", P_OR, ctx); break;
    case T_NOT:
        out += "not ";
        value(op(a, 1), P_NOT);
        break;
    case T_SUM: sum(a); break;
    case T_PROD: product(a, false); break;
    case T_POWER:
        value(op(a, 1), P_POWER + 1);
        out += '^';
        value(op(a, 2), P_POWER + 1);
        break;
    case T_FUNCTION:
        value(op(a, 1), P_ATOM);
        out += '(';
        seq(op(a, 2));
        out += ')';
        break;
    case T_TABLEREF:
        value(op(a, 1), P_ATOM);
        out += '[';
        seq(op(a, 2));
        out += ']';
        break;
    case T_TABLE: {
        out += "table([";
        bool first = true;
        table_each(a, [&](ALGEB k, ALGEB v) {
            if (!first)
                out += ", ";
            first = false;
            value(k, P_REL + 1);
            out += " = ";
            value(v, P_REL + 1);
        });
        out += "])";
        break;
    }
    case T_RTABLE: out += rtable::print(a); break;
    case T_PROC: procedure(a); break;
    case T_CLOSURE: procedure(op(a, 1)); break;
    case T_BUILTIN: value(reinterpret_cast<BuiltinObject *>(a)->name, P_ATOM); break;
    case T_EXTERNAL: value(reinterpret_cast<ExternalObject *>(a)->name, P_ATOM); break;
    case T_BOOLEAN: out += a == true_value() ? "true" : "false"; break;
    case T_LEXREF: lexref(a); break;
    case T_UNEVAL:
        out += '\'';
        value(op(a, 1), P_SEQ);
        out += '\'';
        break;
    case T_FRAME: out += "`<frame>`"; break;
    case T_FLOATLIT: out += string_text(op(a, 1)); break;
    default:
        statement(a, -1);
        break;
    }
    if (p)
        out += ')';
}

} // namespace

std::string print(ALGEB a)
{
    Printer p;
    p.value(a, P_SEQ);
    return std::move(p.out);
}

} // namespace talvo
