#include "CAccountsBox.h"

#include <QAbstractItemView>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <cmath>

#include "LineTexts.h"
#include "gv/CUiResource.h"
#include "gv/PlainText.h"
#include "gv/SColumn.h"
#include "gv/Scaling.h"

namespace preview {
namespace {

enum EColumn { AccountUsed, AccountName, AccountRatio, AccountCash, AccountAmount, AccountSent, AccountColumnCount };

struct SAccountColumn {
  const char* m_pTitle;
  int m_nWidth;
  int m_nAlignment;
};

constexpr std::array<SAccountColumn, AccountColumnCount> COLUMNS{{{"", 26, GV::AlignCentre},
                                                                  {"账户", 56, GV::AlignLeft},
                                                                  {"比例", 46, GV::AlignRight},
                                                                  {"可用资金", 84, GV::AlignRight},
                                                                  {"分得金额", 84, GV::AlignRight},
                                                                  {"今日报撤", 80, GV::AlignRight}}};

const SAccountColumn& columnAt(int column) { return COLUMNS[static_cast<std::size_t>(column)]; }

constexpr int ROW_HEIGHT = 22;
constexpr double TEN_THOUSAND = 10000;
constexpr double MOST_TOTAL = 10'000'000;  // 万
constexpr double MOST_MULTIPLE = 10'000;
constexpr double MOST_RATIO = 1'000'000;

struct SByText {
  draft::EDealBy m_by;
  const char* m_pText;
};

constexpr std::array<SByText, 3> BY{
    {{draft::EDealBy::Ratio, "按比例"}, {draft::EDealBy::Cash, "按可用资金"}, {draft::EDealBy::Position, "按持仓"}}};

}  // namespace

CAccountModel::CAccountModel(CDraft& draft, QObject* parent) : QAbstractTableModel(parent), m_draft(draft) {
  connect(&draft, &CDraft::sigJudged, this, [this] {
    if (rowCount() > 0) Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, AccountColumnCount - 1));
  });
}

int CAccountModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_draft.accounts().size());
}

int CAccountModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(AccountColumnCount);
}

double CAccountModel::ratioOf(int row) const {
  const auto& ratios = m_draft.state().m_deal.m_ratios;
  const auto found = ratios.find(m_draft.accounts()[static_cast<std::size_t>(row)].m_strKey);
  return found == ratios.end() ? 0 : found->second;
}

QVariant CAccountModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const draft::SAccountFacts& account = m_draft.accounts()[static_cast<std::size_t>(index.row())];
  if (role == Qt::TextAlignmentRole) return columnAt(index.column()).m_nAlignment;
  if (role == Qt::CheckStateRole && index.column() == AccountUsed) {
    return ratioOf(index.row()) > 0 ? Qt::Checked : Qt::Unchecked;
  }
  if (role == Qt::ToolTipRole) return GV::plainTip(data(index, Qt::DisplayRole).toString());
  if (role != Qt::DisplayRole && role != Qt::EditRole) return {};
  switch (index.column()) {
    case AccountName:
      return QString::fromStdString(account.m_strText);
    case AccountRatio:
      return m_draft.state().m_deal.m_by == draft::EDealBy::Ratio ? numberText(ratioOf(index.row())) : QString();
    case AccountCash:
      return amountText(account.m_dCash);
    case AccountAmount:
      return amountText(m_draft.amountOfAccount(index.row()));
    case AccountSent:
      return QStringLiteral("%1/%2").arg(m_draft.sentToday(account.m_strKey)).arg(m_draft.rates().m_nDayLimit);
    default:
      return {};
  }
}

QVariant CAccountModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::DisplayRole) return QString::fromUtf8(columnAt(section).m_pTitle);
  return role == Qt::TextAlignmentRole ? QVariant(columnAt(section).m_nAlignment) : QVariant();
}

Qt::ItemFlags CAccountModel::flags(const QModelIndex& index) const {
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  if (index.column() == AccountUsed) flags |= Qt::ItemIsUserCheckable;
  const bool byRatio = m_draft.state().m_deal.m_by == draft::EDealBy::Ratio;
  if (index.column() == AccountRatio && byRatio) flags |= Qt::ItemIsEditable;
  return flags;
}

bool CAccountModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid()) return false;
  double ratio = 0;
  if (role == Qt::CheckStateRole && index.column() == AccountUsed) {
    ratio = value.toInt() == Qt::Checked ? 1 : 0;
  } else if (role == Qt::EditRole && index.column() == AccountRatio) {
    ratio = numberOf(value.toString());
    if (ratio < 0 || ratio > MOST_RATIO) return false;
  } else {
    return false;
  }
  SDealChoice deal = m_draft.state().m_deal;
  const std::string& key = m_draft.accounts()[static_cast<std::size_t>(index.row())].m_strKey;
  if (ratio > 0) {
    deal.m_ratios[key] = ratio;
  } else {
    deal.m_ratios.erase(key);
  }
  m_draft.setDeal(deal);
  return true;
}

