// A run of the simulator: the switch, the store that keeps its state, the transcript, and the
// commands read from scenario files, a pipe or a terminal.
//
// The session owns the switch and (with a state database) the store. Opening it loads the store or
// imports a JSON state, then starts the agent: that start-up is a step of its own in the
// transcript, with its log summary and threshold events, before the first command. Each command
// line is read against the command table, refused when the session is read-only and the command
// changes state, run, and then its transcript is ended (log summary, threshold events) and what it
// changed is committed to the store before the next line is read.
//
// A session runs its commands on one thread. Another thread (the metrics server) may read it
// meanwhile, holding lock() while it reads: a line runs under the same lock, so that thread sees
// the state between two commands, never in the middle of one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <string_view>

#include "sim/model/Clock.h"
#include "sim/model/Monitor.h"
#include "sim/model/Switch.h"
#include "sim/session/LineSource.h"
#include "sim/session/Transcript.h"
#include "sim/store/Store.h"
#include "sim/views/Views.h"

namespace sim {

struct SessionOptions {
  std::string statePath;  // empty: no store, the state lives in memory
  bool readOnly = false;  // open the store only to read it; the agent does not start
  Store::Sync sync = Store::Sync::kNormal;
  std::string importPath;  // a JSON state to load into the empty store (or memory) first
  bool startAgent = true;  // start the agent (unless read-only)
  Transcript::Format format = Transcript::Format::kText;
  // The clock's start when pinned (see Clock.h); none: the system clock.
  std::optional<TimeNs> clock;
  // How wide the transcript's tables may be (a terminal's width).
  std::size_t columns = 80;
};

// How a source's lines are run. A script stops at its first error; an interactive session goes
// on. At a terminal the person's own typing shows the command, so it is not echoed.
struct InputMode {
  bool interactive;
  bool echo;
};

class Session {
 public:
  // Opens the session: the store, the state it holds or the import, the agent. The transcript
  // goes to `out`; warnings about loaded state and command errors to `err`. Throws StoreError or
  // StateFileError when the state cannot be opened, read or written.
  Session(SessionOptions const& options, std::ostream& out, std::ostream& err);
  ~Session();
  Session(Session const&) = delete;
  Session& operator=(Session const&) = delete;

  // The switch. A reader's is replaced when refresh() loads the state again: keep no reference to
  // it across lines.
  Switch& host() { return *host_; }
  Switch const& host() const { return *host_; }
  Transcript& transcript() { return transcript_; }
  ResourceMonitor& monitor() { return monitor_; }
  Snapshot snapshot() const { return {*host_, monitor_}; }

  // For a reader of a state database: loads the state again when a writer has committed since it
  // was last read (one query when none has), so that what it shows follows the writer. Runs before
  // each command; another thread may call it holding lock(). Returns whether it loaded. Does
  // nothing for a writer or without a database. Throws StoreError when the database cannot be read,
  // keeping the state read before. Warnings about the loaded state are written once each.
  bool refresh();
  // Changes whenever what the session shows may have changed: a line ran or the state was loaded
  // again.
  std::uint64_t generation() const { return generation_; }

  // Keeps every line from running while the lock is held; held by runLine while a line runs.
  std::unique_lock<std::mutex> lock() const { return std::unique_lock<std::mutex>(mutex_); }
  // The threshold events reported: by every writer of the state database, or without one by this
  // session since it opened.
  std::uint64_t thresholdEventCount() const;
  // The changes of published records that every writer of the state database committed (the set
  // and del entries of its change feed, pruned ones included); none without a state database.
  std::optional<std::uint64_t> committedChangeCount() const;

  // Runs one line: a command, or a comment (kept in the transcript when `echo`). Throws what the
  // command throws (ScenarioError, RefusedError), having changed nothing, or StoreError when the
  // store cannot keep what the command changed.
  void runLine(std::string_view line, bool echo);

  // Runs every line of `lines`; `name` names the source in errors ("error: <name>:<line>: ...").
  // Returns whether every line ran. Throws StoreError, ending the run, when the store fails.
  bool runLines(LineSource& lines, std::string const& name, InputMode mode);

 private:
  // Ends a command (or the start-up): the log summary, and for a writer the monitor's events and
  // the commit, at one reading of the clock.
  void finish();
  // Writes the warnings not written before.
  void warn(std::string const& source, std::vector<StateWarning> const& warnings);
  // Closes the store and removes its files when this session created it (a refused import
  // leaves nothing behind).
  void removeCreatedStore();

  std::ostream& err_;
  std::unique_ptr<Switch> host_;
  Transcript transcript_;
  TranscriptSinks sinks_;
  ResourceMonitor monitor_;
  Clock clock_;
  std::unique_ptr<Store> store_;
  bool const readOnly_;
  std::size_t const columns_;
  std::uint64_t thresholdEvents_ = 0;
  std::uint64_t generation_ = 0;
  std::set<std::string> warned_;  // the warnings written, each once
  mutable std::mutex mutex_;
};

// `text` with every byte that is not printable ASCII written as \xNN, so that an error shows the
// offending input as it was, whatever it holds.
std::string printable(std::string_view text);

}  // namespace sim
