// entry_frame.cpp -- argument counts and conversions shared by every entry.
#include "entry_frame.hpp"

#include "talvo_utils.hpp"

#include <cstdio>
#include <cstring>
#include <string_view>

namespace stats {

namespace {

// Entries whose count message departs from "<entry> expects N arguments,
// received: %1".  These texts are part of the interface and are kept exactly
// as they stand, grammar included.  A message without %1 is raised with no
// argument.
struct IrregularCount {
    const char *entry;
    const char *message;
};

constexpr IrregularCount kIrregularCounts[] = {
    {"TalvoUniformProbability", "TalvoUniformRandomVariate expects 3 arguments, received: %1"},
    {"TalvoUniformDeviate", "TalvoUniformRandomVariate expects 3 arguments, received: %1"},
    {"TalvoMoyalRandomVariate", "TalvoMoyalRandomVariate expects 2 argument, received: %1"},
    {"TalvoInverseGaussianRandomVariate", "TalvoInverseGaussianRandomVariate expects 2 argument, received: %1"},
    {"TalvoErrorRandomVariate", "expected 3 arguments, received: %1"},
    {"TalvoErrorRandomSample", "expected 4 arguments, received: %1"},
    {"TalvoNormalDeviateApprox", "TalvoNormalDeviateApprox expects 1 arguments, received: %1"},
    {"TalvoNormalWApprox", "TalvoNormalDeviateApprox expects 1 arguments, received: %1"},
    {"TalvoSelectRemove", "TalvoSelectRemove expects at least 3 arguments"},
    {"TalvoSelectRemoveInRange", "TalvoSelectRemoveInRange expects 4 arguments"},
    {"TalvoDiscreteInterpolationHybridLeft", "TalvoDiscreteInterpolationHybrid expects 7 arguments, received: %1"},
    {"TalvoDiscreteInterpolationHybridRight", "TalvoDiscreteInterpolationHybrid expects 7 arguments, received: %1"},
    {"TalvoDiscreteInterpolationHybridUnbound",
     "TalvoDiscreteInterpolationHybrid expects 7 arguments, received: %1"},
    {"TalvoMean", "expected 4 arguments, received: %1"},
    {"TalvoWinsorizedMean", "expected 6 arguments, received: %1"},
    {"TalvoTrimmedMean", "expected 6 arguments, received: %1"},
    {"TalvoTally", "expected 2 arguments, received: %1"},
    {"TalvoTallySorted", "expected 2 arguments, received: %1"},
    {"TalvoTallyInto", "expected 5 arguments, received: %1"},
    {"TalvoFrequencyData", "expected 5 arguments, received: %1"},
    {"TalvoDiscretize", "expected 7 arguments, received: %1"},
    {"TalvoCumulative", "expected 4 arguments, received: %1"},
    {"TalvoCountMissing", "expected 2 arguments, received: %1"},
    {"TalvoCount", "expected 3 arguments, received: %1"},
    {"TalvoEvaluateToFloat", "expected one argument, received: %1"},
    {"TalvoCovariance", "expected 4 arguments, received: %1"},
    {"TalvoQuantile", "expected 6 arguments, received: %1"},
    {"TalvoOrderStatistic", "TalvoOrderStatistic expects 4 arguments, received: %1"},
    {"TalvoMedian", "expected 4 arguments, received: %1"},
    {"TalvoMedianDeviation", "TalvoAbsoluteDeviation expects 3 arguments, received: %1"},
    {"TalvoFivePointSummary", "expected two arguments, received: %1"},
    {"TalvoStatisticSummary", "expected 3 arguments, received: %1"},
    // Sampling engines.
    {"TalvoRandomSample", "expected 4 arguments, received: %1"},
    {"TalvoAliasUrnSample", "expected 2 arguments, received: %1"},
    {"TalvoBootstrapSample", "expected 4 arguments, received: %1"},
    {"TalvoBootstrapStatistic", "expected 5 arguments, received: %1"},
    {"TalvoBootstrapStatisticRV", "expected 4 arguments, received: %1"},
    // Kernel density (only more arguments than these are refused by the last two).
    {"TalvoKernelDensity", "expected 8 arguments, received: %1"},
    {"TalvoKernelBounds", "expected 1 arguments, received: %1"},
    {"TalvoKernelDensitySample", "expected 4 arguments, received: %1"},
    // Data preparation (Winsorize shares Trim's message on purpose).
    {"TalvoSort", "expected 3 arguments, received: %1"},
    {"TalvoRankSort", "expected 3 arguments, received: %1"},
    {"TalvoOrder", "expected 4 arguments, received: %1"},
    {"TalvoLinearFilter", "expected 5 arguments, received: %1"},
    {"TalvoWinsorize", "TalvoTrim expects 3 arguments, received: %1"},
};

// Entries whose procedure message names another entry of their family: the
// family shares one text.
struct SharedProcedureName {
    const char *entry;
    const char *name;
};

constexpr SharedProcedureName kSharedProcedureNames[] = {
    {"TalvoBrentMethodHybridRight", "TalvoBrentMethodHybridUnbound"},
    {"TalvoDiscreteInterpolationHybridRight", "TalvoDiscreteInterpolationHybridLeft"},
    {"TalvoDiscreteInterpolationHybridUnbound", "TalvoDiscreteInterpolationHybridLeft"},
};

std::string ProcedureMessageName(const char *entry)
{
    std::string name = ShortEntryName(entry);
    for (const SharedProcedureName &s : kSharedProcedureNames)
        if (name == s.entry)
            return s.name;
    return name;
}

const char *const kOrdinals[] = {"zeroth", "first", "second", "third", "fourth", "fifth",
                                 "sixth",  "seventh", "eighth", "ninth", "tenth"};

void Raise(TKernelVector kv, const std::string &message, ALGEB arg)
{
    if (message.find("%1") != std::string::npos)
        TalvoRaiseError1(kv, message.c_str(), arg);
    else
        TalvoRaiseError(kv, message.c_str());
}

// A whole number in decimal.  (std::to_string would do, but its digit
// table is a unique symbol of the standard library that every shared object
// using it exports; the library exports only its own names.)
std::string Decimal(long v)
{
    char text[24];
    std::snprintf(text, sizeof text, "%ld", v);
    return text;
}

} // namespace

std::string Ordinal(int i)
{
    return i >= 0 && i < int(std::size(kOrdinals)) ? kOrdinals[i] : Decimal(i) + "th";
}

std::string ShortEntryName(const char *entry)
{
    std::string_view n(entry);
    if (n.starts_with("STATS_"))
        n.remove_prefix(6);
    if (n.ends_with("_MP"))
        n.remove_suffix(3);
    return std::string(n);
}

std::string CountMessage(const char *entry, ArgCount rule)
{
    std::string name = ShortEntryName(entry);
    for (const IrregularCount &c : kIrregularCounts)
        if (name == c.entry)
            return c.message;
    std::string count = Decimal(rule.n);
    if (rule.at_least)
        count = "at least " + count;
    else if (rule.alt >= 0)
        count += " or " + Decimal(rule.alt);
    bool one = !rule.at_least && rule.alt < 0 && rule.n == 1;
    return name + " expects " + count + (one ? " argument" : " arguments") + ", received: %1";
}

EntryFrame::EntryFrame(TKernelVector kv, ALGEB args, const char *entry, ArgCount rule)
    : m_kv(kv), m_args(args), m_entry(entry), m_count(TalvoNumArgs(kv, args))
{
    if (!rule.accepts(m_count))
        Raise(kv, CountMessage(entry, rule), args);
}

TalvoFloat EntryFrame::real(int i) const { return STATS_TalvoUtils_MP::TalvoDAGToDouble(arg(i)); }

long EntryFrame::integer(int i) const { return STATS_DoubleToInteger_MP(real(i)); }

ALGEB EntryFrame::procedure(int i) const
{
    ALGEB a = arg(i);
    if (!IsTalvoProcedure(m_kv, a)) {
        Raise(m_kv, ProcedureMessageName(m_entry) + " expects a procedure as its " + Ordinal(i) + " parameter, received: %1",
              a);
    }
    return a;
}

} // namespace stats
