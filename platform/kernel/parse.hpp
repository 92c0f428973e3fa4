// parse.hpp -- reading the host language.
//
// The parser turns text into host objects (expression and statement nodes of
// object.hpp); a procedure's body is itself a host value.  Names that are
// parameters or locals of an enclosing procedure are resolved while parsing
// into lexical references (T_LEXREF depth, index).
#pragma once

#include "object.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace talvo {

struct ParsedStatement {
    ALGEB stmt;    // an expression or a statement node
    bool print;    // ended with ';' (or with the end of the text), not ':'
    int line;      // where the statement starts (1-based)
    int column;
};

class Parser {
public:
    explicit Parser(std::string_view text);
    ~Parser();
    // The next top-level statement; false at the end of the text.  A syntax
    // error raises a HostError whose message names the line and column:
    // "syntax error at line 3, column 7: unexpected ')'".
    bool next(ParsedStatement *out);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// For the prompt: true when the text holds at least one complete statement
// and no unfinished construct (open bracket, proc/if/do without its end,
// unterminated string).
bool input_complete(std::string_view text);

} // namespace talvo
