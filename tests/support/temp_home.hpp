#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace kestrune::testing {

// A fresh home folder with Library/Logs, removed again at the end.
class TempHome {
 public:
  TempHome() {
    static int counter = 0;
    path_ = std::filesystem::temp_directory_path() /
            ("kestrune-home-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_ / "Library/Logs");
  }
  ~TempHome() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempHome(const TempHome&) = delete;
  TempHome& operator=(const TempHome&) = delete;

  [[nodiscard]] std::string path() const { return path_.string(); }
  [[nodiscard]] std::string read(const std::string& relative) const {
    std::ifstream in(path_ / relative, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }

 private:
  std::filesystem::path path_;
};

}  // namespace kestrune::testing
