#include "schema/zem_xml_reader.h"

#include <pugixml.hpp>

#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/ascii.h"
#include "schema/zem_metalib_assembler.h"
#include "base/name_table.h"
#include "schema/zem_xml_suggest.h"
#include "schema/zem_xml_tree.h"
#include "schema/zem_xml_values.h"

namespace {

// Names longer than this cannot be stored in the store's name fields.
constexpr size_t MAX_NAME_BYTES = ZEM_MAX_NAME_BYTES;
constexpr size_t MAX_ENTRY_CUSTOMATTR2_BYTES = ZEM_MAX_ENTRY_CUSTOMATTR2_BYTES;
// No table can hold an entry or a struct larger than this; keeping every size of a file within it
// also keeps every size the checks compute within an int.
constexpr int64_t MAX_SIZE_BYTES = ZEM_MAX_SIZE_BYTES;
constexpr size_t MAX_KEY_MEMBERS = ZEM_MAX_KEY_MEMBERS;
// The model counts a struct's entries in an int.
constexpr size_t MAX_ENTRIES = INT32_MAX;

// Kinds of warnings. A file may hold millions of one kind; the first ZEM_MAX_WARNINGS_PER_KIND
// are listed and the rest counted, so that warnings cost memory in proportion to the limit.
enum WarningKind { WARN_UNKNOWN_ATTRIBUTE, WARN_ATTRIBUTE_NOT_APPLYING, WARN_UNKNOWN_ELEMENT,
                   WARN_MISPLACED_ELEMENT, WARN_MACRO_AGAIN, WARN_UNKNOWN_TABLE_KEY,
                   WARN_KIND_NUM };
const char* const WARNING_KIND_NAMES[] = {"unknown attributes", "attributes that do not apply",
                                          "unknown elements", "elements out of place",
                                          "macros defined again", "unknown customattr2 keys"};

// The elements of a schema file and the attributes each reads or accepts silently.
enum ElementKind { ELEMENT_METALIB, ELEMENT_MACRO, ELEMENT_STRUCT, ELEMENT_UNION, ELEMENT_ENTRY,
                   ELEMENT_INDEX, ELEMENT_OTHER };
const char* const ELEMENT_NAMES[] = {"metalib", "macro", "struct", "union", "entry", "index"};

enum AttributeKind { ATTR_NAME, ATTR_VERSION, ATTR_VALUE, ATTR_TYPE, ATTR_SIZE, ATTR_COUNT,
                     ATTR_REFER, ATTR_CUSTOMATTR2, ATTR_PRIMARYKEY, ATTR_SPLITTABLEKEY,
                     ATTR_COLUMN, ATTR_DESC, ATTR_DEFAULTVALUE, ATTR_KIND_NUM };
const char* const ATTRIBUTE_NAMES[] = {"name", "version", "value", "type", "size", "count",
                                       "refer", "customattr2", "primarykey", "splittablekey",
                                       "column", "desc", "defaultvalue"};

constexpr unsigned Bit(AttributeKind kind) { return 1u << kind; }

// Attributes an element reads or accepts without a word; any other attribute gets a warning.
unsigned AcceptedAttributes(ElementKind element) {
  switch (element) {
    case ELEMENT_METALIB:
      return Bit(ATTR_NAME) | Bit(ATTR_VERSION) | Bit(ATTR_DESC);
    case ELEMENT_MACRO:
      return Bit(ATTR_NAME) | Bit(ATTR_VALUE) | Bit(ATTR_DESC);
    case ELEMENT_STRUCT:
      return Bit(ATTR_NAME) | Bit(ATTR_VERSION) | Bit(ATTR_PRIMARYKEY) | Bit(ATTR_SPLITTABLEKEY) |
             Bit(ATTR_CUSTOMATTR2) | Bit(ATTR_DESC);
    case ELEMENT_UNION:
      return Bit(ATTR_NAME) | Bit(ATTR_VERSION) | Bit(ATTR_DESC);
    case ELEMENT_ENTRY:
      // An entry's version and default value mean nothing to the table store.
      return Bit(ATTR_NAME) | Bit(ATTR_TYPE) | Bit(ATTR_SIZE) | Bit(ATTR_COUNT) | Bit(ATTR_REFER) |
             Bit(ATTR_CUSTOMATTR2) | Bit(ATTR_DESC) | Bit(ATTR_DEFAULTVALUE) | Bit(ATTR_VERSION);
    case ELEMENT_INDEX:
      return Bit(ATTR_NAME) | Bit(ATTR_COLUMN) | Bit(ATTR_DESC);
    case ELEMENT_OTHER:
      break;
  }
  return 0;
}


// The elements that may stand inside an element, for suggestions; returns their number.
size_t ChildElementNames(const char* parent, const char* names[3]) {
  if (std::strcmp(parent, "metalib") == 0) {
    names[0] = "macro";
    names[1] = "struct";
    names[2] = "union";
    return 3;
  }
  names[0] = "entry";
  names[1] = "index";
  if (std::strcmp(parent, "struct") == 0) return 2;
  return std::strcmp(parent, "union") == 0 ? 1 : 0;
}

// The keys of a table's customattr2 that the table checks read. DataProtocolType is found in any
// letter case, the others only as written here.
const char* const TABLE_ATTRIBUTE_KEYS[] = {
    "DataProtocolType", "TableType", "ListNum", "SortFieldNum", "SortRule", "stringdisplaycharset"};
constexpr size_t TABLE_ATTRIBUTE_KEY_NUM =
    sizeof(TABLE_ATTRIBUTE_KEYS) / sizeof(TABLE_ATTRIBUTE_KEYS[0]);

bool IsTableAttributeKey(std::string_view key) {
  for (const char* known : TABLE_ATTRIBUTE_KEYS) {
    if (key == known) return true;
  }
  const std::string_view protocol = TABLE_ATTRIBUTE_KEYS[0];
  if (key.size() != protocol.size()) return false;
  for (size_t i = 0; i < key.size(); ++i) {
    if (AsciiLower(key[i]) != AsciiLower(protocol[i])) return false;
  }
  return true;
}

// Compared in place, without a library call: the first byte settles most comparisons, and every
// element and attribute of a file is compared with a few known names.
bool SameName(const char* name, const char* known) {
  size_t i = 0;
  while (known[i] != '\0' && name[i] == known[i]) ++i;
  return known[i] == '\0' && name[i] == '\0';
}

// For each first byte, the names of a list that start with it, as a set of their positions: a name
// is compared with those only.
template <size_t N>
struct ByFirstByte {
  explicit ByFirstByte(const char* const (&names)[N]) : of() {
    static_assert(N <= 32, "the positions of a list fit in a word");
    for (size_t i = 0; i < N; ++i) of[static_cast<unsigned char>(names[i][0])] |= 1u << i;
  }
  uint32_t of[256];
};

template <size_t N>
int PositionOfName(const char* name, const char* const (&names)[N], const ByFirstByte<N>& index) {
  for (uint32_t left = index.of[static_cast<unsigned char>(name[0])]; left != 0; left &= left - 1) {
    const int position = __builtin_ctz(left);
    if (SameName(name, names[position])) return position;
  }
  return -1;
}

ElementKind KindOfElement(const char* name) {
  static const ByFirstByte<ELEMENT_OTHER> index(ELEMENT_NAMES);
  const int kind = PositionOfName(name, ELEMENT_NAMES, index);
  return kind < 0 ? ELEMENT_OTHER : static_cast<ElementKind>(kind);
}

int KindOfAttribute(const char* name) {
  static const ByFirstByte<ATTR_KIND_NUM> index(ATTRIBUTE_NAMES);
  return PositionOfName(name, ATTRIBUTE_NAMES, index);
}

// The attributes an element reads or accepts and does not carry: what a misspelt attribute of it
// may stand for (an entry that has its name does not need "cname" read as "name").
template <typename Node>
unsigned MissingAttributes(const Node& node, ElementKind element) {
  unsigned missing = AcceptedAttributes(element);
  for (auto attribute = node.first_attribute(); attribute; attribute = attribute.next_attribute()) {
    const int kind = KindOfAttribute(attribute.name());
    if (kind >= 0) missing &= ~Bit(static_cast<AttributeKind>(kind));
  }
  return missing;
}

// The names of a set of attributes; returns their number.
size_t AttributeNames(unsigned attributes, const char* names[ATTR_KIND_NUM]) {
  size_t count = 0;
  for (int kind = 0; kind < ATTR_KIND_NUM; ++kind) {
    if ((attributes & Bit(static_cast<AttributeKind>(kind))) != 0) {
      names[count++] = ATTRIBUTE_NAMES[kind];
    }
  }
  return count;
}

// The attributes of one element, by kind; an absent one is an empty handle.
template <typename Attribute>
struct AttributesOf {
  Attribute of[ATTR_KIND_NUM];
  const Attribute& operator[](AttributeKind kind) const { return of[kind]; }

