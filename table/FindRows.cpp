#include "FindRows.h"

#include <algorithm>

#include "TaskBlock.h"
#include "utils/Pinyin.h"

namespace TC {
namespace {

struct STyped {
  QString text;
  bool number = false;  ///< digits alone
  bool dotted = false;
};

bool contains(const QString& name, const STyped& typed) { return name.contains(typed.text, Qt::CaseInsensitive); }
bool begins(const QString& code, const STyped& typed) { return code.startsWith(typed.text, Qt::CaseInsensitive); }

// Every task's own name begins alike, so that its number alone tells tasks apart by digits, and its initials nothing.
bool isTask(const CHpfBasketStatusData& row, const STyped& typed) {
  const QString& basket = row.facts.basketName;
  if (contains(basket, typed) || utils::matchesPinyin(basket, typed.text)) return true;
  return typed.number ? begins(QString::number(row.facts.taskId), typed) : contains(row.shape.displayName, typed);
}

bool isInstrument(const CHpfBasketStatusData& row, const STyped& typed) {
  const SInstrumentInfo& instrument = row.instrument;
  const QString& code = row.shape.code;
  if (begins(code, typed) || begins(row.shape.displayName, typed) || contains(instrument.name, typed)) return true;
  if (typed.dotted && begins(code + QLatin1Char('.') + instrument.market, typed)) return true;
  return instrument.pinyin.isEmpty() ? utils::matchesPinyin(instrument.name, typed.text)
                                     : utils::matchesGivenPinyin(instrument.pinyin, typed.text);
}

}  // namespace

std::function<bool(const GV::ITreeState&, int)> rowsNamed(const QString& typed) {
  STyped meant{typed};
  meant.number = std::all_of(typed.begin(), typed.end(), [](QChar each) { return each >= u'0' && each <= u'9'; });
  meant.dotted = typed.contains(QLatin1Char('.'));
  return [meant](const GV::ITreeState& state, int row) {
    // The table has no other rows.
    const CHpfBasketStatusData data = static_cast<const STaskRows&>(state).data(row);
    return data.isRoot() ? isTask(data, meant) : data.shape.leaf && isInstrument(data, meant);
  };
}

}  // namespace TC
