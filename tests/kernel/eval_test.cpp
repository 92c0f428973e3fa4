// eval_test.cpp -- the evaluator: names, procedures, control flow, builtins,
// "Digits", and errors from bad input.
#include "host_support.hpp"
#include "talvo_float.hpp"

using namespace talvo;
using talvo::test::error_of;
using talvo::test::run;
using talvo::test::show;

TEST(Eval, FreeNamesStaySymbolic)
{
    EXPECT_EQ(show("unassign('z'): z;"), "z");
    EXPECT_EQ(show("evalf(z);"), "z");
    EXPECT_EQ(show("evalf(z + 1/4);"), "z + 0.25");
    EXPECT_EQ(show("evalf(z^2 - 1/2*z);"), "z^2 - 0.5*z");
    EXPECT_EQ(show("2*z + 3*z;"), "2*z + 3*z");
    EXPECT_EQ(show("z^0;"), "1");
    EXPECT_EQ(show("0*z;"), "0");
}

TEST(Eval, DigitsAndEvalf)
{
    EXPECT_EQ(show("Digits;"), "10");
    EXPECT_EQ(show("evalf(Pi);"), "3.141592654");
    EXPECT_EQ(show("evalf(Pi, 20);"), "3.1415926535897932385");
    EXPECT_EQ(show("Digits;"), "10");
    EXPECT_EQ(show("Digits := 30: evalf(exp(1));"), "2.71828182845904523536028747135");
    EXPECT_EQ(show("Digits := 10: evalf(0.1, 30);"), "0.1");
    EXPECT_EQ(error_of("Digits := 0;"), "Digits must be a positive integer no larger than 1000000, got 0");
    EXPECT_EQ(error_of("Digits := 2.5;"), "Digits must be a positive integer no larger than 1000000, got 2.5");
    EXPECT_EQ(show("Digits;"), "10");
    EXPECT_EQ(show("f := proc() Digits := 40; evalf(1/7) end proc: [f(), Digits];"),
              "[0.1428571428571428571428571428571428571429, 10]");
}

TEST(Eval, ElementaryFunctions)
{
    EXPECT_EQ(show("sqrt(4);"), "2");
    EXPECT_EQ(show("exp(0);"), "1");
    EXPECT_EQ(show("ln(1);"), "0");
    EXPECT_EQ(show("sin(0.5);"), "0.4794255386");
    EXPECT_EQ(show("cos(0.5);"), "0.8775825619");
    EXPECT_EQ(show("tan(0.5);"), "0.5463024898");
    EXPECT_EQ(show("arctan(1.);"), "0.7853981634");
    EXPECT_EQ(show("evalf(ln(2));"), "0.6931471806");
    EXPECT_EQ(show("evalf(exp(1) + sin(1));"), "3.559752813");
    EXPECT_EQ(show("ln(-1.);"), "0.+3.141592654*I");
    EXPECT_EQ(error_of("sqrt(1, 2);"), "(in sqrt) sqrt expects 1 argument, but received 2");
}

TEST(Eval, Procedures)
{
    EXPECT_EQ(show("sq := x -> x^2: sq(7);"), "49");
    EXPECT_EQ(show("add2 := (x, y) -> x + y: add2(1/2, 1/3);"), "5/6");
    EXPECT_EQ(show("adder := n -> (x -> x + n): a5 := adder(5): a5(10);"), "15");
    EXPECT_EQ(show("fib := proc(n) if n < 2 then n else fib(n - 1) + fib(n - 2) end if end proc: fib(20);"),
              "6765");
    EXPECT_EQ(show("count := proc() nargs end proc: count(1, 2, 3);"), "3");
    EXPECT_EQ(show("second := proc() args[2] end proc: second(a, b, c);"), "b");
    EXPECT_EQ(show("f := proc(x) local i, s; s := 0; for i from 1 to x do s := s + i end do; s end proc: f(100);"),
              "5050");
    EXPECT_EQ(show("g := proc(x) if x > 0 then return \"positive\" end if; \"other\" end proc: g(1), g(-1);"),
              "\"positive\", \"other\"");
    EXPECT_EQ(show("h := proc(L) local s, x; s := 0; for x in L do if x = 3 then next end if; if x > 4 then break end if; s := s + x end do; s end proc: h([1, 2, 3, 4, 5, 6]);"),
              "7");
    EXPECT_EQ(show("w := proc() local k; k := 0; while k < 10 do k := k + 3 end do; k end proc: w();"), "12");
}

