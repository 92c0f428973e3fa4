// errors.cpp -- formatting of host error messages and the one throw point.
#include "errors.hpp"

#include "print.hpp"

namespace talvo {

std::string format_message(std::string_view templ, ALGEB a1, ALGEB a2)
{
    std::string out;
    out.reserve(templ.size() + 16);
    for (size_t i = 0; i < templ.size(); ++i) {
        if (templ[i] == '%' && i + 1 < templ.size() && (templ[i + 1] == '1' || templ[i + 1] == '2')) {
            ALGEB a = templ[i + 1] == '1' ? a1 : a2;
            if (a != nullptr) {
                out += print(a);
                ++i;
                continue;
            }
        }
        out += templ[i];
    }
    return out;
}

std::string describe(const HostError &e)
{
    return e.where.empty() ? e.message : "(in " + e.where + ") " + e.message;
}

void raise_error(HostError e) { throw e; }

void raise(std::string_view templ, ALGEB a1, ALGEB a2)
{
    raise_error(HostError{format_message(templ, a1, a2), std::string()});
}

void raise_plain(std::string message) { raise_error(HostError{std::move(message), std::string()}); }

} // namespace talvo
