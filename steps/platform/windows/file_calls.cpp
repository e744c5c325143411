#include "steps/platform/file_calls.h"

#include <windows.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "steps/platform/windows/text.h"

namespace rastelo::steps::platform {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr std::int64_t kNanosecondsPerTick = 100;
constexpr std::int64_t kTicksUntil1970 = 116'444'736'000'000'000;  // from 1601 on
// What a replaced file hands on. That it is not for writing would have kept it from being replaced.
constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                  FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

// NOLINTNEXTLINE(performance-no-int-to-ptr): the header of all systems holds a number
HANDLE Handle(const File& file) { return reinterpret_cast<HANDLE>(file.SystemHandle()); }

HANDLE TryOpen(const std::string& path, DWORD access, DWORD share, DWORD disposition) {
  // Folders are opened, too, but not to be written.
  const DWORD folders = (access & GENERIC_WRITE) == 0 ? FILE_FLAG_BACKUP_SEMANTICS : 0;
  return CreateFileW(SystemPath(path).c_str(), access, share, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL | folders, nullptr);
}

File Adopt(HANDLE handle) { return File::Adopt(reinterpret_cast<std::intptr_t>(handle)); }

File Open(const std::string& path, DWORD access, DWORD share, DWORD disposition) {
  const HANDLE handle = TryOpen(path, access, share, disposition);
  if (handle == INVALID_HANDLE_VALUE) ThrowLastError();
  return Adopt(handle);
}

/// Opens what exists without asking for its content, which others may keep to themselves. False,
/// and GetLastError tells why, where that fails.
File TryOpenAttributes(const std::string& path) {
  return Adopt(TryOpen(path, FILE_READ_ATTRIBUTES, kShareAll, OPEN_EXISTING));
}

/// What a standard stream leads to, for this process to close.
File Duplicate(DWORD stream) {
  const HANDLE process = GetCurrentProcess();
  const HANDLE shared = GetStdHandle(stream);
  HANDLE own = nullptr;
  if (!shared || shared == INVALID_HANDLE_VALUE) ThrowError(ERROR_INVALID_HANDLE);
  if (!DuplicateHandle(process, shared, process, &own, 0, FALSE, DUPLICATE_SAME_ACCESS))
    ThrowLastError();
  return Adopt(own);
}

std::uint64_t Join(DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; }

std::int64_t TimeOf(const FILETIME& time) {
  const auto ticks = static_cast<std::int64_t>(Join(time.dwHighDateTime, time.dwLowDateTime));
  return Nanoseconds(ticks - kTicksUntil1970, kNanosecondsPerTick);
}

FILETIME FileTimeOf(std::int64_t time) {
  const auto ticks = static_cast<std::uint64_t>(time / kNanosecondsPerTick + kTicksUntil1970);
  return {.dwLowDateTime = static_cast<DWORD>(ticks),
          .dwHighDateTime = static_cast<DWORD>(ticks >> 32)};
}

/// Where a path that exists leads to, from the root on; nothing where the system does not tell.
std::optional<std::string> FinalPath(const std::string& path) {
  const File file = TryOpenAttributes(path);
  if (!file) return std::nullopt;
  std::wstring real(GetFinalPathNameByHandleW(Handle(file), nullptr, 0, 0) + std::size_t{1}, L'\0');
  const DWORD length =
      GetFinalPathNameByHandleW(Handle(file), real.data(), static_cast<DWORD>(real.size()), 0);
  if (length == 0 || length >= real.size()) return std::nullopt;
  real.resize(length);
  return Utf8(PlainPath(real));
}

bool IsLink(const WIN32_FIND_DATAW& found) {
  return (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         (found.dwReserved0 == IO_REPARSE_TAG_SYMLINK ||
          found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
}

/// `name`, which may be empty, below a folder.
std::string Below(const std::string& folder, const std::string& name) {
  const bool isJoint = name.empty() || IsSeparator(folder.back());
  return folder + (isJoint ? "" : "\\") + name;
}

bool IsSelfOrParent(const std::string& name) { return name == "." || name == ".."; }

}  // namespace

void ThrowLastError() { ThrowError(GetLastError()); }

File OpenToRead(const std::string& path) {
  return Open(path, GENERIC_READ, kShareAll, OPEN_EXISTING);
}

File OpenToWrite(const std::string& path) {
  return Open(path, GENERIC_WRITE, kShareAll, OPEN_EXISTING);
}

File CreateNew(const std::string& path) {
  return Open(path, GENERIC_WRITE, FILE_SHARE_READ, CREATE_NEW);
}

File OpenLog(const std::string& path, bool truncate) {
  const HANDLE handle = TryOpen(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_ALWAYS);
  if (handle == INVALID_HANDLE_VALUE && GetLastError() == ERROR_SHARING_VIOLATION)
    throw FileError(kLogIsBusy);
  if (handle == INVALID_HANDLE_VALUE) ThrowLastError();
  if (truncate) SetEndOfFile(handle);
  return Adopt(handle);
}

bool EndsInLine(File& log) {
  const FileInfo info = InfoOf(log);
  if (info.size == 0) return true;
  LARGE_INTEGER last{};
  last.QuadPart = static_cast<LONGLONG>(info.size - 1);
  char byte = 0;
  if (!SetFilePointerEx(Handle(log), last, nullptr, FILE_BEGIN)) ThrowLastError();
  if (!log.ReadAll(&byte, 1)) ThrowLastError();
  return byte == '\n';  // and the log is at its end
}

File StandardInput() { return Duplicate(STD_INPUT_HANDLE); }

File StandardOutput() { return Duplicate(STD_OUTPUT_HANDLE); }

void AwaitInput(const File& /*input*/) {}  // Ctrl-C ends a read from the console

FileInfo InfoOf(const File& file) {
  BY_HANDLE_FILE_INFORMATION info{};
  if (GetFileType(Handle(file)) != FILE_TYPE_DISK) return {.kind = FileInfo::Kind::kOther};
  if (!GetFileInformationByHandle(Handle(file), &info)) ThrowLastError();
  const bool isFolder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return {.kind = isFolder ? FileInfo::Kind::kFolder : FileInfo::Kind::kFile,
          .size = Join(info.nFileSizeHigh, info.nFileSizeLow),
          .time = TimeOf(info.ftLastWriteTime),
          .device = info.dwVolumeSerialNumber,
          .identity = Join(info.nFileIndexHigh, info.nFileIndexLow)};
}

FileInfo Inspect(const std::string& path) {
  if (path.empty()) return {};
  const File file = TryOpenAttributes(path);
  if (file) return InfoOf(file);
  const DWORD error = GetLastError();
  if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) ThrowError(error);
  return {};
}

std::string FollowLinks(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(SystemPath(path).c_str());
  const bool mayLead =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  return mayLead ? FinalPath(path).value_or(path) : path;
}

void TakePermissions(const File& /*file*/, const std::string& path, const std::string& replaced) {
  const std::wstring from = SystemPath(replaced), to = SystemPath(path);
  const DWORD attributes = GetFileAttributesW(from.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES)
    SetFileAttributesW(to.c_str(), attributes & kKeptAttributes);
  DWORD size = 0;
  GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<std::uint64_t> record(size / sizeof(std::uint64_t) + 1);
  if (GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, record.data(), size, &size))
    SetFileSecurityW(to.c_str(), DACL_SECURITY_INFORMATION, record.data());
}

