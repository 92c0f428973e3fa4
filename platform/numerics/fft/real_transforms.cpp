// real_transforms.cpp -- TalvoMP_c06faf, TalvoMP_c06fbf, TalvoMP_c06gbf: the
// Fourier transform of a real sequence, of a Hermitian sequence, and the
// conjugation of a Hermitian sequence, with the vendor's storage and scaling.
//
// Both transforms compute (1/sqrt(n)) sum_j z_j exp(-2 pi i jk / n).  A
// Hermitian sequence (z_{n-k} = conj(z_k)) of length n is stored in n reals:
// Re z_k in x[k] for 0 <= k <= n/2, Im z_k in x[n-k] for 1 <= k <= (n-1)/2.
// c06faf followed by c06gbf and c06fbf gives back the data.
//
// Method.  For even n the real sequence is packed into n/2 complex numbers
// (x_{2t} + i x_{2t+1}), transformed by a complex plan of length n/2, and
// the two interleaved transforms are separated with one multiplication by
// exp(-2 pi i k / n) per pair of outputs; the Hermitian transform runs the
// same steps backwards.  For odd n the complex plan of length n transforms
// the data with zero imaginary parts (or the whole Hermitian sequence).
//
// Precision.  Every operation is made at a working precision of the output
// precision (that of the current "Digits") plus 12 guard bits, plus a few
// more with log log n and with every Rader or Bluestein convolution the
// plan nests.  The normwise error of a transform in that arithmetic is a few
// times log2(n) units of the working precision, far below one unit of the
// output precision; each result is then rounded once to the output
// precision.  So each output is within half a unit in its last place plus a
// small fraction of a unit in the last place of the largest output.
//
// A plan (tables and arrays) is kept for the last few lengths and precisions
// used, so that a transform and its inverse (as the kernel density makes
// them) share one.
#include "../talvo_mp.h"
#include "fft.hpp"

#include <cmath>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace talvo::mp::fft {

namespace {

mpfr_prec_t working_precision(size_t n, mpfr_prec_t out_prec)
{
    size_t inner = n % 2 == 0 ? n / 2 : n;
    double lg = std::log2(double(n) + 1.0);
    long guard = 12 + static_cast<long>(std::ceil(std::log2(lg + 1.0))) + 3L * plan_depth(inner);
    mpfr_prec_t wp = out_prec + guard;
    // MPFR's fastest paths are for precisions that are not a whole number of
    // limbs; one bit less of guard costs nothing.
    if (wp % 64 == 0)
        wp -= 1;
    return wp;
}

class RealPlan {
public:
    RealPlan(size_t n, mpfr_prec_t wp)
        : n_(n), h_(n / 2), wp_(wp), plan_(n % 2 == 0 ? n / 2 : n, wp), in_(plan_.size(), wp),
          out_(plan_.size(), wp), temps_(6, wp)
    {
        if (n % 2 == 0) {
            tw_ = ComplexArray(n / 4 + 1, wp);
            unit_roots(tw_.data(), n, n / 4 + 1, wp);
        }
        // 1/sqrt(n) and 1/(2 sqrt(n)).
        mpfr_set_ui(scale(), static_cast<unsigned long>(n), MPFR_RNDN);
        mpfr_rec_sqrt(scale(), scale(), MPFR_RNDN);
        mpfr_div_2ui(half_scale(), scale(), 1, MPFR_RNDN);
    }

    size_t size() const { return n_; }
    mpfr_prec_t precision() const { return wp_; }

