// The observer of failures: each failure line reaches it with the element it judged, the result,
// the text it was made from and the message; nothing reaches it once its guard has ended.
#include <string>
#include <vector>

#include <velmora/check_table.h>
#include <velmora/check_table_findings.h>
#include "test_support.h"

namespace {

struct Seen {
  int result;
  std::string format;
  std::string message;
  CheckTableElementKind kind;
  const void* handle;
};

class Recorder : public CheckTableObserver {
 public:
  void OnFailure(const CheckTableFailure& failure) override {
    seen.push_back(Seen{failure.result, failure.format, failure.message, failure.element.kind,
                        failure.element.handle});
  }
  std::vector<Seen> seen;
};

int CheckTableNamed(LPZEMMETALIB lib, const char* name, const std::string& svr = "") {
  CheckTable checker;
  return checker.VelmoraCheckTable(lib, name, 0, nullptr, svr, "", "none");
}

TEST(CheckTableFindings, HandsTheIndexAtFaultWithTheCheckLineThenTheWrapper) {
  ZemMetaDef meta = Table("t", {Field("a"), Field("v")}, {"a"});
  meta.indexes = {Index("by_av", {"a", "v"})};
  const ZemMetaLibPtr lib = BuildLib({meta});
  LPZEMMETA pstMeta = zem_get_meta_by_name(lib.get(), "t");
  Recorder recorder;
  {
    ScopedCheckTableObserver guard(&recorder);
    EXPECT_EQ(CheckTableNamed(lib.get(), "t"), ERROR_INDEX_FIELD);
  }
  ASSERT_EQ(recorder.seen.size(), 3u);
  EXPECT_EQ(recorder.seen[0].message, "Entry is not belong to primarykey!Entry:'v' table:'t'");
  EXPECT_EQ(recorder.seen[0].kind, CheckTableElementKind::kTable);
  EXPECT_EQ(recorder.seen[1].format,
            "The index field should be primarykey field! index:'%s', table:'%s'");
  EXPECT_EQ(recorder.seen[1].kind, CheckTableElementKind::kIndex);
  EXPECT_EQ(recorder.seen[1].handle, zem_meta_index(pstMeta, 0));
  EXPECT_EQ(recorder.seen[1].result, ERROR_INDEX_FIELD);
  EXPECT_EQ(recorder.seen[2].message, "CheckIndex failed! table:'t',ret:-6");
  EXPECT_EQ(recorder.seen[2].kind, CheckTableElementKind::kTable);
}

TEST(CheckTableFindings, HandsEveryOversizedFieldWithItsEntry) {
  ZemEntryDef big = Field("blob", ZEM_TYPE_STRING);
  big.unit_size = 300000;
  ZemEntryDef bigger = Field("more", ZEM_TYPE_STRING);
  bigger.unit_size = 400000;
  const ZemMetaLibPtr lib = BuildLib({Table("t", {Field("a"), big, bigger}, {"a"})});
  LPZEMMETA pstMeta = zem_get_meta_by_name(lib.get(), "t");
  Recorder recorder;
  ScopedCheckTableObserver guard(&recorder);
  EXPECT_EQ(CheckTableNamed(lib.get(), "t", "3.0.0"), ERROR_ENTRY_LENGTH_NOT_LEGAL);
  // The line of a table without indexes is logged at error priority although nothing fails.
  ASSERT_EQ(recorder.seen.size(), 5u);
  EXPECT_EQ(recorder.seen[0].message, "Table dose not have indexs, table:'t'");
  EXPECT_EQ(recorder.seen[0].result, 0);
  recorder.seen.erase(recorder.seen.begin());
  EXPECT_EQ(recorder.seen[0].message, "entry blob length(300000) is greater than 128k");
  EXPECT_EQ(recorder.seen[0].format, "entry %s length(%d) is greater than 128k");
  EXPECT_EQ(recorder.seen[0].handle, zem_get_entry_by_index(pstMeta, 1));
  EXPECT_EQ(recorder.seen[1].handle, zem_get_entry_by_index(pstMeta, 2));
  EXPECT_EQ(recorder.seen[1].kind, CheckTableElementKind::kEntry);
  EXPECT_EQ(recorder.seen[2].message, "ERR_ENTRY_LEN;blob|more|");
  EXPECT_EQ(recorder.seen[3].message, "CheckFieldNameLength failed! table:'t', svrMinVersion:3.0.0");
  EXPECT_EQ(recorder.seen[3].result, ERROR_ENTRY_LENGTH_NOT_LEGAL);
}

TEST(CheckTableFindings, HandsTheKeyAttributeOfARepeatedKeyMember) {
  const ZemMetaLibPtr lib = BuildLib({Table("t", {Field("a"), Field("v")}, {"a", "a"})});
  Recorder recorder;
  ScopedCheckTableObserver guard(&recorder);
  EXPECT_EQ(CheckTableNamed(lib.get(), "t"), ERROR_REPEATED_FIELD_NAME);
  ASSERT_EQ(recorder.seen.size(), 2u);
  EXPECT_EQ(recorder.seen[0].kind, CheckTableElementKind::kPrimaryKey);
  EXPECT_EQ(recorder.seen[0].handle, zem_get_meta_by_name(lib.get(), "t"));
}

TEST(CheckTableFindings, ReachNoObserverOnceTheGuardHasEndedAndRestoreTheOneBefore) {
  const ZemMetaLibPtr lib = BuildLib({Table("t", {Field("a")}, {"a"})});
  Recorder outer;
  Recorder inner;
  ScopedCheckTableObserver outer_guard(&outer);
  {
    ScopedCheckTableObserver inner_guard(&inner);
    EXPECT_EQ(CheckTableNamed(lib.get(), "1t"), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  }
  EXPECT_EQ(CheckTableNamed(lib.get(), "t"), ERROR_VALUE_FIELD);
  ASSERT_EQ(inner.seen.size(), 1u);
  EXPECT_EQ(inner.seen[0].message, "table name startswith digit.");
  ASSERT_EQ(outer.seen.size(), 2u);
  EXPECT_EQ(outer.seen[0].message, "The number of value field can not be zero! table: 't'");
  {
    ScopedCheckTableObserver none(nullptr);
    EXPECT_EQ(CheckTableNamed(lib.get(), "t"), ERROR_VALUE_FIELD);
  }
  EXPECT_EQ(outer.seen.size(), 2u);
}

}  // namespace
