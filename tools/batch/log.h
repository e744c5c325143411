#pragma once

#include <cstdint>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tools/command_line.h"

namespace rastelo::tools {

/// What a log says of an output file.
struct Record {
  enum class State { kWriting, kDone, kFailed } state = State::kFailed;
  std::uint64_t id = 0;
  std::string picture, output, error;
  std::string key;  // of steps, options and version
  std::int64_t sourceTime = 0, outputTime = 0;
  std::uint64_t sourceBytes = 0, outputBytes = 0;
  std::string digest;   // XXH3, 128 bits, of the output file, as xxh128sum prints it
  double seconds = 0;   // of work
  std::int64_t at = 0;  // when this was written, in nanoseconds since 1970
};

/// The first line of each run: how many pictures its batch has, those of all parts, and when it was
/// written.
struct BatchStart {
  std::size_t pictures = 0;
  std::int64_t at = 0;
};

/// A record as a line of JSON, without its end, and back; nothing for a line that is none, such as
/// one that a killed program has left half.
std::string LineOf(const Record& record);
std::optional<Record> ReadRecord(std::string_view line);

/// All that the logs in an output folder say, those of all shards. Of several records of an output
/// the latest counts.
class History {
 public:
  /// Throws a MoveError if a log cannot be read.
  static History Read(const std::string& folder);

  /// The last record of an output, or null.
  const Record* Find(std::uint64_t id) const;
  /// Whether a batch has made this content for an output, or begun to.
  bool HasMade(std::uint64_t id, const std::string& digest) const;
  const std::unordered_map<std::uint64_t, Record>& Records() const { return records_; }
  /// How many pictures the last batch has in all its parts.
  std::size_t Pictures() const { return start_.pictures; }

 private:
  void AddLine(std::string_view line);
  void Add(Record record);

  std::unordered_map<std::uint64_t, Record> records_;
  std::unordered_multimap<std::uint64_t, std::string> digests_;
  BatchStart start_;
};

/// The log of this process, which several workers write.
class Log {
 public:
  /// Throws a MoveError, also while another process writes it.
  explicit Log(const std::string& path);
  /// Add a line. Throw a MoveError.
  void Append(const Record& record);
  void Append(const BatchStart& start);

 private:
  void AppendLine(const std::string& line);

  std::string path_;
  std::optional<steps::platform::LogFile> file_;
  std::mutex mutex_;
};

/// The name of the log of a shard, in the output folder. No two shards share one, since what
/// several machines append to one file gets lost on network file systems.
std::string LogName(const Shard& shard);

/// Nanoseconds since 1970.
std::int64_t Now();

/// The digest of a file's bytes.
std::string DigestOf(std::span<const std::uint8_t> bytes);

}  // namespace rastelo::tools
