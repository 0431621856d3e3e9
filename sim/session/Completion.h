// What TAB completes at the simulator's prompt, from the commands' usage forms: the command words,
// the words a form spells out at the cursor (actions, keywords such as "utilization" or "all"),
// command names after "help", the logical FAPs that exist where a form takes a FAP, and the
// interface names the switch knows where a form takes interfaces. A new command completes
// without being listed here. Plain functions of the text and the switch: no terminal needed.
#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sim/model/Switch.h"

namespace sim {

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

// The words that complete `word`, the last word of `lineBeforeCursor`, at most about
// CompletionList::kDefaultLimit of them.
std::vector<std::string> completions(Switch const& host, std::string_view lineBeforeCursor,
                                     std::string_view word);

}  // namespace sim
