// gc.cpp -- the host's memory: Boehm's collector, a counted protect table, a
// stress mode (TALVO_GC_STRESS=N runs a full collection every N allocations)
// and the memory ceiling.
#include "errors.hpp"
#include "object.hpp"

#include <gc.h>
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <unordered_map>

// For the process-wide operator new (new_delete.cpp).
extern "C" void *talvo_gc_alloc_uncollectable(size_t bytes);
extern "C" void *talvo_gc_alloc_uncollectable_nothrow(size_t bytes) noexcept;

namespace talvo {

namespace {

// Refuse single objects beyond this whatever the ceiling: a script asking for
// more gets an error, not an abort inside the collector.
constexpr size_t kMaxObjectBytes = size_t(1) << 36; // 64 GiB
constexpr size_t kInitialHeapBytes = size_t(16) << 20;

unsigned long g_stress_every = 0;
unsigned long g_alloc_count = 0;
bool g_stress_paused = false;
size_t g_ceiling = 0; // 0 until gc_init

// Room kept free for the way out of a refused allocation: the error message,
// the destructors that run while the error unwinds and the printing of the
// error all allocate, while the heap is at its ceiling.  It is given back to
// the heap when an allocation is refused and taken again before the next
// statement (gc_statement_start).
constexpr size_t kReserveBytes = size_t(4) << 20;
void *g_reserve = nullptr;
bool g_refusing = false; // building the error of a refused allocation

// The protect table lives on the C++ heap, which the collector scans.
std::unordered_map<ALGEB, size_t> &protect_table()
{
    static auto *table = new std::unordered_map<ALGEB, size_t>();
    return *table;
}

// A request above the ceiling is refused before the collector sees it: the
// collector would otherwise run a full collection first, to no purpose.
inline void check_request(size_t bytes)
{
    if (bytes > kMaxObjectBytes || (g_ceiling != 0 && bytes > g_ceiling))
        refuse_allocation(bytes);
}

// Bytes allocated through gc_alloc and gc_alloc_atomic since the collector
// was last asked whether a collection is due.  Asked after every MiB, it
// collects at its own pace whatever room the heap has (the float library asks
// the same for its floats; see refill_and_take there).
size_t g_bytes_since_poll = 0;
constexpr size_t kPollBytes = size_t(1) << 20;

inline void before_alloc(size_t bytes)
{
    check_request(bytes);
    if (g_stress_every != 0 && !g_stress_paused && ++g_alloc_count % g_stress_every == 0)
        GC_gcollect();
    g_bytes_since_poll += bytes;
    if (g_bytes_since_poll >= kPollBytes) {
        g_bytes_since_poll = 0;
        GC_collect_a_little();
    }
}

// The collector returns null when the heap cannot grow within its maximum
// size, and from then on it stops collecting before it gives up (its failure
// count stays above its retry count).  So a failed request is followed by an
// explicit full collection and one more try: the memory of a computation that
// failed earlier and has since unwound is found again.
template <class Alloc> void *with_retry(size_t bytes, Alloc alloc)
{
    void *p = alloc();
    if (p == nullptr) {
        GC_gcollect();
        p = alloc();
    }
    if (p == nullptr)
        refuse_allocation(bytes);
    return p;
}

// The collector warns on standard error each time it returns null at its
// maximum heap size; the host raises its own error instead.
GC_warn_proc g_collector_warn = nullptr;
void GC_CALLBACK filter_warning(char *message, GC_word arg)
{
    if (message != nullptr && std::strstr(message, "Out of Memory") != nullptr)
        return;
    if (g_collector_warn != nullptr)
        g_collector_warn(message, arg);
}

size_t cgroup_limit()
{
    // Version 2 first, then version 1; "max" or a huge value means none.
    for (const char *path : {"/sys/fs/cgroup/memory.max", "/sys/fs/cgroup/memory/memory.limit_in_bytes"}) {
        std::ifstream in(path);
        std::string text;
        if (in >> text) {
            char *end = nullptr;
            unsigned long long v = std::strtoull(text.c_str(), &end, 10);
            if (end != text.c_str() && *end == '\0' && v > 0 && v < (1ULL << 60))
                return size_t(v);
        }
    }
    return 0;
}

// Host values are kept in C++ containers and work objects, so the C++ heap
// must be the collector's (new_delete.cpp).  A tool that puts its own
// operator new in place of the project's (valgrind's memcheck replaces the
// allocation functions of every object unless told otherwise) takes it out of
// the collector's sight, and values in use would be collected: the program
// stops at once with the reason rather than compute with freed memory.
void check_cpp_heap()
{
    int *probe = new int(0);
    bool ours = GC_is_heap_ptr(probe) != 0;
    delete probe;
    if (!ours) {
        std::fprintf(stderr, "talvo: operator new does not allocate from the collector's heap (a memory "
                             "checker or another tool replaced it); host values kept in C++ objects "
                             "would be freed while in use.  Under valgrind, add "
                             "--soname-synonyms=somalloc=nouserintercepts.\n");
        std::exit(70);
    }
}

} // namespace

void gc_init()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    GC_INIT();
    check_cpp_heap();
    // Start with a heap of some megabytes: with the collector's tiny default
    // heap, a loop of float arithmetic triggers a collection every few
    // thousand results, which costs more than the arithmetic.
    if (std::getenv("GC_INITIAL_HEAP_SIZE") == nullptr && GC_get_heap_size() < kInitialHeapBytes)
        GC_expand_hp(kInitialHeapBytes - GC_get_heap_size());
    // A collection costs some tens of microseconds however little is live
    // (the roots: the stacks and the data of every loaded library), while the
    // collector paces itself by the live data alone: with a few kilobytes
    // live it collected after every half megabyte, every 11,000 floats at
    // 15 digits, at 6 ns a float.  At least a quarter of the initial heap
    // between collections brings that under 1 ns and lets at most 4 MiB of
    // garbage wait.
    GC_set_min_bytes_allocd(kInitialHeapBytes / 4);
    if (const char *s = std::getenv("TALVO_GC_STRESS")) {
        long n = std::strtol(s, nullptr, 10);
        g_stress_every = n > 0 ? static_cast<unsigned long>(n) : 0;
    }
    g_collector_warn = GC_get_warn_proc();
    GC_set_warn_proc(filter_warning);
    set_memory_ceiling(default_memory_ceiling());
    gc_statement_start();
}

