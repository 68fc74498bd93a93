// The repeated field name check and the index check find their first failure without comparing
// every pair. Here each is run on many random tables against the pairwise walk it replaces, kept
// below as the reference: same result, same error text, same log lines in the same order.
#include <strings.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

// What a check answered: its result, its error text and every log line (priority, function, text).
struct Outcome {
  int result = 0;
  std::string message;
  std::vector<std::string> log;
};

std::string LogLine(int priority, const std::string& function, const std::string& text) {
  return std::to_string(priority) + " " + function + ": " + text;
}

Outcome Observed(int result, const CheckTable& checker, const LogCapture& log) {
  Outcome outcome{result, checker.GetErrType(), {}};
  for (const WlogRecord& line : log.lines()) {
    outcome.log.push_back(LogLine(line.priority, line.function, line.text));
  }
  return outcome;
}

// Ends the reference outcome with an error line.
Outcome Fails(Outcome outcome, int result, const std::string& function, const std::string& text) {
  outcome.result = result;
  outcome.message = text;
  outcome.log.push_back(LogLine(WLOG_PRIORITY_ERROR, function, text));
  return outcome;
}

// Field names drawn from a small alphabet so that repeats are frequent: letters in both cases,
// a digit, '_' and bytes above 0x7f; now and then an empty name.
std::string RandomName(std::mt19937& random) {
  static const char kBytes[] = {'a', 'A', 'b', 'B', 'z', 'Z', '1', '_', '\xc3', '\xa9', '\xe9',
                                '\xc9'};
  const int length = static_cast<int>(random() % 4);
  std::string name;
  for (int k = 0; k < length; ++k) name += kBytes[random() % sizeof(kBytes)];
  return name;
}

// The pairwise walk over field names, row by row.
Outcome PairwiseRepeatedNames(const std::vector<ZemEntryDef>& entries, const std::string& table) {
  const char* const function = "CheckRepeatedFieldName";
  Outcome outcome;
  auto empty_slot = [&](size_t slot) {
    return Fails(outcome, CHECK_TABLE_ERROR_INVALID_PARAMETER, function,
                 "entry " + std::to_string(slot) + " is null! Meta name: " + table);
  };
  for (size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].null_slot) return empty_slot(i);
    const std::string& name = entries[i].name;
    outcome.log.push_back(LogLine(WLOG_PRIORITY_INFO, function,
                                  "length of entry name " + name + " is " +
                                      std::to_string(name.size())));
    if (name.empty()) return Fails(outcome, ERROR_FIELD_NAME_EMPTY, function, "field name is empty.");
    for (size_t j = i + 1; j < entries.size(); ++j) {
      if (entries[j].null_slot) return empty_slot(j);
      const std::string& other = entries[j].name;
      if (other.size() == name.size() && strncasecmp(name.c_str(), other.c_str(), name.size()) == 0) {
        return Fails(outcome, ERROR_REPEATED_FIELD_NAME, function,
                     "using strncasecmp, the field name is repeated. field_name:" + name +
                         ", entry_index:" + std::to_string(i) + ", cmp_field_name:" + other +
                         ", cmp_entry_index:" + std::to_string(j));
      }
    }
  }
  return outcome;
}

void ExpectSame(const Outcome& actual, const Outcome& expected, int round) {
  EXPECT_EQ(actual.result, expected.result) << "round " << round;
  EXPECT_EQ(actual.message, expected.message) << "round " << round;
  EXPECT_EQ(actual.log, expected.log) << "round " << round;
}

TEST(PairwiseEquivalenceTest, RepeatedFieldNamesMatchThePairwiseWalk) {
  std::mt19937 random(20261123);
  int failures_seen = 0;
  for (int round = 0; round < 3000; ++round) {
    std::vector<ZemEntryDef> entries;
    const int count = 1 + static_cast<int>(random() % 12);
    for (int e = 0; e < count; ++e) {
      ZemEntryDef entry = Field(RandomName(random));
      entry.null_slot = random() % 40 == 0;
      entries.push_back(entry);
    }
    const Outcome expected = PairwiseRepeatedNames(entries, "t");
    failures_seen += expected.result != CHECK_TABLE_SUCCESS ? 1 : 0;
    ZemMetaLibPtr lib = BuildLib({Table("t", entries)});
    CheckTable checker;
    LogCapture log;
    const int result = CheckTableProbe::CheckRepeatedFieldName(
        checker, zem_get_meta_by_name(lib.get(), "t"), log.handle());
    ExpectSame(Observed(result, checker, log), expected, round);
  }
  // Both answers occur often: the comparison is not of trivial cases only.
  EXPECT_GT(failures_seen, 1000);
  EXPECT_LT(failures_seen, 2900);
}

