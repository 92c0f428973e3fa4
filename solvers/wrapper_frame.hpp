// wrapper_frame.hpp -- the frame every regression and solver wrapper shares.
//
// A wrapper receives the kernel vector and a plain argument array: args[0]
// holds the number of arguments as a host integer, args[1..n] the arguments
// (an argument the wrapper writes to arrives as a quoted name).  It is
// written as its argument table plus the routine call:
//
//     STATS_ENTRY ALGEB STATS_g02fcc_MP(TKernelVector kv, ALGEB *args)
//     {
//         static constexpr Layout<7> kLayout{kIncorrectCount, {{
//             integer(),                              // 1 n
//             integer(),                              // 2 ip
//             floats(In, Param, extent_of_integer(1)), // 3 residuals
//             output(), output(), output(),           // 4 d, 5 pdl, 6 pdu
//             floats(Out, Param, ...),                // 7 work
//         }}};
//         Frame f(kv, args, kLayout);
//         ... call the routine with f.integer(1), f.floats(3), ...
//         f.assign_float(4, d);
//         return f.host_integer(code);
//     }
//
// The frame, in this order:
//   1. the argument count: a wrong count raises the layout's count message;
//   2. the checks, position by position, the first failing one raised with
//      its fixed text and no %1: in the "args" style "args[K] must be an
//      integer", "args[K] must be an float", "args[K] must be a rtable",
//      "args[K] must be a PROC"; in the "param" style (tables only) "param K
//      should be an rtable".  A position may name another position in its
//      text (shown), as one wrapper's check of argument 25 names 23;
//   3. the conversions by role, in position order: integers with the host's
//      integer conversion, floats with DAGtoFLOAT, texts as the host's
//      string or name text; procedures and output names are kept as they
//      are (conversion errors are the host's own);
//   4. the tables: each passes its data block in place, as an array of
//      TalvoFloat (or of Integer) elements.  The routine reads and writes
//      only the first extent() elements, so a table with fewer, or one whose
//      block does not hold host values, is refused before the call: reading
//      or writing past a table's block, or storing float handles in a block of
//      machine numbers, would corrupt memory (docs/DEVIATIONS.md).  A table
//      the routine only reads whose elements are not all floats (integers,
//      rationals) is passed as a converted copy; an integer table that is not
//      of the native Integer type likewise;
//   5. after the call, the wrapper assigns its scalar outputs to their names
//      (assign_integer, assign_float) and returns its result.
#pragma once

#include "stats_api.h"
#include "talvo_mp.h"

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace stats::wrappers {

// The count messages of the two families of wrappers.
inline constexpr const char *kIncorrectCount = "Incorrect number of arguments";
inline constexpr const char *kWrongCount = "wrong number of arguments";

enum class Role {
    Integer,   // a host integer, converted to a native Integer
    Float,     // a host number, converted with DAGtoFLOAT
    Text,      // a string or name, its text
    Procedure, // a host procedure, kept as it is (for the trampolines)
    Floats,    // an RTable whose data block the routine uses as TalvoFloat elements
    Integers,  // an RTable read as Integer elements
    Output,    // a name the wrapper assigns a scalar result to
    Any,       // passed as it is
};

// What the routine does with a table's elements.
enum class Use { In, Out, InOut };

// Which text a failed check raises.
enum class Check {
    None,
    Args,  // "args[K] must be ..." by role: an integer, an float, a rtable, a PROC
    Param, // "param K should be an rtable" (tables)
};

class Frame;

// The number of elements of a table the routine uses, from the converted
// scalar arguments (a negative result counts as 0).
using Extent = long (*)(const Frame &);

struct Position {
    Role role = Role::Any;
    Check check = Check::None;
    Use use = Use::In;
    Extent extent = nullptr; // tables: elements the routine uses; null: none
    int shown = 0;           // the position the check's text names; 0: its own
};

template <size_t N>
struct Layout {
    const char *count_message;
    std::array<Position, N> positions; // positions[0] is argument 1
};

// Positions by role.
constexpr Position integer(Check c = Check::None) { return {Role::Integer, c}; }
constexpr Position real(Check c = Check::None) { return {Role::Float, c}; }
constexpr Position text() { return {Role::Text}; }
constexpr Position procedure(Check c = Check::None) { return {Role::Procedure, c}; }
constexpr Position output() { return {Role::Output}; }
constexpr Position any() { return {Role::Any}; }
constexpr Position floats(Use u, Check c, Extent e, int shown = 0) { return {Role::Floats, c, u, e, shown}; }
constexpr Position integers(Check c, Extent e, int shown = 0) { return {Role::Integers, c, Use::In, e, shown}; }

// The text a failed check raises for a position (what it names: shown or
// its own number).
std::string CheckMessage(const Position &p, int position);

// One call's arguments, checked and converted.
class Frame {
public:
    template <size_t N>
    Frame(TKernelVector kv, ALGEB *args, const Layout<N> &layout)
        : Frame(kv, args, layout.count_message, layout.positions.data(), int(N))
    {
    }
    Frame(const Frame &) = delete;
    Frame &operator=(const Frame &) = delete;

    TKernelVector kv() const { return kv_; }
    // Argument i (1-based) as the host passed it.
    ALGEB arg(int i) const { return args_[i]; }

    Integer integer(int i) const { return slots_[size_t(i)].integer; }
    TalvoFloat real(int i) const { return slots_[size_t(i)].real; }
    const char *text(int i) const { return slots_[size_t(i)].text; }
    Integer text_length(int i) const;
    ALGEB procedure(int i) const { return args_[i]; }
    TalvoFloat *floats(int i) const { return static_cast<TalvoFloat *>(slots_[size_t(i)].block); }
    Integer *integers(int i) const { return static_cast<Integer *>(slots_[size_t(i)].block); }
    // True when table i was passed as a converted copy rather than in place.
    bool copied(int i) const { return slots_[size_t(i)].copied; }
    // The first count results of integer table i written back into the host
    // table when the routine worked on a converted copy (nothing otherwise).
    void write_back_integers(int i, long count) const;

    // Scalar outputs, assigned to the name at position i.
    void assign_integer(int i, long v) const;
    void assign_float(int i, TalvoFloat v) const;
    ALGEB host_integer(long v) const { return ToTalvoInteger(kv_, M_INT(v)); }

private:
    Frame(TKernelVector kv, ALGEB *args, const char *count_message, const Position *positions, int count);

    struct Slot {
        Integer integer = 0;
        TalvoFloat real;
        const char *text = nullptr;
        void *block = nullptr;
        bool copied = false;
    };

    [[noreturn]] void refuse(const Position &p, int i, const std::string &what) const;
    void take_floats(const Position &p, int i);
    void take_integers(const Position &p, int i);

    TKernelVector kv_;
    ALGEB *args_;
    std::vector<Slot> slots_; // slots_[i] for argument i (slot 0 unused)
};

// Saturating arithmetic for extents: a product or sum too large for a long
// gives LONG_MAX, which no table holds.
long ExtentProduct(long a, long b);
long ExtentSum(long a, long b);

} // namespace stats::wrappers
