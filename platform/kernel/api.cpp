// api.cpp -- the kernel vector (the table of host operations every library
// entry receives), the loaded libraries, and calls into their entries.
//
// Every operation checks its input and raises a host error for a wrong type,
// a wrong count or an index out of range, so a library cannot corrupt the
// host by passing it garbage handles of the right kind.
#include "api.hpp"

#include "errors.hpp"
#include "eval.hpp"
#include "numeric.hpp"
#include "print.hpp"
#include "random.hpp"
#include "rtable.hpp"
#include "talvo_float.hpp"
#include "text.hpp"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <new>
#include <string>
#include <unordered_set>
#include <vector>

namespace talvo {

namespace {

// ---------------------------------------------------------------------------
// Checks
// ---------------------------------------------------------------------------

void check_handle(ALGEB a, const char *what)
{
    if (a == nullptr)
        raise_plain(std::string(what) + ": a null handle was passed to the kernel");
}

size_t seq_count(ALGEB s) { return is_expseq(s) ? nops(s) : 1; }

int64_t checked_integer(ALGEB a, int64_t lo, int64_t hi, const char *what)
{
    check_handle(a, what);
    int64_t v;
    if (!is_integer(a) || !integer_to_int64(a, &v) || v < lo || v > hi)
        raise(std::string(what) + ": expecting an integer in the range of the native type, got %1", a);
    return v;
}

ALGEB checked_name(ALGEB a, const char *what)
{
    check_handle(a, what);
    if (!is_name(a))
        raise(std::string(what) + ": expecting a name, got %1", a);
    return a;
}

ALGEB checked_rtable(ALGEB a, const char *what)
{
    check_handle(a, what);
    if (!is_rtable(a))
        raise(std::string(what) + ": expecting an Array, got %1", a);
    return a;
}

ALGEB checked_table(ALGEB a, const char *what)
{
    check_handle(a, what);
    if (!is_table(a))
        raise(std::string(what) + ": expecting a table, got %1", a);
    return a;
}

ALGEB checked_list(ALGEB a, const char *what)
{
    check_handle(a, what);
    if (!is_list(a))
        raise(std::string(what) + ": expecting a list, got %1", a);
    return a;
}

size_t checked_position(M_INT i, size_t n, const char *what)
{
    if (i < 1 || size_t(i) > n)
        raise(std::string(what) + ": index %1 out of range 1 .. %2", make_integer(i),
              make_integer(intptr_t(n)));
    return size_t(i);
}

size_t checked_size(M_INT n, const char *what)
{
    if (n < 0 || n > (M_INT(1) << 36))
        raise(std::string(what) + ": invalid size %1", make_integer(n));
    return size_t(n);
}

// ---------------------------------------------------------------------------
// The operations
// ---------------------------------------------------------------------------

// The elements of an expression sequence, or of a list (its sequence).
M_INT k_NumArgs(TKernelVector, ALGEB s)
{
    check_handle(s, "NumArgs");
    if (is_list(s))
        return M_INT(seq_count(op(s, 1)));
    return M_INT(seq_count(s));
}

ALGEB k_ExpseqSelect(TKernelVector, ALGEB s, M_INT i)
{
    check_handle(s, "ExpseqSelect");
    return seq_elem(s, checked_position(i, seq_count(s), "ExpseqSelect"));
}

T_BOOL k_IsProcedure(TKernelVector, ALGEB a) { return a != nullptr && is_procedure(a); }
T_BOOL k_IsList(TKernelVector, ALGEB a) { return a != nullptr && is_list(a); }
T_BOOL k_IsRTable(TKernelVector, ALGEB a) { return a != nullptr && is_rtable(a); }
T_BOOL k_IsNULL(TKernelVector, ALGEB a) { return a != nullptr && is_expseq(a) && nops(a) == 0; }
T_BOOL k_IsNumeric(TKernelVector, ALGEB a) { return a != nullptr && is_real_numeric(a); }
T_BOOL k_IsInteger(TKernelVector, ALGEB a) { return a != nullptr && is_integer(a); }
T_BOOL k_IsInteger32(TKernelVector, ALGEB a)
{
    int64_t v;
    return a != nullptr && is_integer(a) && integer_to_int64(a, &v) && v >= INT32_MIN && v <= INT32_MAX;
}
T_BOOL k_IsInteger8(TKernelVector, ALGEB a)
{
    int64_t v;
    return a != nullptr && is_integer(a) && integer_to_int64(a, &v) && v >= INT8_MIN && v <= INT8_MAX;
}
T_BOOL k_IsUnnamedZero(TKernelVector, ALGEB a) { return a != nullptr && is_any_numeric(a) && num::is_zero(a); }
T_BOOL k_IsAssignedName(TKernelVector, ALGEB a) { return a != nullptr && is_name(a) && global_value(a) != nullptr; }
T_BOOL k_IsName(TKernelVector, ALGEB a) { return a != nullptr && is_name(a); }
T_BOOL k_IsString(TKernelVector, ALGEB a) { return a != nullptr && is_string(a); }
T_BOOL k_IsTable(TKernelVector, ALGEB a) { return a != nullptr && is_table(a); }
T_BOOL k_IsComplexNumeric(TKernelVector, ALGEB a) { return a != nullptr && is_any_numeric(a); }

int32_t k_ToInteger32(TKernelVector, ALGEB a) { return int32_t(checked_integer(a, INT32_MIN, INT32_MAX, "integer conversion")); }
int64_t k_ToInteger64(TKernelVector, ALGEB a) { return checked_integer(a, INT64_MIN, INT64_MAX, "integer conversion"); }
T_INT k_ToT_INT(TKernelVector, ALGEB a) { return T_INT(checked_integer(a, INTPTR_MIN, INTPTR_MAX, "integer conversion")); }
T_BOOL k_ToT_BOOL(TKernelVector, ALGEB a)
{
    check_handle(a, "boolean conversion");
    if (a == true_value())
        return 1;
    if (a == false_value())
        return 0;
    if (is_name(a) && name_text(a) == "FAIL")
        return 0;
    raise("expecting true or false, got %1", a);
}

const char *k_ToString(TKernelVector, ALGEB a)
{
    check_handle(a, "string conversion");
    if (is_string(a))
        return as_string(a)->text;
    if (is_name(a))
        return as_name(a)->text;
    raise("expecting a string or a name, got %1", a);
}

ALGEB k_ToBoolean(TKernelVector, T_BOOL b) { return make_boolean(b != 0); }
ALGEB k_ToInteger(TKernelVector, M_INT v) { return make_integer(v); }
ALGEB k_ToInteger64(TKernelVector, int64_t v) { return make_integer64(v); }
ALGEB k_ToFloat(TKernelVector, double x) { return talvo_float_from_double(x, 0); }
ALGEB k_ToComplex(TKernelVector, double re, double im)
{
    return num::make_complex(talvo_float_from_double(re, 0), talvo_float_from_double(im, 0));
}
ALGEB k_ToComplexFloat(TKernelVector, ALGEB re, ALGEB im)
{
    check_handle(re, "ToComplexFloat");
    check_handle(im, "ToComplexFloat");
    return new_node(T_COMPLEX, {num::to_float(re, 0), num::to_float(im, 0)});
}
ALGEB k_ToNULL(TKernelVector) { return null_seq(); }
ALGEB k_ToName(TKernelVector, const char *name, T_BOOL)
{
    if (name == nullptr)
        raise_plain("ToName: a null name text");
    return intern(name);
}
ALGEB k_ToStringValue(TKernelVector, const char *text)
{
    if (text == nullptr)
        raise_plain("ToString: a null text");
    return make_string(text);
}

ALGEB k_NewExpressionSequence(TKernelVector, M_INT n)
{
    size_t k = checked_size(n, "NewExpressionSequence");
    ALGEB s = new_node(T_EXPSEQ, k);
    for (size_t i = 1; i <= k; ++i)
        set_op(s, i, null_seq()); // never a null slot, even if the caller fills only some
    return s;
}

void k_ExpseqAssign(TKernelVector, ALGEB s, M_INT i, ALGEB v)
{
    check_handle(s, "ExpseqAssign");
    check_handle(v, "ExpseqAssign");
    if (!is_expseq(s))
        raise("ExpseqAssign: expecting an expression sequence, got %1", s);
    set_op(s, checked_position(i, nops(s), "ExpseqAssign"), v);
}

ALGEB k_ListAlloc(TKernelVector kv, M_INT n) { return new_node(T_LIST, {k_NewExpressionSequence(kv, n)}); }

void k_ListAssign(TKernelVector kv, ALGEB l, M_INT i, ALGEB v)
{
    k_ExpseqAssign(kv, op(checked_list(l, "ListAssign"), 1), i, v);
}

ALGEB k_ListSelect(TKernelVector, ALGEB l, M_INT i)
{
    ALGEB s = op(checked_list(l, "ListSelect"), 1);
    size_t n = is_expseq(s) ? nops(s) : 1;
    return seq_elem(s, checked_position(i, n, "ListSelect"));
}

ALGEB k_TableAlloc(TKernelVector) { return table_new(); }
void k_TableAssign(TKernelVector, ALGEB t, ALGEB key, ALGEB v)
{
    check_handle(key, "TableAssign");
    check_handle(v, "TableAssign");
    table_put(checked_table(t, "TableAssign"), key, v);
}
ALGEB k_TableSelect(TKernelVector, ALGEB t, ALGEB key)
{
    check_handle(key, "TableSelect");
    ALGEB v = table_get(checked_table(t, "TableSelect"), key);
    if (v == nullptr)
        raise("TableSelect: no entry %1 in the table", key);
    return v;
}
T_BOOL k_TableHasEntry(TKernelVector, ALGEB t, ALGEB key)
{
    check_handle(key, "TableHasEntry");
    return table_get(checked_table(t, "TableHasEntry"), key) != nullptr;
}

void *k_Alloc(TKernelVector, M_INT n) { return gc_alloc(checked_size(n, "Alloc")); }
void *k_New(TKernelVector, M_INT n) { return gc_alloc_atomic(checked_size(n, "New")); }

ALGEB k_NumericAdd(TKernelVector, ALGEB a, ALGEB b)
{
    check_handle(a, "NumericAdd");
    check_handle(b, "NumericAdd");
    if (is_any_numeric(a) && is_any_numeric(b))
        return num::add(a, b);
    return fold(T_SUM, {a, b});
}

ALGEB k_RTableCreate(TKernelVector, RTableSettings *s, void *pdata, M_INT *bounds)
{
    if (s == nullptr || bounds == nullptr)
        raise_plain("RTableCreate: null settings or bounds");
    return rtable::create(s, pdata, bounds);
}
ALGEB k_RTableCopy(TKernelVector, RTableSettings *s, ALGEB rt) { return rtable::copy(s, checked_rtable(rt, "RTableCopy")); }
void *k_RTableDataBlock(TKernelVector, ALGEB rt) { return rtable::data_block(checked_rtable(rt, "RTableDataBlock")); }
void k_RTableGetDefaults(TKernelVector, RTableSettings *s)
{
    if (s == nullptr)
        raise_plain("RTableGetDefaults: null settings");
    rtable::get_defaults(s);
}
void k_RTableGetSettings(TKernelVector, RTableSettings *s, ALGEB rt)
{
    if (s == nullptr)
        raise_plain("RTableGetSettings: null settings");
    rtable::get_settings(s, checked_rtable(rt, "RTableGetSettings"));
}
M_INT k_RTableNumDimensions(TKernelVector, ALGEB rt) { return rtable::num_dimensions(checked_rtable(rt, "RTableNumDimensions")); }
M_INT k_RTableNumElements(TKernelVector, ALGEB rt) { return rtable::num_elements(checked_rtable(rt, "RTableNumElements")); }
M_INT k_RTableLowerBound(TKernelVector, ALGEB rt, M_INT d) { return rtable::lower_bound(checked_rtable(rt, "RTableLowerBound"), d); }
M_INT k_RTableUpperBound(TKernelVector, ALGEB rt, M_INT d) { return rtable::upper_bound(checked_rtable(rt, "RTableUpperBound"), d); }
RTableData k_RTableSelect(TKernelVector, ALGEB rt, M_INT *index)
{
    if (index == nullptr)
        raise_plain("RTableSelect: null index");
    return rtable::select(checked_rtable(rt, "RTableSelect"), index);
}
ALGEB k_RTableAssign(TKernelVector, ALGEB rt, M_INT *index, RTableData v)
{
    if (index == nullptr)
        raise_plain("RTableAssign: null index");
    rtable::assign(checked_rtable(rt, "RTableAssign"), index, v);
    return rt;
}

ALGEB k_EvalProcedure(TKernelVector, ALGEB proc, ALGEB args)
{
    check_handle(proc, "EvalProcedure");
    check_handle(args, "EvalProcedure");
    if (is_name(proc)) {
        ALGEB v = eval(proc);
        if (!is_procedure(v))
            return call_by_name(name_text(proc), args);
        proc = v;
    }
    if (!is_procedure(proc))
        raise("%1 is not a procedure", proc);
    return call(proc, args);
}

ALGEB k_EvalProcV(TKernelVector kv, ALGEB proc, M_INT nargs, va_list ap)
{
    size_t n = checked_size(nargs, "EvalProc");
    std::vector<ALGEB> a(n);
    for (size_t i = 0; i < n; ++i) {
        a[i] = va_arg(ap, ALGEB);
        check_handle(a[i], "EvalProc");
    }
    ALGEB args = n == 1 ? a[0] : make_expseq(a.data(), n);
    return k_EvalProcedure(kv, proc, args);
}

ALGEB k_Eval(TKernelVector, ALGEB a)
{
    check_handle(a, "Eval");
    return eval(a);
}

double k_Evalhf(TKernelVector, ALGEB a)
{
    check_handle(a, "Evalhf");
    ALGEB v = evalf(eval(a), 0);
    if (!is_real_numeric(v))
        raise("cannot evaluate %1 to a hardware float", a);
    return num::to_double(v);
}

ALGEB k_Assign(TKernelVector, ALGEB name, ALGEB value)
{
    check_handle(name, "Assign");
    check_handle(value, "Assign");
    if (!is_name(name) && type_of(name) != T_TABLEREF)
        raise("cannot assign to %1: not a name", name);
    assign(name, value);
    return value;
}

ALGEB k_NameValue(TKernelVector, ALGEB name)
{
    ALGEB v = global_value(checked_name(name, "NameValue"));
    return v != nullptr ? v : name;
}

void *k_TrapError(TKernelVector, TalvoTrapFunction fn, void *data, T_BOOL *flag)
{
    if (fn == nullptr)
        raise_plain("TrapError: null function");
    try {
        void *r = fn(data);
        if (flag != nullptr)
            *flag = 0;
        return r;
    } catch (HostError &e) {
        // Running out of memory and the user's interrupt are the host's
        // conditions, not the trapped evaluation's failure: they go on to the
        // statement that caused them.
        if (e.memory || e.interrupt)
            throw;
        remember_error(e);
        if (flag != nullptr)
            *flag = 1;
        return nullptr;
    }
}

void k_GcProtect(TKernelVector, ALGEB a) { gc_protect(a); }
void k_GcAllow(TKernelVector, ALGEB a) { gc_allow(a); }

// The random operations are the ones a long sampling loop calls for every
// draw: they poll for an interrupt (a load and a test).
int32_t k_RandomInt32(TKernelVector)
{
    poll_interrupt();
    return int32_t(random::next32());
}
ALGEB k_RandomSoftwareFloat01(TKernelVector)
{
    poll_interrupt();
    return random::float01(0);
}

[[noreturn]] void k_RaiseError(TKernelVector, const char *msg) { raise_plain(msg != nullptr ? msg : "unknown error"); }
[[noreturn]] void k_RaiseError1(TKernelVector, const char *msg, ALGEB a1) { raise(msg != nullptr ? msg : "unknown error", a1); }
[[noreturn]] void k_RaiseError2(TKernelVector, const char *msg, ALGEB a1, ALGEB a2)
{
    raise(msg != nullptr ? msg : "unknown error", a1, a2);
}

// infolevel: an integer (all topics), or a table of levels by topic name with
// an optional entry for `all`.
long info_level(const char *topic)
{
    ALGEB v = global_value(intern("infolevel"));
    if (v == nullptr)
        return 0;
    int64_t level = 0;
    if (is_integer(v) && integer_to_int64(v, &level))
        return long(level);
    if (is_table(v)) {
        ALGEB x = topic != nullptr ? table_get(v, intern(topic)) : nullptr;
        if (x == nullptr)
            x = table_get(v, intern("all"));
        if (x != nullptr && is_integer(x) && integer_to_int64(x, &level))
            return long(level);
    }
    return 0;
}

void k_UserInfo(TKernelVector, int level, const char *topic, const char *text)
{
    if (text == nullptr || level > info_level(topic))
        return;
    // What was printed before the message comes before it, also when both
    // streams go to one file.
    std::fflush(stdout);
    if (topic != nullptr && *topic != '\0')
        std::fprintf(stderr, "%s: %s\n", topic, text);
    else
        std::fprintf(stderr, "%s\n", text);
}

T_BOOL k_IsRange(TKernelVector, ALGEB a) { return a != nullptr && is_range(a); }

ALGEB k_RangeEnd(TKernelVector, ALGEB r, M_INT i)
{
    check_handle(r, "RangeEnd");
    if (!is_range(r))
        raise("RangeEnd: expecting a range, got %1", r);
    if (i != 1 && i != 2)
        raise_plain("RangeEnd: the end must be 1 (lower) or 2 (upper)");
    return op(r, static_cast<size_t>(i));
}

ALGEB k_NewRange(TKernelVector, ALGEB lo, ALGEB hi)
{
    check_handle(lo, "NewRange");
    check_handle(hi, "NewRange");
    return make_range(lo, hi);
}

ALGEB k_NewEquation(TKernelVector, ALGEB lhs, ALGEB rhs)
{
    check_handle(lhs, "NewEquation");
    check_handle(rhs, "NewEquation");
    return make_equation(lhs, rhs);
}

M_INT k_ListLength(TKernelVector, ALGEB l) { return M_INT(seq_count(op(checked_list(l, "ListLength"), 1))); }

const TKernelVectorDesc kKernel = {
    .size = sizeof(TKernelVectorDesc),
    .version = TALVO_KERNEL_VERSION,
    .NumArgs = k_NumArgs,
    .ExpseqSelect = k_ExpseqSelect,
    .IsProcedure = k_IsProcedure,
    .IsList = k_IsList,
    .IsRTable = k_IsRTable,
    .IsNULL = k_IsNULL,
    .IsNumeric = k_IsNumeric,
    .IsInteger = k_IsInteger,
    .IsInteger32 = k_IsInteger32,
    .IsInteger8 = k_IsInteger8,
    .IsUnnamedZero = k_IsUnnamedZero,
    .IsAssignedName = k_IsAssignedName,
    .IsName = k_IsName,
    .IsString = k_IsString,
    .IsTable = k_IsTable,
    .IsComplexNumeric = k_IsComplexNumeric,
    .IsRange = k_IsRange,
    .ToInteger32 = k_ToInteger32,
    .ToInteger64 = k_ToInteger64,
    .ToT_INT = k_ToT_INT,
    .ToT_BOOL = k_ToT_BOOL,
    .ToString = k_ToString,
    .ToBoolean = k_ToBoolean,
    .ToInteger = k_ToInteger,
    .ToInteger64_ = k_ToInteger64,
    .ToFloat = k_ToFloat,
    .ToComplex = k_ToComplex,
    .ToComplexFloat = k_ToComplexFloat,
    .ToNULL = k_ToNULL,
    .ToName = k_ToName,
    .ToStringValue = k_ToStringValue,
    .NewExpressionSequence = k_NewExpressionSequence,
    .ExpseqAssign = k_ExpseqAssign,
    .ListAlloc = k_ListAlloc,
    .ListAssign = k_ListAssign,
    .ListSelect = k_ListSelect,
    .ListLength = k_ListLength,
    .TableAlloc = k_TableAlloc,
    .TableAssign = k_TableAssign,
    .TableSelect = k_TableSelect,
    .TableHasEntry = k_TableHasEntry,
    .Alloc = k_Alloc,
    .New = k_New,
    .NumericAdd = k_NumericAdd,
    .RangeEnd = k_RangeEnd,
    .NewRange = k_NewRange,
    .NewEquation = k_NewEquation,
    .RTableCreate = k_RTableCreate,
    .RTableCopy = k_RTableCopy,
    .RTableDataBlock = k_RTableDataBlock,
    .RTableGetDefaults = k_RTableGetDefaults,
    .RTableGetSettings = k_RTableGetSettings,
    .RTableNumDimensions = k_RTableNumDimensions,
    .RTableNumElements = k_RTableNumElements,
    .RTableLowerBound = k_RTableLowerBound,
    .RTableUpperBound = k_RTableUpperBound,
    .RTableSelect = k_RTableSelect,
    .RTableAssign = k_RTableAssign,
    .EvalProcV = k_EvalProcV,
    .EvalProcedure = k_EvalProcedure,
    .Eval = k_Eval,
    .Evalhf = k_Evalhf,
    .Assign = k_Assign,
    .NameValue = k_NameValue,
    .TrapError = k_TrapError,
    .GcProtect = k_GcProtect,
    .GcAllow = k_GcAllow,
    .RandomInt32 = k_RandomInt32,
    .RandomSoftwareFloat01 = k_RandomSoftwareFloat01,
    .RaiseError = k_RaiseError,
    .RaiseError1 = k_RaiseError1,
    .RaiseError2 = k_RaiseError2,
    .UserInfo = k_UserInfo,
};

// ---------------------------------------------------------------------------
// Libraries
// ---------------------------------------------------------------------------

struct Library {
    std::string path;
    void *handle;
    std::string object_name; // as the dynamic linker knows it
    // The entry names it exports, read from its file the first time a call
    // misses (a library does not change once loaded).
    bool entries_read = false;
    std::vector<std::string> entries;
};

std::vector<Library> &libraries()
{
    static std::vector<Library> libs;
    return libs;
}

std::unordered_set<std::string> &misses()
{
    static std::unordered_set<std::string> m;
    return m;
}

// Library entries: the STATS_ and sw_ names, and the one entry of the
// statistics library exported without its prefix.
bool entry_name(std::string_view n)
{
    return n.starts_with("STATS_") || n.starts_with("sw_") || n == "TalvoTallySorted";
}

bool array_convention(std::string_view n) { return n.starts_with("sw_") || n.starts_with("STATS_g02"); }

// The symbol, only when the library itself defines it (not one of its
// dependencies: a script must not reach into the C library).
void *own_symbol(const Library &lib, const char *name)
{
    void *p = dlsym(lib.handle, name);
    if (p == nullptr)
        return nullptr;
    Dl_info info;
    if (dladdr(p, &info) == 0 || info.dli_fname == nullptr || lib.object_name != info.dli_fname)
        return nullptr;
    return p;
}

bool g_initialized = false;

// The entry names a loaded library exports, read from the dynamic symbol
// table of its ELF file (only to suggest a name when a call misses).
void read_exported_entries(const std::string &path, std::vector<std::string> *out)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return;
    in.seekg(0, std::ios::end);
    std::streamoff length = in.tellg();
    if (length <= 0)
        return;
    std::vector<char> file(static_cast<size_t>(length));
    in.seekg(0);
    if (!in.read(file.data(), length))
        return;
    auto fits = [&](uint64_t offset, uint64_t size) { return offset <= file.size() && size <= file.size() - offset; };
    if (!fits(0, sizeof(ElfW(Ehdr))))
        return;
    ElfW(Ehdr) eh;
    std::memcpy(&eh, file.data(), sizeof eh);
    if (std::memcmp(eh.e_ident, ELFMAG, SELFMAG) != 0 || eh.e_ident[EI_CLASS] != (sizeof(void *) == 8 ? ELFCLASS64 : ELFCLASS32) ||
        eh.e_shentsize != sizeof(ElfW(Shdr)) || !fits(eh.e_shoff, uint64_t(eh.e_shnum) * sizeof(ElfW(Shdr))))
        return;
    std::vector<ElfW(Shdr)> sections(eh.e_shnum);
    std::memcpy(sections.data(), file.data() + eh.e_shoff, sections.size() * sizeof(ElfW(Shdr)));
    for (const ElfW(Shdr) &sh : sections) {
        if (sh.sh_type != SHT_DYNSYM || sh.sh_link >= sections.size() || sh.sh_entsize != sizeof(ElfW(Sym)) ||
            !fits(sh.sh_offset, sh.sh_size))
            continue;
        const ElfW(Shdr) &strings = sections[sh.sh_link];
        if (!fits(strings.sh_offset, strings.sh_size))
            continue;
        for (uint64_t k = 0; k < sh.sh_size / sizeof(ElfW(Sym)); ++k) {
            ElfW(Sym) sym;
            std::memcpy(&sym, file.data() + sh.sh_offset + k * sizeof(ElfW(Sym)), sizeof sym);
            if (sym.st_shndx == SHN_UNDEF || sym.st_name >= strings.sh_size ||
                ELF64_ST_TYPE(sym.st_info) != STT_FUNC)
                continue;
            const char *name = file.data() + strings.sh_offset + sym.st_name;
            size_t room = strings.sh_size - sym.st_name;
            std::string n(name, strnlen(name, room));
            if (entry_name(n))
                out->push_back(std::move(n));
        }
    }
}

} // namespace

