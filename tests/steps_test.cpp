// The language of steps: its table, how it is read, and that a step acts on the picture as it is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "filter/push.h"
#include "geometry/zoom.h"
#include "steps/arguments.h"
#include "steps/error.h"
#include "steps/help.h"
#include "steps/run.h"
#include "steps/table.h"
#include "testing/literal_image.h"

namespace rastelo::steps {
namespace {

using testing::HasSubstr;

/// A picture with shades and noise in it.
Picture SomePicture(int width, int height, int bitCount) {
  const LiteralImage noise = Noise(width * bitCount / 8, height);
  PixelStore store = PixelStore::Zeroed(width, height, bitCount);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width * bitCount / 8; ++x)
      store.Pixels().Row(y)[x] = static_cast<std::uint8_t>(
          (noise.bytes[std::size_t(noise.pitch * y + x)] + x + 2 * y) / 3);
  return {store, {}, Format::kPng, "8 bits", {}};
}

struct Outcome {
  PixelStore picture;
  std::string text;
  nlohmann::ordered_json json;
  std::vector<std::string> files;
};

Outcome RunOn(const Picture& picture, std::string_view steps) {
  Outcome outcome;
  const Host host = {[&](const Report& report) {
                       outcome.text += report.text;
                       outcome.json = report.json;
                     },
                     [&](const std::string& path, std::span<const std::uint8_t>) {
                       outcome.files.push_back(path);
                     }};
  Picture copy = picture;
  copy.pixels = picture.pixels.Copy();
  Run run(copy, {}, host);
  run.Do(ReadProgram(steps));
  outcome.picture = run.Pixels();
  return outcome;
}

void ExpectSame(const PixelStore& first, const PixelStore& second) {
  ASSERT_EQ(first.width, second.width);
  ASSERT_EQ(first.height, second.height);
  ASSERT_EQ(first.bitCount, second.bitCount);
  const int bytes = first.width * first.bitCount / 8;
  for (int y = 0; y < first.height; ++y)
    EXPECT_TRUE(
        std::equal(first.Pixels().Row(y), first.Pixels().Row(y) + bytes, second.Pixels().Row(y)))
        << "row " << y;
}

void ExpectNarrow(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(line.size() <= 80 || line.starts_with("Example: ")) << line;
    EXPECT_FALSE(line.ends_with(' ')) << line;
  }
}

TEST(StepTable, HasAllFieldsOfEveryStep) {
  const Picture picture = SomePicture(400, 300, 24);
  for (const Step& step : Steps()) {
    SCOPED_TRACE(step.name);
    EXPECT_EQ(&FindStep(step.name), &step) << "its name is taken";
    for (const std::string_view text : {step.family, step.help, step.details, step.example})
      EXPECT_FALSE(text.empty());
    EXPECT_FALSE(step.help.ends_with('.'));
    EXPECT_TRUE(step.details.ends_with('.'));
    EXPECT_NE(step.apply == nullptr, step.composition.empty());
    EXPECT_THAT(std::string(step.example), HasSubstr(std::string(step.name)));
    for (const Argument& argument : step.arguments) {
      EXPECT_FALSE(argument.name.empty() || argument.help.empty());
      EXPECT_FALSE(Describe(argument).empty());
      EXPECT_EQ((argument.forms & kWord) != 0, !argument.words.empty());
      EXPECT_TRUE((argument.forms & (kWhole | kNumber | kSize)) == 0 ||
                  argument.lowest < argument.highest);
    }
    EXPECT_EQ(LastLost(ReadProgram(step.example)), nullptr) << "the example loses its work";
    const Outcome outcome = RunOn(picture, step.example);
    EXPECT_FALSE(outcome.text.empty() && outcome.files.empty());
    const bool onlyColour = step.needsGray;
    if (onlyColour) {
      const std::string text(step.example.substr(step.example.find(' ') + 1));
      EXPECT_THROW(RunOn(picture, text), StepError) << "it takes a colour picture";
    }
    ExpectNarrow(HelpOf(step));
  }
  ExpectNarrow(ListOfSteps());
}

struct ReadCase {
  const char *text, *expected;  // of the values; or, behind "!", a part of the message
};

std::string Shown(const Program& program) {
  std::string text;
  for (const Call& call : program) {
    text += (text.empty() ? "" : " ") + std::string(call.step->name);
    for (const Value& value : call.values) text += "(" + value.text + ")";
  }
  return text;
}

