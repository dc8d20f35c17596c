/// What a day starts with, as its log keeps it.
#pragma once

#include "CExchange.h"
#include "DayLog.h"
#include "Options.h"

namespace app {

/// The kind of a log's first entry.
inline constexpr const char* DAY_ENTRY = "day";
/// The field of its body that says of a day that nobody lived it: of which day, from when on and with what.
inline constexpr const char* IMAGINED = "imagined";

/// After the close: by then everything of a day has ended and was told. Milliseconds since midnight.
inline constexpr std::int64_t DAY_ENDS = exchange::DAY_CLOSES + 60000;

/// A moment of the day as HH:MM:SS.
std::string momentText(std::int64_t msec);
/// Ends a day of which a crash has kept its end from being written, and the clock stands behind DAY_ENDS. Whether it is
/// over then.
bool isOver(daylog::IDayLog& log);
/// Writes what proves the end of a day beside its file, to be carried elsewhere. Empty, or why it cannot be written.
std::string writeHead(const daylog::IDayLog& log, const std::string& file);
/// Where a day that was begun stands, milliseconds since midnight.
std::int64_t lastTime(const daylog::IDayLog& log);

/// Takes over what a day that was begun started with. Empty, or why it cannot go on: an option that was given otherwise
/// (with both values), a file that is not the same any more.
/// otherFiles: gets what is told of files that are not the same any more, which is no fault then; null: it is one.
std::string takeStart(const daylog::IDayLog& log, const OptionValues& given, SOptions& options,
                      std::string* otherFiles = nullptr);

/// Gives a new day its first entry, once its files were read without a fault: the options that decide how it starts,
/// each file by its path and SHA-256, the program's own SHA-256. Nothing for another day or none. Empty, or why it
/// could not be kept.
std::string beginDay(daylog::IDayLog* log, const OptionValues& given, const SOptions& options);

}  // namespace app
