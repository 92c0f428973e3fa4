// rtable_test.cpp -- rtables: data types and storages, data block layout,
// conversion, element access, validation, the Array constructor, indexing and
// the printed form.
#include "errors.hpp"
#include "numeric.hpp"
#include "object.hpp"
#include "print.hpp"
#include "rtable.hpp"
#include "talvo_float.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

using namespace talvo;

namespace {

const bool g_init = [] {
    gc_init();
    return true;
}();

// The message of the host error f raises, or "(no error)".
std::string error_of(const std::function<void()> &f)
{
    try {
        f();
    } catch (const HostError &e) {
        return e.message;
    }
    return "(no error)";
}

bool contains(const std::string &s, const std::string &part) { return s.find(part) != std::string::npos; }

RTableSettings settings(int data_type, int storage = RTABLE_RECT, int dims = 1, int order = RTABLE_FORTRAN,
                        const char *element_type = nullptr)
{
    RTableSettings s;
    rtable::get_defaults(&s);
    s.data_type = data_type;
    s.storage = storage;
    s.num_dimensions = dims;
    s.order = order;
    if (element_type != nullptr)
        s.element_type = intern(element_type);
    return s;
}

ALGEB new1(const RTableSettings &s, M_INT lo, M_INT hi, void *pdata = nullptr)
{
    M_INT b[2] = {lo, hi};
    return rtable::create(&s, pdata, b);
}

ALGEB new2(const RTableSettings &s, M_INT lo1, M_INT hi1, M_INT lo2, M_INT hi2, void *pdata = nullptr)
{
    M_INT b[4] = {lo1, hi1, lo2, hi2};
    return rtable::create(&s, pdata, b);
}

ALGEB I(intptr_t v) { return make_integer(v); }

M_INT lo_max() { return std::numeric_limits<M_INT>::min(); }
M_INT hi_max() { return std::numeric_limits<M_INT>::max(); }
ALGEB F(double x) { return talvo_float_from_double(x, 53); }
ALGEB seq(std::initializer_list<ALGEB> v) { return make_expseq(v.begin(), v.size()); }
ALGEB list(std::initializer_list<ALGEB> v) { return make_list(v.begin(), v.size()); }
ALGEB eq(const char *lhs, const char *rhs) { return make_equation(intern(lhs), intern(rhs)); }

double fvalue(ALGEB f)
{
    EXPECT_TRUE(is_float(f));
    return is_float(f) ? mpfr_get_d(talvo_float_value(f), MPFR_RNDN) : std::nan("");
}

int64_t ivalue(ALGEB a)
{
    int64_t x = 0;
    EXPECT_TRUE(is_integer(a) && integer_to_int64(a, &x)) << print(a);
    return x;
}

ALGEB get1(ALGEB rt, M_INT i) { return rtable::element_value(rt, &i); }
ALGEB get2(ALGEB rt, M_INT i, M_INT j)
{
    M_INT ij[2] = {i, j};
    return rtable::element_value(rt, ij);
}
void set1(ALGEB rt, M_INT i, ALGEB v) { rtable::set_element_value(rt, &i, v); }
void set2(ALGEB rt, M_INT i, M_INT j, ALGEB v)
{
    M_INT ij[2] = {i, j};
    rtable::set_element_value(rt, ij, v);
}

const char *kTypeNames[] = {"anything", "complex", "int8", "int16", "int32", "int64", "float64", "complex128", "float32"};

} // namespace

// ---------------------------------------------------------------------------
// Sizes and settings
// ---------------------------------------------------------------------------

TEST(RTable, ElementSizes)
{
    EXPECT_EQ(rtable::element_size(RTABLE_DAG), sizeof(ALGEB));
    EXPECT_EQ(rtable::element_size(RTABLE_CXDAG), 2 * sizeof(ALGEB));
    EXPECT_EQ(rtable::element_size(RTABLE_INTEGER8), 1u);
    EXPECT_EQ(rtable::element_size(RTABLE_INTEGER16), 2u);
    EXPECT_EQ(rtable::element_size(RTABLE_INTEGER32), 4u);
    EXPECT_EQ(rtable::element_size(RTABLE_INTEGER64), 8u);
    EXPECT_EQ(rtable::element_size(RTABLE_FLOAT64), 8u);
    EXPECT_EQ(rtable::element_size(RTABLE_COMPLEX), 16u);
    EXPECT_EQ(rtable::element_size(RTABLE_FLOAT32), 4u);
    EXPECT_EQ(rtable::element_size(9), 0u);
    EXPECT_EQ(rtable::element_size(-1), 0u);
}

TEST(RTable, Defaults)
{
    RTableSettings s;
    std::memset(&s, 0x5a, sizeof s);
    rtable::get_defaults(&s);
    EXPECT_EQ(s.num_dimensions, 1);
    EXPECT_EQ(s.subtype, RTABLE_ARRAY);
    EXPECT_EQ(s.storage, RTABLE_RECT);
    EXPECT_EQ(s.data_type, RTABLE_DAG);
    EXPECT_EQ(s.element_type, intern("anything"));
    EXPECT_EQ(s.order, RTABLE_FORTRAN);
    EXPECT_EQ(s.read_only, 0);
    EXPECT_EQ(s.foreign, 0);
    EXPECT_EQ(s.fill, nullptr);
}

TEST(RTable, SettingsOfCreatedTable)
{
    RTableSettings s = settings(RTABLE_DAG, RTABLE_SPARSE, 2, RTABLE_C, "sfloat");
    s.subtype = RTABLE_MATRIX;
    ALGEB rt = new2(s, 1, 2, 1, 3);
    EXPECT_TRUE(is_rtable(rt));
    RTableSettings g;
    rtable::get_settings(&g, rt);
    EXPECT_EQ(g.num_dimensions, 2);
    EXPECT_EQ(g.subtype, RTABLE_MATRIX);
    EXPECT_EQ(g.storage, RTABLE_SPARSE);
    EXPECT_EQ(g.data_type, RTABLE_DAG);
    EXPECT_EQ(g.element_type, intern("sfloat"));
    EXPECT_EQ(g.order, RTABLE_C);
    EXPECT_EQ(g.read_only, 0);
    EXPECT_EQ(g.foreign, 0);

    // A null element type means anything; numeric types report anything.
    RTableSettings n = settings(RTABLE_DAG);
    n.element_type = nullptr;
    rtable::get_settings(&g, new1(n, 1, 1));
    EXPECT_EQ(g.element_type, intern("anything"));
    n = settings(RTABLE_FLOAT64, RTABLE_RECT, 1, RTABLE_FORTRAN, "sfloat");
    rtable::get_settings(&g, new1(n, 1, 1));
    EXPECT_EQ(g.element_type, intern("anything"));

    // Null settings are the defaults.
    M_INT b[2] = {1, 4};
    ALGEB d = rtable::create(nullptr, nullptr, b);
    rtable::get_settings(&g, d);
    EXPECT_EQ(g.data_type, RTABLE_DAG);
    EXPECT_EQ(g.storage, RTABLE_RECT);
    EXPECT_EQ(rtable::num_elements(d), 4);
}

TEST(RTable, BoundsAndCounts)
{
    ALGEB a = new1(settings(RTABLE_INTEGER32), -3, 4);
    EXPECT_EQ(rtable::num_dimensions(a), 1);
    EXPECT_EQ(rtable::lower_bound(a, 1), -3);
    EXPECT_EQ(rtable::upper_bound(a, 1), 4);
    EXPECT_EQ(rtable::num_elements(a), 8);

    ALGEB b = new2(settings(RTABLE_FLOAT64, RTABLE_RECT, 2), -2, 0, 5, 9);
    EXPECT_EQ(rtable::num_dimensions(b), 2);
    EXPECT_EQ(rtable::lower_bound(b, 1), -2);
    EXPECT_EQ(rtable::upper_bound(b, 1), 0);
    EXPECT_EQ(rtable::lower_bound(b, 2), 5);
    EXPECT_EQ(rtable::upper_bound(b, 2), 9);
    EXPECT_EQ(rtable::num_elements(b), 15);
    EXPECT_TRUE(contains(error_of([&] { rtable::lower_bound(b, 3); }), "dimension 3 out of range"));
    EXPECT_TRUE(contains(error_of([&] { rtable::upper_bound(a, 0); }), "dimension 0 out of range"));

    // Empty dimensions are allowed.
    ALGEB e = new1(settings(RTABLE_DAG), 1, 0);
    EXPECT_EQ(rtable::num_elements(e), 0);
    ALGEB e2 = new2(settings(RTABLE_INTEGER8, RTABLE_RECT, 2), 5, 7, 3, 2);
    EXPECT_EQ(rtable::num_elements(e2), 0);
}

