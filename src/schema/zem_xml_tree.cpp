#include "schema/zem_xml_tree.h"

#include <cstring>
#include <new>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "base/huge_pages.h"

namespace {

// Classes of bytes in plain markup.
enum ByteClass : unsigned char {
  NAME_START = 1,  // ASCII letters, '_' and ':'
  NAME_PART = 2,   // those, digits, '-' and '.'
  BLANK = 4,       // space, tab, line feed, carriage return
  // What stops the scan of an attribute value: either quote, and the bytes the full parser would
  // change or that this tree leaves to it ('&', '<', and control bytes: tab, line feed, carriage
  // return and the rest).
  VALUE_STOP = 8,
};

struct ByteClasses {
  constexpr ByteClasses() : of() {
    for (int c = 0; c < ' '; ++c) of[c] = VALUE_STOP;
    for (int c = 'a'; c <= 'z'; ++c) of[c] = NAME_START | NAME_PART;
    for (int c = 'A'; c <= 'Z'; ++c) of[c] = NAME_START | NAME_PART;
    for (int c = '0'; c <= '9'; ++c) of[c] = NAME_PART;
    of[static_cast<unsigned char>('_')] = NAME_START | NAME_PART;
    of[static_cast<unsigned char>(':')] = NAME_START | NAME_PART;
    of[static_cast<unsigned char>('-')] = NAME_PART;
    of[static_cast<unsigned char>('.')] = NAME_PART;
    of[static_cast<unsigned char>(' ')] = BLANK;
    of[static_cast<unsigned char>('\t')] = BLANK | VALUE_STOP;
    of[static_cast<unsigned char>('\n')] = BLANK | VALUE_STOP;
    of[static_cast<unsigned char>('\r')] = BLANK | VALUE_STOP;
    of[static_cast<unsigned char>('"')] = VALUE_STOP;
    of[static_cast<unsigned char>('\'')] = VALUE_STOP;
    of[static_cast<unsigned char>('&')] = VALUE_STOP;
    of[static_cast<unsigned char>('<')] = VALUE_STOP;
  }
  unsigned char of[256];
};

constexpr ByteClasses BYTE_CLASSES;

bool Is(char c, ByteClass byte_class) {
  return (BYTE_CLASSES.of[static_cast<unsigned char>(c)] & byte_class) != 0;
}

}  // namespace

// One pass over the text. Every step that meets what plain XML does not hold answers false; the
// records made so far let the tree give the text its bytes back.
class ZemXmlTree::Tokenizer {
 public:
  Tokenizer(ZemXmlTree* tree, char* text, size_t size) : m_tree(tree), m_text(text), m_size(size) {}

  bool Run() {
    if (Starts("<?xml") && m_size > 5 && Is(m_text[5], BLANK) && !SkipDeclaration()) return false;
    m_open.push_back(Open{0, 0, 0});  // the document
    bool has_root = false;
    for (;;) {
      if (m_open.size() == 1) {
        // Beside the root element only blanks and comments.
        SkipBlanks();
        if (m_at == m_size) break;
        if (m_text[m_at] != '<') return false;
      } else {
        // Text within an element is not read; the next markup starts at '<'.
        const void* markup = std::memchr(m_text + m_at, '<', m_size - m_at);
        if (markup == nullptr) return false;
        m_at = static_cast<size_t>(static_cast<const char*>(markup) - m_text);
      }
      const char next = At(m_at + 1);
      if (next == '!') {
        if (!SkipComment()) return false;
      } else if (next == '/') {
        if (m_open.size() == 1 || !EndTag()) return false;
      } else if (Is(next, NAME_START)) {
        if (m_open.size() == 1 && has_root) return false;
        has_root = true;
        if (!StartTag()) return false;
      } else {
        return false;
      }
    }
    return has_root;
  }

 private:
  // An element not closed yet, with the last of its children so far.
  struct Open {
    uint32_t element;
    uint32_t last_child;
    size_t name_size;
  };

