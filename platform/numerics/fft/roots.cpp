// roots.cpp -- tables of roots of unity, each entry correctly rounded or
// within a hair of it.
//
// w[k] = exp(-2 pi i k / N).  Repeated multiplication by exp(-2 pi i / N)
// would let the error of the k-th entry grow with k; here every entry is
// one product of two values computed directly (a coarse root exp(-2 pi i aB/N)
// and a fine one exp(-2 pi i b/N), k = aB + b, B about the square root of the
// range), taken 24 bits beyond the table's precision and rounded once.  Each
// entry is then within 0.5 + 2^-20 units in the last place of the exact
// value.  The direct values come from MPFR's sin(2 pi x / u) and
// cos(2 pi x / u), which reduce the argument exactly.
//
// Only the first octant (or half circle, when 4 does not divide N) is
// computed; the other entries follow from it by exact symmetries (exchanging
// and negating the two parts).
#include "few_limbs.hpp"
#include "fft.hpp"

#include <cmath>
#include <vector>

namespace talvo::mp::fft {

namespace {

// An angle 2 pi k / N as a base index b in the computed range and what to
// do with (c, s) = (cos, sin)(2 pi b / N) to get (cos, sin)(2 pi k / N).
struct Folded {
    size_t base;
    bool swap;   // (c, s) -> (s, c)
    int quarter; // then rotate by quarter * pi/2
    bool mirror; // or reflect: (c, s) -> (c, -s)
};

Folded fold(size_t k, size_t n)
{
    k %= n;
    if (n % 4 == 0) {
        size_t q = n / 4;
        size_t quarter = k / q, r = k % q;
        if (2 * r <= q)
            return {r, false, int(quarter), false};
        return {q - r, true, int(quarter), false};
    }
    if (2 * k <= n)
        return {k, false, 0, false};
    return {n - k, false, 0, true};
}

// The largest base index fold can return.
size_t base_range(size_t n)
{
    if (n % 4 == 0)
        return n / 8;
    return n / 2;
}

class Mp {
public:
    explicit Mp(mpfr_prec_t p) { mpfr_init2(v, p); }
    ~Mp() { mpfr_clear(v); }
    Mp(const Mp &) = delete;
    Mp &operator=(const Mp &) = delete;
    operator mpfr_ptr() { return v; }

private:
    mpfr_t v;
};

} // namespace

void unit_roots(Complex *w, size_t n, size_t count, mpfr_prec_t prec)
{
    if (count == 0)
        return;
    const mpfr_prec_t hp = prec + 24;
    size_t range = base_range(n);
    if (range + 1 > count && count <= n / 2)
        range = count - 1; // only the first entries are asked for, all in the half circle
    // Which base indices are needed: with symmetries, all of 0..range.
    size_t block = static_cast<size_t>(std::ceil(std::sqrt(double(range + 1))));
    if (block == 0)
        block = 1;
    size_t coarse_count = range / block + 1;
    struct Pair {
        mpfr_t c, s;
    };
    std::vector<Pair> fine(block), coarse(coarse_count), base(range + 1);
    auto init = [&](std::vector<Pair> &v, mpfr_prec_t p) {
        for (Pair &x : v)
            mpfr_inits2(p, x.c, x.s, (mpfr_ptr) nullptr);
    };
    auto clear = [&](std::vector<Pair> &v) {
        for (Pair &x : v)
            mpfr_clears(x.c, x.s, (mpfr_ptr) nullptr);
    };
    init(fine, hp);
    init(coarse, hp);
    init(base, prec);
    {
        Mp arg(64), t1(hp), t2(hp), t3(hp);
        auto direct = [&](Pair &x, size_t k) {
            mpfr_set_ui(arg, static_cast<unsigned long>(k), MPFR_RNDN);
            mpfr_cosu(x.c, arg, static_cast<unsigned long>(n), MPFR_RNDN);
            mpfr_sinu(x.s, arg, static_cast<unsigned long>(n), MPFR_RNDN);
        };
        for (size_t b = 0; b < block; ++b)
            direct(fine[b], b);
        for (size_t a = 0; a < coarse_count; ++a)
            direct(coarse[a], a * block);
        for (size_t k = 0; k <= range; ++k) {
            Pair &C = coarse[k / block], &F = fine[k % block];
            if (k % block == 0) {
                mpfr_set(base[k].c, C.c, MPFR_RNDN);
                mpfr_set(base[k].s, C.s, MPFR_RNDN);
                continue;
            }
            // cos(x + y) = cx cy - sx sy, sin(x + y) = sx cy + cx sy.
            talvo::floatn::mul_rn(t1, C.c, F.c);
            talvo::floatn::mul_rn(t2, C.s, F.s);
            talvo::floatn::sub_rn(t3, t1, t2);
            mpfr_set(base[k].c, t3, MPFR_RNDN);
            talvo::floatn::mul_rn(t1, C.s, F.c);
            talvo::floatn::mul_rn(t2, C.c, F.s);
            talvo::floatn::add_rn(t3, t1, t2);
            mpfr_set(base[k].s, t3, MPFR_RNDN);
        }
    }
    for (size_t k = 0; k < count; ++k) {
        Folded f = fold(k, n);
        mpfr_srcptr c = base[f.base].c, s = base[f.base].s;
        if (f.swap)
            std::swap(c, s);
        // (c, s) rotated by quarter * pi/2, or reflected.
        mpfr_srcptr rc = c, rs = s;
        bool neg_c = false, neg_s = f.mirror;
        switch (f.quarter) {
        case 1: rc = s; rs = c; neg_c = true; break;
        case 2: neg_c = true; neg_s = true; break;
        case 3: rc = s; rs = c; neg_s = true; break;
        default: break;
        }
        // w = cos - i sin.
        mpfr_set(&w[k].re, rc, MPFR_RNDN);
        if (neg_c)
            mpfr_neg(&w[k].re, &w[k].re, MPFR_RNDN);
        mpfr_set(&w[k].im, rs, MPFR_RNDN);
        if (!neg_s)
            mpfr_neg(&w[k].im, &w[k].im, MPFR_RNDN);
    }
    clear(fine);
    clear(coarse);
    clear(base);
}

} // namespace talvo::mp::fft
