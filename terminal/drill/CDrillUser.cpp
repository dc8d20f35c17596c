#include "CDrillUser.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "DrillRules.h"
#include "TableDump.h"
#include "UserActs.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CCommonDialog.h"
#include "gv/CFileDialog.h"
#include "gv/CHpfTreeTable.h"
#include "gv/CMessageBox.h"

namespace drill {
namespace {

using journal::EDialogAct;
using journal::EUserAct;
using journal::SUserLine;

/// Ids of the tool bar: filters, what is asked of all tasks, folding, refreshing.
constexpr int FILTERS = 4;
constexpr int OF_ALL_TASKS[] = {4, 5, 6};
constexpr int VIEWS[] = {9, 10, 11};

struct SClick {
  QString m_row;
  GV::STableButton m_button;
};

std::vector<SClick> clicksOf(const GV::CHpfTreeTable& table) {
  std::vector<SClick> clicks;
  const auto* buttons = journal::buttonsOf(table);
  table.forEachRow([&](const GV::CHpfTreeTableData& row, int, bool, bool) {
    for (const GV::STableButton& button : buttons->shownButtons(row.key())) {
      if (!buttons->getIsItemButtonEnabled(row.key(), button.id)) continue;
      clicks.push_back({journal::rowPath(table, row.key()), button});
    }
  });
  return clicks;
}

}  // namespace

CDrillUser::CDrillUser(const SDrillPlan& plan, SReportCard& card, std::function<void()> passTime)
    : m_plan(plan), m_card(card), m_draw(plan.draw(CDraw::User)), m_passTime(std::move(passTime)) {
  GV::CMessageBox::setPresenter([](QWidget*, const QString&, const QString&) {});
  GV::CFileDialog::setPresenter([](QWidget*, const QString&) { return QString(); });
  GV::CCommonDialog::setExecHook([this](GV::CCommonDialog& dialog) { work(dialog); });
}

CDrillUser::~CDrillUser() {
  GV::CMessageBox::setPresenter({});
  GV::CFileDialog::setPresenter({});
  GV::CCommonDialog::setExecHook({});
}

void CDrillUser::act() {
  const int kind = m_draw.below(100);
  if (kind < 60) return clickButton();
  if (kind < 66) return clickToolBar();
  look();
}

void CDrillUser::perform(const SUserLine& line) {
  if (CDrillJournal* journal = m_pTerminal->journal()) journal->add(line);
  m_pTerminal->act([&] { journal::performUserAct(*m_pTerminal->panel(), line); });
}

void CDrillUser::clickButton() {
  const std::vector<SClick> clicks = clicksOf(*journal::tableOf(*m_pTerminal->panel()));
  if (clicks.empty()) return;
  const auto patches = std::find_if(clicks.begin(), clicks.end(),
                                    [](const SClick& each) { return each.m_button.text == QStringLiteral("补单"); });
  const SClick& click = patches != clicks.end() && m_draw.chance(40) ? *patches : m_draw.pick(clicks);
  // Dropping ends it all: not too often.
  if (click.m_button.text == QStringLiteral("放弃补单") && m_draw.chance(85)) return;
  SUserLine line;
  line.m_eAct = EUserAct::Button;
  line.m_strRow = click.m_row.toStdString();
  line.m_nId = click.m_button.id;
  for (int times = m_draw.chance(15) ? 2 : 1; times > 0; --times) {
    ++m_card.m_nClicks;
    // A dialog that the click before opened may have seen another day.
    if (!m_pTerminal || !journal::tableOf(*m_pTerminal->panel())->rowByPath(click.m_row)) return;
    perform(line);
  }
}

void CDrillUser::clickToolBar() {
  ++m_card.m_nClicks;
  SUserLine line;
  line.m_nId = m_draw.pick(OF_ALL_TASKS);
  perform(line);
}

/// What changes nothing but what is seen.
void CDrillUser::look() {
  SUserLine line;
  const int kind = m_draw.below(4);
  if (kind == 0) {
    line.m_nId = m_draw.below(FILTERS);
  } else if (kind == 1) {
    line.m_nId = m_draw.pick(VIEWS);
  } else if (kind == 2) {
    line.m_eAct = EUserAct::FilterFinished;
    line.m_bOn = m_draw.chance(50);
  } else {
    std::vector<QString> rows;
    const GV::CHpfTreeTable* table = journal::tableOf(*m_pTerminal->panel());
    table->forEachRow([&](const GV::CHpfTreeTableData& row, int, bool, bool) {
      rows.push_back(journal::rowPath(*table, row.key()));
    });
    if (rows.empty()) return;
    line.m_eAct = m_draw.chance(50) ? EUserAct::Expand : EUserAct::Collapse;
    line.m_strRow = m_draw.pick(rows).toStdString();
  }
  perform(line);
}

// His dialogs

void CDrillUser::work(GV::CCommonDialog& dialog) {
  CDrillJournal* journal = m_pTerminal->journal();
  if (journal) journal->beginDialog();
  editRows(dialog);
  if (m_draw.chance(30)) m_pTerminal->actInDialog(m_passTime);
  if (dialog.isOpen()) {
    const int kind = m_draw.below(100);
    if (kind < 15) {
      if (journal) journal->addAct(EDialogAct::Close, {});
      dialog.closeByUser();
    } else if (kind < 22) {
      press(dialog, QStringLiteral("新建篮子补单"));
    } else {
      std::map<std::string, long long> accepted;
      for (const GV::SDialogRow& row : dialog.state().rows) {
        if (row.checked) accepted[instrumentOf(row.key)] += row.editor.toInt();
      }
      for (const auto& [instrument, volume] : accepted) m_confirmed[instrument] = volume;
      press(dialog, QStringLiteral("选中补单"));
    }
  }
  if (journal) journal->endDialog();
}

void CDrillUser::press(GV::CCommonDialog& dialog, const QString& button) {
  if (CDrillJournal* journal = m_pTerminal->journal()) journal->addAct(EDialogAct::Press, button.toStdString());
  dialog.press(button);
}

void CDrillUser::editRows(GV::CCommonDialog& dialog) {
  static const char* const TEXTS[] = {"", "abc", "-100", "0", "150", "1e9", "99999999999"};
  CDrillJournal* journal = m_pTerminal->journal();
  for (const GV::SDialogRow& row : dialog.state().rows) {
    if (row.checkable && m_draw.chance(15)) {
      if (journal) journal->addAct(EDialogAct::Check, row.key.toStdString(), !row.checked);
      dialog.check(row.key, !row.checked);
    }
    if (!row.editable || !m_draw.chance(30)) continue;
    const int all = std::max(1, row.editor.toInt());
    const QString text = m_draw.chance(30) ? QString::fromLatin1(m_draw.pick(TEXTS))
                                           : QString::number(1LL + m_draw.below(all) * (m_draw.chance(80) ? 1LL : 3LL));
    if (journal) journal->addAct(EDialogAct::Edit, row.key.toStdString(), true, text.toStdString());
    dialog.edit(row.key, text);
  }
}

std::string CDrillUser::faultOf(const desk::SCreateRequest& request) {
  std::map<std::string, long long> asked;
  for (const ksservice::CCodeOrderParam& param : request.m_params) {
    asked[param.m_stock.m_strMarket + "." + param.m_stock.m_strCode] += param.m_nVolume;
  }
  for (const auto& [instrument, volume] : asked) {
    const auto confirmed = m_confirmed.find(instrument);
    const long long most = confirmed == m_confirmed.end() ? 0 : confirmed->second;
    if (volume > most) {
      return instrument + ": " + std::to_string(volume) + " asked for, " + std::to_string(most) + " confirmed";
    }
    m_confirmed.erase(confirmed);
  }
  return {};
}

}  // namespace drill
