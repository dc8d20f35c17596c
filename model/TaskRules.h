/// The arithmetic of a task that needs no task: values in, values out. Any thread.
#pragma once

#include <QString>
#include <QTime>

#include "ksservice/CTaskDetail.h"
#include "ksservice/Enumerations.h"
#include "tc/CTradeClient.h"

namespace TC {

/// From here on a task identifier takes its keys from the command record.
constexpr int FIRST_COMMAND_KEYED_TASK = 100000;

/// Whether an amount or a price is 0 for all that matters (tolerance 1e-5).
bool isZero(double value);

/// Target amount, CNY, estimated from what was traded; tradedVolume must not be 0.
double estimateAmount(long long targetVolume, double tradedAmount, long long tradedVolume);

/// The volume of a parameter as it counts in sums: none where the host left it unset.
int setVolume(const ksservice::CCodeOrderParam& param);

/// Time of day, in the host's zone, of seconds since the epoch.
QTime timeOfDay(int seconds);

/// Adds a display id to ids joined by "/", unless it is one of them already.
QString joinAccount(const QString& accounts, const QString& displayId);

/// Orders task identifiers as numbers: the shorter comes first, then the smaller text.
bool basketTaskIdLessThan(const QString& a, const QString& b);

/// Turns "HGT", or else "SGT", into "HK" wherever it stands in a row key, so that orders that go through a connect
/// market find the rows of their Hong Kong instruments. A key with both keeps its "SGT": that is intended.
void replaceMarketToHK(QString& key);

/// The parameter that an order of a server task's progress belongs to; null when there is none.
const ksservice::CCodeOrderParam* paramOf(const ksservice::CTaskDetail& detail, const CProgressOrder& order);

/// What a task's status follows from. The four of "details" hold for no task without details.
struct SStatusFacts {
  bool anyDropped = false;
  bool allFinished = false;  ///< every detail is finished
  bool allEnded = false;     ///< every detail is finished, cancelled or in error
  bool anyPaused = false;
  bool hedgeEnabled = false;
  bool hasHedgeRow = false;
  bool hedgeRowFinished = false;
  int hedgeRowStatus = 0;
  int hedgeState = 0;  ///< EHedgeState, as the hedge manager reports it
};

struct SStatusVerdict {
  ksservice::ETaskStatus status = ksservice::ETS_Running;
  bool hedgeRowRuns = false;  ///< running only because of the hedge row
  bool ended = false;         ///< the details have ended, and the hedge may begin
};

SStatusVerdict deriveStatus(const SStatusFacts& facts);

/// Adds one detail's status to the facts; first: it is the first that is added.
void addDetailStatus(SStatusFacts& facts, int status, bool first);

}  // namespace TC
