// extremes_test.cpp -- every routine over extreme arguments: +-1e300,
// +-infinity, degrees of freedom and counts at 1e15 and 2^63, probabilities at
// the smallest positive float.  Each call either answers (a defined result,
// a probability in [0, 1]) or refuses with a message that names the routine
// and says why; none fails with the working-precision safety net's
// "cancellation" message, and none takes long.  Where a value exists, it is checked
// against mpmath (data/extremes.tsv, scripts/reference/numerics_extremes.py).
#include "talvo_mp.h"
#include "table_support.hpp"

#include "reference_table.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using talvo::test::DigitsScope;

TalvoFloat F(const std::string &text)
{
    if (text == "inf")
        return TalvoFloat(1.0) / TalvoFloat(0.0);
    if (text == "-inf")
        return TalvoFloat(-1.0) / TalvoFloat(0.0);
    if (text == "tiny") { // the smallest positive float
        ALGEB h = talvo_float_new(0);
        mpfr_set_ui_2exp(talvo_float_mpfr(h), 1, mpfr_get_emin() - 1, MPFR_RNDN);
        return TalvoFloat::from_handle(h);
    }
    if (text == "1-tiny") { // the largest float below 1
        ALGEB h = talvo_float_new(0);
        mpfr_set_ui(talvo_float_mpfr(h), 1, MPFR_RNDN);
        mpfr_nextbelow(talvo_float_mpfr(h));
        return TalvoFloat::from_handle(h);
    }
    return TalvoFloat::from_handle(talvo_float_parse(text.c_str(), talvo_float_precision()));
}

Integer I(const std::string &text)
{
    if (text == "max")
        return LONG_MAX; // 2^63 - 1, the largest Integer
    return static_cast<Integer>(std::stod(text));
}

const Nag_TailProbability L = Nag_LowerTail, U = Nag_UpperTail, S = Nag_TwoTailSignif, C = Nag_TwoTailConfid;

// One outcome: the failure code and message, and the results.
struct Outcome {
    int code = 0;
    std::string message;
    std::vector<TalvoFloat> values;
    double seconds = 0;
};

using Call = std::function<void(const std::vector<std::string> &, Outcome &)>;

// A routine: its name, how to call it on text arguments, and whether its
// results are probabilities (in [0, 1]) or deviates.
struct Routine {
    std::string name;
    bool probability;
    Call call;
};

TalvoFloat one(NagError *f, const std::function<TalvoFloat(NagError *)> &fn, Outcome &o)
{
    TalvoFloat r = fn(f);
    o.values.push_back(r);
    return r;
}

#define ONE(expr)                                                                                                    \
    [](const std::vector<std::string> &a, Outcome &o) {                                                             \
        NagError f{};                                                                                                \
        one(&f, [&](NagError *fail) { return expr; }, o);                                                           \
        o.code = f.code;                                                                                             \
        o.message = f.message;                                                                                       \
    }
#define THREE(expr)                                                                                                  \
    [](const std::vector<std::string> &a, Outcome &o) {                                                             \
        NagError f{};                                                                                                \
        NagError *fail = &f;                                                                                         \
        TalvoFloat r1, r2, r3;                                                                                       \
        expr;                                                                                                        \
        o.values = {r1, r2, r3};                                                                                     \
        o.code = f.code;                                                                                             \
        o.message = f.message;                                                                                       \
    }

