/// Two archives with one face: the same description of a line's fields reads it and writes it.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "utils/BSONObj.h"

namespace journal {

/// What is wrong with a line.
class CLineFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The texts of an enumeration's values.
template <typename Enum>
using Names = std::vector<std::pair<Enum, const char*>>;

/// Takes fields out of a JSON object. A fault names the field by its path from the line.
class CReadArchive {
 public:
  using Json = nlohmann::json;

  explicit CReadArchive(const Json& object, std::string path = {}) : m_object(object), m_strPath(std::move(path)) {}

  template <typename T>
  void required(const char* name, T& value) const {
    convert(need(name), name, value);
  }

  /// A field that is left out, or an integer that is null, has the default.
  template <typename T>
  void optional(const char* name, T& value, const T& unset = T()) const {
    value = unset;
    const Json* found = find(name);
    if (!found || (std::is_integral_v<T> && !std::is_same_v<T, bool> && found->is_null())) return;
    convert(*found, name, value);
  }

  template <typename T>
  void optional(const char* name, std::optional<T>& value) const {
    value.reset();
    const Json* found = find(name);
    if (found && !found->is_null()) convert(*found, name, value.emplace());
  }

  template <typename Enum>
  void choice(const char* name, Enum& value, const Names<Enum>& names) const {
    std::string text;
    required(name, text);
    for (const auto& [each, eachText] : names) {
      if (text == eachText) {
        value = each;
        return;
      }
    }
    fail(name, "'" + text + "' is unknown");
  }

  /// The value whose text is the name of a field.
  template <typename Enum>
  void alternative(Enum& value, const Names<Enum>& names) const {
    std::string known;
    for (const auto& [each, eachText] : names) {
      if (find(eachText)) {
        value = each;
        return;
      }
      known += (known.empty() ? "\"" : ", \"") + std::string(eachText) + "\"";
    }
    throw CLineFault("field \"" + m_strPath.substr(0, m_strPath.size() - 1) + "\" must have one of " + known);
  }

  /// A list of objects, empty where it is left out; read(archive, item) takes each.
  template <typename T, typename Read>
  void list(const char* name, std::vector<T>& items, const Read& read) const {
    items.clear();
    const Json* found = find(name);
    if (!found) return;
    if (!found->is_array()) fail(name, "must be a list");
    for (const Json& each : *found) {
      const CReadArchive inner = child(each, std::string(name) + "[" + std::to_string(items.size()) + "]");
      read(inner, items.emplace_back());
    }
  }

  /// An object that may be null or left out; read(archive, value) takes it.
  template <typename T, typename Read>
  void object(const char* name, std::optional<T>& value, const Read& read) const {
    value.reset();
    const Json* found = find(name);
    if (!found || found->is_null()) return;
    const CReadArchive inner = child(*found, name);
    read(inner, value.emplace());
  }

  [[noreturn]] void fail(const std::string& name, const std::string& what) const {
    throw CLineFault("field \"" + m_strPath + name + "\" " + what);
  }

 private:
  CReadArchive child(const Json& object, const std::string& name) const {
    if (!object.is_object()) fail(name, "must be an object");
    return CReadArchive(object, m_strPath + name + ".");
  }

  const Json* find(const char* name) const {
    const auto found = m_object.find(name);
    return found != m_object.end() ? &*found : nullptr;
  }

  const Json& need(const char* name) const {
    const Json* found = find(name);
    if (!found) fail(name, "is missing");
    return *found;
  }

  template <typename Int>
  void convertInteger(const Json& json, const char* name, Int& value) const {
    if (!json.is_number_integer()) fail(name, "must be an integer");
    const bool tooLarge =
        json.is_number_unsigned() && json.get<std::uint64_t>() > std::uint64_t(std::numeric_limits<Int>::max());
    if (tooLarge || json.get<std::int64_t>() < std::int64_t(std::numeric_limits<Int>::min())) {
      fail(name, "is out of range");
    }
    value = json.get<Int>();
  }

  void convert(const Json& json, const char* name, int& value) const { convertInteger(json, name, value); }
  void convert(const Json& json, const char* name, long long& value) const { convertInteger(json, name, value); }
  void convert(const Json& json, const char* name, double& value) const {
    if (!json.is_number()) fail(name, "must be a number");
    value = json.get<double>();
  }
  void convert(const Json& json, const char* name, bool& value) const {
    if (!json.is_boolean()) fail(name, "must be true or false");
    value = json.get<bool>();
  }
  void convert(const Json& json, const char* name, std::string& value) const {
    if (!json.is_string()) fail(name, "must be a text");
    value = json.get<std::string>();
  }
  void convert(const Json& json, const char* name, bson::BSONObj& value) const {
    const std::optional<bson::BSONObj> document =
        json.is_object() ? bson::BSONObj::fromJson(json.dump()) : std::optional<bson::BSONObj>();
    if (!document) fail(name, "must be a document");
    value = *document;
  }
  template <typename T>
  void convert(const Json& json, const char* name, std::map<std::string, T>& values) const {
    if (!json.is_object()) fail(name, "must be an object");
    values.clear();
    for (const auto& [key, each] : json.items()) convert(each, (name + ("." + key)).c_str(), values[key]);
  }
  void convert(const Json& json, const char* name, std::vector<int>& values) const {
    if (!json.is_array()) fail(name, "must be a list of integers");
    values.clear();
    for (const Json& each : json) convert(each, name, values.emplace_back());
  }
  void convert(const Json& json, const char* name, std::vector<std::string>& values) const {
    if (!json.is_array()) fail(name, "must be a list of texts");
    values.clear();
    for (const Json& each : json) convert(each, name, values.emplace_back());
  }

  const Json& m_object;
  std::string m_strPath;
};

/// Puts fields into a JSON object; those that have their default are left out, unless the archive is complete.
class CWriteArchive {
 public:
  using Json = nlohmann::ordered_json;

  explicit CWriteArchive(Json& object, bool complete = false) : m_object(object), m_bComplete(complete) {}

  template <typename T>
  void required(const char* name, const T& value) {
    m_object[name] = value;
  }

  template <typename T>
  void optional(const char* name, const T& value, const T& unset = T()) {
    if (m_bComplete || value != unset) m_object[name] = value;
  }

  void optional(const char* name, const bson::BSONObj& value) {
    if (!value.isEmpty()) m_object[name] = Json::parse(value.toString());
  }

  template <typename T>
  void optional(const char* name, const std::optional<T>& value) {
    if (value) m_object[name] = *value;
  }

  template <typename Enum>
  void choice(const char* name, Enum value, const Names<Enum>& names) {
    for (const auto& [each, text] : names) {
      if (each == value) m_object[name] = text;
    }
  }

  /// The field that has the value's name says it.
  template <typename Enum>
  void alternative(Enum, const Names<Enum>&) {}

  template <typename T, typename Write>
  void list(const char* name, std::vector<T>& items, const Write& write) {
    if (items.empty()) return;
    Json& array = m_object[name] = Json::array();
    for (T& item : items) {
      Json inner = Json::object();
      CWriteArchive archive(inner, m_bComplete);
      write(archive, item);
      array.push_back(std::move(inner));
    }
  }

  template <typename T, typename Write>
  void object(const char* name, std::optional<T>& value, const Write& write) {
    if (!value) return;
    Json inner = Json::object();
    CWriteArchive archive(inner, m_bComplete);
    write(archive, *value);
    m_object[name] = std::move(inner);
  }

 private:
  Json& m_object;
  bool m_bComplete;
};

}  // namespace journal