void gc_collect() { GC_gcollect(); }

void gc_stress_pause(bool paused) { g_stress_paused = paused; }

size_t memory_ceiling() { return g_ceiling; }

size_t set_memory_ceiling(size_t bytes)
{
    if (bytes < kMinMemoryCeiling)
        raise_plain("the memory ceiling must be at least " + memory_size_text(kMinMemoryCeiling) + ", received " +
                    std::to_string(bytes) + " bytes");
    size_t previous = g_ceiling;
    g_ceiling = bytes;
    GC_set_max_heap_size(bytes);
    return previous;
}

size_t default_memory_ceiling()
{
    long pages = sysconf(_SC_PHYS_PAGES), page = sysconf(_SC_PAGESIZE);
    size_t physical = pages > 0 && page > 0 ? size_t(pages) * size_t(page) : size_t(4) << 30;
    size_t limit = cgroup_limit();
    if (limit != 0 && limit < physical)
        physical = limit;
    size_t ceiling = physical / 4 * 3;
    return ceiling < kMinMemoryCeiling ? kMinMemoryCeiling : ceiling;
}

bool parse_memory_size(std::string_view text, size_t *bytes)
{
    std::string s(text);
    if (s.empty() || !(std::isdigit(static_cast<unsigned char>(s[0])) || s[0] == '.'))
        return false;
    char *end = nullptr;
    double v = std::strtod(s.c_str(), &end);
    double unit = 1;
    std::string rest(end);
    if (rest == "" || rest == "B" || rest == "b")
        unit = 1;
    else if (rest == "k" || rest == "K" || rest == "KB" || rest == "KiB")
        unit = 1024.0;
    else if (rest == "m" || rest == "M" || rest == "MB" || rest == "MiB")
        unit = 1024.0 * 1024;
    else if (rest == "g" || rest == "G" || rest == "GB" || rest == "GiB")
        unit = 1024.0 * 1024 * 1024;
    else if (rest == "t" || rest == "T" || rest == "TB" || rest == "TiB")
        unit = 1024.0 * 1024 * 1024 * 1024;
    else
        return false;
    double b = std::floor(v * unit);
    if (!(b >= 0) || b >= 18446744073709551616.0 || b > double(SIZE_MAX))
        return false;
    *bytes = size_t(b);
    return true;
}

