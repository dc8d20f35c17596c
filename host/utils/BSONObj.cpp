#include "utils/BSONObj.h"

#include <bson/bson.h>

#include <utility>

namespace bson {
namespace {

std::string bytesOf(const bson_t& document) {
  return {reinterpret_cast<const char*>(bson_get_data(&document)), document.len};
}

std::string emptyDocument() {
  bson_t document = BSON_INITIALIZER;
  return bytesOf(document);
}

/// None when the text is no document.
std::optional<std::string> documentOf(const std::string& json) {
  bson_t document;
  bson_error_t error;
  if (!bson_init_from_json(&document, json.data(), static_cast<ssize_t>(json.size()), &error)) return std::nullopt;
  std::string bytes = bytesOf(document);
  bson_destroy(&document);
  return bytes;
}

/// A view of the bytes of a document, which were checked when they came in.
bson_t viewOf(const std::string& bytes) {
  bson_t document;
  bson_init_static(&document, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return document;
}

}  // namespace

BSONObj::BSONObj() : BSONObj(emptyDocument()) {}

BSONObj::BSONObj(std::string bytes) : m_pBytes(std::make_shared<const std::string>(std::move(bytes))) {}

std::optional<BSONObj> BSONObj::fromJson(const std::string& json) {
  const std::optional<std::string> bytes = documentOf(json);
  if (!bytes) return std::nullopt;
  const BSONObj result(*bytes);
  // A field that is named like a mark of a type, as "$type", is taken for that mark only once it is written.
  if (!documentOf(result.toString())) return std::nullopt;
  return result;
}

bool BSONObj::isEmpty() const {
  const bson_t document = viewOf(*m_pBytes);
  return bson_empty(&document);
}

std::optional<std::string> BSONObj::stringField(const char* name) const {
  const bson_t document = viewOf(*m_pBytes);
  bson_iter_t field;
  if (!bson_iter_init_find(&field, &document, name) || !BSON_ITER_HOLDS_UTF8(&field)) return std::nullopt;
  std::uint32_t length = 0;
  const char* text = bson_iter_utf8(&field, &length);
  // The document's own check lets such texts pass.
  if (!bson_utf8_validate(text, length, true)) return std::nullopt;
  return std::string(text, length);
}

std::string BSONObj::toString() const {
  const bson_t document = viewOf(*m_pBytes);
  char* text = bson_as_relaxed_extended_json(&document, nullptr);
  std::string result(text ? text : "");
  bson_free(text);
  return result;
}

}  // namespace bson