const std::map<std::string, Routine> &Routines()
{
    static const std::map<std::string, Routine> r = {
        {"g01eac_L", {"TalvoMP_g01eac", true, ONE(TalvoMP_g01eac(L, F(a[0]), fail))}},
        {"g01eac_U", {"TalvoMP_g01eac", true, ONE(TalvoMP_g01eac(U, F(a[0]), fail))}},
        {"g01eac_S", {"TalvoMP_g01eac", true, ONE(TalvoMP_g01eac(S, F(a[0]), fail))}},
        {"g01eac_C", {"TalvoMP_g01eac", true, ONE(TalvoMP_g01eac(C, F(a[0]), fail))}},
        {"g01fac_L", {"TalvoMP_g01fac", false, ONE(TalvoMP_g01fac(L, F(a[0]), fail))}},
        {"g01fac_U", {"TalvoMP_g01fac", false, ONE(TalvoMP_g01fac(U, F(a[0]), fail))}},
        {"g01ebc_L", {"TalvoMP_g01ebc", true, ONE(TalvoMP_g01ebc(L, F(a[0]), F(a[1]), fail))}},
        {"g01ebc_U", {"TalvoMP_g01ebc", true, ONE(TalvoMP_g01ebc(U, F(a[0]), F(a[1]), fail))}},
        {"g01fbc_L", {"TalvoMP_g01fbc", false, ONE(TalvoMP_g01fbc(L, F(a[0]), F(a[1]), fail))}},
        {"g01ecc_L", {"TalvoMP_g01ecc", true, ONE(TalvoMP_g01ecc(L, F(a[0]), F(a[1]), fail))}},
        {"g01ecc_U", {"TalvoMP_g01ecc", true, ONE(TalvoMP_g01ecc(U, F(a[0]), F(a[1]), fail))}},
        {"g01fcc", {"TalvoMP_g01fcc", false, ONE(TalvoMP_g01fcc(F(a[0]), F(a[1]), fail))}},
        {"g01edc_L", {"TalvoMP_g01edc", true, ONE(TalvoMP_g01edc(L, F(a[0]), F(a[1]), F(a[2]), fail))}},
        {"g01edc_U", {"TalvoMP_g01edc", true, ONE(TalvoMP_g01edc(U, F(a[0]), F(a[1]), F(a[2]), fail))}},
        {"g01fdc", {"TalvoMP_g01fdc", false, ONE(TalvoMP_g01fdc(F(a[0]), F(a[1]), F(a[2]), fail))}},
        {"g01eec", {"TalvoMP_g01eec", true, THREE(TalvoMP_g01eec(F(a[0]), F(a[1]), F(a[2]), F("0"), &r1, &r2, nullptr, fail))}},
        {"g01fec", {"TalvoMP_g01fec", false, ONE(TalvoMP_g01fec(F(a[0]), F(a[1]), F(a[2]), F("0"), fail))}},
        {"g01efc_L", {"TalvoMP_g01efc", true, ONE(TalvoMP_g01efc(L, F(a[0]), F(a[1]), F(a[2]), fail))}},
        {"g01efc_U", {"TalvoMP_g01efc", true, ONE(TalvoMP_g01efc(U, F(a[0]), F(a[1]), F(a[2]), fail))}},
        {"g01ffc", {"TalvoMP_g01ffc", false, ONE(TalvoMP_g01ffc(F(a[0]), F(a[1]), F(a[2]), F("0"), fail))}},
        {"g01gbc", {"TalvoMP_g01gbc", true, ONE(TalvoMP_g01gbc(F(a[0]), F(a[1]), F(a[2]), F("0"), 1000000, fail))}},
        {"g01gcc", {"TalvoMP_g01gcc", true, ONE(TalvoMP_g01gcc(F(a[0]), F(a[1]), F(a[2]), F("0"), 1000000, fail))}},
        {"g01gdc", {"TalvoMP_g01gdc", true, ONE(TalvoMP_g01gdc(F(a[0]), F(a[1]), F(a[2]), F(a[3]), F("0"), 1000000, fail))}},
        {"g01gec", {"TalvoMP_g01gec", true, ONE(TalvoMP_g01gec(F(a[0]), F(a[1]), F(a[2]), F(a[3]), F("0"), 1000000, fail))}},
        {"g01bjc", {"TalvoMP_g01bjc", true, THREE(TalvoMP_g01bjc(I(a[0]), F(a[1]), I(a[2]), &r1, &r2, &r3, fail))}},
        {"g01bkc", {"TalvoMP_g01bkc", true, THREE(TalvoMP_g01bkc(F(a[0]), I(a[1]), &r1, &r2, &r3, fail))}},
        {"g01blc", {"TalvoMP_g01blc", true, THREE(TalvoMP_g01blc(I(a[0]), I(a[1]), I(a[2]), I(a[3]), &r1, &r2, &r3, fail))}},
    };
    return r;
}

Outcome RunCase(const std::string &key, const std::vector<std::string> &args)
{
    Outcome o;
    auto t0 = std::chrono::steady_clock::now();
    Routines().at(key).call(args, o);
    o.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    return o;
}

std::string Join(const std::vector<std::string> &a)
{
    std::string s;
    for (const std::string &x : a)
        s += (s.empty() ? "" : ", ") + x;
    return s;
}

// Every combination of the given argument lists.
std::vector<std::vector<std::string>> Grid(const std::vector<std::vector<std::string>> &axes)
{
    std::vector<std::vector<std::string>> out = {{}};
    for (const auto &axis : axes) {
        std::vector<std::vector<std::string>> next;
        for (const auto &prefix : out)
            for (const std::string &v : axis) {
                auto p = prefix;
                p.push_back(v);
                next.push_back(p);
            }
        out = next;
    }
    return out;
}

