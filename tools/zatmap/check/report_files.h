// Findings of `zatmap check` as files: for a GIS, and as a page for a browser.
#pragma once

#include <string>

#include "check/findings.h"
#include "check/report_places.h"
#include "check/report_rows.h"
#include "check/selection.h"
#include "shell/output.h"

namespace zatmap::check {

// What a report shows.
struct Report {
  const Findings& findings;
  const Chosen& chosen;
  const Selection& selection;
  std::string control_file;
};

// A FeatureCollection with a feature for each finding; one without a place has no geometry.
void WriteGeoJson(const Report& report, const Places& places, Output& out);

// One page that needs nothing else: summary, findings with the rows they are about, filters.
void WriteHtml(const Report& report, const RowTexts& rows, Output& out);

}  // namespace zatmap::check
