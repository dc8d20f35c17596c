#include "Instruments.h"

#include "tc/CExchangeClient.h"
#include "tc/Services.h"

namespace TC {

int CInstruments::numberOf(const QString& market, const QString& code) {
  const QPair<QString, QString> key(code.isEmpty() ? QString() : market, code);
  const auto known = m_numbers.constFind(key);
  if (known != m_numbers.constEnd()) return *known;
  SInstrument instrument;
  instrument.market = key.first.toStdString();
  instrument.code = code.toStdString();
  m_instruments.push_back(std::move(instrument));
  const int number = static_cast<int>(m_instruments.size()) - 1;
  m_numbers.insert(key, number);
  return number;
}

void CInstruments::ask(SInstrument& instrument) const {
  instrument.refresh = m_nRefresh;
  if (instrument.code.empty()) return;
  const auto said = getExchangeClient().getCodeInfo(instrument.market, instrument.code);
  const QString market = said ? QString::fromStdString(said->m_strMarket) : QString();
  const QString name = said ? QString::fromStdString(said->m_strName) : QString();
  // What is the same stays the same copy: rows compare with it, and most share it.
  if (instrument.info.market != market) instrument.info.market = market;
  if (instrument.info.name != name) instrument.info.name = name;
}

}  // namespace TC
