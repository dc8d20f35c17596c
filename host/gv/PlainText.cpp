#include "gv/PlainText.h"

#include <QTextDocument>

namespace GV {

QString plainTip(const QString& text) { return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text; }

}  // namespace GV
