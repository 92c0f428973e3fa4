// regression_wrappers.cpp -- STATS_g02daf_MP, STATS_g02fac_MP and
// STATS_g02fcc_MP: the regression routines of the numerics library behind
// the wrapper frame.  Each reads as its argument table and the routine call;
// docs/regression.md has the layouts.
#include "stats_entries.h"
#include "wrapper_frame.hpp"

#include <algorithm>

using namespace stats::wrappers;

namespace {

// Extents (elements of a table the routine uses), from the converted scalars.
long Arg(const Frame &f, int i) { return long(f.integer(i)); }

// One record for the influence routine's failures, shared by every call of
// the wrapper (the routine reports into it; the wrapper raises its message).
NagError g_g02fac_error;

} // namespace

// 1 mean, 2 weight, 3 n, 4 x, 5 ldx, 6 m, 7 isx, 8 ip, 9 y, 10 wt, 11 rss, 12 idf,
// 13 b, 14 se, 15 cov, 16 res, 17 h, 18 q, 19 ldq, 20 svd, 21 irank, 22 p, 23 tol, 24 work
STATS_ENTRY ALGEB STATS_g02daf_MP(TKernelVector kv, ALGEB *args)
{
    constexpr Check P = Check::Param;
    static constexpr Layout<24> kLayout{
        kIncorrectCount,
        {{
            text(),                                                                          // 1 mean
            text(),                                                                          // 2 weight
            integer(),                                                                       // 3 n
            floats(Use::In, P, [](const Frame &f) {                                          // 4 x (ldx x m)
                return ExtentSum(ExtentProduct(Arg(f, 5), Arg(f, 6) - 1), Arg(f, 6) > 0 ? Arg(f, 3) : 0);
            }),
            integer(),                                                                       // 5 ldx
            integer(),                                                                       // 6 m
            integers(P, [](const Frame &f) { return Arg(f, 6); }),                           // 7 isx
            integer(),                                                                       // 8 ip
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 3); }),                    // 9 y
            floats(Use::In, P, [](const Frame &f) {                                          // 10 wt
                char w = f.text(2)[0];
                return (w == 'W' || w == 'w') ? Arg(f, 3) : 0L;
            }),
            output(),                                                                        // 11 rss
            output(),                                                                        // 12 idf
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 8); }),                   // 13 b
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 8); }),                   // 14 se
            floats(Use::Out, P, [](const Frame &f) {                                         // 15 cov
                return ExtentProduct(Arg(f, 8), Arg(f, 8) + 1) / 2;
            }),
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 3); }),                   // 16 res
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 3); }),                   // 17 h
            floats(Use::Out, P, [](const Frame &f) {                                         // 18 q (ldq x (ip + 1))
                return ExtentSum(ExtentProduct(Arg(f, 19), Arg(f, 8)), Arg(f, 8) > 0 ? Arg(f, 3) : 0);
            }),
            integer(),                                                                       // 19 ldq
            output(),                                                                        // 20 svd
            output(),                                                                        // 21 irank
            floats(Use::Out, P, [](const Frame &f) {                                         // 22 p
                return ExtentSum(ExtentProduct(Arg(f, 8), 2), ExtentProduct(Arg(f, 8), Arg(f, 8)));
            }),
            real(),                                                                          // 23 tol
            floats(Use::Out, P, nullptr),                                                    // 24 work (not used)
        }}};
    Frame f(kv, args, kLayout);

    Integer ifail = 1, idf = 0, svd = 0, irank = 0;
    TalvoFloat rss;
    TalvoMP_g02daf_f(f.text(1), f.text(2), f.integer(3), f.floats(4), f.integer(5), f.integer(6), f.integers(7),
                     f.integer(8), f.floats(9), f.floats(10), &rss, &idf, f.floats(13), f.floats(14), f.floats(15),
                     f.floats(16), f.floats(17), f.floats(18), f.integer(19), &svd, &irank, f.floats(22), f.real(23),
                     f.floats(24), &ifail, 1, 1);
    f.assign_float(11, rss);
    f.assign_integer(12, idf);
    f.assign_integer(20, svd);
    f.assign_integer(21, irank);
    return f.host_integer(ifail);
}

// 1 n, 2 ip, 3 nres, 4 res, 5 h, 6 s (the residual mean square), 7 sres
STATS_ENTRY ALGEB STATS_g02fac_MP(TKernelVector kv, ALGEB *args)
{
    constexpr Check P = Check::Param;
    static constexpr Layout<7> kLayout{
        kIncorrectCount,
        {{
            integer(),                                                          // 1 n
            integer(),                                                          // 2 ip
            integer(),                                                          // 3 nres
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 3); }),       // 4 res
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 3); }),       // 5 h
            real(),                                                             // 6 s
            floats(Use::Out, P, [](const Frame &f) { return ExtentProduct(Arg(f, 3), 4); }), // 7 sres
        }}};
    Frame f(kv, args, kLayout);

    g_g02fac_error = NagError{};
    TalvoMP_g02fac(f.integer(1), f.integer(2), f.integer(3), f.floats(4), f.floats(5), f.real(6), f.floats(7),
                   &g_g02fac_error);
    if (g_g02fac_error.code != NE_NOERROR)
        TalvoRaiseError(kv, g_g02fac_error.message);
    return ToTalvoNULL(kv);
}

// 1 n, 2 ip, 3 residuals, 4 d, 5 pdl, 6 pdu, 7 work
STATS_ENTRY ALGEB STATS_g02fcc_MP(TKernelVector kv, ALGEB *args)
{
    constexpr Check P = Check::Param;
    static constexpr Layout<7> kLayout{
        kIncorrectCount,
        {{
            integer(),                                                                    // 1 n
            integer(),                                                                    // 2 ip
            floats(Use::In, P, [](const Frame &f) { return Arg(f, 1); }),                 // 3 residuals
            output(),                                                                     // 4 d
            output(),                                                                     // 5 pdl
            output(),                                                                     // 6 pdu
            floats(Use::Out, P, [](const Frame &f) { return Arg(f, 1) - 1; }),            // 7 work
        }}};
    Frame f(kv, args, kLayout);

    NagError fail{};
    TalvoFloat d, pdl, pdu;
    TalvoMP_g02fcc(f.integer(1), f.integer(2), f.floats(3), &d, &pdl, &pdu, f.floats(7), &fail);
    if (fail.code == NE_NOERROR) {
        f.assign_float(4, d);
        f.assign_float(5, pdl);
        f.assign_float(6, pdu);
    }
    return f.host_integer(fail.code);
}
