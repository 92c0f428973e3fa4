// bench_sparse.cpp -- the sparse iterative solvers (platform/numerics/sparse/)
// against SciPy, and against the MPFR work their iterations must do.
//
// 1. Iterations to a relative residual ||b - A x||_2 <= 1e-12 ||b||_2 on the
//    2-D Poisson and convection-diffusion matrices (a 32 x 32 grid, n = 1024,
//    and a 64 x 64 grid, n = 4096) at Digits 15: our GMRES(30) and
//    Bi-CGSTAB(1) with incomplete LU preconditioners beside SciPy's gmres
//    (restart 30) and bicgstab with spilu at its defaults (drop tolerance
//    1e-4, fill factor 10) on the same matrices (bench/sparse_scipy.py, run
//    by this program when python3 has SciPy).  Ours: ILU(0); the elimination
//    with drop tolerance 1e-4 in the natural order; and ILUT with drop
//    tolerance 1e-4 and fill factor 10 by its two rules ('S' Saad's, row by
//    row; 'L' Li and Shao's, column by column, SuperLU's without its
//    supernodes) in the natural, reverse Cuthill-McKee and minimum degree
//    orders: minimum degree is the like-for-like match of spilu (a
//    fill-reducing order, the same tolerance and fill limit).  The entries
//    of each factor are printed beside spilu's, and the relative residuals
//    reached.  ILUT is also run in spilu's own pivot order (COLAMD's column
//    order, rows the same: its pivots were all on the diagonal), which the
//    script prints.
// 2. The residual after 4 GMRES iterations against the factor's size: the
//    convection-diffusion matrix on the 32 x 32 grid, ILUT with minimum
//    degree by both rules and spilu, drop tolerances 1e-3 to 1e-5.
// 3. Time per iteration at Digits 15, 50 and 100 (the solve's time over its
//    iterations), against
//      full:    the multiply-adds the run must do, counted from the method
//               (products with A, solves with the factor's entries, the
//               inner products, norms and vector updates; for GMRES(m) the
//               Gram-Schmidt work grows with the step in the cycle), divided
//               by its iterations, each costed at one in-place MPFR
//               multiply-add at the same precision; a lone multiplication
//               or addition (a scaling, a subtraction) counts half;
//      product: the multiply-adds of one product with A (as before).
//    The unit cost is the best of the sweeps y[i] += a_ij x[j] over the
//    matrices' nonzeros (one mpfr_mul and one mpfr_add each, in place, x
//    with full mantissas), divided by the nonzeros.  Times are the best of
//    five runs in the thread's CPU time.
//
// Run: build/bin/bench_sparse [path/to/sparse_scipy.py]
#include "sparse/sparse.hpp"
#include "talvo_mp.h"
#include "timing.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <algorithm>
#include <map>
#include <string>
#include <vector>

using namespace talvo::sparse;

