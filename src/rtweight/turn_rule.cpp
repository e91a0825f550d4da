#include "rtweight/turn_rule.h"

#include <algorithm>
#include <cmath>

#include "frd/control.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr char kLimitSection[] = "ROADFLAG";
constexpr int kDefaultRight = 45;  // degrees
constexpr int kDefaultLeft = 135;  // degrees

// The way from an end of a shape to the point beside it.
struct EndWay {
  double x;  // degrees
  double y;
  double square;  // of its length
  double length;
};

EndWay WayFrom(const LinkEnds& link, int end) {
  EndWay way;
  way.x = InDegrees(link.beside[end].X) - InDegrees(link.point[end].X);
  way.y = InDegrees(link.beside[end].Y) - InDegrees(link.point[end].Y);
  way.square = way.x * way.x + way.y * way.y;
  way.length = std::sqrt(way.square);
  return way;
}

// The turn from one way to another one with the same end.
bool IsWeightedWay(const EndWay& in, const EndWay& out, const TurnLimits& limits) {
  const double dx_in = -in.x;
  const double dy_in = -in.y;
  const double dx_out = out.x;
  const double dy_out = out.y;
  // A segment that runs exactly east-west or north-south beside the junction weights nothing; maps
  // in use were made so, and routes computed on them would change.
  if (dx_in * dy_in == 0.0 || dx_out * dy_out == 0.0) return false;

  double cosine = -1.0;
  if (in.square > 0.0 && out.square > 0.0) {
    cosine = (dx_in * dx_out + dy_in * dy_out) / (out.length * in.length);
  }
  // Side of the departure: above or below the line of the arrival, seen from the junction.
  const double line_y = dx_out * dy_in / dx_in;
  bool right = true;
  if (dy_out < line_y) {
    right = dx_in > 0.0;
  } else if (dy_out > line_y) {
    right = !(dx_in > 0.0);
  }
  return (right ? limits.cos_right : limits.cos_left) >= cosine;
}

bool IsSamePoint(const ShapePoint& a, const ShapePoint& b) { return a.X == b.X && a.Y == b.Y; }

double CosineLimit(const char* road_definition, const char* key, int default_degrees) {
  const int degrees =
      platform::ReadProfileInt(kLimitSection, key, default_degrees, road_definition);
  return std::cos(degrees * 3.141592653589793 / 180.0);
}

}  // namespace

LinkEnds EndsOfShape(const ShapeEnds& shape) {
  LinkEnds ends;
  ends.usable = true;
  ends.point[0] = shape.First;
  ends.beside[0] = shape.Second;
  ends.point[1] = shape.Last;
  ends.beside[1] = shape.BeforeLast;
  return ends;
}

TurnLimits ReadTurnLimits(const char* folder) {
  const PathText definition = PathIn(folder, kRoadDefinitionFile);
  return {CosineLimit(definition.c_str(), "RTWEIGHT_RIGHT", kDefaultRight),
          CosineLimit(definition.c_str(), "RTWEIGHT_LEFT", kDefaultLeft)};
}

bool IsWeighted(const LinkEnds& in, const LinkEnds& out, const TurnLimits& limits) {
  if (!in.usable || !out.usable) return false;
  for (int i = 0; i < 2; ++i) {
    for (int o = 0; o < 2; ++o) {
      if (IsSamePoint(in.point[i], out.point[o])) {
        return IsWeightedWay(WayFrom(in, i), WayFrom(out, o), limits);
      }
    }
  }
  return false;
}

int MM_SUB_IsWeightedTurn(int32_t arrival, const NodeTurns& node, int32_t departure,
                          const TurnLimits& limits) {
  const int32_t* const begin = node.neighbour;
  const int32_t* const end = begin + node.slots;
  const auto in_slot = std::find(begin, end, arrival) - begin;
  const auto out_slot = std::find(begin, end, departure) - begin;
  if (in_slot == node.slots || out_slot == node.slots) return 0;
  return IsWeighted(node.ends[in_slot], node.ends[out_slot], limits) ? 1 : 0;
}

}  // namespace zatlib
