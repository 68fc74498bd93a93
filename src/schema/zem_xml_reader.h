// Reads a parsed schema document into a metalib: the walk over metalib, macro, struct, union,
// entry and index elements, with every rule that decides whether a file loads.
#ifndef VELMORA_SCHEMA_ZEM_XML_READER_H_
#define VELMORA_SCHEMA_ZEM_XML_READER_H_

#include <string>
#include <vector>

#include <velmora/zem_builder.h>
#include <velmora/zem_xml_loader.h>
#include "schema/zem_xml_text.h"

namespace pugi {
class xml_document;
}
class ZemXmlTree;

// Where a struct or union of def stands, with its attributes, entries and indexes, in the order of
// its description.
struct ZemMetaPlaces {
  ZemPlace element;
  ZemPlace attributes[ZemSourcePlaces::ATTRIBUTE_NUM];
  std::vector<ZemPlace> entries;  // each entry's element
  // The customattr2 attributes of the entries written with one, in entry order: few entries have
  // one, so a struct of a million entries keeps a place per entry and little more.
  struct EntryAttribute {
    size_t entry;
    ZemPlace place;
  };
  std::vector<EntryAttribute> entry_customattr2s;
  std::vector<ZemPlace> indexes;
};

// Reads a document parsed in place in text and builds its metalib, one struct or union at a time
// as each is read. Fills result->metalib, *places (one per meta of the metalib, in its order),
// result->metas and result->warnings in document order; on a load error sets result->error (and
// result->errors) and returns false.
bool ZemReadSchemaDocument(const pugi::xml_document& document, ZemXmlText& text,
                           const std::string& file, ZemLoadResult* result,
                           std::vector<ZemMetaPlaces>* places);
// The same from the plain-XML tree of the text; the tree tells the reader what the parser's tree
// of the same text would.
bool ZemReadSchemaDocument(const ZemXmlTree& document, ZemXmlText& text, const std::string& file,
                           ZemLoadResult* result, std::vector<ZemMetaPlaces>* places);

#endif  // VELMORA_SCHEMA_ZEM_XML_READER_H_
