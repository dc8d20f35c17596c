#include "past/CDayReader.h"

#include <QRunnable>
#include <exception>
#include <limits>
#include <utility>

namespace app {

CDayReader::CDayReader(std::string file, const SWhySources& sources) : m_strFile(std::move(file)), m_sources(sources) {
  m_pool.setMaxThreadCount(1);
}

CDayReader::~CDayReader() {
  m_pool.clear();
  m_pool.waitForDone();
}

void CDayReader::explain(const QByteArray& explanation, std::int64_t now, Answer answer) {
  m_pool.start(QRunnable::create([this, explanation, now, answer = std::move(answer)] {
    std::vector<SWhyFact> facts = read(explanation, now);
    QMetaObject::invokeMethod(
        this, [answer, facts = std::move(facts)] { answer(facts); }, Qt::QueuedConnection);
  }));
}

std::vector<SWhyFact> CDayReader::read(const QByteArray& explanation, std::int64_t now) {
  SWhySources sources = m_sources;
  sources.m_nNow = now;
  std::string fault;
  try {
    if (!m_pLog) {
      daylog::SOpenedDay day = daylog::readDay(m_strFile);
      m_pLog = std::move(day.m_pLog);
      fault = day.m_strFault;
    } else {
      fault = m_pLog->follow();
    }
    if (m_pLog) m_day.read(*m_pLog, std::numeric_limits<std::size_t>::max() / 2);
  } catch (const std::exception& error) {
    fault = error.what();
  }
  if (m_pLog && fault.empty()) {
    sources.m_pLog = m_pLog.get();
    sources.m_pDay = &m_day;
  }
  std::vector<SWhyFact> facts = whyFacts(explanation, sources);
  if (!fault.empty()) facts.push_back({0, QStringLiteral("日志无法读取：") + QString::fromStdString(fault)});
  return facts;
}

}  // namespace app
