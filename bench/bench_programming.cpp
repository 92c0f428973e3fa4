// bench_programming.cpp -- the linear programming routine e04mfa (the
// active-set engine) on the Netlib LPs of tests/numerics/data/netlib/:
//   1. at Digits 15: iterations and time per solve, side by side with
//      SciPy's linprog(method="highs") in double precision (its iterations,
//      bench/programming_scipy.py run from here), and the distance between
//      the two solutions (the same optimal vertex: max |x - x_highs| /
//      (1 + |x_highs|));
//   2. the time per solve at Digits 15, 50 and 100 (and its ratio to
//      Digits 15).
// Usage: bench_programming [path of programming_scipy.py]
#include "../tests/numerics/mps_reader.hpp"
#include "talvo_mp.h"
#include "timing.hpp"

#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Run {
    Integer ifail = -1, iter = 0;
    TalvoFloat obj;
    std::vector<TalvoFloat> x;
};

Run Solve(const mps::Lp &lp)
{
    std::vector<Integer> lwsav(kTalvoOptLwsav), iwsav(kTalvoOptIwsav);
    std::vector<TalvoFloat> rwsav(kTalvoOptRwsav);
    Integer l1 = kTalvoOptLwsav, l2 = kTalvoOptIwsav, l3 = kTalvoOptRwsav, ifail = 0;
    TalvoMP_e04wbf_("E04MFA", nullptr, nullptr, lwsav.data(), &l1, iwsav.data(), &l2, rwsav.data(), &l3, &ifail, 6, 0);
    Run r;
    Integer n = lp.n, nclin = lp.m, lda = std::max(1L, lp.m);
    r.x.assign(size_t(n), TalvoFloat(0.0));
    std::vector<TalvoFloat> ax(size_t(std::max(1L, lp.m))), clamda(size_t(n + nclin));
    std::vector<Integer> istate(size_t(n + nclin));
    Integer liwork = 2 * n + 3, lwork = 2 * (n + nclin + 1) * (n + nclin + 1) + 7 * n + 5 * nclin;
    std::vector<Integer> iwork(static_cast<size_t>(liwork));
    std::vector<TalvoFloat> work(static_cast<size_t>(lwork));
    TalvoMP_e04mfa_(&n, &nclin, lp.a.data(), &lda, lp.bl.data(), lp.bu.data(), lp.c.data(), istate.data(), r.x.data(),
                    &r.iter, &r.obj, ax.data(), clamda.data(), iwork.data(), &liwork, work.data(), &lwork,
                    lwsav.data(), iwsav.data(), rwsav.data(), &r.ifail);
    return r;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string data = TALVO_BENCH_NETLIB;
    const std::vector<std::string> names = {"afiro", "sc50a", "sc50b", "sc105", "kb2",
                                            "blend", "adlittle", "recipe", "share2b"};
    // The peer.
    std::map<std::string, std::pair<long, std::vector<double>>> highs;
    const std::string script = argc > 1 ? argv[1] : "bench/programming_scipy.py";
    std::string cmd = "/usr/bin/python3 " + script + " " + data;
    for (const auto &nm : names)
        cmd += " " + nm;
    if (FILE *pipe = popen((cmd + " 2>/dev/null").c_str(), "r")) {
        char buf[1 << 16];
        while (std::fgets(buf, sizeof buf, pipe)) {
            std::istringstream ss(buf);
            std::string nm;
            long nit = 0;
            double fun = 0;
            ss >> nm >> nit >> fun;
            std::vector<double> x;
            for (double v; ss >> v;)
                x.push_back(v);
            highs[nm] = {nit, x};
        }
        pclose(pipe);
    }
    if (highs.empty())
        std::printf("(no SciPy counts: run with the path of programming_scipy.py, python3-scipy installed)\n");

    std::printf("Digits 15: e04mfa against linprog(method=\"highs\") (double)\n");
    std::printf("%-10s %6s %6s %6s %10s %12s  %s\n", "problem", "ours", "highs", "ratio", "time", "vertex dist", "ifail");
    std::map<std::string, double> t15;
    for (const auto &nm : names) {
        talvo_float_set_digits(15);
        const mps::Lp lp = mps::Read(data + "/" + nm + ".mps", TalvoFloat(1e20));
        Run r;
        const double secs = bench::BestSeconds([&] { r = Solve(lp); });
        t15[nm] = secs;
        long hit = -1;
        double dist = -1;
        auto it = highs.find(nm);
        if (it != highs.end()) {
            hit = it->second.first;
            dist = 0;
            for (size_t j = 0; j < r.x.size() && j < it->second.second.size(); ++j) {
                const double h = it->second.second[j];
                dist = std::max(dist, std::fabs(r.x[j].to_double() - h) / (1 + std::fabs(h)));
            }
        }
        std::printf("%-10s %6ld %6ld %6.2f %9.4fs %12.2e  %ld\n", nm.c_str(), long(r.iter), hit,
                    hit > 0 ? double(r.iter) / double(hit) : 0.0, secs, dist, long(r.ifail));
    }
    std::printf("\nTime per solve at Digits 15, 50, 100 (ratio to Digits 15)\n");
    std::printf("%-10s %10s %10s %7s %10s %7s\n", "problem", "D=15", "D=50", "x", "D=100", "x");
    for (const auto &nm : names) {
        double t[2];
        int k = 0;
        for (long d : {50L, 100L}) {
            talvo_float_set_digits(d);
            const mps::Lp lp = mps::Read(data + "/" + nm + ".mps", TalvoFloat(1e20));
            Run r;
            t[k++] = bench::BestSeconds([&] { r = Solve(lp); });
        }
        std::printf("%-10s %9.4fs %9.4fs %7.2f %9.4fs %7.2f\n", nm.c_str(), t15[nm], t[0], t[0] / t15[nm], t[1],
                    t[1] / t15[nm]);
    }
    return 0;
}
