#pragma once

/// What a program that links allocations.cpp allocates by any form of operator new; all numbers are
/// those of the calling thread, unless the name says "anywhere".

namespace kestrel::test {

long allocations();
long objects_alive();
long objects_alive_anywhere();

/// While it lives, one allocation fails: the one after `granted` others.
class FailingAllocation {
 public:
  explicit FailingAllocation(long granted);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  bool happened() const;
};

/// The same for the allocations of all threads, counted together in the order of their coming.
class FailingAllocationAnywhere {
 public:
  explicit FailingAllocationAnywhere(long granted);
  ~FailingAllocationAnywhere();
  FailingAllocationAnywhere(const FailingAllocationAnywhere&) = delete;
  FailingAllocationAnywhere& operator=(const FailingAllocationAnywhere&) = delete;

  bool happened() const;
};

/// Runs `attempt` with its first allocation failing, then with its second, until none fails any
/// more. `check` is told after each what became of it, and whether one failed.
template <class Attempt, class Check>
void fail_each_allocation(const Attempt& attempt, const Check& check) {
  for (long failures = 0;; ++failures) {
    bool failed = false;
    const auto outcome = [&] {
      const FailingAllocation one(failures);
      const auto result = attempt();
      failed = one.happened();
      return result;
    }();
    check(outcome, failed);
    if (!failed) return;
  }
}

}  // namespace kestrel::test
