// kernel_vector_test.cpp -- the operations libraries reach through the kernel
// vector: argument access, conversions, checks that refuse bad input,
// evaluation of script procedures, error trapping, arrays and messages.
#include "api.hpp"
#include "host_support.hpp"
#include "talvo_float.hpp"

using namespace talvo;
using talvo::test::run;
using talvo::test::show;

namespace {

TKernelVector kv() { return kernel_vector(); }

std::string raised(void (*f)())
{
    try {
        f();
    } catch (HostError &e) {
        return e.message;
    }
    return "";
}

} // namespace

TEST(KernelVector, Arguments)
{
    ALGEB args = run("1, x, \"s\";");
    EXPECT_EQ(TalvoNumArgs(kv(), args), 3);
    EXPECT_EQ(TalvoNumArgs(kv(), make_integer(5)), 1);
    EXPECT_EQ(TalvoNumArgs(kv(), null_seq()), 0);
    EXPECT_EQ(print(TalvoExpseqSelect(kv(), args, 2)), "x");
    EXPECT_EQ(raised([] { TalvoExpseqSelect(kv(), run("1, 2;"), 3); }), "ExpseqSelect: index 3 out of range 1 .. 2");
    EXPECT_EQ(raised([] { TalvoExpseqSelect(kv(), run("1, 2;"), 0); }), "ExpseqSelect: index 0 out of range 1 .. 2");
}

TEST(KernelVector, Conversions)
{
    EXPECT_EQ(TalvoToInteger32(kv(), make_integer(-7)), -7);
    EXPECT_EQ(TalvoToInteger64(kv(), run("2^62;")), int64_t(1) << 62);
    EXPECT_EQ(raised([] { TalvoToInteger32(kv(), run("2^40;")); }),
              "integer conversion: expecting an integer in the range of the native type, got 1099511627776");
    EXPECT_EQ(raised([] { TalvoToInteger64(kv(), run("1/2;")); }),
              "integer conversion: expecting an integer in the range of the native type, got 1/2");
    EXPECT_TRUE(IsTalvoInteger32(kv(), make_integer(1 << 30)));
    EXPECT_FALSE(IsTalvoInteger8(kv(), make_integer(200)));
    EXPECT_EQ(TalvoToT_BOOL(kv(), true_value()), 1);
    EXPECT_EQ(raised([] { TalvoToT_BOOL(kv(), make_integer(1)); }), "expecting true or false, got 1");
    EXPECT_STREQ(TalvoToString(kv(), make_string("abc")), "abc");
    EXPECT_STREQ(TalvoToString(kv(), intern("nm")), "nm");
    EXPECT_EQ(print(ToTalvoFloat(kv(), 0.5)), "0.5");
    EXPECT_EQ(print(ToTalvoComplex(kv(), 1.5, -2)), "1.5-2.*I");
    EXPECT_TRUE(IsTalvoNULL(kv(), ToTalvoNULL(kv())));
    EXPECT_EQ(ToTalvoName(kv(), "same", 1), intern("same"));
    EXPECT_TRUE(IsTalvoUnnamedZero(kv(), ToTalvoFloat(kv(), 0.0)));
    EXPECT_TRUE(IsTalvoComplexNumeric(kv(), run("1 + I;")));
    EXPECT_FALSE(IsTalvoNumeric(kv(), run("1 + I;")));
    EXPECT_EQ(raised([] { TalvoToString(kv(), nullptr); }), "string conversion: a null handle was passed to the kernel");
}

