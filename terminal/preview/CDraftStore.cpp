#include "CDraftStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <algorithm>

#include "DraftJson.h"

namespace preview {
namespace {

const char DESK_FILE[] = "desk.json";
const char DRAFT_SUFFIX[] = ".draft.json";
const char SENT_KEY[] = "sent";

QJsonObject readObject(const QString& name) {
  QFile file(name);
  return file.open(QIODevice::ReadOnly) ? parseObject(file.readAll()) : QJsonObject();
}

bool writeObject(const QString& name, const QJsonObject& object) {
  if (!QDir().mkpath(QFileInfo(name).absolutePath())) return false;
  QSaveFile file(name);
  if (!file.open(QIODevice::WriteOnly)) return false;
  file.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
  return file.commit();
}

}  // namespace

CDraftStore::CDraftStore(QString folder) : m_strFolder(std::move(folder)) {
  m_writer.setMaxThreadCount(1);
  if (m_strFolder.isEmpty()) return;
  m_desk = readObject(m_strFolder + QLatin1Char('/') + QLatin1String(DESK_FILE));
  trim();
}

QString CDraftStore::fileOf(const QString& id) const {
  return m_strFolder + QLatin1Char('/') + id + QLatin1String(DRAFT_SUFFIX);
}

std::vector<SKeptDraft> CDraftStore::list() const {
  std::vector<SKeptDraft> kept;
  if (m_strFolder.isEmpty()) return kept;
  const QString suffix = QLatin1String(DRAFT_SUFFIX);
  for (const QFileInfo& file : QDir(m_strFolder).entryInfoList({QLatin1Char('*') + suffix}, QDir::Files, QDir::Time)) {
    const QJsonObject json = readObject(file.filePath());
    if (json.isEmpty()) continue;
    kept.push_back({file.fileName().chopped(suffix.size()), json.value(QLatin1String("name")).toString(),
                    file.lastModified(), json.value(QLatin1String("lines")).toArray().size(),
                    json.value(QLatin1String(SENT_KEY)).toBool()});
  }
  return kept;
}

std::optional<SDraftState> CDraftStore::load(const QString& id) const {
  const QJsonObject json = m_strFolder.isEmpty() ? QJsonObject() : readObject(fileOf(id));
  return json.isEmpty() ? std::nullopt : std::optional(draftOf(json));
}

QString CDraftStore::newId() {
  const QString stem = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
  QString id = stem;
  for (int number = 2; m_given.contains(id) || QFileInfo::exists(fileOf(id)); ++number) {
    id = stem + QStringLiteral("-%1").arg(number);
  }
  m_given.insert(id);
  return id;
}

void CDraftStore::save(const QString& id, const SDraftState& state, bool sent) {
  if (m_strFolder.isEmpty()) return;
  const QString file = fileOf(id);
  m_writer.start([this, file, state, sent] {
    QJsonObject json = toJson(state);
    json[QLatin1String(SENT_KEY)] = sent;
    m_bFailed = !writeObject(file, json);
  });
}

void CDraftStore::finish() { m_writer.waitForDone(); }

void CDraftStore::trim() {
  int drafts = 0;
  int sent = 0;
  for (const SKeptDraft& each : list()) {
    if (++(each.m_bSent ? sent : drafts) > MOST_KEPT) remove(each.m_strId);
  }
}

void CDraftStore::remove(const QString& id) {
  if (m_strFolder.isEmpty()) return;
  m_writer.start([file = fileOf(id)] { QFile::remove(file); });
}

QStringList CDraftStore::names(const char* section) const {
  return m_desk.value(QLatin1String(section)).toObject().keys();
}

QJsonObject CDraftStore::get(const char* section, const QString& key) const {
  return m_desk.value(QLatin1String(section)).toObject().value(key).toObject();
}

void CDraftStore::put(const char* section, const QString& key, const QJsonObject& value) {
  QJsonObject entries = m_desk.value(QLatin1String(section)).toObject();
  entries[key] = value;
  m_desk[QLatin1String(section)] = entries;
  if (!m_strFolder.isEmpty()) writeObject(m_strFolder + QLatin1Char('/') + QLatin1String(DESK_FILE), m_desk);
}

std::optional<basket::SLayout> CDraftStore::layoutFor(const std::string& titles) const {
  const QJsonObject json = get("layouts", QString::fromStdString(titles));
  return json.isEmpty() ? std::nullopt : std::optional(layoutOf(json));
}

void CDraftStore::rememberLayout(const basket::SLayout& layout) {
  put("layouts", QString::fromStdString(layout.key()), toJson(layout));
}

SDealChoice CDraftStore::deal(const QString& name) const { return dealOf(get("deals", name)); }

void CDraftStore::saveDeal(const QString& name, const SDealChoice& deal) { put("deals", name, toJson(deal)); }

basket::SLayout CDraftStore::layout(const QString& name) const { return layoutOf(get("namedLayouts", name)); }

void CDraftStore::saveLayout(const QString& name, const basket::SLayout& layout) {
  put("namedLayouts", name, toJson(layout));
}

draft::SLimits CDraftStore::limits() const { return limitsOf(get("limits", QStringLiteral("last"))); }

void CDraftStore::saveLimits(const draft::SLimits& limits) { put("limits", QStringLiteral("last"), toJson(limits)); }

}  // namespace preview
