#include "DraftJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <algorithm>
#include <cmath>

#include "JsonText.h"

namespace preview {
namespace {

/// Walks the fields of a record once, to write them or to read them.
class CWriter {
 public:
  template <class T>
  void number(const char* key, const T& value) {
    m_json[QLatin1String(key)] = static_cast<double>(value);
  }
  template <class T>
  void enumeration(const char* key, const T& value, T /*last*/) {
    m_json[QLatin1String(key)] = static_cast<int>(value);
  }
  void flag(const char* key, const bool& value) { m_json[QLatin1String(key)] = value; }
  void text(const char* key, const std::string& value) { m_json[QLatin1String(key)] = QString::fromStdString(value); }
  void text(const char* key, const QString& value) { m_json[QLatin1String(key)] = value; }
  QJsonObject m_json;
};

class CReader {
 public:
  explicit CReader(const QJsonObject& json) : m_json(json) {}

  void number(const char* key, double& value) { value = m_json.value(QLatin1String(key)).toDouble(value); }
  void number(const char* key, int& value) { value = m_json.value(QLatin1String(key)).toInt(value); }
  template <class T>
  void enumeration(const char* key, T& value, T last) {
    const int number = m_json.value(QLatin1String(key)).toInt(static_cast<int>(value));
    if (number >= 0 && number <= static_cast<int>(last)) value = static_cast<T>(number);
  }
  void flag(const char* key, bool& value) { value = m_json.value(QLatin1String(key)).toBool(value); }
  void text(const char* key, std::string& value) {
    value = m_json.value(QLatin1String(key)).toString(QString::fromStdString(value)).toStdString();
  }
  void text(const char* key, QString& value) { value = m_json.value(QLatin1String(key)).toString(value); }

