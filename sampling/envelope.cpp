// envelope.cpp -- the adaptive rejection generator: envelope pieces, their
// hulls and areas, refinement, and the draw.
#include "envelope.hpp"

#include "random_stream.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

long gRejectionLimit = 1000000;

// The first pieces fit without growing for any sensible maximum; a larger
// (or "negative", that is unlimited) maximum grows the array as pieces come
// instead of asking for billions of slots at once.
constexpr uint32_t kInitialCapacityLimit = 1024;

} // namespace

namespace stats {

long EnvelopeRejectionLimit() { return gRejectionLimit; }
void SetEnvelopeRejectionLimit(long limit) { gRejectionLimit = limit; }

uint32_t EnvelopeInitialCapacity(uint32_t maximum) { return std::min(maximum, kInitialCapacityLimit); }

} // namespace stats

// ---------------------------------------------------------------------------
// Pieces and the envelope array
// ---------------------------------------------------------------------------

STATS_RejectionEnvelopeElement_MP::STATS_RejectionEnvelopeElement_MP() = default;

STATS_RejectionEnvelope_MP::STATS_RejectionEnvelope_MP(uint32_t capacity)
    : m_size(0), m_capacity(capacity), m_elements(new Element *[capacity])
{
}

STATS_RejectionEnvelope_MP::STATS_RejectionEnvelope_MP(const STATS_RejectionEnvelope_MP &other)
    : m_size(other.m_size), m_capacity(other.m_capacity), m_elements(new Element *[other.m_capacity])
{
    std::copy(other.m_elements, other.m_elements + other.m_size, m_elements);
}

STATS_RejectionEnvelope_MP &STATS_RejectionEnvelope_MP::operator=(const STATS_RejectionEnvelope_MP &other)
{
    if (this == &other)
        return *this;
    if (m_capacity < other.m_size) {
        delete[] m_elements;
        m_elements = new Element *[other.m_capacity];
        m_capacity = other.m_capacity;
    }
    m_size = other.m_size;
    std::copy(other.m_elements, other.m_elements + other.m_size, m_elements);
    return *this;
}

STATS_RejectionEnvelope_MP::~STATS_RejectionEnvelope_MP() { delete[] m_elements; }

void STATS_RejectionEnvelope_MP::ensureExtraCapacity(uint32_t k)
{
    if (m_size + k < m_capacity)
        return;
    uint32_t grown = static_cast<uint32_t>(1.25 * m_size);
    uint32_t capacity = std::max(m_size + k, grown);
    Element **elements = new Element *[capacity];
    std::copy(m_elements, m_elements + m_size, elements);
    delete[] m_elements;
    m_elements = elements;
    m_capacity = capacity;
}

void STATS_RejectionEnvelope_MP::addElement(Element *e)
{
    ensureExtraCapacity(1);
    m_elements[m_size++] = e;
}

void STATS_RejectionEnvelope_MP::insertElementAt(Element *e, uint32_t i)
{
    if (i == m_size) {
        addElement(e);
        return;
    }
    // Room is made first: shifting a full array up by one would write past
    // its end.
    ensureExtraCapacity(1);
    std::copy_backward(m_elements + i, m_elements + m_size, m_elements + m_size + 1);
    m_elements[i] = e;
    ++m_size;
}

void STATS_RejectionEnvelope_MP::setElementAt(Element *e, uint32_t i) { m_elements[i] = e; }

void STATS_RejectionEnvelope_MP::removeElementAt(uint32_t i)
{
    std::copy(m_elements + i + 1, m_elements + m_size, m_elements + i);
    --m_size;
}

void STATS_RejectionEnvelope_MP::removeAllElements() { m_size = 0; }

// ---------------------------------------------------------------------------
// The generator
// ---------------------------------------------------------------------------

STATS_EnvelopeGenerator_MP::STATS_EnvelopeGenerator_MP(TKernelVector kv)
    : STATS_RandomVariateGenerator_MP(kv), m_kv(kv)
{
}

