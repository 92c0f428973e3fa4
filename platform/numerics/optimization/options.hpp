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
// The linear, quadratic and nonlinear programming solvers (e04mfa, e04nca,
// e04nfa, e04uca, e04usa) and the integer LP (h02bbf) use these as well.
constexpr long kMinorIterLimit = 7; // QP subproblem iteration limit (SQP); -1: default
constexpr long kProblemType = 8;    // ProblemType below; 0: the routine's default
constexpr long kWarmStart = 9;      // 0 "Cold Start", 1 "Warm Start", 2 "Hot Start"
constexpr long kDerivLevel = 10;    // SQP "Derivative Level" 0-3; -1: 3
constexpr long kHessianOpt = 11;    // SQP "Hessian No" 0 / "Hessian Yes" 1
constexpr long kExpandFreq = 12;    // anti-cycling "Expand Frequency"; -1: default
constexpr long kMaxDegFree = 13;    // "Maximum Degrees of Freedom"; -1: n
constexpr long kConCheckStart = 14; // "Start Constraint Check At Variable"
constexpr long kConCheckStop = 15;  // "Stop Constraint Check At Variable"; -1: n
constexpr long kMinorPrint = 16;    // "Minor Print Level" (accepted and kept)
constexpr long kCentralDiffs = 17;  // SQP uses central differences (1) or forward (0)
// slots 18-99 of iwsav are free for the routines' own state
// lwsav
constexpr long kList = 0;          // "List" / "Nolist"
constexpr long kHaveEstimate = 1;  // an estimated optimal value was given
// rwsav (0: the default)
constexpr long kOptTol = 0;
constexpr long kFunPrec = 1;
constexpr long kLineTol = 2;
constexpr long kMaxStep = 3;
constexpr long kEstimate = 4;
constexpr long kFeasTol = 5;      // "Feasibility Tolerance" (linear constraints, bounds)
constexpr long kInfBound = 6;     // "Infinite Bound Size" (default 1e20)
constexpr long kInfStep = 7;      // "Infinite Step Size" (default max(bigbnd, 1e20))
constexpr long kCrashTol = 8;     // "Crash Tolerance"
constexpr long kRankTol = 9;      // "Rank Tolerance"
constexpr long kNonlinFeasTol = 10; // "Nonlinear Feasibility Tolerance"
constexpr long kDiffInterval = 11;  // "Difference Interval"
constexpr long kCentralInterval = 12; // "Central Difference Interval"
constexpr long kStepLimit = 13;   // SQP "Step Limit" (default 2)
constexpr long kMinorOptTol = 14; // "Minor Optimality Tolerance"
// slots 15-99 of rwsav are free for the routines' own state

constexpr Integer kMarkerValue = 0x45304457; // set by e04wbf

enum RoutineId : Integer { E04DGA = 1, E04MFA, E04NCA, E04NFA, E04UCA, E04USA, H02BBF };

// The "Problem Type" of e04mfa / e04nca / e04nfa.
enum ProblemType : Integer { kFP = 1, kLP, kQP1, kQP2, kQP3, kQP4, kLS1, kLS2, kLS3, kLS4 };

// Every option at the default of routine `routine` (slots 2 and up of
// iwsav, every slot of lwsav and rwsav; the marker and the routine id are
// left alone).  Tolerances whose default depends on "Digits" are stored as
// 0 and derived when the solver runs, so that a change of "Digits" between
// e04wbf and the solve is followed.  The defaults, with D = "Digits" and
// eps = 10^-D (talvo_mp_optimization.h lists them per routine):
//   iteration limits -1 (the solver's default), print levels 10 (minor 0),
//   verify level 0, check ranges 1..n, "Cold Start", "Expand Frequency" -1,
//   "Maximum Degrees of Freedom" -1 (n), "Derivative Level" 3 (SQP),
//   "Hessian No", "Problem Type" LP (e04mfa, h02bbf), LS1 (e04nca), QP2
//   (e04nfa), "Infinite Bound Size" 1e20, "Infinite Step Size" 0 (that is
//   max(bigbnd, 1e20)), "Crash Tolerance" 0.01, "Linesearch Tolerance" 0.9,
//   "Step Limit" 2, "Maximum Step Length" 1e20 (e04dga), every other real 0.
void set_defaults(Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, RoutineId routine = E04DGA);

// One option string for routine `routine` (the grammar of e04dka, that
// routine's keyword table); returns the inform code of the setters.
Integer set_option(RoutineId routine, const char *str, int str_length, Integer *lwsav, Integer *iwsav,
                   TalvoFloat *rwsav);

} // namespace talvo::opt::saved
