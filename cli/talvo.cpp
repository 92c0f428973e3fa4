// talvo -- the reference host as a program: runs a script file, statements
// given with -e, or an interactive prompt with line editing and history.
//
// It loads the statistics library (libstatsmp.so beside the program, or the
// libraries named with --lib), starts it once before the first statement and
// shuts it down at exit.  Then it reads the statistics package (the commands
// people use: Normal, CDF, Mean, Plot, help, ...) from
// share/talvo/package/statistics.tv beside the program's folder, unless told
// not to.
#include "api.hpp"
#include "errors.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "parse.hpp"

#include <editline/readline.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char *const kUsage =
    "usage: talvo [options] [script]\n"
    "\n"
    "Runs the statements of a script file, of the -e options, or of standard\n"
    "input; with no script and a terminal on standard input, an interactive\n"
    "prompt with line editing and history.\n"
    "\n"
    "options:\n"
    "  -e STATEMENTS   run these statements (may be repeated)\n"
    "  --lib PATH      load this library instead of libstatsmp.so beside the\n"
    "                  program (may be repeated)\n"
    "  --no-lib        load no library (and so no statistics package)\n"
    "  --no-package    do not read the statistics package at start (it can be\n"
    "                  read later with: read \"PATH/package/statistics.tv\")\n"
    "  --memory-ceiling SIZE\n"
    "                  the most memory the host's heap may take, in bytes or\n"
    "                  with a unit: 200M, 1.5G (powers of 1024); an allocation\n"
    "                  beyond it is an error.  Default: three quarters of the\n"
    "                  physical memory (or of the control group's limit)\n"
    "  -q              no banner at the prompt\n"
    "  -h, --help      this text\n"
    "\n"
    "Each statement ending with ';' prints its value; one ending with ':'\n"
    "prints nothing.  A script stops at its first error, and the exit status\n"
    "is then 1.\n";

bool read_file(const std::string &path, std::string *out)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    *out = ss.str();
    return true;
}

int prompt(bool quiet)
{
    if (!quiet)
        std::printf("talvo reference host; end statements with ';' or ':', ?topic for help, quit with Ctrl-D\n");
    using_history();
    // Ctrl-C during a statement stops it with the error "interrupted" and
    // the prompt comes back; at the prompt itself it drops the line typed.
    talvo::install_interrupt_handler();
    std::string pending;
    for (;;) {
        talvo::take_interrupt();
        char *line = readline(pending.empty() ? "> " : "  ");
        if (line == nullptr && talvo::take_interrupt()) {
            // Ctrl-C while reading a line: the line editor gives up the line;
            // drop what was typed of the statement and prompt again.
            std::printf("\n");
            pending.clear();
            continue;
        }
        if (line == nullptr) {
            std::printf("\n");
            break;
        }
        if (pending.empty() && std::strspn(line, " \t") == std::strlen(line)) {
            std::free(line);
            continue;
        }
        pending += line;
        pending += '\n';
        if (*line != '\0')
            add_history(line);
        std::free(line);
        if (!talvo::input_complete(pending))
            continue;
        talvo::arm_interrupts(true);
        talvo::run_text(pending, talvo::RunMode::Prompt);
        talvo::arm_interrupts(false);
        pending.clear();
    }
    return 0;
}

// The statistics package that the program reads at start: beside the
// program's folder, in share/talvo/package/ (the build tree and an installed
// tree have the same shape).
std::string package_file() { return talvo::program_folder() + "/../share/talvo/package/statistics.tv"; }

// Reads the package; a failure is reported and the program goes on without it.
void load_package(const std::string &path)
{
    try {
        talvo::call_by_name("read", talvo::make_string(path));
    } catch (talvo::HostError &e) {
        std::fprintf(stderr, "talvo: the statistics package %s could not be read: %s\n", path.c_str(),
                     talvo::error_text(e).c_str());
    }
}

bool check_protect_balance()
{
    const char *v = std::getenv("TALVO_CHECK_PROTECT");
    if (v != nullptr && *v != '\0')
        return std::strcmp(v, "0") != 0;
#ifdef NDEBUG
    return false;
#else
    return true;
#endif
}

} // namespace

