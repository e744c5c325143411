#include "bench/judge.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <map>
#include <memory>
#include <tuple>

namespace judge {
namespace {

using rastelo::PixelStore;

constexpr const char* kContentNames[] = {"photo", "noise", "flat", "neutral"};

std::uint8_t MakeByte(Content content, std::int32_t x, std::int32_t y, int plane, std::int32_t side,
                      unsigned grain) {
  switch (content) {
    case Content::kPhoto:
      return static_cast<std::uint8_t>(30 + (x / 11 + y / 17 + 9 * plane) % 90 +
                                       (x * 5 / side) * 20 + static_cast<int>(grain >> 28));
    case Content::kNoise:
      return static_cast<std::uint8_t>(grain >> 24);
    case Content::kFlat:
      return 200;
    default:
      return static_cast<std::uint8_t>(x + y);
  }
}

PixelStore MakePicture(std::int32_t side, int bitCount, Content content) {
  PixelStore picture = PixelStore::Zeroed(side, side, bitCount);
  const int planes = bitCount / 8;
  unsigned grain = 1;
  for (std::int32_t y = 0; y < side; ++y) {
    std::uint8_t* row = picture.Pixels().Row(y);
    for (std::int32_t i = 0; i < side * planes; ++i) {
      grain = grain * 1664525u + 1013904223u;
      row[i] = MakeByte(content, i / planes, y, i % planes, side, grain);
    }
  }
  return picture;
}

void Measure(benchmark::State& state, const MakeWork& make, const Setting& setting) {
  const Work work = make(setting);
  work.restore();
  work.run();
  for (auto _ : state) {
    work.restore();
    const auto start = std::chrono::steady_clock::now();
    work.run();
    benchmark::ClobberMemory();
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(spent.count());
  }
}

void RegisterOne(const std::string& operation, const std::string& variant, const MakeWork& make,
                 const Setting& setting) {
  const std::string name = operation + "/" + std::to_string(setting.side) + "/" +
                           kContentNames[static_cast<std::size_t>(setting.content)] + "/" + variant;
  benchmark::RegisterBenchmark(name.c_str(),
                               [=](benchmark::State& state) { Measure(state, make, setting); })
      ->UseManualTime()
      ->Unit(benchmark::kMicrosecond);
}

}  // namespace

const PixelStore& Setting::Picture(int bitCount) const {
  static std::map<std::tuple<std::int32_t, int, Content>, PixelStore> pictures;
  const std::tuple key{side, bitCount, content};
  const auto found = pictures.find(key);
  if (found != pictures.end()) return found->second;
  return pictures.emplace(key, MakePicture(side, bitCount, content)).first->second;
}

int Register(const std::string& operation, const std::string& variant, const MakeWork& make,
             const Range& range) {
  for (const std::int32_t side : range.sides)
    for (const Content content : range.contents)
      RegisterOne(operation, variant, make, {side, content});
  if (variant != "ours") return 0;
  // How the cost grows with the picture.
  for (const std::int32_t side : {256, 1024, 4096})
    if (std::count(range.sides.begin(), range.sides.end(), side) == 0)
      RegisterOne(operation, variant, make, {side, range.contents.front()});
  return 0;
}

MakeWork InPlace(int bitCount, std::function<void(rastelo::ImageView)> work) {
  return [=](const Setting& setting) {
    const PixelStore& picture = setting.Picture(bitCount);
    const auto copy =
        std::make_shared<PixelStore>(PixelStore::Zeroed(setting.side, setting.side, bitCount));
    return Work{
        [=] { work(copy->Pixels()); },
        [=, &picture] { std::memcpy(copy->bits.get(), picture.bits.get(), copy->Bytes()); }};
  };
}

MakeWork ToTarget(int bitCount, int targetBitCount,
                  std::function<std::int32_t(std::int32_t)> targetSide,
                  std::function<void(rastelo::ConstImageView, rastelo::ImageView)> work) {
  return [=](const Setting& setting) {
    const PixelStore& picture = setting.Picture(bitCount);
    const std::int32_t side = targetSide(setting.side);
    const auto target =
        std::make_shared<PixelStore>(PixelStore::Zeroed(side, side, targetBitCount));
    return Work{[=, &picture] { work(picture.Pixels(), target->Pixels()); }};
  };
}

void Keep(const void* value) {
  benchmark::DoNotOptimize(value);
  benchmark::ClobberMemory();
}

}  // namespace judge
