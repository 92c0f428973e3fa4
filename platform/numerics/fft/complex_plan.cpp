// complex_plan.cpp -- the mixed-radix transform, its cost model, and the
// Rader transforms of prime length (by transforms or on integers).
#include "exact_convolution.hpp"
#include "few_limbs.hpp"
#include "fft.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

namespace talvo::mp::fft {

// ---------------------------------------------------------------------------
// Number theory
// ---------------------------------------------------------------------------

std::vector<size_t> prime_factors(size_t n)
{
    std::vector<size_t> f;
    for (size_t d = 2; d * d <= n; d += (d == 2 ? 1 : 2)) {
        while (n % d == 0) {
            f.push_back(d);
            n /= d;
        }
    }
    if (n > 1)
        f.push_back(n);
    return f;
}

namespace {

size_t mulmod(size_t a, size_t b, size_t m) { return static_cast<size_t>((unsigned __int128)a * b % m); }

size_t powmod(size_t a, size_t e, size_t m)
{
    size_t r = 1 % m;
    a %= m;
    while (e > 0) {
        if (e & 1)
            r = mulmod(r, a, m);
        a = mulmod(a, a, m);
        e >>= 1;
    }
    return r;
}

} // namespace

size_t primitive_root(size_t p)
{
    if (p == 2)
        return 1;
    std::vector<size_t> f = prime_factors(p - 1);
    f.erase(std::unique(f.begin(), f.end()), f.end());
    for (size_t g = 2; g < p; ++g) {
        bool ok = true;
        for (size_t q : f)
            if (powmod(g, (p - 1) / q, p) == 1) {
                ok = false;
                break;
            }
        if (ok)
            return g;
    }
    throw std::logic_error("no primitive root: the modulus is not prime");
}

// ---------------------------------------------------------------------------
// Cost model
// ---------------------------------------------------------------------------
//
// Units: a real multiplication 1, an addition 0.6 (MPFR at two or three
// limbs); so a complex addition costs 1.2 and a complex multiplication 5.2.
// The model only has to rank the ways of making one prime-length stage.
// Only the integer
// convolutions cost differently, relative to MPFR arithmetic, at different
// precisions, so the choices are kept per precision class
// (exact_convolution.hpp).

namespace {

constexpr double kAdd = 0.6, kCAdd = 1.2, kCMul = 5.2;
// Odd primes up to this are always transformed directly.
constexpr size_t kAlwaysDirect = 5;

// The radices of the stages of a length-n plan, outermost first: fours, one
// two when the power of two is odd, then the odd primes in increasing order.
std::vector<size_t> stage_radices(size_t n)
{
    std::vector<size_t> f = prime_factors(n);
    size_t twos = static_cast<size_t>(std::count(f.begin(), f.end(), size_t(2)));
    std::vector<size_t> r(twos / 2, 4);
    if (twos % 2 == 1)
        r.push_back(2);
    for (size_t p : f)
        if (p != 2)
            r.push_back(p);
    return r;
}

double direct_cost(size_t p)
{
    double h = double(p - 1) / 2;
    return 3 * kCAdd * double(p - 1) + h * h * (4 + 4 * kAdd);
}

struct PrimeChoice {
    PrimeMethod method;
    double cost;
    int depth;
};

using Key = std::pair<size_t, int>;

std::map<Key, double> &cost_memo()
{
    static std::map<Key, double> memo;
    return memo;
}

std::map<Key, PrimeChoice> &choice_memo()
{
    static std::map<Key, PrimeChoice> memo;
    return memo;
}

PrimeChoice prime_choice(size_t p, mpfr_prec_t prec);

double radix_cost(size_t p, mpfr_prec_t prec)
{
    switch (p) {
    case 2: return 2 * kCAdd;
    case 4: return 8 * kCAdd;
    default:
        if (p <= kAlwaysDirect)
            return direct_cost(p);
        return prime_choice(p, prec).cost + 2 * kAdd * double(p);
    }
}

double rader_cost(size_t p, mpfr_prec_t prec)
{
    return 2 * plan_cost(p - 1, prec) + (kCMul + 2 * kCAdd) * double(p - 1);
}

// Four real convolutions of length (p - 1)/2, the sums and differences that
// make their data, and those that combine their results.
double exact_rader_cost(size_t p, mpfr_prec_t prec)
{
    return 4 * exact_convolution_cost((p - 1) / 2, prec) + 4 * kCAdd * double(p);
}

PrimeChoice prime_choice(size_t p, mpfr_prec_t prec)
{
    auto &memo = choice_memo();
    const Key key{p, precision_class(prec)};
    auto it = memo.find(key);
    if (it != memo.end())
        return it->second;
    PrimeChoice best{PrimeMethod::Direct, direct_cost(p), 0};
    if (p > kAlwaysDirect) {
        double r = rader_cost(p, prec);
        if (r < best.cost)
            best = {PrimeMethod::Rader, r, plan_depth(p - 1, prec) + 1};
        double e = exact_rader_cost(p, prec);
        if (e < best.cost)
            best = {PrimeMethod::ExactRader, e, 1};
    }
    memo[key] = best;
    return best;
}

} // namespace

double plan_cost(size_t n, mpfr_prec_t prec)
{
    if (n <= 1)
        return 0;
    auto &memo = cost_memo();
    const Key key{n, precision_class(prec)};
    auto it = memo.find(key);
    if (it != memo.end())
        return it->second;
    double cost = 0;
    size_t fstride = 1;
    for (size_t p : stage_radices(n)) {
        size_t m = n / (p * fstride);
        double groups = double(n / p);
        cost += groups * radix_cost(p, prec);
        // Twiddle factors: all but those of the first element of each
        // group; none in the innermost stage (m = 1).
        if (m > 1)
            cost += kCMul * double(p - 1) * groups * (1.0 - 1.0 / double(m));
        fstride *= p;
    }
    memo[key] = cost;
    return cost;
}

int plan_depth(size_t n, mpfr_prec_t prec)
{
    int depth = 0;
    for (size_t p : stage_radices(n))
        if (p > kAlwaysDirect && p != 4)
            depth = std::max(depth, prime_choice(p, prec).depth);
    return depth;
}

PrimeMethod prime_method(size_t p, mpfr_prec_t prec)
{
    return p <= kAlwaysDirect ? PrimeMethod::Direct : prime_choice(p, prec).method;
}

void rader_orders(size_t p, std::vector<size_t> &gq, std::vector<size_t> &gr)
{
    size_t g = primitive_root(p), ginv = powmod(g, p - 2, p);
    gq.resize(p - 1);
    gr.resize(p - 1);
    for (size_t q = 0, a = 1, b = 1; q < p - 1; ++q) {
        gq[q] = a;
        gr[q] = b;
        a = mulmod(a, g, p);
        b = mulmod(b, ginv, p);
    }
}

std::string describe_plan(size_t n, mpfr_prec_t prec)
{
    if (n == 1)
        return "1";
    std::string text;
    for (size_t p : stage_radices(n)) {
        if (!text.empty())
            text += "*";
        text += std::to_string(p);
        if (p <= kAlwaysDirect || p == 4)
            continue;
        switch (prime_method(p, prec)) {
        case PrimeMethod::Direct: break;
        case PrimeMethod::Rader: text += ":rader(" + describe_plan(p - 1, prec) + ")"; break;
        case PrimeMethod::ExactRader: text += ":rader-exact"; break;
        }
    }
    return text;
}

// ---------------------------------------------------------------------------
// Prime-length transforms
// ---------------------------------------------------------------------------

namespace {

// Rader: for p prime with primitive root g, and q, r = 0 .. p - 2,
//   X_0 = sum_j x_j,
//   X_{g^-r} = x_0 + sum_q x_{g^q} w^{g^(q - r)... }
// that is x_0 + (a * b)_r, the cyclic convolution of a_q = x_{g^q} with
// b_q = exp(-2 pi i g^-q / p).  The convolution is made as
// IDFT(DFT(a) . DFT(b)) with a plan of length p - 1; DFT(b) / (p - 1) is
// computed once, and the inverse transform is the forward one between two
// conjugations.
class Rader final : public PrimeTransform {
public:
    Rader(size_t p, mpfr_prec_t prec)
        : l_(p - 1), sub_(p - 1, prec), x_(p, prec), a_(p - 1, prec), ahat_(p - 1, prec),
          bhat_(p - 1, prec), temps_(2, prec)
    {
        rader_orders(p, in_, out_);
        ComplexArray roots(p, prec);
        unit_roots(roots.data(), p, p, prec);
        for (size_t q = 0; q < l_; ++q)
            cset(a_[q], roots[out_[q]]);
        sub_.forward(bhat_.data(), a_.data());
        for (size_t q = 0; q < l_; ++q) {
            mpfr_div_ui(&bhat_[q].re, &bhat_[q].re, static_cast<unsigned long>(l_), MPFR_RNDN);
            mpfr_div_ui(&bhat_[q].im, &bhat_[q].im, static_cast<unsigned long>(l_), MPFR_RNDN);
        }
    }

