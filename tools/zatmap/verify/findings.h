// What verify finds in a map.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace zatmap::verify {

enum class Severity { kError, kWarning };

// A place in a file of the map. Record and offset are -1 where there is none.
struct Place {
  const char* file;
  int64_t record = -1;
  int64_t offset = -1;  // byte in the file
};

struct MapFinding {
  Place place;
  Severity severity;
  const char* kind;
  std::string text;
};

// Findings, of which the first `limit` of each kind are kept and all are counted.
class MapFindings {
 public:
  explicit MapFindings(size_t limit) : limit_(limit) {}

  // True while a finding of the kind would still be kept: texts are made only then.
  bool Counts(Severity severity, const char* kind) { return ++counts_[{kind, severity}] <= limit_; }
  void Keep(const Place& place, Severity severity, const char* kind, std::string text) {
    kept_.push_back({place, severity, kind, std::move(text)});
  }

  // Orders what was kept by file, record and offset.
  void Sort();

  struct Key {
    std::string kind;
    Severity severity;
    bool operator<(const Key& other) const {
      return severity != other.severity ? severity < other.severity : kind < other.kind;
    }
  };
  const std::vector<MapFinding>& kept() const { return kept_; }
  const std::map<Key, uint64_t>& counts() const { return counts_; }
  uint64_t Count(Severity severity) const;

 private:
  size_t limit_;
  std::vector<MapFinding> kept_;
  std::map<Key, uint64_t> counts_;
};

}  // namespace zatmap::verify
