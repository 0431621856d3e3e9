// macsec-index-sim: runs the MACsec index manager in a simulated switch, driven by scenarios.
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "sim/Output.h"
#include "sim/Scenario.h"
#include "sim/SimHost.h"
#include "sim/StateFile.h"

namespace {

constexpr char const kUsage[] =
    R"(usage: macsec-index-sim [--help] [--state <file>] [scenario files...]

Runs the MACsec hardware index manager in a simulated switch and drives it with the commands of
the scenario files, in order, or of standard input when no file is given. Each command is echoed
("> ..."), followed by what it caused: log messages ("log ..."), traces when switched on
("trace ..."), and the tables of "show".

--state <file>  keeps the switch's shared state (chip policies, logical FAPs and their interfaces,
                MACsec status, published index status) in <file>: loaded at start when the file
                exists, before the agent starts, and saved after every command that changes it.
                Two runs over one file behave as one switch whose agent restarted in between.

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
interactive session goes on.
)";

// The simulated switch, and the file that keeps its state between runs (if any).
struct Session {
  sim::SimHost& host;
  std::string statePath;

  void save() const {
    if (!statePath.empty()) {
      sim::saveState(host, statePath);
    }
  }
  void run(sim::Command const& command) {
    host.run(command);
    if (sim::SimHost::changesState(command)) {
      save();
    }
  }
};

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
          std::cout << line.substr(first) << '\n';
        }
        continue;
      }
      std::cout << "> " << line.substr(line.find_first_not_of(" \t")) << '\n';
      session.run(*command);
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

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> files;
  std::string statePath;
  for (int i = 1; i < argc; ++i) {
    std::string const argument = argv[i];
    if (argument == "--help" || argument == "-h") {
      std::cout << kUsage;
      return 0;
    }
    if (argument == "--state") {
      if (i + 1 == argc) {
        std::cerr << "macsec-index-sim: --state needs a file\n" << kUsage;
        return 2;
      }
      statePath = argv[++i];
      continue;
    }
    if (!argument.empty() && argument[0] == '-') {
      std::cerr << "macsec-index-sim: unknown option " << argument << "\n" << kUsage;
      return 2;
    }
    files.push_back(argument);
  }

  sim::TranscriptSinks sinks(std::cout);
  sim::SimHost host(std::cout);
  Session session{host, statePath};
  try {
    if (!statePath.empty() && sim::loadState(host, statePath)) {
      std::cout << "# state loaded from " << statePath << '\n';
    }
    host.agentStart();
    session.save();
  } catch (std::exception const& error) {
    std::cout.flush();
    std::cerr << "error: " << error.what() << '\n';
    return 1;
  }

  if (files.empty()) {
    bool const interactive = isatty(STDIN_FILENO) != 0;
    return runInput(std::cin, "<stdin>", interactive, session) ? 0 : 1;
  }
  for (std::string const& file : files) {
    std::ifstream in(file);
    if (!in) {
      std::cerr << "error: cannot read " << file << '\n';
      return 1;
    }
    if (!runInput(in, file, false, session)) {
      return 1;
    }
  }
  return 0;
}
