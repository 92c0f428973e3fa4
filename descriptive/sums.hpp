// sums.hpp -- what the sum-based statistics share: an accumulator that adds
// in place, and the points and weights of a data sample as an entry works on
// them.
//
// Internal to the descriptive statistics; nothing here is exported.
#pragma once

#include "data_sample.hpp"
#include "stats_api.h"

#include <vector>

namespace stats {

// A running sum held in one float of the current precision that belongs to
// the accumulator alone, so that each step is a single MPFR operation with
// no new object.  Every step rounds to the working precision exactly as the
// float class's own + and * would; add_product rounds once (w*x + s is
// formed exactly, then rounded), which is never less accurate than forming
// the product first.  An undefined term makes the sum undefined, as it would
// with the float class.
class FloatSum {
public:
    FloatSum() : m_sum(TalvoFloat::from_handle(talvo_float_new(0))), m_p(talvo_float_mpfr(m_sum.handle()))
    {
        mpfr_set_zero(m_p, 1);
    }
    FloatSum(const FloatSum &) = delete;
    FloatSum &operator=(const FloatSum &) = delete;

    void add(const TalvoFloat &x) { mpfr_add(m_p, m_p, x.mpfr(), MPFR_RNDN); }
    void add_product(const TalvoFloat &a, const TalvoFloat &b) { mpfr_fma(m_p, a.mpfr(), b.mpfr(), m_p, MPFR_RNDN); }
    // A new float holding the sum (the accumulator may go on adding).
    TalvoFloat value() const { return TalvoFloat::from_handle(talvo_float_from_mpfr(m_p, 0)); }

private:
    TalvoFloat m_sum; // keeps the float object alive; m_p points into it
    mpfr_ptr m_p;
};

// The points and weights an entry works on: the sample's own arrays, or
// copies in C++ vectors (which the host's collector scans).  The sample is
// copied when the entry drops missing values (a pair goes when its point or
// its weight is undefined) or asks for a copy to reorder and overwrite; the
// kernels may reorder the sample's own arrays otherwise.
class SampleWork {
public:
    SampleWork(const STATS_TalvoDataSample_MP &sample, bool ignore, bool copy = false);
    SampleWork(const SampleWork &) = delete;
    SampleWork &operator=(const SampleWork &) = delete;

    TalvoFloat *x() const { return m_x; }
    // Null when the sample is unweighted.
    TalvoFloat *w() const { return m_w; }
    long n() const { return m_n; }

private:
    std::vector<TalvoFloat> m_xs, m_ws;
    TalvoFloat *m_x = nullptr;
    TalvoFloat *m_w = nullptr;
    long m_n = 0;
};

// The name of a data type code and of a storage code, as scripts write them.
ALGEB DataTypeName(TKernelVector kv, int datatype);
ALGEB StorageName(TKernelVector kv, int storage);

// Settings of a new one-dimensional rectangular array of host values or of
// 32-bit integers (arrays of floats: FloatArraySettings of the host bridge).
RTableSettings ValueArraySettings(TKernelVector kv);
RTableSettings Int32ArraySettings(TKernelVector kv);

} // namespace stats
