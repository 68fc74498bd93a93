// The two ways the loader reads a text. It reads plain XML through its own tree and falls back to
// the full XML parser for anything else; each reading must give the same result, load errors and
// warnings included, which tests and the load fuzz target hold them to.
#ifndef VELMORA_SCHEMA_ZEM_XML_LOADER_INTERNAL_H_
#define VELMORA_SCHEMA_ZEM_XML_LOADER_INTERNAL_H_

#include <string>

#include <velmora/zem_xml_loader.h>

enum class ZemXmlReading {
  kPlainTreeFirst,  // as ZemLoadXmlFile and ZemLoadXmlText read
  kFullParserOnly,
};

// ZemLoadXmlText, read the given way.
ZemLoadResult ZemLoadXmlTextReading(ZemXmlReading reading, const std::string& file_name,
                                    const std::string& text, const ZemLoadOptions& options = {});

#endif  // VELMORA_SCHEMA_ZEM_XML_LOADER_INTERNAL_H_