// ---------------------------------------------------------------------------
// Every data type with both storages
// ---------------------------------------------------------------------------

class EveryType : public ::testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(EveryType, ZeroStoreReadAndRemove)
{
    auto [dt, storage] = GetParam();
    ALGEB rt = new1(settings(dt, storage), -2, 3);
    EXPECT_EQ(rtable::num_elements(rt), 6);
    if (storage == RTABLE_RECT) {
        EXPECT_NE(rtable::data_block(rt), nullptr);
        EXPECT_EQ(rtable::stored_count(rt), 6);
    } else {
        EXPECT_EQ(rtable::data_block(rt), nullptr);
        EXPECT_EQ(rtable::stored_count(rt), 0);
    }

    // Unassigned elements read as the zero of the type.
    ALGEB z = get1(rt, -2);
    switch (dt) {
    case RTABLE_DAG:
    case RTABLE_CXDAG:
        EXPECT_EQ(z, make_immediate(0)) << print(z);
        break;
    case RTABLE_COMPLEX:
        ASSERT_TRUE(is_complex(z));
        EXPECT_EQ(fvalue(op(z, 1)), 0.0);
        EXPECT_EQ(fvalue(op(z, 2)), 0.0);
        break;
    case RTABLE_FLOAT64:
    case RTABLE_FLOAT32:
        EXPECT_EQ(fvalue(z), 0.0);
        break;
    default:
        EXPECT_EQ(ivalue(z), 0);
        break;
    }

    set1(rt, 3, I(7));
    set1(rt, -1, I(-5));
    if (storage == RTABLE_SPARSE) {
        EXPECT_EQ(rtable::stored_count(rt), 2);
    }
    ALGEB v = get1(rt, 3), w = get1(rt, -1);
    switch (dt) {
    case RTABLE_DAG:
    case RTABLE_CXDAG:
    case RTABLE_INTEGER8:
    case RTABLE_INTEGER16:
    case RTABLE_INTEGER32:
    case RTABLE_INTEGER64:
        EXPECT_EQ(ivalue(v), 7);
        EXPECT_EQ(ivalue(w), -5);
        break;
    case RTABLE_COMPLEX:
        ASSERT_TRUE(is_complex(v));
        EXPECT_EQ(fvalue(op(v, 1)), 7.0);
        EXPECT_EQ(fvalue(op(v, 2)), 0.0);
        break;
    default:
        EXPECT_EQ(fvalue(v), 7.0);
        EXPECT_EQ(fvalue(w), -5.0);
        break;
    }

    // Storing the zero removes a sparse entry; rectangular storage keeps it.
    set1(rt, 3, I(0));
    EXPECT_EQ(rtable::stored_count(rt), storage == RTABLE_SPARSE ? 1 : 6);
    RTableSettings g;
    rtable::get_settings(&g, rt);
    EXPECT_EQ(g.data_type, dt);
    EXPECT_EQ(g.storage, storage);
    EXPECT_EQ(rtable::print(rt).find("Array(-2..3, ["), 0u) << rtable::print(rt);
    if (dt != RTABLE_DAG) {
        EXPECT_TRUE(contains(rtable::print(rt), std::string("datatype = ") + kTypeNames[dt])) << rtable::print(rt);
    }
}

INSTANTIATE_TEST_SUITE_P(AllTypes, EveryType,
                         ::testing::Combine(::testing::Range(0, RTABLE_NUM_DATATYPES),
                                            ::testing::Values(RTABLE_RECT, RTABLE_SPARSE)));

TEST(RTable, SfloatElements)
{
    for (int storage : {RTABLE_RECT, RTABLE_SPARSE}) {
        ALGEB rt = new1(settings(RTABLE_DAG, storage, 1, RTABLE_FORTRAN, "sfloat"), 1, 3);
        // Unassigned elements are float zeros.
        EXPECT_TRUE(is_float(get1(rt, 1)));
        EXPECT_EQ(fvalue(get1(rt, 2)), 0.0);
        // Exact numbers become floats.
        set1(rt, 1, num::make_rational(I(1), I(4)));
        EXPECT_EQ(fvalue(get1(rt, 1)), 0.25);
        set1(rt, 2, I(3));
        EXPECT_EQ(fvalue(get1(rt, 2)), 3.0);
        // A float is stored as it is.
        ALGEB f = F(2.5);
        set1(rt, 3, f);
        EXPECT_EQ(get1(rt, 3), f);
        EXPECT_EQ(error_of([&] { set1(rt, 1, intern("x")); }), "cannot store x in an array of datatype sfloat");
        EXPECT_TRUE(contains(error_of([&] { set1(rt, 1, num::make_complex(I(1), I(2))); }), "datatype sfloat"));
        // Through the raw interface too.
        M_INT i = 1;
        RTableData d;
        d.dag = I(5);
        rtable::assign(rt, &i, d);
        EXPECT_TRUE(is_float(rtable::select(rt, &i).dag));
        EXPECT_EQ(fvalue(rtable::select(rt, &i).dag), 5.0);
        d.dag = intern("y");
        EXPECT_TRUE(contains(error_of([&] { rtable::assign(rt, &i, d); }), "cannot store y"));
        if (storage == RTABLE_SPARSE) {
            set1(rt, 2, F(0.0));
            EXPECT_EQ(rtable::stored_count(rt), 2);
        }
        EXPECT_TRUE(contains(rtable::print(rt), "datatype = sfloat"));
    }
}

TEST(RTable, ComplexHostValueElements)
{
    ALGEB rt = new1(settings(RTABLE_CXDAG), 1, 2);
    ALGEB z = num::make_complex(num::make_rational(I(1), I(2)), I(-3));
    set1(rt, 1, z);
    M_INT i = 1;
    RTableData d = rtable::select(rt, &i);
    EXPECT_TRUE(equal(d.cxdag.re, num::make_rational(I(1), I(2))));
    EXPECT_EQ(d.cxdag.im, I(-3));
    EXPECT_TRUE(equal(get1(rt, 1), z));
    set1(rt, 2, F(1.5));
    i = 2;
    d = rtable::select(rt, &i);
    EXPECT_EQ(fvalue(d.cxdag.re), 1.5);
    EXPECT_EQ(d.cxdag.im, I(0));
    EXPECT_EQ(error_of([&] { set1(rt, 1, intern("q")); }), "cannot store q in an array of datatype complex");
    d.cxdag.re = intern("q");
    d.cxdag.im = I(0);
    EXPECT_TRUE(contains(error_of([&] { rtable::assign(rt, &i, d); }), "cannot store q"));
}

// ---------------------------------------------------------------------------
// Raw elements
// ---------------------------------------------------------------------------

