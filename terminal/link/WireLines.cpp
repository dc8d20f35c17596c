#include "WireLines.h"

#include <boost/make_shared.hpp>
#include <map>

#include "WireRecord.h"

namespace desklink {

using ksservice::CAccountInfo;
using ksservice::CCodeOrderParam;

void writeLines(const std::vector<CCodeOrderParam>& lines, v1::Lines& message) {
  std::map<const CAccountInfo*, std::uint32_t> places;
  for (const CCodeOrderParam& line : lines) {
    v1::Line& written = *message.add_lines();
    writeDifference(CCodeOrderParam(), line, written);
    if (!line.m_pAccount) continue;
    const auto [place, isNew] =
        places.try_emplace(line.m_pAccount.get(), static_cast<std::uint32_t>(message.accounts_size()));
    if (isNew) writeDifference(CAccountInfo(), *line.m_pAccount, *message.add_accounts());
    written.set_account(place->second);
  }
}

bool readLines(const v1::Lines& message, std::vector<CCodeOrderParam>& lines) {
  std::vector<boost::shared_ptr<const CAccountInfo>> accounts;
  for (const v1::Account& written : message.accounts()) {
    auto account = boost::make_shared<CAccountInfo>();
    readDifference(written, *account);
    accounts.emplace_back(std::move(account));
  }
  std::vector<CCodeOrderParam> read;
  read.reserve(static_cast<std::size_t>(message.lines_size()));
  for (const v1::Line& written : message.lines()) {
    CCodeOrderParam& line = read.emplace_back();
    readDifference(written, line);
    if (!written.has_account()) continue;
    if (written.account() >= accounts.size()) return false;
    line.m_pAccount = accounts[written.account()];
  }
  lines = std::move(read);
  return true;
}

}  // namespace desklink
