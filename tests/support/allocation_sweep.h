#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "mex/standalone/standalone_host.h"
#include "tests/support/allocations.h"

namespace kestrel::test {

/// Every number of an array of doubles, or of such fields of structures.
inline std::vector<double> numbers_of(const mxArray* array) {
  if (array == nullptr) return {};
  if (mxIsStruct(array)) {
    std::vector<double> numbers;
    for (mwIndex i = 0; i < mxGetNumberOfElements(array); ++i) {
      for (int field = 0; field < mxGetNumberOfFields(array); ++field) {
        const std::vector<double> more = numbers_of(mxGetFieldByNumber(array, i, field));
        numbers.insert(numbers.end(), more.begin(), more.end());
      }
    }
    return numbers;
  }
  if (!mxIsDouble(array)) return {};
  const auto* first = mxIsComplex(array)
                          ? reinterpret_cast<const double*>(mxGetComplexDoubles(array))
                          : mxGetDoubles(array);
  return {first, first + mxGetNumberOfElements(array) * (mxIsComplex(array) ? 2 : 1)};
}

/// Calls an entry again and again, with one allocation after the other failing: those of C++ on all
/// threads, then those of the host. A call must either say that memory ran out or give the very
/// result of a call that had it all (fewer threads do the same work), leave nothing behind, and not
/// spoil the next call. Returns the number of calls that failed.
inline int fail_every_allocation(const standalone::Function& entry, int nlhs,
                                 const std::vector<const mxArray*>& arguments) {
  using standalone::call;
  using standalone::CallResult;
  std::vector<double> expected;
  {
    const CallResult whole = call(entry, nlhs, arguments);
    EXPECT_EQ(whole.error, std::nullopt);
    expected = numbers_of(whole.output());
  }
  int refusals = 0;
  const auto check = [&](const char* kind, long number, const CallResult& result) {
    if (result.error) {
      ++refusals;
      EXPECT_TRUE(result.error->find("memory") != std::string::npos)
          << kind << " " << number << ": " << *result.error;
      EXPECT_EQ(result.output(), nullptr);
    } else {
      EXPECT_EQ(numbers_of(result.output()), expected) << kind << " " << number;
    }
  };
  const auto sweep = [&](const char* kind, const auto& attempt) {
    constexpr long kMost = 100000;
    bool failed = true;
    for (long number = 0; failed && number < kMost; ++number) {
      const long objects = objects_alive_anywhere();
      const standalone::Live before = standalone::live();
      failed = attempt(kind, number);
      EXPECT_EQ(objects_alive_anywhere(), objects) << kind << " " << number;
      EXPECT_EQ(standalone::live(), before) << kind << " " << number;
      if (testing::Test::HasFailure()) return;
    }
    EXPECT_FALSE(failed);
  };
  sweep("allocation of C++", [&](const char* kind, long number) {
    bool happened = false;
    // Only what the entry allocates fails, not what the host needs to call it.
    const auto armed = [&](int count, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
      struct Armed {
        bool& happened;
        FailingAllocationAnywhere failing;
        ~Armed() { happened = failing.happened(); }
      } scope{happened, FailingAllocationAnywhere(number)};
      entry(count, plhs, nrhs, prhs);
    };
    const CallResult result = call(armed, nlhs, arguments);
    check(kind, number, result);
    return happened;
  });
  sweep("allocation of the host", [&](const char* kind, long number) {
    const CallResult result = [&] {
      const standalone::AllocationLimit limit(static_cast<std::size_t>(number));
      return call(entry, nlhs, arguments);
    }();
    check(kind, number, result);
    return result.error.has_value();
  });
  EXPECT_EQ(numbers_of(call(entry, nlhs, arguments).output()), expected);
  return refusals;
}

}  // namespace kestrel::test
