// replay_main -- runs a fuzz target's LLVMFuzzerTestOneInput over files and
// folders of inputs, without libFuzzer: the committed corpus and the
// regression inputs are replayed by every build's tests this way (a finding
// that comes back crashes, or is reported by the sanitizers).
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv)
{
    namespace fs = std::filesystem;
    // In the collector's stress mode (a full collection every few
    // allocations) the whole corpus takes minutes: the first folder (the
    // corpus) is then replayed one input in eight, the others (the
    // regression inputs) whole.
    const bool stress = std::getenv("TALVO_GC_STRESS") != nullptr;
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        fs::path p(argv[i]);
        if (fs::is_directory(p)) {
            // A README in a folder of inputs describes it.
            std::vector<fs::path> here;
            for (const auto &e : fs::directory_iterator(p))
                if (e.is_regular_file() && !e.path().filename().string().starts_with("README"))
                    here.push_back(e.path());
            std::sort(here.begin(), here.end());
            for (size_t k = 0; k < here.size(); ++k)
                if (!stress || i > 1 || k % 8 == 0)
                    files.push_back(here[k]);
        } else if (fs::is_regular_file(p)) {
            files.push_back(p);
        } else {
            std::fprintf(stderr, "replay: no such file or folder: %s\n", argv[i]);
            return 2;
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "replay: no inputs\n");
        return 2;
    }
    LLVMFuzzerInitialize(&argc, &argv);
    for (const fs::path &f : files) {
        std::ifstream in(f, std::ios::binary);
        std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::fprintf(stderr, "replay: %s\n", f.filename().c_str());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    }
    std::printf("replay: %zu inputs run\n", files.size());
    return 0;
}
