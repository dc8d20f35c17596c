/// Tables over rows that are kept elsewhere: no text is formed before a row is painted.
#pragma once

#include <QColor>
#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "docks/RowsTable.h"

namespace app {

template <typename Row>
struct SRowColumn {
  const char* m_pTitle = "";
  int m_nAlignment = 0;
  int m_nWidth = 0;  ///< pixels at scale 1
  QString (*m_text)(const Row&) = nullptr;
  double (*m_figure)(const Row&) = nullptr;         ///< what it sorts by; null: its text
  const QColor* (*m_colour)(const Row&) = nullptr;  ///< null, and a null one: that of the table
};

/// Rows are known by their number, which is their key: they come at the end and stay until all go, or are replaced by
/// what there is then, where each keeps the number of its name. Which of them show, and in what order, is worked out
/// when they have changed. GUI thread only.
template <typename Row>
class CRowsModel : public CRowsModelBase {
 public:
  using Columns = std::vector<SRowColumn<Row>>;
  using Filter = std::function<bool(const Row&)>;

  /// columns must outlive the model. newestFirst: the rows' own order is from the last to the first.
  CRowsModel(const Columns& columns, bool newestFirst, QObject* parent)
      : CRowsModelBase(tableColumns(columns), parent), m_columns(columns), m_bNewestFirst(newestFirst) {}

  /// Between these, rows may be changed, added and cleared; the end tells what has become of it.
  void begin() { m_nFirstChanged = m_nLastChanged = -1; }
  void add(Row row) {
    m_order.push_back(static_cast<int>(m_rows.size()));
    m_passes.push_back(!m_filter || m_filter(row));
    m_rows.push_back(std::move(row));
    m_bStale = true;
  }
  void set(std::size_t number, Row row) {
    m_passes[number] = !m_filter || m_filter(row);
    const int position = m_positions[number];
    m_bStale = m_bStale || m_passes[number] != (position >= 0) || isMoved(m_rows[number], row);
    m_rows[number] = std::move(row);
    if (position < 0) return;
    m_nFirstChanged = m_nFirstChanged < 0 ? position : std::min(m_nFirstChanged, position);
    m_nLastChanged = std::max(m_nLastChanged, position);
  }
  void clear() {
    m_rows.clear();
    m_order.clear();
    m_passes.clear();
    m_positions.clear();
    m_numbers.clear();
    m_bStale = true;
    clearSelection();
  }
  void end() {
    if (m_bStale) return arrange();
    if (m_nFirstChanged >= 0) Q_EMIT dataChanged(index(m_nFirstChanged, 0), index(m_nLastChanged, columnCount() - 1));
  }

  /// All there is now, in the rows' own order, each with a name that no other has. The others are gone, and selected no
  /// more.
  void replace(std::vector<std::pair<std::string, Row>> rows) {
    begin();
    std::vector<int> order;
    order.reserve(rows.size());
    for (auto& [name, row] : rows) {
      const auto [known, isNew] = m_numbers.try_emplace(name, static_cast<int>(m_rows.size()));
      order.push_back(known->second);
      if (isNew) {
        add(std::move(row));
      } else {
        set(static_cast<std::size_t>(known->second), std::move(row));
      }
    }
    if (order != m_order) {
      std::vector<bool> gone(m_rows.size(), true);
      for (const int number : order) gone[static_cast<std::size_t>(number)] = false;
      for (std::size_t number = 0; number < gone.size(); ++number) {
        if (gone[number]) select(QString::number(number), false);
      }
      m_order = std::move(order);
      m_bStale = true;
    }
    end();
  }

  /// An empty one takes all.
  void setFilter(Filter filter) {
    m_filter = std::move(filter);
    for (std::size_t number = 0; number < m_rows.size(); ++number) {
      m_passes[number] = !m_filter || m_filter(m_rows[number]);
    }
    arrange();
  }

  std::size_t size() const { return m_rows.size(); }
  const Row& row(std::size_t number) const { return m_rows[number]; }
  const Row& shownRow(int position) const { return m_rows[static_cast<std::size_t>(m_shown[place(position)])]; }

  int rowCount(const QModelIndex& parent = QModelIndex()) const override {
    return parent.isValid() ? 0 : static_cast<int>(m_shown.size());
  }
  void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override {
    if (column >= 0 && !hasColumn(column)) return;
    m_nSortColumn = column;
    m_bDown = order == Qt::DescendingOrder;
    arrange();
  }
  GV::IBaseHpfTableData& rowAt(int position) const override {
    CView& view = m_views[m_nNextView++ % m_views.size()];
    view.m_pModel = this;
    view.m_nRow = m_shown[place(position)];
    return view;
  }
  int positionOf(const QString& key) const override {
    bool known = false;
    const auto number = static_cast<std::size_t>(key.toUInt(&known));
    return known && number < m_positions.size() ? m_positions[number] : -1;
  }
  double statistic(int) const override { return 0; }
  CellText freeze() const override {
    auto rows = std::make_shared<std::vector<Row>>();
    rows->reserve(m_shown.size());
    for (const int number : m_shown) rows->push_back(m_rows[static_cast<std::size_t>(number)]);
    return [rows, &columns = m_columns](int row, int column) {
      return columns[static_cast<std::size_t>(column)].m_text((*rows)[static_cast<std::size_t>(row)]);
    };
  }

