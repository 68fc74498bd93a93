// Writing JSON documents piece by piece, so that a report of thousands of tables never stands in
// memory as one tree, yet reads as one indented document.
#ifndef VELMORA_CLI_JSON_TEXT_H_
#define VELMORA_CLI_JSON_TEXT_H_

#include <nlohmann/json.hpp>

#include <ostream>
#include <string>

using Json = nlohmann::ordered_json;

// Writes text (indented JSON) as it stands at this depth of an indented document: its inner lines
// are indented by two more blanks per level.
inline void WriteIndentedText(const std::string& text, int depth, std::ostream& out) {
  const std::string indent(static_cast<size_t>(depth) * 2, ' ');
  size_t from = 0;
  for (size_t newline = text.find('\n'); newline != std::string::npos;
       newline = text.find('\n', from)) {
    out.write(text.data() + from, static_cast<std::streamsize>(newline + 1 - from));
    out << indent;
    from = newline + 1;
  }
  out.write(text.data() + from, static_cast<std::streamsize>(text.size() - from));
}

// Writes a value as it stands at this depth of an indented document.
inline void WriteJsonIndented(const Json& json, int depth, std::ostream& out) {
  WriteIndentedText(json.dump(2, ' ', false, Json::error_handler_t::replace), depth, out);
}

#endif  // VELMORA_CLI_JSON_TEXT_H_
