// new_delete.cpp -- the process-wide operator new and delete.
//
// Host values may be kept in C++ heap objects and containers (a vector of
// TalvoFloat, a library's work object), so the C++ heap must be visible to the
// collector: every operator new takes uncollectable memory from it, which it
// scans like a root, and operator delete gives it back.  Linked into every
// program of the project, so it takes precedence over any other definition.
#include <gc.h>

#include <cstddef>
#include <cstdint>
#include <new>

// The host's allocation within its memory ceiling (gc.cpp), which raises a
// host error naming the size when the ceiling is reached (an exception like
// any other to the containers that call operator new).  Programs linked
// without the host (the float and numerics tests) fall back to the collector
// directly.
extern "C" void *talvo_gc_alloc_uncollectable(std::size_t bytes) __attribute__((weak));
extern "C" void *talvo_gc_alloc_uncollectable_nothrow(std::size_t bytes) noexcept __attribute__((weak));

namespace {

void *allocate(std::size_t n)
{
    if (talvo_gc_alloc_uncollectable != nullptr)
        return talvo_gc_alloc_uncollectable(n);
    void *p = GC_MALLOC_UNCOLLECTABLE(n == 0 ? 1 : n);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}

void *allocate_nothrow(std::size_t n) noexcept
{
    if (talvo_gc_alloc_uncollectable_nothrow != nullptr)
        return talvo_gc_alloc_uncollectable_nothrow(n);
    return GC_MALLOC_UNCOLLECTABLE(n == 0 ? 1 : n);
}

// Aligned forms keep the start of the block just before the aligned pointer.
void *allocate_aligned(std::size_t n, std::align_val_t al)
{
    std::size_t a = static_cast<std::size_t>(al);
    if (a <= alignof(std::max_align_t))
        return allocate(n);
    char *base = static_cast<char *>(allocate(n + a + sizeof(void *)));
    std::uintptr_t p = reinterpret_cast<std::uintptr_t>(base + sizeof(void *));
    p = (p + a - 1) & ~(static_cast<std::uintptr_t>(a) - 1);
    reinterpret_cast<void **>(p)[-1] = base;
    return reinterpret_cast<void *>(p);
}

void release_aligned(void *p, std::align_val_t al)
{
    if (p == nullptr)
        return;
    if (static_cast<std::size_t>(al) <= alignof(std::max_align_t))
        GC_FREE(p);
    else
        GC_FREE(reinterpret_cast<void **>(p)[-1]);
}

} // namespace

void *operator new(std::size_t n) { return allocate(n); }
void *operator new[](std::size_t n) { return allocate(n); }
void *operator new(std::size_t n, const std::nothrow_t &) noexcept { return allocate_nothrow(n); }
void *operator new[](std::size_t n, const std::nothrow_t &) noexcept { return allocate_nothrow(n); }
void operator delete(void *p) noexcept { GC_FREE(p); }
void operator delete[](void *p) noexcept { GC_FREE(p); }
void operator delete(void *p, std::size_t) noexcept { GC_FREE(p); }
void operator delete[](void *p, std::size_t) noexcept { GC_FREE(p); }
void *operator new(std::size_t n, std::align_val_t al) { return allocate_aligned(n, al); }
void *operator new[](std::size_t n, std::align_val_t al) { return allocate_aligned(n, al); }
void operator delete(void *p, std::align_val_t al) noexcept { release_aligned(p, al); }
void operator delete[](void *p, std::align_val_t al) noexcept { release_aligned(p, al); }
void operator delete(void *p, std::size_t, std::align_val_t al) noexcept { release_aligned(p, al); }
void operator delete[](void *p, std::size_t, std::align_val_t al) noexcept { release_aligned(p, al); }
