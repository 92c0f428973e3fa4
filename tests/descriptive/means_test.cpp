// means_test.cpp -- means, moments, absolute deviation and expected value:
// exact rational references on small integer data, the worked cases, the
// messages, missing values and weights, and every kind of array.
#include "stats_support.hpp"

#include "means.hpp"
#include "reference_table.hpp"

#include <map>

using namespace stats::test;

namespace {

const std::string kNone = "Array(1..0)";

std::string Arr(const std::string &values) { return "Array([" + values + "])"; }
std::string Weights(const std::string &w) { return w.empty() ? kNone : Arr(w); }

std::vector<ReferenceCase> ExactTable() { return ReadReferenceTable(std::string(TALVO_TEST_DATA) + "/exact_sums.tsv"); }

// The error of an entry's float result against a reference, in units of the
// last of `digits` digits.
double Error(ALGEB r, const std::string &ref, int digits)
{
    return ErrorInLastDigits(TalvoFloat::from_handle(r), ref, digits);
}

} // namespace

TEST(Mean, TheWorkedCasesOfTheFourTypes)
{
    // [1, 2, 4]: harmonic 3/(1 + 1/2 + 1/4) = 12/7, geometric 2, quadratic
    // sqrt(7), arithmetic 7/3.
    std::string a = Arr("1, 2, 4") + ", " + kNone + ", false, ";
    EXPECT_EQ(result(STATS_TalvoMean_MP, a + "2"), "1.714285714");
    EXPECT_EQ(result(STATS_TalvoMean_MP, a + "1"), "2.");
    EXPECT_EQ(result(STATS_TalvoMean_MP, a + "3"), "2.645751311");
    EXPECT_EQ(result(STATS_TalvoMean_MP, a + "0"), "2.333333333");
    // Any type other than 1, 2, 3 is the arithmetic mean.
    EXPECT_EQ(result(STATS_TalvoMean_MP, a + "4"), "2.333333333");
    EXPECT_EQ(result(STATS_TalvoMean_MP, a + "-7"), "2.333333333");
}

TEST(Mean, AgreesWithExactArithmeticAtEveryPrecision)
{
    int checked = 0;
    for (int digits : {10, 15, 30, 50}) {
        DigitsScope d(digits);
        for (const ReferenceCase &c : ExactTable()) {
            if (c.function != "Mean")
                continue;
            std::string args = Arr(c.args[0]) + ", " + Weights(c.args[1]) + ", false, " + c.args[2];
            ALGEB r = call(STATS_TalvoMean_MP, args);
            // Each of the n steps of a sum rounds once: a few units at most.
            EXPECT_LT(Error(r, c.value, digits), 3.0) << args << " at " << digits;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 4 * 32);
}

TEST(Mean, IntegerResultsAreExact)
{
    DigitsScope d(30);
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("3,1,4,1,5,9,2,6") + ", " + kNone + ", false, 0"), "3.875");
    // Weighted: (3*1 + 1*2 + 4*0 + 1*3 + 5 + 9 + 2*4 + 6*2) / 14 = 42/14.
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("3,1,4,1,5,9,2,6") + ", " + Arr("1,2,0,3,1,1,4,2") + ", false, 0"),
              "3.");
}

TEST(Mean, WeightsOfOneGiveTheSimpleMean)
{
    for (int type : {0, 1, 2, 3}) {
        std::string t = std::to_string(type);
        EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("2.5, 7, 1/3, 9") + ", " + Arr("1, 1, 1, 1") + ", false, " + t),
                  result(STATS_TalvoMean_MP, Arr("2.5, 7, 1/3, 9") + ", " + kNone + ", false, " + t))
            << type;
    }
}

TEST(Mean, MissingValuesAreDroppedOnlyWhenTold)
{
    std::string x = Arr("1, undefined, 3, undefined");
    EXPECT_EQ(result(STATS_TalvoMean_MP, x + ", " + kNone + ", true, 0"), "2.");
    EXPECT_EQ(result(STATS_TalvoMean_MP, x + ", " + kNone + ", false, 0"), "Float(undefined)");
    // A pair is dropped when its weight is undefined, too.
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, 2, 3") + ", " + Arr("1, undefined, 3") + ", true, 0"), "2.5");
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, 2, 3") + ", " + Arr("1, undefined, 3") + ", false, 0"),
              "Float(undefined)");
}

TEST(Mean, EmptyAllMissingAndZeroWeightDivideByZero)
{
    // Nothing is checked: 0/0 is the float class's undefined.
    for (int type : {0, 1, 2, 3}) {
        std::string t = std::to_string(type);
        EXPECT_EQ(result(STATS_TalvoMean_MP, kNone + ", " + kNone + ", false, " + t), "Float(undefined)") << t;
        EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("undefined, undefined") + ", " + kNone + ", true, " + t),
                  "Float(undefined)")
            << t;
        EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, 2") + ", " + Arr("0, 0") + ", false, " + t),
                  "Float(undefined)")
            << t;
    }
    // Zeros in the harmonic mean and negative data in the geometric mean go
    // to the division and to log unchecked.
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, 0, 2") + ", " + kNone + ", false, 2"), "0.");
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, -2, 2") + ", " + kNone + ", false, 1"), "Float(undefined)");
}

