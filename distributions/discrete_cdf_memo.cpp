// discrete_cdf_memo.cpp -- binding a memo of distribution-function values to
// its parameters and precision.
#include "discrete_cdf_memo.hpp"

#include <mpfr.h>

namespace stats {

void DiscreteCdfMemo::Clear()
{
    m_values.clear();
    m_integers.clear();
    m_reals.clear();
    m_digits = -1;
}

bool DiscreteCdfMemo::Bind(std::initializer_list<long> integers, std::initializer_list<TalvoFloat> reals)
{
    for (const TalvoFloat &r : reals)
        if (mpfr_nan_p(r.mpfr()))
            return false;
    long digits = talvo_float_digits();
    bool same = digits == m_digits && integers.size() == m_integers.size() && reals.size() == m_reals.size();
    if (same) {
        size_t i = 0;
        for (long n : integers)
            same = same && n == m_integers[i++];
        i = 0;
        // Equal values give equal probabilities whatever their precision.
        for (const TalvoFloat &r : reals)
            same = same && mpfr_equal_p(r.mpfr(), m_reals[i++].mpfr());
    }
    if (!same) {
        m_values.clear();
        m_digits = digits;
        m_integers.assign(integers);
        m_reals.assign(reals);
    }
    return true;
}

bool DiscreteCdfMemo::WholeNumber(const TalvoFloat &x, long *k)
{
    mpfr_srcptr v = x.mpfr();
    if (!mpfr_integer_p(v) || !mpfr_fits_slong_p(v, MPFR_RNDZ))
        return false;
    *k = mpfr_get_si(v, MPFR_RNDZ);
    return true;
}

} // namespace stats
