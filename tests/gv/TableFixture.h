/// Rows and columns of a tree table, and such a table in a window.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QHeaderView>
#include <QImage>
#include <QMenu>
#include <QScrollBar>
#include <boost/make_shared.hpp>

#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CHpfTreeTable.h"

struct TestRow : GV::CHpfTreeTableData {
  explicit TestRow(const QString& name, double value = 0.0, int order = 0)
      : m_strKey(name), m_dValue(value), m_nOrder(order) {}

  QString key() const override { return m_strKey; }
  QString displayName() const override { return "name " + m_strKey; }
  QString scriptName() const override { return m_strKey.section('.', -1); }
  int sortOrder() const override { return parent() == nullptr ? m_nOrder : GV::CHpfTreeTableData::sortOrder(); }
  QString text(int column) const override {
    if (column == 1) return QString("t%1").arg(m_strKey.size() % 3);
    return column == 2 ? QString::number(m_dValue, 'f', 2) : QString();
  }
  double number(int column) const override { return column == 2 ? m_dValue : 0.0; }
  bool inStatistics() const override { return m_bCounted; }
  double getChangedValue(int /*column*/) override { return std::exchange(m_dChange, 0.0); }
  using GV::CHpfTreeTableData::bind;

  QString m_strKey;
  double m_dValue;
  int m_nOrder;
  bool m_bCounted = true;
  double m_dChange = 0.0;
};

using TestRowPtr = boost::shared_ptr<TestRow>;

inline std::vector<GV::SColumn> testColumns() {
  return {{.title = " Tree", .kind = GV::ColumnTree, .width = 120},
          {.title = " Text "},
          {.title = " Figure ", .alignment = GV::AlignRight, .kind = GV::ColumnNumber},
          {.title = " Buttons ", .kind = GV::ColumnDelegate, .width = 160}};
}

inline int differingPixels(const QImage& a, const QImage& b, const QRect& area) {
  int count = 0;
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) count += a.pixel(x, y) != b.pixel(x, y);
  }
  return count;
}

/// Notes the events that reach it.
class RecordingTable : public GV::CHpfTreeTable {
 public:
  bool handleEvent(int eventId, int id, int /*value*/, QString key, void* /*data*/) override {
    m_events[eventId].append(QString("%1 %2").arg(id).arg(key));
    return true;
  }
  /// Those of a kind since the last call: "id key".
  QStringList take(int eventId) { return m_events.take(eventId); }

  QMap<int, QStringList> m_events;
};

/// A table in a window, with roots r0... of three children each.
class TableTest : public testing::Test {
 protected:
  static constexpr int kRoots = 60;
  static constexpr int kChildren = 3;

  TableTest() {
    auto* model = new GV::CHpfTreeTableModel(testColumns());
    m_table.setDataModel(model);
    new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::Fatal, model);
    m_table.setColumnDelegate(3, &m_buttons);
    const GV::CModelBatch batch(*model);
    for (int root = 0; root < kRoots; ++root) {
      const QString key = QString("r%1").arg(root);
      add(key, QString(), root);
      for (int child = 0; child < kChildren; ++child) add(key + QString(".c%1").arg(child), key, child);
    }
    m_table.resize(600, 20 + 21 * 20);
    m_table.show();
    QApplication::processEvents();
  }

  void add(const QString& key, const QString& parent, int order) {
    ASSERT_TRUE(m_table.updateData(boost::make_shared<TestRow>(key, order, order), parent));
  }
  QString topKey() const { return m_table.dataModel()->rowAt(m_table.topRow()).key(); }
  TestRow& row(const QString& key) { return static_cast<TestRow&>(*m_table.dataByKey(key)); }

  GV::CBaseTableColumnMultiButtonsDelegate m_buttons;
  RecordingTable m_table;
};
