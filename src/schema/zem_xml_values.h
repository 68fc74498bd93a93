// Values of a schema file's attributes: base type names, whole decimal numbers, lists of names,
// and texts as load messages quote them.
#ifndef VELMORA_SCHEMA_ZEM_XML_VALUES_H_
#define VELMORA_SCHEMA_ZEM_XML_VALUES_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A base type of entries: its name in schema files and its type code.
struct BaseType {
  const char* name;
  int code;
};

// The base type of this name, letter case ignored; NULL when there is none.
const BaseType* FindBaseType(std::string_view name);

// The schema name of a base type code ("?" for a code that has none).
const char* BaseTypeName(int code);

enum NumberParse { NUMBER_OK, NUMBER_OUT_OF_RANGE, NUMBER_NONE };

// Reads a whole attribute value as a decimal integer with an optional sign: "12 " and "0x10" are
// no numbers. A number outside the int range gives NUMBER_OUT_OF_RANGE, *value keeping its sign.
NumberParse ParseInt(std::string_view text, int64_t* value);

// Splits a list of names at ",", trims each piece of blanks, tabs and line breaks and skips empty
// pieces. A repeated name stays repeated. The pieces point into text.
std::vector<std::string_view> SplitNames(std::string_view text);

// The pieces joined by ",".
std::string JoinNames(const std::vector<std::string_view>& pieces);

// A text as messages quote it: in single quotes, cut after 64 bytes at a character boundary, so
// that a huge value cannot flood a report.
std::string Quote(std::string_view text);

#endif  // VELMORA_SCHEMA_ZEM_XML_VALUES_H_
