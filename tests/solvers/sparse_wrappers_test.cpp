// sparse_wrappers_test.cpp -- the seventeen sparse wrappers
// (solvers/sparse_wrappers.cpp): for each its count message, the message of
// every table position in order, and a correct call's outputs in their
// documented positions; sw_f11grstf's loop and its four messages; the
// reverse-communication wrappers driven from the host's side.
#include "solvers_support.hpp"

#include <map>
#include <string>
#include <vector>

namespace {

using namespace stats::test;

// eval, with a host error reported as a test failure that shows its text.
ALGEB ev(const std::string &text)
{
    try {
        return eval(text);
    } catch (talvo::HostError &e) {
        ADD_FAILURE() << text << ": " << e.message;
        throw;
    }
}

// Arguments as text, with argument k replaced for each (k, value).
std::string join(const std::vector<std::string> &a, std::map<int, std::string> replace = {})
{
    std::string s;
    for (size_t k = 1; k <= a.size(); ++k) {
        auto r = replace.find(int(k));
        s += (k > 1 ? ", " : "") + (r != replace.end() ? r->second : a[k - 1]);
    }
    return s;
}

// The count message for one argument too few and too many, and "param K
// should be an rtable" for each table position given a number.
void check_messages(TalvoArrayEntry entry, const std::vector<std::string> &args, const std::vector<int> &tables)
{
    std::vector<std::string> fewer(args.begin(), args.end() - 1), more(args);
    more.push_back("0");
    EXPECT_EQ(array_result(entry, join(fewer)), "Error: Incorrect number of arguments");
    EXPECT_EQ(array_result(entry, join(more)), "Error: Incorrect number of arguments");
    for (int k : tables) {
        EXPECT_EQ(array_result(entry, join(args, {{k, "7"}})), "Error: param " + std::to_string(k) + " should be an rtable")
            << "position " << k;
    }
    // the first failing table check wins
    if (tables.size() >= 2) {
        EXPECT_EQ(array_result(entry, join(args, {{tables[0], "7"}, {tables[1], "7"}})),
                  "Error: param " + std::to_string(tables[0]) + " should be an rtable");
    }
}

// A 3 x 3 system: A = [[4, 1, 0], [1, 3, 1], [0, 1, 2]] in ordered storage
// with room for a factor; b = A (1, 2, 3) = (6, 10, 8).
void real_system()
{
    ev("Digits := 30: n := 3: nnz := 7: la := 30: "
         "a := Array(1..la, [4, 1, 1, 3, 1, 1, 2], datatype = sfloat): "
         "irow := Array(1..la, [1, 1, 2, 2, 2, 3, 3], datatype = int64): "
         "icol := Array(1..la, [1, 2, 1, 2, 3, 2, 3], datatype = int64): "
         "ipivp := Array(1..3, datatype = int64): ipivq := Array(1..3, datatype = int64): "
         "istr := Array(1..4, datatype = int64): idiag := Array(1..3, datatype = int64): "
         "iwork := Array(1..30, datatype = int64): b := Array(1..3, [6, 10, 8], datatype = sfloat): "
         "x := Array(1..3, [0, 0, 0], datatype = sfloat): y := Array(1..3): "
         "unassign('nnzc'): unassign('npivm'): unassign('ifail'): unassign('rnorm'): unassign('itn')");
}

const std::vector<std::string> kDaf = {"n", "nnz", "a", "la", "irow", "icol", "0", "0.0", "\"N\"", "\"N\"",
                                       "ipivp", "ipivq", "istr", "idiag", "'nnzc'", "'npivm'", "iwork", "'ifail'"};
const std::vector<std::string> kDcf = {"\"RGMRES\"", "n", "nnz", "a", "la", "irow", "icol", "ipivp", "ipivq", "istr",
                                       "idiag", "b", "2", "1e-25", "100", "x", "'rnorm'", "'itn'", "'ifail'"};

TEST(SparseWrappers, IncompleteLuFactorSolveAndBlackBox)
{
    real_system();
    check_messages(sw_f11daf, kDaf, {3, 5, 6, 11, 12, 13, 14, 17});
    EXPECT_EQ(array_result(sw_f11daf, join(kDaf)), "0");
    EXPECT_EQ(show(ev("[nnzc, npivm, ifail, istr[1], istr[4]]")), "[7, 0, 0, 8, 15]");
    // the factor solves: y = M^{-1} b with ILU(0) of a tridiagonal matrix = A^{-1} b
    const std::vector<std::string> dbf = {"\"N\"", "n", "a", "la", "irow", "icol", "ipivp", "ipivq",
                                          "istr", "idiag", "\"C\"", "b", "y", "'ifail'"};
    check_messages(sw_f11dbf, dbf, {3, 5, 6, 7, 8, 9, 10, 12, 13});
    EXPECT_EQ(array_result(sw_f11dbf, join(dbf)), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(y[1] - (1)), abs(y[2] - (2)), abs(y[3] - (3))) < 1e-20)")), "true");
    // a bad letter: the indicator, as result and output
    EXPECT_EQ(array_result(sw_f11dbf, join(dbf, {{1, "\"Q\""}})), "1");
    EXPECT_EQ(show(ev("ifail")), "1");
    check_messages(sw_f11dcf, kDcf, {4, 6, 7, 8, 9, 10, 11, 12, 16});
    EXPECT_EQ(array_result(sw_f11dcf, join(kDcf)), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(x[1] - (1)), abs(x[2] - (2)), abs(x[3] - (3))) < 1e-20)")), "true");
    EXPECT_EQ(show(ev("[type(itn, posint), evalb(rnorm < 1e-24), ifail]")), "[true, true, 0]");
    // the iteration limit: a tolerance below what Digits 30 reaches, and a
    // solution that is not exact in binary
    ev("x := Array(1..3, [0, 0, 0], datatype = sfloat): b := Array(1..3, [1, 1, 1], datatype = sfloat)");
    EXPECT_EQ(array_result(sw_f11dcf, join(kDcf, {{1, "\"CGS\""}, {15, "1"}, {14, "1e-45"}})), "6");
}

