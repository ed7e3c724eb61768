#include "settings/diag.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "core/thread_executors.hpp"
#include "core/virtual_executors.hpp"
#include "sim/sim_file_system.hpp"

namespace kestrune {
namespace {

namespace fs = std::filesystem;

// 2026-01-01 00:00:00 UTC, where VirtualExecutors' wall clock starts.
constexpr WallTime kNewYear{std::chrono::seconds(1767225600)};
constexpr uint64_t kLimit = 1'000'000;

// A time zone with a fixed offset that remembers which moments it was asked
// about. Thread-safe as long as nobody changes it while logging.
struct ZoneSystemInfo final : SystemInfo {
  int offset = 0;
  std::vector<WallTime> askedAt;
  bool recordAsks = true;
  int operatingSystemMajorVersion() override { return 15; }
  pid_t processIdentifier() override { return 1000; }
  int signalProbe(pid_t) override { return 0; }
  std::optional<std::string> environment(const std::string&) override { return std::nullopt; }
  int secondsFromGMT(WallTime when) override {
    if (recordAsks) askedAt.push_back(when);
    return offset;
  }
};

// A fresh home folder in the temporary directory, removed afterwards.
class TempHome {
 public:
  TempHome() {
    std::string pattern = (fs::temp_directory_path() / "kestrune-diag-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~TempHome() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TempHome(const TempHome&) = delete;
  TempHome& operator=(const TempHome&) = delete;

  [[nodiscard]] const fs::path& path() const { return path_; }
  [[nodiscard]] fs::path logsFolder() const { return path_ / "Library" / "Logs"; }
  [[nodiscard]] fs::path logFile() const { return logsFolder() / "Kestrune.log"; }

 private:
  fs::path path_;
};

std::optional<std::string> readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
  if (!out) throw std::runtime_error("cannot write " + path.string());
}

class DiagFiles : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directories(home.logsFolder()); }

