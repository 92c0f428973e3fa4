// options.cpp -- TalvoMP_e04wbf_ (save arrays at their defaults) and the
// option setters TalvoMP_e04dka_ (e04dga), TalvoMP_e04mha_ (e04mfa),
// TalvoMP_e04nea_ (e04nca), TalvoMP_e04nha_ (e04nfa), TalvoMP_e04uea_
// (e04uca) and TalvoMP_e04ura_ (e04usa): one parser, one keyword table per
// routine.
//
// The option grammar: one option per string of at most 72 characters; items
// separated by blanks or "="; case ignored; the text after a '*' ignored; a
// blank string accepted and ignored.  An option is a keyword phrase and,
// where it takes one, a number (an integer, or a real in the forms 1, 1.5,
// 1.5e-3, 1.5d-3) or a qualifying word.  Each word of the phrase may be
// shortened to its first three letters or more.  "Defaults" puts every
// option of the routine back.
#include "options.hpp"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace talvo::opt;
using namespace talvo::opt::saved;

namespace talvo::opt::saved {

void set_defaults(Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, RoutineId routine)
{
    for (long k = 0; k < kTalvoOptLwsav; ++k)
        lwsav[k] = 0;
    for (long k = 2; k < kTalvoOptIwsav; ++k)
        iwsav[k] = 0;
    for (long k = 0; k < kTalvoOptRwsav; ++k)
        rwsav[k] = TalvoFloat(0.0);
    iwsav[kIterLimit] = -1;
    iwsav[kPrintLevel] = 10;
    iwsav[kVerify] = 0;
    iwsav[kCheckStart] = 1;
    iwsav[kCheckStop] = -1;
    if (routine == E04DGA) {
        rwsav[kLineTol] = TalvoFloat(0.9);
        rwsav[kMaxStep] = TalvoFloat(1e20);
        return;
    }
    iwsav[kMinorIterLimit] = -1;
    iwsav[kWarmStart] = 0;
    iwsav[kExpandFreq] = -1;
    iwsav[kMaxDegFree] = -1;
    iwsav[kConCheckStart] = 1;
    iwsav[kConCheckStop] = -1;
    iwsav[kMinorPrint] = 0;
    iwsav[kHessianOpt] = 0;
    iwsav[kCentralDiffs] = 0;
    switch (routine) {
    case E04NCA:
        iwsav[kProblemType] = kLS1;
        break;
    case E04NFA:
        iwsav[kProblemType] = kQP2;
        break;
    case E04UCA:
    case E04USA:
        iwsav[kProblemType] = 0;
        iwsav[kDerivLevel] = 3;
        break;
    default:
        iwsav[kProblemType] = kLP;
        break;
    }
    if (routine != E04UCA && routine != E04USA)
        iwsav[kDerivLevel] = -1;
    rwsav[kInfBound] = TalvoFloat(1e20);
    rwsav[kInfStep] = TalvoFloat(0.0);
    rwsav[kCrashTol] = TalvoFloat(0.01);
    rwsav[kLineTol] = TalvoFloat(0.9);
    rwsav[kStepLimit] = TalvoFloat(2.0);
}

} // namespace talvo::opt::saved

