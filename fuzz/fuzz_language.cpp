// fuzz_language -- the input is a script: parsed and run by the host (with the
// statistics library and its package loaded) as the prompt runs it, under
// the step budget and memory ceiling of fuzz_host.hpp.  Host errors are normal
// outcomes; a crash, a sanitizer report, an abort or a hang is a finding.
#include "fuzz_host.hpp"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {
// Longer inputs add little the mutator cannot reach with short ones.
constexpr size_t kMaxInput = 4096;
} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::start(/*package=*/true);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > kMaxInput)
        return -1; // not added to the corpus
    fuzz::begin_input();
    fuzz::run(std::string_view(reinterpret_cast<const char *>(data), size));
    return 0;
}
