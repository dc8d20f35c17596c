#include "DayQuestion.h"

#include <QFileInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <utility>

#include "docks/CLogDock.h"

namespace app {
namespace {

const auto DAY = QStringLiteral("交易日");

QString textOf(const SDayQuestion& question) {
  const QString file = QString::fromStdString(question.m_strFile);
  if (question.m_bTaken) return QStringLiteral("另一个终端正在继续交易日 %1。").arg(QFileInfo(file).fileName());
  if (!question.m_strFault.empty()) {
    return QStringLiteral("交易日不能继续：%1").arg(QString::fromStdString(question.m_strFault));
  }
  return QStringLiteral("交易日 %1 没有结束，已进行到 %2。")
      .arg(QFileInfo(file).completeBaseName(), timeOfDayText(question.m_nMsec));
}

bool isEndWanted(QWidget* parent) {
  QMessageBox box(QMessageBox::Question, QStringLiteral("结束交易日"),
                  QStringLiteral("结束交易日？此后不再报单，也不能继续这个交易日；窗口留着供查看。"),
                  QMessageBox::NoButton, parent);
  box.setTextFormat(Qt::PlainText);
  const QPushButton* end = box.addButton(QStringLiteral("结束"), QMessageBox::AcceptRole);
  box.setDefaultButton(box.addButton(QStringLiteral("取消"), QMessageBox::RejectRole));
  box.exec();
  return box.clickedButton() == end;
}

}  // namespace

EDayAnswer askOfDay(const SDayQuestion& question) {
  QMessageBox box(QMessageBox::Question, DAY, textOf(question), QMessageBox::NoButton);
  box.setTextFormat(Qt::PlainText);
  QPushButton* goOn =
      question.m_strFault.empty() ? box.addButton(QStringLiteral("继续"), QMessageBox::AcceptRole) : nullptr;
  const QPushButton* begin = box.addButton(QStringLiteral("开始新的一天"), QMessageBox::ActionRole);
  QPushButton* leave = box.addButton(QStringLiteral("退出"), QMessageBox::RejectRole);
  box.setDefaultButton(goOn ? goOn : leave);
  box.setEscapeButton(leave);
  box.exec();
  if (goOn && box.clickedButton() == goOn) return EDayAnswer::GoOn;
  return box.clickedButton() == begin ? EDayAnswer::BeginNew : EDayAnswer::Leave;
}

QMenu* addSessionMenu(QMainWindow& window, std::function<void()> end) {
  auto* menu = new QMenu(QStringLiteral("会话(&S)"), &window);
  QAction* action = menu->addAction(QStringLiteral("结束交易日…"));
  QObject::connect(action, &QAction::triggered, menu, [action, end = std::move(end), &window] {
    if (!isEndWanted(&window)) return;
    action->setEnabled(false);
    end();
  });
  window.menuBar()->insertMenu(window.menuBar()->actions().value(0), menu);
  return menu;
}

}  // namespace app