TEST(Mean, EveryDataTypeAndStorage)
{
    const char *types[] = {"int8", "int16", "int32", "int64", "float64", "float32", "sfloat", "anything",
                           "complex", "complex128"};
    for (const char *t : types)
        for (const char *storage : {"rectangular", "sparse"}) {
            std::string a = std::string("Array(1..4, [2, 4, 6, 12], datatype = ") + t + ", storage = " + storage + ")";
            EXPECT_EQ(result(STATS_TalvoMean_MP, a + ", " + kNone + ", false, 0"), "6.") << t << " " << storage;
            EXPECT_EQ(result(STATS_TalvoMean_MP, a + ", " + a + ", false, 0"), "8.333333333") << t << " " << storage;
        }
    // Bounds other than 1 and C order change nothing.
    EXPECT_EQ(result(STATS_TalvoMean_MP, "Array(-2..1, [2, 4, 6, 12], order = C_order), " + kNone + ", false, 0"),
              "6.");
}

TEST(Mean, BadArgumentsRaiseTheirMessages)
{
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, 2") + ", " + kNone + ", false"),
              "Error: expected 4 arguments, received: Array(1..2, [1, 2]), Array(1..0, []), false");
    EXPECT_EQ(result(STATS_TalvoMean_MP, "[1, 2], " + kNone + ", false, 0"),
              "Error: invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, 2") + ", " + Arr("1, 2, 3") + ", false, 0"),
              "Error: vector of points and vector of weights are expected to have the same size, received "
              "Array(1..2, [1, 2]), Array(1..3, [1, 2, 3])");
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, [2]") + ", " + kNone + ", false, 0"),
              "Error: unable to evaluate [2] to floating-point");
    EXPECT_EQ(result(STATS_TalvoMean_MP, Arr("1, x") + ", " + kNone + ", false, 0"),
              "Error: unable to evaluate x to floating-point");
    EXPECT_EQ(result(STATS_TalvoMean_MP, "Array(1..2, [1, 2 + I], datatype = complex), " + kNone + ", false, 0"),
              "Error: unable to evaluate 2.+1.*I to floating-point");
}

TEST(Mean, TheKernelsDispatchOnTheWeights)
{
    DigitsScope d(20);
    TalvoFloat x[3] = {F("1"), F("2"), F("4")};
    TalvoFloat w[3] = {F("3"), F("1"), F("1")};
    // (3 + 2 + 4) / 5
    EXPECT_EQ(STATS_Mean_MP(kv(), x, w, 3, 0), F("1.8"));
    EXPECT_EQ(STATS_Mean_MP(kv(), x, nullptr, 3, 0), STATS_SimpleMean_MP(kv(), x, 3, 0));
    EXPECT_EQ(STATS_Mean_MP(kv(), x, w, 3, 2), STATS_WeightedMean_MP(kv(), x, w, 3, 2));
    // Weighted harmonic: 5 / (3 + 1/2 + 1/4) = 4/3.
    EXPECT_LT(ErrorInLastDigits(STATS_WeightedMean_MP(kv(), x, w, 3, 2), "1.3333333333333333333333", 20), 1.0);
    // The kernels read their arrays and leave them as they were.
    EXPECT_EQ(x[0], F("1"));
    EXPECT_EQ(x[2], F("4"));
}

TEST(Moment, AgreesWithExactArithmetic)
{
    int checked = 0;
    for (int digits : {15, 30, 50}) {
        DigitsScope d(digits);
        for (const ReferenceCase &c : ExactTable()) {
            if (c.function != "Moment")
                continue;
            std::string args = Arr(c.args[0]) + ", " + c.args[2] + ", " + c.args[3] + ", " + Weights(c.args[1]) +
                               ", false";
            ALGEB r = call(STATS_TalvoMoment_MP, args);
            double e = Error(r, c.value, digits);
            EXPECT_LT(e, 3.0) << args << " at " << digits << ": " << show(r) << " vs " << c.value;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 3 * 9 * 4 * 5);
}

TEST(Moment, ASingleOrderGivesAFloatAListGivesAList)
{
    std::string x = Arr("1, 2, 4");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 2, 0, " + kNone + ", false"), "7.");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", [2], 0, " + kNone + ", false"), "[7.]");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", [1, 2, 3], 0, " + kNone + ", false"), "[2.333333333, 7., 24.33333333]");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", [], 0, " + kNone + ", false"), "[]");
    // A single order is any integer: order 0 is 1, order -1 the mean of 1/x.
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 0, 0, " + kNone + ", false"), "1.");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", -1, 0, " + kNone + ", false"), "0.5833333333");
    // Central moments about the mean 7/3: the first is 0 to rounding.
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 2, 7/3, " + kNone + ", false"), "1.555555556");
}

TEST(Moment, MessagesForOrdersAndCounts)
{
    std::string x = Arr("1, 2, 4");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", [1, 0], 0, " + kNone + ", false"),
              "Error: expected: list of positive integers, received [1, 0]");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", [2, 1.5], 0, " + kNone + ", false"),
              "Error: expected: list of positive integers, received [2, 1.5]");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 1.5, 0, " + kNone + ", false"),
              "Error: expected: numeric constant or a list of numeric constants between 0 and 1, received 1.5");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 2..3, 0, " + kNone + ", false"),
              "Error: expected: numeric constant or a list of numeric constants between 0 and 1, received 2 .. 3");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 2, 0, " + kNone),
              "Error: TalvoMoment expects 5 arguments, received: Array(1..3, [1, 2, 4]), 2, 0, Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 2, y, " + kNone + ", false"),
              "Error: unable to evaluate y to floating-point");
}

