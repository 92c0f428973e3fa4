// bench_normal_deviate -- the normal deviate entry and its parts, for
// profiling: the entry STATS_TalvoNormalDeviate_MP(p, 0, 1) as a script calls
// it, the numerics library's quantile and probability alone, and the float
// operations of one Newton step.  Prints microseconds per call (best of three
// loops of at least 20 ms).
// Usage: bench_normal_deviate [p [digits...]]; with "entry" as the last
// argument only the entry is run, in a loop of 200 000 calls (for perf; the
// environment variable BENCH_CALLS sets another count, e.g. for callgrind).
#include "timing.hpp"
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "parse.hpp"
#include "stats_entries.h"
#include "talvo_mp.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

ALGEB Args(const std::string &text)
{
    talvo::Parser parser(text + ";");
    talvo::ParsedStatement st;
    ALGEB last = talvo::null_seq();
    while (parser.next(&st))
        last = talvo::eval(st.stmt);
    return last;
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    TKernelVector kv = talvo::kernel_vector();
    STATS_StatsInitialize_MP(kv, talvo::null_seq());
    std::string p = argc > 1 ? argv[1] : "0.975";
    bool entry_only = argc > 2 && std::strcmp(argv[argc - 1], "entry") == 0;
    std::vector<int> digits;
    for (int i = 2; i < argc - (entry_only ? 1 : 0); ++i)
        digits.push_back(std::atoi(argv[i]));
    if (digits.empty())
        digits = {15, 50};

    for (int d : digits) {
        talvo::set_digits(d);
        ALGEB args = Args(p + ", 0, 1");
        TalvoGcProtect(kv, args);
        if (entry_only) {
            const char *calls = std::getenv("BENCH_CALLS");
            const long n = calls != nullptr ? std::atol(calls) : 200000;
            for (long i = 0; i < n; ++i)
                STATS_TalvoNormalDeviate_MP(kv, args);
            TalvoGcAllow(kv, args);
            continue;
        }
        TalvoFloat fp = TalvoFloat::from_handle(talvo_float_parse(p.c_str(), 0));
        NagError fail{};
        TalvoFloat z = TalvoMP_g01fac(Nag_LowerTail, fp, &fail);
        double entry = bench::BestMicros([&] { STATS_TalvoNormalDeviate_MP(kv, args); });
        double fac = bench::BestMicros([&] { TalvoMP_g01fac(Nag_LowerTail, fp, &fail); });
        double eac = bench::BestMicros([&] { TalvoMP_g01eac(Nag_LowerTail, z, &fail); });
        double ex = bench::BestMicros([&] { exp(TalvoFloat(-0.5) * z * z); });
        double pw = bench::BestMicros([&] { pow(10.0, TalvoFloat(-double(d))); });
        std::printf("p=%s digits=%d  entry %.2f us  g01fac %.2f  g01eac %.2f  exp(-z^2/2) %.2f  10^-D %.2f\n",
                    p.c_str(), d, entry, fac, eac, ex, pw);
        TalvoGcAllow(kv, args);
    }
    return 0;
}
