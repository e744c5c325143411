// Hosts are compiled with the size and the layout of both classes in them: a change here needs a
// new SOVERSION, that is, a new minor version, or hosts of the old one overwrite what lies behind
// their objects.
#include <cstddef>

#include "image/inside.h"

namespace {
/// What systems with pointers of 64 and of 32 bits have.
constexpr std::size_t Bytes(std::size_t on64, std::size_t on32) {
  return sizeof(void*) == 8 ? on64 : on32;
}
}  // namespace

struct rastelo::Inside::Layout {
  static_assert(offsetof(CRastelo, m_szFileName) == Bytes(8, 4));
  static_assert(offsetof(CRastelo, m_pImgBits) == Bytes(272, 264));
  static_assert(offsetof(CRastelo, m_lWidth) == Bytes(288, 272));
  static_assert(offsetof(CRastelo, m_lHeight) == Bytes(292, 276));
  static_assert(offsetof(CRastelo, m_pOrgBits) == Bytes(296, 280));
  static_assert(offsetof(CRastelo, m_lOrgWidth) == Bytes(312, 288));
  static_assert(offsetof(CRastelo, m_lOrgHeight) == Bytes(316, 292));
  static_assert(offsetof(CRastelo, m_pDrawRect) == Bytes(320, 296));
  static_assert(offsetof(CRastelo, m_pBmpHeader) == Bytes(336, 304));
  static_assert(offsetof(CRastelo, m_nBitCount) == Bytes(352, 312));
  static_assert(offsetof(CRastelo, m_lLineBytes) == Bytes(356, 316));
  static_assert(offsetof(CRastelo, m_bOpened) == Bytes(360, 320));
  static_assert(offsetof(CRastelo, m_pSpectrumBits) == Bytes(368, 324));
  static_assert(offsetof(CRastelo, m_pFreqRows) == Bytes(384, 332));
  static_assert(offsetof(CRastelo, m_pFreqCoefs) == Bytes(400, 340));
  static_assert(offsetof(CRastelo, m_nDrawOffsetX) == Bytes(416, 348));
  static_assert(offsetof(CRastelo, m_nDrawOffsetY) == Bytes(420, 352));
  static_assert(offsetof(CRastelo, m_nOrgBitCount) == Bytes(424, 356));
  static_assert(offsetof(CRastelo, m_lFreqWidth) == Bytes(428, 360));
  static_assert(offsetof(CRastelo, m_lFreqHeight) == Bytes(432, 364));
  static_assert(offsetof(CRastelo, m_pFreqFactors) == Bytes(440, 368));
  static_assert(offsetof(CRastelo, m_pReconstructed) == Bytes(456, 376));
};

static_assert(sizeof(CRastelo) == Bytes(472, 384));
static_assert(sizeof(CImgRevokeOpr) == Bytes(16, 8));
