#pragma once

#include <string>

namespace ksservice {

/// Base of every record that the data centre hands out. A record that was delivered is never changed by its giver.
class IData {
 public:
  virtual ~IData() = default;

  /// The record's key, unique among records of its kind.
  const std::string& getKey() const { return m_strKey; }

  std::string m_strKey;
};

}  // namespace ksservice
