/// Between the lines of a journal and the records of a desk.
#pragma once

#include "Lines.h"

namespace journal {

/// What the desk is to publish for a task line. The accounts that the line names must be on the desk.
desk::SPublication toPublication(const STaskLine& line, const desk::CDesk& desk);
/// The line of a publication, with the details that the desk knows for its orders.
STaskLine toTaskLine(const desk::SPublication& publication, const desk::CDesk& desk);

/// The progress that stands after the line; before: what stood, null for none.
TC::CTaskProgress toProgress(const SProgressLine& line, const TC::CTaskProgress* before);

desk::SAccount toAccount(const SAccountLine& line);
SAccountLine toAccountLine(const desk::SAccount& account);

desk::SQuoteUpdate toQuote(const SQuoteLine& line);
SQuoteLine toQuoteLine(const std::string& market, const std::string& code, const TC::CQuote& quote);

}  // namespace journal
