// hs_expression.hpp -- more Hock-Schittkowski problems for bench_sqp, given
// as text (the collection's formulas in infix: ^ power, x1..xn, exp, log,
// sqrt, sin, cos, pi) and turned into the callbacks of hs::Hs by a small
// parser.  Values and gradients come from forward-mode differentiation of
// the parsed expression, so the derivatives are exact to the working
// precision.  Decimal constants are read as decimals at the working
// precision (0.0588 is 588/10000 rounded once).  Every constraint, linear
// or not, is given to the solver as a nonlinear one.
#pragma once

#include "../tests/numerics/hs_problems.hpp"

#include <cctype>
#include <memory>
#include <stdexcept>

namespace hs::text {

// A value with its gradient.
struct Dual {
    TalvoFloat v;
    Vec d;
};

struct Node {
    char op = 0; // 'n' number, 'x' variable, 'p' pi, 'f' function, '+', '-', '*', '/', '^', 'u' (negation)
    std::string text;
    int var = 0;
    std::string fn;
    std::unique_ptr<Node> a, b;

    Dual eval(const TalvoFloat *x, int n) const
    {
        const TalvoFloat zero(0.0), one(1.0);
        auto constant = [&](const TalvoFloat &v) { return Dual{v, Vec(size_t(n), zero)}; };
        switch (op) {
        case 'n':
            return constant(Parse(text));
        case 'p':
            return constant(Parse("3.14159265358979323846264338327950288419716939937510582097494459230781640628620899"
                                  "8628034825342117067982148086513282306647093844609550582231725359408128481117450"));
        case 'x': {
            Dual r = constant(x[var]);
            r.d[size_t(var)] = one;
            return r;
        }
        case 'u': {
            Dual r = a->eval(x, n);
            r.v = -r.v;
            for (TalvoFloat &t : r.d)
                t = -t;
            return r;
        }
        case 'f': {
            const Dual u = a->eval(x, n);
            TalvoFloat v, dv;
            if (fn == "exp") {
                v = exp(u.v);
                dv = v;
            } else if (fn == "log") {
                v = log(u.v);
                dv = one / u.v;
            } else if (fn == "sqrt") {
                v = sqrt(u.v);
                dv = one / (TalvoFloat(2.0) * v);
            } else if (fn == "sin") {
                v = sin(u.v);
                dv = cos(u.v);
            } else {
                v = cos(u.v);
                dv = -sin(u.v);
            }
            Dual r{v, Vec(size_t(n))};
            for (int j = 0; j < n; ++j)
                r.d[size_t(j)] = dv * u.d[size_t(j)];
            return r;
        }
        default:
            break;
        }
        const Dual l = a->eval(x, n), r = b->eval(x, n);
        Dual out{TalvoFloat(0.0), Vec(size_t(n))};
        for (int j = 0; j < n; ++j) {
            const TalvoFloat &dl = l.d[size_t(j)], &dr = r.d[size_t(j)];
            switch (op) {
            case '+':
                out.d[size_t(j)] = dl + dr;
                break;
            case '-':
                out.d[size_t(j)] = dl - dr;
                break;
            case '*':
                out.d[size_t(j)] = dl * r.v + l.v * dr;
                break;
            case '/':
                out.d[size_t(j)] = (dl * r.v - l.v * dr) / (r.v * r.v);
                break;
            default: // '^': the exponent is a constant in this collection
                out.d[size_t(j)] = r.v * pow(l.v, r.v - one) * dl;
                break;
            }
        }
        switch (op) {
        case '+':
            out.v = l.v + r.v;
            break;
        case '-':
            out.v = l.v - r.v;
            break;
        case '*':
            out.v = l.v * r.v;
            break;
        case '/':
            out.v = l.v / r.v;
            break;
        default:
            out.v = pow(l.v, r.v);
            break;
        }
        return out;
    }
};

class Parser {
public:
    explicit Parser(const std::string &s) : s_(s) {}
    std::unique_ptr<Node> parse()
    {
        auto e = sum();
        skip();
        if (i_ != s_.size())
            throw std::runtime_error("unparsed text in " + s_);
        return e;
    }

private:
    const std::string &s_;
    size_t i_ = 0;
    void skip()
    {
        while (i_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[i_])))
            ++i_;
    }
    bool eat(char c)
    {
        skip();
        if (i_ < s_.size() && s_[i_] == c) {
            ++i_;
            return true;
        }
        return false;
    }
    static std::unique_ptr<Node> bin(char op, std::unique_ptr<Node> a, std::unique_ptr<Node> b)
    {
        auto n = std::make_unique<Node>();
        n->op = op;
        n->a = std::move(a);
        n->b = std::move(b);
        return n;
    }
    std::unique_ptr<Node> sum()
    {
        auto e = product();
        for (;;) {
            if (eat('+'))
                e = bin('+', std::move(e), product());
            else if (eat('-'))
                e = bin('-', std::move(e), product());
            else
                return e;
        }
    }
    std::unique_ptr<Node> product()
    {
        auto e = unary();
        for (;;) {
            if (eat('*'))
                e = bin('*', std::move(e), unary());
            else if (eat('/'))
                e = bin('/', std::move(e), unary());
            else
                return e;
        }
    }
    std::unique_ptr<Node> unary()
    {
        if (eat('-')) {
            auto n = std::make_unique<Node>();
            n->op = 'u';
            n->a = unary();
            return n;
        }
        auto base = primary();
        if (eat('^'))
            return bin('^', std::move(base), unary());
        return base;
    }
    std::unique_ptr<Node> primary()
    {
        skip();
        if (eat('(')) {
            auto e = sum();
            if (!eat(')'))
                throw std::runtime_error("missing ) in " + s_);
            return e;
        }
        auto n = std::make_unique<Node>();
        const size_t start = i_;
        if (i_ < s_.size() && (std::isdigit(static_cast<unsigned char>(s_[i_])) || s_[i_] == '.')) {
            while (i_ < s_.size() && (std::isdigit(static_cast<unsigned char>(s_[i_])) || s_[i_] == '.'))
                ++i_;
            if (i_ < s_.size() && (s_[i_] == 'e' || s_[i_] == 'E')) {
                ++i_;
                if (i_ < s_.size() && (s_[i_] == '-' || s_[i_] == '+'))
                    ++i_;
                while (i_ < s_.size() && std::isdigit(static_cast<unsigned char>(s_[i_])))
                    ++i_;
            }
            n->op = 'n';
            n->text = s_.substr(start, i_ - start);
            return n;
        }
        while (i_ < s_.size() && std::isalnum(static_cast<unsigned char>(s_[i_])))
            ++i_;
        const std::string word = s_.substr(start, i_ - start);
        if (word == "pi") {
            n->op = 'p';
            return n;
        }
        if (word.size() > 1 && word[0] == 'x' && std::isdigit(static_cast<unsigned char>(word[1]))) {
            n->op = 'x';
            n->var = std::stoi(word.substr(1)) - 1;
            return n;
        }
        if (word == "exp" || word == "log" || word == "sqrt" || word == "sin" || word == "cos") {
            n->op = 'f';
            n->fn = word;
            if (!eat('('))
                throw std::runtime_error("missing ( in " + s_);
            n->a = sum();
            if (!eat(')'))
                throw std::runtime_error("missing ) in " + s_);
            return n;
        }
        throw std::runtime_error("unknown word '" + word + "' in " + s_);
    }
};

