// counted_function.hpp -- a native function adapter around any callable,
// counting its calls, for the root finder tests.
#pragma once

#include "callback_adapters.hpp"
#include "stats_support.hpp"

#include <functional>

class Counted : public STATS_TalvoCallbackAdapter_MP {
public:
    explicit Counted(std::function<TalvoFloat(TalvoFloat)> f)
        : STATS_TalvoCallbackAdapter_MP(stats::test::kv()), m_f(std::move(f))
    {
    }
    TalvoFloat Call(TalvoFloat x) override
    {
        ++calls;
        return m_f(x);
    }
    int calls = 0;

private:
    std::function<TalvoFloat(TalvoFloat)> m_f;
};
