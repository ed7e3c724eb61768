#pragma once

#include <string>

#include "platform/file_system.hpp"

namespace kestrune::sim {

// Real files, under a home folder of the simulator's choosing (a temporary
// folder in tests), so that what the product writes can be looked at.
// Without a home folder nothing can be written anywhere: the home then is a
// path that does not exist, and every change fails.
class SimFileSystem final : public FileSystem {
 public:
  static constexpr const char* kNoHome = "/nonexistent";

  explicit SimFileSystem(std::string home)
      : writable_(!home.empty()), home_(writable_ ? std::move(home) : kNoHome) {}
  [[nodiscard]] std::string homeDirectory() override { return home_; }
  [[nodiscard]] std::string cachesDirectory() override { return home_ + "/Library/Caches"; }
  bool createDirectory(const std::string& path) override;
  [[nodiscard]] std::optional<std::string> readFile(const std::string& path) override;
  [[nodiscard]] std::optional<uint64_t> fileSize(const std::string& path) override;
  bool removeItem(const std::string& path) override;
  [[nodiscard]] std::unique_ptr<WritableFile> openForWriting(const std::string& path) override;
  bool writeAtomically(const std::string& path, std::string_view bytes) override;

 private:
  bool writable_;
  std::string home_;
};

}  // namespace kestrune::sim
