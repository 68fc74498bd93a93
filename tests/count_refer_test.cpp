// Arrays and their refer fields: no string may be an array, every array needs the field that holds
// its length (in the table and in every struct it contains), and a table change is judged only on
// the fields it adds. Offending names are listed in the caller's report.
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include <velmora/zem.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kStringHeading = "these string entry should not have 'count' attribute : ";
const char* const kReferHeading = "these entry have 'count' without 'refer' : ";
const char* const kNewHeading = "these new entry have 'count' without 'refer' : ";

// An int32 array of count elements whose length is in refer (none when empty).
ZemEntryDef Array(const std::string& name, int count, const std::string& refer = "") {
  ZemEntryDef entry = Field(name, ZEM_TYPE_INT32, count);
  entry.refer = refer;
  return entry;
}

// A field of struct type_meta, count elements.
ZemEntryDef Struct(const std::string& name, const std::string& type_meta, int count = 1) {
  ZemEntryDef entry = Field(name, ZEM_TYPE_STRUCT, count);
  entry.type_meta = type_meta;
  return entry;
}

LPZEMMETA MetaOf(const ZemMetaLibPtr& lib, const char* name) {
  return zem_get_meta_by_name(lib.get(), name);
}

class CountReferTest : public ::testing::Test {
 protected:
  std::string Message() const { return checker_.GetErrType(); }

  CheckTable checker_;
  LogCapture log_;
  std::string report_;
};

// Strings.

TEST_F(CountReferTest, StringCheckRejectsNullMeta) {
  EXPECT_EQ(CheckTableProbe::CheckStringWithCount(checker_, nullptr, report_, log_.handle()),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "Meta is NULL!");
  EXPECT_EQ(report_, "");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "Meta is NULL!", "CheckStringWithCount")));
}

TEST_F(CountReferTest, StringWithCountOnePasses) {
  auto lib = BuildLib({Table("t", {Field("s", ZEM_TYPE_STRING, 1), Array("n", 5)})});
  EXPECT_EQ(
      CheckTableProbe::CheckStringWithCount(checker_, MetaOf(lib, "t"), report_, log_.handle()), 0);
  EXPECT_EQ(report_, "");
}

TEST_F(CountReferTest, StringWithCountTwoFailsAndOnlyTheReportSaysWhy) {
  auto lib =
      BuildLib({Table("t", {Field("s", ZEM_TYPE_STRING, 2), Field("u", ZEM_TYPE_STRING, 9)})});
  EXPECT_EQ(
      CheckTableProbe::CheckStringWithCount(checker_, MetaOf(lib, "t"), report_, log_.handle()),
      -16);
  EXPECT_EQ(report_, std::string(kStringHeading) + "s u ");
  EXPECT_EQ(Message(), "");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CountReferTest, StringCheckWithoutEntriesFollowsTheReport) {
  auto lib = BuildLib({Table("t", {})});
  EXPECT_EQ(CheckTableProbe::CheckStringWithCount(checker_, MetaOf(lib, "t"), report_, nullptr), 0);
  report_ = "earlier findings ";
  EXPECT_EQ(CheckTableProbe::CheckStringWithCount(checker_, MetaOf(lib, "t"), report_, nullptr),
            -16);
  EXPECT_EQ(report_, "earlier findings ");
}

TEST_F(CountReferTest, StringReportKeepsPercentNamesAsTheyAre) {
  auto lib =
      BuildLib({Table("t", {Field("a%n", ZEM_TYPE_STRING, 2), Field("b%%c", ZEM_TYPE_STRING, 2)})});
  EXPECT_EQ(CheckTableProbe::CheckStringWithCount(checker_, MetaOf(lib, "t"), report_, nullptr),
            -16);
  EXPECT_EQ(report_, std::string(kStringHeading) + "a%n b%%c ");
}

// Arrays of a table.

TEST_F(CountReferTest, ReferCheckRejectsNullMeta) {
  report_ = "kept";
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(nullptr, report_, log_.handle()),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "table_meta is NULL!");
  EXPECT_EQ(report_, "kept");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "table_meta is NULL!", "CheckWhetherCountWithRefer")));
}

TEST_F(CountReferTest, ReferCheckFillsBufferWithoutLogHandle) {
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(nullptr, report_, nullptr),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "table_meta is NULL!");
}

