// The status table towards its user: construction, events, keys, tips, the parameter string.
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QToolTip>
#include <algorithm>

#include "BasketColumns.h"
#include "CBasketTask.h"
#include "CHpfBasketDelegates.h"
#include "CHpfBasketStatusModel.h"
#include "CHpfBasketStatusTable.h"
#include "tc/CStockUnitConfig.h"
#include "tc/CTaskOrdersWidget.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "tc/TaskEvents.h"

namespace TC {
namespace {

// Pixels at scale 1, as all that follow.
constexpr int HEADER_HEIGHT = 20;
constexpr int ROW_HEIGHT = 21;

/// Height by which the tip of the progress column counts rows; not that of the rows: intended.
constexpr int TIP_ROW_HEIGHT = 20;

/// What a click on a cell opens, by key.
struct SCellCommand {
  int column;
  const char* text;
  int key;
};
constexpr int CTRL = Qt::CTRL;
constexpr SCellCommand CELL_COMMANDS[] = {{EBC_Orders, "委托详情", CTRL | Qt::Key_O},
                                          {EBC_TradeParam, "交易参数", CTRL | Qt::Key_I}};

/// Separates the parts of the parameter string; no part holds it.
constexpr char PARAM_SEPARATOR = '/';

/// The tree column's adjusted width, whatever its rows hold: intended. It starts wider.
constexpr int ADJUSTED_TREE_WIDTH = 120;
int treeColumnWidth() { return GV::CUiResource::scaled(ADJUSTED_TREE_WIDTH); }

}  // namespace

void CHpfBasketStatusTable::createUi() {
  setDataModel(new CHpfBasketStatusModel([this](const QString& key) { return blockNumberOf(key); }, this));
  setHeaderHeight(HEADER_HEIGHT);
  setItemHeight(ROW_HEIGHT);
  setOptions((options() & ~OptionVerticalGrid) | OptionColumnMenu | OptionFlash);
  createDelegates();
  createOrdersWidget();
  createPriceMenu();
  createRowCommands();
  offerCommands();
  connect(this, &CHpfBasketStatusTable::sigCurrentChanged, this, &CHpfBasketStatusTable::tellChosen);
  connect(&getStockUnitConfig(), SIGNAL(sigStockUnitChange()), SLOT(slotUpdateStockUnit()));
}

void CHpfBasketStatusTable::tellChosen(const QString& rowKey) {
  const GV::STreeRow row = dataModel()->find(rowKey);
  if (!row.isValid()) return;
  const auto& block = static_cast<const CTaskBlock&>(dataModel()->tree().source(row.block));
  Q_EMIT sigRowChosen(block.facts().taskId, row.row == 0 ? QString() : block.rows().nodeKey(row.row));
}

void CHpfBasketStatusTable::tellExplain(const QString& rowKey) {
  const GV::STreeRow row = dataModel()->find(rowKey);
  if (!row.isValid()) return;
  const auto& block = static_cast<const CTaskBlock&>(dataModel()->tree().source(row.block));
  Q_EMIT sigExplainRow(block.facts().taskId, row.row == 0 ? QString() : block.rows().nodeKey(row.row));
}

QString CHpfBasketStatusTable::nodeOf(const QString& taskKey, const QString& name) const {
  const GV::STreeRow named = dataModel()->find(rowKeyOf(name));
  const CTaskBlock* block = blockOf(taskKey);
  if (!block || !named.isValid() || named.block != block->number()) return {};
  return block->rows().nodeKey(named.row);
}

CHpfBasketStatusTable::EShown CHpfBasketStatusTable::showRow(const QString& taskKey, const QString& name) {
  const GV::CHpfTreeTableModel& model = *dataModel();
  const GV::STreeRow named = model.find(rowKeyOf(name));
  const CTaskBlock* block = blockOf(taskKey);
  if (!block || !named.isValid() || named.block != block->number()) return EShown::Unknown;
  GV::STreeRow row = named;
  while (row.isValid() && !model.tree().isUnhidden(row)) row = model.tree().parent(row);
  if (!row.isValid()) return EShown::Filtered;
  {
    const GV::CModelBatch batch(*dataModel());
    const GV::CTreeBlocks& tree = model.tree();
    for (GV::STreeRow above = tree.parent(row); above.isValid(); above = tree.parent(above)) {
      dataModel()->setExpanded(above, true);
    }
  }
  setCurrentKey(block->key(row.row));
  return row == named ? EShown::Shown : EShown::Filtered;
}

void CHpfBasketStatusTable::createPriceMenu() {
  m_pPriceMenu = new QMenu(this);
  m_pPriceMenu->addAction(QStringLiteral("最新价"))->setData(ksservice::EPT_Latest);
  m_pPriceMenu->addAction(QStringLiteral("对手价"))->setData(ksservice::EPT_Counterpart);
  if (!getUserConfig().hasUpStopPrice()) return;
  m_pPriceMenu->addAction(QStringLiteral("涨跌停价"))->setData(ksservice::EPT_LimitUp);
}

void CHpfBasketStatusTable::createRowCommands() {
  for (const CHpfBasketOptionDelegate::SCommand& command : CHpfBasketOptionDelegate::commands()) {
    m_buttonCommands.append(addRowCommand(command.text, command.key, [this, id = command.id](const QString& rowKey) {
      m_pOptionDelegate->clickButton(rowKey, id);
    }));
  }
  addRowCommand(QStringLiteral("说明"), Qt::Key_F1, [this](const QString& rowKey) { tellExplain(rowKey); });
  for (const SCellCommand& command : CELL_COMMANDS) {
    addRowCommand(QString::fromUtf8(command.text), command.key, [this, column = command.column](const QString& rowKey) {
      deliverOwn(GV::EventCellClicked, column, Qt::LeftButton, rowKey);
    });
  }
}

void CHpfBasketStatusTable::updateRowCommands(const QString& rowKey) {
  const auto& commands = CHpfBasketOptionDelegate::commands();
  for (int i = 0; i < m_buttonCommands.size(); ++i) {
    const int id = commands[static_cast<std::size_t>(i)].id;
    m_buttonCommands[i]->setVisible(m_pOptionDelegate->getIsItemButtonVisible(rowKey, id));
    m_buttonCommands[i]->setEnabled(m_pOptionDelegate->getIsItemButtonEnabled(rowKey, id));
  }
}

QString CHpfBasketStatusTable::rowTitle(int row) const {
  return QStringLiteral("%1 %2").arg(itemText(row, EBC_Tree), itemText(row, EBC_Name)).trimmed();
}

bool CHpfBasketStatusTable::pressCell(int row, int column) {
  if (column == EBC_Progress) {
    deliverOwn(GV::EventColumnDoubleClicked, column, 0, QString::number(column));
    return true;
  }
  const auto opens = [column](const SCellCommand& command) { return command.column == column; };
  if (std::none_of(std::begin(CELL_COMMANDS), std::end(CELL_COMMANDS), opens)) {
    return GV::CHpfTreeTable::pressCell(row, column);
  }
  deliverOwn(GV::EventCellClicked, column, Qt::LeftButton, currentKey());
  return true;
}

void CHpfBasketStatusTable::createDelegates() {
  setColumnDelegate(EBC_Progress, new CHpfBasketProgressDelegate(this));
  m_pOrderDelegate = new CHpfBasketOrderDelegate(this);
  setColumnDelegate(EBC_Orders, m_pOrderDelegate);
  setColumnDelegate(EBC_TradeParam, new CHpfBasketTypeDelegate(this));
  for (const SCellCommand& command : CELL_COMMANDS) {
    auto* delegate = static_cast<GV::CBaseTableColumnSimpleTextDelegate*>(columnDelegate(command.column));
    delegate->setHint(commandHint(QString::fromUtf8(command.text), command.key));
  }
  setColumnDelegate(EBC_InvestRemark, new CHpfBasketTypeDelegate(this));
  m_pOptionDelegate = new CHpfBasketOptionDelegate([this](const QString& key) { return resolve(key); }, this);
  setColumnDelegate(EBC_Options, m_pOptionDelegate);
  connect(m_pOptionDelegate, SIGNAL(sigTaskStatus(TC::CBasketTask*, QString, int)),
          SLOT(slotTaskStatus(TC::CBasketTask*, QString, int)));
  connect(m_pOptionDelegate, &CHpfBasketOptionDelegate::sigAnnounced, this, [this](const CBasketTask* task) {
    if (CTaskBlock* block = blockOf(*task)) touchStatus(*block);
  });
  // What a started operation wrote into the status cell goes with it; the row shows its own status again.
  connect(m_pOptionDelegate, &CHpfBasketOptionDelegate::sigOperationEnded, this, [this](const CBasketTask* task) {
    if (CTaskBlock* block = blockOf(*task)) block->resetRootStatusText();
  });
  connect(m_pOrderDelegate, &CHpfBasketOrderDelegate::sigOrderCounts, this, &CHpfBasketStatusTable::onOrderCounts);
}

int CHpfBasketStatusTable::getColumnAdjustedWidth(int column) const {
  return column == EBC_Tree ? treeColumnWidth() : GV::CHpfTreeTable::getColumnAdjustedWidth(column);
}

int CHpfBasketStatusTable::getAdjustVisibleRowsColumnWidth(int column) const {
  return column == EBC_Tree ? treeColumnWidth() : GV::CHpfTreeTable::getAdjustVisibleRowsColumnWidth(column);
}

bool CHpfBasketStatusTable::handleEvent(int eventId, int id, int value, QString key, void* payload) {
  switch (eventId) {
    case GV::EventColumnDoubleClicked:
      if (key.toInt() == EBC_Progress) {
        setProcessDisplay(m_eProcessDisplay == EPD_Amount ? EPD_Quantity : EPD_Amount);
      }
      return true;
    case GV::EventRowButtonClicked:
      onOptionClicked(key, id);
      return true;
    case GV::EventCellClicked:
      if (value == Qt::LeftButton) onCellClicked(key, id);
      return true;
    case GV::EventColumnMouse:
      if (id == EBC_Progress) showProgressTip(value);
      return true;
    default:
      return GV::CHpfTreeTable::handleEvent(eventId, id, value, key, payload);
  }
}

void CHpfBasketStatusTable::showProgressTip(int y) {
  if (y / GV::CUiResource::scaled(TIP_ROW_HEIGHT) >= rowCount()) return;
  const QRect cell = cellRect(rowAtY(y), EBC_Progress);
  QToolTip::showText(QCursor::pos(), QStringLiteral("双击切换数量/金额"), viewport(), cell);
}

/// The clicked button is disabled at once, so that an operation is not sent twice; the row's next status brings it
/// back.
void CHpfBasketStatusTable::onOptionClicked(const QString& rowKey, int buttonId) {
  m_pOptionDelegate->disableClicked(rowKey, buttonId);
  boost::shared_ptr<CBasketTask> task;
  QString nodeKey;
  if (!getBasketTaskItemByKey(rowKey, task, nodeKey)) return;
  QString key = task->getKey();
  GV::CEventDeliverer::deliverEvent(this, EventTaskButton, CHpfBasketOptionDelegate::actionOf(buttonId), 0, nodeKey,
                                    &key);
}

void CHpfBasketStatusTable::setProcessDisplay(EProcessDisplay mode) {
  m_eProcessDisplay = mode;
  for (const std::unique_ptr<CTaskBlock>& block : m_blocks) {
    if (block) block->setMode(mode);
  }
  allRowsChanged();
}

QString CHpfBasketStatusTable::param() const {
  return QStringList({m_pOrdersWidget->param(), saveConfigStr(), QString::number(m_eProcessDisplay)})
      .join(QLatin1Char(PARAM_SEPARATOR));
}

void CHpfBasketStatusTable::setParam(const QString& text) {
  const QStringList parts = text.split(QLatin1Char(PARAM_SEPARATOR));
  m_pOrdersWidget->setParam(parts[0]);
  if (parts.size() < 2) return;
  restoreConfigStr(parts[1]);
  // Read from the second part although param() writes the mode as the third: intended, kept for stored strings.
  // It is any number, kept as it is.
  setProcessDisplay(static_cast<EProcessDisplay>(parts[1].toInt()));
}

void CHpfBasketStatusTable::keyPressEvent(QKeyEvent* event) {
  // Shift+W is the host's; every other key stays with the table.
  if (event->modifiers() == Qt::ShiftModifier && event->key() == Qt::Key_W) {
    event->ignore();
    return;
  }
  GV::CHpfTreeTable::keyPressEvent(event);
  event->accept();
}

void CHpfBasketStatusTable::mouseMoveEvent(QMouseEvent* event) {
  GV::CHpfTreeTable::mouseMoveEvent(event);
  // Column 0 is not counted: intended.
  int left = 0;
  for (int column = 1; column < EBC_Progress; ++column) left += columnWidth(column);
  const int x = event->pos().x();
  if (x >= left && x <= left + columnWidth(EBC_Progress)) {
    QToolTip::showText(event->globalPos(), QStringLiteral("双击切换金额/数量"), this);
  }
}

}  // namespace TC
