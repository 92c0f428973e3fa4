// rtable.cpp -- rtables: creation and validation, element access in raw and
// host form, conversion between data types and storages, the Array
// constructor of the language, indexing, and the printed form.
//
// Every element moves through one raw form, an RTableData holding exactly the
// bytes the data block holds (element_size of the data type).  `encode` turns
// a host value into that form for the rtable's data type (raising when the
// value does not fit), `decode` turns it back into a host value.  Rectangular
// storage keeps count elements in one block; sparse storage keeps the linear
// positions of the stored elements sorted, with their values beside them, and
// stores nothing for an element equal to the rtable's zero (its fill value, or
// the zero of the type), so assigning the zero removes an entry.
#include "rtable.hpp"

#include "errors.hpp"
#include "numeric.hpp"
#include "print.hpp"
#include "talvo_float.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace talvo::rtable {

namespace {

// A rectangular data block is refused beyond this (the collector's limit for
// one object), so a huge request is an error rather than an abort.
constexpr __int128 kMaxBlockBytes = __int128(1) << 36;
// Element counts beyond this are refused for any storage: linear positions
// and counts stay well inside M_INT.
constexpr __int128 kMaxElements = __int128(1) << 62;
// A conversion that must visit every element of a sparse rtable one by one
// refuses beyond this many elements.
constexpr M_INT kMaxWalk = M_INT(1) << 28;
// Sparse rtables with more elements than this print their stored entries only.
constexpr M_INT kPrintAllLimit = 100;

const char *const kDataTypeNames[RTABLE_NUM_DATATYPES] = {
    "anything", "complex", "int8", "int16", "int32", "int64", "float64", "complex128", "float32"};

ALGEB anything_name()
{
    static ALGEB n = intern("anything");
    return n;
}

ALGEB sfloat_name()
{
    static ALGEB n = intern("sfloat");
    return n;
}

RTableData blank()
{
    RTableData r;
    std::memset(&r, 0, sizeof r);
    return r;
}

bool holds_handles(int data_type) { return data_type == RTABLE_DAG || data_type == RTABLE_CXDAG; }

RTableObject *checked(ALGEB rt)
{
    if (!is_rtable(rt))
        raise("expected an rtable, received %1", rt);
    return as_rtable(rt);
}

size_t esize(const RTableObject *o) { return element_size(o->settings.data_type); }

bool is_sfloat(const RTableObject *o)
{
    return o->settings.data_type == RTABLE_DAG && o->settings.element_type == sfloat_name();
}

// The datatype as the language names it.
std::string type_name(const RTableSettings &s)
{
    if (s.data_type == RTABLE_DAG)
        return std::string(name_text(s.element_type));
    return kDataTypeNames[s.data_type];
}

std::string storage_name(int storage)
{
    switch (storage) {
    case RTABLE_SPARSE: return "sparse";
    case RTABLE_EMPTY: return "empty";
    case RTABLE_DIAG: return "diagonal";
    case RTABLE_BAND: return "band";
    case RTABLE_RECT: return "rectangular";
    default: return std::to_string(storage);
    }
}

[[noreturn]] void cannot_store(const RTableObject *o, ALGEB v)
{
    raise("cannot store %1 in an array of datatype " + type_name(o->settings), v);
}

// Round a double to single precision without relying on the conversion of an
// out-of-range value: round to nearest gives the largest single up to half
// an ulp beyond it (2^128 - 2^103, exclusive: the tie goes to the even
// neighbour 2^128), infinity from there on.
float narrow(double x)
{
    if (!std::isfinite(x) || std::fabs(x) <= double(FLT_MAX))
        return static_cast<float>(x);
    constexpr double kOverflow = 0x1.ffffffp127;
    float r = std::fabs(x) < kOverflow ? FLT_MAX : HUGE_VALF;
    return x < 0 ? -r : r;
}

// ---------------------------------------------------------------------------
// Raw elements
// ---------------------------------------------------------------------------

RTableData encode(const RTableObject *o, ALGEB v)
{
    if (v == nullptr)
        raise_plain("cannot store a missing value in an array of datatype " + type_name(o->settings));
    RTableData r = blank();
    int64_t x = 0;
    auto integer_in = [&](int64_t lo, int64_t hi) {
        if (!is_integer(v) || !integer_to_int64(v, &x) || x < lo || x > hi)
            cannot_store(o, v);
    };
    switch (o->settings.data_type) {
    case RTABLE_DAG:
        if (!is_sfloat(o) || is_float(v))
            r.dag = v;
        else if (is_real_numeric(v))
            r.dag = num::to_float(v, 0);
        else
            cannot_store(o, v);
        break;
    case RTABLE_CXDAG:
        if (is_complex(v)) {
            r.cxdag.re = num::real_part(v);
            r.cxdag.im = num::imag_part(v);
        } else if (is_real_numeric(v)) {
            r.cxdag.re = v;
            r.cxdag.im = make_immediate(0);
        } else {
            cannot_store(o, v);
        }
        break;
    case RTABLE_INTEGER8:
        integer_in(INT8_MIN, INT8_MAX);
        r.int8 = static_cast<int8_t>(x);
        break;
    case RTABLE_INTEGER16:
        integer_in(INT16_MIN, INT16_MAX);
        r.int16 = static_cast<int16_t>(x);
        break;
    case RTABLE_INTEGER32:
        integer_in(INT32_MIN, INT32_MAX);
        r.int32 = static_cast<int32_t>(x);
        break;
    case RTABLE_INTEGER64:
        integer_in(INT64_MIN, INT64_MAX);
        r.int64 = x;
        break;
    case RTABLE_FLOAT64:
        if (!is_real_numeric(v))
            cannot_store(o, v);
        r.float64 = num::to_double(v);
        break;
    case RTABLE_COMPLEX:
        if (!is_any_numeric(v))
            cannot_store(o, v);
        r.complex.re = num::to_double(num::real_part(v));
        r.complex.im = num::to_double(num::imag_part(v));
        break;
    case RTABLE_FLOAT32:
        if (!is_real_numeric(v))
            cannot_store(o, v);
        r.float32 = narrow(num::to_double(v));
        break;
    }
    return r;
}

// A raw element as it is read: a null handle (a caller's zero-filled block
// not yet written) reads as the rtable's zero.
RTableData normalise(const RTableObject *o, RTableData r)
{
    if (o->settings.data_type == RTABLE_DAG && r.dag == nullptr)
        r.dag = o->zero.dag;
    else if (o->settings.data_type == RTABLE_CXDAG) {
        if (r.cxdag.re == nullptr)
            r.cxdag.re = make_immediate(0);
        if (r.cxdag.im == nullptr)
            r.cxdag.im = make_immediate(0);
    }
    return r;
}

ALGEB float53(double x) { return talvo_float_from_double(x, 53); }

ALGEB decode(const RTableObject *o, RTableData r)
{
    r = normalise(o, r);
    switch (o->settings.data_type) {
    case RTABLE_DAG: return r.dag;
    case RTABLE_CXDAG: return num::make_complex(r.cxdag.re, r.cxdag.im);
    case RTABLE_INTEGER8: return make_integer(r.int8);
    case RTABLE_INTEGER16: return make_integer(r.int16);
    case RTABLE_INTEGER32: return make_integer(r.int32);
    case RTABLE_INTEGER64: return make_integer64(r.int64);
    case RTABLE_FLOAT64: return float53(r.float64);
    case RTABLE_COMPLEX: return num::make_complex(float53(r.complex.re), float53(r.complex.im));
    case RTABLE_FLOAT32: return float53(double(r.float32));
    }
    return nullptr;
}

// Whether two raw elements of o are the same element: host values compare
// structurally, native numbers by their bytes (so -0.0 is kept apart from 0.0).
bool same(const RTableObject *o, RTableData a, RTableData b)
{
    a = normalise(o, a);
    b = normalise(o, b);
    switch (o->settings.data_type) {
    case RTABLE_DAG: return equal(a.dag, b.dag);
    case RTABLE_CXDAG: return equal(a.cxdag.re, b.cxdag.re) && equal(a.cxdag.im, b.cxdag.im);
    default: return std::memcmp(&a, &b, esize(o)) == 0;
    }
}

// A raw element handed in by a library (RTableAssign): host values are
// checked where the data type constrains them; native numbers are taken as
// they are.
RTableData admit(const RTableObject *o, RTableData v)
{
    switch (o->settings.data_type) {
    case RTABLE_DAG:
        if (is_sfloat(o) && v.dag != nullptr && !is_float(v.dag)) {
            if (!is_real_numeric(v.dag))
                cannot_store(o, v.dag);
            v.dag = num::to_float(v.dag, 0);
        }
        break;
    case RTABLE_CXDAG:
        for (ALGEB part : {v.cxdag.re, v.cxdag.im})
            if (part != nullptr && !is_real_numeric(part))
                raise("cannot store %1 as a part of an element of datatype complex", part);
        break;
    default: {
        // Only the element's own bytes are significant.
        RTableData r = blank();
        std::memcpy(&r, &v, esize(o));
        v = r;
        break;
    }
    }
    return v;
}

size_t find(const RTableObject *o, M_INT pos)
{
    return static_cast<size_t>(std::lower_bound(o->sparse_pos, o->sparse_pos + o->sparse_count, pos) - o->sparse_pos);
}

RTableData read_raw(const RTableObject *o, M_INT pos)
{
    size_t es = esize(o);
    RTableData r = blank();
    if (o->settings.storage == RTABLE_RECT) {
        std::memcpy(&r, static_cast<const unsigned char *>(o->data) + size_t(pos) * es, es);
    } else {
        size_t k = find(o, pos);
        if (k < o->sparse_count && o->sparse_pos[k] == pos)
            std::memcpy(&r, o->sparse_val + k * es, es);
        else
            r = o->zero;
    }
    return normalise(o, r);
}

void grow_sparse(RTableObject *o)
{
    size_t es = esize(o);
    size_t cap = o->sparse_capacity == 0 ? 8 : 2 * o->sparse_capacity;
    auto *pos = static_cast<M_INT *>(gc_alloc_atomic(cap * sizeof(M_INT)));
    void *val = holds_handles(o->settings.data_type) ? gc_alloc(cap * es) : gc_alloc_atomic(cap * es);
    if (o->sparse_count != 0) {
        std::memcpy(pos, o->sparse_pos, o->sparse_count * sizeof(M_INT));
        std::memcpy(val, o->sparse_val, o->sparse_count * es);
    }
    o->sparse_pos = pos;
    o->sparse_val = static_cast<unsigned char *>(val);
    o->sparse_capacity = cap;
}

void write_raw(RTableObject *o, M_INT pos, RTableData v)
{
    size_t es = esize(o);
    if (o->settings.storage == RTABLE_RECT) {
        std::memcpy(static_cast<unsigned char *>(o->data) + size_t(pos) * es, &v, es);
        return;
    }
    size_t k = find(o, pos);
    bool present = k < o->sparse_count && o->sparse_pos[k] == pos;
    if (same(o, v, o->zero)) {
        if (present) {
            size_t tail = o->sparse_count - k - 1;
            std::memmove(o->sparse_pos + k, o->sparse_pos + k + 1, tail * sizeof(M_INT));
            std::memmove(o->sparse_val + k * es, o->sparse_val + (k + 1) * es, tail * es);
            --o->sparse_count;
            // Clear the vacated slot so it keeps no host value alive.
            std::memset(o->sparse_val + o->sparse_count * es, 0, es);
        }
        return;
    }
    if (!present) {
        if (o->sparse_count == o->sparse_capacity)
            grow_sparse(o);
        size_t tail = o->sparse_count - k;
        std::memmove(o->sparse_pos + k + 1, o->sparse_pos + k, tail * sizeof(M_INT));
        std::memmove(o->sparse_val + (k + 1) * es, o->sparse_val + k * es, tail * es);
        o->sparse_pos[k] = pos;
        ++o->sparse_count;
    }
    std::memcpy(o->sparse_val + k * es, &v, es);
}

// ---------------------------------------------------------------------------
// Positions
// ---------------------------------------------------------------------------

M_INT dims(const RTableObject *o) { return o->settings.num_dimensions; }

M_INT position(const RTableObject *o, M_INT i, M_INT j)
{
    M_INT di = i - o->lo[0], dj = j - o->lo[1];
    return o->settings.order == RTABLE_C ? di * o->size[1] + dj : di + dj * o->size[0];
}

void coordinates(const RTableObject *o, M_INT pos, M_INT *i, M_INT *j)
{
    if (o->settings.order == RTABLE_C) {
        *i = o->lo[0] + pos / o->size[1];
        *j = o->lo[1] + pos % o->size[1];
    } else {
        *i = o->lo[0] + pos % o->size[0];
        *j = o->lo[1] + pos / o->size[0];
    }
}

std::string bounds_text(const RTableObject *o, M_INT d)
{
    return std::to_string(o->lo[d]) + ".." + std::to_string(o->hi[d]);
}

[[noreturn]] void out_of_range(const RTableObject *o, const std::vector<std::string> &index)
{
    std::string idx, bounds;
    for (size_t d = 0; d < index.size(); ++d) {
        idx += (d ? ", " : "") + index[d];
        bounds += (d ? ", " : "") + bounds_text(o, M_INT(d));
    }
    if (index.size() > 1) {
        idx = "[" + idx + "]";
        bounds = "[" + bounds + "]";
    }
    raise_plain("index out of range: " + idx + " is not in " + bounds);
}

M_INT checked_position(const RTableObject *o, const M_INT *index)
{
    if (index == nullptr)
        raise_plain("missing rtable index");
    M_INT ij[2] = {index[0], dims(o) == 2 ? index[1] : 1};
    for (M_INT d = 0; d < dims(o); ++d)
        if (ij[d] < o->lo[d] || ij[d] > o->hi[d]) {
            std::vector<std::string> text;
            for (M_INT e = 0; e < dims(o); ++e)
                text.push_back(std::to_string(index[e]));
            out_of_range(o, text);
        }
    return position(o, ij[0], ij[1]);
}

// ---------------------------------------------------------------------------
// Settings and construction
// ---------------------------------------------------------------------------

void validate(RTableSettings &s)
{
    if (s.num_dimensions < 1 || s.num_dimensions > RTABLE_MAX_DIMENSIONS)
        raise_plain("rtables of " + std::to_string(s.num_dimensions) +
                    " dimensions are not supported, expected 1 or 2");
    if (s.subtype < RTABLE_ARRAY || s.subtype > RTABLE_ROW)
        raise_plain("invalid rtable subtype " + std::to_string(s.subtype));
    if (s.data_type < 0 || s.data_type >= RTABLE_NUM_DATATYPES)
        raise_plain("invalid rtable datatype " + std::to_string(s.data_type));
    if (s.storage == RTABLE_EMPTY || s.storage == RTABLE_DIAG || s.storage == RTABLE_BAND)
        raise_plain("storage " + storage_name(s.storage) + " is not supported");
    if (s.storage != RTABLE_RECT && s.storage != RTABLE_SPARSE)
        raise_plain("invalid rtable storage " + std::to_string(s.storage));
    if (s.order != RTABLE_FORTRAN && s.order != RTABLE_C)
        raise_plain("invalid rtable order " + std::to_string(s.order));
    if (s.data_type == RTABLE_DAG) {
        if (s.element_type == nullptr)
            s.element_type = anything_name();
        if (s.element_type != anything_name() && s.element_type != sfloat_name())
            raise("element type %1 is not supported, expected anything or sfloat", s.element_type);
    } else {
        s.element_type = anything_name();
    }
    s.read_only = s.read_only != 0;
}

// A new rtable of validated settings and bounds; pdata (rectangular storage
// only) is adopted as the data block, otherwise a block of zeros is made.
// A new rtable.  `fill`: its block holds the zero element (false: the caller
// writes every element of a rectangular block itself).
ALGEB make(const RTableSettings &s, const M_INT lo[2], const M_INT hi[2], void *pdata, bool fill = true)
{
    __int128 size[2], count = 1;
    for (int d = 0; d < 2; ++d) {
        // An upper bound below the lower bound makes an empty dimension; the
        // bounds are kept as given (a sample of length -3 is Array(1..-3)).
        size[d] = __int128(hi[d]) - lo[d] + 1;
        if (size[d] < 0)
            size[d] = 0;
        if (size[d] > kMaxElements)
            raise_plain("array too large");
        count *= size[d];
    }
    size_t es = element_size(s.data_type);
    if (count > kMaxElements || (s.storage == RTABLE_RECT && count * es > kMaxBlockBytes))
        raise_plain("array too large");
    if (pdata != nullptr && s.storage != RTABLE_RECT)
        raise_plain("a data block can be given only for rectangular storage");

    auto *o = static_cast<RTableObject *>(gc_alloc(sizeof(RTableObject)));
    o->header = make_header(T_RTABLE, 0);
    o->settings = s;
    o->settings.foreign = pdata != nullptr;
    for (int d = 0; d < 2; ++d) {
        o->lo[d] = lo[d];
        o->hi[d] = hi[d];
        o->size[d] = static_cast<M_INT>(size[d]);
    }
    o->count = static_cast<M_INT>(count);

    // The zero element: the fill value in the rtable's type, or the zero of
    // the type (a float zero for sfloat elements, the integer 0 for other
    // host values).
    if (s.fill != nullptr) {
        o->zero = encode(o, s.fill);
    } else {
        o->zero = blank();
        if (s.data_type == RTABLE_DAG)
            o->zero.dag = is_sfloat(o) ? num::to_float(make_immediate(0), 0) : make_immediate(0);
        else if (s.data_type == RTABLE_CXDAG)
            o->zero.cxdag.re = o->zero.cxdag.im = make_immediate(0);
    }

    if (s.storage == RTABLE_RECT) {
        if (pdata != nullptr) {
            o->data = pdata;
        } else {
            size_t bytes = size_t(count) * es;
            o->data = holds_handles(s.data_type) ? gc_alloc(bytes) : gc_alloc_atomic(bytes);
            RTableData z = blank();
            if (fill && std::memcmp(&o->zero, &z, es) != 0) {
                auto *p = static_cast<unsigned char *>(o->data);
                for (M_INT k = 0; k < o->count; ++k)
                    std::memcpy(p + size_t(k) * es, &o->zero, es);
            }
        }
    }
    return reinterpret_cast<ALGEB>(o);
}

// Whether raw elements of src are valid raw elements of dst as they are.
bool raw_compatible(const RTableObject *src, const RTableObject *dst)
{
    if (src->settings.data_type != dst->settings.data_type)
        return false;
    return src->settings.data_type != RTABLE_DAG || dst->settings.element_type == anything_name() ||
           src->settings.element_type == dst->settings.element_type;
}

// ---------------------------------------------------------------------------
// The language
// ---------------------------------------------------------------------------

// An option value given as a name or a string.
std::string option_text(ALGEB v)
{
    if (is_name(v))
        return std::string(name_text(v));
    if (is_string(v))
        return std::string(string_text(v));
    return std::string();
}

void set_datatype(RTableSettings &s, ALGEB v)
{
    std::string t = option_text(v);
    if (t == "anything" || t == "sfloat") {
        s.data_type = RTABLE_DAG;
        s.element_type = intern(t);
        return;
    }
    for (int code = RTABLE_CXDAG; code < RTABLE_NUM_DATATYPES; ++code)
        if (t == kDataTypeNames[code]) {
            s.data_type = code;
            s.element_type = anything_name();
            return;
        }
    raise("unknown datatype %1, expected one of anything, sfloat, complex, int8, int16, int32, int64, "
          "float64, complex128, float32",
          v);
}

void set_storage(RTableSettings &s, ALGEB v)
{
    std::string t = option_text(v);
    if (t == "rectangular")
        s.storage = RTABLE_RECT;
    else if (t == "sparse")
        s.storage = RTABLE_SPARSE;
    else if (t == "diagonal" || t == "band" || t == "empty")
        raise_plain("storage " + t + " is not supported");
    else
        raise("unknown storage %1, expected rectangular or sparse", v);
}

void set_order(RTableSettings &s, ALGEB v)
{
    std::string t = option_text(v);
    if (t == "Fortran_order")
        s.order = RTABLE_FORTRAN;
    else if (t == "C_order")
        s.order = RTABLE_C;
    else
        raise("unknown order %1, expected Fortran_order or C_order", v);
}

ALGEB list_items(ALGEB list) { return op(list, 1); }
size_t list_length(ALGEB list) { return seq_length(list_items(list)); }
ALGEB list_item(ALGEB list, size_t i) { return seq_elem(list_items(list), i); }

// A host integer as an index of dimension d (0-based) of o.
M_INT index_value(const RTableObject *o, ALGEB v, M_INT d, const std::vector<std::string> &all)
{
    int64_t x = 0;
    if (!integer_to_int64(v, &x) || x < o->lo[d] || x > o->hi[d])
        out_of_range(o, all);
    return static_cast<M_INT>(x);
}

// The linear position of an index sequence of the language.
M_INT language_position(const RTableObject *o, ALGEB index_seq)
{
    size_t n = index_seq == nullptr ? 0 : seq_length(index_seq);
    if (M_INT(n) != dims(o))
        raise_plain("wrong number of indices: the array has " + std::to_string(dims(o)) +
                    (dims(o) == 1 ? " dimension, " : " dimensions, ") + std::to_string(n) +
                    (n == 1 ? " index given" : " indices given"));
    std::vector<std::string> text;
    for (size_t k = 1; k <= n; ++k) {
        ALGEB v = seq_elem(index_seq, k);
        if (!is_integer(v))
            raise("array index must be an integer, received %1", v);
        text.push_back(num::integer_to_string(v));
    }
    M_INT ij[2] = {1, 1};
    for (size_t k = 1; k <= n; ++k)
        ij[k - 1] = index_value(o, seq_elem(index_seq, k), M_INT(k - 1), text);
    return position(o, ij[0], ij[1]);
}

void require_writable(const RTableObject *o)
{
    if (o->settings.read_only)
        raise_plain("cannot assign to a read-only array");
}

} // namespace

