// bounded_memory.cpp -- a long run of large samples and many entry calls holds
// a steady resident size.
//
//   bounded_memory LIBRARY [SAMPLE_SIZE CALLS_PER_TENTH [--keep]]
//
// Loads the statistics library as the talvo program does and runs the same
// work ten times (the tenths of the run): one random sample of SAMPLE_SIZE
// elements (10^7 unless given), drawn from five laws in turn, and
// CALLS_PER_TENTH entry calls (10^5: 10^6 over the run), one in a hundred of
// them a call with a bad argument that raises a host error, caught with try.
// After each tenth it reads the resident size from /proc/self/statm.  The run
// fails when the resident size at the end of the last tenth exceeds that at
// the end of the second by more than 10%: the first tenth takes the heap to
// its working size, from then on nothing may accumulate.
//
// With --keep every sample is kept in a list (memory that does grow): the
// check must then fail, which its own test asserts.
#include "api.hpp"
#include "eval.hpp"
#include "host.hpp"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

long resident_bytes()
{
    std::FILE *f = std::fopen("/proc/self/statm", "r");
    if (f == nullptr)
        return -1;
    long size = 0, resident = 0;
    int n = std::fscanf(f, "%ld %ld", &size, &resident);
    std::fclose(f);
    return n == 2 ? resident * sysconf(_SC_PAGESIZE) : -1;
}

// The sample of tenth k: five laws in turn, so several samplers run (the
// samplers of a few microseconds a draw: 10^7 draws of those would take minutes).
std::string sample_statement(int k, long size)
{
    static const char *const laws[] = {
        "STATS_TalvoNormalRandomSample_MP(%ld, 0, 1)",   "STATS_TalvoUniformRandomSample_MP(%ld, 0, 1)",
        "STATS_TalvoExponentialRandomSample_MP(%ld, 2)", "STATS_TalvoGammaRandomSample_MP(%ld, 2.5, 1)",
        "STATS_TalvoBernoulliRandomSample_MP(%ld, 0.3)",
    };
    char buf[128];
    std::snprintf(buf, sizeof buf, laws[k % 5], size);
    return buf;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2 && argc != 4 && argc != 5) {
        std::fprintf(stderr, "usage: bounded_memory LIBRARY [SAMPLE_SIZE CALLS_PER_TENTH [--keep]]\n");
        return 2;
    }
    long sample_size = argc >= 4 ? std::atol(argv[2]) : 10000000;
    long calls = argc >= 4 ? std::atol(argv[3]) : 100000;
    bool keep = argc == 5 && std::strcmp(argv[4], "--keep") == 0;

    talvo::host_init();
    try {
        talvo::load_library(argv[1]);
        talvo::initialize_libraries();
    } catch (talvo::HostError &e) {
        std::fprintf(stderr, "%s\n", talvo::error_text(e).c_str());
        return 2;
    }

    // The entry calls of one tenth: four entries in turn, and in every
    // hundredth pass a call whose argument is bad (an error unwinding through
    // the entry frame) caught by try.
    char calls_text[1024];
    std::snprintf(calls_text, sizeof calls_text,
                  "for i to %ld do\n"
                  "  j := irem(i, 4):\n"
                  "  if j = 0 then STATS_TalvoNormalProbability_MP(i * 1.0e-5, 0, 1)\n"
                  "  elif j = 1 then STATS_TalvoExponentialDeviate_MP(0.25, 2)\n"
                  "  elif j = 2 then STATS_TalvoWeibullProbability_MP(1.5, 1, 2)\n"
                  "  else STATS_TalvoNormalRandomVariate_MP(0, 1) end if:\n"
                  "  if irem(i, 100) = 0 then\n"
                  "    try STATS_TalvoNormalProbability_MP(x, 0, -1) catch: 0 end try\n"
                  "  end if\n"
                  "end do:\n",
                  calls);
    if (!talvo::run_text("randomize(20261126): kept := []:", talvo::RunMode::Script))
        return 2;

    auto start = std::chrono::steady_clock::now();
    long rss[10];
    for (int k = 0; k < 10; ++k) {
        std::string text = "S := " + sample_statement(k, sample_size) + ":\n";
        if (keep)
            text += "kept := [op(kept), S]:\n";
        text += calls_text;
        if (!talvo::run_text(text, talvo::RunMode::Script)) {
            std::fprintf(stderr, "tenth %d failed\n", k + 1);
            return 2;
        }
        rss[k] = resident_bytes();
        double t = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::printf("tenth %2d: resident %8.1f MiB at %6.1f s\n", k + 1, double(rss[k]) / (1 << 20), t);
        std::fflush(stdout);
    }
    talvo::terminate_libraries();

    double growth = double(rss[9] - rss[1]) / double(rss[1]);
    std::printf("%ld-element samples, %ld entry calls: resident size %.1f MiB after the second tenth, "
                "%.1f MiB after the last (%+.1f%%, at most +10%% allowed)\n",
                sample_size, 10 * calls, double(rss[1]) / (1 << 20), double(rss[9]) / (1 << 20), 100 * growth);
    if (rss[1] <= 0 || growth > 0.10) {
        std::printf("FAILED: the resident size grew by more than 10%%\n");
        return 1;
    }
    return 0;
}
