// What the command-line host asks of the system, as every system has to answer.
#include "tests/steps_platform.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "rastelo.h"
#include "steps/platform/interrupt.h"
#include "steps/platform/processors.h"
#include "steps/platform/screen.h"
#include "steps/platform/terminal.h"

using testing::ElementsAre;

std::string EmptyFolder() {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  const std::string folder = testing::TempDir() + "rastelo_steps_tests/" + test->test_suite_name() +
                             "." + test->name() + "/";
  std::error_code none;
  std::filesystem::remove_all(folder, none);
  MakeFolders(folder);
  return folder;
}

std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const Entry& entry : ListFolder(folder)) names.push_back(entry.name);
  return names;
}

std::string TextOf(const std::string& path) {
  const Bytes bytes = ReadFile(path);
  return {bytes.data(), bytes.data() + bytes.size()};
}

void Write(const std::string& path, const std::string& text, const WriteMode& mode) {
  const auto* first = reinterpret_cast<const std::uint8_t*>(text.data());
  WriteFile(path, {first, text.size()}, mode);
}

std::string ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const FileError& error) {
    const std::string reason = error.what();
    EXPECT_EQ(reason.find_first_of("\r\n"), std::string::npos) << reason;
    EXPECT_FALSE(reason.empty() || reason.ends_with('.') || reason.ends_with(' ')) << reason;
    return reason;
  }
  return "";
}

namespace {

constexpr const char* kStandsAlready = "it exists already";

// The last ones are beyond 16 bits, and a letter with its accent on its own.
const std::vector<std::string> kNames = {
    "gr\u00f6\u00dfe.bmp",      "\u0395\u03bb\u03bb\u03ac\u03b4\u03b1.jpg",
    "\u043a\u043e\u0442.bmp",   "\u05e9\u05dc\u05d5\u05dd.png",
    "\u0e20\u0e32\u0e1e.tif",   "\u56fe\u50cf\u65e5\u672c\ud55c.jpg",
    "\U0001D4B3\U0001F642.bmp", "e\u0301 %s 'a' $(b) -.jpg"};

TEST(StepsFiles, HaveNamesOfEveryScript) {
  const std::string folder = EmptyFolder();
  std::vector<std::string> sorted = kNames;
  std::ranges::sort(sorted);
  for (const std::string& name : kNames) {
    MakeFolders(folder + "in " + name + "/" + name);
    Write(folder + name, name);
    EXPECT_EQ(TextOf(folder + name), name);
    EXPECT_EQ(FileName(RealPath(folder + name)), name);
    LogFile(folder + name).Append("+");
    EXPECT_EQ(Inspect(folder + name).size, name.size() + 3);
  }
  EXPECT_THAT(NamesIn(folder + "in " + kNames[6]), ElementsAre(kNames[6]));
  std::vector<std::string> names = NamesIn(folder);
  EXPECT_TRUE(std::ranges::is_sorted(names));
  std::erase_if(names, [](const std::string& name) { return name.starts_with("in "); });
  EXPECT_EQ(names, sorted);
}

TEST(StepsFiles, HavePathsOfAnyLength) {
  std::string folder = EmptyFolder();
  for (int i = 0; i < 8; ++i) folder += "a folder with a name of " + std::string(40, 'x') + "/";
  MakeFolders(folder);
  Write(folder + "a", "long", {.overwrite = true});
  LogFile(folder + "a").Append("er");
  EXPECT_EQ(TextOf(folder + "a"), "long\ner\n");
  EXPECT_THAT(NamesIn(folder), ElementsAre("a"));
  EXPECT_EQ(PathKey(folder + "../" + FileName(folder.substr(0, folder.size() - 1)) + "/a"),
            PathKey(folder + "a"));
  EXPECT_EQ(Inspect(RealPath(folder + "a")).identity, Inspect(folder + "a").identity);
  RemoveFile(folder + "a");
  EXPECT_EQ(Inspect(folder + "a").kind, FileInfo::Kind::kNone);
}

TEST(StepsFiles, AreReadWhole) {
  const std::string folder = EmptyFolder();
  for (const std::size_t size : {0, 1, 4096, 65537, 3'000'000}) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 167 / 13);
    Write(folder + "a", text, {.overwrite = true});
    EXPECT_EQ(TextOf(folder + "a"), text);
  }
}

