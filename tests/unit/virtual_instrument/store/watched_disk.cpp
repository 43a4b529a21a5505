#include "unit/virtual_instrument/store/watched_disk.h"

#include <sqlite3.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

struct Disk {
  sqlite3_vfs* real;
  WatchedDisk::Watch watch;
  std::atomic<std::uint64_t> bytes_read = 0;
  bool read_only = false;
};

Disk* disk = nullptr;

/// The real file follows this struct in the memory that SQLite allocates.
struct WatchedFile {
  sqlite3_file base;
  const char* name;
};

const char* name_of(sqlite3_file* file) { return reinterpret_cast<WatchedFile*>(file)->name; }

sqlite3_file* real(sqlite3_file* file) {
  return reinterpret_cast<sqlite3_file*>(reinterpret_cast<WatchedFile*>(file) + 1);
}

int report(const char* what, const char* name) {
  return disk->watch(DiskChange{what, name == nullptr ? "" : name});
}

int watched_close(sqlite3_file* file) { return real(file)->pMethods->xClose(real(file)); }

int watched_read(sqlite3_file* file, void* data, int size, sqlite3_int64 offset) {
  disk->bytes_read += static_cast<std::uint64_t>(size);
  return real(file)->pMethods->xRead(real(file), data, size, offset);
}

int watched_write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
  const int result = report("write", name_of(file));
  return result != SQLITE_OK ? result
                             : real(file)->pMethods->xWrite(real(file), data, size, offset);
}

int watched_truncate(sqlite3_file* file, sqlite3_int64 size) {
  const int result = report("cut", name_of(file));
  return result != SQLITE_OK ? result : real(file)->pMethods->xTruncate(real(file), size);
}

/// No test needs to survive a power cut, and without the wait tests run much faster.
int watched_sync(sqlite3_file* file, int) { return report("sync", name_of(file)); }

int watched_file_size(sqlite3_file* file, sqlite3_int64* size) {
  return real(file)->pMethods->xFileSize(real(file), size);
}

int watched_lock(sqlite3_file* file, int level) {
  return real(file)->pMethods->xLock(real(file), level);
}

int watched_unlock(sqlite3_file* file, int level) {
  return real(file)->pMethods->xUnlock(real(file), level);
}

int watched_check_lock(sqlite3_file* file, int* held) {
  return real(file)->pMethods->xCheckReservedLock(real(file), held);
}

int watched_control(sqlite3_file* file, int operation, void* argument) {
  return real(file)->pMethods->xFileControl(real(file), operation, argument);
}

int watched_sector_size(sqlite3_file* file) {
  return real(file)->pMethods->xSectorSize(real(file));
}

int watched_characteristics(sqlite3_file* file) {
  return real(file)->pMethods->xDeviceCharacteristics(real(file));
}

int watched_shm_map(sqlite3_file* file, int region, int size, int extend, void volatile** memory) {
  if (disk->read_only) {
    return SQLITE_CANTOPEN;
  }
  const int result = extend != 0 ? report("map", name_of(file)) : SQLITE_OK;
  return result != SQLITE_OK
             ? result
             : real(file)->pMethods->xShmMap(real(file), region, size, extend, memory);
}

int watched_shm_lock(sqlite3_file* file, int offset, int count, int flags) {
  return real(file)->pMethods->xShmLock(real(file), offset, count, flags);
}

void watched_shm_barrier(sqlite3_file* file) { real(file)->pMethods->xShmBarrier(real(file)); }

int watched_shm_unmap(sqlite3_file* file, int remove) {
  return real(file)->pMethods->xShmUnmap(real(file), remove);
}

constexpr int kMethodsWithSharedMemory = 2;

constexpr sqlite3_io_methods kMethods = {
    kMethodsWithSharedMemory,
    watched_close,
    watched_read,
    watched_write,
    watched_truncate,
    watched_sync,
    watched_file_size,
    watched_lock,
    watched_unlock,
    watched_check_lock,
    watched_control,
    watched_sector_size,
    watched_characteristics,
    watched_shm_map,
    watched_shm_lock,
    watched_shm_barrier,
    watched_shm_unmap,
    nullptr,
    nullptr,
};

int watched_open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out_flags) {
  file->pMethods = nullptr;
  if (disk->read_only) {
    if ((flags & SQLITE_OPEN_MAIN_DB) == 0) {
      return SQLITE_CANTOPEN;
    }
    flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
  }
  if ((flags & SQLITE_OPEN_CREATE) != 0) {
    if (const int result = report("create", name); result != SQLITE_OK) {
      return result;
    }
  }
  const int result = disk->real->xOpen(disk->real, name, real(file), flags, out_flags);
  if (result == SQLITE_OK) {
    file->pMethods = &kMethods;
    reinterpret_cast<WatchedFile*>(file)->name = name;
  }
  return result;
}

int watched_delete(sqlite3_vfs*, const char* name, int) {
  constexpr int kNoSync = 0;
  const int result = report("delete", name);
  return result != SQLITE_OK ? result : disk->real->xDelete(disk->real, name, kNoSync);
}

sqlite3_vfs watched_vfs;

}  // namespace

WatchedDisk::WatchedDisk(Watch watch) {
  if (disk != nullptr) {
    throw std::logic_error("two watched disks at a time");
  }
  disk = new Disk{sqlite3_vfs_find(nullptr), std::move(watch)};
  watched_vfs = *disk->real;
  watched_vfs.pNext = nullptr;
  watched_vfs.zName = "watched";
  watched_vfs.szOsFile = static_cast<int>(sizeof(WatchedFile)) + disk->real->szOsFile;
  watched_vfs.xOpen = watched_open;
  watched_vfs.xDelete = watched_delete;
  sqlite3_vfs_register(&watched_vfs, 1);
}

WatchedDisk::~WatchedDisk() {
  sqlite3_vfs_unregister(&watched_vfs);
  sqlite3_vfs_register(disk->real, 1);
  delete std::exchange(disk, nullptr);
}

std::uint64_t WatchedDisk::bytes_read() const { return disk->bytes_read; }

void WatchedDisk::set_read_only() { disk->read_only = true; }
