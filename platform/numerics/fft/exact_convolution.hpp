// exact_convolution.hpp -- a cyclic or negacyclic convolution of MPFR
// numbers with a fixed real kernel, made on integers.
//
// The convolutions inside the prime-length transforms (Rader's) have a
// kernel fixed by the plan and data that change with every call.  Where the
// convolution length has a large prime factor, a transform of that length
// would need padding to twice the length or a further Rader stage.  Here
// instead both sequences are put in fixed point with a binary scale each, their product is formed exactly as a product of
// integer polynomials (FLINT's fmpz_poly_mul: Kronecker substitution into
// one multiplication of large integers, whose cost grows almost linearly
// with the number of bits), and the product is folded modulo x^m - 1 or
// x^m + 1.  The only roundings are the two fixed-point conversions and the
// one of each result, so the error of every result is a small fraction of a
// unit of the working precision in the last place of the largest possible
// result (see exact_convolution.cpp).
#pragma once

#include <flint/fmpz_poly.h>
#include <gmp.h>
#include <mpfr.h>

#include <cstddef>

namespace talvo::mp::fft {

// The precision classes of the cost model: 0 up to 128 bits, 1 up to 512,
// 2 up to 2048, 3 above.
int precision_class(mpfr_prec_t prec);

// The cost of one apply() of length m at prec bits in the units of the
// transforms' cost model (fft.hpp: one real multiplication of MPFR numbers
// at that precision is 1).
double exact_convolution_cost(size_t m, mpfr_prec_t prec);

class ExactConvolution {
public:
    // The kernel k_0 .. k_{m-1} is read from kernel[0], kernel[stride], ...
    // (MPFR numbers, stride counted in numbers).  negacyclic: the wrap
    // x^m = -1 instead of x^m = 1.
    ExactConvolution(size_t m, bool negacyclic, mpfr_srcptr kernel, size_t stride, mpfr_prec_t wp);
    ~ExactConvolution();
    ExactConvolution(const ExactConvolution &) = delete;
    ExactConvolution &operator=(const ExactConvolution &) = delete;

    size_t size() const { return m_; }

    // y_r = sum_q x_q k_{r-q}, indices modulo m, with the factor -1 on the
    // terms where r - q wraps when negacyclic; x_q at x[q * xstride], y_r
    // written to y[r * ystride], each rounded once to its precision.  x and
    // y must not overlap.  Data with an undefined or infinite value give
    // undefined results throughout; all-zero data give zeros.
    void apply(mpfr_srcptr x, size_t xstride, mpfr_ptr y, size_t ystride);

private:
    // The integer nearest v 2^shift (v finite).
    void to_integer(fmpz_t out, mpfr_srcptr v, long shift);

    size_t m_;
    bool negacyclic_;
    mpfr_prec_t wp_;
    long frac_bits_;    // the fixed-point bits below each sequence's largest exponent
    long kernel_scale_; // k_q = kernel_[q] 2^-kernel_scale_ (0 when the kernel is zero)
    bool kernel_zero_;
    fmpz_poly_t kernel_, data_, product_;
    fmpz_t sum_;
    mpz_t z_;
    mpfr_t scaled_;
};

} // namespace talvo::mp::fft
