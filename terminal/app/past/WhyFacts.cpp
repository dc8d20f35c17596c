#include "past/WhyFacts.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "CAlgoSchedule.h"
#include "DayOutputFields.h"
#include "JsonText.h"
#include "docks/CLogDock.h"
#include "past/DayMarks.h"
#include "past/DayTrail.h"

namespace app {
namespace {

using nlohmann::json;

constexpr std::size_t MOST_LINES = 100;
constexpr std::size_t MOST_ORDERS = 200;

QString textOf(const json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() && found->is_string() ? QString::fromStdString(found->get<std::string>()) : QString();
}

/// What a line's figures come to, as an equation that adds up.
QString equation(std::int64_t left, std::int64_t target, std::int64_t done, std::int64_t open, std::int64_t held) {
  return QStringLiteral("剩余 %1 = 目标 %2 − 成交 %3 − 在途和未发 %4 − 占用 %5")
      .arg(left)
      .arg(target)
      .arg(done)
      .arg(open)
      .arg(held);
}

/// Writes an explanation.
class CWhy {
 public:
  CWhy(const json& document, const SWhySources& sources) : m_document(document), m_sources(sources) {}

  std::vector<SWhyFact> take() {
    add(0, textOf(m_document, "title"), m_sources.m_pLog ? m_sources.m_nNow : -1);
    addStatus();
    const json lines = m_document.value("lines", json::array());
    if (lines.size() == 1) {
      addLine(lines[0], 0);
      addOrders(lines[0]);
    } else if (!lines.empty()) {
      addSum(lines);
    }
    addHedge(lines.empty());
    addProof();
    return std::move(m_facts);
  }

 private:
  void add(int level, const QString& text, std::int64_t msec = -1, std::int64_t entry = 0) {
    m_facts.push_back({level, text, msec, entry});
  }
  void addEntry(int level, const QString& what, const daylog::SEntry& entry) {
    add(level, what + entryText(entry), entry.m_nMsec, entry.m_nNumber);
  }

  void addStatus() {
    const auto status = m_document.find("status");
    if (status == m_document.end()) return;
    add(0, QStringLiteral("状态“%1”：%2").arg(textOf(*status, "text"), textOf(*status, "rule")));
    for (const json& fact : status->value("facts", json::array())) {
      add(1, QStringLiteral("%1：%2").arg(textOf(fact, "name"), textOf(fact, "value")));
    }
    addActs(1, [](const daylog::SEntry&) { return true; });
  }

  /// The user's, and what the panel did by itself: nothing in the day tells them apart.
  template <typename Test>
  void addActs(int level, const Test& passes) {
    if (!m_sources.m_pLog || !m_sources.m_pDay) return;
    const int task = m_document.value("task", 0);
    for (const daylog::SEntry* entry : actsOn(*m_sources.m_pLog, *m_sources.m_pDay, task, m_sources.m_nNow)) {
      if (passes(*entry)) addEntry(level, QStringLiteral("操作："), *entry);
    }
  }

  /// alone: the row is the hedge's own, or the group above it.
  void addHedge(bool alone) {
    const auto hedge = m_document.find("hedge");
    if (hedge == m_document.end()) return;
    add(0, QStringLiteral("对冲 ") + nameOf(*hedge) + QStringLiteral("（手）"));
    addLine(*hedge, 1);
    if (!alone) return;
    addActs(1, [](const daylog::SEntry& entry) { return entry.m_strKind == "hedge" || entry.m_strKind == "setHedge"; });
    addOrders(*hedge);
  }

  static QString nameOf(const json& line) {
    return QStringLiteral("%1 %2 %3 %4")
        .arg(textOf(line, "code"), textOf(line, "name"), textOf(line, "side"), textOf(line, "account"));
  }

  void addLine(const json& line, int level) {
    if (line.value("unset", false)) return add(level, QStringLiteral("剩余不可知：这一行没有目标数量"));
    const auto number = [&line](const char* name) { return line.value(name, std::int64_t{0}); };
    add(level, equation(number("remainder"), number("target"), number("done"), number("open"), number("held")));
    if (number("rounding") != 0) {
      add(level + 1, QStringLiteral("可补 %1 = 剩余 %2 − 不足一手或超出 %3")
                         .arg(number("remainder") - number("rounding"))
                         .arg(number("remainder"))
                         .arg(number("rounding")));
    }
    if (number("accepted") != 0)
      add(level + 1, QStringLiteral("占用：已提交的补单还没有回报 %1").arg(number("accepted")));
    if (number("handedOver") != 0) add(level + 1, QStringLiteral("占用：已交给新篮子 %1").arg(number("handedOver")));
    if (number("unknown") != 0) add(level + 1, QStringLiteral("占用：算法任务可能已成交 %1").arg(number("unknown")));
    if (line.contains("refusal")) add(level + 1, QStringLiteral("不能补单：") + textOf(line, "refusal"));
    for (const json& patch : line.value("patches", json::array())) {
      add(level + 1, QStringLiteral("补单任务 %1 计划 %2").arg(textOf(patch, "task")).arg(patch.value("volume", 0LL)),
          m_sources.m_pDay ? firstTold(*m_sources.m_pDay, patch.value("task", std::string())) : -1);
    }
  }

