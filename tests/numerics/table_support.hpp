// table_support.hpp -- the committed reference tables
// (data/<family>/<routine>.tsv, written by scripts/reference/numerics.py),
// how a row is checked, and the accuracy test each family's test file
// instantiates for its routines.
//
// A row is: digits, the routine's inputs (tail codes and integers in decimal,
// reals as exact binary values 0x<hex>p<exp>), then the expected outputs in
// decimal with digits + 10 significant digits.  A row passes when the routine
// reports no error and every output has a relative error below 10^(1 - digits)
// (one unit in the last requested digit); a zero output must be exactly 0.
#pragma once

#include "talvo_mp.h"

#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace talvo::test {

// A routine as the tables see it: input kinds ("T" tail, "R" real, "I"
// integer) and a call that fills the outputs.
struct TableRoutine {
    std::string family; // the table is data/<family>/<name>.tsv
    std::string kinds;
    int outputs;
    // ins: the parsed inputs (tails and integers in `ints`, reals in `reals`,
    // in the order of the kinds); outs gets the outputs.
    std::function<void(const std::vector<long> &ints, const std::vector<TalvoFloat> &reals, TalvoFloat *outs,
                       NagError *fail)>
        call;
};

inline const std::map<std::string, TableRoutine> &table_routines()
{
    static const std::map<std::string, TableRoutine> routines = {
        {"g01eac", {"normal", "TR", 1, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01eac(Nag_TailProbability(i[0]), r[0], f); }}},
        {"g01fac", {"normal", "TR", 1, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01fac(Nag_TailProbability(i[0]), r[0], f); }}},
        {"g01ebc", {"student_t", "TRR", 1, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01ebc(Nag_TailProbability(i[0]), r[0], r[1], f); }}},
        {"g01fbc", {"student_t", "TRR", 1, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01fbc(Nag_TailProbability(i[0]), r[0], r[1], f); }}},
        {"g01ecc", {"chi_square", "TRR", 1, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01ecc(Nag_TailProbability(i[0]), r[0], r[1], f); }}},
        {"g01fcc", {"chi_square", "RR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01fcc(r[0], r[1], f); }}},
        {"g01edc", {"f_ratio", "TRRR", 1, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01edc(Nag_TailProbability(i[0]), r[0], r[1], r[2], f); }}},
        {"g01fdc", {"f_ratio", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01fdc(r[0], r[1], r[2], f); }}},
        {"g01eec", {"beta", "RRR", 3, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             TalvoMP_g01eec(r[0], r[1], r[2], TalvoFloat(), &o[0], &o[1], &o[2], f); }}},
        // Whole-number shapes, one output per call: the routine computes only
        // what is asked for, and sums a tail as a finite binomial sum when that
        // output's sum is short, so each output may take a different method.
        {"g01eec_whole", {"beta", "RRR", 3, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             TalvoMP_g01eec(r[0], r[1], r[2], TalvoFloat(), &o[0], nullptr, nullptr, f);
             if (f->code == NE_NOERROR)
                 TalvoMP_g01eec(r[0], r[1], r[2], TalvoFloat(), nullptr, &o[1], nullptr, f);
             if (f->code == NE_NOERROR)
                 TalvoMP_g01eec(r[0], r[1], r[2], TalvoFloat(), nullptr, nullptr, &o[2], f); }}},
        {"g01fec", {"beta", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01fec(r[0], r[1], r[2], TalvoFloat(), f); }}},
        {"g01fec_whole", {"beta", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01fec(r[0], r[1], r[2], TalvoFloat(), f); }}},
        {"g01efc", {"gamma", "TRRR", 1, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01efc(Nag_TailProbability(i[0]), r[0], r[1], r[2], f); }}},
        {"g01ffc", {"gamma", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01ffc(r[0], r[1], r[2], TalvoFloat(), f); }}},
        // The non-central routines get tol = 0 (full precision) and a limit
        // that never binds; tol and max_iter have their own tests.
        {"g01gbc", {"noncentral_student_t", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01gbc(r[0], r[1], r[2], TalvoFloat(), 1000000, f); }}},
        {"g01gcc", {"noncentral_chi_square", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01gcc(r[0], r[1], r[2], TalvoFloat(), 1000000, f); }}},
        {"g01gdc", {"noncentral_beta", "RRRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01gdc(r[0], r[1], r[2], r[3], TalvoFloat(), 1000000, f); }}},
        {"g01gec", {"noncentral_beta", "RRRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_g01gec(r[0], r[1], r[2], r[3], TalvoFloat(), 1000000, f); }}},
        {"g01bjc", {"binomial", "IRI", 3, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             TalvoMP_g01bjc(i[0], r[0], i[1], &o[0], &o[1], &o[2], f); }}},
        {"g01bkc", {"poisson", "RI", 3, [](auto &i, auto &r, TalvoFloat *o, NagError *f) {
             TalvoMP_g01bkc(r[0], i[0], &o[0], &o[1], &o[2], f); }}},
        {"g01blc", {"hypergeometric", "IIII", 3, [](auto &i, auto &, TalvoFloat *o, NagError *f) {
             TalvoMP_g01blc(i[0], i[1], i[2], i[3], &o[0], &o[1], &o[2], f); }}},
        // Extensions: densities and non-central upper tails.
        {"normal_pdf", {"density", "R", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_normal_pdf(r[0], f); }}},
        {"student_t_pdf", {"density", "RR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_student_t_pdf(r[0], r[1], f); }}},
        {"chi_square_pdf", {"density", "RR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_chi_square_pdf(r[0], r[1], f); }}},
        {"gamma_pdf", {"density", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_gamma_pdf(r[0], r[1], r[2], f); }}},
        {"f_pdf", {"density", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_f_pdf(r[0], r[1], r[2], f); }}},
        {"noncentral_chi_square_upper", {"noncentral_upper", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_noncentral_chi_square_upper(r[0], r[1], r[2], TalvoFloat(), 1000000, f); }}},
        {"noncentral_beta_upper", {"noncentral_upper", "RRRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_noncentral_beta_upper(r[0], r[1], r[2], r[3], TalvoFloat(), 1000000, f); }}},
        {"noncentral_f_upper", {"noncentral_upper", "RRRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_noncentral_f_upper(r[0], r[1], r[2], r[3], TalvoFloat(), 1000000, f); }}},
        {"noncentral_chi_square_pdf", {"noncentral_density", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_noncentral_chi_square_pdf(r[0], r[1], r[2], f); }}},
        {"noncentral_beta_pdf", {"noncentral_density", "RRRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_noncentral_beta_pdf(r[0], r[1], r[2], r[3], f); }}},
        {"noncentral_f_pdf", {"noncentral_density", "RRRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_noncentral_f_pdf(r[0], r[1], r[2], r[3], f); }}},
        {"noncentral_t_pdf", {"noncentral_density", "RRR", 1, [](auto &, auto &r, TalvoFloat *o, NagError *f) {
             o[0] = TalvoMP_noncentral_t_pdf(r[0], r[1], r[2], f); }}},
    };
    return routines;
}

// The precisions every table covers.
inline const std::vector<long> &table_precisions()
{
    static const std::vector<long> all = {15, 30, 50, 100, 300};
    return all;
}

// The table-driven routines: each routine listed here has a committed table
// in data/ with rows at each of the precisions given, and the accuracy test
// runs every one of those rows.  A routine of table_routines() that is not
// listed must be named in pending_tables() with the reason; a test checks
// that the two lists together cover every routine, so none is skipped
// silently.
inline const std::map<std::string, std::vector<long>> &tabulated()
{
    static const std::map<std::string, std::vector<long>> listed = {
        {"g01eac", table_precisions()}, {"g01fac", table_precisions()}, // normal
        {"g01ebc", table_precisions()}, {"g01fbc", table_precisions()}, // Student's t
        {"g01ecc", table_precisions()}, {"g01fcc", table_precisions()}, // chi-square
        {"g01edc", table_precisions()}, {"g01fdc", table_precisions()}, // F
        {"g01eec", table_precisions()}, {"g01fec", table_precisions()}, // beta
        {"g01eec_whole", table_precisions()},                           // beta, whole-number shapes
        {"g01fec_whole", table_precisions()},                           // beta deviate, whole-number shapes
        {"g01efc", table_precisions()}, {"g01ffc", table_precisions()}, // gamma
        {"g01gbc", table_precisions()},                                 // non-central t
        {"g01gcc", table_precisions()},                                 // non-central chi-square
        {"g01gdc", table_precisions()},                                 // non-central F
        {"g01gec", table_precisions()},                                 // non-central beta
        {"g01bjc", table_precisions()},                                 // binomial
        {"g01bkc", table_precisions()},                                 // Poisson
        {"g01blc", table_precisions()},                                 // hypergeometric
        {"normal_pdf", table_precisions()}, {"student_t_pdf", table_precisions()},      // densities
        {"chi_square_pdf", table_precisions()}, {"gamma_pdf", table_precisions()},
        {"f_pdf", table_precisions()},
        {"noncentral_chi_square_upper", table_precisions()},                            // non-central
        {"noncentral_beta_upper", table_precisions()},                                  // upper tails
        {"noncentral_f_upper", table_precisions()},
        {"noncentral_chi_square_pdf", table_precisions()},                              // non-central
        {"noncentral_beta_pdf", table_precisions()},                                    // densities
        {"noncentral_f_pdf", table_precisions()},
        {"noncentral_t_pdf", table_precisions()},
    };
    return listed;
}

// Routines (or precisions of a routine) whose tables are not generated yet,
// with the reason.  Empty: every routine has its table at every precision.
inline const std::map<std::string, std::string> &pending_tables()
{
    static const std::map<std::string, std::string> pending;
    return pending;
}

// One row of a table, as text.
struct TableRow {
    int line;
    long digits;
    std::vector<std::string> fields; // inputs then outputs
};

inline std::vector<TableRow> read_table(const std::string &routine)
{
    const std::string &family = table_routines().at(routine).family;
    std::ifstream in(std::string(TALVO_NUMERICS_DATA) + "/" + family + "/" + routine + ".tsv");
    std::vector<TableRow> rows;
    std::string line;
    int n = 0;
    while (std::getline(in, line)) {
        ++n;
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream s(line);
        std::string field;
        TableRow row{n, 0, {}};
        std::getline(s, field, '\t');
        row.digits = std::stol(field);
        while (std::getline(s, field, '\t'))
            row.fields.push_back(field);
        rows.push_back(row);
    }
    return rows;
}

// The result of checking one row: the worst error in units of 10^(1 - digits).
struct RowCheck {
    bool ok = true;
    double worst_units = 0;
    std::string message;
};

// Runs the row at its digits (the caller sets "Digits") and checks it.
inline RowCheck check_row(const std::string &name, const TableRoutine &r, const TableRow &row)
{
    RowCheck result;
    std::vector<long> ints;
    std::vector<TalvoFloat> reals;
    mpfr_prec_t prec = talvo_float_precision();
    size_t k = 0;
    for (char kind : r.kinds) {
        const std::string &f = row.fields.at(k++);
        if (kind == 'R') {
            ALGEB h = talvo_float_new(prec);
            char *end = nullptr;
            int inexact = mpfr_strtofr(talvo_float_mpfr(h), f.c_str(), &end, 0, MPFR_RNDN);
            if (inexact != 0 || end == nullptr || *end != '\0') {
                result.ok = false;
                result.message = "input " + f + " is not exact at " + std::to_string(prec) + " bits";
                return result;
            }
            reals.push_back(TalvoFloat::from_handle(h));
        } else {
            ints.push_back(std::stol(f));
        }
    }
    TalvoFloat outs[3];
    NagError fail{};
    r.call(ints, reals, outs, &fail);
    std::ostringstream what;
    what << name << " line " << row.line << " (" << row.digits << " digits)";
    if (fail.code != NE_NOERROR) {
        result.ok = false;
        result.message = what.str() + ": error " + std::to_string(fail.code) + ": " + fail.message;
        return result;
    }
    const mpfr_prec_t hp = 4 * prec + 64;
    mpfr_t ref, err;
    mpfr_init2(ref, hp);
    mpfr_init2(err, hp);
    for (int i = 0; i < r.outputs; ++i) {
        const std::string &f = row.fields.at(k + i);
        mpfr_set_str(ref, f.c_str(), 10, MPFR_RNDN);
        mpfr_srcptr got = outs[i].mpfr();
        double units;
        if (mpfr_zero_p(ref)) {
            units = mpfr_zero_p(got) ? 0.0 : INFINITY;
        } else if (!mpfr_number_p(got)) {
            units = INFINITY;
        } else {
            // |got - ref| / |ref| in units of 10^(1 - digits)
            mpfr_sub(err, got, ref, MPFR_RNDN);
            mpfr_div(err, err, ref, MPFR_RNDN);
            mpfr_abs(err, err, MPFR_RNDN);
            mpfr_t scale;
            mpfr_init2(scale, hp);
            mpfr_ui_pow_ui(scale, 10, static_cast<unsigned long>(row.digits - 1), MPFR_RNDN);
            mpfr_mul(err, err, scale, MPFR_RNDN);
            mpfr_clear(scale);
            units = mpfr_get_d(err, MPFR_RNDU);
        }
        if (units > result.worst_units)
            result.worst_units = units;
        if (!(units < 1.0)) {
            result.ok = false;
            std::ostringstream m;
            m << what.str() << ": output " << i << " = " << talvo_float_to_string(outs[i].handle(), row.digits + 5)
              << ", expected " << f << " (" << units << " units in the last digit)";
            result.message = m.str();
        }
    }
    mpfr_clear(ref);
    mpfr_clear(err);
    return result;
}

// Sets "Digits" for one test and puts the old value back.
struct DigitsScope {
    long saved;
    explicit DigitsScope(long d) : saved(talvo_float_digits()) { talvo_float_set_digits(d); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

// The accuracy test (accuracy_test.cpp): every row of one routine's table at
// one precision.  A family's test file instantiates it for the tabulated
// routines of its family:
//
//     INSTANTIATE_TEST_SUITE_P(Normal, Table, FamilyCases("normal"), CaseName);
//
// and a coverage test checks that every tabulated routine's family did.
struct TableCase {
    std::string routine;
    long digits;
};

// How the case prints in test listings: "g01eac at 15 digits".
inline void PrintTo(const TableCase &c, std::ostream *os) { *os << c.routine << " at " << c.digits << " digits"; }

class Table : public ::testing::TestWithParam<TableCase> {};

// The families whose test files instantiated the accuracy test.
inline std::set<std::string> &instantiated_families()
{
    static std::set<std::string> families;
    return families;
}

inline ::testing::internal::ParamGenerator<TableCase> FamilyCases(const std::string &family)
{
    instantiated_families().insert(family);
    std::vector<TableCase> cases;
    for (const auto &[name, precisions] : tabulated())
        if (table_routines().at(name).family == family)
            for (long d : precisions)
                cases.push_back({name, d});
    return ::testing::ValuesIn(cases);
}

inline std::string CaseName(const ::testing::TestParamInfo<TableCase> &info)
{
    return info.param.routine + "_" + std::to_string(info.param.digits);
}

} // namespace talvo::test
