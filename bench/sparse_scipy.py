#!/usr/bin/env python3
"""sparse_scipy.py -- SciPy's gmres(restart 30) and bicgstab with an spilu
preconditioner (its defaults: drop_tol 1e-4, fill_factor 10) on the matrices
of bench_sparse.cpp (g x g grids, g = 32 and 64: Poisson, and
convection-diffusion with cell Peclet numbers 0.6 and 0.2), b = 1, x0 = 0,
until ||b - A x||_2 <= 1e-12 ||b||_2.  Prints "key value" lines:
  gG_matrix_method      iterations (GMRES: inner iterations, one product
                        with A each; bicgstab: iterations, two products each)
  gG_matrix_method_res  the relative residual reached
  gG_matrix_nnz_a, gG_matrix_nnz_lu   the entries of A and of spilu's L + U,
                        L's unit diagonal not counted
  g32_convdiff_dtolT_nnz_lu, g32_convdiff_dtolT_res4   for spilu with drop
                        tolerance T (fill factor 10): its entries, and the
                        relative residual of one gmres cycle of 4 iterations
  order gG_matrix i_0 ... i_{n-1}   spilu's pivot order: i_k is the unknown
                        eliminated k-th (its COLAMD column order; its row
                        order is the same when gG_matrix_rows_as_columns is 1,
                        the diagonal having been every pivot)
spilu is SuperLU's ILUTP: COLAMD column order, threshold pivoting, drop
tolerance and fill factor as given.  SciPy 1.10's gmres preconditions on the
left and tests the preconditioned residual inside a cycle (the true one at
its end); its bicgstab preconditions on the right.  Run by bench_sparse;
needs python3-scipy."""
import numpy as np
import scipy
import scipy.sparse as sp
import scipy.sparse.linalg as sla


def stencil(g, c, d):
    n = g * g
    rows, cols, vals = [], [], []
    for y in range(g):
        for x in range(g):
            i = y * g + x
            for (j, v, ok) in ((i - g, -1 - d, y > 0), (i - 1, -1 - c, x > 0), (i, 4.0, True),
                               (i + 1, -1 + c, x + 1 < g), (i + g, -1 + d, y + 1 < g)):
                if ok:
                    rows.append(i)
                    cols.append(j)
                    vals.append(v)
    return sp.csc_matrix((vals, (rows, cols)), shape=(n, n))


def tol_kw():
    major, minor = (int(v) for v in scipy.__version__.split(".")[:2])
    return "rtol" if (major, minor) >= (1, 12) else "tol"


def relres(A, b, x):
    return np.linalg.norm(b - A @ x) / np.linalg.norm(b)


def main():
    kw = tol_kw()
    for g in (32, 64):
        for name, (c, d) in (("poisson", (0.0, 0.0)), ("convdiff", (0.6, 0.2))):
            key = f"g{g}_{name}"
            A = stencil(g, c, d)
            b = np.ones(A.shape[0])
            ilu = sla.spilu(A)
            print(f"{key}_nnz_a {A.nnz}")
            print(f"{key}_nnz_lu {ilu.L.nnz + ilu.U.nnz - A.shape[0]}")  # L's unit diagonal not counted
            print(f"{key}_rows_as_columns {int(np.array_equal(ilu.perm_r, ilu.perm_c))}")
            print(f"order {key} " + " ".join(str(i) for i in np.argsort(ilu.perm_c)))
            M = sla.LinearOperator(A.shape, ilu.solve)
            count = [0]

            def cb(_):
                count[0] += 1

            x, info = sla.gmres(A, b, M=M, restart=30, maxiter=1000, callback=cb, callback_type="pr_norm",
                                atol=0.0, **{kw: 1e-12})
            print(f"{key}_gmres {count[0]}")
            print(f"{key}_gmres_res {relres(A, b, x):.3e}")
            print(f"# {key} gmres info {info}")
            count[0] = 0
            x, info = sla.bicgstab(A, b, M=M, maxiter=5000, callback=cb, atol=0.0, **{kw: 1e-12})
            print(f"{key}_bicgstab {count[0]}")
            print(f"{key}_bicgstab_res {relres(A, b, x):.3e}")
            print(f"# {key} bicgstab info {info}")
    # the residual after 4 GMRES iterations against the factor's size
    A = stencil(32, 0.6, 0.2)
    b = np.ones(A.shape[0])
    for dt in ("1e-3", "3e-4", "1e-4", "5e-5", "3e-5", "1e-5"):
        ilu = sla.spilu(A, drop_tol=float(dt))
        M = sla.LinearOperator(A.shape, ilu.solve)
        x, info = sla.gmres(A, b, M=M, restart=4, maxiter=1, atol=0.0, **{kw: 1e-30})
        print(f"g32_convdiff_dtol{dt}_nnz_lu {ilu.L.nnz + ilu.U.nnz - A.shape[0]}")
        print(f"g32_convdiff_dtol{dt}_res4 {relres(A, b, x):.3e}")


if __name__ == "__main__":
    main()
