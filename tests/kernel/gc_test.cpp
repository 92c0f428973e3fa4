// gc_test.cpp -- the collector under the host: counted protection, objects
// reachable only through the protect table survive, and temporaries are
// reclaimed so long loops run in bounded memory.
#include "host_support.hpp"
#include "talvo_float.hpp"

#include <gc.h>

using namespace talvo;
using talvo::test::run;

namespace {

// Hides a pointer from the conservative collector.
uintptr_t hide(ALGEB a) { return reinterpret_cast<uintptr_t>(a) ^ 0x5a5a5a5a5a5a5a5aull; }
ALGEB unhide(uintptr_t h) { return reinterpret_cast<ALGEB>(h ^ 0x5a5a5a5a5a5a5a5aull); }

__attribute__((noinline)) uintptr_t make_hidden_list()
{
    ALGEB elems[3] = {make_string("kept alive"), make_integer(12345), run("2^200;")};
    ALGEB l = make_list(elems, 3);
    gc_protect(l);
    gc_protect(l); // counted: two protects need two allows
    return hide(l);
}

void churn()
{
    for (int i = 0; i < 200000; ++i)
        (void)make_string("temporary garbage of some length");
    gc_collect();
}

} // namespace

TEST(Gc, ProtectedObjectsSurviveAndCountsBalance)
{
    size_t before = gc_protected_count();
    uintptr_t h = make_hidden_list();
    EXPECT_EQ(gc_protected_count(), before + 1);
    churn();
    ALGEB l = unhide(h);
    ASSERT_TRUE(is_list(l));
    EXPECT_EQ(print(l), "[\"kept alive\", 12345, 1606938044258990275541962092341162602522202993782792835301376]");
    gc_allow(l);
    EXPECT_EQ(gc_protected_count(), before + 1); // still protected once
    churn();
    EXPECT_EQ(print(unhide(h)).substr(0, 13), "[\"kept alive\"");
    gc_allow(unhide(h));
    EXPECT_EQ(gc_protected_count(), before);
}

TEST(Gc, AllowWithoutProtectIsHarmless)
{
    size_t before = gc_protected_count();
    ALGEB s = make_string("never protected");
    gc_allow(s);
    gc_protect(make_immediate(3)); // immediates need no protection
    gc_allow(make_immediate(3));
    EXPECT_EQ(gc_protected_count(), before);
}

TEST(Gc, TenMillionTemporaryFloatsRunInBoundedMemory)
{
    // A script loop making ten million floats: the heap must not grow with
    // the count.  (The loop runs in the evaluator, as a user's would.)
    run("Digits := 15: s := 0.: for k from 1 to 200000 do s := s + 1.5 end do: Digits := 10:");
    size_t after_warmup = GC_get_heap_size();
    TalvoFloat acc(0.0);
    TalvoFloat step(0.25);
    for (long i = 0; i < 10000000; ++i)
        acc = acc + step;
    EXPECT_EQ(acc.to_double(), 2500000.0);
    EXPECT_LT(GC_get_heap_size(), after_warmup + (64u << 20));
    EXPECT_EQ(print(acc.handle()), "2500000.");
}
