// The shapes of a map: the index in memory, the points in their file.
#pragma once

#include <cstdint>
#include <vector>

#include "map/record_files.h"
#include "shape/shape_files.h"

namespace zatlib::map {

class ShapeTable {
 public:
  // Opens both files. A map without shapes is no error: it has no entries then.
  Error Load(const MapFolder& folder);

  const RecordTable<ShapeIndexEntry>& index() const { return index_; }

  // Copies the points of a link's shape. False, with `points` empty, when the link has no shape of
  // two points or more, or its entry leads out of the file. Several threads may ask at once.
  bool Points(FeatureCode link, std::vector<ShapePoint>* points) const;

 private:
  RecordTable<ShapeIndexEntry> index_;
  RecordFile points_;
};

}  // namespace zatlib::map
