// Sources of whole builds that run through every stage and write every file of a map.
#pragma once

#include <string>

#include "small_build.h"

namespace zatlib::test {

class EveryStage : public SmallBuild {
 protected:
  // Six nodes: 1 is the junction of the links 11, 12 and 13, its partner 5 an end of link 14.
  void MakeZatSources() {
    Nodes({"@1,0,@5,3,@11,@12,@13,,,,,,One", "@2,0,0,1,@11", "@3,0,0,1,@12", "@4,0,0,1,@13",
           "@5,1,@1,1,@14", "@6,1,0,1,@14"},
          {"@1,135,35", "@2,134.999,34.999", "@3,135.002,34.998", "@4,135.001,35.001", "@5,1,1",
           "@6,2,2"});
    Source("NODENAME", "names.txt", {"@2,3,Two"});
    Links({"@11,3,1,10,0,0,0,@1,@2,36,36,0,1,Name", "@12,3,1,20,0,0,0,@1,@3,36,72,2",
           "@13,3,1,30,0,0,0,@4,@1,36,36", "@14,3,1,30,0,0,0,@5,@6,36,36"});
    Source("LINKSPEED", "speeds.txt", {"@11,,,20,30,1"});
    Source("LINKNAME", "linknames.txt", {"@12,,2,Other"});
    Source("NODETRF", "rules.txt", {"@1,@12,@13,2"});
    Source("LINKTRF", "oneways.txt", {"@13,@4,@1,2,0"});
    Source("LINKSHAPE", "shapes.txt",
           {"@11,2", "135,35", "134.999,34.999", "@12,2", "135,35", "135.002,34.998", "@13,2",
            "135.001,35.001", "135,35"});
    Source("ATTRIBUTE", "attribute.txt", {"01,Road"});
    Source("WIDTH", "width.txt", {"1,Wide"});
    Set("ROADFLAG", "PAYROAD=2");
  }

  // The same network in the other layout; everything lies in area 3.
  void MakeMsrSources() {
    const std::string header =
        "Version 300\r\nCharset \"WindowsJapanese\"\r\nDelimiter \",\"\r\n"
        "CoordSys Earth Projection 1, 104\r\nColumns 1\r\n  A Integer\r\nData\r\n\r\n";
    // Area 3. Node 1 is the junction of the links 11, 12 and 13; 5 is its partner.
    SourceBytes("DROTEN", "node.mif",
                header +
                    "Point 135 35\r\n    Symbol (35,0,10)\r\nPoint 134.999 34.999\r\n"
                    "Point 135.002 34.998\r\nPoint 135.001 35.001\r\nPoint 1 1\r\n"
                    "Point 2 2\r\n");
    WriteBytes(folder_ / "node.mid",
               "3,1,0,3,5,One,0,11,12,13,0,0,0,0,0\r\n3,2,0,0,0,Two,0,11\r\n3,3,0,0,0,,0,12\r\n"
               "3,4,0,0,0,,0,13\r\n3,5,1,3,1,,0,14\r\n3,6,1,0,0,,0,14\r\n");
    SourceBytes("DKUKAN", "link.mif",
                header +
                    "Pline 2\r\n135 35\r\n134.999 34.999\r\n    Pen (1,2,0)\r\n"
                    "Line 135 35 135.002 34.998\r\nPline 2\r\n135.001 35.001\r\n135 35\r\n"
                    "Line 1 1 2 2\r\n");
    WriteBytes(folder_ / "link.mid",
               "11,3,3,5,10,0,0,1,2,0,36,36,0\r\n12,3,3,5,20,0,0,1,3,0,36,72,2\r\n"
               "13,3,3,5,30,0,0,4,1,0,36,36,0\r\n14,3,3,5,30,0,0,5,6,0,36,36,0\r\n");
    Set("DKUKAN", "MIFOUTPUT=1");
    Source("KUKANZ", "names.csv", {"3,12,2,Other,7"});
    Source("TUKOUJ", "rules.csv", {"3,1,12,13,2"});
    Source("ATTRIBUTE", "attribute.txt", {"01,Road"});
    Source("WIDTH", "width.txt", {"1,Wide"});
    Set("ROADFLAG", "PAYROAD=2");
  }

  std::string MsrCode(int area, int number) const {
    if (code_length_ == 18) return Bytes().I64(area * 10000000000000000 + number);
    return Bytes().F64(area * 1e12 + number);
  }

  // Toll fare data in the output folder that list one link, given by the 8 bytes of its code, as an
  // interchange.
  void MakeFareData(const std::string& link) const {
    for (const char* name : {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"}) {
      WriteBytes(OutPath(name), "");
    }
    WriteBytes(OutPath("TR_LINK.DAT"), link + Bytes().Zero(16).I16(1).I8(1).Zero(5).str());
    WriteBytes(OutPath("PayData.Inf"), kPayData);
  }

  static constexpr char kPayData[] = "[SYSTEM]\r\nResult=OK\r\n";
};

}  // namespace zatlib::test
