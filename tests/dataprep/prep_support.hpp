// prep_support.hpp -- what the data preparation tests share: arrays of every
// data type written in the host's language, results printed, and the
// host values of an array's elements.
#pragma once

#include "stats_support.hpp"

#include "dataprep.hpp"
#include "rtable.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace stats::test {

// The data type names of the codes 0 .. 8 as the language writes them.
inline const std::vector<std::string> &DataTypeNames()
{
    static const std::vector<std::string> names = {"anything", "complex", "int8",       "int16",  "int32",
                                                   "int64",    "float64", "complex128", "float32"};
    return names;
}

// "Array(1..n, [values], datatype = T)" for data type code `code`.
inline std::string ArrayText(const std::string &values, int code, const std::string &extra = "")
{
    return "Array(" + values + ", datatype = " + DataTypeNames().at(size_t(code)) + extra + ")";
}

// The printed elements of a one-dimensional array, in index order.
inline std::vector<std::string> Elements(ALGEB a)
{
    std::vector<std::string> out;
    M_INT lo = RTableLowerBound(kv(), a, 1), hi = RTableUpperBound(kv(), a, 1);
    for (M_INT i = lo; i <= hi; ++i) {
        M_INT index[2] = {i, 1};
        out.push_back(show(talvo::rtable::element_value(a, index)));
    }
    return out;
}

inline std::string Joined(const std::vector<std::string> &v)
{
    std::string s;
    for (size_t i = 0; i < v.size(); ++i)
        s += (i ? ", " : "") + v[i];
    return s;
}

// Data type code of an array.
inline int DataType(ALGEB a)
{
    RTableSettings s;
    RTableGetSettings(kv(), &s, a);
    return s.data_type;
}

} // namespace stats::test
