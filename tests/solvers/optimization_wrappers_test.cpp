// optimization_wrappers_test.cpp -- sw_e04aba, sw_e04cca, sw_e04dga,
// sw_e04dka, sw_e04fcf, sw_e04kdf and sw_e04wbf
// (solvers/optimization_wrappers.cpp, solvers/trampoline.cpp): every count
// and every checked position's message (docs/solvers.md pins the layouts),
// the outputs in their documented positions, Rosenbrock at Digits 50
// through each wrapper, and user procedures that raise an error, return a
// non-number or return infinity: a clear host error or the documented
// indicator, and the next call works.
#include "solvers_support.hpp"

#include <map>
#include <vector>

namespace {

using namespace stats::test;

struct Wrapper {
    const char *name;
    TalvoArrayEntry entry;
    const char *count_message;
    std::vector<std::string> args;     // a correct call
    std::map<int, std::string> checks; // position -> message when it has the wrong type
};

void arrays()
{
    eval("Digits := 50: "
         "rosen := proc(x) 100*(x[2] - x[1]^2)^2 + (1 - x[1])^2 end proc: "
         "rosengrad := proc(x, g) g[1] := -400*x[1]*(x[2] - x[1]^2) - 2*(1 - x[1]); "
         "  g[2] := 200*(x[2] - x[1]^2); NULL end proc: "
         "rosenres := proc(x, r) r[1] := 10*(x[2] - x[1]^2); r[2] := 1 - x[1]; NULL end proc: "
         "line := proc(x) 100*(1 - x[1]^2)^2 + (1 - x[1])^2 end proc: "
         "nothing := proc() NULL end proc: "
         "lw := Array(1..120, datatype = int64): iw := Array(1..610, datatype = int64): rw := Array(1..475): "
         "x := Array(1..2, [-1.2, 1])");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04DGA\", lw, 120, iw, 610, rw, 475"), "0");
}

std::string a(const char * /*wrapper*/, int p, const char *noun) { return std::string("args[") + std::to_string(p) + "] must be " + noun; }
std::string param(int p) { return "param " + std::to_string(p) + " should be an rtable"; }

const char *kInt = "an integer";
const char *kFloat = "an float";
const char *kTable = "a rtable";
const char *kProc = "a PROC";

