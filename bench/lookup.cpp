// Nanoseconds a lookup by code takes, for codes in the orders that maps have.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <random>
#include <vector>

#include "frd/code_lookup.h"

namespace {

using zatlib::CodeLookup;
using zatlib::KeyedRecord;

constexpr int64_t kCount = 1000000;

double Seconds() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

void Measure(const char* name, std::vector<double> codes) {
  std::sort(codes.begin(), codes.end());
  std::vector<KeyedRecord> table;
  for (const double code : codes) table.push_back({code, 0, 0});
  CodeLookup lookup;
  const double begin = Seconds();
  lookup.Build(table.data(), kCount);
  std::printf("%-32s build %5.2f ms", name, (Seconds() - begin) * 1e3);

  std::mt19937_64 random(1);
  std::vector<double> ordered = codes;
  std::vector<double> near = codes;  // out of order by some hundred places, as links name nodes
  for (size_t i = 0; i < near.size(); i += 300) {
    std::shuffle(near.begin() + static_cast<std::ptrdiff_t>(i),
                 near.begin() + static_cast<std::ptrdiff_t>(std::min(i + 300, near.size())),
                 random);
  }
  std::vector<double> shuffled = codes;
  std::shuffle(shuffled.begin(), shuffled.end(), random);
  const auto measure = [&](const char* order, const std::vector<double>& keys, bool hints) {
    double best = 1e9;
    int64_t sum = 0;
    for (int round = 0; round < 5; ++round) {
      const double start = Seconds();
      int64_t at = -1;
      for (const double key : keys) {
        at = hints ? lookup.FindFrom(key, at + 1) : lookup.Find(key);
        sum += at;
      }
      best = std::min(best, Seconds() - start);
    }
    const bool right = sum == 5 * (kCount * (kCount - 1) / 2);
    std::printf("  %s %5.1f%s", order, best / kCount * 1e9, right ? "" : " WRONG");
  };
  measure("ordered", ordered, false);
  measure("with hints", ordered, true);
  measure("near", near, false);
  measure("with hints", near, true);
  measure("random", shuffled, false);
  std::printf(" ns\n");
}

double FromInteger(int64_t value) {
  double code;
  std::memcpy(&code, &value, sizeof code);
  return code;
}

}  // namespace

int main() {
  std::mt19937_64 random(2);
  std::vector<double> dense;
  std::vector<double> small;
  std::vector<double> spread;
  std::vector<double> spread18;
  std::vector<double> areas;
  std::vector<double> areas18;
  for (int64_t i = 0; i < kCount; ++i) {
    const int64_t area = 1 + i * 47 / kCount;
    dense.push_back(1e13 + static_cast<double>(i));
    small.push_back(static_cast<double>(i + 1));
    spread.push_back(static_cast<double>(i * 90000000 + static_cast<int64_t>(random() % 90000000)));
    spread18.push_back(
        FromInteger(i * 900000000000 + static_cast<int64_t>(random() % 900000000000)));
    areas.push_back(static_cast<double>(area) * 1e12 + static_cast<double>(i * 3));
    areas18.push_back(FromInteger(area * 10000000000000000 + i * 3));
  }
  Measure("in a row", dense);
  Measure("from 1 up", small);
  Measure("anywhere, 14 digits", spread);
  Measure("anywhere, 18 digits", spread18);
  Measure("area and number, 14 digits", areas);
  Measure("area and number, 18 digits", areas18);
  return 0;
}
