// What a host gets when files, memory or the codec fail half-way.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include "platform/jpeg_codec.h"
#include "testing/jpeg_samples.h"
#include "testing/object_state.h"
#include "tests/allocations.h"
#include "tests/file_faults.h"

namespace {

/// What goes wrong in this thread's calls of the codec; the linker leads the library's through the
/// functions below.
struct CodecFaults {
  bool init = false, free = false, memory = false;
};
thread_local CodecFaults codecFaults;

/// Rows that this thread has asked the codec for.
thread_local std::size_t decodedRows = 0;

}  // namespace

extern "C" {
int __real__ZN7rastelo8platform7ijlReadEPNS0_20JPEG_CORE_PROPERTIESENS0_9IJLIOTYPEE(void* record,
                                                                                    int type);
int __wrap__ZN7rastelo8platform7ijlReadEPNS0_20JPEG_CORE_PROPERTIESENS0_9IJLIOTYPEE(void* record,
                                                                                    int type) {
  if (codecFaults.memory && type == rastelo::platform::IJL_JFILE_READWHOLEIMAGE)
    return rastelo::platform::IJL_OUT_OF_MEMORY;
  return __real__ZN7rastelo8platform7ijlReadEPNS0_20JPEG_CORE_PROPERTIESENS0_9IJLIOTYPEE(record,
                                                                                         type);
}
JDIMENSION __real_jpeg_read_scanlines(j_decompress_ptr codec, JSAMPARRAY rows, JDIMENSION count);
JDIMENSION __wrap_jpeg_read_scanlines(j_decompress_ptr codec, JSAMPARRAY rows, JDIMENSION count) {
  const JDIMENSION got = __real_jpeg_read_scanlines(codec, rows, count);
  decodedRows += got;
  return got;
}
int __real__ZN7rastelo8platform7ijlInitEPNS0_20JPEG_CORE_PROPERTIESE(void* record);
int __wrap__ZN7rastelo8platform7ijlInitEPNS0_20JPEG_CORE_PROPERTIESE(void* record) {
  const int result = __real__ZN7rastelo8platform7ijlInitEPNS0_20JPEG_CORE_PROPERTIESE(record);
  return codecFaults.init ? -1 : result;
}
int __real__ZN7rastelo8platform7ijlFreeEPNS0_20JPEG_CORE_PROPERTIESE(void* record);
int __wrap__ZN7rastelo8platform7ijlFreeEPNS0_20JPEG_CORE_PROPERTIESE(void* record) {
  const int result = __real__ZN7rastelo8platform7ijlFreeEPNS0_20JPEG_CORE_PROPERTIESE(record);
  return codecFaults.free ? -1 : result;
}
}

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Runs something with faults ahead of it.
template <class Work>
auto With(const FileFaults& planned, Work work) {
  fileFaults = planned;
  const auto result = work();
  fileFaults = {};
  return result;
}

/// A file with this picture in the format of its name.
std::string PictureFile(const std::string& name, const LiteralImage& image = Noise(40, 30, 3)) {
  const std::string path = TestFolder() + name;
  EXPECT_EQ(ObjectWith(image).SaveAs(path.c_str()), 1);
  return path;
}

TEST(FileFaults, FailedReadsLeaveABmpOpenWithoutEffect) {
  const std::string path = PictureFile("a.bmp");
  const struct {
    FileFaults planned;
    int opened;
    std::size_t boxes;
  } cases[] = {{{.read = 0}, 0, 0},      {{.read = 1}, 0, 0},      {{.read = 2}, 0, 0},
               {{.endOfFile = 0}, 0, 0}, {{.endOfFile = 1}, 0, 0}, {{.endOfFile = 2}, 0, 0},
               {{.kind = 0}, 0, 2},      {{.size = 0}, 0, 0},      {{.shortReads = true}, 1, 0}};
  for (const auto& c : cases) {
    const HookRecorder hooks;
    CRastelo object = ObjectWith(Noise(4, 2));
    const auto before = ObjectState(object);
    EXPECT_EQ(With(c.planned, [&] { return object.OpenImage(path.c_str()); }), c.opened);
    EXPECT_EQ(ObjectState(object) == before, c.opened == 0);
    EXPECT_EQ(hooks.boxes.size(), c.boxes);
  }
}

