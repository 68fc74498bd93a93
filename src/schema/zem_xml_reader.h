// Reads a parsed schema document into a metalib description: the walk over metalib, macro,
// struct, union, entry and index elements, with every rule that decides whether a file loads.
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

// Where a struct or union of def stands, with its attributes, entries and indexes, in the order of
// its description.
struct ZemMetaPlaces {
  ZemPlace element;
  ZemPlace attributes[ZemSourcePlaces::ATTRIBUTE_NUM];
  struct Entry {
    ZemPlace element;
    ZemPlace customattr2;
  };
  std::vector<Entry> entries;
  std::vector<ZemPlace> indexes;
};

// Reads a document parsed in place in text. Fills *def, *places (one per meta of def),
// result->metas and result->warnings in document order; at the first load error sets
// result->error and returns false.
bool ZemReadSchemaDocument(const pugi::xml_document& document, ZemXmlText& text,
                           const std::string& file, ZemLoadResult* result, ZemMetaLibDef* def,
                           std::vector<ZemMetaPlaces>* places);

#endif  // VELMORA_SCHEMA_ZEM_XML_READER_H_
