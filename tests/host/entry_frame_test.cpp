// entry_frame_test.cpp -- argument counts, their messages, and conversions.
#include "stats_support.hpp"

#include "entry_frame.hpp"

using namespace stats::test;
using stats::ArgCount;
using stats::CountMessage;
using stats::EntryFrame;

TEST(EntryFrame, ShortNameDropsPrefixAndSuffix)
{
    EXPECT_EQ(stats::ShortEntryName("STATS_TalvoWeibullProbability_MP"), "TalvoWeibullProbability");
    EXPECT_EQ(stats::ShortEntryName("TalvoX"), "TalvoX");
}

TEST(EntryFrame, CountMessagesFollowTheEntryName)
{
    EXPECT_EQ(CountMessage("STATS_TalvoWeibullProbability_MP", ArgCount::Exactly(3)),
              "TalvoWeibullProbability expects 3 arguments, received: %1");
    EXPECT_EQ(CountMessage("STATS_TalvoWeibullRandomVariate_MP", ArgCount::Exactly(2)),
              "TalvoWeibullRandomVariate expects 2 arguments, received: %1");
    // One argument: singular.
    for (const char *e : {"StudentTRandomVariate", "RayleighRandomVariate", "PoissonRandomVariate",
                          "MaxwellRandomVariate", "GeometricRandomVariate", "ExponentialRandomVariate",
                          "ChiSquareRandomVariate", "BernoulliRandomVariate", "Shuffle", "RemoveNULL"}) {
        std::string entry = std::string("STATS_Talvo") + e + "_MP";
        EXPECT_EQ(CountMessage(entry.c_str(), ArgCount::Exactly(1)),
                  std::string("Talvo") + e + " expects 1 argument, received: %1");
    }
    EXPECT_EQ(CountMessage("STATS_TalvoMoving_MP", ArgCount::AtLeast(3)),
              "TalvoMoving expects at least 3 arguments, received: %1");
    EXPECT_EQ(CountMessage("STATS_TalvoNonCentralChiSquareRandomSample_MP", ArgCount::Either(4, 6)),
              "TalvoNonCentralChiSquareRandomSample expects 4 or 6 arguments, received: %1");
}

TEST(EntryFrame, IrregularCountMessagesAreKeptAsTheyStand)
{
    struct {
        const char *entry;
        ArgCount rule;
        const char *message;
    } cases[] = {
        {"STATS_TalvoUniformProbability_MP", ArgCount::Exactly(3),
         "TalvoUniformRandomVariate expects 3 arguments, received: %1"},
        {"STATS_TalvoUniformDeviate_MP", ArgCount::Exactly(3),
         "TalvoUniformRandomVariate expects 3 arguments, received: %1"},
        {"STATS_TalvoMoyalRandomVariate_MP", ArgCount::Exactly(2),
         "TalvoMoyalRandomVariate expects 2 argument, received: %1"},
        {"STATS_TalvoInverseGaussianRandomVariate_MP", ArgCount::Exactly(2),
         "TalvoInverseGaussianRandomVariate expects 2 argument, received: %1"},
        {"STATS_TalvoErrorRandomVariate_MP", ArgCount::Exactly(3), "expected 3 arguments, received: %1"},
        {"STATS_TalvoErrorRandomSample_MP", ArgCount::Exactly(4), "expected 4 arguments, received: %1"},
        {"STATS_TalvoNormalDeviateApprox_MP", ArgCount::Exactly(1),
         "TalvoNormalDeviateApprox expects 1 arguments, received: %1"},
        {"STATS_TalvoNormalWApprox_MP", ArgCount::Exactly(1),
         "TalvoNormalDeviateApprox expects 1 arguments, received: %1"},
        {"STATS_TalvoSelectRemove_MP", ArgCount::AtLeast(3), "TalvoSelectRemove expects at least 3 arguments"},
        {"STATS_TalvoSelectRemoveInRange_MP", ArgCount::Exactly(4), "TalvoSelectRemoveInRange expects 4 arguments"},
        {"STATS_TalvoDiscreteInterpolationHybridLeft_MP", ArgCount::Exactly(7),
         "TalvoDiscreteInterpolationHybrid expects 7 arguments, received: %1"},
        {"STATS_TalvoDiscreteInterpolationHybridRight_MP", ArgCount::Exactly(7),
         "TalvoDiscreteInterpolationHybrid expects 7 arguments, received: %1"},
        {"STATS_TalvoDiscreteInterpolationHybridUnbound_MP", ArgCount::Exactly(7),
         "TalvoDiscreteInterpolationHybrid expects 7 arguments, received: %1"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(CountMessage(c.entry, c.rule), c.message) << c.entry;
}

TEST(EntryFrame, AWrongCountReportsTheWholeSequence)
{
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "1, 2, 3, 4"),
              "Error: TalvoWeibullProbability expects 3 arguments, received: 1, 2, 3, 4");
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "1, [2, x]"),
              "Error: TalvoWeibullProbability expects 3 arguments, received: 1, [2, x]");
    EXPECT_EQ(result(STATS_TalvoExponentialRandomVariate_MP, ""),
              "Error: TalvoExponentialRandomVariate expects 1 argument, received: ");
    // A message without %1 is raised as it stands.
    EXPECT_EQ(error_of([] { EntryFrame(kv(), eval("1, 2"), "STATS_TalvoSelectRemove_MP", ArgCount::AtLeast(3)); }),
              "TalvoSelectRemove expects at least 3 arguments");
}