TEST(RTable, SelectAssignRoundTrips)
{
    for (int storage : {RTABLE_RECT, RTABLE_SPARSE}) {
        M_INT i = 2;
        RTableData d;
        std::memset(&d, 0, sizeof d);

        ALGEB a8 = new1(settings(RTABLE_INTEGER8, storage), 1, 3);
        d.int8 = -128;
        rtable::assign(a8, &i, d);
        EXPECT_EQ(rtable::select(a8, &i).int8, -128);
        EXPECT_EQ(ivalue(get1(a8, 2)), -128);

        ALGEB a16 = new1(settings(RTABLE_INTEGER16, storage), 1, 3);
        d.int16 = -30000;
        rtable::assign(a16, &i, d);
        EXPECT_EQ(rtable::select(a16, &i).int16, -30000);

        ALGEB a32 = new1(settings(RTABLE_INTEGER32, storage), 1, 3);
        d.int32 = 2000000000;
        rtable::assign(a32, &i, d);
        EXPECT_EQ(rtable::select(a32, &i).int32, 2000000000);
        EXPECT_EQ(ivalue(get1(a32, 2)), 2000000000);

        ALGEB a64 = new1(settings(RTABLE_INTEGER64, storage), 1, 3);
        d.int64 = std::numeric_limits<int64_t>::min();
        rtable::assign(a64, &i, d);
        EXPECT_EQ(rtable::select(a64, &i).int64, std::numeric_limits<int64_t>::min());
        EXPECT_EQ(ivalue(get1(a64, 2)), std::numeric_limits<int64_t>::min());

        ALGEB f64 = new1(settings(RTABLE_FLOAT64, storage), 1, 3);
        d.float64 = 0.1;
        rtable::assign(f64, &i, d);
        EXPECT_EQ(rtable::select(f64, &i).float64, 0.1);
        EXPECT_EQ(fvalue(get1(f64, 2)), 0.1);
        EXPECT_EQ(mpfr_get_prec(talvo_float_value(get1(f64, 2))), 53);

        ALGEB c128 = new1(settings(RTABLE_COMPLEX, storage), 1, 3);
        d.complex.re = 1.5;
        d.complex.im = -2.25;
        rtable::assign(c128, &i, d);
        EXPECT_EQ(rtable::select(c128, &i).complex.re, 1.5);
        EXPECT_EQ(rtable::select(c128, &i).complex.im, -2.25);
        ALGEB z = get1(c128, 2);
        ASSERT_TRUE(is_complex(z));
        EXPECT_EQ(fvalue(op(z, 1)), 1.5);
        EXPECT_EQ(fvalue(op(z, 2)), -2.25);

        ALGEB f32 = new1(settings(RTABLE_FLOAT32, storage), 1, 3);
        d.float32 = 0.1f;
        rtable::assign(f32, &i, d);
        EXPECT_EQ(rtable::select(f32, &i).float32, 0.1f);
        // The single is widened exactly, not re-rounded to 0.1.
        EXPECT_EQ(fvalue(get1(f32, 2)), double(0.1f));
        EXPECT_NE(fvalue(get1(f32, 2)), 0.1);

        ALGEB dag = new1(settings(RTABLE_DAG, storage), 1, 3);
        ALGEB x = intern("x");
        d.dag = x;
        rtable::assign(dag, &i, d);
        EXPECT_EQ(rtable::select(dag, &i).dag, x);
        EXPECT_EQ(get1(dag, 2), x);
        // Unassigned host-value elements select as the integer 0.
        M_INT one = 1;
        EXPECT_EQ(rtable::select(dag, &one).dag, make_immediate(0));
    }
}

TEST(RTable, SetElementValueConversions)
{
    ALGEB f64 = new1(settings(RTABLE_FLOAT64), 1, 2);
    set1(f64, 1, num::make_rational(I(1), I(3)));
    M_INT i = 1;
    EXPECT_EQ(rtable::select(f64, &i).float64, 1.0 / 3.0);
    EXPECT_TRUE(contains(error_of([&] { set1(f64, 1, num::make_complex(I(1), I(1))); }),
                         "in an array of datatype float64"));

    ALGEB c128 = new1(settings(RTABLE_COMPLEX), 1, 2);
    set1(c128, 1, num::make_complex(I(2), num::make_rational(I(-1), I(2))));
    EXPECT_EQ(rtable::select(c128, &i).complex.re, 2.0);
    EXPECT_EQ(rtable::select(c128, &i).complex.im, -0.5);
    set1(c128, 1, I(4));
    EXPECT_EQ(rtable::select(c128, &i).complex.re, 4.0);
    EXPECT_EQ(rtable::select(c128, &i).complex.im, 0.0);

    // Single precision: rounding to nearest, overflow to infinity.
    ALGEB f32 = new1(settings(RTABLE_FLOAT32), 1, 2);
    set1(f32, 1, F(1e300));
    EXPECT_TRUE(std::isinf(rtable::select(f32, &i).float32));
    EXPECT_GT(rtable::select(f32, &i).float32, 0.0f);
    set1(f32, 1, F(-1e39));
    EXPECT_TRUE(std::isinf(rtable::select(f32, &i).float32));
    EXPECT_LT(rtable::select(f32, &i).float32, 0.0f);
    // Just above the largest single but below the rounding point: stays finite.
    set1(f32, 1, F(double(std::numeric_limits<float>::max()) * (1 + 1e-9)));
    EXPECT_EQ(rtable::select(f32, &i).float32, std::numeric_limits<float>::max());
    set1(f32, 1, F(1.0 / 3.0));
    EXPECT_EQ(rtable::select(f32, &i).float32, 1.0f / 3.0f);
}

TEST(RTable, WrongTypesInIntegerArrays)
{
    struct Case {
        int dt;
        const char *name;
        int64_t max, min;
    } cases[] = {{RTABLE_INTEGER8, "int8", INT8_MAX, INT8_MIN},
                 {RTABLE_INTEGER16, "int16", INT16_MAX, INT16_MIN},
                 {RTABLE_INTEGER32, "int32", INT32_MAX, INT32_MIN},
                 {RTABLE_INTEGER64, "int64", INT64_MAX, INT64_MIN}};
    for (const Case &c : cases) {
        for (int storage : {RTABLE_RECT, RTABLE_SPARSE}) {
            ALGEB rt = new1(settings(c.dt, storage), 1, 2);
            set1(rt, 1, make_integer64(c.max));
            EXPECT_EQ(ivalue(get1(rt, 1)), c.max);
            set1(rt, 2, make_integer64(c.min));
            EXPECT_EQ(ivalue(get1(rt, 2)), c.min);
            std::string suffix = std::string(" in an array of datatype ") + c.name;
            if (c.dt != RTABLE_INTEGER64) {
                EXPECT_EQ(error_of([&] { set1(rt, 1, make_integer64(c.max + 1)); }),
                          "cannot store " + std::to_string(c.max + 1) + suffix);
                EXPECT_EQ(error_of([&] { set1(rt, 1, make_integer64(c.min - 1)); }),
                          "cannot store " + std::to_string(c.min - 1) + suffix);
            } else {
                ALGEB big = num::mul(make_integer64(INT64_MAX), I(4));
                EXPECT_TRUE(contains(error_of([&] { set1(rt, 1, big); }), suffix));
            }
            EXPECT_TRUE(contains(error_of([&] { set1(rt, 1, F(1.0)); }), suffix));
            EXPECT_TRUE(contains(error_of([&] { set1(rt, 1, num::make_rational(I(1), I(2))); }), suffix));
            EXPECT_EQ(error_of([&] { set1(rt, 1, intern("x")); }), "cannot store x" + suffix);
            // The failed stores left the elements alone.
            EXPECT_EQ(ivalue(get1(rt, 1)), c.max);
        }
    }
}

// ---------------------------------------------------------------------------
// Data block layout
// ---------------------------------------------------------------------------

TEST(RTable, FortranOrderLayout)
{
    ALGEB rt = new2(settings(RTABLE_INTEGER32, RTABLE_RECT, 2, RTABLE_FORTRAN), 1, 2, 1, 3);
    for (M_INT i = 1; i <= 2; ++i)
        for (M_INT j = 1; j <= 3; ++j)
            set2(rt, i, j, I(10 * i + j));
    auto *block = static_cast<int32_t *>(rtable::data_block(rt));
    // Column major: A[1,1] A[2,1] A[1,2] A[2,2] A[1,3] A[2,3].
    const int32_t expect[] = {11, 21, 12, 22, 13, 23};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(block[k], expect[k]) << k;
    // Writing the block is seen through the element interface.
    block[3] = 99;
    EXPECT_EQ(ivalue(get2(rt, 2, 2)), 99);
}

