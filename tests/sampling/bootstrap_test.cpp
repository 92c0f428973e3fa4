// bootstrap_test.cpp -- the three bootstrap entries: argument messages,
// output arrays, the index draws and their stream consumption, and the
// means and variances of resampled statistics against theory.
#include "law_support.hpp"

#include <cstdint>
#include <set>
#include <vector>

using namespace stats::test;

namespace {

// A 32-bit integer whose top bits are j, for a shift.
int32_t Top(uint32_t j, int shift) { return static_cast<int32_t>(j << shift); }

std::string R(const std::string &args) { return result(STATS_TalvoBootstrapSample_MP, args); }
std::string RS(const std::string &args) { return result(STATS_TalvoBootstrapStatistic_MP, args); }
std::string RV(const std::string &args) { return result(STATS_TalvoBootstrapStatisticRV_MP, args); }

struct Moments {
    double mean, variance;
};

Moments Of(const std::vector<double> &x)
{
    double m = 0, v = 0;
    for (double a : x)
        m += a;
    m /= double(x.size());
    for (double a : x)
        v += (a - m) * (a - m);
    return {m, v / double(x.size() - 1)};
}

// Replicates of a mean of m draws from a law of the given mean and variance:
// their mean within 4.5 standard errors, their variance within 4.5 standard
// errors of sigma^2 / m (the variance of a sample variance of R normal-like
// values is about 2 sigma^4 / R).
void ExpectMeanReplicates(const std::string &what, const std::vector<double> &replicates, double mu, double sigma2,
                          double m)
{
    Moments r = Of(replicates);
    double n = double(replicates.size());
    double target = sigma2 / m;
    std::printf("  [moments] %-36s Digits %3d  R = %5.0f  mean %.6f (theory %.6f)  variance %.6g (theory %.6g)\n",
                what.c_str(), TalvoDigits(), n, r.mean, mu, r.variance, target);
    EXPECT_LT(std::fabs(r.mean - mu), 4.5 * std::sqrt(target / n)) << what;
    EXPECT_LT(std::fabs(r.variance / target - 1), 4.5 * std::sqrt(2 / (n - 1))) << what;
}

} // namespace

// ---------------------------------------------------------------------------
// BootstrapSample
// ---------------------------------------------------------------------------

TEST(BootstrapSample, ArgumentMessages)
{
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 2, 2"), "Error: expected 4 arguments, received: Array(1..3, [1, 2, 3]), 2, 2");
    EXPECT_EQ(R("[1, 2, 3], 2, 2, Array(1..0)"), "Error: expected: one-dimensional array, received [1, 2, 3]");
    EXPECT_EQ(R("Array(1..2, 1..2), 2, 2, [1]"),
              "Error: expected: one-dimensional array, received Array(1..2, 1..2, [[0, 0], [0, 0]])");
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 2, 2, [1]"), "Error: expected: one-dimensional array, received [1]");
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 2, 2, Array(1..1, 1..3)"),
              "Error: expected: one-dimensional array, received Array(1..1, 1..3, [[0, 0, 0]])");
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 2.5, 2, Array(1..0)"),
              "Error: integer conversion: expecting an integer in the range of the native type, got 2.5");
    // The counts are read before the storage is looked at.
    EXPECT_EQ(R("Array(1..3, [1, 2, 3], storage = sparse), 2, x, Array(1..0)"),
              "Error: integer conversion: expecting an integer in the range of the native type, got x");
    EXPECT_EQ(R("Array(1..3, [1, 2, 3], storage = sparse), 2, 2, Array(1..0)"),
              "Error: input array must have rectangular storage type");
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 2, 2, Array(1..2, [1, 1])"),
              "Error: data array and weights array must have the same number of elements");
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 2, 2, Array(1..3, [0, 0, 0])"),
              "Error: unable to build an alias urn from weights adding up to 0.");
    EXPECT_EQ(R("Array(1..0), 2, 2, Array(1..0)"),
              "Error: cannot draw a bootstrap sample of 4 elements from an empty array");
}