STATS_EnvelopeGenerator_MP::~STATS_EnvelopeGenerator_MP() { FreeElements(); }

void STATS_EnvelopeGenerator_MP::FreeElements()
{
    if (!m_envelope)
        return;
    for (uint32_t i = 0; i < m_envelope->size(); ++i)
        delete m_envelope->elementAt(i);
    m_envelope->removeAllElements();
}

STATS_EnvelopeGenerator_MP::Callback *STATS_EnvelopeGenerator_MP::CreateTalvoCallback(TKernelVector, ALGEB procedure,
                                                                                     T_BOOL flag)
{
    return new Callback{procedure, reinterpret_cast<void *>(static_cast<intptr_t>(flag)), 1, nullptr};
}

TalvoFloat STATS_EnvelopeGenerator_MP::Evaluate(Callback *c, TalvoFloat *slots, const TalvoFloat &x)
{
    slots[1] = x;
    c->args = slots;
    return STATS_TalvoUtils_MP::EvalfTalvoProc(c);
}

int STATS_EnvelopeGenerator_MP::initialize(TKernelVector kv, ALGEB spec)
{
    if (!IsTalvoList(kv, spec) || TalvoListLength(kv, spec) != 5)
        TalvoRaiseError1(kv, "expected: list of size 5, received: %1", spec);
    ALGEB maximum = TalvoListSelect(kv, spec, 4);
    if (!IsTalvoInteger32(kv, maximum))
        TalvoRaiseError1(kv, "invalid maximum number of envelope elements, expected: positive integer, received %1",
                         maximum);
    T_BOOL flag = TalvoToT_BOOL(kv, TalvoListSelect(kv, spec, 5));
    ALGEB base = TalvoListSelect(kv, spec, 3);
    if (!IsTalvoList(kv, base)) {
        if (!IsTalvoRTable(kv, base) || RTableNumDimensions(kv, base) != 1)
            TalvoRaiseError1(kv, "expected base points as list or one-dimensional array, received %1", base);
        RTableSettings s;
        RTableGetSettings(kv, &s, base);
        if (s.data_type != RTABLE_DAG && s.data_type != RTABLE_FLOAT64 && s.data_type != RTABLE_FLOAT32)
            TalvoRaiseError1(kv, "expected array of floats, received %1", base);
    }

    FreeElements();
    m_density.reset(CreateTalvoCallback(kv, TalvoListSelect(kv, spec, 1), flag));
    m_derivative.reset(CreateTalvoCallback(kv, TalvoListSelect(kv, spec, 2), flag));
    // Compared as unsigned: a negative maximum is no practical limit.
    m_maximum = static_cast<uint32_t>(TalvoToInteger32(kv, maximum));
    m_envelope.reset(new STATS_RejectionEnvelope_MP(stats::EnvelopeInitialCapacity(m_maximum)));
    m_urn.reset(new STATS_AliasUrnGenerator_MP(0, 0, nullptr));
    return reset(kv, base);
}

int STATS_EnvelopeGenerator_MP::reset(TKernelVector kv, ALGEB basepoints)
{
    std::vector<TalvoFloat> p;
    if (IsTalvoList(kv, basepoints)) {
        M_INT k = TalvoListLength(kv, basepoints);
        for (M_INT i = 1; i <= k; ++i)
            p.push_back(STATS_TalvoFloatToDouble_MP(kv, TalvoListSelect(kv, basepoints, i)));
    } else {
        RTableSettings s;
        RTableGetSettings(kv, &s, basepoints);
        M_INT index[2] = {0, 1};
        for (index[0] = RTableLowerBound(kv, basepoints, 1); index[0] <= RTableUpperBound(kv, basepoints, 1); ++index[0])
            p.push_back(RTableDataToDouble(kv, RTableSelect(kv, basepoints, index), s.data_type));
    }
    // With fewer than two points there is no piece, and a draw from the
    // empty urn would never end.
    if (p.size() < 2)
        TalvoRaiseError1(kv, "expected at least two base points, received %1", basepoints);

    FreeElements();
    TalvoFloat slots[2];
    for (size_t i = 1; i < p.size(); ++i) {
        TalvoFloat fa = Evaluate(m_density.get(), slots, p[i - 1]);
        TalvoFloat fb = Evaluate(m_density.get(), slots, p[i]);
        TalvoFloat da = Evaluate(m_derivative.get(), slots, p[i - 1]);
        TalvoFloat db = Evaluate(m_derivative.get(), slots, p[i]);
        std::unique_ptr<Element> e(new Element);
        if (!UpdateEnvelopeElement(e.get(), p[i - 1], p[i], fa, fb, da, db))
            return 0;
        m_envelope->addElement(e.release());
    }
    UpdateDispatcher();
    return 1;
}