namespace {

struct Trip {
    long i, j;
    double v;
};

// The 5-point stencil on a g x g grid: 4 on the diagonal; east/west/north/
// south -1 + c, -1 - c, -1 + d, -1 - d (c = d = 0: Poisson).
Cs<RealKind> stencil(long g, double c, double d, mpfr_prec_t p)
{
    Cs<RealKind> m;
    m.n = g * g;
    std::vector<Trip> t;
    for (long y = 0; y < g; ++y)
        for (long x = 0; x < g; ++x) {
            const long i = y * g + x;
            if (y > 0)
                t.push_back({i, i - g, -1 - d});
            if (x > 0)
                t.push_back({i, i - 1, -1 - c});
            t.push_back({i, i, 4});
            if (x + 1 < g)
                t.push_back({i, i + 1, -1 + c});
            if (y + 1 < g)
                t.push_back({i, i + g, -1 + d});
        }
    m.a = Vec<RealKind>(long(t.size()), p);
    for (size_t k = 0; k < t.size(); ++k) {
        m.row.push_back(t[k].i);
        m.col.push_back(t[k].j);
        mpfr_set_d(m.a[long(k)], t[k].v, MPFR_RNDN);
    }
    index_rows(m);
    return m;
}

Vec<RealKind> ones(long n, mpfr_prec_t p)
{
    Vec<RealKind> b(n, p);
    for (long i = 0; i < n; ++i)
        mpfr_set_ui(b[i], 1, MPFR_RNDN);
    return b;
}

// The fastest of five runs, in this thread's CPU time: the machine is
// shared, and the ratios below put two timings side by side, so each is the
// least disturbed of several and the time other processes hold the core is
// left out (their use of the caches is not).
double thread_seconds()
{
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + 1e-9 * double(ts.tv_nsec);
}

double best_of_five(const std::function<void()> &work)
{
    double best = 1e300;
    for (int k = 0; k < 5; ++k) {
        const double t0 = thread_seconds();
        work();
        best = std::min(best, thread_seconds() - t0);
    }
    return best;
}

struct Run {
    SolveResult r;
    double seconds;
};

// runs: how many times the solve is timed (the best is kept); rel gets the
// relative residual ||b - A x||_2 / ||b||_2 of the stopping test.
Run solve_once(const Cs<RealKind> &a, Method m, long mm, const IluFactor<RealKind> &f, double tol, int runs = 5,
               long maxitn = 5000, double *rel = nullptr)
{
    const mpfr_prec_t p = a.a.precision();
    Vec<RealKind> b = ones(a.n, p), x(a.n, p);
    Real t(p), an(p), rn(p);
    mpfr_set_d(t, tol, MPFR_RNDN);
    mpfr_set_ui_2exp(an, 1, -4000, MPFR_RNDN); // ||A|| ||x|| drops out: ||r|| <= tol ||b||
    KrylovSetup s;
    s.method = m;
    s.n = a.n;
    s.m = mm;
    s.norm = '2';
    s.iterm = 1;
    s.tol_mp = t;
    s.anorm_mp = an;
    s.maxitn = maxitn;
    Run out{};
    auto once = [&] {
        set_zero(x);
        out.r = solve(a, false, b, x, s, Precon::Ilu, &f, nullptr, nullptr, rn);
    };
    if (runs >= 5)
        out.seconds = best_of_five(once);
    else
        once();
    if (rel)
        *rel = mpfr_get_d(rn, MPFR_RNDN) / std::sqrt(double(a.n));
    return out;
}

// Seconds of one multiply-add sweep over the nonzeros, in place.
double sweep_seconds(const Cs<RealKind> &a)
{
    const mpfr_prec_t p = a.a.precision();
    // x_j = 1/(j + 2): full mantissas, as in the Krylov vectors (a vector of
    // ones would make every product exact and cheap)
    Vec<RealKind> x(a.n, p), y(a.n, p);
    for (long j = 0; j < a.n; ++j) {
        mpfr_set_ui(x[j], 1, MPFR_RNDN);
        mpfr_div_ui(x[j], x[j], static_cast<unsigned long>(j + 2), MPFR_RNDN);
    }
    Real t(p);
    const long reps = 20;
    return best_of_five([&] {
               for (long r = 0; r < reps; ++r)
                   for (long k = 0; k < a.nnz(); ++k) {
                       mpfr_mul(t, a.a[k], x[a.col[size_t(k)]], MPFR_RNDN);
                       mpfr_add(y[a.row[size_t(k)]], y[a.row[size_t(k)]], t, MPFR_RNDN);
                   }
           }) /
           double(reps);
}

struct Scipy {
    std::map<std::string, double> v;               // "key value" lines
    std::map<std::string, std::vector<long>> order; // "order key i_0 ... i_{n-1}" lines
};

Scipy scipy_counts(const char *script)
{
    Scipy out;
    std::string cmd = std::string("/usr/bin/python3 ") + script + " 2>/dev/null";
    FILE *pipe = popen(cmd.c_str(), "r");
    if (!pipe)
        return out;
    std::string line;
    char buf[4096];
    while (std::fgets(buf, sizeof buf, pipe)) {
        line += buf;
        if (line.empty() || line.back() != '\n')
            continue; // a long line: read on
        char key[128];
        double val;
        int used = 0;
        if (line.compare(0, 6, "order ") == 0 && std::sscanf(line.c_str() + 6, "%127s%n", key, &used) == 1) {
            std::vector<long> &o = out.order[key];
            const char *at = line.c_str() + 6 + used;
            long i;
            int k = 0;
            while (std::sscanf(at, "%ld%n", &i, &k) == 1) {
                o.push_back(i);
                at += k;
            }
        } else if (line[0] != '#' && std::sscanf(line.c_str(), "%127s %lf", key, &val) == 2) {
            out.v[key] = val;
        }
        line.clear();
    }
    pclose(pipe);
    return out;
}

// The multiply-adds of a solve of itn iterations (see the top), counted
// from the methods as krylov.cpp does them, with cA = nnz(A) for a product
// and cF = the factor's off-diagonal entries plus half its pivots for a
// solve with it.
double full_count(Method m, long restart, long itn, long n, double ca, double cf)
{
    const double N = double(n);
    double c = ca + 0.5 * N + 2 * N; // r = b - A x0 and the first test
    if (m == Method::RGMRES) {
        long left = itn;
        while (left > 0) {
            const long kk = std::min(left, restart);
            c += 2.5 * N; // ||r||, the threshold, v1 = r / ||r||
            for (long j = 0; j < kk; ++j)
                c += cf + ca + 2.0 * double(j + 1) * N + 1.5 * N; // Gram-Schmidt, ||w||, scaling
            c += double(kk) * N + cf + 0.5 * N + ca + 0.5 * N + 2 * N; // x update, true residual, test
            left -= kk;
        }
    } else { // Bi-CGSTAB(1): two products, two solves, the vector work
        c += double(itn) * (2 * ca + 2 * cf + 12 * N);
    }
    return c / double(itn);
}


struct Variant {
    const char *name;
    IluOptions o;
};

IluOptions ilut_options(char rule, char order, double dtol = 1e-4)
{
    IluOptions o;
    o.lfill = -1;
    o.dtol = dtol;
    o.ilut = true;
    o.fill_factor = 10;
    o.ilut_rule = rule;
    o.order = order;
    return o;
}

// The preconditioners of the comparison; the 64 x 64 grid takes the ILUT
// rows with the reverse Cuthill-McKee and minimum degree orders.
std::vector<Variant> variants(long g)
{
    std::vector<Variant> v;
    IluOptions o;
    if (g <= 32) {
        v.push_back({"ILU(0)", o});
        o.lfill = -1;
        o.dtol = 1e-4;
        v.push_back({"elim dtol 1e-4", o});
        v.push_back({"ILUT-S natural", ilut_options('S', 'N')});
    }
    v.push_back({"ILUT-S RCM", ilut_options('S', 'R')});
    v.push_back({"ILUT-S min deg", ilut_options('S', 'D')});
    if (g <= 32)
        v.push_back({"ILUT-L natural", ilut_options('L', 'N')});
    v.push_back({"ILUT-L RCM", ilut_options('L', 'R')});
    v.push_back({"ILUT-L min deg", ilut_options('L', 'D')});
    return v;
}

double get(const std::map<std::string, double> &m, const std::string &k)
{
    const auto it = m.find(k);
    return it == m.end() ? 0.0 : it->second;
}

} // namespace

