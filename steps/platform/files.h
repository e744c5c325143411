#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file.h"

// Paths are UTF-8; on POSIX, any bytes. They may be longer than 260 characters. "/" separates
// elements, on Windows "\" as well. A path with a byte 0 is refused everywhere.

namespace rastelo::steps::platform {

/// Why a call on a file failed: in most cases the system's own words, "No such file or directory".
/// One line of UTF-8 without a full stop and without the file's name.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Whoever reads from this program's pipe has gone.
struct BrokenPipe : FileError {
  using FileError::FileError;
};

/// Bytes in memory that is not filled before they come.
class Bytes {
 public:
  Bytes() = default;
  /// `size` bytes of any value. Throws std::bad_alloc.
  explicit Bytes(std::size_t size)
      : bytes_(std::make_unique_for_overwrite<std::uint8_t[]>(size)), size_(size) {}

  std::uint8_t* data() { return bytes_.get(); }
  const std::uint8_t* data() const { return bytes_.get(); }
  std::size_t size() const { return size_; }
  operator std::span<const std::uint8_t>() const { return {data(), size()}; }
  /// Keeps the first `size` bytes, of which there are so many at least.
  void Shorten(std::size_t size) { size_ = size; }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_ = 0;
};

/// All of a regular file. Throws FileError, also for folders and devices, and std::bad_alloc.
Bytes ReadFile(const std::string& path);

/// All bytes of the standard input, as they are. Throws FileError, on POSIX also where
/// CatchInterrupts() notes a signal meanwhile, and std::bad_alloc.
Bytes ReadStandardInput();

/// Sends all bytes to the standard output as they are, behind what <cstdio> still held back. Throws
/// FileError; BrokenPipe where PrepareStreams() has been called.
void WriteStandardOutput(std::span<const std::uint8_t> bytes);

struct FileInfo {
  enum class Kind { kNone, kFile, kFolder, kOther };
  Kind kind = Kind::kNone;
  std::uint64_t size = 0;
  std::int64_t time = 0;                   ///< of the last change, nanoseconds since 1970, UTC
  std::uint64_t device = 0, identity = 0;  ///< equal for two names of one existing file
};

/// What stands behind a path, links followed; kNone for nothing or a link that leads nowhere.
/// Throws FileError where that cannot be told.
FileInfo Inspect(const std::string& path);

struct WriteMode {
  bool overwrite = false;                 ///< whether an existing file may be replaced
  std::optional<std::int64_t> time = {};  ///< of the last change, as in FileInfo; else the present
  /// The name, without a folder, of the temporary file; a file of this name is replaced. Empty for
  /// ".rastelo-" and eight random digits that no file has.
  std::string temporaryName = {};
};

/// Leaves a file with all of `bytes`, or what was there before: the bytes go to a temporary file in
/// the same folder, which is then renamed, and removed if anything fails. (A machine that loses its
/// power may lose the file.) Throws FileError: "it exists already" without `overwrite`, also for
/// files that turn up meanwhile.
/// Links are followed. A replaced file hands its permissions on; one that may not be written is not
/// replaced. Devices and pipes are written in place, whatever the mode.
void WriteFile(const std::string& path, std::span<const std::uint8_t> bytes, const WriteMode& mode);

/// A file of lines that one process at a time writes, each line at its end.
class LogFile {
 public:
  /// Opens or creates it; cut to no lines where `truncate` is set. Throws FileError: "another run
  /// is writing it" if a LogFile of any process holds it.
  explicit LogFile(const std::string& path, bool truncate = false);
  /// Adds a line, which comes without its line end, in one write. If the file ends in the middle of
  /// a line (a writer was killed, the disk was full), the new line begins behind a line end. Throws
  /// FileError.
  void Append(std::string_view line);

 private:
  rastelo::platform::File file_;
  bool torn_;
};

/// Makes a folder and those above it that do not exist. One that is there already is fine. Throws
/// FileError.
void MakeFolders(const std::string& path);

struct Entry {
  std::string name;
  bool isFolder;  ///< a folder, or a link to one
  bool isLink;    ///< a symbolic link or a junction: walks of whole trees pass by those to folders
};

/// What a folder holds, but for "." and "..", sorted by the bytes of the names. On Windows, "\"
/// ends no element here: names only. Throws FileError.
std::vector<Entry> ListFolder(const std::string& path);

/// Removes a file or a link; none there is fine. Throws FileError.
void RemoveFile(const std::string& path);

/// The path from the root on, without links, "." and ".."; elements behind the last one that exists
/// stay as they are. Throws FileError.
std::string RealPath(const std::string& path);

/// A name as folders compare names: in one case where the system does not tell cases apart.
std::string FoldedCase(const std::string& name);

/// A text that is equal for two paths that lead to one file, now or once it is written: the real
/// path, on Windows without a difference between upper and lower case. Hard links differ. Throws
/// FileError.
std::string PathKey(const std::string& path);

/// The last element of a path: "b.bmp" of "a/b.bmp"; empty if it ends in a separator.
std::string FileName(const std::string& path);
/// What stands before it, without separators at the end: "a" of "a/b.bmp", "/" of "/b.bmp", empty
/// for a path of one element.
std::string FolderOf(const std::string& path);
/// `name` in `folder`, "/" between them; `name` itself where the folder is empty.
std::string JoinPath(const std::string& folder, const std::string& name);

}  // namespace rastelo::steps::platform
