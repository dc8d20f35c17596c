/// Roles of columns without titles. Any thread.
#pragma once

#include <cstddef>
#include <vector>

#include "BasketReader.h"

namespace basket {

std::vector<SColumn> rolesOfValues(const SSheet& sheet, std::size_t width, const CSecurities& securities);

}  // namespace basket
