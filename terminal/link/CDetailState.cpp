#include "CDetailState.h"

#include <boost/make_shared.hpp>

#include "WireLines.h"
#include "WireRecord.h"
#include "desklink/v1/details.pb.h"

namespace desklink {

using ksservice::CCodeOrderParam;
using ksservice::COrderCommand;
using ksservice::CTaskDetail;

namespace {

using Lines = std::vector<CCodeOrderParam>;

/// Of which nothing is known yet.
const CTaskDetail BLANK;

std::uint64_t hashOf(const Lines& lines) {
  CRecordHash hash;
  for (const CCodeOrderParam& line : lines) {
    hash.addRecord(line);
    hash.add(line.m_pAccount != nullptr);
    if (line.m_pAccount) hash.addRecord(*line.m_pAccount);
  }
  hash.add(static_cast<std::uint64_t>(lines.size()));
  return hash.value();
}

bool areSame(const boost::shared_ptr<COrderCommand>& one, const boost::shared_ptr<COrderCommand>& other) {
  if (one == other) return true;
  desklink::v1::Command difference;
  return one && other && !writeDifference(*one, *other, difference);
}

void writeCommand(const boost::shared_ptr<COrderCommand>& command, desklink::v1::OptionalCommand& message) {
  if (command) writeDifference(COrderCommand(), *command, *message.mutable_command());
}

void writeFacts(const desk::SPublication& publication, desklink::v1::DetailUpdate& update) {
  for (const desk::SOrderFill& fill : publication.m_fills) {
    desklink::v1::Fill& written = *update.add_fills();
    written.set_place(static_cast<std::uint32_t>(fill.m_nOrder));
    written.set_time(fill.m_nTime);
    written.set_quantity(fill.m_nQuantity);
    written.set_amount(fill.m_dAmount);
  }
  for (const int sent : publication.m_sent) update.add_sent(sent);
}

}  // namespace

void CDetailState::write(const desk::SPublication& publication, desklink::v1::DetailUpdate& update) {
  const CTaskDetail& detail = *publication.m_pDetail;
  const ksservice::CTaskDetailPtr before = m_pDetail;
  update.set_key(detail.getKey());
  update.set_sequence(++m_nSequence);
  update.set_whole(!before);
  update.set_via(static_cast<std::uint32_t>(publication.m_eVia));
  update.set_command_unknown(!publication.m_bCommandKnown);
  writeDifference(before ? *before : BLANK, detail, *update.mutable_task());
  if (!before || !areSame(before->m_pCommand, detail.m_pCommand)) {
    writeCommand(detail.m_pCommand, *update.mutable_command());
  }
  // A host that says that they are the same need not be read again.
  const std::uint64_t lines = before && publication.m_bSameParams ? m_nLines : hashOf(detail.m_params);
  if (!before || lines != m_nLines) writeLines(detail.m_params, *update.mutable_lines());
  m_nLines = lines;
  if (!m_orders.writeChanges(detail.m_orders, publication.m_orderDetails, *update.mutable_orders())) {
    update.clear_orders();
  }
  if (!m_serverOrders.writeChanges(publication.m_serverOrders, publication.m_serverOrderDetails,
                                   *update.mutable_server_orders())) {
    update.clear_server_orders();
  }
  writeFacts(publication, update);
  m_pDetail = publication.m_pDetail;
  m_eVia = publication.m_eVia;
  m_bCommandKnown = publication.m_bCommandKnown;
  update.set_hash(hash());
}

void CDetailState::writeAll(desklink::v1::DetailUpdate& update) const {
  update.set_key(m_pDetail->getKey());
  update.set_sequence(m_nSequence);
  update.set_whole(true);
  update.set_via(static_cast<std::uint32_t>(m_eVia));
  update.set_command_unknown(!m_bCommandKnown);
  writeDifference(BLANK, *m_pDetail, *update.mutable_task());
  writeCommand(m_pDetail->m_pCommand, *update.mutable_command());
  writeLines(m_pDetail->m_params, *update.mutable_lines());
  m_orders.writeAll(*update.mutable_orders());
  m_serverOrders.writeAll(*update.mutable_server_orders());
  update.set_hash(hash());
}

bool CDetailState::read(const desklink::v1::DetailUpdate& update, desk::SPublication& publication) {
  if (update.whole()) {
    *this = CDetailState();
  } else if (!m_pDetail || update.sequence() != m_nSequence + 1) {
    return false;
  }
  if (update.via() > static_cast<std::uint32_t>(desk::EVia::Store)) return false;
  // What was handed out is never changed: each state is a record of its own.
  m_pDetail = m_pDetail ? boost::make_shared<CTaskDetail>(*m_pDetail) : boost::make_shared<CTaskDetail>();
  m_pDetail->m_strKey = update.key();
  readDifference(update.task(), *m_pDetail);
  if (update.has_command()) {
    m_pDetail->m_pCommand = nullptr;
    if (update.command().has_command()) {
      m_pDetail->m_pCommand = boost::make_shared<COrderCommand>();
      readDifference(update.command().command(), *m_pDetail->m_pCommand);
    }
  }
  if (update.has_lines()) {
    if (!readLines(update.lines(), m_pDetail->m_params)) return false;
    m_nLines = hashOf(m_pDetail->m_params);
  }
  if (update.has_orders() && !m_orders.read(update.orders(), publication.m_orderDetails)) return false;
  if (update.has_server_orders() && !m_serverOrders.read(update.server_orders(), publication.m_serverOrderDetails)) {
    return false;
  }
  m_pDetail->m_orders = m_orders.orders();
  m_nSequence = update.sequence();
  m_eVia = static_cast<desk::EVia>(update.via());
  m_bCommandKnown = !update.command_unknown();
  setPublication(update, publication);
  return hash() == update.hash();
}

void CDetailState::setPublication(const desklink::v1::DetailUpdate& update, desk::SPublication& publication) const {
  publication.m_pDetail = m_pDetail;
  publication.m_eVia = m_eVia;
  publication.m_bCommandKnown = m_bCommandKnown;
  publication.m_bSameParams = !update.has_lines();
  publication.m_serverOrders = m_serverOrders.orders();
  for (const desklink::v1::Fill& fill : update.fills()) {
    publication.m_fills.push_back({fill.place(), fill.time(), fill.quantity(), fill.amount()});
  }
  publication.m_sent.assign(update.sent().begin(), update.sent().end());
}

std::uint64_t CDetailState::hash() const {
  CRecordHash hash;
  if (!m_pDetail) return hash.value();
  hash.add(m_pDetail->getKey());
  hash.addRecord(*m_pDetail);
  hash.add(m_pDetail->m_pCommand != nullptr);
  if (m_pDetail->m_pCommand) hash.addRecord(*m_pDetail->m_pCommand);
  hash.add(m_nLines);
  hash.add(m_orders.hash());
  hash.add(m_serverOrders.hash());
  return hash.value();
}

}  // namespace desklink
