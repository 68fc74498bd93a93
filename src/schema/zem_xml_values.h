// Values of a schema file's attributes: base type names, whole decimal numbers, lists of names,
// and texts as load messages quote them.
#ifndef VELMORA_SCHEMA_ZEM_XML_VALUES_H_
#define VELMORA_SCHEMA_ZEM_XML_VALUES_H_

#include <cstdint>
#include <string>
#include <string_view>

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

// Calls visit(piece) for each name of a list, in order: the text is split at ",", each piece is
// trimmed of blanks, tabs and line breaks, and empty pieces are skipped. A repeated name stays
// repeated. The pieces point into text; nothing is copied.
template <typename Visit>
void ForEachName(std::string_view text, Visit visit) {
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(',', start);
    if (end == std::string_view::npos) end = text.size();
    size_t first = start;
    size_t last = end;
    while (first < last && blank(text[first])) ++first;
    while (last > first && blank(text[last - 1])) --last;
    if (last > first) visit(text.substr(first, last - first));
    start = end + 1;
  }
}

// A text as messages quote it: in single quotes, cut after 64 bytes at a character boundary, so
// that a huge value cannot flood a report.
std::string Quote(std::string_view text);

#endif  // VELMORA_SCHEMA_ZEM_XML_VALUES_H_
