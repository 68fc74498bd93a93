// The elements and attributes of a schema file, read straight from its text for the plain XML that
// schema files are written in: elements, attributes in quotes, comments, white space and text
// between elements, and an XML declaration at the very start. Anything else (entity or character
// references and line breaks in attribute values, CDATA sections, processing instructions, a
// document type, names beyond ASCII, text beside the root element, any malformed markup) is left to
// the full XML parser, which reads such a file as before. On the files it takes, this tree answers
// the schema reader exactly as the parser's tree does: the same elements, attributes, names and
// values at the same places in the text. It costs two small records per element and attribute and
// no allocation per element.
#ifndef VELMORA_SCHEMA_ZEM_XML_TREE_H_
#define VELMORA_SCHEMA_ZEM_XML_TREE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

class ZemXmlTree {
 private:
  struct ElementRecord {
    uint32_t name;  // offsets into the text
    uint32_t first_attribute;
    uint32_t end_attribute;
    uint32_t first_child;  // 0: none (record 0 is no element)
    uint32_t next_sibling;
    char name_end;  // the byte after the name, where the name now ends
  };
  struct AttributeRecord {
    uint32_t name;
    uint32_t value;
    char name_end;
    char quote;  // the closing quote, where the value now ends
  };

 public:
  class Attribute {
   public:
    Attribute() = default;
    explicit operator bool() const { return m_index < m_end; }
    // An absent attribute's name and value are empty, as the parser's are.
    const char* name() const { return m_tree != nullptr ? m_tree->Text(Record().name) : ""; }
    const char* value() const { return m_tree != nullptr ? m_tree->Text(Record().value) : ""; }
    Attribute next_attribute() const { return Attribute(m_tree, m_index + 1, m_end); }

   private:
    friend class ZemXmlTree;
    Attribute(const ZemXmlTree* tree, uint32_t index, uint32_t end)
        : m_tree(index < end ? tree : nullptr), m_index(index), m_end(end) {}
    const AttributeRecord& Record() const { return m_tree->m_attributes[m_index]; }

    const ZemXmlTree* m_tree = nullptr;
    uint32_t m_index = 0;
    uint32_t m_end = 0;
  };

  class Node {
   public:
    Node() = default;
    explicit operator bool() const { return m_index != 0; }
    const char* name() const { return m_index != 0 ? m_tree->Text(Record().name) : ""; }
    Attribute first_attribute() const {
      return m_index != 0 ? Attribute(m_tree, Record().first_attribute, Record().end_attribute)
                          : Attribute();
    }
    Node first_child() const { return m_index != 0 ? Node(m_tree, Record().first_child) : Node(); }
    Node next_sibling() const {
      return m_index != 0 ? Node(m_tree, Record().next_sibling) : Node();
    }

   private:
    friend class ZemXmlTree;
    Node(const ZemXmlTree* tree, uint32_t index) : m_tree(tree), m_index(index) {}
    const ElementRecord& Record() const { return m_tree->m_elements[m_index]; }

    const ZemXmlTree* m_tree = nullptr;
    uint32_t m_index = 0;
  };

  ZemXmlTree() = default;
  ZemXmlTree(const ZemXmlTree&) = delete;
  ZemXmlTree& operator=(const ZemXmlTree&) = delete;

  // Reads text[0, size), which holds no NUL byte (the loader refuses a file with one before it is
  // read), ending each name and value in place with a NUL byte as the full parser does. Returns
  // false, the text as it was, when the text is not plain XML as above or is 4 GiB or more.
  bool Parse(char* text, size_t size);
  // Gives the text back the bytes where names and values were ended, so that the full parser can
  // read it; the tree is empty then.
  void Restore();

  // For a reader that reads a long run of sibling elements once each, in order: gives the records
  // of the elements after `kept` through `done`, and of the attributes after kept's through
  // done's, back to the system, a batch of pages at a time; with_text, the text from the end of
  // kept's start tag to the element after done as well. kept's records and text and all before
  // them stay; what is given back must not be read again, and Restore is not called afterwards.
  // Nodes of one tree only.
  static void Forget(const Node& kept, const Node& done, bool with_text);

  // The one element at the top of the document; none before a successful Parse.
  Node root() const { return m_elements.size() > 1 ? Node(this, 1) : Node(); }

 private:
  class Tokenizer;

  const char* Text(uint32_t offset) const { return m_text + offset; }
  // The text offset just past the start tag of an element: its last value's or its name's end.
  uint32_t EndOfStartTag(const ElementRecord& element) const;
  void Clear();

  char* m_text = nullptr;
  std::vector<ElementRecord> m_elements;  // in document order after record 0
  std::vector<AttributeRecord> m_attributes;
  // Where the records and text given back so far end, and where the text after the kept element
  // starts. Giving memory back changes nothing that may still be read, so the nodes of a tree read
  // as const may do it.
  mutable const char* m_elements_forgotten = nullptr;
  mutable const char* m_attributes_forgotten = nullptr;
  mutable const char* m_text_forgotten = nullptr;
  mutable uint32_t m_text_kept = 0;
  mutable uint32_t m_text_from = 0;
};

#endif  // VELMORA_SCHEMA_ZEM_XML_TREE_H_