  // A set of no attributes. Each element's set starts as a copy of it: an empty handle's
  // constructor may be a call into the parser's library, thirteen of them for every element read.
  static const AttributesOf& None() {
    static const AttributesOf none;
    return none;
  }
};

// What a load message is about ("entry 'hp'", "struct 'role'"); its words are made only for a
// message, not for every element read.
struct Owner {
  const char* kind;
  std::string_view name;
  std::string Text() const { return std::string(kind) + " " + Quote(name); }
};

// A struct or union already seen; its size is known once it is complete.
struct KnownMeta {
  bool is_union = false;
  bool complete = false;
  int64_t size = 0;
  size_t offset = 0;  // where its element starts in the text
};

// An entry read, as the reader asks of it when a later entry refers to it.
struct KnownEntry {
  std::string_view name;
  const char* type_meta = "";  // the struct or union of its type, if any
  int type = 0;
  int count = 0;  // read within the int range
};

// The entries of the struct or union being read, found by name. While the file has no load error
// each entry is laid out as it is read, and an earlier entry is read back from the model: a struct
// of a million entries then keeps 4-byte slots here, a table at most half full, and nothing more.
// Once the file has a load error nothing is laid out, and the entries are kept as records.
class KnownEntries {
 public:
  static constexpr size_t NOT_FOUND = NameIndex<>::NOT_FOUND;

  // model: the assembler that lays out the entries as they are read; null keeps records.
  void Begin(const ZemMetaLibAssembler* model, size_t entries) {
    m_model = model;
    if (m_model == nullptr) m_records.reserve(entries);
    m_index.Reserve(entries, Names{this});
  }
  size_t size() const { return m_index.size(); }
  // The position of the entry of this name, or NOT_FOUND.
  size_t Find(std::string_view name) const { return m_index.Find(name, Names{this}); }
  // Adds the entry read last at position size(), once the model holds it when there is one. Its
  // name is new: the caller has asked Find.
  void Add(const KnownEntry& entry) {
    if (m_model == nullptr) m_records.push_back(entry);
    m_index.Add(m_index.size(), Names{this});
  }
  KnownEntry operator[](size_t position) const {
    if (m_model == nullptr) return m_records[position];
    const ZemMetaLibAssembler::LaidOutEntry laid_out = m_model->EntryAt(position);
    return KnownEntry{laid_out.name, laid_out.type_meta, laid_out.type, laid_out.count};
  }

 private:
  struct Names {
    const KnownEntries* entries;
    std::string_view operator()(size_t position) const {
      return entries->m_model != nullptr ? entries->m_model->EntryName(position)
                                         : entries->m_records[position].name;
    }
  };

  const ZemMetaLibAssembler* m_model = nullptr;
  std::vector<KnownEntry> m_records;
  NameIndex<> m_index;
};

// The entries read so far, as the assembler looks them up while it lays them out.
class KnownEntryLookup final : public ZemEntryLookup {
 public:
  explicit KnownEntryLookup(const KnownEntries& entries) : m_entries(entries) {}
  // Positions fit in an int: a struct has at most MAX_ENTRIES entries.
  int Find(std::string_view name) const override {
    const size_t found = m_entries.Find(name);
    return found == KnownEntries::NOT_FOUND ? -1 : static_cast<int>(found);
  }

 private:
  const KnownEntries& m_entries;
};

template <typename Attribute>
struct PendingIndexOf {
  size_t index = 0;
  Attribute column;
};

// The struct or union being read.
template <typename Attribute>
struct MetaStateOf {
  MetaStateOf() = default;
  MetaStateOf(const MetaStateOf&) = delete;
  MetaStateOf& operator=(const MetaStateOf&) = delete;

