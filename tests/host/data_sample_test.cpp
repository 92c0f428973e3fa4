// data_sample_test.cpp -- host arrays of every data type and storage as
// float vectors, samples with weights, and the copy functions.
#include "stats_support.hpp"

#include "data_sample.hpp"

#include <vector>

using namespace stats::test;

namespace {

// The elements of a vector, printed.
std::string elements(const STATS_Vector_MP &v)
{
    std::string out;
    for (long i = 0; i < v.size(); ++i)
        out += (i ? " " : "") + show(v.data()[i].handle());
    return out;
}

std::string converted(const std::string &array)
{
    STATS_Vector_MP v(kv(), eval(array));
    return elements(v);
}

std::string floats(const TalvoFloat *x, int n)
{
    std::string out;
    for (int i = 0; i < n; ++i)
        out += (i ? " " : "") + show(x[i].handle());
    return out;
}

std::vector<TalvoFloat> values(std::initializer_list<const char *> texts)
{
    std::vector<TalvoFloat> v;
    for (const char *t : texts)
        v.push_back(std::string(t) == "undefined" ? TalvoFloatUndefined() : F(t));
    return v;
}

} // namespace

TEST(DataVector, FloatArraysAreUsedWithoutACopy)
{
    ALGEB a = eval("Array(1..3, [1.5, 2.5, 3.5], datatype = sfloat)");
    size_t before = talvo::gc_protected_count();
    STATS_Vector_MP v(kv(), a);
    EXPECT_EQ(v.converted(), a);
    EXPECT_EQ(static_cast<void *>(v.data()), RTableDataBlock(kv(), a));
    EXPECT_EQ(v.size(), 3);
    EXPECT_EQ(elements(v), "1.5 2.5 3.5");
    EXPECT_EQ(talvo::gc_protected_count(), before);
}

TEST(DataVector, OtherArraysAreConvertedIntoANewFloatArrayFromZero)
{
    ALGEB a = eval("Array(1..3, [0.5, 1.25, -2], datatype = float64)");
    size_t before = talvo::gc_protected_count();
    {
        STATS_Vector_MP v(kv(), a);
        ALGEB c = v.converted();
        ASSERT_NE(c, a);
        EXPECT_EQ(RTableLowerBound(kv(), c, 1), 0);
        EXPECT_EQ(RTableUpperBound(kv(), c, 1), 2);
        RTableSettings s;
        RTableGetSettings(kv(), &s, c);
        EXPECT_EQ(s.data_type, RTABLE_DAG);
        EXPECT_EQ(s.storage, RTABLE_RECT);
        EXPECT_EQ(show(s.element_type), "sfloat");
        EXPECT_EQ(elements(v), "0.5 1.25 -2.");
        EXPECT_EQ(talvo::gc_protected_count(), before + 1);
    }
    EXPECT_EQ(talvo::gc_protected_count(), before);
}

TEST(DataVector, EveryDataTypeConverts)
{
    DigitsScope d(20);
    EXPECT_EQ(converted("Array(1..4, [1, 1/2, sqrt(2), undefined])"), "1. 0.5 1.4142135623730950488 Float(undefined)");
    EXPECT_EQ(converted("Array(1..2, [3, 1/4], datatype = complex)"), "3. 0.25");
    EXPECT_EQ(converted("Array(1..3, [-128, 0, 127], datatype = int8)"), "-128. 0. 127.");
    EXPECT_EQ(converted("Array(1..2, [-32768, 32767], datatype = int16)"), "-32768. 32767.");
    EXPECT_EQ(converted("Array(1..2, [-2^31, 2^31 - 1], datatype = int32)"), "-2147483648. 2147483647.");
    // 64-bit integers go through a double: 2^63 - 1 becomes 2^63.
    EXPECT_EQ(converted("Array(1..2, [-5, 2^63 - 1], datatype = int64)"), "-5. 9223372036854775808.");
    EXPECT_EQ(converted("Array(1..2, [0.1, -1e300], datatype = float64)"), "0.10000000000000000555 -1.0000000000000000525e+300");
    EXPECT_EQ(converted("Array(1..2, [1.5, 0.25], datatype = complex128)"), "1.5 0.25");
    EXPECT_EQ(converted("Array(1..2, [0.1, 3], datatype = float32)"), "0.10000000149011611938 3.");
}

TEST(DataVector, SparseStorageIsReadElementByElement)
{
    EXPECT_EQ(converted("Array(1..4, [0, 2.5, 0, 4], storage = sparse)"), "0. 2.5 0. 4.");
    EXPECT_EQ(converted("Array(-1..1, [7, 0, 9], datatype = int32, storage = sparse)"), "7. 0. 9.");
    EXPECT_EQ(converted("Array(1..3, [1.5, 0, 2], datatype = sfloat, storage = sparse)"), "1.5 0. 2.");
    EXPECT_EQ(converted("Array(1..2, [0.5, 0.25], datatype = float64, storage = sparse)"), "0.5 0.25");
    EXPECT_EQ(converted("Array(1..2, [1, 2], datatype = complex128, storage = sparse)"), "1. 2.");
    EXPECT_EQ(converted("Array(1..2, [1, 2], datatype = complex, storage = sparse)"), "1. 2.");
    EXPECT_EQ(converted("Array(1..2, [-1, 2], datatype = int8, storage = sparse, fill = 5)"), "-1. 2.");
}

