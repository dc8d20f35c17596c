/// What a task has to tell: noted while its figures change, said when they stand.
#pragma once

#include <QString>
#include <vector>

namespace TC {

struct SNotice {
  enum EKind { Status, Orders };

  EKind kind;
  QString key;  ///< as the signal of the kind names a node
  int first;    ///< the status, or the orders
  int second;   ///< the order type, or the orders whose detail is known
};

/// In the order in which they are to be said.
class CNotices {
 public:
  void status(const QString& key, int status, int orderType) {
    m_list.push_back({SNotice::Status, key, status, orderType});
  }
  void orders(const QString& key, int count, int knownCount) {
    m_list.push_back({SNotice::Orders, key, count, knownCount});
  }
  const std::vector<SNotice>& list() const { return m_list; }

 private:
  std::vector<SNotice> m_list;
};

}  // namespace TC
