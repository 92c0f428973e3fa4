// replay_main -- runs a fuzz target's LLVMFuzzerTestOneInput without
// libFuzzer, in every build (gcc included), two ways:
//
//   fuzz_TARGET_replay PATH...
//       every file of the folders and files given, in order: the committed
//       corpus and the regression inputs are replayed by every build's tests
//       this way (a finding that comes back crashes, or is reported by the
//       sanitizers);
//   fuzz_TARGET_replay --mutate SECONDS [--seed N] [--dict FILE] PATH...
//       a smoke run: for SECONDS, inputs made by mutating the given ones
//       (bit flips, interesting bytes, insertions, deletions, copies,
//       splices of two inputs, dictionary tokens), each run in turn.  It is
//       blind (no coverage feedback; scripts/fuzz runs the coverage-guided
//       campaigns with libFuzzer), so it finds what lies a few mutations
//       from the corpus.  The run is determined by the seed; a failing input
//       is written to fuzz-smoke-failure.bin in the working folder and
//       printed on standard error before the program dies.
#include "fuzz_host.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>
#include <vector>


extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);


namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<uint8_t>;

// Inputs longer than this are not made (the targets refuse longer ones).
constexpr size_t kMaxMutated = 4096;
// An input running longer than this is a finding (a hang).
constexpr unsigned kInputSeconds = 60;

