// bench_descriptive_sums -- the sum-based statistics over a million values,
// through the host entries, against MPFR's floor, at 15 and 50 digits.
//
//   floor         one in-place mpfr_add per value into an accumulator, over
//                 a preallocated array: the least any mean can cost;
//   mean          STATS_TalvoMean_MP(data, no weights, false, 0) on an sfloat
//                 Array (the data block is read in place);
//   mean ignore   the same with ignore true (the data are copied first);
//   mean weighted with a weights Array of the same length;
//   tally         STATS_TalvoTally_MP on an int32 Array of a million integers
//                 in 0 .. 999 (a host table of a thousand keys).
//
// Prints microseconds per value (best of three runs) and the ratio to the
// floor.  Usage: bench_descriptive_sums [n]
#include "timing.hpp"
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "stats_entries.h"

#include <gmp.h>
#include <mpfr.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

namespace {

// Uniform values in [0, 1) at the current precision, one per element.
ALGEB FloatArray(TKernelVector kv, long n, unsigned seed)
{
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = RTABLE_DAG;
    s.element_type = ToTalvoName(kv, "sfloat", 1);
    s.storage = RTABLE_RECT;
    s.num_dimensions = 1;
    M_INT bounds[2] = {1, n};
    ALGEB a = RTableCreate(kv, &s, nullptr, bounds);
    auto *x = static_cast<ALGEB *>(RTableDataBlock(kv, a));
    std::mt19937_64 gen(seed);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    for (long i = 0; i < n; ++i)
        x[i] = talvo_float_from_double(u(gen), 0);
    return a;
}

ALGEB Args(TKernelVector kv, std::initializer_list<ALGEB> values)
{
    ALGEB s = NewTalvoExpressionSequence(kv, static_cast<M_INT>(values.size()));
    M_INT i = 1;
    for (ALGEB v : values)
        TalvoExpseqAssign(kv, s, i++, v);
    return s;
}

ALGEB Empty(TKernelVector kv)
{
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    M_INT bounds[2] = {1, 0};
    return RTableCreate(kv, &s, nullptr, bounds);
}

double Floor(int digits, long n)
{
    mpfr_prec_t prec = talvo_float_precision_bits(digits);
    std::vector<__mpfr_struct> x(static_cast<size_t>(n));
    std::mt19937_64 gen(1);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    for (auto &v : x) {
        mpfr_init2(&v, prec);
        mpfr_set_d(&v, u(gen), MPFR_RNDN);
    }
    mpfr_t sum;
    mpfr_init2(sum, prec);
    double s = bench::BestSeconds([&] {
        mpfr_set_zero(sum, 1);
        for (auto &v : x)
            mpfr_add(sum, sum, &v, MPFR_RNDN);
    });
    if (mpfr_cmp_ui(sum, 0) <= 0)
        std::abort();
    mpfr_clear(sum);
    for (auto &v : x)
        mpfr_clear(&v);
    return s;
}

double Mean(int digits, long n, bool ignore, bool weighted)
{
    talvo::set_digits(digits);
    TKernelVector kv = talvo::kernel_vector();
    ALGEB data = FloatArray(kv, n, 1);
    ALGEB weights = weighted ? FloatArray(kv, n, 2) : Empty(kv);
    ALGEB args = Args(kv, {data, weights, ToTalvoBoolean(kv, ignore), ToTalvoInteger(kv, 0)});
    TalvoGcProtect(kv, args);
    double s = bench::BestSeconds([&] {
        ALGEB m = STATS_TalvoMean_MP(kv, args);
        if (!(TalvoFloat::from_handle(m) > 0L))
            std::abort();
    });
    TalvoGcAllow(kv, args);
    talvo::set_digits(10);
    return s;
}

double Tally(long n)
{
    TKernelVector kv = talvo::kernel_vector();
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = RTABLE_INTEGER32;
    s.storage = RTABLE_RECT;
    s.num_dimensions = 1;
    M_INT bounds[2] = {1, n};
    ALGEB data = RTableCreate(kv, &s, nullptr, bounds);
    auto *x = static_cast<int32_t *>(RTableDataBlock(kv, data));
    std::mt19937 gen(3);
    for (long i = 0; i < n; ++i)
        x[i] = static_cast<int32_t>(gen() % 1000);
    ALGEB args = Args(kv, {data, Empty(kv)});
    TalvoGcProtect(kv, args);
    double t = bench::BestSeconds([&] {
        ALGEB table = STATS_TalvoTally_MP(kv, args);
        if (!IsTalvoTable(kv, table))
            std::abort();
    });
    TalvoGcAllow(kv, args);
    return t;
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    STATS_StatsInitialize_MP(talvo::kernel_vector(), talvo::null_seq());
    long n = argc > 1 ? std::atol(argv[1]) : 1000000;
    auto us = [&](double s) { return 1e6 * s / double(n); };
    std::printf("sums over %ld values; microseconds per value (best of 3), ratio to the floor\n", n);
    std::printf("%7s %16s %16s %16s %16s\n", "digits", "floor (mpfr_add)", "mean", "mean ignore", "mean weighted");
    for (int digits : {15, 50}) {
        double f = Floor(digits, n), m = Mean(digits, n, false, false), mi = Mean(digits, n, true, false),
               mw = Mean(digits, n, false, true);
        std::printf("%7d %9.4f (1.00) %9.4f (%4.2f) %9.4f (%4.2f) %9.4f (%4.2f)\n", digits, us(f), us(m), m / f,
                    us(mi), mi / f, us(mw), mw / f);
    }
    std::printf("tally of %ld integers in 0..999: %.4f us per value\n", n, us(Tally(n)));
    return 0;
}
