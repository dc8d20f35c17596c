// The commands that leave the table with its rows: export and copy.
#include <QAction>
#include <QKeyEvent>
#include <QMenu>

#include "gv/CBaseHighPerformanceTable.h"

namespace GV {

namespace {

struct SCommand {
  const char* text;
  int key;  ///< with its modifier
  void (*run)(CBaseHighPerformanceTable& table);
};

/// In the order of the menu. An action's data is its place here.
const SCommand COMMANDS[] = {
    {"导出数据", int(Qt::CTRL) | Qt::Key_E, [](CBaseHighPerformanceTable& table) { table.exportData(); }},
    {"复制", int(Qt::CTRL) | Qt::Key_C, [](CBaseHighPerformanceTable& table) { table.copyData(); }},
};

}  // namespace

void CBaseHighPerformanceTable::offerCommands() {
  for (int i = 0; i < static_cast<int>(std::size(COMMANDS)); ++i) {
    const SCommand& command = COMMANDS[i];
    QAction* action = m_pContextMenu->addAction(QString::fromUtf8(command.text), this, [this, &command] {
      if (!m_bLocked) command.run(*this);
    });
    action->setData(i);
    // Shown only: the key comes to the table, which has the focus.
    action->setShortcut(command.key);
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setShortcutVisibleInContextMenu(true);
  }
}

bool CBaseHighPerformanceTable::isCommand(const QAction& action) { return action.data().isValid(); }

/// True when the key belongs to a command that is offered.
bool CBaseHighPerformanceTable::runCommand(const QKeyEvent& event) {
  const int key = event.key() | static_cast<int>(event.modifiers());
  for (QAction* action : m_pContextMenu->actions()) {
    if (!isCommand(*action) || action->shortcut()[0] != key) continue;
    action->trigger();
    return true;
  }
  return false;
}

}  // namespace GV
