// The codec calls over libjpeg. Its error handler leaves by longjmp, so no function that libjpeg
// runs under may own anything with a destructor.
#include "platform/jpeg_codec.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>  // jpeglib.h does not include what it needs
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <jpeglib.h>

#include <jerror.h>

#include "platform/file.h"

namespace rastelo::platform {
namespace {

constexpr std::size_t kBufferBytes = 16384;
constexpr JDIMENSION kRowsAtOnce = 16;
constexpr int kMaxScans = 500;  // a progressive file may hold any number of them, each a full pass

struct ErrorManager {
  jpeg_error_mgr base;  // first, so that libjpeg's pointer is also one to this record
  std::jmp_buf escape;
  JpegFault fault;  // the first one
  int rows;         // that had been decoded by then
};

ErrorManager& ErrorsOf(j_common_ptr codec) { return *reinterpret_cast<ErrorManager*>(codec->err); }

void NoteFault(j_common_ptr codec, JpegFault fault) {
  ErrorManager& errors = ErrorsOf(codec);
  if (errors.fault != JpegFault::kNone && fault != JpegFault::kOutOfMemory) return;
  errors.fault = fault;
  if (codec->is_decompressor)
    errors.rows = static_cast<int>(reinterpret_cast<j_decompress_ptr>(codec)->output_scanline);
}

[[noreturn]] void Escape(j_common_ptr codec, JpegFault fault) {
  NoteFault(codec, fault);
  std::longjmp(ErrorsOf(codec).escape, 1);
}

[[noreturn]] void Escape(j_decompress_ptr codec, JpegFault fault) {
  Escape(reinterpret_cast<j_common_ptr>(codec), fault);
}

JpegFault FaultOf(int error) {
  switch (error) {
    case JERR_OUT_OF_MEMORY:
      return JpegFault::kOutOfMemory;
    case JERR_NO_SOI:
      return JpegFault::kNoJpeg;
    case JERR_SOF_UNSUPPORTED:
    case JERR_BAD_PRECISION:
    case JERR_ARITH_NOTIMPL:
      return JpegFault::kKind;
    case JERR_IMAGE_TOO_BIG:
      return JpegFault::kImpossible;
    default:
      return JpegFault::kDamaged;
  }
}

[[noreturn]] void EscapeFromError(j_common_ptr codec) {
  Escape(codec, FaultOf(codec->err->msg_code));
}

/// Warnings that tell of damage.
constexpr int kDamages[] = {JWRN_ARITH_BAD_CODE, JWRN_BOGUS_PROGRESSION, JWRN_HIT_MARKER,
                            JWRN_HUFF_BAD_CODE,  JWRN_JPEG_EOF,          JWRN_MUST_RESYNC};

void NoteWarning(j_common_ptr codec, int level) {
  if (level < 0 && std::ranges::count(kDamages, codec->err->msg_code) > 0)
    NoteFault(codec, JpegFault::kDamaged);
}

jpeg_error_mgr* Prepare(ErrorManager& errors) {
  jpeg_std_error(&errors.base);
  errors.base.error_exit = EscapeFromError;
  errors.base.emit_message = NoteWarning;
  return &errors.base;
}

/// Runs `work` until its end or its first fatal error.
template <class Work>
JpegResult Guard(ErrorManager& errors, Work work) {
  if (setjmp(errors.escape) == 0) work();
  return {errors.fault, errors.rows};
}

/// Pixels in memory as the coder goes over them, from the top.
struct Raster {
  JSAMPROW top;         // the row at the top
  std::ptrdiff_t step;  // bytes from one row to the one below it
  int width, height;
  int channels;  // 1 or 3

