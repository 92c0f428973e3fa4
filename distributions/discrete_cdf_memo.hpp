// discrete_cdf_memo.hpp -- the values a discrete distribution function took
// at whole numbers, kept from one deviate search to the next.
//
// A random sample of n values by inversion runs the deviate's search n times
// with the same parameters, and each search evaluates the distribution
// function at a handful of integers near the centre: the same few points,
// each a numerics call, again and again.  A memo answers those from the
// values computed the first time.  It hands back the very float the
// distribution function returned, so a search reading it compares, steps and
// counts its iterations exactly as it would without the memo; only the time
// changes.
//
// Each distribution keeps one memo for its probability adapter.  The memo
// belongs to one set of parameters at one precision: binding it to others
// (different values, or a different "Digits") forgets every stored value.
// Points that are not whole numbers fitting a long, and parameters that are
// undefined, are never stored.  A failing evaluation (a host error) stores
// nothing.  The memo holds at most kCapacity values and starts over when it
// is full.
#pragma once

#include "stats_api.h"
#include "talvo_float.hpp"

#include <initializer_list>
#include <unordered_map>
#include <vector>

namespace stats {

class DiscreteCdfMemo {
public:
    static constexpr size_t kDefaultCapacity = 1 << 16;
    explicit DiscreteCdfMemo(size_t capacity = kDefaultCapacity) : m_capacity(capacity) {}

    // The value at x of the distribution function with these parameters:
    // the stored one when there is one, else compute() (stored when x is a
    // whole number).
    template <class Compute>
    TalvoFloat Value(std::initializer_list<long> integers, std::initializer_list<TalvoFloat> reals,
                     const TalvoFloat &x, Compute compute)
    {
        long k;
        if (!Bind(integers, reals) || !WholeNumber(x, &k))
            return compute();
        auto it = m_values.find(k);
        if (it != m_values.end())
            return it->second.value;
        TalvoFloat v = compute();
        if (m_values.size() >= m_capacity)
            m_values.clear();
        m_values.emplace(k, Stored{v});
        return v;
    }

    // Forgets every stored value.
    void Clear();
    size_t Size() const { return m_values.size(); }

private:
    // std::hash<long> and the stored float under names of the library's
    // own: an unordered_map whose arguments are all of default visibility
    // would export its out-of-line members (the table's and, where they are
    // not inlined, its node allocator's) from the shared library.
    struct IndexHash {
        size_t operator()(long k) const noexcept { return std::hash<long>{}(k); }
    };
    struct Stored {
        TalvoFloat value;
    };

    // True when the memo now belongs to these parameters at the current
    // precision (starting over if it belonged to others); false when a
    // parameter is undefined.
    bool Bind(std::initializer_list<long> integers, std::initializer_list<TalvoFloat> reals);
    static bool WholeNumber(const TalvoFloat &x, long *k);

    size_t m_capacity;
    long m_digits = -1;
    std::vector<long> m_integers;
    std::vector<TalvoFloat> m_reals;
    std::unordered_map<long, Stored, IndexHash> m_values;
};

} // namespace stats
