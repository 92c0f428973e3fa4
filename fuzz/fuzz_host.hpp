// fuzz_host.hpp -- the reference host as the fuzz targets drive it: started
// once per process, its global state put back before every input, each input
// run under a step budget and a memory ceiling.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

// Budgets of one input.  An input that exceeds one gets a host error, as a
// script would, and the next input starts afresh.
constexpr uint64_t kStepBudget = 2000000;       // evaluation steps (eval.hpp)
constexpr size_t kMemoryCeiling = size_t(64) << 20; // the host's heap

// Start the host once: collector, builtins, the statistics library found
// beside the program (or in TALVO_FUZZ_LIB), its start-up entry, and with
// `package` the statistics package.  The file builtins are then replaced by
// ones that refuse (an input must not read standard input or write files),
// and the global names are saved for begin_input.
void start(bool package);

// Put the saved global state back (every global name's value, "Digits" 10,
// the library started) and start the step budget.
void begin_input();

// Run text as the prompt does (each statement, errors reported and the next
// statement run); host errors are normal outcomes.  An input that leaves
// values protected from the collector behind, twice when run twice, aborts
// (a leak across the entry's return or error).  Standard output is
// dropped unless TALVO_FUZZ_VERBOSE is set.
void run(std::string_view text);

// TALVO_FUZZ_VERBOSE is set: show what runs and what it prints.
bool verbose();

// The library's entry names, in the order of include/stats_entries.h.
const std::vector<std::string> &entry_names();

} // namespace fuzz
