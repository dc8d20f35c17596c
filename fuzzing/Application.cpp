#include "Application.h"

#include <QApplication>
#include <QDir>
#include <clocale>

#include "Fuzz.h"
#include "gv/CUiResource.h"

namespace fuzz {

void startApplication() {
  static int count = 1;
  static char name[] = "fuzz";
  static char* arguments[] = {name, nullptr};
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtFatalMsg) fail(text.toStdString());  // the others would be one for each run
  });
  qputenv("XDG_RUNTIME_DIR", QDir::tempPath().toLocal8Bit());
  // It stays to the end of the process: no moment is known that would be after the last input.
  [[maybe_unused]] static const auto* const application = new QApplication(count, arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  std::setlocale(LC_CTYPE, "C.UTF-8");  // after the application, which sets the locale of the environment
  GV::CUiResource::applyToApplication();
  QDir::setCurrent(QString::fromStdString(folder().string()));
}

}  // namespace fuzz
