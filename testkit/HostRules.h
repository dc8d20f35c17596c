/// The rules of checkHost: one table, each with what it tries.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <functional>
#include <string>
#include <vector>

#include "CheckHost.h"

namespace testkit {

/// What one rule has to do with.
class CTrial {
 public:
  /// For what it must not do.
  static constexpr int WATCH_MSEC = 150;

  /// patience: milliseconds for what a host does later, on a thread of its own.
  CTrial(IHostDriver& driver, int patience) : m_driver(driver), m_nPatience(patience) {}

  IHostDriver& driver() { return m_driver; }
  /// Something of the host is not as it must be.
  void violate(const std::string& what) { m_found.push_back(what); }
  void expect(bool holds, const std::string& otherwise) {
    if (!holds) violate(otherwise);
  }
  const std::vector<std::string>& found() const { return m_found; }

  /// Handles events until it holds; false when it does not before long.
  bool waitFor(const std::function<bool()>& holds) const { return waitFor(holds, m_nPatience); }
  /// Handles events for a moment, in which nothing may happen.
  void watch() const {
    waitFor([] { return false; }, WATCH_MSEC);
  }
  /// A task of the check's own, with one line and one order; another one each time.
  static ksservice::CTaskDetailPtr makeTask();
  /// Another record of the same task, in which more has filled.
  static ksservice::CTaskDetailPtr makeNewer(const ksservice::CTaskDetail& task);
  /// Everything that the record says.
  static std::string textOf(const ksservice::CTaskDetail& detail);
  /// Gives it to the host and waits until it is kept.
  bool deliver(const ksservice::CTaskDetailPtr& detail);

  int patience() const { return m_nPatience; }

 private:
  bool waitFor(const std::function<bool()>& holds, int msec) const;

  IHostDriver& m_driver;
  int m_nPatience;
  std::vector<std::string> m_found;
};

struct STriedRule : SRule {
  void (*m_try)(CTrial& trial);
};

std::vector<STriedRule> dataRules();     ///< records, subscriptions, what is looked up
std::vector<STriedRule> requestRules();  ///< what the panel asks for, and answers
std::vector<STriedRule> clockRules();    ///< time, signals, threads
const std::vector<STriedRule>& triedRules();

/// What a host violates of one rule.
std::vector<SViolation> tryRule(const STriedRule& rule, IHostDriver& driver, int patience);

}  // namespace testkit
