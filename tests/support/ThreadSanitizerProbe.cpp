// Shows that the thread sanitizer sees the project's kinds of races through Qt and is silent about Qt's own ordering.
// Its first argument names what it does; ctest judges by the report.
#include <QCoreApplication>
#include <QMutex>
#include <QObject>
#include <QTimer>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>

class CSender : public QObject {
  Q_OBJECT

 Q_SIGNALS:
  void sigRecord(const std::string& text);
};

namespace {
using TShared = std::map<int, std::string>;

constexpr int Rounds = 2000;

/// Worker and GUI hand a map to and fro: each round ends in a queued signal, a queued call and an event.
void orderedByQt() {
  CSender sender;
  QObject receiver;
  QMutex mutex;
  TShared bySignal;
  TShared byCall;
  int byMutex = 0;
  std::size_t seen = 0;
  QObject::connect(
      &sender, &CSender::sigRecord, &receiver, [&](const std::string& text) { seen += text.size() + bySignal.size(); },
      Qt::QueuedConnection);
  std::thread worker([&] {
    bySignal[1] = "written before the first signal";
    for (int i = 0; i < Rounds; ++i) {
      auto* made = new QObject;
      made->moveToThread(receiver.thread());
      {
        const QMutexLocker lock(&mutex);
        ++byMutex;
      }
      Q_EMIT sender.sigRecord("a text that is too long for the small string buffer " + std::to_string(i));
      auto fresh = std::make_shared<TShared>();
      (*fresh)[i] = "made by the worker";
      QMetaObject::invokeMethod(&receiver, [&seen, fresh, made] {
        seen += fresh->begin()->second.size();
        made->deleteLater();
      });
    }
    byCall[1] = "written before the last call";
    QMetaObject::invokeMethod(&receiver, [&] {
      seen += byCall[1].size() + bySignal[1].size();
      QCoreApplication::quit();
    });
  });
  QTimer tick;
  QObject::connect(&tick, &QTimer::timeout, &receiver, [&] {
    const QMutexLocker lock(&mutex);
    seen += static_cast<std::size_t>(byMutex);
  });
  tick.start(0);
  QCoreApplication::exec();
  worker.join();
  std::printf("handed over %zu\n", seen);
}

/// The worker writes after its signal, while the GUI reads in the slot.
void raceAfterSignal() {
  CSender sender;
  QObject receiver;
  int value = 0;
  int seen = 0;
  std::atomic<bool> done{false};
  QObject::connect(
      &sender, &CSender::sigRecord, &receiver,
      [&](const std::string&) {
        seen += value;
        done.store(true, std::memory_order_relaxed);
        QCoreApplication::quit();
      },
      Qt::QueuedConnection);
  std::thread worker([&] {
    Q_EMIT sender.sigRecord("first");
    while (!done.load(std::memory_order_relaxed)) {
      std::this_thread::yield();
    }
    ++value;
  });
  QCoreApplication::exec();
  worker.join();
  std::printf("read %d\n", seen);
}

/// Another object's signals, however many, do not order a variable that is shared without any.
void raceBesideSignals() {
  CSender sender;
  CSender other;
  QObject receiver;
  int value = 0;
  std::atomic<bool> written{false};
  const auto read = [&](const std::string&) {
    if (written.load(std::memory_order_relaxed) && ++value > 0) {
      QCoreApplication::quit();
    }
  };
  QObject::connect(&sender, &CSender::sigRecord, &receiver, read, Qt::QueuedConnection);
  std::thread worker([&] {
    ++value;
    Q_EMIT other.sigRecord("nobody listens");
    written.store(true, std::memory_order_relaxed);
  });
  QTimer tick;
  QObject::connect(&tick, &QTimer::timeout, &sender, [&] { Q_EMIT sender.sigRecord("from the GUI"); });
  tick.start(1);
  QCoreApplication::exec();
  worker.join();
}
}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  qRegisterMetaType<std::string>("std::string");
  const char* what = argc > 1 ? argv[1] : "";
  if (std::strcmp(what, "ordered") == 0) {
    orderedByQt();
  } else if (std::strcmp(what, "race-after-signal") == 0) {
    raceAfterSignal();
  } else if (std::strcmp(what, "race-beside-signals") == 0) {
    raceBesideSignals();
  } else {
    std::fprintf(stderr, "usage: tsan_probe ordered | race-after-signal | race-beside-signals\n");
    return 2;
  }
  return 0;
}

#include "ThreadSanitizerProbe.moc"
