// Right arguments of fnm_cw_single.

#include "tests/fuzz/made_up_call.h"
#include "tests/support/entry_arguments.h"

namespace kestrel::fuzz {

MadeUpCall right_call(Choices& choices) {
  using standalone::Value;
  MadeUpCall call = field_call(choices, {"rect"});
  call.arguments.push_back(Value::scalar(static_cast<double>(1 + choices.below(12))));
  call.arguments.push_back(Value::scalar(1e6));
  if (choices.chance(20)) {  // the display flag
    call.arguments.push_back(Value::scalar(static_cast<double>(choices.below(2))));
  }
  return call;
}

}  // namespace kestrel::fuzz
