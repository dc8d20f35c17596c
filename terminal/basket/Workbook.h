/// Workbooks: XLSX and ODS. Any thread; nothing is thrown.
#pragma once

#include <string_view>

#include "BasketReader.h"

namespace basket {

/// Whether the bytes are a workbook's, one that can be read or not.
bool isWorkbook(std::string_view bytes);
SSource readWorkbook(std::string_view bytes);

}  // namespace basket
