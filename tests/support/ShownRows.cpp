#include "ShownRows.h"

#include <QStringList>
#include <algorithm>
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

Shown shownBy(const TC::CHpfBasketStatusTable& table, bool hedges) {
  Shown shown;
  table.forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool hidden, bool) {
    if (depth == 0) shown.emplace_back(row.key(), std::vector<SShownRow>());
    std::string text = row.key().toStdString() + (hidden ? " hidden" : "");
    for (int column = 0; column < TC::EBC_Count; ++column) {
      if (column == TC::EBC_StartTime || column == TC::EBC_Options || column == TC::EBC_Status) continue;
      QStringList parts = row.text(column).split('/');
      if (hedges && (column == TC::EBC_Account || column == TC::EBC_TradeType)) parts.sort();
      text += '|' + parts.join('/').toStdString();
    }
    text += '|' + std::to_string(row.sortNumber(TC::EBC_Amount));
    shown.back().second.push_back({text, row.text(TC::EBC_Status).toStdString()});
  });
  return shown;
}

std::string textOf(const Shown& shown, const Shown& other) {
  std::string text;
  for (const auto& task : shown) {
    if (std::find(other.begin(), other.end(), task) != other.end()) continue;
    for (const SShownRow& row : task.second) text += "\n    " + row.text + ' ' + row.status;
  }
  return text;
}

}  // namespace test
