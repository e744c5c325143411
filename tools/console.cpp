#include "tools/console.h"

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>

#include "steps/platform/terminal.h"
#include "tools/files.h"

namespace rastelo::tools {
namespace {

using steps::platform::Stream;

/// A character at the front of a text: its code, or none for a byte that is no UTF-8.
struct Character {
  std::uint32_t code;
  std::size_t bytes;
  bool valid;
};

/// Bytes of a character that starts with this one; 0 if none does.
std::size_t LengthFrom(std::uint8_t first) {
  if (first < 0x80) return 1;
  if (first < 0xC2 || first > 0xF4) return 0;
  return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

Character FirstOf(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t first = byte(0);
  const std::size_t length = LengthFrom(first);
  if (length == 0 || length > text.size()) return {first, 1, false};
  std::uint32_t code = length == 1 ? first : first & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {first, 1, false};
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  const bool isShortest = length < 3 || code >= (length == 3 ? 0x800u : 0x10000u);
  const bool isCharacter = code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
  if (!isShortest || !isCharacter) return {first, 1, false};
  return {code, length, true};
}

bool IsHarmless(std::uint32_t code) {
  constexpr std::uint32_t kHarmful[][2] = {
      {0, 0x1F},        {0x7F, 0x9F},     {0xAD, 0xAD},     {0x61C, 0x61C},   {0x200B, 0x200F},
      {0x2028, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}, {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};
  for (const auto& [first, last] : kHarmful)
    if (code >= first && code <= last) return false;
  return true;
}

/// Standard error, which all threads share.
struct ErrorStream {
  std::mutex mutex;
  bool hasBar = false;

  void EraseBar() {
    if (hasBar) std::fputs("\r\x1B[K", stderr);
    hasBar = false;
  }
};

ErrorStream& Errors() {
  static ErrorStream errors;
  return errors;
}

void Say(bool isError, const std::string& message) {
  const std::lock_guard alone(Errors().mutex);
  Errors().EraseBar();
  const bool colour = isError && steps::platform::IsTerminal(Stream::kError) &&
                      !steps::platform::EnvironmentHas("NO_COLOR");
  std::fprintf(stderr, "%srastelo:%s %s\n", colour ? "\x1B[1;31m" : "", colour ? "\x1B[0m" : "",
               Printable(message).c_str());
  std::fflush(stderr);
}

}  // namespace

std::string Printable(std::string_view text, std::string_view kept) {
  std::string printable;
  while (!text.empty()) {
    const Character character = FirstOf(text);
    char escaped[16];
    const bool isKept = kept.find(text[0]) != std::string_view::npos;
    if (isKept || (character.valid && IsHarmless(character.code))) {
      printable += text.substr(0, character.bytes);
    } else {
      std::snprintf(escaped, sizeof escaped, character.code < 0x100 ? "\\x%02X" : "\\u{%X}",
                    static_cast<unsigned>(character.code));
      printable += escaped;
    }
    text.remove_prefix(character.bytes);
  }
  return printable;
}

void Complain(const std::string& message) { Say(true, message); }

void Note(const std::string& message) { Say(false, message); }

void NoteOnce(const std::string& message) {
  static std::mutex noting;
  static std::set<std::string> said;
  const std::lock_guard alone(noting);
  if (said.insert(message).second) Note(message);
}

void DrawBar(const std::string& bar) {
  const std::lock_guard alone(Errors().mutex);
  std::fputs(("\r" + bar + "\x1B[K").c_str(), stderr);
  std::fflush(stderr);
  Errors().hasBar = true;
}

void EraseBar() {
  const std::lock_guard alone(Errors().mutex);
  Errors().EraseBar();
  std::fflush(stderr);
}

void PrintToError(const std::string& text) {
  const std::lock_guard alone(Errors().mutex);
  Errors().EraseBar();
  std::fputs(text.c_str(), stderr);
  std::fflush(stderr);
}

void Print(std::string_view text) {
  Named("write to", "standard output", [&] {
    steps::platform::WriteStandardOutput(
        {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  });
}

std::string JsonLine(const nlohmann::ordered_json& json) {
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void PrintJson(const nlohmann::ordered_json& json) { Print(JsonLine(json)); }

}  // namespace rastelo::tools
