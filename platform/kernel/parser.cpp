// parser.cpp -- reading the host language into expression and statement nodes.
//
// A recursive-descent parser for statements and a precedence-climbing parser
// for expressions, over the tokens of lexer.hpp.  Binding strength, loosest
// first:
//
//   ,            expression sequence (only where a sequence may stand)
//   ->           arrow procedure (its body takes no top-level comma)
//   or, and, not
//   = <> < <= > >=     non-associative
//   ..                 non-associative
//   + -                flattened into one sum; unary minus negates a product
//   * /                flattened into one product
//   ^                  right-associative
//   f(...) A[...]      calls and indexing, chained
//
// Names that are parameters or locals of an enclosing procedure become
// T_LEXREF(depth, index) while parsing, so the evaluator never looks them up
// by name.
//
// Partially built nodes are kept in C++ locals and std::vectors; both are
// scanned by the collector (the process-wide operator new allocates scanned
// memory), so nothing here needs explicit protection.
#include "parse.hpp"

#include "errors.hpp"
#include "lexer.hpp"
#include "numeric.hpp"

#include <algorithm>
#include <charconv>
#include <deque>
#include <vector>

namespace talvo {

using lex::Tok;
using lex::Token;

namespace {

// Nesting deeper than this (brackets, operands of right-associative or unary
// operators, nested blocks) is refused rather than risking the C stack.
constexpr int kMaxDepth = 1000;

// Binding strengths of the binary operators.
enum Prec : int {
    P_NONE = -1,
    P_OR = 1,
    P_AND = 2,
    P_NOT = 3,
    P_REL = 4,
    P_RANGE = 5,
    P_SUM = 6,
    P_PROD = 7,
    P_POW = 8,
};

int binary_prec(Tok k)
{
    switch (k) {
    case Tok::KwOr: return P_OR;
    case Tok::KwAnd: return P_AND;
    case Tok::Equal:
    case Tok::NotEqual:
    case Tok::Less:
    case Tok::LessEqual:
    case Tok::Greater:
    case Tok::GreaterEqual: return P_REL;
    case Tok::DotDot: return P_RANGE;
    case Tok::Plus:
    case Tok::Minus: return P_SUM;
    case Tok::Star:
    case Tok::Slash: return P_PROD;
    case Tok::Caret: return P_POW;
    default: return P_NONE;
    }
}

// Tokens that end a statement sequence (the body of a block).
bool ends_body(Tok k)
{
    switch (k) {
    case Tok::End:
    case Tok::KwEnd:
    case Tok::KwFi:
    case Tok::KwOd:
    case Tok::KwElif:
    case Tok::KwElse:
    case Tok::KwCatch:
    case Tok::KwFinally: return true;
    default: return false;
    }
}

bool ends_statement(Tok k) { return k == Tok::Semicolon || k == Tok::Colon || ends_body(k); }

ALGEB node_of(Type t, const std::vector<ALGEB> &ops)
{
    if (t == T_EXPSEQ)
        return make_expseq(ops.data(), ops.size());
    ALGEB n = new_node(t, ops.size());
    for (size_t i = 0; i < ops.size(); ++i)
        set_op(n, i + 1, ops[i]);
    return n;
}

// A value as an expression sequence: call arguments, list elements and the
// operands of return and error are always sequences.
ALGEB as_seq(ALGEB v) { return is_expseq(v) ? v : make_expseq(&v, 1); }

// Sequences flatten: a parenthesised sequence inside a sequence contributes
// its elements.
void push_flat(std::vector<ALGEB> &items, ALGEB v)
{
    if (is_expseq(v)) {
        for (size_t i = 1; i <= nops(v); ++i)
            items.push_back(op(v, i));
    } else {
        items.push_back(v);
    }
}

ALGEB names_seq(const std::vector<std::string> &names)
{
    std::vector<ALGEB> items;
    items.reserve(names.size());
    for (const std::string &n : names)
        items.push_back(intern(n));
    return make_expseq(items.data(), items.size());
}

ALGEB integer_literal(const std::string &digits)
{
    intptr_t v = 0;
    auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), v);
    if (ec == std::errc() && end == digits.data() + digits.size())
        return make_integer(v);
    return num::parse_integer(digits);
}

