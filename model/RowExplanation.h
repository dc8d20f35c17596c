#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "PatchOffers.h"
#include "RootFacts.h"

namespace TC {

/// What makes up the remainder of a line, in shares or lots:
/// target - done - open - held = left, and left - rounding is what can be ordered.
struct SLineFacts {
  QString key;  ///< of the node
  QString stockKey;
  QString account;  ///< as it is shown
  std::string accountKey;
  int operation = 0;
  bool unset = false;  ///< its target is not known: nothing is left, and the rest is 0
  long long target = 0;
  long long done = 0;
  long long open = 0;      ///< in the market or still to be sent, patches included
  long long held = 0;      ///< accepted or handed over without a word since, or not known
  long long rounding = 0;  ///< no order can have it; of a line with more than its target, what there is too much
  long long offered = 0;   ///< in a patch
  ERefusal refusal = ERefusal::None;
  // Of the line as a whole, what is held.
  long long accepted = 0;
  long long handedOver = 0;
  long long unknown = 0;

  long long left() const { return target - done - open - held; }
};
SLineFacts lineFacts(const SLeftRow& left);

/// On what a patch rests that was sent: each of its lines, when it was sent.
struct SPatchProof {
  struct SLine {
    SLineFacts facts;
    long long chosen = 0;
  };
  int number = 0;  ///< of the task's patches, from 1
  std::vector<SLine> lines;
};
SPatchProof proofOf(const std::vector<SLeftRow>& rows, const std::vector<ksservice::CCodeOrderParam>& chosen,
                    int number);

/// A line, and who trades it.
struct SLineExplanation {
  SLineFacts facts;
  std::vector<std::string> orders;                         ///< keys of those that the task knows
  std::vector<std::pair<std::string, long long>> patches;  ///< details of patches, and what each was to trade of it
};

/// Why a node says what it says.
struct SRowExplanation {
  bool root = false;
  bool leaf = false;
  QString key;  ///< of the node
  QString name;
  int status = 0;  ///< shown, of a root; see CRootFacts::shownStatus
  SStatusVerdict verdict;
  SRootFacts facts;                       ///< on which the verdict rests
  CPatchStore::SWait wait;                ///< for what was accepted in a patch, which outweighs the verdict
  std::vector<SLineExplanation> lines;    ///< of the node and below, without hedge
  std::optional<SLineExplanation> hedge;  ///< where its row is the node or below; in lots, and never in a patch
  std::shared_ptr<const SPatchProof> proof;
};

}  // namespace TC
