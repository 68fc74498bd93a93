// The text of a schema file made ready for the XML parser: decoded to UTF-8 (a byte order mark
// skipped, a legacy or UTF-16/32 encoding transcoded), and indexed so that any byte offset of it
// maps to a line and a column even after the parser has written into the text in place.
#ifndef VELMORA_SCHEMA_ZEM_XML_TEXT_H_
#define VELMORA_SCHEMA_ZEM_XML_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// A place in the text: 1-based line and column, the column counted in characters.
struct ZemTextPosition {
  int line = 0;
  int column = 0;
};

class ZemXmlText {
 public:
  // Takes the file's bytes and decodes them. Returns false and sets *error_text and *error_at when
  // the declared encoding is unknown or a byte sequence is invalid in it.
  bool Decode(std::string bytes, std::string* error_text, ZemTextPosition* error_at);

  // The UTF-8 text, to be parsed in place; the parser may overwrite it, the positions stay right.
  char* data() { return &m_buffer[m_begin]; }
  const char* data() const { return m_buffer.data() + m_begin; }
  size_t size() const { return m_buffer.size() - m_begin; }

  // The position of a byte offset of data(); an offset past the end is the end of the text.
  ZemTextPosition PositionOf(size_t offset) const;

 private:
  // Replaces the text by its UTF-8 transcoding; declared_at is where the encoding was named.
  bool Transcode(const std::string& encoding, const ZemTextPosition& declared_at,
                 std::string* error_text, ZemTextPosition* error_at);
  void IndexPositions();
  size_t CharactersBefore(size_t offset) const;

  std::string m_buffer;
  size_t m_begin = 0;                 // where the text starts in m_buffer (after a byte order mark)
  std::vector<size_t> m_line_starts;  // offset of each line's first byte
  std::vector<uint64_t> m_char_starts;  // bit per byte: set when the byte starts a character
  std::vector<size_t> m_block_chars;  // characters before each block of 4096 bytes
};

#endif  // VELMORA_SCHEMA_ZEM_XML_TEXT_H_
