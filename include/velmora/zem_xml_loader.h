// Loads a ZEM XML schema file into a metalib. The loader rejects only what it cannot build (bad
// XML, an unknown type, a key or refer naming no field, a size beyond 2147483647 bytes, ...) and
// what passes one of its named limits; everything the table checks judge loads, so that the checks
// can report it in their own words.
#ifndef VELMORA_ZEM_XML_LOADER_H_
#define VELMORA_ZEM_XML_LOADER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <velmora/export.h>
#include <velmora/zem_builder.h>

// ---- Limits ----------------------------------------------------------------------------------
// Each is named, with its value, in the message of a file that passes it.

// The largest input read by default: 64 MiB. A load option raises or lowers it.
constexpr uint64_t ZEM_DEFAULT_MAX_INPUT_BYTES = uint64_t{64} << 20;
// Bytes of a struct, union or entry name.
constexpr size_t ZEM_MAX_NAME_BYTES = 127;
// Bytes of an entry's customattr2.
constexpr size_t ZEM_MAX_ENTRY_CUSTOMATTR2_BYTES = 2047;
// Bytes of an entry (unit size times count) and of a struct or union.
constexpr int64_t ZEM_MAX_SIZE_BYTES = INT32_MAX;
// Members of a primary key.
constexpr size_t ZEM_MAX_KEY_MEMBERS = INT16_MAX;
// Columns of an index: its columns are key members, of which a table has no more.
constexpr size_t ZEM_MAX_INDEX_COLUMNS = ZEM_MAX_KEY_MEMBERS;
// Load errors listed for a file: after a struct or union that cannot be built the loader goes on
// with the next one, up to this many errors.
constexpr size_t ZEM_MAX_LOAD_ERRORS = 50;
// Warnings of one kind listed for a file; the rest are counted in one more warning.
constexpr size_t ZEM_MAX_WARNINGS_PER_KIND = 100;

struct ZemLoadOptions {
  // A regular file larger than this is refused before it is read; a stream (a pipe, a device)
  // when it passes it. Text already in memory is refused when it is larger.
  uint64_t max_input_bytes = ZEM_DEFAULT_MAX_INPUT_BYTES;
  // How a user sets max_input_bytes, named in the message that refuses a larger input.
  std::string max_input_setting = "the load option max_input_bytes";
};

// A load error or warning. line and column are 1-based; 0 when the file has no position for it
// (a file that cannot be read, a count of warnings left out).
struct ZemLoadMessage {
  ZemLoadMessage() = default;
  ZemLoadMessage(std::string file_name, int line_number, int column_number, std::string words,
                 std::string about_element = std::string(), std::string about_name = std::string())
      : file(std::move(file_name)),
        line(line_number),
        column(column_number),
        text(std::move(words)),
        element(std::move(about_element)),
        name(std::move(about_name)) {}

  std::string file;
  int line = 0;
  int column = 0;
  std::string text;
  // What a warning is about: "attribute" or "element", with that attribute's or element's name as
  // written in the file ("primaryKey", "entyr", "customattr2" for a key inside it). Both empty for
  // a load error and for the count of warnings left out.
  std::string element;
  std::string name;
};

// A struct or union of the file, in file order.
struct ZemMetaInfo {
  std::string name;
  int line = 0;  // line of its element
  bool is_union = false;
  bool has_primary_key = false;
};

// A place in a schema file: 1-based line and column; line 0 when there is none.
struct ZemPlace {
  int line = 0;
  int column = 0;
};

// Where the elements of a loaded file stand: every struct and union, entry (of every struct and
// union) and index, and the attributes primarykey, splittablekey and customattr2 of structs and
// entries. Found by the handles of the metalib the file was loaded into.
class VELMORA_API ZemSourcePlaces {
 public:
  enum Attribute { PRIMARY_KEY, SPLIT_TABLE_KEY, CUSTOM_ATTR2, ATTRIBUTE_NUM };

  // The element of a meta, entry or index handle; no place for any other pointer.
  ZemPlace Of(const void* handle) const;
  // The attribute of a meta (any of the three) or an entry (customattr2); no place when the
  // element was written without it.
  ZemPlace OfAttribute(const void* handle, Attribute attribute) const;

  // Records the place of the element of a handle, and of its attributes (NULL: none); a handle
  // added again gets the new places. Handles added in ascending address order, as the loader
  // adds them, are recorded at no more cost than an append; one added below others moves the
  // records of those up.
  void Add(const void* handle, const ZemPlace& element, const ZemPlace* attributes);
  // Makes room for this many handles without growing again.
  void Reserve(size_t handles);

 private:
  struct Record {
    const void* handle;
    ZemPlace element;
    uint32_t attributes;  // position + 1 in m_attributes; 0 when none was written
  };
  struct AttributePlaces {
    ZemPlace of[ATTRIBUTE_NUM];
  };
  const Record* Find(const void* handle) const;

  // Sorted by handle: a few words per element of a file, where most entries have no attribute
  // to place.
  std::vector<Record> m_records;
  std::vector<AttributePlaces> m_attributes;
};

struct ZemLoadResult {
  bool ok = false;
  ZemMetaLibPtr metalib;                 // set when ok
  ZemLoadMessage error;                  // set when not ok: the first load error
  // Every load error of a well-formed file, in file order, the first included (at most
  // ZEM_MAX_LOAD_ERRORS); empty when the file could not be read or parsed.
  std::vector<ZemLoadMessage> errors;
  std::vector<ZemLoadMessage> warnings;  // unknown elements and attributes, repeated macros
  std::vector<ZemMetaInfo> metas;        // set when ok
  ZemSourcePlaces places;                // of the metalib's elements, when ok
};

// Reads and loads a schema file: a regular file, or a stream read in blocks. A file declared in a
// legacy encoding (GBK, ...) is transcoded to UTF-8 first; names and texts reach the model as UTF-8
// bytes. A NUL byte, an XML declaration that is not at the very start, and an encoding the file's
// bytes contradict are load errors.
VELMORA_API ZemLoadResult ZemLoadXmlFile(const std::string& path,
                                         const ZemLoadOptions& options = {});

// Loads schema text already in memory; file_name is used in messages only.
VELMORA_API ZemLoadResult ZemLoadXmlText(const std::string& file_name, const std::string& text,
                                         const ZemLoadOptions& options = {});

// "FILE:LINE:COL: KIND: TEXT" ("FILE: KIND: TEXT" without a position), KIND being "error" or
// "warning".
VELMORA_API std::string FormatZemLoadMessage(const ZemLoadMessage& message, const char* kind);

// A number of bytes as limits are named: "64 MiB", "512 KiB", "1 GiB", or "1000 bytes".
VELMORA_API std::string FormatZemByteSize(uint64_t bytes);

#endif  // VELMORA_ZEM_XML_LOADER_H_
