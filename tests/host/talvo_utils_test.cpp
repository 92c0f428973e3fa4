// talvo_utils_test.cpp -- host values to floats, procedures evaluated at
// floats under trapping, element conversions, the random stream.
#include "stats_support.hpp"

#include "talvo_utils.hpp"

using namespace stats::test;
using U = STATS_TalvoUtils_MP;

namespace {

std::string to_float(const std::string &text) { return show(U::TalvoDAGToDouble(eval(text)).handle()); }

// Evaluates the procedure `proc` at the given floats through EvalfTalvoProc.
TalvoFloat evalf_proc(const std::string &proc, std::vector<double> at)
{
    std::vector<TalvoFloat> args(at.size() + 1);
    for (size_t i = 0; i < at.size(); ++i)
        args[i + 1] = TalvoFloat(at[i]);
    U::TalvoCallbackArgs a{eval(proc), nullptr, static_cast<int>(at.size()), args.data()};
    return U::EvalfTalvoProc(&a);
}

} // namespace

TEST(TalvoUtils, NumbersAndConstantsConvert)
{
    EXPECT_EQ(to_float("1/3"), "0.3333333333");
    EXPECT_EQ(to_float("-7"), "-7.");
    EXPECT_EQ(to_float("10^30"), "1.e+30");
    EXPECT_EQ(to_float("sqrt(2)"), "1.414213562");
    EXPECT_EQ(to_float("Pi"), "3.141592654");
    {
        DigitsScope d(30);
        EXPECT_EQ(to_float("1/3"), "0.333333333333333333333333333333");
    }
}

TEST(TalvoUtils, IntegersConvertAsEvalfMakesThem)
{
    // Machine integers take a shortcut; the float must be the one evalf
    // gives: same precision, same value (rounded at low Digits).
    for (long digits : {2L, 15L, 50L}) {
        DigitsScope d(digits);
        for (const char *n : {"0", "-7", "12345", "12543", "2147483647", "-2147483648", "2147483648",
                              "123456789012345678901234567890"}) {
            TalvoFloat got = U::TalvoDAGToDouble(eval(n));
            TalvoFloat want(eval(std::string("evalf(") + n + ")"));
            EXPECT_EQ(mpfr_get_prec(got.mpfr()), mpfr_get_prec(want.mpfr())) << n << " at " << digits;
            EXPECT_TRUE(mpfr_equal_p(got.mpfr(), want.mpfr())) << n << " at " << digits;
        }
    }
}

TEST(TalvoUtils, AFloatIsTakenAsItIs)
{
    ALGEB x = eval("evalf(1/7, 25)");
    EXPECT_EQ(U::TalvoDAGToDouble(x).handle(), x);
    for (const char *special : {"evalf(undefined)", "evalf(infinity)", "evalf(-infinity)"}) {
        ALGEB s = eval(special);
        EXPECT_EQ(U::TalvoDAGToDouble(s).handle(), s) << special;
    }
    EXPECT_TRUE(IsTalvoFloatUndefined(U::TalvoDAGToDouble(eval("undefined"))));
}

TEST(TalvoUtils, NonNumbersAreReportedAsPassed)
{
    EXPECT_EQ(error_of([] { U::TalvoDAGToDouble(eval("x")); }), "unable to evaluate x to floating-point");
    EXPECT_EQ(error_of([] { U::TalvoDAGToDouble(eval("x + 1")); }), "unable to evaluate x + 1 to floating-point");
    EXPECT_EQ(error_of([] { U::TalvoDAGToDouble(eval("[1, 2]")); }), "unable to evaluate [1, 2] to floating-point");
    EXPECT_EQ(error_of([] { U::TalvoDAGToDouble(eval("\"text\"")); }),
              "unable to evaluate \"text\" to floating-point");
    EXPECT_EQ(error_of([] { U::TalvoDAGToDouble(eval("1 + 2*I")); }),
              "unable to evaluate 1+2*I to floating-point");
    // evalf raising an error inside is trapped and reported the same way.
    EXPECT_EQ(error_of([] { U::TalvoDAGToDouble(eval("'ln(0)'")); }), "unable to evaluate ln(0) to floating-point");
}

TEST(TalvoUtils, TestingConversionNeverRaises)
{
    TalvoFloat out(5.0);
    EXPECT_EQ(U::TalvoDAGToDouble(eval("x"), &out), 0);
    EXPECT_EQ(show(out.handle()), "0.");
    EXPECT_EQ(U::TalvoDAGToDouble(eval("3/4"), &out), 1);
    EXPECT_EQ(show(out.handle()), "0.75");
    EXPECT_EQ(U::TalvoDAGToDouble(eval("table()"), &out), 0);
}

TEST(TalvoUtils, ProceduresAtFloats)
{
    EXPECT_EQ(show(evalf_proc("(x, y) -> x/y", {1, 4}).handle()), "0.25");
    // A symbolic result goes through evalf.
    EXPECT_EQ(show(evalf_proc("x -> sqrt(2)*x", {2}).handle()), "2.828427125");
    EXPECT_EQ(show(evalf_proc("() -> 1/8", {}).handle()), "0.125");
}

