/// What a table of order parameters holds: how the user wants the orders of a task to be made.
#pragma once

#include <QString>
#include <optional>
#include <string>

#include "gv/CBaseWidget.h"
#include "ksservice/CTaskDetail.h"
#include "tc/AlgoParams.h"

namespace TC {

/// GUI thread.
class IBaseOrderParamTable {
 public:
  virtual ~IBaseOrderParamTable() = default;
  /// EOrderType of what is chosen.
  virtual int orderType() const = 0;
};

/// The values, without their controls. They are always such as could be sent; what the user is typing is none of them
/// yet. GUI thread.
class COrderParamBaseTable : public GV::CBaseWidget, public IBaseOrderParamTable {
  Q_OBJECT

 public:
  static constexpr int NO_ALGORITHM = -1;

  using GV::CBaseWidget::CBaseWidget;

  /// Starts from an order parameter: its order type, and the algorithm of a text unless that is empty or malformed. The
  /// parameter's price type is shown as what the task had, but it is no choice of the user: none is made by this.
  void loadFromOrderParam(const ksservice::CCodeOrderParam& param, const QString& algoText);
  int orderType() const override { return m_nOrderType; }
  /// EAlgorithm of a smart trade; NO_ALGORITHM for a normal trade and while none was chosen.
  int algorithmIndex() const;
  /// The text of the algorithm's parameters; empty without an algorithm.
  std::string getAlgParamsStr() const;
  /// Puts what was chosen into a parameter: order type and price type. What was not chosen stays as it is; the price is
  /// nobody's choice here.
  void applyTo(ksservice::CCodeOrderParam& param) const;

 protected:
  /// The values changed other than by their controls.
  virtual void showValues() = 0;

  /// Between smart and normal; a smart trade starts with the algorithm that it had last.
  void chooseTrade(bool algorithmic);
  /// EPriceType; none: as the parameters are.
  void choosePriceType(std::optional<int> priceType);
  void chooseAlgorithm(EAlgorithm algorithm);
  /// An algorithm and its values, which must be right, in a smart trade of the order type.
  void setAlgorithm(int orderType, const SAlgoParams& params);
  void setAlgoParams(const SAlgoParams& params) { m_algoParams = params; }

  const SAlgoParams& algoParams() const { return m_algoParams; }
  std::optional<int> priceType() const { return m_nPriceType; }
  int loadedPriceType() const { return m_nLoadedPriceType; }

 private:
  int m_nOrderType = ksservice::EORT_Plain;
  int m_nAlgoOrderType = ksservice::EORT_Algo;  ///< of a smart trade
  bool m_bTradeChosen = false;                  ///< the user decided between normal and smart
  std::optional<int> m_nPriceType;
  bool m_bHasAlgorithm = false;
  SAlgoParams m_algoParams;
  int m_nLoadedPriceType = ksservice::EPT_Limit;
};

}  // namespace TC