    Complex *buffer() override { return x_.data(); }

    void apply() override
    {
        Complex *x = x_.data();
        mpfr_ptr t1 = temps_.real(0), t2 = temps_.real(1);
        Complex &sum = temps_[1];
        for (size_t q = 0; q < l_; ++q)
            cswap(a_[q], x[in_[q]]);
        sub_.forward(ahat_.data(), a_.data());
        cset(sum, ahat_[0]);
        for (size_t q = 0; q < l_; ++q)
            cmul_conj(ahat_[q], ahat_[q], bhat_[q], t1, t2);
        sub_.forward(a_.data(), ahat_.data());
        // The convolution is conj(a).
        for (size_t r = 0; r < l_; ++r) {
            Complex &X = x[out_[r]];
            talvo::floatn::add_rn(&X.re, &x[0].re, &a_[r].re);
            talvo::floatn::sub_rn(&X.im, &x[0].im, &a_[r].im);
        }
        cadd(x[0], x[0], sum);
    }

private:
    size_t l_;
    ComplexPlan sub_;
    ComplexArray x_, a_, ahat_, bhat_, temps_;
    std::vector<size_t> in_, out_;
};

// Rader's convolution made on integers.  With m = (p - 1)/2, g^m = -1 gives
// b_{q+m} = conj(b_q): beta = Re b has period m and gamma = Im b changes
// sign after m.  So for r < m
//   c_r = P_r + i Q_r,  c_{r+m} = P_r - i Q_r,
//   P = U (*) beta (cyclic),  Q = V (*) gamma (negacyclic),  length m,
// with U_q = a_q + a_{q+m} and V_q = a_q - a_{q+m}: four real convolutions
// (the real and imaginary parts of U and V) with two kernels, unpadded
// whatever the factors of m.
class ExactRader final : public PrimeTransform {
public:
    ExactRader(size_t p, mpfr_prec_t prec)
        : m_((p - 1) / 2), x_(p, prec), u_(m_, prec), v_(m_, prec), pc_(m_, prec), qc_(m_, prec), temps_(1, prec)
    {
        rader_orders(p, in_, out_);
        ComplexArray roots(p, prec);
        unit_roots(roots.data(), p, p, prec);
        // beta in the real parts, gamma in the imaginary parts of u_ (for now).
        for (size_t q = 0; q < m_; ++q)
            cset(u_[q], roots[out_[q]]);
        beta_ = std::make_unique<ExactConvolution>(m_, false, &u_[0].re, 2, prec);
        gamma_ = std::make_unique<ExactConvolution>(m_, true, &u_[0].im, 2, prec);
    }

