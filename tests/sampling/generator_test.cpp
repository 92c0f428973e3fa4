// generator_test.cpp -- the generator hierarchy, the default generator's
// type codes and specification checks, and the generic sample entry.
#include "law_support.hpp"

#include "discrete_distributions.hpp"
#include "distributions.hpp"
#include "generator.hpp"
#include "sampling_distributions.hpp"
#include "variate_algorithms.hpp"

#include <vector>

using namespace stats::test;

namespace {

// A generator that keeps the base's bodies.
class BaseBodies : public STATS_RandomVariateGenerator_MP {
public:
    BaseBodies() : STATS_RandomVariateGenerator_MP(kv()) {}
    int initialize(TKernelVector k, ALGEB spec) override { return STATS_RandomVariateGenerator_MP::initialize(k, spec); }
    TalvoFloat next(TKernelVector k) override { return STATS_RandomVariateGenerator_MP::next(k); }
};

std::string InitializeError(const std::string &spec)
{
    return error_of([&] {
        STATS_DefaultGenerator_MP g(kv());
        g.initialize(kv(), eval(spec));
    });
}

int Initialize(STATS_DefaultGenerator_MP &g, const std::string &spec) { return g.initialize(kv(), eval(spec)); }

} // namespace

TEST(RandomVariateGenerator, TheBaseBodiesAnswerOneAndZero)
{
    BaseBodies g;
    EXPECT_EQ(g.initialize(kv(), eval("[1, 2]")), 1);
    EXPECT_EQ(show(g.next(kv()).handle()), "0.");
    // Deleted through the base, by the deleting destructor.
    std::unique_ptr<STATS_RandomVariateGenerator_MP> p(new STATS_DefaultGenerator_MP(kv()));
    EXPECT_EQ(p->initialize(kv(), eval("[24, [0, 1]]")), 1);
}

TEST(DefaultGenerator, EveryTypeCodeOfTheTable)
{
    using V = STATS_DefaultGenerator_MP::VariateFunction;
    const V expected[34] = {
        nullptr,
        STATS_BernoulliRandomVariate_MP,
        STATS_BetaRandomVariate_MP,
        STATS_BinomialRandomVariate_MP,
        STATS_CauchyRandomVariate_MP,
        STATS_ChiSquareRandomVariate_MP,
        STATS_DiscreteUniformRandomVariate_MP,
        nullptr,
        STATS_ErrorRandomVariate_MP,
        STATS_ExponentialRandomVariate_MP,
        STATS_FRatioRandomVariate_MP,
        STATS_GammaRandomVariate_MP,
        STATS_GeometricRandomVariate_MP,
        STATS_GumbelRandomVariate_MP,
        STATS_HypergeometricRandomVariate_MP,
        STATS_InverseGaussianRandomVariate_MP,
        STATS_LaplaceRandomVariate_MP,
        STATS_LogisticRandomVariate_MP,
        STATS_LogNormalRandomVariate_MP,
        STATS_MaxwellRandomVariate_MP,
        STATS_MoyalRandomVariate_MP,
        STATS_NegativeBinomialRandomVariate_MP,
        STATS_NonCentralBetaRandomVariate_MP,
        STATS_NonCentralStudentTRandomVariate_MP,
        STATS_NormalRandomVariate_MP,
        STATS_ParetoRandomVariate_MP,
        STATS_PoissonRandomVariate_MP,
        STATS_PowerRandomVariate_MP,
        STATS_RayleighRandomVariate_MP,
        STATS_StudentTRandomVariate_MP,
        STATS_TriangularRandomVariate_MP,
        STATS_UniformRandomVariate_MP,
        nullptr,
        STATS_WeibullRandomVariate_MP,
    };
    for (int code = 0; code <= 33; ++code) {
        EXPECT_EQ(STATS_DefaultGenerator_MP::FunctionOfType(code), expected[code]) << "code " << code;
        STATS_DefaultGenerator_MP g(kv());
        int ready = Initialize(g, "[" + std::to_string(code) + ", [1, 2, 3]]");
        EXPECT_EQ(ready, expected[code] != nullptr ? 1 : 0) << "code " << code;
    }
    for (int code : {34, 35, 100, -1, -24}) {
        STATS_DefaultGenerator_MP g(kv());
        EXPECT_EQ(Initialize(g, "[" + std::to_string(code) + ", [0, 1]]"), 0) << "code " << code;
    }
}