 private:
  const QJsonObject& m_json;
};

template <class Archive, class Line>
void plainFields(Archive& archive, Line& line) {
  archive.flag("checked", line.m_bChecked);
  archive.text("market", line.m_strMarket);
  archive.text("code", line.m_strCode);
  archive.text("name", line.m_strName);
  archive.enumeration("side", line.m_side, draft::ESide::Sell);
  archive.enumeration("measure", line.m_measure, basket::EMeasure::Weight);
  archive.number("quantity", line.m_dQuantity);
  archive.number("price", line.m_dPrice);
  archive.text("fault", line.m_strFault);
  archive.number("line", line.m_nSourceLine);
}

template <class Archive, class Line>
void lineFields(Archive& archive, Line& line) {
  plainFields(archive, line.m_line);
  archive.number("operation", line.m_nOperation);
  archive.text("read", line.m_strRead);
  archive.flag("edited", line.m_bEdited);
}

template <class Archive, class Column>
void columnFields(Archive& archive, Column& column) {
  archive.text("title", column.m_strTitle);
  archive.enumeration("role", column.m_role, basket::ERole::Price);
  archive.enumeration("unit", column.m_unit, basket::EUnit::Percent);
}

template <class Archive, class Limits>
void limitFields(Archive& archive, Limits& limits) {
  archive.number("line", limits.m_dLine);
  archive.number("account", limits.m_dAccount);
  archive.number("basket", limits.m_dBasket);
  archive.number("volumeShare", limits.m_dVolumeShare);
}

template <class Archive, class State>
void stateFields(Archive& archive, State& state) {
  archive.text("name", state.m_strName);
  archive.text("file", state.m_strFile);
  archive.number("sheet", state.m_nSheet);
  archive.number("total", state.m_sizing.m_dTotal);
  archive.number("multiple", state.m_sizing.m_dMultiple);
  archive.number("orderType", state.m_trade.m_nOrderType);
  archive.number("priceType", state.m_trade.m_nPriceType);
  archive.number("offset", state.m_trade.m_nOffsetTicks);
  archive.text("algorithm", state.m_trade.m_strAlgo);
  archive.flag("hedged", state.m_hedge.m_bEnabled);
  archive.text("future", state.m_hedge.m_strCode);
  archive.number("hedgeRatio", state.m_hedge.m_dRatio);
}

// A line's parts are lines.
QJsonArray linesJson(const std::vector<SDraftLine>& lines) {
  QJsonArray array;
  for (const SDraftLine& line : lines) {
    CWriter writer;
    lineFields(writer, line);
    if (line.m_bEdited) {
      CWriter original;
      plainFields(original, line.m_original);
      writer.m_json[QLatin1String("original")] = original.m_json;
    }
    if (!line.m_merged.empty()) writer.m_json[QLatin1String("merged")] = linesJson(line.m_merged);
    array.append(writer.m_json);
  }
  return array;
}

std::vector<SDraftLine> linesOf(const QJsonArray& array) {
  std::vector<SDraftLine> lines;
  for (const auto& each : array) {
    const QJsonObject object = each.toObject();
    CReader reader(object);
    SDraftLine& line = lines.emplace_back();
    lineFields(reader, line);
    line.m_original = line.m_line;
    const QJsonObject original = object.value(QLatin1String("original")).toObject();
    CReader originalReader(original);
    plainFields(originalReader, line.m_original);
    line.m_merged = linesOf(object.value(QLatin1String("merged")).toArray());
  }
  return lines;
}

/// What is multiplied with must be a number that can be.
double positive(double value, double otherwise) { return std::isfinite(value) && value > 0 ? value : otherwise; }

}  // namespace

QJsonObject parseObject(const QByteArray& text) {
  // Qt's reader never frees an object or a list whose name comes again in the same object.
  const nlohmann::json plain = journal::tryParseJson(text.toStdString());
  return plain.is_object() ? QJsonDocument::fromJson(QByteArray::fromStdString(plain.dump())).object() : QJsonObject();
}

QJsonObject toJson(const basket::SLayout& layout) {
  QJsonArray columns;
  for (const basket::SColumn& column : layout.m_columns) {
    CWriter writer;
    columnFields(writer, column);
    columns.append(writer.m_json);
  }
  return {{QStringLiteral("header"), layout.m_nHeader}, {QStringLiteral("columns"), columns}};
}

basket::SLayout layoutOf(const QJsonObject& json) {
  basket::SLayout layout;
  layout.m_nHeader = json.value(QLatin1String("header")).toInt(-1);
  for (const auto& each : json.value(QLatin1String("columns")).toArray()) {
    const QJsonObject object = each.toObject();
    CReader reader(object);
    columnFields(reader, layout.m_columns.emplace_back());
  }
  return layout;
}

QJsonObject toJson(const SDealChoice& deal) {
  QJsonObject ratios;
  for (const auto& [account, ratio] : deal.m_ratios) ratios[QString::fromStdString(account)] = ratio;
  return {{QStringLiteral("by"), static_cast<int>(deal.m_by)}, {QStringLiteral("ratios"), ratios}};
}

SDealChoice dealOf(const QJsonObject& json) {
  SDealChoice deal;
  CReader(json).enumeration("by", deal.m_by, draft::EDealBy::Position);
  const QJsonObject ratios = json.value(QLatin1String("ratios")).toObject();
  for (auto each = ratios.begin(); each != ratios.end(); ++each) {
    const double ratio = positive(each.value().toDouble(), 0);
    if (ratio > 0) deal.m_ratios[each.key().toStdString()] = ratio;
  }
  return deal;
}

QJsonObject toJson(const draft::SLimits& limits) {
  CWriter writer;
  limitFields(writer, limits);
  return writer.m_json;
}

draft::SLimits limitsOf(const QJsonObject& json) {
  draft::SLimits limits;
  CReader reader(json);
  limitFields(reader, limits);
  return limits;
}

QJsonObject toJson(const SDraftState& state) {
  CWriter writer;
  stateFields(writer, state);
  writer.m_json[QLatin1String("lines")] = linesJson(state.m_lines);
  writer.m_json[QLatin1String("layout")] = toJson(state.m_layout);
  writer.m_json[QLatin1String("deal")] = toJson(state.m_deal);
  writer.m_json[QLatin1String("limits")] = toJson(state.m_limits);
  return writer.m_json;
}

SDraftState draftOf(const QJsonObject& json) {
  SDraftState state;
  CReader reader(json);
  stateFields(reader, state);
  state.m_sizing.m_dMultiple = positive(state.m_sizing.m_dMultiple, 1);
  state.m_nSheet = std::max(0, state.m_nSheet);
  state.m_lines = linesOf(json.value(QLatin1String("lines")).toArray());
  state.m_layout = layoutOf(json.value(QLatin1String("layout")).toObject());
  state.m_deal = dealOf(json.value(QLatin1String("deal")).toObject());
  state.m_limits = limitsOf(json.value(QLatin1String("limits")).toObject());
  return state;
}

}  // namespace preview