TEST(SparseWrappers, JacobiSsorBlackBoxAndSsorSolve)
{
    real_system();
    const std::vector<std::string> def = {"\"BICGSTAB\"", "\"S\"", "n", "nnz", "a", "irow", "icol", "1.2", "b",
                                          "1", "1e-25", "100", "x", "'rnorm'", "'itn'", "iwork", "'ifail'"};
    check_messages(sw_f11def, def, {5, 6, 7, 9, 13, 16});
    EXPECT_EQ(array_result(sw_f11def, join(def)), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(x[1] - (1)), abs(x[2] - (2)), abs(x[3] - (3))) < 1e-20)")), "true");
    ev("x := Array(1..3, [0, 0, 0], datatype = sfloat)");
    EXPECT_EQ(array_result(sw_f11def, join(def, {{2, "\"J\""}, {1, "\"TFQMR\""}})), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(x[1] - (1)), abs(x[2] - (2)), abs(x[3] - (3))) < 1e-20)")), "true");
    // omega outside (0, 2) with SSOR
    EXPECT_EQ(array_result(sw_f11def, join(def, {{8, "2.5"}})), "1");
    // f11ddf: the SSOR solve with omega = 1 on a diagonal matrix is y / diag
    ev("d := Array(1..3, [2, 4, 5], datatype = sfloat): rd := Array(1..3, [0.5, 0.25, 0.2], datatype = sfloat): "
         "di := Array(1..3, [1, 2, 3], datatype = int64): z := Array(1..3)");
    const std::vector<std::string> ddf = {"\"N\"", "3", "3", "d", "di", "di", "rd", "1.0", "\"C\"", "b", "z",
                                          "'ifail'"};
    check_messages(sw_f11ddf, ddf, {4, 5, 6, 7, 10, 11});
    EXPECT_EQ(array_result(sw_f11ddf, join(ddf)), "0");
    EXPECT_EQ(show(ev("[z[1], z[2], z[3]]")), "[3., 2.5, 1.6]");
}

