#include "settings/diag.hpp"

#include <cstdint>
#include <cstdio>
#include <utility>

namespace kestrune {
namespace {

constexpr const char* kQueueLabel = "Kestrune.diag";
// A log above this size is started afresh rather than trimmed: simple, and
// a diagnostic log only needs its recent past.
constexpr uint64_t kMaxBytes = 1'000'000;

std::string joinPath(const std::string& folder, const std::string& name) {
  if (folder.empty() || folder.back() == '/') return folder + name;
  return folder + '/' + name;
}

}  // namespace

Diag::Diag(FileSystem& files, SystemInfo& system, Executors& executors)
    : sink_(std::make_shared<const Sink>(
          Sink{files, joinPath(files.homeDirectory(), kRelativePath)})),
      system_(system),
      clock_(executors.main()),
      queue_(executors.makeSerialQueue(kQueueLabel, QualityOfService::unspecified)) {}

void Diag::log(const std::string& message) noexcept {
  try {
    const WallTime when = clock_.wallNow();
    std::string line = stamp(when, system_.secondsFromGMT(when));
    line.reserve(line.size() + 1 + message.size() + 1);
    line += ' ';
    line += message;
    line += '\n';
    queue_->post([sink = sink_, line = std::move(line)] {
      try {
        append(*sink, line);
      } catch (...) {
        // A diagnostic log must never take the app down.
      }
    });
  } catch (...) {
    // Nothing to report to: the line is lost.
  }
}

void Diag::append(const Sink& sink, const std::string& line) {
  if (const auto size = sink.files.fileSize(sink.path); size && *size > kMaxBytes) {
    sink.files.removeItem(sink.path);
  }
  if (auto file = sink.files.openForWriting(sink.path)) {
    file->seekToEnd();
    file->write(line);
    file->close();
    return;
  }
  // No file yet (or just removed). The folder is left to the system: when
  // it is missing, the write fails and nothing is logged.
  sink.files.writeAtomically(sink.path, line);
}

std::string Diag::stamp(WallTime when, int secondsFromGMT) {
  using std::chrono::milliseconds;
  constexpr int64_t kMillisPerDay = 24LL * 60 * 60 * 1000;
  const int64_t local =
      std::chrono::floor<milliseconds>(when).time_since_epoch().count() + secondsFromGMT * 1000LL;
  // Floored, so that times before the epoch still fall within their day.
  const int64_t ofDay = ((local % kMillisPerDay) + kMillisPerDay) % kMillisPerDay;
  char text[16];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03d", static_cast<int>(ofDay / 3'600'000),
                static_cast<int>(ofDay / 60'000 % 60), static_cast<int>(ofDay / 1000 % 60),
                static_cast<int>(ofDay % 1000));
  return text;
}

}  // namespace kestrune
