#include "build/sources.h"

#include "frd/control.h"
#include "frd/text.h"
#include "interface/driver/build_driver.h"
#include "network/workstore/work_stores.h"
#include "toll/fare_files.h"
#include "toll/interchange_flags.h"

namespace zatmap {
namespace {

using zatlib::ControlInt;

// What is read of a file that a section names.
enum class Reads : unsigned char { kItself, kMid, kBoth };

// The files of a control file, section by section.
class List {
 public:
  explicit List(const BuildRequest& request) : control_(request.control_file.c_str()) {}

  int Int(const char* section, const char* key) const {
    return ControlInt(control_, section, key, 0);
  }

  // FILE01 to FILE`FILENUM`, at most `most` of them.
  void AddSection(const char* section, Reads reads = Reads::kItself, int most = INT32_MAX) {
    const int count = Int(section, "FILENUM");
    for (int i = 1; i <= count && i <= most; ++i) {
      const zatlib::PathText path = zatlib::ControlFile(control_, section, i);
      if (path.text[0] == 0) return;
      if (reads != Reads::kMid) files_.push_back({section, i, path.c_str()});
      if (reads == Reads::kItself) continue;
      zatlib::PathText mid;
      zatlib::FRD_MakeMidPath(path.c_str(), mid.text);
      files_.push_back({section, i, mid.c_str()});
    }
  }

  // A list of classes is read from a file when there is exactly one.
  void AddClasses(const char* section) {
    if (Int(section, "FILENUM") == 1) AddSection(section);
  }

  // Files of the output folder.
  void AddOutput(const BuildRequest& request, const char* section,
                 std::initializer_list<const char*> names) {
    int number = 0;
    for (const char* name : names) {
      files_.push_back({section, ++number, zatlib::PathIn(request.folder.c_str(), name).c_str()});
    }
  }

  std::vector<SourceFile> Take() { return std::move(files_); }

 private:
  const char* control_;
  std::vector<SourceFile> files_;
};

void AddZat(List& list) {
  const bool node_mif = list.Int("NODE", "MIF") != 0;
  const bool link_mif = list.Int("LINK", "MIF") != 0;
  // Node names come from the .mid in either case.
  list.AddSection("NODE", Reads::kBoth);
  list.AddSection("NODENAME");
  if (!node_mif) list.AddSection("NODEXY", Reads::kItself, 1);
  list.AddSection("LINK", link_mif ? Reads::kBoth : Reads::kItself);
  list.AddSection("LINKSPEED");
  list.AddSection("LINKNAME");
  list.AddSection("NODETRF");
  list.AddSection("LINKTRF");
  if (!link_mif) list.AddSection("LINKSHAPE");
}

void AddMsr(List& list) {
  list.AddSection("DROTEN", Reads::kBoth);
  list.AddSection("DKUKAN", list.Int("DKUKAN", "MIFOUTPUT") != 0 ? Reads::kBoth : Reads::kItself);
  list.AddSection("KUKANZ");
  list.AddSection("TUKOUJ");
}

}  // namespace

bool IsMsr(const BuildRequest& request) {
  return request.msr || zatlib::BRN_GetFormat(request.control_file.c_str()) == zatlib::kFormatMsr;
}

bool HasFareData(const BuildRequest& request) {
  return request.stage == "all" && zatlib::TR_CheckFareData(request.folder.c_str()) != 0;
}

std::vector<SourceFile> ListSources(const BuildRequest& request) {
  List list(request);
  if (request.stage == "two") {
    list.AddOutput(request, kStoreSection,
                   {zatlib::kNodeStoreFile, zatlib::kNodeNameStoreFile, zatlib::kLinkStoreFile,
                    zatlib::kLinkNameStoreFile, zatlib::kRuleStoreFile, zatlib::kOneWayStoreFile});
    return list.Take();
  }
  list.AddClasses("ATTRIBUTE");
  list.AddClasses("WIDTH");
  if (IsMsr(request)) {
    AddMsr(list);
  } else {
    AddZat(list);
  }
  if (HasFareData(request)) list.AddOutput(request, kFareSection, {zatlib::kFareLinkFile});
  return list.Take();
}

}  // namespace zatmap
