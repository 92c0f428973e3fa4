// envelope_test.cpp -- the adaptive rejection generator: the envelope array,
// the pieces' split points, hulls and areas, the specification checks, the
// draw's stream consumption and refinement, and the law of its samples.
#include "law_support.hpp"

#include "envelope.hpp"

#include <memory>
#include <vector>

using namespace stats::test;

namespace {

using Element = STATS_RejectionEnvelopeElement_MP;

// A generator initialised with a specification written in the language.
std::unique_ptr<STATS_EnvelopeGenerator_MP> Generator(const std::string &spec, int *ready = nullptr)
{
    std::unique_ptr<STATS_EnvelopeGenerator_MP> g(new STATS_EnvelopeGenerator_MP(kv()));
    int r = g->initialize(kv(), eval(spec));
    if (ready != nullptr)
        *ready = r;
    else
        EXPECT_EQ(r, 1) << spec;
    return g;
}

std::string InitializeError(const std::string &spec)
{
    return error_of([&] {
        STATS_EnvelopeGenerator_MP g(kv());
        g.initialize(kv(), eval(spec));
    });
}

std::string S(const TalvoFloat &x) { return show(x.handle()); }

// Densities that count their evaluations in the global n_f (and n_d for the
// derivatives).
void DefineCountingDensities()
{
    eval("n_f := 0: n_d := 0:"
         "lin := proc(x) global n_f; n_f := n_f + 1; 1 + x end proc:"
         "dlin := proc(x) global n_d; n_d := n_d + 1; 1 end proc:"
         "cap := proc(x) global n_f; n_f := n_f + 1; 1 - x^2 end proc:"
         "dcap := proc(x) global n_d; n_d := n_d + 1; -2*x end proc:"
         "nrm := proc(x) global n_f; n_f := n_f + 1; exp(-x^2/2) end proc:"
         "dnrm := proc(x) global n_d; n_d := n_d + 1; -x*exp(-x^2/2) end proc");
}

long Count(const char *name) { return TalvoToInteger32(kv(), eval(name)); }

void ResetCounts() { eval("n_f := 0: n_d := 0"); }

} // namespace

// ---------------------------------------------------------------------------
// The envelope array
// ---------------------------------------------------------------------------

TEST(RejectionEnvelope, GrowsWhenARequestWouldFillIt)
{
    std::vector<Element> e(30);
    STATS_RejectionEnvelope_MP env(0);
    EXPECT_EQ(env.curCapacity(), 0u);
    EXPECT_EQ(env.size(), 0u);
    // size + k >= capacity grows to max(size + k, floor(1.25 size)).
    std::vector<uint32_t> capacities;
    for (int i = 0; i < 12; ++i) {
        env.addElement(&e[size_t(i)]);
        capacities.push_back(env.curCapacity());
    }
    EXPECT_EQ(capacities, (std::vector<uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 12, 13}));
    for (uint32_t i = 0; i < env.size(); ++i)
        EXPECT_EQ(env.elementAt(i), &e[i]);

    STATS_RejectionEnvelope_MP ten(10);
    for (int i = 0; i < 9; ++i)
        ten.addElement(&e[size_t(i)]);
    EXPECT_EQ(ten.curCapacity(), 10u); // 8 + 1 < 10 at the ninth
    ten.addElement(&e[9]);            // 9 + 1 >= 10: max(10, 11)
    EXPECT_EQ(ten.curCapacity(), 11u);
    ten.ensureExtraCapacity(5); // 10 + 5 >= 11: max(15, 12)
    EXPECT_EQ(ten.curCapacity(), 15u);
    ten.ensureExtraCapacity(1); // 11 < 15: unchanged
    EXPECT_EQ(ten.curCapacity(), 15u);
}

