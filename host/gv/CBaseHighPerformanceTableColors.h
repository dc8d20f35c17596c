/// The colours that a table paints with, looked up once.
#pragma once

#include <map>
#include <utility>

#include "gv/CBaseHighPerformanceTable.h"
#include "gv/Helpers.h"

namespace GV {

struct CBaseHighPerformanceTable::SColors {
  const QColor* text = color("clr_text_default");
  const QColor* branch = color("clr_table_branch");
  const QColor* ground = color("clr_table_background");
  const QColor* alternate = color("clr_table_background2");
  const QColor* heading = color("clr_table_root_background");
  const QColor* grid = color("clr_table_grid");
  const QColor* hover = color("clr_table_hover");
  const QColor* selection = color("clr_table_selection");
  const QColor* current = color("clr_table_current");
  const QColor* focus = color("clr_focus");
  const QColor* up = color("clr_flash_up");
  const QColor* down = color("clr_flash_down");

  const QColor* frozenEdge = color("clr_frozen_edge");

  /// The colour that a row wants for a text, as it is painted on a ground. Valid while this stands.
  const QColor& readable(const QColor& wish, const QColor& on) {
    const std::pair<QRgb, QRgb> pair(wish.rgba(), on.rgba());
    const auto known = m_readable.find(pair);
    if (known != m_readable.end()) return known->second;
    return m_readable.emplace(pair, readableColor(CUiResource::shownColor(wish), on, *text)).first->second;
  }

  static const QColor* color(const char* key) { return CUiResource::getColor(QString::fromLatin1(key)); }

 private:
  std::map<std::pair<QRgb, QRgb>, QColor> m_readable;
};

}  // namespace GV
