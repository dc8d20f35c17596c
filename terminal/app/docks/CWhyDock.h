#pragma once

#include <QTreeWidget>
#include <cstdint>

#include "docks/CDocks.h"

class QLabel;

namespace app {

/// Why the chosen row says what it says. A double click, or Enter, on a fact shows its moment. GUI thread only.
class CWhyDock : public CDockContent {
 public:
  explicit CWhyDock(QWidget* parent);

  void attach(const SDockSources& sources) override;
  void choose(const SChosenRow& row) override;
  void refresh() override {}
  void moved() override { explain(); }

 private:
  void explain();
  void show(const std::vector<SWhyFact>& facts);
  void showMoment(const QTreeWidgetItem& item) const;

  SDockSources m_sources;
  SChosenRow m_row;
  int m_nAsked = 0;  ///< an answer to another question is late
  QLabel* m_pHint;
  QTreeWidget* m_pTree;
};

}  // namespace app
