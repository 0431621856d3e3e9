#include "sim/session/LineSource.h"

#include <string>

namespace sim {

std::optional<InputLine> StreamLines::next() {
  using Traits = std::char_traits<char>;
  std::streambuf& buffer = *in_.rdbuf();
  InputLine line;
  for (auto c = buffer.sbumpc();; c = buffer.sbumpc()) {
    if (Traits::eq_int_type(c, Traits::eof())) {
      if (line.length == 0) {
        return std::nullopt;
      }
      break;
    }
    if (Traits::to_char_type(c) == '\n') {
      break;
    }
    if (++line.length <= kMaxLineBytes) {
      line.text.push_back(Traits::to_char_type(c));
    } else if (!line.text.empty()) {
      std::string().swap(line.text);  // only the length of a refused line matters
    }
  }
  return line;
}

}  // namespace sim