// -e for a subtracted term: (-1)*e, merging into a product and cancelling a
// leading -1 (so - -x is x).
ALGEB minus_term(ALGEB e)
{
    const ALGEB minus_one = make_immediate(-1);
    if (type_of(e) == T_PROD && nops(e) >= 1) {
        std::vector<ALGEB> f;
        if (op(e, 1) == minus_one) {
            for (size_t i = 2; i <= nops(e); ++i)
                f.push_back(op(e, i));
            return f.size() == 1 ? f[0] : node_of(T_PROD, f);
        }
        f.push_back(minus_one);
        for (size_t i = 1; i <= nops(e); ++i)
            f.push_back(op(e, i));
        return node_of(T_PROD, f);
    }
    return new_node(T_PROD, {minus_one, e});
}

// Unary minus: literal numbers fold into negative literals.
ALGEB negate(ALGEB e)
{
    if (is_immediate(e))
        return make_integer(-immediate_value(e));
    if (type_of(e) == T_BIGINT)
        return num::neg(e);
    if (type_of(e) == T_FLOATLIT) {
        std::string_view text = string_text(op(e, 1));
        std::string neg = text.starts_with("-") ? std::string(text.substr(1)) : std::string("-").append(text);
        return new_node(T_FLOATLIT, {make_string(neg)});
    }
    return minus_term(e);
}

bool assignable(ALGEB e)
{
    switch (type_of(e)) {
    case T_NAME:
    case T_LEXREF: return true;
    case T_TABLEREF: {
        Type b = type_of(op(e, 1));
        return b == T_NAME || b == T_LEXREF || b == T_TABLEREF;
    }
    default: return false;
    }
}

bool valid_lhs(ALGEB e)
{
    if (!is_expseq(e))
        return assignable(e);
    if (nops(e) == 0)
        return false;
    for (size_t i = 1; i <= nops(e); ++i)
        if (!assignable(op(e, i)))
            return false;
    return true;
}

// The variables of one procedure being parsed: parameters then locals (their
// positions are the lexical reference indices), and names declared global.
struct Scope {
    std::vector<std::string> vars;
    std::vector<std::string> globals;
};

bool contains(const std::vector<std::string> &v, const std::string &s)
{
    return std::find(v.begin(), v.end(), s) != v.end();
}

} // namespace

struct Parser::Impl {
    // The parser keeps its own copy of the text, so a caller may hand it a
    // temporary.
    explicit Impl(std::string_view text) : source(text), lexer(source) {}

    std::string source;
    lex::Lexer lexer;
    std::deque<Token> ahead; // lookahead buffer
    std::vector<Scope> scopes;
    int depth = 0;
    bool failed = false;

    // ---- tokens ----------------------------------------------------------

    const Token &peek(size_t k = 0)
    {
        while (ahead.size() <= k)
            ahead.push_back(lexer.next());
        return ahead[k];
    }
    bool at(Tok k) { return peek().kind == k; }
    Token take()
    {
        peek();
        Token t = std::move(ahead.front());
        ahead.pop_front();
        return t;
    }
    bool accept(Tok k)
    {
        if (!at(k))
            return false;
        take();
        return true;
    }

    // An error at a token; a malformed token reports its own message.
    [[noreturn]] void fail(const Token &t, std::string_view what)
    {
        if (t.kind == Tok::Error)
            lex::syntax_error(t.line, t.column, t.text);
        lex::syntax_error(t.line, t.column, what);
    }
    [[noreturn]] void unexpected(const Token &t) { fail(t, std::string("unexpected ") + lex::describe(t)); }

    void expect(Tok k)
    {
        const Token &t = peek();
        if (t.kind == k) {
            take();
            return;
        }
        if (t.kind == Tok::End)
            fail(t, std::string("missing '") + lex::spelling(k) + "'");
        unexpected(t);
    }

    struct DepthGuard {
        Impl &p;
        DepthGuard(Impl &impl) : p(impl)
        {
            if (p.depth >= kMaxDepth)
                p.fail(p.peek(), "nesting too deep");
            ++p.depth;
        }
        ~DepthGuard() { --p.depth; }
        DepthGuard(const DepthGuard &) = delete;
        DepthGuard &operator=(const DepthGuard &) = delete;
    };

