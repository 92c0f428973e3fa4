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

// Builds generator G's tables at the current precision, when "Digits" has
// risen above that of the last build.  f is the density, edge(d) the right
// edge of the layer below the one whose right edge is d (the layer's area is
// v: f(edge) = v / d + f(d)); the normal floors its base threshold, the
// exponential truncates it.
template <class G, class Density, class Edge>
void BuildTables(Density f, Edge edge, bool floor_base)
{
    int digits = STATS_GetTalvoDigits_MP();
    if (digits <= G::gDigits)
        return;
    TalvoFloat d = G::gD, t = d;
    TalvoFloat q = G::gV / f(d);
    TalvoFloat k0 = (d / q) * G::gM;
    G::gK[0] = static_cast<int>(STATS_DoubleToInteger_MP(floor_base ? floor(k0) : k0));
    G::gK[1] = 0;
    G::gW[0] = q / G::gM;
    G::gW[255] = d / G::gM;
    G::gF[255] = f(d);
    for (int i = 254; i >= 1; --i) {
        d = edge(d);
        G::gK[i + 1] = static_cast<int>(STATS_DoubleToInteger_MP((d / t) * G::gM));
        t = d;
        G::gF[i] = f(d);
        G::gW[i] = d / G::gM;
    }
    // The top of layer 1, computed rather than set to 1, so that the layer
    // has exactly the area v with the rounded constants.
    d = G::gW[1] * G::gM;
    G::gF[0] = f(d) + G::gV / d;
    G::gDigits = digits;
}

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
    auto f = [](const TalvoFloat &x) { return exp(gH * x * x); };
    BuildTables<STATS_ZigguratNormalGenerator_MP>(
        f, [&](const TalvoFloat &d) { return sqrt(TalvoFloat(-2.0) * log(gV / d + f(d))); }, true);
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
    auto f = [](const TalvoFloat &x) { return exp(-x); };
    BuildTables<STATS_ZigguratExpGenerator_MP>(f, [&](const TalvoFloat &d) { return -log(gV / d + f(d)); }, false);
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