const std::vector<std::string> kX = {"-inf", "-1e300", "-1e20", "-1e7", "-40000", "-1", "0", "1e-300", "1", "40000",
                                     "1e7", "1e20", "1e300", "inf"};
const std::vector<std::string> kPosX = {"0", "1e-300", "1", "1e7", "1e20", "1e300", "inf"};
// Shapes and degrees of freedom go down to the smallest float ("tiny"): the
// gamma family answers from its limit form there, the others refuse shapes
// below 2^-131072 clearly.
const std::vector<std::string> kDf = {"tiny", "1e-100000000", "1e-300", "0.5", "3", "1e15", "9223372036854775808",
                                      "1e300", "inf"};
const std::vector<std::string> kDfShort = {"tiny", "1e-100000000", "1e-300", "0.5", "3", "1e15",
                                           "9223372036854775808", "1e300"};
// Deviates leave out 1e15 and 2^63 (a chi-square deviate at df = 1e15 takes
// half a minute).
const std::vector<std::string> kDfDeviate = {"tiny", "1e-100000000", "1e-300", "0.5", "3", "1e300"};
// Three-parameter grids leave 1e15 and 2^63 to the two-parameter ones: an F
// or beta probability there takes half a minute.
const std::vector<std::string> kDf3 = {"tiny", "1e-100000000", "1e-300", "0.5", "3", "1e300"};
// The noncentral routines: small grids per parameter.
const std::vector<std::string> kDfNc = {"tiny", "1e-100000000", "1e-300", "3", "1e300"};
const std::vector<std::string> kP = {"tiny", "1e-300", "1e-10", "0.5", "0.999", "1-tiny"};
const std::vector<std::string> kUnit = {"0", "tiny", "1e-300", "0.5", "1-tiny", "1"};
const std::vector<std::string> kN = {"0", "1", "1000", "1000000000000000", "max"};
const std::vector<std::string> kLambda = {"0", "1e-300", "3", "1e15", "1e300", "inf"};

struct Sweep {
    std::string key;
    std::vector<std::vector<std::string>> cases;
};

std::vector<Sweep> Sweeps()
{
    std::vector<Sweep> s;
    for (const char *k : {"g01eac_L", "g01eac_U", "g01eac_S", "g01eac_C"})
        s.push_back({k, Grid({kX})});
    for (const char *k : {"g01fac_L", "g01fac_U"})
        s.push_back({k, Grid({kP})});
    for (const char *k : {"g01ebc_L", "g01ebc_U"})
        s.push_back({k, Grid({kX, kDf})});
    s.push_back({"g01fbc_L", Grid({kP, kDfDeviate})});
    for (const char *k : {"g01ecc_L", "g01ecc_U"})
        s.push_back({k, Grid({kPosX, kDf})});
    s.push_back({"g01fcc", Grid({kP, kDfDeviate})});
    for (const char *k : {"g01edc_L", "g01edc_U"})
        s.push_back({k, Grid({kPosX, kDf3, kDf3})});
    s.push_back({"g01fdc", Grid({kP, kDf3, kDf3})});
    s.push_back({"g01eec", Grid({kUnit, kDf3, kDf3})});
    s.push_back({"g01fec", Grid({kP, kDf3, kDf3})});
    for (const char *k : {"g01efc_L", "g01efc_U"})
        s.push_back({k, Grid({kPosX, kDfShort, {"1e-300", "1", "1e300"}})});
    s.push_back({"g01ffc", Grid({kP, kDfDeviate, {"1e-300", "1", "1e300"}})});
    s.push_back({"g01gbc", Grid({{"-1e300", "-1e7", "0", "1", "1e7", "1e300", "inf"}, kDfNc,
                                 {"-1e7", "0", "1", "1e7", "1e300"}})});
    s.push_back({"g01gcc", Grid({kPosX, {"0", "tiny", "1e-100000000", "1e-300", "3", "1e15", "1e300"}, {"0", "1e-300", "3", "1e7", "1e15", "1e300"}})});
    s.push_back({"g01gdc", Grid({kPosX, kDfNc, kDfNc, {"0", "3", "1e7", "1e300"}})});
    s.push_back({"g01gec", Grid({kUnit, kDfNc, kDfNc, {"0", "3", "1e7", "1e300"}})});
    s.push_back({"g01bjc", Grid({kN, {"tiny", "1e-300", "0.5", "1-tiny"}, {"0", "1", "1000", "1000000000000000", "max"}})});
    s.push_back({"g01bkc", Grid({{"tiny", "1e-300", "3", "1e15", "1e300", "inf"}, {"0", "1", "1000", "1000000000000000", "max"}})});
    s.push_back({"g01blc", Grid({kN, kN, kN, {"0", "5", "1000", "1000000000000000", "max"}})});
    return s;
}