    struct ScopeGuard {
        Impl &p;
        ScopeGuard(Impl &impl, Scope s) : p(impl) { p.scopes.push_back(std::move(s)); }
        ~ScopeGuard() { p.scopes.pop_back(); }
        ScopeGuard(const ScopeGuard &) = delete;
        ScopeGuard &operator=(const ScopeGuard &) = delete;
    };

    // ---- names -----------------------------------------------------------

    ALGEB resolve(const std::string &name)
    {
        size_t n = scopes.size();
        for (size_t d = 0; d < n; ++d) {
            const Scope &s = scopes[n - 1 - d];
            if (contains(s.globals, name))
                break;
            auto it = std::find(s.vars.begin(), s.vars.end(), name);
            if (it != s.vars.end())
                return make_lexref(d, static_cast<size_t>(it - s.vars.begin()) + 1);
        }
        return intern(name);
    }

    // A name being declared (parameter, local, global), refused when the
    // same procedure already declares it.
    std::string declared_name(const Scope &s)
    {
        const Token &t = peek();
        if (t.kind != Tok::Name)
            unexpected(t);
        if (contains(s.vars, t.text) || contains(s.globals, t.text))
            fail(t, std::string("duplicate declaration of '") + t.text + "'");
        return take().text;
    }

    // ---- expressions -----------------------------------------------------

    // a, b, ...: the single value when there is one, NULL when parenthesised
    // sequences contributed nothing.
    ALGEB parse_sequence()
    {
        std::vector<ALGEB> items;
        push_flat(items, parse_expr());
        while (accept(Tok::Comma))
            push_flat(items, parse_expr());
        if (items.size() == 1)
            return items[0];
        return make_expseq(items.data(), items.size());
    }

    ALGEB parse_expr() { return parse_binary(P_OR); }

    // Operators binding at least as tightly as `min`.  The operators
    // themselves are built in binary_operator, keeping this frame (which
    // recurs once per nesting level) small.
    ALGEB parse_binary(int min)
    {
        DepthGuard guard(*this);
        ALGEB left = parse_unary(min);
        bool had_relation = false, had_range = false;
        for (;;) {
            int p = binary_prec(peek().kind);
            if (p == P_NONE || p < min)
                break;
            // relations and ranges do not chain: a < b < c, 1..2..3
            if ((p == P_REL && had_relation) || (p == P_RANGE && had_range))
                unexpected(peek());
            had_relation = had_relation || p == P_REL;
            had_range = had_range || p == P_RANGE;
            left = binary_operator(left, p);
        }
        return left;
    }

    // `left` followed by an operator of strength p: the operation, with the
    // whole run of a flattened sum or product.
    [[gnu::noinline]] ALGEB binary_operator(ALGEB left, int p)
    {
        switch (p) {
        case P_OR:
        case P_AND: {
            Type type = p == P_OR ? T_OR : T_AND;
            take();
            ALGEB right = parse_binary(p + 1);
            return new_node(type, {left, right});
        }
        case P_REL: {
            Tok k = take().kind;
            ALGEB right = parse_binary(P_REL + 1);
            switch (k) {
            case Tok::Equal: return make_equation(left, right);
            case Tok::NotEqual: return new_node(T_NOTEQ, {left, right});
            case Tok::Less: return new_node(T_LESSTHAN, {left, right});
            case Tok::LessEqual: return new_node(T_LESSEQ, {left, right});
            case Tok::Greater: return new_node(T_LESSTHAN, {right, left});
            default: return new_node(T_LESSEQ, {right, left}); // >=
            }
        }
        case P_RANGE: {
            take();
            ALGEB right = parse_binary(P_RANGE + 1);
            return make_range(left, right);
        }
        case P_SUM: {
            std::vector<ALGEB> terms{left};
            while (at(Tok::Plus) || at(Tok::Minus)) {
                bool minus = take().kind == Tok::Minus;
                ALGEB term = parse_binary(P_SUM + 1);
                terms.push_back(minus ? minus_term(term) : term);
            }
            return node_of(T_SUM, terms);
        }
        case P_PROD: {
            std::vector<ALGEB> factors{left};
            while (at(Tok::Star) || at(Tok::Slash)) {
                bool divide = take().kind == Tok::Slash;
                ALGEB factor = parse_binary(P_PROD + 1);
                factors.push_back(divide ? new_node(T_POWER, {factor, make_immediate(-1)}) : factor);
            }
            return node_of(T_PROD, factors);
        }
        default: { // P_POW, right-associative: a^b^c is a^(b^c)
            take();
            ALGEB exponent = parse_binary(P_POW);
            return new_node(T_POWER, {left, exponent});
        }
        }
    }

