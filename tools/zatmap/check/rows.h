// What the record files of both formats share in `zatmap check`, and the two formats.
#pragma once

#include <array>
#include <initializer_list>

#include "check/control.h"
#include "check/mif.h"
#include "check/network.h"
#include "check/pieces.h"
#include "check/plain.h"
#include "check/run.h"
#include "check/source.h"
#include "network/workstore/source_fields.h"
#include "network/workstore/source_layout.h"

namespace zatmap::check {

// Everything that the build would read in one format.
void CheckZat(Control& control, int64_t shape_limit, const Look& look);
void CheckMsr(Control& control, int64_t shape_limit, const Look& look);

// The column in which a row of titles shows.
inline constexpr int kFirstColumn = 1;

// The code of a node or link record, with findings for a header line and for codes that are 0.
// `*zeros` counts the records without one.
zatlib::FeatureCode StoreCode(const Source& source, const Row& row, int column, int code_length,
                              int64_t* zeros);
void CountZero(const Source& source, const Row& row, int column, int64_t* zeros);

// The whole numbers of a row by their columns, checked by the ranges of its table; areas are not
// among them. `kinds` says what a number beside its range is where that has a name of its own.
using Numbers = std::array<int32_t, zatlib::SourceLayout::kMaxColumns + 1>;
struct RangeKind {
  int column;
  Kind kind;
};
Numbers CheckedNumbers(const Source& source, const Row& row, const zatlib::SourceTable& table,
                       std::initializer_list<RangeKind> kinds = {});

// The speeds of a row as the library takes them, 0 for columns that the row lacks, and whether a
// minus sign closes a direction.
struct RowSpeeds {
  uint16_t a;
  uint16_t b;
  bool closed_a;
  bool closed_b;
};
RowSpeeds SpeedsOf(const Row& row, int column_a, int column_b, zatlib::DefaultSpeeds defaults);

// Findings for speeds below 0.
void CheckNegativeSpeeds(const Source& source, const Row& row, int column_a, int column_b);

// What the link records of both formats say in whole numbers: kind (a finding for those that stand
// for dummy links), length, speeds and closed directions.
void TakeLinkNumbers(const Source& source, const Row& row, const Numbers& numbers,
                     const NetworkColumns& columns, zatlib::DefaultSpeeds defaults,
                     CheckedLink* link);

// Gives a node the next point of a MIF file, if there is one.
void TakePoint(MifFile& mif, CheckedNode* node);

// Called when all node or link files are read: the records are in order for look-ups. A finding,
// `none`, when all files are there and hold no record.
void EndNodes(Network& network, const std::vector<std::string>& files, const char* none);
void EndLinks(Network& network, const std::vector<std::string>& files, const char* none);

// True for a row of column titles, wherever it stands.
bool IsTitleRow(const Source& source, const Row& row, int column = kFirstColumn);

// The same, and a finding when it is one.
bool IsHeaderRow(const Source& source, const Row& row, int column = kFirstColumn);

// A name from a row; a finding when nobody has the code.
void CheckNameRow(const Source& source, const Row& row, bool known, int code_column,
                  int name_column);

// A prohibited turn: what it refers to, and where that stands in its row.
struct TurnCodes {
  zatlib::FeatureCode node;
  zatlib::FeatureCode links[2];  // the arriving and the leaving one
};
struct TurnColumns {
  int node;
  int links[2];
  const zatlib::SourceColumn& kind;
};

// Findings for what a row of prohibited turns refers to; the network receives the turn.
void CheckTurn(const Source& source, const Row& row, Network& network, const TurnCodes& turn,
               const TurnColumns& columns);

// One finding for a file of which hardly a row has a code that is known.
void LookAtUnknownRows(Findings& findings, uint32_t file, int64_t rows);

// The rules for names as the findings stand now.
NameRules CurrentNameRules(const Findings& findings);

// How the rows of a file are read. `Record` is what a plain row comes to.
//
//   plain(row, &record, &counts)   takes a PlainRow apart, on any thread; false: not plain.
//   prepare()                      before threads begin with some rows, while none is at work.
//   keep(source, records, count)   takes the records of plain rows that follow each other in the
//                                  file, on the calling thread; passes them by source.Pass().
//   take(source, row)              checks any other row, on the calling thread.
//
// keep and take come in the order of the file. Whoever counts something about all rows counts it in
// `take` and `keep`, or, for plain rows, as a number of PlainCounts, which Count adds up.
template <typename Record, typename Plain, typename Prepare, typename Keep>
struct PlainReader {
  Plain plain;
  Prepare prepare;
  Keep keep;
};
template <typename Record, typename Plain, typename Prepare, typename Keep>
PlainReader<Record, Plain, Prepare, Keep> ReadPlain(Plain plain, Prepare prepare, Keep keep) {
  return {std::move(plain), std::move(prepare), std::move(keep)};
}

// The numbers that threads have counted of plain rows.
void Count(const Source& source, const PlainCounts& counts);

// Puts records, which know no place yet, behind those of a table.
template <typename Record>
void AppendRecords(Source& source, Record* records, int64_t count, PageVector<Record>* table) {
  for (int64_t i = 0; i < count; ++i) {
    source.Pass(1);
    records[i].file = source.file();
    records[i].record = static_cast<uint32_t>(source.line());
  }
  const size_t needed = table->size() + static_cast<size_t>(count);
  if (table->capacity() < needed) {
    // As if all pieces of the file held as many.
    const auto pieces = static_cast<size_t>(source.size()) / std::max<size_t>(PieceSize(), 1) + 1;
    table->reserve(
        std::max(table->size() + static_cast<size_t>(count) * pieces * 9 / 8, needed + needed / 2));
  }
  table->insert(table->end(), records, records + count);
}

// How nodes and links are read that only have to be in order, by take(row, rules, record, counts).
// A node gets its coordinates from `mif` when that is not null.
template <typename Rules, typename TakeRow>
auto PlainNodes(Network& network, Rules& rules, TakeRow take, MifFile* mif) {
  return ReadPlain<CheckedNode>(
      [&rules, take](PlainRow& row, CheckedNode* node, PlainCounts* counts) {
        return take(row, rules, node, counts);
      },
      [&network, &rules] { rules.names = CurrentNameRules(network.findings()); },
      [&network, mif](Source& source, CheckedNode* records, int64_t count) {
        AppendRecords(source, records, count, &network.nodes);
        for (auto node = network.nodes.end() - count; mif != nullptr && node != network.nodes.end();
             ++node) {
          TakePoint(*mif, &*node);
        }
      });
}
template <typename Rules, typename TakeRow>
auto PlainLinks(Network& network, Rules& rules, TakeRow take) {
  return ReadPlain<CheckedLink>(
      [&rules, take](PlainRow& row, CheckedLink* link, PlainCounts* counts) {
        return take(row, rules, link, counts);
      },
      [&network, &rules] { rules.names = CurrentNameRules(network.findings()); },
      [&network](Source& source, CheckedLink* records, int64_t count) {
        AppendRecords(source, records, count, &network.links);
      });
}

// Names, by take(row, rules, counts).
template <typename Rules, typename TakeRow>
auto PlainNames(Findings& findings, Rules& rules, TakeRow take) {
  return ReadPlain<NoRecord>(
      [&rules, take](PlainRow& row, NoRecord*, PlainCounts* counts) {
        return take(row, rules, counts);
      },
      [&findings, &rules] { rules.names = CurrentNameRules(findings); },
      [](Source& source, NoRecord*, int64_t count) { source.Pass(count); });
}

// Runs the next records of a file through `take(source, row)`.
template <typename Take>
void ReadRowsOneByOne(Source& source, const Layout& layout, Take& take) {
  std::string_view line;
  Row row;
  while (source.Next(layout.line_size, &line)) {
    Split(source, line, layout, &row);
    if (!line.empty() && !IsTitleRow(source, row)) {
      CheckColumns(source, row, layout);
    }
    take(source, row);
  }
}

// Uses up what a thread has made of a piece. Returns where lines do not end as they should any
// more, null when the piece is done.
template <typename Record, typename Plain, typename Prepare, typename Keep, typename Take>
char* TakeRows(Source& source, const Layout& layout, const Piece& piece,
               PlainReader<Record, Plain, Prepare, Keep>& reader, Take& take,
               RowWork<Record>* work) {
  while (true) {
    int64_t kept = 0;
    const auto keep_to = [&](int64_t end) {
      if (end == kept) return;
      reader.keep(source, work->records.data() + kept, end - kept);
      kept = end;
    };
    for (size_t i = 0; i < work->other_count; ++i) {
      const auto& other = work->others[i];
      keep_to(other.records);
      source.Reread(other.begin, other.end);
      ReadRowsOneByOne(source, layout, take);
    }
    keep_to(work->record_count);
    Count(source, work->counts);
    if (work->stopped) return work->next;
    if (work->next == piece.end) return nullptr;
    LookAtRows(piece, layout.line_size, reader.plain, work);
  }
}

// Runs every record of a file that is open through `take(source, row)`. Returns their number.
template <typename Take>
int64_t ReadRows(Source& source, const Layout& layout, Take take) {
  ReadRowsOneByOne(source, layout, take);
  source.Close();
  return source.line();
}

// The same with plain rows apart.
template <typename Record, typename Plain, typename Prepare, typename Keep, typename Take>
int64_t ReadRows(Source& source, const Layout& layout,
                 PlainReader<Record, Plain, Prepare, Keep>& reader, Take take) {
  ForEachPiece<RowWork<Record>>(
      source, kAtAnyLine, reader.prepare,
      [&](const Piece& piece, RowWork<Record>* work) {
        LookAtRows(piece, layout.line_size, reader.plain, work);
      },
      [&](const Piece& piece, RowWork<Record>* work) {
        return TakeRows(source, layout, piece, reader, take, work);
      });
  return ReadRows(source, layout, std::move(take));
}

// The files of the links, and where their columns stand.
struct LinkFiles {
  const zatlib::SourceTable& table;
  const std::vector<std::string>& files;
  bool mif;  // the columns stand in the MID file beside each
};

// All link files, through reader and take.
template <typename Reader, typename Take>
void ReadLinks(Control& control, Network& network, const LinkFiles& links, Reader& reader,
               Take take) {
  for (size_t i = 0; i < links.files.size(); ++i) {
    const int number = static_cast<int>(i + 1);
    const std::string& file = links.files[i];
    const char* const section = links.table.section;
    Source data(control.findings());
    const bool open = links.mif ? control.OpenMid(data, section, number, file, true)
                                : control.Open(data, section, number, file, false);
    if (open) {
      ReadRows(data, links.table, reader, take);
    } else {
      network.links_whole = false;
    }
  }
}

// The same for all files of a table's section. `*whole` becomes false when one cannot be opened.
template <typename Reader, typename Take>
void ForEachRow(Control& control, const zatlib::SourceTable& table, Reader& reader, Take take,
                bool* whole = nullptr) {
  const std::vector<std::string> files = control.Files(table.section, false);
  for (size_t i = 0; i < files.size(); ++i) {
    Source source(control.findings());
    if (!control.Open(source, table.section, static_cast<int>(i + 1), files[i], false)) {
      if (whole != nullptr) *whole = false;
      continue;
    }
    ReadRows(source, table, reader, take);
    LookAtUnknownRows(control.findings(), source.file(), source.line());
  }
}

}  // namespace zatmap::check
