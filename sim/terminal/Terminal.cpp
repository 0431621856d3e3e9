#include "sim/terminal/Terminal.h"

// clang-format off
#include <cstdio>  // libedit's header needs FILE declared first
#include <editline/readline.h>
// clang-format on

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {
// Set by Ctrl-C (SIGINT) while a Terminal exists.
volatile std::sig_atomic_t terminalInterrupted = 0;
}  // namespace

// The SIGINT handler while a Terminal exists (C linkage, as a signal handler should have).
extern "C" void noteTerminalInterrupt(int /*signal*/) {
  terminalInterrupted = 1;
}

// Reads one key for libedit, or gives EOF once Ctrl-C was typed. SIGINT stays blocked except
// while waiting for the key, so a Ctrl-C typed while libedit is busy between two reads (echoing
// the last key, say) ends the next wait instead of coming before a blocking read that then waits
// for a whole line in the cooked mode libedit's handler has restored.
extern "C" int readTerminalKey(FILE* in) {
  sigset_t interrupt;
  sigset_t previous;
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  pthread_sigmask(SIG_BLOCK, &interrupt, &previous);
  sigset_t waiting = previous;
  sigdelset(&waiting, SIGINT);
  int key = EOF;
  for (;;) {
    if (terminalInterrupted != 0) {
      break;
    }
    pollfd ready{::fileno(in), POLLIN, 0};
    if (::ppoll(&ready, 1, nullptr, &waiting) < 0) {
      if (errno == EINTR) {
        continue;  // Ctrl-C is seen above; other signals (a window resize) are not ours
      }
      break;
    }
    unsigned char byte = 0;
    ssize_t const n = ::read(::fileno(in), &byte, 1);
    if (n == 1) {
      key = byte;
      break;
    }
    if (n == 0 || errno != EINTR) {
      break;
    }
  }
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  return key;
}

namespace sim {

namespace {

// The Terminal that libedit's completion callback serves.
Terminal const* activeTerminal = nullptr;

struct FreeDeleter {
  void operator()(void* p) const { std::free(p); }
};
using MallocString = std::unique_ptr<char, FreeDeleter>;

bool hasText(std::string_view line) {
  return line.find_first_not_of(" \t\r") != std::string_view::npos;
}

std::size_t commonPrefixLength(std::string const& a, std::string const& b) {
  auto const mismatch =
      std::mismatch(a.begin(), a.begin() + std::min(a.size(), b.size()), b.begin());
  return std::size_t(mismatch.first - a.begin());
}

// The completion array libedit expects, allocated with malloc as it frees it: first the text that
// replaces the word (the longest prefix common to the words), then the words, then null.
char** matchArray(std::vector<std::string> const& words) {
  std::size_t common = words.front().size();
  for (std::string const& word : words) {
    common = std::min(common, commonPrefixLength(words.front(), word));
  }
  // With a single word, the word is repeated: libedit then treats it as the only match.
  std::size_t const count = words.size() + 1;
  auto* const matches = static_cast<char**>(std::calloc(count + 1, sizeof(char*)));
  if (matches == nullptr) {
    return nullptr;
  }
  matches[0] = strndup(words.front().c_str(), common);
  for (std::size_t i = 0; i < words.size(); ++i) {
    matches[i + 1] = strdup(words[i].c_str());
  }
  return matches;
}

}  // namespace

Terminal::Terminal(std::string prompt, Completer completer, std::string historyPath)
    : prompt_(std::move(prompt)),
      completer_(std::move(completer)),
      history_(std::move(historyPath), kHistoryLines, std::cerr) {
  if (activeTerminal != nullptr) {
    throw std::logic_error("one terminal at a time");
  }
  activeTerminal = this;
  rl_readline_name = "macsec-index-sim";  // the name that ~/.editrc settings may be given for
  rl_attempted_completion_function = &Terminal::complete;
  rl_catch_signals = 1;
  rl_getc_function = &readTerminalKey;
  using_history();
  stifle_history(int(kHistoryLines));
  for (std::string const& line : history_.load()) {
    add_history(line.c_str());
  }
  // While readline waits for a key, libedit's own handler is in place (rl_catch_signals): it
  // interrupts the read, so that readline gives up the line, and passes the signal on to this
  // one. Outside readline, SA_RESTART keeps a Ctrl-C from failing a command's writes.
  struct sigaction interrupt {};
  interrupt.sa_handler = &noteTerminalInterrupt;
  interrupt.sa_flags = SA_RESTART;
  sigemptyset(&interrupt.sa_mask);
  sigaction(SIGINT, &interrupt, &previousInterrupt_);
}

Terminal::~Terminal() {
  sigaction(SIGINT, &previousInterrupt_, nullptr);
  clear_history();
  rl_attempted_completion_function = nullptr;
  activeTerminal = nullptr;
}

std::optional<InputLine> Terminal::next() {
  terminalInterrupted = 0;
  MallocString typed(readline(prompt_.c_str()));
  // Ctrl-C drops the line typed so far and prompts again, as shells do.
  while (!typed && terminalInterrupted != 0) {
    std::fputs("^C\n", stdout);
    terminalInterrupted = 0;
    typed.reset(readline(prompt_.c_str()));
  }
  if (!typed) {
    std::fputc('\n', stdout);
    std::fflush(stdout);
    return std::nullopt;
  }
  InputLine line;
  line.length = std::strlen(typed.get());
  if (line.tooLong()) {
    return line;
  }
  line.text = typed.get();
  if (hasText(line.text)) {
    add_history(typed.get());
    history_.append(line.text);
  }
  return line;
}

char** Terminal::complete(char const* word, int /*start*/, int end) {
  rl_attempted_completion_over = 1;  // only the completer's words, never file names
  if (activeTerminal == nullptr) {
    return nullptr;
  }
  std::vector<std::string> const words =
      activeTerminal->completer_(std::string_view(rl_line_buffer, std::size_t(end)), word);
  return words.empty() ? nullptr : matchArray(words);
}

}  // namespace sim
