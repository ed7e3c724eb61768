#pragma once

#include <memory>
#include <string>

#include "core/executor.hpp"
#include "core/time.hpp"
#include "platform/file_system.hpp"
#include "platform/system_info.hpp"

namespace kestrune {

// The always-on diagnostic log: time-stamped lines appended to
// ~/Library/Logs/Kestrune.log on a serial queue of its own. Logging never
// blocks the caller and never fails: a line that cannot be written is lost.
// Safe to call from any thread.
class Diag {
 public:
  // The log's place in the user's home folder.
  static constexpr const char* kRelativePath = "Library/Logs/Kestrune.log";

  Diag(FileSystem& files, SystemInfo& system, Executors& executors);

  // Appends "HH:mm:ss.SSS message\n". The message is written as given.
  void log(const std::string& message) noexcept;

  [[nodiscard]] const std::string& path() const { return sink_->path; }

  // The local time of day at `when`, as "HH:mm:ss.SSS" (milliseconds
  // truncated) for a zone `secondsFromGMT` ahead of UTC.
  [[nodiscard]] static std::string stamp(WallTime when, int secondsFromGMT);

 private:
  // What the queued writes need. Shared with them rather than reached
  // through `this`, since on GCD they may outlive the Diag.
  struct Sink {
    FileSystem& files;
    std::string path;
  };
  static void append(const Sink& sink, const std::string& line);

  std::shared_ptr<const Sink> sink_;
  SystemInfo& system_;
  const Clock& clock_;
  std::shared_ptr<TaskQueue> queue_;
};

}  // namespace kestrune
