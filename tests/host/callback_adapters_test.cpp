// callback_adapters_test.cpp -- procedures, native functions and fixed
// parameter functions behind one interface; errors unwinding through them.
#include "stats_support.hpp"

#include "callback_adapters.hpp"
#include "data_sample.hpp"

using namespace stats::test;

namespace {

TalvoFloat Twice(TalvoFloat x) { return x + x; }
TalvoFloat Square(TalvoFloat x) { return x * x; }

// What a probability adapter looks like: a distribution function with its
// parameters fixed (here the logistic function with location and scale).
class LogisticAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    LogisticAdapter(TKernelVector kv, TalvoFloat a, TalvoFloat b) : STATS_TalvoCallbackAdapter_MP(kv), a_(a), b_(b) {}
    TalvoFloat Call(TalvoFloat x) override { return TalvoFloat(1.0) / (TalvoFloat(1.0) + exp(-(x - a_) / b_)); }

private:
    TalvoFloat a_, b_;
};

std::string at(STATS_TalvoCallbackAdapter_MP &f, double x) { return show(f.Call(TalvoFloat(x)).handle()); }

} // namespace

TEST(CallbackAdapters, ProcedureResults)
{
    STATS_TalvoProcAdapter_MP p(kv(), eval("x -> 1/3"));
    EXPECT_EQ(at(p, 0), "0.3333333333"); // an exact rational needs no evalf
    p.Reset(eval("x -> sqrt(2)"));
    EXPECT_EQ(at(p, 0), "1.414213562"); // a symbolic constant goes through evalf
    p.Reset(eval("x -> x^2 - 1"));
    EXPECT_EQ(at(p, 3), "8.");
    p.Reset(eval("x -> undefined"));
    EXPECT_TRUE(IsTalvoFloatUndefined(p.Call(TalvoFloat(1.0)))); // passed on, not refused
    p.Reset(eval("x -> 1/(x - 1.)"));
    EXPECT_TRUE(IsTalvoFloatInfinity(p.Call(TalvoFloat(1.0))));
}

TEST(CallbackAdapters, ANonNumericResultFailsInTheFloatConversion)
{
    STATS_TalvoProcAdapter_MP p(kv(), eval("x -> [x]"));
    EXPECT_NE(error_of([&] { p.Call(TalvoFloat(1.0)); }), "");
}

TEST(CallbackAdapters, AProcedureErrorEndsTheComputation)
{
    STATS_TalvoProcAdapter_MP p(kv(), eval("proc(x) error \"no value at %1\", x end proc"));
    EXPECT_EQ(error_of([&] { p.Call(TalvoFloat(2.5)); }), "no value at 2.5");
}

TEST(CallbackAdapters, NativeFunctions)
{
    STATS_TalvoCFuncAdapter_MP c(kv(), Twice);
    EXPECT_EQ(at(c, 1.25), "2.5");
    c.Reset(Square);
    EXPECT_EQ(at(c, 3), "9.");
}

TEST(CallbackAdapters, DerivedAdaptersThroughTheBase)
{
    LogisticAdapter l(kv(), TalvoFloat(0.0), TalvoFloat(1.0));
    STATS_TalvoCallbackAdapter_MP &f = l;
    EXPECT_EQ(at(f, 0), "0.5");
    EXPECT_EQ(at(f, 2), "0.880797078");
}

TEST(CallbackAdapters, StaticAdapterCallsTheLatestProcedure)
{
    STATS_TalvoStaticProcAdapter_MP::Reset(eval("x -> x + 1"));
    TalvoFloat (*fn)(TalvoFloat) = STATS_TalvoStaticProcAdapter_MP::Call;
    EXPECT_EQ(show(fn(TalvoFloat(1.0)).handle()), "2.");
    STATS_TalvoStaticProcAdapter_MP::Reset(eval("x -> 10*x"));
    EXPECT_EQ(show(fn(TalvoFloat(1.0)).handle()), "10.");
    STATS_TalvoCFuncAdapter_MP c(kv(), fn);
    EXPECT_EQ(at(c, 2), "20.");
}

namespace {

// Like an entry: a converted data vector alive while a user procedure runs.
void ConvertThenCall(ALGEB data, ALGEB proc)
{
    STATS_Vector_MP v(kv(), data);
    STATS_TalvoProcAdapter_MP p(kv(), proc);
    for (long i = 0; i < v.size(); ++i)
        v.data()[i] = p.Call(v.data()[i]);
}

} // namespace

TEST(CallbackAdapters, AnErrorInsideAProcedureLeavesNothingProtected)
{
    size_t before = talvo::gc_protected_count();
    ALGEB data = eval("Array(1..3, [1, 2, 3], datatype = float64)");
    EXPECT_EQ(error_of([&] { ConvertThenCall(data, eval("proc(x) if x > 1.5 then error \"too big: %1\", x end if; x end proc")); }),
              "too big: 2.");
    EXPECT_EQ(talvo::gc_protected_count(), before);
    // A vector that ends normally releases its converted array too.
    ConvertThenCall(data, eval("x -> x"));
    EXPECT_EQ(talvo::gc_protected_count(), before);
}
