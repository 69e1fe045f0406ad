#pragma once

/// Inside of the standalone host: which blocks and arrays are alive and who owns them.

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "mex/standalone/matrix.h"

namespace kestrel::standalone {

/// Says on stderr what was misused, and aborts.
[[noreturn]] void misuse(const char* what);

/// A running call; 0 stands for the program outside of all calls.
using CallId = std::uint64_t;
CallId current_call();

/// Who owns a block or an array: a call, which reclaims it at its end, or an array that contains
/// it.
struct Owner {
  CallId call = 0;
  const mxArray* container = nullptr;
};

/// The living things of one kind, by address.
class Ledger {
 public:
  void add(void* thing) { add(thing, {current_call(), nullptr}); }
  void add(void* thing, Owner owner);
  /// Who owned it; nothing when the thing is not alive.
  std::optional<Owner> remove(void* thing);
  /// From a call to a container. Misuse when the thing is not alive or contained already.
  void contain(const void* thing, const mxArray* container);
  /// From its container to the running call; nothing happens unless `container` contains it.
  void set_free(const void* thing, const mxArray* container);
  /// To another call. Misuse when the thing is not alive or contained.
  void give_to(const void* thing, CallId call);

  bool contains(const void* thing) const;
  bool is_contained_in(const void* thing, const mxArray* container) const;
  bool belongs_to(const void* thing, CallId call) const;
  /// Up to `count` of those that belong to the call, into `things`; how many. Allocates nothing:
  /// what a call left behind is reclaimed while memory may be short.
  std::size_t owned_by(CallId call, void** things, std::size_t count) const;
  std::size_t size() const;

 private:
  mutable std::mutex _mutex;
  std::unordered_map<void*, Owner> _owners;
};

Ledger& blocks();
Ledger& arrays();

/// Counts one allocation; false when a limit says that it fails.
bool allocation_granted();

/// Zeroed memory, owned by the running call; null when it cannot be had.
void* allocate_block(std::size_t count, std::size_t size);

/// For the time that it lives, what is allocated on this thread belongs to a new call; then what
/// was not given away is reclaimed.
class CallScope {
 public:
  CallScope();
  ~CallScope();
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  /// Hands a result, which must have been created in this call, to the caller.
  void give_to_caller(mxArray* result);

 private:
  CallId _outer;
  CallId _id;
};

}  // namespace kestrel::standalone
