// lexer.hpp -- tokens of the host language.
//
// The lexer only cuts text into tokens; it builds no host objects and never
// throws.  A malformed piece of text (an unterminated string, a stray
// character) comes back as a Tok::Error token carrying its message, so the
// parser can raise it at the right place and the prompt's completeness check
// can look at it without catching anything.
#pragma once

#include <string>
#include <string_view>

namespace talvo::lex {

enum class Tok : unsigned char {
    End,        // end of the text
    Error,      // malformed text; `text` holds the message
    Name,       // plain or `backquoted` name; `text` holds the name
    Integer,    // decimal digits
    Float,      // decimal literal with a point and/or an exponent
    String,     // "..." with escapes decoded into `text`
    // operators and punctuation
    Assign,       // :=
    Plus,         // +
    Minus,        // -
    Star,         // *
    Slash,        // /
    Caret,        // ^
    Equal,        // =
    NotEqual,     // <>
    Less,         // <
    LessEqual,    // <=
    Greater,      // >
    GreaterEqual, // >=
    DotDot,       // ..
    Arrow,        // ->
    Comma,        // ,
    Semicolon,    // ;
    Colon,        // :
    LParen,       // (
    RParen,       // )
    LBracket,     // [
    RBracket,     // ]
    Quote,        // '
    DoubleColon,  // ::
    Dot,          // .
    Question,     // ?   (help: ?name at the start of a statement)
    // keywords
    KwProc, KwLocal, KwGlobal, KwEnd, KwIf, KwThen, KwElif, KwElse, KwFi,
    KwFor, KwFrom, KwBy, KwTo, KwWhile, KwDo, KwOd, KwIn, KwBreak, KwNext,
    KwReturn, KwError, KwTry, KwCatch, KwFinally, KwAnd, KwOr, KwNot,
};

struct Token {
    Tok kind = Tok::End;
    std::string text;          // name, literal text, decoded string or error message
    int line = 1;              // 1-based position of the token's first character
    int column = 1;
    bool unterminated = false; // Error only: a string or quoted name runs to the end
};

class Lexer {
public:
    explicit Lexer(std::string_view text) : src_(text) {}
    // The next token; after the end of the text (or an error) keeps
    // returning Tok::End.
    Token next();

private:
    char peek(size_t ahead = 0) const { return pos_ + ahead < src_.size() ? src_[pos_ + ahead] : '\0'; }
    bool at_end() const { return pos_ >= src_.size(); }
    char advance();
    void skip_space_and_comments();
    Token number(Token tok);
    Token quoted(Token tok, char close);

    std::string_view src_;
    size_t pos_ = 0;
    int line_ = 1;
    int column_ = 1;
    bool done_ = false;
};

// How a token kind is written ("end of input" for Tok::End).
const char *spelling(Tok kind);

// A token as error messages show it: 'x', ')', 'end', string "abc".
std::string describe(const Token &tok);

// Raise the host error "syntax error at line L, column C: what".
[[noreturn]] void syntax_error(int line, int column, std::string_view what);

} // namespace talvo::lex
