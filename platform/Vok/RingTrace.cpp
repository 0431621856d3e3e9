#include "platform/Vok/RingTrace.h"

#include "platform/Vok/Printf.h"

namespace Vok {

RingTrace::RingTrace(std::size_t capacity) : entries_(capacity == 0 ? 1 : capacity) {}

void RingTrace::write(std::string_view format, std::vector<std::string> args) {
  Entry& entry = entries_[next_];
  entry.format.assign(format);
  entry.args = std::move(args);
  next_ = (next_ + 1) % entries_.size();
  if (size_ < entries_.size()) {
    ++size_;
  }
}

std::vector<std::string> RingTrace::messages() const {
  std::vector<std::string> out;
  out.reserve(size_);
  std::size_t const first = (next_ + entries_.size() - size_) % entries_.size();
  for (std::size_t i = 0; i < size_; ++i) {
    Entry const& entry = entries_[(first + i) % entries_.size()];
    out.push_back(renderPrintf(entry.format, entry.args));
  }
  return out;
}

void RingTrace::clear() {
  next_ = 0;
  size_ = 0;
}

namespace {

RingTrace*& defaultRing() {
  static RingTrace ring(1024);
  static RingTrace* current = &ring;
  return current;
}

}  // namespace

RingTrace* defaultRingTrace() {
  return defaultRing();
}

void defaultRingTraceIs(RingTrace* ring) {
  defaultRing() = ring;
}

}  // namespace Vok
