#include "ExplanationText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "CHpfBasketStatusData.h"
#include "ksservice/Operations.h"
#include "tc/CBasketHedgeManager.h"
#include "tc/CExchangeClient.h"
#include "tc/Services.h"
#include "utils/Keys.h"

namespace TC {
namespace {

QString yesNo(bool value) { return value ? QStringLiteral("是") : QStringLiteral("否"); }

QString hedgeText(const SStatusFacts& facts) {
  switch (facts.hedgeState) {
    case EHS_Running:
      return QStringLiteral("自动对冲中");
    case EHS_Paused:
      return QStringLiteral("已暂停");
    default:
      return facts.hedgeEnabled ? QStringLiteral("未启动") : QStringLiteral("没有");
  }
}

/// Those that the verdict rests on.
QJsonArray statusFacts(const SRowExplanation& explained) {
  const SRootFacts& facts = explained.facts;
  const SStatusFacts& seen = explained.verdict.ofPatches ? facts.patches : facts.own;
  const QString of = explained.verdict.ofPatches ? QStringLiteral("补单子任务") : QStringLiteral("子任务");
  QJsonArray list;
  const auto add = [&list](const QString& name, const QString& value) {
    list.append(QJsonObject{{QStringLiteral("name"), name}, {QStringLiteral("value"), value}});
  };
  add(QStringLiteral("全部成交（含对冲）"), yesNo(facts.filled));
  add(of + QStringLiteral("全部完成"), yesNo(seen.allFinished));
  add(of + QStringLiteral("全部结束"), yesNo(seen.allEnded));
  add(QStringLiteral("有") + of + QStringLiteral("暂停"), yesNo(seen.anyPaused));
  add(QStringLiteral("有") + of + QStringLiteral("放弃"), yesNo(seen.anyDropped));
  add(QStringLiteral("对冲"), hedgeText(seen));
  if (seen.hasHedgeRow) {
    add(QStringLiteral("对冲行"),
        seen.hedgeRowFinished ? QStringLiteral("全部成交") : statusText(QString(), seen.hedgeRowStatus));
  }
  add(QStringLiteral("补单"), !facts.hasPatches   ? QStringLiteral("没有")
                              : facts.patchTrades ? QStringLiteral("在交易")
                                                  : QStringLiteral("已结束"));
  return list;
}

/// Numbers are exact up to 2^53 shares.
void addFigures(QJsonObject& object, const SLineFacts& facts) {
  const auto put = [&object](const char* name, long long value) {
    object.insert(QLatin1String(name), static_cast<qint64>(value));
  };
  std::string market;
  std::string code;
  utils::splitMavStockKey(facts.stockKey.toStdString(), market, code);
  object.insert(QStringLiteral("row"), facts.key);
  object.insert(QStringLiteral("market"), QString::fromStdString(market));
  object.insert(QStringLiteral("code"), QString::fromStdString(code));
  if (const auto info = getExchangeClient().getCodeInfo(market, code)) {
    object.insert(QStringLiteral("name"), QString::fromStdString(info->m_strName));
  }
  object.insert(QStringLiteral("account"), facts.account);
  object.insert(QStringLiteral("accountKey"), QString::fromStdString(facts.accountKey));
  object.insert(QStringLiteral("side"), operationToString(facts.operation));
  object.insert(QStringLiteral("buy"), ksservice::DataHelper::isBuy(facts.operation));
  if (facts.unset) object.insert(QStringLiteral("unset"), true);
  put("target", facts.target);
  put("done", facts.done);
  put("open", facts.open);
  put("held", facts.held);
  put("remainder", facts.left());
  put("rounding", facts.rounding);
  put("offered", facts.offered);
  if (facts.accepted != 0) put("accepted", facts.accepted);
  if (facts.handedOver != 0) put("handedOver", facts.handedOver);
  if (facts.unknown != 0) put("unknown", facts.unknown);
  if (facts.refusal != ERefusal::None) object.insert(QStringLiteral("refusal"), refusalText(facts.refusal));
}

QJsonObject lineOf(const SLineExplanation& line) {
  QJsonObject object;
  addFigures(object, line.facts);
  QJsonArray orders;
  for (const std::string& key : line.orders) orders.append(QString::fromStdString(key));
  if (!orders.isEmpty()) object.insert(QStringLiteral("orders"), orders);
  QJsonArray patches;
  for (const auto& [key, volume] : line.patches) {
    patches.append(QJsonObject{{QStringLiteral("task"), QString::fromStdString(key)},
                               {QStringLiteral("volume"), static_cast<qint64>(volume)}});
  }
  if (!patches.isEmpty()) object.insert(QStringLiteral("patches"), patches);
  return object;
}

QString titleOf(int taskId, const SRowExplanation& explained) {
  QString task = QStringLiteral("组合任务%1").arg(taskId);
  if (explained.root) return task;
  if (!explained.leaf || (explained.lines.empty() && !explained.hedge)) {
    return task + QLatin1Char(' ') + explained.name;
  }
  const SLineFacts& facts = explained.lines.empty() ? explained.hedge->facts : explained.lines.front().facts;
  return QStringLiteral("%1 %2 %3 %4").arg(task, explained.name, operationToString(facts.operation), facts.account);
}

QJsonObject proofOf(const SPatchProof& proof) {
  QJsonArray lines;
  for (const SPatchProof::SLine& line : proof.lines) {
    QJsonObject object;
    addFigures(object, line.facts);
    object.insert(QStringLiteral("chosen"), static_cast<qint64>(line.chosen));
    lines.append(object);
  }
  return {{QStringLiteral("number"), proof.number}, {QStringLiteral("lines"), lines}};
}

}  // namespace

QByteArray explanationText(int taskId, const SRowExplanation& explained) {
  QJsonObject document{{QStringLiteral("task"), taskId},
                       {QStringLiteral("row"), explained.root ? QString() : explained.key},
                       {QStringLiteral("title"), titleOf(taskId, explained)}};
  if (explained.root) {
    QString rule = explained.wait.dropped        ? QStringLiteral("补单已提交，还没有回报，任务已放弃")
                   : explained.wait.waiting      ? QStringLiteral("补单已提交，还没有回报")
                   : explained.verdict.ofPatches ? QStringLiteral("看补单任务：") + ruleText(explained.verdict.rule)
                                                 : ruleText(explained.verdict.rule);
    document.insert(QStringLiteral("status"),
                    QJsonObject{{QStringLiteral("text"), statusText(QString(), explained.status)},
                                {QStringLiteral("rule"), rule},
                                {QStringLiteral("facts"), statusFacts(explained)}});
  }
  QJsonArray lines;
  for (const SLineExplanation& line : explained.lines) lines.append(lineOf(line));
  document.insert(QStringLiteral("lines"), lines);
  if (explained.hedge) document.insert(QStringLiteral("hedge"), lineOf(*explained.hedge));
  if (explained.proof) document.insert(QStringLiteral("patch"), proofOf(*explained.proof));
  return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

}  // namespace TC
