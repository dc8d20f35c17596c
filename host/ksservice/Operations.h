/// Facts of operation and order types that hold in every terminal. Any thread.
#pragma once

#include <QString>

#include "ksservice/Enumerations.h"

namespace ksservice {

/// The text of an operation type, decimal for a type that has none. UTF-8, lives as long as the program.
const char* operationValueToString(int operation);
/// The same text as a QString that is shared, not built, for each call.
const QString& operationText(int operation);

struct DataHelper {
  static bool isBuy(int operation);
  static bool isDirectRepay(int operation);
  static bool isAlgoOrderType(int orderType);
};

}  // namespace ksservice

namespace TC {

QString operationToString(int operation);
/// "普通交易", "智能算法", or empty for an order type that has no text.
QString orderTypeToString(int orderType);

}  // namespace TC
