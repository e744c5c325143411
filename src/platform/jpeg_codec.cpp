// The codec calls over libjpeg. Its error handler leaves by longjmp, so no function that libjpeg
// runs under may own anything with a destructor.
#include "platform/jpeg_codec.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>  // jpeglib.h does not include what it needs
#include <cstdlib>

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
  bool damaged;
};

ErrorManager& ErrorsOf(j_common_ptr codec) { return *reinterpret_cast<ErrorManager*>(codec->err); }

[[noreturn]] void Escape(j_common_ptr codec) { std::longjmp(ErrorsOf(codec).escape, 1); }

/// Warnings that tell of damage.
constexpr int kDamages[] = {JWRN_ARITH_BAD_CODE, JWRN_BOGUS_PROGRESSION, JWRN_HIT_MARKER,
                            JWRN_HUFF_BAD_CODE,  JWRN_JPEG_EOF,          JWRN_MUST_RESYNC};

void NoteWarning(j_common_ptr codec, int level) {
  if (level < 0 && std::ranges::count(kDamages, codec->err->msg_code) > 0)
    ErrorsOf(codec).damaged = true;
}

jpeg_error_mgr* Prepare(ErrorManager& errors) {
  jpeg_std_error(&errors.base);
  errors.base.error_exit = Escape;
  errors.base.emit_message = NoteWarning;
  return &errors.base;
}

/// Runs `work` until its end or its first fatal error.
template <class Work>
IJLERR Guard(ErrorManager& errors, Work work) {
  if (setjmp(errors.escape) != 0)
    return errors.base.msg_code == JERR_OUT_OF_MEMORY ? IJL_OUT_OF_MEMORY : IJL_FAILED;
  work();
  return errors.damaged ? IJL_FAILED : IJL_OK;
}

/// Row `y` of the picture in memory, counted from the top.
JSAMPROW RowOf(const JPEG_CORE_PROPERTIES& properties, JDIMENSION y) {
  const std::ptrdiff_t pitch =
      std::ptrdiff_t{properties.DIBWidth} * properties.DIBChannels + properties.DIBPadBytes;
  const std::int64_t height = properties.DIBHeight;
  return properties.DIBBytes + pitch * (height < 0 ? -height - 1 - y : y);
}

J_COLOR_SPACE ColoursOf(const JPEG_CORE_PROPERTIES& properties) {
  return properties.DIBChannels == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
}

/// Hands a file to the decoder, a buffer at a time.
struct FileSource {
  jpeg_source_mgr base;  // first
  File* file;
  JOCTET buffer[kBufferBytes];

  static boolean Fill(j_decompress_ptr codec) {
    auto& source = *reinterpret_cast<FileSource*>(codec->src);
    const std::ptrdiff_t got = source.file->Read(source.buffer, kBufferBytes);
    if (got < 0) ERREXIT(codec, JERR_FILE_READ);
    if (got == 0) ERREXIT(codec, JERR_INPUT_EOF);
    source.base.next_input_byte = source.buffer;
    source.base.bytes_in_buffer = static_cast<std::size_t>(got);
    return TRUE;
  }

  static void Skip(j_decompress_ptr codec, long count) {
    auto& source = codec->src;
    while (count > static_cast<long>(source->bytes_in_buffer)) {
      count -= static_cast<long>(source->bytes_in_buffer);
      Fill(codec);
    }
    if (count <= 0) return;
    source->next_input_byte += count;
    source->bytes_in_buffer -= static_cast<std::size_t>(count);
  }

  explicit FileSource(File& input) : base{}, file(&input) {
    base.init_source = [](j_decompress_ptr) {};
    base.fill_input_buffer = Fill;
    base.skip_input_data = Skip;
    base.resync_to_restart = jpeg_resync_to_restart;
    base.term_source = [](j_decompress_ptr) {};
  }
};

/// Runs `work` on a decoder that has read the file's header.
template <class Work>
IJLERR Decode(File& file, Work work) {
  jpeg_decompress_struct codec{};
  ErrorManager errors{};
  jpeg_progress_mgr progress{};
  FileSource source(file);
  const IJLERR result = Guard(errors, [&] {
    codec.err = Prepare(errors);
    jpeg_create_decompress(&codec);
    codec.src = &source.base;
    progress.progress_monitor = [](j_common_ptr codec) {
      if (reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > kMaxScans) Escape(codec);
    };
    codec.progress = &progress;
    jpeg_read_header(&codec, TRUE);
    work(codec);
  });
  jpeg_destroy_decompress(&codec);
  return result;
}

/// Whether a file of this length has the bit that the coding by Huffman's codes (1952) spends on
/// a block of 8 x 8 pixels at least. Arithmetic coding may spend less.
bool CanHoldPicture(const jpeg_decompress_struct& codec, std::int64_t fileBytes) {
  const std::int64_t blocks =
      (std::int64_t{codec.image_width} + 7) / 8 * ((std::int64_t{codec.image_height} + 7) / 8);
  return codec.arith_code != 0 || blocks / 8 <= fileBytes;
}

