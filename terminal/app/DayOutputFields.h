/// How the texts of a day's outputs name what they hold, for writing and for reading.
#pragma once

#include "ksservice/CTaskDetail.h"

namespace app {

// What a second's text is made of.
inline constexpr const char* OUTPUT_TASKS = "tasks";
inline constexpr const char* OUTPUT_HEDGES = "hedges";
inline constexpr const char* OUTPUT_QUOTES = "quotes";
inline constexpr const char* OUTPUT_LOG = "log";
inline constexpr const char* OUTPUT_WAITS = "waits";

// Kinds of what is told of hedges.
inline constexpr const char* HEDGE_STATE = "state";
inline constexpr const char* HEDGE_VOLUME = "volume";
inline constexpr const char* HEDGE_STATUS = "status";
inline constexpr const char* HEDGE_OFFERED = "offered";
inline constexpr const char* HEDGE_STORED = "stored";

/// Added up in the state of an order's report.
enum EOrderState : int { EOS_Accepted = 1, EOS_Cancelled = 2, EOS_Completed = 4, EOS_HasMessage = 8 };

/// Calls field with the name of each field and the field itself, to be read or written.
template <typename Field, typename Command>
void forCommandFields(const Field& field, Command& command) {
  field("key", command.m_strKey);
  field("id", command.m_nCommandId);
  field("taskId", command.m_nTaskId);
  field("traderType", command.m_nTraderType);
  field("user", command.m_strUser);
  field("login", command.m_strLogin);
  field("basketType", command.m_nBasketType);
  field("patch", command.m_bPatch);
  field("basketName", command.m_strBasketName);
  field("text", command.m_strText);
  field("localInfo", command.m_strLocalInfo);
  field("orderType", command.m_nOrderType);
  field("algoTaskKey", command.m_strAlgoTaskKey);
  field("algoParams", command.m_strAlgoParams);
  field("type", command.m_nType);
  field("number", command.m_nNumber);
}

/// What a task's detail has beside its key, command, parameters and orders; field gets each field's name and the field
/// of each detail.
template <typename Field, typename... Details>
void forDetailFields(const Field& field, Details&... details) {
  field("id", details.m_nTaskId...);
  field("number", details.m_nNumber...);
  field("business", details.m_nBusinessNumber...);
  field("status", details.m_nStatus...);
  field("message", details.m_strMessage...);
  field("start", details.m_nStartTime...);
  field("end", details.m_nEndTime...);
  field("server", details.m_bServerTask...);
  field("instance", details.m_strInstance...);
}

}  // namespace app
