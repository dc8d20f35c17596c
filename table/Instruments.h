#pragma once

#include <QHash>
#include <QPair>
#include <QString>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace TC {

/// All empty while the exchange client does not know the instrument.
struct SInstrumentInfo {
  QString market;  ///< as the exchange client names it
  QString name;
  QString pinyin;  ///< initials of the name, where they are given

  bool operator==(const SInstrumentInfo& other) const = default;
};
/// Grows, and keeps what stands in it where it is and as it is, so that any thread may read what it knows of.
using InstrumentInfos = std::deque<SInstrumentInfo>;

/// What the exchange client says of the instruments of rows.
///
/// Why: it may say something else in each refresh, and there are many more rows than instruments. Each instrument is
/// asked for once in a refresh; a row knows its instrument by a number. One thread at a time.
class CInstruments {
 public:
  /// The number of an instrument, the same for good; that of an empty code stands for none.
  int numberOf(const QString& market, const QString& code);
  /// The same one while the same is said. It stands in infos().
  const SInstrumentInfo& info(int number) {
    SInstrument& instrument = m_instruments[static_cast<std::size_t>(number)];
    if (instrument.refresh != m_nRefresh) ask(instrument);
    return *instrument.info;
  }
  std::shared_ptr<const InstrumentInfos> infos() const { return m_infos; }
  /// From now on everything is asked for anew, unless the host says that nothing has changed.
  void beginRefresh();
  /// Another number, greater than 0, whenever the host may say something else.
  unsigned refresh() const { return m_nRefresh; }

 private:
  struct SInstrument {
    std::string market;
    std::string code;
    const SInstrumentInfo* info = nullptr;
    unsigned refresh = 0;  ///< in which it was asked for last
  };

  void ask(SInstrument& instrument);

  std::shared_ptr<InstrumentInfos> m_infos = std::make_shared<InstrumentInfos>(1);  ///< the first: of no instrument
  std::vector<SInstrument> m_instruments;
  QHash<QPair<QString, QString>, int> m_numbers;
  unsigned m_nRefresh = 1;
  unsigned long long m_nVersion = 0;  ///< of what the host says; 0 while it does not tell
};

}  // namespace TC
