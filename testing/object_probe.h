#ifndef RASTELO_TESTING_OBJECT_PROBE_H
#define RASTELO_TESTING_OBJECT_PROBE_H

#include <string>
#include <vector>

#include "rastelo.h"
#include "testing/hook_recorder.h"
#include "testing/literal_image.h"

namespace rastelo {

/// What a test may see of an object's inside. CRastelo has it as a friend.
struct ObjectProbe {
  /// Every member but the pan offsets and the drawn area, buffers by content.
  struct State {
    std::string fileName;
    std::vector<std::uint8_t> pixels, loaded, bmpHeader;
    LONG width, height, pitch, loadedWidth, loadedHeight;
    int bitCount, loadedBitCount;
    bool opened, hasPixels;
    bool operator==(const State&) const = default;
  };
  static State Of(const CRastelo& object);
  /// Whether sizes, depths, pitch and buffers agree.
  static bool IsConsistent(const CRastelo& object);

  static RECT DrawRect(const CRastelo& object) { return *object.m_pDrawRect; }
  static int OffsetX(const CRastelo& object) { return object.m_nDrawOffsetX; }
  static int OffsetY(const CRastelo& object) { return object.m_nDrawOffsetY; }
  static unsigned char* Pixels(CRastelo& object) { return object.m_pImgBits.get(); }
  static void ReverseBitsY(CRastelo& object, LiteralImage& image) {
    object.ReverseBitsY(image.width, image.height, image.BitCount(), image.bytes.data());
  }
  static LONG GetImgSize(CRastelo& object) { return object.GetImgSize("any"); }
  static int GetImgAvgGray(CRastelo& o, int* average) { return o.GetImgAvgGray(average); }
  static void SearchOtsu(CRastelo& o, auto... a) { o.SearchOptimalThreshold_Otsu(a...); }
};

}  // namespace rastelo

/// The current image, tails included.
LiteralImage ImageOf(const CRastelo& object);
/// An object that was handed this image.
CRastelo ObjectWith(const LiteralImage& image);
/// The bytes of a file; empty if there is none.
std::vector<std::uint8_t> ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::vector<std::uint8_t>& bytes);
/// A folder of the test's own, empty at its start. Ends in "/".
std::string TestFolder();

#endif  // RASTELO_TESTING_OBJECT_PROBE_H
