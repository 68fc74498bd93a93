// WLOG: priorities, the category's bounds and gate, formatted writes, the memory and stream sinks,
// and the event records the checker hands to the category.
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"
#include <velmora/check_table.h>
#include <velmora/wlog.h>

namespace {

using ::testing::ElementsAre;

// Keeps a copy of every event as the sink received it, the message copied while it is valid.
struct SeenEvent {
  WLOGEVENT event;
  std::string text;
  WLOGLOCINFO loc;
  bool has_loc;
};

class EventSink : public WlogSink {
 public:
  bool Accepts(int) const override { return true; }
  void Write(const WLOGEVENT& event) override {
    SeenEvent seen;
    seen.event = event;
    seen.text.assign(event.evt_msg, event.evt_msg_len);
    seen.has_loc = event.evt_loc != nullptr;
    if (seen.has_loc) seen.loc = *event.evt_loc;
    events.push_back(seen);
  }
  std::vector<SeenEvent> events;
};

WLOGEVENT EventAt(int priority, const WLOGLOCINFO* loc) {
  WLOGEVENT event;
  std::memset(&event, 0, sizeof(event));
  event.evt_priority = priority;
  event.evt_loc = loc;
  return event;
}

// ---- Priorities ---------------------------------------------------------------------------

TEST(WlogPriorities, KeepTheirValues) {
  EXPECT_EQ(WLOG_PRIORITY_FATAL, 0);
  EXPECT_EQ(WLOG_PRIORITY_ALERT, 100);
  EXPECT_EQ(WLOG_PRIORITY_CRIT, 200);
  EXPECT_EQ(WLOG_PRIORITY_ERROR, 300);
  EXPECT_EQ(WLOG_PRIORITY_WARN, 400);
  EXPECT_EQ(WLOG_PRIORITY_NOTICE, 500);
  EXPECT_EQ(WLOG_PRIORITY_INFO, 600);
  EXPECT_EQ(WLOG_PRIORITY_DEBUG, 700);
  EXPECT_EQ(WLOG_PRIORITY_TRACE, 800);
  EXPECT_EQ(WLOG_PRIORITY_NOTSET, 900);
  EXPECT_EQ(WLOG_PRIORITY_UNKNOWN, 1000);
  EXPECT_EQ(WLOG_PRIORITY_NULL, -1);
}

TEST(WlogPriorities, HaveNames) {
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_NULL), "NULL");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_FATAL), "FATAL");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_ALERT), "ALERT");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_CRIT), "CRIT");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_ERROR), "ERROR");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_WARN), "WARN");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_NOTICE), "NOTICE");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_INFO), "INFO");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_DEBUG), "DEBUG");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_TRACE), "TRACE");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_NOTSET), "NOTSET");
  EXPECT_STREQ(WlogPriorityName(WLOG_PRIORITY_UNKNOWN), "UNKNOWN");
  EXPECT_STREQ(WlogPriorityName(250), "UNKNOWN");
}

// ---- Bounds and wlog_category_can_write ---------------------------------------------------

TEST(WlogCanWrite, NoHandleOrNoSinkWritesNothing) {
  EXPECT_EQ(wlog_category_can_write(nullptr, WLOG_PRIORITY_ERROR, 0, 0), 0);
  tagWLogCategoryInst no_sink;
  EXPECT_EQ(wlog_category_can_write(&no_sink, WLOG_PRIORITY_ERROR, 0, 0), 0);
}

TEST(WlogCanWrite, CategoryWithoutBoundsWritesEveryPriority) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  EXPECT_EQ(category.piPriorityHigh, nullptr);
  EXPECT_EQ(category.piPriorityLow, nullptr);
  for (int priority : {0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000}) {
    EXPECT_NE(wlog_category_can_write(&category, priority, 0, 0), 0) << priority;
  }
}

TEST(WlogCanWrite, LowBoundRefusesLessSeverePriorities) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  category.iPriorityLow = WLOG_PRIORITY_CRIT;
  category.piPriorityLow = &category.iPriorityLow;
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_ALERT, 0, 0), 0);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_CRIT, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_INFO, 0, 0), 0);
}

