#pragma once

#include <QMap>
#include <QString>
#include <string>

#include "ksservice/CTaskDetail.h"

namespace TC {

/// The details by which a task was made, and the server tasks among all its details.
class COwnDetails {
 public:
  using DetailMap = QMap<std::string, ksservice::CTaskDetailPtr>;

  /// Takes a new state of a detail; one without parameters tells of its command and its server task alone. Gives what
  /// the rows say that a server's algorithm trades.
  QString take(const ksservice::CTaskDetailPtr& detail);
  /// Takes a state that replaces one that was taken.
  void replace(const ksservice::CTaskDetailPtr& detail);
  /// A detail of the task or of one of its patches, by the key of its progress where it runs on the server.
  void takeServerTask(const ksservice::CTaskDetailPtr& detail);

  /// By key.
  const DetailMap& all() const { return m_details; }
  bool knows(const std::string& key) const { return m_details.contains(key); }
  /// Null for an unknown key.
  ksservice::CTaskDetailPtr find(const std::string& key) const { return m_details.value(key); }
  /// Null for an unknown key. progressKey: see progressKeyOf.
  const ksservice::CTaskDetailPtr* serverTask(const std::string& progressKey) const;

  bool isReached() const { return m_bReached; }
  const QString& basketName() const { return m_strBasketName; }
  int traderType() const { return m_nTraderType; }
  /// Whether the first of the details runs on the server.
  bool isServerRun() const;
  /// The algorithm parameters of the command, as the host wrote them; empty without a command.
  QString algoParams() const;
  /// What the rows say that a server's algorithm trades: the algorithm's instance, else what the detail says.
  QString algorithmRemark(const ksservice::CTaskDetail& detail) const;

  /// The key under which the server's progress queries know a detail.
  static std::string progressKeyOf(const ksservice::CTaskDetail& detail);

 private:
  DetailMap m_details;
  DetailMap m_serverTasks;  ///< by the key of their progress
  QString m_strBasketName;
  int m_nTraderType = 0;  ///< EMavTraderType of the command
  bool m_bReached = false;
};

}  // namespace TC
