// random_sample.hpp -- the host arrays that RandomSample entries return, and
// the bodies of the entries whose arguments are the reals of a law.
#pragma once

#include "correctly_rounded.hpp"
#include "entry_frame.hpp"
#include "random_stream.hpp"
#include "stats_api.h"
#include "talvo_utils.hpp"

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

// A new one-dimensional array of software floats with bounds 1..n (empty for
// n <= 0).  The third argument is not read.
STATS_API ALGEB STATS_CreateRandomSample_MP(TKernelVector kv, int n, ALGEB ignored);
// `spec` an array: it is returned to be filled in place, provided its storage
// is rectangular ("output array must have rectangular storage, received:
// %1") and its elements are host values, data type code 0 ("output array
// must have float[8] or sfloat data type, received: %1").  Anything else is
// a length, converted with the host's 32-bit integer conversion.
STATS_API ALGEB STATS_CreateRandomSample_MP(TKernelVector kv, ALGEB spec);

namespace stats {

// A new sample of n draws: draw() is called n times, element by element.
template <class Draw>
ALGEB FillRandomSample(TKernelVector kv, int n, Draw draw)
{
    ALGEB sample = STATS_CreateRandomSample_MP(kv, n, ToTalvoNULL(kv));
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, sample));
    for (int i = 0; i < n; ++i)
        out[i] = draw();
    return sample;
}

namespace detail {

// Arguments first .. first + N - 1 as reals, converted in that order (the
// elements of a braced list are initialised left to right).
template <std::size_t... I>
std::array<TalvoFloat, sizeof...(I)> ReadReals(const EntryFrame &f, int first, std::index_sequence<I...>)
{
    return {f.real(first + int(I))...};
}

} // namespace detail

// The whole body of an entry whose N arguments are reals and whose result is
// a float: the count check, the reals read in order, fn(kv, r1, ..., rN)
// returned as a host float.  Probability, deviate and random variate entries
// of most laws have this shape.  `entry` is the entry's __func__, which names
// it in the messages.
//
//     return stats::FloatEntry<2>(kv, args, __func__,
//                                 [](TKernelVector kv, auto... p) { return STATS_BetaRandomVariate_MP(kv, p...); });
template <std::size_t N, class Fn>
ALGEB FloatEntry(TKernelVector kv, ALGEB args, const char *entry, Fn fn)
{
    EntryFrame f(kv, args, entry, int(N));
    std::array<TalvoFloat, N> p = detail::ReadReals(f, 1, std::make_index_sequence<N>());
    return std::apply([&](const auto &...r) { return STATS_DoubleToTalvoFloat_MP(kv, fn(kv, r...)); }, p);
}

// The whole body of the matching sample entry: N + 1 arguments, the 32-bit
// count first, then the same reals in order; the sample holds count draws of
// draw(kv, r1, ..., rN).
template <std::size_t N, class Draw>
ALGEB SampleEntry(TKernelVector kv, ALGEB args, const char *entry, Draw draw)
{
    EntryFrame f(kv, args, entry, int(N) + 1);
    int n = f.int32(1);
    std::array<TalvoFloat, N> p = detail::ReadReals(f, 2, std::make_index_sequence<N>());
    return std::apply([&](const auto &...r) { return FillRandomSample(kv, n, [&] { return draw(kv, r...); }); }, p);
}

// The whole body of the sample entry of a law drawn by inverting a closed
// form: N + 1 arguments, the 32-bit count first, then the law's N reals in
// order; the closed form (a ClosedForm<..., N>) is set up once with the reals,
// and each of the count draws is draw(closed_form, u) for one uniform u.
//
//     return stats::InversionSampleEntry<Quantile>(kv, args, __func__, kQuantile,
//                                                  [](Quantile &q, const TalvoFloat &u) { return q.Rounded(u); });
template <class Form, class Draw>
ALGEB InversionSampleEntry(TKernelVector kv, ALGEB args, const char *entry, const typename Form::Formula &formula,
                           Draw draw)
{
    constexpr std::size_t N = Form::kParameters;
    EntryFrame f(kv, args, entry, int(N) + 1);
    int n = f.int32(1);
    std::array<TalvoFloat, N> p = detail::ReadReals(f, 2, std::make_index_sequence<N>());
    Form q(formula, p);
    return FillRandomSample(kv, n, [&] { return draw(q, STATS_TalvoRandomStream_MP::NextDouble()); });
}

} // namespace stats
