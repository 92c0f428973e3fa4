#!/usr/bin/env python3
"""sparse_scipy.py -- SciPy's gmres(restart 30) and bicgstab with an spilu
preconditioner (its defaults: drop_tol 1e-4, fill_factor 10) on the matrices
of bench_sparse.cpp (32 x 32 grid: Poisson, and convection-diffusion with
cell Peclet numbers 0.6 and 0.2), b = 1, x0 = 0, until
||b - A x||_2 <= 1e-12 ||b||_2.  Prints "matrix_method iterations" lines
(GMRES: inner iterations, one product with A each; bicgstab: iterations, two
products each), and the entries of A and of spilu's L + U, L's unit diagonal not counted
("matrix_nnz_a", "matrix_nnz_lu").  spilu is SuperLU's ILUTP: COLAMD column
order, threshold pivoting, drop tolerance and fill factor as given.  SciPy
1.10's gmres preconditions on the left and tests the preconditioned residual
inside a cycle (the true one at its end); its bicgstab preconditions on the
right.  Run by bench_sparse; needs python3-scipy."""
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


def main():
    kw = tol_kw()
    for name, (c, d) in (("poisson", (0.0, 0.0)), ("convdiff", (0.6, 0.2))):
        A = stencil(32, c, d)
        b = np.ones(A.shape[0])
        ilu = sla.spilu(A)
        print(f"{name}_nnz_a {A.nnz}")
        print(f"{name}_nnz_lu {ilu.L.nnz + ilu.U.nnz - A.shape[0]}")  # L's unit diagonal not counted
        M = sla.LinearOperator(A.shape, ilu.solve)
        count = [0]

        def cb(_):
            count[0] += 1

        x, info = sla.gmres(A, b, M=M, restart=30, maxiter=1000, callback=cb, callback_type="pr_norm",
                            atol=0.0, **{kw: 1e-12})
        r = np.linalg.norm(b - A @ x) / np.linalg.norm(b)
        print(f"{name}_gmres {count[0]}")
        print(f"# {name} gmres info {info} residual {r:.2e}")
        count[0] = 0
        x, info = sla.bicgstab(A, b, M=M, maxiter=5000, callback=cb, atol=0.0, **{kw: 1e-12})
        r = np.linalg.norm(b - A @ x) / np.linalg.norm(b)
        print(f"{name}_bicgstab {count[0]}")
        print(f"# {name} bicgstab info {info} residual {r:.2e}")


if __name__ == "__main__":
    main()
