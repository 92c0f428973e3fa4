// moyal.cpp -- the Moyal distribution with location mu and scale sigma:
// variates only.
//
// z has density exp(-(z + exp(-z)) / 2) / sqrt(2 pi).  Put z = tan(theta)
// with theta uniform on (-pi/2, pi/2): theta then has density
// g(theta) = exp(-(z + exp(-z)) / 2) / sqrt(2 pi) / cos^2(theta), which is
// below 0.912 everywhere (its maximum, near theta = 1.315, is about
// 0.91109); accepting theta when 0.912 u <= g(theta) gives z that law, and
// the variate is sigma z + mu.
#include "correctly_rounded.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

namespace {

// What every draw uses: Pi as the host evaluates it, pi / 2, sqrt(2 pi).
struct MoyalConstants {
    TalvoFloat pi, halfPi, root;
    explicit MoyalConstants(TKernelVector kv)
    {
        pi = STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv, "Pi", 1));
        const TalvoFloat two(2.0);
        halfPi = pi / two;
        root = sqrt(two * pi);
    }
};

// One draw.  With fast set, tan, cos and exp come from stats::TanFromBall,
// Cos and Exp: the same correctly rounded floats as the float library's, so
// the same draws, at a fraction of the cost.
TalvoFloat MoyalDraw(const MoyalConstants &k, const TalvoFloat &mu, const TalvoFloat &sigma, bool fast)
{
    const TalvoFloat two(2.0), bound(0.912);
    TalvoFloat z;
    for (;;) {
        TalvoFloat theta = k.pi * STATS_TalvoRandomStream_MP::NextDouble() - k.halfPi;
        TalvoFloat y = bound * STATS_TalvoRandomStream_MP::NextDouble();
        z = fast ? stats::TanFromBall(theta) : TalvoEvalf1("tan", theta);
        TalvoFloat c = fast ? stats::Cos(theta) : TalvoEvalf1("cos", theta);
        TalvoFloat g = (fast ? stats::Exp(-(z + stats::Exp(-z)) / two) : exp(-(z + exp(-z)) / two)) / k.root / (c * c);
        if (y <= g)
            break;
    }
    return sigma * z + mu;
}

} // namespace

TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma)
{
    return MoyalDraw(MoyalConstants(kv), mu, sigma, false);
}

TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], sigma = params[1];
    return STATS_MoyalRandomVariate_MP(kv, mu, sigma);
}

STATS_ENTRY ALGEB STATS_TalvoMoyalRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    return stats::FloatEntry<2>(kv, args, __func__,
                                [](TKernelVector kv, auto... p) { return STATS_MoyalRandomVariate_MP(kv, p...); });
}

// The constants are made once for the sample; every element is the draw
// STATS_MoyalRandomVariate_MP makes, with its transcendental functions from
// balls first (the same floats).
STATS_ENTRY ALGEB STATS_TalvoMoyalRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat mu = f.real(2), sigma = f.real(3);
    const MoyalConstants k(kv);
    return stats::FillRandomSample(kv, n, [&] { return MoyalDraw(k, mu, sigma, true); });
}