    // Prefix operators.  Unary minus takes a whole product (-x*y is -(x*y),
    // -2^2 is -(2^2)); where only a tighter operand may stand (after * or ^)
    // it takes just that operand.
    ALGEB parse_unary(int min)
    {
        const Token &t = peek();
        if (t.kind == Tok::Minus) {
            take();
            return negate(parse_binary(std::max(min, int(P_PROD))));
        }
        if (t.kind == Tok::Plus) {
            take();
            return parse_binary(std::max(min, int(P_PROD)));
        }
        if (t.kind == Tok::KwNot) {
            take();
            ALGEB operand = parse_binary(std::max(min, int(P_REL)));
            return new_node(T_NOT, {operand});
        }
        return parse_postfix();
    }

    // Calls and indexing after a primary, chained: f(1)(2), A[1][2].
    ALGEB parse_postfix()
    {
        ALGEB e = parse_primary();
        for (;;) {
            if (accept(Tok::LParen)) {
                ALGEB args = parse_bracketed(Tok::RParen);
                e = make_function(e, args);
            } else if (accept(Tok::LBracket)) {
                ALGEB index = parse_bracketed(Tok::RBracket);
                e = new_node(T_TABLEREF, {e, index});
            } else {
                return e;
            }
        }
    }

    // The sequence inside brackets whose opening one was just read.
    ALGEB parse_bracketed(Tok close)
    {
        if (accept(close))
            return null_seq();
        ALGEB s = parse_sequence();
        expect(close);
        return as_seq(s);
    }

    ALGEB parse_primary()
    {
        const Token &t = peek();
        switch (t.kind) {
        case Tok::Name: return parse_name();
        case Tok::Integer:
        case Tok::Float:
        case Tok::String: return parse_literal();
        case Tok::LParen: return parse_parenthesised();
        case Tok::LBracket: {
            take();
            ALGEB elems = parse_bracketed(Tok::RBracket);
            return new_node(T_LIST, {elems});
        }
        case Tok::Quote: {
            take();
            ALGEB e = parse_sequence();
            expect(Tok::Quote);
            return new_node(T_UNEVAL, {e});
        }
        case Tok::KwProc: return parse_proc();
        default: unexpected(t);
        }
    }

    // The primaries that cannot nest live outside parse_primary, whose frame
    // recurs once per nesting level.
    [[gnu::noinline]] ALGEB parse_name()
    {
        if (peek(1).kind == Tok::Arrow) { // x -> body
            std::vector<std::string> params{take().text};
            return parse_arrow(std::move(params));
        }
        return resolve(take().text);
    }

    [[gnu::noinline]] ALGEB parse_literal()
    {
        Token lit = take();
        if (lit.kind == Tok::Float)
            return new_node(T_FLOATLIT, {make_string(lit.text)});
        if (lit.kind == Tok::String)
            return make_string(lit.text);
        ALGEB v = integer_literal(lit.text);
        if (v == nullptr)
            fail(lit, std::string("malformed integer ") + lex::describe(lit));
        return v;
    }

    // ( sequence ), or the parameters of an arrow: (x, y) -> body.
    [[gnu::noinline]] ALGEB parse_parenthesised()
    {
        if (arrow_ahead())
            return parse_arrow_with_list();
        take();
        if (accept(Tok::RParen))
            return null_seq();
        ALGEB s = parse_sequence();
        expect(Tok::RParen);
        return s;
    }

    [[gnu::noinline]] ALGEB parse_arrow_with_list()
    {
        std::vector<std::string> params;
        take(); // (
        while (!accept(Tok::RParen)) {
            if (at(Tok::Name))
                params.push_back(peek().text);
            take();
        }
        return parse_arrow(std::move(params));
    }

