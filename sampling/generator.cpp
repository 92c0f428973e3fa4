// generator.cpp -- the abstract and the default random variate generators,
// and the generic sample entry that draws from a list of generators.
#include "generator.hpp"

#include "discrete_distributions.hpp"
#include "distributions.hpp"
#include "entry_frame.hpp"
#include "envelope.hpp"
#include "sampling_distributions.hpp"
#include "sampling_support.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"
#include "variate_algorithms.hpp"

#include <vector>

namespace {

// The type codes of the default generator: the distributions in
// alphabetical order, as the host side numbers them.  Codes 7 and 32 are
// unassigned.
constexpr int kLastTypeCode = 33;

const STATS_DefaultGenerator_MP::VariateFunction kVariateFunctions[kLastTypeCode + 1] = {
    nullptr,                                  // 0
    STATS_BernoulliRandomVariate_MP,          // 1
    STATS_BetaRandomVariate_MP,               // 2
    STATS_BinomialRandomVariate_MP,           // 3
    STATS_CauchyRandomVariate_MP,             // 4
    STATS_ChiSquareRandomVariate_MP,          // 5
    STATS_DiscreteUniformRandomVariate_MP,    // 6
    nullptr,                                  // 7
    STATS_ErrorRandomVariate_MP,              // 8
    STATS_ExponentialRandomVariate_MP,        // 9
    STATS_FRatioRandomVariate_MP,             // 10
    STATS_GammaRandomVariate_MP,              // 11
    STATS_GeometricRandomVariate_MP,          // 12
    STATS_GumbelRandomVariate_MP,             // 13
    STATS_HypergeometricRandomVariate_MP,     // 14
    STATS_InverseGaussianRandomVariate_MP,    // 15
    STATS_LaplaceRandomVariate_MP,            // 16
    STATS_LogisticRandomVariate_MP,           // 17
    STATS_LogNormalRandomVariate_MP,          // 18
    STATS_MaxwellRandomVariate_MP,            // 19
    STATS_MoyalRandomVariate_MP,              // 20
    STATS_NegativeBinomialRandomVariate_MP,   // 21
    STATS_NonCentralBetaRandomVariate_MP,     // 22
    STATS_NonCentralStudentTRandomVariate_MP, // 23
    STATS_NormalRandomVariate_MP,             // 24
    STATS_ParetoRandomVariate_MP,             // 25
    STATS_PoissonRandomVariate_MP,            // 26
    STATS_PowerRandomVariate_MP,              // 27
    STATS_RayleighRandomVariate_MP,           // 28
    STATS_StudentTRandomVariate_MP,           // 29
    STATS_TriangularRandomVariate_MP,         // 30
    STATS_UniformRandomVariate_MP,            // 31
    nullptr,                                  // 32
    STATS_WeibullRandomVariate_MP,            // 33
};

constexpr int kMaxParameters = 5;

void *ToInteger64Trapped(void *a)
{
    TalvoToInteger64(STATS_TalvoUtils_MP::gTKernelVector, static_cast<ALGEB>(a));
    return a;
}

// An integer that fits in 8 bytes.
bool IsInteger64(TKernelVector kv, ALGEB a)
{
    if (!IsTalvoInteger(kv, a))
        return false;
    if (IsTalvoInteger32(kv, a))
        return true;
    T_BOOL failed = 0;
    TalvoTrapError(kv, ToInteger64Trapped, a, &failed);
    return !failed;
}

// The type code as a conversion of the integer to the host's native
// boolean (a 32-bit int) gives it: its low 32 bits.  The reference host's
// boolean conversion takes only true and false, so the integer is read
// whole and cut to those bits here; 2^32 + 24 reads as 24.
int TypeCode(TKernelVector kv, ALGEB a)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(TalvoToInteger64(kv, a))));
}

} // namespace

// ---------------------------------------------------------------------------
// The abstract generator
// ---------------------------------------------------------------------------

STATS_RandomVariateGenerator_MP::STATS_RandomVariateGenerator_MP(TKernelVector) {}

STATS_RandomVariateGenerator_MP::~STATS_RandomVariateGenerator_MP() = default;

int STATS_RandomVariateGenerator_MP::initialize(TKernelVector, ALGEB) { return 1; }

TalvoFloat STATS_RandomVariateGenerator_MP::next(TKernelVector) { return TalvoFloat(); }

// ---------------------------------------------------------------------------
// The default generator
// ---------------------------------------------------------------------------

STATS_DefaultGenerator_MP::STATS_DefaultGenerator_MP(TKernelVector kv) : STATS_RandomVariateGenerator_MP(kv) {}

STATS_DefaultGenerator_MP::~STATS_DefaultGenerator_MP() = default;

