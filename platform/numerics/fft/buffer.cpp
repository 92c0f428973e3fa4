// buffer.cpp -- arrays of MPFR numbers with their significands in one block.
#include "buffer.hpp"

#include <cstdlib>
#include <new>
#include <utility>

namespace talvo::mp::fft {

ComplexArray::ComplexArray(size_t count, mpfr_prec_t prec) : count_(count)
{
    if (count == 0)
        return;
    // Each significand starts on a limb boundary: mpfr_custom_get_size is a
    // whole number of limbs.
    size_t limb_bytes = mpfr_custom_get_size(prec);
    items_ = static_cast<Complex *>(std::malloc(count * sizeof(Complex)));
    limbs_ = std::malloc(2 * count * limb_bytes);
    if (items_ == nullptr || limbs_ == nullptr) {
        release();
        throw std::bad_alloc();
    }
    char *p = static_cast<char *>(limbs_);
    mpfr_ptr x = reinterpret_cast<mpfr_ptr>(items_);
    for (size_t i = 0; i < 2 * count; ++i, p += limb_bytes) {
        mpfr_custom_init(p, prec);
        mpfr_custom_init_set(x + i, MPFR_ZERO_KIND, 0, prec, p);
    }
}

ComplexArray::~ComplexArray() { release(); }

void ComplexArray::release()
{
    std::free(items_);
    std::free(limbs_);
    items_ = nullptr;
    limbs_ = nullptr;
    count_ = 0;
}

ComplexArray::ComplexArray(ComplexArray &&other) noexcept
    : items_(std::exchange(other.items_, nullptr)), limbs_(std::exchange(other.limbs_, nullptr)),
      count_(std::exchange(other.count_, 0))
{
}

ComplexArray &ComplexArray::operator=(ComplexArray &&other) noexcept
{
    if (this != &other) {
        release();
        items_ = std::exchange(other.items_, nullptr);
        limbs_ = std::exchange(other.limbs_, nullptr);
        count_ = std::exchange(other.count_, 0);
    }
    return *this;
}

} // namespace talvo::mp::fft
