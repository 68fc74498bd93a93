// The count/refer checks walk shared struct types once, yet give exactly what a walk of every path
// gives: the same result, report, log lines and error buffer. The walk of every path is kept here
// as the definition, and both are run on diamonds, fan-out, a struct reached at several depths,
// names that end other names or heading words, names holding blanks, the depth limit, cycles, and
// many random models.
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <velmora/check_table.h>
#include <velmora/zem.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;

const char* const kReferHeading = "these entry have 'count' without 'refer' : ";
const char* const kNewHeading = "these new entry have 'count' without 'refer' : ";
constexpr int kMaxDepth = 64;

// What one count/refer check gave.
struct Outcome {
  int result = 0;
  std::string report;
  std::vector<std::pair<std::string, std::string>> log;  // text, function of each error line
  std::string message;                                    // the error buffer afterwards

  bool operator==(const Outcome& other) const {
    return result == other.result && report == other.report && log == other.log &&
           message == other.message;
  }
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << "result " << outcome.result << ", report '" << outcome.report << "', "
       << outcome.log.size() << " log lines, message '" << outcome.message << "'";
}

// The walk of every path, as the checks were first written. It gives up (exhausted) after
// `budget` calls, so that a model whose paths are too many to walk is skipped.
class ReferenceWalk {
 public:
  explicit ReferenceWalk(std::string report, long budget = 5000)
      : m_report(std::move(report)), m_budget(budget) {}

  Outcome CountWithRefer(LPZEMMETA table_meta) {
    Table(table_meta, 0);
    return Finish(table_meta == nullptr, ERROR_COUNT_WITHNOT_REFER);
  }
  Outcome NewEntryCountWithRefer(LPZEMMETA old_meta, LPZEMMETA new_meta) {
    Change(old_meta, new_meta, 0);
    return Finish(old_meta == nullptr || new_meta == nullptr, ERROR_COUNT_WITHNOT_REFER);
  }
  bool exhausted() const { return m_calls > m_budget; }

 private:
  Outcome Finish(bool null_argument, int failure) {
    Outcome outcome;
    outcome.result = null_argument ? -1 : (m_report.empty() ? 0 : failure);
    outcome.report = m_report;
    outcome.log = m_log;
    outcome.message = m_log.empty() ? "" : m_log.back().first;
    return outcome;
  }
  void Null(const char* text, const char* function) { m_log.emplace_back(text, function); }
  void Add(const char* heading, const char* name) {
    if (m_report.empty()) m_report = heading;
    const std::string item = std::string(name) + " ";
    if (m_report.find(item) == std::string::npos) m_report += item;
  }
  static LPZEMMETA TypeMeta(LPZEMMETA owner, LPZEMMETAENTRY entry) {
    return zem_get_entry_type_meta(zem_meta_metalib(owner), entry);
  }
  static bool IsArrayWithoutRefer(LPZEMMETAENTRY entry) {
    return zem_get_entry_count(entry) > 1 && zem_get_entry_refer(entry) == nullptr;
  }

  void Table(LPZEMMETA meta, int depth) {
    if (++m_calls > m_budget) return;
    if (meta == nullptr) return Null("table_meta is NULL!", "CheckWhetherCountWithRefer");
    for (int i = 0; i < zem_get_entry_num(meta); ++i) {
      LPZEMMETAENTRY entry = zem_get_entry_by_index(meta, i);
      if (entry == nullptr) continue;
      if (IsArrayWithoutRefer(entry)) Add(kReferHeading, zem_get_entry_name(entry));
      if (zem_get_entry_type(entry) == ZEM_TYPE_STRUCT && depth + 1 < kMaxDepth) {
        Table(TypeMeta(meta, entry), depth + 1);
      }
    }
  }