// The sanitizer builds, several times slower, sweep every third case of each
// grid (a different third for each routine), with the same assertions and a
// hang bound scaled to their speed; the optimised build sweeps them all.
#if defined(TALVO_SANITIZED)
constexpr size_t kStride = 3;
constexpr double kSlowest = 120.0;
#else
constexpr size_t kStride = 1;
constexpr double kSlowest = 30.0;
#endif

} // namespace

// Every call answers or refuses clearly, and quickly.
TEST(NumericsExtremes, EveryRoutineAnswersOrRefusesClearly)
{
    // TALVO_EXTREMES_VERBOSE=1 prints every call, its time and its outcome.
    bool verbose = std::getenv("TALVO_EXTREMES_VERBOSE") != nullptr;
    for (int digits : {15}) {
        DigitsScope d(digits);
        int calls = 0;
        // TALVO_EXTREMES_FULL=1 sweeps every case in any build.
        const size_t stride = std::getenv("TALVO_EXTREMES_FULL") ? 1 : kStride;
        size_t routine = 0;
        for (const Sweep &sw : Sweeps()) {
            const Routine &r = Routines().at(sw.key);
            ++routine;
            for (size_t c = routine % stride; c < sw.cases.size(); c += stride) {
                const auto &args = sw.cases[c];
                std::string where = sw.key + "(" + Join(args) + ") at " + std::to_string(digits) + " digits";
                if (verbose) {
                    std::printf("%s ...", where.c_str());
                    std::fflush(stdout);
                }
                Outcome o = RunCase(sw.key, args);
                ++calls;
                if (verbose)
                    std::printf(" %.3f s, code %d %s\n", o.seconds, o.code, o.message.c_str());
                EXPECT_LT(o.seconds, kSlowest) << where;
                if (o.code != NE_NOERROR) {
                    // The precision limit's message ("cancellation beyond the
                    // working precision limit") is no answer for any of these.
                    EXPECT_EQ(o.message.find("cancellation"), std::string::npos) << where << ": " << o.message;
                    EXPECT_EQ(o.message.rfind(r.name + ": ", 0), 0u) << where << ": " << o.message;
                    EXPECT_GT(o.message.size(), r.name.size() + 10) << where;
                    continue;
                }
                for (const TalvoFloat &v : o.values) {
                    if (v.handle() == nullptr)
                        continue;
                    EXPECT_FALSE(IsTalvoFloatUndefined(v)) << where;
                    if (r.probability) {
                        EXPECT_TRUE(v >= TalvoFloat(0.0) && v <= TalvoFloat(1.0)) << where;
                    }
                }
            }
        }
        EXPECT_GT(calls, 1000 / int(stride));
    }
}

// Where the far tail has a value, it is right: within one unit in the last
// digit of mpmath's value, and exactly 0 (or 1) where the tail lies below
// the smallest positive float.
TEST(NumericsExtremes, FarTailsAgreeWithMpmath)
{
    int rows = 0;
    for (const std::vector<std::string> &cells : stats::test::ReadTsvRows(TALVO_NUMERICS_DATA "/extremes.tsv")) {
        ASSERT_GE(cells.size(), 5u) << Join(cells);
        int digits = std::stoi(cells[0]);
        std::string key = cells[1];
        std::vector<std::string> args(cells.begin() + 2, cells.end() - 2);
        size_t which = std::stoul(cells[cells.size() - 2]);
        const std::string &ref = cells.back();
        DigitsScope d(digits);
        Outcome o = RunCase(key, args);
        std::string where = key + "(" + Join(args) + ")[" + std::to_string(which) + "] at " + std::to_string(digits) +
                            " digits";
        ++rows;
        ASSERT_EQ(o.code, NE_NOERROR) << where << ": " << o.message;
        ASSERT_LT(which, o.values.size()) << where;
        mpfr_srcptr v = o.values[which].mpfr();
        mpfr_t r, diff;
        mpfr_inits2(talvo_float_precision_bits(digits + 30), r, diff, (mpfr_ptr) nullptr);
        mpfr_set_str(r, ref.c_str(), 10, MPFR_RNDN);
        if (mpfr_zero_p(r)) {
            EXPECT_TRUE(mpfr_zero_p(v)) << where << ": " << mpfr_get_d(v, MPFR_RNDN);
        } else {
            // |v - r| / |r| against one unit in the D-th digit, 10^(1 - D).
            mpfr_sub(diff, v, r, MPFR_RNDN);
            mpfr_div(diff, diff, r, MPFR_RNDN);
            mpfr_abs(diff, diff, MPFR_RNDN);
            double units = mpfr_get_d(diff, MPFR_RNDN) / std::pow(10.0, 1 - digits);
            EXPECT_LT(units, 1.0) << where << " against " << ref;
        }
        mpfr_clears(r, diff, (mpfr_ptr) nullptr);
    }
    EXPECT_GE(rows, 60);
}