  const char* kind = "struct";
  std::string_view name;
  ZemMetaDef* def = nullptr;
  ZemMetaPlaces* places = nullptr;
  KnownEntries entries;
  KnownEntryLookup lookup{entries};  // the assembler finds entries in the table above
  std::unordered_map<std::string_view, size_t> index_offsets;
  std::vector<PendingIndexOf<Attribute>> indexes;
  int64_t size = 0;
  bool build = false;  // laid out as it is read
};

// The trees a schema is read from: the full XML parser's, and the tree of plain XML.
struct ParsedTree {
  using Document = pugi::xml_document;
  using Node = pugi::xml_node;
  using Attribute = pugi::xml_attribute;
  static bool IsElement(const Node& node) { return node.type() == pugi::node_element; }
  // What is read lives on in the model, whose names and texts point into the text, not into the
  // parsed tree: releasing each element once read lets the model grow into the tree's memory
  // instead of beside it. Only an element with nothing left inside is released: the parser frees
  // what a removed element holds by recursion, which a file of elements nested a few hundred
  // thousand deep would take past the stack. The rest goes with the document, page by page.
  static void Release(Node* parent, const Node& child) {
    if (!child.first_child()) parent->remove_child(child);
  }
  static void ReleaseEntry(Node* parent, const Node& /*kept*/, const Node& child,
                           bool /*text_too*/) {
    Release(parent, child);
  }
};

struct PlainTree {
  using Document = ZemXmlTree;
  using Node = ZemXmlTree::Node;
  using Attribute = ZemXmlTree::Attribute;
  // The plain tree holds elements only.
  static bool IsElement(const Node&) { return true; }
  // A struct's records are few beside its model, and stay until the file is read: a process that
  // loads file after file reuses that memory warm, where pages given back are faulted in anew.
  static void Release(Node* /*parent*/, const Node& /*child*/) {}
  // The records of the entries read, and with text_too their text, are given back as the model
  // grows, in batches that only a struct of tens of thousands of entries fills; those of kept, the
  // last element read again later, and all before it, stay.
  static void ReleaseEntry(Node* /*parent*/, const Node& kept, const Node& child, bool text_too) {
    ZemXmlTree::Forget(kept, child, text_too);
  }
};

// Walks the parsed document and fills the metalib description, in document order. Every Fail
// records the load error and returns false, so the walk stops at the first error.
template <typename Tree>
class SchemaReader {
  using Node = typename Tree::Node;
  using Attribute = typename Tree::Attribute;
  using Attributes = AttributesOf<Attribute>;
  using PendingIndex = PendingIndexOf<Attribute>;
  using MetaState = MetaStateOf<Attribute>;

 public:
  SchemaReader(const std::string& file, ZemXmlText& text, ZemLoadResult* result)
      : m_file(file), m_text(text), m_result(result) {}

  bool Read(const typename Tree::Document& document, const char* data) {
    m_data = data;
    Node root;
    if (!FindRoot(document, &root)) return false;
    if (std::strcmp(root.name(), "metalib") != 0) {
      return Fail(root, "the root element is <" + std::string(root.name()) +
                            ">, not <metalib>");
    }
    return ReadMetaLib(root);
  }

  // The metalib of a file read without a load error.
  ZemMetaLibPtr Finish() { return m_assembler->Finish(m_macro_defs); }
  std::vector<ZemMetaPlaces>& places() { return m_places; }

  // One more warning for each kind that passed the limit, saying how many were left out.
  void ListLeftOutWarnings() {
    for (int kind = 0; kind < WARN_KIND_NUM; ++kind) {
      if (m_warnings[kind] <= ZEM_MAX_WARNINGS_PER_KIND) continue;
      m_result->warnings.push_back(ZemLoadMessage{
          m_file, 0, 0,
          std::to_string(m_warnings[kind] - ZEM_MAX_WARNINGS_PER_KIND) + " more warnings about " +
              WARNING_KIND_NAMES[kind] + " are not listed (at most " +
              std::to_string(ZEM_MAX_WARNINGS_PER_KIND) + " warnings of one kind are listed)"});
    }
  }


 private:
  // The root element of the full parser's tree: the one element at the top, after nothing but a
  // declaration at the very start.
  bool FindRoot(const pugi::xml_document& document, pugi::xml_node* found) {
    pugi::xml_node root;
    for (pugi::xml_node node = document.first_child(); node; node = node.next_sibling()) {
      // The declaration names the encoding the text was read in; anywhere else it comes too late.
      if (node.type() == pugi::node_declaration && OffsetOf(node.name()) != 2) {
        m_result->error = MessageAt(OffsetOf(node.name()) - 2,
                                    "the XML declaration must stand at the very start of the file");
        return false;
      }
      if (node.type() != pugi::node_element) continue;
      if (root) {
        return Fail(node, "a second root element <" + std::string(node.name()) +
                              ">; the file must hold exactly one <metalib>");
      }
      root = node;
    }
    if (!root) return FailAt(0, 0, "no root element; the file must hold one <metalib>");
    *found = root;
    return true;
  }

  // The plain tree has its one root element, and a declaration only at the very start.
  bool FindRoot(const ZemXmlTree& document, ZemXmlTree::Node* found) {
    *found = document.root();
    if (!*found) return FailAt(0, 0, "no root element; the file must hold one <metalib>");
    return true;
  }

  size_t OffsetOf(const char* text) const {
    const uintptr_t at = reinterpret_cast<uintptr_t>(text);
    const uintptr_t begin = reinterpret_cast<uintptr_t>(m_data);
    return at >= begin ? static_cast<size_t>(at - begin) : 0;
  }
  // An element starts at its '<', just before its name.
  size_t OffsetOf(const Node& node) const {
    const size_t name = OffsetOf(node.name());
    return name > 0 ? name - 1 : 0;
  }
  int LineOf(size_t offset) { return m_text.PositionOf(offset).line; }
  ZemPlace PlaceOf(size_t offset) {
    const ZemTextPosition position = m_text.PositionOf(offset);
    return ZemPlace{position.line, position.column};
  }
  // An attribute's place is that of its name; an absent attribute has none.
  ZemPlace PlaceOf(const Attribute& attribute) {
    return attribute ? PlaceOf(OffsetOf(attribute.name())) : ZemPlace();
  }

