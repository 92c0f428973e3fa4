// sqp.hpp -- the sequential quadratic programming core shared by e04uca
// (a general objective) and e04usa (a sum of squares).
//
// The problem, with l = (x, A x, c(x)):
//
//     minimise F(x)   subject to  bl <= l <= bu.
//
// A model gives F, its gradient, the nonlinear constraints c and their
// Jacobian at a point; the core runs the major iterations (sqp.cpp says how).
#pragma once

#include "common.hpp"

namespace talvo::opt::sqp {

enum class Eval { Ok, Stop, Undefined, Infinite };

class Model {
public:
    virtual ~Model() = default;
    // F (and, with derivs, its gradient g) and c (and the Jacobian J, ncnln
    // x n column-major with leading dimension ncnln) at x.  Finite
    // differences, where the user gives no derivatives, are the model's.
    virtual Eval evaluate(const Vec &x, bool derivs, TalvoFloat &f, Vec &g, Vec &c, Vec &J) = 0;
    // Verify Level: compares the derivatives the user gives with
    // differences at x; false when they disagree.
    virtual bool verify(const Vec &x, long level) = 0;
    // True when the user gives every derivative (no differences).
    virtual bool derivatives_given() const = 0;
};

struct Problem {
    long n = 0, nclin = 0, ncnln = 0;
    const TalvoFloat *a = nullptr; // nclin x n, leading dimension lda
    long lda = 1;
    const TalvoFloat *bl = nullptr, *bu = nullptr; // n + nclin + ncnln
};

// The options the core reads from the save arrays.
struct Settings {
    long major_limit = -1;
    long minor_limit = -1;
    long verify = 0;
    bool warm = false;
    bool scale_first = false; // rescale the identity at the first update
    TalvoFloat opt_tol, nonlin_feas_tol, feas_tol, minor_opt_tol, bigbnd, step_limit;
};
Settings ReadSettings(const Integer *iwsav, const TalvoFloat *rwsav, long n, long nclin, long ncnln);

// What the core reads (warm start) and leaves: istate, clamda (n + nclin +
// ncnln), R (n x n column-major, upper triangular, H = R'R), x.
struct State {
    std::vector<Integer> istate;
    Vec clamda;
    Vec R;
    Vec x;
    TalvoFloat f;
    Vec g, c, J;
    long iter = 0;
};

// Runs the major iterations from s (s.R is the starting factor); returns
// the failure indicator of talvo_mp_optimization.h.
Integer Solve(const Problem &p, Model &model, const Settings &set, State &s);

// Workspace the routines require (the sizes of the published lists; the
// arrays are checked, not used: the routines keep their working storage).
inline Integer RequiredIwork(Integer n, Integer nclin, Integer ncnln) { return 3 * n + nclin + 2 * ncnln; }
inline Integer RequiredWork(Integer n, Integer nclin, Integer ncnln)
{
    if (ncnln == 0 && nclin == 0)
        return 20 * n;
    if (ncnln == 0)
        return 2 * n * n + 20 * n + 11 * nclin;
    return 2 * n * n + n * nclin + 2 * n * ncnln + 20 * n + 11 * nclin + 21 * ncnln;
}

// Derivative Level (which derivatives the user gives), the central
// difference interval and the Verify ranges, from the save arrays.
void ReadDerivativeOptions(const Integer *iwsav, const TalvoFloat *rwsav, bool &obj_derivs, bool &con_derivs,
                           TalvoFloat &interval, long &check_start, long &check_stop, long &con_start,
                           long &con_stop);

// The upper triangular R with R'R = H + shift I (H n x n column-major);
// false when H + shift I is not positive definite to the working precision.
bool Cholesky(const Vec &H, long n, Vec &R);

} // namespace talvo::opt::sqp