    // Whether '(' starts the parameter list of an arrow: () -> or (x, y) ->.
    bool arrow_ahead()
    {
        size_t k = 1;
        if (peek(k).kind == Tok::RParen)
            return peek(k + 1).kind == Tok::Arrow;
        for (;;) {
            if (peek(k).kind != Tok::Name)
                return false;
            ++k;
            if (peek(k).kind == Tok::Comma) {
                ++k;
                continue;
            }
            return peek(k).kind == Tok::RParen && peek(k + 1).kind == Tok::Arrow;
        }
    }

    // params -> body; the '->' is the next token.
    ALGEB parse_arrow(std::vector<std::string> params)
    {
        const Token &arrow = peek();
        for (size_t i = 0; i < params.size(); ++i)
            for (size_t j = 0; j < i; ++j)
                if (params[i] == params[j])
                    fail(arrow, std::string("duplicate declaration of '") + params[i] + "'");
        take();
        ALGEB param_seq = names_seq(params);
        ALGEB body;
        {
            ScopeGuard scope(*this, Scope{std::move(params), {}});
            body = parse_expr();
        }
        ALGEB stats = new_node(T_STATSEQ, {body});
        return new_node(T_PROC, {param_seq, null_seq(), stats, make_immediate(1)});
    }

    // proc(params) local ...; global ...; statements end proc
    ALGEB parse_proc()
    {
        Token open = take();
        Scope scope;
        expect(Tok::LParen);
        if (!accept(Tok::RParen)) {
            for (;;) {
                scope.vars.push_back(declared_name(scope));
                if (accept(Tok::DoubleColon))
                    parse_expr(); // the type annotation is read and not kept
                if (accept(Tok::RParen))
                    break;
                expect(Tok::Comma);
            }
        }
        size_t nparams = scope.vars.size();
        if (accept(Tok::DoubleColon)) // the result type, likewise
            parse_expr();
        accept(Tok::Semicolon);

        for (;;) {
            bool is_local = at(Tok::KwLocal);
            if (!is_local && !at(Tok::KwGlobal))
                break;
            take();
            for (;;) {
                std::string name = declared_name(scope);
                (is_local ? scope.vars : scope.globals).push_back(std::move(name));
                if (accept(Tok::DoubleColon))
                    parse_expr();
                if (!accept(Tok::Comma))
                    break;
            }
            if (!accept(Tok::Semicolon) && !accept(Tok::Colon) && !ends_body(peek().kind))
                unexpected(peek());
        }

        std::vector<std::string> params(scope.vars.begin(), scope.vars.begin() + nparams);
        std::vector<std::string> locals(scope.vars.begin() + nparams, scope.vars.end());
        ALGEB param_seq = names_seq(params);
        ALGEB local_seq = names_seq(locals);
        ALGEB body;
        {
            ScopeGuard guard(*this, std::move(scope));
            body = parse_statseq();
        }
        close_block(Tok::KwProc, Tok::End);
        return new_node(T_PROC, {param_seq, local_seq, body, make_immediate(0)});
    }

    // ---- statements ------------------------------------------------------

    // Statements up to (not including) the word that ends the body.  A
    // terminator is optional before that word.
    ALGEB parse_statseq()
    {
        DepthGuard guard(*this);
        std::vector<ALGEB> stmts;
        for (;;) {
            while (accept(Tok::Semicolon) || accept(Tok::Colon)) {
            }
            if (ends_body(peek().kind))
                break;
            stmts.push_back(parse_statement());
            if (accept(Tok::Semicolon) || accept(Tok::Colon))
                continue;
            if (ends_body(peek().kind))
                break;
            unexpected(peek());
        }
        return node_of(T_STATSEQ, stmts);
    }

    // The end of a block opened by `opener`: `end`, `end <opener>`, or the
    // short form (fi, od) when there is one.
    void close_block(Tok opener, Tok short_form)
    {
        const Token &t = peek();
        if (t.kind == Tok::KwEnd) {
            take();
            const Token &word = peek();
            if (word.kind == Tok::KwProc || word.kind == Tok::KwIf || word.kind == Tok::KwDo ||
                word.kind == Tok::KwTry) {
                if (word.kind != opener)
                    fail(word, std::string("mismatched 'end ") + lex::spelling(word.kind) + "' for '" +
                                   lex::spelling(opener) + "'");
                take();
            }
            return;
        }
        if (short_form != Tok::End && t.kind == short_form) {
            take();
            return;
        }
        if (t.kind == Tok::End)
            fail(t, std::string("missing 'end' for '") + lex::spelling(opener) + "'");
        unexpected(t);
    }