TEST_F(CountReferTest, ArrayWithoutReferIsListed) {
  auto lib = BuildLib({Table("t", {Field("n"), Array("a", 4), Array("b", 2, "n")})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, log_.handle()),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, std::string(kReferHeading) + "a ");
  EXPECT_EQ(Message(), "");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CountReferTest, ScalarsAndVariableArraysNeedNoRefer) {
  auto lib =
      BuildLib({Table("t", {Field("n"), Array("one", 1), Array("open", 0), Array("b", 2, "n")})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, log_.handle()), 0);
  EXPECT_EQ(report_, "");
}

TEST_F(CountReferTest, StructMembersAreListedDepthFirstWithoutPrefix) {
  auto lib = BuildLib({Table("inner", {Array("x", 3)}),
                       Table("t", {Array("p", 2), Struct("s", "inner"), Array("q", 2)})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, log_.handle()),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, std::string(kReferHeading) + "p x q ");
}

TEST_F(CountReferTest, StructArrayWithoutReferIsListedBeforeItsMembers) {
  auto lib = BuildLib({Table("inner", {Array("x", 3)}), Table("t", {Struct("s", "inner", 4)})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, nullptr),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, std::string(kReferHeading) + "s x ");
}

TEST_F(CountReferTest, NameIsNotListedTwiceAcrossNestedStructs) {
  auto lib = BuildLib({Table("inner", {Array("x", 3)}),
                       Table("t", {Array("x", 2), Struct("s", "inner"), Struct("r", "inner")})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, nullptr),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, std::string(kReferHeading) + "x ");
}

TEST_F(CountReferTest, NameThatEndsAListedNameIsNotListedDeliberately) {
  auto lib = BuildLib({Table("t", {Array("xa", 2), Array("a", 2), Array("b", 2)})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, nullptr),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, std::string(kReferHeading) + "xa b ");
}

TEST_F(CountReferTest, NameFoundInTheHeadingIsNotListedButStillFails) {
  auto lib = BuildLib({Table("t", {Array("entry", 2)})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, nullptr),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, kReferHeading);
}

TEST_F(CountReferTest, FilledReportFailsEvenWithoutFindings) {
  auto lib = BuildLib({Table("t", {Field("v")})});
  report_ = "x ";
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, nullptr),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, "x ");
}

TEST_F(CountReferTest, StructWithoutTypeMetaReportsNullButResultFollowsTheReport) {
  auto lib = BuildLib({Table("t", {Field("s", ZEM_TYPE_STRUCT), Field("v")})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, log_.handle()), 0);
  EXPECT_EQ(report_, "");
  EXPECT_EQ(Message(), "table_meta is NULL!");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "table_meta is NULL!", "CheckWhetherCountWithRefer")));
}

TEST_F(CountReferTest, NestedStructWithoutTypeMetaLogsUnderThePublicCheck) {
  auto lib = BuildLib({Table("mid", {Field("hole", ZEM_TYPE_STRUCT)}),
                       Table("t", {Struct("m", "mid"), Field("v")})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "t"), report_, log_.handle()), 0);
  EXPECT_EQ(report_, "");
  EXPECT_EQ(Message(), "table_meta is NULL!");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "table_meta is NULL!", "CheckWhetherCountWithRefer")));
}

TEST_F(CountReferTest, SelfContainingStructEnds) {
  auto lib = BuildLib({Table("node", {Array("arr", 2), Struct("self", "node")})});
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "node"), report_, log_.handle()),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, std::string(kReferHeading) + "arr ");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

// A chain of structs m0 -> m1 -> ... -> m69, each with its own array arr<i> without refer.
std::vector<ZemMetaDef> StructChain(int length) {
  std::vector<ZemMetaDef> metas;
  for (int i = 0; i < length; ++i) {
    std::vector<ZemEntryDef> entries = {Array("arr" + std::to_string(i), 2)};
    if (i + 1 < length) entries.push_back(Struct("next", "m" + std::to_string(i + 1)));
    metas.push_back(Table("m" + std::to_string(i), entries));
  }
  return metas;
}

std::string ListedArrays(const char* heading, int levels) {
  std::string expected = heading;
  for (int i = 0; i < levels; ++i) expected += "arr" + std::to_string(i) + " ";
  return expected;
}