// ---------------------------------------------------------------------------
// Kernel operations
// ---------------------------------------------------------------------------

size_t element_size(int data_type)
{
    switch (data_type) {
    case RTABLE_DAG: return sizeof(ALGEB);
    case RTABLE_CXDAG: return 2 * sizeof(ALGEB);
    case RTABLE_INTEGER8: return 1;
    case RTABLE_INTEGER16: return 2;
    case RTABLE_INTEGER32: return 4;
    case RTABLE_INTEGER64: return 8;
    case RTABLE_FLOAT64: return sizeof(double);
    case RTABLE_COMPLEX: return 2 * sizeof(double);
    case RTABLE_FLOAT32: return sizeof(float);
    default: return 0;
    }
}

void get_defaults(RTableSettings *s)
{
    if (s == nullptr)
        raise_plain("missing rtable settings");
    std::memset(s, 0, sizeof *s);
    s->num_dimensions = 1;
    s->subtype = RTABLE_ARRAY;
    s->storage = RTABLE_RECT;
    s->data_type = RTABLE_DAG;
    s->element_type = anything_name();
    s->order = RTABLE_FORTRAN;
    s->read_only = TALVO_FALSE;
    s->foreign = TALVO_FALSE;
    s->fill = nullptr;
}

ALGEB create(const RTableSettings *s, void *pdata, const M_INT *bounds)
{
    RTableSettings st;
    if (s != nullptr)
        st = *s;
    else
        get_defaults(&st);
    validate(st);
    if (bounds == nullptr)
        raise_plain("missing rtable bounds");
    M_INT lo[2] = {bounds[0], 1}, hi[2] = {bounds[1], 1};
    if (st.num_dimensions == 2) {
        lo[1] = bounds[2];
        hi[1] = bounds[3];
    }
    return make(st, lo, hi, pdata);
}

