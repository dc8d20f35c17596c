/// How a task tells what has changed. Only for CBasketTask's own sources.
#pragma once

#include "CBasketTask.h"
#include "Notices.h"

namespace TC {

/// Notices that are said when they go, in a lock's scope: when the figures stand, and also when the host fails on the
/// way, since what was changed by then will not be noticed again.
class CBasketTask::CSpeech : public CNotices {
 public:
  explicit CSpeech(CBasketTask& task) : m_task(task) {}
  CSpeech(const CSpeech&) = delete;
  CSpeech& operator=(const CSpeech&) = delete;
  ~CSpeech();

 private:
  CBasketTask& m_task;
};

}  // namespace TC
