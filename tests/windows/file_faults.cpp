#include "tests/faults.h"

#include <windows.h>

#include <algorithm>

#include "testing/windows/imported_call.h"

constinit thread_local FileFaults fileFaults;
constinit thread_local std::size_t fileBytesRead = 0;

namespace {

bool Fails(int& countdown) {
  return FileFaults::Strikes(countdown) && (SetLastError(ERROR_GEN_FAILURE), true);
}

extern decltype(ReadFile)* const realRead;
BOOL WINAPI Read(HANDLE file, void* bytes, DWORD count, DWORD* got, OVERLAPPED* overlapped) {
  if (Fails(fileFaults.read)) return FALSE;
  if (Fails(fileFaults.endOfFile)) count = 0;
  if (fileFaults.shortReads) count = std::min<DWORD>(count, 7);
  const BOOL result = realRead(file, bytes, count, got, overlapped);
  fileBytesRead += result ? *got : 0;
  return result;
}
decltype(ReadFile)* const realRead = ReplaceImportedCall("ReadFile", Read);

extern decltype(WriteFile)* const realWrite;
BOOL WINAPI Write(HANDLE file, const void* bytes, DWORD count, DWORD* put, OVERLAPPED* overlapped) {
  return Fails(fileFaults.write) ? FALSE : realWrite(file, bytes, count, put, overlapped);
}
decltype(WriteFile)* const realWrite = ReplaceImportedCall("WriteFile", Write);

extern decltype(GetFileType)* const realKind;
DWORD WINAPI Kind(HANDLE file) {
  return Fails(fileFaults.kind) ? FILE_TYPE_UNKNOWN : realKind(file);
}
decltype(GetFileType)* const realKind = ReplaceImportedCall("GetFileType", Kind);

extern decltype(GetFileSize)* const realSize;
DWORD WINAPI Size(HANDLE file, DWORD* high) {
  return Fails(fileFaults.size) ? INVALID_FILE_SIZE : realSize(file, high);
}
decltype(GetFileSize)* const realSize = ReplaceImportedCall("GetFileSize", Size);

extern decltype(CloseHandle)* const realClose;
BOOL WINAPI Close(HANDLE file) {
  const BOOL closed = realClose(file);
  return Fails(fileFaults.close) ? FALSE : closed;
}
decltype(CloseHandle)* const realClose = ReplaceImportedCall("CloseHandle", Close);

}  // namespace
