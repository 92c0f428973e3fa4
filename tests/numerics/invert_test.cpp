// invert_test.cpp -- the cheap first attempt of the deviates at up to 30
// digits (invert/invert.cpp: invert_fast; its users g01fac and g01fbc).
//
// Every deviate is computed twice, with the fast paths on and off, at
// Digits 10, 15, 20, 30 and 31, and the two floats compared bit for bit.
// They may differ only where the full loop's float is not the correctly
// rounded one (the fast path answers only where its ball fixes the
// rounding); the correctly rounded float is taken from the same deviate at
// 40 more digits.  The points are
//   - probabilities over the whole range (1e-300 to 1 - 1e-15) in every
//     tail (the lower one for the chi-square and gamma deviates), several
//     degrees of freedom and shapes;
//   - hard cases: p = F(x) for x halfway between two floats of the
//     result's precision, p carried with 60 more digits, so that the root
//     lies within about 2^-190 of a rounding boundary.  No ball of the fast
//     path can fix that rounding: the fast path must decline there.
// The fast path must answer most ordinary points at 30 digits and below
// (counted by TalvoMP_fast_path_answers) and none above.
#include "checks.hpp"

#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace talvo::test;

using Deviate = std::function<TalvoFloat(Nag_TailProbability, const TalvoFloat &)>;
using Probability = std::function<TalvoFloat(Nag_TailProbability, const TalvoFloat &)>;

struct Law {
    std::string name;
    Deviate deviate;
    Probability probability;
    bool all_tails = true; // false: a lower-tail deviate on x > 0 only
};

std::vector<Law> Laws()
{
    std::vector<Law> laws;
    laws.push_back({"normal",
                    [](Nag_TailProbability t, const TalvoFloat &p) {
                        NagError f{};
                        return TalvoMP_g01fac(t, p, &f);
                    },
                    [](Nag_TailProbability t, const TalvoFloat &x) {
                        NagError f{};
                        return TalvoMP_g01eac(t, x, &f);
                    }});
    for (const char *df : {"0.5", "1", "2.5", "5", "30", "1000"}) {
        std::string d = df;
        laws.push_back({"t df=" + d,
                        [d](Nag_TailProbability t, const TalvoFloat &p) {
                            NagError f{};
                            return TalvoMP_g01fbc(t, p, F(d.c_str()), &f);
                        },
                        [d](Nag_TailProbability t, const TalvoFloat &x) {
                            NagError f{};
                            return TalvoMP_g01ebc(t, x, F(d.c_str()), &f);
                        }});
    }
    for (const char *df : {"0.5", "3", "10", "150"}) {
        std::string d = df;
        laws.push_back({"chi-square df=" + d,
                        [d](Nag_TailProbability, const TalvoFloat &p) {
                            NagError f{};
                            return TalvoMP_g01fcc(p, F(d.c_str()), &f);
                        },
                        [d](Nag_TailProbability t, const TalvoFloat &x) {
                            NagError f{};
                            return TalvoMP_g01ecc(t, x, F(d.c_str()), &f);
                        },
                        false});
    }
    for (const char *shape : {"0.25", "2.5", "40"}) {
        std::string a = shape;
        laws.push_back({"gamma shape=" + a + " scale=3",
                        [a](Nag_TailProbability, const TalvoFloat &p) {
                            NagError f{};
                            return TalvoMP_g01ffc(p, F(a.c_str()), F("3"), F("0"), &f);
                        },
                        [a](Nag_TailProbability t, const TalvoFloat &x) {
                            NagError f{};
                            return TalvoMP_g01efc(t, x, F(a.c_str()), F("3"), &f);
                        },
                        false});
    }
    return laws;
}

bool SameFloat(const TalvoFloat &a, const TalvoFloat &b)
{
    return mpfr_get_prec(a.mpfr()) == mpfr_get_prec(b.mpfr()) && mpfr_equal_p(a.mpfr(), b.mpfr()) &&
           mpfr_signbit(a.mpfr()) == mpfr_signbit(b.mpfr());
}

// The float of `prec` bits nearest to r.
TalvoFloat Rounded(const TalvoFloat &r, mpfr_prec_t prec)
{
    ALGEB h = talvo_float_new(prec);
    mpfr_set(talvo_float_mpfr(h), r.mpfr(), MPFR_RNDN);
    return TalvoFloat::from_handle(h);
}

struct Counts {
    long ordinary = 0, answered = 0;
};

// The deviate at p with the fast paths on and off; `reference` is the same
// deviate 40 digits further (null for hard cases, where the fast path must
// decline).
void Compare(const Law &law, Nag_TailProbability tail, const TalvoFloat &p, long digits, bool hard, Counts &n)
{
    TalvoMP_set_fast_paths(0);
    TalvoFloat slow = law.deviate(tail, p);
    TalvoMP_set_fast_paths(1);
    long before = TalvoMP_fast_path_answers();
    TalvoFloat fast = law.deviate(tail, p);
    bool answered = TalvoMP_fast_path_answers() > before;
    std::string where = law.name + " tail " + std::to_string(int(tail)) + " Digits " + std::to_string(digits) +
                        " p = " + talvo_float_to_string(p.handle(), 40);
    if (hard) {
        EXPECT_FALSE(answered) << "fast path answered a hard case: " << where;
        EXPECT_TRUE(SameFloat(fast, slow)) << where;
        return;
    }
    ++n.ordinary;
    if (answered)
        ++n.answered;
    if (SameFloat(fast, slow))
        return;
    // They differ: the fast one must be the correctly rounded float and the
    // slow one not.
    TalvoFloat reference;
    {
        DigitsScope more(digits + 40);
        TalvoMP_set_fast_paths(0);
        reference = law.deviate(tail, p);
        TalvoMP_set_fast_paths(1);
    }
    TalvoFloat correct = Rounded(reference, mpfr_get_prec(fast.mpfr()));
    EXPECT_TRUE(SameFloat(fast, correct)) << where;
    EXPECT_FALSE(SameFloat(slow, correct)) << where;
}

