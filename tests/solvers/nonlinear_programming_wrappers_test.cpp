// nonlinear_programming_wrappers_test.cpp -- sw_e04uca, sw_e04uea, sw_e04usa
// and sw_e04ura (solvers/nonlinear_programming_wrappers.cpp, the constraint
// and residual trampolines of solvers/trampoline.cpp): every count and every
// checked position's message (docs/solvers.md pins the layouts), the outputs
// in their documented positions, a constrained minimum and a constrained
// least-squares fit at Digits 40, the option setters, and user procedures
// that raise an error, return a non-number or an undefined value.
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

// min ln(1 + x1^2) - x2 on (1 + x1^2)^2 + x2^2 = 4 (Hock-Schittkowski 7:
// x* = (0, sqrt(3)), f* = -sqrt(3)); the nearest point of the unit circle to
// (2, 1) by least squares (F* = 3 - sqrt(5)).
void arrays()
{
    eval("Digits := 40: "
         "obj := proc(x) ln(1 + x[1]^2) - x[2] end proc: "
         "objg := proc(x, g) g[1] := 2*x[1]/(1 + x[1]^2); g[2] := -1; NULL end proc: "
         "cv := proc(x, c) c[1] := (1 + x[1]^2)^2 + x[2]^2; NULL end proc: "
         "cj := proc(x, J) J[1] := 4*(1 + x[1]^2)*x[1]; J[2] := 2*x[2]; NULL end proc: "
         "circ := proc(x, c) c[1] := x[1]^2 + x[2]^2; NULL end proc: "
         "circj := proc(x, J) J[1] := 2*x[1]; J[2] := 2*x[2]; NULL end proc: "
         "res := proc(x, f) f[1] := x[1]; f[2] := x[2]; NULL end proc: "
         "resj := proc(x, J) J[1] := 1; J[2] := 0; J[3] := 0; J[4] := 1; NULL end proc: "
         "lw := Array(1..120, datatype = int64): iw := Array(1..610, datatype = int64): rw := Array(1..475): "
         "lw2 := Array(1..120, datatype = int64): iw2 := Array(1..610, datatype = int64): rw2 := Array(1..475): "
         "x := Array(1..2, [2, 2]): y := Array(1..2, [0.5, -0.5]): "
         "blo := Array(1..3, [-1e25, -1e25, 4]): bup := Array(1..3, [1e25, 1e25, 4]): "
         "blc := Array(1..3, [-1e25, -1e25, 1]): buc := Array(1..3, [1e25, 1e25, 1]): "
         "ist := Array(1..3, datatype = int64): cl := Array(1..3): rr := Array(1..4)");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04UCA\", lw, 120, iw, 610, rw, 475"), "0");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04USA\", lw2, 120, iw2, 610, rw2, 475"), "0");
}

std::string a(int p, const char *noun) { return std::string("args[") + std::to_string(p) + "] must be " + noun; }
std::string param(int p) { return "param " + std::to_string(p) + " should be an rtable"; }

const char *kInt = "an integer";
const char *kTable = "a rtable";
const char *kProc = "a PROC";

