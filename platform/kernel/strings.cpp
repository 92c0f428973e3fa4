// strings.cpp -- text builtins of the host language: joining (cat),
// formatting (sprintf, printf), cutting (substring), nearest names, and the
// ordering of a list (sort); and the word distance behind the suggestions.
#include "errors.hpp"
#include "eval.hpp"
#include "numeric.hpp"
#include "print.hpp"
#include "talvo_float.hpp"
#include "text.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace talvo {

size_t edit_distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> before(b.size() + 1), previous(b.size() + 1), current(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        previous[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, previous[j - 1] + cost});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                current[j] = std::min(current[j], before[j - 2] + 1);
        }
        before.swap(previous);
        previous.swap(current);
    }
    return previous[b.size()];
}

std::vector<std::string> nearest_names(std::string_view word, const std::vector<std::string> &candidates,
                                       size_t most)
{
    // Close enough to be a slip of the keyboard: a few edits, more for long names.
    const size_t limit = std::max<size_t>(3, word.size() / 5);
    std::vector<std::pair<size_t, std::string>> near;
    for (const std::string &n : candidates) {
        size_t d = edit_distance(word, n);
        if (d <= limit)
            near.emplace_back(d, n);
    }
    std::stable_sort(near.begin(), near.end(), [](const auto &x, const auto &y) { return x.first < y.first; });
    // Only the closest and those one edit further: a name four edits away is
    // noise beside one a single slip away.
    std::vector<std::string> out;
    for (size_t i = 0; i < near.size() && out.size() < most && near[i].first <= near[0].first + 1; ++i)
        if (std::find(out.begin(), out.end(), near[i].second) == out.end())
            out.push_back(near[i].second);
    return out;
}