    ALGEB parse_statement()
    {
        switch (peek().kind) {
        case Tok::KwIf: return parse_if();
        case Tok::KwFor:
        case Tok::KwWhile:
        case Tok::KwDo: return parse_loop();
        case Tok::KwTry: return parse_try();
        case Tok::KwReturn:
        case Tok::KwError: {
            Type type = take().kind == Tok::KwReturn ? T_RETURN : T_ERROR;
            ALGEB args = ends_statement(peek().kind) ? null_seq() : as_seq(parse_sequence());
            return new_node(type, {args});
        }
        case Tok::KwBreak: take(); return new_node(T_BREAK, 0);
        case Tok::KwNext: take(); return new_node(T_NEXT, 0);
        default: break;
        }
        // read "file": the statement form of the read builtin.
        if (at(Tok::Name) && peek().text == "read" && peek(1).kind == Tok::String) {
            take();
            ALGEB path = make_string(take().text);
            return make_function(intern("read"), as_seq(path));
        }
        Token start = peek();
        ALGEB lhs = parse_sequence();
        if (!accept(Tok::Assign))
            return lhs;
        if (!valid_lhs(lhs))
            fail(start, "invalid left-hand side of ':='");
        ALGEB rhs = parse_sequence();
        return new_node(T_ASSIGN, {lhs, rhs});
    }

    // if c1 then S1 elif c2 then S2 ... else S end if
    ALGEB parse_if()
    {
        take();
        std::vector<ALGEB> parts;
        for (;;) {
            parts.push_back(parse_expr());
            expect(Tok::KwThen);
            parts.push_back(parse_statseq());
            if (!accept(Tok::KwElif))
                break;
        }
        if (accept(Tok::KwElse))
            parts.push_back(parse_statseq());
        close_block(Tok::KwIf, Tok::KwFi);
        return node_of(T_IF, parts);
    }

    // for v from a by b to c while w do S end do; for v in L ...; while w do
    // ...; do ... end do.  The clauses after the variable come in any order.
    ALGEB parse_loop()
    {
        ALGEB var = nullptr, from = nullptr, by = nullptr, to = nullptr, cond = nullptr, in = nullptr;
        if (accept(Tok::KwFor)) {
            if (at(Tok::Name))
                var = resolve(take().text);
            for (;;) {
                const Token &t = peek();
                ALGEB *slot = nullptr;
                switch (t.kind) {
                case Tok::KwFrom: slot = &from; break;
                case Tok::KwBy: slot = &by; break;
                case Tok::KwTo: slot = &to; break;
                case Tok::KwWhile: slot = &cond; break;
                case Tok::KwIn: slot = &in; break;
                default: break;
                }
                if (slot == nullptr)
                    break;
                if (*slot != nullptr)
                    fail(t, std::string("repeated '") + lex::spelling(t.kind) + "' in 'for'");
                bool counting = t.kind == Tok::KwFrom || t.kind == Tok::KwBy || t.kind == Tok::KwTo;
                if ((counting && in != nullptr) || (t.kind == Tok::KwIn && (from || by || to)))
                    fail(t, "'in' cannot be combined with 'from', 'by' or 'to'");
                if (t.kind == Tok::KwIn && var == nullptr)
                    fail(t, "'for ... in' needs a loop variable");
                take();
                *slot = parse_expr();
            }
        } else if (accept(Tok::KwWhile)) {
            cond = parse_expr();
        }
        expect(Tok::KwDo);
        ALGEB body = parse_statseq();
        close_block(Tok::KwDo, Tok::KwOd);
        return new_node(T_FOR, {var, from, by, to, cond, body, in});
    }

