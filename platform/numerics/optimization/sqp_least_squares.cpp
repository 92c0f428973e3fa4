// sqp_least_squares.cpp -- TalvoMP_e04usa_: minimum of
// F(x) = 1/2 sum (y_i - f_i(x))^2 subject to bounds, linear and nonlinear
// constraints, by the SQP core of sqp.cpp.  The gradient is -J_f'(y - f);
// the quasi-Newton Hessian starts from the Gauss-Newton matrix J_f'J_f at
// the start point (the least-squares variant of the published SQP code),
// with a multiple of the identity added where J_f'J_f is singular.
#include "options.hpp"
#include "sqp.hpp"

#include <algorithm>

using namespace talvo::opt;
using namespace talvo::opt::saved;
using talvo::opt::sqp::Eval;

namespace {

class LeastSquaresModel : public talvo::opt::sqp::Model {
public:
    TalvoMP_e04uca_confun confun;
    TalvoMP_e04usa_objfun objfun;
    Integer m, n, ncnln, ldcj, ldfj;
    const TalvoFloat *y;
    Integer *iuser;
    TalvoFloat *ruser;
    bool obj_derivs = true, con_derivs = true;
    TalvoFloat interval;
    long check_start = 1, check_stop = -1, con_start = 1, con_stop = -1;
    Integer nstate = 1;
    struct Point {
        Vec x, f, fjac; // fjac m x n
    };
    std::vector<Point> recent;

    // The m functions (and their Jacobian, m x n with leading dimension m).
    Eval functions(const Vec &x, bool jac, Vec &fv, Vec &fj)
    {
        Integer mode = jac ? 2 : 0, mm = m, nn = n, ld = ldfj, needfi = 0;
        fv.assign(size_t(m), TalvoFloat(0.0));
        Vec buffer(size_t(ldfj * n), TalvoFloat(0.0));
        objfun(&mode, &mm, &nn, &ld, &needfi, x.data(), fv.data(), buffer.data(), &nstate, iuser, ruser);
        nstate = 0;
        if (mode < 0)
            return Eval::Stop;
        Eval result = Eval::Ok;
        for (const TalvoFloat &v : fv) {
            const Value c = classify(v);
            if (c == Value::Undefined || IsTalvoFloatNegativeInfinity(v))
                return Eval::Undefined;
            if (c == Value::Infinite)
                result = Eval::Infinite;
        }
        fj.assign(size_t(m * n), TalvoFloat(0.0));
        if (jac)
            for (Integer i = 0; i < m; ++i)
                for (Integer j = 0; j < n; ++j) {
                    const TalvoFloat &v = buffer[size_t(i + j * ldfj)];
                    if (!is_finite(v))
                        return Eval::Undefined;
                    fj[size_t(i + j * m)] = v;
                }
        return result;
    }

    Eval constraints(const Vec &x, bool jac, Vec &c, Vec &J)
    {
        c.assign(size_t(ncnln), TalvoFloat(0.0));
        J.assign(size_t(ncnln * n), TalvoFloat(0.0));
        if (ncnln == 0)
            return Eval::Ok;
        Integer mode = jac ? 2 : 0, nn = n, nc = ncnln, ld = ldcj;
        std::vector<Integer> needc(size_t(ncnln), 1);
        Vec cj(size_t(ldcj * n), TalvoFloat(0.0));
        confun(&mode, &nc, &nn, &ld, needc.data(), x.data(), c.data(), cj.data(), &nstate, iuser, ruser);
        nstate = 0;
        if (mode < 0)
            return Eval::Stop;
        Eval result = Eval::Ok;
        for (const TalvoFloat &ci : c) {
            const Value v = classify(ci);
            if (v == Value::Undefined)
                return Eval::Undefined;
            if (v == Value::Infinite)
                result = Eval::Infinite;
        }
        if (jac)
            for (Integer i = 0; i < ncnln; ++i)
                for (Integer j = 0; j < n; ++j) {
                    const TalvoFloat &v = cj[size_t(i + j * ldcj)];
                    if (!is_finite(v))
                        return Eval::Undefined;
                    J[size_t(i + j * ncnln)] = v;
                }
        return result;
    }