  char At(size_t at) const { return at < m_size ? m_text[at] : '\0'; }
  bool Starts(std::string_view literal) const {
    return m_size - m_at >= literal.size() &&
           std::memcmp(m_text + m_at, literal.data(), literal.size()) == 0;
  }
  void SkipBlanks() {
    while (m_at < m_size && Is(m_text[m_at], BLANK)) ++m_at;
  }
  // The first byte at or after from that stops an attribute value's scan, or m_size.
  size_t ValueStop(size_t from) const {
#if defined(__SSE2__)
    // Sixteen bytes at a time: the stop bytes are the control bytes (at most 0x1F, unsigned) and
    // four others.
    const __m128i double_quote = _mm_set1_epi8('"');
    const __m128i single_quote = _mm_set1_epi8('\'');
    const __m128i ampersand = _mm_set1_epi8('&');
    const __m128i less_than = _mm_set1_epi8('<');
    const __m128i last_control = _mm_set1_epi8(0x1F);
    for (; m_size - from >= 16; from += 16) {
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(m_text + from));
      const __m128i quotes =
          _mm_or_si128(_mm_cmpeq_epi8(bytes, double_quote), _mm_cmpeq_epi8(bytes, single_quote));
      const __m128i markup =
          _mm_or_si128(_mm_cmpeq_epi8(bytes, ampersand), _mm_cmpeq_epi8(bytes, less_than));
      const __m128i control = _mm_cmpeq_epi8(_mm_max_epu8(bytes, last_control), last_control);
      const int stops = _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(quotes, markup), control));
      if (stops != 0)
        return from + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(stops)));
    }
