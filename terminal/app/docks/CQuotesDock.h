#pragma once

#include "docks/CDocks.h"
#include "docks/RowsModel.h"

namespace app {

/// A security of the chosen task and what the market shows of it.
struct SQuoteRow {
  std::string m_strMarket;
  std::string m_strCode;
  QString m_strName;
  bool m_bSuspended = false;
  bool m_bKnown = false;  ///< the market has answered
  exchange::SQuote m_quote{};
  std::int64_t m_nTraded = 0;  ///< by the task, on both sides

  /// Parts of 1.
  double change() const;
  double share() const;
};

/// The securities of the task that is chosen in the panel. GUI thread only.
class CQuotesDock : public CDockContent {
 public:
  explicit CQuotesDock(QWidget* parent);

  void attach(const SDockSources& sources) override;
  void choose(const SChosenRow& row) override;
  void refresh() override;
  QString param() const override { return m_pTable->saveConfigStr(); }
  void setParam(const QString& text) override { m_pTable->restoreConfigStr(text); }

 private:
  void clear();
  void list(const STaskCourse& course);
  void ask();

  SDockSources m_sources;
  int m_nTaskId = -1;
  int m_nListed = -1;  ///< the task whose securities stand in the table
  CRowsModel<SQuoteRow>* m_pModel;
  CRowsTable* m_pTable;
  std::shared_ptr<CMarketAnswer> m_pAnswer;  ///< of what was asked and is not answered yet
};

}  // namespace app
