#include "schema/zem_xml_text.h"

#include <iconv.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>

#include "base/ascii.h"

namespace {

constexpr size_t WORD_BITS = 64;

bool StartsWith(std::string_view text, const char* prefix, size_t length) {
  return text.size() >= length && std::memcmp(text.data(), prefix, length) == 0;
}


bool EqualsIgnoringCase(std::string_view text, const char* word) {
  const size_t length = std::strlen(word);
  if (text.size() != length) return false;
  for (size_t i = 0; i < length; ++i) {
    if (AsciiLower(text[i]) != word[i]) return false;
  }
  return true;
}

// Names of UTF-8 and of its subset ASCII: such text is read as it is.
bool IsUtf8Name(const std::string& encoding) {
  return EqualsIgnoringCase(encoding, "utf-8") || EqualsIgnoringCase(encoding, "utf8") ||
         EqualsIgnoringCase(encoding, "us-ascii") || EqualsIgnoringCase(encoding, "ascii");
}


int ClampToInt(size_t value) { return value > INT_MAX ? INT_MAX : static_cast<int>(value); }

// Set bits of a word, counted in the word itself: without a processor option for it, the
// compiler's population count is a library call, which the position lookups would make millions
// of times.
int PopCount(uint64_t word) {
  word -= (word >> 1) & 0x5555555555555555ULL;
  word = (word & 0x3333333333333333ULL) + ((word >> 2) & 0x3333333333333333ULL);
  word = (word + (word >> 4)) & 0x0F0F0F0F0F0F0F0FULL;
  return static_cast<int>((word * 0x0101010101010101ULL) >> 56);
}

// The bits of one index word, for the bytes text[0] .. text[bits - 1]: line breaks, and bytes
// that start a character (any byte but a UTF-8 continuation byte, 10xxxxxx).
struct WordBits {
  uint64_t newlines = 0;
  uint64_t char_starts = 0;
};

WordBits ByteByByte(const char* text, size_t bits) {
  WordBits word;
  for (size_t bit = 0; bit < bits; ++bit) {
    const unsigned char c = static_cast<unsigned char>(text[bit]);
    word.newlines |= uint64_t{c == '\n'} << bit;
    word.char_starts |= uint64_t{(c & 0xC0) != 0x80} << bit;
  }
  return word;
}

#if !defined(__SSE2__) && defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
// The high bit of each byte of a little-endian 8-byte group, gathered into 8 bits, byte 0 first.
uint64_t GatherHighBits(uint64_t high) { return ((high >> 7) * 0x0102040810204080ULL) >> 56; }

// The same bits for 64 bytes, eight at a time.
WordBits EightBytesAtATime(const char* text) {
  constexpr uint64_t kHigh = 0x8080808080808080ULL;
  constexpr uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FULL;
  constexpr uint64_t kNewlines = 0x0A0A0A0A0A0A0A0AULL;
  WordBits word;
  for (size_t group = 0; group < 8; ++group) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, text + group * 8, 8);
    // A byte is a line break when it XORs to zero; the sum sets the high bit of every non-zero
    // byte without a carry crossing into the next byte.
    const uint64_t x = bytes ^ kNewlines;
    const uint64_t newline_high = ~(((x & kLow7) + kLow7) | x | kLow7);
    // A continuation byte has its high bit set and the next one clear.
    const uint64_t continuation_high = bytes & kHigh & ~(bytes << 1);
    word.newlines |= GatherHighBits(newline_high) << (group * 8);
    word.char_starts |= GatherHighBits(~continuation_high & kHigh) << (group * 8);
  }
  return word;
}
#endif

#if defined(__SSE2__)
// The same bits for 64 bytes, sixteen at a time with the vector compares every x86-64 has.
WordBits SixteenBytesAtATime(const char* text) {
  const __m128i newline = _mm_set1_epi8('\n');
  // Continuation bytes, 0x80 to 0xBF, are the bytes below -64 when read as signed.
  const __m128i lowest_start = _mm_set1_epi8(static_cast<char>(-64));
  WordBits word;
  for (size_t group = 0; group < 4; ++group) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + group * 16));
    const auto newlines = static_cast<uint16_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, newline)));
    const auto continuations =
        static_cast<uint16_t>(_mm_movemask_epi8(_mm_cmplt_epi8(bytes, lowest_start)));
    word.newlines |= uint64_t{newlines} << (group * 16);
    word.char_starts |= uint64_t{static_cast<uint16_t>(~continuations)} << (group * 16);
  }
  return word;
}
#endif

