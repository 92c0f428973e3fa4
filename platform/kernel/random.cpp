// random.cpp -- xoshiro256** seeded by SplitMix64.
#include "random.hpp"

#include "talvo_float.hpp"

#include <gmp.h>

namespace talvo::random {

namespace {

uint64_t g_state[4];
uint64_t g_seed = kDefaultSeed;
bool g_seeded = false;

inline uint64_t rotl(uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }

uint64_t splitmix64(uint64_t &x)
{
    uint64_t z = (x += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
}

void ensure_seeded()
{
    if (!g_seeded)
        seed(kDefaultSeed);
}

} // namespace

void seed(uint64_t s)
{
    g_seed = s;
    uint64_t x = s;
    for (uint64_t &w : g_state)
        w = splitmix64(x);
    g_seeded = true;
}

uint64_t current_seed() { return g_seed; }

uint64_t next64()
{
    ensure_seeded();
    uint64_t *s = g_state;
    const uint64_t result = rotl(s[1] * 5, 7) * 9;
    const uint64_t t = s[1] << 17;
    s[2] ^= s[0];
    s[3] ^= s[1];
    s[1] ^= s[2];
    s[0] ^= s[3];
    s[2] ^= t;
    s[3] = rotl(s[3], 45);
    return result;
}

// The high half: the better-mixed bits of the output.
uint32_t next32() { return uint32_t(next64() >> 32); }

ALGEB float01(mpfr_prec_t prec)
{
    if (prec == 0)
        prec = talvo_float_precision();
    size_t words = size_t((prec + 63) / 64);
    mpz_t z;
    mpz_init2(z, mp_bitcnt_t(words * 64));
    mp_limb_t *limbs = mpz_limbs_write(z, mp_size_t(words));
    for (size_t i = 0; i < words; ++i)
        limbs[i] = mp_limb_t(next64());
    mpz_limbs_finish(z, mp_size_t(words));
    // Keep exactly prec random bits so the result is exact: k / 2^prec.
    mpz_fdiv_q_2exp(z, z, mp_bitcnt_t(words * 64 - size_t(prec)));
    ALGEB f = talvo_float_new(prec);
    mpfr_set_z_2exp(talvo_float_mpfr(f), z, -mpfr_exp_t(prec), MPFR_RNDN);
    mpz_clear(z);
    return f;
}

} // namespace talvo::random
