// fuzz_entries -- the input decodes into a call of one exported entry of the
// statistics library with an argument sequence, written as the statement a
// script would write and run by the host, so the entry is reached exactly as
// a script reaches it (name lookup, argument evaluation, the array
// convention of the sw_ and STATS_g02 entries).
//
// Layout of an input (every byte is optional: a short input reads zeros):
//   2 bytes   entry index, little-endian, modulo the number of entries
//   1 byte    "Digits": 10 + b % 21 mostly, 50, 100 or 1000 for b >= 250
//   1 byte    argument count, b % 48 (the widest entry takes 40)
//   ...       each argument: a kind byte, then what that kind reads
//             (see `argument` below).
#include "fuzz_host.hpp"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr size_t kMaxInput = 2048;

struct Reader {
    const uint8_t *p;
    size_t n;
    uint8_t byte()
    {
        if (n == 0)
            return 0;
        --n;
        return *p++;
    }
    uint64_t u64()
    {
        uint64_t v = 0;
        for (int i = 0; i < 8; ++i)
            v |= uint64_t(byte()) << (8 * i);
        return v;
    }
    template <class T> const T &pick(const T *table, size_t count) { return table[byte() % count]; }
};

#define COUNT(a) (sizeof(a) / sizeof((a)[0]))

// Sizes and counts: the ordinary, the degenerate and the impossible.  The
// impossible ones must be refused with a message; nothing here is a valid
// request that takes more than a moment.
const char *const kSizes[] = {
    "0", "1", "2", "3", "4", "5", "7", "10", "20", "100", "1000", "10^4", "-1", "-2", "-10", "10^9",
    "10^12", "-10^12", "2^31-1", "2^31", "2^32", "2^53", "2^62", "2^63-1", "2^63", "2^64", "10^30", "-(10^30)",
};

const char *const kSpecials[] = {
    "Float(infinity)", "Float(-infinity)", "Float(undefined)", "infinity", "-infinity", "undefined", "0.", "-0.",
    "1e-400", "1e400", "0.5", "1/2", "-3/7", "1/3", "Pi", "I", "3+4*I", "x", "'x'", "\"text\"", "\"\"", "true",
    "false", "NULL", "[]", "1..3", "x = 1", "table()", "table([1 = 2])", "[1, 2, 3]", "[0.1, 0.5, 0.9]",
    "[[1, 2], [3, 4]]", "[x]", "sqrt(2)", "'f'(1)", "0.999999999999", "1e-20", "-1e-20", "1e20", "-1e20",
    "10^(-30)", "2.5", "-2.5", "0.1", "100.5", "[Float(undefined)]", "[]", "Array(1..0)",
    "Array(1..3, [1, 2, 3], datatype = float64, storage = sparse)",
};

const char *const kDatatypes[] = {
    "anything", "sfloat", "complex", "int8", "int16", "int32", "int64", "float64", "complex128", "float32",
};
const char *const kStorage[] = {"rectangular", "sparse"};
const char *const kOrder[] = {"Fortran_order", "C_order"};
const char *const kLower[] = {"1", "1", "1", "0", "-2", "5"};

// Procedures given where an entry takes a function: ordinary ones, ones that
// raise, return something that is not a number, loop, or call the library.
const char *const kProcedures[] = {
    "x -> x^2",
    "x -> 1",
    "(x, y) -> x*y",
    "proc() 0.5 end proc",
    "proc(x) error \"refused %1\", x end proc",
    "x -> \"text\"",
    "x -> undefined",
    "x -> Float(infinity)",
    "x -> [x, x]",
    "x -> NULL",
    "x -> y",
    "proc() args end proc",
    "proc() nargs end proc",
    "proc(x) local i; for i to 10^9 do od; x end proc",
    "proc(x) Digits := 5; x end proc",
    "proc(x) STATS_TalvoNormalProbability_MP(x, 0, 1) end proc",
    "proc() STATS_StatsTerminate_MP(); 1 end proc",
    "proc(x) x[1] end proc",
    "proc(n, x) x end proc",
    "proc(x) if x < 0 then error \"negative\" end if; exp(x) end proc",
};

const char *const kOptions[] = {"upper", "lower", "datatype", "method", "digits", "output", "tolerance", "weights"};

std::string number_text(double d)
{
    if (std::isnan(d))
        return "Float(undefined)";
    if (std::isinf(d))
        return d > 0 ? "Float(infinity)" : "Float(-infinity)";
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.17g", d);
    std::string s(buf);
    if (s.find_first_of(".e") == std::string::npos)
        s += ".";
    return s;
}

// A number: small integer, size, float from the input's bits, or special.
std::string number(Reader &r)
{
    switch (r.byte() % 5) {
    case 0: return std::to_string(int(int8_t(r.byte())));
    case 1: return r.pick(kSizes, COUNT(kSizes));
    case 2: {
        uint64_t bits = r.u64();
        double d;
        std::memcpy(&d, &bits, sizeof d);
        return number_text(d);
    }
    case 3: return number_text(double(int16_t(r.byte() | (r.byte() << 8))) / 64.0);
    default: {
        static const char *const kNumeric[] = {"Float(infinity)", "Float(-infinity)", "Float(undefined)", "0.",
                                               "1/3", "-3/7", "1e-400", "1e400", "0.5", "2^70", "3+4*I"};
        return r.pick(kNumeric, COUNT(kNumeric));
    }
    }
}