std::vector<std::string> nearest_entries(std::string_view name, size_t most)
{
    std::vector<std::string> names;
    for (Library &l : libraries()) {
        if (!l.entries_read) {
            read_exported_entries(l.path, &l.entries);
            l.entries_read = true;
        }
        names.insert(names.end(), l.entries.begin(), l.entries.end());
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return nearest_names(name, names, most);
}

void raise_missing_entry(ALGEB name)
{
    std::string n(name_text(name));
    std::string message = n + " is not an entry of the loaded library";
    std::vector<std::string> near = nearest_entries(n, 3);
    for (size_t i = 0; i < near.size(); ++i)
        message += (i == 0 ? "; did you mean " : i + 1 == near.size() ? " or " : ", ") + near[i];
    if (!near.empty())
        message += "?";
    raise_plain(message);
}

bool is_missing_entry(ALGEB name)
{
    if (libraries().empty())
        return false;
    std::string n(name_text(name));
    return entry_name(n) && resolve_external(name) == nullptr;
}

TKernelVector kernel_vector() { return &kKernel; }

void load_library(const std::string &path)
{
    for (const Library &l : libraries())
        if (l.path == path)
            return;
    void *h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (h == nullptr) {
        const char *why = dlerror();
        raise_plain("cannot load library " + path + ": " + (why != nullptr ? why : "unknown reason"));
    }
    struct link_map *lm = nullptr;
    std::string object_name = path;
    if (dlinfo(h, RTLD_DI_LINKMAP, &lm) == 0 && lm != nullptr && lm->l_name != nullptr)
        object_name = lm->l_name;
    libraries().push_back(Library{path, h, object_name, false, {}});
    misses().clear();
}

void initialize_libraries()
{
    if (g_initialized)
        return;
    g_initialized = true;
    for (const Library &l : libraries())
        if (void *p = own_symbol(l, "STATS_StatsInitialize_MP"))
            reinterpret_cast<TalvoEntry>(p)(&kKernel, null_seq());
}

void terminate_libraries()
{
    if (!g_initialized)
        return;
    g_initialized = false;
    for (const Library &l : libraries())
        if (void *p = own_symbol(l, "STATS_StatsTerminate_MP"))
            reinterpret_cast<TalvoEntry>(p)(&kKernel, null_seq());
}

ALGEB resolve_external(ALGEB name)
{
    NameObject *nm = as_name(name);
    if (nm->builtin != nullptr && type_of(nm->builtin) == T_EXTERNAL)
        return nm->builtin;
    std::string n(name_text(name));
    if (!entry_name(n) || misses().count(n) != 0)
        return nullptr;
    for (const Library &l : libraries()) {
        if (void *p = own_symbol(l, n.c_str())) {
            // Cached on the name; the name stays assignable.
            nm->builtin = make_external(name, p, array_convention(n) ? EXTERNAL_ARRAY : EXTERNAL_SEQUENCE);
            return nm->builtin;
        }
    }
    misses().insert(n);
    return nullptr;
}

ALGEB call_external(ALGEB entry, ALGEB args)
{
    auto *e = reinterpret_cast<ExternalObject *>(entry);
    ALGEB result = nullptr;
    try {
        if (e->kind == EXTERNAL_ARRAY) {
            size_t n = seq_count(args);
            std::vector<ALGEB> a(n + 1);
            a[0] = make_integer(intptr_t(n));
            for (size_t i = 1; i <= n; ++i)
                a[i] = seq_elem(args, i);
            result = reinterpret_cast<TalvoArrayEntry>(e->fn)(&kKernel, a.data());
        } else {
            // An entry always receives a sequence: a single list argument
            // is one argument, not the list's elements.
            if (!is_expseq(args))
                args = make_expseq(&args, 1);
            result = reinterpret_cast<TalvoEntry>(e->fn)(&kKernel, args);
        }
    } catch (HostError &err) {
        if (err.where.empty())
            err.where = std::string(name_text(e->name));
        throw;
    } catch (const std::bad_alloc &) {
        raise_error(HostError{"out of memory", std::string(name_text(e->name))});
    } catch (const std::exception &x) {
        raise_error(HostError{std::string("internal error: ") + x.what(), std::string(name_text(e->name))});
    }
    return result != nullptr ? result : null_seq();
}

} // namespace talvo
