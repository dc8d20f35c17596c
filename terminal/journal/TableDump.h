#pragma once

#include <QString>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace GV {
class CBaseTableColumnMultiButtonsDelegate;
class CHpfTreeTable;
}  // namespace GV
namespace TC {
class ITradeDockableWidget;
}

namespace journal {

/// The panel's table and state as the user sees them. GUI thread.
nlohmann::ordered_json tableDump(const TC::ITradeDockableWidget& panel, const std::string& name);

/// The panel's table; null for a panel without one.
GV::CHpfTreeTable* tableOf(const TC::ITradeDockableWidget& panel);
/// The delegate of the table's column of buttons; null without such a column.
GV::CBaseTableColumnMultiButtonsDelegate* buttonsOf(const GV::CHpfTreeTable& table);
/// The path by which a row is named in a journal; empty for an unknown key.
QString rowPath(const GV::CHpfTreeTable& table, const QString& key);

}  // namespace journal
