// gc_test.cpp -- the collector under the host: counted protection, objects
// reachable only through the protect table survive, and temporaries are
// reclaimed so long loops run in bounded memory.
#include "host_support.hpp"
#include "talvo_float.hpp"

#include <gc.h>

#include <algorithm>
#include <vector>

using namespace talvo;
using talvo::test::error_of;
using talvo::test::run;
using talvo::test::show;

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

// The balance gcprotected() shows: protects not yet matched by an allow,
// over all values; an allow of what was never protected does not lower it.
TEST(Gc, ProtectBalanceCountsUnmatchedProtects)
{
    long before = gc_protect_balance();
    ALGEB a = make_string("a"), b = make_string("b");
    gc_protect(a);
    gc_protect(a);
    gc_protect(b);
    EXPECT_EQ(gc_protect_balance(), before + 3);
    gc_allow(make_string("never protected"));
    gc_allow(make_immediate(5));
    EXPECT_EQ(gc_protect_balance(), before + 3);
    gc_allow(a);
    EXPECT_EQ(gc_protect_balance(), before + 2);
    gc_allow(a);
    gc_allow(a); // one allow too many: ignored
    EXPECT_EQ(gc_protect_balance(), before + 1);
    EXPECT_EQ(show("gcprotected();"), std::to_string(before + 1));
    gc_allow(b);
    EXPECT_EQ(gc_protect_balance(), before);
    EXPECT_EQ(error_of("gcprotected(1);").empty(), false);
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

namespace {

// Sets the memory ceiling for one test and puts the previous one back; the
// test starts as a statement does, with the room for an error's way out.
struct CeilingScope {
    explicit CeilingScope(size_t bytes) : previous(set_memory_ceiling(bytes)) { gc_statement_start(); }
    ~CeilingScope() { set_memory_ceiling(previous); }
    size_t previous;
};

} // namespace

TEST(MemoryCeiling, SizesReadAndShown)
{
    size_t b = 0;
    EXPECT_TRUE(parse_memory_size("200M", &b));
    EXPECT_EQ(b, size_t(200) << 20);
    EXPECT_TRUE(parse_memory_size("1.5G", &b));
    EXPECT_EQ(b, size_t(3) << 29);
    EXPECT_TRUE(parse_memory_size("512k", &b));
    EXPECT_EQ(b, size_t(512) << 10);
    EXPECT_TRUE(parse_memory_size("123456", &b));
    EXPECT_EQ(b, size_t(123456));
    for (const char *bad : {"", "lots", "-5", "M", "12X", "1e30G"})
        EXPECT_FALSE(parse_memory_size(bad, &b)) << bad;
    EXPECT_EQ(memory_size_text(200u << 20), "200 MiB");
    EXPECT_EQ(memory_size_text(size_t(3) << 29), "1.5 GiB");
    EXPECT_EQ(memory_size_text(100), "100 bytes");
    EXPECT_GE(default_memory_ceiling(), kMinMemoryCeiling);
    EXPECT_THROW(set_memory_ceiling(1000), HostError);
}

TEST(MemoryCeiling, AHugeBlockIsRefusedUpFrontAndContainersSurvive)
{
    CeilingScope ceiling(size_t(64) << 20);
    try {
        (void)gc_alloc_atomic(size_t(8000000000));
        ADD_FAILURE() << "8 GB allocated under a 64 MiB ceiling";
    } catch (HostError &e) {
        EXPECT_TRUE(e.memory);
        EXPECT_EQ(e.message, "cannot allocate 8000000000 bytes: that would take the heap past its memory ceiling of "
                             "64 MiB (raise it with memoryceiling or talvo --memory-ceiling)");
    }
    // operator new raises the same host error; the container is unchanged.
    std::vector<int> v{1, 2, 3};
    EXPECT_THROW(v.reserve(size_t(1) << 33), HostError);
    EXPECT_EQ(v.size(), 3u);
    EXPECT_EQ(v[2], 3);
}

TEST(MemoryCeiling, SmallObjectsAddingUpAreRefusedAndTheHeapIsUsableAfterwards)
{
    CeilingScope ceiling(size_t(64) << 20);
    std::vector<void *> kept;
    kept.reserve(size_t(1) << 20);
    bool refused = false;
    try {
        for (size_t i = 0; i < (size_t(1) << 20); ++i)
            kept.push_back(gc_alloc_atomic(1000)); // up to 1 GB in all
    } catch (HostError &e) {
        refused = true;
        EXPECT_TRUE(e.memory);
        EXPECT_EQ(e.message.rfind("cannot allocate 1000 bytes: that would take the heap past", 0), 0u) << e.message;
    }
    EXPECT_TRUE(refused);
    EXPECT_LT(kept.size() * 1000, size_t(64) << 20);
    // Drop the pointers (clearing alone leaves them in the buffer, which the
    // collector scans): the memory held above is garbage now, and 32 MB of
    // the same objects fit again.
    std::fill(kept.begin(), kept.end(), nullptr);
    kept.clear();
    try {
        for (int i = 0; i < 32000; ++i)
            kept.push_back(gc_alloc_atomic(1000));
    } catch (HostError &e) {
        ADD_FAILURE() << e.message << " after " << kept.size() << " objects";
    }
    std::fill(kept.begin(), kept.end(), nullptr);
}

TEST(MemoryCeiling, ThePromptGoesOnAfterARefusal)
{
    CeilingScope ceiling(size_t(64) << 20);
    EXPECT_FALSE(run_text("Array(1..10^9); memtestvalue := 2 + 3;", RunMode::Prompt));
    EXPECT_EQ(print(run("memtestvalue;")), "5");
    EXPECT_FALSE(run_text("seq(1.5*i, i = 1..10^9); memtestvalue := 7;", RunMode::Prompt));
    EXPECT_EQ(print(run("memtestvalue;")), "7");
    run("unassign('memtestvalue');");
}

// A statement that starts with the heap full of live values (no room for the
// reserve the refusal's message is built in): the refusal is shown, and
// nothing escapes the prompt.  Showing it used to build one more string,
// which was refused in turn, and that exception left run_text (the eighth
// fuzzing campaign's abort).
TEST(MemoryCeiling, ARefusalIsShownWhenTheHeapIsFullOfLiveValues)
{
    std::vector<void *> kept;
    kept.reserve(size_t(1) << 20);
    {
        CeilingScope ceiling(size_t(64) << 20);
        for (size_t size : {size_t(4096), size_t(256), size_t(16)}) {
            try {
                while (kept.size() < kept.capacity())
                    kept.push_back(gc_alloc_atomic(size));
            } catch (HostError &) {
                // the ceiling: on to smaller objects
            } catch (std::bad_alloc &) {
                // refused while the refusal's message was built: the heap is full
            }
        }
        ASSERT_LT(kept.size(), kept.capacity());
        bool ok = true, escaped = false;
        testing::internal::CaptureStderr();
        try {
            ok = run_text("memtestfull := [seq(i, i = 1..1000)];", RunMode::Prompt);
        } catch (...) {
            escaped = true;
        }
        std::fill(kept.begin(), kept.end(), nullptr);
        kept.clear();
        gc_collect();
        const std::string shown = testing::internal::GetCapturedStderr();
        EXPECT_FALSE(escaped);
        EXPECT_FALSE(ok);
        EXPECT_EQ(shown.rfind("Error, ", 0), 0u) << shown;
        EXPECT_NE(shown.find("memory"), std::string::npos) << shown;
    }
    EXPECT_EQ(print(run("memtestfull := 3: memtestfull;")), "3");
    run("unassign('memtestfull');");
}
