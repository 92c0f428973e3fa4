// api.hpp -- the kernel vector handed to libraries, and the libraries loaded.
#pragma once

#include "object.hpp"

#include <string>
#include <string_view>
#include <vector>

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

// True for a "STATS_" or "sw_" name that no loaded library exports (never
// true while no library is loaded).
bool is_missing_entry(ALGEB name);
// The exported entry names nearest to `name` by edit distance, closest first,
// at most `most` of them and only those a few edits away.
std::vector<std::string> nearest_entries(std::string_view name, size_t most);
// Raise "NAME is not an entry of the loaded library; did you mean ...?".
[[noreturn]] void raise_missing_entry(ALGEB name);

} // namespace talvo
