/// A row's explanation as a document for the host.
#pragma once

#include <QByteArray>

#include "RowExplanation.h"

namespace TC {

/// A JSON object, UTF-8; see ITradeDockableWidget::explain. Any thread.
QByteArray explanationText(int taskId, const SRowExplanation& explained);

}  // namespace TC
