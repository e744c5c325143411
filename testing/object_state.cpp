#include "testing/object_state.h"

#include <fstream>
#include <iterator>

using rastelo::Inside;

namespace {
Bytes Copy(const void* start, std::size_t count) {
  const auto* bytes = static_cast<const std::uint8_t*>(start);
  return bytes ? Bytes(bytes, bytes + count) : Bytes();
}
}  // namespace

ObjectState::ObjectState(const CRastelo& object) : fileName(Inside::FileName(object)) {
  const rastelo::PixelStore current = Inside::Current(object), copy = Inside::Loaded(object);
  pixels = Copy(current.bits.get(), current.Bytes());
  loaded = Copy(copy.bits.get(), copy.Bytes());
  bmpHeader = Copy(Inside::BmpHeader(object), 1064);
  const rastelo::FrequencyData kept = Inside::Frequencies(object);
  const std::size_t cells = std::size_t(kept.width) * std::size_t(kept.height);
  map = Copy(kept.map.get(), cells);
  coefficients = Copy(kept.coefficients.get(), cells * sizeof(Complex));
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

Bytes ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}
