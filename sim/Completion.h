// What TAB completes at the simulator's prompt: the command words, the words a command's usage
// forms spell out at the cursor (its actions, keywords such as "utilization" or "all"), command
// names after "help", and the interface names the switch knows where a form takes interfaces.
// It follows the table `help` prints, so a new command completes without being listed here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "sim/SimHost.h"

namespace sim {

// The words that complete `word`, the last word of `lineBeforeCursor`, at most about
// CompletionList::kDefaultLimit of them (see Input.h).
std::vector<std::string> completions(SimHost const& host, std::string_view lineBeforeCursor,
                                     std::string_view word);

}  // namespace sim
