#pragma once

#include <map>
#include <string>

#include "CDetailState.h"

namespace desk {
class CHostServices;
}
namespace desklink::v1 {
class DetailUpdate;
class Envelope;
}  // namespace desklink::v1

namespace desklink {

/// Fills a terminal's desk from what a CDeskTeller tells: the terminal's driver. One thread at a time.
class CDeskMirror {
 public:
  enum class ETaken {
    Taken,
    Known,      ///< of a detail, and not newer than what was taken
    Gap,        ///< something of a detail was missed: all of it is wanted, see gapKey()
    Newer,      ///< of a version that this terminal does not know
    Malformed,  ///< no message
  };

  CDeskMirror(desk::CDesk& desk, desk::CHostServices& services) : m_desk(desk), m_services(services) {}

  ETaken take(const std::string& message);
  /// The key of the detail that the last Gap was about.
  const std::string& gapKey() const { return m_strGap; }

 private:
  ETaken takeBody(const v1::Envelope& envelope);
  ETaken takeDetail(const v1::DetailUpdate& update);
  ETaken takeSession(const v1::Envelope& envelope);
  ETaken takeAccount(const v1::Envelope& envelope);
  ETaken takeInstrument(const v1::Envelope& envelope);
  ETaken takeQuote(const v1::Envelope& envelope);
  ETaken takeCommand(const v1::Envelope& envelope);
  ETaken takeHedge(const v1::Envelope& envelope);
  ETaken takeProgress(const v1::Envelope& envelope);

  desk::CDesk& m_desk;
  desk::CHostServices& m_services;
  std::map<std::string, CDetailState> m_details;  ///< by key
  std::string m_strGap;
};

}  // namespace desklink