TEST(PairwiseEquivalenceTest, NamesDifferingOnlyInCaseOrInBytesAboveAscii) {
  // 'e' with an acute accent in UTF-8 (c3 a9) and upper-case (c3 89): not the same name to a
  // byte-wise comparison that folds only ASCII letters.
  const std::vector<ZemEntryDef> entries = {Field("caf\xc3\xa9"), Field("CAF\xc3\x89"),
                                            Field("Key"), Field("x"), Field("kEY")};
  ZemMetaLibPtr lib = BuildLib({Table("t", entries)});
  CheckTable checker;
  LogCapture log;
  const int result = CheckTableProbe::CheckRepeatedFieldName(
      checker, zem_get_meta_by_name(lib.get(), "t"), log.handle());
  const Outcome expected = PairwiseRepeatedNames(entries, "t");
  EXPECT_EQ(expected.message,
            "using strncasecmp, the field name is repeated. field_name:Key, entry_index:2, "
            "cmp_field_name:kEY, cmp_entry_index:4");
  EXPECT_EQ(expected.log.size(), 4U);
  ExpectSame(Observed(result, checker, log), expected, 0);
}

// The pairwise index walk: each index's columns in order (repeated later, then not a key member),
// then every pair of indexes.
Outcome PairwiseIndexes(const ZemMetaDef& def, LPZEMMETA meta, CheckTable& checker,
                        LogCapture& log) {
  const char* const function = "CheckIndex";
  for (int i = 0; i < meta->iIndexesNum; ++i) {
    const std::vector<std::string>& columns = def.indexes[static_cast<size_t>(i)].columns;
    for (size_t j = 0; j < columns.size(); ++j) {
      for (size_t later = j + 1; later < columns.size(); ++later) {
        if (columns[j] == columns[later]) {
          return Fails(Observed(0, checker, log), ERROR_INDEX_FIELD, function,
                       "The index field has repeated field '" + columns[j] + "', table:'t'");
        }
      }
      if (CheckTableProbe::CheckWhetherPrimaryKey(checker, columns[j].c_str(), meta,
                                                  log.handle()) != CHECK_TABLE_SUCCESS) {
        return Fails(Observed(0, checker, log), ERROR_INDEX_FIELD, function,
                     "The index field should be primarykey field! index:'" + columns[j] +
                         "', table:'t'");
      }
    }
  }
  for (int i = 0; i < meta->iIndexesNum; ++i) {
    for (int k = i + 1; k < meta->iIndexesNum; ++k) {
      if (CheckTableProbe::CompareIndexColumn(checker, zem_meta_index(meta, i),
                                              zem_meta_index(meta, k), meta,
                                              log.handle()) != CHECK_TABLE_SUCCESS) {
        return Fails(Observed(0, checker, log), ERROR_INDEX_FIELD, function,
                     "The index field can't be repeated!  table:'t'");
      }
    }
  }
  Outcome outcome = Observed(CHECK_TABLE_SUCCESS, checker, log);
  outcome.log.push_back(LogLine(WLOG_PRIORITY_INFO, function, "CheckIndex Successed! table:'t'"));
  return outcome;
}

// A table of fields a to f, keyed by a to d (or by nothing), with random indexes over a to f.
ZemMetaDef RandomIndexedTable(std::mt19937& random) {
  const std::vector<std::string> fields = {"a", "b", "c", "d", "e", "f"};
  std::vector<ZemEntryDef> entries;
  for (const std::string& field : fields) entries.push_back(Field(field));
  ZemMetaDef def = Table("t", entries);
  if (random() % 10 != 0) def.primary_key = {"a", "b", "c", "d"};
  const int indexes = 1 + static_cast<int>(random() % 6);
  for (int i = 0; i < indexes; ++i) {
    std::vector<std::string> columns;
    const int count = static_cast<int>(random() % 4);
    for (int c = 0; c < count; ++c) {
      // Mostly key members, so that the walk often reaches the comparison of indexes.
      columns.push_back(fields[random() % 10 < 9 ? random() % 4 : 4 + random() % 2]);
    }
    def.indexes.push_back(Index("i" + std::to_string(i), columns));
  }
  return def;
}

TEST(PairwiseEquivalenceTest, IndexesMatchThePairwiseWalk) {
  std::mt19937 random(11);
  int repeated_indexes = 0;
  for (int round = 0; round < 3000; ++round) {
    const ZemMetaDef def = RandomIndexedTable(random);
    ZemMetaLibPtr lib = BuildLib({def});
    LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "t");
    CheckTable reference_checker;
    LogCapture reference_log;
    const Outcome expected = PairwiseIndexes(def, meta, reference_checker, reference_log);
    if (expected.message == "The index field can't be repeated!  table:'t'") ++repeated_indexes;
    CheckTable checker;
    LogCapture log;
    const int result = CheckTableProbe::CheckIndex(checker, meta, 0, log.handle());
    ExpectSame(Observed(result, checker, log), expected, round);
  }
  EXPECT_GT(repeated_indexes, 200);
}

}  // namespace
