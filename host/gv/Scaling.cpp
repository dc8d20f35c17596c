#include "gv/Scaling.h"

#include <QLayout>
#include <QWidget>
#include <utility>

#include "gv/CUiResource.h"

namespace GV {
namespace {

class CScaleFollower : public QObject, public CUiResourceChangeHandler {
 public:
  CScaleFollower(QObject* owner, std::function<void()> apply) : QObject(owner), m_apply(std::move(apply)) { m_apply(); }
  void scaleChanged() override { m_apply(); }

 private:
  std::function<void()> m_apply;
};

}  // namespace

void followScale(QObject& owner, std::function<void()> apply) { new CScaleFollower(&owner, std::move(apply)); }

void setScaledFixedSize(QWidget& widget, const QSize& size) {
  followScale(widget, [&widget, size] { widget.setFixedSize(CUiResource::scaled(size)); });
}

void setScaledFixedWidth(QWidget& widget, int width) {
  followScale(widget, [&widget, width] { widget.setFixedWidth(CUiResource::scaled(width)); });
}

void setScaledFixedHeight(QWidget& widget, int height) {
  followScale(widget, [&widget, height] { widget.setFixedHeight(CUiResource::scaled(height)); });
}

void setScaledWindowSize(QWidget& window, const QSize& size) {
  window.resize(size);
  followScale(window, [&window, before = 1.0]() mutable {
    window.resize(window.size() * (CUiResource::scale() / before));
    before = CUiResource::scale();
  });
}

void setScaledMargins(QLayout& layout, const QMargins& margins) {
  followScale(layout, [&layout, margins] {
    const auto scaled = [](int pixels) { return CUiResource::scaled(pixels); };
    layout.setContentsMargins(scaled(margins.left()), scaled(margins.top()), scaled(margins.right()),
                              scaled(margins.bottom()));
  });
}

void setScaledSpacing(QLayout& layout, int spacing) {
  followScale(layout, [&layout, spacing] { layout.setSpacing(CUiResource::scaled(spacing)); });
}

}  // namespace GV
