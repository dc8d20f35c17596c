// Texts in which settings are kept: the panel's table, order settings and algorithms, drafts. The first byte says
// which.

#include "Application.h"
#include "CDesk.h"
#include "CHostServices.h"
#include "CHpfBasketStatusTable.h"
#include "DraftJson.h"
#include "Fuzz.h"
#include "gv/CEventWidget.h"
#include "tc/CGlobalOrderParamTable.h"
#include "tc/OrderSetting.h"

namespace {

/// A host for the process: nothing that is read here changes it.
void installHost() {
  static desk::CDesk desk;
  static desk::CHostServices services(desk, desk::CHostServices::EClock::Manual);
  services.install();
}

QString textOf(std::string_view bytes) { return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size())); }

/// Of a kept view all but its last part, the way in which progress is shown: it is not read back.
QString viewOf(const TC::CHpfBasketStatusTable& table) { return table.param().section('/', 0, -2); }

/// What a table keeps brings another one to the same view.
void readView(std::string_view bytes) {
  QWidget owner;
  TC::CHpfBasketStatusTable first(1, &owner);
  first.setParam(textOf(bytes));
  const QString kept = viewOf(first);
  TC::CHpfBasketStatusTable second(1, &owner);
  second.setParam(first.param());
  if (viewOf(second) != kept) {
    fuzz::fail("kept as " + kept.toStdString() + "\ncame back " + viewOf(second).toStdString());
  }
}

void readOrderSetting(std::string_view bytes) {
  fuzz::CBytes input(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  const int operation = input.number();
  const int volume = input.number();
  const double limit = input.number() / 100.0;
  const auto setting = TC::orderSettingFromString(std::string(input.rest()));
  if (!setting) return;
  ksservice::CCodeOrderParam param;
  param.m_stock = {"SH", "600000", "600000"};
  TC::orderSettingToParam(*setting, param, operation, volume, limit, TC::CQuote());
}

/// The controls of an order's parameters take a text or refuse it; what they then hold can be sent.
void readOrderParams(std::string_view bytes) {
  static TC::CGlobalOrderParamTable table(0);
  fuzz::CBytes input(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  ksservice::CCodeOrderParam param;
  param.m_nOrderType = input.number();
  param.m_nPriceType = input.number();
  const QString text = textOf(input.text());
  table.loadFromOrderParam(param, text);
  table.setSingleMavAlgoParam(param.m_nOrderType, table.getUiParamByTrdTradeParam(input.number(), text.toStdString()));
  for (const GV::SDialogRow& row : table.dialogRows()) table.editRow(row.key, textOf(input.text()));
  table.commitEdits();
  table.applyTo(param);
  TC::SAlgoParams sent;
  const std::string algorithm = table.getAlgParamsStr();
  if (!algorithm.empty()) {
    fuzz::require(TC::SAlgoParams::parse(algorithm, sent).empty(), "the algorithm that would be sent is right");
  }
}

template <typename Value>
void keep(const QJsonObject& json, Value (*read)(const QJsonObject&), const char* what) {
  const QJsonObject kept = preview::toJson(read(json));
  fuzz::require(preview::toJson(read(kept)) == kept, what);
}

void readDraft(std::string_view bytes) {
  const QByteArray text(bytes.data(), static_cast<int>(bytes.size()));
  const QJsonObject json = preview::parseObject(text);
  keep(json, preview::draftOf, "a draft that is kept comes back");
  keep(json, preview::dealOf, "a way to share out comes back");
  keep(json, preview::layoutOf, "a layout comes back");
  keep(json, preview::limitsOf, "limits come back");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::startApplication();
  installHost();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr void (*KINDS[])(std::string_view) = {readView, readOrderSetting, readOrderParams, readDraft};
  fuzz::CBytes bytes(data, size);
  const auto read = bytes.oneOf(KINDS);
  read(bytes.rest());
  return 0;
}