struct Constraint {
    bool equality;
    const char *expr;
};

// A problem from its text: bounds of the variables (kInf for none), the
// start, the constraints (g(x) >= 0 or g(x) = 0).
inline Hs FromText(const char *id, int n, const char *objective, const std::vector<Constraint> &cons,
                   const std::vector<double> &lower, const std::vector<double> &upper, const std::vector<double> &x0)
{
    Hs p = Make(id, n);
    p.ncnln = int(cons.size());
    p.x0 = x0;
    p.bl = lower;
    p.bu = upper;
    for (const Constraint &c : cons) {
        p.bl.push_back(0.0);
        p.bu.push_back(c.equality ? 0.0 : kInf);
    }
    auto obj = std::shared_ptr<Node>(Parser(objective).parse());
    auto rows = std::make_shared<std::vector<std::unique_ptr<Node>>>();
    for (const Constraint &c : cons)
        rows->push_back(Parser(c.expr).parse());
    p.f = [obj, n](const TalvoFloat *x, TalvoFloat *g) {
        const Dual d = obj->eval(x, n);
        for (int j = 0; j < n; ++j)
            g[j] = d.d[size_t(j)];
        return d.v;
    };
    p.c = [rows, n](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
        J.resize(rows->size());
        for (size_t i = 0; i < rows->size(); ++i) {
            const Dual d = (*rows)[i]->eval(x, n);
            c[i] = d.v;
            J[i] = d.d;
        }
    };
    return p;
}

