#include "sim/session/Transcript.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

namespace sim {

using json = nlohmann::json;

Transcript::Transcript(std::ostream& out, Format format) : out_(out), format_(format) {}

void Transcript::line(json const& object) {
  // Replace, not throw: a text the component writes is not necessarily valid UTF-8.
  out_ << object.dump(-1, ' ', false, json::error_handler_t::replace) << '\n';
}

void Transcript::command(std::string_view text) {
  if (format_ == Format::kJson) {
    return line({{"command", text}});
  }
  out_ << "> " << text << '\n';
}

void Transcript::comment(std::string_view text) {
  if (format_ == Format::kJson) {
    return line({{"comment", text}});
  }
  out_ << text << '\n';
}

void Transcript::trace(Vok::TraceRecord const& record) {
  if (format_ == Format::kJson) {
    return line({{"trace",
                  {{"level", record.level},
                   {"class", record.className},
                   {"function", record.function},
                   {"text", record.text}}}});
  }
  out_ << "trace " << record.level << ' ' << record.className << "::" << record.function;
  // An entry trace without text says only where it was.
  if (!record.text.empty()) {
    out_ << ": " << record.text;
  }
  out_ << '\n';
}

void Transcript::log(std::string_view name, std::string_view text) {
  auto count = logCounts_.find(name);
  if (count == logCounts_.end()) {
    count = logCounts_.emplace(std::string(name), 0).first;
  }
  if (++count->second > logLimit_) {
    return;
  }
  if (format_ == Format::kJson) {
    return line({{"log", {{"name", name}, {"text", text}}}});
  }
  out_ << "log " << name << ": " << text << '\n';
}

void Transcript::warning(std::string_view text) {
  if (format_ == Format::kJson) {
    return line({{"warning", text}});
  }
  out_ << "warning: " << text << '\n';
}

void Transcript::view(View const& view, bool asJson) {
  if (asJson || format_ == Format::kJson) {
    return line(view.object);
  }
  out_ << view.text;
}

void Transcript::commandEnd() {
  for (auto const& [name, count] : logCounts_) {
    if (count <= logLimit_) {
      continue;
    }
    std::size_t const hidden = count - logLimit_;
    if (format_ == Format::kJson) {
      line({{"logs-not-shown", {{"name", name}, {"count", hidden}}}});
      continue;
    }
    out_ << fmt::format("logs: {} more {} messages not shown (\"logs all\" shows every one)\n",
                        hidden, name);
  }
  logCounts_.clear();
}

TranscriptSinks::TranscriptSinks(Transcript& transcript) : transcript_(transcript) {
  Vok::traceSinkAdd(*this);
  Vok::logSinkAdd(*this);
}

TranscriptSinks::~TranscriptSinks() {
  Vok::logSinkRemove(*this);
  Vok::traceSinkRemove(*this);
}

}  // namespace sim
