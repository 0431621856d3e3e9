// The simulator program as people run it: at a terminal (a pseudo-terminal here) with a prompt,
// a history kept between sessions, completion and Ctrl-C, and on files and pipes, where bad input
// gets one clear line and the exit status tells what happened.
#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

using ::testing::ContainsRegex;
using ::testing::EndsWith;
using ::testing::Pair;

// A shell command, by default the simulator alone, on a pseudo-terminal, with a home of its own
// (no ~/.editrc), `stateHome` for the history and a plain xterm.
class TerminalRun {
 public:
  explicit TerminalRun(std::string const& stateHome,
                       std::string const& command = "exec " SIM_PROGRAM) {
    std::string home = "HOME=" + ::testing::TempDir(), state = "XDG_STATE_HOME=" + stateHome,
                term = "TERM=xterm";
    char* const env[] = {home.data(), state.data(), term.data(), nullptr};
    pid_ = forkpty(&fd_, nullptr, nullptr, nullptr);
    if (pid_ == 0) {
      execle("/bin/sh", "sh", "-c", command.c_str(), nullptr, env);
      _exit(127);
    }
  }
  ~TerminalRun() {
    if (pid_ > 0 && ::kill(pid_, SIGKILL) == 0) {
      ::waitpid(pid_, nullptr, 0);
    }
    ::close(fd_);
  }

  // Waits for the prompt and for line editing to take over, then types `keys`. False if no prompt
  // came within ten seconds.
  bool type(std::string const& keys) {
    bool const prompted = await("macsec-index-sim> ");
    // libedit prompts before it sets raw mode; keys sent earlier would meet cooked mode.
    termios mode{};
    for (int wait = 0;
         prompted && wait < 10000 && ::tcgetattr(fd_, &mode) == 0 && (mode.c_lflag & ICANON);
         ++wait) {
      ::usleep(1000);
    }
    return prompted && send(keys);
  }
  // Types `keys` at once.
  bool send(std::string const& keys) {
    return ::write(fd_, keys.data(), keys.size()) == ssize_t(keys.size());
  }
  // Reads what the program writes until `text` appears after what was awaited before, or until
  // the program ends or is silent for ten seconds; returns whether `text` appeared.
  bool await(std::string const& text) {
    for (;;) {
      if (auto const found = screen.find(text, seen_); found != std::string::npos) {
        seen_ = found + text.size();
        return true;
      }
      pollfd ready{fd_, POLLIN, 0};
      char buffer[4096];
      bool const readable = ::poll(&ready, 1, 10000) == 1;
      ssize_t const n = readable ? ::read(fd_, buffer, sizeof buffer) : 0;
      if (n <= 0) {
        closed_ = readable;  // readable yet empty: the program's side closed, it ended
        return false;
      }
      screen.append(buffer, std::size_t(n));
    }
  }
  // Ends the input with Ctrl-D at the prompt; returns the exit status, or -1 if the program did
  // not end by itself.
  int finish() {
    type("\x04");
    await(std::string(1, '\0'));  // never written: reads to the end
    int status = -1;
    bool const ended = closed_ && ::waitpid(pid_, &status, 0) == pid_;
    pid_ = ended ? -1 : pid_;  // else the destructor kills it
    return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::string screen;

 private:
  int fd_ = -1;
  pid_t pid_ = -1;
  std::size_t seen_ = 0;
  bool closed_ = false;
};

// A fresh directory for the test's files, removed with them at the end.
struct Scratch {
  std::string const path = ::testing::TempDir() + "program-" + std::to_string(::getpid());
  Scratch() { std::filesystem::remove_all(path); }
  ~Scratch() { std::filesystem::remove_all(path); }
};

TEST(SimProgram, ATerminalSessionPromptsRecallsCompletesAbandonsOnCtrlCAndEndsWithOneAfterAnError) {
  Scratch const state;
  TerminalRun run(state.path);
  // More interfaces than completion lists: Ethernet2.1-250 must not make "Ether" "Ethernet2.".
  ASSERT_TRUE(run.type("fap add 1 Ethernet2.1-250 Ethernet7 Ethernet12\r"));
  ASSERT_TRUE(run.type("mac\ton Ether\t7 Ethernet1\t\r"));  // macsec on Ethernet7 Ethernet12
  ASSERT_TRUE(run.type("show 1\r"));
  ASSERT_TRUE(run.type("fap del 1"));  // abandoned: neither run, nor counted, nor recalled
  ASSERT_TRUE(run.await("fap del 1") && run.send("\x03"));
  ASSERT_TRUE(run.await("^C\r\n"));
  ASSERT_TRUE(run.type("  \r"));      // a blank line stays out of the history
  ASSERT_TRUE(run.type("\x1b[A\r"));  // so the up arrow recalls "show 1"
  ASSERT_TRUE(run.type("intf add 9 Ethernet1\r"));
  ASSERT_TRUE(run.await("error: <stdin>:6: logical FAP 9 does not exist\r\n"));
  EXPECT_EQ(run.finish(), 1);
  EXPECT_THAT(run.screen, ContainsRegex("Ethernet7 +0 +0 +0 +0 +0\r\n  Ethernet12 +0 +1 +1 +1 +1"));
  EXPECT_THAT(run.screen, ContainsRegex("FAP 1: .*FAP 1: "));  // "show 1" ran twice
  EXPECT_EQ(run.screen.find("\n> "), std::string::npos);       // the terminal shows a command once
}

// The history file keeps the newest 1000 commands for the next session; one that cannot be kept
// costs a warning, not the session.
TEST(SimProgram, ATerminalSessionRecallsTheNewestThousandCommandsOfTheSessionsBefore) {
  Scratch const state;
  std::string const file = state.path + "/macsec-index-sim/history";
  std::filesystem::create_directories(state.path + "/macsec-index-sim");
  {
    std::ofstream old(file);
    for (int line = 1; line <= 1005; ++line) {
      old << "# old " << line << "\n";
    }
  }
  {
    TerminalRun first(state.path);
    ASSERT_TRUE(first.type("fap add 1 Ethernet1\r"));
    EXPECT_EQ(first.finish(), 0);
  }
  std::vector<std::string> kept;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    kept.push_back(line);
  }
  ASSERT_EQ(kept.size(), 1000U);
  EXPECT_EQ(kept.front(), "# old 7");
  EXPECT_EQ(kept.back(), "fap add 1 Ethernet1");