TEST(DefaultGenerator, DrawsAreThoseOfTheVariateFunction)
{
    STATS_DefaultGenerator_MP g(kv());
    ASSERT_EQ(Initialize(g, "[33, [2, 3.5]]"), 1); // Weibull (scale, shape)
    EXPECT_EQ(g.parameterCount(), 2);
    eval("randomize(17)");
    std::vector<std::string> ours;
    for (int i = 0; i < 5; ++i)
        ours.push_back(show(g.next(kv()).handle()));
    eval("randomize(17)");
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(ours[size_t(i)], show(STATS_WeibullRandomVariate_MP(kv(), F("2"), F("3.5")).handle()));
}

TEST(DefaultGenerator, FiveParameterSlotsWhateverTheCount)
{
    STATS_DefaultGenerator_MP g(kv());
    EXPECT_EQ(g.parameterCount(), 0);
    EXPECT_EQ(g.parameters(), nullptr);
    ASSERT_EQ(Initialize(g, "[31, [2, 7/2]]"), 1);
    EXPECT_EQ(show(g.parameters()[0].handle()), "2.");
    EXPECT_EQ(show(g.parameters()[1].handle()), "3.5");
    for (int i = 2; i < 5; ++i)
        EXPECT_EQ(show(g.parameters()[i].handle()), "0.");
    // No coefficients: all five are zero, and the uniform on [0, 0] gives 0.
    STATS_DefaultGenerator_MP z(kv());
    ASSERT_EQ(Initialize(z, "[31, []]"), 1);
    EXPECT_EQ(z.parameterCount(), 0);
    EXPECT_EQ(show(z.next(kv()).handle()), "0.");
    // A coefficient that does not evaluate to a float stays 0.
    STATS_DefaultGenerator_MP u(kv());
    ASSERT_EQ(Initialize(u, "[31, [x, sqrt(4)]]"), 1);
    EXPECT_EQ(show(u.parameters()[0].handle()), "0.");
    EXPECT_EQ(show(u.parameters()[1].handle()), "2.");
}

TEST(DefaultGenerator, SpecificationChecksInOrder)
{
    EXPECT_EQ(InitializeError("24"), "expected: list, received: 24");
    EXPECT_EQ(InitializeError("[24]"), "expected: list of size 2, received: [24]");
    EXPECT_EQ(InitializeError("[24, [0, 1], 3]"), "expected: list of size 2, received: [24, [0, 1], 3]");
    EXPECT_EQ(InitializeError("[1.0, [0.5]]"), "invalid random variate type, expected: integer, received: 1.");
    EXPECT_EQ(InitializeError("[x, 5]"), "invalid random variate type, expected: integer, received: x");
    EXPECT_EQ(InitializeError("[2^70, [1]]"),
              "invalid random variate type, expected: integer, received: 1180591620717411303424");
    EXPECT_EQ(InitializeError("[24, 5]"), "expected: list of coefficients, received: 5");
    EXPECT_EQ(InitializeError("[24, [1, 2, 3, 4, 5, 6]]"), "invalid number of parameters: [1, 2, 3, 4, 5, 6]");
    // The count is stored before it is tested.
    STATS_DefaultGenerator_MP g(kv());
    EXPECT_NE(error_of([&] { Initialize(g, "[24, [1, 2, 3, 4, 5, 6]]"); }), "");
    EXPECT_EQ(g.parameterCount(), 6);
    // An unknown code is no error here: initialize answers 0 (the coefficients
    // are not looked at).
    STATS_DefaultGenerator_MP h(kv());
    EXPECT_EQ(Initialize(h, "[7, [x]]"), 0);
}

TEST(DefaultGenerator, TheTypeCodeIsReadThroughTheNativeBooleanWidth)
{
    // An 8-byte integer is accepted; its low 32 bits are the code.
    STATS_DefaultGenerator_MP g(kv());
    ASSERT_EQ(Initialize(g, "[2^32 + 24, [5, 0.001]]"), 1);
    EXPECT_EQ(g.function(), STATS_DefaultGenerator_MP::FunctionOfType(24));
    STATS_DefaultGenerator_MP h(kv());
    EXPECT_EQ(Initialize(h, "[2^32 + 7, [1]]"), 0);
    STATS_DefaultGenerator_MP k(kv());
    EXPECT_EQ(Initialize(k, "[2^63 - 1, [1]]"), 0); // low bits -1
}

// ---------------------------------------------------------------------------
// The entry
// ---------------------------------------------------------------------------

TEST(RandomSample, FillsTheOutputFromTheFirstGenerator)
{
    eval("A := Array(1..6, datatype = sfloat)");
    eval("randomize(3)");
    ALGEB r = call(STATS_TalvoRandomSample_MP, "A, 'NULL', [[0, [24, [10, 2]]]], true");
    EXPECT_EQ(r, eval("A"));
    std::string drawn = show(r);
    eval("randomize(3)");
    EXPECT_EQ(show(call(STATS_TalvoNormalRandomSample_MP, "6, 10, 2")), drawn);
}

