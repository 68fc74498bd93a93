#include "schema/zem_xml_text.h"

#include <iconv.h>

#include <algorithm>
#include <bitset>
#include <cerrno>
#include <climits>
#include <cstring>

namespace {

constexpr size_t BLOCK_BYTES = 4096;
constexpr size_t WORD_BITS = 64;

bool StartsWith(const std::string& text, size_t at, const char* prefix, size_t length) {
  return text.size() - at >= length && std::memcmp(text.data() + at, prefix, length) == 0;
}

bool EqualsIgnoringCase(const std::string& text, const char* word) {
  const size_t length = std::strlen(word);
  if (text.size() != length) return false;
  for (size_t i = 0; i < length; ++i) {
    const char c = text[i];
    const char lower = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    if (lower != word[i]) return false;
  }
  return true;
}

bool StartsWithIgnoringCase(const std::string& text, const char* prefix) {
  const size_t length = std::strlen(prefix);
  return text.size() >= length && EqualsIgnoringCase(text.substr(0, length), prefix);
}

bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

int ClampToInt(size_t value) { return value > INT_MAX ? INT_MAX : static_cast<int>(value); }

// The encoding named by an XML declaration at `begin`, or "" when there is none. *name_at gets the
// offset of the "encoding" pseudo-attribute.
std::string DeclaredEncoding(const std::string& bytes, size_t begin, size_t* name_at) {
  if (!StartsWith(bytes, begin, "<?xml", 5) || bytes.size() - begin == 5 ||
      !IsXmlSpace(bytes[begin + 5])) {
    return std::string();
  }
  const size_t end = bytes.find("?>", begin);
  const size_t limit = end == std::string::npos ? bytes.size() : end;
  const size_t name = bytes.find("encoding", begin);
  if (name == std::string::npos || name >= limit) return std::string();
  size_t at = name + 8;
  while (at < limit && IsXmlSpace(bytes[at])) ++at;
  if (at >= limit || bytes[at] != '=') return std::string();
  ++at;
  while (at < limit && IsXmlSpace(bytes[at])) ++at;
  if (at >= limit || (bytes[at] != '"' && bytes[at] != '\'')) return std::string();
  const size_t close = bytes.find(bytes[at], at + 1);
  if (close == std::string::npos || close > limit) return std::string();
  *name_at = name;
  return bytes.substr(at + 1, close - at - 1);
}

// The position of an offset in text whose bytes up to it are single-byte characters (a
// declaration).
ZemTextPosition AsciiPosition(const std::string& bytes, size_t begin, size_t offset) {
  ZemTextPosition position;
  position.line = 1;
  size_t line_start = begin;
  for (size_t i = begin; i < offset; ++i) {
    if (bytes[i] == '\n') {
      if (position.line < INT_MAX) ++position.line;
      line_start = i + 1;
    }
  }
  position.column = ClampToInt(offset - line_start + 1);
  return position;
}

// The position just after UTF-8 text: where a transcoder stopped.
ZemTextPosition EndPosition(const char* text, size_t size) {
  ZemTextPosition position;
  position.line = 1;
  size_t characters = 0;
  for (size_t i = 0; i < size; ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '\n') {
      if (position.line < INT_MAX) ++position.line;
      characters = 0;
    } else if ((c & 0xC0) != 0x80) {
      ++characters;
    }
  }
  position.column = ClampToInt(characters + 1);
  return position;
}

class IconvHandle {
 public:
  explicit IconvHandle(const std::string& from) : m_handle(iconv_open("UTF-8", from.c_str())) {}
  ~IconvHandle() {
    if (valid()) iconv_close(m_handle);
  }
  IconvHandle(const IconvHandle&) = delete;
  IconvHandle& operator=(const IconvHandle&) = delete;

  bool valid() const { return m_handle != reinterpret_cast<iconv_t>(-1); }
  iconv_t get() const { return m_handle; }

 private:
  iconv_t m_handle;
};

}  // namespace

