/// Fills a line part by part, whatever it is read from; what does not fit becomes the line's fault. Any thread.
#pragma once

#include <string_view>

#include "BasketReader.h"
#include "CellValues.h"

namespace basket {

void addFault(SReadLine& line, const std::string& text);
/// The security that code, market and name say, each of which may be empty.
void setSecurity(SReadLine& line, std::string_view code, std::string_view market, std::string_view name,
                 const CSecurities& securities);
void setSide(SReadLine& line, const SSideValue& side);
/// After the security, since a future's lot is one. measure and unit: where the number says none itself. bySign: a sign
/// says the side.
void setSize(SReadLine& line, const SNumber& number, EMeasure measure, EUnit unit, bool bySign);

}  // namespace basket