TEST(RandomSample, WithANullProcedureOnlyTheFirstGeneratorIsDrawnFrom)
{
    eval("A := Array(1..5, datatype = sfloat)");
    eval("B := Array(1..5, datatype = sfloat)");
    eval("randomize(4)");
    call(STATS_TalvoRandomSample_MP, "A, 'NULL', [[0, [31, [0, 1]]], [0, [24, [100, 1]]], [0, [9, [1]]]], false");
    eval("randomize(4)");
    call(STATS_TalvoRandomSample_MP, "B, 'NULL', [[0, [31, [0, 1]]]], false");
    EXPECT_EQ(show(eval("A")), show(eval("B")));
    EXPECT_EQ(show(eval("evalb(max(seq(A[i], i = 1..5)) < 1)")), "true");
    // The host's NULL itself (the empty sequence), as a host that keeps it in
    // an argument list passes it.
    ALGEB args = eval("Array(1..3, datatype = sfloat), 0, [[0, [31, [5, 6]]], [0, [7, []]]], true");
    ALGEB seq = NewTalvoExpressionSequence(kv(), 4);
    TalvoExpseqAssign(kv(), seq, 1, TalvoExpseqSelect(kv(), args, 1));
    TalvoExpseqAssign(kv(), seq, 2, ToTalvoNULL(kv()));
    TalvoExpseqAssign(kv(), seq, 3, TalvoExpseqSelect(kv(), args, 3));
    TalvoExpseqAssign(kv(), seq, 4, TalvoExpseqSelect(kv(), args, 4));
    // The second generator's code 7 fails although it is never drawn from.
    EXPECT_EQ(error_of([&] { STATS_TalvoRandomSample_MP(kv(), seq); }),
              "unable to initialize random variate generator with parameters [0, [7, []]]");
    TalvoListAssign(kv(), TalvoExpseqSelect(kv(), seq, 3), 2, eval("[0, [31, [7, 8]]]"));
    ALGEB a = STATS_TalvoRandomSample_MP(kv(), seq);
    auto x = FloatArrayValues(a);
    for (double v : x)
        EXPECT_TRUE(v >= 5 && v < 6) << v;
}

TEST(RandomSample, AProcedureCombinesOneDrawOfEachGenerator)
{
    eval("A := Array(1..4, datatype = sfloat)");
    eval("randomize(8)");
    call(STATS_TalvoRandomSample_MP, "A, (x, y) -> x + 1000*y, [[0, [31, [0, 1]]], [0, [31, [2, 3]]]], true");
    // Draws alternate between the generators, in list order.
    eval("randomize(8)");
    ALGEB u = call(STATS_TalvoUniformRandomSample_MP, "8, 0, 1");
    auto *d = static_cast<TalvoFloat *>(RTableDataBlock(kv(), u));
    auto *a = static_cast<TalvoFloat *>(RTableDataBlock(kv(), eval("A")));
    for (int j = 0; j < 4; ++j) {
        TalvoFloat x = d[2 * j];
        TalvoFloat y = d[2 * j + 1] * TalvoFloat(1.0) + TalvoFloat(2.0);
        EXPECT_EQ(show(a[j].handle()), show((x + y * TalvoFloat(1000.0)).handle())) << j;
    }
    // The flag travels with the call and changes nothing.
    eval("B := Array(1..4, datatype = sfloat)");
    eval("randomize(8)");
    call(STATS_TalvoRandomSample_MP, "B, (x, y) -> x + 1000*y, [[0, [31, [0, 1]]], [0, [31, [2, 3]]]], false");
    EXPECT_EQ(show(eval("A")), show(eval("B")));
    // A symbolic value goes through evalf; a non-number is refused.
    eval("C := Array(1..2, datatype = sfloat)");
    call(STATS_TalvoRandomSample_MP, "C, x -> Pi + 0*x, [[0, [31, [0, 1]]]], true");
    EXPECT_EQ(show(eval("C")), "Array(1..2, [3.141592654, 3.141592654], datatype = sfloat)");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "C, x -> y, [[0, [31, [0, 1]]]], true"),
              "Error: unable to evaluate y to floating-point");
}

TEST(RandomSample, AnEmptyListReturnsTheOutputUnchecked)
{
    ReplayStream s;
    eval("S := Array(1..3, storage = sparse)");
    ALGEB sparse = eval("S");
    EXPECT_EQ(call(STATS_TalvoRandomSample_MP, "S, 'NULL', [], true"), sparse);
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = int8), 5, [], 7"),
              "Array(1..2, [0, 0], datatype = int8)");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "42, x, [], y"), "42");
}