TEST(DataVector, ArraysInCOrderAndTwoDimensions)
{
    // The size is the first dimension's; its elements are the first in storage order.
    STATS_Vector_MP v(kv(), eval("Array(1..2, 1..3, [[1, 2, 3], [4, 5, 6]], datatype = float64)"));
    EXPECT_EQ(v.size(), 2);
    EXPECT_EQ(elements(v), "1. 4.");
    EXPECT_EQ(converted("Array(1..2, 1..2, [[1, 2], [3, 4]], datatype = int32, order = C_order)"), "1. 2.");
}

TEST(DataVector, ElementsWithoutARealValueAreRefused)
{
    EXPECT_EQ(error_of([] { converted("Array(1..2, [1, 2 + 3*I], datatype = complex)"); }),
              "unable to evaluate 2.+3.*I to floating-point");
    EXPECT_EQ(error_of([] { converted("Array(1..2, [1, 2 + 3*I], datatype = complex128)"); }),
              "unable to evaluate 2.+3.*I to floating-point");
    EXPECT_EQ(error_of([] { converted("Array(1..3, [1, x, 3])"); }), "unable to evaluate x to floating-point");
    EXPECT_EQ(error_of([] { converted("Array(1..2, [1, 3*I], datatype = complex)"); }),
              "unable to evaluate 0.+3.*I to floating-point");
}

TEST(DataVector, AFailedConversionReleasesItsArray)
{
    size_t before = talvo::gc_protected_count();
    EXPECT_NE(error_of([] { converted("Array(1..3, [1, x, 3])"); }), "");
    EXPECT_EQ(talvo::gc_protected_count(), before);
}

