#include <log4cxx/fileappender.h>
#include <log4cxx/logger.h>
#include <log4cxx/patternlayout.h>

#include <QApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QStandardPaths>
#include <QTranslator>
#include <clocale>
#include <fstream>
#include <iostream>
#include <memory>

#include "CLiveSession.h"
#include "CMainWindow.h"
#include "DisplayScale.h"
#include "Inputs.h"
#include "Options.h"
#include "PanelLoader.h"
#include "Replay.h"
#include "gv/CUiResource.h"
#include "utils/Log.h"

namespace {

constexpr int EXIT_BAD_INPUT = 2;
constexpr int SECONDS_WITHOUT_DISPLAY = 20;
const char* const SCREENSHOT_WITHOUT_DISPLAY = "basket-terminal.png";

QStringList toArguments(int count, char** values) {
  QStringList arguments;
  for (int i = 1; i < count; ++i) arguments << QString::fromUtf8(values[i]);
  return arguments;
}

int fail(const std::string& text) {
  std::cerr << text << std::endl;
  return EXIT_BAD_INPUT;
}

bool hasDisplay() {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
    if (!qEnvironmentVariableIsEmpty(name)) return true;
  }
  return false;
}

/// Without a display the program shows what it can: a picture.
void goWithoutDisplay(app::SOptions& options) {
  options.m_bHeadless = true;
  if (options.m_strScreenshot.empty()) options.m_strScreenshot = SCREENSHOT_WITHOUT_DISPLAY;
  std::cerr << "no display: running headless";
  if (options.m_strReplay.empty()) {
    if (!options.m_dSeconds) options.m_dSeconds = SECONDS_WITHOUT_DISPLAY;
    std::cerr << " for " << *options.m_dSeconds << " seconds";
  }
  std::cerr << std::endl;
}

/// Log lines go to a file of the user; where there can be none, nowhere. Standard output belongs to no log.
void configureLog() {
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
  if (!QDir().mkpath(folder)) {
    log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getOff());
    return;
  }
  const std::string file = folder.toStdString() + "/terminal.log";
  const auto layout = std::make_shared<log4cxx::PatternLayout>("%d %p %c %m%n");
  log4cxx::Logger::getRootLogger()->addAppender(std::make_shared<log4cxx::FileAppender>(layout, file, false));
  log4cxx::Logger::getRootLogger()->setLevel(log4cxx::Level::getInfo());
}

/// What Qt has to say goes to the log as well, so that standard error holds the program's own lines only.
void logQtMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
  static const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("Qt");
  LOG4CXX_WARN(logger, utils::oneLine(text.toStdString()));
  if (type == QtFatalMsg) std::cerr << text.toStdString() << std::endl;
}

/// Qt's own words, in its file dialog above all, in the panel's language.
void translateQt(QApplication& application) {
  auto* words = new QTranslator(&application);
  if (words->load(QStringLiteral("qtbase_zh_CN"), QLibraryInfo::location(QLibraryInfo::TranslationsPath))) {
    QApplication::installTranslator(words);
  }
}

/// Opens a file that the user named; false, and a line on standard error, when it cannot be opened.
template <typename Stream>
bool openFile(Stream& stream, const std::string& file, const char* verb) {
  if (file.empty()) return true;
  stream.open(file);
  if (!stream.is_open()) std::cerr << "cannot " << verb << " " << file << std::endl;
  return stream.is_open();
}

int runLive(const app::SOptions& options, std::ostream* out, app::CMainWindow& window,
            TC::CreatePanelFunction createPanel) {
  const app::SInputs inputs = app::readInputs(options, app::tradingDayStart());
  for (const std::string& fault : inputs.m_faults) std::cerr << fault << "\n";
  if (!inputs.m_faults.empty()) return EXIT_BAD_INPUT;
  std::ofstream record;
  if (!openFile(record, options.m_strRecord, "write")) return EXIT_BAD_INPUT;

  std::unique_ptr<app::CStateStore> state;
  // A run without a window leaves the user's own view alone.
  if (!options.m_bHeadless || !options.m_strConfig.empty()) {
    state = std::make_unique<app::CStateStore>(options.m_strConfig);
    if (const std::string fault = state->fault(); !fault.empty()) return fail(fault);
  }

  app::CLiveSession session(options, inputs, out, record.is_open() ? &record : nullptr, state.get(), window,
                            createPanel);
  int status = 0;
  QObject::connect(&session, &app::CLiveSession::sigEnded, &window, [&] {
    if (!window.saveScreenshot(options.m_strScreenshot)) status = EXIT_BAD_INPUT;
    QApplication::exit();
  });
  window.show();
  session.start();
  QApplication::exec();
  session.finish();
  return status;
}

int runTerminal(const app::SOptions& options) {
  std::ofstream out;
  std::ifstream journal;
  if (!openFile(journal, options.m_strReplay, "read") || !openFile(out, options.m_strOut, "write")) {
    return EXIT_BAD_INPUT;
  }
  const app::SPanelPlugin plugin = app::loadPanelPlugin();
  if (!plugin.m_pCreate) return fail(plugin.m_strError.toStdString());
  app::CMainWindow window;
  window.winId();
  if (!options.m_nScalePercent) app::followScreen(*window.windowHandle());
  if (options.m_strReplay.empty()) return runLive(options, out.is_open() ? &out : nullptr, window, plugin.m_pCreate);
  window.show();
  return app::runReplay(options, journal, out, window, plugin.m_pCreate);
}

}  // namespace

int main(int argc, char** argv) {
  app::SParsedOptions parsed = app::parseOptions(toArguments(argc, argv));
  if (!parsed.m_strError.isEmpty()) return fail(parsed.m_strError.toStdString());
  app::SOptions& options = parsed.m_options;
  if (options.m_bHelp) {
    std::cout << app::helpText().toStdString();
    return 0;
  }
  const bool withoutDisplay = !options.m_bHeadless && !hasDisplay();
  if (withoutDisplay) goWithoutDisplay(options);
  if (options.m_bHeadless) qputenv("QT_QPA_PLATFORM", "offscreen");

  // The log is there before Qt speaks for the first time.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  QCoreApplication::setApplicationName(QStringLiteral("PanelBasketTasks"));
  configureLog();
  qInstallMessageHandler(logQtMessage);
  app::switchQtScalingOff();
  QApplication application(argc, argv);
  // Qt has set the locale of the environment.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  std::setlocale(LC_NUMERIC, "C");
  translateQt(application);
  GV::CUiResource::setTheme(options.m_strTheme);
  app::applyScale(options.m_nScalePercent);
  const int status = runTerminal(options);
  if (withoutDisplay && status == 0) std::cerr << "screenshot: " << options.m_strScreenshot << std::endl;
  return status;
}
