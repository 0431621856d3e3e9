#include "sim/language/Grammar.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "sim/language/Words.h"

namespace sim {

namespace {

// One element of a form (see Grammar.h).
struct Element {
  std::vector<std::string_view> words;  // the words it may be
  std::string_view value;               // the value it may be; empty: none
  std::string_view key;                 // a parameter's key; empty: not a parameter
  bool optional = false;
  bool repeated = false;

  bool spells(std::string_view word) const {
    return std::find(words.begin(), words.end(), word) != words.end();
  }
};

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> out;
  for (;;) {
    auto const at = text.find(separator);
    out.push_back(text.substr(0, at));
    if (at == std::string_view::npos) {
      return out;
    }
    text = text.substr(at + 1);
  }
}

Element element(std::string_view text) {
  Element out;
  if (text.size() > 1 && text.front() == '[' && text.back() == ']') {
    out.optional = true;
    text = text.substr(1, text.size() - 2);
  }
  if (auto const equals = text.find('='); equals != std::string_view::npos) {
    out.key = text.substr(0, equals);
    out.value = out.key;
    return out;
  }
  if (text.size() > 3 && text.substr(text.size() - 3) == "...") {
    out.repeated = true;
    text = text.substr(0, text.size() - 3);
  }
  for (std::string_view const item : split(text, '|')) {
    if (item.size() > 2 && item.front() == '<' && item.back() == '>') {
      out.value = item.substr(1, item.size() - 2);
    } else {
      out.words.push_back(item);
    }
  }
  return out;
}

// A parameter written key=value: its key and value.
std::pair<std::string_view, std::string_view> parameter(std::string_view word) {
  auto const equals = word.find('=');
  return {word.substr(0, equals), word.substr(equals + 1)};
}

bool isParameter(std::string_view word) {
  return word.find('=') != std::string_view::npos;
}

}  // namespace

// The forms of one command, taken apart, and the reading of words against them.
class FormReader {
 public:
  explicit FormReader(Syntax const& syntax) : syntax_(syntax) {
    for (std::string_view const form : syntax.forms) {
      auto const texts = words(form);  // the command's name first
      std::vector<Element> elements;
      for (std::size_t i = 1; i < texts.size(); ++i) {
        elements.push_back(element(texts[i]));
        spelled_.insert(elements.back().words.begin(), elements.back().words.end());
      }
      forms_.push_back(std::move(elements));
    }
  }

  Arguments read(std::vector<std::string_view> const& line) const {
    std::vector<std::string_view> const given(line.begin() + 1, line.end());
    for (std::vector<Element> const& form : forms_) {
      Arguments out;
      if (fit(form, given, out)) {
        return out;
      }
    }
    for (std::string_view const word : given) {
      if (isParameter(word) && hasParameters() && !knowsParameter(parameter(word).first)) {
        throw ScenarioError(
            fmt::format("unknown parameter \"{}\"; {}", parameter(word).first, usage(syntax_)));
      }
    }
    if (!given.empty() && everyFormStartsWithAWord() && spelled_.count(given[0]) == 0) {
      throw ScenarioError(
          fmt::format("unknown action \"{} {}\"; {}", syntax_.name, given[0], usage(syntax_)));
    }
    throw ScenarioError(usage(syntax_));
  }

  Expected expected(std::vector<std::string_view> const& before) const {
    std::vector<std::string_view> positional;
    for (auto word = before.begin() + 1; word != before.end(); ++word) {
      if (!isParameter(*word)) {
        positional.push_back(*word);
      }
    }
    Expected out;
    for (std::vector<Element> const& form : forms_) {
      next(form, 0, positional, 0, out);
    }
    return out;
  }

 private:
  // Whether `given` fits `form`; fills `out` when it does. Parameters are taken out first, then
  // the other words must fit the positional elements in order.
  bool fit(std::vector<Element> const& form, std::vector<std::string_view> const& given,
           Arguments& out) const {
    std::vector<std::string_view> positional;
    for (std::string_view const word : given) {
      if (!isParameter(word)) {
        positional.push_back(word);
        continue;
      }
      auto const [key, value] = parameter(word);
      bool const known = std::any_of(form.begin(), form.end(),
                                     [&, key = key](Element const& e) { return e.key == key; });
      if (!known) {
        return false;
      }
      out.values_[key].push_back(value);
    }
    return fitFrom(form, 0, positional, 0, out);
  }

