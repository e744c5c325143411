#ifndef RASTELO_H
#define RASTELO_H

/// Rastelo: raster-image operations for desktop hosts. A host creates one CRastelo an image and
/// calls its operations in any order.

#include <memory>

#include "rastelo_platform.h"

namespace rastelo {
struct Inside;  // the library's own way to what the class does not show
}

/// A complex number, the element of the frequency arrays.
struct Complex {
  double re, im;
};

/// One raster image and every operation on it.
///
/// Pixels. The current image is `m_lWidth` x `m_lHeight` pixels of 8 bits (gray, 0 black to 255
/// white, no palette) or 24 bits (blue, green, red). Rows lie bottom-up: row 0 is the bottom row of
/// the picture. Each row starts ((bits * width + 31) / 32) * 4 bytes behind the one before; the
/// bytes behind its last pixel carry no meaning. A second copy keeps the pixels as they came in.
///
/// A depth other than 8 and 24 bits is held as it was handed in, and no operation changes its
/// pixels or saves them.
///
/// Copies share memory, and the last owner releases it. A copy has the same pixels, the same drawn
/// area and the same frequency data as its original, until one of the two takes others:
/// - what changes pixels in place (filters, equalisations and segmentations of 8-bit images,
///   ReserveImgBlock, InverseGray) shows through both;
/// - what makes new pixels (opens, Close, SetExternalImageBits, RGBImg2Gray, RotateImage_Dir,
///   zooms, and all that converts a 24-bit image to gray first) changes its own object alone;
/// - a one-to-one draw moves the drawn area of both, but only its own pan offsets;
/// - FFT and IFFT take new memory where coefficients or map are shared; ILPF changes them in both.
///
/// Threads. None is started. An object and all its copies belong to one thread at a time; objects
/// that share nothing may run on different threads, but for draws, of which a process makes one at
/// a time. Operations keep their tables on the stack: optimised, zooms take about 112 KiB of it,
/// filters 90, stretched draws on the device in memory 76, histograms, equalisations and evening
/// 66, quarter turns 58, all others less than 40.
///
/// Errors. Operations that can fail return 1 for success and 0 for failure. Running out of memory
/// throws std::bad_alloc, which leaves the object as it was; only SaveAs_visible_JPG catches it.
/// Where a file could not be opened, created, read or written, the system's reason is in errno (on
/// Windows in GetLastError) when the operation returns; other failures do not set it.
///
/// Paths are narrow strings. Their extension is the tail of the last element, behind "/" or "\",
/// from its last dot on, and is compared letter by letter.
class RASTELO_API CRastelo {
 public:
  /// An empty object: no image, all sizes 0.
  CRastelo();
  CRastelo(const CRastelo& other);
  /// Drops what this object held and shares what `other` holds.
  CRastelo& operator=(const CRastelo& other);
  virtual ~CRastelo();

  /// The current width in pixels: 0 on a new object and after Close.
  LONG GetWidth() const;
  /// The current height in pixels: 0 on a new object and after Close.
  LONG GetHeight() const;
  /// Whether the object holds an image.
  bool IsOpened() const;
  /// Whether the image has 24 bits a pixel.
  bool IsCanTrans2Gray() const;

  /// Brings in the picture file `path`: a JPEG file (".jpg", ".JPG") of one or three channels, or
  /// an uncompressed BMP file (".bmp", ".BMP") of 8 or 24 bits.
  ///
  /// A 24-bit BMP file is reduced to two colours: pixels of the key colour, bytes (255, 0, 255),
  /// stay, all others become blue 70, green 51, red 41. An 8-bit BMP file keeps its pixel bytes;
  /// its colour table is not applied. Pixels are read from right behind the colour table: the place
  /// that the file header names for them (bfOffBits) is not read. BMP files of more than 2 GiB and
  /// 1 MiB are refused.
  ///
  /// @return 1, or 0: another extension, a file that cannot be opened (with a message box), or one
  /// whose content cannot be used. The object is then unchanged, but for a JPEG file: once found,
  /// its path is kept as the file name, and if its header was good but its pixel data was not, the
  /// object has the file's size and depth, black pixels, and is to be closed or opened again.
  int OpenImage(const char* path);

