#pragma once

#include <QHash>
#include <QPair>
#include <QString>
#include <vector>

namespace TC {

/// What the exchange client says of the instruments of rows.
///
/// Why: it may say something else in each refresh, and there are many more rows than instruments. Each instrument is
/// asked for once in a refresh; a row knows its instrument by a number. One thread at a time.
class CInstruments {
 public:
  /// Both empty while the exchange client does not know the instrument.
  struct SInfo {
    QString market;
    QString name;
  };

  /// The number of an instrument, the same for good; that of an empty code stands for none.
  int numberOf(const QString& market, const QString& code);
  /// Valid until the next call of any operation.
  const SInfo& info(int number) {
    SInstrument& instrument = m_instruments[static_cast<std::size_t>(number)];
    if (instrument.refresh != m_nRefresh) ask(instrument);
    return instrument.info;
  }
  /// From now on everything is asked for anew.
  void beginRefresh() { ++m_nRefresh; }

 private:
  struct SInstrument {
    std::string market;
    std::string code;
    SInfo info;
    unsigned refresh = 0;  ///< in which it was asked for last
  };

  void ask(SInstrument& instrument) const;

  std::vector<SInstrument> m_instruments;
  QHash<QPair<QString, QString>, int> m_numbers;
  unsigned m_nRefresh = 1;
};

}  // namespace TC
