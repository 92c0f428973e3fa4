// lexer.cpp -- cutting host language text into tokens.
#include "lexer.hpp"

#include "errors.hpp"

#include <cstdio>
#include <utility>

namespace talvo::lex {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_name_start(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool is_name_char(char c) { return is_name_start(c) || is_digit(c); }

struct Keyword {
    std::string_view text;
    Tok kind;
};

constexpr Keyword kKeywords[] = {
    {"proc", Tok::KwProc},     {"local", Tok::KwLocal},   {"global", Tok::KwGlobal},
    {"end", Tok::KwEnd},       {"if", Tok::KwIf},         {"then", Tok::KwThen},
    {"elif", Tok::KwElif},     {"else", Tok::KwElse},     {"fi", Tok::KwFi},
    {"for", Tok::KwFor},       {"from", Tok::KwFrom},     {"by", Tok::KwBy},
    {"to", Tok::KwTo},         {"while", Tok::KwWhile},   {"do", Tok::KwDo},
    {"od", Tok::KwOd},         {"in", Tok::KwIn},         {"break", Tok::KwBreak},
    {"next", Tok::KwNext},     {"return", Tok::KwReturn}, {"error", Tok::KwError},
    {"try", Tok::KwTry},       {"catch", Tok::KwCatch},   {"finally", Tok::KwFinally},
    {"and", Tok::KwAnd},       {"or", Tok::KwOr},         {"not", Tok::KwNot},
};

// Long literals and strings are cut short in messages.
std::string abbreviate(std::string_view s)
{
    constexpr size_t kMax = 24;
    if (s.size() <= kMax)
        return std::string(s);
    return std::string(s.substr(0, kMax)) + "...";
}

} // namespace

const char *spelling(Tok kind)
{
    switch (kind) {
    case Tok::End: return "end of input";
    case Tok::Error: return "error";
    case Tok::Name: return "name";
    case Tok::Integer: return "integer";
    case Tok::Float: return "float";
    case Tok::String: return "string";
    case Tok::Assign: return ":=";
    case Tok::Plus: return "+";
    case Tok::Minus: return "-";
    case Tok::Star: return "*";
    case Tok::Slash: return "/";
    case Tok::Caret: return "^";
    case Tok::Equal: return "=";
    case Tok::NotEqual: return "<>";
    case Tok::Less: return "<";
    case Tok::LessEqual: return "<=";
    case Tok::Greater: return ">";
    case Tok::GreaterEqual: return ">=";
    case Tok::DotDot: return "..";
    case Tok::Arrow: return "->";
    case Tok::Comma: return ",";
    case Tok::Semicolon: return ";";
    case Tok::Colon: return ":";
    case Tok::LParen: return "(";
    case Tok::RParen: return ")";
    case Tok::LBracket: return "[";
    case Tok::RBracket: return "]";
    case Tok::Quote: return "'";
    case Tok::DoubleColon: return "::";
    case Tok::Dot: return ".";
    case Tok::Question: return "?";
    default: break;
    }
    for (const Keyword &k : kKeywords)
        if (k.kind == kind)
            return k.text.data(); // the table's literals are NUL terminated
    return "?";
}

std::string describe(const Token &tok)
{
    std::string out;
    switch (tok.kind) {
    case Tok::End: return "end of input";
    case Tok::Error: return tok.text;
    case Tok::Name:
    case Tok::Integer:
    case Tok::Float: out.append("'").append(abbreviate(tok.text)).append("'"); break;
    case Tok::String: out.append("string \"").append(abbreviate(tok.text)).append("\""); break;
    default: out.append("'").append(spelling(tok.kind)).append("'"); break;
    }
    return out;
}

void syntax_error(int line, int column, std::string_view what)
{
    std::string message = "syntax error at line ";
    message += std::to_string(line);
    message += ", column ";
    message += std::to_string(column);
    message += ": ";
    message += what;
    raise_plain(std::move(message));
}

char Lexer::advance()
{
    char c = src_[pos_++];
    if (c == '\n') {
        ++line_;
        column_ = 1;
    } else {
        ++column_;
    }
    return c;
}

void Lexer::skip_space_and_comments()
{
    while (!at_end()) {
        char c = peek();
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') {
            advance();
        } else if (c == '#') {
            while (!at_end() && peek() != '\n')
                advance();
        } else {
            break;
        }
    }
}

