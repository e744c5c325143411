#include "testing/object_probe.h"

#include <fstream>
#include <iterator>

namespace rastelo {

namespace {
std::vector<std::uint8_t> Bytes(const std::shared_ptr<unsigned char[]>& buffer, std::size_t count) {
  return buffer ? std::vector<std::uint8_t>(buffer.get(), buffer.get() + count)
                : std::vector<std::uint8_t>();
}

std::size_t StoreBytes(LONG width, LONG height, int bitCount) {
  return static_cast<std::size_t>(Pitch(width, bitCount) * height);
}
}  // namespace

ObjectProbe::State ObjectProbe::Of(const CRastelo& object) {
  return {
      object.m_szFileName,
      Bytes(object.m_pImgBits, StoreBytes(object.m_lWidth, object.m_lHeight, object.m_nBitCount)),
      Bytes(object.m_pOrgBits,
            StoreBytes(object.m_lOrgWidth, object.m_lOrgHeight, object.m_nOrgBitCount)),
      Bytes(object.m_pBmpHeader, 1064),
      object.m_lWidth,
      object.m_lHeight,
      object.m_lLineBytes,
      object.m_lOrgWidth,
      object.m_lOrgHeight,
      object.m_nBitCount,
      object.m_nOrgBitCount,
      object.m_bOpened,
      object.m_pImgBits != nullptr,
  };
}

bool ObjectProbe::IsConsistent(const CRastelo& object) {
  if (!object.m_pDrawRect || object.m_szFileName[259] != 0) return false;
  if (object.m_lLineBytes != Pitch(object.m_lWidth, object.m_nBitCount)) return false;
  if (object.m_bOpened && !(object.m_pImgBits && object.m_pOrgBits)) return false;
  if (!object.m_pImgBits && (object.m_lWidth != 0 || object.m_lHeight != 0)) return false;
  Of(object);  // reads every byte that the sizes promise
  return true;
}

}  // namespace rastelo

LiteralImage ImageOf(const CRastelo& object) {
  const auto state = rastelo::ObjectProbe::Of(object);
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
