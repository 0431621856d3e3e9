// The commands typed at the terminal, kept in a file between sessions as shells keep theirs: one
// command a line, the newest last, each appended as it is entered (a session that is killed loses
// none), and the file cut back to the newest lines when it is opened and when it is closed. A file
// that cannot be read or written costs one warning and the keeping of the history, never the
// session.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

class HistoryFile {
 public:
  // Keeps at most `maxLines` commands in the file `path`; an empty path keeps nothing. Nothing is
  // read or written before load().
  HistoryFile(std::string path, std::size_t maxLines, std::ostream& warnings);
  // Cuts the file back to the newest `maxLines` lines, as other sessions may have added to it.
  ~HistoryFile();
  HistoryFile(HistoryFile const&) = delete;
  HistoryFile& operator=(HistoryFile const&) = delete;

  // The newest `maxLines` commands of the file, oldest first, with the file cut back to them; none
  // when the file does not exist yet. Creates the file's directory (mode 0700) when missing.
  std::vector<std::string> load();
  // Adds `command` (a line without its newline) at the end of the file, created (mode 0600) when
  // missing.
  void append(std::string_view command);

 private:
  // The newest `maxLines` lines of the file, which is rewritten when it holds more.
  std::vector<std::string> keepNewest();
  // Writes one warning with `reason` (which names the file) and stops keeping the history.
  void giveUp(std::string const& reason);

  std::string path_;
  std::size_t const maxLines_;
  std::ostream& warnings_;
};

}  // namespace sim