TEST(RejectionEnvelope, InsertRemoveSetAndClear)
{
    std::vector<Element> e(6);
    STATS_RejectionEnvelope_MP env(3);
    env.addElement(&e[0]);
    env.addElement(&e[1]);
    env.insertElementAt(&e[2], 1); // 0 2 1
    env.insertElementAt(&e[3], 3); // at the end: 0 2 1 3
    env.insertElementAt(&e[4], 0); // 4 0 2 1 3, past the first capacity
    ASSERT_EQ(env.size(), 5u);
    const Element *want[] = {&e[4], &e[0], &e[2], &e[1], &e[3]};
    for (uint32_t i = 0; i < 5; ++i)
        EXPECT_EQ(env.elementAt(i), want[i]) << i;
    env.removeElementAt(1); // 4 2 1 3
    env.setElementAt(&e[5], 3);
    ASSERT_EQ(env.size(), 4u);
    EXPECT_EQ(env.elementAt(0), &e[4]);
    EXPECT_EQ(env.elementAt(1), &e[2]);
    EXPECT_EQ(env.elementAt(2), &e[1]);
    EXPECT_EQ(env.elementAt(3), &e[5]);
    uint32_t capacity = env.curCapacity();
    env.removeAllElements();
    EXPECT_EQ(env.size(), 0u);
    EXPECT_EQ(env.curCapacity(), capacity);
}

TEST(RejectionEnvelope, CopiesShareTheElements)
{
    std::vector<Element> e(8);
    STATS_RejectionEnvelope_MP a(4);
    for (int i = 0; i < 3; ++i)
        a.addElement(&e[size_t(i)]);
    STATS_RejectionEnvelope_MP b(a);
    EXPECT_EQ(b.size(), 3u);
    EXPECT_EQ(b.curCapacity(), 4u);
    EXPECT_EQ(b.elementAt(2), &e[2]);
    // Assignment keeps its own capacity when it holds the other's size...
    STATS_RejectionEnvelope_MP c(20);
    c = a;
    EXPECT_EQ(c.size(), 3u);
    EXPECT_EQ(c.curCapacity(), 20u);
    EXPECT_EQ(c.elementAt(1), &e[1]);
    // ... and takes the other's capacity when it does not.
    STATS_RejectionEnvelope_MP d(1);
    d = a;
    EXPECT_EQ(d.curCapacity(), 4u);
    EXPECT_EQ(d.elementAt(0), &e[0]);
    STATS_RejectionEnvelope_MP &same = d;
    d = same;
    EXPECT_EQ(d.size(), 3u);
    EXPECT_EQ(d.elementAt(2), &e[2]);
}

TEST(RejectionEnvelope, InitialCapacity)
{
    EXPECT_EQ(stats::EnvelopeInitialCapacity(0), 0u);
    EXPECT_EQ(stats::EnvelopeInitialCapacity(40), 40u);
    EXPECT_EQ(stats::EnvelopeInitialCapacity(1024), 1024u);
    EXPECT_EQ(stats::EnvelopeInitialCapacity(5000000), 1024u);
    EXPECT_EQ(stats::EnvelopeInitialCapacity(uint32_t(-1)), 1024u);
}

// ---------------------------------------------------------------------------
// Pieces
// ---------------------------------------------------------------------------

TEST(EnvelopePiece, EqualEndSlopesSplitAtTheMiddle)
{
    DefineCountingDensities();
    auto g = Generator("[lin, dlin, [0, 1], 10, true]");
    ASSERT_EQ(g->envelope()->size(), 1u);
    const Element *e = g->envelope()->elementAt(0);
    EXPECT_EQ(S(e->xM), "0.5");
    EXPECT_EQ(S(e->fM), "1.5");
    EXPECT_EQ(S(e->sL), "1.");
    EXPECT_EQ(S(e->sR), "1.");
    EXPECT_FALSE(e->concave); // dL = sL
    EXPECT_TRUE(e->leftRising);
    EXPECT_TRUE(e->rightRising);
    EXPECT_EQ(S(e->A1), "0.5");
    EXPECT_EQ(S(e->A2), "0.625");
    EXPECT_EQ(S(e->A3), "1.375");
    EXPECT_EQ(S(e->A4), "1.5");
    // A linear density: both hulls are the density.
    for (const char *x : {"0.1", "0.5", "0.77"}) {
        EXPECT_EQ(S(g->fU(e, F(x))), S(F("1") + F(x)));
        EXPECT_EQ(S(g->fL(e, F(x))), S(F("1") + F(x)));
    }
}

