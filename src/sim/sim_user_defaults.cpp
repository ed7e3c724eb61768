#include "sim/sim_user_defaults.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>

namespace kestrune::sim {
namespace {

constexpr char kDomainFile[] = "/Library/Preferences/com.kestrune.Kestrune.json";
constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Data goes into the file as base64, as property lists store it: JSON text
// cannot hold arbitrary bytes.
std::string toBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t n = std::min<size_t>(3, bytes.size() - i);
    uint32_t group = 0;
    for (size_t j = 0; j < 3; ++j) {
      group <<= 8;
      if (j < n) group |= static_cast<unsigned char>(bytes[i + j]);
    }
    for (size_t j = 0; j < 4; ++j) {
      text += j <= n ? kBase64[(group >> (18 - 6 * j)) & 0x3F] : '=';
    }
  }
  return text;
}

// Strict: padded, no white space, nothing outside the alphabet.
std::optional<std::string> fromBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  for (size_t i = 0; i < text.size(); i += 4) {
    const bool last = i + 4 == text.size();
    uint32_t group = 0;
    size_t padding = 0;
    for (size_t j = 0; j < 4; ++j) {
      const char c = text[i + j];
      group <<= 6;
      if (c == '=') {
        // Only at the end of the last group, at most two.
        if (!last || j < 2) return std::nullopt;
        ++padding;
        continue;
      }
      if (padding > 0) return std::nullopt;
      const char* at = std::char_traits<char>::find(kBase64, 64, c);
      if (!at) return std::nullopt;
      group |= static_cast<uint32_t>(at - kBase64);
    }
    for (size_t j = 0; j < 3 - padding; ++j) {
      bytes += static_cast<char>((group >> (16 - 8 * j)) & 0xFF);
    }
  }
  return bytes;
}

}  // namespace

SimUserDefaults::SimUserDefaults(const std::string& home) {
  std::error_code error;
  if (home.empty() || !std::filesystem::is_directory(home, error)) return;
  path_ = home + kDomainFile;

  std::ifstream in(path_, std::ios::binary);
  if (!in) return;
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad()) return;

  // Each entry is {"<type>": value}. One bad entry makes the whole file
  // unreadable, as a damaged property list would be.
  const auto document = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!document.is_object()) return;
  std::map<std::string, Value> values;
  for (const auto& [key, entry] : document.items()) {
    if (!entry.is_object() || entry.size() != 1) return;
    const auto only = entry.begin();
    const std::string& type = only.key();
    const auto& value = only.value();
    if (type == "data" && value.is_string()) {
      auto bytes = fromBase64(value.get_ref<const std::string&>());
      if (!bytes) return;
      values.emplace(key, Data{std::move(*bytes)});
    } else if (type == "bool" && value.is_boolean()) {
      values.emplace(key, value.get<bool>());
    } else if (type == "integer" && value.is_number_integer() &&
               !(value.is_number_unsigned() &&
                 value.get<uint64_t>() > uint64_t{std::numeric_limits<int64_t>::max()})) {
      values.emplace(key, value.get<int64_t>());
    } else if (type == "string" && value.is_string()) {
      values.emplace(key, value.get<std::string>());
    } else {
      return;
    }
  }
  values_ = std::move(values);
}

std::optional<std::string> SimUserDefaults::dataForKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  if (const auto* data = std::get_if<Data>(&found->second)) return data->bytes;
  return std::nullopt;
}

void SimUserDefaults::setData(const std::string& key, std::string_view bytes) {
  store(key, Data{std::string(bytes)});
}

bool SimUserDefaults::boolForKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return false;
  const Value& value = found->second;
  if (const auto* b = std::get_if<bool>(&value)) return *b;
  if (const auto* i = std::get_if<int64_t>(&value)) return *i != 0;
  // Only the strings that boolForKey: is documented to read as true.
  if (const auto* s = std::get_if<std::string>(&value)) {
    return *s == "true" || *s == "YES" || *s == "1";
  }
  return false;
}

void SimUserDefaults::setBool(const std::string& key, bool value) {
  store(key, value);
}

std::optional<int64_t> SimUserDefaults::integerForKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  if (const auto* b = std::get_if<bool>(&found->second)) return *b ? 1 : 0;
  if (const auto* i = std::get_if<int64_t>(&found->second)) return *i;
  return std::nullopt;
}

void SimUserDefaults::setInteger(const std::string& key, int64_t value) {
  store(key, value);
}

std::optional<std::string> SimUserDefaults::stringForKey(const std::string& key) {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  if (const auto* s = std::get_if<std::string>(&found->second)) return *s;
  return std::nullopt;
}

void SimUserDefaults::setString(const std::string& key, std::string_view value) {
  store(key, std::string(value));
}

std::optional<DefaultsObjectKind> SimUserDefaults::objectKind(const std::string& key) {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  switch (found->second.index()) {
    case 0:
      return DefaultsObjectKind::data;
    case 1:
      return DefaultsObjectKind::boolean;
    case 2:
      return DefaultsObjectKind::number;
    default:
      return DefaultsObjectKind::string;
  }
}

void SimUserDefaults::removeObject(const std::string& key) {
  std::lock_guard lock(mutex_);
  if (values_.erase(key) > 0) writeLocked();
}

bool SimUserDefaults::synchronize() {
  std::lock_guard lock(mutex_);
  return !lastWriteFailed_ || writeLocked();
}

void SimUserDefaults::store(const std::string& key, Value value) {
  std::lock_guard lock(mutex_);
  values_.insert_or_assign(key, std::move(value));
  writeLocked();
}

bool SimUserDefaults::writeLocked() {
  if (path_.empty()) return true;
  nlohmann::json document = nlohmann::json::object();
  for (const auto& [key, value] : values_) {
    auto& entry = document[key];
    if (const auto* data = std::get_if<Data>(&value)) {
      entry["data"] = toBase64(data->bytes);
    } else if (const auto* b = std::get_if<bool>(&value)) {
      entry["bool"] = *b;
    } else if (const auto* i = std::get_if<int64_t>(&value)) {
      entry["integer"] = *i;
    } else {
      entry["string"] = std::get<std::string>(value);
    }
  }
  // Text that is not UTF-8 cannot be a key or string of the real domain
  // either; replacing it keeps the rest of the domain writable.
  const std::string text = document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);

  const std::filesystem::path file(path_);
  const std::string temporary = path_ + ".tmp";
  std::error_code error;
  std::filesystem::create_directories(file.parent_path(), error);
  bool ok = false;
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.close();
    ok = static_cast<bool>(out);
  }
  ok = ok && std::rename(temporary.c_str(), path_.c_str()) == 0;
  if (!ok) std::remove(temporary.c_str());
  lastWriteFailed_ = !ok;
  return ok;
}

std::shared_ptr<UserDefaults> SimDefaultsSuites::open(const std::string& suiteName) {
  std::lock_guard lock(mutex_);
  auto& suite = suites_[suiteName];
  if (!suite) suite = std::make_shared<SimUserDefaults>("");
  return suite;
}

void SimDefaultsSuites::remove(const std::string& suiteName) {
  std::lock_guard lock(mutex_);
  suites_.erase(suiteName);
}

}  // namespace kestrune::sim
