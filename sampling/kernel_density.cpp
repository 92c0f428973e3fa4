// kernel_density.cpp -- the kernel density estimate by the Fourier transform
// method, the data range, and the sampler of gridded densities.
//
// Host entries:
//   STATS_TalvoKernelDensity_MP(data, weights, kernel, h, M, flag, a, b):
//     the estimate at M evenly spaced points from a to b, as a float Array
//     1..M.  The data are binned onto the grid as a density, the binned
//     sequence is transformed (real Fourier transform, Hermitian storage),
//     the coefficient of frequency k (1 <= k <= M/2, integer division) is
//     multiplied by the kernel's characteristic function at c k with
//     c = 2 Pi h / (b - a), and the result is transformed back.  The
//     transform pair has the unitary scaling of the numerics library, so the
//     estimate keeps the binned mass.  With h = 0 every factor is 1 and the
//     estimate is the binned data.  Kernels: 0 Gaussian, 1 triangular,
//     2 rectangular, 3 Epanechnikov, 4 biweight, each scaled to variance 1
//     (h is the kernel's standard deviation).  For odd M the coefficient
//     (M - 1)/2 has its real part multiplied and its imaginary part (at
//     position (M + 1)/2) left as it is: the steps multiply positions k and
//     M - k for k below M/2 and then position M/2 alone.
//   STATS_TalvoKernelBounds_MP(data): the list [min, max] of the data.
//   STATS_TalvoKernelDensitySample_MP(f, a, b, n): n draws from the density
//     with values f at m evenly spaced points from a to b (piecewise linear,
//     falling to 0 one grid step beyond each end).
#include "kernel_density.hpp"

#include "correctly_rounded.hpp"
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "random_sample.hpp"
#include "random_stream.hpp"
#include "rootfinding.hpp"
#include "stats_entries.h"
#include "tally.hpp"
#include "talvo_mp.h"
#include "talvo_utils.hpp"

#include <cstdint>

namespace {

// A constant of the kernels, made on first use and kept.  It is made again
// only when a computation asks for more precision than it has (the kernels
// run at raised precision inside CorrectlyRounded; a constant made at 10
// digits would otherwise limit every later result to 10 digits).
class KeptConstant {
public:
    using Make = TalvoFloat (*)();
    explicit KeptConstant(Make make) : make_(make) {}

    TalvoFloat get()
    {
        mpfr_prec_t p = talvo_float_precision();
        if (p > prec_) {
            value_ = make_();
            prec_ = p;
        }
        return value_;
    }

private:
    Make make_;
    TalvoFloat value_; // a static handle: a collector root like every static float
    mpfr_prec_t prec_ = 0;
};

TalvoFloat Sin(const TalvoFloat &x) { return TalvoEvalf1("sin", x); }
TalvoFloat Cos(const TalvoFloat &x) { return TalvoEvalf1("cos", x); }

// Every kernel is 1 - s^2/2 + O(s^4) near 0 (its characteristic function at
// variance 1).  Below 2^(-p/2 - 4) (p the precision) 1 - phi(s) is less than
// a hundredth of the half unit below 1, so 1 is the correctly rounded
// value; the formulas there would only cancel (the Epanechnikov and biweight
// numerators vanish like s^3 and s^5).
bool RoundsToOne(const TalvoFloat &s)
{
    mpfr_srcptr v = s.mpfr();
    if (mpfr_zero_p(v))
        return true;
    if (!mpfr_regular_p(v))
        return false;
    return mpfr_get_exp(v) < -static_cast<mpfr_exp_t>(talvo_float_precision() / 2) - 4;
}

TalvoFloat Sqrt(double x) { return sqrt(TalvoFloat(x)); }

} // namespace

TalvoFloat KernelDensity_Gaussian(TalvoFloat s)
{
    if (RoundsToOne(s))
        return TalvoFloat(1.0);
    return stats::CorrectlyRounded([&] { return exp(-(s * s) / TalvoFloat(2.0)); });
}

TalvoFloat KernelDensity_Triangular(TalvoFloat s)
{
    static KeptConstant sqrt6([] { return Sqrt(6.0); });
    static KeptConstant third([] { return TalvoFloat(1.0) / TalvoFloat(3.0); });
    if (RoundsToOne(s))
        return TalvoFloat(1.0);
    // 1 - cos(x) written as 2 sin(x/2)^2, which does not cancel for small x.
    return stats::CorrectlyRounded([&] {
        TalvoFloat half = Sin(sqrt6.get() * s / TalvoFloat(2.0));
        return third.get() * (TalvoFloat(2.0) * half * half) / (s * s);
    });
}

TalvoFloat KernelDensity_Rectangular(TalvoFloat s)
{
    static KeptConstant sqrt3([] { return Sqrt(3.0); });
    if (RoundsToOne(s))
        return TalvoFloat(1.0);
    return stats::CorrectlyRounded([&] {
        TalvoFloat x = sqrt3.get() * s;
        return Sin(x) / x;
    });
}

