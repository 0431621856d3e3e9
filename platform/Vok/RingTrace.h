// The platform's ring-buffer trace: a fixed number of recent messages kept in memory, cheap
// enough to stay on in production and read after the fact (for example from a core dump or a
// debug command).
//
// The process has one default ring, available from start; a host may replace it or switch it off
// with `defaultRingTraceIs` (null: no ring-buffer trace available).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Vok {

class RingTrace {
 public:
  explicit RingTrace(std::size_t capacity);

  // Stores one message: a printf-style format and its arguments, already rendered to text. When
  // the ring is full the oldest message is overwritten.
  void write(std::string_view format, std::vector<std::string> args);

  // The stored messages, oldest first, with the arguments filled in.
  std::vector<std::string> messages() const;

  std::size_t capacity() const { return entries_.size(); }
  std::size_t size() const { return size_; }
  void clear();

 private:
  struct Entry {
    std::string format;
    std::vector<std::string> args;
  };
  std::vector<Entry> entries_;
  std::size_t next_ = 0;
  std::size_t size_ = 0;
};

RingTrace* defaultRingTrace();
void defaultRingTraceIs(RingTrace* ring);

}  // namespace Vok
