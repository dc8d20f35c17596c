#pragma once

#include <QMessageBox>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include "CDesk.h"
#include "CHostServices.h"
#include "CNewBasketWindow.h"
#include "ksservice/Helpers.h"

/// A terminal of five shares, a future and three accounts.
class CTestDraftHost : public preview::IDraftHost {
 public:
  const basket::CSecurities& securities() const override { return m_securities; }

  draft::SMarketFacts listed(int security) const override {
    exchange::SInstrument instrument;
    instrument.m_strMarket = m_securities[security].m_strMarket;
    instrument.m_strCode = m_securities[security].m_strCode;
    instrument.m_strName = m_securities[security].m_strName;
    instrument.m_dPrevClose = 10;
    instrument.m_kind = exchange::kindOf(instrument.m_strMarket);
    draft::SMarketFacts facts;
    facts.m_bListed = true;
    facts.m_strName = instrument.m_strName;
    facts.m_kind = instrument.m_kind;
    facts.m_rules = exchange::rulesOf(instrument);
    facts.m_dLast = 10;
    facts.m_dUsualVolume = 10'000'000;
    return facts;
  }

  void askPrices(const std::vector<int>& securities,
                 std::function<void(std::vector<preview::SPrices>)> answer) override {
    const std::vector<preview::SPrices> prices(securities.size(), {m_dPrice, m_dPrice - 0.01, m_dPrice + 0.01});
    QTimer::singleShot(0, [answer, prices] { answer(prices); });
  }

  std::vector<draft::SAccountFacts> accounts() const override { return m_accounts; }
  exchange::SFeeRates fees() const override { return {}; }
  preview::SRateUse rates() const override { return {280, 19000, {}}; }
  double frozenAt(const draft::SLine& line, const draft::SMarketFacts& facts,
                  const preview::STradeParams& trade) const override {
    if (line.m_dPrice > 0) return line.m_dPrice;
    return ksservice::isRealMarketPrice(trade.m_nPriceType) ? 11 : facts.m_dLast;
  }
  std::vector<std::string> hedgeFutures() const override { return {"IF2612", "IM2612"}; }
  void send(const preview::SSentBasket& basket) override { m_sent.push_back(basket); }

  double m_dPrice = 10;
  std::vector<preview::SSentBasket> m_sent;
  std::vector<draft::SAccountFacts> m_accounts{
      {"A1", "1001", true, 1e8, {{"SZ.000001", 100000}}}, {"A2", "1002", true, 1e8, {}}, {"A3", "1003", true, 1e8, {}}};

 private:
  basket::CSecurities m_securities{{{"SH", "600000", "浦发银行"},
                                    {"SZ", "000001", "平安银行"},
                                    {"SH", "688001", "华兴源创"},
                                    {"SZ", "300750", "宁德时代"},
                                    {"SH", "600036", "招商银行"},
                                    {"CFFEX", "IF2612", "沪深300股指2612"}}};
};

/// A window on a terminal, with a folder of its own for drafts.
class CPreviewRig {
 public:
  CPreviewRig() {
    m_services.install();
    open();
  }

  /// As after a crash: another window, and a store that knows the folder alone.
  void open() {
    m_pWindow.reset();
    m_pStore.reset();
    m_pStore = std::make_unique<preview::CDraftStore>(m_folder.path() + QStringLiteral("/drafts"));
    m_pWindow = std::make_unique<preview::CNewBasketWindow>(m_host, *m_pStore, nullptr);
    m_pWindow->setAttribute(Qt::WA_DeleteOnClose, false);
    m_pWindow->show();
    QCoreApplication::processEvents();
  }

  void paste(const char* text) const {
    m_pWindow->takeText(QByteArray(text), QStringLiteral("篮子"));
    QCoreApplication::processEvents();
  }

  QString writeFile(const QString& name, const QByteArray& bytes) const {
    QFile file(m_folder.filePath(name));
    file.open(QIODevice::WriteOnly);
    file.write(bytes);
    return file.fileName();
  }

  template <class Widget>
  Widget* find(const QString& text) const {
    for (Widget* each : m_pWindow->findChildren<Widget*>()) {
      if (each->text() == text) return each;
    }
    return nullptr;
  }
  QPushButton& button(const QString& text) const { return *find<QPushButton>(text); }
  QTableView& table(const QString& name) const {
    for (auto* each : m_pWindow->findChildren<QTableView*>()) {
      if (each->accessibleName() == name) return *each;
    }
    return *m_pWindow->findChild<QTableView*>();
  }
  QTableView& lines() const { return table(QStringLiteral("篮子明细")); }
  QString cell(int row, int column) const { return lines().model()->index(row, column).data().toString(); }
  const preview::CDraft& draft() const { return m_pWindow->draft(); }

  /// Types into a cell as a user does, without ending it.
  QLineEdit* type(int row, int column, const QString& text) const {
    // An editor that has ended goes with the next turn of the event loop.
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const QModelIndex index = lines().model()->index(row, column);
    lines().setCurrentIndex(index);
    lines().edit(index);
    auto* editor = lines().findChild<QLineEdit*>();
    editor->selectAll();
    QTest::keyClicks(editor, text);
    return editor;
  }

  /// Presses "发送" and answers the question by the button with that text; the question is told.
  QString send(const QString& answer) const {
    QString question;
    QTimer::singleShot(0, [&] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return;
      question = box->text();
      for (QAbstractButton* each : box->buttons()) {
        if (each->text() == answer) return each->click();
      }
      QTest::keyClick(box, Qt::Key_Return);
    });
    button(QStringLiteral("发送")).click();
    return question;
  }

  desk::CDesk m_desk;
  desk::CHostServices m_services{m_desk, desk::CHostServices::EClock::Live};
  CTestDraftHost m_host;
  QTemporaryDir m_folder;
  std::unique_ptr<preview::CDraftStore> m_pStore;
  std::unique_ptr<preview::CNewBasketWindow> m_pWindow;
};
