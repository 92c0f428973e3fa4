// host_support.hpp -- helpers shared by the host's unit tests.
#pragma once

#include "errors.hpp"
#include "eval.hpp"
#include "host.hpp"
#include "object.hpp"
#include "parse.hpp"
#include "print.hpp"

#include <gtest/gtest.h>

#include <string>

namespace talvo::test {

// Starts the host once for the whole test program.
class HostEnvironment : public ::testing::Environment {
public:
    void SetUp() override { host_init(); }
};

// The value of the last statement of `text`.
inline ALGEB run(const std::string &text)
{
    Parser p(text);
    ParsedStatement st;
    ALGEB last = null_seq();
    while (p.next(&st))
        last = eval(st.stmt);
    return last;
}

// The printed value of the last statement of `text`.
inline std::string show(const std::string &text) { return print(run(text)); }

// The message of the host error `text` raises ("" when none is raised).
inline std::string error_of(const std::string &text)
{
    try {
        run(text);
    } catch (HostError &e) {
        return describe(e);
    }
    return "";
}

} // namespace talvo::test
