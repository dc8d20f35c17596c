#pragma once

#include <malloc.h>

#include <QString>
#include <map>
#include <string>
#include <vector>

#include "CHpfBasketStatusTable.h"

namespace test {

/// What a row shows. Who was there knows the start that was written first, the buttons, and remarks.
struct SShownRow {
  std::string text;
  std::string status;

  bool operator==(const SShownRow& other) const;
  bool isPlain() const;
};
/// By the root's key, in the order of the table.
using Shown = std::map<QString, std::vector<SShownRow>>;

Shown shownBy(const TC::CHpfBasketStatusTable& table);
/// The tasks that another table does not show so.
std::string textOf(const Shown& shown, const Shown& other);

/// Bytes that the heap has handed out; 0 where a sanitizer has a heap of its own.
inline std::size_t heapInUse() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return 0;
#else
  return mallinfo2().uordblks;
#endif
}

}  // namespace test
