// data_sample.cpp -- points with optional weights, and the copy functions.
#include "data_sample.hpp"

#include "talvo_float.hpp"

STATS_TalvoDataSample_MP::STATS_TalvoDataSample_MP(TKernelVector kv, ALGEB points)
    : m_points(new STATS_Vector_MP(kv, points))
{
}

STATS_TalvoDataSample_MP::STATS_TalvoDataSample_MP(TKernelVector kv, ALGEB points, ALGEB weights)
    : m_points(new STATS_Vector_MP(kv, points)), m_weights(new STATS_Vector_MP(kv, weights))
{
    if (m_weights->size() == 0)
        m_weights.reset();
    else if (m_weights->size() != m_points->size())
        TalvoRaiseError2(kv, "vector of points and vector of weights are expected to have the same size, received %1, %2",
                         points, weights);
}

int STATS_CopySimpleData_MP(const TalvoFloat *in, TalvoFloat *out, int n, int skipUndefined)
{
    if (!skipUndefined) {
        for (int i = 0; i < n; ++i)
            out[i] = in[i];
        return n;
    }
    int kept = 0;
    for (int i = 0; i < n; ++i)
        if (!IsTalvoFloatUndefined(in[i]))
            out[kept++] = in[i];
    return kept;
}

int STATS_CopyWeightedData_MP(const TalvoFloat *points, const TalvoFloat *weights, TalvoFloat *outPoints,
                              TalvoFloat *outWeights, int n, int skipUndefined)
{
    if (!skipUndefined) {
        for (int i = 0; i < n; ++i) {
            outPoints[i] = points[i];
            outWeights[i] = weights[i];
        }
        return n;
    }
    int kept = 0;
    for (int i = 0; i < n; ++i) {
        if (IsTalvoFloatUndefined(points[i]) || IsTalvoFloatUndefined(weights[i]))
            continue;
        outPoints[kept] = points[i];
        outWeights[kept] = weights[i];
        ++kept;
    }
    return kept;
}

int STATS_CopyData_MP(const STATS_TalvoDataSample_MP &sample, TalvoFloat *out)
{
    return STATS_CopySimpleData_MP(sample.points(), out, static_cast<int>(sample.size()), 0);
}

int STATS_CopyData_MP(const STATS_TalvoDataSample_MP &sample, TalvoFloat *outPoints, TalvoFloat *outWeights,
                      int skipUndefined)
{
    int n = static_cast<int>(sample.size());
    if (sample.weighted())
        return STATS_CopyWeightedData_MP(sample.points(), sample.weights(), outPoints, outWeights, n, skipUndefined);
    return STATS_CopySimpleData_MP(sample.points(), outPoints, n, skipUndefined);
}
