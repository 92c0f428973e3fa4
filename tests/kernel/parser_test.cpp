// parser_test.cpp -- the reader of the host language: tokens, the node shapes
// of every operator and statement, precedence, lexical references, print
// flags and positions, syntax error messages, nesting limits and the prompt's
// completeness check.
//
// Node structure is compared through a compact bracketed rendering (sx), so
// one string states the whole shape of a parse.
#include "errors.hpp"
#include "lexer.hpp"
#include "numeric.hpp"
#include "object.hpp"
#include "parse.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace talvo;

namespace {

const bool g_init = [] {
    gc_init();
    return true;
}();

const char *tag(Type t)
{
    switch (t) {
    case T_EXPSEQ: return "seq";
    case T_LIST: return "list";
    case T_RANGE: return "range";
    case T_EQUATION: return "eq";
    case T_LESSTHAN: return "lt";
    case T_LESSEQ: return "le";
    case T_NOTEQ: return "ne";
    case T_SUM: return "sum";
    case T_PROD: return "prod";
    case T_POWER: return "pow";
    case T_AND: return "and";
    case T_OR: return "or";
    case T_NOT: return "not";
    case T_FUNCTION: return "call";
    case T_TABLEREF: return "ref";
    case T_PROC: return "proc";
    case T_UNEVAL: return "uneval";
    case T_STATSEQ: return "stats";
    case T_ASSIGN: return "assign";
    case T_IF: return "if";
    case T_FOR: return "for";
    case T_RETURN: return "return";
    case T_ERROR: return "error";
    case T_BREAK: return "break";
    case T_NEXT: return "next";
    case T_TRY: return "try";
    default: return "?";
    }
}

// Immediate integers as digits, names as text, strings quoted, lexical
// references as @depth.index, float literals as float(text), an absent
// operand as _, other nodes as (tag operands...).
std::string sx(ALGEB a)
{
    if (a == nullptr)
        return "_";
    if (is_immediate(a))
        return std::to_string(immediate_value(a));
    switch (type_of(a)) {
    case T_BIGINT: return num::integer_to_string(a);
    case T_NAME: return std::string(name_text(a));
    case T_STRING: return std::string("\"") + std::string(string_text(a)) + "\"";
    case T_LEXREF: return std::string("@") + sx(op(a, 1)) + "." + sx(op(a, 2));
    case T_FLOATLIT: return std::string("float(") + std::string(string_text(op(a, 1))) + ")";
    default: break;
    }
    std::string s = "(";
    s += tag(type_of(a));
    for (size_t i = 1; i <= nops(a); ++i)
        s += ' ' + sx(op(a, i));
    return s + ")";
}

std::vector<ParsedStatement> parse_all(const std::string &text)
{
    Parser p(text);
    std::vector<ParsedStatement> out;
    ParsedStatement st;
    while (p.next(&st))
        out.push_back(st);
    return out;
}

// The rendering of the one statement in `text`.
std::string parse1(const std::string &text)
{
    std::vector<ParsedStatement> all = parse_all(text);
    if (all.size() != 1)
        return std::string("(") + std::to_string(all.size()) + " statements)";
    return sx(all[0].stmt);
}

// The message of the error that parsing `text` raises, or "(no error)".
std::string error_of(const std::string &text)
{
    try {
        parse_all(text);
    } catch (const HostError &e) {
        return e.message;
    }
    return "(no error)";
}

ALGEB value_of(const std::string &text)
{
    std::vector<ParsedStatement> all = parse_all(text);
    return all.size() == 1 ? all[0].stmt : nullptr;
}

std::string repeat(const std::string &s, size_t n)
{
    std::string out;
    out.reserve(s.size() * n);
    for (size_t i = 0; i < n; ++i)
        out += s;
    return out;
}

// ---------------------------------------------------------------------------
// Tokens
// ---------------------------------------------------------------------------

TEST(Lexer, OperatorsAndPositions)
{
    lex::Lexer lx("a:=b::c..d->e<>f<=g>=h\n  .5 `x y` 'q'");
    std::vector<lex::Token> toks;
    for (lex::Token t = lx.next(); t.kind != lex::Tok::End; t = lx.next())
        toks.push_back(t);
    using lex::Tok;
    std::vector<Tok> want = {Tok::Name,         Tok::Assign, Tok::Name,     Tok::DoubleColon, Tok::Name,
                             Tok::DotDot,       Tok::Name,   Tok::Arrow,    Tok::Name,        Tok::NotEqual,
                             Tok::Name,         Tok::LessEqual, Tok::Name,  Tok::GreaterEqual, Tok::Name,
                             Tok::Float,        Tok::Name,   Tok::Quote,    Tok::Name,        Tok::Quote};
    ASSERT_EQ(toks.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i)
        EXPECT_EQ(toks[i].kind, want[i]) << "token " << i;
    EXPECT_EQ(toks[15].text, ".5");
    EXPECT_EQ(toks[15].line, 2);
    EXPECT_EQ(toks[15].column, 3);
    EXPECT_EQ(toks[16].text, "x y");
    EXPECT_EQ(toks[16].column, 6);
}

TEST(Lexer, NumbersBeforeRangeDots)
{
    lex::Lexer lx("1..3 2. 1e5 1.5e-10 7E+2 3e x");
    std::vector<std::pair<lex::Tok, std::string>> got;
    for (lex::Token t = lx.next(); t.kind != lex::Tok::End; t = lx.next())
        got.emplace_back(t.kind, t.text);
    using lex::Tok;
    std::vector<std::pair<Tok, std::string>> want = {
        {Tok::Integer, "1"},       {Tok::DotDot, ""},      {Tok::Integer, "3"}, {Tok::Float, "2."},
        {Tok::Float, "1e5"},       {Tok::Float, "1.5e-10"}, {Tok::Float, "7E+2"}, {Tok::Integer, "3"},
        {Tok::Name, "e"},          {Tok::Name, "x"}};
    EXPECT_EQ(got, want);
}

TEST(Lexer, KeywordsUnlessQuoted)
{
    lex::Lexer lx("end `end` endx");
    EXPECT_EQ(lx.next().kind, lex::Tok::KwEnd);
    lex::Token q = lx.next();
    EXPECT_EQ(q.kind, lex::Tok::Name);
    EXPECT_EQ(q.text, "end");
    EXPECT_EQ(lx.next().kind, lex::Tok::Name);
    EXPECT_EQ(lx.next().kind, lex::Tok::End);
}

TEST(Lexer, MalformedTextIsAnErrorToken)
{
    lex::Lexer a("x \"abc");
    a.next();
    lex::Token t = a.next();
    EXPECT_EQ(t.kind, lex::Tok::Error);
    EXPECT_TRUE(t.unterminated);
    EXPECT_EQ(t.text, "unterminated string");
    EXPECT_EQ(a.next().kind, lex::Tok::End);

    lex::Lexer b("$");
    t = b.next();
    EXPECT_EQ(t.kind, lex::Tok::Error);
    EXPECT_FALSE(t.unterminated);
    EXPECT_EQ(t.text, "unexpected character '$'");
}

// ---------------------------------------------------------------------------
// Literals and names
// ---------------------------------------------------------------------------

TEST(Parser, IntegerLiterals)
{
    EXPECT_EQ(parse1("42"), "42");
    EXPECT_EQ(parse1("0007"), "7");
    ALGEB big = value_of("123456789012345678901234567890");
    ASSERT_NE(big, nullptr);
    EXPECT_EQ(type_of(big), T_BIGINT);
    EXPECT_EQ(num::integer_to_string(big), "123456789012345678901234567890");
    // fits a machine word but not an immediate
    ALGEB word = value_of("4611686018427387904");
    ASSERT_NE(word, nullptr);
    EXPECT_TRUE(is_integer(word));
    EXPECT_EQ(num::integer_to_string(word), "4611686018427387904");
    ALGEB neg = value_of("-123456789012345678901234567890");
    ASSERT_NE(neg, nullptr);
    EXPECT_EQ(num::integer_to_string(neg), "-123456789012345678901234567890");
}

TEST(Parser, FloatLiteralsKeepTheirText)
{
    EXPECT_EQ(parse1("0.95"), "float(0.95)");
    EXPECT_EQ(parse1("1.5e-10"), "float(1.5e-10)");
    EXPECT_EQ(parse1("2."), "float(2.)");
    EXPECT_EQ(parse1(".5"), "float(.5)");
    EXPECT_EQ(parse1("1e5"), "float(1e5)");
    EXPECT_EQ(type_of(value_of("0.95")), T_FLOATLIT);
}

TEST(Parser, StringsAndEscapes)
{
    ALGEB s = value_of(R"("a\"b\\c\nd\te\q")");
    ASSERT_EQ(type_of(s), T_STRING);
    EXPECT_EQ(string_text(s), "a\"b\\c\nd\te\\q");
    EXPECT_EQ(parse1("\"\""), "\"\"");
}

TEST(Parser, NamesAreInterned)
{
    ALGEB a = value_of("alpha_1");
    EXPECT_EQ(a, intern("alpha_1"));
    EXPECT_EQ(value_of("`two words`"), intern("two words"));
    EXPECT_EQ(value_of("`if`"), intern("if"));
}

TEST(Parser, CommentsAndLayout)
{
    EXPECT_EQ(parse1("x # ; not a terminator\n  +\n\t1;  # trailing"), "(sum x 1)");
}

// ---------------------------------------------------------------------------
// Operators and precedence
// ---------------------------------------------------------------------------

TEST(Parser, SumsFlattenAndSubtractionNegates)
{
    EXPECT_EQ(parse1("a + b"), "(sum a b)");
    EXPECT_EQ(parse1("a - b"), "(sum a (prod -1 b))");
    EXPECT_EQ(parse1("a + b - c + d"), "(sum a b (prod -1 c) d)");
    EXPECT_EQ(parse1("a - 3"), "(sum a (prod -1 3))");
    EXPECT_EQ(parse1("a - b*c"), "(sum a (prod -1 b c))");
    EXPECT_EQ(parse1("(a + b) + c"), "(sum (sum a b) c)");
}

TEST(Parser, ProductsFlattenAndDivisionInverts)
{
    EXPECT_EQ(parse1("a * b"), "(prod a b)");
    EXPECT_EQ(parse1("a / b"), "(prod a (pow b -1))");
    EXPECT_EQ(parse1("a*b/c*d"), "(prod a b (pow c -1) d)");
    EXPECT_EQ(parse1("1/3"), "(prod 1 (pow 3 -1))");
}

TEST(Parser, PowerIsRightAssociativeAndTightest)
{
    EXPECT_EQ(parse1("a^b"), "(pow a b)");
    EXPECT_EQ(parse1("a^b^c"), "(pow a (pow b c))");
    EXPECT_EQ(parse1("a + b*c^d"), "(sum a (prod b (pow c d)))");
    EXPECT_EQ(parse1("(a + b)*c"), "(prod (sum a b) c)");
    EXPECT_EQ(parse1("a*b + c*d"), "(sum (prod a b) (prod c d))");
}

TEST(Parser, UnaryMinus)
{
    EXPECT_EQ(parse1("-2"), "-2");
    EXPECT_EQ(parse1("-2.5"), "float(-2.5)");
    EXPECT_EQ(parse1("-(-2.5)"), "float(2.5)");
    EXPECT_EQ(parse1("-x"), "(prod -1 x)");
    EXPECT_EQ(parse1("-2^2"), "(prod -1 (pow 2 2))");
    EXPECT_EQ(parse1("-x*y"), "(prod -1 x y)");
    EXPECT_EQ(parse1("- -x"), "x");
    EXPECT_EQ(parse1("-x + y"), "(sum (prod -1 x) y)");
    EXPECT_EQ(parse1("a*-b"), "(prod a (prod -1 b))");
    EXPECT_EQ(parse1("x^-2"), "(pow x -2)");
    EXPECT_EQ(parse1("a = -1"), "(eq a -1)");
    EXPECT_EQ(parse1("+x"), "x");
    EXPECT_EQ(parse1("a - -1"), "(sum a (prod -1 -1))");
}

TEST(Parser, Relations)
{
    EXPECT_EQ(parse1("a = b"), "(eq a b)");
    EXPECT_EQ(parse1("a <> b"), "(ne a b)");
    EXPECT_EQ(parse1("a < b"), "(lt a b)");
    EXPECT_EQ(parse1("a <= b"), "(le a b)");
    EXPECT_EQ(parse1("a > b"), "(lt b a)");
    EXPECT_EQ(parse1("a >= b"), "(le b a)");
    EXPECT_EQ(parse1("a + 1 < 2*b"), "(lt (sum a 1) (prod 2 b))");
    EXPECT_EQ(error_of("a < b < c"), "syntax error at line 1, column 7: unexpected '<'");
    EXPECT_EQ(error_of("a = b = c"), "syntax error at line 1, column 7: unexpected '='");
}

TEST(Parser, Ranges)
{
    EXPECT_EQ(parse1("1..3"), "(range 1 3)");
    EXPECT_EQ(parse1("i = 1..n"), "(eq i (range 1 n))");
    EXPECT_EQ(parse1("1..n+1"), "(range 1 (sum n 1))");
    EXPECT_EQ(parse1("1.5..2"), "(range float(1.5) 2)");
    EXPECT_EQ(parse1("-1..1"), "(range -1 1)");
    EXPECT_EQ(error_of("1..2..3"), "syntax error at line 1, column 5: unexpected '..'");
}

TEST(Parser, LogicalOperators)
{
    EXPECT_EQ(parse1("a or b and not c = d"), "(or a (and b (not (eq c d))))");
    EXPECT_EQ(parse1("not a and b"), "(and (not a) b)");
    EXPECT_EQ(parse1("a and b and c"), "(and (and a b) c)");
    EXPECT_EQ(parse1("a or b or c"), "(or (or a b) c)");
    EXPECT_EQ(parse1("not not a"), "(not (not a))");
    EXPECT_EQ(parse1("a < b or c"), "(or (lt a b) c)");
}

TEST(Parser, CallsAndIndexingChain)
{
    EXPECT_EQ(parse1("f(x, y)"), "(call f (seq x y))");
    EXPECT_EQ(parse1("f(x)"), "(call f (seq x))");
    EXPECT_EQ(parse1("f()"), "(call f (seq))");
    EXPECT_EQ(parse1("f(1)(2)"), "(call (call f (seq 1)) (seq 2))");
    EXPECT_EQ(parse1("A[1][2]"), "(ref (ref A (seq 1)) (seq 2))");
    EXPECT_EQ(parse1("A[i, j]"), "(ref A (seq i j))");
    EXPECT_EQ(parse1("f(x)[2]"), "(ref (call f (seq x)) (seq 2))");
    EXPECT_EQ(parse1("(f)(x)"), "(call f (seq x))");
    EXPECT_EQ(parse1("g(f)(x)^2"), "(pow (call (call g (seq f)) (seq x)) 2)");
    EXPECT_EQ(parse1("seq(i^2, i = 1..n)"), "(call seq (seq (pow i 2) (eq i (range 1 n))))");
}

TEST(Parser, ListsSequencesAndQuotes)
{
    EXPECT_EQ(parse1("[a, b]"), "(list (seq a b))");
    EXPECT_EQ(parse1("[]"), "(list (seq))");
    EXPECT_EQ(parse1("[[1], 2]"), "(list (seq (list (seq 1)) 2))");
    EXPECT_EQ(parse1("a, b, c"), "(seq a b c)");
    EXPECT_EQ(parse1("(a, b), c"), "(seq a b c)");
    EXPECT_EQ(parse1("f((a, b), c)"), "(call f (seq a b c))");
    EXPECT_EQ(parse1("(a)"), "a");
    EXPECT_EQ(parse1("()"), "(seq)");
    EXPECT_EQ(parse1("'x + 1'"), "(uneval (sum x 1))");
    EXPECT_EQ(parse1("''x''"), "(uneval (uneval x))");
    EXPECT_EQ(value_of("[]") != nullptr && op(value_of("[]"), 1) == null_seq(), true);
}

// ---------------------------------------------------------------------------
// Procedures and lexical references
// ---------------------------------------------------------------------------

TEST(Parser, ArrowProcedures)
{
    EXPECT_EQ(parse1("x -> x^2"), "(proc (seq x) (seq) (stats (pow @0.1 2)) 1)");
    EXPECT_EQ(parse1("(x, y) -> x + y"), "(proc (seq x y) (seq) (stats (sum @0.1 @0.2)) 1)");
    EXPECT_EQ(parse1("() -> 1"), "(proc (seq) (seq) (stats 1) 1)");
    EXPECT_EQ(parse1("x -> y -> x + y"),
              "(proc (seq x) (seq) (stats (proc (seq y) (seq) (stats (sum @1.1 @0.1)) 1)) 1)");
    // the body takes no top-level comma
    EXPECT_EQ(parse1("map(x -> x + 1, L)"), "(call map (seq (proc (seq x) (seq) (stats (sum @0.1 1)) 1) L))");
    EXPECT_EQ(parse1("f := x -> x, 1"), "(assign f (seq (proc (seq x) (seq) (stats @0.1) 1) 1))");
    // a body extends as far as it can
    EXPECT_EQ(parse1("x -> x = 1 or y"), "(proc (seq x) (seq) (stats (or (eq @0.1 1) y)) 1)");
    // a parenthesised sequence not followed by '->' stays a sequence
    EXPECT_EQ(parse1("(x, y)"), "(seq x y)");
    EXPECT_EQ(parse1("(x -> x)(3)"), "(call (proc (seq x) (seq) (stats @0.1) 1) (seq 3))");
    EXPECT_EQ(error_of("(x, x) -> x"), "syntax error at line 1, column 8: duplicate declaration of 'x'");
}

TEST(Parser, BlockProcedure)
{
    EXPECT_EQ(parse1("proc(x, y::numeric, z) local a, b; global g; a := x + g; b := y*z; "
                     "h(a, b, args, nargs) end proc"),
              "(proc (seq x y z) (seq a b) (stats (assign @0.4 (sum @0.1 g)) (assign @0.5 (prod @0.2 @0.3)) "
              "(call h (seq @0.4 @0.5 args nargs))) 0)");
    EXPECT_EQ(parse1("proc() end"), "(proc (seq) (seq) (stats) 0)");
    EXPECT_EQ(parse1("proc(x::list(numeric))::integer; x; end proc"), "(proc (seq x) (seq) (stats @0.1) 0)");
    EXPECT_EQ(parse1("proc(n) global g; local i: g := n end"), "(proc (seq n) (seq i) (stats (assign g @0.1)) 0)");
}

TEST(Parser, NestedProceduresCountDepth)
{
    EXPECT_EQ(parse1("proc(n) local f; f := proc(k) local t; t := k + n; g := t end; f(2) end"),
              "(proc (seq n) (seq f) (stats (assign @0.2 (proc (seq k) (seq t) "
              "(stats (assign @0.2 (sum @0.1 @1.1)) (assign g @0.2)) 0)) (call @0.2 (seq 2))) 0)");
    // a global declaration hides an enclosing parameter
    EXPECT_EQ(parse1("proc(x) proc() global x; x end end"),
              "(proc (seq x) (seq) (stats (proc (seq) (seq) (stats x) 0)) 0)");
    // an inner parameter hides an outer one
    EXPECT_EQ(parse1("proc(x) x -> x end"), "(proc (seq x) (seq) (stats (proc (seq x) (seq) (stats @0.1) 1)) 0)");
    // three levels
    EXPECT_EQ(parse1("a -> b -> c -> a*b*c"),
              "(proc (seq a) (seq) (stats (proc (seq b) (seq) (stats (proc (seq c) (seq) "
              "(stats (prod @2.1 @1.1 @0.1)) 1)) 1)) 1)");
}

TEST(Parser, ProcedureOperandsHoldNames)
{
    ALGEB p = value_of("proc(x) local y; y := x end");
    ASSERT_EQ(type_of(p), T_PROC);
    ASSERT_EQ(nops(p), 4u);
    EXPECT_EQ(op(op(p, 1), 1), intern("x"));
    EXPECT_EQ(op(op(p, 2), 1), intern("y"));
    EXPECT_EQ(op(p, 4), make_immediate(0));
    ALGEB body = op(p, 3);
    ASSERT_EQ(type_of(body), T_STATSEQ);
    ALGEB assign = op(body, 1);
    ASSERT_EQ(type_of(assign), T_ASSIGN);
    EXPECT_EQ(type_of(op(assign, 1)), T_LEXREF);
    EXPECT_EQ(op(op(assign, 1), 1), make_immediate(0));
    EXPECT_EQ(op(op(assign, 1), 2), make_immediate(2));
}

TEST(Parser, DeclarationErrors)
{
    EXPECT_EQ(error_of("proc(x, x) end"), "syntax error at line 1, column 9: duplicate declaration of 'x'");
    EXPECT_EQ(error_of("proc(x) local x; end"), "syntax error at line 1, column 15: duplicate declaration of 'x'");
    EXPECT_EQ(error_of("proc(x) local a; 1; local b; end"), "syntax error at line 1, column 21: unexpected 'local'");
    EXPECT_EQ(error_of("proc(1) end"), "syntax error at line 1, column 6: unexpected '1'");
}

// ---------------------------------------------------------------------------
// Statements
// ---------------------------------------------------------------------------

TEST(Parser, Assignments)
{
    EXPECT_EQ(parse1("x := 1"), "(assign x 1)");
    EXPECT_EQ(parse1("a, b := 1, 2"), "(assign (seq a b) (seq 1 2))");
    EXPECT_EQ(parse1("A[i] := 3"), "(assign (ref A (seq i)) 3)");
    EXPECT_EQ(parse1("A[i][j] := 3"), "(assign (ref (ref A (seq i)) (seq j)) 3)");
    EXPECT_EQ(parse1("proc(x) x := x + 1 end"), "(proc (seq x) (seq) (stats (assign @0.1 (sum @0.1 1))) 0)");
    EXPECT_EQ(error_of("f(x) := 1"), "syntax error at line 1, column 1: invalid left-hand side of ':='");
    EXPECT_EQ(error_of("y := 2; 1 := 2"), "syntax error at line 1, column 9: invalid left-hand side of ':='");
    EXPECT_EQ(error_of("a, 2 := 1, 2"), "syntax error at line 1, column 1: invalid left-hand side of ':='");
    EXPECT_EQ(error_of("x := y := 2"), "syntax error at line 1, column 8: unexpected ':='");
}

TEST(Parser, IfStatements)
{
    EXPECT_EQ(parse1("if a then b elif c then d else e end if"), "(if a (stats b) c (stats d) (stats e))");
    EXPECT_EQ(parse1("if a then b fi"), "(if a (stats b))");
    EXPECT_EQ(parse1("if a then b; c; else d: end"), "(if a (stats b c) (stats d))");
    EXPECT_EQ(parse1("if a then fi"), "(if a (stats))");
    EXPECT_EQ(parse1("if x < 0 then -x else x end if"), "(if (lt x 0) (stats (prod -1 x)) (stats x))");
    EXPECT_EQ(error_of("if a b fi"), "syntax error at line 1, column 6: unexpected 'b'");
    EXPECT_EQ(error_of("if a then b else c elif d then e fi"), "syntax error at line 1, column 20: unexpected 'elif'");
}

TEST(Parser, Loops)
{
    EXPECT_EQ(parse1("for i from 1 by 2 to 10 while i < 5 do s end do"),
              "(for i 1 2 10 (lt i 5) (stats s) _)");
    EXPECT_EQ(parse1("for i to 3 from 2 do od"), "(for i 2 _ 3 _ (stats) _)");
    EXPECT_EQ(parse1("for x in L do f(x) od"), "(for x _ _ _ _ (stats (call f (seq x))) L)");
    EXPECT_EQ(parse1("for x in L while x > 0 do od"), "(for x _ _ _ (lt 0 x) (stats) L)");
    EXPECT_EQ(parse1("while c do x end do"), "(for _ _ _ _ c (stats x) _)");
    EXPECT_EQ(parse1("do break end do"), "(for _ _ _ _ _ (stats (break)) _)");
    EXPECT_EQ(parse1("for i to 3 do if i = 2 then next end if; f(i) end"),
              "(for i _ _ 3 _ (stats (if (eq i 2) (stats (next))) (call f (seq i))) _)");
    EXPECT_EQ(parse1("proc(L) local i, s; s := 0; for i in L do s := s + i od; s end"),
              "(proc (seq L) (seq i s) (stats (assign @0.3 0) (for @0.2 _ _ _ _ (stats (assign @0.3 (sum @0.3 @0.2))) "
              "@0.1) @0.3) 0)");
    ALGEB f = value_of("for i to 3 do od");
    ASSERT_EQ(type_of(f), T_FOR);
    EXPECT_EQ(nops(f), 7u);
    EXPECT_EQ(error_of("for i from 1 from 2 do od"), "syntax error at line 1, column 14: repeated 'from' in 'for'");
    EXPECT_EQ(error_of("for i in L to 3 do od"),
              "syntax error at line 1, column 12: 'in' cannot be combined with 'from', 'by' or 'to'");
    EXPECT_EQ(error_of("for i to 3 x od"), "syntax error at line 1, column 12: unexpected 'x'");
}

TEST(Parser, ReturnErrorBreakNext)
{
    EXPECT_EQ(parse1("return"), "(return (seq))");
    EXPECT_EQ(parse1("return x"), "(return (seq x))");
    EXPECT_EQ(parse1("return a, b"), "(return (seq a b))");
    EXPECT_EQ(parse1("proc(x) return x; end"), "(proc (seq x) (seq) (stats (return (seq @0.1))) 0)");
    EXPECT_EQ(parse1("proc() return end"), "(proc (seq) (seq) (stats (return (seq))) 0)");
    EXPECT_EQ(parse1("error \"bad %1\", x"), "(error (seq \"bad %1\" x))");
    EXPECT_EQ(parse1("error(\"m\", v)"), "(error (seq \"m\" v))");
    EXPECT_EQ(parse1("break"), "(break)");
    EXPECT_EQ(parse1("next"), "(next)");
}

TEST(Parser, TryStatements)
{
    EXPECT_EQ(parse1("try f() catch: g() end try"), "(try (stats (call f (seq))) (stats (call g (seq))))");
    EXPECT_EQ(parse1("try x; catch \"pre\": y; end"), "(try (stats x) (stats y))");
    EXPECT_EQ(parse1("try catch: end"), "(try (stats) (stats))");
    EXPECT_EQ(error_of("try x finally y end try"), "syntax error at line 1, column 7: 'finally' is not supported");
    EXPECT_EQ(error_of("try x end try"), "syntax error at line 1, column 7: missing 'catch' for 'try'");
    EXPECT_EQ(error_of("try x catch y end"), "syntax error at line 1, column 13: unexpected 'y'");
}

// ?topic calls help with the topic as a string (help() alone); the word on
// the same line is the topic whatever kind of token it is, and a terminator
// is optional.  read "file" is the read builtin's statement form.
TEST(Parser, HelpAndReadStatements)
{
    EXPECT_EQ(parse1("?Normal"), "(call help (seq \"Normal\"))");
    EXPECT_EQ(parse1("?Normal;"), "(call help (seq \"Normal\"))");
    EXPECT_EQ(parse1("? if"), "(call help (seq \"if\"))");
    EXPECT_EQ(parse1("?"), "(call help (seq))");
    auto st = parse_all("?Quantile\nx := 1;");
    ASSERT_EQ(st.size(), 2u);
    EXPECT_FALSE(st[0].print);
    EXPECT_EQ(sx(st[0].stmt), "(call help (seq \"Quantile\"))");
    auto lone = parse_all("?\nx;");
    ASSERT_EQ(lone.size(), 2u);
    EXPECT_EQ(sx(lone[0].stmt), "(call help (seq))");
    EXPECT_EQ(parse1("read \"a.tv\""), "(call read (seq \"a.tv\"))");
    EXPECT_EQ(error_of("x := ?y"), "syntax error at line 1, column 6: unexpected '?'");
}

// ---------------------------------------------------------------------------
// Top level: terminators, print flags and positions
// ---------------------------------------------------------------------------

TEST(Parser, PrintFlagsAndPositions)
{
    std::vector<ParsedStatement> s = parse_all("a; b: c");
    ASSERT_EQ(s.size(), 3u);
    EXPECT_TRUE(s[0].print);
    EXPECT_FALSE(s[1].print);
    EXPECT_TRUE(s[2].print); // the last statement needs no terminator
    EXPECT_EQ(s[0].column, 1);
    EXPECT_EQ(s[1].column, 4);
    EXPECT_EQ(s[2].column, 7);

    s = parse_all("x := 1;\n  y := 2:\n\n f := proc(x)\n x\n end proc;");
    ASSERT_EQ(s.size(), 3u);
    EXPECT_EQ(s[1].line, 2);
    EXPECT_EQ(s[1].column, 3);
    EXPECT_FALSE(s[1].print);
    EXPECT_EQ(s[2].line, 4);
    EXPECT_EQ(s[2].column, 2);
    EXPECT_TRUE(s[2].print);
}

TEST(Parser, EmptyStatementsAreSkipped)
{
    std::vector<ParsedStatement> s = parse_all(";; a;;: b;");
    ASSERT_EQ(s.size(), 2u);
    EXPECT_EQ(sx(s[0].stmt), "a");
    EXPECT_EQ(sx(s[1].stmt), "b");
    EXPECT_TRUE(parse_all("").empty());
    EXPECT_TRUE(parse_all("  # nothing\n;").empty());
}

TEST(Parser, StopsAfterAnError)
{
    Parser p("a; b c; d;");
    ParsedStatement st;
    ASSERT_TRUE(p.next(&st));
    EXPECT_EQ(sx(st.stmt), "a");
    EXPECT_THROW(p.next(&st), HostError);
    EXPECT_FALSE(p.next(&st));
}

TEST(Parser, NodesSurviveCollection)
{
    std::vector<ParsedStatement> s = parse_all("f := proc(x) local y; y := [x, 1.5, \"s\"]; y[1]^2 end:");
    ASSERT_EQ(s.size(), 1u);
    std::string before = sx(s[0].stmt);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 1000; ++j)
            make_string("garbage");
        gc_collect();
    }
    EXPECT_EQ(sx(s[0].stmt), before);
}

