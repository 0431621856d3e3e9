// macsec-index-sim: runs the MACsec index manager in a simulated switch, driven by scenarios.
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/language/Words.h"
#include "sim/metrics/MetricsServer.h"
#include "sim/metrics/SessionMetrics.h"
#include "sim/model/Clock.h"
#include "sim/session/Commands.h"
#include "sim/session/Completion.h"
#include "sim/session/Session.h"
#include "sim/store/Feed.h"
#include "sim/store/StateJson.h"
#include "sim/terminal/Terminal.h"

namespace {

constexpr char const kUsage[] =
    R"(usage: macsec-index-sim [options] [scenario files...]

Runs the MACsec hardware index manager in a simulated switch and drives it with the commands of
the scenario files, in order, or of standard input when no file is given. Each command is echoed
("> ..."), followed by what it caused: log messages ("log ..."), traces when switched on
("trace ..."), and the tables of "show".

When standard input and output are a terminal and no file is given, commands are typed at the
prompt "macsec-index-sim> " with line editing, a history (up arrow) and TAB completion of commands
and interface names; they are not echoed again. Ctrl-C abandons the line being typed, Ctrl-D ends
the session. The last 1000 commands are kept in $XDG_STATE_HOME/macsec-index-sim/history
(~/.local/state/macsec-index-sim/history when XDG_STATE_HOME is unset or empty) for the next
session.

Options:
  --state <file>     keeps the switch's shared state (chip policies, logical FAPs and their
                     interfaces, MACsec status, published index status) in the SQLite database
                     <file>, created when missing: loaded at start, before the agent starts, and
                     written after every command, one transaction per command. Two runs over one
                     database behave as one switch whose agent restarted in between. One writer
                     at a time; readers (sqlite3, --read-only) may look on meanwhile.
  --read-only        opens the database only to read it: the agent does not start and commands
                     that change state are refused (show and trace work). Before each command
                     the state is read again if a writer has committed since.
  --synchronous normal|full
                     normal (default): a crash of the simulator loses no command; a power loss
                     may lose the last ones. full: a power loss loses none either (one flush to
                     disk per command).
  --import <json>    loads a JSON state (as --export writes it) into the empty store, or into the
                     switch when there is no --state, before the agent starts.
  --export <json>    writes the shared state as JSON once the commands ran ("-": standard output).
  --json             writes the whole transcript as JSON, one object per line (JSON Lines): the
                     commands, log messages, traces, warnings, events and views.
  --follow           with --state: prints the database's change feed as JSON Lines, every change
                     of the published records and every threshold event as writers commit them,
                     until killed; from now on, or after --since <seq>. Runs no commands.
  --since <seq>      with --follow: starts after the entry <seq> (0: from the oldest kept).
  --clock <time>     pins the clock (RFC 3339, e.g. 2026-01-01T00:00:00Z): the first command
                     runs at <time> and each one after it a second later, so that times in
                     events and high-watermarks repeat from run to run. The environment variable
                     MACSEC_INDEX_SIM_CLOCK does the same; the option wins.
  --metrics <host>:<port>
                     serves Prometheus metrics at http://<host>:<port>/metrics while the
                     simulator runs: the use of every table, the refused interfaces, the
                     threshold events and the committed changes. A reader (--read-only) reads
                     the database at each scrape and, with no scenario file and standard input
                     not a terminal, reads no commands: it serves until SIGTERM or SIGINT.
  --help             prints this text and the commands.
  --version          prints the version.
With --import or --export and no scenario file, no commands are read and the agent does not start:
the simulator only moves state between JSON and the database.

A bad command is reported as "error: <file>:<line>: <what>"; a script stops there, while an
interactive session goes on. Lines longer than 65536 bytes are refused.
Exit status: 0 when every command applied; 1 when a command failed (in an interactive session too,
at its end) or a file or the state database could not be read or written; 2 for a usage error.
)";

struct Options {
  sim::SessionOptions session;
  bool follow = false;
  std::optional<std::int64_t> since;
  std::string exportPath;
  std::string metrics;  // the endpoint, "<host>:<port>"; empty: no metrics
  std::vector<std::string> files;
};

// Writes one error line to standard error, after the transcript so far.
void printError(std::string_view what) {
  std::cout.flush();
  std::cerr << "error: " << sim::printable(what) << '\n';
}

