// generator.hpp -- the random variate generators that the generic sample
// entry draws from: an abstract generator, and the default generator that
// wraps one distribution's variate function chosen by a type code.  The
// adaptive rejection generator (envelope.hpp) is the other kind.
#pragma once

#include "stats_api.h"

#include <cstdint>
#include <memory>

// A source of variates.  The virtual functions come in this order: the
// destructor (complete and deleting), initialize, next.  initialize and next
// are pure, but have bodies (returning 1 and the float zero).
class STATS_API STATS_RandomVariateGenerator_MP {
public:
    explicit STATS_RandomVariateGenerator_MP(TKernelVector kv);
    virtual ~STATS_RandomVariateGenerator_MP();

    // 1 when the generator is ready to draw, 0 when its specification is
    // unusable.  A specification of the wrong form raises a host error.
    virtual int initialize(TKernelVector kv, ALGEB spec) = 0;
    virtual TalvoFloat next(TKernelVector kv) = 0;
};

// Draws from one of the distributions' parameter-array variate functions.
// The specification is [typecode, [c1, ..., ck]], k <= 5; the codes number
// the distributions alphabetically (1 Bernoulli ... 33 Weibull; 7 and 32 are
// unassigned).
class STATS_API STATS_DefaultGenerator_MP : public STATS_RandomVariateGenerator_MP {
public:
    using VariateFunction = TalvoFloat (*)(TKernelVector, const TalvoFloat *);

    explicit STATS_DefaultGenerator_MP(TKernelVector kv);
    ~STATS_DefaultGenerator_MP() override;

    // Checks the specification's form (raising "expected: list, received:
    // %1", "expected: list of size 2, received: %1", "invalid random variate
    // type, expected: integer, received: %1", "expected: list of coefficients,
    // received: %1", "invalid number of parameters: %1" in that order), then
    // returns 0 for a code that names no distribution, else converts the
    // coefficients into the five parameters (one that does not evaluate to a
    // float stays 0) and returns 1.
    int initialize(TKernelVector kv, ALGEB spec) override;
    TalvoFloat next(TKernelVector kv) override;

    // The variate function of a type code; null for 0, 7, 32, negative
    // codes and codes above 33.
    static VariateFunction FunctionOfType(int code);

    VariateFunction function() const { return m_function; }
    int parameterCount() const { return m_count; }
    const TalvoFloat *parameters() const { return m_parameters.get(); }

private:
    VariateFunction m_function = nullptr;
    int32_t m_count = 0;
    std::unique_ptr<TalvoFloat[]> m_parameters;
};
