// Right arguments of the compiled entry behind kestrel.cw_field and kestrel.harmonics.

#include "kestrel/method.h"
#include "tests/fuzz/made_up_call.h"
#include "tests/support/entry_arguments.h"

namespace kestrel::fuzz {

MadeUpCall right_call(Choices& choices) {
  using standalone::StructArray;
  using standalone::Value;
  const std::size_t kind = choices.below(8);
  // A march takes a hundred times as long as the others.
  const bool marched = kind == 7 && choices.chance(30);
  MadeUpCall call = field_call(choices, marched ? kMarchedShapes : kShapes);
  call.nlhs = 1 + static_cast<int>(choices.below(2));
  call.arguments.push_back(Value::scalar(static_cast<double>(1 + choices.below(12))));
  call.arguments.push_back(Value::scalar(1e6));
  if (marched) {
    StructArray options = test::march_options("kzk_cw");
    if (choices.chance(60)) options.set("wanted", {1.0, 2.0});
    call.arguments.emplace_back(options.release());
    return call;
  }
  // Not every shape has every method.
  const auto methods = fields::continuous_wave_methods();
  const char* method = kind < 5 ? "fnm_cw" : methods[choices.below(methods.size())].name;
  call.valid = kind < 5;
  StructArray options = test::options(method, static_cast<double>(1 + choices.below(2)));
  static const char* const kSets[] = {"auto", "scalar", "baseline"};
  options.set("instruction_set", choices.one_of(kSets));
  options.set("reuse", Value::logical(choices.below(2) == 0));
  if (choices.chance(30)) options.set("tolerance", 1e-3);
  call.arguments.emplace_back(options.release());
  return call;
}

}  // namespace kestrel::fuzz
