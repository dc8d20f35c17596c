// Journals as anybody may have written them: what is read is written and read again.
#include <sstream>

#include "Fuzz.h"
#include "JournalReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::istringstream in(std::string(fuzz::CBytes(data, size).rest()));
  const journal::SJournal journal = journal::readJournal(in, "j");
  for (const journal::SLine& line : journal.m_lines) {
    const std::string text = journal::writeLine(line);
    const auto again = journal::parseLine(text);
    if (const auto* fault = std::get_if<std::string>(&again))
      fuzz::fail("a line that is written can be read: " + *fault);
    fuzz::require(journal::writeLine(std::get<journal::SLine>(again)) == text, "a line is read as it was written");
  }
  return 0;
}
