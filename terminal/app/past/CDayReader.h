#pragma once

#include <QByteArray>
#include <QObject>
#include <QThreadPool>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "past/WhyFacts.h"

namespace app {

/// Explains rows by a day that is being kept: reads its file beside whoever writes it, on a thread of its own. GUI
/// thread.
class CDayReader : public QObject {
  Q_OBJECT

 public:
  using Answer = std::function<void(const std::vector<SWhyFact>&)>;

  /// sources: without log and day.
  CDayReader(std::string file, const SWhySources& sources);
  /// Waits for what is being read.
  ~CDayReader() override;

  /// explanation: the panel's words; the moment: now, milliseconds since midnight. The answer comes on the GUI thread,
  /// not if this object has gone meanwhile. A day that cannot be read is told, and the panel's words stand alone.
  void explain(const QByteArray& explanation, std::int64_t now, Answer answer);

 private:
  std::vector<SWhyFact> read(const QByteArray& explanation, std::int64_t now);

  const std::string m_strFile;
  const SWhySources m_sources;
  QThreadPool m_pool;  ///< of one thread
  // That thread's.
  std::unique_ptr<daylog::IDayLog> m_pLog;
  CPastDay m_day;
};

}  // namespace app
