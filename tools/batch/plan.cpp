#include "tools/batch/plan.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "steps/error.h"
#include "tools/console.h"

namespace rastelo::tools {
namespace {

namespace platform = steps::platform;
using Kind = platform::FileInfo::Kind;

/// A picture with its place below the output folder: "" or "sub/".
struct Found {
  std::string picture, place;
};

/// The elements of a path, a root being one, without "." and what ".." takes back.
std::vector<std::string> Elements(const std::string& path) {
  const std::string folder = platform::FolderOf(path), name = platform::FileName(path);
  if (folder == path) return folder.empty() ? std::vector<std::string>() : std::vector{folder};
  std::vector<std::string> elements = Elements(folder);
  if (name == ".." && !elements.empty() && elements.back() != "..")
    elements.pop_back();
  else if (!name.empty() && name != ".")
    elements.push_back(name);
  return elements;
}

/// The elements of `folder` below `base`, with a "/" behind each, or none without a base.
/// @param name  what the user has named in this folder, or the folder itself.
std::string PlaceBelow(const std::string& name, const std::string& folder,
                       const std::string& base) {
  if (base.empty()) return {};
  const std::vector<std::string> whole = Elements(folder), above = Elements(base);
  const auto [rest, end] = std::ranges::mismatch(whole, above);
  const bool leavesBase =
      rest != whole.end() && (*rest == ".." || platform::FolderOf(*rest) == *rest);
  if (end != above.end() || leavesBase)
    throw steps::CallError("--base: '" + name + "' is not in '" + base + "'");
  std::string place;
  for (auto element = rest; element != whole.end(); ++element) place += *element + '/';
  return place;
}

class Finder {
 public:
  explicit Finder(const BatchRequest& batch)
      : batch_(batch), outputKey_(batch.folder.empty() ? "" : FileKey(batch.folder)) {}

  std::vector<Found> FindAll() {
    for (const std::string& name : batch_.pictures) AddNamed(name);
    if (!batch_.list.empty()) AddList();
    return std::move(found_);
  }

 private:
  void AddNamed(const std::string& name) {
    const std::string path = PictureName(name).path;
    if (KindOf(path) != Kind::kFolder)
      return found_.push_back({name, PlaceBelow(name, platform::FolderOf(path), batch_.base)}),
             void();
    if (!batch_.recursive)
      throw steps::CallError("'" + name + "' is a folder; --recursive takes the pictures in it");
    AddFolder(name, PlaceBelow(name, name, batch_.base));
  }

  void AddFolder(const std::string& folder, const std::string& place) {
    for (const platform::Entry& entry :
         Named("read the folder", folder, [&] { return platform::ListFolder(folder); })) {
      const std::string path = platform::JoinPath(folder, entry.name);
      if (!entry.isFolder) {
        if (steps::FormatOfName(entry.name)) found_.push_back({path, place});
      } else if (!entry.isLink && FileKey(path) != outputKey_) {
        AddFolder(path, place + entry.name + "/");
      }
    }
  }

  void AddList() {
    const platform::Bytes bytes = ReadList();
    const std::string_view all(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const char end = batch_.nul ? '\0' : '\n';
    const bool hasMark = !batch_.nul && all.starts_with("\xEF\xBB\xBF");  // as some editors leave
    for (std::size_t at = hasMark ? 3 : 0; at < all.size();) {
      const std::size_t stop = std::min(all.find(end, at), all.size());
      std::string name(all.substr(at, stop - at));
      if (!batch_.nul && name.ends_with('\r')) name.pop_back();
      if (name.find('\0') != std::string::npos)
        throw steps::CallError("--list: '" + batch_.list +
                               "' has zero bytes between names; --files0-from reads it");
      if (!name.empty()) AddNamed(name);
      at = stop + 1;
    }
  }

  platform::Bytes ReadList() const {
    return Named("read the list", batch_.list, [&] {
      return batch_.list == "-" ? platform::ReadStandardInput() : platform::ReadFile(batch_.list);
    });
  }

  const BatchRequest& batch_;
  const std::string outputKey_;
  std::vector<Found> found_;
};

std::string Replaced(std::string text, std::string_view what, std::string_view by) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + by.size()))
    text.replace(at, what.size(), by);
  return text;
}

