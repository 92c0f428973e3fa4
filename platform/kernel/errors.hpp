// errors.hpp -- the host's one error type and its one throw point.
//
// A host error carries its message already formatted (%1 and %2 replaced by
// the printed forms of the values given) and the name of the procedure or
// entry it was raised in, which the caller that catches it may fill in.
// Errors unwind as C++ exceptions; the host catches them where it called a
// library entry, in TalvoTrapError, in the `try` of a script, and once per
// statement at the prompt.
#pragma once

#include "talvo_kernel.h"

#include <string>
#include <string_view>

namespace talvo {

struct HostError {
    std::string message;   // formatted
    std::string where;     // procedure or entry name; empty at top level
    bool memory = false;   // an allocation refused at the memory ceiling
    bool interrupt = false; // the user's interrupt (Ctrl-C): not trapped by try
};

// The error as a caught error's text shows it: "(in NAME) message", or the
// message alone when raised at top level.
std::string describe(const HostError &e);

// Replace %1 and %2 in `templ` by the printed forms of a1 and a2 (a null
// argument leaves its placeholder as it stands).
std::string format_message(std::string_view templ, ALGEB a1 = nullptr, ALGEB a2 = nullptr);

// The throw point: every host error is thrown here.
[[noreturn]] void raise_error(HostError e);
// A host error from a message template (at top level: no procedure name).
[[noreturn]] void raise(std::string_view templ, ALGEB a1 = nullptr, ALGEB a2 = nullptr);
[[noreturn]] void raise_plain(std::string message); // no placeholders replaced

// Interrupts.  While armed, SIGINT sets a flag that the evaluator polls at
// every statement, call and evaluation step, and the kernel operations that
// long-running library entries call often (random numbers, procedure calls,
// evaluation) poll too.  The poll raises the host error "interrupted", which
// neither try nor TalvoTrapError catches: it unwinds to the statement the
// host was running.  A second SIGINT before the first was seen (the host is
// inside work that does not poll) ends the program as an unhandled SIGINT
// does.  Disarmed (at the prompt, reading a line), SIGINT only sets the flag,
// which the prompt takes with take_interrupt.
extern volatile int g_interrupt_pending;
[[noreturn]] void raise_interrupt(); // clears the flag
inline void poll_interrupt()
{
    if (g_interrupt_pending != 0) [[unlikely]]
        raise_interrupt();
}
void install_interrupt_handler(); // once, at the prompt
void arm_interrupts(bool armed);  // clears a pending interrupt either way
bool take_interrupt();            // true once after a SIGINT; clears it

} // namespace talvo
