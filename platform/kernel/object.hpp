// object.hpp -- the reference host's object model.
//
// Every host value is an ALGEB: a tagged word.  Low bit set: an immediate
// integer.  Otherwise a pointer to a collected object whose first word is the
// header: type code in the top TALVO_TYPE_BITS bits, the number of operand
// slots (or a byte length, for data objects) in the low bits.  This file is the
// only place that decodes those bits.
//
// Two shapes of object:
//   node objects   header + n ALGEB operand slots (scanned by the collector);
//   data objects   header + raw bytes (not scanned): big integers, strings,
//                  floats (whose layout the float library owns).
// Names, tables, rtables and closures have their own layouts below.
#pragma once

#include "talvo_kernel.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace talvo {

// ---------------------------------------------------------------------------
// Type codes
// ---------------------------------------------------------------------------

enum Type : unsigned {
    T_IMMEDIATE = 0,   // not stored in a header: immediate integers report this
    T_BIGINT = 1,      // data: int64 limb count (signed) + GMP limbs
    T_RATIONAL = 2,    // node: numerator, denominator (denominator > 1, coprime)
    T_COMPLEX = 3,     // node: real part, imaginary part (numeric values)
    T_FLOAT = TALVO_TYPE_FLOAT, // data: software float (float library layout)
    T_NAME = 5,        // NameObject
    T_STRING = 6,      // data: NUL terminated text
    T_EXPSEQ = 7,      // node: elements (NULL is the empty sequence)
    T_LIST = 8,        // node: one operand, the expression sequence of elements
    T_RANGE = 9,       // node: lower, upper
    T_EQUATION = 10,   // node: lhs, rhs
    T_LESSTHAN = 11,   // node: lhs, rhs          a < b   (a > b is b < a)
    T_LESSEQ = 12,     // node: lhs, rhs          a <= b
    T_NOTEQ = 13,      // node: lhs, rhs          a <> b
    T_SUM = 14,        // node: terms             a + b + ...  (a - b is a + (-1)*b)
    T_PROD = 15,       // node: factors           a * b * ...  (a / b is a * b^(-1))
    T_POWER = 16,      // node: base, exponent
    T_AND = 17,        // node: lhs, rhs
    T_OR = 18,         // node: lhs, rhs
    T_NOT = 19,        // node: operand
    T_FUNCTION = 20,   // node: head, argument expression sequence     f(a, b)
    T_TABLEREF = 21,   // node: base, index expression sequence        A[i, j]
    T_TABLE = 22,      // TableObject
    T_RTABLE = 23,     // RTableObject
    T_PROC = 24,       // node: params (expseq of names), locals (expseq of names),
                       //       body (statement sequence), flags (immediate)
    T_CLOSURE = 25,    // node: proc node, environment frame (or null), the global name it was
                       //       first assigned to (or null; used in error messages)
    T_BUILTIN = 26,    // BuiltinObject: a native function of the host
    T_EXTERNAL = 27,   // ExternalObject: an entry of a loaded library
    T_BOOLEAN = 28,    // node with no operands; the two singletons true and false
    T_LEXREF = 29,     // node: depth (immediate), index (immediate): a parameter
                       //       or local of an enclosing procedure frame
    T_UNEVAL = 30,     // node: operand                   'expr'
    T_FRAME = 31,      // node: parent frame, slot 1 .. slot n (a running procedure's variables)
    T_FLOATLIT = 32,   // node: the literal's text as a string; evaluates to a float at the current "Digits"
    // statements (they appear only inside procedure bodies and in parsed scripts)
    T_STATSEQ = 40,    // node: statements
    T_ASSIGN = 41,     // node: lhs, rhs
    T_IF = 42,         // node: cond1, body1, cond2, body2, ..., [else body]
    T_FOR = 43,        // node: variable (or null), from, by, to, while, body, in (or null)
    T_RETURN = 44,     // node: value expression sequence
    T_ERROR = 45,      // node: argument expression sequence
    T_BREAK = 46,      // node with no operands
    T_NEXT = 47,       // node with no operands
    T_TRY = 48,        // node: body, handler body (statement sequences)
};

constexpr unsigned kTypeShift = TALVO_TYPE_SHIFT;
constexpr uintptr_t kLengthMask = (uintptr_t(1) << kTypeShift) - 1;

// ---------------------------------------------------------------------------
// Layouts
// ---------------------------------------------------------------------------

struct Header {
    uintptr_t word;
};

struct Node {
    uintptr_t header;
    ALGEB op[1]; // header-length slots, 0-based here; op(x, i) is 1-based
};

struct NameObject {
    uintptr_t header;      // length field unused (0)
    ALGEB value;           // global value, or nullptr when unassigned
    ALGEB builtin;         // the builtin or external bound to the name, or nullptr
    uintptr_t flags;       // NameFlags
    size_t length;         // length of text
    char text[1];          // NUL terminated
};

enum NameFlags : uintptr_t {
    NAME_PROTECTED = 1,    // assignment refused (true, false, Pi, ...)
    NAME_ENVIRONMENT = 2,  // Digits and friends: the host watches assignments
};

