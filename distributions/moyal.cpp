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

#include <algorithm>
#include <cmath>

namespace {

// What every draw uses: Pi as the host evaluates it, pi / 2, sqrt(2 pi).
struct MoyalConstants {
    TalvoFloat pi, halfPi, root;
    double rootd;
    explicit MoyalConstants(TKernelVector kv)
    {
        pi = STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv, "Pi", 1));
        const TalvoFloat two(2.0);
        halfPi = pi / two;
        root = sqrt(two * pi);
        rootd = root.to_double();
    }
};

// The test y <= g of one trial judged in doubles (stats::DecideInDoubles):
// 1 (accept), 0 (reject) or -1.  The bound on the error of both computations
// follows the roundings through z = tan(theta) (d z = d theta / cos^2) and
// ln g = -(z + e^-z) / 2 - 2 ln|cos| - ln sqrt(2 pi), with a factor 4 of room.
int TrialInDoubles(const TalvoFloat &theta, const TalvoFloat &y, double root, double e)
{
    const double t = theta.to_double(), yd = y.to_double();
    const double s = std::sin(t), c = std::cos(t);
    if (!(yd > 0) || !(std::fabs(c) > 1e-150))
        return -1;
    const double z = s / c, ez = std::exp(-z);
    const double x = -(z + ez) / 2;
    const double lg = x - std::log(root) - 2 * std::log(std::fabs(c));
    if (!std::isfinite(ez) || !std::isfinite(lg))
        return -1;
    constexpr double u = 0x1p-52;
    const double az = std::fabs(z), at = std::fabs(t);
    const double dz = at * u / (c * c) + az * u + az * e;
    const double bound = 4 * ((1 + ez) / 2 * dz + 2 * az * at * u + (std::fabs(x) + az + 16) * e) + 1e-300;
    return stats::DecideInDoubles(lg - std::log(yd), bound);
}

// One draw.  With fast set, tan, cos and exp come from stats::TanFromBall,
// Cos and Exp: the same correctly rounded floats as the float library's, so
// the same draws, at a fraction of the cost; and a trial the doubles decide
// (all but a few in a million) computes no float but the accepted tan.
TalvoFloat MoyalDraw(const MoyalConstants &k, const TalvoFloat &mu, const TalvoFloat &sigma, bool fast)
{
    const TalvoFloat two(2.0), bound(0.912);
    const double e = stats::Roundoff();
    TalvoFloat z;
    for (;;) {
        TalvoFloat theta = k.pi * STATS_TalvoRandomStream_MP::NextDouble() - k.halfPi;
        TalvoFloat y = bound * STATS_TalvoRandomStream_MP::NextDouble();
        if (fast) {
            const int decided = TrialInDoubles(theta, y, k.rootd, e);
            if (decided == 0)
                continue;
            if (decided == 1) {
                z = stats::TanFromBall(theta);
                break;
            }
        }
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
