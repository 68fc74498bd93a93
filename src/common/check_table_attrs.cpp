// PLACEHOLDER: to be replaced by the table attribute checks.
#include "common/check_table.h"
#include "common/check_table_report.h"
int CheckTable::CheckTableTypeByCustomAttr(LPZEMMETALIB, const char*, int&, int&, int&, int&, char*, bool, LPWLOGCATEGORYINST) { return -46; }
int CheckTable::CheckStringDisplayCharset(const char*, LPWLOGCATEGORYINST) { return 0; }
bool CheckTable::CheckStr(const char*, const char*) { return false; }
int CheckTable::CheckGenericEntries(LPZEMMETALIB, LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckListEntries(LPZEMMETALIB, LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckSortEntries(LPZEMMETALIB, LPZEMMETA, int, LPWLOGCATEGORYINST) { return 0; }