std::vector<Wrapper> Wrappers()
{
    std::vector<Wrapper> w;
    {
        Wrapper e{"sw_e04aba", sw_e04aba, "wrong number of arguments",
                  {"line", "0", "0", "0", "2", "100", "0.", "0.", "Array(1..1)", "'xm'", "'fm'", "'br'", "'nc'"},
                  {}};
        e.checks[1] = a(e.name, 1, kProc);
        for (int p : {2, 3, 4, 5, 7, 8})
            e.checks[p] = a(e.name, p, kFloat);
        e.checks[6] = a(e.name, 6, kInt);
        e.checks[9] = a(e.name, 9, kTable);
        w.push_back(e);
    }
    {
        Wrapper e{"sw_e04cca", sw_e04cca, "wrong number of arguments",
                  {"2", "x", "'f'", "1e-45", "3", "Array(1..2)", "Array(1..2)", "Array(1..2)", "Array(1..2)",
                   "Array(1..3)", "Array(1..6)", "rosen", "nothing", "20000", "Array(1..2)", "Array(1..6)", "0",
                   "'calls'", "0", "0", "0", "0", "0"},
                  {}};
        for (int p : {1, 5, 14, 17})
            e.checks[p] = a(e.name, p, kInt);
        for (int p : {2, 6, 7, 8, 9, 10, 11, 15, 16})
            e.checks[p] = a(e.name, p, kTable);
        e.checks[4] = a(e.name, 4, kFloat);
        e.checks[12] = a(e.name, 12, kProc);
        e.checks[13] = a(e.name, 13, kProc);
        w.push_back(e);
    }
    {
        Wrapper e{"sw_e04dga", sw_e04dga, "wrong number of arguments",
                  {"2", "rosen", "rosengrad", "'iter'", "'objf'", "Array(1..2)", "x", "Array(1..3, datatype = int64)",
                   "Array(1..26)", "lw", "iw", "rw", "Array(1..2)", "Array(1..2)", "'calls'", "0", "0", "0"},
                  {}};
        e.checks[1] = a(e.name, 1, kInt);
        e.checks[2] = a(e.name, 2, kProc);
        e.checks[3] = a(e.name, 3, kProc);
        for (int p = 6; p <= 14; ++p)
            e.checks[p] = a(e.name, p, kTable);
        w.push_back(e);
    }
    {
        Wrapper e{"sw_e04dka", sw_e04dka, "Incorrect number of arguments",
                  {"\"Iteration Limit 500\"", "lw", "iw", "rw", "'inform'", "-1", "120", "610", "475"},
                  {{2, param(2)}, {3, param(3)}, {4, param(4)}}};
        w.push_back(e);
    }
    {
        Wrapper e{"sw_e04wbf", sw_e04wbf, "Incorrect number of arguments",
                  {"\"E04DGA\"", "lw", "120", "iw", "610", "rw", "475"},
                  {{2, param(2)}, {4, param(4)}, {6, param(6)}}};
        w.push_back(e);
    }
    {
        Wrapper e{"sw_e04fcf", sw_e04fcf, "wrong number of arguments",
                  {"2", "2", "rosenres", "nothing", "Array(1..2)", "0", "1000", "0.5", "0.", "0.", "x", "'ss'",
                   "Array(1..2)", "Array(1..4)", "2", "Array(1..2)", "Array(1..4)", "2", "'nit'", "'nf'",
                   "Array(1..1, datatype = int64)", "1", "Array(1..1)", "1", "Array(1..2)", "Array(1..4)",
                   "Array(1..2)", "'grade'"},
                  {}};
        for (int p : {1, 2, 6, 7, 15, 18, 22, 24})
            e.checks[p] = a(e.name, p, kInt);
        e.checks[3] = a(e.name, 3, kProc);
        e.checks[4] = a(e.name, 4, kProc);
        for (int p : {5, 11, 13, 14, 16, 17, 21, 23, 25, 26, 27})
            e.checks[p] = a(e.name, p, kTable);
        e.checks[10] = a(e.name, 10, kFloat);
        w.push_back(e);
    }
    {
        Wrapper e{"sw_e04kdf", sw_e04kdf, "wrong number of arguments",
                  {"2", "rosen", "rosengrad", "nothing", "0", "1000", "0.5", "0.", "0.", "0.", "1", "Array(1..2)",
                   "Array(1..2)", "x", "Array(1..1)", "1", "Array(1..2)", "Array(1..2, datatype = int64)", "'fk'",
                   "Array(1..2)", "Array(1..3, datatype = int64)", "3", "Array(1..15)", "15", "Array(1..2)",
                   "Array(1..2)", "'kit'", "'knf'", "'gp'", "'cnd'", "'pd'", "0"},
                  {}};
        for (int p : {1, 5, 6, 11, 16, 22, 24})
            e.checks[p] = a(e.name, p, kInt);
        for (int p : {12, 13, 14, 15, 17, 18, 20, 21, 23, 25, 26})
            e.checks[p] = a(e.name, p, kTable);
        w.push_back(e);
    }
    return w;
}

std::string Join(const std::vector<std::string> &v)
{
    std::string s;
    for (size_t k = 0; k < v.size(); ++k)
        s += (k > 0 ? ", " : "") + v[k];
    return s;
}

TEST(OptimizationWrappers, Counts)
{
    arrays();
    for (const Wrapper &w : Wrappers()) {
        std::vector<std::string> more = w.args, fewer = w.args;
        more.push_back("0");
        fewer.pop_back();
        EXPECT_EQ(array_result(w.entry, Join(more)), std::string("Error: ") + w.count_message) << w.name;
        EXPECT_EQ(array_result(w.entry, Join(fewer)), std::string("Error: ") + w.count_message) << w.name;
        EXPECT_EQ(array_result(w.entry, ""), std::string("Error: ") + w.count_message) << w.name;
    }
}

TEST(OptimizationWrappers, EveryCheckedPositionRaisesItsMessage)
{
    arrays();
    for (const Wrapper &w : Wrappers()) {
        for (const auto &[position, message] : w.checks) {
            std::vector<std::string> args = w.args;
            args[size_t(position - 1)] = "[0]";
            EXPECT_EQ(array_result(w.entry, Join(args)), "Error: " + message) << w.name << " position " << position;
        }
        // Positions without a check take anything their role can convert.
        EXPECT_EQ(array_result(w.entry, Join(w.args)).rfind("Error", 0), std::string::npos) << w.name;
    }
}

