// The keys of the panel, wherever in it the focus is, and the line in which rows are found. GUI thread.
#include <QAction>
#include <QMenu>

#include "CBasketTasksPanel.h"
#include "CHpfBasketStatusTable.h"
#include "FindRows.h"
#include "gv/CFindBar.h"
#include "gv/Controls.h"

namespace TC {

void CBasketTasksPanel::createFindBar() {
  m_pFindBar = new GV::CFindBar(*m_pTable, rowsNamed, QStringLiteral("代码、名称、拼音首字母、任务号"), this);
  addKeys();
}

void CBasketTasksPanel::addKeys() {
  using P = CBasketTasksPanel;
  struct SKey {
    const char* text;
    int key;
    void (*act)(P& panel);
  };
  static const SKey keys[] = {
      {"查找…", int(Qt::CTRL) | Qt::Key_F, [](P& panel) { panel.m_pFindBar->begin(); }},
      {"查找下一个", Qt::Key_F3, [](P& panel) { panel.m_pFindBar->go(1); }},
      {"查找上一个", int(Qt::SHIFT) | Qt::Key_F3, [](P& panel) { panel.m_pFindBar->go(-1); }},
      {"刷新", Qt::Key_F5, [](P& panel) { panel.pressRefresh(); }},
  };
  m_pTable->contextMenu()->addSeparator();
  for (const SKey& key : keys) {
    auto* action = new QAction(QString::fromUtf8(key.text), this);
    action->setShortcut(key.key);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setShortcutVisibleInContextMenu(true);
    action->setAutoRepeat(key.key != Qt::Key_F5);  // one that is held down refreshes once
    connect(action, &QAction::triggered, this, [this, act = key.act] { act(*this); });
    addAction(action);
    m_pTable->contextMenu()->addAction(action);
  }
}

/// As the mouse does it, so that a recording holds a click on the button.
void CBasketTasksPanel::pressRefresh() {
  for (GV::CPushButton* button : findChildren<GV::CPushButton*>()) {
    if (button->id() == REFRESH_ID) button->click();
  }
}

}  // namespace TC