  TerminalRun next(state.path);
  ASSERT_TRUE(next.type("\x1b[A\r"));
  ASSERT_TRUE(next.type("show 1\r"));
  EXPECT_EQ(next.finish(), 0);
  EXPECT_THAT(next.screen, ContainsRegex("fap add 1 Ethernet1\r\n.*FAP 1: "));

  TerminalRun unkept(file);  // a file where the history's directory should be
  ASSERT_TRUE(unkept.type("show\r"));
  EXPECT_EQ(unkept.finish(), 0);
  EXPECT_THAT(unkept.screen,
              ContainsRegex("warning: the command history is not kept: cannot create "
                            "the directory .*: Not a directory\r\n"));
}

// Only the terminal catches Ctrl-C: a script on a pipe still dies of it.
TEST(SimProgram, APipedScriptDiesOfSigint) {
  TerminalRun run(::testing::TempDir(), "trap : INT; cat | " SIM_PROGRAM "; echo \"status $?\"");
  ASSERT_TRUE(run.send("show\r") && run.await("> show\r\n") && run.send("\x03"));
  EXPECT_TRUE(run.await("status 130"));  // 128 + SIGINT; it would end with 0 at the end of input
}

// The exit status and output of the simulator run by the shell on `arguments`, after the shell
// commands `before`.
std::pair<int, std::string> runShell(std::string const& arguments, std::string const& before = "") {
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(
      ::popen((before + SIM_PROGRAM " " + arguments + " 2>&1").c_str(), "r"), ::pclose);
  std::string output;
  char buffer[4096];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;) {
    output.append(buffer, n);
  }
  int const status = ::pclose(pipe.release());
  return {WEXITSTATUS(status), output};
}

TEST(SimProgram, RefusesBadInputInOneClearLineWithItsExitStatus) {
  std::string const dir = ::testing::TempDir();
  std::string const scenario = dir + "long-line-" + std::to_string(::getpid()) + ".scn";
  std::ofstream(scenario) << "show\n" << std::string(70000, 'x') << "\nshow\n";
  EXPECT_EQ(
      runShell("--colour"),
      std::make_pair(2, std::string("macsec-index-sim: unknown option --colour (see --help)\n")));
  // A name with bytes that are not text is shown with them escaped.
  EXPECT_EQ(runShell("'" + dir + "no\x01\xff.scn'"),
            std::make_pair(1, "error: cannot read scenario file " + dir +
                                  "no\\x01\\xff.scn: No such file or directory\n"));
  EXPECT_EQ(runShell(dir), std::make_pair(1, "error: cannot read scenario file " + dir +
                                                 ": it is a directory, not a regular file\n"));
  EXPECT_THAT(runShell(scenario), Pair(1, EndsWith(":2: line of 70000 bytes is longer than the "
                                                   "limit of 65536\n")));
  std::remove(scenario.c_str());
}

// A disk that fills up (a file size limit, with SIGXFSZ ignored so that the write fails instead):
// the command whose commit fails ends the run with one line naming the cause, and the database
// stays usable by the next writer.
TEST(SimProgram, StopsWithTheCauseWhenTheDiskIsFull) {
  std::string const base = ::testing::TempDir() + "fill-" + std::to_string(::getpid());
  std::string const scenario = base + ".scn", db = base + ".db";
  auto const removeDatabase = [&] {
    for (char const* suffix : {"", "-wal", "-shm"}) {
      std::remove((db + suffix).c_str());
    }
  };
  removeDatabase();
  {
    std::ofstream out(scenario);
    out << "fap add 1 Ethernet1-400\n";
    for (int port = 1; port <= 400; ++port) {
      out << "macsec on Ethernet" << port << "\n";
    }
  }
  auto const [status, output] =
      runShell("--state " + db + " " + scenario, "trap '' XFSZ; ulimit -f 1024; ");
  EXPECT_EQ(status, 1);
  EXPECT_THAT(output, ContainsRegex("\n> macsec on Ethernet[0-9]+\nerror: state database " + db +
                                    ": cannot write: (disk I/O error \\(SQLITE_IOERR_WRITE\\)|"
                                    "database or disk is full \\(SQLITE_FULL\\))\n$"));
  std::ofstream(scenario) << "show\n";
  EXPECT_EQ(runShell("--state " + db + " " + scenario).first, 0);
  // What the database holds goes out as JSON to a reader.
  EXPECT_THAT(runShell("--state " + db + " --read-only --export -"),
              Pair(0, ContainsRegex("\"format\": \"macsec-index-sim state\"")));
  removeDatabase();
  std::remove(scenario.c_str());
}

}  // namespace