  void addSum(const json& lines) {
    const auto sum = [&lines](const char* name) {
      std::int64_t all = 0;
      for (const json& line : lines) all += line.value(name, std::int64_t{0});
      return all;
    };
    add(0, equation(sum("remainder"), sum("target"), sum("done"), sum("open"), sum("held")));
    const auto unset = std::count_if(lines.begin(), lines.end(), isUnset);
    if (unset > 0) add(1, QStringLiteral("其中 %1 行没有目标数量，不在式中").arg(unset));
    std::vector<const json*> open;
    for (const json& line : lines) {
      const bool over =
          line.value("remainder", 0LL) == 0 && line.value("open", 0LL) == 0 && line.value("held", 0LL) == 0;
      if (!over || isUnset(line)) open.push_back(&line);
    }
    addLines(open, [](const json&) { return QString(); });
  }

  static bool isUnset(const json& line) { return line.value("unset", false); }

  template <typename More>
  void addLines(const std::vector<const json*>& lines, const More& more) {
    for (std::size_t i = 0; i < std::min(lines.size(), MOST_LINES); ++i) {
      add(1, nameOf(*lines[i]) + more(*lines[i]));
      addLine(*lines[i], 2);
    }
    if (lines.size() > MOST_LINES) add(1, QStringLiteral("还有 %1 行").arg(lines.size() - MOST_LINES));
  }

  STrailLine trailOf(const json& line) const {
    return {m_document.value("task", 0), line.value("market", std::string()), line.value("code", std::string()),
            line.value("accountKey", std::string()), line.value("buy", true)};
  }

  void addOrders(const json& line) {
    if (!m_sources.m_pDay || !m_sources.m_pLog) return;
    const std::vector<SOrderTrail> trails = ordersOfLine(*m_sources.m_pDay, trailOf(line), m_sources.m_nNow);
    std::int64_t traded = 0;
    for (const SOrderTrail& trail : trails)
      traded += trail.m_reports.empty() ? 0 : trail.m_reports.back().second->m_nTraded;
    add(0, QStringLiteral("委托 %1 笔，成交 %2").arg(trails.size()).arg(traded));
    // The newest ones, where there are too many.
    const std::size_t first = trails.size() - std::min(trails.size(), MOST_ORDERS);
    if (first > 0) add(1, QStringLiteral("更早的 %1 笔没有列出").arg(first));
    for (std::size_t i = first; i < trails.size(); ++i) addOrder(trails[i], line);
  }

  void addOrder(const SOrderTrail& trail, const json& line) {
    const SPastOrder& order = *trail.m_pOrder;
    const SPastReport* last = trail.m_reports.empty() ? nullptr : trail.m_reports.back().second;
    // Its own time is told in whole seconds: the moment is that of which the table shows it.
    const std::int64_t told = trail.m_pSentIn->m_nMsec;
    const std::int64_t sent = std::min(told, (order.m_nSent - m_sources.m_nDayStart) * 1000 + 999);
    const bool filled = last && last->m_nTraded > 0;
    add(1,
        QStringLiteral("委托 %1：%2 × %3，成交 %4%5")
            .arg(QString::fromStdString(order.m_strKey))
            .arg(order.m_nVolume)
            .arg(order.m_dPrice)
            .arg(last ? last->m_nTraded : 0)
            .arg(filled ? QStringLiteral("，均价 %1").arg(last->m_dAmount / last->m_nTraded, 0, 'f', 3) : QString()),
        told);
    if (const daylog::SEntry* cause = causeOf(*m_sources.m_pLog, *m_sources.m_pDay, trail.m_pSentIn->m_facts)) {
      addEntry(2, QStringLiteral("起因："), *cause);
      addConfirmed(*cause, line);
    }
    addSlice(trail, sent);
    addWait(told, line);
    if (const daylog::SEntry* cancel = cancelOf(*m_sources.m_pLog, order.m_strKey, m_sources.m_nNow)) {
      addEntry(2, QStringLiteral("操作："), *cancel);
    }
    for (const auto& [msec, report] : trail.m_reports) add(2, reportText(*report), msec);
  }

  static QString reportText(const SPastReport& report) {
    QStringList parts;
    const bool accepted = (report.m_nState & EOS_Accepted) != 0;
    if (report.m_nState & EOS_Cancelled) {
      parts << QStringLiteral("已撤销");
    } else if ((report.m_nState & EOS_Completed) && report.m_nTraded == 0) {
      parts << (accepted ? QStringLiteral("已结束") : QStringLiteral("被拒绝"));
    } else {
      parts << (accepted ? QStringLiteral("已接受") : QStringLiteral("已报"));
    }
    if (report.m_nTraded > 0) parts << QStringLiteral("累计成交 %1").arg(report.m_nTraded);
    if (!report.m_strMessage.empty()) parts << QString::fromStdString(report.m_strMessage);
    return QStringLiteral("回报：") + parts.join(QStringLiteral("，"));
  }

