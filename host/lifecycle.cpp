// lifecycle.cpp -- starting and stopping the library.
//
// The host calls STATS_StatsInitialize_MP once before any other entry; the
// evaluation utilities, the random stream and the shared procedure adapter
// keep the kernel vector of that call.  Termination forgets the saved kernel
// vector and lets a later initialisation run again; what the parts stored
// stays in place (their Terminate does nothing).
#include "callback_adapters.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

namespace {

bool g_initialized = false;
TKernelVector g_saved_kv = nullptr;

} // namespace

STATS_ENTRY ALGEB STATS_StatsInitialize_MP(TKernelVector kv, ALGEB)
{
    if (!g_initialized) {
        g_saved_kv = kv;
        g_initialized = true;
        STATS_TalvoStaticProcAdapter_MP::Initialize(kv);
        STATS_TalvoRandomStream_MP::Initialize(kv);
        STATS_TalvoUtils_MP::Initialize(kv);
    }
    return ToTalvoBoolean(kv, 1);
}

STATS_ENTRY ALGEB STATS_StatsTerminate_MP(TKernelVector kv, ALGEB)
{
    g_saved_kv = nullptr;
    g_initialized = false;
    STATS_TalvoRandomStream_MP::Terminate();
    STATS_TalvoUtils_MP::Terminate();
    return ToTalvoBoolean(kv, 1);
}
