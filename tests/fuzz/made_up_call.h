#pragma once

#include <string>
#include <vector>

#include "mex/standalone/standalone_host.h"
#include "tests/fuzz/choices.h"

/// Calls of a compiled entry with arguments that are partly right: what the toolbox makes, with
/// values of other classes, shapes and sizes, numbers that are not finite or far out of range, and
/// fields and arguments that are missing or too many. (Sparse arrays, which the standalone host
/// does not have, are tried in Octave.)

namespace kestrel::fuzz {

struct MadeUpCall {
  std::vector<standalone::Value> arguments;
  int nlhs = 1;
  bool valid = false;  ///< the arguments are right: the call must succeed
};

/// Right arguments of the entry that the program is linked with. Each entry's harness has its own.
MadeUpCall right_call(Choices& choices);

/// The same, spoiled or not.
MadeUpCall make_up_call(Choices& choices);

/// A right array of elements and a right grid.
standalone::Value an_array(Choices& choices, std::initializer_list<const char*> shapes);
standalone::Value a_grid(Choices& choices);

/// The beginning of a right call of a field: an array of one of the shapes, a grid and a medium.
MadeUpCall field_call(Choices& choices, std::initializer_list<const char*> shapes);

inline constexpr auto kShapes = {"rect", "circ", "ring", "shel", "sph ring"};
inline constexpr auto kMarchedShapes = {"circ", "shel"};

/// What became of a call.
enum class Outcome { computed, refused, interrupted, too_large };

/// Makes up a call and runs it. Throws, with what is wrong, when the entry neither delivers a
/// result nor makes one error call with an identifier and a text, when it leaves something behind
/// in the host, or refuses what is right. A call that would take long is interrupted, as by Ctrl-C;
/// one that would fill the memory is not run.
Outcome run_made_up_call(Choices& choices);

}  // namespace kestrel::fuzz
