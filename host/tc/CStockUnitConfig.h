#pragma once

#include <QObject>

namespace TC {

/// Tells when the user changed the units in which quantities are shown. GUI thread.
class CStockUnitConfig : public QObject {
  Q_OBJECT

 Q_SIGNALS:
  void sigStockUnitChange();
};

}  // namespace TC
