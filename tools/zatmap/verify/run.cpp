#include "verify/run.h"

#include "shell/output.h"

namespace zatmap::verify {

void RunChecks(const MapFolder& map, Findings* findings, Totals* totals) {
  Verifier v(map, findings, totals);
  CheckManifest(v);
  CheckFiles(v);
  CheckTexts(v);
  LookAtFares(v);
  if (!LoadTables(v)) return;
  CheckLinks(v);
  CheckNodes(v);
  CheckFareLinks(v);
  CheckConnections(v);
  v.FreeNodes();
  CheckShapes(v);
}

std::string FirstError(const std::string& folder) {
  MapFolder map;
  if (!zatlib::map::OpenMapFolder(folder, &map).ok()) return "there are no files of a map";
  Findings findings(1);
  Totals totals;
  RunChecks(map, &findings, &totals);
  for (const Findings::Finding& finding : findings.Sorted()) {
    if (findings.InfoOf(finding.kind).severity != Severity::kError) continue;
    return PlaceText(findings, finding.place) + ": " +
           CleanText(finding.detail, Unclean::kQuestionMark) + " (" +
           std::to_string(findings.count(Severity::kError)) + " errors)";
  }
  return "";
}

std::string PlaceText(const Findings& findings, const Place& place) {
  std::string text = findings.PathOf(place.file);
  if (place.record > 0) text += ":" + std::to_string(place.record - 1);
  if (place.offset >= 0) text += ": byte " + std::to_string(place.offset);
  return text;
}

}  // namespace zatmap::verify