// The index bits of the bytes text[0] .. text[bits - 1], at most 64 of them.
WordBits IndexWord(const char* text, size_t bits) {
#if defined(__SSE2__)
  if (bits == WORD_BITS) return SixteenBytesAtATime(text);
#elif defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  if (bits == WORD_BITS) return EightBytesAtATime(text);
#endif
  return ByteByByte(text, bits);
}

// An XML declaration at the start of a text, and the encoding it names ("" when none).
struct Declaration {
  std::string encoding;
  size_t name_at = 0;  // offset of the "encoding" pseudo-attribute
  size_t end = 0;      // just after "?>", or the end of the text
};

bool FindDeclaration(std::string_view text, Declaration* declaration) {
  if (!StartsWith(text, "<?xml", 5) || text.size() == 5 || !IsXmlBlank(text[5])) return false;
  const size_t close = text.find("?>");
  const size_t limit = close == std::string_view::npos ? text.size() : close;
  declaration->end = close == std::string_view::npos ? text.size() : close + 2;
  const size_t name = text.find("encoding");
  if (name == std::string_view::npos || name >= limit) return true;
  size_t at = name + 8;
  while (at < limit && IsXmlBlank(text[at])) ++at;
  if (at >= limit || text[at] != '=') return true;
  ++at;
  while (at < limit && IsXmlBlank(text[at])) ++at;
  if (at >= limit || (text[at] != '"' && text[at] != '\'')) return true;
  const size_t quote = text.find(text[at], at + 1);
  if (quote == std::string_view::npos || quote > limit) return true;
  declaration->name_at = name;
  declaration->encoding = std::string(text.substr(at + 1, quote - at - 1));
  return true;
}

