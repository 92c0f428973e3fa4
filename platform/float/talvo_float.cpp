// talvo_float.cpp -- TalvoFloat on MPFR, with each float an immutable object
// of collected atomic memory: header word, MPFR struct, limbs inline.
//
// Every operation allocates exactly one object at the current working
// precision and lets MPFR compute straight into it (round to nearest), so a
// sum costs one allocation and one mpfr_add.  Up to four limbs (Digits up
// to 75, except 18, whose 64 bits fill a limb) the sum, difference and
// product, and below 64 bits the rounding of a double, are computed inline
// instead (one_limb.hpp, few_limbs.hpp), with MPFR's results bit for bit.  The object size for the current precision is
// computed once per change of "Digits" and kept with the precision, which
// keeps the hot path to a few stores and two calls.
//
// An object is never copied by value: its MPFR struct points at its own limbs.
// Only handles are copied.
//
// Like its host, the library runs on one thread: the precision, the bound
// host and the allocation cache below are process-wide and unsynchronised.
#include "talvo_float.hpp"
#include "few_limbs.hpp"
#include "one_limb.hpp"

#include <gc.h>
#include <gc/gc_inline.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>

namespace {

// ---------------------------------------------------------------------------
// State: the bound host and the current working precision
// ---------------------------------------------------------------------------

TalvoFloatHost g_host = {nullptr, nullptr, nullptr, nullptr};

// Everything allocation needs for one precision.
struct Shape {
    mpfr_prec_t prec;  // bits
    size_t bytes;      // whole object
    uintptr_t header;  // type code and limb count
    int inline_limbs;  // the limb count of the inline sum and product, or 0 (few_limbs.hpp)
};

constexpr long kDefaultDigits = 10;
constexpr size_t kLimbOffset = offsetof(TalvoFloatObject, limbs);

constexpr Shape make_shape(mpfr_prec_t prec)
{
    size_t n = static_cast<size_t>((prec + GMP_NUMB_BITS - 1) / GMP_NUMB_BITS);
    return Shape{prec, kLimbOffset + n * sizeof(mp_limb_t),
                 (static_cast<uintptr_t>(TALVO_TYPE_FLOAT) << TALVO_TYPE_SHIFT) | static_cast<uintptr_t>(n),
                 talvo::floatn::inline_limbs(prec)};
}

Shape shape_for(mpfr_prec_t prec)
{
    if (prec < MPFR_PREC_MIN || prec > MPFR_PREC_MAX)
        throw std::length_error("float precision out of range");
    return make_shape(prec);
}

// ceil(digits * log2(10)) + 4 guard bits.  log2(10) is irrational, so the
// product is never an integer and its ceiling is its floor plus one.  The
// floor comes from 64-bit integer arithmetic with log2(10) scaled by 10^18
// and rounded up (K = kHi * 10^9 + kLo); the error, below 1e-18 per digit, is
// far smaller than the distance of any such product from an integer.
constexpr long kMaxPrecisionDigits = 1000000000L; // beyond any precision MPFR holds in memory

constexpr mpfr_prec_t bits_for_digits(long digits)
{
    if (digits < 1)
        digits = 1;
    if (digits > kMaxPrecisionDigits)
        digits = kMaxPrecisionDigits;
    constexpr uint64_t kHi = 3321928094u, kLo = 887362348u, kBillion = 1000000000u;
    uint64_t d = static_cast<uint64_t>(digits);
    // floor(d * K / 10^18) = floor((d * kHi + floor(d * kLo / 10^9)) / 10^9)
    uint64_t floor_bits = (d * kHi + d * kLo / kBillion) / kBillion;
    uint64_t bits = floor_bits + 1 + 4;
    if (bits > static_cast<uint64_t>(MPFR_PREC_MAX))
        return MPFR_PREC_MAX;
    return static_cast<mpfr_prec_t>(bits);
}

static_assert(bits_for_digits(1) == 8, "ceil(3.32) + 4");
static_assert(bits_for_digits(10) == 38, "ceil(33.2) + 4");
static_assert(bits_for_digits(15) == 54, "ceil(49.8) + 4");

long g_digits = kDefaultDigits;
Shape g_shape = make_shape(bits_for_digits(kDefaultDigits));

inline const Shape &current_shape() { return g_shape; }

// ---------------------------------------------------------------------------
// Objects
// ---------------------------------------------------------------------------

inline TalvoFloatObject *as_object(ALGEB h) { return reinterpret_cast<TalvoFloatObject *>(h); }
inline ALGEB as_handle(TalvoFloatObject *o) { return reinterpret_cast<ALGEB>(o); }

// Memory for floats when no host supplies it.
//
// The collector's own small-object path costs more than an addition at low
// precision (a thread-local lookup through the dynamic linker each time), so
// objects of the current size are taken from the collector a batch at a time
// (GC_generic_malloc_many, pointer-free kind: one heap block of free objects,
// each object's first word linking to the next) and handed out one by one
// from the head of that list.
//
// The objects waiting in the list are referred to by nothing the collector
// traces (it does not read the links of pointer-free objects), so a
// collection reclaims them.  The list is therefore used only while the
// collector's count of collections is the one it had when the batch was
// taken; after a collection what is left of it is dropped unread, and the
// next request takes a fresh batch.
constexpr size_t kBatchMaxBytes = 2048; // larger objects come one at a time
constexpr uintptr_t kBlockBytes = 4096;  // the collector's heap block
constexpr size_t kGranule = 2 * sizeof(void *);

void *g_next_free = nullptr; // the next object of the batch, or null
size_t g_batch_bytes = 0;    // the request size of the batch's objects
GC_word g_batch_gc = 0;      // the collection count when it was taken

// The collector's count of completed collections, read directly: the getter
// is a call into the collector on every allocation.  The variable is
// deprecated in favour of that getter but remains exported.
inline GC_word collections()
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return GC_gc_no;
#pragma GCC diagnostic pop
}