 private:
  struct CView : GV::IBaseHpfTableData {
    const CRowsModel* m_pModel = nullptr;
    int m_nRow = 0;

    const Row& row() const { return m_pModel->m_rows[static_cast<std::size_t>(m_nRow)]; }
    const SRowColumn<Row>& column(int column) const { return m_pModel->m_columns[static_cast<std::size_t>(column)]; }
    QString key() const override { return QString::number(m_nRow); }
    QString text(int number) const override { return column(number).m_text(row()); }
    double number(int number) const override { return column(number).m_figure ? column(number).m_figure(row()) : 0; }
    const QColor* textColor(int number) const override {
      return column(number).m_colour ? column(number).m_colour(row()) : nullptr;
    }
  };

  static std::vector<GV::SColumn> tableColumns(const Columns& columns) {
    std::vector<GV::SColumn> list;
    for (const SRowColumn<Row>& each : columns) {
      GV::SColumn column;
      column.title = QString::fromUtf8(each.m_pTitle);
      column.alignment = each.m_nAlignment;
      column.width = each.m_nWidth;
      column.numericSort = each.m_figure != nullptr;
      list.push_back(column);
    }
    return list;
  }

  static std::size_t place(int position) { return static_cast<std::size_t>(position); }

  void arrange() {
    beginResetModel();
    m_bStale = false;
    m_shown.clear();
    for (const int number : m_order) {
      if (m_passes[static_cast<std::size_t>(number)]) m_shown.push_back(number);
    }
    if (m_bNewestFirst) std::reverse(m_shown.begin(), m_shown.end());
    if (m_nSortColumn >= 0) sortShown(m_columns[static_cast<std::size_t>(m_nSortColumn)]);
    m_positions.assign(m_rows.size(), -1);
    for (std::size_t i = 0; i < m_shown.size(); ++i) {
      m_positions[static_cast<std::size_t>(m_shown[i])] = static_cast<int>(i);
    }
    endResetModel();
  }

  /// Whether a row that becomes another one may stand elsewhere.
  bool isMoved(const Row& before, const Row& now) const {
    if (m_nSortColumn < 0) return false;
    const SRowColumn<Row>& column = m_columns[static_cast<std::size_t>(m_nSortColumn)];
    return column.m_figure ? column.m_figure(before) != column.m_figure(now)
                           : column.m_text(before) != column.m_text(now);
  }

  void sortShown(const SRowColumn<Row>& column) {
    if (column.m_figure) {
      sortBy([&](int number) { return column.m_figure(m_rows[static_cast<std::size_t>(number)]); });
    } else {
      sortBy([&](int number) { return column.m_text(m_rows[static_cast<std::size_t>(number)]); });
    }
  }

  /// Each key is formed once.
  template <typename KeyOf>
  void sortBy(const KeyOf& keyOf) {
    std::vector<std::pair<decltype(keyOf(0)), int>> keyed;
    keyed.reserve(m_shown.size());
    for (const int number : m_shown) keyed.emplace_back(keyOf(number), number);
    std::stable_sort(keyed.begin(), keyed.end(), [down = m_bDown](const auto& a, const auto& b) {
      return down ? b.first < a.first : a.first < b.first;
    });
    std::transform(keyed.begin(), keyed.end(), m_shown.begin(), [](const auto& each) { return each.second; });
  }

  const Columns& m_columns;
  bool m_bNewestFirst;
  std::vector<Row> m_rows;
  std::vector<int> m_order;                        ///< numbers of the rows that there are, in their own order
  std::vector<bool> m_passes;                      ///< the filter takes the row, by number
  std::unordered_map<std::string, int> m_numbers;  ///< of rows that have a name
  std::vector<int> m_shown;                        ///< numbers of rows, by position
  std::vector<int> m_positions;                    ///< by number; -1: does not show
  Filter m_filter;
  int m_nSortColumn = -1;
  bool m_bDown = false;
  bool m_bStale = false;
  int m_nFirstChanged = -1;
  int m_nLastChanged = -1;
  mutable std::array<CView, 256> m_views;
  mutable std::size_t m_nNextView = 0;
};

}  // namespace app
