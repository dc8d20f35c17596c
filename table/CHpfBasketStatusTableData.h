#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <boost/make_shared.hpp>

#include "CHpfBasketStatusData.h"
#include "gv/CHpfTreeTableData.h"

namespace TC {

class CTaskBlock;

/// One row of the status table: a view on its task's block, made when somebody asks for the row. Its texts and its key
/// are formed when they are asked for, only while the row is in the table. GUI thread.
class CHpfBasketStatusTableData : public GV::CHpfTreeTableData,
                                  public boost::enable_shared_from_this<CHpfBasketStatusTableData> {
 public:
  CHpfBasketStatusTableData() = default;
  ~CHpfBasketStatusTableData() override;

  CTaskBlock* taskBlock() const;
  /// What the cells are formed from.
  CHpfBasketStatusData data() const;

  QString key() const override;
  QString displayName() const override;
  QString scriptName() const override;
  QString nodeKey() const override;
  int sortOrder() const override;
  QString text(int column) const override;
  /// The amount of a root; 0 for every other cell, so that the statistics line counts each task once.
  double number(int column) const override;
  /// The raw figure of a cell, also of children.
  double sortNumber(int column) const override;
  double getChangedValue(int column) override;
  const QColor* textColor(int column) const override;
  bool inStatistics() const override;

 private:
  friend class CTaskBlock;
  void bindTo(CTaskBlock& block, int row);
  void unbind() { bind(nullptr, -1); }
  boost::shared_ptr<CHpfBasketStatusTableData> self() { return shared_from_this(); }
};

using StatusRowPtr = boost::shared_ptr<CHpfBasketStatusTableData>;

}  // namespace TC
