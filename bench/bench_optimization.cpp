// bench_optimization.cpp -- the minimisers of libtalvomp on ten
// More-Garbow-Hillstrom problems (tests/numerics/mgh_problems.hpp):
//   1. function evaluations per solve at Digits 15, side by side with SciPy's
//      equivalent methods from the same starts (bench/optimization_scipy.py,
//      run from here): Nelder-Mead (ours e04cca), L-BFGS-B (ours e04dga; one
//      evaluation = value and gradient on both sides) and least_squares
//      (ours e04fcf; every call of the residuals counted on both sides,
//      those for the difference Jacobian included);
//      and, because the two sides stop at different accuracies (ours at the
//      working precision, SciPy's near 1e-9 relative), also our evaluations
//      up to the first point whose value is at or below SciPy's final value:
//      the like-for-like count for the accuracy SciPy delivers;
//   2. the time per solve of e04fcf and e04dga at Digits 15, 50 and 100
//      against the time of one MPFR multiply at the same precisions: the
//      growth of the one next to the growth of the other; and the solver's
//      own time (the solve's less the time inside the problem's function)
//      with its growth, which tells the solver's cost from the test
//      function's (decimal constants read at every call, exponentials).
// Usage: bench_optimization [path of optimization_scipy.py]
//        bench_optimization --profile NUMBER fcf|dga DIGITS SOLVES (one solve repeated)
#include "../tests/numerics/mgh_problems.hpp"
#include "talvo_mp.h"
#include "timing.hpp"

#include <mpfr.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

using Vec = std::vector<TalvoFloat>;

const mgh::Problem *g_p = nullptr;
long g_calls = 0;
// The value to reach (SciPy's final one) and the call that first reached it.
double g_target = -1.0;
long g_reached = 0;
// Seconds spent inside the problem's own function (its residuals, value or
// gradient), so that a solve's time can be split into the function's share
// and the solver's own.
double g_in_function = 0;

struct FunctionClock {
    std::chrono::steady_clock::time_point t0 = std::chrono::steady_clock::now();
    ~FunctionClock() { g_in_function += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(); }
};

void Seen(double f)
{
    if (g_reached == 0 && f <= g_target)
        g_reached = g_calls;
}

void LsqFun(Integer *, Integer *, Integer *, const TalvoFloat *x, TalvoFloat *fvec, Integer *, Integer *, TalvoFloat *,
            Integer *)
{
    ++g_calls;
    {
        FunctionClock clock;
        g_p->value(x, fvec);
    }
    double ss = 0;
    for (long i = 0; i < g_p->m; ++i)
        ss += fvec[i].to_double() * fvec[i].to_double();
    Seen(ss);
}
void ObjFun(Integer *, Integer *, const TalvoFloat *x, TalvoFloat *objf, TalvoFloat *objgrd, Integer *, Integer *,
            TalvoFloat *)
{
    ++g_calls;
    {
        FunctionClock clock;
        *objf = mgh::ValueAndGradient(*g_p, x, objgrd);
    }
    Seen(objf->to_double());
}
void CcaFun(Integer *, const TalvoFloat *x, TalvoFloat *fc, Integer *, TalvoFloat *)
{
    ++g_calls;
    *fc = mgh::Value(*g_p, x);
    Seen(fc->to_double());
}

Vec Start(const mgh::Problem &p)
{
    Vec x;
    for (const char *t : p.x0)
        x.push_back(mgh::F(t));
    return x;
}

struct Run {
    long calls;
    double f;
    long ifail;
};

Run Lsq(const mgh::Problem &p)
{
    g_p = &p;
    g_calls = 0;
    Vec x = Start(p);
    Integer m = p.m, n = p.n, iprint = 0, maxcal = 100000, ldfjac = m, ldv = n, niter, nf, liw = 1, lw = 1, ifail;
    Integer iw[1];
    TalvoFloat w[1], eta(0.5), xtol(0.0), stepmx(0.0), fs;
    Vec fvec(static_cast<size_t>(m)), fjac(static_cast<size_t>(m * n)), s(static_cast<size_t>(n)),
        v(static_cast<size_t>(n * n));
    TalvoMP_e04fcf_(&m, &n, LsqFun, nullptr, &iprint, &maxcal, &eta, &xtol, &stepmx, x.data(), &fs, fvec.data(),
                    fjac.data(), &ldfjac, s.data(), v.data(), &ldv, &niter, &nf, iw, &liw, w, &lw, &ifail);
    return {g_calls, fs.to_double(), long(ifail)};
}

