#include "sim/session/Completion.h"

#include <algorithm>
#include <iterator>

#include "sim/language/Words.h"
#include "sim/session/Commands.h"

namespace sim {

CompletionList::CompletionList(std::string_view word, std::size_t limit)
    : word_(word), limit_(std::max<std::size_t>(limit, 2)) {}

void CompletionList::offer(std::string_view name) {
  if (name.substr(0, word_.size()) != word_ || (largest_ && name == *largest_)) {
    return;
  }
  std::string kept(name);
  if (!largest_) {
    largest_ = std::move(kept);
    return;
  }
  if (kept > *largest_) {
    std::swap(kept, *largest_);
  }
  // Room for limit_ - 1 names besides the largest.
  if (smallest_.size() + 1 == limit_ && kept > *smallest_.rbegin()) {
    return;
  }
  smallest_.insert(std::move(kept));
  if (smallest_.size() + 1 > limit_) {
    smallest_.erase(std::prev(smallest_.end()));
  }
}

std::vector<std::string> CompletionList::words() const {
  std::vector<std::string> out(smallest_.begin(), smallest_.end());
  if (largest_) {
    out.push_back(*largest_);
  }
  return out;
}

namespace {

// Offers the name of every interface the switch knows: the members of the logical FAPs'
// interface sets and the interfaces with MACsec status.
void offerInterfaces(Switch const& host, CompletionList& list) {
  for (auto fap = host.faps().logicalFapIter(); fap; ++fap) {
    for (auto intf = fap.value()->intfIdIter(); intf; ++intf) {
      list.offer(Portix::valueToStrep(*intf));
    }
  }
  for (auto entry = host.macsec().cpStatusIter(); entry; ++entry) {
    list.offer(Portix::valueToStrep(entry.key()));
  }
}

}  // namespace

std::vector<std::string> completions(Switch const& host, std::string_view lineBeforeCursor,
                                     std::string_view word) {
  auto const before = words(lineBeforeCursor.substr(0, lineBeforeCursor.size() - word.size()));
  CompletionList list(word);
  if (before.empty()) {
    for (Command const& command : commands()) {
      list.offer(command.syntax.name);
    }
    return list.words();
  }
  Command const* const command = findCommand(before[0]);
  if (command == nullptr) {
    return {};
  }
  Expected const expected = expectedAfter(command->syntax, before);
  for (std::string_view const spelt : expected.words) {
    list.offer(spelt);
  }
  for (std::string_view const value : expected.values) {
    if (value == "interfaces") {
      offerInterfaces(host, list);
    } else if (value == "command") {
      for (Command const& other : commands()) {
        list.offer(other.syntax.name);
      }
    } else if (value == "fap") {
      for (auto fap = host.faps().logicalFapIter(); fap; ++fap) {
        list.offer(std::to_string(fap.key().value()));
      }
    }
  }
  return list.words();
}

}  // namespace sim
