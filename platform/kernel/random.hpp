// random.hpp -- the host's random generator.
//
// xoshiro256** (Blackman and Vigna, "Scrambled linear pseudorandom number
// generators", 2018), its state seeded from one 64-bit seed through SplitMix64
// as its authors recommend.  The default seed is fixed, so a script that never
// calls randomize gives the same results on every run.
#pragma once

#include "object.hpp"

#include <cstdint>

#include <mpfr.h>

namespace talvo::random {

constexpr uint64_t kDefaultSeed = 0x5eed2026u;

void seed(uint64_t s);
uint64_t current_seed();
uint64_t next64();
uint32_t next32();
// A float uniform on [0, 1) with `prec` random bits (prec 0: the current
// precision): every bit of the significand comes from the generator.
ALGEB float01(mpfr_prec_t prec = 0);

} // namespace talvo::random
