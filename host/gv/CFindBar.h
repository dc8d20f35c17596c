#pragma once

#include <QWidget>
#include <functional>

#include "gv/CTreeFinder.h"

class QHBoxLayout;
class QLabel;
class QLineEdit;

namespace GV {

/// The line in which a user finds rows of a tree table by typing. Hidden until it is begun. GUI thread.
class CFindBar : public QWidget {
  Q_OBJECT

 public:
  /// What a typed text means, which is not empty and has no blanks around it. The match outlives the call.
  using Meaning = std::function<CTreeFinder::Match(const QString& typed)>;

  /// hint: what can be typed. Not before the table has its model.
  CFindBar(CHpfTreeTable& table, Meaning meaning, const QString& hint, QWidget* parent);

  /// Shows the line with what was typed last, all of it selected.
  void begin();
  /// Hides it and gives the focus back to the table.
  void end();
  /// To the next (1) or previous (-1) row found; begins when it is hidden.
  void go(int by);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void addButton(QHBoxLayout& layout, const QString& text, const QString& key, const std::function<void()>& press);
  void look();
  void tell();

  CHpfTreeTable& m_table;
  Meaning m_meaning;
  CTreeFinder* m_pFinder;
  QLineEdit* m_pEdit;
  QLabel* m_pCount;
  QString m_strFrom;  ///< key of the row from which on is looked while a text is typed
};

}  // namespace GV
