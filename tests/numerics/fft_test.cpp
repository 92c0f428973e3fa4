// fft_test.cpp -- the real transforms (c06faf, c06fbf, c06gbf) against the
// direct O(n^2) sums, every length 1 .. 64 and long ones of every kind of
// plan (powers of two, mixed radix, Rader primes by transforms and on
// integers), the round trip, Parseval's identity, the failure codes and the
// storage layout.
//
// Errors are measured in units in the last place (ulps) of the output
// precision: "normwise" in ulps of the largest output, which is what an FFT
// can promise (each output carries a share of the rounding of all the
// others), and "own" in ulps of each output, for the outputs that are not
// tiny next to the largest.
#include "talvo_mp.h"

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

#if defined(TALVO_SANITIZED)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

struct DigitsScope {
    long saved;
    explicit DigitsScope(long digits) : saved(talvo_float_digits()) { talvo_float_set_digits(digits); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

// n MPFR numbers of one precision.
class MpVec {
public:
    MpVec(size_t n, mpfr_prec_t prec) : v_(n)
    {
        for (auto &x : v_)
            mpfr_init2(x.v, prec);
    }
    ~MpVec()
    {
        for (auto &x : v_)
            mpfr_clear(x.v);
    }
    MpVec(const MpVec &) = delete;
    MpVec &operator=(const MpVec &) = delete;
    mpfr_ptr operator[](size_t i) { return v_[i].v; }
    mpfr_srcptr operator[](size_t i) const { return v_[i].v; }
    size_t size() const { return v_.size(); }

private:
    struct Item {
        mpfr_t v;
    };
    std::vector<Item> v_;
};

// n floats of the current precision, uniform in [-1, 1), every bit random.
std::vector<TalvoFloat> random_floats(size_t n, unsigned long seed)
{
    gmp_randstate_t state;
    gmp_randinit_default(state);
    gmp_randseed_ui(state, seed);
    std::vector<TalvoFloat> x;
    x.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        ALGEB f = talvo_float_new(talvo_float_precision());
        mpfr_ptr v = talvo_float_mpfr(f);
        mpfr_urandomb(v, state);
        mpfr_mul_2ui(v, v, 1, MPFR_RNDN);
        mpfr_sub_ui(v, v, 1, MPFR_RNDN);
        x.push_back(TalvoFloat::from_handle(f));
    }
    gmp_randclear(state);
    return x;
}

// cos and sin of 2 pi t / n, t = 0 .. n-1, to prec bits: every 64th
// directly (MPFR's correctly rounded sin and cos of 2 pi x / n), the others
// by at most 63 rotations from it, taken 32 bits beyond prec (an error of a
// few units in the 32 extra bits, gone in the final rounding).
struct Trig {
    MpVec c, s;
    Trig(size_t n, mpfr_prec_t prec) : c(n, prec), s(n, prec)
    {
        mpfr_prec_t hp = prec + 32;
        mpfr_t t, c1, s1, ck, sk, u, v;
        mpfr_init2(t, 64);
        mpfr_inits2(hp, c1, s1, ck, sk, u, v, (mpfr_ptr) nullptr);
        mpfr_set_ui(t, 1, MPFR_RNDN);
        mpfr_cosu(c1, t, n, MPFR_RNDN);
        mpfr_sinu(s1, t, n, MPFR_RNDN);
        for (size_t k = 0; k < n; ++k) {
            if (k % 64 == 0) {
                mpfr_set_ui(t, k, MPFR_RNDN);
                mpfr_cosu(ck, t, n, MPFR_RNDN);
                mpfr_sinu(sk, t, n, MPFR_RNDN);
            } else {
                // (ck, sk) rotated by 2 pi / n.
                mpfr_mul(u, ck, c1, MPFR_RNDN);
                mpfr_mul(v, sk, s1, MPFR_RNDN);
                mpfr_sub(u, u, v, MPFR_RNDN);
                mpfr_mul(v, sk, c1, MPFR_RNDN);
                mpfr_fma(sk, ck, s1, v, MPFR_RNDN);
                mpfr_swap(ck, u);
            }
            mpfr_set(c[k], ck, MPFR_RNDN);
            mpfr_set(s[k], sk, MPFR_RNDN);
        }
        mpfr_clear(t);
        mpfr_clears(c1, s1, ck, sk, u, v, (mpfr_ptr) nullptr);
    }
};

mpfr_prec_t reference_precision() { return talvo_float_precision() + 64; }

// The transform coefficient k of real data, (1/sqrt(n)) sum_j x_j w^{jk}:
// its real and imaginary parts.
void direct_coefficient(const std::vector<TalvoFloat> &x, size_t k, const Trig &trig, mpfr_ptr re, mpfr_ptr im)
{
    size_t n = x.size();
    mpfr_prec_t rp = mpfr_get_prec(re);
    mpfr_t t, scale;
    mpfr_inits2(rp, t, scale, (mpfr_ptr) nullptr);
    mpfr_set_zero(re, 1);
    mpfr_set_zero(im, 1);
    for (size_t j = 0; j < n; ++j) {
        size_t a = (j * k) % n;
        mpfr_mul(t, x[j].mpfr(), trig.c[a], MPFR_RNDN);
        mpfr_add(re, re, t, MPFR_RNDN);
        mpfr_mul(t, x[j].mpfr(), trig.s[a], MPFR_RNDN);
        mpfr_sub(im, im, t, MPFR_RNDN);
    }
    mpfr_set_ui(scale, n, MPFR_RNDN);
    mpfr_rec_sqrt(scale, scale, MPFR_RNDN);
    mpfr_mul(re, re, scale, MPFR_RNDN);
    mpfr_mul(im, im, scale, MPFR_RNDN);
    mpfr_clears(t, scale, (mpfr_ptr) nullptr);
}

// The transform of real data in Hermitian storage, by the direct sums,
// with the terms j and n - j paired: Re X_k sums (x_j + x_{n-j}) cos and
// Im X_k sums -(x_j - x_{n-j}) sin over 1 <= j < n/2.
void direct_forward(const std::vector<TalvoFloat> &x, MpVec &ref)
{
    size_t n = x.size();
    mpfr_prec_t rp = mpfr_get_prec(ref[0]);
    Trig trig(n, rp);
    MpVec sum(n, rp), diff(n, rp);
    for (size_t j = 1; 2 * j < n; ++j) {
        mpfr_add(sum[j], x[j].mpfr(), x[n - j].mpfr(), MPFR_RNDN);
        mpfr_sub(diff[j], x[j].mpfr(), x[n - j].mpfr(), MPFR_RNDN);
    }
    mpfr_t re, im, t, scale;
    mpfr_inits2(rp, re, im, t, scale, (mpfr_ptr) nullptr);
    mpfr_set_ui(scale, n, MPFR_RNDN);
    mpfr_rec_sqrt(scale, scale, MPFR_RNDN);
    for (size_t k = 0; 2 * k <= n; ++k) {
        mpfr_set(re, x[0].mpfr(), MPFR_RNDN);
        mpfr_set_zero(im, 1);
        if (n % 2 == 0) {
            if (k % 2 == 0)
                mpfr_add(re, re, x[n / 2].mpfr(), MPFR_RNDN);
            else
                mpfr_sub(re, re, x[n / 2].mpfr(), MPFR_RNDN);
        }
        for (size_t j = 1; 2 * j < n; ++j) {
            size_t a = (j * k) % n;
            mpfr_mul(t, sum[j], trig.c[a], MPFR_RNDN);
            mpfr_add(re, re, t, MPFR_RNDN);
            mpfr_mul(t, diff[j], trig.s[a], MPFR_RNDN);
            mpfr_sub(im, im, t, MPFR_RNDN);
        }
        mpfr_mul(ref[k], re, scale, MPFR_RNDN);
        if (k >= 1 && 2 * k < n)
            mpfr_mul(ref[n - k], im, scale, MPFR_RNDN);
    }
    mpfr_clears(re, im, t, scale, (mpfr_ptr) nullptr);
}

// The (real) transform of a Hermitian sequence z stored in x, by the direct
// sums: y_j = (1/sqrt(n)) (z_0 + (-1)^j z_{n/2} + 2 sum_{k=1}^{(n-1)/2}
// (Re z_k cos(2 pi jk/n) + Im z_k sin(2 pi jk/n))).
void direct_backward(const std::vector<TalvoFloat> &x, MpVec &ref)
{
    size_t n = x.size();
    mpfr_prec_t rp = mpfr_get_prec(ref[0]);
    Trig trig(n, rp);
    mpfr_t t, u, scale;
    mpfr_inits2(rp, t, u, scale, (mpfr_ptr) nullptr);
    mpfr_set_ui(scale, n, MPFR_RNDN);
    mpfr_rec_sqrt(scale, scale, MPFR_RNDN);
    for (size_t j = 0; j < n; ++j) {
        mpfr_set_zero(u, 1);
        for (size_t k = 1; 2 * k < n; ++k) {
            size_t a = (j * k) % n;
            mpfr_mul(t, x[k].mpfr(), trig.c[a], MPFR_RNDN);
            mpfr_add(u, u, t, MPFR_RNDN);
            mpfr_mul(t, x[n - k].mpfr(), trig.s[a], MPFR_RNDN);
            mpfr_add(u, u, t, MPFR_RNDN);
        }
        mpfr_mul_2ui(u, u, 1, MPFR_RNDN);
        mpfr_add(u, u, x[0].mpfr(), MPFR_RNDN);
        if (n % 2 == 0) {
            if (j % 2 == 0)
                mpfr_add(u, u, x[n / 2].mpfr(), MPFR_RNDN);
            else
                mpfr_sub(u, u, x[n / 2].mpfr(), MPFR_RNDN);
        }
        mpfr_mul(ref[j], u, scale, MPFR_RNDN);
    }
    mpfr_clears(t, u, scale, (mpfr_ptr) nullptr);
}

struct Errors {
    double normwise = 0; // max |got - ref| in ulps of the largest |ref|
    double own = 0;      // max |got - ref| in ulps of |ref|, over |ref| >= largest / 2^8
    size_t worst = 0;    // where normwise is largest
};

// got[i] against ref[i] for i in `which` (all when empty), in ulps of prec bits.
Errors compare(const std::vector<TalvoFloat> &got, const MpVec &ref, mpfr_prec_t prec)
{
    Errors e;
    size_t n = ref.size();
    mpfr_prec_t rp = mpfr_get_prec(ref[0]);
    mpfr_t d, big;
    mpfr_inits2(rp, d, big, (mpfr_ptr) nullptr);
    mpfr_set_zero(big, 1);
    for (size_t i = 0; i < n; ++i)
        if (mpfr_cmpabs(ref[i], big) > 0)
            mpfr_abs(big, ref[i], MPFR_RNDN);
    mpfr_exp_t ebig = mpfr_zero_p(big) ? 0 : mpfr_get_exp(big);
    for (size_t i = 0; i < n; ++i) {
        mpfr_sub(d, got[i].mpfr(), ref[i], MPFR_RNDN);
        mpfr_abs(d, d, MPFR_RNDN);
        if (mpfr_nan_p(d)) {
            e.normwise = HUGE_VAL;
            e.worst = i;
            continue;
        }
        if (mpfr_zero_p(d))
            continue;
        double norm = std::ldexp(mpfr_get_d(d, MPFR_RNDN), int(prec - ebig));
        if (norm > e.normwise) {
            e.normwise = norm;
            e.worst = i;
        }
        if (!mpfr_zero_p(ref[i]) && mpfr_get_exp(ref[i]) > ebig - 8) {
            double own = std::ldexp(mpfr_get_d(d, MPFR_RNDN), int(prec - mpfr_get_exp(ref[i])));
            e.own = std::max(e.own, own);
        }
    }
    mpfr_clears(d, big, (mpfr_ptr) nullptr);
    return e;
}

void forward(std::vector<TalvoFloat> &x)
{
    std::vector<TalvoFloat> work(x.size());
    Integer ifail = 1;
    TalvoMP_c06faf(x.data(), Integer(x.size()), work.data(), &ifail);
    ASSERT_EQ(ifail, 0);
}

void backward(std::vector<TalvoFloat> &x)
{
    std::vector<TalvoFloat> work(x.size());
    Integer ifail = 1;
    TalvoMP_c06fbf(x.data(), Integer(x.size()), work.data(), &ifail);
    ASSERT_EQ(ifail, 0);
}

void conjugate(std::vector<TalvoFloat> &x)
{
    Integer ifail = 1;
    TalvoMP_c06gbf(x.data(), Integer(x.size()), &ifail);
    ASSERT_EQ(ifail, 0);
}

// The forward transform of random data of length n against the direct sums.
Errors forward_errors(size_t n, unsigned long seed)
{
    std::vector<TalvoFloat> x = random_floats(n, seed);
    MpVec ref(n, reference_precision());
    direct_forward(x, ref);
    forward(x);
    return compare(x, ref, talvo_float_precision());
}

Errors backward_errors(size_t n, unsigned long seed)
{
    std::vector<TalvoFloat> x = random_floats(n, seed);
    MpVec ref(n, reference_precision());
    direct_backward(x, ref);
    backward(x);
    return compare(x, ref, talvo_float_precision());
}

// Forward, conjugate, backward: the data again.  The forward transform runs
// at `spectrum_digits` (its results, the spectrum, are floats of that
// precision), the backward one at the current "Digits".
Errors round_trip_errors(size_t n, unsigned long seed, long spectrum_digits)
{
    std::vector<TalvoFloat> x = random_floats(n, seed);
    MpVec ref(n, reference_precision());
    for (size_t i = 0; i < n; ++i)
        mpfr_set(ref[i], x[i].mpfr(), MPFR_RNDN);
    {
        DigitsScope d(spectrum_digits);
        forward(x);
        conjugate(x);
    }
    backward(x);
    return compare(x, ref, talvo_float_precision());
}

} // namespace

