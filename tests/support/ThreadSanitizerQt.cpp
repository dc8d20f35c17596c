// Linked into every program of the tsan preset. Qt is not instrumented, so the sanitizer does not see that a queued
// signal, a posted event or a QMutex orders two threads. The functions below stand before Qt's own in the search order
// of the dynamic linker, for the program, the host library and the panel alike; each tells the sanitizer what it orders
// and calls Qt's. The order goes through the address of the sender or the receiver, not through one global address, so
// that an unrelated signal does not hide a race. Receivers are those of the GUI thread; Qt::BlockingQueuedConnection's
// way back is not covered.
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

#include <private/qobject_p.h>
#include <QCoreApplication>
#include <QMutex>
#include <QObject>
#include <atomic>

extern "C" {
const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1:history_size=4"; }

// Qt copies the arguments of a queued signal after the interposed entry: the copy is ordered by Qt's own event queue.
const char* __tsan_default_suppressions() { return "race:QMetaTypeFunctionHelper\n"; }
}

namespace {
/// Qt's own function behind the shim. Looked up at the first call, with no ordering between threads: a static local
/// would order its first caller before all later ones, and hide races.
template <typename TFunction>
class CQtFunction {
 public:
  explicit constexpr CQtFunction(const char* symbol) : m_szSymbol(symbol) {}

  template <typename... TArguments>
  auto operator()(TArguments... arguments) {
    void* found = m_pFound.load(std::memory_order_relaxed);
    if (!found) {
      found = dlsym(RTLD_NEXT, m_szSymbol);
      if (!found) {
        qFatal("%s: not found behind the sanitizer's shims", m_szSymbol);
      }
      m_pFound.store(found, std::memory_order_relaxed);
    }
    return reinterpret_cast<TFunction*>(found)(arguments...);
  }

 private:
  const char* m_szSymbol;
  std::atomic<void*> m_pFound{nullptr};
};

constinit CQtFunction<void(QObject*, const QMetaObject*, int, void**)> qtActivate(
    "_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
constinit CQtFunction<bool(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*)> qtInvokeMethod(
    "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
constinit CQtFunction<void(QObject*, QEvent*, int)> qtPostEvent("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
constinit CQtFunction<void(QObject*)> qtDeleteLater("_ZN7QObject11deleteLaterEv");
constinit CQtFunction<void(QObject*, QThread*)> qtMoveToThread("_ZN7QObject12moveToThreadEP7QThread");
constinit CQtFunction<void(QMutex*)> qtLock("_ZN6QMutex4lockEv");
constinit CQtFunction<bool(QMutex*, int)> qtTryLock("_ZN6QMutex7tryLockEi");
constinit CQtFunction<void(QMutex*)> qtUnlock("_ZN6QMutex6unlockEv");

/// Sees each event of the GUI thread before its receiver does.
class CAcquire : public QObject {
 public:
  using QObject::QObject;
  bool eventFilter(QObject* receiver, QEvent* event) override {
    __tsan_acquire(receiver);
    if (event->type() == QEvent::MetaCall) {
      __tsan_acquire(const_cast<QObject*>(static_cast<QAbstractMetaCallEvent*>(event)->sender()));
    }
    return false;
  }
};

void watchEvents() { qApp->installEventFilter(new CAcquire(qApp)); }
}  // namespace

Q_COREAPP_STARTUP_FUNCTION(watchEvents)

void QMetaObject::activate(QObject* sender, const QMetaObject* meta, int signal, void** arguments) {
  __tsan_release(sender);
  qtActivate(sender, meta, signal, arguments);
}

bool QMetaObject::invokeMethodImpl(QObject* receiver, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type,
                                   void* result) {
  __tsan_release(receiver);
  return qtInvokeMethod(receiver, slot, type, result);
}

void QCoreApplication::postEvent(QObject* receiver, QEvent* event, int priority) {
  __tsan_release(receiver);
  qtPostEvent(receiver, event, priority);
}

void QObject::deleteLater() {
  __tsan_release(this);
  qtDeleteLater(this);
}

void QObject::moveToThread(QThread* thread) {
  __tsan_release(this);
  qtMoveToThread(this, thread);
}

void QMutex::lock() noexcept {
  qtLock(this);
  __tsan_acquire(this);
}

bool QMutex::tryLock(int timeout) noexcept {
  const bool locked = qtTryLock(this, timeout);
  if (locked) {
    __tsan_acquire(this);
  }
  return locked;
}

void QMutex::unlock() noexcept {
  __tsan_release(this);
  qtUnlock(this);
}
