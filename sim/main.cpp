// macsec-index-sim: runs the MACsec index manager in a simulated switch, driven by scenarios.
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/Completion.h"
#include "sim/Input.h"
#include "sim/Output.h"
#include "sim/Scenario.h"
#include "sim/SimHost.h"
#include "sim/StateCheck.h"
#include "sim/StateJson.h"
#include "sim/Store.h"
#include "sim/Views.h"

namespace {

constexpr char const kUsage[] =
    R"(usage: macsec-index-sim [options] [scenario files...]

Runs the MACsec hardware index manager in a simulated switch and drives it with the commands of
the scenario files, in order, or of standard input when no file is given. Each command is echoed
("> ..."), followed by what it caused: log messages ("log ..."), traces when switched on
("trace ..."), and the tables of "show".

When standard input and output are a terminal and no file is given, commands are typed at the
prompt "macsec-index-sim> " with line editing, a history (up arrow) and TAB completion of commands
and interface names; they are not echoed again.

Options:
  --state <file>     keeps the switch's shared state (chip policies, logical FAPs and their
                     interfaces, MACsec status, published index status) in the SQLite database
                     <file>, created when missing: loaded at start, before the agent starts, and
                     written after every command, one transaction per command. Two runs over one
                     database behave as one switch whose agent restarted in between. One writer
                     at a time; readers (sqlite3, --read-only) may look on meanwhile.
  --read-only        opens the database only to read it: the agent does not start and commands
                     that change state are refused (show and trace work).
  --synchronous normal|full
                     normal (default): a crash of the simulator loses no command; a power loss
                     may lose the last ones. full: a power loss loses none either (one flush to
                     disk per command).
  --import <json>    loads a JSON state (as --export writes it) into the empty store, or into the
                     switch when there is no --state, before the agent starts.
  --export <json>    writes the shared state as JSON once the commands ran ("-": standard output).
  --json             writes the whole transcript as JSON, one object per line (JSON Lines): the
                     commands, log messages, traces, warnings, events and views.
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
  std::string statePath;
  bool readOnly = false;
  bool json = false;
  sim::Store::Sync sync = sim::Store::Sync::kNormal;
  std::string importPath;
  std::string exportPath;
  std::vector<std::string> files;
};

// The simulated switch, and the store that keeps its state (if any).
struct Session {
  sim::SimHost& host;
  sim::Store* store;
  bool readOnly;

  void run(sim::Command const& command) {
    if (readOnly && sim::SimHost::changesState(command)) {
      throw sim::ScenarioError(
          "the state is open read-only (--read-only): commands that change it are refused");
    }
    host.run(command);
    commit();
  }
  // Writes what the last command changed; its transcript follows once it is stored.
  void commit() const {
    if (store != nullptr) {
      store->commit();
    }
    std::cout.flush();
  }
};

// `text` with every byte that is not printable ASCII written as \xNN, so that an error shows the
// offending input as it was, whatever it holds.
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

// Writes one error line to standard error, after the transcript so far.
void printError(std::string_view what) {
  std::cout.flush();
  std::cerr << "error: " << printable(what) << '\n';
}

void printWarnings(std::string const& source, std::vector<sim::StateWarning> const& warnings) {
  std::cout.flush();
  for (auto const& w : warnings) {
    std::cerr << "warning: "
              << printable(fmt::format("{}: table {}, row {}: {}", source, w.table, w.row, w.text))
              << '\n';
  }
}

// How commands are read. A script stops at its first error; an interactive session goes on. At a
// terminal the person's own typing shows the command, so it is not echoed.
struct InputMode {
  bool interactive;
  bool echo;
};

// Runs one line: a command or a comment. Throws what the command throws.
void runLine(sim::InputLine const& line, InputMode mode, Session& session) {
  if (line.tooLong()) {
    throw sim::ScenarioError(fmt::format("line of {} bytes is longer than the limit of {}",
                                         line.length, sim::kMaxLineBytes));
  }
  std::string const& text = line.text;
  auto const first = text.find_first_not_of(" \t");
  auto const command = sim::parseLine(text);
  if (!command) {
    // A comment of the scenario's author stays in the transcript.
    if (mode.echo && first != std::string::npos && text[first] == '#') {
      session.host.transcript().comment(text.substr(first));
    }
    return;
  }
  if (mode.echo) {
    session.host.transcript().command(text.substr(first));
  }
  session.run(*command);
}

