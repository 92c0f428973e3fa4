// bench_kernel_density -- the kernel density estimate of a million points on
// 2^14 grid points through the host entry, at 15 and 50 digits, with the
// time of its parts, against the direct O(N M) sum it replaces.
//
//   estimate      STATS_TalvoKernelDensity_MP(data, no weights, Gaussian, h,
//                 M, true, a, b) on an sfloat Array of N normal points
//                 (the data block is read in place);
//   binning       STATS_Discretize_MP alone (the O(N) part);
//   transforms    TalvoMP_c06faf + c06gbf + c06fbf of M points;
//   kernel        the M/2 kernel factors (Gaussian; and the Epanechnikov,
//                 which calls the host's sine and cosine);
//   direct (peer) sum_i K((x_j - x_i)/h)/(N h) at every grid point with
//                 the float library's exp, timed on N/1000 points and scaled
//                 by 1000: what the Fourier method saves.
//
// Times are the process's CPU seconds (the best of three runs), so that
// other work on the machine does not count.  Usage: bench_kernel_density [N [M]]
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "kernel_density.hpp"
#include "stats_entries.h"
#include "tally.hpp"
#include "talvo_mp.h"

#include <gmp.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

namespace {

double CpuSeconds()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

double Best(const std::function<void()> &work, int runs = 3)
{
    double best = 1e300;
    for (int r = 0; r < runs; ++r) {
        double t0 = CpuSeconds();
        work();
        best = std::min(best, CpuSeconds() - t0);
    }
    return best;
}

// n standard normal points (double precision values) as an sfloat Array.
ALGEB NormalArray(TKernelVector kv, long n, unsigned seed)
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
    std::normal_distribution<double> z(0.0, 1.0);
    for (long i = 0; i < n; ++i)
        x[i] = talvo_float_from_double(z(gen), 0);
    return a;
}

ALGEB Empty(TKernelVector kv)
{
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    M_INT bounds[2] = {1, 0};
    return RTableCreate(kv, &s, nullptr, bounds);
}

ALGEB Args(TKernelVector kv, std::initializer_list<ALGEB> values)
{
    ALGEB s = NewTalvoExpressionSequence(kv, static_cast<M_INT>(values.size()));
    M_INT i = 1;
    for (ALGEB v : values)
        TalvoExpseqAssign(kv, s, i++, v);
    return s;
}

void Run(int digits, long n, int M)
{
    talvo::set_digits(digits);
    TKernelVector kv = talvo::kernel_vector();
    ALGEB data = NormalArray(kv, n, 1);
    TalvoGcProtect(kv, data);
    const double lo = -6, hi = 6, h = 0.1;
    TalvoFloat a(lo), b(hi), bw(h);
    ALGEB args = Args(kv, {data, Empty(kv), ToTalvoInteger(kv, 0), talvo_float_from_double(h, 0), ToTalvoInteger(kv, M),
                           ToTalvoBoolean(kv, 1), talvo_float_from_double(lo, 0), talvo_float_from_double(hi, 0)});
    TalvoGcProtect(kv, args);
    double estimate = Best([&] {
        ALGEB r = STATS_TalvoKernelDensity_MP(kv, args);
        if (RTableNumElements(kv, r) != M)
            std::abort();
    });

    auto *x = static_cast<TalvoFloat *>(RTableDataBlock(kv, data));
    std::vector<TalvoFloat> grid(static_cast<size_t>(M)), work(static_cast<size_t>(M));
    double binning = Best([&] { STATS_Discretize_MP(grid.data(), M, a, b, x, nullptr, n, TalvoFloat(0.0)); });
    double transforms = Best([&] {
        Integer ifail = 1;
        TalvoMP_c06faf(grid.data(), M, work.data(), &ifail);
        TalvoMP_c06gbf(grid.data(), M, &ifail);
        TalvoMP_c06fbf(grid.data(), M, work.data(), &ifail);
        if (ifail != 0)
            std::abort();
    });
    TalvoFloat c = TalvoFloat(2.0) * TalvoFloat(M_PI) * bw / (b - a);
    auto factors = [&](TalvoFloat (*k)(TalvoFloat)) {
        return Best([&] {
            for (int j = 1; j <= M / 2; ++j)
                k(c * TalvoFloat(double(j)));
        });
    };
    double gaussian = factors(KernelDensity_Gaussian), epanechnikov = factors(KernelDensity_Epanechnikov);

    // The direct sum on n/1000 points, scaled.
    long few = std::max(1L, n / 1000);
    double direct = Best(
                        [&] {
                            TalvoFloat inv = TalvoFloat(1.0) / (TalvoFloat(double(few)) * bw);
                            TalvoFloat step = (b - a) / TalvoFloat(double(M - 1));
                            for (int j = 0; j < M; ++j) {
                                TalvoFloat g = a + step * TalvoFloat(double(j)), s(0.0);
                                for (long i = 0; i < few; ++i) {
                                    TalvoFloat z = (g - x[i]) / bw;
                                    s += exp(-(z * z) / TalvoFloat(2.0));
                                }
                                grid[size_t(j)] = s * inv;
                            }
                        },
                        1) *
                    double(n) / double(few);
    std::printf("%6d %9.3f %9.3f %11.3f %9.3f %13.3f %12.1f %8.0fx\n", digits, estimate, binning, transforms,
                gaussian, epanechnikov, direct, direct / estimate);
    TalvoGcAllow(kv, args);
    TalvoGcAllow(kv, data);
    talvo::set_digits(10);
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    STATS_StatsInitialize_MP(talvo::kernel_vector(), talvo::null_seq());
    long n = argc > 1 ? std::atol(argv[1]) : 1000000;
    int M = argc > 2 ? std::atoi(argv[2]) : 1 << 14;
    std::printf("kernel density of %ld normal points on %d grid points (Gaussian, h = 0.1 on [-6, 6]);\n", n, M);
    std::printf("CPU seconds, best of 3 (direct: one run on %ld points, scaled)\n", std::max(1L, n / 1000));
    std::printf("%6s %9s %9s %11s %9s %13s %12s %9s\n", "digits", "estimate", "binning", "transforms", "gaussian",
                "epanechnikov", "direct(peer)", "saving");
    for (int digits : {15, 50})
        Run(digits, n, M);
    return 0;
}
