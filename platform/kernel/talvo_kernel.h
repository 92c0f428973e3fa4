/*
 * talvo_kernel.h -- the host's external-call interface.
 *
 * This header is the whole contract between a host and a library it loads.
 * A library never links against the host: every operation is reached through
 * the table of operations that the host hands to each call (the kernel vector,
 * `kv`).  The inline functions at the end of this file give each operation its
 * public name, so library code reads `TalvoNumArgs(kv, args)`.
 *
 * Usable from C (C99) and C++.
 *
 * Handles.  An ALGEB is one machine word.  A word with the lowest bit set is an
 * immediate integer (value = word >> 1, arithmetic shift).  Any other non-null
 * word points to a host object whose first word holds the object's type code
 * in its top TALVO_TYPE_BITS bits.  A software float has type code
 * TALVO_TYPE_FLOAT; that test may be made without a kernel call (see
 * TalvoIsSoftwareFloatHandle below).
 *
 * Errors.  The raise operations never return to the caller: the host unwinds
 * the caller's stack (a C++ host does so with an exception, so library code
 * must be exception-safe and must not catch what it did not throw).  Library
 * code written defensively may still use a fallback value after a raise.
 *
 * Memory.  Host values are garbage collected.  A value stays alive while it is
 * reachable from the arguments of the running call, from memory obtained with
 * TalvoAlloc, from the C++ heap, static data or the stack, or while it is
 * protected with TalvoGcProtect (counted: n protects need n allows).
 */
#ifndef TALVO_KERNEL_H
#define TALVO_KERNEL_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------------------
 * Basic types
 * ------------------------------------------------------------------------- */

typedef struct talvo_object_ *ALGEB; /* handle of a host value */
typedef intptr_t M_INT;              /* host-sized native integer */
typedef intptr_t T_INT;              /* the host's native integer (sizes, counts) */
typedef int T_BOOL;                  /* the host's native boolean: 0 false, 1 true */

#define TALVO_TRUE 1
#define TALVO_FALSE 0

typedef struct TKernelVectorDesc_ TKernelVectorDesc;
typedef const TKernelVectorDesc *TKernelVector;

/* Object header: type code in the top TALVO_TYPE_BITS bits of the first word. */
#define TALVO_TYPE_BITS 6
#define TALVO_TYPE_SHIFT (sizeof(uintptr_t) * 8 - TALVO_TYPE_BITS)
#define TALVO_TYPE_FLOAT 4 /* software float */

/* True when h is a host software float: not an immediate integer, and type
   code TALVO_TYPE_FLOAT in the top bits of the object's first word. */
static inline int TalvoIsSoftwareFloatHandle(ALGEB h)
{
    uintptr_t w = (uintptr_t)h;
    if (w == 0 || (w & 1u) != 0)
        return 0;
    return (int)((*(const uintptr_t *)w) >> TALVO_TYPE_SHIFT) == TALVO_TYPE_FLOAT;
}

/* ---------------------------------------------------------------------------
 * RTables (rectangular tables / arrays)
 * ------------------------------------------------------------------------- */

/* Data type codes: what one element of the data block is. */
#define RTABLE_DAG 0       /* one host value (ALGEB), sizeof(ALGEB) bytes */
#define RTABLE_CXDAG 1     /* complex: real and imaginary host values */
#define RTABLE_INTEGER8 2  /* int8_t */
#define RTABLE_INTEGER16 3 /* int16_t */
#define RTABLE_INTEGER32 4 /* int32_t */
#define RTABLE_INTEGER64 5 /* int64_t */
#define RTABLE_FLOAT64 6   /* IEEE double */
#define RTABLE_COMPLEX 7   /* two IEEE doubles: real, imaginary */
#define RTABLE_FLOAT32 8   /* IEEE single */
#define RTABLE_NUM_DATATYPES 9

/* Storage codes.  Rectangular storage keeps every element in one contiguous
   data block; sparse storage keeps only the elements that were assigned a
   non-zero value and has no data block. */
#define RTABLE_SPARSE 0
#define RTABLE_EMPTY 1
#define RTABLE_DIAG 2
#define RTABLE_BAND 3
#define RTABLE_RECT 4

