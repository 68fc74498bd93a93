// The findings of velmora-check-table: each failure a check reported, placed at the element of the
// schema file it is about, as plain values that every report format reads.
#ifndef VELMORA_CLI_FINDINGS_H_
#define VELMORA_CLI_FINDINGS_H_

#include <string>
#include <unordered_set>
#include <vector>

// What a finding is about.
enum class FindingElement {
  kStruct,     // the table itself, when nothing narrower applies
  kEntry,      // a field (of the table or of a struct it contains)
  kIndex,      // an index
  kAttribute,  // an attribute: primarykey, splittablekey or customattr2 of the table or a field
};

// One failure of one check, at its place. The texts are the checker's bytes, unchanged.
struct Finding {
  int line = 0;    // 1-based line of the element in the schema file; 0 when it has no place
  int column = 0;  // 1-based column; 0 when it has no place
  FindingElement element = FindingElement::kStruct;
  // The element's name: the table's for the table itself; otherwise as the report shows it after
  // "TABLE.": "uid", "by_uid", "primarykey", "items.customattr2", "pos.x" for a field x of a
  // struct pos the table contains.
  std::string name;
  std::string message;  // the most specific line the check wrote about it
  int result = 0;       // the result code the check reported with it
  std::string code;     // that code's name, as in the report ("ERROR_PRIMARYKEY_FIELD")
  // The lines that wrap or follow it (the entry point's "CheckIndex failed! ..."), in order.
  std::vector<std::string> notes;
  // One line on what to change, from the table of hints (a text that lives as long as the
  // program); NULL when none is known.
  const char* help = nullptr;
  // Found by a later step run on its own after the check had stopped at an earlier failure: not
  // part of what the check returned.
  bool also = false;
};

// The word of an element in the JSON report: "struct", "entry", "index" or "attribute".
inline const char* FindingElementName(FindingElement element) {
  switch (element) {
    case FindingElement::kEntry:
      return "entry";
    case FindingElement::kIndex:
      return "index";
    case FindingElement::kAttribute:
      return "attribute";
    case FindingElement::kStruct:
      break;
  }
  return "struct";
}

// Tells which findings of a table a report shows: each once. Two checks that apply the same rule
// (the table name rule of the attribute check and of the entry point) find the same failure at the
// same place, and a reader wants it once. A hash of what was shown keeps this linear in the number
// of findings, which can be one per field of a table of a million fields.
class ShownOnce {
 public:
  // True the first time a finding of this place, name and message is offered.
  bool First(const Finding& finding) {
    std::string key = std::to_string(finding.line) + ':' + std::to_string(finding.column) + ':';
    key += finding.name;
    key += '\0';
    key += finding.message;
    return m_shown.insert(std::move(key)).second;
  }

 private:
  std::unordered_set<std::string> m_shown;
};

#endif  // VELMORA_CLI_FINDINGS_H_
