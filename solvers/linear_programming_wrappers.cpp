// linear_programming_wrappers.cpp -- sw_e04mfa, sw_e04nca, sw_e04nfa (linear
// and quadratic programs on the active-set engine), their option setters
// sw_e04mha, sw_e04nea, sw_e04nha, and the integer LP sw_h02bbf with its
// initialiser sw_h02wbf.  Each reads as its argument table and the routine
// call; docs/solvers.md has the layouts and the reason for every position.
//
// These are "simpler members": a wrong count raises "Incorrect number of
// arguments", a table position holding something else than a table "param K
// should be an rtable"; integers and floats are converted by the host.  The
// routine's failure indicator is the result and, where the layout has an
// IFAIL name, is also assigned to it.
#include "optimization/options.hpp"
#include "stats_entries.h"
#include "trampoline.hpp"
#include "wrapper_frame.hpp"

#include <algorithm>
#include <cstdint>

using namespace stats::wrappers;
using namespace stats::solvers;

namespace {

long Arg(const Frame &f, int i) { return long(f.integer(i)); }

constexpr Check P = Check::Param;

// The elements of a rows x n column-major matrix with leading dimension ld
// that a routine reads: ld (n - 1) + rows (none when rows or n is 0).
long MatrixExtent(long ld, long rows, long n)
{
    if (rows <= 0 || n <= 0)
        return 0;
    return ExtentSum(ExtentProduct(ld, n - 1), rows);
}

// The "Problem Type" held in the iwsav table at position i, read straight
// from the host table (the extents are known before the tables are taken);
// 0 (the routine's default) when the table is not one or does not hold it.
Integer ProblemTypeIn(const Frame &f, int i)
{
    TKernelVector kv = f.kv();
    ALGEB t = f.arg(i);
    if (!IsTalvoRTable(kv, t) || RTableNumElements(kv, t) <= talvo::opt::saved::kProblemType)
        return 0;
    RTableSettings s;
    RTableGetSettings(kv, &s, t);
    const void *block = RTableDataBlock(kv, t);
    const long k = talvo::opt::saved::kProblemType;
    switch (s.data_type) {
    case RTABLE_INTEGER32:
        return Integer(static_cast<const int32_t *>(block)[k]);
    case RTABLE_INTEGER64:
        return Integer(static_cast<const int64_t *>(block)[k]);
    case RTABLE_DAG: {
        ALGEB e = static_cast<const ALGEB *>(block)[k];
        return e != nullptr && IsTalvoInteger(kv, e) ? Integer(TalvoToM_INT(kv, e)) : 0;
    }
    default:
        return 0;
    }
}

bool HessianType(Integer type)
{
    return type == talvo::opt::saved::kQP1 || type == talvo::opt::saved::kQP2;
}

// sw_e04mha, sw_e04nea, sw_e04nha: the layout of sw_e04dka.
using OptionSetter = void (*)(const char *, Integer *, Integer *, TalvoFloat *, Integer *, int);

ALGEB SetOption(TKernelVector kv, ALGEB *args, OptionSetter setter)
{
    static constexpr Layout<9> kLayout{
        kIncorrectCount,
        {{
            text(),                                                          // 1 str
            integers(P, [](const Frame &f) { return Arg(f, 7); }),           // 2 lwsav
            integers(P, [](const Frame &f) { return Arg(f, 8); }),           // 3 iwsav
            floats(Use::InOut, P, [](const Frame &f) { return Arg(f, 9); }), // 4 rwsav
            output(),                                                        // 5 inform
            integer(), integer(), integer(), integer(),                      // 6 length, 7..9 array lengths
        }}};
    Frame f(kv, args, kLayout);
    Integer inform = 5;
    if (Arg(f, 7) >= kTalvoOptLwsav && Arg(f, 8) >= kTalvoOptIwsav && Arg(f, 9) >= kTalvoOptRwsav) {
        const long whole = long(f.text_length(1));
        const long length = Arg(f, 6) < 0 || Arg(f, 6) > whole ? whole : Arg(f, 6);
        setter(f.text(1), f.integers(2), f.integers(3), f.floats(4), &inform, int(length));
        f.write_back_integers(2, kTalvoOptLwsav);
        f.write_back_integers(3, kTalvoOptIwsav);
    }
    f.assign_integer(5, inform);
    return f.host_integer(inform);
}

} // namespace

