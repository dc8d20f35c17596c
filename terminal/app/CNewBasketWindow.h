#pragma once

#include <QDialog>
#include <vector>

class QComboBox;
class QLabel;
class QLineEdit;
class QTableWidget;

namespace app {

/// One line of a basket that is to be started.
struct SNewLine {
  QString m_strMarket;
  QString m_strCode;
  QString m_strName;
  int m_nOperation = 0;  ///< EOperationType
  int m_nQuantity = 0;   ///< shares, or lots of a future
};

struct SNewBasket {
  QString m_strName;
  QString m_strAccount;  ///< account key
  std::vector<SNewLine> m_lines;
};

/// Reads the lines that a panel offers for a new basket: one security a line, seven fields separated by tabs (security
/// key, name, quantity, "0", side, operation, type). Lines that are none are left out and counted.
std::vector<SNewLine> parseNewLines(const QString& text, int& malformed);

/// The terminal's window of a basket that is about to be started: its lines with quantities that can be edited, its
/// name, its account. It closes itself; "启动" tells of the basket first, if it is one. GUI thread.
class CNewBasketWindow : public QDialog {
  Q_OBJECT

 public:
  struct SAccountChoice {
    QString m_strKey;
    QString m_strText;
  };

  CNewBasketWindow(const std::vector<SNewLine>& lines, const QString& name, const std::vector<SAccountChoice>& accounts,
                   QWidget* parent);

 Q_SIGNALS:
  void sigStart(const app::SNewBasket& basket);

 private:
  void fillTable();
  QString takeBasket(SNewBasket& basket) const;
  void start();

  std::vector<SNewLine> m_lines;
  QTableWidget* m_pTable;
  QLineEdit* m_pName;
  QComboBox* m_pAccount;
  QLabel* m_pFault;
};

}  // namespace app
