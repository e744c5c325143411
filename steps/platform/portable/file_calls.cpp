#include "steps/platform/file_calls.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "steps/platform/interrupt.h"

namespace fs = std::filesystem;

namespace rastelo::steps::platform {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int kMostLinks = 40;

[[noreturn]] void Throw(int error) {
  const std::string reason = std::generic_category().message(error);
  if (error == EPIPE) throw BrokenPipe(reason);
  throw FileError(reason);
}

[[noreturn]] void Throw(const std::error_code& error) { Throw(error.value()); }

/// A path as the system takes it. A byte 0 would cut it short.
const char* PathOf(const std::string& path) {
  if (path.find('\0') != std::string::npos) Throw(EINVAL);
  return path.c_str();
}

int Descriptor(const File& file) { return static_cast<int>(file.SystemHandle()); }

File Open(const std::string& path, int flags) {
  const int descriptor = ::open(PathOf(path), flags | O_CLOEXEC, 0666);
  if (descriptor < 0) ThrowLastError();
  return File::Adopt(descriptor);
}

File Duplicate(int descriptor) {
  const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (own < 0) ThrowLastError();
  return File::Adopt(own);
}

FileInfo::Kind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileInfo::Kind::kFile;
  return S_ISDIR(mode) ? FileInfo::Kind::kFolder : FileInfo::Kind::kOther;
}

FileInfo InfoOf(const struct stat& status) {
  return {
      .kind = KindOf(status.st_mode),
      .size = static_cast<std::uint64_t>(status.st_size),
      .time = Nanoseconds(status.st_mtim.tv_sec, kNanosecondsPerSecond) + status.st_mtim.tv_nsec,
      .device = status.st_dev,
      .identity = status.st_ino};
}

timespec TimeOf(std::int64_t time) {
  std::int64_t seconds = time / kNanosecondsPerSecond;
  std::int64_t rest = time % kNanosecondsPerSecond;
  if (rest < 0) {
    rest += kNanosecondsPerSecond;
    --seconds;
  }
  return {.tv_sec = static_cast<time_t>(seconds), .tv_nsec = static_cast<long>(rest)};
}

/// Gives a file another name that no file has. @return 0 or the error.
int RenameToNew(const char* from, const char* to) {
#ifdef RENAME_NOREPLACE
  if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;  // those where the file system cannot
#endif
  if (::link(from, to) != 0) return errno;
  ::unlink(from);
  return 0;
}

}  // namespace

void ThrowLastError() { Throw(errno); }

// Not blocking, so that a pipe without a writer is refused instead of waited for.
File OpenToRead(const std::string& path) { return Open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY); }

File OpenToWrite(const std::string& path) { return Open(path, O_WRONLY | O_NOCTTY); }

File CreateNew(const std::string& path) { return Open(path, O_WRONLY | O_CREAT | O_EXCL); }

File OpenLog(const std::string& path, bool truncate) {
  File log = Open(path, O_RDWR | O_CREAT | O_APPEND);
  if (::flock(Descriptor(log), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) throw FileError(kLogIsBusy);
    ThrowLastError();
  }
  if (truncate && InfoOf(log).size > 0 && ::ftruncate(Descriptor(log), 0) != 0) ThrowLastError();
  return log;
}

bool EndsInLine(File& log) {
  const FileInfo info = InfoOf(log);
  if (info.size == 0) return true;
  char last = 0;
  if (::pread(Descriptor(log), &last, 1, static_cast<off_t>(info.size - 1)) < 0) ThrowLastError();
  return last == '\n';
}

File StandardInput() { return Duplicate(STDIN_FILENO); }

File StandardOutput() { return Duplicate(STDOUT_FILENO); }

void AwaitInput(const File& input) {
  pollfd readable{.fd = Descriptor(input), .events = POLLIN, .revents = 0};
  while (::poll(&readable, 1, -1) < 0)
    if (errno != EINTR || Interrupted() != 0) ThrowLastError();
}

FileInfo InfoOf(const File& file) {
  struct stat status {};
  if (::fstat(Descriptor(file), &status) != 0) ThrowLastError();
  return InfoOf(status);
}

FileInfo Inspect(const std::string& path) {
  struct stat status {};
  if (::stat(PathOf(path), &status) == 0) return InfoOf(status);
  if (errno != ENOENT && errno != ENOTDIR) ThrowLastError();
  return {};
}

std::string FollowLinks(const std::string& path) {
  fs::path place = path;
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code isNoLink;
    const fs::path to = fs::read_symlink(place, isNoLink);
    if (isNoLink) return place.string();
    place = place.parent_path() / to;
  }
  Throw(ELOOP);
}

void TakePermissions(const File& file, const std::string& /*path*/, const std::string& replaced) {
  struct stat status {};
  if (::stat(PathOf(replaced), &status) != 0) ThrowLastError();
  // The owner first, for whom the system may take rights away. Few may give a file away.
  [[maybe_unused]] const int given = ::fchown(Descriptor(file), status.st_uid, status.st_gid);
  if (::fchmod(Descriptor(file), status.st_mode & 07777) != 0) ThrowLastError();
}

void SetTime(const File& file, std::int64_t time) {
  const timespec times[] = {TimeOf(time), TimeOf(time)};  // of the last access, of the last change
  if (::futimens(Descriptor(file), times) != 0) ThrowLastError();
}

void Rename(const std::string& from, const std::string& to, bool overwrite) {
  const char *const before = PathOf(from), *const after = PathOf(to);
  if (overwrite) {
    if (::rename(before, after) != 0) ThrowLastError();
    return;
  }
  const int error = RenameToNew(before, after);
  if (error == EEXIST) throw FileError(kStandsAlready);
  if (error != 0) Throw(error);
}

void MakeFolder(const std::string& path) {
  if (::mkdir(PathOf(path), 0777) != 0) ThrowLastError();
}

void RemoveFile(const std::string& path) {
  if (::unlink(PathOf(path)) != 0 && errno != ENOENT) ThrowLastError();
}

std::vector<Entry> ListFolder(const std::string& path) {
  std::vector<Entry> entries;
  std::error_code error;
  for (fs::directory_iterator entry(PathOf(path), error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code untold;  // of a link that leads nowhere, for one
    entries.push_back({.name = entry->path().filename().string(),
                       .isFolder = entry->is_directory(untold),
                       .isLink = entry->is_symlink(untold)});
  }
  if (error) Throw(error);
  std::ranges::sort(entries, {}, &Entry::name);
  return entries;
}

std::string RealPath(const std::string& path) {
  std::error_code error;
  const fs::path whole = fs::absolute(FollowLinks(PathOf(path)), error);
  const fs::path real = error ? whole : fs::weakly_canonical(whole, error);
  if (error) Throw(error);
  return (real.has_filename() ? real : real.parent_path()).string();  // "a/" is "a"
}

std::string PathKey(const std::string& path) { return RealPath(path); }

bool IsSeparator(char byte) { return byte == '/'; }

std::size_t RootLength(const std::string& path) { return path.starts_with('/') ? 1 : 0; }

std::string FoldedCase(const std::string& name) { return name; }

}  // namespace rastelo::steps::platform