// ---------------------------------------------------------------------------
// Syntax errors
// ---------------------------------------------------------------------------

TEST(ParserErrors, UnbalancedBrackets)
{
    EXPECT_EQ(error_of("f(1, 2))"), "syntax error at line 1, column 8: unexpected ')'");
    EXPECT_EQ(error_of("(a + b"), "syntax error at line 1, column 7: missing ')'");
    EXPECT_EQ(error_of("x := [1, 2;"), "syntax error at line 1, column 11: unexpected ';'");
    EXPECT_EQ(error_of("A[1"), "syntax error at line 1, column 4: missing ']'");
    EXPECT_EQ(error_of("x := 1;\n  ]"), "syntax error at line 2, column 3: unexpected ']'");
}

TEST(ParserErrors, MissingOrWrongEnd)
{
    EXPECT_EQ(error_of("f := proc(x)\n  x + 1;\n"), "syntax error at line 3, column 1: missing 'end' for 'proc'");
    EXPECT_EQ(error_of("if a then b"), "syntax error at line 1, column 12: missing 'end' for 'if'");
    EXPECT_EQ(error_of("for i to 2 do"), "syntax error at line 1, column 14: missing 'end' for 'do'");
    EXPECT_EQ(error_of("try x catch: y"), "syntax error at line 1, column 15: missing 'end' for 'try'");
    EXPECT_EQ(error_of("if a then b od"), "syntax error at line 1, column 13: unexpected 'od'");
    EXPECT_EQ(error_of("proc() x end if"), "syntax error at line 1, column 14: mismatched 'end if' for 'proc'");
    EXPECT_EQ(error_of("x; end"), "syntax error at line 1, column 4: unexpected 'end'");
    EXPECT_EQ(error_of("while c x od"), "syntax error at line 1, column 9: unexpected 'x'");
    EXPECT_EQ(error_of("while c"), "syntax error at line 1, column 8: missing 'do'");
}

