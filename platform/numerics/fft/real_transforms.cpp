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
// the data with zero imaginary parts (or the whole Hermitian sequence);
// except for a prime n where the cost model finds the following cheaper.
//
// Real data of prime length p (Rader 1968, made for real data).  With g a
// primitive root, m = (p - 1)/2 and a_q = x_{g^q}, Rader's convolution
// c_r = sum_q a_q b_{r-q} (b_q = exp(-2 pi i g^-q / p), q, r mod p - 1) gives
// X_{g^-r} = x_0 + c_r.  Because g^m = -1, b_{q+m} = conj(b_q): the real
// part of b has period m and the imaginary part changes sign, so for r < m
//   c_r = P_r + i Q_r,  P = u (*) Re b  (cyclic, length m),
//                       Q = v (*) Im b  (negacyclic, length m),
// with u_q = a_q + a_{q+m}, v_q = a_q - a_{q+m}, and c_{r+m} = conj(c_r).
// Both real convolutions are made on integers (exact_convolution.hpp), or,
// where m has small factors, by transforms of length m or m/2 (below).  The
// Hermitian transform of a prime length is the same convolution read the
// other way: with z_{g^q} = alpha_q + i beta_q (q < m),
// y_{g^-r} = z_0 + 2 (P(alpha) - Q(beta))_r and
// y_{-g^-r} = z_0 + 2 (P(alpha) + Q(beta))_r.
//
// Precision.  Every operation is made at a working precision of the output
// precision (that of the current "Digits") plus 12 guard bits, plus a few
// more with log log n and with every Rader convolution the plan nests.  The normwise error of a transform in that arithmetic is a few
// times log2(n) units of the working precision, far below one unit of the
// output precision; each result is then rounded once to the output
// precision.  So each output is within half a unit in its last place plus a
// small fraction of a unit in the last place of the largest output.
//
// A plan (tables and arrays) is kept for the last few lengths and precisions
// used, so that a transform and its inverse (as the kernel density makes
// them) share one.
#include "../talvo_mp.h"
#include "exact_convolution.hpp"
#include "few_limbs.hpp"
#include "fft.hpp"

#include <cmath>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace talvo::mp::fft {