  /// Takes a copy of `width` x `height` pixels of `bitCount` bits, laid out as described above,
  /// bytes behind each row included. Nothing happens if `bits` is null, or if the sizes describe no
  /// buffer (a negative one, or more than 2^31 - 1 bytes).
  void SetExternalImageBits(const unsigned char* bits, LONG width, LONG height, int bitCount);

  /// Drops the image. Pan offsets, the drawn area and frequency data stay. @return 1.
  int Close();

  /// Writes the current image to `path`, as JPEG of default quality (".jpg", ".JPG"; one channel
  /// for 8 bits, three for 24) or as uncompressed BMP (".bmp", ".BMP"; 8 bits with a gray table).
  /// An existing file is overwritten in place.
  /// A side of a JPEG picture has at most 65,500 pixels.
  /// @return 1, or 0: no image, a depth other than 8 and 24, another extension, a file that cannot
  /// be created (BMP: with a message box; JPEG: with a line on the standard error stream) or
  /// written, in which case it stays as far as it got.
  int SaveAs(const char* path);

  /// Writes, as JPEG whatever the extension, the area that the last one-to-one draw showed, as far
  /// as it lies inside the image. @return 1, or 0 as SaveAs does; an empty area is a failed write.
  int SaveAs_visible_JPG(const char* path);

  /// Reads the size in pixels and the depth in bits (8 x channels) of the JPEG file `path`. The
  /// object does not change. `bitCount` may be null.
  /// @return 1, or 0 with nothing written: a path of 4 characters or fewer, or no JPEG file.
  int GetSizeJPG(const char* path, LONG* width, LONG* height, int* bitCount);

  /// Draws one to one. The source area has the size of `rc`, is centred on the image and moved by
  /// the pan offsets, to which (dx, dy) is added first: right and up for positive values. The area
  /// stays inside an image that is larger than it. A negative offset holds for this draw only; its
  /// absolute value is kept.
  /// @param rc    target rectangle on the device; null draws nothing.
  /// @param bits  pixels of the image's size and depth to show in its place, or null.
  /// @return 1 in every case.
  int DrawImage(HDC hdc, RECT* rc, int dx, int dy, unsigned char* bits);

  /// With `stretch`, scales the whole image to `rc` by the device's stretch mode; without, draws
  /// one to one with the pan offsets as they stand.
  /// @return what the device returns when stretching (0: nothing drawn), else 1.
  int DrawImage(HDC hdc, RECT* rc, bool stretch);

  /// Sets the stretch mode COLORONCOLOR on the device, if a BMP file has been opened since the
  /// object was made or closed. Draws nothing; the other arguments are not read.
  /// @return 1 if one has been opened, whatever the device does, else 0.
  int DrawImage(HDC hdc, RECT* rc, RECT* rc2, unsigned char* bits);

  /// Converts a 24-bit image to gray, 8 bits; each pixel becomes
  ///     trunc((green * 0.587 + blue * 0.114) + red * 0.299), in double precision,
  /// the luma weights of ITU-R BT.601 (1982).
  /// @return true, or false with nothing changed if there is no 24-bit image.
  bool RGBImg2Gray();

  /// Makes a quarter turn: counter-clockwise if `direction` is 1, otherwise clockwise. Throws
  /// std::bad_alloc, as for want of memory, where padding its new rows takes it over 2^31 - 1
  /// bytes.
  void RotateImage_Dir(int direction);

  /// Does nothing.
  void RotateImage_Angle(int angle);

  /// Gives the image the size trunc(width * factor + 0.5) by trunc(height * factor + 0.5), sampled
  /// bilinearly, in single precision, from the pixels as they came in: whatever has changed them
  /// since is gone, but for the depth. Pixel (0, 0) stays in its place; the last column and row
  /// lean back on the ones before. Nothing happens for a size that is negative, no number, or more
  /// than 2^31 - 1 bytes, or when there are no pixels to sample. @return 1.
  int Zoom_In(double factor);

  /// Zoom_In by `factor` + 1. @return 1.
  int Zoom_Out(double factor);

  /// Gives the image the size `width` x `height` in the same way. The size that came in brings back
  /// the pixels that came in. @return 1.
  int Zoom_Size(LONG width, LONG height);