bool ZemXmlText::Decode(std::string bytes, std::string* error_text, ZemTextPosition* error_at) {
  m_buffer = std::move(bytes);
  m_begin = 0;
  std::string encoding;
  ZemTextPosition declared_at{1, 1};
  if (StartsWith(m_buffer, 0, "\xEF\xBB\xBF", 3)) {
    m_begin = 3;
  } else if (StartsWith(m_buffer, 0, "\xFF\xFE\0\0", 4)) {
    m_begin = 4;
    encoding = "UTF-32LE";
  } else if (StartsWith(m_buffer, 0, "\0\0\xFE\xFF", 4)) {
    m_begin = 4;
    encoding = "UTF-32BE";
  } else if (StartsWith(m_buffer, 0, "\xFF\xFE", 2)) {
    m_begin = 2;
    encoding = "UTF-16LE";
  } else if (StartsWith(m_buffer, 0, "\xFE\xFF", 2)) {
    m_begin = 2;
    encoding = "UTF-16BE";
  } else if (StartsWith(m_buffer, 0, "<\0?\0", 4)) {
    encoding = "UTF-16LE";
  } else if (StartsWith(m_buffer, 0, "\0<\0?", 4)) {
    encoding = "UTF-16BE";
  } else {
    size_t name_at = 0;
    encoding = DeclaredEncoding(m_buffer, 0, &name_at);
    // A declaration read byte by byte cannot be in a two- or four-byte encoding whatever it says,
    // so such a claim is read as UTF-8 (XML parsers do the same).
    if (EqualsIgnoringCase(encoding, "utf-8") || EqualsIgnoringCase(encoding, "utf8") ||
        EqualsIgnoringCase(encoding, "us-ascii") || EqualsIgnoringCase(encoding, "ascii") ||
        StartsWithIgnoringCase(encoding, "utf-16") || StartsWithIgnoringCase(encoding, "utf16") ||
        StartsWithIgnoringCase(encoding, "utf-32") || StartsWithIgnoringCase(encoding, "utf32") ||
        StartsWithIgnoringCase(encoding, "ucs-2") || StartsWithIgnoringCase(encoding, "ucs-4")) {
      encoding.clear();
    }
    if (!encoding.empty()) declared_at = AsciiPosition(m_buffer, 0, name_at);
  }
  if (!encoding.empty() && !Transcode(encoding, declared_at, error_text, error_at)) return false;
  IndexPositions();
  return true;
}

bool ZemXmlText::Transcode(const std::string& encoding, const ZemTextPosition& declared_at,
                           std::string* error_text, ZemTextPosition* error_at) {
  IconvHandle converter(encoding);
  if (!converter.valid()) {
    *error_text = "unknown encoding '" + encoding + "'";
    *error_at = declared_at;
    return false;
  }
  std::string out(size() + size() / 2 + 16, '\0');
  char* in_at = data();
  size_t in_left = size();
  size_t used = 0;
  // Once the input is used up, a last call with no input flushes the shift state of stateful
  // encodings.
  bool done = false;
  while (!done) {
    const bool flushing = in_left == 0;
    char* out_at = &out[used];
    size_t out_left = out.size() - used;
    const size_t converted =
        flushing ? iconv(converter.get(), nullptr, nullptr, &out_at, &out_left)
                 : iconv(converter.get(), &in_at, &in_left, &out_at, &out_left);
    const int reason = errno;
    used = static_cast<size_t>(out_at - out.data());
    if (converted != static_cast<size_t>(-1)) {
      done = flushing;
      continue;
    }
    if (reason == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    *error_text = reason == EINVAL ? "the file ends inside a character of encoding '" + encoding + "'"
                                   : "invalid byte sequence for encoding '" + encoding + "'";
    *error_at = EndPosition(out.data(), used);
    return false;
  }
  out.resize(used);
  m_buffer = std::move(out);
  m_begin = 0;
  return true;
}

void ZemXmlText::IndexPositions() {
  const char* text = data();
  const size_t length = size();
  m_line_starts.assign(1, 0);
  m_char_starts.assign(length / WORD_BITS + 1, 0);
  m_block_chars.assign(length / BLOCK_BYTES + 1, 0);
  size_t characters = 0;
  for (size_t i = 0; i < length; ++i) {
    if (i % BLOCK_BYTES == 0) m_block_chars[i / BLOCK_BYTES] = characters;
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '\n') m_line_starts.push_back(i + 1);
    if ((c & 0xC0) != 0x80) {
      m_char_starts[i / WORD_BITS] |= uint64_t{1} << (i % WORD_BITS);
      ++characters;
    }
  }
  if (length % BLOCK_BYTES == 0) m_block_chars[length / BLOCK_BYTES] = characters;
}

size_t ZemXmlText::CharactersBefore(size_t offset) const {
  const size_t block = offset / BLOCK_BYTES;
  size_t characters = m_block_chars[block];
  const size_t word = offset / WORD_BITS;
  for (size_t w = block * (BLOCK_BYTES / WORD_BITS); w < word; ++w) {
    characters += std::bitset<WORD_BITS>(m_char_starts[w]).count();
  }
  const size_t bit = offset % WORD_BITS;
  if (bit != 0) {
    characters +=
        std::bitset<WORD_BITS>(m_char_starts[word] & ((uint64_t{1} << bit) - 1)).count();
  }
  return characters;
}

ZemTextPosition ZemXmlText::PositionOf(size_t offset) const {
  offset = std::min(offset, size());
  const auto after = std::upper_bound(m_line_starts.begin(), m_line_starts.end(), offset);
  const size_t line = static_cast<size_t>(after - m_line_starts.begin());
  const size_t line_start = *(after - 1);
  ZemTextPosition position;
  position.line = ClampToInt(line);
  position.column = ClampToInt(CharactersBefore(offset) - CharactersBefore(line_start) + 1);
  return position;
}
