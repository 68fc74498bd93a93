// The text of a schema file made ready for the XML parser: decoded to UTF-8 (a byte order mark
// skipped, a legacy or UTF-16/32 encoding transcoded), refused when it holds a NUL byte or names an
// encoding its bytes contradict, and indexed so that any byte offset of it maps to a line and a
// column even after the parser has written into the text in place.
#ifndef VELMORA_SCHEMA_ZEM_XML_TEXT_H_
#define VELMORA_SCHEMA_ZEM_XML_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "schema/zem_xml_input.h"

// A place in the text: 1-based line and column, the column counted in characters.
struct ZemTextPosition {
  int line = 0;
  int column = 0;
};

class ZemXmlText {
 public:
  // Takes the file's bytes and decodes them. Returns false and sets *error_text and *error_at when
  // the declared encoding is unknown or contradicts the bytes, a byte sequence is invalid in it,
  // or the text holds a NUL byte.
  bool Decode(ZemBytes bytes, std::string* error_text, ZemTextPosition* error_at);

  // The UTF-8 text, to be parsed in place; the parser may overwrite it, the positions stay right.
  char* data() { return m_bytes.data() + m_begin; }
  const char* data() const { return m_bytes.data() + m_begin; }
  size_t size() const { return m_bytes.size() - m_begin; }

  // The position of a byte offset of data(); an offset past the end is the end of the text.
  // Offsets asked for in ascending order cost one pass over the index in all; one before the
  // furthest asked so far costs a pass over the index of at most CHECKPOINT_BYTES.
  ZemTextPosition PositionOf(size_t offset);

  static constexpr size_t CHECKPOINT_BYTES = 4096;

 private:
  // The encoding named by the declaration of 8-bit text, checked against the declaration's bytes;
  // "" for text read as UTF-8.
  bool DeclaredEightBitEncoding(std::string* encoding, ZemTextPosition* declared_at,
                                std::string* error_text, ZemTextPosition* error_at) const;
  // After decoding text that announced its encoding by its first bytes: its declaration, if any,
  // must name an encoding of that kind.
  bool CheckDeclarationAgainst(const std::string& detected, std::string* error_text,
                               ZemTextPosition* error_at);
  // Replaces the text by its UTF-8 transcoding; declared_at is where the encoding was named.
  bool Transcode(const std::string& encoding, const ZemTextPosition& declared_at,
                 std::string* error_text, ZemTextPosition* error_at);
  bool CheckNoNulByte(std::string* error_text, ZemTextPosition* error_at);
  // Where the count of lines and characters stands at an offset.
  struct Cursor {
    size_t at = 0;
    uint64_t line_breaks = 0;      // before `at`
    size_t line_start = 0;         // offset of the line holding `at`
    uint64_t line_characters = 0;  // characters from line_start to `at`
  };
  void IndexPositions();
  // Moves *cursor forward to offset, which is not before it, counting on the index.
  void Advance(Cursor* cursor, size_t offset) const;
  // The characters that start in [from, to).
  uint64_t Characters(size_t from, size_t to) const;

  ZemBytes m_bytes;
  size_t m_begin = 0;  // where the text starts in m_bytes (after a byte order mark)
  // One bit per byte of the text as it was before parsing: a line break, and the first byte of a
  // character (none kept for ASCII text, whose bytes all are). Positions are counted on them, the
  // text itself may have changed since.
  std::vector<uint64_t> m_newlines;
  std::vector<uint64_t> m_char_starts;
  // The furthest offset asked for, and the cursor at every multiple of CHECKPOINT_BYTES: an
  // earlier offset is counted from the checkpoint before it.
  Cursor m_cursor;
  std::vector<Cursor> m_checkpoints;
};

#endif  // VELMORA_SCHEMA_ZEM_XML_TEXT_H_