TEST(WlogCanWrite, LowBoundOfMinusOneDoesNotRestrict) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  category.iPriorityLow = WLOG_PRIORITY_NULL;
  category.piPriorityLow = &category.iPriorityLow;
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_UNKNOWN, 0, 0), 0);
}

TEST(WlogCanWrite, HighBoundRefusesMoreSeverePriorities) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  category.iPriorityHigh = WLOG_PRIORITY_WARN;
  category.piPriorityHigh = &category.iPriorityHigh;
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_FATAL, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_WARN, 0, 0), 0);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_INFO, 0, 0), 0);
}

TEST(WlogCanWrite, BothBoundsLeaveTheRangeBetweenThem) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  category.iPriorityHigh = WLOG_PRIORITY_ERROR;
  category.iPriorityLow = WLOG_PRIORITY_INFO;
  category.piPriorityHigh = &category.iPriorityHigh;
  category.piPriorityLow = &category.iPriorityLow;
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_CRIT, 0, 0), 0);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_NOTICE, 0, 0), 0);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_INFO, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_DEBUG, 0, 0), 0);
}

TEST(WlogCanWrite, OnlyTheBoundPointersCount) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  category.iPriorityHigh = WLOG_PRIORITY_INFO;
  category.iPriorityLow = WLOG_PRIORITY_CRIT;
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
  // A bound may live anywhere the caller likes.
  const int outside = WLOG_PRIORITY_ALERT;
  category.piPriorityLow = &outside;
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
}

TEST(WlogCanWrite, TheSinkHasTheLastWord) {
  WlogMemorySink sink(WLOG_PRIORITY_ERROR);
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_INFO, 0, 0), 0);
}

// ---- wlog_category_logv -------------------------------------------------------------------

TEST(WlogLogv, FormatsTheLineWithItsArguments) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  const WLOGLOCINFO loc{"src/common/check_table.cpp", 42, "CheckIndex", nullptr};
  WLOGEVENT event = EventAt(WLOG_PRIORITY_INFO, &loc);
  EXPECT_EQ(wlog_category_logv(&category, &event, "table:'%s' keys:%d %%", "player", 3), 0);
  ASSERT_EQ(sink.records().size(), 1u);
  const WlogRecord& record = sink.records()[0];
  EXPECT_EQ(record.priority, WLOG_PRIORITY_INFO);
  EXPECT_EQ(record.text, "table:'player' keys:3 %");
  EXPECT_EQ(record.file, "src/common/check_table.cpp");
  EXPECT_EQ(record.line, 42);
  EXPECT_EQ(record.function, "CheckIndex");
}

TEST(WlogLogv, TextThroughPercentSIsWrittenVerbatim) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  WLOGEVENT event = EventAt(WLOG_PRIORITY_ERROR, nullptr);
  EXPECT_EQ(wlog_category_logv(&category, &event, "%s", "a%s%n%d%%"), 0);
  ASSERT_EQ(sink.records().size(), 1u);
  EXPECT_EQ(sink.records()[0].text, "a%s%n%d%%");
  EXPECT_EQ(sink.records()[0].file, "");
  EXPECT_EQ(sink.records()[0].line, 0);
}

TEST(WlogLogv, EmptyLine) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  WLOGEVENT event = EventAt(WLOG_PRIORITY_ERROR, nullptr);
  EXPECT_EQ(wlog_category_logv(&category, &event, "%s", ""), 0);
  ASSERT_EQ(sink.records().size(), 1u);
  EXPECT_EQ(sink.records()[0].text, "");
}

TEST(WlogLogv, LinesAroundAndFarAboveTwoKilobytesAreWrittenWhole) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  for (size_t length : {2046u, 2047u, 2048u, 2049u, 5000u, 100000u}) {
    const std::string text(length, 'x');
    WLOGEVENT event = EventAt(WLOG_PRIORITY_ERROR, nullptr);
    EXPECT_EQ(wlog_category_logv(&category, &event, "<%s>%d", text.c_str(), 7), 0);
    ASSERT_FALSE(sink.records().empty());
    EXPECT_EQ(sink.records().back().text, "<" + text + ">7") << length;
  }
}

