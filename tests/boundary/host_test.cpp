#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include "kestrel/error.h"
#include "kestrel/services.h"
#include "mex/host/complex_array.h"
#include "mex/host/entry.h"
#include "mex/standalone/standalone_host.h"
#include "services/off_host_thread.h"

namespace kestrel::host {
namespace {

using namespace services;
using standalone::AllocationLimit;
using standalone::call;
using standalone::CallResult;
using standalone::Capture;
using standalone::Live;
using standalone::live;
using standalone::Value;

std::string text_of_failure(const std::function<void()>& function) {
  try {
    function();
  } catch (const Error& error) {
    return error.what();
  }
  return "(no failure)";
}

TEST(Host, TextsOfAnyLengthAndContent) {
  const std::string word(10000, 'w');
  EXPECT_EQ(text_of_failure([&] { fail("%s, %d%%", word.c_str(), 5); }), word + ", 5%");
  Capture capture;
  print("%s", (word + "%s").c_str());
  warn("100% \n");
  EXPECT_EQ(capture.printed(), word + "%s");
  EXPECT_EQ(capture.warnings(), std::vector<std::string>{"100% \n"});
}

TEST(HostArray, IsZeroedAlignedAndReleased) {
  const Live before = live();
  for (const std::size_t count : {0, 1, 3, 513}) {
    Array<double> array(count);
    EXPECT_EQ(live().blocks, before.blocks + 1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array.data()) % 16, 0u);
    for (double& value : array) EXPECT_EQ(std::exchange(value, 1), 0);
    Array<double> moved(std::move(array));
    Array<double> assigned(2);
    assigned = std::move(moved);
    EXPECT_EQ(assigned.size(), count);
  }
  EXPECT_EQ(live(), before);
}

TEST(HostArray, SaysThatMemoryIsOut) {
  const auto expect_refused = [](std::size_t count) {
    EXPECT_EQ(text_of_failure([&] { Array<double> array(count); }),
              "Out of memory: " + std::to_string(count) + " x 8 bytes cannot be allocated.");
  };
  constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();
  for (const std::size_t count : {huge, huge / 8, huge / 16}) expect_refused(count);
  const AllocationLimit none(0);
  expect_refused(3);
}

TEST(HostDetached, ThreadDoesWithoutTheHost) {
  const Live before = live();
  Capture capture;
  Messages messages;
  Array<double> made_off_host;
  std::thread worker([&] {
    const AllocationLimit limit(0);  // the host would refuse
    const OffHostThread scope(messages);
    Array<double> array(100);
    array[99] = 9;
    made_off_host = std::move(array);
    print("first %d\n", 1);
    warn("second");
    {
      Messages inner;
      {
        const OffHostThread nested(inner);
        print("fourth\n");
      }
      print("third\n");
      inner.replay();
    }
  });
  worker.join();
  EXPECT_EQ(live(), before);
  EXPECT_EQ(capture.console(), "");
  messages.replay();
  EXPECT_EQ(capture.console(), "first 1\nWarning: second\nthird\nfourth\n");
  EXPECT_TRUE(messages.empty());
  messages.replay();
  EXPECT_EQ(capture.warnings().size(), 1u) << "texts are shown once";
  EXPECT_EQ(made_off_host[99], 9);
}

TEST(HostDetached, BlocksFindTheirWayBackAfterTheScopeChanged) {
  const Live before = live();
  Array<int> attached(3);
  Array<int> detached;
  {
    Messages messages;
    const OffHostThread scope(messages);
    detached = Array<int>(4);
    attached = Array<int>();  // released to the host, although the scope is detached
    EXPECT_EQ(live(), before);
  }
  detached = Array<int>();  // released to the standard allocator; the sanitizers would object
  EXPECT_EQ(live(), before);
}

/// The entry that a test describes by its body.
CallResult run_as_entry(const std::function<void(mxArray* plhs[])>& body) {
  return call([&](int, mxArray* plhs[], int,
                  const mxArray*[]) { run_entry([&] { body(plhs); }, "kestrel:test"); },
              1, {});
}

TEST(Entry, TurnsFailuresIntoTheErrorCall) {
  const std::string long_text(5000, 'x');
  const struct {
    std::function<void()> body;
    std::string text;
  } cases[] = {
      {[] { fail("ndiv must be an integer.\n"); }, "ndiv must be an integer.\n"},
      {[] { fail("%s", ""); }, "Unknown error."},
      {[&] { fail("%s", long_text.c_str()); }, long_text.substr(0, error_text_size - 1)},
      {[] { fail("%s", "%s%n"); }, "%s%n"},
      {[] { throw std::bad_alloc(); }, "Out of memory."},
      {[] { std::vector<int>().reserve(std::vector<int>().max_size() + 1); },
       "Out of memory: a list would exceed its largest size."},
  };
  for (const auto& c : cases) {
    const Live before = live();
    const CallResult result = run_as_entry([&](mxArray*[]) {
      const Array<double> owned(5);
      print("printed before\n");
      c.body();
    });
    EXPECT_EQ(result.error, c.text);
    EXPECT_EQ(result.error_identifier, "kestrel:test");
    EXPECT_EQ(result.printed, "printed before\n");
    EXPECT_EQ(live(), before) << c.text;
  }
}

TEST(Entry, EveryScopeHasEndedAtTheErrorCall) {
  struct Noisy {
    ~Noisy() { print("scope ended\n"); }
  };
  const auto entry = [](int, mxArray*[], int, const mxArray*[]) {
    try {
      run_entry(
          [] {
            const Noisy noisy;
            fail("failed");
          },
          "kestrel:test");
    } catch (...) {
      print("error call\n");
      throw;
    }
  };
  EXPECT_EQ(call(entry, 1, {}).printed, "scope ended\nerror call\n");
}

TEST(Entry, LetsTheHostsOwnErrorPass) {
  // Octave's error call looks like this from inside.
  EXPECT_THROW(run_as_entry([](mxArray*[]) { throw std::runtime_error("the interpreter's"); }),
               std::runtime_error);
  EXPECT_EQ(run_as_entry([](mxArray*[]) { mexErrMsgTxt("direct"); }).error, "direct");
}

TEST(ComplexResult, HasItsShapeAndAllOfItsBytes) {
  const auto expect_zeros = [](mxArray* result, const std::vector<mwSize>& shape) {
    const Value owned(result);
    const mwSize* dimensions = mxGetDimensions(result);
    EXPECT_EQ(std::vector<mwSize>(dimensions, dimensions + mxGetNumberOfDimensions(result)), shape);
    EXPECT_TRUE(mxIsComplex(result) && mxIsDouble(result));
    mxComplexDouble* values = mxGetComplexDoubles(result);
    for (std::size_t i = 0; i < mxGetNumberOfElements(result); ++i) {
      EXPECT_TRUE(values[i].real == 0 && values[i].imag == 0);
      values[i] = {1, 2};  // the address sanitizer knows how many bytes there are
    }
  };
  expect_zeros(create_complex_result(3, 1, 5), {3, 1, 5});
  expect_zeros(create_complex_result(3, 4, 1), {3, 4});
  expect_zeros(create_complex_result(1, 1, 1), {1, 1});
  expect_zeros(create_complex_result(3, 0, 5), {3, 0, 5});
  expect_zeros(create_complex_result(0, 1, 1), {0, 1});
  expect_zeros(create_complex_result(7), {7, 1});
}

TEST(ComplexResult, SaysThatMemoryIsOut) {
  for (const std::size_t granted : {0, 1}) {
    const AllocationLimit limit(granted);
    EXPECT_EQ(text_of_failure([] { create_complex_result(7); }).substr(0, 14), "Out of memory:");
  }
  constexpr std::size_t large = std::size_t{1} << 31;
  EXPECT_EQ(text_of_failure([] { create_complex_result(large, large, large); }),
            "Out of memory: the result has too many points.");
}

}  // namespace
}  // namespace kestrel::host
