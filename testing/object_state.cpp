#include "testing/object_state.h"

#include <fstream>
#include <iterator>

using rastelo::Inside;

namespace {
std::vector<std::uint8_t> Bytes(const rastelo::PixelStore& store) {
  return store.bits ? std::vector<std::uint8_t>(store.bits.get(), store.bits.get() + store.Bytes())
                    : std::vector<std::uint8_t>();
}
}  // namespace

ObjectState::ObjectState(const CRastelo& object) : fileName(Inside::FileName(object)) {
  const rastelo::PixelStore current = Inside::Current(object), copy = Inside::Loaded(object);
  pixels = Bytes(current);
  loaded = Bytes(copy);
  if (const unsigned char* header = Inside::BmpHeader(object))
    bmpHeader.assign(header, header + 1064);
  width = current.width;
  height = current.height;
  pitch = current.pitch;
  loadedWidth = copy.width;
  loadedHeight = copy.height;
  bitCount = current.bitCount;
  loadedBitCount = copy.bitCount;
  opened = object.IsOpened();
  hasPixels = current.bits != nullptr;
}

bool IsConsistent(const CRastelo& object) {
  const ObjectState state(object);  // reads every byte that the sizes promise
  if (state.fileName.size() > 259) return false;
  if (state.pitch != rastelo::Pitch(state.width, state.bitCount)) return false;
  if (state.opened && !(state.hasPixels && Inside::Loaded(object).bits)) return false;
  return state.hasPixels || (state.width == 0 && state.height == 0);
}

LiteralImage ImageOf(const CRastelo& object) {
  const ObjectState state(object);
  LiteralImage image(state.width, state.height, state.bitCount / 8);
  image.bytes = state.pixels;
  return image;
}

CRastelo ObjectWith(const LiteralImage& image) {
  const std::uint8_t none = 0;
  CRastelo object;
  object.SetExternalImageBits(image.bytes.empty() ? &none : image.bytes.data(), image.width,
                              image.height, image.BitCount());
  return object;
}

std::vector<std::uint8_t> ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}
