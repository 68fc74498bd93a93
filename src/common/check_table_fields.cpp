// PLACEHOLDER: to be replaced by the value field, field length and field name checks.
#include "common/check_table.h"
#include "common/check_table_report.h"
int CheckTable::CheckValueField(LPZEMMETA, int, const std::string&, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckWhetherTypeSupportted(LPZEMMETAENTRY, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::GetValueFieldNum(LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
bool CheckTable::CheckValueFieldLen(LPZEMMETA, LPWLOGCATEGORYINST, const std::string&) { return true; }
int CheckTable::CheckFieldNameLength(LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
int CheckTable::CheckRepeatedFieldName(LPZEMMETA, LPWLOGCATEGORYINST) { return 0; }
