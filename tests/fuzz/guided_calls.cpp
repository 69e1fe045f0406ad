// The driver for libFuzzer, which proposes the bytes.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "mex/host/host_services.h"
#include "tests/fuzz/made_up_call.h"

extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  kestrel::host::install_services();
  kestrel::fuzz::Choices choices({bytes, size});
  try {
    kestrel::fuzz::run_made_up_call(choices);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    std::abort();
  }
  return 0;
}
