// linear_programming_wrappers_test.cpp -- sw_e04mfa, sw_e04mha, sw_e04nca,
// sw_e04nea, sw_e04nfa, sw_e04nha, sw_h02bbf and sw_h02wbf
// (solvers/linear_programming_wrappers.cpp, the Hessian product trampoline
// of solvers/trampoline.cpp): every count and every table position's
// message (docs/solvers.md pins the layouts), and a correct call of each
// at Digits 30 returning the documented outputs in the documented positions.
#include "solvers_support.hpp"

#include <map>
#include <vector>

namespace {

using namespace stats::test;

struct Wrapper {
    const char *name;
    TalvoArrayEntry entry;
    std::vector<std::string> args; // a correct call
    std::vector<int> tables;       // the positions checked as tables
};

// The problems:
//   LP  minimise -x1 - x2 subject to x1 + 2 x2 <= 4, 3 x1 + x2 <= 6, x >= 0:
//       x = (8/5, 6/5), value -14/5, multipliers -2/5 and -1/5;
//   LS  minimise 1/2 ||(1, 5/2) - x||^2 subject to x1 + x2 <= 2:
//       x = (1/4, 7/4), value 9/16;
//   QP  minimise x1^2 + x2^2 - 2 x1 - 5 x2 on the same constraint:
//       x = (1/4, 7/4), value -49/8;
//   IP  maximise 5 x1 + 4 x2 + 3 x3 subject to 2 x1 + 3 x2 + x3 <= 5, x
//       binary: x = (1, 1, 0), value 9 (minimise the negative).
void arrays()
{
    eval("Digits := 30: "
         "mlw := Array(1..120, datatype = int64): miw := Array(1..610, datatype = int64): mrw := Array(1..475): "
         "nlw := Array(1..120, datatype = int64): niw := Array(1..610, datatype = int64): nrw := Array(1..475): "
         "flw := Array(1..120, datatype = int64): fiw := Array(1..610, datatype = int64): frw := Array(1..475): "
         "hlw := Array(1..120, datatype = int64): hiw := Array(1..610, datatype = int64): hrw := Array(1..475): "
         "lpa := Array(1..4, [1, 3, 2, 1]): lpbl := Array(1..4, [0, 0, -1e25, -1e25]): "
         "lpbu := Array(1..4, [1e25, 1e25, 4, 6]): lpc := Array(1..2, [-1, -1]): "
         "lpst := Array(1..4, datatype = int64): lpx := Array(1..2): lpax := Array(1..2): lpcl := Array(1..4): "
         "qc := Array(1..2, [1, 1]): qbl := Array(1..3, [-1e25, -1e25, -1e25]): "
         "qbu := Array(1..3, [1e25, 1e25, 2]): qcv := Array(1..2, [0, 0]): qst := Array(1..3, datatype = int64): "
         "qkx := Array(1..2, datatype = int64): qx := Array(1..2): qa := Array(1..4, [1, 0, 0, 1]): "
         "qb := Array(1..2, [1, 2.5]): qcl := Array(1..3): "
         "fcv := Array(1..2, [-2, -5]): fh := Array(1..4, [2, 0, 0, 2]): fst := Array(1..3, datatype = int64): "
         "fx := Array(1..2): fax := Array(1..1): fcl := Array(1..3): "
         "hv := proc(x, hx) hx[1] := 2*x[1]; hx[2] := 2*x[2]; NULL end proc: "
         "ia := Array(1..3, [2, 3, 1]): ibl := Array(1..4, [0, 0, 0, -1e25]): ibu := Array(1..4, [1, 1, 1, 5]): "
         "iint := Array(1..3, [1, 1, 1], datatype = int64): icv := Array(1..3, [-5, -4, -3]): ix := Array(1..3): "
         "iiw := Array(1..4, datatype = int64): irw := Array(1..2)");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04MFA\", mlw, 120, miw, 610, mrw, 475"), "0");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04NCA\", nlw, 120, niw, 610, nrw, 475"), "0");
    EXPECT_EQ(array_result(sw_e04wbf, "\"E04NFA\", flw, 120, fiw, 610, frw, 475"), "0");
    EXPECT_EQ(array_result(sw_h02wbf, "\"H02BBF\", hlw, 120, hiw, 610, hrw, 475"), "0");
}

std::string param(int p) { return "param " + std::to_string(p) + " should be an rtable"; }

