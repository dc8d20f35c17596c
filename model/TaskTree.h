#pragma once

#include <QString>
#include <memory>
#include <vector>

#include "CBasketTaskItem.h"
#include "InstrumentTexts.h"
#include "RootNames.h"
#include "RowLookup.h"
#include "TaskIdentity.h"

namespace TC {

/// The nodes of a task that stay: the root and the rows by account and key, each made once. How the rows hang under the
/// root is the shape's (CTaskShape); their figures are others', but for the targets.
class CTaskTree {
 public:
  explicit CTaskTree(const STaskIdentity& id);

  CBasketTaskItem& root() const { return *m_pRoot; }
  /// Rows of securities, and of the hedge, by account key, then row key.
  const SideRows& stocks() const { return m_stocks; }
  const SideRows& futures() const { return m_futures; }
  /// Made empty for an unknown account.
  AccountRows& stockRows(const QString& accountKey) { return m_stocks[accountKey]; }
  std::size_t rowCount() const { return m_rows.size(); }
  /// Whether everything was traded, what the hedge is to trade included.
  bool isFilled() const { return !m_pRoot->isEmpty() && m_pRoot->isFilled(); }

  /// Gives each line of a detail that was not known its row: raises the row's target, or makes it. The rows that were
  /// made.
  std::vector<CBasketTaskItem*> place(const ksservice::CTaskDetail& detail);
  /// Whether the account of a known detail has rows; one that has none is named all the same.
  bool follow(const ksservice::CTaskDetail& detail);
  /// The hedge's row. beforeOwn: the task has no details yet.
  CBasketTaskItem& placeHedge(const ksservice::CTaskDetail& detail, bool beforeOwn);

 private:
  CBasketTaskItem* placeLine(const ksservice::CTaskDetail& detail, const ksservice::CCodeOrderParam& param,
                             const STaskAccount& account, AccountRows& rows);
  CBasketTaskItem* addRow(const QString& name, const QString& stockKey, const SInstrumentTexts& texts,
                          const ksservice::CCodeOrderParam& param, const STaskAccount& account);
  void nameAccount(const CRootNames::Place& place, const STaskAccount& account);

  const STaskIdentity& m_id;
  std::unique_ptr<CBasketTaskItem> m_pRoot;
  CRootNames m_names;
  std::vector<std::unique_ptr<CBasketTaskItem>> m_rows;
  SideRows m_stocks;
  SideRows m_futures;
};

}  // namespace TC
