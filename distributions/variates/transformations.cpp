// transformations.cpp -- inverse Gaussian, Maxwell and Moyal variates.
//
// Inverse Gaussian (mu, lambda): the transformation of Michael, Schucany and
// Haas, "Generating random variates using transformations with multiple
// roots" (The American Statistician 30, 1976).  With y a chi-square(1) draw
// and w = mu y, the smaller root of lambda (x - mu)^2 / (mu^2 x) = y is
// x = (mu / (2 lambda)) (w + 2 lambda - sqrt(w^2 + 4 w lambda)); it is kept
// with probability mu / (mu + x), else the other root mu^2 / x is returned.
//
// Maxwell (a): a sqrt(2 E) with E of gamma law (1, 3/2), made as one
// exponential (-ln u) plus Z^2 / 2 for a standard normal Z.  The half square
// is drawn as -(q1 / s) ln u' from a point (sqrt q1, sqrt q2) uniform in the
// unit quarter disc (squared uniforms kept when q1 + q2 <= 1): q1 / s is
// cos^2 of a uniform angle, and -cos^2(theta) ln u' has the law of Z^2 / 2.
//
// Moyal (mu, sigma): z has density exp(-(z + exp(-z)) / 2) / sqrt(2 pi).
// Put z = tan(theta) with theta uniform on (-pi/2, pi/2): theta then has
// density g(theta) = exp(-(z + exp(-z)) / 2) / sqrt(2 pi) / cos^2(theta),
// which is below 0.912 everywhere (its maximum, near theta = 1.315, is about
// 0.91109); accepting theta when 0.912 u <= g(theta) gives z that law.
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

TalvoFloat STATS_InverseGaussianRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat lambda)
{
    TalvoFloat y = STATS_ChiSquareRandomVariate_MP(kv, TalvoFloat(1.0));
    TalvoFloat w = mu * y;
    TalvoFloat s = sqrt(w * w + TalvoFloat(4.0) * w * lambda);
    TalvoFloat x = (TalvoFloat(0.5) * mu / lambda) * (w + TalvoFloat(2.0) * lambda - s);
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    if (u * (mu + x) > mu)
        return mu * mu / x;
    return x;
}

TalvoFloat STATS_InverseGaussianRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], lambda = params[1];
    return STATS_InverseGaussianRandomVariate_MP(kv, mu, lambda);
}

TalvoFloat STATS_MaxwellRandomVariate_MP(TKernelVector, TalvoFloat a)
{
    const TalvoFloat one(1.0);
    TalvoFloat e = -log(STATS_TalvoRandomStream_MP::NextDouble());
    TalvoFloat q1, q2, s;
    do {
        TalvoFloat u1 = STATS_TalvoRandomStream_MP::NextDouble();
        q1 = u1 * u1;
        TalvoFloat u2 = STATS_TalvoRandomStream_MP::NextDouble();
        q2 = u2 * u2;
        s = q1 + q2;
    } while (!(s <= one));
    e = e - (q1 / s) * log(STATS_TalvoRandomStream_MP::NextDouble());
    return a * sqrt(TalvoFloat(2.0) * e);
}

TalvoFloat STATS_MaxwellRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat a = params[0];
    return STATS_MaxwellRandomVariate_MP(kv, a);
}

TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma)
{
    TalvoFloat pi = STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv, "Pi", 1));
    const TalvoFloat two(2.0), bound(0.912);
    TalvoFloat halfPi = pi / two, root = sqrt(two * pi), z;
    for (;;) {
        TalvoFloat theta = pi * STATS_TalvoRandomStream_MP::NextDouble() - halfPi;
        TalvoFloat y = bound * STATS_TalvoRandomStream_MP::NextDouble();
        z = TalvoEvalf1("tan", theta);
        TalvoFloat c = TalvoEvalf1("cos", theta);
        TalvoFloat g = exp(-(z + exp(-z)) / two) / root / (c * c);
        if (y <= g)
            break;
    }
    return sigma * z + mu;
}

TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params)
{
    TalvoFloat mu = params[0], sigma = params[1];
    return STATS_MoyalRandomVariate_MP(kv, mu, sigma);
}

STATS_ENTRY ALGEB STATS_TalvoInverseGaussianRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat mu = f.real(1), lambda = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_InverseGaussianRandomVariate_MP(kv, mu, lambda));
}

STATS_ENTRY ALGEB STATS_TalvoInverseGaussianRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat mu = f.real(2), lambda = f.real(3);
    return stats::FillRandomSample(kv, n, [&] { return STATS_InverseGaussianRandomVariate_MP(kv, mu, lambda); });
}

STATS_ENTRY ALGEB STATS_TalvoMaxwellRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 1);
    TalvoFloat a = f.real(1);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_MaxwellRandomVariate_MP(kv, a));
}

STATS_ENTRY ALGEB STATS_TalvoMaxwellRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    int n = f.int32(1);
    TalvoFloat a = f.real(2);
    return stats::FillRandomSample(kv, n, [&] { return STATS_MaxwellRandomVariate_MP(kv, a); });
}

STATS_ENTRY ALGEB STATS_TalvoMoyalRandomVariate_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    TalvoFloat mu = f.real(1), sigma = f.real(2);
    return STATS_DoubleToTalvoFloat_MP(kv, STATS_MoyalRandomVariate_MP(kv, mu, sigma));
}

STATS_ENTRY ALGEB STATS_TalvoMoyalRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    int n = f.int32(1);
    TalvoFloat mu = f.real(2), sigma = f.real(3);
    return stats::FillRandomSample(kv, n, [&] { return STATS_MoyalRandomVariate_MP(kv, mu, sigma); });
}
