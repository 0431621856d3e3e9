#include "sim/Completion.h"

#include <algorithm>

#include "sim/Input.h"
#include "sim/Scenario.h"

namespace sim {

namespace {

// Offers the name of every interface the switch knows: the members of the logical FAPs'
// interface sets and the interfaces with MACsec status.
void offerInterfaces(SimHost const& host, CompletionList& list) {
  for (auto fap = host.faps()->logicalFapIter(); fap; ++fap) {
    for (auto intf = fap.value()->intfIdIter(); intf; ++intf) {
      list.offer(Portix::valueToStrep(*intf));
    }
  }
  for (auto entry = host.macsec()->cpStatusIter(); entry; ++entry) {
    list.offer(Portix::valueToStrep(entry.key()));
  }
}

// The alternatives a word of a usage form stands for ("add|del": add, del), without the
// placeholders ("<fap>", "[json]").
std::vector<std::string_view> literals(std::string_view formWord) {
  std::vector<std::string_view> out;
  std::size_t pos = 0;
  while (pos <= formWord.size()) {
    auto const bar = std::min(formWord.find('|', pos), formWord.size());
    std::string_view const item = formWord.substr(pos, bar - pos);
    if (!item.empty() && item[0] != '<' && item[0] != '[') {
      out.push_back(item);
    }
    pos = bar + 1;
  }
  return out;
}

}  // namespace

// The words that complete `word` at the end of `lineBeforeCursor`, from the usage forms of the
// commands: a command word first, then the words a form spells out at that place, and interface
// names where a form takes interfaces.
std::vector<std::string> completions(SimHost const& host, std::string_view lineBeforeCursor,
                                     std::string_view word) {
  auto const before = words(lineBeforeCursor.substr(0, lineBeforeCursor.size() - word.size()));
  CompletionList list(word);
  bool interfaces = false;
  for (CommandHelp const& command : commandHelp()) {
    if (before.empty()) {
      list.offer(command.name);
      continue;
    }
    if (command.name != before[0]) {
      continue;
    }
    std::string_view forms = command.usage;
    while (!forms.empty()) {
      auto const newline = std::min(forms.find('\n'), forms.size());
      auto const form = words(forms.substr(0, newline));
      forms = forms.substr(std::min(newline + 1, forms.size()));
      // The form fits when each word before the cursor is one it spells out or a placeholder.
      bool fits = form.size() > before.size() ||
                  form.back().find("<interfaces>...") != std::string_view::npos;
      for (std::size_t i = 1; fits && i < before.size() && i < form.size(); ++i) {
        auto const spelt = literals(form[i]);
        fits = spelt.empty() || form[i][0] == '[' ||
               std::find(spelt.begin(), spelt.end(), before[i]) != spelt.end();
      }
      if (!fits) {
        continue;
      }
      std::string_view const next = form[std::min(before.size(), form.size() - 1)];
      if (next.find("<interfaces>") != std::string_view::npos) {
        interfaces = true;
      } else if (next.find("<command>") != std::string_view::npos) {
        for (CommandHelp const& other : commandHelp()) {
          list.offer(other.name);
        }
      } else if (before.size() < form.size()) {
        for (std::string_view const literal : literals(next)) {
          list.offer(literal);
        }
      }
    }
  }
  if (interfaces) {
    offerInterfaces(host, list);
  }
  return list.words();
}

}  // namespace sim
