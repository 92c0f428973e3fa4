// bench_sparse.cpp -- the sparse iterative solvers (platform/numerics/sparse/)
// against SciPy, and against the MPFR work of their nonzeros.
//
// 1. Iterations to a relative residual ||b - A x||_2 <= 1e-12 ||b||_2 on the
//    2-D Poisson and convection-diffusion matrices (a 32 x 32 grid, n = 1024)
//    at Digits 15: our GMRES(30) and Bi-CGSTAB(1) with incomplete LU
//    preconditioners (ILU(0), and the drop tolerance 1e-4 that SciPy's spilu
//    uses by default) beside SciPy's gmres and bicgstab with spilu on the
//    same matrices (bench/sparse_scipy.py, run by this program when python3
//    has SciPy).
// 2. Time per iteration at Digits 15, 50 and 100, and its ratio to one sweep
//    of MPFR multiply-adds over the matrix's nonzeros in place
//    (y[i] += a_ij x[j]: one mpfr_mul and one mpfr_add each), at the same
//    precision.
//
// Run: build/bin/bench_sparse [path/to/sparse_scipy.py]
#include "sparse/sparse.hpp"
#include "talvo_mp.h"
#include "timing.hpp"

#include <cstdio>
#include <cstdlib>
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

struct Run {
    SolveResult r;
    double seconds;
};

Run solve_once(const Cs<RealKind> &a, Method m, long mm, const IluFactor<RealKind> &f, double tol)
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
    s.maxitn = 5000;
    Run out{};
    out.seconds = bench::BestSeconds([&] {
        set_zero(x);
        out.r = solve(a, false, b, x, s, Precon::Ilu, &f, nullptr, nullptr, rn);
    });
    return out;
}

// Seconds of one multiply-add sweep over the nonzeros, in place.
double sweep_seconds(const Cs<RealKind> &a)
{
    const mpfr_prec_t p = a.a.precision();
    Vec<RealKind> x = ones(a.n, p), y(a.n, p);
    Real t(p);
    const long reps = 20;
    return bench::BestSeconds([&] {
               for (long r = 0; r < reps; ++r)
                   for (long k = 0; k < a.nnz(); ++k) {
                       mpfr_mul(t, a.a[k], x[a.col[size_t(k)]], MPFR_RNDN);
                       mpfr_add(y[a.row[size_t(k)]], y[a.row[size_t(k)]], t, MPFR_RNDN);
                   }
           }) /
           double(reps);
}

std::map<std::string, long> scipy_counts(const char *script)
{
    std::map<std::string, long> out;
    std::string cmd = std::string("/usr/bin/python3 ") + script + " 2>/dev/null";
    FILE *pipe = popen(cmd.c_str(), "r");
    if (!pipe)
        return out;
    char line[256], key[128];
    long v;
    while (std::fgets(line, sizeof line, pipe))
        if (line[0] != '#' && std::sscanf(line, "%127s %ld", key, &v) == 2)
            out[key] = v;
    pclose(pipe);
    return out;
}

} // namespace

int main(int argc, char **argv)
{
    const char *script = argc > 1 ? argv[1] : "bench/sparse_scipy.py";
    const long g = 32;
    std::printf("Iterations to ||r||_2 <= 1e-12 ||b||_2, 32 x 32 grid (n = 1024), Digits 15, b = 1, x0 = 0\n");
    std::map<std::string, long> sc = scipy_counts(script);
    if (sc.empty())
        std::printf("(SciPy not available: run /usr/bin/python3 %s by hand)\n", script);
    std::printf("%-18s %-10s %-14s %8s %8s %8s\n", "matrix", "method", "preconditioner", "ours", "SciPy", "ratio");
    talvo_float_set_digits(15);
    const mpfr_prec_t p15 = talvo_float_precision_bits(15) + 24;
    for (int which = 0; which < 2; ++which) {
        const char *name = which == 0 ? "poisson" : "convdiff";
        Cs<RealKind> a = which == 0 ? stencil(g, 0, 0, p15) : stencil(g, 0.6, 0.2, p15);
        for (int drop = 0; drop < 2; ++drop) {
            IluOptions o;
            if (drop) {
                o.lfill = -1;
                o.dtol = 1e-4;
            }
            IluFactor<RealKind> f;
            long npivm;
            ilu_factor(a, o, nullptr, nullptr, f, npivm);
            for (int meth = 0; meth < 2; ++meth) {
                const Method m = meth == 0 ? Method::RGMRES : Method::BICGSTAB;
                const Run r = solve_once(a, m, meth == 0 ? 30 : 1, f, 1e-12);
                const std::string key = std::string(name) + "_" + (meth == 0 ? "gmres" : "bicgstab");
                const long theirs = sc.count(key) ? sc[key] : 0;
                std::printf("%-18s %-10s %-14s %8ld %8ld %8.2f%s\n", name, meth == 0 ? "GMRES(30)" : "BiCGSTAB",
                            drop ? "ILU dtol 1e-4" : "ILU(0)", r.r.itn, theirs,
                            theirs > 0 ? double(r.r.itn) / double(theirs) : 0.0,
                            r.r.status == kConverged ? "" : "  (not converged)");
            }
        }
    }
    std::printf("\nTime per iteration (ILU(0)) against one sweep of MPFR multiply-adds over the nonzeros\n");
    std::printf("%-8s %-10s %-10s %12s %12s %8s %14s\n", "Digits", "matrix", "method", "s/iteration", "s/sweep",
                "ratio", "ratio/product");
    for (long digits : {15L, 50L, 100L}) {
        talvo_float_set_digits(digits);
        const mpfr_prec_t p = talvo_float_precision_bits(digits) + 24;
        for (int which = 0; which < 2; ++which) {
            Cs<RealKind> a = which == 0 ? stencil(g, 0, 0, p) : stencil(g, 0.6, 0.2, p);
            IluOptions o;
            IluFactor<RealKind> f;
            long npivm;
            ilu_factor(a, o, nullptr, nullptr, f, npivm);
            const double sweep = sweep_seconds(a);
            for (int meth = 0; meth < 2; ++meth) {
                const Method m = meth == 0 ? Method::RGMRES : Method::BICGSTAB;
                const Run r = solve_once(a, m, meth == 0 ? 30 : 1, f, 1e-12);
                const double per = r.seconds / double(r.r.itn);
                // products with A (and solves with M) per iteration: GMRES 1, Bi-CGSTAB 2
                const double products = meth == 0 ? 1.0 : 2.0;
                std::printf("%-8ld %-10s %-10s %12.3e %12.3e %8.2f %14.2f\n", digits,
                            which == 0 ? "poisson" : "convdiff", meth == 0 ? "GMRES(30)" : "BiCGSTAB", per, sweep,
                            per / sweep, per / sweep / products);
            }
        }
    }
    return 0;
}
