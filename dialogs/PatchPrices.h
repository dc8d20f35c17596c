/// What the lines of a patch are ordered at.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ksservice/CTaskDetail.h"

namespace TC {

/// GUI thread.
class CPatchPrices {
 public:
  /// The task's own parameters, oldest first: each line's last one has the price that was given for it.
  void setTaskParams(const std::vector<ksservice::CCodeOrderParam>& taskParams);
  /// Turns the price type into one that the instrument takes now, and puts the type's price into the parameter: the
  /// given one, else by the current quote; without a quote both stay. False when the parameter must not be ordered: its
  /// type, given or counterpart price, has no price above 0.
  bool apply(ksservice::CCodeOrderParam& param) const;

 private:
  std::map<std::string, double> m_given;  ///< by line
};

}  // namespace TC
