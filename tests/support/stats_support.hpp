// stats_support.hpp -- helpers for the statistics library's unit tests: the
// reference host started once with the library initialised on its kernel
// vector, entries called with arguments written in the host's language,
// "Digits" set for a scope, and a kernel vector whose random generator
// replays given integers and uniforms.
#pragma once

#include "../kernel/host_support.hpp"

#include "api.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_float.hpp"

#include <deque>
#include <string>
#include <vector>

namespace stats::test {

inline TKernelVector kv() { return talvo::kernel_vector(); }

// Sets "Digits" for one scope, as a script's assignment would.
struct DigitsScope {
    long saved;
    explicit DigitsScope(long digits) : saved(talvo::current_digits()) { talvo::set_digits(digits); }
    ~DigitsScope() { talvo::set_digits(saved); }
};

// The value of a host expression or statement sequence.
inline ALGEB eval(const std::string &text) { return talvo::test::run(text + ";"); }

inline std::string show(ALGEB a) { return talvo::print(a); }

// Calls an entry with the arguments written as host text ("0.95, 2, 3").
// A single argument is passed as a sequence of one, as the host passes it,
// so that a list argument counts as one argument.
inline ALGEB call(TalvoEntry entry, const std::string &args)
{
    if (args.empty())
        return entry(kv(), talvo::null_seq());
    ALGEB a = eval(args);
    if (!talvo::is_expseq(a))
        a = talvo::make_expseq(&a, 1);
    return entry(kv(), a);
}

// The printed result of an entry, or "Error: message" when it raises.
inline std::string result(TalvoEntry entry, const std::string &args)
{
    try {
        return show(call(entry, args));
    } catch (talvo::HostError &e) {
        return "Error: " + e.message;
    }
}

// The message of the host error that fn raises, "" when none.
template <class Fn>
std::string error_of(Fn fn)
{
    try {
        fn();
    } catch (talvo::HostError &e) {
        return e.message;
    }
    return "";
}

// A float at the current precision from decimal text (exactly rounded).
inline TalvoFloat F(const char *text) { return TalvoFloat::from_handle(talvo_float_parse(text, 0)); }

// A kernel vector that is the host's in everything but its random
// generator, which replays the integers and uniforms queued in it and counts
// what was taken.  While a ReplayStream exists, the library's random stream
// draws from it.  Drawing from an empty queue fails the test and gives 0.
class ReplayStream {
public:
    ReplayStream()
    {
        desc_ = *talvo::kernel_vector();
        desc_.RandomInt32 = &ReplayStream::Int;
        desc_.RandomSoftwareFloat01 = &ReplayStream::Uniform;
        active_ = this;
        STATS_TalvoRandomStream_MP::Initialize(&desc_);
    }
    ~ReplayStream()
    {
        STATS_TalvoRandomStream_MP::Initialize(talvo::kernel_vector());
        active_ = nullptr;
    }
    ReplayStream(const ReplayStream &) = delete;
    ReplayStream &operator=(const ReplayStream &) = delete;

    ReplayStream &ints(std::initializer_list<int32_t> v)
    {
        ints_.insert(ints_.end(), v);
        return *this;
    }
    ReplayStream &ints(const std::vector<int32_t> &v)
    {
        ints_.insert(ints_.end(), v.begin(), v.end());
        return *this;
    }
    // Uniforms as decimal text, made floats at the precision of the draw.
    ReplayStream &uniforms(std::initializer_list<const char *> v)
    {
        uniforms_.insert(uniforms_.end(), v.begin(), v.end());
        return *this;
    }
    int ints_taken() const { return ints_taken_; }
    int uniforms_taken() const { return uniforms_taken_; }
    bool exhausted() const { return ints_.empty() && uniforms_.empty(); }

private:
    static int32_t Int(TKernelVector)
    {
        ReplayStream *s = active_;
        if (s->ints_.empty()) {
            ADD_FAILURE() << "the generator asked for more integers than were given";
            return 0;
        }
        int32_t v = s->ints_.front();
        s->ints_.pop_front();
        ++s->ints_taken_;
        return v;
    }
    static ALGEB Uniform(TKernelVector)
    {
        ReplayStream *s = active_;
        if (s->uniforms_.empty()) {
            ADD_FAILURE() << "the generator asked for more uniforms than were given";
            return talvo_float_parse("0", 0);
        }
        std::string v = s->uniforms_.front();
        s->uniforms_.pop_front();
        ++s->uniforms_taken_;
        return talvo_float_parse(v.c_str(), 0);
    }

    TKernelVectorDesc desc_;
    std::deque<int32_t> ints_;
    std::deque<std::string> uniforms_;
    int ints_taken_ = 0, uniforms_taken_ = 0;
    static inline ReplayStream *active_ = nullptr;
};

} // namespace stats::test
