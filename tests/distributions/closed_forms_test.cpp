// closed_forms_test.cpp -- the closed-form distribution functions, and the
// normal functions they build on, against the reference table made by
// scripts/reference/closed_forms.py.
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
        {"UniformProbability", [](auto &a) { return STATS_UniformProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"UniformDeviate", [](auto &a) { return STATS_UniformDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"TriangularProbability", [](auto &a) { return STATS_TriangularProbability_MP(kv(), a[0], a[1], a[2], a[3]); }},
        {"TriangularDeviate", [](auto &a) { return STATS_TriangularDeviate_MP(kv(), a[0], a[1], a[2], a[3]); }},
        {"RayleighProbability", [](auto &a) { return STATS_RayleighProbability_MP(kv(), a[0], a[1]); }},
        {"RayleighDeviate", [](auto &a) { return STATS_RayleighDeviate_MP(kv(), a[0], a[1]); }},
        {"PowerProbability", [](auto &a) { return STATS_PowerProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"PowerDeviate", [](auto &a) { return STATS_PowerDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"ParetoProbability", [](auto &a) { return STATS_ParetoProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"ParetoDeviate", [](auto &a) { return STATS_ParetoDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"LogisticProbability", [](auto &a) { return STATS_LogisticProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"LogisticDeviate", [](auto &a) { return STATS_LogisticDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"LaplaceProbability", [](auto &a) { return STATS_LaplaceProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"LaplaceDeviate", [](auto &a) { return STATS_LaplaceDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"GumbelProbability", [](auto &a) { return STATS_GumbelProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"GumbelDeviate", [](auto &a) { return STATS_GumbelDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"CauchyProbability", [](auto &a) { return STATS_CauchyProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"CauchyDeviate", [](auto &a) { return STATS_CauchyDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"NormalProbability", [](auto &a) { return STATS_NormalProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"NormalDeviate", [](auto &a) { return STATS_NormalDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"LogNormalProbability", [](auto &a) { return STATS_LogNormalProbability_MP(kv(), a[0], a[1], a[2]); }},
        {"LogNormalDeviate", [](auto &a) { return STATS_LogNormalDeviate_MP(kv(), a[0], a[1], a[2]); }},
        {"NormalDeviateApprox", [](auto &a) { return STATS_NormalDeviateApprox_MP(kv(), a[0]); }},
        {"NormalWApprox", [](auto &a) { return STATS_NormalWApprox_MP(kv(), a[0], a[1], a[2]); }},
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
    std::map<std::string, double> worst_of;
    for (const ReferenceCase &c : cases) {
        DigitsScope d(c.digits);
        std::vector<TalvoFloat> args;
        for (const std::string &a : c.args)
            args.push_back(F(a.c_str()));
        TalvoFloat x = Functions().at(c.function)(args);
        double err = ErrorInLastDigits(x, c.value, c.digits);
        worst = std::max(worst, err);
        worst_of[c.function] = std::max(worst_of[c.function], err);
        EXPECT_LT(err, 1.0) << c.function << " at " << c.digits << " digits, arguments " << c.args[0] << ", "
                            << (c.args.size() > 1 ? c.args[1] : "") << ": " << show(x.handle()) << " against "
                            << c.value;
    }
    for (auto &[name, err] : worst_of)
        RecordProperty("worst_" + name, std::to_string(err));
    RecordProperty("worst_error_in_last_digits", std::to_string(worst));
}

