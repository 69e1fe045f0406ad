// Right arguments of the compiled entry behind kestrel.transient_field.

#include "kestrel/method.h"
#include "tests/fuzz/made_up_call.h"
#include "tests/support/entry_arguments.h"

namespace kestrel::fuzz {

MadeUpCall right_call(Choices& choices) {
  using standalone::StructArray;
  using standalone::Value;
  const std::size_t kind = choices.below(8);
  const bool marched = kind == 7 && choices.chance(20);
  MadeUpCall call = field_call(choices, marched ? kMarchedShapes : kShapes);
  call.nlhs = 1 + static_cast<int>(choices.below(2));
  call.arguments.emplace_back(choices.below(3) == 0 ? test::listed_times().release()
                                                    : test::time_axis(0, 8e-6, 1e-6).release());
  call.arguments.push_back(Value::scalar(static_cast<double>(1 + choices.below(8))));
  StructArray excitation =
      choices.below(3) == 0 ? test::samples() : test::pulse(1 + static_cast<int>(choices.below(3)));
  call.arguments.emplace_back(excitation.release());
  if (marched) {
    call.arguments.emplace_back(test::march_options("kzk_transient").release());
    return call;
  }
  // Not every shape and excitation has every method.
  const auto methods = fields::transient_methods();
  call.valid = kind < 5;
  const char* method = kind < 5 ? "fnm_tsd" : methods[choices.below(methods.size())].name;
  call.arguments.emplace_back(
      test::options(method, static_cast<double>(1 + choices.below(2))).release());
  return call;
}

}  // namespace kestrel::fuzz