// liwork 3n + nclin + 2 ncnln = 8; lwork 2n^2 + n nclin + 2n ncnln + 20n +
// 11 nclin + 21 ncnln = 73 (and m (n + 3) = 10 more for e04usa).
std::vector<Wrapper> Wrappers()
{
    std::vector<Wrapper> w;
    {
        Wrapper e{"sw_e04uca", sw_e04uca, "wrong number of arguments",
                  {"2", "0", "1", "1", "1", "2", "Array(1..1)", "blo", "bup", "cv", "cj", "obj", "objg", "'iter'",
                   "ist", "Array(1..1)", "Array(1..2)", "cl", "'objf'", "Array(1..2)", "rr", "x",
                   "Array(1..8, datatype = int64)", "8", "Array(1..73)", "73", "lw", "iw", "rw", "'ncalls'",
                   "'ccalls'", "0", "0", "0", "0", "0", "Array(1..2)", "Array(1..2)", "Array(1..1)", "Array(1..2)"},
                  {}};
        for (int p : {1, 2, 3, 4, 5, 6, 24, 26})
            e.checks[p] = a(p, kInt);
        for (int p : {7, 8, 9, 15, 16, 17, 18, 20, 21, 22, 23, 27, 28, 29, 37, 38, 39, 40})
            e.checks[p] = a(p, kTable);
        for (int p : {10, 11, 12, 13})
            e.checks[p] = a(p, kProc);
        e.checks[25] = a(23, kTable); // the text names position 23
        w.push_back(e);
    }
    {
        Wrapper e{"sw_e04usa", sw_e04usa, "wrong number of arguments",
                  {"2", "2", "0", "1", "1", "1", "2", "2", "Array(1..1)", "blc", "buc", "Array(1..2, [2, 1])", "circ",
                   "circj", "res", "resj", "'iter'", "ist", "Array(1..1)", "Array(1..2)", "Array(1..2)",
                   "Array(1..4)", "cl", "'objf'", "rr", "y", "Array(1..8, datatype = int64)", "8", "Array(1..83)",
                   "83", "lw2", "iw2", "rw2", "'ncalls'", "'ccalls'", "0", "0", "0", "0", "Array(1..2)",
                   "Array(1..2)", "Array(1..4)", "Array(1..1)", "Array(1..2)", "0"},
                  {}};
        for (int p : {1, 2, 3, 4, 5, 6, 7, 8, 28, 30})
            e.checks[p] = a(p, kInt);
        for (int p : {9, 10, 11, 12, 18, 19, 20, 21, 22, 23, 25, 26, 27, 29, 31, 32, 33, 40, 41, 42, 43, 44})
            e.checks[p] = a(p, kTable);
        for (int p : {13, 14, 15, 16})
            e.checks[p] = a(p, kProc);
        w.push_back(e);
    }
    w.push_back(Wrapper{"sw_e04uea", sw_e04uea, "Incorrect number of arguments",
                        {"\"Major Iteration Limit 500\"", "lw", "iw", "rw", "'inform'", "-1", "120", "610", "475"},
                        {{2, param(2)}, {3, param(3)}, {4, param(4)}}});
    w.push_back(Wrapper{"sw_e04ura", sw_e04ura, "Incorrect number of arguments",
                        {"\"Major Iteration Limit 500\"", "lw2", "iw2", "rw2", "'inform'", "-1", "120", "610", "475"},
                        {{2, param(2)}, {3, param(3)}, {4, param(4)}}});
    return w;
}

std::string Join(const std::vector<std::string> &v)
{
    std::string s;
    for (size_t k = 0; k < v.size(); ++k)
        s += (k > 0 ? ", " : "") + v[k];
    return s;
}

TEST(NonlinearProgrammingWrappers, Counts)
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

TEST(NonlinearProgrammingWrappers, EveryCheckedPositionRaisesItsMessage)
{
    arrays();
    for (const Wrapper &w : Wrappers()) {
        for (const auto &[position, message] : w.checks) {
            std::vector<std::string> args = w.args;
            args[size_t(position - 1)] = "[0]";
            EXPECT_EQ(array_result(w.entry, Join(args)), "Error: " + message) << w.name << " position " << position;
        }
    }
    // Every position from 1 to 40 of sw_e04uca that is not an output name or
    // an unused position is checked.
    EXPECT_EQ(Wrappers()[0].checks.size(), 40u - 9u);
}

TEST(NonlinearProgrammingWrappers, FirstFailingCheckIsRaised)
{
    arrays();
    std::vector<std::string> args = Wrappers()[0].args;
    args[24] = "[0]"; // work
    args[39] = "[0]"; // the last table
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "Error: args[23] must be a rtable");
    args[22] = "[0]"; // iwork, checked before work
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "Error: args[23] must be a rtable");
    args = Wrappers()[0].args;
    args[39] = "[0]";
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "Error: args[40] must be a rtable");
}

TEST(NonlinearProgrammingWrappers, TablesTooShortAreRefused)
{
    arrays();
    std::vector<std::string> args = Wrappers()[0].args;
    // The size check names the position itself (only the type check's fixed
    // text names 23).
    args[24] = "Array(1..72)"; // work of lwork = 73 elements
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "Error: args[25] must be a rtable of at least 73 elements");
    args = Wrappers()[0].args;
    args[7] = "Array(1..2)"; // bl needs n + nclin + ncnln = 3
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "Error: args[8] must be a rtable of at least 3 elements");
}

// ---------------------------------------------------------------------------
// Outputs
// ---------------------------------------------------------------------------

