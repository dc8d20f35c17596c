// What a session has to do with the day that it keeps.
#include <QCoreApplication>
#include <QProcess>
#include <QThread>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "CLiveSession.h"
#include "SessionSetup.h"
#include "gv/CUiResource.h"
#include "tc/ITradeDockableWidget.h"

namespace app {

/// A day that was begun stands where its log ends, before anybody looks. False when it cannot.
bool CLiveSession::goOn(const std::function<bool(std::int64_t)>& progress) {
  // The first entry says how the day began; what was not kept behind it may still have let the clock go on.
  m_bGoesOn = m_pDay && (m_pDay->entries().size() > 1 || !m_pDay->marks().empty());
  if (!m_bGoesOn) return true;
  SAgain again;
  again.m_pOutputs = m_pDayOutputs.get();
  again.m_progress = progress;
  again.m_onNew = [this](daylog::SMark mark) { m_pKeeper->mark(std::move(mark)); };
  m_strFault = runAgain(*m_pDay, *m_pSimulation, m_desk, again);
  if (!m_strFault.empty()) return false;
  m_desk.setNow(tradingDayStart() + m_pSimulation->now() / 1000);
  m_pLog->append(m_pSimulation->now(), QStringLiteral("继续已开始的交易日"), CLogDock::ELevel::Info);
  // Refused when the day began, in words; hours later nobody may expect their orders.
  const auto isBasket = [](const daylog::SEntry& entry) { return entry.m_strKind == "basket"; };
  if (!m_options.m_baskets.empty() && std::none_of(m_pDay->entries().begin(), m_pDay->entries().end(), isBasket)) {
    m_pLog->append(m_pSimulation->now(), QStringLiteral("开始时的篮子没有写入日志，未执行，请重新发送"),
                   CLogDock::ELevel::Warning);
  }
  return true;
}

void CLiveSession::keepDay() {
  if (!m_pDay) return;
  m_pThread->setKeeper(m_pKeeper.get());
  m_pSimulation->setSecondHook([this](std::int64_t msec, std::uint64_t hash) {
    m_pKeeper->mark({msec, hash, m_pDayOutputs->take(msec)});
  });
  if (!m_options.m_bHeadless) m_window.offerLookBack([this] { lookBack(std::nullopt); });
}

/// A patch is kept with the figures on which it was confirmed: the panel asks on the GUI thread and has them then.
void CLiveSession::addProof(engine::Act& act) {
  auto* create = std::get_if<engine::SCreateTask>(&act);
  if (create && m_pDay && m_pPanel && QThread::currentThread() == thread()) {
    const QByteArray explained = m_pPanel->explain(create->m_request.m_nTaskId, QString());
    const nlohmann::json document = nlohmann::json::parse(explained.toStdString(), nullptr, false);
    if (document.is_object() && document.contains("patch")) create->m_strProof = document["patch"].dump();
  }
}

/// What the panel says stands at once; what the day says behind it is read.
void CLiveSession::explain(int taskId, const QString& node, const SDockSources::Explained& answer) {
  const QByteArray explained = m_pPanel->explain(taskId, node);
  if (m_pDay && !m_pDayReader) {
    SWhySources sources;
    sources.m_nDayStart = tradingDayStart();
    sources.m_limits = m_options.m_orderLimits;
    m_pDayReader = std::make_unique<CDayReader>(m_options.m_strDay, sources);
  }
  if (m_pDayReader) return m_pDayReader->explain(explained, m_pThread->now(), answer);
  answer(whyFacts(explained, {}));
}

/// In a process of its own, which only reads.
void CLiveSession::lookBack(std::optional<std::int64_t> at) {
  QStringList words{QStringLiteral("day"),       QString::fromStdString(m_options.m_strDay),
                    QStringLiteral("--theme"),   GV::CUiResource::theme(),
                    QStringLiteral("--palette"), GV::CUiResource::sidePalette()};
  if (m_options.m_nScalePercent) words << QStringLiteral("--scale") << QString::number(*m_options.m_nScalePercent);
  // A moment is asked for in whole seconds: what has happened then is to show.
  if (at) words << QStringLiteral("--at") << timeOfDayText((*at + 999) / 1000 * 1000);
  if (QProcess::startDetached(QCoreApplication::applicationFilePath(), words)) return;
  m_pLog->append(m_pThread->now(), QStringLiteral("回看无法启动"), CLogDock::ELevel::Warning);
}

}  // namespace app
