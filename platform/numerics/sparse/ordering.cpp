// ordering.cpp -- symmetric orderings of a sparse matrix for the incomplete
// factorisations of ilu.cpp: the rows and columns of A are both permuted by
// the same perm, so the diagonal stays the diagonal.  Both work on the
// graph of the structure of A + A^T (no self loops):
//   - reverse Cuthill-McKee (Cuthill and McKee 1969; George 1971): a
//     breadth-first search from a pseudo-peripheral vertex (found as George
//     and Liu 1979 do, by repeated level structures), neighbours taken by
//     increasing degree, the whole order reversed.  It narrows the band, so
//     the fill of an incomplete factor stays near the diagonal;
//   - minimum degree (Tinney and Walker 1967; Rose 1972): the vertex of
//     smallest degree in the elimination graph is eliminated next and its
//     neighbours become a clique.  It keeps the fill of the complete factor
//     small, so a factor with a small drop tolerance stays sparse.  This is
//     the plain algorithm on explicit adjacency sets (ties go to the lowest
//     index): O(sum of squared degrees at elimination) steps, fine for the
//     sizes the multiprecision solvers are used at; no approximate degrees,
//     supervariables or mass elimination.
// Disconnected components are each ordered in turn.
#include "sparse.hpp"

#include <algorithm>
#include <deque>
#include <set>
#include <utility>

namespace talvo::sparse {

namespace {

// The adjacency lists of A + A^T without the diagonal, each sorted.
std::vector<std::vector<long>> symmetric_graph(long n, const std::vector<long> &row, const std::vector<long> &col)
{
    std::vector<std::vector<long>> adj(static_cast<size_t>(n));
    for (size_t k = 0; k < row.size(); ++k) {
        const long i = row[k], j = col[k];
        if (i == j)
            continue;
        adj[size_t(i)].push_back(j);
        adj[size_t(j)].push_back(i);
    }
    for (auto &v : adj) {
        std::sort(v.begin(), v.end());
        v.erase(std::unique(v.begin(), v.end()), v.end());
    }
    return adj;
}

// The levels of a breadth-first search from s among the vertices with
// mark == 0 (marks are restored); returns the vertices of the last level.
std::vector<long> last_level(const std::vector<std::vector<long>> &adj, long s, std::vector<long> &mark, long &depth)
{
    std::vector<long> level{s}, next, seen{s};
    mark[size_t(s)] = 1;
    depth = 0;
    for (;;) {
        next.clear();
        for (long v : level)
            for (long u : adj[size_t(v)])
                if (mark[size_t(u)] == 0) {
                    mark[size_t(u)] = 1;
                    next.push_back(u);
                    seen.push_back(u);
                }
        if (next.empty())
            break;
        level.swap(next);
        ++depth;
    }
    for (long v : seen)
        mark[size_t(v)] = 0;
    return level;
}

std::vector<long> rcm(long n, const std::vector<std::vector<long>> &adj)
{
    std::vector<long> order, mark(static_cast<size_t>(n), 0);
    order.reserve(size_t(n));
    auto degree = [&](long v) { return long(adj[size_t(v)].size()); };
    for (long first = 0; first < n; ++first) {
        if (mark[size_t(first)] != 0)
            continue;
        // the vertex of smallest degree of this component
        long s = first;
        {
            std::vector<long> comp{first};
            std::vector<long> seen{first};
            mark[size_t(first)] = 1;
            for (size_t h = 0; h < comp.size(); ++h)
                for (long u : adj[size_t(comp[h])])
                    if (mark[size_t(u)] == 0) {
                        mark[size_t(u)] = 1;
                        comp.push_back(u);
                    }
            for (long v : comp) {
                mark[size_t(v)] = 0;
                if (degree(v) < degree(s) || (degree(v) == degree(s) && v < s))
                    s = v;
            }
        }
        // a pseudo-peripheral vertex: move to the last level's vertex of
        // smallest degree while the eccentricity grows
        long depth = 0;
        std::vector<long> last = last_level(adj, s, mark, depth);
        for (int tries = 0; tries < 32; ++tries) {
            long best = last.front();
            for (long v : last)
                if (degree(v) < degree(best) || (degree(v) == degree(best) && v < best))
                    best = v;
            long d2 = 0;
            std::vector<long> l2 = last_level(adj, best, mark, d2);
            if (d2 <= depth)
                break;
            s = best;
            depth = d2;
            last.swap(l2);
        }
        // Cuthill-McKee from s
        const size_t begin = order.size();
        order.push_back(s);
        mark[size_t(s)] = 1;
        std::vector<long> nb;
        for (size_t h = begin; h < order.size(); ++h) {
            nb.clear();
            for (long u : adj[size_t(order[h])])
                if (mark[size_t(u)] == 0) {
                    mark[size_t(u)] = 1;
                    nb.push_back(u);
                }
            std::sort(nb.begin(), nb.end(), [&](long a, long b) {
                return degree(a) != degree(b) ? degree(a) < degree(b) : a < b;
            });
            order.insert(order.end(), nb.begin(), nb.end());
        }
    }
    std::reverse(order.begin(), order.end());
    return order;
}

std::vector<long> minimum_degree(long n, const std::vector<std::vector<long>> &graph)
{
    std::vector<std::set<long>> adj(static_cast<size_t>(n));
    std::set<std::pair<long, long>> by_degree; // (degree, vertex)
    for (long v = 0; v < n; ++v) {
        adj[size_t(v)].insert(graph[size_t(v)].begin(), graph[size_t(v)].end());
        by_degree.insert({long(adj[size_t(v)].size()), v});
    }
    std::vector<long> order;
    order.reserve(size_t(n));
    std::vector<long> nb;
    while (!by_degree.empty()) {
        const long v = by_degree.begin()->second;
        by_degree.erase(by_degree.begin());
        order.push_back(v);
        nb.assign(adj[size_t(v)].begin(), adj[size_t(v)].end());
        for (long u : nb) {
            by_degree.erase({long(adj[size_t(u)].size()), u});
            adj[size_t(u)].erase(v);
        }
        for (size_t x = 0; x < nb.size(); ++x)
            for (size_t y = x + 1; y < nb.size(); ++y) {
                adj[size_t(nb[x])].insert(nb[y]);
                adj[size_t(nb[y])].insert(nb[x]);
            }
        for (long u : nb)
            by_degree.insert({long(adj[size_t(u)].size()), u});
        adj[size_t(v)].clear();
    }
    return order;
}

} // namespace

std::vector<long> symmetric_order(long n, const std::vector<long> &row, const std::vector<long> &col, char how)
{
    const auto adj = symmetric_graph(n, row, col);
    if (how == 'R')
        return rcm(n, adj);
    if (how == 'D')
        return minimum_degree(n, adj);
    std::vector<long> id(static_cast<size_t>(n));
    for (long k = 0; k < n; ++k)
        id[size_t(k)] = k;
    return id;
}

} // namespace talvo::sparse
