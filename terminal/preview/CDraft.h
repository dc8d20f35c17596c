#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <optional>

#include "SDraftState.h"

namespace preview {

/// A basket before it is sent: its source, its lines, how they are shared out and traded, and what all that comes to.
/// Forms every figure anew with each change; prices come once a second while somebody watches. GUI thread.
class CDraft : public QObject {
  Q_OBJECT

 public:
  /// The host must outlive the draft.
  explicit CDraft(IDraftHost& host, QObject* parent = nullptr);

  const SDraftState& state() const { return m_state; }
  /// Takes a draft that was kept; its source's rows are not there until it is read again.
  void restore(const SDraftState& state);

  // Where the lines come from.

  /// What the user chose for sheets with such titles (SLayout::key) before; none: nothing.
  using ChosenLayout = std::function<std::optional<basket::SLayout>(const std::string& titles)>;
  void setChosenLayout(ChosenLayout chosen) { m_chosenLayout = std::move(chosen); }
  /// Makes the lines those of a source, as its layout is guessed or was chosen. again: it is the same source as before:
  /// its layout stays while its titles do, what the user changed of lines stays where the source still says the same of
  /// them, and what is new is marked.
  void setSource(basket::SSource source, bool again);
  /// Lines that were no more when the source was read again last.
  int goneCount() const { return m_nGone; }
  const basket::SSource& source() const { return m_source; }
  bool hasSource() const { return !m_source.m_sheets.empty(); }
  const basket::SSheet& sheet() const { return m_source.m_sheets[static_cast<std::size_t>(m_state.m_nSheet)]; }
  const std::vector<basket::SLeftOut>& leftOut() const { return m_leftOut; }
  /// Adds the lines of a source below those that are there. Returns the rows that are no lines.
  std::vector<basket::SLeftOut> append(const basket::SSource& source);
  void setSheet(int sheet);
  void setRole(int column, basket::ERole role);
  /// Gives the sheet's columns the roles and units of another layout, by their places.
  void useRolesOf(const basket::SLayout& layout);

  void setName(const QString& name);
  void setFile(const QString& file) { m_state.m_strFile = file; }

  // What the user does to lines. Indices are those of state().m_lines.

  void setLine(int index, const draft::SLine& line);
  void setChecked(const std::vector<int>& indices, bool checked);
  /// Returns the index of a new empty line at the end.
  int addLine();
  void removeLines(const std::vector<int>& indices);
  /// Each security that stands more than once with the same side becomes one line.
  void mergeTwice();
  void uncheckErrors();
  /// A code as people write it; one that is not listed stays as it is written.
  void setCode(int index, const QString& text);
  /// Takes the listed security's market, code and name.
  void chooseSecurity(int index, int security);

  // How it is shared out, traded, hedged, limited.

  void setSizing(const draft::SSizing& sizing);
  void setDeal(const SDealChoice& deal);
  void setTrade(const STradeParams& trade);
  void setHedge(const SHedgeChoice& hedge);
  void setLimits(const draft::SLimits& limits);

  // What comes of it, as of the last sigJudged.

  const draft::SMarketFacts& facts(int line) const { return m_market.m_facts[static_cast<std::size_t>(line)]; }
  const std::vector<draft::SAccountFacts>& accounts() const { return m_accounts; }
  const draft::SDeal& deal() const { return m_dealt; }
  const draft::SJudgement& judgement() const { return m_judgement; }
  /// CNY of a line's shares at the last price; 0 when either is not known.
  double amountOf(int line) const;
  /// CNY of what an account gets, bought and sold alike.
  double amountOfAccount(int account) const { return m_accountAmounts[static_cast<std::size_t>(account)]; }
  /// What accounts may send, and have sent today.
  const SRateUse& rates() const { return m_rates; }
  int sentToday(const std::string& account) const;
  int securityOf(int line) const { return m_securities[static_cast<std::size_t>(line)]; }
  /// The listed securities that a line may mean whose own is not listed, the likeliest first.
  const std::vector<int>& candidates(int line) const;
  /// "SH.600000 浦发银行".
  QString securityText(int security) const;
  bool hasWeights() const;
  /// Why nothing can be sent; empty: it can. Chinese.
  QString refusal() const;
  /// What will be sent, in words.
  QString sentence() const;
  SSentBasket toSend() const;

  /// Whether prices are asked for.
  void setWatched(bool watched);

 Q_SIGNALS:
  /// The lines are others.
  void sigLinesReset();
  /// The source, its sheet or its layout is another.
  void sigSourceChanged();
  /// Every figure was formed anew.
  void sigJudged();
  /// Something changed that the user could lose.
  void sigEdited();

 private:
  void changed(bool reset);
  basket::SLayout layoutOf(const basket::SSheet& sheet) const;
  /// before: the lines of which the source may still say the same; null: there are none.
  void readAgain(const std::vector<SDraftLine>* before);
  void findSecurities();
  void findSecurity(int index);
  void judgeAll();
  void askPrices();
  void takePrices(const std::vector<int>& securities, const std::vector<SPrices>& prices);
  std::vector<double> ratios() const;
  QString missingText() const;

  IDraftHost& m_host;
  const std::vector<std::string> m_futures;  ///< by which a basket can be hedged
  SDraftState m_state;
  ChosenLayout m_chosenLayout;
  basket::SSource m_source;
  std::map<int, std::vector<SDraftLine>> m_otherSheets;  ///< what the user made of the source's sheets that he left
  std::vector<basket::SLeftOut> m_leftOut;
  int m_nGone = 0;
  std::vector<int> m_securities;      ///< by line; -1: not listed
  std::map<int, SPrices> m_prices;    ///< by security
  std::vector<draft::SLine> m_lines;  ///< those of the state, as the judge takes them
  draft::SMarketView m_market;
  std::vector<draft::SAccountFacts> m_accounts;
  draft::SDeal m_dealt;
  draft::SJudgement m_judgement;
  std::vector<double> m_accountAmounts;
  SRateUse m_rates;
  mutable std::map<std::string, std::vector<int>> m_candidates;  ///< by what was asked for: a list is searched once
  QTimer m_priceTimer;
  bool m_bAsked = false;
};

}  // namespace preview