struct BigIntObject {
    uintptr_t header;      // length field: number of limbs
    intptr_t size;         // GMP convention: signed limb count
    uint64_t limbs[1];
};

struct TableObject {
    uintptr_t header;      // length field unused
    size_t count;          // live entries
    size_t used;           // entries slots used (live or removed), in insertion order
    size_t capacity;       // entries slots
    ALGEB *entries;        // 2 * capacity: key, value (a removed entry has a null key)
    uint32_t *index;       // open addressing over entries (0 empty, i + 1 entry i); 2 * capacity slots
};

// A native function of the host.  HOLD builtins receive their arguments
// unevaluated (seq, add, evalf's second argument ...).
using BuiltinFn = ALGEB (*)(ALGEB args);
// TRANSPARENT builtins (error) let an error pass without naming themselves.
enum BuiltinFlags : uintptr_t { BUILTIN_HOLD = 1, BUILTIN_TRANSPARENT = 2 };
struct BuiltinObject {
    uintptr_t header;
    ALGEB name;            // the name it is bound to
    BuiltinFn fn;
    uintptr_t flags;
};

// An entry of a loaded library: the statistics convention (kv, expseq) or the
// wrapper convention (kv, argument array).
enum ExternalKind : uintptr_t { EXTERNAL_SEQUENCE = 0, EXTERNAL_ARRAY = 1 };
struct ExternalObject {
    uintptr_t header;
    ALGEB name;
    void *fn;
    uintptr_t kind;
};

struct StringObject {
    uintptr_t header;      // length field: byte length without the NUL
    char text[1];
};

// ---------------------------------------------------------------------------
// Decoding
// ---------------------------------------------------------------------------

inline bool is_immediate(ALGEB a) { return (reinterpret_cast<uintptr_t>(a) & 1u) != 0; }
inline intptr_t immediate_value(ALGEB a) { return reinterpret_cast<intptr_t>(a) >> 1; }

// Largest magnitude an immediate integer holds.
constexpr intptr_t kImmediateMax = INTPTR_MAX >> 1;
constexpr intptr_t kImmediateMin = INTPTR_MIN >> 1;

inline ALGEB make_immediate(intptr_t v)
{
    return reinterpret_cast<ALGEB>((static_cast<uintptr_t>(v) << 1) | 1u);
}

inline uintptr_t header_of(ALGEB a) { return *reinterpret_cast<const uintptr_t *>(a); }

inline Type type_of(ALGEB a)
{
    if (a == nullptr || is_immediate(a))
        return T_IMMEDIATE;
    return static_cast<Type>(header_of(a) >> kTypeShift);
}

inline size_t length_of(ALGEB a) { return static_cast<size_t>(header_of(a) & kLengthMask); }

inline uintptr_t make_header(Type t, size_t length)
{
    return (static_cast<uintptr_t>(t) << kTypeShift) | (static_cast<uintptr_t>(length) & kLengthMask);
}

// Node operands, 1-based.
inline size_t nops(ALGEB node) { return length_of(node); }
inline ALGEB op(ALGEB node, size_t i) { return reinterpret_cast<Node *>(node)->op[i - 1]; }
inline void set_op(ALGEB node, size_t i, ALGEB v) { reinterpret_cast<Node *>(node)->op[i - 1] = v; }

inline NameObject *as_name(ALGEB a) { return reinterpret_cast<NameObject *>(a); }
inline BigIntObject *as_bigint(ALGEB a) { return reinterpret_cast<BigIntObject *>(a); }
inline StringObject *as_string(ALGEB a) { return reinterpret_cast<StringObject *>(a); }

// Type predicates (the only ones; nobody else compares type codes by hand).
inline bool is_integer(ALGEB a) { return is_immediate(a) || type_of(a) == T_BIGINT; }
inline bool is_rational(ALGEB a) { return type_of(a) == T_RATIONAL; }
inline bool is_float(ALGEB a) { return !is_immediate(a) && a != nullptr && type_of(a) == T_FLOAT; }
inline bool is_complex(ALGEB a) { return type_of(a) == T_COMPLEX; }
inline bool is_name(ALGEB a) { return type_of(a) == T_NAME; }
inline bool is_string(ALGEB a) { return type_of(a) == T_STRING; }
inline bool is_expseq(ALGEB a) { return type_of(a) == T_EXPSEQ; }
inline bool is_list(ALGEB a) { return type_of(a) == T_LIST; }
inline bool is_range(ALGEB a) { return type_of(a) == T_RANGE; }
inline bool is_equation(ALGEB a) { return type_of(a) == T_EQUATION; }
inline bool is_table(ALGEB a) { return type_of(a) == T_TABLE; }
inline bool is_rtable(ALGEB a) { return type_of(a) == T_RTABLE; }
inline bool is_boolean(ALGEB a) { return type_of(a) == T_BOOLEAN; }
inline bool is_procedure(ALGEB a)
{
    Type t = type_of(a);
    return t == T_CLOSURE || t == T_BUILTIN || t == T_EXTERNAL;
}
// Exact rational number: integer or rational.
inline bool is_exact_rational(ALGEB a) { return is_integer(a) || is_rational(a); }
// Real number: integer, rational or float.
inline bool is_real_numeric(ALGEB a) { return is_exact_rational(a) || is_float(a); }
// Any number, complex included.
inline bool is_any_numeric(ALGEB a) { return is_real_numeric(a) || is_complex(a); }

