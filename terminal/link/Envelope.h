/// The envelope in which each message of the link stands.
#pragma once

#include "desklink/v1/desk.pb.h"

namespace desklink {

/// Grows when a message means something that an older reader would take wrongly.
inline constexpr std::uint32_t WIRE_VERSION = 1;

inline v1::Envelope newEnvelope() {
  v1::Envelope envelope;
  envelope.set_version(WIRE_VERSION);
  return envelope;
}

}  // namespace desklink
