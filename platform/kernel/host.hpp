// host.hpp -- running text in the reference host: the part of the `talvo`
// program that does not depend on the terminal.
#pragma once

#include "errors.hpp"

#include <string>
#include <string_view>

namespace talvo {

// Start the host once: collector, builtins, "Digits", the float library's
// binding, the recursion guard (measured from the caller's stack position, so
// call it from main).
void host_init();

enum class RunMode {
    Script, // stop at the first error
    Prompt, // report the error and go on with the next statement
};

// Parse and run the statements of `text`, printing the value of each one
// that ends with ';'.  Errors print as "Error, (in NAME) message" on standard
// error.  Returns false when an error occurred.
bool run_text(std::string_view text, RunMode mode);

// The printed form of a host error: "Error, (in NAME) message".
std::string error_text(const HostError &e);

// What a statement ending in ';' shows: its value, "name := value" for an
// assignment, nothing for NULL.
std::string statement_display(ALGEB stmt, ALGEB value);

// The folder of the running program (from /proc/self/exe), "." when unknown:
// where a program built with the host finds the library and the package.
std::string program_folder();

} // namespace talvo