TEST(StepsFiles, TellWhyTheyCannotBeUsed) {
  const std::string folder = EmptyFolder();
  Write(folder + "file", "");
  MakeFolders(folder + "full/of");
  for (const char* missing : {"none", "none/none", ""}) {
    const std::string path = *missing == 0 ? "" : folder + missing;
    EXPECT_NE(ErrorOf([&] { ReadFile(path); }), "") << missing;
    EXPECT_NE(ErrorOf([&] { ListFolder(path); }), "") << missing;
    EXPECT_EQ(Inspect(path).kind, FileInfo::Kind::kNone) << missing;
  }
  for (const char* noFolder : {"file/a", "none/a"})
    EXPECT_NE(ErrorOf([&] { Write(folder + noFolder, "a"); }), "");
  EXPECT_NE(ErrorOf([&] { Write("", "a"); }), "");
  EXPECT_NE(ErrorOf([&] { ReadFile(folder + "file/a"); }), "");
  EXPECT_NE(ErrorOf([&] { ListFolder(folder + "file"); }), "");
  EXPECT_NE(ErrorOf([&] { RemoveFile(folder + "full"); }), "");
  EXPECT_EQ(ErrorOf([&] { RemoveFile(folder + "none"); }), "");
  EXPECT_EQ(ErrorOf([&] { ReadFile(folder); }), "it is a folder");
  EXPECT_EQ(ErrorOf([&] { Write(folder + "full", "a", {.overwrite = true}); }), "it is a folder");
  EXPECT_EQ(ErrorOf([&] { MakeFolders(folder + "file"); }), "it is no folder");
  EXPECT_EQ(ErrorOf([&] { MakeFolders(folder + "file/a"); }), "it is no folder");
  const std::string cut = folder + "file" + '\0' + ".bmp";
  EXPECT_NE(ErrorOf([&] { ReadFile(cut); }), "");
  EXPECT_NE(ErrorOf([&] { Inspect(cut); }), "");
  EXPECT_NE(ErrorOf([&] { Write(cut, "a", {.overwrite = true}); }), "");
  EXPECT_THAT(NamesIn(folder), ElementsAre("file", "full"));
}

TEST(StepsFiles, AreReplacedOnlyWhereThatIsAskedFor) {
  const std::string folder = EmptyFolder(), path = folder + "a.bmp";
  Write(path, "one");
  EXPECT_EQ(ErrorOf([&] { Write(path, "two"); }), kStandsAlready);
  EXPECT_EQ(TextOf(path), "one");
  Write(path, "two", {.overwrite = true});
  EXPECT_EQ(TextOf(path), "two");
  Write(folder + ".part", "of a run that was killed");
  Write(path, "three", {.overwrite = true, .temporaryName = ".part"});
  Write(folder + "b", "new", {.temporaryName = ".part"});
  EXPECT_EQ(TextOf(path) + TextOf(folder + "b"), "threenew");
  EXPECT_THAT(NamesIn(folder), ElementsAre("a.bmp", "b"));
}

TEST(StepsFiles, ComeToBeOnceWhenManyWriteThem) {
  const std::string folder = EmptyFolder();
  for (int round = 0; round < 20; ++round) {
    const std::string path = folder + std::to_string(round);
    std::vector<std::string> errors(8);
    std::vector<std::thread> writers;
    for (std::size_t i = 0; i < errors.size(); ++i)
      writers.emplace_back(
          [&, i] { errors[i] = ErrorOf([&] { Write(path, std::to_string(i)); }); });
    for (std::thread& writer : writers) writer.join();
    ASSERT_EQ(std::ranges::count(errors, kStandsAlready), 7) << testing::PrintToString(errors);
    EXPECT_EQ(errors[std::stoul(TextOf(path))], "");
  }
  EXPECT_EQ(NamesIn(folder).size(), 20u) << "temporary files are left";
}

