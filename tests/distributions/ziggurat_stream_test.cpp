// ziggurat_stream_test.cpp -- the ziggurat generators' tables and their exact
// use of the random stream, branch by branch, with a generator that replays
// given integers and uniforms.
#include "stats_support.hpp"

#include "ziggurat.hpp"

#include <cmath>
#include <cstdint>

using namespace stats::test;
using Normal = STATS_ZigguratNormalGenerator_MP;
using Exp = STATS_ZigguratExpGenerator_MP;

namespace {

// hz * w, hz exact, rounded once at the current precision.
TalvoFloat Scaled(const TalvoFloat &w, int32_t hz)
{
    ALGEB r = talvo_float_new(0);
    mpfr_mul_si(talvo_float_mpfr(r), w.mpfr(), hz, MPFR_RNDN);
    return TalvoFloat::from_handle(r);
}

// An integer whose low byte is `layer` and whose magnitude is near 2^31:
// beyond every layer's integer threshold.
constexpr int32_t Outer(int layer) { return int32_t(0x7FFFFF00) + layer; }
constexpr int32_t OuterNegative(int layer) { return INT32_MIN + 256 + layer; }
// An integer of that layer well inside every threshold.
constexpr int32_t Inner(int layer) { return 1000 * 256 + layer; }

struct Draw {
    TalvoFloat value;
    int ints, uniforms;
};

template <class G>
Draw Next(std::initializer_list<int32_t> ints, std::initializer_list<const char *> uniforms)
{
    G::Reset();
    ReplayStream s;
    s.ints(ints).uniforms(uniforms);
    TalvoFloat v = G::Next();
    EXPECT_TRUE(s.exhausted()) << "not every given number was used";
    return {v, s.ints_taken(), s.uniforms_taken()};
}

bool Same(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_equal_p(a.mpfr(), b.mpfr()) != 0; }

} // namespace

// ---------------------------------------------------------------------------
// Tables
// ---------------------------------------------------------------------------

TEST(ZigguratTables, RebuiltOnlyWhenDigitsRises)
{
    for (int g = 0; g < 2; ++g) {
        int &digits = g == 0 ? Normal::gDigits : Exp::gDigits;
        TalvoFloat *w = g == 0 ? Normal::gW : Exp::gW;
        auto reset = g == 0 ? Normal::Reset : Exp::Reset;
        int saved = digits;
        digits = 0;
        {
            DigitsScope d(10);
            reset();
            EXPECT_EQ(digits, 10);
            EXPECT_EQ(mpfr_get_prec(w[5].mpfr()), talvo_float_precision_bits(10));
        }
        {
            DigitsScope d(20);
            reset();
            EXPECT_EQ(digits, 20);
            EXPECT_EQ(mpfr_get_prec(w[5].mpfr()), talvo_float_precision_bits(20));
        }
        {
            DigitsScope d(10);
            reset();
            EXPECT_EQ(digits, 20); // the finer tables stay
            EXPECT_EQ(mpfr_get_prec(w[5].mpfr()), talvo_float_precision_bits(20));
        }
        digits = std::max(saved, digits);
    }
}

// The same recurrence in double precision: the tables hold the layers of
// the rounded constants.
TEST(ZigguratTables, LayersOfTheRoundedConstants)
{
    struct Case {
        double r, v;
        double (*f)(double);
        double (*finv)(double);
        int *k;
        TalvoFloat *w, *fv;
        void (*reset)();
        bool floor0;
    } cases[] = {
        {3.65415288, 0.00492868, [](double x) { return std::exp(-0.5 * x * x); },
         [](double y) { return std::sqrt(-2 * std::log(y)); }, Normal::gK, Normal::gW, Normal::gF, Normal::Reset, true},
        {7.69711747, 0.003949659823, [](double x) { return std::exp(-x); }, [](double y) { return -std::log(y); },
         Exp::gK, Exp::gW, Exp::gF, Exp::Reset, false},
    };
    const double m = 2147483648.0;
    // Tables built at 30 digits, so that their rounding stays far below the
    // double recurrence's.
    DigitsScope digits(30);
    Normal::gDigits = Exp::gDigits = 0;
    for (const Case &c : cases) {
        c.reset();
        double q = c.v / c.f(c.r);
        EXPECT_NEAR(c.w[0].to_double() * m, q, 1e-9);
        EXPECT_NEAR(c.w[255].to_double() * m, c.r, 1e-9);
        EXPECT_NEAR(double(c.k[0]), (c.r / q) * m, 2.0);
        EXPECT_EQ(c.k[1], 0);
        double d = c.r, t = c.r;
        for (int i = 254; i >= 1; --i) {
            d = c.finv(c.v / d + c.f(d));
            EXPECT_NEAR(c.w[i].to_double() * m, d, 1e-9 * d) << i;
            EXPECT_NEAR(c.fv[i].to_double(), c.f(d), 1e-9) << i;
            EXPECT_NEAR(double(c.k[i + 1]), (d / t) * m, 2.0 + 1e-8 * m) << i;
            t = d;
        }
        // The top of layer 1 is computed, and with the rounded constants it is
        // not exactly 1.
        double x1 = c.w[1].to_double() * m;
        EXPECT_NEAR(c.fv[0].to_double(), c.f(x1) + c.v / x1, 1e-12);
        EXPECT_GT(c.fv[0].to_double(), 1.0);
        TalvoFloat top = c.fv[0];
        EXPECT_FALSE(top == TalvoFloat(1.0));
    }
    // The normal floors its base threshold, the exponential truncates.
    double qn = 0.00492868 / std::exp(-0.5 * 3.65415288 * 3.65415288);
    EXPECT_EQ(Normal::gK[0], int(std::floor(3.65415288 / qn * m)));
}