std::vector<Wrapper> Wrappers()
{
    const std::string work = "Array(1..400)", iwork = "Array(1..40, datatype = int64)";
    std::vector<Wrapper> w;
    w.push_back({"sw_e04mfa",
                 sw_e04mfa,
                 {"2", "2", "lpa", "2", "lpbl", "lpbu", "lpc", "lpst", "lpx", "'iter'", "'obj'", "lpax", "lpcl", iwork,
                  "40", work, "400", "mlw", "miw", "mrw", "'ifail'", "0", "0"},
                 {3, 5, 6, 7, 8, 9, 12, 13, 14, 16, 18, 19, 20}});
    w.push_back({"sw_e04mha",
                 sw_e04mha,
                 {"\"Iteration Limit 100\"", "mlw", "miw", "mrw", "'inform'", "-1", "120", "610", "475"},
                 {2, 3, 4}});
    w.push_back({"sw_e04nca",
                 sw_e04nca,
                 {"2", "2", "1", "1", "2", "qc", "qbl", "qbu", "qcv", "qst", "qkx", "qx", "qa", "qb", "'iter'", "'obj'",
                  "qcl", iwork, "40", work, "400", "nlw", "niw", "nrw", "'ifail'", "0", "0"},
                 {6, 7, 8, 9, 10, 11, 12, 13, 14, 17, 18, 20, 22, 23, 24}});
    w.push_back({"sw_e04nea",
                 sw_e04nea,
                 {"\"Iteration Limit 100\"", "nlw", "niw", "nrw", "'inform'", "-1", "120", "610", "475"},
                 {2, 3, 4}});
    w.push_back({"sw_e04nfa",
                 sw_e04nfa,
                 {"2", "1", "qc", "1", "qbl", "qbu", "fcv", "fh", "2", "hv", "fst", "fx", "'iter'", "'obj'", "fax",
                  "fcl", iwork, "40", work, "400", "flw", "fiw", "frw", "'ifail'", "Array(1..2)", "Array(1..2)", "1",
                  "'calls'"},
                 {3, 5, 6, 7, 8, 11, 12, 15, 16, 17, 19, 21, 22, 23, 25, 26}});
    w.push_back({"sw_e04nha",
                 sw_e04nha,
                 {"\"Iteration Limit 100\"", "flw", "fiw", "frw", "'inform'", "-1", "120", "610", "475"},
                 {2, 3, 4}});
    w.push_back({"sw_h02bbf",
                 sw_h02bbf,
                 {"0", "0", "3", "1", "ia", "1", "ibl", "ibu", "iint", "icv", "0", "0", "50", "0.", "0.", "0.", "ix",
                  "'objmip'", "iiw", "4", "irw", "2", "hlw", "hiw", "hrw", "'ifail'"},
                 {5, 7, 8, 9, 10, 17, 19, 21, 23, 24, 25}});
    w.push_back({"sw_h02wbf", sw_h02wbf, {"\"H02BBF\"", "hlw", "120", "hiw", "610", "hrw", "475"}, {2, 4, 6}});
    return w;
}

std::string Join(const std::vector<std::string> &v)
{
    std::string s;
    for (size_t k = 0; k < v.size(); ++k)
        s += (k > 0 ? ", " : "") + v[k];
    return s;
}

TEST(LinearProgrammingWrappers, Counts)
{
    arrays();
    const size_t expected[] = {23, 9, 27, 9, 28, 9, 26, 7};
    size_t k = 0;
    for (const Wrapper &w : Wrappers()) {
        EXPECT_EQ(w.args.size(), expected[k++]) << w.name;
        std::vector<std::string> more = w.args, fewer = w.args;
        more.push_back("0");
        fewer.pop_back();
        EXPECT_EQ(array_result(w.entry, Join(more)), "Error: Incorrect number of arguments") << w.name;
        EXPECT_EQ(array_result(w.entry, Join(fewer)), "Error: Incorrect number of arguments") << w.name;
        EXPECT_EQ(array_result(w.entry, ""), "Error: Incorrect number of arguments") << w.name;
    }
}

