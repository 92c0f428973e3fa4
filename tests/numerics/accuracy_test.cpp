// accuracy_test.cpp -- the accuracy test every family instantiates: a
// routine against its committed mpmath table at one of 15, 30, 50, 100 and
// 300 digits (Normal/Table.Rows/g01eac_15, ... from normal_test.cpp), each
// row within one unit in the last requested digit; and the check that no
// routine is left out.  No host is bound: floats come straight from the
// collector.
#include "table_support.hpp"

#include <gc.h>

namespace {

using namespace talvo::test;

struct CollectorStart {
    CollectorStart() { GC_INIT(); }
} collector_start;

TEST_P(Table, Rows)
{
    const TableCase &c = GetParam();
    const TableRoutine &r = table_routines().at(c.routine);
    DigitsScope digits(c.digits);
    int checked = 0;
    double worst = 0;
    std::string worst_row;
    for (const TableRow &row : read_table(c.routine)) {
        if (row.digits != c.digits)
            continue;
        RowCheck check = check_row(c.routine, r, row);
        EXPECT_TRUE(check.ok) << check.message;
        if (check.worst_units > worst) {
            worst = check.worst_units;
            worst_row = "line " + std::to_string(row.line);
        }
        ++checked;
    }
    EXPECT_GT(checked, 0) << "no rows for " << c.routine << " at " << c.digits << " digits";
    RecordProperty("rows", checked);
    std::printf("%s at %ld digits: %d rows, worst error %.3g units in the last digit (%s)\n", c.routine.c_str(),
                c.digits, checked, worst, worst_row.c_str());
}

// Every routine is either tabulated at every precision or named as pending,
// and nothing is listed that does not exist.
TEST(NumericsAccuracyCoverage, EveryRoutineTabulatedOrPending)
{
    for (const auto &[name, routine] : table_routines()) {
        auto t = tabulated().find(name);
        bool complete = t != tabulated().end() && t->second == table_precisions();
        bool pending = pending_tables().count(name) != 0;
        EXPECT_TRUE(complete || pending) << name << " has no complete table and is not listed as pending";
        EXPECT_FALSE(complete && pending) << name << " is complete but still listed as pending";
    }
    for (const auto &[name, precisions] : tabulated())
        EXPECT_TRUE(table_routines().count(name)) << name;
    for (const auto &[name, why] : pending_tables())
        EXPECT_TRUE(table_routines().count(name)) << name;
    // Every tabulated routine's family test file instantiated the test.
    for (const auto &[name, precisions] : tabulated())
        EXPECT_TRUE(instantiated_families().count(table_routines().at(name).family))
            << name << ": tests/numerics/" << table_routines().at(name).family
            << "_test.cpp does not instantiate the accuracy test";
}

} // namespace
