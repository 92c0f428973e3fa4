// bench_dataprep -- the data preparation entries against the plain work
// they do, at 15 digits (best of three runs, seconds):
//
//   sort        STATS_TalvoSort_MP(data, true, false) on n normal floats
//               (an array of floats: the comparisons read the float objects
//               in place; the new array included), STATS_TalvoRankSort_MP
//               (data, 1, true) (the array of ranks included), and
//               TalvoMP_m01cac on a copy, against std::sort of pointers to
//               the same MPFR values with mpfr_less_p (the peer; goal: within
//               1.2 times).
//   shuffle     STATS_Shuffle_MP on 10^7 elements of each width, against 10^7
//               calls of STATS_TalvoRandomStream_MP::NextInteger, one host
//               random integer per element (goal: within 2 times); the entry
//               (which copies the array first) as well.
//   median      STATS_TalvoMovingMedian_MP(data, 101, 0, [], false, false) on
//               10^6 values (goal: under 2 s), against the same windows by a
//               selection over a copy of every window (STATS_Median_MP) and by
//               a full sort of every window (goal: at least 10 times faster).
//   W test      STATS_TalvoShapiroWilk_MP on 5000 values in an array of
//               doubles (so each call sorts a fresh copy; goal: under 50 ms);
//               bench/shapiro_wilk_r.R times R's double-precision test.
//
// Times are the CPU time of this process (best of three runs), so that other
// work on a shared machine does not count; memory stalls count as they
// would in a run of its own.
//
// Usage: bench_dataprep [sort n] [shuffle n] [median n]
#include "api.hpp"
#include "data_sample.hpp"
#include "dataprep.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "order_statistics.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_mp.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <vector>

namespace bench {

// CPU seconds of the fastest of three runs of `work`.
double BestCpuSeconds(const std::function<void()> &work)
{
    double best = 1e300;
    for (int run = 0; run < 3; ++run) {
        timespec t0, t1;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t0);
        work();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t1);
        best = std::min(best, double(t1.tv_sec - t0.tv_sec) + 1e-9 * double(t1.tv_nsec - t0.tv_nsec));
    }
    return best;
}

} // namespace bench

