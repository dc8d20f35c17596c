#pragma once

#include <QSettings>
#include <memory>
#include <string>

namespace app {

class CMainWindow;

/// What the terminal keeps between its runs: the panel's parameter text and the layout of the window. GUI thread.
class CStateStore {
 public:
  /// An empty file name: the user's own, in the user's folder of configurations.
  explicit CStateStore(const std::string& given);

  /// The file by the name that was given.
  static std::string fileOf(const std::string& given);

  /// The folder beside it in which drafts of baskets are kept.
  static std::string draftFolderOf(const std::string& given);

  /// Why the file cannot be used, and then nothing else may be asked; empty: it can, or it is not there yet. A file
  /// with something else than what was kept is left alone.
  const std::string& fault() const { return m_strFault; }

  /// Why the view cannot be kept in the file as it is now; empty: it can.
  std::string writeFault() const;

  /// Empty when none was kept.
  QString panelParam() const;
  /// Of buys and sells; empty when none was kept.
  QString sidePalette() const;
  /// The window's docks must be there. What cannot be restored stays as it is.
  void restoreLayout(CMainWindow& window) const;
  /// False, and a line on standard error, when it could not be written.
  bool save(const QString& panelParam, const CMainWindow& window);

 private:
  std::string m_strFile;
  std::string m_strFault;
  std::unique_ptr<QSettings> m_pSettings;  ///< null where there is a fault
};

}  // namespace app