TEST(EnvelopePiece, TangentsMeetInsideAConcavePiece)
{
    DefineCountingDensities();
    auto g = Generator("[cap, dcap, [-1, 1], 10, true]");
    const Element *e = g->envelope()->elementAt(0);
    EXPECT_EQ(S(e->xM), "0.");
    EXPECT_EQ(S(e->fM), "1.");
    EXPECT_TRUE(e->concave);
    EXPECT_TRUE(e->leftRising);
    EXPECT_FALSE(e->rightRising);
    EXPECT_EQ(S(e->A1), "0.");
    EXPECT_EQ(S(e->A2), "1.");
    EXPECT_EQ(S(e->A3), "1.");
    EXPECT_EQ(S(e->A4), "2.");
    // Upper hull: the tangents; squeeze: the chords.
    EXPECT_EQ(S(g->fU(e, F("-0.5"))), "1.");
    EXPECT_EQ(S(g->fU(e, F("0.5"))), "1.");
    EXPECT_EQ(S(g->fL(e, F("-0.5"))), "0.5");
    EXPECT_EQ(S(g->fL(e, F("0.25"))), "0.75");
}

TEST(EnvelopePiece, ChordsBoundAConvexPiece)
{
    eval("ex := x -> exp(x): dex := x -> exp(x)");
    auto g = Generator("[ex, dex, [0, 2], 10, true]");
    const Element *e = g->envelope()->elementAt(0);
    EXPECT_FALSE(e->concave);
    // The tangents meet at xM = (e^2 - 1 - 2 e^2) / (1 - e^2) = 1 / (1 - e^-2) - ...
    TalvoFloat e2 = exp(F("2"));
    TalvoFloat xM = (e2 - F("1") - F("2") * e2) / (F("1") - e2);
    EXPECT_EQ(S(e->xM), S(xM));
    // Upper hull: chords through (xM, f(xM)); the density lies below it and
    // above the tangents.
    for (const char *x : {"0.3", "1.1", "1.9"}) {
        TalvoFloat f = exp(F(x));
        EXPECT_TRUE(g->fU(e, F(x)) >= f) << x;
        EXPECT_TRUE(g->fL(e, F(x)) <= f) << x;
    }
    // The area under the chords: two trapezoids.
    double area = (e->xM - e->xL).to_double() * (e->fL + e->fM).to_double() / 2 +
                  (e->xR - e->xM).to_double() * (e->fM + e->fR).to_double() / 2;
    EXPECT_NEAR(e->A4.to_double(), area, 1e-9 * area);
}

TEST(EnvelopePiece, APoleBetweenTheBasePointsFailsAtDigits10ButNotAt20)
{
    eval("pole := x -> 1/abs(x): dpole := proc(x) if x < 0 then 1/x^2 else -1/x^2 end if end proc");
    // Slopes 10^6 and -10^8 (both at least 10^(Digits/2) = 10^5, unlike by
    // more than 2) with tangents meeting beyond the right end.
    int ready = -1;
    auto g = Generator("[pole, dpole, [-0.001, 0.0001], 10, true]", &ready);
    EXPECT_EQ(ready, 0);
    DigitsScope d(20);
    auto h = Generator("[pole, dpole, [-0.001, 0.0001], 10, true]", &ready);
    EXPECT_EQ(ready, 1);
    EXPECT_EQ(S(h->envelope()->elementAt(0)->xM), S((F("-0.001") + F("0.0001")) * TalvoFloat(0.5)));
}

