// common.hpp -- what the f11 routines of this folder share: the working
// precision, conversions between the host's floats and the MPFR vectors of
// sparse.hpp, letters of the argument lists, checks of coordinate storage
// and the IFAIL convention.
#pragma once

#include "../talvo_mp_sparse.h"
#include "sparse.hpp"

#include <cctype>
#include <cstdio>

namespace talvo::sparse {

// The working precision: "Digits" plus guard bits.
inline mpfr_prec_t working_precision() { return talvo_float_precision() + 24; }

// Element types of the host arrays by kind.
template <class K>
struct Host;
template <>
struct Host<RealKind> {
    using T = TalvoFloat;
    static void get(mpfr_ptr r, const TalvoFloat &x) { mpfr_set(r, x.mpfr(), MPFR_RNDN); }
    static void put(TalvoFloat &x, mpfr_srcptr r) { x = TalvoFloat::from_handle(talvo_float_from_mpfr(r, 0)); }
};
template <>
struct Host<ComplexKind> {
    using T = TalvoComplex;
    static void get(mpfr_ptr r, const TalvoComplex &x)
    {
        mpfr_set(r, x.re.mpfr(), MPFR_RNDN);
        mpfr_set(r + 1, x.im.mpfr(), MPFR_RNDN);
    }
    static void put(TalvoComplex &x, mpfr_srcptr r)
    {
        x.re = TalvoFloat::from_handle(talvo_float_from_mpfr(r, 0));
        x.im = TalvoFloat::from_handle(talvo_float_from_mpfr(r + 1, 0));
    }
};

template <class K>
void from_host(Vec<K> &v, const typename Host<K>::T *x)
{
    for (long k = 0; k < v.size(); ++k)
        Host<K>::get(v[k], x[k]);
}
template <class K>
void to_host(typename Host<K>::T *x, const Vec<K> &v)
{
    for (long k = 0; k < v.size(); ++k)
        Host<K>::put(x[k], v[k]);
}

// The first letter of an argument, upper case ('\0' for none).
inline char letter(const char *s)
{
    return (s == nullptr || *s == '\0') ? '\0' : char(std::toupper(static_cast<unsigned char>(*s)));
}
inline bool one_of(char c, const char *set)
{
    for (; *set; ++set)
        if (c == *set)
            return true;
    return false;
}

// Sets IFAIL: 1 on entry asks for quiet failures, anything else prints.
inline void set_ifail(Integer *ifail, Integer code, const char *routine, const char *what)
{
    const Integer entry = ifail ? *ifail : 0;
    if (code != 0 && entry != 1)
        std::fprintf(stderr, "** %s: IFAIL = %ld: %s\n", routine, long(code), what);
    if (ifail)
        *ifail = code;
}

// Checks ordered coordinate storage (1-based indices): 0 fine, 2 an index
// out of range (or above the diagonal when lower), 3 out of order or
// duplicated.
inline int check_storage(Integer n, Integer nnz, const Integer irow[], const Integer icol[], bool lower = false)
{
    for (Integer k = 0; k < nnz; ++k) {
        if (irow[k] < 1 || irow[k] > n || icol[k] < 1 || icol[k] > n || (lower && icol[k] > irow[k]))
            return 2;
    }
    for (Integer k = 1; k < nnz; ++k) {
        if (irow[k] < irow[k - 1] || (irow[k] == irow[k - 1] && icol[k] <= icol[k - 1]))
            return 3;
    }
    return 0;
}

// A matrix of ordered coordinate storage read from host arrays.
template <class K>
Cs<K> read_matrix(Integer n, Integer nnz, const typename Host<K>::T a[], const Integer irow[], const Integer icol[],
                  mpfr_prec_t prec)
{
    Cs<K> m;
    m.n = n;
    m.row.resize(size_t(nnz));
    m.col.resize(size_t(nnz));
    m.a = Vec<K>(nnz, prec);
    for (Integer k = 0; k < nnz; ++k) {
        m.row[size_t(k)] = irow[k] - 1;
        m.col[size_t(k)] = icol[k] - 1;
        Host<K>::get(m.a[k], a[k]);
    }
    index_rows(m);
    return m;
}

} // namespace talvo::sparse

namespace talvo::sparse {
// Reads an incomplete factor stored after A in host arrays (ilu.cpp);
// false when check finds its storage inconsistent.
template <class K>
bool read_factor(Integer n, const typename Host<K>::T a[], Integer la, const Integer irow[], const Integer icol[],
                 const Integer ipivp[], const Integer ipivq[], const Integer istr[], const Integer idiag[],
                 bool check, bool hermitian, mpfr_prec_t prec, IluFactor<K> &f);
} // namespace talvo::sparse
