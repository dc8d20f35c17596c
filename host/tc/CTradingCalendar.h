#pragma once

#include <QObject>
#include <string>

namespace TC {

/// The host's source of trading dates. Signals are emitted on the GUI thread.
class CTradingCalendar : public QObject {
  Q_OBJECT

 Q_SIGNALS:
  /// A new trading day began; date as "yyyymmdd".
  void sigNewTradingDate(std::string date);
};

}  // namespace TC