TEST(StepsFiles, TellAndTakeTheirTime) {
  const std::string folder = EmptyFolder(), path = folder + "a";
  using std::chrono::system_clock;
  const auto now = [] {
    return system_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
  };
  Write(path, "");
  EXPECT_NEAR(static_cast<double>(Inspect(path).time), static_cast<double>(now()), 5e9);
  for (const std::int64_t time : std::initializer_list<std::int64_t>{
           0, 1'234'567'890'123'456'700, -1'000'000'100, 4'000'000'000'000'000'000}) {
    Write(path, "text", {.overwrite = true, .time = time});
    EXPECT_EQ(Inspect(path).time, time);
  }
}

TEST(StepsFiles, AreToldApart) {
  const std::string folder = EmptyFolder();
  MakeFolders(folder + "in");
  Write(folder + "a", "a");
  Write(folder + "b", "a");
  const FileInfo a = Inspect(folder + "a"), same = Inspect(folder + "in/../a");
  const FileInfo b = Inspect(folder + "b");
  EXPECT_EQ(a.kind, FileInfo::Kind::kFile);
  EXPECT_EQ(Inspect(folder + "in").kind, FileInfo::Kind::kFolder);
  EXPECT_TRUE(a.device == same.device && a.identity == same.identity);
  EXPECT_FALSE(a.device == b.device && a.identity == b.identity);

  for (const char* path : {"a", "in", "none", "none/below"}) {
    EXPECT_EQ(PathKey(folder + path), PathKey(folder + "in/.././/" + path)) << path;
    EXPECT_TRUE(*path == 'a' || PathKey(folder + path) == PathKey(folder + path + "/")) << path;
    EXPECT_NE(PathKey(folder + path), PathKey(folder + "b")) << path;
  }
  std::filesystem::current_path(std::filesystem::u8path(folder));
  for (const char* path : {"a", "none", "none/below"})
    EXPECT_EQ(PathKey(path), PathKey(folder + path));
}

TEST(StepsLogFile, KeepsWholeLines) {
  const std::string path = EmptyFolder() + "log";
  struct Case {
    const char* before;
    bool truncate;
    const char* after;
  };
  for (const Case& c : {Case{"", false, "1\n2\n"},
                        {"0\n", false, "0\n1\n2\n"},
                        {"0\n{tor", false, "0\n{tor\n1\n2\n"},
                        {"0\n{tor", true, "1\n2\n"}}) {
    Write(path, c.before, {.overwrite = true});
    {
      LogFile log(path, c.truncate);
      log.Append("1");
      log.Append("2");
    }
    EXPECT_EQ(TextOf(path), c.after);
  }
  LogFile(path).Append("");
  EXPECT_EQ(TextOf(path), "1\n2\n\n");
  EXPECT_NE(ErrorOf([&] { LogFile(FolderOf(path)); }), "");
}

TEST(StepsLogFile, HasOneWriter) {
  const std::string path = EmptyFolder() + "log";
  {
    LogFile log(path);
    log.Append("first");
    for (const bool truncate : {false, true})
      EXPECT_EQ(ErrorOf([&] { LogFile(path, truncate); }), "another run is writing it");
    EXPECT_EQ(TextOf(path), "first\n") << "others may read";
  }
  LogFile(path).Append("second");
  EXPECT_EQ(TextOf(path), "first\nsecond\n");
}

TEST(StepsFolders, AreMadeByManyAtOnce) {
  const std::string folder = EmptyFolder();
  std::vector<std::thread> makers;
  std::vector<std::string> errors(8);
  for (std::string& error : errors)
    makers.emplace_back([&] { error = ErrorOf([&] { MakeFolders(folder + "a/b/c/d/e/f/g/"); }); });
  for (std::thread& maker : makers) maker.join();
  EXPECT_THAT(errors, testing::Each(""));
  Write(folder + "a/b/c.txt", "");
  const std::vector<Entry> entries = ListFolder(folder + "a/b");
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_TRUE(entries[0].name == "c" && entries[0].isFolder && !entries[0].isLink);
  EXPECT_TRUE(entries[1].name == "c.txt" && !entries[1].isFolder && !entries[1].isLink);
}

TEST(StepsPaths, HaveElements) {
  const std::string rows[][3] = {{"a/b.bmp", "a", "b.bmp"},
                                 {"/b.bmp", "/", "b.bmp"},
                                 {"b.bmp", "", "b.bmp"},
                                 {"a//b", "a", "b"},
                                 {"a/b/", "a/b", ""},
                                 {"/", "/", ""},
                                 {"", "", ""},
                                 {"a/..", "a", ".."}};
  for (const auto& [path, folder, name] : rows) {
    EXPECT_EQ(FolderOf(path), folder) << path;
    EXPECT_EQ(FileName(path), name) << path;
  }
  EXPECT_EQ(JoinPath("a", "b"), "a/b");
  EXPECT_EQ(JoinPath("a/", "b"), "a/b");
  EXPECT_EQ(JoinPath("", "b"), "b");
  EXPECT_EQ(JoinPath("/", "b"), "/b");
}

TEST(StepsScreen, ShowsWhatIsDrawn) {
  constexpr int kWidth = 3, kHeight = 2, kPitch = 12;
  std::uint8_t pixels[kPitch * kHeight] = {1, 2,  3,  4,  5,  6,  7,  8,  9,  0, 0,
                                           0, 11, 12, 13, 14, 15, 16, 17, 18, 19};
  CRastelo picture;
  picture.SetExternalImageBits(pixels, kWidth, kHeight, 24);
  Screen screen(kWidth, kHeight);
  const rastelo::PixelStore black = screen.CopyPixels();
  EXPECT_EQ(std::count(black.bits.get(), black.bits.get() + black.Bytes(), 0), kPitch * kHeight);
  RECT all{0, 0, kWidth, kHeight};
  picture.DrawImage(screen.Handle(), &all, true);
  const rastelo::PixelStore shown = screen.CopyPixels();
  ASSERT_TRUE(shown.width == kWidth && shown.height == kHeight && shown.bitCount == 24);
  EXPECT_TRUE(std::equal(std::begin(pixels), std::end(pixels), shown.bits.get()));
}

TEST(StepsTerminal, IsNoneHere) {
  EXPECT_EQ(TerminalWidth(Stream::kOutput), 80);
  for (const Stream stream : {Stream::kOutput, Stream::kError}) EXPECT_FALSE(IsTerminal(stream));
  EXPECT_FALSE(EnvironmentHas("RASTELO_NO_SUCH_VARIABLE"));
  EXPECT_TRUE(EnvironmentHas("PATH"));
}

TEST(StepsProcessors, AreThere) { EXPECT_GE(Processors(), 1); }

}  // namespace
