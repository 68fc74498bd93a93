// What the schema and log operations answer when a host hands them NULL, and how long the texts
// they hand out stay valid: the promises their headers make.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <thread>

#include <velmora/wlog.h>
#include <velmora/zem.h>
#include <velmora/zem_builder.h>

#include "test_support.h"

namespace {

// ---- Schema operations --------------------------------------------------------------------

TEST(ZemNullArguments, MetaOperationsAnswerNothing) {
  EXPECT_EQ(zem_get_meta_name(nullptr), nullptr);
  EXPECT_EQ(zem_get_entry_num(nullptr), 0);
  EXPECT_EQ(zem_get_entry_by_index(nullptr, 0), nullptr);
  EXPECT_EQ(zem_get_meta_customattr2(nullptr), nullptr);
}

TEST(ZemNullArguments, EntryOperationsAnswerNothing) {
  EXPECT_EQ(zem_get_entry_name(nullptr), nullptr);
  EXPECT_EQ(zem_get_entry_type(nullptr), -1);
  EXPECT_EQ(zem_get_entry_count(nullptr), 0);
  EXPECT_EQ(zem_get_entry_refer(nullptr), nullptr);
  EXPECT_EQ(zem_get_entry_unitsize(nullptr), 0u);
  EXPECT_EQ(zem_get_entry_type_meta(nullptr, nullptr), nullptr);
  EXPECT_EQ(zem_get_entry_customattr2(nullptr, nullptr), nullptr);
}

TEST(ZemNullArguments, LibraryOperationsAnswerNothing) {
  EXPECT_EQ(zem_get_meta_by_name(nullptr, nullptr), nullptr);
  EXPECT_EQ(zem_get_metalib_version(nullptr), 0);
  EXPECT_EQ(zem_get_metalib_name(nullptr), nullptr);
  EXPECT_EQ(zem_get_meta_num(nullptr), 0);
  EXPECT_EQ(zem_get_meta_by_index(nullptr, 0), nullptr);
  int value = 42;
  EXPECT_EQ(zem_get_macro_value(&value, nullptr, "ANSWER"), -1);
  EXPECT_EQ(value, 42);
}

TEST(ZemNullArguments, SplitTableKeyOfNoMetaGivesItsReasonAndLeavesTheBuffer) {
  char buffer[8];
  std::memset(buffer, 'x', sizeof(buffer));
  const char* err = nullptr;
  EXPECT_EQ(zem_get_meta_splittablekey(nullptr, buffer, sizeof(buffer), &err), -1);
  ASSERT_NE(err, nullptr);
  EXPECT_STREQ(err, "invalid arguments for the split table key");
  EXPECT_EQ(std::string(buffer, sizeof(buffer)), std::string(sizeof(buffer), 'x'));
}

ZemMetaLibPtr SplitKeyLib() {
  ZemMetaDef meta = Table("t", {Field("uid"), Field("v")}, {"uid"});
  meta.split_table_key = "uid";
  return BuildLib({meta});
}

TEST(ZemTextLifetime, SplitKeyReasonLastsUntilTheThreadsNextFailure) {
  ZemMetaLibPtr lib = SplitKeyLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "t");
  char small[2];
  const char* reason = nullptr;
  ASSERT_EQ(zem_get_meta_splittablekey(meta, small, sizeof(small), &reason), -1);
  ASSERT_NE(reason, nullptr);
  EXPECT_STREQ(reason, "split table key text is longer than 1 bytes");

  // A success leaves both the reason pointer and its text alone.
  char buffer[16];
  const char* untouched = reason;
  ASSERT_EQ(zem_get_meta_splittablekey(meta, buffer, sizeof(buffer), &untouched), 0);
  EXPECT_EQ(untouched, reason);
  EXPECT_STREQ(reason, "split table key text is longer than 1 bytes");

  // Another thread's failures keep their own reason.
  std::thread other([meta] {
    const char* other_reason = nullptr;
    zem_get_meta_splittablekey(meta, nullptr, 0, &other_reason);
  });
  other.join();
  EXPECT_STREQ(reason, "split table key text is longer than 1 bytes");