TEST(RealFourierTransform, ForwardMatchesDirectSumsForEveryLengthTo64)
{
    for (long digits : {50L, 15L}) {
        DigitsScope d(digits);
        for (size_t n = 1; n <= 64; ++n) {
            Errors e = forward_errors(n, 1000 + n);
            EXPECT_LE(e.normwise, 1.0) << "n = " << n << " at " << digits << " digits, output " << e.worst;
            EXPECT_LE(e.own, 1.0) << "n = " << n << " at " << digits << " digits";
        }
    }
}

TEST(RealFourierTransform, BackwardMatchesDirectSumsForEveryLengthTo64)
{
    for (long digits : {50L, 15L}) {
        DigitsScope d(digits);
        for (size_t n = 1; n <= 64; ++n) {
            Errors e = backward_errors(n, 2000 + n);
            EXPECT_LE(e.normwise, 1.0) << "n = " << n << " at " << digits << " digits, output " << e.worst;
            EXPECT_LE(e.own, 1.0) << "n = " << n << " at " << digits << " digits";
        }
    }
}

TEST(RealFourierTransform, LongLengthsMatchDirectSums)
{
    DigitsScope d(50);
    // 1000 = 2^3 5^3, 1009 prime, 4096 = 2^12; 2018 = 2 * 1009 puts the
    // prime inside the half-length complex plan.
    std::vector<size_t> lengths = {1000, 1009, 2018, 4096};
    for (size_t n : lengths) {
        if (kSanitized && n == 4096)
            continue;
        Errors e = forward_errors(n, n);
        EXPECT_LE(e.normwise, 1.0) << "forward, n = " << n << ", output " << e.worst;
        EXPECT_LE(e.own, 1.0) << "forward, n = " << n;
    }
    for (size_t n : {size_t(1000), size_t(1009)}) {
        Errors e = backward_errors(n, n + 1);
        EXPECT_LE(e.normwise, 1.0) << "backward, n = " << n << ", output " << e.worst;
        EXPECT_LE(e.own, 1.0) << "backward, n = " << n;
    }
}

