/// What a run writes, and what it must not write.
#pragma once

#include <string>
#include <vector>

#include "Options.h"
#include "OutputFile.h"

namespace app {

/// Why the files of the options do not go together: two outputs on one regular file, or an output that is an input, by
/// whatever name; empty: they do. Opens nothing. An application object must exist.
std::string outputConflict(const SOptions& options);

/// The files that the options name for writing, but for the kept view. Main thread; the streams go to one owner each.
class COutputs {
 public:
  explicit COutputs(const SOptions& options);

  /// False when one of them cannot be written; then none was changed, and complain() says why.
  bool open();
  std::ostream* out() { return m_out.isNamed() ? &m_out.stream() : nullptr; }
  std::ostream* record() { return m_record.isNamed() ? &m_record.stream() : nullptr; }
  /// A picture, PNG; nothing happens where the options name none.
  void writePicture(const std::string& png);
  /// Closes all; true when everything was written.
  bool close();
  /// A line on standard error for each that could not be written.
  void complain() const;

 private:
  std::vector<COutputFile*> files() { return {&m_out, &m_record, &m_picture}; }

  COutputFile m_out;
  COutputFile m_record;
  COutputFile m_picture;
};

}  // namespace app
