// errors_test.cpp -- every error of every routine: the code, a message that
// names the argument and its value, an undefined result, and the record's
// print flag and handler.
#include "talvo_mp.h"
#include "table_support.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace {

using talvo::test::DigitsScope;

TalvoFloat F(const char *text) { return TalvoFloat::from_handle(talvo_float_parse(text, talvo_float_precision())); }
TalvoFloat undefined() { return TalvoFloatUndefined(); }
TalvoFloat inf() { return TalvoFloat(1.0) / TalvoFloat(0.0); }

const Nag_TailProbability L = Nag_LowerTail, U = Nag_UpperTail, S = Nag_TwoTailSignif, C = Nag_TwoTailConfid;
const Nag_TailProbability BadTail = Nag_TailProbability(1333), ZeroTail = Nag_TailProbability(0);

// Runs a routine returning a float and checks its failure.
template <class Fn>
void expect_fail(int code, const std::string &fragment, Fn &&fn)
{
    NagError fail{};
    TalvoFloat r = fn(&fail);
    EXPECT_EQ(fail.code, code) << fail.message;
    EXPECT_NE(std::string(fail.message).find(fragment), std::string::npos)
        << "message \"" << fail.message << "\" lacks \"" << fragment << "\"";
    EXPECT_TRUE(IsTalvoFloatUndefined(r)) << "a failed call returns undefined";
}

// The same for the routines with three outputs: all of them undefined.
template <class Fn>
void expect_fail3(int code, const std::string &fragment, Fn &&fn)
{
    NagError fail{};
    TalvoFloat a(1.0), b(1.0), c(1.0);
    fn(&a, &b, &c, &fail);
    EXPECT_EQ(fail.code, code) << fail.message;
    EXPECT_NE(std::string(fail.message).find(fragment), std::string::npos)
        << "message \"" << fail.message << "\" lacks \"" << fragment << "\"";
    EXPECT_TRUE(IsTalvoFloatUndefined(a) && IsTalvoFloatUndefined(b) && IsTalvoFloatUndefined(c));
}