TEST(LinearProgrammingWrappers, EveryTablePositionRaisesItsMessage)
{
    arrays();
    for (const Wrapper &w : Wrappers()) {
        for (int position : w.tables) {
            std::vector<std::string> args = w.args;
            args[size_t(position - 1)] = "[0]";
            EXPECT_EQ(array_result(w.entry, Join(args)), "Error: " + param(position))
                << w.name << " position " << position;
        }
        // The first failing check wins: the last two tables both wrong.
        std::vector<std::string> args = w.args;
        const int first = w.tables[w.tables.size() - 2], second = w.tables.back();
        args[size_t(first - 1)] = "7";
        args[size_t(second - 1)] = "[1, 2]";
        EXPECT_EQ(array_result(w.entry, Join(args)), "Error: " + param(first)) << w.name;
    }
}

TEST(LinearProgrammingWrappers, TablesTooShortAreRefused)
{
    arrays();
    std::vector<std::string> args = Wrappers()[0].args; // sw_e04mfa
    args[4] = "Array(1..3)";                           // bl needs n + nclin = 4
    EXPECT_EQ(array_result(sw_e04mfa, Join(args)), "Error: param 5 should be an rtable of at least 4 elements");
    args = Wrappers()[0].args;
    args[2] = "Array(1..3)"; // a: lda (n - 1) + nclin = 4
    EXPECT_EQ(array_result(sw_e04mfa, Join(args)), "Error: param 3 should be an rtable of at least 4 elements");
    args = Wrappers()[6].args; // sw_h02bbf
    args[20] = "Array(1..1)";  // rwork of lrwork = 2
    EXPECT_EQ(array_result(sw_h02bbf, Join(args)), "Error: param 21 should be an rtable of at least 2 elements");
    // sw_e04nfa with the dense Hessian reads its ldh x n block.
    args = Wrappers()[4].args;
    args[26] = "0";
    args[7] = "Array(1..3)";
    EXPECT_EQ(array_result(sw_e04nfa, Join(args)), "Error: param 8 should be an rtable of at least 4 elements");
}

// ---------------------------------------------------------------------------
// Correct calls: the outputs in their positions
// ---------------------------------------------------------------------------