  void Change(LPZEMMETA old_meta, LPZEMMETA new_meta, int depth) {
    const char* const kFunction = "CheckWhetherNewEntryCountWithRefer";
    if (++m_calls > m_budget) return;
    if (old_meta == nullptr) return Null("CheckWhetherNewEntryCountWithRefer:old_meta is NULL!", kFunction);
    if (new_meta == nullptr) return Null("CheckWhetherNewEntryCountWithRefer:new_meta is NULL!", kFunction);
    const int old_num = zem_get_entry_num(old_meta);
    for (int n = 0; n < zem_get_entry_num(new_meta); ++n) {
      LPZEMMETAENTRY entry = zem_get_entry_by_index(new_meta, n);
      if (entry == nullptr) continue;
      bool found = false;
      bool unchanged = false;
      for (int o = 0; o < old_num && !unchanged; ++o) {
        LPZEMMETAENTRY old = zem_get_entry_by_index(old_meta, o);
        if (old == nullptr || std::string(zem_get_entry_name(old)) != zem_get_entry_name(entry)) continue;
        found = true;
        unchanged = zem_get_entry_type(old) == zem_get_entry_type(entry) &&
                    zem_get_entry_count(old) == zem_get_entry_count(entry) &&
                    zem_get_entry_unitsize(old) == zem_get_entry_unitsize(entry);
      }
      if (unchanged) continue;
      const bool is_struct = zem_get_entry_type(entry) == ZEM_TYPE_STRUCT;
      if (found) {
        if (is_struct && depth + 1 < kMaxDepth) {
          Change(TypeMeta(old_meta, zem_get_entry_by_index(old_meta, old_num - 1)),
                 TypeMeta(new_meta, entry), depth + 1);
        }
        continue;
      }
      if (IsArrayWithoutRefer(entry)) Add(kNewHeading, zem_get_entry_name(entry));
      if (is_struct && depth + 1 < kMaxDepth) Table(TypeMeta(new_meta, entry), depth + 1);
    }
  }

  std::string m_report;
  std::vector<std::pair<std::string, std::string>> m_log;
  long m_budget;
  long m_calls = 0;
};

Outcome Checked(const std::function<int(CheckTable&, std::string&, LPWLOGCATEGORYINST)>& check,
                std::string report) {
  CheckTable checker;
  LogCapture log;
  Outcome outcome;
  outcome.result = check(checker, report, log.handle());
  outcome.report = report;
  for (const WlogRecord& line : log.lines()) {
    EXPECT_EQ(line.priority, 300);
    outcome.log.emplace_back(line.text, line.function);
  }
  outcome.message = checker.GetErrType();
  return outcome;
}

Outcome CountWithRefer(LPZEMMETA meta, const std::string& report = "") {
  return Checked([meta](CheckTable& checker, std::string& result, LPWLOGCATEGORYINST log) {
    return checker.CheckWhetherCountWithRefer(meta, result, log);
  }, report);
}

Outcome NewEntryCountWithRefer(LPZEMMETA old_meta, LPZEMMETA new_meta,
                               const std::string& report = "") {
  return Checked([old_meta, new_meta](CheckTable& checker, std::string& result,
                                      LPWLOGCATEGORYINST log) {
    return checker.CheckWhetherNewEntryCountWithRefer(old_meta, new_meta, result, log);
  }, report);
}

Outcome ReferenceCountWithRefer(LPZEMMETA meta, const std::string& report = "") {
  ReferenceWalk walk(report, 50000000);
  return walk.CountWithRefer(meta);
}

Outcome ReferenceNewEntryCountWithRefer(LPZEMMETA old_meta, LPZEMMETA new_meta,
                                        const std::string& report = "") {
  ReferenceWalk walk(report, 50000000);
  return walk.NewEntryCountWithRefer(old_meta, new_meta);
}

ZemEntryDef Array(const std::string& name, int count = 2) {
  return Field(name, ZEM_TYPE_INT32, count);
}

ZemEntryDef Struct(const std::string& name, const std::string& type_meta, int count = 1) {
  ZemEntryDef entry = Field(name, ZEM_TYPE_STRUCT, count);
  entry.type_meta = type_meta;
  return entry;
}

// A struct entry whose type meta is missing: the walks report a NULL meta there.
ZemEntryDef Hole(const std::string& name) { return Field(name, ZEM_TYPE_STRUCT); }

LPZEMMETA MetaOf(const ZemMetaLibPtr& lib, const std::string& name) {
  return zem_get_meta_by_name(lib.get(), name.c_str());
}

