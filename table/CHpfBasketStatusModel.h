#pragma once

#include "BasketColumns.h"
#include "gv/CHpfTreeTableModel.h"

namespace TC {

/// The model of the status table: its rows by the table of column descriptions. GUI thread.
class CHpfBasketStatusModel : public GV::CHpfTreeTableModel {
  Q_OBJECT

 public:
  /// The block in which a row with the key would be, by its number; -1 for none.
  using BlockOfKey = std::function<int(const QString& key)>;

  CHpfBasketStatusModel(BlockOfKey blockOf, QObject* parent)
      : GV::CHpfTreeTableModel(columns(), parent), m_blockOf(std::move(blockOf)) {}

 protected:
  int blockOfKey(const QString& key) const override { return m_blockOf(key); }

 private:
  static std::vector<GV::SColumn> columns() {
    std::vector<GV::SColumn> list;
    for (const SBasketColumn& entry : basketColumns()) list.push_back(entry.column);
    return list;
  }

  BlockOfKey m_blockOf;
};

}  // namespace TC