// Opens a scenario file. Only regular files are read: a directory, FIFO, socket or device is
// refused by what it is, before it is opened. Throws std::runtime_error naming the file and the
// reason.
std::ifstream openScenario(std::string const& file) {
  auto const refuse = [&](std::string const& reason) {
    return std::runtime_error("cannot read scenario file " + file + ": " + reason);
  };
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) {
    throw refuse(std::strerror(errno));
  }
  if (S_ISDIR(status.st_mode)) {
    throw refuse("it is a directory, not a regular file");
  }
  if (S_ISFIFO(status.st_mode)) {
    throw refuse("it is a FIFO, not a regular file (pipe the commands to standard input)");
  }
  if (!S_ISREG(status.st_mode)) {
    throw refuse(S_ISSOCK(status.st_mode) ? "it is a socket, not a regular file"
                                          : "it is a device, not a regular file");
  }
  std::ifstream in(file);
  if (!in) {
    throw refuse(std::strerror(errno));
  }
  return in;
}

// Reads the options; returns the exit status of a usage error or of --help, or -1 to go on.
int parseOptions(int argc, char** argv, Options& options) {
  auto const usageError = [](std::string const& what) {
    std::cerr << "macsec-index-sim: " << sim::printable(what) << " (see --help)\n";
    return 2;
  };
  sim::SessionOptions& session = options.session;
  std::string clock;
  for (int i = 1; i < argc; ++i) {
    std::string const argument = argv[i];
    if (argument == "--help" || argument == "-h") {
      std::cout << kUsage << '\n' << sim::helpView("").text;
      return 0;
    }
    if (argument == "--version") {
      std::cout << "macsec-index-sim " << MACSEC_INDEX_SIM_VERSION << '\n';
      return 0;
    }
    if (argument == "--json") {
      session.format = sim::Transcript::Format::kJson;
      continue;
    }
    if (argument == "--read-only") {
      session.readOnly = true;
      continue;
    }
    if (argument == "--follow") {
      options.follow = true;
      continue;
    }
    std::string* const value = argument == "--state"     ? &session.statePath
                               : argument == "--import"  ? &session.importPath
                               : argument == "--export"  ? &options.exportPath
                               : argument == "--clock"   ? &clock
                               : argument == "--metrics" ? &options.metrics
                                                         : nullptr;
    if (value != nullptr || argument == "--synchronous" || argument == "--since") {
      if (i + 1 == argc) {
        return usageError(argument + " needs a value");
      }
      std::string const given = argv[++i];
      if (value != nullptr) {
        *value = given;
      } else if (argument == "--since") {
        try {
          options.since = std::int64_t(sim::number(given, 0, INT64_MAX, "--since"));
        } catch (std::exception const& error) {
          return usageError(error.what());
        }
      } else if (given == "normal" || given == "full") {
        session.sync = given == "full" ? sim::Store::Sync::kFull : sim::Store::Sync::kNormal;
      } else {
        return usageError("--synchronous takes normal or full, not " + given);
      }
      if (argument == "--metrics") {
        try {
          sim::parseEndpoint(given);
        } catch (std::invalid_argument const& error) {
          return usageError("--metrics: " + std::string(error.what()));
        }
      }
      continue;
    }
    if (!argument.empty() && argument[0] == '-' && argument != "-") {
      return usageError("unknown option " + argument);
    }
    options.files.push_back(argument);
  }
  if (session.readOnly && (session.statePath.empty() || !session.importPath.empty())) {
    return usageError("--read-only reads a --state database and cannot --import into it");
  }
  if (options.follow &&
      (session.statePath.empty() || !session.importPath.empty() || !options.exportPath.empty() ||
       !options.files.empty() || !options.metrics.empty())) {
    return usageError("--follow reads the change feed of a --state database and runs nothing else");
  }
  if (options.since && !options.follow) {
    return usageError("--since goes with --follow");
  }
  if (clock.empty() && std::getenv("MACSEC_INDEX_SIM_CLOCK") != nullptr) {
    clock = std::getenv("MACSEC_INDEX_SIM_CLOCK");
  }
  if (!clock.empty()) {
    try {
      session.clock = sim::parseRfc3339(clock);
    } catch (sim::TimeError const& error) {
      return usageError(std::string("--clock: ") + error.what());
    }
  }
  // With --import or --export and no scenario file the simulator only moves state.
  session.startAgent =
      !options.files.empty() || (session.importPath.empty() && options.exportPath.empty());
  return -1;
}

