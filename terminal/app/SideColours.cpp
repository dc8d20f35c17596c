#include "SideColours.h"

#include <QActionGroup>
#include <QMenu>
#include <array>

#include "gv/CUiResource.h"

namespace app {
namespace {

struct SPaletteText {
  const char* m_pName;
  const char* m_pText;
};

constexpr std::array<SPaletteText, 3> PALETTES{
    {{"red-buy", "红买绿卖"}, {"green-buy", "绿买红卖"}, {"colour-blind", "橙买蓝卖（色弱可辨）"}}};

}  // namespace

void addSideColours(QMenu& menu) {
  QMenu* colours = menu.addMenu(QStringLiteral("买卖颜色"));
  auto* group = new QActionGroup(colours);
  for (const SPaletteText& each : PALETTES) {
    const QString name = QLatin1String(each.m_pName);
    QAction* action = colours->addAction(QString::fromUtf8(each.m_pText));
    action->setCheckable(true);
    action->setChecked(GV::CUiResource::sidePalette() == name);
    group->addAction(action);
    QObject::connect(action, &QAction::triggered, colours, [name] {
      GV::CUiResource::setSidePalette(name);
      GV::CUiResource::applyToApplication();
    });
  }
}

}  // namespace app