ALGEB copy(const RTableSettings *s, ALGEB rt)
{
    RTableObject *src = checked(rt);
    RTableSettings st = s != nullptr ? *s : src->settings;
    // The copy has the shape of the source whatever the settings say.
    st.num_dimensions = src->settings.num_dimensions;
    validate(st);
    // A rectangular copy of a rectangular block in the same order takes the
    // block as it is, every element written below.
    const bool whole_block = src->settings.storage == RTABLE_RECT && st.storage == RTABLE_RECT &&
                             src->settings.data_type == st.data_type &&
                             (src->settings.data_type != RTABLE_DAG || st.element_type == anything_name() ||
                              src->settings.element_type == st.element_type) &&
                             (src->settings.order == st.order || dims(src) == 1);
    ALGEB result = make(st, src->lo, src->hi, nullptr, !whole_block);
    RTableObject *dst = as_rtable(result);

    bool raw = raw_compatible(src, dst);
    auto convert = [&](RTableData r) { return raw ? r : encode(dst, decode(src, r)); };

    if (whole_block) {
        const size_t bytes = size_t(src->count) * esize(src);
        std::memcpy(dst->data, src->data, bytes);
        if (holds_handles(src->settings.data_type)) {
            // Null handles (elements never assigned) become the zero, as
            // reading them gives it: the source's zero for host values, the
            // integer 0 for either half of a complex one.
            const ALGEB zero = src->settings.data_type == RTABLE_DAG ? src->zero.dag : make_immediate(0);
            auto *h = static_cast<ALGEB *>(dst->data);
            for (size_t k = 0, n = bytes / sizeof(ALGEB); k < n; ++k)
                if (h[k] == nullptr)
                    h[k] = zero;
        }
        return result;
    }

    // Without fill values an unassigned element stays unassigned (the zero of
    // one type becomes the zero of the other); with them, only when the
    // source's fill converts to the copy's.
    bool zeros_agree = (src->settings.fill == nullptr && dst->settings.fill == nullptr) ||
                       same(dst, convert(src->zero), dst->zero);
    if (src->settings.storage == RTABLE_SPARSE && zeros_agree) {
        // Only the stored entries need copying.
        std::vector<std::pair<M_INT, RTableData>> entries;
        entries.reserve(src->sparse_count);
        size_t es = esize(src);
        for (size_t k = 0; k < src->sparse_count; ++k) {
            M_INT i, j;
            coordinates(src, src->sparse_pos[k], &i, &j);
            RTableData r = blank();
            std::memcpy(&r, src->sparse_val + k * es, es);
            entries.emplace_back(position(dst, i, j), convert(normalise(src, r)));
        }
        std::sort(entries.begin(), entries.end(),
                  [](const auto &a, const auto &b) { return a.first < b.first; });
        for (const auto &e : entries)
            write_raw(dst, e.first, e.second);
        return result;
    }

    if (src->settings.storage == RTABLE_SPARSE && dst->settings.storage == RTABLE_SPARSE &&
        src->count > kMaxWalk)
        raise_plain("array too large to convert");
    for (M_INT j = src->lo[1]; j <= src->hi[1]; ++j)
        for (M_INT i = src->lo[0]; i <= src->hi[0]; ++i)
            write_raw(dst, position(dst, i, j), convert(read_raw(src, position(src, i, j))));
    return result;
}