int main(int argc, char **argv)
{
    talvo::host_init();

    std::vector<std::string> statements, libs;
    std::string script;
    bool no_lib = false, no_package = false, quiet = false;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "-h" || a == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (a == "-e" && i + 1 < argc) {
            statements.push_back(argv[++i]);
        } else if (a == "--lib" && i + 1 < argc) {
            libs.push_back(argv[++i]);
        } else if ((a == "--memory-ceiling" && i + 1 < argc) || a.starts_with("--memory-ceiling=")) {
            std::string size = a == "--memory-ceiling" ? argv[++i] : a.substr(std::strlen("--memory-ceiling="));
            size_t bytes = 0;
            if (!talvo::parse_memory_size(size, &bytes) || bytes < talvo::kMinMemoryCeiling) {
                std::fprintf(stderr, "talvo: --memory-ceiling expects a size of at least %s, such as 200M or 2G\n",
                             talvo::memory_size_text(talvo::kMinMemoryCeiling).c_str());
                return 2;
            }
            talvo::set_memory_ceiling(bytes);
        } else if (a == "--no-lib") {
            no_lib = true;
        } else if (a == "--no-package") {
            no_package = true;
        } else if (a == "-q") {
            quiet = true;
        } else if (!a.empty() && a[0] == '-' && a != "-") {
            std::fprintf(stderr, "talvo: unknown option %s\n%s", a.c_str(), kUsage);
            return 2;
        } else if (script.empty()) {
            script = a;
        } else {
            std::fprintf(stderr, "talvo: only one script file may be given\n");
            return 2;
        }
    }

    try {
        if (!no_lib) {
            if (libs.empty()) {
                std::string beside = talvo::program_folder() + "/libstatsmp.so";
                if (access(beside.c_str(), R_OK) == 0)
                    libs.push_back(beside);
            }
            for (const std::string &l : libs)
                talvo::load_library(l);
        }
        talvo::initialize_libraries();
    } catch (talvo::HostError &e) {
        std::fprintf(stderr, "%s\n", talvo::error_text(e).c_str());
        return 1;
    }
    // The package's commands call the statistics library's entries: without
    // a library there is no package.
    // In the collector's stress mode the package's source is read without
    // the forced collections, unless TALVO_GC_STRESS_STARTUP is set: reading
    // it runs the same parser and evaluator as every script, under a live
    // heap that grows as it goes, and stressed it costs seconds in every
    // run.  The test suite stresses the start in one test of its own.
    if (!no_lib && !no_package && access(package_file().c_str(), R_OK) == 0) {
        talvo::gc_stress_pause(std::getenv("TALVO_GC_STRESS_STARTUP") == nullptr);
        load_package(package_file());
        talvo::gc_stress_pause(false);
    }

    // The values the library and the package keep protected for the whole
    // run; at exit no other value may still be protected (checked in debug
    // builds, and in any build with TALVO_CHECK_PROTECT=1).  Values are
    // counted, not protects: the library's initialisation protects the name
    // "evalf" for good each time it runs, which leaks nothing.
    const long protect_start = long(talvo::gc_protected_count());

    int status = 0;
    if (!statements.empty() || !script.empty()) {
        for (const std::string &s : statements)
            if (!talvo::run_text(s, talvo::RunMode::Script)) {
                status = 1;
                break;
            }
        if (status == 0 && !script.empty()) {
            std::string text;
            if (script == "-") {
                std::ostringstream ss;
                ss << std::cin.rdbuf();
                text = ss.str();
            } else if (!read_file(script, &text)) {
                std::fprintf(stderr, "talvo: cannot read %s\n", script.c_str());
                status = 2;
            }
            if (status == 0 && !talvo::run_text(text, talvo::RunMode::Script))
                status = 1;
        }
    } else if (isatty(0)) {
        status = prompt(quiet);
    } else {
        std::ostringstream ss;
        ss << std::cin.rdbuf();
        if (!talvo::run_text(ss.str(), talvo::RunMode::Script))
            status = 1;
    }
    try {
        talvo::terminate_libraries();
    } catch (talvo::HostError &e) {
        std::fprintf(stderr, "%s\n", talvo::error_text(e).c_str());
        status = status == 0 ? 1 : status;
    }
    if (check_protect_balance()) {
        long left = long(talvo::gc_protected_count()) - protect_start;
        if (left != 0) {
            std::fflush(stdout);
            std::fprintf(stderr, "talvo: %ld value%s protected by the library still protected at exit\n", left,
                         left == 1 ? "" : "s");
            status = 3;
        }
    }
    std::fflush(stdout);
    return status;
}
