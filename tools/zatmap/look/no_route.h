// Words for why there is no route.
#pragma once

#include <string>

#include "map/barriers.h"
#include "map/built_map.h"
#include "shell/output.h"

namespace zatmap {

// Some lines for a person: what bars the way, how far one gets, whether there is a way back.
std::string NoRouteText(const zatlib::map::BuiltMap& map, const zatlib::map::NoRoute& why,
                        int64_t from, int64_t to);

// The same for programs, without the nodes themselves.
Json NoRouteJson(const zatlib::map::BuiltMap& map, const zatlib::map::NoRoute& why);

}  // namespace zatmap
