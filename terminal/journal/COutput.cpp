#include "COutput.h"

#include <QPointer>
#include <nlohmann/json.hpp>

#include "Archive.h"
#include "DialogDump.h"
#include "RecordFields.h"
#include "TableDump.h"
#include "gv/CCommonDialog.h"
#include "gv/CHpfTreeTable.h"
#include "tc/CTaskOrdersWidget.h"
#include "tc/CTaskParamWidget.h"
#include "tc/ITradeDockableWidget.h"
#include "utils/Log.h"

namespace journal {
namespace {

using Json = nlohmann::ordered_json;

Json hedgeParam(ksservice::CBasketHedgeParam param) {
  Json json = {{"enabled", param.m_bEnabled},   {"market", param.m_strMarket},     {"code", param.m_strCode},
               {"account", param.m_strAccount}, {"operation", param.m_nOperation}, {"volume", param.m_nVolume}};
  CWriteArchive archive(json);
  hedgeSettingFields(archive, param);
  return json;
}

/// The fields of a task line's command and parameters, those included that have their default.
Json command(ksservice::COrderCommand command) {
  Json json = Json::object();
  CWriteArchive archive(json, true);
  commandFields(archive, command);
  archive.optional("type", command.m_nType);
  return json;
}

Json params(const std::vector<ksservice::CCodeOrderParam>& params) {
  Json list = Json::array();
  for (const ksservice::CCodeOrderParam& param : params) {
    STaskParam line{param.m_pAccount ? param.m_pAccount->getKey() : std::string(), param};
    CWriteArchive archive(list.emplace_back(Json::object()), true);
    paramFields(archive, line);
  }
  return list;
}

/// A call that hands a record of an operation over; whom it is for stands between.
Json operation(const char* call, const Json& whom, const ksservice::CTaskOpRecord& record) {
  Json line{{"call", call}};
  line.update(whom);
  line.update(
      Json{{"operation", record.m_nOperation}, {"operator", record.m_strOperator}, {"remark", record.m_strRemark}});
  return line;
}

Json localTask(int taskId, const desk::AccountPtr& account) {
  return {{"id", taskId}, {"account", account ? account->getKey() : std::string()}};
}

/// The path of the row whose orders a window shows. The key of a root is that of its task.
QString ordersPath(const GV::CHpfTreeTable& table, const QString& key) {
  QString path;
  QString root;
  table.forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
    if (depth == 0) root = row.key();
    if (key.startsWith(root) && key == TC::CTaskOrdersWidget::keyOf(root, row.nodeKey()))
      path = rowPath(table, row.key());
  });
  return path;
}

}  // namespace

COutput::COutput(std::ostream& out) : m_out(out) {
  utils::CLogCenter::instance().setObserver([this](const std::string& message) {
    put({{"log", "info"}, {"text", message}});
  });
}

COutput::~COutput() {
  utils::CLogCenter::instance().setObserver({});
  TC::CTaskOrdersWidget::setShowObserver({});
  TC::CBaseTaskParamWidget::setShowObserver({});
}

void COutput::put(const Json& line) {
  // A text that is no UTF-8 must not end the output.
  const std::string text = line.dump(-1, ' ', false, Json::error_handler_t::replace);
  const std::lock_guard<std::mutex> lock(m_mutex);
  m_out << text << '\n' << std::flush;
}

void COutput::watch(TC::ITradeDockableWidget& panel) {
  QObject::connect(
      &panel, &TC::ITradeDockableWidget::sigRunningTasks, &panel,
      [this](EMavTraderType type, int count) {
        put({{"signal", "sigRunningTasks"}, {"traderType", int(type)}, {"count", count}});
      },
      Qt::DirectConnection);
  QObject::connect(
      &panel, &TC::ITradeDockableWidget::sigPatchCreateTask, &panel,
      [this](const QString& lines) {
        put({{"signal", "sigPatchCreateTask"}, {"text", lines.toStdString()}});
      },
      Qt::DirectConnection);
  if (GV::CHpfTreeTable* table = tableOf(panel)) watchWindows(*table);
}

