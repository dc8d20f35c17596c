#include "CHpfBasketOptionDelegate.h"

#include <QKeySequence>

#include "CHpfBasketStatusData.h"
#include "tc/CUserConfig.h"
#include "tc/Services.h"

namespace TC {
namespace {

/// Status type whose announcements are always applied.
constexpr int TYPE_ALWAYS = 13;

enum EButton : int {
  Cancel = 0,
  Pause = 1,
  Resume = 2,
  ForceStop = 3,
  Patch = 4,
  StopPatch = 5,
  GiveUpPatch = 6,
  CancelHedge = 7
};

enum EStyle : int { Go = 1, Neutral = 2, Stop = 3 };

struct SButtonSpec {
  int id;
  const char* text;
  int style;
  int action;    ///< code delivered with event 1140
  int disables;  ///< id handed to the disabling call by a click
  int key;       ///< that presses it in the current row; never one that is typed by itself
};

constexpr int CTRL = Qt::CTRL;
constexpr int CTRL_SHIFT = static_cast<int>(Qt::CTRL) | static_cast<int>(Qt::SHIFT);

// A click on "撤单" or "放弃补单" disables the action code, which is no button, so these two stay enabled: intended.
constexpr SButtonSpec BASKET_BUTTONS[] = {
    {Cancel, "撤销", Stop, 3, Cancel, CTRL | Qt::Key_Delete},
    {Pause, "暂停", Stop, 5, Pause, CTRL | Qt::Key_P},
    {Resume, "继续", Go, 6, Resume, CTRL | Qt::Key_R},
    {Patch, "补单", Neutral, 10000, Patch, CTRL | Qt::Key_B},
    {StopPatch, "撤单", Stop, 10001, 10001, CTRL_SHIFT | Qt::Key_B},
    {GiveUpPatch, "放弃补单", Neutral, 10002, 10002, CTRL_SHIFT | Qt::Key_Delete},
    {CancelHedge, "取消套利", Neutral, 10003, CancelHedge, CTRL_SHIFT | Qt::Key_H},
};

constexpr SButtonSpec SINGLE_BUTTONS[] = {
    {Cancel, "撤销", Stop, 3, Cancel, CTRL | Qt::Key_Delete},
    {Pause, "暂停", Stop, 5, Pause, CTRL | Qt::Key_P},
    {Resume, "继续", Go, 6, Resume, CTRL | Qt::Key_R},
    {ForceStop, "强制终止", Neutral, 10002, ForceStop, CTRL_SHIFT | Qt::Key_K},
};

template <std::size_t N>
std::vector<GV::STableButton> buttonSet(const SButtonSpec (&specs)[N]) {
  std::vector<GV::STableButton> buttons;
  for (const SButtonSpec& spec : specs) {
    const QString text = QString::fromUtf8(spec.text);
    buttons.push_back({spec.id, text, spec.style, commandHint(text, spec.key)});
  }
  return buttons;
}

/// Both sets agree where they share an id, but for the force stop, which only the single set has.
const SButtonSpec* specOf(int buttonId) {
  for (const SButtonSpec& spec : BASKET_BUTTONS) {
    if (spec.id == buttonId) return &spec;
  }
  for (const SButtonSpec& spec : SINGLE_BUTTONS) {
    if (spec.id == buttonId) return &spec;
  }
  return nullptr;
}

/// What a status does to one button.
enum EEffect : unsigned char {
  K,  ///< keep
  H,  ///< hide
  S,  ///< enable and show
  R,  ///< enable; show if the user may cancel tasks, else hide
};

struct SStatusRule {
  EEffect cancel, pause, resume, patch, stopPatch, giveUpPatch, cancelHedge;
};

constexpr SStatusRule RUNNING = {R, S, H, H, H, H, H};
constexpr SStatusRule PAUSED = {R, H, S, H, H, H, K};
constexpr SStatusRule PAUSED_HEDGE = {K, K, K, K, K, K, H};
constexpr SStatusRule CANCELLED = {H, H, H, S, K, S, H};
// Whether a cancelled task of type 13 may be patched hangs on more than its status: it offers no patch, nor to give it
// up.
constexpr SStatusRule CANCELLED_ALWAYS = {H, H, H, H, H, H, H};
constexpr SStatusRule PATCH_FAILED = {H, H, H, H, H, K, H};
constexpr SStatusRule OTHER = {K, K, K, H, H, K, K};

const SStatusRule& ruleOf(int status, int type, bool hedgeRow) {
  switch (status) {
    case ksservice::ETS_Running:
    case EHBTS_Patching:
      return RUNNING;
    case ksservice::ETS_Paused:
      return hedgeRow ? PAUSED_HEDGE : PAUSED;
    case ksservice::ETS_Cancelled:
      return type == TYPE_ALWAYS ? CANCELLED_ALWAYS : CANCELLED;
    case EHBTS_PatchFailed:
      return PATCH_FAILED;
    default:
      return OTHER;
  }
}

bool hidesSet(int status) {
  return status == ksservice::ETS_Finished || status == ksservice::ETS_Dropped || status == EHBTS_PatchFinished;
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
    for (const SButtonSpec& spec : BASKET_BUTTONS) all.push_back({spec.id, QString::fromUtf8(spec.text), spec.key});
    const SButtonSpec& forceStop = *specOf(ForceStop);
    all.push_back({forceStop.id, QString::fromUtf8(forceStop.text), forceStop.key});
    return all;
  }();
  return list;
}

int CHpfBasketOptionDelegate::actionOf(int buttonId) {
  const SButtonSpec* spec = specOf(buttonId);
  return spec ? spec->action : -1;
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

bool CHpfBasketOptionDelegate::accept(const QString& key, int status, int type, bool single) {
  if (!m_states.contains(key)) {
    setItemButtons(key, single ? buttonSet(SINGLE_BUTTONS) : buttonSet(BASKET_BUTTONS));
    setItemVisible(key, false);
  }
  SState& state = m_states[key];
  if (!state.stale && state.status == status && state.type == type && type != TYPE_ALWAYS) return false;
  state = {status, type, false};
  return true;
}

void CHpfBasketOptionDelegate::slotTaskStatus(QString key, int status, int type) {
  const SRowRef row = m_resolver(key);
  if (row.key.isEmpty()) {
    m_waiting.push_back({key, status, type});
    return;
  }
  if (row.task) Q_EMIT sigAnnounced(row.task);
  apply(row, status, type);
}

void CHpfBasketOptionDelegate::rowsCame(const QString& taskKey) {
  if (m_waiting.empty()) return;
  const QString prefix = taskKey + QLatin1Char('-');
  std::vector<SWaiting> waiting;
  waiting.swap(m_waiting);
  for (const SWaiting& status : waiting) {
    if (status.name != taskKey && !status.name.startsWith(prefix)) {
      m_waiting.push_back(status);
      continue;
    }
    SRowRef row = m_resolver(status.name);
    // The data that has come with the row is newer: what the row's cells show is not for this status to say.
    row.task = nullptr;
    if (!row.key.isEmpty()) apply(row, status.status, status.type);
  }
}

void CHpfBasketOptionDelegate::apply(const SRowRef& row, int status, int type) {
  if (!accept(row.key, status, type, false)) return;
  applyButtons(row, status, type);
  Q_EMIT sigTaskStatus(row.task, row.key, status);
}

void CHpfBasketOptionDelegate::applyButtons(const SRowRef& row, int status, int type) {
  const QString& key = row.key;
  setItemVisible(key, !hidesSet(status));
  if (hidesSet(status)) return;
  if (row.hedge && (status == ksservice::ETS_Running || status == EHBTS_Patching)) {
    setItemButtonVisible(key, CancelHedge, getIsItemButtonEnabled(key, CancelHedge));
    return;
  }
  if (status == 1) {
    for (const SButtonSpec& spec : BASKET_BUTTONS) setItemButtonEnabled(key, spec.id, false);
    return;
  }
  const SStatusRule& rule = ruleOf(status, type, row.hedge);
  const EEffect effects[] = {rule.cancel,    rule.pause,       rule.resume,     rule.patch,
                             rule.stopPatch, rule.giveUpPatch, rule.cancelHedge};
  for (std::size_t i = 0; i < std::size(effects); ++i) {
    if (effects[i] == K) continue;
    const int id = BASKET_BUTTONS[i].id;
    if (effects[i] != H) setItemButtonEnabled(key, id, true);
    setItemButtonVisible(key, id, effects[i] == S || (effects[i] == R && getUserConfig().hasRevokeTask()));
  }
}

void CHpfBasketOptionDelegate::slotTaskStatusSingle(QString key, int status, int type) {
  const SRowRef row = m_resolver(key);
  if (row.key.isEmpty() || !accept(row.key, status, type, true)) return;
  const bool running = status == ksservice::ETS_Running;
  const bool paused = status == ksservice::ETS_Paused;
  setItemVisible(row.key, running || paused);
  if (running || paused) {
    setItemButtonVisible(row.key, Cancel, getUserConfig().hasRevokeTask());
    if (running) setItemButtonEnabled(row.key, Cancel, true);
    const int shown = running ? Pause : Resume;
    setItemButtonEnabled(row.key, shown, true);
    setItemButtonVisible(row.key, Pause, running);
    setItemButtonVisible(row.key, Resume, paused);
    setItemButtonVisible(row.key, ForceStop, false);
  }
  Q_EMIT sigTaskStatus(row.task, row.key, status);
}

void CHpfBasketOptionDelegate::slotOperationEnded(QString key) {
  const SRowRef row = m_resolver(key);
  const auto state = m_states.find(row.key);
  if (state != m_states.end()) state->stale = true;
  if (row.task) Q_EMIT sigOperationEnded(row.task);
}

}  // namespace TC
