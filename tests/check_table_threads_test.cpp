// Checking from several threads at once, the way the checker's header allows it: one CheckTable
// per thread, one shared loaded metalib, one shared log category whose sink takes concurrent
// writers. Every thread must reach exactly the verdicts, messages and log lines of a run on one
// thread. The tsan preset runs these tests under ThreadSanitizer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <velmora/check_table.h>
#include <velmora/wlog.h>
#include <velmora/zem_xml_loader.h>

namespace {

constexpr int kThreads = 4;
constexpr int kCopies = 25;

// One table of each shape per copy, "@" standing for the copy's number: tables that pass, and
// tables that fail in each of the three checks.
const char* const kTableShapes[] = {
    R"(<struct name="player@" primarykey="uid, zone" splittablekey="uid"
               customattr2="TableType=GENERIC">
         <entry name="uid" type="uint64"/>
         <entry name="zone" type="uint16"/>
         <entry name="nick" type="string" size="64"/>
         <entry name="item_count" type="uint16"/>
         <entry name="items" type="item" count="MAX_ITEMS" refer="item_count"/>
         <index name="by_player" column="uid, zone"/>
       </struct>)",
    R"(<struct name="mail@" primarykey="uid"
               customattr2="DataProtocolType=PB;TableType=LIST;ListNum=MAX_MAILS">
         <entry name="uid" type="uint64"/>
         <entry name="body" type="string" size="2048"/>
       </struct>)",
    R"(<struct name="score@" primarykey="board_id"
               customattr2="TableType=SORTLIST;ListNum=100;SortFieldNum=2;SortRule=DESC">
         <entry name="board_id" type="uint32"/>
         <entry name="points" type="uint32" customattr2="sort1"/>
         <entry name="reached_at" type="uint32" customattr2="sort2"/>
       </struct>)",
    R"(<struct name="legacy@" primarykey="id">
         <entry name="id" type="uint32"/>
         <entry name="value" type="int64"/>
       </struct>)",
    R"(<struct name="guild@" primarykey="guild_id" customattr2="TableType=GENERIC;ListNum=50">
         <entry name="guild_id" type="uint32"/>
       </struct>)",
    R"(<struct name="friends@" primarykey="uid" customattr2="TableType=LIST;ListNum=200">
         <entry name="uid" type="uint64"/>
         <entry name="friend_uid" type="uint64"/>
         <index name="by_uid" column="uid"/>
       </struct>)",
    R"(<struct name="bag@" primarykey="uid" customattr2="TableType=GENERIC">
         <entry name="uid" type="uint64"/>
         <entry name="slots" type="uint32" count="32"/>
       </struct>)",
    R"(<struct name="nickname@" primarykey="nick">
         <entry name="nick" type="wstring" size="32"/>
         <entry name="uid" type="uint64"/>
       </struct>)",
};
constexpr int kShapes = sizeof(kTableShapes) / sizeof(kTableShapes[0]);

std::string GeneratedSchema() {
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<metalib name=\"generated\" version=\"3\">\n"
      "  <macro name=\"MAX_MAILS\" value=\"500\"/>\n"
      "  <macro name=\"MAX_ITEMS\" value=\"128\"/>\n"
      "  <struct name=\"item\"><entry name=\"item_id\" type=\"uint32\"/></struct>\n";
  for (int copy = 0; copy < kCopies; ++copy) {
    for (const char* shape : kTableShapes) {
      std::string table(shape);
      table.replace(table.find('@'), 1, std::to_string(copy));
      xml += table + "\n";
    }
  }
  return xml + "</metalib>\n";
}

