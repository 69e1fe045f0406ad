#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>

#include "mex/standalone/mex.h"
#include "mex/standalone/registry.h"
#include "mex/standalone/standalone_host.h"

namespace kestrel::standalone {
namespace {

thread_local CallId running_call = 0;
std::atomic<CallId> last_call{0};

constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();
std::atomic<std::int64_t> granted_allocations{kNoLimit};

}  // namespace

void misuse(const char* what) {
  std::fprintf(stderr, "MEX interface misused: %s\n", what);
  std::abort();
}

CallId current_call() { return running_call; }

void Ledger::add(void* thing, Owner owner) {
  const std::lock_guard lock(_mutex);
  _owners[thing] = owner;
}

std::optional<Owner> Ledger::remove(void* thing) {
  const std::lock_guard lock(_mutex);
  const auto found = _owners.find(thing);
  if (found == _owners.end()) return std::nullopt;
  const Owner owner = found->second;
  _owners.erase(found);
  return owner;
}

void Ledger::contain(const void* thing, const mxArray* container) {
  const std::lock_guard lock(_mutex);
  const auto found = _owners.find(const_cast<void*>(thing));
  if (found == _owners.end()) misuse("an unknown block or array is put into an array");
  if (found->second.container != nullptr) misuse("a block or array is put into two arrays");
  found->second = {0, container};
}

void Ledger::set_free(const void* thing, const mxArray* container) {
  const std::lock_guard lock(_mutex);
  const auto found = _owners.find(const_cast<void*>(thing));
  if (found == _owners.end() || found->second.container != container) return;
  found->second = {running_call, nullptr};
}

void Ledger::give_to(const void* thing, CallId call) {
  const std::lock_guard lock(_mutex);
  const auto found = _owners.find(const_cast<void*>(thing));
  if (found == _owners.end()) misuse("an unknown block or array is given away");
  if (found->second.container != nullptr) misuse("a part of an array is given away");
  found->second = {call, nullptr};
}

bool Ledger::contains(const void* thing) const {
  const std::lock_guard lock(_mutex);
  return _owners.count(const_cast<void*>(thing)) != 0;
}

bool Ledger::is_contained_in(const void* thing, const mxArray* container) const {
  const std::lock_guard lock(_mutex);
  const auto found = _owners.find(const_cast<void*>(thing));
  return found != _owners.end() && found->second.container == container;
}

bool Ledger::belongs_to(const void* thing, CallId call) const {
  const std::lock_guard lock(_mutex);
  const auto found = _owners.find(const_cast<void*>(thing));
  return found != _owners.end() && found->second.container == nullptr && found->second.call == call;
}

std::size_t Ledger::owned_by(CallId call, void** things, std::size_t count) const {
  const std::lock_guard lock(_mutex);
  std::size_t found = 0;
  for (const auto& [thing, owner] : _owners) {
    if (found == count) break;
    if (owner.container == nullptr && owner.call == call) things[found++] = thing;
  }
  return found;
}

std::size_t Ledger::size() const {
  const std::lock_guard lock(_mutex);
  return _owners.size();
}

// Never destroyed: values with static storage may outlive any order of destruction.
Ledger& blocks() {
  static auto* ledger = new Ledger;
  return *ledger;
}

Ledger& arrays() {
  static auto* ledger = new Ledger;
  return *ledger;
}

bool allocation_granted() {
  std::int64_t left = granted_allocations.load();
  while (left != kNoLimit) {
    if (left <= 0) return false;
    if (granted_allocations.compare_exchange_weak(left, left - 1)) break;
  }
  return true;
}

void* allocate_block(std::size_t count, std::size_t size) {
  if (size != 0 && count > std::numeric_limits<std::ptrdiff_t>::max() / size) return nullptr;
  if (!allocation_granted()) return nullptr;
  std::unique_ptr<void, void (*)(void*)> block(std::calloc(1, count * size != 0 ? count * size : 1),
                                               std::free);
  if (block != nullptr) blocks().add(block.get());
  return block.release();
}

CallScope::CallScope() : _outer(running_call), _id(++last_call) { running_call = _id; }

CallScope::~CallScope() {
  void* things[64];
  while (const std::size_t count = arrays().owned_by(_id, things, std::size(things))) {
    for (std::size_t i = 0; i < count; ++i) mxDestroyArray(static_cast<mxArray*>(things[i]));
  }
  while (const std::size_t count = blocks().owned_by(_id, things, std::size(things))) {
    for (std::size_t i = 0; i < count; ++i) mxFree(things[i]);
  }
  running_call = _outer;
}

void CallScope::give_to_caller(mxArray* result) {
  if (!arrays().belongs_to(result, _id)) misuse("a result is not an array of its call");
  arrays().give_to(result, _outer);
}

Live live() { return {blocks().size(), arrays().size()}; }

AllocationLimit::AllocationLimit(std::size_t granted)
    : _outer(granted_allocations.exchange(static_cast<std::int64_t>(granted))) {}

AllocationLimit::~AllocationLimit() { granted_allocations = _outer; }

}  // namespace kestrel::standalone

using namespace kestrel::standalone;

void* mxMalloc(std::size_t bytes) {
  // MATLAB promises no zeros here, and who relies on them must find out.
  constexpr int not_zero = 0xA5;
  void* block = allocate_block(1, bytes);
  if (block != nullptr) std::memset(block, not_zero, bytes);
  return block;
}

void* mxCalloc(std::size_t count, std::size_t size) { return allocate_block(count, size); }

void* mxRealloc(void* block, std::size_t bytes) {
  if (block == nullptr) return mxMalloc(bytes);
  if (!blocks().contains(block)) misuse("mxRealloc of an unknown block");
  if (bytes == 0) {
    mxFree(block);
    return nullptr;
  }
  if (!allocation_granted()) return nullptr;
  const std::optional<Owner> owner = blocks().remove(block);
  void* moved = std::realloc(block, bytes);
  if (moved == nullptr) {
    blocks().add(block, *owner);
    return nullptr;
  }
  blocks().add(moved);
  return moved;
}

void mxFree(void* block) {
  if (block == nullptr) return;
  if (!blocks().remove(block)) misuse("mxFree of an unknown block");
  std::free(block);
}

void mexMakeMemoryPersistent(void* block) { blocks().give_to(block, 0); }
