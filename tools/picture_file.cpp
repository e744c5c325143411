#include "tools/picture_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "image/bmp_format.h"
#include "tools/error.h"

namespace fs = std::filesystem;

namespace rastelo::tools {
namespace {

/// The reason that a failed system call left behind, or `otherwise` if there was none.
std::string Reason(int error, const std::string& otherwise) {
  return error != 0 ? std::strerror(error) : otherwise;
}

[[noreturn]] void FailToOpen(const std::string& path, const std::string& reason) {
  throw OperationError("cannot open '" + path + "': " + reason);
}

[[noreturn]] void FailToSave(const std::string& path, const std::string& reason) {
  throw OperationError("cannot write '" + path + "': " + reason);
}

bool IsBmpName(const std::string& path) { return path.ends_with(".bmp") || path.ends_with(".BMP"); }

constexpr const char* kUnusableBmp =
    "it is not a complete BMP file of 8 or 24 bits a pixel without compression";

std::string WhyJpegFailed(CRastelo& image, const std::string& path) {
  if (path.size() <= 4) return "the path is too short for a JPEG file; write ./" + path;
  LONG width = 0, height = 0;
  int bitCount = 0;
  if (!image.GetSizeJPG(path.c_str(), &width, &height, &bitCount)) return "it is not a JPEG file";
  if (bitCount != 8 && bitCount != 24)
    return "it has " + std::to_string(bitCount / 8) + " channels, and only 1 and 3 can be used";
  return "its picture data is damaged, ends early or is too large";
}

/// The pixels behind the file header of a BMP file, or nothing if they cannot be used.
std::optional<PixelStore> DecodeBmp(std::span<const std::uint8_t> data) {
  const std::optional<BmpLayout> layout = ReadBmpLayout(data, data.size());
  if (!layout) return std::nullopt;
  PixelStore store = PixelStore::ForOverwrite(layout->width, layout->height, layout->bitCount);
  std::memcpy(store.bits.get(), data.data() + layout->pixelOffset, store.Bytes());
  if (layout->topDown) ReverseRows(store.Pixels());
  return store;
}

/// Hands the pixels of a BMP file over as they are.
void OpenBmpAsIs(CRastelo& image, const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
  if (bytes.size() < kBmpFileHeaderBytes) FailToOpen(path, kUnusableBmp);
  const std::span<const std::uint8_t> all(bytes);
  if (!HasBmpMagic(all.first<kBmpFileHeaderBytes>())) FailToOpen(path, kUnusableBmp);
  const auto store = DecodeBmp(all.subspan(kBmpFileHeaderBytes));
  if (!store) FailToOpen(path, kUnusableBmp);
  image.SetExternalImageBits(store->bits.get(), store->width, store->height, store->bitCount);
}

/// Keeps message boxes of the library from the screen, whose words this tool says better.
struct QuietBoxes {
  explicit QuietBoxes(MessageBoxHook hook) { SetMessageBoxHook(std::move(hook)); }
  ~QuietBoxes() { SetMessageBoxHook({}); }
  QuietBoxes(const QuietBoxes&) = delete;
  QuietBoxes& operator=(const QuietBoxes&) = delete;
};

/// Removes a file unless it has been renamed.
struct TemporaryFile {
  explicit TemporaryFile(fs::path name) : path(std::move(name)) {}
  ~TemporaryFile() {
    std::error_code error;
    fs::remove(path, error);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  fs::path path;
};

/// A name in the same folder that no file has.
fs::path NameBeside(const fs::path& target) {
  std::random_device random;
  fs::path name;
  do {
    name = target.parent_path() /
           (".rastelo-" + std::to_string(random()) + target.extension().string());
  } while (fs::exists(fs::symlink_status(name)));
  return name;
}

/// Runs a save of the library's. @return the reason of its failure; empty if it succeeded.
std::string TrySave(const fs::path& path, const std::function<int(const char*)>& save) {
  errno = 0;
  if (save(path.string().c_str()) != 0) return {};
  return Reason(errno, "the picture cannot be stored in this form");
}

}  // namespace

bool HasPictureExtension(const std::string& path) {
  return IsBmpName(path) || path.ends_with(".jpg") || path.ends_with(".JPG");
}

void OpenPicture(CRastelo& image, const std::string& path, bool asIs) {
  if (!HasPictureExtension(path)) FailToOpen(path, "its name must end in .bmp, .BMP, .jpg or .JPG");
  int openError = 0;
  const QuietBoxes quiet([&](const char*, const char*) { openError = errno; });
  errno = 0;
  const bool opened = image.OpenImage(path.c_str()) != 0;
  if (openError != 0) FailToOpen(path, std::strerror(openError));
  if (!opened) FailToOpen(path, IsBmpName(path) ? kUnusableBmp : WhyJpegFailed(image, path));
  if (asIs && IsBmpName(path)) OpenBmpAsIs(image, path);
}

void SavePicture(const std::string& path, const std::function<int(const char*)>& save) {
  const QuietBoxes quiet([](const char*, const char*) {});
  std::error_code error;
  const fs::file_status before = fs::status(path, error);
  if (fs::is_directory(before)) FailToSave(path, "it is a folder");
  if (fs::exists(before) && !fs::is_regular_file(before)) {
    if (const std::string reason = TrySave(path, save); !reason.empty()) FailToSave(path, reason);
    return;
  }

  const fs::path target = fs::exists(before) ? fs::canonical(path) : fs::path(path);
  const TemporaryFile beside(NameBeside(target));
  errno = 0;
  if (!std::ofstream(beside.path))
    FailToSave(path, Reason(errno, "its folder cannot be written to"));
  std::string reason = TrySave(beside.path, save);
  if (reason.empty()) {
    if (fs::exists(before)) fs::permissions(beside.path, before.permissions(), error);
    error.clear();
    fs::rename(beside.path, target, error);
    if (error) reason = error.message();
  }
  if (!reason.empty()) FailToSave(path, reason);
}

}  // namespace rastelo::tools