// Lengths whose plans use each way of making a prime: real data of prime
// length by the real Rader convolution (cyclic for odd (p-1)/2, right-angle
// for even (p-1)/2, or on integers), a complex stage by Rader's convolution
// of length p - 1 (by transforms or on integers; the complex stages inside
// even lengths 2p), and odd lengths 3p split into three real transforms of
// length p.  The cost model's choices depend on the precision, so the
// search runs at 15, 50 and 300 digits and takes the first length of each
// kind; each is checked against the direct sums both ways at the digits
// where it was found.
// Both transforms of random data of length n against the direct sums,
// within one ulp, normwise and of each output.
void expect_direct_sums_both_ways(size_t n)
{
    Errors f = forward_errors(n, 3 * n);
    EXPECT_LE(f.normwise, 1.0) << "forward, output " << f.worst;
    EXPECT_LE(f.own, 1.0) << "forward";
    Errors b = backward_errors(n, 3 * n + 1);
    EXPECT_LE(b.normwise, 1.0) << "backward, output " << b.worst;
    EXPECT_LE(b.own, 1.0) << "backward";
}

struct KindOfPlan {
    const char *name;
    const char *text;      // in the plan's description
    const char *not_text;  // and this not (or nullptr)
    int multiple;          // of the prime: p, 2p or 3p
};