  TempHome home;
  sim::SimFileSystem files{home.path().string()};
  ZoneSystemInfo zone;
  VirtualExecutors executors;
};

TEST(DiagStamp, IsTheLocalTimeOfDayWithZeroPadding) {
  const WallTime when = kNewYear + std::chrono::hours(1) + std::chrono::minutes(2) +
                        std::chrono::seconds(3) + std::chrono::milliseconds(4);
  EXPECT_EQ(Diag::stamp(when, 0), "01:02:03.004");
  EXPECT_EQ(Diag::stamp(when, 2 * 3600), "03:02:03.004");
  EXPECT_EQ(Diag::stamp(kNewYear, 0), "00:00:00.000");
}

TEST(DiagStamp, TruncatesMillisecondsRatherThanRounding) {
  const WallTime when = kNewYear + std::chrono::seconds(59) + std::chrono::microseconds(999'999);
  EXPECT_EQ(Diag::stamp(when, 0), "00:00:59.999");
  EXPECT_EQ(Diag::stamp(kNewYear + std::chrono::nanoseconds(999'999), 0), "00:00:00.000");
}

TEST(DiagStamp, RollsOverAtLocalMidnight) {
  const WallTime beforeMidnightUtc = kNewYear - std::chrono::milliseconds(1);
  EXPECT_EQ(Diag::stamp(beforeMidnightUtc, 0), "23:59:59.999");
  // 23:30 UTC is already 00:30 the next day an hour east.
  EXPECT_EQ(Diag::stamp(kNewYear - std::chrono::minutes(30), 3600), "00:30:00.000");
  // UTC+14, the furthest zone ahead.
  EXPECT_EQ(Diag::stamp(kNewYear + std::chrono::hours(12), 14 * 3600), "02:00:00.000");
}

TEST(DiagStamp, HandlesZonesWestOfGreenwich) {
  EXPECT_EQ(Diag::stamp(kNewYear + std::chrono::minutes(30), -3600), "23:30:00.000");
  // Newfoundland, UTC−3:30.
  EXPECT_EQ(Diag::stamp(kNewYear, -(3 * 3600 + 1800)), "20:30:00.000");
  EXPECT_EQ(Diag::stamp(kNewYear + std::chrono::milliseconds(250), -12 * 3600), "12:00:00.250");
}

TEST(DiagStamp, HandlesTimesBeforeTheEpoch) {
  const WallTime when{-std::chrono::milliseconds(1)};
  EXPECT_EQ(Diag::stamp(when, 0), "23:59:59.999");
  EXPECT_EQ(Diag::stamp(WallTime{-std::chrono::nanoseconds(1)}, 0), "23:59:59.999");
}

TEST_F(DiagFiles, PathIsInTheHomeFoldersLogs) {
  Diag diag(files, zone, executors);
  EXPECT_EQ(diag.path(), home.logFile().string());
}

TEST(DiagPath, JoinsAHomeFolderWithATrailingSlash) {
  sim::SimFileSystem files("/Users/someone/");
  ZoneSystemInfo zone;
  VirtualExecutors executors;
  Diag diag(files, zone, executors);
  EXPECT_EQ(diag.path(), "/Users/someone/Library/Logs/Kestrune.log");
}

TEST_F(DiagFiles, FirstLineCreatesTheFileHoldingExactlyThatLine) {
  zone.offset = 3600;
  Diag diag(files, zone, executors);
  ASSERT_FALSE(fs::exists(home.logFile()));

  diag.log("hello");
  // Written on the queue, not by the caller.
  EXPECT_FALSE(fs::exists(home.logFile()));
  // The stamp is of the call, not of the write.
  executors.sleepFor(seconds(1.5));
  executors.runUntilIdle();

  EXPECT_EQ(readFile(home.logFile()), "01:00:00.000 hello\n");
  ASSERT_EQ(zone.askedAt.size(), 1U);
  EXPECT_EQ(zone.askedAt[0], kNewYear);
}

TEST_F(DiagFiles, AppendsToAnExistingFile) {
  writeFile(home.logFile(), "earlier\n");
  Diag diag(files, zone, executors);
  executors.advance(milliseconds(1234));
  diag.log("later");
  executors.runUntilIdle();
  EXPECT_EQ(readFile(home.logFile()), "earlier\n00:00:01.234 later\n");
}

TEST_F(DiagFiles, KeepsAFileOfExactlyTheLimitAndAppendsToIt) {
  const std::string full(kLimit, 'x');
  writeFile(home.logFile(), full);
  Diag diag(files, zone, executors);
  diag.log("one more");
  executors.runUntilIdle();
  EXPECT_EQ(readFile(home.logFile()), full + "00:00:00.000 one more\n");
}

TEST_F(DiagFiles, StartsAfreshWhenTheFileIsOverTheLimit) {
  writeFile(home.logFile(), std::string(kLimit + 1, 'x'));
  Diag diag(files, zone, executors);
  diag.log("fresh");
  executors.runUntilIdle();
  EXPECT_EQ(readFile(home.logFile()), "00:00:00.000 fresh\n");
}

TEST_F(DiagFiles, ChecksTheSizeBeforeEveryLine) {
  // Just under the limit: the first line takes it over, the second finds it
  // over and starts a new file.
  writeFile(home.logFile(), std::string(kLimit - 5, 'x'));
  Diag diag(files, zone, executors);
  diag.log("crosses");
  diag.log("restarts");
  executors.runUntilIdle();
  EXPECT_EQ(readFile(home.logFile()), "00:00:00.000 restarts\n");
}

TEST_F(DiagFiles, LinesLoggedBackToBackKeepTheirOrder) {
  Diag diag(files, zone, executors);
  diag.log("first");
  diag.log("second");
  diag.log("third");
  executors.runUntilIdle();
  EXPECT_EQ(readFile(home.logFile()),
            "00:00:00.000 first\n00:00:00.000 second\n00:00:00.000 third\n");
}

TEST_F(DiagFiles, WritesMessagesUnchangedAndAlwaysEndsTheLine) {
  Diag diag(files, zone, executors);
  diag.log("two\nlines");
  diag.log("ends with a line feed\n");
  diag.log("");
  diag.log("caf\xC3\xA9 \xE2\x80\xBA tab\there");
  executors.runUntilIdle();
  EXPECT_EQ(readFile(home.logFile()),
            "00:00:00.000 two\nlines\n"
            "00:00:00.000 ends with a line feed\n\n"
            "00:00:00.000 \n"
            "00:00:00.000 caf\xC3\xA9 \xE2\x80\xBA tab\there\n");
}

TEST(DiagMissingFolder, LogsNothingAndCreatesNoFolder) {
  TempHome home;
  sim::SimFileSystem files(home.path().string());
  ZoneSystemInfo zone;
  VirtualExecutors executors;
  Diag diag(files, zone, executors);
  diag.log("lost");
  EXPECT_EQ(executors.runUntilIdle(), 1U);
  EXPECT_FALSE(fs::exists(home.path() / "Library"));
  EXPECT_TRUE(fs::is_empty(home.path()));
}

TEST(DiagMissingFolder, LogsNothingWhenOnlyLogsIsMissing) {
  TempHome home;
  fs::create_directory(home.path() / "Library");
  sim::SimFileSystem files(home.path().string());
  ZoneSystemInfo zone;
  VirtualExecutors executors;
  Diag diag(files, zone, executors);
  diag.log("lost");
  executors.runUntilIdle();
  EXPECT_FALSE(fs::exists(home.logsFolder()));
  EXPECT_TRUE(fs::is_empty(home.path() / "Library"));
}

// Executors that record the serial queues asked for.
class RecordingExecutors final : public Executors {
 public:
  struct Request {
    std::string label;
    QualityOfService qos;
  };
  std::vector<Request> requests;
  VirtualExecutors inner;

  MainExecutor& main() override { return inner.main(); }
  TaskQueue& background() override { return inner.background(); }
  std::shared_ptr<TaskQueue> makeSerialQueue(std::string label, QualityOfService qos) override {
    requests.push_back({label, qos});
    return inner.makeSerialQueue(std::move(label), qos);
  }
  void sleepFor(Duration duration) override { inner.sleepFor(duration); }
  void parallelFor(size_t count, size_t width, const std::function<void(size_t)>& body) override {
    inner.parallelFor(count, width, body);
  }
};

TEST_F(DiagFiles, MakesOneSerialQueueLabelledKestruneDiag) {
  RecordingExecutors recording;
  Diag diag(files, zone, recording);
  diag.log("a");
  diag.log("b");
  recording.inner.runUntilIdle();
  ASSERT_EQ(recording.requests.size(), 1U);
  EXPECT_EQ(recording.requests[0].label, "Kestrune.diag");
  EXPECT_EQ(recording.requests[0].qos, QualityOfService::unspecified);
  EXPECT_EQ(readFile(home.logFile()), "00:00:00.000 a\n00:00:00.000 b\n");
}

// A file manager whose every operation fails, either by answering so or by
// throwing; it counts what was tried.
struct FailingFileSystem final : FileSystem {
  bool throws = false;
  bool handleOpens = false;
  int sizeReads = 0, removals = 0, opens = 0, seeks = 0, writes = 0, closes = 0, atomicWrites = 0;

  struct File final : WritableFile {
    FailingFileSystem& owner;
    explicit File(FailingFileSystem& o) : owner(o) {}
    bool seekToEnd() override {
      ++owner.seeks;
      return owner.fail();
    }
    bool write(std::string_view) override {
      ++owner.writes;
      return owner.fail();
    }
    bool close() override {
      ++owner.closes;
      return owner.fail();
    }
  };

  bool fail() const {
    if (throws) throw std::runtime_error("disk on fire");
    return false;
  }
  std::string homeDirectory() override { return "/Users/someone"; }
  std::string cachesDirectory() override { return "/Users/someone/Library/Caches"; }
  bool createDirectory(const std::string&) override { return fail(); }
  std::optional<std::string> readFile(const std::string&) override {
    fail();
    return std::nullopt;
  }
  std::optional<uint64_t> fileSize(const std::string&) override {
    ++sizeReads;
    fail();
    return kLimit + 1;
  }
  bool removeItem(const std::string&) override {
    ++removals;
    return fail();
  }
  std::unique_ptr<WritableFile> openForWriting(const std::string&) override {
    ++opens;
    if (handleOpens) return std::make_unique<File>(*this);
    fail();
    return nullptr;
  }
  bool writeAtomically(const std::string&, std::string_view) override {
    ++atomicWrites;
    return fail();
  }
};

TEST(DiagFailures, FailedRemovalAndAtomicWriteAreIgnored) {
  FailingFileSystem files;
  ZoneSystemInfo zone;
  VirtualExecutors executors;
  Diag diag(files, zone, executors);
  EXPECT_NO_THROW(diag.log("a"));
  EXPECT_NO_THROW(diag.log("b"));
  EXPECT_NO_THROW(executors.runUntilIdle());
  // Every line still went through every step.
  EXPECT_EQ(files.sizeReads, 2);
  EXPECT_EQ(files.removals, 2);
  EXPECT_EQ(files.opens, 2);
  EXPECT_EQ(files.atomicWrites, 2);
}

TEST(DiagFailures, FailingHandleIsStillWrittenAndClosedWithoutFallingBack) {
  FailingFileSystem files;
  files.handleOpens = true;
  ZoneSystemInfo zone;
  VirtualExecutors executors;
  Diag diag(files, zone, executors);
  diag.log("a");
  EXPECT_NO_THROW(executors.runUntilIdle());
  EXPECT_EQ(files.seeks, 1);
  EXPECT_EQ(files.writes, 1);
  EXPECT_EQ(files.closes, 1);
  EXPECT_EQ(files.atomicWrites, 0);
}

TEST(DiagFailures, ThrowingFileSystemDoesNotStopLaterLines) {
  FailingFileSystem files;
  files.throws = true;
  ZoneSystemInfo zone;
  VirtualExecutors executors;
  Diag diag(files, zone, executors);
  EXPECT_NO_THROW(diag.log("a"));
  EXPECT_NO_THROW(diag.log("b"));
  EXPECT_EQ(executors.pendingCount(), 2U);
  EXPECT_NO_THROW(executors.runUntilIdle());
  // Both queued tasks ran, each stopping at the first throw.
  EXPECT_EQ(files.sizeReads, 2);
  EXPECT_EQ(files.opens, 0);
}

struct ThrowingZone final : SystemInfo {
  int operatingSystemMajorVersion() override { return 15; }
  pid_t processIdentifier() override { return 1000; }
  int signalProbe(pid_t) override { return 0; }
  std::optional<std::string> environment(const std::string&) override { return std::nullopt; }
  int secondsFromGMT(WallTime) override { throw std::runtime_error("no time zone"); }
};

TEST(DiagFailures, ThrowingTimeZoneLosesTheLineQuietly) {
  FailingFileSystem files;
  ThrowingZone zone;
  VirtualExecutors executors;
  Diag diag(files, zone, executors);
  EXPECT_NO_THROW(diag.log("a"));
  EXPECT_EQ(executors.pendingCount(), 0U);
}

TEST(DiagThreads, LinesFromSeveralThreadsAllArriveInEachThreadsOrder) {
  constexpr int kThreads = 4;
  constexpr int kLines = 200;
  TempHome home;
  fs::create_directories(home.logsFolder());
  sim::SimFileSystem files(home.path().string());
  ZoneSystemInfo zone;
  zone.recordAsks = false;  // read from several threads
  ThreadExecutors executors(2);
  {
    Diag diag(files, zone, executors);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&diag, t] {
        for (int i = 0; i < kLines; ++i) {
          diag.log("thread " + std::to_string(t) + " line " + std::to_string(i));
        }
      });
    }
    for (auto& thread : threads) thread.join();
    // Destroying the Diag releases its queue, which finishes what is queued.
  }

  const auto text = readFile(home.logFile());
  ASSERT_TRUE(text.has_value());
  const std::regex shape(R"(^(\d\d):(\d\d):(\d\d)\.(\d\d\d) thread (\d+) line (\d+)$)");
  std::vector<int> next(kThreads, 0);
  std::istringstream lines(*text);
  std::string line;
  int count = 0;
  while (std::getline(lines, line)) {
    std::smatch match;
    ASSERT_TRUE(std::regex_match(line, match, shape)) << line;
    EXPECT_LT(std::stoi(match[1]), 24);
    EXPECT_LT(std::stoi(match[2]), 60);
    const int t = std::stoi(match[5]);
    ASSERT_LT(t, kThreads);
    EXPECT_EQ(std::stoi(match[6]), next[t]) << "thread " << t;
    next[t] = std::stoi(match[6]) + 1;
    ++count;
  }
  EXPECT_EQ(count, kThreads * kLines);
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(next[t], kLines) << "thread " << t;
  EXPECT_EQ(text->back(), '\n');
}

}  // namespace
}  // namespace kestrune