// A shape far below 2^-131072: the chi-square and gamma probabilities answer
// from their limit form, the rest refuse with a message naming the routine
// and the argument; neither takes long.
TEST(NumericsExtremes, TinyShapesAnswerOrRefuseQuickly)
{
    DigitsScope d(15);
    Outcome chi = RunCase("g01ecc_U", {"1", "1e-100000000"});
    EXPECT_EQ(chi.code, NE_NOERROR) << chi.message;
    EXPECT_LT(chi.seconds, 1.0);
    Outcome lower = RunCase("g01ecc_L", {"1", "1e-100000000"});
    EXPECT_EQ(lower.code, NE_NOERROR) << lower.message;
    EXPECT_TRUE(lower.values[0] == TalvoFloat(1.0));
    // The gamma's upper tail at the smallest float as shape is a E1(x):
    // positive, near the bottom of the float range.
    Outcome g = RunCase("g01efc_U", {"1e-300", "tiny", "1e300"});
    EXPECT_EQ(g.code, NE_NOERROR) << g.message;
    EXPECT_TRUE(g.values[0] > TalvoFloat(0.0));
    for (const auto &[key, args, arg] : std::vector<std::tuple<std::string, std::vector<std::string>, std::string>>{
             {"g01fbc_L", {"0.9", "1e-100000000"}, "df"},
             {"g01fcc", {"0.5", "tiny"}, "df"},
             {"g01ebc_L", {"1", "tiny"}, "df"},
             {"g01edc_U", {"1", "3", "1e-100000000"}, "df2"},
             {"g01eec", {"0.5", "1e-100000000", "3"}, "a"},
             {"g01fec", {"0.5", "3", "tiny"}, "b"},
             {"g01ffc", {"0.5", "tiny", "1"}, "a"}}) {
        Outcome o = RunCase(key, args);
        EXPECT_EQ(o.code, NE_TOO_COSTLY) << key;
        EXPECT_NE(o.message.find(": " + arg + " = "), std::string::npos) << key << ": " << o.message;
        EXPECT_NE(o.message.find("is too small"), std::string::npos) << key << ": " << o.message;
        EXPECT_LT(o.seconds, 1.0) << key;
    }
}

