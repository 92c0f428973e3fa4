// Floats and the collector: temporaries are reclaimed, live floats are not.
#include "talvo_float.hpp"

#include <gc.h>
#include <gc/gc_inline.h>
#include <gc/gc_mark.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cstddef>

namespace {

// The collector is started before any test allocates.
struct CollectorStart {
    CollectorStart() { GC_INIT(); }
} collector_start;

TEST(FloatCollector, TenMillionTemporariesKeepTheHeapBounded)
{
    const size_t limit = size_t(64) << 20;
    GC_word collections_before = GC_get_gc_no();
    TalvoFloat acc;
    TalvoFloat step(1e-7);
    for (int i = 0; i < 10000000; ++i) {
        acc = acc + step;
        if (i % 1000000 == 0) {
            ASSERT_LT(GC_get_heap_size(), limit) << "after " << i << " additions";
        }
    }
    EXPECT_LT(GC_get_heap_size(), limit);
    EXPECT_GT(GC_get_gc_no(), collections_before); // the temporaries were collected, not kept
    // 38-bit sums of 1e-7: each rounding is below 2^-38 of the running total.
    EXPECT_NEAR(acc.to_double(), 1.0, 1e-3);
}

TEST(FloatCollector, LiveFloatsSurviveCollections)
{
    TalvoFloat keep = TalvoFloat(1.0) / TalvoFloat(3.0);
    ALGEB handle = keep.handle();
    TalvoFloat zero;
    for (int round = 0; round < 5; ++round) {
        TalvoFloat t(0.5);
        for (int i = 0; i < 200000; ++i)
            t = t * TalvoFloat(1.0);
        GC_gcollect();
        ASSERT_EQ(t.to_double(), 0.5);
    }
    EXPECT_EQ(keep.handle(), handle);
    EXPECT_TRUE(TalvoIsSoftwareFloatHandle(keep.handle()));
    EXPECT_EQ(talvo_float_to_string(keep.handle(), 10), "0.3333333333");
    // The shared zero is never collected.
    EXPECT_EQ(TalvoFloat().handle(), zero.handle());
    EXPECT_TRUE(mpfr_zero_p(TalvoFloat().mpfr()));
    EXPECT_TRUE(TalvoIsSoftwareFloatHandle(TalvoFloat().handle()));
}

TEST(FloatCollector, FloatsAreAllocatedAsAtomicObjects)
{
    TalvoFloat x(2.0);
    void *obj = static_cast<void *>(x.handle());
    EXPECT_EQ(GC_base(obj), obj); // a handle is the start of a collected object
    size_t size = 0;
    EXPECT_EQ(GC_get_kind_and_size(obj, &size), GC_I_PTRFREE); // never scanned
    EXPECT_GE(size, offsetof(TalvoFloatObject, limbs) + sizeof(mp_limb_t));
    for (int i = 0; i < 1000; ++i) {
        x = x + TalvoFloat(1.0);
        size_t kind_size = 0;
        ASSERT_EQ(GC_get_kind_and_size(static_cast<void *>(x.handle()), &kind_size), GC_I_PTRFREE);
    }
    EXPECT_EQ(x.to_double(), 1002.0);
}

TEST(FloatCollector, FloatsWaitingForUseAreNeverHandedOutTwice)
{
    // Floats kept in memory the collector scans, made while collections run
    // and while other code allocates and scribbles on pointer-free objects of
    // about the same size: none may be reclaimed or given out twice.
    const size_t n = 20000;
    auto *keep = static_cast<ALGEB *>(GC_MALLOC_UNCOLLECTABLE(n * sizeof(ALGEB)));
    ASSERT_NE(keep, nullptr);
    const size_t object_bytes = offsetof(TalvoFloatObject, limbs) + sizeof(mp_limb_t);
    for (size_t i = 0; i < n; ++i) {
        keep[i] = TalvoFloat(static_cast<double>(i)).handle();
        TalvoFloat garbage = TalvoFloat::from_handle(keep[i]) * TalvoFloat(2.0);
        (void)garbage;
        for (size_t bytes = object_bytes - 15; bytes <= object_bytes; bytes += 5) {
            void *junk = GC_MALLOC_ATOMIC(bytes);
            ASSERT_NE(junk, nullptr);
            std::memset(junk, 0xA5, bytes);
        }
        if (i % 37 == 0)
            GC_gcollect();
    }
    GC_gcollect();
    for (size_t i = 0; i < n; ++i) {
        ASSERT_TRUE(TalvoIsSoftwareFloatHandle(keep[i])) << i;
        ASSERT_EQ(mpfr_get_d(talvo_float_value(keep[i]), MPFR_RNDN), static_cast<double>(i)) << i;
    }
    std::sort(keep, keep + n);
    EXPECT_EQ(std::adjacent_find(keep, keep + n), keep + n);
    GC_FREE(keep);
}

} // namespace
