#include "ForkActs.h"

#include <QString>
#include <algorithm>
#include <utility>

#include "CActSchedule.h"
#include "CAlgoSchedule.h"
#include "SessionSetup.h"
#include "ksservice/Operations.h"

namespace app {
namespace {

using engine::Act;

constexpr double MAX_LIMIT = 0.2;
constexpr double MAX_HEDGE_RATIO = 10;

void append(std::vector<Act>& acts, std::vector<Act> more) {
  for (Act& act : more) acts.push_back(std::move(act));
}

/// What is left, as one would patch it, with a change of its request.
SForkActs goOnOtherwise(const std::vector<int>& tasks, CDayRun& run,
                        const std::function<void(desk::SCreateRequest&)>& change) {
  SForkActs acts;
  for (const int task : tasks) {
    append(acts.m_now, actsOf({SWish::EDo::Cancel, task}, run.desk(), run.simulation()));
    acts.m_later.push_back({task, [task, &run, change] {
                              std::vector<Act> patch = actsOf({SWish::EDo::Patch, task}, run.desk(), run.simulation());
                              for (Act& each : patch) {
                                if (auto* create = std::get_if<engine::SCreateTask>(&each)) change(create->m_request);
                              }
                              return patch;
                            }});
  }
  return acts;
}

SForkActs byAlgo(const std::string& value, const std::vector<int>& tasks, CDayRun& run, std::string& fault) {
  SOptions options = run.options();
  options.m_algo.reset();
  if (value != "none") {
    fault = setOption("algo", value, options);
    if (!fault.empty()) return {};
  }
  return goOnOtherwise(tasks, run, [options, &run](desk::SCreateRequest& request) {
    auto algo = makeAlgo(options);
    if (!algo) return;
    algo->m_nStart = std::max(algo->m_nStart, static_cast<int>(run.simulation().now() / 1000));
    request.m_command.m_strAlgoParams = algo->format();
    request.m_command.m_nOrderType = engine::orderTypeOf(algo->m_eAlgorithm);
    for (auto& param : request.m_params) param.m_nOrderType = request.m_command.m_nOrderType;
  });
}

SForkActs byLimit(const std::string& value, const std::vector<int>& tasks, CDayRun& run, std::string& fault) {
  QString text = QString::fromStdString(value);
  const bool percent = text.endsWith(QLatin1Char('%'));
  if (percent) text.chop(1);
  bool ok = false;
  const double limit = text.toDouble(&ok) / 100;
  if (!ok || !percent || !(limit >= 0) || limit > MAX_LIMIT) {
    fault = "limit needs a percentage from 0% to 20%, like 0.5%, not '" + value + "'";
    return {};
  }
  return goOnOtherwise(tasks, run, [limit, &run](desk::SCreateRequest& request) {
    exchange::CExchange& market = run.simulation().market();
    for (auto& param : request.m_params) {
      const int instrument = market.findInstrument(param.m_stock.m_strMarket, param.m_stock.m_strCode);
      const bool buy = ksservice::DataHelper::isBuy(param.m_nOperation);
      const exchange::SRules& rules = market.rules(instrument);
      const double last = market.quote(instrument).m_dLast;
      const std::int64_t ticks = std::clamp(rules.toLimitTicks(last * (buy ? 1 + limit : 1 - limit), buy),
                                            rules.m_nLimitDown, rules.m_nLimitUp);
      param.m_nPriceType = ksservice::EPT_User;
      param.m_dPrice = rules.toPrice(ticks);
    }
  });
}

SForkActs byHedge(const std::string& value, const std::vector<int>& tasks, CDayRun& run, std::string& fault) {
  SForkActs acts;
  bool ok = false;
  const double ratio = QString::fromStdString(value).toDouble(&ok);
  if (value != "off" && (!ok || !(ratio > 0) || ratio > MAX_HEDGE_RATIO)) {
    fault = "hedge needs off or a ratio above 0 and up to 10, not '" + value + "'";
    return {};
  }
  for (const int task : tasks) {
    ksservice::CBasketHedgeParam param;
    int command = 0;
    for (const auto& detail : run.desk().taskDetails()) {
      if (detail->m_pCommand && detail->m_pCommand->m_nTaskId == task) command = detail->m_pCommand->m_nCommandId;
    }
    const bool hedged =
        run.desk().givenHedgeParam(task, param) || run.desk().hedgeParam(desk::EHedgeSource::Stored, command, param);
    if (!hedged) {
      fault = "task " + std::to_string(task) + " was started without a hedge";
      return {};
    }
    if (value == "off") {
      acts.m_now.emplace_back(engine::SSteerHedge{task, engine::EHedgeAct::Stop});
      continue;
    }
    param.m_dRatio = ratio;
    acts.m_now.emplace_back(engine::SSetHedge{task, command, param});
    acts.m_now.emplace_back(engine::SSteerHedge{task, engine::EHedgeAct::Start});
  }
  return acts;
}

}  // namespace

SForkActs forkActs(const std::string& with, const std::vector<int>& tasks, CDayRun& run, std::string& fault) {
  const std::size_t at = with.find('=');
  const std::string what = with.substr(0, at);
  const std::string value = at == std::string::npos ? std::string() : with.substr(at + 1);
  SForkActs acts;
  if (with == "pause" || with == "cancel") {
    for (const int task : tasks) {
      const SWish::EDo wish = with == "pause" ? SWish::EDo::Pause : SWish::EDo::Cancel;
      append(acts.m_now, actsOf({wish, task}, run.desk(), run.simulation()));
      append(acts.m_now,
             actsOf({SWish::EDo::Hedge, task, with == "pause" ? engine::EHedgeAct::Pause : engine::EHedgeAct::Stop},
                    run.desk(), run.simulation()));
    }
    return acts;
  }
  if (what == "algo") return byAlgo(value, tasks, run, fault);
  if (what == "limit") return byLimit(value, tasks, run, fault);
  if (what == "hedge") return byHedge(value, tasks, run, fault);
  fault = "--with is pause, cancel, algo=, limit= or hedge=, not '" + with + "'";
  return {};
}

}  // namespace app
