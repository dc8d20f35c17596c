#include "SafetyMarket.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <set>

#include "TaskDetails.h"
#include "ksservice/Operations.h"
#include "utils/Keys.h"

namespace test {

using namespace ksservice;

namespace {

LineKey keyOf(const CCodeOrderParam& param) {
  return engine::lineKeyOf(param.m_pAccount->getKey(), param.m_stock, param.m_nOperation);
}

}  // namespace

long long CSafetyMarket::SSubTask::ordered(std::size_t line) const {
  long long sum = 0;
  for (const SOrder& order : m_orders) sum += order.m_nLine == line ? order.claim() : 0;
  return sum;
}

CSafetyMarket::CSafetyMarket(const SDayPlan& plan, Random& random, Tell tell)
    : m_plan(plan),
      m_random(random),
      m_tell(std::move(tell)),
      m_nEndPercent(5 + below(random, 25)),
      m_nMessagePercent(chance(random, 50) ? 0 : 10) {}

// Tasks

int CSafetyMarket::start(const engine::SBasketOrder& basket) {
  if (std::exchange(m_bDayOver, false)) m_pBroker = std::make_unique<CSafetyBroker>(m_plan, m_random);
  COrderCommand command = *testkit::makeDetail(m_nTasks + 1)->m_pCommand;
  command.m_nOrderType = basket.m_algo ? EORT_Algo : EORT_Plain;
  // The panel of another trader type shows it.
  if (m_plan.has(ING_Reopen) && m_nTasks > 0 && chance(m_random, 30)) ++command.m_nTraderType;
  command.m_strAlgoParams = basket.m_algo ? basket.m_algo->format() : std::string();
  Lines lines;
  const auto parts = engine::splitLines(basket.m_lines, static_cast<int>(basket.m_accounts.size()));
  for (std::size_t i = 0; i < parts.size(); ++i) {
    for (const engine::SOrderLine& line : parts[i]) {
      CCodeOrderParam& param = lines.emplace_back();
      param.m_pAccount = basket.m_accounts[i];
      param.m_stock = line.m_stock;
      param.m_nOperation = line.m_nOperation;
      param.m_nOrderType = command.m_nOrderType;
      param.m_dPrice = line.m_dReference;
      param.m_nVolume = line.m_nQuantity;
    }
  }
  return make(std::move(command), lines);
}

int CSafetyMarket::make(COrderCommand command, const Lines& lines) {
  command.m_nCommandId = ++m_nTasks;
  command.m_strKey = COrderCommand::genKey(command.m_nCommandId, command.m_nNumber);
  const auto shared = boost::make_shared<COrderCommand>(std::move(command));
  const bool algo = shared->m_nOrderType != EORT_Plain;
  // A task may have parts that the server carries out beside others of the terminal.
  const bool both = !shared->m_bPatch && chance(m_random, 15);
  int number = 0;
  const auto add = [this, &number](const auto& order, Lines part) {
    CTaskDetail& state = m_subTasks.emplace_back().m_state;
    state.m_nTaskId = m_nTasks;
    state.m_nNumber = ++number;
    state.m_nBusinessNumber = 0;
    state.m_strKey = CTaskDetail::genKey(m_nTasks, number);
    state.m_nStatus = ETS_Running;
    state.m_nStartTime = seconds();
    state.m_pCommand = order;
    state.m_params = std::move(part);
    return &state;
  };
  for (Lines& part : partsOf(lines, shared->m_bPatch && m_plan.has(ING_Mixed) && chance(m_random, 50)))
    add(shared, std::move(part))->m_bServerTask = algo && !(both && number == 1);
  if (m_plan.has(ING_Hedges) && !shared->m_bPatch) {
    const auto hedge = boost::make_shared<COrderCommand>(*shared);
    hedge->m_nBasketType = ECBT_Hedge;
    const auto account = testkit::makeAccount("F1", "2001");
    account->m_nType = 1;
    CCodeOrderParam future;
    future.m_pAccount = account;
    future.m_stock = {"CFE", "IF2612", "IF2612"};
    future.m_nOperation = EOT_Sell;
    future.m_nVolume = 4;
    future.m_dPrice = 4000;
    add(hedge, {future});
  }
  publish();
  return m_nTasks;
}

/// One part for each account, or all together; some of them in two that share some of the lines.
std::vector<CSafetyMarket::Lines> CSafetyMarket::partsOf(const Lines& lines, bool together) {
  std::map<std::string, Lines> parts;
  for (const CCodeOrderParam& param : lines) {
    const std::string key = together ? std::string() : param.m_pAccount->getKey();
    const int kind = m_plan.has(ING_Splits) ? below(m_random, 3) : 0;
    const int first = kind == 0 ? param.m_nVolume : kind == 1 ? 0 : below(m_random, param.m_nVolume);
    if (first > 0) parts[key].emplace_back(param).m_nVolume = first;
    if (first < param.m_nVolume) parts[key + "'"].emplace_back(param).m_nVolume = param.m_nVolume - first;
  }
  std::vector<Lines> list;
  list.reserve(parts.size());
  for (auto& part : parts) list.push_back(std::move(part.second));
  return list;
}

// What happens

void CSafetyMarket::advanceTo(std::int64_t msec) {
  m_nNow = msec;
  m_pBroker->sendCancels(m_nNow);
  for (SSubTask& task : m_subTasks) live(task);
  publish();
}

void CSafetyMarket::live(SSubTask& task) {
  const bool sends = task.m_state.m_nStatus == ETS_Running && !task.m_bStopping;
  for (std::size_t line = 0; line < task.m_state.m_params.size(); ++line) {
    if (sends && chance(m_random, 50)) send(task, line);
  }
  if (task.m_bStopping) cancelOrders(task);
  for (SOrder& order : task.m_orders) {
    if (order.isOpen() && chance(m_random, 40)) trade(task, order);
  }
  if (sends && chance(m_random, m_nEndPercent)) stop(task);
  endIfDone(task);
}

void CSafetyMarket::send(SSubTask& task, std::size_t line) {
  const CCodeOrderParam& param = task.m_state.m_params[line];
  const int unsent = static_cast<int>(param.m_nVolume - task.ordered(line));
  if (unsent <= 0) return;
  static const std::set<std::string> connected = {"HK", "HGT", "SGT"};
  const std::string& market = param.m_stock.m_strMarket;
  const bool anyMarket = connected.contains(market) && chance(m_random, 60);
  auto info = boost::make_shared<COrderInfo>();
  info->m_strKey = task.m_state.getKey() + "-" + std::to_string(task.m_orders.size() + 1);
  info->m_tag = CMavOrderTag(info->m_strKey);
  info->m_strMarket = anyMarket ? pick(m_random, connected) : market;
  info->m_strCode = param.m_stock.m_strCode;
  info->m_nOperation = param.m_nOperation;
  info->m_nVolume = chance(m_random, 60) ? unsent : 1 + below(m_random, unsent);
  info->m_dPrice = param.m_dPrice > 0 ? param.m_dPrice : 10;
  const auto [id, refusal] = m_pBroker->order(param, info->m_nVolume, info->m_dPrice, m_nNow);
  info->m_bCompleted = info->m_bHasMessage = id == 0;
  info->m_strMessage = refusal;
  // A refused line may be tried again: money may have come. One refused order shows it.
  if (id == 0 && (refusal.empty() || !task.m_refused.insert(line).second)) return;
  int index = static_cast<int>(line);
  if (m_plan.has(ING_Indices) && chance(m_random, 50)) {
    index = chance(m_random, 50) ? 0 : below(m_random, static_cast<int>(task.m_state.m_params.size()) + 2) - 1;
  }
  task.m_orders.push_back({info, line, index, id, id == 0});
  task.m_bChanged = true;
}

/// Fills an order, whole or in part, or ends it.
void CSafetyMarket::trade(SSubTask& task, SOrder& order) {
  const auto info = boost::make_shared<COrderInfo>(*order.m_pInfo);
  const int left = info->m_nVolume - info->m_nTradedVolume;
  const int kind = m_pBroker->isCancelled(order.m_nId) ? 100 : below(m_random, 100);
  const int fill = kind < 45 ? left : kind < 85 || chance(m_random, 20) ? 1 + below(m_random, left) : 0;
  info->m_nTradedVolume += fill;
  info->m_dTradedAmount += fill * info->m_dPrice;
  order.m_bCancelled = kind >= 85 && fill < left;
  info->m_bCompleted = order.m_bCancelled || fill == left;
  info->m_bHasMessage = order.m_bCancelled && chance(m_random, m_nMessagePercent);
  if (info->m_bHasMessage) info->m_strMessage = "rejected";
  order.m_pInfo = info;
  m_pBroker->fill(order.m_nId, fill, fill * info->m_dPrice);
  if (info->m_bCompleted) m_pBroker->end(order.m_nId);
  task.m_bChanged = true;
}

/// Each as soon as its account may send a cancel.
void CSafetyMarket::cancelOrders(SSubTask& task) {
  for (const SOrder& order : task.m_orders) {
    if (order.isOpen())
      m_pBroker->cancel(task.m_state.m_params[order.m_nLine].m_pAccount->getKey(), order.m_nId, m_nNow);
  }
}

void CSafetyMarket::stop(SSubTask& task) {
  task.m_bStopping = task.m_bChanged = true;
  cancelOrders(task);
  for (SOrder& order : task.m_orders) {
    if (order.isOpen() && chance(m_random, 50)) trade(task, order);
  }
}

void CSafetyMarket::endIfDone(SSubTask& task) {
  if (task.isOver()) return;
  const bool open =
      std::any_of(task.m_orders.begin(), task.m_orders.end(), [](const auto& each) { return each.isOpen(); });
  long long left = 0;
  for (const CCodeOrderParam& param : task.m_state.m_params) left += param.m_nVolume;
  for (const SOrder& order : task.m_orders) left -= order.m_pInfo->m_nTradedVolume;
  if (left == 0) return end(task, ETS_Finished);
  if (!task.m_bStopping || (open && !(m_plan.has(ING_OpenEnds) && chance(m_random, 50)))) return;
  // Of a patch the server may say that it is finished although something is left.
  const int kind = below(m_random, 100);
  end(task, kind < 20 ? ETS_ExecutionError : kind < 30 && task.isPatch() ? ETS_Finished : ETS_Cancelled);
}

void CSafetyMarket::end(SSubTask& task, int status) {
  task.m_bStopping = task.m_bChanged = true;
  task.m_state.m_nStatus = status;
  task.m_state.m_nEndTime = seconds();
  if (chance(m_random, m_nMessagePercent)) task.m_state.m_strMessage = "ended";
}

void CSafetyMarket::endDay() {
  for (SSubTask& task : m_subTasks) {
    task.m_bStopping = true;
    for (SOrder& order : task.m_orders) {
      while (order.isOpen()) trade(task, order);
    }
    endIfDone(task);
  }
  m_strDayFault = m_pBroker->fault();
  m_bDayOver = true;
  publish();
}

// What is asked for

std::pair<int, std::string> CSafetyMarket::create(const desk::SCreateRequest& request) {
  const std::string text = chance(m_random, 10) ? "服务器繁忙" : fault(request);
  if (!text.empty()) return {0, text};
  COrderCommand command = request.m_command;
  command.m_bPatch = true;
  const bool algorithmic = std::all_of(request.m_params.begin(), request.m_params.end(), [](const auto& param) {
    return DataHelper::isAlgoOrderType(param.m_nOrderType);
  });
  if (command.m_strAlgoParams.empty() || !algorithmic) command.m_nOrderType = EORT_Plain;
  return {make(std::move(command), request.m_params), {}};
}

std::string CSafetyMarket::fault(const desk::SCreateRequest& request) const {
  if (request.m_params.empty()) return "没有委托明细";
  Truth lines = truth([](const CTaskDetail&) { return true; });
  for (const CCodeOrderParam& param : request.m_params) {
    SLineTruth& line = lines[keyOf(param)];
    line.m_nMayTrade += param.m_nVolume;
    if (param.m_nVolume < 1) return param.getKey() + " 的数量小于 1";
    if (line.m_nMayTrade > line.m_nTarget) return param.getKey() + " 超过可补数量";
  }
  return {};
}

CSafetyMarket::SSubTask* CSafetyMarket::find(const std::string& serverTaskKey) {
  const auto found = std::find_if(m_subTasks.begin(), m_subTasks.end(), [&](const SSubTask& task) {
    return task.m_state.m_bServerTask && task.m_state.getKey() == serverTaskKey;
  });
  return found == m_subTasks.end() ? nullptr : &*found;
}

std::string CSafetyMarket::operate(const std::string& serverTaskKey, int operation) {
  SSubTask* task = find(serverTaskKey);
  const bool applied = task && chance(m_random, 85) && apply(*task, operation);
  publish();
  return applied ? "" : "任务 " + serverTaskKey + " 不能操作";
}

void CSafetyMarket::operateLocal(int taskId, const std::string& account, int operation) {
  for (SSubTask& task : m_subTasks) {
    const bool meant = task.m_state.m_nTaskId == taskId && !task.m_state.m_bServerTask &&
                       task.m_state.m_params.front().m_pAccount->getKey() == account;
    if (meant && !(m_plan.has(ING_NewBasket) && chance(m_random, 10))) apply(task, operation);
  }
  publish();
}

/// False when the operation is refused.
bool CSafetyMarket::apply(SSubTask& task, int operation) {
  int& status = task.m_state.m_nStatus;
  if (operation == ETO_Drop) {
    if (status == ETS_Finished) return false;
    if (!task.m_bStopping) stop(task);
    end(task, ETS_Dropped);
    return true;
  }
  if (task.m_bStopping) return operation == ETO_Cancel;
  if (operation == ETO_Cancel) stop(task);
  if (operation == ETO_Pause) status = ETS_Paused;
  if (operation == ETO_Resume) status = ETS_Running;
  task.m_bChanged = true;
  endIfDone(task);
  return true;
}

std::pair<TC::OrderProcessMap, std::string> CSafetyMarket::query(const std::vector<std::string>& serverTaskKeys) {
  TC::OrderProcessMap data;
  for (const std::string& key : serverTaskKeys) {
    const SSubTask* task = find(key);
    if (!task) return {{}, "任务 " + key + " 不存在"};
    auto& numbers = data[key];
    const auto add = [&numbers](const std::string& market, const std::string& code, long long claim) {
      int& number = numbers[utils::mavStockKey(market, code)];
      number = static_cast<int>(std::min<long long>(number + claim, UNSET_INT));
    };
    for (const CCodeOrderParam& param : task->m_state.m_params)
      add(param.m_stock.m_strMarket, param.m_stock.m_strCode, 0);
    for (const SOrder& order : task->m_orders) add(order.m_pInfo->m_strMarket, order.m_pInfo->m_strCode, order.claim());
  }
  return {data, {}};
}

// What is told

void CSafetyMarket::publish() {
  for (SSubTask& task : m_subTasks) {
    if (!std::exchange(task.m_bChanged, false)) continue;
    ++task.m_state.m_nBusinessNumber;
    desk::SPublication publication;
    publication.m_pDetail = boost::make_shared<CTaskDetail>(task.m_state);
    if (task.m_state.m_bServerTask) {
      m_tell(publication, progressOf(task));
      continue;
    }
    for (const SOrder& order : task.m_orders) {
      publication.m_pDetail->m_orders.push_back(order.m_pInfo);
      const auto known = boost::make_shared<COrderDetail>();
      known->m_bCancelled = order.m_bCancelled;
      publication.m_orderDetails.emplace_back(order.m_pInfo->m_tag, known);
    }
    m_tell(publication, nullptr);
  }
}

boost::shared_ptr<TC::CTaskProgress> CSafetyMarket::progressOf(const SSubTask& task) const {
  auto progress = boost::make_shared<TC::CTaskProgress>();
  for (const SOrder& order : task.m_orders) {
    const COrderInfo& info = *order.m_pInfo;
    TC::CProgressOrder& entry = progress->m_orders.emplace_back();
    entry.m_strMapKey = task.m_state.m_params[order.m_nLine].m_pAccount->m_strDisplayId + ":" + info.getKey();
    entry.m_nParamIndex = order.m_nParamIndex;
    entry.m_detail.m_strKey = info.getKey();
    entry.m_detail.m_strMarket = info.m_strMarket;
    entry.m_detail.m_strCode = info.m_strCode;
    entry.m_detail.m_nTradedVolume = info.m_nTradedVolume;
    entry.m_detail.m_dTradedAmount = info.m_dTradedAmount;
    entry.m_detail.m_bCancelled = order.m_bCancelled;
  }
  return progress;
}

Truth CSafetyMarket::truth(const Counts& counts) const {
  Truth truth;
  for (const SSubTask& task : m_subTasks) {
    if (task.m_state.m_pCommand->m_nBasketType == ECBT_Hedge) continue;
    const Lines& params = task.m_state.m_params;
    const bool counted = counts(task.m_state);
    for (std::size_t i = 0; i < params.size(); ++i) {
      SLineTruth& line = truth[keyOf(params[i])];
      if (!task.isPatch()) line.m_nTarget += params[i].m_nVolume;
      if (counted) line.m_nMayTrade += task.m_bStopping ? task.ordered(i) : params[i].m_nVolume;
    }
    for (const SOrder& order : task.m_orders) {
      SLineTruth& line = truth[keyOf(params[order.m_nLine])];
      line.m_nTraded += order.m_pInfo->m_nTradedVolume;
      line.m_dAmount += order.m_pInfo->m_dTradedAmount;
    }
  }
  return truth;
}

}  // namespace test
