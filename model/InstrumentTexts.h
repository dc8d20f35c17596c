#pragma once

#include <QString>
#include <QVector>
#include <string>

namespace TC {

/// The texts of the rows of one instrument and operation: one copy for the rows of all tasks.
struct SInstrumentTexts {
  QString name;      ///< market and code
  QString stockKey;  ///< key of the instrument
  QString market;
  QString rowKey;           ///< instrument key and operation text
  QVector<int> operations;  ///< the one
};

/// Stays for ever: instruments are few. Any thread.
const SInstrumentTexts& instrumentTexts(const std::string& market, const std::string& code, int operation);

}  // namespace TC
