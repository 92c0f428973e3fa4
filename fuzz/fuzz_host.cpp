// fuzz_host.cpp -- see fuzz_host.hpp.
#include "fuzz_host.hpp"

#include "api.hpp"
#include "errors.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "object.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_set>

namespace fuzz {

namespace {

struct SavedName {
    ALGEB name;
    ALGEB value;
    ALGEB builtin;
    uintptr_t flags;
};

// On the C++ heap, which the collector scans: the saved values stay alive.
std::vector<SavedName> *g_saved = nullptr;
std::unordered_set<ALGEB> *g_saved_set = nullptr;
bool g_verbose = false;
int g_null_fd = -1;
// The host's own ceiling, restored when an input ends.  Read once at start:
// reading it (the cgroup files) allocates, and at the end of an input the
// heap may still be full of the input's values under the input's ceiling.
size_t g_default_ceiling = 0;

ALGEB refuse_files(ALGEB)
{
    talvo::raise_plain("file access is turned off while fuzzing");
}

void save_globals()
{
    g_saved = new std::vector<SavedName>();
    g_saved_set = new std::unordered_set<ALGEB>();
    for (ALGEB n : talvo::all_names()) {
        talvo::NameObject *nm = talvo::as_name(n);
        g_saved->push_back({n, nm->value, nm->builtin, nm->flags});
        g_saved_set->insert(n);
    }
}

void restore_globals()
{
    for (const SavedName &s : *g_saved) {
        talvo::NameObject *nm = talvo::as_name(s.name);
        nm->value = s.value;
        nm->builtin = s.builtin;
        nm->flags = s.flags;
    }
    for (ALGEB n : talvo::all_names()) {
        if (g_saved_set->count(n) != 0)
            continue;
        talvo::NameObject *nm = talvo::as_name(n);
        nm->value = nullptr;
        nm->builtin = nullptr;
        nm->flags = 0;
    }
}

// Standard output (values, printf) goes to /dev/null while an input runs.
// Standard error stays: the sanitizers and libFuzzer report there (scripts/fuzz
// runs the targets with -close_fd_mask=3, which silences the host's error
// lines and keeps libFuzzer's own output).
struct Quiet {
    int saved_out = -1;
    Quiet()
    {
        if (g_verbose)
            return;
        std::fflush(stdout);
        saved_out = dup(1);
        dup2(g_null_fd, 1);
    }
    ~Quiet()
    {
        if (saved_out < 0)
            return;
        std::fflush(stdout);
        dup2(saved_out, 1);
        close(saved_out);
    }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;
};

} // namespace

void start(bool package)
{
    static bool started = false;
    if (started)
        return;
    started = true;
    g_verbose = std::getenv("TALVO_FUZZ_VERBOSE") != nullptr;
    g_null_fd = open("/dev/null", O_WRONLY);
    g_default_ceiling = talvo::default_memory_ceiling();
    talvo::host_init();
    const char *lib = std::getenv("TALVO_FUZZ_LIB");
    std::string path = lib != nullptr ? std::string(lib) : talvo::program_folder() + "/libstatsmp.so";
    try {
        talvo::load_library(path);
        talvo::initialize_libraries();
        if (package)
            talvo::call_by_name("read", talvo::make_string(talvo::program_folder() + "/../share/talvo/package/statistics.tv"));
    } catch (talvo::HostError &e) {
        std::fprintf(stderr, "fuzz: cannot start: %s\n", talvo::error_text(e).c_str());
        std::exit(2);
    }
    // The script tests draw smaller samples when TestSmall is set.
    talvo::run_text("TestSmall := true:", talvo::RunMode::Script);
    for (const char *name : {"read", "readfolder", "readfile", "writefile"})
        talvo::define_builtin(name, refuse_files);
    save_globals();
}

void begin_input()
{
    // The ceiling holds while an input runs (run() lifts it again): the
    // collector's heap also serves every operator new of the process, and
    // libFuzzer's own bookkeeping between inputs (its corpus, the listing of
    // its corpus folder) must not meet the host's ceiling, whose error it
    // cannot catch.
    talvo::set_memory_ceiling(kMemoryCeiling);
    restore_globals();
    talvo::set_digits(10);
    talvo::set_step_budget(0);
    talvo::gc_statement_start();
    try {
        // Terminate is an entry like any other: an input may have stopped
        // the library; every input starts with it running.
        talvo::call_by_name("STATS_StatsInitialize_MP", talvo::null_seq());
    } catch (talvo::HostError &e) {
        std::fprintf(stderr, "fuzz: the library does not start again: %s\n", talvo::error_text(e).c_str());
        std::abort();
    }
    talvo::set_step_budget(kStepBudget);
}

void run(std::string_view text)
{
    // The recursion guard measures from here: the host was started in
    // LLVMFuzzerInitialize, a call that has returned since.
    talvo::reset_stack_guard();
    size_t protected_before = talvo::gc_protected_count();
    {
        Quiet quiet;
        talvo::run_text(text, talvo::RunMode::Prompt);
    }
    talvo::set_step_budget(0);
    // Values an entry protects from the collector are released when it
    // returns or fails, except what the library keeps for good, which it
    // protects the first time only.  So an input that leaves more protected
    // values twice in a row leaks them: a finding.
    size_t after = talvo::gc_protected_count();
    if (after > protected_before) {
        begin_input();
        {
            Quiet quiet;
            talvo::run_text(text, talvo::RunMode::Prompt);
        }
        talvo::set_step_budget(0);
        if (talvo::gc_protected_count() > after) {
            std::fprintf(stderr, "fuzz: the input leaves protected values behind (%zu, then %zu, then %zu)\n",
                         protected_before, after, talvo::gc_protected_count());
            std::abort();
        }
    }
    talvo::set_memory_ceiling(g_default_ceiling);
}

bool verbose() { return g_verbose; }

const std::vector<std::string> &entry_names()
{
    static const std::vector<std::string> names = {
#include "fuzz_entry_names.inc"
    };
    return names;
}

} // namespace fuzz