TEST(RTable, COrderLayout)
{
    ALGEB rt = new2(settings(RTABLE_INTEGER32, RTABLE_RECT, 2, RTABLE_C), 1, 2, 1, 3);
    for (M_INT i = 1; i <= 2; ++i)
        for (M_INT j = 1; j <= 3; ++j)
            set2(rt, i, j, I(10 * i + j));
    auto *block = static_cast<int32_t *>(rtable::data_block(rt));
    // Row major: A[1,1] A[1,2] A[1,3] A[2,1] A[2,2] A[2,3].
    const int32_t expect[] = {11, 12, 13, 21, 22, 23};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(block[k], expect[k]) << k;
}

TEST(RTable, NegativeAndOddBoundsLayout)
{
    for (int order : {RTABLE_FORTRAN, RTABLE_C}) {
        ALGEB rt = new2(settings(RTABLE_FLOAT64, RTABLE_RECT, 2, order), -3, -1, 7, 8);
        for (M_INT i = -3; i <= -1; ++i)
            for (M_INT j = 7; j <= 8; ++j)
                set2(rt, i, j, I(100 * i + j));
        auto *block = static_cast<double *>(rtable::data_block(rt));
        for (M_INT i = -3; i <= -1; ++i)
            for (M_INT j = 7; j <= 8; ++j) {
                M_INT pos = order == RTABLE_FORTRAN ? (i + 3) + (j - 7) * 3 : (i + 3) * 2 + (j - 7);
                EXPECT_EQ(block[pos], double(100 * i + j)) << i << "," << j;
                EXPECT_EQ(fvalue(get2(rt, i, j)), double(100 * i + j));
            }
    }
    // One dimension starting below zero.
    ALGEB v = new1(settings(RTABLE_INTEGER16), -5, -2);
    set1(v, -5, I(1));
    set1(v, -2, I(4));
    auto *b = static_cast<int16_t *>(rtable::data_block(v));
    EXPECT_EQ(b[0], 1);
    EXPECT_EQ(b[3], 4);
}

TEST(RTable, HostValueBlockIsZeroFilledWithIntegerZero)
{
    ALGEB rt = new1(settings(RTABLE_DAG), 1, 4);
    auto *block = static_cast<ALGEB *>(rtable::data_block(rt));
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(block[k], make_immediate(0));
    set1(rt, 3, intern("z"));
    EXPECT_EQ(block[2], intern("z"));
}

TEST(RTable, AdoptsCallerDataBlock)
{
    auto *data = static_cast<double *>(gc_alloc_atomic(5 * sizeof(double)));
    for (int k = 0; k < 5; ++k)
        data[k] = 0.5 * k;
    ALGEB rt = new1(settings(RTABLE_FLOAT64), 0, 4, data);
    EXPECT_EQ(rtable::data_block(rt), data);
    EXPECT_EQ(fvalue(get1(rt, 3)), 1.5);
    set1(rt, 4, I(-7));
    EXPECT_EQ(data[4], -7.0);
    RTableSettings g;
    rtable::get_settings(&g, rt);
    EXPECT_EQ(g.foreign, 1);

    // A zero-filled caller block of host values reads as integer zeros until written.
    auto *handles = static_cast<ALGEB *>(gc_alloc(3 * sizeof(ALGEB)));
    ALGEB h = new1(settings(RTABLE_DAG, RTABLE_RECT, 1, RTABLE_FORTRAN, "sfloat"), 1, 3, handles);
    EXPECT_EQ(rtable::data_block(h), handles);
    handles[1] = F(4.25);
    EXPECT_EQ(fvalue(get1(h, 2)), 4.25);
    EXPECT_TRUE(is_float(get1(h, 1)));
    EXPECT_EQ(fvalue(get1(h, 1)), 0.0);

    // The adopted block survives collections while the rtable is alive.
    handles = nullptr;
    data = nullptr;
    for (int k = 0; k < 3; ++k) {
        std::vector<ALGEB> garbage;
        for (int n = 0; n < 2000; ++n)
            garbage.push_back(F(n));
        gc_collect();
    }
    EXPECT_EQ(fvalue(get1(h, 2)), 4.25);
    EXPECT_EQ(fvalue(get1(rt, 3)), 1.5);

    // Sparse storage has no block to adopt.
    auto *more = static_cast<double *>(gc_alloc_atomic(2 * sizeof(double)));
    EXPECT_TRUE(contains(error_of([&] { new1(settings(RTABLE_FLOAT64, RTABLE_SPARSE), 1, 2, more); }),
                         "rectangular"));
}

TEST(RTable, HostValuesSurviveCollection)
{
    for (int storage : {RTABLE_RECT, RTABLE_SPARSE}) {
        ALGEB rt = new1(settings(RTABLE_DAG, storage), 1, 200);
        for (M_INT i = 1; i <= 200; ++i)
            set1(rt, i, make_string("element " + std::to_string(i)));
        for (int k = 0; k < 3; ++k) {
            for (int n = 0; n < 5000; ++n)
                make_string("garbage garbage garbage");
            gc_collect();
        }
        for (M_INT i = 1; i <= 200; ++i)
            ASSERT_EQ(string_text(get1(rt, i)), "element " + std::to_string(i));
    }
}

// ---------------------------------------------------------------------------
// Sparse storage
// ---------------------------------------------------------------------------

TEST(RTable, SparseKeepsOnlyNonZeroElements)
{
    ALGEB rt = new1(settings(RTABLE_FLOAT64, RTABLE_SPARSE), 1, 1000);
    EXPECT_EQ(rtable::stored_count(rt), 0);
    // Out of order inserts.
    std::vector<M_INT> at = {500, 3, 999, 1, 250, 750, 2, 1000};
    for (M_INT i : at)
        set1(rt, i, I(i));
    EXPECT_EQ(rtable::stored_count(rt), M_INT(at.size()));
    for (M_INT i = 1; i <= 1000; ++i) {
        bool stored = std::find(at.begin(), at.end(), i) != at.end();
        ASSERT_EQ(fvalue(get1(rt, i)), stored ? double(i) : 0.0) << i;
    }
    // Replacing keeps the count, zero removes, removing an absent entry is a no-op.
    set1(rt, 250, I(-1));
    EXPECT_EQ(rtable::stored_count(rt), 8);
    EXPECT_EQ(fvalue(get1(rt, 250)), -1.0);
    set1(rt, 250, F(0.0));
    EXPECT_EQ(rtable::stored_count(rt), 7);
    set1(rt, 250, I(0));
    EXPECT_EQ(rtable::stored_count(rt), 7);
    EXPECT_EQ(fvalue(get1(rt, 250)), 0.0);
    // -0.0 is a different double from 0.0 and is kept.
    set1(rt, 4, F(-0.0));
    EXPECT_EQ(rtable::stored_count(rt), 8);
    M_INT four = 4;
    EXPECT_TRUE(std::signbit(rtable::select(rt, &four).float64));
    // Raw zero through the raw interface removes too.
    RTableData d;
    d.float64 = 0.0;
    M_INT i = 999;
    rtable::assign(rt, &i, d);
    EXPECT_EQ(rtable::stored_count(rt), 7);
}

TEST(RTable, SparseHostValuesRemoveOnlyTheExactZero)
{
    ALGEB rt = new1(settings(RTABLE_DAG, RTABLE_SPARSE), 1, 10);
    set1(rt, 2, F(0.0)); // a float zero is a value of its own
    set1(rt, 3, intern("a"));
    EXPECT_EQ(rtable::stored_count(rt), 2);
    EXPECT_TRUE(is_float(get1(rt, 2)));
    set1(rt, 3, I(0));
    EXPECT_EQ(rtable::stored_count(rt), 1);
}

