// eval.hpp -- the evaluator of the host language.
#pragma once

#include "errors.hpp"
#include "object.hpp"

#include <string_view>
#include <vector>

namespace talvo {

// Set up the evaluator: "Digits" (10), the float library's binding to the
// host, the recursion guard (measured from the caller's stack position).
void init_evaluator();
// Re-measure the recursion guard from the caller's stack position.
void reset_stack_guard();
// The step budget: with a budget of n (> 0), each expression evaluated and
// each statement run counts one step, and the first step past n raises "the
// computation exceeded its budget of n evaluation steps".  Setting a budget
// (0: none, the default) starts the count again.  A program embedding the
// host sets it before running untrusted text, so a script cannot loop for ever.
void set_step_budget(uint64_t steps);
uint64_t steps_taken(); // steps counted since the budget was last set

// Full evaluation of an expression or statement in the running procedure's
// frame (at top level: globals).
ALGEB eval(ALGEB expr);
// Apply a procedure value (closure, builtin or library entry) to an
// evaluated argument sequence (or a single value).
ALGEB call(ALGEB proc, ALGEB args);
// Apply the procedure a name stands for (a library entry when unassigned).
ALGEB call_by_name(std::string_view name, ALGEB args);
// Numerical evaluation: numbers become floats at `digits` ("Digits" when 0),
// symbolic constants and calls of known functions are evaluated, free names
// stay as they are.
ALGEB evalf(ALGEB x, long digits = 0);
// The host function `name` (sqrt, exp, ln, sin, ...) at a float, as a float
// (the float library's TalvoEvalf1).
ALGEB evalf_function(const char *name, ALGEB x);

// Evaluate a condition to true or false; raises when it cannot be decided.
bool is_true(ALGEB cond);
// true_value(), false_value(), or nullptr when an evaluated relation or
// boolean cannot be decided.
ALGEB decide_relation(ALGEB value);
// The arithmetic of evaluated operands (T_SUM, T_PROD or T_POWER): numbers
// fold, anything symbolic stays.
ALGEB fold(Type t, const std::vector<ALGEB> &operands);

// Assignment to a name, a procedure variable or an indexed name.
void assign(ALGEB target, ALGEB value);
// Assignment to a global name, with the host's checks ("Digits" must be a
// positive integer, protected names refuse).
void assign_global(ALGEB name, ALGEB value);
void unassign_global(ALGEB name);
// Value of a global name, nullptr when unassigned.
ALGEB global_value(ALGEB name);
// A caught error: its text becomes the value of `lasterror`.
void remember_error(const HostError &e);

// Current "Digits", and a checked change of it.
long current_digits();
void set_digits(long digits);

// The running procedure's arguments.
ALGEB procedure_arguments();

// Bind a builtin to a global name (the name is then protected).
void define_builtin(std::string_view name, BuiltinFn fn, uintptr_t flags = 0);
void define_builtins(); // all of the host's builtins (builtins.cpp)

// The error statement and the error builtin: the first argument is the
// message template, %1 and %2 take the next ones.
[[noreturn]] void error_from_arguments(ALGEB args);

} // namespace talvo