TEST(FileFaults, FailedReadsLeaveAJpegOpenAsItsHeaderWasKnown) {
  const std::string path = PictureFile("a.jpg");  // read once for its header, once for its pixels
  for (const bool ends : {false, true}) {
    for (int read = 0; read < 2; ++read) {
      const FileFaults planned = ends ? FileFaults{.endOfFile = read} : FileFaults{.read = read};
      CRastelo object = ObjectWith(Noise(4, 2));
      const auto before = ObjectState(object);
      EXPECT_EQ(With(planned, [&] { return object.OpenImage(path.c_str()); }), 0);
      const auto after = ObjectState(object);
      EXPECT_EQ(after.width, read == 0 ? 4 : 40);
      EXPECT_EQ(after.loaded, before.loaded);
      EXPECT_EQ(after.fileName, path);
      const Bytes black(after.pixels.size());
      EXPECT_EQ(after.pixels == black, read == 1);
      if (read == 0) continue;
      object.Zoom_Size(4, 2);  // from the gray picture that is still loaded, to colours
      LiteralImage spread(4, 2, 3);
      for (std::size_t i = 0; i < 24; ++i) spread.bytes[i] = before.loaded[i / 3];
      EXPECT_EQ(ImageOf(object), spread);
    }
  }
  CRastelo object;
  EXPECT_EQ(With({.shortReads = true}, [&] { return object.OpenImage(path.c_str()); }), 1);
}

TEST(FileFaults, ACodecWithoutMemoryLeavesTheObjectAsItWas) {
  const std::string path = PictureFile("a.jpg");
  CRastelo object = ObjectWith(Noise(4, 2));
  const auto before = ObjectState(object);
  codecFaults.memory = true;
  EXPECT_THROW(object.OpenImage(path.c_str()), std::bad_alloc);
  codecFaults = {};
  EXPECT_EQ(ObjectState(object), before);
}

TEST(FileFaults, FailedWritesAreToldAndKeepTheObject) {
  const LiteralImage image = Noise(5, 4);
  CRastelo object = ObjectWith(image);
  const auto before = ObjectState(object);
  const std::string bmp = PictureFile("a.bmp", image), jpeg = TestFolder() + "a.jpg";
  const std::uintmax_t written[] = {0, 14, 54, 1078};
  for (int write = 0; write < 4; ++write) {
    EXPECT_EQ(With({.write = write}, [&] { return object.SaveAs(bmp.c_str()); }), 0);
    EXPECT_EQ(std::filesystem::file_size(bmp), written[write]);
  }
  const struct {
    FileFaults planned;
    CodecFaults codec;
    std::string path;
    int saved;
    std::size_t boxes;
    const char* line;
  } cases[] = {{{.close = 0}, {}, bmp, 0, 0, ""},
               {{}, {}, bmp + "/a.bmp", 0, 2, ""},
               {{.write = 0}, {}, jpeg, 0, 0, "Can't write image\n\n"},
               {{.close = 0}, {}, jpeg, 0, 0, "Can't write image\n\n"},
               {{}, {}, bmp + "/a.jpg", 0, 0, "Can't write image\n\n"},
               {{}, {.init = true}, jpeg, 1, 0, "Can't initialize Intel(R) JPEG library\n\n"},
               {{}, {.free = true}, jpeg, 1, 0, "Can't free Intel(R) JPEG library\n\n"}};
  for (const auto& c : cases) {
    const HookRecorder hooks;
    testing::internal::CaptureStderr();
    codecFaults = c.codec;
    EXPECT_EQ(With(c.planned, [&] { return object.SaveAs(c.path.c_str()); }), c.saved) << c.path;
    codecFaults = {};
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.line) << c.path;
    EXPECT_EQ(hooks.boxes.size(), c.boxes) << c.path;
  }
  EXPECT_EQ(ObjectState(object), before);
}

TEST(FileFaults, ABmpHeaderAloneTakesNoMemory) {
  const std::string path = PictureFile("a.bmp", Noise(5, 4));
  const Bytes whole = ReadFile(path);
  for (const int high : {0, 1, 0x3F, 0x7F}) {
    Bytes promise = whole;
    promise[20] = promise[24] = std::uint8_t(high);  // width and height up to 2^30 each
    promise[19] = 0xFF;
    WriteFile(path, promise);
    const std::size_t before = allocations::Bytes();
    EXPECT_EQ(CRastelo().OpenImage(path.c_str()), 0);
    EXPECT_LT(allocations::Bytes() - before, 3 * promise.size() + 65536);
  }
}

/// A progressive JPEG file in `scans` scans, at most 704; in one, it takes a bit a block.
Bytes Progressive(int scans, int side) {
  std::vector<jpeg_scan_info> script;
  for (int band = 0; band < 64 && int(script.size()) < scans; ++band)
    for (int bit = 10; bit >= 0 && int(script.size()) < scans; --bit)
      script.push_back({1, {0}, band, band, bit == 10 ? 0 : bit + 1, bit});
  const auto choose = [&](jpeg_compress_struct& codec) {
    codec.scan_info = script.data();
    codec.num_scans = scans;
  };
  return fuzz::EncodeJpeg(side, side, 1, choose, [](int, Bytes& row) {
    for (std::size_t x = 0; x < row.size(); ++x) row[x] = std::uint8_t(x * x * 5 | 128);
  });
}

