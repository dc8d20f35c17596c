#include "CHpfBasketDelegates.h"

#include <QPainter>
#include <algorithm>

#include "CHpfBasketStatusTableData.h"
#include "TaskBlock.h"
#include "gv/CUiResource.h"

namespace TC {
namespace {

// Pixels at scale 1.
constexpr int BAR_HEIGHT = 6;
constexpr int STUB_WIDTH = 3;
constexpr int PREFERRED_WIDTH = 120;

}  // namespace

void CHpfBasketProgressDelegate::paint(QPainter& painter, const GV::SCell& cell) const {
  const QString shown = text(cell.row);
  if (shown.isEmpty()) return;
  const double fraction = progressFraction(shown);
  const int width = fraction > 0 ? static_cast<int>(cell.rect.width() * std::min(fraction, 1.0))
                                 : GV::CUiResource::scaled(STUB_WIDTH);
  const int height = GV::CUiResource::scaled(BAR_HEIGHT);
  painter.save();
  painter.fillRect(cell.rect.x(), cell.rect.y() + cell.rect.height() - height, width, height,
                   *GV::CUiResource::getColor(QStringLiteral("clr_task_progress_background")));
  painter.restore();
}

int CHpfBasketProgressDelegate::preferredWidth() const { return GV::CUiResource::scaled(PREFERRED_WIDTH); }

QString CHpfBasketOrderDelegate::text(const GV::IBaseHpfTableData& row) const {
  const auto& data = static_cast<const CHpfBasketStatusTableData&>(row);
  const std::pair<int, int> counts = data.taskBlock()->rows().orderCounts(data.row());
  return orderText(counts.first, counts.second);
}

void CHpfBasketOrderDelegate::slotTaskOrder(QString key, int reported, int received) {
  Q_EMIT sigOrderCounts(key, reported, received);
}

}  // namespace TC
