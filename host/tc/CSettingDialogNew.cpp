#include "tc/CSettingDialogNew.h"

#include <utility>

namespace TC {
namespace {

CSettingDialogNew::Presenter& presenter() {
  static CSettingDialogNew::Presenter installed;
  return installed;
}

}  // namespace

void CSettingDialogNew::showSettingPage(ESettingPage page, const QString& text) {
  if (presenter()) presenter()(page, text);
}

void CSettingDialogNew::setPresenter(Presenter installed) { presenter() = std::move(installed); }

}  // namespace TC
