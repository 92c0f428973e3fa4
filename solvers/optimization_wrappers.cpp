// optimization_wrappers.cpp -- sw_e04aba, sw_e04cca, sw_e04dga, sw_e04dka,
// sw_e04fcf, sw_e04kdf and sw_e04wbf: the minimisers of the numerics library
// behind the wrapper frame, their user procedures reached through the
// trampolines (trampoline.hpp).  Each reads as its argument table, the
// trampolines it installs and the routine call; docs/solvers.md has the
// layouts and the reason for every position.
#include "stats_entries.h"
#include "trampoline.hpp"
#include "wrapper_frame.hpp"

#include <cstdint>
#include <cstring>

using namespace stats::wrappers;
using namespace stats::solvers;

namespace {

long Arg(const Frame &f, int i) { return long(f.integer(i)); }

constexpr Check A = Check::Args;
constexpr Check P = Check::Param;

// The x work table: the point the user procedures receive.
void UsePoint(TrampolineSlots &s, const Frame &f, int i, long n)
{
    s.x_table = f.arg(i);
    s.x_work = f.floats(i);
    s.n = n;
}

// A filled table (gradient, residuals).
void UseOutput(TrampolineSlots &s, const Frame &f, int i, long n)
{
    s.out_table = f.arg(i);
    s.out_work = f.floats(i);
    s.out_n = n;
}

ALGEB Float(const TalvoFloat &x) { return x.handle(); }
ALGEB Int(TKernelVector kv, long v) { return ToTalvoInteger(kv, M_INT(v)); }

// ---------------------------------------------------------------------------
// Trampolines of the individual routines
// ---------------------------------------------------------------------------

void E04abaFunct(const TalvoFloat *xc, TalvoFloat *fc, Integer *, TalvoFloat *)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(xc, 1);
    *fc = CallForValue(s.value, s.x_table, "the function procedure");
}

void E04ccaFunct(Integer *n, const TalvoFloat *xc, TalvoFloat *fc, Integer *, TalvoFloat *)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(xc, long(*n));
    *fc = CallForValue(s.value, s.x_table, "the function procedure");
}

// The simplex work table of sw_e04cca (its position 16).
ALGEB g_e04cca_sim = nullptr;

void E04ccaMonit(TalvoFloat *fmin, TalvoFloat *fmax, const TalvoFloat *sim, Integer *n, Integer *is, Integer *ncall,
                 Integer *, TalvoFloat *)
{
    TrampolineSlots &s = gTrampolineSlots;
    auto *work = static_cast<TalvoFloat *>(RTableDataBlock(s.kv, g_e04cca_sim));
    const long count = long(*is) * long(*n);
    for (long k = 0; k < count; ++k)
        work[k] = sim[k];
    EvalTalvoProc(s.kv, s.monitor, 4, Float(*fmin), Float(*fmax), g_e04cca_sim, Int(s.kv, long(*ncall)));
}

void E04kdfFunct(Integer *iflag, Integer *n, const TalvoFloat *xc, TalvoFloat *fc, TalvoFloat *gc, Integer *,
                 Integer *, TalvoFloat *, Integer *)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(xc, long(*n));
    if (*iflag == 2)
        *fc = CallForValue(s.value, s.x_table, "the objective procedure");
    CallToFill(s.gradient, gc, long(*n), "the gradient procedure");
}

