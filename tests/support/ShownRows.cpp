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

namespace {

SShownRow shownRow(const TC::CHpfBasketStatusTable& table, const GV::IBaseHpfTableData& row, bool hedges) {
  std::string text = row.key().toStdString();
  for (int column = 0; column < TC::EBC_Count; ++column) {
    if (column == TC::EBC_StartTime || column == TC::EBC_Options || column == TC::EBC_Status) continue;
    QStringList parts = table.itemText(row, column).split('/');
    if (hedges && (column == TC::EBC_Account || column == TC::EBC_TradeType)) parts.sort();
    text += '|' + parts.join('/').toStdString();
  }
  return {text, table.itemText(row, TC::EBC_Status).toStdString()};
}

}  // namespace

Shown shownBy(const TC::CHpfBasketStatusTable& table, bool hedges) {
  Shown shown;
  table.forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool hidden, bool) {
    if (depth == 0) shown.emplace_back(row.key(), std::vector<SShownRow>());
    SShownRow each = shownRow(table, row, hedges);
    each.text +=
        '|' + std::to_string(depth) + (hidden ? "|hidden|" : "||") + std::to_string(row.sortNumber(TC::EBC_Amount));
    shown.back().second.push_back(each);
  });
  return shown;
}

std::vector<SShownRow> onScreen(const TC::CHpfBasketStatusTable& table, bool hedges) {
  std::vector<SShownRow> rows;
  rows.reserve(static_cast<std::size_t>(table.rowCount()) + 1);
  for (int row = 0; row < table.rowCount(); ++row) {
    rows.push_back(shownRow(table, table.dataModel()->rowAt(row), hedges));
  }
  rows.push_back({QString::number(table.dataModel()->statistic(TC::EBC_Amount), 'g', 17).toStdString(), {}});
  return rows;
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
