/// What goes wrong in a drill, what is checked, and how often.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace drill {

/// The kinds of fault that a drill puts in. Their names stand in one table, DrillFaults.cpp.
enum EFault : int {
  EF_LostReport,
  EF_LateReport,
  EF_DoubledReport,
  EF_ReorderedReport,
  EF_LateCancel,
  EF_FillBeforeCancel,
  EF_RefusedOrder,
  EF_RefusedCreation,
  EF_LateReply,
  EF_LostReply,
  EF_DoubledReply,
  EF_LateDetail,
  EF_SkippedDetail,
  EF_DoubledDetail,
  EF_ForeignPatch,
  EF_StalledFeed,
  EF_Burst,
  EF_HostCall,
  EF_DayAmidst,
  EF_FullDisk,
  EF_Kill,
  EF_Count
};
const char* nameOf(EFault fault);

/// What must hold.
enum ERule : int {
  ER_Order,       ///< no share more than the basket's target is traded or in the market
  ER_Confirmed,   ///< nothing is ordered that the user did not confirm
  ER_Rate,        ///< no more is sent than accounts may
  ER_Account,     ///< neither money nor positions below zero
  ER_Books,       ///< cash and positions are what the market's fills make of them
  ER_Sums,        ///< a node of the table is the sum of its rows
  ER_Screen,      ///< the table shows what the model says
  ER_Truth,       ///< ... and what was traded in the market
  ER_FreshModel,  ///< a panel that meets the day now shows the same
  ER_Restart,     ///< an engine that goes on with the day stands where its log ends
  ER_Growth,      ///< nothing of a day is kept when it is over
  ER_Count
};
const char* nameOf(ERule rule);

/// A fault in the drilled program itself, put in to see that a rule finds it.
enum EPlant : int {
  EP_None,
  EP_DoubledFill,     ///< the line delivers a fill twice under two numbers
  EP_LostFill,        ///< a fill never arrives, and nothing tells that it is missing
  EP_GreedyOrder,     ///< an order goes out with more shares than the engine means
  EP_GreedyPatch,     ///< the panel asks for more shares than its user confirmed
  EP_WrongDetail,     ///< the wire changes what an order traded
  EP_UntoldDetail,    ///< the data centre knows a detail of which the panel is not told
  EP_TornRow,         ///< one row of the table shows another figure than it should
  EP_FalseRow,        ///< the same, and the nodes above it fit to it
  EP_KeptDetail,      ///< somebody keeps a detail of the day
  EP_ForgottenEntry,  ///< the log loses an entry
  EP_FastSender,      ///< the engine knows a higher limit than the accounts have
  EP_Count
};
const char* nameOf(EPlant plant);
/// EP_Count for a name that there is not.
EPlant plantOf(const std::string& name);

struct SViolation {
  ERule m_eRule = ER_Count;
  std::string m_strText;
  int m_nDay = 0;            ///< of the drill, from 1
  std::int64_t m_nMsec = 0;  ///< since midnight
};

/// What a drill has done, and found.
struct SReportCard {
  std::array<long, EF_Count> m_faults{};
  std::array<long, ER_Count> m_checks{};
  long m_nOrders = 0;
  long m_nPatches = 0;
  long m_nClicks = 0;
  long m_nDetails = 0;
  long m_nRefreshes = 0;
  std::vector<SViolation> m_violations;
  std::string m_strEnd;  ///< what the table showed at the end, hashed: two runs of a seed have the same

  bool isGood() const { return m_violations.empty(); }
};

}  // namespace drill
