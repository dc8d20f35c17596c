// The commands of the context menu, and their keys: those of the current row, export and copy.
#include <QAction>
#include <QKeyEvent>
#include <QMenu>
#include <algorithm>

#include "gv/CBaseHighPerformanceTable.h"

namespace GV {

namespace {

struct SCommand {
  const char* text;
  int key;  ///< with its modifier
  void (*run)(CBaseHighPerformanceTable& table);
};

/// In the order of the menu.
const SCommand COMMANDS[] = {
    {"导出数据", int(Qt::CTRL) | Qt::Key_E, [](CBaseHighPerformanceTable& table) { table.exportData(); }},
    {"复制", int(Qt::CTRL) | Qt::Key_C, [](CBaseHighPerformanceTable& table) { table.copyData(); }},
};

/// The key is only shown by the menu: it comes to the table, which has the focus.
void giveKey(QAction& action, int key) {
  action.setData(key);
  action.setShortcut(key);
  action.setShortcutContext(Qt::WidgetShortcut);
  action.setShortcutVisibleInContextMenu(true);
}

}  // namespace

void CBaseHighPerformanceTable::offerCommands() {
  if (!m_rowCommands.isEmpty()) m_pContextMenu->addSeparator();
  for (const SCommand& command : COMMANDS) {
    QAction* action = m_pContextMenu->addAction(QString::fromUtf8(command.text), this, [this, &command] {
      if (!m_bLocked) command.run(*this);
    });
    giveKey(*action, command.key);
  }
}

QAction* CBaseHighPerformanceTable::addRowCommand(const QString& text, int key, const RowCommand& run) {
  if (m_pRowTitle == nullptr) {
    m_pRowTitle = m_pContextMenu->addAction(QString());
    m_pRowTitle->setEnabled(false);
  }
  QAction* action = m_pContextMenu->addAction(text, this, [this, run] {
    if (!m_bLocked) run(m_strCommandRow);
  });
  giveKey(*action, key);
  m_rowCommands.append(action);
  return action;
}

/// The commands are about the current row, if it shows.
void CBaseHighPerformanceTable::prepareRowCommands() {
  if (m_pRowTitle == nullptr) return;
  const int row = m_pModel == nullptr ? -1 : m_pModel->positionOf(m_strCurrentKey);
  m_strCommandRow = row < 0 ? QString() : m_strCurrentKey;
  m_pRowTitle->setVisible(row >= 0);
  // A mark for a key is no part of a name.
  m_pRowTitle->setText(rowTitle(row).replace(QLatin1Char('&'), QLatin1String("&&")));
  for (QAction* action : m_rowCommands) action->setVisible(row >= 0);
  if (row >= 0) updateRowCommands(m_strCommandRow);
}

void CBaseHighPerformanceTable::popUpContextMenu(const QPoint& point) {
  prepareRowCommands();
  if (!m_bLocked && !m_pContextMenu->isEmpty()) m_pContextMenu->popup(point);
}

bool CBaseHighPerformanceTable::isCommand(const QAction& action) { return action.data().isValid(); }

/// A key that is held down acts once, and never on what is out of sight, which it shows.
bool CBaseHighPerformanceTable::mayAct(int row, const QKeyEvent& event) {
  const bool onScreen = row >= topRow() && row < topRow() + pageRows();
  if (row >= 0) scrollToRow(row);
  return onScreen && !event.isAutoRepeat();
}

/// True when the key belongs to a command, whether it can be given now or not.
bool CBaseHighPerformanceTable::runCommand(const QKeyEvent& event) {
  const int key = event.key() | static_cast<int>(event.modifiers() & ~Qt::KeypadModifier);
  const QList<QAction*> actions = m_pContextMenu->actions();
  const auto found = std::find_if(actions.begin(), actions.end(), [key](const QAction* action) {
    return isCommand(*action) && action->shortcut()[0] == key;
  });
  if (found == actions.end()) return false;
  prepareRowCommands();
  QAction& action = **found;
  if (m_rowCommands.contains(&action)) {
    const int row = m_pModel == nullptr ? -1 : m_pModel->positionOf(m_strCommandRow);
    if (!mayAct(row, event)) return true;
  }
  if (action.isVisible() && action.isEnabled()) action.trigger();
  return true;
}

}  // namespace GV
