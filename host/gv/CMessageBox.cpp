#include "gv/CMessageBox.h"

#include <QMessageBox>

namespace GV {

namespace {
CMessageBox::Presenter& presenterRef() {
  static CMessageBox::Presenter presenter;
  return presenter;
}
}  // namespace

void CMessageBox::information(QWidget* parent, const QString& title, const QString& text) {
  const Presenter presenter = presenterRef();
  if (presenter) {
    presenter(parent, title, text);
    return;
  }
  QMessageBox box(QMessageBox::Information, title, text, QMessageBox::NoButton, parent);
  box.setTextFormat(Qt::PlainText);
  box.addButton(QStringLiteral("确定"), QMessageBox::AcceptRole);
  box.exec();
}

void CMessageBox::setPresenter(Presenter presenter) { presenterRef() = std::move(presenter); }

}  // namespace GV
