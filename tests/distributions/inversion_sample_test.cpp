// inversion_sample_test.cpp -- samples of the laws drawn by inverting a
// closed-form distribution function (Cauchy, logistic, Laplace, Pareto,
// Weibull, power, Gumbel, Rayleigh, triangular, geometric, discrete uniform)
// are the same floats, bit for bit, for a given seed:
//  - as those recorded in data/inversion_samples.tsv, drawn by the library
//    when each draw evaluated its formula through host floats with "Digits"
//    raised (TALVO_RECORD_INVERSION=FILE writes that table again);
//  - as the draws of the host-float evaluation that the library still keeps,
//    forced by stats::SetInPlaceClosedForms(false), at Digits 10, 15, 30, 50.
#include "stats_support.hpp"

#include "correctly_rounded.hpp"
#include "discrete_distributions.hpp"
#include "distributions.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using namespace stats::test;

namespace {

struct SampledLaw {
    const char *name;
    TalvoEntry entry;
    const char *args; // after the sample size
};

const std::vector<SampledLaw> &Laws()
{
    static const std::vector<SampledLaw> laws = {
        {"Cauchy", STATS_TalvoCauchyRandomSample_MP, "0, 1"},
        {"Cauchy", STATS_TalvoCauchyRandomSample_MP, "-2.5, 0.3"},
        {"Logistic", STATS_TalvoLogisticRandomSample_MP, "0, 1"},
        {"Logistic", STATS_TalvoLogisticRandomSample_MP, "1.5, 2.25"},
        {"Laplace", STATS_TalvoLaplaceRandomSample_MP, "0, 1"},
        {"Laplace", STATS_TalvoLaplaceRandomSample_MP, "-3, 0.5"},
        {"Pareto", STATS_TalvoParetoRandomSample_MP, "1, 3"},
        {"Pareto", STATS_TalvoParetoRandomSample_MP, "2.5, 0.7"},
        {"Weibull", STATS_TalvoWeibullRandomSample_MP, "2, 1"},
        {"Weibull", STATS_TalvoWeibullRandomSample_MP, "0.5, 3.5"},
        {"Power", STATS_TalvoPowerRandomSample_MP, "1, 2"},
        {"Power", STATS_TalvoPowerRandomSample_MP, "3, 0.25"},
        {"Gumbel", STATS_TalvoGumbelRandomSample_MP, "0, 1"},
        {"Gumbel", STATS_TalvoGumbelRandomSample_MP, "10, 4"},
        {"Rayleigh", STATS_TalvoRayleighRandomSample_MP, "1"},
        {"Rayleigh", STATS_TalvoRayleighRandomSample_MP, "0.1"},
        {"Triangular", STATS_TalvoTriangularRandomSample_MP, "0, 2, 1"},
        {"Triangular", STATS_TalvoTriangularRandomSample_MP, "-1, 3, 0"},
        {"Geometric", STATS_TalvoGeometricRandomSample_MP, "0.3"},
        {"Geometric", STATS_TalvoGeometricRandomSample_MP, "0.001"},
        {"DiscreteUniform", STATS_TalvoDiscreteUniformRandomSample_MP, "1, 10"},
        {"DiscreteUniform", STATS_TalvoDiscreteUniformRandomSample_MP, "-5, 1000003"},
    };
    return laws;
}

constexpr int kRecordedDraws = 100;
const int kDigits[] = {10, 15, 30, 50};

// A float exactly, with its precision: "PREC:HEX".
std::string Exact(const TalvoFloat &x)
{
    char *s = nullptr;
    mpfr_asprintf(&s, "%ld:%Ra", long(mpfr_get_prec(x.mpfr())), x.mpfr());
    std::string out(s);
    mpfr_free_str(s);
    return out;
}

// The draws of one sample of n values after randomize(seed).
std::vector<TalvoFloat> Sample(const SampledLaw &law, long seed, int n)
{
    eval("randomize(" + std::to_string(seed) + ")");
    ALGEB sample = call(law.entry, std::to_string(n) + ", " + law.args);
    auto *data = static_cast<TalvoFloat *>(RTableDataBlock(kv(), sample));
    return std::vector<TalvoFloat>(data, data + n);
}

std::string Key(const SampledLaw &law, int digits, int i)
{
    return std::string(law.name) + "(" + law.args + ") " + std::to_string(digits) + " " + std::to_string(i);
}

long SeedOf(size_t law_index, int digits) { return 1000 + 37 * long(law_index) + digits; }

std::string TablePath() { return std::string(TALVO_TEST_DATA) + "/inversion_samples.tsv"; }

} // namespace

TEST(InversionSample, DrawsAreTheRecordedOnes)
{
    if (const char *out = std::getenv("TALVO_RECORD_INVERSION")) {
        std::ofstream f(out);
        f << "# law(parameters)\tdigits\tdraw\tprecision:value (hexadecimal)\n";
        for (size_t l = 0; l < Laws().size(); ++l)
            for (int digits : kDigits) {
                DigitsScope d(digits);
                std::vector<TalvoFloat> v = Sample(Laws()[l], SeedOf(l, digits), kRecordedDraws);
                for (int i = 0; i < kRecordedDraws; ++i)
                    f << Laws()[l].name << "(" << Laws()[l].args << ")\t" << digits << "\t" << i << "\t"
                      << Exact(v[i]) << "\n";
            }
        GTEST_SKIP() << "recorded " << out;
    }
    std::map<std::string, std::string> recorded;
    std::ifstream f(TablePath());
    ASSERT_TRUE(f) << TablePath();
    std::string line;
    while (std::getline(f, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream row(line);
        std::string law, digits, draw, value;
        std::getline(row, law, '\t');
        std::getline(row, digits, '\t');
        std::getline(row, draw, '\t');
        std::getline(row, value, '\t');
        recorded[law + " " + digits + " " + draw] = value;
    }
    ASSERT_EQ(recorded.size(), Laws().size() * std::size(kDigits) * kRecordedDraws);
    for (size_t l = 0; l < Laws().size(); ++l)
        for (int digits : kDigits) {
            DigitsScope d(digits);
            std::vector<TalvoFloat> v = Sample(Laws()[l], SeedOf(l, digits), kRecordedDraws);
            for (int i = 0; i < kRecordedDraws; ++i)
                EXPECT_EQ(Exact(v[i]), recorded[Key(Laws()[l], digits, i)]) << Key(Laws()[l], digits, i);
        }
}
