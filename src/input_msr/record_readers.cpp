#include "input_msr/record_readers.h"

namespace zatlib {
namespace {

constexpr int kDkukanColumns = 13;
constexpr uint32_t kTukoujLineSize = 512;
constexpr uint32_t kCityFactor = 1000;

// A code within an area; 0 means none and stays 0.
FeatureCode ComposeOptional(int area, double number, int code_length) {
  return number == 0.0 ? FeatureCode{} : ComposeCode(area, number, code_length);
}

}  // namespace

int BRN_MSR_ReadDrotenRecord(LineReader& file, NodeStoreRecord* record, int code_length) {
  constexpr int kFirstLink = 8;  // columns are counted from 1 here
  int area = 0;
  int partner_area = 0;
  double code = 0;
  double partner = 0;
  double links[kSlots] = {};
  if (ReadFields(file, record, [&](int column, std::string_view field) {
        switch (column) {
          case 1:
            area = FRD_ParseInt(field);
            break;
          case 2:
            code = FRD_ParseDouble(field);
            break;
          case 3:
            record->NodeAttrWord = ParseWord(field);
            break;
          case 4:
            partner_area = FRD_ParseInt(field);
            break;
          case 5:
            partner = FRD_ParseDouble(field);
            break;
          default:
            if (column >= kFirstLink && column < kFirstLink + kSlots) {
              links[column - kFirstLink] = FRD_ParseDouble(field);
            }
        }
      }) == 0) {
    return 0;
  }
  record->NodeCode = ComposeOptional(area, code, code_length);
  record->PartnerCode = ComposeOptional(partner_area, partner, code_length);
  for (int s = 0; s < kSlots; ++s) {
    record->ConnLinkCode[s] = ComposeOptional(area, links[s], code_length);
  }
  return 1;
}

int BRN_MSR_ReadNodeName(LineReader& file, NameStoreRecord* record, int code_length) {
  int area = 0;
  double code = 0;
  if (ReadFields(file, record, [&](int column, std::string_view field) {
        switch (column) {
          case 1:
            area = FRD_ParseInt(field);
            break;
          case 2:
            code = FRD_ParseDouble(field);
            break;
          case 3:
            record->NodeValue = ParseWord(field);
            break;
          case 6:
            TakeName(field, record);
            break;
          default:
            break;
        }
      }) == 0) {
    return 0;
  }
  record->Code = ComposeOptional(area, code, code_length);
  return 1;
}

int BRN_MSR_ReadDkukanRecord(LineReader& file, LinkStoreRecord* record, int code_length,
                             DefaultSpeeds defaults) {
  int area = 0;
  int32_t city = 0;
  double code = 0;
  double node_a = 0;
  double node_b = 0;
  const auto take = [&](int column, std::string_view field) {
    switch (column) {
      case 1:
        code = FRD_ParseDouble(field);
        break;
      case 2:
        record->RoadKind = ParseShort(field);
        break;
      case 3:
        area = FRD_ParseInt(field);
        break;
      case 4:
        city = FRD_ParseInt(field);
        break;
      case 5:
        record->Value3 = ParseWord(field);
        break;
      case 6:
        record->Value4 = ParseWord(field);
        break;
      case 7:
        record->Value5 = ParseWord(field);
        break;
      case 8:
        node_a = FRD_ParseDouble(field);
        break;
      case 9:
        node_b = FRD_ParseDouble(field);
        break;
      case 10:
        record->Value6 = ParseShort(field);
        break;
      case 11:
        record->SpeedA = ParseSpeed(field, defaults.a);
        break;
      case 12:
        record->SpeedB = ParseSpeed(field, defaults.b);
        break;
      case 13:
        record->RoadFlag = ParseShort(field);
        break;
      default:
        break;
    }
  };
  if (ReadFields(file, record, take, kLineSize, kDkukanColumns) == 0) return 0;
  record->LinkCode = ComposeOptional(area, code, code_length);
  record->NodeA = ComposeOptional(area, node_a, code_length);
  record->NodeB = ComposeOptional(area, node_b, code_length);
  record->CityCode = static_cast<uint32_t>(city);
  // Unsigned: a nonsense area number wraps.
  if (city >= 1) record->CityCode += static_cast<uint32_t>(area) * kCityFactor;
  return 1;
}

int BRN_MSR_ReadKukanzRecord(LineReader& file, NameStoreRecord* record, int code_length) {
  int area = 0;
  double code = 0;
  if (ReadFields(file, record, [&](int column, std::string_view field) {
        switch (column) {
          case 1:
            area = FRD_ParseInt(field);
            break;
          case 2:
            code = FRD_ParseDouble(field);
            break;
          case 3:
            record->LinkNumber = static_cast<uint8_t>(FRD_ParseInt(field));
            break;
          case 4:
            TakeName(field, record);
            break;
          case 5:
            record->LinkValue = ParseWord(field);
            break;
          default:
            break;
        }
      }) == 0) {
    return 0;
  }
  record->Code = ComposeCode(area, code, code_length);
  return 1;
}

int BRN_MSR_ReadTukoujRecord(LineReader& file, RuleStoreRecord* record, int code_length) {
  int area = 0;
  double codes[3] = {};
  const auto take = [&](int column, std::string_view field) {
    switch (column) {
      case 1:
        area = FRD_ParseInt(field);
        break;
      case 2:
      case 3:
      case 4:
        codes[column - 2] = FRD_ParseDouble(field);
        break;
      case 5:
        record->Kind = ParseWord(field);
        break;
      default:
        break;
    }
  };
  if (ReadFields(file, record, take, kTukoujLineSize) == 0) return 0;
  if (area < 1 || codes[0] == 0.0 || codes[1] == 0.0 || codes[2] == 0.0) return 0;
  record->NodeCode = ComposeCode(area, codes[0], code_length);
  record->InLink = ComposeCode(area, codes[1], code_length);
  record->OutLink = ComposeCode(area, codes[2], code_length);
  return 1;
}

}  // namespace zatlib
