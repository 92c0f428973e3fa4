// bench_regression -- the dense linear algebra and the regression fit against
// their floor and a peer, in one run.
//
//   QR 1000 x 50   Householder QR (no pivoting) of a 1000 x 50 matrix at the
//                  precision of D digits (and with the fit's 64 guard bits)
//                  against the floor: n p^2 multiply-adds done in place with
//                  MPFR (mpfr_mul into a temporary, mpfr_add into the
//                  element, the cheapest in-place form at these precisions)
//                  at the same precision.  Householder QR needs about
//                  2 n p^2 - 2 p^3 / 3 of them, so 2x the floor is the
//                  arithmetic's own cost.
//   fit            TalvoMP_g02daf_f on NIST's Longley (16 x 7) and Filip
//                  (82 x 11, a degree-10 polynomial) at D digits: the whole
//                  fit (QR, the SVD of R for the rank, the solution,
//                  covariance, leverages, residuals, and the second pass at
//                  the raised precision when the design is ill conditioned)
//                  against the floor, the n p^2 multiply-adds at the
//                  precision the fit ended at.  The peer, mpmath's qr_solve
//                  at the same digits (bench/regression_mpmath.py), solves
//                  the least-squares problem only, at the given digits with
//                  no raised precision.
//   Durbin-Watson  TalvoMP_g02fcc on the residuals of the Longley and
//                  Filip fits (the exact bound probabilities).
//
// Usage: bench_regression [digits...]   (default 15 30 50 100)
#include "timing.hpp"
#include "talvo_mp.h"

#include <gc.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using talvo::linalg::Matrix;
using talvo::linalg::Vector;

// Seconds per call of f: the best of three loops of at least 0.2 s (a call
// over a second is timed once).
double seconds(const std::function<void()> &f)
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
        } while (s < 0.2);
        best = std::min(best, s / double(n));
        if (s > 1.0)
            break;
    }
    return best;
}

void fill(Matrix &a, uint64_t seed)
{
    for (long j = 0; j < a.cols(); ++j)
        for (long i = 0; i < a.rows(); ++i) {
            seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
            mpfr_set_si_2exp(a(i, j), long(int32_t(seed >> 32)), -31, MPFR_RNDN);
        }
}

// The floor: n p^2 multiply-adds in place at precision prec, as the update
// y += w x of one column of n elements by another, repeated p^2 times: the
// two columns stay in cache, so this is the arithmetic alone.
double floor_seconds(long n, long p, mpfr_prec_t prec)
{
    Matrix a(n, 2, prec);
    fill(a, 5);
    mpfr_t w, t;
    mpfr_init2(w, prec);
    mpfr_init2(t, prec);
    mpfr_set_d(w, -1e-3, MPFR_RNDN);
    double s = seconds([&] {
        for (long r = 0; r < p * p; ++r) {
            mpfr_ptr y = a.col(r & 1);
            mpfr_srcptr x = a.col(1 - (r & 1));
            for (long i = 0; i < n; ++i) {
                mpfr_mul(t, w, x + i, MPFR_RNDN);
                mpfr_add(y + i, y + i, t, MPFR_RNDN);
            }
        }
    });
    mpfr_clear(w);
    mpfr_clear(t);
    return s;
}

double qr_seconds(long n, long p, mpfr_prec_t prec)
{
    Matrix a(n, p, prec), work(n, p, prec);
    Vector tau(p, prec);
    fill(a, 11);
    return seconds([&] {
        for (long j = 0; j < p; ++j)
            for (long i = 0; i < n; ++i)
                mpfr_set(work(i, j), a(i, j), MPFR_RNDN);
        talvo::linalg::qr_householder(work, tau);
    });
}

struct Data {
    std::vector<std::string> y;
    std::vector<std::vector<std::string>> x;
};

Data read(const std::string &name)
{
    std::ifstream in(std::string(BENCH_NIST_DATA) + "/" + name + ".dat");
    std::vector<std::string> lines;
    for (std::string l; std::getline(in, l);)
        lines.push_back(l);
    std::smatch m;
    long first = 0, last = 0;
    for (size_t i = 0; i < 10 && i < lines.size(); ++i)
        if (std::regex_search(lines[i], m, std::regex(R"(Data\s+\(lines (\d+) to (\d+)\))"))) {
            first = std::stol(m[1]);
            last = std::stol(m[2]);
        }
    Data d;
    for (long i = first; i <= last && i <= long(lines.size()); ++i) {
        std::istringstream w(lines[size_t(i - 1)]);
        std::vector<std::string> v;
        for (std::string s; w >> s;)
            v.push_back(s);
        if (v.empty())
            continue;
        d.y.push_back(v[0]);
        d.x.emplace_back(v.begin() + 1, v.end());
    }
    return d;
}

TalvoFloat parse(const std::string &s)
{
    return TalvoFloat::from_handle(talvo_float_parse(s.c_str(), talvo_float_precision()));
}

