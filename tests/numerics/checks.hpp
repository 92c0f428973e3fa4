// checks.hpp -- what the family tests share: floats from text, the tail
// codes, and the checks of a failing call (its code, a message naming the
// argument and its value, undefined results).
#pragma once

#include "table_support.hpp"
#include "talvo_mp.h"

#include <gtest/gtest.h>

#include <string>

namespace talvo::test {

inline TalvoFloat F(const char *text) { return TalvoFloat::from_handle(talvo_float_parse(text, talvo_float_precision())); }
inline TalvoFloat undefined() { return TalvoFloatUndefined(); }
inline TalvoFloat inf() { return TalvoFloat(1.0) / TalvoFloat(0.0); }

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

} // namespace talvo::test
