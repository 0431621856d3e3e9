#include "store/FaultVfs.h"

#include <sqlite3.h>

#include <cstring>

namespace testsupport {

namespace {

FaultVfs* theVfs = nullptr;
sqlite3_vfs* base = nullptr;  // the default VFS it wraps

// A file of the fault VFS: the base VFS's own file object follows it in the same allocation.
struct File {
  sqlite3_file file;
  sqlite3_file* real;
};

sqlite3_file* real(sqlite3_file* file) {
  return reinterpret_cast<File*>(file)->real;
}

int xClose(sqlite3_file* f) {
  return real(f)->pMethods->xClose(real(f));
}
int xRead(sqlite3_file* f, void* data, int amount, sqlite3_int64 offset) {
  if (theVfs->fail(FaultVfs::kRead)) {
    return SQLITE_IOERR_READ;
  }
  return real(f)->pMethods->xRead(real(f), data, amount, offset);
}
int xWrite(sqlite3_file* f, void const* data, int amount, sqlite3_int64 offset) {
  if (theVfs->fail(FaultVfs::kWrite)) {
    return SQLITE_IOERR_WRITE;
  }
  if (theVfs->fail(FaultVfs::kFull)) {
    return SQLITE_FULL;
  }
  return real(f)->pMethods->xWrite(real(f), data, amount, offset);
}
int xTruncate(sqlite3_file* f, sqlite3_int64 size) {
  if (theVfs->fail(FaultVfs::kTruncate)) {
    return SQLITE_IOERR_TRUNCATE;
  }
  return real(f)->pMethods->xTruncate(real(f), size);
}
int xSync(sqlite3_file* f, int flags) {
  if (theVfs->fail(FaultVfs::kSync)) {
    return SQLITE_IOERR_FSYNC;
  }
  return real(f)->pMethods->xSync(real(f), flags);
}
int xFileSize(sqlite3_file* f, sqlite3_int64* size) {
  return real(f)->pMethods->xFileSize(real(f), size);
}
int xLock(sqlite3_file* f, int level) {
  if (theVfs->fail(FaultVfs::kLock)) {
    return SQLITE_IOERR_LOCK;
  }
  return real(f)->pMethods->xLock(real(f), level);
}
int xUnlock(sqlite3_file* f, int level) {
  return real(f)->pMethods->xUnlock(real(f), level);
}
int xCheckReservedLock(sqlite3_file* f, int* out) {
  return real(f)->pMethods->xCheckReservedLock(real(f), out);
}
int xFileControl(sqlite3_file* f, int op, void* arg) {
  return real(f)->pMethods->xFileControl(real(f), op, arg);
}
int xSectorSize(sqlite3_file* f) {
  return real(f)->pMethods->xSectorSize(real(f));
}
int xDeviceCharacteristics(sqlite3_file* f) {
  return real(f)->pMethods->xDeviceCharacteristics(real(f));
}
int xShmMap(sqlite3_file* f, int page, int size, int extend, void volatile** out) {
  return real(f)->pMethods->xShmMap(real(f), page, size, extend, out);
}
int xShmLock(sqlite3_file* f, int offset, int n, int flags) {
  // Only taking a lock can fail; giving one up always succeeds.
  if ((flags & SQLITE_SHM_LOCK) != 0 && theVfs->fail(FaultVfs::kLock)) {
    return SQLITE_IOERR_SHMLOCK;
  }
  return real(f)->pMethods->xShmLock(real(f), offset, n, flags);
}
void xShmBarrier(sqlite3_file* f) {
  real(f)->pMethods->xShmBarrier(real(f));
}
int xShmUnmap(sqlite3_file* f, int deleteFlag) {
  return real(f)->pMethods->xShmUnmap(real(f), deleteFlag);
}
int xFetch(sqlite3_file* f, sqlite3_int64 offset, int amount, void** out) {
  return real(f)->pMethods->xFetch(real(f), offset, amount, out);
}
int xUnfetch(sqlite3_file* f, sqlite3_int64 offset, void* page) {
  return real(f)->pMethods->xUnfetch(real(f), offset, page);
}

sqlite3_io_methods const kMethods = {3,
                                     xClose,
                                     xRead,
                                     xWrite,
                                     xTruncate,
                                     xSync,
                                     xFileSize,
                                     xLock,
                                     xUnlock,
                                     xCheckReservedLock,
                                     xFileControl,
                                     xSectorSize,
                                     xDeviceCharacteristics,
                                     xShmMap,
                                     xShmLock,
                                     xShmBarrier,
                                     xShmUnmap,
                                     xFetch,
                                     xUnfetch};

int xOpen(sqlite3_vfs* /*vfs*/, char const* name, sqlite3_file* file, int flags, int* outFlags) {
  auto* const wrapper = reinterpret_cast<File*>(file);
  wrapper->real = reinterpret_cast<sqlite3_file*>(wrapper + 1);
  int const rc = base->xOpen(base, name, wrapper->real, flags, outFlags);
  // A file the base VFS did not open has no methods, and SQLite will not close it.
  wrapper->file.pMethods = wrapper->real->pMethods != nullptr ? &kMethods : nullptr;
  return rc;
}

}  // namespace

FaultVfs& FaultVfs::install() {
  static FaultVfs vfs;
  static sqlite3_vfs wrapper;
  if (theVfs == nullptr) {
    theVfs = &vfs;
    base = sqlite3_vfs_find(nullptr);
    wrapper = *base;
    wrapper.zName = "fault";
    wrapper.szOsFile = int(sizeof(File)) + base->szOsFile;
    wrapper.xOpen = xOpen;
    sqlite3_vfs_register(&wrapper, 1);
  }
  return vfs;
}

void FaultVfs::arm(Kind kind, std::int64_t n) {
  counts_ = {};
  armed_ = true;
  fired_ = false;
  kind_ = kind;
  n_ = n;
}

bool FaultVfs::fail(Kind kind) {
  ++counts_[kind];
  if (!armed_ || kind != kind_ || counts_[kind] != n_) {
    return false;
  }
  armed_ = false;
  fired_ = true;
  return true;
}

}  // namespace testsupport