// Every result and message of the three checks of one table, as one line.
std::string CheckOneTable(CheckTable& checker, LPZEMMETALIB metalib, const std::string& table,
                          LPWLOGCATEGORYINST log_handle) {
  int table_type = 0;
  int list_num = 0;
  int sort_field_num = 0;
  int sort_rule = 0;
  char data_protocol[16] = {};
  const int attr = checker.CheckTableTypeByCustomAttr(metalib, table.c_str(), table_type, list_num,
                                                      sort_field_num, sort_rule, data_protocol,
                                                      false, log_handle);
  std::string line = table + " attr=" + std::to_string(attr) + " '" + checker.GetErrType() +
                     "' type=" + std::to_string(table_type) + " list=" + std::to_string(list_num) +
                     " sort=" + std::to_string(sort_field_num) + "/" + std::to_string(sort_rule) +
                     " protocol=" + data_protocol;

  const int kind = attr == CHECK_TABLE_SUCCESS && (table_type == 1 || table_type == 2) ? 1 : 0;
  const int check = checker.VelmoraCheckTable(metalib, table.c_str(), kind, log_handle,
                                              "3.40.0.193000", "3.40.0", "none");
  line += " check=" + std::to_string(check) + " '" + checker.GetErrType() + "'";

  std::string report;
  const int refer = checker.CheckWhetherCountWithRefer(
      zem_get_meta_by_name(metalib, table.c_str()), report, log_handle);
  return line + " refer=" + std::to_string(refer) + " '" + report + "'";
}

// Checks every table in order on one CheckTable, the way each thread does.
std::vector<std::string> CheckEveryTable(LPZEMMETALIB metalib,
                                         const std::vector<std::string>& tables,
                                         LPWLOGCATEGORYINST log_handle) {
  CheckTable checker;
  std::vector<std::string> verdicts;
  for (const std::string& table : tables) {
    verdicts.push_back(CheckOneTable(checker, metalib, table, log_handle));
  }
  return verdicts;
}