/* Order of a two-dimensional data block. */
#define RTABLE_FORTRAN 0 /* column major (default) */
#define RTABLE_C 1       /* row major */

/* Subtypes. */
#define RTABLE_ARRAY 0
#define RTABLE_MATRIX 1
#define RTABLE_COLUMN 2
#define RTABLE_ROW 3

#define RTABLE_MAX_DIMENSIONS 2

typedef struct {
    int num_dimensions; /* 1 or 2 */
    int subtype;        /* RTABLE_ARRAY, ... */
    int storage;        /* RTABLE_RECT, RTABLE_SPARSE, ... */
    int data_type;      /* RTABLE_DAG ... RTABLE_FLOAT32 */
    ALGEB element_type; /* for RTABLE_DAG: the name "anything" or "sfloat"; NULL means anything */
    int order;          /* RTABLE_FORTRAN or RTABLE_C */
    T_BOOL read_only;
    T_BOOL foreign;     /* the data block was supplied by the caller */
    ALGEB fill;         /* value of elements never assigned; NULL means 0 */
} RTableSettings;

/* One element, as RTableSelect returns it and RTableAssign takes it. */
typedef union {
    int8_t int8;
    int16_t int16;
    int32_t int32;
    int64_t int64;
    float float32;
    double float64;
    ALGEB dag;
    struct { double re, im; } complex;
    struct { ALGEB re, im; } cxdag;
} RTableData;

/* ---------------------------------------------------------------------------
 * The table of operations
 * ------------------------------------------------------------------------- */

typedef void *(*TalvoTrapFunction)(void *data);

struct TKernelVectorDesc_ {
    size_t size;  /* sizeof(TKernelVectorDesc) as built by the host */
    int version;  /* TALVO_KERNEL_VERSION */

    /* arguments */
    M_INT (*NumArgs)(TKernelVector, ALGEB s);
    ALGEB (*ExpseqSelect)(TKernelVector, ALGEB s, M_INT i);

    /* type tests */
    T_BOOL (*IsProcedure)(TKernelVector, ALGEB);
    T_BOOL (*IsList)(TKernelVector, ALGEB);
    T_BOOL (*IsRTable)(TKernelVector, ALGEB);
    T_BOOL (*IsNULL)(TKernelVector, ALGEB);
    T_BOOL (*IsNumeric)(TKernelVector, ALGEB);
    T_BOOL (*IsInteger)(TKernelVector, ALGEB);
    T_BOOL (*IsInteger32)(TKernelVector, ALGEB);
    T_BOOL (*IsInteger8)(TKernelVector, ALGEB);
    T_BOOL (*IsUnnamedZero)(TKernelVector, ALGEB);
    T_BOOL (*IsAssignedName)(TKernelVector, ALGEB);
    T_BOOL (*IsName)(TKernelVector, ALGEB);
    T_BOOL (*IsString)(TKernelVector, ALGEB);
    T_BOOL (*IsTable)(TKernelVector, ALGEB);
    T_BOOL (*IsComplexNumeric)(TKernelVector, ALGEB);
    T_BOOL (*IsRange)(TKernelVector, ALGEB); /* a range a..b */

    /* host value to native; the host raises its own error on a wrong type */
    int32_t (*ToInteger32)(TKernelVector, ALGEB);
    int64_t (*ToInteger64)(TKernelVector, ALGEB);
    T_INT (*ToT_INT)(TKernelVector, ALGEB);
    T_BOOL (*ToT_BOOL)(TKernelVector, ALGEB);
    const char *(*ToString)(TKernelVector, ALGEB); /* text of a string or name */

    /* native to host value */
    ALGEB (*ToBoolean)(TKernelVector, T_BOOL);
    ALGEB (*ToInteger)(TKernelVector, M_INT);
    ALGEB (*ToInteger64_)(TKernelVector, int64_t);
    ALGEB (*ToFloat)(TKernelVector, double);
    ALGEB (*ToComplex)(TKernelVector, double re, double im);
    ALGEB (*ToComplexFloat)(TKernelVector, ALGEB re, ALGEB im);
    ALGEB (*ToNULL)(TKernelVector);
    ALGEB (*ToName)(TKernelVector, const char *name, T_BOOL global);
    ALGEB (*ToStringValue)(TKernelVector, const char *text);