// Leaves what is left of the batch to the collector.
void drop_batch() { g_next_free = nullptr; }

// The collector found no memory for a request of `bytes`.
[[noreturn]] __attribute__((noinline)) void out_of_memory(size_t bytes)
{
    if (g_host.out_of_memory != nullptr)
        g_host.out_of_memory(bytes);
    throw std::bad_alloc();
}

// A collector allocation, retried once after a full collection: when the heap
// cannot grow (it has reached its maximum size) the collector gives up
// without collecting, and the memory of work that has failed and unwound
// since the last collection would otherwise stay out of reach.
template <class Alloc> void *collector_retry(size_t bytes, Alloc alloc)
{
    void *p = alloc();
    if (__builtin_expect(p == nullptr, 0)) {
        GC_gcollect();
        p = alloc();
        if (p == nullptr)
            out_of_memory(bytes);
    }
    return p;
}

// Bytes taken in batches since the collector was last asked whether a
// collection is due (refill_and_take).
size_t g_batched_bytes = 0;
constexpr size_t kPollBytes = size_t(1) << 20;

__attribute__((noinline)) void *refill_and_take(size_t bytes)
{
    if (!GC_is_init_called())
        GC_init();
    // The collector weighs collecting against growing the heap only when it
    // finds no free memory: while the heap has room it does not collect,
    // however much has been allocated since the last collection.  A heap grown
    // once for the garbage of one long computation thus lets the next one
    // leave more garbage before a collection, and grows again (by a third over
    // ten samples of 10^7 floats).  Asked after every MiB of floats whether a
    // collection is due, it collects at its own pace (when a fixed part of
    // the live data has been allocated since the last collection) whatever
    // the size of the heap, and the heap stays at the size the live data and
    // that pace need.
    drop_batch(); // a collection below would reclaim it
    g_batched_bytes += kBlockBytes; // a batch is at most one heap block
    if (g_batched_bytes >= kPollBytes) {
        g_batched_bytes = 0;
        GC_collect_a_little();
    }
    size_t request = (bytes + kGranule - 1) / kGranule * kGranule;
    void *list = nullptr; // on the stack, so the collector sees the batch's head
    collector_retry(bytes, [&] {
        GC_generic_malloc_many(request, GC_I_PTRFREE, &list);
        return list;
    });
    // The batch's heap block, asked into the cache at once: its free list was
    // built when the block was swept and has usually left the cache since.
    constexpr uintptr_t kLine = 64;
    const auto *block = reinterpret_cast<const char *>(reinterpret_cast<uintptr_t>(list) & ~(kBlockBytes - 1));
    for (uintptr_t off = 0; off < kBlockBytes; off += kLine)
        __builtin_prefetch(block + off, 1);
    g_next_free = GC_NEXT(list);
    g_batch_bytes = bytes;
    g_batch_gc = collections();
    return list;
}

