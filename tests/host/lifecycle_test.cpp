// lifecycle_test.cpp -- starting and stopping the library.
#include "stats_support.hpp"

#include "callback_adapters.hpp"
#include "talvo_utils.hpp"

using namespace stats::test;

namespace {

// A second kernel vector, equal to the host's but at another address.
TKernelVectorDesc g_other = *talvo::kernel_vector();

// Puts the library back in the state main() left it in.
struct Restart {
    ~Restart()
    {
        STATS_StatsTerminate_MP(kv(), talvo::null_seq());
        STATS_StatsInitialize_MP(kv(), talvo::null_seq());
    }
};

} // namespace

TEST(Lifecycle, InitializeTwiceKeepsTheFirstKernelVector)
{
    ALGEB r = STATS_StatsInitialize_MP(&g_other, talvo::null_seq());
    EXPECT_EQ(show(r), "true");
    EXPECT_EQ(STATS_TalvoUtils_MP::gTKernelVector, kv());
    EXPECT_EQ(STATS_TalvoRandomStream_MP::gTKernelVector, kv());
}

TEST(Lifecycle, TerminateAlwaysReturnsTrueAndLeavesTheStoredKernelVectors)
{
    Restart restart;
    EXPECT_EQ(show(STATS_StatsTerminate_MP(kv(), talvo::null_seq())), "true");
    // Not initialised now: terminating again is still fine.
    EXPECT_EQ(show(STATS_StatsTerminate_MP(kv(), talvo::null_seq())), "true");
    EXPECT_EQ(STATS_TalvoUtils_MP::gTKernelVector, kv());
    EXPECT_EQ(STATS_TalvoRandomStream_MP::gTKernelVector, kv());
    // The evaluation utilities keep working after termination.
    EXPECT_EQ(show(STATS_TalvoUtils_MP::TalvoDAGToDouble(eval("1/4")).handle()), "0.25");
}

TEST(Lifecycle, InitializeAfterTerminateRunsAgainWithTheNewKernelVector)
{
    Restart restart;
    STATS_StatsTerminate_MP(kv(), talvo::null_seq());
    size_t protected_before = talvo::gc_protected_count();
    EXPECT_EQ(show(STATS_StatsInitialize_MP(&g_other, talvo::null_seq())), "true");
    EXPECT_EQ(STATS_TalvoUtils_MP::gTKernelVector, &g_other);
    EXPECT_EQ(STATS_TalvoRandomStream_MP::gTKernelVector, &g_other);
    // "evalf" is the global name, protected (it already was: protection is
    // counted, so the table holds the same entry).
    EXPECT_EQ(STATS_TalvoUtils_MP::gTalvoEvalfProc, talvo::intern("evalf"));
    EXPECT_EQ(talvo::gc_protected_count(), protected_before);
}

TEST(Lifecycle, TheSharedProcedureAdapterIsNotTouchedByTermination)
{
    Restart restart;
    STATS_TalvoStaticProcAdapter_MP::Reset(eval("x -> 2*x"));
    STATS_StatsTerminate_MP(kv(), talvo::null_seq());
    EXPECT_EQ(show(STATS_TalvoStaticProcAdapter_MP::Call(TalvoFloat(1.5)).handle()), "3.");
}
