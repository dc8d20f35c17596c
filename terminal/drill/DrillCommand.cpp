#include "DrillCommand.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <fstream>
#include <iostream>
#include <numeric>

#include "CDrill.h"
#include "DayStart.h"

namespace drill {
namespace {

constexpr int EXIT_VIOLATION = 1;
constexpr int EXIT_BAD_INPUT = 2;
const char* const USAGE =
    "drill is [--seed N] [--count N] [--out FOLDER] [--plant FAULT]: days with faults put in, from a seed (1); COUNT "
    "of them, a line each; a violation's journal goes into FOLDER (.); FAULT is planted in the program";

struct SWanted {
  std::uint64_t m_nSeed = 1;
  long m_nCount = 0;  ///< 0: one, told at length
  std::filesystem::path m_out = ".";
  EPlant m_ePlant = EP_None;
};

/// False for words that are not understood.
bool read(const QStringList& words, SWanted& wanted) {
  for (int i = 0; i + 1 < words.size(); i += 2) {
    const QString& value = words[i + 1];
    bool good = true;
    if (words[i] == QLatin1String("--seed")) {
      wanted.m_nSeed = value.toULongLong(&good);
    } else if (words[i] == QLatin1String("--count")) {
      wanted.m_nCount = value.toLong(&good);
      good = good && wanted.m_nCount > 0;
    } else if (words[i] == QLatin1String("--out")) {
      wanted.m_out = value.toStdString();
    } else if (words[i] == QLatin1String("--plant")) {
      wanted.m_ePlant = plantOf(value.toStdString());
      good = wanted.m_ePlant != EP_Count;
    } else {
      good = false;
    }
    if (!good) return false;
  }
  return words.size() % 2 == 0;
}

SReportCard runOne(const SWanted& wanted, CDrillJournal* journal, TC::CreatePanelFunction createPanel) {
  const QTemporaryDir folder;
  CDrill drill({wanted.m_nSeed, wanted.m_ePlant, folder.path().toStdString(), journal}, createPanel);
  return drill.run();
}

std::string where(const SViolation& violation) {
  return "day " + std::to_string(violation.m_nDay) + " " + app::momentText(violation.m_nMsec) + ", " +
         nameOf(violation.m_eRule) + ": " + violation.m_strText;
}

/// The same drill once more, with the journal of the minute. Its file, or why there is none.
std::string record(const SWanted& wanted, const SViolation& violation, TC::CreatePanelFunction createPanel) {
  CDrillJournal journal(violation.m_nDay, violation.m_nMsec);
  const SReportCard again = runOne(wanted, &journal, createPanel);
  const std::filesystem::path file = wanted.m_out / ("drill-" + std::to_string(wanted.m_nSeed) + ".jsonl");
  std::ofstream out(file);
  out << journal.text();
  out.close();
  if (!out) return "its journal cannot be written to " + file.string();
  const bool same = !again.isGood() && again.m_violations.front().m_nMsec == violation.m_nMsec;
  return "journal of its minute: " + file.string() + (same ? "" : " (run again it was not met)");
}

template <std::size_t Size, typename Kind>
std::string counts(const std::array<long, Size>& of) {
  std::string text;
  for (std::size_t i = 0; i < Size; ++i) {
    if (of[i] > 0)
      text += (text.empty() ? "" : ", ") + std::string(nameOf(static_cast<Kind>(i))) + " " + std::to_string(of[i]);
  }
  return text;
}

template <std::size_t Size>
long sum(const std::array<long, Size>& of) {
  return std::accumulate(of.begin(), of.end(), 0L);
}

void tellAll(const SWanted& wanted, const SReportCard& card, double seconds) {
  std::cout << "drill " << wanted.m_nSeed << ": " << card.m_nOrders << " orders, " << card.m_nPatches << " patches, "
            << card.m_nClicks << " clicks, " << card.m_nDetails << " details, " << card.m_nRefreshes << " refreshes, "
            << seconds << " s\n"
            << "faults: " << counts<EF_Count, EFault>(card.m_faults) << "\n"
            << "checked: " << counts<ER_Count, ERule>(card.m_checks) << "\n";
  if (card.isGood()) std::cout << "no violation; the end shows " << card.m_strEnd << std::endl;
}

void tellLine(const SWanted& wanted, const SReportCard& card, double seconds) {
  std::cout << "drill " << wanted.m_nSeed << ": " << (card.isGood() ? "good" : "VIOLATION") << ", " << card.m_nOrders
            << " orders, " << card.m_nPatches << " patches, " << sum(card.m_faults) << " faults, " << sum(card.m_checks)
            << " checks, end " << card.m_strEnd << ", " << seconds << " s" << std::endl;
}

}  // namespace

int runDrillCommand(const QStringList& words, TC::CreatePanelFunction createPanel) {
  SWanted wanted;
  if (!read(words, wanted)) {
    std::cerr << USAGE << std::endl;
    return EXIT_BAD_INPUT;
  }
  int status = 0;
  for (long left = std::max(1L, wanted.m_nCount); left > 0; --left, ++wanted.m_nSeed) {
    QElapsedTimer timer;
    timer.start();
    const SReportCard card = runOne(wanted, nullptr, createPanel);
    const double seconds = static_cast<double>(timer.elapsed()) / 1000;
    wanted.m_nCount == 0 ? tellAll(wanted, card, seconds) : tellLine(wanted, card, seconds);
    for (const SViolation& violation : card.m_violations) {
      status = EXIT_VIOLATION;
      std::cout << "violation: " << where(violation) << "\n" << record(wanted, violation, createPanel) << std::endl;
    }
  }
  return status;
}

}  // namespace drill