TEST(BootstrapSample, EmptyShapesDrawNothing)
{
    ReplayStream s;
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 0, 3, Array(1..0)"), "Array(1..0, 1..3, [])");
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), 4, 0, Array(1..0)"), "Array(1..4, 1..0, [[], [], [], []])");
    EXPECT_EQ(R("Array(1..0), 0, 3, Array(1..0)"), "Array(1..0, 1..3, [])");
    // Two negative counts make a positive product but no element.
    EXPECT_EQ(R("Array(1..3, [1, 2, 3]), -2, -3, Array(1..0)"), "Array(1..-2, 1..-3, [])");
    EXPECT_EQ(s.ints_taken(), 0);
}

TEST(BootstrapSample, TheDataSettingsInTwoDimensions)
{
    eval("randomize(12)");
    struct Case {
        const char *data, *type;
    } cases[] = {
        {"Array(1..4, [1, 2, 3, 4], datatype = int8)", "int8"},
        {"Array(1..4, [1, 2, 3, 4], datatype = int16)", "int16"},
        {"Array(1..4, [1, 2, 3, 4], datatype = int32)", "int32"},
        {"Array(1..4, [1, 2, 3, 4], datatype = int64)", "int64"},
        {"Array(1..4, [1, 2, 3, 4], datatype = float32)", "float32"},
        {"Array(1..4, [1, 2, 3, 4], datatype = float64)", "float64"},
        {"Array(1..4, [1, 2, 3, 4], datatype = sfloat)", "sfloat"},
        {"Array(1..4, [1, 2, 3, 4], datatype = complex128)", "complex128"},
        {"Array(1..4, [1, 2, 3, 4], datatype = complex)", "complex"},
        {"Array(1..4, [1, 2, 3, 4])", nullptr},
    };
    for (const Case &c : cases) {
        ALGEB a = call(STATS_TalvoBootstrapSample_MP, std::string(c.data) + ", 3, 5, Array(1..0)");
        RTableSettings s;
        RTableGetSettings(kv(), &s, a);
        EXPECT_EQ(RTableNumDimensions(kv(), a), 2) << c.data;
        EXPECT_EQ(RTableUpperBound(kv(), a, 1), 3) << c.data;
        EXPECT_EQ(RTableUpperBound(kv(), a, 2), 5) << c.data;
        EXPECT_EQ(s.storage, RTABLE_RECT);
        std::string printed = show(a);
        if (c.type != nullptr)
            EXPECT_NE(printed.find(std::string("datatype = ") + c.type), std::string::npos) << printed;
        else
            EXPECT_EQ(printed.find("datatype"), std::string::npos) << printed;
        // Every element is one of the data's, whole.
        eval(std::string("Dd := ") + c.data);
        std::set<std::string> elements;
        for (int k = 1; k <= 4; ++k)
            elements.insert(show(eval("Dd[" + std::to_string(k) + "]")));
        eval("B := " + printed);
        for (int i = 1; i <= 3; ++i)
            for (int j = 1; j <= 5; ++j) {
                std::string v = show(eval("B[" + std::to_string(i) + ", " + std::to_string(j) + "]"));
                EXPECT_EQ(elements.count(v), 1u) << c.data << " " << v;
            }
    }
}

