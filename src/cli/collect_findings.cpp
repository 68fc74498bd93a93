#include "cli/collect_findings.h"

#include <algorithm>
#include <cstring>

#include "cli/rules.h"
#include <velmora/check_table_error.h>

namespace {

bool IsNarrow(const CheckTableFailure& line) {
  return line.element.kind != CheckTableElementKind::kTable;
}

// How the line reads in the reference of failure texts; a line it does not list is a failure.
RuleTextRole RoleOf(const CheckTableFailure& line) {
  const RuleText* text = FindRuleText(line.format);
  return text != nullptr ? text->role : RuleTextRole::kFailure;
}

bool IsLookup(const CheckTableFailure& line) { return RoleOf(line) == RuleTextRole::kLookup; }
bool IsWrapper(const CheckTableFailure& line) { return RoleOf(line) == RuleTextRole::kWrapper; }

std::string CodeName(int result) {
  const char* name = CheckResultName(result);
  return name != nullptr ? name : std::to_string(result);
}

// The lines that lead findings: each one about a field, an index or an attribute, other than a
// lookup's or a wrapper's; else the first line that says why the check failed; else the first.
std::vector<size_t> HeadsOf(const std::vector<const CheckTableFailure*>& lines) {
  std::vector<size_t> heads;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (IsNarrow(*lines[i]) && !IsLookup(*lines[i]) && !IsWrapper(*lines[i])) heads.push_back(i);
  }
  if (!heads.empty()) return heads;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (!IsLookup(*lines[i]) && !IsWrapper(*lines[i])) return {i};
  }
  return {0};
}

// A lookup that names the field or index it found wanting is more precise than the check that
// asked it; the first such line, or NULL.
const CheckTableFailure* PreciseLookup(const std::vector<const CheckTableFailure*>& lines) {
  for (const CheckTableFailure* line : lines) {
    if (IsLookup(*line) && IsNarrow(*line)) return line;
  }
  return nullptr;
}

// The element a line is about. Two lines name none although one attribute is what must change:
// the display charset check is handed the text of the table's customattr2 alone, and the split
// table key check fails without a line of its own when the key's text does not fit its buffer,
// which leaves only the entry point's line around it.
CheckTableElement ElementOf(const CheckTableFailure& line) {
  static const char kDisplayCharsetFormat[] = "error stringdisplaycharset: %s";
  static const char kSplitKeyWrapperFormat[] = "CheckSplittableKey failed! table:'%s',ret:%d";
  CheckTableElement element = line.element;
  if (element.kind != CheckTableElementKind::kTable || line.format == nullptr) return element;
  if (std::strcmp(line.format, kDisplayCharsetFormat) == 0) {
    element.kind = CheckTableElementKind::kTableAttributes;
  } else if (std::strcmp(line.format, kSplitKeyWrapperFormat) == 0) {
    element.kind = CheckTableElementKind::kSplitTableKey;
  }
  return element;
}

void SetPlace(const ZemPlace& place, Finding* finding) {
  finding->line = place.line;
  finding->column = place.column;
}

}  // namespace

void FailureRecorder::OnFailure(const CheckTableFailure& failure) {
  CheckTableFailure kept = failure;
  m_texts.push_back(std::make_unique<std::string>(failure.format != nullptr ? failure.format : ""));
  kept.format = m_texts.back()->c_str();
  m_texts.push_back(std::make_unique<std::string>(failure.message != nullptr ? failure.message : ""));
  kept.message = m_texts.back()->c_str();
  m_lines.push_back(kept);
}

FindingPlaces::FindingPlaces(LPZEMMETALIB metalib, const ZemSourcePlaces& places)
    : m_metalib(metalib), m_places(places) {}

std::vector<Finding> FindingPlaces::Place(const std::string& table,
                                          const std::vector<CheckTableFailure>& lines,
                                          bool also) const {
  std::vector<const CheckTableFailure*> failing;
  for (const CheckTableFailure& line : lines) {
    if (line.result != CHECK_TABLE_SUCCESS) failing.push_back(&line);
  }
  if (failing.empty()) return {};
  const std::vector<size_t> heads = HeadsOf(failing);
  const CheckTableFailure* lookup = heads.size() == 1 ? PreciseLookup(failing) : nullptr;
  // Every line that leads no finding is a note of each finding: the wrapping lines of the entry
  // point, a lookup's words. A check that fails on a million fields has a million heads and a
  // handful of such lines, so they are gathered once.
  std::vector<bool> is_head(failing.size(), false);
  for (const size_t head : heads) is_head[head] = true;
  std::vector<std::string> notes;
  for (size_t i = 0; i < failing.size(); ++i) {
    if (!is_head[i]) notes.push_back(failing[i]->message);
  }
  std::vector<Finding> findings;
  findings.reserve(heads.size());
  for (const size_t head : heads) {
    const CheckTableFailure& line = *failing[head];
    Finding finding;
    finding.message = line.message;
    finding.result = line.result;
    finding.code = CodeName(line.result);
    finding.notes = notes;
    finding.help = HintForReport(line.format, line.message);
    finding.also = also;
    Locate(table, lookup != nullptr ? lookup->element : ElementOf(line), &finding);
    findings.push_back(std::move(finding));
  }
  return findings;
}

