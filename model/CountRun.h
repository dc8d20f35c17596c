#pragma once

#include <QString>
#include <optional>
#include <string>
#include <vector>

#include "AwaitedRows.h"
#include "CountRules.h"
#include "DetailFacts.h"
#include "RowLedger.h"
#include "RowLookup.h"
#include "SlotMemo.h"
#include "TaskIdentity.h"

namespace TC {

/// One count of one detail. What a slot has is never adjusted by differences but summed anew in list order, so that it
/// is the same however the detail came to be what it is.
class CCountRun {
 public:
  /// Where it counts; rows: of the securities.
  struct SPlace {
    const STaskIdentity& id;
    CRowLedger& ledger;
    const SideRows& rows;
    CAwaitedRows& awaited;
  };
  /// What it does beside the figures.
  struct STexts {
    QString algorithm;     ///< remark of the rows that a server's algorithm trades
    bool messages = true;  ///< the messages of orders that ended unfilled become remarks
  };

  CCountRun(const SPlace& place, const SDetailFacts& facts, CDetailShares& shares)
      : m_place(place),
        m_facts(facts),
        m_detail(*facts.detail),
        m_rules(countRules(facts.part)),
        m_shares(shares),
        m_counted(shares.m_counted) {}

  /// Counts what has changed, and forms the figures of the rows on which that falls.
  void count(const STexts& texts);

 private:
  void countLines(const STexts& texts);
  void addLine(std::size_t place, const QString& algorithm);
  void countProgress();
  void addProgress(const CProgressOrder& entry);
  void countOrders(bool fileAnew);
  void unlistGone();
  void placeChanged();
  void file();
  void sumTouched();
  void showMessages() const;
  void logUnpriced() const;
  void keep();

  CRowFinder& rows();
  int slotOn(const SFoundRow& found, const std::string& market, const std::string& code, int operation);
  int slotOf(const ksservice::COrderInfo& order);
  void rememberSlots();
  void touch(int slot);
  bool isTouched(int slot) const {
    return slot != NO_SLOT && static_cast<std::size_t>(slot) < m_isTouched.size() &&
           m_isTouched[static_cast<std::size_t>(slot)] != 0;
  }

  const SPlace m_place;
  const SDetailFacts& m_facts;
  const ksservice::CTaskDetail& m_detail;
  const SCountRules& m_rules;
  CDetailShares& m_shares;
  SCountedDetail& m_counted;
  std::optional<CRowFinder> m_rows;  ///< made when first asked for: most runs find no row
  CSlotMemo m_slots;                 ///< of instruments that new orders have
  std::vector<char> m_isTouched;     ///< by slot: whether its share, and its row with it, is another
  std::vector<int> m_touched;
};

}  // namespace TC
