// eval.hpp -- the evaluator of the host language.
#pragma once

#include "object.hpp"

#include <string_view>

namespace talvo {

// Full evaluation of an expression or statement in the running procedure's
// frame (at top level: globals).
ALGEB eval(ALGEB expr);
// Apply a procedure value (closure, builtin or library entry) to an
// evaluated argument sequence (or a single value).
ALGEB call(ALGEB proc, ALGEB args);
// Numerical evaluation: numbers become floats at `digits` ("Digits" when 0),
// symbolic constants and calls of known functions are evaluated, free names
// stay as they are.
ALGEB evalf(ALGEB x, long digits = 0);

// Bind a builtin to a global name (the name is then protected).
void define_builtin(std::string_view name, BuiltinFn fn, uintptr_t flags = 0);

// Assignment to a global name, with the host's checks ("Digits" must be a
// positive integer, protected names refuse).
void assign_global(ALGEB name, ALGEB value);
// Value of a global name, nullptr when unassigned.
ALGEB global_value(ALGEB name);

// Current "Digits".
long current_digits();

} // namespace talvo