TEST(EnvelopePiece, AFailedUpdateLeavesThePieceAsItWas)
{
    eval("pole := x -> 1/abs(x): dpole := proc(x) if x < 0 then 1/x^2 else -1/x^2 end if end proc");
    auto g = Generator("[pole, dpole, [-1, 1e-6], 10, true]");
    Element copy = *g->envelope()->elementAt(0);
    // Splitting at -1e-7: the left part [-1, -1e-7] is built, the right part
    // [-1e-7, 1e-6] straddles the pole, so the refinement fails with the
    // piece narrowed and nothing appended.
    TalvoFloat x = F("-1e-7");
    EXPECT_EQ(g->RefineEnvelope(0, x, F("1e7"), F("1e14")), 0);
    EXPECT_EQ(g->envelope()->size(), 1u);
    EXPECT_EQ(S(g->envelope()->elementAt(0)->xR), "-1.e-7");
    // A failing update on its own stores nothing.
    Element e = copy;
    EXPECT_EQ(g->UpdateEnvelopeElement(&e, x, F("1e-6"), F("1e7"), F("1e6"), F("1e14"), F("-1e12")), 0);
    EXPECT_EQ(S(e.xL), S(copy.xL));
    EXPECT_EQ(S(e.xR), S(copy.xR));
    EXPECT_EQ(S(e.A4), S(copy.A4));
}

// ---------------------------------------------------------------------------
// The specification
// ---------------------------------------------------------------------------

TEST(EnvelopeSpecification, ChecksInOrder)
{
    DefineCountingDensities();
    EXPECT_EQ(InitializeError("[1, 2, [-1, 1], 10]"), "expected: list of size 5, received: [1, 2, [-1, 1], 10]");
    EXPECT_EQ(InitializeError("[1, 2, [-1, 1], 10, true, 6]"),
              "expected: list of size 5, received: [1, 2, [-1, 1], 10, true, 6]");
    EXPECT_EQ(InitializeError("7"), "expected: list of size 5, received: 7");
    EXPECT_EQ(InitializeError("[nrm, dnrm, [-1, 1], 2.5, true]"),
              "invalid maximum number of envelope elements, expected: positive integer, received 2.5");
    EXPECT_EQ(InitializeError("[nrm, dnrm, [-1, 1], 2^40, true]"),
              "invalid maximum number of envelope elements, expected: positive integer, received 1099511627776");
    EXPECT_EQ(InitializeError("[nrm, dnrm, [-1, 1], 10, 3]"), "expecting true or false, got 3");
    EXPECT_EQ(InitializeError("[nrm, dnrm, 3, 10, true]"),
              "expected base points as list or one-dimensional array, received 3");
    EXPECT_EQ(InitializeError("[nrm, dnrm, Array(1..2, 1..2), 10, true]"),
              "expected base points as list or one-dimensional array, received Array(1..2, 1..2, [[0, 0], [0, 0]])");
    EXPECT_EQ(InitializeError("[nrm, dnrm, Array(1..2, [1, 2], datatype = int32), 10, true]"),
              "expected array of floats, received Array(1..2, [1, 2], datatype = int32)");
    EXPECT_EQ(InitializeError("[nrm, dnrm, [1], 10, true]"), "expected at least two base points, received [1]");
    EXPECT_EQ(InitializeError("[nrm, dnrm, [], 10, true]"), "expected at least two base points, received []");
    EXPECT_EQ(InitializeError("[nrm, dnrm, Array(1..1, [0.5], datatype = float64), 10, true]"),
              "expected at least two base points, received Array(1..1, [0.5], datatype = float64)");
    EXPECT_NE(InitializeError("[nrm, dnrm, [-1, x], 10, true]"), "");
}

