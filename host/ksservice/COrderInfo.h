#pragma once

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#include "ksservice/Enumerations.h"
#include "ksservice/IData.h"

namespace ksservice {

/// The tag that ties an order to its order detail. Carries its hash, since it is looked up for every order of every
/// refresh.
class CMavOrderTag {
 public:
  CMavOrderTag() : CMavOrderTag(std::string()) {}
  explicit CMavOrderTag(std::string text) : m_strText(std::move(text)), m_nHash(std::hash<std::string>()(m_strText)) {}

  const std::string& text() const { return m_strText; }
  std::size_t hash() const { return m_nHash; }
  bool operator==(const CMavOrderTag& other) const { return m_nHash == other.m_nHash && m_strText == other.m_strText; }

 private:
  std::string m_strText;
  std::size_t m_nHash;
};

/// One order of a task. Volumes in shares or lots, price and amount in CNY.
class COrderInfo : public IData {
 public:
  std::string m_strMarket;
  std::string m_strCode;
  int m_nOperation = 0;  ///< EOperationType
  int m_nVolume = 0;
  int m_nTradedVolume = 0;
  double m_dPrice = 0;
  double m_dTradedAmount = 0;
  std::string m_strMessage;
  bool m_bHasMessage = false;
  bool m_bCompleted = false;  ///< no further fill can come; read through COrderDetailHelper::completed
  CMavOrderTag m_tag;
};

/// What the data centre, or the progress of a server task, knows of one order.
class COrderDetail : public IData {
 public:
  std::string m_strMarket;
  std::string m_strCode;
  int m_nTradedVolume = 0;
  double m_dTradedAmount = 0;
  bool m_bCancelled = false;  ///< read through COrderDetailHelper::isOrderCanceled
};

using COrderInfoPtr = boost::shared_ptr<COrderInfo>;
using COrderDetailPtr = boost::shared_ptr<COrderDetail>;

}  // namespace ksservice
