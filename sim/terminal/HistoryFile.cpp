#include "sim/terminal/HistoryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "sim/session/Session.h"

namespace sim {

namespace {

std::system_error lastError(std::string const& what) {
  return {errno, std::generic_category(), what};
}

// Closes a file descriptor at the end of its scope.
struct Closer {
  int const fd;
  ~Closer() { ::close(fd); }
};

// The text of the file `path`; empty when there is no such file.
std::string readFile(std::string const& path) {
  int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0 && errno == ENOENT) {
    return {};
  }
  if (fd < 0) {
    throw lastError("cannot read " + path);
  }
  Closer const closer{fd};
  std::string text;
  char buffer[4096];
  for (;;) {
    ssize_t const n = ::read(fd, buffer, sizeof buffer);
    if (n == 0) {
      return text;
    }
    if (n < 0 && errno != EINTR) {
      throw lastError("cannot read " + path);
    }
    text.append(buffer, std::size_t(std::max<ssize_t>(n, 0)));
  }
}

// Writes `text` to the file `path`, opened with `flags` and created when missing with mode 0600:
// the commands may be what a user would rather keep to themselves.
void writeFile(std::string const& path, int flags, std::string_view text) {
  int const fd = ::open(path.c_str(), flags | O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) {
    throw lastError("cannot write " + path);
  }
  Closer const closer{fd};
  while (!text.empty()) {
    ssize_t const n = ::write(fd, text.data(), text.size());
    if (n < 0 && errno != EINTR) {
      throw lastError("cannot write " + path);
    }
    text.remove_prefix(std::size_t(std::max<ssize_t>(n, 0)));
  }
}

// mkdir -p with mode 0700: the history may hold what a user would rather keep to themselves.
void makeDirectories(std::filesystem::path const& directory) {
  std::filesystem::path partial;
  for (std::filesystem::path const& part : directory) {
    partial /= part;
    if (::mkdir(partial.c_str(), 0700) != 0 && errno != EEXIST) {
      throw lastError("cannot create the directory " + partial.string());
    }
  }
}

}  // namespace

HistoryFile::HistoryFile(std::string path, std::size_t maxLines, std::ostream& warnings)
    : path_(std::move(path)), maxLines_(maxLines), warnings_(warnings) {}

HistoryFile::~HistoryFile() {
  if (!path_.empty()) {
    keepNewest();
  }
}

std::vector<std::string> HistoryFile::load() {
  if (path_.empty()) {
    return {};
  }
  try {
    makeDirectories(std::filesystem::path(path_).parent_path());
  } catch (std::system_error const& error) {
    giveUp(error.what());
  }
  return keepNewest();
}

void HistoryFile::append(std::string_view command) {
  if (path_.empty()) {
    return;
  }
  try {
    // One write per command, so that sessions appending at once do not mix their lines.
    writeFile(path_, O_APPEND, std::string(command) + '\n');
  } catch (std::system_error const& error) {
    giveUp(error.what());
  }
}

std::vector<std::string> HistoryFile::keepNewest() {
  std::vector<std::string> lines;
  if (path_.empty()) {
    return lines;
  }
  try {
    std::string const text = readFile(path_);
    for (std::size_t start = 0; start < text.size();) {
      std::size_t const end = std::min(text.find('\n', start), text.size());
      if (end > start) {
        lines.emplace_back(text, start, end - start);
      }
      start = end + 1;
    }
    if (lines.size() <= maxLines_) {
      return lines;
    }
    lines.erase(lines.begin(), lines.end() - std::ptrdiff_t(maxLines_));
    // Written aside and renamed over the file, so that a session killed meanwhile loses nothing.
    std::string const fresh = path_ + ".new";
    std::string kept;
    for (std::string const& line : lines) {
      kept += line + '\n';
    }
    writeFile(fresh, O_TRUNC, kept);
    if (std::rename(fresh.c_str(), path_.c_str()) != 0) {
      throw lastError("cannot rename " + fresh + " to " + path_);
    }
  } catch (std::system_error const& error) {
    giveUp(error.what());
  }
  return lines;
}

void HistoryFile::giveUp(std::string const& reason) {
  warnings_ << "warning: the command history is not kept: " << printable(reason) << '\n';
  path_.clear();
}

}  // namespace sim
