#include <log4cxx/logger.h>

#include <QApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <clocale>
#include <csignal>
#include <fstream>
#include <iostream>
#include <memory>
#include <utility>

#include "CDayProgress.h"
#include "CExportGuard.h"
#include "CLiveSession.h"
#include "CMainWindow.h"
#include "CSignalWatch.h"
#include "DayChoice.h"
#include "DayCommands.h"
#include "DayQuestion.h"
#include "DayStart.h"
#include "DisplayScale.h"
#include "DrillCommand.h"
#include "Inputs.h"
#include "JournalReader.h"
#include "LogFile.h"
#include "Options.h"
#include "Outputs.h"
#include "PanelLoader.h"
#include "Replay.h"
#include "gv/CUiResource.h"
#include "past/CPastSession.h"
#include "past/PrintWhy.h"
#include "utils/Log.h"

namespace {

constexpr int EXIT_NOT_WRITTEN = 1;
constexpr int EXIT_BAD_INPUT = 2;
constexpr int SECONDS_WITHOUT_DISPLAY = 20;
const char* const SCREENSHOT_WITHOUT_DISPLAY = "basket-terminal.png";

QStringList toArguments(int count, char** values) {
  QStringList arguments;
  for (int i = 1; i < count; ++i) arguments << QString::fromUtf8(values[i]);
  return arguments;
}

int fail(const std::string& text, int status = EXIT_BAD_INPUT) {
  std::cerr << text << std::endl;
  return status;
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

/// The log is there before Qt speaks for the first time.
void prepareApplication() {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  QCoreApplication::setApplicationName(QStringLiteral("PanelBasketTasks"));
  app::openLogFile();
  qInstallMessageHandler(logQtMessage);
  app::switchQtScalingOff();
}

/// An application has set that of the environment.
void setLocale() {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  std::setlocale(LC_NUMERIC, "C");
}

int runDrill(int argc, char** argv, const QStringList& words) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  prepareApplication();
  const QApplication application(argc, argv);
  setLocale();
  const TC::SPanelPlugin plugin = app::loadPanelPlugin();
  if (!plugin.m_pCreate) return fail(plugin.m_strError.toStdString());
  return drill::runDrillCommand(words, plugin.m_pCreate);
}

/// The view that is kept; null where none is. fault: why it cannot be, and status what the program ends with then.
std::unique_ptr<app::CStateStore> openView(const app::SOptions& options, std::string& fault, int& status) {
  if (!options.keepsView()) return nullptr;
  auto state = std::make_unique<app::CStateStore>(options.m_strConfig);
  fault = state->fault();
  status = EXIT_BAD_INPUT;
  if (!fault.empty() || options.m_strConfig.empty()) return state;
  // Nobody asked for the user's own one: a run is not refused for it.
  fault = state->writeFault();
  status = EXIT_NOT_WRITTEN;
  return state;
}

app::CDayProgress::SSpan spanOf(const daylog::IDayLog* day, const app::SOptions& options) {
  return {options.m_nStartMinute * std::int64_t{60000}, day ? app::lastTime(*day) : 0};
}

int runSession(const app::SOptions& options, const app::SInputs& inputs, daylog::IDayLog* day, app::CStateStore* state,
               app::COutputs& outputs, TC::CreatePanelFunction createPanel) {
  const app::CSignalWatch signalWatch;
  app::CMainWindow window;
  app::followScreen(window, options);
  app::CDayProgress progress(options.m_strDay, spanOf(day, options), options.m_bHeadless);
  QObject::connect(&signalWatch, &app::CSignalWatch::sigEnd, &progress, &app::CDayProgress::giveUp);
  app::CLiveSession session(
      options, inputs,
      {outputs.out(), outputs.record(), state, day, [&progress](std::int64_t msec) { return progress.advance(msec); }},
      window, createPanel);
  if (progress.isGivenUp())
    return fail(options.m_strDay + ": not gone on with; the day is as it was", EXIT_NOT_WRITTEN);
  if (const std::string fault = session.fault(); !fault.empty()) return fail(options.m_strDay + ": " + fault);
  QObject::connect(&session, &app::CLiveSession::sigEnded, &window, [&] {
    outputs.writePicture(window.picture());
    QApplication::exit();
  });
  progress.hide();
  window.show();
  session.start();
  QObject::connect(&signalWatch, &app::CSignalWatch::sigEnd, &session, &app::CLiveSession::finish);
  QApplication::exec();
  session.finish();
  return session.isViewKept() ? 0 : EXIT_NOT_WRITTEN;
}

int runLive(const app::SParsedOptions& parsed, app::COutputs& outputs, TC::CreatePanelFunction createPanel) {
  app::SOptions options = parsed.m_options;
  const app::STakenDay day = app::takeDay(parsed.m_ofDay, options, app::askOfDay);
  if (!day.m_strFault.empty()) return fail(day.m_strFault);
  if (day.m_bLeft) return 0;
  if (!day.m_strNote.empty()) std::cerr << day.m_strNote << std::endl;
  // Known only now.
  if (const std::string conflict = app::outputConflict(options); !conflict.empty()) return fail(conflict);
  const app::SInputs inputs = app::readInputs(options, app::tradingDayStart());
  for (const std::string& fault : inputs.m_faults) std::cerr << fault << "\n";
  if (!inputs.m_faults.empty()) return EXIT_BAD_INPUT;
  if (const std::string fault = app::beginDay(day.m_pLog.get(), parsed.m_ofDay, options); !fault.empty()) {
    return fail(fault, EXIT_NOT_WRITTEN);
  }
  std::string fault;
  int status = 0;
  const std::unique_ptr<app::CStateStore> state = openView(options, fault, status);
  if (!fault.empty()) return fail(fault, status);
  if (!outputs.open()) return EXIT_NOT_WRITTEN;
  if (state && options.m_strPalette.isEmpty()) GV::CUiResource::setSidePalette(state->sidePalette());
  return runSession(options, inputs, day.m_pLog.get(), state.get(), outputs, createPanel);
}

int runReplay(const app::SParsedOptions& parsed, app::COutputs& outputs, TC::CreatePanelFunction createPanel) {
  const app::SOptions& options = parsed.m_options;
  std::ifstream in(options.m_strReplay);
  if (!in.is_open()) return fail("cannot read " + options.m_strReplay);
  journal::SJournal journal = journal::readJournal(in, options.m_strReplay);
  if (journal.m_strFault.empty()) journal.m_strFault = journal::exportFault(journal.m_lines, options.m_strReplay);
  if (!journal.m_strFault.empty()) return fail(journal.m_strFault);
  if (!outputs.open()) return EXIT_NOT_WRITTEN;
  const app::CSignalWatch signalWatch;
  return app::runReplay(options, std::move(journal), outputs, signalWatch, createPanel);
}

int runPast(const app::SParsedOptions& parsed, app::COutputs& outputs, TC::CreatePanelFunction createPanel) {
  const app::SOptions& options = parsed.m_options;
  daylog::SOpenedDay day = daylog::readDay(options.m_strPast);
  if (!day.m_pLog) return fail(day.m_strFault);
  if (!outputs.open()) return EXIT_NOT_WRITTEN;
  const app::CSignalWatch signalWatch;
  app::CMainWindow window;
  app::followScreen(window, options);
  app::CPastSession session(options, std::move(day.m_pLog), outputs.out(), window, createPanel);
  if (!session.fault().empty()) return fail(options.m_strPast + ": " + session.fault());
  window.show();
  if (options.m_bHeadless) {
    QObject::connect(&session, &app::CPastSession::sigShown, &window, [] { QApplication::quit(); });
  }
  QObject::connect(&signalWatch, &app::CSignalWatch::sigEnd, &window, [] { QApplication::quit(); });
  session.start();
  QApplication::exec();
  // The day could not be read, which was told.
  if (!session.panel()) return EXIT_BAD_INPUT;
  session.dump();
  if (!options.m_strWhy.isEmpty() && !app::printWhy(session, options.m_strWhy)) {
    return fail(options.m_strPast + ": no row " + options.m_strWhy.toStdString());
  }
  outputs.writePicture(window.picture());
  return 0;
}

int runTerminal(const app::SParsedOptions& parsed) {
  const app::SOptions& options = parsed.m_options;
  if (const std::string conflict = app::outputConflict(options); !conflict.empty()) return fail(conflict);
  const TC::SPanelPlugin plugin = app::loadPanelPlugin();
  if (!plugin.m_pCreate) return fail(plugin.m_strError.toStdString());
  app::COutputs outputs(options);
  const auto run = !options.m_strPast.empty() ? runPast : !options.m_strReplay.empty() ? runReplay : runLive;
  const int status = run(parsed, outputs, plugin.m_pCreate);
  const bool written = outputs.close();
  outputs.complain();
  return status == 0 && !written ? EXIT_NOT_WRITTEN : status;
}

}  // namespace

