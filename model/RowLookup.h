/// Which row something falls on. With the task's mutex held.
#pragma once

#include <QMap>
#include <QString>
#include <optional>
#include <string>
#include <vector>

#include "PatchRules.h"

namespace TC {

class CBasketTaskItem;

/// The rows of one account by row key.
using AccountRows = QMap<QString, CBasketTaskItem*>;
/// The rows of one side of a task, by account key.
using SideRows = QMap<QString, AccountRows>;

struct SFoundRow {
  CBasketTaskItem* row = nullptr;  ///< null when there is none
  bool best = false;               ///< no row that comes later takes its place
  QString account;                 ///< key of the account on which it was looked for
};

/// Finds the rows on which the lines, orders and progress of a detail count.
class CRowFinder {
 public:
  /// All must stay as long as the finder.
  CRowFinder(const SideRows& rows, const std::vector<ksservice::CCodeOrderParam>& params, ELineAccount account);

  /// Of a task's own detail the row that the line has made; of a patch's, as for an order, on the line's own account.
  SFoundRow ofLine(const ksservice::CCodeOrderParam& param);
  /// On the account of the line that the order belongs to; where that cannot be told, on the first. mapKey: that of a
  /// progress.
  SFoundRow ofOrder(const std::string& market, const std::string& code, int operation, const std::string& mapKey = {});
  /// Whether the lines are on several accounts.
  bool hasAccounts() const { return m_bAccounts; }
  /// What the answers hang on beside the rows, as one text to compare.
  const std::string& places() const { return m_strPlaces; }

 private:
  SFoundRow find(const QString& account, const std::string& market, const std::string& code, int operation) const;

  const SideRows& m_rows;
  const std::vector<ksservice::CCodeOrderParam>& m_params;
  ELineAccount m_account;
  std::string m_strPlaces;
  bool m_bAccounts = false;
  std::optional<CLineAccounts> m_lines;  ///< made when first asked for: most look-ups are remembered
};

}  // namespace TC