TEST(LinearProgrammingWrappers, LinearProgram)
{
    arrays();
    EXPECT_EQ(array_result(sw_e04mha, Join(Wrappers()[1].args)), "0");
    EXPECT_EQ(show(eval("inform")), "0");
    EXPECT_EQ(array_result(sw_e04mfa, Join(Wrappers()[0].args)), "0");
    EXPECT_EQ(show(eval("ifail")), "0");
    EXPECT_EQ(show(eval("evalb(abs(lpx[1] - 1.6) < 1e-28 and abs(lpx[2] - 1.2) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(obj + 2.8) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(lpax[1] - 4) < 1e-28 and abs(lpax[2] - 6) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(lpcl[3] + 0.4) < 1e-28 and abs(lpcl[4] + 0.2) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("[lpst[1], lpst[2], lpst[3], lpst[4]]")), "[0, 0, 2, 2]");
    EXPECT_EQ(show(eval("type(iter, integer) and iter >= 1")), "true");
    // The option setter's codes: not a keyword; arrays too short (5).
    EXPECT_EQ(array_result(sw_e04mha, "\"Colour Red\", mlw, miw, mrw, 'inform', -1, 120, 610, 475"), "2");
    EXPECT_EQ(array_result(sw_e04mha, "\"Iters 2\", mlw, miw, mrw, 'inform', -1, 120, 600, 475"), "5");
    EXPECT_EQ(show(eval("inform")), "5");
    // Infeasible: x1 + 2 x2 >= 20 with 3 x1 + x2 <= 6, x >= 0.
    eval("lpbl2 := Array(1..4, [0, 0, 20, -1e25]): lpx := Array(1..2)");
    std::vector<std::string> args = Wrappers()[0].args;
    args[4] = "lpbl2";
    args[5] = "Array(1..4, [1e25, 1e25, 1e25, 6])";
    const std::string code = array_result(sw_e04mfa, Join(args));
    EXPECT_NE(code, "0");
    EXPECT_EQ(show(eval("ifail")), code);
}

TEST(LinearProgrammingWrappers, LeastSquaresAndQuadraticProgram)
{
    arrays();
    // The default problem type of e04nca: least squares (LS1).
    EXPECT_EQ(array_result(sw_e04nca, Join(Wrappers()[2].args)), "0");
    EXPECT_EQ(show(eval("ifail")), "0");
    EXPECT_EQ(show(eval("evalb(abs(qx[1] - 0.25) < 1e-28 and abs(qx[2] - 1.75) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(obj - 0.5625) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("qst[3]")), "2");
    EXPECT_EQ(array_result(sw_e04nea, Join(Wrappers()[3].args)), "0");

    // e04nfa with the product procedure: called, counted at 28.
    EXPECT_EQ(array_result(sw_e04nha, Join(Wrappers()[5].args)), "0");
    EXPECT_EQ(array_result(sw_e04nfa, Join(Wrappers()[4].args)), "0");
    EXPECT_EQ(show(eval("ifail")), "0");
    EXPECT_EQ(show(eval("evalb(abs(fx[1] - 0.25) < 1e-28 and abs(fx[2] - 1.75) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(obj + 6.125) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("evalb(abs(fax[1] - 2) < 1e-28)")), "true");
    EXPECT_EQ(show(eval("type(calls, integer) and calls >= 1")), "true");
    // The same with the dense h (position 27 = 0): no procedure call.
    eval("fx := Array(1..2): fst := Array(1..3, datatype = int64)");
    std::vector<std::string> args = Wrappers()[4].args;
    args[9] = "0";
    args[26] = "0";
    EXPECT_EQ(array_result(sw_e04nfa, Join(args)), "0");
    EXPECT_EQ(show(eval("evalb(abs(obj + 6.125) < 1e-28 and calls = 0)")), "true");
    // A product procedure that does not fill its table: a clear error.
    eval("fx := Array(1..2): fst := Array(1..3, datatype = int64): "
         "bad := proc(x, hx) hx[1] := 2*x[1]; NULL end proc");
    args = Wrappers()[4].args;
    args[9] = "bad";
    EXPECT_EQ(array_result(sw_e04nfa, Join(args)),
              "Error: the Hessian product procedure must fill its second argument with numbers, element 2 is not set");
}

TEST(LinearProgrammingWrappers, IntegerProgram)
{
    arrays();
    EXPECT_EQ(array_result(sw_h02bbf, Join(Wrappers()[6].args)), "0");
    EXPECT_EQ(show(eval("ifail")), "0");
    EXPECT_EQ(show(eval("[ix[1], ix[2], ix[3]]")), "[1., 1., 0.]");
    EXPECT_EQ(show(eval("evalb(objmip = -9)")), "true");
    EXPECT_EQ(show(eval("evalb(iiw[1] >= 1 and iiw[4] = 1 and irw[2] = 5)")), "true");
    // Integer variables given as host integers in a plain table: read as a
    // copy; the work table likewise, and written back.
    eval("ix := Array(1..3): iiw2 := Array(1..4)");
    std::vector<std::string> args = Wrappers()[6].args;
    args[8] = "Array(1..3, [1, 1, 1])";
    args[18] = "iiw2";
    EXPECT_EQ(array_result(sw_h02bbf, Join(args)), "0");
    EXPECT_EQ(show(eval("evalb(objmip = -9 and iiw2[4] = 1)")), "true");
    // No integer solution: 2 x1 + 2 x2 + 2 x3 = 5.
    eval("ix := Array(1..3)");
    args = Wrappers()[6].args;
    args[4] = "Array(1..3, [2, 2, 2])";
    args[6] = "Array(1..4, [0, 0, 0, 5])";
    EXPECT_EQ(array_result(sw_h02bbf, Join(args)), "1");
    EXPECT_EQ(show(eval("ifail")), "1");
    // The node limit.
    eval("ix := Array(1..3)");
    args = Wrappers()[6].args;
    args[10] = "1";
    const std::string code = array_result(sw_h02bbf, Join(args));
    EXPECT_TRUE(code == "4" || code == "0") << code;
    EXPECT_EQ(show(eval("iiw[1]")), "1");
    // Save arrays of another routine; an unknown name for sw_h02wbf.
    args = Wrappers()[6].args;
    args[22] = "mlw";
    args[23] = "miw";
    args[24] = "mrw";
    EXPECT_EQ(array_result(sw_h02bbf, Join(args)), "7");
    EXPECT_EQ(array_result(sw_h02wbf, "\"E04MFA\", hlw, 120, hiw, 610, hrw, 475"), "1");
    EXPECT_EQ(array_result(sw_h02wbf, "\"H02BBF\", hlw, 119, hiw, 610, hrw, 475"), "2");
}

} // namespace
