/// The parameters of an execution algorithm and the text that carries them.
#pragma once

#include <string>

namespace TC {

/// POV: participation in the market's volume.
enum class EAlgorithm { TWAP, VWAP, POV };

/// "TWAP", "VWAP" or "POV".
const char* algorithmName(EAlgorithm algorithm);

/// Any thread. Its text, in this order, without what has no meaning for the algorithm (slices: TWAP and VWAP; rate:
/// POV) and without a limit of 0:
///   algo=TWAP;start=09:30:00;end=14:57:00;slices=10;limit=10.5
///   algo=POV;start=09:30:00;end=14:57:00;rate=0.1
struct SAlgoParams {
  static constexpr int MAX_SLICES = 10000;

  EAlgorithm m_eAlgorithm = EAlgorithm::TWAP;
  int m_nStart = 9 * 3600 + 30 * 60;  ///< second of the day
  int m_nEnd = 14 * 3600 + 57 * 60;   ///< second of the day, behind the start
  int m_nSlices = 10;                 ///< orders in which a security is sent
  double m_dLimit = 0;                ///< worst price, CNY; 0 for none
  double m_dRate = 0.1;               ///< share of the market's volume, above 0 and at most 1

  /// Reads a text whole; what the text leaves out keeps its default. Gives what is wrong with it, in words for the
  /// user, and leaves out alone; empty when it is right.
  static std::string parse(const std::string& text, SAlgoParams& out);
  std::string format() const;
  /// What is wrong with the values, in words for the user; empty when they are right.
  std::string check() const;
};

/// "hh:mm:ss" of a second of the day, and back: -1 for any other text.
std::string formatSecondOfDay(int second);
int parseSecondOfDay(const std::string& text);
/// A number in fixed notation with as many digits as tell it apart.
std::string formatFixed(double value);

}  // namespace TC