TEST(NonlinearProgrammingWrappers, ConstrainedMinimum)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04uca, Join(Wrappers()[0].args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(objf + sqrt(3.)) < 1e-38)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(x[1]) < 1e-18 and abs(x[2] - sqrt(3.)) < 1e-18)")), "true");
    EXPECT_EQ(show(eval("evalb(iter > 2 and ncalls > iter and ccalls > iter)")), "true");
    // The equality constraint in the working set (istate 3), its multiplier:
    // grad f = lambda grad c at x*, so lambda = -1 / (2 sqrt 3).
    EXPECT_EQ(show(eval("ist[3]")), "3");
    EXPECT_EQ(show(eval("evalb(abs(cl[3] + 1/(2*sqrt(3.))) < 1e-15)")), "true");
    // The Cholesky factor of the Hessian approximation: upper triangular.
    EXPECT_EQ(show(eval("evalb(rr[2] = 0 and rr[1] > 0 and rr[4] > 0)")), "true");
}

TEST(NonlinearProgrammingWrappers, OptionsAndIterationLimit)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04uea, "\"Major Iteration Limit 2\", lw, iw, rw, 'inform', -1, 120, 610, 475"),
              "0");
    EXPECT_EQ(show(eval("inform")), "0");
    EXPECT_EQ(array_result(sw_e04uca, Join(Wrappers()[0].args)), "4");
    EXPECT_EQ(show(eval("iter")), "2");
    EXPECT_EQ(array_result(sw_e04uea, "\"Colour Red\", lw, iw, rw, 'inform', -1, 120, 610, 475"), "2");
    EXPECT_EQ(array_result(sw_e04uea, "\"Defaults\", lw, iw, rw, 'inform', -1, 100, 610, 475"), "5");
    // Arrays of another routine: indicator 9, nothing assigned.
    eval("unassign('iter')");
    std::vector<std::string> args = Wrappers()[0].args;
    args[26] = "lw2";
    args[27] = "iw2";
    args[28] = "rw2";
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "9");
    EXPECT_EQ(show(eval("assigned(iter)")), "false");
}

TEST(NonlinearProgrammingWrappers, ConstrainedLeastSquares)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04ura, "\"Major Iteration Limit 200\", lw2, iw2, rw2, 'inform', -1, 120, 610, 475"),
              "0");
    EXPECT_EQ(array_result(sw_e04usa, Join(Wrappers()[1].args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(objf - (3 - sqrt(5.))) < 1e-38)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(y[1] - 2/sqrt(5.)) < 1e-18 and abs(y[2] - 1/sqrt(5.)) < 1e-18)")), "true");
    EXPECT_EQ(show(eval("evalb(ncalls > iter and ccalls > iter)")), "true");
}

// ---------------------------------------------------------------------------
// User procedures that misbehave
// ---------------------------------------------------------------------------

TEST(NonlinearProgrammingWrappers, ProceduresThatMisbehave)
{
    arrays();
    std::vector<std::string> args = Wrappers()[0].args;
    args[9] = "proc(x, c) error \"no constraint at %1\", x[1] end proc";
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "Error: no constraint at 2.");
    // The slots are free again.
    eval("x := Array(1..2, [2, 2])");
    EXPECT_EQ(array_result(sw_e04uca, Join(Wrappers()[0].args)), "0");
    args = Wrappers()[0].args;
    args[9] = "proc(x, c) c[1] := \"text\"; NULL end proc";
    EXPECT_EQ(array_result(sw_e04uca, Join(args)),
              "Error: the constraint procedure must fill its second argument with numbers, received: \"text\"");
    args = Wrappers()[0].args;
    args[10] = "proc(x, J) J[1] := 1; NULL end proc";
    EXPECT_EQ(array_result(sw_e04uca, Join(args)),
              "Error: the constraint Jacobian procedure must fill its second argument with numbers, element 2 is "
              "not set");
    args = Wrappers()[0].args;
    args[11] = "proc(x) [x[1]] end proc";
    EXPECT_EQ(array_result(sw_e04uca, Join(args)).rfind("Error: the objective procedure must return a number", 0), 0u);
    args = Wrappers()[0].args;
    args[11] = "proc(x) Float(undefined) end proc";
    eval("x := Array(1..2, [2, 2])");
    EXPECT_EQ(array_result(sw_e04uca, Join(args)), "11");
    args = Wrappers()[1].args;
    args[15] = "proc(x, J) J[1] := q; NULL end proc";
    EXPECT_EQ(array_result(sw_e04usa, Join(args)),
              "Error: the Jacobian procedure must fill its second argument with numbers, received: q");
    args = Wrappers()[1].args;
    args[14] = "proc(x, f) f[1] := 1; NULL end proc";
    EXPECT_EQ(array_result(sw_e04usa, Join(args)),
              "Error: the function procedure must fill its second argument with numbers, element 2 is not set");
}

} // namespace