// ---------------------------------------------------------------------------
// Allocation (gc.cpp).  All collected memory is zero filled.
// ---------------------------------------------------------------------------

// Memory that may hold handles: scanned by the collector.
void *gc_alloc(size_t bytes);
// Memory that holds no handles: not scanned.
void *gc_alloc_atomic(size_t bytes);

// A node with n operand slots, all null.
ALGEB new_node(Type t, size_t n);
ALGEB new_node(Type t, std::initializer_list<ALGEB> ops);

// Counted protection of a value (the kernel's GcProtect/GcAllow).
void gc_protect(ALGEB a);
void gc_allow(ALGEB a);
size_t gc_protected_count(); // number of values with a non-zero count
// Protects not yet matched by an allow (the sum of the counts): a library
// that leaves it higher after an error than before leaks a root.
long gc_protect_balance();

// Environment variable TALVO_GC_STRESS=N: a full collection every N allocations.
void gc_init();
void gc_collect();
// Holds the stress mode's forced collections off (paused) or lets them run again.
void gc_stress_pause(bool paused);

// The memory ceiling: the most the collected heap (host objects, floats and
// every C++ heap object, all from the collector) may grow to.  A request that
// would take the heap past it, after a full collection, raises a host error
// naming the size asked for; the heap is then still usable.
size_t memory_ceiling();
// Set the ceiling (at least kMinMemoryCeiling, else a host error); returns
// the previous value.
size_t set_memory_ceiling(size_t bytes);
constexpr size_t kMinMemoryCeiling = size_t(32) << 20;
// Three quarters of the physical memory, or of the control group's memory
// limit when that is smaller.
size_t default_memory_ceiling();
// "1073741824", "200M", "1.5G", "512k" (powers of 1024), as bytes; false for
// anything else or for a size that overflows.
bool parse_memory_size(std::string_view text, size_t *bytes);
// A size for people: "200 MiB", "7.5 GiB", "512 bytes".
std::string memory_size_text(size_t bytes);
// Raise the ceiling error for a request of `bytes`.
[[noreturn]] void refuse_allocation(size_t bytes);
// Before each top-level statement: take back the room that a refused
// allocation gave up for its error to be built, unwound and printed.
void gc_statement_start();

// ---------------------------------------------------------------------------
// Constructors of common values (object.cpp)
// ---------------------------------------------------------------------------

ALGEB null_seq();                         // the empty expression sequence NULL
ALGEB make_expseq(const ALGEB *elems, size_t n);
ALGEB make_list(const ALGEB *elems, size_t n);
ALGEB make_string(std::string_view text);
ALGEB make_boolean(bool b);               // the singleton true or false
ALGEB true_value();
ALGEB false_value();
ALGEB make_range(ALGEB lo, ALGEB hi);
ALGEB make_equation(ALGEB lhs, ALGEB rhs);
ALGEB make_function(ALGEB head, ALGEB args_seq); // unevaluated call
ALGEB make_lexref(size_t depth, size_t index);

// The unique global name with this text (names are interned and never collected).
ALGEB intern(std::string_view text);
std::string_view name_text(ALGEB name);
// Every name interned so far (for a program that saves and restores the
// global state, such as a fuzzing harness between inputs).
std::vector<ALGEB> all_names();
std::string_view string_text(ALGEB str);

// Elements of an expression sequence or of a list, and the sequence flattening
// rule: an expression sequence inside a sequence contributes its elements.
size_t seq_length(ALGEB seq_or_value); // a non-sequence value counts as 1
ALGEB seq_elem(ALGEB seq_or_value, size_t i);

// Integers (numeric.cpp)
ALGEB make_integer(intptr_t v);
ALGEB make_integer64(int64_t v);
// True and *out set when the integer fits in int64_t.
bool integer_to_int64(ALGEB a, int64_t *out);

// Tables (table.cpp): keys compared with `equal`, entries kept in insertion order.
ALGEB table_new();
ALGEB table_get(ALGEB t, ALGEB key); // nullptr when absent
void table_put(ALGEB t, ALGEB key, ALGEB value);
bool table_remove(ALGEB t, ALGEB key);
size_t table_count(ALGEB t);
template <class F> void table_each(ALGEB t, F f)
{
    auto *tab = reinterpret_cast<TableObject *>(t);
    for (size_t i = 0; i < tab->used; ++i)
        if (tab->entries[2 * i] != nullptr)
            f(tab->entries[2 * i], tab->entries[2 * i + 1]);
}

ALGEB make_builtin(ALGEB name, BuiltinFn fn, uintptr_t flags);
ALGEB make_external(ALGEB name, void *fn, ExternalKind kind);

// Structural equality and hashing, used by tables and by `=` tests.
bool equal(ALGEB a, ALGEB b);
size_t hash_value(ALGEB a);

} // namespace talvo
