// closed_forms_test.cpp -- the closed-form distribution functions against
// the reference table made by scripts/reference/closed_forms.py.
#include "stats_support.hpp"

#include "distributions.hpp"
#include "reference_table.hpp"

#include <algorithm>
#include <functional>
#include <map>

using namespace stats::test;

namespace {

using Fn = std::function<TalvoFloat(const std::vector<TalvoFloat> &)>;

const std::map<std::string, Fn> &Functions()
{
    static const std::map<std::string, Fn> fns = {
        {"WeibullProbability", [](auto &a) { return STATS_WeibullProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"WeibullDeviate", [](auto &a) { return STATS_WeibullDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"ExponentialProbability", [](auto &a) { return STATS_ExponentialProbability_MP(kv(), a[0], a[1]); }},
        {"ExponentialDeviate", [](auto &a) { return STATS_ExponentialDeviate_MP(kv(), a[0], a[1]); }},
    };
    return fns;
}

} // namespace

// Every closed form of the table, at every precision, within one unit of the
// last digit of mpmath's value.
TEST(ClosedForms, AgreeWithMpmathToTheLastDigit)
{
    auto cases = ReadReferenceTable(TALVO_TEST_DATA "/closed_forms.tsv");
    ASSERT_GE(cases.size(), 100u);
    double worst = 0;
    for (const ReferenceCase &c : cases) {
        DigitsScope d(c.digits);
        std::vector<TalvoFloat> args;
        for (const std::string &a : c.args)
            args.push_back(F(a.c_str()));
        TalvoFloat x = Functions().at(c.function)(args);
        double err = ErrorInLastDigits(x, c.value, c.digits);
        worst = std::max(worst, err);
        EXPECT_LT(err, 1.0) << c.function << " at " << c.digits << " digits, arguments " << c.args[0] << ", "
                            << c.args[1] << ": " << show(x.handle()) << " against " << c.value;
    }
    RecordProperty("worst_error_in_last_digits", std::to_string(worst));
}

