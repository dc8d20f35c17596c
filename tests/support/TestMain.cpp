// The main of every test executable. Options of GoogleTest are understood; the rest is Qt's.
#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <clocale>
#include <memory>

#ifdef PBT_TEST_NO_GUI
#include <QCoreApplication>
using CTestApplication = QCoreApplication;
#else
#include <QApplication>
using CTestApplication = QApplication;
#endif

namespace {
void setDefault(const char* name, const QByteArray& value) {
  if (!qEnvironmentVariableIsSet(name)) {
    qputenv(name, value);
  }
}
}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  setDefault("QT_QPA_PLATFORM", "offscreen");
  setDefault("XDG_RUNTIME_DIR", QDir::tempPath().toLocal8Bit());
  std::unique_ptr<CTestApplication> app;
  if (!testing::GTEST_FLAG(list_tests)) {  // ctest lists every executable first: that needs no application
    app = std::make_unique<CTestApplication>(argc, argv);
    std::setlocale(LC_CTYPE, "C.UTF-8");  // after the application, which sets the locale of the environment
  }
  return RUN_ALL_TESTS();
}