void COutput::watchWindows(GV::CHpfTreeTable& table) {
  const QPointer<GV::CHpfTreeTable> shown(&table);
  TC::CTaskOrdersWidget::setShowObserver([this, shown](const QString& key, const std::vector<std::string>& orders) {
    if (!shown) return;
    const QString path = ordersPath(*shown, key);
    const int task = path.section('/', 0, 0).toInt();
    put({{"call", "showOrders"}, {"task", task}, {"row", path.toStdString()}, {"orders", orders}});
  });
  TC::CBaseTaskParamWidget::setShowObserver([this, shown](const QString& key) {
    if (shown) put({{"call", "showTaskParam"}, {"row", rowPath(*shown, key).toStdString()}});
  });
}

void COutput::dump(const TC::ITradeDockableWidget& panel, const std::string& name) { put(tableDump(panel, name)); }

void COutput::messageBox(const QString& title, const QString& text) {
  put({{"call", "messageBox"}, {"title", title.toStdString()}, {"text", text.toStdString()}});
}

void COutput::setClipboard(const QString& text) { put({{"call", "setClipboard"}, {"text", text.toStdString()}}); }

void COutput::showSettingPage(const QString& text) { put({{"call", "showSettingPage"}, {"text", text.toStdString()}}); }

void COutput::dump(const GV::CCommonDialog& dialog, const std::string& name) { put(dialogDump(dialog, name)); }

void COutput::dialogResult(const QString& title, bool accepted) {
  put({{"dialog", title.toStdString()}, {"result", accepted ? "accepted" : "rejected"}});
}

void COutput::dialogEnded(GV::CCommonDialog& dialog, bool accepted) { dialogResult(dialog.windowTitle(), accepted); }

bool COutput::isGood() const {
  const std::lock_guard<std::mutex> lock(m_mutex);
  return m_out.good();
}

void COutput::onUpdateData(const ksservice::CTaskDetailPtr& detail) {
  put({{"call", "updateData"}, {"task", detail->getKey()}, {"status", detail->m_nStatus}});
}

void COutput::onShowMsg(const QString& text, int kind) {
  put({{"call", "showMsg"}, {"text", text.toStdString()}, {"messageKind", kind}});
}

void COutput::onSetHedgeParam(int groupId, int commandId, const ksservice::CBasketHedgeParam& param) {
  put({{"call", "setHedgeParam"}, {"group", groupId}, {"command", commandId}, {"param", hedgeParam(param)}});
}

void COutput::onStartHedge(int groupId) { put({{"call", "startHedge"}, {"group", groupId}}); }

void COutput::onPauseHedge(int groupId) { put({{"call", "pauseHedge"}, {"group", groupId}}); }

void COutput::onStopHedge(int groupId) { put({{"call", "stopHedge"}, {"group", groupId}}); }

void COutput::onCreateTask(const desk::SCreateRequest& request) {
  put({{"call", "createTask"},
       {"command", command(request.m_command)},
       {"params", params(request.m_params)},
       {"traderType", request.m_nTraderType},
       {"hedgeType", request.m_nHedgeType}});
}

void COutput::onOperateServerTask(const std::string& serverTaskKey, const ksservice::CTaskOpRecord& record) {
  put(operation("operateServerTask", {{"task", serverTaskKey}}, record));
}

void COutput::onQueryOrderProcess(const std::vector<std::string>& serverTaskKeys) {
  put({{"call", "queryOrderProcess"}, {"tasks", serverTaskKeys}});
}

void COutput::onOperateLocalTask(int taskId, const desk::AccountPtr& account, const ksservice::CTaskOpRecord& record) {
  put(operation("operateLocalTask", localTask(taskId, account), record));
}

void COutput::onPauseLocalTask(int taskId, const desk::AccountPtr& account) {
  Json line{{"call", "pauseLocalTask"}};
  line.update(localTask(taskId, account));
  put(line);
}

void COutput::onResumeLocalTask(int taskId, const desk::AccountPtr& account) {
  Json line{{"call", "resumeLocalTask"}};
  line.update(localTask(taskId, account));
  put(line);
}

}  // namespace journal