// The position of an offset in text whose bytes up to it are single-byte characters (a
// declaration).
ZemTextPosition AsciiPosition(std::string_view text, size_t offset) {
  ZemTextPosition position;
  position.line = 1;
  size_t line_start = 0;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n') {
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
  IconvHandle(const char* to, const std::string& from) : m_handle(iconv_open(to, from.c_str())) {}
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

// Converts a short text whole; "" when the converter refuses it.
std::string ConvertShort(const IconvHandle& converter, std::string_view text) {
  std::string in(text);
  std::string out(in.size() * 4 + 16, '\0');
  char* in_at = &in[0];
  size_t in_left = in.size();
  char* out_at = &out[0];
  size_t out_left = out.size();
  if (iconv(converter.get(), &in_at, &in_left, &out_at, &out_left) == static_cast<size_t>(-1) ||
      iconv(converter.get(), nullptr, nullptr, &out_at, &out_left) == static_cast<size_t>(-1)) {
    return std::string();
  }
  out.resize(out.size() - out_left);
  return out;
}

// Bytes of one '<' in an encoding (a byte order mark it writes not counted): 1 for single-byte
// and multi-byte encodings of ASCII, 2 for UTF-16 and UCS-2, 4 for UTF-32 and UCS-4; 0 for a name
// the converter does not know.
size_t CodeUnitBytes(const std::string& encoding) {
  IconvHandle converter(encoding.c_str(), "UTF-8");
  if (!converter.valid()) return 0;
  const std::string one = ConvertShort(converter, "<");
  iconv(converter.get(), nullptr, nullptr, nullptr, nullptr);
  const std::string two = ConvertShort(converter, "<<");
  return two.size() > one.size() ? two.size() - one.size() : 0;
}

// The encoding a text announces by its first bytes: a byte order mark, or "<?" in UTF-16 or
// "<" in UTF-32 without one. *bom gets the length of the mark.
const char* EncodingByFirstBytes(std::string_view text, size_t* bom) {
  struct Mark {
    const char* bytes;
    size_t length;
    size_t bom;
    const char* encoding;
  };
  static const Mark kMarks[] = {
      {"\xEF\xBB\xBF", 3, 3, "UTF-8"},        {"\xFF\xFE\0\0", 4, 4, "UTF-32LE"},
      {"\0\0\xFE\xFF", 4, 4, "UTF-32BE"},     {"\xFF\xFE", 2, 2, "UTF-16LE"},
      {"\xFE\xFF", 2, 2, "UTF-16BE"},         {"<\0\0\0", 4, 0, "UTF-32LE"},
      {"\0\0\0<", 4, 0, "UTF-32BE"},          {"<\0?\0", 4, 0, "UTF-16LE"},
      {"\0<\0?", 4, 0, "UTF-16BE"},
  };
  for (const Mark& mark : kMarks) {
    if (StartsWith(text, mark.bytes, mark.length)) {
      *bom = mark.bom;
      return mark.encoding;
    }
  }
  *bom = 0;
  return nullptr;
}

// The set bits of [from, to), counted by count(word).
template <typename Count>
inline __attribute__((always_inline)) uint64_t CountBitsWith(const std::vector<uint64_t>& bits,
                                                             size_t from, size_t to, Count count) {
  if (from >= to) return 0;
  const size_t first = from / WORD_BITS;
  const size_t last = (to - 1) / WORD_BITS;
  const uint64_t head = ~uint64_t{0} << (from % WORD_BITS);
  const uint64_t tail = ~uint64_t{0} >> (WORD_BITS - 1 - (to - 1) % WORD_BITS);
  if (first == last) return static_cast<uint64_t>(count(bits[first] & head & tail));
  uint64_t total = static_cast<uint64_t>(count(bits[first] & head));
  for (size_t word = first + 1; word < last; ++word) {
    total += static_cast<uint64_t>(count(bits[word]));
  }
  return total + static_cast<uint64_t>(count(bits[last] & tail));
}

#if defined(__x86_64__) && !defined(__POPCNT__) && defined(__GNUC__)
// With the processor's own instruction, which nearly every x86-64 processor has although the base
// instruction set does not: a line's column is counted once for every entry of a file.
__attribute__((target("popcnt"))) uint64_t CountBitsByInstruction(const std::vector<uint64_t>& bits,
                                                                  size_t from, size_t to) {
  return CountBitsWith(bits, from, to, [](uint64_t word) { return __builtin_popcountll(word); });
}
#define VELMORA_COUNT_BITS_BY_INSTRUCTION 1
#endif

// The set bits of a bit map in [from, to).
uint64_t CountBits(const std::vector<uint64_t>& bits, size_t from, size_t to) {
#if defined(VELMORA_COUNT_BITS_BY_INSTRUCTION)
  static const bool has_instruction = __builtin_cpu_supports("popcnt") != 0;
  if (has_instruction) return CountBitsByInstruction(bits, from, to);
#endif
  return CountBitsWith(bits, from, to, PopCount);
}

// The last set bit of a bit map in [from, to), which holds one.
size_t LastBit(const std::vector<uint64_t>& bits, size_t from, size_t to) {
  for (size_t end = to; end > from;) {
    const size_t word = (end - 1) / WORD_BITS;
    const size_t word_start = word * WORD_BITS;
    uint64_t value = bits[word];
    const size_t used = end - word_start;
    if (used < WORD_BITS) value &= (uint64_t{1} << used) - 1;
    if (word_start < from) value &= ~((uint64_t{1} << (from - word_start)) - 1);
    if (value != 0) return word_start + WORD_BITS - 1 - static_cast<size_t>(__builtin_clzll(value));
    end = word_start;
  }
  return from;
}

// The code unit of UTF-16 text at the start of bytes (at least two of them).
unsigned Utf16Unit(std::string_view bytes, bool big_endian) {
  const unsigned first = static_cast<unsigned char>(bytes[0]);
  const unsigned second = static_cast<unsigned char>(bytes[1]);
  return big_endian ? (first << 8) | second : (second << 8) | first;
}

std::string HexUnit(unsigned unit) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text = "0x";
  for (int shift = 12; shift >= 0; shift -= 4) text += digits[(unit >> shift) & 0xF];
  return text;
}

// Why a transcoder stopped at rest, the input it could not convert, in words for the file's
// encoding: UTF-16 text fails by its own rules (pairs of bytes, surrogates that come in pairs).
std::string TranscodeFailure(const std::string& encoding, int reason, std::string_view rest) {
  const bool utf16 = encoding == "UTF-16LE" || encoding == "UTF-16BE";
  if (utf16 && rest.size() % 2 == 1 && reason == EINVAL) {
    return "the file has an odd number of bytes, but " + encoding +
           " text is made of pairs of bytes";
  }
  if (utf16 && rest.size() >= 2) {
    const unsigned unit = Utf16Unit(rest, encoding == "UTF-16BE");
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      return "unpaired surrogate " + HexUnit(unit) + " in " + encoding +
             " text: a high surrogate must be followed by a low one (0xDC00 to 0xDFFF)";
    }
    if (unit >= 0xDC00 && unit <= 0xDFFF) {
      return "unpaired surrogate " + HexUnit(unit) + " in " + encoding +
             " text: a low surrogate must follow a high one (0xD800 to 0xDBFF)";
    }
  }
  return reason == EINVAL ? "the file ends inside a character of encoding '" + encoding + "'"
                          : "invalid byte sequence for encoding '" + encoding + "'";
}

}  // namespace

