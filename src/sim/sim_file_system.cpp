#include "sim/sim_file_system.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace kestrune::sim {
namespace {

class PosixFile final : public WritableFile {
 public:
  explicit PosixFile(int fd) : fd_(fd) {}
  ~PosixFile() override { close(); }
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  bool seekToEnd() override { return fd_ >= 0 && ::lseek(fd_, 0, SEEK_END) >= 0; }
  bool write(std::string_view bytes) override {
    while (!bytes.empty()) {
      const ssize_t n = ::write(fd_, bytes.data(), bytes.size());
      if (n <= 0) return false;
      bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
  }
  bool close() override {
    if (fd_ < 0) return true;
    const bool ok = ::close(fd_) == 0;
    fd_ = -1;
    return ok;
  }

 private:
  int fd_;
};

}  // namespace

std::optional<uint64_t> SimFileSystem::fileSize(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (error) return std::nullopt;
  return size;
}

bool SimFileSystem::removeItem(const std::string& path) {
  if (!writable_) return false;
  // Like the file manager's removeItemAtPath:, a folder goes with its content.
  std::error_code error;
  return std::filesystem::remove_all(path, error) > 0 && !error;
}

std::unique_ptr<WritableFile> SimFileSystem::openForWriting(const std::string& path) {
  if (!writable_) return nullptr;
  const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) return nullptr;
  return std::make_unique<PosixFile>(fd);
}

bool SimFileSystem::createDirectory(const std::string& path) {
  if (!writable_) return false;
  std::error_code error;
  std::filesystem::create_directories(path, error);
  return std::filesystem::is_directory(path, error);
}

std::optional<std::string> SimFileSystem::readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return std::nullopt;
  return bytes;
}

bool SimFileSystem::writeAtomically(const std::string& path, std::string_view bytes) {
  if (!writable_) return false;
  const std::string temporary = path + ".kestrune-tmp";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    if (!out) return false;
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) return false;
  }
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    std::remove(temporary.c_str());
    return false;
  }
  return true;
}

}  // namespace kestrune::sim
