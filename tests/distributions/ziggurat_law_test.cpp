// ziggurat_law_test.cpp -- the law the ziggurat generators' draws follow,
// derived from their definitions and their tables, and a million draws at
// 10, 30 and 100 digits tested against it (Kolmogorov-Smirnov).
//
// One pass of a generator's loop draws an integer hz: the layer i = hz & 255
// (each with probability 1/256) and the abscissa x = hz * w[i], uniform on
// (-x[i], x[i]) (x[0] = q = v / f(r) for the base strip).  A pass either
// returns a value or starts again.  Writing K = 1 / (512 v) and F[i] for the
// density at layer i's edge (the tables gF), the passes that return give:
//
//  - normal, every layer but 1: density K min(f(x), F[1]) on (-r, r): layers
//    2..255 give K (min(f, F[1]) - F[255]) there (their wedges add up, since
//    F[i-1] - F[i] = v / x[i]), the base strip gives K F[255] on (-q, r)
//    (a negative integer is accepted there whatever its size), and the
//    abscissas of the base strip in [r, q) become r plus an exact normal tail;
//  - exponential: the same on the positive side with f(x) = exp(-x) and an
//    exponential tail; on the negative side every abscissa is accepted, so
//    layer i adds 1 / (512 x[i]) on (-x[i], 0) and the base strip 1 / (512 q)
//    on (-q, 0);
//  - layer 1 accepts with probability c = (int_0^x1 f - F[1] x1) /
//    (256 x1 (F[0] - F[1])) and then returns the uniform u of the latest
//    rejected wedge of the call, or 0 when no wedge was rejected;
//  - the wedges of layers 2..255 reject with probability B in all, the
//    rejected u having a density r_w (from u >= (f(s) - F[i]) / (F[i-1] - F[i])).
//
// With a the total of the returning passes other than layer 1, a draw is one
// of those with probability a / (a + c), a layer-1 zero with probability c / S
// (S = a + B + c: layer 1 came before any rejected wedge), and a layer-1 u
// from r_w otherwise.  The test checks that a + B + c + (layer-1 rejections)
// is 1, then compares the draws with this law.
#include "stats_support.hpp"

#include "ziggurat.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

using namespace stats::test;

namespace {

constexpr double kM = 2147483648.0;
constexpr int kDraws = 1000000;

class ZigguratLaw {
public:
    // Reads the tables the generator built at the current precision.
    ZigguratLaw(bool normal, const TalvoFloat *w, const TalvoFloat *fv, const TalvoFloat &r, const TalvoFloat &v)
        : normal_(normal), r_(r.to_double()), v_(v.to_double())
    {
        for (int i = 0; i < 256; ++i) {
            x_[i] = w[i].to_double() * kM;
            F_[i] = fv[i].to_double();
        }
        q_ = x_[0];
        K_ = 1 / (512 * v_);
        tail_ = K_ * F_[255] * (q_ - r_);
        // Layer 1.
        double x1 = x_[1];
        c_ = (Integral(0, x1) - F_[1] * x1) / (256 * x1 * (F_[0] - F_[1]));
        layer1_rejected_ = 1.0 / 256 - c_;
        // Rejected wedges: r_w on a grid, then its running integral.
        const double sides = normal_ ? 1.0 : 0.5;
        rw_.assign(kGrid + 1, 0.0);
        for (int k = 0; k <= kGrid; ++k) {
            double u = double(k) / kGrid, sum = 0;
            for (int i = 2; i < 256; ++i) {
                double y = F_[i] + u * (F_[i - 1] - F_[i]);
                double s = std::clamp(Inverse(y), x_[i - 1], x_[i]);
                sum += sides / (256 * x_[i]) * (x_[i] - s);
            }
            rw_[k] = sum;
        }
        Rw_.assign(kGrid + 1, 0.0);
        for (int k = 1; k <= kGrid; ++k)
            Rw_[k] = Rw_[k - 1] + 0.5 * (rw_[k - 1] + rw_[k]) / kGrid;
        B_ = Rw_[kGrid];
        // Negative side of the exponential: layers sorted by width, with
        // running sums from the widest down.
        if (!normal_) {
            for (int i = 2; i < 256; ++i)
                widths_.push_back(x_[i]);
            std::sort(widths_.begin(), widths_.end());
            size_t n = widths_.size();
            inv_suffix_.assign(n + 1, 0.0);
            for (size_t k = n; k-- > 0;)
                inv_suffix_[k] = inv_suffix_[k + 1] + 1 / widths_[k];
        }
        a_ = AlphaCdf(INFINITY);
        S_ = a_ + B_ + c_;
    }

    // All outcomes of a pass.
    double PassTotal() const { return a_ + B_ + c_ + layer1_rejected_; }
    double LayerOneZero() const { return c_ / S_; }
    double LayerOneShare() const { return c_ / (a_ + c_); }

    // P(X <= t) and P(X < t).
    double Cdf(double t) const
    {
        double p = AlphaCdf(t) / (a_ + c_);
        if (t >= 0)
            p += c_ / S_ + c_ * Rw(std::min(t, 1.0)) / ((a_ + c_) * S_);
        return p;
    }
    double CdfBelow(double t) const { return t == 0 ? AlphaCdf(0) / (a_ + c_) : Cdf(t); }

private:
    static constexpr int kGrid = 4000;