// Levels s0 .. s<levels-1>; level i holds its own array a<i> and then `width` entries of level
// i-1 (each of struct_unit_size bytes), so that a changed level is compared with the old level
// below it.
std::vector<ZemMetaDef> SharedLevels(int levels, int width, bool hole_at_bottom = false,
                                     uint32_t struct_unit_size = 8) {
  std::vector<ZemMetaDef> metas;
  for (int i = 0; i < levels; ++i) {
    std::vector<ZemEntryDef> entries = {Array("a" + std::to_string(i))};
    if (i == 0 && hole_at_bottom) entries.push_back(Hole("hole"));
    for (int w = 0; w < width && i > 0; ++w) {
      entries.push_back(Struct("e" + std::to_string(w), "s" + std::to_string(i - 1)));
      entries.back().unit_size = struct_unit_size;
    }
    metas.push_back(Table("s" + std::to_string(i), entries));
  }
  return metas;
}

TEST(CountReferWalk, DiamondListsSharedMembersOnce) {
  auto lib = BuildLib({Table("s", {Array("x"), Array("ax")}),
                       Table("t", {Struct("l", "s"), Array("y"), Struct("r", "s")})});
  const Outcome outcome = CountWithRefer(MetaOf(lib, "t"));
  // y is the tail of the heading's "entry": listed already.
  EXPECT_EQ(outcome.report, std::string(kReferHeading) + "x ax ");
  EXPECT_EQ(outcome, ReferenceCountWithRefer(MetaOf(lib, "t")));
}

TEST(CountReferWalk, DiamondWithANullMetaLogsItOnEveryPath) {
  auto lib = BuildLib({Table("s", {Array("x"), Hole("h")}),
                       Table("t", {Struct("l", "s"), Struct("r", "s"), Struct("m", "s")})});
  const Outcome outcome = CountWithRefer(MetaOf(lib, "t"));
  EXPECT_EQ(outcome.result, -36);
  EXPECT_THAT(outcome.log, ElementsAre(std::make_pair("table_meta is NULL!", "CheckWhetherCountWithRefer"),
                                       std::make_pair("table_meta is NULL!", "CheckWhetherCountWithRefer"),
                                       std::make_pair("table_meta is NULL!", "CheckWhetherCountWithRefer")));
  EXPECT_EQ(outcome, ReferenceCountWithRefer(MetaOf(lib, "t")));
}

TEST(CountReferWalk, FanOutOfOneStructType) {
  std::vector<ZemEntryDef> entries;
  for (int i = 0; i < 2000; ++i) entries.push_back(Struct("f" + std::to_string(i), "s"));
  entries.push_back(Array("last"));
  auto lib = BuildLib({Table("s", {Array("x"), Array("y", 0)}), Table("t", entries)});
  const Outcome outcome = CountWithRefer(MetaOf(lib, "t"));
  EXPECT_EQ(outcome.report, std::string(kReferHeading) + "x last ");
  EXPECT_EQ(outcome, ReferenceCountWithRefer(MetaOf(lib, "t")));
}

TEST(CountReferWalk, StructReachedFirstDeepThenShallow) {
  // s is met at depth 2 through m, then at depth 1; with the chain under it reaching the depth
  // limit, the shallow visit reaches arrays the deep one could not.
  std::vector<ZemMetaDef> metas;
  for (int i = 69; i >= 0; --i) {
    std::vector<ZemEntryDef> entries = {Array("c" + std::to_string(i))};
    if (i < 69) entries.push_back(Struct("next", "c" + std::to_string(i + 1)));
    metas.push_back(Table("c" + std::to_string(i), entries));
  }
  metas.push_back(Table("m", {Struct("deep", "c0")}));
  metas.push_back(Table("t", {Struct("via", "m"), Struct("direct", "c0")}));
  auto lib = BuildLib(metas);
  const Outcome outcome = CountWithRefer(MetaOf(lib, "t"));
  std::string expected = kReferHeading;
  for (int i = 0; i < 63; ++i) expected += "c" + std::to_string(i) + " ";
  EXPECT_EQ(outcome.report, expected);
  EXPECT_EQ(outcome, ReferenceCountWithRefer(MetaOf(lib, "t")));
}

