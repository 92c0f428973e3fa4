// data_sample.hpp -- host arrays seen as contiguous arrays of TalvoFloat.
//
// A vector uses an array of software floats with rectangular storage as it
// is.  Any other array (any data type code, any storage) is converted into a
// new float array indexed from 0, which the vector protects from the
// collector while it uses it.  Missing values are undefined floats; they
// pass the conversion unchanged and are dropped only by the copy functions
// when asked.
#pragma once

#include "stats_api.h"

#include <memory>

class STATS_API STATS_Vector_MP {
public:
    STATS_Vector_MP(TKernelVector kv, ALGEB table);
    // Releases the converted array it made (the source is never protected).
    ~STATS_Vector_MP();
    STATS_Vector_MP(const STATS_Vector_MP &) = delete;
    STATS_Vector_MP &operator=(const STATS_Vector_MP &) = delete;

    // Takes table as the source ("invalid data sample, expected: rtable,
    // received %1" when it is not an array) and makes its data available.
    static void SetData(TKernelVector kv, STATS_Vector_MP *vector, ALGEB table);
    // Converts the source into a new float array, element by element.
    static void ConvertData(TKernelVector kv, STATS_Vector_MP *vector);
    // The conversion done by the host's array copy, for use under TalvoTrapError.
    static void *TalvoConvertData(void *vector);

    // Elements of the source's first dimension (0 when empty).
    long size() const;
    TalvoFloat *data() const { return m_data; }
    ALGEB source() const { return m_source; }
    // The array whose data block is used: the source, a converted copy, or
    // null when the source is empty.
    ALGEB converted() const { return m_converted; }

private:
    STATS_Vector_MP() = default;
    void Adopt(ALGEB converted); // protect and keep a new converted array
    void Release();              // allow the converted array, unless it is the source

    ALGEB m_source = nullptr;
    ALGEB m_converted = nullptr;
    TalvoFloat *m_data = nullptr;
    TKernelVector m_kv = nullptr;
};

// Points with optional weights of the same length.
class STATS_API STATS_TalvoDataSample_MP {
public:
    STATS_TalvoDataSample_MP(TKernelVector kv, ALGEB points);
    // An empty weights array makes the sample unweighted; weights of another
    // length raise "vector of points and vector of weights are expected to
    // have the same size, received %1, %2".
    STATS_TalvoDataSample_MP(TKernelVector kv, ALGEB points, ALGEB weights);

    TalvoFloat *points() const { return m_points->data(); }
    TalvoFloat *weights() const { return m_weights ? m_weights->data() : nullptr; }
    bool weighted() const { return m_weights != nullptr; }
    long size() const { return m_points->size(); }

private:
    std::unique_ptr<STATS_Vector_MP> m_points;
    std::unique_ptr<STATS_Vector_MP> m_weights;
};

// Copies n values; with skipUndefined set, only those that are not undefined
// (for pairs: neither point nor weight undefined; zero weights are kept).
// Returns the number copied.
STATS_API int STATS_CopySimpleData_MP(const TalvoFloat *in, TalvoFloat *out, int n, int skipUndefined);
STATS_API int STATS_CopyWeightedData_MP(const TalvoFloat *points, const TalvoFloat *weights, TalvoFloat *outPoints,
                                        TalvoFloat *outWeights, int n, int skipUndefined);
// Every point of the sample.
STATS_API int STATS_CopyData_MP(const STATS_TalvoDataSample_MP &sample, TalvoFloat *out);
// Points and weights of a weighted sample, else the points (outWeights untouched).
STATS_API int STATS_CopyData_MP(const STATS_TalvoDataSample_MP &sample, TalvoFloat *outPoints, TalvoFloat *outWeights,
                                int skipUndefined);

// Element i (0-based, in storage order) of a rectangular data block of a
// known data type code.
RTableData STATS_RTableBlockElement_MP(const void *block, int datatype, long i);
// One element as a host value, by the array's data type code: the object
// itself (0; null for an unset element), a complex float from the pair (1),
// a host integer (2-5), a host float from the double or single (6, 8), a
// host complex from two doubles (7); null for any other code.
ALGEB STATS_RTableElementValue_MP(TKernelVector kv, const RTableData &d, int datatype);
// One element as a float, by the array's data type code: a float as it is,
// another host value through evalf; an element with no real value raises
// "unable to evaluate %1 to floating-point".
TalvoFloat STATS_RTableElementToFloat_MP(TKernelVector kv, const RTableData &d, int datatype);

// Bytes of one element of a data block, by data type code.
STATS_API int STATS_RTableDataSize_MP(TKernelVector kv, int datatype);

namespace stats {

// Settings of a new one-dimensional rectangular array of software floats,
// from the host's defaults.
RTableSettings FloatArraySettings(TKernelVector kv);

// A new array of software floats with indices 1..n.
ALGEB NewFloatArray(TKernelVector kv, long n);

} // namespace stats
