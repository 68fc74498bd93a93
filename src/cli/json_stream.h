// Writes JSON straight to a stream, laid out as an indented document (two blanks per level, a
// blank after each ':'), without building the document in memory first. Strings are made valid
// UTF-8 (a byte outside a well-formed sequence becomes U+FFFD) and written as they are but for
// '"', '\' and the control characters, which are escaped. Output gathers in a buffer of a few
// KiB that goes to the stream when full, when the outermost value ends, and at destruction.
#ifndef VELMORA_CLI_JSON_STREAM_H_
#define VELMORA_CLI_JSON_STREAM_H_

#include <cstdio>
#include <ostream>
#include <string>
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
  void Key(const char* key) {
    NextElement();
    WriteString(key);
    m_out += ": ";
    m_after_key = true;
  }

  void String(const std::string& text) {
    NextValue();
    std::string repaired;
    WriteString(AsValidUtf8(text, &repaired));
    ValueWritten();
  }
  void Number(long long value) {
    NextValue();
    m_out += std::to_string(value);
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
  void WriteString(const std::string& text) {
    m_out += '"';
    size_t plain_from = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      const unsigned char c = static_cast<unsigned char>(text[i]);
      if (c >= 0x20 && c != '"' && c != '\\') continue;
      m_out.append(text, plain_from, i - plain_from);
      plain_from = i + 1;
      WriteEscape(c);
    }
    m_out.append(text, plain_from, std::string::npos);
    m_out += '"';
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