/// The ending that a picture's output gets: its own where that can be written.
std::string EndingFor(std::string_view name, const std::string& to) {
  if (!to.empty()) return to;
  const auto format = steps::FormatOfName(name);
  if (!format || *format == steps::Format::kTiff) return "png";
  return std::string(name.substr(name.rfind('.') + 1));
}

/// The name of what comes of a picture, without folders.
std::string NameFor(const Found& found, const BatchRequest& batch, const std::string& to) {
  const PictureName picture(found.picture);
  const std::string name = platform::FileName(picture.path), ending = EndingFor(name, to);
  std::string stem = name.substr(0, name.rfind('.'));
  if (picture.isPage) stem += "-" + std::to_string(picture.page);
  return Replaced(Replaced(batch.name, "{ext}", ending), "{stem}", stem);
}

void CheckPattern(const BatchRequest& batch, const std::string& to) {
  const std::string sample = NameFor({"a.jpg", ""}, batch, to);
  if (sample.find_first_of("/\\{}") != std::string::npos)
    throw steps::CallError("--name: '" + batch.name +
                           "' may hold {stem} and {ext}, and no / \\ { }");
  const auto format = steps::FormatOfName(sample);
  if (!format || *format == steps::Format::kTiff)
    throw steps::CallError("--name: '" + batch.name +
                           "' does not end in {ext}, .jpg, .bmp or .png");
  if (!to.empty() && *format != steps::FormatOfName("." + to))
    throw steps::CallError("--name: '" + batch.name + "' is of another format than --to " + to);
}

/// Refuses outputs that are one file, be it under two names.
void CheckMeetings(const std::vector<Found>& found, const std::vector<std::string>& outputs) {
  std::unordered_map<std::string, std::size_t> owners;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    const auto [owner, isNew] = owners.emplace(platform::FoldedCase(outputs[i]), i);
    if (!isNew)
      throw steps::CallError("'" + found[owner->second].picture + "' and '" + found[i].picture +
                             "' would both become '" + outputs[i] +
                             "'; --name or --base tell them apart");
  }
}

void CheckNotInputs(const std::vector<Found>& found, const std::vector<std::string>& outputs,
                    const std::string& folder) {
  std::vector<std::string> there;  // only what exists can be a picture, and keys take their time
  std::ranges::copy_if(outputs, std::back_inserter(there), [&](const std::string& output) {
    return KindOf(platform::JoinPath(folder, output)) != Kind::kNone;
  });
  if (there.empty()) return;
  std::unordered_set<std::string> inputs;
  for (const Found& one : found) inputs.insert(FileKey(PictureName(one.picture).path));
  for (const std::string& output : there)
    if (inputs.contains(FileKey(platform::JoinPath(folder, output))))
      throw steps::CallError("'" + platform::JoinPath(folder, output) +
                             "' is one of the pictures; --overwrite replaces it");
}

}  // namespace

std::string OutputPath(const BatchRequest& batch, const Task& task) {
  return platform::JoinPath(batch.folder, task.output);
}

Plan MakePlan(const BatchRequest& batch, const std::string& to, bool overwrite) {
  const bool writes = !batch.folder.empty();
  if (writes) CheckPattern(batch, to);
  const std::vector<Found> found = Finder(batch).FindAll();
  std::vector<std::string> outputs;
  if (writes) {
    for (const Found& one : found) outputs.push_back(one.place + NameFor(one, batch, to));
    CheckMeetings(found, outputs);
    if (!overwrite) CheckNotInputs(found, outputs, batch.folder);
  }
  Plan plan;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const std::string& name = writes ? outputs[i] : found[i].picture;
    const std::uint64_t id = XXH3_64bits(name.data(), name.size());
    const auto part = id % static_cast<std::uint64_t>(batch.shard.count) + 1;
    if (part != static_cast<std::uint64_t>(batch.shard.number))
      ++plan.others;
    else
      plan.tasks.push_back({found[i].picture, writes ? name : "", id});
  }
  return plan;
}

}  // namespace rastelo::tools