  /// Copies the block of `width` x `height` pixels whose lowest left pixel is column `x`, row `y`
  /// counted from the bottom, to `buffer`, lowest row first, rows ((depth * width + 31) / 32) * 4
  /// bytes apart. Bytes behind each row, and pixels outside the image, are left as they are.
  /// `bits` is the image's depth, 8 or 24. With 8 of a 24-bit image, bytes are copied as if they
  /// were pixels: x to x + width - 1 of each row, to rows as far apart as those of 24 bits. With
  /// anything else, or if the block has more than 2^31 - 1 bytes, nothing is copied. @return 1.
  int GetImgBlock(int x, int y, int width, int height, int bits, unsigned char* buffer);

  /// Makes every pixel 0 but those in columns x + 1 to x + width - 1 and rows y + 1 to
  /// y + height - 1, rows counted from the top of the picture. @return 1.
  int ReserveImgBlock(int x, int y, int width, int height);

  /// Writes to `sums` the sum of each row of an 8-bit image, from the top of the picture down, and
  /// one trace line a row. `sums` holds GetHeight() entries; at another depth, or if it is null, it
  /// is not touched. Sums over 2^31 - 1 keep their low 32 bits. @return 1.
  int ImgProjectionHorizon(LONG* sums);

  /// Does nothing. @return 1.
  int ImgProjectionVertical(LONG* sums);

  /// Does nothing. @return 1.
  int ImgLocalProjectionHorizon(LONG first, LONG last, LONG* sums);

  /// Counts how many pixels show each of the 256 levels: of an 8-bit image in `first`, of the blue,
  /// green and red of a 24-bit one in `first`, `second`, `third`. Each has 256 entries, all of
  /// which are written; what is not counted is 0. Nothing happens if one of them is null.
  void HistogramStatic(LONG* const first, LONG* const second, LONG* const third);

  /// Equalises the histogram in place. With N pixels, C(i) of them at level i and below, a level of
  /// a 24-bit image becomes trunc(255 * C(i) / N) in each plane on its own. A level of an 8-bit
  /// image becomes the same plus a lift, cut to its low byte: trunc(count(i) * K / N) for levels
  /// that are no spikes, that is, not above the mean count by more than twice its standard
  /// deviation, with K = trunc(255 * A / N) and A the pixels at levels of more than the mean count.
  /// The mean is trunc(N / 255), and level 255 takes no part in deviation and A.
  void HistogramEqualization();

  /// The same with a mean of trunc(N / 256) and all 256 levels in deviation and A.
  void HistogramEqualization1();

  /// Equalises an 8-bit image within each of three ranges of levels, as HistogramEqualization does
  /// within one. Two thresholds separate them, those with the smallest variance within the three
  /// classes (Otsu 1979). An image with fewer than two levels below 255, or of 24 bits, stays.
  void HistogramEqualization2();

  /// Equalises an 8-bit image within each of two ranges of levels, parted by the threshold that
  /// Segment_Graphcut uses. A 24-bit image stays.
  void HistogramEqualization3();

  /// Blackens the dark pixels of an 8-bit image, pass by pass: those below the threshold with the
  /// largest variance between the classes (Otsu 1979) become 0, then the levels from it on are
  /// searched. Ends when the mean gray has fallen by 1 to 9, or risen, from one pass to the next,
  /// and after ten passes; an unchanged mean goes on. Traces the mean gray of each pass and the
  /// duration. A 24-bit image stays.
  void Segment_Otsu();

  /// Whitens the dark pixels of an 8-bit image and complements the rest. Pass by pass, those below
  /// the threshold with the smallest normalised cut between levels that neighbouring pixels show
  /// (Shi and Malik 2000) are cleared; it ends as Segment_Otsu does, or when the mean gray is below
  /// 8. Then every byte becomes 255 minus itself. Traces means, thresholds and the duration. Of a
  /// 24-bit image, only the first GetWidth() bytes of each row are complemented.
  void Segment_Graphcut();

  /// Makes an image of two levels: dark pixels become 255, bright ones 0. The threshold, among the
  /// complemented pixels, is the level whose pixels exceed the 2 * radius x 2 * radius pixels
  /// around them by most in sum, modulo 2^32; the cost does not grow with `radius`. Traces the 256
  /// sums. A 24-bit image is searched as if its rows held GetWidth() gray bytes and then becomes an
  /// 8-bit one. Nothing happens for a negative `radius`.
  void Segment_NDHM(int radius);