    /* sequences, lists, tables, memory */
    ALGEB (*NewExpressionSequence)(TKernelVector, M_INT n);
    void (*ExpseqAssign)(TKernelVector, ALGEB s, M_INT i, ALGEB v);
    ALGEB (*ListAlloc)(TKernelVector, M_INT n);
    void (*ListAssign)(TKernelVector, ALGEB l, M_INT i, ALGEB v);
    ALGEB (*ListSelect)(TKernelVector, ALGEB l, M_INT i);
    M_INT (*ListLength)(TKernelVector, ALGEB l);
    ALGEB (*TableAlloc)(TKernelVector);
    void (*TableAssign)(TKernelVector, ALGEB t, ALGEB key, ALGEB v);
    ALGEB (*TableSelect)(TKernelVector, ALGEB t, ALGEB key);
    T_BOOL (*TableHasEntry)(TKernelVector, ALGEB t, ALGEB key);
    void *(*Alloc)(TKernelVector, M_INT nbytes);
    void *(*New)(TKernelVector, M_INT nbytes);
    ALGEB (*NumericAdd)(TKernelVector, ALGEB a, ALGEB b);

    /* ranges a..b and equations a = b */
    ALGEB (*RangeEnd)(TKernelVector, ALGEB r, M_INT i); /* 1: lower end, 2: upper end */
    ALGEB (*NewRange)(TKernelVector, ALGEB lo, ALGEB hi);
    ALGEB (*NewEquation)(TKernelVector, ALGEB lhs, ALGEB rhs);

    /* arrays */
    ALGEB (*RTableCreate)(TKernelVector, RTableSettings *s, void *pdata, M_INT *bounds);
    ALGEB (*RTableCopy)(TKernelVector, RTableSettings *s, ALGEB rt);
    void *(*RTableDataBlock)(TKernelVector, ALGEB rt);
    void (*RTableGetDefaults)(TKernelVector, RTableSettings *s);
    void (*RTableGetSettings)(TKernelVector, RTableSettings *s, ALGEB rt);
    M_INT (*RTableNumDimensions)(TKernelVector, ALGEB rt);
    M_INT (*RTableNumElements)(TKernelVector, ALGEB rt);
    M_INT (*RTableLowerBound)(TKernelVector, ALGEB rt, M_INT dim);
    M_INT (*RTableUpperBound)(TKernelVector, ALGEB rt, M_INT dim);
    RTableData (*RTableSelect)(TKernelVector, ALGEB rt, M_INT *index);
    ALGEB (*RTableAssign)(TKernelVector, ALGEB rt, M_INT *index, RTableData v);

    /* evaluation */
    ALGEB (*EvalProcV)(TKernelVector, ALGEB proc, M_INT nargs, va_list ap);
    ALGEB (*EvalProcedure)(TKernelVector, ALGEB proc, ALGEB args);
    ALGEB (*Eval)(TKernelVector, ALGEB);
    double (*Evalhf)(TKernelVector, ALGEB);
    ALGEB (*Assign)(TKernelVector, ALGEB name, ALGEB value);
    ALGEB (*NameValue)(TKernelVector, ALGEB name);

    /* error trapping */
    void *(*TrapError)(TKernelVector, TalvoTrapFunction fn, void *data, T_BOOL *errorflag);

    /* garbage collection */
    void (*GcProtect)(TKernelVector, ALGEB);
    void (*GcAllow)(TKernelVector, ALGEB);

    /* randomness */
    int32_t (*RandomInt32)(TKernelVector);
    ALGEB (*RandomSoftwareFloat01)(TKernelVector);

    /* errors and messages */
    void (*RaiseError)(TKernelVector, const char *msg);
    void (*RaiseError1)(TKernelVector, const char *msg, ALGEB arg1);
    void (*RaiseError2)(TKernelVector, const char *msg, ALGEB arg1, ALGEB arg2);
    void (*UserInfo)(TKernelVector, int level, const char *topic, const char *text);

};

#define TALVO_KERNEL_VERSION 1

/* ---------------------------------------------------------------------------
 * Calling conventions of library entries
 * ------------------------------------------------------------------------- */