    TalvoFloat sum_of_squares(const Vec &fv) const
    {
        TalvoFloat s(0.0);
        for (Integer i = 0; i < m; ++i) {
            const TalvoFloat r = y[i] - fv[size_t(i)];
            s += r * r;
        }
        return s / TalvoFloat(2.0);
    }

    Eval evaluate(const Vec &x, bool derivs, TalvoFloat &F, Vec &g, Vec &c, Vec &J) override
    {
        Vec fv, fj;
        Eval e = functions(x, derivs && obj_derivs, fv, fj);
        if (e == Eval::Stop || e == Eval::Undefined)
            return e;
        Eval ec = constraints(x, derivs && con_derivs, c, J);
        if (ec == Eval::Stop || ec == Eval::Undefined)
            return ec;
        if (e == Eval::Infinite || ec == Eval::Infinite)
            return Eval::Infinite;
        F = sum_of_squares(fv);
        if (!is_finite(F))
            return Eval::Infinite;
        if (!derivs)
            return Eval::Ok;
        if (!obj_derivs || !con_derivs) {
            Vec xt = x, fp, fm, cp, cm, t1, t2;
            for (Integer j = 0; j < n; ++j) {
                const TalvoFloat h = interval * (TalvoFloat(1.0) + fabs(x[size_t(j)]));
                xt[size_t(j)] = x[size_t(j)] + h;
                Eval a = functions(xt, false, fp, t1);
                Eval b = constraints(xt, false, cp, t2);
                xt[size_t(j)] = x[size_t(j)] - h;
                Eval a2 = functions(xt, false, fm, t1);
                Eval b2 = constraints(xt, false, cm, t2);
                xt[size_t(j)] = x[size_t(j)];
                for (Eval v : {a, b, a2, b2}) {
                    if (v == Eval::Stop)
                        return v;
                    if (v != Eval::Ok)
                        return Eval::Undefined;
                }
                const TalvoFloat width = TalvoFloat(2.0) * h;
                if (!obj_derivs)
                    for (Integer i = 0; i < m; ++i)
                        fj[size_t(i + j * m)] = (fp[size_t(i)] - fm[size_t(i)]) / width;
                if (!con_derivs)
                    for (Integer i = 0; i < ncnln; ++i)
                        J[size_t(i + j * ncnln)] = (cp[size_t(i)] - cm[size_t(i)]) / width;
            }
        }
        g.assign(size_t(n), TalvoFloat(0.0));
        for (Integer j = 0; j < n; ++j) {
            TalvoFloat s(0.0);
            for (Integer i = 0; i < m; ++i)
                s -= fj[size_t(i + j * m)] * (y[i] - fv[size_t(i)]);
            g[size_t(j)] = s;
        }
        // Kept for the outputs f and fjac: the point the iteration ends at
        // is one of the last few evaluated with derivatives.
        recent.push_back({x, fv, fj});
        if (recent.size() > 4)
            recent.erase(recent.begin());
        return Eval::Ok;
    }

    bool derivatives_given() const override { return obj_derivs && con_derivs; }