namespace {

std::string Lower(const char *s, int length)
{
    std::string r;
    for (int i = 0; i < length && s[i] != '\0'; ++i)
        r += char(std::tolower(static_cast<unsigned char>(s[i])));
    return r;
}

// True when word is the keyword word or a prefix of it of 3 letters or more.
bool Matches(const std::string &word, const char *keyword)
{
    const size_t k = std::strlen(keyword);
    if (word.size() > k || word.empty())
        return false;
    if (word.size() < 3 && word.size() != k)
        return false;
    return keyword[0] != '\0' && std::strncmp(word.c_str(), keyword, word.size()) == 0;
}

// What follows the keyword phrase.
enum class Kind {
    None,     // nothing
    Int,      // an integer
    Real,     // a real
    Verify,   // nothing or a qualifier (Yes, No, Objective Gradients, ...)
    YesNo,    // Yes or No
    Problem,  // FP, LP, QP1-QP4, LS1-LS4
};

// What an option sets.  The range checks live in Apply.
enum Id {
    kDefaults,
    kListOpt,
    kNolist,
    kIters,
    kMinorIters,
    kPrint,
    kMinorPrintOpt,
    kVerifyLevel,
    kVerifyWord,
    kObjStart,
    kObjStop,
    kConStart,
    kConStop,
    kOpt,
    kMinorOpt,
    kPrec,
    kLine,
    kStep,
    kEst,
    kFeas,
    kNonlinFeas,
    kInfBnd,
    kInfStp,
    kCold,
    kWarm,
    kProblemTypeOpt,
    kCrash,
    kRank,
    kExpand,
    kMaxFree,
    kStepLim,
    kDerivative,
    kDiffInt,
    kCentralInt,
    kHessian,
};

struct Option {
    const char *words[6]; // the phrase, nullptr after the last word
    Kind kind;
    Id id;
};

// The groups the routines' tables are made of.
const Option kCommon[] = {
    {{"defaults"}, Kind::None, kDefaults},
    {{"list"}, Kind::None, kListOpt},
    {{"nolist"}, Kind::None, kNolist},
    {{"iteration", "limit"}, Kind::Int, kIters},
    {{"iterations", "limit"}, Kind::Int, kIters},
    {{"iters"}, Kind::Int, kIters},
    {{"itns"}, Kind::Int, kIters},
    {{"print", "level"}, Kind::Int, kPrint},
    {{"optimality", "tolerance"}, Kind::Real, kOpt},
};

const Option kGradientMethod[] = {
    {{"verify", "level"}, Kind::Int, kVerifyLevel},
    {{"verify"}, Kind::Verify, kVerifyWord},
    {{"start", "objective", "check", "at", "variable"}, Kind::Int, kObjStart},
    {{"stop", "objective", "check", "at", "variable"}, Kind::Int, kObjStop},
    {{"function", "precision"}, Kind::Real, kPrec},
    {{"linesearch", "tolerance"}, Kind::Real, kLine},
    {{"line", "search", "tolerance"}, Kind::Real, kLine},
};

const Option kDgaOnly[] = {
    {{"maximum", "step", "length"}, Kind::Real, kStep},
    {{"estimated", "optimal", "function", "value"}, Kind::Real, kEst},
};

const Option kLinear[] = {
    {{"feasibility", "tolerance"}, Kind::Real, kFeas},
    {{"infinite", "bound", "size"}, Kind::Real, kInfBnd},
    {{"infinite", "step", "size"}, Kind::Real, kInfStp},
    {{"cold", "start"}, Kind::None, kCold},
    {{"warm", "start"}, Kind::None, kWarm},
    {{"crash", "tolerance"}, Kind::Real, kCrash},
    {{"rank", "tolerance"}, Kind::Real, kRank},
    {{"expand", "frequency"}, Kind::Int, kExpand},
};

const Option kProblemTypeWords[] = {
    {{"problem", "type"}, Kind::Problem, kProblemTypeOpt},
};

const Option kDegreesOfFreedom[] = {
    {{"maximum", "degrees", "of", "freedom"}, Kind::Int, kMaxFree},
};

const Option kSqp[] = {
    {{"major", "iteration", "limit"}, Kind::Int, kIters},
    {{"major", "iterations", "limit"}, Kind::Int, kIters},
    {{"minor", "iteration", "limit"}, Kind::Int, kMinorIters},
    {{"minor", "iterations", "limit"}, Kind::Int, kMinorIters},
    {{"major", "print", "level"}, Kind::Int, kPrint},
    {{"minor", "print", "level"}, Kind::Int, kMinorPrintOpt},
    {{"step", "limit"}, Kind::Real, kStepLim},
    {{"derivative", "level"}, Kind::Int, kDerivative},
    {{"start", "constraint", "check", "at", "variable"}, Kind::Int, kConStart},
    {{"stop", "constraint", "check", "at", "variable"}, Kind::Int, kConStop},
    {{"difference", "interval"}, Kind::Real, kDiffInt},
    {{"central", "difference", "interval"}, Kind::Real, kCentralInt},
    {{"linear", "feasibility", "tolerance"}, Kind::Real, kFeas},
    {{"nonlinear", "feasibility", "tolerance"}, Kind::Real, kNonlinFeas},
    {{"hessian"}, Kind::YesNo, kHessian},
    {{"minor", "optimality", "tolerance"}, Kind::Real, kMinorOpt},
};

using Table = std::vector<Option>;

template <size_t N> void Add(Table &t, const Option (&group)[N]) { t.insert(t.end(), group, group + N); }

// The keyword table of each routine.
const Table &TableOf(RoutineId routine)
{
    static const Table dga = [] {
        Table t;
        Add(t, kCommon);
        Add(t, kGradientMethod);
        Add(t, kDgaOnly);
        return t;
    }();
    static const Table lp = [] { // e04mfa, e04nca
        Table t;
        Add(t, kCommon);
        Add(t, kLinear);
        Add(t, kProblemTypeWords);
        return t;
    }();
    static const Table qp = [] { // e04nfa
        Table t;
        Add(t, kCommon);
        Add(t, kLinear);
        Add(t, kProblemTypeWords);
        Add(t, kDegreesOfFreedom);
        return t;
    }();
    static const Table sqp = [] { // e04uca, e04usa
        Table t;
        Add(t, kCommon);
        Add(t, kGradientMethod);
        Add(t, kLinear);
        Add(t, kSqp);
        return t;
    }();
    switch (routine) {
    case E04DGA:
        return dga;
    case E04NFA:
        return qp;
    case E04UCA:
    case E04USA:
        return sqp;
    default:
        return lp;
    }
}

bool ParseInteger(const std::string &t, Integer *v)
{
    if (t.empty() || t.size() > 16)
        return false;
    char *end = nullptr;
    long r = std::strtol(t.c_str(), &end, 10);
    if (*end != '\0')
        return false;
    *v = r;
    return true;
}

bool ParseReal(std::string t, TalvoFloat *v)
{
    if (t.empty() || t.size() > 16)
        return false;
    for (char &c : t)
        if (c == 'd')
            c = 'e';
    ALGEB h = talvo_float_parse(t.c_str(), talvo_float_precision());
    if (h == nullptr) {
        // "1" or "-3" are numbers too; "1e" is not.
        Integer i;
        if (!ParseInteger(t, &i))
            return false;
        *v = TalvoFloat(double(i));
        return true;
    }
    *v = TalvoFloat::from_handle(h);
    return true;
}

// True when the items are the qualifier phrase (each word shortened to
// three letters or more).
bool Phrase(const std::vector<std::string> &items, std::initializer_list<const char *> words)
{
    if (items.size() != words.size())
        return false;
    size_t k = 0;
    for (const char *w : words)
        if (!Matches(items[k++], w))
            return false;
    return true;
}

// The verify level a "Verify ..." qualifier names; false when it names none.
bool VerifyLevelOf(RoutineId routine, const std::vector<std::string> &q, Integer *level)
{
    const bool sqp = routine == E04UCA || routine == E04USA;
    if (q.empty() || Phrase(q, {"yes"})) {
        *level = sqp ? 3 : 1;
    } else if (Phrase(q, {"no"})) {
        *level = sqp ? -1 : 0;
    } else if (Phrase(q, {"objective", "gradients"})) {
        *level = 1;
    } else if (Phrase(q, {"gradients"})) {
        *level = sqp ? 3 : 1;
    } else if (sqp && Phrase(q, {"constraint", "gradients"})) {
        *level = 2;
    } else {
        return false;
    }
    return true;
}

// The problem types a routine accepts.
bool ProblemTypeAllowed(RoutineId routine, Integer type)
{
    switch (routine) {
    case E04MFA:
    case H02BBF:
        return type == kFP || type == kLP;
    case E04NFA:
        return type >= kQP1 && type <= kQP4;
    default:
        return type >= kFP && type <= kLS4;
    }
}

bool InUnit(const TalvoFloat &r) { return r >= TalvoFloat(0.0) && r < TalvoFloat(1.0); }

} // namespace