/* A statistics entry: the arguments as one expression sequence. */
typedef ALGEB (*TalvoEntry)(TKernelVector kv, ALGEB args);

/* A wrapper entry (names sw_... and STATS_g02..._MP): args[0] is the number
   of arguments as a host integer, args[1..n] are the arguments.  An argument
   the wrapper writes to is passed as an unevaluated name. */
typedef ALGEB (*TalvoArrayEntry)(TKernelVector kv, ALGEB *args);

/* ---------------------------------------------------------------------------
 * The operations under their public names
 * ------------------------------------------------------------------------- */

/* arguments */
static inline M_INT TalvoNumArgs(TKernelVector kv, ALGEB s) { return kv->NumArgs(kv, s); }
static inline ALGEB TalvoExpseqSelect(TKernelVector kv, ALGEB s, M_INT i) { return kv->ExpseqSelect(kv, s, i); }
/* Number of arguments of a wrapper entry's argument array. */
static inline M_INT TalvoArgCount(TKernelVector kv, ALGEB *args) { return kv->ToT_INT(kv, args[0]); }

/* type tests */
static inline T_BOOL IsTalvoProcedure(TKernelVector kv, ALGEB a) { return kv->IsProcedure(kv, a); }
static inline T_BOOL IsTalvoList(TKernelVector kv, ALGEB a) { return kv->IsList(kv, a); }
static inline T_BOOL IsTalvoRTable(TKernelVector kv, ALGEB a) { return kv->IsRTable(kv, a); }
static inline T_BOOL IsTalvoNULL(TKernelVector kv, ALGEB a) { return kv->IsNULL(kv, a); }
static inline T_BOOL IsTalvoNumeric(TKernelVector kv, ALGEB a) { return kv->IsNumeric(kv, a); }
static inline T_BOOL IsTalvoInteger(TKernelVector kv, ALGEB a) { return kv->IsInteger(kv, a); }
static inline T_BOOL IsTalvoInteger32(TKernelVector kv, ALGEB a) { return kv->IsInteger32(kv, a); }
static inline T_BOOL IsTalvoInteger8(TKernelVector kv, ALGEB a) { return kv->IsInteger8(kv, a); }
static inline T_BOOL IsTalvoUnnamedZero(TKernelVector kv, ALGEB a) { return kv->IsUnnamedZero(kv, a); }
static inline T_BOOL IsTalvoAssignedName(TKernelVector kv, ALGEB a) { return kv->IsAssignedName(kv, a); }
static inline T_BOOL IsTalvoName(TKernelVector kv, ALGEB a) { return kv->IsName(kv, a); }
static inline T_BOOL IsTalvoString(TKernelVector kv, ALGEB a) { return kv->IsString(kv, a); }
static inline T_BOOL IsTalvoTable(TKernelVector kv, ALGEB a) { return kv->IsTable(kv, a); }
static inline T_BOOL IsTalvoComplexNumeric(TKernelVector kv, ALGEB a) { return kv->IsComplexNumeric(kv, a); }
static inline T_BOOL IsTalvoRange(TKernelVector kv, ALGEB a) { return kv->IsRange(kv, a); }

/* to native */
static inline int32_t TalvoToInteger32(TKernelVector kv, ALGEB a) { return kv->ToInteger32(kv, a); }
static inline int64_t TalvoToInteger64(TKernelVector kv, ALGEB a) { return kv->ToInteger64(kv, a); }
static inline T_INT TalvoToT_INT(TKernelVector kv, ALGEB a) { return kv->ToT_INT(kv, a); }
static inline M_INT TalvoToM_INT(TKernelVector kv, ALGEB a) { return kv->ToT_INT(kv, a); }
static inline T_BOOL TalvoToT_BOOL(TKernelVector kv, ALGEB a) { return kv->ToT_BOOL(kv, a); }
static inline const char *TalvoToString(TKernelVector kv, ALGEB a) { return kv->ToString(kv, a); }

