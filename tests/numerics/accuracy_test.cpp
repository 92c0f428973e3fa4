// accuracy_test.cpp -- every routine against its committed mpmath table, at
// 15, 30, 50, 100 and 300 digits: one test per routine and precision
// (NumericsAccuracy/Table.Rows/g01eac_15, ...), each row within one unit in
// the last requested digit.  No host is bound: floats come straight from
// the collector.
#include "table_support.hpp"

#include <gc.h>

namespace {

using namespace talvo::test;

struct CollectorStart {
    CollectorStart() { GC_INIT(); }
} collector_start;

struct TableCase {
    std::string routine;
    long digits;
};

class Table : public ::testing::TestWithParam<TableCase> {};

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

std::vector<TableCase> all_cases()
{
    std::vector<TableCase> cases;
    for (const auto &[name, routine] : table_routines())
        for (long d : {15L, 30L, 50L, 100L, 300L})
            cases.push_back({name, d});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(NumericsAccuracy, Table, ::testing::ValuesIn(all_cases()),
                         [](const ::testing::TestParamInfo<TableCase> &info) {
                             return info.param.routine + "_" + std::to_string(info.param.digits);
                         });

} // namespace
