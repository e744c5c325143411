#include "tools/batch/log.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/console.h"

namespace rastelo::tools {
namespace {

namespace platform = steps::platform;
using nlohmann::ordered_json;

constexpr const char* kStates[] = {"writing", "done", "failed"};
constexpr const char* kLogStart = "rastelo-batch-";
constexpr const char* kLogEnd = ".jsonl";

std::string Hex(std::uint64_t number) {
  char text[17];
  std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
  return text;
}

Record::State StateOf(const std::string& name) {
  for (int state = 0; state < 3; ++state)
    if (name == kStates[state]) return static_cast<Record::State>(state);
  throw std::invalid_argument("state");
}

bool IsLog(const std::string& name) {
  return name.starts_with(kLogStart) && name.ends_with(kLogEnd);
}

std::string LineOf(const BatchStart& start) {
  const ordered_json json = {{"pictures", start.pictures}, {"at", start.at}};
  return json.dump();
}

std::optional<BatchStart> ReadStart(std::string_view line) try {
  const auto json = ordered_json::parse(line);
  return BatchStart{json.at("pictures"), json.at("at")};
} catch (const std::exception&) {
  return std::nullopt;
}

}  // namespace

std::string LineOf(const Record& record) {
  ordered_json json = {{"id", Hex(record.id)},
                       {"state", kStates[static_cast<int>(record.state)]},
                       {"picture", record.picture},
                       {"output", record.output},
                       {"key", record.key},
                       {"source time", record.sourceTime},
                       {"source bytes", record.sourceBytes}};
  if (record.state == Record::State::kFailed) {
    json["error"] = record.error;
  } else {
    json["digest"] = record.digest;
    json["bytes"] = record.outputBytes;
    json["time"] = record.outputTime;
  }
  json["seconds"] = record.seconds;
  json["at"] = record.at;
  std::string line = JsonLine(json);
  line.pop_back();
  return line;
}

std::optional<Record> ReadRecord(std::string_view line) try {
  const auto json = ordered_json::parse(line);
  Record record;
  record.id = std::stoull(json.at("id").get<std::string>(), nullptr, 16);
  record.state = StateOf(json.at("state"));
  record.picture = json.at("picture");
  record.output = json.at("output");
  record.key = json.at("key");
  record.sourceTime = json.at("source time");
  record.sourceBytes = json.at("source bytes");
  record.error = json.value("error", "");
  record.digest = json.value("digest", "");
  record.outputBytes = json.value("bytes", std::uint64_t{0});
  record.outputTime = json.value("time", std::int64_t{0});
  record.seconds = json.value("seconds", 0.0);
  record.at = json.at("at");
  return record;
} catch (const std::exception&) {
  return std::nullopt;
}

History History::Read(const std::string& folder) {
  History history;
  if (KindOf(folder) != platform::FileInfo::Kind::kFolder) return history;
  for (const platform::Entry& entry :
       Named("read", folder, [&] { return platform::ListFolder(folder); })) {
    if (entry.isFolder || !IsLog(entry.name)) continue;
    const std::string path = platform::JoinPath(folder, entry.name);
    const platform::Bytes bytes = Named("read", path, [&] { return platform::ReadFile(path); });
    std::string_view rest(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    while (!rest.empty()) {
      const std::size_t end = rest.find('\n');
      history.AddLine(rest.substr(0, end));
      rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
  }
  return history;
}

void History::AddLine(std::string_view line) {
  if (const auto record = ReadRecord(line)) return Add(*record);
  const auto start = ReadStart(line);
  if (start && start->at >= start_.at) start_ = *start;
}

void History::Add(Record record) {
  if (!record.digest.empty() && !HasMade(record.id, record.digest))
    digests_.emplace(record.id, record.digest);
  Record& known = records_[record.id];
  if (record.at >= known.at) known = std::move(record);
}

const Record* History::Find(std::uint64_t id) const {
  const auto found = records_.find(id);
  return found == records_.end() ? nullptr : &found->second;
}

bool History::HasMade(std::uint64_t id, const std::string& digest) const {
  const auto [first, end] = digests_.equal_range(id);
  for (auto made = first; made != end; ++made)
    if (made->second == digest) return true;
  return false;
}

Log::Log(const std::string& path) : path_(path) {
  Named("write", path, [&] { file_.emplace(path); });
}

void Log::Append(const Record& record) { AppendLine(LineOf(record)); }

void Log::Append(const BatchStart& start) { AppendLine(LineOf(start)); }

void Log::AppendLine(const std::string& line) {
  const std::lock_guard alone(mutex_);
  Named("write", path_, [&] { file_->Append(line); });
}

std::int64_t Now() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

std::string LogName(const Shard& shard) {
  return kLogStart + std::to_string(shard.number) + "-of-" + std::to_string(shard.count) + kLogEnd;
}

std::string DigestOf(std::span<const std::uint8_t> bytes) {
  const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
  return Hex(hash.high64) + Hex(hash.low64);
}

}  // namespace rastelo::tools