TEST(CountReferWalk, NamesEndingOthersAndHoldingBlanks) {
  auto lib = BuildLib({Table("s", {Array("a b"), Array("b"), Array("ry"), Array("xa")}),
                       Table("t", {Array("xa b"), Struct("p", "s"), Array("a"), Array(" "),
                                   Array(""), Struct("q", "s"), Array("b a")})});
  const Outcome outcome = CountWithRefer(MetaOf(lib, "t"));
  EXPECT_EQ(outcome, ReferenceCountWithRefer(MetaOf(lib, "t")));
  EXPECT_EQ(outcome, ReferenceCountWithRefer(MetaOf(lib, "t")));
  const std::string earlier = "x a  b a'";
  EXPECT_EQ(CountWithRefer(MetaOf(lib, "t"), earlier),
            ReferenceCountWithRefer(MetaOf(lib, "t"), earlier));
}

// A level's array before the levels below it.
std::string ListedLevels(int levels) {
  std::string expected = kReferHeading;
  for (int i = levels - 1; i >= 0; --i) expected += "a" + std::to_string(i) + " ";
  return expected;
}

TEST(CountReferWalk, SixtyThreeLevelsOfTwoEntriesEachEnd) {
  auto lib = BuildLib(SharedLevels(63, 2));
  const Outcome outcome = CountWithRefer(MetaOf(lib, "s62"));
  EXPECT_EQ(outcome.result, -36);
  EXPECT_EQ(outcome.report, ListedLevels(63));
  EXPECT_TRUE(outcome.log.empty());
  EXPECT_EQ(outcome.message, "");
}

TEST(CountReferWalk, SixtyThreeLevelsOfTenEntriesEachEnd) {
  auto lib = BuildLib(SharedLevels(63, 10));
  const Outcome outcome = CountWithRefer(MetaOf(lib, "s62"));
  EXPECT_EQ(outcome.result, -36);
  EXPECT_EQ(outcome.report, ListedLevels(63));
  EXPECT_TRUE(outcome.log.empty());
}

TEST(CountReferWalk, SharedLevelsMatchTheWalkOfEveryPath) {
  for (int levels = 1; levels <= 9; ++levels) {
    for (bool hole : {false, true}) {
      auto lib = BuildLib(SharedLevels(levels, 3, hole));
      const std::string top = "s" + std::to_string(levels - 1);
      EXPECT_EQ(CountWithRefer(MetaOf(lib, top)), ReferenceCountWithRefer(MetaOf(lib, top)))
          << levels << " levels";
    }
  }
}

TEST(CountReferWalk, CycleThroughTwoEntriesEndsAtTheDepthLimit) {
  // Every path of this struct is 64 levels long and there are 2^63 of them; each level lists
  // nothing new after the first.
  auto lib = BuildLib({Table("node", {Array("arr"), Struct("l", "node"), Struct("r", "node")})});
  const Outcome outcome = CountWithRefer(MetaOf(lib, "node"));
  EXPECT_EQ(outcome.result, -36);
  EXPECT_EQ(outcome.report, std::string(kReferHeading) + "arr ");
  EXPECT_TRUE(outcome.log.empty());
}

TEST(CountReferWalk, CycleOfOneEntryMatchesTheWalkOfEveryPath) {
  auto lib = BuildLib({Table("b", {Array("bb"), Struct("back", "a")}),
                       Table("a", {Array("aa"), Struct("to", "b"), Hole("h")})});
  EXPECT_EQ(CountWithRefer(MetaOf(lib, "a")), ReferenceCountWithRefer(MetaOf(lib, "a")));
  EXPECT_EQ(CountWithRefer(MetaOf(lib, "a")).log.size(), 32u);
}

// A change of every level of SharedLevels: each new level grows, so every struct entry changes
// and is compared member by member, on 2^levels paths.
TEST(CountReferWalk, ChangedSharedLevelsMatchTheWalkOfEveryPath) {
  for (int levels = 1; levels <= 12; ++levels) {
    std::vector<ZemMetaDef> old_metas = SharedLevels(levels, 2);
    std::vector<ZemMetaDef> new_metas = SharedLevels(levels, 2, levels % 3 == 0, 16);
    for (ZemMetaDef& meta : new_metas) meta.entries.push_back(Array("added_" + meta.name, 3));
    auto old_lib = BuildLib(old_metas);
    auto new_lib = BuildLib(new_metas);
    const std::string top = "s" + std::to_string(levels - 1);
    EXPECT_EQ(NewEntryCountWithRefer(MetaOf(old_lib, top), MetaOf(new_lib, top)),
              ReferenceNewEntryCountWithRefer(MetaOf(old_lib, top), MetaOf(new_lib, top)))
        << levels << " levels";
  }
}

