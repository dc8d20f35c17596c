#include "docks/COverviewDock.h"

#include <QDateTime>
#include <QPainter>
#include <QVBoxLayout>

#include "gv/CUiResource.h"

namespace app {
namespace {

using GV::CUiResource;

// Pixels at scale 1.
constexpr int FIGURE_WIDTH = 190;  ///< at least
constexpr int FIGURE_MOST = 230;
constexpr int FIGURE_GAP = 18;
constexpr int FIGURE_HEIGHT = 18;
constexpr int CHART_WIDTH = 300;
constexpr int CHART_HEIGHT = 110;
constexpr int MARGIN = 6;

}  // namespace

class COverviewDock::CCanvas : public QWidget, public GV::CUiResourceChangeHandler {
 public:
  using QWidget::QWidget;

  void show(QString title, std::vector<SCourseFigure> figures, std::vector<SChart> charts) {
    m_strTitle = std::move(title);
    m_figures = std::move(figures);
    m_charts = std::move(charts);
    fit();
    update();
  }

 protected:
  void resizeEvent(QResizeEvent*) override { fit(); }
  void scaleChanged() override { fit(); }
  void resourceChanged() override { update(); }

  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.fillRect(rect(), *CUiResource::getColor(QStringLiteral("clr_table_background")));
    painter.setFont(CUiResource::getFont(QStringLiteral("fnt_default_normal")));
    if (m_figures.empty()) return paintNothing(painter);
    paintFigures(painter);
    const int top = figuresHeight();
    const int height = (this->height() - top) / std::max(1, chartRows());
    for (int i = 0; i < static_cast<int>(m_charts.size()); ++i) {
      const QRect area((i % chartsBeside()) * chartWidth(), top + i / chartsBeside() * height, chartWidth(), height);
      paintChart(painter, area, m_charts[static_cast<std::size_t>(i)]);
    }
  }

 private:
  static int beside(int width, int least) { return std::max(1, width / CUiResource::scaled(least)); }
  int chartsBeside() const { return std::clamp(static_cast<int>(m_charts.size()), 1, beside(width(), CHART_WIDTH)); }
  int chartWidth() const { return width() / chartsBeside(); }
  int chartRows() const {
    return m_charts.empty() ? 0 : (static_cast<int>(m_charts.size()) + chartsBeside() - 1) / chartsBeside();
  }
  int figuresHeight() const {
    const int columns = beside(width(), FIGURE_WIDTH);
    const int rows = 1 + (static_cast<int>(m_figures.size()) + columns - 1) / columns;
    return CUiResource::scaled(MARGIN) * 2 + rows * CUiResource::scaled(FIGURE_HEIGHT);
  }
  void fit() {
    setMinimumHeight(m_figures.empty() ? 0 : figuresHeight() + chartRows() * CUiResource::scaled(CHART_HEIGHT));
  }

  void paintNothing(QPainter& painter) const {
    const int margin = CUiResource::scaled(MARGIN);
    painter.setPen(*CUiResource::getColor(QStringLiteral("clr_text_title")));
    painter.drawText(rect().adjusted(margin, margin, -margin, -margin),
                     static_cast<int>(Qt::AlignTop) | Qt::AlignHCenter | Qt::TextWordWrap, m_strTitle);
  }

  void paintFigures(QPainter& painter) const {
    const int margin = CUiResource::scaled(MARGIN);
    const int height = CUiResource::scaled(FIGURE_HEIGHT);
    const int columns = beside(width(), FIGURE_WIDTH);
    const int cell = std::min((width() - margin) / columns, CUiResource::scaled(FIGURE_MOST));
    painter.setPen(*CUiResource::getColor(QStringLiteral("clr_text_default")));
    painter.drawText(QRect(margin, margin, width() - 2 * margin, height), Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(m_strTitle, Qt::ElideRight, width() - 2 * margin));
    for (int i = 0; i < static_cast<int>(m_figures.size()); ++i) {
      const SCourseFigure& figure = m_figures[static_cast<std::size_t>(i)];
      const QRect area(margin + i % columns * cell, margin + (1 + i / columns) * height,
                       cell - CUiResource::scaled(FIGURE_GAP), height);
      painter.setPen(*CUiResource::getColor(QStringLiteral("clr_text_title")));
      painter.drawText(area, Qt::AlignVCenter, figure.m_strLabel);
      const int room = area.width() - painter.fontMetrics().horizontalAdvance(figure.m_strLabel) - margin / 2;
      painter.setPen(*CUiResource::getColor(QStringLiteral("clr_text_default")));
      painter.drawText(area, static_cast<int>(Qt::AlignVCenter) | Qt::AlignRight,
                       painter.fontMetrics().elidedText(figure.m_strValue, Qt::ElideRight, room));
    }
  }

  QString m_strTitle;
  std::vector<SCourseFigure> m_figures;
  std::vector<SChart> m_charts;
};

COverviewDock::COverviewDock(QWidget* parent) : CDockContent(parent), m_pCanvas(new CCanvas) {
  auto* scroll = new QScrollArea(this);
  scroll->setWidget(m_pCanvas);
  scroll->setWidgetResizable(true);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(scroll);
  showNothing();
}

void COverviewDock::attach(const SDockSources& sources) { m_sources = sources; }

void COverviewDock::choose(const SChosenRow& row) {
  if (row.m_nTaskId == m_nTaskId && row.m_nTaskId >= 0) return;
  m_nTaskId = row.m_nTaskId;
  m_quotes.clear();
  m_pAnswer.reset();
  showNothing();
}

void COverviewDock::showNothing() { m_pCanvas->show(QStringLiteral("在组合任务中选择一行"), {}, {}); }

void COverviewDock::ask(const STaskCourse& course) {
  if (!m_sources.m_askMarket || m_pAnswer) return;
  InstrumentNames names;
  for (const SCourseLine& line : course.m_lines) names.emplace_back(line.m_strMarket, line.m_strCode);
  m_pAnswer = std::make_shared<CMarketAnswer>();
  m_sources.m_askMarket(names, m_pAnswer);
}

void COverviewDock::refresh() {
  const auto course = m_nTaskId < 0 ? nullptr : m_sources.m_pBlotter->course(m_nTaskId);
  // Tasks of another day are gone.
  if (!course || course->m_nStart == 0) return showNothing();
  if (auto answer = m_pAnswer ? m_pAnswer->take() : std::nullopt) {
    m_quotes = std::move(*answer);
    m_pAnswer.reset();
  }
  const desk::CDesk& desk = *m_sources.m_pDesk;
  SCourseMoment moment;
  moment.m_nNow = static_cast<int>(desk.now());
  moment.m_nTimeOffset = QDateTime::fromSecsSinceEpoch(desk.now(), desk.timeZone()).offsetFromUtc();
  moment.m_quotes = m_quotes;
  m_pCanvas->show(QStringLiteral("组合任务%1").arg(m_nTaskId), courseFigures(*course, moment),
                  courseCharts(*course, moment));
  if (course->m_nEnd == 0) ask(*course);
}

}  // namespace app
