/// The bottom row of a dialog.
#pragma once

#include <QPointer>
#include <QWidget>

class QHBoxLayout;

namespace GV {

class CPushButton;

/// The buttons that end a dialog. None of them takes the keyboard focus, so that no key presses one by accident; the
/// row itself is a stop of the Tab key, where one of them is framed: first the default button, another one by Left and
/// Right. Enter presses that one. GUI thread.
class CDialogButtonRow : public QWidget {
  Q_OBJECT

 public:
  explicit CDialogButtonRow(QWidget* parent);

  /// size: pixels at scale 1.
  CPushButton* addButton(int id, const QString& text, const QSize& size = QSize(80, 26));
  void addStretch();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  /// Null when there is none that shows.
  CPushButton* framedButton() const;
  void frame(CPushButton* button);
  void frameBeside(int by);

  QHBoxLayout* m_pLayout;
  QPointer<CPushButton> m_pFramed;  ///< null: the default button
};

}  // namespace GV
