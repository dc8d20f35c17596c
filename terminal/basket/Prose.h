/// Baskets in sentences, "买 600000 浦发银行 1000股 @10.2", line by line. Any thread.
#pragma once

#include "BasketReader.h"

namespace basket {

SReadBasket readProse(const SSheet& sheet, const CSecurities& securities);

}  // namespace basket