TEST(OptimizationWrappers, FirstFailingCheckIsRaised)
{
    arrays();
    // Positions 2 and 1 both wrong: position 1's message.
    EXPECT_EQ(array_result(sw_e04aba, "1, [0], 0, 0, 2, 100, 0., 0., Array(1..1), 'xm', 'fm', 'br', 'nc'"),
              "Error: args[1] must be a PROC");
    EXPECT_EQ(array_result(sw_e04dga, "2, rosen, 7, 'iter', 'objf', 5, x, 1, 1, lw, iw, rw, 1, 1, 'c', 0, 0, 0"),
              "Error: args[3] must be a PROC");
}

TEST(OptimizationWrappers, TablesTooShortAreRefused)
{
    arrays();
    std::vector<std::string> args = Wrappers()[2].args; // sw_e04dga
    args[8] = "Array(1..25)";                           // work needs 13 n = 26
    EXPECT_EQ(array_result(sw_e04dga, Join(args)), "Error: args[9] must be a rtable of at least 26 elements");
    args = Wrappers()[2].args;
    args[11] = "Array(1..474)"; // rwsav
    EXPECT_EQ(array_result(sw_e04dga, Join(args)), "Error: args[12] must be a rtable of at least 475 elements");
}

// ---------------------------------------------------------------------------
// Outputs, Rosenbrock at Digits 50
// ---------------------------------------------------------------------------

TEST(OptimizationWrappers, OneVariable)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04aba, Join(Wrappers()[0].args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(xm - 1) < 1e-22)")), "true");
    EXPECT_EQ(show(eval("evalb(fm < 1e-45)")), "true");
    EXPECT_EQ(show(eval("evalb(op(1, br) <= xm and xm <= op(2, br))")), "true");
    EXPECT_EQ(show(eval("type(nc, integer) and nc > 3")), "true");
    // The interval the wrong way round: indicator 1, nothing assigned.
    eval("unassign('xm')");
    EXPECT_EQ(array_result(sw_e04aba, "line, 0, 0, 2, 1, 100, 0., 0., Array(1..1), 'xm', 'fm', 'br', 'nc'"), "1");
    EXPECT_EQ(show(eval("assigned(xm)")), "false");
}

TEST(OptimizationWrappers, SimplexWithMonitor)
{
    arrays();
    eval("mcount := 0: mon := proc(fmin, fmax, sim, ncall) global mcount; mcount := mcount + 1; "
         "if fmin > fmax or ncall < 1 then error \"bad monitor arguments\" end if; NULL end proc");
    std::vector<std::string> args = Wrappers()[1].args;
    args[12] = "mon";
    args[16] = "1";
    EXPECT_EQ(array_result(sw_e04cca, Join(args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(x[1] - 1) < 1e-20 and abs(x[2] - 1) < 1e-20)")), "true");
    EXPECT_EQ(show(eval("evalb(f < 1e-44)")), "true");
    EXPECT_EQ(show(eval("evalb(mcount > 50 and calls > mcount)")), "true");
}

TEST(OptimizationWrappers, QuasiNewtonWithOptions)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04dka, Join(Wrappers()[3].args)), "0");
    EXPECT_EQ(show(eval("inform")), "0");
    EXPECT_EQ(array_result(sw_e04dga, Join(Wrappers()[2].args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(x[1] - 1) < 1e-22 and abs(x[2] - 1) < 1e-22)")), "true");
    EXPECT_EQ(show(eval("evalb(objf < 1e-48)")), "true");
    EXPECT_EQ(show(eval("evalb(iter > 10 and calls > iter)")), "true");
    // An option the grammar does not know; the arrays of another routine.
    EXPECT_EQ(array_result(sw_e04dka, "\"Colour Red\", lw, iw, rw, 'inform', -1, 120, 610, 475"), "2");
    EXPECT_EQ(array_result(sw_e04dka, "\"Iters 2\", lw, iw, rw, 'inform', -1, 100, 610, 475"), "5");
    EXPECT_EQ(array_result(sw_e04dka, "\"Iters 2 and more\", lw, iw, rw, 'inform', 7, 120, 610, 475"), "0");
    eval("x := Array(1..2, [-1.2, 1])");
    EXPECT_EQ(array_result(sw_e04dga, Join(Wrappers()[2].args)), "3");
    EXPECT_EQ(show(eval("iter")), "2");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04XYZ\", lw, 120, iw, 610, rw, 475"), "1");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04UCA\", lw, 120, iw, 610, rw, 474"), "2");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04UCA\", lw, 120, iw, 610, rw, 475"), "0");
    EXPECT_EQ(array_result(sw_e04dga, Join(Wrappers()[2].args)), "9");
    // Save arrays of host integers (not int64) are read and written back too.
    eval("lw2 := Array(1..120): iw2 := Array(1..610): rw2 := Array(1..475)");
    EXPECT_EQ(array_result(sw_e04wbf, "\"e04dga\", lw2, 120, iw2, 610, rw2, 475"), "0");
    EXPECT_EQ(array_result(sw_e04dka, "\"Iters 4\", lw2, iw2, rw2, 'inform', -1, 120, 610, 475"), "0");
    EXPECT_EQ(show(eval("iw2[3]")), "4");
}