TEST(NumericsErrors, Normal)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1333", [](NagError *f) { return TalvoMP_g01eac(BadTail, F("1"), f); });
    expect_fail(NE_BAD_PARAM, "tail = 0", [](NagError *f) { return TalvoMP_g01eac(ZeroTail, F("1"), f); });
    expect_fail(NE_REAL_ARG_NAN, "x is undefined", [](NagError *f) { return TalvoMP_g01eac(L, undefined(), f); });
    expect_fail(NE_BAD_PARAM, "tail", [](NagError *f) { return TalvoMP_g01fac(BadTail, F("0.5"), f); });
    expect_fail(NE_REAL_ARG_LE, "p = 0. ", [](NagError *f) { return TalvoMP_g01fac(L, F("0"), f); });
    expect_fail(NE_REAL_ARG_LE, "p = -0.25", [](NagError *f) { return TalvoMP_g01fac(U, F("-0.25"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fac(S, F("1"), f); });
    expect_fail(NE_REAL_ARG_GE, "p must be < 1", [](NagError *f) { return TalvoMP_g01fac(C, F("1.5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "p is undefined", [](NagError *f) { return TalvoMP_g01fac(L, undefined(), f); });
}

TEST(NumericsErrors, StudentsT)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1333", [](NagError *f) { return TalvoMP_g01ebc(BadTail, F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "t is undefined", [](NagError *f) { return TalvoMP_g01ebc(L, undefined(), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = 0. is out of range: df must be > 0",
                [](NagError *f) { return TalvoMP_g01ebc(L, F("1"), F("0"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -3.", [](NagError *f) { return TalvoMP_g01ebc(U, F("1"), F("-3"), f); });
    expect_fail(NE_REAL_ARG_INF, "df = Float(infinity)", [](NagError *f) { return TalvoMP_g01ebc(U, F("1"), inf(), f); });
    expect_fail(NE_REAL_ARG_NAN, "df is undefined", [](NagError *f) { return TalvoMP_g01ebc(S, F("1"), undefined(), f); });
    expect_fail(NE_BAD_PARAM, "tail", [](NagError *f) { return TalvoMP_g01fbc(ZeroTail, F("0.5"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "p = 0. ", [](NagError *f) { return TalvoMP_g01fbc(L, F("0"), F("5"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fbc(C, F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -0.5", [](NagError *f) { return TalvoMP_g01fbc(L, F("0.3"), F("-0.5"), f); });
}

TEST(NumericsErrors, ChiSquare)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1331 is not accepted",
                [](NagError *f) { return TalvoMP_g01ecc(S, F("1"), F("5"), f); });
    expect_fail(NE_BAD_PARAM, "tail = 1332", [](NagError *f) { return TalvoMP_g01ecc(C, F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LT, "x = -1. is out of range: x must be >= 0",
                [](NagError *f) { return TalvoMP_g01ecc(L, F("-1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_NAN, "x is undefined", [](NagError *f) { return TalvoMP_g01ecc(L, undefined(), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = 0. ", [](NagError *f) { return TalvoMP_g01ecc(U, F("1"), F("0"), f); });
    expect_fail(NE_REAL_ARG_INF, "df", [](NagError *f) { return TalvoMP_g01ecc(U, F("1"), inf(), f); });
    expect_fail(NE_REAL_ARG_LT, "p = -0.5", [](NagError *f) { return TalvoMP_g01fcc(F("-0.5"), F("5"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fcc(F("1"), F("5"), f); });
    expect_fail(NE_REAL_ARG_LE, "df = -2.", [](NagError *f) { return TalvoMP_g01fcc(F("0.5"), F("-2"), f); });
    expect_fail(NE_REAL_ARG_NAN, "df is undefined", [](NagError *f) { return TalvoMP_g01fcc(F("0.5"), undefined(), f); });
}

TEST(NumericsErrors, F)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1331", [](NagError *f) { return TalvoMP_g01edc(S, F("1"), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LT, "f = -1.", [](NagError *f) { return TalvoMP_g01edc(L, F("-1"), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LE, "df1 = 0. ", [](NagError *f) { return TalvoMP_g01edc(L, F("1"), F("0"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LE, "df2 = -3.", [](NagError *f) { return TalvoMP_g01edc(U, F("1"), F("5"), F("-3"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01fdc(F("1"), F("5"), F("7"), f); });
    expect_fail(NE_REAL_ARG_LE, "df1 = 0. ", [](NagError *f) { return TalvoMP_g01fdc(F("0.5"), F("0"), F("7"), f); });
    expect_fail(NE_REAL_ARG_NAN, "df2 is undefined",
                [](NagError *f) { return TalvoMP_g01fdc(F("0.5"), F("5"), undefined(), f); });
}

TEST(NumericsErrors, Beta)
{
    DigitsScope d(20);
    expect_fail3(NE_REAL_ARG_LT, "x = -0.125 is out of range: x must be >= 0", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("-0.125"), F("2"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_GT, "x = 1.5 is out of range: x must be <= 1", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("1.5"), F("2"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_LE, "a = 0. ", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("0.5"), F("0"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_LE, "b = -1.", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(F("0.5"), F("2"), F("-1"), TalvoFloat(), p, q, r, f);
    });
    expect_fail3(NE_REAL_ARG_NAN, "x is undefined", [](auto *p, auto *q, auto *r, NagError *f) {
        TalvoMP_g01eec(undefined(), F("2"), F("3"), TalvoFloat(), p, q, r, f);
    });
    expect_fail(NE_REAL_ARG_GT, "p = 1.5", [](NagError *f) { return TalvoMP_g01fec(F("1.5"), F("2"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LT, "p = -1.", [](NagError *f) { return TalvoMP_g01fec(F("-1"), F("2"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LE, "a = 0. ", [](NagError *f) { return TalvoMP_g01fec(F("0.5"), F("0"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_INF, "b = Float(infinity)",
                [](NagError *f) { return TalvoMP_g01fec(F("0.5"), F("2"), inf(), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_NAN, "tol is undefined",
                [](NagError *f) { return TalvoMP_g01fec(F("0.5"), F("2"), F("3"), undefined(), f); });
}

TEST(NumericsErrors, Gamma)
{
    DigitsScope d(20);
    expect_fail(NE_BAD_PARAM, "tail = 1332", [](NagError *f) { return TalvoMP_g01efc(C, F("1"), F("2"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LT, "g = -1.", [](NagError *f) { return TalvoMP_g01efc(L, F("-1"), F("2"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LE, "a = 0. ", [](NagError *f) { return TalvoMP_g01efc(L, F("1"), F("0"), F("3"), f); });
    expect_fail(NE_REAL_ARG_LE, "b = -3.", [](NagError *f) { return TalvoMP_g01efc(U, F("1"), F("2"), F("-3"), f); });
    expect_fail(NE_REAL_ARG_GE, "p = 1. ", [](NagError *f) { return TalvoMP_g01ffc(F("1"), F("2"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LE, "a = -1.", [](NagError *f) { return TalvoMP_g01ffc(F("0.5"), F("-1"), F("3"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_LE, "b = 0. ", [](NagError *f) { return TalvoMP_g01ffc(F("0.5"), F("2"), F("0"), TalvoFloat(), f); });
    expect_fail(NE_REAL_ARG_NAN, "a is undefined",
                [](NagError *f) { return TalvoMP_g01ffc(F("0.5"), undefined(), F("3"), TalvoFloat(), f); });
}

TEST(NumericsErrors, NonCentral)
{
    DigitsScope d(20);
    TalvoFloat tol;
    expect_fail(NE_REAL_ARG_LE, "df = 0. ", [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("0"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_NAN, "delta is undefined",
                [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), undefined(), tol, 100, f); });
    expect_fail(NE_REAL_ARG_INF, "delta", [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), inf(), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = 0 is out of range: max_iter must be >= 1",
                [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), F("1"), tol, 0, f); });
    expect_fail(NE_REAL_ARG_NAN, "tol is undefined",
                [&](NagError *f) { return TalvoMP_g01gbc(F("1"), F("5"), F("1"), undefined(), 100, f); });

    expect_fail(NE_REAL_ARG_LT, "x = -1.", [&](NagError *f) { return TalvoMP_g01gcc(F("-1"), F("5"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "df = -1.", [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("-1"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -2.",
                [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("5"), F("-2"), tol, 100, f); });
    expect_fail(NE_ARG_COMBINATION, "lambda must be > 0 when df = 0",
                [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("0"), F("0"), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = -4", [&](NagError *f) { return TalvoMP_g01gcc(F("1"), F("5"), F("1"), tol, -4, f); });

    expect_fail(NE_REAL_ARG_LT, "f = -1.",
                [&](NagError *f) { return TalvoMP_g01gdc(F("-1"), F("5"), F("7"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "df1 = 0. ",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("0"), F("7"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "df2 = 0. ",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("5"), F("0"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -1.",
                [&](NagError *f) { return TalvoMP_g01gdc(F("1"), F("5"), F("7"), F("-1"), tol, 100, f); });

    expect_fail(NE_REAL_ARG_GT, "x = 2. ", [&](NagError *f) { return TalvoMP_g01gec(F("2"), F("2"), F("3"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LE, "a = 0. ", [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("0"), F("3"), F("1"), tol, 100, f); });
    expect_fail(NE_REAL_ARG_LT, "lambda = -2.",
                [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("2"), F("3"), F("-2"), tol, 100, f); });
    expect_fail(NE_INT_ARG_LT, "max_iter = -5",
                [&](NagError *f) { return TalvoMP_g01gec(F("0.5"), F("2"), F("3"), F("1"), tol, -5, f); });
}

// Too few terms: NE_CONV, the partial sum returned, and the number of terms
// the accuracy needs in the message and in the record; with that many the
// call succeeds.
TEST(NumericsErrors, IterationLimit)
{
    DigitsScope d(30);
    TalvoFloat tol;
    struct Case {
        const char *name;
        std::function<TalvoFloat(Integer, NagError *)> call;
    } cases[] = {
        {"g01gbc", [&](Integer m, NagError *f) { return TalvoMP_g01gbc(F("3"), F("10"), F("12"), tol, m, f); }},
        {"g01gcc", [&](Integer m, NagError *f) { return TalvoMP_g01gcc(F("120"), F("10"), F("100"), tol, m, f); }},
        {"g01gdc", [&](Integer m, NagError *f) { return TalvoMP_g01gdc(F("3"), F("20"), F("200"), F("50"), tol, m, f); }},
        {"g01gec", [&](Integer m, NagError *f) { return TalvoMP_g01gec(F("0.6"), F("10"), F("20"), F("60"), tol, m, f); }},
    };
    for (auto &c : cases) {
        NagError fail{};
        TalvoFloat partial = c.call(3, &fail);
        EXPECT_EQ(fail.code, NE_CONV) << c.name << ": " << fail.message;
        EXPECT_NE(std::string(fail.message).find("max_iter = 3 "), std::string::npos) << fail.message;
        EXPECT_FALSE(IsTalvoFloatUndefined(partial)) << c.name << ": the partial sum is returned";
        EXPECT_GT(fail.iterations, 3) << c.name;
        Integer needed = fail.iterations;
        NagError again{};
        TalvoFloat full = c.call(needed + needed / 4 + 8, &again);
        EXPECT_EQ(again.code, NE_NOERROR) << c.name << " with max_iter = " << needed << ": " << again.message;
        EXPECT_FALSE(IsTalvoFloatUndefined(full));
    }
}

TEST(NumericsErrors, Binomial)
{
    DigitsScope d(20);
    expect_fail3(NE_INT_ARG_LT, "n = -1 is out of range: n must be >= 0",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(-1, F("0.5"), 0, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_LE, "p = 0. ", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("0"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_GE, "p = 1. ", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("1"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_NAN, "p is undefined",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, undefined(), 1, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "k = -1", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("0.5"), -1, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "k = 6 is out of range: k must be <= n = 5",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bjc(5, F("0.5"), 6, a, b, c, f); });
}

TEST(NumericsErrors, Poisson)
{
    DigitsScope d(20);
    expect_fail3(NE_REAL_ARG_LE, "rlamda = 0. ", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(F("0"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_LE, "rlamda = -2.5",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(F("-2.5"), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_INF, "rlamda", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(inf(), 1, a, b, c, f); });
    expect_fail3(NE_REAL_ARG_NAN, "rlamda is undefined",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(undefined(), 1, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "k = -3", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01bkc(F("2"), -3, a, b, c, f); });
}

TEST(NumericsErrors, Hypergeometric)
{
    DigitsScope d(20);
    expect_fail3(NE_INT_ARG_LT, "n = -1", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(-1, 0, 0, 0, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "l = -2", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, -2, 3, 0, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "l = 11 is out of range: l must be <= n = 10",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 11, 3, 0, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "m = 12 is out of range: m must be <= n = 10",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 3, 12, 0, a, b, c, f); });
    expect_fail3(NE_INT_ARG_LT, "k = -1", [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 3, 4, -1, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "k = 4 is out of range: k must be <= min(l, m) = 3",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 3, 4, 4, a, b, c, f); });
    expect_fail3(NE_ARG_COMBINATION, "k = 1 is out of range: k must be >= l + m - n = 2",
                 [](auto *a, auto *b, auto *c, NagError *f) { TalvoMP_g01blc(10, 6, 6, 1, a, b, c, f); });
}

// Parameters whose series would need more terms than any call may take are
// refused at once instead of running for minutes.
TEST(NumericsErrors, TooCostly)
{
    DigitsScope d(30);
    auto start = std::chrono::steady_clock::now();
    expect_fail3(NE_TOO_COSTLY, "too large", [](auto *a, auto *b, auto *c, NagError *f) {
        TalvoMP_g01bjc(2000000000000000000L, F("0.5"), 1000000000000000000L, a, b, c, f);
    });
    expect_fail(NE_TOO_COSTLY, "too large", [](NagError *f) { return TalvoMP_g01efc(L, F("1e18"), F("1e18"), F("1"), f); });
    expect_fail(NE_TOO_COSTLY, "too large",
                [](NagError *f) { return TalvoMP_g01gcc(F("1e18"), F("5"), F("1e18"), TalvoFloat(), 100, f); });
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, 5.0);
}

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