// Shapes between 2^-131072 and the smallest double (1e-400, and the
// subnormal 6.4e-308) are exact rationals the series take as they are, while
// the cost estimates, made in doubles, cannot hold them.  Each call answers
// or refuses with a message, quickly; the F probability is mpmath's value,
// and the F deviate whose 1 - x lies below every float (a search that once
// ran for minutes, raising its precision each step) says so.
// A tiny shape beside a huge one: the beta root of the F deviate lies far
// below every double (near e^-500000 for df1 = 2e-6), and the search starts
// from its logarithm.  From 1/2 instead it crossed the region where
// Q(x) ~ e^(-b x) by factors of e, each evaluation dearer than the last
// (b = 2^52): minutes under the sanitizers, found by the fuzzing campaign.
// The value is mpmath's (scripts/reference/numerics_extremes.py, for the
// 94-bit input); with df1 = 2.4e-120 the root lies beyond the float range,
// a refusal that must come as quickly.  The same with the shapes exchanged,
// the root then near 1.
TEST(NumericsExtremes, TinyShapeBesideAHugeOneAnswersOrRefusesQuickly)
{
    DigitsScope d(27);
    // Roots just inside the doubles, where the double inverse has no answer
    // either: the limit form starts any root below 1/4.
    for (const char *df1 : {"1.6e-3", "1.4e-3"}) {
        Outcome o = RunCase("g01fdc", {"0.609375", df1, "9007199254740992"});
        EXPECT_EQ(o.code, NE_NOERROR) << df1 << ": " << o.message;
        EXPECT_LT(o.seconds, kSlowest / 10) << df1;
        Outcome r = RunCase("g01fdc", {"0.390625", "9007199254740992", df1});
        ASSERT_EQ(r.code, NE_NOERROR) << df1 << ": " << r.message;
        // F(p; d1, d2) F(1 - p; d2, d1) = 1.
        const TalvoFloat product = o.values[0] * r.values[0] - TalvoFloat(1.0);
        EXPECT_TRUE(fabs(product) < TalvoFloat(1e-25)) << df1 << ": " << talvo_float_to_string(product.handle(), 5);
    }
    Outcome v = RunCase("g01fdc", {"0.609375", "2e-6", "9007199254740992"});
    ASSERT_EQ(v.code, NE_NOERROR) << v.message;
    EXPECT_EQ(talvo_float_to_string(v.values[0].handle(), 27), "2.41191162690974363251004224e-215110");
    EXPECT_LT(v.seconds, kSlowest / 10);
    // The mirror image: a tiny df2 puts the root near 1 in the beta variable,
    // where it is solved as y = 1 - x (mpmath's value for the 94-bit input).
    Outcome m = RunCase("g01fdc", {"0.609375", "9007199254740992", "2e-6"});
    ASSERT_EQ(m.code, NE_NOERROR) << m.message;
    EXPECT_EQ(talvo_float_to_string(m.values[0].handle(), 27), "1.64434548623263401954851763e+408234");
    EXPECT_LT(m.seconds, kSlowest / 10);
    const std::vector<std::pair<std::string, std::vector<std::string>>> beyond = {
        {"g01fdc", {"0.609375", "2.4218693767380179e-120", "9007199254740992"}},
        {"g01fdc", {"0.609375", "2e-300", "9007199254740992"}},
        {"g01fdc", {"0.609375", "9007199254740992", "2.4218693767380179e-120"}},
        {"g01fec", {"0.609375", "4503599627370496", "2e-300"}},
    };
    for (const auto &[key, args] : beyond) {
        const std::string where = key + "(" + Join(args) + ")";
        Outcome q = RunCase(key, args);
        EXPECT_EQ(q.code, NE_ACCURACY) << where << ": " << q.message;
        EXPECT_NE(q.message.find("edge of the float range"), std::string::npos) << where << ": " << q.message;
        EXPECT_LT(q.seconds, kSlowest / 10) << where;
    }
    // A subnormal shape (ln x = ln p / a lies beyond the doubles; 50 s before,
    // found by the seventh campaign): refused as quickly, by the series'
    // cost limit at that shape or at the edge of the float range.
    for (const std::vector<std::string> &args :
         {std::vector<std::string>{"0.609375", "9.8842773106999784e-320", "9007199254740992"},
          std::vector<std::string>{"0.609375", "9007199254740992", "9.8842773106999784e-320"}}) {
        const std::string where = "g01fdc(" + Join(args) + ")";
        Outcome q = RunCase("g01fdc", args);
        EXPECT_TRUE(q.code == NE_ACCURACY || q.code == NE_TOO_COSTLY) << where << ": " << q.message;
        EXPECT_LT(q.seconds, kSlowest / 10) << where;
    }
}

// Shapes outside the range where the double beta inverse is asked for a
// start (its root bracketing never returned for some of them: both F degrees
// of freedom near 1e306 and 1e262, found by the seventh fuzzing campaign,
// a shape of 1370 beside 7.1e34, two shapes near 1e-160 and 1e-184).
TEST(NumericsExtremes, ShapesBeyondTheDoubleInverseAnswerOrRefuseQuickly)
{
    DigitsScope d(27);
    const std::vector<std::pair<std::string, std::vector<std::string>>> calls = {
        {"g01fdc", {"0.609375", "2.4274337542102316e+306", "2.7926829651662548e+262"}},
        {"g01fdc", {"0.609375", "2.7926829651662548e+262", "2.4274337542102316e+306"}},
        {"g01fec", {"0.609375", "1370", "7.1e34"}},
        {"g01fec", {"0.390625", "7.1e34", "1370"}},
        {"g01fec", {"0.609375", "13700", "7.1e31"}},
        {"g01fec", {"0.609375", "2.7138628564790962e-159", "1.2242367972190118e-184"}},
        {"g01fec", {"7.4079153479657728e-182", "2.7138628564790962e-159", "1.2242367972190118e-184"}},
    };
    for (const auto &[key, args] : calls) {
        const std::string where = key + "(" + Join(args) + ")";
        Outcome o = RunCase(key, args);
        EXPECT_TRUE(o.code == NE_NOERROR || o.code == NE_TOO_COSTLY || o.code == NE_ACCURACY)
            << where << ": " << o.message;
        EXPECT_LT(o.seconds, kSlowest / 10) << where;
    }
    // One shape beyond that range and the other small: the start from the
    // gamma variable of the small shape answers at once (a 1.2 s walk and a
    // too-costly refusal before); mpmath's value is a row of the table.
    Outcome v = RunCase("g01fec", {"0.999999", "1e16", "2"});
    ASSERT_EQ(v.code, NE_NOERROR) << v.message;
    EXPECT_EQ(talvo_float_to_string(v.values[0].handle(), 27), "0.999999999999999999858511934");
    EXPECT_LT(v.seconds, kSlowest / 30);
}

