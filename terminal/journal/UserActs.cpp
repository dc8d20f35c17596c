#include "UserActs.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <map>
#include <set>

#include "Archive.h"
#include "TableDump.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CFileDialog.h"
#include "gv/CHpfTreeTable.h"
#include "gv/Controls.h"
#include "tc/ITradeDockableWidget.h"
#include "tc/TaskEvents.h"

namespace journal {
namespace {

GV::CHpfTreeTable& needTable(TC::ITradeDockableWidget& panel) {
  GV::CHpfTreeTable* table = tableOf(panel);
  if (!table) throw CLineFault("the panel has no table");
  return *table;
}

GV::CHpfTreeTableDataPtr needRow(const GV::CHpfTreeTable& table, const std::string& path) {
  GV::CHpfTreeTableDataPtr row = table.rowByPath(QString::fromStdString(path));
  if (!row) throw CLineFault("row '" + path + "' does not exist");
  return row;
}

bool chooseItem(const TC::ITradeDockableWidget& panel, int id) {
  for (GV::CComboPushButton* combo : panel.findChildren<GV::CComboPushButton*>()) {
    for (int index = 0; index < combo->count(); ++index) {
      if (combo->itemId(index) != id) continue;
      combo->choose(index);
      return true;
    }
  }
  return false;
}

/// Works the control that has the id, so that the control's own state follows; an id without a control is delivered
/// as it stands.
void pressToolBar(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  if (chooseItem(panel, line.m_nId)) return;
  for (GV::CPushButton* button : panel.findChildren<GV::CPushButton*>()) {
    if (button->id() == line.m_nId) return button->click();
  }
  panel.handleEvent(GV::EventButtonClicked, line.m_nId, 0, QString(), nullptr);
}

void filterFinished(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  auto* check = panel.findChild<GV::CCheckBox*>();
  if (!check) throw CLineFault("the panel has no check box");
  if (check->isChecked() != line.m_bOn) check->click();
}

void pressRowButton(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  GV::CHpfTreeTable& table = needTable(panel);
  const QString key = needRow(table, line.m_strRow)->key();
  // Nothing happens for a button that is hidden or disabled, nor for one that is not there.
  if (auto* buttons = buttonsOf(table)) buttons->clickButton(key, line.m_nId);
}

void doubleClick(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  needTable(panel).handleEvent(GV::EventColumnDoubleClicked, 0, 0, QString::number(line.m_nColumn), nullptr);
}

void click(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  GV::CHpfTreeTable& table = needTable(panel);
  const QString key = needRow(table, line.m_strRow)->key();
  table.handleEvent(GV::EventCellClicked, line.m_nColumn, Qt::LeftButton, key, nullptr);
}

void pressKey(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  const QKeySequence keys(QString::fromStdString(line.m_strKeys), QKeySequence::PortableText);
  if (keys.count() != 1 || keys[0] == Qt::Key_unknown) throw CLineFault("'" + line.m_strKeys + "' is no key");
  const int key = keys[0] & ~int(Qt::KeyboardModifierMask);
  const Qt::KeyboardModifiers modifiers(keys[0] & int(Qt::KeyboardModifierMask));
  GV::CHpfTreeTable& table = needTable(panel);
  for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, modifiers);
    QCoreApplication::sendEvent(&table, &event);
  }
}

void fold(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  GV::CHpfTreeTable& table = needTable(panel);
  table.expandItem(needRow(table, line.m_strRow)->key(), line.m_eAct == EUserAct::Expand);
}

void exportTable(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  GV::CHpfTreeTable& table = needTable(panel);
  const auto before = GV::CFileDialog::setPresenter(
      [&line](QWidget*, const QString&) { return QString::fromStdString(line.m_strFile); });
  table.exportData();
  GV::CFileDialog::setPresenter(before);
}

void copyTable(TC::ITradeDockableWidget& panel, const SUserLine&) { needTable(panel).copyData(); }

void deliverEvent(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  QString taskKey = TC::taskKey(line.m_nTask);
  // The root's node key is that of its task.
  const QString text = line.m_strText ? QString::fromStdString(*line.m_strText) : taskKey;
  panel.handleEvent(line.m_nEvent, line.m_nId, 0, text, &taskKey);
}

using Performer = void (*)(TC::ITradeDockableWidget&, const SUserLine&);

const std::map<EUserAct, Performer> PERFORMERS = {
    {EUserAct::ToolBar, pressToolBar},  {EUserAct::FilterFinished, filterFinished},
    {EUserAct::Button, pressRowButton}, {EUserAct::DoubleClick, doubleClick},
    {EUserAct::Click, click},           {EUserAct::Key, pressKey},
    {EUserAct::Expand, fold},           {EUserAct::Collapse, fold},
    {EUserAct::Export, exportTable},    {EUserAct::Copy, copyTable},
    {EUserAct::Event, deliverEvent}};

}  // namespace

void performUserAct(TC::ITradeDockableWidget& panel, const SUserLine& line) {
  // A locked table takes no mouse, wherever the click would land.
  static const std::set<EUserAct> MOUSE_ACTS = {EUserAct::Button, EUserAct::DoubleClick, EUserAct::Click,
                                                EUserAct::Expand, EUserAct::Collapse};
  const GV::CHpfTreeTable* table = tableOf(panel);
  if (table && table->isUiLocked() && MOUSE_ACTS.contains(line.m_eAct)) return;
  PERFORMERS.at(line.m_eAct)(panel, line);
}

void patchRow(TC::ITradeDockableWidget& panel, const std::string& path, int priceType) {
  const GV::CHpfTreeTableDataPtr row = needRow(needTable(panel), path);
  // A root is named by its task alone.
  const int task = QString::fromStdString(path).section('/', 0, 0).toInt();
  panel.patch(task, row->parent() ? row->nodeKey() : QString(), priceType);
}

}  // namespace journal
