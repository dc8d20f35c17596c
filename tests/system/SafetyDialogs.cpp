// What the user does in the confirmation of a patch, and what may come of it.
#include <algorithm>

#include "SafetyDay.h"
#include "gv/CCommonDialog.h"
#include "ksservice/Helpers.h"
#include "ksservice/Operations.h"
#include "tc/TaskEvents.h"
#include "utils/Keys.h"

namespace test {
namespace {

using namespace ksservice;

constexpr int AVAILABLE_COLUMN = 6;

/// Of a dialog's row, "A1/SH.600000买入".
LineKey lineOf(const QString& row) { return lineOfRow(row.section('/', 0, 0).toStdString(), row.section('/', 1)); }

}  // namespace

LineKey lineOfRow(const std::string& account, const QString& row) {
  const int operation = row.endsWith(ksservice::operationText(EOT_Buy)) ? EOT_Buy : EOT_Sell;
  CStockInfo stock;
  utils::splitMavStockKey(row.chopped(ksservice::operationText(operation).size()).toStdString(), stock.m_strMarket,
                          stock.m_strCode);
  return engine::lineKeyOf(account, stock, operation);
}

void CSafetyDay::work(GV::CCommonDialog& dialog) {
  m_host.pump();
  ++m_counts["dialogs"];
  // Another task may ask while one is being asked for, but no task twice.
  check(m_open.insert(&dialog).second, "a dialog of a task that has one");
  std::vector<std::pair<LineKey, long long>> offered;
  for (const auto& row : dialog.state().rows)
    offered.emplace_back(lineOf(row.key), row.cells[AVAILABLE_COLUMN].toInt());
  const int basket = m_host.basketOf(offered.front().first);
  SConfirmation confirmation{basket, m_nLetGo, m_drops[basket], {}};
  note("dialog of " + std::to_string(basket));
  checkRest("offered", offered);
  checkNewest(basket);
  check(!m_host.isQueried(basket), "a dialog by an answer that is not the newest query's");
  check(!has(ING_Drops) || m_asked.contains(basket), "a dialog although the patch was given up");
  editRows(dialog);
  if (chance(m_random, 30)) disturb(basket);
  if (dialog.isOpen()) endDialog(dialog, std::move(confirmation));
  m_open.erase(&dialog);
}

/// Something happens while the dialog is open.
void CSafetyDay::disturb(int basket) {
  step();
  if (chance(m_random, 60)) refresh();
  if (has(ING_Drops) && chance(m_random, 30) && m_pPanel) sendEvent(basket, TC::ETA_Drop);
  if (has(ING_Reopen) && chance(m_random, 15) && m_pPanel) reopen();
  if (has(ING_Kill) && m_nStepsToKill > 0 && chance(m_random, 15)) kill();
  if (has(ING_NewDay) && chance(m_random, 10)) startNewDay();
  // No click can reach the panel now; a script's event could, and must not patch a task a second time.
  if (chance(m_random, 40) && m_pPanel) sendEvent(anyBasket(), TC::ETA_Patch);
}

/// A row offers no more than is left, nor does an entry.
void CSafetyDay::editRows(GV::CCommonDialog& dialog) {
  static const char* const TEXTS[] = {"", "abc", "-100", "0", "1", "150", "1e9", "99999999999"};
  for (const GV::SDialogRow& row : dialog.state().rows) {
    const int available = row.cells[AVAILABLE_COLUMN].toInt();
    const std::string of = " of " + std::to_string(available);
    check(available > 0 && row.editor.toInt() == available,
          row.key.toStdString() + " is offered " + row.editor.toStdString() + of);
    if (chance(m_random, 20)) dialog.check(row.key, false);
    if (!chance(m_random, 40)) continue;
    const int kind = below(m_random, 24);
    const QString text = kind < 8 ? QString::fromLatin1(TEXTS[kind])
                                  : QString::number(1 + below(m_random, available) * (kind < 20 ? 1LL : 3LL));
    dialog.edit(row.key, text);
    note("  " + row.key.toStdString() + of + ": " + text.toStdString());
    for (const GV::SDialogRow& after : dialog.state().rows) {
      check(after.key != row.key || after.editor.toInt() <= available,
            row.key.toStdString() + " takes " + after.editor.toStdString() + of);
    }
  }
}

void CSafetyDay::endDialog(GV::CCommonDialog& dialog, SConfirmation confirmation) {
  if (chance(m_random, 15)) {
    note("  dismissed");
    return chance(m_random, 50) ? dialog.closeByUser() : static_cast<void>(dialog.press(QStringLiteral("取消")));
  }
  for (const GV::SDialogRow& row : dialog.state().rows) {
    if (row.checked) confirmation.m_volumes[row.key.toStdString()] = row.editor.toInt();
  }
  m_confirmation = std::move(confirmation);
  if (chance(m_random, has(ING_NewBasket) ? 30 : 8) && dialog.press(QStringLiteral("新建篮子补单")).isEmpty()) {
    return note("  new basket");
  }
  m_bConfirmed = true;
  ++m_counts["accepted"];
  note("  accepted");
  check(dialog.press(QStringLiteral("选中补单")).isEmpty(), "the patch cannot be confirmed");
}

/// A new basket is the host's affair, which is told its lines: nothing is ordered, and the task is dropped.
void CSafetyDay::onNewBasket(const QString& lines) {
  const int basket = m_confirmation.m_nBasket;
  ++m_counts["new baskets"];
  checkConfirmation();
  std::multiset<std::string> expected;
  for (const auto& entry : m_confirmation.m_volumes) {
    const std::string& row = entry.first;
    const auto info = std::find_if(m_plan.m_instruments.begin(), m_plan.m_instruments.end(), [&](const auto& each) {
      return row.find("/" + each.m_strMarket + "." + each.m_strCode) != std::string::npos;
    });
    const LineKey line = lineOf(QString::fromStdString(row));
    const bool byEntry = StockTypeCenter::isTypedStock(*info, STOCK_TYPE_UI_UNIT);
    const int volume = entry.second - entry.second % (byEntry ? info->m_nUiMinUnit : info->m_nTradeMinUnit);
    if (volume < 1) continue;
    expected.insert(info->m_strMarket + "." + info->m_strCode + " " + std::to_string(std::get<2>(line)) + " " +
                    std::to_string(volume));
    m_handedOver[line] += volume;
  }
  std::multiset<std::string> told;
  for (const QString& line : lines.split('\n', Qt::SkipEmptyParts)) {
    const QStringList fields = line.split('\t');
    told.insert((fields[0] + " " + fields[5] + " " + fields[2]).toStdString());
  }
  check(told == expected, "a new basket of other lines than were confirmed");
  learn(m_host.takeSeen());
  if (isCertain()) m_dropSends = sendsOf(basket, ETO_Drop);
  giveUp(basket, ETO_Drop);
}

}  // namespace test
