#pragma once

#include <QAbstractTableModel>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QTableView>

#include "CDraft.h"
#include "CDraftStore.h"

namespace preview {

/// The accounts of a draft: what each may use, its ratio, what it gets. GUI thread.
class CAccountModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  CAccountModel(CDraft& draft, QObject* parent);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;

 private:
  double ratioOf(int row) const;

  CDraft& m_draft;
};

/// How a draft becomes shares, and how these are shared out. GUI thread.
class CAccountsBox : public QWidget {
  Q_OBJECT

 public:
  CAccountsBox(CDraft& draft, CDraftStore& store, QWidget* parent);

 private:
  QWidget* createSizing();
  QWidget* createDeal();
  void showState();
  void saveDeal();

  CDraft& m_draft;
  CDraftStore& m_store;
  QDoubleSpinBox* m_pTotal;
  QDoubleSpinBox* m_pMultiple;
  QComboBox* m_pBy;
  QComboBox* m_pSaved;
  QTableView* m_pTable;
  QLabel* m_pMissed;
};

}  // namespace preview