  ZemLoadMessage MessageAt(size_t offset, std::string text) {
    const ZemTextPosition position = m_text.PositionOf(offset);
    return ZemLoadMessage{m_file, position.line, position.column, std::move(text)};
  }
  bool FailAt(int line, int column, std::string text) {
    m_result->error = ZemLoadMessage{m_file, line, column, std::move(text)};
    return false;
  }
  bool Fail(const Node& node, std::string text) {
    m_result->error = MessageAt(OffsetOf(node), std::move(text));
    return false;
  }
  bool Fail(const Attribute& attribute, std::string text) {
    m_result->error = MessageAt(OffsetOf(attribute.name()), std::move(text));
    return false;
  }
  // Lists a warning about an attribute or element (named in the file as name) while its kind is
  // within the limit; text() makes its words only then.
  template <typename Text>
  void Warn(WarningKind kind, size_t offset, const char* element, const char* name, Text text) {
    if (++m_warnings[kind] <= ZEM_MAX_WARNINGS_PER_KIND) {
      m_result->warnings.push_back(MessageAt(offset, text()));
      m_result->warnings.back().element = element;
      m_result->warnings.back().name = name;
    }
  }


  // Collects the attributes of an element. Unknown ones and known ones that do not apply here get
  // a warning; a known attribute written twice is malformed XML.
  bool CollectAttributes(const Node& node, ElementKind element, Attributes* attributes) {
    const unsigned accepted = AcceptedAttributes(element);
    auto where = [&node]() { return "<" + std::string(node.name()) + ">"; };
    // Found once per element, and only for an element with an unknown attribute to warn about.
    std::optional<unsigned> missing;
    for (Attribute attribute = node.first_attribute(); attribute;
         attribute = attribute.next_attribute()) {
      const int kind = KindOfAttribute(attribute.name());
      if (kind < 0) {
        Warn(WARN_UNKNOWN_ATTRIBUTE, OffsetOf(attribute.name()), "attribute", attribute.name(),
             [&]() {
               if (!missing) missing = MissingAttributes(node, element);
               const char* known[ATTR_KIND_NUM];
               const size_t known_count = AttributeNames(*missing, known);
               return "unknown attribute '" + std::string(attribute.name()) + "' of " + where() +
                      " is ignored" + DidYouMean(attribute.name(), known, known_count);
             });
        continue;
      }
      if ((accepted & Bit(static_cast<AttributeKind>(kind))) == 0) {
        Warn(WARN_ATTRIBUTE_NOT_APPLYING, OffsetOf(attribute.name()), "attribute", attribute.name(),
             [&]() {
               return "attribute '" + std::string(attribute.name()) + "' does not apply to " +
                      where() + " and is ignored";
             });
        continue;
      }
      if (attributes->of[kind]) {
        return Fail(attribute, "malformed XML: attribute '" + std::string(attribute.name()) +
                                   "' appears twice in " + where());
      }
      attributes->of[kind] = attribute;
    }
    return true;
  }

  void WarnUnexpectedElement(const Node& node, const Node& parent) {
    if (KindOfElement(node.name()) == ELEMENT_OTHER) {
      Warn(WARN_UNKNOWN_ELEMENT, OffsetOf(node), "element", node.name(), [&]() {
        const char* known[3];
        const size_t known_count = ChildElementNames(parent.name(), known);
        return "unknown element <" + std::string(node.name()) + "> in <" +
               std::string(parent.name()) + "> is ignored" +
               DidYouMean(node.name(), known, known_count);
      });
    } else {
      Warn(WARN_MISPLACED_ELEMENT, OffsetOf(node), "element", node.name(), [&]() {
        return "element <" + std::string(node.name()) + "> does not belong in <" +
               std::string(parent.name()) + "> and is ignored";
      });
    }
  }

  // Elements that hold no elements of their own: anything inside them is out of place.
  void WarnChildElements(const Node& node) {
    for (Node child = node.first_child(); child; child = child.next_sibling()) {
      if (Tree::IsElement(child)) WarnUnexpectedElement(child, node);
    }
  }

  // Keys of a table's customattr2 that no table check reads: a misspelt ListNum or TableType
  // would otherwise change the kind of table in silence. Blanks are not part of a key, as the
  // checks remove them; a segment without "=" names no key and is left to the checks.
  void WarnUnknownTableKeys(const Attribute& attribute, const Owner& owner) {
    const std::string_view text = attribute.value();
    for (size_t start = 0; start <= text.size();) {
      size_t end = text.find(';', start);
      if (end == std::string_view::npos) end = text.size();
      const std::string_view segment = text.substr(start, end - start);
      start = end + 1;
      const size_t equals = segment.find('=');
      if (equals == std::string_view::npos) continue;
      std::string key;
      for (char c : segment.substr(0, equals)) {
        if (!IsXmlBlank(c) && c != '\v' && c != '\f') key += c;
      }
      if (key.empty() || IsTableAttributeKey(key)) continue;
      Warn(WARN_UNKNOWN_TABLE_KEY, OffsetOf(attribute.name()), "attribute", attribute.name(),
           [&]() {
             const std::string suggestion =
                 DidYouMean(key, TABLE_ATTRIBUTE_KEYS, TABLE_ATTRIBUTE_KEY_NUM);
             return owner.Text() + ": unknown key " + Quote(key) + " in customattr2" +
                    (suggestion.empty() ? "; the keys the table checks read are DataProtocolType, "
                                          "TableType, ListNum, SortFieldNum, SortRule and "
                                          "stringdisplaycharset"
                                        : suggestion);
           });
    }
  }

  // An int-valued attribute (a version): a whole decimal number within the int range.
  bool ReadVersion(const Attribute& attribute, const Owner& owner, int* version) {
    if (!attribute) return true;
    int64_t value = 0;
    switch (ParseInt(attribute.value(), &value)) {
      case NUMBER_OK:
        *version = static_cast<int>(value);
        return true;
      case NUMBER_OUT_OF_RANGE:
        return Fail(attribute, owner.Text() + ": version " + Quote(attribute.value()) +
                                   " is outside the int range");
      case NUMBER_NONE:
        break;
    }
    return Fail(attribute, owner.Text() + ": version " + Quote(attribute.value()) +
                               " is not a decimal integer");
  }