TalvoFloat KernelDensity_Epanechnikov(TalvoFloat s)
{
    static KeptConstant sqrt5([] { return Sqrt(5.0); });
    static KeptConstant three_25ths([] { return TalvoFloat(3.0) / TalvoFloat(25.0); });
    if (RoundsToOne(s))
        return TalvoFloat(1.0);
    return stats::CorrectlyRounded([&] {
        TalvoFloat r5 = sqrt5.get();
        TalvoFloat x = r5 * s;
        return three_25ths.get() * r5 * (Sin(x) - x * Cos(x)) / (s * s * s);
    });
}

TalvoFloat KernelDensity_Biweight(TalvoFloat s)
{
    static KeptConstant sqrt7([] { return Sqrt(7.0); });
    if (RoundsToOne(s))
        return TalvoFloat(1.0);
    return stats::CorrectlyRounded([&] {
        TalvoFloat t = sqrt7.get() * s;
        TalvoFloat t2 = t * t;
        return TalvoFloat(15.0) * ((TalvoFloat(3.0) - t2) * Sin(t) - TalvoFloat(3.0) * t * Cos(t)) / (t2 * t2 * t);
    });
}

TalvoFloat _KernelProbabilityAdapter::Call(TalvoFloat x)
{
    long i = STATS_DoubleToInteger_MP(x);
    if (i < 0 || i >= m_count)
        TalvoRaiseError1(m_kv, "kernel cumulative table index %1 out of range", ToTalvoInteger(m_kv, i));
    return m_table[i];
}

namespace {

using Kernel = TalvoFloat (*)(TalvoFloat);

Kernel KernelByCode(int code)
{
    switch (code) {
    case 0: return KernelDensity_Gaussian;
    case 1: return KernelDensity_Triangular;
    case 2: return KernelDensity_Rectangular;
    case 3: return KernelDensity_Epanechnikov;
    case 4: return KernelDensity_Biweight;
    default: return nullptr;
    }
}

TalvoFloat HostPi(TKernelVector kv) { return STATS_TalvoUtils_MP::TalvoDAGToDouble(ToTalvoName(kv, "Pi", 1)); }

} // namespace

void STATS_KernelDensity_MP(TKernelVector kv, const TalvoFloat *points, const TalvoFloat *weights, long n, int kernel,
                            TalvoFloat h, int M, int flag, TalvoFloat a, TalvoFloat b, TalvoFloat *out,
                            TalvoFloat *work)
{
    long g = M > 0 ? M : 0;
    long missing = STATS_Discretize_MP(out, g, a, b, points, weights, n, TalvoFloat(0.0));
    if (missing > 0 && !flag)
        TalvoUserInfo(kv, 1, "Statistics", "missing data has been detected in the dataset, discarded.");

    Integer ifail = 1;
    TalvoMP_c06faf(out, M, work, &ifail);
    if (ifail != 0)
        TalvoRaiseError(kv, "nag function failed to compute the forward fourier transform");

    Kernel K = KernelByCode(kernel);
    if (K == nullptr)
        TalvoRaiseError1(kv, "invalid kernel, received: %1", ToTalvoInteger(kv, kernel));

    TalvoFloat pi = HostPi(kv);
    TalvoFloat c = TalvoFloat(2.0) * pi * h / (b - a);
    // Hermitian storage: Re at k, Im at M - k.  Position 0, the total mass,
    // keeps its value.
    for (int k = 1; k <= M / 2 - 1; ++k) {
        TalvoFloat factor = K(c * TalvoFloat(double(k)));
        out[k] *= factor;
        out[M - k] *= factor;
    }
    out[M / 2] *= K(c * TalvoFloat(double(M / 2)));

    ifail = 1;
    TalvoMP_c06gbf(out, M, &ifail);
    if (ifail != 0)
        TalvoRaiseError(kv, "nag function failed to compute complex conjugates");
    ifail = 1;
    TalvoMP_c06fbf(out, M, work, &ifail);
    if (ifail != 0)
        TalvoRaiseError(kv, "nag function failed to compute the reverse fourier transform");
}

void STATS_KernelBounds_MP(TKernelVector kv, const TalvoFloat *points, long n, TalvoFloat *min, TalvoFloat *max)
{
    if (n < 1)
        TalvoRaiseError(kv, "invalid input - dataset must contain at least one element.");
    TalvoFloat lo = points[0], hi = points[0];
    for (long i = 1; i < n; ++i) {
        const TalvoFloat &x = points[i];
        if (IsTalvoFloatUndefined(x))
            continue;
        if (x < lo)
            lo = x;
        if (x > hi)
            hi = x;
    }
    *min = lo;
    *max = hi;
}