int main(int argc, char** argv) {
  const QStringList arguments = toArguments(argc, argv);
  if (arguments.value(0) == QLatin1String(app::DAY_WORD) && app::isDayCommand(arguments.mid(1))) {
    const QCoreApplication application(argc, argv);
    return app::runDayCommand(arguments.mid(1));
  }
  if (arguments.value(0) == QLatin1String(drill::DRILL_WORD)) return runDrill(argc, argv, arguments.mid(1));
  app::SParsedOptions parsed = app::parseOptions(arguments);
  if (!parsed.m_strError.isEmpty()) return fail(parsed.m_strError.toStdString());
  app::SOptions& options = parsed.m_options;
  if (options.m_bHelp) {
    std::cout << app::helpText().toStdString();
    return 0;
  }
  // A reader that goes away ends that output, not the run.
  std::signal(SIGPIPE, SIG_IGN);
  const bool withoutDisplay = !options.m_bHeadless && !hasDisplay();
  if (withoutDisplay) goWithoutDisplay(options);
  if (options.m_bHeadless) qputenv("QT_QPA_PLATFORM", "offscreen");

  prepareApplication();
  QApplication application(argc, argv);
  setLocale();
  translateQt(application);
  GV::CUiResource::setTheme(options.m_strTheme);
  if (!options.m_strPalette.isEmpty()) GV::CUiResource::setSidePalette(options.m_strPalette);
  app::applyScale(options.m_nScalePercent);
  const int status = runTerminal(parsed);
  if (withoutDisplay && status == 0) std::cerr << "screenshot: " << options.m_strScreenshot << std::endl;
  return status;
}
