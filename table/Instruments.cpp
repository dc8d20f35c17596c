#include "Instruments.h"

#include "tc/CExchangeClient.h"
#include "tc/Services.h"
#include "utils/Guarded.h"

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

void CInstruments::beginRefresh() {
  // A host that fails has not told: everything is asked for.
  unsigned long long version = 0;
  utils::guarded("CInstruments::beginRefresh", "exchange client", [&] { version = getExchangeClient().version(); });
  const bool same = version != 0 && version == m_nVersion;
  m_nVersion = version;
  if (!same) ++m_nRefresh;
}

void CInstruments::ask(SInstrument& instrument) {
  if (instrument.info == nullptr) instrument.info = &m_infos->front();
  const auto said =
      instrument.code.empty() ? nullptr : getExchangeClient().getCodeInfo(instrument.market, instrument.code);
  // Not before the host has answered: one that fails is asked again.
  instrument.refresh = m_nRefresh;
  SInstrumentInfo info;
  if (said) {
    info = {QString::fromStdString(said->m_strMarket), QString::fromStdString(said->m_strName),
            QString::fromStdString(said->m_strPinyin)};
  }
  if (*instrument.info == info) return;
  m_infos->push_back(std::move(info));
  instrument.info = &m_infos->back();
}

}  // namespace TC