TEST_F(CountReferTest, StructsAreDescendedAtMost64LevelsDeep) {
  auto lib = BuildLib(StructChain(70));
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "m0"), report_, nullptr),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, ListedArrays(kReferHeading, 64));
}

TEST_F(CountReferTest, StructChainOf64LevelsIsExaminedWhole) {
  auto lib = BuildLib(StructChain(64));
  EXPECT_EQ(checker_.CheckWhetherCountWithRefer(MetaOf(lib, "m0"), report_, nullptr),
            ERROR_COUNT_WITHNOT_REFER);
  EXPECT_EQ(report_, ListedArrays(kReferHeading, 64));
}

// What a table change adds.

TEST_F(CountReferTest, NewEntryCheckRejectsNullOldMetaFirst) {
  auto lib = BuildLib({Table("t", {Field("v")})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(nullptr, nullptr, report_, log_.handle()),
            -1);
  EXPECT_EQ(Message(), "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!");
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(lib, "t"), nullptr, report_,
                                                        log_.handle()),
            -1);
  EXPECT_EQ(Message(), "CheckWhetherNewEntryCountWithRefer:new_meta is NULL!");
  EXPECT_EQ(report_, "");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!",
                                    "CheckWhetherNewEntryCountWithRefer"),
                          LogLineIs(300, "CheckWhetherNewEntryCountWithRefer:new_meta is NULL!",
                                    "CheckWhetherNewEntryCountWithRefer")));
}

TEST_F(CountReferTest, NewEntryCheckFillsBufferWithoutLogHandle) {
  auto lib = BuildLib({Table("t", {Field("v")})});
  EXPECT_EQ(
      checker_.CheckWhetherNewEntryCountWithRefer(nullptr, MetaOf(lib, "t"), report_, nullptr), -1);
  EXPECT_EQ(Message(), "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!");
}

