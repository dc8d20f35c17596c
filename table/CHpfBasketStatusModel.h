#pragma once

#include "BasketColumns.h"
#include "gv/CHpfTreeTableModel.h"

namespace TC {

/// The model of the status table: its rows by the table of column descriptions. GUI thread.
class CHpfBasketStatusModel : public GV::CHpfTreeTableModel {
  Q_OBJECT

 public:
  explicit CHpfBasketStatusModel(QObject* parent) : GV::CHpfTreeTableModel(columns(), parent) {}

 private:
  static std::vector<GV::SColumn> columns() {
    std::vector<GV::SColumn> list;
    for (const SBasketColumn& entry : basketColumns()) list.push_back(entry.column);
    return list;
  }
};

}  // namespace TC
