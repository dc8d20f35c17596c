/// What a line's cells say and how what is typed into them is read. GUI thread or any.
#pragma once

#include <QString>

#include "Draft.h"

namespace preview {

/// "买入", "卖出", empty.
QString sideText(draft::ESide side);
draft::ESide sideOf(const QString& text);

/// "股", "元", "权重".
QString measureText(basket::EMeasure measure);

/// A quantity or a price as it is typed again: without separators, as short as it can be.
QString numberText(double value);
/// Nothing typed is 0; -1 when it is no number. Takes separators, full-width digits, and 万 behind the number.
double numberOf(const QString& text);

/// A whole number with separators.
QString sharesText(qint64 shares);
/// "1,234.56 万" of CNY.
QString amountText(double amount);

}  // namespace preview
