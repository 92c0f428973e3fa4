#!/usr/bin/env python3
"""sparse_ilu_model.py -- why ILUT's factors and spilu's differ, measured in
double precision on the 32 x 32 matrices of bench_sparse.cpp.

A model of our ILUT in floating point (the same steps as ilut() in
platform/numerics/sparse/ilu.cpp, row by row, with the fill budget; by
columns as the rows of the factor of A^T) and of our minimum degree order
(ordering.cpp: the plain algorithm, ties to the lowest index).  At drop
tolerance 1e-4 it gives the entries bench_sparse prints at Digits 15 and
GMRES residuals within rounding of them.  It prints:
  1. our right-preconditioned GMRES(30) with spilu's own factor: the
     relative residual after 3, 4 and 5 iterations (is it the factor or the
     GMRES variant?);
  2. ILUT by four rules in our minimum degree order and in spilu's order:
     entries and the residual after 4 iterations.  Rules: when a multiplier
     is tested (S: as it is met, before its update; A: once the row is
     complete, every update made) and what U is tested against (row: dtol
     times the row's largest entry of A; pivot: dtol times the row's
     pivot); "cols" makes the factor by columns (the factor of A^T
     transposed): cols A/pivot is Li and Shao's rule, ILUT's rule 'L';
     rows S/row is Saad's, rule 'S';
  3. spilu's entries that ILUT (rule S, then rule L) drops in spilu's own
     order: their number, how many are below the drop tolerance, and where
     those sit in spilu's supernodes (inferred from its L: columns j-1 and j
     are in one supernode when L(:,j-1) without row j-1 has the rows of
     L(:,j)).
Needs python3-scipy; run by hand: /usr/bin/python3 bench/sparse_ilu_model.py"""
import heapq

import numpy as np
import scipy.sparse as sp
import scipy.sparse.linalg as sla

from sparse_scipy import stencil


def minimum_degree(A):
    n = A.shape[0]
    S = (abs(A) + abs(A.T)).tocsr()
    adj = [set(S.indices[S.indptr[i]:S.indptr[i + 1]]) - {i} for i in range(n)]
    by_degree = [(len(adj[v]), v) for v in range(n)]
    heapq.heapify(by_degree)
    order, done = [], [False] * n
    while by_degree:
        d, v = heapq.heappop(by_degree)
        if done[v] or d != len(adj[v]):
            continue
        done[v] = True
        order.append(v)
        nb = sorted(adj[v])
        for u in nb:
            adj[u].discard(v)
        for x in range(len(nb)):
            for y in range(x + 1, len(nb)):
                adj[nb[x]].add(nb[y])
                adj[nb[y]].add(nb[x])
        for u in nb:
            heapq.heappush(by_degree, (len(adj[u]), u))
        adj[v] = set()
    return np.array(order)


def ilut_rows(A, dtol, ff, after, upivot):
    """ILUT row by row on csr A; returns (L unit lower, U upper) as csr."""
    n = A.shape[0]
    urows, piv, lrows = [dict() for _ in range(n)], np.zeros(n), [dict() for _ in range(n)]
    seen = used = 0
    for i in range(n):
        w = {A.indices[e]: A.data[e] for e in range(A.indptr[i], A.indptr[i + 1])}
        tau = dtol * max(abs(v) for v in w.values())
        nrm1 = sum(abs(v) for v in w.values())
        heap = sorted(k for k in w if k < i)
        lk, done = {}, set()
        while heap:
            k = heapq.heappop(heap)
            if k in done:
                continue
            done.add(k)
            l = w[k] / piv[k]
            if l == 0 or (not after and abs(w[k]) < tau):
                continue
            for j, u in urows[k].items():
                if j not in w:
                    w[j] = 0.0
                    if j < i:
                        heapq.heappush(heap, j)
                w[j] -= l * u
            if not after or abs(w[k]) >= tau:
                lk[k] = l
        d = w.get(i, 0.0)
        if abs(d) <= 2.0 ** -52 * nrm1:
            d = nrm1
        uthr = dtol * abs(d) if upivot else tau
        uc = [(j, v) for j, v in w.items() if j > i and v != 0 and abs(v) >= uthr]
        lc = list(lk.items())
        seen += A.indptr[i + 1] - A.indptr[i]
        if ff > 0:
            cap = max(0, int((ff * seen - used - 1) / 2))
            lc = sorted(lc, key=lambda t: -abs(t[1]))[:cap]
            uc = sorted(uc, key=lambda t: -abs(t[1]))[:cap]
        lrows[i], urows[i], piv[i] = dict(lc), dict(uc), d
        used += len(lc) + len(uc) + 1

    def csr(rows, diag):
        r, c, v = [], [], []
        for i in range(n):
            r.append(i), c.append(i), v.append(diag[i])
            for j, x in rows[i].items():
                r.append(i), c.append(j), v.append(x)
        return sp.csr_matrix((v, (r, c)), shape=(n, n))
    return csr(lrows, np.ones(n)), csr(urows, piv)


def ilut(B, by_columns, after, upivot, dtol=1e-4, ff=10):
    if not by_columns:
        return ilut_rows(B.tocsr(), dtol, ff, after, upivot)
    Lt, Ut = ilut_rows(B.T.tocsr(), dtol, ff, after, upivot)
    D = Ut.diagonal()
    return (Ut.T @ sp.diags(1 / D)).tocsr(), (sp.diags(D) @ Lt.T).tocsr()


