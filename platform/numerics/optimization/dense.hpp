// dense.hpp -- moving TalvoFloat arrays in and out of the MPFR matrices of
// the dense linear algebra (talvo_mp_linalg.h), at the working precision
// plus guard bits.
#pragma once

#include "../talvo_mp_linalg.h"
#include "common.hpp"

namespace talvo::opt {

// The precision of the matrices a minimiser factorises.
inline mpfr_prec_t matrix_precision() { return talvo_float_precision() + 32; }

inline void to_mpfr(mpfr_ptr out, const TalvoFloat &x) { mpfr_set(out, x.mpfr(), MPFR_RNDN); }
inline TalvoFloat from_mpfr(mpfr_srcptr x) { return TalvoFloat::from_handle(talvo_float_from_mpfr(x, 0)); }

} // namespace talvo::opt
