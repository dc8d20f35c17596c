#include "JournalScript.h"

#include <nlohmann/json.hpp>

namespace fuzz {
namespace {

using Json = nlohmann::json;
using Rows = std::vector<std::string>;

const int TASKS[] = {1, 2, 3, 4, 2147483647};
const int NUMBERS[] = {1, 2, 3};
const char* const ACCOUNTS[] = {"A1", "A1", "A2", "F1", ""};
const int STATUSES[] = {3, 3, 4, 7, 8, 8, 9, 10, 11, 12, 0, 5, -1};
const int OPERATIONS[] = {1, 1, 2, 3, 4, 5, 6, 21, 1010, -1, 77};
const int BASKET_TYPES[] = {1, 1, 1, 0, 2, 4, 5, 9};
const int PRICE_TYPES[] = {0, 14, 1, 2, 3, 5, 10, 11, 42, 47, 99};
const int ORDER_TYPES[] = {0, 0, 11, 12, 13, 7};
const char* const TEXTS[] = {
    "",    "沪深300",  "a|b|c", "<b>x</b>", "abc,\"d\"\n", "algo=TWAP;start=09:30:00;end=14:57:00",
    "0.1", "price=14", "-1",    "1250"};
const double PRICES[] = {10.0, 10.01, 0, -1.5, 3998.2, 1e-9, 1e300, 99999999.99};

struct SSecurity {
  const char* m_pMarket;
  const char* m_pCode;
};
const SSecurity SECURITIES[] = {{"SH", "600000"}, {"SH", "600036"}, {"CFFEX", "IF2612"}, {"SZ", "000001"}, {"", ""}};

/// Of the command by which a task was made.
int commandOf(int task) { return task > 1000000 ? task : task + 1000; }

std::string detailKey(CBytes& bytes) {
  const int task = bytes.oneOf(TASKS);
  return std::to_string(task) + "-" + std::to_string(bytes.oneOf(NUMBERS));
}

Json security(CBytes& bytes, Json line) {
  const SSecurity& each = bytes.oneOf(SECURITIES);
  line["market"] = each.m_pMarket;
  line["code"] = each.m_pCode;
  return line;
}

std::string row(CBytes& bytes, const Rows& rows) {
  const std::size_t place = bytes.byte();
  if (rows.empty() || place == 255) return "1/SH.600000买入";
  return rows[place % rows.size()];
}

Json param(CBytes& bytes) {
  Json line = security(bytes, {{"operation", bytes.oneOf(OPERATIONS)}, {"volume", bytes.number()}});
  line["account"] = bytes.oneOf(ACCOUNTS);
  line["price"] = bytes.oneOf(PRICES);
  line["priceType"] = bytes.oneOf(PRICE_TYPES);
  line["orderType"] = bytes.oneOf(ORDER_TYPES);
  line["handled"] = bytes.number();
  return line;
}

Json order(CBytes& bytes, int task) {
  Json line = security(bytes, {{"key", "o" + std::to_string(task) + "-" + std::to_string(bytes.below(5))}});
  line["operation"] = bytes.oneOf(OPERATIONS);
  line["volume"] = bytes.number();
  line["traded"] = bytes.number();
  line["price"] = bytes.oneOf(PRICES);
  line["amount"] = bytes.oneOf(PRICES) * 1000;
  line["completed"] = bytes.flag();
  if (bytes.flag()) line["detail"] = {{"cancelled", bytes.flag()}};
  if (bytes.flag()) line["message"] = bytes.oneOf(TEXTS);
  return line;
}

Json task(CBytes& bytes, const Rows&) {
  const char* const ways[] = {"feed", "feed", "feed", "signal", "store"};
  const int id = bytes.oneOf(TASKS);
  const int type = bytes.oneOf(BASKET_TYPES);
  Json line{{"kind", "task"}, {"via", bytes.oneOf(ways)}, {"number", bytes.oneOf(NUMBERS)}};
  line["status"] = bytes.oneOf(STATUSES);
  if (type != 2) line["id"] = id;
  line["command"] = {{"id", commandOf(id)},
                     {"taskId", id},
                     {"traderType", 1},
                     {"user", "u1"},
                     {"login", "L1"},
                     {"basketType", type},
                     {"patch", bytes.below(4) == 3},
                     {"basketName", bytes.oneOf(TEXTS)},
                     {"orderType", bytes.oneOf(ORDER_TYPES)},
                     {"algoParams", bytes.oneOf(TEXTS)},
                     {"localInfo", bytes.oneOf(TEXTS)}};
  const std::uint8_t facts = bytes.byte();
  line["server"] = (facts & 1) != 0;
  line["unknown"] = (facts & 14) == 14;
  if ((facts & 16) != 0) line["message"] = bytes.oneOf(TEXTS);
  if ((facts & 32) != 0) line["startTime"] = bytes.number();
  if ((facts & 64) != 0) line["endTime"] = bytes.number();
  line["params"] = Json::array();
  for (std::size_t i = bytes.below(4); i > 0; --i) line["params"].push_back(param(bytes));
  line["orders"] = Json::array();
  for (std::size_t i = bytes.below(4); i > 0; --i) line["orders"].push_back(order(bytes, id));
  return line;
}

Json progress(CBytes& bytes, const Rows&) {
  Json line{
      {"kind", "progress"}, {"task", detailKey(bytes)}, {"partial", bytes.flag()}, {"orderDetails", Json::array()}};
  for (std::size_t i = bytes.below(4); i > 0; --i) {
    Json each = security(bytes, {{"key", "s" + std::to_string(bytes.below(4))}});
    each["mapKey"] = bytes.flag() ? "1001" : "A1";
    each["traded"] = bytes.number();
    each["amount"] = bytes.oneOf(PRICES);
    each["cancelled"] = bytes.flag();
    each["param"] = bytes.number();
    line["orderDetails"].push_back(each);
  }
  return line;
}

Json hedge(CBytes& bytes, const Rows&) {
  const int id = bytes.oneOf(TASKS);
  switch (bytes.below(4)) {
    case 0:
      return {{"kind", "hedgeVolume"}, {"task", id}, {"volume", bytes.number()}};
    case 1:
      return {{"kind", "hedgeStatus"}, {"task", id}, {"status", bytes.number()}};
    case 2:
      return {{"kind", "hedgeState"}, {"group", id}, {"status", bytes.number()}};
    default:
      break;
  }
  Json line = security(bytes, {{"kind", "hedgeParam"}, {"command", commandOf(id)}});
  line["where"] = bytes.flag() ? "manager" : "stored";
  line["enabled"] = bytes.flag();
  line["account"] = bytes.oneOf(ACCOUNTS);
  line["operation"] = bytes.oneOf(OPERATIONS);
  line["volume"] = bytes.number();
  line["ratio"] = bytes.oneOf(PRICES);
  line["handedOver"] = bytes.flag();
  return line;
}

Json reply(CBytes& bytes, const Rows&) {
  Json line;
  switch (bytes.below(3)) {
    case 0:
      line = {{"kind", "serverReply"}, {"document", {{"ErrorMsg", bytes.oneOf(TEXTS)}}}};
      break;
    case 1:
      line = {{"kind", "createReply"}, {"taskId", bytes.oneOf(TASKS)}};
      break;
    default:
      line = {{"kind", "orderProcess"}, {"data", {{detailKey(bytes), {{"SH.600000", bytes.number()}}}}}};
      if (bytes.flag()) line["document"] = {{"ErrorMsg", bytes.oneOf(TEXTS)}};
  }
  if (bytes.flag()) line["error"] = bytes.oneOf(TEXTS);
  return line;
}

Json user(const char* act, Json line = Json::object()) {
  line["kind"] = "user";
  line["do"] = act;
  return line;
}

Json button(CBytes& bytes, const Rows& rows) {
  return user("button", {{"row", row(bytes, rows)}, {"id", static_cast<int>(bytes.below(9))}});
}

Json look(CBytes& bytes, const Rows& rows) {
  const int column = static_cast<int>(bytes.below(20));
  switch (bytes.below(5)) {
    case 0:
      return user("click", {{"row", row(bytes, rows)}, {"column", column}});
    case 1:
      return user("doubleClick", {{"column", column}});
    case 2:
      return user("expand", {{"row", row(bytes, rows)}});
    case 3:
      return user("collapse", {{"row", row(bytes, rows)}});
    default:
      return user("copy");
  }
}

Json toolBar(CBytes& bytes, const Rows&) {
  if (bytes.below(5) == 0) return user("filterFinished", {{"on", bytes.flag()}});
  return user("toolbar", {{"id", static_cast<int>(bytes.below(16))}});
}

Json key(CBytes& bytes, const Rows&) {
  const char* const keys[] = {"Down",   "Up",     "Right", "Left",   "Return", "Space",  "Shift+W", "Ctrl+C",
                              "Ctrl+A", "Home",   "End",   "PgDown", "PgUp",   "Escape", "Menu",    "Shift+Down",
                              "F5",     "Ctrl+F", "Tab",   "Del",    "*",      "+",      "-",       "Alt+Return"};
  return user("key", {{"keys", bytes.oneOf(keys)}});
}

Json event(CBytes& bytes, const Rows&) {
  const int events[] = {1140, 1140, 1140, 1196, 5, 1, 7};
  const int actions[] = {3, 5, 6, 10000, 10001, 10002, 10003, -1, 4};
  Json line = user("event", {{"event", bytes.oneOf(events)}, {"id", bytes.oneOf(actions)}});
  line["task"] = bytes.oneOf(TASKS);
  if (bytes.flag()) line["text"] = bytes.oneOf(TEXTS);
  return line;
}

Json host(CBytes& bytes, const Rows& rows) {
  Json line{{"kind", "host"}};
  const char* const params[] = {"", "//0*1*2", "//0*0*99", "0,1,2/1*2", "///", "8,60;9,70/1/2*1*3"};
  switch (bytes.below(7)) {
    case 0:
      line.update({{"do", "setParam"}, {"text", bytes.oneOf(params)}});
      break;
    case 1:
      line.update({{"do", "setTradeType"}, {"traderType", static_cast<int>(bytes.below(3))}});
      break;
    case 2:
      line.update({{"do", "setUiLock"}, {"on", bytes.flag()}});
      break;
    case 3:
      line["do"] = "prepareActive";
      break;
    case 4:
      line.update({{"do", "requestAccount"}, {"account", bytes.flag() ? "A1" : "F1"}});
      break;
    case 5:
      line["do"] = "loadAccountGroupSettings";
      break;
    default:
      line.update({{"do", "patch"}, {"row", row(bytes, rows)}, {"priceType", bytes.oneOf(PRICE_TYPES)}});
  }
  return line;
}

Json world(CBytes& bytes, const Rows&) {
  switch (bytes.below(4)) {
    case 0: {
      const char* const dates[] = {"20261124", "20261125", "", "x"};
      return {{"kind", "tradingDay"}, {"date", bytes.oneOf(dates)}};
    }
    case 1:
      return {{"kind", "stockUnitChange"}};
    case 2: {
      Json line = security(bytes, {{"kind", "quote"}, {"last", bytes.oneOf(PRICES)}});
      line["bid"] = bytes.oneOf(PRICES);
      line["ask"] = bytes.oneOf(PRICES);
      return line;
    }
    default: {
      Json line = security(bytes, {{"kind", "instrument"}, {"name", bytes.oneOf(TEXTS)}});
      const int units[] = {1, 100, 200, 0, -1, 1000000};
      line["tradeMinUnit"] = bytes.oneOf(units);
      line["uiMinUnit"] = bytes.oneOf(units);
      line["tradeUnit"] = bytes.oneOf(units);
      const int types[] = {100001, 100002, 100021, 277, 1172};
      line["types"] = {bytes.oneOf(types)};
      return line;
    }
  }
}

Json panel(CBytes& bytes, const Rows&) { return {{"kind", bytes.flag() ? "open" : "close"}}; }

Json refresh(CBytes&, const Rows&) { return {{"kind", "refresh"}}; }

Json dialogAct(CBytes& bytes) {
  const char* const buttons[] = {"选中补单", "全选",         "反选", "普通交易", "智能算法", "保存",
                                 "取消",     "新建篮子补单", "POV",  "TWAP",     "关闭",     "确定"};
  const char* const rows[] = {"A1/SH.600000买入", "A1/SH.600036买入", "A2/SH.600000买入", "A1/SH.600000卖出", "参与率"};
  switch (bytes.below(5)) {
    case 0:
      return {{"close", true}};
    case 1:
      return {{"check", bytes.oneOf(rows)}, {"on", bytes.flag()}};
    case 2:
      return {{"edit", bytes.oneOf(rows)},
              {"text", bytes.flag() ? std::to_string(bytes.number()) : bytes.oneOf(TEXTS)}};
    case 3:
      return {{"dump", "dialog"}};
    default:
      return {{"press", bytes.oneOf(buttons)}};
  }
}

using Maker = Json (*)(CBytes& bytes, const Rows& rows);
/// What there is most of in a day stands there most often.
constexpr Maker MAKERS[] = {task,  task,  task, refresh, refresh, refresh, button, button, progress, hedge,
                            hedge, reply, look, toolBar, key,     event,   host,   world,  panel};

Json any(CBytes& bytes, const Rows& rows) { return bytes.oneOf(MAKERS)(bytes, rows); }

/// Acts in a dialog, the line that opens it, and lines that come meanwhile.
std::vector<Json> dialog(CBytes& bytes, const Rows& rows) {
  std::vector<Json> lines;
  Json acts = Json::array();
  for (std::size_t i = bytes.below(4); i > 0; --i) acts.push_back(dialogAct(bytes));
  const std::size_t meanwhile = bytes.below(4);
  if (meanwhile > 0) acts.push_back({{"play", static_cast<int>(meanwhile)}});
  acts.push_back(bytes.flag() ? Json{{"press", "选中补单"}} : dialogAct(bytes));
  lines.push_back(user("dialog", {{"acts", acts}}));
  lines.push_back(user("button", {{"row", row(bytes, rows)}, {"id", 4}}));
  for (std::size_t i = 0; i < meanwhile; ++i) lines.push_back(any(bytes, rows));
  return lines;
}

}  // namespace

std::string nextLines(CBytes& bytes, const Rows& rows, int msec) {
  const std::uint8_t choice = bytes.byte();
  std::vector<Json> lines = choice < 20 ? dialog(bytes, rows) : std::vector<Json>{any(bytes, rows)};
  lines.front()["t"] = msec;
  std::string text;
  for (const Json& line : lines) text += line.dump() + "\n";
  return text;
}

}  // namespace fuzz
