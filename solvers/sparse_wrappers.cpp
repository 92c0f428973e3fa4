// sparse_wrappers.cpp -- the seventeen sparse-solver wrappers (sw_f11...):
// the f11 routines of the numerics library behind the wrapper frame.  Each
// reads as its argument table and the routine call; docs/solvers.md
// ("Sparse linear systems") has the layouts.  A complex table holds its n
// elements as 2 n floats (real and imaginary parts side by side).
//
// Besides the frame's roles, three things are done here:
//   - in-out integers (irevcm, nnz): the argument is a name whose value is
//     read before the call and assigned after it, or a plain integer;
//   - integer tables the routine writes (row starts, pivots, indices) are
//     written back when the frame had to pass a converted copy (a table that
//     is not of the native integer type), so the caller sees the outputs;
//   - the lengths of work tables that the published lists pass as LWORK /
//     LIWORK are read from the tables themselves.
#include "stats_entries.h"
#include "wrapper_frame.hpp"

#include <cstdio>
#include <vector>

using namespace stats::wrappers;

namespace {

constexpr Check P = Check::Param;

long Arg(const Frame &f, int i) { return long(f.integer(i)); }

// The number of elements of the table at position i (0 if it is not one).
long TableLength(const Frame &f, int i)
{
    ALGEB t = f.arg(i);
    return IsTalvoRTable(f.kv(), t) ? long(RTableNumElements(f.kv(), t)) : 0;
}

// The n a reverse-communication set-up stored in its work table (element 2
// of a real table; the imaginary part of element 1 of a complex one), 0 if
// the table holds none.
long StateLength(const Frame &f, int i, bool complex)
{
    ALGEB t = f.arg(i);
    if (!IsTalvoRTable(f.kv(), t) || RTableNumElements(f.kv(), t) < 2)
        return 0;
    RTableSettings s;
    RTableGetSettings(f.kv(), &s, t);
    if (s.storage != RTABLE_RECT || s.data_type != RTABLE_DAG)
        return 0;
    ALGEB e = static_cast<ALGEB *>(RTableDataBlock(f.kv(), t))[complex ? 1 : 1];
    if (e == nullptr || !TalvoIsSoftwareFloatHandle(e))
        return 0;
    const long n = FloatToInt(TalvoFloat::from_handle(e));
    return n > 0 && n < (1L << 40) ? n : 0;
}

// An in-out integer: a name (its value read) or an integer.
Integer InInteger(const Frame &f, int i)
{
    ALGEB a = f.arg(i);
    if (IsTalvoName(f.kv(), a)) {
        if (!IsTalvoAssignedName(f.kv(), a))
            return 0;
        a = TalvoNameValue(f.kv(), a);
    }
    if (!IsTalvoInteger(f.kv(), a)) {
        char text[40];
        std::snprintf(text, sizeof text, "args[%d] must be an integer", i);
        TalvoRaiseError(f.kv(), text);
    }
    return Integer(TalvoToT_INT(f.kv(), a));
}
void OutInteger(const Frame &f, int i, long v)
{
    if (IsTalvoName(f.kv(), f.arg(i)))
        f.assign_integer(i, v);
}

// The result, and the IFAIL output argument where the layout has one.
ALGEB Result(const Frame &f, Integer ifail, int position = 0)
{
    if (position > 0)
        f.assign_integer(position, ifail);
    return f.host_integer(ifail);
}

// ---- extents
template <int N>
long ArgE(const Frame &f)
{
    return Arg(f, N);
}
template <int N>
long TwiceArg(const Frame &f)
{
    return ExtentProduct(Arg(f, N), 2);
}
template <int N>
long ArgPlus1(const Frame &f)
{
    return ExtentSum(Arg(f, N), 1);
}

} // namespace

// ===========================================================================
// Reverse-communication solver: set-up, solver, diagnostics
// ===========================================================================

