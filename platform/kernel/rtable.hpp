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

namespace talvo::rtable {

size_t element_size(int data_type); // bytes of one element of the data block

ALGEB create(const RTableSettings *s, void *pdata, const M_INT *bounds);
ALGEB copy(const RTableSettings *s, ALGEB rt);
void *data_block(ALGEB rt);         // nullptr for non-rectangular storage
void get_defaults(RTableSettings *s);
void get_settings(RTableSettings *s, ALGEB rt);
M_INT num_dimensions(ALGEB rt);
M_INT num_elements(ALGEB rt);       // product of the dimension sizes
M_INT lower_bound(ALGEB rt, M_INT dim); // dim is 1-based
M_INT upper_bound(ALGEB rt, M_INT dim);
RTableData select(ALGEB rt, const M_INT *index);
void assign(ALGEB rt, const M_INT *index, RTableData v);

// An element as a host value (integers as integers, doubles as floats of
// precision 53, complex doubles as complex floats), and a host value stored
// as an element (converted to the data type; raises when impossible).
ALGEB element_value(ALGEB rt, const M_INT *index);
void set_element_value(ALGEB rt, const M_INT *index, ALGEB value);

// The language: Array(bounds..., [initial values], datatype = D, storage = S,
// order = O).  `args` is the evaluated argument sequence.
ALGEB array_constructor(ALGEB args);
// A[i] and A[i, j] (index is the evaluated index sequence), and A[i] := v.
ALGEB index(ALGEB rt, ALGEB index_seq);
void assign_index(ALGEB rt, ALGEB index_seq, ALGEB value);

// "Array(1..3, [1, 2, 3], datatype = float64)" -- reads back in.
std::string print(ALGEB rt);

} // namespace talvo::rtable