/// Opens these bytes, and expects no more work than a plain decode of the size that they announce:
/// the file read twice at most, once for its header, no row decoded twice, and a picture and its
/// copy taken, of no more blocks than the file has bits.
int OpenInBounds(CRastelo& object, const Bytes& file) {
  const std::string path = TestFolder() + "a.jpg";
  WriteFile(path, file);
  LONG width = 0, height = 0;
  object.GetSizeJPG(path.c_str(), &width, &height, nullptr);
  fileBytesRead = decodedRows = 0;
  const std::size_t before = allocations::Bytes();
  const int opened = object.OpenImage(path.c_str());
  EXPECT_LE(fileBytesRead, 2 * file.size());
  EXPECT_LE(decodedRows, std::size_t(height));
  const std::size_t taken = allocations::Bytes() - before, pixels = std::size_t(width * height);
  EXPECT_LE(taken, 2 * 3 * pixels + 65536);
  EXPECT_LE(pixels, 64 * 8 * file.size());
  return opened;
}

TEST(JpegFaults, EveryChangedByteIsTakenOrRefusedAndEveryLengthFails) {
  const HookRecorder hooks;
  const Bytes whole = ReadFile(PictureFile("b.jpg", Noise(5, 3)));
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (const int flip : {0xFF, 0x01, 0x80}) {
      Bytes changed = whole;
      changed[i] = std::uint8_t(changed[i] ^ flip);
      CRastelo object = ObjectWith(Noise(4, 2));
      OpenInBounds(object, changed);
      ASSERT_TRUE(IsConsistent(object)) << i;
    }
    CRastelo object = ObjectWith(Noise(4, 2));
    auto expected = ObjectState(object);
    EXPECT_EQ(OpenInBounds(object, {whole.begin(), whole.begin() + std::ptrdiff_t(i)}), 0) << i;
    const auto state = ObjectState(object);
    expected.fileName = state.fileName;
    if (state.width == 5) {  // the header was whole
      expected.width = 5;
      expected.height = 3;
      expected.pitch = 8;
      expected.pixels.assign(8 * 3, 0);
    }
    EXPECT_EQ(state, expected) << i;
  }
  EXPECT_THAT(hooks.boxes, testing::IsEmpty());
}

TEST(JpegFaults, ScansAndPromisesAreBounded) {
  for (const int scans : {499, 501, 704}) {
    CRastelo object;
    EXPECT_EQ(OpenInBounds(object, Progressive(scans, 8)), scans <= 500 ? 1 : 0) << scans;
  }
  // 32 KB that hold 16 MB, and the same that promise what they could just hold, and more.
  Bytes bomb = Progressive(1, 4096);
  ASSERT_LT(bomb.size(), 34000u);
  const struct {
    int width, opened, left;
  } cases[] = {{4096, 1, 4096}, {4112, 0, 4112}, {4200, 0, 4}, {65500, 0, 4}};
  for (const auto& c : cases) {
    fuzz::FrameOf(bomb)[7] = std::uint8_t(c.width >> 8);
    fuzz::FrameOf(bomb)[8] = std::uint8_t(c.width);
    CRastelo object = ObjectWith(Noise(4, 2));
    EXPECT_EQ(OpenInBounds(object, bomb), c.opened) << c.width;
    EXPECT_EQ(object.GetWidth(), c.left);
  }
}

TEST(Copies, ShareAndLetGoInAnyOrder) {
  std::mt19937 random(2);
  for (int script = 0; script < 100000; ++script) {
    std::vector<CRastelo> objects(3);
    objects[0] = ObjectWith(LiteralImage{{1, 2, 3}, {4, 5, 6}});
    for (int step = 0; step < 6; ++step) {
      CRastelo& one = objects[random() % objects.size()];
      const CRastelo& other = objects[random() % objects.size()];
      switch (random() % 6) {
        case 0:
          one = other;
          break;
        case 1:
          objects.emplace_back(other);
          break;
        case 2:
          objects.erase(objects.begin() + std::ptrdiff_t(random() % objects.size()));
          break;
        case 3:
          one.Close();
          break;
        case 4:
          one.RotateImage_Dir(1);
          break;
        default:
          one.InverseGray();
      }
      if (objects.empty()) objects.resize(2);
    }
    for (const CRastelo& object : objects) ASSERT_TRUE(IsConsistent(object));
  }
}

}  // namespace
