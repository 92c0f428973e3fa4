// bench_fft -- the real Fourier transform of the numerics library
// (TalvoMP_c06faf) against Arb's acb_dft, and over a sweep of awkward
// lengths against the neighbouring powers of two.
//
//   2^16 points at 15 and 50 digits: c06faf on real data (floats of the
//   precision of "Digits") against acb_dft on the same data as complex balls
//   at the same precision (acb_dft has no real-data transform; it is given
//   the same job: the transform of 2^16 real values).  c06faf's time is that
//   of a call whose plan is kept from an earlier call of the same length
//   (the kernel density calls it twice per estimate); the first call, which
//   makes the plan, is shown as well.  acb_dft makes its own plan in every
//   call; acb_dft_precomp separates the two.
//
//   The sweep: primes just below and above each power of two up to 2^16,
//   twice and three times primes, odd composites, powers of 3, 5 and 7, and
//   lengths near 10^5.  For each, the time of a call (plan kept) over the
//   time at the power of two just below (lo) and just above (hi), and over
//   the nearer of the two (near).
//
// Times are the process's CPU seconds (the best of three calls), so that
// other work on the machine does not count.
//
// Usage: bench_fft [digits...] [--lengths=n1,n2,...] [--random=K]
//   --lengths  time only these lengths (and not the 2^16 comparison);
//   --random   add K lengths drawn from 2 .. 10^5 with a fixed seed.
#include "talvo_mp.h"

#include <acb_dft.h>
#include <gmp.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

double CpuSeconds()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

double Once(const std::function<void()> &work)
{
    double t0 = CpuSeconds();
    work();
    return CpuSeconds() - t0;
}

double Best(const std::function<void()> &work, int runs = 3)
{
    double best = 1e300;
    for (int r = 0; r < runs; ++r)
        best = std::min(best, Once(work));
    return best;
}

// n uniform values in [-1, 1) of the current precision.
std::vector<TalvoFloat> Data(long n, unsigned long seed)
{
    gmp_randstate_t state;
    gmp_randinit_default(state);
    gmp_randseed_ui(state, seed);
    std::vector<TalvoFloat> x;
    x.reserve(size_t(n));
    for (long i = 0; i < n; ++i) {
        ALGEB f = talvo_float_new(talvo_float_precision());
        mpfr_ptr v = talvo_float_mpfr(f);
        mpfr_urandomb(v, state);
        mpfr_mul_2ui(v, v, 1, MPFR_RNDN);
        mpfr_sub_ui(v, v, 1, MPFR_RNDN);
        x.push_back(TalvoFloat::from_handle(f));
    }
    gmp_randclear(state);
    return x;
}

struct Timing {
    double first; // the call that makes the plan
    double call;  // a call with the plan kept
};

Timing Transform(long n)
{
    std::vector<TalvoFloat> x = Data(n, 7), work(static_cast<size_t>(n));
    Integer ifail = 1;
    Timing t;
    t.first = Once([&] { TalvoMP_c06faf(x.data(), n, work.data(), &ifail); });
    if (ifail != 0)
        std::abort();
    t.call = Best([&] { TalvoMP_c06faf(x.data(), n, work.data(), &ifail); });
    return t;
}

void AgainstArb(int digits)
{
    talvo_float_set_digits(digits);
    const long n = 1 << 16;
    slong prec = talvo_float_precision();
    Timing ours = Transform(n);
    std::vector<TalvoFloat> x = Data(n, 7);
    acb_ptr v = _acb_vec_init(n), w = _acb_vec_init(n);
    for (long i = 0; i < n; ++i)
        arf_set_mpfr(arb_midref(acb_realref(v + i)), x[size_t(i)].mpfr());
    double arb = Best([&] { acb_dft(w, v, n, prec); });
    acb_dft_pre_t pre;
    double arb_pre = Once([&] { acb_dft_precomp_init(pre, n, prec); });
    double arb_call = Best([&] { acb_dft_precomp(w, v, pre, prec); });
    acb_dft_precomp_clear(pre);
    _acb_vec_clear(v, n);
    _acb_vec_clear(w, n);
    std::printf("%6d %10.4f %10.4f %10.4f %14.4f %11.4f %8.2f %10.2f\n", digits, ours.call, ours.first, arb,
                arb_call, arb_pre, ours.call / arb, ours.first / arb);
}

bool IsPrime(long n)
{
    if (n < 2)
        return false;
    for (long d = 2; d * d <= n; ++d)
        if (n % d == 0)
            return false;
    return true;
}

