/// A table that paints only the rows on screen.
#pragma once

#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

#include "gv/CBaseTableColumnDelegate.h"
#include "gv/CEventWidget.h"
#include "gv/CTextRuns.h"
#include "gv/CUiResource.h"
#include "gv/IBaseHpfTableModel.h"
#include "gv/IBaseTable.h"

class QAction;
class QHeaderView;
class QMenu;
class QStandardItemModel;

namespace GV {

class CStatisticsLine;
class CTableHeader;

/// Rows of one height, scrolled by whole rows; a header that moves, sizes, hides and sorts columns; selection and
/// current row by key, so that they survive whatever happens to the rows. GUI thread only.
class CBaseHighPerformanceTable : public CEventWidgetT<QAbstractScrollArea>,
                                  public IBaseTable,
                                  public CUiResourceChangeHandler {
  Q_OBJECT

 public:
  /// Flags of setOptions.
  enum EOption {
    OptionVerticalGrid = 0x1,
    OptionColumnMenu = 0x8,  ///< columns can be moved, and hidden by the header's menu
    OptionFlash = 0x200000,  ///< a number cell flashes when its figure moved
  };

  explicit CBaseHighPerformanceTable(QWidget* parent = nullptr);
  ~CBaseHighPerformanceTable() override;

  IBaseHpfTableModel* baseModel() const { return m_pModel; }
  QHeaderView* header() const;
  /// Pixels at the left of the viewport that belong to the frozen column (see CTableHeader); 0 while there is none.
  int frozenWidth() const;

  int rowCount() const override;
  QString columnHeader(int column) const override;
  int columnWidth(int column) const override;
  /// Heights are set in pixels at scale 1, and follow it.
  void setHeaderHeight(int height) override;
  void setItemHeight(int height) override;
  /// Pixels of the screen.
  int itemHeight() const { return qRound(m_nItemHeight * m_dScale); }
  QString saveConfigStr() const override;
  bool restoreConfigStr(const QString& text) override;
  void setUiLock(bool locked) override;
  bool isUiLocked() const { return m_bLocked; }
  bool exportData() override { return false; }
  void copyData() override {}

  /// What the user sees in a cell; empty out of range.
  QString itemText(int row, int column) const;
  QString itemText(const IBaseHpfTableData& row, int column) const;
  void setItemTextAlignment(int column, int alignment);
  void setItemTextFontKey(int column, const QString& key);
  /// Not owned; null takes it away.
  void setColumnDelegate(int column, CBaseTableColumnDelegate* delegate);
  CBaseTableColumnDelegate* columnDelegate(int column) const;
  void setColumnStatEnable(int column, bool on);
  void setColumnVisible(int column, bool visible);
  bool isColumnVisible(int column) const;
  /// Width that shows the title and the rows on screen, resp. the rows on screen alone.
  virtual int getColumnAdjustedWidth(int column) const;
  virtual int getAdjustVisibleRowsColumnWidth(int column) const;
  int options() const { return m_nOptions; }
  void setOptions(int options);

  /// Sorts by a column; -1 for the rows' own order.
  void sortByColumn(int column, Qt::SortOrder order);

  QString currentKey() const { return m_strCurrentKey; }
  /// Selects the row alone and scrolls to it; an unknown or hidden key changes nothing.
  void setCurrentKey(const QString& key);
  /// The cell of the current row that the keys mean, and the button in it; -1 for none. Whether the row shows that
  /// button must be asked.
  int currentColumn() const {
    return m_nCurrentColumn >= 0 && isColumnVisible(m_nCurrentColumn) ? m_nCurrentColumn : -1;
  }
  int currentButton() const { return currentColumn() < 0 ? -1 : m_nCurrentButton; }
  bool isSelected(const QString& key) const { return m_pModel != nullptr && m_pModel->isSelected(key); }
  /// Of the selected rows that show, in the order of the table.
  QStringList selectedKeys() const;
  void setSelectedKeys(const QStringList& keys);
  void selectAll();
  void clearSelection();
  /// The row at the top of the viewport.
  int topRow() const;
  void scrollToRow(int row);
  /// Rows that fit the viewport as a whole, at least 1.
  int pageRows() const;
  /// Row and column at a point of the viewport; -1 for none.
  int rowAtY(int y) const;
  int columnAtX(int x) const;
  /// Of a cell, in coordinates of the viewport, whether it is scrolled into it or not.
  QRect cellRect(int row, int column) const;

  /// Shown on a right click when the owner put actions into it.
  QMenu* contextMenu() const { return m_pContextMenu; }
  /// Puts the commands (export, copy) into the context menu and reacts to their keys; for a table that has exports.
  void offerCommands();
  /// Whether an action of the context menu is one of the commands, those of the row included.
  static bool isCommand(const QAction& action);
  /// The menu of the header, filled for a click on a column (-1 beside all).
  QMenu* headerMenu(int column);

  /// The table's own events (see EEvent) and whatever reaches it from widgets inside; derived tables act on them.
  bool handleEvent(int eventId, int id, int value, QString key, void* data) override;
  void resourceChanged() override;
  void scaleChanged() override;

 Q_SIGNALS:
  void sigCurrentChanged(QString key);
  void sigSelectionChanged();

 protected:
  void setBaseModel(IBaseHpfTableModel* model);
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  bool viewportEvent(QEvent* event) override;

  /// Paints the branch of a tree column and gives the room that is left for its text.
  virtual QRect paintBranch(QPainter& painter, int row, const QRect& cell);
  /// A press in a tree column; true when it was on the branch and is used up.
  virtual bool pressBranch(int row, const QRect& cell, const QPoint& point);
  /// Whether a row stands out as a heading of those below it.
  virtual bool isHeading(int row) const;
  virtual void fillHeaderMenu(QMenu& menu, int column);
  /// Does by key what the mouse does in a cell of the current row, which is on screen; column: -1 for none. False for
  /// a cell in which there is nothing to do.
  virtual bool pressCell(int row, int column);
  /// A command of the current row, in the context menu and by its key, which acts at once only on a row that is on
  /// screen: any other it brings there first. Before offerCommands, so that it stands above the others.
  using RowCommand = std::function<void(const QString& rowKey)>;
  QAction* addRowCommand(const QString& text, int key, const RowCommand& run);
  /// Shows and enables the row's commands as the row has them; called before one can be given.
  virtual void updateRowCommands(const QString& /*rowKey*/) {}
  /// What the context menu calls the row that its commands are about.
  virtual QString rowTitle(int row) const { return itemText(row, 0); }
  /// An event of the table itself, as if the mouse caused it.
  void deliverOwn(int eventId, int id, int value, const QString& key);
  /// Puts a mark before the title of a column that is filtered, which says why as its tip; an empty one takes it away.
  void markColumn(int column, const QString& why);
  void moveCurrent(int row, Qt::KeyboardModifiers modifiers);
  /// Paints the table soon, at most once however often it is asked.
  void scheduleUpdate();

 private:
  friend class CStatisticsLine;
  struct SColors;
  static constexpr int CELL_PADDING = 4;  ///< left and right of a text, at scale 1
  struct SFlash {
    qint64 start;
    bool up;
  };
  struct SVisibleColumn {
    int index = -1;
    QRect rect;  ///< of the whole viewport's height
    CGlyphFont* font = nullptr;
    CBaseTableColumnDelegate* delegate = nullptr;
  };

  struct SPaintedRow {
    int row = -1;
    QString key;
    const QColor& ground;
  };

  void createHeader();
  void connectModel();
  void slotRowsInserted(int first, int last);
  void slotRowsRemoved(int first, int last);
  void slotDataChanged(const QModelIndex& first, const QModelIndex& last);
  void slotAboutToReset();
  void slotReset();
  void slotLayoutChanged();
  void slotColumnsChanged();
  void restoreTop(int top);
  void updateGeometries();
  void updateScrollBars();
  void applyColumnSettings();
  void rescale(double scale);
  int headerHeight() const { return qRound(m_nHeaderHeight * m_dScale); }
  bool hasStatistics() const;

  CGlyphFont& glyphFont(const QString& key) const;
  std::vector<SVisibleColumn> visibleColumns(const QRect& area) const;
  void paintColumns(QPainter& painter, const QRect& area);
  void paintRow(QPainter& painter, CTextRuns& texts, int row, const std::vector<SVisibleColumn>& columns);
  void paintCell(QPainter& painter, CTextRuns& texts, const SPaintedRow& row, const SVisibleColumn& column);
  const QColor& rowGround(int row, const QRect& rect) const;
  /// Whether the cell flashes.
  bool paintFlash(QPainter& painter, IBaseHpfTableData& row, const QString& key, int column, const QRect& rect);
  void paintFocus(QPainter& painter) const;
  void slotFlashStep();
  SCell cellAt(int row, int column, const QPoint& mouse) const;
  SCell cellAt(int row, int column, const QPoint& mouse, const QString& key) const;
  void selectRange(int from, int to);
  void selectionChanged();
  void makeCurrent(const QString& key);
  void tellFocus();
  bool runCommand(const QKeyEvent& event);
  bool mayAct(int row, const QKeyEvent& event);
  bool cellKey(const QKeyEvent& event);
  void moveCell(int by);
  void makeCellCurrent(int column, int button);
  void scrollToColumn(int row, int column);
  void paintCurrentCell(QPainter& painter, int row) const;
  void prepareRowCommands();
  void popUpContextMenu(const QPoint& point);
  void showTip(int row, int column, const QPoint& point, const QPoint& global);

  IBaseHpfTableModel* m_pModel = nullptr;
  CTableHeader* m_pHeader = nullptr;
  QStandardItemModel* m_pHeaderModel = nullptr;
  QMenu* m_pContextMenu = nullptr;
  QMenu* m_pHeaderMenu = nullptr;
  QAction* m_pRowTitle = nullptr;  ///< above the row's commands; null while there are none
  QVector<QAction*> m_rowCommands;
  QString m_strCommandRow;  ///< the row that they are about
  CStatisticsLine* m_pStatistics = nullptr;
  std::vector<QPointer<CBaseTableColumnDelegate>> m_delegates;
  std::unique_ptr<SColors> m_colors;
  mutable QHash<QString, std::shared_ptr<CGlyphFont>> m_fonts;
  double m_dScale = CUiResource::scale();  ///< that the columns' widths are made for
  int m_nHeaderHeight = 20;                ///< at scale 1, as the next
  int m_nItemHeight = 21;
  int m_nOptions = OptionVerticalGrid | OptionColumnMenu | OptionFlash;
  bool m_bLocked = false;
  bool m_bUpdateScheduled = false;

  QString m_strCurrentKey;
  int m_nCurrentColumn = -1;
  int m_nCurrentButton = -1;
  QString m_strRangeKey;   ///< where a selection by Shift starts
  QStringList m_pageKeys;  ///< of the rows on screen, while the model resets
  QPoint m_mouse = QPoint(-1, -1);
  QString m_strPressedKey;
  int m_nPressedColumn = -1;
  bool m_bPressTaken = false;
  int m_nSortColumn = -1;
  QHash<int, int> m_hiddenWidths;  ///< of hidden columns, from when they were hidden

  QHash<QPair<QString, int>, SFlash> m_flashes;  ///< by row key and column
  QElapsedTimer m_flashClock;
  QTimer m_flashTimer;
};

}  // namespace GV
