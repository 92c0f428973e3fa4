// bench_descriptive_order -- order statistics of a million values by
// selection against a full sort of the same values, at 15 and 50 digits.
//
//   median       STATS_TalvoMedian_MP(data, [], false, false): the entry as a
//                script calls it, the copy of the data included;
//   quantiles    STATS_TalvoQuantile_MP(data, [0.1, 0.5, 0.9], [], false, 7,
//                false): three selections, each narrowed by the one before;
//   999 q        the same with the 999 probabilities 0.001, 0.002, ..., 0.999:
//                a list that long is served from one sort of the copy;
//   std::sort    std::sort of a copy of the same TalvoFloat values with the
//                float class's operator< (no missing values in the data);
//   SortData     STATS_SortData_MP on a copy: the library's own full sort.
//
// The data are a normal sample drawn by the library.  Prints seconds (best of
// three runs) and the ratio of each sort to the median.  Usage:
// bench_descriptive_order [n]
#include "timing.hpp"
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "random_sample.hpp"
#include "sorting.hpp"
#include "stats_entries.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

namespace {

ALGEB Seq(TKernelVector kv, std::initializer_list<ALGEB> items)
{
    ALGEB s = NewTalvoExpressionSequence(kv, static_cast<M_INT>(items.size()));
    M_INT i = 1;
    for (ALGEB a : items)
        TalvoExpseqAssign(kv, s, i++, a);
    return s;
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    TKernelVector kv = talvo::kernel_vector();
    STATS_StatsInitialize_MP(kv, talvo::null_seq());
    long n = argc > 1 ? std::atol(argv[1]) : 1000000;
    std::printf("%ld normal values; seconds (best of 3); in parentheses each time over the median's\n", n);
    std::printf("%7s %14s %14s %14s %14s %14s\n", "digits", "median", "quantiles(3)", "999 q", "std::sort",
                "SortData");
    for (int digits : {15, 50}) {
        talvo::set_digits(digits);
        ALGEB data = STATS_TalvoNormalRandomSample_MP(
            kv, Seq(kv, {ToTalvoInteger(kv, n), ToTalvoInteger(kv, 0), ToTalvoInteger(kv, 1)}));
        TalvoGcProtect(kv, data);
        ALGEB empty = STATS_CreateRandomSample_MP(kv, 0, ToTalvoNULL(kv)); // no weights
        ALGEB no = ToTalvoBoolean(kv, 0);
        ALGEB probs = TalvoListAlloc(kv, 3);
        TalvoListAssign(kv, probs, 1, ToTalvoFloat(kv, 0.1));
        TalvoListAssign(kv, probs, 2, ToTalvoFloat(kv, 0.5));
        TalvoListAssign(kv, probs, 3, ToTalvoFloat(kv, 0.9));
        ALGEB many = TalvoListAlloc(kv, 999);
        for (int k = 1; k <= 999; ++k)
            TalvoListAssign(kv, many, k, ToTalvoFloat(kv, k / 1000.0));
        ALGEB medianArgs = Seq(kv, {data, empty, no, no});
        ALGEB quantileArgs = Seq(kv, {data, probs, empty, no, ToTalvoInteger(kv, 7), no});
        ALGEB manyArgs = Seq(kv, {data, many, empty, no, ToTalvoInteger(kv, 7), no});
        const auto *values = static_cast<const TalvoFloat *>(RTableDataBlock(kv, data));
        std::vector<TalvoFloat> copy;

        double median = bench::BestSeconds([&] { STATS_TalvoMedian_MP(kv, medianArgs); });
        double quantiles = bench::BestSeconds([&] { STATS_TalvoQuantile_MP(kv, quantileArgs); });
        double manyQuantiles = bench::BestSeconds([&] { STATS_TalvoQuantile_MP(kv, manyArgs); });
        double stdsort = bench::BestSeconds([&] {
            copy.assign(values, values + n);
            std::sort(copy.begin(), copy.end(), [](const TalvoFloat &a, const TalvoFloat &b) { return a < b; });
        });
        double sortdata = bench::BestSeconds([&] {
            copy.assign(values, values + n);
            STATS_SortData_MP(copy.data(), static_cast<int>(n));
        });
        std::printf("%7d %8.3f       %8.3f (%4.1f) %8.3f (%4.1f) %8.3f (%4.1f) %8.3f (%4.1f)\n", digits, median,
                    quantiles, quantiles / median, manyQuantiles, manyQuantiles / median, stdsort, stdsort / median,
                    sortdata, sortdata / median);
        TalvoGcAllow(kv, data);
    }
    return 0;
}