TEST(ParserErrors, MalformedTokens)
{
    EXPECT_EQ(error_of("s := \"abc"), "syntax error at line 1, column 6: unterminated string");
    EXPECT_EQ(error_of("x := 1;\ny := `ab"), "syntax error at line 2, column 6: unterminated quoted name");
    EXPECT_EQ(error_of("x := 3 $ 4"), "syntax error at line 1, column 8: unexpected character '$'");
    EXPECT_EQ(error_of("proc() \"open end"), "syntax error at line 1, column 8: unterminated string");
    EXPECT_EQ(error_of("a.b"), "syntax error at line 1, column 2: unexpected '.'");
}

TEST(ParserErrors, MissingOperandsAndSeparators)
{
    EXPECT_EQ(error_of("a b"), "syntax error at line 1, column 3: unexpected 'b'");
    EXPECT_EQ(error_of("1 +"), "syntax error at line 1, column 4: unexpected end of input");
    EXPECT_EQ(error_of("x := ;"), "syntax error at line 1, column 6: unexpected ';'");
    EXPECT_EQ(error_of("f(,)"), "syntax error at line 1, column 3: unexpected ','");
    EXPECT_EQ(error_of("x := \"s\" \"t\""), "syntax error at line 1, column 10: unexpected string \"t\"");
}

