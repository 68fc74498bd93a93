// Making checker text safe for JSON. The checker's messages are bytes: a message cut at 1023 bytes
// can end inside a multi-byte character, and a schema may carry text in any encoding. JSON needs
// valid UTF-8, so every byte that is not part of a well-formed sequence becomes U+FFFD.
#ifndef VELMORA_CLI_UTF8_H_
#define VELMORA_CLI_UTF8_H_

#include <cstddef>
#include <string>
#include <string_view>

// Length of the well-formed UTF-8 sequence that starts at text[pos], or 0 when the byte there does
// not start one (a stray continuation byte, an overlong form, a surrogate, a code point above
// U+10FFFF, or a sequence cut short).
inline size_t Utf8SequenceLength(std::string_view text, size_t pos) {
  const unsigned char lead = static_cast<unsigned char>(text[pos]);
  if (lead < 0x80) return 1;
  size_t length = 0;
  unsigned char second_low = 0x80;
  unsigned char second_high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) second_low = 0xA0;   // below: overlong
    if (lead == 0xED) second_high = 0x9F;  // above: UTF-16 surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) second_low = 0x90;   // below: overlong
    if (lead == 0xF4) second_high = 0x8F;  // above: beyond U+10FFFF
  } else {
    return 0;
  }
  if (text.size() - pos < length) return 0;
  const unsigned char second = static_cast<unsigned char>(text[pos + 1]);
  if (second < second_low || second > second_high) return 0;
  for (size_t i = 2; i < length; ++i) {
    const unsigned char next = static_cast<unsigned char>(text[pos + i]);
    if (next < 0x80 || next > 0xBF) return 0;
  }
  return length;
}

// Returns text with each byte that is not part of a well-formed UTF-8 sequence replaced by U+FFFD
// (one replacement per byte); valid text comes back unchanged.
inline std::string ToValidUtf8(const std::string& text) {
  static const char kReplacement[] = "\xEF\xBF\xBD";
  std::string out;
  out.reserve(text.size());
  size_t pos = 0;
  while (pos < text.size()) {
    const size_t length = Utf8SequenceLength(text, pos);
    if (length == 0) {
      out += kReplacement;
      ++pos;
    } else {
      out.append(text, pos, length);
      pos += length;
    }
  }
  return out;
}

// Whether every byte of text belongs to a well-formed UTF-8 sequence.
inline bool IsValidUtf8(const std::string& text) {
  size_t pos = 0;
  while (pos < text.size()) {
    const unsigned char byte = static_cast<unsigned char>(text[pos]);
    const size_t length = byte < 0x80 ? 1 : Utf8SequenceLength(text, pos);
    if (length == 0) return false;
    pos += length;
  }
  return true;
}

#endif  // VELMORA_CLI_UTF8_H_
