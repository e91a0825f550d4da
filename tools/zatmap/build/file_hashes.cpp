#include "build/file_hashes.h"

#include <algorithm>

#include "frd/parallel.h"
#include "platform/file_kind.h"

namespace zatmap {
namespace {

using zatlib::platform::Access;
using zatlib::platform::Disposition;
using zatlib::platform::File;
using zatlib::platform::Hint;
using zatlib::platform::Share;

constexpr size_t kBlock = 1 << 20;  // bytes of one read
constexpr size_t kOpenAtOnce = 64;  // files: a process may have some hundreds open

}  // namespace

bool IsOrdinaryFile(const std::string& path) {
  return zatlib::platform::KindOfFile(path.c_str()) == zatlib::platform::FileKind::kFile;
}

HashJob::HashJob(const std::string& path) {
  result_.path = path;
  if (!IsOrdinaryFile(path)) return;
  file_ = File::Open(path.c_str(), Access::kRead, Share::kReadWrite, Disposition::kOpenExisting,
                     Hint::kSequential);
}

void HashJob::Read(std::vector<char>& buffer, const std::atomic<bool>& stop) {
  if (!file_.IsOpen()) return;
  while (!stop) {
    uint32_t got = 0;
    if (!file_.Read(buffer.data(), static_cast<uint32_t>(buffer.size()), &got)) return;
    hash_.Add(buffer.data(), got);
    result_.bytes += got;
    if (got < buffer.size()) {
      result_.read = true;
      return;
    }
  }
}

HashedFile HashJob::Take() {
  file_.Close();
  if (result_.read) result_.sha256 = hash_.Finish();
  result_.read = !result_.sha256.empty();
  return std::move(result_);
}

BackgroundHashes::BackgroundHashes(std::vector<std::string> paths)
    : paths_(std::move(paths)), buffer_(kBlock) {
  const size_t count = std::min(paths_.size(), kOpenAtOnce);
  jobs_.reserve(count);
  for (size_t i = 0; i < count; ++i) jobs_.emplace_back(paths_[i]);
  started_ = thread_.Start([](void* self) { static_cast<BackgroundHashes*>(self)->Run(); }, this);
}

BackgroundHashes::~BackgroundHashes() {
  stop_ = true;
  Join();
}

void BackgroundHashes::Run() {
  for (HashJob& job : jobs_) job.Read(buffer_, stop_);
}

void BackgroundHashes::Join() {
  if (started_) thread_.Join();
  started_ = false;
}

std::vector<HashedFile> BackgroundHashes::Finish() {
  if (!started_) Run();
  Join();
  std::vector<HashedFile> files;
  for (HashJob& job : jobs_) files.push_back(job.Take());
  const std::vector<std::string> rest(paths_.begin() + static_cast<ptrdiff_t>(jobs_.size()),
                                      paths_.end());
  jobs_.clear();
  for (HashedFile& file : HashFiles(rest)) files.push_back(std::move(file));
  return files;
}

std::vector<HashedFile> HashFiles(const std::vector<std::string>& paths) {
  std::vector<HashedFile> files(paths.size());
  zatlib::Workers workers;
  const std::atomic<bool> stop = false;
  for (size_t begin = 0; begin < paths.size(); begin += kOpenAtOnce) {
    const size_t count = std::min(paths.size() - begin, kOpenAtOnce);
    std::vector<HashJob> jobs;
    jobs.reserve(count);
    for (size_t i = 0; i < count; ++i) jobs.emplace_back(paths[begin + i]);
    const auto parts = static_cast<int64_t>(
        std::min<size_t>(count, static_cast<size_t>(std::max(zatlib::ThreadCount(), 1))));
    std::vector<std::vector<char>> buffers(static_cast<size_t>(parts), std::vector<char>(kBlock));
    std::atomic<size_t> next = 0;
    workers.Run(parts, [&](int64_t part) {
      for (size_t i = next++; i < count; i = next++) {
        jobs[i].Read(buffers[static_cast<size_t>(part)], stop);
      }
    });
    for (size_t i = 0; i < count; ++i) files[begin + i] = jobs[i].Take();
  }
  return files;
}

}  // namespace zatmap