int STATS_EnvelopeGenerator_MP::UpdateEnvelopeElement(Element *e, TalvoFloat xL, TalvoFloat xR, TalvoFloat fL,
                                                      TalvoFloat fR, TalvoFloat dL, TalvoFloat dR)
{
    // The argument slots and the split point live in statics shared by every
    // generator (the host's calls are single-threaded).
    static TalvoFloat slots[2];
    static TalvoFloat xM;
    const TalvoFloat half(0.5);

    if (dL == dR)
        xM = (xL + xR) * half;
    else
        xM = (fR - fL + dL * xL - dR * xR) / (dL - dR);
    if (xM <= xL || xM >= xR) {
        // The tangents meet outside the piece.  Slopes that are both
        // enormous and unlike mean the piece straddles a pole.
        TalvoFloat a = fabs(dL), b = fabs(dR);
        TalvoFloat m = a < b ? a : b, M = a < b ? b : a;
        TalvoFloat T = pow(10.0, TalvoFloat(STATS_GetTalvoDigits_MP() / 2.0));
        if (m < half * M && m >= T)
            return 0;
        xM = (xL + xR) * half;
    }
    TalvoFloat fM = Evaluate(m_density.get(), slots, xM);
    if (IsTalvoFloatUndefined(fM))
        return 0;
    TalvoFloat sL = (fM - fL) / (xM - xL);
    TalvoFloat sR = (fR - fM) / (xR - xM);
    bool concave = dL > sL;
    TalvoFloat yU = concave ? fL + dL * (xM - xL) : fL + sL * (xM - xL);

    e->xL = xL;
    e->xR = xR;
    e->fL = fL;
    e->fR = fR;
    e->xM = xM;
    e->fM = fM;
    e->dL = dL;
    e->dR = dR;
    e->sL = sL;
    e->sR = sR;
    e->concave = concave;

    TalvoFloat w = xM - xL;
    if (yU > fL) {
        e->leftRising = true;
        e->A1 = fL * w;
        e->A2 = e->A1 + half * (yU - fL) * w;
    } else {
        e->leftRising = false;
        e->A1 = yU * w;
        e->A2 = e->A1 + half * (fL - yU) * w;
    }
    TalvoFloat v = xR - xM;
    if (fR > yU) {
        e->rightRising = true;
        e->A3 = e->A2 + yU * v;
        e->A4 = e->A3 + half * (fR - yU) * v;
    } else {
        e->rightRising = false;
        e->A3 = e->A2 + fR * v;
        e->A4 = e->A3 + half * (yU - fR) * v;
    }
    return 1;
}

TalvoFloat STATS_EnvelopeGenerator_MP::fL(const Element *e, TalvoFloat x) const
{
    // The squeeze: chords on a concave piece, tangents on a convex one.
    if (x < e->xM)
        return e->fL + (e->concave ? e->sL : e->dL) * (x - e->xL);
    return e->fR + (e->concave ? e->sR : e->dR) * (x - e->xR);
}

