// errors.cpp -- formatting of host error messages and the one throw point.
#include "errors.hpp"

#include "print.hpp"

#include <csignal>

namespace talvo {

std::string format_message(std::string_view templ, ALGEB a1, ALGEB a2)
{
    std::string out;
    out.reserve(templ.size() + 16);
    for (size_t i = 0; i < templ.size(); ++i) {
        if (templ[i] == '%' && i + 1 < templ.size() && (templ[i + 1] == '1' || templ[i + 1] == '2')) {
            ALGEB a = templ[i + 1] == '1' ? a1 : a2;
            if (a != nullptr) {
                out += print(a);
                ++i;
                continue;
            }
        }
        out += templ[i];
    }
    return out;
}

std::string describe(const HostError &e)
{
    return e.where.empty() ? e.message : "(in " + e.where + ") " + e.message;
}

void raise_error(HostError e) { throw e; }

void raise(std::string_view templ, ALGEB a1, ALGEB a2)
{
    raise_error(HostError{format_message(templ, a1, a2), std::string()});
}

void raise_plain(std::string message) { raise_error(HostError{std::move(message), std::string()}); }

volatile int g_interrupt_pending = 0;

namespace {

volatile std::sig_atomic_t g_interrupts_armed = 0;

extern "C" void on_interrupt(int)
{
    if (g_interrupts_armed == 0) {
        g_interrupt_pending = 1; // seen by the prompt (take_interrupt), not polled
        return;
    }
    if (g_interrupt_pending != 0) {
        // The first interrupt was never seen: the host is stuck in work that
        // does not poll.  End the program the way SIGINT would.
        std::signal(SIGINT, SIG_DFL);
        std::raise(SIGINT);
        return;
    }
    g_interrupt_pending = 1;
}

} // namespace

void raise_interrupt()
{
    g_interrupt_pending = 0;
    HostError e{"interrupted", std::string()};
    e.interrupt = true;
    raise_error(std::move(e));
}

void install_interrupt_handler()
{
    struct sigaction sa {};
    sa.sa_handler = on_interrupt;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    sigaction(SIGINT, &sa, nullptr);
}

bool take_interrupt()
{
    bool seen = g_interrupt_pending != 0;
    g_interrupt_pending = 0;
    return seen;
}

void arm_interrupts(bool armed)
{
    g_interrupts_armed = armed ? 1 : 0;
    g_interrupt_pending = 0;
}

} // namespace talvo
