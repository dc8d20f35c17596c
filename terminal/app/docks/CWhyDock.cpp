#include "docks/CWhyDock.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QStyle>
#include <QStyledItemDelegate>
#include <QTextLayout>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "docks/CLogDock.h"
#include "gv/CUiResource.h"
#include "gv/PlainText.h"
#include "gv/Scaling.h"

namespace app {
namespace {

// Pixels at scale 1.
constexpr int TIME_WIDTH = 74;
constexpr int MARGIN = 4;
constexpr int SPACE = 4;  ///< above and below a sentence, together

enum EColumn : int { TextColumn, TimeColumn };
constexpr int MomentRole = Qt::UserRole;

/// Makes a row as high as its sentence needs: a tree that wraps words cuts what does not fit one line.
class CSentenceDelegate : public QStyledItemDelegate {
 public:
  explicit CSentenceDelegate(QTreeWidget& tree) : QStyledItemDelegate(&tree), m_tree(tree) {}

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    if (index.column() != TextColumn) return size;
    // As the style takes it off before it draws.
    const int margin = m_tree.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &m_tree) + 1;
    int width = m_tree.columnWidth(TextColumn) - 2 * margin;
    for (QModelIndex each = index; each.isValid(); each = each.parent()) width -= m_tree.indentation();
    QTextLayout sentence(index.data().toString(), option.font);
    QTextOption wrapped;
    wrapped.setWrapMode(QTextOption::WordWrap);
    sentence.setTextOption(wrapped);
    sentence.beginLayout();
    double height = 0;
    for (QTextLine line = sentence.createLine(); line.isValid(); line = sentence.createLine()) {
      line.setLineWidth(std::max(width, 1));
      height += line.height();
    }
    sentence.endLayout();
    return {size.width(),
            std::max(size.height(), static_cast<int>(std::ceil(height)) + GV::CUiResource::scaled(SPACE))};
  }

 private:
  QTreeWidget& m_tree;
};

}  // namespace

CWhyDock::CWhyDock(QWidget* parent) : CDockContent(parent), m_pHint(new QLabel(this)), m_pTree(new QTreeWidget(this)) {
  auto* column = new QVBoxLayout(this);
  GV::setScaledMargins(*column, QMargins());
  auto* row = new QHBoxLayout;
  GV::setScaledMargins(*row, QMargins(MARGIN, MARGIN, MARGIN, 0));
  m_pHint->setText(QStringLiteral("在表格里选一行"));
  m_pHint->setTextFormat(Qt::PlainText);
  m_pHint->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  row->addWidget(m_pHint, 1);
  auto* again = new QPushButton(QStringLiteral("更新"), this);
  again->setToolTip(QStringLiteral("按现在的情况重新说明"));
  connect(again, &QPushButton::clicked, this, [this] { explain(); });
  row->addWidget(again);
  column->addLayout(row);
  m_pTree->setObjectName(QStringLiteral("whyFacts"));
  m_pTree->setAccessibleName(QStringLiteral("说明"));
  m_pTree->setColumnCount(2);
  m_pTree->setHeaderLabels({QStringLiteral("说明"), QStringLiteral("时间")});
  m_pTree->header()->setStretchLastSection(false);
  m_pTree->header()->setSectionResizeMode(TextColumn, QHeaderView::Stretch);
  m_pTree->setWordWrap(true);
  m_pTree->setTextElideMode(Qt::ElideNone);
  m_pTree->setUniformRowHeights(false);
  m_pTree->setItemDelegate(new CSentenceDelegate(*m_pTree));
  connect(m_pTree->header(), &QHeaderView::sectionResized, m_pTree, [this] { m_pTree->doItemsLayout(); });
  m_pTree->header()->setSectionResizeMode(TimeColumn, QHeaderView::Fixed);
  GV::followScale(*m_pTree, [this] { m_pTree->setColumnWidth(TimeColumn, GV::CUiResource::scaled(TIME_WIDTH)); });
  connect(m_pTree, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) { showMoment(*item); });
  column->addWidget(m_pTree, 1);
}

void CWhyDock::attach(const SDockSources& sources) {
  m_sources = sources;
  ++m_nAsked;
  m_pTree->clear();
}

void CWhyDock::choose(const SChosenRow& row) {
  m_row = row;
  explain();
}

void CWhyDock::explain() {
  const int asked = ++m_nAsked;
  if (m_row.m_nTaskId < 0 || !m_sources.m_explain) return;
  m_sources.m_explain(m_row.m_nTaskId, m_row.m_strNode,
                      [self = QPointer<CWhyDock>(this), asked](const std::vector<SWhyFact>& facts) {
                        if (self && self->m_nAsked == asked) self->show(facts);
                      });
}

void CWhyDock::show(const std::vector<SWhyFact>& facts) {
  const int place = m_pTree->verticalScrollBar()->value();
  m_pTree->clear();
  QString title = facts.empty() ? QStringLiteral("没有这一行") : facts.front().m_strText;
  if (!facts.empty() && facts.front().m_nMsec >= 0) {
    title = QStringLiteral("%1 %2").arg(timeOfDayText(facts.front().m_nMsec), title);
  }
  m_pHint->setText(title);
  m_pHint->setToolTip(GV::plainTip(title));
  std::vector<QTreeWidgetItem*> above;
  for (std::size_t i = 1; i < facts.size(); ++i) {
    const SWhyFact& fact = facts[i];
    const auto level = std::min(static_cast<std::size_t>(fact.m_nLevel), above.size());
    above.resize(level);
    auto* item = level == 0 ? new QTreeWidgetItem(m_pTree) : new QTreeWidgetItem(above.back());
    above.push_back(item);
    item->setText(TextColumn, fact.m_strText);
    const QString tip = fact.m_nEntry > 0 ? QStringLiteral("%1（日志第 %2 条）").arg(fact.m_strText).arg(fact.m_nEntry)
                                          : fact.m_strText;
    item->setToolTip(TextColumn, GV::plainTip(tip));
    if (fact.m_nMsec < 0) continue;
    item->setText(TimeColumn, timeOfDayText(fact.m_nMsec));
    item->setToolTip(TimeColumn, QStringLiteral("双击：看那一刻的表格"));
    item->setData(TimeColumn, MomentRole, static_cast<qint64>(fact.m_nMsec));
    item->setForeground(TimeColumn, *GV::CUiResource::getColor(QStringLiteral("clr_text_link")));
  }
  // Orders fold: there may be hundreds of them.
  for (int i = 0; i < m_pTree->topLevelItemCount(); ++i) m_pTree->topLevelItem(i)->setExpanded(true);
  // What is explained anew stays where it was read.
  m_pTree->verticalScrollBar()->setValue(place);
}

void CWhyDock::showMoment(const QTreeWidgetItem& item) const {
  const QVariant moment = item.data(TimeColumn, MomentRole);
  if (moment.isValid() && m_sources.m_showMoment) m_sources.m_showMoment(moment.toLongLong());
}

}  // namespace app