TEST(WlogLogv, FillsTheMessageFieldsAndKeepsTheCallers) {
  EventSink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  const WLOGLOCINFO loc{"f.cpp", 9, "Fn", nullptr};
  WLOGEVENT event = EventAt(WLOG_PRIORITY_NOTICE, &loc);
  event.evt_type = 77;
  event.evt_version = 88;
  const std::string long_text(3000, 'y');
  EXPECT_EQ(wlog_category_logv(&category, &event, "%s|%s", "short", long_text.c_str()), 0);
  ASSERT_EQ(sink.events.size(), 1u);
  const SeenEvent& seen = sink.events[0];
  EXPECT_EQ(seen.text, "short|" + long_text);
  EXPECT_EQ(seen.event.evt_msg_len, 6u + 3000u);
  EXPECT_EQ(seen.event.evt_priority, WLOG_PRIORITY_NOTICE);
  EXPECT_EQ(seen.event.evt_loc, &loc);
  EXPECT_EQ(seen.event.evt_type, 0);
  EXPECT_EQ(seen.event.evt_version, 0);
  EXPECT_EQ(seen.event.evt_is_msg_binary, 0);
  EXPECT_EQ(seen.event.evt_id, 0);
  EXPECT_EQ(seen.event.evt_cls, 0);
}

TEST(WlogLogv, RefusesMissingArguments) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  tagWLogCategoryInst no_sink;
  WLOGEVENT event = EventAt(WLOG_PRIORITY_ERROR, nullptr);
  EXPECT_EQ(wlog_category_logv(nullptr, &event, "%s", "x"), -1);
  EXPECT_EQ(wlog_category_logv(&no_sink, &event, "%s", "x"), -1);
  EXPECT_EQ(wlog_category_logv(&category, nullptr, "%s", "x"), -1);
  EXPECT_TRUE(sink.records().empty());
}

// ---- Sinks --------------------------------------------------------------------------------

TEST(WlogMemorySink, KeepsLinesInOrderUntilCleared) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  const WLOGLOCINFO first_loc{"a.cpp", 1, "A", nullptr};
  const WLOGLOCINFO second_loc{"b.cpp", 2, "B", nullptr};
  WLOGEVENT first = EventAt(WLOG_PRIORITY_ERROR, &first_loc);
  WLOGEVENT second = EventAt(WLOG_PRIORITY_INFO, &second_loc);
  wlog_category_logv(&category, &first, "one");
  wlog_category_logv(&category, &second, "two %d", 2);
  EXPECT_THAT(sink.records(),
              ElementsAre(LogLineIs(300, "one", "A"), LogLineIs(600, "two 2", "B")));
  EXPECT_EQ(sink.records()[1].file, "b.cpp");
  EXPECT_EQ(sink.records()[1].line, 2);
  sink.Clear();
  EXPECT_TRUE(sink.records().empty());
}

TEST(WlogMemorySink, AcceptsUpToItsLeastSeverePriority) {
  WlogMemorySink all;
  EXPECT_TRUE(all.Accepts(WLOG_PRIORITY_UNKNOWN));
  WlogMemorySink errors(WLOG_PRIORITY_ERROR);
  EXPECT_TRUE(errors.Accepts(WLOG_PRIORITY_FATAL));
  EXPECT_TRUE(errors.Accepts(WLOG_PRIORITY_ERROR));
  EXPECT_FALSE(errors.Accepts(WLOG_PRIORITY_WARN));
}