TEST(BootstrapSample, UniformIndicesKeepTheTopBitsOfEachInteger)
{
    // Ten elements: 2^31 - 1 needs 28 shifts to reach 9 or less, so an
    // index is the top 4 bits of a draw, drawn again above 9.
    eval("D := Array(1..10, [seq(10*i, i = 1..10)], datatype = int32)");
    ReplayStream s;
    s.ints({Top(15, 28), Top(9, 28), Top(0, 28) | 0x0fffffff, Top(10, 28), Top(4, 28), Top(2, 28)});
    EXPECT_EQ(R("D, 2, 2, Array(1..0)"), "Array(1..2, 1..2, [[100, 50], [10, 30]], datatype = int32)");
    EXPECT_TRUE(s.exhausted());
    // One element: the top bit, drawn again while set.
    s.ints({-1, -7, 3});
    EXPECT_EQ(R("Array(1..1, [5.5]), 1, 1, Array(1..0)"), "Array(1..1, 1..1, [[5.5]])");
    EXPECT_EQ(s.ints_taken(), 6 + 3);
    EXPECT_EQ(s.uniforms_taken(), 0);
}

TEST(BootstrapSample, WeightsDrawThroughTheUrn)
{
    ReplayStream s;
    // The urn of four cells keeps 3 bits (shift 29); cell 2 holds all the
    // weight, so every cell's alias is 2.
    s.ints({Top(0, 29), Top(2, 29), Top(7, 29), Top(3, 29)}).uniforms({"0.5", "0.5", "0.5"});
    EXPECT_EQ(R("Array(1..4, [a, b, c, d]), 1, 3, Array(1..4, [0, 0, 1, 0])"), "Array(1..1, 1..3, [[c, c, c]])");
    EXPECT_TRUE(s.exhausted());
}

void BootstrapSampleFrequencies(int seed)
{
    eval("randomize(" + std::to_string(seed) + ")");
    int n = Draws(30000);
    // Unweighted: each of 7 elements equally often.
    ALGEB a = call(STATS_TalvoBootstrapSample_MP,
                   "Array(1..7, [0, 1, 2, 3, 4, 5, 6], datatype = int32), 1, " + std::to_string(n) + ", Array(1..0)");
    auto *d = static_cast<int32_t *>(RTableDataBlock(kv(), a));
    std::vector<double> counts(7, 0);
    for (int k = 0; k < n; ++k)
        counts[size_t(d[k])] += 1;
    ExpectCells("bootstrap sample, uniform over 7", counts, std::vector<double>(7, 1.0 / 7));
    // Weighted 1..5.
    ALGEB b = call(STATS_TalvoBootstrapSample_MP, "Array(1..5, [0, 1, 2, 3, 4], datatype = int8), " +
                                                      std::to_string(n) + ", 1, Array(1..5, [1, 2, 3, 4, 5])");
    auto *e = static_cast<int8_t *>(RTableDataBlock(kv(), b));
    std::vector<double> wcounts(5, 0);
    for (int k = 0; k < n; ++k)
        wcounts[size_t(e[k])] += 1;
    ExpectCells("bootstrap sample, weights 1..5", wcounts, {1 / 15.0, 2 / 15.0, 3 / 15.0, 4 / 15.0, 5 / 15.0});
}

TEST(BootstrapSampleLaw, Frequencies)
{
    DigitsScope d(15);
    BootstrapSampleFrequencies(201);
}

TEST(BootstrapSampleLaw, FrequenciesAt50Digits)
{
    DigitsScope d(50);
    BootstrapSampleFrequencies(202);
}

// ---------------------------------------------------------------------------
// BootstrapStatistic
// ---------------------------------------------------------------------------

