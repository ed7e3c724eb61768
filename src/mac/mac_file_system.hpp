#pragma once

#include "platform/file_system.hpp"

namespace kestrune {

// Foundation's shared file manager and file handles. Callable from any
// thread: the shared NSFileManager's methods are thread-safe. Every call
// drains its own autorelease pool, since the dispatch queues that run them
// set up none per task.
class MacFileSystem final : public FileSystem {
 public:
  [[nodiscard]] std::string homeDirectory() override;
  [[nodiscard]] std::string cachesDirectory() override;
  bool createDirectory(const std::string& path) override;
  [[nodiscard]] std::optional<std::string> readFile(const std::string& path) override;
  [[nodiscard]] std::optional<uint64_t> fileSize(const std::string& path) override;
  bool removeItem(const std::string& path) override;
  [[nodiscard]] std::unique_ptr<WritableFile> openForWriting(const std::string& path) override;
  bool writeAtomically(const std::string& path, std::string_view bytes) override;
};

}  // namespace kestrune