// ---------------------------------------------------------------------------
// sw_e04mfa: 1 n, 2 nclin, 3 a, 4 lda, 5 bl, 6 bu, 7 cvec, 8 istate, 9 x,
// 10 'iter', 11 'obj', 12 ax, 13 clamda, 14 iwork, 15 liwork, 16 work,
// 17 lwork, 18 lwsav, 19 iwsav, 20 rwsav, 21 'ifail', 22..23 not used
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04mfa(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<23> kLayout{
        kIncorrectCount,
        {{
            integer(), integer(),                                                               // 1 n, 2 nclin
            floats(Use::In, P, [](const Frame &f) { return MatrixExtent(Arg(f, 4), Arg(f, 2), Arg(f, 1)); }), // 3 a
            integer(),                                                                          // 4 lda
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }), // 5 bl
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }), // 6 bu
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 1); }),                       // 7 cvec
            integers(P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }),        // 8 istate
            floats(Use::InOut, P, [](const Frame &f) { return Arg(f, 1); }),                    // 9 x
            output(), output(),                                                                 // 10 iter, 11 obj
            floats(Use::Out, P, [](const Frame &f) { return std::max(1L, Arg(f, 2)); }),        // 12 ax
            floats(Use::Out, P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }), // 13 clamda
            integers(P, [](const Frame &f) { return Arg(f, 15); }),                             // 14 iwork
            integer(),                                                                          // 15 liwork
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 17); }),                     // 16 work
            integer(),                                                                          // 17 lwork
            integers(P, [](const Frame &) { return long(kTalvoOptLwsav); }),                    // 18 lwsav
            integers(P, [](const Frame &) { return long(kTalvoOptIwsav); }),                    // 19 iwsav
            floats(Use::InOut, P, [](const Frame &) { return long(kTalvoOptRwsav); }),          // 20 rwsav
            output(),                                                                           // 21 ifail
            any(), any(),                                                                       // 22, 23
        }}};
    Frame f(kv, args, kLayout);
    Integer n = f.integer(1), nclin = f.integer(2), lda = f.integer(4), liwork = f.integer(15);
    Integer lwork = f.integer(17), iter = 0, ifail = 1;
    TalvoFloat obj(0.0);
    TalvoMP_e04mfa_(&n, &nclin, f.floats(3), &lda, f.floats(5), f.floats(6), f.floats(7), f.integers(8), f.floats(9),
                    &iter, &obj, f.floats(12), f.floats(13), f.integers(14), &liwork, f.floats(16), &lwork,
                    f.integers(18), f.integers(19), f.floats(20), &ifail);
    f.write_back_integers(8, ExtentSum(Arg(f, 1), Arg(f, 2)));
    f.write_back_integers(14, Arg(f, 15));
    f.assign_integer(10, iter);
    f.assign_float(11, obj);
    f.assign_integer(21, ifail);
    return f.host_integer(ifail);
}

STATS_ENTRY ALGEB sw_e04mha(TKernelVector kv, ALGEB *args) { return SetOption(kv, args, TalvoMP_e04mha_); }