bool ZemXmlText::Decode(ZemBytes bytes, std::string* error_text, ZemTextPosition* error_at) {
  m_bytes = std::move(bytes);
  m_begin = 0;
  const char* detected = EncodingByFirstBytes(std::string_view(m_bytes.data(), m_bytes.size()),
                                              &m_begin);
  if (detected == nullptr) {
    std::string encoding;
    ZemTextPosition declared_at;
    if (!DeclaredEightBitEncoding(&encoding, &declared_at, error_text, error_at)) return false;
    if (!encoding.empty() && !Transcode(encoding, declared_at, error_text, error_at)) return false;
  } else if (std::strcmp(detected, "UTF-8") != 0 &&
             !Transcode(detected, ZemTextPosition{1, 1}, error_text, error_at)) {
    return false;
  }
  IndexPositions();
  if (detected != nullptr && !CheckDeclarationAgainst(detected, error_text, error_at)) {
    return false;
  }
  return CheckNoNulByte(error_text, error_at);
}

bool ZemXmlText::DeclaredEightBitEncoding(std::string* encoding, ZemTextPosition* declared_at,
                                          std::string* error_text,
                                          ZemTextPosition* error_at) const {
  const std::string_view text(data(), size());
  Declaration declaration;
  if (!FindDeclaration(text, &declaration) || declaration.encoding.empty() ||
      IsUtf8Name(declaration.encoding)) {
    return true;
  }
  *declared_at = AsciiPosition(text, declaration.name_at);
  const IconvHandle converter("UTF-8", declaration.encoding);
  if (!converter.valid()) {
    *error_text = "unknown encoding '" + declaration.encoding + "'";
    *error_at = *declared_at;
    return false;
  }
  // The declaration was read one byte per character; an encoding that reads those bytes as other
  // characters (UTF-16, UCS-2, UCS-4, UNICODE, WCHAR_T, EBCDIC, ...) cannot be the file's.
  const std::string_view declaration_bytes = text.substr(0, declaration.end);
  if (ConvertShort(converter, declaration_bytes) != declaration_bytes) {
    *error_text = "encoding '" + declaration.encoding +
                  "' does not match the file: its own declaration is not written in it";
    *error_at = *declared_at;
    return false;
  }
  *encoding = declaration.encoding;
  return true;
}

bool ZemXmlText::CheckDeclarationAgainst(const std::string& detected, std::string* error_text,
                                         ZemTextPosition* error_at) {
  Declaration declaration;
  if (!FindDeclaration(std::string_view(data(), size()), &declaration) ||
      declaration.encoding.empty()) {
    return true;
  }
  const std::string& declared = declaration.encoding;
  const size_t unit = detected == "UTF-8" ? 1 : CodeUnitBytes(detected);
  const size_t declared_unit = IsUtf8Name(declared) ? 1 : CodeUnitBytes(declared);
  if (declared_unit == unit && (unit > 1 || IsUtf8Name(declared))) return true;
  *error_at = PositionOf(declaration.name_at);
  if (declared_unit == 0) {
    *error_text = "unknown encoding '" + declared + "'";
  } else {
    *error_text = "the file is in " + detected + " by its first bytes but declares encoding '" +
                  declared + "'";
  }
  return false;
}

bool ZemXmlText::Transcode(const std::string& encoding, const ZemTextPosition& declared_at,
                           std::string* error_text, ZemTextPosition* error_at) {
  const IconvHandle converter("UTF-8", encoding);
  if (!converter.valid()) {
    *error_text = "unknown encoding '" + encoding + "'";
    *error_at = declared_at;
    return false;
  }
  ZemBytes out;
  out.Reserve(size() + size() / 2 + 16);
  char* in_at = data();
  size_t in_left = size();
  // Once the input is used up, a last call with no input flushes the shift state of stateful
  // encodings.
  for (bool done = false; !done;) {
    const bool flushing = in_left == 0;
    const size_t room_size = std::max<size_t>(in_left + in_left / 2, 64);
    char* room = out.AppendRoom(room_size);
    char* out_at = room;
    size_t out_left = room_size;
    const size_t converted =
        flushing ? iconv(converter.get(), nullptr, nullptr, &out_at, &out_left)
                 : iconv(converter.get(), &in_at, &in_left, &out_at, &out_left);
    const int reason = errno;
    out.Commit(static_cast<size_t>(out_at - room));
    if (converted != static_cast<size_t>(-1)) {
      done = flushing;
    } else if (reason != E2BIG) {
      *error_text = TranscodeFailure(encoding, reason, std::string_view(in_at, in_left));
      *error_at = EndPosition(out.data(), out.size());
      return false;
    }
  }
  m_bytes = std::move(out);
  m_begin = 0;
  return true;
}

