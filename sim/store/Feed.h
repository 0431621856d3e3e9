// The change feed of a state database, followed as it grows: what `--follow` prints.
//
// Every commit of a writer adds, in the same transaction as the state it changed, one entry per
// changed published record (set or del, kind egress, ingress, disabled or fap) and one per
// threshold event (op "event", kind "threshold"), numbered by `seq`, which grows by exactly one
// per entry for the life of the database, whichever writer wrote it. The database keeps the last
// Store::kFeedLimit entries. A follower prints each entry once, in seq order, as a JSON line:
//
//   {"seq": n, "time": RFC 3339 UTC, "op": "set"|"del"|"event", "fap": n,
//    "kind": "egress"|"ingress"|"disabled"|"fap"|"threshold", "record": {...}}
//
// where a set's record is the record as the exported state writes it, a del's holds its key
// ("interface", "port" or "fap"), and an event's is the threshold event as the transcript's JSON
// gives it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>

namespace sim {

// Entries asked for that the database no longer keeps, or a seq it has not reached.
class FeedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct FollowOptions {
  // Print the entries after this seq first; none: only those committed from now on.
  std::optional<std::int64_t> since;
  // How long to sleep between looks at the database when nothing was committed.
  std::int64_t pollMilliseconds = 10;
  // Asked after each look; following ends when it answers true (a test's bound). By default the
  // follower runs until it is killed.
  std::function<bool()> stop = [] { return false; };
};

// Prints the feed of the database at `path` to `out`, flushing after each commit's entries, as
// writers commit them, until options.stop says so. Throws StoreError when the database cannot be
// read, and FeedError when `since` asks for entries already pruned (the feed keeps the last
// Store::kFeedLimit: start again from an export of the state) or beyond the last seq, or when the
// follower fell so far behind that entries were pruned before it read them.
void followFeed(std::string const& path, FollowOptions const& options, std::ostream& out);

}  // namespace sim
