// What a host says is shown and logged as it stands, whatever it looks like.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QTimer>

#include "gv/CMessageBox.h"
#include "tc/CMsgService.h"
#include "tc/CTaskParamWidget.h"
#include "utils/Log.h"

namespace {

const QString MARKUP = "<img src=\"x\"><a href=\"y\">z</a>";

TEST(PlainText, InMessageBoxesAndPopups) {
  Qt::TextFormat format = Qt::AutoText;
  QTimer::singleShot(0, [&format] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_TRUE(box);
    format = box->textFormat();
    box->close();
  });
  GV::CMessageBox::information(nullptr, "t", MARKUP);
  EXPECT_EQ(format, Qt::PlainText);

  TC::CHpfBasketTaskParamWidget popup;
  popup.setAlgoParams(MARKUP);
  ASSERT_TRUE(popup.findChild<QLabel*>());
  for (const QLabel* label : popup.findChildren<QLabel*>()) EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

TEST(PlainText, InTheBoxOfAHostThatShowsNoneOfItsOwn) {
  struct SSilentHost : TC::CMsgService {
    void showMsg(const QString&, int) override {}
  } host;
  QWidget window;
  window.show();
  window.activateWindow();
  QApplication::processEvents();
  QStringList boxes;
  GV::CMessageBox::setPresenter([&](QWidget* parent, const QString& title, const QString& text) {
    EXPECT_EQ(parent, &window) << "the active one";
    boxes << title + '|' + text;
  });
  host.showBox("补单", MARKUP);
  GV::CMessageBox::setPresenter({});
  EXPECT_EQ(boxes, QStringList{"补单|" + MARKUP});
}

TEST(PlainText, InALogLine) {
  std::vector<std::string> log;
  utils::CLogCenter::instance().setObserver([&log](const std::string& message) { log.push_back(message); });
  utils::logInfo(&log, "test", "%1%|%2%|%3%", std::string("a\nINFO forged"), "b\r\t\x1b[2J", QString("补单"));
  utils::CLogCenter::instance().setObserver({});
  EXPECT_EQ(log, std::vector<std::string>{"a\\nINFO forged|b\\x0d\\x09\\x1b[2J|补单"});
}

}  // namespace
