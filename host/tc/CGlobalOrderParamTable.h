/// The table of order parameters with its controls: "普通交易" with the price types, "智能算法" with the algorithms.
#pragma once

#include <vector>

#include "gv/DialogScript.h"
#include "tc/COrderParamBaseTable.h"

class QGridLayout;
class QLabel;
class QLineEdit;
class QVBoxLayout;

namespace GV {
class CPushButton;
}

namespace TC {

/// A choice takes effect at once; an input field when it is committed (Enter, loss of the focus, a button of the
/// dialog) and all fields are right. While they are not, the wrong one is marked, a line says what is wrong, and the
/// values stay what they were; they are back in the fields when the table is shown again, and in one field on Esc.
/// GUI thread.
class CGlobalOrderParamTable : public COrderParamBaseTable, public GV::IDialogRows {
  Q_OBJECT

 public:
  /// accountType: accounts that trade by code alone (1, 5 and 6) have no market prices.
  explicit CGlobalOrderParamTable(int accountType, QWidget* parent = nullptr);

  /// The algorithm parameters of a command as this table takes them; empty for a normal order type and for a text that
  /// is empty or malformed.
  QString getUiParamByTrdTradeParam(int orderType, const std::string& tradeParamText) const;
  /// Chooses the algorithm of such a text, in a smart trade of the order type.
  void setSingleMavAlgoParam(int orderType, const QString& uiParam);
  /// Whether "智能算法" is offered.
  void setAlgoVisible(bool visible);
  /// Whether the limit of an algorithm is out of sight.
  void setExpandItemsHidden(bool hidden);
  /// What is wrong with what stands in the fields, in words for the user; empty when they are right.
  QString inputError() const { return m_strError; }

  bool handleEvent(int eventId, int id, int value, QString key, void* payload) override;
  std::vector<GV::SDialogRow> dialogRows() const override;
  bool checkRow(const QString& /*key*/, bool /*on*/) override { return false; }
  bool editRow(const QString& key, const QString& text) override;
  void commitEdits() override;

 Q_SIGNALS:
  /// What stands in the fields became right or wrong.
  void sigInputChecked(bool right);

 protected:
  void showValues() override;
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct SField;
  struct SInput {
    const SField* field;
    QWidget* line;  ///< title and editor
    QLineEdit* editor;
  };
  enum class EChoice { Trade, Price, Algorithm };
  struct SChoice {
    EChoice kind;
    int value;  ///< smart or not, EPriceType, EAlgorithm
    GV::CPushButton* button;
  };

  static const std::vector<SField>& fields();
  QWidget* createPrices(int accountType);
  QWidget* createAlgorithms();
  QGridLayout* addChoices(QVBoxLayout& layout);
  void addChoice(QGridLayout& grid, int columns, EChoice kind, int value, const QString& text);
  void offerPriceType(int type);
  bool isChosen(const SChoice& choice) const;
  void choose(const SChoice& choice);
  QWidget* createField(const SField& field);
  bool shows(const SInput& input, const SAlgoParams& params) const;
  QString readFields(SAlgoParams& out) const;
  void checkFields();
  void deliverField(const SInput& input);
  void markInput(const SInput& input);

  std::vector<SChoice> m_choices;
  std::vector<SInput> m_inputs;
  QWidget* m_pPrices;
  QWidget* m_pAlgorithms;
  QGridLayout* m_pPriceGrid = nullptr;
  QLabel* m_pPriceNote = nullptr;
  QLabel* m_pAlgoNote = nullptr;
  QLabel* m_pMessage = nullptr;
  GV::CPushButton* m_pAlgoButton = nullptr;
  bool m_bLimitHidden = false;
  QString m_strError;
};

}  // namespace TC