// After a counting loop its variable holds the value that ended it: the
// first one past the bound when the loop runs out (code that counts its
// iterations tests k > limit afterwards), the one `while` or `break` stopped
// at otherwise, and the start when the body never runs.
TEST(Eval, LoopVariableAfterTheLoop)
{
    EXPECT_EQ(show("f := proc() local k; for k to 3 do end do; k end proc: f();"), "4");
    EXPECT_EQ(show("for i from 1 by 2 to 6 do end do: i;"), "7");
    EXPECT_EQ(show("for j from 5 to 1 do end do: j;"), "5");
    EXPECT_EQ(show("for j from 5 by -2 to 0 do end do: j;"), "-1");
    EXPECT_EQ(show("for m to 10 while m < 4 do end do: m;"), "4");
    EXPECT_EQ(show("g := proc() local k; for k to 10 do if k = 7 then break end if end do; k end proc: g();"), "7");
    EXPECT_EQ(show("for x in [1, 2, 3] do end do: x;"), "3");
}

TEST(Eval, SeqAddMul)
{
    EXPECT_EQ(show("seq(i^2, i = 1..5);"), "1, 4, 9, 16, 25");
    EXPECT_EQ(show("[seq(i, i = 3..1)];"), "[]");
    EXPECT_EQ(show("add(1/i, i = 1..4);"), "25/12");
    EXPECT_EQ(show("mul(i, i = 1..20);"), "2432902008176640000");
    EXPECT_EQ(show("add(x^i, i = 0..2);"), "x + x^2 + 1");
    EXPECT_EQ(show("seq(2*v, v = [a, b]);"), "2*a, 2*b");
    EXPECT_EQ(show("i := 7: seq(i, i = 1..3): i;"), "7");
    EXPECT_EQ(show("p := proc(n) local i; add(i, i = 1..n) end proc: p(10);"), "55");
    EXPECT_EQ(error_of("seq(i, i = 1..10^15);"), "(in seq) too many iterations: 1000000000000000");
}

TEST(Eval, OpOfOneOperandIsThatOperand)
{
    // A sequence of one value is the value: it compares equal to it.
    EXPECT_EQ(show("evalb(op([\"ILU\"]) = \"ILU\");"), "true");
    EXPECT_EQ(show("q := proc() local p; p := op([\"ILU\"]); evalb(p = \"ILU\") end proc: q();"), "true");
    EXPECT_EQ(show("evalb(op(2..2, [1, 2, 3]) = 2);"), "true");
    EXPECT_EQ(show("[op([5])], nops([op([5])]), [op(2..3, [1, 2, 3])];"), "[5], 1, [2, 3]");
    EXPECT_EQ(show("[op([])];"), "[]");
}

TEST(Eval, ErrorsNameTheProcedureCalledThroughAParameter)
{
    // Called through a parameter, a procedure is named by the global name
    // it was first assigned to; an anonymous one by its caller.
    EXPECT_EQ(error_of("h := proc(x) error \"boom\" end proc: k := proc(f) f(1) end proc: k(h);"), "(in h) boom");
    EXPECT_EQ(error_of("h2 := proc(x) error \"boom\" end proc: h3 := h2: k := proc(f) f(1) end proc: k(h3);"),
              "(in h2) boom");
    EXPECT_EQ(error_of("k := proc(f) f(1) end proc: k(proc(x) error \"anon\" end proc);"), "(in k) anon");
    EXPECT_EQ(error_of("_hidden := proc(x) error \"private\" end proc: k := proc(f) f(1) end proc: k(_hidden);"),
              "(in k) private");
}

TEST(Eval, ListsTablesIndexing)
{
    EXPECT_EQ(show("L := [10, 20, 30]: L[2], L[-1], nops(L);"), "20, 30, 3");
    EXPECT_EQ(show("L[2..3];"), "[20, 30]");
    EXPECT_EQ(show("L[2] := 99: L;"), "[10, 99, 30]");
    EXPECT_EQ(error_of("L[4];"), "index out of range: 4 of a list of 3 elements");
    EXPECT_EQ(show("unassign('T'): T[a] := 1: T[b, c] := 2: T[a] + T[b, c];"), "3");
    EXPECT_EQ(show("T[zz];"), "T[zz]");
    EXPECT_EQ(show("unassign('f'): op(2, f(x, y, z)), op(0, f(x));"), "y, f");
    EXPECT_EQ(show("op(x + y + 1);"), "x, y, 1");
    EXPECT_EQ(show("nops(f(a, b));"), "2");
}

TEST(Eval, Types)
{
    EXPECT_EQ(show("type(3, integer), type(3/2, rational), type(0.5, float), type(x, name);"),
              "true, true, true, true");
    EXPECT_EQ(show("type(-3, posint), type(\"s\", string), type([1], list), type(x -> x, procedure);"),
              "false, true, true, true");
    EXPECT_EQ(show("type(Array(1..2), Array), type(1 .. 2, range), type(sqrt(2), realcons);"),
              "true, true, true");
    EXPECT_EQ(error_of("type(1, nosuchtype);"), "(in type) type nosuchtype is not known");
}

