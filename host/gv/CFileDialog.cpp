#include "gv/CFileDialog.h"

#include <QFileDialog>
#include <utility>

namespace GV {

namespace {
CFileDialog::Presenter& presenterRef() {
  static CFileDialog::Presenter presenter;
  return presenter;
}
}  // namespace

QString CFileDialog::getSaveFileName(QWidget* parent, const QString& caption, const QString& directory,
                                     const QString& filter) {
  const Presenter presenter = presenterRef();
  if (presenter) return presenter(parent, caption);
  return QFileDialog::getSaveFileName(parent, caption, directory, filter);
}

CFileDialog::Presenter CFileDialog::setPresenter(Presenter presenter) {
  return std::exchange(presenterRef(), std::move(presenter));
}

}  // namespace GV