namespace {

// How a real transform of length n is made.
//   Even      packed into n/2 complex points;
//   Odd       the complex plan of length n;
//   OddPrime  the real Rader convolution (n prime), made one of the four
//             ways below;
//   OddSplit  n = a b with b the prime factor that costs least: the a subsequences
//             x_{j1 + a j2} (j2 < b) transformed as real data of length b,
//             then the (b + 1)/2 columns k2 <= (b - 1)/2 combined by a
//             complex plan of length a after the twiddles exp(-2 pi i j1 k2/n)
//             (decimation in time; the other columns are their conjugates).
enum class Shape { Even, Odd, OddPrime, OddSplit };

// Primes below this are left to the complex plan (direct or Rader).
constexpr size_t kSmallestRealRader = 11;

// How the real Rader convolution of the prime p (m = (p - 1)/2) is made.
//   Cyclic      m odd: with the signs (-1)^q the negacyclic Q becomes a
//               cyclic convolution, and P + i Q is one complex cyclic
//               convolution of length m, unpadded;
//   RightAngle  m even: P by real transforms of length m (packed into m/2
//               complex points), Q by the right-angle convolution of
//               Crandall and Fagin (1994): modulo x^(m/2) - i the
//               negacyclic product of real sequences is a complex cyclic
//               convolution of length m/2 after the twist exp(i pi q / m).
//   Exact       P and Q each by one product of integer polynomials
//               (exact_convolution.hpp), whatever the factors of m.
// On integers the convolutions cost less at most precisions (the products
// of large integers beat MPFR transforms), but not at a few hundred digits
// where m has small factors.  (Transforms zero-padded to about 2m points
// would serve every m too, but cost more than the integers everywhere.)
// The cost model chooses, at the plan's precision.  None: not a prime plan.
enum class RaderKind { None, Cyclic, RightAngle, Exact };

double transform_rader_cost(size_t p, mpfr_prec_t prec)
{
    size_t m = (p - 1) / 2;
    if (m % 2 == 1)
        return 2 * plan_cost(m, prec) + 3 * 5.2 * double(m) + 2.4 * double(p);
    size_t h = m / 2;
    // P: two packed real transforms and the product; Q: two transforms, the
    // product, the twist and the untwist.
    return 4 * plan_cost(h, prec) + (2 * 7.6 + 5.2) * double(h) + 3 * 5.2 * double(h) + 2.4 * double(p);
}

double exact_rader_cost(size_t p, mpfr_prec_t prec)
{
    return 2 * exact_convolution_cost((p - 1) / 2, prec) + 2.4 * double(p);
}

RaderKind rader_kind(size_t p, mpfr_prec_t prec)
{
    if (exact_rader_cost(p, prec) <= transform_rader_cost(p, prec))
        return RaderKind::Exact;
    return ((p - 1) / 2) % 2 == 1 ? RaderKind::Cyclic : RaderKind::RightAngle;
}

double real_rader_cost(size_t p, mpfr_prec_t prec)
{
    return std::min(transform_rader_cost(p, prec), exact_rader_cost(p, prec));
}

// The length of the complex plan of the real Rader convolution.
size_t rader_plan_length(size_t p, mpfr_prec_t prec)
{
    switch (rader_kind(p, prec)) {
    case RaderKind::Cyclic: return (p - 1) / 2;
    case RaderKind::RightAngle: return (p - 1) / 4;
    case RaderKind::None:
    case RaderKind::Exact: break;
    }
    return 1;
}

// The cost of a real transform of the prime p by the better of the two ways.
double real_prime_cost(size_t p, mpfr_prec_t prec)
{
    double complex_cost = plan_cost(p, prec);
    return p < kSmallestRealRader ? complex_cost : std::min(complex_cost, real_rader_cost(p, prec));
}

double split_cost(size_t a, size_t b, mpfr_prec_t prec)
{
    return double(a) * real_prime_cost(b, prec) +
           double(b + 1) / 2 * (plan_cost(a, prec) + 5.2 * double(a) + 2.4 * double(a));
}

// The prime factor b of the odd composite n whose split costs least, or 0
// when the complex plan of length n costs less than every split.
size_t split_factor(size_t n, mpfr_prec_t prec)
{
    std::vector<size_t> f = prime_factors(n);
    if (n % 2 == 0 || f.size() < 2)
        return 0;
    size_t best = 0;
    double best_cost = plan_cost(n, prec);
    for (size_t i = 0; i < f.size(); ++i) {
        if (i > 0 && f[i] == f[i - 1])
            continue;
        double cost = split_cost(n / f[i], f[i], prec);
        if (cost < best_cost) {
            best = f[i];
            best_cost = cost;
        }
    }
    return best;
}

Shape shape_of(size_t n, mpfr_prec_t prec)
{
    if (n % 2 == 0)
        return Shape::Even;
    if (n == 1)
        return Shape::Odd;
    std::vector<size_t> f = prime_factors(n);
    if (f.size() == 1) {
        if (n < kSmallestRealRader)
            return Shape::Odd;
        return real_rader_cost(n, prec) < plan_cost(n, prec) ? Shape::OddPrime : Shape::Odd;
    }
    return split_factor(n, prec) != 0 ? Shape::OddSplit : Shape::Odd;
}

// The length of the complex plan a real plan of length n uses.
size_t inner_length(size_t n, Shape shape, mpfr_prec_t prec)
{
    switch (shape) {
    case Shape::Even: return n / 2;
    case Shape::Odd: return n;
    case Shape::OddPrime: return rader_plan_length(n, prec);
    case Shape::OddSplit: return n / split_factor(n, prec);
    }
    return n;
}

// The length of a real plan's data arrays: its complex plan's, or the m
// points of a right-angle Rader convolution.
size_t io_length(size_t n, Shape shape, mpfr_prec_t prec)
{
    size_t inner = inner_length(n, shape, prec);
    RaderKind kind = shape == Shape::OddPrime ? rader_kind(n, prec) : RaderKind::None;
    if (kind == RaderKind::RightAngle || kind == RaderKind::Exact)
        return std::max(inner, (n - 1) / 2);
    return inner;
}

// Rader convolutions nested in the real plan of length n.
long real_depth(size_t n, mpfr_prec_t prec)
{
    Shape shape = shape_of(n, prec);
    switch (shape) {
    case Shape::Even:
    case Shape::Odd: return plan_depth(inner_length(n, shape, prec), prec);
    case Shape::OddPrime: return plan_depth(inner_length(n, shape, prec), prec) + 1;
    case Shape::OddSplit:
        return std::max<long>(plan_depth(inner_length(n, shape, prec), prec), real_depth(split_factor(n, prec), prec));
    }
    return 0;
}

mpfr_prec_t working_precision(size_t n, mpfr_prec_t out_prec)
{
    double lg = std::log2(double(n) + 1.0);
    long guard = 12 + static_cast<long>(std::ceil(std::log2(lg + 1.0))) + 3L * real_depth(n, out_prec);
    mpfr_prec_t wp = out_prec + guard;
    // MPFR's fastest paths are for precisions that are not a whole number of
    // limbs; one bit less of guard costs nothing.
    if (wp % 64 == 0)
        wp -= 1;
    return wp;
}

// Type-erased input and output callables, so that a plan inside a plan
// instantiates the transforms once (and not once per nesting level).
struct InRef {
    const void *ctx;
    mpfr_srcptr (*fn)(const void *, size_t);
    mpfr_srcptr operator()(size_t j) const { return fn(ctx, j); }
    template <class F>
    static InRef of(const F &f)
    {
        return {&f, [](const void *c, size_t j) -> mpfr_srcptr { return (*static_cast<const F *>(c))(j); }};
    }
};

struct OutRef {
    const void *ctx;
    void (*fn)(const void *, size_t, mpfr_srcptr, mpfr_srcptr);
    void operator()(size_t j, mpfr_srcptr v, mpfr_srcptr f) const { fn(ctx, j, v, f); }
    template <class F>
    static OutRef of(const F &f)
    {
        return {&f, [](const void *c, size_t j, mpfr_srcptr v, mpfr_srcptr g) { (*static_cast<const F *>(c))(j, v, g); }};
    }
};

// A real transform of one length at one precision.  The data come through
// `in(j)` (the j-th input as an MPFR number) and the results go out through
// `out(j, v, f)` (the j-th output is v f): floats of the caller's array for
// the routines, the arrays of an enclosing plan for a plan inside another.
// A unitary plan carries the factor 1/sqrt(n); an inner plan none.
class RealPlan {
public:
    RealPlan(size_t n, mpfr_prec_t wp, bool unitary = true)
        : n_(n), h_(n / 2), wp_(wp), shape_(shape_of(n, wp)),
          rader_(shape_ == Shape::OddPrime ? rader_kind(n, wp) : RaderKind::None),
          plan_(inner_length(n, shape_, wp), wp), in_(io_length(n, shape_, wp), wp), out_(io_length(n, shape_, wp), wp),
          temps_(8, wp)
    {
        if (shape_ == Shape::Even) {
            tw_ = ComplexArray(n / 4 + 1, wp);
            unit_roots(tw_.data(), n, n / 4 + 1, wp);
        }
        if (shape_ == Shape::OddPrime)
            make_rader_kernel();
        if (shape_ == Shape::OddSplit)
            make_split();
        // 1/sqrt(n) and 1/(2 sqrt(n)), or 1 and 1/2.
        mpfr_set_ui(scale(), unitary ? static_cast<unsigned long>(n) : 1UL, MPFR_RNDN);
        mpfr_rec_sqrt(scale(), scale(), MPFR_RNDN);
        mpfr_div_2ui(half_scale(), scale(), 1, MPFR_RNDN);
    }

