// How a command of the language is written, and how a line is read against it.
//
// A command is described by its usage forms, the text that `help` prints and errors quote, e.g.
//   "intf add|del <fap> <interfaces>..."   "show [<fap>] [json]"   "logs all|<count>"
//   "chip <fap> [engines=<n>] [static=yes|no]"
// A form is a list of elements separated by blanks:
//   word           the word itself              a|b             one of the words
//   <name>         a value                      <name>...       one or more values
//   word|<name>    the word or a value          [element]       an element that may be left out
//   [key=<name>], [key=a|b]   a parameter, written key=value after the other elements, in any
//                             order; its value is named by the key
// A value never takes a word that some form of the same command spells out: in "show json", json
// is the word, not a FAP. Values are kept as written; the command reads them (Arguments) when it
// runs, and a malformed value is a ScenarioError then. So the forms are the only statement of the
// syntax: reading, usage errors, help and completion all follow them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Portix/IntfId.h"
#include "platform/Vok/Types.h"

namespace sim {

struct Syntax {
  std::string_view name;                // the first word
  std::vector<std::string_view> forms;  // one per way of writing it, starting with the name
};

// The words and values one line gives, by the form that fits it. The texts view the line, which
// must outlive them.
class Arguments {
 public:
  // Whether the line holds `name`: a word of the form as written ("add", "json"), or a value or
  // parameter of that name ("fap", "engines").
  bool has(std::string_view name) const;
  // The texts of value or parameter `name`, in the order written; empty when absent.
  std::vector<std::string_view> const& values(std::string_view name) const;

  // Typed reads; a malformed or out-of-range text is a ScenarioError that names it.
  // The value <fap>: a logical FAP number.
  U16 fap() const;
  // Every <interfaces> value expanded, in the order written; empty when there is none.
  std::vector<Portix::IntfId> interfaces() const;
  // The value or parameter `name` as a number within [low, high].
  std::uint64_t number(std::string_view name, std::uint64_t low, std::uint64_t high) const;
  // The parameter `name` as yes or no.
  bool yesNo(std::string_view name) const;

 private:
  friend class FormReader;
  std::vector<std::string_view> words_;
  std::map<std::string_view, std::vector<std::string_view>, std::less<>> values_;
};

// Reads `words` (the command's name first) against the forms of `syntax`. Throws ScenarioError
// when no form fits: "unknown action ..." or "unknown parameter ..." when a word is none the
// forms allow there, "usage: ..." otherwise.
Arguments readArguments(Syntax const& syntax, std::vector<std::string_view> const& words);

// "usage: " and the forms, separated by " | ".
std::string usage(Syntax const& syntax);

// What some form of `syntax` allows after the words `before` (the command's name first): the
// words it spells out there, and the names of the values it takes there ("interfaces", "fap").
// Parameters are not offered.
struct Expected {
  std::vector<std::string_view> words;
  std::vector<std::string_view> values;
};
Expected expectedAfter(Syntax const& syntax, std::vector<std::string_view> const& before);

}  // namespace sim
