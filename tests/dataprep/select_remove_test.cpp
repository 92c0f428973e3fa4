// select_remove_test.cpp -- the select-remove family on every data type
// code and storage: the predicate with its extra arguments, the range
// closed below and open above, numeric-ness with its two flags, the modes,
// the bounds kept from the input (and reset to 1 by RemoveNULL), elements
// copied in their stored form, and every message.
#include "prep_support.hpp"

using namespace stats::test;

namespace {

const char *const kData = "5..9, [4, 1, 3, 2, 5]";

TEST(DataprepSelectRemove, EveryRealDataTypeKeepsItsTypeAndBounds)
{
    for (int code : {0, 2, 3, 4, 5, 6, 8}) {
        std::string data = ArrayText(kData, code);
        std::string suffix = code == 0 ? "" : ", datatype = " + DataTypeNames()[size_t(code)];
        std::string dot = code == 6 || code == 8 ? "." : "";
        std::string sel = "Array(5..7, [4" + dot + ", 3" + dot + ", 5" + dot + "]" + suffix + ")";
        std::string rem = "Array(5..6, [1" + dot + ", 2" + dot + "]" + suffix + ")";
        EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, data + ", (e, t) -> evalb(e > t), 1, 2.5"), sel) << code;
        EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, data + ", (e, t) -> evalb(e > t), 2, 2.5"), rem) << code;
        EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, data + ", (e, t) -> evalb(e > t), 0, 2.5"), sel + ", " + rem)
            << code;
        // Sparse storage is read element by element; the outputs are dense.
        EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, ArrayText(kData, code, ", storage = sparse") +
                                                         ", (e, t) -> evalb(e > t), 7, 2.5"),
                  sel + ", " + rem)
            << code;
        // The range: closed below, open above.
        EXPECT_EQ(result(STATS_TalvoSelectRemoveInRange_MP, data + ", 2, 4, 1"),
                  "Array(5..6, [3" + dot + ", 2" + dot + "]" + suffix + ")")
            << code;
    }
}

TEST(DataprepSelectRemove, ComplexData)
{
    for (int code : {1, 7}) {
        std::string suffix = ", datatype = " + DataTypeNames()[size_t(code)];
        std::string data = ArrayText("1..4, [2, 3+I, 2.5, 1]", code);
        // A complex element is in a range only with a zero imaginary part.
        ALGEB r = call(STATS_TalvoSelectRemoveInRange_MP, data + ", 2, 3, 0");
        ALGEB sel = TalvoExpseqSelect(kv(), r, 1), rem = TalvoExpseqSelect(kv(), r, 2);
        EXPECT_EQ(Elements(sel).size(), 2u) << code;
        EXPECT_EQ(Elements(rem).size(), 2u) << code;
        EXPECT_EQ(DataType(sel), code);
        // The predicate receives a complex value.
        EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, data + ", e -> evalb(e = 3+I), 1"),
                  code == 1 ? "Array(1..1, [3+I]" + suffix + ")" : "Array(1..1, [3.+1.*I]" + suffix + ")");
        // Non-numeric: the element with an imaginary part.
        ALGEB nn = call(STATS_TalvoSelectRemoveNonNumeric_MP, data + ", false, false, true");
        EXPECT_EQ(Elements(nn).size(), 1u) << code;
    }
}

TEST(DataprepSelectRemove, PredicateExtrasAndErrors)
{
    // The extra arguments follow the element, in order.
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "Array([1, 2, 3, 4]), (e, a, b) -> evalb(a <= e and e <= b), 1, 2, 3"),
              "Array(1..2, [2, 3])");
    // Errors of the predicate reach the caller.
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "Array([1, 2]), proc(e) error \"bad %1\", e end proc, 1"),
              "Error: bad 1");
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "Array([1, 2]), e -> e, 1"),
              "Error: expecting true or false, got 1");
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "Array([1]), e -> true"),
              "Error: TalvoSelectRemove expects at least 3 arguments");
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "Array([1]), 5, 1"),
              "Error: invalid selecting function, expected a procedure that always returns true or false, received: 5");
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "[1], e -> true, 1"),
              "Error: invalid data sample, expected: one-dimensional array, received [1]");
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "Array(1..1, 1..2), e -> true, 1"),
              "Error: invalid data sample, expected: one-dimensional array, received Array(1..1, 1..2, [[0, 0]])");
    // The predicate is checked before the data.
    EXPECT_EQ(result(STATS_TalvoSelectRemove_MP, "[1], 5, 1"),
              "Error: invalid selecting function, expected a procedure that always returns true or false, received: 5");
}

