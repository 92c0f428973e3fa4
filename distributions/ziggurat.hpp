// ziggurat.hpp -- standard normal and standard exponential draws by the
// ziggurat method of Marsaglia and Tsang (2000) with 256 layers, the layer
// tables held at the working precision.
//
// The tables are built from r (start of the tail) and v (area of a layer)
// rounded to the digits set at load time, and rebuilt only when "Digits"
// rises above the precision of the last build; lowering "Digits" keeps the
// finer tables.  Every draw takes its randomness from the random stream: a
// signed 32-bit integer chooses the layer (low 8 bits) and the abscissa
// (the whole integer, sign included), and uniforms settle the wedges,
// layer 1 and the tail.
//
// What the draws follow.  Both generators keep the behaviour their
// definitions give, which departs from the textbook method in three places:
//  - the sign of the integer is the sign of the abscissa, and the base layer
//    compares the signed integer with its threshold, so a negative integer
//    there is always accepted: the normal's negative base-layer draws are
//    uniform on (-q, 0] with q = v / f(r), in place of a tail beyond -r (same
//    mass, at most 0.26 beyond r);
//  - the exponential generator returns x = hz * w[i] with the sign of hz, so
//    about half of its draws are negative: for a negative integer every
//    abscissa of the layer is accepted, which makes the negative half a
//    staircase density f(x[j-1]) on (-x[j], -x[j-1]);
//  - layer 1 (the top cap, about 0.26% of the normal's draws) does not return
//    its abscissa: it returns the uniform of the latest wedge test of the same
//    call, or 0 when there was none (nearly always), an atom at 0 and a small
//    spread on (0, 1).  Conditioned on lying outside [0, 1), the normal draws
//    follow the normal law with the top cap (|x| < x[1], about 0.21) taken
//    out on the negative side and the base-layer change above.
// tests/distributions/ziggurat_law_test.cpp derives these laws exactly and
// tests a million draws against them.
#pragma once

#include "stats_api.h"

class STATS_API STATS_ZigguratNormalGenerator_MP {
public:
    static int gDigits;         // "Digits" of the last build; 0 before any
    static TalvoFloat gD;       // r, start of the tail
    static TalvoFloat gV;       // v, area of every layer
    static TalvoFloat gM;       // 2^31, scale of the integer tests
    static TalvoFloat gH;       // -1/2: the density is exp(gH * x * x)
    static int gK[256];         // integer acceptance thresholds
    static TalvoFloat gW[256];  // layer widths / 2^31
    static TalvoFloat gF[256];  // density at each layer's edge

    static void Reset();
    static TalvoFloat Next();
};

class STATS_API STATS_ZigguratExpGenerator_MP {
public:
    static int gDigits;
    static TalvoFloat gD;
    static TalvoFloat gV;
    static TalvoFloat gM;
    static TalvoFloat gH; // kept for symmetry with the normal; not used
    static int gK[256];
    static TalvoFloat gW[256];
    static TalvoFloat gF[256];

    static void Reset();
    static TalvoFloat Next();
};
