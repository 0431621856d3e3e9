#include "platform/Vok/Log.h"

#include <chrono>
#include <cstdio>

#include "platform/Vok/Printf.h"

namespace Vok {

namespace {

std::size_t fnv1a(std::string_view text, std::size_t hash) {
  for (unsigned char const c : text) {
    hash = (hash ^ c) * 1099511628211ull;
  }
  return hash;
}

constexpr std::size_t kFnvOffset = 14695981039346656037ull;

std::vector<LogSink*>& sinks() {
  static std::vector<LogSink*> instance;
  return instance;
}

std::function<double()>& clock() {
  static std::function<double()> instance;
  return instance;
}

double now() {
  if (auto const& fake = clock()) {
    return fake();
  }
  using std::chrono::duration;
  using std::chrono::steady_clock;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

std::size_t logArgsHash(LogString const& logString, std::size_t count) {
  std::size_t hash = kFnvOffset;
  for (std::size_t i = 0; i < count && i < logString.args().size(); ++i) {
    // The separator keeps ("ab", "c") and ("a", "bc") apart.
    hash = fnv1a(logString.arg(i), hash);
    hash = fnv1a(std::string_view("\0", 1), hash);
  }
  return hash;
}

void logSinkAdd(LogSink& sink) {
  sinks().push_back(&sink);
}

void logSinkRemove(LogSink& sink) {
  auto& all = sinks();
  all.erase(std::remove(all.begin(), all.end(), &sink), all.end());
}

void logClockIs(std::function<double()> nowFunction) {
  clock() = std::move(nowFunction);
}

LogHandle::LogHandle(LogDescriptor const& descriptor, Seconds interval, double burst,
                     unsigned rateLimitArgs, unsigned maxEvents)
    : descriptor_(descriptor),
      interval_(double(interval.count())),
      burst_(burst < 1.0 ? 1.0 : burst),
      rateLimitArgs_(rateLimitArgs),
      maxEvents_(maxEvents),
      idHash_(fnv1a(descriptor.name, kFnvOffset)) {}

bool LogHandle::okToLog(std::size_t hash) {
  if (interval_ <= 0.0) {
    return true;
  }
  double const time = now();
  auto found = buckets_.find(hash);
  if (found == buckets_.end()) {
    if (maxEvents_ != 0 && buckets_.size() >= maxEvents_) {
      buckets_.clear();
    }
    found = buckets_.emplace(hash, Bucket{burst_, time}).first;
  }
  Bucket& bucket = found->second;
  bucket.tokens = std::min(burst_, bucket.tokens + (time - bucket.lastRefill) * burst_ / interval_);
  bucket.lastRefill = time;
  if (bucket.tokens < 1.0) {
    return false;
  }
  bucket.tokens -= 1.0;
  return true;
}

void LogHandle::log(LogString const& logString) const {
  std::string const text = renderPrintf(descriptor_.format, logString.args());
  LogRecord const record{descriptor_.name, descriptor_.severity, text};
  if (sinks().empty()) {
    std::fprintf(stderr, "log %s (severity %lld): %s\n", descriptor_.name,
                 static_cast<long long>(descriptor_.severity), text.c_str());
    return;
  }
  for (LogSink* sink : sinks()) {
    sink->logWritten(record);
  }
}

}  // namespace Vok
