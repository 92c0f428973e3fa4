// host_main.cpp -- entry point of the host's unit tests: the host is started
// from main so its recursion guard measures the real stack.
#include "host_support.hpp"

int main(int argc, char **argv)
{
    talvo::host_init();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