namespace talvo::opt::saved {

Integer set_option(RoutineId routine, const char *str, int str_length, Integer *lwsav, Integer *iwsav,
                   TalvoFloat *rwsav)
{
    if (iwsav[kMarker] != kMarkerValue || iwsav[kRoutine] != routine)
        return 1;
    std::string text = Lower(str, str_length < 72 ? str_length : 72);
    const size_t star = text.find('*');
    if (star != std::string::npos)
        text.resize(star);
    std::vector<std::string> items;
    std::string cur;
    for (char c : text) {
        if (c == ' ' || c == '=' || c == '\t') {
            if (!cur.empty())
                items.push_back(cur);
            cur.clear();
        } else {
            cur += c;
        }
    }
    if (!cur.empty())
        items.push_back(cur);
    if (items.empty())
        return 0;

    // The longest phrase that matches the leading items.
    const Option *found = nullptr;
    size_t used = 0;
    for (const Option &o : TableOf(routine)) {
        size_t k = 0;
        while (k < 6 && o.words[k] != nullptr)
            ++k;
        if (k > items.size())
            continue;
        bool ok = true;
        for (size_t j = 0; j < k && ok; ++j)
            ok = Matches(items[j], o.words[j]);
        if (ok && k > used) {
            found = &o;
            used = k;
        }
    }
    if (found == nullptr)
        return 2;
    const std::vector<std::string> rest(items.begin() + long(used), items.end());
    Integer iv = 0;
    TalvoFloat rv(0.0);
    switch (found->kind) {
    case Kind::None:
        if (!rest.empty())
            return 3;
        break;
    case Kind::Int:
        if (rest.size() != 1 || !ParseInteger(rest[0], &iv))
            return 3;
        break;
    case Kind::Real:
        if (rest.size() != 1 || !ParseReal(rest[0], &rv))
            return 3;
        break;
    case Kind::Verify:
        if (!VerifyLevelOf(routine, rest, &iv))
            return 3;
        break;
    case Kind::YesNo:
        if (Phrase(rest, {"yes"}))
            iv = 1;
        else if (Phrase(rest, {"no"}))
            iv = 0;
        else
            return 3;
        break;
    case Kind::Problem: {
        static const char *const kTypes[] = {"fp",  "lp",  "qp1", "qp2", "qp3",
                                             "qp4", "ls1", "ls2", "ls3", "ls4"};
        if (rest.size() != 1)
            return 3;
        iv = 0;
        for (Integer k = 0; k < 10; ++k)
            if (rest[0] == kTypes[k])
                iv = k + 1;
        if (iv == 0)
            return 3;
        if (!ProblemTypeAllowed(routine, iv))
            return 4;
        break;
    }
    }

    switch (found->id) {
    case kDefaults:
        set_defaults(lwsav, iwsav, rwsav, routine);
        break;
    case kListOpt:
        lwsav[kList] = 1;
        break;
    case kNolist:
        lwsav[kList] = 0;
        break;
    case kIters:
    case kMinorIters:
        if (iv < 0)
            return 4;
        iwsav[found->id == kIters ? kIterLimit : kMinorIterLimit] = iv;
        break;
    case kPrint:
        iwsav[kPrintLevel] = iv;
        break;
    case kMinorPrintOpt:
        iwsav[kMinorPrint] = iv;
        break;
    case kVerifyLevel:
        if (iv < -1 || iv > 3)
            return 4;
        iwsav[kVerify] = iv;
        break;
    case kVerifyWord:
        iwsav[kVerify] = iv;
        break;
    case kObjStart:
    case kObjStop:
    case kConStart:
    case kConStop: {
        if (iv < 1)
            return 4;
        const long slot = found->id == kObjStart  ? kCheckStart
                          : found->id == kObjStop ? kCheckStop
                          : found->id == kConStart ? kConCheckStart
                                                   : kConCheckStop;
        iwsav[slot] = iv;
        break;
    }
    case kOpt:
    case kMinorOpt:
    case kPrec:
    case kLine:
    case kFeas:
    case kNonlinFeas:
    case kCrash:
    case kRank:
    case kDiffInt:
    case kCentralInt: {
        // Tolerances and intervals: 0 <= r < 1 (0: the default).  The
        // crash tolerance may be 0 itself (no crash); the others' default
        // is derived from "Digits" when the solver runs.
        if (!InUnit(rv))
            return 4;
        long slot = kOptTol;
        switch (found->id) {
        case kMinorOpt: slot = kMinorOptTol; break;
        case kPrec: slot = kFunPrec; break;
        case kLine: slot = kLineTol; break;
        case kFeas: slot = kFeasTol; break;
        case kNonlinFeas: slot = kNonlinFeasTol; break;
        case kCrash: slot = kCrashTol; break;
        case kRank: slot = kRankTol; break;
        case kDiffInt: slot = kDiffInterval; break;
        case kCentralInt: slot = kCentralInterval; break;
        default: break;
        }
        rwsav[slot] = rv;
        break;
    }
    case kStep:
        if (!(rv > TalvoFloat(0.0)))
            return 4;
        rwsav[kMaxStep] = rv;
        break;
    case kEst:
        rwsav[kEstimate] = rv;
        lwsav[kHaveEstimate] = 1;
        break;
    case kInfBnd:
    case kInfStp:
        if (!(rv > TalvoFloat(0.0)))
            return 4;
        rwsav[found->id == kInfBnd ? kInfBound : kInfStep] = rv;
        break;
    case kCold:
    case kWarm:
        iwsav[kWarmStart] = found->id == kWarm ? 1 : 0;
        break;
    case kProblemTypeOpt:
        iwsav[kProblemType] = iv;
        break;
    case kExpand:
    case kMaxFree:
        if (iv < 1)
            return 4;
        iwsav[found->id == kExpand ? kExpandFreq : kMaxDegFree] = iv;
        break;
    case kStepLim:
        if (!(rv > TalvoFloat(0.0)))
            return 4;
        rwsav[kStepLimit] = rv;
        break;
    case kDerivative:
        if (iv < 0 || iv > 3)
            return 4;
        iwsav[kDerivLevel] = iv;
        break;
    case kHessian:
        iwsav[kHessianOpt] = iv;
        break;
    }
    return 0;
}

} // namespace talvo::opt::saved

