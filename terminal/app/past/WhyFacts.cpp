#include "past/WhyFacts.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "CAlgoSchedule.h"
#include "DayOutputFields.h"
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
    if (!m_sources.m_pLog) return;
    const std::string task = std::to_string(m_document.value("task", 0));
    for (const daylog::SEntry& entry : m_sources.m_pLog->entries()) {
      if (entry.m_nMsec > m_sources.m_nNow) break;
      const json body = json::parse(entry.m_strBody, nullptr, false);
      if (!body.is_object() || !isAbout(entry.m_strKind, body, task)) continue;
      addEntry(1, QStringLiteral("操作："), entry);
    }
  }

  /// Of the user's acts on a task; server tasks are known by their details' keys.
  static bool isAbout(const std::string& kind, const json& body, const std::string& task) {
    if (kind == "operate") return body.value("task", json()) == std::stoi(task);
    if (kind == "create") return body.value("ofTask", json()) == std::stoi(task);
    if (kind == "hedge" || kind == "setHedge") return body.value("group", json()) == std::stoi(task);
    if (kind != "operateServer") return false;
    const std::string key = body.value("task", std::string());
    return key.rfind(task + "-", 0) == 0;
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
    std::size_t told = 0;
    std::size_t more = 0;
    for (const json& line : lines) {
      if (line.value("remainder", 0LL) == 0 && line.value("open", 0LL) == 0 && line.value("held", 0LL) == 0) continue;
      if (++told > MOST_LINES) {
        ++more;
        continue;
      }
      add(1, QStringLiteral("%1 %2 %3 %4")
                 .arg(textOf(line, "code"), textOf(line, "name"), textOf(line, "side"), textOf(line, "account")));
      addLine(line, 2);
    }
    if (more > 0) add(1, QStringLiteral("还有 %1 行").arg(more));
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
    const std::int64_t sent = (order.m_nSent - m_sources.m_nDayStart) * 1000;
    const bool filled = last && last->m_nTraded > 0;
    add(1,
        QStringLiteral("委托 %1：%2 × %3，成交 %4%5")
            .arg(QString::fromStdString(order.m_strKey))
            .arg(order.m_nVolume)
            .arg(order.m_dPrice)
            .arg(last ? last->m_nTraded : 0)
            .arg(filled ? QStringLiteral("，均价 %1").arg(last->m_dAmount / last->m_nTraded, 0, 'f', 3) : QString()),
        sent);
    if (const daylog::SEntry* cause = causeOf(*m_sources.m_pLog, *m_sources.m_pDay, trail.m_pSentIn->m_facts)) {
      addEntry(2, QStringLiteral("起因："), *cause);
      addConfirmed(*cause, line);
    }
    addSlice(trail, sent);
    addRate(trail, line);
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
    const json body = json::parse(cause.m_strBody, nullptr, false);
    const json proof =
        json::parse(body.is_object() ? body.value("proof", std::string()) : std::string(), nullptr, false);
    if (!proof.is_object()) return;
    for (const json& each : proof.value("lines", json::array())) {
      if (each.value("row", std::string()) != line.value("row", std::string())) continue;
      const auto number = [&each](const char* name) { return each.value(name, std::int64_t{0}); };
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

  /// The second before its own: what was full then has it wait.
  void addRate(const SOrderTrail& trail, const json& line) {
    const int second = trail.m_pOrder->m_nSent;
    const int before = sentInSecond(*m_sources.m_pDay, line.value("accountKey", std::string()), second - 1);
    if (before < m_sources.m_limits.m_nPerSecond) return;
    add(2,
        QStringLiteral("等待：账户前一秒已报 %1 笔，达到每秒 %2 笔的上限")
            .arg(before)
            .arg(m_sources.m_limits.m_nPerSecond),
        (second - 1 - m_sources.m_nDayStart) * 1000);
  }

  void addProof() {
    const auto proof = m_document.find("patch");
    if (proof == m_document.end()) return;
    const json lines = proof->value("lines", json::array());
    add(0, QStringLiteral("最近一次补单（第 %1 次）：%2 行").arg(proof->value("number", 0)).arg(lines.size()));
    std::size_t told = 0;
    for (const json& line : lines) {
      if (++told > MOST_LINES) break;
      add(1, QStringLiteral("%1 %2 %3 %4：可补 %5，选 %6")
                 .arg(textOf(line, "code"), textOf(line, "name"), textOf(line, "side"), textOf(line, "account"))
                 .arg(line.value("offered", 0LL))
                 .arg(line.value("chosen", 0LL)));
      addLine(line, 2);
    }
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