inline void *collector_alloc(size_t bytes)
{
    if (__builtin_expect(g_next_free != nullptr && bytes == g_batch_bytes && collections() == g_batch_gc, 1)) {
        void *p = g_next_free;
        g_next_free = GC_NEXT(p);
        return p;
    }
    if (bytes > kBatchMaxBytes)
        return collector_retry(bytes, [bytes] { return GC_MALLOC_ATOMIC(bytes); });
    return refill_and_take(bytes);
}

// Memory for a new object of the given shape, its contents not yet set.
// Collected memory that the collector does not scan: the object holds no
// pointer to anything but itself.
[[gnu::always_inline]] inline TalvoFloatObject *allocate_raw(const Shape &s)
{
    void *p = g_host.alloc_atomic != nullptr ? g_host.alloc_atomic(s.bytes) : collector_alloc(s.bytes);
    if (__builtin_expect(p == nullptr, 0))
        throw std::bad_alloc();
    return static_cast<TalvoFloatObject *>(p);
}

// A new object of the given shape holding NaN.
inline TalvoFloatObject *allocate(const Shape &s)
{
    TalvoFloatObject *o = allocate_raw(s);
    o->header = s.header;
    mpfr_custom_init_set(&o->value, MPFR_NAN_KIND, 0, s.prec, o->limbs);
    return o;
}

// A handle as a TalvoFloat, without running a constructor.
inline TalvoFloat wrap(ALGEB h) { return std::bit_cast<TalvoFloat>(h); }

// A new object at the current precision, for a result.
inline TalvoFloatObject *fresh() { return allocate(current_shape()); }

inline mpfr_srcptr val(const TalvoFloat &x) { return &as_object(x.handle())->value; }

// A new object at the current precision holding a result of the one-limb
// fast path.
// Each field is written once.
[[gnu::always_inline]] inline TalvoFloat store(const Shape &s, const talvo::float1::Result &r)
{
    TalvoFloatObject *o = allocate_raw(s);
    o->header = s.header;
    o->limbs[0] = r.limb; // 0 for a zero, whose limb MPFR never reads
    mpfr_custom_init_set(&o->value, r.sign * (r.zero ? MPFR_ZERO_KIND : MPFR_REGULAR_KIND), r.exp, s.prec, o->limbs);
    return wrap(as_handle(o));
}

// A new object at the current precision holding a result of the few-limb
// fast path (N limbs, the object's own count).
template <int N>
[[gnu::always_inline]] inline TalvoFloat store(const Shape &s, const talvo::floatn::Result<N> &r)
{
    TalvoFloatObject *o = allocate_raw(s);
    o->header = s.header;
    // Limb by limb, as few_limbs.hpp's store explains; MPFR never reads a
    // zero's limbs.
#pragma GCC unroll 8
    for (int i = 0; i < N; ++i)
        o->limbs[i] = r.limb[i];
    mpfr_custom_init_set(&o->value, r.sign * (r.zero ? MPFR_ZERO_KIND : MPFR_REGULAR_KIND), r.exp, s.prec, o->limbs);
    return wrap(as_handle(o));
}

// Sum, difference and product at the current precision: inline for results
// of up to four limbs whose operands have no more limbs than the result
// (one_limb.hpp, few_limbs.hpp), MPFR otherwise.
template <int N> [[gnu::always_inline]] inline bool add_n(const Shape &s, mpfr_srcptr a, mpfr_srcptr b, bool subtract,
                                                          ALGEB &out)
{
    talvo::floatn::Result<N> r;
    if (!talvo::floatn::add<N>(a, b, subtract, s.prec, r))
        return false;
    out = store(s, r).handle();
    return true;
}

template <int N>
[[gnu::always_inline]] inline bool mul_n(const Shape &s, mpfr_srcptr a, mpfr_srcptr b, ALGEB &out)
{
    talvo::floatn::Result<N> r;
    if (!talvo::floatn::mul<N>(a, b, s.prec, r))
        return false;
    out = store(s, r).handle();
    return true;
}

