// object.cpp -- constructors of common host values, names, equality and hashing.
#include "object.hpp"

#include "errors.hpp"
#include "numeric.hpp"
#include "talvo_float.hpp"

#include <cstring>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace talvo {

namespace {

ALGEB make_singleton(Type t)
{
    // Kept reachable from static data, which the collector scans.
    return new_node(t, 0);
}

} // namespace

ALGEB null_seq()
{
    static ALGEB seq = make_singleton(T_EXPSEQ);
    return seq;
}

ALGEB true_value()
{
    static ALGEB t = [] {
        ALGEB b = new_node(T_BOOLEAN, 1);
        set_op(b, 1, make_immediate(1));
        return b;
    }();
    return t;
}

ALGEB false_value()
{
    static ALGEB f = [] {
        ALGEB b = new_node(T_BOOLEAN, 1);
        set_op(b, 1, make_immediate(0));
        return b;
    }();
    return f;
}

ALGEB make_boolean(bool b) { return b ? true_value() : false_value(); }

ALGEB make_expseq(const ALGEB *elems, size_t n)
{
    if (n == 0)
        return null_seq();
    ALGEB s = new_node(T_EXPSEQ, n);
    for (size_t i = 0; i < n; ++i)
        set_op(s, i + 1, elems[i]);
    return s;
}

ALGEB make_list(const ALGEB *elems, size_t n)
{
    ALGEB l = new_node(T_LIST, 1);
    set_op(l, 1, make_expseq(elems, n));
    return l;
}

ALGEB make_string(std::string_view text)
{
    if (text.size() > kLengthMask)
        raise_plain("string too long");
    auto *s = static_cast<StringObject *>(gc_alloc_atomic(sizeof(uintptr_t) + text.size() + 1));
    s->header = make_header(T_STRING, text.size());
    std::memcpy(s->text, text.data(), text.size());
    s->text[text.size()] = '\0';
    return reinterpret_cast<ALGEB>(s);
}

ALGEB make_range(ALGEB lo, ALGEB hi) { return new_node(T_RANGE, {lo, hi}); }
ALGEB make_equation(ALGEB lhs, ALGEB rhs) { return new_node(T_EQUATION, {lhs, rhs}); }
ALGEB make_function(ALGEB head, ALGEB args_seq) { return new_node(T_FUNCTION, {head, args_seq}); }
ALGEB make_lexref(size_t depth, size_t index)
{
    return new_node(T_LEXREF, {make_immediate(static_cast<intptr_t>(depth)), make_immediate(static_cast<intptr_t>(index))});
}

namespace {
// The name table is on the C++ heap (scanned), so names live for ever.
// Looked up by the text itself (no std::string is made to find a name that
// exists: the host reads its environment variables by name at every call).
struct NameHash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>{}(text); }
};
using NameTable = std::unordered_map<std::string, ALGEB, NameHash, std::equal_to<>>;

NameTable &name_table()
{
    static auto *names = new NameTable();
    return *names;
}
} // namespace

std::vector<ALGEB> all_names()
{
    std::vector<ALGEB> out;
    out.reserve(name_table().size());
    for (const auto &entry : name_table())
        out.push_back(entry.second);
    return out;
}

ALGEB intern(std::string_view text)
{
    auto *names = &name_table();
    auto it = names->find(text);
    if (it != names->end())
        return it->second;
    auto *n = static_cast<NameObject *>(gc_alloc(sizeof(NameObject) + text.size()));
    n->header = make_header(T_NAME, 0);
    n->length = text.size();
    std::memcpy(n->text, text.data(), text.size());
    n->text[text.size()] = '\0';
    ALGEB a = reinterpret_cast<ALGEB>(n);
    names->emplace(std::string(text), a);
    return a;
}

std::string_view name_text(ALGEB name) { return {as_name(name)->text, as_name(name)->length}; }
std::string_view string_text(ALGEB str) { return {as_string(str)->text, length_of(str)}; }

size_t seq_length(ALGEB a) { return is_expseq(a) ? nops(a) : 1; }
ALGEB seq_elem(ALGEB a, size_t i) { return is_expseq(a) ? op(a, i) : a; }

ALGEB make_builtin(ALGEB name, BuiltinFn fn, uintptr_t flags)
{
    auto *b = static_cast<BuiltinObject *>(gc_alloc(sizeof(BuiltinObject)));
    b->header = make_header(T_BUILTIN, 0);
    b->name = name;
    b->fn = fn;
    b->flags = flags;
    return reinterpret_cast<ALGEB>(b);
}

ALGEB make_external(ALGEB name, void *fn, ExternalKind kind)
{
    auto *e = static_cast<ExternalObject *>(gc_alloc(sizeof(ExternalObject)));
    e->header = make_header(T_EXTERNAL, 0);
    e->name = name;
    e->fn = fn;
    e->kind = kind;
    return reinterpret_cast<ALGEB>(e);
}

bool equal(ALGEB a, ALGEB b)
{
    if (a == b)
        return true;
    if (a == nullptr || b == nullptr || is_immediate(a) || is_immediate(b))
        return false;
    Type t = type_of(a);
    if (t != type_of(b))
        return false;
    switch (t) {
    case T_BIGINT: {
        auto *x = as_bigint(a), *y = as_bigint(b);
        return x->size == y->size &&
               std::memcmp(x->limbs, y->limbs, length_of(a) * sizeof(x->limbs[0])) == 0;
    }
    case T_FLOAT: {
        mpfr_srcptr x = talvo_float_value(a), y = talvo_float_value(b);
        if (mpfr_nan_p(x) || mpfr_nan_p(y))
            return mpfr_nan_p(x) && mpfr_nan_p(y);
        return mpfr_equal_p(x, y) != 0;
    }
    case T_STRING:
        return string_text(a) == string_text(b);
    case T_NAME: // interned
    case T_TABLE:
    case T_RTABLE:
    case T_CLOSURE:
    case T_BUILTIN:
    case T_EXTERNAL:
    case T_FRAME:
    case T_BOOLEAN:
        return false;
    default:
        break;
    }
    size_t n = nops(a);
    if (n != nops(b))
        return false;
    for (size_t i = 1; i <= n; ++i)
        if (!equal(op(a, i), op(b, i)))
            return false;
    return true;
}

size_t hash_value(ALGEB a)
{
    if (a == nullptr)
        return 0;
    if (is_immediate(a))
        return std::hash<intptr_t>()(immediate_value(a));
    Type t = type_of(a);
    switch (t) {
    case T_BIGINT: {
        size_t h = std::hash<intptr_t>()(as_bigint(a)->size);
        for (size_t i = 0; i < length_of(a); ++i)
            h = h * 1000003u ^ std::hash<uint64_t>()(as_bigint(a)->limbs[i]);
        return h;
    }
    case T_FLOAT: {
        mpfr_srcptr x = talvo_float_value(a);
        if (mpfr_nan_p(x))
            return 0x9e3779b9u;
        return std::hash<double>()(mpfr_get_d(x, MPFR_RNDN));
    }
    case T_STRING:
        return std::hash<std::string_view>()(string_text(a));
    case T_NAME:
    case T_TABLE:
    case T_RTABLE:
    case T_CLOSURE:
    case T_BUILTIN:
    case T_EXTERNAL:
    case T_FRAME:
    case T_BOOLEAN:
        return std::hash<const void *>()(a);
    default:
        break;
    }
    size_t h = t * 0x9e3779b97f4a7c15ull;
    for (size_t i = 1; i <= nops(a); ++i)
        h = (h ^ hash_value(op(a, i))) * 1099511628211ull;
    return h;
}

} // namespace talvo
