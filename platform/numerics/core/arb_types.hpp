// arb_types.hpp -- owning wrappers for Arb and FLINT values.
//
// Arb's init/clear pairs become constructors and destructors, so every
// temporary is released on every way out of a function (an exception from a
// float allocation included).  The wrappers convert implicitly to the C
// pointer types, so Arb's functions take them as they are: arb_add(r, a, b, p).
#pragma once

#include <arb.h>
#include <arf.h>
#include <flint/fmpq.h>
#include <flint/fmpz.h>
#include <mag.h>

namespace talvo::mp {

struct Arb {
    arb_t v;
    Arb() { arb_init(v); }
    explicit Arb(slong x) { arb_init(v); arb_set_si(v, x); }
    Arb(const Arb &o) { arb_init(v); arb_set(v, o.v); }
    Arb &operator=(const Arb &o) { arb_set(v, o.v); return *this; }
    ~Arb() { arb_clear(v); }
    operator arb_ptr() { return v; }
    operator arb_srcptr() const { return v; }
    // For Arb's accessor macros (arb_midref(x) is (x)->mid).
    arb_ptr operator->() { return v; }
    arb_srcptr operator->() const { return v; }
};

struct Arf {
    arf_t v;
    Arf() { arf_init(v); }
    Arf(const Arf &o) { arf_init(v); arf_set(v, o.v); }
    Arf &operator=(const Arf &o) { arf_set(v, o.v); return *this; }
    ~Arf() { arf_clear(v); }
    operator arf_ptr() { return v; }
    operator arf_srcptr() const { return v; }
    arf_ptr operator->() { return v; }
    arf_srcptr operator->() const { return v; }
};

struct Mag {
    mag_t v;
    Mag() { mag_init(v); }
    Mag(const Mag &) = delete;
    Mag &operator=(const Mag &) = delete;
    ~Mag() { mag_clear(v); }
    operator mag_ptr() { return v; }
    operator mag_srcptr() const { return v; }
};

struct Fmpz {
    fmpz_t v;
    Fmpz() { fmpz_init(v); }
    explicit Fmpz(slong x) { fmpz_init(v); fmpz_set_si(v, x); }
    Fmpz(const Fmpz &o) { fmpz_init(v); fmpz_set(v, o.v); }
    Fmpz &operator=(const Fmpz &o) { fmpz_set(v, o.v); return *this; }
    ~Fmpz() { fmpz_clear(v); }
    operator fmpz *() { return v; }
    operator const fmpz *() const { return v; }
};

// An exact rational; the parameters of every hypergeometric series are kept
// as these, so shifting a parameter by an integer never rounds.
struct Fmpq {
    fmpq_t v;
    Fmpq() { fmpq_init(v); }
    explicit Fmpq(slong num, ulong den = 1) { fmpq_init(v); fmpq_set_si(v, num, den); }
    Fmpq(const Fmpq &o) { fmpq_init(v); fmpq_set(v, o.v); }
    Fmpq &operator=(const Fmpq &o) { fmpq_set(v, o.v); return *this; }
    ~Fmpq() { fmpq_clear(v); }
    operator fmpq *() { return v; }
    operator const fmpq *() const { return v; }
};

// Arrays of wrappers are arrays of the C structs, so fmpq_t-array arguments
// can be passed as &q[0].v[0].
static_assert(sizeof(Fmpq) == sizeof(fmpq), "Fmpq is an fmpq");
static_assert(sizeof(Arb) == sizeof(arb_struct), "Arb is an arb");

} // namespace talvo::mp
