#pragma once

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

/// A file of this process, in memory where the system has a place for that, for libraries that
/// open paths.
class ScratchFile {
 public:
  /// `ending` is the file's extension.
  explicit ScratchFile(const char* ending)
      : path_((Folder() / ("rastelo_fuzz_" + std::to_string(std::random_device()()) + ending))
                  .string()) {}
  ~ScratchFile() { std::remove(path_.c_str()); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  const char* Path() const { return path_.c_str(); }

 private:
  static std::filesystem::path Folder() {
    const char* inMemory = "/dev/shm";
    return std::filesystem::exists(inMemory) ? inMemory : std::filesystem::temp_directory_path();
  }

  std::string path_;
};
