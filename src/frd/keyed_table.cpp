#include "frd/keyed_table.h"

namespace zatlib {

int32_t FRD_FindByKey(const KeyedRecord* table, int64_t count, double key) {
  const int64_t found = FindNarrowed(count, key, [table](int64_t i) { return table[i].key; });
  return found < 0 ? -1 : table[found].value;
}

}  // namespace zatlib
