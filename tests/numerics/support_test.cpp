// support_test.cpp -- the error record of every routine (core/support.cpp):
// printing, the handler, the reset on success; and the values of the
// enumerations the statistics library passes.
#include "checks.hpp"

namespace {

using namespace talvo::test;

// The record: print writes the message to standard error, the handler gets
// message, code and routine, a null record prints, and success clears it.
TEST(NumericsErrors, RecordPrintHandlerAndReset)
{
    DigitsScope d(20);
    static std::string seen_message, seen_routine;
    static int seen_code = 0;
    NagError fail{};
    fail.print = Nag_TRUE;
    fail.handler = [](const char *message, int code, const char *routine) {
        seen_message = message;
        seen_code = code;
        seen_routine = routine;
    };
    ::testing::internal::CaptureStderr();
    TalvoMP_g01fac(L, F("2"), &fail);
    std::string printed = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(printed.find("TalvoMP_g01fac: p = 2. is out of range"), std::string::npos) << printed;
    EXPECT_EQ(seen_code, NE_REAL_ARG_GE);
    EXPECT_EQ(seen_routine, "TalvoMP_g01fac");
    EXPECT_EQ(seen_message, fail.message);

    // A successful call clears the code and the message.
    TalvoFloat r = TalvoMP_g01fac(L, F("0.5"), &fail);
    EXPECT_EQ(fail.code, NE_NOERROR);
    EXPECT_STREQ(fail.message, "");
    EXPECT_TRUE(mpfr_zero_p(r.mpfr()));

    ::testing::internal::CaptureStderr();
    TalvoFloat u = TalvoMP_g01ecc(L, F("-1"), F("2"), nullptr);
    printed = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(IsTalvoFloatUndefined(u));
    EXPECT_NE(printed.find("TalvoMP_g01ecc: x = -1. is out of range"), std::string::npos) << printed;

    // Printing off, no handler: nothing on standard error.
    NagError quiet{};
    ::testing::internal::CaptureStderr();
    TalvoMP_g01ecc(L, F("-1"), F("2"), &quiet);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(quiet.code, NE_REAL_ARG_LT);
}

// The enumerations have the values the statistics library passes.
TEST(NumericsErrors, EnumerationValues)
{
    EXPECT_EQ(static_cast<int>(Nag_LowerTail), 1329);
    EXPECT_EQ(static_cast<int>(Nag_UpperTail), 1330);
    EXPECT_EQ(static_cast<int>(Nag_TwoTailSignif), 1331);
    EXPECT_EQ(static_cast<int>(Nag_TwoTailConfid), 1332);
    EXPECT_EQ(static_cast<int>(Nag_Ascending), 1597);
    EXPECT_EQ(static_cast<int>(Nag_Descending), 1598);
    EXPECT_EQ(NE_NOERROR, 0);
}

} // namespace