TEST(CountReferWalk, ChangeOfSixtyThreeSharedLevelsEnds) {
  std::vector<ZemMetaDef> new_metas = SharedLevels(63, 2, false, 16);
  for (ZemMetaDef& meta : new_metas) meta.entries.push_back(Array("added_" + meta.name, 3));
  auto old_lib = BuildLib(SharedLevels(63, 2));
  auto new_lib = BuildLib(new_metas);
  const Outcome outcome = NewEntryCountWithRefer(MetaOf(old_lib, "s62"), MetaOf(new_lib, "s62"));
  EXPECT_EQ(outcome.result, -36);
  for (int i = 0; i < 63; ++i) {
    EXPECT_NE(outcome.report.find(" added_s" + std::to_string(i) + " "), std::string::npos) << i;
  }
  EXPECT_TRUE(outcome.log.empty());
}

TEST(CountReferWalk, SchemaComparedWithItselfMatchesTheWalkOfEveryPath) {
  auto lib = BuildLib(SharedLevels(10, 3, true));
  EXPECT_EQ(NewEntryCountWithRefer(MetaOf(lib, "s9"), MetaOf(lib, "s9")),
            ReferenceNewEntryCountWithRefer(MetaOf(lib, "s9"), MetaOf(lib, "s9")));
}

// Each name of a long report is looked up in the report: a search of the report for each would
// take the square of its length.
TEST(CountReferWalk, TwentyThousandArraysAreListedInOrder) {
  std::vector<ZemEntryDef> entries;
  std::string expected = kReferHeading;
  for (int i = 0; i < 20000; ++i) {
    entries.push_back(Array("array_" + std::to_string(i)));
    expected += "array_" + std::to_string(i) + " ";
  }
  entries.push_back(Array("rray_1"));  // the tail of a listed name
  auto lib = BuildLib({Table("t", entries)});
  const Outcome outcome = CountWithRefer(MetaOf(lib, "t"));
  EXPECT_EQ(outcome.result, -36);
  EXPECT_EQ(outcome.report, expected);
}

TEST(CountReferWalk, TableOfTwentyThousandEntriesComparedWithItselfAddsNothing) {
  std::vector<ZemEntryDef> entries;
  for (int i = 0; i < 20000; ++i) entries.push_back(Array("array_" + std::to_string(i)));
  auto lib = BuildLib({Table("t", entries)});
  entries.push_back(Array("added"));
  auto grown = BuildLib({Table("t", entries)});
  EXPECT_EQ(NewEntryCountWithRefer(MetaOf(lib, "t"), MetaOf(lib, "t")).report, "");
  EXPECT_EQ(NewEntryCountWithRefer(MetaOf(lib, "t"), MetaOf(grown, "t")).report,
            std::string(kNewHeading) + "added ");
}

// ---- Random models -------------------------------------------------------------------------

// Names that end one another and heading words, hold blanks, or are empty.
const char* const kNames[] = {"a", "b", "ab", "ba", "bab", "a b", "b a", " ", "", "entry",
                              "ry", "count'", "refer'", "new", "x y", "y", "se", "these"};

ZemEntryDef RandomEntry(std::mt19937& rng, int meta, int metas, bool cyclic,
                        const std::vector<ZemEntryDef>& earlier) {
  ZemEntryDef entry = Field(kNames[rng() % (sizeof(kNames) / sizeof(kNames[0]))]);
  const int counts[] = {0, 1, 1, 2, 3};
  entry.count = counts[rng() % 5];
  if (!earlier.empty() && rng() % 3 == 0) entry.refer = earlier[rng() % earlier.size()].name;
  const unsigned kind = rng() % 10;
  if (kind < 4 && (meta > 0 || cyclic)) {
    entry.type = ZEM_TYPE_STRUCT;
    entry.type_meta = "m" + std::to_string(rng() % (cyclic ? metas : meta));
    entry.unit_size = rng() % 3;
  } else if (kind == 4) {
    entry.type = ZEM_TYPE_STRUCT;  // no type meta: a NULL meta for the walks
  } else if (kind == 5) {
    entry.null_slot = true;
  } else if (kind == 6) {
    entry.type = ZEM_TYPE_STRING;
  }
  return entry;
}

