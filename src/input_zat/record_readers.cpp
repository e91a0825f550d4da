#include "input_zat/record_readers.h"

namespace zatlib {
namespace {

// A name row: where its number, value and name stand (0 = no such column).
struct NameColumns {
  int node_value;
  int link_number;
  int name;
};

int ReadNameRecord(LineReader& file, NameStoreRecord* record, int code_length,
                   NameColumns columns) {
  return ReadFields(file, record, [&](int column, std::string_view field) {
    if (column == 1) {
      record->Code = ParseCode(field, code_length);
    } else if (column == columns.node_value) {
      record->NodeValue = ParseWord(field);
    } else if (column == columns.link_number) {
      record->LinkNumber = static_cast<uint8_t>(FRD_ParseInt(field));
    } else if (column == columns.name) {
      TakeName(field, record);
    }
  });
}

}  // namespace

int BRN_ZAT_ReadNodeRecord(LineReader& file, NodeStoreRecord* record, int code_length) {
  constexpr int kFirstLink = 5;
  return ReadFields(file, record, [&](int column, std::string_view field) {
    switch (column) {
      case 1:
        record->NodeCode = ParseCode(field, code_length);
        break;
      case 2:
        record->NodeAttrWord = ParseWord(field);
        break;
      case 3:
        record->PartnerCode = ParseCode(field, code_length);
        break;
      case 14:
      case 15:
        record->X = FRD_ParseFixed6(field);
        break;
      default:
        if (column >= kFirstLink && column < kFirstLink + kSlots) {
          record->ConnLinkCode[column - kFirstLink] = ParseCode(field, code_length);
        }
    }
  });
}

int BRN_ZAT_ReadNodeNameFromNode(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadNameRecord(file, record, code_length, {2, 0, 13});
}

int BRN_ZAT_ReadNodeName(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadNameRecord(file, record, code_length, {2, 0, 3});
}

int BRN_ZAT_ReadNodeXY(LineReader& file, NodeXYRecord* record, int code_length) {
  return ReadFields(file, record, [&](int column, std::string_view field) {
    if (column == 1) {
      record->Code = ParseCode(field, code_length);
    } else if (column == 2) {
      record->X = FRD_ParseFixed6(field);
    } else if (column == 3) {
      record->Y = FRD_ParseFixed6(field);
    }
  });
}

int BRN_ZAT_ReadLinkRecord(LineReader& file, LinkStoreRecord* record, int code_length,
                           DefaultSpeeds defaults) {
  // Rows that end early still get the defaults only in the columns that they have.
  return ReadFields(file, record, [&](int column, std::string_view field) {
    switch (column) {
      case 1:
        record->LinkCode = ParseCode(field, code_length);
        break;
      case 2:
        record->RoadKind = ParseShort(field);
        break;
      case 3:
        record->CityCode = static_cast<uint32_t>(FRD_ParseInt(field));
        break;
      case 4:
        record->Value3 = ParseWord(field);
        break;
      case 5:
        record->Value4 = ParseWord(field);
        break;
      case 6:
        record->Value5 = ParseWord(field);
        break;
      case 7:
        record->Value6 = ParseShort(field);
        break;
      case 8:
        record->NodeA = ParseCode(field, code_length);
        break;
      case 9:
        record->NodeB = ParseCode(field, code_length);
        break;
      case 10:
        record->SpeedA = ParseSpeed(field, defaults.a);
        break;
      case 11:
        record->SpeedB = ParseSpeed(field, defaults.b);
        break;
      case 12:
        record->RoadFlag = ParseShort(field);
        break;
      default:
        break;
    }
  });
}

int BRN_ZAT_ReadLinkNameFromLink(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadNameRecord(file, record, code_length, {0, 13, 14});
}

int BRN_ZAT_ReadLinkName(LineReader& file, NameStoreRecord* record, int code_length) {
  return ReadNameRecord(file, record, code_length, {0, 3, 4});
}

int BRN_ZAT_ReadLinkSpeed(LineReader& file, LinkSpeedRecord* record, int code_length,
                          DefaultSpeeds defaults) {
  return ReadFields(file, record, [&](int column, std::string_view field) {
    switch (column) {
      case 1:
        record->LinkCode = ParseCode(field, code_length);
        break;
      case 2:
        record->NodeA = ParseCode(field, code_length);
        break;
      case 3:
        record->NodeB = ParseCode(field, code_length);
        break;
      case 4:
        record->SpeedA = ParseSpeed(field, defaults.a);
        break;
      case 5:
        record->SpeedB = ParseSpeed(field, defaults.b);
        break;
      case 6:
        record->Value = ParseWord(field);
        break;
      default:
        break;
    }
  });
}

int BRN_ZAT_ReadNodeTrf(LineReader& file, RuleStoreRecord* record, int code_length) {
  return ReadFields(file, record, [&](int column, std::string_view field) {
    switch (column) {
      case 1:
        record->NodeCode = ParseCode(field, code_length);
        break;
      case 2:
        record->InLink = ParseCode(field, code_length);
        break;
      case 3:
        record->OutLink = ParseCode(field, code_length);
        break;
      case 4:
        record->Kind = ParseWord(field);
        break;
      default:
        break;
    }
  });
}

int BRN_ZAT_ReadLinkTrf(LineReader& file, OneWayStoreRecord* record, int code_length) {
  return ReadFields(file, record, [&](int column, std::string_view field) {
    switch (column) {
      case 1:
        record->LinkCode = ParseCode(field, code_length);
        break;
      case 2:
        record->FirstNode = ParseCode(field, code_length);
        break;
      case 3:
        record->SecondNode = ParseCode(field, code_length);
        break;
      case 4:
        record->FirstFlag = ParseWord(field);
        break;
      case 5:
        record->SecondFlag = ParseWord(field);
        break;
      default:
        break;
    }
  });
}

}  // namespace zatlib
