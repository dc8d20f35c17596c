#include "gv/LongWork.h"

#include <QEventLoop>
#include <QPointer>
#include <QProgressBar>
#include <QProgressDialog>
#include <QTimer>
#include <thread>

namespace GV {

namespace {

constexpr int DIALOG_AFTER_MSEC = 500;
constexpr int STEP_MSEC = 50;

/// Goes with its parent, so it is held weakly.
QPointer<QProgressDialog> showDialog(QWidget* parent, const QString& label, CWorkProgress& progress) {
  auto* dialog = new QProgressDialog(label, QStringLiteral("取消"), 0, CWorkProgress::SCALE, parent);
  dialog->setWindowModality(Qt::WindowModal);
  // The bar is set itself: the dialog's own setValue would run events inside a timer.
  auto* bar = new QProgressBar(dialog);
  bar->setRange(0, CWorkProgress::SCALE);
  dialog->setBar(bar);
  QObject::connect(dialog, &QProgressDialog::canceled, dialog, [&progress] { progress.cancel(); });
  auto* step = new QTimer(dialog);
  QObject::connect(step, &QTimer::timeout, dialog, [bar, &progress] { bar->setValue(progress.done()); });
  step->start(STEP_MSEC);
  dialog->show();
  return dialog;
}

}  // namespace

bool runLongWork(QWidget* parent, const QString& label, const LongWork& work) {
  CWorkProgress progress;
  bool whole = false;
  bool ended = false;
  QEventLoop loop;
  std::thread thread([&] {
    const bool result = work(progress);
    QMetaObject::invokeMethod(
        &loop,
        [&, result] {
          whole = result;
          ended = true;
          loop.quit();
        },
        Qt::QueuedConnection);
  });

  const QPointer<QWidget> owner = parent;
  QPointer<QProgressDialog> dialog;
  QTimer::singleShot(DIALOG_AFTER_MSEC, &loop, [&] {
    if (owner) dialog = showDialog(owner, label, progress);
  });
  loop.exec();
  // The loop also ends with the program: then nobody waits for the rest of the work.
  if (!ended) progress.cancel();
  thread.join();
  delete dialog.data();
  return ended && whole;
}

}  // namespace GV
