/// The bottom row of a dialog.
#pragma once

#include <QWidget>

class QHBoxLayout;

namespace GV {

class CPushButton;

/// The buttons that end a dialog. None of them takes the keyboard focus, so that no key presses one by accident; the
/// row itself is a stop of the Tab key, where Enter presses the default button, which is framed then. GUI thread.
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

 private:
  /// Null when there is none that shows.
  const CPushButton* defaultButton() const;

  QHBoxLayout* m_pLayout;
};

}  // namespace GV
