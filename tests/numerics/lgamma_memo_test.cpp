// lgamma_memo_test.cpp -- the table of ln Gamma values (special/lgamma_memo.cpp):
// the routines that read it give the same bits with it as without it, and
// repeated shapes are answered from it.  The other values the series keep
// between calls (the double estimates of the point and the shapes,
// special/series.cpp; the Poisson weights, noncentral/mixture.cpp) are
// checked the same way: a result does not depend on the calls before it.
#include "checks.hpp"

#include <mpfr.h>

#include <string>
#include <vector>

namespace {

using namespace talvo::test;

// Every routine that takes ln Gamma through the table, over shapes that
// repeat (as in a sample) and points that do not; the results in order.
std::vector<TalvoFloat> RunEveryRoutine(bool reversed = false)
{
    std::vector<TalvoFloat> out;
    const TalvoFloat tol(0.0);
    const char *shapes[] = {"2.5", "0.75", "7", "13.1"};
    for (int pass = 0; pass < 2; ++pass)
        for (int sh = 0; sh < 4; ++sh)
            for (int kk = 1; kk <= 6; ++kk) {
                const char *a = shapes[reversed ? 3 - sh : sh];
                const int k = reversed ? 7 - kk : kk;
                const TalvoFloat x = TalvoFloat(double(k)) * F("0.37") + TalvoFloat(double(pass)) * F("0.011");
                const TalvoFloat u = TalvoFloat(double(k)) / TalvoFloat(7.0);
                NagError f{};
                out.push_back(TalvoMP_g01gcc(x * F("3"), F(a), F("4.5"), tol, 100000, &f));
                out.push_back(TalvoMP_g01gdc(x, F(a), F("9.25"), F("3"), tol, 100000, &f));
                out.push_back(TalvoMP_g01gec(u, F(a), F("3.5"), F("2.75"), tol, 100000, &f));
                out.push_back(TalvoMP_g01efc(Nag_LowerTail, x * F("2"), F(a), F("1.5"), &f));
                TalvoFloat p, q, pdf;
                TalvoMP_g01eec(u, F(a), F("4.25"), tol, &p, &q, &pdf, &f);
                out.push_back(p);
                out.push_back(q);
                out.push_back(pdf);
                out.push_back(TalvoMP_g01fec(u, F(a), F("2.5"), tol, &f));
                EXPECT_EQ(f.code, NE_NOERROR) << f.message;
            }
    return out;
}

bool SameBits(const TalvoFloat &a, const TalvoFloat &b)
{
    if (mpfr_nan_p(a.mpfr()) || mpfr_nan_p(b.mpfr()))
        return mpfr_nan_p(a.mpfr()) && mpfr_nan_p(b.mpfr());
    return mpfr_get_prec(a.mpfr()) == mpfr_get_prec(b.mpfr()) && mpfr_equal_p(a.mpfr(), b.mpfr()) &&
           mpfr_signbit(a.mpfr()) == mpfr_signbit(b.mpfr());
}

TEST(LgammaMemo, ResultsAreTheSameBitsWithAndWithoutTheTable)
{
    for (long digits : {15L, 50L, 200L}) {
        DigitsScope d(digits);
        const int was = TalvoMP_set_lgamma_memo(0);
        const long hits_off = TalvoMP_lgamma_memo_hits();
        const std::vector<TalvoFloat> fresh = RunEveryRoutine();
        EXPECT_EQ(TalvoMP_lgamma_memo_hits(), hits_off) << "the table is not read while it is off";
        TalvoMP_set_lgamma_memo(1);
        // Twice: the first run fills the table, the second reads it.
        for (int run = 0; run < 2; ++run) {
            const long before = TalvoMP_lgamma_memo_hits();
            const std::vector<TalvoFloat> kept = RunEveryRoutine();
            ASSERT_EQ(kept.size(), fresh.size());
            for (size_t i = 0; i < kept.size(); ++i)
                EXPECT_TRUE(SameBits(kept[i], fresh[i]))
                    << "Digits " << digits << ", run " << run << ", result " << i << ": " << kept[i].to_double()
                    << " against " << fresh[i].to_double();
            // Repeated shapes and rungs come back from the table.
            EXPECT_GT(TalvoMP_lgamma_memo_hits(), before + long(fresh.size()) / 4) << "Digits " << digits;
        }
        TalvoMP_set_lgamma_memo(was);
    }
}

// The same calls in the opposite order meet the kept values in another
// state (other hits, other misses, other slots overwritten): every result is
// the same bits.
TEST(LgammaMemo, ResultsDoNotDependOnTheCallsBefore)
{
    for (long digits : {15L, 50L}) {
        DigitsScope d(digits);
        const std::vector<TalvoFloat> forward = RunEveryRoutine();
        const std::vector<TalvoFloat> backward = RunEveryRoutine(true);
        ASSERT_EQ(forward.size(), backward.size());
        // Result i of the forward run is made by the call of shape sh, step k
        // and pass; in the backward run that call comes at shape 3 - sh and
        // step 7 - k of the same pass, in blocks of eight results.
        const size_t per = 8, steps = 6, shapes = 4;
        for (size_t pass = 0; pass < 2; ++pass)
            for (size_t sh = 0; sh < shapes; ++sh)
                for (size_t k = 0; k < steps; ++k)
                    for (size_t r = 0; r < per; ++r) {
                        const size_t i = ((pass * shapes + sh) * steps + k) * per + r;
                        const size_t j = ((pass * shapes + (shapes - 1 - sh)) * steps + (steps - 1 - k)) * per + r;
                        EXPECT_TRUE(SameBits(forward[i], backward[j]))
                            << "Digits " << digits << ", result " << i << ": " << forward[i].to_double()
                            << " against " << backward[j].to_double();
                    }
    }
}

} // namespace