TEST(RTable, HugeSparseArray)
{
    const M_INT n = M_INT(1) << 20;
    ALGEB rt = new2(settings(RTABLE_INTEGER64, RTABLE_SPARSE, 2), 1, n, -n, n);
    EXPECT_EQ(rtable::num_elements(rt), n * (2 * n + 1));
    set2(rt, n, n, I(5));
    set2(rt, 1, -n, I(6));
    EXPECT_EQ(rtable::stored_count(rt), 2);
    EXPECT_EQ(ivalue(get2(rt, n, n)), 5);
    EXPECT_EQ(ivalue(get2(rt, 1, -n)), 6);
    EXPECT_EQ(ivalue(get2(rt, 2, 0)), 0);
    // Printed as its stored entries.
    EXPECT_EQ(rtable::print(rt), "Array(1.." + std::to_string(n) + ", " + std::to_string(-n) + ".." +
                                     std::to_string(n) + ", datatype = int64, storage = sparse, entries = [[1, " +
                                     std::to_string(-n) + "] = 6, [" + std::to_string(n) + ", " +
                                     std::to_string(n) + "] = 5])");
}

// ---------------------------------------------------------------------------
// Copy
// ---------------------------------------------------------------------------

TEST(RTable, CopySameSettingsIsIndependent)
{
    ALGEB a = new2(settings(RTABLE_INTEGER16, RTABLE_RECT, 2, RTABLE_C), 0, 1, 2, 4);
    for (M_INT i = 0; i <= 1; ++i)
        for (M_INT j = 2; j <= 4; ++j)
            set2(a, i, j, I(i * 10 + j));
    ALGEB b = rtable::copy(nullptr, a);
    RTableSettings g;
    rtable::get_settings(&g, b);
    EXPECT_EQ(g.data_type, RTABLE_INTEGER16);
    EXPECT_EQ(g.order, RTABLE_C);
    EXPECT_EQ(g.num_dimensions, 2);
    EXPECT_EQ(rtable::lower_bound(b, 2), 2);
    EXPECT_NE(rtable::data_block(a), rtable::data_block(b));
    EXPECT_EQ(std::memcmp(rtable::data_block(a), rtable::data_block(b), 6 * sizeof(int16_t)), 0);
    set2(a, 1, 4, I(-1));
    EXPECT_EQ(ivalue(get2(b, 1, 4)), 14);
}

// A copy of host values takes the block as it is, except that a null handle
// (an element of a foreign block never assigned) becomes the zero, as
// reading it gives: for a host value the array's zero, for either half of a
// complex value the integer 0.
TEST(RTable, CopyOfHandlesMakesNullHandlesTheZero)
{
    std::vector<ALGEB> block(4, nullptr);
    block[1] = I(7);
    block[3] = F(2.5);
    ALGEB a = new1(settings(RTABLE_DAG), 1, 4, block.data());
    ALGEB b = rtable::copy(nullptr, a);
    auto *h = static_cast<ALGEB *>(rtable::data_block(b));
    EXPECT_NE(static_cast<void *>(h), static_cast<void *>(block.data()));
    EXPECT_EQ(h[0], make_immediate(0));
    EXPECT_EQ(h[1], block[1]);
    EXPECT_EQ(h[2], make_immediate(0));
    EXPECT_EQ(h[3], block[3]);

    // With sfloat elements the zero is a float zero.
    std::vector<ALGEB> floats(2, nullptr);
    floats[1] = F(1.5);
    ALGEB f = new1(settings(RTABLE_DAG, RTABLE_RECT, 1, RTABLE_FORTRAN, "sfloat"), 1, 2, floats.data());
    ALGEB g = rtable::copy(nullptr, f);
    auto *gh = static_cast<ALGEB *>(rtable::data_block(g));
    ASSERT_TRUE(is_float(gh[0]));
    EXPECT_EQ(fvalue(gh[0]), 0.0);
    EXPECT_EQ(gh[1], floats[1]);

    std::vector<ALGEB> pairs(4, nullptr); // (re, im) of two complex elements
    pairs[1] = I(-3);
    pairs[2] = I(4);
    ALGEB c = new1(settings(RTABLE_CXDAG), 1, 2, pairs.data());
    ALGEB d = rtable::copy(nullptr, c);
    auto *ch = static_cast<ALGEB *>(rtable::data_block(d));
    EXPECT_EQ(ch[0], make_immediate(0));
    EXPECT_EQ(ch[1], pairs[1]);
    EXPECT_EQ(ch[2], pairs[2]);
    EXPECT_EQ(ch[3], make_immediate(0));
}

TEST(RTable, CopyConvertsDataType)
{
    ALGEB a = new1(settings(RTABLE_INTEGER32), 1, 4);
    for (M_INT i = 1; i <= 4; ++i)
        set1(a, i, I(i * i));
    RTableSettings s = settings(RTABLE_FLOAT64);
    ALGEB b = rtable::copy(&s, a);
    auto *block = static_cast<double *>(rtable::data_block(b));
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(block[k], double((k + 1) * (k + 1)));

    // To software floats, as the statistics library asks.
    RTableSettings sf = settings(RTABLE_DAG, RTABLE_RECT, 1, RTABLE_FORTRAN, "sfloat");
    ALGEB c = rtable::copy(&sf, b);
    auto *handles = static_cast<ALGEB *>(rtable::data_block(c));
    for (int k = 0; k < 4; ++k) {
        ASSERT_TRUE(is_float(handles[k]));
        EXPECT_EQ(fvalue(handles[k]), double((k + 1) * (k + 1)));
    }

    // Floats do not fit in integer arrays, not even integral ones.
    b = rtable::copy(&s, a);
    RTableSettings s8 = settings(RTABLE_INTEGER8);
    EXPECT_EQ(error_of([&] { rtable::copy(&s8, b); }), "cannot store 1. in an array of datatype int8");
    set1(b, 1, F(1.5));
    EXPECT_EQ(error_of([&] { rtable::copy(&s8, b); }), "cannot store 1.5 in an array of datatype int8");
    // Integers that do not fit either.
    RTableSettings s8b = settings(RTABLE_INTEGER8);
    set1(a, 4, I(1000));
    EXPECT_TRUE(contains(error_of([&] { rtable::copy(&s8b, a); }), "cannot store 1000"));

    // Complex doubles from host values.
    ALGEB h = new1(settings(RTABLE_DAG), 1, 2);
    set1(h, 1, num::make_complex(I(1), I(-2)));
    set1(h, 2, num::make_rational(I(3), I(4)));
    RTableSettings sc = settings(RTABLE_COMPLEX);
    ALGEB z = rtable::copy(&sc, h);
    auto *zb = static_cast<double *>(rtable::data_block(z));
    EXPECT_EQ(zb[0], 1.0);
    EXPECT_EQ(zb[1], -2.0);
    EXPECT_EQ(zb[2], 0.75);
    EXPECT_EQ(zb[3], 0.0);
}

