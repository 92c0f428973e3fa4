// kernel_density.hpp -- the kernel density estimate on a grid by the Fourier
// transform method, the data range it is planned from, and random draws from
// a density given by its values on a grid.
#pragma once

#include "callback_adapters.hpp"
#include "stats_api.h"

// The kernels, as the Fourier transform (characteristic function) of the
// kernel scaled to unit variance, at s; each is exactly 1 at s = 0:
//   Gaussian      exp(-s^2/2)
//   Triangular    (1 - cos(sqrt(6) s)) / (3 s^2)
//   Rectangular   sin(sqrt(3) s) / (sqrt(3) s)
//   Epanechnikov  (3 sqrt(5)/25) (sin(sqrt(5) s) - sqrt(5) s cos(sqrt(5) s)) / s^3
//   Biweight      15 ((3 - t^2) sin t - 3 t cos t) / t^5,  t = sqrt(7) s
// Each result is the correctly rounded value of its formula.  Sine and
// cosine are the host's functions (TalvoEvalf1), the exponential the float
// library's.
STATS_API TalvoFloat KernelDensity_Gaussian(TalvoFloat s);
STATS_API TalvoFloat KernelDensity_Triangular(TalvoFloat s);
STATS_API TalvoFloat KernelDensity_Rectangular(TalvoFloat s);
STATS_API TalvoFloat KernelDensity_Epanechnikov(TalvoFloat s);
STATS_API TalvoFloat KernelDensity_Biweight(TalvoFloat s);

// The cumulative table of the gridded sampler seen as a function of the
// cell index: Call(x) is C[i] with i = STATS_DoubleToInteger_MP(x).  An
// index outside the table's `count` entries raises "kernel cumulative table
// index %1 out of range" (the sampler never asks for one).
class STATS_API _KernelProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _KernelProbabilityAdapter(TKernelVector kv, const TalvoFloat *table, long count)
        : STATS_TalvoCallbackAdapter_MP(kv), m_table(table), m_count(count)
    {
    }
    TalvoFloat Call(TalvoFloat x) override;

private:
    const TalvoFloat *m_table;
    long m_count;
};

// The kernel density estimate at the M points a + i (b - a)/(M - 1),
// i = 0 .. M-1, of the n points (weights w, or null for weight 1) into
// out[0..M-1]; work is scratch of M floats.  The data are binned linearly
// onto the grid (STATS_Discretize_MP, as a density), transformed
// (TalvoMP_c06faf), each coefficient k multiplied by the kernel at
// 2 pi h k / (b - a), and transformed back (TalvoMP_c06gbf, TalvoMP_c06fbf).
// With `flag` false, undefined points are reported once at information
// level 1.  Raises the failure messages of the transforms and "invalid
// kernel, received: %1" for a kernel code outside 0 .. 4 (after the forward
// transform, as the steps go).
STATS_API void STATS_KernelDensity_MP(TKernelVector kv, const TalvoFloat *points, const TalvoFloat *weights, long n,
                                      int kernel, TalvoFloat h, int M, int flag, TalvoFloat a, TalvoFloat b,
                                      TalvoFloat *out, TalvoFloat *work);

// The smallest and largest of n points: the first point, then every later
// one that is not undefined.  n = 0 raises "invalid input - dataset must
// contain at least one element.".
STATS_API void STATS_KernelBounds_MP(TKernelVector kv, const TalvoFloat *points, long n, TalvoFloat *min,
                                     TalvoFloat *max);

// n draws into out[0..n-1] from the density whose values at the m evenly
// spaced points a .. b are f[0..m-1]: linear between the points, falling
// linearly to zero over one grid step beyond each end, taken as it is (its
// area need not be 1).  m < 1 raises "invalid input - density must contain
// at least one element.".
STATS_API void STATS_KernelDensitySample_MP(TKernelVector kv, const TalvoFloat *f, long m, TalvoFloat a,
                                            TalvoFloat b, TalvoFloat *out, long n);
