// Where a session's command lines come from: a scenario file or a pipe, read line by line within a
// length limit, or (sim/terminal) a person at a terminal.
#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <string>

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

}  // namespace sim