  // A count or size: a whole decimal number or the name of a macro defined before it. *value
  // keeps its sign; a number beyond the int range is an error here.
  bool ReadNumberOrMacro(const Attribute& attribute, const Owner& owner, bool* is_macro,
                         int64_t* value) {
    auto what = [&attribute]() {
      return std::string(attribute.name()) + " " + Quote(attribute.value());
    };
    *is_macro = false;
    switch (ParseInt(attribute.value(), value)) {
      case NUMBER_OK:
        return true;
      case NUMBER_OUT_OF_RANGE:
        if (*value < 0) return true;
        return Fail(attribute, owner.Text() + ": " + what() + " is larger than 2147483647");
      case NUMBER_NONE:
        break;
    }
    const auto macro = m_macros.find(attribute.value());
    if (macro == m_macros.end()) {
      return Fail(attribute,
                  owner.Text() + ": " + what() + " is neither a number nor a defined macro");
    }
    *is_macro = true;
    *value = macro->second;
    return true;
  }

  bool ReadMetaLib(const Node& node) {
    Attributes attributes = Attributes::None();
    if (!CollectAttributes(node, ELEMENT_METALIB, &attributes)) return false;
    if (!attributes[ATTR_NAME]) return Fail(node, "metalib has no 'name' attribute");
    const std::string_view name = attributes[ATTR_NAME].value();
    int version = 0;
    if (!ReadVersion(attributes[ATTR_VERSION], Owner{"metalib", name}, &version)) return false;
    m_assembler.emplace(std::string(name), version);
    // A model comes to about the size of its file, twice that for a file of short entries.
    m_assembler->Expect(2 * m_text.size());
    Node parent = node;
    for (Node child = node.first_child(), next; child; child = next) {
      next = child.next_sibling();
      if (!Tree::IsElement(child)) continue;
      bool ok = true;
      switch (KindOfElement(child.name())) {
        case ELEMENT_MACRO:
          ok = ReadMacro(child);
          break;
        case ELEMENT_STRUCT:
        case ELEMENT_UNION:
          ok = ReadMetaOrSkip(child, KindOfElement(child.name()) == ELEMENT_UNION);
          break;
        default:
          WarnUnexpectedElement(child, node);
          break;
      }
      if (!ok) return false;
      Tree::Release(&parent, child);
    }
    if (m_result->errors.empty()) return true;
    m_result->error = m_result->errors.front();
    return false;
  }

  // A struct or union that cannot be built is left out, its error listed, and the walk goes on
  // with the next one, so that one load shows every such error. Returns false once the list is
  // full.
  bool ReadMetaOrSkip(const Node& node, bool is_union) {
    const size_t metas = m_places.size();
    std::string_view name;
    if (ReadMeta(node, is_union, &name)) return true;
    // The model refused what the file's rules let through: nothing more is read.
    if (!m_build_error.empty()) {
      return FailAt(0, 0, "cannot build the schema: " + m_build_error);
    }
    if (m_places.size() > metas) {
      m_broken.emplace(name);
      m_metas.erase(name);
      m_places.pop_back();
    }
    m_result->errors.push_back(m_result->error);
    return m_result->errors.size() < ZEM_MAX_LOAD_ERRORS;
  }

  bool ReadMacro(const Node& node) {
    Attributes attributes = Attributes::None();
    if (!CollectAttributes(node, ELEMENT_MACRO, &attributes)) return false;
    WarnChildElements(node);
    if (!attributes[ATTR_NAME]) return Fail(node, "macro has no 'name' attribute");
    const std::string_view name = attributes[ATTR_NAME].value();
    const Owner owner{"macro", name};
    const Attribute& value_attribute = attributes[ATTR_VALUE];
    if (!value_attribute) return Fail(node, owner.Text() + " has no 'value' attribute");
    int64_t value = 0;
    switch (ParseInt(value_attribute.value(), &value)) {
      case NUMBER_OK:
        break;
      case NUMBER_OUT_OF_RANGE:
        return Fail(value_attribute, owner.Text() + ": value " + Quote(value_attribute.value()) +
                                         " is outside the int range");
      case NUMBER_NONE:
        return Fail(value_attribute, owner.Text() + ": value " + Quote(value_attribute.value()) +
                                         " is not a decimal integer");
    }
    const auto inserted = m_macros.emplace(name, static_cast<int>(value));
    if (!inserted.second) {
      Warn(WARN_MACRO_AGAIN, OffsetOf(node), "element", node.name(), [&]() {
        return owner.Text() + " is defined again; its value changes from " +
               std::to_string(inserted.first->second) + " to " + std::to_string(value);
      });
      inserted.first->second = static_cast<int>(value);
    }
    // The model keeps the last value of a repeated name.
    m_macro_defs.emplace_back(std::string(name), static_cast<int>(value));
    return true;
  }

  // The places of a struct or union element starting at offset and of its key attributes.
  ZemMetaPlaces* AddMetaPlaces(size_t offset, const Attributes& attributes) {
    m_places.emplace_back();
    ZemMetaPlaces* places = &m_places.back();
    places->element = PlaceOf(offset);
    // Placed in the order they are written, so that the places of a file are found in one pass.
    struct Wanted {
      size_t offset;
      ZemPlace* place;
    } wanted[ZemSourcePlaces::ATTRIBUTE_NUM];
    size_t wanted_num = 0;
    const AttributeKind kinds[ZemSourcePlaces::ATTRIBUTE_NUM] = {
        ATTR_PRIMARYKEY, ATTR_SPLITTABLEKEY, ATTR_CUSTOMATTR2};
    for (int i = 0; i < ZemSourcePlaces::ATTRIBUTE_NUM; ++i) {
      if (attributes[kinds[i]]) {
        wanted[wanted_num++] =
            Wanted{OffsetOf(attributes[kinds[i]].name()), &places->attributes[i]};
      }
    }
    for (size_t i = 1; i < wanted_num; ++i) {
      for (size_t j = i; j > 0 && wanted[j].offset < wanted[j - 1].offset; --j) {
        std::swap(wanted[j], wanted[j - 1]);
      }
    }
    for (size_t i = 0; i < wanted_num; ++i) *wanted[i].place = PlaceOf(wanted[i].offset);
    return places;
  }