// Roots whose logarithm lies far beyond the float range, from a shape near or
// below the smallest double: the F deviate at df1 = 5.5e-309 stopped the
// process (the logarithm of its start, -1.8e308, overflowed to -inf in base
// 2 and reached the integer conversion of the exponent, which raised a
// floating-point exception), and at df1 = 4.9e-324 (half of it below the
// doubles) it searched for 26 s before a too-costly refusal.  Both are now
// refused at once as lying beyond the float range.
TEST(NumericsExtremes, RootsFarBeyondTheFloatRangeAreRefusedAtOnce)
{
    for (int digits : {10, 27, 50}) {
        DigitsScope d(digits);
        const std::vector<std::pair<std::string, std::vector<std::string>>> calls = {
            {"g01fdc", {"0.609375", "5.5137726443893543e-309", "21"}},
            {"g01fdc", {"0.609375", "4.9406564584124654e-324", "1e10"}},
            {"g01fdc", {"0.609375", "2.2e-308", "0.5"}},
            {"g01fec", {"0.609375", "2.7568863221946772e-309", "10.5"}},
            {"g01fec", {"0.1", "4.9406564584124654e-324", "5e9"}},
        };
        for (const auto &[key, args] : calls) {
            const std::string where = key + "(" + Join(args) + ") at " + std::to_string(digits);
            Outcome o = RunCase(key, args);
            EXPECT_EQ(o.code, NE_ACCURACY) << where << ": " << o.message;
            EXPECT_NE(o.message.find("edge of the float range"), std::string::npos) << where << ": " << o.message;
            EXPECT_LT(o.seconds, kSlowest / 30) << where;
        }
        // The shapes swapped, so the root lies in y: the search starts from
        // a logarithm whose base-2 exponent is beyond the doubles (formed in
        // Arb; the same floating-point exception before) and ends quickly.
        const std::vector<std::pair<std::string, std::vector<std::string>>> swapped = {
            {"g01fec", {"0.609375", "10.5", "2.7568863221946772e-309"}},
            {"g01fec", {"0.390625", "10.5", "2.7568863221946772e-309"}},
            {"g01fdc", {"0.390625", "21", "5.5137726443893543e-309"}},
        };
        for (const auto &[key, args] : swapped) {
            const std::string where = key + "(" + Join(args) + ") at " + std::to_string(digits);
            Outcome o = RunCase(key, args);
            EXPECT_TRUE(o.code == NE_ACCURACY || o.code == NE_TOO_COSTLY) << where << ": " << o.message;
            EXPECT_LT(o.seconds, kSlowest / 30) << where;
        }
    }
}

// Huge shapes near the mean, where the incomplete gamma series would need
// millions of terms (a Poisson deviate at mean 1e12 took 5 to 10 s, the
// chi-square probability at 2e14 degrees of freedom was refused): the
// quadrature answers, for shapes up to 1e15; the values at 1e12 are rows of
// FarTailsAgreeWithMpmath.
TEST(NumericsExtremes, HugeShapesNearTheMeanAnswerQuickly)
{
    for (int digits : {10, 50}) {
        DigitsScope d(digits);
        const std::vector<std::pair<std::string, std::vector<std::string>>> calls = {
            {"g01ecc_L", {"2000000200000", "2e12"}}, {"g01ecc_U", {"200000020000000", "2e14"}},
            {"g01ecc_L", {"2.00000006e15", "2e15"}}, {"g01bkc", {"1e14", "100000010000000"}},
            {"g01fcc", {"0.3", "2e13"}},             {"g01fcc", {"0.999", "2e15"}},
        };
        for (const auto &[key, args] : calls) {
            const std::string where = key + "(" + Join(args) + ") at " + std::to_string(digits);
            Outcome o = RunCase(key, args);
            EXPECT_EQ(o.code, NE_NOERROR) << where << ": " << o.message;
            EXPECT_LT(o.seconds, kSlowest / 30) << where;
        }
    }
}