TEST(ParserErrors, DeepNestingIsRefused)
{
    const std::string deep_msg = "nesting too deep";
    for (const std::string &text :
         {repeat("(", 100000), repeat("[", 100000), repeat("-", 100000) + "x", repeat("not ", 100000) + "x",
          repeat("x^", 100000) + "x", repeat("'", 100000) + "x", repeat("f(", 100000),
          repeat("if a then ", 100000), repeat("x -> ", 100000) + "x", repeat("proc() ", 100000)}) {
        std::string msg = error_of(text);
        EXPECT_NE(msg.find("syntax error at line 1, column "), std::string::npos) << msg;
        EXPECT_NE(msg.find(deep_msg), std::string::npos) << msg;
    }
    // moderate nesting is fine
    EXPECT_EQ(parse1(repeat("(", 200) + "x" + repeat(")", 200)), "x");
    EXPECT_EQ(parse1(repeat("[", 200) + repeat("]", 200)).substr(0, 12), "(list (seq (");
}

TEST(ParserErrors, LongFlatInputIsNotNesting)
{
    // runs longer than the nesting limit, but flat (kept to few allocations
    // so the collector's stress mode stays quick)
    std::string text = "1";
    for (int i = 0; i < 5000; ++i)
        text += " + 1";
    ALGEB s = value_of(text);
    ASSERT_EQ(type_of(s), T_SUM);
    EXPECT_EQ(nops(s), 5001u);

    ALGEB l = value_of(std::string("[") + repeat("x, ", 5000) + "x]");
    ASSERT_EQ(type_of(l), T_LIST);
    EXPECT_EQ(nops(op(l, 1)), 5001u);

    ALGEB p = value_of(std::string("proc() ") + repeat("x; ", 3000) + "end");
    ASSERT_EQ(type_of(p), T_PROC);
    EXPECT_EQ(nops(op(p, 3)), 3000u);

    ALGEB call = value_of(std::string("f") + repeat("()", 1200));
    size_t depth = 0;
    for (; type_of(call) == T_FUNCTION; call = op(call, 1))
        ++depth;
    EXPECT_EQ(depth, 1200u);
    EXPECT_EQ(call, intern("f"));
}

