// solvers_support.hpp -- calling wrapper entries from the unit tests: the
// arguments written in the host's language, passed as the argument array the
// host builds (args[0] the count, args[1..n] the arguments).
#pragma once

#include "stats_support.hpp"

#include <string>
#include <vector>

namespace stats::test {

// The argument array of a call written as host text ("1, 'rss', A").
class ArgumentArray {
public:
    explicit ArgumentArray(const std::string &text)
    {
        ALGEB a = text.empty() ? talvo::null_seq() : eval(text);
        size_t n = talvo::is_expseq(a) ? talvo::nops(a) : 1;
        args_.resize(n + 1);
        args_[0] = talvo::make_integer(intptr_t(n));
        for (size_t i = 1; i <= n; ++i)
            args_[i] = talvo::seq_elem(a, i);
    }
    ALGEB *data() { return args_.data(); }
    ALGEB operator[](size_t i) const { return args_[i]; }

private:
    std::vector<ALGEB> args_;
};

inline ALGEB call_array(TalvoArrayEntry entry, const std::string &args)
{
    ArgumentArray a(args);
    return entry(kv(), a.data());
}

// The printed result, or "Error: message".
inline std::string array_result(TalvoArrayEntry entry, const std::string &args)
{
    try {
        return show(call_array(entry, args));
    } catch (talvo::HostError &e) {
        return "Error: " + e.message;
    }
}

} // namespace stats::test