TEST(DataVector, NotAnArray)
{
    EXPECT_EQ(error_of([] { STATS_Vector_MP v(kv(), eval("[1, 2]")); }),
              "invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(error_of([] { STATS_Vector_MP v(kv(), eval("3")); }), "invalid data sample, expected: rtable, received 3");
}

TEST(DataVector, EmptyArrays)
{
    for (const char *a : {"Array(1..0)", "Array(1..0, datatype = float64)", "Array(1..-4)"}) {
        STATS_Vector_MP v(kv(), eval(a));
        EXPECT_EQ(v.size(), 0) << a;
        EXPECT_EQ(v.data(), nullptr) << a;
    }
}

TEST(DataVector, ConvertingAgainReleasesThePreviousCopy)
{
    size_t before = talvo::gc_protected_count();
    STATS_Vector_MP v(kv(), eval("Array(1..2, [1, 2], datatype = int8)"));
    ALGEB first = v.converted();
    STATS_Vector_MP::ConvertData(kv(), &v);
    EXPECT_NE(v.converted(), first);
    EXPECT_EQ(talvo::gc_protected_count(), before + 1);
    EXPECT_EQ(elements(v), "1. 2.");
    // The copy through the host's own array copy, as used under trapping.
    T_BOOL failed = 0;
    TalvoTrapError(kv(), STATS_Vector_MP::TalvoConvertData, &v, &failed);
    EXPECT_FALSE(failed);
    EXPECT_EQ(elements(v), "1. 2.");
    EXPECT_EQ(talvo::gc_protected_count(), before + 1);
}

TEST(DataSample, PointsAndWeights)
{
    STATS_TalvoDataSample_MP s(kv(), eval("Array(1..3, [1, 2, 3])"), eval("Array(1..3, [1, 0, 2], datatype = float64)"));
    EXPECT_TRUE(s.weighted());
    EXPECT_EQ(s.size(), 3);
    EXPECT_EQ(floats(s.points(), 3), "1. 2. 3.");
    EXPECT_EQ(floats(s.weights(), 3), "1. 0. 2.");
    STATS_TalvoDataSample_MP u(kv(), eval("Array(1..2, [4, 5])"));
    EXPECT_FALSE(u.weighted());
    EXPECT_EQ(u.weights(), nullptr);
}

TEST(DataSample, EmptyWeightsMeanUnweighted)
{
    STATS_TalvoDataSample_MP s(kv(), eval("Array(1..2, [4, 5])"), eval("Array(1..0)"));
    EXPECT_FALSE(s.weighted());
    EXPECT_EQ(s.size(), 2);
}

TEST(DataSample, WeightsOfAnotherLength)
{
    size_t before = talvo::gc_protected_count();
    EXPECT_EQ(error_of([] {
                  STATS_TalvoDataSample_MP s(kv(), eval("Array(1..2, [4, 5], datatype = int8)"),
                                             eval("Array(1..3, [1, 1, 1], datatype = int8)"));
              }),
              "vector of points and vector of weights are expected to have the same size, received "
              "Array(1..2, [4, 5], datatype = int8), Array(1..3, [1, 1, 1], datatype = int8)");
    EXPECT_EQ(error_of([] { STATS_TalvoDataSample_MP s(kv(), eval("Array(1..2, [4, 5])"), eval("[1, 2]")); }),
              "invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(talvo::gc_protected_count(), before);
}

TEST(CopyData, SimpleCopies)
{
    auto in = values({"1", "undefined", "3"});
    std::vector<TalvoFloat> out(3);
    EXPECT_EQ(STATS_CopySimpleData_MP(in.data(), out.data(), 3, 1), 2);
    EXPECT_EQ(floats(out.data(), 2), "1. 3.");
    EXPECT_EQ(STATS_CopySimpleData_MP(in.data(), out.data(), 3, 0), 3);
    EXPECT_EQ(floats(out.data(), 3), "1. Float(undefined) 3.");
    EXPECT_EQ(STATS_CopySimpleData_MP(in.data(), out.data(), 0, 1), 0);
    EXPECT_EQ(STATS_CopySimpleData_MP(in.data(), out.data(), -2, 1), 0);
    EXPECT_EQ(STATS_CopySimpleData_MP(in.data(), out.data(), -2, 0), -2);
}

TEST(CopyData, WeightedCopiesKeepZeroWeights)
{
    auto p = values({"1", "2", "3"});
    auto w = values({"1", "0", "undefined"});
    std::vector<TalvoFloat> op(3), ow(3);
    EXPECT_EQ(STATS_CopyWeightedData_MP(p.data(), w.data(), op.data(), ow.data(), 3, 1), 2);
    EXPECT_EQ(floats(op.data(), 2), "1. 2.");
    EXPECT_EQ(floats(ow.data(), 2), "1. 0.");
    auto q = values({"undefined", "2", "3"});
    EXPECT_EQ(STATS_CopyWeightedData_MP(q.data(), w.data(), op.data(), ow.data(), 3, 1), 1);
    EXPECT_EQ(floats(op.data(), 1), "2.");
    EXPECT_EQ(STATS_CopyWeightedData_MP(q.data(), w.data(), op.data(), ow.data(), 3, 0), 3);
    EXPECT_EQ(STATS_CopyWeightedData_MP(q.data(), w.data(), op.data(), ow.data(), -1, 1), 0);
    EXPECT_EQ(STATS_CopyWeightedData_MP(q.data(), w.data(), op.data(), ow.data(), -1, 0), -1);
}

TEST(CopyData, FromSamples)
{
    STATS_TalvoDataSample_MP s(kv(), eval("Array(1..3, [1, undefined, 3])"), eval("Array(1..3, [2, 2, undefined])"));
    std::vector<TalvoFloat> p(3), w(3, TalvoFloat(9.0));
    EXPECT_EQ(STATS_CopyData_MP(s, p.data()), 3);
    EXPECT_EQ(floats(p.data(), 3), "1. Float(undefined) 3.");
    EXPECT_EQ(STATS_CopyData_MP(s, p.data(), w.data(), 1), 1);
    EXPECT_EQ(floats(p.data(), 1), "1.");
    EXPECT_EQ(floats(w.data(), 1), "2.");
    STATS_TalvoDataSample_MP u(kv(), eval("Array(1..3, [1, undefined, 3])"));
    std::vector<TalvoFloat> w2(3, TalvoFloat(9.0));
    EXPECT_EQ(STATS_CopyData_MP(u, p.data(), w2.data(), 1), 2);
    EXPECT_EQ(floats(p.data(), 2), "1. 3.");
    EXPECT_EQ(floats(w2.data(), 3), "9. 9. 9."); // untouched
}

TEST(RTableDataSize, EveryCode)
{
    int sizes[] = {int(sizeof(ALGEB)), int(2 * sizeof(ALGEB)), 1, 2, 4, 8, 8, 16, 4};
    for (int code = 0; code < 9; ++code)
        EXPECT_EQ(STATS_RTableDataSize_MP(kv(), code), sizes[code]) << code;
    EXPECT_EQ(STATS_RTableDataSize_MP(kv(), 9), 4);
    EXPECT_EQ(STATS_RTableDataSize_MP(kv(), -1), 4);
}

TEST(NewFloatArray, RectangularFloatsFromOne)
{
    ALGEB a = stats::NewFloatArray(kv(), 3);
    EXPECT_EQ(show(a), "Array(1..3, [0., 0., 0.], datatype = sfloat)");
    RTableSettings s;
    RTableGetSettings(kv(), &s, a);
    EXPECT_EQ(s.storage, RTABLE_RECT);
    EXPECT_EQ(s.data_type, RTABLE_DAG);
    EXPECT_EQ(show(stats::NewFloatArray(kv(), 0)), "Array(1..0, [], datatype = sfloat)");
}
