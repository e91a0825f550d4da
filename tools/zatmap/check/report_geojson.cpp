#include "check/report_files.h"
#include "check/report_text.h"

namespace zatmap::check {

void WriteGeoJson(const Report& report, const Places& places, Output& out) {
  out.Add("{\"type\":\"FeatureCollection\",\"name\":\"findings\",\"features\":[");
  bool first = true;
  for (const Finding& finding : report.chosen.findings) {
    const std::vector<zatlib::ShapePoint> points = places.Of(finding);
    Json geometry;  // null
    if (points.size() == 1) geometry = PointGeometry(points.front());
    if (points.size() > 1) geometry = LineGeometry(points);
    out.Add(first ? "\n" : ",\n");
    out.Add(JsonText(Feature(FindingJson(report.findings, finding), std::move(geometry))));
    first = false;
  }
  out.Add("\n]}\n");
}

}  // namespace zatmap::check