TEST(WlogMemoryCategory, BoundedCategoryRefusesLessSevereLines) {
  WlogMemoryCategory errors(WLOG_PRIORITY_ERROR);
  EXPECT_EQ(wlog_category_can_write(errors.handle(), WLOG_PRIORITY_INFO, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(errors.handle(), WLOG_PRIORITY_WARN, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(errors.handle(), WLOG_PRIORITY_ERROR, 0, 0), 1);
  EXPECT_EQ(wlog_category_can_write(errors.handle(), WLOG_PRIORITY_FATAL, 0, 0), 1);
  const WLOGLOCINFO loc{"a.cpp", 1, "A", nullptr};
  WLOGEVENT error = EventAt(WLOG_PRIORITY_ERROR, &loc);
  wlog_category_logv(errors.handle(), &error, "error %d", 2);
  EXPECT_THAT(errors.lines(), ElementsAre(LogLineIs(300, "error 2", "A")));
  WlogMemoryCategory every;
  EXPECT_EQ(wlog_category_can_write(every.handle(), WLOG_PRIORITY_INFO, 0, 0), 1);
}

TEST(WlogStreamSink, WritesPriorityLocationAndText) {
  std::ostringstream out;
  WlogStreamSink sink(out, WLOG_PRIORITY_INFO);
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  const WLOGLOCINFO loc{"src/common/check_table.cpp", 120, "VelmoraCheckTable", nullptr};
  WLOGEVENT error = EventAt(WLOG_PRIORITY_ERROR, &loc);
  WLOGEVENT info = EventAt(WLOG_PRIORITY_INFO, nullptr);
  wlog_category_logv(&category, &error, "bad table '%s'", "t");
  wlog_category_logv(&category, &info, "%s", "fine");
  EXPECT_EQ(out.str(),
            "ERROR src/common/check_table.cpp:120 VelmoraCheckTable: bad table 't'\n"
            "INFO: fine\n");
}

TEST(WlogStreamSink, RefusesPrioritiesLessSevereThanItsLimit) {
  std::ostringstream out;
  WlogStreamSink sink(out, WLOG_PRIORITY_ERROR);
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  EXPECT_NE(wlog_category_can_write(&category, WLOG_PRIORITY_ERROR, 0, 0), 0);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_INFO, 0, 0), 0);
}

// ---- What the checker hands to the category -----------------------------------------------

TEST(WlogCheckerEvents, CarryPriorityLocationAndZeroClassFields) {
  EventSink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", &category), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(checker.CheckTableNameValidity("abc", &category), CHECK_TABLE_SUCCESS);
  ASSERT_EQ(sink.events.size(), 3u);

  const int priorities[] = {WLOG_PRIORITY_ERROR, WLOG_PRIORITY_INFO, WLOG_PRIORITY_INFO};
  const char* const texts[] = {"table name startswith digit.",
                               "CheckTableNameValidity successed! table: 'abc'",
                               "CheckTableNameLength successed! table: 'abc' "};
  const char* const functions[] = {"CheckTableNameValidity", "CheckTableNameValidity",
                                   "CheckTableNameLength"};
  for (size_t i = 0; i < 3; ++i) {
    const SeenEvent& seen = sink.events[i];
    EXPECT_EQ(seen.event.evt_priority, priorities[i]);
    EXPECT_EQ(seen.text, texts[i]);
    EXPECT_EQ(seen.event.evt_msg_len, std::strlen(texts[i]));
    EXPECT_EQ(seen.event.evt_is_msg_binary, 0);
    EXPECT_EQ(seen.event.evt_id, 0);
    EXPECT_EQ(seen.event.evt_cls, 0);
    ASSERT_TRUE(seen.has_loc);
    EXPECT_STREQ(seen.loc.loc_file, "src/common/check_table_names.cpp");
    EXPECT_STREQ(seen.loc.loc_function, functions[i]);
    EXPECT_GT(seen.loc.loc_line, 0);
    EXPECT_EQ(seen.loc.loc_data, nullptr);
  }
}

}  // namespace

TEST(WlogMemorySinkTest, TakeRecordsHandsOverTheLinesAndEmptiesTheSink) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  WLOGEVENT event = {};
  event.evt_priority = WLOG_PRIORITY_ERROR;
  ASSERT_EQ(wlog_category_logv(&category, &event, "%s", "first"), 0);
  const std::vector<WlogRecord> taken = sink.TakeRecords();
  ASSERT_EQ(taken.size(), 1u);
  EXPECT_EQ(taken[0].text, "first");
  EXPECT_TRUE(sink.records().empty());
}