/* from native */
static inline ALGEB ToTalvoBoolean(TKernelVector kv, T_BOOL b) { return kv->ToBoolean(kv, b); }
static inline ALGEB ToTalvoInteger(TKernelVector kv, M_INT n) { return kv->ToInteger(kv, n); }
static inline ALGEB ToTalvoInteger64(TKernelVector kv, int64_t n) { return kv->ToInteger64_(kv, n); }
static inline ALGEB ToTalvoFloat(TKernelVector kv, double x) { return kv->ToFloat(kv, x); }
static inline ALGEB ToTalvoComplex(TKernelVector kv, double re, double im) { return kv->ToComplex(kv, re, im); }
static inline ALGEB ToTalvoComplexFloat(TKernelVector kv, ALGEB re, ALGEB im) { return kv->ToComplexFloat(kv, re, im); }
static inline ALGEB ToTalvoNULL(TKernelVector kv) { return kv->ToNULL(kv); }
static inline ALGEB ToTalvoName(TKernelVector kv, const char *name, T_BOOL global) { return kv->ToName(kv, name, global); }
static inline ALGEB ToTalvoString(TKernelVector kv, const char *text) { return kv->ToStringValue(kv, text); }

/* sequences, lists, tables, memory */
static inline ALGEB NewTalvoExpressionSequence(TKernelVector kv, M_INT n) { return kv->NewExpressionSequence(kv, n); }
static inline void TalvoExpseqAssign(TKernelVector kv, ALGEB s, M_INT i, ALGEB v) { kv->ExpseqAssign(kv, s, i, v); }
static inline ALGEB TalvoListAlloc(TKernelVector kv, M_INT n) { return kv->ListAlloc(kv, n); }
static inline void TalvoListAssign(TKernelVector kv, ALGEB l, M_INT i, ALGEB v) { kv->ListAssign(kv, l, i, v); }
static inline ALGEB TalvoListSelect(TKernelVector kv, ALGEB l, M_INT i) { return kv->ListSelect(kv, l, i); }
static inline M_INT TalvoListLength(TKernelVector kv, ALGEB l) { return kv->ListLength(kv, l); }
static inline ALGEB TalvoTableAlloc(TKernelVector kv) { return kv->TableAlloc(kv); }
static inline void TalvoTableAssign(TKernelVector kv, ALGEB t, ALGEB k, ALGEB v) { kv->TableAssign(kv, t, k, v); }
static inline ALGEB TalvoTableSelect(TKernelVector kv, ALGEB t, ALGEB k) { return kv->TableSelect(kv, t, k); }
static inline T_BOOL TalvoTableHasEntry(TKernelVector kv, ALGEB t, ALGEB k) { return kv->TableHasEntry(kv, t, k); }
/* Collected memory that may hold host values (it is scanned); zero filled. */
static inline void *TalvoAlloc(TKernelVector kv, M_INT nbytes) { return kv->Alloc(kv, nbytes); }
/* Collected memory that holds no host values (it is not scanned); zero filled. */
static inline void *TalvoNew(TKernelVector kv, M_INT nbytes) { return kv->New(kv, nbytes); }
/* Sum of two numeric host values (exact for integers and rationals). */
static inline ALGEB TalvoNumericAdd(TKernelVector kv, ALGEB a, ALGEB b) { return kv->NumericAdd(kv, a, b); }

/* ranges and equations */
static inline ALGEB TalvoRangeLow(TKernelVector kv, ALGEB r) { return kv->RangeEnd(kv, r, 1); }
static inline ALGEB TalvoRangeHigh(TKernelVector kv, ALGEB r) { return kv->RangeEnd(kv, r, 2); }
static inline ALGEB ToTalvoRange(TKernelVector kv, ALGEB lo, ALGEB hi) { return kv->NewRange(kv, lo, hi); }
static inline ALGEB ToTalvoEquation(TKernelVector kv, ALGEB lhs, ALGEB rhs) { return kv->NewEquation(kv, lhs, rhs); }

