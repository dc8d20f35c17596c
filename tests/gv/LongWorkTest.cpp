#include "gv/LongWork.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QProgressBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QTimer>
#include <thread>

namespace {

/// The dialog that shows now; null for none.
QProgressDialog* shownDialog(const QWidget& parent) {
  auto* dialog = parent.findChild<QProgressDialog*>();
  return dialog != nullptr && dialog->isVisible() ? dialog : nullptr;
}

TEST(LongWork, AfterHalfASecondADialogShowsHowFarItIsAndCancelsIt) {
  QWidget parent;
  parent.show();
  QElapsedTimer clock;
  clock.start();
  qint64 shownAt = -1;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, [&] {
    QProgressDialog* dialog = shownDialog(parent);
    if (dialog == nullptr) return;
    if (shownAt < 0) shownAt = clock.elapsed();
    if (dialog->findChild<QProgressBar*>()->value() == 250) dialog->findChild<QPushButton*>()->click();
  });
  look.start(5);
  EXPECT_FALSE(GV::runLongWork(&parent, "正在导出数据…", [](GV::CWorkProgress& progress) {
    progress.setDone(50, 200);
    while (!progress.isCancelled()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return false;
  }));
  EXPECT_GE(shownAt, 490);
  EXPECT_EQ(parent.findChild<QProgressDialog*>(), nullptr);
}

TEST(LongWork, OutlivesItsParent) {
  auto parent = std::make_unique<QWidget>();
  parent->show();
  std::atomic<bool> gone = false;
  QTimer::singleShot(600, [&] {
    EXPECT_NE(shownDialog(*parent), nullptr);
    parent.reset();
    gone = true;
  });
  EXPECT_TRUE(GV::runLongWork(parent.get(), "work", [&gone](GV::CWorkProgress& progress) {
    while (!gone) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return !progress.isCancelled();
  }));
}

}  // namespace
