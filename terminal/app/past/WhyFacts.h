/// Why a row of the panel says what it says: what the panel tells of it, and what of a kept day stands behind that.
#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

#include "COrderRates.h"
#include "past/CPastDay.h"

namespace app {

/// A line of an explanation.
struct SWhyFact {
  int m_nLevel = 0;  ///< 0: a heading of its own; others belong to the one above with a lower level
  QString m_strText;
  std::int64_t m_nMsec = -1;  ///< the moment of the day that it speaks of, milliseconds since midnight; -1: none
  std::int64_t m_nEntry = 0;  ///< the entry, from 1; 0: none
};

/// What an explanation may rest on beside the panel's words.
struct SWhySources {
  const daylog::IDayLog* m_pLog = nullptr;  ///< null: no day is kept; the panel's words alone
  const CPastDay* m_pDay = nullptr;         ///< as above; read as far as the log
  std::int64_t m_nNow = 0;                  ///< the moment; what came later is not told
  std::int64_t m_nDayStart = 0;             ///< 00:00 of the day, seconds since the epoch
  engine::SOrderLimits m_limits{};
};

/// explanation: what ITradeDockableWidget::explain gave. Empty for an empty one. Throws nothing. Any thread.
std::vector<SWhyFact> whyFacts(const QByteArray& explanation, const SWhySources& sources);
/// As lines of text, indented, with times and entries.
QString whyText(const std::vector<SWhyFact>& facts);

}  // namespace app