STATS_DefaultGenerator_MP::VariateFunction STATS_DefaultGenerator_MP::FunctionOfType(int code)
{
    if (code < 0 || code > kLastTypeCode)
        return nullptr;
    return kVariateFunctions[code];
}

int STATS_DefaultGenerator_MP::initialize(TKernelVector kv, ALGEB spec)
{
    if (!IsTalvoList(kv, spec))
        TalvoRaiseError1(kv, "expected: list, received: %1", spec);
    if (TalvoListLength(kv, spec) != 2)
        TalvoRaiseError1(kv, "expected: list of size 2, received: %1", spec);
    ALGEB type = TalvoListSelect(kv, spec, 1);
    if (!IsInteger64(kv, type))
        TalvoRaiseError1(kv, "invalid random variate type, expected: integer, received: %1", type);
    ALGEB coefficients = TalvoListSelect(kv, spec, 2);
    if (!IsTalvoList(kv, coefficients))
        TalvoRaiseError1(kv, "expected: list of coefficients, received: %1", coefficients);
    m_count = static_cast<int32_t>(TalvoListLength(kv, coefficients));
    if (m_count > kMaxParameters)
        TalvoRaiseError1(kv, "invalid number of parameters: %1", coefficients);

    m_parameters.reset(new TalvoFloat[kMaxParameters]);
    m_function = FunctionOfType(TypeCode(kv, type));
    if (m_function == nullptr)
        return 0;
    for (int i = 1; i <= m_count; ++i)
        STATS_TalvoUtils_MP::TalvoDAGToDouble(TalvoListSelect(kv, coefficients, i), &m_parameters[i - 1]);
    return 1;
}

TalvoFloat STATS_DefaultGenerator_MP::next(TKernelVector kv) { return m_function(kv, m_parameters.get()); }

// ---------------------------------------------------------------------------
// The generic sample entry
// ---------------------------------------------------------------------------

STATS_ENTRY ALGEB STATS_TalvoRandomSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    ALGEB output = f.arg(1);
    ALGEB specs = f.arg(3);
    if (!IsTalvoList(kv, specs))
        TalvoRaiseError1(kv, "expected: talvo list, received: %1", specs);
    M_INT k = TalvoListLength(kv, specs);
    if (k == 0)
        return output;

    RTableSettings s;
    RTableGetSettings(kv, &s, output);
    if (s.storage != RTABLE_RECT)
        TalvoRaiseError1(kv, "output rtable has invalid storage type %1", stats::sampling::StorageName(kv, s.storage));
    if (!stats::sampling::IsFloatArray(kv, s))
        TalvoRaiseError1(kv, "output rtable has invalid data type %1", stats::sampling::DataTypeName(kv, s));
    M_INT n = RTableNumElements(kv, output);
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, output));

    // Every generator is built and initialised, in list order, whether it
    // will be drawn from or not.
    std::vector<std::unique_ptr<STATS_RandomVariateGenerator_MP>> generators;
    for (M_INT i = 1; i <= k; ++i) {
        ALGEB spec = TalvoListSelect(kv, specs, i);
        int kind = TalvoToInteger32(kv, TalvoListSelect(kv, spec, 1));
        if (kind == 1)
            generators.push_back(std::make_unique<STATS_EnvelopeGenerator_MP>(kv));
        else
            generators.push_back(std::make_unique<STATS_DefaultGenerator_MP>(kv));
        if (!generators.back()->initialize(kv, TalvoListSelect(kv, spec, 2))) {
            generators.clear();
            TalvoRaiseError1(kv, "unable to initialize random variate generator with parameters %1", spec);
        }
    }

    ALGEB proc = f.arg(2);
    if (stats::sampling::IsNullArgument(kv, proc)) {
        // Only the first generator is drawn from.
        for (M_INT j = 0; j < n; ++j)
            out[j] = generators[0]->next(kv);
        return output;
    }
    if (!IsTalvoProcedure(kv, proc))
        TalvoRaiseError1(kv, "expected: talvo procedure, received: %1", proc);
    T_BOOL flag = f.flag(4);
    int count = static_cast<int>(k);
    std::vector<TalvoFloat> slots(static_cast<size_t>(count) + 1);
    STATS_TalvoUtils_MP::TalvoCallbackArgs call{proc, reinterpret_cast<void *>(static_cast<intptr_t>(flag)), count,
                                               slots.data()};
    for (M_INT j = 0; j < n; ++j) {
        for (int g = 0; g < count; ++g)
            slots[static_cast<size_t>(g) + 1] = generators[static_cast<size_t>(g)]->next(kv);
        out[j] = STATS_TalvoUtils_MP::EvalfTalvoProc(&call);
    }
    return output;
}