TEST(Moment, MissingValuesAndWeights)
{
    std::string x = Arr("1, undefined, 4");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", [1, 2], 0, " + kNone + ", true"), "[2.5, 8.5]");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, x + ", 1, 0, " + kNone + ", false"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, Arr("1, 2, 4") + ", 1, 0, " + Arr("0, 0, 0") + ", false"),
              "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, kNone + ", [1, 2], 0, " + kNone + ", false"),
              "[Float(undefined), Float(undefined)]");
    EXPECT_EQ(result(STATS_TalvoMoment_MP, Arr("1, 2, 4") + ", 2, 1, " + Arr("1, 0, 2") + ", false"), "6.");
}

TEST(AbsoluteDeviation, AgreesWithExactArithmetic)
{
    int checked = 0;
    for (int digits : {15, 30, 50}) {
        DigitsScope d(digits);
        for (const ReferenceCase &c : ExactTable()) {
            if (c.function != "AbsoluteDeviation")
                continue;
            std::string args = Arr(c.args[0]) + ", " + c.args[2] + ", " + Weights(c.args[1]) + ", false";
            EXPECT_LT(Error(call(STATS_TalvoAbsoluteDeviation_MP, args), c.value, digits), 3.0) << args;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 3 * 9 * 4);
}

TEST(AbsoluteDeviation, MessagesMissingAndEmpty)
{
    EXPECT_EQ(result(STATS_TalvoAbsoluteDeviation_MP, Arr("1, 2") + ", 0, " + kNone),
              "Error: TalvoAbsoluteDeviation expects 4 arguments, received: Array(1..2, [1, 2]), 0, Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoAbsoluteDeviation_MP, Arr("1, undefined, 5") + ", 2, " + kNone + ", true"), "2.");
    EXPECT_EQ(result(STATS_TalvoAbsoluteDeviation_MP, Arr("1, undefined, 5") + ", 2, " + kNone + ", false"),
              "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoAbsoluteDeviation_MP, kNone + ", 2, " + kNone + ", false"), "Float(undefined)");
    EXPECT_EQ(result(STATS_TalvoAbsoluteDeviation_MP, Arr("1, 5") + ", 2, " + Arr("3, 1") + ", false"), "1.5");
}

TEST(ExpectedValue, SimpleAndWeighted)
{
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "x -> x^2, " + Arr("1, 2, 4") + ", " + kNone + ", false"), "7.");
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "x -> x^2, " + Arr("1, 2, 4") + ", " + Arr("3, 1, 1") + ", false"),
              "4.6");
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "x -> 2*x + 1, " + Arr("1, undefined, 4") + ", " + kNone + ", true"),
              "6.");
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "exp, " + Arr("0, 0") + ", " + kNone + ", false"), "1.");
    {
        DigitsScope d(40);
        // (sin 1 + sin 2) / 2
        EXPECT_LT(ErrorInLastDigits(TalvoFloat::from_handle(call(STATS_TalvoExpectedValue_MP,
                                                                 "sin, " + Arr("1, 2") + ", " + kNone + ", false")),
                                    "0.875384205816789101024261093771021921162409016", 40),
                  2.0);
    }
}

TEST(ExpectedValue, MessagesAndFailingProcedures)
{
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "x -> x, " + Arr("1") + ", " + kNone),
              "Error: TalvoExpectedValue expects 4 arguments, received: x -> x, Array(1..1, [1]), Array(1..0, [])");
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "3, " + Arr("1") + ", " + kNone + ", false"),
              "Error: TalvoExpectedValue expects a procedure as its first parameter, received: 3");
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "proc(x) error(\"bad %1\", x) end proc, " + Arr("1.5") + ", " + kNone + ", false"),
              "Error: bad 1.5");
    // An empty sample calls nothing and divides by zero.
    EXPECT_EQ(result(STATS_TalvoExpectedValue_MP, "proc(x) error(\"called\") end proc, " + kNone + ", " + kNone + ", false"),
              "Float(undefined)");
}