namespace {

ALGEB Seq(TKernelVector kv, std::initializer_list<ALGEB> items)
{
    ALGEB s = NewTalvoExpressionSequence(kv, static_cast<M_INT>(items.size()));
    M_INT i = 1;
    for (ALGEB a : items)
        TalvoExpseqAssign(kv, s, i++, a);
    return s;
}

ALGEB NormalSample(TKernelVector kv, long n)
{
    ALGEB data = STATS_TalvoNormalRandomSample_MP(
        kv, Seq(kv, {ToTalvoInteger(kv, n), ToTalvoInteger(kv, 0), ToTalvoInteger(kv, 1)}));
    TalvoGcProtect(kv, data);
    return data;
}

void Sorting(TKernelVector kv, long n)
{
    ALGEB data = NormalSample(kv, n);
    const auto *values = static_cast<const TalvoFloat *>(RTableDataBlock(kv, data));
    ALGEB yes = ToTalvoBoolean(kv, 1), no = ToTalvoBoolean(kv, 0), one = ToTalvoInteger(kv, 1);
    ALGEB sortArgs = Seq(kv, {data, yes, no}), rankArgs = Seq(kv, {data, one, yes});
    std::vector<mpfr_srcptr> ptrs;
    std::vector<TalvoFloat> copy;
    double peer = bench::BestCpuSeconds([&] {
        ptrs.resize(static_cast<size_t>(n));
        for (long i = 0; i < n; ++i)
            ptrs[static_cast<size_t>(i)] = values[i].mpfr();
        std::sort(ptrs.begin(), ptrs.end(), [](mpfr_srcptr a, mpfr_srcptr b) { return mpfr_less_p(a, b) != 0; });
    });
    double sort = bench::BestCpuSeconds([&] { STATS_TalvoSort_MP(kv, sortArgs); });
    double rank = bench::BestCpuSeconds([&] { STATS_TalvoRankSort_MP(kv, rankArgs); });
    double m01cac = bench::BestCpuSeconds([&] {
        copy.assign(values, values + n);
        NagError fail{};
        TalvoMP_m01cac(copy.data(), copy.size(), Nag_Ascending, &fail);
    });
    std::printf("sort of %ld floats at 15 digits (seconds, ratio to std::sort of the MPFR values; goal <= 1.2)\n", n);
    std::printf("  std::sort (mpfr_less_p) %8.3f\n", peer);
    std::printf("  TalvoSort               %8.3f  %5.2f\n", sort, sort / peer);
    std::printf("  TalvoRankSort           %8.3f  %5.2f\n", rank, rank / peer);
    std::printf("  TalvoMP_m01cac          %8.3f  %5.2f\n", m01cac, m01cac / peer);
    TalvoGcAllow(kv, data);
}

void Shuffling(TKernelVector kv, unsigned n)
{
    volatile int sink = 0;
    double draws = bench::BestCpuSeconds([&] {
        int s = 0;
        for (unsigned i = 0; i < n; ++i)
            s += STATS_TalvoRandomStream_MP::NextInteger();
        sink = s;
    });
    (void)sink;
    std::printf("shuffle of %u elements (seconds; ratio to %u host random integers, %.3f s; goal <= 2)\n", n, n,
                draws);
    std::printf("  %-10s %6s %9s %6s %9s %6s\n", "datatype", "width", "kernel", "ratio", "entry", "ratio");
    const struct {
        const char *name;
        int code;
    } types[] = {{"int8", RTABLE_INTEGER8},   {"int16", RTABLE_INTEGER16},     {"int32", RTABLE_INTEGER32},
                 {"int64", RTABLE_INTEGER64}, {"float64", RTABLE_FLOAT64},     {"float32", RTABLE_FLOAT32},
                 {"anything", RTABLE_DAG},    {"complex128", RTABLE_COMPLEX}, {"complex", RTABLE_CXDAG}};
    for (const auto &t : types) {
        RTableSettings s;
        RTableGetDefaults(kv, &s);
        s.data_type = t.code;
        M_INT bounds[2] = {1, static_cast<M_INT>(n)};
        ALGEB a = RTableCreate(kv, &s, nullptr, bounds);
        TalvoGcProtect(kv, a);
        unsigned width = static_cast<unsigned>(STATS_RTableDataSize_MP(kv, t.code));
        char *block = static_cast<char *>(RTableDataBlock(kv, a));
        double kernel = bench::BestCpuSeconds([&] { STATS_Shuffle_MP(kv, block, n, width); });
        double entry = bench::BestCpuSeconds([&] { STATS_TalvoShuffle_MP(kv, Seq(kv, {a})); });
        std::printf("  %-10s %6u %9.3f %6.2f %9.3f %6.2f\n", t.name, width, kernel, kernel / draws, entry,
                    entry / draws);
        TalvoGcAllow(kv, a);
    }
}

void MovingMedian(TKernelVector kv, long n)
{
    const int k = 101;
    ALGEB data = NormalSample(kv, n);
    const auto *values = static_cast<const TalvoFloat *>(RTableDataBlock(kv, data));
    ALGEB empty = STATS_CreateRandomSample_MP(kv, 0, ToTalvoNULL(kv));
    ALGEB no = ToTalvoBoolean(kv, 0);
    ALGEB args = Seq(kv, {data, ToTalvoInteger(kv, k), ToTalvoInteger(kv, 0), empty, no, no});
    double entry = bench::BestCpuSeconds([&] { STATS_TalvoMovingMedian_MP(kv, args); });
    std::vector<TalvoFloat> window(k), out(static_cast<size_t>(n - k + 1));
    auto once = [](const std::function<void()> &work) {
        timespec t0, t1;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t0);
        work();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t1);
        return double(t1.tv_sec - t0.tv_sec) + 1e-9 * double(t1.tv_nsec - t0.tv_nsec);
    };
    double select = once([&] {
        for (long j = 0; j + k <= n; ++j) {
            std::copy(values + j, values + j + k, window.begin());
            out[static_cast<size_t>(j)] = STATS_Median_MP(window.data(), nullptr, k);
        }
    });
    double sorting = once([&] {
        for (long j = 0; j + k <= n; ++j) {
            std::copy(values + j, values + j + k, window.begin());
            std::sort(window.begin(), window.end(), [](const TalvoFloat &a, const TalvoFloat &b) { return a < b; });
            out[static_cast<size_t>(j)] = window[k / 2];
        }
    });
    std::printf("moving median, window %d over %ld values at 15 digits (seconds; goal < 2 and >= 10 times faster)\n",
                k, n);
    std::printf("  TalvoMovingMedian                  %8.3f\n", entry);
    std::printf("  selection of every window           %8.3f  (%.1f times the entry)\n", select, select / entry);
    std::printf("  std::sort of every window           %8.3f  (%.1f times the entry)\n", sorting, sorting / entry);
    TalvoGcAllow(kv, data);
}

void ShapiroWilk(TKernelVector kv)
{
    const long n = 5000;
    ALGEB sample = NormalSample(kv, n);
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = RTABLE_FLOAT64;
    M_INT bounds[2] = {1, n};
    ALGEB data = RTableCreate(kv, &s, nullptr, bounds);
    TalvoGcProtect(kv, data);
    auto *d = static_cast<double *>(RTableDataBlock(kv, data));
    const auto *values = static_cast<const TalvoFloat *>(RTableDataBlock(kv, sample));
    for (long i = 0; i < n; ++i)
        d[i] = values[i].to_double();
    ALGEB empty = STATS_CreateRandomSample_MP(kv, 0, ToTalvoNULL(kv));
    ALGEB args = Seq(kv, {data, empty, ToTalvoBoolean(kv, 0)});
    double seconds = bench::BestCpuSeconds([&] {
        for (int i = 0; i < 10; ++i)
            STATS_TalvoShapiroWilk_MP(kv, args);
    });
    std::printf("Shapiro-Wilk of %ld values at 15 digits: %.1f ms per call (goal < 50 ms)\n", n, seconds * 100);
    TalvoGcAllow(kv, data);
    TalvoGcAllow(kv, sample);
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    TKernelVector kv = talvo::kernel_vector();
    STATS_StatsInitialize_MP(kv, talvo::null_seq());
    talvo::set_digits(15);
    long sortN = argc > 1 ? std::atol(argv[1]) : 1000000;
    long shuffleN = argc > 2 ? std::atol(argv[2]) : 10000000;
    long medianN = argc > 3 ? std::atol(argv[3]) : 1000000;
    Sorting(kv, sortN);
    Shuffling(kv, static_cast<unsigned>(shuffleN));
    MovingMedian(kv, medianN);
    ShapiroWilk(kv);
    return 0;
}
