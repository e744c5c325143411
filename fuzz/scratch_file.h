#ifndef RASTELO_FUZZ_SCRATCH_FILE_H
#define RASTELO_FUZZ_SCRATCH_FILE_H

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

/// A file of this process, in memory where the system has a place for that, for libraries that
/// open paths.
class ScratchFile {
 public:
  /// `ending` is the file's extension.
  explicit ScratchFile(const char* ending)
      : path_((std::filesystem::exists("/dev/shm") ? "/dev/shm/" : "/tmp/") +
              std::string("rastelo_fuzz_") + std::to_string(::getpid()) + ending) {}
  ~ScratchFile() { std::remove(path_.c_str()); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const char* Path() const { return path_.c_str(); }

 private:
  std::string path_;
};

#endif  // RASTELO_FUZZ_SCRATCH_FILE_H
