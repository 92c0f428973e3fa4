// print.hpp -- printed forms of host values, in a form that reads back in.
// A float prints with the decimal digits its precision was made for (the
// float library's form): a value computed at 30 digits shows 30 digits.
#pragma once

#include "object.hpp"

#include <string>

namespace talvo {

std::string print(ALGEB a);

} // namespace talvo
