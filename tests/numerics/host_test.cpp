// host_test.cpp -- the routines with the reference host bound: every float
// they make comes from the host's allocator, and in the collector's stress
// mode (TALVO_GC_STRESS=N) a full collection runs every N allocations, so a
// result or an input the library failed to keep reachable would be reclaimed
// under it.  A slice of every table (the first rows at 15 and 30 digits)
// must still be accurate to the last digit.
#include "host.hpp"
#include "table_support.hpp"

namespace {

using namespace talvo::test;

TEST(NumericsUnderHost, TableSlices)
{
    for (const auto &[name, routine] : table_routines()) {
        std::vector<TableRow> rows = read_table(name);
        for (long digits : {15L, 30L}) {
            DigitsScope d(digits);
            int done = 0;
            for (const TableRow &row : rows) {
                if (row.digits != digits)
                    continue;
                RowCheck check = check_row(name, routine, row);
                EXPECT_TRUE(check.ok) << check.message;
                if (++done == 6)
                    break;
            }
            EXPECT_GT(done, 0) << name;
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