// Past one limb: the few-limb paths, then MPFR.  Kept out of line so that
// the one-limb path of the callers below stays as short as it was alone.
[[gnu::noinline]] TalvoFloat add_or_sub_wide(const Shape &s, const TalvoFloat &a, const TalvoFloat &b,
                                             bool subtract)
{
    ALGEB out = nullptr;
    switch (s.inline_limbs) {
    case 2: if (add_n<2>(s, val(a), val(b), subtract, out)) return wrap(out); break;
    case 3: if (add_n<3>(s, val(a), val(b), subtract, out)) return wrap(out); break;
    case 4: if (add_n<4>(s, val(a), val(b), subtract, out)) return wrap(out); break;
    default: break;
    }
    TalvoFloatObject *o = allocate(s);
    if (subtract)
        mpfr_sub(&o->value, val(a), val(b), MPFR_RNDN);
    else
        mpfr_add(&o->value, val(a), val(b), MPFR_RNDN);
    return wrap(as_handle(o));
}

[[gnu::noinline]] TalvoFloat multiply_wide(const Shape &s, const TalvoFloat &a, const TalvoFloat &b)
{
    ALGEB out = nullptr;
    switch (s.inline_limbs) {
    case 2: if (mul_n<2>(s, val(a), val(b), out)) return wrap(out); break;
    case 3: if (mul_n<3>(s, val(a), val(b), out)) return wrap(out); break;
    case 4: if (mul_n<4>(s, val(a), val(b), out)) return wrap(out); break;
    default: break;
    }
    TalvoFloatObject *o = allocate(s);
    mpfr_mul(&o->value, val(a), val(b), MPFR_RNDN);
    return wrap(as_handle(o));
}

inline TalvoFloat add_or_sub(const TalvoFloat &a, const TalvoFloat &b, bool subtract)
{
    const Shape &s = current_shape();
    talvo::float1::Result r;
    if (s.inline_limbs == 1 && talvo::float1::add(val(a), val(b), subtract, s.prec, r))
        return store(s, r);
    return add_or_sub_wide(s, a, b, subtract);
}

inline TalvoFloat multiply(const TalvoFloat &a, const TalvoFloat &b)
{
    const Shape &s = current_shape();
    talvo::float1::Result r;
    if (s.inline_limbs == 1 && talvo::float1::mul(val(a), val(b), s.prec, r))
        return store(s, r);
    return multiply_wide(s, a, b);
}

// A new object of exactly one limb holding a value that is exact at any
// precision, kept alive for the life of the process.
ALGEB make_permanent_zero()
{
    Shape s = shape_for(GMP_NUMB_BITS);
    void *p = GC_MALLOC_ATOMIC_UNCOLLECTABLE(s.bytes);
    if (p == nullptr)
        throw std::bad_alloc();
    auto *o = static_cast<TalvoFloatObject *>(p);
    std::memset(p, 0, s.bytes);
    o->header = s.header;
    mpfr_custom_init_set(&o->value, MPFR_ZERO_KIND, 0, s.prec, o->limbs);
    return as_handle(o);
}

ALGEB shared_zero()
{
    static ALGEB zero = make_permanent_zero();
    return zero;
}

// A value with a stack-held significand of one double's precision, exactly x.
struct DoubleValue {
    MPFR_DECL_INIT(v, 53);
    explicit DoubleValue(double x) { mpfr_set_d(v, x, MPFR_RNDN); }
};

// The decimal number grammar: [+-] digits [. digits] [(e|E) [+-] digits],
// with at least one digit in the mantissa.  Returns true when all of text
// is one such number.
bool is_decimal_number(const char *s)
{
    auto digit = [](char c) { return c >= '0' && c <= '9'; };
    if (*s == '+' || *s == '-')
        ++s;
    size_t mantissa_digits = 0;
    while (digit(*s)) {
        ++s;
        ++mantissa_digits;
    }
    if (*s == '.') {
        ++s;
        while (digit(*s)) {
            ++s;
            ++mantissa_digits;
        }
    }
    if (mantissa_digits == 0)
        return false;
    if (*s == 'e' || *s == 'E') {
        ++s;
        if (*s == '+' || *s == '-')
            ++s;
        if (!digit(*s))
            return false;
        while (digit(*s))
            ++s;
    }
    return *s == '\0';
}

using Unary = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

TalvoFloat apply(Unary f, const TalvoFloat &x)
{
    TalvoFloatObject *o = fresh();
    f(&o->value, val(x), MPFR_RNDN);
    return wrap(as_handle(o));
}

// Functions TalvoEvalf1 computes itself, by host name.
struct NamedFunction {
    const char *name;
    Unary fn;
};

