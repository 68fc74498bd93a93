// Loads a ZEM XML schema file into a metalib. The loader rejects only what it cannot build (bad
// XML, an unknown type, a key or refer naming no field, a size beyond 2147483647 bytes, ...);
// everything the table checks judge loads, so that the checks can report it in their own words.
#ifndef VELMORA_ZEM_XML_LOADER_H_
#define VELMORA_ZEM_XML_LOADER_H_

#include <string>
#include <vector>

#include <velmora/export.h>
#include <velmora/zem_builder.h>

// A load error or warning. line and column are 1-based; 0 when the file has no position for it
// (a file that cannot be read).
struct ZemLoadMessage {
  std::string file;
  int line = 0;
  int column = 0;
  std::string text;
};

// A struct or union of the file, in file order.
struct ZemMetaInfo {
  std::string name;
  int line = 0;  // line of its element
  bool is_union = false;
  bool has_primary_key = false;
};

struct ZemLoadResult {
  bool ok = false;
  ZemMetaLibPtr metalib;                 // set when ok
  ZemLoadMessage error;                  // set when not ok
  std::vector<ZemLoadMessage> warnings;  // unknown elements and attributes, repeated macros
  std::vector<ZemMetaInfo> metas;        // set when ok
};

// Reads and loads a schema file. A file declared in a legacy encoding (GBK, ...) is transcoded to
// UTF-8 first; names and texts reach the model as UTF-8 bytes.
VELMORA_API ZemLoadResult ZemLoadXmlFile(const std::string& path);

// Loads schema text already in memory; file_name is used in messages only.
VELMORA_API ZemLoadResult ZemLoadXmlText(const std::string& file_name, const std::string& text);

// "FILE:LINE:COL: KIND: TEXT" ("FILE: KIND: TEXT" without a position), KIND being "error" or
// "warning".
VELMORA_API std::string FormatZemLoadMessage(const ZemLoadMessage& message, const char* kind);

#endif  // VELMORA_ZEM_XML_LOADER_H_