    double f(double s) const { return normal_ ? std::exp(-0.5 * s * s) : std::exp(-s); }
    double Inverse(double y) const { return normal_ ? std::sqrt(-2 * std::log(y)) : -std::log(y); }
    // int_a^b f, 0 <= a <= b.
    double Integral(double a, double b) const
    {
        if (normal_)
            return std::sqrt(M_PI / 2) * (std::erfc(a / M_SQRT2) - std::erfc(b / M_SQRT2));
        return std::exp(-a) - std::exp(-b);
    }
    // int_0^s min(f, F[1]), s >= 0.
    double Capped(double s) const
    {
        double x1 = x_[1];
        if (s <= x1)
            return F_[1] * s;
        return F_[1] * x1 + Integral(x1, s);
    }
    double Rw(double u) const
    {
        double pos = u * kGrid;
        int k = std::min(int(pos), kGrid - 1);
        return Rw_[k] + (Rw_[k + 1] - Rw_[k]) * (pos - k);
    }
    // Probability of a pass returning a value <= t, layer 1 aside.
    double AlphaCdf(double t) const
    {
        double below0 = NegativeMass(0.0);
        if (t < 0)
            return NegativeMass(-t);
        if (t < r_)
            return below0 + K_ * Capped(t);
        double tail = normal_ ? (t == INFINITY ? 1.0 : 1 - std::erfc(t / M_SQRT2) / std::erfc(r_ / M_SQRT2))
                              : 1 - std::exp(-(t - r_));
        return below0 + K_ * Capped(r_) + tail_ * tail;
    }
    // Probability of a pass returning a value <= -s (s >= 0).
    double NegativeMass(double s) const
    {
        if (normal_) {
            if (s >= q_)
                return 0;
            if (s >= r_)
                return K_ * F_[255] * (q_ - s);
            return K_ * F_[255] * (q_ - r_) + K_ * (Capped(r_) - Capped(s));
        }
        double mass = s < q_ ? (q_ - s) / (512 * q_) : 0;
        size_t k = std::upper_bound(widths_.begin(), widths_.end(), s) - widths_.begin();
        size_t wider = widths_.size() - k;
        return mass + (double(wider) - s * inv_suffix_[k]) / 512;
    }

    bool normal_;
    double r_, v_, q_, K_, tail_, c_, layer1_rejected_, B_, a_, S_;
    double x_[256], F_[256];
    std::vector<double> rw_, Rw_, widths_, inv_suffix_;
};

// Kolmogorov-Smirnov distance of sorted draws from a law with atoms.
template <class Cdf, class CdfBelow>
double KsDistance(const std::vector<double> &x, Cdf cdf, CdfBelow below)
{
    double n = double(x.size()), d = 0;
    size_t i = 0;
    while (i < x.size()) {
        size_t j = i;
        while (j < x.size() && x[j] == x[i])
            ++j;
        d = std::max(d, std::fabs(double(j) / n - cdf(x[i])));
        d = std::max(d, std::fabs(double(i) / n - below(x[i])));
        i = j;
    }
    return d;
}

// Critical value at the 0.001 level.
double KsCritical(size_t n) { return 1.9495 / std::sqrt(double(n)); }

template <class G>
std::vector<double> Draws(int seed)
{
    eval("randomize(" + std::to_string(seed) + ")");
    G::Reset();
    std::vector<double> x(kDraws);
    for (double &v : x)
        v = G::Next().to_double();
    std::sort(x.begin(), x.end());
    return x;
}

} // namespace

class ZigguratLawTest : public ::testing::TestWithParam<int> {};

TEST_P(ZigguratLawTest, NormalDrawsFollowTheDerivedLaw)
{
    DigitsScope d(GetParam());
    using G = STATS_ZigguratNormalGenerator_MP;
    G::Reset();
    ZigguratLaw law(true, G::gW, G::gF, G::gD, G::gV);
    EXPECT_NEAR(law.PassTotal(), 1.0, 1e-9);
    // About 0.26% of the draws come from layer 1, nearly all of them 0.
    EXPECT_NEAR(law.LayerOneShare(), 1.0 / 384, 2e-4);
    EXPECT_GT(law.LayerOneZero(), 0.98 * law.LayerOneShare());

    std::vector<double> x = Draws<G>(20261123 + GetParam());
    double dist = KsDistance(x, [&](double t) { return law.Cdf(t); }, [&](double t) { return law.CdfBelow(t); });
    EXPECT_LT(dist, KsCritical(x.size())) << "Kolmogorov-Smirnov distance at " << GetParam() << " digits";
    // The atom: a continuous law would give no exact zeros at all.  (The
    // plain normal law itself is within a Kolmogorov-Smirnov distance of
    // about c / 2 of this one, too close for a million draws to tell.)
    double zeros = double(std::count(x.begin(), x.end(), 0.0)) / double(x.size());
    EXPECT_NEAR(zeros, law.LayerOneZero(), 5 * std::sqrt(law.LayerOneZero() / double(x.size())));
}

TEST_P(ZigguratLawTest, ExponentialDrawsFollowTheDerivedLaw)
{
    DigitsScope d(GetParam());
    using G = STATS_ZigguratExpGenerator_MP;
    G::Reset();
    ZigguratLaw law(false, G::gW, G::gF, G::gD, G::gV);
    EXPECT_NEAR(law.PassTotal(), 1.0, 1e-9);

    std::vector<double> x = Draws<G>(19700101 + GetParam());
    double dist = KsDistance(x, [&](double t) { return law.Cdf(t); }, [&](double t) { return law.CdfBelow(t); });
    EXPECT_LT(dist, KsCritical(x.size())) << "Kolmogorov-Smirnov distance at " << GetParam() << " digits";
    // About half of the draws are negative, as the law says.
    double negative = double(std::lower_bound(x.begin(), x.end(), 0.0) - x.begin()) / double(x.size());
    EXPECT_NEAR(negative, law.CdfBelow(0.0), 0.002);
    EXPECT_GT(negative, 0.4);
}

INSTANTIATE_TEST_SUITE_P(Digits, ZigguratLawTest, ::testing::Values(10, 30, 100));