TEST(RealFourierTransform, EveryKindOfPrimeStageMatchesDirectSums)
{
    const KindOfPlan kinds[] = {
        {"real Rader, cyclic", "real-rader-cyclic(", nullptr, 1},
        {"real Rader, right angle", "real-rader-right-angle(", nullptr, 1},
        {"real Rader, on integers", "real-rader-exact", nullptr, 1},
        {"complex Rader", ":rader(", nullptr, 2},
        {"complex Rader, on integers", ":rader-exact", nullptr, 2},
        {"split into real transforms", " x (", nullptr, 3},
    };
    struct Found {
        long digits;
        size_t n;
    };
    std::vector<Found> found(std::size(kinds), Found{0, 0});
    for (long digits : {15L, 50L, 300L}) {
        DigitsScope d(digits);
        for (size_t p = 11; p < 2000; p += 2) {
            for (size_t k = 0; k < std::size(kinds); ++k) {
                if (found[k].n != 0)
                    continue;
                size_t n = kinds[k].multiple * p;
                std::string plan = TalvoMP_fft_plan(Integer(n));
                if (plan.find(kinds[k].text) == std::string::npos)
                    continue;
                if (kinds[k].not_text != nullptr && plan.find(kinds[k].not_text) != std::string::npos)
                    continue;
                if (kinds[k].multiple == 3 && plan.find("real-rader") == std::string::npos)
                    continue;
                found[k] = {digits, n};
            }
        }
    }
    for (size_t k = 0; k < std::size(kinds); ++k) {
        ASSERT_NE(found[k].n, 0u) << kinds[k].name;
        DigitsScope d(found[k].digits);
        SCOPED_TRACE(std::string(kinds[k].name) + ": n = " + std::to_string(found[k].n) + " at " +
                     std::to_string(found[k].digits) + " digits, " + TalvoMP_fft_plan(Integer(found[k].n)));
        expect_direct_sums_both_ways(found[k].n);
    }
}

