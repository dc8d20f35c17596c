#include "PanelRun.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "TableDump.h"
#include "gv/CHpfTreeTable.h"

namespace fuzz {
namespace {

/// What the reader must have seen before it takes other lines.
const std::string DECLARED = R"({"kind":"session","version":1,"user":"u1","login":"L1","traderType":1,"now":1763683200}
{"kind":"account","key":"A1","displayId":"1001"}
{"kind":"account","key":"A2","displayId":"1002"}
{"kind":"account","key":"F1","type":1,"displayId":"8001"}
)";
constexpr std::size_t DECLARED_LINES = 4;

const std::string KNOWN =
    R"({"kind":"instrument","market":"SH","code":"600000","name":"浦发银行","tradeMinUnit":100,"uiMinUnit":100}
{"kind":"instrument","market":"SH","code":"600036","name":"招商银行","tradeMinUnit":100,"uiMinUnit":100}
{"kind":"instrument","market":"CFFEX","code":"IF2612","name":"沪深300期指2612","multiplier":300}
{"kind":"quote","market":"SH","code":"600000","last":10.0,"bid":9.99,"ask":10.01}
{"kind":"quote","market":"CFFEX","code":"IF2612","last":3998.0,"bid":3997.8,"ask":3998.2}
{"kind":"open"}
)";

journal::SJournal readLines(const std::string& lines) {
  std::istringstream in(lines);
  return journal::readJournal(in, "j");
}

}  // namespace

SPanelRun::SPanelRun(bool shown)
    : m_player(
          m_desk, m_services,
          [shown] {
            auto* const panel = new TC::CBasketTasksPanel(1, nullptr);
            if (shown) panel->show();
            return panel;
          },
          m_output, m_errors) {
  m_services.install();
  m_player.play(readLines(DECLARED + KNOWN), "j");
}

void SPanelRun::play(const std::string& lines) {
  journal::SJournal journal = readLines(DECLARED + lines);
  journal.m_strFault.clear();
  if (journal.m_lines.size() <= DECLARED_LINES) return;
  journal.m_lines.erase(journal.m_lines.begin(), journal.m_lines.begin() + DECLARED_LINES);
  m_player.play(std::move(journal), "j");
}

std::vector<std::string> SPanelRun::rows() const {
  std::vector<std::string> paths;
  const GV::CHpfTreeTable* const table = m_player.panel() ? journal::tableOf(*m_player.panel()) : nullptr;
  if (!table) return paths;
  QStringList path;
  table->forEachRow([&](const GV::CHpfTreeTableData& row, int depth, bool, bool) {
    path = path.mid(0, depth) << row.scriptName();
    paths.push_back(path.join('/').toStdString());
  });
  return paths;
}

std::string SPanelRun::table() const {
  return m_player.panel() ? journal::tableDump(*m_player.panel(), "end").dump() : std::string();
}

}  // namespace fuzz