TEST(BootstrapStatistic, ArgumentMessages)
{
    eval("D := Array(1..4, [1., 2, 3, 4]): M := X -> add(X[i], i = 1..4)/4");
    EXPECT_EQ(RS("D, Array(1..0), M, 4"), "Error: expected 5 arguments, received: Array(1..4, [1., 2, 3, 4]), "
                                          "Array(1..0, []), X -> add(X[i], i = 1 .. 4)/4, 4");
    EXPECT_EQ(RS("[1, 2], Array(1..0), M, 4, 5"), "Error: invalid data sample, expected: rtable, received [1, 2]");
    EXPECT_EQ(RS("D, Array(1..2, [1, 2]), M, 4, 5"),
              "Error: vector of points and vector of weights are expected to have the same size, received Array(1..4, "
              "[1., 2, 3, 4]), Array(1..2, [1, 2])");
    EXPECT_EQ(RS("D, Array(1..0), M, 4.5, 5"),
              "Error: integer conversion: expecting an integer in the range of the native type, got 4.5");
    EXPECT_EQ(RS("D, Array(1..0), M, 5, 3"), "Error: the resample size 5 exceeds the number of data points 4");
    EXPECT_EQ(RS("D, Array(1..4, [0, 0, 0, 0]), M, 4, 3"),
              "Error: unable to build an alias urn from weights adding up to 0.");
    // The procedure's own errors reach the caller.
    EXPECT_EQ(RS("D, Array(1..0), proc(X) error \"no statistic of %1\", nops([X]) end proc, 4, 3"),
              "Error: no statistic of 1");
}