// The same lengths at 50 digits as before, whatever their plans: primes of
// each kind of p - 1 near 1000 and 2000.
TEST(RealFourierTransform, PrimesNearOneAndTwoThousandMatchDirectSums)
{
    DigitsScope d(50);
    for (size_t n : {size_t(1019), size_t(2039), size_t(2 * 1031)}) {
        SCOPED_TRACE("n = " + std::to_string(n) + ": " + TalvoMP_fft_plan(Integer(n)));
        expect_direct_sums_both_ways(n);
    }
}

// The convolutions on integers put each sequence in fixed point below its
// largest value.  Data whose magnitudes spread over many binades (and
// zeros among them) still give every output within one ulp of the largest
// output, on the real and on the complex kind.
TEST(RealFourierTransform, IntegerConvolutionsKeepDataOfWidelySpreadMagnitudes)
{
    DigitsScope d(30);
    size_t real_exact = 0, complex_exact = 0;
    for (size_t p = 101; p < 2000 && (real_exact == 0 || complex_exact == 0); p += 2) {
        if (real_exact == 0 && TalvoMP_fft_plan(Integer(p)).find("real-rader-exact") != std::string::npos)
            real_exact = p;
        if (complex_exact == 0 && TalvoMP_fft_plan(Integer(2 * p)).find(":rader-exact") != std::string::npos)
            complex_exact = 2 * p;
    }
    ASSERT_NE(real_exact, 0u);
    ASSERT_NE(complex_exact, 0u);
    for (size_t n : {real_exact, complex_exact}) {
        SCOPED_TRACE("n = " + std::to_string(n) + ": " + TalvoMP_fft_plan(Integer(n)));
        std::vector<TalvoFloat> x = random_floats(n, 11 * n);
        for (size_t j = 0; j < n; ++j) {
            mpfr_ptr v = const_cast<mpfr_ptr>(x[j].mpfr());
            if (j % 7 == 3)
                mpfr_set_zero(v, 1);
            else
                mpfr_mul_2si(v, v, long(j % 61) * 3 - 90, MPFR_RNDN);
        }
        MpVec ref(n, reference_precision());
        direct_forward(x, ref);
        forward(x);
        Errors f = compare(x, ref, talvo_float_precision());
        EXPECT_LE(f.normwise, 1.0) << "output " << f.worst;
    }
}

