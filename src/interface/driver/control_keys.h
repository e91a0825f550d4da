// The sections of the control file and their keys. docs/control-file.md and docs/msr-layout.md list
// the same ones, and `zatmap check` tells every name that is not here.
#pragma once

#include <cstdint>
#include <span>

namespace zatlib {

enum class KeyType : uint8_t { kInteger, kText, kPath };

// A key; '#' at its end stands for a number of at least two digits: FILE01, FILE02.
struct ControlKey {
  const char* name;
  KeyType type;
};

// Whose data a section is about.
enum class SectionOwner : uint8_t { kBoth, kZat, kMsr };

struct ControlSection {
  const char* name;
  SectionOwner owner;
  std::span<const ControlKey> keys;
};

namespace control_keys {

using enum KeyType;

inline constexpr ControlKey kFileCount = {"FILENUM", kInteger};
inline constexpr ControlKey kFiles = {"FILE#", kPath};

inline constexpr ControlKey kSystem[] = {
    {"FORMAT", kText},   {"SILENTMODE", kInteger}, {"CODELENGTH", kInteger}, {"BUILDMETHOD", kText},
    {"DEBUG", kInteger}, {"LOG", kInteger},        {"THREADS", kInteger},
};
inline constexpr ControlKey kFolder[] = {{"CALCMAPDIR", kPath}};
inline constexpr ControlKey kTukouj[] = {{"NOTADDONEWAY", kInteger}, kFileCount, kFiles};
inline constexpr ControlKey kFileList[] = {kFileCount, kFiles};
inline constexpr ControlKey kTollRoad[] = {{"NUMDEF", kInteger}, {"DEF#", kText}};
inline constexpr ControlKey kRoadFlag[] = {
    {"HIGHWAY", kInteger},       {"PAYROAD", kInteger},
    {"FERRY", kInteger},         {"RAILROAD", kInteger},
    {"TOLLGATE", kInteger},      {"PARKING", kInteger},
    {"AIR", kInteger},           {"PEDESTRIANWAY", kInteger},
    {"SHIP", kInteger},          {"RTWEIGHT_RIGHT", kInteger},
    {"RTWEIGHT_LEFT", kInteger}, {"RTWEIGHT", kInteger},
    {"ICWEIGHT", kInteger},
};
inline constexpr ControlKey kDefaultSpeed[] = {{"SPEEDA", kInteger}, {"SPEEDB", kInteger}};
inline constexpr ControlKey kMaybeMif[] = {kFileCount, kFiles, {"MIF", kInteger}};
inline constexpr ControlKey kDkukan[] = {kFileCount, kFiles, {"MIFOUTPUT", kInteger}};

}  // namespace control_keys

// In the order in which a name that is near to several is taken for one of them.
inline constexpr ControlSection kControlSections[] = {
    {"SYSTEM", SectionOwner::kBoth, control_keys::kSystem},
    {"FOLDER", SectionOwner::kBoth, control_keys::kFolder},
    {"TUKOUJ", SectionOwner::kBoth, control_keys::kTukouj},
    {"ATTRIBUTE", SectionOwner::kBoth, control_keys::kFileList},
    {"WIDTH", SectionOwner::kBoth, control_keys::kFileList},
    {"TOLLROAD", SectionOwner::kBoth, control_keys::kTollRoad},
    {"ROADFLAG", SectionOwner::kBoth, control_keys::kRoadFlag},
    {"DEFAULTSPEED", SectionOwner::kBoth, control_keys::kDefaultSpeed},
    {"NODE", SectionOwner::kZat, control_keys::kMaybeMif},
    {"NODENAME", SectionOwner::kZat, control_keys::kFileList},
    {"NODEXY", SectionOwner::kZat, control_keys::kFileList},
    {"LINK", SectionOwner::kZat, control_keys::kMaybeMif},
    {"LINKSPEED", SectionOwner::kZat, control_keys::kFileList},
    {"LINKNAME", SectionOwner::kZat, control_keys::kFileList},
    {"NODETRF", SectionOwner::kZat, control_keys::kFileList},
    {"LINKTRF", SectionOwner::kZat, control_keys::kFileList},
    {"LINKSHAPE", SectionOwner::kZat, control_keys::kFileList},
    {"DROTEN", SectionOwner::kMsr, control_keys::kFileList},
    {"DKUKAN", SectionOwner::kMsr, control_keys::kDkukan},
    {"KUKANZ", SectionOwner::kMsr, control_keys::kFileList},
};

}  // namespace zatlib
