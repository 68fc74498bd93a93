// Byte-level ASCII helpers shared by the string helpers and the schema loader. Bytes outside
// ASCII are left as they are: schema text may be in any encoding.
#ifndef VELMORA_BASE_ASCII_H_
#define VELMORA_BASE_ASCII_H_

// The lower-case letter of an ASCII upper-case letter; any other byte unchanged.
inline char AsciiLower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

// The white space of XML: blank, tab, carriage return and line feed.
inline bool IsXmlBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

#endif  // VELMORA_BASE_ASCII_H_