const NamedFunction kNamedFunctions[] = {
    {"exp", mpfr_exp},   {"log", mpfr_log}, {"ln", mpfr_log},         {"sqrt", mpfr_sqrt},
    {"sin", mpfr_sin},   {"cos", mpfr_cos}, {"tan", mpfr_tan},        {"arctan", mpfr_atan},
};

} // namespace

// ---------------------------------------------------------------------------
// Host binding and precision
// ---------------------------------------------------------------------------

void talvo_float_bind_host(const TalvoFloatHost *host)
{
    drop_batch();
    if (host == nullptr)
        g_host = TalvoFloatHost{nullptr, nullptr, nullptr, nullptr};
    else
        g_host = *host;
}

void talvo_float_set_digits(long digits)
{
    if (digits < 1 || digits > TALVO_FLOAT_MAX_DIGITS)
        throw std::out_of_range("Digits must be between 1 and 1000000");
    Shape s = shape_for(bits_for_digits(digits));
    if (s.bytes != g_shape.bytes)
        drop_batch();
    g_shape = s;
    g_digits = digits;
}

long talvo_float_digits() { return g_digits; }

mpfr_prec_t talvo_float_precision_bits(long digits) { return bits_for_digits(digits); }

mpfr_prec_t talvo_float_precision() { return current_shape().prec; }

// ---------------------------------------------------------------------------
// Object services
// ---------------------------------------------------------------------------

ALGEB talvo_float_new(mpfr_prec_t prec)
{
    if (prec <= 0)
        return as_handle(fresh());
    return as_handle(allocate(shape_for(prec)));
}

mpfr_ptr talvo_float_mpfr(ALGEB f) { return &as_object(f)->value; }

mpfr_srcptr talvo_float_value(ALGEB f) { return &as_object(f)->value; }

ALGEB talvo_float_from_mpfr(mpfr_srcptr x, mpfr_prec_t prec)
{
    ALGEB r = talvo_float_new(prec);
    mpfr_set(talvo_float_mpfr(r), x, MPFR_RNDN);
    return r;
}

ALGEB talvo_float_from_double(double x, mpfr_prec_t prec)
{
    ALGEB r = talvo_float_new(prec);
    mpfr_set_d(talvo_float_mpfr(r), x, MPFR_RNDN);
    return r;
}

ALGEB talvo_float_parse(const char *text, mpfr_prec_t prec)
{
    if (text == nullptr || !is_decimal_number(text))
        return nullptr;
    ALGEB r = talvo_float_new(prec);
    char *end = nullptr;
    mpfr_strtofr(talvo_float_mpfr(r), text, &end, 10, MPFR_RNDN);
    if (end == nullptr || *end != '\0')
        return nullptr;
    return r;
}

std::string talvo_float_to_string(ALGEB f, long digits)
{
    mpfr_srcptr x = talvo_float_value(f);
    if (mpfr_nan_p(x))
        return "Float(undefined)";
    if (mpfr_inf_p(x))
        return mpfr_signbit(x) ? "Float(-infinity)" : "Float(infinity)";
    if (mpfr_zero_p(x))
        return mpfr_signbit(x) ? "-0." : "0.";
    if (digits < 1)
        digits = g_digits;

    // value = 0.m1 m2 m3 ... * 10^point
    mpfr_exp_t point = 0;
    char *raw = mpfr_get_str(nullptr, &point, 10, static_cast<size_t>(digits), x, MPFR_RNDN);
    if (raw == nullptr)
        throw std::bad_alloc();
    std::string out;
    const char *m = raw;
    if (*m == '-') {
        out.push_back('-');
        ++m;
    }
    size_t n = std::strlen(m);
    while (n > 1 && m[n - 1] == '0')
        --n;
    std::string mant(m, n);
    mpfr_free_str(raw);

    // value = m1.m2m3... * 10^e10
    long e10 = static_cast<long>(point) - 1;
    if (e10 > -5 && e10 < digits) {
        if (e10 >= 0) {
            size_t int_digits = static_cast<size_t>(e10) + 1;
            if (mant.size() <= int_digits) {
                out += mant;
                out.append(int_digits - mant.size(), '0');
                out.push_back('.');
            } else {
                out.append(mant, 0, int_digits);
                out.push_back('.');
                out.append(mant, int_digits, std::string::npos);
            }
        } else {
            out += "0.";
            out.append(static_cast<size_t>(-e10 - 1), '0');
            out += mant;
        }
    } else {
        out.push_back(mant[0]);
        out.push_back('.');
        out.append(mant, 1, std::string::npos);
        out.push_back('e');
        out.push_back(e10 < 0 ? '-' : '+');
        out += std::to_string(e10 < 0 ? -e10 : e10);
    }
    return out;
}