  JSAMPROW Row(JDIMENSION y) const { return top + step * static_cast<std::ptrdiff_t>(y); }
};

Raster RasterOf(const JPEG_CORE_PROPERTIES& properties) {
  const std::ptrdiff_t pitch =
      std::ptrdiff_t{properties.DIBWidth} * properties.DIBChannels + properties.DIBPadBytes;
  const int height = std::abs(properties.DIBHeight);
  const bool bottomUp = properties.DIBHeight < 0;
  return {properties.DIBBytes + (bottomUp ? pitch * (std::ptrdiff_t{height} - 1) : 0),
          bottomUp ? -pitch : pitch, properties.DIBWidth, height, properties.DIBChannels};
}

Raster RasterOf(const JpegPixels<std::uint8_t>& pixels) {
  const std::ptrdiff_t pitch = pixels.pitch;
  return {pixels.bits + pitch * std::max(pixels.height - 1, 0), -pitch, pixels.width, pixels.height,
          pixels.channels};
}

J_COLOR_SPACE ColoursOf(const Raster& raster) {
  return raster.channels == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
}

/// Hands on what its owner fills it with.
struct Source {
  jpeg_source_mgr base;  // first

  static void Skip(j_decompress_ptr codec, long count) {
    auto& source = codec->src;
    while (count > static_cast<long>(source->bytes_in_buffer)) {
      count -= static_cast<long>(source->bytes_in_buffer);
      source->fill_input_buffer(codec);
    }
    if (count <= 0) return;
    source->next_input_byte += count;
    source->bytes_in_buffer -= static_cast<std::size_t>(count);
  }

  explicit Source(boolean (*fill)(j_decompress_ptr)) : base{} {
    base.init_source = [](j_decompress_ptr) {};
    base.fill_input_buffer = fill;
    base.skip_input_data = Skip;
    base.resync_to_restart = jpeg_resync_to_restart;
    base.term_source = [](j_decompress_ptr) {};
  }
};

/// Hands a file to the decoder, a buffer at a time.
struct FileSource : Source {
  File* file;
  JOCTET buffer[kBufferBytes];

  static boolean Fill(j_decompress_ptr codec) {
    auto& source = *reinterpret_cast<FileSource*>(codec->src);
    const std::ptrdiff_t got = source.file->Read(source.buffer, kBufferBytes);
    if (got < 0) ERREXIT(codec, JERR_FILE_READ);
    if (got == 0) Escape(codec, JpegFault::kCutOff);
    source.base.next_input_byte = source.buffer;
    source.base.bytes_in_buffer = static_cast<std::size_t>(got);
    return TRUE;
  }

  explicit FileSource(File& input) : Source(Fill), file(&input) {}
};

/// Hands a whole file in memory to the decoder, where it stands.
struct MemorySource : Source {
  explicit MemorySource(std::span<const std::uint8_t> bytes)
      : Source([](j_decompress_ptr codec) -> boolean { Escape(codec, JpegFault::kCutOff); }) {
    base.next_input_byte = bytes.data();
    base.bytes_in_buffer = bytes.size();
  }
};

struct Decoder {
  Decoder() = default;
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
  ~Decoder() { jpeg_destroy_decompress(&codec); }