TEST(DataprepSelectRemove, InRange)
{
    // lower = 2, upper = 3 selects 2 and not 3.
    EXPECT_EQ(result(STATS_TalvoSelectRemoveInRange_MP, "Array([1, 2, 3, 2.999999]), 2, 3, 0"),
              "Array(1..2, [2, 2.999999]), Array(1..2, [1, 3])");
    // Exact comparison of 64-bit integers with the bounds (at a precision
    // that holds the bounds as given).
    DigitsScope digits(30);
    EXPECT_EQ(result(STATS_TalvoSelectRemoveInRange_MP,
                     "Array([9007199254740993, 9007199254740992], datatype = int64), 9007199254740993, 10^17, 1"),
              "Array(1..1, [9007199254740993], datatype = int64)");
    // Names and undefined values are in no range.
    EXPECT_EQ(result(STATS_TalvoSelectRemoveInRange_MP, "Array([x, Float(undefined), 1/2]), 0, 1, 2"),
              "Array(1..2, [x, Float(undefined)])");
    EXPECT_EQ(result(STATS_TalvoSelectRemoveInRange_MP, "Array([1]), 0, 1"),
              "Error: TalvoSelectRemoveInRange expects 4 arguments");
    EXPECT_EQ(result(STATS_TalvoSelectRemoveInRange_MP, "Array([1]), a, 1, 1"),
              "Error: unable to evaluate a to floating-point");
}

TEST(DataprepSelectRemove, NonNumeric)
{
    const std::string data = "Array([1, x, Float(infinity), Float(undefined), -infinity, \"s\", 2/3, 2+3*I])";
    // Neither flag: names, strings and complex values are non-numeric.
    EXPECT_EQ(result(STATS_TalvoSelectRemoveNonNumeric_MP, data + ", false, false, true"),
              "Array(1..3, [x, \"s\", 2+3*I])");
    // Infinities count as non-numeric with the second argument.
    EXPECT_EQ(result(STATS_TalvoSelectRemoveNonNumeric_MP, data + ", true, false, true"),
              "Array(1..5, [x, Float(infinity), -infinity, \"s\", 2+3*I])");
    // Undefined with the third; mode false returns both arrays.
    EXPECT_EQ(result(STATS_TalvoSelectRemoveNonNumeric_MP, data + ", false, true, false"),
              "Array(1..4, [x, Float(undefined), \"s\", 2+3*I]), Array(1..4, [1, Float(infinity), -infinity, 2/3])");
    // Hardware floats: NaN and infinities by the flags; integers always numeric.
    EXPECT_EQ(result(STATS_TalvoSelectRemoveNonNumeric_MP,
                     "Array(3..5, [1., Float(infinity), Float(undefined)], datatype = float32), true, true, true"),
              "Array(3..4, [Float(infinity), Float(undefined)], datatype = float32)");
    EXPECT_EQ(result(STATS_TalvoSelectRemoveNonNumeric_MP, "Array([1, 2], datatype = int8), true, true, true"),
              "Array(1..0, [], datatype = int8)");
    // The mode goes through the boolean conversion.
    EXPECT_EQ(result(STATS_TalvoSelectRemoveNonNumeric_MP, data + ", false, false, 2"),
              "Error: expecting true or false, got 2");
    EXPECT_EQ(result(STATS_TalvoSelectRemoveNonNumeric_MP, data + ", false, false"),
              "Error: TalvoSelectRemoveNonNumeric expects 4 arguments, received: " + show(eval(data)) + ", false, false");
}

TEST(DataprepSelectRemove, RemoveNULL)
{
    talvo::test::run("N := Array(5..9, [1, 2, 3, 4, 5]): N[6] := NULL: N[9] := NULL:");
    EXPECT_EQ(result(STATS_TalvoRemoveNULL_MP, "N"), "Array(1..3, [1, 3, 4])") << "bounds start at 1";
    talvo::test::run("P := Array(1..4, [0, 7, 0, 0], storage = sparse): P[3] := NULL:");
    EXPECT_EQ(result(STATS_TalvoRemoveNULL_MP, "P"), "Array(1..3, [0, 7, 0])");
    // A float[8] array is copied.
    talvo::test::run("F := Array(2..3, [1.5, 2.5], datatype = float64):");
    ALGEB c = call(STATS_TalvoRemoveNULL_MP, "F");
    EXPECT_EQ(show(c), "Array(2..3, [1.5, 2.5], datatype = float64)");
    EXPECT_NE(c, eval("F")) << "a copy";
    // Every data type but host values: no element can be NULL, a copy.
    for (int code = 1; code <= 8; ++code) {
        std::string data = ArrayText("0..2, [1, 0, 2]", code);
        EXPECT_EQ(show(call(STATS_TalvoRemoveNULL_MP, data)), show(eval(data))) << code;
    }
    EXPECT_EQ(result(STATS_TalvoRemoveNULL_MP, "F, F"),
              "Error: TalvoRemoveNULL expects 1 argument, received: " + show(eval("F")) + ", " + show(eval("F")));
    EXPECT_EQ(result(STATS_TalvoRemoveNULL_MP, "7"),
              "Error: invalid data sample, expected: one-dimensional array, received 7");
}

} // namespace