ZemMetaLibDef RandomLib(std::mt19937& rng, bool cyclic) {
  ZemMetaLibDef def;
  const int metas = 1 + static_cast<int>(rng() % 7);
  for (int m = 0; m < metas; ++m) {
    ZemMetaDef meta;
    meta.name = "m" + std::to_string(m);
    const int entries = static_cast<int>(rng() % 7);
    for (int e = 0; e < entries; ++e) {
      meta.entries.push_back(RandomEntry(rng, m, metas, cyclic, meta.entries));
    }
    def.metas.push_back(std::move(meta));
  }
  return def;
}

// The same library with some entries changed in count or unit size, some renamed, some added.
ZemMetaLibDef Changed(std::mt19937& rng, ZemMetaLibDef def, bool cyclic) {
  const int metas = static_cast<int>(def.metas.size());
  for (int m = 0; m < metas; ++m) {
    std::vector<ZemEntryDef>& entries = def.metas[static_cast<size_t>(m)].entries;
    for (ZemEntryDef& entry : entries) {
      const unsigned change = rng() % 8;
      if (change == 0) entry.count = entry.count == 3 ? 2 : 3;
      if (change == 1) entry.unit_size = 7;
      if (change == 2) entry.name = kNames[rng() % (sizeof(kNames) / sizeof(kNames[0]))];
    }
    if (rng() % 2 == 0) entries.push_back(RandomEntry(rng, m, metas, cyclic, {}));
  }
  return def;
}

TEST(CountReferWalk, RandomModelsMatchTheWalkOfEveryPath) {
  std::mt19937 rng(7);
  int compared = 0;
  for (int round = 0; round < 600; ++round) {
    const bool cyclic = round % 3 == 2;
    ZemMetaLibDef def = RandomLib(rng, cyclic);
    std::string error;
    ZemMetaLibPtr lib = ZemBuildMetaLib(def, &error);
    if (!lib) continue;  // a refer naming a struct entry's name twice, ...
    const std::string earlier = round % 4 == 0 ? "a b ab" : "";
    for (int m = 0; m < zem_get_meta_num(lib.get()); ++m) {
      LPZEMMETA meta = zem_get_meta_by_index(lib.get(), m);
      ReferenceWalk reference(earlier);
      const Outcome expected = reference.CountWithRefer(meta);
      if (reference.exhausted()) continue;
      ASSERT_EQ(CountWithRefer(meta, earlier), expected) << "round " << round << " meta " << m;
      ++compared;
    }
  }
  EXPECT_GT(compared, 1500);
}

TEST(CountReferWalk, RandomChangesMatchTheWalkOfEveryPath) {
  std::mt19937 rng(11);
  int compared = 0;
  for (int round = 0; round < 600; ++round) {
    const bool cyclic = round % 3 == 2;
    const ZemMetaLibDef old_def = RandomLib(rng, cyclic);
    const ZemMetaLibDef new_def = Changed(rng, old_def, cyclic);
    std::string error;
    ZemMetaLibPtr old_lib = ZemBuildMetaLib(old_def, &error);
    ZemMetaLibPtr new_lib = ZemBuildMetaLib(new_def, &error);
    if (!old_lib || !new_lib) continue;
    const std::string earlier = round % 4 == 0 ? "x " : "";
    for (int m = 0; m < zem_get_meta_num(new_lib.get()); ++m) {
      LPZEMMETA old_meta = zem_get_meta_by_index(old_lib.get(), m);
      LPZEMMETA new_meta = zem_get_meta_by_index(new_lib.get(), m);
      ReferenceWalk reference(earlier);
      const Outcome expected = reference.NewEntryCountWithRefer(old_meta, new_meta);
      if (reference.exhausted()) continue;
      ASSERT_EQ(NewEntryCountWithRefer(old_meta, new_meta, earlier), expected)
          << "round " << round << " meta " << m;
      ++compared;
    }
  }
  EXPECT_GT(compared, 1500);
}

}  // namespace