namespace {

size_t count_of(ALGEB args) { return is_expseq(args) ? nops(args) : 1; }
ALGEB arg(ALGEB args, size_t i) { return seq_elem(args, i); }

// The text a value contributes to cat and to %s: a string's characters, a
// name's text, otherwise the printed form.
std::string text_of(ALGEB v)
{
    if (is_string(v))
        return std::string(string_text(v));
    if (is_name(v))
        return std::string(name_text(v));
    return print(v);
}

// cat(a, b, ...): the texts of the arguments joined into one string.
ALGEB b_cat(ALGEB args)
{
    std::string out;
    for (size_t i = 1; i <= count_of(args); ++i)
        out += text_of(arg(args, i));
    return make_string(out);
}

// Pads `body` to `width` characters: on the right with '-', else on the left
// with spaces (or zeros after any sign when '0' was given).
std::string pad(std::string body, long width, bool left, bool zeros)
{
    if (width <= 0 || long(body.size()) >= width)
        return body;
    size_t fill = size_t(width) - body.size();
    if (left)
        return body + std::string(fill, ' ');
    if (zeros) {
        size_t at = (!body.empty() && (body[0] == '-' || body[0] == '+' || body[0] == ' ')) ? 1 : 0;
        return body.insert(at, std::string(fill, '0'));
    }
    return std::string(fill, ' ') + body;
}

// One real value in the C notation of conversion `conv` (f, e, g, E, G),
// rounded to nearest from its exact binary value.
std::string format_real(ALGEB v, const std::string &flags, long width, long precision, char conv)
{
    ALGEB f = evalf(v, 0);
    if (!is_float(f) && is_real_numeric(f))
        f = num::to_float(f, 0);
    if (!is_float(f))
        raise(std::string("%") + conv + " expects a real number, got %1", v);
    mpfr_srcptr x = talvo_float_value(f);
    bool left = flags.find('-') != std::string::npos;
    bool zeros = flags.find('0') != std::string::npos && !left;
    if (!mpfr_number_p(x)) {
        std::string s = mpfr_nan_p(x) ? "undefined" : mpfr_sgn(x) > 0 ? "infinity" : "-infinity";
        if (mpfr_inf_p(x) && mpfr_sgn(x) > 0 && flags.find('+') != std::string::npos)
            s = "+" + s;
        return pad(s, width, left, false);
    }
    std::string spec = "%";
    for (char c : flags)
        if (c != '-' && c != '0')
            spec += c;
    spec += "." + std::to_string(precision < 0 ? 6 : precision) + "R" + conv;
    char *buf = nullptr;
    if (mpfr_asprintf(&buf, spec.c_str(), x) < 0 || buf == nullptr)
        raise_plain("cannot format a number");
    std::string s(buf);
    mpfr_free_str(buf);
    return pad(s, width, left, zeros);
}

std::string format_integer(ALGEB v, const std::string &flags, long width)
{
    ALGEB n = v;
    if (is_float(v) && mpfr_integer_p(talvo_float_value(v)))
        n = num::floor(v);
    if (!is_integer(n))
        raise("%d expects an integer, got %1", v);
    std::string s = num::integer_to_string(n);
    if (s[0] != '-') {
        if (flags.find('+') != std::string::npos)
            s = "+" + s;
        else if (flags.find(' ') != std::string::npos)
            s = " " + s;
    }
    bool left = flags.find('-') != std::string::npos;
    return pad(s, width, left, flags.find('0') != std::string::npos && !left);
}

// The text of sprintf(format, values...).  Conversions: %d (an integer), %s
// (a string's text, a name's text, or the printed form), %a (the printed
// form), %f %e %g %E %G (a real number, evaluated to a float, in C's
// notation, correctly rounded), %% (a percent sign); each with C's flags
// (- + space 0), width and precision.
std::string format(ALGEB args, const char *fname)
{
    if (count_of(args) < 1 || !is_string(arg(args, 1)))
        raise(std::string(fname) + " expects a format string as its first argument, got %1",
              count_of(args) < 1 ? null_seq() : arg(args, 1));
    std::string_view fmt = string_text(arg(args, 1));
    size_t next = 2, n = count_of(args);
    std::string out;
    for (size_t i = 0; i < fmt.size(); ++i) {
        char c = fmt[i];
        if (c != '%') {
            out += c;
            continue;
        }
        size_t start = i++;
        std::string flags;
        while (i < fmt.size() && std::string_view("-+ 0#").find(fmt[i]) != std::string_view::npos)
            flags += fmt[i++];
        long width = 0, precision = -1;
        while (i < fmt.size() && fmt[i] >= '0' && fmt[i] <= '9' && width < 100000)
            width = width * 10 + (fmt[i++] - '0');
        if (i < fmt.size() && fmt[i] == '.') {
            precision = 0;
            ++i;
            while (i < fmt.size() && fmt[i] >= '0' && fmt[i] <= '9' && precision < 100000)
                precision = precision * 10 + (fmt[i++] - '0');
        }
        if (i >= fmt.size())
            raise("the format ends inside the conversion %1",
                  make_string(std::string(fmt.substr(start))));
        char conv = fmt[i];
        if (conv == '%') {
            out += '%';
            continue;
        }
        if (std::string_view("dsafeEgG").find(conv) == std::string_view::npos)
            raise("unknown conversion %1 in the format",
                  make_string(std::string(fmt.substr(start, i - start + 1))));
        if (next > n)
            raise("the format %1 asks for more values than the %2 given", arg(args, 1),
                  make_integer(intptr_t(n - 1)));
        ALGEB v = arg(args, next++);
        bool left = flags.find('-') != std::string::npos;
        switch (conv) {
        case 'd': out += format_integer(v, flags, width); break;
        case 's':
        case 'a': {
            std::string s = conv == 's' ? text_of(v) : print(v);
            if (precision >= 0 && size_t(precision) < s.size())
                s.resize(size_t(precision));
            out += pad(s, width, left, false);
            break;
        }
        default: out += format_real(v, flags, width, precision, conv); break;
        }
    }
    return out;
}

ALGEB b_sprintf(ALGEB args) { return make_string(format(args, "sprintf")); }

ALGEB b_printf(ALGEB args)
{
    std::string s = format(args, "printf");
    std::fputs(s.c_str(), stdout);
    return null_seq();
}

// substring(s, i..j) or substring(s, i): characters i to j (1-based; a
// negative position counts from the end, -1 the last character).
ALGEB b_substring(ALGEB args)
{
    if (count_of(args) != 2)
        raise("substring expects 2 arguments, but received %1", make_integer(intptr_t(count_of(args))));
    ALGEB s = arg(args, 1), r = arg(args, 2);
    if (!is_string(s))
        raise("substring expects a string as its first argument, got %1", s);
    std::string_view text = string_text(s);
    int64_t n = int64_t(text.size()), lo, hi;
    ALGEB a = is_range(r) ? op(r, 1) : r, b = is_range(r) ? op(r, 2) : r;
    if (!integer_to_int64(a, &lo) || !integer_to_int64(b, &hi))
        raise("substring expects a position or a range of positions, got %1", r);
    if (lo < 0)
        lo += n + 1;
    if (hi < 0)
        hi += n + 1;
    lo = std::max<int64_t>(lo, 1);
    hi = std::min<int64_t>(hi, n);
    if (hi < lo)
        return make_string("");
    return make_string(text.substr(size_t(lo - 1), size_t(hi - lo + 1)));
}

// The texts of a list of strings or names.
std::vector<std::string> texts_of_list(ALGEB list, const char *fname)
{
    if (!is_list(list))
        raise(std::string(fname) + " expects a list of strings or names, got %1", list);
    std::vector<std::string> out;
    ALGEB s = op(list, 1);
    for (size_t i = 1; i <= seq_length(s); ++i) {
        ALGEB e = seq_elem(s, i);
        if (!is_string(e) && !is_name(e))
            raise(std::string(fname) + " expects a list of strings or names, got %1", e);
        out.push_back(text_of(e));
    }
    return out;
}

// nearestnames(word, candidates) or nearestnames(word, candidates, most): the
// candidates within a few edits of word, closest first (at most 3, or most),
// as a list of strings.
ALGEB b_nearestnames(ALGEB args)
{
    size_t n = count_of(args);
    if (n < 2 || n > 3)
        raise("nearestnames expects 2 or 3 arguments, but received %1", make_integer(intptr_t(n)));
    ALGEB w = arg(args, 1);
    if (!is_string(w) && !is_name(w))
        raise("nearestnames expects a string or a name as its first argument, got %1", w);
    int64_t most = 3;
    if (n == 3 && (!integer_to_int64(arg(args, 3), &most) || most < 0))
        raise("nearestnames expects a non-negative integer count, got %1", arg(args, 3));
    std::vector<std::string> near = nearest_names(text_of(w), texts_of_list(arg(args, 2), "nearestnames"),
                                                  size_t(most));
    std::vector<ALGEB> out;
    for (const std::string &s : near)
        out.push_back(make_string(s));
    return make_list(out.data(), out.size());
}

// sort(list): the elements in ascending order, stably; real numbers by value
// (undefined floats last), strings by their characters.  Anything else, or
// numbers mixed with strings, is refused.
ALGEB b_sort(ALGEB args)
{
    if (count_of(args) != 1 || !is_list(arg(args, 1)))
        raise("sort expects a list, got %1", args);
    ALGEB s = op(arg(args, 1), 1);
    std::vector<ALGEB> v;
    for (size_t i = 1; i <= seq_length(s); ++i)
        v.push_back(seq_elem(s, i));
    bool numbers = true, strings = true;
    for (ALGEB e : v) {
        numbers = numbers && is_real_numeric(e);
        strings = strings && is_string(e);
    }
    if (!numbers && !strings) {
        for (ALGEB e : v)
            if (!is_real_numeric(e) && !is_string(e))
                raise("sort can order real numbers or strings, got %1", e);
        raise_plain("sort can order real numbers or strings, not both in one list");
    }
    if (numbers) {
        auto undefined = [](ALGEB e) { return is_float(e) && mpfr_nan_p(talvo_float_value(e)); };
        std::stable_sort(v.begin(), v.end(), [&](ALGEB a, ALGEB b) {
            bool ua = undefined(a), ub = undefined(b);
            if (ua || ub)
                return !ua && ub;
            return num::compare(a, b) < 0;
        });
    } else {
        std::stable_sort(v.begin(), v.end(),
                         [](ALGEB a, ALGEB b) { return string_text(a).compare(string_text(b)) < 0; });
    }
    return make_list(v.data(), v.size());
}

} // namespace

void define_text_builtins()
{
    define_builtin("cat", b_cat);
    define_builtin("sprintf", b_sprintf);
    define_builtin("printf", b_printf);
    define_builtin("substring", b_substring);
    define_builtin("nearestnames", b_nearestnames);
    define_builtin("sort", b_sort);
}

} // namespace talvo