    // x (real) -> its transform in Hermitian storage.
    void forward(TalvoFloat *x, mpfr_prec_t out_prec)
    {
        if (n_ % 2 == 1) {
            for (size_t j = 0; j < n_; ++j) {
                mpfr_set(&in_[j].re, x[j].mpfr(), MPFR_RNDN);
                mpfr_set_zero(&in_[j].im, 1);
            }
            plan_.forward(out_.data(), in_.data());
            put(x[0], &out_[0].re, scale(), out_prec);
            for (size_t k = 1; 2 * k < n_; ++k) {
                put(x[k], &out_[k].re, scale(), out_prec);
                put(x[n_ - k], &out_[k].im, scale(), out_prec);
            }
            return;
        }
        for (size_t t = 0; t < h_; ++t) {
            mpfr_set(&in_[t].re, x[2 * t].mpfr(), MPFR_RNDN);
            mpfr_set(&in_[t].im, x[2 * t + 1].mpfr(), MPFR_RNDN);
        }
        plan_.forward(out_.data(), in_.data());
        Complex *U = out_.data();
        Complex &E = temps_[1], &T = temps_[2];
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7);
        // X_0 and X_{n/2} are real.
        mpfr_add(t1, &U[0].re, &U[0].im, MPFR_RNDN);
        mpfr_sub(t2, &U[0].re, &U[0].im, MPFR_RNDN);
        put(x[0], t1, scale(), out_prec);
        put(x[h_], t2, scale(), out_prec);
        // With A = U_k, B = U_{h-k}: 2E = A + conj(B), 2O = -i (A - conj(B)),
        // X_k = E + w^k O and X_{h-k} = conj(E - w^k O).
        for (size_t k = 1; 2 * k <= h_; ++k) {
            const Complex &A = U[k], &B = U[h_ - k];
            mpfr_add(&E.re, &A.re, &B.re, MPFR_RNDN);
            mpfr_sub(&E.im, &A.im, &B.im, MPFR_RNDN);
            mpfr_add(&T.re, &A.im, &B.im, MPFR_RNDN);
            mpfr_sub(&T.im, &B.re, &A.re, MPFR_RNDN);
            cmul(T, T, tw_[k], t1, t2);
            mpfr_add(t1, &E.re, &T.re, MPFR_RNDN);
            put(x[k], t1, half_scale(), out_prec);
            mpfr_add(t1, &E.im, &T.im, MPFR_RNDN);
            put(x[n_ - k], t1, half_scale(), out_prec);
            if (2 * k == h_)
                continue;
            mpfr_sub(t1, &E.re, &T.re, MPFR_RNDN);
            put(x[h_ - k], t1, half_scale(), out_prec);
            mpfr_sub(t1, &T.im, &E.im, MPFR_RNDN);
            put(x[h_ + k], t1, half_scale(), out_prec);
        }
    }

    // x (Hermitian storage) -> the real transform.
    void backward(TalvoFloat *x, mpfr_prec_t out_prec)
    {
        if (n_ % 2 == 1) {
            mpfr_set(&in_[0].re, x[0].mpfr(), MPFR_RNDN);
            mpfr_set_zero(&in_[0].im, 1);
            for (size_t k = 1; 2 * k < n_; ++k) {
                mpfr_set(&in_[k].re, x[k].mpfr(), MPFR_RNDN);
                mpfr_set(&in_[k].im, x[n_ - k].mpfr(), MPFR_RNDN);
                mpfr_set(&in_[n_ - k].re, x[k].mpfr(), MPFR_RNDN);
                mpfr_neg(&in_[n_ - k].im, &in_[k].im, MPFR_RNDN);
            }
            plan_.forward(out_.data(), in_.data());
            for (size_t j = 0; j < n_; ++j)
                put(x[j], &out_[j].re, scale(), out_prec);
            return;
        }
        // V_k = P + i w^k Q and V_{h-k} = conj(P - i w^k Q), with
        // P = X_k + conj(X_{h-k}) and Q = X_k - conj(X_{h-k}); the transform
        // of V holds y_{2t} + i y_{2t+1}.
        Complex *V = in_.data();
        Complex &Q = temps_[2];
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7), p_re = temps_.real(10), p_im = temps_.real(11);
        mpfr_add(&V[0].re, x[0].mpfr(), x[h_].mpfr(), MPFR_RNDN);
        mpfr_sub(&V[0].im, x[0].mpfr(), x[h_].mpfr(), MPFR_RNDN);
        for (size_t k = 1; 2 * k <= h_; ++k) {
            mpfr_srcptr a_re = x[k].mpfr(), a_im = x[n_ - k].mpfr();
            mpfr_srcptr b_re = x[h_ - k].mpfr(), b_im = x[h_ + k].mpfr();
            if (2 * k == h_) // X_{h-k} is X_k itself
                b_im = a_im;
            mpfr_add(p_re, a_re, b_re, MPFR_RNDN);
            mpfr_sub(p_im, a_im, b_im, MPFR_RNDN);
            mpfr_sub(&Q.re, a_re, b_re, MPFR_RNDN);
            mpfr_add(&Q.im, a_im, b_im, MPFR_RNDN);
            cmul(Q, Q, tw_[k], t1, t2); // W = w^k Q; i W = (-W.im, W.re)
            mpfr_sub(&V[k].re, p_re, &Q.im, MPFR_RNDN);
            mpfr_add(&V[k].im, p_im, &Q.re, MPFR_RNDN);
            if (2 * k == h_)
                continue;
            mpfr_add(&V[h_ - k].re, p_re, &Q.im, MPFR_RNDN);
            mpfr_sub(&V[h_ - k].im, &Q.re, p_im, MPFR_RNDN);
        }
        plan_.forward(out_.data(), in_.data());
        for (size_t t = 0; t < h_; ++t) {
            put(x[2 * t], &out_[t].re, scale(), out_prec);
            put(x[2 * t + 1], &out_[t].im, scale(), out_prec);
        }
    }