TEST(Eval, ArrayConstructorForms)
{
    EXPECT_EQ(show("A := Array(1..3, [1, 2, 3], datatype = float64): A[2];"), "2.");
    EXPECT_EQ(show("A[3] := 1/4: A[3];"), "0.25");
    EXPECT_EQ(show("B := Array(1..2, 1..2, [[1, 2], [3, 4]]): B[2, 1];"), "3");
    EXPECT_EQ(show("C := Array(1..4): C[4];"), "0");
    EXPECT_EQ(show("S := Array(1..5, storage = sparse): S[3] := 7: S[3] + S[1];"), "7");
    EXPECT_EQ(show("Array(1..2, [1, 2], datatype = int8)[2];"), "2");
}

TEST(Eval, ErrorsNameTheirProcedure)
{
    EXPECT_EQ(error_of("f := proc(x) error \"bad value %1 and %2\", x, [x] end proc: f(3);"),
              "(in f) bad value 3 and [3]");
    EXPECT_EQ(error_of("error(\"plain %1\", 5);"), "plain 5");
    EXPECT_EQ(error_of("g := proc(x) error(\"in g %1\", x) end proc: g(2);"), "(in g) in g 2");
    EXPECT_EQ(show("try error \"inner\" catch: lasterror end try;"), "\"inner\"");
    EXPECT_EQ(show("try 1/0 catch: \"caught\" end try;"), "\"caught\"");
    EXPECT_EQ(error_of("Pi := 3;"), "attempting to assign to Pi which is protected");
    EXPECT_EQ(error_of("sin := 3;"), "attempting to assign to sin which is protected");
    EXPECT_EQ(error_of("if x then 1 end if;"), "cannot determine if this expression is true or false: x");
    EXPECT_EQ(error_of("5(3);"), "5 is not a procedure");
    EXPECT_EQ(error_of("[1] + 1;"), "invalid operand of +: [1]");
}

TEST(Eval, DeepRecursionIsAnErrorNotACrash)
{
    EXPECT_EQ(error_of("r := n -> r(n + 1): r(1);"), "(in r) too many levels of recursion");
    // The host is still usable afterwards, recursion included (a hundred
    // levels: a build with sanitizers and no optimisation has large frames,
    // and its guard stops a few hundred levels sooner than a release build's).
    EXPECT_EQ(error_of("r2 := proc(n) if n = 0 then 0 else 1 + r2(n - 1) end if end proc: 1;"), "");
    EXPECT_EQ(show("r2(100);"), "100");
}

TEST(Eval, NameChains)
{
    EXPECT_EQ(show("unassign('cy'): cx := cy: cy := 3: cx;"), "3");
    EXPECT_EQ(error_of("cp := cq: cq := cp: cp;"), "too many levels of recursion in the value of cp");
}

// The step budget stops a loop that would run for ever, the host stays
// usable, and with no budget the same work runs to its end.
TEST(Eval, StepBudget)
{
    set_step_budget(10000);
    EXPECT_EQ(error_of("i := 0: while true do i := i + 1 end do;"),
              "the computation exceeded its budget of 10000 evaluation steps");
    EXPECT_GT(steps_taken(), uint64_t(10000));
    // A few hundred levels of recursion: below the recursion guard in any build.
    set_step_budget(1000);
    EXPECT_EQ(error_of("f := n -> f(n + 1): f(1);"), "(in f) the computation exceeded its budget of 1000 evaluation steps");
    set_step_budget(10000);
    EXPECT_EQ(error_of("seq(i, i = 1..10^9);"), "(in seq) the computation exceeded its budget of 10000 evaluation steps");
    set_step_budget(10000);
    EXPECT_EQ(show("add(i, i = 1..100);"), "5050");
    EXPECT_LT(steps_taken(), uint64_t(10000));
    set_step_budget(0);
    EXPECT_EQ(show("s := 0: for i to 20000 do s := s + i end do: s;"), "200010000");
    EXPECT_GT(steps_taken(), uint64_t(20000));
    EXPECT_EQ(show("Digits;"), "10");
}

namespace {
// Measures the recursion guard n calls deeper than the caller.
[[gnu::noinline]] void measure_guard_deeper(int n)
{
    volatile char pad[256];
    pad[0] = 0;
    if (n > 0)
        measure_guard_deeper(n - 1);
    else
        reset_stack_guard();
    (void)pad[0];
}
} // namespace

// A program that starts the host in a deeper call than the one it evaluates
// from (the fuzz harness starts it in LLVMFuzzerInitialize): evaluation above
// the measured base is not deep recursion, and deep recursion is still caught.
TEST(Eval, RecursionGuardMeasuredInADeeperCall)
{
    measure_guard_deeper(50);
    EXPECT_EQ(error_of("1 + 1;"), "");
    EXPECT_EQ(show("1 + 1;"), "2");
    EXPECT_EQ(show("h := proc(n) if n = 0 then 0 else 1 + h(n - 1) end if end proc: h(20);"), "20");
    EXPECT_EQ(error_of("g := n -> g(n + 1): g(1);"), "(in g) too many levels of recursion");
    reset_stack_guard();
}
