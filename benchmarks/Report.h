/// The results of a run, as a side-by-side table and as JSON.
#pragma once

#include <QString>
#include <QStringList>
#include <map>
#include <vector>

#include "Measure.h"

namespace bench {

/// Medians by work and subject at one size of the board, in the order in which they come.
class CReport {
 public:
  void setTitle(const QString& title) { m_title = title; }
  void add(const QString& work, const QString& subject, const SMedian& median);
  /// A value that is no duration, as bytes a row.
  void addValue(const QString& work, const QString& subject, double value, const QString& unit);

  /// Null for what was not measured.
  const SMedian* find(const QString& work, const QString& subject) const;
  bool isDuration(const QString& work, const QString& subject) const;
  const QStringList& works() const { return m_works; }
  const QStringList& subjects() const { return m_subjects; }

  QString table() const;
  QString json() const;

 private:
  struct SEntry {
    SMedian median;
    QString unit;
  };

  void put(const QString& work, const QString& subject, const SEntry& entry);
  QString cell(const QString& work, const QString& subject) const;

  QString m_title;
  QStringList m_works;
  QStringList m_subjects;
  std::map<std::pair<QString, QString>, SEntry> m_entries;
};

/// A text padded to a width in columns of a terminal.
QString padded(const QString& text, int width);

}  // namespace bench
