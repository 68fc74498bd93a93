// The checker linked against a host's own log library instead of ours: a minimal library of
// exactly the two operations the checker calls, written here. Lines must arrive in it, and the
// category's bounds must keep refused lines away before the library is asked anything.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include <velmora/check_table.h>
#include <velmora/zem_builder.h>

namespace {

struct HostLine {
  int priority;
  std::string function;
  std::string text;
};

std::vector<HostLine> g_lines;
int g_can_write_calls = 0;

}  // namespace

// ---- The host's log library ------------------------------------------------------------------

int wlog_category_can_write(LPWLOGCATEGORYINST handle, int /*priority*/, int /*id*/, int /*cls*/) {
  ++g_can_write_calls;
  return handle != nullptr ? 1 : 0;
}

int wlog_category_logv(LPWLOGCATEGORYINST handle, WLOGEVENT* event, const char* format, ...) {
  if (handle == nullptr || event == nullptr || format == nullptr) return -1;
  char text[2048];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof(text), format, args);
  va_end(args);
  g_lines.push_back({event->evt_priority,
                     event->evt_loc != nullptr ? event->evt_loc->loc_function : "", text});
  return 0;
}

// ---- Tests -------------------------------------------------------------------------------------

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Not;

ZemMetaLibPtr PlayerLib() {
  ZemMetaLibDef def;
  ZemMetaDef player;
  player.name = "player";
  ZemEntryDef uid;
  uid.name = "uid";
  uid.type = ZEM_TYPE_UINT64;
  ZemEntryDef level;
  level.name = "level";
  player.entries = {uid, level};
  player.primary_key = {"uid"};
  ZemMetaDef nokey = player;
  nokey.name = "nokey";
  nokey.primary_key.clear();
  def.metas = {player, nokey};
  std::string error;
  ZemMetaLibPtr lib = ZemBuildMetaLib(def, &error);
  EXPECT_NE(lib, nullptr) << error;
  return lib;
}

class HostLogLibraryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    g_lines.clear();
    g_can_write_calls = 0;
  }
  // A category of the host's: only the two bound fields matter to the checker.
  tagWLogCategoryInst category_;
};

TEST_F(HostLogLibraryTest, SuccessLinesArriveWithTheirFunctions) {
  ZemMetaLibPtr lib = PlayerLib();
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, &category_, "", "", "none"),
            CHECK_TABLE_SUCCESS);
  ASSERT_FALSE(g_lines.empty());
  EXPECT_EQ(g_lines.front().priority, WLOG_PRIORITY_INFO);
  EXPECT_EQ(g_lines.front().function, "CheckTableNameValidity");
  EXPECT_EQ(g_lines.front().text, "CheckTableNameValidity successed! table: 'player'");
  EXPECT_EQ(g_lines.back().priority, WLOG_PRIORITY_INFO);
  EXPECT_EQ(g_lines.back().function, "VelmoraCheckTable");
  EXPECT_EQ(g_lines.back().text, "CheckTable succees! table:'player'");
}

TEST_F(HostLogLibraryTest, FailureLinesArriveThroughPercentS) {
  ZemMetaLibPtr lib = PlayerLib();
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "nokey", 0, &category_, "", "", "none"),
            ERROR_NO_PRIMARY_KEY_IN_META);
  ASSERT_FALSE(g_lines.empty());
  EXPECT_EQ(g_lines.back().priority, WLOG_PRIORITY_ERROR);
  EXPECT_EQ(g_lines.back().function, "VelmoraCheckTable");
  EXPECT_EQ(g_lines.back().text, std::string(checker.GetErrType()));
  EXPECT_EQ(g_lines.back().text, "CheckPrimaryKey failed! table:'nokey',ret:-15");
}

TEST_F(HostLogLibraryTest, LowBoundKeepsSuccessLinesAwayWithoutAskingTheLibrary) {
  ZemMetaLibPtr lib = PlayerLib();
  const int low = WLOG_PRIORITY_ERROR;
  category_.piPriorityLow = &low;
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, &category_, "", "", "none"),
            CHECK_TABLE_SUCCESS);
  // A table without indexes leaves a note at error priority; every info line stays away, and
  // the library is asked only about the lines the bounds let through.
  ASSERT_EQ(g_lines.size(), 1u);
  EXPECT_EQ(g_lines[0].priority, WLOG_PRIORITY_ERROR);
  EXPECT_EQ(g_lines[0].function, "CheckIndex");
  EXPECT_EQ(g_lines[0].text, "Table dose not have indexs, table:'player'");
  EXPECT_EQ(g_can_write_calls, 1);

  g_lines.clear();
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "nokey", 0, &category_, "", "", "none"),
            ERROR_NO_PRIMARY_KEY_IN_META);
  EXPECT_THAT(g_lines, Each(Field(&HostLine::priority, WLOG_PRIORITY_ERROR)));
  EXPECT_THAT(g_lines, Contains(Field(&HostLine::function, "VelmoraCheckTable")));
}

TEST_F(HostLogLibraryTest, HighBoundKeepsErrorLinesAway) {
  ZemMetaLibPtr lib = PlayerLib();
  const int high = WLOG_PRIORITY_WARN;
  category_.piPriorityHigh = &high;
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "nokey", 0, &category_, "", "", "none"),
            ERROR_NO_PRIMARY_KEY_IN_META);
  EXPECT_THAT(g_lines, Not(IsEmpty()));
  EXPECT_THAT(g_lines, Each(Field(&HostLine::priority, Not(WLOG_PRIORITY_ERROR))));
  EXPECT_STREQ(checker.GetErrType(), "CheckPrimaryKey failed! table:'nokey',ret:-15");
}

}  // namespace