#endif
    while (from < m_size && !Is(m_text[from], VALUE_STOP)) ++from;
    return from;
  }

  // The end of a name starting at from, which is a name's first byte.
  size_t NameEnd(size_t from) const {
    size_t end = from + 1;
    while (end < m_size && Is(m_text[end], NAME_PART)) ++end;
    return end;
  }

  // After an attribute's name: the blanks around '=' ('=' itself already passed when
  // equals_passed) and the quote that opens the value. Returns that quote, m_at just after it, or
  // '\0' when they are not there.
  char OpenValue(bool equals_passed) {
    if (!equals_passed) {
      SkipBlanks();
      if (At(m_at) != '=') return '\0';
      ++m_at;
    }
    SkipBlanks();
    const char quote = At(m_at);
    if (quote != '"' && quote != '\'') return '\0';
    ++m_at;
    return quote;
  }

  // The declaration: blanks, then name="value" pairs with plain names and values, then "?>". It
  // is not part of the tree: the encoding it names was read with the text.
  bool SkipDeclaration() {
    m_at = 5;
    for (;;) {
      SkipBlanks();
      if (Starts("?>")) {
        m_at += 2;
        return true;
      }
      if (!Is(At(m_at), NAME_START)) return false;
      m_at = NameEnd(m_at);
      const char quote = OpenValue(false);
      if (quote == '\0') return false;
      while (m_at < m_size && m_text[m_at] != quote) {
        if (Is(m_text[m_at], VALUE_STOP) || m_text[m_at] == '?' || m_text[m_at] == '>') {
          return false;
        }
        ++m_at;
      }
      if (m_at == m_size) return false;
      ++m_at;
      if (!Is(At(m_at), BLANK) && At(m_at) != '?') return false;
    }
  }

  // At "<!": a comment, skipped up to its first "-->".
  bool SkipComment() {
    if (!Starts("<!--")) return false;
    const size_t end = std::string_view(m_text, m_size).find("-->", m_at + 4);
    if (end == std::string_view::npos) return false;
    m_at = end + 3;
    return true;
  }

  // At "</": the end of the element open last, its name and then '>' with blanks between.
  bool EndTag() {
    const Open& open = m_open.back();
    const char* name = m_tree->Text(m_tree->m_elements[open.element].name);
    size_t at = m_at + 2;
    if (m_size - at < open.name_size || std::memcmp(m_text + at, name, open.name_size) != 0) {
      return false;
    }
    at += open.name_size;
    if (Is(At(at), NAME_PART) || static_cast<unsigned char>(At(at)) >= 0x80) return false;
    while (at < m_size && Is(m_text[at], BLANK)) ++at;
    if (At(at) != '>') return false;
    m_at = at + 1;
    m_open.pop_back();
    return true;
  }

  // At '<' and a name's first byte: the element's name and attributes, up to '>' or "/>".
  bool StartTag() {
    const size_t name = m_at + 1;
    const size_t name_end = NameEnd(name);
    const char after_name = At(name_end);
    if (!Is(after_name, BLANK) && after_name != '>' && after_name != '/') return false;
    const auto element = static_cast<uint32_t>(m_tree->m_elements.size());
    const auto attributes = static_cast<uint32_t>(m_tree->m_attributes.size());
    m_tree->m_elements.push_back(
        ElementRecord{static_cast<uint32_t>(name), attributes, attributes, 0, 0, after_name});
    m_text[name_end] = '\0';
    Open& parent = m_open.back();
    if (parent.last_child == 0) {
      m_tree->m_elements[parent.element].first_child = element;
    } else {
      m_tree->m_elements[parent.last_child].next_sibling = element;
    }
    parent.last_child = element;
    m_at = name_end + 1;
    if (after_name == '/') {
      // "/>" right after the name, whose '/' now ends it.
      if (At(m_at) != '>') return false;
      ++m_at;
      return true;
    }
    if (after_name != '>') {
      for (;;) {
        SkipBlanks();
        const char c = At(m_at);
        if (c == '/') return CloseEmpty();
        if (c == '>') {
          ++m_at;
          break;
        }
        if (!Is(c, NAME_START) || !ReadAttribute(element)) return false;
        // Attributes stand apart.
        const char next = At(m_at);
        if (!Is(next, BLANK) && next != '/' && next != '>') return false;
      }
    }
    m_open.push_back(Open{element, 0, name_end - name});
    return true;
  }

  // At the '/' of "/>".
  bool CloseEmpty() {
    if (At(m_at) != '/' || At(m_at + 1) != '>') return false;
    m_at += 2;
    return true;
  }

  // At an attribute's name: name, '=' with blanks around, and a value in quotes.
  bool ReadAttribute(uint32_t element) {
    const size_t name = m_at;
    const size_t name_end = NameEnd(name);
    const char after_name = At(name_end);
    if (after_name != '=' && !Is(after_name, BLANK)) return false;
    m_tree->m_attributes.push_back(
        AttributeRecord{static_cast<uint32_t>(name), 0, after_name, '\0'});
    m_tree->m_elements[element].end_attribute = static_cast<uint32_t>(m_tree->m_attributes.size());
    m_text[name_end] = '\0';
    m_at = name_end + 1;
    const char quote = OpenValue(after_name == '=');
    if (quote == '\0') return false;
    const size_t value = m_at;
    size_t end = value;
    for (;; ++end) {
      end = ValueStop(end);
      if (end == m_size) return false;
      const char c = m_text[end];
      if (c == quote) break;
      // The other quote is part of the value; any other stop is left to the full parser.
      if (c != '"' && c != '\'') return false;
    }
    m_tree->m_attributes.back().value = static_cast<uint32_t>(value);
    m_tree->m_attributes.back().quote = quote;
    m_text[end] = '\0';
    m_at = end + 1;
    return true;
  }

  ZemXmlTree* m_tree;
  char* m_text;
  size_t m_size;
  size_t m_at = 0;
  std::vector<Open> m_open;
};

