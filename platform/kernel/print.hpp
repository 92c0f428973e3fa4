// print.hpp -- printed forms of host values, in a form that reads back in.
// Floats print with "Digits" significant digits (the float library's form).
#pragma once

#include "object.hpp"

#include <string>

namespace talvo {

std::string print(ALGEB a);

} // namespace talvo