  jpeg_decompress_struct codec{};
  ErrorManager errors{};
  jpeg_progress_mgr progress{};
  bool keepsMarkers = false;
};

constexpr int kExifMarker = JPEG_APP0 + 1, kIccMarker = JPEG_APP0 + 2;

void Start(Decoder& decoder, Source& source) {
  jpeg_decompress_struct& codec = decoder.codec;
  codec.err = Prepare(decoder.errors);
  jpeg_create_decompress(&codec);
  codec.src = &source.base;
  decoder.progress.progress_monitor = [](j_common_ptr common) {
    if (reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > kMaxScans)
      Escape(common, JpegFault::kScans);
  };
  codec.progress = &decoder.progress;
  if (!decoder.keepsMarkers) return;
  jpeg_save_markers(&codec, kExifMarker, 0xFFFF);
  jpeg_save_markers(&codec, kIccMarker, 0xFFFF);
}

/// Runs `work` on the decoder once that has read the file's header.
template <class Work>
JpegResult Decode(Decoder& decoder, Source& source, Work work) {
  return Guard(decoder.errors, [&] {
    Start(decoder, source);
    jpeg_read_header(&decoder.codec, TRUE);
    work(decoder.codec);
  });
}

/// Whether a file of this length has the bit that the coding by Huffman's codes (1952) spends on
/// a block of 8 x 8 pixels at least. Arithmetic coding may spend less.
bool CanHoldPicture(const jpeg_decompress_struct& codec, std::int64_t fileBytes) {
  const std::int64_t blocks =
      (std::int64_t{codec.image_width} + 7) / 8 * ((std::int64_t{codec.image_height} + 7) / 8);
  return codec.arith_code != 0 || blocks / 8 <= fileBytes;
}

JpegResult ReadHeader(Decoder& decoder, Source& source, std::int64_t fileBytes,
                      JpegHeader& header) {
  return Decode(decoder, source, [&](jpeg_decompress_struct& codec) {
    if (!CanHoldPicture(codec, fileBytes)) Escape(&codec, JpegFault::kImpossible);
    header.width = static_cast<int>(codec.image_width);
    header.height = static_cast<int>(codec.image_height);
    header.channels = codec.num_components;
    header.progressive = codec.progressive_mode != 0;
    if (codec.saw_JFIF_marker)
      header.density = {codec.density_unit, codec.X_density, codec.Y_density};
  });
}

JpegResult ReadPixels(Source& source, const Raster& raster) {
  Decoder decoder;
  return Decode(decoder, source, [&](jpeg_decompress_struct& codec) {
    if (codec.num_components != 1 && codec.num_components != 3)
      Escape(&codec, JpegFault::kChannels);
    if (raster.width != static_cast<int>(codec.image_width) ||
        raster.height != static_cast<int>(codec.image_height) ||
        raster.channels != codec.num_components)
      Escape(&codec, JpegFault::kPixels);
    codec.out_color_space = ColoursOf(raster);
    jpeg_start_decompress(&codec);
    while (codec.output_scanline < codec.output_height) {
      JSAMPROW rows[kRowsAtOnce];
      const JDIMENSION count = std::min(codec.output_height - codec.output_scanline, kRowsAtOnce);
      for (JDIMENSION i = 0; i < count; ++i) rows[i] = raster.Row(codec.output_scanline + i);
      jpeg_read_scanlines(&codec, rows, count);
    }
    jpeg_finish_decompress(&codec);
  });
}

/// Takes a file from the encoder, a buffer at a time, and hands it on to `Output::WriteAll`.
template <class Output>
struct Target {
  jpeg_destination_mgr base;  // first
  Output* output;
  JOCTET buffer[kBufferBytes];

  static void Write(j_compress_ptr codec, std::size_t count) {
    auto& target = *reinterpret_cast<Target*>(codec->dest);
    if (!target.output->WriteAll(target.buffer, count)) ERREXIT(codec, JERR_FILE_WRITE);
    target.base.next_output_byte = target.buffer;
    target.base.free_in_buffer = kBufferBytes;
  }

  explicit Target(Output& sink) : base{}, output(&sink) {
    base.next_output_byte = buffer;
    base.free_in_buffer = kBufferBytes;
    base.init_destination = [](j_compress_ptr) {};
    base.empty_output_buffer = [](j_compress_ptr codec) -> boolean {
      Write(codec, kBufferBytes);
      return TRUE;
    };
    base.term_destination = [](j_compress_ptr codec) {
      Write(codec, kBufferBytes - codec->dest->free_in_buffer);
    };
  }
};

/// A file in memory that grows.
struct MemoryOutput {
  std::vector<std::uint8_t>* bytes;

