// Documents in which a server answers: JSON as a journal has it, or the bytes of a BSON document made into such.
#include <bson/bson.h>

#include <nlohmann/json.hpp>

#include "Fuzz.h"
#include "Lines.h"
#include "utils/BSONObj.h"

namespace {

/// Empty for bytes that are no document.
std::string jsonOf(std::string_view bytes) {
  bson_t document;
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  if (!bson_init_static(&document, data, bytes.size())) return {};
  if (!bson_validate(&document, BSON_VALIDATE_NONE, nullptr)) return {};
  char* text = bson_as_canonical_extended_json(&document, nullptr);
  std::string json(text ? text : "");
  bson_free(text);
  return json;
}

/// What the panel reads of it.
void look(const bson::BSONObj& document) {
  document.isEmpty();
  const auto message = document.stringField("ErrorMsg");
  if (message) fuzz::require(bson_utf8_validate(message->data(), message->size(), true), "a message is UTF-8");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::CBytes bytes(data, size);
  const bool binary = bytes.flag();
  const std::string json = binary ? jsonOf(bytes.rest()) : std::string(bytes.rest());
  if (const auto document = bson::BSONObj::fromJson(json)) {
    look(*document);
    const auto again = bson::BSONObj::fromJson(document->toString());
    if (again) fuzz::require(again->stringField("ErrorMsg") == document->stringField("ErrorMsg"), "a message stays");
  }
  const auto line = journal::parseLine(R"({"kind":"serverReply","document":)" + json + "}");
  if (const auto* read = std::get_if<journal::SLine>(&line)) {
    const std::string text = journal::writeLine(*read);
    const auto again = journal::parseLine(text);
    fuzz::require(std::holds_alternative<journal::SLine>(again), "a reply that is written can be read");
    if (const auto* reply = std::get_if<journal::SServerReplyLine>(&read->m_body)) look(reply->m_document);
  }
  return 0;
}
