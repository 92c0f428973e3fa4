// timing.hpp -- the two clocks of the benchmarks: the best of three runs of
// a piece of work, and microseconds per call of a short call.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>

namespace bench {

// Seconds of the fastest of three runs of `work`.
inline double BestSeconds(const std::function<void()> &work)
{
    double best = 1e300;
    for (int run = 0; run < 3; ++run) {
        auto t0 = std::chrono::steady_clock::now();
        work();
        auto t1 = std::chrono::steady_clock::now();
        best = std::min(best, std::chrono::duration<double>(t1 - t0).count());
    }
    return best;
}

// Microseconds per call of f: the best of three loops of at least 20 ms (a
// call over a second is timed once).
inline double BestMicros(const std::function<void()> &f)
{
    double best = 1e300;
    for (int run = 0; run < 3; ++run) {
        long n = 0;
        auto t0 = std::chrono::steady_clock::now();
        double s = 0;
        do {
            f();
            ++n;
            s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        } while (s < 0.02);
        best = std::min(best, s / static_cast<double>(n) * 1e6);
        if (s > 1.0)
            break;
    }
    return best;
}

} // namespace bench