  bool fitFrom(std::vector<Element> const& form, std::size_t e,
               std::vector<std::string_view> const& given, std::size_t g, Arguments& out) const {
    while (e < form.size() && !form[e].key.empty()) {
      ++e;  // parameters were taken out
    }
    if (e == form.size()) {
      return g == given.size();
    }
    Element const& element = form[e];
    if (element.optional) {
      Arguments without = out;
      if (fitFrom(form, e + 1, given, g, without)) {
        out = std::move(without);
        return true;
      }
    }
    if (g == given.size()) {
      return false;
    }
    if (element.spells(given[g])) {
      out.words_.push_back(given[g]);
      return fitFrom(form, e + 1, given, g + 1, out);
    }
    std::size_t const taken = valuesAt(element, given, g);
    if (taken == 0) {
      return false;
    }
    auto& values = out.values_[element.value];
    values.insert(values.end(), given.begin() + long(g), given.begin() + long(g + taken));
    return fitFrom(form, e + 1, given, g + taken, out);
  }

  // How many of the words from `g` on the element takes as values: none, one, or (repeated) every
  // word up to the next one the forms spell out.
  std::size_t valuesAt(Element const& element, std::vector<std::string_view> const& given,
                       std::size_t g) const {
    if (element.value.empty()) {
      return 0;
    }
    std::size_t end = g;
    while (end < given.size() && spelled_.count(given[end]) == 0 &&
           (element.repeated || end == g)) {
      ++end;
    }
    return end - g;
  }

  // Adds to `out` what may follow once the words up to `g` are read.
  void next(std::vector<Element> const& form, std::size_t e,
            std::vector<std::string_view> const& given, std::size_t g, Expected& out) const {
    while (e < form.size() && !form[e].key.empty()) {
      ++e;
    }
    if (e == form.size()) {
      return;
    }
    Element const& element = form[e];
    if (g == given.size()) {
      out.words.insert(out.words.end(), element.words.begin(), element.words.end());
      if (!element.value.empty()) {
        out.values.push_back(element.value);
      }
    }
    if (element.optional) {
      next(form, e + 1, given, g, out);
    }
    if (g == given.size()) {
      return;
    }
    if (element.spells(given[g])) {
      return next(form, e + 1, given, g + 1, out);
    }
    std::size_t const taken = valuesAt(element, given, g);
    if (taken == 0) {
      return;
    }
    if (element.repeated && g + taken == given.size()) {
      out.values.push_back(element.value);  // one more value may follow
    }
    next(form, e + 1, given, g + taken, out);
  }

  bool hasParameters() const {
    return std::any_of(forms_.begin(), forms_.end(), [](std::vector<Element> const& form) {
      return std::any_of(form.begin(), form.end(), [](Element const& e) { return !e.key.empty(); });
    });
  }
  bool knowsParameter(std::string_view key) const {
    return std::any_of(forms_.begin(), forms_.end(), [&](std::vector<Element> const& form) {
      return std::any_of(form.begin(), form.end(), [&](Element const& e) { return e.key == key; });
    });
  }
  bool everyFormStartsWithAWord() const {
    return std::all_of(forms_.begin(), forms_.end(), [](std::vector<Element> const& form) {
      return !form.empty() && !form[0].optional && form[0].value.empty();
    });
  }

  Syntax const& syntax_;
  std::vector<std::vector<Element>> forms_;
  std::set<std::string_view> spelled_;
};

bool Arguments::has(std::string_view name) const {
  return std::find(words_.begin(), words_.end(), name) != words_.end() ||
         values_.find(name) != values_.end();
}

std::vector<std::string_view> const& Arguments::values(std::string_view name) const {
  static std::vector<std::string_view> const kNone;
  auto const found = values_.find(name);
  return found == values_.end() ? kNone : found->second;
}

U16 Arguments::fap() const {
  return U16(sim::number(values("fap").at(0), 0, 65535, "a logical FAP"));
}

std::vector<Portix::IntfId> Arguments::interfaces() const {
  std::vector<Portix::IntfId> out;
  for (std::string_view const text : values("interfaces")) {
    auto const expanded = expandInterfaces(text);
    out.insert(out.end(), expanded.begin(), expanded.end());
  }
  return out;
}

std::uint64_t Arguments::number(std::string_view name, std::uint64_t low,
                                std::uint64_t high) const {
  // A parameter written twice counts as written last.
  return sim::number(values(name).back(), low, high, name);
}

bool Arguments::yesNo(std::string_view name) const {
  return sim::yesNo(values(name).back(), name);
}

Arguments readArguments(Syntax const& syntax, std::vector<std::string_view> const& words) {
  return FormReader(syntax).read(words);
}

std::string usage(Syntax const& syntax) {
  std::string out = "usage: ";
  for (std::size_t i = 0; i < syntax.forms.size(); ++i) {
    out += (i == 0 ? "" : " | ") + std::string(syntax.forms[i]);
  }
  return out;
}

Expected expectedAfter(Syntax const& syntax, std::vector<std::string_view> const& before) {
  return FormReader(syntax).expected(before);
}

}  // namespace sim
