#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kestrune {

// An open file handle (NSFileHandle for writing).
class WritableFile {
 public:
  virtual ~WritableFile() = default;
  virtual bool seekToEnd() = 0;
  virtual bool write(std::string_view bytes) = 0;
  virtual bool close() = 0;
};

// The file manager. Paths are absolute POSIX paths.
class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // The user's home folder as the file manager reports it (not a sandbox
  // container).
  [[nodiscard]] virtual std::string homeDirectory() = 0;
  // The user's caches folder (NSCachesDirectory in the user domain).
  [[nodiscard]] virtual std::string cachesDirectory() = 0;
  // Creates the folder and any missing parents; true when it exists after.
  virtual bool createDirectory(const std::string& path) = 0;
  // The whole content of a file; none when it cannot be read.
  [[nodiscard]] virtual std::optional<std::string> readFile(const std::string& path) = 0;
  // The size attribute of the item at `path`, absent when the attributes
  // cannot be read.
  [[nodiscard]] virtual std::optional<uint64_t> fileSize(const std::string& path) = 0;
  // Removes the file, or the folder with everything in it.
  virtual bool removeItem(const std::string& path) = 0;
  // A handle for writing to an existing file; none when the file does not
  // exist or cannot be opened (fileHandleForWritingAtPath:).
  [[nodiscard]] virtual std::unique_ptr<WritableFile> openForWriting(const std::string& path) = 0;
  // Writes `bytes` as the whole content of `path` through a temporary file
  // and a rename (writeToFile:atomically:YES). Creates no folder.
  virtual bool writeAtomically(const std::string& path, std::string_view bytes) = 0;
};

}  // namespace kestrune