std::string memory_size_text(size_t bytes)
{
    const char *units[] = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024)
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    double v = double(bytes);
    int u = -1;
    while (v >= 1024 && u < 3) {
        v /= 1024;
        ++u;
    }
    char buf[32];
    std::snprintf(buf, sizeof buf, v < 10 && v != std::floor(v) ? "%.1f %s" : "%.0f %s", v, units[u]);
    return buf;
}

void refuse_allocation(size_t bytes)
{
    // An allocation refused while the message of another is being built: no
    // room even in the reserve.  The host reports a plain "out of memory".
    if (g_refusing)
        throw std::bad_alloc();
    g_refusing = true;
    struct Done {
        ~Done() { g_refusing = false; }
    } done;
    if (g_reserve != nullptr) {
        GC_FREE(g_reserve);
        g_reserve = nullptr;
    }
    HostError e;
    e.message = "cannot allocate " + std::to_string(bytes) + " bytes: ";
    if (bytes > kMaxObjectBytes)
        e.message += "one object may take at most " + memory_size_text(kMaxObjectBytes);
    else
        e.message += "that would take the heap past its memory ceiling of " + memory_size_text(g_ceiling) +
                     " (raise it with memoryceiling or talvo --memory-ceiling)";
    e.memory = true;
    raise_error(std::move(e));
}

void gc_statement_start()
{
    if (g_reserve != nullptr)
        return;
    g_reserve = GC_MALLOC_ATOMIC_UNCOLLECTABLE(kReserveBytes);
    if (g_reserve == nullptr) {
        GC_gcollect();
        g_reserve = GC_MALLOC_ATOMIC_UNCOLLECTABLE(kReserveBytes);
    }
}

} // namespace talvo

extern "C" void *talvo_gc_alloc_uncollectable(size_t bytes)
{
    using namespace talvo;
    check_request(bytes);
    size_t n = bytes == 0 ? 1 : bytes;
    return with_retry(bytes, [n] { return GC_MALLOC_UNCOLLECTABLE(n); });
}

extern "C" void *talvo_gc_alloc_uncollectable_nothrow(size_t bytes) noexcept
{
    using namespace talvo;
    size_t n = bytes == 0 ? 1 : bytes;
    if (n > kMaxObjectBytes || (g_ceiling != 0 && n > g_ceiling))
        return nullptr;
    void *p = GC_MALLOC_UNCOLLECTABLE(n);
    if (p == nullptr) {
        GC_gcollect();
        p = GC_MALLOC_UNCOLLECTABLE(n);
    }
    return p;
}

namespace talvo {

void *gc_alloc(size_t bytes)
{
    before_alloc(bytes);
    size_t n = bytes == 0 ? 1 : bytes;
    return with_retry(bytes, [n] { return GC_MALLOC(n); }); // cleared by the collector
}

void *gc_alloc_atomic(size_t bytes)
{
    before_alloc(bytes);
    size_t n = bytes == 0 ? 1 : bytes;
    void *p = with_retry(bytes, [n] { return GC_MALLOC_ATOMIC(n); });
    std::memset(p, 0, bytes);
    return p;
}

ALGEB new_node(Type t, size_t n)
{
    if (n > kLengthMask)
        raise_plain("object too large");
    auto *node = static_cast<Node *>(gc_alloc(sizeof(uintptr_t) + n * sizeof(ALGEB)));
    node->header = make_header(t, n);
    return reinterpret_cast<ALGEB>(node);
}

ALGEB new_node(Type t, std::initializer_list<ALGEB> ops)
{
    ALGEB node = new_node(t, ops.size());
    size_t i = 1;
    for (ALGEB a : ops)
        set_op(node, i++, a);
    return node;
}

// Protects not yet matched by an allow, over all values.
long g_protect_balance = 0;

void gc_protect(ALGEB a)
{
    if (a == nullptr || is_immediate(a))
        return;
    ++protect_table()[a];
    ++g_protect_balance;
}

void gc_allow(ALGEB a)
{
    if (a == nullptr || is_immediate(a))
        return;
    auto &table = protect_table();
    auto it = table.find(a);
    if (it == table.end())
        return;
    --g_protect_balance;
    if (--it->second == 0)
        table.erase(it);
}

size_t gc_protected_count() { return protect_table().size(); }

long gc_protect_balance() { return g_protect_balance; }

} // namespace talvo
