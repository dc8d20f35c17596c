#include "Report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace bench {
namespace {

const QString MILLISECONDS = QStringLiteral("ms");
constexpr int WORK_WIDTH = 42;
constexpr int CELL_WIDTH = 23;

QString number(double value) { return QString::number(value, 'f', value < 10 ? 2 : value < 100 ? 1 : 0); }

}  // namespace

QString padded(const QString& text, int width) { return text.leftJustified(width, QLatin1Char(' ')); }

void CReport::put(const QString& work, const QString& subject, const SEntry& entry) {
  if (!m_works.contains(work)) m_works.append(work);
  if (!m_subjects.contains(subject)) m_subjects.append(subject);
  m_entries[{work, subject}] = entry;
}

void CReport::add(const QString& work, const QString& subject, const SMedian& median) {
  put(work, subject, {median, MILLISECONDS});
}

void CReport::addValue(const QString& work, const QString& subject, double value, const QString& unit) {
  put(work, subject, {{value, value, 1, false}, unit});
}

const SMedian* CReport::find(const QString& work, const QString& subject) const {
  const auto found = m_entries.find({work, subject});
  return found == m_entries.end() ? nullptr : &found->second.median;
}

bool CReport::isDuration(const QString& work, const QString& subject) const {
  const auto found = m_entries.find({work, subject});
  return found != m_entries.end() && found->second.unit == MILLISECONDS;
}

QString CReport::cell(const QString& work, const QString& subject) const {
  const auto found = m_entries.find({work, subject});
  if (found == m_entries.end()) return QStringLiteral("-");
  const SEntry& entry = found->second;
  const QString unit = entry.unit == MILLISECONDS ? QString() : QLatin1Char(' ') + entry.unit;
  return (entry.median.capped ? QStringLiteral("capped at ") : QString()) + number(entry.median.cpu) + unit;
}

QString CReport::table() const {
  QString text = m_title + QLatin1Char('\n') + padded(QString(), WORK_WIDTH);
  for (const QString& subject : m_subjects) text += padded(subject, CELL_WIDTH);
  text += QLatin1Char('\n');
  for (const QString& work : m_works) {
    text += padded(work, WORK_WIDTH);
    for (const QString& subject : m_subjects) text += padded(cell(work, subject), CELL_WIDTH);
    text += QLatin1Char('\n');
  }
  return text;
}

QString CReport::json() const {
  nlohmann::ordered_json results = nlohmann::ordered_json::array();
  for (const QString& work : m_works) {
    for (const QString& subject : m_subjects) {
      const auto found = m_entries.find({work, subject});
      if (found == m_entries.end()) continue;
      const auto& [median, unit] = found->second;
      results.push_back({{"work", work.toStdString()},
                         {"subject", subject.toStdString()},
                         {"unit", unit.toStdString()},
                         {"cpu", median.cpu},
                         {"wall", median.wall},
                         {"runs", median.runs},
                         {"capped", median.capped}});
    }
  }
  return QString::fromStdString(nlohmann::ordered_json{{"title", m_title.toStdString()}, {"results", results}}.dump(1));
}

}  // namespace bench
