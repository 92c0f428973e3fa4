// random_test.cpp -- the host generator: known xoshiro256** outputs, seeding,
// reproducibility of scripts, and floats on [0, 1) with every bit random.
#include "host_support.hpp"
#include "random.hpp"
#include "talvo_float.hpp"

#include <cmath>

using namespace talvo;
using talvo::test::show;

// Reference values from an independent implementation of SplitMix64 seeding
// and xoshiro256** (seed 42).
TEST(Random, KnownSequenceForSeed42)
{
    random::seed(42);
    EXPECT_EQ(random::next64(), 0x15780b2e0c2ec716ull);
    EXPECT_EQ(random::next64(), 0x6104d9866d113a7eull);
    EXPECT_EQ(random::next64(), 0xae17533239e499a1ull);
}

TEST(Random, ReseedingRepeatsTheStream)
{
    random::seed(7);
    uint64_t a = random::next64(), b = random::next64();
    random::seed(7);
    EXPECT_EQ(random::next64(), a);
    EXPECT_EQ(random::next64(), b);
    random::seed(8);
    EXPECT_NE(random::next64(), a);
}

TEST(Random, Int32IsTheHighHalf)
{
    random::seed(42);
    EXPECT_EQ(random::next32(), uint32_t(0x15780b2e0c2ec716ull >> 32));
}

TEST(Random, ScriptsAreReproducible)
{
    std::string first = show("randomize(2026): [rand(), rand()];");
    std::string second = show("randomize(2026): [rand(), rand()];");
    EXPECT_EQ(first, second);
    EXPECT_NE(first, show("randomize(2027): [rand(), rand()];"));
}

TEST(Random, FloatsFillThePrecisionAndAreUniform)
{
    random::seed(1);
    for (mpfr_prec_t prec : {38, 53, 170, 1000}) {
        ALGEB f = random::float01(prec);
        mpfr_srcptr x = talvo_float_value(f);
        EXPECT_EQ(mpfr_get_prec(x), prec);
        EXPECT_GE(mpfr_cmp_ui(x, 0), 0);
        EXPECT_LT(mpfr_cmp_ui(x, 1), 0);
    }
    double sum = 0, sum2 = 0;
    const int n = 20000;
    for (int i = 0; i < n; ++i) {
        double u = mpfr_get_d(talvo_float_value(random::float01(64)), MPFR_RNDN);
        sum += u;
        sum2 += u * u;
    }
    double mean = sum / n, var = sum2 / n - mean * mean;
    EXPECT_NEAR(mean, 0.5, 0.01);
    EXPECT_NEAR(var, 1.0 / 12, 0.005);
    // At 1000 bits the low bits are random too: not all zero across draws.
    bool low_bits_vary = false;
    for (int i = 0; i < 8 && !low_bits_vary; ++i) {
        mpfr_srcptr x = talvo_float_value(random::float01(1000));
        mpz_t z;
        mpz_init(z);
        mpfr_get_z_2exp(z, x);
        low_bits_vary = mpz_scan1(z, 0) < 10;
        mpz_clear(z);
    }
    EXPECT_TRUE(low_bits_vary);
}
