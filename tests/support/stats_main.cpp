// stats_main.cpp -- entry point of the statistics library's unit tests: the
// host is started from main (its recursion guard measures the real stack)
// and the library is initialised on its kernel vector, as a host would.
#include "stats_support.hpp"

int main(int argc, char **argv)
{
    talvo::host_init();
    STATS_StatsInitialize_MP(talvo::kernel_vector(), talvo::null_seq());
    ::testing::InitGoogleTest(&argc, argv);
    int status = RUN_ALL_TESTS();
    STATS_StatsTerminate_MP(talvo::kernel_vector(), talvo::null_seq());
    return status;
}