// ---------------------------------------------------------------------------
// Normal
// ---------------------------------------------------------------------------

TEST(ZigguratNormal, TheIntegerTestAcceptsWithOneInteger)
{
    Draw d = Next<Normal>({Inner(9)}, {});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[9], Inner(9))));
    EXPECT_EQ(d.ints, 1);
    EXPECT_EQ(d.uniforms, 0);
    int32_t negative = -Inner(9); // low byte 247
    d = Next<Normal>({negative}, {});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[negative & 255], negative)));
    EXPECT_TRUE(d.value < TalvoFloat(0.0));
}

TEST(ZigguratNormal, AWedgeAcceptsWithOneUniform)
{
    Draw d = Next<Normal>({Outer(9)}, {"0"});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[9], Outer(9))));
    EXPECT_EQ(d.ints, 1);
    EXPECT_EQ(d.uniforms, 1);
    d = Next<Normal>({OuterNegative(9)}, {"0"});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[9], OuterNegative(9))));
}

TEST(ZigguratNormal, AWedgeRejectsAndStartsAgain)
{
    Draw d = Next<Normal>({Outer(9), Inner(40)}, {"0.9999999"});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[40], Inner(40))));
    EXPECT_EQ(d.ints, 2);
    EXPECT_EQ(d.uniforms, 1);
}

TEST(ZigguratNormal, LayerOneReturnsTheLatestWedgeUniform)
{
    // No wedge ran in this call: the default float, 0.
    Draw d = Next<Normal>({1}, {"0", "0"});
    EXPECT_EQ(show(d.value.handle()), "0.");
    EXPECT_EQ(d.ints, 1);
    EXPECT_EQ(d.uniforms, 2);
    // After a rejected wedge: its uniform, not an abscissa.
    d = Next<Normal>({Outer(9), 1}, {"0.9999999", "0", "0.5"});
    EXPECT_EQ(show(d.value.handle()), "0.9999999");
    EXPECT_EQ(d.ints, 2);
    EXPECT_EQ(d.uniforms, 3);
    // Two rejected wedges: the later one's.
    d = Next<Normal>({Outer(9), Outer(30), 1}, {"0.9999999", "0.99999995", "0.25", "0.125"});
    EXPECT_EQ(show(d.value.handle()), "0.99999995");
}

TEST(ZigguratNormal, LayerOneRejections)
{
    // y above the density at x: start again.
    Draw d = Next<Normal>({1, Inner(3)}, {"0.5", "0.999999"});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[3], Inner(3))));
    EXPECT_EQ(d.ints, 2);
    EXPECT_EQ(d.uniforms, 2);
    // y above 1 (the top of layer 1 is a little above 1): start again at
    // once, without the abscissa's uniform.
    d = Next<Normal>({1, Inner(3)}, {"0.9999"});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[3], Inner(3))));
    EXPECT_EQ(d.ints, 2);
    EXPECT_EQ(d.uniforms, 1);
}

TEST(ZigguratNormal, BaseStrip)
{
    Draw d = Next<Normal>({0}, {});
    EXPECT_EQ(show(d.value.handle()), "0.");
    EXPECT_EQ(d.uniforms, 0);
    // A negative integer with low byte 0 is accepted without a tail test,
    // however far out it lies.
    d = Next<Normal>({-256 * 1000}, {});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[0], -256 * 1000)));
    d = Next<Normal>({INT32_MIN}, {});
    EXPECT_TRUE(Same(d.value, -(Normal::gW[0] * Normal::gM))); // -q
    EXPECT_TRUE(d.value < -Normal::gD);
    d = Next<Normal>({256 * 1000}, {});
    EXPECT_TRUE(Same(d.value, Scaled(Normal::gW[0], 256 * 1000)));
    EXPECT_EQ(d.uniforms, 0);
}