// ---------------------------------------------------------------------------
// TalvoFloat
// ---------------------------------------------------------------------------

TalvoFloat::TalvoFloat() : h_(shared_zero()) {}

TalvoFloat::TalvoFloat(double x)
{
    const Shape &s = current_shape();
    talvo::float1::Result r;
    if (s.prec < GMP_NUMB_BITS && talvo::float1::from_double(x, s.prec, r)) {
        h_ = store(s, r).handle();
        return;
    }
    TalvoFloatObject *o = allocate(s);
    const talvo::float1::DoubleParts d = talvo::float1::split_double(x);
    if (s.prec >= 53 && d.kind == talvo::float1::DoubleParts::Normal) {
        // A normal double is exact at 53 bits or more: its significand in
        // the top limb, zeros below.
        const size_t n = size_t((s.prec + GMP_NUMB_BITS - 1) / GMP_NUMB_BITS);
        std::memset(o->limbs, 0, (n - 1) * sizeof(mp_limb_t));
        o->limbs[n - 1] = d.limb;
        mpfr_custom_init_set(&o->value, d.sign * MPFR_REGULAR_KIND, d.exp, s.prec, o->limbs);
    } else {
        mpfr_set_d(&o->value, x, MPFR_RNDN);
    }
    h_ = as_handle(o);
}

TalvoFloat::TalvoFloat(ALGEB x)
{
    if (TalvoIsSoftwareFloatHandle(x)) {
        h_ = x;
        return;
    }
    if (g_host.to_float == nullptr)
        throw std::invalid_argument("TalvoFloat: not a float, and no host to convert it");
    h_ = g_host.to_float(x);
}

TalvoFloat &TalvoFloat::operator=(double x)
{
    TalvoFloatObject *o = fresh();
    mpfr_set_d(&o->value, x, MPFR_RNDN);
    h_ = as_handle(o);
    return *this;
}

TalvoFloat &TalvoFloat::operator+=(const TalvoFloat &b) { return *this = *this + b; }
TalvoFloat &TalvoFloat::operator-=(const TalvoFloat &b) { return *this = *this - b; }
TalvoFloat &TalvoFloat::operator*=(const TalvoFloat &b) { return *this = *this * b; }
TalvoFloat &TalvoFloat::operator/=(const TalvoFloat &b) { return *this = *this / b; }

mpfr_srcptr TalvoFloat::mpfr() const { return val(*this); }

double TalvoFloat::to_double() const { return mpfr_get_d(val(*this), MPFR_RNDN); }

TalvoFloat TalvoFloat::from_handle(ALGEB f) { return wrap(f); }

TalvoFloat DAGtoFLOAT(ALGEB x) { return TalvoFloat(x); }

// ---------------------------------------------------------------------------
// Arithmetic
// ---------------------------------------------------------------------------

TalvoFloat operator+(const TalvoFloat &a, const TalvoFloat &b) { return add_or_sub(a, b, false); }

TalvoFloat operator-(const TalvoFloat &a, const TalvoFloat &b) { return add_or_sub(a, b, true); }

TalvoFloat operator*(const TalvoFloat &a, const TalvoFloat &b) { return multiply(a, b); }

TalvoFloat operator/(const TalvoFloat &a, const TalvoFloat &b)
{
    TalvoFloatObject *o = fresh();
    mpfr_div(&o->value, val(a), val(b), MPFR_RNDN);
    return wrap(as_handle(o));
}

TalvoFloat operator/(double a, const TalvoFloat &b)
{
    TalvoFloatObject *o = fresh();
    mpfr_d_div(&o->value, a, val(b), MPFR_RNDN);
    return wrap(as_handle(o));
}

TalvoFloat operator-(const TalvoFloat &a) { return apply(mpfr_neg, a); }

TalvoFloat operator*(const TalvoFloat &a, long b)
{
    TalvoFloatObject *o = fresh();
    mpfr_mul_si(&o->value, val(a), b, MPFR_RNDN);
    return wrap(as_handle(o));
}