    size_t size() const { return n_; }
    mpfr_prec_t precision() const { return wp_; }

    // x (real) -> its transform in Hermitian storage, in place.
    void forward(TalvoFloat *x, mpfr_prec_t out_prec)
    {
        forward_with([x](size_t j) -> mpfr_srcptr { return x[j].mpfr(); }, FloatSink{this, x, out_prec});
    }

    // x (Hermitian storage) -> the real transform, in place.
    void backward(TalvoFloat *x, mpfr_prec_t out_prec)
    {
        backward_with([x](size_t j) -> mpfr_srcptr { return x[j].mpfr(); }, FloatSink{this, x, out_prec});
    }

    // Every input is read before the first output is written, so in and out
    // may be the same array.
    template <class In, class Out>
    void forward_with(In in, Out out)
    {
        switch (shape_) {
        case Shape::Even: forward_even(in, out); return;
        case Shape::Odd: forward_odd(in, out); return;
        case Shape::OddPrime: rader_forward(in, out); return;
        case Shape::OddSplit: split_forward(in, out); return;
        }
    }

    template <class In, class Out>
    void backward_with(In in, Out out)
    {
        switch (shape_) {
        case Shape::Even: backward_even(in, out); return;
        case Shape::Odd: backward_odd(in, out); return;
        case Shape::OddPrime: rader_backward(in, out); return;
        case Shape::OddSplit: split_backward(in, out); return;
        }
    }

private:
    // The routines' sink: x[j] = v f, rounded once more to the output precision.
    struct FloatSink {
        RealPlan *plan;
        TalvoFloat *x;
        mpfr_prec_t out_prec;
        void operator()(size_t j, mpfr_srcptr v, mpfr_srcptr f) const
        {
            mpfr_ptr r = plan->temps_.real(8);
            talvo::floatn::mul_rn(r, v, f);
            x[j] = TalvoFloat::from_handle(talvo_float_from_mpfr(r, out_prec));
        }
    };

    mpfr_ptr scale() { return temps_.real(0); }
    mpfr_ptr half_scale() { return temps_.real(1); }

    // ---- odd n: the complex plan on the data with zero imaginary parts ----

    template <class In, class Out>
    void forward_odd(In in, Out out)
    {
        for (size_t j = 0; j < n_; ++j) {
            mpfr_set(&in_[j].re, in(j), MPFR_RNDN);
            mpfr_set_zero(&in_[j].im, 1);
        }
        plan_.forward(out_.data(), in_.data());
        out(0, &out_[0].re, scale());
        for (size_t k = 1; 2 * k < n_; ++k) {
            out(k, &out_[k].re, scale());
            out(n_ - k, &out_[k].im, scale());
        }
    }

    template <class In, class Out>
    void backward_odd(In in, Out out)
    {
        mpfr_set(&in_[0].re, in(0), MPFR_RNDN);
        mpfr_set_zero(&in_[0].im, 1);
        for (size_t k = 1; 2 * k < n_; ++k) {
            mpfr_set(&in_[k].re, in(k), MPFR_RNDN);
            mpfr_set(&in_[k].im, in(n_ - k), MPFR_RNDN);
            mpfr_set(&in_[n_ - k].re, in(k), MPFR_RNDN);
            mpfr_neg(&in_[n_ - k].im, &in_[k].im, MPFR_RNDN);
        }
        plan_.forward(out_.data(), in_.data());
        for (size_t j = 0; j < n_; ++j)
            out(j, &out_[j].re, scale());
    }

    // ---- even n: packed into n/2 complex points ----