TEST(OptimizationWrappers, LeastSquares)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04fcf, Join(Wrappers()[5].args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(x[1] - 1) < 1e-48 and abs(x[2] - 1) < 1e-48)")), "true");
    EXPECT_EQ(show(eval("evalb(ss < 1e-96)")), "true");
    EXPECT_EQ(show(eval("evalb(nit > 5 and nf > nit and grade = 2)")), "true");
    // The monitor sees the tables of positions 5, 25, 26 and 27.
    eval("mcount := 0: mon := proc(xc, fv, fj, sv, g, it, nf) global mcount; mcount := mcount + 1; "
         "if g <> 2 or sv[1] < sv[2] then error \"bad monitor arguments\" end if; NULL end proc: "
         "x := Array(1..2, [-1.2, 1])");
    std::vector<std::string> args = Wrappers()[5].args;
    args[3] = "mon";
    args[5] = "1";
    EXPECT_EQ(array_result(sw_e04fcf, Join(args)), "0");
    EXPECT_EQ(show(eval("evalb(mcount > 5)")), "true");
}

TEST(OptimizationWrappers, BoundedNewton)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04kdf, Join(Wrappers()[6].args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(x[1] - 1) < 1e-22 and abs(x[2] - 1) < 1e-22)")), "true");
    EXPECT_EQ(show(eval("evalb(fk < 1e-48 and kit > 5 and knf > kit and pd = true)")), "true");
    // x1 <= 1/2: held at its upper bound, istate -1.
    eval("x := Array(1..2, [-1.2, 1]): ist := Array(1..2, datatype = int64)");
    std::vector<std::string> args = Wrappers()[6].args;
    args[10] = "0";
    args[11] = "Array(1..2, [-2, -2])";
    args[12] = "Array(1..2, [0.5, 2])";
    args[17] = "ist";
    EXPECT_EQ(array_result(sw_e04kdf, Join(args)), "0");
    EXPECT_EQ(show(eval("x[1]")), "0.5");
    EXPECT_EQ(show(eval("[ist[1], ist[2]]")), "[-1, 0]");
    EXPECT_EQ(show(eval("evalb(abs(fk - 0.25) < 1e-48)")), "true");
    // The monitor, every iteration (iprint 1): the point, value, gradient
    // and state lists, the projected gradient norm, the condition estimate,
    // positive definiteness and the counts.
    eval("mcount := 0: mon := proc(xc, f, g, st, gp, cond, pd, it, nf) global mcount; mcount := mcount + 1; "
         "if nops(g) <> 2 or nops(st) <> 2 or not type(pd, boolean) or nf < it or cond < 1 then "
         "error \"bad monitor arguments\" end if; NULL end proc: x := Array(1..2, [-1.2, 1])");
    args = Wrappers()[6].args;
    args[3] = "mon";
    args[4] = "1";
    EXPECT_EQ(array_result(sw_e04kdf, Join(args)), "0");
    EXPECT_EQ(show(eval("evalb(mcount > 5 and mcount >= kit and mcount <= kit + 1)")), "true");
}

// ---------------------------------------------------------------------------
// User procedures that misbehave
// ---------------------------------------------------------------------------