// ---------------------------------------------------------------------------
// Completeness for the prompt
// ---------------------------------------------------------------------------

TEST(InputComplete, CompleteTexts)
{
    EXPECT_TRUE(input_complete("x := 1;"));
    EXPECT_TRUE(input_complete("x:"));
    EXPECT_TRUE(input_complete("a; b"));
    EXPECT_TRUE(input_complete("x := 1; # comment"));
    EXPECT_TRUE(input_complete("f := proc(x)\n  x\nend proc;"));
    EXPECT_TRUE(input_complete("if a then b; else c; fi;"));
    EXPECT_TRUE(input_complete("for i to 3 do x; end do;"));
    EXPECT_TRUE(input_complete("try x; catch: y; end try;"));
    EXPECT_TRUE(input_complete("f := proc(x::integer) local a; a := x; end;"));
    EXPECT_TRUE(input_complete("s := \"a;b\";"));
    EXPECT_TRUE(input_complete("x := 'a + b';"));
    EXPECT_TRUE(input_complete("?Normal"));
    EXPECT_TRUE(input_complete("?"));
}

TEST(InputComplete, IncompleteTexts)
{
    EXPECT_FALSE(input_complete(""));
    EXPECT_FALSE(input_complete("   # only a comment"));
    EXPECT_FALSE(input_complete("x := 1"));
    EXPECT_FALSE(input_complete("x := 1 # ;"));
    EXPECT_FALSE(input_complete("f := proc(x)\n"));
    EXPECT_FALSE(input_complete("f := proc(x) x; end"));
    EXPECT_FALSE(input_complete("if a then b;"));
    EXPECT_FALSE(input_complete("s := \"abc;"));
    EXPECT_FALSE(input_complete("x := `ab;"));
    EXPECT_FALSE(input_complete("g(1, 2;"));
    EXPECT_FALSE(input_complete("x := [1, 2;"));
    EXPECT_FALSE(input_complete("x := 'a + b;"));
    EXPECT_FALSE(input_complete("try x; catch: y;"));
    EXPECT_FALSE(input_complete("do x; od"));
    EXPECT_FALSE(input_complete("while c do x; end do\n"));
}

TEST(InputComplete, ErrorsAreHandedOver)
{
    // more closers than openers, or a stray character: no further line can
    // help, so the text goes to the parser, which reports the error
    EXPECT_TRUE(input_complete(")"));
    EXPECT_TRUE(input_complete("x := 1 $"));
    EXPECT_TRUE(input_complete("end"));
    EXPECT_NO_THROW(input_complete(repeat("(", 100000)));
    EXPECT_FALSE(input_complete(repeat("(", 100000)));
}

} // namespace