// How wide standard output is: a terminal's width, else 80 columns.
std::size_t terminalColumns() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 0 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 &&
      size.ws_col > 0) {
    return size.ws_col;
  }
  return 80;
}

// Where the terminal keeps its history between sessions, by the XDG base directory convention:
// $XDG_STATE_HOME/macsec-index-sim/history, or under ~/.local/state when XDG_STATE_HOME is not an
// absolute path (unset or empty); nowhere when there is no home either.
std::string historyPath() {
  char const* const state = std::getenv("XDG_STATE_HOME");
  if (state != nullptr && state[0] == '/') {
    return std::string(state) + "/macsec-index-sim/history";
  }
  char const* const home = std::getenv("HOME");
  if (home != nullptr && home[0] != '\0') {
    return std::string(home) + "/.local/state/macsec-index-sim/history";
  }
  return "";
}

// Runs the commands of standard input: typed at the terminal when standard input and output are
// one, else read as they come. Returns whether every command applied.
bool runStandardInput(sim::Session& session) {
  bool const interactive = isatty(STDIN_FILENO) != 0;
  if (interactive && isatty(STDOUT_FILENO) != 0) {
    sim::Terminal terminal(
        "macsec-index-sim> ",
        [&session](std::string_view lineBeforeCursor, std::string_view word) {
          auto const lock = session.lock();  // the metrics server reads it too
          return sim::completions(session.host(), lineBeforeCursor, word);
        },
        historyPath());
    return session.runLines(terminal, "<stdin>", {true, false});
  }
  sim::StreamLines lines(std::cin);
  return session.runLines(lines, "<stdin>", {interactive, true});
}

// A reader with metrics and no commands to read serves until it is told to stop.
bool servesUntilStopped(Options const& options) {
  return options.session.readOnly && !options.metrics.empty() && options.files.empty() &&
         options.exportPath.empty() && isatty(STDIN_FILENO) == 0;
}

// The signals that end a reader serving metrics. They are blocked before the metrics server's
// threads start, which inherit the mask, so that only sigwait takes them.
sigset_t blockStopSignals() {
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);
  return stop;
}

// Serves the metrics of `session`: a writer's own state, or what a reader's database holds at
// each scrape.
std::optional<sim::MetricsServer> serveMetrics(Options const& options, sim::Session& session) {
  if (options.metrics.empty()) {
    return std::nullopt;
  }
  auto const metrics = std::make_shared<sim::SessionMetrics>(session);
  return std::make_optional<sim::MetricsServer>(options.metrics,
                                                [metrics] { return metrics->input(); });
}

// Opens the session, runs the commands and exports. Errors of the state (store, files), of the
// metrics endpoint and unreadable scenario files escape as exceptions.
int runSession(Options const& options) {
  if (options.follow) {
    sim::FollowOptions follow;
    follow.since = options.since;
    sim::followFeed(options.session.statePath, follow, std::cout);
    return 0;
  }
  // Every scenario file is tried before anything runs, so that a misspelt name changes nothing.
  for (std::string const& file : options.files) {
    openScenario(file);
  }
  bool const serveOnly = servesUntilStopped(options);
  sigset_t const stop = serveOnly ? blockStopSignals() : sigset_t{};
  sim::Session session(options.session, std::cout, std::cerr);
  // Declared after the session, so that it stops serving before the session goes.
  std::optional<sim::MetricsServer> const metrics = serveMetrics(options, session);
  if (serveOnly) {
    int received = 0;
    sigwait(&stop, &received);
    return 0;
  }
  bool ok = true;
  if (options.session.startAgent && options.files.empty()) {
    ok = runStandardInput(session);
  }
  for (std::string const& file : options.files) {
    std::ifstream in = openScenario(file);
    sim::StreamLines lines(in);
    if (!session.runLines(lines, file, {false, true})) {
      return 1;
    }
  }
  if (!options.exportPath.empty()) {
    auto const lock = session.lock();  // the metrics server may be reading the state
    sim::exportState(session.host(), options.exportPath);
  }
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int const status = parseOptions(argc, argv, options);
  options.session.columns = terminalColumns();
  if (status >= 0) {
    return status;
  }
  try {
    return runSession(options);
  } catch (std::exception const& error) {
    printError(error.what());
    return 1;
  }
}
