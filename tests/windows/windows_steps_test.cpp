// What the command-line host asks of the system, as only Windows has it.
#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include "steps/platform/arguments.h"
#include "steps/platform/interrupt.h"
#include "steps/platform/screen.h"
#include "steps/platform/terminal.h"
#include "steps/platform/windows/command_line.h"
#include "steps/platform/windows/text.h"
#include "tests/steps_platform.h"

using testing::ElementsAre;

namespace {

TEST(WindowsSteps, CommandLinesAreWords) {
  struct Case {
    const wchar_t* line;
    std::vector<std::wstring> words;
  };
  const Case cases[] = {
      {L"", {L""}},
      {L"tool", {L"tool"}},
      {L"\"C:\\a tool\\t.exe\" run", {L"C:\\a tool\\t.exe", L"run"}},
      {L"C:\\dir\\\"a b\"\\t.exe x", {L"C:\\dir\\a b\\t.exe", L"x"}},
      {L"t  a\t\tb  ", {L"t", L"a", L"b"}},
      {L"t \"a b\"c \"\" d", {L"t", L"a bc", L"", L"d"}},
      {L"t a\\\\b \\\\share\\x", {L"t", L"a\\\\b", L"\\\\share\\x"}},
      {L"t a\\\"b a\\\\\"b c\" \"a\\\\\"", {L"t", L"a\"b", L"a\\b c", L"a\\"}},
      {L"t \"a\"\"b\" c", {L"t", L"a\"b", L"c"}},
      {L"t \"open end", {L"t", L"open end"}},
  };
  for (const Case& c : cases) {
    std::vector<std::wstring> words;
    for (const Word& word : WordsOf(c.line)) words.push_back(word.text);
    EXPECT_EQ(words, c.words) << Utf8(c.line);
  }
  EXPECT_TRUE(WordsOf(L"t \"*.jpg\"")[1].isQuoted);
  EXPECT_FALSE(WordsOf(L"t *.jpg")[1].isQuoted);
  EXPECT_GE(Arguments(0, nullptr).size(), 1u);
}

TEST(WindowsSteps, WildcardsMatchNames) {
  struct Case {
    const wchar_t *pattern, *name;
    bool matches;
  };
  for (const Case& c :
       {Case{L"*.jpg", L"a.jpg", true},
        {L"*.jpg", L"a.JPG", true},
        {L"*.jpg", L"a.jpg_old", false},
        {L"*.jpg", L"a.jpeg", false},
        {L"*.htm", L"a.html", false},
        {L"*", L"a", true},
        {L"*.*", L"a", true},
        {L"*", L".a", false},
        {L".*", L".a", true},
        {L"?", L"\u00e9", true},
        {L"\u00c9*", L"\u00e9a", true},
        {L"a?c", L"ac", false},
        {L"a*b*c", L"aXbYbZc", true},
        {L"a*b*c", L"aXbYbZ", false},
        {L"*****************************b", L"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", false}})
    EXPECT_EQ(Matches(c.pattern, c.name), c.matches) << Utf8(c.pattern) << " " << Utf8(c.name);
}

TEST(WindowsSteps, WildcardsGiveWayToPaths) {
  const std::string folder = EmptyFolder();
  for (const char* path : {"b\\2.jpg", "a\\1.jpg", "a\\2.JPG", "a\\3.bmp", "c\\1.bmp"}) {
    MakeFolders(folder + FolderOf(path));
    Write(folder + path, "");
  }
  const auto expanded = [&](const std::string& pattern) {
    std::vector<std::string> paths = Expand(folder + pattern);
    for (std::string& path : paths) path.erase(0, folder.size());
    return paths;
  };
  EXPECT_THAT(expanded("a\\*.jpg"), ElementsAre("a\\1.jpg", "a\\2.JPG"));
  EXPECT_THAT(expanded("?/*.jpg"), ElementsAre("a/1.jpg", "a/2.JPG", "b/2.jpg"));
  EXPECT_THAT(expanded("*\\1.bmp"), ElementsAre("c\\1.bmp"));
  EXPECT_THAT(expanded("*"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(expanded("*.png"), ElementsAre());
  EXPECT_THAT(expanded("none\\*"), ElementsAre());
}

TEST(WindowsSteps, PathsHaveDrivesAndShares) {
  const std::string rows[][3] = {{"C:\\a.bmp", "C:\\", "a.bmp"},
                                 {"C:a.bmp", "C:", "a.bmp"},
                                 {"a\\b/c", "a\\b", "c"},
                                 {"\\\\host\\share\\a", "\\\\host\\share", "a"},
                                 {"C:\\a\\", "C:\\a", ""}};
  for (const auto& [path, folder, name] : rows) {
    EXPECT_EQ(FolderOf(path), folder) << path;
    EXPECT_EQ(FileName(path), name) << path;
  }
  EXPECT_EQ(JoinPath("C:", "a"), "C:a");
  EXPECT_EQ(JoinPath("C:\\", "a"), "C:\\a");
  EXPECT_EQ(SystemPath("C:/a/./b/../c"), L"\\\\?\\C:\\a\\c");
  EXPECT_EQ(SystemPath("\\\\host\\share\\a"), L"\\\\?\\UNC\\host\\share\\a");
  EXPECT_EQ(SystemPath("NUL"), L"\\\\.\\NUL");
  EXPECT_EQ(PlainPath(L"\\\\?\\UNC\\host\\share\\a"), L"\\\\host\\share\\a");
}

TEST(WindowsSteps, CaseTellsNoFilesApart) {
  const std::string folder = EmptyFolder();
  Write(folder + "Gr\u00f6\u00dfe", "");
  MakeFolders(folder + "In");
  EXPECT_EQ(Inspect(folder + "GR\u00d6\u00dfE").kind, FileInfo::Kind::kFile);
  for (const auto& [one, other] : {std::pair{"Gr\u00f6\u00dfe", "gR\u00d6\u00dfe"},
                                   {"in\\A\u0434", "IN/a\u0414"},
                                   {"none\\a", "NONE\\..\\none\\A"}})
    EXPECT_EQ(PathKey(folder + one), PathKey(folder + other));
  EXPECT_NE(PathKey(folder + "a"), PathKey(folder + "b"));
}

TEST(WindowsSteps, TextThatIsNoUtf8IsNoName) {
  for (const char* name : {"\xFF.bmp", "\xC3\x28.bmp", "\xED\xA0\x80"})
    EXPECT_NE(ErrorOf([&] { Write(EmptyFolder() + name, ""); }), "") << name;
}

TEST(WindowsSteps, FilesInUseAreNotReplaced) {
  const std::string folder = EmptyFolder(), path = folder + "a";
  Write(path, "one");
  const HANDLE held = CreateFileW(SystemPath(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(ErrorOf([&] { Write(path, "two", {.overwrite = true}); }), "");
  EXPECT_EQ(TextOf(path), "one");
  CloseHandle(held);
  EXPECT_THAT(NamesIn(folder), ElementsAre("a"));
}

TEST(WindowsSteps, ReplacedFilesHandTheirAttributesOn) {
  const std::string path = EmptyFolder() + "a";
  Write(path, "one");
  SetFileAttributesW(SystemPath(path).c_str(), FILE_ATTRIBUTE_HIDDEN);
  Write(path, "two", {.overwrite = true});
  EXPECT_EQ(TextOf(path), "two");
  EXPECT_NE(GetFileAttributesW(SystemPath(path).c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
}

TEST(WindowsSteps, DevicesAreWrittenInPlace) {
  Write("NUL", "gone");
  EXPECT_EQ(Inspect("NUL").kind, FileInfo::Kind::kOther);
  EXPECT_EQ(ErrorOf([] { ReadFile("NUL"); }), "it is no regular file");
}

TEST(WindowsSteps, StandardStreamsCarryBytes) {
  PrepareStreams();
  HANDLE ends[2];
  ASSERT_TRUE(CreatePipe(&ends[0], &ends[1], nullptr, 0));
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE), output = GetStdHandle(STD_OUTPUT_HANDLE);
  SetStdHandle(STD_INPUT_HANDLE, ends[0]);
  SetStdHandle(STD_OUTPUT_HANDLE, ends[1]);
  const std::uint8_t bytes[] = {'\r', '\n', 0, 26, 255};
  WriteStandardOutput(bytes);
  CloseHandle(ends[1]);
  EXPECT_TRUE(std::ranges::equal(std::span<const std::uint8_t>(ReadStandardInput()), bytes));
  CloseHandle(ends[0]);

  ASSERT_TRUE(CreatePipe(&ends[0], &ends[1], nullptr, 0));
  SetStdHandle(STD_OUTPUT_HANDLE, ends[1]);
  CloseHandle(ends[0]);
  EXPECT_THROW(WriteStandardOutput(bytes), BrokenPipe);
  CloseHandle(ends[1]);
  for (const HANDLE none : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE}) {
    SetStdHandle(STD_OUTPUT_HANDLE, none);
    EXPECT_NE(ErrorOf([&] { WriteStandardOutput(bytes); }), "");
  }
  SetStdHandle(STD_INPUT_HANDLE, input);
  SetStdHandle(STD_OUTPUT_HANDLE, output);
}

TEST(WindowsSteps, ScreensThatDoNotFitAreNone) {
  EXPECT_THROW(Screen(32767, 2'000'000'000), std::bad_alloc);
}

TEST(WindowsSteps, EmptyVariablesCountAsNone) {
  SetEnvironmentVariableA("RASTELO_TEST", "");
  EXPECT_FALSE(EnvironmentHas("RASTELO_TEST"));
  SetEnvironmentVariableA("RASTELO_TEST", "1");
  EXPECT_TRUE(EnvironmentHas("RASTELO_TEST"));
}

TEST(WindowsSteps, SignalsEndWithTheirExitCode) {
  EXPECT_EXIT(DieBySignal(SIGINT), testing::ExitedWithCode(130), "");
  EXPECT_EXIT(DieBySignal(SIGTERM), testing::ExitedWithCode(143), "");
}

}  // namespace
