// The floor: what no table can do without. Plain arrays, no widget, nothing kept beside the figures.
#include <algorithm>

#include "BasketColumns.h"
#include "Subject.h"
#include "TableExport.h"
#include "View.h"

namespace bench {
namespace {

class CFloor : public ISubject {
 public:
  explicit CFloor(const CBoard& board) : m_board(board) {}

  QString name() const override { return QStringLiteral("floor"); }
  QAbstractScrollArea* view() override { return nullptr; }

  void build() override {
    m_figures.clear();
    m_figures.shrink_to_fit();
    m_figures.reserve(static_cast<std::size_t>(m_board.rowCount()));
    for (int task = 0; task < m_board.taskCount(); ++task) {
      const auto& figures = (*m_board.rows(task).rows().figures);
      m_figures.insert(m_figures.end(), figures.begin(), figures.end());
    }
    setExpanded(true);
    formatPage(0);
  }

  void refresh(const SChange& change) override {
    auto to = m_figures.begin();
    std::size_t next = 0;
    for (int task = 0; task < m_board.taskCount() && next < change.tasks.size(); ++task) {
      const auto& figures = (*m_board.rows(task).rows().figures);
      if (change.tasks[next] == task) {
        const auto rows = change.rows > 0 ? static_cast<std::ptrdiff_t>(change.rows) : figures.end() - figures.begin();
        std::copy(figures.begin(), figures.begin() + rows, to);
        ++next;
      }
      to += static_cast<std::ptrdiff_t>(figures.size());
    }
    formatPage(0);
  }

  void setFinishedHidden(bool hidden) override {
    collect([hidden](const TC::CHpfBasketStatusData& row) { return !hidden || !isFinished(row); });
    formatPage(0);
  }

  void setExpanded(bool expanded) override {
    collect([expanded](const TC::CHpfBasketStatusData& row) { return expanded || row.isRoot(); });
    formatPage(0);
  }

  void sortByAmount(Qt::SortOrder order) override {
    m_shown.clear();
    for (const auto& root : sorted(roots(), order)) {
      m_shown.push_back({root.task, 0});
      const auto rows = sorted(children(root.task), order);
      for (const SKey& row : rows) m_shown.push_back({row.task, row.row});
    }
    formatPage(0);
  }

  QString exportText() override {
    QString text;
    for (int task = 0; task < m_board.taskCount(); ++task) {
      const TC::CTaskBlock& block = m_board.rows(task);
      for (int row = 0; row < block.size(); ++row) {
        const TC::CHpfBasketStatusData data = block.data(row);
        for (const int column : TC::exportColumns()) {
          text += cellText(data, column);
          text += QLatin1Char('\t');
        }
        text += QLatin1Char('\n');
      }
    }
    return text;
  }

  /// The cells of a page, formatted into one buffer.
  void formatPage(int page) override {
    m_page.clear();
    const std::size_t first = static_cast<std::size_t>(page) * PAGE_ROWS;
    const std::size_t end = std::min(m_shown.size(), first + PAGE_ROWS);
    for (std::size_t i = first; i < end; ++i) {
      const TC::CHpfBasketStatusData data = m_board.rows(m_shown[i].task).data(m_shown[i].row);
      for (int column = 0; column < TC::EBC_Count; ++column) m_page += cellText(data, column);
    }
  }

 private:
  struct SPlace {
    int task;
    int row;
  };
  struct SKey {
    double amount;
    int task;
    int row;
  };

  template <typename Accepts>
  void collect(const Accepts& accepts) {
    m_shown.clear();
    for (int task = 0; task < m_board.taskCount(); ++task) {
      const TC::CTaskBlock& block = m_board.rows(task);
      for (int row = 0; row < block.size(); ++row) {
        if (accepts(block.data(row))) m_shown.push_back({task, row});
      }
    }
  }

  std::vector<SKey> roots() const {
    std::vector<SKey> keys;
    keys.reserve(static_cast<std::size_t>(m_board.taskCount()));
    for (int task = 0; task < m_board.taskCount(); ++task) {
      keys.push_back({(*m_board.rows(task).rows().figures).front().tradedAmount, task, 0});
    }
    return keys;
  }

  std::vector<SKey> children(int task) const {
    std::vector<SKey> keys;
    const auto& figures = (*m_board.rows(task).rows().figures);
    keys.reserve(figures.size());
    for (std::size_t row = 1; row < figures.size(); ++row) {
      keys.push_back({figures[row].tradedAmount, task, static_cast<int>(row)});
    }
    return keys;
  }

  static std::vector<SKey> sorted(std::vector<SKey> keys, Qt::SortOrder order) {
    const bool ascending = order == Qt::AscendingOrder;
    std::sort(keys.begin(), keys.end(), [ascending](const SKey& a, const SKey& b) {
      return ascending ? a.amount < b.amount : b.amount < a.amount;
    });
    return keys;
  }

  const CBoard& m_board;
  std::vector<TC::SRowFigures> m_figures;
  std::vector<SPlace> m_shown;
  QString m_page;
};

}  // namespace

std::unique_ptr<ISubject> makeFloor(const CBoard& board) { return std::make_unique<CFloor>(board); }

}  // namespace bench
