// active_set.hpp -- the dense active-set engine for linear and quadratic
// programs: one engine behind the linear program and feasible point
// (e04mfa), the convex quadratic program and linearly constrained least
// squares (e04nca), the quadratic program with a Hessian product (e04nfa),
// the nodes of the integer LP (h02bbf) and the subproblems of the SQP
// solvers (e04uca, e04usa).
//
// The problem, with l = (x, C x):
//
//     minimise  q(x)   subject to  bl <= l <= bu,
//
//   FP          q = 0 (a feasible point)
//   LP          q = c'x
//   QP1, QP2    q = c'x + 1/2 x'Hx        (H symmetric n x n)
//   QP3, QP4    q = c'x + 1/2 x'A'Ax      (A m x n)
//   LS1..LS4    q = c'x + 1/2 ||b - A x||^2
//
// An entry of bl at or below -bigbnd (bu at or above bigbnd) is no bound;
// bl = bu is an equality.  The method: two phases (a feasible point by
// minimising the sum of infeasibilities, then optimality), a working set of
// bounds and general constraints held in a TQ factorisation
// (W Q = (0 T), T reverse-triangular), and for the quadratic types the
// Cholesky factor of the reduced Hessian Z'HZ updated (not refactorised)
// as constraints enter and leave, inertia-controlling so that a nonconvex
// problem gives a local minimiser (Gill, Murray, Saunders and Wright,
// LSSOL 1986 and QPOPT 1995; "Inertia-controlling methods for general
// quadratic programming", SIAM Review 1991).  Degenerate steps are handled
// by the EXPAND procedure (Gill, Murray, Saunders and Wright 1989), so
// cycling problems finish.
#pragma once

#include "common.hpp"

#include <functional>

namespace talvo::opt::qp {

enum class Type { FP, LP, QP1, QP2, QP3, QP4, LS1, LS2, LS3, LS4 };

struct Problem {
    Type type = Type::LP;
    long n = 0;                       // variables
    long nclin = 0;                   // general linear constraints
    const TalvoFloat *C = nullptr;    // nclin x n, column-major, leading dimension ldc
    long ldc = 1;
    const TalvoFloat *bl = nullptr;   // n + nclin
    const TalvoFloat *bu = nullptr;   // n + nclin
    const TalvoFloat *cvec = nullptr; // n, or null for no linear term
    // QP1/QP2: H (n x n, leading dimension lda); QP3/QP4 and LS: A (m x n).
    const TalvoFloat *A = nullptr;
    long lda = 1;
    long m = 0;
    const TalvoFloat *b = nullptr;    // LS: m
    // Instead of H: hx = H x (jthcol > 0 says x is the unit vector e_jthcol).
    // Set for the product form; then A is not read for QP1/QP2.
    std::function<void(const TalvoFloat *x, TalvoFloat *hx, long jthcol)> hess;
};

struct Options {
    long iter_limit = -1;   // -1: max(50, 5(n + nclin)) scaled with the precision
    TalvoFloat feas_tol;    // 0: default eps^(1/2)-ish, derived from "Digits"
    TalvoFloat opt_tol;     // 0: default
    TalvoFloat bigbnd;      // 0: 1e20
    bool warm = false;      // istate gives the starting working set
    long expand_freq = -1;  // -1: default
    long max_free = -1;     // bound on the degrees of freedom; -1: n
};

// istate (n + nclin) on exit: 0 free, 1 at its lower bound, 2 at its upper
// bound, 3 equality, -2 / -1 below its lower / above its upper bound
// (infeasible exit), 4 temporarily fixed at a value between the bounds.
// On entry with warm = true, 1, 2, 3 (and 4 for variables) name the
// starting working set.
struct Result {
    int inform = 0; // 0 optimal; 1 weak minimum (not unique); 2 unbounded;
                    // 3 infeasible; 4 iteration limit; 5 reduced Hessian
                    // too large (max_free); 6 invalid input
    long iter = 0;
    TalvoFloat obj; // q(x) (phase 1: the sum of infeasibilities)
};

// x (n): start (any point), on exit the solution; ax (nclin): C x on exit;
// clamda (n + nclin): the multipliers (>= 0 at a lower bound, <= 0 at an
// upper bound at a minimiser).  Any of ax, clamda may be null.
Result solve(const Problem &p, const Options &o, Integer *istate, TalvoFloat *x, TalvoFloat *ax, TalvoFloat *clamda);

} // namespace talvo::opt::qp
