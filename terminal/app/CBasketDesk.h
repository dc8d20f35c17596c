#pragma once

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <memory>

#include "CDraftHost.h"
#include "CDraftStore.h"

namespace preview {
class CNewBasketWindow;
}

namespace app {

/// Opens the windows of new baskets in a live session: by "新建篮子" (Ctrl+N), by a file that is dropped on the
/// terminal's window, by lines that a panel offers. GUI thread.
class CBasketDesk : public QObject {
  Q_OBJECT

 public:
  /// All must outlive this object. folder: where drafts are kept; empty: nowhere.
  CBasketDesk(QMainWindow& window, std::unique_ptr<CDraftHost> host, const QString& folder);
  /// Closes the windows; their drafts are kept.
  ~CBasketDesk() override;

  /// Drafts that were neither sent nor thrown away.
  int openDraftCount() const;
  /// bytes: lines as a panel offers them, or any other text.
  void openText(const QByteArray& bytes, const QString& name);

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;

 private:
  preview::CNewBasketWindow* openWindow();

  QMainWindow& m_window;
  std::unique_ptr<CDraftHost> m_pHost;
  preview::CDraftStore m_store;
  QAction* m_pNewBasket;
  QMenu* m_pMenu;
};

}  // namespace app