TEST(EnvelopeSpecification, BasePointsFromListsAndArrays)
{
    DefineCountingDensities();
    for (const char *points : {"[-2, -1, 1, 2]", "Array(1..4, [-2, -1, 1, 2], datatype = float64)",
                               "Array(0..3, [-2., -1, 1, 2], datatype = sfloat)",
                               "Array(1..4, [-2, -1, 1, 2], datatype = float32)", "Array(1..4, [-2, -1, 1, 2])"}) {
        ResetCounts();
        auto g = Generator(std::string("[nrm, dnrm, ") + points + ", 10, true]");
        ASSERT_EQ(g->envelope()->size(), 3u) << points;
        EXPECT_EQ(S(g->envelope()->elementAt(1)->xL), "-1.") << points;
        EXPECT_EQ(S(g->envelope()->elementAt(2)->xR), "2.") << points;
        // Four evaluations per pair (both ends, density and derivative), and
        // the density at each split point.
        EXPECT_EQ(Count("n_f"), 3 * 2 + 3) << points;
        EXPECT_EQ(Count("n_d"), 3 * 2) << points;
        EXPECT_EQ(g->urn()->cells(), 3);
    }
    // Array elements that are not numbers.
    EXPECT_EQ(InitializeError("[nrm, dnrm, Array(1..2, [1, x]), 10, true]"), "expected talvo float, received x");
    // The points are neither sorted nor checked.
    auto g = Generator("[nrm, dnrm, [0, 1, 0.5], 10, true]");
    EXPECT_EQ(g->envelope()->size(), 2u);
}

TEST(EnvelopeSpecification, AMaximumOfZeroNeverRefines)
{
    DefineCountingDensities();
    auto g = Generator("[nrm, dnrm, [-4, -1, 1, 4], 0, true]");
    eval("randomize(2)");
    std::vector<double> x;
    for (int i = 0; i < 200; ++i)
        x.push_back(g->next(kv()).to_double());
    EXPECT_EQ(g->envelope()->size(), 3u);
    EXPECT_EQ(Count("n_d"), 6); // the base points' only
    for (double v : x)
        EXPECT_TRUE(v >= -4 && v <= 4);
    // A negative maximum is no practical limit.
    auto h = Generator("[nrm, dnrm, [-4, -1, 1, 4], -1, true]");
    EXPECT_EQ(h->maximumElements(), 4294967295u);
    EXPECT_EQ(h->envelope()->curCapacity(), 1024u);
}

TEST(EnvelopeSpecification, TwoBasePointsGrowOnePieceToTheMaximum)
{
    DefineCountingDensities();
    auto g = Generator("[nrm, dnrm, [-1, 1], 6, true]");
    EXPECT_EQ(g->envelope()->size(), 1u);
    eval("randomize(3)");
    for (int i = 0; i < 500; ++i)
        g->next(kv());
    EXPECT_EQ(g->envelope()->size(), 6u);
    EXPECT_EQ(g->urn()->cells(), 6);
    // The pieces tile [-1, 1].
    std::vector<std::pair<double, double>> ends;
    for (uint32_t i = 0; i < 6; ++i)
        ends.push_back({g->envelope()->elementAt(i)->xL.to_double(), g->envelope()->elementAt(i)->xR.to_double()});
    std::sort(ends.begin(), ends.end());
    EXPECT_EQ(ends.front().first, -1);
    EXPECT_EQ(ends.back().second, 1);
    for (size_t i = 1; i < ends.size(); ++i)
        EXPECT_EQ(ends[i].first, ends[i - 1].second);
}

// ---------------------------------------------------------------------------
// Draws
// ---------------------------------------------------------------------------

TEST(EnvelopeDraw, ALinearDensityIsAcceptedByTheSqueezeAlone)
{
    DefineCountingDensities();
    auto g = Generator("[lin, dlin, [0, 1], 10, true]");
    ResetCounts();
    eval("randomize(4)");
    for (int i = 0; i < 300; ++i)
        g->next(kv());
    EXPECT_EQ(Count("n_f"), 0);
    EXPECT_EQ(Count("n_d"), 0);
    EXPECT_EQ(g->envelope()->size(), 1u);
}

