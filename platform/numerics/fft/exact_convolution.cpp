// exact_convolution.cpp -- convolutions of MPFR numbers made exactly on
// integers (see exact_convolution.hpp).
//
// Scaling.  With e_x the largest exponent of the data (every |x_q| < 2^e_x)
// and e_k that of the kernel, each x_q becomes the integer nearest
// x_q 2^(F - e_x) and each k_q the integer nearest k_q 2^(F - e_k), where
// F = wp + ceil(log2 m) + 4.  Each conversion moves a value by at most
// 2^(e - F - 1), so a result, the exact sum of m products of the integers
// scaled back by 2^(e_x + e_k - 2F), is off the true convolution by at most
// m (2^(e_x + e_k - F - 1) + 2^(e_x + e_k - F - 1) + 2^(e_x + e_k - 2F - 2))
// < 2^(e_x + e_k - wp - 3): an eighth of a unit of the working precision in
// the last place of 2^(e_x + e_k), itself at most four times the product of
// the largest datum and the largest kernel value.  Then each result is
// rounded once.  A transform made with floating-point arithmetic has an
// error of a few times log2(m) such units, so the integer product is the
// more accurate of the two.
#include "exact_convolution.hpp"

#include <flint/fmpz.h>

#include <climits>
#include <cmath>
#include <stdexcept>

namespace talvo::mp::fft {

namespace {

// ceil(log2(m)) for m >= 1.
long ceil_log2(size_t m)
{
    long bits = 0;
    while ((size_t(1) << bits) < m)
        ++bits;
    return bits;
}

// The largest exponent among the finite nonzero values (LONG_MIN when all
// are zero); false when one of them is undefined or infinite.
bool largest_exponent(mpfr_srcptr v, size_t stride, size_t count, long &e)
{
    bool any = false;
    e = 0;
    for (size_t q = 0; q < count; ++q) {
        mpfr_srcptr x = v + q * stride;
        if (!mpfr_number_p(x))
            return false;
        if (mpfr_zero_p(x))
            continue;
        long ex = static_cast<long>(mpfr_get_exp(x));
        if (!any || ex > e)
            e = ex;
        any = true;
    }
    if (!any)
        e = LONG_MIN;
    return true;
}

} // namespace

int precision_class(mpfr_prec_t prec)
{
    if (prec <= 128)
        return 0;
    if (prec <= 512)
        return 1;
    return prec <= 2048 ? 2 : 3;
}

// Measured (one apply, conversions included, against MPFR's multiplication
// at the same precision, and the transforms' cost per unit of the model):
// about m (c0 + c1 log2(2m)) units, the products of integers growing about
// linearly with the precision and MPFR's multiplication more slowly below a
// few hundred digits and faster above.
double exact_convolution_cost(size_t m, mpfr_prec_t prec)
{
    static const double c0[] = {0.7, 0.0, 0.0, 10.4}, c1[] = {2.3, 3.5, 6.5, 2.6};
    int k = precision_class(prec);
    return double(m) * (c0[k] + c1[k] * std::log2(2.0 * double(m)));
}

ExactConvolution::ExactConvolution(size_t m, bool negacyclic, mpfr_srcptr kernel, size_t stride, mpfr_prec_t wp)
    : m_(m), negacyclic_(negacyclic), wp_(wp), frac_bits_(long(wp) + ceil_log2(m) + 4), kernel_scale_(0),
      kernel_zero_(true)
{
    fmpz_poly_init2(kernel_, static_cast<slong>(m));
    fmpz_poly_init2(data_, static_cast<slong>(m));
    fmpz_poly_init(product_);
    fmpz_init(sum_);
    mpz_init(z_);
    mpfr_init2(scaled_, wp);
    long ek = 0;
    // The kernels are made by the plans from roots of unity: always finite.
    if (!largest_exponent(kernel, stride, m, ek))
        throw std::invalid_argument("a convolution kernel with an undefined value");
    if (ek != LONG_MIN) {
        kernel_zero_ = false;
        kernel_scale_ = frac_bits_ - ek;
        fmpz_t c;
        fmpz_init(c);
        for (size_t q = 0; q < m; ++q) {
            to_integer(c, kernel + q * stride, kernel_scale_);
            fmpz_poly_set_coeff_fmpz(kernel_, static_cast<slong>(q), c);
        }
        fmpz_clear(c);
    }
}

ExactConvolution::~ExactConvolution()
{
    fmpz_poly_clear(kernel_);
    fmpz_poly_clear(data_);
    fmpz_poly_clear(product_);
    fmpz_clear(sum_);
    mpz_clear(z_);
    mpfr_clear(scaled_);
}

void ExactConvolution::to_integer(fmpz_t out, mpfr_srcptr v, long shift)
{
    // With at least the precision of v, the change of exponent is exact.
    if (mpfr_get_prec(scaled_) < mpfr_get_prec(v))
        mpfr_set_prec(scaled_, mpfr_get_prec(v));
    mpfr_mul_2si(scaled_, v, shift, MPFR_RNDN);
    mpfr_get_z(z_, scaled_, MPFR_RNDN);
    fmpz_set_mpz(out, z_);
}

void ExactConvolution::apply(mpfr_srcptr x, size_t xstride, mpfr_ptr y, size_t ystride)
{
    long ex = 0;
    if (!largest_exponent(x, xstride, m_, ex)) {
        for (size_t r = 0; r < m_; ++r)
            mpfr_set_nan(y + r * ystride);
        return;
    }
    if (ex == LONG_MIN || kernel_zero_) {
        for (size_t r = 0; r < m_; ++r)
            mpfr_set_zero(y + r * ystride, 1);
        return;
    }
    const long data_scale = frac_bits_ - ex;
    fmpz_poly_zero(data_);
    fmpz_poly_fit_length(data_, static_cast<slong>(m_));
    for (size_t q = 0; q < m_; ++q)
        to_integer(data_->coeffs + q, x + q * xstride, data_scale);
    _fmpz_poly_set_length(data_, static_cast<slong>(m_));
    _fmpz_poly_normalise(data_);
    fmpz_poly_mul(product_, data_, kernel_);
    const slong len = product_->length;
    const long back = -(data_scale + kernel_scale_);
    for (size_t r = 0; r < m_; ++r) {
        slong lo = static_cast<slong>(r), hi = static_cast<slong>(r + m_);
        if (lo < len)
            fmpz_set(sum_, product_->coeffs + lo);
        else
            fmpz_zero(sum_);
        if (hi < len) {
            if (negacyclic_)
                fmpz_sub(sum_, sum_, product_->coeffs + hi);
            else
                fmpz_add(sum_, sum_, product_->coeffs + hi);
        }
        mpfr_ptr out = y + r * ystride;
        fmpz_get_mpfr(out, sum_, MPFR_RNDN);
        mpfr_mul_2si(out, out, back, MPFR_RNDN);
    }
}

} // namespace talvo::mp::fft