// Runs the commands of one input; `name` names it in errors. Returns whether every command
// applied.
bool runInput(sim::LineSource& lines, std::string const& name, InputMode mode, Session& session) {
  bool ok = true;
  int number = 0;
  while (auto const line = lines.next()) {
    ++number;
    try {
      runLine(*line, mode, session);
    } catch (sim::StoreError const&) {
      throw;  // the store cannot keep up with the switch: nothing sensible can follow
    } catch (std::exception const& error) {
      printError(fmt::format("{}:{}: {}", name, number, error.what()));
      ok = false;
      if (!mode.interactive) {
        return false;
      }
    }
  }
  return ok;
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
    std::cerr << "macsec-index-sim: " << printable(what) << " (see --help)\n";
    return 2;
  };
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
      options.json = true;
      continue;
    }
    if (argument == "--read-only") {
      options.readOnly = true;
      continue;
    }
    std::string* const value = argument == "--state"    ? &options.statePath
                               : argument == "--import" ? &options.importPath
                               : argument == "--export" ? &options.exportPath
                                                        : nullptr;
    if (value != nullptr || argument == "--synchronous") {
      if (i + 1 == argc) {
        return usageError(argument + " needs a value");
      }
      std::string const given = argv[++i];
      if (value != nullptr) {
        *value = given;
      } else if (given == "normal" || given == "full") {
        options.sync = given == "full" ? sim::Store::Sync::kFull : sim::Store::Sync::kNormal;
      } else {
        return usageError("--synchronous takes normal or full, not " + given);
      }
      continue;
    }
    if (!argument.empty() && argument[0] == '-' && argument != "-") {
      return usageError("unknown option " + argument);
    }
    options.files.push_back(argument);
  }
  if (options.readOnly && (options.statePath.empty() || !options.importPath.empty())) {
    return usageError("--read-only reads a --state database and cannot --import into it");
  }
  return -1;
}

// Runs the commands of standard input: typed at the terminal when standard input and output are
// one, else read as they come. Returns whether every command applied.
bool runStandardInput(sim::SimHost const& host, Session& session) {
  bool const interactive = isatty(STDIN_FILENO) != 0;
  if (interactive && isatty(STDOUT_FILENO) != 0) {
    sim::Terminal terminal("macsec-index-sim> ",
                           [&host](std::string_view lineBeforeCursor, std::string_view word) {
                             return sim::completions(host, lineBeforeCursor, word);
                           });
    return runInput(terminal, "<stdin>", {true, false}, session);
  }
  sim::StreamLines lines(std::cin);
  return runInput(lines, "<stdin>", {interactive, true}, session);
}

// Opens the store, loads it, imports and starts the agent as the options ask, runs the commands
// and exports. Errors of the state (store, files) and unreadable scenario files escape as
// exceptions.
int runSession(Options const& options) {
  // Every scenario file is tried before anything runs, so that a misspelt name changes nothing.
  for (std::string const& file : options.files) {
    openScenario(file);
  }
  sim::SimHost host(std::cout,
                    options.json ? sim::Transcript::Format::kJson : sim::Transcript::Format::kText);
  sim::TranscriptSinks sinks(host.transcript());
  std::unique_ptr<sim::Store> store;
  bool const commands =
      options.files.size() > 0 || (options.importPath.empty() && options.exportPath.empty());
  if (!options.statePath.empty()) {
    store = std::make_unique<sim::Store>(
        options.statePath,
        options.readOnly ? sim::Store::Access::kReadOnly : sim::Store::Access::kWrite,
        options.sync);
    bool const holdsState = !store->empty();
    if (holdsState && !options.importPath.empty()) {
      throw sim::StoreError("state database " + options.statePath +
                            ": holds state already; --import loads into an empty store");
    }
    if (holdsState) {
      if (commands) {
        host.transcript().comment("# state loaded from " + options.statePath);
      }
      printWarnings("state database " + options.statePath, store->load(host));
    }
    if (!options.readOnly) {
      store->follow(host);
    }
  }
  if (!options.importPath.empty()) {
    sim::importState(host, options.importPath);
    printWarnings(options.importPath, sim::checkPublished(host));
  }
  Session session{host, store.get(), options.readOnly};
  if (commands && !options.readOnly) {
    host.agentStart();
  }
  session.commit();

  bool ok = true;
  if (commands && options.files.empty()) {
    ok = runStandardInput(host, session);
  }
  for (std::string const& file : options.files) {
    std::ifstream in = openScenario(file);
    sim::StreamLines lines(in);
    if (!runInput(lines, file, {false, true}, session)) {
      return 1;
    }
  }
  if (!options.exportPath.empty()) {
    sim::exportState(host, options.exportPath);
  }
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  int const status = parseOptions(argc, argv, options);
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
