// entry_frame.hpp -- the common frame of every host entry: the argument
// count check with its message, and the conversion of each argument.
//
// An entry reads
//
//     STATS_ENTRY ALGEB STATS_TalvoWeibullProbability_MP(TKernelVector kv, ALGEB args)
//     {
//         stats::EntryFrame f(kv, args, __func__, 3);
//         TalvoFloat x = f.real(1), a = f.real(2), b = f.real(3);
//         return STATS_DoubleToTalvoFloat_MP(kv, STATS_WeibullProbability_MP(kv, x, a, b));
//     }
//
// Arguments are converted in order (declarators are sequenced), so the first
// bad argument is the one reported.  The entry's name (the function's own,
// __func__) gives the messages: "TalvoWeibullProbability expects 3
// arguments, received: %1", with the whole argument sequence as %1.  The few
// entries whose message departs from that form are listed in one table in
// entry_frame.cpp.
#pragma once

#include "stats_api.h"

#include <cstdint>
#include <string>

namespace stats {

// How many arguments an entry accepts: exactly n, n or alt, or at least n.
struct ArgCount {
    int n;
    int alt = -1;
    bool at_least = false;

    static ArgCount Exactly(int n) { return {n}; }
    static ArgCount Either(int n, int alt) { return {n, alt}; }
    static ArgCount AtLeast(int n) { return {n, -1, true}; }
    bool accepts(long count) const { return at_least ? count >= n : count == n || count == alt; }
};

// "STATS_TalvoWeibullProbability_MP" -> "TalvoWeibullProbability".
std::string ShortEntryName(const char *entry);
// The message for a wrong argument count of this entry.
std::string CountMessage(const char *entry, ArgCount rule);
// The ordinal word of a parameter position in messages: 4 -> "fourth";
// past "tenth", "11th".
std::string Ordinal(int i);

class EntryFrame {
public:
    // Checks the count; raises the entry's count message when it is wrong.
    EntryFrame(TKernelVector kv, ALGEB args, const char *entry, int count)
        : EntryFrame(kv, args, entry, ArgCount::Exactly(count))
    {
    }
    EntryFrame(TKernelVector kv, ALGEB args, const char *entry, ArgCount rule);

    long count() const { return m_count; }
    // Argument i (1-based) as the host passed it.
    ALGEB arg(int i) const { return TalvoExpseqSelect(m_kv, m_args, i); }
    // A real number (STATS_TalvoUtils_MP::TalvoDAGToDouble).
    TalvoFloat real(int i) const;
    // An integer parameter: converted as a real, then truncated.
    long integer(int i) const;
    // A count or index, a size, a flag: the host's own conversions.
    int32_t int32(int i) const { return TalvoToInteger32(m_kv, arg(i)); }
    T_INT size(int i) const { return TalvoToT_INT(m_kv, arg(i)); }
    T_BOOL flag(int i) const { return TalvoToT_BOOL(m_kv, arg(i)); }
    // A host procedure; anything else raises "<entry> expects a procedure as
    // its <ordinal> parameter, received: %1".
    ALGEB procedure(int i) const;

private:
    TKernelVector m_kv;
    ALGEB m_args;
    const char *m_entry;
    long m_count;
};

} // namespace stats
