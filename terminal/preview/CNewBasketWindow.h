#pragma once

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>

#include "CDraft.h"
#include "CDraftStore.h"

namespace preview {

class CAccountsBox;
class CLimitsBox;
class CLineView;
class CSourceView;
class CSummaryBar;
class CTradeBox;

/// The terminal's window of a basket that is about to be sent: from a file, the clipboard or a panel; what speaks
/// against each line; how it is shared out, traded and hedged. Keeps its draft a second after each change. GUI thread.
class CNewBasketWindow : public QDialog {
  Q_OBJECT

 public:
  /// Both must outlive the window, which deletes itself when it is closed.
  CNewBasketWindow(IDraftHost& host, CDraftStore& store, QWidget* parent);
  ~CNewBasketWindow() override;

  /// Reads a file; what is wrong with it is said in the window. Slow files show how far they are.
  void openFile(const QString& file);
  /// The bytes of a text: the first make the draft's lines, further ones are added to them.
  void takeText(const QByteArray& bytes, const QString& name);
  /// Shows a kept draft; the window that shows it already comes to the front instead.
  void openDraft(const QString& id);
  const CDraft& draft() const { return m_draft; }

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* object, QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void done(int result) override;

 private:
  QWidget* createTop();
  QWidget* createSides();
  QWidget* createBottom();
  QPushButton* addButton(QLayout& layout, const QString& text, void (CNewBasketWindow::*pressed)());
  void chooseFile();
  void paste();
  void reload();
  void addLine();
  void fillDraftMenu();
  CNewBasketWindow* otherWindowWith(const QString& id) const;
  void discard();
  void send();
  bool useSource(basket::SSource source, const QString& name, bool again);
  void showNote(const QString& text);
  void showState();
  void keep();

  IDraftHost& m_host;
  CDraftStore& m_store;
  CDraft m_draft;
  QString m_strId;  ///< of the draft as it is kept; empty before the first time
  bool m_bSent = false;
  bool m_bDirty = false;
  QTimer m_keepTimer;
  QMenu* m_pDraftMenu;
  QLineEdit* m_pName;
  QLabel* m_pNote;
  QTabWidget* m_pTabs;
  CLineView* m_pLines;
  CSourceView* m_pSource;
  CSummaryBar* m_pSummary;
  CAccountsBox* m_pAccounts;
  CTradeBox* m_pTrade;
  CLimitsBox* m_pLimits;
  QLabel* m_pSentence;
  QPushButton* m_pReload = nullptr;
  QPushButton* m_pSend = nullptr;
};

}  // namespace preview