  /// What of the line was confirmed with a patch.
  void addConfirmed(const daylog::SEntry& cause, const json& line) {
    const json body = journal::tryParseJson(cause.m_strBody);
    const json proof =
        journal::tryParseJson(body.is_object() ? journal::valueOr(body, "proof", std::string()) : std::string());
    if (!proof.is_object()) return;
    for (const json& each : journal::listOf(proof, "lines")) {
      if (journal::valueOr(each, "row", std::string()) != line.value("row", std::string())) continue;
      const auto number = [&each](const char* name) { return journal::valueOr(each, name, std::int64_t{0}); };
      add(3, QStringLiteral("确认时：") +
                 equation(number("remainder"), number("target"), number("done"), number("open"), number("held")) +
                 QStringLiteral("；可补 %1，选 %2").arg(number("offered")).arg(number("chosen")));
    }
  }

  void addSlice(const SOrderTrail& trail, std::int64_t sent) {
    const auto& command = trail.m_pSentIn->m_facts.m_pCommand;
    TC::SAlgoParams params;
    if (!trail.m_pSentIn->m_facts.m_bServerTask || !command || command->m_strAlgoParams.empty() ||
        !TC::SAlgoParams::parse(command->m_strAlgoParams, params).empty()) {
      return;
    }
    const engine::CAlgoSchedule schedule(params, firstTold(*m_sources.m_pDay, trail.m_pSentIn->m_facts.getKey()));
    add(2, QStringLiteral("计划：%1 第 %2 片，共 %3 片")
               .arg(QString::fromLatin1(TC::algorithmName(params.m_eAlgorithm)))
               .arg(schedule.slice(sent) + 1)
               .arg(params.m_nSlices));
  }

  /// What goes out within a second after its account could not send may have been among what waited.
  void addWait(std::int64_t told, const json& line) {
    const std::string account = line.value("accountKey", std::string());
    for (const engine::SOrderWait& wait : m_sources.m_pDay->waits()) {
      if (wait.m_nUntil > told) break;
      if (wait.m_strAccount != account || told - wait.m_nUntil >= 1000) continue;
      add(2,
          QStringLiteral("等待：账户达到每秒 %1 笔的上限，%2 到 %3 没有报单")
              .arg(m_sources.m_limits.m_nPerSecond)
              .arg(tenthText(wait.m_nFrom), tenthText(wait.m_nUntil)),
          wait.m_nFrom);
    }
  }

  static QString tenthText(std::int64_t msec) {
    return QStringLiteral("%1.%2").arg(timeOfDayText(msec)).arg(msec % 1000 / 100);
  }

  void addProof() {
    const auto proof = m_document.find("patch");
    if (proof == m_document.end()) return;
    const json lines = proof->value("lines", json::array());
    const daylog::SEntry* sent = lastPatch();
    add(0, QStringLiteral("最近一次补单（第 %1 次）：%2 行").arg(proof->value("number", 0)).arg(lines.size()),
        sent ? sent->m_nMsec : -1, sent ? sent->m_nNumber : 0);
    std::vector<const json*> all;
    for (const json& line : lines) all.push_back(&line);
    addLines(all, [](const json& line) {
      return QStringLiteral("：可补 %1，选 %2").arg(line.value("offered", 0LL)).arg(line.value("chosen", 0LL));
    });
  }

  const daylog::SEntry* lastPatch() const {
    const daylog::SEntry* last = nullptr;
    if (!m_sources.m_pLog || !m_sources.m_pDay) return last;
    const int task = m_document.value("task", 0);
    for (const daylog::SEntry* entry : actsOn(*m_sources.m_pLog, *m_sources.m_pDay, task, m_sources.m_nNow)) {
      if (entry->m_strKind == "create") last = entry;
    }
    return last;
  }

  const json& m_document;
  const SWhySources& m_sources;
  std::vector<SWhyFact> m_facts;
};

}  // namespace

std::vector<SWhyFact> whyFacts(const QByteArray& explanation, const SWhySources& sources) {
  try {
    const json document = json::parse(explanation.toStdString(), nullptr, false);
    if (!document.is_object()) return {};
    return CWhy(document, sources).take();
  } catch (const std::exception& fault) {
    return {{0, QStringLiteral("无法说明：") + QString::fromUtf8(fault.what())}};
  }
}

QString whyText(const std::vector<SWhyFact>& facts) {
  QString text;
  for (const SWhyFact& fact : facts) {
    text += QString(2 * fact.m_nLevel, QLatin1Char(' '));
    if (fact.m_nMsec >= 0) text += timeOfDayText(fact.m_nMsec) + QLatin1Char(' ');
    text += fact.m_strText;
    if (fact.m_nEntry > 0) text += QStringLiteral(" [%1]").arg(fact.m_nEntry);
    text += QLatin1Char('\n');
  }
  return text;
}

}  // namespace app
