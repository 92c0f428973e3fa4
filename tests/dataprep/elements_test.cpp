// elements_test.cpp -- the element comparison of every data type: the
// qsort convention, signed integers of every width, 64-bit integers by
// their high words first, hardware floats and host values with undefined
// last, and the non-numeric report.
#include "prep_support.hpp"

#include <cmath>
#include <cstdint>
#include <limits>

using namespace stats::test;

namespace {

template <class T>
int Cmp(STATS_NumericCompare_MP c, T a, T b)
{
    return c(reinterpret_cast<const char *>(&a), reinterpret_cast<const char *>(&b));
}

// Every pair of the ascending list compares as its positions do.
template <class T>
void ExpectOrder(STATS_NumericCompare_MP c, const std::vector<T> &ascending)
{
    for (size_t i = 0; i < ascending.size(); ++i)
        for (size_t j = 0; j < ascending.size(); ++j)
            EXPECT_EQ(Cmp(c, ascending[i], ascending[j]), (i > j) - (i < j)) << i << " vs " << j;
}

TEST(DataprepElements, Integers)
{
    ExpectOrder<int8_t>(STATS_NumericCompareINTEGER8_MP, {-128, -1, 0, 1, 127});
    ExpectOrder<int16_t>(STATS_NumericCompareINTEGER16_MP, {-32768, -255, -1, 0, 256, 32767});
    ExpectOrder<int32_t>(STATS_NumericCompareINTEGER32_MP, {INT32_MIN, -65536, -1, 0, 65536, INT32_MAX});
}

TEST(DataprepElements, SixtyFourBitIntegersHighWordFirst)
{
    // Values whose low words alone would order them wrongly.
    ExpectOrder<int64_t>(STATS_NumericCompareINTEGER64_MP,
                         {INT64_MIN, INT64_MIN + 1, -(int64_t(1) << 32) - 1, -(int64_t(1) << 32), -4294967295LL, -1,
                          0, 1, 4294967295LL, int64_t(1) << 32, (int64_t(1) << 32) + 1, INT64_MAX});
}

TEST(DataprepElements, HardwareFloatsUndefinedLast)
{
    double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    ExpectOrder<double>(STATS_NumericCompareFLOAT64_MP, {-inf, -1e300, -1, 0, 1e-300, 1, inf, nan});
    EXPECT_EQ(Cmp(STATS_NumericCompareFLOAT64_MP, nan, nan), 0);
    EXPECT_EQ(Cmp(STATS_NumericCompareFLOAT64_MP, -0.0, 0.0), 0);
    float finf = std::numeric_limits<float>::infinity(), fnan = std::nanf("");
    ExpectOrder<float>(STATS_NumericCompareFLOAT32_MP, {-finf, -1.5f, 0, 1e-30f, 3, finf, fnan});
    EXPECT_EQ(Cmp(STATS_NumericCompareFLOAT32_MP, fnan, fnan), 0);
}

TEST(DataprepElements, HostValues)
{
    std::vector<ALGEB> v = {eval("-infinity"), eval("-7/2"), eval("-3"), eval("0"), eval("1/3"), eval("0.5"),
                            eval("Pi"), eval("10^30"), eval("evalf(infinity)"), eval("evalf(undefined)")};
    // Names and unevaluated calls (infinity, Pi) compare as evalf makes them.
    ExpectOrder<ALGEB>(STATS_NumericCompareALGEB_MP, v);
    ALGEB u1 = eval("evalf(undefined)"), u2 = eval("Float(undefined)");
    EXPECT_EQ(Cmp(STATS_NumericCompareALGEB_MP, u1, u2), 0);
    // Equal as floats at the working precision.
    EXPECT_EQ(Cmp(STATS_NumericCompareALGEB_MP, eval("1/3"), eval("evalf(1/3)")), 0);
    ALGEB x = eval("x"), one = eval("1");
    EXPECT_EQ(error_of([&] { Cmp(STATS_NumericCompareALGEB_MP, one, x); }),
              "unable to evaluate x to floating-point");
}

TEST(DataprepElements, SwapByteArrays)
{
    char a[5] = {1, 2, 3, 4, 5}, b[5] = {6, 7, 8, 9, 10}, tmp[5];
    STATS_SwapByteArrays_MP(a, b, tmp, 5);
    EXPECT_EQ(a[0], 6);
    EXPECT_EQ(a[4], 10);
    EXPECT_EQ(b[0], 1);
    EXPECT_EQ(b[4], 5);
}

} // namespace
