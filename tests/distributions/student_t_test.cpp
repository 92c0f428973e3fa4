// student_t_test.cpp -- Student's t variates and samples (student_t.cpp) are
// the same floats whether the numerics library's deviate takes its fast path
// at up to 30 digits or its full inversion: for one seed, the draws of both
// agree bit for bit, at Digits 10, 15, 20, 30 and 31, for several degrees of
// freedom (the same uniforms are consumed, and each draw is the correctly
// rounded deviate wherever the full loop's is).
#include "stats_support.hpp"

#include "api.hpp"

#include "sampling_distributions.hpp"
#include "talvo_mp.h"

#include <string>
#include <vector>

using namespace stats::test;

namespace {

constexpr int kDraws = 300;

bool SameFloat(const TalvoFloat &a, const TalvoFloat &b)
{
    return mpfr_get_prec(a.mpfr()) == mpfr_get_prec(b.mpfr()) && mpfr_equal_p(a.mpfr(), b.mpfr());
}

std::vector<TalvoFloat> Draws(long seed, const char *nu_text, bool fast)
{
    int was = TalvoMP_set_fast_paths(fast ? 1 : 0);
    eval("randomize(" + std::to_string(seed) + ")");
    TalvoFloat nu = F(nu_text);
    std::vector<TalvoFloat> draws;
    for (int i = 0; i < kDraws; ++i)
        draws.push_back(STATS_StudentTRandomVariate_MP(kv(), nu));
    TalvoMP_set_fast_paths(was);
    return draws;
}

} // namespace

class StudentTFastPath : public ::testing::TestWithParam<int> {};

TEST_P(StudentTFastPath, VariatesAreThoseOfTheFullInversion)
{
    DigitsScope d(GetParam());
    for (const char *nu : {"1", "2.5", "7", "60"}) {
        long seed = 4242 + GetParam();
        long before = TalvoMP_fast_path_answers();
        std::vector<TalvoFloat> fast = Draws(seed, nu, true);
        long answered = TalvoMP_fast_path_answers() - before;
        std::vector<TalvoFloat> full = Draws(seed, nu, false);
        ASSERT_EQ(fast.size(), full.size());
        for (size_t i = 0; i < fast.size(); ++i)
            EXPECT_TRUE(SameFloat(fast[i], full[i])) << "nu = " << nu << " draw " << i << " at " << GetParam()
                                                     << " digits";
        if (GetParam() <= 30)
            EXPECT_GE(answered * 10, long(kDraws) * 9) << "nu = " << nu;
        else
            EXPECT_EQ(answered, 0) << "nu = " << nu;
    }
}

TEST_P(StudentTFastPath, SampleEntryIsThatOfTheFullInversion)
{
    DigitsScope d(GetParam());
    const int n = 200;
    auto sample = [&](bool fast) {
        int was = TalvoMP_set_fast_paths(fast ? 1 : 0);
        eval("randomize(77)");
        ALGEB a = call(STATS_TalvoStudentTRandomSample_MP, std::to_string(n) + ", 3.5");
        const auto *v = static_cast<const TalvoFloat *>(RTableDataBlock(kv(), a));
        std::vector<TalvoFloat> values(v, v + n);
        TalvoMP_set_fast_paths(was);
        return values;
    };
    std::vector<TalvoFloat> fast = sample(true), full = sample(false);
    for (int i = 0; i < n; ++i)
        EXPECT_TRUE(SameFloat(fast[i], full[i])) << "element " << i + 1 << " at " << GetParam() << " digits";
    // Not all alike.
    EXPECT_FALSE(SameFloat(fast[0], fast[1]));
}

INSTANTIATE_TEST_SUITE_P(Digits, StudentTFastPath, ::testing::Values(10, 15, 20, 30, 31));
