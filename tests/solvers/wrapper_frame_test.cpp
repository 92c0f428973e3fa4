// wrapper_frame_test.cpp -- the frame of the regression and solver wrappers
// (solvers/wrapper_frame.cpp): the count and its two messages, the checks by
// position in order with their fixed texts (the 40-argument layout of the
// most elaborate solver wrapper, with the check of argument 25 that names
// 23), conversions by role, tables in place or as converted copies, the
// refusal of tables the routine would read or write past, and outputs
// assigned to names.
#include "solvers_support.hpp"
#include "wrapper_frame.hpp"

#include <climits>

namespace {

using namespace stats::test;
using namespace stats::wrappers;

template <size_t N>
std::string check_error(const Layout<N> &layout, const std::string &args)
{
    ArgumentArray a(args);
    return error_of([&] { Frame f(kv(), a.data(), layout); });
}

// ---------------------------------------------------------------------------
// Counts and checks
// ---------------------------------------------------------------------------

constexpr Layout<3> kParamStyle{kIncorrectCount,
                                {{integer(), integer(), floats(Use::In, Check::Param, nullptr)}}};

TEST(WrapperFrame, CountMessages)
{
    EXPECT_EQ(check_error(kParamStyle, "1, 2"), "Incorrect number of arguments");
    EXPECT_EQ(check_error(kParamStyle, "1, 2, Array(1..2), 4"), "Incorrect number of arguments");
    EXPECT_EQ(check_error(kParamStyle, ""), "Incorrect number of arguments");
    EXPECT_EQ(check_error(kParamStyle, "1, 2, Array(1..2)"), "");
    constexpr Layout<1> wrong{kWrongCount, {{integer(Check::Args)}}};
    EXPECT_EQ(check_error(wrong, "1, 2"), "wrong number of arguments");
    EXPECT_EQ(check_error(wrong, "7"), "");
}

TEST(WrapperFrame, TableChecksComeBeforeAnyConversion)
{
    // Argument 1 is no integer, but the table check of argument 3 is raised.
    EXPECT_EQ(check_error(kParamStyle, "\"text\", 2, 5"), "param 3 should be an rtable");
    EXPECT_EQ(check_error(kParamStyle, "1, 2, [1, 2]"), "param 3 should be an rtable");
    // With the table right, the conversion of argument 1 raises the host's own error.
    std::string e = check_error(kParamStyle, "\"text\", 2, Array(1..1)");
    EXPECT_NE(e, "");
    EXPECT_EQ(e.find("param"), std::string::npos) << e;
}

// The layout of the 40-argument solver wrapper as far as its checks go:
// integers 1-6, tables 7-9, procedures 10-13, then tables and integers, a
// float at 20, and the table at 25 whose check names argument 23.
constexpr Layout<40> kElaborate{
    kWrongCount,
    {{
        integer(Check::Args), integer(Check::Args), integer(Check::Args), integer(Check::Args), // 1-4
        integer(Check::Args), integer(Check::Args),                                             // 5-6
        floats(Use::In, Check::Args, nullptr), floats(Use::In, Check::Args, nullptr),             // 7-8
        floats(Use::In, Check::Args, nullptr),                                                  // 9
        procedure(Check::Args), procedure(Check::Args), procedure(Check::Args),                 // 10-12
        procedure(Check::Args),                                                                 // 13
        integer(Check::Args), floats(Use::InOut, Check::Args, nullptr), integer(Check::Args),    // 14-16
        integers(Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),                 // 17-18
        floats(Use::Out, Check::Args, nullptr), real(Check::Args),                               // 19-20
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 21-22
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 23-24
        floats(Use::Out, Check::Args, nullptr, 23),                                             // 25
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 26-27
        integer(Check::Args), integer(Check::Args), integers(Check::Args, nullptr),              // 28-30
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 31-32
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 33-34
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 35-36
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 37-38
        floats(Use::Out, Check::Args, nullptr), floats(Use::Out, Check::Args, nullptr),          // 39-40
    }}};

// 40 arguments, each right for its position except those in `bad`, which
// get the value 'x' (a name: no integer, table, procedure or number).
std::string elaborate_args(std::initializer_list<int> bad)
{
    std::string s;
    for (int i = 1; i <= 40; ++i) {
        const Position &p = kElaborate.positions[size_t(i - 1)];
        std::string v;
        switch (p.role) {
        case Role::Integer:
            v = "3";
            break;
        case Role::Float:
            v = "0.5";
            break;
        case Role::Procedure:
            v = "u -> u";
            break;
        default:
            v = "Array(1..2)";
        }
        for (int b : bad)
            if (b == i)
                v = "'x'";
        s += (i > 1 ? ", " : "") + v;
    }
    return s;
}

TEST(WrapperFrame, ChecksInOrderTheFirstFailureWins)
{
    EXPECT_EQ(check_error(kElaborate, "1, 2"), "wrong number of arguments");
    EXPECT_EQ(check_error(kElaborate, elaborate_args({})), "");
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(check_error(kElaborate, elaborate_args({i, 7, 10, 40})),
                  "args[" + std::to_string(i) + "] must be an integer");
    for (int i = 7; i <= 9; ++i)
        EXPECT_EQ(check_error(kElaborate, elaborate_args({i, 10, 40})),
                  "args[" + std::to_string(i) + "] must be a rtable");
    for (int i = 10; i <= 13; ++i)
        EXPECT_EQ(check_error(kElaborate, elaborate_args({i, 14, 40})),
                  "args[" + std::to_string(i) + "] must be a PROC");
    EXPECT_EQ(check_error(kElaborate, elaborate_args({20, 40})), "args[20] must be an float");
    EXPECT_EQ(check_error(kElaborate, elaborate_args({23, 25})), "args[23] must be a rtable");
    // The check of argument 25 names argument 23, as it always has.
    EXPECT_EQ(check_error(kElaborate, elaborate_args({25, 40})), "args[23] must be a rtable");
    EXPECT_EQ(check_error(kElaborate, elaborate_args({26, 40})), "args[26] must be a rtable");
    EXPECT_EQ(check_error(kElaborate, elaborate_args({40})), "args[40] must be a rtable");
    // A float check takes any real number; an integer check only integers.
    std::string args = elaborate_args({});
    EXPECT_EQ(check_error(kElaborate, args.replace(args.find("0.5"), 3, "1/3")), "");
    EXPECT_EQ(check_error(kElaborate, "1.5" + elaborate_args({}).substr(1)), "args[1] must be an integer");
}

TEST(WrapperFrame, CheckMessageTexts)
{
    EXPECT_EQ(CheckMessage(integer(Check::Args), 4), "args[4] must be an integer");
    EXPECT_EQ(CheckMessage(real(Check::Args), 2), "args[2] must be an float");
    EXPECT_EQ(CheckMessage(procedure(Check::Args), 1), "args[1] must be a PROC");
    EXPECT_EQ(CheckMessage(floats(Use::In, Check::Args, nullptr), 9), "args[9] must be a rtable");
    EXPECT_EQ(CheckMessage(floats(Use::In, Check::Args, nullptr, 23), 25), "args[23] must be a rtable");
    EXPECT_EQ(CheckMessage(floats(Use::In, Check::Param, nullptr), 3), "param 3 should be an rtable");
    EXPECT_EQ(CheckMessage(integers(Check::Param, nullptr), 17), "param 17 should be an rtable");
}

// ---------------------------------------------------------------------------
// Conversions and tables
// ---------------------------------------------------------------------------

constexpr Layout<8> kRoles{
    kIncorrectCount,
    {{
        integer(), real(), text(), procedure(),
        floats(Use::In, Check::Param, [](const Frame &f) { return long(f.integer(1)); }),    // 5
        floats(Use::Out, Check::Param, [](const Frame &f) { return long(f.integer(1)); }),   // 6
        floats(Use::InOut, Check::Param, [](const Frame &f) { return long(f.integer(1)); }), // 7
        integers(Check::Param, [](const Frame &f) { return long(f.integer(1)); }),           // 8
    }}};

TEST(WrapperFrame, ScalarsByRole)
{
    DigitsScope digits(20);
    ArgumentArray a("3, 1/3, \"Z\", (u) -> 2*u, Array(1..3, datatype = sfloat), Array(1..3), Array(1..3), "
                    "Array(1..3, datatype = int64)");
    Frame f(kv(), a.data(), kRoles);
    EXPECT_EQ(f.integer(1), 3);
    EXPECT_EQ(talvo_float_to_string(f.real(2).handle(), 20), "0.33333333333333333333");
    EXPECT_STREQ(f.text(3), "Z");
    EXPECT_EQ(f.text_length(3), 1);
    EXPECT_EQ(f.procedure(4), a[4]);
    // A name is a text too.
    ArgumentArray b("3, 2, Mean, 0, Array(1..3, datatype = sfloat), Array(1..3), Array(1..3), Array(1..3, datatype = int64)");
    Frame g(kv(), b.data(), kRoles);
    EXPECT_STREQ(g.text(3), "Mean");
    EXPECT_EQ(talvo_float_to_string(g.real(2).handle(), 20), "2.");
}

TEST(WrapperFrame, TablesInPlaceOrConverted)
{
    DigitsScope digits(20);
    eval("In := Array(1..3, [1, 2/3, 0.25]): Out := Array(1..3): Both := Array(1..3, [5, 0.5, 7]): "
         "Ix := Array(1..3, [4, 5, 6]): Fl := Array(1..3, [0.5, 1.5, 2.5], datatype = sfloat): "
         "I64 := Array(1..3, [1, -2, 3], datatype = int64)");
    ArgumentArray a("3, 0, \"a\", 0, In, Out, Both, Ix");
    Frame f(kv(), a.data(), kRoles);
    // An input table of non-floats: a converted copy, the caller's table untouched.
    EXPECT_TRUE(f.copied(5));
    EXPECT_NE(static_cast<void *>(f.floats(5)), RTableDataBlock(kv(), a[5]));
    EXPECT_EQ(talvo_float_to_string(f.floats(5)[1].handle(), 20), "0.66666666666666666667");
    EXPECT_EQ(show(eval("In")), "Array(1..3, [1, 2/3, 0.25])");
    // An output table: in place, whatever it held.
    EXPECT_FALSE(f.copied(6));
    EXPECT_EQ(static_cast<void *>(f.floats(6)), RTableDataBlock(kv(), a[6]));
    f.floats(6)[2] = TalvoFloat(0.125);
    EXPECT_EQ(show(eval("Out[3]")), "0.125");
    // A table read and written: converted to floats in the table itself.
    EXPECT_FALSE(f.copied(7));
    EXPECT_EQ(static_cast<void *>(f.floats(7)), RTableDataBlock(kv(), a[7]));
    EXPECT_EQ(show(eval("Both")), "Array(1..3, [5., 0.5, 7.])");
    // An integer table of host integers: a copy of native integers.
    EXPECT_TRUE(f.copied(8));
    EXPECT_EQ(f.integers(8)[0], 4);
    EXPECT_EQ(f.integers(8)[2], 6);
    // Tables of floats and of native integers go in place.
    ArgumentArray b("3, 0, \"a\", 0, Fl, Out, Fl, I64");
    Frame g(kv(), b.data(), kRoles);
    EXPECT_FALSE(g.copied(5));
    EXPECT_EQ(static_cast<void *>(g.floats(5)), RTableDataBlock(kv(), b[5]));
    EXPECT_FALSE(g.copied(8));
    EXPECT_EQ(static_cast<void *>(g.integers(8)), RTableDataBlock(kv(), b[8]));
    EXPECT_EQ(g.integers(8)[1], -2);
    // Other integer types are copied.
    ArgumentArray c("3, 0, \"a\", 0, Fl, Out, Fl, Array(1..3, [7, 8, -9], datatype = int8)");
    Frame h(kv(), c.data(), kRoles);
    EXPECT_TRUE(h.copied(8));
    EXPECT_EQ(h.integers(8)[2], -9);
    // Only the elements the routine uses are read: a longer table of which
    // the tail is not numeric is fine.
    ArgumentArray d("2, 0, \"a\", 0, Array(1..3, [1, 2, x]), Out, Fl, Ix");
    Frame k(kv(), d.data(), kRoles);
    EXPECT_EQ(talvo_float_to_string(k.floats(5)[1].handle(), 20), "2.");
}

TEST(WrapperFrame, TablesTheRoutineWouldOverrunAreRefused)
{
    DigitsScope digits(20);
    auto err = [](const std::string &args) { return check_error(kRoles, args); };
    const std::string ok5 = "Array(1..5)", head = "5, 0, \"a\", 0, ";
    EXPECT_EQ(err(head + ok5 + ", " + ok5 + ", " + ok5 + ", " + ok5), "");
    EXPECT_EQ(err(head + "Array(1..4), " + ok5 + ", " + ok5 + ", " + ok5),
              "param 5 should be an rtable of at least 5 elements");
    EXPECT_EQ(err(head + ok5 + ", Array(1..2), " + ok5 + ", " + ok5),
              "param 6 should be an rtable of at least 5 elements");
    EXPECT_EQ(err(head + ok5 + ", " + ok5 + ", " + ok5 + ", Array(1..4, datatype = int64)"),
              "param 8 should be an rtable of at least 5 elements");
    // Machine floats would receive float handles: refused.
    EXPECT_EQ(err(head + ok5 + ", Array(1..5, datatype = float64), " + ok5 + ", " + ok5),
              "param 6 should be an rtable of datatype anything or sfloat with rectangular storage");
    EXPECT_EQ(err(head + "Array(1..5, storage = sparse), " + ok5 + ", " + ok5 + ", " + ok5),
              "param 5 should be an rtable of datatype anything or sfloat with rectangular storage");
    EXPECT_EQ(err(head + ok5 + ", " + ok5 + ", " + ok5 + ", Array(1..5, datatype = float64)"),
              "param 8 should be an rtable of integers with rectangular storage");
    EXPECT_EQ(err(head + ok5 + ", " + ok5 + ", " + ok5 + ", Array(1..5, [1, 2, 3.5, 4, 5])"),
              "param 8 should be an rtable of integers with rectangular storage");
    // A table element that is no number, where the routine reads it.
    EXPECT_NE(err(head + "Array(1..5, [1, 2, x, 4, 5]), " + ok5 + ", " + ok5 + ", " + ok5), "");
    // An extent too large for any table (a count that overflows).
    EXPECT_EQ(ExtentProduct(LONG_MAX / 2, 3), LONG_MAX);
    EXPECT_EQ(ExtentSum(LONG_MAX - 1, 2), LONG_MAX);
    EXPECT_EQ(ExtentProduct(-4, 3), 0);
    EXPECT_EQ(err("4611686018427387904, 0, \"a\", 0, " + ok5 + ", " + ok5 + ", " + ok5 + ", " + ok5),
              "param 5 should be an rtable of at least 4611686018427387904 elements");
    // The "args" style says it in its own words.
    constexpr Layout<2> args_style{kWrongCount, {{integer(), floats(Use::Out, Check::Args, [](const Frame &f) {
                                                          return long(f.integer(1));
                                                      })}}};
    EXPECT_EQ(check_error(args_style, "3, Array(1..2)"), "args[2] must be a rtable of at least 3 elements");
}

TEST(WrapperFrame, OutputsAssignedToNames)
{
    DigitsScope digits(20);
    constexpr Layout<2> outs{kIncorrectCount, {{output(), output()}}};
    eval("unassign('o1'); unassign('o2')");
    ArgumentArray a("'o1', 'o2'");
    Frame f(kv(), a.data(), outs);
    f.assign_integer(1, -12);
    f.assign_float(2, TalvoFloat(2.5));
    EXPECT_EQ(show(eval("o1")), "-12");
    EXPECT_EQ(show(eval("o2")), "2.5");
    EXPECT_EQ(show(f.host_integer(7)), "7");
    // Something that is not a name: the host's own error.
    ArgumentArray b("3, 'o2'");
    Frame g(kv(), b.data(), outs);
    EXPECT_NE(error_of([&] { g.assign_integer(1, 1); }), "");
}

} // namespace
