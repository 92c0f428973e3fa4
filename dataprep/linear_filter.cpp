// linear_filter.cpp -- a causal linear filter with initial values,
// optionally recursive: STATS_TalvoLinearFilter_MP(data, coefficients,
// initial values, recursive, ignore).
//
// With p coefficients C, the data x (undefined values dropped when ignore
// is true, m of them kept) and initial values I standing for x(-1), x(-2),
// ... (only the first p - 1 are used; missing ones are 0):
//     y(t) = C[0] x(t) + C[1] x(t-1) + ... + C[p-1] x(t-p+1),  t = 0 .. m-1.
// Recursive: once computed, y(t) takes the place of x(t), so later outputs
// filter earlier outputs.  The work array W holds the initial values in
// reverse order and then the data (W[p-2] = I[0], W[p-1] = x(0)); y(t) is
// sum W[t+i] R[i] with R the coefficients reversed.
//
// Each y(t) is the correctly rounded value of its sum: the products are
// formed exactly and added with MPFR's correctly rounded sum, so the result
// is the exact dot product rounded once to the working precision (a
// recursive filter then goes on from that rounded value, as the defined
// steps do).
//
// The output is an array of floats with bounds lb .. lb + m - 1, lb the
// data's lower bound.  A filter of more coefficients than data raises "the
// size of the filter cannot exceed the size of the data set"; a filter of
// no coefficients gives 0 for every kept value (the empty sum), without the
// defined steps' write before the work array (docs/DEVIATIONS.md).
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <mpfr.h>

#include <algorithm>
#include <vector>

namespace {

// Exact products of up to n pairs, added with one rounding.
class ExactDot {
public:
    ExactDot(long n, mpfr_prec_t product_prec) : m_terms(static_cast<size_t>(n)), m_ptrs(static_cast<size_t>(n))
    {
        for (size_t i = 0; i < m_terms.size(); ++i) {
            mpfr_init2(m_terms[i].v, product_prec);
            m_ptrs[i] = m_terms[i].v;
        }
    }
    ~ExactDot()
    {
        for (Term &t : m_terms)
            mpfr_clear(t.v);
    }
    ExactDot(const ExactDot &) = delete;
    ExactDot &operator=(const ExactDot &) = delete;

    // sum a[i] b[i], i < n, rounded once to the current precision.
    TalvoFloat operator()(const TalvoFloat *a, const TalvoFloat *b, long n)
    {
        for (long i = 0; i < n; ++i)
            mpfr_mul(m_ptrs[static_cast<size_t>(i)], a[i].mpfr(), b[i].mpfr(), MPFR_RNDN); // exact
        ALGEB h = talvo_float_new(talvo_float_precision());
        mpfr_sum(talvo_float_mpfr(h), m_ptrs.data(), static_cast<unsigned long>(n), MPFR_RNDN);
        return TalvoFloat::from_handle(h);
    }

private:
    struct Term {
        mpfr_t v;
    };
    std::vector<Term> m_terms;
    std::vector<mpfr_ptr> m_ptrs;
};

mpfr_prec_t MaxPrecision(const std::vector<TalvoFloat> &v, mpfr_prec_t p)
{
    for (const TalvoFloat &x : v)
        p = std::max(p, mpfr_get_prec(x.mpfr()));
    return p;
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoLinearFilter_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 5);
    STATS_TalvoDataSample_MP data(kv, f.arg(1)), coefficients(kv, f.arg(2)), initial(kv, f.arg(3));
    bool recursive = f.flag(4) != 0, ignore = f.flag(5) != 0;
    long n = data.size(), p = coefficients.size(), q = initial.size();
    if (n < p)
        TalvoRaiseError(kv, "the size of the filter cannot exceed the size of the data set");
    long head = p > 0 ? p - 1 : 0; // places before the data
    std::vector<TalvoFloat> w(static_cast<size_t>(head + n));
    long given = std::min(q, head);
    for (long i = 0; i < head; ++i)
        w[static_cast<size_t>(i)] = TalvoFloat(0.0);
    for (long i = 0; i < given; ++i)
        w[static_cast<size_t>(p - 2 - i)] = initial.points()[i];
    long m = n > 0 ? STATS_CopySimpleData_MP(data.points(), w.data() + head, static_cast<int>(n), ignore ? 1 : 0) : 0;
    std::vector<TalvoFloat> r(static_cast<size_t>(p));
    for (long i = 0; i < p; ++i)
        r[static_cast<size_t>(i)] = coefficients.points()[p - 1 - i];

    RTableSettings fs = stats::FloatArraySettings(kv);
    M_INT lb = RTableLowerBound(kv, f.arg(1), 1);
    M_INT bounds[2] = {lb, lb + m - 1};
    ALGEB out = RTableCreate(kv, &fs, nullptr, bounds);
    auto *y = static_cast<TalvoFloat *>(RTableDataBlock(kv, out));
    if (p == 0)
        return out; // every output is the empty sum, the array's initial 0
    mpfr_prec_t prec = MaxPrecision(w, talvo_float_precision());
    ExactDot dot(p, prec + MaxPrecision(r, 2));
    for (long t = 0; t < m; ++t) {
        TalvoFloat v = dot(w.data() + t, r.data(), p);
        y[t] = v;
        if (recursive)
            w[static_cast<size_t>(p - 1 + t)] = v;
    }
    return out;
}