namespace {

// The draw placed inside cell j (0 .. m) for the target area u, correctly
// rounded (evaluated with guard digits: near-flat cells cancel in
// p h - sqrt(disc)).  C[j - 1] is the area left of the cell.
TalvoFloat PlaceInCell(long j, const TalvoFloat &u, const TalvoFloat *f, const TalvoFloat *C, long m,
                       const TalvoFloat &a, const TalvoFloat &b)
{
    return stats::CorrectlyRounded([&] {
        TalvoFloat h = (b - a) / TalvoFloat(double(m - 1));
        TalvoFloat r;
        if (j == 0) {
            // The half cell left of a, where the density rises from 0 at
            // a - h to f[0] at a.
            r = h - sqrt(TalvoFloat(2.0) * h * u / f[0]);
        } else {
            // In the last cell (j = m) the density falls to 0 at b + h.
            TalvoFloat d = u - C[j - 1], p = f[j - 1], q = j < m ? f[j] : TalvoFloat(0.0);
            TalvoFloat disc = p * p * h * h + TalvoFloat(2.0) * h * (q - p) * d;
            TalvoFloat t = (p * h - sqrt(disc)) / (p - q);
            r = h - t;
        }
        return a + TalvoFloat(double(j)) * h - r;
    });
}

} // namespace

void STATS_KernelDensitySample_MP(TKernelVector kv, const TalvoFloat *f, long m, TalvoFloat a, TalvoFloat b,
                                  TalvoFloat *out, long n)
{
    if (m < 1)
        TalvoRaiseError(kv, "invalid input - density must contain at least one element.");
    TalvoFloat h = (b - a) / TalvoFloat(double(m - 1));
    // C[i]: the area left of grid point i (C[0] the half cell left of a),
    // C[m] the whole area.  A host float array, read through its data block.
    ALGEB table = stats::NewFloatArray(kv, m + 1);
    auto *C = static_cast<TalvoFloat *>(RTableDataBlock(kv, table));
    C[0] = TalvoFloat(0.5) * f[0] * h;
    for (long i = 1; i <= m - 1; ++i)
        C[i] = C[i - 1] + TalvoFloat(0.5) * h * (f[i] + f[i - 1]);
    C[m] = C[m - 1] + TalvoFloat(0.5) * f[m - 1] * h;
    TalvoFloat total = C[m];
    _KernelProbabilityAdapter adapter(kv, C, m + 1);
    for (long i = 0; i < n; ++i) {
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble() * total;
        long j = STATS_DiscreteInterpolation_MP(kv, u, adapter, 0, m, 100);
        out[i] = PlaceInCell(j, u, f, C, m, a, b);
    }
}

// ---------------------------------------------------------------------------
// Host entries
// ---------------------------------------------------------------------------

STATS_ENTRY ALGEB STATS_TalvoKernelDensity_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 8);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    int32_t kernel = f.int32(3);
    TalvoFloat h = f.real(4);
    int32_t M = f.int32(5);
    bool flag = f.flag(6) != 0;
    TalvoFloat a = f.real(7), b = f.real(8);
    long g = M > 0 ? M : 0;
    ALGEB result = stats::NewFloatArray(kv, g);
    auto *work = static_cast<TalvoFloat *>(TalvoAlloc(kv, static_cast<M_INT>(sizeof(TalvoFloat) * size_t(g > 0 ? g : 1))));
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, result));
    STATS_KernelDensity_MP(kv, sample.points(), sample.weights(), sample.size(), kernel, h, M, flag, a, b, out, work);
    return result;
}

STATS_ENTRY ALGEB STATS_TalvoKernelBounds_MP(TKernelVector kv, ALGEB args)
{
    // Only more than one argument is refused; with none, reading the data
    // meets the host's own bounds check.
    stats::EntryFrame f(kv, args, __func__, stats::ArgCount::AtLeast(0));
    if (f.count() > 1)
        TalvoRaiseError1(kv, stats::CountMessage(__func__, stats::ArgCount::Exactly(1)).c_str(), args);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1));
    TalvoFloat min, max;
    STATS_KernelBounds_MP(kv, sample.points(), sample.size(), &min, &max);
    ALGEB list = TalvoListAlloc(kv, 2);
    TalvoListAssign(kv, list, 1, STATS_DoubleToTalvoFloat_MP(kv, min));
    TalvoListAssign(kv, list, 2, STATS_DoubleToTalvoFloat_MP(kv, max));
    return list;
}

STATS_ENTRY ALGEB STATS_TalvoKernelDensitySample_MP(TKernelVector kv, ALGEB args)
{
    // Only more than four arguments are refused; with fewer, reading the
    // missing ones meets the host's own bounds check.
    stats::EntryFrame f(kv, args, __func__, stats::ArgCount::AtLeast(0));
    if (f.count() > 4)
        TalvoRaiseError1(kv, stats::CountMessage(__func__, stats::ArgCount::Exactly(4)).c_str(), args);
    STATS_Vector_MP density(kv, f.arg(1));
    TalvoFloat a = f.real(2), b = f.real(3);
    int32_t n = f.int32(4);
    ALGEB sample = STATS_CreateRandomSample_MP(kv, n, ToTalvoNULL(kv));
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, sample));
    STATS_KernelDensitySample_MP(kv, density.data(), density.size(), a, b, out, n > 0 ? n : 0);
    return sample;
}
