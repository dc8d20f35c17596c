/// A record as a message: what differs from another record, that put back, and a hash of all of it.
#pragma once

#include <google/protobuf/message.h>

#include <bit>
#include <cstdint>
#include <string>
#include <type_traits>

#include "WireFields.h"

namespace desklink {

namespace wire {

inline bool isSame(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }
template <typename Value>
bool isSame(const Value& a, const Value& b) {
  return a == b;
}

/// The message's field of a number.
class CField {
 public:
  CField(const google::protobuf::Message& message, int number)
      : m_reflection(*message.GetReflection()), m_field(*message.GetDescriptor()->FindFieldByNumber(number)) {}

  bool isIn(const google::protobuf::Message& message) const { return m_reflection.HasField(message, &m_field); }

  void write(google::protobuf::Message& message, int value) const { m_reflection.SetInt32(&message, &m_field, value); }
  void write(google::protobuf::Message& message, qint64 value) const {
    m_reflection.SetInt64(&message, &m_field, value);
  }
  void write(google::protobuf::Message& message, bool value) const { m_reflection.SetBool(&message, &m_field, value); }
  void write(google::protobuf::Message& message, double value) const {
    m_reflection.SetDouble(&message, &m_field, value);
  }
  void write(google::protobuf::Message& message, const std::string& value) const {
    m_reflection.SetString(&message, &m_field, value);
  }
  void write(google::protobuf::Message& message, const ksservice::CMavOrderTag& value) const {
    write(message, value.text());
  }

  void read(const google::protobuf::Message& message, int& value) const {
    value = m_reflection.GetInt32(message, &m_field);
  }
  void read(const google::protobuf::Message& message, qint64& value) const {
    value = m_reflection.GetInt64(message, &m_field);
  }
  void read(const google::protobuf::Message& message, bool& value) const {
    value = m_reflection.GetBool(message, &m_field);
  }
  void read(const google::protobuf::Message& message, double& value) const {
    value = m_reflection.GetDouble(message, &m_field);
  }
  void read(const google::protobuf::Message& message, std::string& value) const {
    value = m_reflection.GetStringReference(message, &m_field, &value);
  }
  void read(const google::protobuf::Message& message, ksservice::CMavOrderTag& value) const {
    std::string text;
    read(message, text);
    value = ksservice::CMavOrderTag(std::move(text));
  }

 private:
  const google::protobuf::Reflection& m_reflection;
  const google::protobuf::FieldDescriptor& m_field;
};

}  // namespace wire

/// Writes the fields of record that differ from those of base; whether there was one.
template <typename Record>
bool writeDifference(const Record& base, const Record& record, google::protobuf::Message& message) {
  bool differs = false;
  eachField(record, [&](int number, const auto& member) {
    if (wire::isSame(member(base), member(record))) return;
    wire::CField(message, number).write(message, member(record));
    differs = true;
  });
  return differs;
}

/// Puts the fields that the message has into the record.
template <typename Record>
void readDifference(const google::protobuf::Message& message, Record& record) {
  eachField(record, [&](int number, const auto& member) {
    const wire::CField field(message, number);
    if (field.isIn(message)) field.read(message, member(record));
  });
}

/// A hash that is the same on every machine.
class CRecordHash {
 public:
  void add(std::uint64_t value) {
    m_nHash ^= value;
    m_nHash *= 0x9e3779b97f4a7c15u;
    m_nHash ^= m_nHash >> 32;
  }
  void add(int value) { add(static_cast<std::uint64_t>(static_cast<std::uint32_t>(value))); }
  void add(bool value) { add(value ? 1 : 0); }
  void add(double value) { add(std::bit_cast<std::uint64_t>(value)); }
  void add(const std::string& text) {
    add(static_cast<std::uint64_t>(text.size()));
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      word = word << 8 | static_cast<unsigned char>(text[i]);
      if (i % 8 == 7) add(std::exchange(word, 0));
    }
    add(word);
  }
  void add(const ksservice::CMavOrderTag& tag) { add(tag.text()); }
  template <typename Record>
  requires std::is_class_v<Record>
  void addRecord(const Record& record) {
    eachField(record, [&](int, const auto& member) { add(member(record)); });
  }
  std::uint64_t value() const { return m_nHash; }

 private:
  std::uint64_t m_nHash = 0xcbf29ce484222325u;
};

}  // namespace desklink