Bytes read_file(const fs::path &f)
{
    std::ifstream in(f, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// The input being run in the smoke run, for the failure report; written
// before each run, read only by the report.
Bytes g_current;
volatile sig_atomic_t g_reported = 0;
// Where the smoke run reports: the descriptor of standard error.
const int g_report_fd = 2;
// Set while an input of the smoke run runs: an exit then is a finding too.
volatile sig_atomic_t g_in_input = 0;

void write_all(int fd, const void *p, size_t n)
{
    const char *c = static_cast<const char *>(p);
    while (n > 0) {
        ssize_t w = ::write(fd, c, n);
        if (w <= 0)
            return;
        c += w;
        n -= size_t(w);
    }
}

// Writes the current input to fuzz-smoke-failure.bin and to standard error,
// bytes outside printable ASCII as \xNN.  Called as the program dies (from a
// signal handler or the sanitizer's death callback): only write(2).
void report_current()
{
    if (g_reported)
        return;
    g_reported = 1;
    const int fd2 = g_report_fd;
    const char *head = "\nfuzz smoke: the failing input (also in fuzz-smoke-failure.bin):\n";
    write_all(fd2, head, std::strlen(head));
    char buf[8];
    for (uint8_t b : g_current) {
        if (b == '\\') {
            write_all(fd2, "\\\\", 2);
        } else if ((b >= 32 && b < 127) || b == '\n') {
            write_all(fd2, &b, 1);
        } else {
            static const char hex[] = "0123456789abcdef";
            buf[0] = '\\', buf[1] = 'x', buf[2] = hex[b >> 4], buf[3] = hex[b & 15];
            write_all(fd2, buf, 4);
        }
    }
    write_all(fd2, "\n", 1);
    int fd = ::open("fuzz-smoke-failure.bin", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd >= 0) {
        write_all(fd, g_current.data(), g_current.size());
        ::close(fd);
    }
}

extern "C" void on_fatal_signal(int sig)
{
    if (sig == SIGALRM) {
        const char *m = "\nfuzz smoke: an input ran longer than the time allowed (a hang)\n";
        write_all(g_report_fd, m, std::strlen(m));
    } else {
        const char *m = "\nfuzz smoke: the program is dying of a signal or a sanitizer report\n";
        write_all(g_report_fd, m, std::strlen(m));
    }
    report_current();
    std::signal(sig == SIGALRM ? SIGABRT : sig, SIG_DFL);
    std::raise(sig == SIGALRM ? SIGABRT : sig);
}

// libFuzzer's dictionary format: one token a line, in double quotes, with
// \\, \" and \xNN escapes; lines starting with # are comments.
std::vector<Bytes> read_dictionary(const char *path)
{
    std::vector<Bytes> tokens;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        size_t q = line.find('"');
        size_t e = line.rfind('"');
        if (line.empty() || line[0] == '#' || q == std::string::npos || e <= q)
            continue;
        Bytes t;
        for (size_t i = q + 1; i < e; ++i) {
            if (line[i] == '\\' && i + 1 < e) {
                char c = line[++i];
                if (c == 'x' && i + 2 < e) {
                    t.push_back(uint8_t(std::stoi(line.substr(i + 1, 2), nullptr, 16)));
                    i += 2;
                } else {
                    t.push_back(uint8_t(c));
                }
            } else {
                t.push_back(uint8_t(line[i]));
            }
        }
        if (!t.empty())
            tokens.push_back(std::move(t));
    }
    return tokens;
}

class Mutator {
public:
    Mutator(uint64_t seed, const std::vector<Bytes> &pool, const std::vector<Bytes> &dict)
        : m_rng(seed), m_pool(pool), m_dict(dict)
    {
    }

    // One to five mutations of a corpus input chosen at random.
    Bytes next()
    {
        Bytes x = m_pool[below(m_pool.size())];
        int k = 1 + int(below(5));
        for (int i = 0; i < k; ++i)
            mutate(x);
        if (x.size() > kMaxMutated)
            x.resize(kMaxMutated);
        return x;
    }

private:
    size_t below(size_t n) { return n == 0 ? 0 : size_t(m_rng() % n); }

    void mutate(Bytes &x)
    {
        static const uint8_t interesting[] = {0, 1, 2, 7, 8, 15, 16, 31, 32, 47, 48, 63, 64, 127, 128, 200,
                                              250, 254, 255, '0', '1', '9', '-', '.', 'e', ';', ':', '(', ')',
                                              '[', ']', ',', '"', '\n', ' '};
        switch (below(x.empty() ? 3 : 9)) {
        case 0: { // insert one to four random bytes
            size_t at = below(x.size() + 1), n = 1 + below(4);
            for (size_t i = 0; i < n; ++i)
                x.insert(x.begin() + long(at), uint8_t(m_rng()));
            break;
        }
        case 1: // insert a dictionary token, or an interesting byte
            if (!m_dict.empty()) {
                const Bytes &t = m_dict[below(m_dict.size())];
                x.insert(x.begin() + long(below(x.size() + 1)), t.begin(), t.end());
            } else {
                x.insert(x.begin() + long(below(x.size() + 1)), interesting[below(sizeof interesting)]);
            }
            break;
        case 2: { // splice: a prefix of this input and a suffix of another
            const Bytes &o = m_pool[below(m_pool.size())];
            size_t cut = below(x.size() + 1), from = below(o.size() + 1);
            x.resize(cut);
            x.insert(x.end(), o.begin() + long(from), o.end());
            break;
        }
        case 3: x[below(x.size())] ^= uint8_t(1u << below(8)); break;
        case 4: x[below(x.size())] = uint8_t(m_rng()); break;
        case 5: x[below(x.size())] = interesting[below(sizeof interesting)]; break;
        case 6: { // delete one to eight bytes
            size_t at = below(x.size()), n = std::min(x.size() - at, 1 + below(8));
            x.erase(x.begin() + long(at), x.begin() + long(at + n));
            break;
        }
        case 7: { // copy a piece of the input over another place in it
            size_t from = below(x.size()), n = 1 + below(std::min<size_t>(16, x.size() - from));
            size_t to = below(x.size());
            Bytes piece(x.begin() + long(from), x.begin() + long(from + n));
            x.insert(x.begin() + long(to), piece.begin(), piece.end());
            break;
        }
        default: { // add or subtract a small number from a byte
            uint8_t &b = x[below(x.size())];
            b = uint8_t(b + (below(2) ? 1 : -1) * int(1 + below(4)));
            break;
        }
        }
    }

    std::mt19937_64 m_rng;
    const std::vector<Bytes> &m_pool;
    const std::vector<Bytes> &m_dict;
};

// Each sanitizer runtime in the process (gcc links AddressSanitizer's and
// UndefinedBehaviorSanitizer's as two libraries, each with its own settings)
// is told to call report_current before the program dies: UndefinedBehavior-
// Sanitizer ends the program with _exit, which no atexit handler sees.
int hook_sanitizer_runtime(struct dl_phdr_info *info, size_t, void *)
{
    const char *name = info->dlpi_name;
    if (name == nullptr || std::strstr(name, "san") == nullptr)
        return 0;
    void *h = dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
    if (h == nullptr)
        return 0;
    using SetDeath = void (*)(void (*)(void));
    if (auto set_death = reinterpret_cast<SetDeath>(dlsym(h, "__sanitizer_set_death_callback")))
        set_death(report_current);
    dlclose(h);
    return 0;
}

void on_exit_during_input()
{
    if (!g_in_input)
        return;
    const char *m = "\nfuzz smoke: the program exited while an input ran\n";
    write_all(g_report_fd, m, std::strlen(m));
    report_current();
}

int usage()
{
    std::fprintf(stderr, "usage: replay PATH...\n       replay --mutate SECONDS [--seed N] [--dict FILE] PATH...\n");
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    double mutate_seconds = -1;
    uint64_t seed = 20261126;
    const char *dict_path = nullptr;
    std::vector<fs::path> paths;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--mutate" || a == "--seed" || a == "--dict") {
            if (i + 1 >= argc)
                return usage();
            const char *v = argv[++i];
            if (a == "--mutate")
                mutate_seconds = std::atof(v);
            else if (a == "--seed")
                seed = std::strtoull(v, nullptr, 10);
            else
                dict_path = v;
        } else if (a.starts_with("--")) {
            return usage();
        } else {
            paths.emplace_back(a);
        }
    }
    // In the collector's stress mode (a full collection every few
    // allocations) the whole corpus takes minutes: the first folder (the
    // corpus) is then replayed one input in eight, the others (the
    // regression inputs) whole.
    const bool stress = std::getenv("TALVO_GC_STRESS") != nullptr && mutate_seconds < 0;
    std::vector<fs::path> files;
    for (size_t i = 0; i < paths.size(); ++i) {
        const fs::path &p = paths[i];
        if (fs::is_directory(p)) {
            // A README in a folder of inputs describes it.
            std::vector<fs::path> here;
            for (const auto &e : fs::directory_iterator(p))
                if (e.is_regular_file() && !e.path().filename().string().starts_with("README"))
                    here.push_back(e.path());
            std::sort(here.begin(), here.end());
            for (size_t k = 0; k < here.size(); ++k)
                if (!stress || i > 0 || k % 8 == 0)
                    files.push_back(here[k]);
        } else if (fs::is_regular_file(p)) {
            files.push_back(p);
        } else {
            std::fprintf(stderr, "replay: no such file or folder: %s\n", p.c_str());
            return 2;
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "replay: no inputs\n");
        return 2;
    }
    LLVMFuzzerInitialize(&argc, &argv);
    if (mutate_seconds < 0) {
        for (const fs::path &f : files) {
            Bytes bytes = read_file(f);
            std::fprintf(stderr, "replay: %s\n", f.filename().c_str());
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        }
        // Between inputs the program's own allocations (libFuzzer's
        // bookkeeping, in a campaign) are not held to an input's memory
        // ceiling: operator new serves them from the collector's heap too, and
        // the host's error at the ceiling is nothing libFuzzer can catch.
        try {
            std::vector<char> block(2 * fuzz::kMemoryCeiling, 1);
            if (block.back() != 1)
                return 1;
        } catch (...) {
            std::fprintf(stderr, "replay: a block of %zu bytes was refused after the inputs: an input's memory "
                                 "ceiling outlived it\n",
                         2 * fuzz::kMemoryCeiling);
            return 1;
        }
        std::printf("replay: %zu inputs run\n", files.size());
        return 0;
    }

    std::vector<Bytes> pool;
    for (const fs::path &f : files)
        pool.push_back(read_file(f));
    std::vector<Bytes> dict;
    if (dict_path != nullptr)
        dict = read_dictionary(dict_path);
    for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM})
        std::signal(sig, on_fatal_signal);
    // The inputs' own messages (host errors, thousands a second) go through
    // the C library's stderr, which is sent to /dev/null; the descriptor 2
    // stays as it was, for the sanitizers' reports and for ours.
    if (std::getenv("TALVO_FUZZ_VERBOSE") == nullptr) {
        std::fflush(stderr);
        if (FILE *null_file = std::fopen("/dev/null", "w"))
            stderr = null_file;
    }
    dl_iterate_phdr(hook_sanitizer_runtime, nullptr);
    std::atexit(on_exit_during_input);
    Mutator mutator(seed, pool, dict);
    const auto start = std::chrono::steady_clock::now();
    unsigned long runs = 0;
    for (;;) {
        double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (elapsed >= mutate_seconds)
            break;
        g_current = mutator.next();
        alarm(kInputSeconds);
        g_in_input = 1;
        LLVMFuzzerTestOneInput(g_current.data(), g_current.size());
        g_in_input = 0;
        alarm(0);
        ++runs;
    }
    double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("fuzz smoke: %lu mutated inputs from %zu seeds in %.0f s (seed %llu), no failure\n", runs,
                pool.size(), elapsed, static_cast<unsigned long long>(seed));
    return 0;
}
