// options.cpp -- TalvoMP_e04wbf_ (save arrays at their defaults) and
// TalvoMP_e04dka_ (one option of e04dga from a string).
//
// The option grammar: one option per string of at most 72 characters; items
// separated by blanks or "="; case ignored; the text after a '*' ignored; a
// blank string accepted and ignored.  An option is a keyword phrase and,
// where it takes one, a number (an integer, or a real in the forms 1, 1.5,
// 1.5e-3, 1.5d-3).  Each word of the phrase may be shortened to its first
// three letters or more.  "Defaults" puts every option back.
#include "options.hpp"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace talvo::opt;
using namespace talvo::opt::saved;

namespace talvo::opt::saved {

void set_defaults(Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav)
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
    rwsav[kLineTol] = TalvoFloat(0.9);
    rwsav[kMaxStep] = TalvoFloat(1e20);
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

enum class Kind { None, Int, Real, Verify };

struct Option {
    const char *words[6]; // the phrase, nullptr after the last word
    Kind kind;
    int id;
};

enum {
    kDefaults,
    kListOpt,
    kNolist,
    kIters,
    kPrint,
    kVerifyLevel,
    kVerifyWord,
    kStart,
    kStop,
    kOpt,
    kPrec,
    kLine,
    kStep,
    kEst
};

const Option kOptions[] = {
    {{"defaults"}, Kind::None, kDefaults},
    {{"list"}, Kind::None, kListOpt},
    {{"nolist"}, Kind::None, kNolist},
    {{"iteration", "limit"}, Kind::Int, kIters},
    {{"iterations", "limit"}, Kind::Int, kIters},
    {{"iters"}, Kind::Int, kIters},
    {{"itns"}, Kind::Int, kIters},
    {{"print", "level"}, Kind::Int, kPrint},
    {{"verify", "level"}, Kind::Int, kVerifyLevel},
    {{"verify"}, Kind::Verify, kVerifyWord},
    {{"start", "objective", "check", "at", "variable"}, Kind::Int, kStart},
    {{"stop", "objective", "check", "at", "variable"}, Kind::Int, kStop},
    {{"optimality", "tolerance"}, Kind::Real, kOpt},
    {{"function", "precision"}, Kind::Real, kPrec},
    {{"linesearch", "tolerance"}, Kind::Real, kLine},
    {{"line", "search", "tolerance"}, Kind::Real, kLine},
    {{"maximum", "step", "length"}, Kind::Real, kStep},
    {{"estimated", "optimal", "function", "value"}, Kind::Real, kEst},
};

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

} // namespace

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
    set_defaults(lwsav, iwsav, rwsav);
    iwsav[kMarker] = kMarkerValue;
    iwsav[kRoutine] = id;
}

void TalvoMP_e04dka_(const char *str, Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *inform,
                     int str_length)
{
    *inform = 0;
    if (iwsav[kMarker] != kMarkerValue || iwsav[kRoutine] != E04DGA) {
        *inform = 1;
        return;
    }
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
        return;

    // The longest phrase that matches the leading items.
    const Option *found = nullptr;
    size_t used = 0;
    for (const Option &o : kOptions) {
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
    if (found == nullptr) {
        *inform = 2;
        return;
    }
    std::vector<std::string> rest(items.begin() + long(used), items.end());
    Integer iv = 0;
    TalvoFloat rv(0.0);
    switch (found->kind) {
    case Kind::None:
        if (!rest.empty()) {
            *inform = 3;
            return;
        }
        break;
    case Kind::Int:
        if (rest.size() != 1 || !ParseInteger(rest[0], &iv)) {
            *inform = 3;
            return;
        }
        break;
    case Kind::Real:
        if (rest.size() != 1 || !ParseReal(rest[0], &rv)) {
            *inform = 3;
            return;
        }
        break;
    case Kind::Verify: {
        std::string q;
        for (const std::string &r : rest)
            q += (q.empty() ? "" : " ") + r;
        if (q.empty() || q == "yes" || q == "objective gradients" || q == "gradients")
            iv = 1;
        else if (q == "no")
            iv = 0;
        else {
            *inform = 3;
            return;
        }
        break;
    }
    }
    switch (found->id) {
    case kDefaults:
        set_defaults(lwsav, iwsav, rwsav);
        break;
    case kListOpt:
        lwsav[kList] = 1;
        break;
    case kNolist:
        lwsav[kList] = 0;
        break;
    case kIters:
        if (iv < 0) {
            *inform = 4;
            return;
        }
        iwsav[kIterLimit] = iv;
        break;
    case kPrint:
        iwsav[kPrintLevel] = iv;
        break;
    case kVerifyLevel:
        if (iv < -1 || iv > 3) {
            *inform = 4;
            return;
        }
        iwsav[kVerify] = iv;
        break;
    case kVerifyWord:
        iwsav[kVerify] = iv;
        break;
    case kStart:
    case kStop:
        if (iv < 1) {
            *inform = 4;
            return;
        }
        iwsav[found->id == kStart ? kCheckStart : kCheckStop] = iv;
        break;
    case kOpt:
    case kPrec:
        if (rv < TalvoFloat(0.0) || !(rv < TalvoFloat(1.0))) {
            *inform = 4;
            return;
        }
        rwsav[found->id == kOpt ? kOptTol : kFunPrec] = rv;
        break;
    case kLine:
        if (rv < TalvoFloat(0.0) || !(rv < TalvoFloat(1.0))) {
            *inform = 4;
            return;
        }
        rwsav[kLineTol] = rv;
        break;
    case kStep:
        if (!(rv > TalvoFloat(0.0))) {
            *inform = 4;
            return;
        }
        rwsav[kMaxStep] = rv;
        break;
    case kEst:
        rwsav[kEstimate] = rv;
        lwsav[kHaveEstimate] = 1;
        break;
    default:
        break;
    }
}
