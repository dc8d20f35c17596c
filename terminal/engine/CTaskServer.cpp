#include "CTaskServer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace engine {

using namespace ksservice;

namespace {

bson::BSONObj refusal(const std::string& text) {
  return bson::BSONObj::fromJson(nlohmann::json{{"ErrorMsg", text}}.dump()).value_or(bson::BSONObj());
}

/// An algorithm carries the task out only when its command and its lines say so: the user may have patched an
/// algorithm's task by plain orders.
bool isAlgorithm(const desk::SCreateRequest& request) {
  const auto algorithmic = [](const CCodeOrderParam& param) { return DataHelper::isAlgoOrderType(param.m_nOrderType); };
  return DataHelper::isAlgoOrderType(request.m_command.m_nOrderType) && !request.m_command.m_strAlgoParams.empty() &&
         std::all_of(request.m_params.begin(), request.m_params.end(), algorithmic);
}

/// The task that is patched.
int basketOf(const desk::SCreateRequest& request) {
  return request.m_nTaskId != 0 ? request.m_nTaskId : request.m_command.m_nTaskId;
}

/// Why the operation cannot be carried out on a task in a status; empty: it can, or there is nothing to do.
std::string operationFault(int status, int operation) {
  switch (status) {
    case ETS_Running:
    case ETS_Paused:
      return {};
    case ETS_Finished:
      return "任务已完成";
    case ETS_Dropped:
      return operation == ETO_Drop ? std::string() : "任务已放弃";
    default:
      return operation == ETO_Drop || operation == ETO_Cancel ? std::string() : "任务已结束";
  }
}

}  // namespace

CTaskServer::CTaskServer(desk::CDesk& desk, CEngine& engine, int latencyMsec)
    : m_desk(desk), m_engine(engine), m_nLatencyMsec(latencyMsec) {}

void CTaskServer::createTask(const desk::SCreateRequest& request) {
  post([this, request] { answerCreation(request); });
}

void CTaskServer::operateServerTask(const std::string& serverTaskKey, int operation) {
  post([this, serverTaskKey, operation] { answerOperation(serverTaskKey, operation); });
}

void CTaskServer::queryOrderProcess(const std::vector<std::string>& serverTaskKeys) {
  post([this, serverTaskKeys] { answerQuery(serverTaskKeys); });
}

void CTaskServer::post(std::function<void()> carryOut) {
  m_requests.push_back({m_engine.now() + m_nLatencyMsec, m_bAnswering, std::move(carryOut)});
}

void CTaskServer::refuseCreation(const std::string& text) {
  post([this, text] { replyToCreation(text, 0); });
}

void CTaskServer::refuseOperation(const std::string& text) {
  post([this, text] { replyToOperation(text); });
}

void CTaskServer::replyToCreation(const std::string& fault, int task) {
  if (m_bAnswered) m_desk.requests().replyToCreate(fault.empty() ? utils::KSError() : utils::KSError(fault), task);
}

void CTaskServer::replyToOperation(const std::string& fault) {
  if (m_bAnswered) m_desk.requests().replyToOperation({}, fault.empty() ? bson::BSONObj() : refusal(fault));
}

void CTaskServer::replyToQuery(const TC::OrderProcessMap& data, const std::string& fault) {
  if (m_bAnswered) m_desk.requests().replyToQuery(data, fault.empty() ? utils::KSError() : utils::KSError(fault), {});
}

void CTaskServer::advanceTo(std::int64_t msec) {
  while (!m_requests.empty() && m_requests.front().m_nTime <= msec) {
    const SRequest request = std::move(m_requests.front());
    m_requests.pop_front();
    m_bAnswered = request.m_bAnswered;
    request.m_carryOut();
  }
}

void CTaskServer::answerCreation(const desk::SCreateRequest& request) {
  std::string text = fault(request);
  std::optional<TC::SAlgoParams> algo;
  if (text.empty() && isAlgorithm(request)) {
    text = TC::SAlgoParams::parse(request.m_command.m_strAlgoParams, algo.emplace());
    if (text.empty()) text = CAlgoSchedule::fault(*algo, m_engine.now());
  }
  if (!text.empty()) return replyToCreation(text, 0);
  COrderCommand command = request.m_command;
  command.m_nTaskId = basketOf(request);
  if (!algo) {
    command.m_nOrderType = EORT_Plain;
    command.m_strAlgoParams.clear();
  }
  replyToCreation({}, m_engine.startPatch(command, makeParts(request), algo));
}

