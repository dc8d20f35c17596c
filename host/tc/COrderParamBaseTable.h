/// What a table of order parameters holds: how the user wants the orders of a task to be made.
#pragma once

#include <QString>
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

  /// Starts from an order parameter: its order type, its price type, and the algorithm of a text unless that is empty
  /// or malformed.
  void loadFromOrderParam(const ksservice::CCodeOrderParam& param, const QString& algoText);
  int orderType() const override { return m_nOrderType; }
  /// EAlgorithm of a smart trade; NO_ALGORITHM for a normal trade, and for a smart one that was loaded without settings
  /// that can be read: whoever sends it keeps those that it has.
  int algorithmIndex() const;
  /// The text of the algorithm's parameters; empty without an algorithm.
  std::string getAlgParamsStr() const;
  /// Puts order type and price type into a parameter; the limit is the buyer's or the seller's as its operation is. The
  /// price is nobody's choice here.
  void applyTo(ksservice::CCodeOrderParam& param) const;

 protected:
  /// The values changed other than by their controls.
  virtual void showValues() = 0;

  /// Between smart and normal; a smart trade starts with the algorithm that it had last.
  void chooseTrade(bool smart);
  /// EPriceType.
  void choosePriceType(int priceType);
  void chooseAlgorithm(EAlgorithm algorithm);
  /// An algorithm and its values, which must be right, in a smart trade of the order type.
  void setAlgorithm(int orderType, const SAlgoParams& params);
  void setAlgoParams(const SAlgoParams& params) { m_algoParams = params; }

  const SAlgoParams& algoParams() const { return m_algoParams; }
  bool isSmart() const;
  /// EPT_Limit for a seller's limit too.
  int priceType() const { return m_nPriceType; }

 private:
  int m_nOrderType = ksservice::EORT_Plain;
  int m_nAlgoOrderType = ksservice::EORT_Algo;  ///< of a smart trade
  bool m_bLoadedSmart = false;
  int m_nPriceType = ksservice::EPT_Limit;
  bool m_bHasAlgorithm = false;
  SAlgoParams m_algoParams;
};

}  // namespace TC