TEST(StepReader, ReadsValuesOrNamesTheWrongWord) {
  const ReadCase cases[] = {
      {"gray", "gray"},
      {"  gray\tinvert ", "gray invert"},
      {"crop=1,2,3,4", "crop(1)(2)(3)(4)"},
      {"push=otsu,high", "push(otsu)()(high)"},
      {"push=90,high,low", "push(90)(low)(high)"},
      {"save=a.jpg", "save(a.jpg)(75)"},
      {"save=a,b.jpg,quality=9", "save(a,b.jpg)(9)"},
      {"save='my picture.png'", "save(my picture.png)(75)"},
      {"'save=my picture.png'", "save(my picture.png)(75)"},
      {"save=a=b.bmp", "save(a=b.bmp)(75)"},
      {"equalize", "equalize(0)"},
      {"histogram", "histogram()"},
      {"draw=5x6-7+8", "draw(5x6-7+8)"},
      {"shrink=10x20", "shrink(10x20)"},
      {"clean-page", "gray light(2) push(graph-cut)(low)(high)"},
      {"clean-page=100", "gray light(2) push(100)(low)(high)"},
      {"blur=mean sharpen", "convolve(mean) convolve(sharpen)"},
      {"convolve=a,b.txt", "convolve(a,b.txt)"},
      {"", ""},
      {"gray \"x", "!does not end"},
      {"save=a.jpg,quality=9,quality=8", "!twice"},
      {"push=1,low,low", "!twice"},
  };
  for (const ReadCase& one : cases) {
    try {
      EXPECT_EQ(Shown(ReadProgram(std::string_view(one.text))), one.expected) << one.text;
    } catch (const CallError& error) {
      ASSERT_EQ(*one.expected, '!') << one.text << ": " << error.what();
      EXPECT_THAT(error.what(), HasSubstr(one.expected + 1));
    }
  }
}

TEST(StepReader, SuggestsTheNearestName) {
  const std::pair<const char*, const char*> cases[] = {
      {"grey", "gray"},         {"sharpn", "sharpen"},
      {"tempalte", "template"}, {"graphcut", "graph-cut"},
      {"zom", "zoom"},          {"histogramm", "histogram"},
      {"q", nullptr},           {"segmentation", nullptr},
  };
  for (const auto& [wrong, meant] : cases) {
    try {
      FindStep(wrong);
      ADD_FAILURE() << wrong;
    } catch (const CallError& error) {
      const bool suggests = std::string(error.what()).find("did you mean") != std::string::npos;
      EXPECT_EQ(suggests, meant != nullptr) << error.what();
      if (meant) {
        EXPECT_THAT(error.what(), HasSubstr("'" + std::string(meant) + "'"));
      }
    }
  }
}

TEST(StepReader, FindsWorkThatIsNotKept) {
  const std::pair<const char*, const char*> cases[] = {
      {"gray save=a.jpg", nullptr},    {"info", nullptr},
      {"gray histogram", nullptr},     {"gray", "gray"},
      {"save=a.jpg gray", "gray"},     {"draw=5x5", "draw=5x5"},
      {"fft spectrum=a.png", nullptr}, {"fft spectrum", "spectrum"},
      {"clean-page", "clean-page"},    {"", nullptr},
  };
  for (const auto& [text, lost] : cases) {
    const Program program = ReadProgram(std::string_view(text));
    const Call* found = LastLost(program);
    ASSERT_EQ(found != nullptr, lost != nullptr) << text;
    if (found) {
      EXPECT_EQ(found->text, lost);
    }
  }
}

TEST(Steps, ZoomActsOnThePictureAsItStands) {
  const Picture picture = SomePicture(61, 43, 24);
  for (const char* zoom : {"zoom=0.5", "size=30x20", "zoom-out=0.3", "size=61x43"}) {
    const Outcome before = RunOn(picture, "gray threshold=90");
    const Outcome at_once = RunOn(picture, std::string("gray threshold=90 ") + zoom);
    const Outcome apart = RunOn({before.picture, {}, Format::kPng, "", {}}, zoom);
    ExpectSame(at_once.picture, apart.picture);
  }
}

TEST(Steps, AreWhatTheyStandFor) {
  const Picture picture = SomePicture(61, 43, 24);
  const std::pair<const char*, const char*> same[] = {
      {"rotate=180", "rotate=cw rotate=cw"},
      {"blur", "convolve=gauss"},
      {"clean-page=90", "gray light=2 threshold=90"},
      {"gray push=otsu,low,high", "gray threshold=otsu"},
      {"zoom-out=-0.5", "zoom=0.5"},
      {"rotate=cw rotate=ccw", ""},
      {"gray invert invert", "gray"},
      {"keep=0,0,61,43", ""},
      {"shrink=100x100", ""},
      {"shrink=1", ""},
  };
  for (const auto& [first, second] : same) {
    SCOPED_TRACE(first);
    ExpectSame(RunOn(picture, first).picture, RunOn(picture, second).picture);
  }
}

TEST(Steps, MeasureWhatThePictureShows) {
  Picture picture = SomePicture(4, 1, 8);
  const std::uint8_t levels[] = {10, 20, 20, 250};
  std::copy_n(levels, 4, picture.pixels.bits.get());
  const auto brightness = RunOn(picture, "brightness").json;
  EXPECT_DOUBLE_EQ(brightness["mean"], 75);
  EXPECT_NEAR(brightness["deviation"], 101.118, 0.001);
  EXPECT_EQ(brightness["darkest"], 10);
  EXPECT_EQ(brightness["median"], 20);
  EXPECT_EQ(brightness["brightest"], 250);
  EXPECT_EQ(RunOn(picture, "level=otsu").json["search"], "otsu");
  EXPECT_EQ(RunOn(picture, "rows").json["row sums"][0], 300);
  EXPECT_EQ(RunOn(picture, "exceeds=20,0.2").json["exceeds"], true);
}

}  // namespace
}  // namespace rastelo::steps
