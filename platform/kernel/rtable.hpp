// rtable.hpp -- rectangular tables (arrays) of the reference host.
//
// An rtable has one or two dimensions with any integer bounds, a data type
// code (RTABLE_DAG ... RTABLE_FLOAT32), a storage (RTABLE_RECT: one
// contiguous data block in Fortran or C order; RTABLE_SPARSE: only assigned
// non-zero elements, kept in a sorted index), an element type name for data
// type RTABLE_DAG ("anything" or "sfloat"), and its other settings.
// These functions implement the kernel's RTable operations and the language's
// Array constructor and indexing.  Bad input raises host errors.
#pragma once

#include "object.hpp"

#include <string>

namespace talvo {

// The collected object of an rtable (scanned: it points at the data block, the
// sparse index and host values).  Elements are addressed by a linear position:
// (i - lo[0]) + (j - lo[1]) * size[0] in Fortran order, (i - lo[0]) * size[1]
// + (j - lo[1]) in C order; a one-dimensional rtable has lo[1] = hi[1] = 1.
struct RTableObject {
    uintptr_t header;           // T_RTABLE; length field unused
    RTableSettings settings;    // element_type never null; foreign when the block was adopted
    M_INT lo[RTABLE_MAX_DIMENSIONS];
    M_INT hi[RTABLE_MAX_DIMENSIONS];
    M_INT size[RTABLE_MAX_DIMENSIONS]; // hi - lo + 1
    M_INT count;                // number of elements: size[0] * size[1]
    void *data;                 // rectangular: count elements in order; sparse: nullptr
    M_INT *sparse_pos;          // sparse: sorted linear positions of the stored elements
    unsigned char *sparse_val;  // sparse: their values, element_size bytes each
    size_t sparse_count;
    size_t sparse_capacity;
    RTableData zero;            // what an unassigned element reads as (fill, or zero of the type)
};

inline RTableObject *as_rtable(ALGEB a) { return reinterpret_cast<RTableObject *>(a); }

} // namespace talvo

namespace talvo::rtable {

size_t element_size(int data_type); // bytes of one element of the data block; 0 for an unknown code

ALGEB create(const RTableSettings *s, void *pdata, const M_INT *bounds);
ALGEB copy(const RTableSettings *s, ALGEB rt);
void *data_block(ALGEB rt);         // nullptr for non-rectangular storage
void get_defaults(RTableSettings *s);
void get_settings(RTableSettings *s, ALGEB rt);
M_INT num_dimensions(ALGEB rt);
M_INT num_elements(ALGEB rt);       // product of the dimension sizes
M_INT lower_bound(ALGEB rt, M_INT dim); // dim is 1-based
M_INT upper_bound(ALGEB rt, M_INT dim);
// Elements held in memory: every element for rectangular storage, the
// assigned ones that differ from the fill value for sparse storage.
M_INT stored_count(ALGEB rt);
RTableData select(ALGEB rt, const M_INT *index);
void assign(ALGEB rt, const M_INT *index, RTableData v);

// An element as a host value (integers as integers, doubles as floats of
// precision 53, complex doubles as complex floats), and a host value stored
// as an element (converted to the data type; raises when impossible).
ALGEB element_value(ALGEB rt, const M_INT *index);
void set_element_value(ALGEB rt, const M_INT *index, ALGEB value);

// The language: Array(bounds..., [initial values], datatype = D, storage = S,
// order = O, fill = V, entries = [index = value, ...]).  `args` is the
// evaluated argument sequence.  Without bounds, the list of initial values
// gives them (a list of lists: rows of a two-dimensional array).
ALGEB array_constructor(ALGEB args);
// A[i] and A[i, j] (index is the evaluated index sequence), and A[i] := v.
ALGEB index(ALGEB rt, ALGEB index_seq);
void assign_index(ALGEB rt, ALGEB index_seq, ALGEB value);

// "Array(1..3, [1, 2, 3], datatype = float64)" -- reads back in.  A sparse
// array of more than 10000 elements prints its stored entries only:
// "Array(1..100000, storage = sparse, entries = [7 = 3])".
std::string print(ALGEB rt);

} // namespace talvo::rtable
