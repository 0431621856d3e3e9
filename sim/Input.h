// Where the simulator's command lines come from: a scenario file or a pipe, read line by line
// within a length limit, or a person at a terminal, who gets a prompt, line editing, an in-memory
// history and TAB completion (libedit, through its readline-compatible API). The terminal asks an
// injected function for the words that may complete the word under the cursor, so it knows
// nothing of the scenario language; CompletionList keeps that answer small for large switches.
#pragma once

#include <cstddef>
#include <functional>
#include <istream>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// The longest command line accepted, in bytes; a longer one is refused with its length.
inline constexpr std::size_t kMaxLineBytes = 65536;

// One line of input without its newline. The text of a line longer than kMaxLineBytes is not
// kept, only its length.
struct InputLine {
  std::string text;
  std::size_t length = 0;

  bool tooLong() const { return length > kMaxLineBytes; }
};

class LineSource {
 public:
  virtual ~LineSource() = default;
  // The next line, or nothing at the end of the input.
  virtual std::optional<InputLine> next() = 0;
};

// The lines of a stream, split where std::getline splits them (a last line without a newline
// counts). Holds at most kMaxLineBytes of a line in memory, however long the line is.
class StreamLines : public LineSource {
 public:
  explicit StreamLines(std::istream& in) : in_(in) {}
  std::optional<InputLine> next() override;

 private:
  std::istream& in_;
};

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

// Gathers the completions of one word from names offered one by one: those that start with the
// word, each once, at most about `limit` of them whatever the number offered.
class CompletionList {
 public:
  static constexpr std::size_t kDefaultLimit = 200;

  explicit CompletionList(std::string_view word, std::size_t limit = kDefaultLimit);

  // Keeps `name` if it starts with the word and is among the ones kept (see words()).
  void offer(std::string_view name);

  // The names kept, in text order: the smallest ones and the largest of all, so that their
  // longest common prefix, which a terminal inserts, is the one of every matching name offered.
  std::vector<std::string> words() const;

 private:
  std::string const word_;
  std::size_t const limit_;
  std::set<std::string> smallest_;
  std::optional<std::string> largest_;
};

}  // namespace sim
