#include "frd/keyed_table.h"

namespace zatlib {

int32_t FRD_FindByKey(const KeyedRecord* table, int64_t count, double key) {
  const int64_t found = FindNarrowed(count, key, [table](int64_t i) { return table[i].key; });
  return found < 0 ? -1 : table[found].value;
}

int64_t FRD_FindFirstByKey(double key, int64_t count, const KeyedRecord* table) {
  int64_t found = FindNarrowed(count, key, [table](int64_t i) { return table[i].key; });
  while (found > 0 && table[found - 1].key == key) --found;
  return found;
}

int FRD_SortByKey(int64_t count, KeyedRecord* table) {
  if (count >= 2) SortRecords(table, count, [](const KeyedRecord& r) { return r.key; });
  return 1;
}

}  // namespace zatlib
