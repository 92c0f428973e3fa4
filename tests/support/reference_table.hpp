// reference_table.hpp -- reading the committed reference tables (made by the
// scripts in scripts/reference/ with mpmath) and measuring errors in units
// of the last requested digit.
#pragma once

#include "talvo_float.hpp"

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace stats::test {

struct ReferenceCase {
    int digits;
    std::string function;
    std::vector<std::string> args;
    std::string value;
};

// The rows of a tab-separated table, each as its cells (empty lines and
// lines starting with # are comments).
inline std::vector<std::vector<std::string>> ReadTsvRows(const std::string &path)
{
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::vector<std::string> cells;
        std::stringstream ss(line);
        std::string cell;
        while (std::getline(ss, cell, '\t'))
            cells.push_back(cell);
        rows.push_back(cells);
    }
    return rows;
}

// Every row of a table of digits, function, arguments and value.
inline std::vector<ReferenceCase> ReadReferenceTable(const std::string &path)
{
    std::vector<ReferenceCase> cases;
    for (const std::vector<std::string> &cells : ReadTsvRows(path)) {
        if (cells.size() < 3)
            continue;
        ReferenceCase c;
        c.digits = std::stoi(cells[0]);
        c.function = cells[1];
        c.args.assign(cells.begin() + 2, cells.end() - 1);
        c.value = cells.back();
        cases.push_back(c);
    }
    return cases;
}

// |x - ref| in units of the last of `digits` significant decimal digits of
// ref (10^(e - digits + 1) where 10^e <= |ref| < 10^(e+1)).  With
// `absolute`, the unit is that of a number of size 1 at least.
inline double ErrorInLastDigits(const TalvoFloat &x, const std::string &ref, int digits, bool absolute = false)
{
    mpfr_prec_t prec = talvo_float_precision_bits(digits + 30);
    mpfr_t r, d;
    mpfr_inits2(prec, r, d, (mpfr_ptr) nullptr);
    mpfr_set_str(r, ref.c_str(), 10, MPFR_RNDN);
    mpfr_sub(d, x.mpfr(), r, MPFR_RNDN);
    double diff = std::fabs(mpfr_get_d(d, MPFR_RNDN));
    double mag = std::fabs(mpfr_get_d(r, MPFR_RNDN));
    bool is_zero = mpfr_zero_p(r) != 0;
    mpfr_clears(r, d, (mpfr_ptr) nullptr);
    if (absolute && mag < 1)
        mag = 1;
    if (is_zero)
        return diff == 0 ? 0 : HUGE_VAL;
    double e = std::floor(std::log10(mag));
    return diff / std::pow(10.0, e - digits + 1);
}

} // namespace stats::test