    template <class In, class Out>
    void forward_even(In in, Out out)
    {
        for (size_t t = 0; t < h_; ++t) {
            mpfr_set(&in_[t].re, in(2 * t), MPFR_RNDN);
            mpfr_set(&in_[t].im, in(2 * t + 1), MPFR_RNDN);
        }
        plan_.forward(out_.data(), in_.data());
        Complex *U = out_.data();
        Complex &E = temps_[1], &T = temps_[2];
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7), t3 = temps_.real(9);
        // X_0 and X_{n/2} are real.
        talvo::floatn::add_rn(t1, &U[0].re, &U[0].im);
        talvo::floatn::sub_rn(t3, &U[0].re, &U[0].im);
        out(0, t1, scale());
        out(h_, t3, scale());
        // With A = U_k, B = U_{h-k}: 2E = A + conj(B), 2O = -i (A - conj(B)),
        // X_k = E + w^k O and X_{h-k} = conj(E - w^k O).
        for (size_t k = 1; 2 * k <= h_; ++k) {
            const Complex &A = U[k], &B = U[h_ - k];
            talvo::floatn::add_rn(&E.re, &A.re, &B.re);
            talvo::floatn::sub_rn(&E.im, &A.im, &B.im);
            talvo::floatn::add_rn(&T.re, &A.im, &B.im);
            talvo::floatn::sub_rn(&T.im, &B.re, &A.re);
            cmul(T, T, tw_[k], t1, t2);
            talvo::floatn::add_rn(t3, &E.re, &T.re);
            out(k, t3, half_scale());
            talvo::floatn::add_rn(t3, &E.im, &T.im);
            out(n_ - k, t3, half_scale());
            if (2 * k == h_)
                continue;
            talvo::floatn::sub_rn(t3, &E.re, &T.re);
            out(h_ - k, t3, half_scale());
            talvo::floatn::sub_rn(t3, &T.im, &E.im);
            out(h_ + k, t3, half_scale());
        }
    }