void *data_block(ALGEB rt)
{
    RTableObject *o = checked(rt);
    return o->settings.storage == RTABLE_RECT ? o->data : nullptr;
}

void get_settings(RTableSettings *s, ALGEB rt)
{
    RTableObject *o = checked(rt);
    if (s == nullptr)
        raise_plain("missing rtable settings");
    *s = o->settings;
}

M_INT num_dimensions(ALGEB rt) { return dims(checked(rt)); }
M_INT num_elements(ALGEB rt) { return checked(rt)->count; }

M_INT lower_bound(ALGEB rt, M_INT dim)
{
    RTableObject *o = checked(rt);
    if (dim < 1 || dim > dims(o))
        raise_plain("dimension " + std::to_string(dim) + " out of range for an array of " +
                    std::to_string(dims(o)) + (dims(o) == 1 ? " dimension" : " dimensions"));
    return o->lo[dim - 1];
}

M_INT upper_bound(ALGEB rt, M_INT dim)
{
    RTableObject *o = checked(rt);
    lower_bound(rt, dim); // checks dim
    return o->hi[dim - 1];
}

M_INT stored_count(ALGEB rt)
{
    RTableObject *o = checked(rt);
    return o->settings.storage == RTABLE_RECT ? o->count : M_INT(o->sparse_count);
}