/* arrays; bounds holds lower and upper bound of each dimension in turn */
static inline ALGEB RTableCreate(TKernelVector kv, RTableSettings *s, void *pdata, M_INT *bounds) { return kv->RTableCreate(kv, s, pdata, bounds); }
static inline ALGEB RTableCopy(TKernelVector kv, RTableSettings *s, ALGEB rt) { return kv->RTableCopy(kv, s, rt); }
static inline void *RTableDataBlock(TKernelVector kv, ALGEB rt) { return kv->RTableDataBlock(kv, rt); }
static inline void RTableGetDefaults(TKernelVector kv, RTableSettings *s) { kv->RTableGetDefaults(kv, s); }
static inline void RTableGetSettings(TKernelVector kv, RTableSettings *s, ALGEB rt) { kv->RTableGetSettings(kv, s, rt); }
static inline M_INT RTableNumDimensions(TKernelVector kv, ALGEB rt) { return kv->RTableNumDimensions(kv, rt); }
static inline M_INT RTableNumElements(TKernelVector kv, ALGEB rt) { return kv->RTableNumElements(kv, rt); }
static inline M_INT RTableLowerBound(TKernelVector kv, ALGEB rt, M_INT dim) { return kv->RTableLowerBound(kv, rt, dim); }
static inline M_INT RTableUpperBound(TKernelVector kv, ALGEB rt, M_INT dim) { return kv->RTableUpperBound(kv, rt, dim); }
static inline RTableData RTableSelect(TKernelVector kv, ALGEB rt, M_INT *index) { return kv->RTableSelect(kv, rt, index); }
static inline ALGEB RTableAssign(TKernelVector kv, ALGEB rt, M_INT *index, RTableData v) { return kv->RTableAssign(kv, rt, index, v); }

/* evaluation */
static inline ALGEB EvalTalvoProc(TKernelVector kv, ALGEB proc, M_INT nargs, ...)
{
    va_list ap;
    va_start(ap, nargs);
    ALGEB r = kv->EvalProcV(kv, proc, nargs, ap);
    va_end(ap);
    return r;
}
/* Calls proc with args: an expression sequence, or any other value as the only argument. */
static inline ALGEB EvalTalvoProcedure(TKernelVector kv, ALGEB proc, ALGEB args) { return kv->EvalProcedure(kv, proc, args); }
static inline ALGEB TalvoEval(TKernelVector kv, ALGEB a) { return kv->Eval(kv, a); }
static inline double TalvoEvalhf(TKernelVector kv, ALGEB a) { return kv->Evalhf(kv, a); }
static inline ALGEB TalvoAssign(TKernelVector kv, ALGEB name, ALGEB value) { return kv->Assign(kv, name, value); }
/* Value of a global name; NULL when the name is unassigned. */
static inline ALGEB TalvoNameValue(TKernelVector kv, ALGEB name) { return kv->NameValue(kv, name); }

/* error trapping */
static inline void *TalvoTrapError(TKernelVector kv, TalvoTrapFunction fn, void *data, T_BOOL *errorflag) { return kv->TrapError(kv, fn, data, errorflag); }

/* garbage collection */
static inline void TalvoGcProtect(TKernelVector kv, ALGEB a) { kv->GcProtect(kv, a); }
static inline void TalvoGcAllow(TKernelVector kv, ALGEB a) { kv->GcAllow(kv, a); }

/* randomness */
static inline int32_t TalvoRandomInt32(TKernelVector kv) { return kv->RandomInt32(kv); }
static inline ALGEB TalvoRandomSoftwareFloat01(TKernelVector kv) { return kv->RandomSoftwareFloat01(kv); }

/* errors and messages */
/* A raise never returns: the host unwinds to where it called the entry (or
   to the TalvoTrapError around the call). */
__attribute__((noreturn)) static inline void TalvoRaiseError(TKernelVector kv, const char *msg)
{
    kv->RaiseError(kv, msg);
    __builtin_unreachable();
}
__attribute__((noreturn)) static inline void TalvoRaiseError1(TKernelVector kv, const char *msg, ALGEB a1)
{
    kv->RaiseError1(kv, msg, a1);
    __builtin_unreachable();
}
__attribute__((noreturn)) static inline void TalvoRaiseError2(TKernelVector kv, const char *msg, ALGEB a1, ALGEB a2)
{
    kv->RaiseError2(kv, msg, a1, a2);
    __builtin_unreachable();
}
static inline void TalvoUserInfo(TKernelVector kv, int level, const char *topic, const char *text) { kv->UserInfo(kv, level, topic, text); }

#ifdef __cplusplus
}
#endif

#endif /* TALVO_KERNEL_H */