CAccountsBox::CAccountsBox(CDraft& draft, CDraftStore& store, QWidget* parent)
    : QWidget(parent),
      m_draft(draft),
      m_store(store),
      m_pTotal(new QDoubleSpinBox(this)),
      m_pMultiple(new QDoubleSpinBox(this)),
      m_pBy(new QComboBox(this)),
      m_pSaved(new QComboBox(this)),
      m_pTable(new QTableView(this)),
      m_pMissed(new QLabel(this)) {
  m_pTable->setModel(new CAccountModel(draft, this));
  m_pTable->setAccessibleName(QStringLiteral("账户分配"));
  m_pTable->setAlternatingRowColors(true);
  m_pTable->setSelectionBehavior(QAbstractItemView::SelectRows);
  m_pTable->verticalHeader()->hide();
  m_pTable->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  m_pTable->horizontalHeader()->setStretchLastSection(true);
  m_pTable->horizontalHeader()->setHighlightSections(false);
  m_pTable->setEditTriggers(QAbstractItemView::AllEditTriggers);
  GV::followScale(*m_pTable, [this] {
    m_pTable->verticalHeader()->setDefaultSectionSize(GV::CUiResource::scaled(ROW_HEIGHT));
    for (int i = 0; i < AccountColumnCount; ++i) {
      m_pTable->setColumnWidth(i, GV::CUiResource::scaled(columnAt(i).m_nWidth));
    }
  });
  m_pMissed->setWordWrap(true);
  auto* layout = new QVBoxLayout(this);
  GV::setScaledMargins(*layout, {8, 8, 8, 8});
  GV::setScaledSpacing(*layout, 6);
  layout->addWidget(createSizing());
  layout->addWidget(createDeal());
  layout->addWidget(m_pTable, 1);
  layout->addWidget(m_pMissed);
  connect(&draft, &CDraft::sigJudged, this, [this] { showState(); });
  showState();
}

QWidget* CAccountsBox::createSizing() {
  auto* box = new QWidget(this);
  auto* form = new QFormLayout(box);
  form->setContentsMargins(0, 0, 0, 0);
  m_pTotal->setRange(0, MOST_TOTAL);
  m_pTotal->setSuffix(QStringLiteral(" 万元"));
  m_pTotal->setGroupSeparatorShown(true);
  m_pTotal->setSpecialValueText(QStringLiteral("未设"));
  m_pMultiple->setRange(0.0001, MOST_MULTIPLE);
  m_pMultiple->setDecimals(4);
  form->addRow(QStringLiteral("权重总金额"), m_pTotal);
  form->addRow(QStringLiteral("篮子倍数"), m_pMultiple);
  for (QDoubleSpinBox* each : {m_pTotal, m_pMultiple}) {
    each->setButtonSymbols(QAbstractSpinBox::NoButtons);
    connect(each, qOverload<double>(&QDoubleSpinBox::valueChanged), this, [this] {
      m_draft.setSizing({m_pTotal->value() * TEN_THOUSAND, m_pMultiple->value()});
    });
  }
  return box;
}

QWidget* CAccountsBox::createDeal() {
  auto* box = new QWidget(this);
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(0, 0, 0, 0);
  GV::setScaledSpacing(*row, 6);
  for (const SByText& each : BY) m_pBy->addItem(QString::fromUtf8(each.m_pText), static_cast<int>(each.m_by));
  m_pBy->setAccessibleName(QStringLiteral("分配方式"));
  m_pSaved->setAccessibleName(QStringLiteral("已存的分配"));
  m_pSaved->view()->setAccessibleName(QStringLiteral("已存的分配"));
  m_pSaved->setPlaceholderText(QStringLiteral("已存的分配"));
  m_pSaved->addItems(m_store.dealNames());
  m_pSaved->setCurrentIndex(-1);
  auto* save = new QPushButton(QStringLiteral("另存"), box);
  save->setAutoDefault(false);
  GV::setScaledFixedWidth(*save, 48);
  row->addWidget(m_pBy);
  row->addWidget(m_pSaved, 1);
  row->addWidget(save);
  connect(m_pBy, qOverload<int>(&QComboBox::activated), this, [this](int index) {
    SDealChoice deal = m_draft.state().m_deal;
    deal.m_by = BY[static_cast<std::size_t>(index)].m_by;
    m_draft.setDeal(deal);
  });
  connect(m_pSaved, qOverload<int>(&QComboBox::activated), this,
          [this] { m_draft.setDeal(m_store.deal(m_pSaved->currentText())); });
  connect(save, &QPushButton::clicked, this, [this] { saveDeal(); });
  return box;
}

void CAccountsBox::saveDeal() {
  bool good = false;
  const QString name = QInputDialog::getText(this, QStringLiteral("另存分配"), QStringLiteral("名称"),
                                             QLineEdit::Normal, m_pSaved->currentText(), &good)
                           .trimmed();
  if (!good || name.isEmpty()) return;
  m_store.saveDeal(name, m_draft.state().m_deal);
  m_pSaved->clear();
  m_pSaved->addItems(m_store.dealNames());
  m_pSaved->setCurrentText(name);
}

/// A box that is typed into says what the draft says, and so stays as it is typed.
void CAccountsBox::showState() {
  const SDraftState& state = m_draft.state();
  const auto show = [](QDoubleSpinBox& box, double value) {
    const QSignalBlocker quiet(&box);
    if (std::abs(box.value() - value) > 1e-9) box.setValue(value);
  };
  show(*m_pTotal, state.m_sizing.m_dTotal / TEN_THOUSAND);
  show(*m_pMultiple, state.m_sizing.m_dMultiple);
  const auto by =
      std::find_if(BY.begin(), BY.end(), [&](const SByText& each) { return each.m_by == state.m_deal.m_by; });
  m_pBy->setCurrentIndex(static_cast<int>(by - BY.begin()));
  m_pTotal->setEnabled(m_draft.hasWeights());
  const bool weighted = m_draft.hasWeights() && state.m_sizing.m_dTotal > 0;
  const double missed = m_draft.deal().m_dMissed;
  m_pMissed->setVisible(weighted);
  if (weighted) {
    m_pMissed->setText(QStringLiteral("取整后比总金额%1 %2 元")
                           .arg(missed >= 0 ? QStringLiteral("少") : QStringLiteral("多"))
                           .arg(std::abs(missed), 0, 'f', 2));
  }
}

}  // namespace preview