TEST(EnvelopeDraw, StreamConsumptionOfEachPartOfAPiece)
{
    DefineCountingDensities();
    auto g = Generator("[lin, dlin, [0, 1], 10, true]"); // areas 0.5, 0.625, 1.375, 1.5
    ResetCounts();
    ReplayStream s;
    // The urn of one piece: an integer with its top bit clear, one uniform.
    // Then u1, u2 (and u3 in a triangle), then u for the squeeze.
    s.ints({5}).uniforms({"0.3", "0.2", "0.5", "0.5"});
    EXPECT_EQ(S(g->next(kv())), "0.25"); // left rectangle: 0.5 u2
    EXPECT_EQ(s.uniforms_taken(), 4);
    s.ints({-5, 6}).uniforms({"0.9", "0.4", "0.2", "0.6", "0.9"});
    EXPECT_EQ(S(g->next(kv())), "0.3"); // left triangle, rising: 0.5 max(u2, u3)
    EXPECT_EQ(s.ints_taken(), 3);
    EXPECT_EQ(s.uniforms_taken(), 9);
    s.ints({0}).uniforms({"0.1", "0.8", "0.5", "0.5"});
    EXPECT_EQ(S(g->next(kv())), "0.75"); // right rectangle: 0.5 + 0.5 u2
    s.ints({0}).uniforms({"0.1", "0.99", "0.1", "0.3", "0.5"});
    EXPECT_EQ(S(g->next(kv())), "0.65"); // right triangle, rising
    EXPECT_TRUE(s.exhausted());
    EXPECT_EQ(Count("n_f"), 0);
}

TEST(EnvelopeDraw, RejectionAndRefinement)
{
    DefineCountingDensities();
    // 1 - x^2 on [-1, 1]: one concave piece split at 0, A1 = 0, A2 = A3 = 1,
    // A4 = 2.  A point at -0.5 has upper hull 1, squeeze 0.5, density 0.75.
    const char *spec = "[cap, dcap, [-1, 1], 1, true]";
    {
        auto g = Generator(spec);
        ReplayStream s;
        ResetCounts();
        // u = 0.4: v = 0.4 < 0.5, the squeeze accepts.
        s.ints({1}).uniforms({"0.5", "0.25", "0.5", "0.5", "0.4"});
        EXPECT_EQ(S(g->next(kv())), "-0.5");
        EXPECT_EQ(Count("n_f"), 0);
        // u = 0.6: the density accepts (0.6 < 0.75); the maximum of 1 piece
        // is reached, so nothing is refined although the squeeze is poor.
        s.ints({1}).uniforms({"0.5", "0.25", "0.5", "0.5", "0.6"});
        EXPECT_EQ(S(g->next(kv())), "-0.5");
        EXPECT_EQ(Count("n_f"), 1);
        EXPECT_EQ(Count("n_d"), 0);
        // u = 0.9: rejected (0.9 > 0.75), drawn again from the start.
        s.ints({1, 1}).uniforms({"0.5", "0.25", "0.5", "0.5", "0.9", "0.5", "0.25", "0.5", "0.5", "0.1"});
        EXPECT_EQ(S(g->next(kv())), "-0.5");
        EXPECT_EQ(Count("n_f"), 2);
        EXPECT_TRUE(s.exhausted());
    }
    {
        // Room for more pieces: an accepted point with a poor squeeze (0.5
        // below 0.9 * 0.75) splits its piece.
        auto g = Generator("[cap, dcap, [-1, 1], 3, true]");
        ReplayStream s;
        ResetCounts();
        s.ints({1}).uniforms({"0.5", "0.25", "0.5", "0.5", "0.6"});
        EXPECT_EQ(S(g->next(kv())), "-0.5");
        EXPECT_EQ(g->envelope()->size(), 2u);
        EXPECT_EQ(Count("n_f"), 1 + 2); // the point, then each new piece's split point
        EXPECT_EQ(Count("n_d"), 1);
        EXPECT_EQ(S(g->envelope()->elementAt(0)->xR), "-0.5");
        EXPECT_EQ(S(g->envelope()->elementAt(1)->xL), "-0.5");
        EXPECT_EQ(S(g->envelope()->elementAt(1)->xR), "1.");
        EXPECT_EQ(g->urn()->cells(), 2);
        // The urn now weighs the two pieces by their areas.
        TalvoFloat a0 = g->envelope()->elementAt(0)->A4, a1 = g->envelope()->elementAt(1)->A4;
        EXPECT_TRUE(a0 + a1 < F("2"));
        EXPECT_TRUE(a0 + a1 > F("4") / TalvoFloat(3.0));
    }
}