Finding FindingPlaces::OfTable(const std::string& table, const std::string& message,
                               int result) const {
  Finding finding;
  finding.message = message;
  finding.result = result;
  finding.code = CodeName(result);
  Locate(table, CheckTableElement{}, &finding);
  return finding;
}

void FindingPlaces::Locate(const std::string& table, const CheckTableElement& element,
                           Finding* finding) const {
  LPZEMMETA table_meta = zem_get_meta_by_name(m_metalib, table.c_str());
  LPZEMMETA meta = element.handle != nullptr ? static_cast<LPZEMMETA>(element.handle) : table_meta;
  ZemSourcePlaces::Attribute attribute = ZemSourcePlaces::PRIMARY_KEY;
  switch (element.kind) {
    case CheckTableElementKind::kEntry:
    case CheckTableElementKind::kEntryAttributes:
      LocateEntry(table_meta, static_cast<LPZEMMETAENTRY>(element.handle),
                  element.kind == CheckTableElementKind::kEntryAttributes, finding);
      return;
    case CheckTableElementKind::kIndex: {
      LPZEMMETAINDEX index = static_cast<LPZEMMETAINDEX>(element.handle);
      finding->element = FindingElement::kIndex;
      if (table_meta != nullptr && index != nullptr) {
        finding->name = zem_index_name(table_meta, index);
      }
      SetPlace(m_places.Of(index), finding);
      return;
    }
    case CheckTableElementKind::kTable:
      finding->element = FindingElement::kStruct;
      finding->name = meta != nullptr ? zem_get_meta_name(meta) : table;
      SetPlace(m_places.Of(meta), finding);
      return;
    case CheckTableElementKind::kSplitTableKey:
      attribute = ZemSourcePlaces::SPLIT_TABLE_KEY;
      break;
    case CheckTableElementKind::kTableAttributes:
      attribute = ZemSourcePlaces::CUSTOM_ATTR2;
      break;
    case CheckTableElementKind::kPrimaryKey:
      break;
  }
  static const char* const kAttributeNames[] = {"primarykey", "splittablekey", "customattr2"};
  const ZemPlace place = m_places.OfAttribute(meta, attribute);
  // An attribute the struct does not have: the struct itself is at fault.
  if (place.line > 0) {
    finding->element = FindingElement::kAttribute;
    finding->name = kAttributeNames[attribute];
    SetPlace(place, finding);
    return;
  }
  finding->element = FindingElement::kStruct;
  finding->name = meta != nullptr ? zem_get_meta_name(meta) : table;
  SetPlace(m_places.Of(meta), finding);
}

void FindingPlaces::LocateEntry(LPZEMMETA table_meta, LPZEMMETAENTRY entry, bool attribute,
                                Finding* finding) const {
  finding->element = FindingElement::kEntry;
  if (entry == nullptr) {
    SetPlace(m_places.Of(table_meta), finding);
    return;
  }
  finding->name = zem_get_entry_name(entry);
  // A field of a struct the table holds is named by that struct too.
  LPZEMMETA owner = OwnerOf(entry);
  if (owner != nullptr && owner != table_meta) {
    finding->name = std::string(zem_get_meta_name(owner)) + "." + finding->name;
  }
  const ZemPlace attribute_place =
      attribute ? m_places.OfAttribute(entry, ZemSourcePlaces::CUSTOM_ATTR2) : ZemPlace();
  if (attribute_place.line > 0) {
    finding->element = FindingElement::kAttribute;
    finding->name += ".customattr2";
    SetPlace(attribute_place, finding);
    return;
  }
  SetPlace(m_places.Of(entry), finding);
}

LPZEMMETA FindingPlaces::OwnerOf(LPZEMMETAENTRY entry) const {
  std::call_once(m_owners_built, [this]() {
    m_owners = std::make_unique<std::unordered_map<const void*, LPZEMMETA>>();
    for (int m = 0; m < zem_get_meta_num(m_metalib); ++m) {
      LPZEMMETA meta = zem_get_meta_by_index(m_metalib, m);
      for (int i = 0; i < zem_get_entry_num(meta); ++i) {
        m_owners->emplace(zem_get_entry_by_index(meta, i), meta);
      }
    }
  });
  const auto found = m_owners->find(entry);
  return found != m_owners->end() ? found->second : nullptr;
}