TEST(SparseWrappers, ProductAndStorageUtilities)
{
    ev("Digits := 20: sa := Array(1..4, [5, 1, 2, 3], datatype = sfloat): "
         "sr := Array(1..4, [2, 1, 1, 2]): sc := Array(1..4, [2, 1, 1, 2]): "
         "ss := Array(1..3): snnz := 4");
    const std::vector<std::string> zaf = {"2", "'snnz'", "sa", "sr", "sc", "ss"};
    check_messages(sw_f11zaf, zaf, {3, 4, 5, 6});
    // duplicates summed: (1,1) = 1 + 2, (2,2) = 5 + 3
    EXPECT_EQ(array_result(sw_f11zaf, join(zaf)), "0");
    EXPECT_EQ(show(ev("[snnz, sa[1], sa[2], sr[1], sr[2], sc[2], ss[1], ss[2], ss[3]]")),
              "[2, 3., 8., 1, 2, 2, 1, 2, 3]");
    // an index out of range
    ev("sr2 := Array(1..1, [3]): sa2 := Array(1..1, [1.0])");
    EXPECT_EQ(array_result(sw_f11zaf, "2, 1, sa2, sr2, sr2, ss"), "2");
    // complex: (1,1) given twice
    ev("ca := Array(1..6, [1, 1, 2, -1, 0.5, 0], datatype = sfloat): cr := Array(1..3, [1, 1, 2]): "
         "cc := Array(1..3, [1, 1, 1]): cs := Array(1..3)");
    EXPECT_EQ(array_result(sw_f11znf, "2, 3, ca, cr, cc, cs"), "0");
    EXPECT_EQ(show(ev("[ca[1], ca[2], cr[2], cc[2], cs[3]]")), "[3., 0., 2, 1, 3]");
    check_messages(sw_f11znf, {"2", "3", "ca", "cr", "cc", "cs"}, {3, 4, 5, 6});
    // Hermitian storage refuses an entry above the diagonal
    ev("ha := Array(1..2, [1, 1], datatype = sfloat): hr := Array(1..1, [1]): hc := Array(1..1, [2])");
    EXPECT_EQ(array_result(sw_f11zpf, "2, 1, ha, hr, hc, cs"), "2");
    check_messages(sw_f11zpf, {"2", "1", "ha", "hr", "hc", "cs"}, {3, 4, 5, 6});
    // y = A x
    real_system();
    const std::vector<std::string> xaf = {"n", "nnz", "a", "irow", "icol", "b", "y"};
    check_messages(sw_f11xaf, xaf, {3, 4, 5, 6, 7});
    EXPECT_EQ(array_result(sw_f11xaf, join(xaf)), "0");
    EXPECT_EQ(show(ev("[y[1], y[2], y[3]]")), "[34., 44., 26.]");
    EXPECT_EQ(array_result(sw_f11xaf, join(xaf, {{4, "Array(1..7, [1, 1, 2, 2, 2, 3, 9])"}})), "2");
}