TEST(BootstrapStatistic, NoReplicationsNoDraws)
{
    eval("D := Array(1..4, [1., 2, 3, 4]): calls := 0: M := proc(X) global calls; calls := calls + 1; X[1] end proc");
    ReplayStream s;
    EXPECT_EQ(RS("D, Array(1..0), M, 4, 0"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(RS("D, Array(1..0), M, 4, -3"), "Array(1..-3, [], datatype = sfloat)");
    EXPECT_EQ(show(eval("calls")), "0");
    EXPECT_EQ(s.ints_taken(), 0);
}

TEST(BootstrapStatistic, IndicesRunOverTheResampleSize)
{
    eval("D := Array(1..4, [10, 20, 30, 40]): Pair := X -> [X[1], X[2]]: Sum := X -> X[1] + X[2]");
    // m = 2: one shift short of 2^31 - 1 reaching 1, so two bits are kept
    // and only the first two points can be drawn.
    ReplayStream s;
    s.ints({Top(3, 30), Top(1, 30), Top(2, 30), Top(0, 30), Top(1, 30), Top(1, 30)});
    EXPECT_EQ(RS("D, Array(1..0), Sum, 2, 2"), "Array(1..2, [30., 40.], datatype = sfloat)");
    EXPECT_TRUE(s.exhausted());
    // A statistic whose value is no number gives 0.
    s.ints({0, 0});
    EXPECT_EQ(RS("D, Array(1..0), Pair, 2, 1"), "Array(1..1, [0.], datatype = sfloat)");
    s.ints({0, 0});
    EXPECT_EQ(RS("D, Array(1..0), X -> y, 2, 1"), "Array(1..1, [0.], datatype = sfloat)");
    // An exact value is made a float.
    s.ints({0, Top(1, 30)});
    EXPECT_EQ(RS("D, Array(1..0), X -> 3/8, 2, 1"), "Array(1..1, [0.375], datatype = sfloat)");
    // Weighted: the urn over all the data, m draws.
    s.ints({Top(3, 29), Top(0, 29), Top(1, 29)}).uniforms({"0.1", "0.1", "0.1"});
    EXPECT_EQ(RS("D, Array(1..4, [1, 1, 1, 1]), X -> X[1] + X[2] + X[3], 3, 1"),
              "Array(1..1, [70.], datatype = sfloat)");
    EXPECT_TRUE(s.exhausted());
}

namespace {

const double kData[] = {2.5, 3.1, 0.7, 4.4, 5.0, 1.9, 2.2, 3.8, 4.1, 0.3, 2.9, 3.3, 1.1, 4.7, 2.0, 3.6};
const double kWeights[] = {1, 2, 1, 3, 1, 2, 1, 1, 4, 1, 2, 1, 1, 3, 1, 2};
constexpr int kDataSize = 16;

std::string DataArray(const double *v)
{
    std::string s = "Array(1..16, [";
    for (int i = 0; i < kDataSize; ++i) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%s%g", i ? ", " : "", v[i]);
        s += buf;
    }
    return s + "], datatype = sfloat)";
}

void StatisticMoments(int seed)
{
    eval("D := " + DataArray(kData) + ": W := " + DataArray(kWeights));
    eval("Mean := X -> add(X[i], i = 1..16)/16");
    int replications = Draws(3000);
    eval("randomize(" + std::to_string(seed) + ")");
    auto r = FloatArrayValues(
        call(STATS_TalvoBootstrapStatistic_MP, "D, Array(1..0), Mean, 16, " + std::to_string(replications)));
    double mu = 0, s2 = 0;
    for (double x : kData)
        mu += x / kDataSize;
    for (double x : kData)
        s2 += (x - mu) * (x - mu) / kDataSize;
    ExpectMeanReplicates("bootstrap mean, uniform", r, mu, s2, kDataSize);

    auto w = FloatArrayValues(call(STATS_TalvoBootstrapStatistic_MP, "D, W, Mean, 16, " + std::to_string(replications)));
    double total = 0, wmu = 0, ws2 = 0;
    for (double x : kWeights)
        total += x;
    for (int i = 0; i < kDataSize; ++i)
        wmu += kWeights[i] / total * kData[i];
    for (int i = 0; i < kDataSize; ++i)
        ws2 += kWeights[i] / total * (kData[i] - wmu) * (kData[i] - wmu);
    ExpectMeanReplicates("bootstrap mean, weighted", w, wmu, ws2, kDataSize);
}

} // namespace

TEST(BootstrapStatisticLaw, MeansAndVariances)
{
    DigitsScope d(15);
    StatisticMoments(211);
}

TEST(BootstrapStatisticLaw, MeansAndVariancesAt50Digits)
{
    DigitsScope d(50);
    StatisticMoments(212);
}

// ---------------------------------------------------------------------------
// BootstrapStatisticRV
// ---------------------------------------------------------------------------

TEST(BootstrapStatisticRV, ArgumentsAndValues)
{
    eval("Sampler := n -> [seq(n, i = 1..n)]: Total := L -> add(L[i], i = 1..nops(L))");
    EXPECT_EQ(RV("Sampler, Total, 3"), "Error: expected 4 arguments, received: n -> [seq(n, i = 1 .. n)], L -> add(L[i], "
                                       "i = 1 .. nops(L)), 3");
    // The sampler receives the third argument as it is; the statistic the
    // sampler's value.
    EXPECT_EQ(RV("Sampler, Total, 3, 2"), "Array(1..2, [9., 9.], datatype = sfloat)");
    EXPECT_EQ(RV("Sampler, Total, 3, 0"), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(RV("Sampler, L -> z, 3, 2"), "Array(1..2, [0., 0.], datatype = sfloat)");
    // The third argument is also the length of a vector made and not used.
    EXPECT_EQ(RV("x -> [1], Total, 2.5, 2"),
              "Error: integer conversion: expecting an integer in the range of the native type, got 2.5");
    EXPECT_EQ(RV("proc(n) error \"cannot sample %1\", n end proc, Total, 3, 2"), "Error: cannot sample 3");
}

void RVMoments(int seed)
{
    eval("Uniforms := n -> [seq(rand(), i = 1..n)]: Average := L -> add(L[i], i = 1..nops(L))/nops(L)");
    int replications = Draws(3000);
    eval("randomize(" + std::to_string(seed) + ")");
    auto r = FloatArrayValues(
        call(STATS_TalvoBootstrapStatisticRV_MP, "Uniforms, Average, 10, " + std::to_string(replications)));
    ExpectMeanReplicates("statistic of regenerated samples", r, 0.5, 1.0 / 12, 10);
}

TEST(BootstrapStatisticRVLaw, MeansAndVariances)
{
    DigitsScope d(15);
    RVMoments(221);
}

TEST(BootstrapStatisticRVLaw, MeansAndVariancesAt50Digits)
{
    DigitsScope d(50);
    RVMoments(222);
}