def solver(perm, L, U):
    def solve(y):
        z = sla.spsolve_triangular(L, y[perm], lower=True, unit_diagonal=True)
        z = sla.spsolve_triangular(U, z, lower=False)
        x = np.empty_like(z)
        x[perm] = z
        return x
    return solve


def gmres_right(A, b, M, iters):
    """Right-preconditioned GMRES from x0 = 0: ||b - A x_k|| / ||b||, k = 1..iters."""
    n, bn = len(b), np.linalg.norm(b)
    V, H, Z, out = np.zeros((n, iters + 1)), np.zeros((iters + 1, iters)), [], []
    V[:, 0] = b / bn
    for j in range(iters):
        Z.append(M(V[:, j]))
        w = A @ Z[-1]
        for i in range(j + 1):
            H[i, j] = w @ V[:, i]
            w = w - H[i, j] * V[:, i]
        H[j + 1, j] = np.linalg.norm(w)
        V[:, j + 1] = w / H[j + 1, j]
        e = np.zeros(j + 2)
        e[0] = bn
        y = np.linalg.lstsq(H[:j + 2, :j + 1], e, rcond=None)[0]
        out.append(np.linalg.norm(b - A @ (np.array(Z).T @ y)) / bn)
    return out


def pattern(M, lower):
    T = sp.tril(M, -1) if lower else sp.triu(M, 1)
    return set(zip(*T.nonzero()))


def main():
    rules = [("rows S/row (rule S)", False, False, False), ("rows A/row", False, True, False),
             ("rows S/pivot", False, False, True), ("rows A/pivot", False, True, True),
             ("cols A/pivot (rule L)", True, True, True)]
    for name, (c, d) in (("poisson", (0.0, 0.0)), ("convdiff", (0.6, 0.2))):
        A = stencil(32, c, d).tocsr()
        n, b = A.shape[0], np.ones(A.shape[0])
        f = sla.spilu(A.tocsc())
        assert np.array_equal(f.perm_r, f.perm_c)  # every pivot on the diagonal
        orders = {"min degree": minimum_degree(A), "spilu's": np.argsort(f.perm_c)}
        print(f"{name}: spilu {f.L.nnz + f.U.nnz - n} entries; our GMRES with spilu's factor, residual after 3, 4, 5:",
              " ".join(f"{v:.2e}" for v in gmres_right(A, b, f.solve, 5)[2:]))
        for oname, perm in orders.items():
            B = A[perm][:, perm]
            for rname, cols, after, upivot in rules:
                L, U = ilut(B, cols, after, upivot)
                r4 = gmres_right(A, b, solver(perm, L, U), 4)[3]
                print(f"  {oname:10s} order, {rname:22s} {L.nnz + U.nnz - n:6d} entries, residual after 4: {r4:.2e}")
        perm = orders["spilu's"]
        B = A[perm][:, perm].tocsr()
        SL, SU = pattern(f.L, True), pattern(f.U, False)
        Lc, Ur = sp.csc_matrix(f.L), sp.csr_matrix(f.L)
        Uraw = sp.csc_matrix(f.U)
        colmax = np.asarray(abs(B).max(axis=0).todense()).ravel()
        # supernodes
        cols = [set(Lc.indices[Lc.indptr[j]:Lc.indptr[j + 1]]) for j in range(n)]
        sn = np.zeros(n, int)
        for j in range(1, n):
            sn[j] = sn[j - 1] if cols[j - 1] - {j - 1} == cols[j] else sn[j - 1] + 1
        members = {}
        for j in range(n):
            members.setdefault(sn[j], []).append(j)
        for rname, cols_, after, upivot in (rules[0], rules[4]):
            L, U = ilut(B, cols_, after, upivot)
            OL, OU = pattern(L, True), pattern(U, False)
            extraL, extraU = SL - OL, SU - OU
            below_l = [(i, j) for (i, j) in extraL if abs(Ur[i, j]) < 1e-4]
            below_u = [(i, j) for (i, j) in extraU if abs(Uraw[i, j]) < 1e-4 * colmax[j]]
            block_l = sum(1 for (i, j) in below_l if sn[i] == sn[j])
            late = sum(1 for (i, j) in below_l if sn[i] != sn[j] and j >= int(0.95 * n))
            row_kept = sum(1 for (i, j) in below_l if sn[i] != sn[j] and j < int(0.95 * n) and
                           max(abs(Ur[i, k]) for k in members[sn[j]]) >= 1e-4)
            block_u = sum(1 for (i, j) in below_u if sn[i] == sn[j])
            print(f"  in spilu's order, {rname}: ours in spilu's: L {len(OL & SL)} of {len(OL)}, U {len(OU & SU)} "
                  f"of {len(OU)}; spilu's extra: L {len(extraL)} ({len(below_l)} below 1e-4: {row_kept} in a "
                  f"supernode row kept for another entry, {block_l} in a supernode's diagonal block, {late} in the "
                  f"last 5% of columns), U {len(extraU)} ({len(below_u)} below 1e-4 max|A(:,j)|, {block_u} in a "
                  f"supernode's diagonal block)")


if __name__ == "__main__":
    main()