private:
    mpfr_ptr scale() { return temps_.real(0); }
    mpfr_ptr half_scale() { return temps_.real(1); }

    // x = v * factor, rounded once more to the output precision.
    void put(TalvoFloat &x, mpfr_srcptr v, mpfr_srcptr factor, mpfr_prec_t out_prec)
    {
        mpfr_ptr r = temps_.real(8);
        mpfr_mul(r, v, factor, MPFR_RNDN);
        x = TalvoFloat::from_handle(talvo_float_from_mpfr(r, out_prec));
    }

    size_t n_, h_;
    mpfr_prec_t wp_;
    ComplexPlan plan_;
    ComplexArray tw_; // even n: exp(-2 pi i k / n), k = 0 .. n/4
    ComplexArray in_, out_;
    // temps_: reals 0 and 1 the scale factors, complex 1 and 2 the pair
    // values, reals 6 and 7 the multiplication's scratch, 8 the output's, 10
    // and 11 the backward transform's P.
    ComplexArray temps_;
};

// The plans of the last few transforms.  Plans of more than kCachedLength
// points are made for one call and dropped.
constexpr size_t kCachedPlans = 4;
constexpr size_t kCachedLength = size_t(1) << 20;

std::vector<std::shared_ptr<RealPlan>> &plan_cache()
{
    static std::vector<std::shared_ptr<RealPlan>> cache;
    return cache;
}

std::shared_ptr<RealPlan> real_plan(size_t n, mpfr_prec_t out_prec)
{
    mpfr_prec_t wp = working_precision(n, out_prec);
    auto &cache = plan_cache();
    for (size_t i = 0; i < cache.size(); ++i) {
        if (cache[i]->size() == n && cache[i]->precision() == wp) {
            std::shared_ptr<RealPlan> p = cache[i];
            cache.erase(cache.begin() + long(i));
            cache.insert(cache.begin(), p);
            return p;
        }
    }
    auto p = std::make_shared<RealPlan>(n, wp);
    if (n <= kCachedLength) {
        cache.insert(cache.begin(), p);
        if (cache.size() > kCachedPlans)
            cache.pop_back();
    }
    return p;
}

// The IFAIL convention: on entry 0 (hard) or -1 (noisy) prints the message
// on a failure, 1 (soft) does not; on exit IFAIL holds the failure code.  A
// library cannot stop its host, so a hard failure returns like a soft one.
void fail(const char *routine, Integer code, Integer *ifail, const std::string &message)
{
    Integer mode = ifail != nullptr ? *ifail : 0;
    if (mode != 1)
        std::fprintf(stderr, "%s: %s\n", routine, message.c_str());
    if (ifail != nullptr)
        *ifail = code;
}

std::string too_small(Integer n)
{
    return "n = " + std::to_string(n) + " is out of range: n must be >= 1.";
}

enum class Direction { Forward, Backward };

void transform(const char *routine, TalvoFloat x[], Integer n, Integer *ifail, Direction d)
{
    if (n < 1) {
        fail(routine, 3, ifail, too_small(n));
        return;
    }
    try {
        std::shared_ptr<RealPlan> plan = real_plan(static_cast<size_t>(n), talvo_float_precision());
        if (d == Direction::Forward)
            plan->forward(x, talvo_float_precision());
        else
            plan->backward(x, talvo_float_precision());
    } catch (const std::bad_alloc &) {
        fail(routine, -999, ifail, "not enough memory for a transform of " + std::to_string(n) + " points.");
        return;
    }
    if (ifail != nullptr)
        *ifail = 0;
}

} // namespace

} // namespace talvo::mp::fft

using talvo::mp::fft::Direction;

void TalvoMP_c06faf(TalvoFloat x[], Integer n, TalvoFloat work[], Integer *ifail)
{
    (void)work;
    talvo::mp::fft::transform("TalvoMP_c06faf", x, n, ifail, Direction::Forward);
}

void TalvoMP_c06fbf(TalvoFloat x[], Integer n, TalvoFloat work[], Integer *ifail)
{
    (void)work;
    talvo::mp::fft::transform("TalvoMP_c06fbf", x, n, ifail, Direction::Backward);
}

std::string TalvoMP_fft_plan(Integer n)
{
    if (n < 1)
        return "";
    size_t m = static_cast<size_t>(n);
    if (m % 2 == 0)
        return "2 x (" + talvo::mp::fft::describe_plan(m / 2) + ")";
    return talvo::mp::fft::describe_plan(m);
}

void TalvoMP_c06gbf(TalvoFloat x[], Integer n, Integer *ifail)
{
    if (n < 1) {
        talvo::mp::fft::fail("TalvoMP_c06gbf", 1, ifail, talvo::mp::fft::too_small(n));
        return;
    }
    for (Integer j = n / 2 + 1; j < n; ++j)
        x[j] = -x[j];
    if (ifail != nullptr)
        *ifail = 0;
}
