#include "CInputDelay.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTest>
#include <QWindow>
#include <chrono>
#include <future>

#include "CJobGate.h"

namespace {

using namespace std::chrono_literals;

/// Tells, when it is clicked, whether a host thread changes something before it has worked the click off.
class CClickedWindow : public QWindow {
 public:
  explicit CClickedWindow(desk::CJobGate& gate) : m_gate(gate) {}

  int clicks = 0;
  int changesBeside = 0;
  std::vector<std::future<void>> changes;

 protected:
  void mousePressEvent(QMouseEvent*) override {
    ++clicks;
    changes.push_back(std::async(std::launch::async, [this] { const desk::CJobGate::CChange change(m_gate); }));
    changesBeside += changes.back().wait_for(30ms) == std::future_status::ready;
  }

 private:
  desk::CJobGate& m_gate;
};

/// An answer that came between a click and its line opened its dialog behind that line.
TEST(InputDelay, NothingChangesBesideAClickThatGoesOnAtOnceOrLater) {
  desk::CJobGate gate;
  journal::CInputDelay delay(gate);
  gate.setRecording(true, {}, [&delay] {
    delay.release();
    return true;
  });
  CClickedWindow window(gate);
  window.show();
  QTest::mousePress(&window, Qt::LeftButton);
  EXPECT_EQ(window.clicks, 1);
  QCoreApplication::processEvents();
  window.changes.back().get();

  gate.jobPosted(utils::EPanelJob::Refresh);
  QTest::mouseRelease(&window, Qt::LeftButton);
  QTest::mousePress(&window, Qt::LeftButton);
  QCoreApplication::processEvents();
  EXPECT_EQ(window.clicks, 1) << "what the job saw does not show";
  gate.jobEnded(utils::EPanelJob::Refresh);
  for (int i = 0; i < 3; ++i) QCoreApplication::processEvents();
  ASSERT_EQ(window.clicks, 2);
  window.changes.back().get();
  EXPECT_EQ(window.changesBeside, 0);
}

}  // namespace