TEST(EntryFrame, CountRules)
{
    EXPECT_TRUE(ArgCount::Either(4, 6).accepts(4));
    EXPECT_TRUE(ArgCount::Either(4, 6).accepts(6));
    EXPECT_FALSE(ArgCount::Either(4, 6).accepts(5));
    EXPECT_TRUE(ArgCount::AtLeast(3).accepts(9));
    EXPECT_FALSE(ArgCount::AtLeast(3).accepts(2));
    EXPECT_TRUE(ArgCount::Exactly(0).accepts(0));
    EXPECT_EQ(EntryFrame(kv(), eval("1, 2, 3, 4, 5, 6"), "STATS_TalvoX_MP", ArgCount::Either(4, 6)).count(), 6);
}

TEST(EntryFrame, RealArgumentsConvertInOrder)
{
    EntryFrame f(kv(), eval("1/4, 3, sqrt(4), x, y"), "STATS_TalvoTest_MP", 5);
    EXPECT_EQ(show(f.real(1).handle()), "0.25");
    EXPECT_EQ(show(f.real(2).handle()), "3.");
    EXPECT_EQ(show(f.real(3).handle()), "2.");
    EXPECT_EQ(error_of([&] { TalvoFloat a = f.real(4), b = f.real(5); (void)a; (void)b; }),
              "unable to evaluate x to floating-point");
    EXPECT_EQ(result(STATS_TalvoWeibullProbability_MP, "a, b, 3"), "Error: unable to evaluate a to floating-point");
}

TEST(EntryFrame, IntegerArguments)
{
    EntryFrame f(kv(), eval("2.7, -2.7, 7/2, 12, true, 2.5"), "STATS_TalvoTest_MP", 6);
    EXPECT_EQ(f.integer(1), 2);
    EXPECT_EQ(f.integer(2), -2);
    EXPECT_EQ(f.integer(3), 3);
    EXPECT_EQ(f.int32(4), 12);
    EXPECT_EQ(f.size(4), 12);
    EXPECT_EQ(f.flag(5), 1);
    // The host's own conversions raise the host's own errors.
    EXPECT_NE(error_of([&] { f.int32(6); }), "");
    EXPECT_NE(error_of([&] { f.flag(4); }), "");
}

TEST(EntryFrame, ProcedureArgumentsAreCheckedByPlace)
{
    EntryFrame f(kv(), eval("(x -> x^2), 2, [3]"), "STATS_TalvoDiscreteInterpolationHybridLeft_MP", 3);
    EXPECT_TRUE(IsTalvoProcedure(kv(), f.procedure(1)));
    EXPECT_EQ(error_of([&] { f.procedure(2); }),
              "TalvoDiscreteInterpolationHybridLeft expects a procedure as its second parameter, received: 2");
    EXPECT_EQ(error_of([&] { f.procedure(3); }),
              "TalvoDiscreteInterpolationHybridLeft expects a procedure as its third parameter, received: [3]");
}
