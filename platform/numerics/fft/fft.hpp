// fft.hpp -- discrete Fourier transforms of every length on MPFR numbers:
// the complex plan behind the real transforms of real_transforms.cpp.
//
// A ComplexPlan of length n computes X_k = sum_j x_j exp(-2 pi i jk / n),
// unscaled, by mixed-radix Cooley-Tukey decimation in time (Cooley & Tukey
// 1965; the recursive form of Singleton 1969): n is split into radix-4 and
// radix-2 stages, then its odd prime factors in increasing order.  An odd
// prime factor p is a stage of p-point transforms made one of three ways,
// whichever the cost model below finds cheapest at the plan's precision:
//   - directly, pairing the terms j and p - j (about p^2 real multiplications
//     per transform): every p up to a few tens;
//   - by Rader's algorithm (Rader 1968): a cyclic convolution of length
//     p - 1, made with a ComplexPlan of that length;
//   - by Rader's algorithm with the convolution made on integers
//     (exact_convolution.hpp): four real convolutions of length (p - 1)/2,
//     whatever the factors of p - 1, each one product of large integers.
// (A chirp z-transform, Bluestein's, needs transforms of twice the length;
// the integer convolutions cost less at every precision.)  Every prime
// length is therefore O(p log p) up to the cost of the integer products,
// and so is every length.
//
// A plan is made once for a length and a precision: its tables of roots of
// unity (each entry rounded once from a value 24 bits more precise, see
// roots.cpp), the transformed or integer convolution kernels of its Rader
// stages, and every array its transforms work in.  A transform then
// allocates nothing.
#pragma once

#include "buffer.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace talvo::mp::fft {

// w[k] = exp(-2 pi i k / n) for k = 0 .. count - 1 (count <= n), at prec bits.
void unit_roots(Complex *w, size_t n, size_t count, mpfr_prec_t prec);

// The smallest factor g whose powers run through 1 .. p - 1 modulo the prime p.
size_t primitive_root(size_t p);
// The prime factors of n in increasing order, with repetition.
std::vector<size_t> prime_factors(size_t n);

// The cost model: estimated work of a length-n transform at prec bits in
// units of one real multiplication (an addition counts 0.6).  The choices
// depend on the precision only through the cost of the integer
// convolutions (exact_convolution.hpp).
double plan_cost(size_t n, mpfr_prec_t prec);
// How many Rader convolutions the plan of length n nests at its
// deepest (each adds a transform's worth of rounding error).
int plan_depth(size_t n, mpfr_prec_t prec);

class PrimeTransform;

class ComplexPlan {
public:
    ComplexPlan(size_t n, mpfr_prec_t prec);
    ~ComplexPlan();
    ComplexPlan(const ComplexPlan &) = delete;
    ComplexPlan &operator=(const ComplexPlan &) = delete;

    size_t size() const { return n_; }
    mpfr_prec_t precision() const { return prec_; }

    // out[k] = sum_j in[j] exp(-2 pi i jk / n).  in and out are distinct
    // arrays of n numbers of the plan's precision; in is consumed (its numbers
    // are moved into out).
    void forward(Complex *out, Complex *in);

private:
    enum class Kind { Two, Four, Odd, Prime };
    struct Stage {
        Kind kind;
        size_t radix;
        size_t m; // transforms of this stage's radix per group: n / (radix * fstride)
        std::unique_ptr<PrimeTransform> prime;
    };

    void work(Complex *out, Complex *in, size_t fstride, size_t stage);
    void radix2(Complex *out, size_t fstride, size_t m);
    void radix4(Complex *out, size_t fstride, size_t m);
    void radix_odd(Complex *out, size_t fstride, size_t m, size_t p);
    void radix_prime(Complex *out, size_t fstride, size_t m, PrimeTransform &t);
    void twiddle(Complex &x, size_t index)
    {
        cmul(x, x, roots_[index], t(6), t(7));
    }
    mpfr_ptr t(size_t i) { return temps_.real(i); }

    size_t n_;
    mpfr_prec_t prec_;
    std::vector<Stage> stages_;
    ComplexArray roots_; // roots_[k] = exp(-2 pi i k / n)
    ComplexArray temps_; // two complex scratch values and the real temporaries
    ComplexArray sums_;  // the odd stages' pair sums and differences
};

// A transform of prime length p in place on its own array (buffer()).
class PrimeTransform {
public:
    virtual ~PrimeTransform() = default;
    virtual Complex *buffer() = 0;
    virtual void apply() = 0;
};

// Which of the three ways the prime p is transformed by at prec bits (see above).
enum class PrimeMethod { Direct, Rader, ExactRader };
PrimeMethod prime_method(size_t p, mpfr_prec_t prec);
// Rader's orders for the prime p: gq[q] = g^q and gr[q] = g^-q modulo p,
// q = 0 .. p - 2, g the primitive root.
void rader_orders(size_t p, std::vector<size_t> &gq, std::vector<size_t> &gr);

// The plan of a complex transform of length n at prec bits in words: its
// stage radices, outermost first, each prime stage with the plan of its
// convolution: "4*4*2*1009:rader(4*4*7*3*3)" style, ":rader-exact" for the
// convolution on integers (see real_transforms.cpp).
std::string describe_plan(size_t n, mpfr_prec_t prec);

} // namespace talvo::mp::fft