void E04kdfMonit(Integer *n, const TalvoFloat *xc, TalvoFloat *fc, const TalvoFloat *gc, const Integer *istate,
                 TalvoFloat *gpjnrm, TalvoFloat *cond, Integer *posdef, Integer *niter, Integer *nf, Integer *,
                 Integer *, TalvoFloat *, Integer *)
{
    TrampolineSlots &s = gTrampolineSlots;
    TKernelVector kv = s.kv;
    CopyPoint(xc, long(*n));
    ALGEB g = TalvoListAlloc(kv, M_INT(*n));
    ALGEB st = TalvoListAlloc(kv, M_INT(*n));
    for (Integer j = 0; j < *n; ++j) {
        TalvoListAssign(kv, g, M_INT(j + 1), Float(gc[j]));
        TalvoListAssign(kv, st, M_INT(j + 1), Int(kv, long(istate[j])));
    }
    ALGEB args = NewTalvoExpressionSequence(kv, 9);
    ALGEB values[9] = {s.x_table,        Float(*fc),   g,
                       st,               Float(*gpjnrm), Float(*cond),
                       ToTalvoBoolean(kv, *posdef != 0), Int(kv, long(*niter)), Int(kv, long(*nf))};
    for (int k = 0; k < 9; ++k)
        TalvoExpseqAssign(kv, args, k + 1, values[k]);
    EvalTalvoProcedure(kv, s.monitor, args);
}

void E04fcfLsqfun(Integer *, Integer *m, Integer *n, const TalvoFloat *xc, TalvoFloat *fvec, Integer *, Integer *,
                  TalvoFloat *, Integer *)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(xc, long(*n));
    ++s.calls;
    CallToFill(s.gradient, fvec, long(*m), "the residual procedure");
}

// The monitor's tables of sw_e04fcf (positions 26 and 27).
ALGEB g_e04fcf_fjac = nullptr, g_e04fcf_s = nullptr;

void E04fcfLsqmon(Integer *m, Integer *n, const TalvoFloat *xc, const TalvoFloat *fvec, const TalvoFloat *fjac,
                  Integer *ldfjac, const TalvoFloat *sv, Integer *igrade, Integer *niter, Integer *nf, Integer *,
                  Integer *, TalvoFloat *, Integer *)
{
    TrampolineSlots &s = gTrampolineSlots;
    TKernelVector kv = s.kv;
    CopyPoint(xc, long(*n));
    for (Integer i = 0; i < *m; ++i)
        s.out_work[i] = fvec[i];
    auto *jac = static_cast<TalvoFloat *>(RTableDataBlock(kv, g_e04fcf_fjac));
    auto *sw = static_cast<TalvoFloat *>(RTableDataBlock(kv, g_e04fcf_s));
    for (Integer j = 0; j < *n; ++j) {
        sw[j] = sv[j];
        for (Integer i = 0; i < *m; ++i)
            jac[i + j * *m] = fjac[i + j * *ldfjac];
    }
    ALGEB args = NewTalvoExpressionSequence(kv, 7);
    ALGEB values[7] = {s.x_table, s.out_table, g_e04fcf_fjac, g_e04fcf_s,
                       Int(kv, long(*igrade)), Int(kv, long(*niter)), Int(kv, long(*nf))};
    for (int k = 0; k < 7; ++k)
        TalvoExpseqAssign(kv, args, k + 1, values[k]);
    EvalTalvoProcedure(kv, s.monitor, args);
}

// The monitor tables live in the slots' lifetime: cleared with the scope.
struct MonitorTables {
    ~MonitorTables() { g_e04cca_sim = g_e04fcf_fjac = g_e04fcf_s = nullptr; }
};

} // namespace

