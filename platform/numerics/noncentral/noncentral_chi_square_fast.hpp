// noncentral_chi_square_fast.hpp -- g01gcc's cheap first step: the lower
// tail of the non-central chi-square distribution correctly rounded to at
// most 64 bits from a double-double evaluation with a proven error bound.
#pragma once

#include "mixture.hpp"

namespace talvo::mp {

// out = P(X <= x) for df > 0, lambda > 0, x > 0 (component: the mixture the
// ball path sums, for its start index), correctly rounded to
// target.out_prec bits.  False, with out untouched, where the bound does not
// decide the rounding, where the ball path would run out of max_iter
// iterations or re-plan its sum, and outside the range the evaluation
// covers (x/2, lambda/2 <= 300, df/2 <= 1000, inputs of at most 64 bits,
// fast paths off, fewer digits asked for than the precision carries).
bool g01gcc_fast(TalvoFloat &out, const TalvoFloat &x, const TalvoFloat &df, const TalvoFloat &lambda,
                 const MixtureComponent &component, const Target &target, Integer max_iter);

} // namespace talvo::mp