TalvoFloat STATS_EnvelopeGenerator_MP::fU(const Element *e, TalvoFloat x) const
{
    // The upper hull: tangents on a concave piece, chords on a convex one.
    if (x < e->xM)
        return e->fL + (e->concave ? e->dL : e->sL) * (x - e->xL);
    return e->fR + (e->concave ? e->dR : e->sR) * (x - e->xR);
}

TalvoFloat STATS_EnvelopeGenerator_MP::NextFromEnvelopeElement(const Element *e)
{
    TalvoFloat u1 = STATS_TalvoRandomStream_MP::NextDouble();
    TalvoFloat u2 = STATS_TalvoRandomStream_MP::NextDouble();
    TalvoFloat a = u1 * e->A4;
    if (a <= e->A1)
        return e->xL + (e->xM - e->xL) * u2;
    if (a <= e->A2) {
        // The triangle: the larger of two uniforms rises toward xM, the
        // smaller falls.
        TalvoFloat u3 = STATS_TalvoRandomStream_MP::NextDouble();
        TalvoFloat w = e->leftRising ? (u2 < u3 ? u3 : u2) : (u3 < u2 ? u3 : u2);
        return e->xL + (e->xM - e->xL) * w;
    }
    if (a <= e->A3)
        return e->xM + (e->xR - e->xM) * u2;
    TalvoFloat u3 = STATS_TalvoRandomStream_MP::NextDouble();
    TalvoFloat w = e->rightRising ? (u2 < u3 ? u3 : u2) : (u3 < u2 ? u3 : u2);
    return e->xM + (e->xR - e->xM) * w;
}

int STATS_EnvelopeGenerator_MP::RefineEnvelope(uint32_t index, TalvoFloat x, TalvoFloat fx, TalvoFloat dx)
{
    Element *e = m_envelope->elementAt(index);
    TalvoFloat xR = e->xR, fR = e->fR, dR = e->dR;
    if (!UpdateEnvelopeElement(e, e->xL, x, e->fL, fx, e->dL, dx))
        return 0;
    std::unique_ptr<Element> right(new Element);
    if (!UpdateEnvelopeElement(right.get(), x, xR, fx, fR, dx, dR))
        return 0;
    m_envelope->addElement(right.release());
    return 1;
}

void STATS_EnvelopeGenerator_MP::UpdateDispatcher()
{
    uint32_t n = m_envelope->size();
    std::vector<TalvoFloat> weights(n);
    for (uint32_t j = 0; j < n; ++j)
        weights[j] = m_envelope->elementAt(j)->A4;
    m_urn->Reset(static_cast<int>(n), static_cast<int>(n), weights.data());
}

TalvoFloat STATS_EnvelopeGenerator_MP::next(TKernelVector kv)
{
    // The argument slots and the candidate live in statics shared by every
    // generator (the host's calls are single-threaded).
    static TalvoFloat slots[2];
    static TalvoFloat x;
    const TalvoFloat squeezeShare(0.9);
    for (long rejected = 0;; ++rejected) {
        if (rejected >= gRejectionLimit)
            TalvoRaiseError1(kv,
                             "adaptive rejection sampling rejected %1 candidates in a row: the density must be "
                             "positive under its envelope",
                             ToTalvoInteger(kv, rejected));
        int i = m_urn->Next();
        Element *e = m_envelope->elementAt(static_cast<uint32_t>(i));
        x = NextFromEnvelopeElement(e);
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        TalvoFloat v = u * fU(e, x);
        TalvoFloat l = fL(e, x);
        if (v < l)
            return x;
        TalvoFloat fx = Evaluate(m_density.get(), slots, x);
        if (m_envelope->size() < m_maximum && (v > fx || l < squeezeShare * fx)) {
            TalvoFloat dx = Evaluate(m_derivative.get(), slots, x);
            if (!RefineEnvelope(static_cast<uint32_t>(i), x, fx, dx))
                TalvoRaiseError(m_kv, "could not evaluate PDF to floating point");
            UpdateDispatcher();
        }
        if (v < fx)
            return x;
    }
}