    template <class In, class Out>
    void backward_even(In in, Out out)
    {
        // V_k = P + i w^k Q and V_{h-k} = conj(P - i w^k Q), with
        // P = X_k + conj(X_{h-k}) and Q = X_k - conj(X_{h-k}); the transform
        // of V holds y_{2t} + i y_{2t+1}.
        Complex *V = in_.data();
        Complex &Q = temps_[2];
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7), p_re = temps_.real(10), p_im = temps_.real(11);
        talvo::floatn::add_rn(&V[0].re, in(0), in(h_));
        talvo::floatn::sub_rn(&V[0].im, in(0), in(h_));
        for (size_t k = 1; 2 * k <= h_; ++k) {
            mpfr_srcptr a_re = in(k), a_im = in(n_ - k);
            mpfr_srcptr b_re = in(h_ - k), b_im = in(h_ + k);
            talvo::floatn::add_rn(p_re, a_re, b_re);
            talvo::floatn::sub_rn(p_im, a_im, b_im);
            talvo::floatn::sub_rn(&Q.re, a_re, b_re);
            talvo::floatn::add_rn(&Q.im, a_im, b_im);
            cmul(Q, Q, tw_[k], t1, t2); // W = w^k Q; i W = (-W.im, W.re)
            talvo::floatn::sub_rn(&V[k].re, p_re, &Q.im);
            talvo::floatn::add_rn(&V[k].im, p_im, &Q.re);
            if (2 * k == h_)
                continue;
            talvo::floatn::add_rn(&V[h_ - k].re, p_re, &Q.im);
            talvo::floatn::sub_rn(&V[h_ - k].im, &Q.re, p_im);
        }
        plan_.forward(out_.data(), in_.data());
        for (size_t t = 0; t < h_; ++t) {
            out(2 * t, &out_[t].re, scale());
            out(2 * t + 1, &out_[t].im, scale());
        }
    }

    // ---- real data of prime length: Rader's convolution ----

    // g^q and g^-q modulo p, the kernel b_q = exp(-2 pi i g^-q / p), and
    // the multipliers of the kind of convolution the plan makes.
    void make_rader_kernel()
    {
        const size_t p = n_;
        rader_orders(p, gq_, gr_);
        ComplexArray roots(p, wp_);
        unit_roots(roots.data(), p, p, wp_);
        if (rader_ == RaderKind::RightAngle)
            make_right_angle_kernel(roots);
        else if (rader_ == RaderKind::Exact)
            make_exact_kernel(roots);
        else
            make_cyclic_kernel(roots);
    }

    // Cyclic (N = m odd): the kernels kR (cyclic) and kI (cyclic after the
    // signs (-1)^q), transformed together as kR + i kI and separated, give
    // the multipliers
    //   S_k = (KR_k + KI_k)/(2N),  D_k = (KR_k - KI_k)/(2N)
    // of W^_k = Z^_k S_k + conj(Z^_{N-k}) D_k, the transform of
    // P(u) + i Q(v) for z = u + i v.
    void make_cyclic_kernel(const ComplexArray &roots)
    {
        const size_t N = plan_.size();
        // b_q = roots[g^-q]: Re b in the real parts, Im b in the imaginary
        // parts of in_ (kR + i kI).
        for (size_t t = 0; t < N; ++t) {
            const Complex &b = roots[gr_[t]];
            mpfr_set(&in_[t].re, &b.re, MPFR_RNDN);
            if (t % 2 == 1)
                mpfr_neg(&in_[t].im, &b.im, MPFR_RNDN);
            else
                mpfr_set(&in_[t].im, &b.im, MPFR_RNDN);
        }
        plan_.forward(out_.data(), in_.data());
        // Y = KR + i KI: with A = Y_k + conj(Y_{N-k}) = 2 KR_k and
        // B = Y_k - conj(Y_{N-k}) = 2i KI_k, KR + KI = (A - i B)/2 and
        // KR - KI = (A + i B)/2.
        S_ = ComplexArray(N, wp_);
        D_ = ComplexArray(N, wp_);
        Complex &A = temps_[1], &B = temps_[2];
        for (size_t k = 0; k < N; ++k) {
            const Complex &Y = out_[k], &Yc = out_[(N - k) % N];
            talvo::floatn::add_rn(&A.re, &Y.re, &Yc.re);
            talvo::floatn::sub_rn(&A.im, &Y.im, &Yc.im);
            talvo::floatn::sub_rn(&B.re, &Y.re, &Yc.re);
            talvo::floatn::add_rn(&B.im, &Y.im, &Yc.im);
            // -i B = (B.im, -B.re); i B = (-B.im, B.re)
            talvo::floatn::add_rn(&S_[k].re, &A.re, &B.im);
            talvo::floatn::sub_rn(&S_[k].im, &A.im, &B.re);
            talvo::floatn::sub_rn(&D_[k].re, &A.re, &B.im);
            talvo::floatn::add_rn(&D_[k].im, &A.im, &B.re);
            // Both carry the factor 2 of A and B: divide by 4N.
            for (mpfr_ptr v : {&S_[k].re, &S_[k].im, &D_[k].re, &D_[k].im})
                mpfr_div_ui(v, v, static_cast<unsigned long>(4 * N), MPFR_RNDN);
        }
    }

    // Right angle (m even, h = m/2): the half spectrum of Re b / m through
    // the real plan of length m, and the transform of
    // (Im b_q + i Im b_{q+h}) exp(i pi q / m) over h.
    void make_right_angle_kernel(const ComplexArray &roots)
    {
        const size_t m = (n_ - 1) / 2, h = m / 2;
        psub_ = std::make_unique<RealPlan>(m, wp_, false);
        herm_ = ComplexArray(h, wp_); // m reals: Hermitian storage of length m
        pk_ = ComplexArray(h + 1, wp_);
        theta_ = ComplexArray(h, wp_);
        qk_ = ComplexArray(h, wp_);
        qin_ = ComplexArray(h, wp_);
        qout_ = ComplexArray(h, wp_);
        unit_roots(theta_.data(), 2 * m, h, wp_);
        for (size_t q = 0; q < h; ++q)
            cconj(theta_[q]);

        auto re_b = [&](size_t t) -> mpfr_srcptr { return &roots[gr_[t]].re; };
        auto to_herm = [&](size_t k, mpfr_srcptr v, mpfr_srcptr f) { talvo::floatn::mul_rn(herm_.real(k), v, f); };
        psub_->forward_with(InRef::of(re_b), OutRef::of(to_herm));
        mpfr_set(&pk_[0].re, herm_.real(0), MPFR_RNDN);
        mpfr_set_zero(&pk_[0].im, 1);
        mpfr_set(&pk_[h].re, herm_.real(h), MPFR_RNDN);
        mpfr_set_zero(&pk_[h].im, 1);
        for (size_t k = 1; k < h; ++k) {
            mpfr_set(&pk_[k].re, herm_.real(k), MPFR_RNDN);
            mpfr_set(&pk_[k].im, herm_.real(m - k), MPFR_RNDN);
        }
        for (size_t k = 0; k <= h; ++k) {
            mpfr_div_ui(&pk_[k].re, &pk_[k].re, static_cast<unsigned long>(m), MPFR_RNDN);
            mpfr_div_ui(&pk_[k].im, &pk_[k].im, static_cast<unsigned long>(m), MPFR_RNDN);
        }

        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7);
        for (size_t q = 0; q < h; ++q) {
            mpfr_set(&qin_[q].re, &roots[gr_[q]].im, MPFR_RNDN);
            mpfr_set(&qin_[q].im, &roots[gr_[q + h]].im, MPFR_RNDN);
            cmul(qin_[q], qin_[q], theta_[q], t1, t2);
        }
        plan_.forward(qk_.data(), qin_.data());
        for (size_t k = 0; k < h; ++k) {
            mpfr_div_ui(&qk_[k].re, &qk_[k].re, static_cast<unsigned long>(h), MPFR_RNDN);
            mpfr_div_ui(&qk_[k].im, &qk_[k].im, static_cast<unsigned long>(h), MPFR_RNDN);
        }
    }

    // Exact: P = u (*) Re b and -Q = v (*) (-Im b) by two convolutions on
    // integers, each with its kernel kept.
    void make_exact_kernel(const ComplexArray &roots)
    {
        const size_t m = (n_ - 1) / 2;
        ComplexArray k(m, wp_);
        for (size_t t = 0; t < m; ++t) {
            const Complex &b = roots[gr_[t]];
            mpfr_set(&k[t].re, &b.re, MPFR_RNDN);
            mpfr_neg(&k[t].im, &b.im, MPFR_RNDN);
        }
        exact_p_ = std::make_unique<ExactConvolution>(m, false, &k[0].re, 2, wp_);
        exact_q_ = std::make_unique<ExactConvolution>(m, true, &k[0].im, 2, wp_);
    }

    // in_ holds z = u + i v (the first m entries).  Leaves the conjugate of
    // P + i Q (the convolution) in out_[0 .. m-1].
    void rader_convolve()
    {
        if (rader_ == RaderKind::RightAngle) {
            right_angle_convolve();
            return;
        }
        if (rader_ == RaderKind::Exact) {
            exact_p_->apply(&in_[0].re, 2, &out_[0].re, 2);
            exact_q_->apply(&in_[0].im, 2, &out_[0].im, 2);
            return;
        }
        // Cyclic: N = m.
        const size_t N = plan_.size();
        for (size_t q = 1; q < N; q += 2)
            mpfr_neg(&in_[q].im, &in_[q].im, MPFR_RNDN);
        plan_.forward(out_.data(), in_.data());
        // in_ = conj(W^) for the inverse as a forward transform.
        Complex &T = temps_[1];
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7);
        for (size_t k = 0; k < N; ++k) {
            const Complex &Z = out_[k], &Zc = out_[(N - k) % N];
            cmul(in_[k], Z, S_[k], t1, t2);
            cset(T, Zc);
            cconj(T);
            cmul(T, T, D_[k], t1, t2);
            cadd(in_[k], in_[k], T);
            cconj(in_[k]);
        }
        plan_.forward(out_.data(), in_.data());
        for (size_t r = 1; r < N; r += 2)
            mpfr_neg(&out_[r].im, &out_[r].im, MPFR_RNDN);
    }

    void right_angle_convolve()
    {
        const size_t m = (n_ - 1) / 2, h = m / 2;
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7);
        // P: the product of half spectra, conjugated, transformed back.
        auto u = [&](size_t j) -> mpfr_srcptr { return &in_[j].re; };
        auto to_herm = [&](size_t k, mpfr_srcptr v, mpfr_srcptr f) { talvo::floatn::mul_rn(herm_.real(k), v, f); };
        psub_->forward_with(InRef::of(u), OutRef::of(to_herm));
        talvo::floatn::mul_rn(herm_.real(0), herm_.real(0), &pk_[0].re);
        talvo::floatn::mul_rn(herm_.real(h), herm_.real(h), &pk_[h].re);
        Complex &C = temps_[1];
        for (size_t k = 1; k < h; ++k) {
            mpfr_set(&C.re, herm_.real(k), MPFR_RNDN);
            mpfr_set(&C.im, herm_.real(m - k), MPFR_RNDN);
            cmul(C, C, pk_[k], t1, t2);
            mpfr_set(herm_.real(k), &C.re, MPFR_RNDN);
            mpfr_neg(herm_.real(m - k), &C.im, MPFR_RNDN);
        }
        auto from_herm = [&](size_t k) -> mpfr_srcptr { return herm_.real(k); };
        auto to_p = [&](size_t j, mpfr_srcptr v, mpfr_srcptr f) { talvo::floatn::mul_rn(&out_[j].re, v, f); };
        psub_->backward_with(InRef::of(from_herm), OutRef::of(to_p));
        // Q: modulo x^h - i, twisted, cyclic over h, untwisted; the real and
        // imaginary parts are Q's two halves.
        for (size_t q = 0; q < h; ++q) {
            mpfr_set(&qin_[q].re, &in_[q].im, MPFR_RNDN);
            mpfr_set(&qin_[q].im, &in_[q + h].im, MPFR_RNDN);
            cmul(qin_[q], qin_[q], theta_[q], t1, t2);
        }
        plan_.forward(qout_.data(), qin_.data());
        for (size_t k = 0; k < h; ++k) {
            cmul(qin_[k], qout_[k], qk_[k], t1, t2);
            cconj(qin_[k]);
        }
        plan_.forward(qout_.data(), qin_.data());
        // qout_[r] = conj(G_r); s = qout_[r] theta_r = conj(G_r / theta_r),
        // so Q_r = Re s and Q_{r+h} = -Im s; out_ keeps -Q.
        for (size_t r = 0; r < h; ++r) {
            cmul(C, qout_[r], theta_[r], t1, t2);
            mpfr_neg(&out_[r].im, &C.re, MPFR_RNDN);
            mpfr_set(&out_[r + h].im, &C.im, MPFR_RNDN);
        }
    }

    template <class In, class Out>
    void rader_forward(In in, Out out)
    {
        const size_t p = n_, m = (p - 1) / 2;
        mpfr_ptr x0 = temps_.real(12), sum = temps_.real(13), t1 = temps_.real(9);
        mpfr_set(x0, in(0), MPFR_RNDN);
        mpfr_set_zero(sum, 1);
        for (size_t q = 0; q < m; ++q) {
            mpfr_srcptr a = in(gq_[q]), b = in(gq_[q + m]);
            talvo::floatn::add_rn(&in_[q].re, a, b);
            talvo::floatn::sub_rn(&in_[q].im, a, b);
            talvo::floatn::add_rn(sum, sum, &in_[q].re);
        }
        rader_convolve();
        // X_0 = x_0 + sum of a; X_{g^-r} = x_0 + c_r, c_r = conj(out_[r]).
        talvo::floatn::add_rn(t1, x0, sum);
        out(0, t1, scale());
        for (size_t r = 0; r < m; ++r) {
            const Complex &c = out_[r];
            size_t k = gr_[r];
            talvo::floatn::add_rn(t1, x0, &c.re);
            if (k <= m) {
                out(k, t1, scale());
                mpfr_neg(t1, &c.im, MPFR_RNDN);
                out(p - k, t1, scale());
            } else {
                // X_{p-k} = conj(X_k).
                out(p - k, t1, scale());
                out(k, &c.im, scale());
            }
        }
    }

    template <class In, class Out>
    void rader_backward(In in, Out out)
    {
        const size_t p = n_, m = (p - 1) / 2;
        mpfr_ptr z0 = temps_.real(12), sum = temps_.real(13), t1 = temps_.real(9);
        mpfr_set(z0, in(0), MPFR_RNDN);
        mpfr_set_zero(sum, 1);
        for (size_t q = 0; q < m; ++q) {
            size_t k = gq_[q];
            // z_k = (x[k], x[p-k]) for k <= m, conj(z_{p-k}) = (x[p-k], -x[k]) above.
            if (k <= m) {
                mpfr_set(&in_[q].re, in(k), MPFR_RNDN);
                mpfr_set(&in_[q].im, in(p - k), MPFR_RNDN);
            } else {
                mpfr_set(&in_[q].re, in(p - k), MPFR_RNDN);
                mpfr_neg(&in_[q].im, in(k), MPFR_RNDN);
            }
            talvo::floatn::add_rn(sum, sum, &in_[q].re);
        }
        rader_convolve();
        // y_0 = z_0 + 2 sum Re z_k; with W_r = conj(out_[r]),
        // y_{g^-r} = z_0 + 2 (Re W_r - Im W_r) and y_{p - g^-r} = z_0 + 2 (Re W_r + Im W_r).
        mpfr_mul_2ui(sum, sum, 1, MPFR_RNDN);
        talvo::floatn::add_rn(t1, z0, sum);
        out(0, t1, scale());
        for (size_t r = 0; r < m; ++r) {
            const Complex &w = out_[r];
            size_t k = gr_[r];
            talvo::floatn::add_rn(t1, &w.re, &w.im);
            mpfr_mul_2ui(t1, t1, 1, MPFR_RNDN);
            talvo::floatn::add_rn(t1, z0, t1);
            out(k, t1, scale());
            talvo::floatn::sub_rn(t1, &w.re, &w.im);
            mpfr_mul_2ui(t1, t1, 1, MPFR_RNDN);
            talvo::floatn::add_rn(t1, z0, t1);
            out(p - k, t1, scale());
        }
    }

    // ---- odd n = a b with a large prime factor b ----

    void make_split()
    {
        b_ = split_factor(n_, wp_);
        a_ = n_ / b_;
        sub_ = std::make_unique<RealPlan>(b_, wp_, false);
        // The half spectra of the a subsequences: columns k2 = 0 .. (b-1)/2.
        cols_ = (b_ + 1) / 2;
        spectra_ = ComplexArray(a_ * cols_, wp_);
        // Twiddles exp(-2 pi i j1 k2 / n), j1 < a, k2 < cols.
        split_tw_ = ComplexArray((a_ - 1) * (cols_ - 1) + 1, wp_);
        unit_roots(split_tw_.data(), n_, split_tw_.size(), wp_);
    }

    template <class In, class Out>
    void split_forward(In in, Out out)
    {
        // Every input is read (into the half spectra) before any output.
        for (size_t j1 = 0; j1 < a_; ++j1) {
            Complex *s = spectra_.data() + j1 * cols_;
            auto sub_in = [&](size_t j2) -> mpfr_srcptr { return in(j1 + a_ * j2); };
            auto sub_out = [&](size_t k, mpfr_srcptr v, mpfr_srcptr f) {
                // Hermitian storage of length b: Re at k <= (b-1)/2, Im at b - k.
                if (k < cols_)
                    talvo::floatn::mul_rn(&s[k].re, v, f);
                else
                    talvo::floatn::mul_rn(&s[b_ - k].im, v, f);
            };
            sub_->forward_with(InRef::of(sub_in), OutRef::of(sub_out));
            mpfr_set_zero(&s[0].im, 1);
        }
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7), neg = temps_.real(9);
        for (size_t k2 = 0; k2 < cols_; ++k2) {
            for (size_t j1 = 0; j1 < a_; ++j1) {
                cset(in_[j1], spectra_[j1 * cols_ + k2]);
                if (j1 > 0 && k2 > 0)
                    cmul(in_[j1], in_[j1], split_tw_[j1 * k2], t1, t2);
            }
            plan_.forward(out_.data(), in_.data());
            // out_[k1] = X_{k2 + b k1}; indices above n/2 are stored as the
            // conjugate of X_{n - k}.
            for (size_t k1 = 0; k1 < a_; ++k1) {
                size_t k = k2 + b_ * k1;
                const Complex &X = out_[k1];
                if (2 * k < n_) {
                    out(k, &X.re, scale());
                    if (k > 0)
                        out(n_ - k, &X.im, scale());
                } else {
                    out(n_ - k, &X.re, scale());
                    mpfr_neg(neg, &X.im, MPFR_RNDN);
                    out(k, neg, scale());
                }
            }
        }
    }

    template <class In, class Out>
    void split_backward(In in, Out out)
    {
        // T_{j1}[k2] = exp(-2 pi i j1 k2/n) sum_k1 z_{k2 + b k1} exp(-2 pi i j1 k1/a),
        // and y_{j1 + a j2} is the (real) transform of T_{j1} over k2.
        mpfr_ptr t1 = temps_.real(6), t2 = temps_.real(7);
        for (size_t k2 = 0; k2 < cols_; ++k2) {
            for (size_t k1 = 0; k1 < a_; ++k1) {
                size_t k = k2 + b_ * k1;
                if (k == 0) {
                    mpfr_set(&in_[k1].re, in(0), MPFR_RNDN);
                    mpfr_set_zero(&in_[k1].im, 1);
                } else if (2 * k < n_) {
                    mpfr_set(&in_[k1].re, in(k), MPFR_RNDN);
                    mpfr_set(&in_[k1].im, in(n_ - k), MPFR_RNDN);
                } else {
                    mpfr_set(&in_[k1].re, in(n_ - k), MPFR_RNDN);
                    mpfr_neg(&in_[k1].im, in(k), MPFR_RNDN);
                }
            }
            plan_.forward(out_.data(), in_.data());
            for (size_t j1 = 0; j1 < a_; ++j1) {
                Complex &T = spectra_[j1 * cols_ + k2];
                if (j1 > 0 && k2 > 0)
                    cmul(T, out_[j1], split_tw_[j1 * k2], t1, t2);
                else
                    cset(T, out_[j1]);
            }
        }
        // Every input has been read: the outputs may now be written.
        mpfr_ptr r = temps_.real(14);
        for (size_t j1 = 0; j1 < a_; ++j1) {
            const Complex *s = spectra_.data() + j1 * cols_;
            auto sub_in = [&](size_t k) -> mpfr_srcptr { return k < cols_ ? &s[k].re : &s[b_ - k].im; };
            auto sub_out = [&](size_t j2, mpfr_srcptr v, mpfr_srcptr f) {
                talvo::floatn::mul_rn(r, v, f);
                out(j1 + a_ * j2, r, scale());
            };
            sub_->backward_with(InRef::of(sub_in), OutRef::of(sub_out));
        }
    }

    size_t n_, h_;
    mpfr_prec_t wp_;
    Shape shape_;
    RaderKind rader_; // prime n: how its convolution is made
    ComplexPlan plan_;
    ComplexArray tw_; // even n: exp(-2 pi i k / n), k = 0 .. n/4
    ComplexArray in_, out_;
    // temps_: reals 0 and 1 the scale factors, complex 1 and 2 the pair
    // values, reals 6 and 7 the multiplication's scratch, 8 the routines'
    // output, 9 an output value, 10 and 11 the backward transform's P, 12 and
    // 13 a prime transform's x_0 and sum, 14 a split plan's output.
    ComplexArray temps_;
    // Prime length: g^q and g^-q modulo p, and the convolution's multipliers.
    std::vector<size_t> gq_, gr_;
    ComplexArray S_, D_;
    // Right-angle convolution: the real plan of length m for P, its kernel's
    // half spectrum (k = 0 .. m/2) and the Hermitian data it works on; the
    // twist exp(i pi q / m) and the kernel spectrum of Q with Q's arrays.
    std::unique_ptr<RealPlan> psub_;
    // Exact: the two convolutions on integers.
    std::unique_ptr<ExactConvolution> exact_p_, exact_q_;
    ComplexArray pk_, herm_, theta_, qk_, qin_, qout_;
    // Split length n = a b: the plan of length b, the half spectra and twiddles.
    size_t a_ = 0, b_ = 0, cols_ = 0;
    std::unique_ptr<RealPlan> sub_;
    ComplexArray spectra_, split_tw_;
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