// ---------------------------------------------------------------------------
// sw_e04nca: 1 m, 2 n, 3 nclin, 4 ldc, 5 lda, 6 c, 7 bl, 8 bu, 9 cvec,
// 10 istate, 11 kx, 12 x, 13 a, 14 b, 15 'iter', 16 'obj', 17 clamda,
// 18 iwork, 19 liwork, 20 work, 21 lwork, 22 lwsav, 23 iwsav, 24 rwsav,
// 25 'ifail', 26..27 not used
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04nca(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<27> kLayout{
        kIncorrectCount,
        {{
            integer(), integer(), integer(), integer(), integer(), // 1 m, 2 n, 3 nclin, 4 ldc, 5 lda
            floats(Use::In, P, [](const Frame &f) { return MatrixExtent(Arg(f, 4), Arg(f, 3), Arg(f, 2)); }), // 6 c
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 2), Arg(f, 3)); }), // 7 bl
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 2), Arg(f, 3)); }), // 8 bu
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 2); }),                       // 9 cvec
            integers(P, [](const Frame &f) { return ExtentSum(Arg(f, 2), Arg(f, 3)); }),        // 10 istate
            integers(P, [](const Frame &f) { return Arg(f, 2); }),                              // 11 kx
            floats(Use::InOut, P, [](const Frame &f) { return Arg(f, 2); }),                    // 12 x
            floats(Use::InOut, P, [](const Frame &f) {                                          // 13 a
                // QP1 and QP2 read the n x n Hessian; the other types m rows.
                const long rows = HessianType(ProblemTypeIn(f, 23)) ? Arg(f, 2) : Arg(f, 1);
                return MatrixExtent(Arg(f, 5), rows, Arg(f, 2));
            }),
            floats(Use::InOut, P, [](const Frame &f) { return Arg(f, 1); }),                    // 14 b
            output(), output(),                                                                 // 15 iter, 16 obj
            floats(Use::Out, P, [](const Frame &f) { return ExtentSum(Arg(f, 2), Arg(f, 3)); }), // 17 clamda
            integers(P, [](const Frame &f) { return Arg(f, 19); }),                             // 18 iwork
            integer(),                                                                          // 19 liwork
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 21); }),                     // 20 work
            integer(),                                                                          // 21 lwork
            integers(P, [](const Frame &) { return long(kTalvoOptLwsav); }),                    // 22 lwsav
            integers(P, [](const Frame &) { return long(kTalvoOptIwsav); }),                    // 23 iwsav
            floats(Use::InOut, P, [](const Frame &) { return long(kTalvoOptRwsav); }),          // 24 rwsav
            output(),                                                                           // 25 ifail
            any(), any(),                                                                       // 26, 27
        }}};
    Frame f(kv, args, kLayout);
    Integer m = f.integer(1), n = f.integer(2), nclin = f.integer(3), ldc = f.integer(4), lda = f.integer(5);
    Integer liwork = f.integer(19), lwork = f.integer(21), iter = 0, ifail = 1;
    TalvoFloat obj(0.0);
    TalvoMP_e04nca_(&m, &n, &nclin, &ldc, &lda, f.floats(6), f.floats(7), f.floats(8), f.floats(9), f.integers(10),
                    f.integers(11), f.floats(12), f.floats(13), f.floats(14), &iter, &obj, f.floats(17),
                    f.integers(18), &liwork, f.floats(20), &lwork, f.integers(22), f.integers(23), f.floats(24),
                    &ifail);
    f.write_back_integers(10, ExtentSum(Arg(f, 2), Arg(f, 3)));
    f.write_back_integers(11, Arg(f, 2));
    f.write_back_integers(18, Arg(f, 19));
    f.assign_integer(15, iter);
    f.assign_float(16, obj);
    f.assign_integer(25, ifail);
    return f.host_integer(ifail);
}

STATS_ENTRY ALGEB sw_e04nea(TKernelVector kv, ALGEB *args) { return SetOption(kv, args, TalvoMP_e04nea_); }

