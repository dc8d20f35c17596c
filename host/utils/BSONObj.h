#pragma once

#include <memory>
#include <optional>
#include <string>

namespace bson {

/// A document in which the server answers. Never changed once made; a copy shares its bytes. Any thread.
class BSONObj {
 public:
  /// An empty document.
  BSONObj();
  /// The document of a JSON object; none when the text is not one, or when as toString() would write it, it is none.
  static std::optional<BSONObj> fromJson(const std::string& json);

  bool isEmpty() const;
  /// None when there is no such field, it is not of string type or it is no UTF-8.
  std::optional<std::string> stringField(const char* name) const;
  /// The document as one JSON text.
  std::string toString() const;

 private:
  explicit BSONObj(std::string bytes);

  std::shared_ptr<const std::string> m_pBytes;
};

}  // namespace bson
