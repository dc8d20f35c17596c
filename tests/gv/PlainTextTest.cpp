// What a host says is shown and logged as it stands, whatever it looks like.
#include <QApplication>
#include <QHelpEvent>
#include <QLabel>
#include <QMessageBox>
#include <QTest>
#include <QTimer>
#include <QToolTip>

#include "TableFixture.h"
#include "gv/CMessageBox.h"
#include "tc/CMsgService.h"
#include "tc/CTaskParamWidget.h"
#include "utils/Log.h"

namespace {

const QString MARKUP = QStringLiteral("<img src=\"x\"><a href=\"y\">z</a>");

class PlainText : public TableTest {
 protected:
  PlainText() {
    utils::CLogCenter::instance().setObserver([this](const std::string& message) { m_log.push_back(message); });
  }

 public:
  ~PlainText() override { utils::CLogCenter::instance().setObserver({}); }
  PlainText(const PlainText&) = delete;
  PlainText& operator=(const PlainText&) = delete;

 protected:
  std::vector<std::string> m_log;
};

TEST_F(PlainText, InMessageBoxesAndPopups) {
  Qt::TextFormat format = Qt::AutoText;
  QTimer::singleShot(0, [&format] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_TRUE(box);
    format = box->textFormat();
    box->close();
  });
  GV::CMessageBox::information(nullptr, QStringLiteral("t"), MARKUP);
  EXPECT_EQ(format, Qt::PlainText);

  TC::CHpfBasketTaskParamWidget popup;
  popup.setAlgoParams(MARKUP);
  const auto labels = popup.findChildren<QLabel*>();
  ASSERT_FALSE(labels.isEmpty());
  for (const QLabel* label : labels) EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
}

TEST_F(PlainText, InTheBoxOfAHostThatShowsNoneOfItsOwn) {
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
    boxes << title + QLatin1Char('|') + text;
  });
  host.showBox(QStringLiteral("补单"), MARKUP);
  GV::CMessageBox::setPresenter({});
  EXPECT_EQ(boxes, QStringList{QStringLiteral("补单|") + MARKUP});
}

TEST_F(PlainText, InTips) {
  m_table.setColumnFilter(0, MARKUP);
  const QString tip = m_table.header()->model()->headerData(0, Qt::Horizontal, Qt::ToolTipRole).toString();
  EXPECT_TRUE(tip.contains(QStringLiteral("&lt;img"))) << tip.toStdString();
  EXPECT_FALSE(tip.contains(QStringLiteral("<img")));
}

TEST_F(PlainText, InALogLine) {
  utils::logInfo(this, "test", "%1%|%2%|%3%", std::string("a\nINFO forged"), "b\r\t\x1b[2J", QStringLiteral("补单"));
  EXPECT_EQ(m_log, std::vector<std::string>{"a\\nINFO forged|b\\x0d\\x09\\x1b[2J|补单"});
}

}  // namespace
