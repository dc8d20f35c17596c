#pragma once

#include <QScrollArea>

#include "docks/CDocks.h"
#include "docks/CourseFigures.h"

namespace app {

/// How the chosen task goes: figures and charts. GUI thread only.
class COverviewDock : public CDockContent {
 public:
  explicit COverviewDock(QWidget* parent);

  void attach(const SDockSources& sources) override;
  void choose(const SChosenRow& row) override;
  void refresh() override;

 private:
  class CCanvas;

  void showNothing();
  void ask(const STaskCourse& course);

  SDockSources m_sources;
  int m_nTaskId = -1;
  std::vector<exchange::SQuote> m_quotes;    ///< as the market answered last
  std::shared_ptr<CMarketAnswer> m_pAnswer;  ///< of what was asked and is not answered yet
  CCanvas* m_pCanvas;
};

}  // namespace app