std::vector<std::string> SortedLines(const std::vector<WlogRecord>& records) {
  std::vector<std::string> lines;
  for (const WlogRecord& record : records) {
    lines.push_back(std::to_string(record.priority) + " " + record.file + ":" +
                    std::to_string(record.line) + " " + record.function + ": " + record.text);
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

// A category bounded at info, as a host's service would open it, writing to the given sink.
tagWLogCategoryInst InfoCategory(WlogSink* sink) {
  tagWLogCategoryInst category = WlogCategoryFor(sink);
  category.iPriorityLow = WLOG_PRIORITY_INFO;
  category.piPriorityLow = &category.iPriorityLow;
  return category;
}

TEST(CheckTableThreadsTest, FourThreadsReachTheVerdictsAndLinesOfOneThread) {
  const ZemLoadResult loaded = ZemLoadXmlText("generated.xml", GeneratedSchema());
  ASSERT_TRUE(loaded.ok) << FormatZemLoadMessage(loaded.error, "error");
  std::vector<std::string> tables;
  for (const ZemMetaInfo& meta : loaded.metas) {
    if (meta.has_primary_key) tables.push_back(meta.name);
  }
  ASSERT_EQ(tables.size(), static_cast<size_t>(kCopies * kShapes));
  LPZEMMETALIB metalib = loaded.metalib.get();

  WlogMemorySink alone_lines;
  tagWLogCategoryInst alone_category = InfoCategory(&alone_lines);
  const std::vector<std::string> expected = CheckEveryTable(metalib, tables, &alone_category);
  // The schema holds every kind of verdict: four shapes pass all three checks, four fail one.
  const auto passes = std::count_if(expected.begin(), expected.end(), [](const std::string& v) {
    return v.find(" check=0 ") != std::string::npos && v.find(" refer=0 ") != std::string::npos &&
           (v.find(" attr=0 ") != std::string::npos || v.find(" attr=-46 ") != std::string::npos);
  });
  EXPECT_EQ(passes, 4 * kCopies);
  // The error buffer carries a note or an older message across checks, as it does on one object.
  EXPECT_EQ(expected[0],
            "player0 attr=0 'table:player0 table_type is generic.' type=0 list=0 sort=0/0 "
            "protocol= check=0 'table:player0 table_type is generic.' refer=0 ''");
  EXPECT_EQ(expected[kShapes + 7],
            "nickname1 attr=-46 'Table dose not have indexs, table:'bag1'' type=0 list=0 "
            "sort=0/0 protocol= check=-16 'CheckPrimaryKey failed! table:'nickname1',ret:-16' "
            "refer=0 ''");

  WlogMemorySink shared_lines;
  WlogSerializedSink shared_sink(shared_lines);
  tagWLogCategoryInst shared_category = InfoCategory(&shared_sink);
  std::vector<std::vector<std::string>> verdicts(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      verdicts[static_cast<size_t>(t)] = CheckEveryTable(metalib, tables, &shared_category);
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(verdicts[static_cast<size_t>(t)], expected) << "thread " << t;
  }
  // Each thread wrote the lines of the single run; the category interleaves them, whole.
  std::vector<std::string> expected_lines;
  const std::vector<std::string> alone_sorted = SortedLines(alone_lines.records());
  for (int t = 0; t < kThreads; ++t) {
    expected_lines.insert(expected_lines.end(), alone_sorted.begin(), alone_sorted.end());
  }
  std::sort(expected_lines.begin(), expected_lines.end());
  ASSERT_FALSE(alone_sorted.empty());
  EXPECT_EQ(SortedLines(shared_lines.records()), expected_lines);
}

// ---- The sink that takes concurrent writers ---------------------------------------------------

TEST(WlogSerializedSinkTest, AsksAndWritesThroughTheWrappedSink) {
  WlogMemorySink errors_only(WLOG_PRIORITY_ERROR);
  WlogSerializedSink sink(errors_only);
  EXPECT_TRUE(sink.Accepts(WLOG_PRIORITY_ERROR));
  EXPECT_FALSE(sink.Accepts(WLOG_PRIORITY_INFO));

  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_INFO, 0, 0), 0);
  const WLOGLOCINFO loc{"here.cpp", 7, "Here", nullptr};
  WLOGEVENT event{};
  event.evt_priority = WLOG_PRIORITY_ERROR;
  event.evt_loc = &loc;
  ASSERT_EQ(wlog_category_logv(&category, &event, "%s has %d", "table", 3), 0);
  ASSERT_EQ(errors_only.records().size(), 1u);
  EXPECT_EQ(errors_only.records()[0].text, "table has 3");
  EXPECT_EQ(errors_only.records()[0].file, "here.cpp");
  EXPECT_EQ(errors_only.records()[0].line, 7);
  EXPECT_EQ(errors_only.records()[0].function, "Here");
}

TEST(WlogSerializedSinkTest, KeepsEveryLineOfFourWritersWholeAndInEachWritersOrder) {
  constexpr int kLinesPerThread = 2000;
  WlogMemorySink lines;
  WlogSerializedSink sink(lines);
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&category, t] {
      const WLOGLOCINFO loc{"writer.cpp", t, "Write", nullptr};
      for (int i = 0; i < kLinesPerThread; ++i) {
        WLOGEVENT event{};
        event.evt_priority = WLOG_PRIORITY_INFO;
        event.evt_loc = &loc;
        wlog_category_logv(&category, &event, "writer %d line %d", t, i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  ASSERT_EQ(lines.records().size(), static_cast<size_t>(kThreads * kLinesPerThread));
  std::vector<int> next(kThreads, 0);
  for (const WlogRecord& record : lines.records()) {
    const int t = record.line;
    ASSERT_GE(t, 0);
    ASSERT_LT(t, kThreads);
    EXPECT_EQ(record.text, "writer " + std::to_string(t) + " line " +
                               std::to_string(next[static_cast<size_t>(t)]));
    ++next[static_cast<size_t>(t)];
  }
  EXPECT_THAT(next, ::testing::Each(kLinesPerThread));
}

}  // namespace