TEST(EnvelopeDraw, AFailedRefinementIsReported)
{
    // A derivative that disagrees with the density: steep and unlike slopes
    // at a split point make the new piece look like it straddles a pole.
    eval("one := x -> 1: steep := proc(x) if x = 0 then 10^6 elif x = 1 then -1 else 3*10^6 end if end proc");
    auto g = Generator("[one, steep, [0, 1], 100, true]");
    eval("randomize(1)");
    EXPECT_EQ(error_of([&] {
                  for (int i = 0; i < 20; ++i)
                      g->next(kv());
              }),
              "could not evaluate PDF to floating point");
}

TEST(EnvelopeDraw, ADensityThatIsNeverPositiveUnderItsEnvelopeStops)
{
    long saved = stats::EnvelopeRejectionLimit();
    stats::SetEnvelopeRejectionLimit(500);
    // A zero density under a tent-shaped envelope that may not be refined,
    // and a negative density (whose envelope refines up to its maximum):
    // every candidate is rejected.
    eval("zero := x -> 0: tent := x -> 1 - 2*x: minus := x -> -1: flat := x -> 0");
    for (const char *spec : {"[zero, tent, [0, 1], 0, true]", "[minus, flat, [0, 1], 20, true]"}) {
        auto g = Generator(spec);
        eval("randomize(1)");
        EXPECT_EQ(error_of([&] { g->next(kv()); }),
                  "adaptive rejection sampling rejected 500 candidates in a row: the density must be positive under "
                  "its envelope")
            << spec;
    }
    stats::SetEnvelopeRejectionLimit(saved);
    // With two pieces of no area the urn refuses at once.
    EXPECT_EQ(InitializeError("[zero, flat, [0, 1, 2], 20, true]"),
              "unable to build an alias urn from weights adding up to 0.");
}

TEST(EnvelopeDraw, ErrorsOfTheUsersProcedures)
{
    EXPECT_EQ(InitializeError("[x -> y, x -> 0, [0, 1], 5, true]"), "unable to evaluate y to floating-point");
    EXPECT_EQ(InitializeError("[x -> 1, proc(x) error \"no slope at %1\", x end proc, [0, 1], 5, true]"),
              "no slope at 0.");
}

// ---------------------------------------------------------------------------
// Laws, through the generic sample entry
// ---------------------------------------------------------------------------

namespace {

std::vector<double> EnvelopeSample(int seed, int n, const std::string &spec)
{
    eval("E := Array(1.." + std::to_string(n) + ", datatype = sfloat)");
    eval("randomize(" + std::to_string(seed) + ")");
    call(STATS_TalvoRandomSample_MP, "E, 'NULL', [[1, " + spec + "]], true");
    return FloatArrayValues(eval("E"));
}

// Base points at the inflection points, so that every piece is concave or
// convex.
const char *kNormal = "[x -> exp(-x^2/2), x -> -x*exp(-x^2/2), [-12, -1, 1, 12], 40, true]";
const char *kGamma3 = "[x -> x^2*exp(-x), x -> (2*x - x^2)*exp(-x), [0, evalf(2 - sqrt(2)), evalf(2 + sqrt(2)), 60], "
                      "40, true]";
const char *kBeta25 = "[x -> x*(1 - x)^4, x -> (1 - x)^3*(1 - 5*x), [0, 0.4, 1], 40, true]";

void EnvelopeLaws(int seed)
{
    int n = Draws(20000);
    ExpectLaw("adaptive rejection, normal", EnvelopeSample(seed, n, kNormal), NormalCdf);
    ExpectLaw("adaptive rejection, gamma(3)", EnvelopeSample(seed + 1, n, kGamma3), Gamma3Cdf);
    ExpectLaw("adaptive rejection, beta(2, 5)", EnvelopeSample(seed + 2, n, kBeta25), Beta25Cdf);
}

} // namespace

TEST(EnvelopeLaw, NormalGammaBeta)
{
    DigitsScope d(15);
    EnvelopeLaws(71);
}

TEST(EnvelopeLaw, NormalGammaBetaAt50Digits)
{
    DigitsScope d(50);
    EnvelopeLaws(81);
}