Run Dga(const mgh::Problem &p)
{
    g_p = &p;
    g_calls = 0;
    Vec x = Start(p);
    std::vector<Integer> lwsav(kTalvoOptLwsav), iwsav(kTalvoOptIwsav);
    Vec rwsav(kTalvoOptRwsav);
    Integer l1 = kTalvoOptLwsav, l2 = kTalvoOptIwsav, l3 = kTalvoOptRwsav, ifail, inform;
    TalvoMP_e04wbf_("E04DGA", nullptr, nullptr, lwsav.data(), &l1, iwsav.data(), &l2, rwsav.data(), &l3, &ifail, 6,
                    0);
    TalvoMP_e04dka_("Iteration Limit 2000", lwsav.data(), iwsav.data(), rwsav.data(), &inform, 20);
    Integer n = p.n, iter;
    TalvoFloat objf;
    Vec g(static_cast<size_t>(n)), work(static_cast<size_t>(13 * n));
    std::vector<Integer> iwork(static_cast<size_t>(n + 1));
    TalvoMP_e04dga_(&n, ObjFun, &iter, &objf, g.data(), x.data(), iwork.data(), work.data(), nullptr, nullptr,
                    lwsav.data(), iwsav.data(), rwsav.data(), &ifail);
    return {g_calls, objf.to_double(), long(ifail)};
}

Run Cca(const mgh::Problem &p, double tol_value)
{
    g_p = &p;
    g_calls = 0;
    Vec x = Start(p);
    Integer n = p.n, iw = n + 1, maxcal = 20000, ifail;
    Vec w1(static_cast<size_t>(n)), w5(static_cast<size_t>(n + 1)), w6(static_cast<size_t>((n + 1) * n));
    Vec w2 = w1, w3 = w1, w4 = w1;
    TalvoFloat f, tol(tol_value);
    TalvoMP_e04cca_(&n, x.data(), &f, &tol, &iw, w1.data(), w2.data(), w3.data(), w4.data(), w5.data(), w6.data(),
                    CcaFun, nullptr, &maxcal, nullptr, nullptr, &ifail);
    return {g_calls, f.to_double(), long(ifail)};
}

