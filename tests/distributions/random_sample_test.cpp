// random_sample_test.cpp -- the arrays RandomSample entries make or fill.
#include "stats_support.hpp"

#include "random_sample.hpp"

using namespace stats::test;

TEST(RandomSampleArrays, ANewArrayOfFloats)
{
    ALGEB a = STATS_CreateRandomSample_MP(kv(), 4, ToTalvoNULL(kv()));
    RTableSettings s;
    RTableGetSettings(kv(), &s, a);
    EXPECT_EQ(s.data_type, RTABLE_DAG);
    EXPECT_EQ(show(s.element_type), "sfloat");
    EXPECT_EQ(s.storage, RTABLE_RECT);
    EXPECT_EQ(RTableNumDimensions(kv(), a), 1);
    EXPECT_EQ(RTableLowerBound(kv(), a, 1), 1);
    EXPECT_EQ(RTableUpperBound(kv(), a, 1), 4);
    EXPECT_EQ(RTableUpperBound(kv(), STATS_CreateRandomSample_MP(kv(), -2, ToTalvoNULL(kv())), 1), -2);
}

TEST(RandomSampleArrays, AnExistingArrayIsFilledInPlace)
{
    ALGEB a = eval("Array(1..5)");
    EXPECT_EQ(STATS_CreateRandomSample_MP(kv(), a), a);
    ALGEB b = eval("Array(1..2, 1..2, datatype = sfloat)");
    EXPECT_EQ(STATS_CreateRandomSample_MP(kv(), b), b);
}

TEST(RandomSampleArrays, ALengthMakesANewArray)
{
    ALGEB a = STATS_CreateRandomSample_MP(kv(), eval("3"));
    EXPECT_EQ(RTableUpperBound(kv(), a, 1), 3);
    EXPECT_NE(error_of([] { STATS_CreateRandomSample_MP(kv(), eval("2.5")); }), "");
    EXPECT_NE(error_of([] { STATS_CreateRandomSample_MP(kv(), eval("[3]")); }), "");
}

TEST(RandomSampleArrays, UnsuitableArraysAreRefused)
{
    EXPECT_EQ(error_of([] { STATS_CreateRandomSample_MP(kv(), eval("Array(1..2, storage = sparse)")); }),
              "output array must have rectangular storage, received: Array(1..2, [0, 0], storage = sparse)");
    EXPECT_EQ(error_of([] { STATS_CreateRandomSample_MP(kv(), eval("Array(1..2, datatype = float64)")); }),
              "output array must have float[8] or sfloat data type, received: Array(1..2, [0., 0.], datatype = float64)");
    EXPECT_EQ(error_of([] { STATS_CreateRandomSample_MP(kv(), eval("Array(1..2, datatype = int32)")); }),
              "output array must have float[8] or sfloat data type, received: Array(1..2, [0, 0], datatype = int32)");
    // Sparse storage is reported first.
    EXPECT_EQ(error_of([] { STATS_CreateRandomSample_MP(kv(), eval("Array(1..1, datatype = int8, storage = sparse)")); }),
              "output array must have rectangular storage, received: Array(1..1, [0], datatype = int8, storage = sparse)");
}

TEST(NormalSample, FillsAnExistingArrayAndReturnsIt)
{
    eval("A := Array(1..5)");
    ALGEB a = eval("A");
    ALGEB r = call(STATS_TalvoNormalRandomSample_MP, "A, 0, 1");
    EXPECT_EQ(r, a);
    for (int i = 1; i <= 5; ++i)
        EXPECT_EQ(show(eval("type(A[" + std::to_string(i) + "], float)")), "true") << i;
    // A two-dimensional array: every element.
    eval("B := Array(1..2, 1..3, datatype = sfloat)");
    call(STATS_TalvoNormalRandomSample_MP, "B, 10, 0.001");
    EXPECT_EQ(show(eval("evalb(abs(B[2, 3] - 10) < 1)")), "true");
}