// Digits, an optional fraction and an optional exponent.  A point followed by
// another point is left alone, so 1..3 reads as 1, '..', 3.
Token Lexer::number(Token tok)
{
    bool is_float = false;
    size_t start = pos_;
    while (is_digit(peek()))
        advance();
    if (peek() == '.' && peek(1) != '.') {
        is_float = true;
        advance();
        while (is_digit(peek()))
            advance();
    }
    if ((peek() == 'e' || peek() == 'E') &&
        (is_digit(peek(1)) || ((peek(1) == '+' || peek(1) == '-') && is_digit(peek(2))))) {
        is_float = true;
        advance();
        if (peek() == '+' || peek() == '-')
            advance();
        while (is_digit(peek()))
            advance();
    }
    tok.kind = is_float ? Tok::Float : Tok::Integer;
    tok.text.assign(src_.substr(start, pos_ - start));
    return tok;
}

// A "string" (escapes \" \\ \n \t decoded; any other backslash is kept with
// the character after it) or a `quoted name` (taken as it stands).
Token Lexer::quoted(Token tok, char close)
{
    advance(); // the opening quote
    std::string text;
    while (!at_end()) {
        char c = advance();
        if (c == close) {
            tok.kind = close == '"' ? Tok::String : Tok::Name;
            tok.text = std::move(text);
            return tok;
        }
        if (c == '\\' && close == '"' && !at_end()) {
            char e = advance();
            switch (e) {
            case '"': text += '"'; break;
            case '\\': text += '\\'; break;
            case 'n': text += '\n'; break;
            case 't': text += '\t'; break;
            default:
                text += '\\';
                text += e;
                break;
            }
            continue;
        }
        text += c;
    }
    done_ = true;
    tok.kind = Tok::Error;
    tok.unterminated = true;
    tok.text = close == '"' ? "unterminated string" : "unterminated quoted name";
    return tok;
}

Token Lexer::next()
{
    Token tok;
    if (!done_)
        skip_space_and_comments();
    tok.line = line_;
    tok.column = column_;
    if (done_ || at_end()) {
        done_ = true;
        tok.kind = Tok::End;
        return tok;
    }
    char c = peek();
    if (is_name_start(c)) {
        size_t start = pos_;
        while (is_name_char(peek()))
            advance();
        tok.text.assign(src_.substr(start, pos_ - start));
        tok.kind = Tok::Name;
        for (const Keyword &k : kKeywords)
            if (k.text == tok.text) {
                tok.kind = k.kind;
                break;
            }
        return tok;
    }
    if (is_digit(c) || (c == '.' && is_digit(peek(1))))
        return number(std::move(tok));
    if (c == '"' || c == '`')
        return quoted(std::move(tok), c);

    auto single = [&](Tok kind) {
        advance();
        tok.kind = kind;
        return tok;
    };
    auto pair = [&](Tok kind) {
        advance();
        advance();
        tok.kind = kind;
        return tok;
    };
    char d = peek(1);
    switch (c) {
    case ':':
        if (d == '=')
            return pair(Tok::Assign);
        if (d == ':')
            return pair(Tok::DoubleColon);
        return single(Tok::Colon);
    case '+': return single(Tok::Plus);
    case '-': return d == '>' ? pair(Tok::Arrow) : single(Tok::Minus);
    case '*': return single(Tok::Star);
    case '/': return single(Tok::Slash);
    case '^': return single(Tok::Caret);
    case '=': return single(Tok::Equal);
    case '<':
        if (d == '>')
            return pair(Tok::NotEqual);
        if (d == '=')
            return pair(Tok::LessEqual);
        return single(Tok::Less);
    case '>': return d == '=' ? pair(Tok::GreaterEqual) : single(Tok::Greater);
    case '.': return d == '.' ? pair(Tok::DotDot) : single(Tok::Dot);
    case ',': return single(Tok::Comma);
    case ';': return single(Tok::Semicolon);
    case '(': return single(Tok::LParen);
    case ')': return single(Tok::RParen);
    case '[': return single(Tok::LBracket);
    case ']': return single(Tok::RBracket);
    case '\'': return single(Tok::Quote);
    case '?': return single(Tok::Question);
    default: break;
    }
    done_ = true;
    tok.kind = Tok::Error;
    unsigned char u = static_cast<unsigned char>(c);
    if (u >= 0x20 && u < 0x7f) {
        tok.text = std::string("unexpected character '") + c + "'";
    } else {
        char buf[8];
        std::snprintf(buf, sizeof buf, "\\x%02X", u);
        tok.text = std::string("unexpected character '") + buf + "'";
    }
    return tok;
}

} // namespace talvo::lex
