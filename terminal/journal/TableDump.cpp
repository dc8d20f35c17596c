#include "TableDump.h"

#include <nlohmann/json.hpp>

#include "gv/CBaseTableColumnMultiButtonsDelegate.h"
#include "gv/CHpfTreeTable.h"
#include "gv/CUiResource.h"
#include "tc/ITradeDockableWidget.h"

namespace journal {
namespace {

using Json = nlohmann::ordered_json;

/// Columns of the status table whose values are dumped beside their texts.
constexpr int COLOUR_COLUMN = 6;
constexpr int NUMBER_COLUMN = 7;

Json buttonsDump(const GV::CBaseTableColumnMultiButtonsDelegate& delegate, const QString& key) {
  Json buttons = Json::array();
  for (const GV::STableButton& button : delegate.itemButtons(key)) {
    buttons.push_back({{"id", button.id},
                       {"text", button.text.toStdString()},
                       {"visible", delegate.getIsItemButtonVisible(key, button.id)},
                       {"enabled", delegate.getIsItemButtonEnabled(key, button.id)}});
  }
  return buttons;
}

std::string colourOf(const GV::CHpfTreeTableData& row) {
  const QColor* colour = row.textColor(COLOUR_COLUMN);
  if (!colour) colour = GV::CUiResource::getColor(QStringLiteral("clr_text_default"));
  return colour->name().toStdString();
}

/// Dumps row after row in the order of the table.
class CRowDumper {
 public:
  explicit CRowDumper(const GV::CHpfTreeTable& table)
      : m_table(table), m_pButtons(buttonsOf(table)), m_nColumns(table.dataModel()->columnCount()) {}

  void add(const GV::CHpfTreeTableData& row, int depth, bool hidden, bool expanded) {
    m_path = m_path.mid(0, depth) << row.scriptName();
    const QString key = row.key();
    Json dump{{"row", m_path.join('/').toStdString()},
              {"depth", depth},
              {"hidden", hidden},
              {"expanded", expanded},
              {"cells", cells(row)},
              {"number", row.number(NUMBER_COLUMN)},
              {"colour", colourOf(row)},
              {"sortOrder", row.sortOrder()}};
    dump["buttons"] = m_pButtons ? buttonsDump(*m_pButtons, key) : Json::array();
    dump["buttonSet"] = m_pButtons && m_pButtons->getIsItemVisible(key);
    m_rows.push_back(std::move(dump));
  }

  Json takeRows() { return std::move(m_rows); }

 private:
  Json cells(const GV::CHpfTreeTableData& row) const {
    Json texts = Json::array();
    for (int column = 0; column < m_nColumns; ++column) texts.push_back(m_table.itemText(row, column).toStdString());
    return texts;
  }

  const GV::CHpfTreeTable& m_table;
  const GV::CBaseTableColumnMultiButtonsDelegate* m_pButtons;
  int m_nColumns;
  QStringList m_path;
  Json m_rows = Json::array();
};

}  // namespace

Json tableDump(const TC::ITradeDockableWidget& panel, const std::string& name) {
  Json dump{{"dump", name},
            {"filter", panel.property("filter").toInt()},
            {"running", panel.property("runningCount").toInt()},
            {"param", panel.param().toStdString()},
            {"rows", Json::array()}};
  const GV::CHpfTreeTable* table = tableOf(panel);
  if (!table || !table->dataModel()) return dump;
  CRowDumper dumper(*table);
  table->forEachRow([&dumper](const GV::CHpfTreeTableData& row, int depth, bool hidden, bool expanded) {
    dumper.add(row, depth, hidden, expanded);
  });
  dump["rows"] = dumper.takeRows();
  return dump;
}

GV::CHpfTreeTable* tableOf(const TC::ITradeDockableWidget& panel) { return panel.findChild<GV::CHpfTreeTable*>(); }

GV::CBaseTableColumnMultiButtonsDelegate* buttonsOf(const GV::CHpfTreeTable& table) {
  for (int column = 0; column < table.dataModel()->columnCount(); ++column) {
    auto* delegate = qobject_cast<GV::CBaseTableColumnMultiButtonsDelegate*>(table.columnDelegate(column));
    if (delegate) return delegate;
  }
  return nullptr;
}

QString rowPath(const GV::CHpfTreeTable& table, const QString& key) {
  QStringList path;
  for (GV::CHpfTreeTableDataPtr each = table.dataByKey(key); each; each = each->parent()) {
    path.prepend(each->scriptName());
  }
  return path.join('/');
}

}  // namespace journal