// ---------------------------------------------------------------------------
// Comparisons (MPFR's predicates are false when either side is NaN)
// ---------------------------------------------------------------------------

bool operator==(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_equal_p(val(a), val(b)) != 0; }
bool operator!=(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_equal_p(val(a), val(b)) == 0; }
bool operator<(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_less_p(val(a), val(b)) != 0; }
bool operator<=(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_lessequal_p(val(a), val(b)) != 0; }
bool operator>(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_greater_p(val(a), val(b)) != 0; }
bool operator>=(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_greaterequal_p(val(a), val(b)) != 0; }

bool operator>(const TalvoFloat &a, long b)
{
    mpfr_srcptr x = val(a);
    return !mpfr_nan_p(x) && mpfr_cmp_si(x, b) > 0;
}

// ---------------------------------------------------------------------------
// Functions
// ---------------------------------------------------------------------------

TalvoFloat exp(const TalvoFloat &x) { return apply(mpfr_exp, x); }
TalvoFloat log(const TalvoFloat &x) { return apply(mpfr_log, x); }
TalvoFloat sqrt(const TalvoFloat &x) { return apply(mpfr_sqrt, x); }
TalvoFloat floor(const TalvoFloat &x) { return apply(mpfr_rint_floor, x); }
TalvoFloat ceil(const TalvoFloat &x) { return apply(mpfr_rint_ceil, x); }
TalvoFloat fabs(const TalvoFloat &x) { return apply(mpfr_abs, x); }

TalvoFloat pow(const TalvoFloat &x, const TalvoFloat &y)
{
    TalvoFloatObject *o = fresh();
    mpfr_pow(&o->value, val(x), val(y), MPFR_RNDN);
    return wrap(as_handle(o));
}

TalvoFloat pow(const TalvoFloat &x, double y)
{
    TalvoFloatObject *o = fresh();
    // Integer exponents (the common case: squares, reciprocals) take MPFR's
    // integer power, which is exact in its rounding like the general one.
    if (y == std::trunc(y) && std::fabs(y) <= 9.0e18) {
        mpfr_pow_si(&o->value, val(x), static_cast<long>(y), MPFR_RNDN);
    } else {
        DoubleValue e(y);
        mpfr_pow(&o->value, val(x), e.v, MPFR_RNDN);
    }
    return wrap(as_handle(o));
}

TalvoFloat pow(double x, const TalvoFloat &y)
{
    TalvoFloatObject *o = fresh();
    DoubleValue b(x);
    mpfr_pow(&o->value, b.v, val(y), MPFR_RNDN);
    return wrap(as_handle(o));
}

TalvoFloat Sign(const TalvoFloat &a, const TalvoFloat &b)
{
    TalvoFloatObject *o = fresh();
    mpfr_copysign(&o->value, val(a), val(b), MPFR_RNDN);
    return wrap(as_handle(o));
}

int TalvoDigits() { return static_cast<int>(g_digits); }

TalvoFloat TalvoEvalf1(const char *name, const TalvoFloat &x)
{
    if (name != nullptr) {
        for (const NamedFunction &f : kNamedFunctions)
            if (std::strcmp(name, f.name) == 0)
                return apply(f.fn, x);
    }
    if (g_host.evalf1 == nullptr)
        throw std::invalid_argument(std::string("TalvoEvalf1: no host to evaluate ") +
                                    (name != nullptr ? name : "(null)"));
    return TalvoFloat(g_host.evalf1(name, x.handle()));
}

long FloatToInt(const TalvoFloat &x)
{
    mpfr_srcptr v = val(x);
    if (mpfr_nan_p(v))
        return 0;
    // Rounding toward zero; MPFR saturates at LONG_MIN / LONG_MAX.
    return mpfr_get_si(v, MPFR_RNDZ);
}

TalvoFloat TalvoFloatUndefined() { return wrap(as_handle(fresh())); }

bool IsTalvoFloatUndefined(const TalvoFloat &x) { return mpfr_nan_p(val(x)) != 0; }

bool IsTalvoFloatInfinity(const TalvoFloat &x)
{
    mpfr_srcptr v = val(x);
    return mpfr_inf_p(v) && !mpfr_signbit(v);
}

bool IsTalvoFloatNegativeInfinity(const TalvoFloat &x)
{
    mpfr_srcptr v = val(x);
    return mpfr_inf_p(v) && mpfr_signbit(v);
}