    bool verify(const Vec &x, long level) override
    {
        if (level < 1 || (!obj_derivs && !con_derivs))
            return true;
        Vec fv, fj, c, J, fp, fm, cp, cm, t1, t2;
        if (functions(x, obj_derivs, fv, fj) != Eval::Ok || constraints(x, con_derivs, c, J) != Eval::Ok)
            return true;
        const TalvoFloat tol = pow(eps(), TalvoFloat(1.0 / 3.0));
        Vec xt = x;
        for (Integer j = 0; j < n; ++j) {
            const bool check_obj = obj_derivs && level != 2 && j + 1 >= check_start && (check_stop < 0 || j + 1 <= check_stop);
            const bool check_con = con_derivs && level >= 2 && ncnln > 0 && j + 1 >= con_start && (con_stop < 0 || j + 1 <= con_stop);
            if (!check_obj && !check_con)
                continue;
            const TalvoFloat h = interval * (TalvoFloat(1.0) + fabs(x[size_t(j)]));
            xt[size_t(j)] = x[size_t(j)] + h;
            const bool okp = functions(xt, false, fp, t1) == Eval::Ok && constraints(xt, false, cp, t2) == Eval::Ok;
            xt[size_t(j)] = x[size_t(j)] - h;
            const bool okm = functions(xt, false, fm, t1) == Eval::Ok && constraints(xt, false, cm, t2) == Eval::Ok;
            xt[size_t(j)] = x[size_t(j)];
            if (!okp || !okm)
                continue;
            const TalvoFloat width = TalvoFloat(2.0) * h;
            if (check_obj)
                for (Integer i = 0; i < m; ++i) {
                    const TalvoFloat d = (fp[size_t(i)] - fm[size_t(i)]) / width;
                    if (fabs(d - fj[size_t(i + j * m)]) > tol * (TalvoFloat(1.0) + fabs(d) + fabs(fv[size_t(i)])))
                        return false;
                }
            if (check_con)
                for (Integer i = 0; i < ncnln; ++i) {
                    const TalvoFloat d = (cp[size_t(i)] - cm[size_t(i)]) / width;
                    if (fabs(d - J[size_t(i + j * ncnln)]) > tol * (TalvoFloat(1.0) + fabs(d) + fabs(c[size_t(i)])))
                        return false;
                }
        }
        return true;
    }
};

Integer RequiredWorkLsq(Integer m, Integer n, Integer nclin, Integer ncnln)
{
    return talvo::opt::sqp::RequiredWork(n, nclin, ncnln) + m * (n + 3);
}

} // namespace

