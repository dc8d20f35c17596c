/// The trade parameters of a patch.
#pragma once

#include <string>

#include "gv/CCommonDialog.h"
#include "ksservice/CTaskDetail.h"

namespace TC {

class CGlobalOrderParamTable;
class COpBasketStockParamsWidget;

/// Lets the user choose how the securities of a patch are ordered. Nothing is sent from here: the patch dialog fills
/// its parameters from the widget. Closing it in any way keeps what the table holds. GUI thread.
class CTradeParamDialog : public GV::CCommonDialog {
  Q_OBJECT

 public:
  /// Starts from the first parameter of the task that is patched and from the algorithm parameters that it was started
  /// with (empty: none).
  CTradeParamDialog(const ksservice::CCodeOrderParam& taskParam, const std::string& tradeParamText, QWidget* parent);

  const COpBasketStockParamsWidget& widget() const { return *m_pWidget; }
  CGlobalOrderParamTable& table() const;

  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* createBottom();

  COpBasketStockParamsWidget* m_pWidget;
  QWidget* m_pBottom = nullptr;
};

}  // namespace TC
