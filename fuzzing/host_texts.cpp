// Texts of a host in everything that a user sees or takes away: painted, searched, told by a tip, copied, exported.
#include <QAbstractScrollArea>
#include <QApplication>
#include <QHelpEvent>
#include <QLineEdit>
#include <QPixmap>
#include <nlohmann/json.hpp>

#include "Application.h"
#include "Fuzz.h"
#include "PanelRun.h"
#include "TableDump.h"
#include "docks/CLogDock.h"
#include "gv/CFileDialog.h"
#include "gv/CFindBar.h"
#include "gv/CHpfTreeTable.h"
#include "gv/CUiResource.h"
#include "gv/PlainText.h"

namespace {

using Json = nlohmann::json;

/// What is not UTF-8 has a sign in its place, as in a journal no other text can be.
std::string lineOf(const Json& line) { return line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"; }

Json detail(fuzz::CBytes& bytes, int status) {
  const auto text = [&bytes] { return std::string(bytes.text()); };
  Json line{{"kind", "task"}, {"via", "feed"}, {"id", 1}, {"number", 1}, {"status", status}, {"message", text()}};
  line["command"] = {{"id", 1001},          {"taskId", 1},         {"traderType", 1},      {"user", "u1"},
                     {"login", "L1"},       {"basketType", 1},     {"basketName", text()}, {"text", text()},
                     {"localInfo", text()}, {"algoParams", text()}};
  line["params"] = {
      {{"account", "A1"},
       {"operation", 1},
       {"market", "SH"},
       {"code", "600000"},
       {"price", 10.0},
       {"volume", 1000},
       {"name", text()}},
      {{"account", "A2"}, {"operation", 2}, {"market", "SH"}, {"code", text()}, {"price", 10.0}, {"volume", 500}}};
  line["orders"] = {{{"key", text()},
                     {"market", "SH"},
                     {"code", "600000"},
                     {"operation", 1},
                     {"volume", 600},
                     {"traded", 200},
                     {"price", 10.0},
                     {"amount", 2000.0},
                     {"message", text()},
                     {"detail", Json::object()}}};
  return line;
}

std::string journalOf(fuzz::CBytes& bytes) {
  const auto text = [&bytes] { return std::string(bytes.text()); };
  std::string lines;
  lines += lineOf({{"kind", "account"}, {"key", "A1"}, {"displayId", text()}, {"name", text()}});
  lines += lineOf({{"kind", "instrument"}, {"market", "SH"}, {"code", "600000"}, {"name", text()}, {"pinyin", text()}});
  lines += lineOf(detail(bytes, bytes.flag() ? 10 : 3));
  return lines + lineOf({{"kind", "refresh"}});
}

void askForTips(QWidget& table) {
  QWidget* target = &table;
  if (auto* area = qobject_cast<QAbstractScrollArea*>(&table)) target = area->viewport();
  for (int y = 10; y < 130; y += 30) {
    for (int x = 40; x < target->width(); x += 160) {
      QHelpEvent ask(QEvent::ToolTip, {x, y}, target->mapToGlobal(QPoint(x, y)));
      QApplication::sendEvent(target, &ask);
    }
  }
}

void search(TC::CBasketTasksPanel& panel, const QString& typed) {
  auto* const bar = panel.findChild<GV::CFindBar*>();
  if (!bar) return;
  bar->begin();
  if (auto* edit = bar->findChild<QLineEdit*>()) edit->setText(typed);
  QApplication::processEvents();
  bar->go(1);
  bar->end();
}

void takeAway(GV::CHpfTreeTable& table, const char* name) {
  QString file = QString::fromStdString((fuzz::folder() / name).string());
  const auto before = GV::CFileDialog::setPresenter([&file](QWidget*, const QString&) { return file; });
  table.exportData();
  GV::CFileDialog::setPresenter(before);
  fuzz::require(std::filesystem::file_size(file.toStdString()) > 0, "an export is written");
  table.copyData();
}

void logText(const QString& text) {
  static auto* const dock = new app::CLogDock(nullptr);
  dock->clear();
  dock->append(0, text, app::CLogDock::ELevel::Warning);
  dock->grab();
  GV::plainTip(text);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::startApplication();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const char* const FILES[] = {"out.csv", "out.txt", "out.xlsx"};
  fuzz::CBytes bytes(data, size);
  const bool light = bytes.flag();
  const char* const file = bytes.oneOf(FILES);
  const std::string_view typed = bytes.text();
  const QString wanted = QString::fromUtf8(typed.data(), static_cast<int>(typed.size()));
  GV::CUiResource::setTheme(light ? "light" : "dark");
  logText(wanted);
  fuzz::SPanelRun run(true);
  run.play(journalOf(bytes));
  GV::CHpfTreeTable& table = *journal::tableOf(*run.panel());
  run.panel()->resize(1600, 300);
  run.panel()->grab();
  askForTips(table);
  search(*run.panel(), wanted);
  takeAway(table, file);
  for (const std::string& row : run.rows()) {
    const GV::CHpfTreeTableDataPtr found = table.rowByPath(QString::fromStdString(row));
    if (found) run.panel()->explain(1, found->key());
  }
  fuzz::emptyFolder();
  return 0;
}
