// PLACEHOLDER: to be replaced by the key and index checks.
#include "common/check_table.h"
#include "common/check_table_report.h"
int CheckTable::CheckPrimaryKey(LPZEMMETA, const int, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckSplittableKey(LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckIndex(LPZEMMETA, const int, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CompareIndexColumn(LPZEMMETAINDEX, LPZEMMETAINDEX, LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckWhetherExistEntry(const char*, LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckWhetherPrimaryKey(const char*, LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckWhetherIndex(const char*, LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckWhetherColumnField(const char*, LPZEMMETAINDEX, LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