void SetTime(const File& file, std::int64_t time) {
  const FILETIME lastWrite = FileTimeOf(time);
  if (!SetFileTime(Handle(file), nullptr, nullptr, &lastWrite)) ThrowLastError();
}

void Rename(const std::string& from, const std::string& to, bool overwrite) {
  const DWORD flags = overwrite ? MOVEFILE_REPLACE_EXISTING : 0;
  if (MoveFileExW(SystemPath(from).c_str(), SystemPath(to).c_str(), flags)) return;
  const DWORD error = GetLastError();
  if (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS) throw FileError(kStandsAlready);
  ThrowError(error);
}

void MakeFolder(const std::string& path) {
  if (!CreateDirectoryW(SystemPath(path).c_str(), nullptr)) ThrowLastError();
}

void RemoveFile(const std::string& path) {
  if (DeleteFileW(SystemPath(path).c_str())) return;
  const DWORD error = GetLastError();
  if (error != ERROR_FILE_NOT_FOUND) ThrowError(error);
}

std::vector<Entry> ListFolder(const std::string& path) {
  WIN32_FIND_DATAW found{};
  const std::wstring folder = SystemPath(path);
  const HANDLE search =
      FindFirstFileExW((folder + (folder.ends_with(L'\\') ? L"*" : L"\\*")).c_str(),
                       FindExInfoBasic, &found, FindExSearchNameMatch, nullptr, 0);
  if (search == INVALID_HANDLE_VALUE) ThrowLastError();
  std::vector<Entry> entries;
  do {
    std::string name = Utf8(found.cFileName);
    const bool isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!IsSelfOrParent(name)) entries.push_back({std::move(name), isFolder, IsLink(found)});
  } while (FindNextFileW(search, &found));
  const DWORD end = GetLastError();
  FindClose(search);
  if (end != ERROR_NO_MORE_FILES) ThrowError(end);
  std::ranges::sort(entries, {}, &Entry::name);
  return entries;
}

std::string RealPath(const std::string& path) {
  std::string there = Utf8(FullPath(path)), behind;
  for (;;) {
    if (const auto real = FinalPath(there)) return Below(*real, behind);
    const std::string above = FolderOf(there);
    if (above == there) return Below(there, behind);
    behind = Below(FileName(there), behind);
    there = above;
  }
}

std::string PathKey(const std::string& path) { return Utf8(Upper(Wide(RealPath(path)))); }

bool IsSeparator(char byte) { return byte == '/' || byte == '\\'; }

std::size_t RootLength(const std::string& path) {
  const std::size_t drive = path.size() >= 2 && path[1] == ':' ? 2 : 0;
  return drive + (path.size() > drive && IsSeparator(path[drive]) ? 1 : 0);
}

std::string FoldedCase(const std::string& name) { return Utf8(Upper(Wide(name))); }

}  // namespace rastelo::steps::platform