    // try S catch "prefix": H end try (the prefix strings are not kept).
    ALGEB parse_try()
    {
        take();
        ALGEB body = parse_statseq();
        if (at(Tok::KwFinally))
            fail(peek(), "'finally' is not supported");
        if (!at(Tok::KwCatch)) {
            if (at(Tok::End))
                fail(peek(), "missing 'end' for 'try'");
            fail(peek(), "missing 'catch' for 'try'");
        }
        take();
        if (at(Tok::String)) {
            take();
            while (accept(Tok::Comma)) {
                if (!at(Tok::String))
                    unexpected(peek());
                take();
            }
        }
        expect(Tok::Colon);
        ALGEB handler = parse_statseq();
        if (at(Tok::KwFinally))
            fail(peek(), "'finally' is not supported");
        close_block(Tok::KwTry, Tok::End);
        return new_node(T_TRY, {body, handler});
    }

    // ---- top level -------------------------------------------------------

    // ?topic: a call help("topic") (help() for a lone ?).  The topic is the
    // next word on the same line, whatever kind of token it is (?if,
    // ?Normal, ?"CDF"); a terminator after it is optional, so the form works
    // at the prompt without one.
    ALGEB parse_help()
    {
        int line = take().line;
        ALGEB call_args = null_seq();
        const Token &t = peek();
        if (t.line == line && t.kind != Tok::End && t.kind != Tok::Semicolon && t.kind != Tok::Colon &&
            t.kind != Tok::Error) {
            Token topic = take();
            std::string text = topic.kind == Tok::Name || topic.kind == Tok::String || topic.kind == Tok::Integer ||
                                       topic.kind == Tok::Float
                                   ? topic.text
                                   : std::string(lex::spelling(topic.kind));
            call_args = as_seq(make_string(text));
        }
        if (!accept(Tok::Semicolon))
            accept(Tok::Colon);
        return make_function(intern("help"), call_args);
    }

    bool next(ParsedStatement *out)
    {
        if (failed)
            return false;
        try {
            while (accept(Tok::Semicolon) || accept(Tok::Colon)) {
            }
            if (at(Tok::End))
                return false;
            int line = peek().line, column = peek().column;
            if (at(Tok::Question)) {
                *out = ParsedStatement{parse_help(), false, line, column};
                return true;
            }
            ALGEB stmt = parse_statement();
            bool print = true;
            if (accept(Tok::Colon))
                print = false;
            else if (!accept(Tok::Semicolon) && !at(Tok::End))
                unexpected(peek());
            *out = ParsedStatement{stmt, print, line, column};
            return true;
        } catch (...) {
            failed = true; // the rest of the text is not read after an error
            throw;
        }
    }
};

Parser::Parser(std::string_view text) : impl_(std::make_unique<Impl>(text)) {}
Parser::~Parser() = default;

bool Parser::next(ParsedStatement *out) { return impl_->next(out); }

// Counts open brackets, quotes and blocks over the tokens; builds nothing.
bool input_complete(std::string_view text)
{
    try {
        lex::Lexer lexer(text);
        long brackets = 0, blocks = 0;
        bool open_quote = false, statement_ended = false;
        Token t = lexer.next();
        if (t.kind == Tok::Question)
            return true; // ?topic needs no terminator
        for (;;) {
            if (t.kind == Tok::End)
                break;
            if (t.kind == Tok::Error)
                return !t.unterminated; // a stray character: let the parser report it
            Token following = lexer.next();
            switch (t.kind) {
            case Tok::LParen:
            case Tok::LBracket: ++brackets; break;
            case Tok::RParen:
            case Tok::RBracket: --brackets; break;
            case Tok::Quote: open_quote = !open_quote; break;
            case Tok::KwProc:
            case Tok::KwIf:
            case Tok::KwDo:
            case Tok::KwTry: ++blocks; break;
            case Tok::KwFi:
            case Tok::KwOd: --blocks; break;
            case Tok::KwEnd:
                --blocks;
                if (following.kind == Tok::KwProc || following.kind == Tok::KwIf ||
                    following.kind == Tok::KwDo || following.kind == Tok::KwTry)
                    following = lexer.next(); // two-word form: `end if`
                break;
            case Tok::Semicolon:
            case Tok::Colon:
                if (brackets == 0 && blocks == 0 && !open_quote)
                    statement_ended = true;
                break;
            default: break;
            }
            // More closers than openers can never be completed by more
            // lines: hand the text over so the error is reported.
            if (brackets < 0 || blocks < 0)
                return true;
            t = std::move(following);
        }
        return statement_ended && brackets == 0 && blocks == 0 && !open_quote;
    } catch (...) {
        return true;
    }
}

} // namespace talvo