// Scaling the data by a power of two scales every result by the same
// power, bit for bit, far outside the range of doubles: the fixed point of
// the integer convolutions is taken below the data's own largest value.
TEST(RealFourierTransform, ResultsScaleExactlyWithPowersOfTwo)
{
    DigitsScope d(15);
    for (size_t n : {size_t(31), size_t(2 * 101), size_t(1031), size_t(64)}) {
        std::vector<TalvoFloat> x = random_floats(n, 5 * n);
        std::vector<TalvoFloat> fx = x;
        forward(fx);
        for (long k : {-1000000L, -3000L, 3000L, 1000000L}) {
            // New floats: the vectors' elements are handles to shared values.
            std::vector<TalvoFloat> y;
            for (const TalvoFloat &v : x) {
                ALGEB f = talvo_float_new(talvo_float_precision());
                mpfr_mul_2si(talvo_float_mpfr(f), v.mpfr(), k, MPFR_RNDN);
                y.push_back(TalvoFloat::from_handle(f));
            }
            forward(y);
            for (size_t j = 0; j < n; ++j) {
                mpfr_t back;
                mpfr_init2(back, mpfr_get_prec(y[j].mpfr()));
                mpfr_mul_2si(back, y[j].mpfr(), -k, MPFR_RNDN);
                EXPECT_TRUE(mpfr_equal_p(back, fx[j].mpfr()) || (mpfr_zero_p(back) && mpfr_zero_p(fx[j].mpfr())))
                    << "n = " << n << ", 2^" << k << ", output " << j;
                mpfr_clear(back);
            }
        }
    }
}

TEST(RealFourierTransform, PlansOfTheLongLengths)
{
    {
        DigitsScope d(15);
        EXPECT_EQ(TalvoMP_fft_plan(4096), "2 x (4*4*4*4*4*2)");
        EXPECT_EQ(TalvoMP_fft_plan(1000), "2 x (4*5*5*5)");
        // (p - 1)/2 = 5003 is prime: two convolutions on integers, where
        // transforms would need twice the length.
        EXPECT_EQ(TalvoMP_fft_plan(10007), "10007:real-rader-exact");
        // 4099 is prime, 4098 = 2 x 3 x 683: the complex stage of 2 x 4099 on integers.
        EXPECT_EQ(TalvoMP_fft_plan(2 * 4099), "2 x (4099:rader-exact)");
    }
    {
        // At 300 digits the integer products cost more next to MPFR's
        // arithmetic: (65537 - 1)/2 = 2^15, P by real transforms of 2^15
        // points, Q by complex ones of 2^14.
        DigitsScope d(300);
        EXPECT_EQ(TalvoMP_fft_plan(65537), "65537:real-rader-right-angle(2 x (4*4*4*4*4*4*4), 4*4*4*4*4*4*4)");
    }
    EXPECT_EQ(TalvoMP_fft_plan(0), "");
}

// 65537 = 2^16 + 1 is prime: Rader's convolution has length 2^16.  The
// direct sums are too slow for all of it: some coefficients, Parseval's
// identity and the round trip.
TEST(RealFourierTransform, Length65537)
{
    DigitsScope d(50);
    const size_t n = 65537;
    std::vector<TalvoFloat> x = random_floats(n, 65537);
    std::vector<TalvoFloat> data = x;
    forward(x);
    const mpfr_prec_t rp = reference_precision(), prec = talvo_float_precision();
    Trig trig(n, rp);
    mpfr_t re, im, d1, sum_x, sum_X, t;
    mpfr_inits2(rp, re, im, d1, sum_x, sum_X, t, (mpfr_ptr) nullptr);
    std::vector<size_t> ks = {0, 1, 2, 3, 4096, 12345, 32767, 32768};
    if (kSanitized)
        ks.resize(4);
    for (size_t k : ks) {
        direct_coefficient(data, k, trig, re, im);
        // Every coefficient has about the size of the largest (random data):
        // one ulp of its own size.
        mpfr_sub(d1, x[k].mpfr(), re, MPFR_RNDN);
        EXPECT_LE(std::fabs(mpfr_get_d(d1, MPFR_RNDN)), std::ldexp(1.0, int(mpfr_get_exp(re) - prec)))
            << "Re X_" << k;
        if (k > 0) {
            mpfr_sub(d1, x[n - k].mpfr(), im, MPFR_RNDN);
            EXPECT_LE(std::fabs(mpfr_get_d(d1, MPFR_RNDN)), std::ldexp(1.0, int(mpfr_get_exp(im) - prec)))
                << "Im X_" << k;
        }
    }
    // Parseval: sum x_j^2 = X_0^2 + 2 sum_{k=1}^{(n-1)/2} |X_k|^2.
    mpfr_set_zero(sum_x, 1);
    mpfr_set_zero(sum_X, 1);
    for (size_t j = 0; j < n; ++j) {
        mpfr_sqr(t, data[j].mpfr(), MPFR_RNDN);
        mpfr_add(sum_x, sum_x, t, MPFR_RNDN);
        mpfr_sqr(t, x[j].mpfr(), MPFR_RNDN);
        if (j > 0)
            mpfr_mul_2ui(t, t, 1, MPFR_RNDN);
        mpfr_add(sum_X, sum_X, t, MPFR_RNDN);
    }
    mpfr_sub(d1, sum_X, sum_x, MPFR_RNDN);
    mpfr_div(d1, d1, sum_x, MPFR_RNDN);
    // Each |X_k|^2 is within about 2 ulps relative, the errors independent.
    EXPECT_LT(std::fabs(mpfr_get_d(d1, MPFR_RNDN)), std::ldexp(1.0, -int(prec) + 1));
    mpfr_clears(re, im, d1, sum_x, sum_X, t, (mpfr_ptr) nullptr);

    // And back, through the spectrum stored at 50 digits (see
    // RoundTripThroughAStoredSpectrum).
    conjugate(x);
    backward(x);
    MpVec ref(n, rp);
    for (size_t j = 0; j < n; ++j)
        mpfr_set(ref[j], data[j].mpfr(), MPFR_RNDN);
    Errors e = compare(x, ref, prec);
    EXPECT_LE(e.normwise, 2.0) << "output " << e.worst;
}