TEST(RTable, CopyChangesOrderAndStorage)
{
    ALGEB a = new2(settings(RTABLE_INTEGER64, RTABLE_RECT, 2, RTABLE_FORTRAN), 1, 2, 1, 3);
    for (M_INT i = 1; i <= 2; ++i)
        for (M_INT j = 1; j <= 3; ++j)
            set2(a, i, j, I(j == 2 ? 0 : 10 * i + j));
    RTableSettings c = settings(RTABLE_INTEGER64, RTABLE_RECT, 2, RTABLE_C);
    ALGEB b = rtable::copy(&c, a);
    auto *block = static_cast<int64_t *>(rtable::data_block(b));
    const int64_t expect[] = {11, 0, 13, 21, 0, 23};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(block[k], expect[k]) << k;

    // To sparse: zeros are not stored.
    RTableSettings sp = settings(RTABLE_FLOAT32, RTABLE_SPARSE, 2, RTABLE_C);
    ALGEB s = rtable::copy(&sp, a);
    EXPECT_EQ(rtable::stored_count(s), 4);
    EXPECT_EQ(fvalue(get2(s, 2, 3)), 23.0);
    EXPECT_EQ(fvalue(get2(s, 1, 2)), 0.0);

    // Sparse to sparse in the other order, and back to rectangular.
    RTableSettings sf = settings(RTABLE_INTEGER32, RTABLE_SPARSE, 2, RTABLE_FORTRAN);
    set2(s, 1, 3, F(-4.0));
    EXPECT_EQ(error_of([&] { rtable::copy(&sf, s); }), "cannot store 11. in an array of datatype int32");
    // Unassigned elements stay unassigned: float zeros do not become entries of a host-value copy.
    RTableSettings sd = settings(RTABLE_DAG, RTABLE_SPARSE, 2, RTABLE_FORTRAN);
    ALGEB t = rtable::copy(&sd, s);
    EXPECT_EQ(rtable::stored_count(t), 4);
    RTableSettings r = settings(RTABLE_FLOAT64, RTABLE_RECT, 2, RTABLE_FORTRAN);
    ALGEB u = rtable::copy(&r, t);
    auto *ub = static_cast<double *>(rtable::data_block(u));
    const double uexpect[] = {11, 21, 0, 0, -4, 23};
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(ub[k], uexpect[k]) << k;

    // The copy keeps the source's shape whatever the settings say.
    RTableSettings one = settings(RTABLE_DAG);
    ALGEB w = rtable::copy(&one, a);
    EXPECT_EQ(rtable::num_dimensions(w), 2);
    EXPECT_EQ(ivalue(get2(w, 2, 3)), 23);
}

TEST(RTable, CopyWithFillValues)
{
    RTableSettings s = settings(RTABLE_INTEGER32, RTABLE_SPARSE);
    s.fill = I(9);
    ALGEB a = new1(s, 1, 5);
    EXPECT_EQ(ivalue(get1(a, 3)), 9);
    set1(a, 2, I(0));
    EXPECT_EQ(rtable::stored_count(a), 1);
    set1(a, 4, I(9));
    EXPECT_EQ(rtable::stored_count(a), 1);
    // Into a sparse table with the ordinary zero: every fill becomes an entry.
    RTableSettings z = settings(RTABLE_INTEGER32, RTABLE_SPARSE);
    ALGEB b = rtable::copy(&z, a);
    EXPECT_EQ(rtable::stored_count(b), 4);
    EXPECT_EQ(ivalue(get1(b, 2)), 0);
    EXPECT_EQ(ivalue(get1(b, 5)), 9);
    // A rectangular block is filled with the fill value.
    RTableSettings r = settings(RTABLE_FLOAT64);
    r.fill = F(2.5);
    ALGEB c = new1(r, 1, 3);
    EXPECT_EQ(static_cast<double *>(rtable::data_block(c))[2], 2.5);
    EXPECT_TRUE(contains(rtable::print(c), "fill = 2.5"));
    r.fill = intern("x");
    EXPECT_TRUE(contains(error_of([&] { new1(r, 1, 3); }), "cannot store x in an array of datatype float64"));
}

// ---------------------------------------------------------------------------
// Validation
// ---------------------------------------------------------------------------

TEST(RTable, IndexOutOfRange)
{
    for (int storage : {RTABLE_RECT, RTABLE_SPARSE}) {
        ALGEB a = new1(settings(RTABLE_FLOAT64, storage), -1, 2);
        EXPECT_EQ(error_of([&] { get1(a, 3); }), "index out of range: 3 is not in -1..2");
        EXPECT_EQ(error_of([&] { set1(a, -2, I(1)); }), "index out of range: -2 is not in -1..2");
        M_INT i = 100;
        RTableData d;
        d.float64 = 1.0;
        EXPECT_TRUE(contains(error_of([&] { rtable::select(a, &i); }), "index out of range: 100"));
        EXPECT_TRUE(contains(error_of([&] { rtable::assign(a, &i, d); }), "index out of range: 100"));
        ALGEB b = new2(settings(RTABLE_INTEGER8, storage, 2), 1, 2, 1, 3);
        EXPECT_EQ(error_of([&] { get2(b, 2, 4); }), "index out of range: [2, 4] is not in [1..2, 1..3]");
        EXPECT_EQ(error_of([&] { get2(b, 0, 1); }), "index out of range: [0, 1] is not in [1..2, 1..3]");
        ALGEB e = new1(settings(RTABLE_DAG, storage), 1, 0);
        EXPECT_TRUE(contains(error_of([&] { get1(e, 1); }), "index out of range"));
    }
}

TEST(RTable, BadBounds)
{
    RTableSettings s = settings(RTABLE_DAG);
    EXPECT_EQ(error_of([&] { new1(s, lo_max(), hi_max()); }), "array too large");
    EXPECT_EQ(error_of([&] { new1(settings(RTABLE_DAG, RTABLE_SPARSE), lo_max(), hi_max()); }), "array too large");
    EXPECT_EQ(error_of([&] { rtable::create(&s, nullptr, nullptr); }), "missing rtable bounds");
}

// An upper bound below the lower bound gives an empty dimension with the
// bounds as given.
TEST(RTable, InvertedBoundsAreEmpty)
{
    RTableSettings s = settings(RTABLE_DAG);
    ALGEB a = new1(s, 3, 1);
    EXPECT_EQ(rtable::num_elements(a), 0);
    EXPECT_EQ(rtable::lower_bound(a, 1), 3);
    EXPECT_EQ(rtable::upper_bound(a, 1), 1);
    EXPECT_TRUE(contains(error_of([&] { get1(a, 2); }), "index out of range"));
    ALGEB b = new2(settings(RTABLE_DAG, RTABLE_RECT, 2), 1, 2, 0, -2);
    EXPECT_EQ(rtable::num_elements(b), 0);
    EXPECT_EQ(rtable::upper_bound(b, 2), -2);
    ALGEB c = new1(s, hi_max(), lo_max());
    EXPECT_EQ(rtable::num_elements(c), 0);
    EXPECT_EQ(rtable::print(new1(s, 1, -5)), "Array(1..-5, [])");
}

TEST(RTable, HugeSizes)
{
    // 2^40 doubles.
    EXPECT_EQ(error_of([&] { new1(settings(RTABLE_FLOAT64), 1, M_INT(1) << 40); }), "array too large");
    // Products that overflow a word.
    const M_INT big = M_INT(1) << 40;
    EXPECT_EQ(error_of([&] { new2(settings(RTABLE_INTEGER8, RTABLE_RECT, 2), 1, big, 1, big); }),
              "array too large");
    EXPECT_EQ(error_of([&] { new2(settings(RTABLE_INTEGER8, RTABLE_SPARSE, 2), 1, big * 8, 1, big); }),
              "array too large");
    // The element size counts: 2^33 complex doubles are 2^37 bytes.
    EXPECT_EQ(error_of([&] { new1(settings(RTABLE_COMPLEX), 1, M_INT(1) << 33); }), "array too large");
}

TEST(RTable, InvalidSettings)
{
    RTableSettings s = settings(RTABLE_DAG);
    s.storage = RTABLE_DIAG;
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "storage diagonal is not supported");
    s.storage = RTABLE_BAND;
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "storage band is not supported");
    s.storage = RTABLE_EMPTY;
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "storage empty is not supported");
    s.storage = 17;
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "invalid rtable storage 17");

    s = settings(9);
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "invalid rtable datatype 9");
    s = settings(-1);
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "invalid rtable datatype -1");
    s = settings(RTABLE_DAG, RTABLE_RECT, 3);
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "rtables of 3 dimensions are not supported, expected 1 or 2");
    s = settings(RTABLE_DAG, RTABLE_RECT, 0);
    EXPECT_TRUE(contains(error_of([&] { new1(s, 1, 2); }), "rtables of 0 dimensions"));
    s = settings(RTABLE_DAG, RTABLE_RECT, 1, 2);
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "invalid rtable order 2");
    s = settings(RTABLE_DAG);
    s.subtype = 7;
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "invalid rtable subtype 7");
    s = settings(RTABLE_DAG, RTABLE_RECT, 1, RTABLE_FORTRAN, "integer");
    EXPECT_EQ(error_of([&] { new1(s, 1, 2); }), "element type integer is not supported, expected anything or sfloat");

    // Operations on something that is not an rtable.
    EXPECT_EQ(error_of([&] { rtable::num_elements(I(3)); }), "expected an rtable, received 3");
    EXPECT_EQ(error_of([&] { rtable::data_block(list({I(1)})); }), "expected an rtable, received [1]");
    EXPECT_TRUE(contains(error_of([&] { rtable::num_dimensions(nullptr); }), "expected an rtable"));
    EXPECT_EQ(error_of([&] { rtable::get_defaults(nullptr); }), "missing rtable settings");
    ALGEB a = new1(settings(RTABLE_DAG), 1, 2);
    EXPECT_EQ(error_of([&] { rtable::select(a, nullptr); }), "missing rtable index");
}

