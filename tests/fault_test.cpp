// What a host gets when files, memory or the codec fail half-way.
#include <gmock/gmock.h>

#include <filesystem>
#include <random>

#include "testing/jpeg_samples.h"
#include "testing/object_state.h"
#include "tests/faults.h"

#include <jerror.h>

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
JDIMENSION __real_jpeg_read_scanlines(j_decompress_ptr codec, JSAMPARRAY rows, JDIMENSION count);
JDIMENSION __wrap_jpeg_read_scanlines(j_decompress_ptr codec, JSAMPARRAY rows, JDIMENSION count) {
  if (codecFaults.memory) ERREXIT1(codec, JERR_OUT_OF_MEMORY, 0);
  const JDIMENSION got = __real_jpeg_read_scanlines(codec, rows, count);
  decodedRows += got;
  return got;
}
int __real__ZN7rastelo8platform7ijlInitEPNS0_20JPEG_CORE_PROPERTIESE(void* record);
int __wrap__ZN7rastelo8platform7ijlInitEPNS0_20JPEG_CORE_PROPERTIESE(void* record) {
  return __real__ZN7rastelo8platform7ijlInitEPNS0_20JPEG_CORE_PROPERTIESE(record) |
         (codecFaults.init ? -1 : 0);
}
int __real__ZN7rastelo8platform7ijlFreeEPNS0_20JPEG_CORE_PROPERTIESE(void* record);
int __wrap__ZN7rastelo8platform7ijlFreeEPNS0_20JPEG_CORE_PROPERTIESE(void* record) {
  return __real__ZN7rastelo8platform7ijlFreeEPNS0_20JPEG_CORE_PROPERTIESE(record) |
         (codecFaults.free ? -1 : 0);
}
}

namespace {

/// Runs something with faults ahead of it.
auto With(const FileFaults& planned, auto work) {
  fileFaults = planned;
  const auto result = work();
  fileFaults = {};
  return result;
}

/// The state after an open that knew no more than these sizes.
void BlackenTo(ObjectState& state, LONG width, LONG height, int bitCount) {
  state.width = width;
  state.height = height;
  state.pitch = LONG(rastelo::Pitch(width, bitCount));
  state.bitCount = bitCount;
  state.pixels.assign(std::size_t(state.pitch * height), 0);
}

const LiteralImage kPicture = Noise(40, 30, 3);

TEST(FileFaults, FailedReadsLeaveABmpOpenWithoutEffect) {
  const std::string path = PictureFile("a.bmp", kPicture);
  const FileFaults cases[] = {{.read = 0},      {.read = 1},      {.read = 2},
                              {.endOfFile = 0}, {.endOfFile = 1}, {.endOfFile = 2},
                              {.kind = 0},      {.size = 0},      {.shortReads = true}};
  for (const FileFaults& planned : cases) {
    const HookRecorder hooks;
    CRastelo object = ObjectWith(Noise(4, 2));
    const auto before = ObjectState(object);
    EXPECT_EQ(With(planned, [&] { return object.OpenImage(path.c_str()); }), planned.shortReads);
    EXPECT_EQ(ObjectState(object) == before, !planned.shortReads);
    EXPECT_EQ(hooks.boxes.size(), planned.kind == 0 ? 2 : 0);
  }
}

TEST(FileFaults, FailedReadsLeaveAJpegOpenAsItsHeaderWasKnown) {
  // Read once for its header, once for its pixels.
  const std::string path = PictureFile("a.jpg", kPicture);
  for (const FileFaults& planned :
       {FileFaults{.read = 0}, {.read = 1}, {.endOfFile = 0}, {.endOfFile = 1}}) {
    CRastelo object = ObjectWith(Noise(4, 2));
    auto expected = ObjectState(object);
    EXPECT_EQ(With(planned, [&] { return object.OpenImage(path.c_str()); }), 0);
    expected.fileName = path;
    const bool isKnown = planned.read == 1 || planned.endOfFile == 1;
    if (isKnown) BlackenTo(expected, 40, 30, 24);
    EXPECT_EQ(ObjectState(object), expected);
    object.Zoom_Size(4, 2);  // from the gray picture that is still loaded, to colours
    for (int i = 0; isKnown && i < 24; ++i)
      EXPECT_EQ(ImageOf(object).At(i % 12, i / 12), expected.loaded[std::size_t(i / 3)]);
  }
  CRastelo object = ObjectWith(Noise(4, 2));
  const auto before = ObjectState(object);
  codecFaults.memory = true;
  EXPECT_THROW(object.OpenImage(path.c_str()), std::bad_alloc);
  codecFaults = {};
  EXPECT_EQ(ObjectState(object), before);
  EXPECT_EQ(With({.shortReads = true}, [&] { return object.OpenImage(path.c_str()); }), 1);
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
  const std::string line = "Can't write image\n\n";
  const std::tuple<FileFaults, CodecFaults, std::string, int, std::size_t, std::string> cases[] = {
      {{.close = 0}, {}, bmp, 0, 0, ""},
      {{}, {}, bmp + "/a.bmp", 0, 2, ""},
      {{.write = 0}, {}, jpeg, 0, 0, line},
      {{.close = 0}, {}, jpeg, 0, 0, line},
      {{}, {}, bmp + "/a.jpg", 0, 0, line},
      {{}, {.init = true}, jpeg, 1, 0, "Can't initialize Intel(R) JPEG library\n\n"},
      {{}, {.free = true}, jpeg, 1, 0, "Can't free Intel(R) JPEG library\n\n"}};
  for (const auto& [planned, codec, path, saved, boxes, said] : cases) {
    const HookRecorder hooks;
    testing::internal::CaptureStderr();
    codecFaults = codec;
    EXPECT_EQ(With(planned, [&] { return object.SaveAs(path.c_str()); }), saved) << path;
    codecFaults = {};
    EXPECT_EQ(testing::internal::GetCapturedStderr(), said) << path;
    EXPECT_EQ(hooks.boxes.size(), boxes) << path;
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
  for (int i = 0; i < scans; ++i)
    script.push_back({1, {0}, i / 11, i / 11, i % 11 == 0 ? 0 : 11 - i % 11, 10 - i % 11});
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
    expected.fileName = ObjectState(object).fileName;
    if (object.GetWidth() == 5) BlackenTo(expected, 5, 3, 8);  // the header was whole
    EXPECT_EQ(ObjectState(object), expected) << i;
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
  for (const int width : {4096, 4112, 4200, 65500}) {
    fuzz::FrameOf(bomb)[7] = std::uint8_t(width >> 8);
    fuzz::FrameOf(bomb)[8] = std::uint8_t(width);
    CRastelo object = ObjectWith(Noise(4, 2));
    EXPECT_EQ(OpenInBounds(object, bomb), width == 4096) << width;
    EXPECT_EQ(object.GetWidth(), width <= 4112 ? width : 4);
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
      const std::size_t kind = random() % 6, at = random() % objects.size();
      if (kind == 0) one = other;
      if (kind == 1) one.Close();
      if (kind == 2) one.RotateImage_Dir(1);
      if (kind == 3) one.InverseGray();
      if (kind == 4) objects.emplace_back(other);
      if (kind == 5) objects.erase(objects.begin() + std::ptrdiff_t(at));
      if (objects.empty()) objects.resize(2);
    }
    for (const CRastelo& object : objects) ASSERT_TRUE(IsConsistent(object));
  }
}

}  // namespace
