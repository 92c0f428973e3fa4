// api.hpp -- the kernel vector handed to libraries, and the libraries loaded.
#pragma once

#include "object.hpp"

#include <string>

namespace talvo {

// The table of kernel operations every library entry receives.
TKernelVector kernel_vector();

// Load a library; entries are looked up in it by name when a script calls an
// unassigned name.  Raises when the library cannot be opened.
void load_library(const std::string &path);
// Run the statistics library's start-up entry once (if the library has one),
// and its shut-down entry at exit.
void initialize_libraries();
void terminate_libraries();

// The library entry a name stands for, or nullptr.  Entries whose names begin
// with "sw_" or "STATS_g02" take an argument array; all others an expression
// sequence.
ALGEB resolve_external(ALGEB name);
// Call a library entry with an evaluated argument sequence.  Host errors
// raised inside the entry unwind through it (its destructors run) and come out
// naming the entry.
ALGEB call_external(ALGEB entry, ALGEB args);

} // namespace talvo
