// wrapper_frame.cpp -- counts, checks, conversions and table placement of
// the wrappers (wrapper_frame.hpp).
#include "wrapper_frame.hpp"

#include <climits>
#include <cstdio>
#include <cstring>

namespace stats::wrappers {

namespace {

// A whole number in decimal (not std::to_string, whose digit table would
// be exported from the library).
std::string Decimal(long v)
{
    char text[24];
    std::snprintf(text, sizeof text, "%ld", v);
    return text;
}

bool IsTable(Role r) { return r == Role::Floats || r == Role::Integers; }

const char *Noun(Role r)
{
    switch (r) {
    case Role::Integer:
        return "an integer";
    case Role::Float:
        return "an float";
    case Role::Floats:
    case Role::Integers:
        return "a rtable";
    case Role::Procedure:
        return "a PROC";
    case Role::Text:
        return "a string";
    default:
        return "given";
    }
}

// The data type of a table whose elements are native Integers.
constexpr int kNativeIntegerType = sizeof(Integer) == 8 ? RTABLE_INTEGER64 : RTABLE_INTEGER32;

} // namespace

long ExtentProduct(long a, long b)
{
    if (a <= 0 || b <= 0)
        return 0;
    long r;
    return __builtin_mul_overflow(a, b, &r) ? LONG_MAX : r;
}

long ExtentSum(long a, long b)
{
    long r;
    return __builtin_add_overflow(a, b, &r) ? LONG_MAX : r;
}

std::string CheckMessage(const Position &p, int position)
{
    const long k = p.shown != 0 ? p.shown : position;
    if (p.check == Check::Param && IsTable(p.role))
        return "param " + Decimal(k) + " should be an rtable";
    return "args[" + Decimal(k) + "] must be " + Noun(p.role);
}

Frame::Frame(TKernelVector kv, ALGEB *args, const char *count_message, const Position *positions, int count)
    : kv_(kv), args_(args)
{
    // 1. the count
    if (TalvoArgCount(kv, args) != count)
        TalvoRaiseError(kv, count_message);

    // 2. the checks, in order; the first failure is raised
    for (int i = 1; i <= count; ++i) {
        const Position &p = positions[i - 1];
        if (p.check == Check::None)
            continue;
        bool ok = true;
        switch (p.role) {
        case Role::Integer:
            ok = IsTalvoInteger(kv, args[i]);
            break;
        case Role::Float:
            ok = IsTalvoNumeric(kv, args[i]);
            break;
        case Role::Procedure:
            ok = IsTalvoProcedure(kv, args[i]);
            break;
        case Role::Floats:
        case Role::Integers:
            ok = IsTalvoRTable(kv, args[i]);
            break;
        case Role::Text:
            ok = IsTalvoString(kv, args[i]) || IsTalvoName(kv, args[i]);
            break;
        default:
            break;
        }
        if (!ok)
            TalvoRaiseError(kv, CheckMessage(p, i).c_str());
    }

    // 3. the scalars, in order
    slots_.resize(size_t(count) + 1);
    for (int i = 1; i <= count; ++i) {
        Slot &s = slots_[size_t(i)];
        switch (positions[i - 1].role) {
        case Role::Integer:
            s.integer = Integer(TalvoToT_INT(kv, args[i]));
            break;
        case Role::Float:
            s.real = DAGtoFLOAT(args[i]);
            break;
        case Role::Text:
            s.text = TalvoToString(kv, args[i]);
            break;
        default:
            break;
        }
    }

    // 4. the tables, whose extents may depend on the scalars
    for (int i = 1; i <= count; ++i) {
        const Position &p = positions[i - 1];
        if (p.role == Role::Floats)
            take_floats(p, i);
        else if (p.role == Role::Integers)
            take_integers(p, i);
    }
}

Integer Frame::text_length(int i) const
{
    const char *t = slots_[size_t(i)].text;
    return t != nullptr ? Integer(std::strlen(t)) : 0;
}

void Frame::refuse(const Position &p, int i, const std::string &what) const
{
    std::string message = p.check == Check::Args ? "args[" + Decimal(i) + "] must be a rtable"
                                                  : "param " + Decimal(i) + " should be an rtable";
    if (!what.empty())
        message += " of " + what;
    TalvoRaiseError(kv_, message.c_str());
}

void Frame::take_floats(const Position &p, int i)
{
    ALGEB t = args_[i];
    if (!IsTalvoRTable(kv_, t))
        refuse(p, i, "");
    RTableSettings s;
    RTableGetSettings(kv_, &s, t);
    if (s.storage != RTABLE_RECT || s.data_type != RTABLE_DAG)
        refuse(p, i, "datatype anything or sfloat with rectangular storage");
    const long need = p.extent != nullptr ? p.extent(*this) : 0;
    if (RTableNumElements(kv_, t) < need)
        refuse(p, i, "at least " + Decimal(need) + " elements");
    Slot &slot = slots_[size_t(i)];
    slot.block = RTableDataBlock(kv_, t);
    if (p.use == Use::Out || need <= 0)
        return;
    auto *elements = static_cast<ALGEB *>(slot.block);
    long k = 0;
    while (k < need && TalvoIsSoftwareFloatHandle(elements[k]))
        ++k;
    if (k == need)
        return; // all floats: in place
    if (p.use == Use::In) {
        // The routine only reads: a converted copy, the caller's table untouched.
        auto *copy = static_cast<TalvoFloat *>(TalvoAlloc(kv_, M_INT(ExtentProduct(need, long(sizeof(TalvoFloat))))));
        for (long j = 0; j < need; ++j)
            copy[j] = TalvoIsSoftwareFloatHandle(elements[j]) ? TalvoFloat::from_handle(elements[j])
                                                              : DAGtoFLOAT(elements[j]);
        slot.block = copy;
        slot.copied = true;
    } else {
        // The routine reads and writes: the elements become floats in place.
        for (long j = k; j < need; ++j)
            if (!TalvoIsSoftwareFloatHandle(elements[j]))
                elements[j] = DAGtoFLOAT(elements[j]).handle();
    }
}

void Frame::take_integers(const Position &p, int i)
{
    ALGEB t = args_[i];
    if (!IsTalvoRTable(kv_, t))
        refuse(p, i, "");
    RTableSettings s;
    RTableGetSettings(kv_, &s, t);
    const bool integral = s.data_type == RTABLE_DAG || s.data_type == RTABLE_INTEGER8 ||
                          s.data_type == RTABLE_INTEGER16 || s.data_type == RTABLE_INTEGER32 ||
                          s.data_type == RTABLE_INTEGER64;
    if (s.storage != RTABLE_RECT || !integral)
        refuse(p, i, "integers with rectangular storage");
    const long need = p.extent != nullptr ? p.extent(*this) : 0;
    if (RTableNumElements(kv_, t) < need)
        refuse(p, i, "at least " + Decimal(need) + " elements");
    Slot &slot = slots_[size_t(i)];
    slot.block = RTableDataBlock(kv_, t);
    if (s.data_type == kNativeIntegerType || need <= 0)
        return;
    auto *copy = static_cast<Integer *>(TalvoNew(kv_, M_INT(ExtentProduct(need, long(sizeof(Integer))))));
    for (long j = 0; j < need; ++j) {
        switch (s.data_type) {
        case RTABLE_INTEGER8:
            copy[j] = static_cast<const int8_t *>(slot.block)[j];
            break;
        case RTABLE_INTEGER16:
            copy[j] = static_cast<const int16_t *>(slot.block)[j];
            break;
        case RTABLE_INTEGER32:
            copy[j] = static_cast<const int32_t *>(slot.block)[j];
            break;
        case RTABLE_INTEGER64:
            copy[j] = Integer(static_cast<const int64_t *>(slot.block)[j]);
            break;
        default: {
            ALGEB e = static_cast<ALGEB *>(slot.block)[j];
            if (!IsTalvoInteger(kv_, e))
                refuse(p, i, "integers with rectangular storage");
            copy[j] = Integer(TalvoToT_INT(kv_, e));
        }
        }
    }
    slot.block = copy;
    slot.copied = true;
}

void Frame::assign_integer(int i, long v) const { TalvoAssign(kv_, args_[i], ToTalvoInteger(kv_, M_INT(v))); }

void Frame::assign_float(int i, TalvoFloat v) const { TalvoAssign(kv_, args_[i], v.handle()); }

void Frame::write_back_integers(int i, long count) const
{
    if (!copied(i) || count <= 0)
        return;
    ALGEB t = args_[i];
    RTableSettings s;
    RTableGetSettings(kv_, &s, t);
    const Integer *v = integers(i);
    // By index, in storage order, so any storage and a second dimension are
    // written where the copy read them.
    const long dims = long(RTableNumDimensions(kv_, t));
    M_INT lo[2] = {RTableLowerBound(kv_, t, 1), dims > 1 ? RTableLowerBound(kv_, t, 2) : 0};
    const M_INT rows = RTableUpperBound(kv_, t, 1) - lo[0] + 1;
    for (long k = 0; k < count; ++k) {
        M_INT index[2] = {lo[0] + (dims > 1 ? k % rows : k), dims > 1 ? lo[1] + k / rows : 0};
        RTableData d;
        switch (s.data_type) {
        case RTABLE_INTEGER8:
            d.int8 = int8_t(v[k]);
            break;
        case RTABLE_INTEGER16:
            d.int16 = int16_t(v[k]);
            break;
        case RTABLE_INTEGER32:
            d.int32 = int32_t(v[k]);
            break;
        case RTABLE_INTEGER64:
            d.int64 = int64_t(v[k]);
            break;
        default:
            d.dag = ToTalvoInteger(kv_, M_INT(v[k]));
        }
        RTableAssign(kv_, t, index, d);
    }
}

} // namespace stats::wrappers