// ---------------------------------------------------------------------------
// sw_e04nfa: 1 n, 2 nclin, 3 a, 4 lda, 5 bl, 6 bu, 7 cvec, 8 h, 9 ldh,
// 10 qphess, 11 istate, 12 x, 13 'iter', 14 'obj', 15 ax, 16 clamda,
// 17 iwork, 18 liwork, 19 work, 20 lwork, 21 lwsav, 22 iwsav, 23 rwsav,
// 24 'ifail', 25 xc, 26 hx, 27 qphess used (1) or the dense h (0),
// 28 'calls'
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04nfa(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<28> kLayout{
        kIncorrectCount,
        {{
            integer(), integer(),                                                               // 1 n, 2 nclin
            floats(Use::In, P, [](const Frame &f) { return MatrixExtent(Arg(f, 4), Arg(f, 2), Arg(f, 1)); }), // 3 a
            integer(),                                                                          // 4 lda
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }), // 5 bl
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }), // 6 bu
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 1); }),                       // 7 cvec
            floats(Use::In, P, [](const Frame &f) {                                             // 8 h
                // Read only by the product with the dense h: its ldh x n block.
                return Arg(f, 27) != 0 ? 0L : ExtentProduct(Arg(f, 9), Arg(f, 1));
            }),
            integer(),                                                                          // 9 ldh
            any(),                                                                              // 10 qphess
            integers(P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }),        // 11 istate
            floats(Use::InOut, P, [](const Frame &f) { return Arg(f, 1); }),                    // 12 x
            output(), output(),                                                                 // 13 iter, 14 obj
            floats(Use::Out, P, [](const Frame &f) { return std::max(1L, Arg(f, 2)); }),        // 15 ax
            floats(Use::Out, P, [](const Frame &f) { return ExtentSum(Arg(f, 1), Arg(f, 2)); }), // 16 clamda
            integers(P, [](const Frame &f) { return Arg(f, 18); }),                             // 17 iwork
            integer(),                                                                          // 18 liwork
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 20); }),                     // 19 work
            integer(),                                                                          // 20 lwork
            integers(P, [](const Frame &) { return long(kTalvoOptLwsav); }),                    // 21 lwsav
            integers(P, [](const Frame &) { return long(kTalvoOptIwsav); }),                    // 22 iwsav
            floats(Use::InOut, P, [](const Frame &) { return long(kTalvoOptRwsav); }),          // 23 rwsav
            output(),                                                                           // 24 ifail
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 1); }),                      // 25 xc
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 1); }),                      // 26 hx
            integer(),                                                                          // 27 qphess used
            output(),                                                                           // 28 calls
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04nfa");
    TrampolineSlots &s = scope.slots();
    const bool product = Arg(f, 27) != 0;
    if (product) {
        s.gradient = f.procedure(10);
        s.x_table = f.arg(25);
        s.x_work = f.floats(25);
        s.n = Arg(f, 1);
        s.out_table = f.arg(26);
        s.out_work = f.floats(26);
        s.out_n = Arg(f, 1);
    }
    Integer n = f.integer(1), nclin = f.integer(2), lda = f.integer(4), ldh = f.integer(9);
    Integer liwork = f.integer(18), lwork = f.integer(20), iter = 0, ifail = 1;
    TalvoFloat obj(0.0);
    TalvoMP_e04nfa_(&n, &nclin, f.floats(3), &lda, f.floats(5), f.floats(6), f.floats(7), f.floats(8), &ldh,
                    product ? HessianProductTrampoline : nullptr, f.integers(11), f.floats(12), &iter, &obj,
                    f.floats(15), f.floats(16), f.integers(17), &liwork, f.floats(19), &lwork, nullptr, nullptr,
                    f.integers(21), f.integers(22), f.floats(23), &ifail);
    f.write_back_integers(11, ExtentSum(Arg(f, 1), Arg(f, 2)));
    f.write_back_integers(17, Arg(f, 18));
    f.assign_integer(13, iter);
    f.assign_float(14, obj);
    f.assign_integer(24, ifail);
    f.assign_integer(28, s.calls);
    return f.host_integer(ifail);
}

STATS_ENTRY ALGEB sw_e04nha(TKernelVector kv, ALGEB *args) { return SetOption(kv, args, TalvoMP_e04nha_); }

