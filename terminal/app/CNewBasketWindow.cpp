#include "CNewBasketWindow.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>

#include "gv/CUiResource.h"
#include "gv/Scaling.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace app {
namespace {

enum EColumn { ColumnMarket, ColumnCode, ColumnName, ColumnOperation, ColumnQuantity, ColumnCount };

/// The fields of a line that a panel offers. Nothing is read from the constant "0" between quantity and side, but a
/// line without it is none: its fields would be taken for others.
enum EField { FieldKey, FieldName, FieldQuantity, FieldZero, FieldSide, FieldOperation, FieldType, FieldCount };

// Pixels at scale 1.
constexpr QSize WINDOW_SIZE(640, 420);
constexpr QSize BUTTON_SIZE(80, 26);
constexpr int ROW_HEIGHT = 22;

QTableWidgetItem* makeCell(const QString& text, bool editable) {
  auto* cell = new QTableWidgetItem(text);
  cell->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | (editable ? Qt::ItemIsEditable : Qt::NoItemFlags));
  if (editable) cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
  return cell;
}

bool parseLine(const QString& text, SNewLine& line) {
  const QStringList fields = text.split(QLatin1Char('\t'));
  if (fields.size() != FieldCount) return false;
  std::string market;
  std::string code;
  utils::splitMavStockKey(fields[FieldKey].toStdString(), market, code);
  bool numberGood = false;
  bool operationGood = false;
  line.m_strMarket = QString::fromStdString(market);
  line.m_strCode = QString::fromStdString(code);
  line.m_strName = fields[FieldName];
  line.m_nQuantity = fields[FieldQuantity].toInt(&numberGood);
  line.m_nOperation = fields[FieldOperation].toInt(&operationGood);
  return !market.empty() && !code.empty() && numberGood && operationGood;
}

}  // namespace

std::vector<SNewLine> parseNewLines(const QString& text, int& malformed) {
  std::vector<SNewLine> lines;
  malformed = 0;
  for (const QString& each : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
    SNewLine line;
    if (parseLine(each, line)) {
      lines.push_back(line);
    } else {
      ++malformed;
    }
  }
  return lines;
}

CNewBasketWindow::CNewBasketWindow(const std::vector<SNewLine>& lines, const QString& name,
                                   const std::vector<SAccountChoice>& accounts, QWidget* parent)
    : QDialog(parent),
      m_lines(lines),
      m_pTable(new QTableWidget(static_cast<int>(lines.size()), ColumnCount, this)),
      m_pName(new QLineEdit(name, this)),
      m_pAccount(new QComboBox(this)),
      m_pFault(new QLabel(this)) {
  setWindowTitle(QStringLiteral("新建篮子"));
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowFlag(Qt::WindowContextHelpButtonHint, false);
  GV::setScaledWindowSize(*this, WINDOW_SIZE);
  for (const SAccountChoice& account : accounts) m_pAccount->addItem(account.m_strText, account.m_strKey);
  fillTable();
  m_pFault->setTextFormat(Qt::PlainText);
  m_pFault->setProperty("invalid", true);

  auto* form = new QFormLayout;
  form->addRow(QStringLiteral("篮子名称"), m_pName);
  form->addRow(QStringLiteral("账号"), m_pAccount);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(m_pFault, 1);
  auto* accept = new QPushButton(QStringLiteral("启动"), this);
  auto* cancel = new QPushButton(QStringLiteral("取消"), this);
  for (QPushButton* button : {accept, cancel}) {
    GV::setScaledFixedSize(*button, BUTTON_SIZE);
    buttons->addWidget(button);
  }
  accept->setDefault(true);
  connect(accept, &QPushButton::clicked, this, [this] { start(); });
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  GV::setScaledMargins(*layout, {9, 9, 9, 9});
  for (QLayout* each : {static_cast<QLayout*>(form), static_cast<QLayout*>(buttons), static_cast<QLayout*>(layout)}) {
    GV::setScaledSpacing(*each, 6);
  }
  layout->addLayout(form);
  layout->addWidget(m_pTable, 1);
  layout->addLayout(buttons);
}

void CNewBasketWindow::fillTable() {
  m_pTable->setHorizontalHeaderLabels({QStringLiteral("市场"), QStringLiteral("代码"), QStringLiteral("名称"),
                                       QStringLiteral("交易类型"), QStringLiteral("数量")});
  m_pTable->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
  m_pTable->verticalHeader()->hide();
  GV::followScale(*m_pTable,
                  [this] { m_pTable->verticalHeader()->setDefaultSectionSize(GV::CUiResource::scaled(ROW_HEIGHT)); });
  m_pTable->setAlternatingRowColors(true);
  m_pTable->setSelectionBehavior(QAbstractItemView::SelectRows);
  for (int row = 0; row < m_pTable->rowCount(); ++row) {
    const SNewLine& line = m_lines[static_cast<std::size_t>(row)];
    m_pTable->setItem(row, ColumnMarket, makeCell(line.m_strMarket, false));
    m_pTable->setItem(row, ColumnCode, makeCell(line.m_strCode, false));
    m_pTable->setItem(row, ColumnName, makeCell(line.m_strName, false));
    m_pTable->setItem(row, ColumnOperation, makeCell(TC::operationToString(line.m_nOperation), false));
    m_pTable->setItem(row, ColumnQuantity, makeCell(QString::number(line.m_nQuantity), true));
  }
}

/// What keeps the window from being a basket; empty: nothing.
QString CNewBasketWindow::takeBasket(SNewBasket& basket) const {
  basket.m_strName = m_pName->text().trimmed();
  basket.m_strAccount = m_pAccount->currentData().toString();
  basket.m_lines = m_lines;
  if (basket.m_strName.isEmpty()) return QStringLiteral("篮子名称不能为空");
  if (basket.m_lines.empty()) return QStringLiteral("没有证券");
  if (basket.m_strAccount.isEmpty()) return QStringLiteral("没有账号");
  for (int row = 0; row < m_pTable->rowCount(); ++row) {
    SNewLine& line = basket.m_lines[static_cast<std::size_t>(row)];
    bool good = false;
    line.m_nQuantity = m_pTable->item(row, ColumnQuantity)->text().trimmed().toInt(&good);
    if (!good || line.m_nQuantity < 1) return QStringLiteral("%1 的数量须为大于 0 的整数").arg(line.m_strCode);
  }
  return {};
}

void CNewBasketWindow::start() {
  // An editor that is open is committed by the loss of the focus.
  m_pTable->setFocus();
  SNewBasket basket;
  const QString fault = takeBasket(basket);
  m_pFault->setText(fault);
  if (!fault.isEmpty()) return;
  Q_EMIT sigStart(basket);
  accept();
}

}  // namespace app
