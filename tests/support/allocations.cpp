#include "tests/support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>
#if defined(_WIN32)
#include <malloc.h>
#endif

namespace {

thread_local long made = 0, alive = 0;
thread_local long until_failure = -1;  // negative: none fails
std::atomic<long> alive_anywhere{0};
std::atomic<long> until_failure_anywhere{-1};

bool fails_anywhere() {
  long left = until_failure_anywhere.load();
  while (left >= 0 && !until_failure_anywhere.compare_exchange_weak(left, left - 1)) {
  }
  return left == 0;
}

void* allocate(std::size_t size, std::size_t alignment = 16) {
  ++made;
  if (until_failure >= 0 && until_failure-- == 0) throw std::bad_alloc();
  if (fails_anywhere()) throw std::bad_alloc();
#if defined(_WIN32)  // which has no aligned_alloc
  void* block = _aligned_malloc(size + 1, alignment);
#else
  void* block = std::aligned_alloc(alignment, (size + alignment) / alignment * alignment);
#endif
  if (block == nullptr) throw std::bad_alloc();
  ++alive;
  ++alive_anywhere;
  return block;
}
void* allocate(std::size_t size, std::align_val_t alignment) {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void* allocate_or_null(std::size_t size) noexcept {
  try {
    return allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void deallocate(void* block) {
  if (block != nullptr) {
    --alive;
    --alive_anywhere;
  }
#if defined(_WIN32)
  _aligned_free(block);
#else
  std::free(block);
#endif
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t align) { return allocate(size, align); }
void* operator new[](std::size_t size, std::align_val_t align) { return allocate(size, align); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate_or_null(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate_or_null(size);
}
void operator delete(void* block) noexcept { deallocate(block); }
void operator delete[](void* block) noexcept { deallocate(block); }
void operator delete(void* block, std::size_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::size_t) noexcept { deallocate(block); }
void operator delete(void* block, std::align_val_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::align_val_t) noexcept { deallocate(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { deallocate(block); }

namespace kestrel::test {

long allocations() { return made; }
long objects_alive() { return alive; }
long objects_alive_anywhere() { return alive_anywhere; }

FailingAllocation::FailingAllocation(long granted) { until_failure = granted; }
FailingAllocation::~FailingAllocation() { until_failure = -1; }
bool FailingAllocation::happened() const { return until_failure < 0; }

FailingAllocationAnywhere::FailingAllocationAnywhere(long granted) {
  until_failure_anywhere = granted;
}
FailingAllocationAnywhere::~FailingAllocationAnywhere() { until_failure_anywhere = -1; }
bool FailingAllocationAnywhere::happened() const { return until_failure_anywhere < 0; }

}  // namespace kestrel::test