TEST(ZigguratNormal, TheTailDrawsPairsUntilOneIsAccepted)
{
    // First pair: x = -ln(1e-30)/r is far out, y = ln 2: rejected.
    // Second pair: x = ln 2 / r, y = ln 2: accepted; the result is r + x.
    Draw d = Next<Normal>({int32_t(0x7FFFFF00)}, {"1e-30", "0.5", "0.5", "0.5"});
    TalvoFloat expected = Normal::gD + (-log(F("0.5"))) / Normal::gD;
    EXPECT_TRUE(Same(d.value, expected));
    EXPECT_EQ(d.ints, 1);
    EXPECT_EQ(d.uniforms, 4);
}

// ---------------------------------------------------------------------------
// Exponential
// ---------------------------------------------------------------------------

TEST(ZigguratExp, TheIntegerTestKeepsTheSign)
{
    Draw d = Next<Exp>({Inner(9)}, {});
    EXPECT_TRUE(Same(d.value, Scaled(Exp::gW[9], Inner(9))));
    EXPECT_EQ(d.uniforms, 0);
    d = Next<Exp>({-Inner(9)}, {});
    EXPECT_TRUE(Same(d.value, Scaled(Exp::gW[-Inner(9) & 255], -Inner(9))));
    EXPECT_TRUE(d.value < TalvoFloat(0.0));
}

TEST(ZigguratExp, Wedges)
{
    Draw d = Next<Exp>({Outer(9)}, {"0"});
    EXPECT_TRUE(Same(d.value, Scaled(Exp::gW[9], Outer(9))));
    EXPECT_EQ(d.uniforms, 1);
    // A negative abscissa passes every wedge test: exp(-x) > 1.
    d = Next<Exp>({OuterNegative(9)}, {"0.9999999"});
    EXPECT_TRUE(Same(d.value, Scaled(Exp::gW[9], OuterNegative(9))));
    EXPECT_EQ(d.ints, 1);
    EXPECT_EQ(d.uniforms, 1);
    // A positive one high in its wedge is rejected.
    d = Next<Exp>({Outer(9), Inner(2)}, {"0.9999999"});
    EXPECT_TRUE(Same(d.value, Scaled(Exp::gW[2], Inner(2))));
    EXPECT_EQ(d.ints, 2);
}

TEST(ZigguratExp, LayerOne)
{
    Draw d = Next<Exp>({1}, {"0", "0"});
    EXPECT_EQ(show(d.value.handle()), "0.");
    EXPECT_EQ(d.uniforms, 2);
    d = Next<Exp>({Outer(9), 1}, {"0.9999999", "0", "0"});
    EXPECT_EQ(show(d.value.handle()), "0.9999999");
    d = Next<Exp>({1, Inner(3)}, {"0.99999999"}); // y > 1
    EXPECT_TRUE(Same(d.value, Scaled(Exp::gW[3], Inner(3))));
    EXPECT_EQ(d.uniforms, 1);
    d = Next<Exp>({1, Inner(3)}, {"0.5", "0.999999"}); // y above exp(-x)
    EXPECT_TRUE(Same(d.value, Scaled(Exp::gW[3], Inner(3))));
    EXPECT_EQ(d.uniforms, 2);
}

TEST(ZigguratExp, BaseStripAndTail)
{
    Draw d = Next<Exp>({0}, {});
    EXPECT_EQ(show(d.value.handle()), "0.");
    d = Next<Exp>({INT32_MIN}, {});
    EXPECT_TRUE(Same(d.value, -(Exp::gW[0] * Exp::gM)));
    // The tail: r - ln(u), one uniform, no loop.
    d = Next<Exp>({int32_t(0x7FFFFF00)}, {"0.5"});
    EXPECT_TRUE(Same(d.value, Exp::gD - log(F("0.5"))));
    EXPECT_EQ(d.ints, 1);
    EXPECT_EQ(d.uniforms, 1);
}

TEST(ZigguratVariates, NormalAndExponentialEntriesUseOneDrawEach)
{
    Normal::Reset();
    Exp::Reset();
    ReplayStream s;
    s.ints({Inner(9), Inner(9)});
    EXPECT_EQ(result(STATS_TalvoNormalRandomVariate_MP, "10, 2"),
              show((F("10") + F("2") * Scaled(Normal::gW[9], Inner(9))).handle()));
    EXPECT_EQ(result(STATS_TalvoExponentialRandomVariate_MP, "3"),
              show((Scaled(Exp::gW[9], Inner(9)) * F("3")).handle()));
    EXPECT_TRUE(s.exhausted());
}
