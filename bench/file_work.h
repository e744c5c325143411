#pragma once

#include <filesystem>
#include <string>

#include "bench/judge.h"

namespace judge {

inline const Range kFiles{{512, 4096}, {Content::kPhoto, Content::kNoise}};

/// A file of this setting's picture, in the folder for temporary files.
inline std::string FilePath(const Setting& setting, const std::string& extension) {
  const std::string name = "rastelo_bench_" + std::to_string(setting.side) + "_" +
                           std::to_string(static_cast<int>(setting.content)) + extension;
  return (std::filesystem::temp_directory_path() / name).string();
}

}  // namespace judge
