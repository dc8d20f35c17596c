#include "CountRun.h"

#include <utility>

#include "TaskRules.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "utils/Log.h"

namespace TC {

using ksservice::CCodeOrderParam;
using ksservice::COrderDetailHelper;
using ksservice::COrderInfo;
using ksservice::COrderInfoPtr;

namespace {

ELineAccount accountsOf(EBasketTaskType part) { return part == EBTT_Own ? ELineAccount::First : ELineAccount::Each; }

}  // namespace

void CCountRun::count(const STexts& texts) {
  // Whatever happens from here on, what was counted fits no more until all is done.
  m_counted.stands = false;
  const bool fileAnew = m_facts.whole && m_shares.restart(rows().places(), m_place.ledger.changes());
  if (m_facts.countsLines) countLines(texts);
  if (m_facts.countsOrders) {
    countOrders(fileAnew);
  } else {
    countProgress();
  }
  if (m_facts.whole) {
    for (int slot = 0; slot < static_cast<int>(m_shares.m_slots.size()); ++slot) touch(slot);
  }
  logUnpriced();
  if (texts.messages) showMessages();
  for (const int slot : m_touched) settleRow(*m_shares.slot(slot).row, m_place.ledger.changes());
  keep();
}

void CCountRun::keep() {
  m_counted.detail = m_facts.detail;
  m_counted.countsOrders = m_facts.countsOrders;
  m_counted.host = m_facts.host;
  m_counted.stands = true;
}

/// With each count, whether or not it looked at them.
void CCountRun::logUnpriced() const {
  const void* const task = m_place.id.task;
  for (int i = 0; i < m_counted.unpriced; ++i) {
    utils::logInfo(task, "CBasketTask::updateDetail", "basket panel total money error");
  }
  for (std::size_t i = 0; i < m_counted.priced.size(); ++i) {
    utils::logInfo(task, "CBasketTask::updateDetail", "[basket panel] fix task money by biz num %1%-%2%",
                   m_detail.m_nTaskId, m_detail.m_nBusinessNumber);
  }
}

/// Another detail on the row may have said something else meanwhile: the one that was counted last has the word.
void CCountRun::showMessages() const {
  for (const int number : m_counted.told) {
    const CDetailShares::SSlot& slot = m_shares.slot(number);
    const COrderInfo& order = *m_detail.m_orders[static_cast<std::size_t>(slot.message)];
    setRemark(*slot.row->item, QString::fromStdString(order.m_strMessage), m_place.ledger.changes());
  }
}

// Slots

CRowFinder& CCountRun::rows() {
  if (!m_rows) m_rows.emplace(m_place.rows, m_detail.m_params, accountsOf(m_facts.part));
  return *m_rows;
}

/// The detail's slot on the row that was found; remembers where a better one may come.
int CCountRun::slotOn(const SFoundRow& found, const std::string& market, const std::string& code, int operation) {
  m_place.awaited.note(found, market, code, operation, {m_shares.part(), m_shares.key()});
  return found.row ? m_shares.slotOn(m_place.ledger.row(found.row)) : NO_SLOT;
}

int CCountRun::slotOf(const COrderInfo& order) {
  if (m_slots.isEmpty()) rememberSlots();
  const auto resolve = [&] {
    const SFoundRow found = rows().ofOrder(order.m_strMarket, order.m_strCode, order.m_nOperation);
    return slotOn(found, order.m_strMarket, order.m_strCode, order.m_nOperation);
  };
  return m_slots.at(order.m_strMarket, order.m_strCode, order.m_nOperation, resolve);
}

/// Of one order of each slot.
void CCountRun::rememberSlots() {
  std::vector<bool> known(m_shares.m_slots.size());
  for (std::size_t i = 0; i < m_counted.orderSlots.size(); ++i) {
    const int slot = m_counted.orderSlots[i];
    if (slot == NO_SLOT || known[static_cast<std::size_t>(slot)]) continue;
    known[static_cast<std::size_t>(slot)] = true;
    const COrderInfo& order = *m_detail.m_orders[i];
    m_slots.learn(order.m_strMarket, order.m_strCode, order.m_nOperation, slot);
  }
}

void CCountRun::touch(int slot) {
  if (slot == NO_SLOT || isTouched(slot)) return;
  m_isTouched.resize(m_shares.m_slots.size());
  m_isTouched[static_cast<std::size_t>(slot)] = 1;
  m_touched.push_back(slot);
}

// Lines

void CCountRun::countLines(const STexts& texts) {
  std::vector<SLineShare> before;
  for (CDetailShares::SSlot& slot : m_shares.m_slots) before.push_back(std::exchange(slot.lines, {}));
  m_counted.quoted.clear();
  m_counted.unpriced = 0;
  m_counted.lineSlots.reserve(m_detail.m_params.size());
  m_shares.m_slots.reserve(m_facts.whole ? m_detail.m_params.size() : 0);
  for (std::size_t i = 0; i < m_detail.m_params.size(); ++i) {
    const CCodeOrderParam& param = m_detail.m_params[i];
    if (m_facts.whole) {
      const auto& [market, code, name] = param.m_stock;
      m_counted.lineSlots.push_back(slotOn(rows().ofLine(param), market, code, param.m_nOperation));
    }
    if (m_counted.lineSlots[i] != NO_SLOT) addLine(i, texts.algorithm);
  }
  for (std::size_t slot = 0; slot < before.size(); ++slot) {
    if (m_shares.m_slots[slot].lines != before[slot]) touch(static_cast<int>(slot));
  }
}

void CCountRun::addLine(std::size_t place, const QString& algorithm) {
  const CCodeOrderParam& param = m_detail.m_params[place];
  CDetailShares::SSlot& slot = m_shares.slot(m_counted.lineSlots[place]);
  if (m_rules.estimatesEverything) slot.lines.estimate = m_detail.m_bServerTask;
  if (!m_rules.targets) return;
  const STarget& target = m_facts.targets[place];
  slot.lines.target += target.amount;
  if (target.quoted) m_counted.quoted.push_back({static_cast<int>(place), target});
  if (target.unpriced) ++m_counted.unpriced;
  if (param.m_nOrderType != ksservice::EORT_Plain) slot.lines.orderType = param.m_nOrderType;
  if (m_detail.m_bServerTask && ksservice::DataHelper::isAlgoOrderType(param.m_nOrderType)) {
    setRemark(*slot.row->item, algorithm, m_place.ledger.changes());
  }
}

// Progress

void CCountRun::countProgress() {
  for (auto* places : {&m_counted.orderSlots, &m_counted.priced, &m_counted.told}) places->clear();
  m_counted.known.clear();
  m_counted.tags.clear();
  for (std::size_t slot = 0; slot < m_shares.m_slots.size(); ++slot) {
    m_shares.m_slots[slot].orders = {};
    touch(static_cast<int>(slot));
  }
  if (!m_facts.progress) return;
  for (const CProgressOrder& entry : m_facts.progress->m_orders) addProgress(entry);
}

void CCountRun::addProgress(const CProgressOrder& entry) {
  const CCodeOrderParam* param = paramOf(m_detail, entry).param;
  if (!param) return;
  const ksservice::COrderDetail& order = entry.m_detail;
  const int operation = param->m_nOperation;
  const auto resolve = [&] {
    const SFoundRow found = rows().ofOrder(order.m_strMarket, order.m_strCode, operation, entry.m_strMapKey);
    return slotOn(found, order.m_strMarket, order.m_strCode, operation);
  };
  // Which account an entry is of hangs on its key too.
  const int number = rows().hasAccounts()
                         ? resolve()
                         : m_shares.m_progressSlots.at(order.m_strMarket, order.m_strCode, operation, resolve);
  touch(number);
  if (number == NO_SLOT) return;
  CDetailShares::SSlot& slot = m_shares.slot(number);
  if (m_rules.progressNamesRow && entry.m_strMapKey.find(*slot.row->accounts) == std::string::npos) return;
  SOrderShare& share = slot.orders;
  share.traded += order.m_nTradedVolume;
  share.amount += order.m_dTradedAmount;
  ++share.orders;
  ++share.knownOrders;
  if (m_rules.progressCancels && COrderDetailHelper::isOrderCanceled(order)) ++share.cancelled;
  share.estimate = true;
}

// Orders

void CCountRun::countOrders(bool fileAnew) {
  if (!fileAnew) unlistGone();
  if (m_facts.whole) m_counted.orderSlots.clear();
  placeChanged();
  for (const auto& [place, known] : m_facts.answers) {
    EKnownOrder& before = m_counted.known[static_cast<std::size_t>(place)];
    if (std::exchange(before, known) != known) touch(m_counted.orderSlots[static_cast<std::size_t>(place)]);
  }
  file();
  if (!m_touched.empty()) sumTouched();
}

/// The orders that have left the list are still on their rows.
void CCountRun::unlistGone() {
  if (!m_counted.detail) return;
  const auto& before = m_counted.detail->m_orders;
  const auto unlist = [&](std::size_t place) {
    if (place >= m_counted.orderSlots.size() || m_counted.orderSlots[place] == NO_SLOT) return;
    m_place.ledger.unlist(*before[place]);
  };
  for (const int changed : m_facts.changed) {
    const auto place = static_cast<std::size_t>(changed);
    if (place >= before.size()) break;
    const COrderInfoPtr& order = m_detail.m_orders[place];
    if (before[place] && (!order || order->getKey() != before[place]->getKey())) unlist(place);
  }
  for (std::size_t place = m_detail.m_orders.size(); place < before.size(); ++place) unlist(place);
}

/// Gives each order that is new in its place its slot, and touches the slots of those that are new or gone.
void CCountRun::placeChanged() {
  const auto& orders = m_detail.m_orders;
  for (std::size_t i = orders.size(); i < m_counted.orderSlots.size(); ++i) touch(m_counted.orderSlots[i]);
  if (m_counted.orderSlots.size() > orders.size()) m_counted.orderSlots.resize(orders.size());
  const std::size_t known = m_counted.orderSlots.size();
  m_counted.known.resize(orders.size());
  m_counted.tags.resize(orders.size());
  m_counted.orderSlots.reserve(orders.size());
  for (const int changed : m_facts.changed) {
    const auto place = static_cast<std::size_t>(changed);
    const COrderInfoPtr& order = orders[place];
    if (place >= known) m_counted.orderSlots.push_back(order ? slotOf(*order) : NO_SLOT);
    if (!order) continue;
    m_counted.tags[place] = COrderChanges::tagOf(*order);
    touch(m_counted.orderSlots[place]);
  }
}

void CCountRun::file() {
  static const std::vector<COrderInfoPtr> none;
  const auto& before = m_counted.detail ? m_counted.detail->m_orders : none;
  const auto fileAt = [&](std::size_t place) {
    const int slot = m_counted.orderSlots[place];
    if (slot == NO_SLOT) return;
    const COrderInfo* const earlier = place < before.size() ? before[place].get() : nullptr;
    m_place.ledger.fileOrder(*m_shares.slot(slot).row, m_detail.m_orders[place], earlier);
  };
  for (const int place : m_facts.changed) fileAt(static_cast<std::size_t>(place));
  if (!m_place.ledger.hasRepeatedKeys()) return;
  for (std::size_t place = 0; place < m_detail.m_orders.size(); ++place) fileAt(place);
}

void CCountRun::sumTouched() {
  const auto& orders = m_detail.m_orders;
  for (const int number : m_touched) {
    CDetailShares::SSlot& slot = m_shares.slot(number);
    slot.orders = {};
    slot.message = CDetailShares::NO_ORDER;
  }
  std::erase_if(m_counted.told, [this](int slot) { return isTouched(slot); });
  std::erase_if(m_counted.priced, [this](int place) {
    const auto i = static_cast<std::size_t>(place);
    return i >= m_counted.orderSlots.size() || isTouched(m_counted.orderSlots[i]);
  });
  m_isTouched.resize(m_shares.m_slots.size());
  const char* const touched = m_isTouched.data();
  const int* const slots = m_counted.orderSlots.data();
  for (std::size_t i = 0; i < orders.size(); ++i) {
    const int number = slots[i];
    if (number == NO_SLOT || touched[number] == 0) continue;
    CDetailShares::SSlot& slot = m_shares.slot(number);
    const COrderInfo& order = *orders[i];
    addOrder(slot.orders, order, m_counted.known[i], m_rules);
    if (m_rules.estimatesEverything) slot.orders.estimate = m_detail.m_bServerTask;
    if (m_rules.pricesFills && isUnpricedFill(order)) m_counted.priced.push_back(static_cast<int>(i));
    if (tells(order, m_rules)) slot.message = static_cast<int>(i);
  }
  for (const int number : m_touched) {
    if (m_shares.slot(number).message != CDetailShares::NO_ORDER) m_counted.told.push_back(number);
  }
}

}  // namespace TC