double MulMicros(long digits)
{
    mpfr_prec_t prec = talvo_float_precision_bits(digits);
    mpfr_t a, b, c;
    mpfr_inits2(prec, a, b, c, (mpfr_ptr) nullptr);
    mpfr_const_pi(a, MPFR_RNDN);
    mpfr_const_euler(b, MPFR_RNDN);
    double t = bench::BestMicros([&] {
        for (int k = 0; k < 1000; ++k)
            mpfr_mul(c, a, b, MPFR_RNDN);
    }) / 1000.0;
    mpfr_clears(a, b, c, (mpfr_ptr) nullptr);
    return t;
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<int> ten = {1, 2, 3, 5, 6, 8, 9, 12, 14, 15};
    std::map<int, const mgh::Problem *> by_number;
    for (const mgh::Problem &p : mgh::Problems())
        by_number[p.number] = &p;
    // bench_optimization --profile NUMBER (fcf|dga) DIGITS SOLVES: that one
    // solve over and over, for a profiler or an instruction count.
    if (argc == 6 && std::string(argv[1]) == "--profile") {
        const mgh::Problem &p = *by_number.at(std::atoi(argv[2]));
        const bool lsq = std::string(argv[3]) == "fcf";
        talvo_float_set_digits(std::atol(argv[4]));
        const long solves = std::atol(argv[5]);
        for (long k = 0; k < solves; ++k)
            (lsq ? Lsq(p) : Dga(p));
        std::printf("%ld solves\n", solves);
        return 0;
    }

    // SciPy's counts, from the script beside this program.
    std::map<std::string, std::map<int, std::pair<long, double>>> scipy;
    const std::string script = argc > 1 ? argv[1] : "bench/optimization_scipy.py";
    if (FILE *pipe = popen(("/usr/bin/python3 " + script + " 2>/dev/null").c_str(), "r")) {
        char method[64];
        int number;
        long calls;
        double f;
        while (std::fscanf(pipe, "%63s %d %ld %lf", method, &number, &calls, &f) == 4)
            scipy[method][number] = {calls, f};
        pclose(pipe);
    }
    if (scipy.empty())
        std::printf("(no SciPy counts: run with the path of optimization_scipy.py, python3-scipy installed)\n");

    talvo_float_set_digits(15);
    std::printf("Function evaluations per solve at Digits 15 (ours / SciPy; f reached)\n");
    const char *methods[3][2] = {{"e04cca", "nelder-mead"}, {"e04dga", "l-bfgs-b"}, {"e04fcf", "least_squares"}};
    for (auto &m : methods) {
        int fewer = 0, compared = 0, fewer_same = 0;
        std::printf("\n%-8s vs %-14s %-20s %8s %8s %12s %12s %10s\n", m[0], m[1], "problem", "ours", "scipy", "f ours",
                    "f scipy", "to f scipy");
        for (int number : ten) {
            const mgh::Problem &p = *by_number.at(number);
            auto found = scipy[m[1]].find(number);
            g_target = found != scipy[m[1]].end() ? found->second.second : -1.0;
            g_reached = 0;
            Run r = std::string(m[0]) == "e04cca" ? Cca(p, 1e-8) : std::string(m[0]) == "e04dga" ? Dga(p) : Lsq(p);
            auto s = scipy[m[1]].find(number);
            const bool have = s != scipy[m[1]].end();
            char theirs_calls[32] = "-", theirs_f[32] = "-";
            if (have) {
                std::snprintf(theirs_calls, sizeof theirs_calls, "%ld", s->second.first);
                std::snprintf(theirs_f, sizeof theirs_f, "%.4e", s->second.second);
            }
            char reached[32] = "-";
            if (g_reached > 0)
                std::snprintf(reached, sizeof reached, "%ld", g_reached);
            std::printf("%-27s %-20s %8ld %8s %12.4e %12s %10s%s\n", "", p.name, r.calls, theirs_calls, r.f, theirs_f,
                        reached, r.ifail != 0 ? ("  (ifail " + std::to_string(r.ifail) + ")").c_str() : "");
            if (have) {
                ++compared;
                fewer += r.calls <= s->second.first;
                fewer_same += g_reached > 0 && g_reached <= s->second.first;
            }
        }
        std::printf("%-8s no more evaluations than SciPy on %d of %d to convergence, on %d of %d to SciPy's value\n",
                    m[0], fewer, compared, fewer_same, compared);
    }

    std::printf("\nTime per solve against one MPFR multiply (growth relative to Digits 15); the solver's own\n"
                "time is the solve's less the time inside the problem's function (residuals, value, gradient)\n");
    std::printf("%-20s %-7s %7s %12s %8s %12s %8s %10s %12s %8s\n", "problem", "solver", "Digits", "solve (us)",
                "growth", "mul (us)", "growth", "evals", "own (us)", "growth");
    double mul15 = 0;
    for (long digits : {15L, 50L, 100L}) {
        const double mul = MulMicros(digits);
        if (digits == 15)
            mul15 = mul;
        for (int number : {1, 8, 12, 14}) {
            const mgh::Problem &p = *by_number.at(number);
            for (const char *solver : {"e04fcf", "e04dga"}) {
                talvo_float_set_digits(digits);
                long evals = 0;
                const bool lsq = std::string(solver) == "e04fcf";
                // Microseconds per solve from loops of at least 20 ms (the best of
                // three): one solve of a few hundred microseconds timed alone
                // varies with where the collector's work falls.
                auto solve = [&] { evals = (lsq ? Lsq(p) : Dga(p)).calls; };
                double t = bench::BestMicros(solve);
                // The function's share of a solve, from solves run for at least 50 ms.
                g_in_function = 0;
                double wall = 0;
                const auto t0 = std::chrono::steady_clock::now();
                do {
                    solve();
                    wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
                } while (wall < 0.05);
                const double own = t * (1.0 - g_in_function / wall);
                static std::map<std::string, double> base, base_own;
                const std::string key = std::string(p.name) + solver;
                if (digits == 15) {
                    base[key] = t;
                    base_own[key] = own;
                }
                std::printf("%-20s %-7s %7ld %12.0f %8.2f %12.4f %8.2f %10ld %12.0f %8.2f\n", p.name, solver, digits, t,
                            t / base[key], mul, mul / mul15, evals, own, own / base_own[key]);
            }
        }
    }
    return 0;
}
