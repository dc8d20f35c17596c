#include "gv/CVerticalWidgetList.h"

#include <QVBoxLayout>

#include "gv/Scaling.h"

namespace GV {

CVerticalWidgetList::CVerticalWidgetList(QWidget* parent) : QWidget(parent), m_pLayout(new QVBoxLayout(this)) {
  m_pLayout->setContentsMargins(0, 0, 0, 0);
  m_pLayout->setSpacing(0);
}

CVerticalWidgetList* CVerticalWidgetList::fill(QWidget* window) {
  auto* outer = new QVBoxLayout(window);
  outer->setContentsMargins(0, 0, 0, 0);
  auto* list = new CVerticalWidgetList(window);
  outer->addWidget(list);
  return list;
}

void CVerticalWidgetList::addWidget(QWidget* widget, bool stretches) {
  m_pLayout->addWidget(widget, stretches ? 1 : 0);
}

void CVerticalWidgetList::addSpacing(int pixels) {
  auto* space = new QWidget(this);
  setScaledFixedHeight(*space, pixels);
  m_pLayout->addWidget(space);
}

}  // namespace GV
