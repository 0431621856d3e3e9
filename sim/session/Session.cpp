#include "sim/session/Session.h"

#include <fmt/format.h>

#include <cstdio>

#include "sim/language/Words.h"
#include "sim/session/Commands.h"
#include "sim/store/StateJson.h"

namespace sim {

namespace {}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char const c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte >= 0x7f) {
      out += fmt::format("\\x{:02x}", byte);
    } else {
      out += c;
    }
  }
  return out;
}

Session::Session(SessionOptions const& options, std::ostream& out, std::ostream& err)
    : err_(err),
      host_(std::make_unique<Switch>()),
      transcript_(out, options.format),
      sinks_(transcript_),
      clock_(options.clock),
      readOnly_(options.readOnly),
      columns_(options.columns) {
  if (!options.statePath.empty()) {
    store_ = std::make_unique<Store>(options.statePath,
                                     readOnly_ ? Store::Access::kReadOnly : Store::Access::kWrite,
                                     options.sync);
    bool const holdsState = !store_->empty();
    if (holdsState && !options.importPath.empty()) {
      throw StoreError("state database " + options.statePath +
                       ": holds state already; --import loads into an empty store");
    }
    if (holdsState) {
      if (options.startAgent) {
        transcript_.comment("# state loaded from " + options.statePath);
      }
      auto const warnings = store_->load(*host_, monitor_);
      out.flush();
      warn("state database " + options.statePath, warnings);
    }
  }
  if (store_ && !readOnly_) {
    store_->follow(*host_, monitor_);  // from what it holds: an import is then written as a change
  }
  if (!options.importPath.empty()) {
    try {
      importState(*host_, options.importPath);
    } catch (...) {
      removeCreatedStore();
      throw;
    }
    out.flush();
    warn(options.importPath, checkPublished(*host_));
  }
  if (options.startAgent && !readOnly_) {
    host_->agentStart();
  }
  finish();
}

Session::~Session() = default;

void Session::warn(std::string const& source, std::vector<StateWarning> const& warnings) {
  for (auto const& w : warnings) {
    std::string const line =
        printable(fmt::format("{}: table {}, row {}: {}", source, w.table, w.row, w.text));
    if (warned_.insert(line).second) {
      err_ << "warning: " << line << '\n';
    }
  }
}

bool Session::refresh() {
  if (!store_ || !readOnly_ || !store_->changedSinceLoad()) {
    return false;
  }
  auto host = std::make_unique<Switch>();
  ResourceMonitor monitor;
  auto const warnings = store_->load(*host, monitor);
  host_ = std::move(host);
  monitor_ = std::move(monitor);
  ++generation_;
  transcript_.stream().flush();
  warn("state database " + store_->path(), warnings);
  return true;
}

void Session::removeCreatedStore() {
  if (!store_ || !store_->created()) {
    return;
  }
  std::string const path = store_->path();
  store_.reset();
  for (char const* suffix : {"", "-wal", "-shm", "-journal"}) {
    std::remove((path + suffix).c_str());
  }
}

void Session::finish() {
  transcript_.commandEnd();
  if (!readOnly_) {
    TimeNs const now = clock_.now();
    std::vector<FeedEvent> feed;
    for (ThresholdEvent const& event : monitor_.check(*host_, now)) {
      View const view = eventView(event);
      transcript_.view(view);
      feed.push_back({event.use.fapId, view.object.dump()});
      ++thresholdEvents_;
    }
    if (store_) {
      store_->commit(monitor_, feed, now);
    }
  }
  transcript_.stream().flush();
}

std::uint64_t Session::thresholdEventCount() const {
  return store_ ? store_->counts().thresholdEvents : thresholdEvents_;
}

std::optional<std::uint64_t> Session::committedChangeCount() const {
  if (!store_) {
    return std::nullopt;
  }
  return store_->counts().changes;
}

void Session::runLine(std::string_view line, bool echo) {
  std::lock_guard<std::mutex> const guard(mutex_);
  ++generation_;
  auto const first = line.find_first_not_of(" \t");
  auto const lineWords = words(line);
  if (lineWords.empty()) {
    // A comment of the scenario's author stays in the transcript.
    if (echo && first != std::string_view::npos && line[first] == '#') {
      transcript_.comment(line.substr(first));
    }
    return;
  }
  if (echo) {
    transcript_.command(line.substr(first));
  }
  try {
    refresh();
    Command const* const command = findCommand(lineWords[0]);
    if (command == nullptr) {
      throw ScenarioError(
          fmt::format("unknown command \"{}\" (\"help\" lists the commands)", lineWords[0]));
    }
    Arguments const arguments = readArguments(command->syntax, lineWords);
    if (readOnly_ && command->changesState) {
      throw ScenarioError(
          "the state is open read-only (--read-only): commands that change it are refused");
    }
    CommandContext context{*host_, transcript_, monitor_, columns_};
    command->run(context, arguments);
  } catch (...) {
    transcript_.commandEnd();
    throw;
  }
  finish();
}

bool Session::runLines(LineSource& lines, std::string const& name, InputMode mode) {
  bool ok = true;
  int number = 0;
  while (auto const line = lines.next()) {
    ++number;
    try {
      if (line->tooLong()) {
        throw ScenarioError(fmt::format("line of {} bytes is longer than the limit of {}",
                                        line->length, kMaxLineBytes));
      }
      runLine(line->text, mode.echo);
    } catch (StoreError const&) {
      throw;  // the store cannot keep up with the switch: nothing sensible can follow
    } catch (std::exception const& error) {
      transcript_.stream().flush();
      err_ << "error: " << printable(fmt::format("{}:{}: {}", name, number, error.what())) << '\n';
      ok = false;
      if (!mode.interactive) {
        return false;
      }
    }
  }
  return ok;
}

}  // namespace sim