int main(int argc, char **argv)
{
    const char *script = argc > 1 ? argv[1] : "bench/sparse_scipy.py";
    std::printf("Iterations to ||r||_2 <= 1e-12 ||b||_2, Digits 15, b = 1, x0 = 0 (res: the relative residual reached)\n");
    std::printf("ILUT: drop tolerance 1e-4, fill factor 10, rule S (Saad, rows) or L (Li and Shao, columns);\n"
                "SciPy: spilu defaults (drop 1e-4, fill factor 10, COLAMD)\n");
    const Scipy scipy = scipy_counts(script);
    const std::map<std::string, double> &sc = scipy.v;
    if (sc.empty())
        std::printf("(SciPy not available: run /usr/bin/python3 %s by hand)\n", script);
    talvo_float_set_digits(15);
    const mpfr_prec_t p15 = talvo_float_precision_bits(15) + 24;
    for (long g : {32L, 64L}) {
        std::printf("\n%ld x %ld grid (n = %ld)\n", g, g, g * g);
        std::printf("%-9s %-16s %8s %8s | %-9s %5s %5s %5s %9s %9s\n", "matrix", "preconditioner", "nnz(F)", "spilu",
                    "method", "ours", "SciPy", "ratio", "res ours", "res SciPy");
        for (int which = 0; which < 2; ++which) {
            const char *name = which == 0 ? "poisson" : "convdiff";
            const Cs<RealKind> a = which == 0 ? stencil(g, 0, 0, p15) : stencil(g, 0.6, 0.2, p15);
            const std::string key = "g" + std::to_string(g) + "_" + name;
            std::vector<Variant> vs = variants(g);
            // ILUT in spilu's own pivot order (a symmetric permutation: the
            // diagonal was each of its pivots), when SciPy gave it
            const auto so = scipy.order.find(key);
            const bool spilu_order = so != scipy.order.end() && long(so->second.size()) == a.n &&
                                     get(sc, key + "_rows_as_columns") == 1;
            if (spilu_order) {
                vs.push_back({"ILUT-S spilu ord", ilut_options('S', 'N')});
                vs.push_back({"ILUT-L spilu ord", ilut_options('L', 'N')});
            }
            for (const Variant &var : vs) {
                const bool in_spilu_order = std::string(var.name).find("spilu") != std::string::npos;
                const Cs<RealKind> pa = in_spilu_order ? permuted(a, so->second) : Cs<RealKind>();
                const Cs<RealKind> &aa = in_spilu_order ? pa : a; // b = 1 is the same in any order
                IluFactor<RealKind> f;
                long npivm;
                ilu_factor(aa, var.o, nullptr, nullptr, f, npivm);
                for (int meth = 0; meth < 2; ++meth) {
                    const Method m = meth == 0 ? Method::RGMRES : Method::BICGSTAB;
                    double rel = 0;
                    const Run r = solve_once(aa, m, meth == 0 ? 30 : 1, f, 1e-12, 1, 5000, &rel);
                    const std::string mk = key + (meth == 0 ? "_gmres" : "_bicgstab");
                    const double theirs = get(sc, mk);
                    std::printf("%-9s %-16s %8ld %8.0f | %-9s %5ld %5.0f %5.2f %9.2e %9.2e%s\n", name, var.name,
                                long(f.col.size()), get(sc, key + "_nnz_lu"), meth == 0 ? "GMRES(30)" : "BiCGSTAB",
                                r.r.itn, theirs, theirs > 0 ? double(r.r.itn) / theirs : 0.0, rel,
                                get(sc, mk + "_res"), r.r.status == kConverged ? "" : "  (not converged)");
                }
            }
        }
    }

    std::printf("\nResidual after 4 GMRES(30) iterations against the factor's entries: convection-diffusion, 32 x 32,\n"
                "Digits 15; ours ILUT with minimum degree and fill factor 10, SciPy spilu (fill factor 10) in its gmres\n");
    std::printf("%-6s | %8s %9s | %8s %9s | %8s %9s\n", "dtol", "S nnz", "S res4", "L nnz", "L res4", "spilu", "res4");
    {
        const Cs<RealKind> a = stencil(32, 0.6, 0.2, p15);
        for (const char *dt : {"1e-3", "3e-4", "1e-4", "5e-5", "3e-5", "1e-5"}) {
            std::printf("%-6s", dt);
            for (char rule : {'S', 'L'}) {
                IluFactor<RealKind> f;
                long npivm;
                ilu_factor(a, ilut_options(rule, 'D', std::atof(dt)), nullptr, nullptr, f, npivm);
                double rel = 0;
                solve_once(a, Method::RGMRES, 30, f, 1e-30, 1, 4, &rel);
                std::printf(" | %8ld %9.2e", long(f.col.size()), rel);
            }
            const std::string k = std::string("g32_convdiff_dtol") + dt;
            std::printf(" | %8.0f %9.2e\n", get(sc, k + "_nnz_lu"), get(sc, k + "_res4"));
        }
    }

    std::printf("\nTime per iteration against its multiply-adds (full) and one product's (product), MPFR in place, 32 x 32\n");
    const long g = 32;
    std::printf("%-6s %-9s %-16s %-9s %11s %11s %8s %8s %8s\n", "Digits", "matrix", "preconditioner", "method",
                "s/iteration", "s/madd", "madds", "full", "product");
    for (long digits : {15L, 50L, 100L}) {
        talvo_float_set_digits(digits);
        const mpfr_prec_t p = talvo_float_precision_bits(digits) + 24;
        // the unit: the least disturbed of the sweeps over both matrices (the
        // same pattern and size), taken again after the solves
        const Cs<RealKind> mats[2] = {stencil(g, 0, 0, p), stencil(g, 0.6, 0.2, p)};
        double madd = 1e300;
        for (const auto &m : mats)
            madd = std::min(madd, sweep_seconds(m) / double(m.nnz()));
        struct Row {
            int which;
            const char *pre;
            int meth;
            double per, count;
        };
        std::vector<Row> rows;
        const std::vector<Variant> all = variants(32), vs = {all[0], all[4], all[7]};
        for (int which = 0; which < 2; ++which) {
            const Cs<RealKind> &a = mats[which];
            for (const Variant *var : {&vs[0], &vs[1], &vs[2]}) {
                IluFactor<RealKind> f;
                long npivm;
                ilu_factor(a, var->o, nullptr, nullptr, f, npivm);
                const double ca = double(a.nnz()), cf = double(long(f.col.size()) - a.n) + 0.5 * double(a.n);
                for (int meth = 0; meth < 2; ++meth) {
                    const Method m = meth == 0 ? Method::RGMRES : Method::BICGSTAB;
                    const long restart = meth == 0 ? 30 : 1;
                    const Run r = solve_once(a, m, restart, f, 1e-12);
                    const double per = r.seconds / double(r.r.itn);
                    rows.push_back({which, var->name, meth, per, full_count(m, restart, r.r.itn, a.n, ca, cf)});
                }
            }
        }
        for (const auto &m : mats)
            madd = std::min(madd, sweep_seconds(m) / double(m.nnz()));
        for (const Row &r : rows) {
            const double ca = double(mats[r.which].nnz());
            std::printf("%-6ld %-9s %-16s %-9s %11.3e %11.3e %8.0f %8.2f %8.2f\n", digits,
                        r.which == 0 ? "poisson" : "convdiff", r.pre, r.meth == 0 ? "GMRES(30)" : "BiCGSTAB", r.per,
                        madd, r.count, r.per / (r.count * madd), r.per / (ca * madd));
        }
    }
    return 0;
}