// An element for an Array of this data type: mostly in its range, sometimes not.
std::string element(Reader &r, const std::string &dt)
{
    uint8_t k = r.byte();
    if (k % 8 == 7)
        return number(r);
    if (dt.starts_with("int")) {
        static const char *const kEdges[] = {"127", "-128", "32767", "2^31-1", "-2^31", "2^63-1", "300", "0"};
        return k % 8 == 6 ? r.pick(kEdges, COUNT(kEdges)) : std::to_string(int(int8_t(r.byte())));
    }
    if (dt.starts_with("complex") && k % 8 == 6)
        return number(r) + " + " + number(r) + "*I";
    return number_text(double(int16_t(r.byte() | (r.byte() << 8))) / 256.0);
}

std::string array(Reader &r, int dims)
{
    std::string dt = r.pick(kDatatypes, COUNT(kDatatypes));
    uint8_t shape = r.byte();
    std::string lower = r.pick(kLower, COUNT(kLower));
    long lo = std::stol(lower);
    std::string text = "Array(";
    long extent[2] = {shape % 13, dims == 2 ? (shape / 13) % 6 : 1};
    for (int d = 0; d < dims; ++d)
        text += (d ? ", " : "") + lower + ".." + std::to_string(lo + extent[d] - 1);
    uint8_t fill = r.byte();
    if (fill % 4 != 0 && extent[0] > 0 && extent[1] > 0) {
        text += ", [";
        for (long i = 0; i < extent[0]; ++i) {
            if (i)
                text += ", ";
            if (dims == 2) {
                text += "[";
                for (long j = 0; j < extent[1]; ++j)
                    text += (j ? ", " : "") + element(r, dt);
                text += "]";
            } else {
                text += element(r, dt);
            }
        }
        text += "]";
    }
    if (dt != "anything" || fill % 3 == 0)
        text += ", datatype = " + dt;
    uint8_t how = r.byte();
    if (how & 1)
        text += std::string(", storage = ") + kStorage[(how >> 1) & 1];
    if (how & 4)
        text += std::string(", order = ") + kOrder[(how >> 3) & 1];
    return text + ")";
}

std::string argument(Reader &r, int depth)
{
    switch (r.byte() % 12) {
    case 0:
    case 1: return number(r);
    case 2: return r.pick(kSizes, COUNT(kSizes));
    case 3: return r.pick(kSpecials, COUNT(kSpecials));
    case 4:
    case 5: return array(r, 1);
    case 6: return array(r, 2);
    case 7: {
        size_t n = r.byte() % 10;
        std::string text = "[";
        for (size_t i = 0; i < n; ++i)
            text += (i ? ", " : "") + number(r);
        return text + "]";
    }
    case 8: {
        uint8_t k = r.byte();
        if (k % 4 == 3) {
            // A procedure that calls an entry of the library, any of them.
            const auto &names = fuzz::entry_names();
            return "proc() " + names[r.byte() % names.size()] + "(args) end proc";
        }
        return r.pick(kProcedures, COUNT(kProcedures));
    }
    case 9: return std::string(r.pick(kOptions, COUNT(kOptions))) + " = " + (depth < 2 ? argument(r, depth + 1) : "1");
    case 10: {
        // A name for a result the entry writes back (the array convention).
        static const char *const kOut[] = {"'r1'", "'r2'", "'r3'", "'r4'", "r1", "'Digits'", "'Pi'"};
        return r.pick(kOut, COUNT(kOut));
    }
    default: {
        if (depth >= 2)
            return "[]";
        size_t n = r.byte() % 5;
        std::string text = "[";
        for (size_t i = 0; i < n; ++i)
            text += (i ? ", " : "") + argument(r, depth + 1);
        return text + "]";
    }
    }
}

} // namespace

// The statement an input stands for (also used by the regression tests and
// the corpus tool to show what an input does).
std::string fuzz_entries_statement(const uint8_t *data, size_t size)
{
    Reader r{data, size};
    const auto &names = fuzz::entry_names();
    size_t index = (size_t(r.byte()) | (size_t(r.byte()) << 8)) % names.size();
    uint8_t d = r.byte();
    static const int kHighDigits[] = {50, 100, 1000, 30};
    int digits = d >= 250 ? kHighDigits[d % 4] : 10 + d % 21;
    size_t count = r.byte() % 48;
    std::string text = "Digits := " + std::to_string(digits) + ":\n" + names[index] + "(";
    for (size_t i = 0; i < count; ++i)
        text += (i ? ", " : "") + argument(r, 0);
    return text + ");\n";
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::start(/*package=*/false);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size > kMaxInput)
        return -1;
    std::string text = fuzz_entries_statement(data, size);
    if (fuzz::verbose())
        std::fprintf(stderr, "%s", text.c_str());
    fuzz::begin_input();
    fuzz::run(text);
    return 0;
}
