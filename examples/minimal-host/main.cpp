// A terminal around the panel, as small as can be: one account, and one task that buys two securities until its user
// presses "撤销". What the panel asks for is printed.
#include <QApplication>
#include <QDateTime>
#include <QDockWidget>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QSettings>
#include <QTimer>
#include <boost/make_shared.hpp>
#include <iostream>
#include <map>
#include <mutex>

#include "gv/CUiResource.h"
#include "ksservice/CSubscribers.h"
#include "ksservice/TraderCenter.h"
#include "tc/CExchangeClient.h"
#include "tc/CPlainServices.h"
#include "tc/CQuoteClient.h"
#include "tc/ITradeDockableWidget.h"
#include "tc/PanelPlugin.h"

using namespace ksservice;
using Account = boost::shared_ptr<const CAccountInfo>;

const std::map<std::string, std::pair<const char*, double>> LISTED{{"600000", {"浦发银行", 14.0}},
                                                                   {"600519", {"贵州茅台", 1460.0}}};

/// Details and commands. The panel's worker reads them while the GUI thread delivers.
class CData : public IDataCenter {
 public:
  void deliver(const CTaskDetailPtr& detail) {
    {
      const std::lock_guard<std::mutex> lock(m_mutex);
      m_details[detail->getKey()] = detail;
    }
    m_subscribers.deliver(detail);
  }
  utils::CSubscriptionHandle subscribe(int dataType, DataCallback callback) override {
    if (dataType == DATA_TYPE_TASK_DETAIL) return m_subscribers.add(std::move(callback));
    return CSubscribers().add(std::move(callback));  // nothing of another type is told
  }
  CTaskDetailPtr taskDetail(const std::string& key) const override {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_details.find(key);
    return found == m_details.end() ? nullptr : found->second;
  }
  std::vector<CTaskDetailPtr> taskDetails() const override {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<CTaskDetailPtr> all;
    for (const auto& [key, detail] : m_details) all.push_back(detail);
    return all;
  }
  std::string loginIdentity() const override { return "L1"; }
  int commandNumber(int) const override { return 0; }
  COrderDetailPtr orderDetail(const CMavOrderTag&) const override { return nullptr; }
  void updateData(const CTaskDetailPtr& detail) override {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_details[detail->getKey()] = detail;
  }

 private:
  mutable std::mutex m_mutex;
  std::map<std::string, CTaskDetailPtr> m_details;
  CSubscribers m_subscribers;
};

/// Instruments, quotes, and the tasks' operations.
struct SRest : ITaskCenter, TC::CExchangeClient, TC::CQuoteClient {
  explicit SRest(CData& data) : m_data(data) {}
  void operateTask(const boost::shared_ptr<const CTaskOpRecord>& record, int taskId, const Account& account) override {
    std::cout << "operate task " << taskId << " of " << account->getKey() << ": " << record->m_nOperation << std::endl;
    if (record->m_nOperation != ETO_Cancel) return;
    // What came of it is said by a new detail, from another call.
    QTimer::singleShot(300, qApp, [this, taskId] {
      const auto detail = boost::make_shared<CTaskDetail>(*m_data.taskDetail(CTaskDetail::genKey(taskId, 1)));
      detail->m_nStatus = ETS_Cancelled;
      detail->m_nEndTime = int(QDateTime::currentSecsSinceEpoch());
      m_data.deliver(detail);
    });
  }
  void pauseTask(int, const Account&) override {}
  void resumeTask(int, const Account&) override {}
  boost::shared_ptr<const TC::CCodeInfo> getCodeInfo(const std::string&, const std::string& code) const override {
    const auto found = LISTED.find(code);
    if (found == LISTED.end()) return nullptr;
    auto info = boost::make_shared<TC::CCodeInfo>();
    info->m_strMarket = "SH";
    info->m_strCode = code;
    info->m_strName = found->second.first;
    info->m_nTradeMinUnit = info->m_nUiMinUnit = 100;
    return info;
  }
  bool getQuote(const std::string&, const std::string& code, TC::CQuote& quote) const override {
    const auto found = LISTED.find(code);
    if (found != LISTED.end()) quote.m_dLast = quote.m_dCalc = quote.m_dOrder = found->second.second;
    return found != LISTED.end();
  }
  CData& m_data;
};

CTaskDetailPtr makeTask(const Account& account) {
  auto command = boost::make_shared<COrderCommand>();
  command->m_nCommandId = command->m_nTaskId = 1;
  command->m_nTraderType = EMTT_Stock;
  command->m_strUser = "u1";
  command->m_strLogin = "L1";
  command->m_nBasketType = ECBT_Basket;
  command->m_strBasketName = "示例篮子";
  auto detail = boost::make_shared<CTaskDetail>();
  detail->m_strKey = CTaskDetail::genKey(1, 1);
  detail->m_nTaskId = detail->m_nNumber = 1;
  detail->m_nStatus = ETS_Running;
  detail->m_nStartTime = int(QDateTime::currentSecsSinceEpoch());
  detail->m_pCommand = command;
  for (const auto& [code, listed] : LISTED) {
    CCodeOrderParam line;
    line.m_pAccount = account;
    line.m_nOperation = EOT_Buy;
    line.m_stock = {"SH", code, listed.first};
    line.m_dPrice = listed.second;
    line.m_nVolume = 1000;
    detail->m_params.push_back(line);
  }
  return detail;
}

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  GV::CUiResource::applyToApplication();
  CData data;
  SRest rest(data);
  const auto account = boost::make_shared<CAccountInfo>();
  account->m_strKey = "A1";
  account->m_strDisplayId = "1001";
  account->m_strName = "示例账户";
  TC::CPlainUserConfig user("u1", {account});
  const TC::CPlainServices plain;
  TC::SServices services = plain.services();
  services.dataCenter = &data;
  services.taskCenter = &rest;
  services.exchangeClient = &rest;
  services.quoteClient = &rest;
  services.userConfig = &user;
  TC::installServices(services);
  const TC::SPanelPlugin plugin = TC::loadPanel(PANEL);
  if (!plugin.m_pCreate) return std::cerr << plugin.m_strError.toStdString() << std::endl, 1;

  QSettings settings(QStringLiteral("MinimalHost"), QStringLiteral("MinimalHost"));
  {
    QMainWindow window;
    TC::ITradeDockableWidget* panel = plugin.m_pCreate(1, &window);
    auto* notes = new QPlainTextEdit(&window);
    for (auto [name, widget] : {std::pair<const char*, QWidget*>("panel", panel), {"notes", notes}}) {
      auto* dock = new QDockWidget(QString::fromLatin1(name), &window);
      dock->setObjectName(QString::fromLatin1(name));
      dock->setWidget(widget);
      window.addDockWidget(Qt::TopDockWidgetArea, dock, Qt::Vertical);
    }
    window.resize(1300, 600);
    window.restoreState(settings.value(QStringLiteral("window")).toByteArray());
    panel->setTradeType(EMTT_Stock);
    panel->setParam(settings.value(QStringLiteral("panel")).toString());
    panel->prepareActive();
    window.show();
    data.deliver(makeTask(account));
    QObject::connect(&application, &QApplication::lastWindowClosed, [&] {
      settings.setValue(QStringLiteral("window"), window.saveState());
      settings.setValue(QStringLiteral("panel"), panel->param());
    });
    QApplication::exec();
  }
  TC::installServices({});
  return 0;
}