  bool WriteAll(const std::uint8_t* more, std::size_t count) noexcept try {
    bytes->insert(bytes->end(), more, more + count);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
};

void SetParameters(const Raster& raster, const JpegCoding& coding, jpeg_compress_struct& codec) {
  codec.image_width = static_cast<JDIMENSION>(raster.width);
  codec.image_height = static_cast<JDIMENSION>(raster.height);
  codec.input_components = raster.channels;
  codec.in_color_space = ColoursOf(raster);
  jpeg_set_defaults(&codec);  // among them, how colours are subsampled
  jpeg_set_quality(&codec, coding.quality, TRUE);
  codec.density_unit = static_cast<UINT8>(coding.density.unit);
  codec.X_density = static_cast<UINT16>(coding.density.x);
  codec.Y_density = static_cast<UINT16>(coding.density.y);
}

constexpr std::uint8_t kExifStart[] = {'E', 'x', 'i', 'f', 0, 0};

void WriteMarkers(const JpegCoding& coding, jpeg_compress_struct& codec) {
  if (!coding.exif.empty()) {
    jpeg_write_m_header(&codec, kExifMarker,
                        static_cast<unsigned>(sizeof kExifStart + coding.exif.size()));
    for (const std::uint8_t byte : kExifStart) jpeg_write_m_byte(&codec, byte);
    for (const std::uint8_t byte : coding.exif) jpeg_write_m_byte(&codec, byte);
  }
  if (!coding.icc.empty())
    jpeg_write_icc_profile(&codec, coding.icc.data(), static_cast<unsigned>(coding.icc.size()));
}

template <class Output>
JpegFault Encode(const Raster& raster, const JpegCoding& coding, Output& output) {
  jpeg_compress_struct codec{};
  ErrorManager errors{};
  Target<Output> target(output);
  const JpegResult result = Guard(errors, [&] {
    codec.err = Prepare(errors);
    jpeg_create_compress(&codec);
    codec.dest = &target.base;
    SetParameters(raster, coding, codec);
    jpeg_start_compress(&codec, TRUE);
    WriteMarkers(coding, codec);
    while (codec.next_scanline < codec.image_height) {
      JSAMPROW row = raster.Row(codec.next_scanline);
      jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
  });
  jpeg_destroy_compress(&codec);
  return result.fault;
}

bool CanEncode(const Raster& raster) {
  const auto isSide = [](int side) { return side > 0 && side <= JPEG_MAX_DIMENSION; };
  return isSide(raster.width) && isSide(raster.height) &&
         (raster.channels == 1 || raster.channels == 3);
}

bool CanWrite(const JPEG_CORE_PROPERTIES& properties) {
  return properties.JPGFile && properties.DIBBytes && CanEncode(RasterOf(properties));
}

IJLERR ErrorOf(JpegFault fault) {
  if (fault == JpegFault::kOutOfMemory) return IJL_OUT_OF_MEMORY;
  return fault == JpegFault::kNone ? IJL_OK : IJL_FAILED;
}

IJLERR ReadParameters(File& file, JPEG_CORE_PROPERTIES& properties) {
  Decoder decoder;
  FileSource source(file);
  JpegHeader header;
  const JpegResult result = ReadHeader(decoder, source, file.Size(), header);
  if (result.fault != JpegFault::kNone) return ErrorOf(result.fault);
  properties.JPGWidth = header.width;
  properties.JPGHeight = header.height;
  properties.JPGChannels = header.channels;
  return IJL_OK;
}

IJLERR ReadWholeImage(File& file, const JPEG_CORE_PROPERTIES& properties) {
  if (!properties.DIBBytes) return IJL_FAILED;
  FileSource source(file);
  return ErrorOf(ReadPixels(source, RasterOf(properties)).fault);
}

/// The first EXIF data among the markers that a decoder has kept.
std::span<const std::uint8_t> FindExif(const jpeg_decompress_struct& codec) {
  constexpr std::size_t kStart = sizeof kExifStart;
  for (const jpeg_saved_marker_ptr* at = &codec.marker_list; *at; at = &(*at)->next) {
    const jpeg_marker_struct& marker = **at;
    if (marker.marker == kExifMarker && marker.data_length > kStart &&
        std::memcmp(marker.data, kExifStart, kStart) == 0)
      return {marker.data + kStart, marker.data_length - kStart};
  }
  return {};
}

struct Free {
  void operator()(JOCTET* bytes) const {
    std::free(bytes);  // NOLINT(*-no-malloc, *-owning-memory): libjpeg's
  }
};

/// Copies the profile out of the markers that a decoder has kept. Throws std::bad_alloc.
std::vector<std::uint8_t> CopyProfile(Decoder& decoder) {
  JOCTET* bytes = nullptr;
  unsigned count = 0;
  const auto read = [&] { jpeg_read_icc_profile(&decoder.codec, &bytes, &count); };
  if (Guard(decoder.errors, read).fault == JpegFault::kOutOfMemory) throw std::bad_alloc();
  const std::unique_ptr<JOCTET, Free> owner(bytes);
  return {bytes, bytes + (bytes ? count : 0)};
}

}  // namespace

IJLERR ijlInit(JPEG_CORE_PROPERTIES* properties) {
  if (!properties) return IJL_FAILED;
  *properties = {};
  properties->jquality = 75;
  return IJL_OK;
}

IJLERR ijlRead(JPEG_CORE_PROPERTIES* properties, IJLIOTYPE type) {
  if (!properties || !properties->JPGFile) return IJL_FAILED;
  File file = File::OpenExisting(properties->JPGFile);
  if (!file) return IJL_FAILED;
  if (type == IJL_JFILE_READPARAMS) return ReadParameters(file, *properties);
  if (type == IJL_JFILE_READWHOLEIMAGE) return ReadWholeImage(file, *properties);
  return IJL_FAILED;
}

IJLERR ijlWrite(JPEG_CORE_PROPERTIES* properties, IJLIOTYPE type) {
  if (!properties || type != IJL_JFILE_WRITEWHOLEIMAGE || !CanWrite(*properties)) return IJL_FAILED;
  File file = File::Create(properties->JPGFile);
  if (!file) return IJL_FAILED;
  JpegCoding coding;
  coding.quality = properties->jquality;
  const IJLERR written = ErrorOf(Encode(RasterOf(*properties), coding, file));
  return file.Close() ? written : IJL_FAILED;
}

IJLERR ijlFree(JPEG_CORE_PROPERTIES* properties) { return properties ? IJL_OK : IJL_FAILED; }

JpegResult ReadJpegHeader(std::span<const std::uint8_t> file, JpegHeader& header,
                          JpegMarkers* markers) try {
  Decoder decoder;
  decoder.keepsMarkers = markers != nullptr;
  MemorySource source(file);
  const auto bytes = static_cast<std::int64_t>(file.size());
  const JpegResult result = ReadHeader(decoder, source, bytes, header);
  if (!markers || result.fault != JpegFault::kNone) return result;
  const auto exif = FindExif(decoder.codec);
  markers->exif.assign(exif.begin(), exif.end());
  markers->icc = CopyProfile(decoder);
  return result;
} catch (const std::bad_alloc&) {
  return {JpegFault::kOutOfMemory};
}

JpegResult DecodeJpeg(std::span<const std::uint8_t> file, const JpegPixels<std::uint8_t>& pixels) {
  MemorySource source(file);
  return ReadPixels(source, RasterOf(pixels));
}

JpegFault EncodeJpeg(const JpegPixels<const std::uint8_t>& pixels, const JpegCoding& coding,
                     std::vector<std::uint8_t>& file) try {
  file.clear();
  // The encoder reads only, for all that its interface says.
  auto* bits = const_cast<std::uint8_t*>(pixels.bits);  // NOLINT(*-const-cast)
  const Raster raster = RasterOf(
      JpegPixels<std::uint8_t>{bits, pixels.width, pixels.height, pixels.pitch, pixels.channels});
  if (!CanEncode(raster)) return JpegFault::kPixels;
  file.reserve(static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height) /
                   4 +
               coding.exif.size() + coding.icc.size());
  MemoryOutput output{&file};
  const JpegFault fault = Encode(raster, coding, output);
  if (fault == JpegFault::kNone) return fault;
  file.clear();
  return JpegFault::kOutOfMemory;  // nothing else goes wrong in memory
} catch (const std::bad_alloc&) {
  return JpegFault::kOutOfMemory;
}

}  // namespace rastelo::platform
