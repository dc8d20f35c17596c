#include "docks/TaskCourse.h"

#include <algorithm>

#include "ksservice/Enumerations.h"
#include "utils/Keys.h"

namespace app {

std::string lineKey(const std::string& market, const std::string& code, bool buy) {
  return utils::mavStockKey(market, code) + (buy ? '+' : '-');
}

double SCourseLine::costAgainst(double price) const {
  const double more = m_dAmount - price * m_arrival.m_dMultiplier * static_cast<double>(m_nTraded);
  return m_bBuy ? more : -more;
}

void CTaskCourse::start(int now, const std::string& algoParams) {
  if (m_course.m_nStart != 0) return;
  m_course.m_nStart = now;
  m_course.m_strAlgoParams = algoParams;
}

void CTaskCourse::addLine(const std::string& market, const std::string& code, bool buy, const SArrival& arrival,
                          int target) {
  const auto [known, isNew] = m_lines.try_emplace(lineKey(market, code, buy), m_course.m_lines.size());
  if (isNew) m_course.m_lines.push_back({market, code, buy, arrival});
  SCourseLine& line = m_course.m_lines[known->second];
  line.m_nTarget += target;
  m_course.m_dTarget += target * line.m_arrival.m_dPrice * line.m_arrival.m_dMultiplier;
}

void CTaskCourse::addFill(const std::string& market, const std::string& code, bool buy, int quantity, double amount) {
  const auto known = m_lines.find(lineKey(market, code, buy));
  if (known == m_lines.end()) return;
  SCourseLine& line = m_course.m_lines[known->second];
  line.m_nTraded += quantity;
  line.m_dAmount += amount;
  const double atArrival = line.m_arrival.m_dPrice * line.m_arrival.m_dMultiplier * quantity;
  m_course.m_dTradedTarget += atArrival;
  m_course.m_dCost += buy ? amount - atArrival : atArrival - amount;
  (buy ? m_course.m_dBought : m_course.m_dSold) += amount;
}

const SCourseLine* CTaskCourse::line(const std::string& market, const std::string& code, bool buy) const {
  const auto known = m_lines.find(lineKey(market, code, buy));
  return known == m_lines.end() ? nullptr : &m_course.m_lines[known->second];
}

void CTaskCourse::setEnded(const std::string& detailKey, int end) {
  m_ends[detailKey] = end == ksservice::UNSET_INT ? 0 : end;
  int last = 0;
  for (const auto& [key, each] : m_ends) {
    if (each == 0) {
      last = 0;
      break;
    }
    last = std::max(last, each);
  }
  m_course.m_nEnd = last;
}

void CTaskCourse::sample(int now) {
  std::vector<SCourseSample>& samples = m_course.m_samples;
  if (samples.empty() || now >= m_nLastBegun + m_nSpacing) {
    m_nLastBegun = now;
    if (samples.size() >= MAX_SAMPLES) {
      for (std::size_t i = 0; i * 2 < samples.size(); ++i) samples[i] = samples[i * 2];
      samples.resize((samples.size() + 1) / 2);
      m_nSpacing *= 2;
    }
    samples.emplace_back();
  }
  samples.back() = {now,
                    static_cast<float>(m_course.m_dTradedTarget),
                    static_cast<float>(m_course.m_dBought - m_course.m_dSold),
                    static_cast<float>(m_course.m_dCost),
                    static_cast<float>(m_course.m_nHedgeTarget),
                    static_cast<float>(m_course.m_nHedged)};
}

}  // namespace app