bool ZemXmlTree::Parse(char* text, size_t size) {
  Clear();
  if (size >= UINT32_MAX) return false;
  m_text = text;
  try {
    // Room for as many records as a file of common elements has, without growing on the way.
    m_elements.reserve(size / 32 + 2);
    m_attributes.reserve(size / 16 + 1);
    m_elements.push_back(ElementRecord{0, 0, 0, 0, 0, '\0'});
    Tokenizer tokenizer(this, text, size);
    if (tokenizer.Run()) return true;
  } catch (const std::bad_alloc&) {
    // No room for the records (a process limited in address space): the full parser, which
    // needs less, reads the file.
  }
  Restore();
  return false;
}

void ZemXmlTree::Restore() {
  // Each name and value ends at the first NUL byte after its start, where its byte is put back.
  for (size_t i = 1; i < m_elements.size(); ++i) {
    char* name = m_text + m_elements[i].name;
    name[std::strlen(name)] = m_elements[i].name_end;
  }
  for (const AttributeRecord& attribute : m_attributes) {
    char* name = m_text + attribute.name;
    name[std::strlen(name)] = attribute.name_end;
    if (attribute.quote != '\0') {
      char* value = m_text + attribute.value;
      value[std::strlen(value)] = attribute.quote;
    }
  }
  Clear();
}

namespace {

// Records and text are given back once this many bytes of them can be: one system call per
// batch, not per element.
constexpr size_t FORGET_BATCH_BYTES = size_t{1} << 20;

// Gives back the bytes [begin, end), less those given back already (up to *forgotten).
void ForgetBytes(const char* begin, const char* end, const char** forgotten) {
  if (*forgotten != nullptr && *forgotten > begin) begin = *forgotten;
  if (end - begin < static_cast<ptrdiff_t>(FORGET_BATCH_BYTES)) return;
  *forgotten = GiveBackWholePages(begin, static_cast<size_t>(end - begin));
}

// Gives back the records [from, to) of records, less those given back already.
template <typename Record>
void ForgetRecords(const std::vector<Record>& records, size_t from, size_t to,
                   const char** forgotten) {
  ForgetBytes(reinterpret_cast<const char*>(records.data() + from),
              reinterpret_cast<const char*>(records.data() + to), forgotten);
}

}  // namespace

uint32_t ZemXmlTree::EndOfStartTag(const ElementRecord& element) const {
  // Past the NUL that ends its last value, or its name.
  const uint32_t last = element.end_attribute > element.first_attribute
                            ? m_attributes[element.end_attribute - 1].value
                            : element.name;
  return last + static_cast<uint32_t>(std::strlen(m_text + last)) + 1;
}

void ZemXmlTree::Forget(const Node& kept, const Node& done, bool with_text) {
  const ZemXmlTree* tree = kept.m_tree;
  if (tree == nullptr || done.m_index <= kept.m_index) return;
  const std::vector<ElementRecord>& elements = tree->m_elements;
  if (with_text && done.m_index + size_t{1} < elements.size()) {
    // From the end of kept's start tag to the '<' of the element after done.
    if (tree->m_text_kept != kept.m_index) {
      tree->m_text_kept = kept.m_index;
      tree->m_text_from = tree->EndOfStartTag(elements[kept.m_index]);
    }
    ForgetBytes(tree->m_text + tree->m_text_from,
                tree->m_text + elements[done.m_index + 1].name - 1, &tree->m_text_forgotten);
  }
  const uint32_t attributes_from = elements[kept.m_index].end_attribute;
  const uint32_t attributes_to = elements[done.m_index].end_attribute;
  ForgetRecords(elements, kept.m_index + size_t{1}, done.m_index + size_t{1},
                &tree->m_elements_forgotten);
  ForgetRecords(tree->m_attributes, attributes_from, attributes_to, &tree->m_attributes_forgotten);
}

void ZemXmlTree::Clear() {
  m_text = nullptr;
  m_elements_forgotten = nullptr;
  m_attributes_forgotten = nullptr;
  m_text_forgotten = nullptr;
  m_text_kept = 0;
  m_text_from = 0;
  std::vector<ElementRecord>().swap(m_elements);
  std::vector<AttributeRecord>().swap(m_attributes);
}
