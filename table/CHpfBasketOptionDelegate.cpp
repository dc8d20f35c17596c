#include "CHpfBasketOptionDelegate.h"

#include <QKeySequence>
#include <algorithm>
#include <iterator>
#include <limits>

#include "EHpfBasketTaskStatus.h"
#include "TaskKeys.h"
#include "ksservice/Enumerations.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"
#include "tc/TaskEvents.h"

namespace TC {
namespace {

/// Order type of which every announcement is applied.
constexpr int TYPE_ALWAYS = ksservice::EORT_Algo3;
/// A status without a name.
constexpr int STATUS_DISABLED = 1;

enum EButton : int { Cancel, Pause, Resume, ForceStop, Patch, StopPatch, GiveUpPatch, CancelHedge };

enum EStyle : int { Go = 1, Neutral = 2, Stop = 3 };

/// The sets that a button is in, as bits.
enum ESet : unsigned { Basket = 1, Single = 2, Both = Basket | Single };

struct SButtonSpec {
  int id;
  unsigned sets;
  const char* text;
  int style;
  ETaskAction action;
  int disables;  ///< id handed to the disabling call by a click
  int key;       ///< that presses it in the current row; never one that is typed by itself
};

constexpr int CTRL = Qt::CTRL;
constexpr int CTRL_SHIFT = static_cast<int>(Qt::CTRL) | static_cast<int>(Qt::SHIFT);

// In the order in which they stand in a row. A click on "撤单" or "放弃补单" disables the action code, which is no
// button, so these two stay enabled: intended.
constexpr SButtonSpec BUTTONS[] = {
    {Cancel, Both, "撤销", Stop, ETA_Cancel, Cancel, CTRL | Qt::Key_Delete},
    {Pause, Both, "暂停", Stop, ETA_Pause, Pause, CTRL | Qt::Key_P},
    {Resume, Both, "继续", Go, ETA_Resume, Resume, CTRL | Qt::Key_R},
    {Patch, Basket, "补单", Neutral, ETA_Patch, Patch, CTRL | Qt::Key_B},
    {StopPatch, Basket, "撤单", Stop, ETA_StopPatch, ETA_StopPatch, CTRL_SHIFT | Qt::Key_B},
    {GiveUpPatch, Basket, "放弃补单", Neutral, ETA_Drop, ETA_Drop, CTRL_SHIFT | Qt::Key_Delete},
    {CancelHedge, Basket, "取消套利", Neutral, ETA_CancelHedge, CancelHedge, CTRL_SHIFT | Qt::Key_H},
    {ForceStop, Single, "强制终止", Neutral, ETA_Drop, ForceStop, CTRL_SHIFT | Qt::Key_K},
};
constexpr std::size_t BUTTON_COUNT = std::size(BUTTONS);

std::vector<GV::STableButton> makeButtonSet(unsigned set) {
  std::vector<GV::STableButton> buttons;
  for (const SButtonSpec& spec : BUTTONS) {
    if ((spec.sets & set) == 0) continue;
    const QString text = QString::fromUtf8(spec.text);
    buttons.push_back({spec.id, text, spec.style, commandHint(text, spec.key)});
  }
  return buttons;
}

const std::vector<GV::STableButton>& buttonSet(unsigned set) {
  static const std::vector<GV::STableButton> basket = makeButtonSet(Basket);
  static const std::vector<GV::STableButton> single = makeButtonSet(Single);
  return set == Basket ? basket : single;
}

const SButtonSpec* specOf(int buttonId) {
  const auto* const spec = std::find_if(std::begin(BUTTONS), std::end(BUTTONS),
                                        [buttonId](const SButtonSpec& each) { return each.id == buttonId; });
  return spec == std::end(BUTTONS) ? nullptr : spec;
}

/// What a status does to one button.
enum EEffect : unsigned char {
  Missing,
  K,  ///< keep
  H,  ///< hide
  S,  ///< enable and show
  V,  ///< show if the user may cancel tasks, else hide
  R,  ///< enable, and as V
  E,  ///< show if enabled, else hide
  D   ///< disable
};

enum ERows : unsigned char { AnyRow, HedgeRow, TypeAlways };

struct SStatusRule {
  unsigned set;
  int status;  ///< ETaskStatus or EHpfBasketTaskStatus
  ERows rows;
  bool setShown;
  EEffect effects[BUTTON_COUNT];  ///< in the order of BUTTONS; none on a button that the row's set does not have
};

constexpr int ANY_STATUS = std::numeric_limits<int>::min();

// The first that fits counts: set, status, rows, whether the set shows, and what becomes of its buttons.
// Whether a cancelled task of TYPE_ALWAYS may be patched hangs on more than its status: it offers no patch, nor to give
// it up.
constexpr SStatusRule RULES[] = {
    // 撤销, 暂停, 继续, 补单, 撤单, 放弃补单, 取消套利, 强制终止
    {Basket, ksservice::ETS_Finished, AnyRow, false, {K, K, K, K, K, K, K, K}},
    {Basket, ksservice::ETS_Dropped, AnyRow, false, {K, K, K, K, K, K, K, K}},
    {Basket, EHBTS_PatchFinished, AnyRow, false, {K, K, K, K, K, K, K, K}},
    {Basket, STATUS_DISABLED, AnyRow, true, {D, D, D, D, D, D, D, K}},
    {Basket, ksservice::ETS_Running, HedgeRow, true, {K, K, K, K, K, K, E, K}},
    {Basket, ksservice::ETS_Running, AnyRow, true, {R, S, H, H, H, H, H, K}},
    {Basket, EHBTS_Patching, HedgeRow, true, {K, K, K, K, K, K, E, K}},
    {Basket, EHBTS_Patching, AnyRow, true, {R, S, H, H, H, H, H, K}},
    {Basket, ksservice::ETS_Paused, HedgeRow, true, {K, K, K, K, K, K, H, K}},
    {Basket, ksservice::ETS_Paused, AnyRow, true, {R, H, S, H, H, H, K, K}},
    {Basket, ksservice::ETS_Cancelled, TypeAlways, true, {H, H, H, H, H, H, H, K}},
    {Basket, ksservice::ETS_Cancelled, AnyRow, true, {H, H, H, S, K, S, H, K}},
    {Basket, EHBTS_PatchFailed, AnyRow, true, {H, H, H, H, H, K, H, K}},
    {Basket, ANY_STATUS, AnyRow, true, {K, K, K, H, H, K, K, K}},
    {Single, ksservice::ETS_Running, AnyRow, true, {R, S, H, K, K, K, K, H}},
    {Single, ksservice::ETS_Paused, AnyRow, true, {V, H, S, K, K, K, K, H}},
    {Single, ANY_STATUS, AnyRow, false, {K, K, K, K, K, K, K, K}},
};

/// A button that was added has a value in every rule.
constexpr bool areRulesComplete() {
  return std::all_of(std::begin(RULES), std::end(RULES), [](const SStatusRule& rule) {
    return std::find(std::begin(rule.effects), std::end(rule.effects), Missing) == std::end(rule.effects);
  });
}
static_assert(areRulesComplete());

const SStatusRule& ruleOf(unsigned set, int status, int type, bool hedgeRow) {
  return *std::find_if(std::begin(RULES), std::end(RULES), [=](const SStatusRule& rule) {
    if (rule.set != set || (rule.status != status && rule.status != ANY_STATUS)) return false;
    return rule.rows == AnyRow || (rule.rows == HedgeRow ? hedgeRow : type == TYPE_ALWAYS);
  });
}

}  // namespace

CHpfBasketOptionDelegate::CHpfBasketOptionDelegate(Resolver resolver, QObject* parent)
    : GV::CBaseTableColumnMultiButtonsDelegate(parent), m_resolver(std::move(resolver)) {}

QString commandHint(const QString& text, int key) {
  return QStringLiteral("%1 (%2)").arg(text, QKeySequence(key).toString(QKeySequence::NativeText));
}

const std::vector<CHpfBasketOptionDelegate::SCommand>& CHpfBasketOptionDelegate::commands() {
  static const std::vector<SCommand> list = [] {
    std::vector<SCommand> all;
    for (const SButtonSpec& spec : BUTTONS) all.push_back({spec.id, QString::fromUtf8(spec.text), spec.key});
    return all;
  }();
  return list;
}

bool CHpfBasketOptionDelegate::isAlwaysApplied(int type) { return type == TYPE_ALWAYS; }

ETaskAction CHpfBasketOptionDelegate::actionOf(int buttonId) {
  const SButtonSpec* spec = specOf(buttonId);
  return spec ? spec->action : ETA_None;
}

void CHpfBasketOptionDelegate::disableClicked(const QString& rowKey, int buttonId) {
  if (const SButtonSpec* spec = specOf(buttonId)) setItemButtonEnabled(rowKey, spec->disables, false);
}

void CHpfBasketOptionDelegate::clear() {
  m_commandKeyed.clear();
  m_waiting.clear();
  clearItems();
  m_states.clear();
}

bool CHpfBasketOptionDelegate::accept(const QString& key, unsigned set, int status, int type) {
  if (!m_states.contains(key)) {
    setItemButtons(key, buttonSet(set));
    setItemVisible(key, false);
  }
  SState& state = m_states[key];
  if (!state.stale && state.status == status && state.type == type && !isAlwaysApplied(type)) return false;
  state = {status, type, false};
  return true;
}

void CHpfBasketOptionDelegate::slotTaskStatus(QString key, int status, int type) {
  const SRowRef row = m_resolver(key);
  if (row.key.isEmpty()) {
    m_waiting.emplace(key, SWaiting{status, type});
    return;
  }
  if (row.task) Q_EMIT sigAnnounced(row.task);
  apply(row, Basket, status, type);
}

void CHpfBasketOptionDelegate::rowsCame(const QString& taskKey) {
  if (m_waiting.empty()) return;
  applyWaiting(m_waiting.lower_bound(taskKey), m_waiting.upper_bound(taskKey));
  const QString prefix = taskKey + NODE_KEY_SEPARATOR;
  const auto first = m_waiting.lower_bound(prefix);
  applyWaiting(first, std::find_if_not(first, m_waiting.end(),
                                       [&prefix](const auto& entry) { return entry.first.startsWith(prefix); }));
}

void CHpfBasketOptionDelegate::applyWaiting(Waiting::const_iterator first, Waiting::const_iterator last) {
  for (auto entry = first; entry != last; ++entry) {
    SRowRef row = m_resolver(entry->first);
    // The data that has come with the row is newer: what the row's cells show is not for this status to say.
    row.task = nullptr;
    if (!row.key.isEmpty()) apply(row, Basket, entry->second.status, entry->second.type);
  }
  m_waiting.erase(first, last);
}

void CHpfBasketOptionDelegate::apply(const SRowRef& row, unsigned set, int status, int type) {
  if (!accept(row.key, set, status, type)) return;
  const SStatusRule& rule = ruleOf(set, status, type, row.hedge);
  setItemVisible(row.key, rule.setShown);
  for (std::size_t i = 0; i < BUTTON_COUNT; ++i) applyEffect(row.key, BUTTONS[i].id, rule.effects[i]);
  Q_EMIT sigTaskStatus(row.task, row.key, status);
}

void CHpfBasketOptionDelegate::applyEffect(const QString& key, int buttonId, int effect) {
  if (effect == K) return;
  if (effect == D) return setItemButtonEnabled(key, buttonId, false);
  if (effect == S || effect == R) setItemButtonEnabled(key, buttonId, true);
  const bool mayShow = effect == V || effect == R ? getUserConfig().hasRevokeTask() : effect != H;
  setItemButtonVisible(key, buttonId, mayShow && (effect != E || getIsItemButtonEnabled(key, buttonId)));
}

void CHpfBasketOptionDelegate::slotTaskStatusSingle(QString key, int status, int type) {
  const SRowRef row = m_resolver(key);
  if (!row.key.isEmpty()) apply(row, Single, status, type);
}

void CHpfBasketOptionDelegate::slotOperationEnded(QString key) {
  const SRowRef row = m_resolver(key);
  const auto state = m_states.find(row.key);
  if (state != m_states.end()) state->stale = true;
  if (row.task) Q_EMIT sigOperationEnded(row.task);
}

}  // namespace TC
