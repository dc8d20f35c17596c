/// The lines of a task as a message.
#pragma once

#include <vector>

#include "desklink/v1/details.pb.h"
#include "ksservice/CTaskDetail.h"

namespace desklink {

/// An account stands in the message once for all its lines.
void writeLines(const std::vector<ksservice::CCodeOrderParam>& lines, v1::Lines& message);
/// Takes the place of what stands in lines. False, and lines as they were, for an account that the message does not
/// have.
bool readLines(const v1::Lines& message, std::vector<ksservice::CCodeOrderParam>& lines);

}  // namespace desklink
