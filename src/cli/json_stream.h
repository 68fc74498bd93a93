// Writes JSON straight to a stream, laid out as an indented document (two blanks per level, a
// blank after each ':'), without building the document in memory first. Strings are made valid
// UTF-8 (a byte outside a well-formed sequence becomes U+FFFD) and written as they are but for
// '"', '\' and the control characters, which are escaped. Output gathers in a buffer of a few
// KiB that goes to the stream when full, when the outermost value ends, and at destruction.
#ifndef VELMORA_CLI_JSON_STREAM_H_
#define VELMORA_CLI_JSON_STREAM_H_

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "cli/utf8.h"

class JsonStream {
 public:
  // depth: the level of the first value written, whose inner lines are indented accordingly.
  JsonStream(std::ostream& out, int depth) : m_stream(out), m_base_depth(depth) {}
  ~JsonStream() { Flush(); }
  JsonStream(const JsonStream&) = delete;
  JsonStream& operator=(const JsonStream&) = delete;

  void BeginObject() { Begin('{'); }
  void EndObject() { End('}'); }
  void BeginArray() { Begin('['); }
  void EndArray() { End(']'); }

  // The name of the next member of the object being written.
  void Key(std::string_view key) {
    NextElement();
    WriteString(key);
    m_out += ": ";
    m_after_key = true;
  }

  void String(std::string_view text) {
    NextValue();
    WriteString(text);
    ValueWritten();
  }
  void Number(long long value) {
    NextValue();
    char digits[24];
    const std::to_chars_result written = std::to_chars(digits, digits + sizeof(digits), value);
    m_out.append(digits, written.ptr);
    ValueWritten();
  }
  void Bool(bool value) {
    NextValue();
    m_out += (value ? "true" : "false");
    ValueWritten();
  }
  void Null() {
    NextValue();
    m_out += "null";
    ValueWritten();
  }

 private:
  void Begin(char open) {
    NextValue();
    m_out += open;
    m_has_elements.push_back(false);
  }
  void End(char close) {
    const bool had_elements = m_has_elements.back();
    m_has_elements.pop_back();
    if (had_elements) {
      m_out += '\n';
      Indent(m_has_elements.size());
    }
    m_out += close;
    ValueWritten();
  }
  void ValueWritten() {
    if (m_has_elements.empty() || m_out.size() >= kFlushBytes) Flush();
  }
  void Flush() {
    m_stream.write(m_out.data(), static_cast<std::streamsize>(m_out.size()));
    m_out.clear();
  }
  // Before a value: a member's value follows its key; an array element starts its own line.
  void NextValue() {
    if (m_after_key) {
      m_after_key = false;
      return;
    }
    if (!m_has_elements.empty()) NextElement();
  }
  void NextElement() {
    m_out += (m_has_elements.back() ? ",\n" : "\n");
    m_has_elements.back() = true;
    Indent(m_has_elements.size());
  }
  void Indent(size_t level) { m_out.append((level + static_cast<size_t>(m_base_depth)) * 2, ' '); }
  // Writes text quoted, escaped and made valid UTF-8 in one pass: runs of plain bytes are copied
  // whole, eight bytes are tested at a time while they are plain ASCII.
  void WriteString(std::string_view text) {
    m_out += '"';
    size_t plain_from = 0;
    size_t i = 0;
    while (i < text.size()) {
      if (i + 8 <= text.size() && IsPlainAscii(text.data() + i)) {
        i += 8;
        continue;
      }
      const unsigned char c = static_cast<unsigned char>(text[i]);
      if (c >= 0x20 && c < 0x80 && c != '"' && c != '\\') {
        ++i;
        continue;
      }
      const size_t sequence = c < 0x80 ? 0 : Utf8SequenceLength(text, i);
      if (sequence > 0) {
        i += sequence;
        continue;
      }
      m_out.append(text.data() + plain_from, i - plain_from);
      if (c < 0x80) {
        WriteEscape(c);
      } else {
        m_out += "\xEF\xBF\xBD";  // U+FFFD for a byte outside a well-formed sequence
      }
      plain_from = ++i;
    }
    m_out.append(text.data() + plain_from, text.size() - plain_from);
    m_out += '"';
  }
  // Whether 8 bytes are all printable ASCII other than '"' and '\\': no byte below 0x20 or from
  // 0x80 up, and none equal to either quote character.
  static bool IsPlainAscii(const char* bytes) {
    constexpr uint64_t kOnes = 0x0101010101010101ULL;
    constexpr uint64_t kHigh = 0x8080808080808080ULL;
    uint64_t word = 0;
    std::memcpy(&word, bytes, 8);
    const auto has_zero = [](uint64_t x) { return (x - kOnes) & ~x & kHigh; };
    const uint64_t below_space = (word - kOnes * 0x20) & ~word & kHigh;
    return ((word & kHigh) | below_space | has_zero(word ^ (kOnes * '"')) |
            has_zero(word ^ (kOnes * '\\'))) == 0;
  }
  void WriteEscape(unsigned char c) {
    switch (c) {
      case '"':
        m_out += "\\\"";
        return;
      case '\\':
        m_out += "\\\\";
        return;
      case '\b':
        m_out += "\\b";
        return;
      case '\t':
        m_out += "\\t";
        return;
      case '\n':
        m_out += "\\n";
        return;
      case '\f':
        m_out += "\\f";
        return;
      case '\r':
        m_out += "\\r";
        return;
      default: {
        char escaped[8];
        std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
        m_out += escaped;
      }
    }
  }

  static constexpr size_t kFlushBytes = 16384;

  std::ostream& m_stream;
  std::string m_out;  // written, not yet flushed
  int m_base_depth;
  std::vector<bool> m_has_elements;  // for each open object or array: written an element yet
  bool m_after_key = false;
};

#endif  // VELMORA_CLI_JSON_STREAM_H_