TEST(SparseWrappers, ComplexFactorSolveAndBlackBoxes)
{
    // A = [[4 + i, 1], [1, 3 - i]], b = A (1 + i, 2) = (5 + 5 i, 7 - 1 i)
    ev("Digits := 30: za := Array(1..40, [4, 1, 1, 0, 1, 0, 3, -1], datatype = sfloat): "
         "zr := Array(1..20, [1, 1, 2, 2], datatype = int64): "
         "zc := Array(1..20, [1, 2, 1, 2], datatype = int64): "
         "zp := Array(1..2, datatype = int64): zq := Array(1..2, datatype = int64): "
         "zs := Array(1..3, datatype = int64): zd := Array(1..2, datatype = int64): "
         "zw := Array(1..20, datatype = int64): "
         "zb := Array(1..4, [5, 5, 7, -1], datatype = sfloat): zx := Array(1..4, [0, 0, 0, 0], datatype = sfloat): "
         "zy := Array(1..4)");
    const std::vector<std::string> dnf = {"2", "4", "za", "20", "zr", "zc", "0", "0.0", "\"N\"", "\"N\"",
                                          "zp", "zq", "zs", "zd", "'nnzc'", "'npivm'", "zw", "'ifail'"};
    check_messages(sw_f11dnf, dnf, {3, 5, 6, 11, 12, 13, 14, 17});
    EXPECT_EQ(array_result(sw_f11dnf, join(dnf)), "0");
    const std::vector<std::string> dpf = {"\"N\"", "2", "za", "20", "zr", "zc", "zp", "zq",
                                          "zs", "zd", "\"C\"", "zb", "zy", "'ifail'"};
    check_messages(sw_f11dpf, dpf, {3, 5, 6, 7, 8, 9, 10, 12, 13});
    EXPECT_EQ(array_result(sw_f11dpf, join(dpf)), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(zy[1] - (1)), abs(zy[2] - (1)), abs(zy[3] - (2)), abs(zy[4] - (0))) < 1e-20)")), "true");
    const std::vector<std::string> dqf = {"\"TFQMR\"", "2", "4", "za", "20", "zr", "zc", "zp", "zq", "zs",
                                          "zd", "zb", "0", "1e-25", "50", "zx", "'rnorm'", "'itn'", "'ifail'"};
    check_messages(sw_f11dqf, dqf, {4, 6, 7, 8, 9, 10, 11, 12, 16});
    EXPECT_EQ(array_result(sw_f11dqf, join(dqf)), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(zx[1] - (1)), abs(zx[2] - (1)), abs(zx[3] - (2)), abs(zx[4] - (0))) < 1e-20)")), "true");
    ev("zx := Array(1..4, [0, 0, 0, 0], datatype = sfloat)");
    const std::vector<std::string> dsf = {"\"CGS\"", "\"J\"", "2", "4", "za", "zr", "zc", "1.0", "zb",
                                          "0", "1e-25", "50", "zx", "'rnorm'", "'itn'", "zw", "'ifail'"};
    check_messages(sw_f11dsf, dsf, {5, 6, 7, 9, 13, 16});
    EXPECT_EQ(array_result(sw_f11dsf, join(dsf)), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(zx[1] - (1)), abs(zx[2] - (1)), abs(zx[3] - (2)), abs(zx[4] - (0))) < 1e-20)")), "true");
}

// The reverse-communication wrappers driven by a host-side loop.
TEST(SparseWrappers, ReverseCommunicationThroughTheWrappers)
{
    real_system();
    ev("w := Array(1..4): u := Array(1..3, [0, 0, 0], datatype = sfloat): "
         "v := Array(1..3, [6, 10, 8], datatype = sfloat): wg := Array(1..3, [1, 1, 1], datatype = sfloat): "
         "unassign('lwreq')");
    const std::vector<std::string> bdf = {"\"RGMRES\"", "\"N\"", "\"2\"", "\"N\"", "1", "3", "2", "1e-25",
                                          "50", "5.0", "0", "0", "'lwreq'", "w", "'ifail'"};
    check_messages(sw_f11bdf, bdf, {14});
    EXPECT_EQ(array_result(sw_f11bdf, join(bdf)), "0");
    EXPECT_EQ(show(ev("[lwreq, ifail]")), "[2, 0]");
    const std::vector<std::string> bef = {"'irevcm'", "u", "v", "wg", "w", "'ifail'"};
    check_messages(sw_f11bef, bef, {2, 3, 4, 5});
    ev("irevcm := 0");
    std::vector<std::string> requests;
    for (int guard = 0; guard < 200; ++guard) {
        const std::string r = array_result(sw_f11bef, join(bef));
        ASSERT_EQ(r, "0");
        const std::string req = show(ev("irevcm"));
        requests.push_back(req);
        if (req == "4")
            break;
        ASSERT_EQ(req, "1");
        ev("v[1] := 4*u[1] + u[2]: v[2] := u[1] + 3*u[2] + u[3]: v[3] := u[2] + 2*u[3]");
    }
    ASSERT_FALSE(requests.empty());
    EXPECT_EQ(requests.back(), "4");
    EXPECT_EQ(show(ev("evalb(max(abs(u[1] - (1)), abs(u[2] - (2)), abs(u[3] - (3))) < 1e-20)")), "true");
    check_messages(sw_f11bff, {"'itn'", "'lhs'", "'rhs'", "w"}, {4});
    EXPECT_EQ(array_result(sw_f11bff, "'itn', 'lhs', 'rhs', w"), "0");
    EXPECT_EQ(show(ev("[type(itn, posint), evalb(lhs <= rhs)]")), "[true, true]");
    // a work table no set-up filled
    EXPECT_EQ(array_result(sw_f11bff, "'itn', 'lhs', 'rhs', Array(1..2)"), "1");
}