// Problems of the collection not in tests/numerics/hs_problems.hpp, with
// their best known optimal values (25 digits where refined; HS116 is
// degenerate and its value has 11; HS118, a convex quadratic program with
// an integral solution, has its exact value).
inline std::vector<std::pair<Hs, const char *>> ExtraProblems()
{
    const double I = kInf;
    std::vector<std::pair<Hs, const char *>> ps;
    ps.push_back({FromText("HS1", 2, "100*(x2 - x1^2)^2 + (1 - x1)^2", {}, {-I, -1.5}, {I, I}, {-2, 1}), "0"});
    ps.push_back({FromText("HS2", 2, "100*(x2 - x1^2)^2 + (1 - x1)^2", {}, {-I, 1.5}, {I, I}, {-2, 1}),
                  "0.05042618789360708491430736"});
    ps.push_back({FromText("HS3", 2, "x2 + 1e-5*(x2 - x1)^2", {}, {-I, 0}, {I, I}, {10, 1}), "0"});
    ps.push_back({FromText("HS80", 5, "exp(x1*x2*x3*x4*x5)",
                           {{true, "x1^2 + x2^2 + x3^2 + x4^2 + x5^2 - 10"}, {true, "x2*x3 - 5*x4*x5"},
                            {true, "x1^3 + x2^3 + 1"}},
                           {-2.3, -2.3, -3.2, -3.2, -3.2}, {2.3, 2.3, 3.2, 3.2, 3.2}, {-2, 2, 2, -1, -1}),
                  "0.05394984777027201091291175"});
    ps.push_back({FromText("HS104", 8, "0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67) + 10 - x1 - x2",
                           {{false, "1 - 0.0588*x5*x7 - 0.1*x1"},
                            {false, "1 - 0.0588*x6*x8 - 0.1*x1 - 0.1*x2"},
                            {false, "1 - 4*x3/x5 - 2*x3^(-0.71)/x5 - 0.0588*x3^(-1.3)*x7"},
                            {false, "1 - 4*x4/x6 - 2*x4^(-0.71)/x6 - 0.0588*x4^(-1.3)*x8"},
                            {false, "0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67) + 10 - x1 - x2 - 1"},
                            {false, "4.2 - (0.4*x1^0.67*x7^(-0.67) + 0.4*x2^0.67*x8^(-0.67) + 10 - x1 - x2)"}},
                           std::vector<double>(8, 0.1), std::vector<double>(8, 10.0), {6, 3, 0.4, 0.2, 6, 6, 1, 0.5}),
                  "3.951163440103355604714684"});
    ps.push_back({FromText("HS106", 8, "x1 + x2 + x3",
                           {{false, "1 - 0.0025*(x4 + x6)"},
                            {false, "1 - 0.0025*(x5 + x7 - x4)"},
                            {false, "1 - 0.01*(x8 - x5)"},
                            {false, "x1*x6 - 833.33252*x4 - 100*x1 + 83333.333"},
                            {false, "x2*x7 - 1250*x5 - x2*x4 + 1250*x4"},
                            {false, "x3*x8 - 1250000 - x3*x5 + 2500*x5"}},
                           {100, 1000, 1000, 10, 10, 10, 10, 10}, {10000, 10000, 10000, 1000, 1000, 1000, 1000, 1000},
                           {5000, 5000, 5000, 200, 350, 150, 225, 425}),
                  "7049.248020528665213148314"});
    ps.push_back({FromText("HS108", 9, "-0.5*(x1*x4 - x2*x3 + x3*x9 - x5*x9 + x5*x8 - x6*x7)",
                           {{false, "1 - x3^2 - x4^2"},
                            {false, "1 - x9^2"},
                            {false, "1 - x5^2 - x6^2"},
                            {false, "1 - x1^2 - (x2 - x9)^2"},
                            {false, "1 - (x1 - x5)^2 - (x2 - x6)^2"},
                            {false, "1 - (x1 - x7)^2 - (x2 - x8)^2"},
                            {false, "1 - (x3 - x5)^2 - (x4 - x6)^2"},
                            {false, "1 - (x3 - x7)^2 - (x4 - x8)^2"},
                            {false, "1 - x7^2 - (x8 - x9)^2"},
                            {false, "x1*x4 - x2*x3"},
                            {false, "x3*x9"},
                            {false, "-x5*x9"},
                            {false, "x5*x8 - x6*x7"}},
                           {-I, -I, -I, -I, -I, -I, -I, -I, 0}, std::vector<double>(9, I), std::vector<double>(9, 1.0)),
                  "-0.8660254037844386467637232"});
    ps.push_back({FromText("HS113", 10,
                           "x1^2 + x2^2 + x1*x2 - 14*x1 - 16*x2 + (x3 - 10)^2 + 4*(x4 - 5)^2 + (x5 - 3)^2 + "
                           "2*(x6 - 1)^2 + 5*x7^2 + 7*(x8 - 11)^2 + 2*(x9 - 10)^2 + (x10 - 7)^2 + 45",
                           {{false, "105 - 4*x1 - 5*x2 + 3*x7 - 9*x8"},
                            {false, "-10*x1 + 8*x2 + 17*x7 - 2*x8"},
                            {false, "8*x1 - 2*x2 - 5*x9 + 2*x10 + 12"},
                            {false, "-3*(x1 - 2)^2 - 4*(x2 - 3)^2 - 2*x3^2 + 7*x4 + 120"},
                            {false, "-5*x1^2 - 8*x2 - (x3 - 6)^2 + 2*x4 + 40"},
                            {false, "-0.5*(x1 - 8)^2 - 2*(x2 - 4)^2 - 3*x5^2 + x6 + 30"},
                            {false, "-x1^2 - 2*(x2 - 2)^2 + 2*x1*x2 - 14*x5 + 6*x6"},
                            {false, "3*x1 - 6*x2 - 12*(x9 - 8)^2 + 7*x10"}},
                           std::vector<double>(10, -I), std::vector<double>(10, I), {2, 3, 5, 5, 1, 2, 7, 3, 6, 10}),
                  "24.30620906817980928605856"});
    ps.push_back({FromText("HS116", 13, "x11 + x12 + x13",
                           {{false, "x3 - x2"},
                            {false, "x2 - x1"},
                            {false, "1 - 0.002*x7 + 0.002*x8"},
                            {false, "x11 + x12 + x13 - 50"},
                            {false, "250 - x11 - x12 - x13"},
                            {false, "x13 - 1.262626*x10 + 1.231059*x3*x10"},
                            {false, "x5 - 0.03475*x2 - 0.975*x2*x5 + 0.00975*x2^2"},
                            {false, "x6 - 0.03475*x3 - 0.975*x3*x6 + 0.00975*x3^2"},
                            {false, "x5*x7 - x1*x8 - x4*x7 + x4*x8"},
                            {false, "1 - 0.002*(x2*x9 + x5*x8 - x1*x8 - x6*x9) - x5 - x6"},
                            {false, "x2*x9 - x3*x10 - x6*x9 - 500*x2 + 500*x6 + x2*x10"},
                            {false, "x2 - 0.9 - 0.002*(x2*x10 - x3*x10)"},
                            {false, "x4 - 0.03475*x1 - 0.975*x1*x4 + 0.00975*x1^2"},
                            {false, "x11 - 1.262626*x8 + 1.231059*x1*x8"},
                            {false, "x12 - 1.262626*x9 + 1.231059*x2*x9"}},
                           {0.1, 0.1, 0.1, 0.0001, 0.1, 0.1, 0.1, 0.1, 500, 0.1, 1, 0.0001, 0.0001},
                           {1, 1, 1, 0.1, 0.9, 0.9, 1000, 1000, 1000, 500, 150, 150, 150},
                           {0.5, 0.8, 0.9, 0.1, 0.14, 0.5, 489, 80, 650, 450, 150, 150, 150}),
                  "97.587509558"});
    ps.push_back({FromText("HS118", 15,
                           "2.3*x1 + 0.0001*x1^2 + 1.7*x2 + 0.0001*x2^2 + 2.2*x3 + 0.00015*x3^2 + "
                           "2.3*x4 + 0.0001*x4^2 + 1.7*x5 + 0.0001*x5^2 + 2.2*x6 + 0.00015*x6^2 + "
                           "2.3*x7 + 0.0001*x7^2 + 1.7*x8 + 0.0001*x8^2 + 2.2*x9 + 0.00015*x9^2 + "
                           "2.3*x10 + 0.0001*x10^2 + 1.7*x11 + 0.0001*x11^2 + 2.2*x12 + 0.00015*x12^2 + "
                           "2.3*x13 + 0.0001*x13^2 + 1.7*x14 + 0.0001*x14^2 + 2.2*x15 + 0.00015*x15^2",
                           {{false, "x4 - x1 + 7"}, {false, "6 - x4 + x1"}, {false, "x5 - x2 + 7"}, {false, "7 - x5 + x2"},
                            {false, "x6 - x3 + 7"}, {false, "6 - x6 + x3"}, {false, "x7 - x4 + 7"}, {false, "6 - x7 + x4"},
                            {false, "x8 - x5 + 7"}, {false, "7 - x8 + x5"}, {false, "x9 - x6 + 7"}, {false, "6 - x9 + x6"},
                            {false, "x10 - x7 + 7"}, {false, "6 - x10 + x7"}, {false, "x11 - x8 + 7"}, {false, "7 - x11 + x8"},
                            {false, "x12 - x9 + 7"}, {false, "6 - x12 + x9"}, {false, "x13 - x10 + 7"}, {false, "6 - x13 + x10"},
                            {false, "x14 - x11 + 7"}, {false, "7 - x14 + x11"}, {false, "x15 - x12 + 7"}, {false, "6 - x15 + x12"},
                            {false, "x1 + x2 + x3 - 60"}, {false, "x4 + x5 + x6 - 50"}, {false, "x7 + x8 + x9 - 70"}, {false, "x10 + x11 + x12 - 85"},
                            {false, "x13 + x14 + x15 - 100"}},
                           {8, 43, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
                           {21, 57, 16, 90, 120, 60, 90, 120, 60, 90, 120, 60, 90, 120, 60},
                           {20, 55, 15, 20, 60, 20, 20, 60, 20, 20, 60, 20, 20, 60, 20}),
                  "664.82045"});
    return ps;
}

// A third set of the collection's problems, added after the SQP line
// search's constants were chosen, so that none of them played a part in
// choosing them.  Closed forms where the optimum has one (HS14: 9 - 2.875
// sqrt 7; HS29: -16 sqrt 2; HS42: 28 - 10 sqrt 2; HS40: -1/4), otherwise
// the KKT point refined in 60-digit arithmetic by
// scripts/reference/hock_schittkowski_more.py, to 25 digits.
inline std::vector<std::pair<Hs, const char *>> LaterProblems()
{
    const double I = kInf;
    const std::vector<double> free2(2, -I), inf2(2, I), free3(3, -I), inf3(3, I), free4(4, -I), inf4(4, I),
        free5(5, -I), inf5(5, I);
    std::vector<std::pair<Hs, const char *>> ps;
    ps.push_back({FromText("HS11", 2, "(x1 - 5)^2 + x2^2 - 25", {{false, "x2 - x1^2"}}, free2, inf2, {4.9, 0.1}),
                  "-8.498464223154677377534566"});
    ps.push_back({FromText("HS12", 2, "0.5*x1^2 + x2^2 - x1*x2 - 7*x1 - 7*x2", {{false, "25 - 4*x1^2 - x2^2"}}, free2,
                           inf2, {0, 0}),
                  "-30"});
    ps.push_back({FromText("HS14", 2, "(x1 - 2)^2 + (x2 - 1)^2",
                           {{false, "1 - 0.25*x1^2 - x2^2"}, {true, "x1 - 2*x2 + 1"}}, free2, inf2, {2, 2}),
                  "1.393464980689302052307855"});
    ps.push_back({FromText("HS18", 2, "0.01*x1^2 + x2^2", {{false, "x1*x2 - 25"}, {false, "x1^2 + x2^2 - 25"}}, {2, 0},
                           {50, 50}, {2, 2}),
                  "5"});
    ps.push_back({FromText("HS22", 2, "(x1 - 2)^2 + (x2 - 1)^2", {{false, "2 - x1 - x2"}, {false, "x2 - x1^2"}}, free2,
                           inf2, {2, 2}),
                  "1"});
    ps.push_back({FromText("HS26", 3, "(x1 - x2)^2 + (x2 - x3)^4", {{true, "(1 + x2^2)*x1 + x3^4 - 3"}}, free3, inf3,
                           {-2.6, 2, 2}),
                  "0"});
    ps.push_back({FromText("HS27", 3, "0.01*(x1 - 1)^2 + (x2 - x1^2)^2", {{true, "x1 + x3^2 + 1"}}, free3, inf3,
                           {2, 2, 2}),
                  "0.04"});
    ps.push_back({FromText("HS29", 3, "-x1*x2*x3", {{false, "48 - x1^2 - 2*x2^2 - 4*x3^2"}}, free3, inf3, {1, 1, 1}),
                  "-22.62741699796952078082702"});
    ps.push_back({FromText("HS30", 3, "x1^2 + x2^2 + x3^2", {{false, "x1^2 + x2^2 - 1"}}, {1, -10, -10}, {10, 10, 10},
                           {1, 1, 1}),
                  "1"});
    ps.push_back({FromText("HS32", 3, "(x1 + 3*x2 + x3)^2 + 4*(x1 - x2)^2",
                           {{false, "6*x2 + 4*x3 - x1^3 - 3"}, {true, "1 - x1 - x2 - x3"}}, {0, 0, 0}, inf3,
                           {0.1, 0.7, 0.2}),
                  "1"});
    ps.push_back({FromText("HS40", 4, "-x1*x2*x3*x4",
                           {{true, "x1^3 + x2^2 - 1"}, {true, "x1^2*x4 - x3"}, {true, "x4^2 - x2"}}, free4, inf4,
                           {0.8, 0.8, 0.8, 0.8}),
                  "-0.25"});
    ps.push_back({FromText("HS42", 4, "(x1 - 1)^2 + (x2 - 2)^2 + (x3 - 3)^2 + (x4 - 4)^2",
                           {{true, "x1 - 2"}, {true, "x3^2 + x4^2 - 2"}}, free4, inf4, {1, 1, 1, 1}),
                  "13.85786437626904951198311"});
    ps.push_back({FromText("HS46", 5, "(x1 - x2)^2 + (x3 - 1)^2 + (x4 - 1)^4 + (x5 - 1)^6",
                           {{true, "x1^2*x4 + sin(x4 - x5) - 1"}, {true, "x2 + x3^4*x4^2 - 2"}}, free5, inf5,
                           {0.7071067811865476, 1.75, 0.5, 2, 2}),
                  "0"});
    ps.push_back({FromText("HS48", 5, "(x1 - 1)^2 + (x2 - x3)^2 + (x4 - x5)^2",
                           {{true, "x1 + x2 + x3 + x4 + x5 - 5"}, {true, "x3 - 2*(x4 + x5) + 3"}}, free5, inf5,
                           {3, 5, -3, 2, -2}),
                  "0"});
    ps.push_back({FromText("HS60", 3, "(x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^4",
                           {{true, "x1*(1 + x2^2) + x3^4 - 4 - 3*sqrt(2)"}}, {-10, -10, -10}, {10, 10, 10}, {2, 2, 2}),
                  "0.03256820025506983878877494"});
    ps.push_back({FromText("HS78", 5, "x1*x2*x3*x4*x5",
                           {{true, "x1^2 + x2^2 + x3^2 + x4^2 + x5^2 - 10"}, {true, "x2*x3 - 5*x4*x5"},
                            {true, "x1^3 + x2^3 + 1"}},
                           free5, inf5, {-2, 1.5, 2, -1, -1}),
                  "-2.919700408963679417662170"});
    ps.push_back({FromText("HS79", 5, "(x1 - 1)^2 + (x1 - x2)^2 + (x2 - x3)^2 + (x3 - x4)^4 + (x4 - x5)^4",
                           {{true, "x1 + x2^2 + x3^3 - 2 - 3*sqrt(2)"}, {true, "x2 - x3^2 + x4 + 2 - 2*sqrt(2)"},
                            {true, "x1*x5 - 2"}},
                           free5, inf5, {2, 2, 2, 2, 2}),
                  "0.07877682087105690136495793"});
    return ps;
}

} // namespace hs::text