  /// Transforms the gray image to coefficients (discrete Fourier transform, Cooley and Tukey 1965)
  /// and draws the map of their magnitudes, |F(u, v)| / 100 up to 255. A 24-bit image is converted
  /// to gray first. Of sides that are no powers of two, only the largest power is transformed; what
  /// no transform gives is 0. Keeps 33 bytes a pixel and 8 for each pixel of the longer side, and
  /// while it runs takes 17 for each pixel of a row and of a column, eight times that from 32 rows
  /// or columns on. @return 1.
  int FFT();

  /// Transforms the coefficients back and draws what comes out, the low byte of each value,
  /// truncated, with its quadrants exchanged, as the map: an image of equal sides that are powers
  /// of two shows again. The coefficients are used up; FFT makes new ones. Nothing happens without
  /// coefficients of the image's current size. @return 1.
  int IFFT();

  /// Sets to 0 the coefficients whose magnitude / 100 is above `limit`, all of them if it is no
  /// number, and draws the map anew, low bytes of what stays. Nothing happens without coefficients
  /// of the image's current size.
  void ILPF(double limit);

  /// Copies the map of the last FFT, ILPF or IFFT, GetWidth() x GetHeight() bytes without gaps, to
  /// `buffer`. The map of magnitudes runs along v: the cell of F(u, v), moved by half a side each
  /// way, is GetHeight() * u + v. That of IFFT runs along the rows, the lowest first.
  /// @return 1, or 0 with nothing written: no map of the image's current size, or a null buffer.
  int GetSpectrum(unsigned char* buffer) const;

  /// Replaces each inner pixel by the length of its gradient, at most 255 (Sobel and Feldman 1968).
  /// Rows upwards, columns rightwards, each pixel reads what has been written before it. A 24-bit
  /// image is converted to gray first; the outer ring stays.
  void Img_Sobel();

  /// Replaces each pixel by min(255, |sum|) of `size` x `size` products of the pixels around it and
  /// the entries of a template; the running sum is cut to a whole number at each term, and to its
  /// low 32 bits. Order and outer pixels as in Img_Sobel, row 0 and column 0 always staying. A
  /// 24-bit image is converted to gray first, and nothing else happens for a null template or a
  /// size that is even or below 1.
  /// @param templateValues  `size` x `size` numbers, row by row, those of the lowest row first.
  void ImgTemplateOperator(double* const templateValues, int size);

  /// Sets pixels below `threshold` to 0 if `clearLow` is not 0, the others to 255 if `raiseHigh` is
  /// not 0. A 24-bit image is converted to gray first.
  void ImgTrans2_0_1(int threshold, int clearLow, int raiseHigh);

  /// Does nothing.
  void ImgErosion();

  /// Whether more than the share `probability` of the pixels is above level `gray`; of a 24-bit
  /// image, of its blue bytes. False for an image without pixels.
  bool ImgGray_Exceed_Probability(int gray, double probability);

  /// Evens the light between columns: once for `mode` 0; for `mode` 2 until more than 0.9 of the
  /// pixels are above 180 or a pass changes nothing, which is traced; not at all for other modes.
  /// The second argument is not read. @return true.
  bool ImgAverageLight(int mode, int unused);

  /// Lifts columns that are darker than the bright ones towards them: adds the difference of their
  /// means, and multiplies by the whole quotient of their deviations where the column's is the
  /// smaller. Pixels above `limit` are left out of means and deviations, those above 240 as they
  /// are. Of a 24-bit image, the first GetWidth() bytes of each row count as its columns.
  /// @return true.
  bool ImgAverageLight_V(int limit);

  /// Does nothing. @return true.
  bool ImgAverageLight_H(int unused);

  /// Replaces each of the first GetWidth() bytes of each row by 255 minus itself: the complement of
  /// an 8-bit image, the left third of a 24-bit one.
  void InverseGray();

