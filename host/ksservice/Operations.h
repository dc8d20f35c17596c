/// Facts of operation and order types that hold in every terminal. Any thread.
#pragma once

#include <QString>

#include "ksservice/Enumerations.h"

namespace ksservice {

/// The text of an operation type, decimal for a type that has none. UTF-8, lives as long as the program.
const char* operationValueToString(int operation);
/// The same text as a QString that is shared, not built, for each call.
const QString& operationText(int operation);

struct CEnumsDataHelper {
  /// "普通交易", "智能算法", or empty for an order type that has no text.
  static QString orderTypeToFormatString(int orderType);
  /// The name of a price type, decimal for one that has none.
  static QString priceTypeToFormatString(int priceType);
};

struct DataHelper {
  static bool isBuy(int operation);
  static bool isDirectRepay(int operation);
  static bool isAlgoOrderType(int orderType);
};

}  // namespace ksservice

namespace TC {

QString operationToString(int operation);
/// CEnumsDataHelper::orderTypeToFormatString.
QString orderTypeToString(int orderType);
bool isBuy(int operation);
bool isDirectRepay(int operation);

}  // namespace TC