std::string CTaskServer::fault(const desk::SCreateRequest& request) const {
  if (!m_desk.command(request.m_command.m_nCommandId)) return "指令不存在";
  if (request.m_params.empty()) return "没有委托明细";
  for (const CCodeOrderParam& param : request.m_params) {
    if (std::string text = fault(param); !text.empty()) return text;
  }
  return excess(request);
}

std::string CTaskServer::fault(const CCodeOrderParam& param) const {
  const CStockInfo& stock = param.m_stock;
  const std::string key = utils::mavStockKey(stock.m_strMarket, stock.m_strCode);
  desk::SAccount account;
  if (!param.m_pAccount || !m_desk.findAccount(param.m_pAccount->getKey(), account)) return key + " 的账户不存在";
  if (!m_desk.codeInfo(stock.m_strMarket, stock.m_strCode)) return "证券 " + key + " 不存在";
  if (param.m_nVolume < 1) return key + " 的数量小于 1";
  return {};
}

/// Which line is beyond what is left of it. Each terminal looks at the remainder too, but two may hold one task.
std::string CTaskServer::excess(const desk::SCreateRequest& request) const {
  LineVolumes ordered;
  for (const CCodeOrderParam& param : request.m_params) {
    ordered[lineKeyOf(param.m_pAccount->getKey(), param.m_stock, param.m_nOperation)] += param.m_nVolume;
  }
  const LineVolumes left = m_engine.remainders(basketOf(request));
  for (const auto& [line, volume] : ordered) {
    const auto known = left.find(line);
    const long long rest = known == left.end() ? 0 : std::max(known->second, 0LL);
    if (volume <= rest) continue;
    return lineText(line) + " 超过可补数量：委托 " + std::to_string(volume) + "，可补 " + std::to_string(rest);
  }
  return {};
}

/// One part for each account, in the order in which the lines name them.
std::vector<SAccountLines> CTaskServer::makeParts(const desk::SCreateRequest& request) const {
  std::vector<SAccountLines> parts;
  for (const CCodeOrderParam& param : request.m_params) {
    const std::string& account = param.m_pAccount->getKey();
    auto part = std::find_if(parts.begin(), parts.end(),
                             [&](const SAccountLines& each) { return each.m_pAccount->getKey() == account; });
    if (part == parts.end()) part = parts.insert(parts.end(), {param.m_pAccount, {}});
    part->m_lines.push_back(makeLine(param));
  }
  return parts;
}

SOrderLine CTaskServer::makeLine(const CCodeOrderParam& param) const {
  SOrderLine line;
  line.m_stock = param.m_stock;
  line.m_nOperation = param.m_nOperation;
  line.m_nQuantity = param.m_nVolume;
  line.m_dReference = param.m_dPrice;
  line.m_nPriceType = param.m_nPriceType;
  // An algorithm prices its orders itself.
  line.m_bOwnPrice = !DataHelper::isAlgoOrderType(param.m_nOrderType);
  return line;
}

void CTaskServer::answerOperation(const std::string& serverTaskKey, int operation) {
  const CAlgoTask* task = m_engine.serverTask(serverTaskKey);
  const std::string text = task ? operationFault(task->status(), operation) : "任务不存在";
  if (text.empty()) m_engine.operate(serverTaskKey, operation);
  replyToOperation(text);
}

void CTaskServer::answerQuery(const std::vector<std::string>& serverTaskKeys) {
  TC::OrderProcessMap data;
  for (const std::string& key : serverTaskKeys) {
    const CAlgoTask* task = m_engine.serverTask(key);
    if (!task) return replyToQuery({}, "任务 " + key + " 不存在");
    data[key] = task->orderProcess();
  }
  replyToQuery(data, {});
}

}  // namespace engine