void TalvoMP_e04wbf_(const char *rname, char * /*cwsav*/, Integer * /*lcwsav*/, Integer *lwsav, Integer *llwsav,
                     Integer *iwsav, Integer *liwsav, TalvoFloat *rwsav, Integer *lrwsav, Integer *ifail,
                     int rname_length, int /*cwsav_length*/)
{
    static const struct {
        const char *name;
        RoutineId id;
    } kNames[] = {{"e04dga", E04DGA}, {"e04mfa", E04MFA}, {"e04nca", E04NCA},
                  {"e04nfa", E04NFA}, {"e04uca", E04UCA}, {"e04usa", E04USA}};
    std::string name = Lower(rname, rname_length);
    while (!name.empty() && name.back() == ' ')
        name.pop_back();
    RoutineId id{};
    for (const auto &k : kNames)
        if (name == k.name)
            id = k.id;
    *ifail = 0;
    if (id == RoutineId{}) {
        *ifail = 1;
        return;
    }
    if (*llwsav < kTalvoOptLwsav || *liwsav < kTalvoOptIwsav || *lrwsav < kTalvoOptRwsav) {
        *ifail = 2;
        return;
    }
    set_defaults(lwsav, iwsav, rwsav, id);
    iwsav[kMarker] = kMarkerValue;
    iwsav[kRoutine] = id;
}

void TalvoMP_e04dka_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *inform,
                     int str_length)
{
    *inform = set_option(E04DGA, str, str_length, lwsav, iwsav, rwsav);
}

void TalvoMP_e04mha_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *inform,
                     int str_length)
{
    *inform = set_option(E04MFA, str, str_length, lwsav, iwsav, rwsav);
}

void TalvoMP_e04nea_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *inform,
                     int str_length)
{
    *inform = set_option(E04NCA, str, str_length, lwsav, iwsav, rwsav);
}

void TalvoMP_e04nha_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *inform,
                     int str_length)
{
    *inform = set_option(E04NFA, str, str_length, lwsav, iwsav, rwsav);
}

void TalvoMP_e04uea_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *inform,
                     int str_length)
{
    *inform = set_option(E04UCA, str, str_length, lwsav, iwsav, rwsav);
}

void TalvoMP_e04ura_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *inform,
                     int str_length)
{
    *inform = set_option(E04USA, str, str_length, lwsav, iwsav, rwsav);
}
