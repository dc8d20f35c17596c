#pragma once

#include <cstdint>
#include <vector>

#include "CDesk.h"
#include "COrderList.h"

namespace desklink::v1 {
class DetailUpdate;
}  // namespace desklink::v1

namespace desklink {

/// All that is told of one task detail, as engine and terminal both hold it. Where their hashes are the same, they hold
/// the same.
class CDetailState {
 public:
  /// Writes what a publication changes, and takes it.
  void write(const desk::SPublication& publication, desklink::v1::DetailUpdate& update);
  /// Writes all that is held, for who holds nothing; with how it was published last.
  void writeAll(desklink::v1::DetailUpdate& update) const;
  /// Takes what was written of a state that was equal to this one, or all of one, and what a host publishes then.
  /// False, and nothing is worth anything any more, when it is not what was written.
  bool read(const desklink::v1::DetailUpdate& update, desk::SPublication& publication);

  /// Of this detail: 1 is its first publication.
  std::uint64_t sequence() const { return m_nSequence; }
  std::uint64_t hash() const;

 private:
  void setPublication(const desklink::v1::DetailUpdate& update, desk::SPublication& publication) const;

  std::uint64_t m_nSequence = 0;
  ksservice::CTaskDetailPtr m_pDetail;  ///< null at first
  std::uint64_t m_nLines = 0;           ///< hash of the lines
  COrderList m_orders;
  COrderList m_serverOrders;
  desk::EVia m_eVia = desk::EVia::Feed;
  bool m_bCommandKnown = true;
};

}  // namespace desklink