    Complex *buffer() override { return x_.data(); }

    void apply() override
    {
        Complex *x = x_.data();
        Complex &sum = temps_[0];
        czero(sum);
        for (size_t q = 0; q < m_; ++q) {
            const Complex &a = x[in_[q]], &b = x[in_[q + m_]];
            cadd(u_[q], a, b);
            csub(v_[q], a, b);
            cadd(sum, sum, u_[q]);
        }
        beta_->apply(&u_[0].re, 2, &pc_[0].re, 2);
        beta_->apply(&u_[0].im, 2, &pc_[0].im, 2);
        gamma_->apply(&v_[0].re, 2, &qc_[0].re, 2);
        gamma_->apply(&v_[0].im, 2, &qc_[0].im, 2);
        // x_0 is not among the outputs g^-r, so it is read until the end.
        for (size_t r = 0; r < m_; ++r) {
            const Complex &P = pc_[r], &Q = qc_[r];
            Complex &X = x[out_[r]], &Y = x[out_[r + m_]];
            // X = x_0 + P + i Q, Y = x_0 + P - i Q.
            talvo::floatn::sub_rn(&X.re, &P.re, &Q.im);
            talvo::floatn::add_rn(&X.im, &P.im, &Q.re);
            talvo::floatn::add_rn(&Y.re, &P.re, &Q.im);
            talvo::floatn::sub_rn(&Y.im, &P.im, &Q.re);
            cadd(X, X, x[0]);
            cadd(Y, Y, x[0]);
        }
        cadd(x[0], x[0], sum);
    }

private:
    size_t m_;
    ComplexArray x_, u_, v_, pc_, qc_, temps_;
    std::vector<size_t> in_, out_;
    std::unique_ptr<ExactConvolution> beta_, gamma_;
};

} // namespace

// ---------------------------------------------------------------------------
// The mixed-radix plan
// ---------------------------------------------------------------------------

ComplexPlan::ComplexPlan(size_t n, mpfr_prec_t prec) : n_(n), prec_(prec)
{
    if (n == 0)
        throw std::invalid_argument("a transform of length 0");
    size_t fstride = 1, max_half = 0;
    for (size_t p : stage_radices(n)) {
        Stage s{Kind::Odd, p, n / (p * fstride), nullptr};
        if (p == 2)
            s.kind = Kind::Two;
        else if (p == 4)
            s.kind = Kind::Four;
        else if (prime_method(p, prec) == PrimeMethod::Rader) {
            s.kind = Kind::Prime;
            s.prime = std::make_unique<Rader>(p, prec);
        } else if (prime_method(p, prec) == PrimeMethod::ExactRader) {
            s.kind = Kind::Prime;
            s.prime = std::make_unique<ExactRader>(p, prec);
        } else {
            max_half = std::max(max_half, (p - 1) / 2);
        }
        stages_.push_back(std::move(s));
        fstride *= p;
    }
    roots_ = ComplexArray(n, prec);
    unit_roots(roots_.data(), n, n, prec);
    // temps_: [0] and [1] complex scratch; [2] and [3] the reals t(4) .. t(7)
    // (t(6) and t(7) are the twiddle multiplication's).
    temps_ = ComplexArray(4, prec);
    sums_ = ComplexArray(2 * max_half + 3, prec);
}

ComplexPlan::~ComplexPlan() = default;

void ComplexPlan::forward(Complex *out, Complex *in)
{
    if (n_ == 1) {
        cswap(out[0], in[0]);
        return;
    }
    work(out, in, 1, 0);
}

// Decimation in time: the stage's radix p splits the input into p
// subsequences of stride fstride * p, each transformed into a block of m
// outputs; the butterflies then combine the blocks.  The innermost stage
// (m = 1) moves the inputs into place.
void ComplexPlan::work(Complex *out, Complex *in, size_t fstride, size_t stage)
{
    Stage &s = stages_[stage];
    const size_t p = s.radix, m = s.m;
    if (m == 1) {
        for (size_t j = 0; j < p; ++j)
            cswap(out[j], in[j * fstride]);
    } else {
        for (size_t q = 0; q < p; ++q)
            work(out + q * m, in + q * fstride, fstride * p, stage + 1);
    }
    switch (s.kind) {
    case Kind::Two: radix2(out, fstride, m); break;
    case Kind::Four: radix4(out, fstride, m); break;
    case Kind::Odd: radix_odd(out, fstride, m, p); break;
    case Kind::Prime: radix_prime(out, fstride, m, *s.prime); break;
    }
}

void ComplexPlan::radix2(Complex *out, size_t fstride, size_t m)
{
    Complex &d = temps_[0];
    for (size_t u = 0; u < m; ++u) {
        Complex &a = out[u], &b = out[u + m];
        if (u > 0)
            twiddle(b, u * fstride);
        csub(d, a, b);
        cadd(a, a, b);
        cswap(b, d);
    }
}

void ComplexPlan::radix4(Complex *out, size_t fstride, size_t m)
{
    Complex &A = temps_[0], &B = temps_[1];
    mpfr_ptr t1 = t(4);
    for (size_t u = 0; u < m; ++u) {
        Complex &F0 = out[u], &F1 = out[u + m], &F2 = out[u + 2 * m], &F3 = out[u + 3 * m];
        if (u > 0) {
            twiddle(F1, u * fstride);
            twiddle(F2, 2 * u * fstride);
            twiddle(F3, 3 * u * fstride);
        }
        csub(A, F0, F2); // y0 - y2
        cadd(F0, F0, F2); // y0 + y2
        cadd(B, F1, F3); // y1 + y3
        csub(F1, F1, F3); // y1 - y3
        csub(F2, F0, B);
        cadd(F0, F0, B);
        // X3 = (y0 - y2) + i (y1 - y3), X1 = (y0 - y2) - i (y1 - y3).
        talvo::floatn::sub_rn(&F3.re, &A.re, &F1.im);
        talvo::floatn::add_rn(&F3.im, &A.im, &F1.re);
        mpfr_swap(t1, &F1.re);
        talvo::floatn::add_rn(&F1.re, &A.re, &F1.im);
        talvo::floatn::sub_rn(&F1.im, &A.im, t1);
    }
}

// An odd radix p, directly: with h = (p - 1)/2, s_q = y_q + y_{p-q} and
// d_q = y_q - y_{p-q} (q = 1 .. h),
//   X_k     = y_0 + sum_q s_q cos(2 pi kq/p) - i sum_q d_q sin(2 pi kq/p),
//   X_{p-k} = y_0 + sum_q s_q cos(2 pi kq/p) + i sum_q d_q sin(2 pi kq/p).
// The roots table holds cos - i sin, so the sine sums are accumulated with
// the table's imaginary parts (the negated sines).
void ComplexPlan::radix_odd(Complex *out, size_t fstride, size_t m, size_t p)
{
    const size_t h = (p - 1) / 2, step = n_ / p;
    Complex *S = sums_.data();   // S[1 .. h]
    Complex *D = S + h;          // D[1 .. h]
    Complex &A = sums_[2 * h + 1], &B = sums_[2 * h + 2];
    Complex &X0 = temps_[0];
    mpfr_ptr t1 = t(4);
    for (size_t u = 0; u < m; ++u) {
        if (u > 0)
            for (size_t q = 1; q < p; ++q)
                twiddle(out[u + q * m], q * u * fstride);
        Complex &y0 = out[u];
        cset(X0, y0);
        for (size_t q = 1; q <= h; ++q) {
            Complex &a = out[u + q * m], &b = out[u + (p - q) * m];
            cadd(S[q], a, b);
            csub(D[q], a, b);
            cadd(X0, X0, S[q]);
        }
        for (size_t k = 1; k <= h; ++k) {
            cset(A, y0);
            mpfr_set_zero(&B.re, 1);
            mpfr_set_zero(&B.im, 1);
            for (size_t q = 1; q <= h; ++q) {
                const Complex &w = roots_[(k * q % p) * step];
                talvo::floatn::mul_rn(t1, &S[q].re, &w.re);
                talvo::floatn::add_rn(&A.re, &A.re, t1);
                talvo::floatn::mul_rn(t1, &S[q].im, &w.re);
                talvo::floatn::add_rn(&A.im, &A.im, t1);
                talvo::floatn::mul_rn(t1, &D[q].re, &w.im);
                talvo::floatn::add_rn(&B.re, &B.re, t1);
                talvo::floatn::mul_rn(t1, &D[q].im, &w.im);
                talvo::floatn::add_rn(&B.im, &B.im, t1);
            }
            // B = -sum d_q sin: X_k = A + i B, X_{p-k} = A - i B.
            Complex &Xk = out[u + k * m], &Xpk = out[u + (p - k) * m];
            talvo::floatn::sub_rn(&Xk.re, &A.re, &B.im);
            talvo::floatn::add_rn(&Xk.im, &A.im, &B.re);
            talvo::floatn::add_rn(&Xpk.re, &A.re, &B.im);
            talvo::floatn::sub_rn(&Xpk.im, &A.im, &B.re);
        }
        cswap(y0, X0);
    }
}

void ComplexPlan::radix_prime(Complex *out, size_t fstride, size_t m, PrimeTransform &t)
{
    Complex *x = t.buffer();
    const size_t radix = n_ / (m * fstride);
    for (size_t u = 0; u < m; ++u) {
        for (size_t q = 0; q < radix; ++q) {
            cswap(x[q], out[u + q * m]);
            if (u > 0 && q > 0)
                twiddle(x[q], q * u * fstride);
        }
        t.apply();
        for (size_t k = 0; k < radix; ++k)
            cswap(out[u + k * m], x[k]);
    }
}

} // namespace talvo::mp::fft