// 1 method, 2 precon, 3 norm, 4 weight, 5 iterm, 6 n, 7 m, 8 tol, 9 maxitn,
// 10 anorm, 11 sigmax, 12 monit, 13 lwreq, 14 work, 15 ifail
STATS_ENTRY ALGEB sw_f11bdf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<15> kLayout{
        kIncorrectCount,
        {{
            text(), text(), text(), text(),             // 1 method, 2 precon, 3 norm, 4 weight
            integer(), integer(), integer(),            // 5 iterm, 6 n, 7 m
            real(), integer(), real(), real(),          // 8 tol, 9 maxitn, 10 anorm, 11 sigmax
            integer(),                                  // 12 monit
            output(),                                   // 13 lwreq
            floats(Use::InOut, P, [](const Frame &f) { return TableLength(f, 14); }), // 14 work
            output(),                                   // 15 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer lwreq = 0, ifail = 1;
    TalvoMP_f11bdf_(f.text(1), f.text(2), f.text(3), f.text(4), f.integer(5), f.integer(6), f.integer(7), f.real(8),
                    f.integer(9), f.real(10), f.real(11), f.integer(12), &lwreq, f.floats(14), TableLength(f, 14),
                    &ifail);
    f.assign_integer(13, lwreq);
    return Result(f, ifail, 15);
}

// 1 irevcm (in and out), 2 u, 3 v, 4 wgt, 5 work, 6 ifail
STATS_ENTRY ALGEB sw_f11bef(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<6> kLayout{
        kIncorrectCount,
        {{
            any(),                                                                                   // 1 irevcm
            floats(Use::InOut, P, [](const Frame &f) { return StateLength(f, 5, false); }),          // 2 u
            floats(Use::InOut, P, [](const Frame &f) { return StateLength(f, 5, false); }),          // 3 v
            floats(Use::In, P, [](const Frame &f) { return StateLength(f, 5, false); }),             // 4 wgt
            floats(Use::InOut, P, [](const Frame &f) { return TableLength(f, 5) < 2 ? 2L : TableLength(f, 5); }), // 5 work
            output(),                                                                                // 6 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer irevcm = InInteger(f, 1), ifail = 1;
    TalvoMP_f11bef_(&irevcm, f.floats(2), f.floats(3), f.floats(4), f.floats(5), TableLength(f, 5), &ifail);
    OutInteger(f, 1, irevcm);
    return Result(f, ifail, 6);
}

// 1 itn, 2 stplhs, 3 stprhs, 4 work
STATS_ENTRY ALGEB sw_f11bff(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<4> kLayout{
        kIncorrectCount,
        {{
            output(), output(), output(),                                                      // 1 itn, 2 stplhs, 3 stprhs
            floats(Use::In, P, [](const Frame &) { return 2L; }),                              // 4 work
        }}};
    Frame f(kv, args, kLayout);
    Integer itn = 0, ifail = 1;
    TalvoFloat lhs, rhs, anorm, sigmax;
    TalvoMP_f11bff_(&itn, &lhs, &rhs, &anorm, &sigmax, f.floats(4), TableLength(f, 4), &ifail);
    if (ifail == 0) {
        f.assign_integer(1, itn);
        f.assign_float(2, lhs);
        f.assign_float(3, rhs);
    }
    return Result(f, ifail);
}

// ===========================================================================
// Incomplete LU and its solves
// ===========================================================================

// 1 n, 2 nnz, 3 a, 4 la, 5 irow, 6 icol, 7 lfill, 8 dtol, 9 pstrat, 10 milu,
// 11 ipivp, 12 ipivq, 13 istr, 14 idiag, 15 nnzc, 16 npivm, 17 iwork, 18 ifail
template <bool Complex>
static ALGEB IluWrapper(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<18> kLayout{
        kIncorrectCount,
        {{
            integer(), integer(),                                                      // 1 n, 2 nnz
            floats(Use::InOut, P, Complex ? TwiceArg<4> : ArgE<4>),                    // 3 a
            integer(),                                                                 // 4 la
            integers(P, ArgE<4>), integers(P, ArgE<4>),                                // 5 irow, 6 icol
            integer(), real(), text(), text(),                                         // 7 lfill, 8 dtol, 9 pstrat, 10 milu
            integers(P, ArgE<1>), integers(P, ArgE<1>),                                // 11 ipivp, 12 ipivq
            integers(P, ArgPlus1<1>), integers(P, ArgE<1>),                            // 13 istr, 14 idiag
            output(), output(),                                                        // 15 nnzc, 16 npivm
            integers(P, [](const Frame &f) { return TableLength(f, 17); }),            // 17 iwork
            output(),                                                                  // 18 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer nnzc = 0, npivm = 0, ifail = 1;
    if constexpr (Complex)
        TalvoMP_f11dnf_(f.integer(1), f.integer(2), reinterpret_cast<TalvoComplex *>(f.floats(3)), f.integer(4),
                        f.integers(5), f.integers(6), f.integer(7), f.real(8), f.text(9), f.text(10), f.integers(11),
                        f.integers(12), f.integers(13), f.integers(14), &nnzc, &npivm, f.integers(17),
                        TableLength(f, 17), &ifail);
    else
        TalvoMP_f11daf_(f.integer(1), f.integer(2), f.floats(3), f.integer(4), f.integers(5), f.integers(6),
                        f.integer(7), f.real(8), f.text(9), f.text(10), f.integers(11), f.integers(12),
                        f.integers(13), f.integers(14), &nnzc, &npivm, f.integers(17), TableLength(f, 17), &ifail);
    if (ifail == 0) {
        f.write_back_integers(5, Arg(f, 4));
        f.write_back_integers(6, Arg(f, 4));
        f.write_back_integers(11, Arg(f, 1));
        f.write_back_integers(12, Arg(f, 1));
        f.write_back_integers(13, Arg(f, 1) + 1);
        f.write_back_integers(14, Arg(f, 1));
    }
    f.assign_integer(15, nnzc);
    f.assign_integer(16, npivm);
    return Result(f, ifail, 18);
}

STATS_ENTRY ALGEB sw_f11daf(TKernelVector kv, ALGEB *args) { return IluWrapper<false>(kv, args); }
STATS_ENTRY ALGEB sw_f11dnf(TKernelVector kv, ALGEB *args) { return IluWrapper<true>(kv, args); }

// 1 trans, 2 n, 3 a, 4 la, 5 irow, 6 icol, 7 ipivp, 8 ipivq, 9 istr, 10 idiag,
// 11 check, 12 y, 13 x, 14 ifail
template <bool Complex>
static ALGEB IluSolveWrapper(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<14> kLayout{
        kIncorrectCount,
        {{
            text(), integer(),                                                         // 1 trans, 2 n
            floats(Use::In, P, Complex ? TwiceArg<4> : ArgE<4>),                       // 3 a
            integer(),                                                                 // 4 la
            integers(P, ArgE<4>), integers(P, ArgE<4>),                                // 5 irow, 6 icol
            integers(P, ArgE<2>), integers(P, ArgE<2>),                                // 7 ipivp, 8 ipivq
            integers(P, ArgPlus1<2>), integers(P, ArgE<2>),                            // 9 istr, 10 idiag
            text(),                                                                    // 11 check
            floats(Use::In, P, Complex ? TwiceArg<2> : ArgE<2>),                       // 12 y
            floats(Use::Out, P, Complex ? TwiceArg<2> : ArgE<2>),                      // 13 x
            output(),                                                                  // 14 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer ifail = 1;
    if constexpr (Complex)
        TalvoMP_f11dpf_(f.text(1), f.integer(2), reinterpret_cast<const TalvoComplex *>(f.floats(3)), f.integer(4),
                        f.integers(5), f.integers(6), f.integers(7), f.integers(8), f.integers(9), f.integers(10),
                        f.text(11), reinterpret_cast<const TalvoComplex *>(f.floats(12)),
                        reinterpret_cast<TalvoComplex *>(f.floats(13)), &ifail);
    else
        TalvoMP_f11dbf_(f.text(1), f.integer(2), f.floats(3), f.integer(4), f.integers(5), f.integers(6),
                        f.integers(7), f.integers(8), f.integers(9), f.integers(10), f.text(11), f.floats(12),
                        f.floats(13), &ifail);
    return Result(f, ifail, 14);
}

STATS_ENTRY ALGEB sw_f11dbf(TKernelVector kv, ALGEB *args) { return IluSolveWrapper<false>(kv, args); }
STATS_ENTRY ALGEB sw_f11dpf(TKernelVector kv, ALGEB *args) { return IluSolveWrapper<true>(kv, args); }

// ===========================================================================
// Black boxes
// ===========================================================================

// 1 method, 2 n, 3 nnz, 4 a, 5 la, 6 irow, 7 icol, 8 ipivp, 9 ipivq, 10 istr,
// 11 idiag, 12 b, 13 m, 14 tol, 15 maxitn, 16 x, 17 rnorm, 18 itn, 19 ifail
template <bool Complex>
static ALGEB IluSolverWrapper(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<19> kLayout{
        kIncorrectCount,
        {{
            text(), integer(), integer(),                                              // 1 method, 2 n, 3 nnz
            floats(Use::In, P, Complex ? TwiceArg<5> : ArgE<5>),                       // 4 a
            integer(),                                                                 // 5 la
            integers(P, ArgE<5>), integers(P, ArgE<5>),                                // 6 irow, 7 icol
            integers(P, ArgE<2>), integers(P, ArgE<2>),                                // 8 ipivp, 9 ipivq
            integers(P, ArgPlus1<2>), integers(P, ArgE<2>),                            // 10 istr, 11 idiag
            floats(Use::In, P, Complex ? TwiceArg<2> : ArgE<2>),                       // 12 b
            integer(), real(), integer(),                                              // 13 m, 14 tol, 15 maxitn
            floats(Use::InOut, P, Complex ? TwiceArg<2> : ArgE<2>),                    // 16 x
            output(), output(), output(),                                              // 17 rnorm, 18 itn, 19 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer itn = 0, ifail = 1;
    TalvoFloat rnorm;
    if constexpr (Complex)
        TalvoMP_f11dqf_(f.text(1), f.integer(2), f.integer(3), reinterpret_cast<const TalvoComplex *>(f.floats(4)),
                        f.integer(5), f.integers(6), f.integers(7), f.integers(8), f.integers(9), f.integers(10),
                        f.integers(11), reinterpret_cast<const TalvoComplex *>(f.floats(12)), f.integer(13),
                        f.real(14), f.integer(15), reinterpret_cast<TalvoComplex *>(f.floats(16)), &rnorm, &itn,
                        nullptr, 0, &ifail);
    else
        TalvoMP_f11dcf_(f.text(1), f.integer(2), f.integer(3), f.floats(4), f.integer(5), f.integers(6),
                        f.integers(7), f.integers(8), f.integers(9), f.integers(10), f.integers(11), f.floats(12),
                        f.integer(13), f.real(14), f.integer(15), f.floats(16), &rnorm, &itn, nullptr, 0, &ifail);
    if (ifail == 0 || ifail >= 4) {
        f.assign_float(17, rnorm);
        f.assign_integer(18, itn);
    }
    return Result(f, ifail, 19);
}

STATS_ENTRY ALGEB sw_f11dcf(TKernelVector kv, ALGEB *args) { return IluSolverWrapper<false>(kv, args); }
STATS_ENTRY ALGEB sw_f11dqf(TKernelVector kv, ALGEB *args) { return IluSolverWrapper<true>(kv, args); }

// 1 method, 2 precon, 3 n, 4 nnz, 5 a, 6 irow, 7 icol, 8 omega, 9 b, 10 m,
// 11 tol, 12 maxitn, 13 x, 14 rnorm, 15 itn, 16 iwork, 17 ifail
template <bool Complex>
static ALGEB SsorSolverWrapper(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<17> kLayout{
        kIncorrectCount,
        {{
            text(), text(), integer(), integer(),                                      // 1 method, 2 precon, 3 n, 4 nnz
            floats(Use::In, P, Complex ? TwiceArg<4> : ArgE<4>),                       // 5 a
            integers(P, ArgE<4>), integers(P, ArgE<4>),                                // 6 irow, 7 icol
            real(),                                                                    // 8 omega
            floats(Use::In, P, Complex ? TwiceArg<3> : ArgE<3>),                       // 9 b
            integer(), real(), integer(),                                              // 10 m, 11 tol, 12 maxitn
            floats(Use::InOut, P, Complex ? TwiceArg<3> : ArgE<3>),                    // 13 x
            output(), output(),                                                        // 14 rnorm, 15 itn
            integers(P, [](const Frame &f) { return ExtentSum(ExtentProduct(Arg(f, 3), 2), 1); }), // 16 iwork
            output(),                                                                  // 17 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer itn = 0, ifail = 1;
    TalvoFloat rnorm;
    if constexpr (Complex)
        TalvoMP_f11dsf_(f.text(1), f.text(2), f.integer(3), f.integer(4),
                        reinterpret_cast<const TalvoComplex *>(f.floats(5)), f.integers(6), f.integers(7), f.real(8),
                        reinterpret_cast<const TalvoComplex *>(f.floats(9)), f.integer(10), f.real(11), f.integer(12),
                        reinterpret_cast<TalvoComplex *>(f.floats(13)), &rnorm, &itn, nullptr, 0, f.integers(16),
                        &ifail);
    else
        TalvoMP_f11def_(f.text(1), f.text(2), f.integer(3), f.integer(4), f.floats(5), f.integers(6), f.integers(7),
                        f.real(8), f.floats(9), f.integer(10), f.real(11), f.integer(12), f.floats(13), &rnorm, &itn,
                        nullptr, 0, f.integers(16), &ifail);
    if (ifail == 0 || ifail >= 4) {
        f.assign_float(14, rnorm);
        f.assign_integer(15, itn);
    }
    return Result(f, ifail, 17);
}

STATS_ENTRY ALGEB sw_f11def(TKernelVector kv, ALGEB *args) { return SsorSolverWrapper<false>(kv, args); }
STATS_ENTRY ALGEB sw_f11dsf(TKernelVector kv, ALGEB *args) { return SsorSolverWrapper<true>(kv, args); }

// ===========================================================================
// SSOR, the product, the storage utilities
// ===========================================================================

// 1 trans, 2 n, 3 nnz, 4 a, 5 irow, 6 icol, 7 rdiag, 8 omega, 9 check, 10 y, 11 x, 12 ifail
STATS_ENTRY ALGEB sw_f11ddf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<12> kLayout{
        kIncorrectCount,
        {{
            text(), integer(), integer(),                                              // 1 trans, 2 n, 3 nnz
            floats(Use::In, P, ArgE<3>),                                               // 4 a
            integers(P, ArgE<3>), integers(P, ArgE<3>),                                // 5 irow, 6 icol
            floats(Use::In, P, ArgE<2>),                                               // 7 rdiag
            real(), text(),                                                            // 8 omega, 9 check
            floats(Use::In, P, ArgE<2>), floats(Use::Out, P, ArgE<2>),                 // 10 y, 11 x
            output(),                                                                  // 12 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer ifail = 1;
    TalvoMP_f11ddf_(f.text(1), f.integer(2), f.integer(3), f.floats(4), f.integers(5), f.integers(6), f.floats(7),
                    f.real(8), f.text(9), f.floats(10), f.floats(11), nullptr, &ifail);
    return Result(f, ifail, 12);
}

// 1 n, 2 nnz, 3 a, 4 irow, 5 icol, 6 x, 7 y  (y = A x)
STATS_ENTRY ALGEB sw_f11xaf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<7> kLayout{
        kIncorrectCount,
        {{
            integer(), integer(),                                                      // 1 n, 2 nnz
            floats(Use::In, P, ArgE<2>),                                               // 3 a
            integers(P, ArgE<2>), integers(P, ArgE<2>),                                // 4 irow, 5 icol
            floats(Use::In, P, ArgE<1>), floats(Use::Out, P, ArgE<1>),                 // 6 x, 7 y
        }}};
    Frame f(kv, args, kLayout);
    Integer ifail = 1;
    TalvoMP_f11xaf_("N", f.integer(1), f.integer(2), f.floats(3), f.integers(4), f.integers(5), "C", f.floats(6),
                    f.floats(7), &ifail);
    return Result(f, ifail);
}

// 1 n, 2 nnz (in and out), 3 a, 4 irow, 5 icol, 6 istr
template <int Kind> // 0 real, 1 complex, 2 complex Hermitian lower triangle
static ALGEB SortWrapper(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<6> kLayout{
        kIncorrectCount,
        {{
            integer(), any(),                                                          // 1 n, 2 nnz
            floats(Use::InOut, P,
                   [](const Frame &f) { return ExtentProduct(long(InInteger(f, 2)), Kind == 0 ? 1 : 2); }), // 3 a
            integers(P, [](const Frame &f) { return long(InInteger(f, 2)); }),                         // 4 irow
            integers(P, [](const Frame &f) { return long(InInteger(f, 2)); }),                         // 5 icol
            integers(P, ArgPlus1<1>),                                                                  // 6 istr
        }}};
    Frame f(kv, args, kLayout);
    Integer nnz = InInteger(f, 2), ifail = 1;
    const Integer before = nnz;
    if constexpr (Kind == 0)
        TalvoMP_f11zaf_(f.integer(1), &nnz, f.floats(3), f.integers(4), f.integers(5), "S", "R", f.integers(6),
                        nullptr, &ifail);
    else if constexpr (Kind == 1)
        TalvoMP_f11znf_(f.integer(1), &nnz, reinterpret_cast<TalvoComplex *>(f.floats(3)), f.integers(4),
                        f.integers(5), "S", "R", f.integers(6), nullptr, &ifail);
    else
        TalvoMP_f11zpf_(f.integer(1), &nnz, reinterpret_cast<TalvoComplex *>(f.floats(3)), f.integers(4),
                        f.integers(5), "S", "R", f.integers(6), nullptr, &ifail);
    if (ifail == 0) {
        f.write_back_integers(4, before);
        f.write_back_integers(5, before);
        f.write_back_integers(6, Arg(f, 1) + 1);
        OutInteger(f, 2, nnz);
    }
    return Result(f, ifail);
}

STATS_ENTRY ALGEB sw_f11zaf(TKernelVector kv, ALGEB *args) { return SortWrapper<0>(kv, args); }
STATS_ENTRY ALGEB sw_f11znf(TKernelVector kv, ALGEB *args) { return SortWrapper<1>(kv, args); }
STATS_ENTRY ALGEB sw_f11zpf(TKernelVector kv, ALGEB *args) { return SortWrapper<2>(kv, args); }

// ===========================================================================
// sw_f11grstf: a complex Hermitian system by CG or SYMMLQ, with its own loop
// ===========================================================================
//
// 1 n, 2 nnz, 3 a, 4 la, 5 irow, 6 icol, 7 lfill, 8 dtol, 9 mic, 10 dscale,
// 11 pstrat, 12 ipiv, 13 istr, 14 nnzc, 15 npivm, 16 method, 17 precon,
// 18 sigcmp, 19 norm, 20 weight, 21 iterm, 22 tol, 23 maxitn, 24 anorm,
// 25 sigmax, 26 sigtol, 27 maxits, 28 monit, 29 lwreq, 30 work, 31 lwork,
// 32 wgt, 33 b, 34 x, 35 itn, 36 stplhs, 37 stprhs, 38 its, 39 sigerr
//
// With precon 'P' the incomplete Cholesky factor of A (lower triangle in
// a, irow, icol) is made first and appended to them; then the set-up, and
// the solver called until it finishes, each request served here: a product
// with A, or a solve with the factor.  The result is the last failure
// indicator (of the factorisation, the set-up or the solver).
STATS_ENTRY ALGEB sw_f11grstf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<39> kLayout{
        kIncorrectCount,
        {{
            integer(), integer(),                                                      // 1 n, 2 nnz
            floats(Use::InOut, P, TwiceArg<4>),                                        // 3 a
            integer(),                                                                 // 4 la
            integers(P, ArgE<4>), integers(P, ArgE<4>),                                // 5 irow, 6 icol
            integer(), real(), text(), real(), text(),                                 // 7 lfill, 8 dtol, 9 mic, 10 dscale, 11 pstrat
            integers(P, ArgE<1>), integers(P, ArgPlus1<1>),                            // 12 ipiv, 13 istr
            output(), output(),                                                        // 14 nnzc, 15 npivm
            text(), text(), text(), text(), text(),                                    // 16 method, 17 precon, 18 sigcmp, 19 norm, 20 weight
            integer(), real(), integer(), real(), real(), real(), integer(), integer(), // 21 iterm .. 28 monit
            output(),                                                                  // 29 lwreq
            floats(Use::InOut, P, TwiceArg<31>),                                       // 30 work
            integer(),                                                                 // 31 lwork
            floats(Use::In, P, [](const Frame &f) {                                    // 32 wgt
                const char w = f.text(20)[0];
                return (w == 'W' || w == 'w') ? Arg(f, 1) : 0L;
            }),
            floats(Use::In, P, TwiceArg<1>),                                           // 33 b
            floats(Use::InOut, P, TwiceArg<1>),                                        // 34 x
            output(), output(), output(), output(), output(),                         // 35 itn .. 39 sigerr
        }}};
    Frame f(kv, args, kLayout);
    const char pc = f.text(17)[0];
    if (pc != 'P' && pc != 'N')
        TalvoRaiseError(kv, "argument 17, precon, must be 'P' or 'N'. ");
    const Integer n = f.integer(1), nnz = f.integer(2), la = f.integer(4);
    auto *a = reinterpret_cast<TalvoComplex *>(f.floats(3));
    Integer ifail = 1, nnzc = 0, npivm = 0;
    if (pc == 'P') {
        std::vector<Integer> iwork(size_t(n > 0 ? 7 * n + 2 : 2));
        TalvoMP_f11jnf_(n, nnz, a, la, f.integers(5), f.integers(6), f.integer(7), f.real(8), f.text(9), f.real(10),
                        f.text(11), f.integers(12), f.integers(13), &nnzc, &npivm, iwork.data(), Integer(iwork.size()),
                        &ifail);
        f.assign_integer(14, nnzc);
        f.assign_integer(15, npivm);
        if (ifail != 0)
            return f.host_integer(ifail);
        f.write_back_integers(5, la);
        f.write_back_integers(6, la);
        f.write_back_integers(12, n);
        f.write_back_integers(13, n + 1);
    }
    Integer lwreq = 0;
    const Integer lwork = f.integer(31);
    ifail = 1;
    auto *work = reinterpret_cast<TalvoComplex *>(f.floats(30));
    TalvoMP_f11grf_(f.text(16), f.text(17), f.text(18), f.text(19), f.text(20), f.integer(21), n, f.real(22),
                    f.integer(23), f.real(24), f.real(25), f.real(26), f.integer(27), f.integer(28), &lwreq, work,
                    lwork, &ifail);
    f.assign_integer(29, lwreq);
    if (lwork < lwreq)
        TalvoRaiseError(kv, "Workspace size, lwork, is less than required, lwreq.");
    if (ifail != 0)
        return f.host_integer(ifail);

    // u, v: the vectors of the requests, in collected memory for the call
    auto *u = static_cast<TalvoComplex *>(TalvoAlloc(kv, M_INT(ExtentProduct(n, long(sizeof(TalvoComplex))))));
    auto *v = static_cast<TalvoComplex *>(TalvoAlloc(kv, M_INT(ExtentProduct(n, long(sizeof(TalvoComplex))))));
    const auto *x = reinterpret_cast<TalvoComplex *>(f.floats(34));
    const auto *b = reinterpret_cast<const TalvoComplex *>(f.floats(33));
    for (Integer i = 0; i < n; ++i) {
        u[i] = x[i];
        v[i] = b[i];
    }
    Integer irevcm = 0, inner = 1;
    const char *check = "C"; // validate the storage on the first product and solve
    const char *pcheck = "C";
    for (;;) {
        ifail = 1;
        TalvoMP_f11gsf_(&irevcm, u, v, f.floats(32), work, lwork, &ifail);
        if (irevcm == 1) {
            inner = 1;
            TalvoMP_f11xsf_(n, nnz, a, f.integers(5), f.integers(6), check, u, v, &inner);
            if (inner != 0)
                TalvoRaiseError(kv, "Matrix-Vector multiply failed");
            check = "N";
        } else if (irevcm == -1) { // A^H = A
            inner = 1;
            TalvoMP_f11xsf_(n, nnz, a, f.integers(5), f.integers(6), check, u, v, &inner);
            if (inner != 0)
                TalvoRaiseError(kv, "Matrix-Vector multiply failed");
            check = "N";
        } else if (irevcm == 2) {
            inner = 1;
            TalvoMP_f11jpf_(n, a, la, f.integers(5), f.integers(6), f.integers(12), f.integers(13), pcheck, u, v,
                            &inner);
            if (inner != 0)
                TalvoRaiseError(kv, "preconditioning solution failed");
            pcheck = "N";
        } else if (irevcm == 4) {
            break;
        }
    }
    auto *xo = reinterpret_cast<TalvoComplex *>(f.floats(34));
    for (Integer i = 0; i < n; ++i)
        xo[i] = u[i];
    const Integer solve_fail = ifail;
    Integer itn = 0, its = 0, diag = 1;
    TalvoFloat lhs, rhs, an, sg, sigerr;
    TalvoMP_f11gtf_(&itn, &lhs, &rhs, &an, &sg, &its, &sigerr, work, lwork, &diag);
    if (diag == 0) {
        f.assign_integer(35, itn);
        f.assign_float(36, lhs);
        f.assign_float(37, rhs);
        f.assign_integer(38, its);
        f.assign_float(39, sigerr);
    }
    return f.host_integer(solve_fail);
}
