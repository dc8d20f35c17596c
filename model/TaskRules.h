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

/// The parameter that an order of a server task's progress belongs to.
struct SProgressParam {
  const ksservice::CCodeOrderParam* param = nullptr;  ///< null when there is none, or when it has no operation
  bool told = false;                                  ///< by its index; else it is the first that fits
};
/// The index counts where it names a parameter of the order's instrument (through whatever connect market); else the
/// first parameter of that instrument with an operation, else the one that the index names.
SProgressParam paramOf(const ksservice::CTaskDetail& detail, const CProgressOrder& order);
/// Whether both are the same instrument, a connect market being Hong Kong's.
bool isSameInstrument(const std::string& market, const std::string& code, const ksservice::CStockInfo& stock);

/// Whether nothing more is sent for a detail of this ETaskStatus. Orders that it has in the market may still fill.
bool hasEnded(int status);

}  // namespace TC
