// The store under I/O faults, as SQLite tests itself: a random scenario runs once for each file
// operation it makes (every read, write, sync, lock and size change, or a dense sample of them),
// with that one operation failing. The run must stop at the command whose commit met the fault,
// with an error that names the file and the cause; the database must then hold exactly the
// commands before that one, and a new writer must load it and go on.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <sstream>

#include "sim/session/Session.h"
#include "sim/store/StateJson.h"
#include "store/FaultVfs.h"

namespace {

using testsupport::FaultVfs;

std::vector<std::string> scenario() {
  std::mt19937 random(5);
  auto const pick = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  std::vector<std::string> lines = {"chip 1 engines=2 isec-disabled=12 per-port-disabled=yes",
                                    "fap add 1 Ethernet1-6", "fap add 2 Ethernet7-8"};
  for (int i = 0; i < 30; ++i) {
    std::string const name = "Ethernet" + std::to_string(pick(1, 8)) +
                             (pick(0, 1) == 0 ? "" : "." + std::to_string(pick(1, 3)));
    lines.push_back((pick(0, 2) == 0 ? "macsec off " : "macsec on ") + name);
  }
  return lines;
}

TEST(StoreFaults, ACommandThatMeetsAnIoFaultStopsTheRunAndLosesNothingBeforeIt) {
  std::string const path = ::testing::TempDir() + "faults-" + std::to_string(::getpid()) + ".db";
  auto const remove = [&] {
    for (char const* suffix : {"", "-wal", "-shm", "-journal"}) {
      std::remove((path + suffix).c_str());
    }
  };
  std::ostringstream quiet;
  sim::SessionOptions options;
  options.statePath = path;
  std::vector<std::string> const lines = scenario();

  // A clean run: the state after each command, and how many operations of each kind it makes.
  FaultVfs& vfs = FaultVfs::install();
  std::vector<std::string> states;
  remove();
  vfs.resetCounts();
  {
    sim::Session session(options, quiet, quiet);
    states.push_back(sim::stateText(session.host()));
    for (std::string const& line : lines) {
      session.runLine(line, false);
      states.push_back(sim::stateText(session.host()));
    }
  }
  std::array<std::int64_t, FaultVfs::kKinds> totals{};
  for (int kind = 0; kind < FaultVfs::kKinds; ++kind) {
    totals[kind] = vfs.count(FaultVfs::Kind(kind));
  }

  char const* const causes[] = {
      "disk I/O error (SQLITE_IOERR_READ)",     "disk I/O error (SQLITE_IOERR_WRITE)",
      "database or disk is full (SQLITE_FULL)", "disk I/O error (SQLITE_IOERR_FSYNC)",
      "disk I/O error (SQLITE_IOERR_",          "disk I/O error (SQLITE_IOERR_TRUNCATE)"};
  int faults = 0;
  for (int kind = 0; kind < FaultVfs::kKinds; ++kind) {
    // Every operation up to 150 of a kind, then a sample of about 150 more.
    std::int64_t const step = std::max<std::int64_t>(1, (totals[kind] - 150) / 150);
    for (std::int64_t n = 1; n <= totals[kind]; n += n < 150 ? 1 : step) {
      remove();
      vfs.arm(FaultVfs::Kind(kind), n);
      std::size_t done = 0;  // commands run to their commit
      std::string error;
      try {
        sim::Session session(options, quiet, quiet);
        for (; done < lines.size(); ++done) {
          session.runLine(lines[done], false);
        }
      } catch (sim::StoreError const& e) {
        error = e.what();
      }
      vfs.disarm();
      if (!vfs.fired()) {
        continue;
      }
      ++faults;
      SCOPED_TRACE(::testing::Message() << "fault " << n << " of kind " << kind << ": " << error);
      if (!error.empty()) {
        EXPECT_THAT(error, ::testing::StartsWith("state database " + path + ": cannot "));
        EXPECT_THAT(error, ::testing::HasSubstr(causes[kind]));
      }
      // The database holds the commands before the failing one (all of them when the fault
      // reached no command: a checkpoint at the close, say), and a new writer goes on from there.
      sim::Switch stored;
      sim::ResourceMonitor monitor;
      sim::Store(path, sim::Store::Access::kReadOnly).load(stored, monitor);
      ASSERT_EQ(sim::stateText(stored), states[done]);
      sim::Session next(options, quiet, quiet);
      EXPECT_NO_THROW(next.runLine(lines[std::min(done, lines.size() - 1)], false));
      if (::testing::Test::HasFailure()) {
        break;
      }
    }
  }
  std::printf(
      "%d fault points over %lld reads, %lld writes, %lld syncs, %lld locks, %lld "
      "truncations\n",
      faults, (long long)totals[FaultVfs::kRead], (long long)totals[FaultVfs::kWrite],
      (long long)totals[FaultVfs::kSync], (long long)totals[FaultVfs::kLock],
      (long long)totals[FaultVfs::kTruncate]);
  remove();
}

}  // namespace