  // Reads and lays out a struct or union; *started gets its name once its places are listed.
  bool ReadMeta(const Node& node, bool is_union, std::string_view* started) {
    Attributes attributes = Attributes::None();
    if (!CollectAttributes(node, is_union ? ELEMENT_UNION : ELEMENT_STRUCT, &attributes)) {
      return false;
    }
    MetaState meta;
    meta.kind = is_union ? "union" : "struct";
    const Attribute& name_attribute = attributes[ATTR_NAME];
    if (!name_attribute) return Fail(node, std::string(meta.kind) + " has no 'name' attribute");
    meta.name = name_attribute.value();
    if (meta.name.size() > MAX_NAME_BYTES) {
      return Fail(name_attribute, std::string(meta.kind) + " name of " +
                                      std::to_string(meta.name.size()) +
                                      " bytes is too long; a name has at most 127 bytes");
    }
    const Owner owner{meta.kind, meta.name};
    KnownMeta known;
    known.is_union = is_union;
    known.offset = OffsetOf(node);
    const auto inserted = m_metas.emplace(meta.name, known);
    if (!inserted.second) {
      return Fail(node, owner.Text() + ": the name is already used by the " +
                            (inserted.first->second.is_union ? "union" : "struct") + " at line " +
                            std::to_string(LineOf(inserted.first->second.offset)));
    }

    ZemMetaDef def;
    meta.def = &def;
    meta.places = AddMetaPlaces(known.offset, attributes);
    *started = meta.name;
    meta.def->name = std::string(meta.name);
    meta.def->is_union = is_union;
    if (!ReadVersion(attributes[ATTR_VERSION], owner, &meta.def->version)) return false;
    if (attributes[ATTR_CUSTOMATTR2]) {
      meta.def->customattr2 = std::string(attributes[ATTR_CUSTOMATTR2].value());
      WarnUnknownTableKeys(attributes[ATTR_CUSTOMATTR2], owner);
    }

    if (!ReadMetaChildren(node, is_union, &meta)) return false;
    if (meta.size > MAX_SIZE_BYTES) {
      return Fail(node, owner.Text() + ": " + std::to_string(meta.size) +
                            " bytes exceed the limit of 2147483647 bytes");
    }
    if (!ReadPrimaryKey(attributes[ATTR_PRIMARYKEY], &meta)) return false;
    if (!ReadSplitTableKey(attributes[ATTR_SPLITTABLEKEY], &meta)) return false;
    if (!ResolveIndexColumns(&meta)) return false;

    KnownMeta& done = m_metas[meta.name];
    done.complete = true;
    done.size = meta.size;
    ZemMetaInfo info;
    info.name = meta.def->name;
    info.line = meta.places->element.line;
    info.is_union = is_union;
    info.has_primary_key = !meta.def->primary_key.empty();
    m_result->metas.push_back(std::move(info));
    return !meta.build || m_assembler->End(def, &m_build_error);
  }

  // The entries and indexes of a struct or union, in document order. Room for every entry is made
  // first: a struct may have a million of them.
  bool ReadMetaChildren(const Node& node, bool is_union, MetaState* meta) {
    size_t entries = 0;
    for (Node child = node.first_child(); child; child = child.next_sibling()) {
      if (Tree::IsElement(child) && SameName(child.name(), ELEMENT_NAMES[ELEMENT_ENTRY])) {
        ++entries;
      }
    }
    if (entries > MAX_ENTRIES) {
      return Fail(node, Owner{meta->kind, meta->name}.Text() + " has " + std::to_string(entries) +
                            " entries; at most " + std::to_string(MAX_ENTRIES) + " fit");
    }
    meta->places->entries.reserve(entries);
    // Laid out as it is read, while the file has no load error: no description of all its
    // entries is kept.
    meta->build = m_result->errors.empty();
    if (meta->build && !m_assembler->Begin(*meta->def, entries, &m_build_error, &meta->lookup)) {
      return false;
    }
    meta->entries.Begin(meta->build ? &*m_assembler : nullptr, entries);
    Node parent = node;
    // The last element read again once the children are: the struct (its keys) or the last index
    // (its columns).
    Node kept = node;
    for (Node child = node.first_child(), next; child; child = next) {
      next = child.next_sibling();
      if (!Tree::IsElement(child)) continue;
      const ElementKind kind = KindOfElement(child.name());
      if (kind == ELEMENT_ENTRY) {
        if (!ReadEntry(child, meta)) return false;
        // Nothing refers to an entry's element once it is read: a struct of a million entries
        // gives its tree back as its model grows. Its text too, unless the entries read are kept
        // as records, whose names point into it.
        Tree::ReleaseEntry(&parent, kept, child, meta->build);
      } else if (kind == ELEMENT_INDEX && !is_union) {
        if (!ReadIndex(child, meta)) return false;
        kept = child;
      } else {
        WarnUnexpectedElement(child, node);
      }
    }
    return true;
  }

  // The entry's type: a base type (letter case ignored) or a struct or union defined earlier.
  bool ReadEntryType(const Attribute& attribute, const Owner& owner, const MetaState& meta,
                     ZemEntryDef* entry, const KnownMeta** type_meta) {
    const std::string_view type = attribute.value();
    const BaseType* base = FindBaseType(type);
    if (base != nullptr) {
      entry->type = base->code;
      return true;
    }
    const auto found = m_metas.find(type);
    if (found == m_metas.end() && m_broken.count(std::string(type)) != 0) {
      return Fail(attribute, owner.Text() + ": type " + Quote(type) +
                                 " is a struct or union that could not be built");
    }
    if (found == m_metas.end()) {
      return Fail(attribute, owner.Text() + ": type " + Quote(type) +
                                 " is neither a base type nor a struct or union defined earlier");
    }
    if (!found->second.complete) {
      return Fail(attribute, owner.Text() + ": type " + Quote(type) + " is the " + meta.kind +
                                 " being defined; a " + meta.kind + " cannot contain itself");
    }
    entry->type = found->second.is_union ? ZEM_TYPE_UNION : ZEM_TYPE_STRUCT;
    entry->type_meta = std::string(type);
    *type_meta = &found->second;
    return true;
  }

  // A string's or wstring's declared size; 0 when none is given (or the type takes no size).
  bool ReadEntrySize(const Attribute& attribute, const Owner& owner, int type, bool is_meta_type,
                     int64_t* declared) {
    *declared = 0;
    // A struct or union has the size of its entries whatever the entry says.
    if (!attribute || is_meta_type) return true;
    if (type != ZEM_TYPE_STRING && type != ZEM_TYPE_WSTRING) {
      return Fail(attribute, owner.Text() +
                                 ": size applies only to string and wstring, not to type '" +
                                 BaseTypeName(type) + "'");
    }
    bool is_macro = false;
    if (!ReadNumberOrMacro(attribute, owner, &is_macro, declared)) return false;
    if (*declared > 0) return true;
    const std::string what = "size " + Quote(attribute.value());
    return Fail(attribute, owner.Text() + ": " + what +
                               (is_macro ? " stands for " + std::to_string(*declared) + ", which"
                                         : std::string()) +
                               " is not positive");
  }

