// nonlinear_programming_wrappers.cpp -- sw_e04uca, sw_e04uea, sw_e04usa and
// sw_e04ura: the SQP solvers of the numerics library (e04uca, e04usa) and
// their option setters behind the wrapper frame, the user procedures reached
// through the trampolines (trampoline.hpp).  docs/solvers.md has the layouts
// and the reason for every position.
#include "stats_entries.h"
#include "trampoline.hpp"
#include "wrapper_frame.hpp"

#include <cstdint>

using namespace stats::wrappers;
using namespace stats::solvers;

namespace {

long Arg(const Frame &f, int i) { return long(f.integer(i)); }

constexpr Check A = Check::Args;
constexpr Check P = Check::Param;

// n + nclin + ncnln of sw_e04uca (arguments 1, 2, 3) and sw_e04usa (2, 3, 4).
long UcaTotal(const Frame &f) { return ExtentSum(ExtentSum(Arg(f, 1), Arg(f, 2)), Arg(f, 3)); }
long UsaTotal(const Frame &f) { return ExtentSum(ExtentSum(Arg(f, 2), Arg(f, 3)), Arg(f, 4)); }

// One option string into the save arrays (sw_e04uea, sw_e04ura): the layout
// of sw_e04dka.
using Setter = void (*)(const char *, Integer *, Integer *, TalvoFloat *, Integer *, int);

ALGEB SetOption(TKernelVector kv, ALGEB *args, Setter setter)
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
// sw_e04uca: 1 n, 2 nclin, 3 ncnln, 4 lda, 5 ldcj, 6 ldr, 7 a, 8 bl, 9 bu,
// 10 confun (values), 11 confun (Jacobian), 12 objfun (value), 13 objfun
// (gradient), 14 'iter', 15 istate, 16 c, 17 cjac, 18 clamda, 19 'objf',
// 20 objgrd, 21 r, 22 x, 23 iwork, 24 liwork, 25 work, 26 lwork, 27 lwsav,
// 28 iwsav, 29 rwsav, 30 'objective calls', 31 'constraint calls', 32..36
// not used, 37 x work, 38 gradient work, 39 constraint work, 40 constraint
// Jacobian work
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04uca(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<40> kLayout{
        kWrongCount,
        {{
            integer(A), integer(A), integer(A),                                        // 1 n, 2 nclin, 3 ncnln
            integer(A), integer(A), integer(A),                                        // 4 lda, 5 ldcj, 6 ldr
            floats(Use::In, A, [](const Frame &f) {                                    // 7 a
                return Arg(f, 2) > 0 ? ExtentProduct(Arg(f, 4), Arg(f, 1)) : 0L;
            }),
            floats(Use::In, A, UcaTotal),                                              // 8 bl
            floats(Use::In, A, UcaTotal),                                              // 9 bu
            procedure(A), procedure(A), procedure(A), procedure(A),                    // 10..13
            output(),                                                                  // 14 iter
            integers(A, UcaTotal),                                                     // 15 istate
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 3); }),             // 16 c
            floats(Use::InOut, A, [](const Frame &f) {                                 // 17 cjac
                return Arg(f, 3) > 0 ? ExtentProduct(Arg(f, 5), Arg(f, 1)) : 0L;
            }),
            floats(Use::InOut, A, UcaTotal),                                           // 18 clamda
            output(),                                                                  // 19 objf
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 20 objgrd
            floats(Use::InOut, A, [](const Frame &f) { return ExtentProduct(Arg(f, 6), Arg(f, 1)); }), // 21 r
            floats(Use::InOut, A, [](const Frame &f) { return Arg(f, 1); }),           // 22 x
            integers(A, [](const Frame &f) { return Arg(f, 24); }),                    // 23 iwork
            integer(A),                                                                // 24 liwork
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 26); }, 23),        // 25 work
            integer(A),                                                                // 26 lwork
            integers(A, [](const Frame &) { return long(kTalvoOptLwsav); }),           // 27 lwsav
            integers(A, [](const Frame &) { return long(kTalvoOptIwsav); }),           // 28 iwsav
            floats(Use::InOut, A, [](const Frame &) { return long(kTalvoOptRwsav); }), // 29 rwsav
            output(), output(),                                                        // 30, 31 calls
            any(), any(), any(), any(), any(),                                         // 32..36
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 37 x work
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 38 gradient work
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 3); }),             // 39 constraint work
            floats(Use::Out, A, [](const Frame &f) { return ExtentProduct(Arg(f, 3), Arg(f, 1)); }), // 40
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04uca");
    TrampolineSlots &s = scope.slots();
    const long n = Arg(f, 1);
    s.value = f.procedure(12);
    s.gradient = f.procedure(13);
    s.con_value = f.procedure(10);
    s.con_jacobian = f.procedure(11);
    s.x_table = f.arg(37);
    s.x_work = f.floats(37);
    s.n = n;
    s.out_table = f.arg(38);
    s.out_work = f.floats(38);
    s.out_n = n;
    s.con_table = f.arg(39);
    s.conjac_table = f.arg(40);

    Integer nn = f.integer(1), nclin = f.integer(2), ncnln = f.integer(3), lda = f.integer(4), ldcj = f.integer(5);
    Integer ldr = f.integer(6), liwork = f.integer(24), lwork = f.integer(26), iter = 0, ifail = 9;
    TalvoFloat objf;
    TalvoMP_e04uca_(&nn, &nclin, &ncnln, &lda, &ldcj, &ldr, f.floats(7), f.floats(8), f.floats(9), ConstraintTrampoline,
                    ObjectiveTrampoline, &iter, f.integers(15), f.floats(16), f.floats(17), f.floats(18), &objf,
                    f.floats(20), f.floats(21), f.floats(22), f.integers(23), &liwork, f.floats(25), &lwork, nullptr,
                    nullptr, f.integers(27), f.integers(28), f.floats(29), &ifail);
    if (ifail != 9) {
        f.assign_integer(14, iter);
        f.assign_float(19, objf);
        f.assign_integer(30, s.calls);
        f.assign_integer(31, s.con_calls);
        f.write_back_integers(15, UcaTotal(f));
    }
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_e04uea: one option of sw_e04uca; the layout of sw_e04dka
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04uea(TKernelVector kv, ALGEB *args) { return SetOption(kv, args, TalvoMP_e04uea_); }

