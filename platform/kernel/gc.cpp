// gc.cpp -- the host's memory: Boehm's collector, a counted protect table, and
// a stress mode (TALVO_GC_STRESS=N runs a full collection every N allocations).
#include "errors.hpp"
#include "object.hpp"

#include <gc.h>

#include <cstdlib>
#include <cstring>
#include <unordered_map>

namespace talvo {

namespace {

// Refuse single objects beyond this: a script asking for more gets an error,
// not an abort inside the collector.
constexpr size_t kMaxObjectBytes = size_t(1) << 36; // 64 GiB
constexpr size_t kInitialHeapBytes = size_t(16) << 20;

unsigned long g_stress_every = 0;
unsigned long g_alloc_count = 0;

// The protect table lives on the C++ heap, which the collector scans.
std::unordered_map<ALGEB, size_t> &protect_table()
{
    static auto *table = new std::unordered_map<ALGEB, size_t>();
    return *table;
}

inline void before_alloc(size_t bytes)
{
    if (bytes > kMaxObjectBytes)
        raise_plain("object too large");
    if (g_stress_every != 0 && ++g_alloc_count % g_stress_every == 0)
        GC_gcollect();
}

[[noreturn]] void out_of_memory() { raise_plain("out of memory"); }

} // namespace

void gc_init()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    GC_INIT();
    // Start with a heap of some megabytes: with the collector's tiny default
    // heap, a loop of float arithmetic triggers a collection every few
    // thousand results, which costs more than the arithmetic.
    if (std::getenv("GC_INITIAL_HEAP_SIZE") == nullptr && GC_get_heap_size() < kInitialHeapBytes)
        GC_expand_hp(kInitialHeapBytes - GC_get_heap_size());
    if (const char *s = std::getenv("TALVO_GC_STRESS")) {
        long n = std::strtol(s, nullptr, 10);
        g_stress_every = n > 0 ? static_cast<unsigned long>(n) : 0;
    }
}

void gc_collect() { GC_gcollect(); }

void *gc_alloc(size_t bytes)
{
    before_alloc(bytes);
    void *p = GC_MALLOC(bytes == 0 ? 1 : bytes); // cleared by the collector
    if (p == nullptr)
        out_of_memory();
    return p;
}

void *gc_alloc_atomic(size_t bytes)
{
    before_alloc(bytes);
    void *p = GC_MALLOC_ATOMIC(bytes == 0 ? 1 : bytes);
    if (p == nullptr)
        out_of_memory();
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

void gc_protect(ALGEB a)
{
    if (a == nullptr || is_immediate(a))
        return;
    ++protect_table()[a];
}

void gc_allow(ALGEB a)
{
    if (a == nullptr || is_immediate(a))
        return;
    auto &table = protect_table();
    auto it = table.find(a);
    if (it == table.end())
        return;
    if (--it->second == 0)
        table.erase(it);
}

size_t gc_protected_count() { return protect_table().size(); }

} // namespace talvo