 private:
  int OpenBmpImg(const char* path);
  int OpenJpgImg(const char* path);
  int ReadJpg(const char* path);
  int SaveAs_BMP(const char* path);
  int SaveAs_JPG(const char* path);
  void ReverseBitsY(LONG width, LONG height, int bitCount, unsigned char* bits);
  LONG GetImgSize(const char* path);
  void HistogramEqualization_8(LONG* const counts);
  void HistogramEqualization_24(LONG* const blue, LONG* const green, LONG* const red);
  void HistogramEqualization_8_1(LONG* const counts);
  void HistogramEqualization_8_2(LONG* const counts);
  void HistogramEqualization_8_3(LONG* const counts);
  void InitHistogramEqGrayMap(LONG* const counts, int first, int last, unsigned char* map);
  void SearchOptimalThreshold_Otsu(int low, int high, int* result);
  void SearchOptimalThreshold_Otsu(int* result);
  int GetImgAvgGray(int* average);
  void SearchOptimalThreshold_GraphCut(int* result);
  void SearchOptimalThreshold_NDHM(int radius, int* result);
  int Zoom(LONG width, LONG height, const unsigned char* bits, LONG targetWidth, LONG targetHeight,
           unsigned char* target, int bitCount);
  void ImgFFT_2D(Complex* first, Complex* second);
  void ImgIFFT_2D();
  void FFT_1D(Complex* in, Complex* out, LONG exponent);
  void IFFT_1D(Complex* in, Complex* out, LONG exponent);

  char m_szFileName[260] = {};  // of the last JPEG file found; cut at 259 characters
  std::shared_ptr<unsigned char[]> m_pImgBits;
  LONG m_lWidth = 0;
  LONG m_lHeight = 0;
  std::shared_ptr<unsigned char[]> m_pOrgBits;  // the pixels as they came in
  LONG m_lOrgWidth = 0;
  LONG m_lOrgHeight = 0;
  std::shared_ptr<RECT> m_pDrawRect;              // area of the last one-to-one draw, store rows
  std::shared_ptr<unsigned char[]> m_pBmpHeader;  // 1064 bytes behind a BMP's file header
  int m_nBitCount = 0;
  LONG m_lLineBytes = 0;
  bool m_bOpened = false;
  std::shared_ptr<unsigned char[]> m_pSpectrumBits;
  std::shared_ptr<Complex[]> m_pFreqRows;
  std::shared_ptr<Complex[]> m_pFreqCoefs;
  int m_nDrawOffsetX = 0;
  int m_nDrawOffsetY = 0;

  // Needed by the implementation.
  friend struct rastelo::Inside;
  int m_nOrgBitCount = 0;  // depth of m_pOrgBits
  LONG m_lFreqWidth = 0;   // size that the frequency members were made for
  LONG m_lFreqHeight = 0;
  std::shared_ptr<Complex[]> m_pFreqFactors;  // of the longer side's transform
  std::shared_ptr<bool> m_pReconstructed;     // whether m_pSpectrumBits holds what IFFT gave
};

/// The interface of an undo history over images. It keeps none: every operation returns at once,
/// and no argument is read.
class RASTELO_API CImgRevokeOpr {
 public:
  CImgRevokeOpr();
  CImgRevokeOpr(const CImgRevokeOpr& other);
  CImgRevokeOpr& operator=(const CImgRevokeOpr& other);
  virtual ~CImgRevokeOpr();

  void AddProcessImg(CRastelo* image);
  void DelProcessImg(CRastelo* image);
  void RevokeImgBackward();
  void RevokeImgForward();

 private:
  [[maybe_unused]] int m_nRevokeState = 0;
};

/// Fills the bitmap record of the process for rows of `width` pixels, `height` of them, bottom row
/// first, with a gray ramp as its 256 colours, and returns it. It is valid until the next draw.
RASTELO_API BITMAPINFO* BuildBitmapInfo(LONG width, LONG height, unsigned short bitCount);

/// The number of colour-table entries that the bitmap header at `header` announces: `biClrUsed` of
/// a 40-byte header if it is not 0, else 2, 16 or 256 for 1, 4 or 8 bits a pixel and 0 for others.
/// At least 40 bytes must be readable, or 12 if the header's own length says so; null gives 0.
RASTELO_API DWORD GetPaletteSize(const unsigned char* header);

/// Sends a text, formatted as by printf and cut at 511 bytes, to the platform's debug output.
RASTELO_API void DebugTrace(const char* format, ...) RASTELO_PRINTF(1, 2);

#endif  // RASTELO_H
