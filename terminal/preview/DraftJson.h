/// Drafts and what is kept for the next ones, as JSON. What a text does not say keeps its default; what it says wrong
/// is left out, so that a damaged file costs what is damaged. Any thread.
#pragma once

#include <QJsonObject>

#include "SDraftState.h"

namespace preview {

/// What a kept file holds; an empty object where it is none.
QJsonObject parseObject(const QByteArray& text);

QJsonObject toJson(const SDraftState& state);
SDraftState draftOf(const QJsonObject& json);

QJsonObject toJson(const basket::SLayout& layout);
basket::SLayout layoutOf(const QJsonObject& json);

QJsonObject toJson(const SDealChoice& deal);
SDealChoice dealOf(const QJsonObject& json);

QJsonObject toJson(const draft::SLimits& limits);
draft::SLimits limitsOf(const QJsonObject& json);

}  // namespace preview
