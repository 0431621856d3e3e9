// macsec-index-sim: runs the MACsec index manager in a simulated switch, driven by scenarios.
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "sim/Output.h"
#include "sim/Scenario.h"
#include "sim/SimHost.h"
#include "sim/StateCheck.h"
#include "sim/StateJson.h"
#include "sim/Store.h"

namespace {

constexpr char const kUsage[] =
    R"(usage: macsec-index-sim [options] [scenario files...]

Runs the MACsec hardware index manager in a simulated switch and drives it with the commands of
the scenario files, in order, or of standard input when no file is given. Each command is echoed
("> ..."), followed by what it caused: log messages ("log ..."), traces when switched on
("trace ..."), and the tables of "show".

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
  --help             prints this text.
With --import or --export and no scenario file, no commands are read and the agent does not start:
the simulator only moves state between JSON and the database.

Commands (one per line, # starts a comment):
  chip <fap> [engines=<n>] [size=<n>] [esec-disabled=<n>] [per-port-disabled=yes|no]
             [static=yes|no]      a FAP's chip policy (fixed while the FAP exists)
  fap add <fap> [<interfaces>...]  fap del <fap>
  intf add|del <fap> <interfaces>...
  macsec on|off <interfaces>...
  show [<fap>]
  trace <levels>|off               levels like 1,4 or 0-9 or all
  agent stop|start|restart
Interfaces: Ethernet<N>, Ethernet<N>.<M>, and ranges such as Ethernet1-48 or Ethernet1-4.1-100.

A bad command is reported with its file and line; a script then stops (exit status 1), while an
interactive session goes on. Exit status 2: a usage error.
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
      throw sim::ScenarioError("the state is open read-only (--read-only): only show and trace");
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

void printWarnings(std::string const& source, std::vector<sim::StateWarning> const& warnings) {
  std::cout.flush();
  for (auto const& w : warnings) {
    std::cerr << "warning: " << source << ": table " << w.table << ", row " << w.row << ": "
              << w.text << '\n';
  }
}

// Runs the commands of one input. Returns false when a script stopped at an error.
bool runInput(std::istream& in, std::string const& name, bool interactive, Session& session) {
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    try {
      auto const command = sim::parseLine(line);
      if (!command) {
        // A comment of the scenario's author stays in the transcript.
        auto const first = line.find_first_not_of(" \t");
        if (first != std::string::npos && line[first] == '#') {
          session.host.transcript().comment(line.substr(first));
        }
        continue;
      }
      session.host.transcript().command(line.substr(line.find_first_not_of(" \t")));
      session.run(*command);
    } catch (sim::StoreError const&) {
      throw;  // the store cannot keep up with the switch: nothing sensible can follow
    } catch (std::exception const& error) {
      std::cout.flush();
      std::cerr << "error: " << name << ":" << number << ": " << error.what() << '\n';
      if (!interactive) {
        return false;
      }
    }
  }
  return true;
}

// Reads the options; returns the exit status of a usage error or of --help, or -1 to go on.
int parseOptions(int argc, char** argv, Options& options) {
  auto const usageError = [](std::string const& what) {
    std::cerr << "macsec-index-sim: " << what << "\n" << kUsage;
    return 2;
  };
  for (int i = 1; i < argc; ++i) {
    std::string const argument = argv[i];
    if (argument == "--help" || argument == "-h") {
      std::cout << kUsage;
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

// Opens the store, loads it, imports and starts the agent as the options ask, runs the commands
// and exports. Errors of the state (store, files) escape as exceptions.
int runSession(Options const& options) {
  sim::SimHost host(std::cout, options.json ? sim::Transcript::Format::kJson
                                            : sim::Transcript::Format::kText);
  sim::TranscriptSinks sinks(host.transcript());
  std::unique_ptr<sim::Store> store;
  bool const commands = options.files.size() > 0 ||
                        (options.importPath.empty() && options.exportPath.empty());
  if (!options.statePath.empty()) {
    store = std::make_unique<sim::Store>(
        options.statePath, options.readOnly ? sim::Store::Access::kReadOnly : sim::Store::Access::kWrite,
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
    bool const interactive = isatty(STDIN_FILENO) != 0;
    ok = runInput(std::cin, "<stdin>", interactive, session);
  }
  for (std::string const& file : options.files) {
    std::ifstream in(file);
    if (!in) {
      std::cerr << "error: cannot read " << file << '\n';
      return 1;
    }
    if (!runInput(in, file, false, session)) {
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
    std::cout.flush();
    std::cerr << "error: " << error.what() << '\n';
    return 1;
  }
}
