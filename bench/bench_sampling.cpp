// bench_sampling -- the sampling engines against their floors, at 15 and 50
// digits.
//
//   alias urn    one draw of STATS_AliasUrnGenerator_MP::Next against the
//                floor of one random integer and one uniform from the random
//                stream (what any alias method needs per draw), for urns of
//                several sizes (a power of two rejects half of its integers);
//                and per draw of the weighted index sample entry, array
//                included.
//   envelope     the adaptive rejection generator after its envelope has
//                settled: density evaluations per draw (the host procedure
//                counts its calls) and microseconds per draw, against the
//                library's own normal variate (the ziggurat generator) as the
//                peer for the normal law.
//
// Usage: bench_sampling
#include "timing.hpp"

#include "alias_urn.hpp"
#include "api.hpp"
#include "distributions.hpp"
#include "envelope.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "parse.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <utility>
#include <string>
#include <vector>

namespace {

ALGEB Run(const std::string &text)
{
    talvo::Parser p(text);
    talvo::ParsedStatement st;
    ALGEB last = talvo::null_seq();
    while (p.next(&st))
        last = talvo::eval(st.stmt);
    return last;
}

long Calls() { return TalvoToInteger32(talvo::kernel_vector(), Run("calls;")); }

// The best of five alternating timings of each of two calls, so that both
// see the same load of the machine.
std::pair<double, double> BestOfAlternating(const std::function<void()> &a, const std::function<void()> &b)
{
    double ta = 1e300, tb = 1e300;
    for (int round = 0; round < 5; ++round) {
        ta = std::min(ta, bench::BestMicros(a));
        tb = std::min(tb, bench::BestMicros(b));
    }
    return {ta, tb};
}

void Urns(int digits)
{
    talvo::set_digits(digits);
    Run("randomize(1):");
    auto floor = [] {
        volatile int j = STATS_TalvoRandomStream_MP::NextInteger();
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        (void)j;
        (void)u;
    };
    for (int n : {3, 10, 1000, 1024, 100000}) {
        std::vector<TalvoFloat> w;
        for (int i = 0; i < n; ++i)
            w.push_back(TalvoFloat(1.0 + (i * 7919) % 97));
        STATS_AliasUrnGenerator_MP urn(n, n, w.data());
        auto [f, next] = BestOfAlternating(floor, [&] {
            volatile int j = urn.Next();
            (void)j;
        });
        // The entry: draws into a new array (ten per cell at least, so that
        // the urn's build is a small part), weights already floats.
        long draws = std::max(10000L, 10L * n);
        Run("W := Array(1.." + std::to_string(n) + ", [seq(1 + irem(i*7919, 97), i = 0.." + std::to_string(n - 1) +
            ")], datatype = sfloat):");
        ALGEB args = Run(std::to_string(draws) + ", W;");
        auto [f2, entry] = BestOfAlternating(floor, [&] { STATS_TalvoAliasUrnSample_MP(talvo::kernel_vector(), args); });
        entry /= double(draws);
        std::printf("%6d %8d %9.3f %9.3f (%4.2f) %9.3f (%4.2f)\n", digits, n, f, next, next / f, entry,
                    entry / std::min(f, f2));
    }
    talvo::set_digits(10);
}

struct Law {
    const char *name, *density, *derivative, *points;
};

void Envelope(int digits, const Law &law, int maximum, double peer)
{
    talvo::set_digits(digits);
    Run("randomize(2):");
    Run(std::string("calls := 0: f := proc(x) global calls; calls := calls + 1; ") + law.density + " end proc:");
    std::string spec = std::string("[f, ") + law.derivative + ", " + law.points + ", " + std::to_string(maximum) +
                       ", true];";
    STATS_EnvelopeGenerator_MP g(talvo::kernel_vector());
    g.initialize(talvo::kernel_vector(), Run(spec));
    for (int i = 0; i < 5000; ++i) // the envelope settles
        g.next(talvo::kernel_vector());
    Run("calls := 0:");
    const int draws = 20000;
    double seconds = bench::BestSeconds([&] {
        for (int i = 0; i < draws; ++i)
            g.next(talvo::kernel_vector());
    });
    double evaluations = double(Calls()) / (3.0 * draws);
    double us = 1e6 * seconds / draws;
    if (peer > 0)
        std::printf("%6d %-12s %5d %6u %10.4f %9.3f %9.3f (%4.2f)\n", digits, law.name, maximum,
                    g.envelope()->size(), evaluations, us, peer, us / peer);
    else
        std::printf("%6d %-12s %5d %6u %10.4f %9.3f\n", digits, law.name, maximum, g.envelope()->size(), evaluations,
                    us);
    talvo::set_digits(10);
}

} // namespace

int main()
{
    talvo::host_init();
    STATS_StatsInitialize_MP(talvo::kernel_vector(), talvo::null_seq());

    std::printf("alias urn: microseconds per draw (best of 3); in parentheses the ratio to the floor of one random\n"
                "integer and one uniform per draw (goal: within 2)\n");
    std::printf("%6s %8s %9s %16s %16s\n", "digits", "cells", "floor", "Next", "sample entry");
    for (int digits : {15, 50})
        Urns(digits);

    std::printf("\nadaptive rejection after 5000 draws: density evaluations per draw over 20000 draws (goal for the\n"
                "normal: under 1.1), microseconds per draw; for the normal the library's ziggurat normal variate\n"
                "as the peer, with the ratio\n");
    std::printf("%6s %-12s %5s %6s %10s %9s %16s\n", "digits", "law", "max", "pieces", "evals", "us", "ziggurat");
    const Law normal{"normal", "exp(-x^2/2)", "x -> -x*exp(-x^2/2)", "[-12, -1, 1, 12]"};
    const Law gamma3{"gamma(3)", "x^2*exp(-x)", "x -> (2*x - x^2)*exp(-x)",
                     "[0, evalf(2 - sqrt(2)), evalf(2 + sqrt(2)), 60]"};
    const Law beta25{"beta(2, 5)", "x*(1 - x)^4", "x -> (1 - x)^3*(1 - 5*x)", "[0, 0.4, 1]"};
    for (int digits : {15, 50}) {
        talvo::set_digits(digits);
        double peer = bench::BestMicros([] {
            TalvoFloat z = STATS_NormalRandomVariate_MP(talvo::kernel_vector(), TalvoFloat(0.0), TalvoFloat(1.0));
            (void)z;
        });
        talvo::set_digits(10);
        for (int maximum : {10, 20, 50, 100})
            Envelope(digits, normal, maximum, peer);
        Envelope(digits, gamma3, 50, 0);
        Envelope(digits, beta25, 50, 0);
    }
    return 0;
}
