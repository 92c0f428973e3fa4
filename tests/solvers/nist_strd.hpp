// nist_strd.hpp -- the NIST StRD linear regression data sets of data/nist-strd/:
// their data, model and certified values, and the host statements that
// build a data set's arrays for STATS_g02daf_MP.
#pragma once

#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace stats::test {

struct NistSet {
    std::string name;
    std::vector<std::string> y;              // response, as written in the file
    std::vector<std::vector<std::string>> x; // predictors of each observation
    bool mean = true;                        // the model has an intercept
    int degree = 0;                          // > 0: polynomial in the one predictor
    int parameters = 0;
    std::vector<std::string> b, se;          // certified estimates and standard deviations
    std::string residual_sd, r_squared;

    long n() const { return long(y.size()); }
    // Number of variables put in the model (columns of X).
    long m() const { return degree > 0 ? degree : long(x[0].size()); }
    long ip() const { return m() + (mean ? 1 : 0); }
};

inline std::vector<std::string> words(const std::string &line)
{
    std::istringstream in(line);
    std::vector<std::string> w;
    std::string s;
    while (in >> s)
        w.push_back(s);
    return w;
}

inline NistSet read_nist(const std::string &folder, const std::string &name)
{
    NistSet s;
    s.name = name;
    std::ifstream in(folder + "/nist-strd/" + name + ".dat");
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    long first = 0, last = 0;
    std::smatch m;
    for (size_t i = 0; i < 10 && i < lines.size(); ++i)
        if (std::regex_search(lines[i], m, std::regex(R"(Data\s+\(lines (\d+) to (\d+)\))"))) {
            first = std::stol(m[1]);
            last = std::stol(m[2]);
        }
    for (long i = first; i <= last && i <= long(lines.size()); ++i) {
        std::vector<std::string> w = words(lines[size_t(i - 1)]);
        if (w.empty())
            continue;
        s.y.push_back(w[0]);
        s.x.emplace_back(w.begin() + 1, w.end());
    }
    for (size_t i = 0; i < 60 && i < lines.size(); ++i) {
        std::vector<std::string> w = words(lines[i]);
        if (w.size() == 3 && std::regex_match(w[0], std::regex(R"(B\d+)"))) {
            s.b.push_back(w[1]);
            s.se.push_back(w[2]);
        } else if (w.size() == 3 && w[0] == "Standard" && w[1] == "Deviation" && lines[i - 1].find("Residual") != std::string::npos) {
            s.residual_sd = w[2];
        } else if (w.size() == 2 && w[0] == "R-Squared") {
            s.r_squared = w[1];
        }
    }
    s.parameters = int(s.b.size());
    s.mean = name.rfind("NoInt", 0) != 0;
    if (s.x[0].size() == 1 && s.mean)
        s.degree = s.parameters - 1; // y = B0 + B1 x + ... + Bk x^k
    return s;
}

// Host statements that make n, m, ip, the response y and the design X (a
// polynomial's columns are the powers of x, computed by the host) as
// arrays of software floats at the current "Digits".
inline std::string nist_arrays(const NistSet &s)
{
    std::ostringstream out;
    out << "n := " << s.n() << ": m := " << s.m() << ": ip := " << s.ip() << ":\n";
    out << "y := Array(1..n, [";
    for (long i = 0; i < s.n(); ++i)
        out << (i ? ", " : "") << s.y[size_t(i)];
    out << "], datatype = sfloat):\n";
    if (s.degree > 0) {
        out << "x := [";
        for (long i = 0; i < s.n(); ++i)
            out << (i ? ", " : "") << s.x[size_t(i)][0];
        out << "]:\nX := Array(1..n, 1..m, [seq([seq(x[i]^j, j = 1..m)], i = 1..n)], datatype = sfloat):\n";
    } else {
        out << "X := Array(1..n, 1..m, [";
        for (long i = 0; i < s.n(); ++i) {
            out << (i ? ", " : "") << "[";
            for (size_t j = 0; j < s.x[size_t(i)].size(); ++j)
                out << (j ? ", " : "") << s.x[size_t(i)][j];
            out << "]";
        }
        out << "], datatype = sfloat):\n";
    }
    return out.str();
}

// Statements that make the arrays of a fit: those of nist_arrays, and isx,
// b, se, cov, res, h, q, p, wk, wt for STATS_g02daf_MP's outputs.
inline std::string nist_setup(const NistSet &s)
{
    return nist_arrays(s) +
           "isx := Array(1..m, [seq(1, j = 1..m)]):\n"
           "b := Array(1..ip): se := Array(1..ip): cov := Array(1..ip*(ip+1)/2): res := Array(1..n):\n"
           "h := Array(1..n): q := Array(1..n*(ip+1)): p := Array(1..2*ip+ip*ip): wk := Array(1..1):\n"
           "wt := Array(1..1):\n";
}

// The 24 arguments of STATS_g02daf_MP for the set (rank tolerance tol),
// writing to the names rss, idf, svd and irank.
inline std::string nist_fit_args(const NistSet &s, const std::string &tol)
{
    return std::string("\"") + (s.mean ? "M" : "Z") +
           "\", \"U\", n, X, n, m, isx, ip, y, wt, 'rss', 'idf', b, se, cov, res, h, q, n, 'svd', 'irank', p, " +
           tol + ", wk";
}

// The statements of a whole fit, as a script runs it: the failure indicator
// in fit_ifail.
inline std::string nist_fit(const NistSet &s, const std::string &tol)
{
    return nist_setup(s) + "fit_ifail := STATS_g02daf_MP(" + nist_fit_args(s, tol) + "):\n";
}

} // namespace stats::test
