// Right arguments of the compiled entry behind the functions that lay out and weigh arrays.

#include "tests/fuzz/made_up_call.h"
#include "tests/support/entry_arguments.h"

namespace kestrel::fuzz {

MadeUpCall right_call(Choices& choices) {
  static const char* const kNames[] = {
      "linear_array", "planar_array",      "curved_array", "annular_array",
      "bowl_array",   "from_positions",    "shapes",       "focus",
      "steer",        "apodize",           "focus_delays", "aim",
      "faces",        "plane_wave_delays", "apodize"};
  constexpr std::size_t kLayouts = 7;
  const std::size_t chosen = choices.below(std::size(kNames));
  MadeUpCall call;
  call.valid = true;
  call.arguments.push_back(standalone::Value::text(kNames[chosen]));
  const auto elements = static_cast<double>(1 + choices.below(4));
  call.arguments.emplace_back(chosen < kLayouts
                                  ? test::layout_arguments(kNames[chosen], elements).release()
                                  : test::work_arguments(kNames[chosen]).release());
  if (chosen >= kLayouts) {
    call.nlhs = 1 + static_cast<int>(choices.below(3));
    call.arguments.push_back(an_array(choices, kShapes));
  }
  return call;
}

}  // namespace kestrel::fuzz
