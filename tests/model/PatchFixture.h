#pragma once

#include <QCoreApplication>
#include <mutex>

#include "CBasketPatchWidget.h"
#include "TaskFixture.h"
#include "gv/CCommonDialog.h"
#include "gv/CMessageBox.h"
#include "ksservice/Operations.h"

/// A task whose signals, message boxes and dialogs are written down as they come, and what the host was asked for.
class CPatchTaskTest : public CTaskTest {
 public:
  ~CPatchTaskTest() override {
    GV::CMessageBox::setPresenter({});
    GV::CCommonDialog::setExecHook({});
  }

 protected:
  using Answer = TC::OrderProcessMap;

  CPatchTaskTest() {
    host.setAccount(*mainAccount);
    host.setAccount(*secondAccount);
    host.desk().setNow(1763683200);
    instrument("SH", "600000", 100);
    instrument("SZ", "000001", 100);
    host.setCommand(command);
    listen();
    TC::CBasketPatchDialog::install();
    inDialog(press());
  }

  void instrument(const std::string& market, const std::string& code, int unit, std::vector<int> types = {}) {
    TC::CCodeInfo info = testkit::makeInstrument(market, code, unit);
    info.m_strName = "名称" + code;
    info.m_types = std::move(types);
    host.desk().setInstrument(info);
    TC::CQuote quote;
    quote.m_dLast = quote.m_dCalc = quote.m_dOrder = 10;
    quote.m_dBid = 9.9;
    quote.m_dAsk = 10.1;
    host.desk().setQuote(market, code, quote);
  }

  /// What was announced, shown and told since the last call, in order, one item a line.
  std::string takeEvents() {
    QCoreApplication::processEvents();
    const std::lock_guard<std::mutex> lock(m_eventsMutex);
    return std::exchange(m_events, {});
  }
  /// Any thread.
  void say(const std::string& text) {
    const std::lock_guard<std::mutex> lock(m_eventsMutex);
    m_events += text + "\n";
  }

  /// The host's calls since the last call: "local 123@A1", "server 123-1", "pause 123@A1", "hedge stop 123".
  std::string takeSends() {
    std::string text;
    for (const auto& call : host.takeCalls()) text += nameOf(call) + "\n";
    return text;
  }
  static std::string nameOf(const testkit::CTestHost::SCall& call) {
    static const char* const KINDS[] = {"local ", "pause ", "resume ", "server ", "hedge pause ", "hedge stop "};
    const std::string kind = KINDS[static_cast<int>(call.kind)];
    if (call.kind == testkit::CTestHost::ECall::OperateServer) return kind + call.key;
    return kind + std::to_string(call.id) + (call.key.empty() ? "" : "@" + call.key);
  }

  ksservice::CCodeOrderParam buyLine(int volume) const {
    return param(mainAccount, "SH", "600000", ksservice::EOT_Buy, volume, 10);
  }
  ksservice::CCodeOrderParam sellLine(int volume) const {
    return param(mainAccount, "SZ", "000001", ksservice::EOT_Sell, volume, 10);
  }

  void addHedge(int lots) {
    host.setAccount(*futuresAccount);
    task.setHedgeParam(hedgeParam(lots), false);
    takeEvents();
  }

  /// The task's detail 1, cancelled, with so much of its 1000 bought and of its 500 sold.
  DetailPtr cancelled(int bought, int sold) const {
    DetailPtr made = twoLines();
    made->m_nStatus = ksservice::ETS_Cancelled;
    made->m_orders = {ended(buy("o1", 1000, bought, bought * 10)), ended(sell("o2", 500, sold))};
    return made;
  }
  /// What it makes the task say is no part of the test.
  void given(const DetailPtr& made) {
    update(made);
    takeEvents();
  }
  void deliverPatch(DetailPtr made) {
    host.store(made);
    task.updatePatch(made);
  }

  /// "SH.600000买入 500" of each line that calcAvailable offers of the account.
  std::string available(const Answer& finished = {}, const QString& accountKey = "A1") {
    std::vector<ksservice::CCodeOrderParam> out;
    for (TC::CBasketTaskItem* item : task.getStockDetailMap(accountKey)) {
      task.calcAvailable(item, accountKey == "A1" ? mainAccount : secondAccount, out, accountKey, finished);
    }
    std::string text;
    for (const auto& line : out) text += line.getKey() + " " + std::to_string(line.m_nVolume) + "\n";
    return text;
  }

  /// What the user does in each dialog that opens.
  void inDialog(std::function<void(GV::CCommonDialog&)> acts) {
    GV::CCommonDialog::setExecHook([this, acts = std::move(acts)](GV::CCommonDialog& dialog) {
      std::string rows;
      for (const GV::SDialogRow& shown : dialog.state().rows)
        rows += " " + (shown.key + "=" + shown.editor).toStdString();
      say("dialog" + rows);
      acts(dialog);
    });
  }
  /// Without a button the dialog is closed.
  static std::function<void(GV::CCommonDialog&)> press(const QString& button = {}) {
    return [button](GV::CCommonDialog& dialog) {
      if (button.isEmpty()) return dialog.closeByUser();
      EXPECT_EQ(dialog.press(button), "");
    };
  }

  ksservice::COrderCommand command = *detail()->m_pCommand;

 private:
  void listen() {
    QObject::connect(&task, &TC::CBasketTask::sigTaskStatus, [this](const QString& key, int status, int type) {
      say("status " + key.toStdString() + " " + std::to_string(status) + " " + std::to_string(type));
    });
    QObject::connect(&task, &TC::CBasketTask::sigOperationEnded,
                     [this](const QString& key) { say("ended " + key.toStdString()); });
    QObject::connect(&task, &TC::CBasketTask::sigPatchCreateTask,
                     [this](const QString& lines) { say("basket " + lines.toStdString()); });
    QObject::connect(&task, &TC::CBasketTask::sigShowOperateOrbTaskError, &task,
                     &TC::CBasketTask::slotShowOperateOrbTaskError, Qt::QueuedConnection);
    GV::CMessageBox::setPresenter([this](QWidget*, const QString& title, const QString& text) {
      say("box " + title.toStdString() + "|" + text.toStdString());
    });
  }

  std::mutex m_eventsMutex;
  std::string m_events;
};
