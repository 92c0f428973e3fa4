// continuous_checks.hpp -- checks every continuous distribution's tests
// share: the argument-count messages of its four entries, the variate as
// the deviate of one uniform, the order in which a sample draws, round trips
// between probability and deviate, and a Kolmogorov-Smirnov test of many
// draws against the distribution's CDF.
#pragma once

#include "stats_support.hpp"

#include "distributions.hpp"
#include "reference_table.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace stats::test {

using Params = std::vector<TalvoFloat>;

// One distribution as the checks see it: its name, its entries, its inner
// functions with the parameters in a vector, and the CDF in doubles of the
// parameters given as `params` (for the goodness-of-fit test).
struct Continuous {
    std::string name;
    std::vector<std::string> params;
    TalvoEntry probability, deviate, variate, sample;
    std::function<TalvoFloat(TalvoFloat, const Params &)> prob, dev;
    std::function<TalvoFloat(const Params &)> draw;
    std::function<TalvoFloat(const TalvoFloat *)> draw_array;
    std::function<double(double)> cdf;

    Params values() const
    {
        Params v;
        for (const std::string &p : params)
            v.push_back(F(p.c_str()));
        return v;
    }
    std::string param_text() const
    {
        std::string s;
        for (const std::string &p : params)
            s += (s.empty() ? "" : ", ") + p;
        return s;
    }
};

// "1, 2, ..., n"
inline std::string Numbers(int n)
{
    std::string s;
    for (int i = 1; i <= n; ++i)
        s += (i > 1 ? ", " : "") + std::to_string(i);
    return s;
}

inline std::string CountMessage(const std::string &entry, int n, const std::string &received)
{
    return "Error: " + entry + " expects " + std::to_string(n) + (n == 1 ? " argument" : " arguments") +
           ", received: " + received;
}

// Each entry refuses one argument too few and one too many with its message;
// `probability_name` and `deviate_name` name the entry a message speaks of
// where it is not the entry's own.
inline void ExpectCountMessages(const Continuous &d, std::string probability_name = "",
                                std::string deviate_name = "")
{
    int k = int(d.params.size());
    if (probability_name.empty())
        probability_name = "Talvo" + d.name + "Probability";
    if (deviate_name.empty())
        deviate_name = "Talvo" + d.name + "Deviate";
    struct Row {
        TalvoEntry entry;
        std::string name;
        int count;
    } rows[] = {{d.probability, probability_name, k + 1},
                {d.deviate, deviate_name, k + 1},
                {d.variate, "Talvo" + d.name + "RandomVariate", k},
                {d.sample, "Talvo" + d.name + "RandomSample", k + 1}};
    for (const Row &r : rows) {
        for (int n : {r.count - 1, r.count + 1}) {
            if (n == 0)
                continue;
            EXPECT_EQ(result(r.entry, Numbers(n)), CountMessage(r.name, r.count, Numbers(n)));
        }
    }
    // A parameter that is not a number: the conversion's error, nothing of the entry's.
    std::string bad = "s";
    for (int i = 1; i < k; ++i)
        bad += ", 1";
    EXPECT_EQ(result(d.variate, bad), "Error: unable to evaluate s to floating-point");
    EXPECT_EQ(result(d.probability, "0.5, " + bad), "Error: unable to evaluate s to floating-point");
}

// The variate, its array overload and its entry each take one uniform and
// return the deviate there.
inline void ExpectVariateIsDeviateOfOneUniform(const Continuous &d)
{
    ReplayStream s;
    s.uniforms({"0.3", "0.8", "0.55"});
    Params v = d.values();
    EXPECT_TRUE(d.draw(v) == d.dev(F("0.3"), v)) << d.name;
    EXPECT_TRUE(d.draw_array(v.data()) == d.dev(F("0.8"), v)) << d.name;
    EXPECT_EQ(result(d.variate, d.param_text()), show(d.dev(F("0.55"), v).handle())) << d.name;
    EXPECT_EQ(s.uniforms_taken(), 3);
    EXPECT_EQ(s.ints_taken(), 0);
}

// A sample's element i is the variate of the i-th uniform; lengths 0 and -2
// draw nothing.
inline void ExpectSampleDrawsInElementOrder(const Continuous &d, std::function<TalvoFloat(const char *)> of_uniform)
{
    {
        ReplayStream s;
        s.uniforms({"0.2", "0.7", "0.45"});
        std::string expected = "Array(1..3, [" + show(of_uniform("0.2").handle()) + ", " +
                               show(of_uniform("0.7").handle()) + ", " + show(of_uniform("0.45").handle()) +
                               "], datatype = sfloat)";
        EXPECT_EQ(result(d.sample, "3, " + d.param_text()), expected);
        EXPECT_TRUE(s.exhausted());
    }
    ReplayStream s;
    EXPECT_EQ(result(d.sample, "0, " + d.param_text()), "Array(1..0, [], datatype = sfloat)");
    EXPECT_EQ(result(d.sample, "-2, " + d.param_text()), "Array(1..-2, [], datatype = sfloat)");
    EXPECT_EQ(s.uniforms_taken(), 0);
}

// Probability(Deviate(p)) gives back p within `units` of its last digit, at
// 15, 30 and 50 digits.
inline void ExpectRoundTrips(const Continuous &d, std::initializer_list<const char *> ps, double units)
{
    for (int digits : {15, 30, 50}) {
        DigitsScope scope(digits);
        Params v = d.values();
        for (const char *p : ps) {
            TalvoFloat x = d.dev(F(p), v);
            TalvoFloat q = d.prob(x, v);
            EXPECT_LT(ErrorInLastDigits(q, p, digits), units) << d.name << " p = " << p << " at " << digits;
        }
    }
}

// Deviate(Probability(x)) gives back x within `units` of its last digit.
inline void ExpectInverseRoundTrips(const Continuous &d, std::initializer_list<const char *> xs, double units)
{
    for (int digits : {15, 30, 50}) {
        DigitsScope scope(digits);
        Params v = d.values();
        for (const char *x : xs) {
            TalvoFloat p = d.prob(F(x), v);
            TalvoFloat y = d.dev(p, v);
            EXPECT_LT(ErrorInLastDigits(y, x, digits), units) << d.name << " x = " << x << " at " << digits;
        }
    }
}

// Kolmogorov-Smirnov distance of n draws (seeded with `seed`, at `digits`)
// from the CDF; the test fails above the critical value at the 0.001 level.
inline double ExpectKolmogorovSmirnov(const Continuous &d, int digits, int n, int seed)
{
    DigitsScope scope(digits);
    eval("randomize(" + std::to_string(seed) + ")");
    Params v = d.values();
    std::vector<double> x(n);
    for (double &t : x)
        t = d.draw(v).to_double();
    std::sort(x.begin(), x.end());
    double dist = 0;
    for (int i = 0; i < n; ++i) {
        double c = d.cdf(x[i]);
        dist = std::max({dist, std::fabs(double(i + 1) / n - c), std::fabs(c - double(i) / n)});
    }
    double critical = 1.9495 / std::sqrt(double(n));
    EXPECT_LT(dist, critical) << d.name << ": Kolmogorov-Smirnov distance of " << n << " draws at " << digits
                              << " digits";
    std::printf("[   KS     ] %s(%s), %d draws at %d digits: D = %.5f (critical %.5f)\n", d.name.c_str(),
                d.param_text().c_str(), n, digits, dist, critical);
    return dist;
}

} // namespace stats::test