TEST(RandomSample, ArgumentMessages)
{
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = sfloat), 'NULL', []"),
              "Error: expected 4 arguments, received: Array(1..2, [0., 0.], datatype = sfloat), NULL, []");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = sfloat), 'NULL', [0, [24, [0, 1]]], true, 5"),
              "Error: expected 4 arguments, received: Array(1..2, [0., 0.], datatype = sfloat), NULL, [0, [24, [0, 1]]], "
              "true, 5");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = sfloat), 'NULL', 3, true"),
              "Error: expected: talvo list, received: 3");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, storage = sparse), 'NULL', [[0, [24, [0, 1]]]], true"),
              "Error: output rtable has invalid storage type sparse");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = float64), 'NULL', [[0, [24, [0, 1]]]], true"),
              "Error: output rtable has invalid data type float64");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2), 'NULL', [[0, [24, [0, 1]]]], true"),
              "Error: output rtable has invalid data type anything");
    // Storage is looked at first.
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP,
                     "Array(1..2, datatype = int32, storage = sparse), 'NULL', [[0, [24, [0, 1]]]], true"),
              "Error: output rtable has invalid storage type sparse");
    for (const char *code : {"7", "32", "0", "34"}) {
        std::string spec = std::string("[0, [") + code + ", [0, 1]]]";
        EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = sfloat), 'NULL', [" + spec + "], true"),
                  "Error: unable to initialize random variate generator with parameters " + spec);
    }
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = sfloat), 'NULL', [[0, [1.0, [0.5]]]], true"),
              "Error: invalid random variate type, expected: integer, received: 1.");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP,
                     "Array(1..2, datatype = sfloat), 'NULL', [[0, [24, [1, 2, 3, 4, 5, 6]]]], true"),
              "Error: invalid number of parameters: [1, 2, 3, 4, 5, 6]");
    // The procedure is looked at after the generators are built.
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = sfloat), 5, [[0, [24, [0, 1]]]], true"),
              "Error: expected: talvo procedure, received: 5");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..2, datatype = sfloat), 5, [[0, [7, [0, 1]]]], true"),
              "Error: unable to initialize random variate generator with parameters [0, [7, [0, 1]]]");
}

TEST(RandomSample, AnEmptyOutputStillBuildsEveryGenerator)
{
    ReplayStream s; // nothing is drawn
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP,
                     "Array(1..0, datatype = sfloat), 'NULL', [[0, [24, [0, 1]]], [0, [32, []]]], true"),
              "Error: unable to initialize random variate generator with parameters [0, [32, []]]");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP,
                     "Array(1..0, datatype = sfloat), 'NULL', [[0, [24, [0, 1]]], [0, [24, 3]]], true"),
              "Error: expected: list of coefficients, received: 3");
    EXPECT_EQ(result(STATS_TalvoRandomSample_MP, "Array(1..0, datatype = sfloat), 'NULL', [[0, [24, [0, 1]]]], true"),
              "Array(1..0, [], datatype = sfloat)");
}

TEST(RandomSample, TwoDimensionalOutputIsFilledInStorageOrder)
{
    eval("M := Array(1..2, 1..3, datatype = sfloat)");
    eval("randomize(9)");
    call(STATS_TalvoRandomSample_MP, "M, 'NULL', [[0, [31, [0, 1]]]], true");
    eval("randomize(9)");
    ALGEB u = call(STATS_TalvoUniformRandomSample_MP, "6, 0, 1");
    auto *d = static_cast<TalvoFloat *>(RTableDataBlock(kv(), u));
    EXPECT_EQ(show(eval("M[2, 1]")), show(d[1].handle()));
    EXPECT_EQ(show(eval("M[1, 2]")), show(d[2].handle()));
}

// The generic sample follows the law of its variate function: a gamma(3)
// through code 11, tested with Kolmogorov-Smirnov.
void GammaThroughTheGenericSample(int seed)
{
    int n = Draws(20000);
    eval("G := Array(1.." + std::to_string(n) + ", datatype = sfloat)");
    eval("randomize(" + std::to_string(seed) + ")");
    call(STATS_TalvoRandomSample_MP, "G, 'NULL', [[0, [11, [1, 3]]]], true");
    // The gamma method draws from the ziggurat normal, whose small departure
    // from the normal law (ziggurat.hpp) is far below this sample's reach.
    ExpectLaw("generic sample, code 11 gamma(3)", FloatArrayValues(eval("G")), Gamma3Cdf);
}

TEST(RandomSampleLaw, Gamma)
{
    DigitsScope d(15);
    GammaThroughTheGenericSample(41);
}

TEST(RandomSampleLaw, GammaAt50Digits)
{
    DigitsScope d(50);
    GammaThroughTheGenericSample(42);
}
