// lgamma_memo.cpp -- a direct-mapped table of ln Gamma values (see
// lgamma_memo.hpp).
#include "lgamma_memo.hpp"
#include "../talvo_mp.h"

#include <arb_hypgeom.h>

#include <cstdint>

namespace talvo::mp {

namespace {

// An exact argument of at most two limbs, with the precision asked for.
struct Key {
    slong prec = 0;
    slong exp = 0;
    mp_limb_t xsize = 0; // limb count and sign, as arf keeps them
    mp_limb_t limb[2] = {0, 0};

    bool operator==(const Key &o) const
    {
        return prec == o.prec && exp == o.exp && xsize == o.xsize && limb[0] == o.limb[0] && limb[1] == o.limb[1];
    }
    uint64_t hash() const
    {
        // A multiplicative mix of the fields (splitmix64's finaliser).
        uint64_t h = uint64_t(prec) * 0x9e3779b97f4a7c15ull ^ uint64_t(exp) * 0xbf58476d1ce4e5b9ull ^
                     uint64_t(xsize) ^ limb[0] * 0x94d049bb133111ebull ^ limb[1];
        h ^= h >> 31;
        h *= 0xbf58476d1ce4e5b9ull;
        h ^= h >> 29;
        return h;
    }
};

// Only exact normal numbers whose exponent is a small integer and whose
// mantissa has one or two limbs have a key; the arguments of the series
// (shapes plus small integers, at most a few hundred bits) all do.
bool key_of(Key &k, arb_srcptr s, slong prec)
{
    arf_srcptr m = arb_midref(s);
    if (!mag_is_zero(arb_radref(s)) || arf_is_special(m) || COEFF_IS_MPZ(*ARF_EXPREF(m)) || ARF_SIZE(m) > 2)
        return false;
    mp_srcptr xp;
    mp_size_t xn;
    ARF_GET_MPN_READONLY(xp, xn, m);
    k.prec = prec;
    k.exp = *ARF_EXPREF(m);
    k.xsize = ARF_XSIZE(m);
    k.limb[0] = xp[0];
    k.limb[1] = xn > 1 ? xp[1] : 0;
    return true;
}

constexpr unsigned kSlots = 1024; // a power of two

struct Table {
    struct Slot {
        bool used = false;
        Key key;
        Arb value;
    };
    Slot slot[kSlots];
};

bool g_on = true;
thread_local long g_hits = 0;

Table &table()
{
    thread_local Table t;
    return t;
}

} // namespace

void lgamma_memo(arb_ptr r, arb_srcptr s, slong prec)
{
    Key k;
    if (!g_on || prec > kLgammaMemoMaxPrec || !key_of(k, s, prec)) {
        arb_hypgeom_lgamma(r, s, prec);
        return;
    }
    Table &t = table();
    Table::Slot &slot = t.slot[k.hash() & (kSlots - 1)];
    if (slot.used && slot.key == k) {
        ++g_hits;
        arb_set(r, slot.value);
        return;
    }
    // The slot is marked free while it is written, so that an exception from
    // an allocation cannot leave a key beside a value that is not its own.
    slot.used = false;
    arb_hypgeom_lgamma(slot.value, s, prec);
    slot.key = k;
    slot.used = true;
    arb_set(r, slot.value);
}

} // namespace talvo::mp

int TalvoMP_set_lgamma_memo(int on)
{
    const int was = talvo::mp::g_on ? 1 : 0;
    talvo::mp::g_on = on != 0;
    return was;
}

long TalvoMP_lgamma_memo_hits(void) { return talvo::mp::g_hits; }
