#include "LineTexts.h"

#include <QLocale>
#include <cmath>

namespace preview {
namespace {

constexpr double TEN_THOUSAND = 10000;

const QLocale& plainLocale() {
  static const QLocale locale = [] {
    QLocale grouped(QLocale::C);
    grouped.setNumberOptions(QLocale::DefaultNumberOptions);
    return grouped;
  }();
  return locale;
}

}  // namespace

QString sideText(draft::ESide side) {
  switch (side) {
    case draft::ESide::Buy:
      return QStringLiteral("买入");
    case draft::ESide::Sell:
      return QStringLiteral("卖出");
    case draft::ESide::None:
      return {};
  }
  return {};
}

draft::ESide sideOf(const QString& text) {
  const QString plain = text.trimmed().toLower();
  if (plain.isEmpty()) return draft::ESide::None;
  const auto begins = [&plain](const char* word) { return QString::fromUtf8(word).startsWith(plain); };
  if (begins("买入") || begins("buy") || plain == QLatin1String("1")) return draft::ESide::Buy;
  if (begins("卖出") || begins("sell") || plain == QLatin1String("2")) return draft::ESide::Sell;
  return draft::ESide::None;
}

QString measureText(basket::EMeasure measure) {
  switch (measure) {
    case basket::EMeasure::Shares:
      return QStringLiteral("股");
    case basket::EMeasure::Amount:
      return QStringLiteral("元");
    case basket::EMeasure::Weight:
      return QStringLiteral("权重");
    case basket::EMeasure::None:
      return {};
  }
  return {};
}

QString numberText(double value) {
  if (!(value > 0)) return {};
  return plainLocale().toString(value, 'f', QLocale::FloatingPointShortest).remove(QLatin1Char(','));
}

double numberOf(const QString& text) {
  QString plain = text.normalized(QString::NormalizationForm_KC).remove(QLatin1Char(',')).simplified();
  plain.remove(QLatin1Char(' '));
  if (plain.isEmpty()) return 0;
  double unit = 1;
  if (plain.endsWith(QStringLiteral("万"))) {
    unit = TEN_THOUSAND;
    plain.chop(1);
  }
  bool good = false;
  const double number = plainLocale().toDouble(plain, &good) * unit;
  return good && std::isfinite(number) && number >= 0 ? number : -1;
}

QString sharesText(qint64 shares) { return plainLocale().toString(shares); }

QString amountText(double amount) {
  return plainLocale().toString(amount / TEN_THOUSAND, 'f', 2) + QStringLiteral(" 万");
}

}  // namespace preview