TEST(KernelVector, SequencesListsTables)
{
    ALGEB s = NewTalvoExpressionSequence(kv(), 2);
    TalvoExpseqAssign(kv(), s, 1, make_integer(1));
    TalvoExpseqAssign(kv(), s, 2, intern("y"));
    EXPECT_EQ(print(s), "1, y");
    EXPECT_EQ(raised([] { NewTalvoExpressionSequence(kv(), -1); }), "NewExpressionSequence: invalid size -1");
    ALGEB l = TalvoListAlloc(kv(), 2);
    TalvoListAssign(kv(), l, 2, make_integer(9));
    EXPECT_EQ(print(l), "[NULL, 9]");
    EXPECT_EQ(print(TalvoListSelect(kv(), l, 2)), "9");
    EXPECT_EQ(TalvoListLength(kv(), l), 2);
    EXPECT_EQ(TalvoListLength(kv(), run("[];")), 0);
    EXPECT_EQ(TalvoListLength(kv(), run("[7];")), 1);
    EXPECT_EQ(raised([] { TalvoListLength(kv(), make_integer(3)); }), "ListLength: expecting a list, got 3");
    ALGEB t = TalvoTableAlloc(kv());
    TalvoTableAssign(kv(), t, intern("k"), make_integer(4));
    EXPECT_TRUE(TalvoTableHasEntry(kv(), t, intern("k")));
    EXPECT_FALSE(TalvoTableHasEntry(kv(), t, intern("j")));
    EXPECT_EQ(print(TalvoTableSelect(kv(), t, intern("k"))), "4");
    EXPECT_EQ(print(TalvoNumericAdd(kv(), run("1/2;"), run("1/3;"))), "5/6");
    EXPECT_EQ(print(TalvoNumericAdd(kv(), intern("q"), make_integer(1))), "q + 1");
}

TEST(KernelVector, RangesAndEquations)
{
    ALGEB r = ToTalvoRange(kv(), make_integer(1), run("5/2;"));
    EXPECT_EQ(print(r), "1 .. 5/2");
    EXPECT_TRUE(IsTalvoRange(kv(), r));
    EXPECT_TRUE(IsTalvoRange(kv(), run("0..infinity;")));
    EXPECT_FALSE(IsTalvoRange(kv(), make_integer(1)));
    EXPECT_FALSE(IsTalvoRange(kv(), run("[1, 2];")));
    EXPECT_EQ(print(TalvoRangeLow(kv(), r)), "1");
    EXPECT_EQ(print(TalvoRangeHigh(kv(), r)), "5/2");
    EXPECT_EQ(raised([] { TalvoRangeLow(kv(), make_integer(3)); }), "RangeEnd: expecting a range, got 3");
    EXPECT_EQ(raised([] { kv()->RangeEnd(kv(), run("1..2;"), 3); }),
              "RangeEnd: the end must be 1 (lower) or 2 (upper)");
    ALGEB e = ToTalvoEquation(kv(), r, make_integer(4));
    EXPECT_EQ(print(e), "1 .. 5/2 = 4");
    EXPECT_EQ(raised([] { ToTalvoEquation(kv(), nullptr, make_integer(1)); }),
              "NewEquation: a null handle was passed to the kernel");
}

TEST(KernelVector, EvaluationAndAssignment)
{
    run("kvsq := x -> x^2:");
    EXPECT_EQ(print(EvalTalvoProc(kv(), run("kvsq;"), 1, make_integer(12))), "144");
    EXPECT_EQ(print(EvalTalvoProc(kv(), run("(a, b) -> a - b;"), 2, make_integer(1), make_integer(3))), "-2");
    EXPECT_EQ(print(EvalTalvoProcedure(kv(), intern("kvsq"), make_integer(3))), "9");
    TalvoAssign(kv(), intern("kvout"), make_integer(77));
    EXPECT_EQ(show("kvout;"), "77");
    EXPECT_EQ(print(TalvoNameValue(kv(), intern("kvout"))), "77");
    EXPECT_EQ(print(TalvoNameValue(kv(), intern("kvfree"))), "kvfree");
    EXPECT_DOUBLE_EQ(TalvoEvalhf(kv(), run("'sqrt(4)';")), 2.0);
    EXPECT_EQ(raised([] { TalvoAssign(kv(), intern("Pi"), make_integer(3)); }),
              "attempting to assign to Pi which is protected");
}

TEST(KernelVector, TrapErrorCatchesAndReports)
{
    struct D {
        ALGEB proc;
    } d{run("proc(x) error \"trapped %1\", x end proc;")};
    T_BOOL flag = 7;
    void *r = TalvoTrapError(
        kv(), [](void *p) -> void * { return EvalTalvoProc(kernel_vector(), static_cast<D *>(p)->proc, 1, make_integer(5)); },
        &d, &flag);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(r, nullptr);
    EXPECT_EQ(show("lasterror;"), "\"trapped 5\"");
    d.proc = run("x -> x + 1;");
    r = TalvoTrapError(
        kv(), [](void *p) -> void * { return EvalTalvoProc(kernel_vector(), static_cast<D *>(p)->proc, 1, make_integer(5)); },
        &d, &flag);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(print(static_cast<ALGEB>(r)), "6");
}