// ---------------------------------------------------------------------------
// sw_h02bbf: 1 itmax, 2 msglvl, 3 n, 4 m, 5 a, 6 lda, 7 bl, 8 bu, 9 intvar,
// 10 cvec, 11 maxnod, 12 intfst, 13 maxdpt, 14 toliv, 15 tolfes, 16 bigbnd,
// 17 x, 18 'objmip', 19 iwork, 20 liwork, 21 rwork, 22 lrwork, 23 lwsav,
// 24 iwsav, 25 rwsav, 26 'ifail'
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_h02bbf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<26> kLayout{
        kIncorrectCount,
        {{
            integer(), integer(), integer(), integer(),                                         // 1 itmax .. 4 m
            floats(Use::In, P, [](const Frame &f) { return MatrixExtent(Arg(f, 6), Arg(f, 4), Arg(f, 3)); }), // 5 a
            integer(),                                                                          // 6 lda
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 3), Arg(f, 4)); }), // 7 bl
            floats(Use::In, P, [](const Frame &f) { return ExtentSum(Arg(f, 3), Arg(f, 4)); }), // 8 bu
            integers(P, [](const Frame &f) { return Arg(f, 3); }),                              // 9 intvar
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 3); }),                       // 10 cvec
            integer(), integer(), integer(),                                                    // 11 maxnod, 12 intfst, 13 maxdpt
            real(), real(), real(),                                                             // 14 toliv, 15 tolfes, 16 bigbnd
            floats(Use::InOut, P, [](const Frame &f) { return Arg(f, 3); }),                    // 17 x
            output(),                                                                           // 18 objmip
            integers(P, [](const Frame &f) { return Arg(f, 20); }),                             // 19 iwork
            integer(),                                                                          // 20 liwork
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 22); }),                     // 21 rwork
            integer(),                                                                          // 22 lrwork
            integers(P, [](const Frame &) { return long(kTalvoOptLwsav); }),                    // 23 lwsav
            integers(P, [](const Frame &) { return long(kTalvoOptIwsav); }),                    // 24 iwsav
            floats(Use::InOut, P, [](const Frame &) { return long(kTalvoOptRwsav); }),          // 25 rwsav
            output(),                                                                           // 26 ifail
        }}};
    Frame f(kv, args, kLayout);
    Integer itmax = f.integer(1), msglvl = f.integer(2), n = f.integer(3), m = f.integer(4), lda = f.integer(6);
    Integer maxnod = f.integer(11), intfst = f.integer(12), maxdpt = f.integer(13);
    Integer liwork = f.integer(20), lrwork = f.integer(22), ifail = 1;
    TalvoFloat toliv = f.real(14), tolfes = f.real(15), bigbnd = f.real(16), objmip(0.0);
    TalvoMP_h02bbf_(&itmax, &msglvl, &n, &m, f.floats(5), &lda, f.floats(7), f.floats(8), f.integers(9),
                    f.floats(10), &maxnod, &intfst, &maxdpt, &toliv, &tolfes, &bigbnd, f.floats(17), &objmip,
                    f.integers(19), &liwork, f.floats(21), &lrwork, f.integers(23), f.integers(24), f.floats(25),
                    &ifail);
    f.write_back_integers(19, Arg(f, 20));
    f.assign_float(18, objmip);
    f.assign_integer(26, ifail);
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_h02wbf: 1 rname, 2 lwsav, 3 llwsav, 4 iwsav, 5 liwsav, 6 rwsav, 7 lrwsav
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_h02wbf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<7> kLayout{
        kIncorrectCount,
        {{
            text(),                                                        // 1 rname
            integers(P, [](const Frame &f) { return Arg(f, 3); }),         // 2 lwsav
            integer(),                                                     // 3 llwsav
            integers(P, [](const Frame &f) { return Arg(f, 5); }),         // 4 iwsav
            integer(),                                                     // 5 liwsav
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 7); }), // 6 rwsav
            integer(),                                                     // 7 lrwsav
        }}};
    Frame f(kv, args, kLayout);
    Integer llwsav = f.integer(3), liwsav = f.integer(5), lrwsav = f.integer(7), ifail = 1;
    TalvoMP_h02wbf_(f.text(1), nullptr, nullptr, f.integers(2), &llwsav, f.integers(4), &liwsav, f.floats(6), &lrwsav,
                    &ifail, int(f.text_length(1)), 0);
    if (ifail == 0) {
        f.write_back_integers(2, kTalvoOptLwsav);
        f.write_back_integers(4, kTalvoOptIwsav);
    }
    return f.host_integer(ifail);
}