std::vector<long> AwkwardLengths()
{
    std::vector<long> v;
    for (int k = 4; k <= 16; ++k) {
        long p2 = 1L << k;
        long below = p2 - 1, above = p2 + 1, mid = p2 / 2 + 1;
        while (!IsPrime(below))
            --below;
        while (!IsPrime(above))
            ++above;
        while (!IsPrime(mid))
            ++mid;
        v.insert(v.end(), {below, above, 2 * mid});
        long third = p2 / 3;
        while (!IsPrime(third))
            --third;
        v.push_back(3 * third);
    }
    for (long n : {3L * 3 * 3 * 3 * 3 * 3 * 3 * 3 * 3 * 3, 5L * 5 * 5 * 5 * 5 * 5 * 5, 7L * 7 * 7 * 7 * 7,
                   3L * 5 * 7 * 11 * 13 * 17, 2L * 3 * 5 * 7 * 11 * 13 * 17, 10007L, 65521L, 99991L, 99989L,
                   2L * 49999, 3L * 33331, 97L * 1031, 99999L, 100000L})
        if (n <= 100000)
            v.push_back(n);
    std::sort(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end()), v.end());
    return v;
}

// Lengths given with --lengths=a,b,... replace the sweep's own; --random=K
// adds K lengths drawn uniformly from 2 .. 10^5 (a fixed seed).
std::vector<long> g_lengths;
long g_random = 0;

std::vector<long> SweepLengths()
{
    std::vector<long> v = g_lengths.empty() ? AwkwardLengths() : g_lengths;
    unsigned long long s = 88172645463325252ULL;
    for (long i = 0; i < g_random; ++i) {
        s ^= s << 13;
        s ^= s >> 7;
        s ^= s << 17;
        v.push_back(2 + long(s % 99999ULL));
    }
    std::sort(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end()), v.end());
    return v;
}

void Sweep(int digits)
{
    talvo_float_set_digits(digits);
    std::vector<long> lengths = SweepLengths();
    std::map<long, double> pow2;
    for (long p = 1; p <= 1L << 17 && p / 2 <= lengths.back(); p *= 2)
        pow2[p] = Transform(p).call;
    std::printf("\n%d digits: seconds per call (plan kept) and ratios to the powers of two around n\n", digits);
    std::printf("%7s %-58s %10s %10s %7s %7s %7s\n", "n", "plan", "call", "first", "/lo", "/hi", "/near");
    double worst_near = 0, worst_hi = 0, worst_lo = 0;
    long at_near = 0, at_hi = 0, at_lo = 0;
    for (long n : lengths) {
        long lo = 1;
        while (lo * 2 <= n)
            lo *= 2;
        long hi = lo == n ? n : lo * 2;
        long near = (n - lo <= hi - n) ? lo : hi;
        Timing t = Transform(n);
        double rlo = t.call / pow2[lo], rhi = t.call / pow2[hi], rnear = t.call / pow2[near];
        std::printf("%7ld %-58s %10.5f %10.5f %7.2f %7.2f %7.2f\n", n, TalvoMP_fft_plan(n).c_str(), t.call, t.first,
                    rlo, rhi, rnear);
        if (rnear > worst_near) {
            worst_near = rnear;
            at_near = n;
        }
        if (rhi > worst_hi) {
            worst_hi = rhi;
            at_hi = n;
        }
        if (rlo > worst_lo) {
            worst_lo = rlo;
            at_lo = n;
        }
    }
    std::printf("worst ratio to the nearer power of two %.2f (n = %ld), to the one above %.2f (n = %ld), to the "
                "one below %.2f (n = %ld)\n",
                worst_near, at_near, worst_hi, at_hi, worst_lo, at_lo);
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<int> digits;
    bool arb = true;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a.rfind("--lengths=", 0) == 0) {
            for (char *q = argv[i] + 10; *q != 0;) {
                g_lengths.push_back(std::strtol(q, &q, 10));
                if (*q == ',')
                    ++q;
                else if (*q != 0)
                    break;
            }
            arb = false;
        } else if (a.rfind("--random=", 0) == 0) {
            g_random = std::atol(argv[i] + 9);
        } else {
            digits.push_back(std::atoi(argv[i]));
        }
    }
    if (digits.empty())
        digits = {15, 50};
    if (arb) {
        std::printf("real transform of 2^16 points: c06faf against acb_dft, CPU seconds (best of 3)\n");
        std::printf("%6s %10s %10s %10s %14s %11s %8s %10s\n", "digits", "c06faf", "c06faf 1st", "acb_dft",
                    "acb_dft_precomp", "(its plan)", "ratio", "1st ratio");
        for (int d : digits)
            AgainstArb(d);
    }
    for (int d : digits)
        Sweep(d);
    return 0;
}
