#include "map/shape_table.h"

#include <algorithm>

namespace zatlib::map {

constexpr int32_t kMostPoints = 10000000;  // of a shape that is looked at

Error ShapeTable::Load(const MapFolder& folder) {
  if (!HasFile(folder, kShapeIndexFile) || !HasFile(folder, kShapeDataFile)) return {};
  if (const Error error = index_.Load(folder, kShapeIndexFile); !error.ok()) return error;
  // Offsets are bytes, so points are read from bytes.
  if (!points_.Open(PathOf(folder, kShapeDataFile), 1)) {
    return {ErrorKind::kUnreadable, kShapeDataFile};
  }
  return {};
}

bool ShapeTable::Points(FeatureCode link, std::vector<ShapePoint>* points) const {
  points->clear();
  const auto* entry = std::lower_bound(
      index_.begin(), index_.end(), link,
      [](const ShapeIndexEntry& x, FeatureCode wanted) { return x.Code < wanted; });
  if (entry == index_.end() || !(entry->Code == link) || entry->Count < 2 ||
      entry->Count > kMostPoints) {
    return false;
  }
  const auto count = static_cast<size_t>(entry->Count);
  points->resize(count);
  if (points_.Read(entry->Offset, static_cast<int64_t>(count * sizeof(ShapePoint)),
                   points->data())) {
    return true;
  }
  points->clear();
  return false;
}

}  // namespace zatlib::map
