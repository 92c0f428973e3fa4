// noncentral_chi_square.cpp -- g01gcc: the lower tail of the non-central
// chi-square distribution with df >= 0 degrees of freedom and non-centrality
// lambda:
//   P(X <= x) = sum_j e^-(lambda/2) (lambda/2)^j / j!  P(df/2 + j, x/2),
// summed by mixture.cpp from the top rung down with the central gamma
// ladder; df = 0 puts the mass e^-(lambda/2) at 0 (P(0, x/2) = 1).
#include "../core/support.hpp"
#include "../special/gamma_inc.hpp"
#include "../invert/invert.hpp"
#include "mixture.hpp"
#include "noncentral_chi_square_fast.hpp"

using namespace talvo::mp;

namespace {

// The last answers per thread, by their exact arguments: a sample drawn by
// root searches asks for the same points again and again (every search
// starts at the mean and marches right along the same secants before it
// needs its own probability), and an answer is a function of the
// arguments, the precision asked for and the iteration limit alone.
class KeptAnswers {
public:
    KeptAnswers()
    {
        for (Entry &e : entries_)
            mpfr_inits2(64, e.x, e.df, e.lambda, e.value, static_cast<mpfr_ptr>(nullptr));
    }
    ~KeptAnswers()
    {
        for (Entry &e : entries_)
            mpfr_clears(e.x, e.df, e.lambda, e.value, static_cast<mpfr_ptr>(nullptr));
    }
    KeptAnswers(const KeptAnswers &) = delete;
    KeptAnswers &operator=(const KeptAnswers &) = delete;

    bool find(TalvoFloat &out, const TalvoFloat &x, const TalvoFloat &df, const TalvoFloat &lambda, const Target &t,
              Integer max_iter) const
    {
        for (const Entry &e : entries_)
            if (e.used && e.out_prec == t.out_prec && e.goal == t.goal && e.max_iter == max_iter &&
                mpfr_equal_p(e.x, x.mpfr()) && mpfr_equal_p(e.df, df.mpfr()) && mpfr_equal_p(e.lambda, lambda.mpfr())) {
                out = TalvoFloat::from_handle(talvo_float_from_mpfr(e.value, t.out_prec));
                return true;
            }
        return false;
    }
    void keep(const TalvoFloat &value, const TalvoFloat &x, const TalvoFloat &df, const TalvoFloat &lambda,
              const Target &t, Integer max_iter)
    {
        Entry &e = entries_[next_++ % kCount];
        auto copy = [](mpfr_ptr to, const TalvoFloat &from) {
            mpfr_set_prec(to, mpfr_get_prec(from.mpfr()));
            mpfr_set(to, from.mpfr(), MPFR_RNDN); // exact
        };
        copy(e.x, x);
        copy(e.df, df);
        copy(e.lambda, lambda);
        copy(e.value, value);
        e.out_prec = t.out_prec;
        e.goal = t.goal;
        e.max_iter = max_iter;
        e.used = true;
    }

private:
    static constexpr unsigned kCount = 8;
    struct Entry {
        mpfr_t x, df, lambda, value;
        slong out_prec = 0, goal = 0;
        Integer max_iter = 0;
        bool used = false;
    };
    Entry entries_[kCount];
    unsigned next_ = 0;
};

thread_local KeptAnswers kept;

} // namespace

TalvoFloat TalvoMP_g01gcc(TalvoFloat x, TalvoFloat df, TalvoFloat lambda, TalvoFloat tol, Integer max_iter,
                          NagError *fail)
{
    Call call("TalvoMP_g01gcc", fail);
    if (!call.at_least("x", x, 0) || !call.finite("df", df) || !call.at_least("df", df, 0) || !call.not_tiny("df", df) ||
        !call.finite("lambda", lambda) || !call.at_least("lambda", lambda, 0) || !call.defined("tol", tol) ||
        !call.int_at_least("max_iter", max_iter, 1))
        return Call::undefined();
    if (float_is_zero(df) && float_is_zero(lambda)) {
        call.fail(NE_ARG_COMBINATION, "df = 0 and lambda = 0: lambda must be > 0 when df = 0.");
        return Call::undefined();
    }
    Target target = target_for_tol(tol);
    if (float_is_inf(x))
        return float_from_si(1, target.out_prec);
    // (Only the sums below are kept; with the fast paths off, for the tests
    // that compare both ways, nothing is kept or looked up.)
    const bool keeping = fast_paths_enabled();
    TalvoFloat answer;
    if (keeping && kept.find(answer, x, df, lambda, target, max_iter))
        return answer;
    Fmpq a;
    fmpq_set_float(a, df);
    fmpq_div_2exp(a, a, 1);
    Arb hx, z, r;
    arb_set_float(hx, x);
    arb_mul_2exp_si(hx, hx, -1);
    arb_set_float(z, lambda);
    arb_mul_2exp_si(z, z, -1);
    if (float_is_zero(x)) {
        // Only the point mass at 0 (df = 0) contributes: e^-(lambda/2).
        if (!float_is_zero(df))
            return float_from_si(0, target.out_prec);
        Status s = ziv({r}, target, 8, [&](slong wp) {
            arb_neg(r, z);
            arb_exp(r, r, wp);
            return Status::Ok;
        });
        return call.result(r, target, s);
    }
    if (float_is_zero(lambda)) {
        Status s = ziv({r}, target, 12, [&](slong wp) { return gamma_pq(r, nullptr, a, gamma_point_fixed(hx), target.goal, wp); });
        return call.result(r, target, s);
    }
    MixtureComponent c;
    c.z = z;
    c.kind = MixtureComponent::GammaLower;
    fmpq_set(c.a, a);
    c.gamma_point = gamma_point_fixed(hx);
    TalvoFloat fast;
    if (!float_is_zero(df) && g01gcc_fast(fast, x, df, lambda, c, target, max_iter)) {
        count_fast_answer();
        if (keeping)
            kept.keep(fast, x, df, lambda, target, max_iter);
        return fast;
    }
    Integer needed = 0;
    Status s = ziv({r}, target, 16, [&](slong wp) { return mixture_sum(r, &c, 1, target.goal, wp, max_iter, &needed); });
    if (s == Status::NoConvergence) {
        call.fail_status(s, needed, max_iter);
        return float_from_arb(r, target.out_prec);
    }
    answer = call.result(r, target, s);
    if (s == Status::Ok && keeping)
        kept.keep(answer, x, df, lambda, target, max_iter);
    return answer;
}