TEST(RTable, ReadOnly)
{
    RTableSettings s = settings(RTABLE_INTEGER32);
    s.read_only = 1;
    ALGEB a = new1(s, 1, 2);
    EXPECT_EQ(error_of([&] { set1(a, 1, I(1)); }), "cannot assign to a read-only array");
    M_INT i = 1;
    RTableData d;
    d.int32 = 4;
    EXPECT_EQ(error_of([&] { rtable::assign(a, &i, d); }), "cannot assign to a read-only array");
    EXPECT_EQ(ivalue(get1(a, 1)), 0);
}

// ---------------------------------------------------------------------------
// The language
// ---------------------------------------------------------------------------

TEST(RTableLanguage, BoundsOnlyGivesZeros)
{
    ALGEB a = rtable::array_constructor(seq({make_range(I(1), I(3))}));
    EXPECT_EQ(rtable::num_elements(a), 3);
    for (M_INT i = 1; i <= 3; ++i)
        EXPECT_EQ(get1(a, i), make_immediate(0));
    EXPECT_EQ(rtable::print(a), "Array(1..3, [0, 0, 0])");
    // A single argument that is not a sequence.
    ALGEB b = rtable::array_constructor(make_range(I(0), I(1)));
    EXPECT_EQ(rtable::lower_bound(b, 1), 0);
    EXPECT_EQ(rtable::print(b), "Array(0..1, [0, 0])");
}

TEST(RTableLanguage, InitialValues)
{
    ALGEB a = rtable::array_constructor(seq({make_range(I(1), I(3)), list({I(1), I(2), I(3)})}));
    EXPECT_EQ(rtable::print(a), "Array(1..3, [1, 2, 3])");
    // Shorter lists leave zeros.
    ALGEB b = rtable::array_constructor(seq({make_range(I(-1), I(2)), list({intern("x"), I(5)})}));
    EXPECT_EQ(get1(b, -1), intern("x"));
    EXPECT_EQ(ivalue(get1(b, 0)), 5);
    EXPECT_EQ(ivalue(get1(b, 2)), 0);
    EXPECT_EQ(rtable::print(b), "Array(-1..2, [x, 5, 0, 0])");
    EXPECT_EQ(error_of([&] {
                  rtable::array_constructor(seq({make_range(I(1), I(2)), list({I(1), I(2), I(3)})}));
              }),
              "3 initial values given for an array of 2 elements");
}

TEST(RTableLanguage, TwoDimensions)
{
    ALGEB rows = list({list({F(1), F(2)}), list({F(3)})});
    ALGEB a = rtable::array_constructor(
        seq({make_range(I(1), I(2)), make_range(I(1), I(2)), rows, eq("datatype", "float64")}));
    EXPECT_EQ(rtable::num_dimensions(a), 2);
    EXPECT_EQ(fvalue(get2(a, 1, 2)), 2.0);
    EXPECT_EQ(fvalue(get2(a, 2, 1)), 3.0);
    EXPECT_EQ(fvalue(get2(a, 2, 2)), 0.0);
    auto *block = static_cast<double *>(rtable::data_block(a));
    EXPECT_EQ(block[1], 3.0); // Fortran order: A[2,1] second
    EXPECT_EQ(rtable::print(a), "Array(1..2, 1..2, [[1., 2.], [3., 0.]], datatype = float64)");

    ALGEB c = rtable::array_constructor(seq({make_range(I(0), I(1)), make_range(I(5), I(7)),
                                             list({list({I(1), I(2), I(3)}), list({I(4), I(5), I(6)})}),
                                             eq("order", "C_order"), eq("datatype", "int8")}));
    auto *cb = static_cast<int8_t *>(rtable::data_block(c));
    for (int k = 0; k < 6; ++k)
        EXPECT_EQ(cb[k], k + 1);
    EXPECT_EQ(rtable::print(c), "Array(0..1, 5..7, [[1, 2, 3], [4, 5, 6]], datatype = int8, order = C_order)");

    EXPECT_EQ(error_of([&] {
                  rtable::array_constructor(seq({make_range(I(1), I(1)), make_range(I(1), I(2)),
                                                 list({list({I(1)}), list({I(2)})})}));
              }),
              "2 rows given for an array of 1 rows");
    EXPECT_EQ(error_of([&] {
                  rtable::array_constructor(seq({make_range(I(1), I(2)), make_range(I(1), I(2)),
                                                 list({list({I(1), I(2), I(3)})})}));
              }),
              "row 1 has 3 values for an array of 2 columns");
    EXPECT_TRUE(contains(error_of([&] {
                             rtable::array_constructor(
                                 seq({make_range(I(1), I(2)), make_range(I(1), I(2)), list({I(1), I(2)})}));
                         }),
                         "expected a list of rows"));
}

TEST(RTableLanguage, ImplicitBounds)
{
    ALGEB a = rtable::array_constructor(list({I(4), I(5), I(6)}));
    EXPECT_EQ(rtable::num_dimensions(a), 1);
    EXPECT_EQ(rtable::lower_bound(a, 1), 1);
    EXPECT_EQ(rtable::upper_bound(a, 1), 3);
    EXPECT_EQ(rtable::print(a), "Array(1..3, [4, 5, 6])");

    ALGEB b = rtable::array_constructor(seq({list({list({I(1), I(2)}), list({I(3)})}), eq("datatype", "int32")}));
    EXPECT_EQ(rtable::num_dimensions(b), 2);
    EXPECT_EQ(rtable::upper_bound(b, 1), 2);
    EXPECT_EQ(rtable::upper_bound(b, 2), 2);
    EXPECT_EQ(rtable::print(b), "Array(1..2, 1..2, [[1, 2], [3, 0]], datatype = int32)");

    // A list with some non-list elements is one-dimensional.
    ALGEB c = rtable::array_constructor(list({list({I(1)}), I(2)}));
    EXPECT_EQ(rtable::num_dimensions(c), 1);
    EXPECT_EQ(rtable::print(c), "Array(1..2, [[1], 2])");

    ALGEB e = rtable::array_constructor(list({}));
    EXPECT_EQ(rtable::num_elements(e), 0);
    EXPECT_EQ(rtable::print(e), "Array(1..0, [])");
}

TEST(RTableLanguage, DatatypesStoragesOrders)
{
    for (int dt = 0; dt < RTABLE_NUM_DATATYPES; ++dt) {
        ALGEB a = rtable::array_constructor(
            seq({make_range(I(1), I(2)), list({I(1), I(-2)}), eq("datatype", kTypeNames[dt]), eq("storage", "sparse")}));
        RTableSettings g;
        rtable::get_settings(&g, a);
        EXPECT_EQ(g.data_type, dt);
        EXPECT_EQ(g.storage, RTABLE_SPARSE);
        EXPECT_EQ(rtable::stored_count(a), 2);
    }
    ALGEB s = rtable::array_constructor(seq({make_range(I(1), I(2)), eq("datatype", "sfloat")}));
    RTableSettings g;
    rtable::get_settings(&g, s);
    EXPECT_EQ(g.data_type, RTABLE_DAG);
    EXPECT_EQ(g.element_type, intern("sfloat"));
    EXPECT_TRUE(is_float(get1(s, 1)));
    ALGEB r = rtable::array_constructor(seq({make_range(I(1), I(2)), eq("storage", "rectangular"),
                                             eq("order", "Fortran_order")}));
    rtable::get_settings(&g, r);
    EXPECT_EQ(g.storage, RTABLE_RECT);
    EXPECT_EQ(g.order, RTABLE_FORTRAN);

    ALGEB sp = rtable::array_constructor(
        seq({make_range(I(1), I(4)), list({I(0), F(2.5), I(0), I(1)}), eq("storage", "sparse"), eq("datatype", "float64")}));
    EXPECT_EQ(rtable::stored_count(sp), 2);
    EXPECT_EQ(rtable::print(sp), "Array(1..4, [0., 2.5, 0., 1.], datatype = float64, storage = sparse)");
}

