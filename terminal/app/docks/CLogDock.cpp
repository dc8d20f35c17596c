#include "docks/CLogDock.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTime>

#include "gv/CUiResource.h"
#include "gv/Scaling.h"

namespace app {
namespace {

constexpr int MAX_LINES = 5000;
// Pixels at scale 1.
constexpr int CONTROL_HEIGHT = 22;
constexpr int SEARCH_WIDTH = 160;

constexpr int FROM_WARNINGS = 1;  ///< the choice of levels that leaves the others out

QString coloured(const QString& text, const char* colourKey) {
  const QColor* colour = GV::CUiResource::getColor(QString::fromLatin1(colourKey));
  return QStringLiteral("<span style=\"color:%1\">%2</span>").arg(colour->name(), text.toHtmlEscaped());
}

}  // namespace

QString timeOfDayText(qint64 msec) {
  return QTime::fromMSecsSinceStartOfDay(static_cast<int>(msec % DAY_MSEC)).toString(QStringLiteral("HH:mm:ss"));
}

CLogDock::CLogDock(QWidget* parent)
    : QDockWidget(QStringLiteral("消息"), parent),
      m_pLevel(new QComboBox(this)),
      m_pSearch(new QLineEdit(this)),
      m_pText(new QPlainTextEdit(this)) {
  setObjectName(QStringLiteral("logDock"));
  m_pText->setReadOnly(true);
  m_pText->setAccessibleName(windowTitle());
  m_pLevel->setAccessibleName(QStringLiteral("级别"));
  m_pText->setMaximumBlockCount(MAX_LINES);
  m_pText->setLineWrapMode(QPlainTextEdit::NoWrap);
  m_pText->setFrameShape(QFrame::NoFrame);
  m_pLevel->addItems({QStringLiteral("全部"), QStringLiteral("警告")});
  m_pSearch->setPlaceholderText(QStringLiteral("搜索"));
  m_pSearch->setClearButtonEnabled(true);
  connect(m_pLevel, qOverload<int>(&QComboBox::currentIndexChanged), this, [this] { showAll(); });
  connect(m_pSearch, &QLineEdit::textChanged, this, [this] { showAll(); });

  auto* bar = new QHBoxLayout;
  GV::setScaledMargins(*bar, {4, 3, 4, 3});
  GV::setScaledSpacing(*bar, 4);
  for (QWidget* each : {static_cast<QWidget*>(m_pLevel), static_cast<QWidget*>(m_pSearch)}) {
    GV::setScaledFixedHeight(*each, CONTROL_HEIGHT);
    bar->addWidget(each);
  }
  GV::followScale(*m_pSearch, [this] { m_pSearch->setMaximumWidth(GV::CUiResource::scaled(SEARCH_WIDTH)); });
  bar->addStretch(1);
  auto* content = new QWidget(this);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addLayout(bar);
  layout->addWidget(m_pText, 1);
  setWidget(content);
}

void CLogDock::clear() {
  m_lines.clear();
  showAll();
}

bool CLogDock::passes(const SLine& line) const {
  if (m_pLevel->currentIndex() == FROM_WARNINGS && line.m_eLevel != ELevel::Warning) return false;
  return line.m_strText.contains(m_pSearch->text(), Qt::CaseInsensitive);
}

void CLogDock::showLine(const SLine& line) {
  const char* colour = line.m_eLevel == ELevel::Warning ? "clr_text_warning" : "clr_text_default";
  m_pText->appendHtml(coloured(timeOfDayText(line.m_nTime), "clr_text_title") + QStringLiteral("&nbsp;&nbsp;") +
                      coloured(line.m_strText, colour));
}

void CLogDock::showAll() {
  m_pText->clear();
  for (const SLine& line : m_lines) {
    if (passes(line)) showLine(line);
  }
}

void CLogDock::append(qint64 time, const QString& text, ELevel level) {
  m_lines.push_back({time, text, level});
  if (m_lines.size() > MAX_LINES) m_lines.pop_front();
  if (passes(m_lines.back())) showLine(m_lines.back());
}

}  // namespace app