IJLERR ReadParameters(File& file, JPEG_CORE_PROPERTIES& properties) {
  return Decode(file, [&](jpeg_decompress_struct& codec) {
    if (!CanHoldPicture(codec, file.Size())) ERREXIT(&codec, JERR_INPUT_EOF);
    properties.JPGWidth = static_cast<int>(codec.image_width);
    properties.JPGHeight = static_cast<int>(codec.image_height);
    properties.JPGChannels = codec.num_components;
  });
}

bool IsFor(const jpeg_decompress_struct& codec, const JPEG_CORE_PROPERTIES& properties) {
  return properties.DIBBytes && properties.DIBWidth == static_cast<int>(codec.image_width) &&
         std::abs(properties.DIBHeight) == static_cast<int>(codec.image_height) &&
         properties.DIBChannels == codec.num_components &&
         (properties.DIBChannels == 1 || properties.DIBChannels == 3);
}

IJLERR ReadPixels(File& file, const JPEG_CORE_PROPERTIES& properties) {
  return Decode(file, [&](jpeg_decompress_struct& codec) {
    if (!IsFor(codec, properties)) ERREXIT(&codec, JERR_BAD_IN_COLORSPACE);
    codec.out_color_space = ColoursOf(properties);
    jpeg_start_decompress(&codec);
    while (codec.output_scanline < codec.output_height) {
      JSAMPROW rows[kRowsAtOnce];
      const JDIMENSION count = std::min(codec.output_height - codec.output_scanline, kRowsAtOnce);
      for (JDIMENSION i = 0; i < count; ++i) rows[i] = RowOf(properties, codec.output_scanline + i);
      jpeg_read_scanlines(&codec, rows, count);
    }
    jpeg_finish_decompress(&codec);
  });
}

/// Takes a file from the encoder, a buffer at a time.
struct FileTarget {
  jpeg_destination_mgr base;  // first
  File* file;
  JOCTET buffer[kBufferBytes];

  static void Write(j_compress_ptr codec, std::size_t count) {
    auto& target = *reinterpret_cast<FileTarget*>(codec->dest);
    if (!target.file->WriteAll(target.buffer, count)) ERREXIT(codec, JERR_FILE_WRITE);
    target.base.next_output_byte = target.buffer;
    target.base.free_in_buffer = kBufferBytes;
  }

  explicit FileTarget(File& output) : base{}, file(&output) {
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

void SetParameters(const JPEG_CORE_PROPERTIES& properties, jpeg_compress_struct& codec) {
  codec.image_width = static_cast<JDIMENSION>(properties.DIBWidth);
  codec.image_height = static_cast<JDIMENSION>(std::abs(properties.DIBHeight));
  codec.input_components = properties.DIBChannels;
  codec.in_color_space = ColoursOf(properties);
  jpeg_set_defaults(&codec);  // among them, how colours are subsampled
  jpeg_set_quality(&codec, properties.jquality, TRUE);
}

IJLERR Encode(const JPEG_CORE_PROPERTIES& properties, File& file) {
  jpeg_compress_struct codec{};
  ErrorManager errors{};
  FileTarget target(file);
  const IJLERR result = Guard(errors, [&] {
    codec.err = Prepare(errors);
    jpeg_create_compress(&codec);
    codec.dest = &target.base;
    SetParameters(properties, codec);
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
      JSAMPROW row = RowOf(properties, codec.next_scanline);
      jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
  });
  jpeg_destroy_compress(&codec);
  return result;
}

bool CanWrite(const JPEG_CORE_PROPERTIES& properties) {
  const auto isSide = [](int side) { return side > 0 && side <= JPEG_MAX_DIMENSION; };
  return properties.JPGFile && properties.DIBBytes && isSide(properties.DIBWidth) &&
         isSide(std::abs(properties.DIBHeight)) &&
         (properties.DIBChannels == 1 || properties.DIBChannels == 3);
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
  if (type == IJL_JFILE_READWHOLEIMAGE) return ReadPixels(file, *properties);
  return IJL_FAILED;
}

IJLERR ijlWrite(JPEG_CORE_PROPERTIES* properties, IJLIOTYPE type) {
  if (!properties || type != IJL_JFILE_WRITEWHOLEIMAGE || !CanWrite(*properties)) return IJL_FAILED;
  File file = File::Create(properties->JPGFile);
  if (!file) return IJL_FAILED;
  const IJLERR written = Encode(*properties, file);
  return file.Close() ? written : IJL_FAILED;
}

IJLERR ijlFree(JPEG_CORE_PROPERTIES* properties) { return properties ? IJL_OK : IJL_FAILED; }

}  // namespace rastelo::platform