namespace talvo::mp::fft {
namespace {

// The plan of the real transform of length m at the working precision wp.
std::string describe_real(size_t m, mpfr_prec_t wp)
{
    switch (shape_of(m, wp)) {
    case Shape::Even: return "2 x (" + describe_plan(m / 2, wp) + ")";
    case Shape::OddPrime: {
        std::string inner = describe_plan(rader_plan_length(m, wp), wp);
        switch (rader_kind(m, wp)) {
        case RaderKind::Cyclic: return std::to_string(m) + ":real-rader-cyclic(" + inner + ")";
        case RaderKind::Exact: return std::to_string(m) + ":real-rader-exact";
        case RaderKind::RightAngle:
            return std::to_string(m) + ":real-rader-right-angle(2 x (" + inner + "), " + inner + ")";
        case RaderKind::None: break;
        }
        break;
    }
    case Shape::OddSplit: {
        size_t b = split_factor(m, wp);
        return describe_plan(m / b, wp) + " x (" + describe_real(b, wp) + ")";
    }
    case Shape::Odd: break;
    }
    return describe_plan(m, wp);
}

} // namespace
} // namespace talvo::mp::fft

// The plan at the precision of the current "Digits".
std::string TalvoMP_fft_plan(Integer n)
{
    using namespace talvo::mp::fft;
    if (n < 1)
        return "";
    size_t m = static_cast<size_t>(n);
    return describe_real(m, working_precision(m, talvo_float_precision()));
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