// Probabilities over the whole range, from a fixed sequence.
std::vector<std::string> Probabilities()
{
    std::vector<std::string> ps = {"1e-300", "1e-100", "1e-20", "1e-10", "0.001", "0.025", "0.1", "0.2499",
                                   "0.25",   "0.2501", "0.3",   "0.4999", "0.5",   "0.5001", "0.75", "0.9",
                                   "0.975",  "0.999",  "0.999999999", "0.999999999999999"};
    unsigned long s = 12345;
    for (int i = 0; i < 40; ++i) {
        s = s * 6364136223846793005UL + 1442695040888963407UL;
        double u = double(s >> 11) / 9007199254740992.0;
        char text[40];
        std::snprintf(text, sizeof text, "%.17g", u > 0 ? u : 0.5);
        ps.push_back(text);
    }
    return ps;
}

class FastPath : public ::testing::TestWithParam<long> {};

TEST_P(FastPath, DeviatesMatchTheFullLoop)
{
    const long digits = GetParam();
    DigitsScope scope(digits);
    const int was = TalvoMP_set_fast_paths(1);
    Counts n;
    for (const Law &law : Laws()) {
        for (Nag_TailProbability tail : {L, U, S, C}) {
            if (!law.all_tails && tail != L)
                continue;
            for (const std::string &text : Probabilities()) {
                TalvoFloat p = F(text.c_str());
                if (mpfr_cmp_ui(p.mpfr(), 0) <= 0 || mpfr_cmp_ui(p.mpfr(), 1) >= 0)
                    continue;
                Compare(law, tail, p, digits, false, n);
            }
        }
        // Hard cases: x halfway between two floats of the result's precision.
        const mpfr_prec_t prec = talvo_float_precision();
        for (const char *x0 : {"0.3", "1.2345", "2.5", "-0.7", "-3.25", "7.125"}) {
            TalvoFloat base = F(x0);
            if (!law.all_tails && mpfr_sgn(base.mpfr()) <= 0)
                continue;
            ALGEB h = talvo_float_new(prec + 1);
            mpfr_ptr x = talvo_float_mpfr(h);
            mpfr_set(x, base.mpfr(), MPFR_RNDN);
            mpfr_nextabove(x); // one unit of the (prec + 1)-bit float: half a unit of prec bits
            TalvoFloat tie = TalvoFloat::from_handle(h);
            ASSERT_GT(mpfr_min_prec(tie.mpfr()), prec);
            TalvoFloat p;
            {
                DigitsScope more(digits + 60);
                p = law.probability(L, tie);
            }
            Compare(law, L, p, digits, true, n);
        }
    }
    RecordProperty("ordinary", std::to_string(n.ordinary));
    RecordProperty("answered_by_fast_path", std::to_string(n.answered));
    if (digits <= 30) {
        // Nearly every ordinary point is answered by the fast path (a few
        // fall back: a ball that does not fix the rounding, a probability
        // below a double's range).
        EXPECT_GE(n.answered * 10, n.ordinary * 8) << n.answered << " of " << n.ordinary;
    } else {
        EXPECT_EQ(n.answered, 0);
    }
    TalvoMP_set_fast_paths(was);
}

// Shapes below the normal range of doubles (a float such as 2.4e-322 as a
// double is subnormal) must not reach the double-precision start: its
// inverse incomplete beta asserts on them (an abort in a build with
// assertions, like the sanitizer build) and is of no use there anyway.
// Each call returns, with a value or a failure, instead of aborting.
TEST(InversionStart, SubnormalShapesTakeTheAsymptoticStart)
{
    DigitsScope d(25);
    for (const char *tiny : {"2.3715151000379834e-322", "1e-310"}) {
        for (const char *p : {"0.3", "0.05"}) {
            NagError f{};
            TalvoFloat t = TalvoMP_g01fbc(Nag_UpperTail, F(p), F(tiny), &f);
            EXPECT_TRUE(f.code != 0 || t.handle() != nullptr) << "t, df = " << tiny;
            NagError g{};
            TalvoFloat x = TalvoMP_g01fec(F(p), F(tiny), F("0.5"), TalvoFloat(), &g);
            EXPECT_TRUE(g.code != 0 || x.handle() != nullptr) << "beta, a = " << tiny;
            NagError h{};
            TalvoFloat y = TalvoMP_g01fec(F(p), F("0.5"), F(tiny), TalvoFloat(), &h);
            EXPECT_TRUE(h.code != 0 || y.handle() != nullptr) << "beta, b = " << tiny;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Digits, FastPath, ::testing::Values(10L, 15L, 20L, 30L, 31L),
                         [](const ::testing::TestParamInfo<long> &i) { return "D" + std::to_string(i.param); });

} // namespace
