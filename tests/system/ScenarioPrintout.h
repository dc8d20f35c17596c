#pragma once

#include <functional>
#include <memory>
#include <string>

namespace desk {
class CDesk;
class CHostServices;
}  // namespace desk

namespace test {

/// The desk that a journal changes, where the panel's own is filled from another one.
struct ISource {
  virtual ~ISource() = default;
  virtual desk::CDesk& desk() = 0;
  virtual desk::CHostServices& services() = 0;
};
/// Gets the panel's desk and services.
using MakeSource = std::function<std::unique_ptr<ISource>(desk::CDesk&, desk::CHostServices&)>;

std::string readFile(const std::string& name);

/// Plays a journal, behind what is common to all (common.jsonl) unless it has a session line of its own, and prints
/// what came out, as a person would read it: a dump as an indented tree, every other line as it is, and last the files
/// that exports left, "|" behind each line. Faults of the journal stand in the printout too. Beside its own lines a
/// journal may have {"look":NAME}, a refresh and a dump of this name.
std::string playAndPrint(const std::string& fileName, const MakeSource& makeSource = {});

}  // namespace test
