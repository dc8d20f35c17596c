#include "DialogDump.h"

#include <nlohmann/json.hpp>

#include "gv/CCommonDialog.h"

namespace journal {
namespace {

using Json = nlohmann::ordered_json;

Json texts(const QStringList& list) {
  Json json = Json::array();
  for (const QString& text : list) json.push_back(text.toStdString());
  return json;
}

}  // namespace

Json dialogDump(const GV::CCommonDialog& dialog, const std::string& name) {
  const GV::SDialogState state = dialog.state();
  Json rows = Json::array();
  for (const GV::SDialogRow& row : state.rows) {
    rows.push_back({{"row", row.key.toStdString()},
                    {"checked", row.checked},
                    {"editor", row.editor.toStdString()},
                    {"cells", texts(row.cells)}});
  }
  Json buttons = Json::array();
  for (const GV::SDialogButton& button : state.buttons) {
    buttons.push_back({{"text", button.text.toStdString()}, {"visible", button.visible}, {"enabled", button.enabled}});
    if (button.checked) buttons.back()["checked"] = true;
  }
  return {{"dump", name},
          {"title", state.title.toStdString()},
          {"rows", std::move(rows)},
          {"buttons", std::move(buttons)},
          {"labels", texts(state.labels)}};
}

}  // namespace journal