TEST(OptimizationWrappers, ErrorInsideAProcedurePropagates)
{
    arrays();
    eval("n := 0: bad := proc(x) global n; n := n + 1; if n > 5 then error \"stop at %1\", n end if; "
         "(x[1] - 1)^2 + (x[2] - 2)^2 end proc");
    std::vector<std::string> args = Wrappers()[1].args;
    args[11] = "bad";
    EXPECT_EQ(array_result(sw_e04cca, Join(args)), "Error: stop at 6");
    // The slots are free again: the next solve works.
    eval("x := Array(1..2, [-1.2, 1])");
    EXPECT_EQ(array_result(sw_e04cca, Join(Wrappers()[1].args)), "0");
    eval("x := Array(1..2, [-1.2, 1])");
    args = Wrappers()[6].args;
    args[2] = "proc(x, g) error \"no gradient\" end proc";
    EXPECT_EQ(array_result(sw_e04kdf, Join(args)), "Error: no gradient");
    eval("x := Array(1..2, [-1.2, 1])");
    EXPECT_EQ(array_result(sw_e04kdf, Join(Wrappers()[6].args)), "0");
}

TEST(OptimizationWrappers, NonNumbersAreRefused)
{
    arrays();
    std::vector<std::string> args = Wrappers()[2].args;
    args[1] = "proc(x) \"text\" end proc";
    EXPECT_EQ(array_result(sw_e04dga, Join(args)),
              "Error: the objective procedure must return a number, received: \"text\"");
    args = Wrappers()[2].args;
    args[2] = "proc(x, g) g[1] := 1; g[2] := q; NULL end proc";
    EXPECT_EQ(array_result(sw_e04dga, Join(args)),
              "Error: the gradient procedure must fill its second argument with numbers, received: q");
    args = Wrappers()[2].args;
    args[2] = "proc(x, g) g[1] := 1; NULL end proc"; // g[2] left unset
    EXPECT_EQ(array_result(sw_e04dga, Join(args)),
              "Error: the gradient procedure must fill its second argument with numbers, element 2 is not set");
    args = Wrappers()[5].args;
    args[2] = "proc(x, r) r[1] := [1]; r[2] := 0; NULL end proc";
    EXPECT_EQ(array_result(sw_e04fcf, Join(args)),
              "Error: the residual procedure must fill its second argument with numbers, received: [1]");
    EXPECT_EQ(array_result(sw_e04aba, "x -> [x], 0, 0, 0, 2, 100, 0., 0., Array(1..1), 'xm', 'fm', 'br', 'nc'")
                  .rfind("Error: the function procedure must return a number, received: [", 0),
              0u);
    // Integers and rationals are numbers.
    eval("x := Array(1..2, [-1.2, 1])");
    args = Wrappers()[2].args;
    args[1] = "proc(x) 3 end proc";
    args[2] = "proc(x, g) g[1] := 0; g[2] := 1/2; NULL end proc";
    EXPECT_NE(array_result(sw_e04dga, Join(args)).rfind("Error", 0), 0u);
}

TEST(OptimizationWrappers, InfinityAndUndefined)
{
    arrays();
    // Infinite outside x1 < 3: the steps are shortened, the solve succeeds.
    eval("x := Array(1..2, [-30, 2]): "
         "inf := proc(x) if x[1] > 3 then Float(infinity) else (x[1] - 1)^2 + (x[2] - 2)^2 end if end proc: "
         "infg := proc(x, g) g[1] := 2*(x[1] - 1); g[2] := 2*(x[2] - 2); NULL end proc");
    std::vector<std::string> args = Wrappers()[2].args;
    args[1] = "inf";
    args[2] = "infg";
    EXPECT_EQ(array_result(sw_e04dga, Join(args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(x[1] - 1) < 1e-20)")), "true");
    // Undefined: the documented indicator 11.
    eval("x := Array(1..2, [-1.2, 1])");
    args[1] = "proc(x) Float(undefined) end proc";
    EXPECT_EQ(array_result(sw_e04dga, Join(args)), "11");
    // Infinite at the start point: 11 too (no finite value to compare with).
    args[1] = "proc(x) Float(infinity) end proc";
    EXPECT_EQ(array_result(sw_e04dga, Join(args)), "11");
}

// Re-entry (a procedure that calls a wrapper again) needs the host to find
// the wrappers by name: the script test optimization_messages.tv has it.

} // namespace
