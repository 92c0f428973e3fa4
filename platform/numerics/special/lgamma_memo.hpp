// lgamma_memo.hpp -- ln Gamma of exact arguments, remembered.
//
// The series of the incomplete gamma and beta functions and the weights of
// the non-central mixtures take ln Gamma at a handful of exact rationals per
// call (the rung a + j, the term where a tail bound starts, the peak).  A
// root search or a sample calls them again and again with the same shape and
// nearby points, so the same arguments recur: the last values are kept, per
// thread, and handed back as they were computed.  A remembered value is the
// ball arb_hypgeom_lgamma gave for that argument at that precision, so a
// result does not depend on whether it came from the table.
#pragma once

#include "../core/arb_types.hpp"

namespace talvo::mp {

// r = ln Gamma(s) at precision prec, as arb_hypgeom_lgamma(r, s, prec); r may
// be s.  Exact arguments of at most two limbs are looked up first, at
// precisions up to kLgammaMemoMaxPrec bits (so the table holds at most about a
// megabyte); any other call is passed through.  TalvoMP_set_lgamma_memo
// (talvo_mp.h) turns the table off and on.
constexpr slong kLgammaMemoMaxPrec = 8192;
void lgamma_memo(arb_ptr r, arb_srcptr s, slong prec);

} // namespace talvo::mp
