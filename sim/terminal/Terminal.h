// Lines typed at a terminal: a prompt, line editing, a history kept between sessions, TAB
// completion and Ctrl-C to abandon a line (libedit, through its readline-compatible API). The
// terminal asks an injected function for the words that may complete the word under the cursor,
// so it knows nothing of the command language.
#pragma once

#include <signal.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/session/LineSource.h"
#include "sim/terminal/HistoryFile.h"

namespace sim {

// The words that may complete `word`, the word under the cursor; `lineBeforeCursor` is the line
// up to the cursor, so it ends with `word`.
using Completer = std::function<std::vector<std::string>(std::string_view lineBeforeCursor,
                                                         std::string_view word)>;

// Lines typed at the terminal of standard input and output. libedit's readline API keeps its
// state in globals, so only one Terminal may exist at a time.
class Terminal : public LineSource {
 public:
  // The most recent lines the history keeps, in memory and in its file.
  static constexpr std::size_t kHistoryLines = 1000;

  // Offers the lines kept in `historyPath` (none when empty) to the up arrow, and catches SIGINT
  // until destroyed, when its previous disposition comes back. A history file that cannot be read
  // or written costs one warning on standard error. Throws std::logic_error when another Terminal
  // exists.
  Terminal(std::string prompt, Completer completer, std::string historyPath);
  ~Terminal() override;
  Terminal(Terminal const&) = delete;
  Terminal& operator=(Terminal const&) = delete;

  // The next line typed after the prompt, or nothing when the input ends (Ctrl-D on an empty
  // line), after moving the cursor to a fresh line. Ctrl-C abandons the line being typed, which
  // is neither returned nor kept, and prompts again. Every line with text other than blanks joins
  // the history that the up arrow walks back through, and its file.
  std::optional<InputLine> next() override;

 private:
  static char** complete(char const* word, int start, int end);

  std::string const prompt_;
  Completer const completer_;
  HistoryFile history_;
  struct sigaction previousInterrupt_ {};
};

}  // namespace sim
