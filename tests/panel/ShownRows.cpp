#include "ShownRows.h"

#include <QStringList>
#include <set>

#include "BasketColumns.h"

namespace test {

bool SShownRow::operator==(const SShownRow& other) const {
  return text == other.text && (status == other.status || !isPlain() || !other.isPlain());
}

bool SShownRow::isPlain() const {
  static const std::set<std::string> plain = {"执行中", "已完成", "已暂停", "已撤销", ""};
  return plain.contains(status);
}

Shown shownBy(const TC::CHpfBasketStatusTable& table) {
  Shown shown;
  QString root;
  table.forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool hidden, bool) {
    if (depth == 0) root = row.key();
    std::string text = row.key().toStdString() + (hidden ? " hidden" : "");
    for (int column = 0; column < TC::EBC_Count; ++column) {
      if (column == TC::EBC_StartTime || column == TC::EBC_Options || column == TC::EBC_Status) continue;
      QStringList parts = row.text(column).split('/');
      // A hedge that was there before a lost detail stands before its accounts.
      if (column == TC::EBC_Account) parts.sort();
      text += '|' + parts.join('/').toStdString();
    }
    text += '|' + std::to_string(row.sortNumber(TC::EBC_Amount));
    shown[root].push_back({text, row.text(TC::EBC_Status).toStdString()});
  });
  return shown;
}

/// The tasks that another table does not show so.
std::string textOf(const Shown& shown, const Shown& other) {
  std::string text;
  for (const auto& [root, rows] : shown) {
    const auto others = other.find(root);
    if (others != other.end() && others->second == rows) continue;
    for (const SShownRow& row : rows) text += "\n    " + row.text + ' ' + row.status;
  }
  return text;
}

}  // namespace test