TEST_F(CountReferTest, UnchangedTableWithOldArraysPasses) {
  auto old_lib = BuildLib(
      {Table("inner", {Array("x", 3)}), Table("t", {Array("a", 4), Struct("s", "inner")})});
  auto new_lib = BuildLib(
      {Table("inner", {Array("x", 3)}), Table("t", {Array("a", 4), Struct("s", "inner")})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, log_.handle()),
            0);
  EXPECT_EQ(report_, "");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CountReferTest, AddedArrayWithoutReferIsListed) {
  auto old_lib = BuildLib({Table("t", {Array("a", 4)})});
  auto new_lib = BuildLib({Table("t", {Array("a", 4), Array("c", 3)})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, log_.handle()),
            -36);
  EXPECT_EQ(report_, std::string(kNewHeading) + "c ");
  EXPECT_EQ(Message(), "");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CountReferTest, NamesAreMatchedCaseSensitively) {
  auto old_lib = BuildLib({Table("t", {Array("a", 4)})});
  auto new_lib = BuildLib({Table("t", {Array("A", 4)})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            -36);
  EXPECT_EQ(report_, std::string(kNewHeading) + "A ");
}

TEST_F(CountReferTest, EveryEntryIsNewWhenTheOldTableHasNone) {
  auto old_lib = BuildLib({Table("t", {})});
  auto new_lib = BuildLib({Table("t", {Array("a", 2), Field("v"), Array("b", 3)})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            -36);
  EXPECT_EQ(report_, std::string(kNewHeading) + "a b ");
}

TEST_F(CountReferTest, ChangedEntryIsNotJudgedItself) {
  auto old_lib = BuildLib({Table("t", {Field("n"), Array("a", 2, "n")})});
  auto new_lib = BuildLib({Table("t", {Field("n"), Array("a", 8)})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            0);
  EXPECT_EQ(report_, "");
}

TEST_F(CountReferTest, NewTableWithoutEntriesFollowsTheReport) {
  auto old_lib = BuildLib({Table("t", {Array("a", 2)})});
  auto new_lib = BuildLib({Table("t", {})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            0);
  report_ = "earlier ";
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            -36);
  EXPECT_EQ(report_, "earlier ");
}

TEST_F(CountReferTest, AddedStructIsExaminedWholeUnderTheTableHeading) {
  auto old_lib = BuildLib({Table("t", {Field("v")})});
  auto new_lib = BuildLib({Table("inner", {Array("x", 2), Array("m", 3)}),
                           Table("t", {Field("v"), Struct("st", "inner")})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            -36);
  // The struct itself is no array, so the heading is written by the check of its members.
  EXPECT_EQ(report_, std::string(kReferHeading) + "x m ");
}

TEST_F(CountReferTest, AddedStructArrayIsListedBeforeItsMembers) {
  auto old_lib = BuildLib({Table("t", {Field("v")})});
  auto new_lib = BuildLib(
      {Table("inner", {Array("x", 2)}), Table("t", {Field("v"), Struct("st", "inner", 2)})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            -36);
  EXPECT_EQ(report_, std::string(kNewHeading) + "st x ");
}

TEST_F(CountReferTest, ChangedStructIsComparedWithTheLastOldEntrysStructDeliberately) {
  // s changes (its struct grew). Its members are compared with the struct of the last old entry,
  // z, not with the old s: m, which the old s already had, counts as added.
  ZemEntryDef old_s = Struct("s", "old_inner");
  old_s.unit_size = 8;
  ZemEntryDef new_s = Struct("s", "new_inner");
  new_s.unit_size = 12;
  ZemEntryDef z = Struct("z", "zmeta");
  z.unit_size = 4;
  auto old_lib = BuildLib(
      {Table("old_inner", {Array("m", 2)}), Table("zmeta", {Field("w")}), Table("t", {old_s, z})});
  auto new_lib = BuildLib({Table("new_inner", {Array("m", 2), Field("w")}),
                           Table("zmeta", {Field("w")}), Table("t", {new_s, z})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, log_.handle()),
            -36);
  EXPECT_EQ(report_, std::string(kNewHeading) + "m ");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CountReferTest, ChangedStructWhoseLastOldEntryHasNoStructReportsNull) {
  auto old_lib = BuildLib({Table("t", {Field("s")})});
  auto new_lib = BuildLib({Table("inner", {Array("x", 2)}), Table("t", {Struct("s", "inner")})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, log_.handle()),
            0);
  EXPECT_EQ(report_, "");
  EXPECT_EQ(Message(), "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "CheckWhetherNewEntryCountWithRefer:old_meta is NULL!",
                                    "CheckWhetherNewEntryCountWithRefer")));
}

TEST_F(CountReferTest, LaterIdenticalOldEntryKeepsTheNewOneUnchanged) {
  // The first old s differs, the second matches: s is unchanged and its struct is not compared,
  // although the last old entry's struct lacks x.
  ZemEntryDef first = Struct("s", "inner");
  first.unit_size = 99;
  ZemEntryDef second = Struct("s", "inner");
  second.unit_size = 8;
  ZemEntryDef z = Struct("z", "zmeta");
  auto old_lib = BuildLib({Table("inner", {Array("x", 2)}), Table("zmeta", {Field("w")}),
                           Table("t", {first, second, z})});
  auto new_lib = BuildLib({Table("inner", {Array("x", 2)}), Table("t", {second})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            0);
  EXPECT_EQ(report_, "");
}

TEST_F(CountReferTest, SelfContainingChangedStructEnds) {
  ZemEntryDef old_self = Struct("self", "node");
  old_self.unit_size = 8;
  ZemEntryDef new_self = Struct("self", "node");
  new_self.unit_size = 16;
  auto old_lib = BuildLib({Table("node", {old_self})});
  auto new_lib = BuildLib({Table("node", {new_self, Array("c", 3)})});
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "node"),
                                                        MetaOf(new_lib, "node"), report_, nullptr),
            -36);
  EXPECT_EQ(report_, std::string(kNewHeading) + "c ");
}

TEST_F(CountReferTest, AddedStructChainIsDescendedAtMost64LevelsDeep) {
  // Level 0 is the changed table; the added struct m0 starts at level 1.
  std::vector<ZemMetaDef> metas = StructChain(70);
  metas.push_back(Table("t", {Field("v"), Struct("head", "m0")}));
  auto old_lib = BuildLib({Table("t", {Field("v")})});
  auto new_lib = BuildLib(metas);
  EXPECT_EQ(checker_.CheckWhetherNewEntryCountWithRefer(MetaOf(old_lib, "t"), MetaOf(new_lib, "t"),
                                                        report_, nullptr),
            -36);
  EXPECT_EQ(report_, ListedArrays(kReferHeading, 63));
}

}  // namespace