// Points whose series would peak beyond 2^63 terms: the index of the peak
// is compared with the term limit as a double and never converted (the
// conversion of 5.6e92 to an integer is undefined; clang's sanitizer stopped
// there), and the call answers or refuses as too costly at once.
TEST(NumericsExtremes, SeriesPeaksBeyondTheIntegersAnswerOrRefuseAtOnce)
{
    for (int digits : {10, 30}) {
        DigitsScope d(digits);
        const std::vector<std::pair<std::string, std::vector<std::string>>> calls = {
            {"g01efc_L", {"5.6133377479607684e+112", "1e-400", "1e20"}},
            {"g01efc_U", {"5.6133377479607684e+112", "1e-400", "1e20"}},
            {"g01efc_L", {"1e300", "0.5", "1"}},
            {"g01efc_L", {"1e25", "3", "1"}},
        };
        for (const auto &[key, args] : calls) {
            const std::string where = key + "(" + Join(args) + ") at " + std::to_string(digits);
            Outcome o = RunCase(key, args);
            EXPECT_TRUE(o.code == NE_NOERROR || o.code == NE_TOO_COSTLY) << where << ": " << o.message;
            if (o.code == NE_TOO_COSTLY) {
                EXPECT_NE(o.message.find("too large for this precision"), std::string::npos) << where;
            }
            EXPECT_LT(o.seconds, kSlowest / 30) << where;
        }
    }
}

TEST(NumericsExtremes, ShapesBelowTheDoubleRangeAnswerOrRefuseQuickly)
{
    DigitsScope d(27);
    Outcome p = RunCase("g01edc_L", {"1.5", "0.609375", "1e-400"});
    ASSERT_EQ(p.code, NE_NOERROR) << p.message;
    EXPECT_EQ(talvo_float_to_string(p.values[0].handle(), 27), "4.61906451843580684290779416e-398");
    Outcome q = RunCase("g01fdc", {"0.609375", "6.4013949780865678e-308", "1e-400"});
    EXPECT_EQ(q.code, NE_ACCURACY) << q.message;
    EXPECT_NE(q.message.find("edge of the float range"), std::string::npos) << q.message;
    EXPECT_LT(q.seconds, kSlowest / 10);
    const std::vector<std::string> small = {"1e-400", "6.4013949780865678e-308"};
    const std::vector<std::string> shapes = {"1e-400", "6.4013949780865678e-308", "0.5", "3"};
    std::vector<std::pair<std::string, std::vector<std::string>>> calls;
    for (const std::string &s : small) {
        for (const std::string &t : shapes) {
            for (const char *k : {"g01edc_L", "g01edc_U"}) {
                calls.push_back({k, {"1.5", s, t}});
                calls.push_back({k, {"1.5", t, s}});
            }
            for (const char *pr : {"1e-10", "0.5", "0.999"}) {
                calls.push_back({"g01fdc", {pr, s, t}});
                calls.push_back({"g01fdc", {pr, t, s}});
                calls.push_back({"g01fec", {pr, s, t}});
                calls.push_back({"g01fec", {pr, t, s}});
            }
            calls.push_back({"g01eec", {"0.25", s, t}});
            calls.push_back({"g01eec", {"0.25", t, s}});
        }
        for (const char *pr : {"1e-10", "0.5", "0.999"}) {
            calls.push_back({"g01fcc", {pr, s}});
            calls.push_back({"g01fbc_L", {pr, s}});
            calls.push_back({"g01ffc", {pr, s, "1"}});
        }
        for (const char *k : {"g01ecc_L", "g01ecc_U"})
            calls.push_back({k, {"0.5", s}});
        for (const char *k : {"g01efc_L", "g01efc_U"})
            calls.push_back({k, {"0.5", s, "1"}});
    }
    for (const auto &[key, args] : calls) {
        const std::string where = key + "(" + Join(args) + ")";
        Outcome o = RunCase(key, args);
        EXPECT_LT(o.seconds, kSlowest / 10) << where;
        if (o.code != NE_NOERROR) {
            EXPECT_TRUE(o.code == NE_ACCURACY || o.code == NE_TOO_COSTLY) << where << ": " << o.message;
            EXPECT_EQ(o.message.find("cancellation"), std::string::npos) << where << ": " << o.message;
            continue;
        }
        const bool probability = Routines().at(key).probability;
        for (const TalvoFloat &v : o.values) {
            EXPECT_FALSE(IsTalvoFloatUndefined(v)) << where;
            if (probability) {
                EXPECT_TRUE(v >= TalvoFloat(0.0) && v <= TalvoFloat(1.0)) << where;
            } else {
                EXPECT_TRUE(v >= TalvoFloat(0.0)) << where;
            }
        }
    }
}
