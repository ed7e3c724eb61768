#pragma once

#include <string>

#include "platform/file_system.hpp"

namespace kestrune::sim {

// Real files, under a home folder of the simulator's choosing (a temporary
// folder in tests), so that what the product writes can be looked at.
class SimFileSystem final : public FileSystem {
 public:
  explicit SimFileSystem(std::string home) : home_(std::move(home)) {}
  [[nodiscard]] std::string homeDirectory() override { return home_; }
  [[nodiscard]] std::string cachesDirectory() override { return home_ + "/Library/Caches"; }
  bool createDirectory(const std::string& path) override;
  [[nodiscard]] std::optional<std::string> readFile(const std::string& path) override;
  [[nodiscard]] std::optional<uint64_t> fileSize(const std::string& path) override;
  bool removeItem(const std::string& path) override;
  [[nodiscard]] std::unique_ptr<WritableFile> openForWriting(const std::string& path) override;
  bool writeAtomically(const std::string& path, std::string_view bytes) override;

 private:
  std::string home_;
};

}  // namespace kestrune::sim
