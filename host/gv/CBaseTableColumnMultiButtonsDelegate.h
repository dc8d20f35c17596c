/// A column of buttons: each row has a set of its own.
#pragma once

#include <QHash>
#include <vector>

#include "gv/CBaseTableColumnDelegate.h"

namespace GV {

/// One button of a set. style: 1 positive, 2 neutral, 3 negative.
struct STableButton {
  int id;
  QString text;
  int style;
  QString hint = QString();  ///< the tip's line for it

  bool operator==(const STableButton& other) const = default;
};

/// A button shows when its row's set and itself are visible. Operations on a key or id that is not there do nothing.
class CBaseTableColumnMultiButtonsDelegate : public CBaseTableColumnDelegate {
  Q_OBJECT

 public:
  using CBaseTableColumnDelegate::CBaseTableColumnDelegate;

  /// Gives a row a new set (at most 32): every button enabled and hidden, the set as a whole visible.
  void setItemButtons(const QString& key, const std::vector<STableButton>& buttons);
  void clearItems();

  void setItemVisible(const QString& key, bool visible);
  void setItemButtonVisible(const QString& key, int id, bool visible);
  void setItemButtonEnabled(const QString& key, int id, bool enabled);
  bool getIsItemVisible(const QString& key) const;
  bool getIsItemButtonVisible(const QString& key, int id) const;
  bool getIsItemButtonEnabled(const QString& key, int id) const;
  std::vector<STableButton> itemButtons(const QString& key) const;

  /// Those that show, from left to right.
  std::vector<STableButton> shownButtons(const QString& key) const;

  /// Where a button shows when its cell is there; empty when it does not show.
  QRect buttonRect(const QString& key, int id, const QRect& cell) const;
  /// Presses a button as the mouse does; false when it does not show or is disabled.
  bool clickButton(const QString& key, int id);

  void paint(QPainter& painter, const SCell& cell) const override;
  QString hint(const SCell& cell) const override;
  bool mousePress(const SCell& cell) override;
  bool mouseRelease(const SCell& cell) override;

 Q_SIGNALS:
  void sigButtonClicked(QString key, int id);

 private:
  using ButtonSet = std::vector<STableButton>;

  /// Bits are in the order of the set's buttons.
  struct SItem {
    int set = 0;
    quint32 enabled = 0;
    quint32 visible = 0;
    bool shown = true;
  };
  struct SPlaced {
    int index = -1;
    QRect rect;
  };

  int internSet(const ButtonSet& buttons);
  int indexOf(const SItem& item, int id) const;
  void setBit(const QString& key, int id, quint32 SItem::*bits, bool on);
  bool bit(const QString& key, int id, quint32 SItem::*bits) const;
  const ButtonSet& buttonsOf(const SItem& item) const { return m_sets[static_cast<std::size_t>(item.set)]; }
  std::vector<SPlaced> layout(const SItem& item, const QRect& cell) const;
  int buttonAt(const SCell& cell) const;

  std::vector<ButtonSet> m_sets;  ///< the few different sets, shared by the rows
  QHash<QString, SItem> m_items;
  QString m_strPressedKey;
  int m_nPressedIndex = -1;
};

}  // namespace GV
