#include "steps/platform/windows/command_line.h"

#include <algorithm>
#include <utility>

#include "steps/platform/file_calls.h"
#include "steps/platform/windows/text.h"

namespace rastelo::steps::platform {
namespace {

constexpr std::wstring_view kBlanks = L" \t";

bool IsBlank(wchar_t character) { return kBlanks.find(character) != kBlanks.npos; }

/// Takes words off the front of a command line.
class Reader {
 public:
  explicit Reader(std::wstring_view line) : rest_(line) {}

  Word ReadProgram();
  /// Also skips the blanks before it.
  bool AtEnd();
  Word ReadWord();

 private:
  void ReadQuote(Word& word);
  void ReadBackslashes(Word& word);
  wchar_t Next();

  std::wstring_view rest_;
  bool inQuotes_ = false;
};

wchar_t Reader::Next() {
  const wchar_t next = rest_.front();
  rest_.remove_prefix(1);
  return next;
}

bool Reader::AtEnd() {
  rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
  return rest_.empty();
}

Word Reader::ReadProgram() {
  Word word;
  for (bool inQuotes = false; !rest_.empty() && (inQuotes || !IsBlank(rest_.front()));) {
    const wchar_t next = Next();
    if (next == L'"')
      inQuotes = !inQuotes;
    else
      word.text += next;
  }
  return word;
}

Word Reader::ReadWord() {
  Word word;
  inQuotes_ = false;
  while (!rest_.empty() && (inQuotes_ || !IsBlank(rest_.front()))) {
    if (rest_.front() == L'"')
      ReadQuote(word);
    else if (rest_.front() == L'\\')
      ReadBackslashes(word);
    else
      word.text += Next();
  }
  return word;
}

void Reader::ReadQuote(Word& word) {
  Next();
  word.isQuoted = true;
  if (inQuotes_ && rest_.starts_with(L'"'))
    word.text += Next();
  else
    inQuotes_ = !inQuotes_;
}

void Reader::ReadBackslashes(Word& word) {
  const std::size_t count = std::min(rest_.find_first_not_of(L'\\'), rest_.size());
  rest_.remove_prefix(count);
  const bool beforeQuote = rest_.starts_with(L'"');
  word.text.append(beforeQuote ? count / 2 : count, L'\\');
  if (beforeQuote && count % 2 == 1) word.text += Next();
}

bool HasWildcard(std::string_view text) { return text.find_first_of("*?") != text.npos; }

/// Whether the letters match one by one. A "*" takes as few as it can; where the rest then fails,
/// the last one takes one more.
bool MatchesLetters(std::wstring_view pattern, std::wstring_view name) {
  constexpr std::size_t kNone = std::wstring_view::npos;
  std::size_t p = 0, n = 0, star = kNone, starEnd = 0;
  while (n < name.size()) {
    const wchar_t wanted = p < pattern.size() ? pattern[p] : L'\0';
    if (wanted == L'*') {
      star = p++;
      starEnd = n;
    } else if (wanted == L'?' || wanted == name[n]) {
      ++p;
      ++n;
    } else if (star != kNone) {
      p = star + 1;
      n = ++starEnd;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of(L'*', p) == kNone;
}

std::vector<std::string> NamesIn(const std::string& folder, const std::string& pattern) {
  const std::wstring wanted = Wide(pattern);
  std::vector<std::string> names;
  try {
    for (Entry& entry : ListFolder(folder.empty() ? "." : folder))
      if (Matches(wanted, Wide(entry.name))) names.push_back(std::move(entry.name));
  } catch (const FileError&) {  // no folder, or a closed one: nothing matches there
  }
  return names;
}

bool Exists(const std::string& path) {
  try {
    return Inspect(path).kind != FileInfo::Kind::kNone;
  } catch (const FileError&) {
    return false;
  }
}

}  // namespace

std::vector<Word> WordsOf(std::wstring_view line) {
  Reader reader(line);
  std::vector<Word> words{reader.ReadProgram()};
  while (!reader.AtEnd()) words.push_back(reader.ReadWord());
  return words;
}

bool Matches(std::wstring_view pattern, std::wstring_view name) {
  if (name.starts_with(L'.') && !pattern.starts_with(L'.')) return false;
  if (pattern == L"*.*") return true;  // all files, as on this system since ever
  return MatchesLetters(Upper(std::wstring(pattern)), Upper(std::wstring(name)));
}

std::vector<std::string> Expand(const std::string& pattern) {
  const std::string folder = FolderOf(pattern), last = FileName(pattern);
  const std::size_t nameStart = pattern.size() - last.size();
  const std::string separators = pattern.substr(folder.size(), nameStart - folder.size());
  std::vector<std::string> paths;
  for (const std::string& place :
       HasWildcard(folder) ? Expand(folder) : std::vector<std::string>{folder}) {
    if (HasWildcard(last))
      for (const std::string& name : NamesIn(place, last))
        paths.push_back(place + separators + name);
    else if (Exists(place + separators + last))
      paths.push_back(place + separators + last);
  }
  return paths;
}

}  // namespace rastelo::steps::platform
