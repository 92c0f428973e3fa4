// envelope.hpp -- adaptive rejection sampling from a density given as a host
// procedure with its derivative.
//
// The envelope is piecewise linear in the density itself (not in its
// logarithm, as in Gilks and Wild's adaptive rejection sampling, Applied
// Statistics 41, 1992): each piece [xL, xR] is split at the intersection xM
// of the tangents at its ends (or at its middle), and carries an upper hull
// and a lower hull (the squeeze).  Where the density is concave on a piece
// the tangents bound it from above and the chords through (xM, f(xM)) from
// below; where it is convex the roles are swapped.  Base points should
// therefore include the density's inflection points.
//
// A draw picks a piece with probability proportional to the area under its
// upper hull (an alias urn), a point under that hull, and accepts it by the
// squeeze or by the density; a rejected (or poorly squeezed) point splits
// its piece in two, until the envelope has its maximum number of pieces.
#pragma once

#include "alias_urn.hpp"
#include "generator.hpp"
#include "talvo_utils.hpp"

#include <cstdint>
#include <memory>

// One piece of the envelope.  The areas A1 < A2 < A3 < A4 are cumulative:
// the left part's rectangle (of its lower end's height) and triangle, then
// the right part's; A4 is the piece's weight in the urn.
class STATS_API STATS_RejectionEnvelopeElement_MP {
public:
    STATS_RejectionEnvelopeElement_MP();

    TalvoFloat xL, xR, xM; // ends and split point
    TalvoFloat fL, fR, fM; // density at xL, xR, xM
    TalvoFloat dL, dR;     // derivative at xL, xR (tangent slopes)
    TalvoFloat sL, sR;     // chord slopes either side of xM
    TalvoFloat A1, A2, A3, A4;
    bool leftRising = false;  // the upper hull at xM is above fL
    bool rightRising = false; // fR is above the upper hull at xM
    bool concave = false;     // dL > sL: tangents above chords on the left
};

// A growable array of element pointers; it does not own the elements.
class STATS_API STATS_RejectionEnvelope_MP {
public:
    using Element = STATS_RejectionEnvelopeElement_MP;

    // Room for exactly `capacity` pointers, none used.
    explicit STATS_RejectionEnvelope_MP(uint32_t capacity);
    STATS_RejectionEnvelope_MP(const STATS_RejectionEnvelope_MP &other);
    // Takes the other's size and pointers; reallocates (to the other's
    // capacity) only when its own capacity is below the other's size.
    STATS_RejectionEnvelope_MP &operator=(const STATS_RejectionEnvelope_MP &other);
    ~STATS_RejectionEnvelope_MP();

    void addElement(Element *e);
    // Shifts the pointers at i.. up by one and stores e at i (i <= size);
    // i equal to size appends.
    void insertElementAt(Element *e, uint32_t i);
    void setElementAt(Element *e, uint32_t i);
    void removeElementAt(uint32_t i);
    void removeAllElements();
    Element *elementAt(uint32_t i) { return m_elements[i]; }
    const Element *elementAt(uint32_t i) const { return m_elements[i]; }
    uint32_t curCapacity() const { return m_capacity; }
    uint32_t size() const { return m_size; }

    // Grows when size + k >= capacity, to max(size + k, floor(1.25 size)).
    void ensureExtraCapacity(uint32_t k);

private:
    uint32_t m_size = 0;
    uint32_t m_capacity = 0;
    Element **m_elements = nullptr;
};

class STATS_API STATS_EnvelopeGenerator_MP : public STATS_RandomVariateGenerator_MP {
public:
    using Element = STATS_RejectionEnvelopeElement_MP;
    using Callback = STATS_TalvoUtils_MP::TalvoCallbackArgs;

    explicit STATS_EnvelopeGenerator_MP(TKernelVector kv);
    // Frees the pieces, the envelope, the urn and the two callback records.
    ~STATS_EnvelopeGenerator_MP() override;

    // spec = [density, derivative, base points, maximum number of pieces,
    // flag]; the base points a list, or a one-dimensional array of data
    // type 0, 6 or 8.  Raises on a specification of the wrong form; returns
    // reset's answer.
    int initialize(TKernelVector kv, ALGEB spec) override;
    // One variate.  A failed refinement raises "could not evaluate PDF to
    // floating point".
    TalvoFloat next(TKernelVector kv) override;

    // One piece per consecutive pair of base points, in order, then the urn.
    // 0 when a piece cannot be built.  Fewer than two base points raise
    // "expected at least two base points, received %1".
    int reset(TKernelVector kv, ALGEB basepoints);
    // The lower (squeeze) and upper hull of a piece at x.
    TalvoFloat fL(const Element *e, TalvoFloat x) const;
    TalvoFloat fU(const Element *e, TalvoFloat x) const;
    // (Re)computes a piece; 0 (the piece unchanged) when its ends straddle a
    // pole or the density at the split point is undefined.
    int UpdateEnvelopeElement(Element *e, TalvoFloat xL, TalvoFloat xR, TalvoFloat fL, TalvoFloat fR, TalvoFloat dL,
                              TalvoFloat dR);
    // Splits piece `index` at x: the piece keeps [xL, x], a new piece [x, xR]
    // is appended.
    int RefineEnvelope(uint32_t index, TalvoFloat x, TalvoFloat fx, TalvoFloat dx);
    // A point under the piece's upper hull, uniformly.
    TalvoFloat NextFromEnvelopeElement(const Element *e);
    // Rebuilds the urn from the pieces' areas A4.
    void UpdateDispatcher();
    // A callback record for EvalfTalvoProc: the procedure, the flag, one
    // argument, no argument array yet.
    static Callback *CreateTalvoCallback(TKernelVector kv, ALGEB procedure, T_BOOL flag);

    uint32_t maximumElements() const { return m_maximum; }
    const STATS_RejectionEnvelope_MP *envelope() const { return m_envelope.get(); }
    const STATS_AliasUrnGenerator_MP *urn() const { return m_urn.get(); }

private:
    void FreeElements();
    TalvoFloat Evaluate(Callback *c, TalvoFloat *slots, const TalvoFloat &x);

    uint32_t m_maximum = 0;
    std::unique_ptr<STATS_RejectionEnvelope_MP> m_envelope;
    std::unique_ptr<STATS_AliasUrnGenerator_MP> m_urn;
    TKernelVector m_kv;
    std::unique_ptr<Callback> m_density;
    std::unique_ptr<Callback> m_derivative;
};

namespace stats {

// How many candidates in a row a draw may reject before it gives up: a
// density that is zero (or negative) everywhere under a positive envelope
// would otherwise be sampled for ever.  10^6 unless set (tests lower it).
long EnvelopeRejectionLimit();
void SetEnvelopeRejectionLimit(long limit);

// The envelope's initial capacity for a maximum number of pieces: the
// maximum, up to 1024 (a negative maximum reads as 2^32 - 1, no practical
// limit; the envelope grows past 1024 as pieces come).
uint32_t EnvelopeInitialCapacity(uint32_t maximum);

} // namespace stats
