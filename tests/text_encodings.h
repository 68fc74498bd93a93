// Schema text in the forms editors save it in: CRLF line ends, UTF-16 with a byte order mark.
#ifndef VELMORA_TESTS_TEXT_ENCODINGS_H_
#define VELMORA_TESTS_TEXT_ENCODINGS_H_

#include <string>

// text with each line feed preceded by a carriage return.
inline std::string WithCrLf(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

// The UTF-16 form of well-formed UTF-8 text, with its byte order mark; a character beyond the
// Basic Multilingual Plane becomes a surrogate pair.
inline std::string Utf16(const std::string& utf8, bool big_endian) {
  std::string out = big_endian ? "\xFE\xFF" : "\xFF\xFE";
  auto put = [&out, big_endian](unsigned unit) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    out += big_endian ? high : low;
    out += big_endian ? low : high;
  };
  for (size_t i = 0; i < utf8.size();) {
    const unsigned char lead = static_cast<unsigned char>(utf8[i]);
    const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    unsigned code = length == 1 ? lead : lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) code = (code << 6) | (utf8[i + k] & 0x3F);
    i += length;
    if (code < 0x10000) {
      put(code);
    } else {
      put(0xD800 + ((code - 0x10000) >> 10));
      put(0xDC00 + ((code - 0x10000) & 0x3FF));
    }
  }
  return out;
}

#endif  // VELMORA_TESTS_TEXT_ENCODINGS_H_
