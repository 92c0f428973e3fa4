// bench_normal_sample -- a normal sample of a million values, through the
// host entry, against MPFR's floor and two peers, at 15 and 50 digits.
//
//   talvo        STATS_TalvoNormalRandomSample_MP(n, 0, 1): the entry as a
//                script calls it, array and collector included;
//   floor        MPFR in place: one uniform (mpfr_urandomb), one multiply and
//                one add per value into a preallocated array: the least any
//                mu + sigma * z sampler can cost;
//   nrandom      MPFR's exact normal sampler mpfr_nrandom, in place;
//   boost        Boost.Random's normal_distribution on a Boost.Multiprecision
//                MPFR float, with mt19937.
//
// Prints microseconds per value (best of three runs) and each one's ratio to
// the floor.  Usage: bench_normal_sample [n [talvo]] (with "talvo", only
// ours is run, for profiling).
#include "timing.hpp"
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "stats_entries.h"
#include "ziggurat.hpp"

#include <boost/multiprecision/mpfr.hpp>
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/normal_distribution.hpp>
#include <gmp.h>
#include <mpfr.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace {

mpfr_prec_t Bits(int digits) { return talvo_float_precision_bits(digits); }

double Talvo(int digits, long n)
{
    talvo::set_digits(digits);
    TKernelVector kv = talvo::kernel_vector();
    ALGEB args = NewTalvoExpressionSequence(kv, 3);
    TalvoExpseqAssign(kv, args, 1, ToTalvoInteger(kv, n));
    TalvoExpseqAssign(kv, args, 2, ToTalvoInteger(kv, 0));
    TalvoExpseqAssign(kv, args, 3, ToTalvoInteger(kv, 1));
    STATS_ZigguratNormalGenerator_MP::Reset(); // the tables are built outside the timing
    double s = bench::BestSeconds([&] {
        ALGEB sample = STATS_TalvoNormalRandomSample_MP(kv, args);
        if (RTableNumElements(kv, sample) != n)
            std::abort();
    });
    talvo::set_digits(10);
    return s;
}

double Floor(int digits, long n)
{
    mpfr_prec_t prec = Bits(digits);
    gmp_randstate_t rs;
    gmp_randinit_default(rs);
    std::vector<__mpfr_struct> x(static_cast<size_t>(n));
    for (auto &v : x)
        mpfr_init2(&v, prec);
    mpfr_t mu, sigma;
    mpfr_inits2(prec, mu, sigma, (mpfr_ptr) nullptr);
    mpfr_set_ui(mu, 0, MPFR_RNDN);
    mpfr_set_ui(sigma, 1, MPFR_RNDN);
    double s = bench::BestSeconds([&] {
        for (auto &v : x) {
            mpfr_urandomb(&v, rs);
            mpfr_mul(&v, &v, sigma, MPFR_RNDN);
            mpfr_add(&v, &v, mu, MPFR_RNDN);
        }
    });
    for (auto &v : x)
        mpfr_clear(&v);
    mpfr_clears(mu, sigma, (mpfr_ptr) nullptr);
    gmp_randclear(rs);
    return s;
}

double Nrandom(int digits, long n)
{
    mpfr_prec_t prec = Bits(digits);
    gmp_randstate_t rs;
    gmp_randinit_default(rs);
    std::vector<__mpfr_struct> x(static_cast<size_t>(n));
    for (auto &v : x)
        mpfr_init2(&v, prec);
    double s = bench::BestSeconds([&] {
        for (auto &v : x)
            mpfr_nrandom(&v, rs, MPFR_RNDN);
    });
    for (auto &v : x)
        mpfr_clear(&v);
    gmp_randclear(rs);
    return s;
}

// Boost.Random needs a precision fixed at compile time (its uniform draw is
// chosen through std::numeric_limits, which the run-time precision type does
// not specialise).
template <unsigned Digits>
double Boost(long n)
{
    using Float = boost::multiprecision::number<boost::multiprecision::mpfr_float_backend<Digits>>;
    boost::random::mt19937 gen(12345);
    boost::random::normal_distribution<Float> normal(Float(0), Float(1));
    std::vector<Float> x(static_cast<size_t>(n));
    return bench::BestSeconds([&] {
        for (auto &v : x)
            v = normal(gen);
    });
}

double Boost(int digits, long n) { return digits == 15 ? Boost<15>(n) : Boost<50>(n); }

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    STATS_StatsInitialize_MP(talvo::kernel_vector(), talvo::null_seq());
    long n = argc > 1 ? std::atol(argv[1]) : 1000000;
    if (argc > 2 && std::string(argv[2]) == "talvo") {
        for (int digits : {15, 50})
            std::printf("%d digits: %.3f us per value\n", digits, 1e6 * Talvo(digits, n) / double(n));
        return 0;
    }
    std::printf("normal sample of %ld values; microseconds per value (best of 3), ratio to the floor\n", n);
    std::printf("%7s %16s %16s %16s %16s\n", "digits", "floor", "talvo", "mpfr_nrandom", "boost");
    for (int digits : {15, 50}) {
        double f = Floor(digits, n), t = Talvo(digits, n), r = Nrandom(digits, n), b = Boost(digits, n);
        auto us = [&](double s) { return 1e6 * s / double(n); };
        std::printf("%7d %9.3f (1.00) %9.3f (%4.2f) %9.3f (%4.2f) %9.3f (%4.2f)\n", digits, us(f), us(t), t / f,
                    us(r), r / f, us(b), b / f);
    }
    return 0;
}