TEST(RTableLanguage, ConstructorErrors)
{
    auto err = [](ALGEB args) { return error_of([&] { rtable::array_constructor(args); }); };
    ALGEB r = make_range(I(1), I(2));
    EXPECT_TRUE(contains(err(seq({r, eq("datatype", "float16")})), "unknown datatype float16"));
    EXPECT_EQ(err(seq({r, eq("storage", "diagonal")})), "storage diagonal is not supported");
    EXPECT_TRUE(contains(err(seq({r, eq("storage", "triangular")})), "unknown storage triangular"));
    EXPECT_TRUE(contains(err(seq({r, eq("order", "sideways")})), "unknown order sideways"));
    EXPECT_TRUE(contains(err(seq({r, eq("colour", "red")})), "unknown Array option"));
    EXPECT_TRUE(contains(err(seq({r, make_range(I(1), I(2)), make_range(I(1), I(2))})), "more than 2 dimensions"));
    EXPECT_TRUE(contains(err(seq({make_range(F(1.5), I(3))})), "invalid Array bounds"));
    EXPECT_TRUE(contains(err(seq({make_range(I(1), intern("n"))})), "invalid Array bounds"));
    EXPECT_EQ(err(seq({make_range(I(2), I(0))})), "(no error)");
    EXPECT_TRUE(contains(err(seq({r, intern("x")})), "invalid Array argument x"));
    EXPECT_TRUE(contains(err(seq({r, list({I(1)}), list({I(2)})})), "initial values given twice"));
    EXPECT_EQ(err(null_seq()), "Array expects bounds or a list of initial values");
    EXPECT_EQ(err(seq({r, list({I(300)}), eq("datatype", "int8")})), "cannot store 300 in an array of datatype int8");
    EXPECT_EQ(err(seq({make_range(I(1), I(1)), make_range(I(1), I(1)), eq("datatype", "float64"),
                       eq("storage", "sparse")})),
              "(no error)");
    ALGEB huge = num::mul(make_integer64(INT64_MAX), I(8));
    EXPECT_TRUE(contains(err(seq({make_range(I(1), huge)})), "invalid Array bounds"));
    EXPECT_EQ(err(seq({make_range(I(1), make_integer64(INT64_C(1) << 40)), eq("datatype", "float64")})),
              "array too large");
}

TEST(RTableLanguage, Entries)
{
    ALGEB a = rtable::array_constructor(seq({make_range(I(1), I(100000)), eq("storage", "sparse"),
                                             make_equation(intern("entries"),
                                                           list({make_equation(I(7), I(3)),
                                                                 make_equation(I(99999), intern("y"))}))}));
    EXPECT_EQ(rtable::stored_count(a), 2);
    EXPECT_EQ(ivalue(get1(a, 7)), 3);
    EXPECT_EQ(get1(a, 99999), intern("y"));
    std::string p = rtable::print(a);
    EXPECT_EQ(p, "Array(1..100000, storage = sparse, entries = [7 = 3, 99999 = y])");

    ALGEB b = rtable::array_constructor(
        seq({make_range(I(1), I(2)), make_range(I(1), I(2)),
             make_equation(intern("entries"), list({make_equation(list({I(2), I(1)}), I(8))}))}));
    EXPECT_EQ(ivalue(get2(b, 2, 1)), 8);
    EXPECT_TRUE(contains(error_of([&] {
                             rtable::array_constructor(seq({make_range(I(1), I(2)),
                                                            make_equation(intern("entries"),
                                                                          list({make_equation(I(3), I(1))}))}));
                         }),
                         "index out of range: 3"));
}

TEST(RTableLanguage, Indexing)
{
    ALGEB a = rtable::array_constructor(seq({make_range(I(1), I(3)), list({I(10), I(20), I(30)})}));
    EXPECT_EQ(ivalue(rtable::index(a, I(2))), 20);
    EXPECT_EQ(ivalue(rtable::index(a, seq({I(3)}))), 30);
    rtable::assign_index(a, I(1), intern("w"));
    EXPECT_EQ(rtable::index(a, I(1)), intern("w"));
    EXPECT_EQ(error_of([&] { rtable::index(a, I(4)); }), "index out of range: 4 is not in 1..3");
    EXPECT_EQ(error_of([&] { rtable::index(a, seq({I(1), I(1)})); }),
              "wrong number of indices: the array has 1 dimension, 2 indices given");
    EXPECT_EQ(error_of([&] { rtable::index(a, null_seq()); }),
              "wrong number of indices: the array has 1 dimension, 0 indices given");
    EXPECT_EQ(error_of([&] { rtable::index(a, intern("i")); }), "array index must be an integer, received i");
    EXPECT_EQ(error_of([&] { rtable::index(a, F(1.0)); }), "array index must be an integer, received 1.");
    ALGEB huge = num::mul(make_integer64(INT64_MAX), I(8));
    EXPECT_TRUE(contains(error_of([&] { rtable::index(a, huge); }), "index out of range: 73786976294838206456"));

    ALGEB m = rtable::array_constructor(
        seq({make_range(I(0), I(1)), make_range(I(-1), I(0)), eq("datatype", "int16")}));
    rtable::assign_index(m, seq({I(1), I(-1)}), I(-9));
    EXPECT_EQ(ivalue(rtable::index(m, seq({I(1), I(-1)}))), -9);
    EXPECT_EQ(static_cast<int16_t *>(rtable::data_block(m))[1], -9);
    EXPECT_EQ(error_of([&] { rtable::index(m, I(1)); }),
              "wrong number of indices: the array has 2 dimensions, 1 index given");
    EXPECT_EQ(error_of([&] { rtable::index(m, seq({I(2), I(0)})); }),
              "index out of range: [2, 0] is not in [0..1, -1..0]");
    EXPECT_EQ(error_of([&] { rtable::assign_index(m, seq({I(0), I(0)}), F(0.5)); }),
              "cannot store 0.5 in an array of datatype int16");
}

TEST(RTableLanguage, PrintForms)
{
    ALGEB a = rtable::array_constructor(seq({make_range(I(1), I(2)), list({num::make_complex(F(1.5), F(-2)), I(0)}),
                                             eq("datatype", "complex128")}));
    EXPECT_EQ(rtable::print(a), "Array(1..2, [" + print(num::make_complex(F(1.5), F(-2))) + ", " +
                                    print(num::make_complex(F(0), F(0))) + "], datatype = complex128)");
    ALGEB b = rtable::array_constructor(seq({make_range(I(1), I(2)), list({F(0.5), I(3)}), eq("datatype", "float32"),
                                             eq("order", "C_order"), eq("storage", "sparse")}));
    EXPECT_EQ(rtable::print(b), "Array(1..2, [0.5, 3.], datatype = float32, storage = sparse, order = C_order)");
    ALGEB c = rtable::array_constructor(seq({make_range(I(1), I(2)), make_range(I(1), I(0))}));
    EXPECT_EQ(rtable::print(c), "Array(1..2, 1..0, [[], []])");
    ALGEB d = rtable::array_constructor(seq({make_range(I(1), I(0)), make_range(I(1), I(3))}));
    EXPECT_EQ(rtable::print(d), "Array(1..0, 1..3, [])");
    // The generic printer prints rtables the same way.
    EXPECT_EQ(print(d), rtable::print(d));
}