void TalvoMP_e04usa_(Integer *m_, Integer *n_, Integer *nclin_, Integer *ncnln_, Integer *lda_, Integer *ldcj_,
                     Integer *ldfj_, Integer *ldr_, const TalvoFloat *a, const TalvoFloat *bl, const TalvoFloat *bu,
                     const TalvoFloat *y, TalvoMP_e04uca_confun confun, TalvoMP_e04usa_objfun objfun, Integer *iter,
                     Integer *istate, TalvoFloat *c, TalvoFloat *cjac, TalvoFloat *f, TalvoFloat *fjac,
                     TalvoFloat *clamda, TalvoFloat *objf, TalvoFloat *r, TalvoFloat *x, Integer * /*iwork*/,
                     Integer *liwork, TalvoFloat * /*work*/, Integer *lwork, Integer *iuser, TalvoFloat *ruser,
                     Integer * /*lwsav*/, Integer *iwsav, TalvoFloat *rwsav, Integer *ifail)
{
    namespace sqp = talvo::opt::sqp;
    const Integer m = *m_, n = *n_, nclin = *nclin_, ncnln = *ncnln_, lda = *lda_, ldcj = *ldcj_, ldfj = *ldfj_,
                  ldr = *ldr_;
    *ifail = 0;
    *iter = 0;
    if (m < 1 || n < 1 || nclin < 0 || ncnln < 0 || lda < std::max<Integer>(1, nclin) ||
        ldcj < std::max<Integer>(1, ncnln) || ldfj < m || ldr < n || iwsav[kMarker] != kMarkerValue ||
        iwsav[kRoutine] != E04USA || *liwork < sqp::RequiredIwork(n, nclin, ncnln) ||
        *lwork < RequiredWorkLsq(m, n, nclin, ncnln) || (ncnln > 0 && confun == nullptr) || objfun == nullptr) {
        *ifail = 9;
        return;
    }
    const long nt = long(n + nclin + ncnln);
    for (long k = 0; k < nt; ++k)
        if (!(bl[k] <= bu[k])) {
            *ifail = 9;
            return;
        }

    LeastSquaresModel model;
    model.confun = confun;
    model.objfun = objfun;
    model.m = m;
    model.n = n;
    model.ncnln = ncnln;
    model.ldcj = ldcj;
    model.ldfj = ldfj;
    model.y = y;
    model.iuser = iuser;
    model.ruser = ruser;
    sqp::ReadDerivativeOptions(iwsav, rwsav, model.obj_derivs, model.con_derivs, model.interval, model.check_start,
                               model.check_stop, model.con_start, model.con_stop);
    sqp::Settings set = sqp::ReadSettings(iwsav, rwsav, long(n), long(nclin), long(ncnln));
    set.scale_first = false; // the Gauss-Newton start has its own scale
    sqp::Problem p;
    p.n = n;
    p.nclin = nclin;
    p.ncnln = ncnln;
    p.a = a;
    p.lda = lda;
    p.bl = bl;
    p.bu = bu;

    sqp::State s;
    s.x.assign(x, x + n);
    s.R.assign(size_t(n * n), TalvoFloat(0.0));
    if (set.warm) {
        s.istate.assign(istate, istate + nt);
        s.clamda.assign(clamda, clamda + nt);
        for (Integer j = 0; j < n; ++j)
            for (Integer i = 0; i <= j; ++i)
                s.R[size_t(i + j * n)] = r[i + j * ldr];
    } else {
        // The Gauss-Newton matrix at the start point (where the bounds put
        // it), plus sqrt(eps) times its largest diagonal where singular.
        Vec x0 = s.x, fv, fj;
        for (Integer j = 0; j < n; ++j) {
            if (bl[j] > TalvoFloat(-1e20) && x0[size_t(j)] < bl[j])
                x0[size_t(j)] = bl[j];
            if (bu[j] < TalvoFloat(1e20) && x0[size_t(j)] > bu[j])
                x0[size_t(j)] = bu[j];
        }
        TalvoFloat F;
        Vec g, cc, JJ;
        const Eval e = model.evaluate(x0, true, F, g, cc, JJ);
        model.nstate = 1;
        Vec H(size_t(n * n), TalvoFloat(0.0));
        TalvoFloat dmax(0.0);
        if (e == Eval::Ok)
            for (Integer i = 0; i < n; ++i)
                for (Integer j = 0; j < n; ++j) {
                    TalvoFloat h(0.0);
                    for (Integer k = 0; k < m; ++k)
                        h += model.recent.back().fjac[size_t(k + i * m)] * model.recent.back().fjac[size_t(k + j * m)];
                    H[size_t(i + j * n)] = h;
                    if (i == j)
                        dmax = fmax(dmax, h);
                }
        if (!(dmax > TalvoFloat(0.0)))
            dmax = TalvoFloat(1.0);
        if (e != Eval::Ok || !sqp::Cholesky(H, n, s.R)) {
            const TalvoFloat shift = sqrt(eps()) * dmax;
            for (Integer j = 0; j < n; ++j)
                H[size_t(j + j * n)] += shift;
            if (e != Eval::Ok || !sqp::Cholesky(H, n, s.R)) {
                s.R.assign(size_t(n * n), TalvoFloat(0.0));
                for (Integer j = 0; j < n; ++j)
                    s.R[size_t(j + j * n)] = TalvoFloat(1.0);
            }
        }
    }
    const Integer code = sqp::Solve(p, model, set, s);
    *ifail = code;
    *iter = Integer(s.iter);
    if (code == 9)
        return;
    std::copy(s.x.begin(), s.x.end(), x);
    if (s.g.size() == size_t(n) && s.c.size() == size_t(ncnln) && s.J.size() == size_t(ncnln * n)) {
        *objf = s.f;
        for (Integer i = 0; i < ncnln; ++i) {
            c[i] = s.c[size_t(i)];
            for (Integer j = 0; j < n; ++j)
                cjac[i + j * ldcj] = s.J[size_t(i + j * ncnln)];
        }
        for (auto it = model.recent.rbegin(); it != model.recent.rend(); ++it) {
            bool same = true;
            for (Integer j = 0; j < n && same; ++j)
                same = it->x[size_t(j)] == s.x[size_t(j)];
            if (!same)
                continue;
            for (Integer i = 0; i < m; ++i) {
                f[i] = it->f[size_t(i)];
                for (Integer j = 0; j < n; ++j)
                    fjac[i + j * ldfj] = it->fjac[size_t(i + j * m)];
            }
            break;
        }
    }
    if (s.istate.size() == size_t(nt))
        std::copy(s.istate.begin(), s.istate.end(), istate);
    if (s.clamda.size() == size_t(nt))
        std::copy(s.clamda.begin(), s.clamda.end(), clamda);
    for (Integer j = 0; j < n; ++j)
        for (Integer i = 0; i < n; ++i)
            r[i + j * ldr] = i <= j ? s.R[size_t(i + j * n)] : TalvoFloat(0.0);
}
