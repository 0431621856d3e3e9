// Lines typed at a terminal: a prompt, line editing, a history kept in memory and TAB completion
// (libedit, through its readline-compatible API). The terminal asks an injected function for the
// words that may complete the word under the cursor, so it knows nothing of the command language.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/session/LineSource.h"

namespace sim {

// The words that may complete `word`, the word under the cursor; `lineBeforeCursor` is the line
// up to the cursor, so it ends with `word`.
using Completer = std::function<std::vector<std::string>(std::string_view lineBeforeCursor,
                                                         std::string_view word)>;

// Lines typed at the terminal of standard input and output. libedit's readline API keeps its
// state in globals, so only one Terminal may exist at a time.
class Terminal : public LineSource {
 public:
  // Throws std::logic_error when another Terminal exists.
  Terminal(std::string prompt, Completer completer);
  ~Terminal() override;
  Terminal(Terminal const&) = delete;
  Terminal& operator=(Terminal const&) = delete;

  // The next line typed after the prompt, or nothing when the input ends (Ctrl-D on an empty
  // line), after moving the cursor to a fresh line. Every line with text other than blanks joins
  // the history that the up arrow walks back through.
  std::optional<InputLine> next() override;

 private:
  static char** complete(char const* word, int start, int end);

  std::string const prompt_;
  Completer const completer_;
};

}  // namespace sim