RTableData select(ALGEB rt, const M_INT *index)
{
    RTableObject *o = checked(rt);
    return read_raw(o, checked_position(o, index));
}

void assign(ALGEB rt, const M_INT *index, RTableData v)
{
    RTableObject *o = checked(rt);
    require_writable(o);
    M_INT pos = checked_position(o, index);
    write_raw(o, pos, admit(o, v));
}

ALGEB element_value(ALGEB rt, const M_INT *index)
{
    RTableObject *o = checked(rt);
    return decode(o, read_raw(o, checked_position(o, index)));
}

void set_element_value(ALGEB rt, const M_INT *index, ALGEB value)
{
    RTableObject *o = checked(rt);
    require_writable(o);
    M_INT pos = checked_position(o, index);
    write_raw(o, pos, encode(o, value));
}

// ---------------------------------------------------------------------------
// The language
// ---------------------------------------------------------------------------

ALGEB array_constructor(ALGEB args)
{
    RTableSettings st;
    get_defaults(&st);
    std::vector<ALGEB> ranges;
    ALGEB init = nullptr, entries = nullptr;

    size_t nargs = args == nullptr ? 0 : seq_length(args);
    for (size_t k = 1; k <= nargs; ++k) {
        ALGEB a = seq_elem(args, k);
        if (is_range(a)) {
            if (ranges.size() == RTABLE_MAX_DIMENSIONS)
                raise_plain("arrays of more than 2 dimensions are not supported");
            ranges.push_back(a);
        } else if (is_list(a)) {
            if (init != nullptr)
                raise("initial values given twice: %1", a);
            init = a;
        } else if (is_equation(a) && is_name(op(a, 1))) {
            std::string_view opt = name_text(op(a, 1));
            ALGEB v = op(a, 2);
            if (opt == "datatype")
                set_datatype(st, v);
            else if (opt == "storage")
                set_storage(st, v);
            else if (opt == "order")
                set_order(st, v);
            else if (opt == "fill")
                st.fill = v;
            else if (opt == "entries") {
                if (!is_list(v))
                    raise("entries must be a list of equations index = value, received %1", v);
                entries = v;
            } else
                raise("unknown Array option %1", a);
        } else {
            raise("invalid Array argument %1, expected bounds, initial values or options", a);
        }
    }

    M_INT lo[2] = {1, 1}, hi[2] = {1, 1};
    if (!ranges.empty()) {
        st.num_dimensions = int(ranges.size());
        for (size_t d = 0; d < ranges.size(); ++d) {
            int64_t l = 0, h = 0;
            if (!is_integer(op(ranges[d], 1)) || !is_integer(op(ranges[d], 2)) ||
                !integer_to_int64(op(ranges[d], 1), &l) || !integer_to_int64(op(ranges[d], 2), &h))
                raise("invalid Array bounds %1, expected a range of integers", ranges[d]);
            lo[d] = l;
            hi[d] = h;
        }
    } else if (init != nullptr) {
        size_t n = list_length(init);
        bool rows = n > 0;
        size_t width = 0;
        for (size_t r = 1; r <= n && rows; ++r) {
            ALGEB row = list_item(init, r);
            rows = is_list(row);
            if (rows)
                width = std::max(width, list_length(row));
        }
        st.num_dimensions = rows ? 2 : 1;
        hi[0] = M_INT(n);
        if (rows)
            hi[1] = M_INT(width);
    } else {
        raise_plain("Array expects bounds or a list of initial values");
    }
    if (entries != nullptr && ranges.empty())
        raise_plain("Array entries need explicit bounds");

    validate(st);
    ALGEB result = make(st, lo, hi, nullptr);
    RTableObject *o = as_rtable(result);

    if (init != nullptr) {
        size_t n = list_length(init);
        if (st.num_dimensions == 1) {
            if (M_INT(n) > o->size[0])
                raise_plain(std::to_string(n) + " initial values given for an array of " +
                            std::to_string(o->size[0]) + " elements");
            for (size_t k = 1; k <= n; ++k)
                write_raw(o, position(o, o->lo[0] + M_INT(k) - 1, 1), encode(o, list_item(init, k)));
        } else {
            if (M_INT(n) > o->size[0])
                raise_plain(std::to_string(n) + " rows given for an array of " + std::to_string(o->size[0]) +
                            " rows");
            for (size_t r = 1; r <= n; ++r) {
                ALGEB row = list_item(init, r);
                if (!is_list(row))
                    raise("expected a list of rows for a 2-dimensional Array, received %1", init);
                size_t m = list_length(row);
                if (M_INT(m) > o->size[1])
                    raise_plain("row " + std::to_string(r) + " has " + std::to_string(m) +
                                " values for an array of " + std::to_string(o->size[1]) + " columns");
                for (size_t c = 1; c <= m; ++c)
                    write_raw(o, position(o, o->lo[0] + M_INT(r) - 1, o->lo[1] + M_INT(c) - 1),
                              encode(o, list_item(row, c)));
            }
        }
    }

    if (entries != nullptr) {
        for (size_t k = 1; k <= list_length(entries); ++k) {
            ALGEB e = list_item(entries, k);
            if (!is_equation(e))
                raise("entries must be a list of equations index = value, received %1", e);
            ALGEB lhs = op(e, 1);
            ALGEB index_seq = is_list(lhs) ? list_items(lhs) : lhs;
            write_raw(o, language_position(o, index_seq), encode(o, op(e, 2)));
        }
    }
    return result;
}

