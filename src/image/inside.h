#pragma once

#include <memory>

#include "pixels/image_view.h"
#include "pixels/pixel_store.h"
#include "rastelo.h"

namespace rastelo {

/// What a Fourier transform keeps for the next step, for an image of `width` x `height` pixels.
struct FrequencyData {
  std::shared_ptr<Complex[]> rows, coefficients, factors;
  std::shared_ptr<unsigned char[]> map;
  std::shared_ptr<bool> isReconstruction;  // whether the map holds what the inverse gave
  LONG width = 0, height = 0;
};

/// Everything of an image object that the class does not show: its only friend. The library's own
/// members, bindings, tools, tests and fuzzers go through it.
struct Inside {
  /// The pixels as they are, and as they came in; a store without memory if there are none. Stores
  /// share the object's memory.
  static PixelStore Current(const CRastelo& image) {
    return {image.m_pImgBits, image.m_lWidth, image.m_lHeight, image.m_lLineBytes,
            image.m_nBitCount};
  }
  static PixelStore Loaded(const CRastelo& image) {
    return {image.m_pOrgBits, image.m_lOrgWidth, image.m_lOrgHeight,
            static_cast<std::int32_t>(Pitch(image.m_lOrgWidth, image.m_nOrgBitCount)),
            image.m_nOrgBitCount};
  }
  static ImageView Pixels(CRastelo& image) {
    return {image.m_pImgBits.get(), image.m_lWidth, image.m_lHeight, image.m_lLineBytes};
  }
  static ConstImageView Pixels(const CRastelo& image) {
    return {image.m_pImgBits.get(), image.m_lWidth, image.m_lHeight, image.m_lLineBytes};
  }
  static int BitCount(const CRastelo& image) { return image.m_nBitCount; }
  static bool HasPixels(const CRastelo& image) {
    return image.m_pImgBits && image.m_lWidth > 0 && image.m_lHeight > 0;
  }
  /// Whether operations know what the pixels are: 8 bits gray, or 24 bits blue, green, red.
  static bool HasKnownDepth(const CRastelo& image) { return IsKnownDepth(image.m_nBitCount); }
  /// The first GetWidth() bytes of each row, whichever of the known depths the image has; without
  /// pixels, a view of no sides.
  static ImageView RowBytes(CRastelo& image) {
    return HasKnownDepth(image) && HasPixels(image) ? Pixels(image) : ImageView();
  }

  /// Makes these the current pixels: pointer, sizes, pitch and depth together.
  static void Adopt(CRastelo& image, const PixelStore& store) noexcept;
  /// Memory for the second copy of pixels that come in: that of the last copy if it has their size
  /// and no other object shares it, since new memory costs as much as a good part of decoding.
  /// Throws std::bad_alloc.
  static PixelStore RoomForLoaded(const CRastelo& image, const PixelStore& store);
  /// The end of every successful open: copies the pixels to the room, and adopts both.
  static void AdoptLoaded(CRastelo& image, const PixelStore& store,
                          const PixelStore& room) noexcept;
  /// Makes these the pixels as they came in as well as the current ones, without a copy: what an
  /// operation then changes in place has changed in both.
  static void AdoptShared(CRastelo& image, const PixelStore& store) noexcept;

  static FrequencyData Frequencies(const CRastelo& image) {
    return {image.m_pFreqRows,      image.m_pFreqCoefs, image.m_pFreqFactors, image.m_pSpectrumBits,
            image.m_pReconstructed, image.m_lFreqWidth, image.m_lFreqHeight};
  }
  /// Whether there are coefficients and a map of the image's current size.
  static bool HasFrequencies(const CRastelo& image) {
    return image.m_pFreqCoefs && image.m_lFreqWidth == image.m_lWidth &&
           image.m_lFreqHeight == image.m_lHeight;
  }
  /// Whether GetSpectrum gives what IFFT has reconstructed, in rows, and not magnitudes.
  static bool IsReconstruction(const CRastelo& image) {
    return HasFrequencies(image) && *image.m_pReconstructed;
  }
  static void AdoptFrequencies(CRastelo& image, FrequencyData data) noexcept;

  /// The area of the last one-to-one draw, and the pan offsets that it has left.
  static RECT DrawnArea(const CRastelo& image) { return *image.m_pDrawRect; }
  static int PanX(const CRastelo& image) { return image.m_nDrawOffsetX; }
  static int PanY(const CRastelo& image) { return image.m_nDrawOffsetY; }
  /// The path of the last JPEG file found, cut at 259 characters.
  static const char* FileName(const CRastelo& image) { return image.m_szFileName; }
  /// The 1064 bytes behind the file header of the last BMP file, or null.
  static const unsigned char* BmpHeader(const CRastelo& image) { return image.m_pBmpHeader.get(); }

  // Private members, as they are declared.
  static void ReverseBitsY(CRastelo& o, LONG width, LONG height, int bitCount,
                           unsigned char* bits) {
    o.ReverseBitsY(width, height, bitCount, bits);
  }
  static LONG GetImgSize(CRastelo& o, const char* path) { return o.GetImgSize(path); }
  static int GetImgAvgGray(CRastelo& o, int* average) { return o.GetImgAvgGray(average); }
  static void SearchOtsu(CRastelo& o, int low, int high, int* result) {
    o.SearchOptimalThreshold_Otsu(low, high, result);
  }
  static void SearchOtsu(CRastelo& o, int* result) { o.SearchOptimalThreshold_Otsu(result); }
  static void SearchGraphCut(CRastelo& o, int* result) {
    o.SearchOptimalThreshold_GraphCut(result);
  }
  static void SearchNdhm(CRastelo& o, int radius, int* result) {
    o.SearchOptimalThreshold_NDHM(radius, result);
  }
  static void TransformPlane(CRastelo& o, Complex* first, Complex* second) {
    o.ImgFFT_2D(first, second);
  }
  struct Layout;  // where members lie, held when the library is compiled
};

}  // namespace rastelo