TEST(KernelVector, RaiseErrorFormats)
{
    EXPECT_EQ(raised([] { TalvoRaiseError2(kv(), "got %1 and %2", make_integer(1), run("[x];")); }), "got 1 and [x]");
    EXPECT_EQ(raised([] { TalvoRaiseError(kv(), "kept %1 as it is"); }), "kept %1 as it is");
}

TEST(KernelVector, ArraysThroughTheVector)
{
    RTableSettings s;
    RTableGetDefaults(kv(), &s);
    EXPECT_EQ(s.storage, RTABLE_RECT);
    EXPECT_EQ(s.data_type, RTABLE_DAG);
    s.data_type = RTABLE_FLOAT64;
    double *block = static_cast<double *>(TalvoAlloc(kv(), 3 * sizeof(double)));
    block[0] = 1.5;
    block[1] = 2.5;
    block[2] = 3.5;
    M_INT bounds[2] = {0, 2};
    ALGEB a = RTableCreate(kv(), &s, block, bounds);
    EXPECT_EQ(RTableDataBlock(kv(), a), block); // adopted, not copied
    EXPECT_EQ(RTableNumElements(kv(), a), 3);
    EXPECT_EQ(RTableLowerBound(kv(), a, 1), 0);
    M_INT i = 1;
    EXPECT_EQ(RTableSelect(kv(), a, &i).float64, 2.5);
    RTableData v;
    v.float64 = -4;
    RTableAssign(kv(), a, &i, v);
    EXPECT_EQ(block[1], -4.0);
    RTableSettings c;
    RTableGetSettings(kv(), &c, a);
    c.data_type = RTABLE_FLOAT32;
    ALGEB b = RTableCopy(kv(), &c, a);
    M_INT j = 1;
    EXPECT_EQ(RTableSelect(kv(), b, &j).float32, -4.0f);
    EXPECT_NE(RTableDataBlock(kv(), b), static_cast<void *>(block));
    c.data_type = RTABLE_INTEGER32; // 1.5 is not an integer
    EXPECT_EQ(raised([] {
                  RTableSettings d;
                  RTableGetDefaults(kv(), &d);
                  d.data_type = RTABLE_INTEGER32;
                  RTableCopy(kv(), &d, run("Array(1..2, [1.5, 2], datatype = float64);"));
              }),
              "cannot store 1.5 in an array of datatype int32");
    EXPECT_EQ(raised([] { TalvoAlloc(kv(), -5); }), "Alloc: invalid size -5");
    EXPECT_EQ(raised([] { RTableDataBlock(kv(), make_integer(3)); }), "RTableDataBlock: expecting an Array, got 3");
}

TEST(KernelVector, UserInfoFollowsInfolevel)
{
    run("unassign('infolevel'):");
    testing::internal::CaptureStderr();
    TalvoUserInfo(kv(), 1, "topic", "hidden at level 0");
    run("infolevel := 2:");
    TalvoUserInfo(kv(), 2, "topic", "shown");
    TalvoUserInfo(kv(), 3, "topic", "too detailed");
    run("infolevel := table([topic = 5]):");
    TalvoUserInfo(kv(), 5, "topic", "shown by topic");
    TalvoUserInfo(kv(), 1, "other", "not for this topic");
    std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, "topic: shown\ntopic: shown by topic\n");
    run("unassign('infolevel'):");
}

TEST(KernelVector, Random)
{
    run("randomize(99):");
    int32_t a = TalvoRandomInt32(kv());
    ALGEB f = TalvoRandomSoftwareFloat01(kv());
    run("randomize(99):");
    EXPECT_EQ(TalvoRandomInt32(kv()), a);
    EXPECT_TRUE(equal(TalvoRandomSoftwareFloat01(kv()), f));
    EXPECT_EQ(mpfr_get_prec(talvo_float_value(f)), talvo_float_precision());
}