// ---------------------------------------------------------------------------
// sw_e04usa: 1 m, 2 n, 3 nclin, 4 ncnln, 5 lda, 6 ldcj, 7 ldfj, 8 ldr, 9 a,
// 10 bl, 11 bu, 12 y, 13 confun (values), 14 confun (Jacobian), 15 objfun
// (residuals), 16 objfun (Jacobian), 17 'iter', 18 istate, 19 c, 20 cjac,
// 21 f, 22 fjac, 23 clamda, 24 'objf', 25 r, 26 x, 27 iwork, 28 liwork,
// 29 work, 30 lwork, 31 lwsav, 32 iwsav, 33 rwsav, 34 'residual calls',
// 35 'constraint calls', 36..39 not used, 40 x work, 41 residual work,
// 42 residual Jacobian work, 43 constraint work, 44 constraint Jacobian
// work, 45 not used
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04usa(TKernelVector kv, ALGEB *args)
{
    static constexpr Layout<45> kLayout{
        kWrongCount,
        {{
            integer(A), integer(A), integer(A), integer(A),                            // 1 m, 2 n, 3 nclin, 4 ncnln
            integer(A), integer(A), integer(A), integer(A),                            // 5 lda .. 8 ldr
            floats(Use::In, A, [](const Frame &f) {                                    // 9 a
                return Arg(f, 3) > 0 ? ExtentProduct(Arg(f, 5), Arg(f, 2)) : 0L;
            }),
            floats(Use::In, A, UsaTotal),                                              // 10 bl
            floats(Use::In, A, UsaTotal),                                              // 11 bu
            floats(Use::In, A, [](const Frame &f) { return Arg(f, 1); }),              // 12 y
            procedure(A), procedure(A), procedure(A), procedure(A),                    // 13..16
            output(),                                                                  // 17 iter
            integers(A, UsaTotal),                                                     // 18 istate
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 4); }),             // 19 c
            floats(Use::InOut, A, [](const Frame &f) {                                 // 20 cjac
                return Arg(f, 4) > 0 ? ExtentProduct(Arg(f, 6), Arg(f, 2)) : 0L;
            }),
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 21 f
            floats(Use::InOut, A, [](const Frame &f) { return ExtentProduct(Arg(f, 7), Arg(f, 2)); }), // 22 fjac
            floats(Use::InOut, A, UsaTotal),                                           // 23 clamda
            output(),                                                                  // 24 objf
            floats(Use::InOut, A, [](const Frame &f) { return ExtentProduct(Arg(f, 8), Arg(f, 2)); }), // 25 r
            floats(Use::InOut, A, [](const Frame &f) { return Arg(f, 2); }),           // 26 x
            integers(A, [](const Frame &f) { return Arg(f, 28); }),                    // 27 iwork
            integer(A),                                                                // 28 liwork
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 30); }),            // 29 work
            integer(A),                                                                // 30 lwork
            integers(A, [](const Frame &) { return long(kTalvoOptLwsav); }),           // 31 lwsav
            integers(A, [](const Frame &) { return long(kTalvoOptIwsav); }),           // 32 iwsav
            floats(Use::InOut, A, [](const Frame &) { return long(kTalvoOptRwsav); }), // 33 rwsav
            output(), output(),                                                        // 34, 35 calls
            any(), any(), any(), any(),                                                // 36..39
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 2); }),             // 40 x work
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 1); }),             // 41 residual work
            floats(Use::Out, A, [](const Frame &f) { return ExtentProduct(Arg(f, 1), Arg(f, 2)); }), // 42
            floats(Use::Out, A, [](const Frame &f) { return Arg(f, 4); }),             // 43 constraint work
            floats(Use::Out, A, [](const Frame &f) { return ExtentProduct(Arg(f, 4), Arg(f, 2)); }), // 44
            any(),                                                                     // 45
        }}};
    Frame f(kv, args, kLayout);
    TrampolineScope scope(kv, "sw_e04usa");
    TrampolineSlots &s = scope.slots();
    const long n = Arg(f, 2);
    s.con_value = f.procedure(13);
    s.con_jacobian = f.procedure(14);
    s.value = f.procedure(15);
    s.jacobian = f.procedure(16);
    s.x_table = f.arg(40);
    s.x_work = f.floats(40);
    s.n = n;
    s.out_table = f.arg(41);
    s.out_work = f.floats(41);
    s.out_n = Arg(f, 1);
    s.jac_table = f.arg(42);
    s.con_table = f.arg(43);
    s.conjac_table = f.arg(44);

    Integer m = f.integer(1), nn = f.integer(2), nclin = f.integer(3), ncnln = f.integer(4), lda = f.integer(5);
    Integer ldcj = f.integer(6), ldfj = f.integer(7), ldr = f.integer(8), liwork = f.integer(28);
    Integer lwork = f.integer(30), iter = 0, ifail = 9;
    TalvoFloat objf;
    TalvoMP_e04usa_(&m, &nn, &nclin, &ncnln, &lda, &ldcj, &ldfj, &ldr, f.floats(9), f.floats(10), f.floats(11),
                    f.floats(12), ConstraintTrampoline, ResidualTrampoline, &iter, f.integers(18), f.floats(19),
                    f.floats(20), f.floats(21), f.floats(22), f.floats(23), &objf, f.floats(25), f.floats(26),
                    f.integers(27), &liwork, f.floats(29), &lwork, nullptr, nullptr, f.integers(31), f.integers(32),
                    f.floats(33), &ifail);
    if (ifail != 9) {
        f.assign_integer(17, iter);
        f.assign_float(24, objf);
        f.assign_integer(34, s.calls);
        f.assign_integer(35, s.con_calls);
        f.write_back_integers(18, UsaTotal(f));
    }
    return f.host_integer(ifail);
}

// ---------------------------------------------------------------------------
// sw_e04ura: one option of sw_e04usa; the layout of sw_e04dka
// ---------------------------------------------------------------------------
STATS_ENTRY ALGEB sw_e04ura(TKernelVector kv, ALGEB *args) { return SetOption(kv, args, TalvoMP_e04ura_); }
