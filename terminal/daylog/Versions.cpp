#include "Versions.h"

namespace daylog {
namespace {

/// What a version added to the tables of those before.
struct SVersion {
  std::int64_t m_nVersion;
  std::vector<const char*> m_tables;
};
const std::vector<SVersion>& versions() {
  static const std::vector<SVersion> VERSIONS{
      {1,
       {"CREATE TABLE day (identifier TEXT NOT NULL)",
        R"(CREATE TABLE entries (number INTEGER PRIMARY KEY, msec INTEGER NOT NULL, kind TEXT NOT NULL, body TEXT NOT NULL,
                      hash BLOB NOT NULL))",
        "CREATE TABLE marks (number INTEGER PRIMARY KEY, msec INTEGER NOT NULL, state INTEGER NOT NULL, hash BLOB NOT "
        "NULL)"}},
      {2,
       {"CREATE TABLE outputs (number INTEGER PRIMARY KEY, body TEXT NOT NULL)",
        R"(CREATE VIEW tasks AS SELECT t.value ->> 'at' AS msec, t.value ->> 'key' AS task, t.value ->> 'status' AS status,
  t.value ->> 'message' AS message FROM outputs AS o, json_each(o.body, '$.tasks') AS t)",
        R"(CREATE VIEW orders AS SELECT t.value ->> 'key' AS task, s.value ->> 0 AS number, s.value ->> 1 AS market,
  s.value ->> 2 AS code, s.value ->> 3 AS operation, s.value ->> 4 AS volume, s.value ->> 5 AS price,
  s.value ->> 6 AS sent FROM outputs AS o, json_each(o.body, '$.tasks') AS t, json_each(t.value, '$.sent') AS s)",
        R"(CREATE VIEW reports AS SELECT t.value ->> 'at' AS msec, t.value ->> 'key' AS task, r.value ->> 0 AS number,
  r.value ->> 1 AS traded, r.value ->> 2 AS amount, r.value ->> 3 AS state, r.value ->> 4 AS message
  FROM outputs AS o, json_each(o.body, '$.tasks') AS t, json_each(t.value, '$.orders') AS r)",
        R"(CREATE VIEW fills AS SELECT t.value ->> 'key' AS task, f.value ->> 0 AS number, f.value ->> 1 AS at,
  f.value ->> 2 AS volume, f.value ->> 3 AS amount
  FROM outputs AS o, json_each(o.body, '$.tasks') AS t, json_each(t.value, '$.fills') AS f)",
        R"(CREATE VIEW messages AS SELECT m.value ->> 0 AS msec, m.value ->> 1 AS warning, m.value ->> 2 AS text
  FROM outputs AS o, json_each(o.body, '$.log') AS m)"}}};
  return VERSIONS;
}

}  // namespace

std::int64_t newestVersion() { return versions().back().m_nVersion; }

std::vector<std::string> tablesOf(std::int64_t version) {
  std::vector<std::string> tables;
  for (const SVersion& each : versions()) {
    if (each.m_nVersion <= version) tables.insert(tables.end(), each.m_tables.begin(), each.m_tables.end());
  }
  return tables;
}

std::int64_t versionOf(CDatabase& database) {
  std::int64_t application = 0;
  std::int64_t version = 0;
  bool empty = false;
  try {
    application = database.number("PRAGMA application_id");
    version = database.number("PRAGMA user_version");
    empty = database.number("SELECT count(*) FROM sqlite_master") == 0;
  } catch (const CFault&) {
    throw CFault("is no day file, or cannot be read");
  }
  if (empty && application == 0) return 0;
  if (application != APPLICATION_ID || version < 1) throw CFault("is no day file");
  if (version > newestVersion()) {
    throw CFault("was written by a newer terminal: its version is " + std::to_string(version) + ", this one reads " +
                 std::to_string(newestVersion()));
  }
  return version;
}

}  // namespace daylog
