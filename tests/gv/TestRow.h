/// Rows and columns for the tests of the tree table.
#pragma once

#include <boost/make_shared.hpp>

#include "gv/CHpfTreeTable.h"

struct TestRow : GV::CHpfTreeTableData {
  explicit TestRow(const QString& name, double value = 0.0, int order = 0)
      : m_strKey(name), m_dValue(value), m_nOrder(order) {}

  QString key() const override { return m_strKey; }
  QString displayName() const override { return QStringLiteral("name ") + m_strKey; }
  QString scriptName() const override { return m_strKey.section(QLatin1Char('.'), -1); }
  int sortOrder() const override { return parent() == nullptr ? m_nOrder : GV::CHpfTreeTableData::sortOrder(); }
  QString text(int column) const override {
    if (column == 1) return QStringLiteral("t%1").arg(m_strKey.size() % 3);
    return column == 2 ? QString::number(m_dValue, 'f', 2) : QString();
  }
  double number(int column) const override { return column == 2 ? m_dValue : 0.0; }
  bool inStatistics() const override { return m_bCounted; }
  double getChangedValue(int /*column*/) override { return std::exchange(m_dChange, 0.0); }

  QString m_strKey;
  double m_dValue;
  int m_nOrder;
  bool m_bCounted = true;
  double m_dChange = 0.0;
};

using TestRowPtr = boost::shared_ptr<TestRow>;

/// Tree, text, figure, delegate.
inline std::vector<GV::SColumn> testColumns() {
  std::vector<GV::SColumn> columns(4);
  columns[0].title = QStringLiteral(" Tree");
  columns[0].kind = GV::ColumnTree;
  columns[0].width = 120;
  columns[1].title = QStringLiteral(" Text ");
  columns[2].title = QStringLiteral(" Figure ");
  columns[2].kind = GV::ColumnNumber;
  columns[2].alignment = Qt::AlignRight | Qt::AlignVCenter;
  columns[3].title = QStringLiteral(" Buttons ");
  columns[3].kind = GV::ColumnDelegate;
  columns[3].width = 160;
  return columns;
}