  // This thread's next failure replaces it.
  const char* next = nullptr;
  ASSERT_EQ(zem_get_meta_splittablekey(nullptr, buffer, sizeof(buffer), &next), -1);
  EXPECT_STREQ(reason, "invalid arguments for the split table key");
}

TEST(ZemTextLifetime, NamesLiveInTheBlockUntilItIsFreed) {
  ZemMetaLibPtr lib = SplitKeyLib();
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "t");
  const char* block_begin = reinterpret_cast<const char*>(lib.get());
  const char* block_end = lib->data() + lib->iDataSize;
  for (const char* text : {zem_get_meta_name(meta), zem_get_metalib_name(lib.get()),
                           zem_get_entry_name(zem_get_entry_by_index(meta, 1))}) {
    ASSERT_NE(text, nullptr);
    EXPECT_GE(text, block_begin);
    EXPECT_LT(text, block_end);
  }
}

TEST(ZemLayout, TheDataAreaBeginsRightAfterTheLibraryHeader) {
  ZemMetaLibPtr lib = SplitKeyLib();
  ASSERT_NE(lib, nullptr);
  EXPECT_EQ(lib->data(), reinterpret_cast<const char*>(lib.get()) + sizeof(tagZEMMetaLib));
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "t");
  EXPECT_EQ(zem_meta_data_base(meta), lib->data());
  EXPECT_EQ(zem_meta_metalib(meta), lib.get());
}

// ---- Log operations -----------------------------------------------------------------------

TEST(WlogNullArguments, LogvWithoutFormatWritesNothingAndLeavesTheEvent) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  WLOGEVENT event{};
  event.evt_priority = WLOG_PRIORITY_ERROR;
  event.evt_msg = "before";
  event.evt_msg_len = 6;
  event.evt_type = 5;
  EXPECT_EQ(wlog_category_logv(&category, &event, nullptr), -1);
  EXPECT_EQ(wlog_category_logv(nullptr, &event, "%d", 1), -1);
  EXPECT_TRUE(sink.records().empty());
  EXPECT_STREQ(event.evt_msg, "before");
  EXPECT_EQ(event.evt_msg_len, 6u);
  EXPECT_EQ(event.evt_type, 5);
}

TEST(WlogNullArguments, CategoryForNoSinkWritesNothing) {
  tagWLogCategoryInst category = WlogCategoryFor(nullptr);
  EXPECT_EQ(wlog_category_can_write(&category, WLOG_PRIORITY_FATAL, 0, 0), 0);
  WLOGEVENT event{};
  EXPECT_EQ(wlog_category_logv(&category, &event, "%s", "x"), -1);
}

TEST(WlogTextLifetime, TheMessageLivesOnlyWhileTheSinkWrites) {
  WlogMemorySink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  WLOGEVENT event{};
  event.evt_priority = WLOG_PRIORITY_INFO;
  ASSERT_EQ(wlog_category_logv(&category, &event, "table %s", "t"), 0);
  EXPECT_EQ(event.evt_msg, nullptr);
  EXPECT_EQ(event.evt_msg_len, 7u);
  ASSERT_EQ(sink.records().size(), 1u);
  EXPECT_EQ(sink.records()[0].text, "table t");  // the sink kept its own copy
}

TEST(WlogNullArguments, SinksTakeAnEventWithoutMessageOrLocationAsEmpty) {
  WLOGEVENT event{};
  event.evt_priority = WLOG_PRIORITY_WARN;
  event.evt_msg = nullptr;
  event.evt_msg_len = 12;  // no message, whatever its length says
  WlogMemorySink memory;
  memory.Write(event);
  ASSERT_EQ(memory.records().size(), 1u);
  EXPECT_EQ(memory.records()[0].text, "");
  EXPECT_EQ(memory.records()[0].file, "");
  EXPECT_EQ(memory.records()[0].line, 0);
  EXPECT_EQ(memory.records()[0].function, "");

  std::ostringstream out;
  WlogStreamSink stream(out, WLOG_PRIORITY_UNKNOWN);
  stream.Write(event);
  EXPECT_EQ(out.str(), "WARN: \n");
}

}  // namespace
