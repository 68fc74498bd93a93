// Writes JSON straight to a stream, laid out as an indented document (two blanks per level, a
// blank after each ':'), without building the document in memory first. Strings must be valid
// UTF-8; they are written as they are but for '"', '\' and the control characters, which are
// escaped.
#ifndef VELMORA_CLI_JSON_STREAM_H_
#define VELMORA_CLI_JSON_STREAM_H_

#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

class JsonStream {
 public:
  // depth: the level of the first value written, whose inner lines are indented accordingly.
  JsonStream(std::ostream& out, int depth) : m_out(out), m_base_depth(depth) {}

  void BeginObject() { Begin('{'); }
  void EndObject() { End('}'); }
  void BeginArray() { Begin('['); }
  void EndArray() { End(']'); }

  // The name of the next member of the object being written.
  void Key(const char* key) {
    NextElement();
    WriteString(key);
    m_out << ": ";
    m_after_key = true;
  }

  void String(const std::string& text) {
    NextValue();
    WriteString(text);
  }
  void Number(long long value) {
    NextValue();
    m_out << value;
  }
  void Bool(bool value) {
    NextValue();
    m_out << (value ? "true" : "false");
  }
  void Null() {
    NextValue();
    m_out << "null";
  }

 private:
  void Begin(char open) {
    NextValue();
    m_out << open;
    m_has_elements.push_back(false);
  }
  void End(char close) {
    const bool had_elements = m_has_elements.back();
    m_has_elements.pop_back();
    if (had_elements) {
      m_out << '\n';
      Indent(m_has_elements.size());
    }
    m_out << close;
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
    m_out << (m_has_elements.back() ? ",\n" : "\n");
    m_has_elements.back() = true;
    Indent(m_has_elements.size());
  }
  void Indent(size_t level) {
    for (size_t i = 0; i < (level + static_cast<size_t>(m_base_depth)) * 2; ++i) m_out << ' ';
  }
  void WriteString(const std::string& text) {
    m_out << '"';
    size_t plain_from = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      const unsigned char c = static_cast<unsigned char>(text[i]);
      if (c >= 0x20 && c != '"' && c != '\\') continue;
      m_out.write(text.data() + plain_from, static_cast<std::streamsize>(i - plain_from));
      plain_from = i + 1;
      WriteEscape(c);
    }
    m_out.write(text.data() + plain_from, static_cast<std::streamsize>(text.size() - plain_from));
    m_out << '"';
  }
  void WriteEscape(unsigned char c) {
    switch (c) {
      case '"':
        m_out << "\\\"";
        return;
      case '\\':
        m_out << "\\\\";
        return;
      case '\b':
        m_out << "\\b";
        return;
      case '\t':
        m_out << "\\t";
        return;
      case '\n':
        m_out << "\\n";
        return;
      case '\f':
        m_out << "\\f";
        return;
      case '\r':
        m_out << "\\r";
        return;
      default: {
        char escaped[8];
        std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
        m_out << escaped;
      }
    }
  }

  std::ostream& m_out;
  int m_base_depth;
  std::vector<bool> m_has_elements;  // for each open object or array: written an element yet
  bool m_after_key = false;
};

#endif  // VELMORA_CLI_JSON_STREAM_H_
