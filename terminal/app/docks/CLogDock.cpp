#include "CLogDock.h"

#include <QPlainTextEdit>
#include <QTime>

#include "gv/CUiResource.h"

namespace app {
namespace {

constexpr int MAX_LINES = 5000;

QString coloured(const QString& text, const char* colourKey) {
  const QColor* colour = GV::CUiResource::getColor(QString::fromLatin1(colourKey));
  return QStringLiteral("<span style=\"color:%1\">%2</span>").arg(colour->name(), text.toHtmlEscaped());
}

}  // namespace

QString timeOfDayText(qint64 msec) {
  return QTime::fromMSecsSinceStartOfDay(static_cast<int>(msec % DAY_MSEC)).toString(QStringLiteral("HH:mm:ss"));
}

CLogDock::CLogDock(QWidget* parent) : QDockWidget(QStringLiteral("消息"), parent), m_pText(new QPlainTextEdit(this)) {
  setObjectName(QStringLiteral("logDock"));
  m_pText->setReadOnly(true);
  m_pText->setMaximumBlockCount(MAX_LINES);
  m_pText->setLineWrapMode(QPlainTextEdit::NoWrap);
  m_pText->setFrameShape(QFrame::NoFrame);
  setWidget(m_pText);
}

void CLogDock::append(qint64 time, const QString& text, ELevel level) {
  const char* colour = level == ELevel::Warning ? "clr_btn_style_3" : "clr_text_default";
  m_pText->appendHtml(coloured(timeOfDayText(time), "clr_text_title") + QStringLiteral("&nbsp;&nbsp;") +
                      coloured(text, colour));
}

}  // namespace app
