#pragma once

#include <QObject>

#include "ksservice/CBasketHedgeParam.h"

namespace TC {

/// States of a hedge as the manager reports them.
enum EHedgeState : int { EHS_None = 0, EHS_Paused = 1, EHS_Running = 3 };

/// Places futures orders against baskets; a hedge is known by its basket's group identifier.
/// The operations may be called on any thread; the signals are emitted on the GUI thread.
class CBasketHedgeManager : public QObject {
  Q_OBJECT

 public:
  virtual int status(int groupId) const = 0;
  /// True, and param filled, when a command has hedge parameters that were not started yet.
  virtual bool getHedgeParam(int commandId, ksservice::CBasketHedgeParam& param) const = 0;
  virtual void setParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) = 0;
  /// The parameters that the group's hedge was given last; false when it was given none.
  virtual bool getItem(int groupId, ksservice::CBasketHedgeParam& param) const = 0;
  /// Starts the hedge with the parameters that were set, or lets a paused one go on.
  virtual void startHedge(int groupId) = 0;
  virtual void pauseHedge(int groupId) = 0;
  /// Ends the hedge and cancels what it still has in the market.
  virtual void stopHedge(int groupId) = 0;

 Q_SIGNALS:
  /// The target of a task's hedge in lots.
  void sigHedgeVolume(int taskId, int volume);
  /// The hedge of a task stopped at its limit of orders.
  void sigHedgeStatus(int taskId, int status);
};

}  // namespace TC