struct Fit {
    Integer n, m, ip;
    std::vector<TalvoFloat> x, y, b, se, cov, res, h, q, p, wk;
    std::vector<Integer> isx;
    TalvoFloat rss;
    Integer idf = 0, svd = 0, irank = 0, ifail = 1;

    // degree > 0: a polynomial in the one variable
    Fit(const Data &d, int degree)
    {
        n = Integer(d.y.size());
        m = degree > 0 ? degree : Integer(d.x[0].size());
        ip = m + 1;
        x.resize(size_t(n * m));
        for (Integer i = 0; i < n; ++i) {
            y.push_back(parse(d.y[size_t(i)]));
            if (degree > 0) {
                TalvoFloat xi = parse(d.x[size_t(i)][0]), pw(1.0);
                for (Integer j = 0; j < m; ++j)
                    x[size_t(i + j * n)] = pw = pw * xi;
            } else {
                for (Integer j = 0; j < m; ++j)
                    x[size_t(i + j * n)] = parse(d.x[size_t(i)][size_t(j)]);
            }
        }
        isx.assign(size_t(m), 1);
        b.resize(size_t(ip));
        se.resize(size_t(ip));
        cov.resize(size_t(ip * (ip + 1) / 2));
        res.resize(size_t(n));
        h.resize(size_t(n));
        q.resize(size_t(n * (ip + 1)));
        p.resize(size_t(2 * ip + ip * ip));
        wk.resize(1);
    }
    void run()
    {
        ifail = 1;
        TalvoMP_g02daf_f("M", "U", n, x.data(), n, m, isx.data(), ip, y.data(), nullptr, &rss, &idf, b.data(),
                         se.data(), cov.data(), res.data(), h.data(), q.data(), n, &svd, &irank, p.data(),
                         TalvoFloat(1e-30), wk.data(), &ifail, 1, 1);
    }
};

} // namespace

int main(int argc, char **argv)
{
    GC_INIT();
    std::vector<long> digits;
    for (int i = 1; i < argc; ++i)
        digits.push_back(std::atol(argv[i]));
    if (digits.empty())
        digits = {15, 30, 50, 100};

    std::printf("QR of a 1000 x 50 matrix (seconds; floor = 1000 * 50^2 multiply-adds in place with MPFR)\n");
    std::printf("%7s %6s %10s %10s %8s\n", "digits", "bits", "qr", "floor", "qr/floor");
    for (long d : {15L, 50L}) {
        for (mpfr_prec_t extra : {0, 64}) {
            mpfr_prec_t prec = talvo_float_precision_bits(d) + extra;
            double q = qr_seconds(1000, 50, prec), f = floor_seconds(1000, 50, prec);
            std::printf("%7ld %6ld %10.4f %10.4f %8.2f\n", d, long(prec), q, f, q / f);
        }
    }

    Data longley = read("Longley"), filip = read("Filip");
    std::printf("\nFit (TalvoMP_g02daf_f), milliseconds; floor = n p^2 multiply-adds at the final working precision\n");
    std::printf("%-8s %7s %10s %10s %8s %6s\n", "set", "digits", "fit ms", "floor ms", "ratio", "ifail");
    for (long d : digits) {
        talvo_float_set_digits(d);
        for (auto [name, data, degree] : {std::tuple{"Longley", &longley, 0}, std::tuple{"Filip", &filip, 10}}) {
            Fit fit(*data, degree);
            double s = seconds([&] { fit.run(); });
            // The final working precision: a second pass when 2 log2(kappa) > 32.
            long e1 = mpfr_get_exp(fit.p[size_t(fit.ip)].mpfr()),
                 er = mpfr_get_exp(fit.p[size_t(2 * fit.ip - 1)].mpfr());
            long extra = 2 * (e1 - er + 1);
            mpfr_prec_t wp = talvo_float_precision() + 64 + (extra > 32 ? extra : 0);
            double f = floor_seconds(fit.n, fit.ip, wp);
            std::printf("%-8s %7ld %10.3f %10.4f %8.1f %6ld\n", name, d, s * 1e3, f * 1e3, s / f, long(fit.ifail));
        }
    }

    std::printf("\nDurbin-Watson bounds (TalvoMP_g02fcc) on the fits' residuals, milliseconds\n");
    std::printf("%-8s %7s %10s\n", "set", "digits", "ms");
    for (long d : digits) {
        talvo_float_set_digits(d);
        for (auto [name, data, degree] : {std::tuple{"Longley", &longley, 0}, std::tuple{"Filip", &filip, 10}}) {
            Fit fit(*data, degree);
            fit.run();
            std::vector<TalvoFloat> work(size_t(fit.n));
            TalvoFloat dw, pdl, pdu;
            NagError fail{};
            double s = seconds([&] {
                TalvoMP_g02fcc(fit.n, fit.ip, fit.res.data(), &dw, &pdl, &pdu, work.data(), &fail);
            });
            std::printf("%-8s %7ld %10.3f\n", name, d, s * 1e3);
        }
    }
    return 0;
}
