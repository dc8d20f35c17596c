// The feed: what the host delivers, classified and filed. Any thread unless said otherwise.
#include <boost/pointer_cast.hpp>

#include "CBasketTasksPanel.h"
#include "ksservice/TraderCenter.h"
#include "tc/CMsgService.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "utils/Guarded.h"
#include "utils/Log.h"

namespace TC {

void CBasketTasksPanel::onTaskDetail(const boost::shared_ptr<ksservice::IData>& record) {
  const auto detail = boost::dynamic_pointer_cast<ksservice::CTaskDetail>(record);
  if (!detail) return;
  if (utils::CLogCenter::instance().isDebugEnabled()) {
    utils::CLogCenter::instance().debug("CBasketTasksPanel::onTaskDetail : " + detail->toString());
  }
  utils::guarded("CBasketTasksPanel::onTaskDetail", detail->getKey(), [&] { take(detail); });
}

void CBasketTasksPanel::take(const ksservice::CTaskDetailPtr& detail) {
  // A day may begin, of another trader type perhaps, while the detail is looked at.
  unsigned day = 0;
  do {
    day = m_caches.day();
    if (!isOwn(*detail)) return;
  } while (!m_caches.store(detail, EDetailWay::Feed, day));
  announceError(*detail);
}

bool CBasketTasksPanel::isOwn(const ksservice::CTaskDetail& detail) const {
  const auto& command = detail.m_pCommand;
  if (!command || command->m_nTraderType != m_nTraderType.load()) return false;
  if (command->m_strLogin != ksservice::TraderCenter::instance().getDataCenter().loginIdentity()) return false;
  return detail.m_bServerTask || command->m_strUser == getUserConfig().userName();
}

void CBasketTasksPanel::announceError(const ksservice::CTaskDetail& detail) {
  {
    const std::lock_guard<std::mutex> lock(m_announcedMutex);
    if (detail.m_nStatus != ksservice::ETS_ExecutionError) {
      m_announced.erase(detail.getKey());
      return;
    }
    if (!m_announced[detail.getKey()].insert(detail.m_strMessage).second) return;
  }
  const QString text =
      QStringLiteral("任务 [%1] 执行异常, %2")
          .arg(QString::number(detail.m_pCommand->m_nTaskId), QString::fromStdString(detail.m_strMessage));
  getMsgService().showMsg(text, EMK_TaskError);
}

void CBasketTasksPanel::deliverTaskDetail(const ksservice::CTaskDetailPtr& detail) { Q_EMIT sigTaskDetail(detail); }

void CBasketTasksPanel::slotTaskDetail(ksservice::CTaskDetailPtr detail) {
  if (!detail) return;
  m_caches.store(detail, EDetailWay::Signal, m_caches.day());
  utils::logInfo(this, "CBasketTasksPanel::slotTaskDetail",
                 "[baskettask] slotTaskDetail key: %1%, businiss num: %2%, status: %3%, msg: %4%, endTime: %5%",
                 detail->m_nNumber, detail->m_nBusinessNumber, detail->m_nStatus, detail->m_strMessage,
                 detail->m_nEndTime);
}

}  // namespace TC
