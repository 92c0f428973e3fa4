// ziggurat.cpp -- the ziggurat normal and exponential generators (Marsaglia
// and Tsang, "The ziggurat method for generating random variables", J. Stat.
// Software 5(8), 2000), 256 layers, tables at the working precision.
//
// Layer i >= 1 has its right edge at x[i] = gW[i] * 2^31 (x[255] = r, the
// edges falling towards the peak) and the density f(x[i]) = gF[i] at that
// edge; every layer, and the base strip with its tail, has the area v.  The
// integer thresholds gK[i] = 2^31 * x[i-1] / x[i] accept an abscissa that
// lies under the layer above without evaluating the density.  The base strip
// is drawn as if it were a rectangle of width q = v / f(r), so abscissas past
// r there stand for the tail.  See ziggurat.hpp for the law the draws follow.
#include "ziggurat.hpp"

#include "random_stream.hpp"
#include "talvo_utils.hpp"

#include <cstdint>
#include <cstdlib>

namespace {

using Stream = STATS_TalvoRandomStream_MP;

// |hz| < k, with |INT32_MIN| = 2^31 held exactly.
inline bool InsideThreshold(int32_t hz, int k) { return std::llabs(static_cast<long long>(hz)) < k; }

} // namespace

// ---------------------------------------------------------------------------
// Normal: f(x) = exp(-x^2 / 2), without its normalising constant
// ---------------------------------------------------------------------------

int STATS_ZigguratNormalGenerator_MP::gDigits = 0;
TalvoFloat STATS_ZigguratNormalGenerator_MP::gD(3.65415288);
TalvoFloat STATS_ZigguratNormalGenerator_MP::gV(0.00492868);
TalvoFloat STATS_ZigguratNormalGenerator_MP::gM(2147483648.0);
TalvoFloat STATS_ZigguratNormalGenerator_MP::gH(-0.5);
int STATS_ZigguratNormalGenerator_MP::gK[256];
TalvoFloat STATS_ZigguratNormalGenerator_MP::gW[256];
TalvoFloat STATS_ZigguratNormalGenerator_MP::gF[256];

void STATS_ZigguratNormalGenerator_MP::Reset()
{
    int digits = STATS_GetTalvoDigits_MP();
    if (digits <= gDigits)
        return;
    auto f = [](const TalvoFloat &x) { return exp(gH * x * x); };
    TalvoFloat d = gD, t = d;
    TalvoFloat q = gV / f(d);
    gK[0] = static_cast<int>(STATS_DoubleToInteger_MP(floor((d / q) * gM)));
    gK[1] = 0;
    gW[0] = q / gM;
    gW[255] = d / gM;
    gF[255] = f(d);
    for (int i = 254; i >= 1; --i) {
        d = sqrt(TalvoFloat(-2.0) * log(gV / d + f(d)));
        gK[i + 1] = static_cast<int>(STATS_DoubleToInteger_MP((d / t) * gM));
        t = d;
        gF[i] = f(d);
        gW[i] = d / gM;
    }
    // The top of layer 1, computed rather than set to 1, so that the layer
    // has exactly the area v with the rounded constants.
    d = gW[1] * gM;
    gF[0] = f(d) + gV / d;
    gDigits = digits;
}

TalvoFloat STATS_ZigguratNormalGenerator_MP::Next()
{
    TalvoFloat u; // the latest wedge uniform of this call: layer 1 returns it
    for (;;) {
        int32_t hz = Stream::NextInteger();
        int i = hz & 255;
        TalvoFloat x = gW[i] * long(hz); // hz exact, one rounding
        if (i >= 2) {
            if (InsideThreshold(hz, gK[i]))
                return x;
            u = Stream::NextDouble();
            if (gF[i] + u * (gF[i - 1] - gF[i]) < exp(gH * x * x))
                return x;
        } else if (i == 1) {
            TalvoFloat y = gF[1] + Stream::NextDouble() * (gF[0] - gF[1]);
            if (y > 1L)
                continue;
            x = Stream::NextDouble() * (gM * gW[1]);
            if (y < exp(gH * x * x))
                return u;
        } else {
            if (hz < gK[0]) // signed: a negative integer is always accepted here
                return x;
            TalvoFloat y;
            do {
                x = -log(Stream::NextDouble()) / gD;
                y = -log(Stream::NextDouble());
            } while (y + y < x * x);
            return hz > 0 ? gD + x : -gD - x;
        }
    }
}

// ---------------------------------------------------------------------------
// Exponential: f(x) = exp(-x)
// ---------------------------------------------------------------------------

int STATS_ZigguratExpGenerator_MP::gDigits = 0;
TalvoFloat STATS_ZigguratExpGenerator_MP::gD(7.69711747);
TalvoFloat STATS_ZigguratExpGenerator_MP::gV(0.003949659823);
TalvoFloat STATS_ZigguratExpGenerator_MP::gM(2147483648.0);
TalvoFloat STATS_ZigguratExpGenerator_MP::gH(-0.5);
int STATS_ZigguratExpGenerator_MP::gK[256];
TalvoFloat STATS_ZigguratExpGenerator_MP::gW[256];
TalvoFloat STATS_ZigguratExpGenerator_MP::gF[256];

void STATS_ZigguratExpGenerator_MP::Reset()
{
    int digits = STATS_GetTalvoDigits_MP();
    if (digits <= gDigits)
        return;
    auto f = [](const TalvoFloat &x) { return exp(-x); };
    TalvoFloat d = gD, t = d;
    TalvoFloat q = gV / f(d);
    gK[0] = static_cast<int>(STATS_DoubleToInteger_MP((d / q) * gM));
    gK[1] = 0;
    gW[0] = q / gM;
    gW[255] = d / gM;
    gF[255] = f(d);
    for (int i = 254; i >= 1; --i) {
        d = -log(gV / d + f(d));
        gK[i + 1] = static_cast<int>(STATS_DoubleToInteger_MP((d / t) * gM));
        t = d;
        gF[i] = f(d);
        gW[i] = d / gM;
    }
    d = gW[1] * gM;
    gF[0] = f(d) + gV / d;
    gDigits = digits;
}

TalvoFloat STATS_ZigguratExpGenerator_MP::Next()
{
    TalvoFloat u;
    for (;;) {
        int32_t hz = Stream::NextInteger();
        int i = hz & 255;
        TalvoFloat x = gW[i] * long(hz); // hz exact, one rounding
        if (i >= 2) {
            if (InsideThreshold(hz, gK[i]))
                return x;
            u = Stream::NextDouble();
            if (gF[i] + u * (gF[i - 1] - gF[i]) < exp(-x))
                return x;
        } else if (i == 1) {
            TalvoFloat y = gF[1] + Stream::NextDouble() * (gF[0] - gF[1]);
            if (y > 1L)
                continue;
            x = Stream::NextDouble() * (gM * gW[1]);
            if (y < exp(-x))
                return u;
        } else {
            if (hz < gK[0])
                return x;
            return gD - log(Stream::NextDouble());
        }
    }
}