TEST(NormalSample, LengthsAndRefusals)
{
    ALGEB a = call(STATS_TalvoNormalRandomSample_MP, "7, 0, 1");
    EXPECT_EQ(RTableNumElements(kv(), a), 7);
    {
        ReplayStream s; // nothing drawn
        EXPECT_EQ(result(STATS_TalvoNormalRandomSample_MP, "0, 0, 1"), "Array(1..0, [], datatype = sfloat)");
        EXPECT_EQ(result(STATS_TalvoNormalRandomSample_MP, "-5, 0, 1"), "Array(1..-5, [], datatype = sfloat)");
    }
    EXPECT_EQ(result(STATS_TalvoNormalRandomSample_MP, "Array(1..2, datatype = float64), 0, 1"),
              "Error: output array must have float[8] or sfloat data type, received: Array(1..2, [0., 0.], datatype = float64)");
    EXPECT_EQ(result(STATS_TalvoNormalRandomSample_MP, "Array(1..2, storage = sparse), 0, 1"),
              "Error: output array must have rectangular storage, received: Array(1..2, [0, 0], storage = sparse)");
    EXPECT_EQ(result(STATS_TalvoNormalRandomSample_MP, "3, 0"),
              "Error: TalvoNormalRandomSample expects 3 arguments, received: 3, 0");
    EXPECT_EQ(result(STATS_TalvoNormalRandomVariate_MP, "0"),
              "Error: TalvoNormalRandomVariate expects 2 arguments, received: 0");
    EXPECT_EQ(result(STATS_TalvoNormalRandomSample_MP, "3, m, 1"), "Error: unable to evaluate m to floating-point");
}

namespace {

// Entries built on the variate and sample helpers, with a draw that shows
// the reals it was given and the order they came in.
TalvoFloat Probe(TKernelVector, TalvoFloat a, TalvoFloat b, TalvoFloat c)
{
    return a * TalvoFloat(100.0) + b * TalvoFloat(10.0) + c;
}

ALGEB STATS_TalvoProbeRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) { return Probe(kv, p...); });
}

int g_draws = 0;

ALGEB STATS_TalvoProbeRandomSample_MP(TKernelVector kv, ALGEB args)
{
    return stats::SampleEntry<3>(kv, args, __func__, [](TKernelVector kv, auto... p) {
        ++g_draws;
        return Probe(kv, p...);
    });
}

} // namespace

TEST(VariateEntries, TheRealsReachTheDrawInOrder)
{
    EXPECT_EQ(result(STATS_TalvoProbeRandomVariate_MP, "1, 2, 3"), "123.");
    EXPECT_EQ(result(STATS_TalvoProbeRandomVariate_MP, "1/2, 0.25, 7"), "59.5");
    g_draws = 0;
    EXPECT_EQ(result(STATS_TalvoProbeRandomSample_MP, "2, 3, 2, 1"), "Array(1..2, [321., 321.], datatype = sfloat)");
    EXPECT_EQ(g_draws, 2);
    g_draws = 0;
    EXPECT_EQ(RTableUpperBound(kv(), call(STATS_TalvoProbeRandomSample_MP, "0, 1, 2, 3"), 1), 0);
    EXPECT_EQ(g_draws, 0);
}

TEST(VariateEntries, CountFirstThenTheArgumentsInOrder)
{
    EXPECT_EQ(result(STATS_TalvoProbeRandomVariate_MP, "1, 2"),
              "Error: TalvoProbeRandomVariate expects 3 arguments, received: 1, 2");
    EXPECT_EQ(result(STATS_TalvoProbeRandomSample_MP, "1, 2, 3"),
              "Error: TalvoProbeRandomSample expects 4 arguments, received: 1, 2, 3");
    // The count is checked before anything is converted; then the first bad
    // argument is the one reported, the sample's length before its reals.
    EXPECT_EQ(result(STATS_TalvoProbeRandomVariate_MP, "x, y"),
              "Error: TalvoProbeRandomVariate expects 3 arguments, received: x, y");
    EXPECT_EQ(result(STATS_TalvoProbeRandomVariate_MP, "1, y, z"), "Error: unable to evaluate y to floating-point");
    EXPECT_EQ(result(STATS_TalvoProbeRandomSample_MP, "2, 1, y, z"), "Error: unable to evaluate y to floating-point");
    EXPECT_EQ(result(STATS_TalvoProbeRandomSample_MP, "2.5, x, 2, 3"),
              "Error: integer conversion: expecting an integer in the range of the native type, got 2.5");
}
