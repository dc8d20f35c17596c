// The table's configuration string: "1|column:width:hidden,...|sortColumn:order", columns in their order on screen,
// widths at scale 1: a view that was kept on one screen is the same on another.
#include <QStringList>
#include <set>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/CTableHeader.h"

namespace GV {

namespace {

struct SColumnConfig {
  int column;
  int width;
  bool hidden;
};

bool readNumbers(const QString& text, int count, std::vector<int>& numbers) {
  numbers.clear();
  for (const QString& part : text.split(QLatin1Char(':'))) {
    bool valid = false;
    numbers.push_back(part.toInt(&valid));
    if (!valid) return false;
  }
  return static_cast<int>(numbers.size()) == count;
}

bool readColumns(const QString& text, int columns, std::vector<SColumnConfig>& configs) {
  std::set<int> seen;
  std::vector<int> numbers;
  for (const QString& entry : text.split(QLatin1Char(','))) {
    if (!readNumbers(entry, 3, numbers)) return false;
    const bool known = numbers[0] >= 0 && numbers[0] < columns && seen.insert(numbers[0]).second;
    if (!known || numbers[1] < 0 || numbers[1] > 10000 || (numbers[2] != 0 && numbers[2] != 1)) return false;
    configs.push_back({numbers[0], numbers[1], numbers[2] == 1});
  }
  return true;
}

}  // namespace

QString CBaseHighPerformanceTable::saveConfigStr() const {
  QStringList columns;
  for (int visual = 0; visual < m_pHeader->count(); ++visual) {
    const int column = m_pHeader->logicalIndex(visual);
    const bool hidden = m_pHeader->isSectionHidden(column);
    const int width = hidden ? m_hiddenWidths.value(column) : m_pHeader->sectionSize(column);
    columns.append(QStringLiteral("%1:%2:%3").arg(column).arg(qRound(width / m_dScale)).arg(hidden ? 1 : 0));
  }
  const bool descending = m_pHeader->property("sortDescending").toBool();
  return QStringLiteral("1|%1|%2:%3").arg(columns.join(QLatin1Char(','))).arg(m_nSortColumn).arg(descending ? 1 : 0);
}

bool CBaseHighPerformanceTable::restoreConfigStr(const QString& text) {
  const QStringList parts = text.split(QLatin1Char('|'));
  std::vector<SColumnConfig> configs;
  std::vector<int> sort;
  if (parts.size() != 3 || parts[0] != QLatin1String("1") || !readColumns(parts[1], m_pHeader->count(), configs) ||
      !readNumbers(parts[2], 2, sort) || sort[0] < -1 || sort[0] >= m_pHeader->count()) {
    return false;
  }
  int visual = 0;
  for (const SColumnConfig& config : configs) {
    m_pHeader->moveSection(m_pHeader->visualIndex(config.column), visual++);
    setColumnVisible(config.column, true);
    m_pHeader->resizeSection(config.column, CUiResource::scaled(config.width));
    setColumnVisible(config.column, !config.hidden);
  }
  sortByColumn(sort[0], sort[1] == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
  return true;
}

}  // namespace GV
