// PLACEHOLDER: to be replaced by the count and refer checks.
#include "common/check_table.h"
#include "common/check_table_report.h"
int CheckTable::CheckStringWithCount(LPZEMMETA, std::string&, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckWhetherCountWithRefer(LPZEMMETA, std::string&, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckWhetherNewEntryCountWithRefer(LPZEMMETA, LPZEMMETA, std::string&, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckCountWithReferAt(LPZEMMETA, std::string&, LPWLOGCATEGORYINST, int) { return 0; }
int CheckTable::CheckNewEntryCountWithReferAt(LPZEMMETA, LPZEMMETA, std::string&, LPWLOGCATEGORYINST, int) { return 0; }