std::vector<size_t> round_trip_lengths()
{
    std::vector<size_t> lengths;
    for (size_t n = 1; n <= 64; ++n)
        lengths.push_back(n);
    for (size_t n : {1000, 1009, 4096, 4097, 6561, 10007, 3 * 1019})
        lengths.push_back(n);
    return lengths;
}

// With the spectrum kept to 10 more digits, the round trip gives every value
// back within one unit in its last place: the transforms' own error is a
// small fraction of a unit, and the last rounding half a unit.
TEST(RealFourierTransform, RoundTripReturnsTheDataToOneUlp)
{
    for (long digits : {15L, 50L, 100L}) {
        DigitsScope d(digits);
        for (size_t n : round_trip_lengths()) {
            Errors e = round_trip_errors(n, 7 * n + size_t(digits), digits + 10);
            EXPECT_LE(e.normwise, 1.0) << "n = " << n << " at " << digits << " digits, output " << e.worst;
            EXPECT_LE(e.own, 1.0) << "n = " << n << " at " << digits << " digits";
        }
    }
}

// With the spectrum stored at the working "Digits" (as the kernel density
// stores it), its rounding (half a unit in the last place of each
// coefficient) is carried back into every value: the data come back within
// about one unit in the last place of the largest value (1.3 at worst in
// trials of many lengths and seeds), bounded here by 2.
TEST(RealFourierTransform, RoundTripThroughAStoredSpectrum)
{
    for (long digits : {15L, 50L, 100L}) {
        DigitsScope d(digits);
        for (size_t n : round_trip_lengths()) {
            Errors e = round_trip_errors(n, 11 * n + size_t(digits), digits);
            EXPECT_LE(e.normwise, 2.0) << "n = " << n << " at " << digits << " digits, output " << e.worst;
        }
    }
}

// The precision of the results is that of the current "Digits", whatever
// the inputs carry; inputs of more precision are used exactly as they are.
TEST(RealFourierTransform, ResultsHaveTheCurrentPrecision)
{
    std::vector<TalvoFloat> x;
    {
        DigitsScope d(80);
        x = random_floats(100, 5);
    }
    DigitsScope d(30);
    MpVec ref(100, talvo_float_precision() + 64);
    direct_forward(x, ref);
    forward(x);
    for (const TalvoFloat &v : x)
        EXPECT_EQ(mpfr_get_prec(v.mpfr()), talvo_float_precision());
    Errors e = compare(x, ref, talvo_float_precision());
    EXPECT_LE(e.normwise, 1.0);
}

TEST(RealFourierTransform, SmallCasesExactly)
{
    DigitsScope d(20);
    // n = 1: the value itself.  n = 2: (x0 + x1, x0 - x1) / sqrt(2).
    std::vector<TalvoFloat> one = {TalvoFloat(3.5)};
    forward(one);
    EXPECT_EQ(one[0].to_double(), 3.5);
    std::vector<TalvoFloat> two = {TalvoFloat(3.0), TalvoFloat(1.0)};
    forward(two);
    EXPECT_NEAR(two[0].to_double(), 4.0 / std::sqrt(2.0), 1e-15);
    EXPECT_NEAR(two[1].to_double(), 2.0 / std::sqrt(2.0), 1e-15);
    // n = 4, x = (1, 0, 0, 0): every coefficient 1/2, imaginary parts 0.
    std::vector<TalvoFloat> four = {TalvoFloat(1.0), TalvoFloat(0.0), TalvoFloat(0.0), TalvoFloat(0.0)};
    forward(four);
    EXPECT_EQ(four[0].to_double(), 0.5);
    EXPECT_EQ(four[1].to_double(), 0.5);
    EXPECT_EQ(four[2].to_double(), 0.5);
    EXPECT_EQ(four[3].to_double(), 0.0);
    // A constant sequence of length 5: all of it at frequency 0.
    std::vector<TalvoFloat> five(5, TalvoFloat(2.0));
    forward(five);
    EXPECT_NEAR(five[0].to_double(), 10.0 / std::sqrt(5.0), 1e-15);
    for (size_t k = 1; k < 5; ++k)
        EXPECT_NEAR(five[k].to_double(), 0.0, 1e-19) << k;
}

