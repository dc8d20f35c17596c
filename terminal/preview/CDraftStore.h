#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QStringList>
#include <QThreadPool>
#include <atomic>
#include <optional>
#include <set>

#include "SDraftState.h"

namespace preview {

/// A draft that was kept.
struct SKeptDraft {
  QString m_strId;
  QString m_strName;
  QDateTime m_time;  ///< when it was written last
  int m_nLines = 0;
  bool m_bSent = false;
};

/// Keeps drafts and what was sent in a folder, one file each, written whole or not at all, so that a crash costs at
/// most what was typed in the last second; and beside them what the next draft starts from. A folder that cannot be
/// written keeps nothing. GUI thread.
class CDraftStore {
 public:
  /// Of drafts and of sent baskets this many are kept, the newest.
  static constexpr int MOST_KEPT = 50;

  /// An empty folder: nothing is kept.
  explicit CDraftStore(QString folder);
  ~CDraftStore() { finish(); }
  CDraftStore(const CDraftStore&) = delete;
  CDraftStore& operator=(const CDraftStore&) = delete;

  /// The newest first.
  std::vector<SKeptDraft> list() const;
  std::optional<SDraftState> load(const QString& id) const;
  /// An identifier under which nothing is kept, and that was not given before.
  QString newId();
  /// Writes on a thread of the store's own, in the order of the calls.
  void save(const QString& id, const SDraftState& state, bool sent);
  void remove(const QString& id);
  /// Returns when everything is written.
  void finish();
  /// Whether the last draft could not be written.
  bool hasFailed() const { return m_bFailed; }

  /// What the user chose for such titles before; none: nothing.
  std::optional<basket::SLayout> layoutFor(const std::string& titles) const;
  void rememberLayout(const basket::SLayout& layout);

  /// Ways to share out, and layouts, that were saved under a name.
  QStringList dealNames() const { return names("deals"); }
  SDealChoice deal(const QString& name) const;
  void saveDeal(const QString& name, const SDealChoice& deal);
  QStringList layoutNames() const { return names("namedLayouts"); }
  basket::SLayout layout(const QString& name) const;
  void saveLayout(const QString& name, const basket::SLayout& layout);

  draft::SLimits limits() const;
  void saveLimits(const draft::SLimits& limits);

 private:
  QString fileOf(const QString& id) const;
  QStringList names(const char* section) const;
  void put(const char* section, const QString& key, const QJsonObject& value);
  QJsonObject get(const char* section, const QString& key) const;
  void trim();

  QString m_strFolder;
  QThreadPool m_writer;       ///< of one thread
  std::set<QString> m_given;  ///< identifiers of which the files may not be written yet
  std::atomic<bool> m_bFailed{false};
  QJsonObject m_desk;  ///< what is kept beside the drafts, by section
};

}  // namespace preview
