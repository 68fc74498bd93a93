#include "test_support.h"
#include "common/check_table.h"
#include "schema/zem.h"
TEST(Smoke, BuildsAndFinds) {
  auto lib = BuildLib({Table("player", {Field("uid"), Field("v")}, {"uid"})});
  ASSERT_NE(lib, nullptr);
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "player");
  ASSERT_NE(meta, nullptr);
  EXPECT_STREQ(zem_get_meta_name(meta), "player");
  EXPECT_EQ(zem_get_entry_num(meta), 2);
  EXPECT_STREQ(zem_get_entry_name(zem_get_entry_by_index(meta, 1)), "v");
  EXPECT_EQ(zem_meta_metalib(meta), lib.get());
  LogCapture log;
  CheckTable c;
  EXPECT_EQ(c.VelmoraCheckTable(lib.get(), "player", 0, log.handle(), "", "", "none"), 0);
  EXPECT_EQ(log.lines().back().text, "CheckTable succees! table:'player'");
  EXPECT_EQ(log.lines().back().file, "src/common/check_table.cpp");
}