TEST(RealFourierTransform, ConjugationNegatesTheStoredImaginaryParts)
{
    for (Integer n = 1; n <= 9; ++n) {
        std::vector<TalvoFloat> x;
        for (Integer j = 0; j < n; ++j)
            x.push_back(TalvoFloat(double(j + 1)));
        conjugate(x);
        for (Integer j = 0; j < n; ++j) {
            double expect = j > n / 2 ? -double(j + 1) : double(j + 1);
            EXPECT_EQ(x[size_t(j)].to_double(), expect) << "n = " << n << ", j = " << j;
        }
    }
}

TEST(RealFourierTransform, UndefinedDataGiveUndefinedResults)
{
    // 6 and 7: transforms of MPFR numbers; 31 and 2 x 29 (at 15 digits):
    // Rader's convolutions on integers, real and complex.
    DigitsScope d(15);
    ASSERT_EQ(TalvoMP_fft_plan(31), "31:real-rader-exact");
    ASSERT_NE(TalvoMP_fft_plan(2 * 101).find("rader-exact"), std::string::npos) << TalvoMP_fft_plan(2 * 101);
    for (size_t n : {6, 7, 31, 2 * 101}) {
        std::vector<TalvoFloat> x = random_floats(n, 9);
        x[2] = TalvoFloatUndefined();
        forward(x);
        for (const TalvoFloat &v : x)
            EXPECT_TRUE(IsTalvoFloatUndefined(v)) << n;
        // Re z_1 enters every output of the backward transform.
        x = random_floats(n, 10);
        x[1] = TalvoFloatUndefined();
        backward(x);
        for (const TalvoFloat &v : x)
            EXPECT_TRUE(IsTalvoFloatUndefined(v)) << n;
    }
}

TEST(RealFourierTransform, ZeroDataGiveZeros)
{
    DigitsScope d(15);
    for (size_t n : {7, 31, 2 * 101, 1031}) {
        std::vector<TalvoFloat> x(n, TalvoFloat(0.0));
        forward(x);
        for (const TalvoFloat &v : x)
            EXPECT_TRUE(mpfr_zero_p(v.mpfr())) << n;
        backward(x);
        for (const TalvoFloat &v : x)
            EXPECT_TRUE(mpfr_zero_p(v.mpfr())) << n;
    }
}

TEST(RealFourierTransform, LengthBelowOneFails)
{
    std::vector<TalvoFloat> x(2, TalvoFloat(1.0)), work(2);
    for (Integer n : {Integer(0), Integer(-3)}) {
        Integer ifail = 1;
        testing::internal::CaptureStderr();
        TalvoMP_c06faf(x.data(), n, work.data(), &ifail);
        EXPECT_EQ(ifail, 3);
        ifail = 1;
        TalvoMP_c06fbf(x.data(), n, work.data(), &ifail);
        EXPECT_EQ(ifail, 3);
        ifail = 1;
        TalvoMP_c06gbf(x.data(), n, &ifail);
        EXPECT_EQ(ifail, 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "a quiet failure prints nothing";
    }
    // Noisy (-1) and hard (0) failures print the message and return.
    for (Integer mode : {Integer(-1), Integer(0)}) {
        Integer ifail = mode;
        testing::internal::CaptureStderr();
        TalvoMP_c06faf(x.data(), 0, work.data(), &ifail);
        EXPECT_EQ(ifail, 3);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "TalvoMP_c06faf: n = 0 is out of range: n must be >= 1.\n");
        ifail = mode;
        testing::internal::CaptureStderr();
        TalvoMP_c06gbf(x.data(), -1, &ifail);
        EXPECT_EQ(ifail, 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "TalvoMP_c06gbf: n = -1 is out of range: n must be >= 1.\n");
    }
    // The data are untouched.
    EXPECT_EQ(x[0].to_double(), 1.0);
    EXPECT_EQ(x[1].to_double(), 1.0);
}