TEST(TalvoUtils, FailingProceduresAreReportedWithTheirValue)
{
    EXPECT_EQ(error_of([] { evalf_proc("x -> undefined", {1}); }), "unable to evaluate undefined to floating-point");
    EXPECT_EQ(error_of([] { evalf_proc("x -> 1/(x - 1.)", {1}); }),
              "unable to evaluate Float(infinity) to floating-point");
    EXPECT_EQ(error_of([] { evalf_proc("x -> -infinity", {1}); }), "unable to evaluate -infinity to floating-point");
    EXPECT_EQ(error_of([] { evalf_proc("x -> x + z", {2}); }), "unable to evaluate z + 2. to floating-point");
    EXPECT_EQ(error_of([] { evalf_proc("x -> [x]", {2}); }), "unable to evaluate [2.] to floating-point");
}

TEST(TalvoUtils, AProcedureErrorReachesTheUserAndTheProcedureRunsTwice)
{
    eval("calls := 0: p := proc(x) global calls; calls := calls + 1; error \"refused %1\", x end proc");
    EXPECT_EQ(error_of([] { evalf_proc("p", {3}); }), "refused 3.");
    EXPECT_EQ(show(eval("calls")), "2");
}

TEST(TalvoUtils, ReportNonNumeric)
{
    EXPECT_EQ(error_of([] { U::ReportNonNumeric(eval("[a]")); }), "unable to evaluate [a] to floating-point");
}

TEST(TalvoUtils, HardwareFloatTrampoline)
{
    DigitsScope d(20); // wide enough to hold the double
    auto *cell = static_cast<TalvoFloat *>(U::TalvoEvalhfInternal(eval("1/3")));
    EXPECT_EQ(cell->to_double(), 1.0 / 3.0);
    EXPECT_EQ(static_cast<TalvoFloat *>(U::TalvoEvalhfInternal(eval("2"))), cell); // one cell
}

TEST(TalvoUtils, EvalfTrampoline)
{
    ALGEB f = eval("2.5");
    EXPECT_EQ(static_cast<ALGEB>(U::TalvoEvalfInternal(f)), f);
    EXPECT_EQ(show(static_cast<ALGEB>(U::TalvoEvalfInternal(eval("1/2")))), "0.5");
}

TEST(TalvoUtils, FreeConversions)
{
    TalvoFloat x(2.75);
    EXPECT_EQ(STATS_DoubleToTalvoFloat_MP(kv(), x), x.handle());
    EXPECT_EQ(show(STATS_TalvoFloatToDouble_MP(kv(), eval("3/8")).handle()), "0.375");
    EXPECT_NE(error_of([] { STATS_TalvoFloatToDouble_MP(kv(), eval("x")); }), "");
    EXPECT_EQ(STATS_DoubleToInteger_MP(TalvoFloat(-3.99)), -3);
    EXPECT_EQ(STATS_DoubleToInteger_MP(TalvoFloat(1e6 + 0.5)), 1000000);
    EXPECT_TRUE(IsTalvoFloatUndefined(STATS_FloatUndefined_MP(kv())));
    EXPECT_EQ(STATS_GetTalvoDigits_MP(), 10);
    DigitsScope d(42);
    EXPECT_EQ(STATS_GetTalvoDigits_MP(), 42);
}

TEST(TalvoUtils, ElementConversion)
{
    DigitsScope d(30);
    RTableData e;
    e.float32 = 0.1f;
    EXPECT_EQ(show(RTableDataToDouble(kv(), e, RTABLE_FLOAT32).handle()), "0.100000001490116119384765625");
    e.float64 = 0.1;
    EXPECT_EQ(show(RTableDataToDouble(kv(), e, RTABLE_FLOAT64).handle()), "0.100000000000000005551115123126");
    e.dag = eval("3/2");
    EXPECT_EQ(show(RTableDataToDouble(kv(), e, RTABLE_DAG).handle()), "1.5");
    e.dag = eval("y");
    EXPECT_EQ(error_of([&] { RTableDataToDouble(kv(), e, RTABLE_DAG); }), "expected talvo float, received y");
}

TEST(RandomStream, DrawsFromTheHostGenerator)
{
    eval("randomize(42)");
    int first = STATS_TalvoRandomStream_MP::NextInteger();
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    eval("randomize(42)");
    EXPECT_EQ(STATS_TalvoRandomStream_MP::NextInteger(), first);
    EXPECT_TRUE(STATS_TalvoRandomStream_MP::NextDouble() == u);
    DigitsScope d(100);
    TalvoFloat v = STATS_TalvoRandomStream_MP::NextDouble();
    EXPECT_EQ(mpfr_get_prec(v.mpfr()), talvo_float_precision());
    EXPECT_TRUE(v >= TalvoFloat(0.0) && v < TalvoFloat(1.0));
}

TEST(RandomStream, IntegersCoverTheSignedRange)
{
    eval("randomize(7)");
    int negative = 0;
    for (int i = 0; i < 10000; ++i)
        negative += STATS_TalvoRandomStream_MP::NextInteger() < 0;
    EXPECT_GT(negative, 4700);
    EXPECT_LT(negative, 5300);
}