// sw_f11grstf: a complex Hermitian system, A = [[4, 1 - i], [1 + i, 3]] by its
// lower triangle, solved by CG with the incomplete Cholesky factor and by
// SYMMLQ without preconditioning; b = A (1, i) = (5 + i, 1 + 4 i).
std::vector<std::string> grstf_args()
{
    ev("Digits := 30: ga := Array(1..40, [4, 0, 1, 1, 3, 0], datatype = sfloat): "
         "gr := Array(1..20, [1, 2, 2], datatype = int64): gc := Array(1..20, [1, 1, 2], datatype = int64): "
         "gp := Array(1..2, datatype = int64): gs := Array(1..3, datatype = int64): "
         "gw := Array(1..20): gwt := Array(1..2): gb := Array(1..4, [5, 1, 1, 4], datatype = sfloat): "
         "gx := Array(1..4, [0, 0, 0, 0], datatype = sfloat)");
    return {"2",         "3",     "ga",     "20",      "gr",     "gc",     "0",      "0.0",    "\"N\"",  "0.0",
            "\"N\"",     "gp",    "gs",     "'nnzc'",  "'npivm'", "\"CG\"", "\"P\"",  "\"N\"",  "\"2\"",  "\"N\"",
            "1",         "1e-25", "50",     "0",       "0",      "0.1",    "10",     "0",      "'lwreq'", "gw",
            "10",        "gwt",   "gb",     "gx",      "'itn'",  "'lhs'",  "'rhs'",  "'its'",  "'sigerr'"};
}

TEST(SparseWrappers, GrstfLoopAndMessages)
{
    const std::vector<std::string> g = grstf_args();
    ASSERT_EQ(g.size(), 39u);
    check_messages(sw_f11grstf, g, {3, 5, 6, 12, 13, 30, 32, 33, 34});
    EXPECT_EQ(array_result(sw_f11grstf, join(g)), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(gx[1] - (1)), abs(gx[2] - (0)), abs(gx[3] - (0)), abs(gx[4] - (1))) < 1e-20)")), "true");
    EXPECT_EQ(show(ev("[nnzc, npivm, lwreq, type(itn, posint), evalb(lhs <= rhs), its, sigerr]")),
              "[3, 0, 2, true, true, 0, 0.]");
    // SYMMLQ without a preconditioner
    const std::vector<std::string> g2 = grstf_args();
    EXPECT_EQ(array_result(sw_f11grstf, join(g2, {{16, "\"SYMMLQ\""}, {17, "\"N\""}})), "0");
    EXPECT_EQ(show(ev("evalb(max(abs(gx[1] - (1)), abs(gx[2] - (0)), abs(gx[3] - (0)), abs(gx[4] - (1))) < 1e-20)")), "true");
    // the four messages
    grstf_args();
    EXPECT_EQ(array_result(sw_f11grstf, join(g, {{17, "\"X\""}})), "Error: argument 17, precon, must be 'P' or 'N'. ");
    EXPECT_EQ(array_result(sw_f11grstf, join(g, {{31, "1"}})),
              "Error: Workspace size, lwork, is less than required, lwreq.");
    // storage out of order reaches the product (without a factorisation)
    ev("gr := Array(1..20, [2, 1, 2], datatype = int64): gc := Array(1..20, [1, 1, 2], datatype = int64)");
    EXPECT_EQ(array_result(sw_f11grstf, join(g, {{17, "\"N\""}})), "Error: Matrix-Vector multiply failed");
    // a bad method is the set-up's indicator (-1)
    grstf_args();
    EXPECT_EQ(array_result(sw_f11grstf, join(g, {{16, "\"GMRES\""}})), "-1");
}

} // namespace
