// A test VFS for SQLite, registered over the default one, that fails one chosen file operation
// with the error a real failure gives: the Nth read, write, sync, lock or size change, counted
// over every file SQLite opens (database, WAL, shared memory), as SQLite's own tests inject
// faults. Counting goes on while no fault is armed, so a clean run tells how many there are.
#pragma once

#include <array>
#include <cstdint>

namespace testsupport {

class FaultVfs {
 public:
  enum Kind { kRead, kWrite, kFull, kSync, kLock, kTruncate };
  static constexpr int kKinds = 6;

  // Registers the VFS as SQLite's default (once) and returns it; nothing fails until armed.
  static FaultVfs& install();

  // Fails the `n`th operation of `kind` from now on (1 is the next one), once; the counts
  // restart.
  void arm(Kind kind, std::int64_t n);
  void disarm() { armed_ = false; }
  // Whether the armed operation has failed.
  bool fired() const { return fired_; }
  // The operations of `kind` since the counts last restarted (arm, or resetCounts).
  std::int64_t count(Kind kind) const { return counts_[kind]; }
  void resetCounts() { counts_ = {}; }

  // Counts an operation of `kind`; true when it is the one to fail.
  bool fail(Kind kind);

 private:
  std::array<std::int64_t, kKinds> counts_ = {};
  bool armed_ = false;
  bool fired_ = false;
  Kind kind_ = kRead;
  std::int64_t n_ = 0;
};

}  // namespace testsupport