ALGEB index(ALGEB rt, ALGEB index_seq)
{
    RTableObject *o = checked(rt);
    return decode(o, read_raw(o, language_position(o, index_seq)));
}

void assign_index(ALGEB rt, ALGEB index_seq, ALGEB value)
{
    RTableObject *o = checked(rt);
    require_writable(o);
    M_INT pos = language_position(o, index_seq);
    write_raw(o, pos, encode(o, value));
}

std::string print(ALGEB rt)
{
    RTableObject *o = checked(rt);
    auto element = [&](M_INT i, M_INT j) { return talvo::print(decode(o, read_raw(o, position(o, i, j)))); };

    std::string out = "Array(" + bounds_text(o, 0);
    if (dims(o) == 2)
        out += ", " + bounds_text(o, 1);

    bool all = o->settings.storage == RTABLE_RECT || o->count <= kPrintAllLimit;
    if (all) {
        out += ", [";
        for (M_INT i = o->lo[0]; i <= o->hi[0]; ++i) {
            if (i != o->lo[0])
                out += ", ";
            if (dims(o) == 1) {
                out += element(i, 1);
                continue;
            }
            out += "[";
            for (M_INT j = o->lo[1]; j <= o->hi[1]; ++j) {
                if (j != o->lo[1])
                    out += ", ";
                out += element(i, j);
            }
            out += "]";
        }
        out += "]";
    }

    if (type_name(o->settings) != "anything")
        out += ", datatype = " + type_name(o->settings);
    if (o->settings.storage == RTABLE_SPARSE)
        out += ", storage = sparse";
    if (o->settings.order == RTABLE_C)
        out += ", order = C_order";
    if (o->settings.fill != nullptr)
        out += ", fill = " + talvo::print(o->settings.fill);

    if (!all) {
        // Stored entries of a large sparse array, in storage order.
        out += ", entries = [";
        size_t es = esize(o);
        for (size_t k = 0; k < o->sparse_count; ++k) {
            M_INT i, j;
            coordinates(o, o->sparse_pos[k], &i, &j);
            RTableData r = blank();
            std::memcpy(&r, o->sparse_val + k * es, es);
            if (k != 0)
                out += ", ";
            out += dims(o) == 1 ? std::to_string(i) : "[" + std::to_string(i) + ", " + std::to_string(j) + "]";
            out += " = " + talvo::print(decode(o, r));
        }
        out += "]";
    }
    return out + ")";
}

} // namespace talvo::rtable
