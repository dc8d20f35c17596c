/// A table in a window, with roots r0... of three children each.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QHeaderView>
#include <QImage>
#include <QScrollBar>

#include "TestRow.h"
#include "gv/CBaseTableColumnMultiButtonsDelegate.h"

inline QString k(const char* text) { return QString::fromLatin1(text); }

inline int differingPixels(const QImage& a, const QImage& b, const QRect& area) {
  int count = 0;
  for (int y = area.top(); y <= area.bottom(); ++y) {
    for (int x = area.left(); x <= area.right(); ++x) count += a.pixel(x, y) != b.pixel(x, y);
  }
  return count;
}

struct SEvent {
  int eventId;
  int id;
  int value;
  QString key;
};

/// Notes the events that reach it.
class RecordingTable : public GV::CHpfTreeTable {
 public:
  bool handleEvent(int eventId, int id, int value, QString key, void* /*data*/) override {
    m_events.push_back({eventId, id, value, key});
    return true;
  }
  std::vector<SEvent> of(int eventId) const {
    std::vector<SEvent> found;
    for (const SEvent& event : m_events) {
      if (event.eventId == eventId) found.push_back(event);
    }
    return found;
  }
  std::vector<SEvent> m_events;
};

class TableTest : public testing::Test {
 protected:
  static constexpr int kRoots = 60;
  static constexpr int kChildren = 3;

  TableTest() {
    auto* model = new GV::CHpfTreeTableModel(testColumns());
    m_table.setDataModel(model);
    new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::Fatal, model);
    m_table.setColumnDelegate(3, &m_buttons);
    m_table.dataModel()->beginBatch();
    for (int root = 0; root < kRoots; ++root) {
      const QString key = QStringLiteral("r%1").arg(root);
      add(key, QString(), root);
      for (int child = 0; child < kChildren; ++child) add(key + QStringLiteral(".c%1").arg(child), key, child);
    }
    m_table.dataModel()->endBatch();
    m_table.resize(600, 20 + 21 * 20);
    m_table.show();
    QApplication::processEvents();
  }

  void add(const QString& key, const QString& parent, int order) {
    const auto row = boost::make_shared<TestRow>(key, order, order);
    ASSERT_TRUE(m_table.updateData(row, parent));
  }
  QString topKey() const { return m_table.dataModel()->rowAt(m_table.topRow()).key(); }
  TestRow& row(const char* key) { return static_cast<TestRow&>(*m_table.dataByKey(QString::fromLatin1(key))); }

  GV::CBaseTableColumnMultiButtonsDelegate m_buttons;
  RecordingTable m_table;
};
