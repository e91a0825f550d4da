// zatmap verify: link.idx, linknode.idx, mapdraw.dat and linkname.dat, and what joins them.
#include <cinttypes>
#include <cmath>
#include <cstddef>

#include "shell/output.h"
#include "shell/terminal_progress.h"
#include "toll/fare_files.h"
#include "verify/verifier.h"

namespace zatmap::verify {
namespace {

// An end of a link: its name, and where linknode.idx and mapdraw.dat hold it.
struct End {
  const char* name;
  size_t node_at;
  size_t x_at;
  size_t y_at;
};
constexpr End kEndA = {"A", offsetof(LinkNodes, NodeA), offsetof(DrawingRecord, XA),
                       offsetof(DrawingRecord, YA)};
constexpr End kEndB = {"B", offsetof(LinkNodes, NodeB), offsetof(DrawingRecord, XB),
                       offsetof(DrawingRecord, YB)};

bool IsWholeCode(FeatureCode code, int code_length) {
  if (code_length != zatlib::kDecimalCode) {
    return code.AsInteger() > 0 && code.AsInteger() < 1000000000000000000;
  }
  const double value = code.AsDouble();
  return value > 0 && value < 1e14 && value == std::floor(value);
}

void CheckLinkIndex(Verifier& v) {
  RecordReader<DrawingRecord> drawings;
  DrawingRecord drawing;
  drawings.Open(v.map, zatlib::kDrawingFile);
  for (int64_t l = 0; l < v.map.links && drawings.Next(&drawing); ++l) {
    v.codes[static_cast<size_t>(l)] = drawing.LinkCode;
  }
  std::vector<bool> seen(static_cast<size_t>(v.map.links));
  RecordReader<CodeIndexRecord> index;
  CodeIndexRecord record;
  FeatureCode previous;
  const char* const file = zatlib::kLinkIndexFile;
  if (!index.Open(v.map, file)) return;
  for (int64_t i = 0; index.Next(&record); ++i) {
    CheckIndexCode(v, file, i, record.Code, previous);
    previous = record.Code;
    const Spot place = At<CodeIndexRecord>(file, i, offsetof(CodeIndexRecord, Number));
    if (!v.HasLink(record.Number)) {
      v.Add(Kind::kReference, place, "link number %d, but there are %" PRId64 " links",
            record.Number, v.map.links);
      continue;
    }
    const auto number = static_cast<size_t>(record.Number);
    if (seen[number]) {
      v.Add(Kind::kReference, place, "link number %d stands in the index twice", record.Number);
    }
    seen[number] = true;
    if (v.codes[number].bits != record.Code.bits) {
      v.Add(Kind::kCodes, At<CodeIndexRecord>(file, i, 0),
            "code %s leads to link %d, whose code in %s is %s", v.Code(record.Code).c_str(),
            record.Number, zatlib::kDrawingFile, v.LinkCode(number).c_str());
    }
    v.links[number].city = record.CityCode;
  }
  for (size_t l = 0; l < seen.size(); ++l) {
    if (!seen[l]) {
      v.Add(Kind::kReference, At<DrawingRecord>(zatlib::kDrawingFile, static_cast<int64_t>(l), 0),
            "link %zu (code %s) is not in %s", l, v.LinkCode(l).c_str(), file);
    }
  }
}

int32_t CheckEnd(Verifier& v, int64_t link, int32_t node, End end) {
  if (v.HasNode(node)) return node;
  v.Add(Kind::kReference, At<LinkNodes>(zatlib::kLinkNodeFile, link, end.node_at),
        "node %s is number %d, but there are %" PRId64 " nodes", end.name, node, v.map.nodes);
  return -1;
}

// A coordinate of mapdraw.dat against that of the end's node.
void CheckDrawn(Verifier& v, const Spot& spot, char axis, const char* end, int32_t node,
                const int32_t (&drawn_and_located)[2]) {
  const auto [drawn, located] = drawn_and_located;
  if (drawn == located) return;
  v.Add(Kind::kCoordinate, spot, "%c of node %s is %s, but %s has %s for node %d", axis, end,
        Degrees(drawn).c_str(), zatlib::kNodeLocationFile, Degrees(located).c_str(), node);
}

void CheckDrawnEnd(Verifier& v, int64_t l, int32_t node, const zatlib::ShapePoint& drawn,
                   const End& end) {
  if (!v.locations.Holds(node)) return;
  const NodeLocation& location = v.locations[node];
  const char* const file = zatlib::kDrawingFile;
  CheckDrawn(v, At<DrawingRecord>(file, l, end.x_at), 'X', end.name, node, {drawn.X, location.X});
  CheckDrawn(v, At<DrawingRecord>(file, l, end.y_at), 'Y', end.name, node, {drawn.Y, location.Y});
}

void CheckDrawing(Verifier& v, int64_t l, const DrawingRecord& drawing, const LinkFacts& link) {
  if (drawing.Link != l) {
    v.Add(Kind::kReference,
          At<DrawingRecord>(zatlib::kDrawingFile, l, offsetof(DrawingRecord, Link)),
          "link number %d in the record of link %" PRId64, drawing.Link, l);
  }
  CheckDrawnEnd(v, l, link.node_a, {drawing.XA, drawing.YA}, kEndA);
  CheckDrawnEnd(v, l, link.node_b, {drawing.XB, drawing.YB}, kEndB);
}

// True when some road flag together with the road kind gives these flags.
bool FlagsArePossible(Verifier& v, const LinkNameRecord& name) {
  const int32_t values[] = {0,
                            v.definition.highway,
                            v.definition.pay_road,
                            v.definition.ferry,
                            v.definition.railroad,
                            v.definition.parking_or_air,
                            v.definition.toll_gate,
                            v.definition.pedestrian_or_ship};
  // The interchange step has set and cleared this one as the fare data say.
  const int mask = v.tolls == TollFlags::kUntouched ? 0xff : 0xff & ~zatlib::kFlagTollGate;
  for (const int32_t value : values) {
    if (value < 0 || value > INT16_MAX) continue;
    LinkNameRecord record = name;
    zatlib::BRN_SetLinkFlags(static_cast<int16_t>(value), v.definition, &record);
    if ((record.Flags & mask) == (name.Flags & mask)) return true;
  }
  return false;
}

void CheckLinkName(Verifier& v, int64_t l, const LinkNameRecord& name) {
  const char* const file = zatlib::kLinkNameFile;
  CheckName(v, At<LinkNameRecord>(file, l, 0), name.Name);
  if (name.reserved != 0) {
    v.Add(Kind::kZeroBytes, At<LinkNameRecord>(file, l, offsetof(LinkNameRecord, reserved)),
          "bytes that are always zero are not");
  }
  if (name.Name[0] == 0 && (name.NameNumber != 0 || name.NameValue != 0)) {
    v.Add(Kind::kName, At<LinkNameRecord>(file, l, offsetof(LinkNameRecord, NameNumber)),
          "number %d and value %d of a name, but no name", name.NameNumber, name.NameValue);
  }
  if (!FlagsArePossible(v, name)) {
    v.Add(Kind::kFlags, At<LinkNameRecord>(file, l, offsetof(LinkNameRecord, Flags)),
          "no road flag of linkdef.dat gives a link of road kind %d the flags 0x%02x",
          name.RoadKind, name.Flags);
  }
}

// A link that is made between two partner nodes. A source may hold a link with a code of that
// range; nothing is said about it unless it looks like one of them.
void CheckPartnerLink(Verifier& v, int64_t l, const DrawingRecord& drawing, const LinkFacts& link) {
  const FeatureCode first = zatlib::DummyLinkCode(1, v.map.code_length);
  if (drawing.LinkCode < first || drawing.RoadKind != zatlib::kDummyRoadKind) return;
  if (drawing.Value4 != zatlib::kDummyValue4 && link.city != zatlib::kDummyCityCode) return;
  if (drawing.Value4 != zatlib::kDummyValue4) {
    v.Add(Kind::kPartnerLink,
          At<DrawingRecord>(zatlib::kDrawingFile, l, offsetof(DrawingRecord, Value4)),
          "link value 4 of a link between partner nodes is %d, not 99", drawing.Value4);
  }
  if (link.city != zatlib::kDummyCityCode) {
    v.Add(Kind::kPartnerLink, At<DrawingRecord>(zatlib::kDrawingFile, l, 0),
          "the city code of this link between partner nodes is %u in link.idx, not 99000",
          link.city);
  }
  if (link.length != 0 || link.speed_a != 0 || link.speed_b != 0) {
    v.Add(Kind::kPartnerLink, At<LinkNodes>(zatlib::kLinkNodeFile, l, offsetof(LinkNodes, SpeedA)),
          "a link between partner nodes with speeds or a length");
  }
}

void CheckLinkTables(Verifier& v) {
  TerminalProgress progress("verify: links");
  RecordReader<LinkNodes> nodes;
  RecordReader<DrawingRecord> drawings;
  RecordReader<LinkNameRecord> names;
  nodes.Open(v.map, zatlib::kLinkNodeFile);
  drawings.Open(v.map, zatlib::kDrawingFile);
  names.Open(v.map, zatlib::kLinkNameFile);
  LinkNodes ends;
  DrawingRecord drawing;
  LinkNameRecord name;
  for (int64_t l = 0; l < v.map.links && nodes.Next(&ends); ++l) {
    progress.At(l, v.map.links);
    const bool has_drawing = drawings.Next(&drawing);
    const bool has_name = names.Next(&name);
    LinkFacts& link = v.link(l);
    link.node_a = CheckEnd(v, l, ends.NodeA, kEndA);
    link.node_b = CheckEnd(v, l, ends.NodeB, kEndB);
    link.speed_a = ends.SpeedA;
    link.speed_b = ends.SpeedB;
    link.length = ends.Value3;
    link.kind = has_name ? name.RoadKind : drawing.RoadKind;
    link.flags = name.Flags;
    if (ends.reserved != 0) {
      v.Add(Kind::kZeroBytes,
            At<LinkNodes>(zatlib::kLinkNodeFile, l, offsetof(LinkNodes, reserved)),
            "bytes that are always zero are not");
    }
    if (has_drawing) CheckDrawing(v, l, drawing, link);
    if (has_name) CheckLinkName(v, l, name);
    if (has_name && has_drawing && drawing.RoadKind != name.RoadKind) {
      v.Add(Kind::kRoadKind,
            At<DrawingRecord>(zatlib::kDrawingFile, l, offsetof(DrawingRecord, RoadKind)),
            "road kind %d, but %s says %d", drawing.RoadKind, zatlib::kLinkNameFile, name.RoadKind);
    }
    if (has_drawing) CheckPartnerLink(v, l, drawing, link);
  }
}

}  // namespace

void CheckIndexCode(Verifier& v, const char* file, int64_t i, FeatureCode code,
                    FeatureCode previous) {
  const Spot place = At<CodeIndexRecord>(file, i, 0);
  if (std::isnan(code.AsDouble()) || std::isinf(code.AsDouble())) {
    v.Add(Kind::kCodes, place, "the 8 bytes are no code");
  } else if (!IsWholeCode(code, v.map.code_length)) {
    v.Add(Kind::kCodesWarning, place, "code %s is no whole number of up to %d digits",
          v.Code(code).c_str(), v.map.code_length);
  }
  if (i > 0 && !(previous < code)) {
    v.Add(Kind::kOrder, place, "code %s is not greater than the one before it, %s",
          v.Code(code).c_str(), v.Code(previous).c_str());
  }
}

void CheckLinks(Verifier& v) {
  CheckLinkIndex(v);
  CheckLinkTables(v);
}

void CheckFareLinks(Verifier& v) {
  if (v.tolls != TollFlags::kSet) return;
  std::vector<bool> listed(v.links.size());
  RecordReader<zatlib::FareLinkRecord> fares;
  zatlib::FareLinkRecord fare;
  zatlib::map::CodeIndex index;
  index.Open(v.map, zatlib::kLinkIndexFile);
  fares.Open(v.map, zatlib::kFareLinkFile);
  while (fares.Next(&fare)) {
    if (fare.Valid < 1 || fare.Interchange != 1) continue;
    const int64_t number = index.Number(fare.LinkCode);
    if (v.HasLink(number)) listed[static_cast<size_t>(number)] = true;
  }
  for (size_t l = 0; l < v.links.size(); ++l) {
    const bool flag = (v.links[l].flags & zatlib::kFlagTollGate) != 0;
    if (flag == listed[l]) continue;
    v.Add(Kind::kFlags,
          At<LinkNameRecord>(zatlib::kLinkNameFile, static_cast<int64_t>(l),
                             offsetof(LinkNameRecord, Flags)),
          flag ? "the interchange flag, but %s does not list link %s"
               : "no interchange flag, but %s lists link %s",
          zatlib::kFareLinkFile, v.LinkCode(l).c_str());
  }
}

void CheckConnections(Verifier& v) {
  for (size_t l = 0; l < v.links.size(); ++l) {
    const LinkFacts& link = v.links[l];
    if (link.listed == 3 || link.node_a < 0 || link.node_b < 0) continue;
    for (int end = 0; end < 2; ++end) {
      if ((link.listed & (1 << end)) != 0) continue;
      ++v.totals.unconnected_ends;
      v.Add(Kind::kUnconnected,
            At<LinkNodes>(zatlib::kLinkNodeFile, static_cast<int64_t>(l),
                          static_cast<size_t>(end) * 4),
            "node %d does not list link %zu (code %s): nobody can leave the node along it",
            end == 0 ? link.node_a : link.node_b, l, v.LinkCode(l).c_str());
    }
  }
}

}  // namespace zatmap::verify
