// mps_reader.hpp -- a reader of fixed-format MPS files (the Netlib LP test
// set) for the tests of the linear programming routines.  Conventions: the
// first N row is the objective (the others are dropped); an RHS entry on it
// is minus a constant term of the objective; RANGES on an E row with R > 0
// give [rhs, rhs + |R|], with R < 0 [rhs - |R|, rhs]; an UP bound below 0
// on a variable with no lower bound makes the lower bound -infinity.
// Numbers are read as decimal text, correctly rounded at the precision in
// force when the file is read.
#pragma once

#include "talvo_mp.h"

#include <cmath>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace mps {

struct Lp {
    std::string name;
    long n = 0, m = 0;               // variables, general constraints
    std::vector<TalvoFloat> c;       // n
    std::vector<TalvoFloat> a;       // m x n, column-major
    std::vector<TalvoFloat> bl, bu;  // n + m
    TalvoFloat constant;             // the objective's constant term
};

inline TalvoFloat Number(const std::string &t)
{
    ALGEB h = talvo_float_parse(t.c_str(), talvo_float_precision());
    if (h == nullptr)
        throw std::runtime_error("MPS: not a number: " + t);
    return TalvoFloat::from_handle(h);
}

// Reads the file; bounds beyond +-big are infinite (written as +-big).
inline Lp Read(const std::string &path, const TalvoFloat &big)
{
    std::ifstream in(path);
    if (!in)
        throw std::runtime_error("MPS: cannot open " + path);
    std::string line, section, objective;
    std::vector<std::string> rows;
    std::map<std::string, long> row_index; // general rows
    std::vector<char> row_type;
    std::map<std::string, long> col_index;
    std::vector<std::map<long, TalvoFloat>> cols; // per column: row -> value
    std::vector<TalvoFloat> cost, rhs, range;
    std::vector<char> has_range;
    std::vector<TalvoFloat> lo, up;
    Lp lp;
    auto col_of = [&](const std::string &name) {
        auto it = col_index.find(name);
        if (it != col_index.end())
            return it->second;
        const long k = long(cols.size());
        col_index[name] = k;
        cols.emplace_back();
        cost.emplace_back(0.0);
        lo.emplace_back(0.0);
        up.push_back(big);
        return k;
    };
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '*')
            continue;
        std::istringstream ss(line);
        std::vector<std::string> f;
        for (std::string t; ss >> t;)
            f.push_back(t);
        if (line[0] != ' ') {
            section = f[0];
            if (section == "NAME" && f.size() > 1)
                lp.name = f[1];
            continue;
        }
        if (section == "ROWS") {
            if (f[0] == "N") {
                if (objective.empty())
                    objective = f[1];
                continue;
            }
            row_index[f[1]] = long(row_type.size());
            row_type.push_back(f[0][0]);
            rhs.emplace_back(0.0);
            range.emplace_back(0.0);
            has_range.push_back(0);
        } else if (section == "COLUMNS") {
            const long j = col_of(f[0]);
            for (size_t k = 1; k + 1 < f.size(); k += 2) {
                if (f[k] == objective) {
                    cost[size_t(j)] = Number(f[k + 1]);
                    continue;
                }
                auto it = row_index.find(f[k]);
                if (it != row_index.end())
                    cols[size_t(j)][it->second] = Number(f[k + 1]);
            }
        } else if (section == "RHS" || section == "RANGES") {
            const size_t start = f.size() % 2 == 1 ? 1 : 0; // the set name may be absent
            for (size_t k = start; k + 1 < f.size(); k += 2) {
                if (f[k] == objective) {
                    if (section == "RHS")
                        lp.constant = -Number(f[k + 1]);
                    continue;
                }
                auto it = row_index.find(f[k]);
                if (it == row_index.end())
                    continue;
                if (section == "RHS") {
                    rhs[size_t(it->second)] = Number(f[k + 1]);
                } else {
                    range[size_t(it->second)] = Number(f[k + 1]);
                    has_range[size_t(it->second)] = 1;
                }
            }
        } else if (section == "BOUNDS") {
            const std::string &type = f[0];
            const long j = col_of(f.size() >= 4 ? f[2] : f[1]);
            const TalvoFloat v = f.size() >= 4 ? Number(f[3]) : TalvoFloat(0.0);
            const size_t J = size_t(j);
            if (type == "UP") {
                up[J] = v;
                if (v < TalvoFloat(0.0) && lo[J] == TalvoFloat(0.0))
                    lo[J] = -big;
            } else if (type == "LO") {
                lo[J] = v;
            } else if (type == "FX") {
                lo[J] = v;
                up[J] = v;
            } else if (type == "FR") {
                lo[J] = -big;
                up[J] = big;
            } else if (type == "MI") {
                lo[J] = -big;
            } else if (type == "PL") {
                up[J] = big;
            }
        }
    }
    lp.n = long(cols.size());
    lp.m = long(row_type.size());
    lp.c = cost;
    lp.a.assign(size_t(lp.n * lp.m), TalvoFloat(0.0));
    for (long j = 0; j < lp.n; ++j)
        for (const auto &[i, v] : cols[size_t(j)])
            lp.a[size_t(i + j * lp.m)] = v;
    lp.bl = lo;
    lp.bu = up;
    for (long i = 0; i < lp.m; ++i) {
        const TalvoFloat r = rhs[size_t(i)], R = range[size_t(i)];
        const TalvoFloat aR = R < TalvoFloat(0.0) ? -R : R;
        TalvoFloat l = -big, u = big;
        switch (row_type[size_t(i)]) {
        case 'E':
            l = u = r;
            if (has_range[size_t(i)]) {
                if (R > TalvoFloat(0.0))
                    u = r + aR;
                else
                    l = r - aR;
            }
            break;
        case 'L':
            u = r;
            if (has_range[size_t(i)])
                l = r - aR;
            break;
        case 'G':
            l = r;
            if (has_range[size_t(i)])
                u = r + aR;
            break;
        }
        lp.bl.push_back(l);
        lp.bu.push_back(u);
    }
    return lp;
}

} // namespace mps
