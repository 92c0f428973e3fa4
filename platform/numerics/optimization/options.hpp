// options.hpp -- where the options of the solvers with save arrays live in
// those arrays (set by e04wbf, changed by e04dka, read by e04dga).
#pragma once

#include "common.hpp"

namespace talvo::opt::saved {

// iwsav
constexpr long kMarker = 0;     // kMarkerValue once e04wbf has run
constexpr long kRoutine = 1;    // which routine the arrays belong to (RoutineId)
constexpr long kIterLimit = 2;  // iteration limit; -1: the default max(50, 5n)
constexpr long kPrintLevel = 3; // accepted and kept (this library prints nothing)
constexpr long kVerify = 4;     // verify level: -1, 0 none; 1 (and above) check the gradient
constexpr long kCheckStart = 5; // first variable of the gradient check (1-based)
constexpr long kCheckStop = 6;  // last variable; -1: n
// lwsav
constexpr long kList = 0;          // "List" / "Nolist"
constexpr long kHaveEstimate = 1;  // an estimated optimal value was given
// rwsav (0: the default)
constexpr long kOptTol = 0;
constexpr long kFunPrec = 1;
constexpr long kLineTol = 2;
constexpr long kMaxStep = 3;
constexpr long kEstimate = 4;

constexpr Integer kMarkerValue = 0x45304457; // set by e04wbf

enum RoutineId : Integer { E04DGA = 1, E04MFA, E04NCA, E04NFA, E04UCA, E04USA };

// Every option at its default.
void set_defaults(Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav);

} // namespace talvo::opt::saved
