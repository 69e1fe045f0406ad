#include "mex/host/host_services.h"

#include "kestrel/services.h"
#include "mex/host/mex_api.h"

namespace kestrel::host {

void install_services() {
  services::install({
      .print = [](const char* text) { mexPrintf("%s", text); },
      .warn = [](const char* text) { mexWarnMsgTxt(text); },
      // Running a statement is what makes the interpreters look at their interrupt flag. (In Octave
      // 7 a mere function call, as by mexCallMATLAB, is not enough: tried.) The host may also end
      // the call from here, by an exception of its own.
      .interrupted = [] { return mexEvalString("pause(0);") != 0; },
      .allocate = [](std::size_t bytes) { return mxCalloc(1, bytes); },
      .release = [](void* block) { mxFree(block); },
  });
}

}  // namespace kestrel::host