  bool ReadEntryCount(const Attribute& attribute, const Owner& owner, int64_t* count) {
    *count = 1;
    if (!attribute) return true;
    bool is_macro = false;
    if (!ReadNumberOrMacro(attribute, owner, &is_macro, count)) return false;
    if (*count >= 0) return true;
    const std::string what = "count " + Quote(attribute.value());
    return Fail(attribute, owner.Text() + ": " + what +
                               (is_macro ? " stands for " + std::to_string(*count) + ", which"
                                         : std::string()) +
                               " is negative");
  }

  // The refer: an earlier entry of the same struct holding a single integer of at most 32 bits.
  // The entry being read is not among those found yet.
  bool ReadEntryRefer(const Attribute& attribute, const Owner& owner, const MetaState& meta,
                      ZemEntryDef* entry) {
    if (!attribute) return true;
    const std::string_view refer = attribute.value();
    auto what = [&refer]() { return "refer " + Quote(refer); };
    if (refer.empty()) return Fail(attribute, owner.Text() + ": refer is empty");
    const size_t found = meta.entries.Find(refer);
    if (found == KnownEntries::NOT_FOUND) {
      return Fail(attribute, owner.Text() + ": " + what() + " names no earlier entry of " +
                                 meta.kind + " " + Quote(meta.name));
    }
    const KnownEntry target = meta.entries[found];
    if (target.type < ZEM_TYPE_INT8 || target.type > ZEM_TYPE_UINT32) {
      const std::string type_name = target.type <= ZEM_TYPE_STRUCT ? std::string(target.type_meta)
                                                                   : BaseTypeName(target.type);
      return Fail(attribute, owner.Text() + ": " + what() + " has type " + Quote(type_name) +
                                 "; a refer must be an integer of at most 32 bits (int8, uint8,"
                                 " byte, int16, uint16, int32 or uint32)");
    }
    if (target.count != 1) {
      return Fail(attribute, owner.Text() + ": " + what() + " has count " +
                                 std::to_string(target.count) + "; a refer must have count 1");
    }
    entry->refer = std::string(refer);
    return true;
  }

  // The entry's custom attribute text, as written; at most 2047 bytes.
  bool ReadEntryCustomAttr(const Attribute& attribute, const Owner& owner, ZemEntryDef* entry) {
    if (!attribute) return true;
    const size_t length = std::strlen(attribute.value());
    if (length > MAX_ENTRY_CUSTOMATTR2_BYTES) {
      return Fail(attribute, owner.Text() + ": customattr2 of " + std::to_string(length) +
                                 " bytes is too long; it has at most 2047 bytes");
    }
    entry->customattr2 = std::string(attribute.value(), length);
    return true;
  }

  // Adds the entry's bytes (unit x count, count 0 counted as 1) to its struct or union. Sizes are
  // computed in 64 bits: a unit of at most 2^32 bytes times a count of at most 2^31 cannot
  // overflow, and no sum of entries can either.
  bool AddEntrySize(const Node& node, const Owner& owner, int64_t unit, int64_t count,
                    MetaState* meta) {
    const int64_t bytes = unit * std::max<int64_t>(count, 1);
    if (bytes > MAX_SIZE_BYTES) {
      return Fail(node, owner.Text() + ": " + std::to_string(bytes) + " bytes (" +
                            std::to_string(unit) + " x " + std::to_string(count) +
                            ") exceed the limit of 2147483647 bytes");
    }
    meta->size = meta->def->is_union ? std::max(meta->size, bytes) : meta->size + bytes;
    return true;
  }

  bool ReadEntry(const Node& node, MetaState* meta) {
    Attributes attributes = Attributes::None();
    if (!CollectAttributes(node, ELEMENT_ENTRY, &attributes)) return false;
    WarnChildElements(node);
    const Owner where{meta->kind, meta->name};
    const Attribute& name_attribute = attributes[ATTR_NAME];
    if (!name_attribute) return Fail(node, "entry of " + where.Text() + " has no 'name' attribute");
    const std::string_view name = name_attribute.value();
    if (name.size() > MAX_NAME_BYTES) {
      return Fail(name_attribute, "entry name of " + std::to_string(name.size()) + " bytes in " +
                                      where.Text() + " is too long; a name has at most 127 bytes");
    }
    const Owner owner{"entry", name};
    const size_t entry_index = meta->entries.size();
    const size_t first = meta->entries.Find(name);
    if (first != KnownEntries::NOT_FOUND) {
      return Fail(node, owner.Text() + " is defined twice in " + where.Text() + " (first at line " +
                            std::to_string(meta->places->entries[first].line) + ")");
    }

    ZemEntryDef entry;
    entry.name = std::string(name);
    const Attribute& type_attribute = attributes[ATTR_TYPE];
    if (!type_attribute) return Fail(node, owner.Text() + " has no 'type' attribute");
    const KnownMeta* type_meta = nullptr;
    if (!ReadEntryType(type_attribute, owner, *meta, &entry, &type_meta)) return false;
    int64_t declared_size = 0;
    if (!ReadEntrySize(attributes[ATTR_SIZE], owner, entry.type, type_meta != nullptr,
                       &declared_size)) {
      return false;
    }
    int64_t count = 1;
    if (!ReadEntryCount(attributes[ATTR_COUNT], owner, &count)) return false;
    if (!ReadEntryRefer(attributes[ATTR_REFER], owner, *meta, &entry)) return false;
    if (count == 0 && entry.refer.empty()) {
      return Fail(attributes[ATTR_COUNT],
                  owner.Text() + ": count 0 makes a variable array, which needs a refer");
    }
    if (!ReadEntryCustomAttr(attributes[ATTR_CUSTOMATTR2], owner, &entry)) return false;

    const int64_t unit = type_meta != nullptr
                             ? type_meta->size
                             : ZemBaseTypeUnitSize(entry.type, static_cast<uint32_t>(declared_size));
    if (!AddEntrySize(node, owner, unit, count, meta)) return false;
    entry.count = static_cast<int>(count);
    entry.unit_size = static_cast<uint32_t>(unit);
    meta->places->entries.push_back(PlaceOf(OffsetOf(node)));
    if (attributes[ATTR_CUSTOMATTR2]) {
      meta->places->entry_customattr2s.push_back(
          ZemMetaPlaces::EntryAttribute{entry_index, PlaceOf(attributes[ATTR_CUSTOMATTR2])});
    }
    if (meta->build && !m_assembler->AddEntry(entry, name, &m_build_error)) return false;
    meta->entries.Add(KnownEntry{name, type_meta != nullptr ? type_attribute.value() : "",
                                 entry.type, entry.count});
    return true;
  }