bool ZemXmlText::CheckNoNulByte(std::string* error_text, ZemTextPosition* error_at) {
  if (size() == 0) return true;  // an empty text may have no bytes at all to search
  const void* nul = std::memchr(data(), '\0', size());
  if (nul == nullptr) return true;
  *error_text = "a NUL byte, which an XML document must not hold";
  // "<" and a NUL byte, in either order, start text in UTF-16 that has no byte order mark.
  const size_t offset = static_cast<size_t>(static_cast<const char*>(nul) - data());
  if (size() >= 2 && offset <= 1 && data()[1 - offset] != '\0') {
    *error_text += "; the file looks like UTF-16 without a byte order mark: save it as UTF-8, or "
                   "as UTF-16 with a byte order mark";
  }
  *error_at = PositionOf(static_cast<size_t>(static_cast<const char*>(nul) - data()));
  return false;
}

void ZemXmlText::IndexPositions() {
  const char* text = data();
  const size_t length = size();
  m_newlines.assign(length / WORD_BITS + 1, 0);
  // Kept from the first byte that does not start a character on: in ASCII text, which most
  // schema files are, every byte does, and the characters of a stretch are its bytes.
  m_char_starts.clear();
  m_checkpoints.assign(length / CHECKPOINT_BYTES + 1, Cursor());
  uint64_t lines = 0;
  uint64_t characters = 0;
  size_t line_start = 0;
  uint64_t characters_before_line = 0;
  for (size_t word = 0; word * WORD_BITS < length; ++word) {
    const size_t from = word * WORD_BITS;
    if (from % CHECKPOINT_BYTES == 0) {
      m_checkpoints[from / CHECKPOINT_BYTES] =
          Cursor{from, lines, line_start, characters - characters_before_line};
    }
    const size_t word_bytes = std::min(WORD_BITS, length - from);
    const WordBits bits = IndexWord(text + from, word_bytes);
    m_newlines[word] = bits.newlines;
    const uint64_t all_bytes =
        word_bytes == WORD_BITS ? ~uint64_t{0} : (uint64_t{1} << word_bytes) - 1;
    if (m_char_starts.empty() && bits.char_starts != all_bytes) {
      m_char_starts.assign(length / WORD_BITS + 1, 0);
      std::fill(m_char_starts.begin(), m_char_starts.begin() + static_cast<ptrdiff_t>(word),
                ~uint64_t{0});
    }
    if (!m_char_starts.empty()) m_char_starts[word] = bits.char_starts;
    if (bits.newlines != 0) {
      const size_t last = WORD_BITS - 1 - static_cast<size_t>(__builtin_clzll(bits.newlines));
      line_start = from + last + 1;
      const uint64_t through_last =
          last == WORD_BITS - 1 ? ~uint64_t{0} : (uint64_t{1} << (last + 1)) - 1;
      characters_before_line =
          characters + static_cast<uint64_t>(PopCount(bits.char_starts & through_last));
    }
    lines += static_cast<uint64_t>(PopCount(bits.newlines));
    characters += static_cast<uint64_t>(PopCount(bits.char_starts));
  }
  if (length % CHECKPOINT_BYTES == 0) {
    m_checkpoints[length / CHECKPOINT_BYTES] =
        Cursor{length, lines, line_start, characters - characters_before_line};
  }
  m_cursor = Cursor();
}

uint64_t ZemXmlText::Characters(size_t from, size_t to) const {
  return m_char_starts.empty() ? to - from : CountBits(m_char_starts, from, to);
}

void ZemXmlText::Advance(Cursor* cursor, size_t offset) const {
  const uint64_t line_breaks = CountBits(m_newlines, cursor->at, offset);
  if (line_breaks == 0) {
    cursor->line_characters += Characters(cursor->at, offset);
  } else {
    cursor->line_breaks += line_breaks;
    cursor->line_start = LastBit(m_newlines, cursor->at, offset) + 1;
    cursor->line_characters = Characters(cursor->line_start, offset);
  }
  cursor->at = offset;
}

ZemTextPosition ZemXmlText::PositionOf(size_t offset) {
  offset = std::min(offset, size());
  Cursor cursor;
  if (offset >= m_cursor.at) {
    Advance(&m_cursor, offset);
    cursor = m_cursor;
  } else {
    cursor = m_checkpoints[offset / CHECKPOINT_BYTES];
    Advance(&cursor, offset);
  }
  return ZemTextPosition{ClampToInt(cursor.line_breaks + 1),
                         ClampToInt(cursor.line_characters + 1)};
}
