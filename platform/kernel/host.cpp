// host.cpp -- running statements: parse, evaluate, print, report errors.
#include "host.hpp"

#include "errors.hpp"
#include "eval.hpp"
#include "object.hpp"
#include "parse.hpp"
#include "print.hpp"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <new>

namespace talvo {

namespace {

bool g_started = false;

// The same text as error_text, written in pieces: the error may be that the
// heap is at its memory ceiling with no reserve left (a statement that
// starts with the heap full of live values), where building one more string
// would be refused while the first refusal is shown, and that exception
// would leave the prompt.
void show_error(const HostError &e) noexcept
{
    std::fflush(stdout);
    if (e.where.empty())
        std::fprintf(stderr, "Error, %s\n", e.message.c_str());
    else
        std::fprintf(stderr, "Error, (in %s) %s\n", e.where.c_str(), e.message.c_str());
    std::fflush(stderr);
}

} // namespace

void host_init()
{
    if (g_started)
        return;
    g_started = true;
    gc_init();
    define_builtins();
    init_evaluator();
}

std::string error_text(const HostError &e) { return "Error, " + describe(e); }

std::string statement_display(ALGEB stmt, ALGEB value)
{
    if (type_of(stmt) == T_ASSIGN) {
        ALGEB lhs = op(stmt, 1);
        ALGEB v = eval(lhs);
        return print(lhs) + " := " + print(v);
    }
    if (is_expseq(value) && nops(value) == 0)
        return std::string();
    return print(value);
}

namespace {

bool run_statements(std::string_view text, RunMode mode)
{
    bool ok = true;
    Parser parser(text);
    for (;;) {
        ParsedStatement st;
        try {
            if (!parser.next(&st))
                break;
        } catch (HostError &e) {
            show_error(e);
            return false; // the rest of the text cannot be read reliably
        }
        try {
            gc_statement_start();
            ALGEB value = eval(st.stmt);
            if (st.print) {
                std::string s = statement_display(st.stmt, value);
                if (!s.empty()) {
                    std::fputs(s.c_str(), stdout);
                    std::fputc('\n', stdout);
                }
            }
        } catch (HostError &e) {
            show_error(e);
            ok = false;
            if (mode == RunMode::Script)
                return false;
        } catch (const std::bad_alloc &) {
            show_error(HostError{"out of memory", std::string()});
            ok = false;
            if (mode == RunMode::Script)
                return false;
        }
    }
    std::fflush(stdout);
    return ok;
}

} // namespace

bool run_text(std::string_view text, RunMode mode)
{
    // What the statements' own handlers cannot catch: a refusal while the
    // reader is set up or reads, refused again while its message was built
    // (the heap full).
    try {
        return run_statements(text, mode);
    } catch (HostError &e) {
        show_error(e);
    } catch (const std::bad_alloc &) {
        show_error(HostError{"out of memory", std::string()});
    }
    std::fflush(stdout);
    return false;
}

std::string program_folder()
{
    char buf[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0)
        return ".";
    buf[n] = '\0';
    std::string p(buf);
    size_t slash = p.rfind('/');
    return slash == std::string::npos ? "." : p.substr(0, slash);
}

} // namespace talvo
