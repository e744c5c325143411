#include "steps/platform/files.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <new>
#include <random>

#include "steps/platform/file_calls.h"

namespace rastelo::steps::platform {
namespace {

using Kind = FileInfo::Kind;

constexpr const char* kFolderHere = "it is a folder";
constexpr const char* kNoFolder = "it is no folder";
constexpr const char* kNoRegularFile = "it is no regular file";
constexpr std::size_t kFirstPiece = std::size_t{64} << 10;

Bytes Grown(const Bytes& bytes) {
  Bytes grown(bytes.size() * 2);
  std::memcpy(grown.data(), bytes.data(), bytes.size());
  return grown;
}

/// Reads on to the end. `expected` bytes will come, or more or fewer; before each read, `await()`.
template <class Await>
Bytes ReadToEnd(File& file, std::uint64_t expected, Await await) {
  if (expected >= SIZE_MAX / 2) throw std::bad_alloc();
  Bytes bytes(static_cast<std::size_t>(expected) + 1);  // 1 more, to see the end
  for (std::size_t filled = 0;;) {
    if (filled == bytes.size()) bytes = Grown(bytes);
    await();
    const std::ptrdiff_t got = file.Read(bytes.data() + filled, bytes.size() - filled);
    if (got < 0) ThrowLastError();
    filled += static_cast<std::size_t>(got);
    if (got > 0) continue;
    bytes.Shorten(filled);
    return bytes;
  }
}

std::string RandomName() {
  std::array<char, 24> name{};
  std::snprintf(name.data(), name.size(), ".rastelo-%08x", std::random_device()());
  return name.data();
}

/// A file that goes again unless it has come to be another.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string path) : path_(std::move(path)), file_(CreateNew(path_)) {}
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  void Fill(std::span<const std::uint8_t> bytes);
  void TakePermissionsOf(const std::string& other) { TakePermissions(file_, path_, other); }
  void Become(const std::string& target, const WriteMode& mode);

 private:
  std::string path_;
  File file_;
  bool isRenamed_ = false;
};

TemporaryFile::~TemporaryFile() {
  if (isRenamed_) return;
  file_.Close();
  try {
    RemoveFile(path_);
  } catch (const FileError&) {  // what has brought it here is told, not what follows
  }
}

void TemporaryFile::Fill(std::span<const std::uint8_t> bytes) {
  if (!file_.WriteAll(bytes.data(), bytes.size())) ThrowLastError();
}

void TemporaryFile::Become(const std::string& target, const WriteMode& mode) {
  if (mode.time) SetTime(file_, *mode.time);
  if (!file_.Close()) ThrowLastError();
  Rename(path_, target, mode.overwrite);
  isRenamed_ = true;
}

/// The path of the temporary file for a target, free unless somebody has just taken it.
std::string TemporaryPath(const std::string& target, const WriteMode& mode) {
  const std::string folder = FolderOf(target);
  if (mode.temporaryName.empty()) return JoinPath(folder, RandomName());
  std::string path = JoinPath(folder, mode.temporaryName);
  RemoveFile(path);
  return path;
}

void WriteInPlace(const std::string& path, std::span<const std::uint8_t> bytes) {
  File file = OpenToWrite(path);
  if (!file.WriteAll(bytes.data(), bytes.size()) || !file.Close()) ThrowLastError();
}

/// Where the last element of a path begins.
std::size_t NameStart(const std::string& path) {
  const auto last = std::find_if(path.rbegin(), path.rend(), IsSeparator);
  return std::max(static_cast<std::size_t>(path.rend() - last), RootLength(path));
}

}  // namespace

Bytes ReadFile(const std::string& path) {
  File file = OpenToRead(path);
  const FileInfo info = InfoOf(file);
  if (info.kind == Kind::kFolder) throw FileError(kFolderHere);
  if (info.kind != Kind::kFile) throw FileError(kNoRegularFile);
  return ReadToEnd(file, info.size, [] {});
}

Bytes ReadStandardInput() {
  File input = StandardInput();
  return ReadToEnd(input, kFirstPiece, [&] { AwaitInput(input); });
}

void WriteStandardOutput(std::span<const std::uint8_t> bytes) {
  if (std::fflush(stdout) != 0) ThrowLastError();
  File output = StandardOutput();
  if (!output.WriteAll(bytes.data(), bytes.size())) ThrowLastError();
}

void WriteFile(const std::string& path, std::span<const std::uint8_t> bytes,
               const WriteMode& mode) {
  const Kind before = Inspect(path).kind;
  if (before == Kind::kFolder) throw FileError(kFolderHere);
  if (before == Kind::kOther) return WriteInPlace(path, bytes);
  if (before == Kind::kFile && !mode.overwrite) throw FileError(kStandsAlready);
  const std::string target = FollowLinks(path);
  if (before == Kind::kFile) static_cast<void>(OpenToWrite(target));  // throws if it may not be
  TemporaryFile temporary(TemporaryPath(target, mode));
  temporary.Fill(bytes);
  if (before == Kind::kFile) temporary.TakePermissionsOf(target);
  temporary.Become(target, mode);
}

LogFile::LogFile(const std::string& path, bool truncate)
    : file_(OpenLog(path, truncate)), torn_(!EndsInLine(file_)) {}

void LogFile::Append(std::string_view line) {
  std::string text = torn_ ? "\n" : "";
  text.append(line).append("\n");
  torn_ = true;
  if (!file_.WriteAll(text.data(), text.size())) ThrowLastError();
  torn_ = false;
}

void MakeFolders(const std::string& path) {
  const Kind kind = Inspect(path).kind;
  if (kind == Kind::kFolder) return;
  if (kind != Kind::kNone) throw FileError(kNoFolder);
  const std::string above = FolderOf(path);
  if (!above.empty() && above != path) MakeFolders(above);
  try {
    MakeFolder(path);
  } catch (const FileError&) {
    if (Inspect(path).kind != Kind::kFolder) throw;  // somebody else has made it meanwhile
  }
}

std::string FileName(const std::string& path) { return path.substr(NameStart(path)); }

std::string FolderOf(const std::string& path) {
  std::size_t end = NameStart(path);
  while (end > RootLength(path) && IsSeparator(path[end - 1])) --end;
  return path.substr(0, end);
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  const bool isJoint = folder.size() == RootLength(folder) || IsSeparator(folder.back());
  return folder + (isJoint ? "" : "/") + name;
}

}  // namespace rastelo::steps::platform
