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

} // namespace talvo