// ---------------------------------------------------------------------------
// sw_e04aba: 1 funct, 2 e1, 3 e2, 4 a, 5 b, 6 maxcal, 7 x, 8 f (floats, not
// read), 9 xc (work table), 10 'x', 11 'f', 12 'bracket', 13 'calls'
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04aba(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<13> kLayout{
        kWrongCount,
        {{
            procedure(A), real(A), real(A), real(A), real(A), // 1 funct, 2 e1, 3 e2, 4 a, 5 b
            integer(A),                                       // 6 maxcal
            real(A), real(A),                                 // 7 x, 8 f
            floats(Use::Out, A, [](const Frame &) { return 1L; }), // 9 xc
            output(), output(), output(), output(),           // 10 x, 11 f, 12 bracket, 13 calls
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04aba");
    TrampolineSlots &s = scope.slots();
    s.value = f.procedure(1);
    UsePoint(s, f, 9, 1);

    TalvoFloat e1 = f.real(2), e2 = f.real(3), a = f.real(4), b = f.real(5), x = f.real(7), fx = f.real(8);
    Integer maxcal = f.integer(6), ifail = 1;
    TalvoMP_e04aba_(E04abaFunct, &e1, &e2, &a, &b, &maxcal, &x, &fx, nullptr, nullptr, &ifail);
    if (ifail != 1) {
        f.assign_float(10, x);
        f.assign_float(11, fx);
        ALGEB bracket = TalvoListAlloc(kv, 2);
        TalvoListAssign(kv, bracket, 1, a.handle());
        TalvoListAssign(kv, bracket, 2, b.handle());
        TalvoAssign(kv, f.arg(12), bracket);
        f.assign_integer(13, maxcal);
    }
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_e04cca: 1 n, 2 x, 3 'f', 4 tol, 5 iw, 6..9 w1..w4, 10 w5, 11 w6,
// 12 funct, 13 monit, 14 maxcal, 15 xc, 16 sim, 17 monitoring on (1) or
// off (0), 18 'calls', 19..23 not used
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04cca(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<23> kLayout{
        kWrongCount,
        {{
            integer(A),                                                            // 1 n
            floats(Use::InOut, A, [](const Frame &f) { return Arg(f, 1); }),       // 2 x
            output(),                                                              // 3 f
            real(A),                                                               // 4 tol
            integer(A),                                                            // 5 iw
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),         // 6 w1
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),         // 7 w2
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),         // 8 w3
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),         // 9 w4
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1) + 1; }),     // 10 w5
            floats(Use::Out, A, [](const Frame &f) { return ExtentProduct(Arg(f, 5), Arg(f, 1)); }), // 11 w6
            procedure(A), procedure(A),                                            // 12 funct, 13 monit
            integer(A),                                                            // 14 maxcal
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),         // 15 xc
            floats(Use::Out, A, [](const Frame &f) { return ExtentProduct(Arg(f, 1) + 1, Arg(f, 1)); }), // 16 sim
            integer(A),                                                            // 17 monitoring
            output(),                                                              // 18 calls
            any(), any(), any(), any(), any(),                                     // 19..23
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04cca");
    MonitorTables tables;
    TrampolineSlots &s = scope.slots();
    s.value = f.procedure(12);
    s.monitor = f.procedure(13);
    UsePoint(s, f, 15, Arg(f, 1));
    g_e04cca_sim = f.arg(16);

    Integer n = f.integer(1), iw = f.integer(5), maxcal = f.integer(14), ifail = 1;
    TalvoFloat tol = f.real(4), fx;
    TalvoMP_e04cca_(&n, f.floats(2), &fx, &tol, &iw, f.floats(6), f.floats(7), f.floats(8), f.floats(9),
                    f.floats(10), f.floats(11), E04ccaFunct, Arg(f, 17) != 0 ? E04ccaMonit : nullptr, &maxcal,
                    nullptr, nullptr, &ifail);
    if (ifail != 1) {
        f.assign_float(3, fx);
        f.assign_integer(18, s.calls);
    }
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_e04dga: 1 n, 2 objfun (value), 3 objfun (gradient), 4 'iter', 5 'objf',
// 6 objgrd, 7 x, 8 iwork, 9 work, 10 lwsav, 11 iwsav, 12 rwsav, 13 xc,
// 14 gc, 15 'calls', 16..18 not used
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04dga(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<18> kLayout{
        kWrongCount,
        {{
            integer(A),                                                                 // 1 n
            procedure(A), procedure(A),                                                 // 2, 3 objfun
            output(), output(),                                                         // 4 iter, 5 objf
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),              // 6 objgrd
            floats(Use::InOut, A, [](const Frame &f) { return Arg(f, 1); }),            // 7 x
            integers(A, [](const Frame &f) { return Arg(f, 1) + 1; }),                  // 8 iwork
            floats(Use::Out, A, [](const Frame &f) { return ExtentProduct(Arg(f, 1), 13); }), // 9 work
            integers(A, [](const Frame &) { return long(kTalvoOptLwsav); }),            // 10 lwsav
            integers(A, [](const Frame &) { return long(kTalvoOptIwsav); }),            // 11 iwsav
            floats(Use::InOut, A, [](const Frame &) { return long(kTalvoOptRwsav); }),  // 12 rwsav
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),              // 13 xc
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),              // 14 gc
            output(),                                                                   // 15 calls
            any(), any(), any(),                                                        // 16..18
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04dga");
    TrampolineSlots &s = scope.slots();
    s.value = f.procedure(2);
    s.gradient = f.procedure(3);
    UsePoint(s, f, 13, Arg(f, 1));
    UseOutput(s, f, 14, Arg(f, 1));

    Integer n = f.integer(1), iter = 0, ifail = 1;
    TalvoFloat objf;
    TalvoMP_e04dga_(&n, ObjectiveTrampoline, &iter, &objf, f.floats(6), f.floats(7), f.integers(8), f.floats(9),
                    nullptr, nullptr, f.integers(10), f.integers(11), f.floats(12), &ifail);
    if (ifail != 9) {
        f.assign_integer(4, iter);
        f.assign_float(5, objf);
        f.assign_integer(15, s.calls);
    }
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_e04dka: 1 str, 2 lwsav, 3 iwsav, 4 rwsav, 5 'inform', 6 the length of
// str used (-1: all of it), 7 llwsav, 8 liwsav, 9 lrwsav
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04dka(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<9> kLayout{
        kIncorrectCount,
        {{
            text(),                                                        // 1 str
            integers(P, [](const Frame &f) { return Arg(f, 7); }),         // 2 lwsav
            integers(P, [](const Frame &f) { return Arg(f, 8); }),         // 3 iwsav
            floats(Use::InOut, P, [](const Frame &f) { return Arg(f, 9); }), // 4 rwsav
            output(),                                                      // 5 inform
            integer(), integer(), integer(), integer(),                    // 6 length, 7..9 array lengths
        }}};
    Frame f(kv, args, kLayout);
    Integer inform = 5;
    if (Arg(f, 7) >= kTalvoOptLwsav && Arg(f, 8) >= kTalvoOptIwsav && Arg(f, 9) >= kTalvoOptRwsav) {
        const long whole = long(f.text_length(1));
        const long length = Arg(f, 6) < 0 || Arg(f, 6) > whole ? whole : Arg(f, 6);
        TalvoMP_e04dka_(f.text(1), f.integers(2), f.integers(3), f.floats(4), &inform, int(length));
        f.write_back_integers(2, kTalvoOptLwsav);
        f.write_back_integers(3, kTalvoOptIwsav);
    }
    f.assign_integer(5, inform);
    return f.host_integer(inform);
}

// ---------------------------------------------------------------------------
// sw_e04wbf: 1 rname, 2 lwsav, 3 llwsav, 4 iwsav, 5 liwsav, 6 rwsav, 7 lrwsav
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04wbf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<7> kLayout{
        kIncorrectCount,
        {{
            text(),                                                          // 1 rname
            integers(P, [](const Frame &f) { return Arg(f, 3); }),           // 2 lwsav
            integer(),                                                       // 3 llwsav
            integers(P, [](const Frame &f) { return Arg(f, 5); }),           // 4 iwsav
            integer(),                                                       // 5 liwsav
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 7); }),   // 6 rwsav
            integer(),                                                       // 7 lrwsav
        }}};
    Frame f(kv, args, kLayout);
    Integer llwsav = f.integer(3), liwsav = f.integer(5), lrwsav = f.integer(7), ifail = 1;
    TalvoMP_e04wbf_(f.text(1), nullptr, nullptr, f.integers(2), &llwsav, f.integers(4), &liwsav, f.floats(6),
                    &lrwsav, &ifail, int(f.text_length(1)), 0);
    if (ifail == 0) {
        f.write_back_integers(2, kTalvoOptLwsav);
        f.write_back_integers(4, kTalvoOptIwsav);
    }
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_e04fcf: 1 m, 2 n, 3 lsqfun, 4 lsqmon, 5 xc, 6 iprint, 7 maxcal, 8 eta,
// 9 xtol, 10 stepmx, 11 x, 12 'fsumsq', 13 fvec, 14 fjac, 15 ldfjac, 16 s,
// 17 v, 18 ldv, 19 'niter', 20 'nf', 21 iw, 22 liw, 23 w, 24 lw, 25 fc,
// 26 jc, 27 sc, 28 'igrade'
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04fcf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<28> kLayout{
        kWrongCount,
        {{
            integer(A), integer(A),                                                    // 1 m, 2 n
            procedure(A), procedure(A),                                                // 3 lsqfun, 4 lsqmon
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 2); }),             // 5 xc
            integer(A), integer(A),                                                    // 6 iprint, 7 maxcal
            real(), real(), real(A),                                                   // 8 eta, 9 xtol, 10 stepmx
            floats(Use::InOut, A, [](const Frame &f) { return Arg(f, 2); }),           // 11 x
            output(),                                                                  // 12 fsumsq
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 13 fvec
            floats(Use::Out, A, [](const Frame &f) {                                   // 14 fjac
                return ExtentSum(ExtentProduct(Arg(f, 15), Arg(f, 2) - 1), Arg(f, 2) > 0 ? Arg(f, 1) : 0);
            }),
            integer(A),                                                                // 15 ldfjac
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 2); }),             // 16 s
            floats(Use::Out, A, [](const Frame &f) {                                   // 17 v
                return ExtentSum(ExtentProduct(Arg(f, 18), Arg(f, 2) - 1), Arg(f, 2) > 0 ? Arg(f, 2) : 0);
            }),
            integer(A),                                                                // 18 ldv
            output(), output(),                                                        // 19 niter, 20 nf
            integers(A, [](const Frame &f) { return Arg(f, 22); }),                    // 21 iw
            integer(A),                                                                // 22 liw
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 24); }),            // 23 w
            integer(A),                                                                // 24 lw
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 25 fc
            floats(Use::Out, A, [](const Frame &f) { return ExtentProduct(Arg(f, 1), Arg(f, 2)); }), // 26 jc
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 2); }),             // 27 sc
            output(),                                                                  // 28 igrade
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04fcf");
    MonitorTables tables;
    TrampolineSlots &s = scope.slots();
    s.gradient = f.procedure(3);
    s.monitor = f.procedure(4);
    UsePoint(s, f, 5, Arg(f, 2));
    UseOutput(s, f, 25, Arg(f, 1));
    g_e04fcf_fjac = f.arg(26);
    g_e04fcf_s = f.arg(27);

    Integer m = f.integer(1), n = f.integer(2), iprint = f.integer(6), maxcal = f.integer(7);
    Integer ldfjac = f.integer(15), ldv = f.integer(18), liw = f.integer(22), lw = f.integer(24);
    Integer niter = 0, nf = 0, ifail = 1;
    TalvoFloat eta = f.real(8), xtol = f.real(9), stepmx = f.real(10), fsumsq;
    TalvoMP_e04fcf_(&m, &n, E04fcfLsqfun, E04fcfLsqmon, &iprint, &maxcal, &eta, &xtol, &stepmx, f.floats(11),
                    &fsumsq, f.floats(13), f.floats(14), &ldfjac, f.floats(16), f.floats(17), &ldv, &niter, &nf,
                    f.integers(21), &liw, f.floats(23), &lw, &ifail);
    if (ifail != 1) {
        f.assign_float(12, fsumsq);
        f.assign_integer(19, niter);
        f.assign_integer(20, nf);
        f.assign_integer(28, f.integers(21)[0]); // the grade, left in iw(1)
    }
    f.write_back_integers(21, Arg(f, 22));
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_e04kdf: 1 n, 2 funct (value), 3 funct (gradient), 4 monit, 5 iprint,
// 6 maxcal, 7 eta, 8 xtol, 9 delta, 10 stepmx, 11 ibound, 12 bl, 13 bu,
// 14 x, 15 hesl, 16 lh, 17 hesd, 18 istate, 19 'f', 20 g, 21 iw, 22 liw,
// 23 w, 24 lw, 25 xc, 26 gc, 27 'niter', 28 'nf', 29 'gpjnrm', 30 'cond',
// 31 'posdef', 32 not used
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04kdf(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<32> kLayout{
        kWrongCount,
        {{
            integer(A),                                                                // 1 n
            procedure(), procedure(), procedure(),                                     // 2, 3 funct, 4 monit
            integer(A), integer(A),                                                    // 5 iprint, 6 maxcal
            real(), real(), real(), real(),                                            // 7 eta .. 10 stepmx
            integer(A),                                                                // 11 ibound
            floats(Use::In, A, [](const Frame &f) {                                    // 12 bl
                return Arg(f, 11) == 0 ? Arg(f, 1) : Arg(f, 11) == 3 ? 1L : 0L;
            }),
            floats(Use::In, A, [](const Frame &f) {                                    // 13 bu
                return Arg(f, 11) == 0 ? Arg(f, 1) : Arg(f, 11) == 3 ? 1L : 0L;
            }),
            floats(Use::InOut, A, [](const Frame &f) { return Arg(f, 1); }),           // 14 x
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 16); }),            // 15 hesl
            integer(A),                                                                // 16 lh
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 17 hesd
            integers(A, [](const Frame &f) { return Arg(f, 1); }),                     // 18 istate
            output(),                                                                  // 19 f
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 20 g
            integers(A, [](const Frame &f) { return Arg(f, 22); }),                    // 21 iw
            integer(A),                                                                // 22 liw
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 24); }),            // 23 w
            integer(A),                                                                // 24 lw
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 25 xc
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 26 gc
            output(), output(), output(), output(), output(),                          // 27..31
            any(),                                                                     // 32
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04kdf");
    TrampolineSlots &s = scope.slots();
    s.value = f.procedure(2);
    s.gradient = f.procedure(3);
    s.monitor = f.procedure(4);
    UsePoint(s, f, 25, Arg(f, 1));
    UseOutput(s, f, 26, Arg(f, 1));

    Integer n = f.integer(1), iprint = f.integer(5), maxcal = f.integer(6), ibound = f.integer(11);
    Integer lh = f.integer(16), liw = f.integer(22), lw = f.integer(24), ifail = 1;
    TalvoFloat eta = f.real(7), xtol = f.real(8), delta = f.real(9), stepmx = f.real(10), fx;
    const bool monitoring = iprint > 0 && IsTalvoProcedure(kv, f.procedure(4));
    TalvoMP_e04kdf_(&n, E04kdfFunct, monitoring ? E04kdfMonit : nullptr, &iprint, &maxcal, &eta, &xtol, &delta,
                    &stepmx, &ibound, f.floats(12), f.floats(13), f.floats(14), f.floats(15), &lh, f.floats(17),
                    f.integers(18), &fx, f.floats(20), f.integers(21), &liw, f.floats(23), &lw, &ifail);
    if (ifail != 1) {
        f.assign_float(19, fx);
        const Integer *iw = f.integers(21);
        f.assign_integer(27, iw[0]);
        f.assign_integer(28, iw[1]);
        const TalvoFloat *w = f.floats(23);
        f.assign_float(29, w[0]);
        f.assign_float(30, w[1]);
        TalvoAssign(kv, f.arg(31), ToTalvoBoolean(kv, iw[2] != 0));
        f.write_back_integers(18, Arg(f, 1));
        f.write_back_integers(21, Arg(f, 22));
    }
    return f.host_integer(ifail);
}