  bool ReadIndex(const Node& node, MetaState* meta) {
    Attributes attributes = Attributes::None();
    if (!CollectAttributes(node, ELEMENT_INDEX, &attributes)) return false;
    WarnChildElements(node);
    const Owner where{meta->kind, meta->name};
    if (!attributes[ATTR_NAME])
      return Fail(node, "index of " + where.Text() + " has no 'name' attribute");
    const std::string_view name = attributes[ATTR_NAME].value();
    const auto inserted = meta->index_offsets.emplace(name, OffsetOf(node));
    if (!inserted.second) {
      return Fail(node, "index " + Quote(name) + " is defined twice in " + where.Text() +
                            " (first at line " + std::to_string(LineOf(inserted.first->second)) +
                            ")");
    }
    meta->def->indexes.emplace_back();
    meta->def->indexes.back().name = std::string(name);
    meta->places->indexes.push_back(PlaceOf(OffsetOf(node)));
    meta->indexes.push_back(PendingIndex{meta->def->indexes.size() - 1, attributes[ATTR_COLUMN]});
    return true;
  }

  // Checks a list of entry names of a struct, each of which must name one of its entries, and
  // counts them; nothing is copied.
  bool CheckNames(const Attribute& attribute, const std::string& what, const MetaState& meta,
                  size_t* count) {
    *count = 0;
    std::string_view unknown;
    bool found_all = true;
    ForEachName(attribute.value(), [&](std::string_view piece) {
      ++*count;
      if (found_all && meta.entries.Find(piece) == KnownEntries::NOT_FOUND) {
        found_all = false;
        unknown = piece;
      }
    });
    if (found_all) return true;
    return Fail(attribute, what + " " + Quote(unknown) + " names no entry of " + meta.kind + " " +
                               Quote(meta.name));
  }

  // Appends the count names of a checked list to *names.
  static void AppendNames(const Attribute& attribute, size_t count,
                          std::vector<std::string>* names) {
    names->reserve(names->size() + count);
    ForEachName(attribute.value(), [names](std::string_view piece) { names->emplace_back(piece); });
  }

  bool ReadPrimaryKey(const Attribute& attribute, MetaState* meta) {
    if (!attribute) return true;
    const Owner owner{meta->kind, meta->name};
    size_t count = 0;
    if (!CheckNames(attribute, owner.Text() + ": primarykey member", *meta, &count)) return false;
    if (count > MAX_KEY_MEMBERS) {
      return Fail(attribute, owner.Text() + ": primarykey has " + std::to_string(count) +
                                 " members; at most " + std::to_string(MAX_KEY_MEMBERS) + " fit");
    }
    AppendNames(attribute, count, &meta->def->primary_key);
    return true;
  }

  bool ReadSplitTableKey(const Attribute& attribute, MetaState* meta) {
    if (!attribute) return true;
    const Owner owner{meta->kind, meta->name};
    size_t count = 0;
    if (!CheckNames(attribute, owner.Text() + ": splittablekey member", *meta, &count))
      return false;
    if (count == 0) return true;
    // The pieces joined by ",".
    std::string joined;
    ForEachName(attribute.value(), [&joined](std::string_view piece) {
      if (!joined.empty()) joined += ',';
      joined += piece;
    });
    meta->def->split_table_key = std::move(joined);
    return true;
  }

  bool ResolveIndexColumns(MetaState* meta) {
    for (const PendingIndex& pending : meta->indexes) {
      if (!pending.column) continue;
      ZemIndexDef& index = meta->def->indexes[pending.index];
      const std::string what = "index " + Quote(index.name) + ": column";
      size_t count = 0;
      if (!CheckNames(pending.column, what, *meta, &count)) return false;
      if (count > ZEM_MAX_INDEX_COLUMNS) {
        return Fail(pending.column, "index " + Quote(index.name) + " has " +
                                        std::to_string(count) + " columns; at most " +
                                        std::to_string(ZEM_MAX_INDEX_COLUMNS) + " fit");
      }
      // Each column is kept as the position of its entry, not as a copy of its name.
      index.column_entries.reserve(count);
      ForEachName(pending.column.value(), [&](std::string_view piece) {
        index.column_entries.push_back(static_cast<int32_t>(meta->entries.Find(piece)));
      });
    }
    return true;
  }

  const std::string& m_file;
  ZemXmlText& m_text;
  ZemLoadResult* m_result;
  const char* m_data = nullptr;
  std::optional<ZemMetaLibAssembler> m_assembler;  // once the metalib's name is read
  std::string m_build_error;
  std::vector<std::pair<std::string, int>> m_macro_defs;
  std::vector<ZemMetaPlaces> m_places;  // one per meta read
  std::unordered_map<std::string_view, int> m_macros;
  std::unordered_map<std::string_view, KnownMeta> m_metas;
  size_t m_warnings[WARN_KIND_NUM] = {};
  std::unordered_set<std::string> m_broken;  // structs and unions left out for a load error
};

template <typename Tree>
bool ReadDocument(const typename Tree::Document& document, ZemXmlText& text,
                  const std::string& file, ZemLoadResult* result,
                  std::vector<ZemMetaPlaces>* places) {
  SchemaReader<Tree> reader(file, text, result);
  const bool read = reader.Read(document, text.data());
  reader.ListLeftOutWarnings();
  if (!read) return false;
  result->metalib = reader.Finish();
  *places = std::move(reader.places());
  return true;
}

}  // namespace

bool ZemReadSchemaDocument(const pugi::xml_document& document, ZemXmlText& text,
                           const std::string& file, ZemLoadResult* result,
                           std::vector<ZemMetaPlaces>* places) {
  return ReadDocument<ParsedTree>(document, text, file, result, places);
}

bool ZemReadSchemaDocument(const ZemXmlTree& document, ZemXmlText& text, const std::string& file,
                           ZemLoadResult* result, std::vector<ZemMetaPlaces>* places) {
  return ReadDocument<PlainTree>(document, text, file, result, places);
}
