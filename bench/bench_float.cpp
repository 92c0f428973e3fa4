// bench_float -- the cost of TalvoFloat arithmetic against MPFR used directly.
//
// Three ways to compute a = a op b (op: add, multiply; exp: a = exp(b); a
// double made a float: a = 0.1) at 15, 30, 50 and 300 digits:
//   Talvo        TalvoFloat: one new collected object per result;
//   MpfrInPlace  mpfr_t allocated once, the result written over a;
//   MpfrFresh    a new mpfr_t per result (init, operation, swap into a, clear),
//                what an immutable value on the malloc heap would cost.
//
// Talvo includes the collector's work, with the collector started as the
// reference host starts it (its initial heap size included).
#include "object.hpp"
#include "talvo_float.hpp"

#include <benchmark/benchmark.h>
#include <gc.h>

#include <algorithm>
#include <vector>

namespace {

enum class Op { Add, Mul, Exp, FromDouble };

// The double converted by the FromDouble cases, read afresh each time.
volatile double g_double = 0.1;

struct DigitsScope {
    long saved;
    explicit DigitsScope(long d) : saved(talvo_float_digits()) { talvo_float_set_digits(d); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

// Operands with every bit of the precision in use.  b is close to 1 for the
// product so that a long run neither overflows nor underflows, and small for
// the exponential.
void operands(Op op, mpfr_ptr a, mpfr_ptr b)
{
    mpfr_set_ui(a, 1, MPFR_RNDN);
    mpfr_div_ui(a, a, 3, MPFR_RNDN);
    mpfr_add_ui(a, a, 1, MPFR_RNDN);
    switch (op) {
    case Op::Add:
        mpfr_set_ui(b, 1, MPFR_RNDN);
        mpfr_div_ui(b, b, 7, MPFR_RNDN);
        break;
    case Op::Mul:
        mpfr_set_ui(b, 1, MPFR_RNDN);
        mpfr_div_ui(b, b, 30000007, MPFR_RNDN);
        mpfr_add_ui(b, b, 1, MPFR_RNDN);
        break;
    case Op::Exp:
    case Op::FromDouble:
        mpfr_set_ui(b, 5, MPFR_RNDN);
        mpfr_div_ui(b, b, 7, MPFR_RNDN);
        break;
    }
}

template <Op op>
void Talvo(benchmark::State &state)
{
    DigitsScope digits(state.range(0));
    mpfr_prec_t prec = talvo_float_precision();
    TalvoFloat a = TalvoFloat::from_handle(talvo_float_new(prec));
    TalvoFloat b = TalvoFloat::from_handle(talvo_float_new(prec));
    operands(op, talvo_float_mpfr(a.handle()), talvo_float_mpfr(b.handle()));
    for (auto _ : state) {
        if constexpr (op == Op::Add)
            a = a + b;
        else if constexpr (op == Op::Mul)
            a = a * b;
        else if constexpr (op == Op::Exp)
            a = exp(b);
        else
            a = TalvoFloat(g_double);
        benchmark::DoNotOptimize(a);
    }
    benchmark::DoNotOptimize(a.to_double());
    state.SetItemsProcessed(state.iterations());
}

template <Op op>
void MpfrInPlace(benchmark::State &state)
{
    mpfr_prec_t prec = talvo_float_precision_bits(state.range(0));
    mpfr_t a, b;
    mpfr_init2(a, prec);
    mpfr_init2(b, prec);
    operands(op, a, b);
    for (auto _ : state) {
        if constexpr (op == Op::Add)
            mpfr_add(a, a, b, MPFR_RNDN);
        else if constexpr (op == Op::Mul)
            mpfr_mul(a, a, b, MPFR_RNDN);
        else if constexpr (op == Op::Exp)
            mpfr_exp(a, b, MPFR_RNDN);
        else
            mpfr_set_d(a, g_double, MPFR_RNDN);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(mpfr_get_d(a, MPFR_RNDN));
    mpfr_clear(a);
    mpfr_clear(b);
    state.SetItemsProcessed(state.iterations());
}

template <Op op>
void MpfrFresh(benchmark::State &state)
{
    mpfr_prec_t prec = talvo_float_precision_bits(state.range(0));
    mpfr_t a, b;
    mpfr_init2(a, prec);
    mpfr_init2(b, prec);
    operands(op, a, b);
    for (auto _ : state) {
        mpfr_t t;
        mpfr_init2(t, prec);
        if constexpr (op == Op::Add)
            mpfr_add(t, a, b, MPFR_RNDN);
        else if constexpr (op == Op::Mul)
            mpfr_mul(t, a, b, MPFR_RNDN);
        else if constexpr (op == Op::Exp)
            mpfr_exp(t, b, MPFR_RNDN);
        else
            mpfr_set_d(t, g_double, MPFR_RNDN);
        mpfr_swap(a, t);
        mpfr_clear(t);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(mpfr_get_d(a, MPFR_RNDN));
    mpfr_clear(a);
    mpfr_clear(b);
    state.SetItemsProcessed(state.iterations());
}

// Each case is run five times and reported by its fastest run (the machine's
// other work only ever adds time), with the median beside it.
void digit_args(benchmark::internal::Benchmark *b)
{
    b->ArgName("digits")->Arg(15)->Arg(30)->Arg(50)->Arg(300);
    b->Repetitions(5)->ReportAggregatesOnly(true)->ComputeStatistics("min", [](const std::vector<double> &v) {
        return *std::min_element(v.begin(), v.end());
    });
}

BENCHMARK(Talvo<Op::Add>)->Apply(digit_args);
BENCHMARK(MpfrInPlace<Op::Add>)->Apply(digit_args);
BENCHMARK(MpfrFresh<Op::Add>)->Apply(digit_args);
BENCHMARK(Talvo<Op::Mul>)->Apply(digit_args);
BENCHMARK(MpfrInPlace<Op::Mul>)->Apply(digit_args);
BENCHMARK(MpfrFresh<Op::Mul>)->Apply(digit_args);
BENCHMARK(Talvo<Op::Exp>)->Apply(digit_args);
BENCHMARK(MpfrInPlace<Op::Exp>)->Apply(digit_args);
BENCHMARK(MpfrFresh<Op::Exp>)->Apply(digit_args);
BENCHMARK(Talvo<Op::FromDouble>)->Apply(digit_args);
BENCHMARK(MpfrInPlace<Op::FromDouble>)->Apply(digit_args);
BENCHMARK(MpfrFresh<Op::FromDouble>)->Apply(digit_args);

} // namespace

int main(int argc, char **argv)
{
    talvo::gc_init();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
